#include "kelvara/input/detail/Glyphs.h"

#include <array>
#include <string_view>

#include "kelvara/frame/ColorRoutines.h"

namespace kelvara::detail {

namespace {

using Mask = std::array<std::string_view, kGlyphSize>;

// The round glyph: "#" frame, "o" inside, blank untouched.
constexpr Mask kOption = {
    "    #####    ", "  ##ooooo##  ", " #ooooooooo# ", " #ooooooooo# ", "#ooooooooooo#",
    "#ooooooooooo#", "#ooooooooooo#", "#ooooooooooo#", "#ooooooooooo#", " #ooooooooo# ",
    " #ooooooooo# ", "  ##ooooo##  ", "    #####    ",
};

// The marks, placed inside the glyph at their offsets.
constexpr std::array<std::string_view, 7> kCheck = {
    "      #", "     ##", "#   ###", "## ### ", "#####  ", " ###   ", "  #    ",
};
constexpr int32_t kCheckOffset = 3;
constexpr std::array<std::string_view, 5> kMixed = {
    "#####", "#####", "#####", "#####", "#####",
};
constexpr int32_t kMixedOffset = 4;
constexpr std::array<std::string_view, 5> kDot = {
    " ### ", "#####", "#####", "#####", " ### ",
};
constexpr int32_t kDotOffset = 4;

// The inside runs over the eleven rows between the frame's top and bottom.
constexpr int32_t kInsideRows = kGlyphSize - 2;

// The pale frame of the light theme, the same as its window borders.
constexpr COLORREF kLightFrame = 0xC3AA88;
constexpr COLORREF kWhite = 0xFFFFFF;
constexpr COLORREF kDisabledFill = 0xF4F4F4;

COLORREF Slot(ENUM_THEME theme, int32_t slot) {
    return static_cast<COLORREF>(ThemeColor(theme, slot));
}

COLORREF Shift(COLORREF color, int16_t by) {
    return static_cast<COLORREF>(ShiftRGBColor(static_cast<int32_t>(color), by));
}

template <size_t N>
void PaintMark(Canvas& dc, int32_t x, int32_t y, const std::array<std::string_view, N>& mark,
               COLORREF color) {
    for (size_t row = 0; row < mark.size(); ++row) {
        for (size_t col = 0; col < mark[row].size(); ++col) {
            if (mark[row][col] == '#') {
                dc.SetPixelV(x + static_cast<int32_t>(col), y + static_cast<int32_t>(row), color);
            }
        }
    }
}

}  // namespace

GlyphColors GlyphColorsFor(ENUM_THEME theme, int32_t look) {
    const auto value = static_cast<int32_t>(theme);
    if (value < 0 || value > 7) {
        theme = ENUM_THEME::WindowsTheme;
    }
    if (look == 3) {
        const COLORREF slot = Slot(theme, ThemeSlot::FrameDisabled);
        // The light theme's disabled frame is too pale to find on a white
        // group box; it is darkened so the glyph stays visible.
        const COLORREF frame = theme == ENUM_THEME::WindowsThemeLight ? Shift(slot, -40) : slot;
        return {frame, kDisabledFill, kDisabledFill, Shift(slot, -64)};
    }
    const COLORREF base = Slot(theme, ThemeSlot::Frame);
    switch (theme) {
        case ENUM_THEME::OfficeThemeBlue:
        case ENUM_THEME::OfficeThemeSilver: {
            // The Office look: a cool resting box that turns warm under the
            // mouse, with the hot and pressed faces of the buttons.
            const COLORREF mark = Shift(base, -96);
            if (look == 1) {
                return {Slot(theme, ThemeSlot::GradientHot + 2),
                        Slot(theme, ThemeSlot::GradientHot),
                        Slot(theme, ThemeSlot::GradientHot + 3), mark};
            }
            if (look == 2) {
                return {Slot(theme, ThemeSlot::GradientPressed + 2),
                        Slot(theme, ThemeSlot::GradientPressed),
                        Slot(theme, ThemeSlot::GradientPressed + 3), mark};
            }
            return {base, kWhite, Slot(theme, ThemeSlot::Gradient + 1), mark};
        }
        case ENUM_THEME::WindowsThemeLight: {
            const COLORREF accent = Slot(theme, ThemeSlot::FramePressed);
            const COLORREF mark = Shift(accent, -96);
            if (look == 1) {
                return {accent, kWhite, Slot(theme, ThemeSlot::GradientHot), mark};
            }
            if (look == 2) {
                return {Shift(accent, -40), Slot(theme, ThemeSlot::GradientHot), accent, mark};
            }
            return {kLightFrame, kWhite, Slot(theme, ThemeSlot::Gradient), mark};
        }
        default:
            // The solid themes: the theme's colour frames the box and marks
            // it; the inside is a pale tint of it that deepens as it is
            // pressed.
            if (look == 1) {
                return {Slot(theme, ThemeSlot::FrameHot), Shift(base, 140), Shift(base, 120), base};
            }
            if (look == 2) {
                return {Slot(theme, ThemeSlot::FramePressed), Shift(base, 120), Shift(base, 100),
                        Slot(theme, ThemeSlot::FramePressed)};
            }
            return {base, kWhite, Shift(base, 140), base};
    }
}

COLORREF InsideColor(const GlyphColors& colors, int32_t row, int32_t rows) {
    if (rows <= 1) {
        return colors.fillTop;
    }
    COLORREF out = 0;
    for (int32_t shift = 0; shift <= 16; shift += 8) {
        const auto from = static_cast<int32_t>((colors.fillTop >> shift) & 0xFF);
        const auto to = static_cast<int32_t>((colors.fillBottom >> shift) & 0xFF);
        const int32_t channel = from + (to - from) * row / (rows - 1);
        out |= static_cast<COLORREF>(channel) << shift;
    }
    return out;
}

void PaintCheckGlyph(Canvas& dc, int32_t x, int32_t y, const GlyphColors& colors, CheckMark mark) {
    dc.FrameRect(RECT{x, y, x + kGlyphSize, y + kGlyphSize}, colors.frame);
    for (int32_t row = 0; row < kInsideRows; ++row) {
        dc.FillRect(RECT{x + 1, y + 1 + row, x + kGlyphSize - 1, y + 2 + row},
                    InsideColor(colors, row, kInsideRows));
    }
    if (mark == CheckMark::Checked) {
        PaintMark(dc, x + kCheckOffset, y + kCheckOffset, kCheck, colors.mark);
    } else if (mark == CheckMark::Mixed) {
        PaintMark(dc, x + kMixedOffset, y + kMixedOffset, kMixed, colors.mark);
    }
}

void PaintOptionGlyph(Canvas& dc, int32_t x, int32_t y, const GlyphColors& colors, bool checked) {
    for (int32_t row = 0; row < kGlyphSize; ++row) {
        const COLORREF inside = InsideColor(colors, row - 1, kInsideRows);
        for (int32_t col = 0; col < kGlyphSize; ++col) {
            const char c = kOption[static_cast<size_t>(row)][static_cast<size_t>(col)];
            if (c == '#') {
                dc.SetPixelV(x + col, y + row, colors.frame);
            } else if (c == 'o') {
                dc.SetPixelV(x + col, y + row, inside);
            }
        }
    }
    if (checked) {
        PaintMark(dc, x + kDotOffset, y + kDotOffset, kDot, colors.mark);
    }
}

}  // namespace kelvara::detail
