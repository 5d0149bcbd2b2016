#include "kelvara/image/gif/APIGIFParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "GifTestSupport.h"
#include "GiflibOracle.h"

namespace kelvara {
namespace {

using test::GifBuilder;
using Bytes = std::vector<uint8_t>;

const std::filesystem::path kCorpus = std::filesystem::path(KELVARA_IMAGE_DATA) / "gif";

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// The surface's pixels as stored, top row first.
Bytes TopDown(const API32bppDIB& surface) {
    Bytes out;
    for (int32_t y = 0; y < surface.Height(); ++y) {
        const uint8_t* row = surface.Pixels().Row(y);
        out.insert(out.end(), row, row + surface.Width() * 4);
    }
    return out;
}

// The first pixel that differs, for a readable failure.
::testing::AssertionResult SameBgra(const Bytes& have, const Bytes& want, int32_t width) {
    if (have.size() != want.size()) {
        return ::testing::AssertionFailure()
               << "have " << have.size() << " bytes, want " << want.size();
    }
    const auto [h, w] = std::mismatch(have.begin(), have.end(), want.begin());
    if (h == have.end()) {
        return ::testing::AssertionSuccess();
    }
    const size_t pixel = static_cast<size_t>(h - have.begin()) / 4;
    return ::testing::AssertionFailure()
           << "pixel (" << pixel % width << ", " << pixel / width << ") byte "
           << (h - have.begin()) % 4 << ": have " << int{*h} << ", want " << int{*w};
}

const std::vector<uint32_t> kBlackWhite = {0x000000, 0xFFFFFF};
const std::vector<uint32_t> kFour = {0x112233, 0xFF0000, 0x00FF00, 0x0000FF};
const Bytes kTwoByTwo = {0, 1, 2, 3};

// --- The corpus against giflib ----------------------------------------------------------

std::vector<std::filesystem::path> CorpusFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kCorpus)) {
        if (entry.path().extension() == ".gif") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

TEST(GIFParser, EveryCorpusFileDecodesAsGiflibDecodesItOrBothRefuse) {
    const auto files = CorpusFiles();
    ASSERT_GE(files.size(), 40u);
    int loaded = 0;
    for (const auto& path : files) {
        SCOPED_TRACE(path.filename().string());
        const Bytes bytes = ReadFile(path);
        API32bppDIB surface;
        const bool ours = APIGIFParser().LoadStream(bytes, surface);
        const auto theirs = test::GiflibFirstFrame(bytes);
        // giflib also hands back frames without a colour table or without
        // pixels; our reader refuses those.
        if (!theirs || !theirs->hasTable || theirs->width == 0 || theirs->height == 0) {
            EXPECT_FALSE(ours);
            EXPECT_EQ(surface.Handle(), 0u);
            continue;
        }
        ASSERT_TRUE(ours);
        ++loaded;
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageGIF);
        EXPECT_EQ(surface.Alpha(), theirs->transparentIndex >= 0 ? ENUM_ALPHA_TYPE::AlphaSimple
                                                                 : ENUM_ALPHA_TYPE::AlphaNone);
        ASSERT_EQ(surface.Width(), theirs->width);
        ASSERT_EQ(surface.Height(), theirs->height);
        EXPECT_TRUE(SameBgra(TopDown(surface), theirs->bgra, theirs->width));
    }
    EXPECT_GE(loaded, 30);
}

// What the frame-level rules give for particular corpus files.
struct CorpusCase {
    const char* file;
    bool loads;
    int32_t width, height;
    ENUM_ALPHA_TYPE alpha;
};

class GIFParserCorpus : public ::testing::TestWithParam<CorpusCase> {};

TEST_P(GIFParserCorpus, GivesTheFirstFrameAtItsOwnSize) {
    const CorpusCase& c = GetParam();
    API32bppDIB surface;
    ASSERT_EQ(APIGIFParser().LoadStream(ReadFile(kCorpus / c.file), surface), c.loads);
    EXPECT_EQ(surface.Width(), c.width);
    EXPECT_EQ(surface.Height(), c.height);
    if (c.loads) {
        EXPECT_EQ(surface.Alpha(), c.alpha);
    } else {
        EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
    }
}

constexpr auto kNone = ENUM_ALPHA_TYPE::AlphaNone;
constexpr auto kSimple = ENUM_ALPHA_TYPE::AlphaSimple;

INSTANTIATE_TEST_SUITE_P(
    Files, GIFParserCorpus,
    ::testing::Values(
        // A frame wider than the screen and off its origin: the frame's size.
        CorpusCase{"wuffs/artificial-gif/frame-out-of-bounds.gif", true, 3, 1, kNone},
        CorpusCase{"wuffs/artificial-gif/small-frame-interlaced.gif", true, 1, 1, kNone},
        // The first frame has a local table; a later one has none at all.
        CorpusCase{"wuffs/artificial-gif/empty-palette.gif", true, 1, 1, kNone},
        // Its transparent index belongs to the second frame.
        CorpusCase{"wuffs/artificial-gif/transparent-index.gif", true, 4, 2, kNone},
        CorpusCase{"wuffs/artificial-gif/pixel-data-too-much-bad-lzw.gif", true, 2, 2, kNone},
        CorpusCase{"wuffs/artificial-gif/pixel-data-not-enough.gif", false, 0, 0, kNone},
        CorpusCase{"wuffs/artificial-gif/pixel-data-none.gif", false, 0, 0, kNone},
        CorpusCase{"wuffs/artificial-gif/no-frames.gif", false, 0, 0, kNone},
        CorpusCase{"wuffs/artificial-gif/zero-width-frame.gif", false, 0, 0, kNone},
        CorpusCase{"wuffs/hippopotamus.masked-with-muybridge.gif", true, 36, 28, kSimple},
        CorpusCase{"wuffs/hippopotamus.interlaced.truncated.gif", false, 0, 0, kNone},
        CorpusCase{"wuffs/muybridge.gif", true, 30, 20, kNone},
        // Code size 1, one transparent pixel.
        CorpusCase{"image-gif/samples/set_hsts.gif", true, 1, 1, kSimple},
        // No table anywhere.
        CorpusCase{"image-gif/crashtest/issue-96-small-codesize.gif", false, 0, 0, kNone}));

// Interlaced files of every height up to two whole groups of eight rows,
// made by giflib: each pass may be empty or end part way.
TEST(GIFParser, InterlacedFramesOfEveryHeightMatchGiflib) {
    for (int32_t height = 1; height <= 17; ++height) {
        SCOPED_TRACE(height);
        const int32_t width = 3;
        Bytes indices;
        for (int32_t i = 0; i < width * height; ++i) {
            indices.push_back(static_cast<uint8_t>(i % 16));
        }
        std::vector<uint32_t> table;
        for (uint32_t i = 0; i < 16; ++i) {
            table.push_back(i * 0x0F0D0B);
        }
        const Bytes file = test::GiflibEncode(width, height, indices, table, true);
        const auto theirs = test::GiflibFirstFrame(file);
        ASSERT_TRUE(theirs);
        API32bppDIB surface;
        ASSERT_TRUE(APIGIFParser().LoadStream(file, surface));
        EXPECT_TRUE(SameBgra(TopDown(surface), theirs->bgra, width));
    }
}

// --- Damaged and cut-short streams ------------------------------------------------------

// Every length short of the first frame's data terminator fails and leaves
// no image; from there on (the trailer is never needed) the picture loads.
TEST(GIFParser, EveryTruncationBeforeTheFrameEndsFails) {
    for (const char* name : {"wuffs/hippopotamus.regular.gif", "wuffs/hippopotamus.interlaced.gif",
                             "image-gif/samples/beacon_xmp.gif"}) {
        SCOPED_TRACE(name);
        const Bytes file = ReadFile(kCorpus / name);
        API32bppDIB whole;
        ASSERT_TRUE(APIGIFParser().LoadStream(file, whole));
        const Bytes want = TopDown(whole);
        size_t firstLoading = 0;
        for (size_t length = 1; length <= file.size(); ++length) {
            API32bppDIB surface;
            const bool loaded =
                APIGIFParser().LoadStream(file, surface, 0, static_cast<int32_t>(length));
            if (!loaded) {
                ASSERT_EQ(firstLoading, 0u)
                    << "length " << length << " fails after a shorter one loaded";
                ASSERT_EQ(surface.Handle(), 0u);
                continue;
            }
            if (firstLoading == 0) {
                firstLoading = length;
            }
            ASSERT_TRUE(SameBgra(TopDown(surface), want, whole.Width())) << "length " << length;
        }
        // Single-frame files end "0, ;": the terminator is the next-to-last
        // byte. beacon_xmp has a second frame after the first.
        if (std::string(name).find("beacon") == std::string::npos) {
            EXPECT_EQ(firstLoading, file.size() - 1);
        } else {
            EXPECT_LT(firstLoading, file.size() - 1);
        }
    }
}

TEST(GIFParser, StartAndLengthSelectAPictureInsideALargerStream) {
    const Bytes gif = ReadFile(kCorpus / "image-gif/samples/sample_1.gif");
    Bytes stream(37, 0xAA);
    stream.insert(stream.end(), gif.begin(), gif.end());
    stream.insert(stream.end(), 50, 0x55);
    const int32_t start = 37, length = static_cast<int32_t>(gif.size());
    API32bppDIB surface;
    EXPECT_TRUE(APIGIFParser().LoadStream(stream, surface, start, length));
    EXPECT_EQ(surface.Width(), 10);
    EXPECT_TRUE(APIGIFParser().LoadStream(stream, surface, start, 0));  // 0: to the end
    EXPECT_FALSE(APIGIFParser().LoadStream(stream, surface, start + 1, length));
    EXPECT_FALSE(APIGIFParser().LoadStream(stream, surface, start, length - 3));
    EXPECT_FALSE(
        APIGIFParser().LoadStream(stream, surface, start, static_cast<int32_t>(stream.size())));
    EXPECT_FALSE(APIGIFParser().LoadStream(stream, surface, -1, length));
    EXPECT_EQ(surface.Handle(), 0u);
}

// --- The signature and the walk -----------------------------------------------------------

struct SignatureCase {
    const char* signature;
    bool loads;
};

class GIFParserSignature : public ::testing::TestWithParam<SignatureCase> {};

TEST_P(GIFParserSignature, IsComparedFoldedToLowerCase) {
    const Bytes file =
        GifBuilder(GetParam().signature, 2, 2, kFour).Image(2, 2, kTwoByTwo, 2).Trailer().bytes;
    API32bppDIB surface;
    EXPECT_EQ(APIGIFParser().LoadStream(file, surface), GetParam().loads);
}

INSTANTIATE_TEST_SUITE_P(
    Signatures, GIFParserSignature,
    ::testing::Values(SignatureCase{"GIF89a", true}, SignatureCase{"GIF87a", true},
                      SignatureCase{"gif89a", true}, SignatureCase{"GiF87A", true},
                      SignatureCase{"GIF88a", false}, SignatureCase{"GIF9a8", false},
                      SignatureCase{"JIF89a", false}, SignatureCase{"\x89PNG\r\n", false}));

// The walk from the screen to the first image, with what each arrangement
// of blocks gives: whether it loads, and the four stored pixels as
// 0xAARRGGBB (from kFour unless a case says otherwise).
struct WalkCase {
    const char* name;
    std::function<void(GifBuilder&)> blocks;
    bool loads;
    std::array<uint32_t, 4> pixels;
};

class GIFParserWalk : public ::testing::TestWithParam<WalkCase> {};

TEST_P(GIFParserWalk, FindsTheFirstImage) {
    const WalkCase& c = GetParam();
    GifBuilder builder("GIF89a", 2, 2, kFour);
    c.blocks(builder);
    API32bppDIB surface;
    ASSERT_EQ(APIGIFParser().LoadStream(builder.bytes, surface), c.loads);
    if (!c.loads) {
        EXPECT_EQ(surface.Handle(), 0u);
        return;
    }
    for (int32_t i = 0; i < 4; ++i) {
        const uint8_t* p = surface.Pixels().Pixel(i % 2, i / 2);
        const uint32_t stored =
            uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
        EXPECT_EQ(stored, c.pixels[static_cast<size_t>(i)]) << "pixel " << i;
    }
}

constexpr std::array<uint32_t, 4> kFourStored = {0xFF112233, 0xFFFF0000, 0xFF00FF00, 0xFF0000FF};
constexpr std::array<uint32_t, 4> kSecondClear = {0xFF112233, 0, 0xFF00FF00, 0xFF0000FF};
constexpr std::array<uint32_t, 4> kFirstClear = {0, 0xFFFF0000, 0xFF00FF00, 0xFF0000FF};
constexpr std::array<uint32_t, 4> kNothing = {};

GifBuilder& TheImage(GifBuilder& b) {
    return b.Image(2, 2, kTwoByTwo, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, GIFParserWalk,
    ::testing::Values(
        WalkCase{"ImageRightAfterTheTable", [](GifBuilder& b) { TheImage(b); }, true, kFourStored},
        WalkCase{"ZeroBytesBetweenBlocks",
                 [](GifBuilder& b) {
                     TheImage(b.Raw({0, 0, 0}));
                 },
                 true, kFourStored},
        WalkCase{"CommentAndApplicationBlocksFirst",
                 [](GifBuilder& b) {
                     b.Raw({0x21, 0xFE, 3, 'a', 'b', 'c', 2, 'd', 'e', 0});
                     b.Raw({0x21, 0xFF, 11, 'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0',
                            3, 1, 0, 0, 0});
                     TheImage(b);
                 },
                 true, kFourStored},
        WalkCase{"PlainTextAndUnknownExtensionsFirst",
                 [](GifBuilder& b) {
                     b.Raw({0x21, 0x01, 12, 0, 0, 0, 0, 2, 0, 2, 0, 1, 1, 0, 1, 1, 'x', 0});
                     b.Raw({0x21, 0x2A, 1, 9, 0});
                     TheImage(b);
                 },
                 true, kFourStored},
        // The application header is skipped by its own length, whatever it
        // holds, before its sub-blocks.
        WalkCase{"ApplicationHeaderOfAnOddLength",
                 [](GifBuilder& b) {
                     TheImage(b.Raw({0x21, 0xFF, 2, 0x2C, 0x3B, 1, 7, 0}));
                 },
                 true, kFourStored},
        WalkCase{"TransparentIndexMakesZeroPixels", [](GifBuilder& b) { TheImage(b.Control(1)); },
                 true, kSecondClear},
        WalkCase{"TransparentIndexZero", [](GifBuilder& b) { TheImage(b.Control(0)); }, true,
                 kFirstClear},
        WalkCase{"LastControlCountsEvenWithoutTransparency",
                 [](GifBuilder& b) { TheImage(b.Control(1).Control(-1)); }, true, kFourStored},
        WalkCase{"LastControlCountsWithTransparency",
                 [](GifBuilder& b) { TheImage(b.Control(-1).Control(0)); }, true, kFirstClear},
        WalkCase{"ControlAfterTheImageIsTheNextFramesOwn",
                 [](GifBuilder& b) { TheImage(b).Control(1).Image(2, 2, kTwoByTwo, 2); }, true,
                 kFourStored},
        // Deliberate: the control is eight bytes whatever its size byte says,
        // so a longer one leaves a byte that is no block.
        WalkCase{"LongerGraphicControlBreaksTheWalk",
                 [](GifBuilder& b) {
                     TheImage(b.Raw({0x21, 0xF9, 6, 1, 0, 0, 1, 0, 7, 0}));
                 },
                 false, kNothing},
        WalkCase{"LongerGraphicControlEndingInZerosLoads",
                 [](GifBuilder& b) {
                     TheImage(b.Raw({0x21, 0xF9, 5, 1, 0, 0, 1, 0, 0}));
                 },
                 true, kSecondClear},
        WalkCase{"LocalTableReplacesTheGlobalOne",
                 [](GifBuilder& b) {
                     b.Image(2, 2, kTwoByTwo, 2, {0xABCDEF, 0x010203, 7, 8});
                 },
                 true,
                 {0xFFABCDEF, 0xFF010203, 0xFF000007, 0xFF000008}},
        WalkCase{"ValuesPastTheTableAreOpaqueBlack",
                 [](GifBuilder& b) {
                     b.Image(2, 2, kTwoByTwo, 2, {0xABCDEF, 0x010203});
                 },
                 true,
                 {0xFFABCDEF, 0xFF010203, 0xFF000000, 0xFF000000}},
        WalkCase{"TransparentIndexPastTheTableStillCounts",
                 [](GifBuilder& b) {
                     b.Control(3).Image(2, 2, kTwoByTwo, 2, {0xABCDEF, 0x010203});
                 },
                 true,
                 {0xFFABCDEF, 0xFF010203, 0xFF000000, 0}},
        WalkCase{"UnknownByteBeforeTheImage", [](GifBuilder& b) { TheImage(b.Raw({0x42})); }, false,
                 kNothing},
        WalkCase{"TrailerBeforeTheImage", [](GifBuilder& b) { TheImage(b.Trailer()); }, false,
                 kNothing},
        WalkCase{"ExtensionRunningPastTheEnd",
                 [](GifBuilder& b) {
                     b.Raw({0x21, 0xFE, 9, 'a'});
                 },
                 false, kNothing},
        WalkCase{"ControlCutShort",
                 [](GifBuilder& b) {
                     b.Raw({0x21, 0xF9, 4, 1, 0, 0, 1});
                 },
                 false, kNothing},
        WalkCase{"CodeSizeNine",
                 [](GifBuilder& b) {
                     b.Raw({0x2C, 0, 0, 0, 0, 2, 0, 2, 0, 0, 9, 8, 1, 2, 3, 4, 5, 6, 7, 8, 0});
                 },
                 false, kNothing},
        WalkCase{"CodeSizeZero",
                 [](GifBuilder& b) {
                     b.Raw({0x2C, 0, 0, 0, 0, 2, 0, 2, 0, 0, 0, 8, 1, 2, 3, 4, 5, 6, 7, 8, 0});
                 },
                 false, kNothing}),
    [](const ::testing::TestParamInfo<WalkCase>& info) { return std::string(info.param.name); });

// GIF 87a with the smallest table (two entries).
TEST(GIFParser, SmallestTableOf87aLoads) {
    const Bytes pixels = {0, 1, 1, 0, 1, 1};
    const Bytes file = GifBuilder("GIF87a", 3, 2, kBlackWhite).Image(3, 2, pixels, 2).bytes;
    API32bppDIB surface;
    ASSERT_TRUE(APIGIFParser().LoadStream(file, surface));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
    const Bytes want = {0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 255,
                        0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    EXPECT_TRUE(SameBgra(TopDown(surface), want, 3));
}

// A failed load also leaves no earlier picture behind.
TEST(GIFParser, FailedLoadEmptiesASurfaceThatHeldAPicture) {
    API32bppDIB surface;
    ASSERT_TRUE(surface.InitializeDIB(4, 4));
    EXPECT_FALSE(APIGIFParser().LoadStream(
        ReadFile(kCorpus / "wuffs/artificial-gif/pixel-data-not-enough.gif"), surface));
    EXPECT_EQ(surface.Handle(), 0u);
    EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
}

// --- Through the surface ----------------------------------------------------------------------

TEST(GIFParser, SurfaceLoadsGifAfterPngAndReportsItsType) {
    const Bytes file = ReadFile(kCorpus / "wuffs/hippopotamus.masked-with-muybridge.gif");
    API32bppDIB surface;
    ASSERT_TRUE(surface.LoadPicture_Stream(file, 0, 0, 0, 0, true));
    EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageGIF);
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaSimple);
    EXPECT_EQ(surface.Width(), 36);
    Bytes original;
    ASSERT_TRUE(surface.GetOrginalFormat(original));
    EXPECT_EQ(original, file);

    API32bppDIB fromFile;
    ASSERT_TRUE(fromFile.LoadPicture_File((kCorpus / "wuffs/muybridge.gif").string()));
    EXPECT_EQ(fromFile.ImageType(), ENUM_IMAGE_FORMAT::ImageGIF);
    EXPECT_EQ(fromFile.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
}

}  // namespace
}  // namespace kelvara
