#include "kelvara/image/ico/APIICOParser.h"

// LoadStream → ReadDirectory → ChooseEntry → DecodePngEntry (APIPNGParser)
//                                          | DecodeDibEntry (ReadDibHeader,
//                                            DecodeDib, then alpha or AND mask)
// IconSizes  → ReadDirectory → each entry's size and depth
//
// Malformed input:
// - A directory whose reserved word is not 0, whose type is neither 1
//   (icon) nor 2 (cursor), that lists no entry or more entries than the
//   stream holds is not an icon: the stream is declined.
// - Entries whose data lies outside the stream, or that are too short for a
//   header, are passed over when choosing; a file with none left fails.
// - The directory's width and height choose the entry; the entry's own
//   header gives the picture's size.
// - Colour entries must be uncompressed (or bit fields); run-length, JPEG
//   and PNG inside a bitmap header fail.
// - A missing AND mask reads as all opaque.
// - A PNG entry whose header promises a surface of more than 1032 bytes per
//   byte of the entry (and over 4 MiB) is refused before it is decoded.
// - A pixel whose AND bit is set is transparent, also where the colour bits
//   would ask the screen to be inverted: a surface cannot invert.

#include <algorithm>
#include <array>
#include <new>
#include <optional>

#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/detail/Dib.h"
#include "kelvara/image/png/APIPNGParser.h"

namespace kelvara {

namespace {

using detail::ReadBE32;
using detail::ReadLE16;
using detail::ReadLE32;

constexpr size_t kDirectoryHeader = 6;
constexpr size_t kEntrySize = 16;
// The size a Windows desktop gives its large icons, taken when the caller
// asks for none.
constexpr int32_t kDefaultIconSize = 32;
constexpr std::array<uint8_t, 8> kPngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// A PNG entry may promise at most this many surface bytes per byte of its
// own (about deflate's greatest expansion), or this floor, whichever is more:
// the PNG reader allocates what the header promises before inflating.
constexpr uint64_t kPngBytesPerEntryByte = 1032;
constexpr uint64_t kPngFreeBytes = uint64_t{1} << 22;

enum class IcoKind { Icon = 1, Cursor = 2 };

struct Entry {
    int32_t width = 0;  // from the directory, 0 read as 256
    int32_t height = 0;
    int32_t bitDepth = 0;           // from the directory, or the entry's own header
    std::span<const uint8_t> data;  // empty when the entry lies outside the stream
    bool png = false;
};

struct Directory {
    IcoKind kind = IcoKind::Icon;
    std::vector<Entry> entries;
};

// Bits per pixel from a PNG's header: depth times samples per pixel.
int32_t PngBitDepth(std::span<const uint8_t> png) {
    // Signature, length, "IHDR", width, height, then depth and colour type.
    if (png.size() < 26 || ReadBE32(png, 12) != 0x49484452) {
        return 0;
    }
    const int32_t depth = png[24];
    switch (png[25]) {
        case 0:
        case 3:
            return depth;
        case 2:
            return depth * 3;
        case 4:
            return depth * 2;
        case 6:
            return depth * 4;
        default:
            return 0;
    }
}

std::optional<Directory> ReadDirectory(std::span<const uint8_t> stream) {
    if (stream.size() < kDirectoryHeader + kEntrySize || ReadLE16(stream, 0) != 0) {
        return std::nullopt;
    }
    const uint16_t type = ReadLE16(stream, 2);
    const size_t count = ReadLE16(stream, 4);
    if ((type != 1 && type != 2) || count == 0 ||
        kDirectoryHeader + count * kEntrySize > stream.size()) {
        return std::nullopt;
    }
    Directory directory;
    directory.kind = static_cast<IcoKind>(type);
    const size_t directoryEnd = kDirectoryHeader + count * kEntrySize;
    for (size_t i = 0; i < count; ++i) {
        const size_t at = kDirectoryHeader + i * kEntrySize;
        Entry entry;
        entry.width = stream[at] == 0 ? 256 : stream[at];
        entry.height = stream[at + 1] == 0 ? 256 : stream[at + 1];
        const uint64_t size = ReadLE32(stream, at + 8);
        const uint64_t offset = ReadLE32(stream, at + 12);
        if (offset >= directoryEnd && offset + size <= stream.size() && size >= 12) {
            entry.data = stream.subspan(static_cast<size_t>(offset), static_cast<size_t>(size));
            entry.png = entry.data.size() >= kPngSignature.size() &&
                        std::equal(kPngSignature.begin(), kPngSignature.end(), entry.data.begin());
        }
        // A cursor keeps its hot spot where an icon keeps planes and depth.
        if (directory.kind == IcoKind::Icon) {
            entry.bitDepth = ReadLE16(stream, at + 6);
        }
        if (entry.bitDepth == 0 && !entry.data.empty()) {
            entry.bitDepth = entry.png ? PngBitDepth(entry.data)
                                       : (entry.data.size() >= 16 ? ReadLE16(entry.data, 14) : 0);
        }
        directory.entries.push_back(entry);
    }
    return directory;
}

// The entry to load for a wanted size and depth:
// 1. iconCx and iconCy of 0 mean 32 × 32 (one of them 0 takes the other).
// 2. Only entries whose data lies inside the stream take part.
// 3. Size: an exact match wins; else the nearest larger (both sides at
//    least the wanted ones, smallest area); else the largest smaller
//    (largest area).
// 4. Among entries of that size: the highest depth not above iconBitDepth;
//    when all are deeper, the highest depth.
// 5. Remaining ties go to the first in the directory.
std::optional<size_t> ChooseEntry(const Directory& directory, int32_t cx, int32_t cy,
                                  int32_t depth) {
    if (cx <= 0 && cy <= 0) {
        cx = cy = kDefaultIconSize;
    } else if (cx <= 0) {
        cx = cy;
    } else if (cy <= 0) {
        cy = cx;
    }
    auto area = [](const Entry& e) { return int64_t{e.width} * e.height; };
    const Entry* sizeChoice = nullptr;
    enum { None, Smaller, Larger, Exact } rank = None;
    for (const Entry& e : directory.entries) {
        if (e.data.empty()) {
            continue;
        }
        const bool exact = e.width == cx && e.height == cy;
        const bool larger = e.width >= cx && e.height >= cy;
        const auto thisRank = exact ? Exact : (larger ? Larger : Smaller);
        const bool better = thisRank > rank || (thisRank == rank &&
                                                ((rank == Larger && area(e) < area(*sizeChoice)) ||
                                                 (rank == Smaller && area(e) > area(*sizeChoice))));
        if (better) {
            rank = thisRank;
            sizeChoice = &e;
        }
    }
    if (sizeChoice == nullptr) {
        return std::nullopt;
    }
    std::optional<size_t> best;
    for (size_t i = 0; i < directory.entries.size(); ++i) {
        const Entry& e = directory.entries[i];
        if (e.data.empty() || e.width != sizeChoice->width || e.height != sizeChoice->height) {
            continue;
        }
        if (!best) {
            best = i;
            continue;
        }
        const int32_t have = directory.entries[*best].bitDepth;
        const bool haveFits = have <= depth;
        const bool thisFits = e.bitDepth <= depth;
        if ((thisFits && !haveFits) || (thisFits == haveFits && e.bitDepth > have)) {
            best = i;
        }
    }
    return best;
}

// False when the entry's IHDR asks for a surface its few bytes could not
// fill.
bool PngSizePlausible(std::span<const uint8_t> png) {
    if (png.size() < 24) {
        return true;  // the PNG reader refuses it anyway
    }
    const uint64_t width = ReadBE32(png, 16);
    const uint64_t height = ReadBE32(png, 20);
    const uint64_t limit = std::max(kPngFreeBytes, png.size() * kPngBytesPerEntryByte);
    return width * height <= limit / 4;  // each side is below 2^32
}

enum class IcoError { Png, Dib, OutOfMemory };

Result<Done, IcoError> DecodeDibEntry(std::span<const uint8_t> data, IcoKind kind,
                                      API32bppDIB& surface, ENUM_ALPHA_TYPE& alpha,
                                      ENUM_IMAGE_FORMAT& type) {
    const auto header = detail::ReadDibHeader(data, true);
    if (!header) {
        return Fail(IcoError::Dib);
    }
    const detail::DibFormat& format = header.Value();
    if (format.compression != detail::DibCompression::Rgb &&
        format.compression != detail::DibCompression::BitFields &&
        format.compression != detail::DibCompression::AlphaBitFields) {
        return Fail(IcoError::Dib);
    }
    const uint64_t bitsAt =
        format.paletteOffset + uint64_t{format.paletteEntries} * format.paletteEntrySize;
    if (bitsAt > data.size()) {
        return Fail(IcoError::Dib);
    }
    const auto palette = data.subspan(format.paletteOffset, bitsAt - format.paletteOffset);
    const auto bits = data.subspan(static_cast<size_t>(bitsAt));
    const auto decoded = detail::DecodeDib(format, palette, bits, surface);
    if (!decoded) {
        return Fail(decoded.Error() == detail::DibError::OutOfMemory ? IcoError::OutOfMemory
                                                                     : IcoError::Dib);
    }
    const bool cursor = kind == IcoKind::Cursor;
    PixelBuffer& pixels = surface.Pixels();
    type = cursor ? ENUM_IMAGE_FORMAT::ImageCursor : ENUM_IMAGE_FORMAT::ImageIcon;
    const bool withAlphaBytes = decoded.Value() == detail::DibAlpha::FourthByte ||
                                decoded.Value() == detail::DibAlpha::Straight;
    if (withAlphaBytes && detail::AnyAlpha(pixels)) {
        // Icon alpha is straight; the AND mask is only for systems without it.
        alpha = detail::PremultiplyStraight(pixels);
        if (alpha != ENUM_ALPHA_TYPE::AlphaNone) {
            type = cursor ? ENUM_IMAGE_FORMAT::ImageCursorARGB : ENUM_IMAGE_FORMAT::ImageIconARGB;
        }
        return Done{};
    }
    detail::MakeOpaque(pixels);
    alpha = ENUM_ALPHA_TYPE::AlphaNone;
    const size_t maskAt = static_cast<size_t>(detail::DibRowsSize(format));
    const auto maskStride = static_cast<size_t>(ScanlineBytes(1, format.width));
    const size_t maskSize = maskStride * static_cast<size_t>(format.height);
    if (bits.size() < maskAt || bits.size() - maskAt < maskSize) {
        return Done{};
    }
    const uint8_t* mask = bits.data() + maskAt;
    for (int32_t r = 0; r < format.height; ++r) {
        const uint8_t* maskRow = mask + static_cast<size_t>(r) * maskStride;
        uint8_t* row = pixels.Row(format.topDown ? r : format.height - 1 - r);
        for (int32_t x = 0; x < format.width; ++x) {
            if ((maskRow[x / 8] >> (7 - x % 8)) & 1) {
                std::fill_n(row + static_cast<size_t>(x) * 4, 4, uint8_t{0});
                alpha = ENUM_ALPHA_TYPE::AlphaSimple;
            }
        }
    }
    return Done{};
}

}  // namespace

bool APIICOParser::LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface, int32_t iconCx,
                              int32_t iconCy, int32_t iconBitDepth) {
    Surface.DestroyDIB();
    try {
        const auto directory = ReadDirectory(Stream);
        if (!directory) {
            return false;
        }
        const auto chosen = ChooseEntry(*directory, iconCx, iconCy, iconBitDepth);
        if (!chosen) {
            return false;
        }
        const Entry& entry = directory->entries[*chosen];
        const bool cursor = directory->kind == IcoKind::Cursor;
        if (entry.png) {
            APIPNGParser png;
            if (!PngSizePlausible(entry.data) || !png.LoadStream(entry.data, Surface)) {
                Surface.DestroyDIB();
                return false;
            }
            const bool hasAlpha = Surface.Alpha() != ENUM_ALPHA_TYPE::AlphaNone;
            Surface.SetImageType(cursor ? (hasAlpha ? ENUM_IMAGE_FORMAT::ImageCursorARGB
                                                    : ENUM_IMAGE_FORMAT::ImageCursor)
                                        : ENUM_IMAGE_FORMAT::ImagePNGIcon);
            return true;
        }
        ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
        ENUM_IMAGE_FORMAT type = ENUM_IMAGE_FORMAT::ImageIcon;
        if (!DecodeDibEntry(entry.data, directory->kind, Surface, alpha, type)) {
            Surface.DestroyDIB();
            return false;
        }
        Surface.SetAlpha(alpha);
        Surface.SetImageType(type);
        return true;
    } catch (const std::bad_alloc&) {
        Surface.DestroyDIB();
        return false;
    }
}

std::vector<IconSize> APIICOParser::IconSizes(std::span<const uint8_t> Stream) {
    std::vector<IconSize> sizes;
    const auto directory = ReadDirectory(Stream);
    if (directory) {
        for (const Entry& entry : directory->entries) {
            sizes.push_back({entry.width, entry.height, entry.bitDepth});
        }
    }
    return sizes;
}

}  // namespace kelvara
