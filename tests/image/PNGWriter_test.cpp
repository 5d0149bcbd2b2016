#include "kelvara/image/png/APIPNGWriter.h"

#include <gtest/gtest.h>
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <map>
#include <optional>
#include <string>

#include "kelvara/base/Date.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/png/APIPNGParser.h"
#include "tests/image/CodecTestSupport.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Noise;
using test::Straight;

// What libpng makes of a PNG: straight RGBA rows, top first, and the
// ancillary chunks the writer may add.
struct LibpngImage {
    int32_t width = 0;
    int32_t height = 0;
    int colorType = -1;
    int bitDepth = 0;
    int idatChunks = 0;
    std::vector<uint8_t> rgba;
    std::map<std::string, std::string> texts;  // keyword → text as stored
    std::map<std::string, bool> isInternational;
    std::optional<png_time> time;
    std::optional<png_color_16> background;
    std::vector<png_color> palette;
};

struct MemoryReader {
    const std::vector<uint8_t>* bytes;
    size_t at;
};

void ReadFromMemory(png_structp png, png_bytep out, size_t length) {
    auto* reader = static_cast<MemoryReader*>(png_get_io_ptr(png));
    if (reader->at + length > reader->bytes->size()) {
        png_error(png, "read past the end");
    }
    std::copy_n(reader->bytes->data() + reader->at, length, out);
    reader->at += length;
}

int CountIdat(const std::vector<uint8_t>& bytes) {
    int count = 0;
    for (size_t at = 8; at + 8 <= bytes.size();) {
        const uint32_t length = (uint32_t{bytes[at]} << 24) | (uint32_t{bytes[at + 1]} << 16) |
                                (uint32_t{bytes[at + 2]} << 8) | bytes[at + 3];
        count += std::equal(bytes.begin() + static_cast<ptrdiff_t>(at + 4),
                            bytes.begin() + static_cast<ptrdiff_t>(at + 8), "IDAT");
        at += 12 + length;
    }
    return count;
}

std::optional<LibpngImage> DecodeWithLibpng(const std::vector<uint8_t>& bytes) {
    LibpngImage image;
    MemoryReader reader{&bytes, 0};
    std::vector<png_bytep> rows;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return std::nullopt;
    }
    png_set_read_fn(png, &reader, ReadFromMemory);
    png_read_info(png, info);
    image.width = static_cast<int32_t>(png_get_image_width(png, info));
    image.height = static_cast<int32_t>(png_get_image_height(png, info));
    image.colorType = png_get_color_type(png, info);
    image.bitDepth = png_get_bit_depth(png, info);
    png_colorp palette = nullptr;
    int paletteSize = 0;
    if (png_get_PLTE(png, info, &palette, &paletteSize) != 0) {
        image.palette.assign(palette, palette + paletteSize);
    }
    png_color_16p background = nullptr;
    if (png_get_bKGD(png, info, &background) != 0) {
        image.background = *background;
    }
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    image.rgba.resize(static_cast<size_t>(image.width) * image.height * 4);
    rows.resize(static_cast<size_t>(image.height));
    for (int32_t y = 0; y < image.height; ++y) {
        rows[static_cast<size_t>(y)] = image.rgba.data() + static_cast<size_t>(y) * image.width * 4;
    }
    png_read_image(png, rows.data());
    png_read_end(png, info);
    png_textp texts = nullptr;
    int textCount = 0;
    png_get_text(png, info, &texts, &textCount);
    for (int i = 0; i < textCount; ++i) {
        const std::string key = texts[i].key;
        image.texts[key] = std::string(
            texts[i].text, texts[i].compression > 0 ? texts[i].itxt_length : texts[i].text_length);
        image.isInternational[key] = texts[i].compression > 0;
    }
    png_timep time = nullptr;
    if (png_get_tIME(png, info, &time) != 0) {
        image.time = *time;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    image.idatChunks = CountIdat(bytes);
    return image;
}

// Checks that libpng's straight pixels, premultiplied as our readers do,
// are exactly the surface's bytes.
::testing::AssertionResult LibpngMatchesSurface(const LibpngImage& image,
                                                const API32bppDIB& surface) {
    if (image.width != surface.Width() || image.height != surface.Height()) {
        return ::testing::AssertionFailure() << "size differs";
    }
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            const uint8_t* p = image.rgba.data() + (static_cast<size_t>(y) * image.width + x) * 4;
            const auto have = test::Premultiply({p[0], p[1], p[2], p[3]});
            const uint8_t* want = surface.Pixels().Pixel(x, y);
            if (!std::equal(have.begin(), have.end(), want)) {
                return ::testing::AssertionFailure()
                       << "pixel (" << x << ", " << y << ") have BGRA " << int{have[0]} << ","
                       << int{have[1]} << "," << int{have[2]} << "," << int{have[3]} << " want "
                       << int{want[0]} << "," << int{want[1]} << "," << int{want[2]} << ","
                       << int{want[3]};
            }
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult OurReaderMatchesSurface(const std::vector<uint8_t>& bytes,
                                                   const API32bppDIB& surface) {
    API32bppDIB back;
    APIPNGParser parser;
    if (!parser.LoadStream(bytes, back)) {
        return ::testing::AssertionFailure() << "our reader refused the file";
    }
    if (back.ImageType() != ENUM_IMAGE_FORMAT::ImagePNG) {
        return ::testing::AssertionFailure()
               << "image type " << static_cast<int>(back.ImageType());
    }
    return test::SamePixels(back, surface);
}

struct SurfaceCase {
    const char* name;
    int32_t width;
    int32_t height;
    std::function<Straight(int32_t, int32_t)> color;
    int wantColorType;
};

std::vector<SurfaceCase> SurfaceCases() {
    auto noise = std::make_shared<Noise>(7);
    return {
        {"OpaquePhoto", 61, 47,
         [](int32_t x, int32_t y) {
             return Straight{static_cast<uint8_t>(x * 4), static_cast<uint8_t>(y * 5),
                             static_cast<uint8_t>(x * y), 255};
         },
         PNG_COLOR_TYPE_RGB},
        {"SimpleAlpha", 40, 40,
         [](int32_t x, int32_t y) {
             return Straight{static_cast<uint8_t>(x * 6), static_cast<uint8_t>(y * 6), 200,
                             static_cast<uint8_t>((x + y) % 3 == 0 ? 0 : 255)};
         },
         PNG_COLOR_TYPE_RGB_ALPHA},
        {"ComplexAlphaNoise", 33, 29,
         [noise](int32_t, int32_t) {
             return Straight{noise->Byte(), noise->Byte(), noise->Byte(), noise->Byte()};
         },
         PNG_COLOR_TYPE_RGB_ALPHA},
        {"CheckerBoard", 32, 32,
         [](int32_t x, int32_t y) {
             return ((x / 8 + y / 8) % 2) != 0 ? Straight{255, 0, 0, 255}
                                               : Straight{0, 0, 255, 255};
         },
         PNG_COLOR_TYPE_PALETTE},
        {"GrayRamp", 300, 20,
         [](int32_t x, int32_t) {
             const auto v = static_cast<uint8_t>(x);
             return Straight{v, v, v, 255};
         },
         PNG_COLOR_TYPE_GRAY},
        {"GrayWithAlpha", 256, 4,
         [](int32_t x, int32_t y) {
             const auto v = static_cast<uint8_t>(x);
             return Straight{v, v, v, static_cast<uint8_t>(y * 60 + 10)};
         },
         PNG_COLOR_TYPE_GRAY_ALPHA},
        {"TranslucentPalette", 64, 64,
         [](int32_t x, int32_t y) {
             return Straight{static_cast<uint8_t>(x / 4 * 16), 40, static_cast<uint8_t>(y / 4 * 16),
                             static_cast<uint8_t>(y < 32 ? 255 : 128)};
         },
         PNG_COLOR_TYPE_PALETTE},
        {"OnePixel", 1, 1,
         [](int32_t, int32_t) {
             return Straight{10, 20, 30, 99};
         },
         PNG_COLOR_TYPE_RGB_ALPHA},
        {"WideRow", 3001, 1,
         [](int32_t x, int32_t) {
             return Straight{static_cast<uint8_t>(x), static_cast<uint8_t>(x >> 3), 7, 255};
         },
         PNG_COLOR_TYPE_RGB},
        {"TallColumn", 1, 2999,
         [](int32_t, int32_t y) {
             return Straight{static_cast<uint8_t>(y), 0, static_cast<uint8_t>(y >> 4),
                             static_cast<uint8_t>(y % 251)};
         },
         PNG_COLOR_TYPE_RGB_ALPHA},
    };
}

class PngWriterRoundTrip : public ::testing::TestWithParam<bool> {};

TEST_P(PngWriterRoundTrip, LibpngAndOurReaderReadEverySurfaceKindBackExactly) {
    const ZlibScope zlib(GetParam());
    for (const SurfaceCase& c : SurfaceCases()) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        Fill(surface, c.width, c.height, c.color);
        std::vector<uint8_t> bytes;
        APIPNGWriter writer;
        ASSERT_TRUE(writer.SavePNG(surface, bytes));
        const auto image = DecodeWithLibpng(bytes);
        ASSERT_TRUE(image.has_value());
        EXPECT_EQ(image->colorType, c.wantColorType);
        EXPECT_EQ(image->bitDepth, 8);
        EXPECT_TRUE(LibpngMatchesSurface(*image, surface));
        EXPECT_TRUE(OurReaderMatchesSurface(bytes, surface));
    }
}

// Every premultiplied colour byte c under every alpha a (c ≤ a) must come
// back unchanged after write → read; this is what rounding up when
// un-premultiplying buys.
TEST_P(PngWriterRoundTrip, EveryPremultipliedPairSurvives) {
    const ZlibScope zlib(GetParam());
    API32bppDIB surface;
    ASSERT_TRUE(surface.InitializeDIB(256, 256));
    for (int32_t a = 0; a < 256; ++a) {
        for (int32_t c = 0; c <= a; ++c) {
            uint8_t* p = surface.Pixels().Pixel(c, a);
            p[0] = static_cast<uint8_t>(c);
            p[1] = static_cast<uint8_t>(a - c);
            p[2] = static_cast<uint8_t>(c / 2);
            p[3] = static_cast<uint8_t>(a);
        }
    }
    std::vector<uint8_t> bytes;
    APIPNGWriter writer;
    ASSERT_TRUE(writer.SavePNG(surface, bytes));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value());
    EXPECT_TRUE(LibpngMatchesSurface(*image, surface));
    EXPECT_TRUE(OurReaderMatchesSurface(bytes, surface));
}

TEST_P(PngWriterRoundTrip, LargeNoiseSpansSeveralIdatChunksAndStoredBlocks) {
    const ZlibScope zlib(GetParam());
    Noise noise(3);
    API32bppDIB surface;
    Fill(surface, 700, 500, [&](int32_t, int32_t) {
        return Straight{noise.Byte(), noise.Byte(), noise.Byte(), noise.Byte()};
    });
    std::vector<uint8_t> bytes;
    APIPNGWriter writer;
    ASSERT_TRUE(writer.SavePNG(surface, bytes));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value());
    EXPECT_GE(image->idatChunks, 2);
    EXPECT_TRUE(LibpngMatchesSurface(*image, surface));
    EXPECT_TRUE(OurReaderMatchesSurface(bytes, surface));
}

INSTANTIATE_TEST_SUITE_P(Zlib, PngWriterRoundTrip, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "ZlibOn" : "ZlibOff"; });

TEST(PngWriter, FillColorFlattensOntoThatColourAndWritesOpaque) {
    API32bppDIB surface;
    const Straight pixels[] = {{0, 0, 0, 0}, {10, 20, 30, 255}, {128, 0, 255, 128}};
    Fill(surface, 3, 1, [&](int32_t x, int32_t) { return pixels[x]; });
    std::vector<uint8_t> bytes;
    APIPNGWriter writer;
    // OLE colour: red 0xFF, green 0x80, blue 0x00.
    ASSERT_TRUE(writer.SavePNG(surface, bytes, 0x0080FF));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->colorType, PNG_COLOR_TYPE_RGB);
    // Stored premultiplied (64, 0, 128 | 128) over the fill: 64 + 255·127/255,
    // 0 + 128·127/255 rounded, 128 + 0.
    const std::vector<uint8_t> want = {255, 128, 0, 255, 10, 20, 30, 255, 191, 64, 128, 255};
    EXPECT_EQ(image->rgba, want);
}

TEST(PngWriter, EmptySurfaceIsRefused) {
    API32bppDIB surface;
    std::vector<uint8_t> bytes = {1, 2, 3};
    APIPNGWriter writer;
    EXPECT_FALSE(writer.SavePNG(surface, bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST(PngWriter, SaveToFileWritesTheSameBytes) {
    API32bppDIB surface;
    Fill(surface, 5, 4, [](int32_t x, int32_t y) {
        return Straight{static_cast<uint8_t>(x * 50), static_cast<uint8_t>(y * 60), 9, 255};
    });
    APIPNGWriter writer;
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(surface, bytes));
    const std::string path = ::testing::TempDir() + "kelvara_pngwriter.png";
    ASSERT_TRUE(writer.SaveToFile(path, surface));
    EXPECT_EQ(test::ReadFileBytes(path), bytes);
    std::remove(path.c_str());
    EXPECT_FALSE(writer.SaveToFile("/nonexistent-dir/x.png", surface));
}

// --- Properties --------------------------------------------------------------

TEST(PngWriterProperties, UnsetPropertiesAnswerTheirEmptyValue) {
    const APIPNGWriter writer;
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{-1}));
    EXPECT_EQ(writer.GetProperty(2048), Variant(Date(0)));
    EXPECT_EQ(writer.GetProperty(1), Variant(""));
    EXPECT_EQ(writer.GetProperty(1024, "Anything"), Variant(""));
    EXPECT_EQ(APIPNGWriter::EmptyProperty(4096), Variant(int32_t{-1}));
    EXPECT_EQ(APIPNGWriter::EmptyProperty(2048), Variant(Date(0)));
    EXPECT_EQ(APIPNGWriter::EmptyProperty(77), Variant(""));
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
        {"non-Latin-1 keyword", 1024, Variant("x"), "Ключ"},
    };
    for (const auto& c : cases) {
        APIPNGWriter writer;
        EXPECT_FALSE(writer.SetProperty(c.property, c.value, c.keyword)) << c.what;
        EXPECT_EQ(writer.GetProperty(c.property, c.keyword),
                  APIPNGWriter::EmptyProperty(c.property))
            << c.what;
    }
}

TEST(PngWriterProperties, SetGetReplaceRemoveAndClear) {
    APIPNGWriter writer;
    ASSERT_TRUE(writer.SetProperty(1, Variant("First")));
    ASSERT_TRUE(writer.SetProperty(1, Variant("Second")));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("a"), "Key"));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("b"), "Other Key"));
    ASSERT_TRUE(writer.SetProperty(4096, Variant(int16_t{0x1234})));
    EXPECT_EQ(writer.GetProperty(1), Variant("Second"));
    EXPECT_EQ(writer.GetProperty(1024, "Key"), Variant("a"));
    EXPECT_EQ(writer.GetProperty(1024, "Other Key"), Variant("b"));
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{0x1234}));
    ASSERT_TRUE(writer.SetProperty(1024, Variant(), "Key"));
    EXPECT_EQ(writer.GetProperty(1024, "Key"), Variant(""));
    EXPECT_EQ(writer.GetProperty(1024, "Other Key"), Variant("b"));
    ASSERT_TRUE(writer.SetProperty(-1, Variant()));
    EXPECT_EQ(writer.GetProperty(1), Variant(""));
    EXPECT_EQ(writer.GetProperty(4096), Variant(int32_t{-1}));
}

API32bppDIB& SmallColourSurface() {
    static API32bppDIB surface;
    Fill(surface, 20, 20, [](int32_t x, int32_t y) {
        return Straight{static_cast<uint8_t>(x * 12), static_cast<uint8_t>(y * 12), 77, 255};
    });
    return surface;
}

TEST(PngWriterProperties, TextGoesToTextOrInternationalTextChunks) {
    APIPNGWriter writer;
    ASSERT_TRUE(writer.SetProperty(1, Variant("Caf\xC3\xA9 Brasil")));  // Latin-1 fits
    ASSERT_TRUE(writer.SetProperty(2, Variant("\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD")));  // Cyrillic
    ASSERT_TRUE(writer.SetProperty(16, Variant(*DateSerial(2024, 2, 29))));
    ASSERT_TRUE(writer.SetProperty(512, Variant("line one\nline two")));
    ASSERT_TRUE(writer.SetProperty(1024, Variant("42"), "Fr\xC3\xA9quence"));
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value());
    const std::map<std::string, std::string> want = {
        {"Title", "Caf\xE9 Brasil"},
        {"Author", "\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD"},
        {"Creation Time", "2024-02-29T00:00:00"},
        {"Comment", "line one\nline two"},
        {"Fr\xE9quence", "42"},
    };
    EXPECT_EQ(image->texts, want);
    EXPECT_TRUE(image->isInternational.at("Author"));
    EXPECT_FALSE(image->isInternational.at("Title"));
    EXPECT_FALSE(image->isInternational.at("Fr\xE9quence"));
}

TEST(PngWriterProperties, EveryStandardKeywordIsWritten) {
    const std::map<int32_t, std::string> keywords = {
        {1, "Title"},          {2, "Author"},    {4, "Description"}, {8, "Copyright"},
        {16, "Creation Time"}, {32, "Software"}, {64, "Disclaimer"}, {128, "Warning"},
        {256, "Source"},       {512, "Comment"}};
    APIPNGWriter writer;
    std::map<std::string, std::string> want;
    for (const auto& [property, keyword] : keywords) {
        ASSERT_TRUE(writer.SetProperty(property, Variant("v" + std::to_string(property))));
        want[keyword] = "v" + std::to_string(property);
    }
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->texts, want);
}

TEST(PngWriterProperties, LastModifiedBecomesTime) {
    APIPNGWriter writer;
    const Date when(DateSerial(2031, 12, 31)->Serial() + TimeSerial(23, 59, 58)->Serial());
    ASSERT_TRUE(writer.SetProperty(2048, Variant(when)));
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    const auto image = DecodeWithLibpng(bytes);
    ASSERT_TRUE(image.has_value() && image->time.has_value());
    EXPECT_EQ(image->time->year, 2031);
    EXPECT_EQ(image->time->month, 12);
    EXPECT_EQ(image->time->day, 31);
    EXPECT_EQ(image->time->hour, 23);
    EXPECT_EQ(image->time->minute, 59);
    EXPECT_EQ(image->time->second, 58);

    // Date 0 is the empty value: no chunk.
    ASSERT_TRUE(writer.SetProperty(2048, Variant(Date(0))));
    ASSERT_TRUE(writer.SavePNG(SmallColourSurface(), bytes));
    EXPECT_FALSE(DecodeWithLibpng(bytes)->time.has_value());
}

// bKGD is written in the picture's own colour type; a background that the
// chosen layout cannot express moves the picture to one that can.
TEST(PngWriterProperties, BackgroundFollowsTheColourType) {
    const struct {
        const char* name;
        Straight pixel;  // the whole picture is this colour …
        bool ramp;       // … or a gray ramp over it
        int32_t background;
        int wantColorType;
    } cases[] = {
        {"gray picture, gray background", {0, 0, 0, 255}, true, 0x404040, PNG_COLOR_TYPE_GRAY},
        {"gray picture, red background", {0, 0, 0, 255}, true, 0x0000FF, PNG_COLOR_TYPE_RGB},
        {"two colours, background in palette",
         {9, 8, 7, 255},
         false,
         0x070809,
         PNG_COLOR_TYPE_PALETTE},
        {"two colours, background added", {9, 8, 7, 255}, false, 0x123456, PNG_COLOR_TYPE_PALETTE},
        {"gray alpha, gray background", {0, 0, 0, 100}, true, 0x7F7F7F, PNG_COLOR_TYPE_GRAY_ALPHA},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        Fill(surface, 300, 8, [&](int32_t x, int32_t y) {
            if (c.ramp) {
                const auto v = static_cast<uint8_t>(x % 256);
                // Half the rows opaque, so that translucent gray levels push
                // the colour count past a palette.
                return Straight{v, v, v, y < 4 ? uint8_t{255} : c.pixel.a};
            }
            return y < 4 ? c.pixel : Straight{200, 100, 50, 255};
        });
        APIPNGWriter writer;
        ASSERT_TRUE(writer.SetProperty(4096, Variant(c.background)));
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(writer.SavePNG(surface, bytes));
        const auto image = DecodeWithLibpng(bytes);
        ASSERT_TRUE(image.has_value() && image->background.has_value());
        EXPECT_EQ(image->colorType, c.wantColorType);
        const uint16_t r = c.background & 0xFF;
        const uint16_t g = c.background >> 8 & 0xFF;
        const uint16_t b = c.background >> 16 & 0xFF;
        if (c.wantColorType == PNG_COLOR_TYPE_PALETTE) {
            ASSERT_LT(image->background->index, image->palette.size());
            const png_color entry = image->palette[image->background->index];
            EXPECT_EQ(entry.red, r);
            EXPECT_EQ(entry.green, g);
            EXPECT_EQ(entry.blue, b);
        } else if ((c.wantColorType & PNG_COLOR_MASK_COLOR) == 0) {
            EXPECT_EQ(image->background->gray, r);
        } else {
            EXPECT_EQ(image->background->red, r);
            EXPECT_EQ(image->background->green, g);
            EXPECT_EQ(image->background->blue, b);
        }
        EXPECT_TRUE(LibpngMatchesSurface(*image, surface));
    }
}

}  // namespace
}  // namespace kelvara
