#include "kelvara/gfx/Region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace kelvara {
namespace {

// Regions are checked against plain pixel sets on a small grid.
constexpr int32_t kGrid = 24;
using PixelSet = std::vector<bool>;  // kGrid × kGrid, row by row, offset by 4

PixelSet PixelsOf(const std::vector<RECT>& rects) {
    PixelSet set(kGrid * kGrid, false);
    for (const RECT& r : rects) {
        for (int32_t y = std::max(r.Top, -4); y < std::min(r.Bottom, kGrid - 4); ++y) {
            for (int32_t x = std::max(r.Left, -4); x < std::min(r.Right, kGrid - 4); ++x) {
                set[(y + 4) * kGrid + x + 4] = true;
            }
        }
    }
    return set;
}

PixelSet PixelsOf(const Region& region) {
    PixelSet set(kGrid * kGrid, false);
    for (int32_t y = -4; y < kGrid - 4; ++y) {
        for (int32_t x = -4; x < kGrid - 4; ++x) {
            set[(y + 4) * kGrid + x + 4] = region.PtInRegion(x, y);
        }
    }
    return set;
}

std::vector<RECT> RandomRects(std::mt19937& random, int count) {
    std::vector<RECT> rects;
    for (int i = 0; i < count; ++i) {
        const int32_t l = static_cast<int32_t>(random() % 18) - 3;
        const int32_t t = static_cast<int32_t>(random() % 18) - 3;
        rects.push_back(RECT{l, t, l + static_cast<int32_t>(random() % 8),
                             t + static_cast<int32_t>(random() % 8)});
    }
    return rects;
}

// The stored form: bands sorted and apart, spans sorted and apart, and no
// two touching bands with the same spans.
void ExpectBanded(const Region& region) {
    const std::vector<RECT>& rects = region.Rects();
    for (size_t i = 0; i < rects.size(); ++i) {
        ASSERT_FALSE(rects[i].IsEmpty());
        if (i == 0) {
            continue;
        }
        const RECT& a = rects[i - 1];
        const RECT& b = rects[i];
        if (a.Top == b.Top) {
            EXPECT_EQ(a.Bottom, b.Bottom);
            EXPECT_LT(a.Right, b.Left) << "spans of one band touch or overlap";
        } else {
            EXPECT_LE(a.Bottom, b.Top) << "bands overlap";
        }
    }
}

TEST(Region, ExtCreateRegionCoversExactlyTheUnionInOneForm) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        std::vector<RECT> rects = RandomRects(random, 1 + round % 7);
        const Region region = Region::ExtCreateRegion(rects);
        ASSERT_EQ(PixelsOf(region), PixelsOf(rects)) << "round " << round;
        ExpectBanded(region);
        // The same pixels in another order give the same rectangles.
        std::shuffle(rects.begin(), rects.end(), random);
        EXPECT_EQ(Region::ExtCreateRegion(rects), region);
        EXPECT_EQ(Region::ExtCreateRegion(region.Rects()), region);
    }
}

TEST(Region, CombineRgnMatchesPixelLogicInEveryMode) {
    std::mt19937 random(9);
    const RGN_MODE modes[] = {RGN_MODE::RGN_AND, RGN_MODE::RGN_OR, RGN_MODE::RGN_XOR,
                              RGN_MODE::RGN_DIFF, RGN_MODE::RGN_COPY};
    for (int round = 0; round < 200; ++round) {
        const Region a = Region::ExtCreateRegion(RandomRects(random, 4));
        const Region b = Region::ExtCreateRegion(RandomRects(random, 4));
        const PixelSet pa = PixelsOf(a), pb = PixelsOf(b);
        for (RGN_MODE mode : modes) {
            Region dest;
            const RegionKind kind = Region::CombineRgn(dest, a, b, mode);
            PixelSet want(pa.size());
            for (size_t i = 0; i < pa.size(); ++i) {
                switch (mode) {
                    case RGN_MODE::RGN_AND:
                        want[i] = pa[i] && pb[i];
                        break;
                    case RGN_MODE::RGN_OR:
                        want[i] = pa[i] || pb[i];
                        break;
                    case RGN_MODE::RGN_XOR:
                        want[i] = pa[i] != pb[i];
                        break;
                    case RGN_MODE::RGN_DIFF:
                        want[i] = pa[i] && !pb[i];
                        break;
                    case RGN_MODE::RGN_COPY:
                        want[i] = pa[i];
                        break;
                }
            }
            ASSERT_EQ(PixelsOf(dest), want) << "round " << round << " mode " << int(mode);
            ExpectBanded(dest);
            EXPECT_EQ(kind, dest.Kind());
        }
        // The destination may be one of the sources.
        Region self = a;
        Region::CombineRgn(self, self, b, RGN_MODE::RGN_OR);
        Region fresh;
        Region::CombineRgn(fresh, a, b, RGN_MODE::RGN_OR);
        EXPECT_EQ(self, fresh);
    }
    Region dest;
    EXPECT_EQ(Region::CombineRgn(dest, {}, {}, static_cast<RGN_MODE>(9)), RegionKind::Error);
}

TEST(Region, RectanglesBoxesOffsetsAndKinds) {
    const Region swapped = Region::CreateRectRgn(5, 7, 1, 2);
    EXPECT_EQ(swapped.Rects(), (std::vector<RECT>{{1, 2, 5, 7}}));
    EXPECT_EQ(swapped.Kind(), RegionKind::SimpleRegion);
    EXPECT_TRUE(Region::CreateRectRgn(3, 3, 3, 9).IsEmpty());

    Region two = Region::ExtCreateRegion(std::vector<RECT>{{0, 0, 2, 2}, {5, 1, 6, 4}});
    RECT box;
    EXPECT_EQ(two.GetRgnBox(box), RegionKind::ComplexRegion);
    EXPECT_EQ(box, (RECT{0, 0, 6, 4}));
    EXPECT_EQ(two.OffsetRgn(-1, 10), RegionKind::ComplexRegion);
    EXPECT_EQ(two.GetRgnBox(box), RegionKind::ComplexRegion);
    EXPECT_EQ(box, (RECT{-1, 10, 5, 14}));
    EXPECT_TRUE(two.PtInRegion(-1, 10));
    EXPECT_FALSE(two.PtInRegion(1, 12));  // below the first rectangle
    EXPECT_EQ(Region().GetRgnBox(box), RegionKind::NullRegion);
    EXPECT_EQ(box, RECT{});
}

TEST(Region, RoundRectKeepsThePixelsWhoseCentresLieInside) {
    struct Case {
        int32_t left, top, right, bottom, ellipseWidth, ellipseHeight;
    } cases[] = {{0, 0, 10, 10, 4, 4}, {2, 1, 17, 9, 9, 5}, {0, 0, 6, 3, 30, 30},
                 {0, 0, 12, 8, 0, 4},  {3, 3, 4, 20, 5, 5}, {0, 0, 15, 15, 15, 15}};
    for (const Case& c : cases) {
        const Region region = Region::CreateRoundRectRgn(c.left, c.top, c.right, c.bottom,
                                                         c.ellipseWidth, c.ellipseHeight);
        ExpectBanded(region);
        const double rx = std::min(c.ellipseWidth, c.right - c.left) / 2.0;
        const double ry = std::min(c.ellipseHeight, c.bottom - c.top) / 2.0;
        for (int32_t y = c.top - 1; y <= c.bottom; ++y) {
            for (int32_t x = c.left - 1; x <= c.right; ++x) {
                bool want = x >= c.left && x < c.right && y >= c.top && y < c.bottom;
                if (want && rx >= 1 && ry >= 1) {
                    const double px = x + 0.5, py = y + 0.5;
                    const double cx = std::clamp(px, c.left + rx, c.right - rx);
                    const double cy = std::clamp(py, c.top + ry, c.bottom - ry);
                    want = std::pow((px - cx) / rx, 2) + std::pow((py - cy) / ry, 2) <= 1;
                }
                ASSERT_EQ(region.PtInRegion(x, y), want)
                    << c.right << "×" << c.bottom << " at " << x << "," << y;
            }
        }
    }
}

}  // namespace
}  // namespace kelvara
