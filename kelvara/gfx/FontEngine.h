#pragma once

// FontEngine: family names to font files (fontconfig), glyphs to coverage
// (FreeType, grayscale, 96 dots per inch), and the GDI-style text calls on
// top: metrics, measuring and drawing one line into a PixelBuffer.
//
//   Open(request) → FontInstance (one face at one pixel size and style)
//   TextOut → for each code point: GlyphOf (cache, else FreeType) → BlendGlyph
//
// Glyph bitmaps are cached per instance, so drawing the same strings again
// makes no FreeType calls. An engine and its instances belong to one thread
// at a time: the caches fill as text is measured and drawn.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/gfx/Region.h"
#include "kelvara/gfx/StdFont.h"

namespace kelvara {

// A logical font as the host's CreateFontIndirect takes it. Heights follow
// FontRequest's rule; width, escapement, orientation, charset and quality
// are kept for callers that read them back but do not change the glyphs:
// text is always drawn upright, anti-aliased, at the face's own width.
struct LOGFONT {
    int32_t lfHeight = 0;
    int32_t lfWidth = 0;
    int32_t lfEscapement = 0;
    int32_t lfOrientation = 0;
    int32_t lfWeight = 400;  // 550 and above draw bold
    bool lfItalic = false;
    bool lfUnderline = false;
    bool lfStrikeOut = false;
    uint8_t lfCharSet = 1;
    uint8_t lfQuality = 0;
    std::string lfFaceName;

    friend bool operator==(const LOGFONT&, const LOGFONT&) = default;
};

// A font handle: the font lives as long as a handle to it does, so there is
// nothing to delete by hand. An empty handle selects nothing.
using HFONT = std::shared_ptr<const LOGFONT>;
HFONT CreateFontIndirect(const LOGFONT& font);

// What a font is asked for, in the terms of a GDI logical font.
struct FontRequest {
    std::string Family = "MS Sans Serif";
    // Negative: the em size in pixels. Positive: the cell height (ascent +
    // descent) in pixels. Zero: a default of 8 points.
    int32_t Height = -11;
    bool Bold = false;
    bool Italic = false;
    bool Underline = false;
    bool Strikethrough = false;

    static FontRequest FromStdFont(const StdFont& font);
    static FontRequest FromLogFont(const LOGFONT& font);
    friend bool operator==(const FontRequest&, const FontRequest&) = default;
};

// The GetTextMetrics numbers, in pixels.
struct TextMetrics {
    int32_t tmHeight = 0;
    int32_t tmAscent = 0;
    int32_t tmDescent = 0;
    int32_t tmInternalLeading = 0;
    int32_t tmAveCharWidth = 0;
};

struct TextSize {
    int32_t cx = 0;
    int32_t cy = 0;
};

// Where a face draws its lines, from the top of the cell, in pixels.
struct LineMarks {
    int32_t UnderlineTop = 0;
    int32_t UnderlineThickness = 1;
    int32_t StrikeTop = 0;
    int32_t StrikeThickness = 1;
};

class FontInstance;

class FontEngine {
public:
    FontEngine();
    ~FontEngine();
    FontEngine(const FontEngine&) = delete;
    FontEngine& operator=(const FontEngine&) = delete;

    // The calling thread's engine, made on first use. Canvases and surfaces
    // draw with it unless given another, so glyphs one of them caches serve
    // all the others on that thread.
    static FontEngine& ForThread();

    // False when FreeType or fontconfig could not start; every call then
    // measures nothing and draws nothing.
    bool Ready() const;

    // The font file fontconfig picks for a family, with Wine's faces
    // (Tahoma, MS Sans Serif) known to it and DejaVu Sans as the last resort.
    std::string MatchFile(std::string_view family, bool bold, bool italic);

    // The instance for a request, made once and kept for the engine's life;
    // nullptr only when no face at all can be loaded.
    const FontInstance* Open(const FontRequest& request);
    const FontInstance* Open(const StdFont& font) { return Open(FontRequest::FromStdFont(font)); }

    TextMetrics GetTextMetrics(const FontInstance& font) const;
    LineMarks GetLineMarks(const FontInstance& font) const;
    // Width by advances (and kerning, where the face has it); height is the
    // cell height.
    TextSize GetTextExtentPoint32(const FontInstance& font, std::u32string_view text);
    TextSize GetTextExtentPoint32(const FontInstance& font, std::string_view utf8);

    // Draws one line with its cell's top-left corner at (x, y). Color is
    // 0x00BBGGRR. Each pixel moves towards the colour by the glyph's
    // coverage: dst += (colour − dst) × coverage ÷ 255 on all four channels,
    // the colour's alpha being 255. That is an opaque colour laid over the
    // pixel with the coverage as its alpha, so premultiplied pixels stay
    // premultiplied and fully covered pixels become opaque. The request's
    // underline and strike-through are drawn as solid lines.
    void TextOut(const FontInstance& font, PixelBuffer& target, const Region& clip, int32_t x,
                 int32_t y, std::u32string_view text, uint32_t color);
    void TextOut(const FontInstance& font, PixelBuffer& target, const RECT& clip, int32_t x,
                 int32_t y, std::string_view utf8, uint32_t color);

    // Fills [left, right) × [top, bottom) with the colour, within the clip:
    // the underline of a mnemonic letter and the font's own lines.
    static void FillSpan(PixelBuffer& target, const Region& clip, const RECT& box, uint32_t color);

    // How many glyphs were rasterised and how many were found in the cache,
    // since the engine was made.
    int64_t GlyphLoads() const { return glyphLoads; }
    int64_t GlyphHits() const { return glyphHits; }

private:
    struct State;
    std::unique_ptr<State> state;
    int64_t glyphLoads = 0;
    int64_t glyphHits = 0;
};

}  // namespace kelvara
