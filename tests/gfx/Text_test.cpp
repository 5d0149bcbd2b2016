#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/FontEngine.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {
namespace {

// Every character 6 pixels wide, control characters none; lines 10 high.
class FixedMeasurer final : public TextMeasurer {
public:
    int32_t Width(std::u32string_view text) const override {
        int32_t w = 0;
        for (char32_t c : text)
            w += c < 0x20 ? 0 : 6;
        return w;
    }
    int32_t LineHeight() const override { return 10; }
    int32_t AveCharWidth() const override { return 6; }
};

std::vector<std::string> LineTexts(const TextLayoutResult& r) {
    std::vector<std::string> out;
    for (const LaidLine& l : r.Lines)
        out.push_back(ToUtf8(l.Text));
    return out;
}

TextLayoutResult Layout(std::string_view text, int32_t width, uint32_t format) {
    const FixedMeasurer m;
    return LayoutText(m, ToUtf32(text), RECT{0, 0, width, 100}, format);
}

TEST(TextLayout, LinesBreakAtWordsAndOverflowingCharacters) {
    struct Case {
        const char* text;
        int32_t width;
        uint32_t format;
        std::vector<std::string> want;
    };
    const Case cases[] = {
        {"aaa bbb ccc", 42, DT_WORDBREAK, {"aaa bbb", "ccc"}},
        {"aaa bbb ccc", 41, DT_WORDBREAK, {"aaa", "bbb", "ccc"}},
        {"abcdefghij", 24, DT_WORDBREAK, {"abcd", "efgh", "ij"}},
        {"ab abcdefgh", 30, DT_WORDBREAK, {"ab", "abcde", "fgh"}},
        {"a   b", 6, DT_WORDBREAK, {"a", "b"}},
        {"  a b", 100, DT_WORDBREAK, {"  a b"}},
        {"ab", 0, DT_WORDBREAK, {"a", "b"}},
        {"one\r\ntwo\nthree\rfour", 0, 0, {"one", "two", "three", "four"}},
        {"x\n\ny", 100, DT_WORDBREAK, {"x", "", "y"}},
        {"one\ntwo", 100, DT_SINGLELINE, {"one\ntwo"}},
        {"aaa bbb", 24, DT_SINGLELINE | DT_WORDBREAK, {"aaa bbb"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LineTexts(Layout(c.text, c.width, c.format)), c.want)
            << "text \"" << c.text << "\" width " << c.width;
    }
}

TEST(TextLayout, WordBreakNeverSplitsAWordThatFits) {
    const std::string text =
        "the quick brown fox jumps over a lazy dog while extraordinarily long words wait";
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string w; in >> w;)
        words.push_back(w);
    for (int32_t width = 1; width <= 200; ++width) {
        const TextLayoutResult r = Layout(text, width, DT_WORDBREAK);
        std::vector<std::string> tokens;
        for (const std::string& line : LineTexts(r)) {
            EXPECT_LE(static_cast<int32_t>(line.size()) * 6, std::max(width, 6))
                << "line \"" << line << "\" at width " << width;
            std::istringstream ls(line);
            for (std::string t; ls >> t;)
                tokens.push_back(t);
        }
        for (const std::string& w : words) {
            if (static_cast<int32_t>(w.size()) * 6 > width)
                continue;
            EXPECT_NE(std::find(tokens.begin(), tokens.end(), w), tokens.end())
                << "word \"" << w << "\" split at width " << width;
        }
    }
}

TEST(TextLayout, EllipsisShortensToFit) {
    struct Case {
        const char* text;
        int32_t width;
        uint32_t format;
        const char* want;
    };
    const Case cases[] = {
        {"abcdefghij", 60, DT_END_ELLIPSIS, "abcdefghij"},
        {"abcdefghij", 59, DT_END_ELLIPSIS, "abcdef..."},
        {"abcdefghij", 42, DT_WORD_ELLIPSIS, "abcd..."},
        {"abcdefghij", 18, DT_END_ELLIPSIS, "..."},
        {"abcdefghij", 17, DT_END_ELLIPSIS, ".."},
        {"abcdefghij", 0, DT_END_ELLIPSIS, ""},
        {"c:\\dir\\sub\\file.txt", 96, DT_PATH_ELLIPSIS, "c:\\d...\\file.txt"},
        {"c:\\dir\\sub\\file.txt", 90, DT_PATH_ELLIPSIS, "c:\\...\\file.txt"},
        {"c:\\dir\\sub\\file.txt", 60, DT_PATH_ELLIPSIS, "c:\\dir\\..."},
        {"nopath-here-at-all", 60, DT_PATH_ELLIPSIS, "nopath-..."},
    };
    for (const Case& c : cases) {
        const TextLayoutResult r = Layout(c.text, c.width, c.format | DT_SINGLELINE);
        ASSERT_EQ(r.Lines.size(), 1u);
        EXPECT_EQ(ToUtf8(r.Lines[0].Text), c.want) << "text " << c.text << " width " << c.width;
        EXPECT_LE(r.Lines[0].Width, c.width);
    }
    // Wrapped text with an ellipsis cuts a long word instead of breaking it.
    EXPECT_EQ(LineTexts(Layout("ab abcdefgh", 30, DT_WORDBREAK | DT_END_ELLIPSIS)),
              (std::vector<std::string>{"ab", "ab..."}));
}

TEST(TextLayout, PrefixMarksUnderlineOneLetter) {
    struct Case {
        const char* text;
        uint32_t format;
        const char* want;
        int32_t markLeft, markRight;
    };
    const Case cases[] = {
        {"&File", 0, "File", 0, 6},
        {"Fi&le", 0, "File", 12, 18},
        {"a&&b", 0, "a&b", 0, 0},
        {"&&&x", 0, "&x", 6, 12},
        {"&a&b", 0, "ab", 6, 12},
        {"abc&", 0, "abc", 0, 0},
        {"&File", DT_NOPREFIX, "&File", 0, 0},
    };
    for (const Case& c : cases) {
        const TextLayoutResult r = Layout(c.text, 100, c.format | DT_SINGLELINE);
        ASSERT_EQ(r.Lines.size(), 1u);
        EXPECT_EQ(ToUtf8(r.Lines[0].Text), c.want) << c.text;
        EXPECT_EQ(r.Lines[0].MarkLeft, c.markLeft) << c.text;
        EXPECT_EQ(r.Lines[0].MarkRight, c.markRight) << c.text;
    }
    // The mark follows its letter onto a later line.
    const TextLayoutResult r = Layout("ab\ncd &ef", 100, 0);
    ASSERT_EQ(r.Lines.size(), 2u);
    EXPECT_EQ(r.Lines[0].MarkRight, 0);
    EXPECT_EQ(r.Lines[1].MarkLeft, 18);
}

TEST(TextLayout, PlacesLinesByAlignmentFlags) {
    struct Case {
        const char* text;
        uint32_t format;
        int32_t x, y, height;
    };
    // Rectangle (10, 20)-(110, 60); "abcd" is 24 wide, lines 10 high.
    const Case cases[] = {
        {"abcd", DT_SINGLELINE, 10, 20, 10},
        {"abcd", DT_SINGLELINE | DT_CENTER, 48, 20, 10},
        {"abcd", DT_SINGLELINE | DT_RIGHT, 86, 20, 10},
        {"abcd", DT_SINGLELINE | DT_VCENTER, 10, 35, 25},
        {"abcd", DT_SINGLELINE | DT_BOTTOM, 10, 50, 40},
        {"abcd", DT_SINGLELINE | DT_VCENTER | DT_CENTER, 48, 35, 25},
        {"abcd\nx", DT_VCENTER, 10, 20, 20},
        {"abcd\nx", DT_BOTTOM | DT_RIGHT, 86, 20, 20},
    };
    const FixedMeasurer m;
    for (const Case& c : cases) {
        const TextLayoutResult r = LayoutText(m, ToUtf32(c.text), RECT{10, 20, 110, 60}, c.format);
        ASSERT_FALSE(r.Lines.empty());
        EXPECT_EQ(r.Lines[0].X, c.x) << c.text << " format " << c.format;
        EXPECT_EQ(r.Lines[0].Y, c.y) << c.text << " format " << c.format;
        EXPECT_EQ(r.Height, c.height) << c.text << " format " << c.format;
    }
}

TEST(TextLayout, BoundsCoverWidestLineAndAllLines) {
    const FixedMeasurer m;
    const RECT rect{5, 7, 100, 8};
    EXPECT_EQ(LayoutText(m, U"aaa\nbbbbb", rect, DT_CENTER).Bounds, (RECT{5, 7, 35, 27}));
    EXPECT_EQ(LayoutText(m, U"", rect, DT_WORDBREAK).Bounds, (RECT{5, 7, 5, 7}));
    EXPECT_EQ(LayoutText(m, U"a\tb", rect, DT_EXPANDTABS | DT_SINGLELINE).Bounds,
              (RECT{5, 7, 59, 17}));
    EXPECT_EQ(LayoutText(m, U"a\tb", rect, DT_SINGLELINE).Bounds, (RECT{5, 7, 17, 17}));
    // Rectangles at the ends of the range stay in range.
    const RECT huge{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    const TextLayoutResult r = LayoutText(m, U"abcd", huge, DT_SINGLELINE | DT_VCENTER | DT_CENTER);
    EXPECT_EQ(r.Lines[0].X, -12);
    EXPECT_EQ(r.Lines[0].Y, -5);
    EXPECT_EQ(r.Bounds, (RECT{INT32_MIN, INT32_MIN, INT32_MIN + 24, INT32_MIN + 10}));
    EXPECT_EQ(r.Height, INT32_MAX);
}

TEST(StdFont, BoldAndWeightAreOneProperty) {
    struct Case {
        int16_t weight;
        bool bold;
    };
    for (const Case c : {Case{400, false}, Case{549, false}, Case{550, true}, Case{900, true}}) {
        StdFont f;
        f.SetWeight(c.weight);
        EXPECT_EQ(f.Bold(), c.bold) << "weight " << c.weight;
    }
    StdFont f;
    EXPECT_EQ(f.Name(), "MS Sans Serif");
    EXPECT_DOUBLE_EQ(f.Size(), 8.25);
    f.SetBold(true);
    EXPECT_EQ(f.Weight(), 700);
    f.SetBold(false);
    EXPECT_EQ(f.Weight(), 400);
    EXPECT_EQ(f.PixelHeight(), -11);
    f.SetSize(12);
    EXPECT_EQ(f.PixelHeight(), -16);
}

// The engine's tests use the fonts the build's packages install.
class FontEngineTest : public ::testing::Test {
protected:
    static FontEngine& Engine() {
        static FontEngine engine;
        return engine;
    }
    static const FontInstance& Font(const char* family, int32_t height = -11,
                                    bool underline = false) {
        FontRequest r;
        r.Family = family;
        r.Height = height;
        r.Underline = underline;
        const FontInstance* f = Engine().Open(r);
        EXPECT_NE(f, nullptr);
        return *f;
    }
};

TEST_F(FontEngineTest, MatchesFamiliesToFiles) {
    struct Case {
        const char* family;
        bool bold;
        const char* want;
    };
    const Case cases[] = {
        {"Tahoma", false, "/usr/share/wine/fonts/tahoma.ttf"},
        {"tahoma", false, "/usr/share/wine/fonts/tahoma.ttf"},
        {"Tahoma", true, "/usr/share/wine/fonts/tahomabd.ttf"},
        {"MS Sans Serif", false, "/usr/share/wine/fonts/ms_sans_serif.ttf"},
        {"No Such Family", false, "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"},
        {"", false, "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"},
    };
    ASSERT_TRUE(Engine().Ready());
    for (const Case& c : cases) {
        EXPECT_EQ(Engine().MatchFile(c.family, c.bold, false), c.want) << c.family;
    }
}

TEST_F(FontEngineTest, MetricsAreThoseOf96Dpi) {
    struct Case {
        const char* family;
        int32_t height;
        TextMetrics want;
    };
    const Case cases[] = {
        {"Tahoma", -11, {13, 11, 2, 2, 7}},
        {"Tahoma", 13, {13, 11, 2, 2, 7}},
        {"Tahoma", -16, {19, 16, 3, 3, 10}},
        {"MS Sans Serif", -11, {13, 11, 2, 0, 4}},
        {"DejaVu Sans", -11, {13, 10, 3, 2, 6}},
        {"Tahoma", 0, {13, 11, 2, 2, 7}},
        {"Tahoma", INT32_MIN, {2414, 2001, 413, 414, 1197}},
        {"Tahoma", INT32_MAX, {2414, 2001, 413, 414, 1197}},
    };
    for (const Case& c : cases) {
        const TextMetrics m = Engine().GetTextMetrics(Font(c.family, c.height));
        EXPECT_EQ(m.tmHeight, c.want.tmHeight) << c.family << " " << c.height;
        EXPECT_EQ(m.tmAscent, c.want.tmAscent) << c.family << " " << c.height;
        EXPECT_EQ(m.tmDescent, c.want.tmDescent) << c.family << " " << c.height;
        EXPECT_EQ(m.tmInternalLeading, c.want.tmInternalLeading) << c.family << " " << c.height;
        EXPECT_EQ(m.tmAveCharWidth, c.want.tmAveCharWidth) << c.family << " " << c.height;
    }
    StdFont tahoma8;
    tahoma8.SetName("Tahoma");
    tahoma8.SetSize(8);
    EXPECT_EQ(Engine().Open(tahoma8), &Font("Tahoma", -11));
}

TEST_F(FontEngineTest, SecondMeasureComesFromTheGlyphCache) {
    const FontInstance& f = Font("Tahoma", -23);
    const int64_t loads = Engine().GlyphLoads();
    const int64_t hits = Engine().GlyphHits();
    const TextSize first = Engine().GetTextExtentPoint32(f, std::string_view("Hello"));
    EXPECT_EQ(Engine().GlyphLoads() - loads, 4);  // H e l o
    const TextSize second = Engine().GetTextExtentPoint32(f, std::string_view("Hello"));
    EXPECT_EQ(Engine().GlyphLoads() - loads, 4);
    EXPECT_EQ(Engine().GlyphHits() - hits, 6);
    EXPECT_EQ(first.cx, second.cx);
    EXPECT_EQ(first.cy, Engine().GetTextMetrics(f).tmHeight);
    EXPECT_GT(first.cx, 0);
}

struct Canvas {
    PixelBuffer pixels;
    explicit Canvas(int32_t w = 200, int32_t h = 80) { pixels.Allocate(w, h, RowOrder::TopDown); }
    RECT Ink() const {  // the bounding box of touched pixels
        RECT box{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
        for (int32_t y = 0; y < pixels.Height(); ++y) {
            for (int32_t x = 0; x < pixels.Width(); ++x) {
                if (pixels.Pixel(x, y)[3] == 0)
                    continue;
                box = {std::min(box.Left, x), std::min(box.Top, y), std::max(box.Right, x + 1),
                       std::max(box.Bottom, y + 1)};
            }
        }
        return box.Left == INT32_MAX ? RECT{} : box;
    }
    bool Same(const Canvas& other) const {
        return std::equal(pixels.Bits(), pixels.Bits() + pixels.ByteSize(), other.pixels.Bits());
    }
};

const Region kAll = Region::CreateRectRgn(-10000, -10000, 10000, 10000);

TEST_F(FontEngineTest, DrawingStaysInsideTheCalculatedRectangle) {
    struct Case {
        const char* text;
        uint32_t format;
        int32_t width;
    };
    const Case cases[] = {
        {"Hello, World", DT_SINGLELINE, 200},
        {"Quickly jumping gypsy fox", DT_WORDBREAK | DT_CENTER, 70},
        {"Right\naligned lines", DT_RIGHT, 150},
        {"Cut off with dots at the end", DT_SINGLELINE | DT_END_ELLIPSIS, 60},
        {"&Underlined, yes", DT_SINGLELINE, 200},
    };
    for (const Case& c : cases) {
        Canvas canvas;
        RECT calc{3, 4, 3 + c.width, 4};
        const int32_t calcHeight = DrawText(Engine(), Font("Tahoma"), canvas.pixels, kAll, c.text,
                                            calc, c.format | DT_CALCRECT, 0xFFFFFF);
        EXPECT_EQ(canvas.Ink(), RECT{}) << "calc-rect drew: " << c.text;
        RECT draw = calc;
        const int32_t drawHeight = DrawText(Engine(), Font("Tahoma"), canvas.pixels, kAll, c.text,
                                            draw, c.format, 0xFFFFFF);
        EXPECT_EQ(drawHeight, calcHeight) << c.text;
        EXPECT_EQ(draw, calc) << "drawing moved the rectangle: " << c.text;
        const RECT ink = canvas.Ink();
        ASSERT_FALSE(ink.IsEmpty()) << "nothing drawn: " << c.text;
        EXPECT_TRUE(ink.Left >= calc.Left && ink.Top >= calc.Top && ink.Right <= calc.Right &&
                    ink.Bottom <= calc.Bottom)
            << c.text << ": have ink " << ink.Left << "," << ink.Top << "-" << ink.Right << ","
            << ink.Bottom << ", want inside " << calc.Left << "," << calc.Top << "-" << calc.Right
            << "," << calc.Bottom;
        EXPECT_LE(calc.Width(), c.width) << c.text;
    }
}

TEST_F(FontEngineTest, PrefixUnderlinesTheMarkedLetterOnly) {
    Canvas plain, marked;
    RECT r1{0, 0, 200, 40}, r2 = r1;
    DrawText(Engine(), Font("Tahoma"), plain.pixels, kAll, "Ab", r1, 0, 0xFFFFFF);
    DrawText(Engine(), Font("Tahoma"), marked.pixels, kAll, "&Ab", r2, 0, 0xFFFFFF);
    const int32_t widthA = Engine().GetTextExtentPoint32(Font("Tahoma"), std::string_view("A")).cx;
    const int32_t underline = Engine().GetLineMarks(Font("Tahoma")).UnderlineTop;
    EXPECT_EQ(underline, 12);
    for (int32_t y = 0; y < 40; ++y) {
        for (int32_t x = 0; x < 200; ++x) {
            const bool differs = plain.pixels.Pixel(x, y)[3] != marked.pixels.Pixel(x, y)[3];
            const bool onMark = y == underline && x < widthA;
            EXPECT_EQ(differs, onMark) << "pixel " << x << "," << y;
            if (onMark) {
                EXPECT_EQ(marked.pixels.Pixel(x, y)[0], 0xFF);
            }
        }
    }
}

TEST_F(FontEngineTest, DoubleAmpersandPrintsOne) {
    Canvas prefixed, literal;
    RECT r1{0, 0, 200, 40}, r2 = r1;
    DrawText(Engine(), Font("Tahoma"), prefixed.pixels, kAll, "a&&b", r1, 0, 0x00FF00);
    DrawText(Engine(), Font("Tahoma"), literal.pixels, kAll, "a&b", r2, DT_NOPREFIX, 0x00FF00);
    EXPECT_FALSE(prefixed.Ink().IsEmpty());
    EXPECT_TRUE(prefixed.Same(literal));
}

TEST_F(FontEngineTest, VerticalCentreSplitsTheSpareRows) {
    Canvas canvas(100, 40);
    RECT rect{0, 0, 100, 40};
    const int32_t h = DrawText(Engine(), Font("Tahoma"), canvas.pixels, kAll, "_", rect,
                               DT_SINGLELINE | DT_VCENTER, 0xFFFFFF);
    // (40 - 13) / 2 = 13: the cell is rows 13..25.
    EXPECT_EQ(h, 26);
    const RECT ink = canvas.Ink();
    EXPECT_GE(ink.Top, 13);
    EXPECT_LE(ink.Bottom, 26);
}

TEST_F(FontEngineTest, NothingToDrawLeavesPixelsAlone) {
    struct Case {
        const char* text;
        RECT rect;
        uint32_t format;
        int32_t height;
    };
    const Case cases[] = {
        {"", {0, 0, 100, 40}, 0, 0},
        {"", {0, 0, 100, 40}, DT_WORDBREAK | DT_CALCRECT, 0},
        {"Text", {10, 0, 10, 40}, DT_SINGLELINE, 13},
        {"Text here", {10, 0, 10, 40}, DT_WORDBREAK, 13 * 8},
        {"Text", {10, 5, 90, 5}, DT_SINGLELINE, 13},
    };
    for (const Case& c : cases) {
        Canvas canvas;
        RECT rect = c.rect;
        EXPECT_EQ(DrawText(Engine(), Font("Tahoma"), canvas.pixels, kAll, c.text, rect, c.format,
                           0xFFFFFF),
                  c.height)
            << c.text;
        EXPECT_EQ(canvas.Ink(), RECT{}) << c.text;
    }
    RECT rect{4, 6, 100, 40};
    Canvas canvas;
    DrawText(Engine(), Font("Tahoma"), canvas.pixels, kAll, "", rect, DT_CALCRECT, 0);
    EXPECT_EQ(rect, (RECT{4, 6, 4, 6}));
}

TEST_F(FontEngineTest, TextOutBlendsTowardsTheColourWithinTheClip) {
    Canvas canvas(60, 20);
    for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 0; x < 60; ++x) {
            uint8_t* p = canvas.pixels.Pixel(x, y);
            p[0] = 10, p[1] = 20, p[2] = 30, p[3] = 40;
        }
    }
    const FontInstance& underlined = Font("Tahoma", -11, true);
    Engine().TextOut(underlined, canvas.pixels, RECT{0, 0, 20, 20}, 2, 0, "WWWWWW", 0xF0E0D0);
    const int32_t line = Engine().GetLineMarks(underlined).UnderlineTop;
    for (int32_t x = 0; x < 60; ++x) {
        const uint8_t* p = canvas.pixels.Pixel(x, line);
        const bool under = x >= 2 && x < 20;
        EXPECT_EQ(p[0], under ? 0xF0 : 10) << x;
        EXPECT_EQ(p[1], under ? 0xE0 : 20) << x;
        EXPECT_EQ(p[2], under ? 0xD0 : 30) << x;
        EXPECT_EQ(p[3], under ? 255 : 40) << x;
    }
    for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 0; x < 60; ++x) {
            const uint8_t* p = canvas.pixels.Pixel(x, y);
            if (x >= 20) {
                EXPECT_EQ(p[3], 40) << "outside the clip " << x << "," << y;
            }
            // Partial coverage moves every channel the same share of the way.
            if (p[3] != 40 && p[3] != 255) {
                const int32_t share = (p[3] - 40) * 1000 / (255 - 40);
                EXPECT_NEAR((p[0] - 10) * 1000 / (0xF0 - 10), share, 15) << x << "," << y;
            }
        }
    }
}

// The leftmost touched column of each of rows top and bottom - 1 of the ink.
std::pair<int32_t, int32_t> EdgeColumns(const Canvas& canvas) {
    const RECT ink = canvas.Ink();
    auto first = [&](int32_t y) {
        for (int32_t x = 0; x < canvas.pixels.Width(); ++x) {
            if (canvas.pixels.Pixel(x, y)[3] != 0)
                return x;
        }
        return -1;
    };
    return {first(ink.Top), first(ink.Bottom - 1)};
}

TEST_F(FontEngineTest, MissingStylesAreMadeUp) {
    struct Case {
        const char* family;
        int32_t height;
    };
    // Tahoma has no italic face, MS Sans Serif has neither bold nor italic
    // and only bitmaps.
    for (const Case c : {Case{"Tahoma", -16}, Case{"MS Sans Serif", -13}}) {
        FontRequest plain;
        plain.Family = c.family;
        plain.Height = c.height;
        FontRequest italic = plain, bold = plain;
        italic.Italic = true;
        bold.Bold = true;
        Canvas upright, slanted, heavy;
        Engine().TextOut(*Engine().Open(plain), upright.pixels, RECT{0, 0, 200, 80}, 10, 10, "l",
                         0xFFFFFF);
        Engine().TextOut(*Engine().Open(italic), slanted.pixels, RECT{0, 0, 200, 80}, 10, 10, "l",
                         0xFFFFFF);
        const auto [uprightTop, uprightBottom] = EdgeColumns(upright);
        const auto [slantedTop, slantedBottom] = EdgeColumns(slanted);
        EXPECT_EQ(uprightTop, uprightBottom) << c.family;
        EXPECT_GE(slantedTop - slantedBottom, 2) << c.family;
        const std::string_view word = "Hill";
        EXPECT_GT(Engine().GetTextExtentPoint32(*Engine().Open(bold), word).cx,
                  Engine().GetTextExtentPoint32(*Engine().Open(plain), word).cx)
            << c.family;
        // Bold strokes carry more ink, also where the bold face's own
        // outlines are the regular ones (Wine's Tahoma Bold).
        Engine().TextOut(*Engine().Open(bold), heavy.pixels, RECT{0, 0, 200, 80}, 10, 10, "l",
                         0xFFFFFF);
        const auto ink = [](const Canvas& canvas) {
            int64_t sum = 0;
            for (int32_t y = 0; y < canvas.pixels.Height(); ++y)
                for (int32_t x = 0; x < canvas.pixels.Width(); ++x)
                    sum += canvas.pixels.Pixel(x, y)[3];
            return sum;
        };
        EXPECT_GT(ink(heavy), ink(upright) * 5 / 4) << c.family;
    }
}

TEST_F(FontEngineTest, KerningNarrowsPairsWhereTheFaceHasIt) {
    const FontInstance& f = Font("DejaVu Sans", -40);
    auto width = [&](const char* s) {
        return Engine().GetTextExtentPoint32(f, std::string_view(s)).cx;
    };
    EXPECT_LT(width("AV"), width("A") + width("V"));
    EXPECT_EQ(width("HH"), 2 * width("H"));
}

TEST_F(FontEngineTest, StrikeThroughCrossesTheLetters) {
    FontRequest r;
    r.Family = "Tahoma";
    r.Height = -11;
    r.Strikethrough = true;
    const FontInstance& struck = *Engine().Open(r);
    Canvas canvas;
    Engine().TextOut(struck, canvas.pixels, RECT{0, 0, 200, 80}, 0, 0, "ace", 0xFFFFFF);
    const int32_t width = Engine().GetTextExtentPoint32(struck, std::string_view("ace")).cx;
    const int32_t row = Engine().GetLineMarks(struck).StrikeTop;
    EXPECT_EQ(row, 7);
    for (int32_t x = 0; x < 200; ++x) {
        EXPECT_EQ(canvas.pixels.Pixel(x, row)[3], x < width ? 255 : 0) << x;
    }
}

}  // namespace
}  // namespace kelvara
