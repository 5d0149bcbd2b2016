#pragma once

// APIGIFParser: the first frame of a GIF → premultiplied 32bpp surface, and a
// surface → a single-frame GIF89a. Animation is the animated-image control's
// business; this reader stops at the first picture.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

class APIGIFParser {
public:
    // Reads Length bytes of Stream from Start (Length 0: to the end), in
    // place. Declines anything whose first six bytes are not "GIF87a" or
    // "GIF89a" in either case. The surface takes the frame's own size; a
    // frame with a transparent colour gives Alpha Simple, one without gives
    // Alpha None. False, with the surface empty, for a damaged or cut-short
    // stream.
    bool LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface, int32_t Start = 0,
                    int32_t Length = 0);

    // Writes the surface as a GIF into the file FileName or, when FileName is
    // empty, into OutStream. Pixels with alpha below OpaquenessTolerance
    // (0 to 256) become the transparent entry; the others are opaque, their
    // colours un-premultiplied. UseAdaptivePalette picks the colours from the
    // picture, otherwise from a fixed table of 251 colours.
    bool SaveAsGIF(const std::string& FileName, std::vector<uint8_t>& OutStream,
                   const API32bppDIB& Surface, bool UseAdaptivePalette = true,
                   int32_t OpaquenessTolerance = kDefaultTolerance);

    // The surface's own save members: an adaptive palette; with UseTransparency
    // pixels below half opacity are transparent, without it none are. A
    // FillColor other than −1 is the colour the remaining partly transparent
    // pixels (all of them, without transparency) are laid over.
    static bool SaveToStream(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                             int32_t FillColor, bool UseTransparency);

    static constexpr int32_t kDefaultTolerance = 128;
};

}  // namespace kelvara
