#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "kelvara/image/APIHuffman.h"
#include "kelvara/image/detail/ByteIO.h"
#include "tests/image/SurfaceTestSupport.h"

namespace kelvara {
namespace {

using Bytes = std::vector<uint8_t>;
using test::Px;

Bytes Encode(const Bytes& data) {
    Result<Bytes, HuffmanError> coded = APIHuffman::EncodeBytes(data);
    EXPECT_TRUE(coded.Ok());
    return coded.Ok() ? coded.Value() : Bytes{};
}

Bytes Text(const std::string& s) {
    return Bytes(s.begin(), s.end());
}

// Fibonacci counts would give codes of 24 bits and more without a limit.
Bytes FibonacciBytes() {
    Bytes out;
    uint32_t a = 1;
    uint32_t b = 1;
    for (int s = 0; s < 25; ++s) {
        out.insert(out.end(), a, static_cast<uint8_t>(s));
        const uint32_t next = a + b;
        a = b;
        b = next;
    }
    std::shuffle(out.begin(), out.end(), std::mt19937(7));
    return out;
}

TEST(Huffman, BytesRoundTrip) {
    std::mt19937 random(1);
    Bytes noise(65536);
    for (uint8_t& b : noise) {
        b = static_cast<uint8_t>(random());
    }
    Bytes everyValue;
    for (int i = 0; i < 1024; ++i) {
        everyValue.push_back(static_cast<uint8_t>(i));
    }
    const std::string prose =
        "Cadastro de clientes: nome, endereço, CPF e telefone. O cliente pode ter mais de um "
        "endereço; cada endereço tem rua, número, bairro, cidade e CEP.";
    std::string manyProse;
    for (int i = 0; i < 40; ++i) {
        manyProse += prose;
    }
    struct Case {
        const char* name;
        Bytes data;
        size_t maxCodedSize;  // 0: no bound asserted
    } cases[] = {
        {"empty", {}, APIHuffman::kHeaderSize},
        {"one byte", {0x5A}, APIHuffman::kHeaderSize + 1},
        {"all the same", Bytes(1000, 0xFF), APIHuffman::kHeaderSize + 125},
        {"two values", {0, 255, 255, 0, 0, 0, 255, 0, 0}, APIHuffman::kHeaderSize + 2},
        {"every value", everyValue, APIHuffman::kHeaderSize + 1024},
        {"random", noise, 0},
        {"text", Text(manyProse), manyProse.size() * 6 / 10},
        {"skewed counts", FibonacciBytes(), 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Bytes coded = Encode(c.data);
        if (c.maxCodedSize != 0) {
            EXPECT_LE(coded.size(), c.maxCodedSize);
        }
        Result<Bytes, HuffmanError> decoded = APIHuffman::DecodeBytes(coded);
        ASSERT_TRUE(decoded.Ok()) << HuffmanErrorText(decoded.Error());
        EXPECT_EQ(decoded.Value(), c.data);
    }
}

// "aab": a (twice) and b both get one-bit codes, a = 0 and b = 1 in symbol
// order, so the codes are the bits 001.
TEST(Huffman, BlockLayoutIsMarkSizesTableAndHighBitFirstCodes) {
    const Bytes coded = Encode(Text("aab"));
    ASSERT_EQ(coded.size(), APIHuffman::kHeaderSize + 1);
    EXPECT_EQ(Bytes(coded.begin(), coded.begin() + 4), Text("KVHF"));
    EXPECT_EQ(detail::ReadLE32(coded, 4), 3u);
    EXPECT_EQ(detail::ReadLE32(coded, 8), 0u);
    EXPECT_EQ(detail::ReadLE32(coded, 12), 0u);
    for (size_t i = 16; i < APIHuffman::kHeaderSize; ++i) {
        // 'a' is 97: the high half of table byte 48; 'b' the low half of 49.
        const uint8_t want = i == 16 + 48 ? 0x10 : i == 16 + 49 ? 0x01 : 0;
        EXPECT_EQ(coded[i], want) << "table byte " << i - 16;
    }
    EXPECT_EQ(coded.back(), 0x20);
}

TEST(Huffman, SurfaceRoundTripKeepsPixelsAndWorksOutAlpha) {
    std::mt19937 random(3);
    API32bppDIB mixed;
    test::FillRandom(mixed, 7, 5, random);
    API32bppDIB opaque;
    test::Fill(opaque, 2, 2, {{1, 2, 3, 255}, {4, 5, 6, 255}, {7, 8, 9, 255}, {0, 0, 0, 255}});
    API32bppDIB cutOut;
    test::Fill(cutOut, 2, 1, {{9, 9, 9, 255}});
    struct Case {
        const char* name;
        API32bppDIB* surface;
        ENUM_ALPHA_TYPE want;
    } cases[] = {
        {"mixed", &mixed, ENUM_ALPHA_TYPE::AlphaComplex},
        {"opaque", &opaque, ENUM_ALPHA_TYPE::AlphaNone},
        {"opaque and clear", &cutOut, ENUM_ALPHA_TYPE::AlphaSimple},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Result<Bytes, HuffmanError> coded = APIHuffman::EncodeSurface(*c.surface);
        ASSERT_TRUE(coded.Ok());
        EXPECT_EQ(detail::ReadLE32(coded.Value(), 8), uint32_t(c.surface->Width()));
        EXPECT_EQ(detail::ReadLE32(coded.Value(), 12), uint32_t(c.surface->Height()));
        API32bppDIB back;
        ASSERT_TRUE(APIHuffman::DecodeSurface(coded.Value(), back).Ok());
        EXPECT_EQ(test::Read(back), test::Read(*c.surface));
        EXPECT_EQ(back.Alpha(), c.want);
        EXPECT_EQ(back.ImageType(), ENUM_IMAGE_FORMAT::ImageNone);
    }
}

TEST(Huffman, DecodedColourIsHeldToItsAlpha) {
    API32bppDIB broken;
    test::Fill(broken, 2, 1, {{200, 10, 90, 50}, {1, 0, 0, 0}});
    Result<Bytes, HuffmanError> coded = APIHuffman::EncodeSurface(broken);
    ASSERT_TRUE(coded.Ok());
    API32bppDIB back;
    ASSERT_TRUE(APIHuffman::DecodeSurface(coded.Value(), back).Ok());
    EXPECT_EQ(test::Read(back), (std::vector<Px>{{50, 10, 50, 50}, test::kZero}));
}

// A valid block with one field changed.
Bytes With(Bytes block, size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), block.begin() + static_cast<ptrdiff_t>(at));
    return block;
}

TEST(Huffman, DamagedBlocksAreRejectedWithTheirReason) {
    const Bytes text = Encode(Text("abracadabra, abracadabra"));
    API32bppDIB pixel;
    test::Fill(pixel, 1, 1, {{1, 2, 3, 4}});
    const Bytes surface = APIHuffman::EncodeSurface(pixel).Value();
    Bytes trailing = text;
    trailing.push_back(0);
    // 'a' alone with a two-bit code leaves 01, 10 and 11 unused; 0xC0 is 11.
    Bytes incomplete(APIHuffman::kHeaderSize, 0);
    std::copy_n("KVHF\x01\0\0\0", 8, incomplete.begin());
    incomplete[16 + 48] = 0x20;
    incomplete.push_back(0xC0);
    struct Case {
        const char* name;
        Bytes block;
        bool asSurface;
        HuffmanError want;
    } cases[] = {
        {"header cut short", Bytes(text.begin(), text.begin() + 143), false,
         HuffmanError::NotHuffman},
        {"other mark", With(text, 0, {'K', 'V', 'H', 'G'}), false, HuffmanError::NotHuffman},
        {"surface read as bytes", surface, false, HuffmanError::WrongKind},
        {"bytes read as a surface", text, true, HuffmanError::WrongKind},
        {"width without height", With(text, 8, {3}), false, HuffmanError::BadSize},
        {"size not width x height x 4", With(surface, 4, {8}), true, HuffmanError::BadSize},
        {"sides whose product passes 64 bits",
         With(surface, 8, {0, 0xFF, 0xFF, 0x7F, 0, 0xFF, 0xFF, 0x7F}), true, HuffmanError::BadSize},
        {"length past what the codes hold", With(text, 4, {0, 1}), false, HuffmanError::Truncated},
        {"oversubscribed lengths", With(text, 16, {0x11, 0x01}), false, HuffmanError::BadTable},
        {"no codes for a non-empty block", With(text, 16, Bytes(128, 0)), false,
         HuffmanError::BadTable},
        {"unused code met", incomplete, false, HuffmanError::BadCode},
        {"last code byte missing", Bytes(text.begin(), text.end() - 1), false,
         HuffmanError::Truncated},
        {"byte after the codes", trailing, false, HuffmanError::TrailingBytes},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.asSurface) {
            API32bppDIB out;
            out.InitializeDIB(3, 3);
            const Result<Done, HuffmanError> r = APIHuffman::DecodeSurface(c.block, out);
            ASSERT_FALSE(r.Ok());
            EXPECT_EQ(r.Error(), c.want) << "have " << HuffmanErrorText(r.Error());
            EXPECT_EQ(out.Handle(), 0u);
        } else {
            const Result<Bytes, HuffmanError> r = APIHuffman::DecodeBytes(c.block);
            ASSERT_FALSE(r.Ok());
            EXPECT_EQ(r.Error(), c.want) << "have " << HuffmanErrorText(r.Error());
        }
    }
}

TEST(Huffman, EveryTruncationFails) {
    const Bytes coded = Encode(Text("the quick brown fox jumps over the lazy dog"));
    for (size_t n = 0; n < coded.size(); ++n) {
        EXPECT_FALSE(APIHuffman::DecodeBytes(Bytes(coded.begin(), coded.begin() + n)).Ok())
            << "length " << n;
    }
}

}  // namespace
}  // namespace kelvara
