#include "kelvara/frame/ColorRoutines.h"

#include <algorithm>
#include <array>

namespace kelvara {

namespace {

// The classic Windows scheme ("Windows Standard"), by COLOR_ index. Index 25
// has no colour of its own and reads black, as on the host.
constexpr std::array<int32_t, 31> kSystemColors = {
    RGB(212, 208, 200),  // 0 COLOR_SCROLLBAR
    RGB(58, 110, 165),   // 1 COLOR_BACKGROUND
    RGB(10, 36, 106),    // 2 COLOR_ACTIVECAPTION
    RGB(128, 128, 128),  // 3 COLOR_INACTIVECAPTION
    RGB(212, 208, 200),  // 4 COLOR_MENU
    RGB(255, 255, 255),  // 5 COLOR_WINDOW
    RGB(0, 0, 0),        // 6 COLOR_WINDOWFRAME
    RGB(0, 0, 0),        // 7 COLOR_MENUTEXT
    RGB(0, 0, 0),        // 8 COLOR_WINDOWTEXT
    RGB(255, 255, 255),  // 9 COLOR_CAPTIONTEXT
    RGB(212, 208, 200),  // 10 COLOR_ACTIVEBORDER
    RGB(212, 208, 200),  // 11 COLOR_INACTIVEBORDER
    RGB(128, 128, 128),  // 12 COLOR_APPWORKSPACE
    RGB(10, 36, 106),    // 13 COLOR_HIGHLIGHT
    RGB(255, 255, 255),  // 14 COLOR_HIGHLIGHTTEXT
    RGB(212, 208, 200),  // 15 COLOR_BTNFACE
    RGB(128, 128, 128),  // 16 COLOR_BTNSHADOW
    RGB(128, 128, 128),  // 17 COLOR_GRAYTEXT
    RGB(0, 0, 0),        // 18 COLOR_BTNTEXT
    RGB(212, 208, 200),  // 19 COLOR_INACTIVECAPTIONTEXT
    RGB(255, 255, 255),  // 20 COLOR_BTNHIGHLIGHT
    RGB(64, 64, 64),     // 21 COLOR_3DDKSHADOW
    RGB(212, 208, 200),  // 22 COLOR_3DLIGHT
    RGB(0, 0, 0),        // 23 COLOR_INFOTEXT
    RGB(255, 255, 225),  // 24 COLOR_INFOBK
    RGB(0, 0, 0),        // 25 (none)
    RGB(0, 0, 128),      // 26 COLOR_HOTLIGHT
    RGB(166, 202, 240),  // 27 COLOR_GRADIENTACTIVECAPTION
    RGB(192, 192, 192),  // 28 COLOR_GRADIENTINACTIVECAPTION
    RGB(10, 36, 106),    // 29 COLOR_MENUHILIGHT
    RGB(212, 208, 200),  // 30 COLOR_MENUBAR
};

}  // namespace

int32_t ShiftRGBColor(int32_t xColor, int16_t xShiftValue) {
    auto shift = [&](int32_t channel) { return std::clamp(channel + xShiftValue, 0, 255); };
    return RGB(shift(xColor & 0xFF), shift((xColor >> 8) & 0xFF), shift((xColor >> 16) & 0xFF));
}

int32_t TranslateColor(int32_t Color, int32_t Palette) {
    (void)Palette;  // palettes are a thing of 256-colour screens
    const uint32_t value = static_cast<uint32_t>(Color);
    switch (value >> 24) {
        case 0x00:  // a plain colour
        case 0x02:  // a palette-relative colour: its RGB part
            return static_cast<int32_t>(value & 0xFFFFFF);
        case 0x80: {
            const uint32_t index = value & 0xFFFFFF;
            return index < kSystemColors.size() ? kSystemColors[index] : -1;
        }
        default:
            return -1;
    }
}

}  // namespace kelvara
