#include "kelvara/image/gif/detail/GifLzw.h"

// Decoding keeps no strings of its own. Each table entry is the previous
// code's string plus the first byte of the next one, and those two strings
// sit side by side in the output, so an entry is simply a place and a length
// in what has already been written: a code is expanded by copying from
// there, as an LZ77 match would be.
//
// Encoding finds (prefix code, next pixel) pairs in an open-addressed hash
// table of 5003 slots (a prime above 4096, so the table never fills before
// the code space does), probing with a second step of 5003 − slot.
//
// How malformed data is treated:
// - A minimum code size outside 1 to 8 fails at once.
// - A code above the next free entry, or the next free entry with no
//   previous code to build it from (straight after a clear), fails.
// - The end code, or the end of the sub-blocks, before the last pixel fails;
//   codes after the last pixel are never read, good or bad.
// - When the table is full, codes stay 12 bits wide and nothing more is
//   added until a clear code comes (the "deferred clear" other encoders use).
// - A clear code may come anywhere, also first or twice in a row.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

namespace kelvara::detail {

namespace {

// Reads codes low bit first through the sub-block chain, in place.
class CodeReader {
public:
    explicit CodeReader(std::span<const uint8_t> blocks) : blocks(blocks) {}

    // False when the chain ends (or runs out of bytes) before `width` bits.
    bool Read(int width, uint32_t& code) {
        if (bits < width) {
            Refill();
            if (bits < width) {
                return false;
            }
        }
        code = static_cast<uint32_t>(buffer) & ((1u << width) - 1);
        buffer >>= width;
        bits -= width;
        return true;
    }

private:
    void Refill() {
        while (bits <= 56) {
            if (blockLeft == 0) {
                if (ended || at >= blocks.size()) {
                    ended = true;
                    return;
                }
                blockLeft = blocks[at++];
                if (blockLeft == 0) {
                    ended = true;
                    return;
                }
            }
            if (at >= blocks.size()) {
                ended = true;
                return;
            }
            buffer |= uint64_t{blocks[at++]} << bits;
            bits += 8;
            --blockLeft;
        }
    }

    std::span<const uint8_t> blocks;
    size_t at = 0;
    size_t blockLeft = 0;
    bool ended = false;
    uint64_t buffer = 0;
    int bits = 0;
};

// Where a table entry's string was written, and how long it is.
struct Entry {
    uint32_t offset;
    uint32_t length;
};

// Copies `length` bytes from out[from] to out[to], from < to, inside a
// buffer of `size` bytes. The source may run into the destination (an entry
// that ends with its own first byte), so the copy goes in steps no longer
// than the distance between them. Most strings are short: with room to spare
// they go in whole 8-byte steps, which may write up to 7 bytes past the
// string; those bytes lie ahead of the output and are written again before
// anything reads them.
inline void CopyEarlier(uint8_t* out, size_t size, size_t from, size_t to, size_t length) {
    const size_t distance = to - from;
    if (distance >= 8 && size - to >= length + 7) {
        for (size_t i = 0; i < length; i += 8) {
            std::memcpy(out + to + i, out + from + i, 8);
        }
        return;
    }
    while (length > 0) {
        const size_t step = std::min(length, distance);
        std::memcpy(out + to, out + from, step);
        to += step;
        from += step;
        length -= step;
    }
}

}  // namespace

Result<Done, LzwError> LzwDecode(std::span<const uint8_t> blocks, int minCodeSize,
                                 std::span<uint8_t> out) {
    if (minCodeSize < kLzwMinCodeSizeLow || minCodeSize > kLzwMinCodeSizeHigh) {
        return Fail(LzwError::BadCodeSize);
    }
    const uint32_t clearCode = 1u << minCodeSize;
    const uint32_t endCode = clearCode + 1;
    auto table = std::make_unique<Entry[]>(kLzwMaxCodes);

    CodeReader reader(blocks);
    uint32_t nextFree = clearCode + 2;
    int width = minCodeSize + 1;
    bool havePrevious = false;
    size_t previousAt = 0;
    size_t previousLength = 0;

    uint8_t* const pixels = out.data();
    const size_t total = out.size();
    size_t at = 0;
    while (at < total) {
        uint32_t code = 0;
        if (!reader.Read(width, code)) {
            return Fail(LzwError::DataEndedEarly);
        }
        if (code == clearCode) {
            nextFree = clearCode + 2;
            width = minCodeSize + 1;
            havePrevious = false;
            continue;
        }
        if (code == endCode) {
            return Fail(LzwError::DataEndedEarly);
        }

        size_t length = 1;
        if (code < clearCode) {
            pixels[at] = static_cast<uint8_t>(code);
        } else if (code < nextFree) {
            // Entries above the end code exist only once a previous code
            // has built them, so this one is in the output already.
            const Entry& entry = table[code];
            length = entry.length;
            CopyEarlier(pixels, total, entry.offset, at, std::min(length, total - at));
        } else if (code == nextFree && havePrevious) {
            // The entry being built: the previous string and its own first
            // byte, which is where the previous string began.
            length = previousLength + 1;
            CopyEarlier(pixels, total, previousAt, at, std::min(length, total - at));
        } else {
            return Fail(LzwError::BadCode);
        }

        if (havePrevious && nextFree < kLzwMaxCodes) {
            table[nextFree] = {static_cast<uint32_t>(previousAt),
                               static_cast<uint32_t>(previousLength + 1)};
            ++nextFree;
            if (nextFree >= (1u << width) && width < kLzwMaxCodeWidth) {
                ++width;
            }
        }
        havePrevious = true;
        previousAt = at;
        previousLength = length;
        at += std::min(length, total - at);
    }
    return Done{};
}

uint64_t LzwMaxPixels(uint64_t dataBytes, int minCodeSize) {
    // Codes are at least minCodeSize + 1 bits wide. The k-th code's string
    // is at most k long (each entry adds one byte to an earlier string) and
    // never longer than the table has codes.
    const uint64_t codes = dataBytes * 8 / static_cast<uint64_t>(std::max(minCodeSize + 1, 2));
    if (codes <= kLzwMaxCodes) {
        return codes * (codes + 1) / 2;
    }
    return uint64_t{kLzwMaxCodes} * (kLzwMaxCodes + 1) / 2 + (codes - kLzwMaxCodes) * kLzwMaxCodes;
}

namespace {

// Deliberate: sub-blocks carry at most 254 bytes, one short of what the
// format allows; files from this writer have always been cut that way.
constexpr size_t kMaxSubBlock = 254;

// Packs codes low bit first into sub-blocks written straight into `out`.
class CodeWriter {
public:
    explicit CodeWriter(std::vector<uint8_t>& out) : out(out) {}

    void Write(uint32_t code, int width) {
        buffer |= code << bits;
        bits += width;
        while (bits >= 8) {
            Put(static_cast<uint8_t>(buffer));
            buffer >>= 8;
            bits -= 8;
        }
    }

    // The last partial byte, the last block's length and the terminator.
    void Finish() {
        if (bits > 0) {
            Put(static_cast<uint8_t>(buffer));
            buffer = 0;
            bits = 0;
        }
        CloseBlock();
        out.push_back(0);
    }

private:
    void Put(uint8_t byte) {
        if (inBlock == 0) {
            lengthAt = out.size();
            out.push_back(0);
        }
        out.push_back(byte);
        if (++inBlock == kMaxSubBlock) {
            CloseBlock();
        }
    }
    void CloseBlock() {
        if (inBlock > 0) {
            out[lengthAt] = static_cast<uint8_t>(inBlock);
            inBlock = 0;
        }
    }

    std::vector<uint8_t>& out;
    size_t lengthAt = 0;
    size_t inBlock = 0;
    uint32_t buffer = 0;
    int bits = 0;
};

constexpr int32_t kHashSlots = 5003;
constexpr int32_t kEmptySlot = -1;

}  // namespace

void LzwEncode(std::span<const uint8_t> pixels, int minCodeSize, std::vector<uint8_t>& out) {
    minCodeSize = std::clamp(minCodeSize, 2, kLzwMinCodeSizeHigh);
    const uint32_t clearCode = 1u << minCodeSize;
    const uint32_t endCode = clearCode + 1;

    // The key of (prefix, pixel) is pixel × 4096 + prefix; its code beside it.
    auto keys = std::make_unique<int32_t[]>(kHashSlots);
    auto codes = std::make_unique<uint16_t[]>(kHashSlots);
    std::fill_n(keys.get(), kHashSlots, kEmptySlot);

    CodeWriter writer(out);
    uint32_t nextFree = clearCode + 2;
    int width = minCodeSize + 1;
    writer.Write(clearCode, width);
    if (pixels.empty()) {
        writer.Write(endCode, width);
        writer.Finish();
        return;
    }

    // A decoder learns each entry one code late, so it widens its codes one
    // code later than the table grows; the width check before each addition
    // keeps the two in step (and gives the end code the decoder's width).
    const auto emit = [&](uint32_t code) {
        writer.Write(code, width);
        if (nextFree >= (1u << width) && width < kLzwMaxCodeWidth) {
            ++width;
        }
    };

    uint32_t prefix = pixels[0];
    for (size_t i = 1; i < pixels.size(); ++i) {
        const uint32_t pixel = pixels[i];
        const int32_t key = static_cast<int32_t>(pixel << 12 | prefix);
        int32_t slot = static_cast<int32_t>(pixel << 4 ^ prefix);
        if (keys[slot] != key && keys[slot] != kEmptySlot) {
            const int32_t step = slot == 0 ? 1 : kHashSlots - slot;
            do {
                slot -= step;
                if (slot < 0) {
                    slot += kHashSlots;
                }
            } while (keys[slot] != key && keys[slot] != kEmptySlot);
        }
        if (keys[slot] == key) {
            prefix = codes[slot];
            continue;
        }
        emit(prefix);
        if (nextFree < kLzwMaxCodes) {
            keys[slot] = key;
            codes[slot] = static_cast<uint16_t>(nextFree++);
        } else {
            // The table is full: start over rather than go on without
            // learning, which is what keeps the output small on long runs.
            writer.Write(clearCode, width);
            std::fill_n(keys.get(), kHashSlots, kEmptySlot);
            nextFree = clearCode + 2;
            width = minCodeSize + 1;
        }
        prefix = pixel;
    }
    emit(prefix);
    writer.Write(endCode, width);
    writer.Finish();
}

}  // namespace kelvara::detail
