#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <ostream>
#include <random>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "tests/image/SurfaceTestSupport.h"

namespace kelvara {

// Found by argument lookup, so it must live beside RECT.
static std::ostream& operator<<(std::ostream& os, const RECT& r) {
    return os << "{" << r.Left << "," << r.Top << "," << r.Right << "," << r.Bottom << "}";
}

namespace {

using enum ENUM_GRAY_SCALE_FORMULAS;
using enum ENUM_REGION_STYLES;

using namespace test;

TEST(PixelOps, DropShadowAlphaIsTheBoxSumOfTheSourceAlpha) {
    std::mt19937 random(1);
    API32bppDIB src;
    FillRandom(src, 7, 5, random);
    const Px colour{0x33, 0x66, 0x99, 255};  // 0x336699 is blue 0x33, red 0x99
    for (int32_t depth : {0, 1, 3, 10}) {
        const auto shadow = src.CreateDropShadow(depth, 0x336699);
        ASSERT_TRUE(shadow);
        const int32_t m = depth * 2;
        ASSERT_EQ(shadow->Width(), 7 + m);
        ASSERT_EQ(shadow->Height(), 5 + m);
        EXPECT_EQ(shadow->Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
        std::vector<Px> want;
        for (int32_t y = 0; y < 5 + m; ++y) {
            for (int32_t x = 0; x < 7 + m; ++x) {
                int32_t sum = 0;
                for (int32_t sy = y - m; sy <= y; ++sy) {
                    for (int32_t sx = x - m; sx <= x; ++sx) {
                        sum += src.Pixels().Contains(sx, sy) ? src.Pixels().Pixel(sx, sy)[3] : 0;
                    }
                }
                const int v = sum / ((m + 1) * (m + 1));
                want.push_back(
                    v == 255 ? colour
                             : Px{v * colour.b / 255, v * colour.g / 255, v * colour.r / 255, v});
            }
        }
        EXPECT_EQ(Read(*shadow), want) << "depth " << depth;
    }
    EXPECT_EQ(Read(*src.CreateDropShadow(11, 0x336699)), Read(*src.CreateDropShadow(10, 0x336699)));
    EXPECT_EQ(Read(*src.CreateDropShadow(-4, 0x336699)), Read(*src.CreateDropShadow(0, 0x336699)));
    EXPECT_FALSE(API32bppDIB().CreateDropShadow(2, 0));
}

TEST(PixelOps, ColourOperationsGiveTheirExactBytes) {
    struct Case {
        const char* name;
        std::function<bool(API32bppDIB&)> op;
        Px src, want;
    } cases[] = {
        {"inverse",
         [](API32bppDIB& s) { return s.MakeImageInverse(); },
         {10, 20, 30, 128},
         {118, 108, 98, 128}},
        {"gray NTSC",
         [](API32bppDIB& s) { return s.MakeGrayScale(GrayScaleNTSCPAL); },
         {10, 20, 30, 255},
         {22, 22, 22, 255}},
        {"gray red mask, partial alpha",
         [](API32bppDIB& s) { return s.MakeGrayScale(GrayScaleRedMask); },
         {0, 0, 100, 128},
         {80, 80, 80, 128}},
        {"blend to colour 100%",
         [](API32bppDIB& s) { return s.BlendToColor(0x302010, 100); },
         {10, 20, 30, 128},
         {24, 16, 8, 128}},
        {"blend to colour past 100%",
         [](API32bppDIB& s) { return s.BlendToColor(0x302010, 150); },
         {10, 20, 30, 128},
         {24, 16, 8, 128}},
        {"blend to colour 50%",
         [](API32bppDIB& s) { return s.BlendToColor(0x302010, 50); },
         {10, 20, 30, 128},
         {14, 13, 11, 128}},
        {"blend to colour 0%",
         [](API32bppDIB& s) { return s.BlendToColor(0x302010, 0); },
         {10, 20, 30, 128},
         {10, 20, 30, 128}},
        {"lighter 50%",
         [](API32bppDIB& s) { return s.MakeLighterDarker(50); },
         {10, 200, 250, 255},
         {137, 255, 255, 255}},
        {"darker 50%",
         [](API32bppDIB& s) { return s.MakeLighterDarker(-50); },
         {10, 100, 128, 128},
         {0, 36, 64, 128}},
        {"lighter past 100% does nothing",
         [](API32bppDIB& s) { return s.MakeLighterDarker(150); },
         {10, 20, 30, 255},
         {10, 20, 30, 255}},
    };
    for (const Case& c : cases) {
        API32bppDIB surface;
        Fill(surface, 2, 1, {c.src, kZero});
        EXPECT_TRUE(c.op(surface)) << c.name;
        EXPECT_EQ(Read(surface), (std::vector<Px>{c.want, kZero})) << c.name;
        API32bppDIB none;
        EXPECT_FALSE(c.op(none)) << c.name << " without an image";
    }
    API32bppDIB surface;
    Fill(surface, 1, 1, {{1, 2, 3, 4}});
    EXPECT_FALSE(surface.MakeGrayScale(GrayScaleNone));
}

TEST(PixelOps, InverseTwiceRestoresThePicture) {
    std::mt19937 random(2);
    API32bppDIB surface;
    FillRandom(surface, 9, 7, random);
    const std::vector<Px> before = Read(surface);
    surface.MakeImageInverse();
    EXPECT_NE(Read(surface), before);
    surface.MakeImageInverse();
    EXPECT_EQ(Read(surface), before);
}

TEST(PixelOps, TrimImageFindsTheUsedRectangle) {
    const Px o{1, 1, 1, 255};
    struct Case {
        int32_t options;
        int32_t x, y, width, height;
    } cases[] = {
        {0, 1, 1, 3, 3}, {15, 1, 1, 3, 3}, {2, 0, 1, 5, 4}, {1 | 8, 1, 0, 4, 4}, {4, 0, 0, 4, 5}};
    for (const Case& c : cases) {
        API32bppDIB surface;
        Fill(surface, 5, 5,
             {kZero, kZero, kZero, kZero, kZero, kZero, o, kZero, kZero, kZero, kZero, kZero, kZero,
              kZero, kZero, kZero, kZero, kZero, o});
        int32_t x = -1, y = -1, w = -1, h = -1;
        EXPECT_TRUE(surface.TrimImage(false, c.options, x, y, w, h));
        EXPECT_EQ((std::vector{x, y, w, h}), (std::vector{c.x, c.y, c.width, c.height}))
            << "options " << c.options;
        EXPECT_EQ(surface.Width(), 5);
    }
    API32bppDIB surface;
    Fill(surface, 5, 5,
         {kZero, kZero, kZero, kZero, kZero, kZero, o, kZero, kZero, kZero, kZero, kZero, kZero,
          kZero, kZero, kZero, kZero, kZero, o});
    surface.SetHighQualityInterpolation(true);
    int32_t x, y, w, h;
    EXPECT_TRUE(surface.TrimImage(true, 0, x, y, w, h));
    EXPECT_EQ((std::vector{x, y, w, h}), (std::vector{0, 0, 3, 3}));
    EXPECT_EQ(Read(surface),
              (std::vector<Px>{o, kZero, kZero, kZero, kZero, kZero, kZero, kZero, o}));
    EXPECT_TRUE(surface.HighQualityInterpolation());
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);

    API32bppDIB empty;
    Fill(empty, 4, 3);
    x = y = w = h = 9;
    EXPECT_FALSE(empty.TrimImage(true, 0, x, y, w, h));
    EXPECT_EQ((std::vector{x, y, w, h}), (std::vector{0, 0, 0, 0}));
    EXPECT_FALSE(empty.TrimImage(false, 1, x, y, w, h)) << "one side finds nothing either";
    EXPECT_FALSE(surface.TrimImage(false, -1, x, y, w, h));
}

TEST(PixelOps, ResizeAndCopyPaintWithTheirOwnPainters) {
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255};
    API32bppDIB surface;
    Fill(surface, 1, 3, {a, b, c});
    const uintptr_t handle = surface.Handle();
    EXPECT_TRUE(surface.Resize(0, 0));
    EXPECT_TRUE(surface.Resize(1, 3));
    EXPECT_EQ(surface.Handle(), handle) << "an unchanged size is left alone";

    // A copy stretches by rows from the bottom, a resize by AlphaBlend's
    // pixel centres.
    API32bppDIB copy;
    surface.CopyImageTo(copy, 1, 2);
    EXPECT_EQ(Read(copy), (std::vector<Px>{b, c}));
    EXPECT_EQ(copy.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
    ASSERT_TRUE(surface.Resize(1, 2));
    EXPECT_EQ(Read(surface), (std::vector<Px>{a, c}));

    Fill(surface, 3, 1, {a, b, c});
    ASSERT_TRUE(surface.Resize(-3, 0));
    EXPECT_EQ(Read(surface), (std::vector<Px>{c, b, a}));
    ASSERT_TRUE(surface.Resize(-6, 0));
    EXPECT_EQ(Read(surface), (std::vector<Px>{a, a, b, b, c, c}));
    EXPECT_FALSE(API32bppDIB().Resize(4, 4));
}

TEST(PixelOps, CopyImageToMakesOrReusesTheDestination) {
    std::mt19937 random(4);
    API32bppDIB surface;
    FillRandom(surface, 4, 3, random);
    surface.SetHighQualityInterpolation(true);
    std::unique_ptr<API32bppDIB> fresh;
    surface.CopyImageTo(fresh);
    ASSERT_TRUE(fresh);
    EXPECT_EQ(Read(*fresh), Read(surface));
    EXPECT_TRUE(fresh->HighQualityInterpolation());
    EXPECT_EQ(fresh->Alpha(), surface.Alpha());

    API32bppDIB reused;
    Fill(reused, 4, 3, {}, ENUM_ALPHA_TYPE::AlphaNone);
    const uintptr_t handle = reused.Handle();
    surface.CopyImageTo(reused);
    EXPECT_EQ(reused.Handle(), handle) << "same size keeps the destination";
    EXPECT_EQ(Read(reused), Read(surface));
    surface.CopyImageTo(reused, -4, 6);
    EXPECT_EQ(reused.Width(), 4);
    EXPECT_EQ(reused.Height(), 6);

    std::unique_ptr<API32bppDIB> nothing;
    API32bppDIB().CopyImageTo(nothing);
    EXPECT_FALSE(nothing);
}

TEST(PixelOps, CheckerBoardAlternatesSquaresAndRows) {
    const Px one{0, 0, 255, 255}, two{0, 255, 0, 255};
    API32bppDIB surface;
    Fill(surface, 5, 3);
    ASSERT_TRUE(surface.CreateCheckerBoard(2, 0x0000FF, 0x00FF00));
    EXPECT_EQ(Read(surface), (std::vector<Px>{one, one, two, two, one, one, one, two, two, one, two,
                                              two, one, one, two}));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
    EXPECT_EQ(surface.ImageType(), ENUM_IMAGE_FORMAT::ImageCheckerBoard);
    EXPECT_FALSE(surface.CreateCheckerBoard(0, 0, 0));
    EXPECT_FALSE(API32bppDIB().CreateCheckerBoard(2, 0, 0));
}

TEST(PixelOps, MakeTransparentClearsOrFillsOneColour) {
    const Px key{0x30, 0x20, 0x10, 255}, other{0x30, 0x20, 0x11, 255};
    API32bppDIB surface;
    Fill(surface, 3, 1, {key, other, key}, ENUM_ALPHA_TYPE::AlphaNone);
    // The colour is red + green × 256 + blue × 65536: the key is 0x302010.
    EXPECT_TRUE(surface.MakeTransparent(0x102030));
    EXPECT_EQ(Read(surface), (std::vector<Px>{key, other, key}));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
    EXPECT_TRUE(surface.MakeTransparent(0x302010));
    EXPECT_EQ(Read(surface), (std::vector<Px>{kZero, other, kZero}));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaSimple);

    EXPECT_TRUE(surface.MakeTransparent(0x0000FF, true));
    EXPECT_EQ(Read(surface), (std::vector<Px>{{0, 0, 255, 255}, other, {0, 0, 255, 255}}));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaNone) << "every pixel opaque again";

    Fill(surface, 2, 1, {key, {1, 1, 1, 128}});
    EXPECT_TRUE(surface.MakeTransparent(0x302010));
    EXPECT_EQ(surface.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex) << "partial alpha stays";
    EXPECT_FALSE(API32bppDIB().MakeTransparent(0));
}

TEST(PixelOps, MirrorImageReversesInPlace) {
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255}, d{4, 0, 0, 255}, e{5, 0, 0, 255},
        f{6, 0, 0, 255};
    struct Case {
        bool x, y;
        std::vector<Px> want;
    } cases[] = {{true, false, {c, b, a, f, e, d}},
                 {false, true, {d, e, f, a, b, c}},
                 {true, true, {f, e, d, c, b, a}},
                 {false, false, {a, b, c, d, e, f}}};
    for (const Case& k : cases) {
        API32bppDIB surface;
        Fill(surface, 3, 2, {a, b, c, d, e, f});
        const uint8_t* bits = surface.BitsPointer();
        EXPECT_TRUE(surface.MirrorImage(k.x, k.y));
        EXPECT_EQ(Read(surface), k.want) << k.x << k.y;
        EXPECT_EQ(surface.BitsPointer(), bits);
    }
}

TEST(PixelOps, RegionsFollowTheUsedPixels) {
    const Px o{1, 1, 1, 255};
    struct Case {
        ENUM_REGION_STYLES style;
        ENUM_ALPHA_TYPE alpha;
        std::vector<RECT> want;
    } cases[] = {
        {RegionBounds, ENUM_ALPHA_TYPE::AlphaSimple, {{10, 20, 14, 23}}},
        {RegionEnclosed, ENUM_ALPHA_TYPE::AlphaSimple, {{11, 20, 14, 21}, {10, 22, 12, 23}}},
        {RegionShaped,
         ENUM_ALPHA_TYPE::AlphaSimple,
         {{11, 20, 12, 21}, {13, 20, 14, 21}, {10, 22, 12, 23}}},
        {RegionShaped, ENUM_ALPHA_TYPE::AlphaNone, {{10, 20, 14, 23}}},
        {static_cast<ENUM_REGION_STYLES>(3), ENUM_ALPHA_TYPE::AlphaSimple, {}},
    };
    for (const Case& c : cases) {
        API32bppDIB surface;
        Fill(surface, 4, 3, {kZero, o, kZero, o, kZero, kZero, kZero, kZero, o, o}, c.alpha);
        const std::vector<RECT> have = surface.CreateRegion(c.style, 10, 20);
        ASSERT_EQ(have.size(), c.want.size()) << static_cast<int>(c.style);
        for (size_t i = 0; i < have.size(); ++i) {
            EXPECT_EQ(have[i], c.want[i]) << static_cast<int>(c.style) << " #" << i;
        }
    }
    API32bppDIB empty;
    Fill(empty, 3, 3);
    EXPECT_TRUE(empty.CreateRegion(RegionBounds).empty());
}

TEST(PixelOps, ShapedRegionWithManyRunsCoversExactlyTheUsedPixels) {
    std::mt19937 random(6);
    API32bppDIB surface;
    Fill(surface, 4100, 3);
    for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < 4100; ++x) {
            surface.Pixels().Pixel(x, y)[3] = (x % 2 == 0 || random() % 3 == 0) ? 255 : 0;
        }
    }
    const std::vector<RECT> rects = surface.CreateRegion(RegionShaped);
    EXPECT_GT(rects.size(), 2000u);
    std::vector<uint8_t> covered(4100 * 3, 0);
    for (const RECT& r : rects) {
        ASSERT_EQ(r.Height(), 1);
        for (int32_t x = r.Left; x < r.Right; ++x) {
            ++covered[static_cast<size_t>(r.Top * 4100 + x)];
        }
    }
    for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < 4100; ++x) {
            ASSERT_EQ(covered[static_cast<size_t>(y * 4100 + x)],
                      surface.Pixels().Pixel(x, y)[3] ? 1 : 0)
                << x << "," << y;
        }
    }
}

TEST(PixelOps, SwapDIBsExchangesThePictures) {
    API32bppDIB one, two;
    Fill(one, 2, 1, {{1, 1, 1, 255}, {2, 2, 2, 255}}, ENUM_ALPHA_TYPE::AlphaNone);
    Fill(two, 1, 1, {{3, 3, 3, 128}});
    const uintptr_t first = one.Handle();
    one.SwapDIBs(&two);
    EXPECT_EQ(Read(one), (std::vector<Px>{{3, 3, 3, 128}}));
    EXPECT_EQ(Read(two), (std::vector<Px>{{1, 1, 1, 255}, {2, 2, 2, 255}}));
    EXPECT_EQ(one.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
    EXPECT_EQ(two.Handle(), first);
    one.SwapDIBs(nullptr);
    EXPECT_EQ(one.Width(), 1);
}

TEST(PixelOps, EveryOperationKeepsThePicturePremultiplied) {
    std::mt19937 random(8);
    const auto pick = [&](int32_t n) { return static_cast<int32_t>(random() % n); };
    const std::function<void(API32bppDIB&)> ops[] = {
        [&](API32bppDIB& s) { s.MakeGrayScale(static_cast<ENUM_GRAY_SCALE_FORMULAS>(pick(9))); },
        [&](API32bppDIB& s) { s.MakeImageInverse(); },
        [&](API32bppDIB& s) { s.MakeLighterDarker(static_cast<float>(pick(201) - 100)); },
        [&](API32bppDIB& s) { s.BlendToColor(random() & 0xFFFFFF, pick(120)); },
        [&](API32bppDIB& s) { s.Resize(pick(13) - 6, pick(13) - 6); },
        [&](API32bppDIB& s) { s.MirrorImage(pick(2) == 0, true); },
        [&](API32bppDIB& s) { s.CreateDropShadow(pick(4), random() & 0xFFFFFF)->SwapDIBs(&s); },
        [&](API32bppDIB& s) { s.CopyImageTo(s, pick(9) + 1, pick(9) + 1); },
        [&](API32bppDIB& s) { s.MakeTransparent(0, true); },
    };
    for (int i = 0; i < 400; ++i) {
        API32bppDIB surface;
        FillRandom(surface, 1 + pick(7), 1 + pick(7), random);
        surface.SetHighQualityInterpolation(pick(2) == 0);
        const size_t which = static_cast<size_t>(pick(std::size(ops)));
        ops[which](surface);
        ASSERT_TRUE(Premultiplied(surface)) << "operation " << which << ", round " << i;
    }
}

}  // namespace
}  // namespace kelvara
