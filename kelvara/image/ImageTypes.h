#pragma once

// The enumerations and small helpers that the whole image engine shares.
// Their values are persisted in exported image lists and saved properties.

#include <array>
#include <cstdint>

namespace kelvara {

// A colour as the host writes it: red + green × 256 + blue × 65536; the high
// bit marks a system colour.
using OLE_COLOR = uint32_t;

// What the alpha bytes of a surface hold.
enum class ENUM_ALPHA_TYPE : int32_t {
    AlphaNone = 0,     // all alpha 255, or all 0 for an opaque picture
    AlphaSimple = 1,   // only 0 and 255 occur
    AlphaComplex = 2,  // some alpha strictly between 0 and 255
};

// The source format of a surface's pixels.
enum class ENUM_IMAGE_FORMAT : int32_t {
    ImageError = -1,
    ImageNone = 0,
    ImageBitmap = 1,
    ImageWMF = 2,
    ImageIcon = 3,
    ImageEMF = 4,
    ImageCursor = 5,
    ImageBitmapARGB = 6,
    ImageBitmapPARGB = 7,
    ImageIconARGB = 8,
    ImageGIF = 9,
    ImagePNG = 10,
    ImagePNGIcon = 11,
    ImageCursorARGB = 12,
    ImageCheckerBoard = 64,
};

enum class ENUM_SCALE_OPTIONS : int32_t {
    ScaleToSize = 0,
    ScaleDownAsNeeded = 1,
    ScaleStretched = 2,
};

// Bits; TrimAll (0) means all four sides.
enum class ENUM_TRIM_OPTIONS : int32_t {
    TrimAll = 0,
    TrimLeft = 1,
    TrimTop = 2,
    TrimRight = 4,
    TrimBottom = 8,
};

enum class ENUM_GRAY_SCALE_FORMULAS : int32_t {
    GrayScaleNone = -1,
    GrayScaleNTSCPAL = 0,
    GrayScaleCCIR709 = 1,
    GrayScaleSimpleAvg = 2,
    GrayScaleRedMask = 3,
    GrayScaleGreenMask = 4,
    GrayScaleBlueMask = 5,
    GrayScaleRedGreenMask = 6,
    GrayScaleBlueGreenMask = 7,
};

enum class ENUM_REGION_STYLES : int32_t {
    RegionBounds = 0,
    RegionEnclosed = 1,
    RegionShaped = 2,
};

// The weights of red, green and blue in a gray value, in that order. Any
// value out of range weighs as NTSC/PAL.
std::array<float, 3> GrayScaleWeights(ENUM_GRAY_SCALE_FORMULAS formula);

// The byte length of a row of `pixels` at `bits` per pixel, padded to whole
// 32-bit words.
constexpr int32_t ScanlineBytes(int32_t bits, int32_t pixels) {
    return static_cast<int32_t>(((int64_t{pixels} * bits + 31) & ~int64_t{31}) / 8);
}

// An icon's size as a multi-icon file lists it.
struct IconSize {
    int32_t Width = 0;
    int32_t Height = 0;
    int32_t BitDepth = 0;
    friend bool operator==(const IconSize&, const IconSize&) = default;
};

}  // namespace kelvara
