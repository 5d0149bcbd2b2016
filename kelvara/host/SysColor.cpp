#include <array>

#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

constexpr COLORREF Rgb(uint32_t red, uint32_t green, uint32_t blue) {
    return red | (green << 8) | (blue << 16);
}

// The classic Windows scheme ("Windows Standard"), by COLOR_ index. Index 25
// has no colour of its own and reads black, as on the host.
constexpr std::array<COLORREF, kSystemColorCount> kSystemColors = {
    Rgb(212, 208, 200),  // 0 COLOR_SCROLLBAR
    Rgb(58, 110, 165),   // 1 COLOR_BACKGROUND
    Rgb(10, 36, 106),    // 2 COLOR_ACTIVECAPTION
    Rgb(128, 128, 128),  // 3 COLOR_INACTIVECAPTION
    Rgb(212, 208, 200),  // 4 COLOR_MENU
    Rgb(255, 255, 255),  // 5 COLOR_WINDOW
    Rgb(0, 0, 0),        // 6 COLOR_WINDOWFRAME
    Rgb(0, 0, 0),        // 7 COLOR_MENUTEXT
    Rgb(0, 0, 0),        // 8 COLOR_WINDOWTEXT
    Rgb(255, 255, 255),  // 9 COLOR_CAPTIONTEXT
    Rgb(212, 208, 200),  // 10 COLOR_ACTIVEBORDER
    Rgb(212, 208, 200),  // 11 COLOR_INACTIVEBORDER
    Rgb(128, 128, 128),  // 12 COLOR_APPWORKSPACE
    Rgb(10, 36, 106),    // 13 COLOR_HIGHLIGHT
    Rgb(255, 255, 255),  // 14 COLOR_HIGHLIGHTTEXT
    Rgb(212, 208, 200),  // 15 COLOR_BTNFACE
    Rgb(128, 128, 128),  // 16 COLOR_BTNSHADOW
    Rgb(128, 128, 128),  // 17 COLOR_GRAYTEXT
    Rgb(0, 0, 0),        // 18 COLOR_BTNTEXT
    Rgb(212, 208, 200),  // 19 COLOR_INACTIVECAPTIONTEXT
    Rgb(255, 255, 255),  // 20 COLOR_BTNHIGHLIGHT
    Rgb(64, 64, 64),     // 21 COLOR_3DDKSHADOW
    Rgb(212, 208, 200),  // 22 COLOR_3DLIGHT
    Rgb(0, 0, 0),        // 23 COLOR_INFOTEXT
    Rgb(255, 255, 225),  // 24 COLOR_INFOBK
    Rgb(0, 0, 0),        // 25 (none)
    Rgb(0, 0, 128),      // 26 COLOR_HOTLIGHT
    Rgb(166, 202, 240),  // 27 COLOR_GRADIENTACTIVECAPTION
    Rgb(192, 192, 192),  // 28 COLOR_GRADIENTINACTIVECAPTION
    Rgb(10, 36, 106),    // 29 COLOR_MENUHILIGHT
    Rgb(212, 208, 200),  // 30 COLOR_MENUBAR
};

}  // namespace

COLORREF GetSysColor(int32_t index) {
    return index >= 0 && index < kSystemColorCount ? kSystemColors[static_cast<size_t>(index)] : 0;
}

}  // namespace kelvara
