#pragma once

// DrawText with the host's DT_ flags. Layout is pure logic over a measurer,
// so it is the same for a test's fixed-width fake and for real fonts:
//
//   DrawText → LayoutText (prefixes → hard lines → word wrap → ellipsis →
//   placement) → for each line: TextOut, then the mnemonic's underline.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/gfx/FontEngine.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/gfx/Region.h"

namespace kelvara {

inline constexpr uint32_t DT_TOP = 0x0;
inline constexpr uint32_t DT_LEFT = 0x0;
inline constexpr uint32_t DT_CENTER = 0x1;
inline constexpr uint32_t DT_RIGHT = 0x2;
inline constexpr uint32_t DT_VCENTER = 0x4;
inline constexpr uint32_t DT_BOTTOM = 0x8;
inline constexpr uint32_t DT_WORDBREAK = 0x10;
inline constexpr uint32_t DT_SINGLELINE = 0x20;
inline constexpr uint32_t DT_EXPANDTABS = 0x40;
inline constexpr uint32_t DT_NOCLIP = 0x100;
inline constexpr uint32_t DT_CALCRECT = 0x400;
inline constexpr uint32_t DT_NOPREFIX = 0x800;
inline constexpr uint32_t DT_PATH_ELLIPSIS = 0x4000;
inline constexpr uint32_t DT_END_ELLIPSIS = 0x8000;
inline constexpr uint32_t DT_WORD_ELLIPSIS = 0x40000;

// What layout needs to know of a font.
class TextMeasurer {
public:
    virtual ~TextMeasurer() = default;
    // The advance width of a run without tabs or line breaks.
    virtual int32_t Width(std::u32string_view text) const = 0;
    virtual int32_t LineHeight() const = 0;
    virtual int32_t AveCharWidth() const = 0;
};

struct LaidLine {
    std::u32string Text;
    int32_t X = 0;  // the left end of the line
    int32_t Y = 0;  // the top of the line's cell
    int32_t Width = 0;
    // The mnemonic letter's horizontal extent, relative to X; empty when
    // the line has none.
    int32_t MarkLeft = 0;
    int32_t MarkRight = 0;
};

struct TextLayoutResult {
    std::vector<LaidLine> Lines;
    // What the lines cover: the DT_CALCRECT answer.
    RECT Bounds;
    // DrawText's answer: the text's height, or with DT_VCENTER / DT_BOTTOM
    // on a single line, the distance from the rectangle's top to the text's
    // bottom.
    int32_t Height = 0;
    // The tab stop distance when tabs are expanded, else 0.
    int32_t TabWidth = 0;
};

TextLayoutResult LayoutText(const TextMeasurer& measurer, std::u32string_view text,
                            const RECT& rect, uint32_t format);

// The width of one line as it is drawn: tabs, when tabWidth > 0, move to
// the next multiple of tabWidth from the line's start.
int32_t LineWidth(const TextMeasurer& measurer, std::u32string_view line, int32_t tabWidth);

// Draws UTF-8 text in rect with the given flags and colour (0x00BBGGRR),
// clipped to clip and, unless DT_NOCLIP, to rect. With DT_CALCRECT nothing
// is drawn and rect becomes what the text covers: its left and top stay,
// its right and bottom move to the widest line and the last line. Returns
// the text's height as the host does; 0 for empty text or no font. With a
// background colour (an opaque background mode) each line's cell, as wide
// as the line, is filled with it before the glyphs go down.
int32_t DrawText(FontEngine& engine, const StdFont& font, PixelBuffer& target, const Region& clip,
                 std::string_view text, RECT& rect, uint32_t format, uint32_t color,
                 std::optional<uint32_t> background = std::nullopt);
int32_t DrawText(FontEngine& engine, const FontInstance& font, PixelBuffer& target,
                 const Region& clip, std::string_view text, RECT& rect, uint32_t format,
                 uint32_t color, std::optional<uint32_t> background = std::nullopt);

}  // namespace kelvara
