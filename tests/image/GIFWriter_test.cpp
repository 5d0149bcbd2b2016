#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "CodecTestSupport.h"
#include "GiflibOracle.h"
#include "kelvara/image/gif/APIGIFParser.h"
#include "kelvara/image/gif/detail/GifPalette.h"

namespace kelvara {
namespace {

using Bytes = std::vector<uint8_t>;
using detail::PackedRgb;
using test::Straight;

// --- Pictures ---------------------------------------------------------------------------

struct Picture {
    const char* name;
    int32_t width, height;
    std::function<Straight(int32_t, int32_t)> color;
};

Straight Opaque(uint32_t rgb) {
    return {static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8),
            static_cast<uint8_t>(rgb), 255};
}

// Random bytes per pixel, the same on every call.
Straight NoiseAt(int32_t x, int32_t y, bool withAlpha) {
    test::Noise noise(static_cast<uint32_t>(y * 7919 + x));
    const uint8_t r = noise.Byte(), g = noise.Byte(), b = noise.Byte(), a = noise.Byte();
    return {r, g, b, withAlpha ? a : uint8_t{255}};
}

const Picture kPictures[] = {
    {"FewColours", 17, 9,
     [](int32_t x, int32_t y) {
         const uint32_t colors[] = {0x2B579A, 0xFFFFFF, 0x1F1F1F, 0xC9D6E8, 0xF4F7FB};
         return Opaque(colors[(x / 3 + y) % 5]);
     }},
    {"FewColoursWithHoles", 13, 11,
     [](int32_t x, int32_t y) {
         return (x + y) % 4 == 0 ? Straight{0, 0, 0, 0} : Opaque(x < 6 ? 0xFF8000 : 0x0080FF);
     }},
    {"Noise", 64, 48, [](int32_t x, int32_t y) { return NoiseAt(x, y, false); }},
    {"NoiseWithAlpha", 40, 30, [](int32_t x, int32_t y) { return NoiseAt(x, y, true); }},
    {"Gradient", 256, 40,
     [](int32_t x, int32_t y) {
         return Straight{static_cast<uint8_t>(x), static_cast<uint8_t>(y * 6),
                         static_cast<uint8_t>(255 - x), 255};
     }},
    {"AllTransparent", 5, 4,
     [](int32_t, int32_t) {
         return Straight{9, 9, 9, 0};
     }},
    {"OnePixel", 1, 1, [](int32_t, int32_t) { return Opaque(0x123456); }},
};

// What our reader and giflib must give for an indexed picture, top row first.
Bytes ExpectedBgra(const detail::IndexedImage& image) {
    Bytes out;
    for (const uint8_t index : image.indices) {
        if (index == image.transparentIndex) {
            out.insert(out.end(), {0, 0, 0, 0});
        } else {
            const PackedRgb c = image.table[index];
            out.insert(out.end(), {detail::BlueOf(c), detail::GreenOf(c), detail::RedOf(c), 255});
        }
    }
    return out;
}

Bytes TopDown(const API32bppDIB& surface) {
    Bytes out;
    for (int32_t y = 0; y < surface.Height(); ++y) {
        const uint8_t* row = surface.Pixels().Row(y);
        out.insert(out.end(), row, row + surface.Width() * 4);
    }
    return out;
}

Bytes Save(const API32bppDIB& surface, bool adaptive, int32_t tolerance = 128) {
    Bytes out;
    EXPECT_TRUE(APIGIFParser().SaveAsGIF("", out, surface, adaptive, tolerance));
    return out;
}

// --- Written files against giflib and our reader ----------------------------------------

class GIFWriterPictures : public ::testing::TestWithParam<std::tuple<Picture, bool>> {};

TEST_P(GIFWriterPictures, GiflibAndOurReaderSeeTheIndexedPicture) {
    const auto& [picture, adaptive] = GetParam();
    API32bppDIB surface;
    test::Fill(surface, picture.width, picture.height, picture.color);
    detail::IndexedImage image;
    ASSERT_TRUE(detail::IndexSurface(surface, {adaptive, 128, -1}, image));
    const Bytes want = ExpectedBgra(image);

    const Bytes file = Save(surface, adaptive);
    const auto theirs = test::GiflibFirstFrame(file);
    ASSERT_TRUE(theirs);
    EXPECT_EQ(theirs->width, picture.width);
    EXPECT_EQ(theirs->tableSize, 1 << image.bits);
    EXPECT_EQ(theirs->transparentIndex, image.transparentIndex);
    EXPECT_EQ(theirs->bgra, want);

    API32bppDIB back;
    ASSERT_TRUE(APIGIFParser().LoadStream(file, back));
    EXPECT_EQ(TopDown(back), want);
}

INSTANTIATE_TEST_SUITE_P(Writer, GIFWriterPictures,
                         ::testing::Combine(::testing::ValuesIn(kPictures), ::testing::Bool()),
                         [](const ::testing::TestParamInfo<std::tuple<Picture, bool>>& info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) ? "Adaptive" : "Fixed");
                         });

// Up to 256 colours (255 with transparency) survive write and read exactly.
TEST(GIFWriter, PicturesWithFewColoursComeBackIdentical) {
    const Picture pictures[] = {
        kPictures[0],
        kPictures[1],
        {"All256", 16, 16,
         [](int32_t x, int32_t y) {
             return Opaque(static_cast<uint32_t>(y * 16 + x) * 0x010101u ^ 0x00A050u);
         }},
        {"255AndHoles", 16, 16,
         [](int32_t x, int32_t y) {
             return x == 15 && y == 15 ? Straight{0, 0, 0, 0}
                                       : Opaque(static_cast<uint32_t>(y * 16 + x) * 0x030507u);
         }},
    };
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.name);
        API32bppDIB surface;
        test::Fill(surface, picture.width, picture.height, picture.color);
        API32bppDIB back;
        ASSERT_TRUE(APIGIFParser().LoadStream(Save(surface, true), back));
        EXPECT_TRUE(test::SamePixels(back, surface));
    }
}

// --- The file's layout ----------------------------------------------------------------------

struct TableCase {
    int colors;
    bool transparent;
    int bits;
};

class GIFWriterTableSize : public ::testing::TestWithParam<TableCase> {};

TEST_P(GIFWriterTableSize, GoesByTheCountOfEntriesInUse) {
    const TableCase& c = GetParam();
    const int32_t pixels = c.colors + (c.transparent ? 1 : 0);
    API32bppDIB surface;
    test::Fill(surface, pixels, 1, [&](int32_t x, int32_t) {
        return x == c.colors ? Straight{0, 0, 0, 0} : Opaque(static_cast<uint32_t>(x) * 0x010305u);
    });
    const Bytes file = Save(surface, true);
    ASSERT_GT(file.size(), 13u);
    const int sizeBits = c.bits - 1;
    EXPECT_EQ(file[10], 0x80 | sizeBits << 4 | sizeBits);
    const size_t afterTable = 13 + (size_t{3} << c.bits);
    ASSERT_GT(file.size(), afterTable + 8);
    if (c.transparent) {
        const Bytes control = {0x21, 0xF9, 4, 1, 0, 0, static_cast<uint8_t>((1 << c.bits) - 1), 0};
        EXPECT_EQ(Bytes(file.begin() + afterTable, file.begin() + afterTable + 8), control);
    } else {
        EXPECT_EQ(file[afterTable], 0x2C);
    }
    EXPECT_EQ(file.back(), 0x3B);
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 6), (Bytes{'G', 'I', 'F', '8', '9', 'a'}));
}

INSTANTIATE_TEST_SUITE_P(
    Counts, GIFWriterTableSize,
    ::testing::Values(TableCase{1, false, 3}, TableCase{2, false, 3}, TableCase{8, false, 3},
                      TableCase{7, true, 3}, TableCase{9, false, 4}, TableCase{8, true, 4},
                      TableCase{16, false, 4}, TableCase{17, false, 5}, TableCase{32, false, 5},
                      TableCase{33, false, 6}, TableCase{64, false, 6}, TableCase{65, false, 7},
                      TableCase{128, false, 7}, TableCase{128, true, 8}, TableCase{129, false, 8},
                      TableCase{256, false, 8}, TableCase{255, true, 8}, TableCase{0, true, 3}));

// Where the image data starts in a file from our writer.
size_t DataStart(const Bytes& file) {
    const size_t tableBytes = size_t{3} << ((file[10] & 7) + 1);
    size_t at = 13 + tableBytes;
    if (file[at] == 0x21) {
        at += 8;
    }
    return at + 10 + 1;  // descriptor, code size
}

TEST(GIFWriter, DataSubBlocksHold254BytesUpToTheLast) {
    API32bppDIB surface;
    test::Fill(surface, 120, 90, [](int32_t x, int32_t y) { return NoiseAt(x, y, false); });
    const Bytes file = Save(surface, true);
    std::vector<size_t> sizes;
    size_t at = DataStart(file);
    while (file.at(at) != 0) {
        sizes.push_back(file[at]);
        at += file[at] + 1u;
    }
    EXPECT_EQ(at + 2, file.size());  // the terminator, then the trailer
    ASSERT_GE(sizes.size(), 10u);
    EXPECT_TRUE(std::all_of(sizes.begin(), sizes.end() - 1, [](size_t n) { return n == 254; }));
    EXPECT_GE(sizes.back(), 1u);
    EXPECT_LE(sizes.back(), 254u);
}

// Reads the codes of a data chain with a decoder's widths, noting how full
// the table was at each clear code (the first one excepted).
std::vector<uint32_t> TableSizesAtClearCodes(const Bytes& file, bool& startsWithClear) {
    const int minCodeSize = file[DataStart(file) - 1];
    Bytes data;
    for (size_t at = DataStart(file); file[at] != 0; at += file[at] + 1u) {
        data.insert(data.end(), file.begin() + static_cast<ptrdiff_t>(at) + 1,
                    file.begin() + static_cast<ptrdiff_t>(at) + 1 + file[at]);
    }
    const uint32_t clear = 1u << minCodeSize;
    std::vector<uint32_t> sizes;
    uint64_t bitAt = 0;
    int width = minCodeSize + 1;
    uint32_t next = clear + 2;
    bool first = true;
    startsWithClear = false;
    for (size_t codes = 0; bitAt + static_cast<uint64_t>(width) <= data.size() * 8; ++codes) {
        uint32_t code = 0;
        for (int i = 0; i < width; ++i, ++bitAt) {
            code |= ((data[bitAt / 8] >> (bitAt % 8)) & 1u) << i;
        }
        if (codes == 0) {
            startsWithClear = code == clear;
        }
        if (code == clear) {
            if (codes > 0) {
                sizes.push_back(next);
            }
            width = minCodeSize + 1;
            next = clear + 2;
            first = true;
            continue;
        }
        if (code == clear + 1) {
            break;
        }
        if (!first && next < 4096 && ++next >= (1u << width) && width < 12) {
            ++width;
        }
        first = false;
    }
    return sizes;
}

// Noise of 256 colours fills the code table many times over; each time the
// writer sends a clear code exactly when it is full.
TEST(GIFWriter, ClearCodeComesWhenTheTableFillsAt4096) {
    API32bppDIB surface;
    test::Fill(surface, 400, 300, [](int32_t x, int32_t y) {
        return Opaque(static_cast<uint32_t>(NoiseAt(x, y, false).r) * 0x010101u);
    });
    const Bytes file = Save(surface, true);
    bool startsWithClear = false;
    const std::vector<uint32_t> sizes = TableSizesAtClearCodes(file, startsWithClear);
    EXPECT_TRUE(startsWithClear);
    ASSERT_GE(sizes.size(), 5u) << "file " << file.size();
    for (const uint32_t size : sizes) {
        EXPECT_EQ(size, 4096u);
    }
    const auto theirs = test::GiflibFirstFrame(file);
    ASSERT_TRUE(theirs);
    API32bppDIB back;
    ASSERT_TRUE(APIGIFParser().LoadStream(file, back));
    EXPECT_EQ(theirs->bgra, TopDown(back));
    EXPECT_TRUE(test::SamePixels(back, surface));
}

// --- Colours ----------------------------------------------------------------------------------

struct ToleranceCase {
    uint8_t alpha;
    int32_t tolerance;
    bool transparent;
};

class GIFWriterTolerance : public ::testing::TestWithParam<ToleranceCase> {};

TEST_P(GIFWriterTolerance, PixelsBelowItAreTransparent) {
    const ToleranceCase& c = GetParam();
    API32bppDIB surface;
    test::Fill(surface, 2, 1, [&](int32_t x, int32_t) {
        return x == 0 ? Straight{255, 255, 255, c.alpha} : Opaque(0x000000);
    });
    API32bppDIB back;
    ASSERT_TRUE(APIGIFParser().LoadStream(Save(surface, true, c.tolerance), back));
    EXPECT_EQ(back.Pixels().Pixel(0, 0)[3], c.transparent ? 0 : 255);
    EXPECT_EQ(back.Alpha(),
              c.transparent ? ENUM_ALPHA_TYPE::AlphaSimple : ENUM_ALPHA_TYPE::AlphaNone);
}

INSTANTIATE_TEST_SUITE_P(
    Alphas, GIFWriterTolerance,
    ::testing::Values(ToleranceCase{0, 0, false}, ToleranceCase{0, 1, true},
                      ToleranceCase{127, 128, true}, ToleranceCase{128, 128, false},
                      ToleranceCase{254, 255, true}, ToleranceCase{255, 255, false},
                      ToleranceCase{255, 256, true}, ToleranceCase{255, 999, true},
                      ToleranceCase{0, -5, false}));

// The surface's save members: how partly transparent pixels come out, as
// stored after reading back (blue, green, red, alpha).
struct MatteCase {
    const char* name;
    std::array<uint8_t, 4> stored;  // premultiplied
    int32_t fillColor;
    bool transparency;
    std::array<uint8_t, 4> want;
};

class GIFWriterMatte : public ::testing::TestWithParam<MatteCase> {};

TEST_P(GIFWriterMatte, SurfaceSaveGivesThePixel) {
    const MatteCase& c = GetParam();
    API32bppDIB surface;
    ASSERT_TRUE(surface.InitializeDIB(1, 1));
    std::copy(c.stored.begin(), c.stored.end(), surface.Pixels().Pixel(0, 0));
    Bytes file;
    ASSERT_TRUE(surface.SaveToStream_GIF(file, c.fillColor, c.transparency));
    API32bppDIB back;
    ASSERT_TRUE(back.LoadPicture_Stream(file));
    EXPECT_EQ(back.ImageType(), ENUM_IMAGE_FORMAT::ImageGIF);
    const uint8_t* p = back.Pixels().Pixel(0, 0);
    EXPECT_EQ((std::array<uint8_t, 4>{p[0], p[1], p[2], p[3]}), c.want);
}

INSTANTIATE_TEST_SUITE_P(
    Pixels, GIFWriterMatte,
    ::testing::Values(
        // Red 64 at alpha 128 is red 128 un-premultiplied ...
        MatteCase{"HalfRedKeepsItsColour", {0, 0, 64, 128}, -1, true, {0, 0, 128, 255}},
        // ... or red 64 plus half of white over a white matte.
        MatteCase{"HalfRedOverWhite", {0, 0, 64, 128}, 0xFFFFFF, true, {127, 127, 191, 255}},
        MatteCase{"UnderHalfIsTransparent", {0, 0, 50, 100}, 0xFFFFFF, true, {0, 0, 0, 0}},
        MatteCase{"UnderHalfOverBlueWithoutTransparency",
                  {0, 0, 50, 100},
                  0xFF0000,
                  false,
                  {155, 0, 50, 255}},
        MatteCase{
            "ClearOverBlueWithoutTransparency", {0, 0, 0, 0}, 0xFF0000, false, {255, 0, 0, 255}},
        MatteCase{
            "ClearWithoutMatteOrTransparencyIsBlack", {0, 0, 0, 0}, -1, false, {0, 0, 0, 255}}),
    [](const ::testing::TestParamInfo<MatteCase>& info) { return std::string(info.param.name); });

TEST(GIFWriter, FixedTableIsTheColourCubeAndGrays) {
    const std::vector<PackedRgb> table = detail::FixedPalette();
    ASSERT_EQ(table.size(), 251u);
    EXPECT_EQ(std::set<PackedRgb>(table.begin(), table.end()).size(), 251u);
    for (const PackedRgb c : table) {
        const uint8_t r = detail::RedOf(c), g = detail::GreenOf(c), b = detail::BlueOf(c);
        const bool cube = r % 51 == 0 && g % 51 == 0 && b % 51 == 0;
        EXPECT_TRUE(cube || (r == g && g == b)) << std::hex << c;
    }
}

// With the fixed table each colour goes to its nearest entry.
TEST(GIFWriter, FixedTableMapsToTheNearestEntry) {
    const std::vector<std::pair<uint32_t, uint32_t>> cases = {
        {0xFA0503, 0xFF0000}, {0x808080, 0x808080}, {0x14C864, 0x00CC66},
        {0x333333, 0x333333}, {0x020202, 0x000000}, {0x393939, 0x393939},
        {0x3C3C3C, 0x393939}, {0xFFFFFE, 0xFFFFFF}, {0x663399, 0x663399}};
    API32bppDIB surface;
    test::Fill(surface, static_cast<int32_t>(cases.size()), 1,
               [&](int32_t x, int32_t) { return Opaque(cases[static_cast<size_t>(x)].first); });
    API32bppDIB back;
    ASSERT_TRUE(APIGIFParser().LoadStream(Save(surface, false), back));
    for (size_t i = 0; i < cases.size(); ++i) {
        const uint8_t* p = back.Pixels().Pixel(static_cast<int32_t>(i), 0);
        EXPECT_EQ(PackedRgb{p[2]} << 16 | p[1] << 8 | p[0], cases[i].second)
            << std::hex << cases[i].first;
    }
}

// The per-cell candidate lists never lose the nearest entry: every colour
// gets what a search of the whole table gives (the lowest index among
// equals), for the fixed table, a random one with repeated entries and a
// table of two.
TEST(GIFWriter, NearestColourIsTheNearestOfTheWholeTable) {
    std::mt19937 random(5);
    std::vector<PackedRgb> randomTable;
    for (int i = 0; i < 200; ++i) {
        randomTable.push_back(random() & 0xFFFFFF);
    }
    randomTable.insert(randomTable.end(), randomTable.begin(), randomTable.begin() + 20);
    const std::vector<std::vector<PackedRgb>> tables = {
        detail::FixedPalette(), randomTable, {0x000000, 0xFFFFFF}};
    for (const auto& table : tables) {
        detail::NearestColor nearest(table);
        for (int i = 0; i < 20000; ++i) {
            const PackedRgb color = random() & 0xFFFFFF;
            int best = INT32_MAX;
            size_t want = 0;
            for (size_t k = 0; k < table.size(); ++k) {
                const int dr = detail::RedOf(table[k]) - detail::RedOf(color);
                const int dg = detail::GreenOf(table[k]) - detail::GreenOf(color);
                const int db = detail::BlueOf(table[k]) - detail::BlueOf(color);
                if (dr * dr + dg * dg + db * db < best) {
                    best = dr * dr + dg * dg + db * db;
                    want = k;
                }
            }
            ASSERT_EQ(nearest.Find(color), want) << std::hex << color;
        }
    }
}

// The adaptive table on pictures of many colours: the largest and the mean
// error per channel stay small, also for a picture of narrow range. The
// smooth pictures spread thousands of colours over a surface of the cube,
// where 256 entries cannot do much better than a mean error of about 4.
struct QualityCase {
    Picture picture;
    int maxError;
    double meanError;
};

class GIFWriterQuality : public ::testing::TestWithParam<QualityCase> {};

TEST_P(GIFWriterQuality, AdaptiveTableKeepsColoursClose) {
    const QualityCase& c = GetParam();
    API32bppDIB surface;
    test::Fill(surface, c.picture.width, c.picture.height, c.picture.color);
    API32bppDIB back;
    ASSERT_TRUE(APIGIFParser().LoadStream(Save(surface, true), back));
    const Bytes have = TopDown(back), want = TopDown(surface);
    int worst = 0;
    double sum = 0;
    for (size_t i = 0; i < have.size(); ++i) {
        const int error = std::abs(int{have[i]} - int{want[i]});
        worst = std::max(worst, error);
        sum += error;
    }
    const double mean = sum / static_cast<double>(have.size() / 4 * 3);
    EXPECT_LE(worst, c.maxError);
    EXPECT_LE(mean, c.meanError);
}

const Picture kPlane = {"Plane", 128, 128, [](int32_t x, int32_t y) {
                            return Straight{static_cast<uint8_t>(x * 2),
                                            static_cast<uint8_t>(y * 2),
                                            static_cast<uint8_t>(x + y), 255};
                        }};

// Each channel below 16.
const Picture kDarkNoise = {"DarkNoise", 64, 64, [](int32_t x, int32_t y) {
                                const Straight n = NoiseAt(x, y, false);
                                return Straight{static_cast<uint8_t>(n.r % 16),
                                                static_cast<uint8_t>(n.g % 16),
                                                static_cast<uint8_t>(n.b % 16), 255};
                            }};

INSTANTIATE_TEST_SUITE_P(Pictures, GIFWriterQuality,
                         ::testing::Values(QualityCase{kPictures[4], 10, 4.2},
                                           QualityCase{kPlane, 16, 4.0},
                                           QualityCase{kDarkNoise, 3, 0.8}),
                         [](const ::testing::TestParamInfo<QualityCase>& info) {
                             return std::string(info.param.picture.name);
                         });

// --- Where the bytes go --------------------------------------------------------------------

TEST(GIFWriter, FileNameTakesTheBytesInsteadOfTheArray) {
    API32bppDIB surface;
    // Files of 56 bytes or fewer are not pictures to the surface's loader.
    test::Fill(surface, 20, 10, [](int32_t x, int32_t y) { return Opaque((x ^ y) * 0x0C0A08u); });
    const std::string path =
        (std::filesystem::temp_directory_path() / "kelvara-gif-writer-test.gif").string();
    Bytes untouched = {1, 2, 3};
    ASSERT_TRUE(APIGIFParser().SaveAsGIF(path, untouched, surface));
    EXPECT_EQ(untouched, (Bytes{1, 2, 3}));
    EXPECT_EQ(test::ReadFileBytes(path), Save(surface, true));
    std::remove(path.c_str());

    EXPECT_FALSE(APIGIFParser().SaveAsGIF("/nonexistent-folder/x.gif", untouched, surface));

    ASSERT_TRUE(surface.SaveToFile_GIF(path));
    API32bppDIB back;
    ASSERT_TRUE(back.LoadPicture_File(path));
    EXPECT_EQ(back.ImageType(), ENUM_IMAGE_FORMAT::ImageGIF);
    EXPECT_TRUE(test::SamePixels(back, surface));
    std::remove(path.c_str());
}

TEST(GIFWriter, NothingToWriteOrTooWideFails) {
    API32bppDIB empty;
    Bytes out = {1, 2, 3};
    EXPECT_FALSE(APIGIFParser().SaveAsGIF("", out, empty));
    EXPECT_TRUE(out.empty());
    out = {1};
    EXPECT_FALSE(empty.SaveToStream_GIF(out));
    EXPECT_FALSE(empty.SaveToFile_GIF(
        (std::filesystem::temp_directory_path() / "kelvara-gif-empty.gif").string()));

    API32bppDIB wide;
    ASSERT_TRUE(wide.InitializeDIB(65536, 1));
    EXPECT_FALSE(APIGIFParser().SaveAsGIF("", out, wide));
    ASSERT_TRUE(wide.InitializeDIB(65535, 1));
    EXPECT_TRUE(APIGIFParser().SaveAsGIF("", out, wide));
}

}  // namespace
}  // namespace kelvara
