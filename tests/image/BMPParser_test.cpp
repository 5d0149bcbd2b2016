#include "kelvara/image/bmp/APIBMPParser.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/image/CodecTestSupport.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Noise;
using test::Straight;

constexpr auto kNone = ENUM_ALPHA_TYPE::AlphaNone;
constexpr auto kSimple = ENUM_ALPHA_TYPE::AlphaSimple;
constexpr auto kComplex = ENUM_ALPHA_TYPE::AlphaComplex;
constexpr auto kBitmap = ENUM_IMAGE_FORMAT::ImageBitmap;
constexpr auto kArgb = ENUM_IMAGE_FORMAT::ImageBitmapARGB;
constexpr auto kPargb = ENUM_IMAGE_FORMAT::ImageBitmapPARGB;

uint8_t B(int32_t v) {
    return static_cast<uint8_t>(v);
}

const std::string kBmpDir = std::string(KELVARA_IMAGE_DATA) + "/bmp/";

void PutLE(std::vector<uint8_t>& out, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(i < 8 ? static_cast<uint8_t>(value >> (8 * i)) : 0);
    }
}

// A bitmap file built field by field, for the forms no tool writes.
struct BmpFields {
    uint32_t headerSize = 40;
    int32_t width = 1;
    int32_t height = 1;
    uint16_t bits = 24;
    uint32_t compression = 0;
    uint32_t colorsUsed = 0;
    std::vector<uint32_t> masks;  // inside a V2+ header, after a 40-byte one
    std::vector<uint8_t> palette;
    std::vector<uint8_t> data;
    int64_t offBits = -1;  // -1: right after the palette
};

std::vector<uint8_t> MakeBmp(const BmpFields& fields) {
    std::vector<uint8_t> header;
    PutLE(header, fields.headerSize, 4);
    if (fields.headerSize == 12) {
        PutLE(header, static_cast<uint32_t>(fields.width), 2);
        PutLE(header, static_cast<uint32_t>(fields.height), 2);
        PutLE(header, 1, 2);
        PutLE(header, fields.bits, 2);
    } else {
        PutLE(header, static_cast<uint32_t>(fields.width), 4);
        PutLE(header, static_cast<uint32_t>(fields.height), 4);
        PutLE(header, 1, 2);
        PutLE(header, fields.bits, 2);
        PutLE(header, fields.compression, 4);
        PutLE(header, 0, 4 * 3);
        PutLE(header, fields.colorsUsed, 4);
        PutLE(header, 0, 4);
        for (const uint32_t mask : fields.masks) {
            PutLE(header, mask, 4);
        }
        if (header.size() < fields.headerSize) {
            header.resize(fields.headerSize, 0);
        }
    }
    std::vector<uint8_t> out = {'B', 'M'};
    const size_t dataAt = 14 + header.size() + fields.palette.size();
    PutLE(out, 14 + header.size() + fields.palette.size() + fields.data.size(), 4);
    PutLE(out, 0, 4);
    PutLE(out, fields.offBits >= 0 ? static_cast<uint64_t>(fields.offBits) : dataAt, 4);
    out.insert(out.end(), header.begin(), header.end());
    out.insert(out.end(), fields.palette.begin(), fields.palette.end());
    out.insert(out.end(), fields.data.begin(), fields.data.end());
    return out;
}

// Palette entries (blue, green, red, reserved) for indexes 0 to 3.
const std::vector<uint8_t> kFourColours = {0, 0, 0, 0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0};
const Straight kFourStraight[] = {
    {0, 0, 0, 255}, {255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}};

// The picture drawn as text, top row first: '0'-'3' index kFourColours,
// '.' is a transparent (undefined) pixel.
::testing::AssertionResult MatchesPicture(const API32bppDIB& surface,
                                          const std::vector<std::string>& rows) {
    API32bppDIB want;
    Fill(want, static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()),
         [&](int32_t x, int32_t y) {
             const char c = rows[static_cast<size_t>(y)][static_cast<size_t>(x)];
             return c == '.' ? Straight{0, 0, 0, 0} : kFourStraight[c - '0'];
         });
    return test::SamePixels(surface, want);
}

// --- Files made by ImageMagick ---------------------------------------------

// ImageMagick widens a narrow channel by shifting (and sometimes repeating
// bits), we by rounding v·255 / max: the narrow value is recovered from its
// byte and scaled our way. Eight-bit channels compare as they are.
uint8_t Widen(uint8_t imageMagick, int bits) {
    if (bits == 8) {
        return imageMagick;
    }
    const int v = imageMagick >> (8 - bits);
    const int max = (1 << bits) - 1;
    return static_cast<uint8_t>((v * 255 + max / 2) / max);
}

TEST(BmpParser, ReadsImageMagickFilesAsImageMagickDoes) {
    const struct {
        const char* name;
        ENUM_IMAGE_FORMAT type;
        ENUM_ALPHA_TYPE alpha;
        std::array<int, 4> bits = {8, 8, 8, 8};  // red, green, blue, alpha
    } cases[] = {
        // clang-format off
        {"rgb24", kBitmap, kNone}, {"topdown24", kBitmap, kNone}, {"core24", kBitmap, kNone},
        {"core8", kBitmap, kNone}, {"pal8", kBitmap, kNone}, {"pal4", kBitmap, kNone},
        {"pal1", kBitmap, kNone}, {"rle8", kBitmap, kNone},
        {"rgb565", kBitmap, kNone, {5, 6, 5, 8}}, {"rgb555", kBitmap, kNone, {5, 5, 5, 8}},
        {"argb32", kArgb, kComplex}, {"argb32v4", kArgb, kComplex},
        {"argb4444", kArgb, kComplex, {4, 4, 4, 4}}, {"argb1555", kArgb, kSimple, {5, 5, 5, 1}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto bytes = test::ReadFileBytes(kBmpDir + c.name + ".bmp");
        const auto rgba = test::ReadFileBytes(kBmpDir + c.name + ".rgba");
        ASSERT_FALSE(bytes.empty());
        API32bppDIB surface;
        APIBMPParser parser;
        ASSERT_TRUE(parser.LoadStream(bytes, surface));
        EXPECT_EQ(surface.ImageType(), c.type);
        EXPECT_EQ(surface.Alpha(), c.alpha);
        ASSERT_EQ(rgba.size(), static_cast<size_t>(surface.Width() * surface.Height() * 4));
        API32bppDIB want;
        Fill(want, surface.Width(), surface.Height(), [&](int32_t x, int32_t y) {
            const uint8_t* p = rgba.data() + (static_cast<size_t>(y) * surface.Width() + x) * 4;
            return Straight{Widen(p[0], c.bits[0]), Widen(p[1], c.bits[1]), Widen(p[2], c.bits[2]),
                            Widen(p[3], c.bits[3])};
        });
        EXPECT_TRUE(test::SamePixels(surface, want));
    }
}

// Uncompressed rows may lack the last row's padding, nothing more: every
// shorter prefix is refused and leaves no image.
TEST(BmpParser, EveryTruncationIsRefusedUpToTheLastRowsPadding) {
    for (const char* name : {"rgb24", "pal4", "pal1", "core8", "argb32", "rgb565"}) {
        SCOPED_TRACE(name);
        const auto bytes = test::ReadFileBytes(kBmpDir + name + ".bmp");
        API32bppDIB surface;
        APIBMPParser parser;
        ASSERT_TRUE(parser.LoadStream(bytes, surface));
        const int32_t bits = bytes[14] == 12 ? bytes[24] : bytes[28];
        const size_t lastRowPadding = static_cast<size_t>(ScanlineBytes(bits, surface.Width()) -
                                                          (surface.Width() * bits + 7) / 8);
        for (size_t length = 0; length < bytes.size(); ++length) {
            const std::span<const uint8_t> prefix(bytes.data(), length);
            const bool loaded = parser.LoadStream(prefix, surface);
            EXPECT_EQ(loaded, length >= bytes.size() - lastRowPadding) << "length " << length;
            if (!loaded) {
                ASSERT_EQ(surface.Handle(), 0u);
                ASSERT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
            }
        }
    }
}

// --- Run-length data ---------------------------------------------------------

TEST(BmpParser, RunLengthDataDecodesRunsEscapesAndHoles) {
    const struct {
        const char* name;
        uint32_t compression;
        int32_t width;
        int32_t height;
        std::vector<uint8_t> data;
        std::vector<std::string> want;  // top row first
        ENUM_ALPHA_TYPE alpha;
    } cases[] = {
        // clang-format off
        {"RLE8 runs and end of line, bottom-up", 1, 4, 2, {4, 1, 0, 0, 2, 2, 2, 3, 0, 1}, {"2233", "1111"}, kNone},
        {"RLE8 absolute run of three is padded", 1, 4, 1, {0, 3, 1, 2, 3, 0, 1, 0, 0, 1}, {"1230"}, kNone},
        {"RLE8 delta skips pixels and rows, leaving them transparent", 1, 4, 3,
         {1, 1, 0, 2, 2, 1, 1, 2, 0, 0, 1, 3, 0, 1}, {"3...", "...2", "1..."}, kSimple},
        {"RLE8 end of bitmap leaves the rest transparent", 1, 3, 2, {3, 1, 0, 1, 3, 2}, {"...", "111"}, kSimple},
        {"RLE8 run past the row's end is clipped", 1, 2, 2, {5, 1, 0, 0, 2, 3}, {"33", "11"}, kNone},
        {"RLE8 data ending without end of bitmap keeps what it drew", 1, 3, 2, {3, 2, 0}, {"...", "222"}, kSimple},
        {"RLE8 top-down", 1, 2, -2, {2, 1, 0, 0, 2, 3, 0, 1}, {"11", "33"}, kNone},
        {"RLE4 run alternates its two nibbles", 2, 5, 1, {5, 0x12, 0, 1}, {"12121"}, kNone},
        {"RLE4 absolute runs of three and five nibbles, each padded to 16 bits", 2, 8, 1,
         {0, 3, 0x31, 0x20, 0, 5, 0x12, 0x30, 0x20, 0, 0, 1}, {"31212302"}, kNone},
        {"RLE4 delta", 2, 4, 2, {0, 2, 1, 1, 2, 0x33, 0, 1}, {".33.", "...."}, kSimple},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        BmpFields fields;
        fields.width = c.width;
        fields.height = c.height;
        fields.bits = c.compression == 1 ? 8 : 4;
        fields.compression = c.compression;
        fields.colorsUsed = 4;
        fields.palette = kFourColours;
        fields.data = c.data;
        API32bppDIB surface;
        APIBMPParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeBmp(fields), surface));
        EXPECT_TRUE(MatchesPicture(surface, c.want));
        EXPECT_EQ(surface.Alpha(), c.alpha);
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageBitmap);
    }
}

TEST(BmpParser, ShortPalettesGiveBlackForMissingEntries) {
    // Four-bit pixels 0 1 2 3 | 4 5: two colours declared, so 2 to 5 are black.
    BmpFields fields;
    fields.width = 6;
    fields.bits = 4;
    fields.colorsUsed = 2;
    fields.palette = {kFourColours.begin(), kFourColours.begin() + 8};
    fields.data = {0x01, 0x23, 0x45, 0};
    API32bppDIB surface;
    APIBMPParser parser;
    ASSERT_TRUE(parser.LoadStream(MakeBmp(fields), surface));
    EXPECT_TRUE(MatchesPicture(surface, {"010000"}));

    // All four colours stored, but the pixel offset cuts the palette after
    // the third entry.
    fields.colorsUsed = 0;
    fields.palette = kFourColours;
    fields.palette.resize(16 * 4);
    fields.offBits = 14 + 40 + 3 * 4;
    std::vector<uint8_t> bytes = MakeBmp(fields);
    bytes.erase(bytes.begin() + 14 + 40 + 3 * 4, bytes.begin() + 14 + 40 + 16 * 4);
    ASSERT_TRUE(parser.LoadStream(bytes, surface));
    EXPECT_TRUE(MatchesPicture(surface, {"012000"}));

    // A core header's palette holds three-byte entries.
    BmpFields core;
    core.headerSize = 12;
    core.width = 2;
    core.bits = 1;
    core.palette = {0, 0, 255, 255, 0, 0};
    core.data = {0x40, 0, 0, 0};
    ASSERT_TRUE(parser.LoadStream(MakeBmp(core), surface));
    EXPECT_TRUE(MatchesPicture(surface, {"13"}));
}

TEST(BmpParser, BitFieldsOfAnyWidthScaleToEightBits) {
    const struct {
        const char* name;
        uint32_t headerSize;
        uint32_t compression;
        uint16_t bits;
        std::vector<uint32_t> masks;
        uint32_t pixel;
        std::array<uint8_t, 4> want;  // premultiplied BGRA
    } cases[] = {
        // clang-format off
        {"10-10-10 with 2-bit alpha", 56, 3, 32, {0x3FF00000, 0x000FFC00, 0x000003FF, 0xC0000000},
         (2u << 30) | (1023u << 20) | (512u << 10), {0, 128 * 170 / 255, 170, 170}},
        {"5-6-5", 40, 3, 16, {0xF800, 0x07E0, 0x001F}, (31u << 11) | (32u << 5) | 1u, {8, 130, 255, 255}},
        {"zero masks read as 5-5-5", 40, 3, 16, {0, 0, 0}, (31u << 10) | (1u << 5) | 16u, {132, 8, 255, 255}},
        {"alpha bit fields after an info header", 40, 6, 16, {0x0F00, 0x00F0, 0x000F, 0xF000}, 0xFF00u, {0, 0, 255, 255}},
        {"12-bit red reaching the top bit", 108, 3, 32, {0xFFF00000, 0x000FF000, 0x00000FFF}, 0x80000000u, {0, 0, 128, 255}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        BmpFields fields;
        fields.headerSize = c.headerSize;
        fields.bits = c.bits;
        fields.compression = c.compression;
        fields.masks = c.masks;
        PutLE(fields.data, c.pixel, c.bits / 8);
        fields.data.resize(4, 0);
        API32bppDIB surface;
        APIBMPParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeBmp(fields), surface));
        const uint8_t* p = surface.Pixels().Pixel(0, 0);
        EXPECT_EQ((std::array<uint8_t, 4>{p[0], p[1], p[2], p[3]}), c.want);
    }
}

// A 32-bit plain bitmap's spare byte may be nothing, straight alpha or
// premultiplied alpha; the pixels decide.
TEST(BmpParser, SpareByteOfPlain32BitRowsIsJudgedByThePixels) {
    const struct {
        const char* name;
        std::vector<uint8_t> bgra;  // two pixels as stored
        std::vector<uint8_t> want;
        ENUM_IMAGE_FORMAT type;
        ENUM_ALPHA_TYPE alpha;
    } cases[] = {
        // clang-format off
        {"all zero: opaque", {10, 20, 30, 0, 40, 50, 60, 0}, {10, 20, 30, 255, 40, 50, 60, 255}, kBitmap, kNone},
        {"straight alpha", {200, 100, 50, 128, 40, 50, 60, 255}, {100, 50, 25, 128, 40, 50, 60, 255}, kArgb, kComplex},
        {"premultiplied", {100, 50, 25, 128, 0, 0, 0, 0}, {100, 50, 25, 128, 0, 0, 0, 0}, kPargb, kComplex},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        BmpFields fields;
        fields.width = 2;
        fields.bits = 32;
        fields.data = c.bgra;
        API32bppDIB surface;
        APIBMPParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeBmp(fields), surface));
        const uint8_t* p = surface.Pixels().Row(0);
        EXPECT_EQ(std::vector<uint8_t>(p, p + 8), c.want);
        EXPECT_EQ(surface.ImageType(), c.type);
        EXPECT_EQ(surface.Alpha(), c.alpha);
    }
}

// --- Refusals ------------------------------------------------------------------

TEST(BmpParser, MalformedHeadersAreRefusedAndLeaveNoImage) {
    auto with = [](auto change) {
        BmpFields fields;
        fields.width = 2;
        fields.height = 2;
        fields.data.assign(16, 0x55);
        change(fields);
        return MakeBmp(fields);
    };
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"not a bitmap", {'B', 'N', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40, 0, 0, 0}},
        {"too short for a header", {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40, 0}},
        {"unknown header size", with([](BmpFields& s) { s.headerSize = 44; })},
        {"OS/2 2.x header", with([](BmpFields& s) { s.headerSize = 64; })},
        {"width 0", with([](BmpFields& s) { s.width = 0; })},
        {"negative width", with([](BmpFields& s) { s.width = -2; })},
        {"height 0", with([](BmpFields& s) { s.height = 0; })},
        {"lowest height", with([](BmpFields& s) { s.height = INT32_MIN; })},
        {"7 bits", with([](BmpFields& s) { s.bits = 7; })},
        {"RLE8 at 4 bits", with([](BmpFields& s) { s.bits = 4, s.compression = 1; })},
        {"bit fields at 24 bits", with([](BmpFields& s) {
             s.compression = 3, s.masks = {1, 2, 4};
         })},
        {"split mask", with([](BmpFields& s) {
             s.bits = 32, s.compression = 3, s.masks = {0xFF00FF, 0xFF00, 0};
         })},
        {"16-bit mask past 16 bits", with([](BmpFields& s) {
             s.bits = 16, s.compression = 3, s.masks = {0x1F0000, 0x3E0, 0x1F};
         })},
        {"masks cut off",
         with([](BmpFields& s) { s.bits = 32, s.compression = 3, s.data.clear(); })},
        {"JPEG inside", with([](BmpFields& s) { s.compression = 4; })},
        {"unknown compression", with([](BmpFields& s) { s.compression = 11; })},
        {"absurd palette count", with([](BmpFields& s) { s.bits = 8, s.colorsUsed = 1u << 20; })},
        {"pixel offset past the end", with([](BmpFields& s) { s.offBits = 4000; })},
        {"rows missing", with([](BmpFields& s) { s.height = 3; })},
        {"run-length picture of 16000 x 16000 from two bytes", with([](BmpFields& s) {
             s.width = s.height = 16000, s.bits = 8, s.compression = 1, s.data = {0, 1};
         })},
        {"60-byte file claiming 20000 x 20000",
         with([](BmpFields& s) { s.width = 20000, s.height = 20000, s.data.resize(6); })},
        {"sides whose product overflows 64 bits once multiplied by 4",
         with([](BmpFields& s) { s.width = INT32_MAX, s.height = INT32_MAX, s.bits = 8; })},
        {"more bytes than a surface holds",
         with([](BmpFields& s) { s.width = 40000, s.height = -40000, s.bits = 1; })},
    };
    for (const auto& c : cases) {
        API32bppDIB surface;
        ASSERT_TRUE(surface.InitializeDIB(3, 3));  // an earlier picture must go
        APIBMPParser parser;
        EXPECT_FALSE(parser.LoadStream(c.bytes, surface)) << c.name;
        EXPECT_EQ(surface.Handle(), 0u) << c.name;
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError) << c.name;
    }
}

// --- Writer --------------------------------------------------------------------

// With alpha the surface comes back byte for byte; without, flattened onto
// the fill colour. Widths 1 to 5 and 17 meet every row padding.
TEST(BmpWriter, RoundTripsWithAlphaAndFlattensWithout) {
    Noise noise(11);
    const std::pair<const char*, std::function<Straight(int32_t, int32_t)>> surfaces[] = {
        {"opaque",
         [](int32_t x, int32_t y) {
             return Straight{B(x * 9), B(y * 7), 99, 255};
         }},
        {"simple alpha",
         [](int32_t x, int32_t y) {
             return Straight{200, B(x), B(y), B((x ^ y) & 1 ? 255 : 0)};
         }},
        {"complex alpha",
         [&](int32_t, int32_t) {
             return Straight{noise.Byte(), noise.Byte(), noise.Byte(), noise.Byte()};
         }},
    };
    const int32_t fill = 0x2080FF;  // red FF, green 80, blue 20
    for (const auto& [name, color] : surfaces) {
        for (const int32_t width : {1, 2, 3, 4, 5, 17}) {
            SCOPED_TRACE(std::string(name) + " width " + std::to_string(width));
            API32bppDIB surface;
            Fill(surface, width, 3, color);
            std::vector<uint8_t> bytes;
            API32bppDIB back;
            APIBMPParser parser;
            ASSERT_TRUE(APIBMPParser::SaveToStream(surface, bytes, fill, true));
            ASSERT_TRUE(parser.LoadStream(bytes, back));
            EXPECT_TRUE(test::SamePixels(back, surface));
            EXPECT_EQ(back.ImageType(), std::string(name) == "opaque"
                                            ? ENUM_IMAGE_FORMAT::ImageBitmap
                                            : ENUM_IMAGE_FORMAT::ImageBitmapARGB);

            ASSERT_TRUE(APIBMPParser::SaveToStream(surface, bytes, fill, false));
            EXPECT_EQ(bytes.size(), 54u + static_cast<size_t>(ScanlineBytes(24, width)) * 3);
            ASSERT_TRUE(parser.LoadStream(bytes, back));
            API32bppDIB want;
            Fill(want, width, 3, [&](int32_t x, int32_t y) {
                const uint8_t* p = surface.Pixels().Pixel(x, y);
                auto over = [&](int c, int f) { return B(c + (f * (255 - p[3]) + 127) / 255); };
                return Straight{over(p[2], 0xFF), over(p[1], 0x80), over(p[0], 0x20), 255};
            });
            EXPECT_TRUE(test::SamePixels(back, want));
            EXPECT_EQ(back.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
        }
    }
    API32bppDIB empty;
    std::vector<uint8_t> bytes = {1};
    EXPECT_FALSE(APIBMPParser::SaveToStream(empty, bytes, 0, true));
    EXPECT_TRUE(bytes.empty());
}

// Our 24-bit rows are laid out exactly as ImageMagick's.
TEST(BmpWriter, TwentyFourBitRowsMatchImageMagicksFile) {
    const auto file = test::ReadFileBytes(kBmpDir + "rgb24.bmp");
    API32bppDIB surface;
    ASSERT_TRUE(APIBMPParser().LoadStream(file, surface));
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(APIBMPParser::SaveToStream(surface, bytes, 0, false));
    ASSERT_EQ(bytes.size(), file.size());
    EXPECT_TRUE(std::equal(bytes.begin() + 54, bytes.end(), file.begin() + 54));
}

}  // namespace
}  // namespace kelvara
