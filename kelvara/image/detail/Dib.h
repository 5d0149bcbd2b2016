#pragma once

// The device-independent bitmap that bitmap files and icon entries share: a
// header (core, info, V2 to V5), optional colour masks, a palette and the
// pixel rows. The bitmap reader adds the file header around it; the icon
// reader adds the AND mask after it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "kelvara/base/Result.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara::detail {

enum class DibError {
    Truncated,      // the header, palette or rows run past the data
    BadHeader,      // a size, depth, plane or mask that cannot be
    Unsupported,    // a valid but unhandled form (JPEG or PNG inside)
    TooLarge,       // more pixels than the engine's limits allow
    TooLittleData,  // the data could not describe that many pixels
    OutOfMemory,
};

enum class DibCompression : uint32_t {
    Rgb = 0,
    Rle8 = 1,
    Rle4 = 2,
    BitFields = 3,
    Jpeg = 4,
    Png = 5,
    AlphaBitFields = 6,
};

// What a header says, checked.
struct DibFormat {
    int32_t width = 0;
    int32_t height = 0;  // rows of the colour image (an icon's doubled height halved)
    bool topDown = false;
    uint16_t bitCount = 0;
    DibCompression compression = DibCompression::Rgb;
    // Red, green, blue, alpha masks for 16 and 32 bits (implied ones filled in).
    std::array<uint32_t, 4> masks{};
    bool alphaMask = false;  // alpha comes from an explicit mask
    uint32_t headerSize = 0;
    size_t paletteOffset = 0;  // from the header's first byte
    uint32_t paletteEntries = 0;
    uint32_t paletteEntrySize = 4;  // 3 for core headers
};

// How the decoded pixels' alpha must still be treated.
enum class DibAlpha {
    Opaque,      // every pixel written with alpha 255
    Holes,       // run-length data left some pixels undefined (transparent)
    Straight,    // alpha from a mask, colours not yet premultiplied
    FourthByte,  // a 32-bit row's spare byte, meaning unknown
};

// Reads the header at the start of `dib` (which runs to the end of the
// available data). `icon` halves the height, as icon entries store the
// colour and mask heights together.
Result<DibFormat, DibError> ReadDibHeader(std::span<const uint8_t> dib, bool icon);

// The byte size of uncompressed rows as stored (padded to 32 bits), or -1
// past the limits.
int64_t DibRowsSize(const DibFormat& format);

// Decodes the rows into `surface` (allocated here, after every size check).
// `palette` holds the palette bytes available, `bits` the pixel data to the
// end of what is available.
Result<DibAlpha, DibError> DecodeDib(const DibFormat& format, std::span<const uint8_t> palette,
                                     std::span<const uint8_t> bits, API32bppDIB& surface);

// Straight alpha → premultiplied, in place; the alpha kind the pixels have.
ENUM_ALPHA_TYPE PremultiplyStraight(PixelBuffer& pixels);
bool AnyAlpha(const PixelBuffer& pixels);
void MakeOpaque(PixelBuffer& pixels);

}  // namespace kelvara::detail
