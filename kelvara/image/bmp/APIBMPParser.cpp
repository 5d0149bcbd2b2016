#include "kelvara/image/bmp/APIBMPParser.h"

// LoadStream → file header → ReadDibHeader → palette and rows located
//            → DecodeDib → alpha settled (premultiplied, Alpha, ImageType)
// SaveToStream → V4 header with bit fields (with alpha) | info header, 24 bits
//
// Malformed input (beyond what the shared DIB code notes):
// - The file size field is not checked; writers get it wrong too often.
// - A pixel offset that points back into the headers (0 is common) is
//   replaced by the end of the palette. One that points inside the
//   declared palette makes the palette that much shorter.
// - A 32-bit bitmap whose alpha mask is set but every alpha byte is 0 is
//   opaque: such files are written by programs that fill the mask and not
//   the bytes.

#include <algorithm>
#include <new>

#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/detail/Dib.h"

namespace kelvara {

namespace {

using detail::DibAlpha;
using detail::DibError;

constexpr size_t kFileHeaderSize = 14;
constexpr uint32_t kV4HeaderSize = 108;
constexpr uint32_t kInfoHeaderSize = 40;
// 96 dots per inch, the host's screen, in pixels per metre.
constexpr uint32_t kPixelsPerMetre = 3780;
constexpr uint32_t kSrgbColorSpace = 0x73524742;  // 'sRGB'

Result<Done, DibError> Load(std::span<const uint8_t> stream, API32bppDIB& surface,
                            ENUM_ALPHA_TYPE& alpha, ENUM_IMAGE_FORMAT& type) {
    const auto header = detail::ReadDibHeader(stream.subspan(kFileHeaderSize), false);
    if (!header) {
        return Fail(header.Error());
    }
    const detail::DibFormat& format = header.Value();
    const uint64_t paletteStart = kFileHeaderSize + format.paletteOffset;
    uint64_t paletteEnd = paletteStart + uint64_t{format.paletteEntries} * format.paletteEntrySize;
    const uint64_t offBits = detail::ReadLE32(stream, 10);
    uint64_t dataAt = paletteEnd;
    if (offBits >= paletteStart) {
        dataAt = offBits;
        paletteEnd = std::min(paletteEnd, offBits);
    }
    if (dataAt > stream.size()) {
        return Fail(DibError::Truncated);
    }
    paletteEnd = std::min<uint64_t>(paletteEnd, stream.size());
    const auto palette = paletteStart <= paletteEnd
                             ? stream.subspan(paletteStart, paletteEnd - paletteStart)
                             : std::span<const uint8_t>();
    const auto decoded =
        detail::DecodeDib(format, palette, stream.subspan(static_cast<size_t>(dataAt)), surface);
    if (!decoded) {
        return Fail(decoded.Error());
    }
    PixelBuffer& pixels = surface.Pixels();
    type = ENUM_IMAGE_FORMAT::ImageBitmap;
    switch (decoded.Value()) {
        case DibAlpha::Opaque:
            alpha = ENUM_ALPHA_TYPE::AlphaNone;
            break;
        case DibAlpha::Holes:
            alpha = ENUM_ALPHA_TYPE::AlphaSimple;
            break;
        case DibAlpha::Straight:
            if (detail::AnyAlpha(pixels)) {
                alpha = detail::PremultiplyStraight(pixels);
                if (alpha != ENUM_ALPHA_TYPE::AlphaNone) {
                    type = ENUM_IMAGE_FORMAT::ImageBitmapARGB;
                }
            } else {
                detail::MakeOpaque(pixels);
                alpha = ENUM_ALPHA_TYPE::AlphaNone;
            }
            break;
        case DibAlpha::FourthByte:
            // Whether the spare byte is alpha, and premultiplied or not, only
            // the pixels can tell.
            alpha = ENUM_ALPHA_TYPE::AlphaNone;
            surface.ValidateAlphaChannel(true, alpha, type);
            break;
    }
    return Done{};
}

void AppendFileHeader(std::vector<uint8_t>& out, uint32_t fileSize, uint32_t offBits) {
    out.push_back('B');
    out.push_back('M');
    detail::AppendLE32(out, fileSize);
    detail::AppendLE32(out, 0);  // reserved
    detail::AppendLE32(out, offBits);
}

void AppendInfoFields(std::vector<uint8_t>& out, uint32_t headerSize, int32_t width, int32_t height,
                      uint16_t bits, uint32_t compression, uint32_t imageSize) {
    detail::AppendLE32(out, headerSize);
    detail::AppendLE32(out, static_cast<uint32_t>(width));
    detail::AppendLE32(out, static_cast<uint32_t>(height));  // positive: bottom-up
    detail::AppendLE16(out, 1);                              // planes
    detail::AppendLE16(out, bits);
    detail::AppendLE32(out, compression);
    detail::AppendLE32(out, imageSize);
    detail::AppendLE32(out, kPixelsPerMetre);
    detail::AppendLE32(out, kPixelsPerMetre);
    detail::AppendLE32(out, 0);  // colours used
    detail::AppendLE32(out, 0);  // colours important
}

}  // namespace

bool APIBMPParser::LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface) {
    Surface.DestroyDIB();
    if (Stream.size() < kFileHeaderSize + 4 || Stream[0] != 'B' || Stream[1] != 'M') {
        return false;
    }
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
    ENUM_IMAGE_FORMAT type = ENUM_IMAGE_FORMAT::ImageBitmap;
    try {
        if (!Load(Stream, Surface, alpha, type)) {
            Surface.DestroyDIB();
            return false;
        }
    } catch (const std::bad_alloc&) {
        Surface.DestroyDIB();
        return false;
    }
    Surface.SetAlpha(alpha);
    Surface.SetImageType(type);
    return true;
}

bool APIBMPParser::SaveToStream(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                                int32_t FillColor, bool WithAlpha) {
    Out.clear();
    const PixelBuffer& pixels = Surface.Pixels();
    if (pixels.Empty()) {
        return false;
    }
    const int32_t width = pixels.Width();
    const int32_t height = pixels.Height();
    const uint16_t bits = WithAlpha ? 32 : 24;
    const uint32_t headerSize = WithAlpha ? kV4HeaderSize : kInfoHeaderSize;
    const int64_t stride = ScanlineBytes(bits, width);
    const int64_t imageSize = stride * height;
    const int64_t fileSize = int64_t{kFileHeaderSize} + headerSize + imageSize;
    if (fileSize > UINT32_MAX) {
        return false;
    }
    try {
        Out.reserve(static_cast<size_t>(fileSize));
        AppendFileHeader(Out, static_cast<uint32_t>(fileSize),
                         static_cast<uint32_t>(kFileHeaderSize + headerSize));
        AppendInfoFields(Out, headerSize, width, height, bits, WithAlpha ? 3 : 0,
                         static_cast<uint32_t>(imageSize));
        if (WithAlpha) {
            detail::AppendLE32(Out, 0x00FF0000);  // red
            detail::AppendLE32(Out, 0x0000FF00);  // green
            detail::AppendLE32(Out, 0x000000FF);  // blue
            detail::AppendLE32(Out, 0xFF000000);  // alpha
            detail::AppendLE32(Out, kSrgbColorSpace);
            Out.resize(Out.size() + 36 + 12, 0);  // end points and gamma, unused for sRGB
        }
        const uint32_t fill[3] = {static_cast<uint32_t>(FillColor) >> 16 & 0xFF,
                                  static_cast<uint32_t>(FillColor) >> 8 & 0xFF,
                                  static_cast<uint32_t>(FillColor) & 0xFF};
        const size_t padding = static_cast<size_t>(stride) - static_cast<size_t>(width) * bits / 8;
        for (int32_t r = 0; r < height; ++r) {
            const uint8_t* p = pixels.Row(height - 1 - r);
            for (int32_t x = 0; x < width; ++x, p += 4) {
                const uint32_t a = p[3];
                for (int c = 0; c < 3; ++c) {
                    const uint32_t v = std::min<uint32_t>(p[c], a);
                    if (WithAlpha) {
                        // Rounding up here is what makes the reader's
                        // rounding-down premultiplication give v back.
                        Out.push_back(a == 0 ? 0 : static_cast<uint8_t>((255 * v + a - 1) / a));
                    } else {
                        Out.push_back(static_cast<uint8_t>(v + (fill[c] * (255 - a) + 127) / 255));
                    }
                }
                if (WithAlpha) {
                    Out.push_back(static_cast<uint8_t>(a));
                }
            }
            Out.insert(Out.end(), padding, 0);
        }
    } catch (const std::bad_alloc&) {
        Out.clear();
        return false;
    }
    return true;
}

}  // namespace kelvara
