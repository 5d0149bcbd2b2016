#include "kelvara/image/png/APIPNGParser.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "LibpngOracle.h"
#include "kelvara/image/Zlib.h"

namespace kelvara {
namespace {

using Bytes = std::vector<uint8_t>;
using Pixel = std::array<uint8_t, 4>;  // blue, green, red, alpha as stored

const std::filesystem::path kSuite = std::filesystem::path(KELVARA_IMAGE_DATA) / "pngsuite";

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// --- A tiny PNG writer for hand-made files ----------------------------------------

struct Chunk {
    Chunk(std::string type, Bytes data) : type(std::move(type)), data(std::move(data)) {}

    std::string type;
    Bytes data;
    std::optional<uint32_t> crc;  // replaces the computed CRC when set
};

void PutBE32(Bytes& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<uint8_t>(v >> shift));
    }
}

Bytes MakePng(const std::vector<Chunk>& chunks) {
    Bytes out = {137, 'P', 'N', 'G', 13, 10, 26, 10};
    for (const Chunk& chunk : chunks) {
        PutBE32(out, static_cast<uint32_t>(chunk.data.size()));
        const size_t typeAt = out.size();
        out.insert(out.end(), chunk.type.begin(), chunk.type.end());
        out.insert(out.end(), chunk.data.begin(), chunk.data.end());
        PutBE32(out, chunk.crc.value_or(static_cast<uint32_t>(
                         crc32(0, out.data() + typeAt, static_cast<uInt>(out.size() - typeAt)))));
    }
    return out;
}

Chunk Ihdr(uint32_t width, uint32_t height, uint8_t depth, uint8_t colorType,
           uint8_t interlace = 0) {
    Bytes data;
    PutBE32(data, width);
    PutBE32(data, height);
    data.insert(data.end(), {depth, colorType, 0, 0, interlace});
    return {"IHDR", data};
}

Bytes Deflate(const Bytes& raw, int level = 9) {
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    Bytes out(size);
    compress2(out.data(), &size, raw.data(), static_cast<uLong>(raw.size()), level);
    out.resize(size);
    return out;
}

// Rows given without their filter byte, each stored with filter 0.
Bytes Unfiltered(const std::vector<Bytes>& rows) {
    Bytes raw;
    for (const Bytes& row : rows) {
        raw.push_back(0);
        raw.insert(raw.end(), row.begin(), row.end());
    }
    return raw;
}

Chunk Idat(const std::vector<Bytes>& rows) {
    return {"IDAT", Deflate(Unfiltered(rows))};
}

const Chunk kIend = {"IEND", {}};

// --- Decoding -------------------------------------------------------------------

struct Outcome {
    bool loaded = false;
    int32_t width = 0;
    int32_t height = 0;
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
    ENUM_IMAGE_FORMAT type = ENUM_IMAGE_FORMAT::ImageError;
    Bytes bits;  // as the surface holds them: bottom row first

    // The picture's pixels, top row first.
    std::vector<Pixel> TopDown() const {
        std::vector<Pixel> pixels;
        for (int32_t y = height - 1; y >= 0; --y) {
            for (int32_t x = 0; x < width; ++x) {
                const uint8_t* p = bits.data() + (size_t(y) * width + x) * 4;
                pixels.push_back({p[0], p[1], p[2], p[3]});
            }
        }
        return pixels;
    }
};

Outcome Snapshot(bool loaded, API32bppDIB& surface) {
    Outcome outcome;
    outcome.loaded = loaded;
    outcome.width = surface.Width();
    outcome.height = surface.Height();
    outcome.alpha = surface.Alpha();
    outcome.type = surface.ImageType();
    if (loaded) {
        outcome.bits.assign(surface.BitsPointer(),
                            surface.BitsPointer() + surface.Pixels().ByteSize());
    } else {
        // A failed load leaves no image at all.
        EXPECT_EQ(surface.Handle(), 0u);
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
    }
    return outcome;
}

Outcome Decode(const Bytes& file, bool withZlib) {
    const ZlibScope zlib(withZlib);
    API32bppDIB surface;
    // Something to lose: a failed load must not leave it behind.
    surface.InitializeDIB(3, 3);
    APIPNGParser parser;
    const bool loaded = parser.LoadStream(file, surface);
    return Snapshot(loaded, surface);
}

Outcome DecodeFile(const Bytes& file, bool withZlib) {
    const ZlibScope zlib(withZlib);
    std::FILE* f = std::tmpfile();
    // The load starts at the file's current position, after these bytes.
    const Bytes junk = {1, 2, 3, 4, 5};
    std::fwrite(junk.data(), 1, junk.size(), f);
    if (!file.empty()) {
        std::fwrite(file.data(), 1, file.size(), f);
    }
    std::fseek(f, static_cast<long>(junk.size()), SEEK_SET);
    API32bppDIB surface;
    APIPNGParser parser;
    const bool loaded = parser.LoadFile(f, surface);
    // ... and leaves the file where it found it, for the next reader.
    EXPECT_EQ(std::ftell(f), static_cast<long>(junk.size()));
    std::fclose(f);
    return Snapshot(loaded, surface);
}

void ExpectSameImage(const Outcome& have, const test::OracleImage& want) {
    ASSERT_TRUE(have.loaded);
    EXPECT_EQ(have.width, want.width);
    EXPECT_EQ(have.height, want.height);
    EXPECT_EQ(have.alpha, want.alpha);
    EXPECT_EQ(have.type, ENUM_IMAGE_FORMAT::ImagePNG);
    ASSERT_EQ(have.bits.size(), want.bgra.size());
    const auto diff = std::mismatch(have.bits.begin(), have.bits.end(), want.bgra.begin());
    if (diff.first != have.bits.end()) {
        const size_t at = static_cast<size_t>(diff.first - have.bits.begin());
        ADD_FAILURE() << "byte " << at << " (pixel " << at / 4 << " from the bottom left): have "
                      << int(*diff.first) << ", want " << int(*diff.second);
    }
}

std::string ModeName(bool withZlib) {
    return withZlib ? "Zlib" : "PrivateInflate";
}

// --- PngSuite against libpng -----------------------------------------------------

std::vector<std::string> SuiteFiles(bool corrupt) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kSuite)) {
        const std::string stem = entry.path().stem().string();
        if (entry.path().extension() == ".png" && (stem[0] == 'x') == corrupt) {
            names.push_back(stem);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

class PngSuiteImage : public testing::TestWithParam<std::tuple<std::string, bool>> {};

TEST_P(PngSuiteImage, DecodesToLibpngPixels) {
    const auto& [name, withZlib] = GetParam();
    const Bytes file = ReadFile(kSuite / (name + ".png"));
    const auto want = test::DecodeWithLibpng(file);
    ASSERT_TRUE(want.has_value()) << "libpng refuses " << name;
    ExpectSameImage(Decode(file, withZlib), *want);
    ExpectSameImage(DecodeFile(file, withZlib), *want);
}

INSTANTIATE_TEST_SUITE_P(PNGParser, PngSuiteImage,
                         testing::Combine(testing::ValuesIn(SuiteFiles(false)), testing::Bool()),
                         [](const auto& info) {
                             return std::get<0>(info.param) + "_" +
                                    ModeName(std::get<1>(info.param));
                         });

TEST(PNGParser, CorruptPngSuiteFilesAreRefusedButCrcOnlyDamageLoadsWithoutZlib) {
    // Without zlib no CRC is tested, so damage to a CRC alone goes unseen.
    const std::vector<std::string> crcOnly = {"xcsn0g01", "xhdn0g08"};
    const std::vector<std::string> names = SuiteFiles(true);
    ASSERT_EQ(names.size(), 14u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const Bytes file = ReadFile(kSuite / (name + ".png"));
        EXPECT_FALSE(Decode(file, true).loaded);
        EXPECT_FALSE(DecodeFile(file, true).loaded);
        const bool loads = std::count(crcOnly.begin(), crcOnly.end(), name) > 0;
        const Outcome without = Decode(file, false);
        ASSERT_EQ(without.loaded, loads);
        if (loads) {
            ExpectSameImage(without, *test::DecodeWithLibpng(file, /*ignoreCrc=*/true));
            ExpectSameImage(DecodeFile(file, false), *test::DecodeWithLibpng(file, true));
        }
    }
}

// --- Files from libpng's writer -------------------------------------------------------

// Deterministic bytes that no filter predicts well.
Bytes Noise(size_t n, uint32_t seed) {
    Bytes out(n);
    for (uint8_t& b : out) {
        seed = seed * 1664525u + 1013904223u;
        b = static_cast<uint8_t>(seed >> 24);
    }
    return out;
}

void ExpectLikeLibpng(const Bytes& file) {
    const auto want = test::DecodeWithLibpng(file);
    ASSERT_TRUE(want.has_value());
    for (const bool withZlib : {true, false}) {
        SCOPED_TRACE(ModeName(withZlib));
        ExpectSameImage(Decode(file, withZlib), *want);
    }
}

TEST(PNGParser, EveryFilterAtEveryPixelWidthMatchesLibpng) {
    const struct {
        int colorType, depth;
    } formats[] = {{PNG_COLOR_TYPE_GRAY, 1},        {PNG_COLOR_TYPE_PALETTE, 4},
                   {PNG_COLOR_TYPE_GRAY, 8},        {PNG_COLOR_TYPE_GRAY_ALPHA, 8},
                   {PNG_COLOR_TYPE_RGB, 8},         {PNG_COLOR_TYPE_RGB_ALPHA, 8},
                   {PNG_COLOR_TYPE_GRAY_ALPHA, 16}, {PNG_COLOR_TYPE_RGB, 16},
                   {PNG_COLOR_TYPE_RGB_ALPHA, 16}};
    const int filters[] = {PNG_FILTER_NONE, PNG_FILTER_SUB, PNG_FILTER_UP, PNG_FILTER_AVG,
                           PNG_FILTER_PAETH};
    // Rows of one and two pixels too: a row's last pixel is where reading
    // and writing whole vector lanes could reach into the next row.
    for (const auto& format : formats) {
        for (const int filter : filters) {
            for (const bool interlaced : {false, true}) {
                for (const uint32_t width : {1u, 2u, 13u}) {
                    SCOPED_TRACE(testing::Message()
                                 << "colour type " << format.colorType << " depth " << format.depth
                                 << " filter " << filter << " interlaced " << interlaced
                                 << " width " << width);
                    const test::EncodeOptions options{format.colorType, format.depth, interlaced,
                                                      filter};
                    ExpectLikeLibpng(
                        test::EncodeWithLibpng(width, 11, options, Noise(width * 11 * 8, 7)));
                }
            }
        }
    }
}

TEST(PNGParser, InterlacedImagesOfEverySmallSizeMatchLibpng) {
    // Sizes below 8 leave some of the seven passes empty (width 1: passes 2,
    // 4 and 6), which must be skipped without a filter byte.
    for (uint32_t width = 1; width <= 10; ++width) {
        for (uint32_t height = 1; height <= 10; ++height) {
            SCOPED_TRACE(testing::Message() << width << "x" << height);
            const test::EncodeOptions options{PNG_COLOR_TYPE_RGB, 8, true, PNG_ALL_FILTERS};
            ExpectLikeLibpng(test::EncodeWithLibpng(
                width, height, options, Noise(width * height * 3, width * 31 + height)));
        }
    }
}

TEST(PNGParser, PremultipliesEveryColourAndAlphaPairByTruncation) {
    // Recipe: 256×256 RGBA (gray+alpha below), pixel (x, y) has every colour
    // channel x and alpha y.
    std::vector<Bytes> rgba(256), grayAlpha(256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            rgba[y].insert(rgba[y].end(), {uint8_t(x), uint8_t(x), uint8_t(x), uint8_t(y)});
            grayAlpha[y].insert(grayAlpha[y].end(), {uint8_t(x), uint8_t(y)});
        }
    }
    const Bytes files[] = {MakePng({Ihdr(256, 256, 8, 6), Idat(rgba), kIend}),
                           MakePng({Ihdr(256, 256, 8, 4), Idat(grayAlpha), kIend})};
    for (const Bytes& file : files) {
        const std::vector<Pixel> pixels = Decode(file, true).TopDown();
        ASSERT_EQ(pixels.size(), 65536u);
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x) {
                const uint8_t c = static_cast<uint8_t>(x * y / 255);
                ASSERT_EQ(pixels[y * 256 + x], (Pixel{c, c, c, uint8_t(y)}))
                    << "colour " << x << " alpha " << y;
            }
        }
    }
}

// --- Colour rules on hand-made files -------------------------------------------------

Chunk Plte(const Bytes& rgb) {
    return {"PLTE", rgb};
}
Chunk Trns(const Bytes& data) {
    return {"tRNS", data};
}

TEST(PNGParser, DecodesEachColourTypeByItsRules) {
    const struct {
        const char* recipe;
        std::vector<Chunk> chunks;  // IHDR, and the rest before the IDAT
        std::vector<Bytes> rows;
        std::vector<Pixel> want;
        ENUM_ALPHA_TYPE alpha;
    } cases[] = {
        {"palette, 5 entries, tRNS of 3: indices 3 and 4 stay opaque",
         {Ihdr(5, 1, 8, 3), Plte({200, 100, 50, 10, 20, 30, 255, 255, 255, 1, 2, 3, 90, 80, 70}),
          Trns({0, 128, 255})},
         {{0, 1, 2, 3, 4}},
         {{0, 0, 0, 0}, {15, 10, 5, 128}, {255, 255, 255, 255}, {3, 2, 1, 255}, {70, 80, 90, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"palette depth 1 without PLTE: index 0 black, 1 white",
         {Ihdr(3, 1, 1, 3)},
         {{0b01000000}},
         {{0, 0, 0, 255}, {255, 255, 255, 255}, {0, 0, 0, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"palette depth 2 without PLTE: all black",
         {Ihdr(4, 1, 2, 3)},
         {{0b00011011}},
         {{0, 0, 0, 255}, {0, 0, 0, 255}, {0, 0, 0, 255}, {0, 0, 0, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"palette with an empty PLTE: counts as none",
         {Ihdr(1, 1, 8, 3), Plte({})},
         {{7}},
         {{0, 0, 0, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"palette with 300 entries: those past 256 are ignored",
         {Ihdr(1, 1, 8, 3), Plte(Bytes(900, 9))},
         {{255}},
         {{9, 9, 9, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"gray depth 2: 0, 85, 170, 255",
         {Ihdr(4, 1, 2, 0)},
         {{0b00011011}},
         {{0, 0, 0, 255}, {85, 85, 85, 255}, {170, 170, 170, 255}, {255, 255, 255, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"gray depth 4, tRNS 0x0013: key is the low byte cut to 4 bits, 3",
         {Ihdr(2, 1, 4, 0), Trns({0x00, 0x13})},
         {{0x3F}},
         {{0, 0, 0, 0}, {255, 255, 255, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"gray depth 8, tRNS 0x0105: key is the low byte, 5",
         {Ihdr(2, 1, 8, 0), Trns({0x01, 0x05})},
         {{5, 6}},
         {{0, 0, 0, 0}, {6, 6, 6, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"gray depth 16, tRNS 0x12FF: any sample with high byte 0x12 is transparent",
         {Ihdr(3, 1, 16, 0), Trns({0x12, 0xFF})},
         {{0x12, 0x00, 0x12, 0xFF, 0x13, 0xFF}},
         {{0, 0, 0, 0}, {0, 0, 0, 0}, {0x13, 0x13, 0x13, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"gray depth 8, tRNS of one byte: no key",
         {Ihdr(1, 1, 8, 0), Trns({0})},
         {{0}},
         {{0, 0, 0, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"gray with a PLTE of 4 bytes: PLTE ignored",
         {Ihdr(1, 1, 8, 0), Plte({1, 2, 3, 4})},
         {{77}},
         {{77, 77, 77, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"colour depth 8, tRNS (0x0110, 0x0020, 0x0030): key is the low bytes",
         {Ihdr(2, 1, 8, 2), Trns({0x01, 0x10, 0x00, 0x20, 0x00, 0x30})},
         {{0x10, 0x20, 0x30, 0x10, 0x20, 0x31}},
         {{0, 0, 0, 0}, {0x31, 0x20, 0x10, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"colour depth 16, tRNS compared by high bytes",
         {Ihdr(2, 1, 16, 2), Trns({0x10, 0x11, 0x20, 0x22, 0x30, 0x33})},
         {{0x10, 0xFF, 0x20, 0x00, 0x30, 0x99, 0x10, 0x11, 0x21, 0x22, 0x30, 0x33}},
         {{0, 0, 0, 0}, {0x30, 0x21, 0x10, 255}},
         ENUM_ALPHA_TYPE::AlphaSimple},
        {"colour depth 8, tRNS of 4 bytes: no key",
         {Ihdr(1, 1, 8, 2), Trns({0, 0, 0, 0})},
         {{0, 0, 0}},
         {{0, 0, 0, 255}},
         ENUM_ALPHA_TYPE::AlphaNone},
        {"gray+alpha depth 16: high bytes, premultiplied",
         {Ihdr(1, 1, 16, 4), Trns({0, 0})},
         {{0x80, 0xFF, 0x80, 0x01}},
         {{64, 64, 64, 128}},
         ENUM_ALPHA_TYPE::AlphaComplex},
        {"RGBA depth 16: high bytes, premultiplied",
         {Ihdr(1, 1, 16, 6)},
         {{0xFF, 0x00, 0x80, 0xFF, 0x02, 0xFF, 0xFE, 0xFF}},
         {{1, 127, 254, 254}},
         ENUM_ALPHA_TYPE::AlphaComplex},
        {"RGBA all opaque: still complex alpha",
         {Ihdr(1, 1, 8, 6)},
         {{1, 2, 3, 255}},
         {{3, 2, 1, 255}},
         ENUM_ALPHA_TYPE::AlphaComplex},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.recipe);
        std::vector<Chunk> chunks = c.chunks;
        chunks.push_back(Idat(c.rows));
        chunks.push_back(kIend);
        const Bytes file = MakePng(chunks);
        const Outcome outcome = Decode(file, true);
        ASSERT_TRUE(outcome.loaded);
        EXPECT_EQ(outcome.TopDown(), c.want);
        EXPECT_EQ(outcome.alpha, c.alpha);
        EXPECT_EQ(DecodeFile(file, true).TopDown(), c.want);
    }
}

// --- Structure ----------------------------------------------------------------------

// Recipe: 2×2 palette image (2 entries, tRNS of 1, one tEXt) with each row
// stored unfiltered.
const Bytes kRows = Unfiltered({{0, 1}, {1, 0}});
std::vector<Chunk> SmallPalette() {
    return {Ihdr(2, 2, 8, 3),        Plte({255, 0, 0, 0, 0, 255}), Trns({128}),
            {"tEXt", {'a', 0, 'b'}}, {"IDAT", Deflate(kRows)},     kIend};
}

// SmallPalette with some chunks replaced, inserted or removed.
Bytes Edited(std::function<void(std::vector<Chunk>&)> edit) {
    std::vector<Chunk> chunks = SmallPalette();
    edit(chunks);
    return MakePng(chunks);
}

TEST(PNGParser, TestsCrcsOfUsedChunksOnlyAndOnlyWithZlib) {
    const std::vector<Pixel> want = {
        {0, 0, 128, 128}, {255, 0, 0, 255}, {255, 0, 0, 255}, {0, 0, 128, 128}};
    const struct {
        size_t chunk;
        uint32_t crc;
        bool loadsWithZlib;
    } cases[] = {
        {0, 0x12345678, false},
        {1, 0x12345678, false},
        {2, 0x12345678, false},
        {4, 0x12345678, false},
        {3, 0x12345678, true},
        {5, 0x12345678, true},
        // A stored CRC of 0 is not tested.
        {0, 0, true},
        {1, 0, true},
        {2, 0, true},
        {4, 0, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "chunk " << c.chunk << " crc " << c.crc);
        const Bytes file = Edited([&](auto& chunks) { chunks[c.chunk].crc = c.crc; });
        const Outcome with = Decode(file, true);
        EXPECT_EQ(with.loaded, c.loadsWithZlib);
        EXPECT_EQ(DecodeFile(file, true).loaded, c.loadsWithZlib);
        if (with.loaded) {
            EXPECT_EQ(with.TopDown(), want);
        }
        EXPECT_EQ(Decode(file, false).TopDown(), want);
    }
}

Chunk RawIdat(Bytes data) {
    return {"IDAT", std::move(data)};
}

// A zlib stream of `raw` that opens with `padding` empty stored blocks, so
// that it is far longer than its data.
Bytes PaddedStream(const Bytes& raw, int padding) {
    Bytes out = {0x78, 0x01};
    for (int i = 0; i < padding; ++i) {
        out.insert(out.end(), {0x00, 0x00, 0x00, 0xFF, 0xFF});
    }
    const uint16_t n = static_cast<uint16_t>(raw.size());
    out.insert(out.end(), {0x01, uint8_t(n), uint8_t(n >> 8), uint8_t(~n), uint8_t(~n >> 8)});
    out.insert(out.end(), raw.begin(), raw.end());
    PutBE32(out, static_cast<uint32_t>(adler32(1, raw.data(), static_cast<uInt>(raw.size()))));
    return out;
}

TEST(PNGParser, ToleratesOddButReadableStructure) {
    const std::vector<Pixel> want = Decode(MakePng(SmallPalette()), true).TopDown();
    const Bytes stream = Deflate(kRows);
    Bytes badAdler = stream;
    badAdler.back() ^= 1;
    // 500 bytes of IDAT in a file of about 800: the data outgrow the first
    // block (half the file) part way.
    const Bytes padded = PaddedStream(kRows, 100);
    const struct {
        const char* recipe;
        std::function<void(std::vector<Chunk>&)> edit;
    } cases[] = {
        {"IEND carrying data ends the walk",
         [](auto& c) {
             c[5].data = {1, 2};
         }},
        {"junk after IEND",
         [](auto& c) {
             c.push_back({"JUNK", Bytes(3, 0)});
         }},
        {"unknown critical chunk",
         [](auto& c) {
             c.insert(c.begin() + 1, {"ABCD", {1}});
         }},
        {"IHDR of 14 bytes", [](auto& c) { c[0].data.push_back(0); }},
        {"bad Adler-32: zlib refuses, the private inflate does not check it",
         [&](auto& c) { c[4] = RawIdat(badAdler); }},
        {"tRNS of 300 entries",
         [](auto& c) {
             c[2].data = Bytes(300, 255);
             c[2].data[0] = 128;
         }},
        {"IDAT in one-byte chunks, empty IDATs and a tEXt among them",
         [&](auto& c) {
             c.erase(c.begin() + 4);
             for (size_t i = 0; i < stream.size(); ++i) {
                 c.insert(c.end() - 1, RawIdat({stream[i]}));
                 c.insert(c.end() - 1, i == 3 ? Chunk{"tEXt", {'k', 0}} : RawIdat({}));
             }
         }},
        {"IDAT data outgrowing the first block",
         [&](auto& c) {
             c.erase(c.begin() + 4);
             for (size_t at = 0; at < padded.size(); at += 50) {
                 const size_t end = std::min(at + 50, padded.size());
                 c.insert(c.end() - 1, RawIdat(Bytes(padded.begin() + at, padded.begin() + end)));
             }
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.recipe);
        const Bytes file = Edited(c.edit);
        for (const bool withZlib : {true, false}) {
            const Outcome outcome = Decode(file, withZlib);
            EXPECT_TRUE(outcome.loaded) << ModeName(withZlib);
            EXPECT_EQ(outcome.TopDown(), want) << ModeName(withZlib);
        }
    }
}

TEST(PNGParser, ImageDataEndingEarlyDecodesTheRestAsZeros) {
    // Recipe: 2×3 RGBA, the deflate stream holding the first row only.
    const Bytes file = MakePng({Ihdr(2, 3, 8, 6), Idat({{1, 2, 3, 255, 4, 5, 6, 255}}), kIend});
    const std::vector<Pixel> want = {{3, 2, 1, 255}, {6, 5, 4, 255}, {}, {}, {}, {}};
    EXPECT_EQ(Decode(file, true).TopDown(), want);
    EXPECT_EQ(Decode(file, false).TopDown(), want);
}

TEST(PNGParser, RefusesMalformedFiles) {
    Bytes truncatedStream = Deflate(kRows);
    truncatedStream.resize(truncatedStream.size() - 6);
    const Bytes longStream = Deflate(Unfiltered({{0, 1}, {1, 0}, {0, 0}}));
    const Bytes filter5 = {5, 0, 1, 0, 1, 0};
    const struct {
        const char* recipe;
        std::function<void(std::vector<Chunk>&)> edit;
    } cases[] = {
        {"IDAT before IHDR", [](auto& c) { std::swap(c[0], c[4]); }},
        {"PLTE before IHDR", [](auto& c) { std::swap(c[0], c[1]); }},
        {"empty IHDR counts as none", [](auto& c) { c[0].data.clear(); }},
        {"second IHDR", [](auto& c) { c.insert(c.begin() + 1, c[0]); }},
        {"IHDR of 12 bytes", [](auto& c) { c[0].data.pop_back(); }},
        {"width 0", [](auto& c) { c[0] = Ihdr(0, 2, 8, 3); }},
        {"height 0", [](auto& c) { c[0] = Ihdr(2, 0, 8, 3); }},
        {"width 2^31", [](auto& c) { c[0] = Ihdr(0x80000000u, 2, 8, 3); }},
        {"depth 3", [](auto& c) { c[0] = Ihdr(2, 2, 3, 3); }},
        {"colour type 5", [](auto& c) { c[0] = Ihdr(2, 2, 8, 5); }},
        {"compression method 1", [](auto& c) { c[0].data[10] = 1; }},
        {"filter method 1", [](auto& c) { c[0].data[11] = 1; }},
        {"interlace 2", [](auto& c) { c[0].data[12] = 2; }},
        {"width × 32 × height past 2^31 − 1", [](auto& c) { c[0] = Ihdr(8192, 8193, 1, 0); }},
        {"sides whose product passes 64 bits",
         [](auto& c) { c[0] = Ihdr(0x6C4B1400, 0x10610000, 1, 0); }},
        {"colour type 6 at depth 4", [](auto& c) { c[0] = Ihdr(2, 2, 4, 6); }},
        {"colour type 3 at depth 16", [](auto& c) { c[0] = Ihdr(1, 2, 16, 3); }},
        {"PLTE of 4 bytes", [](auto& c) { c[1].data.push_back(0); }},
        {"palette index past the PLTE", [](auto& c) { c[1].data.resize(3); }},
        {"no IDAT", [](auto& c) { c.erase(c.begin() + 4); }},
        {"only an empty IDAT", [](auto& c) { c[4].data.clear(); }},
        {"no IEND", [](auto& c) { c.pop_back(); }},
        {"deflate stream cut short", [&](auto& c) { c[4].data = truncatedStream; }},
        {"deflate stream longer than the image", [&](auto& c) { c[4].data = longStream; }},
        {"filter type 5", [&](auto& c) { c[4].data = Deflate(filter5); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.recipe);
        const Bytes file = Edited(c.edit);
        for (const bool withZlib : {true, false}) {
            EXPECT_FALSE(Decode(file, withZlib).loaded) << ModeName(withZlib);
            EXPECT_FALSE(DecodeFile(file, withZlib).loaded) << ModeName(withZlib);
        }
    }
}

TEST(PNGParser, EveryTruncationFailsCleanly) {
    const Bytes file = MakePng(SmallPalette());
    ASSERT_TRUE(Decode(file, true).loaded);
    for (size_t length = 0; length < file.size(); ++length) {
        SCOPED_TRACE(length);
        const Bytes cut(file.begin(), file.begin() + static_cast<ptrdiff_t>(length));
        EXPECT_FALSE(Decode(cut, true).loaded);
        EXPECT_FALSE(Decode(cut, false).loaded);
        EXPECT_FALSE(DecodeFile(cut, true).loaded);
    }
}

TEST(PNGParser, SizeGuardAdmitsTheLargestPictureUnderIt) {
    // Recipe: 1-bit gray, all zeros; 8191 × 32 × 8193 = 2^31 − 32 fits the
    // guard, while 8192 wide (tested with the malformed files) does not.
    const Bytes zeros((8191 / 8 + 2) * size_t{8193}, 0);
    const Bytes file = MakePng({Ihdr(8191, 8193, 1, 0), RawIdat(Deflate(zeros)), kIend});
    const ZlibScope zlib(true);
    API32bppDIB surface;
    APIPNGParser parser;
    ASSERT_TRUE(parser.LoadStream(file, surface));
    EXPECT_EQ(surface.Width(), 8191);
    EXPECT_EQ(surface.Height(), 8193);
    const uint8_t* last = surface.BitsPointer() + surface.Pixels().ByteSize() - 4;
    EXPECT_EQ((Pixel{last[0], last[1], last[2], last[3]}), (Pixel{0, 0, 0, 255}));
}

}  // namespace
}  // namespace kelvara
