#include "kelvara/gfx/AlphaBlend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <ostream>
#include <random>
#include <vector>

namespace kelvara {
namespace {

struct Px {
    int b, g, r, a;
    friend bool operator==(const Px&, const Px&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Px& p) {
        return os << "(" << p.b << "," << p.g << "," << p.r << "," << p.a << ")";
    }
};

PixelBuffer Make(int32_t w, int32_t h, std::initializer_list<Px> pixels,
                 RowOrder order = RowOrder::BottomUp) {
    PixelBuffer buffer;
    EXPECT_TRUE(buffer.Allocate(w, h, order));
    int32_t i = 0;
    for (const Px& p : pixels) {
        uint8_t* d = buffer.Pixel(i % w, i / w);
        d[0] = static_cast<uint8_t>(p.b);
        d[1] = static_cast<uint8_t>(p.g);
        d[2] = static_cast<uint8_t>(p.r);
        d[3] = static_cast<uint8_t>(p.a);
        ++i;
    }
    return buffer;
}

std::vector<Px> Read(const PixelBuffer& buffer) {
    std::vector<Px> out;
    for (int32_t y = 0; y < buffer.Height(); ++y) {
        for (int32_t x = 0; x < buffer.Width(); ++x) {
            const uint8_t* p = buffer.Pixel(x, y);
            out.push_back(Px{p[0], p[1], p[2], p[3]});
        }
    }
    return out;
}

TEST(AlphaBlend, OnePixelFollowsTheBlendFunction) {
    struct Case {
        const char* name;
        Px src, dst;
        BlendFunction function;
        Px want;
    } cases[] = {
        {"opaque source is copied",
         {10, 20, 30, 255},
         {1, 2, 3, 4},
         {255, true},
         {10, 20, 30, 255}},
        {"source over", {50, 60, 70, 128}, {200, 100, 0, 255}, {255, true}, {150, 110, 70, 255}},
        {"scaled source over",
         {100, 100, 100, 200},
         {255, 255, 255, 255},
         {128, true},
         {205, 205, 205, 255}},
        {"cross-fade ignores source alpha",
         {200, 0, 100, 0},
         {0, 100, 200, 255},
         {64, false},
         {50, 75, 175, 191}},
        {"copy without source alpha", {9, 8, 7, 0}, {1, 2, 3, 4}, {255, false}, {9, 8, 7, 0}},
        {"zero source leaves the target", {0, 0, 0, 0}, {9, 8, 7, 6}, {255, true}, {9, 8, 7, 6}},
        {"zero source scaled leaves it too", {0, 0, 0, 0}, {9, 8, 7, 6}, {77, true}, {9, 8, 7, 6}},
    };
    for (const Case& c : cases) {
        const PixelBuffer src = Make(1, 1, {c.src});
        PixelBuffer dst = Make(1, 1, {c.dst});
        EXPECT_TRUE(AlphaBlend(dst, {0, 0, 1, 1}, src, {0, 0, 1, 1}, c.function)) << c.name;
        EXPECT_EQ(Read(dst)[0], c.want) << c.name;
    }
}

// Every /255 rounds to nearest: checked against the same rule in doubles.
TEST(AlphaBlend, RoundingMatchesTheExactRuleOnRandomPremultipliedPixels) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const int a = static_cast<int>(random() % 256);
        const Px s{static_cast<int>(random() % (a + 1)), static_cast<int>(random() % (a + 1)),
                   static_cast<int>(random() % (a + 1)), a};
        const int da = static_cast<int>(random() % 256);
        const Px d{static_cast<int>(random() % (da + 1)), 0, da, da};
        const int constant = static_cast<int>(random() % 256);
        const PixelBuffer src = Make(1, 1, {s});
        PixelBuffer dst = Make(1, 1, {d});
        ASSERT_TRUE(AlphaBlend(dst, {0, 0, 1, 1}, src, {0, 0, 1, 1},
                               {static_cast<uint8_t>(constant), true}));
        const auto round255 = [](double v) { return static_cast<int>(std::lround(v / 255)); };
        const int scaledAlpha = round255(a * constant);
        const auto channel = [&](int sv, int dv) {
            return round255(sv * constant) + round255(dv * (255 - scaledAlpha));
        };
        const Px want{channel(s.b, d.b), channel(s.g, d.g), channel(s.r, d.r), channel(a, da)};
        ASSERT_EQ(Read(dst)[0], want) << "source " << s << " over " << d << " at " << constant;
        const Px have = Read(dst)[0];
        ASSERT_TRUE(have.b <= have.a && have.g <= have.a && have.r <= have.a) << have;
    }
}

TEST(AlphaBlend, StretchesNearestByPixelCentres) {
    const Px p0{1, 0, 0, 255}, p1{2, 0, 0, 255}, p2{3, 0, 0, 255};
    struct Case {
        int32_t srcWidth, destWidth;
        std::vector<Px> want;
    } cases[] = {
        {2, 5, {p0, p0, p1, p1, p1}},
        {3, 2, {p0, p2}},
        {3, 6, {p0, p0, p1, p1, p2, p2}},
    };
    const PixelBuffer src = Make(3, 1, {p0, p1, p2});
    for (const Case& c : cases) {
        PixelBuffer dst = Make(c.destWidth, 1, {});
        ASSERT_TRUE(AlphaBlend(dst, {0, 0, c.destWidth, 1}, src, {0, 0, c.srcWidth, 1}));
        EXPECT_EQ(Read(dst), c.want) << c.srcWidth << " to " << c.destWidth;
    }
    // Rows take the same rule, whatever the buffers' row order.
    const PixelBuffer column = Make(1, 3, {p0, p1, p2}, RowOrder::TopDown);
    PixelBuffer dst = Make(1, 2, {});
    ASSERT_TRUE(AlphaBlend(dst, {0, 0, 1, 2}, column, {0, 0, 1, 3}));
    EXPECT_EQ(Read(dst), (std::vector<Px>{p0, p2}));
}

TEST(AlphaBlend, ClippingKeepsTheUnclippedMapping) {
    const PixelBuffer src = Make(3, 1, {{1, 0, 0, 255}, {2, 0, 0, 255}, {3, 0, 0, 255}});
    PixelBuffer whole = Make(6, 1, {});
    ASSERT_TRUE(AlphaBlend(whole, {-2, 0, 7, 1}, src, {0, 0, 3, 1}));
    PixelBuffer clipped = Make(6, 1, {});
    ASSERT_TRUE(AlphaBlend(clipped, {-2, 0, 7, 1}, src, {0, 0, 3, 1}, {}, RECT{2, 0, 4, 1}));
    std::vector<Px> want(6, Px{0, 0, 0, 0});
    want[2] = Read(whole)[2];
    want[3] = Read(whole)[3];
    EXPECT_EQ(Read(clipped), want);
    EXPECT_EQ(Read(whole), (std::vector<Px>{{1, 0, 0, 255},
                                            {2, 0, 0, 255},
                                            {2, 0, 0, 255},
                                            {2, 0, 0, 255},
                                            {3, 0, 0, 255},
                                            {3, 0, 0, 255}}));
}

TEST(AlphaBlend, RefusesWhatTheHostRefuses) {
    const PixelBuffer src = Make(2, 2, {});
    PixelBuffer dst = Make(2, 2, {});
    PixelBuffer empty;
    EXPECT_FALSE(AlphaBlend(dst, {0, 0, 0, 2}, src, {0, 0, 2, 2})) << "empty target";
    EXPECT_FALSE(AlphaBlend(dst, {2, 0, 0, 2}, src, {0, 0, 2, 2})) << "mirrored target";
    EXPECT_FALSE(AlphaBlend(dst, {0, 0, 2, 2}, src, {1, 0, 3, 2})) << "source past its right";
    EXPECT_FALSE(AlphaBlend(dst, {0, 0, 2, 2}, src, {0, -1, 2, 1})) << "source above its top";
    EXPECT_FALSE(AlphaBlend(dst, {0, 0, 2, 2}, dst, {0, 0, 2, 2})) << "same buffer";
    EXPECT_FALSE(AlphaBlend(empty, {0, 0, 2, 2}, src, {0, 0, 2, 2})) << "no target pixels";
    EXPECT_TRUE(AlphaBlend(dst, {5, 5, 7, 7}, src, {0, 0, 2, 2})) << "clipped away";
}

}  // namespace
}  // namespace kelvara
