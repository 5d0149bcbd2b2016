#include "kelvara/gfx/Canvas.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace kelvara {
namespace {

// Pictures are rows of letters, one a pixel: '.' grey (the background),
// 'R' red, 'G' green, 'B' blue, '?' anything else.
constexpr COLORREF kGrey = 0x808080;
constexpr COLORREF kRed = 0x0000FF;
constexpr COLORREF kGreen = 0x00FF00;
constexpr COLORREF kBlue = 0xFF0000;

using Picture = std::vector<std::string>;

PixelBuffer Filled(int32_t w, int32_t h, RowOrder order = RowOrder::BottomUp) {
    PixelBuffer buffer;
    EXPECT_TRUE(buffer.Allocate(w, h, order));
    Canvas(buffer).FillRect(RECT{0, 0, w, h}, kGrey);
    return buffer;
}

Picture Read(const PixelBuffer& buffer) {
    Picture out;
    for (int32_t y = 0; y < buffer.Height(); ++y) {
        std::string row;
        for (int32_t x = 0; x < buffer.Width(); ++x) {
            const uint8_t* p = buffer.Pixel(x, y);
            const COLORREF c = COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
            char ch = '?';
            if (p[3] == 255) {
                ch = c == kGrey    ? '.'
                     : c == kRed   ? 'R'
                     : c == kGreen ? 'G'
                     : c == kBlue  ? 'B'
                                   : '?';
            }
            row += ch;
        }
        out.push_back(row);
    }
    return out;
}

std::string Show(const Picture& p) {
    std::string s;
    for (const std::string& row : p) {
        s += "\n  " + row;
    }
    return s;
}

struct DrawCase {
    const char* name;
    std::function<void(Canvas&)> draw;
    Picture want;
};

TEST(Canvas, EachPrimitiveTouchesExactlyItsPixels) {
    const Pen redPen{PenStyle::PS_SOLID, 1, kRed};
    const Brush blueBrush{false, kBlue};
    const DrawCase cases[] = {
        {"FillRect",
         [](Canvas& c) {
             c.FillRect(RECT{1, 1, 4, 3}, kRed);
         },
         {"........", ".RRR....", ".RRR....", "........", "........", "........"}},
        {"FillRect inverted draws nothing",
         [](Canvas& c) {
             c.FillRect(RECT{4, 3, 1, 1}, kRed);
         },
         {"........", "........", "........", "........", "........", "........"}},
        {"FrameRect",
         [](Canvas& c) {
             c.FrameRect(RECT{1, 1, 5, 5}, kRed);
         },
         {"........", ".RRRR...", ".R..R...", ".R..R...", ".RRRR...", "........"}},
        {"FrameRect one row",
         [](Canvas& c) {
             c.FrameRect(RECT{0, 2, 3, 3}, kRed);
         },
         {"........", "........", "RRR.....", "........", "........", "........"}},
        {"Rectangle pen and brush",
         [&](Canvas& c) {
             c.SelectPen(redPen);
             c.SelectBrush(blueBrush);
             c.Rectangle(0, 0, 5, 4);
         },
         {"RRRRR...", "RBBBR...", "RBBBR...", "RRRRR...", "........", "........"}},
        {"Rectangle wide pen grows inwards",
         [&](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_SOLID, 2, kRed});
             c.SelectBrush(blueBrush);
             c.Rectangle(7, 6, 0, 1);
         },
         {"........", "RRRRRRR.", "RRRRRRR.", "RRBBBRR.", "RRRRRRR.", "RRRRRRR."}},
        {"Rectangle null pen null brush",
         [](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_NULL, 1, kRed});
             c.SelectBrush(Brush{true, kBlue});
             c.Rectangle(0, 0, 5, 4);
         },
         {"........", "........", "........", "........", "........", "........"}},
        {"Ellipse",
         [&](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_NULL});
             c.SelectBrush(blueBrush);
             c.Ellipse(0, 0, 6, 6);
         },
         {".BBBB...", "BBBBBB..", "BBBBBB..", "BBBBBB..", "BBBBBB..", ".BBBB..."}},
        {"Horizontal line leaves out its end",
         [&](Canvas& c) {
             c.SelectPen(redPen);
             c.MoveToEx(1, 2);
             c.LineTo(5, 2);
         },
         {"........", "........", ".RRRR...", "........", "........", "........"}},
        {"Lines right to left and upwards",
         [&](Canvas& c) {
             c.SelectPen(redPen);
             c.MoveToEx(6, 5);
             c.LineTo(1, 0);
         },
         {"........", "..R.....", "...R....", "....R...", ".....R..", "......R."}},
        {"Steep line",
         [&](Canvas& c) {
             c.SelectPen(redPen);
             c.MoveToEx(0, 0);
             c.LineTo(2, 4);
         },
         {"R.......", ".R......", ".R......", "..R.....", "........", "........"}},
        {"Joined lines",
         [&](Canvas& c) {
             c.SelectPen(redPen);
             c.MoveToEx(1, 1);
             c.LineTo(4, 1);
             c.LineTo(4, 4);
         },
         {"........", ".RRRR...", "....R...", "....R...", "........", "........"}},
        {"Wide pen line is a square along the path",
         [](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_SOLID, 3, kRed});
             c.MoveToEx(2, 2);
             c.LineTo(5, 2);
         },
         {"........", ".RRRRR..", ".RRRRR..", ".RRRRR..", "........", "........"}},
        {"Wide even pen sits up and left",
         [](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_SOLID, 2, kRed});
             c.MoveToEx(2, 2);
             c.LineTo(2, 4);
         },
         {"........", ".RR.....", ".RR.....", ".RR.....", "........", "........"}},
        {"Null pen line draws nothing but moves",
         [&](Canvas& c) {
             c.SelectPen(Pen{PenStyle::PS_NULL, 1, kRed});
             c.MoveToEx(0, 0);
             c.LineTo(3, 0);
             c.SelectPen(redPen);
             c.LineTo(3, 3);
         },
         {"...R....", "...R....", "...R....", "........", "........", "........"}},
        {"SetPixelV",
         [](Canvas& c) {
             c.SetPixelV(0, 0, kGreen);
             c.SetPixelV(7, 5, kBlue);
         },
         {"G.......", "........", "........", "........", "........", ".......B"}},
    };
    for (const DrawCase& tc : cases) {
        PixelBuffer buffer = Filled(8, 6);
        Canvas canvas(buffer);
        tc.draw(canvas);
        EXPECT_EQ(Read(buffer), tc.want)
            << tc.name << ": have" << Show(Read(buffer)) << "\nwant" << Show(tc.want);
    }
}

TEST(Canvas, DrawingStaysInsideAComplexClip) {
    PixelBuffer buffer = Filled(8, 6);
    Canvas canvas(buffer);
    const RECT parts[] = {{0, 0, 3, 2}, {5, 1, 8, 4}, {1, 4, 2, 9}};
    const Region clip = Region::ExtCreateRegion(parts);
    EXPECT_EQ(canvas.SelectClipRgn(&clip), RegionKind::ComplexRegion);
    canvas.FillRect(RECT{-5, -5, 20, 20}, kRed);
    canvas.SelectPen(Pen{PenStyle::PS_SOLID, 1, kBlue});
    canvas.MoveToEx(0, 5);
    canvas.LineTo(8, 5);
    const Picture want{"RRR.....", "RRR..RRR", ".....RRR", ".....RRR", ".R......", ".B......"};
    EXPECT_EQ(Read(buffer), want) << "have" << Show(Read(buffer));
    EXPECT_EQ(canvas.GetPixel(3, 0), CLR_INVALID);
    EXPECT_EQ(canvas.GetPixel(1, 5), kBlue);
    EXPECT_FALSE(canvas.SetPixelV(4, 4, kGreen));
}

TEST(Canvas, OriginMovesEveryPrimitive) {
    PixelBuffer buffer = Filled(8, 6);
    Canvas canvas(buffer);
    POINT old{9, 9};
    canvas.SetViewportOrgEx(3, 2, &old);
    EXPECT_EQ(old, (POINT{0, 0}));
    canvas.FillRect(RECT{-1, -1, 1, 1}, kRed);
    canvas.SetPixelV(3, 3, kGreen);
    canvas.SelectPen(Pen{PenStyle::PS_SOLID, 1, kBlue});
    canvas.MoveToEx(-3, 3);
    canvas.LineTo(0, 3);
    const Picture want{"........", "..RR....", "..RR....", "........", "........", "BBB...G."};
    EXPECT_EQ(Read(buffer), want) << "have" << Show(Read(buffer));
    EXPECT_EQ(canvas.GetPixel(3, 3), kGreen);
    EXPECT_EQ(canvas.GetPixel(5, 0), CLR_INVALID);  // buffer column 8
}

TEST(Canvas, RestoreBringsBackStateAndClipOnlyNarrows) {
    PixelBuffer buffer = Filled(8, 6);
    Canvas canvas(buffer);
    const Region left = Region::CreateRectRgn(0, 0, 4, 6);
    canvas.SelectClipRgn(&left);
    canvas.SetTextColor(kRed);
    {
        const CanvasSaver saver(canvas);
        EXPECT_EQ(canvas.SaveDepth(), 1);
        canvas.SetTextColor(kBlue);
        canvas.SetViewportOrgEx(1, 1);
        // Wider than the saved clip: only the overlap may be drawn on.
        const Region wide = Region::CreateRectRgn(2, 0, 8, 3);
        canvas.SelectClipRgn(&wide);
        canvas.FillRect(RECT{-1, -1, 10, 10}, kGreen);
        // No clip means the saved clip, not the whole buffer.
        canvas.SelectClipRgn(nullptr);
        canvas.FillRect(RECT{-1, 4, 10, 5}, kBlue);
    }
    EXPECT_EQ(canvas.SaveDepth(), 0);
    EXPECT_FALSE(canvas.Restore());
    EXPECT_EQ(canvas.GetTextColor(), kRed);
    EXPECT_EQ(canvas.GetViewportOrg(), (POINT{0, 0}));
    canvas.FillRect(RECT{0, 0, 8, 1}, kRed);
    const Picture want{"RRRR....", "..GG....", "..GG....", "........", "........", "BBBB...."};
    EXPECT_EQ(Read(buffer), want) << "have" << Show(Read(buffer));
}

TEST(Canvas, RoundRectPaintsItsRegion) {
    struct Case {
        RECT box;
        int32_t ew, eh;
        int32_t penWidth;
    } const cases[] = {
        {{0, 0, 9, 7}, 4, 4, 1}, {{1, 0, 8, 7}, 7, 3, 2}, {{0, 1, 9, 6}, 20, 20, 1},
        {{2, 2, 5, 4}, 2, 2, 1}, {{0, 0, 9, 7}, 0, 0, 1}, {{0, 0, 9, 7}, 9, 7, 3},
    };
    for (const Case& tc : cases) {
        for (const bool withPen : {false, true}) {
            PixelBuffer buffer = Filled(9, 7);
            Canvas canvas(buffer);
            canvas.SelectPen(withPen ? Pen{PenStyle::PS_SOLID, tc.penWidth, kRed}
                                     : Pen{PenStyle::PS_NULL});
            canvas.SelectBrush(Brush{false, kBlue});
            canvas.RoundRect(tc.box.Left, tc.box.Top, tc.box.Right, tc.box.Bottom, tc.ew, tc.eh);
            const Region want = Region::CreateRoundRectRgn(tc.box.Left, tc.box.Top, tc.box.Right,
                                                           tc.box.Bottom, tc.ew, tc.eh);
            for (int32_t y = 0; y < 7; ++y) {
                for (int32_t x = 0; x < 9; ++x) {
                    EXPECT_EQ(canvas.GetPixel(x, y) != kGrey, want.PtInRegion(x, y))
                        << "box " << tc.box.Left << "," << tc.box.Top << "," << tc.box.Right << ","
                        << tc.box.Bottom << " ellipse " << tc.ew << "x" << tc.eh << " pen "
                        << withPen << " at " << x << "," << y;
                }
            }
            // With a pen the outline is exactly where the shape's edge is.
            if (withPen) {
                EXPECT_EQ(canvas.GetPixel(tc.box.Left + tc.box.Width() / 2, tc.box.Top), kRed);
            }
        }
    }
}

TEST(Canvas, GradientRampsRoundDownFromTheFirstVertex) {
    struct Case {
        const char* name;
        TRIVERTEX a, b;
        GradientMode mode;
        // Red byte along the ramp, then green and blue at its first pixel.
        std::vector<int> red;
        int green, blue;
    } const cases[] = {
        {"four columns up",
         {0, 0, 0x0000, 0x1234, 0xFF00, 0},
         {4, 1, 0xFF00, 0x1234, 0, 0},
         GradientMode::GRADIENT_FILL_RECT_H,
         {0x00, 0x3F, 0x7F, 0xBF},
         0x12,
         0xFF},
        {"three rows down",
         {0, 0, 0xFFFF, 0, 0, 0},
         {1, 3, 0x0000, 0, 0, 0},
         GradientMode::GRADIENT_FILL_RECT_V,
         {0xFF, 0xAA, 0x55},
         0,
         0},
        {"vertices given right to left",
         {4, 1, 0xFF00, 0, 0, 0},
         {0, 0, 0x0000, 0, 0, 0},
         GradientMode::GRADIENT_FILL_RECT_H,
         {0x00, 0x3F, 0x7F, 0xBF},
         0,
         0},
        {"truncation toward zero when falling",
         {0, 0, 0x0100, 0, 0, 0},
         {3, 1, 0x00FF, 0, 0, 0},
         GradientMode::GRADIENT_FILL_RECT_H,
         {0x01, 0x01, 0x01},
         0,
         0},
    };
    for (const Case& tc : cases) {
        PixelBuffer buffer = Filled(5, 4, RowOrder::TopDown);
        Canvas canvas(buffer);
        const TRIVERTEX v[] = {tc.a, tc.b};
        const GRADIENT_RECT r{0, 1};
        ASSERT_TRUE(canvas.GradientFill(v, 2, &r, 1, tc.mode)) << tc.name;
        const bool across = tc.mode == GradientMode::GRADIENT_FILL_RECT_H;
        for (size_t k = 0; k < tc.red.size(); ++k) {
            const int32_t x = across ? static_cast<int32_t>(k) : 0;
            const int32_t y = across ? 0 : static_cast<int32_t>(k);
            const uint8_t* p = buffer.Pixel(x, y);
            EXPECT_EQ(p[2], tc.red[k]) << tc.name << " at " << k;
            EXPECT_EQ(p[3], 255) << tc.name;
        }
        EXPECT_EQ(buffer.Pixel(0, 0)[1], tc.green) << tc.name;
        EXPECT_EQ(buffer.Pixel(0, 0)[0], tc.blue) << tc.name;
        // Nothing outside the rectangle changed.
        const int32_t edge = static_cast<int32_t>(tc.red.size());
        EXPECT_EQ(canvas.GetPixel(across ? edge : 1, across ? 1 : edge), kGrey) << tc.name;
    }
    PixelBuffer buffer = Filled(2, 2);
    Canvas canvas(buffer);
    const TRIVERTEX v[] = {{0, 0, 0, 0, 0, 0}};
    const GRADIENT_RECT bad{0, 1};
    EXPECT_FALSE(canvas.GradientFill(v, 1, &bad, 1, GradientMode::GRADIENT_FILL_RECT_H));
    EXPECT_EQ(Read(buffer), (Picture{"..", ".."}));
}

// Four-byte pixels, one a letter of the palette above, in rows top first.
std::vector<uint8_t> Bytes(const Picture& rows, bool bottomUp) {
    std::vector<uint8_t> out;
    for (size_t i = 0; i < rows.size(); ++i) {
        const std::string& row = rows[bottomUp ? rows.size() - 1 - i : i];
        for (const char ch : row) {
            const COLORREF c = ch == 'R' ? kRed : ch == 'G' ? kGreen : ch == 'B' ? kBlue : kGrey;
            out.insert(out.end(), {static_cast<uint8_t>(c >> 16), static_cast<uint8_t>(c >> 8),
                                   static_cast<uint8_t>(c), 255});
        }
    }
    return out;
}

TEST(Canvas, StretchDIBitsReadsBothRowOrders) {
    const Picture source{"RG", "BR", "GB"};
    struct Case {
        const char* name;
        bool bottomUp;
        int32_t srcY;
        Picture want;
    } const cases[] = {
        {"top-down whole", false, 0, {"RRGG..", "BBRR..", "GGBB..", "......"}},
        {"bottom-up whole", true, 0, {"RRGG..", "BBRR..", "GGBB..", "......"}},
        // The two rows above the bottom one, counted upwards.
        {"bottom-up counts srcY from the bottom",
         true,
         1,
         {"RRGG..", "BBRR..", "......", "......"}},
        {"top-down counts srcY from the top", false, 1, {"BBRR..", "GGBB..", "......", "......"}},
    };
    for (const Case& tc : cases) {
        PixelBuffer buffer = Filled(6, 4);
        Canvas canvas(buffer);
        const std::vector<uint8_t> bits = Bytes(source, tc.bottomUp);
        const int32_t rows = tc.srcY == 0 ? 3 : 2;
        ASSERT_TRUE(canvas.StretchDIBits(0, 0, 4, rows, 0, tc.srcY, 2, rows, bits.data(), 2,
                                         tc.bottomUp ? 3 : -3))
            << tc.name;
        EXPECT_EQ(Read(buffer), tc.want) << tc.name << ": have" << Show(Read(buffer));
    }
    PixelBuffer buffer = Filled(2, 2);
    Canvas canvas(buffer);
    const std::vector<uint8_t> bits = Bytes(source, true);
    EXPECT_FALSE(canvas.StretchDIBits(0, 0, 2, 2, 0, 2, 2, 2, bits.data(), 2, 3));
}

TEST(Canvas, StretchBltModes) {
    PixelBuffer src;
    ASSERT_TRUE(src.Allocate(4, 1, RowOrder::TopDown));
    const uint8_t values[4] = {10, 21, 100, 200};
    for (int32_t x = 0; x < 4; ++x) {
        uint8_t* p = src.Pixel(x, 0);
        p[0] = p[1] = p[2] = values[x];
        p[3] = 255;
    }
    struct Case {
        StretchMode mode;
        int32_t width;
        std::vector<int> want;
    } const cases[] = {
        {StretchMode::COLORONCOLOR, 2, {21, 200}},
        {StretchMode::HALFTONE, 2, {16, 150}},  // (10 + 21 + 1) / 2, (100 + 200 + 1) / 2
        {StretchMode::HALFTONE, 3, {10, 21, 150}},
        {StretchMode::HALFTONE, 8, {10, 10, 21, 21, 100, 100, 200, 200}},
        {StretchMode::COLORONCOLOR, 6, {10, 21, 21, 100, 200, 200}},
    };
    for (const Case& tc : cases) {
        PixelBuffer dest = Filled(8, 1);
        Canvas canvas(dest);
        canvas.SetStretchBltMode(tc.mode);
        ASSERT_TRUE(canvas.StretchBlt(0, 0, tc.width, 1, src, 0, 0, 4, 1));
        for (int32_t x = 0; x < tc.width; ++x) {
            EXPECT_EQ(dest.Pixel(x, 0)[0], tc.want[static_cast<size_t>(x)])
                << "mode " << static_cast<int>(tc.mode) << " width " << tc.width << " x " << x;
        }
        EXPECT_EQ(canvas.GetPixel(tc.width, 0), tc.width < 8 ? kGrey : CLR_INVALID);
    }
}

TEST(Canvas, BitBltCopiesOverlappingAreasOfItself) {
    PixelBuffer buffer = Filled(6, 2);
    Canvas canvas(buffer);
    canvas.SetPixelV(0, 0, kRed);
    canvas.SetPixelV(1, 0, kGreen);
    canvas.SetPixelV(2, 0, kBlue);
    ASSERT_TRUE(canvas.BitBlt(1, 0, 3, 1, buffer, 0, 0));
    EXPECT_EQ(Read(buffer), (Picture{"RRGB..", "......"}));
    // From another canvas, through its origin, partly outside the source.
    PixelBuffer other = Filled(2, 2);
    Canvas from(other);
    from.SetPixelV(1, 1, kBlue);
    from.SetViewportOrgEx(1, 1);
    ASSERT_TRUE(canvas.BitBlt(4, 0, 2, 2, from, 0, 0));
    EXPECT_EQ(Read(buffer), (Picture{"RRGBB.", "......"}));
}

TEST(Canvas, AlphaBlendGoesThroughTheClip) {
    PixelBuffer src;
    ASSERT_TRUE(src.Allocate(1, 1));
    src.Pixel(0, 0)[0] = 0;
    src.Pixel(0, 0)[1] = 0;
    src.Pixel(0, 0)[2] = 255;
    src.Pixel(0, 0)[3] = 255;
    PixelBuffer buffer = Filled(4, 2);
    Canvas canvas(buffer);
    const RECT parts[] = {{0, 0, 1, 1}, {2, 1, 4, 2}};
    const Region clip = Region::ExtCreateRegion(parts);
    canvas.SelectClipRgn(&clip);
    ASSERT_TRUE(canvas.AlphaBlend(0, 0, 4, 2, src, 0, 0, 1, 1, BlendFunction{}));
    EXPECT_EQ(Read(buffer), (Picture{"R...", "..RR"}));
    EXPECT_FALSE(canvas.AlphaBlend(0, 0, 4, 2, src, 0, 0, 2, 1, BlendFunction{}));
}

TEST(Canvas, FollowsItsBufferWhenItIsMadeAnew) {
    PixelBuffer buffer = Filled(8, 6);
    Canvas canvas(buffer);
    const Region clip = Region::CreateRectRgn(1, 0, 8, 6);
    canvas.SelectClipRgn(&clip);
    ASSERT_TRUE(buffer.Allocate(2, 1));
    canvas.FillRect(RECT{-9, -9, 99, 99}, kRed);
    EXPECT_EQ(Read(buffer), (Picture{"?R"}));
    EXPECT_EQ(canvas.ClipRects(), (std::vector<RECT>{{1, 0, 2, 1}}));
}

TEST(Canvas, HugeShapesCostOnlyWhatShows) {
    PixelBuffer buffer = Filled(4, 1, RowOrder::TopDown);
    Canvas canvas(buffer);
    const Region clip = Region::CreateRectRgn(2, 0, 4, 1);
    canvas.SelectClipRgn(&clip);
    // A ramp of 0x4000'0000 columns, of which the clip shows two.
    const TRIVERTEX v[] = {{-2, 0, 0, 0, 0, 0}, {0x3FFFFFFE, 1, 0xFFFF, 0, 0, 0}};
    const GRADIENT_RECT r{0, 1};
    ASSERT_TRUE(canvas.GradientFill(v, 2, &r, 1, GradientMode::GRADIENT_FILL_RECT_H));
    EXPECT_EQ(canvas.GetPixel(2, 0), 0x000000u);  // ramp step 4 of 2^30
    EXPECT_EQ(buffer.Pixel(1, 0)[2], 0x80);       // outside the clip
    // A ramp starting inside the clip's left edge takes the right steps.
    const TRIVERTEX w[] = {{0, 0, 0, 0, 0, 0}, {4, 1, 0xFF00, 0, 0, 0}};
    ASSERT_TRUE(canvas.GradientFill(w, 2, &r, 1, GradientMode::GRADIENT_FILL_RECT_H));
    EXPECT_EQ(buffer.Pixel(2, 0)[2], 0x7F);
    EXPECT_EQ(buffer.Pixel(3, 0)[2], 0xBF);
    // A stretch to two thousand million columns.
    PixelBuffer src = Filled(2, 1);
    src.Pixel(1, 0)[0] = 7;
    canvas.SetStretchBltMode(StretchMode::HALFTONE);
    ASSERT_TRUE(canvas.StretchBlt(-INT32_MAX + 4, 0, INT32_MAX, 1, src, 0, 0, 2, 1));
    EXPECT_EQ(buffer.Pixel(3, 0)[0], 7);
    canvas.SelectPen(Pen{PenStyle::PS_NULL});
    canvas.SelectBrush(Brush{false, kBlue});
    EXPECT_TRUE(canvas.Ellipse(10, 0, INT32_MAX, INT32_MAX));
    EXPECT_EQ(canvas.GetPixel(3, 0), COLORREF{0x070000 | 0x8080});
}

}  // namespace
}  // namespace kelvara
