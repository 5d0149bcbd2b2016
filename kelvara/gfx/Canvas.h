#pragma once

// Canvas: a drawing state over a BGRA pixel buffer, with the host's device
// context operations in their usual meaning. The canvas does not own the
// buffer; the buffer must outlive it.
//
// Coordinates given to drawing calls are logical: the viewport origin is
// added to turn them into buffer pixels. Clip regions are in buffer pixels.
//
// Deliberate: every drawing primitive writes opaque pixels (alpha 255); the
// copying calls (BitBlt, StretchBlt, StretchDIBits) move the source's four
// bytes as they are and AlphaBlend blends them. The host
// leaves the alpha byte of a 32-bit section at 0 when it draws, but our
// surfaces are premultiplied, where a coloured pixel with alpha 0 is not a
// valid value; opaque pixels keep every drawn colour what it was meant to be.
//
// Colours are COLORREF values, 0x00BBGGRR: red in the low byte.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "kelvara/gfx/AlphaBlend.h"
#include "kelvara/gfx/FontEngine.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/gfx/Region.h"

namespace kelvara {

using COLORREF = uint32_t;
inline constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

struct POINT {
    int32_t X = 0;
    int32_t Y = 0;
    friend bool operator==(const POINT&, const POINT&) = default;
};

// How text and hatched drawing treat the background, by the host's numbers.
enum class BkMode : int32_t { TRANSPARENT = 1, OPAQUE = 2 };

enum class PenStyle : int32_t { PS_SOLID = 0, PS_NULL = 5 };

// How StretchBlt and StretchDIBits resample, by the host's numbers.
enum class StretchMode : int32_t { COLORONCOLOR = 3, HALFTONE = 4 };

struct Pen {
    PenStyle Style = PenStyle::PS_SOLID;
    int32_t Width = 1;  // below 1 counts as 1
    COLORREF Color = 0;
};

struct Brush {
    bool Null = false;  // a null brush fills nothing
    COLORREF Color = 0xFFFFFF;
};

// A gradient corner: position and 16-bit channels (the byte is the high
// half).
struct TRIVERTEX {
    int32_t x = 0;
    int32_t y = 0;
    uint16_t Red = 0;
    uint16_t Green = 0;
    uint16_t Blue = 0;
    uint16_t Alpha = 0;
};

struct GRADIENT_RECT {
    uint32_t UpperLeft = 0;
    uint32_t LowerRight = 0;
};

enum class GradientMode : uint32_t { GRADIENT_FILL_RECT_H = 0, GRADIENT_FILL_RECT_V = 1 };

class Canvas {
public:
    explicit Canvas(PixelBuffer& pixels);

    PixelBuffer& Pixels() { return pixels; }
    const PixelBuffer& Pixels() const { return pixels; }

    // --- State --------------------------------------------------------------
    // Each setter returns the previous value, as the host's do.

    COLORREF SetTextColor(COLORREF color);
    COLORREF GetTextColor() const { return state.textColor; }
    BkMode SetBkMode(BkMode mode);
    BkMode GetBkMode() const { return state.bkMode; }
    COLORREF SetBkColor(COLORREF color);
    COLORREF GetBkColor() const { return state.bkColor; }
    Pen SelectPen(const Pen& pen);
    const Pen& GetPen() const { return state.pen; }
    Brush SelectBrush(const Brush& brush);
    const Brush& GetBrush() const { return state.brush; }
    StretchMode SetStretchBltMode(StretchMode mode);
    StretchMode GetStretchBltMode() const { return state.stretchMode; }

    // Replaces the clip by a copy of `region` (buffer pixels), or with
    // nullptr by no clip. Deliberate: a clip only ever narrows — what is
    // selected is intersected with the clip in force at the last Save, so a
    // painter handed a clipped canvas can never draw outside it. Returns the
    // kind of the resulting clip.
    RegionKind SelectClipRgn(const Region* region);
    // The clip in force, as a region of buffer pixels, or nothing when the
    // whole buffer may be drawn on.
    const std::optional<Region>& ClipRegion() const { return state.clip; }
    // The rectangles drawing may touch: the clip within the buffer.
    const std::vector<RECT>& ClipRects() const { return Clips(); }

    bool SetViewportOrgEx(int32_t x, int32_t y, POINT* previous = nullptr);
    POINT GetViewportOrg() const { return state.origin; }
    bool MoveToEx(int32_t x, int32_t y, POINT* previous = nullptr);
    POINT GetCurrentPosition() const { return state.position; }

    // Pushes the whole state; returns the new depth (1 for the first save).
    int32_t Save();
    // Pops one saved state; False when none is saved.
    bool Restore();
    int32_t SaveDepth() const { return static_cast<int32_t>(saved.size()); }

    // --- Drawing ------------------------------------------------------------

    // Fills the rectangle with a colour (the host's FillRect with a solid
    // brush of that colour).
    void FillRect(const RECT& rect, COLORREF color);
    // The one-pixel border inside the rectangle.
    void FrameRect(const RECT& rect, COLORREF color);
    // The pen's outline inside [left, right) × [top, bottom), the brush
    // inside that. A wide pen's outline grows inwards.
    bool Rectangle(int32_t left, int32_t top, int32_t right, int32_t bottom);
    // As Rectangle with corners rounded by an ellipse of widthEllipse ×
    // heightEllipse; the pixels touched are exactly those of
    // Region::CreateRoundRectRgn with the same arguments, so painting and
    // hit testing agree. The outline is the region less the same shape
    // shrunk by the pen width on every side.
    bool RoundRect(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t widthEllipse,
                   int32_t heightEllipse);
    bool Ellipse(int32_t left, int32_t top, int32_t right, int32_t bottom);
    // A line with the pen from the current position to (x, y), without the
    // end point, as the host draws; the end becomes the current position.
    // A pen of width w > 1 puts a w × w square, centred on each point of the
    // one-pixel line (offset −w/2, rounded down), at every step.
    bool LineTo(int32_t x, int32_t y);

    // SetPixelV writes one pixel; False outside the clip or the buffer.
    bool SetPixelV(int32_t x, int32_t y, COLORREF color);
    // The colour at (x, y) (the alpha byte is dropped), or CLR_INVALID
    // outside the clip or the buffer.
    COLORREF GetPixel(int32_t x, int32_t y) const;

    // Fills each rectangle, from its UpperLeft to its LowerRight vertex
    // (right and bottom exclusive; sides given in either order), with a
    // linear ramp across its columns (H) or rows (V). Column i of n takes
    // each channel as c0 + (c1 − c0)·i / n (16 bits, the division truncating
    // towards zero), then its high byte: the first column has exactly the
    // first vertex's colour and the far vertex's colour is approached but
    // not reached. The vertices' alpha is not used (see the opacity note
    // above). False for a vertex index out of range.
    bool GradientFill(const TRIVERTEX* vertices, uint32_t vertexCount, const GRADIENT_RECT* rects,
                      uint32_t rectCount, GradientMode mode);

    // Copies width × height pixels from (srcX, srcY) of `src` (its own
    // pixels, top-left origin) to (x, y). The parts outside the source are
    // left alone. False for a negative size or an empty source.
    bool BitBlt(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                int32_t srcX, int32_t srcY);
    // From another canvas: the source position is logical in that canvas.
    bool BitBlt(int32_t x, int32_t y, int32_t width, int32_t height, const Canvas& src,
                int32_t srcX, int32_t srcY);

    // Copies the source rectangle stretched to the target rectangle, by the
    // stretch mode:
    //   COLORONCOLOR: target column i reads source column
    //     srcX + (2i + 1)·srcWidth / (2·width) (the pixel under its centre);
    //     rows likewise.
    //   HALFTONE: along a side that shrinks, target column i is the average
    //     (rounded to nearest) of source columns [i·srcW/w, (i+1)·srcW/w);
    //     along a side that grows or stays, as COLORONCOLOR. Both sides
    //     together make a box of source pixels.
    // Mirroring (negative sizes) is not done: False. The source rectangle
    // must lie in the source.
    bool StretchBlt(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                    int32_t srcX, int32_t srcY, int32_t srcWidth, int32_t srcHeight);

    // As StretchBlt from 32-bit pixels in memory: `bits` holds bitsWidth ×
    // |bitsHeight| pixels of four bytes, rows packed; a positive bitsHeight
    // means the first row in memory is the bottom one, a negative one the
    // top one. Deliberate: for a bottom-up picture srcY counts rows up from
    // the bottom, as the host does (the source rectangle's bottom row is
    // srcY from the bottom); for a top-down one it counts from the top.
    bool StretchDIBits(int32_t x, int32_t y, int32_t width, int32_t height, int32_t srcX,
                       int32_t srcY, int32_t srcWidth, int32_t srcHeight, const uint8_t* bits,
                       int32_t bitsWidth, int32_t bitsHeight);

    // Premultiplied blend of `src` (see kelvara/gfx/AlphaBlend.h) through the
    // clip.
    bool AlphaBlend(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                    int32_t srcX, int32_t srcY, int32_t srcWidth, int32_t srcHeight,
                    BlendFunction function);

    // --- Text ---------------------------------------------------------------
    // Text is drawn with the selected font in the text colour, each pixel
    // moved towards the colour by the glyph's coverage (see FontEngine).
    // In the OPAQUE background mode each line's cell is first filled with
    // the background colour.

    // The font text is drawn in; each returns the previous one.
    FontRequest SelectFont(const FontRequest& font);
    FontRequest SelectFont(const StdFont& font);
    // An empty handle leaves the font as it is.
    FontRequest SelectFont(const HFONT& font);
    const FontRequest& GetFont() const { return state.font; }
    // The engine that turns text into pixels: the thread's own unless set.
    // It must outlive the canvas.
    void SetFontEngine(FontEngine& engine);

    // False when no font can be loaded.
    bool GetTextMetrics(TextMetrics& metrics);
    bool GetTextExtentPoint32(std::string_view text, TextSize& size);
    // One line, its cell's top-left corner at (x, y); tabs and line breaks
    // are not interpreted.
    bool TextOut(int32_t x, int32_t y, std::string_view text);
    // Text laid out in rect by DT_ flags (kelvara/gfx/TextLayout.h), in
    // logical coordinates; with DT_CALCRECT rect becomes what the text
    // covers and nothing is drawn. Returns the text's height, 0 when
    // nothing could be laid out.
    int32_t DrawText(std::string_view text, RECT& rect, uint32_t format);

private:
    struct State {
        COLORREF textColor = 0;
        BkMode bkMode = BkMode::OPAQUE;
        COLORREF bkColor = 0xFFFFFF;
        Pen pen;
        Brush brush;
        StretchMode stretchMode = StretchMode::COLORONCOLOR;
        std::optional<Region> clip;
        // The clip at the last Save: SelectClipRgn never goes beyond it.
        std::optional<Region> outerClip;
        POINT origin;
        POINT position;
        FontRequest font;
    };

    void UpdateClipRects() const;
    // The clip rectangles, worked out again when the buffer has changed size
    // since (its owner may have made it anew), so a kept canvas never
    // writes outside its buffer.
    const std::vector<RECT>& Clips() const;
    // Fills a rectangle of buffer pixels through the clip.
    void FillDevice(const RECT& area, COLORREF color);
    void FillRegion(const Region& region, COLORREF color);
    // The outline-and-fill shape shared by Rectangle, RoundRect and Ellipse.
    bool DrawShape(RECT box, int32_t widthEllipse, int32_t heightEllipse, bool rounded);
    // The selected font, opened on first use after each change.
    const FontInstance* Font();
    // The clip rectangles as one region, for the text engine.
    const Region& ClipAsRegion() const;

    PixelBuffer& pixels;
    State state;
    std::vector<State> saved;
    mutable std::vector<RECT> clipRects;
    mutable int32_t clipWidth = -1;
    mutable int32_t clipHeight = -1;
    mutable std::optional<Region> clipRegion;
    FontEngine* engine;
    const FontInstance* openFont = nullptr;
    FontRequest openRequest;
};

// Saves a canvas's state for its lifetime.
class [[nodiscard]] CanvasSaver {
public:
    explicit CanvasSaver(Canvas& canvas) : canvas(canvas) { canvas.Save(); }
    ~CanvasSaver() { canvas.Restore(); }
    CanvasSaver(const CanvasSaver&) = delete;
    CanvasSaver& operator=(const CanvasSaver&) = delete;

private:
    Canvas& canvas;
};

}  // namespace kelvara
