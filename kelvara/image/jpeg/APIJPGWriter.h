#pragma once

// APIJPGWriter: surface → baseline JPEG bytes (JFIF, 8 bits per sample,
// Huffman coded). JPEG keeps no transparency, so the picture is flattened
// onto a fill colour first.

#include <cstdint>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

// How the two colour-difference channels are sampled.
enum class JpegChroma : int32_t {
    Auto = 0,     // Full at quality 90 and above, Quarter below
    Full = 1,     // 4:4:4: one colour sample per pixel
    Quarter = 2,  // 4:2:0: one colour sample per 2 × 2 pixels
};

class APIJPGWriter {
public:
    // The frame header could hold 65535, but libjpeg, which most programs
    // read JPEG with, refuses sides above 65500: a file they cannot open is
    // of no use to the caller.
    static constexpr int32_t kMaxSide = 65500;
    static constexpr uint8_t kDefaultQuality = 90;
    static constexpr int32_t kDefaultFill = 0xFFFFFF;  // white

    JpegChroma Chroma() const { return chroma; }
    void SetChroma(JpegChroma value) { chroma = value; }

    // The JPEG form of the surface, replacing Out; Out stays as it was when
    // this fails (no image, or a side above kMaxSide, or no memory).
    // Quality runs from 1 (smallest file) to 100 (best picture); 0 counts
    // as 1 and anything above 100 as 100. FillColor (0x00BBGGRR) shows
    // through transparent pixels; a negative one is white. A picture whose
    // every flattened pixel is gray is written with one channel only.
    bool SaveJPG(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                 uint8_t Quality = kDefaultQuality, int32_t FillColor = kDefaultFill) const;

private:
    JpegChroma chroma = JpegChroma::Auto;
};

}  // namespace kelvara
