#pragma once

// The pixel kernels behind API32bppDIB's drawing and pixel operations. They
// work on premultiplied BGRA PixelBuffers, never on the surface class, so
// that the same code serves a surface target today and a canvas tomorrow.
//
// Areas are rectangles in a buffer's pixels with a top-left origin; every
// kernel checks that an area lies inside its buffer and refuses it otherwise.
// Where a rule counts rows "from the bottom", row 0 is the picture's bottom
// row, whatever the buffer's row order in memory.
//
// Premultiplied inputs give premultiplied outputs in every kernel.

#include <cstdint>

#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara::detail {

enum class Sampling { Nearest, Bilinear };

// Where drawing lands: a buffer and the part of it that may change.
struct RenderTarget {
    PixelBuffer* Pixels = nullptr;
    RECT Clip{};
    // Four-byte pixels whose alpha is blended too; a target without alpha
    // (a screen) keeps its alpha bytes.
    bool HasAlpha = true;
};

// How BlendBits mixes a source in.
struct BlendOptions {
    uint8_t Alpha = 255;  // constant opacity, 255 = as is
    ENUM_GRAY_SCALE_FORMULAS GrayScale = ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone;
    float LightAdjustment = 0;  // −100 to 100; 0 = none
};

struct Mirror {
    bool X = false;  // columns reversed
    bool Y = false;  // rows reversed
};

inline RECT WholeOf(const PixelBuffer& pixels) {
    return RECT{0, 0, pixels.Width(), pixels.Height()};
}

bool IsInside(const PixelBuffer& pixels, const RECT& area);

// `out` becomes a copy of `area` of `src`.
bool CopyBits(const PixelBuffer& src, const RECT& area, PixelBuffer& out);

// Writes `area` of `src` into `dest` at (destX, destY), unclipped: the
// caller keeps the copy inside `dest`.
void PutBits(const PixelBuffer& src, const RECT& area, PixelBuffer& dest, int32_t destX,
             int32_t destY);

// `out` becomes `area` of `src` with columns and/or rows reversed.
bool MirrorBits(const PixelBuffer& src, const RECT& area, Mirror mirror, PixelBuffer& out);

// Stretches `area` of `src` to a picture of destWidth × destHeight and puts
// the part `visible` of that picture (in its own pixels) into `out`, which
// gets visible's size. Only the visible part is computed, and it is exactly
// what the same part of the whole stretched picture would be.
//
// Nearest: target column x reads source column ⌊x·f + left⌋, f = width ratio;
// target row y, counted from the bottom, reads row ⌊y·g + base⌋ from the
// bottom, base being the area's bottom row.
// Bilinear: the same positions, the two-by-two neighbours blended by the
// weights described beside ColumnWeights and RowWeights in the .cpp, each
// output byte the floor of its weighted sum.
bool StretchBits(const PixelBuffer& src, const RECT& area, int32_t destWidth, int32_t destHeight,
                 const RECT& visible, Sampling sampling, PixelBuffer& out);

// Moves each colour of each pixel by d = round(a × f) / 255 (a the pixel's
// alpha, f = adjustment / 100 × 255 in single precision, rounded half to
// even, the division truncating): up to the pixel's alpha when lightening,
// down to 0 when darkening. Alpha stays; zero pixels stay zero.
bool LightAdjust(const PixelBuffer& src, const RECT& area, float adjustment, PixelBuffer& out);
void LightAdjust(PixelBuffer& pixels, float adjustment);

// Blends `area` of `src` onto the target at (destX, destY), clipped to the
// target. False only when memory runs out.
bool BlendBits(const RenderTarget& target, int32_t destX, int32_t destY, const PixelBuffer& src,
               const RECT& area, const BlendOptions& options);

// What RenderRotated draws.
struct RotatedDraw {
    double Angle = 0;  // degrees, clockwise on the screen
    // The rectangle the unrotated picture would fill; a negative size
    // mirrors. The rotated picture is centred on this rectangle's centre.
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    Sampling Filter = Sampling::Nearest;
};

// Scales (and mirrors) `area` of `src` to the rectangle, applies the light
// adjustment, turns the result about its centre into a buffer the size of
// its bounding box, and blends that onto the target.
bool RenderRotated(const RenderTarget& target, const PixelBuffer& src, const RECT& area,
                   const RotatedDraw& draw, const BlendOptions& options);

// The gray byte of a premultiplied pixel: the weighted sum of its colours in
// single precision, rounded half to even, never above the pixel's alpha.
// Deliberate: blending sums red first and MakeGrayScale blue first, as each
// always has; the float sums can differ in their last bit.
class GrayLevels {
public:
    explicit GrayLevels(ENUM_GRAY_SCALE_FORMULAS formula);
    uint8_t RedFirst(const uint8_t* bgra) const;
    uint8_t BlueFirst(const uint8_t* bgra) const;

private:
    float red[256];
    float green[256];
    float blue[256];
};

}  // namespace kelvara::detail
