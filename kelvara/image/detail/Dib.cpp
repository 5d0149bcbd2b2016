#include "kelvara/image/detail/Dib.h"

// ReadDibHeader → (caller locates palette and rows) → DecodeDib
//   → DecodeRows (1, 4, 8 bits through the palette; 16 and 32 through
//     masks; 24 direct) | DecodeRle (RLE8, RLE4)
//
// Malformed input:
// - Planes are not checked: writers put 0 there often enough, and nothing
//   depends on it.
// - Bit fields whose red, green and blue masks are all zero read as the
//   usual layout of that depth (5-5-5 or 8-8-8). Masks that are not one run
//   of bits, or that reach past the pixel's bits, are refused.
// - Palette indexes past the palette give opaque black.
// - Uncompressed rows may lack the padding of the last row; anything
//   shorter is refused before the surface is allocated.
// - Run-length data: runs past the row's end are clipped; a delta past the
//   picture or running out of data ends the decoding, keeping what was
//   decoded; pixels never written stay transparent. A run-length picture
//   of more than a million pixels is refused when it has over 1024 pixels
//   per data byte, so that a few bytes cannot make us allocate a huge
//   surface.

#include <algorithm>
#include <bit>
#include <new>

#include "kelvara/image/detail/ByteIO.h"

namespace kelvara::detail {

namespace {

// A run-length picture of up to this many pixels is never refused for its
// data being short.
constexpr int64_t kRleFreePixels = int64_t{1} << 20;
// Run-length data may leave most of a picture undefined (end of line, end
// of bitmap, delta), so it does not bound the picture's size by itself. We
// allow a picture this many pixels per data byte, about the expansion that
// deflate allows at most.
constexpr int64_t kRlePixelsPerByte = 1024;
// More stored palette entries than this is no palette but garbage.
constexpr uint32_t kMaxPaletteEntries = 1u << 16;

bool IsContiguous(uint32_t mask) {
    if (mask == 0) {
        return true;
    }
    const uint32_t shifted = mask >> std::countr_zero(mask);
    return (shifted & (shifted + 1)) == 0;
}

// One colour channel of a masked pixel, scaled to eight bits.
class MaskChannel {
public:
    MaskChannel(uint32_t mask, uint8_t whenAbsent) : mask(mask), whenAbsent(whenAbsent) {
        if (mask != 0) {
            shift = std::countr_zero(mask);
            max = mask >> shift;
        }
    }
    uint8_t operator()(uint32_t pixel) const {
        if (mask == 0) {
            return whenAbsent;
        }
        const uint32_t v = (pixel & mask) >> shift;
        if (max == 255) {
            return static_cast<uint8_t>(v);
        }
        return static_cast<uint8_t>((uint64_t{v} * 255 + max / 2) / max);
    }

private:
    uint32_t mask;
    uint8_t whenAbsent;
    int shift = 0;
    uint32_t max = 1;
};

struct Palette {
    // Premultiplied-ready BGRA bytes; opaque black where the file has none.
    std::array<std::array<uint8_t, 4>, 256> entries;

    Palette(const DibFormat& format, std::span<const uint8_t> bytes) {
        entries.fill({0, 0, 0, 255});
        const size_t available = bytes.size() / format.paletteEntrySize;
        const size_t count = std::min<size_t>(
            {available, format.paletteEntries, size_t{1} << std::min<int>(format.bitCount, 8)});
        for (size_t i = 0; i < count; ++i) {
            const uint8_t* p = bytes.data() + i * format.paletteEntrySize;
            // The fourth byte of an RGBQUAD is reserved, not alpha.
            entries[i] = {p[0], p[1], p[2], 255};
        }
    }
};

class RowWriter {
public:
    RowWriter(const DibFormat& format, PixelBuffer& pixels) : format(format), pixels(pixels) {}
    // The picture row (from the top) that the file's row r holds.
    uint8_t* Row(int32_t r) { return pixels.Row(format.topDown ? r : format.height - 1 - r); }

private:
    const DibFormat& format;
    PixelBuffer& pixels;
};

void DecodeRows(const DibFormat& format, const Palette& palette, std::span<const uint8_t> bits,
                PixelBuffer& pixels) {
    const auto stride = static_cast<size_t>(ScanlineBytes(format.bitCount, format.width));
    const int bitCount = format.bitCount;
    RowWriter rows(format, pixels);
    const bool fourthByte = bitCount == 32 && format.compression == DibCompression::Rgb;
    const MaskChannel red(format.masks[0], 0);
    const MaskChannel green(format.masks[1], 0);
    const MaskChannel blue(format.masks[2], 0);
    const MaskChannel alpha(format.masks[3], 255);
    for (int32_t r = 0; r < format.height; ++r) {
        const uint8_t* src = bits.data() + static_cast<size_t>(r) * stride;
        uint8_t* dest = rows.Row(r);
        for (int32_t x = 0; x < format.width; ++x, dest += 4) {
            switch (bitCount) {
                case 1:
                case 4:
                case 8: {
                    const size_t bit = static_cast<size_t>(x) * static_cast<size_t>(bitCount);
                    const int shift = 8 - bitCount - static_cast<int>(bit % 8);
                    const uint32_t index = (src[bit / 8] >> shift) & ((1u << bitCount) - 1);
                    std::copy_n(palette.entries[index].data(), 4, dest);
                    break;
                }
                case 24: {
                    const uint8_t* p = src + static_cast<size_t>(x) * 3;
                    dest[0] = p[0];
                    dest[1] = p[1];
                    dest[2] = p[2];
                    dest[3] = 255;
                    break;
                }
                case 16:
                case 32: {
                    const size_t at = static_cast<size_t>(x) * static_cast<size_t>(bitCount / 8);
                    const uint32_t value = bitCount == 16
                                               ? uint32_t{src[at]} | uint32_t{src[at + 1]} << 8
                                               : uint32_t{src[at]} | uint32_t{src[at + 1]} << 8 |
                                                     uint32_t{src[at + 2]} << 16 |
                                                     uint32_t{src[at + 3]} << 24;
                    dest[0] = blue(value);
                    dest[1] = green(value);
                    dest[2] = red(value);
                    dest[3] = fourthByte ? static_cast<uint8_t>(value >> 24) : alpha(value);
                    break;
                }
                default:
                    break;
            }
        }
    }
}

// Returns the number of pixels written.
int64_t DecodeRle(const DibFormat& format, const Palette& palette, std::span<const uint8_t> data,
                  PixelBuffer& pixels) {
    const bool four = format.compression == DibCompression::Rle4;
    RowWriter rows(format, pixels);
    int64_t written = 0;
    int32_t x = 0;
    int32_t r = 0;
    size_t at = 0;
    // x stays at the row's end once there, so that no amount of data can
    // make it overflow.
    auto put = [&](uint32_t index) {
        if (x < format.width) {
            std::copy_n(palette.entries[index].data(), 4, rows.Row(r) + static_cast<size_t>(x) * 4);
            ++written;
            ++x;
        }
    };
    while (r < format.height && at + 2 <= data.size()) {
        const uint8_t count = data[at];
        const uint8_t value = data[at + 1];
        at += 2;
        if (count > 0) {
            for (int i = 0; i < count; ++i) {
                put(four ? ((i % 2 == 0) ? value >> 4 : value & 0x0F) : value);
            }
            continue;
        }
        if (value == 0) {  // end of line
            x = 0;
            ++r;
        } else if (value == 1) {  // end of bitmap
            break;
        } else if (value == 2) {  // delta
            if (at + 2 > data.size()) {
                break;
            }
            x = std::min(x + data[at], format.width);
            r += data[at + 1];
            at += 2;
        } else {  // absolute run of `value` pixels, padded to 16 bits
            const size_t bytes = four ? (size_t{value} + 1) / 2 : value;
            if (at + bytes > data.size()) {
                break;
            }
            for (int i = 0; i < value; ++i) {
                const uint8_t b = data[at + static_cast<size_t>(four ? i / 2 : i)];
                put(four ? ((i % 2 == 0) ? b >> 4 : b & 0x0F) : b);
            }
            at += bytes + (bytes & 1);
        }
    }
    return written;
}

}  // namespace

Result<DibFormat, DibError> ReadDibHeader(std::span<const uint8_t> dib, bool icon) {
    if (dib.size() < 4) {
        return Fail(DibError::Truncated);
    }
    DibFormat format;
    format.headerSize = ReadLE32(dib, 0);
    uint32_t storedEntries = 0;
    int64_t height = 0;
    if (format.headerSize == 12) {
        if (dib.size() < 12) {
            return Fail(DibError::Truncated);
        }
        format.width = ReadLE16(dib, 4);
        height = ReadLE16(dib, 6);
        format.bitCount = ReadLE16(dib, 10);
        format.paletteEntrySize = 3;
        if (format.bitCount != 1 && format.bitCount != 4 && format.bitCount != 8 &&
            format.bitCount != 24) {
            return Fail(DibError::BadHeader);
        }
    } else if (format.headerSize == 40 || format.headerSize == 52 || format.headerSize == 56 ||
               format.headerSize == 108 || format.headerSize == 124) {
        if (dib.size() < format.headerSize) {
            return Fail(DibError::Truncated);
        }
        format.width = ReadLE32Signed(dib, 4);
        height = ReadLE32Signed(dib, 8);
        format.bitCount = ReadLE16(dib, 14);
        const uint32_t compression = ReadLE32(dib, 16);
        storedEntries = ReadLE32(dib, 32);
        if (compression > static_cast<uint32_t>(DibCompression::AlphaBitFields)) {
            return Fail(DibError::BadHeader);
        }
        format.compression = static_cast<DibCompression>(compression);
    } else if (format.headerSize == 16 || format.headerSize == 64) {
        return Fail(DibError::Unsupported);  // OS/2 2.x headers
    } else {
        return Fail(DibError::BadHeader);
    }

    if (format.width < 1 || height == 0 || height == INT32_MIN) {
        return Fail(DibError::BadHeader);
    }
    format.topDown = height < 0;
    height = std::abs(height);
    if (icon) {
        height /= 2;
        if (height == 0) {
            return Fail(DibError::BadHeader);
        }
    }
    format.height = static_cast<int32_t>(height);

    const uint16_t bits = format.bitCount;
    format.paletteOffset = format.headerSize;
    switch (format.compression) {
        case DibCompression::Rgb:
            if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) {
                return Fail(DibError::BadHeader);
            }
            if (bits == 16) {
                format.masks = {0x7C00, 0x03E0, 0x001F, 0};
            } else if (bits == 32) {
                format.masks = {0xFF0000, 0xFF00, 0xFF, 0};
            }
            break;
        case DibCompression::Rle8:
        case DibCompression::Rle4:
            if (bits != (format.compression == DibCompression::Rle8 ? 8 : 4)) {
                return Fail(DibError::BadHeader);
            }
            break;
        case DibCompression::BitFields:
        case DibCompression::AlphaBitFields: {
            if (bits != 16 && bits != 32) {
                return Fail(DibError::BadHeader);
            }
            const size_t maskCount = format.compression == DibCompression::AlphaBitFields ? 4 : 3;
            // After a plain info header the masks follow it; later headers
            // hold them at the same place.
            if (format.headerSize < 40 + maskCount * 4) {
                if (dib.size() < 40 + maskCount * 4) {
                    return Fail(DibError::Truncated);
                }
                format.paletteOffset = 40 + maskCount * 4;
            }
            for (size_t i = 0; i < maskCount; ++i) {
                format.masks[i] = ReadLE32(dib, 40 + i * 4);
            }
            if (format.headerSize >= 56) {
                format.masks[3] = ReadLE32(dib, 52);
            }
            if (format.masks[0] == 0 && format.masks[1] == 0 && format.masks[2] == 0) {
                format.masks[0] = bits == 16 ? 0x7C00 : 0xFF0000;
                format.masks[1] = bits == 16 ? 0x03E0 : 0xFF00;
                format.masks[2] = bits == 16 ? 0x001F : 0xFF;
            }
            const uint32_t reach = bits == 16 ? 0xFFFFu : 0xFFFFFFFFu;
            for (const uint32_t mask : format.masks) {
                if (!IsContiguous(mask) || (mask & ~reach) != 0) {
                    return Fail(DibError::BadHeader);
                }
            }
            format.alphaMask = format.masks[3] != 0;
            break;
        }
        case DibCompression::Jpeg:
        case DibCompression::Png:
            return Fail(DibError::Unsupported);
    }

    if (storedEntries > kMaxPaletteEntries) {
        return Fail(DibError::BadHeader);
    }
    if (storedEntries == 0 && bits <= 8) {
        storedEntries = 1u << bits;
    }
    format.paletteEntries = storedEntries;
    return format;
}

int64_t DibRowsSize(const DibFormat& format) {
    // Computed here rather than by ScanlineBytes, whose 32-bit answer a
    // header's width can overflow.
    const int64_t stride = (int64_t{format.width} * format.bitCount + 31) / 32 * 4;
    return stride * format.height;
}

Result<DibAlpha, DibError> DecodeDib(const DibFormat& format, std::span<const uint8_t> palette,
                                     std::span<const uint8_t> bits, API32bppDIB& surface) {
    // Both sides are below 2^31, so their product fits 64 bits.
    const int64_t pixelCount = int64_t{format.width} * format.height;
    if (pixelCount > PixelBuffer::kMaxBytes / 4) {
        return Fail(DibError::TooLarge);
    }
    const bool rle =
        format.compression == DibCompression::Rle8 || format.compression == DibCompression::Rle4;
    if (rle) {
        if (pixelCount >
            std::max(kRleFreePixels, static_cast<int64_t>(bits.size()) * kRlePixelsPerByte)) {
            return Fail(DibError::TooLittleData);
        }
    } else {
        const int64_t stride = ScanlineBytes(format.bitCount, format.width);
        const int64_t lastRow = (int64_t{format.width} * format.bitCount + 7) / 8;
        if (stride * (format.height - 1) + lastRow > static_cast<int64_t>(bits.size())) {
            return Fail(DibError::Truncated);
        }
    }
    if (!surface.InitializeDIB(format.width, format.height)) {
        return Fail(DibError::OutOfMemory);
    }
    const Palette colors(format, palette);
    if (rle) {
        const int64_t written = DecodeRle(format, colors, bits, surface.Pixels());
        return written == pixelCount ? DibAlpha::Opaque : DibAlpha::Holes;
    }
    DecodeRows(format, colors, bits, surface.Pixels());
    if (format.bitCount == 32 && format.compression == DibCompression::Rgb) {
        return DibAlpha::FourthByte;
    }
    return format.alphaMask ? DibAlpha::Straight : DibAlpha::Opaque;
}

ENUM_ALPHA_TYPE PremultiplyStraight(PixelBuffer& pixels) {
    bool translucent = false;
    bool transparent = false;
    uint8_t* p = pixels.Bits();
    for (size_t i = 0, n = pixels.ByteSize() / 4; i < n; ++i, p += 4) {
        const uint32_t a = p[3];
        if (a == 255) {
            continue;
        }
        if (a == 0) {
            transparent = true;
            std::fill_n(p, 4, uint8_t{0});
            continue;
        }
        translucent = true;
        for (int c = 0; c < 3; ++c) {
            p[c] = static_cast<uint8_t>(p[c] * a / 255);
        }
    }
    if (translucent) {
        return ENUM_ALPHA_TYPE::AlphaComplex;
    }
    return transparent ? ENUM_ALPHA_TYPE::AlphaSimple : ENUM_ALPHA_TYPE::AlphaNone;
}

bool AnyAlpha(const PixelBuffer& pixels) {
    const uint8_t* p = pixels.Bits();
    for (size_t i = 0, n = pixels.ByteSize() / 4; i < n; ++i, p += 4) {
        if (p[3] != 0) {
            return true;
        }
    }
    return false;
}

void MakeOpaque(PixelBuffer& pixels) {
    uint8_t* p = pixels.Bits();
    for (size_t i = 0, n = pixels.ByteSize() / 4; i < n; ++i, p += 4) {
        p[3] = 255;
    }
}

}  // namespace kelvara::detail
