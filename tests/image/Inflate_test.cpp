#include "kelvara/image/Inflate.h"

#include "kelvara/image/Zlib.h"
#include "tests/image/IdatReader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace kelvara {
namespace {

using Bytes = std::vector<uint8_t>;

// Test data of the shapes inflate meets: noise (stored or literal-heavy),
// text (many short matches), smooth rows (PNG-like), short-period runs
// (overlapping copies), and a block repeated 32 KiB later.
enum class Shape { Noise, Text, Smooth, Runs, FarRepeat };

Bytes Make(Shape shape, size_t size, uint32_t seed = 1) {
    std::mt19937 random(seed);
    Bytes data(size);
    static const char* const kWords[] = {"cadastro ", "cliente ",    "de ",     "nome ",  "rua ",
                                         "0123 ",     "S\xc3\xa3o ", "Paulo\n", "valor ", "total "};
    size_t i = 0;
    while (i < size) {
        switch (shape) {
            case Shape::Noise:
                data[i++] = static_cast<uint8_t>(random());
                break;
            case Shape::Text:
                for (const char* w = kWords[random() % 10]; *w != 0 && i < size; ++w) {
                    data[i++] = static_cast<uint8_t>(*w);
                }
                break;
            case Shape::Smooth:
                data[i] = static_cast<uint8_t>((i % 997) / 4 + random() % 3);
                ++i;
                break;
            case Shape::Runs: {
                const size_t period = 1 + random() % 9;
                const size_t run = 3 + random() % 400;
                for (size_t k = 0; k < run && i < size; ++k, ++i) {
                    data[i] = k < period ? static_cast<uint8_t>(random()) : data[i - period];
                }
                break;
            }
            case Shape::FarRepeat:
                data[i] = i < 32768 ? static_cast<uint8_t>(random()) : data[i - 32768];
                ++i;
                break;
        }
    }
    return data;
}

// zlib's deflate; windowBits -15 gives a raw stream, 15 a zlib stream.
Bytes Deflate(const Bytes& data, int level, int strategy, int windowBits) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, level, Z_DEFLATED, windowBits, 8, strategy), Z_OK);
    Bytes out(deflateBound(&stream, data.size()));
    stream.next_in = const_cast<uint8_t*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

Bytes Concat(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// zlib's raw inflate into a buffer of `size`: the bytes when the stream ends
// within it, nothing otherwise.
std::optional<Bytes> ZlibInflateRaw(const Bytes& stream, size_t size) {
    z_stream z{};
    EXPECT_EQ(inflateInit2(&z, -15), Z_OK);
    Bytes out(size);
    z.next_in = const_cast<uint8_t*>(stream.data());
    z.avail_in = static_cast<uInt>(stream.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    const int status = inflate(&z, Z_FINISH);
    out.resize(z.total_out);
    inflateEnd(&z);
    return status == Z_STREAM_END ? std::optional<Bytes>(out) : std::nullopt;
}

struct Decoded {
    std::optional<InflateError> error;
    Bytes bytes;
};

Decoded Ours(const Bytes& stream, size_t outSize, bool zlibWrapper = false) {
    Bytes out(outSize);
    const auto result = zlibWrapper ? InflateZlib(stream, out) : InflateRaw(stream, out);
    if (!result) {
        return {result.Error(), {}};
    }
    out.resize(result.Value());
    return {std::nullopt, out};
}

std::string Describe(const std::optional<InflateError>& error) {
    return error ? InflateErrorText(*error) : "success";
}

TEST(Inflate, DecodesWhatZlibWritesAtEveryLevelAndStrategy) {
    // Z_FIXED writes no dynamic block; level 0 only stored ones.
    const int strategies[] = {Z_DEFAULT_STRATEGY, Z_FIXED, Z_HUFFMAN_ONLY, Z_RLE, Z_FILTERED};
    const Shape shapes[] = {Shape::Noise, Shape::Text, Shape::Smooth, Shape::Runs};
    const size_t sizes[] = {0, 1, 300, 70000};
    for (const int strategy : strategies) {
        for (int level = 0; level <= 9; ++level) {
            for (const Shape shape : shapes) {
                for (const size_t size : sizes) {
                    SCOPED_TRACE("strategy " + std::to_string(strategy) + " level " +
                                 std::to_string(level) + " shape " +
                                 std::to_string(static_cast<int>(shape)) + " size " +
                                 std::to_string(size));
                    const Bytes data = Make(shape, size, static_cast<uint32_t>(size + level));
                    const Bytes raw = Deflate(data, level, strategy, -15);
                    const int firstType = (raw[0] >> 1) & 3;
                    if (level == 0) {
                        ASSERT_EQ(firstType, 0);
                    } else if (strategy == Z_FIXED) {
                        ASSERT_NE(firstType, 2);
                    }
                    const Decoded ours = Ours(raw, size);
                    ASSERT_EQ(Describe(ours.error), "success");
                    ASSERT_TRUE(ours.bytes == data);
                    const Decoded wrapped = Ours(Deflate(data, level, strategy, 15), size, true);
                    ASSERT_EQ(Describe(wrapped.error), "success");
                    ASSERT_TRUE(wrapped.bytes == data);
                }
            }
        }
    }
}

TEST(Inflate, DecodesLargeStreamsOfManyBlocks) {
    for (const Shape shape :
         {Shape::Noise, Shape::Text, Shape::Smooth, Shape::Runs, Shape::FarRepeat}) {
        for (const int level : {0, 1, 6, 9}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(shape)) + " level " +
                         std::to_string(level));
            const Bytes data = Make(shape, 1 << 20, 7);
            const Decoded ours = Ours(Deflate(data, level, Z_DEFAULT_STRATEGY, -15), data.size());
            ASSERT_EQ(Describe(ours.error), "success");
            ASSERT_TRUE(ours.bytes == data);
        }
    }
}

using test::ReadIdat;

TEST(Inflate, DecodesRealPngDataAsZlibDoes) {
    const char* const files[] = {"png-bench/hat.png",           "png-bench/harvesters.png",
                                 "png-bench/bricks-dither.png", "pngsuite/basn6a16.png",
                                 "pngsuite/basi3p08.png",       "pngsuite/basn0g01.png"};
    for (const char* name : files) {
        SCOPED_TRACE(name);
        const Bytes idat = ReadIdat(std::string(KELVARA_IMAGE_DATA) + "/" + name);
        ASSERT_GT(idat.size(), 2u);
        const Bytes raw(idat.begin() + 2, idat.end());
        const std::optional<Bytes> want = ZlibInflateRaw(raw, 64 << 20);
        ASSERT_TRUE(want.has_value());
        const Decoded ours = Ours(idat, want->size(), true);
        ASSERT_EQ(Describe(ours.error), "success");
        ASSERT_TRUE(ours.bytes == *want);
    }
}

TEST(Inflate, OutputBufferOneByteShortFailsAndExactOrLargerSucceeds) {
    // Each stream ends in a different way: stored bytes, a literal, a match.
    const Bytes text = Make(Shape::Text, 5000);
    Bytes endsInMatch = Make(Shape::Noise, 600);
    endsInMatch.insert(endsInMatch.end(), endsInMatch.begin(), endsInMatch.begin() + 300);
    const Bytes streams[][2] = {{Deflate(text, 0, Z_DEFAULT_STRATEGY, -15), text},
                                {Deflate(text, 9, Z_FIXED, -15), text},
                                {Deflate(text, 6, Z_DEFAULT_STRATEGY, -15), text},
                                {Deflate(endsInMatch, 6, Z_DEFAULT_STRATEGY, -15), endsInMatch}};
    for (const auto& [stream, data] : streams) {
        EXPECT_EQ(Describe(Ours(stream, data.size() - 1).error),
                  Describe(InflateError::OutputOverrun));
        const Decoded exact = Ours(stream, data.size());
        EXPECT_TRUE(!exact.error && exact.bytes == data);
        const Decoded larger = Ours(stream, data.size() + 1000);
        EXPECT_TRUE(!larger.error && larger.bytes == data);
    }
}

TEST(Inflate, EveryTruncationFails) {
    const Bytes text = Make(Shape::Text, 700);
    const Bytes streams[] = {
        Deflate(text, 0, Z_DEFAULT_STRATEGY, -15), Deflate(text, 6, Z_FIXED, -15),
        Deflate(text, 6, Z_DEFAULT_STRATEGY, -15), Deflate({}, 6, Z_FIXED, -15)};
    for (const Bytes& stream : streams) {
        for (size_t cut = 0; cut < stream.size(); ++cut) {
            const Bytes part(stream.begin(), stream.begin() + cut);
            ASSERT_EQ(Describe(Ours(part, text.size()).error), Describe(InflateError::Truncated))
                << "cut at " << cut << " of " << stream.size();
        }
    }
}

TEST(Inflate, ZlibWrapperHeaderAndTrailerAreNotRead) {
    const Bytes text = Make(Shape::Text, 2000);
    Bytes stream = Deflate(text, 6, Z_DEFAULT_STRATEGY, 15);
    stream[0] = 0xFF;                  // a header whose check bits are wrong
    stream.resize(stream.size() - 4);  // no Adler-32
    const Decoded ours = Ours(stream, text.size(), true);
    EXPECT_TRUE(!ours.error && ours.bytes == text);
    EXPECT_EQ(Describe(Ours(Bytes{0x78}, 10, true).error), Describe(InflateError::Truncated));
}

// Zlib::Uncompress (zlib, or libdeflate when built with it) and the private
// inflate give the same answers on what a PNG reader meets, but for the
// trailer, which only the first reads.
TEST(Inflate, AgreesWithZlibUncompressButForTheTrailer) {
    const Bytes text = Make(Shape::Text, 3000);
    const Bytes stream = Deflate(text, 6, Z_DEFAULT_STRATEGY, 15);
    Bytes badTrailer = stream;
    badTrailer.back() ^= 1;
    struct Case {
        const char* name;
        Bytes stream;
        size_t outSize;
        int64_t wantZlib;
        int64_t wantOurs;
    };
    const Case cases[] = {
        {"exact buffer", stream, 3000, 3000, 3000},
        {"larger buffer", stream, 4000, 3000, 3000},
        {"buffer one byte short", stream, 2999, -1, -1},
        {"bytes after the stream", Concat(stream, {1, 2, 3}), 3000, 3000, 3000},
        {"cut inside the data", Bytes(stream.begin(), stream.end() - 8), 3000, -1, -1},
        {"no trailer", Bytes(stream.begin(), stream.end() - 4), 3000, -1, 3000},
        {"wrong trailer", badTrailer, 3000, -1, 3000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes out(c.outSize);
        EXPECT_EQ(Zlib::Uncompress(c.stream, out), c.wantZlib);
        const auto ours = InflateZlib(c.stream, out);
        EXPECT_EQ(ours ? static_cast<int64_t>(ours.Value()) : -1, c.wantOurs);
        if (ours) {
            EXPECT_TRUE(std::equal(text.begin(), text.end(), out.begin()));
        }
    }
}

// Hand-made streams: bits are written lowest first, Huffman codes first bit
// first, as the format packs them.
class BitWriter {
public:
    BitWriter& Put(uint32_t value, unsigned count) {
        for (unsigned i = 0; i < count; ++i, ++bitCount) {
            if (bitCount % 8 == 0) {
                bytes.push_back(0);
            }
            bytes.back() |= ((value >> i) & 1) << (bitCount % 8);
        }
        return *this;
    }
    BitWriter& Code(uint32_t code, unsigned length) {
        for (unsigned i = length; i-- > 0;) {
            Put(code >> i, 1);
        }
        return *this;
    }
    // A symbol of the canonical code with these lengths.
    BitWriter& Symbol(const std::vector<uint8_t>& lengths, size_t symbol) {
        uint32_t code = 0;
        for (unsigned length = 1; length <= 15; ++length, code <<= 1) {
            for (size_t s = 0; s < lengths.size(); ++s) {
                if (lengths[s] == length) {
                    if (s == symbol) {
                        return Code(code, length);
                    }
                    ++code;
                }
            }
        }
        ADD_FAILURE() << "symbol " << symbol << " has no code";
        return *this;
    }
    // A dynamic block header sending each length with a plain 4-bit code
    // (code-length symbols 0 to 15 all of length 4).
    BitWriter& DynamicHeader(bool final, const std::vector<uint8_t>& litLen,
                             const std::vector<uint8_t>& dist) {
        Put(final, 1).Put(2, 2).Put(static_cast<uint32_t>(litLen.size() - 257), 5);
        Put(static_cast<uint32_t>(dist.size() - 1), 5).Put(15, 4);
        static const int kOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                       11, 4,  12, 3, 13, 2, 14, 1, 15};
        for (const int symbol : kOrder) {
            Put(symbol < 16 ? 4 : 0, 3);
        }
        for (const uint8_t length : litLen) {
            Code(length, 4);
        }
        for (const uint8_t length : dist) {
            Code(length, 4);
        }
        return *this;
    }
    // Fixed-code symbols.
    BitWriter& Fixed(unsigned symbol) {
        if (symbol < 144) {
            return Code(0x30 + symbol, 8);
        }
        if (symbol < 256) {
            return Code(0x190 + symbol - 144, 9);
        }
        if (symbol < 280) {
            return Code(symbol - 256, 7);
        }
        return Code(0xC0 + symbol - 280, 8);
    }

    Bytes bytes;
    unsigned bitCount = 0;
};

std::vector<uint8_t> Lengths(size_t count, std::initializer_list<std::pair<size_t, uint8_t>> set) {
    std::vector<uint8_t> lengths(count, 0);
    for (const auto& [symbol, length] : set) {
        lengths[symbol] = length;
    }
    return lengths;
}

// A final fixed-code block, header written.
BitWriter FixedBlock() {
    return BitWriter().Put(1, 1).Put(1, 2);
}

// A final dynamic block of 257 + 1 lengths whose code-length code gives
// lengths only to the first four symbols sent: 16, 17, 18 and 0.
BitWriter CodeLengthCode(uint32_t for16, uint32_t for17, uint32_t for18, uint32_t for0) {
    BitWriter writer;
    writer.Put(1, 1).Put(2, 2).Put(0, 5).Put(0, 5).Put(0, 4);
    writer.Put(for16, 3).Put(for17, 3).Put(for18, 3).Put(for0, 3);
    return writer;
}

Bytes Stored(bool final, const Bytes& data, uint16_t checkFlip = 0) {
    Bytes block = {static_cast<uint8_t>(final), static_cast<uint8_t>(data.size()),
                   static_cast<uint8_t>(data.size() >> 8)};
    const uint16_t check = static_cast<uint16_t>(~data.size() ^ checkFlip);
    block.push_back(static_cast<uint8_t>(check));
    block.push_back(static_cast<uint8_t>(check >> 8));
    block.insert(block.end(), data.begin(), data.end());
    return block;
}

TEST(Inflate, HandMadeStreamsGetZlibsVerdict) {
    // Literal "a", EOB, and a 2-code distance code: the smallest complete
    // dynamic code that a match can use.
    const auto litEob = Lengths(257, {{'a', 1}, {256, 1}});
    const auto litEobLen = Lengths(258, {{'a', 1}, {256, 2}, {257, 2}});
    const auto distTwo = Lengths(2, {{0, 1}, {1, 1}});
    const Bytes noise = Make(Shape::Noise, 32768);
    struct Case {
        const char* name;
        Bytes stream;
        std::optional<InflateError> want;
    };
    // clang-format off
    const Case cases[] = {
        {"block type 3", BitWriter().Put(1, 1).Put(3, 2).bytes, InflateError::BadBlockType},
        {"stored NLEN not the complement",
         Stored(true, {1, 2, 3}, 0x0100), InflateError::BadStoredLength},
        {"empty stored block", Stored(true, {}), std::nullopt},
        {"stored then fixed",
         Concat(Stored(false, {'x'}), FixedBlock().Fixed(257).Code(0, 5).Fixed(256).bytes),
         std::nullopt},
        {"distance before the output",
         FixedBlock().Fixed('a').Fixed(257).Code(1, 5).Fixed(256).bytes, InflateError::BadDistance},
        {"distance reaching the first byte",
         FixedBlock().Fixed('a').Fixed('b').Fixed(257).Code(1, 5).Fixed(256).bytes, std::nullopt},
        {"fixed length symbol 286", FixedBlock().Fixed(286).bytes, InflateError::BadSymbol},
        {"fixed length symbol 287", FixedBlock().Fixed(287).bytes, InflateError::BadSymbol},
        {"fixed distance symbol 30",
         FixedBlock().Fixed('a').Fixed(257).Code(30, 5).Fixed(256).bytes, InflateError::BadSymbol},
        {"distance 32768, length 258",
         Concat(Stored(false, noise),
                FixedBlock().Fixed(285).Code(29, 5).Put(8191, 13).Fixed(256).bytes),
         std::nullopt},
        {"distance 32768 after 32767 bytes",
         Concat(Stored(false, Bytes(noise.begin() + 1, noise.end())),
                FixedBlock().Fixed(285).Code(29, 5).Put(8191, 13).Fixed(256).bytes),
         InflateError::BadDistance},
        {"287 literal/length codes",
         BitWriter().DynamicHeader(true, Lengths(287, {{256, 1}, {0, 1}}), distTwo).bytes,
         InflateError::BadCodeLengths},
        {"31 distance codes",
         BitWriter().DynamicHeader(true, litEob, Lengths(31, {{0, 1}, {1, 1}})).bytes,
         InflateError::BadCodeLengths},
        {"no end-of-block code",
         BitWriter().DynamicHeader(true, Lengths(257, {{'a', 1}, {'b', 1}}), distTwo).bytes,
         InflateError::BadCodeLengths},
        {"over-subscribed literal code",
         BitWriter().DynamicHeader(true, Lengths(257, {{'a', 1}, {'b', 1}, {256, 1}}), distTwo)
             .bytes, InflateError::BadCodeLengths},
        {"incomplete literal code",
         BitWriter().DynamicHeader(true, Lengths(257, {{'a', 1}, {256, 2}}), distTwo).bytes,
         InflateError::BadCodeLengths},
        {"incomplete distance code",
         BitWriter().DynamicHeader(true, litEob, Lengths(3, {{0, 1}, {1, 2}})).bytes,
         InflateError::BadCodeLengths},
        {"single literal code: only EOB",
         BitWriter().DynamicHeader(true, Lengths(257, {{256, 1}}), distTwo).Code(0, 1).bytes,
         std::nullopt},
        {"single literal code's unused bit",
         BitWriter().DynamicHeader(true, Lengths(257, {{256, 1}}), distTwo).Code(1, 1).bytes,
         InflateError::BadSymbol},
        {"single 2-bit literal code",
         BitWriter().DynamicHeader(true, Lengths(257, {{256, 2}}), distTwo).bytes,
         InflateError::BadCodeLengths},
        {"empty distance code, literals only",
         BitWriter().DynamicHeader(true, litEob, {0}).Symbol(litEob, 'a').Symbol(litEob, 256).bytes,
         std::nullopt},
        {"empty distance code used",
         BitWriter().DynamicHeader(true, litEobLen, {0}).Symbol(litEobLen, 'a')
             .Symbol(litEobLen, 257).Code(0, 1).bytes, InflateError::BadSymbol},
        {"single distance code used",
         BitWriter().DynamicHeader(true, litEobLen, {1}).Symbol(litEobLen, 'a')
             .Symbol(litEobLen, 257).Code(0, 1).Symbol(litEobLen, 256).bytes, std::nullopt},
        {"single distance code's unused bit",
         BitWriter().DynamicHeader(true, litEobLen, {1}).Symbol(litEobLen, 'a')
             .Symbol(litEobLen, 257).Code(1, 1).bytes, InflateError::BadSymbol},
        // Symbols 0 (code 0) and 16 (code 1); the first length is a repeat.
        {"repeat with nothing to repeat",
         CodeLengthCode(1, 0, 0, 1).Code(1, 1).Put(0, 2).bytes, InflateError::BadCodeLengths},
        // Symbols 0 and 18: two runs of 138 zeros pass the 258 lengths.
        {"repeat past the last length",
         CodeLengthCode(0, 0, 1, 1).Code(1, 1).Put(127, 7).Code(1, 1).Put(127, 7).bytes,
         InflateError::BadCodeLengths},
        {"incomplete code-length code",
         CodeLengthCode(0, 0, 0, 1).bytes, InflateError::BadCodeLengths},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Decoded ours = Ours(c.stream, 40000);
        EXPECT_EQ(Describe(ours.error), Describe(c.want));
        const std::optional<Bytes> zlib = ZlibInflateRaw(c.stream, 40000);
        EXPECT_EQ(zlib.has_value(), !c.want.has_value());
        if (zlib && !ours.error) {
            EXPECT_TRUE(ours.bytes == *zlib);
        }
    }
}

}  // namespace
}  // namespace kelvara
