#include "kelvara/image/Inflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

// Call flow: InflateZlib -> InflateRaw -> Inflater::Run, which walks the
// blocks: CopyStored, or ReadDynamicCodes / the fixed tables followed by
// DecodeCodes. DecodeCodes has a fast loop (whole 8-byte input reads, no
// output bounds checks) for as long as both ends are far away, and a careful
// loop of one symbol at a time near them.
//
// Malformed input, and how it is treated (the same answers zlib gives):
// - The input ends before the final block does: Truncated. Bits past the end
//   read as zeros, but as soon as a decoded item has used one of them the
//   decode fails, so the verdict does not depend on what those bits were.
// - Bytes after the final block are ignored.
// - Block type 3: BadBlockType. Stored LEN not the complement of NLEN:
//   BadStoredLength.
// - Code lengths: more than 286 literal/length or 30 distance codes, a repeat
//   with nothing to repeat or running past the end, a literal/length code
//   without an end-of-block code, an over-subscribed code, or an incomplete
//   one: BadCodeLengths. Deliberate: two incomplete codes are accepted, as
//   zlib accepts them: a single code of one bit (its other bit pattern is then
//   a BadSymbol), and an empty distance code in a block of literals only.
// - Literal/length symbols 286 and 287 and distance symbols 30 and 31 (they
//   exist only in the fixed code): BadSymbol.
// - A distance reaching before the first byte of the output: BadDistance.
//   There is no preset dictionary.
// - Output that would pass out.size(): OutputOverrun. A stream that fills
//   the buffer exactly and then ends (even after empty blocks) succeeds.

namespace kelvara {

namespace {

// A decode table entry, 32 bits:
//   bits 0-7    bits of input the entry stands for (its code length; for a
//               sub-table link, the primary table's index bits)
//   bits 8-11   extra bits that follow a length or distance code; for a
//               link, the sub-table's index bits
//   bits 12-15  kind flags below (none: a length or a distance)
//   bits 16-31  the literal byte, the length or distance base, or the
//               sub-table's offset in the same array
constexpr uint32_t kLiteral = 0x8000;
constexpr uint32_t kSubTable = 0x4000;
constexpr uint32_t kEndOfBlock = 0x2000;
constexpr uint32_t kInvalid = 0x1000;
constexpr uint32_t kKindMask = 0xF000;

constexpr uint32_t Entry(uint32_t value, uint32_t extraBits, uint32_t kind, uint32_t length) {
    return value << 16 | kind | extraBits << 8 | length;
}
// Masked to 6 bits, not 8: shifts by the result then need no extra masking.
constexpr unsigned EntryLength(uint32_t entry) {
    return entry & 0x3F;
}
constexpr unsigned EntryExtra(uint32_t entry) {
    return (entry >> 8) & 0xF;
}
constexpr uint32_t EntryValue(uint32_t entry) {
    return entry >> 16;
}

constexpr unsigned kMaxCodeLength = 15;
constexpr unsigned kLitLenSymbols = 288;  // 286 and 287 only in the fixed code
constexpr unsigned kDistSymbols = 32;     // 30 and 31 only in the fixed code
constexpr unsigned kMaxLitLenCodes = 286;
constexpr unsigned kMaxDistCodes = 30;
constexpr unsigned kCodeLengthSymbols = 19;
constexpr unsigned kMaxMatch = 258;

// Primary table index bits. Codes longer than this continue in sub-tables.
constexpr unsigned kLitLenBits = 11;
constexpr unsigned kDistBits = 8;
constexpr unsigned kCodeLengthBits = 7;  // every code-length code fits

// Room for a primary table and its sub-tables. In a complete code a sub-table
// of 2^d entries holds at least d + 1 codes, and 2^d / (d + 1) grows with d,
// so n codes need at most n * 2^D / (D + 1) sub-table entries, D being the
// deepest sub-table. The only incomplete codes accepted have no sub-tables.
constexpr unsigned TableCapacity(unsigned primaryBits, unsigned symbols) {
    const unsigned deepest = kMaxCodeLength - primaryBits;
    return (1u << primaryBits) + symbols * (1u << deepest) / (deepest + 1);
}
constexpr unsigned kLitLenCapacity = TableCapacity(kLitLenBits, kMaxLitLenCodes);
constexpr unsigned kDistCapacity = TableCapacity(kDistBits, kMaxDistCodes);
// The fixed code uses 288 and 32 symbols but has no code longer than 9 bits.
static_assert(kLitLenBits >= 9 && kDistBits >= 5);
// The fast loop looks up the next code after three literals (up to 45 bits)
// from the 56 bits a refill guarantees.
static_assert(56 - 3 * kMaxCodeLength >= kLitLenBits);

// What each symbol decodes to, before its code length is known.
struct SymbolEntries {
    std::array<uint32_t, kLitLenSymbols> litLen{};
    std::array<uint32_t, kDistSymbols> dist{};
    std::array<uint32_t, kCodeLengthSymbols> codeLength{};
};

constexpr SymbolEntries MakeSymbolEntries() {
    SymbolEntries entries;
    for (uint32_t symbol = 0; symbol < 256; ++symbol) {
        entries.litLen[symbol] = Entry(symbol, 0, kLiteral, 0);
    }
    entries.litLen[256] = Entry(0, 0, kEndOfBlock, 0);
    // Lengths 3 to 10 have no extra bits; after that every four codes take
    // one extra bit more, and code 285 stands alone for 258.
    uint32_t base = 3;
    for (uint32_t i = 0; i < 28; ++i) {
        const uint32_t extra = i < 8 ? 0 : (i - 4) / 4;
        entries.litLen[257 + i] = Entry(base, extra, 0, 0);
        base += 1u << extra;
    }
    entries.litLen[285] = Entry(kMaxMatch, 0, 0, 0);
    entries.litLen[286] = Entry(0, 0, kInvalid, 0);
    entries.litLen[287] = Entry(0, 0, kInvalid, 0);
    // Distances 1 to 4 have no extra bits; after that every two codes take
    // one extra bit more.
    base = 1;
    for (uint32_t i = 0; i < 30; ++i) {
        const uint32_t extra = i < 4 ? 0 : (i - 2) / 2;
        entries.dist[i] = Entry(base, extra, 0, 0);
        base += 1u << extra;
    }
    entries.dist[30] = Entry(0, 0, kInvalid, 0);
    entries.dist[31] = Entry(0, 0, kInvalid, 0);
    for (uint32_t symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
        entries.codeLength[symbol] = Entry(symbol, 0, 0, 0);
    }
    return entries;
}

constexpr SymbolEntries kSymbols = MakeSymbolEntries();

// Which codes a table accepts besides complete ones.
enum class CodeRule {
    Complete,
    CompleteOrSingle,       // also one code of one bit
    CompleteSingleOrEmpty,  // also no codes at all
};

constexpr std::array<uint8_t, 256> MakeByteReversal() {
    std::array<uint8_t, 256> reversed{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            reversed[byte] |= ((byte >> bit) & 1) << (7 - bit);
        }
    }
    return reversed;
}

constexpr std::array<uint8_t, 256> kByteReversal = MakeByteReversal();

// The low `length` bits of `code` in reverse order (length 1 to 15).
uint32_t ReverseBits(uint32_t code, unsigned length) {
    const uint32_t reversed16 = kByteReversal[code & 0xFF] << 8 | kByteReversal[code >> 8];
    return reversed16 >> (16 - length);
}

// Builds the decode table of the canonical code with the given lengths.
// Deflate sends a code's first bit in the lowest bit, so a table index is
// the code bit-reversed. Returns false for a code the rule refuses.
bool BuildTable(std::span<const uint8_t> lengths, const uint32_t* symbolEntries,
                unsigned primaryBits, CodeRule rule, std::span<uint32_t> table) {
    std::array<unsigned, kMaxCodeLength + 1> count{};
    for (const uint8_t length : lengths) {
        ++count[length];
    }
    count[0] = 0;
    int unused = 1;  // unused code space, in units of the current length
    unsigned total = 0;
    for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
        unused = unused * 2 - static_cast<int>(count[length]);
        if (unused < 0) {
            return false;  // over-subscribed
        }
        total += count[length];
    }

    // A complete code fills every entry, so only an incomplete one needs
    // the invalid entries first (it never has sub-tables).
    const unsigned primarySize = 1u << primaryBits;
    if (unused > 0) {
        const bool single = total == 1 && count[1] == 1;
        const bool allowed = (total == 0 && rule == CodeRule::CompleteSingleOrEmpty) ||
                             (single && rule != CodeRule::Complete);
        if (!allowed) {
            return false;
        }
        std::fill_n(table.begin(), primarySize, Entry(0, 0, kInvalid, 1));
    }

    std::array<uint32_t, kMaxCodeLength + 1> next{};
    uint32_t code = 0;
    for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
        code = (code + count[length - 1]) << 1;
        next[length] = code;
    }

    // Sub-tables: each primary index shared by longer codes gets one, deep
    // enough for the longest code under it.
    bool anyLong = false;
    for (unsigned length = primaryBits + 1; length <= kMaxCodeLength; ++length) {
        anyLong = anyLong || count[length] != 0;
    }
    if (anyLong) {
        std::array<uint8_t, 1u << kLitLenBits> depth{};
        std::array<uint16_t, kLitLenSymbols> shared;  // the indices, in first-seen order
        size_t sharedCount = 0;
        std::array<uint32_t, kMaxCodeLength + 1> longNext = next;
        for (const uint8_t length : lengths) {
            if (length > primaryBits) {
                const uint32_t index = ReverseBits(longNext[length]++, length) & (primarySize - 1);
                if (depth[index] == 0) {
                    shared[sharedCount++] = static_cast<uint16_t>(index);
                }
                depth[index] = std::max<uint8_t>(depth[index], length - primaryBits);
            }
        }
        uint32_t offset = primarySize;
        for (size_t i = 0; i < sharedCount; ++i) {
            const uint32_t index = shared[i];
            const uint32_t size = 1u << depth[index];
            if (offset + size > table.size()) {
                return false;  // cannot happen for a complete code; see TableCapacity
            }
            table[index] = Entry(offset, depth[index], kSubTable, primaryBits);
            offset += size;
        }
    }

    for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        const unsigned length = lengths[symbol];
        if (length == 0) {
            continue;
        }
        const uint32_t reversed = ReverseBits(next[length]++, length);
        if (length <= primaryBits) {
            const uint32_t entry = symbolEntries[symbol] | length;
            for (uint32_t i = reversed; i < primarySize; i += 1u << length) {
                table[i] = entry;
            }
        } else {
            const uint32_t link = table[reversed & (primarySize - 1)];
            const uint32_t entry = symbolEntries[symbol] | (length - primaryBits);
            const uint32_t subSize = 1u << EntryExtra(link);
            uint32_t* sub = table.data() + EntryValue(link);
            for (uint32_t i = reversed >> primaryBits; i < subSize;
                 i += 1u << (length - primaryBits)) {
                sub[i] = entry;
            }
        }
    }
    return true;
}

struct FixedTables {
    std::array<uint32_t, kLitLenCapacity> litLen{};
    std::array<uint32_t, kDistCapacity> dist{};

    FixedTables() {
        std::array<uint8_t, kLitLenSymbols> litLenLengths{};
        std::fill(litLenLengths.begin(), litLenLengths.begin() + 144, 8);
        std::fill(litLenLengths.begin() + 144, litLenLengths.begin() + 256, 9);
        std::fill(litLenLengths.begin() + 256, litLenLengths.begin() + 280, 7);
        std::fill(litLenLengths.begin() + 280, litLenLengths.end(), 8);
        std::array<uint8_t, kDistSymbols> distLengths{};
        distLengths.fill(5);
        BuildTable(litLenLengths, kSymbols.litLen.data(), kLitLenBits, CodeRule::Complete, litLen);
        BuildTable(distLengths, kSymbols.dist.data(), kDistBits, CodeRule::Complete, dist);
    }
};

const FixedTables& Fixed() {
    static const FixedTables tables;
    return tables;
}

uint64_t Load64LE(const uint8_t* p) {
    uint64_t value;
    std::memcpy(&value, p, sizeof value);
    if constexpr (std::endian::native == std::endian::big) {
        value = __builtin_bswap64(value);
    }
    return value;
}

void Copy8(uint8_t* to, const uint8_t* from) {
    uint64_t value;
    std::memcpy(&value, from, sizeof value);
    std::memcpy(to, &value, sizeof value);
}

// The fast loop needs room for two refills (each reads 8 bytes and keeps up
// to 7), and room for the longest match plus the 16 bytes a copy may run
// over its end.
constexpr ptrdiff_t kFastInput = 16;
constexpr ptrdiff_t kFastOutput = kMaxMatch + 16;

// Copies a match inside the fast loop; may write up to 15 bytes past its end.
inline uint8_t* CopyMatchFast(uint8_t* out, uint32_t distance, uint32_t length) {
    const uint8_t* from = out - distance;
    uint8_t* const end = out + length;
    if (distance >= 8) {
        // Each 8-byte read lies wholly before the write it feeds, the second
        // of a pair possibly on bytes the first has just written.
        do {
            Copy8(out, from);
            Copy8(out + 8, from + 8);
            out += 16;
            from += 16;
        } while (out < end);
        return end;
    }
    // A short distance repeats a pattern of `distance` bytes. Build 8 bytes
    // of it and store them at steps that are whole multiples of the pattern.
    static constexpr uint8_t kStep[8] = {0, 8, 8, 6, 8, 5, 6, 7};
    uint8_t pattern[8];
    for (unsigned i = 0; i < 8; ++i) {
        pattern[i] = i < distance ? from[i] : pattern[i - distance];
    }
    const unsigned step = kStep[distance];
    do {
        std::memcpy(out, pattern, 8);
        out += step;
    } while (out < end);
    return end;
}

struct Inflater {
    const uint8_t* in;
    const uint8_t* inEnd;
    uint8_t* outBegin;
    uint8_t* out;
    uint8_t* outEnd;
    // Bits not yet used, lowest first. Bits above bitCount are either zero or
    // the low bits of the byte at `in`, so adding more input by OR is exact.
    uint64_t bitBuffer = 0;
    unsigned bitCount = 0;
    // Zero bytes added after the end of the input. They sit above every real
    // bit, so any of them used means the stream was cut short.
    unsigned overread = 0;
    InflateError error = InflateError::Truncated;

    std::array<uint32_t, kLitLenCapacity> litLenTable;
    std::array<uint32_t, kDistCapacity> distTable;

    Inflater(std::span<const uint8_t> input, std::span<uint8_t> output)
        : in(input.data()),
          inEnd(input.data() + input.size()),
          outBegin(output.data()),
          out(output.data()),
          outEnd(output.data() + output.size()) {}

    bool Overran() const { return overread * 8 > bitCount; }

    // A failure caused by reading past the input is reported as such,
    // whatever the zero bits then looked like.
    bool Refuse(InflateError cause) {
        error = Overran() ? InflateError::Truncated : cause;
        return false;
    }

    // Fills the buffer to at least 57 bits, one byte at a time.
    void RefillSlow() {
        while (bitCount <= 56) {
            if (in < inEnd) {
                bitBuffer |= static_cast<uint64_t>(*in++) << bitCount;
            } else {
                ++overread;
            }
            bitCount += 8;
        }
    }

    uint32_t Bits(unsigned count) {
        if (bitCount < count) {
            RefillSlow();
        }
        const uint32_t value = static_cast<uint32_t>(bitBuffer & ((uint64_t{1} << count) - 1));
        bitBuffer >>= count;
        bitCount -= count;
        return value;
    }

    bool Run() {
        bool final = false;
        while (!final) {
            final = Bits(1) != 0;
            const uint32_t type = Bits(2);
            bool ok = false;
            switch (type) {
                case 0:
                    ok = CopyStored();
                    break;
                case 1:
                    ok = DecodeCodes(Fixed().litLen.data(), Fixed().dist.data());
                    break;
                case 2:
                    ok = ReadDynamicCodes() && DecodeCodes(litLenTable.data(), distTable.data());
                    break;
                default:
                    ok = Refuse(InflateError::BadBlockType);
                    break;
            }
            if (!ok) {
                return false;
            }
        }
        return Overran() ? Refuse(InflateError::Truncated) : true;
    }

    bool CopyStored() {
        // Skip to a byte boundary, then give the whole bytes still buffered
        // back to the input and copy straight from it.
        Bits(bitCount & 7);
        const unsigned buffered = bitCount / 8;
        if (overread > buffered) {
            return Refuse(InflateError::Truncated);
        }
        in -= buffered - overread;
        bitBuffer = 0;
        bitCount = 0;
        overread = 0;
        if (inEnd - in < 4) {
            return Refuse(InflateError::Truncated);
        }
        const uint32_t length = in[0] | in[1] << 8;
        const uint32_t check = in[2] | in[3] << 8;
        in += 4;
        if (length != (~check & 0xFFFF)) {
            return Refuse(InflateError::BadStoredLength);
        }
        if (inEnd - in < static_cast<ptrdiff_t>(length)) {
            return Refuse(InflateError::Truncated);
        }
        if (outEnd - out < static_cast<ptrdiff_t>(length)) {
            return Refuse(InflateError::OutputOverrun);
        }
        if (length != 0) {
            std::memcpy(out, in, length);
        }
        in += length;
        out += length;
        return true;
    }

    bool ReadDynamicCodes() {
        const unsigned litLenCount = Bits(5) + 257;
        const unsigned distCount = Bits(5) + 1;
        const unsigned codeLengthCount = Bits(4) + 4;
        // Deliberate: 31 and 32 distance codes are legal to write but refused,
        // as zlib refuses them; 287 and 288 literal/length codes are refused
        // because those symbols mean nothing.
        if (litLenCount > kMaxLitLenCodes || distCount > kMaxDistCodes) {
            return Refuse(InflateError::BadCodeLengths);
        }
        static constexpr uint8_t kOrder[kCodeLengthSymbols] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                               11, 4,  12, 3, 13, 2, 14, 1, 15};
        std::array<uint8_t, kCodeLengthSymbols> codeLengthLengths{};
        for (unsigned i = 0; i < codeLengthCount; ++i) {
            codeLengthLengths[kOrder[i]] = static_cast<uint8_t>(Bits(3));
        }
        std::array<uint32_t, 1u << kCodeLengthBits> codeLengthTable;
        if (!BuildTable(codeLengthLengths, kSymbols.codeLength.data(), kCodeLengthBits,
                        CodeRule::Complete, codeLengthTable)) {
            return Refuse(InflateError::BadCodeLengths);
        }

        // Literal/length and distance lengths form one sequence; a repeat may
        // run from one into the other.
        std::array<uint8_t, kMaxLitLenCodes + kMaxDistCodes> lengths{};
        const unsigned total = litLenCount + distCount;
        unsigned have = 0;
        while (have < total) {
            RefillSlow();
            const uint32_t entry = codeLengthTable[bitBuffer & ((1u << kCodeLengthBits) - 1)];
            bitBuffer >>= EntryLength(entry);
            bitCount -= EntryLength(entry);
            const uint32_t symbol = EntryValue(entry);
            if (symbol < 16) {
                lengths[have++] = static_cast<uint8_t>(symbol);
                continue;
            }
            uint8_t value = 0;
            unsigned repeat = 0;
            if (symbol == 16) {
                if (have == 0) {
                    return Refuse(InflateError::BadCodeLengths);
                }
                value = lengths[have - 1];
                repeat = 3 + Bits(2);
            } else if (symbol == 17) {
                repeat = 3 + Bits(3);
            } else {
                repeat = 11 + Bits(7);
            }
            if (repeat > total - have) {
                return Refuse(InflateError::BadCodeLengths);
            }
            std::fill_n(lengths.begin() + have, repeat, value);
            have += repeat;
        }
        if (Overran()) {
            return Refuse(InflateError::Truncated);
        }
        if (lengths[256] == 0) {
            return Refuse(InflateError::BadCodeLengths);  // no end-of-block code
        }
        const std::span<const uint8_t> all(lengths.data(), total);
        if (!BuildTable(all.first(litLenCount), kSymbols.litLen.data(), kLitLenBits,
                        CodeRule::CompleteOrSingle, litLenTable) ||
            !BuildTable(all.subspan(litLenCount), kSymbols.dist.data(), kDistBits,
                        CodeRule::CompleteSingleOrEmpty, distTable)) {
            return Refuse(InflateError::BadCodeLengths);
        }
        return true;
    }

    // Decodes literals and matches until the end-of-block code.
    bool DecodeCodes(const uint32_t* litLen, const uint32_t* dist) {
        // The hot state lives in locals: stores through the output pointer
        // could otherwise alias the members and force reloads.
        const uint8_t* inPos = in;
        const uint8_t* const inLast = inEnd;
        uint8_t* outPos = out;
        uint8_t* const outLast = outEnd;
        uint8_t* const outFirst = outBegin;
        uint64_t bits = bitBuffer;
        unsigned count = bitCount;
        constexpr uint64_t litLenMask = (1u << kLitLenBits) - 1;
        constexpr uint64_t distMask = (1u << kDistBits) - 1;
        InflateError failure = InflateError::Truncated;

        auto consume = [&](unsigned n) {
            bits >>= n;
            count -= n;
        };
        // Adds whole bytes until 56 to 63 bits are held; reads 8 bytes.
        auto refill = [&] {
            bits |= Load64LE(inPos) << count;
            inPos += (63 - count) >> 3;
            count |= 56;
        };

        for (;;) {
            // Fast loop. At least 56 bits after a refill cover one length
            // code, its extra bits, a distance code and its extra bits
            // (15 + 5 + 15 + 13). The next primary entry is looked up as
            // soon as the bits for it are known, before the refill and the
            // copy, so that neither waits for the table: a refill only adds
            // bits above those already held.
            uint32_t entry = 0;
            bool preloaded = false;
            while (inLast - inPos >= kFastInput && outLast - outPos >= kFastOutput) {
                if (!preloaded) {
                    refill();
                    entry = litLen[bits & litLenMask];
                    preloaded = true;
                }
                refill();
                if (entry & kSubTable) {
                    consume(kLitLenBits);
                    entry = litLen[EntryValue(entry) + (bits & ((1u << EntryExtra(entry)) - 1))];
                }
                consume(EntryLength(entry));
                if (entry & kLiteral) {
                    // Three literals leave at least 56 - 45 = 11 bits, enough
                    // for the next primary lookup.
                    *outPos++ = static_cast<uint8_t>(EntryValue(entry));
                    entry = litLen[bits & litLenMask];
                    if (entry & kLiteral) {
                        consume(EntryLength(entry));
                        *outPos++ = static_cast<uint8_t>(EntryValue(entry));
                        entry = litLen[bits & litLenMask];
                        if (entry & kLiteral) {
                            consume(EntryLength(entry));
                            *outPos++ = static_cast<uint8_t>(EntryValue(entry));
                            entry = litLen[bits & litLenMask];
                        }
                    }
                    continue;
                }
                if ((entry & kKindMask) == 0) {
                    const unsigned lengthExtra = EntryExtra(entry);
                    const uint32_t length =
                        EntryValue(entry) + static_cast<uint32_t>(bits & ((1u << lengthExtra) - 1));
                    consume(lengthExtra);
                    uint32_t distEntry = dist[bits & distMask];
                    if (distEntry & kSubTable) {
                        consume(kDistBits);
                        distEntry = dist[EntryValue(distEntry) +
                                         (bits & ((1u << EntryExtra(distEntry)) - 1))];
                    }
                    consume(EntryLength(distEntry));
                    if (distEntry & kInvalid) {
                        failure = InflateError::BadSymbol;
                        goto failed;
                    }
                    const unsigned distExtra = EntryExtra(distEntry);
                    const uint32_t distance = EntryValue(distEntry) +
                                              static_cast<uint32_t>(bits & ((1u << distExtra) - 1));
                    consume(distExtra);
                    if (distance > static_cast<size_t>(outPos - outFirst)) {
                        failure = InflateError::BadDistance;
                        goto failed;
                    }
                    refill();
                    entry = litLen[bits & litLenMask];
                    outPos = CopyMatchFast(outPos, distance, length);
                    continue;
                }
                if (entry & kEndOfBlock) {
                    goto done;
                }
                failure = InflateError::BadSymbol;
                goto failed;
            }

            // Careful loop: one symbol, every bound checked.
            in = inPos;
            bitBuffer = bits;
            bitCount = count;
            RefillSlow();
            inPos = in;
            bits = bitBuffer;
            count = bitCount;

            entry = litLen[bits & litLenMask];
            if (entry & kSubTable) {
                consume(kLitLenBits);
                entry = litLen[EntryValue(entry) + (bits & ((1u << EntryExtra(entry)) - 1))];
            }
            consume(EntryLength(entry));
            if (overread * 8 > count) {
                failure = InflateError::Truncated;
                goto failed;
            }
            if (entry & kLiteral) {
                if (outPos == outLast) {
                    failure = InflateError::OutputOverrun;
                    goto failed;
                }
                *outPos++ = static_cast<uint8_t>(EntryValue(entry));
                continue;
            }
            if (entry & kEndOfBlock) {
                goto done;
            }
            if (entry & kInvalid) {
                failure = InflateError::BadSymbol;
                goto failed;
            }
            const unsigned lengthExtra = EntryExtra(entry);
            const uint32_t length =
                EntryValue(entry) + static_cast<uint32_t>(bits & ((1u << lengthExtra) - 1));
            consume(lengthExtra);
            uint32_t distEntry = dist[bits & distMask];
            if (distEntry & kSubTable) {
                consume(kDistBits);
                distEntry =
                    dist[EntryValue(distEntry) + (bits & ((1u << EntryExtra(distEntry)) - 1))];
            }
            consume(EntryLength(distEntry));
            const unsigned distExtra = EntryExtra(distEntry);
            const uint32_t distance =
                EntryValue(distEntry) + static_cast<uint32_t>(bits & ((1u << distExtra) - 1));
            consume(distExtra);
            if (overread * 8 > count) {
                failure = InflateError::Truncated;
                goto failed;
            }
            if (distEntry & kInvalid) {
                failure = InflateError::BadSymbol;
                goto failed;
            }
            if (distance > static_cast<size_t>(outPos - outFirst)) {
                failure = InflateError::BadDistance;
                goto failed;
            }
            if (length > static_cast<size_t>(outLast - outPos)) {
                failure = InflateError::OutputOverrun;
                goto failed;
            }
            const uint8_t* from = outPos - distance;
            for (uint32_t i = 0; i < length; ++i) {
                outPos[i] = from[i];
            }
            outPos += length;
        }

    done:
        in = inPos;
        out = outPos;
        bitBuffer = bits;
        bitCount = count;
        return true;

    failed:
        in = inPos;
        out = outPos;
        bitBuffer = bits;
        bitCount = count;
        return Refuse(failure);
    }
};

}  // namespace

const char* InflateErrorText(InflateError error) {
    switch (error) {
        case InflateError::Truncated:
            return "the compressed data end inside a block";
        case InflateError::BadBlockType:
            return "a block of the reserved type 3";
        case InflateError::BadStoredLength:
            return "a stored block whose length check does not match";
        case InflateError::BadCodeLengths:
            return "code lengths that build no valid code";
        case InflateError::BadSymbol:
            return "a code that the block's tables do not hold";
        case InflateError::BadDistance:
            return "a distance reaching before the start of the output";
        case InflateError::OutputOverrun:
            return "more output than expected";
    }
    return "unknown inflate error";
}

Result<size_t, InflateError> InflateRaw(std::span<const uint8_t> in, std::span<uint8_t> out) {
    Inflater inflater(in, out);
    if (!inflater.Run()) {
        return Fail(inflater.error);
    }
    return static_cast<size_t>(inflater.out - inflater.outBegin);
}

Result<size_t, InflateError> InflateZlib(std::span<const uint8_t> in, std::span<uint8_t> out) {
    // Deliberate: the header is not read (neither its check bits nor a preset
    // dictionary flag), and the Adler-32 trailer is not checked.
    if (in.size() < 2) {
        return Fail(InflateError::Truncated);
    }
    return InflateRaw(in.subspan(2), out);
}

}  // namespace kelvara
