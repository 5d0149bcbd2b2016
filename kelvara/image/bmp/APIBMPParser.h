#pragma once

// APIBMPParser: Windows bitmaps (1, 4, 8, 16, 24, 32 bits; RLE4 and RLE8;
// bit fields; top-down and bottom-up; core, info, V4 and V5 headers) →
// premultiplied 32bpp surface, and a surface → bitmap file bytes.

#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

class APIBMPParser {
public:
    // Declines a stream that does not start with "BM".
    bool LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface);

    // WithAlpha writes 32 bits with the alpha kept; otherwise 24 bits, the
    // picture flattened onto FillColor.
    static bool SaveToStream(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                             int32_t FillColor, bool WithAlpha);
};

}  // namespace kelvara
