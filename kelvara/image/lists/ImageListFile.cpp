// The exported form of an image list (.lIL files, and what a form stores for
// a list). All numbers little-endian, text UTF-16LE without terminator; a
// position called 1-based counts the first byte as 1.
//
//   0        4  "LIVL"
//   4        4  version, written as 2
//   8        4  TrailerPos: 1-based position of the trailer
//   12       4  TrailerEnd: TrailerPos + 3
//   16       4  K: byte length of the list's key
//   20       K  the list's key
//   H=20+K   4  count of images
//   H+4      4  count of images with a key
//   H+8      4  image width
//   H+12     4  image height
//   H+16        records: per image a word (key bytes in the low 16 bits, tag
//               bytes in the high 16), the key, the tag. Huffman-coded as
//               one block (APIHuffman bytes) when flag 4 is set.
//   TrailerPos − 1   4  3, the trailer's length
//            + 4     2  DelayLoaded: 0 or 65535
//            + 6     1  flags: 4 = records coded; low part 0 = the strip as a
//                       picture file (PNG when we write it), 2 = the strip
//                       as an APIHuffman surface block, 1 = read as 0
//            + 7        the strip's bytes, to the end
//
// Export: ExportImageList → StripBytes (kept source bytes | PNG | Huffman)
//         → Records (coded past kCodeRecordsAbove) → the file
// Import: ImportImageList → ReadListFile (magic, trailer, version, header)
//         → FreeKey → FillImages (records, then the strip: Huffman, kept
//         for later, or decoded now through LoadStrip) → Enter
//
// How damaged files are treated: fewer than 20 bytes, another magic, a
// trailer position or length that does not agree, a key of odd length, a
// header whose sizes make no list (a count beyond MaxImages, a side below
// 1), records that run into the trailer or repeat a key, a strip that does
// not decode to exactly count × width by height: all give 1975, and the
// collection is left as it was. Versions 3 and up give 1974. Unpaired
// surrogates in keys and tags read as U+FFFD. The count of keyed images in
// the header is not trusted; it is counted again from the records. Bytes
// between the last record and the trailer are not looked at.

#include <cstring>
#include <new>
#include <optional>
#include <string>

#include "kelvara/base/Text.h"
#include "kelvara/image/APIHuffman.h"
#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/detail/ListErrors.h"
#include "kelvara/image/lists/APIImageLists.h"

namespace kelvara {

namespace {

using detail::RaiseListError;

constexpr uint8_t kMagic[4] = {'L', 'I', 'V', 'L'};
constexpr int32_t kVersion = 2;
constexpr int32_t kTrailerLength = 3;
// Where the header's fixed part ends and the list's key begins.
constexpr int64_t kKeyOffset = 20;
// The fixed bytes after the trailer position: length word, DelayLoaded,
// flags.
constexpr int64_t kTrailerBytes = 7;
// Keys and tags together beyond this many bytes are worth coding.
constexpr uint64_t kCodeRecordsAbove = 1024;
constexpr uint8_t kFlagRecordsCoded = 4;
constexpr uint8_t kStripHuffman = 2;
// The record word holds each length in 16 bits.
constexpr size_t kMaxTextBytes = 0xFFFF;
constexpr uint16_t kTrue16 = 0xFFFF;

[[noreturn]] void ExportFailed() {
    RaiseListError(ImageListError::ExportFailed, "ImageLists.ExportImageList",
                   detail::ListText::ExportFailed);
}

[[noreturn]] void ImportFailed() {
    RaiseListError(ImageListError::ImportFailed, "ImageLists.ImportImageList",
                   detail::ListText::ImportFailed);
}

// --- UTF-16 ------------------------------------------------------------------------

void AppendUtf16(std::vector<uint8_t>& out, std::string_view text) {
    for (const char32_t c : ToUtf32(text)) {
        if (c >= 0x10000) {
            const char32_t v = c - 0x10000;
            detail::AppendLE16(out, 0xD800 + (v >> 10));
            detail::AppendLE16(out, 0xDC00 + (v & 0x3FF));
        } else {
            detail::AppendLE16(out, c);
        }
    }
}

std::vector<uint8_t> Utf16(std::string_view text) {
    std::vector<uint8_t> out;
    AppendUtf16(out, text);
    return out;
}

// Nothing for an odd byte count.
std::optional<std::string> FromUtf16(std::span<const uint8_t> bytes) {
    if (bytes.size() % 2 != 0) {
        return std::nullopt;
    }
    std::u32string chars;
    chars.reserve(bytes.size() / 2);
    for (size_t at = 0; at < bytes.size(); at += 2) {
        const char32_t unit = detail::ReadLE16(bytes, at);
        if (unit >= 0xD800 && unit < 0xDC00 && at + 4 <= bytes.size()) {
            const char32_t low = detail::ReadLE16(bytes, at + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                chars.push_back(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                at += 2;
                continue;
            }
        }
        chars.push_back(unit >= 0xD800 && unit < 0xE000 ? char32_t{0xFFFD} : unit);
    }
    return ToUtf8(chars);
}

// --- Reading -----------------------------------------------------------------------

enum class ImportFailure { Damaged, NewerVersion };

struct ListFile {
    std::string key;
    int32_t count = 0;
    int32_t width = 0;
    int32_t height = 0;
    std::span<const uint8_t> records;
    bool delayLoaded = false;
    uint8_t flags = 0;
    std::span<const uint8_t> strip;
};

Result<ListFile, ImportFailure> ReadListFile(std::span<const uint8_t> data) {
    const int64_t size = static_cast<int64_t>(data.size());
    if (size < 20 || std::memcmp(data.data(), kMagic, 4) != 0) {
        return Fail(ImportFailure::Damaged);
    }
    const int64_t version = detail::ReadLE32Signed(data, 4);
    const int64_t trailerPos = detail::ReadLE32Signed(data, 8);
    const int64_t trailerEnd = detail::ReadLE32Signed(data, 12);
    // The last byte's 0-based position must reach TrailerEnd, and the
    // trailer's length word must lead from TrailerPos to TrailerEnd.
    if (size - 1 < trailerEnd || trailerPos < 1 || trailerPos - 1 + 4 > size) {
        return Fail(ImportFailure::Damaged);
    }
    const int64_t trailer = trailerPos - 1;
    if (detail::ReadLE32Signed(data, static_cast<size_t>(trailer)) + trailerPos != trailerEnd) {
        return Fail(ImportFailure::Damaged);
    }
    if (version > kVersion) {
        return Fail(ImportFailure::NewerVersion);
    }
    if (trailer + kTrailerBytes > size) {
        return Fail(ImportFailure::Damaged);
    }
    const int64_t keyBytes = detail::ReadLE32Signed(data, 16);
    if (keyBytes < 0 || kKeyOffset + keyBytes + 16 > trailer) {
        return Fail(ImportFailure::Damaged);
    }
    const size_t header = static_cast<size_t>(kKeyOffset + keyBytes);
    std::optional<std::string> key =
        FromUtf16(data.subspan(static_cast<size_t>(kKeyOffset), static_cast<size_t>(keyBytes)));
    if (!key) {
        return Fail(ImportFailure::Damaged);
    }
    ListFile file;
    file.key = std::move(*key);
    file.count = detail::ReadLE32Signed(data, header);
    file.width = detail::ReadLE32Signed(data, header + 8);
    file.height = detail::ReadLE32Signed(data, header + 12);
    const int32_t most = APIImageLists::MaxImages(file.width, file.height);
    if (most == 0 || file.count < 0 || file.count > most) {
        return Fail(ImportFailure::Damaged);
    }
    file.records = data.subspan(header + 16, static_cast<size_t>(trailer) - (header + 16));
    file.delayLoaded = detail::ReadLE16(data, static_cast<size_t>(trailer + 4)) != 0;
    // Deliberate: version 1 lists carry the byte but never set it.
    file.flags = version < kVersion ? 0 : data[static_cast<size_t>(trailer + 6)];
    file.strip = data.subspan(static_cast<size_t>(trailer + kTrailerBytes));
    return file;
}

// --- Writing -----------------------------------------------------------------------

// The bytes that stand for the strip and the flags that say what they are;
// nothing when they cannot be made.
std::optional<std::vector<uint8_t>> StripBytes(APIListImages& images, bool compression,
                                               uint8_t& flags, const API32bppDIB& strip) {
    if (images.Count() == 0) {
        return std::vector<uint8_t>{};
    }
    // Deliberate: without zlib our PNG writer can only store the pixels
    // uncompressed; a list that asks for compression then gets the Huffman
    // strip, as it would where no PNG can be written at all.
    bool huffman = compression && APIImageLists::CompressionNeeded();
    std::vector<uint8_t> bytes;
    if (!huffman && !strip.SaveToStream_PNG(bytes)) {
        if (!compression) {
            return std::nullopt;
        }
        huffman = true;
    }
    if (huffman) {
        Result<std::vector<uint8_t>, HuffmanError> coded = APIHuffman::EncodeSurface(strip);
        if (!coded) {
            return std::nullopt;
        }
        bytes = std::move(coded.Value());
        flags = kStripHuffman;
    }
    return bytes;
}

}  // namespace

void APIImageLists::ExportImageList(ListIndex Index, std::vector<uint8_t>& outData) {
    const int32_t position = Find(Index);
    if (position == 0) {
        RaiseListError(ImageListError::InvalidKeyOrIndex, "ImageLists.ExportImageList",
                       detail::ListText::InvalidKeyOrIndex);
    }
    APIImageList& list = *lists[static_cast<size_t>(position - 1)];
    APIListImages& images = list.Images();
    try {
        uint8_t flags = 0;
        std::vector<uint8_t> stripBytes;
        if (!images.stripSource.empty()) {
            // The bytes the strip came from still describe it.
            stripBytes = images.stripSource;
        } else if (images.Count() > 0) {
            if (!images.EnsureStrip()) {
                ExportFailed();
            }
            // A strip left wider by a removal is cut to the images in use.
            const API32bppDIB* strip = &images.strip;
            API32bppDIB trimmed;
            const int32_t used = images.Count() * images.Width();
            if (strip->Width() != used) {
                if (!trimmed.InitializeDIB(used, images.Height())) {
                    ExportFailed();
                }
                for (int32_t y = 0; y < images.Height(); ++y) {
                    std::memcpy(trimmed.Pixels().Row(y), strip->Pixels().Row(y),
                                static_cast<size_t>(used) * 4);
                }
                trimmed.SetAlpha(strip->Alpha());
                strip = &trimmed;
            }
            std::optional<std::vector<uint8_t>> made =
                StripBytes(images, compression, flags, *strip);
            if (!made) {
                ExportFailed();
            }
            stripBytes = std::move(*made);
        }

        std::vector<uint8_t> records;
        uint64_t textBytes = 0;
        int32_t keyedCount = 0;
        for (int32_t i = 0; i < images.Count(); ++i) {
            const std::vector<uint8_t> key = Utf16(images.keys[static_cast<size_t>(i)]);
            const std::vector<uint8_t> tag = Utf16(images.tags[static_cast<size_t>(i)]);
            if (key.size() > kMaxTextBytes || tag.size() > kMaxTextBytes) {
                ExportFailed();
            }
            detail::AppendLE32(records, static_cast<uint32_t>(key.size() | tag.size() << 16));
            records.insert(records.end(), key.begin(), key.end());
            records.insert(records.end(), tag.begin(), tag.end());
            textBytes += key.size() + tag.size();
            keyedCount += key.empty() ? 0 : 1;
        }
        if (textBytes > kCodeRecordsAbove) {
            Result<std::vector<uint8_t>, HuffmanError> coded = APIHuffman::EncodeBytes(records);
            if (!coded) {
                ExportFailed();
            }
            records = std::move(coded.Value());
            flags |= kFlagRecordsCoded;
        }

        const std::vector<uint8_t> listKey = Utf16(list.Key());
        const int64_t header = kKeyOffset + static_cast<int64_t>(listKey.size());
        const int64_t trailer = header + 16 + static_cast<int64_t>(records.size());
        if (trailer + kTrailerBytes + static_cast<int64_t>(stripBytes.size()) > INT32_MAX) {
            ExportFailed();
        }
        std::vector<uint8_t> out;
        out.reserve(static_cast<size_t>(trailer + kTrailerBytes) + stripBytes.size());
        out.insert(out.end(), std::begin(kMagic), std::end(kMagic));
        detail::AppendLE32(out, kVersion);
        detail::AppendLE32(out, static_cast<uint32_t>(trailer + 1));
        detail::AppendLE32(out, static_cast<uint32_t>(trailer + 1 + kTrailerLength));
        detail::AppendLE32(out, static_cast<uint32_t>(listKey.size()));
        out.insert(out.end(), listKey.begin(), listKey.end());
        detail::AppendLE32(out, static_cast<uint32_t>(images.Count()));
        detail::AppendLE32(out, static_cast<uint32_t>(keyedCount));
        detail::AppendLE32(out, static_cast<uint32_t>(images.Width()));
        detail::AppendLE32(out, static_cast<uint32_t>(images.Height()));
        out.insert(out.end(), records.begin(), records.end());
        detail::AppendLE32(out, kTrailerLength);
        detail::AppendLE16(out, images.DelayLoaded() ? kTrue16 : 0);
        out.push_back(flags);
        out.insert(out.end(), stripBytes.begin(), stripBytes.end());
        outData = std::move(out);
    } catch (const std::bad_alloc&) {
        ExportFailed();
    }
}

APIImageList& APIImageLists::ImportImageList(std::span<const uint8_t> inData, std::string& Key) {
    try {
        Result<ListFile, ImportFailure> read = ReadListFile(inData);
        if (!read) {
            if (read.Error() == ImportFailure::NewerVersion) {
                RaiseListError(ImageListError::InvalidVersion, "ImageLists.ImportImageList",
                               detail::ListText::InvalidVersion);
            }
            ImportFailed();
        }
        const ListFile& file = read.Value();
        std::string key = FreeKey(Key.empty() ? file.key : Key);
        // The list is made apart and entered only when whole, so that a
        // failure leaves nothing behind.
        std::unique_ptr<APIImageList> list(new APIImageList(this, key, file.width, file.height));
        if (!FillImages(list->Images(), file.records, (file.flags & kFlagRecordsCoded) != 0,
                        file.count)) {
            ImportFailed();
        }
        APIListImages& images = list->Images();
        images.SetDelayLoaded(file.delayLoaded);
        if (file.count > 0) {
            if ((file.flags & 3) == kStripHuffman) {
                const Result<Done, HuffmanError> decoded =
                    APIHuffman::DecodeSurface(file.strip, images.strip);
                if (!decoded || images.strip.Width() != file.count * file.width ||
                    images.strip.Height() != file.height) {
                    ImportFailed();
                }
            } else if (file.delayLoaded) {
                images.stripSource.assign(file.strip.begin(), file.strip.end());
                images.stripPending = true;
            } else if (!APIListImages::LoadStrip(file.strip, file.count, file.width, file.height,
                                                 images.strip)) {
                ImportFailed();
            }
        }
        APIImageList& entered = Enter(std::move(list));
        Key = std::move(key);
        return entered;
    } catch (const std::bad_alloc&) {
        ImportFailed();
    }
}

std::string APIImageLists::FreeKey(const std::string& key) const {
    if (IsKeyAssigned(key) == 0) {
        return key;
    }
    for (int32_t n = 1;; ++n) {
        std::string candidate = key + "(" + std::to_string(n) + ")";
        if (IsKeyAssigned(candidate) == 0) {
            return candidate;
        }
    }
}

bool APIImageLists::FillImages(APIListImages& images, std::span<const uint8_t> records, bool coded,
                               int32_t count) {
    std::vector<uint8_t> decoded;
    if (coded) {
        Result<std::vector<uint8_t>, HuffmanError> unpacked = APIHuffman::DecodeBytes(records);
        if (!unpacked) {
            return false;
        }
        decoded = std::move(unpacked.Value());
        records = decoded;
    }
    // Each record takes four bytes at least.
    if (uint64_t{static_cast<uint32_t>(count)} * 4 > records.size()) {
        return false;
    }
    images.keys.reserve(static_cast<size_t>(count));
    images.tags.reserve(static_cast<size_t>(count));
    images.views.reserve(static_cast<size_t>(count));
    size_t at = 0;
    for (int32_t i = 0; i < count; ++i) {
        if (at + 4 > records.size()) {
            return false;
        }
        const uint32_t word = detail::ReadLE32(records, at);
        const size_t keyBytes = word & 0xFFFF;
        const size_t tagBytes = word >> 16;
        at += 4;
        if (at + keyBytes + tagBytes > records.size()) {
            return false;
        }
        std::optional<std::string> key = FromUtf16(records.subspan(at, keyBytes));
        std::optional<std::string> tag = FromUtf16(records.subspan(at + keyBytes, tagBytes));
        at += keyBytes + tagBytes;
        if (!key || !tag || images.IsKeyAssigned(*key) != 0) {
            return false;
        }
        images.AppendImage(std::move(*key), std::move(*tag));
    }
    return true;
}

}  // namespace kelvara
