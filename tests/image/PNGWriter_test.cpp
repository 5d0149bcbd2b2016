#include "kelvara/image/png/APIPNGWriter.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <map>
#include <optional>
#include <string>

#include "kelvara/base/Date.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/png/APIPNGParser.h"
#include "tests/image/CodecTestSupport.h"
#include "tests/image/LibpngOracle.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Noise;
using test::Straight;

// The chunks before the image data, as libpng reads them.
struct LibpngInfo {
    int colorType = -1;
    int bitDepth = 0;
    std::map<std::string, std::string> texts;  // keyword → text as stored
    std::map<std::string, bool> international;
    std::optional<png_time> time;
    std::optional<png_color_16> background;
    std::vector<png_color> palette;
};

std::optional<LibpngInfo> ReadInfoWithLibpng(const std::vector<uint8_t>& bytes) {
    LibpngInfo result;
    test::detail::MemoryReader reader{bytes};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, test::detail::Fail,
                                             test::detail::Quiet);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return std::nullopt;
    }
    png_set_read_fn(png, &reader, test::detail::ReadFromMemory);
    png_read_info(png, info);
    result.colorType = png_get_color_type(png, info);
    result.bitDepth = png_get_bit_depth(png, info);
    png_colorp palette = nullptr;
    int entries = 0;
    if (png_get_PLTE(png, info, &palette, &entries) != 0) {
        result.palette.assign(palette, palette + entries);
    }
    png_color_16p background = nullptr;
    if (png_get_bKGD(png, info, &background) != 0) {
        result.background = *background;
    }
    png_timep time = nullptr;
    if (png_get_tIME(png, info, &time) != 0) {
        result.time = *time;
    }
    png_textp texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
        const bool international = texts[i].compression > 0;
        result.texts[texts[i].key] =
            std::string(texts[i].text, international ? texts[i].itxt_length : texts[i].text_length);
        result.international[texts[i].key] = international;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return result;
}

// libpng and our reader both give back exactly the surface's bytes.
void ExpectBothReadersGiveBack(const std::vector<uint8_t>& bytes, const API32bppDIB& surface) {
    const auto oracle = test::DecodeWithLibpng(bytes);
    ASSERT_TRUE(oracle.has_value()) << "libpng refused the file";
    ASSERT_EQ(oracle->width, surface.Width());
    ASSERT_EQ(oracle->height, surface.Height());
    EXPECT_TRUE(std::equal(oracle->bgra.begin(), oracle->bgra.end(), surface.BitsPointer()))
        << "libpng's pixels differ";
    API32bppDIB back;
    ASSERT_TRUE(APIPNGParser().LoadStream(bytes, back)) << "our reader refused the file";
    EXPECT_EQ(back.ImageType(), ENUM_IMAGE_FORMAT::ImagePNG);
    EXPECT_TRUE(test::SamePixels(back, surface));
}

int CountIdat(const std::vector<uint8_t>& bytes) {
    int count = 0;
    for (size_t at = 8; at + 8 <= bytes.size();) {
        const size_t length = size_t{bytes[at]} << 24 | size_t{bytes[at + 1]} << 16 |
                              size_t{bytes[at + 2]} << 8 | bytes[at + 3];
        count += std::string(bytes.begin() + static_cast<ptrdiff_t>(at + 4),
                             bytes.begin() + static_cast<ptrdiff_t>(at + 8)) == "IDAT";
        at += 12 + length;
    }
    return count;
}

Straight Gray(uint8_t v, uint8_t a) {
    return {v, v, v, a};
}
uint8_t B(int32_t v) {
    return static_cast<uint8_t>(v);
}

class PngWriterRoundTrip : public ::testing::TestWithParam<bool> {};

// Every kind of surface, with zlib and with stored blocks: the colour type
// follows the content and both readers give back the very bytes.
TEST_P(PngWriterRoundTrip, EverySurfaceKindReadsBackExactly) {
    const ZlibScope zlib(GetParam());
    Noise noise(7);
    const struct {
        const char* name;
        int32_t width, height;
        std::function<Straight(int32_t, int32_t)> color;
        int colorType;
        int minIdat = 1;
    } cases[] = {
        // clang-format off
        {"opaque photo", 61, 47, [](int32_t x, int32_t y) { return Straight{B(x * 4), B(y * 5), B(x * y), 255}; }, PNG_COLOR_TYPE_RGB},
        {"simple alpha", 40, 40, [](int32_t x, int32_t y) { return Straight{B(x * 6), B(y * 6), 200, B((x + y) % 3 ? 255 : 0)}; }, PNG_COLOR_TYPE_RGB_ALPHA},
        {"complex alpha", 33, 29, [&](int32_t, int32_t) { return Straight{noise.Byte(), noise.Byte(), noise.Byte(), noise.Byte()}; }, PNG_COLOR_TYPE_RGB_ALPHA},
        {"checker board", 32, 32, [](int32_t x, int32_t y) { return (x / 8 + y / 8) % 2 ? Straight{255, 0, 0, 255} : Straight{0, 0, 255, 255}; }, PNG_COLOR_TYPE_PALETTE},
        {"gray ramp", 300, 20, [](int32_t x, int32_t) { return Gray(B(x), 255); }, PNG_COLOR_TYPE_GRAY},
        {"gray with alpha", 256, 4, [](int32_t x, int32_t y) { return Gray(B(x), B(y * 60 + 10)); }, PNG_COLOR_TYPE_GRAY_ALPHA},
        {"translucent palette", 64, 64, [](int32_t x, int32_t y) { return Straight{B(x / 4 * 16), 40, B(y / 4 * 16), B(y < 32 ? 255 : 128)}; }, PNG_COLOR_TYPE_PALETTE},
        {"one pixel", 1, 1, [](int32_t, int32_t) { return Straight{10, 20, 30, 99}; }, PNG_COLOR_TYPE_RGB_ALPHA},
        {"wide row", 3001, 1, [](int32_t x, int32_t) { return Straight{B(x), B(x >> 3), 7, 255}; }, PNG_COLOR_TYPE_RGB},
        {"tall column", 1, 2999, [](int32_t, int32_t y) { return Straight{B(y), 0, B(y >> 4), B(y % 251)}; }, PNG_COLOR_TYPE_RGB_ALPHA},
        // Over a mebibyte of data: several IDAT chunks, many stored blocks.
        {"large noise", 700, 500, [&](int32_t, int32_t) { return Straight{noise.Byte(), noise.Byte(), noise.Byte(), noise.Byte()}; }, PNG_COLOR_TYPE_RGB_ALPHA, 2},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        Fill(surface, c.width, c.height, c.color);
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(APIPNGWriter().SavePNG(surface, bytes));
        const auto info = ReadInfoWithLibpng(bytes);
        ASSERT_TRUE(info.has_value());
        EXPECT_EQ(info->colorType, c.colorType);
        EXPECT_EQ(info->bitDepth, 8);
        EXPECT_GE(CountIdat(bytes), c.minIdat);
        ExpectBothReadersGiveBack(bytes, surface);
    }
}

// Every premultiplied colour byte c under every alpha a (c ≤ a) survives
// write → read; rounding up when un-premultiplying is what buys this.
TEST_P(PngWriterRoundTrip, EveryPremultipliedPairSurvives) {
    const ZlibScope zlib(GetParam());
    API32bppDIB surface;
    ASSERT_TRUE(surface.InitializeDIB(256, 256));
    for (int32_t a = 0; a < 256; ++a) {
        for (int32_t c = 0; c <= a; ++c) {
            uint8_t* p = surface.Pixels().Pixel(c, a);
            p[0] = B(c);
            p[1] = B(a - c);
            p[2] = B(c / 2);
            p[3] = B(a);
        }
    }
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(APIPNGWriter().SavePNG(surface, bytes));
    ExpectBothReadersGiveBack(bytes, surface);
}

INSTANTIATE_TEST_SUITE_P(Zlib, PngWriterRoundTrip, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "ZlibOn" : "ZlibOff"; });

TEST(PngWriter, FillColorFlattensOntoThatColourAndWritesOpaque) {
    API32bppDIB surface;
    const Straight pixels[] = {{0, 0, 0, 0}, {10, 20, 30, 255}, {128, 0, 255, 128}};
    Fill(surface, 3, 1, [&](int32_t x, int32_t) { return pixels[x]; });
    std::vector<uint8_t> bytes;
    // OLE colour: red 0xFF, green 0x80, blue 0x00.
    ASSERT_TRUE(APIPNGWriter().SavePNG(surface, bytes, 0x0080FF));
    EXPECT_EQ(ReadInfoWithLibpng(bytes)->colorType, PNG_COLOR_TYPE_RGB);
    // Stored (B, G, R | A) = (128, 0, 64 | 128) over the fill: red 64 + 127,
    // green 0 + 128·127/255 rounded, blue 128 + 0.
    const std::vector<uint8_t> want = {0, 128, 255, 255, 30, 20, 10, 255, 128, 64, 191, 255};
    EXPECT_EQ(test::DecodeWithLibpng(bytes)->bgra, want);
}

TEST(PngWriter, SaveToFileWritesTheSameBytesAndEmptySurfacesNothing) {
    API32bppDIB surface;
    std::vector<uint8_t> bytes = {1};
    APIPNGWriter writer;
    EXPECT_FALSE(writer.SavePNG(surface, bytes));
    EXPECT_TRUE(bytes.empty());
    Fill(surface, 5, 4, [](int32_t x, int32_t y) {
        return Straight{B(x * 50), B(y * 60), 9, 255};
    });
    ASSERT_TRUE(writer.SavePNG(surface, bytes));
    const std::string path = ::testing::TempDir() + "kelvara_pngwriter.png";
    ASSERT_TRUE(writer.SaveToFile(path, surface));
    EXPECT_EQ(test::ReadFileBytes(path), bytes);
    std::remove(path.c_str());
    EXPECT_FALSE(writer.SaveToFile("/nonexistent-dir/x.png", surface));
}

// --- Properties --------------------------------------------------------------

TEST(PngWriterProperties, SetGetReplaceRemoveClearAndEmptyValues) {
    APIPNGWriter writer;
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{-1}));
    EXPECT_EQ(writer.GetProperty(2048), Variant(Date(0)));
    EXPECT_EQ(writer.GetProperty(1), Variant(""));
    EXPECT_EQ(APIPNGWriter::EmptyProperty(77), Variant(""));
    ASSERT_TRUE(writer.SetProperty(1, Variant("First")));
    ASSERT_TRUE(writer.SetProperty(1, Variant("Second")));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("a"), "Key"));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("b"), "Other Key"));
    ASSERT_TRUE(writer.SetProperty(4096, Variant(int16_t{0x1234})));
    EXPECT_EQ(writer.GetProperty(1), Variant("Second"));
    EXPECT_EQ(writer.GetProperty(1024, "Key"), Variant("a"));
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{0x1234}));
    ASSERT_TRUE(writer.SetProperty(1024, Variant(), "Key"));  // Empty removes
    EXPECT_EQ(writer.GetProperty(1024, "Key"), Variant(""));
    EXPECT_EQ(writer.GetProperty(1024, "Other Key"), Variant("b"));
    ASSERT_TRUE(writer.SetProperty(-1, Variant()));  // −1 removes all
    EXPECT_EQ(writer.GetProperty(1), Variant(""));
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{-1}));
}

TEST(PngWriterProperties, RefusesUnknownPropertiesWrongKindsAndBadKeywords) {
    const struct {
        const char* what;
        int32_t property;
        Variant value;
        std::string keyword;
    } cases[] = {
        {"unknown property", 3, Variant("x"), ""},
        {"number as title", 1, Variant(int32_t{5}), ""},
        {"text with a zero byte", 2, Variant(std::string("a\0b", 3)), ""},
        {"malformed UTF-8", 4, Variant("\xC3("), ""},
        {"overlong UTF-8", 4, Variant("\xC0\xAF"), ""},
        {"date as author", 2, Variant(Date(45000)), ""},
        {"text as background", 4096, Variant("red"), ""},
        {"system colour as background", 4096, Variant(int32_t(0x80000005)), ""},
        {"background past 24 bits", 4096, Variant(int32_t{0x1000000}), ""},
        {"fractional background", 4096, Variant(1.5), ""},
        {"text as last modified", 2048, Variant("2024-01-01"), ""},
        {"invalid date", 2048, Variant(Date(1e9)), ""},
        {"empty keyword", 1024, Variant("x"), ""},
        {"80-character keyword", 1024, Variant("x"), std::string(80, 'k')},
        {"leading space", 1024, Variant("x"), " Key"},
        {"trailing space", 1024, Variant("x"), "Key "},
        {"doubled space", 1024, Variant("x"), "Key  Word"},
        {"control character", 1024, Variant("x"), "Key\tWord"},
        {"non-Latin-1 keyword", 1024, Variant("x"), "\xD0\x9A\xD0\xBB"},
    };
    for (const auto& c : cases) {
        APIPNGWriter writer;
        EXPECT_FALSE(writer.SetProperty(c.property, c.value, c.keyword)) << c.what;
        EXPECT_EQ(writer.GetProperty(c.property, c.keyword),
                  APIPNGWriter::EmptyProperty(c.property))
            << c.what;
    }
}

const API32bppDIB& SmallColourSurface() {
    static API32bppDIB surface;
    Fill(surface, 20, 20, [](int32_t x, int32_t y) {
        return Straight{B(x * 12), B(y * 12), 77, 255};
    });
    return surface;
}

TEST(PngWriterProperties, TextGoesToTextOrInternationalTextChunksUnderItsKeyword) {
    const std::map<int32_t, std::string> keywords = {
        {1, "Title"},     {2, "Author"},      {4, "Description"}, {8, "Copyright"},
        {32, "Software"}, {64, "Disclaimer"}, {128, "Warning"},   {256, "Source"}};
    APIPNGWriter writer;
    std::map<std::string, std::string> want;
    for (const auto& [property, keyword] : keywords) {
        ASSERT_TRUE(writer.SetProperty(property, Variant("v" + std::to_string(property))));
        want[keyword] = "v" + std::to_string(property);
    }
    ASSERT_TRUE(writer.SetProperty(1, Variant("Caf\xC3\xA9 Brasil")));  // fits Latin-1
    ASSERT_TRUE(writer.SetProperty(2, Variant("\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD")));  // does not
    ASSERT_TRUE(writer.SetProperty(16, Variant(*DateSerial(2024, 2, 29))));
    ASSERT_TRUE(writer.SetProperty(512, Variant("line one\nline two")));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("42"), "Fr\xC3\xA9quence"));
    want["Title"] = "Caf\xE9 Brasil";
    want["Author"] = "\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD";
    want["Creation Time"] = "2024-02-29T00:00:00";
    want["Comment"] = "line one\nline two";
    want["Fr\xE9quence"] = "42";
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    const auto info = ReadInfoWithLibpng(bytes);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->texts, want);
    EXPECT_TRUE(info->international.at("Author"));
    EXPECT_FALSE(info->international.at("Title"));
    EXPECT_FALSE(info->international.at("Fr\xE9quence"));
}

TEST(PngWriterProperties, LastModifiedBecomesTimeUnlessDateZero) {
    APIPNGWriter writer;
    const Date when(DateSerial(2031, 12, 31)->Serial() + TimeSerial(23, 59, 58)->Serial());
    ASSERT_TRUE(writer.SetProperty(2048, Variant(when)));
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    const auto time = ReadInfoWithLibpng(bytes)->time;
    ASSERT_TRUE(time.has_value());
    EXPECT_EQ((std::array<int, 6>{time->year, time->month, time->day, time->hour, time->minute,
                                  time->second}),
              (std::array<int, 6>{2031, 12, 31, 23, 59, 58}));
    ASSERT_TRUE(writer.SetProperty(2048, Variant(Date(0))));
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    EXPECT_FALSE(ReadInfoWithLibpng(bytes)->time.has_value());
}

// bKGD is written in the picture's own colour type; a background that the
// layout the content asks for cannot express moves the picture to one that
// can.
TEST(PngWriterProperties, BackgroundFollowsTheColourType) {
    const struct {
        const char* name;
        bool ramp;      // 256 gray levels (translucent in the lower half) …
        uint8_t alpha;  // … at this alpha, or two colours
        int32_t background;
        int colorType;
    } cases[] = {
        {"gray picture, gray background", true, 255, 0x404040, PNG_COLOR_TYPE_GRAY},
        {"gray picture, red background", true, 255, 0x0000FF, PNG_COLOR_TYPE_RGB},
        {"two colours, background in palette", false, 255, 0x070809, PNG_COLOR_TYPE_PALETTE},
        {"two colours, background added", false, 255, 0x123456, PNG_COLOR_TYPE_PALETTE},
        {"gray alpha, gray background", true, 100, 0x7F7F7F, PNG_COLOR_TYPE_GRAY_ALPHA},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        Fill(surface, 300, 8, [&](int32_t x, int32_t y) {
            if (c.ramp) {
                return Gray(B(x % 256), y < 4 ? 255 : c.alpha);
            }
            return y < 4 ? Straight{9, 8, 7, 255} : Straight{200, 100, 50, 255};
        });
        APIPNGWriter writer;
        ASSERT_TRUE(writer.SetProperty(4096, Variant(c.background)));
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(writer.SavePNG(surface, bytes));
        const auto info = ReadInfoWithLibpng(bytes);
        ASSERT_TRUE(info.has_value() && info->background.has_value());
        EXPECT_EQ(info->colorType, c.colorType);
        const png_color_16 bg = *info->background;
        const std::array<int, 3> want = {c.background & 0xFF, c.background >> 8 & 0xFF,
                                         c.background >> 16 & 0xFF};
        if (c.colorType == PNG_COLOR_TYPE_PALETTE) {
            ASSERT_LT(bg.index, info->palette.size());
            const png_color entry = info->palette[bg.index];
            EXPECT_EQ((std::array<int, 3>{entry.red, entry.green, entry.blue}), want);
        } else if ((c.colorType & PNG_COLOR_MASK_COLOR) == 0) {
            EXPECT_EQ(bg.gray, want[0]);
        } else {
            EXPECT_EQ((std::array<int, 3>{bg.red, bg.green, bg.blue}), want);
        }
        ExpectBothReadersGiveBack(bytes, surface);
    }
}

}  // namespace
}  // namespace kelvara
