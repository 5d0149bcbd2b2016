#pragma once

// Hand-made GIF data for the GIF tests: LZW streams that use no string codes
// at all (every pixel sent as itself, widths as a decoder expects them, an
// optional clear code every so often), sub-block framing, and a small file
// builder. giflib decodes such streams too, which the tests check.

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace kelvara::test {

// Codes packed low bit first.
class BitPacker {
public:
    void Put(uint32_t code, int width) {
        buffer |= uint64_t{code} << bits;
        bits += width;
        while (bits >= 8) {
            bytes.push_back(static_cast<uint8_t>(buffer));
            buffer >>= 8;
            bits -= 8;
        }
    }
    std::vector<uint8_t> Finish() {
        if (bits > 0) {
            bytes.push_back(static_cast<uint8_t>(buffer));
        }
        return bytes;
    }

private:
    std::vector<uint8_t> bytes;
    uint64_t buffer = 0;
    int bits = 0;
};

// The data cut into sub-blocks of `block` bytes, with the terminator.
inline std::vector<uint8_t> SubBlocks(const std::vector<uint8_t>& data, size_t block = 255) {
    std::vector<uint8_t> out;
    for (size_t at = 0; at < data.size(); at += block) {
        const size_t n = std::min(block, data.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), data.begin() + static_cast<ptrdiff_t>(at),
                   data.begin() + static_cast<ptrdiff_t>(at + n));
    }
    out.push_back(0);
    return out;
}

// Every pixel as a literal code. A decoder still adds an entry for each
// code after the first, so the width grows as the table would; with
// `clearEvery` 0 the table fills at 4096 and codes stay 12 bits wide from
// there on (no clear code, the "deferred clear" case). `withEnd` adds the
// end code. The codes without sub-blocks.
inline std::vector<uint8_t> LiteralCodes(std::span<const uint8_t> pixels, int minCodeSize,
                                         size_t clearEvery = 0, bool withEnd = true) {
    const uint32_t clear = 1u << minCodeSize;
    BitPacker packer;
    int width = minCodeSize + 1;
    uint32_t next = clear + 2;
    size_t sinceClear = 0;
    packer.Put(clear, width);
    for (const uint8_t pixel : pixels) {
        if (clearEvery > 0 && sinceClear == clearEvery) {
            packer.Put(clear, width);
            width = minCodeSize + 1;
            next = clear + 2;
            sinceClear = 0;
        }
        packer.Put(pixel, width);
        if (sinceClear > 0 && next < 4096) {
            ++next;
            if (next >= (1u << width) && width < 12) {
                ++width;
            }
        }
        ++sinceClear;
    }
    if (withEnd) {
        packer.Put(clear + 1, width);
    }
    return packer.Finish();
}

// Bytes of a GIF put together piece by piece.
struct GifBuilder {
    std::vector<uint8_t> bytes;

    // Signature and a logical screen of w × h, with a global table of the
    // given 0x00RRGGBB colours (a power of two from 2 to 256, or none).
    GifBuilder(const std::string& signature, uint16_t w, uint16_t h,
               const std::vector<uint32_t>& table) {
        bytes.assign(signature.begin(), signature.end());
        Le16(w);
        Le16(h);
        bytes.push_back(table.empty() ? 0 : static_cast<uint8_t>(0x80 | TableBits(table.size())));
        bytes.push_back(0);
        bytes.push_back(0);
        Colors(table);
    }

    GifBuilder& Raw(std::initializer_list<uint8_t> more) {
        bytes.insert(bytes.end(), more);
        return *this;
    }
    GifBuilder& Raw(const std::vector<uint8_t>& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }
    // A graphic control; transparentIndex −1 for none.
    GifBuilder& Control(int transparentIndex) {
        return Raw({0x21, 0xF9, 4, static_cast<uint8_t>(transparentIndex >= 0 ? 1 : 0), 0, 0,
                    static_cast<uint8_t>(transparentIndex >= 0 ? transparentIndex : 0), 0});
    }
    // An image descriptor, its local table (if any) and its pixels as
    // literal codes in sub-blocks.
    GifBuilder& Image(uint16_t w, uint16_t h, std::span<const uint8_t> pixels, int minCodeSize,
                      const std::vector<uint32_t>& localTable = {}, bool interlaced = false) {
        bytes.push_back(0x2C);
        Le16(0);
        Le16(0);
        Le16(w);
        Le16(h);
        bytes.push_back(
            static_cast<uint8_t>((localTable.empty() ? 0 : 0x80 | TableBits(localTable.size())) |
                                 (interlaced ? 0x40 : 0)));
        Colors(localTable);
        bytes.push_back(static_cast<uint8_t>(minCodeSize));
        return Raw(SubBlocks(LiteralCodes(pixels, minCodeSize)));
    }
    GifBuilder& Trailer() { return Raw({0x3B}); }

private:
    static uint8_t TableBits(size_t entries) {
        uint8_t bits = 0;
        while ((size_t{2} << bits) < entries) {
            ++bits;
        }
        return bits;
    }
    void Le16(uint16_t v) {
        bytes.push_back(static_cast<uint8_t>(v));
        bytes.push_back(static_cast<uint8_t>(v >> 8));
    }
    void Colors(const std::vector<uint32_t>& table) {
        for (const uint32_t c : table) {
            bytes.insert(bytes.end(), {static_cast<uint8_t>(c >> 16), static_cast<uint8_t>(c >> 8),
                                       static_cast<uint8_t>(c)});
        }
    }
};

}  // namespace kelvara::test
