#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SurfaceTestSupport.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Px;
using test::Read;

StdFont Tahoma(bool underline = false) {
    StdFont font;
    font.SetName("Tahoma");
    font.SetSize(8.25);
    font.SetUnderline(underline);
    return font;
}

struct Placed {
    int32_t x, y;
    std::string text;
};

// The coverage of lines drawn white on black with the same font, each at
// its own position: what the surface's alpha must become.
std::vector<int> Coverage(int32_t w, int32_t h, const std::vector<Placed>& lines,
                          bool underline = false) {
    PixelBuffer scratch;
    EXPECT_TRUE(scratch.Allocate(w, h));
    Canvas canvas(scratch);
    canvas.SelectFont(Tahoma(underline));
    canvas.SetBkMode(BkMode::TRANSPARENT);
    canvas.SetTextColor(0xFFFFFF);
    for (const Placed& line : lines)
        canvas.TextOut(line.x, line.y, line.text);
    std::vector<int> out;
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            out.push_back(scratch.Pixel(x, y)[0]);
    return out;
}

std::vector<int> Alphas(const API32bppDIB& surface) {
    std::vector<int> out;
    for (const Px& p : Read(surface))
        out.push_back(p.a);
    return out;
}

int32_t Width(std::string_view text) {
    PixelBuffer one;
    EXPECT_TRUE(one.Allocate(1, 1));
    Canvas canvas(one);
    canvas.SelectFont(Tahoma());
    TextSize size;
    EXPECT_TRUE(canvas.GetTextExtentPoint32(text, size));
    return size.cx;
}

TEST(DrawTextOnSurface, CoverageBecomesThePremultipliedColour) {
    API32bppDIB surface;
    Fill(surface, 80, 20);
    const OLE_COLOR color = 0x3366CC;  // red CC, green 66, blue 33
    // Underlined, so that fully covered pixels are there too.
    ASSERT_TRUE(surface.DrawText_stdFont(Tahoma(true), "Olá, mundo", 3, 2, 77, 18, 0, color));
    EXPECT_EQ(Alphas(surface), Coverage(80, 20, {{3, 2, "Olá, mundo"}}, true));
    int opaque = 0;
    for (const Px& p : Read(surface)) {
        EXPECT_EQ(p, (Px{0x33 * p.a / 255, 0x66 * p.a / 255, 0xCC * p.a / 255, p.a}));
        opaque += p.a == 255;
    }
    EXPECT_GT(opaque, 10);
}

TEST(DrawTextOnSurface, LinesSplitAtCrLfAndAlignByFlags) {
    const std::string a = "Código", b = "Descrição longa";
    const int32_t boxX = 4, boxW = 110;
    struct Case {
        uint32_t flags;
        const char* what;
        int32_t (*left)(int32_t boxWidth, int32_t textWidth);
    } cases[] = {
        {0, "left", [](int32_t, int32_t) { return 0; }},
        // Deliberate: DT_CENTER alone leaves the text at the left.
        {1, "DT_CENTER alone", [](int32_t, int32_t) { return 0; }},
        {2, "right", [](int32_t w, int32_t t) { return w - t; }},
        {6, "centre", [](int32_t w, int32_t t) { return (w - t) / 2; }},
    };
    for (const Case& c : cases) {
        API32bppDIB surface;
        Fill(surface, 120, 40);
        ASSERT_TRUE(surface.DrawText_stdFont(Tahoma(), a + "\r\n" + b, boxX, 5, boxW, 30, c.flags,
                                             0xFFFFFF));
        const std::vector<int> want = Coverage(
            120, 40,
            {{boxX + c.left(boxW, Width(a)), 5, a}, {boxX + c.left(boxW, Width(b)), 18, b}});
        EXPECT_EQ(Alphas(surface), want) << c.what;
    }
}

TEST(DrawTextOnSurface, BoxesOverTheEdgeDrawTheSamePixels) {
    // The picture drawn on a wide surface, and the same text on a narrower
    // one with the box hanging over both edges, agree where they overlap.
    API32bppDIB wide, narrow;
    Fill(wide, 100, 20);
    Fill(narrow, 40, 10);
    ASSERT_TRUE(wide.DrawText_stdFont(Tahoma(), "Endereço", 10, 4, 90, 16, 0, 0x0000FF));
    ASSERT_TRUE(narrow.DrawText_stdFont(Tahoma(), "Endereço", -20, -3, 90, 16, 0, 0x0000FF));
    for (int32_t y = 0; y < 10; ++y)
        for (int32_t x = 0; x < 40; ++x)
            ASSERT_EQ(test::PixelAt(narrow, x, y), test::PixelAt(wide, x + 30, y + 7))
                << x << "," << y;
}

TEST(DrawTextOnSurface, RefusesWhatCannotBeDrawn) {
    API32bppDIB empty;
    EXPECT_FALSE(empty.DrawText_stdFont(Tahoma(), "x", 0, 0, 10, 10, 0, 0));
    API32bppDIB surface;
    Fill(surface, 10, 10);
    EXPECT_FALSE(surface.DrawText_stdFont(Tahoma(), "x", 0, 0, 0, 10, 0, 0));
    EXPECT_FALSE(surface.DrawText_stdFont(Tahoma(), "x", 0, 0, 10, -1, 0, 0));
    EXPECT_FALSE(surface.DrawText_hFont(HFONT{}, "x", 0, 0, 10, 10, 0, 0));
    // A box wholly off the picture draws nothing and is not an error.
    EXPECT_TRUE(surface.DrawText_stdFont(Tahoma(), "x", 50, 0, 10, 10, 0, 0));
    EXPECT_TRUE(surface.DrawText_stdFont(Tahoma(), "x", INT32_MAX - 5, INT32_MIN, INT32_MAX,
                                         INT32_MAX, 0, 0));
    EXPECT_EQ(Read(surface), std::vector<Px>(100, test::kZero));
}

TEST(DrawTextOnSurface, FontHandleDrawsLikeTheSameStdFont) {
    LOGFONT logical;
    logical.lfFaceName = "Tahoma";
    logical.lfHeight = Tahoma().PixelHeight();
    logical.lfEscapement = 450;  // turned level
    API32bppDIB byHandle, byObject;
    Fill(byHandle, 60, 16);
    Fill(byObject, 60, 16);
    ASSERT_TRUE(
        byHandle.DrawText_hFont(CreateFontIndirect(logical), "Valor", 1, 1, 58, 14, 0, 0x00FF00));
    ASSERT_TRUE(byObject.DrawText_stdFont(Tahoma(), "Valor", 1, 1, 58, 14, 0, 0x00FF00));
    EXPECT_EQ(Read(byHandle), Read(byObject));
}

}  // namespace
}  // namespace kelvara
