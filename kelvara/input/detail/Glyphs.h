#pragma once

// The 13 × 13 glyphs of USCheckBox and USOptionButton, drawn pixel by pixel
// so they stay crisp at any theme: a one-pixel frame, an inside that runs
// from one colour at its top row to another at its bottom row, and a mark.
// Their colours come from the theme's palette and the look (0 normal,
// 1 hot, 2 pressed, 3 disabled).

#include <cstdint>

#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/Canvas.h"

namespace kelvara::detail {

inline constexpr int32_t kGlyphSize = 13;

struct GlyphColors {
    COLORREF frame = 0;
    COLORREF fillTop = 0;
    COLORREF fillBottom = 0;
    COLORREF mark = 0;
    friend bool operator==(const GlyphColors&, const GlyphColors&) = default;
};

// A theme outside 0 to 7 draws as Windows Theme; a look outside 0 to 3 as
// normal.
GlyphColors GlyphColorsFor(ENUM_THEME theme, int32_t look);

// Row `row` of the inside (0 at its top, `rows` − 1 at its bottom): each
// channel top + (bottom − top) · row ÷ (rows − 1), truncated towards zero,
// as the gradient faces of the other controls step.
COLORREF InsideColor(const GlyphColors& colors, int32_t row, int32_t rows);

enum class CheckMark { None, Checked, Mixed };

// The square glyph with its top-left corner at (x, y).
void PaintCheckGlyph(Canvas& dc, int32_t x, int32_t y, const GlyphColors& colors, CheckMark mark);
// The round glyph; the four corners outside the circle are left as they are.
void PaintOptionGlyph(Canvas& dc, int32_t x, int32_t y, const GlyphColors& colors, bool checked);

}  // namespace kelvara::detail
