#pragma once

// APIHuffman: the engine's own byte coder, for image lists on systems where
// no PNG can be compressed. One static Huffman code per block, built from the
// block's byte counts. It only ever reads what it wrote itself.
//
// Block layout (all numbers little-endian):
//   0    4    mark "KVHF"
//   4    4    length of the coded bytes
//   8    4    width of the surface, 0 for a plain byte array
//   12   4    height of the surface, 0 for a plain byte array
//   16   128  code lengths, two symbols a byte (symbol 2i in the low four
//             bits), 0 = the byte value does not occur
//   144  ...  the codes, canonical, packed from the high bit of each byte,
//             the last byte padded with zero bits
// A surface's bytes are its pixel memory as it lies, bottom row first.

#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/base/Result.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

enum class HuffmanError {
    NotHuffman,     // no mark, or shorter than the header
    WrongKind,      // a surface block read as bytes, or the other way round
    BadSize,        // sizes that do not agree, or beyond kMaxBytes
    BadTable,       // code lengths that make no code
    BadCode,        // a bit pattern the code does not hold
    Truncated,      // the codes end before the length is reached
    TrailingBytes,  // whole bytes left over after the last code
    NoImage,        // a surface without pixels to encode
    NoMemory,
};

const char* HuffmanErrorText(HuffmanError error);

class APIHuffman {
public:
    // The most bytes one block codes: a surface's pixel memory must fit a
    // signed 32-bit count.
    static constexpr int64_t kMaxBytes = INT32_MAX;
    static constexpr size_t kHeaderSize = 144;

    static Result<std::vector<uint8_t>, HuffmanError> EncodeBytes(std::span<const uint8_t> Data);
    static Result<std::vector<uint8_t>, HuffmanError> EncodeSurface(const API32bppDIB& Surface);

    static Result<std::vector<uint8_t>, HuffmanError> DecodeBytes(std::span<const uint8_t> Block);
    // On success the surface holds the decoded pixels, with each colour byte
    // held to its alpha so that damage cannot break premultiplied form, and
    // its alpha type worked out from them; ImageType is ImageNone, as for
    // any surface built from raw pixels. On failure it holds nothing.
    static Result<Done, HuffmanError> DecodeSurface(std::span<const uint8_t> Block,
                                                    API32bppDIB& Surface);
};

}  // namespace kelvara
