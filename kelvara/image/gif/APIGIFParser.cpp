#include "kelvara/image/gif/APIGIFParser.h"

// LoadStream → FindFirstFrame (signature, screen, global table, the walk of
//              blocks up to the first image and over its data)
//            → DecodeFrame → LzwDecode into a byte per pixel
//                          → rows (interlaced ones by pass) through a
//                            256-entry colour table into the surface
// SaveAsGIF  → IndexSurface (GifPalette) → WriteGif → LzwEncode
//
// How malformed input is treated:
// - The first six bytes, case folded, must be "gif87a" or "gif89a"; anything
//   else is declined at once.
// - Between blocks a 0 byte is passed over. An extension (33) is skipped by
//   its sub-blocks; an application extension (label 255) first by its
//   header's own length. Any other byte before the first image (the trailer
//   59 included) fails the load.
// - Deliberate: a graphic control extension is taken as exactly eight bytes
//   (introducer, label, size, packed, delay, transparent index, terminator)
//   whatever its size byte says, and only the last one before the first
//   image counts, also when it has no transparent colour and an earlier one
//   had.
// - A walk that runs past the end of the data fails; so does a first image
//   whose data sub-blocks do not end inside it. Nothing after the first
//   image's data is read, so later frames and the trailer may be damaged or
//   missing.
// - The frame's left and top are ignored and its width and height are the
//   surface's, whatever the logical screen says. A frame of width or height
//   0 fails.
// - A frame without a local table uses the global one; with neither it fails.
//   A pixel value past the end of the table is opaque black. The
//   transparent index marks transparent pixels whether or not the table
//   reaches it.
// - A frame claiming more pixels than its data could produce fails before
//   any memory is taken, as does one past kMaxPixels.
// - LZW faults (GifLzw.cpp): a code size outside 1 to 8, a code naming no
//   entry, or data that ends before the last pixel fail the load.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "kelvara/base/Result.h"
#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/gif/detail/GifLzw.h"
#include "kelvara/image/gif/detail/GifPalette.h"

namespace kelvara {

namespace {

using detail::AppendLE16;
using detail::ReadLE16;

// The surface's own ceiling: four bytes a pixel within a signed 32-bit size.
constexpr uint64_t kMaxPixels = PixelBuffer::kMaxBytes / 4;

constexpr size_t kSignatureSize = 6;
constexpr size_t kScreenEnd = 13;  // signature and logical screen
constexpr size_t kScreenFlags = 10;
constexpr size_t kGraphicControlSize = 8;  // the whole extension
constexpr size_t kDescriptorSize = 10;     // separator to packed byte
constexpr uint8_t kExtension = 0x21;
constexpr uint8_t kImageSeparator = 0x2C;
constexpr uint8_t kTrailer = 0x3B;
constexpr uint8_t kGraphicControlLabel = 0xF9;
constexpr uint8_t kApplicationLabel = 0xFF;
constexpr uint8_t kTableFlag = 0x80;
constexpr uint8_t kInterlaceFlag = 0x40;
constexpr uint8_t kTransparentFlag = 0x01;
constexpr int32_t kMaxSide = 65535;

enum class GifError {
    NotGif,
    Truncated,
    UnknownBlock,
    EmptyFrame,
    NoColorTable,
    TooLarge,
    BadImageData,
    OutOfMemory,
    SurfaceFailed,
};

// What the walk learns about the first frame.
struct Frame {
    int32_t width = 0;
    int32_t height = 0;
    bool interlaced = false;
    std::span<const uint8_t> table;  // three bytes an entry; empty when none
    int32_t transparentIndex = -1;
    int minCodeSize = 0;
    std::span<const uint8_t> blocks;  // the data sub-blocks, terminator included
    uint64_t dataBytes = 0;           // their payload
};

// One past a sub-block chain that starts at `at`, and its payload size.
Result<size_t, GifError> SkipSubBlocks(std::span<const uint8_t> bytes, size_t at,
                                       uint64_t* payload = nullptr) {
    for (;;) {
        if (at >= bytes.size()) {
            return Fail(GifError::Truncated);
        }
        const size_t length = bytes[at++];
        if (length == 0) {
            return at;
        }
        if (length > bytes.size() - at) {
            return Fail(GifError::Truncated);
        }
        at += length;
        if (payload != nullptr) {
            *payload += length;
        }
    }
}

// The colour table of 2^(bits + 1) entries at `at`.
Result<std::span<const uint8_t>, GifError> ReadTable(std::span<const uint8_t> bytes, size_t at,
                                                     uint8_t packed) {
    const size_t size = size_t{3} << ((packed & 7) + 1);
    if (at > bytes.size() || size > bytes.size() - at) {
        return Fail(GifError::Truncated);
    }
    return bytes.subspan(at, size);
}

bool IsGifSignature(std::span<const uint8_t> bytes) {
    if (bytes.size() < kSignatureSize) {
        return false;
    }
    char folded[kSignatureSize];
    for (size_t i = 0; i < kSignatureSize; ++i) {
        const uint8_t c = bytes[i];
        folded[i] = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    }
    return std::memcmp(folded, "gif89a", kSignatureSize) == 0 ||
           std::memcmp(folded, "gif87a", kSignatureSize) == 0;
}

Result<Frame, GifError> FindFirstFrame(std::span<const uint8_t> bytes) {
    if (!IsGifSignature(bytes)) {
        return Fail(GifError::NotGif);
    }
    if (bytes.size() < kScreenEnd) {
        return Fail(GifError::Truncated);
    }
    Frame frame;
    size_t at = kScreenEnd;
    if (bytes[kScreenFlags] & kTableFlag) {
        const auto table = ReadTable(bytes, at, bytes[kScreenFlags]);
        if (!table) {
            return Fail(table.Error());
        }
        frame.table = table.Value();
        at += frame.table.size();
    }

    for (;;) {
        if (at >= bytes.size()) {
            return Fail(GifError::Truncated);
        }
        const uint8_t introducer = bytes[at];
        if (introducer == 0) {
            ++at;
            continue;
        }
        if (introducer == kExtension) {
            if (bytes.size() - at < 2) {
                return Fail(GifError::Truncated);
            }
            const uint8_t label = bytes[at + 1];
            if (label == kGraphicControlLabel) {
                if (bytes.size() - at < kGraphicControlSize) {
                    return Fail(GifError::Truncated);
                }
                frame.transparentIndex = (bytes[at + 3] & kTransparentFlag) ? bytes[at + 6] : -1;
                at += kGraphicControlSize;
                continue;
            }
            at += 2;
            if (label == kApplicationLabel) {
                if (at >= bytes.size()) {
                    return Fail(GifError::Truncated);
                }
                at += size_t{1} + bytes[at];
            }
            const auto end = SkipSubBlocks(bytes, at);
            if (!end) {
                return Fail(end.Error());
            }
            at = end.Value();
            continue;
        }
        if (introducer != kImageSeparator) {
            // The trailer included: a file must have a picture.
            return Fail(introducer == kTrailer ? GifError::EmptyFrame : GifError::UnknownBlock);
        }

        if (bytes.size() - at < kDescriptorSize) {
            return Fail(GifError::Truncated);
        }
        frame.width = ReadLE16(bytes, at + 5);
        frame.height = ReadLE16(bytes, at + 7);
        const uint8_t packed = bytes[at + 9];
        frame.interlaced = (packed & kInterlaceFlag) != 0;
        at += kDescriptorSize;
        if (packed & kTableFlag) {
            const auto table = ReadTable(bytes, at, packed);
            if (!table) {
                return Fail(table.Error());
            }
            frame.table = table.Value();
            at += frame.table.size();
        }
        if (at >= bytes.size()) {
            return Fail(GifError::Truncated);
        }
        frame.minCodeSize = bytes[at++];
        const auto end = SkipSubBlocks(bytes, at, &frame.dataBytes);
        if (!end) {
            return Fail(end.Error());
        }
        frame.blocks = bytes.subspan(at, end.Value() - at);
        return frame;
    }
}

// The order rows arrive in: all of them top to bottom, or GIF's four passes
// (every 8th row from 0, every 8th from 4, every 4th from 2, every 2nd from 1).
std::vector<int32_t> RowOrder(int32_t height, bool interlaced) {
    std::vector<int32_t> rows;
    rows.reserve(static_cast<size_t>(height));
    if (!interlaced) {
        for (int32_t y = 0; y < height; ++y) {
            rows.push_back(y);
        }
        return rows;
    }
    constexpr std::array<std::array<int32_t, 2>, 4> kPasses = {{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
    for (const auto& [first, step] : kPasses) {
        for (int32_t y = first; y < height; y += step) {
            rows.push_back(y);
        }
    }
    return rows;
}

Result<Done, GifError> DecodeFrame(const Frame& frame, API32bppDIB& surface) {
    if (frame.width == 0 || frame.height == 0) {
        return Fail(GifError::EmptyFrame);
    }
    if (frame.table.empty()) {
        return Fail(GifError::NoColorTable);
    }
    const uint64_t pixelCount = uint64_t(frame.width) * uint64_t(frame.height);
    if (pixelCount > kMaxPixels) {
        return Fail(GifError::TooLarge);
    }
    if (pixelCount > detail::LzwMaxPixels(frame.dataBytes, frame.minCodeSize)) {
        return Fail(GifError::BadImageData);
    }
    std::unique_ptr<uint8_t[]> indices(new (std::nothrow) uint8_t[pixelCount]);
    if (!indices) {
        return Fail(GifError::OutOfMemory);
    }
    if (!detail::LzwDecode(frame.blocks, frame.minCodeSize,
                           std::span<uint8_t>(indices.get(), static_cast<size_t>(pixelCount)))) {
        return Fail(GifError::BadImageData);
    }

    // Stored pixels by index: opaque colours, black past the table, zero for
    // the transparent one.
    std::array<uint32_t, 256> colors;
    colors.fill(0xFF000000u);
    const size_t entries = frame.table.size() / 3;
    for (size_t i = 0; i < entries; ++i) {
        const uint8_t* rgb = frame.table.data() + i * 3;
        const uint8_t bgra[4] = {rgb[2], rgb[1], rgb[0], 255};
        std::memcpy(&colors[i], bgra, 4);
    }
    if (frame.transparentIndex >= 0) {
        colors[static_cast<size_t>(frame.transparentIndex)] = 0;
    }

    if (!surface.InitializeDIB(frame.width, frame.height)) {
        return Fail(GifError::SurfaceFailed);
    }
    PixelBuffer& pixels = surface.Pixels();
    const std::vector<int32_t> rows = RowOrder(frame.height, frame.interlaced);
    const uint8_t* source = indices.get();
    for (const int32_t y : rows) {
        uint8_t* out = pixels.Row(y);
        for (int32_t x = 0; x < frame.width; ++x, out += 4) {
            std::memcpy(out, &colors[source[x]], 4);
        }
        source += frame.width;
    }
    return Done{};
}

bool WriteFile(const std::string& fileName, const std::vector<uint8_t>& bytes) {
    std::FILE* file = std::fopen(fileName.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        std::remove(fileName.c_str());  // a half-written picture is worse than none
        return false;
    }
    return true;
}

// The whole file: header, screen with the global table, the graphic control
// when there is a transparent entry, the image and its data, the trailer.
void WriteGif(const detail::IndexedImage& image, std::vector<uint8_t>& out) {
    out.clear();
    out.reserve(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) + 200);
    const uint8_t signature[] = {'G', 'I', 'F', '8', '9', 'a'};
    out.insert(out.end(), std::begin(signature), std::end(signature));
    AppendLE16(out, static_cast<uint32_t>(image.width));
    AppendLE16(out, static_cast<uint32_t>(image.height));
    const uint8_t sizeBits = static_cast<uint8_t>(image.bits - 1);
    out.push_back(static_cast<uint8_t>(kTableFlag | sizeBits << 4 | sizeBits));
    out.push_back(0);  // background colour index
    out.push_back(0);  // pixel aspect ratio: not given
    for (const detail::PackedRgb color : image.table) {
        out.insert(out.end(),
                   {detail::RedOf(color), detail::GreenOf(color), detail::BlueOf(color)});
    }
    if (image.transparentIndex >= 0) {
        out.insert(out.end(), {kExtension, kGraphicControlLabel, 4, kTransparentFlag, 0, 0,
                               static_cast<uint8_t>(image.transparentIndex), 0});
    }
    out.push_back(kImageSeparator);
    AppendLE16(out, 0);
    AppendLE16(out, 0);
    AppendLE16(out, static_cast<uint32_t>(image.width));
    AppendLE16(out, static_cast<uint32_t>(image.height));
    out.push_back(0);  // no local table, not interlaced
    out.push_back(static_cast<uint8_t>(image.bits));
    detail::LzwEncode(image.indices, image.bits, out);
    out.push_back(kTrailer);
}

bool Save(const API32bppDIB& surface, const detail::ColorOptions& options,
          std::vector<uint8_t>& out) {
    out.clear();
    if (surface.Width() > kMaxSide || surface.Height() > kMaxSide) {
        return false;
    }
    try {
        detail::IndexedImage image;
        if (!detail::IndexSurface(surface, options, image)) {
            return false;
        }
        WriteGif(image, out);
        return true;
    } catch (const std::bad_alloc&) {
        out.clear();
        return false;
    }
}

}  // namespace

bool APIGIFParser::LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface, int32_t Start,
                              int32_t Length) {
    Surface.DestroyDIB();
    if (Start < 0 || Length < 0 || static_cast<size_t>(Start) > Stream.size()) {
        return false;
    }
    std::span<const uint8_t> bytes = Stream.subspan(static_cast<size_t>(Start));
    if (Length > 0) {
        if (static_cast<size_t>(Length) > bytes.size()) {
            return false;
        }
        bytes = bytes.first(static_cast<size_t>(Length));
    }
    const auto frame = FindFirstFrame(bytes);
    if (!frame || !DecodeFrame(frame.Value(), Surface)) {
        Surface.DestroyDIB();
        return false;
    }
    Surface.SetAlpha(frame.Value().transparentIndex >= 0 ? ENUM_ALPHA_TYPE::AlphaSimple
                                                         : ENUM_ALPHA_TYPE::AlphaNone);
    Surface.SetImageType(ENUM_IMAGE_FORMAT::ImageGIF);
    return true;
}

bool APIGIFParser::SaveAsGIF(const std::string& FileName, std::vector<uint8_t>& OutStream,
                             const API32bppDIB& Surface, bool UseAdaptivePalette,
                             int32_t OpaquenessTolerance) {
    const detail::ColorOptions options{UseAdaptivePalette, OpaquenessTolerance, -1};
    if (FileName.empty()) {
        return Save(Surface, options, OutStream);
    }
    std::vector<uint8_t> bytes;
    return Save(Surface, options, bytes) && WriteFile(FileName, bytes);
}

bool APIGIFParser::SaveToStream(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                                int32_t FillColor, bool UseTransparency) {
    const detail::ColorOptions options{true, UseTransparency ? kDefaultTolerance : 0, FillColor};
    return Save(Surface, options, Out);
}

}  // namespace kelvara
