#include "kelvara/image/ico/APIICOParser.h"

#include <gtest/gtest.h>

#include <string>

#include "kelvara/image/Zlib.h"
#include "kelvara/image/png/APIPNGWriter.h"
#include "tests/image/CodecTestSupport.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Straight;

const std::string kIcoDir = std::string(KELVARA_IMAGE_DATA) + "/ico/";

void PutLE(std::vector<uint8_t>& out, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(i < 8 ? static_cast<uint8_t>(value >> (8 * i)) : 0);
    }
}

using Bgra = std::array<uint8_t, 4>;

// A bitmap entry: header with doubled height, palette, colour rows and AND
// rows, both bottom-up. `pixel` gives a palette index (up to 8 bits) or the
// stored BGRA bytes; `masked` sets the AND bit.
std::vector<uint8_t> DibEntry(int32_t width, int32_t height, uint16_t bits,
                              const std::vector<Bgra>& palette,
                              const std::function<uint32_t(int32_t, int32_t)>& pixel,
                              const std::function<bool(int32_t, int32_t)>& masked) {
    std::vector<uint8_t> out;
    PutLE(out, 40, 4);
    PutLE(out, static_cast<uint32_t>(width), 4);
    PutLE(out, static_cast<uint32_t>(height * 2), 4);
    PutLE(out, 1, 2);
    PutLE(out, bits, 2);
    PutLE(out, 0, 4 * 4);  // compression, image size, resolution
    PutLE(out, palette.size(), 4);
    PutLE(out, 0, 4);
    for (const Bgra& c : palette) {
        out.insert(out.end(), c.begin(), c.end());
    }
    const auto stride = static_cast<size_t>(ScanlineBytes(bits, width));
    for (int32_t y = height - 1; y >= 0; --y) {
        std::vector<uint8_t> row(stride, 0);
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t v = pixel(x, y);
            if (bits <= 8) {
                const size_t bit = static_cast<size_t>(x) * bits;
                row[bit / 8] |= static_cast<uint8_t>(v << (8 - bits - bit % 8));
            } else {
                for (int i = 0; i < bits / 8; ++i) {
                    row[static_cast<size_t>(x) * bits / 8 + i] = static_cast<uint8_t>(v >> (8 * i));
                }
            }
        }
        out.insert(out.end(), row.begin(), row.end());
    }
    const auto maskStride = static_cast<size_t>(ScanlineBytes(1, width));
    for (int32_t y = height - 1; y >= 0; --y) {
        std::vector<uint8_t> row(maskStride, 0);
        for (int32_t x = 0; x < width; ++x) {
            if (masked(x, y)) {
                row[static_cast<size_t>(x) / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
            }
        }
        out.insert(out.end(), row.begin(), row.end());
    }
    return out;
}

struct DirEntry {
    int32_t width;  // 256 is written as 0
    int32_t height;
    uint16_t bits;  // for a cursor: the hot spot's y
    std::vector<uint8_t> data;
    int64_t offset = -1;  // -1: where the data really is
};

std::vector<uint8_t> MakeIco(uint16_t type, const std::vector<DirEntry>& entries) {
    std::vector<uint8_t> out;
    PutLE(out, 0, 2);
    PutLE(out, type, 2);
    PutLE(out, entries.size(), 2);
    size_t at = 6 + 16 * entries.size();
    for (const DirEntry& e : entries) {
        out.push_back(static_cast<uint8_t>(e.width & 0xFF));
        out.push_back(static_cast<uint8_t>(e.height & 0xFF));
        out.push_back(0);
        out.push_back(0);
        PutLE(out, 1, 2);
        PutLE(out, e.bits, 2);
        PutLE(out, e.data.size(), 4);
        PutLE(out, e.offset >= 0 ? static_cast<uint64_t>(e.offset) : at, 4);
        at += e.data.size();
    }
    for (const DirEntry& e : entries) {
        out.insert(out.end(), e.data.begin(), e.data.end());
    }
    return out;
}

// An entry of one colour, so that a test can tell which entry was loaded.
std::vector<uint8_t> SolidEntry(int32_t size, uint16_t bits, uint8_t tag) {
    const Bgra color = {tag, 0, 0, 255};
    if (bits <= 8) {
        return DibEntry(
            size, size, bits, {{0, 0, 0, 0}, color}, [](int32_t, int32_t) { return 1u; },
            [](int32_t, int32_t) { return false; });
    }
    return DibEntry(
        size, size, bits, {}, [&](int32_t, int32_t) { return uint32_t{tag} | 0xFF000000u; },
        [](int32_t, int32_t) { return false; });
}

// --- Files made by ImageMagick ---------------------------------------------

TEST(IcoParser, ReadsImageMagickIconsAsImageMagickDoes) {
    const struct {
        const char* name;
        int32_t cx;
        int frame;
        ENUM_IMAGE_FORMAT type;
        ENUM_ALPHA_TYPE alpha;
    } cases[] = {
        {"alpha32", 32, 0, ENUM_IMAGE_FORMAT::ImageIconARGB, ENUM_ALPHA_TYPE::AlphaComplex},
        {"alpha32", 16, 1, ENUM_IMAGE_FORMAT::ImageIconARGB, ENUM_ALPHA_TYPE::AlphaComplex},
        {"rgb", 0, 0, ENUM_IMAGE_FORMAT::ImageIcon, ENUM_ALPHA_TYPE::AlphaNone},
        {"pal4t", 0, 0, ENUM_IMAGE_FORMAT::ImageIcon, ENUM_ALPHA_TYPE::AlphaSimple},
        {"pal8t", 0, 0, ENUM_IMAGE_FORMAT::ImageIcon, ENUM_ALPHA_TYPE::AlphaSimple},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " frame " + std::to_string(c.frame));
        const auto bytes = test::ReadFileBytes(kIcoDir + c.name + ".ico");
        const auto rgba =
            test::ReadFileBytes(kIcoDir + c.name + "." + std::to_string(c.frame) + ".rgba");
        API32bppDIB surface;
        APIICOParser parser;
        ASSERT_TRUE(parser.LoadStream(bytes, surface, c.cx, c.cx, 32));
        EXPECT_EQ(surface.ImageType(), c.type);
        EXPECT_EQ(surface.Alpha(), c.alpha);
        ASSERT_EQ(rgba.size(), static_cast<size_t>(surface.Width() * surface.Height() * 4));
        API32bppDIB want;
        Fill(want, surface.Width(), surface.Height(), [&](int32_t x, int32_t y) {
            const uint8_t* p = rgba.data() + (static_cast<size_t>(y) * surface.Width() + x) * 4;
            return Straight{p[0], p[1], p[2], p[3]};
        });
        EXPECT_TRUE(test::SamePixels(surface, want));
    }
}

TEST(IcoParser, IconSizesListsEveryEntryWithItsDepth) {
    EXPECT_EQ(APIICOParser::IconSizes(test::ReadFileBytes(kIcoDir + "alpha32.ico")),
              (std::vector<IconSize>{{32, 32, 32}, {16, 16, 32}}));
    EXPECT_EQ(APIICOParser::IconSizes(test::ReadFileBytes(kIcoDir + "pal4t.ico")),
              (std::vector<IconSize>{{16, 16, 4}}));

    API32bppDIB picture;
    Fill(picture, 20, 20, [](int32_t x, int32_t y) {
        return Straight{static_cast<uint8_t>(x * 12), static_cast<uint8_t>(y * 12), 3,
                        static_cast<uint8_t>(x * 10 + 5)};
    });
    std::vector<uint8_t> png;
    ASSERT_TRUE(APIPNGWriter().SavePNG(picture, png));
    // Depth 0 in the directory is read from the entry's header or IHDR;
    // size byte 0 is 256. A cursor's depth field is its hot spot.
    const auto icon = MakeIco(
        1,
        {{256, 256, 0, SolidEntry(8, 4, 1)}, {16, 16, 0, png}, {48, 48, 24, SolidEntry(2, 8, 1)}});
    EXPECT_EQ(APIICOParser::IconSizes(icon),
              (std::vector<IconSize>{{256, 256, 4}, {16, 16, 32}, {48, 48, 24}}));
    const auto cursor = MakeIco(2, {{32, 32, 7, SolidEntry(32, 1, 1)}});
    EXPECT_EQ(APIICOParser::IconSizes(cursor), (std::vector<IconSize>{{32, 32, 1}}));
    EXPECT_TRUE(APIICOParser::IconSizes(test::ReadFileBytes(kIcoDir + "../bmp/rgb24.bmp")).empty());
}

// --- Choosing the entry ------------------------------------------------------

TEST(IcoParser, ChoosesBySizeThenDepthThenDirectoryOrder) {
    struct Offer {
        int32_t size;
        uint16_t bits;
    };
    const struct {
        const char* name;
        std::vector<Offer> offers;
        int32_t cx, cy, depth;
        int want;  // index into offers
    } cases[] = {
        {"default is 32 x 32", {{16, 32}, {32, 32}, {48, 32}}, 0, 0, 32, 1},
        {"one side 0 takes the other", {{16, 32}, {32, 32}, {48, 32}}, 0, 16, 32, 0},
        {"exact size", {{16, 32}, {24, 32}, {48, 32}}, 24, 24, 32, 1},
        {"nearest larger", {{16, 32}, {64, 32}, {48, 32}}, 32, 32, 32, 2},
        {"largest smaller", {{16, 32}, {24, 32}, {20, 32}}, 64, 64, 32, 1},
        {"256 written as 0", {{16, 32}, {256, 32}}, 256, 256, 32, 1},
        {"depth at the wanted one", {{16, 4}, {16, 8}, {16, 32}}, 16, 16, 8, 1},
        {"closest depth below", {{16, 4}, {16, 8}, {16, 32}}, 16, 16, 24, 1},
        {"all deeper: the deepest", {{16, 32}, {16, 4}, {16, 24}}, 16, 16, 1, 0},
        {"size before depth", {{32, 4}, {16, 32}}, 32, 32, 32, 0},
        {"first of equals", {{16, 8}, {16, 8}}, 16, 16, 32, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<DirEntry> entries;
        for (size_t i = 0; i < c.offers.size(); ++i) {
            const Offer& o = c.offers[i];
            entries.push_back(
                {o.size, o.size, o.bits, SolidEntry(o.size, o.bits, static_cast<uint8_t>(i + 1))});
        }
        API32bppDIB surface;
        APIICOParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeIco(1, entries), surface, c.cx, c.cy, c.depth));
        EXPECT_EQ(surface.Pixels().Pixel(0, 0)[0], c.want + 1);
        EXPECT_EQ(surface.Width(), c.offers[static_cast<size_t>(c.want)].size);
    }
}

TEST(IcoParser, EntryOutsideTheStreamIsPassedOver) {
    auto entries = std::vector<DirEntry>{{32, 32, 32, SolidEntry(32, 32, 1)},
                                         {16, 16, 32, SolidEntry(16, 32, 2)}};
    entries[0].offset = 1 << 20;
    API32bppDIB surface;
    APIICOParser parser;
    ASSERT_TRUE(parser.LoadStream(MakeIco(1, entries), surface, 32, 32, 32));
    EXPECT_EQ(surface.Width(), 16);
    entries[1].offset = 3;  // inside the directory
    EXPECT_FALSE(parser.LoadStream(MakeIco(1, entries), surface, 32, 32, 32));
}

// --- Bitmap entries ---------------------------------------------------------

TEST(IcoParser, AndMaskMakesTransparencyAtEveryDepth) {
    // Index 1 red, index 2 green; the mask clears the left column.
    const std::vector<Bgra> palette = {{0, 0, 0, 0}, {0, 0, 255, 0}, {0, 255, 0, 0}};
    auto index = [](int32_t x, int32_t y) { return (x + y) % 2 == 0 ? 1u : 2u; };
    auto direct = [](int32_t x, int32_t y) { return (x + y) % 2 == 0 ? 0xFF0000u : 0x00FF00u; };
    auto leftColumn = [](int32_t x, int32_t) { return x == 0; };
    const struct {
        const char* name;
        uint16_t bits;
        bool viaPalette;
    } cases[] = {{"1 bit", 1, true},
                 {"4 bits", 4, true},
                 {"8 bits", 8, true},
                 {"24 bits", 24, false},
                 {"32 bits, alpha 0", 32, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // One bit holds indexes 0 and 1 only: green becomes index 0 (black).
        const auto data = DibEntry(
            9, 3, c.bits, c.viaPalette ? palette : std::vector<Bgra>{},
            c.viaPalette ? std::function<uint32_t(int32_t, int32_t)>(
                               [&](int32_t x, int32_t y) { return index(x, y) % (1u << c.bits); })
                         : direct,
            leftColumn);
        API32bppDIB surface;
        APIICOParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeIco(1, {{9, 3, c.bits, data}}), surface, 0, 0, 32));
        API32bppDIB want;
        Fill(want, 9, 3, [&](int32_t x, int32_t y) {
            if (x == 0) {
                return Straight{0, 0, 0, 0};
            }
            const bool red = (x + y) % 2 == 0;
            if (c.bits == 1 && !red) {
                return Straight{0, 0, 0, 255};
            }
            return red ? Straight{255, 0, 0, 255} : Straight{0, 255, 0, 255};
        });
        EXPECT_TRUE(test::SamePixels(surface, want));
        EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaSimple);
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageIcon);
    }
}

TEST(IcoParser, AlphaBytesWinOverTheMaskAndCursorsSayCursor) {
    // Straight alpha 128 on one pixel, the mask set everywhere (ignored).
    const auto data = DibEntry(
        2, 1, 32, {}, [](int32_t x, int32_t) { return x == 0 ? 0x80C86432u : 0xFF102030u; },
        [](int32_t, int32_t) { return true; });
    const struct {
        uint16_t type;
        ENUM_IMAGE_FORMAT want;
    } cases[] = {{1, ENUM_IMAGE_FORMAT::ImageIconARGB}, {2, ENUM_IMAGE_FORMAT::ImageCursorARGB}};
    for (const auto& c : cases) {
        API32bppDIB surface;
        APIICOParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeIco(c.type, {{2, 1, 32, data}}), surface, 0, 0, 32));
        EXPECT_EQ(surface.ImageType(), c.want);
        EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
        const uint8_t* p = surface.Pixels().Row(0);
        EXPECT_EQ(std::vector<uint8_t>(p, p + 8),
                  (std::vector<uint8_t>{0x32 * 128 / 255, 0x64 * 128 / 255, 0xC8 * 128 / 255, 128,
                                        0x30, 0x20, 0x10, 255}));
    }
    const auto mono = SolidEntry(32, 1, 1);
    API32bppDIB surface;
    APIICOParser parser;
    ASSERT_TRUE(parser.LoadStream(MakeIco(2, {{32, 32, 5, mono}}), surface, 0, 0, 32));
    EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageCursor);
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
}

// --- PNG entries -------------------------------------------------------------

TEST(IcoParser, PngEntriesDecodeThroughThePngReader) {
    API32bppDIB picture;
    Fill(picture, 48, 40, [](int32_t x, int32_t y) {
        return Straight{static_cast<uint8_t>(x * 5), static_cast<uint8_t>(y * 6), 9,
                        static_cast<uint8_t>(x * 5 + y)};
    });
    std::vector<uint8_t> png;
    ASSERT_TRUE(APIPNGWriter().SavePNG(picture, png));
    const struct {
        uint16_t type;
        ENUM_IMAGE_FORMAT want;
    } cases[] = {{1, ENUM_IMAGE_FORMAT::ImagePNGIcon}, {2, ENUM_IMAGE_FORMAT::ImageCursorARGB}};
    for (const auto& c : cases) {
        API32bppDIB surface;
        APIICOParser parser;
        ASSERT_TRUE(parser.LoadStream(MakeIco(c.type, {{48, 40, 32, png}}), surface, 0, 0, 32));
        EXPECT_EQ(surface.ImageType(), c.want);
        EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
        EXPECT_TRUE(test::SamePixels(surface, picture));
    }
    std::fill_n(png.begin() + 16, 4, uint8_t{0});  // width 0
    API32bppDIB surface;
    APIICOParser parser;
    EXPECT_FALSE(parser.LoadStream(MakeIco(1, {{48, 40, 32, png}}), surface, 0, 0, 32));
    EXPECT_EQ(surface.Handle(), 0u);
}

// --- Refusals ------------------------------------------------------------------

TEST(IcoParser, NonIconsAndBrokenIconsAreRefusedAndLeaveNoImage) {
    const auto good = MakeIco(1, {{16, 16, 32, SolidEntry(16, 32, 1)}});
    auto changed = [&](size_t at, uint8_t value) {
        auto bytes = good;
        bytes[at] = value;
        return bytes;
    };
    auto huge = DibEntry(
        1, 1, 32, {}, [](int32_t, int32_t) { return 0u; }, [](int32_t, int32_t) { return false; });
    huge[4] = 0x40;  // width 64 × height 1 with one pixel of data
    API32bppDIB small;
    Fill(small, 2, 2, [](int32_t, int32_t) { return Straight{1, 2, 3, 255}; });
    std::vector<uint8_t> bigPng;
    ASSERT_TRUE(APIPNGWriter().SavePNG(small, bigPng));
    bigPng[18] = bigPng[22] = 0x10;  // IHDR: 4098 x 4098 from a few bytes
    const uint32_t crc = Zlib::Crc32({bigPng.data() + 12, 17});
    for (int i = 0; i < 4; ++i) {
        bigPng[29 + static_cast<size_t>(i)] = static_cast<uint8_t>(crc >> (24 - 8 * i));
    }
    auto rle = SolidEntry(16, 8, 1);
    rle[16] = 1;
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"a bitmap file", test::ReadFileBytes(kIcoDir + "../bmp/rgb24.bmp")},
        {"reserved word set", changed(0, 1)},
        {"type 3", changed(2, 3)},
        {"no entries", changed(4, 0)},
        {"more entries than the stream holds", changed(4, 200)},
        {"entry past the end", changed(18, 0x7F)},
        {"too little data for its size", MakeIco(1, {{64, 1, 32, huge}})},
        {"PNG entry promising far more than its bytes", MakeIco(1, {{0, 0, 32, bigPng}})},
        {"run-length entry", MakeIco(1, {{16, 16, 8, rle}})},
        {"header garbage", MakeIco(1, {{16, 16, 32, std::vector<uint8_t>(64, 0xAB)}})},
    };
    for (const auto& c : cases) {
        API32bppDIB surface;
        ASSERT_TRUE(surface.InitializeDIB(2, 2));
        APIICOParser parser;
        EXPECT_FALSE(parser.LoadStream(c.bytes, surface, 0, 0, 32)) << c.name;
        EXPECT_EQ(surface.Handle(), 0u) << c.name;
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError) << c.name;
    }
}

// A cut file loads nothing, or an entry that survived the cut whole.
TEST(IcoParser, EveryTruncationFailsOrLoadsAnIntactEntry) {
    const auto bytes = test::ReadFileBytes(kIcoDir + "alpha32.ico");
    APIICOParser parser;
    for (size_t length = 0; length < bytes.size(); ++length) {
        API32bppDIB surface;
        const bool loaded =
            parser.LoadStream(std::span<const uint8_t>(bytes.data(), length), surface, 0, 0, 32);
        // The 32 × 32 entry comes first in the file, so only it can survive.
        ASSERT_EQ(loaded, length >= 38 + 4264) << "length " << length;
        if (loaded) {
            EXPECT_EQ(surface.Width(), 32);
        }
    }
}

}  // namespace
}  // namespace kelvara
