#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {
namespace {

// A premultiplied pixel from a small counter, with alpha varying too.
void Fill(PixelBuffer& pixels, int seed) {
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        for (int32_t x = 0; x < pixels.Width(); ++x) {
            uint8_t* p = pixels.Pixel(x, y);
            const int k = seed + x * 7 + y * 13;
            p[3] = static_cast<uint8_t>(k % 3 == 0 ? 255 : 40 + (k * 37) % 200);
            p[0] = static_cast<uint8_t>((k * 11) % (p[3] + 1));
            p[1] = static_cast<uint8_t>((k * 29) % (p[3] + 1));
            p[2] = static_cast<uint8_t>((k * 5) % (p[3] + 1));
        }
    }
}

std::vector<uint8_t> Bytes(const PixelBuffer& pixels) {
    std::vector<uint8_t> out;
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        out.insert(out.end(), pixels.Row(y), pixels.Row(y) + pixels.Stride());
    }
    return out;
}

struct RenderCase {
    const char* name;
    bool alphaBlendFriendly;  // false forces the own blending path
    int32_t x, y, width, height;
    int32_t opacity;
    ENUM_GRAY_SCALE_FORMULAS gray;
    double angle;
};

const RenderCase kCases[] = {
    {"AlphaBlend, same size", true, 1, 2, 0, 0, 100, ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone, 0},
    {"AlphaBlend, stretched", true, -1, 0, 7, 5, 60, ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone, 0},
    {"BlendBits, same size", false, 2, 1, 0, 0, 80, ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone, 0},
    {"BlendBits, stretched gray", true, 0, 0, 9, 4, 100, ENUM_GRAY_SCALE_FORMULAS::GrayScaleNTSCPAL,
     0},
    {"Rotated", true, 1, 1, 0, 0, 100, ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone, 30},
};

struct Scene {
    API32bppDIB source;
    API32bppDIB host;
    PixelBuffer canvasPixels;

    explicit Scene(const RenderCase& tc) {
        EXPECT_TRUE(source.InitializeDIB(4, 3));
        Fill(source.Pixels(), 1);
        source.SetAlpha(ENUM_ALPHA_TYPE::AlphaComplex);
        source.SetIsAlphaBlendFriendly(tc.alphaBlendFriendly);
        EXPECT_TRUE(host.InitializeDIB(8, 6));
        Fill(host.Pixels(), 5);
        EXPECT_TRUE(canvasPixels.Allocate(8, 6, RowOrder::TopDown));
        Fill(canvasPixels, 5);
    }

    bool Render(Canvas* canvas, API32bppDIB* target, const RenderCase& tc, int32_t dx = 0,
                int32_t dy = 0) {
        return source.Render(canvas, tc.x + dx, tc.y + dy, tc.width, tc.height, 0, 0, 0, 0,
                             tc.opacity, true, true, target, tc.gray, 0, tc.angle);
    }
};

TEST(CanvasRender, RenderOntoACanvasEqualsRenderOntoASurface) {
    for (const RenderCase& tc : kCases) {
        Scene scene(tc);
        Canvas canvas(scene.canvasPixels);
        ASSERT_TRUE(scene.Render(nullptr, &scene.host, tc)) << tc.name;
        ASSERT_TRUE(scene.Render(&canvas, nullptr, tc)) << tc.name;
        EXPECT_EQ(Bytes(scene.canvasPixels), Bytes(scene.host.Pixels())) << tc.name;
    }
}

TEST(CanvasRender, RenderGoesThroughTheCanvasOriginAndComplexClip) {
    const RECT parts[] = {{0, 0, 3, 2}, {5, 1, 8, 4}, {1, 4, 3, 6}};
    const Region clip = Region::ExtCreateRegion(parts);
    for (const RenderCase& tc : kCases) {
        Scene scene(tc);
        const std::vector<uint8_t> before = Bytes(scene.canvasPixels);
        Canvas canvas(scene.canvasPixels);
        canvas.SetViewportOrgEx(1, -1);
        canvas.SelectClipRgn(&clip);
        ASSERT_TRUE(scene.Render(nullptr, &scene.host, tc, 1, -1)) << tc.name;
        ASSERT_TRUE(scene.Render(&canvas, nullptr, tc)) << tc.name;
        const std::vector<uint8_t> unclipped = Bytes(scene.host.Pixels());
        const std::vector<uint8_t> have = Bytes(scene.canvasPixels);
        for (int32_t y = 0; y < 6; ++y) {
            for (int32_t x = 0; x < 8; ++x) {
                const size_t at = (static_cast<size_t>(y) * 8 + static_cast<size_t>(x)) * 4;
                const std::vector<uint8_t>& from = clip.PtInRegion(x, y) ? unclipped : before;
                EXPECT_EQ(std::memcmp(&have[at], &from[at], 4), 0)
                    << tc.name << " at " << x << "," << y;
            }
        }
    }
}

TEST(CanvasRender, TileImageThroughAClipMatchesTheWholeTiling) {
    const RECT parts[] = {{0, 0, 4, 3}, {2, 3, 8, 6}};
    const Region clip = Region::ExtCreateRegion(parts);
    Scene scene(kCases[0]);
    const std::vector<uint8_t> before = Bytes(scene.canvasPixels);
    Canvas canvas(scene.canvasPixels);
    canvas.SelectClipRgn(&clip);
    ASSERT_TRUE(scene.source.TileImage(nullptr, 0, 0, 8, 6, 3, 2, 1, 0, 100, true, true, false,
                                       &scene.host));
    ASSERT_TRUE(scene.source.TileImage(&canvas, 0, 0, 8, 6, 3, 2, 1, 0, 100, true, true, false));
    const std::vector<uint8_t> whole = Bytes(scene.host.Pixels());
    const std::vector<uint8_t> have = Bytes(scene.canvasPixels);
    for (int32_t y = 0; y < 6; ++y) {
        for (int32_t x = 0; x < 8; ++x) {
            const size_t at = (static_cast<size_t>(y) * 8 + static_cast<size_t>(x)) * 4;
            const std::vector<uint8_t>& from = clip.PtInRegion(x, y) ? whole : before;
            EXPECT_EQ(std::memcmp(&have[at], &from[at], 4), 0) << "at " << x << "," << y;
        }
    }
}

TEST(CanvasRender, LoadDIBinDCDrawsOnTheSurfaceItself) {
    API32bppDIB surface;
    EXPECT_EQ(surface.LoadDIBinDC(true), nullptr);
    ASSERT_TRUE(surface.InitializeDIB(3, 2));
    Canvas* dc = surface.LoadDIBinDC(true);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(surface.LoadDIBinDC(true), dc);
    dc->FillRect(RECT{1, 0, 2, 1}, 0x0000FF);
    const uint8_t* p = surface.Pixels().Pixel(1, 0);
    EXPECT_EQ((std::vector<int>{p[0], p[1], p[2], p[3]}), (std::vector<int>{0, 0, 255, 255}));
    EXPECT_EQ(surface.Pixels().Pixel(0, 0)[3], 0);

    // A surface drawn onto itself through its own canvas reads a copy: were
    // it read while written, the red pixel would run along the row.
    dc->FillRect(RECT{0, 1, 1, 2}, 0x0000FF);
    surface.SetAlpha(ENUM_ALPHA_TYPE::AlphaSimple);
    ASSERT_TRUE(surface.Render(dc, 1, 0));
    EXPECT_EQ(surface.Pixels().Pixel(1, 1)[2], 255);
    EXPECT_EQ(surface.Pixels().Pixel(2, 1)[3], 0);

    // Kept between uses only with ManageOwnDC; the state goes with it.
    dc->SetViewportOrgEx(1, 1);
    EXPECT_EQ(surface.LoadDIBinDC(false), nullptr);
    surface.SetManageOwnDC(true);
    dc = surface.LoadDIBinDC(true);
    EXPECT_EQ(dc->GetViewportOrg(), (POINT{0, 0}));
    dc->SetViewportOrgEx(2, 2);
    surface.LoadDIBinDC(false);
    EXPECT_EQ(surface.LoadDIBinDC(true)->GetViewportOrg(), (POINT{2, 2}));

    // A kept canvas follows its surface when it is made anew at another size.
    ASSERT_TRUE(surface.InitializeDIB(1, 1));
    surface.LoadDIBinDC(true)->FillRect(RECT{-5, -5, 5, 5}, 0x00FF00);
    EXPECT_EQ(surface.Pixels().Pixel(0, 0)[1], 255);
}

}  // namespace
}  // namespace kelvara
