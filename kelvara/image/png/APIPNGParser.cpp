#include "kelvara/image/png/APIPNGParser.h"

// Call flow:
//   LoadStream / LoadFile → Load<Source>
//     → signature (the whole of format detection)
//     → WalkChunks → OnHeader | OnPalette | OnTransparency | IDAT joined
//                    in CompressedData
//     → Decode → Inflate (zlib, then the private inflate)
//              → ChooseConverter (BuildIndexTable) → InitializeDIB
//              → for each pass, row by row (or two rows at once):
//                unfilter in place → converter straight into the surface
//
// How malformed input is treated:
// - Anything but the eight signature bytes is declined at once.
// - A chunk whose length, data and CRC run past the end fails the load; so
//   does a missing IEND (the walk runs out of bytes looking for it). Bytes
//   after IEND are never looked at.
// - CRCs are tested only when zlib is there, only for IHDR, PLTE, tRNS and
//   IDAT, and not for a chunk whose stored CRC is 0. Every other chunk is
//   passed over unread, damaged or not.
// - Zero-length chunks are skipped (IEND excepted), so an empty IHDR or PLTE
//   counts as absent.
// - PLTE, tRNS or IDAT before IHDR, and a second IHDR, fail the load. An IHDR
//   shorter than 13 bytes fails; bytes past the thirteenth are ignored. A
//   later PLTE or tRNS replaces an earlier one.
// - IHDR values outside the format's sets fail; so does width × 32 × height
//   past a signed 32-bit count. Colour type and depth pairs the format
//   forbids (6 at depth 4, 3 at depth 16 ...) pass IHDR but no converter
//   takes them, so they fail after inflating.
// - A PLTE whose length is not a multiple of 3 fails; entries past 256 are
//   ignored. A palette index at or past the number of PLTE entries fails the
//   load, as reading past the table would. Without a PLTE, palette and gray
//   images use a built table (black, with white at index 1 for one-bit
//   palette images; evenly spread grays for gray images), so every index is
//   inside it.
// - A tRNS too short for its colour type leaves the image without a
//   transparent colour. Palette tRNS past 256 entries is ignored.
// - Image data that does not inflate (with zlib and then with the private
//   inflate) fails. Data that inflates to fewer bytes than the image needs
//   decodes, the missing tail read as zeros. The zlib trailer is not needed:
//   when zlib refuses a stream for its checksum, the private inflate, which
//   never checks it, still decodes it.
// - A row filter type above 4 fails the load.
// - A file that cannot seek is not read at all.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "kelvara/base/Result.h"
#include "kelvara/image/Inflate.h"
#include "kelvara/image/Zlib.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kelvara {

namespace {

// --- Limits and constants ----------------------------------------------------

// width × 32 × height must stay a signed 32-bit count, which also keeps the
// surface (width × height × 4 bytes) and the inflated data below 2^30 bytes.
constexpr int64_t kMaxSizeProduct = INT32_MAX;
// The format's own ceiling for a chunk length.
constexpr uint32_t kMaxChunkLength = INT32_MAX;
// All IDAT payloads together.
constexpr uint64_t kMaxCompressedBytes = INT32_MAX;

constexpr uint8_t kSignature[8] = {137, 'P', 'N', 'G', 13, 10, 26, 10};
constexpr uint64_t kSignatureSize = 8;
// Length, type and CRC around each chunk's data.
constexpr uint64_t kChunkOverhead = 12;
constexpr size_t kHeaderLength = 13;
constexpr size_t kMaxPaletteEntries = 256;
// Bytes past the last row that the vector unfilter reads and writes back
// unchanged.
#if defined(__SSE2__)
constexpr size_t kUnfilterSlack = 8;
#else
constexpr size_t kUnfilterSlack = 0;
#endif

constexpr uint32_t ChunkType(const char (&name)[5]) {
    return uint32_t{uint8_t(name[0])} << 24 | uint32_t{uint8_t(name[1])} << 16 |
           uint32_t{uint8_t(name[2])} << 8 | uint32_t{uint8_t(name[3])};
}

constexpr uint32_t kIHDR = ChunkType("IHDR");
constexpr uint32_t kPLTE = ChunkType("PLTE");
constexpr uint32_t kTRNS = ChunkType("tRNS");
constexpr uint32_t kIDAT = ChunkType("IDAT");
constexpr uint32_t kIEND = ChunkType("IEND");

enum class PngError {
    NotPng,
    Truncated,
    ReadFailed,
    BadCrc,
    HeaderMissing,
    HeaderRepeated,
    BadHeader,
    TooLarge,
    BadPalette,
    NoImageData,
    OutOfMemory,
    InflateFailed,
    Unsupported,
    BadFilter,
    IndexOutsidePalette,
    SurfaceFailed,
};

uint32_t ReadBE32(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

// The seven interlace passes: start column, start row, column step, row step.
struct Pass {
    uint32_t startX, startY, stepX, stepY;
};
constexpr Pass kAdam7[7] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                            {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
constexpr Pass kWholeImage = {0, 0, 1, 1};

// Columns (or rows) of `size` that a pass starting at `start` with `step`
// reaches.
uint32_t PassExtent(uint32_t size, uint32_t start, uint32_t step) {
    return size / step + (size % step > start ? 1 : 0);
}

// --- Sources -------------------------------------------------------------------

// A stream, read in place.
class StreamSource {
public:
    explicit StreamSource(std::span<const uint8_t> bytes) : bytes(bytes) {}

    uint64_t Size() const { return bytes.size(); }
    // The caller has checked that pos + n lies inside the source.
    bool Read(uint64_t pos, uint8_t* out, size_t n) {
        std::memcpy(out, bytes.data() + pos, n);
        return true;
    }
    // Carries `crc` on over n bytes at pos.
    bool Crc(uint64_t pos, size_t n, uint32_t& crc) {
        crc = Zlib::Crc32(bytes.subspan(static_cast<size_t>(pos), n), crc);
        return true;
    }

private:
    std::span<const uint8_t> bytes;
};

// An open file from its position at the start of the load. Only the bytes of
// the chunk in hand are read; chunks passed over are seeked past.
class FileSource {
public:
    explicit FileSource(std::FILE* file) : file(file) {}

    // Finds the file's size from its current position; false when the file
    // cannot seek.
    bool Open() {
        start = Tell();
        if (start < 0 || !SeekTo(0, SEEK_END)) {
            return false;
        }
        const int64_t end = Tell();
        if (end < start || !SeekTo(start, SEEK_SET)) {
            return false;
        }
        size = static_cast<uint64_t>(end - start);
        position = 0;
        return true;
    }
    // Leaves the file where the load found it, for the next reader.
    void Rewind() {
        if (start >= 0) {
            SeekTo(start, SEEK_SET);
        }
    }

    uint64_t Size() const { return size; }
    bool Read(uint64_t pos, uint8_t* out, size_t n) {
        if (pos != position && !SeekTo(start + static_cast<int64_t>(pos), SEEK_SET)) {
            return false;
        }
        const size_t got = std::fread(out, 1, n, file);
        position = pos + got;
        return got == n;
    }
    bool Crc(uint64_t pos, size_t n, uint32_t& crc) {
        uint8_t block[4096];
        while (n > 0) {
            const size_t part = std::min(n, sizeof block);
            if (!Read(pos, block, part)) {
                return false;
            }
            crc = Zlib::Crc32(std::span<const uint8_t>(block, part), crc);
            pos += part;
            n -= part;
        }
        return true;
    }

private:
    int64_t Tell() {
#if defined(_WIN32)
        return _ftelli64(file);
#else
        return ftello(file);
#endif
    }
    bool SeekTo(int64_t offset, int origin) {
#if defined(_WIN32)
        return _fseeki64(file, offset, origin) == 0;
#else
        return fseeko(file, static_cast<off_t>(offset), origin) == 0;
#endif
    }

    std::FILE* file;
    int64_t start = -1;
    uint64_t size = 0;
    uint64_t position = 0;
};

// --- Load state ----------------------------------------------------------------

// The joined IDAT payloads. The block starts at half the file plus one byte
// and, when a chunk does not fit, grows by what is missing plus a quarter of
// the file, so a typical file needs one block and few copies. Growing goes
// through realloc, which can often extend a large block in place.
class CompressedData {
public:
    explicit CompressedData(uint64_t fileSize) : fileSize(fileSize) {}

    size_t Size() const { return used; }
    std::span<const uint8_t> Bytes() const { return {bytes.get(), used}; }

    // Room for n more bytes at the end; nullptr when memory runs out.
    uint8_t* Extend(size_t n) {
        if (n > kMaxCompressedBytes - used) {
            return nullptr;
        }
        const uint64_t needed = uint64_t{used} + n;
        if (needed > capacity) {
            uint64_t grown = bytes ? capacity : fileSize / 2 + 1;
            if (needed > grown) {
                grown = needed + fileSize / 4;
            }
            if (grown > SIZE_MAX) {
                return nullptr;
            }
            void* larger = std::realloc(bytes.get(), static_cast<size_t>(grown));
            if (larger == nullptr) {
                return nullptr;
            }
            bytes.release();
            bytes.reset(static_cast<uint8_t*>(larger));
            capacity = grown;
        }
        uint8_t* room = bytes.get() + used;
        used += n;
        return room;
    }
    void Release() {
        bytes.reset();
        used = 0;
        capacity = 0;
    }

private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };

    uint64_t fileSize;
    std::unique_ptr<uint8_t, Free> bytes;
    size_t used = 0;
    uint64_t capacity = 0;
};

struct PngState {
    explicit PngState(uint64_t fileSize, bool withZlib)
        : withZlib(withZlib), compressed(fileSize) {}

    // Asked once per load, so a switch flipped meanwhile changes nothing here.
    bool withZlib;

    bool haveHeader = false;
    uint32_t width = 0;
    uint32_t height = 0;
    uint8_t bitDepth = 0;
    uint8_t colorType = 0;
    uint8_t interlace = 0;
    uint64_t expectedSize = 0;

    // Red, green, blue triples as PLTE gave them (at most 256 kept).
    std::array<uint8_t, 3 * kMaxPaletteEntries> palette{};
    size_t paletteEntries = 0;
    bool havePalette = false;

    // Raw tRNS bytes; for palette images padded with 255 to 256 entries.
    std::array<uint8_t, 256> transparency{};
    // −1 without a usable tRNS; see OnTransparency.
    int32_t transparencyKey = -1;

    CompressedData compressed;
    // Room for the inflated rows, taken at the first IDAT, before the
    // compressed data grow: the large blocks of a load then stack in the
    // order they are freed, which lets the allocator keep them for the next
    // load instead of returning and refaulting them.
    std::unique_ptr<uint8_t[]> inflated;
};

uint32_t BitsPerPixel(const PngState& png) {
    const uint32_t channels = png.colorType == 2   ? 3
                              : png.colorType == 4 ? 2
                              : png.colorType == 6 ? 4
                                                   : 1;
    return channels * png.bitDepth;
}

uint64_t RowBytes(uint32_t columns, uint32_t bitsPerPixel) {
    return (uint64_t{columns} * bitsPerPixel + 7) / 8;
}

// --- Chunk handlers ------------------------------------------------------------

Result<Done, PngError> OnHeader(PngState& png, const uint8_t* data) {
    if (png.haveHeader) {
        return Fail(PngError::HeaderRepeated);
    }
    const uint32_t width = ReadBE32(data);
    const uint32_t height = ReadBE32(data + 4);
    const uint8_t depth = data[8];
    const uint8_t colorType = data[9];
    const bool depthOk = depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
    const bool colorTypeOk =
        colorType == 0 || colorType == 2 || colorType == 3 || colorType == 4 || colorType == 6;
    if (width < 1 || width > INT32_MAX || height < 1 || height > INT32_MAX || !depthOk ||
        !colorTypeOk || data[10] != 0 || data[11] != 0 || data[12] > 1) {
        return Fail(PngError::BadHeader);
    }
    // Both sides fit 31 bits, so their product cannot overflow 64.
    if (uint64_t{width} * uint64_t{height} > uint64_t{kMaxSizeProduct} / 32) {
        return Fail(PngError::TooLarge);
    }
    png.width = width;
    png.height = height;
    png.bitDepth = depth;
    png.colorType = colorType;
    png.interlace = data[12];
    png.haveHeader = true;

    const uint32_t bits = BitsPerPixel(png);
    if (png.interlace == 0) {
        png.expectedSize = (RowBytes(width, bits) + 1) * height;
    } else {
        png.expectedSize = 0;
        for (const Pass& pass : kAdam7) {
            const uint32_t columns = PassExtent(width, pass.startX, pass.stepX);
            const uint32_t rows = PassExtent(height, pass.startY, pass.stepY);
            if (columns > 0 && rows > 0) {
                png.expectedSize += (RowBytes(columns, bits) + 1) * rows;
            }
        }
    }
    return Done{};
}

Result<Done, PngError> OnPalette(PngState& png, const uint8_t* data, size_t length) {
    if (png.colorType == 0 || png.colorType == 4) {
        return Done{};
    }
    if (length % 3 != 0) {
        return Fail(PngError::BadPalette);
    }
    png.paletteEntries = std::min(length / 3, kMaxPaletteEntries);
    std::memcpy(png.palette.data(), data, png.paletteEntries * 3);
    png.havePalette = true;
    return Done{};
}

void OnTransparency(PngState& png, const uint8_t* data, size_t length) {
    if (png.colorType == 4 || png.colorType == 6) {
        return;
    }
    const size_t kept = std::min(length, png.transparency.size());
    std::memcpy(png.transparency.data(), data, kept);
    png.transparencyKey = -1;
    switch (png.colorType) {
        case 0:
            // Deliberate: the key is the sample's low byte only (masked to the
            // depth), and 16-bit images compare against the high byte instead.
            if (length >= 2) {
                png.transparencyKey =
                    png.bitDepth == 16 ? data[1] : data[1] & ((1 << png.bitDepth) - 1);
            }
            break;
        case 2:
            // Deliberate: low bytes only; 16-bit images compare high bytes.
            if (length >= 6) {
                png.transparencyKey = int32_t{data[1]} << 16 | int32_t{data[3]} << 8 | data[5];
            }
            break;
        case 3:
            std::fill(png.transparency.begin() + static_cast<ptrdiff_t>(kept),
                      png.transparency.end(), uint8_t{255});
            png.transparencyKey = 0;
            break;
        default:
            break;
    }
}

template <typename Source>
Result<Done, PngError> WalkChunks(Source& source, PngState& png) {
    const uint64_t size = source.Size();
    uint64_t pos = kSignatureSize;
    for (;;) {
        if (size - pos < kChunkOverhead) {
            return Fail(PngError::Truncated);
        }
        uint8_t head[8];
        if (!source.Read(pos, head, sizeof head)) {
            return Fail(PngError::ReadFailed);
        }
        const uint32_t length = ReadBE32(head);
        const uint32_t type = ReadBE32(head + 4);
        if (length > kMaxChunkLength || length > size - pos - kChunkOverhead) {
            return Fail(PngError::Truncated);
        }
        const uint64_t dataPos = pos + 8;
        pos = dataPos + length + 4;
        if (type == kIEND) {
            return Done{};
        }
        if (length == 0 || (type != kIHDR && type != kPLTE && type != kTRNS && type != kIDAT)) {
            continue;
        }
        if (type != kIHDR && !png.haveHeader) {
            return Fail(PngError::HeaderMissing);
        }

        // The data come first and the CRC after them, so that a file is
        // read straight through.
        uint32_t crc = png.withZlib ? Zlib::Crc32(std::span<const uint8_t>(head + 4, 4)) : 0;
        uint8_t small[3 * kMaxPaletteEntries];
        if (type == kIDAT) {
            if (!png.inflated) {
                // Left uninitialised: a hostile header then costs nothing
                // before the data fail to inflate.
                png.inflated.reset(new (std::nothrow) uint8_t[png.expectedSize + kUnfilterSlack]);
                if (!png.inflated) {
                    return Fail(PngError::OutOfMemory);
                }
            }
            uint8_t* room = png.compressed.Extend(length);
            if (room == nullptr) {
                return Fail(PngError::OutOfMemory);
            }
            if (!source.Read(dataPos, room, length)) {
                return Fail(PngError::ReadFailed);
            }
            if (png.withZlib) {
                crc = Zlib::Crc32(std::span<const uint8_t>(room, length), crc);
            }
        } else {
            // Handlers look at no more than this much of their chunk.
            const size_t limit = type == kIHDR   ? kHeaderLength
                                 : type == kPLTE ? 3 * kMaxPaletteEntries
                                                 : png.transparency.size();
            const size_t kept = std::min<size_t>(length, limit);
            if (!source.Read(dataPos, small, kept)) {
                return Fail(PngError::ReadFailed);
            }
            if (png.withZlib) {
                if (kept == length) {
                    crc = Zlib::Crc32(std::span<const uint8_t>(small, kept), crc);
                } else if (!source.Crc(dataPos, length, crc)) {
                    return Fail(PngError::ReadFailed);
                }
            }
        }
        if (png.withZlib) {
            uint8_t stored[4];
            if (!source.Read(dataPos + length, stored, sizeof stored)) {
                return Fail(PngError::ReadFailed);
            }
            // A stored CRC of 0 means the writer did not compute one.
            if (ReadBE32(stored) != 0 && ReadBE32(stored) != crc) {
                return Fail(PngError::BadCrc);
            }
        }

        if (type == kIHDR) {
            if (length < kHeaderLength) {
                return Fail(PngError::BadHeader);
            }
            if (auto done = OnHeader(png, small); !done) {
                return done;
            }
        } else if (type == kPLTE) {
            if (auto done = OnPalette(png, small, length); !done) {
                return done;
            }
        } else if (type == kTRNS) {
            OnTransparency(png, small, length);
        }
    }
}

// --- Unfiltering ---------------------------------------------------------------

// Each row's filter is reversed in place. `prior` is the row above, already
// reversed, or nullptr on a pass's first row, which sees zeros above it (so
// Up does nothing there and Paeth always predicts the left neighbour). The
// left neighbour is whole bytes per pixel away, at least 1.

uint8_t Paeth(int a, int b, int c) {
    const int pa = std::abs(b - c);
    const int pb = std::abs(a - c);
    const int pc = std::abs(a + b - 2 * c);
    if (pa <= pb && pa <= pc) {
        return static_cast<uint8_t>(a);
    }
    return static_cast<uint8_t>(pb <= pc ? b : c);
}

// One byte at a time: for one- and two-byte pixels, and where there is no
// vector unit.
template <size_t Bpp>
bool UnfilterBytes(uint8_t filter, uint8_t* row, const uint8_t* prior, size_t n) {
    switch (filter) {
        case 0:
            return true;
        case 1:
            for (size_t i = Bpp; i < n; ++i) {
                row[i] = static_cast<uint8_t>(row[i] + row[i - Bpp]);
            }
            return true;
        case 2:
            if (prior != nullptr) {
                for (size_t i = 0; i < n; ++i) {
                    row[i] = static_cast<uint8_t>(row[i] + prior[i]);
                }
            }
            return true;
        case 3:
            if (prior == nullptr) {
                for (size_t i = Bpp; i < n; ++i) {
                    row[i] = static_cast<uint8_t>(row[i] + (row[i - Bpp] >> 1));
                }
                return true;
            }
            for (size_t i = 0; i < std::min(Bpp, n); ++i) {
                row[i] = static_cast<uint8_t>(row[i] + (prior[i] >> 1));
            }
            for (size_t i = Bpp; i < n; ++i) {
                row[i] = static_cast<uint8_t>(row[i] + ((row[i - Bpp] + prior[i]) >> 1));
            }
            return true;
        case 4:
            if (prior == nullptr) {
                for (size_t i = Bpp; i < n; ++i) {
                    row[i] = static_cast<uint8_t>(row[i] + row[i - Bpp]);
                }
                return true;
            }
            for (size_t i = 0; i < std::min(Bpp, n); ++i) {
                row[i] = static_cast<uint8_t>(row[i] + prior[i]);
            }
            for (size_t i = Bpp; i < n; ++i) {
                row[i] =
                    static_cast<uint8_t>(row[i] + Paeth(row[i - Bpp], prior[i], prior[i - Bpp]));
            }
            return true;
        default:
            return false;
    }
}

#if defined(__SSE2__)

// A whole pixel at a time in a vector register, for pixels of 3, 4, 6 or 8
// bytes. A 3- or 6-byte pixel is loaded as 4 or 8 bytes; the extra lanes of
// every predictor are masked to zero, so storing the sum writes the
// following bytes back unchanged. Each pixel's raw bytes are loaded one
// pixel ahead, before the store that overlaps them, since a load that
// straddles a just-stored word waits for the store to drain. Reading ahead
// runs into the next row, or into slack at the end of the inflated buffer.
template <size_t Bpp>
struct PixelLanes {
    static constexpr size_t kWidth = Bpp <= 4 ? 4 : 8;

    static __m128i Load(const uint8_t* p) {
        if constexpr (kWidth == 4) {
            int32_t v;
            std::memcpy(&v, p, 4);
            return _mm_cvtsi32_si128(v);
        } else {
            return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        }
    }
    static void Store(uint8_t* p, __m128i v) {
        if constexpr (kWidth == 4) {
            const int32_t x = _mm_cvtsi128_si32(v);
            std::memcpy(p, &x, 4);
        } else {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
        }
    }
    // Only the pixel's own bytes.
    static void StoreExact(uint8_t* p, __m128i v) {
        uint8_t bytes[16];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), v);
        std::memcpy(p, bytes, Bpp);
    }
    // The pixel's bytes in 16-bit lanes, extra lanes zero.
    static __m128i Widen(__m128i v, __m128i mask) {
        return _mm_unpacklo_epi8(_mm_and_si128(v, mask), _mm_setzero_si128());
    }
    static __m128i Load16(const uint8_t* p, __m128i mask) { return Widen(Load(p), mask); }
    static __m128i Mask() {
        if constexpr (Bpp == 3) {
            return _mm_cvtsi32_si128(0x00FFFFFF);
        } else if constexpr (Bpp == 6) {
            return _mm_set_epi32(0, 0, 0x0000FFFF, -1);
        } else {
            return _mm_set1_epi8(-1);
        }
    }
};

// raw + predictor, reduced to bytes, still in 16-bit lanes.
inline __m128i AddLowBytes(__m128i raw16, __m128i predictor) {
    return _mm_and_si128(_mm_add_epi16(raw16, predictor), _mm_set1_epi16(0x00FF));
}

// In 16-bit lanes: pa = |b − c|, pb = |a − c|, pc = |a + b − 2c|; the
// predictor is a when pa is smallest, else b when pb is, else c.
inline __m128i PaethPredictor(__m128i a, __m128i b, __m128i c) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bc = _mm_sub_epi16(b, c);
    const __m128i ac = _mm_sub_epi16(a, c);
    const __m128i abc = _mm_add_epi16(bc, ac);
    const __m128i pa = _mm_max_epi16(bc, _mm_sub_epi16(zero, bc));
    const __m128i pb = _mm_max_epi16(ac, _mm_sub_epi16(zero, ac));
    const __m128i pc = _mm_max_epi16(abc, _mm_sub_epi16(zero, abc));
    const __m128i smallest = _mm_min_epi16(pc, _mm_min_epi16(pa, pb));
    const __m128i useA = _mm_cmpeq_epi16(pa, smallest);
    const __m128i useB = _mm_cmpeq_epi16(pb, smallest);
    const __m128i bOrC = _mm_or_si128(_mm_and_si128(useB, b), _mm_andnot_si128(useB, c));
    return _mm_or_si128(_mm_and_si128(useA, a), _mm_andnot_si128(useA, bOrC));
}

template <size_t Bpp>
bool UnfilterPixels(uint8_t filter, uint8_t* row, const uint8_t* prior, size_t n) {
    using L = PixelLanes<Bpp>;
    const __m128i mask = L::Mask();
    const __m128i zero = _mm_setzero_si128();
    switch (filter) {
        case 0:
            return true;
        case 1: {
            __m128i a = zero;
            __m128i next = L::Load(row);
            for (size_t i = 0; i < n; i += Bpp) {
                const __m128i raw = next;
                next = L::Load(row + i + Bpp);
                a = _mm_add_epi8(raw, _mm_and_si128(a, mask));
                L::Store(row + i, a);
            }
            return true;
        }
        case 2: {
            if (prior == nullptr) {
                return true;
            }
            size_t i = 0;
            for (; i + 16 <= n; i += 16) {
                const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i));
                const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(prior + i));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i), _mm_add_epi8(x, b));
            }
            for (; i < n; ++i) {
                row[i] = static_cast<uint8_t>(row[i] + prior[i]);
            }
            return true;
        }
        case 3: {
            // In 16-bit lanes, for the same reason as Paeth below.
            __m128i a = zero;
            __m128i next = L::Load(row);
            for (size_t i = 0; i < n; i += Bpp) {
                const __m128i raw = next;
                next = L::Load(row + i + Bpp);
                const __m128i b = prior != nullptr ? L::Load16(prior + i, mask) : zero;
                const __m128i average = _mm_srli_epi16(_mm_add_epi16(a, b), 1);
                a = AddLowBytes(L::Widen(raw, mask), average);
                L::Store(row + i, _mm_add_epi8(raw, _mm_packus_epi16(average, zero)));
            }
            return true;
        }
        case 4: {
            if (prior == nullptr) {
                return UnfilterPixels<Bpp>(1, row, prior, n);
            }
            // Each pixel waits for the one before it, so the left neighbour is
            // kept in 16-bit lanes and everything that does not need it (the
            // store among them) stays off that chain.
            __m128i a = zero;
            __m128i c = zero;
            __m128i next = L::Load(row);
            for (size_t i = 0; i < n; i += Bpp) {
                const __m128i raw = next;
                next = L::Load(row + i + Bpp);
                const __m128i b = L::Load16(prior + i, mask);
                const __m128i predictor = PaethPredictor(a, b, c);
                a = AddLowBytes(L::Widen(raw, mask), predictor);
                L::Store(row + i, _mm_add_epi8(raw, _mm_packus_epi16(predictor, zero)));
                c = b;
            }
            return true;
        }
        default:
            return false;
    }
}

// Two rows with the same Average or Paeth filter, reversed side by side: the
// second row's pixel needs only the first row's pixel above it, which is
// still in a register, so the two chains of left neighbours overlap.
template <size_t Bpp>
void UnfilterPair(uint8_t filter, uint8_t* first, uint8_t* second, const uint8_t* prior, size_t n) {
    using L = PixelLanes<Bpp>;
    const __m128i mask = L::Mask();
    const __m128i zero = _mm_setzero_si128();
    __m128i a1 = zero, c1 = zero, a2 = zero, c2 = zero;
    __m128i next1 = L::Load(first);
    __m128i next2 = L::Load(second);
    for (size_t i = 0; i < n; i += Bpp) {
        const __m128i raw1 = next1;
        const __m128i raw2 = next2;
        next1 = L::Load(first + i + Bpp);
        next2 = L::Load(second + i + Bpp);
        const __m128i b1 = L::Load16(prior + i, mask);
        __m128i predictor1, predictor2;
        if (filter == 3) {
            predictor1 = _mm_srli_epi16(_mm_add_epi16(a1, b1), 1);
            a1 = AddLowBytes(L::Widen(raw1, mask), predictor1);
            predictor2 = _mm_srli_epi16(_mm_add_epi16(a2, a1), 1);
        } else {
            predictor1 = PaethPredictor(a1, b1, c1);
            c1 = b1;
            const __m128i above = AddLowBytes(L::Widen(raw1, mask), predictor1);
            predictor2 = PaethPredictor(a2, above, c2);
            c2 = above;
            a1 = above;
        }
        a2 = AddLowBytes(L::Widen(raw2, mask), predictor2);
        const __m128i x1 = _mm_add_epi8(raw1, _mm_packus_epi16(predictor1, zero));
        if (i + Bpp < n) {
            L::Store(first + i, x1);
        } else {
            // The extra lanes would reach the second row's first pixel,
            // which may be done already while they hold its raw bytes.
            L::StoreExact(first + i, x1);
        }
        L::Store(second + i, _mm_add_epi8(raw2, _mm_packus_epi16(predictor2, zero)));
    }
}

#else

template <size_t Bpp>
bool UnfilterPixels(uint8_t filter, uint8_t* row, const uint8_t* prior, size_t n) {
    return UnfilterBytes<Bpp>(filter, row, prior, n);
}

#endif

using UnfilterFunction = bool (*)(uint8_t, uint8_t*, const uint8_t*, size_t);
using UnfilterPairFunction = void (*)(uint8_t, uint8_t*, uint8_t*, const uint8_t*, size_t);

struct Unfilter {
    UnfilterFunction row;
    // Two consecutive rows of one filter type, 3 or 4, with a row above
    // them; nullptr where that is no faster.
    UnfilterPairFunction pair;
};

template <size_t Bpp>
Unfilter WholePixels() {
#if defined(__SSE2__)
    return {UnfilterPixels<Bpp>, UnfilterPair<Bpp>};
#else
    return {UnfilterPixels<Bpp>, nullptr};
#endif
}

Unfilter ChooseUnfilter(uint32_t bitsPerPixel) {
    switch (std::max<uint32_t>(bitsPerPixel / 8, 1)) {
        case 1:
            return {UnfilterBytes<1>, nullptr};
        case 2:
            return {UnfilterBytes<2>, nullptr};
        case 3:
            return WholePixels<3>();
        case 4:
            return WholePixels<4>();
        case 6:
            return WholePixels<6>();
        default:
            return WholePixels<8>();
    }
}

// --- Conversion to premultiplied BGRA ---------------------------------------

// c × a ÷ 255, truncated: (x + 1 + x ÷ 256) ÷ 256 equals x ÷ 255 for every
// product of two bytes, and needs no division.
inline uint8_t Premultiply(uint32_t c, uint32_t a) {
    const uint32_t x = c * a;
    return static_cast<uint8_t>((x + 1 + (x >> 8)) >> 8);
}

inline void Store(uint8_t* dst, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
    dst[0] = b;
    dst[1] = g;
    dst[2] = r;
    dst[3] = a;
}

// What the converters need besides the row.
struct PixelFormat {
    // Palette and gray images up to depth 8: each sample's finished pixel.
    std::array<std::array<uint8_t, 4>, 256> table{};
    // Samples at or above this are outside the PLTE that came.
    uint32_t tableEntries = 256;
    // Gray and colour images with a tRNS key: the bytes that make a pixel
    // transparent, compared with each sample's first (high) byte.
    uint8_t keyRed = 0, keyGreen = 0, keyBlue = 0, keyGray = 0;
};

using ConvertFunction = bool (*)(const uint8_t* src, uint8_t* dst, uint32_t count,
                                 const PixelFormat& format);

// Samples of Depth bits, high bits first, looked up in the table.
template <int Depth, bool Checked>
bool ConvertIndexed(const uint8_t* src, uint8_t* dst, uint32_t count, const PixelFormat& format) {
    constexpr uint32_t mask = (1u << Depth) - 1;
    uint32_t outside = 0;
    if constexpr (Depth == 8) {
        for (uint32_t x = 0; x < count; ++x, dst += 4) {
            if constexpr (Checked) {
                outside |= src[x] >= format.tableEntries;
            }
            std::memcpy(dst, format.table[src[x]].data(), 4);
        }
    } else {
        constexpr uint32_t perByte = 8 / Depth;
        uint32_t x = 0;
        for (; x + perByte <= count; x += perByte) {
            const uint32_t byte = *src++;
            for (uint32_t k = 0; k < perByte; ++k, dst += 4) {
                const uint32_t index = (byte >> (8 - Depth * (k + 1))) & mask;
                if constexpr (Checked) {
                    outside |= index >= format.tableEntries;
                }
                std::memcpy(dst, format.table[index].data(), 4);
            }
        }
        if (x < count) {
            const uint32_t byte = *src;
            for (uint32_t k = 0; x < count; ++k, ++x, dst += 4) {
                const uint32_t index = (byte >> (8 - Depth * (k + 1))) & mask;
                if constexpr (Checked) {
                    outside |= index >= format.tableEntries;
                }
                std::memcpy(dst, format.table[index].data(), 4);
            }
        }
    }
    return outside == 0;
}

// Gray at depth 16: the high byte.
template <bool Keyed>
bool ConvertGray16(const uint8_t* src, uint8_t* dst, uint32_t count, const PixelFormat& format) {
    for (uint32_t x = 0; x < count; ++x, src += 2, dst += 4) {
        const uint8_t g = src[0];
        if (Keyed && g == format.keyGray) {
            Store(dst, 0, 0, 0, 0);
        } else {
            Store(dst, g, g, g, 255);
        }
    }
    return true;
}

// S is the bytes per sample (1 or 2); a 16-bit sample's high byte comes
// first.
template <int S, bool Keyed>
bool ConvertRgb(const uint8_t* src, uint8_t* dst, uint32_t count, const PixelFormat& format) {
    uint32_t x = 0;
    if constexpr (S == 1 && !Keyed && std::endian::native == std::endian::little) {
        // Four pixels from three words: R0 G0 B0 R1 | G1 B1 R2 G2 | B2 R3 G3 B3.
        for (; x + 4 <= count; x += 4, src += 12, dst += 16) {
            uint32_t in[3];
            std::memcpy(in, src, sizeof in);
            const uint32_t out[4] = {
                (in[0] >> 16 & 0xFF) | (in[0] & 0xFF00) | (in[0] << 16 & 0xFF0000) | 0xFF000000u,
                (in[1] >> 8 & 0xFF) | (in[1] << 8 & 0xFF00) | (in[0] >> 8 & 0xFF0000) | 0xFF000000u,
                (in[2] & 0xFF) | (in[1] >> 16 & 0xFF00) | (in[1] & 0xFF0000) | 0xFF000000u,
                (in[2] >> 24) | (in[2] >> 8 & 0xFF00) | (in[2] << 8 & 0xFF0000) | 0xFF000000u,
            };
            std::memcpy(dst, out, sizeof out);
        }
    }
    for (; x < count; ++x, src += 3 * S, dst += 4) {
        const uint8_t r = src[0], g = src[S], b = src[2 * S];
        if (Keyed && r == format.keyRed && g == format.keyGreen && b == format.keyBlue) {
            Store(dst, 0, 0, 0, 0);
        } else {
            Store(dst, b, g, r, 255);
        }
    }
    return true;
}

template <int S>
bool ConvertGrayAlpha(const uint8_t* src, uint8_t* dst, uint32_t count, const PixelFormat&) {
    for (uint32_t x = 0; x < count; ++x, src += 2 * S, dst += 4) {
        const uint32_t a = src[S];
        const uint8_t g = Premultiply(src[0], a);
        Store(dst, g, g, g, static_cast<uint8_t>(a));
    }
    return true;
}

#if defined(__SSE2__)

// Two RGBA pixels in 16-bit lanes → premultiplied BGRA, still in 16-bit
// lanes. Alpha is multiplied by 255, which the division gives back.
inline __m128i PremultiplyTwo(__m128i rgba) {
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(rgba, 0xFF), 0xFF);
    const __m128i colourLanes = _mm_set_epi16(0, -1, -1, -1, 0, -1, -1, -1);
    const __m128i alpha255 = _mm_set_epi16(255, 0, 0, 0, 255, 0, 0, 0);
    const __m128i factor = _mm_or_si128(_mm_and_si128(alpha, colourLanes), alpha255);
    const __m128i x = _mm_mullo_epi16(rgba, factor);
    const __m128i one = _mm_set1_epi16(1);
    const __m128i quotient =
        _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(x, one), _mm_srli_epi16(x, 8)), 8);
    // Red and blue change places.
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(quotient, 0xC6), 0xC6);
}

#endif

template <int S>
bool ConvertRgba(const uint8_t* src, uint8_t* dst, uint32_t count, const PixelFormat&) {
    uint32_t x = 0;
#if defined(__SSE2__)
    if constexpr (S == 1) {
        const __m128i zero = _mm_setzero_si128();
        for (; x + 4 <= count; x += 4, src += 16, dst += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
            const __m128i low = PremultiplyTwo(_mm_unpacklo_epi8(v, zero));
            const __m128i high = PremultiplyTwo(_mm_unpackhi_epi8(v, zero));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(low, high));
        }
    }
#endif
    for (; x < count; ++x, src += 4 * S, dst += 4) {
        const uint32_t a = src[3 * S];
        Store(dst, Premultiply(src[2 * S], a), Premultiply(src[S], a), Premultiply(src[0], a),
              static_cast<uint8_t>(a));
    }
    return true;
}

template <bool Checked>
ConvertFunction ChooseIndexed(uint8_t depth) {
    switch (depth) {
        case 1:
            return ConvertIndexed<1, Checked>;
        case 2:
            return ConvertIndexed<2, Checked>;
        case 4:
            return ConvertIndexed<4, Checked>;
        case 8:
            return ConvertIndexed<8, Checked>;
        default:
            return nullptr;
    }
}

// The table of finished pixels for palette and gray images. A palette or
// gray image without PLTE gets a built palette first.
void BuildIndexTable(const PngState& png, PixelFormat& format) {
    std::array<uint8_t, 3 * kMaxPaletteEntries> palette{};
    uint32_t entries = 256;
    if (png.colorType == 3 && png.havePalette) {
        palette = png.palette;
        entries = static_cast<uint32_t>(png.paletteEntries);
    } else if (png.colorType == 0) {
        const uint32_t top = (1u << png.bitDepth) - 1;
        const uint32_t step = 255 / top;
        for (uint32_t i = 1; i <= top; ++i) {
            std::fill_n(&palette[3 * i], 3, static_cast<uint8_t>(i * step));
        }
    } else if (png.bitDepth == 1) {
        // Deliberate: a one-bit palette image without PLTE is black and white.
        std::fill_n(&palette[3], 3, uint8_t{255});
    }
    format.tableEntries = entries;
    for (uint32_t i = 0; i < 256; ++i) {
        const uint8_t r = palette[3 * i], g = palette[3 * i + 1], b = palette[3 * i + 2];
        uint8_t a = 255;
        if (png.colorType == 3 && png.transparencyKey != -1) {
            a = png.transparency[i];
        } else if (png.colorType == 0 && png.transparencyKey == static_cast<int32_t>(i)) {
            a = 0;
        }
        format.table[i] = {Premultiply(b, a), Premultiply(g, a), Premultiply(r, a), a};
    }
}

// The converter for the image's colour type and depth; nullptr for pairs
// the format does not allow.
ConvertFunction ChooseConverter(const PngState& png, PixelFormat& format) {
    const bool keyed = png.transparencyKey != -1;
    const uint8_t depth = png.bitDepth;
    switch (png.colorType) {
        case 0:
            if (depth == 16) {
                format.keyGray = png.transparency[0];
                return keyed ? ConvertGray16<true> : ConvertGray16<false>;
            }
            BuildIndexTable(png, format);
            return ChooseIndexed<false>(depth);
        case 3:
            if (depth == 16) {
                return nullptr;
            }
            BuildIndexTable(png, format);
            return format.tableEntries < (1u << depth) ? ChooseIndexed<true>(depth)
                                                       : ChooseIndexed<false>(depth);
        case 2:
            if (depth == 8) {
                format.keyRed = static_cast<uint8_t>(png.transparencyKey >> 16);
                format.keyGreen = static_cast<uint8_t>(png.transparencyKey >> 8);
                format.keyBlue = static_cast<uint8_t>(png.transparencyKey);
                return keyed ? ConvertRgb<1, true> : ConvertRgb<1, false>;
            }
            if (depth == 16) {
                format.keyRed = png.transparency[0];
                format.keyGreen = png.transparency[2];
                format.keyBlue = png.transparency[4];
                return keyed ? ConvertRgb<2, true> : ConvertRgb<2, false>;
            }
            return nullptr;
        case 4:
            return depth == 8 ? ConvertGrayAlpha<1> : depth == 16 ? ConvertGrayAlpha<2> : nullptr;
        case 6:
            return depth == 8 ? ConvertRgba<1> : depth == 16 ? ConvertRgba<2> : nullptr;
        default:
            return nullptr;
    }
}

// --- Decode ----------------------------------------------------------------------

// Inflates all image data into `out`; the bytes written.
Result<size_t, PngError> Inflate(const PngState& png, std::span<uint8_t> out) {
    const std::span<const uint8_t> in = png.compressed.Bytes();
    if (png.withZlib) {
        const int64_t written = Zlib::Uncompress(in, out);
        if (written >= 0) {
            return static_cast<size_t>(written);
        }
    }
    auto inflated = InflateZlib(in, out);
    if (!inflated) {
        return Fail(PngError::InflateFailed);
    }
    return inflated.Value();
}

Result<ENUM_ALPHA_TYPE, PngError> Decode(PngState& png, API32bppDIB& surface) {
    const size_t expected = static_cast<size_t>(png.expectedSize);
    std::unique_ptr<uint8_t[]> inflated = std::move(png.inflated);
    auto written = Inflate(png, std::span<uint8_t>(inflated.get(), expected));
    png.compressed.Release();
    if (!written) {
        return Fail(written.Error());
    }
    // Data that end early decode as if the rest were zeros.
    std::memset(inflated.get() + written.Value(), 0, expected + kUnfilterSlack - written.Value());

    PixelFormat format;
    const ConvertFunction convert = ChooseConverter(png, format);
    if (convert == nullptr) {
        return Fail(PngError::Unsupported);
    }
    const uint32_t bits = BitsPerPixel(png);
    const Unfilter unfilter = ChooseUnfilter(bits);

    if (!surface.InitializeDIB(static_cast<int32_t>(png.width), static_cast<int32_t>(png.height))) {
        return Fail(PngError::SurfaceFailed);
    }
    PixelBuffer& pixels = surface.Pixels();

    // Interlaced rows are converted here first, then spread over their
    // columns.
    std::unique_ptr<uint8_t[]> passRow;
    if (png.interlace == 1) {
        passRow.reset(new (std::nothrow) uint8_t[size_t{png.width} * 4]);
        if (!passRow) {
            return Fail(PngError::OutOfMemory);
        }
    }

    const std::span<const Pass> passes =
        png.interlace == 1 ? std::span<const Pass>(kAdam7) : std::span<const Pass>(&kWholeImage, 1);
    uint8_t* line = inflated.get();
    for (const Pass& pass : passes) {
        const uint32_t columns = PassExtent(png.width, pass.startX, pass.stepX);
        const uint32_t rows = PassExtent(png.height, pass.startY, pass.stepY);
        if (columns == 0 || rows == 0) {
            continue;
        }
        const size_t rowBytes = static_cast<size_t>(RowBytes(columns, bits));
        // Converts pass row r, already unfiltered, into the surface.
        auto emit = [&](uint32_t r, const uint8_t* body) {
            const int32_t y = static_cast<int32_t>(pass.startY + r * pass.stepY);
            if (png.interlace == 0) {
                return convert(body, pixels.Row(y), columns, format);
            }
            if (!convert(body, passRow.get(), columns, format)) {
                return false;
            }
            uint8_t* target = pixels.Row(y) + size_t{pass.startX} * 4;
            for (uint32_t c = 0; c < columns; ++c) {
                std::memcpy(target + size_t{c} * pass.stepX * 4, passRow.get() + size_t{c} * 4, 4);
            }
            return true;
        };
        const uint8_t* prior = nullptr;
        for (uint32_t r = 0; r < rows;) {
            uint8_t* body = line + 1;
            uint8_t* following = body + rowBytes;
            const uint8_t filter = line[0];
            if (unfilter.pair != nullptr && prior != nullptr && r + 1 < rows &&
                (filter == 3 || filter == 4) && following[0] == filter) {
                unfilter.pair(filter, body, following + 1, prior, rowBytes);
                if (!emit(r, body) || !emit(r + 1, following + 1)) {
                    return Fail(PngError::IndexOutsidePalette);
                }
                prior = following + 1;
                line = following + 1 + rowBytes;
                r += 2;
                continue;
            }
            if (!unfilter.row(filter, body, prior, rowBytes)) {
                return Fail(PngError::BadFilter);
            }
            if (!emit(r, body)) {
                return Fail(PngError::IndexOutsidePalette);
            }
            prior = body;
            line = following;
            ++r;
        }
    }

    if (png.colorType >= 4) {
        // Deliberate: alpha images report complex alpha without looking,
        // even when every pixel is opaque.
        return ENUM_ALPHA_TYPE::AlphaComplex;
    }
    // Deliberate: decided by the presence of tRNS alone; a palette with
    // partial transparency still reports simple alpha.
    return png.transparencyKey == -1 ? ENUM_ALPHA_TYPE::AlphaNone : ENUM_ALPHA_TYPE::AlphaSimple;
}

template <typename Source>
Result<ENUM_ALPHA_TYPE, PngError> Load(Source& source, API32bppDIB& surface) {
    uint8_t signature[kSignatureSize];
    if (source.Size() < kSignatureSize || !source.Read(0, signature, kSignatureSize) ||
        std::memcmp(signature, kSignature, kSignatureSize) != 0) {
        return Fail(PngError::NotPng);
    }
    // No GDI+ in this build, so the own decoder is the only path.
    PngState png(source.Size(), Zlib::Available());
    if (auto walked = WalkChunks(source, png); !walked) {
        return Fail(walked.Error());
    }
    if (!png.haveHeader) {
        return Fail(PngError::HeaderMissing);
    }
    if (png.compressed.Size() == 0) {
        return Fail(PngError::NoImageData);
    }
    return Decode(png, surface);
}

}  // namespace

bool APIPNGParser::LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface) {
    StreamSource source(Stream);
    const auto loaded = Load(source, Surface);
    if (!loaded) {
        Surface.DestroyDIB();
        return false;
    }
    Surface.SetAlpha(loaded.Value());
    Surface.SetImageType(ENUM_IMAGE_FORMAT::ImagePNG);
    return true;
}

bool APIPNGParser::LoadFile(std::FILE* File, API32bppDIB& Surface) {
    if (File == nullptr) {
        Surface.DestroyDIB();
        return false;
    }
    FileSource source(File);
    bool ok = false;
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
    if (source.Open()) {
        const auto loaded = Load(source, Surface);
        if (loaded) {
            ok = true;
            alpha = loaded.Value();
        }
    }
    source.Rewind();
    if (!ok) {
        Surface.DestroyDIB();
        return false;
    }
    Surface.SetAlpha(alpha);
    Surface.SetImageType(ENUM_IMAGE_FORMAT::ImagePNG);
    return true;
}

}  // namespace kelvara
