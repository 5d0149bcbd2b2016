#include <gtest/gtest.h>

#include <vector>

#include "kelvara/frame/ColorRoutines.h"
#include "kelvara/frame/DrawGradient.h"

namespace kelvara {
namespace {

constexpr uint32_t kBack = 0x00ABCDEF;  // BGRA bytes EF CD AB 00 as a raw pixel value

// A canvas whose pixels start as kBack and are read back raw: 0xAARRGGBB.
class Surface {
public:
    Surface(int32_t w, int32_t h) {
        EXPECT_TRUE(pixels.Allocate(w, h));
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                Set(x, y, kBack);
    }
    uint32_t At(int32_t x, int32_t y) const {
        const uint8_t* p = pixels.Pixel(x, y);
        return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
    }
    std::vector<uint32_t> Column(int32_t x) const {
        std::vector<uint32_t> out;
        for (int32_t y = 0; y < pixels.Height(); ++y)
            out.push_back(At(x, y));
        return out;
    }
    std::vector<uint32_t> Row(int32_t y) const {
        std::vector<uint32_t> out;
        for (int32_t x = 0; x < pixels.Width(); ++x)
            out.push_back(At(x, y));
        return out;
    }
    PixelBuffer pixels;
    Canvas canvas{pixels};

private:
    void Set(int32_t x, int32_t y, uint32_t v) {
        uint8_t* p = pixels.Pixel(x, y);
        p[0] = static_cast<uint8_t>(v);
        p[1] = static_cast<uint8_t>(v >> 8);
        p[2] = static_cast<uint8_t>(v >> 16);
        p[3] = static_cast<uint8_t>(v >> 24);
    }
};

TEST(DrawGradient, PutsTheRampOnTheCanvasAsItStands) {
    const int32_t from = RGB(0x10, 0x20, 0x30), to = RGB(0x40, 0x21, 0x00);
    Surface s(5, 4);
    // Down: the top row is ColorFrom; the alpha byte stays 0 as in the ramp.
    DrawGradient(&s.canvas, 1, 1, 2, 3, from, to, 1);
    EXPECT_EQ(s.Column(1), (std::vector<uint32_t>{kBack, 0x102030, 0x282018, 0x402100}));
    EXPECT_EQ(s.Row(0), std::vector<uint32_t>(5, kBack));
    EXPECT_EQ(s.At(3, 2), kBack);

    // The viewport origin moves it; the buffer's edge cuts it.
    Surface moved(4, 2);
    moved.canvas.SetViewportOrgEx(2, 0);
    DrawGradient(&moved.canvas, 0, 0, 3, 1, from, to, 0);
    EXPECT_EQ(moved.Row(0), (std::vector<uint32_t>{kBack, kBack, 0x102030, 0x282018}));

    // Nothing for a null canvas or an empty size.
    DrawGradient(nullptr, 0, 0, 2, 2, from, to, 0);
    Surface untouched(2, 2);
    DrawGradient(&untouched.canvas, 0, 0, 0, 2, from, to, 0);
    DrawGradient(&untouched.canvas, 0, 0, 2, -3, from, to, 0);
    EXPECT_EQ(untouched.Row(0), std::vector<uint32_t>(2, kBack));
}

TEST(DrawFace, TwoAndFourColourFacesAndTheSolidShortCut) {
    const int32_t c1 = RGB(0, 0, 0), c2 = RGB(24, 0, 0), c3 = RGB(0, 48, 0), c4 = RGB(0, 0, 72);
    struct Case {
        int32_t height;
        ENUM_GRADIENT_COLORS mode;
        std::vector<uint32_t> column;
    } cases[] = {
        // One ramp from top to bottom: n = 3.
        {4, ENUM_GRADIENT_COLORS::TwoColors, {0x000000, 0x080000, 0x100000, 0x180000}},
        // 25 rows: two bands of 12, the last row keeps what was there.
        {25, ENUM_GRADIENT_COLORS::FourColors, {}},
        // 27 rows: two bands of 14, the lower one cut by the edge.
        {27, ENUM_GRADIENT_COLORS::FourColors, {}},
    };
    for (const Case& c : cases) {
        Surface s(2, c.height);
        EXPECT_TRUE(DrawFace(&s.canvas, 2, c.height, c.mode, c1, c2, c3, c4));
        const std::vector<uint32_t> column = s.Column(1);
        if (!c.column.empty()) {
            EXPECT_EQ(column, c.column);
            continue;
        }
        const int32_t band = c.height == 25 ? 12 : 14;
        EXPECT_EQ(column[0], 0x000000u) << c.height;
        EXPECT_EQ(column[band - 1], 0x180000u) << c.height;
        EXPECT_EQ(column[band], 0x003000u) << c.height;  // c3: green 48
        if (c.height == 25) {
            EXPECT_EQ(column[23], 0x000048u);  // c4 reached at the band's last row
            EXPECT_EQ(column[24], kBack);
        } else {
            // Row 26 is the lower band's 13th of 14: the last one is cut off.
            EXPECT_EQ(column[26], static_cast<uint32_t>(0x30 - 0x30 * 12 / 13) << 8 |
                                      static_cast<uint32_t>(0x48 * 12 / 13));
        }
    }
    // Solid faces paint nothing and say so.
    Surface s(2, 4);
    EXPECT_FALSE(DrawFace(&s.canvas, 2, 4, ENUM_GRADIENT_COLORS::TwoColors, c2, c2, c3, c4));
    EXPECT_FALSE(DrawFace(&s.canvas, 2, 4, ENUM_GRADIENT_COLORS::FourColors, 5, 4, 6, 5));
    EXPECT_EQ(s.Column(0), std::vector<uint32_t>(4, kBack));
}

TEST(FillRectWithColor, FillsOpaqueAndDropsTheHighByte) {
    Surface s(3, 2);
    FillRectWithColor(&s.canvas, RECT{1, 0, 3, 1}, RGB(0x11, 0x22, 0x33));
    FillRectWithColor(&s.canvas, RECT{0, 1, 1, 2}, static_cast<int32_t>(0x8000000F));
    FillRectWithColor(nullptr, RECT{0, 0, 3, 2}, 0);
    EXPECT_EQ(s.Row(0), (std::vector<uint32_t>{kBack, 0xFF112233, 0xFF112233}));
    EXPECT_EQ(s.Row(1), (std::vector<uint32_t>{0xFF0F0000, kBack, kBack}));
}

TEST(GradientFillRect, ChannelBytesBecomeHighBytesAndTruncate) {
    // Red 00 → FF across four columns: 16-bit steps of FF00 / 4 give high
    // bytes 00, 3F, 7F, BF; FF is approached, not reached.
    Surface across(4, 1);
    GradientFillRect(&across.canvas, RECT{0, 0, 4, 1}, RGB(0, 0, 0), RGB(255, 0, 0), false);
    EXPECT_EQ(across.Row(0),
              (std::vector<uint32_t>{0xFF000000, 0xFF3F0000, 0xFF7F0000, 0xFFBF0000}));
    // Down, blue 10 → 20 over three rows: 1000, 1555, 1AAA.
    Surface down(1, 3);
    GradientFillRect(&down.canvas, RECT{0, 0, 1, 3}, RGB(0, 0, 0x10), RGB(0, 0, 0x20), true);
    EXPECT_EQ(down.Column(0), (std::vector<uint32_t>{0xFF000010, 0xFF000015, 0xFF00001A}));
}

}  // namespace
}  // namespace kelvara
