#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "kelvara/base/Error.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/ico/APIICOParser.h"
#include "kelvara/image/lists/APIImageLists.h"
#include "tests/image/SurfaceTestSupport.h"

namespace kelvara {
namespace {

using Bytes = std::vector<uint8_t>;
using test::Px;

void RandomPicture(API32bppDIB& picture, int32_t w, int32_t h, uint32_t seed) {
    std::mt19937 random(seed);
    test::FillRandom(picture, w, h, random);
}

void SolidPicture(API32bppDIB& picture, int32_t w, int32_t h, Px colour) {
    test::Fill(picture, w, h, {});
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            uint8_t* p = picture.Pixels().Pixel(x, y);
            p[0] = static_cast<uint8_t>(colour.b);
            p[1] = static_cast<uint8_t>(colour.g);
            p[2] = static_cast<uint8_t>(colour.r);
            p[3] = static_cast<uint8_t>(colour.a);
        }
    }
}

// The pixels of one image, drawn alone onto a clear surface of its size.
std::vector<Px> PixelsOf(APIListImages& images, ListIndex index) {
    API32bppDIB target;
    EXPECT_TRUE(target.InitializeDIB(images.Width(), images.Height()));
    EXPECT_TRUE(images.Render(index, target.LoadDIBinDC(true)));
    return test::Read(target);
}

// The pixels of the part x0 ≤ x < x1 of a surface, top row first.
std::vector<Px> Columns(const API32bppDIB& surface, int32_t x0, int32_t x1) {
    std::vector<Px> out;
    for (int32_t y = 0; y < surface.Height(); ++y) {
        for (int32_t x = x0; x < x1; ++x) {
            out.push_back(test::PixelAt(surface, x, y));
        }
    }
    return out;
}

struct Expected {
    int32_t number;
    std::string source;
    std::string text;
};

void ExpectRaises(const std::function<void()>& call, const Expected& want) {
    try {
        call();
        ADD_FAILURE() << "no error, want " << want.number << " from " << want.source;
    } catch (const KelvaraError& e) {
        EXPECT_EQ(e.number, want.number);
        EXPECT_EQ(e.source, want.source);
        EXPECT_EQ(e.description, want.text);
    }
}

const Expected kImportFailed{1975, "ImageLists.ImportImageList",
                             "Failed to Import external image list"};

// A collection with one list "icons" of 3 × 2 images: "a", "b" and one
// without a key, with distinct random pixels.
class ImageListsTest : public ::testing::Test {
protected:
    void SetUp() override {
        APIListImages& images = lists.Add(3, 2, "icons").Images();
        for (uint32_t i = 0; i < 3; ++i) {
            RandomPicture(pictures[i], 3, 2, 10 + i);
            const std::string key = i == 2 ? "" : std::string(1, static_cast<char>('a' + i));
            ASSERT_NE(images.AddImage_fromDIB(pictures[i], 0, key, "tag" + key), nullptr);
        }
    }

    APIListImages& Images() { return lists.Item("icons").Images(); }

    Bytes Export(ListIndex index = "icons") {
        Bytes out;
        lists.ExportImageList(index, out);
        return out;
    }

    APIImageLists lists;
    API32bppDIB pictures[3];
};

TEST(ImageListLimits, MaxImagesKeepsAListUnderAMillionPixels) {
    struct Case {
        int32_t w, h, want;
    } cases[] = {
        {32, 32, 1000},  {0, 32, 0},      {32, 0, 0},
        {-4, 8, 0},      {1, 1, 1024000}, {1000, 1024, 1},
        {1024, 1001, 0}, {48, 48, 444},   {INT32_MAX, INT32_MAX, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(APIImageLists::MaxImages(c.w, c.h), c.want) << c.w << " x " << c.h;
    }
}

TEST_F(ImageListsTest, EveryErrorHasItsNumberSourceAndText) {
    API32bppDIB big;
    SolidPicture(big, 1000, 1000, {1, 1, 1, 255});
    APIListImages& single = lists.Add(1000, 1000, "single").Images();
    ASSERT_NE(single.AddImage_fromDIB(big), nullptr);
    const std::string invalid = "Invalid Key or Index";
    const std::string duplicated = "Duplicated Key. Key already exists in this collection";
    const std::string tooMany =
        "Maximum number of images have been exceeded. Create new image list";
    Bytes newer = Export();
    newer[4] = 3;
    Bytes longTag;
    struct Case {
        const char* name;
        std::function<void()> call;
        Expected want;
    } cases[] = {
        {"list by unknown key",
         [&] { lists.Item("none"); },
         {1962, "ImageLists.Key", "Invalid Key"}},
        {"list by position 0", [&] { lists.Item(0); }, {1962, "ImageLists.Index", "Invalid Index"}},
        {"list past the end", [&] { lists.Item(3); }, {1962, "ImageLists.Index", "Invalid Index"}},
        {"remove unknown list",
         [&] { lists.Remove("none"); },
         {1962, "ImageLists.Key", "Invalid Key"}},
        {"export unknown list",
         [&] { Export("none"); },
         {1962, "ImageLists.ExportImageList", invalid}},
        {"export past the end", [&] { Export(7); }, {1962, "ImageLists.ExportImageList", invalid}},
        {"image by position", [&] { Images().Item(4); }, {1962, "Images.Index", invalid}},
        {"image by key", [&] { Images().Item("c"); }, {1962, "Images.Index", invalid}},
        {"image by empty key", [&] { Images().Item(""); }, {1962, "Images.Index", invalid}},
        {"remove unknown image", [&] { Images().Remove(0); }, {1962, "Images.Index", invalid}},
        {"insert past the end",
         [&] { Images().AddImage_fromDIB(big, 5); },
         {1962, "Images.Index", invalid}},
        {"render unknown image",
         [&] { Images().Render("z", nullptr); },
         {1962, "Images.Render", invalid}},
        {"render range past the end",
         [&] { Images().RenderRange(1, 4, nullptr); },
         {1962, "Images.Render", invalid}},
        {"add list with a key in use",
         [&] { lists.Add(8, 8, "icons"); },
         {1963, "ImageLists.Add", duplicated}},
        {"rename list to a key in use",
         [&] { lists.Item("single").SetKey("icons"); },
         {1963, "ImageLists.Key", duplicated}},
        {"add image with a key in use",
         [&] { Images().AddImage_fromDIB(big, 0, "b"); },
         {1963, "Images.Add", duplicated}},
        {"rename image to a key in use",
         [&] { Images().Item(2).SetKey("a"); },
         {1963, "Images.Key", duplicated}},
        {"list of too large images",
         [&] { lists.Add(1025, 1000); },
         {1973, "ImageLists.Add", tooMany}},
        {"list asking room past the limit",
         [&] { lists.Add(32, 32, "", 1001); },
         {1973, "ImageLists.Add", tooMany}},
        {"image past the limit",
         [&] { single.AddImage_fromDIB(big); },
         {1973, "Images.Add", tooMany}},
        {"newer version",
         [&] {
             std::string key;
             lists.ImportImageList(newer, key);
         },
         {1974, "ImageLists.ImportImageList",
          "Invalid ImageList Version. Update your ImageList classes/control"}},
        {"not a list",
         [&] {
             std::string key;
             lists.ImportImageList(Bytes(40, 'L'), key);
         },
         kImportFailed},
        {"tag too long to write",
         [&] {
             Images().Item(1).SetTag(std::string(40000, 't'));
             Export();
         },
         {1976, "ImageLists.ExportImageList",
          "Error exporting image list. Ensure enough disk space and valid write-permissions"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectRaises(c.call, c.want);
    }
    // None of the failures changed anything.
    EXPECT_EQ(lists.Count(), 2);
    EXPECT_EQ(Images().Count(), 3);
    EXPECT_EQ(single.Count(), 1);
}

TEST_F(ImageListsTest, KeysNamePositionsAndFollowTheirImages) {
    APIListImages& images = Images();
    EXPECT_EQ(&images.Item("b"), &images.Item(2));
    EXPECT_EQ(images.IsKeyAssigned("b"), 2);
    EXPECT_EQ(images.IsKeyAssigned("B"), 0);
    EXPECT_EQ(images.IsKeyAssigned(""), 0);
    EXPECT_EQ(lists.IsKeyAssigned("icons"), 1);

    // Several images may go without a key, and a key may be set again.
    API32bppDIB extra;
    RandomPicture(extra, 3, 2, 99);
    APIListImage* first = images.AddImage_fromDIB(extra, 1, "", "new");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->Index(), 1);
    EXPECT_EQ(images.Item("a").Index(), 2);
    EXPECT_EQ(images.Item("b").Index(), 3);
    images.Item("b").SetKey("b");
    images.Item("b").SetKey("renamed");
    EXPECT_EQ(images.IsKeyAssigned("b"), 0);
    EXPECT_EQ(images.IsKeyAssigned("renamed"), 3);
    EXPECT_EQ(PixelsOf(images, 1), test::Read(extra));
    EXPECT_EQ(PixelsOf(images, "renamed"), test::Read(pictures[1]));

    images.Remove("a");
    EXPECT_EQ(images.Count(), 3);
    EXPECT_EQ(images.IsKeyAssigned("a"), 0);
    EXPECT_EQ(images.Item("renamed").Index(), 2);
    EXPECT_EQ(PixelsOf(images, 2), test::Read(pictures[1]));
    EXPECT_EQ(PixelsOf(images, 3), test::Read(pictures[2]));
    EXPECT_EQ(images.Item(3).Tag(), "tag");

    std::vector<int32_t> order;
    std::vector<std::string> tags;
    for (const APIListImage& image : images) {
        order.push_back(image.Index());
        tags.push_back(image.Tag());
    }
    EXPECT_EQ(order, (std::vector<int32_t>{1, 2, 3}));
    EXPECT_EQ(tags, (std::vector<std::string>{"new", "tagb", "tag"}));

    lists.Add(4, 4, "second");
    lists.Item("icons").SetKey("first");
    std::vector<std::string> keys;
    for (const APIImageList& list : lists) {
        keys.push_back(list.Key() + "@" + std::to_string(list.Index()));
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"first@1", "second@2"}));
    lists.Remove(1);
    EXPECT_EQ(lists.Item("second").Index(), 1);
    lists.Clear();
    EXPECT_EQ(lists.Count(), 0);
    EXPECT_EQ(lists.IsKeyAssigned("second"), 0);
}

TEST_F(ImageListsTest, ExportWritesTheListFileByteForByte) {
    APIListImages& images = lists.Add(2, 1, "ab").Images();
    API32bppDIB picture;
    RandomPicture(picture, 2, 1, 5);
    images.AddImage_fromDIB(picture, 0, "k");
    images.AddImage_fromDIB(picture, 0, "", "t");
    const Bytes file = Export("ab");
    const Bytes want = {
        'L', 'I', 'V', 'L', 2,   0, 0,   0,  // magic, version
        53,  0,   0,   0,   56,  0, 0,   0,  // TrailerPos, TrailerEnd
        4,   0,   0,   0,   'a', 0, 'b', 0,  // the list's key
        2,   0,   0,   0,   1,   0, 0,   0,  // images, images with a key
        2,   0,   0,   0,   1,   0, 0,   0,  // width, height
        2,   0,   0,   0,   'k', 0,          // key "k", no tag
        0,   0,   2,   0,   't', 0,          // no key, tag "t"
        3,   0,   0,   0,   0,   0, 0,       // trailer length, DelayLoaded, flags
        137, 'P', 'N', 'G',
    };
    ASSERT_GE(file.size(), want.size());
    EXPECT_EQ(Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(want.size())), want);
}

struct Layout {
    size_t trailer;  // 0-based offset of the trailer's length word
    uint16_t delayLoaded;
    uint8_t flags;
};

Layout LayoutOf(const Bytes& file) {
    const size_t trailer = detail::ReadLE32(file, 8) - 1;
    return {trailer, detail::ReadLE16(file, trailer + 4), file[trailer + 6]};
}

TEST_F(ImageListsTest, ExportThenImportGivesTheSameList) {
    struct Case {
        const char* name;
        bool compression;
        bool zlib;
        size_t keyLength;  // characters of a key on the first image, to cross 1024 bytes
        bool delayLoaded;
        uint8_t wantFlags;
    } cases[] = {
        {"PNG strip", false, true, 1, false, 0},
        {"PNG strip without zlib", false, false, 1, false, 0},
        {"compression with zlib keeps PNG", true, true, 1, false, 0},
        {"Huffman strip", true, false, 1, false, 2},
        {"keys and tags of exactly 1024 bytes", false, true, 504, false, 0},
        {"keys and tags past 1024 bytes", false, true, 505, false, 4},
        {"both coded", true, false, 2000, false, 6},
        {"delay loaded", false, true, 1, true, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ZlibScope zlib(c.zlib);
        APIImageLists source;
        source.SetCompression(c.compression);
        APIListImages& images = source.Add(3, 2, "ícones 😀").Images();
        images.SetDelayLoaded(c.delayLoaded);
        // Keys and tags take 2 × c.keyLength + 16 bytes in UTF-16.
        for (uint32_t i = 0; i < 3; ++i) {
            const std::string key = i == 0 ? std::string(c.keyLength, 'k') : i == 1 ? "b" : "";
            const std::string tag = i == 0 ? "" : i == 1 ? "tagb" : "tag";
            images.AddImage_fromDIB(pictures[i], 0, key, tag);
        }
        Bytes file;
        source.ExportImageList(1, file);
        const Layout layout = LayoutOf(file);
        EXPECT_EQ(layout.flags, c.wantFlags);
        EXPECT_EQ(layout.delayLoaded, c.delayLoaded ? 0xFFFF : 0);

        APIImageLists target;
        target.SetCompression(c.compression);
        std::string key;
        APIImageList& back = target.ImportImageList(file, key);
        EXPECT_EQ(key, "ícones 😀");
        EXPECT_EQ(back.Key(), key);
        EXPECT_EQ(back.Width(), 3);
        EXPECT_EQ(back.Height(), 2);
        ASSERT_EQ(back.Images().Count(), 3);
        EXPECT_EQ(back.Images().DelayLoaded(), c.delayLoaded);
        for (int32_t i = 1; i <= 3; ++i) {
            EXPECT_EQ(back.Images().Item(i).Key(), images.Item(i).Key());
            EXPECT_EQ(back.Images().Item(i).Tag(), images.Item(i).Tag());
            EXPECT_EQ(PixelsOf(back.Images(), i), test::Read(pictures[i - 1])) << "image " << i;
        }
        // Written again, the list gives the same bytes.
        Bytes again;
        target.ExportImageList(1, again);
        EXPECT_EQ(again, file);
    }
}

TEST_F(ImageListsTest, ADelayLoadedListKeepsItsBytesUntilItsPixelsChange) {
    Images().SetDelayLoaded(true);
    const Bytes file = Export();
    APIImageLists other;
    std::string key;
    APIListImages& images = other.ImportImageList(file, key).Images();
    Bytes again;
    other.ExportImageList(1, again);
    EXPECT_EQ(again, file);

    images.Remove(1);
    EXPECT_EQ(PixelsOf(images, 1), test::Read(pictures[1]));
    other.ExportImageList(1, again);
    EXPECT_NE(again, file);
    other.ImportImageList(again, key);
    EXPECT_EQ(key, "icons(1)");
    EXPECT_EQ(PixelsOf(other.Item(2).Images(), 2), test::Read(pictures[2]));
}

TEST_F(ImageListsTest, ImportedKeysInUseGetANumberAdded) {
    const Bytes file = Export();
    struct Step {
        std::string given;
        std::string want;
    } steps[] = {
        {"", "icons(1)"},
        {"", "icons(2)"},
        {"mine", "mine"},
        {"mine", "mine(1)"},
        {"icons(1)", "icons(1)(1)"},
    };
    for (const Step& s : steps) {
        std::string key = s.given;
        APIImageList& list = lists.ImportImageList(file, key);
        EXPECT_EQ(key, s.want);
        EXPECT_EQ(list.Key(), s.want);
        EXPECT_EQ(lists.IsKeyAssigned(s.want), list.Index());
    }
    EXPECT_EQ(lists.Count(), 6);
}

TEST_F(ImageListsTest, AnEmptyListRoundTrips) {
    lists.Add(5, 7, "");
    Bytes file;
    lists.ExportImageList(2, file);
    EXPECT_EQ(file.size(), 20u + 16 + 7);
    std::string key;
    APIImageList& back = lists.ImportImageList(file, key);
    EXPECT_EQ(key, "");
    EXPECT_EQ(back.Images().Count(), 0);
    EXPECT_EQ(back.Width(), 5);
    EXPECT_EQ(back.Height(), 7);
}

// A valid file with some bytes replaced.
Bytes Patched(const Bytes& file, size_t at, const Bytes& bytes) {
    Bytes out = file;
    std::copy(bytes.begin(), bytes.end(), out.begin() + static_cast<ptrdiff_t>(at));
    return out;
}

// The same, counting from the trailer's length word.
Bytes PatchedTrailer(const Bytes& file, size_t at, const Bytes& bytes) {
    return Patched(file, LayoutOf(file).trailer + at, bytes);
}

TEST_F(ImageListsTest, DamagedFilesFailWithoutLeavingAList) {
    const Bytes file = Export();
    // "icons" takes 10 bytes, so the header's numbers start at 30 and the
    // records at 46: "a" with tag "taga" (4 + 10 bytes), then "b" at 64.
    const Layout layout = LayoutOf(file);
    struct Case {
        const char* name;
        Bytes data;
        Expected want;
    } cases[] = {
        {"other magic", Patched(file, 0, {'L', 'I', 'V', 'X'}), kImportFailed},
        {"19 bytes", Bytes(file.begin(), file.begin() + 19), kImportFailed},
        {"trailer length 4", PatchedTrailer(file, 0, {4}), kImportFailed},
        {"TrailerEnd past the end", Patched(file, 12, {0xFF, 0xFF, 0, 0}), kImportFailed},
        {"TrailerPos 0", Patched(file, 8, {0, 0, 0, 0}), kImportFailed},
        {"newer version with a broken trailer", PatchedTrailer(Patched(file, 4, {3}), 0, {4}),
         kImportFailed},
        {"odd key length", Patched(file, 16, {9}), kImportFailed},
        {"more images than records", Patched(file, 30, {9}), kImportFailed},
        {"width 0", Patched(file, 38, {0}), kImportFailed},
        {"height other than the strip's", Patched(file, 42, {1}), kImportFailed},
        {"two images keyed a", Patched(file, 64, {'a'}), kImportFailed},
        {"PNG strip marked as Huffman", PatchedTrailer(file, 6, {2}), kImportFailed},
        {"coded records that are not", PatchedTrailer(file, 6, {4}), kImportFailed},
        {"strip missing", Bytes(file.begin(), file.begin() + layout.trailer + 7), kImportFailed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectRaises(
            [&] {
                std::string key;
                lists.ImportImageList(c.data, key);
            },
            c.want);
    }
    for (size_t n = 0; n < file.size(); ++n) {
        std::string key;
        ExpectRaises([&] { lists.ImportImageList(Bytes(file.begin(), file.begin() + n), key); },
                     kImportFailed);
    }
    EXPECT_EQ(lists.Count(), 1);
}

TEST_F(ImageListsTest, VersionOneIgnoresTheFlagsByte) {
    std::string key;
    // Flags 4 would make the plain records unreadable.
    const Bytes v1 = PatchedTrailer(Patched(Export(), 4, {1}), 6, {4});
    APIListImages& images = lists.ImportImageList(v1, key).Images();
    EXPECT_EQ(images.Item("b").Tag(), "tagb");
    EXPECT_EQ(PixelsOf(images, 3), test::Read(pictures[2]));
}

TEST_F(ImageListsTest, ADelayedStripThatWillNotDecodeShowsClearImages) {
    Images().SetDelayLoaded(true);
    Bytes file = Export();
    file.resize(file.size() - 20);  // the PNG loses its end
    std::string key;
    APIListImages& images = lists.ImportImageList(file, key).Images();
    ASSERT_EQ(images.Count(), 3);
    EXPECT_EQ(PixelsOf(images, 2), std::vector<Px>(6, test::kZero));
}

TEST_F(ImageListsTest, RenderDrawsOneImageOrAPartOfIt) {
    const std::vector<Px> second = test::Read(pictures[1]);
    struct Case {
        const char* name;
        int32_t destX, srcX, srcWidth;
        std::vector<int> from;  // per column of the 5 × 2 target: a column of "b", or -1
    } cases[] = {
        {"whole image", 1, 0, 0, {-1, 0, 1, 2, -1}},
        {"from column 1, no more than the image has", 0, 1, 9, {1, 2, -1, -1, -1}},
        {"mirrored", 2, 0, -3, {-1, -1, 2, 1, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<Px> want;
        for (size_t y = 0; y < 2; ++y) {
            for (const int x : c.from) {
                want.push_back(x < 0 ? test::kZero : second[y * 3 + static_cast<size_t>(x)]);
            }
        }
        API32bppDIB target;
        ASSERT_TRUE(target.InitializeDIB(5, 2));
        EXPECT_TRUE(Images().Render("b", target.LoadDIBinDC(true), c.destX, 0, 0, 0, c.srcX, 0,
                                    c.srcWidth));
        EXPECT_EQ(test::Read(target), want);
    }
    API32bppDIB target;
    ASSERT_TRUE(target.InitializeDIB(5, 2));
    EXPECT_FALSE(Images().Render(1, target.LoadDIBinDC(true), 0, 0, 0, 0, 3));
}

TEST_F(ImageListsTest, RenderRangeDrawsImagesSideBySide) {
    API32bppDIB target;
    ASSERT_TRUE(target.InitializeDIB(10, 2));
    EXPECT_TRUE(Images().RenderRange(2, 3, target.LoadDIBinDC(true), 4, 0));
    EXPECT_EQ(Columns(target, 0, 4), std::vector<Px>(8, test::kZero));
    EXPECT_EQ(Columns(target, 4, 7), test::Read(pictures[1]));
    EXPECT_EQ(Columns(target, 7, 10), test::Read(pictures[2]));

    API32bppDIB untouched;
    ASSERT_TRUE(untouched.InitializeDIB(10, 2));
    EXPECT_FALSE(Images().RenderRange(3, 1, untouched.LoadDIBinDC(true)));
    EXPECT_EQ(test::Read(untouched), std::vector<Px>(20, test::kZero));
}

TEST(ImageListAdders, PicturesAreFittedIntoTheCell) {
    const Px red{0, 0, 200, 200};
    API32bppDIB wide;
    SolidPicture(wide, 2, 1, red);
    API32bppDIB big;
    RandomPicture(big, 6, 6, 4);
    API32bppDIB small;
    RandomPicture(small, 2, 2, 8);
    const std::vector<Px> b = test::Read(big);
    const std::vector<Px> s = test::Read(small);
    const Px o = test::kZero;
    const Px r = red;
    struct Case {
        const char* name;
        const API32bppDIB* picture;
        bool scaled;
        std::vector<Px> want;
    } cases[] = {
        {"scaled up, centred", &wide, true, {o, o, o, o, r, r, r, r, r, r, r, r, o, o, o, o}},
        {"own size, centred",
         &small,
         false,
         {o, o, o, o, o, s[0], s[1], o, o, s[2], s[3], o, o, o, o, o}},
        {"own size, middle cut out",
         &big,
         false,
         {b[7], b[8], b[9], b[10], b[13], b[14], b[15], b[16], b[19], b[20], b[21], b[22], b[25],
          b[26], b[27], b[28]}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        APIImageLists lists;
        APIListImages& images = lists.Add(4, 4).Images();
        ASSERT_NE(images.AddImage_fromDIB(*c.picture, 0, "", "", c.scaled), nullptr);
        EXPECT_EQ(PixelsOf(images, 1), c.want);
    }
}

TEST(ImageListAdders, StreamsAndFilesGoThroughTheSurfaceReaders) {
    API32bppDIB picture;
    RandomPicture(picture, 4, 3, 21);
    Bytes png;
    ASSERT_TRUE(picture.SaveToStream_PNG(png));
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / "kelvara-imagelist-adder.png";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));

    APIImageLists lists;
    APIListImages& images = lists.Add(4, 3).Images();
    Bytes padded(5 + png.size(), 0xEE);
    std::copy(png.begin(), png.end(), padded.begin() + 5);
    EXPECT_NE(images.AddImage_fromStream(padded, 5, 0, 32, 0, "stream"), nullptr);
    EXPECT_NE(images.AddImage_fromFile(path.string(), 32, 0, "file"), nullptr);
    EXPECT_EQ(images.AddImage_fromStream(Bytes(64, 0x42), 0, 0, 32, 0, "junk"), nullptr);
    EXPECT_EQ(images.AddImage_fromFile(path.string() + ".missing", 32, 0, "gone"), nullptr);
    std::filesystem::remove(path);

    EXPECT_EQ(images.Count(), 2);
    EXPECT_EQ(images.IsKeyAssigned("junk"), 0);
    EXPECT_EQ(PixelsOf(images, "stream"), test::Read(picture));
    EXPECT_EQ(PixelsOf(images, "file"), test::Read(picture));
}

TEST(ImageListSizes, IconFilesListTheirIconsOtherPicturesTheirOwnSize) {
    std::ifstream in(std::string(KELVARA_IMAGE_DATA) + "/ico/alpha32.ico", std::ios::binary);
    const Bytes icon((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<IconSize> sizes;
    ASSERT_GT(APIImageLists::ImageSizesFromStream(icon, sizes), 0);
    EXPECT_EQ(sizes, APIICOParser::IconSizes(icon));

    API32bppDIB picture;
    RandomPicture(picture, 5, 9, 2);
    Bytes png;
    ASSERT_TRUE(picture.SaveToStream_PNG(png));
    EXPECT_EQ(APIImageLists::ImageSizesFromStream(png, sizes), 1);
    EXPECT_EQ(sizes, (std::vector<IconSize>{{5, 9, 32}}));

    EXPECT_EQ(APIImageLists::ImageSizesFromStream(Bytes(30, 1), sizes), 0);
    EXPECT_TRUE(sizes.empty());
}

}  // namespace
}  // namespace kelvara
