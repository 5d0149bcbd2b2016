#include "kelvara/image/APIHuffman.h"

// Call flow:
//   Encode → Count → CodeLengthsFor (TreeDepths, weights halved until no
//            code passes 15 bits) → CanonicalCodes → header → PackCodes
//   Decode → ReadHeader (mark, sizes, CheckTable) → Unpack (one table
//            lookup of up to 15 bits per byte) → for a surface: HoldToAlpha
//
// How malformed input is treated:
// - Fewer than 144 bytes, or another mark: NotHuffman.
// - Width and height both 0 make a byte block, both at least 1 a surface
//   block; any other pair is BadSize, and so is a surface whose width ×
//   height × 4 is not the length. Reading a block as the other kind is
//   WrongKind.
// - A length that the codes could not hold even at one bit a byte is
//   Truncated before anything is allocated, so a block never makes the
//   decoder allocate more than eight times its own size.
// - Code lengths that oversubscribe the code, or no code at all for a
//   non-empty block, are BadTable. An incomplete code is accepted; a pattern
//   it leaves unused is BadCode when met.
// - Codes that end before the length is reached are Truncated; whole bytes
//   after the last code are TrailingBytes. The padding bits of the last byte
//   are not looked at.
// - Decoded pixels are held to premultiplied form (a colour byte above its
//   alpha becomes the alpha), so a damaged strip still draws correctly.

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <queue>

#include "kelvara/image/detail/ByteIO.h"

namespace kelvara {

namespace {

constexpr uint8_t kMark[4] = {'K', 'V', 'H', 'F'};
constexpr int kSymbols = 256;
// Lengths are stored in four bits.
constexpr int kMaxCodeLength = 15;
constexpr size_t kTableOffset = 16;

using CodeLengths = std::array<uint8_t, kSymbols>;
using Counts = std::array<uint64_t, kSymbols>;

Counts Count(std::span<const uint8_t> data) {
    Counts counts{};
    for (const uint8_t b : data) {
        ++counts[b];
    }
    return counts;
}

// The depth of each symbol in Huffman's tree for these weights. Ties go to
// the node made first (leaves in symbol order, then joined nodes in the order
// they were made), so the same bytes always give the same code.
CodeLengths TreeDepths(const Counts& weights) {
    CodeLengths lengths{};
    struct Node {
        uint64_t weight;
        int parent;
        int symbol;  // -1 for a joined node
    };
    std::vector<Node> nodes;
    nodes.reserve(2 * kSymbols);
    for (int s = 0; s < kSymbols; ++s) {
        if (weights[s] != 0) {
            nodes.push_back(Node{weights[s], -1, s});
        }
    }
    if (nodes.empty()) {
        return lengths;
    }
    if (nodes.size() == 1) {
        // One byte value alone still needs a one-bit code.
        lengths[static_cast<size_t>(nodes[0].symbol)] = 1;
        return lengths;
    }
    using Entry = std::pair<uint64_t, int>;  // weight, node
    std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> queue;
    for (int i = 0; i < static_cast<int>(nodes.size()); ++i) {
        queue.push({nodes[static_cast<size_t>(i)].weight, i});
    }
    while (queue.size() > 1) {
        const Entry a = queue.top();
        queue.pop();
        const Entry b = queue.top();
        queue.pop();
        const int joined = static_cast<int>(nodes.size());
        nodes.push_back(Node{a.first + b.first, -1, -1});
        nodes[static_cast<size_t>(a.second)].parent = joined;
        nodes[static_cast<size_t>(b.second)].parent = joined;
        queue.push({a.first + b.first, joined});
    }
    // A parent is always made after its children: walking back from the
    // root gives each node its depth from its parent's.
    std::vector<int> depth(nodes.size(), 0);
    for (size_t i = nodes.size() - 1; i-- > 0;) {
        depth[i] = depth[static_cast<size_t>(nodes[i].parent)] + 1;
        if (nodes[i].symbol >= 0) {
            lengths[static_cast<size_t>(nodes[i].symbol)] =
                static_cast<uint8_t>(std::min(depth[i], 255));
        }
    }
    return lengths;
}

// Huffman's lengths, with the weights halved (a present byte keeps at least
// weight 1) until no code is longer than kMaxCodeLength. With all weights 1
// the tree is balanced at depth 8 at most, so this ends.
CodeLengths CodeLengthsFor(const Counts& counts) {
    Counts weights = counts;
    for (;;) {
        const CodeLengths lengths = TreeDepths(weights);
        if (*std::max_element(lengths.begin(), lengths.end()) <= kMaxCodeLength) {
            return lengths;
        }
        for (uint64_t& w : weights) {
            if (w != 0) {
                w = (w + 1) / 2;
            }
        }
    }
}

// Canonical codes: shorter codes first, equal lengths in symbol order.
std::array<uint16_t, kSymbols> CanonicalCodes(const CodeLengths& lengths) {
    std::array<int, kMaxCodeLength + 1> perLength{};
    for (const uint8_t len : lengths) {
        ++perLength[len];
    }
    perLength[0] = 0;
    std::array<uint32_t, kMaxCodeLength + 1> next{};
    uint32_t code = 0;
    for (int len = 1; len <= kMaxCodeLength; ++len) {
        code = (code + static_cast<uint32_t>(perLength[static_cast<size_t>(len - 1)])) << 1;
        next[static_cast<size_t>(len)] = code;
    }
    std::array<uint16_t, kSymbols> codes{};
    for (int s = 0; s < kSymbols; ++s) {
        const uint8_t len = lengths[static_cast<size_t>(s)];
        if (len != 0) {
            codes[static_cast<size_t>(s)] = static_cast<uint16_t>(next[len]++);
        }
    }
    return codes;
}

Result<std::vector<uint8_t>, HuffmanError> Encode(std::span<const uint8_t> data, int32_t width,
                                                  int32_t height) {
    if (static_cast<int64_t>(data.size()) > APIHuffman::kMaxBytes) {
        return Fail(HuffmanError::BadSize);
    }
    const Counts counts = Count(data);
    const CodeLengths lengths = CodeLengthsFor(counts);
    const std::array<uint16_t, kSymbols> codes = CanonicalCodes(lengths);
    uint64_t totalBits = 0;
    for (int s = 0; s < kSymbols; ++s) {
        totalBits += counts[static_cast<size_t>(s)] * lengths[static_cast<size_t>(s)];
    }

    std::vector<uint8_t> out;
    try {
        out.reserve(APIHuffman::kHeaderSize + static_cast<size_t>((totalBits + 7) / 8));
    } catch (const std::bad_alloc&) {
        return Fail(HuffmanError::NoMemory);
    }
    out.insert(out.end(), std::begin(kMark), std::end(kMark));
    detail::AppendLE32(out, static_cast<uint32_t>(data.size()));
    detail::AppendLE32(out, static_cast<uint32_t>(width));
    detail::AppendLE32(out, static_cast<uint32_t>(height));
    for (int s = 0; s < kSymbols; s += 2) {
        out.push_back(static_cast<uint8_t>(lengths[static_cast<size_t>(s)] |
                                           (lengths[static_cast<size_t>(s + 1)] << 4)));
    }

    // At most 7 bits wait in `pending` between bytes, so a 15-bit code never
    // makes it pass 22 bits.
    uint32_t pending = 0;
    int pendingBits = 0;
    for (const uint8_t b : data) {
        pending = (pending << lengths[b]) | codes[b];
        pendingBits += lengths[b];
        while (pendingBits >= 8) {
            pendingBits -= 8;
            out.push_back(static_cast<uint8_t>(pending >> pendingBits));
        }
        pending &= (1u << pendingBits) - 1;
    }
    if (pendingBits > 0) {
        out.push_back(static_cast<uint8_t>(pending << (8 - pendingBits)));
    }
    return out;
}

struct Header {
    uint32_t length = 0;
    int64_t width = 0;
    int64_t height = 0;
    CodeLengths lengths{};
    bool surface = false;
};

Result<Header, HuffmanError> ReadHeader(std::span<const uint8_t> block) {
    if (block.size() < APIHuffman::kHeaderSize || std::memcmp(block.data(), kMark, 4) != 0) {
        return Fail(HuffmanError::NotHuffman);
    }
    Header header;
    header.length = detail::ReadLE32(block, 4);
    header.width = detail::ReadLE32Signed(block, 8);
    header.height = detail::ReadLE32Signed(block, 12);
    if (header.width == 0 && header.height == 0) {
        header.surface = false;
    } else if (header.width >= 1 && header.height >= 1 && header.length % 4 == 0 &&
               header.width * header.height == int64_t{header.length / 4}) {
        header.surface = true;
    } else {
        return Fail(HuffmanError::BadSize);
    }
    if (int64_t{header.length} > APIHuffman::kMaxBytes) {
        return Fail(HuffmanError::BadSize);
    }
    // Every byte takes one bit at least.
    const uint64_t payload = block.size() - APIHuffman::kHeaderSize;
    if (uint64_t{header.length} > payload * 8) {
        return Fail(HuffmanError::Truncated);
    }
    for (int i = 0; i < kSymbols / 2; ++i) {
        const uint8_t packed = block[kTableOffset + static_cast<size_t>(i)];
        header.lengths[static_cast<size_t>(2 * i)] = packed & 15;
        header.lengths[static_cast<size_t>(2 * i + 1)] = packed >> 4;
    }
    return header;
}

// True when the lengths make a code that is not oversubscribed, and holds
// at least one symbol unless nothing is to be decoded.
bool CheckTable(const Header& header) {
    std::array<int, kMaxCodeLength + 1> perLength{};
    for (const uint8_t len : header.lengths) {
        ++perLength[len];
    }
    if (perLength[0] == kSymbols) {
        return header.length == 0;
    }
    int64_t left = 1;
    for (int len = 1; len <= kMaxCodeLength; ++len) {
        left = left * 2 - perLength[static_cast<size_t>(len)];
        if (left < 0) {
            return false;
        }
    }
    return true;
}

// Decodes header.length bytes from the codes after the header into `out`.
Result<Done, HuffmanError> Unpack(std::span<const uint8_t> block, const Header& header,
                                  uint8_t* out) {
    if (header.length == 0) {
        return block.size() == APIHuffman::kHeaderSize ? Result<Done, HuffmanError>(Done{})
                                                       : Fail(HuffmanError::TrailingBytes);
    }
    const int maxLength = *std::max_element(header.lengths.begin(), header.lengths.end());
    // Each entry: symbol × 16 + code length; 0 for a pattern no code starts.
    std::vector<uint16_t> table(size_t{1} << maxLength, 0);
    const std::array<uint16_t, kSymbols> codes = CanonicalCodes(header.lengths);
    for (int s = 0; s < kSymbols; ++s) {
        const int len = header.lengths[static_cast<size_t>(s)];
        if (len == 0) {
            continue;
        }
        const size_t first = size_t{codes[static_cast<size_t>(s)]} << (maxLength - len);
        const size_t count = size_t{1} << (maxLength - len);
        std::fill_n(table.begin() + static_cast<ptrdiff_t>(first), count,
                    static_cast<uint16_t>(s << 4 | len));
    }

    const std::span<const uint8_t> codesIn = block.subspan(APIHuffman::kHeaderSize);
    size_t at = 0;
    // The next bits to read sit at the top of `bits`; past the end of the
    // input, zeros come in.
    uint64_t bits = 0;
    int bitCount = 0;
    for (uint32_t i = 0; i < header.length; ++i) {
        while (bitCount <= 56 && at < codesIn.size()) {
            bits |= uint64_t{codesIn[at++]} << (56 - bitCount);
            bitCount += 8;
        }
        const uint16_t entry = table[static_cast<size_t>(bits >> (64 - maxLength))];
        const int len = entry & 15;
        if (len == 0) {
            return Fail(HuffmanError::BadCode);
        }
        if (len > bitCount) {
            return Fail(HuffmanError::Truncated);
        }
        out[i] = static_cast<uint8_t>(entry >> 4);
        bits <<= len;
        bitCount -= len;
    }
    // The bytes not yet read, and the whole bytes still waiting in `bits`.
    if (at < codesIn.size() || bitCount >= 8) {
        return Fail(HuffmanError::TrailingBytes);
    }
    return Done{};
}

// Holds each colour byte to its pixel's alpha and works out the alpha type.
ENUM_ALPHA_TYPE HoldToAlpha(uint8_t* bits, size_t byteCount) {
    bool partial = false;
    bool transparent = false;
    for (size_t i = 0; i + 4 <= byteCount; i += 4) {
        uint8_t* px = bits + i;
        const uint8_t a = px[3];
        px[0] = std::min(px[0], a);
        px[1] = std::min(px[1], a);
        px[2] = std::min(px[2], a);
        partial = partial || (a != 0 && a != 255);
        transparent = transparent || a == 0;
    }
    if (partial) {
        return ENUM_ALPHA_TYPE::AlphaComplex;
    }
    return transparent ? ENUM_ALPHA_TYPE::AlphaSimple : ENUM_ALPHA_TYPE::AlphaNone;
}

}  // namespace

const char* HuffmanErrorText(HuffmanError error) {
    switch (error) {
        case HuffmanError::NotHuffman:
            return "not a coded block";
        case HuffmanError::WrongKind:
            return "a block of the other kind";
        case HuffmanError::BadSize:
            return "sizes that do not agree";
        case HuffmanError::BadTable:
            return "code lengths that make no code";
        case HuffmanError::BadCode:
            return "a bit pattern the code does not hold";
        case HuffmanError::Truncated:
            return "the codes end early";
        case HuffmanError::TrailingBytes:
            return "bytes after the last code";
        case HuffmanError::NoImage:
            return "no image";
        case HuffmanError::NoMemory:
            return "out of memory";
    }
    return "unknown error";
}

Result<std::vector<uint8_t>, HuffmanError> APIHuffman::EncodeBytes(std::span<const uint8_t> Data) {
    return Encode(Data, 0, 0);
}

Result<std::vector<uint8_t>, HuffmanError> APIHuffman::EncodeSurface(const API32bppDIB& Surface) {
    if (Surface.Handle() == 0) {
        return Fail(HuffmanError::NoImage);
    }
    const PixelBuffer& pixels = Surface.Pixels();
    return Encode(std::span<const uint8_t>(pixels.Bits(), pixels.ByteSize()), pixels.Width(),
                  pixels.Height());
}

Result<std::vector<uint8_t>, HuffmanError> APIHuffman::DecodeBytes(std::span<const uint8_t> Block) {
    const Result<Header, HuffmanError> header = ReadHeader(Block);
    if (!header) {
        return Fail(header.Error());
    }
    if (header.Value().surface) {
        return Fail(HuffmanError::WrongKind);
    }
    if (!CheckTable(header.Value())) {
        return Fail(HuffmanError::BadTable);
    }
    std::vector<uint8_t> out;
    try {
        out.resize(header.Value().length);
    } catch (const std::bad_alloc&) {
        return Fail(HuffmanError::NoMemory);
    }
    const Result<Done, HuffmanError> unpacked = Unpack(Block, header.Value(), out.data());
    if (!unpacked) {
        return Fail(unpacked.Error());
    }
    return out;
}

Result<Done, HuffmanError> APIHuffman::DecodeSurface(std::span<const uint8_t> Block,
                                                     API32bppDIB& Surface) {
    Surface.DestroyDIB();
    const Result<Header, HuffmanError> header = ReadHeader(Block);
    if (!header) {
        return Fail(header.Error());
    }
    const Header& h = header.Value();
    if (!h.surface) {
        return Fail(HuffmanError::WrongKind);
    }
    if (!CheckTable(h)) {
        return Fail(HuffmanError::BadTable);
    }
    if (!Surface.InitializeDIB(static_cast<int32_t>(h.width), static_cast<int32_t>(h.height))) {
        return Fail(HuffmanError::NoMemory);
    }
    PixelBuffer& pixels = Surface.Pixels();
    const Result<Done, HuffmanError> unpacked = Unpack(Block, h, pixels.Bits());
    if (!unpacked) {
        Surface.DestroyDIB();
        return unpacked;
    }
    Surface.SetAlpha(HoldToAlpha(pixels.Bits(), pixels.ByteSize()));
    return Done{};
}

}  // namespace kelvara
