#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <initializer_list>
#include <ostream>
#include <random>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "tests/image/SurfaceTestSupport.h"

namespace kelvara {
namespace {

using enum ENUM_GRAY_SCALE_FORMULAS;

using namespace test;

// Draws `src` onto `host` at (x, y) at its own size, with the given extras.
bool Draw(API32bppDIB& src, API32bppDIB& host, int32_t x = 0, int32_t y = 0, int32_t opacity = 100,
          ENUM_GRAY_SCALE_FORMULAS gray = GrayScaleNone, float light = 0) {
    return src.Render(nullptr, x, y, 0, 0, 0, 0, 0, 0, opacity, true, true, &host, gray, light);
}

TEST(Render, BlendsEachPixelByItsAlphaTheOpacityAndTheColourOptions) {
    struct Case {
        const char* name;
        Px src, dst;
        int32_t opacity;
        ENUM_GRAY_SCALE_FORMULAS gray;
        float light;
        Px want;
    } cases[] = {
        {"opaque",
         {10, 20, 30, 255},
         {100, 100, 100, 255},
         100,
         GrayScaleNone,
         0,
         {10, 20, 30, 255}},
        {"partial alpha",
         {50, 60, 70, 128},
         {200, 100, 0, 255},
         100,
         GrayScaleNone,
         0,
         {149, 109, 70, 255}},
        {"opacity, opaque pixel",
         {200, 100, 50, 255},
         {40, 80, 120, 200},
         50,
         GrayScaleNone,
         0,
         {119, 89, 85, 227}},
        {"opacity, partial alpha",
         {20, 40, 60, 100},
         {255, 255, 255, 255},
         50,
         GrayScaleNone,
         0,
         {215, 225, 235, 255}},
        {"transparent pixel skipped",
         {0, 0, 0, 0},
         {9, 8, 7, 6},
         100,
         GrayScaleNone,
         0,
         {9, 8, 7, 6}},
        {"gray, opaque",
         {10, 20, 30, 255},
         {1, 2, 3, 4},
         100,
         GrayScaleNTSCPAL,
         0,
         {22, 22, 22, 255}},
        {"gray, partial alpha",
         {0, 0, 100, 128},
         {0, 0, 0, 0},
         100,
         GrayScaleNTSCPAL,
         0,
         {30, 30, 30, 128}},
        {"gray, green mask",
         {100, 50, 0, 255},
         {0, 0, 0, 0},
         100,
         GrayScaleGreenMask,
         0,
         {50, 50, 50, 255}},
        {"lighter, capped at alpha",
         {10, 200, 250, 255},
         {0, 0, 0, 0},
         100,
         GrayScaleNone,
         50,
         {137, 255, 255, 255}},
        {"darker, floored at 0",
         {10, 100, 128, 128},
         {0, 0, 0, 0},
         100,
         GrayScaleNone,
         -50,
         {0, 36, 64, 128}},
        {"light out of range ignored",
         {10, 20, 30, 255},
         {0, 0, 0, 0},
         100,
         GrayScaleNone,
         101,
         {10, 20, 30, 255}},
    };
    for (const Case& c : cases) {
        API32bppDIB src, host;
        Fill(src, 1, 1, {c.src});
        Fill(host, 1, 1, {c.dst});
        src.SetIsAlphaBlendFriendly(false);
        EXPECT_TRUE(Draw(src, host, 0, 0, c.opacity, c.gray, c.light)) << c.name;
        EXPECT_EQ(Read(host)[0], c.want) << c.name;
    }
}

// White over opaque black shows the constant alpha in the blue byte, on both
// painters.
TEST(Render, OpacityFoldsModulo100) {
    struct Case {
        int32_t opacity;
        int want;
    } cases[] = {{100, 255}, {200, 255}, {50, 127}, {150, 127}, {101, 2}, {1, 2}, {99, 252}};
    for (bool alphaBlend : {true, false}) {
        for (const Case& c : cases) {
            API32bppDIB src, host;
            Fill(src, 1, 1, {{255, 255, 255, 255}});
            Fill(host, 1, 1, {{0, 0, 0, 255}});
            src.SetIsAlphaBlendFriendly(alphaBlend);
            EXPECT_TRUE(Draw(src, host, 0, 0, c.opacity));
            EXPECT_EQ(Read(host)[0], (Px{c.want, c.want, c.want, 255}))
                << "opacity " << c.opacity << (alphaBlend ? " by AlphaBlend" : " by blending");
        }
    }
}

TEST(Render, ZeroOpacityAndMissingPiecesDrawNothing) {
    API32bppDIB src, host, none;
    Fill(src, 1, 1, {{255, 255, 255, 255}});
    Fill(host, 1, 1, {{1, 2, 3, 4}});
    EXPECT_TRUE(Draw(src, host, 0, 0, 0)) << "opacity 0 with an image";
    EXPECT_TRUE(Draw(src, host, 0, 0, -150)) << "negative opacity";
    EXPECT_EQ(Read(host)[0], (Px{1, 2, 3, 4}));
    EXPECT_FALSE(Draw(none, host, 0, 0, 0)) << "opacity 0 without an image";
    EXPECT_FALSE(Draw(none, host)) << "no image";
    EXPECT_FALSE(src.Render(nullptr)) << "no target";
    EXPECT_FALSE(Draw(src, none)) << "target without an image";
    EXPECT_FALSE(src.Render(nullptr, 0, 0, 0, 0, 5, 0, 0, 0, 100, true, true, &host))
        << "source area outside the picture";
}

TEST(Render, SizesPastMemoryFailQuietly) {
    API32bppDIB src, host;
    Fill(src, 2, 2, {{1, 1, 1, 255}});
    Fill(host, 4, 4);
    EXPECT_FALSE(src.Render(nullptr, 0, 0, INT32_MAX, INT32_MAX, 0, 0, 0, 0, 100, true, true, &host,
                            GrayScaleNone, 0, 45));
    // The area crosses a tile's corner, so a whole tile would be needed.
    EXPECT_FALSE(src.TileImage(nullptr, 0, 0, 4, 4, INT32_MAX, INT32_MAX, -2, -2, 100, true, false,
                               false, &host));
    EXPECT_EQ(Read(host), std::vector<Px>(16, kZero));
}

// AlphaBlend rounds, our own blend truncates: a half-transparent pixel shows
// which painter drew it.
TEST(Render, AlphaBlendDrawsUnlessMirroringGrayOrLightStandInItsWay) {
    struct Case {
        const char* name;
        int32_t srcWidth;
        ENUM_GRAY_SCALE_FORMULAS gray;
        bool friendly;
        Px want;
    } cases[] = {
        {"plain", 0, GrayScaleNone, true, {150, 110, 70, 255}},
        {"mirrored", -1, GrayScaleNone, true, {149, 109, 70, 255}},
        {"not friendly", 0, GrayScaleNone, false, {149, 109, 70, 255}},
        {"gray", 0, GrayScaleSimpleAvg, true, {159, 109, 60, 255}},
    };
    for (const Case& c : cases) {
        API32bppDIB src, host;
        Fill(src, 1, 1, {{50, 60, 70, 128}});
        Fill(host, 1, 1, {{200, 100, 0, 255}});
        src.SetIsAlphaBlendFriendly(c.friendly);
        EXPECT_TRUE(
            src.Render(nullptr, 0, 0, 0, 0, 0, 0, c.srcWidth, 0, 100, true, true, &host, c.gray));
        EXPECT_EQ(Read(host)[0], c.want) << c.name;
    }
}

TEST(Render, NegativeSourceSizesMirror) {
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255}, d{4, 0, 0, 255}, e{5, 0, 0, 255},
        f{6, 0, 0, 255};
    struct Case {
        int32_t srcWidth, srcHeight;
        std::vector<Px> want;
    } cases[] = {
        {-3, 0, {c, b, a, f, e, d}},
        {0, -2, {d, e, f, a, b, c}},
        {-3, -2, {f, e, d, c, b, a}},
    };
    for (const Case& k : cases) {
        API32bppDIB src, host;
        Fill(src, 3, 2, {a, b, c, d, e, f});
        Fill(host, 3, 2);
        EXPECT_TRUE(
            src.Render(nullptr, 0, 0, 0, 0, 0, 0, k.srcWidth, k.srcHeight, 100, true, true, &host));
        EXPECT_EQ(Read(host), k.want) << k.srcWidth << " x " << k.srcHeight;
    }
}

TEST(Render, NearestStretchCountsRowsFromTheBottom) {
    // 2 × 3 to 4 × 2: columns 0 0 1 1; target rows from the bottom read
    // source rows ⌊0 × 1.5⌋ = 0 and ⌊1 × 1.5⌋ = 1 from the bottom, so the
    // top source row drops out.
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255}, d{4, 0, 0, 255}, e{5, 0, 0, 255},
        f{6, 0, 0, 255};
    API32bppDIB src, host;
    Fill(src, 2, 3, {a, b, c, d, e, f});
    Fill(host, 4, 2);
    src.SetIsAlphaBlendFriendly(false);
    EXPECT_TRUE(src.Render(nullptr, 0, 0, 4, 2, 0, 0, 0, 0, 100, true, true, &host));
    EXPECT_EQ(Read(host), (std::vector<Px>{c, c, d, d, e, e, f, f}));
}

TEST(Render, BilinearStretchUsesTheRowAndColumnWeights) {
    const Px p0{100, 0, 200, 255}, p1{201, 50, 0, 255};
    struct Case {
        int32_t w, h, destWidth, destHeight;
        std::vector<Px> want;
    } cases[] = {
        // Columns 0, 0.5, 1, 1.5; the last source column stands alone.
        {2, 1, 4, 1, {p0, {150, 25, 100, 255}, p1, p1}},
        // Rows from the bottom 0, 0.5, 1, 1.5: only the top target row
        // mixes, because row iy weighs y − iy and row iy − 1 the rest.
        {1, 2, 1, 4, {{150, 25, 100, 255}, p1, p1, p1}},
    };
    for (const Case& c : cases) {
        API32bppDIB src, host;
        Fill(src, c.w, c.h, {p0, p1});
        Fill(host, c.destWidth, c.destHeight);
        src.SetHighQualityInterpolation(true);
        EXPECT_TRUE(src.Render(nullptr, 0, 0, c.destWidth, c.destHeight, 0, 0, 0, 0, 100, true,
                               true, &host));
        EXPECT_EQ(Read(host), c.want) << c.w << "x" << c.h;
    }
    // Both weights at once: (1, 0) of 2 × 2 → 4 × 4 is a quarter of each.
    API32bppDIB src, host;
    Fill(src, 2, 2, {{4, 0, 0, 255}, {8, 0, 0, 255}, {16, 0, 0, 255}, {32, 0, 0, 255}});
    Fill(host, 4, 4);
    src.SetHighQualityInterpolation(true);
    EXPECT_TRUE(src.Render(nullptr, 0, 0, 4, 4, 0, 0, 0, 0, 100, true, true, &host));
    EXPECT_EQ(Read(host)[1], (Px{15, 0, 0, 255}));
}

TEST(Render, QuarterTurnsAreExactWithNearestSampling) {
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255}, d{4, 0, 0, 255}, e{5, 0, 0, 255},
        f{6, 0, 0, 255};
    struct Case {
        double angle;
        std::vector<Px> want;  // on a 3 × 3 host
    } cases[] = {
        {90, {d, a, kZero, e, b, kZero, f, c, kZero}},
        {450, {d, a, kZero, e, b, kZero, f, c, kZero}},
        {180, {f, e, d, c, b, a, kZero, kZero, kZero}},
        {270, {c, f, kZero, b, e, kZero, a, d, kZero}},
        {-90, {c, f, kZero, b, e, kZero, a, d, kZero}},
        {720, {a, b, c, d, e, f, kZero, kZero, kZero}},
    };
    for (const Case& k : cases) {
        API32bppDIB src, host;
        Fill(src, 3, 2, {a, b, c, d, e, f});
        Fill(host, 3, 3);
        EXPECT_TRUE(src.Render(nullptr, 0, 0, 0, 0, 0, 0, 0, 0, 100, true, true, &host,
                               GrayScaleNone, 0, k.angle));
        EXPECT_EQ(Read(host), k.want) << "angle " << k.angle;
    }
}

TEST(Render, WholeTurnsAddNothingToAFractionalAngle) {
    std::mt19937 random(3);
    API32bppDIB src, once, again;
    FillRandom(src, 5, 4, random);
    for (bool bilinear : {false, true}) {
        src.SetHighQualityInterpolation(bilinear);
        Fill(once, 9, 9);
        Fill(again, 9, 9);
        EXPECT_TRUE(src.Render(nullptr, 2, 2, 0, 0, 0, 0, 0, 0, 100, true, true, &once,
                               GrayScaleNone, 0, 30.5));
        EXPECT_TRUE(src.Render(nullptr, 2, 2, 0, 0, 0, 0, 0, 0, 100, true, true, &again,
                               GrayScaleNone, 0, 390.5));
        EXPECT_EQ(Read(once), Read(again));
        EXPECT_NE(Read(once), std::vector<Px>(81, kZero));
    }
}

TEST(Render, PlacesClipsAndCentres) {
    const Px a{1, 0, 0, 255}, b{2, 0, 0, 255}, c{3, 0, 0, 255};
    struct Case {
        const char* name;
        int32_t destX, srcX, srcWidth;
        bool centre;
        std::vector<Px> want;  // on a 4 × 1 host
    } cases[] = {
        {"at 1", 1, 0, 0, false, {kZero, a, b, c}},
        {"left edge cut", -1, 0, 0, false, {b, c, kZero, kZero}},
        {"right edge cut", 2, 0, 0, false, {kZero, kZero, a, b}},
        {"centred on 2", 2, 0, 0, true, {kZero, a, b, c}},
        {"source from 1, clipped to the picture", 0, 1, 5, false, {b, c, kZero, kZero}},
        {"negative source start from 0", 0, -4, 0, false, {a, b, c, kZero}},
    };
    for (const Case& k : cases) {
        API32bppDIB src, host;
        Fill(src, 3, 1, {a, b, c});
        Fill(host, 4, 1);
        const int32_t destWidth = k.srcWidth == 0 ? 0 : 2;
        EXPECT_TRUE(src.Render(nullptr, k.destX, 0, destWidth, 1, k.srcX, 0, k.srcWidth, 0, 100,
                               true, true, &host, GrayScaleNone, 0, 0, k.centre))
            << k.name;
        EXPECT_EQ(Read(host), k.want) << k.name;
    }
}

TEST(Render, DrawingOntoItselfReadsTheOriginal) {
    API32bppDIB surface;
    Fill(surface, 3, 1, {{1, 0, 0, 255}, {2, 0, 0, 255}, {3, 0, 0, 255}});
    EXPECT_TRUE(surface.Render(nullptr, 1, 0, 0, 0, 0, 0, 0, 0, 100, true, true, &surface));
    EXPECT_EQ(Read(surface), (std::vector<Px>{{1, 0, 0, 255}, {1, 0, 0, 255}, {2, 0, 0, 255}}));
}

TEST(Render, DropShadowIsTheShadowSurfaceDrawnAtThePoint) {
    std::mt19937 random(5);
    API32bppDIB src, viaJit, viaSurface;
    FillRandom(src, 4, 3, random);
    Fill(viaJit, 10, 10);
    Fill(viaSurface, 10, 10);
    EXPECT_TRUE(src.RenderDropShadow_JIT(nullptr, 1, 2, 2, 0x336699, 60, 0, &viaJit));
    const auto shadow = src.CreateDropShadow(2, 0x336699);
    ASSERT_TRUE(shadow);
    EXPECT_TRUE(Draw(*shadow, viaSurface, 1, 2, 60));
    EXPECT_EQ(Read(viaJit), Read(viaSurface));
    EXPECT_NE(Read(viaJit), std::vector<Px>(100, kZero));
}

// The expected tiling: pattern pixel (x + offset) of the picture, mirrored in
// odd tiles when alternating.
TEST(Render, TilesRepeatThePictureWithOffsetsAndFlips) {
    struct Case {
        const char* name;
        int32_t x, width, tileWidth, offsetX;
        bool alternate;
        int opacity;
    } cases[] = {
        {"plain", 0, 7, 0, 0, false, 100},
        {"offset", 0, 7, 0, 2, false, 100},
        {"negative offset", 1, 5, 0, -1, false, 100},
        {"mirrored tiles", 0, 7, -3, 0, false, 100},
        {"alternate flips", 0, 8, 0, 1, true, 100},
        {"inside one tile", 2, 2, 0, 1, false, 100},
        {"past the host", -2, 12, 0, 0, false, 100},
        {"opacity once", 0, 7, 0, 0, false, 50},
    };
    const Px p[3] = {{10, 0, 0, 255}, {20, 0, 0, 255}, {30, 0, 0, 255}};
    for (const Case& c : cases) {
        API32bppDIB src, host;
        Fill(src, 3, 1, {p[0], p[1], p[2]});
        Fill(host, 7, 1);
        EXPECT_TRUE(src.TileImage(nullptr, c.x, 0, c.width, 1, c.tileWidth, 0, c.offsetX, 0,
                                  c.opacity, true, c.alternate, false, &host))
            << c.name;
        std::vector<Px> want(7, kZero);
        for (int32_t x = std::max(c.x, 0); x < std::min(c.x + c.width, 7); ++x) {
            const int32_t at = ((x - c.x + c.offsetX) % 6 + 6) % 6;
            const bool flipped = c.tileWidth < 0 || (c.alternate && at >= 3);
            const Px v = p[flipped ? 2 - at % 3 : at % 3];
            // AlphaBlend draws: each byte × constant alpha / 255, rounded.
            const int constant = c.opacity * 255 / 100;
            want[static_cast<size_t>(x)] =
                Px{static_cast<int>(std::lround(v.b * constant / 255.0)), 0, 0, constant};
        }
        EXPECT_EQ(Read(host), want) << c.name;
    }
}

TEST(Render, TilingNeedsAnImageAnAreaAndATarget) {
    API32bppDIB src, host, none;
    Fill(src, 2, 2, {{1, 1, 1, 255}});
    Fill(host, 4, 4);
    EXPECT_FALSE(src.TileImage(nullptr, 0, 0, 0, 4, 0, 0, 0, 0, 100, true, false, false, &host));
    EXPECT_FALSE(src.TileImage(nullptr, 0, 0, 4, 4));
    EXPECT_FALSE(none.TileImage(nullptr, 0, 0, 4, 4, 0, 0, 0, 0, 100, true, false, false, &host));
}

TEST(Render, EveryPathKeepsTheTargetPremultiplied) {
    std::mt19937 random(11);
    for (int i = 0; i < 300; ++i) {
        API32bppDIB src, host;
        FillRandom(src, 1 + static_cast<int32_t>(random() % 6),
                   1 + static_cast<int32_t>(random() % 6), random);
        FillRandom(host, 8, 8, random);
        src.SetHighQualityInterpolation(random() % 2 == 0);
        src.SetIsAlphaBlendFriendly(random() % 2 == 0);
        const auto pick = [&](int32_t n) { return static_cast<int32_t>(random() % n); };
        const int32_t destWidth = pick(9) - 4;
        const int32_t destHeight = pick(9) - 4;
        const auto gray = static_cast<ENUM_GRAY_SCALE_FORMULAS>(pick(9) - 1);
        const float light = static_cast<float>(pick(5) * 50 - 100);
        const double angle = pick(3) == 0 ? pick(720) * 0.5 : 0;
        if (pick(4) == 0) {
            src.TileImage(nullptr, pick(4), pick(4), 7, 7, destWidth, destHeight, pick(5), pick(5),
                          pick(200), true, pick(2) == 0, pick(2) == 0, &host, gray, light);
        } else {
            src.Render(nullptr, pick(6) - 2, pick(6) - 2, destWidth, destHeight, 0, 0, 0, 0,
                       pick(200), true, true, &host, gray, light, angle, pick(2) == 0);
        }
        ASSERT_TRUE(Premultiplied(host)) << "round " << i;
    }
}

}  // namespace
}  // namespace kelvara
