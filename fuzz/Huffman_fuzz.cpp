// Arbitrary bytes through the Huffman decoder, and through the encoder.
//
// Input: the first byte's low bit picks the kind of block (0 bytes, 1 a
// surface); the rest is the block. Traps (abort) when one of these breaks:
// - A block that decodes, encoded again and decoded, gives the same bytes
//   (or the same pixels and alpha type).
// - A decoded surface is premultiplied, and its alpha type says what its
//   alpha bytes hold.
// - A failed surface decode leaves no image.
// - The block itself, encoded as bytes, decodes back to itself.

#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/image/APIHuffman.h"

#include "FuzzInput.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::APIHuffman;
using kelvara::ENUM_ALPHA_TYPE;
using kelvara::fuzz::Check;

std::vector<uint8_t> BitsOf(const API32bppDIB& surface) {
    const uint8_t* bits = surface.BitsPointer();
    return std::vector<uint8_t>(bits, bits + surface.Pixels().ByteSize());
}

void CheckSurface(const API32bppDIB& surface) {
    const std::vector<uint8_t> bits = BitsOf(surface);
    bool partial = false;
    bool clear = false;
    for (size_t i = 0; i < bits.size(); i += 4) {
        const uint8_t a = bits[i + 3];
        Check(bits[i] <= a && bits[i + 1] <= a && bits[i + 2] <= a);
        partial = partial || (a != 0 && a != 255);
        clear = clear || a == 0;
    }
    const ENUM_ALPHA_TYPE want = partial ? ENUM_ALPHA_TYPE::AlphaComplex
                                 : clear ? ENUM_ALPHA_TYPE::AlphaSimple
                                         : ENUM_ALPHA_TYPE::AlphaNone;
    Check(surface.Alpha() == want);
}

void Bytes(std::span<const uint8_t> block) {
    const auto decoded = APIHuffman::DecodeBytes(block);
    if (!decoded) {
        return;
    }
    const auto coded = APIHuffman::EncodeBytes(decoded.Value());
    Check(coded.Ok());
    const auto again = APIHuffman::DecodeBytes(coded.Value());
    Check(again.Ok() && again.Value() == decoded.Value());
}

void Surface(std::span<const uint8_t> block) {
    API32bppDIB surface;
    if (!APIHuffman::DecodeSurface(block, surface)) {
        Check(surface.Handle() == 0);
        return;
    }
    CheckSurface(surface);
    const auto coded = APIHuffman::EncodeSurface(surface);
    Check(coded.Ok());
    API32bppDIB again;
    Check(APIHuffman::DecodeSurface(coded.Value(), again).Ok());
    Check(again.Width() == surface.Width() && again.Height() == surface.Height());
    Check(BitsOf(again) == BitsOf(surface) && again.Alpha() == surface.Alpha());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    const std::span<const uint8_t> block(data + 1, size - 1);
    if ((data[0] & 1) != 0) {
        Surface(block);
    } else {
        Bytes(block);
    }
    const auto coded = APIHuffman::EncodeBytes(block);
    Check(coded.Ok());
    const auto back = APIHuffman::DecodeBytes(coded.Value());
    Check(back.Ok() &&
          std::equal(back.Value().begin(), back.Value().end(), block.begin(), block.end()));
    return 0;
}
