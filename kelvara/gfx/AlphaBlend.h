#pragma once

// AlphaBlend: draws a rectangle of one premultiplied BGRA buffer onto another
// with a constant opacity and, optionally, the source's own alpha — the
// effect of the host's AlphaBlend with a BLENDFUNCTION. A source rectangle of
// another size than the destination's is stretched nearest-neighbour (the
// host's AlphaBlend ignores the stretch mode).
//
// Per channel, with SCA the constant alpha and every "/255" rounded to the
// nearest integer (x / 255 never falls on a half):
//   PerPixelAlpha:  s' = s·SCA/255, a' = srcA·SCA/255,  dst = s' + dst·(255 − a')/255
//   otherwise:      dst = s·SCA/255 + dst·(255 − SCA)/255      (alpha byte too)
// So an opaque source at SCA 255 is copied exactly, a zero source leaves the
// destination exactly as it was, and premultiplied inputs give a
// premultiplied result.

#include <cstdint>

#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"

namespace kelvara {

struct BlendFunction {
    // Scales the whole source; 255 leaves it as it is.
    uint8_t SourceConstantAlpha = 255;
    // The source's alpha bytes take part (the host's AC_SRC_ALPHA); without
    // it the source counts as opaque and only SourceConstantAlpha mixes.
    bool PerPixelAlpha = true;
};

// Blends `srcRect` of `src` onto `destRect` of `dest`, writing only inside
// `clip` (and the destination). Rectangles are in each buffer's pixels, top
// left origin. Target column x (counted from destRect.Left) samples source
// column srcRect.Left + (2x + 1)·srcWidth / (2·destWidth), the source pixel
// under the target pixel's centre; rows likewise.
//
// False when a rectangle is empty or inverted (no mirroring, as on the host),
// when srcRect leaves the source, when a buffer is empty or when both are
// the same buffer. A blend clipped away entirely is True.
bool AlphaBlend(PixelBuffer& dest, const RECT& destRect, const PixelBuffer& src,
                const RECT& srcRect, BlendFunction function, const RECT& clip);
bool AlphaBlend(PixelBuffer& dest, const RECT& destRect, const PixelBuffer& src,
                const RECT& srcRect, BlendFunction function = {});

}  // namespace kelvara
