#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {
namespace {

constexpr COLORREF kWhite = 0xFFFFFF;
constexpr COLORREF kBlack = 0x000000;
constexpr COLORREF kYellow = 0x00FFFF;

FontRequest Tahoma(int32_t height = -11) {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = height;
    return font;
}

PixelBuffer White(int32_t w, int32_t h) {
    PixelBuffer buffer;
    EXPECT_TRUE(buffer.Allocate(w, h));
    Canvas(buffer).FillRect(RECT{0, 0, w, h}, kWhite);
    return buffer;
}

// The pixels of a part of a buffer, row by row, for comparing pictures.
std::string Bytes(const PixelBuffer& buffer, const RECT& area) {
    std::string out;
    for (int32_t y = area.Top; y < area.Bottom; ++y) {
        out.append(reinterpret_cast<const char*>(buffer.Pixel(area.Left, y)),
                   static_cast<size_t>(area.Right - area.Left) * 4);
    }
    return out;
}

// The box of pixels that are not white.
RECT Inked(const PixelBuffer& buffer) {
    RECT box{buffer.Width(), buffer.Height(), 0, 0};
    for (int32_t y = 0; y < buffer.Height(); ++y) {
        for (int32_t x = 0; x < buffer.Width(); ++x) {
            const uint8_t* p = buffer.Pixel(x, y);
            if (p[0] != 255 || p[1] != 255 || p[2] != 255) {
                box = {std::min(box.Left, x), std::min(box.Top, y), std::max(box.Right, x + 1),
                       std::max(box.Bottom, y + 1)};
            }
        }
    }
    return box;
}

class CanvasTextTest : public ::testing::Test {
protected:
    PixelBuffer pixels = White(120, 40);
    Canvas canvas{pixels};

    void SetUp() override {
        canvas.SelectFont(Tahoma());
        canvas.SetBkMode(BkMode::TRANSPARENT);
        canvas.SetTextColor(kBlack);
    }
};

TEST_F(CanvasTextTest, MetricsAndExtentsComeFromTheSelectedFont) {
    TextMetrics metrics;
    ASSERT_TRUE(canvas.GetTextMetrics(metrics));
    EXPECT_EQ(metrics.tmHeight, 13);
    EXPECT_EQ(metrics.tmAscent, 11);
    EXPECT_EQ(metrics.tmDescent, 2);
    TextSize small, large;
    ASSERT_TRUE(canvas.GetTextExtentPoint32("Cliente", small));
    EXPECT_EQ(small.cy, 13);
    canvas.SelectFont(Tahoma(-16));
    ASSERT_TRUE(canvas.GetTextExtentPoint32("Cliente", large));
    EXPECT_GT(large.cx, small.cx);
    EXPECT_GT(large.cy, small.cy);
}

TEST_F(CanvasTextTest, FontIsPartOfTheSavedState) {
    StdFont bold;
    bold.SetName("Tahoma");
    bold.SetBold(true);
    EXPECT_EQ(canvas.SelectFont(bold).Family, "Tahoma");
    {
        CanvasSaver saver(canvas);
        canvas.SelectFont(Tahoma(-20));
        EXPECT_EQ(canvas.GetFont().Height, -20);
    }
    EXPECT_TRUE(canvas.GetFont().Bold);
    // An empty handle selects nothing; a real one selects its font.
    EXPECT_TRUE(canvas.SelectFont(HFONT{}).Bold);
    LOGFONT italic;
    italic.lfFaceName = "Tahoma";
    italic.lfHeight = -13;
    italic.lfItalic = true;
    italic.lfEscapement = 900;  // ignored: text stays level
    canvas.SelectFont(CreateFontIndirect(italic));
    EXPECT_TRUE(canvas.GetFont().Italic);
    EXPECT_FALSE(canvas.GetFont().Bold);
    EXPECT_EQ(canvas.GetFont().Height, -13);
}

TEST_F(CanvasTextTest, CoordinatesAreLogicalForDrawingAndMeasuring) {
    RECT plain{4, 3, 110, 30};
    canvas.DrawText("Nome", plain, DT_LEFT);
    const std::string unmoved = Bytes(pixels, RECT{0, 0, 60, 20});

    PixelBuffer other = White(120, 40);
    Canvas moved(other);
    moved.SelectFont(Tahoma());
    moved.SetBkMode(BkMode::TRANSPARENT);
    moved.SetViewportOrgEx(10, 5);
    RECT logical{4, 3, 110, 30};
    moved.DrawText("Nome", logical, DT_LEFT);
    EXPECT_EQ(Bytes(other, RECT{10, 5, 70, 25}), unmoved);

    // Measuring answers in the same logical coordinates it was asked in.
    RECT calc{4, 3, 110, 30};
    EXPECT_EQ(moved.DrawText("Nome", calc, DT_CALCRECT), 13);
    EXPECT_EQ(calc.Left, 4);
    EXPECT_EQ(calc.Top, 3);
    EXPECT_EQ(calc.Bottom, 16);
    TextSize size;
    ASSERT_TRUE(moved.GetTextExtentPoint32("Nome", size));
    EXPECT_EQ(calc.Right, 4 + size.cx);
}

TEST_F(CanvasTextTest, ClipRegionCutsText) {
    const Region left = Region::CreateRectRgn(0, 0, 12, 40);
    canvas.SelectClipRgn(&left);
    RECT rect{2, 2, 118, 38};
    canvas.DrawText("WWWWWWWW", rect, DT_LEFT | DT_NOCLIP);
    const RECT inked = Inked(pixels);
    EXPECT_EQ(inked.Left, 2);
    EXPECT_EQ(inked.Right, 12);
}

TEST_F(CanvasTextTest, OpaqueModeFillsEachLineCellFirst) {
    canvas.SetBkMode(BkMode::OPAQUE);
    canvas.SetBkColor(kYellow);
    RECT rect{0, 0, 120, 40};
    canvas.DrawText("ab\r\nabcdef", rect, DT_LEFT);
    TextSize first, second;
    ASSERT_TRUE(canvas.GetTextExtentPoint32("ab", first));
    ASSERT_TRUE(canvas.GetTextExtentPoint32("abcdef", second));
    // Pixel in the cell right of the short line's end, and beyond both.
    EXPECT_EQ(canvas.GetPixel(first.cx - 1, 0), kYellow);
    EXPECT_EQ(canvas.GetPixel(first.cx + 1, 1), kWhite);
    EXPECT_EQ(canvas.GetPixel(second.cx - 1, 13), kYellow);
    EXPECT_EQ(canvas.GetPixel(second.cx + 1, 14), kWhite);
    EXPECT_EQ(canvas.GetPixel(0, 26), kWhite);

    // TextOut fills its cell too, and draws no line breaks.
    PixelBuffer other = White(60, 20);
    Canvas out(other);
    out.SelectFont(Tahoma());
    out.SetBkColor(kYellow);
    ASSERT_TRUE(out.TextOut(5, 2, "ab"));
    EXPECT_EQ(out.GetPixel(5, 2), kYellow);
    EXPECT_EQ(out.GetPixel(5 + first.cx - 1, 14), kYellow);
    EXPECT_EQ(out.GetPixel(5 + first.cx, 2), kWhite);
    EXPECT_EQ(out.GetPixel(4, 2), kWhite);
    EXPECT_EQ(out.GetPixel(5, 15), kWhite);
}

TEST_F(CanvasTextTest, TextOutMatchesDrawTextOfOneLine) {
    ASSERT_TRUE(canvas.TextOut(7, 9, "Razão social"));
    PixelBuffer other = White(120, 40);
    Canvas drawn(other);
    drawn.SelectFont(Tahoma());
    drawn.SetBkMode(BkMode::TRANSPARENT);
    RECT rect{7, 9, 120, 40};
    drawn.DrawText("Razão social", rect, DT_LEFT | DT_SINGLELINE | DT_NOPREFIX);
    EXPECT_EQ(Bytes(pixels, RECT{0, 0, 120, 40}), Bytes(other, RECT{0, 0, 120, 40}));
    EXPECT_NE(Inked(pixels).Right, 0);
}

TEST_F(CanvasTextTest, EmptyTextAndEmptyRectanglesDrawNothing) {
    const std::string before = Bytes(pixels, RECT{0, 0, 120, 40});
    RECT empty{5, 5, 5, 30};
    EXPECT_EQ(canvas.DrawText("texto", empty, DT_LEFT), 13);
    RECT any{5, 5, 50, 30};
    EXPECT_EQ(canvas.DrawText("", any, DT_LEFT), 0);
    RECT calc{5, 5, 50, 30};
    EXPECT_EQ(canvas.DrawText("", calc, DT_CALCRECT), 0);
    EXPECT_EQ(calc, (RECT{5, 5, 5, 5}));
    EXPECT_TRUE(canvas.TextOut(2000, -500, "fora"));
    EXPECT_EQ(Bytes(pixels, RECT{0, 0, 120, 40}), before);
}

}  // namespace
}  // namespace kelvara
