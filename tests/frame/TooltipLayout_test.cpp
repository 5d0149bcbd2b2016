#include "kelvara/frame/detail/TooltipLayout.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvara::detail {
namespace {

std::string Show(const RECT& r) {
    return "{" + std::to_string(r.Left) + "," + std::to_string(r.Top) + "," +
           std::to_string(r.Right) + "," + std::to_string(r.Bottom) + "}";
}

constexpr RECT kWork{0, 0, 1366, 728};

TEST(PlaceTip, BelowTheCursorOrTheToolAndKeptOnTheWorkArea) {
    struct Case {
        const char* what;
        SIZE box;
        bool balloon;
        bool centered;
        POINT cursor;
        RECT tool;
        RECT work;
        RECT window;
        POINT boxAt;
        POINT stem;
        bool stemUp;
    } cases[] = {
        // clang-format off
        {"below the cursor", {100, 20}, false, false, {200, 300}, {}, kWork,
         {200, 320, 300, 340}, {0, 0}, {0, 0}, true},
        {"above when the bottom is near", {100, 20}, false, false, {200, 715}, {}, kWork,
         {200, 693, 300, 713}, {0, 0}, {0, 0}, false},
        {"just fits below", {100, 20}, false, false, {200, 688}, {}, kWork,
         {200, 708, 300, 728}, {0, 0}, {0, 0}, true},
        {"pushed in from the right", {100, 20}, false, false, {1300, 300}, {}, kWork,
         {1266, 320, 1366, 340}, {0, 0}, {0, 0}, true},
        {"pushed in from the left of a work area", {100, 20}, false, false, {50, 300}, {},
         RECT{100, 0, 1366, 728}, {100, 320, 200, 340}, {0, 0}, {0, 0}, true},
        {"centred under the tool", {100, 20}, false, true, {0, 0}, {100, 100, 181, 130}, kWork,
         {90, 132, 190, 152}, {0, 0}, {0, 0}, true},
        {"centred above a low tool", {100, 20}, false, true, {0, 0}, {100, 700, 180, 720}, kWork,
         {90, 678, 190, 698}, {0, 0}, {0, 0}, false},
        {"balloon: the stem's point below the cursor", {120, 40}, true, false, {200, 300}, {},
         kWork, {189, 320, 309, 375}, {0, kStemHeight}, {11, 0}, true},
        {"balloon at the right edge: the stem moves, not the spot", {120, 40}, true, false,
         {1340, 300}, {}, kWork, {1246, 320, 1366, 375}, {0, kStemHeight}, {94, 0}, true},
        {"balloon at the very edge: the stem stays off the corner", {120, 40}, true, false,
         {1365, 300}, {}, kWork, {1246, 320, 1366, 375}, {0, kStemHeight}, {108, 0}, true},
        {"balloon above, stem down", {120, 40}, true, false, {200, 700}, {}, kWork,
         {189, 643, 309, 698}, {0, 0}, {11, 54}, false},
        {"balloon centred under the tool", {120, 40}, true, true, {0, 0}, {100, 100, 200, 140},
         kWork, {90, 142, 210, 197}, {0, kStemHeight}, {60, 0}, true},
        // clang-format on
    };
    for (const Case& c : cases) {
        const TipPlace p = PlaceTip(c.box, c.balloon, c.centered, c.cursor, c.tool, c.work);
        EXPECT_EQ(p.window, c.window) << c.what << ": have " << Show(p.window);
        EXPECT_EQ(p.boxAt, c.boxAt) << c.what;
        EXPECT_EQ(p.stemUp, c.stemUp) << c.what;
        if (c.balloon) {
            EXPECT_EQ(p.stemPoint, c.stem)
                << c.what << ": have " << p.stemPoint.X << "," << p.stemPoint.Y;
        }
    }
}

TEST(TipRegion, ABalloonIsARoundedBoxWithAStemOnTheSpot) {
    const SIZE box{120, 40};
    for (const bool up : {true, false}) {
        const TipPlace p =
            PlaceTip(box, true, false, up ? POINT{200, 300} : POINT{200, 700}, {}, kWork);
        const Region r = TipRegion(box, true, p);
        RECT bounds;
        r.GetRgnBox(bounds);
        EXPECT_EQ(bounds, (RECT{0, 0, 120, 55})) << up;
        const int32_t boxTop = p.boxAt.Y;
        const int32_t stemTip = p.stemPoint.Y;
        const int32_t step = up ? 1 : -1;  // from the point towards the box
        // The point is one pixel wide; the stem widens towards the box and
        // leans to the middle.
        EXPECT_TRUE(r.PtInRegion(11, stemTip)) << up;
        EXPECT_FALSE(r.PtInRegion(10, stemTip)) << up;
        EXPECT_FALSE(r.PtInRegion(12, stemTip)) << up;
        const int32_t lastStemRow = stemTip + step * (kStemHeight - 1);
        EXPECT_TRUE(r.PtInRegion(11 + kStemWidth - 1, lastStemRow)) << up;
        EXPECT_FALSE(r.PtInRegion(11 + kStemWidth, lastStemRow)) << up;
        EXPECT_FALSE(r.PtInRegion(10, lastStemRow)) << up;
        // Rounded corners, straight sides.
        const int32_t top = boxTop;
        const int32_t bottom = boxTop + box.cy - 1;
        for (const POINT corner :
             {POINT{0, top}, POINT{119, top}, POINT{0, bottom}, POINT{119, bottom}}) {
            EXPECT_FALSE(r.PtInRegion(corner.X, corner.Y))
                << up << " " << corner.X << "," << corner.Y;
        }
        EXPECT_TRUE(r.PtInRegion(0, top + box.cy / 2)) << up;
        EXPECT_TRUE(r.PtInRegion(119, top + box.cy / 2)) << up;
        EXPECT_TRUE(r.PtInRegion(60, top)) << up;
    }
    // A standard tip is its box.
    const TipPlace p = PlaceTip(SIZE{80, 18}, false, false, {200, 300}, {}, kWork);
    EXPECT_EQ(TipRegion(SIZE{80, 18}, false, p), Region::CreateRectRgn(0, 0, 80, 18));
}

// A canvas of the tip's size.
struct Picture {
    PixelBuffer pixels;
    Canvas canvas{pixels};
    Picture(int32_t w, int32_t h) { pixels.Allocate(w, h); }
};

TipContent Content(bool balloon, int32_t icon, std::string title, std::string text) {
    TipContent c;
    c.balloon = balloon;
    c.icon = icon;
    c.title = std::move(title);
    c.text = std::move(text);
    c.textColor = 0x000080;
    c.backColor = 0xE1FFFF;
    return c;
}

TEST(MeasureTip, TheContentSitsInsideTheMarginsTitleRowFirst) {
    Picture scratch(1, 1);
    const TipContent plain = Content(false, 0, "", "Save the record");
    const TipBox p = MeasureTip(scratch.canvas, plain);
    EXPECT_TRUE(p.icon.IsEmpty());
    EXPECT_TRUE(p.title.IsEmpty());
    EXPECT_EQ(p.text.Left, 1 + kStandardMarginX);
    EXPECT_EQ(p.text.Top, 1 + kStandardMarginY);
    EXPECT_EQ(p.size.cx, p.text.Right + 1 + kStandardMarginX);
    EXPECT_EQ(p.size.cy, p.text.Bottom + 1 + kStandardMarginY);
    EXPECT_GT(p.text.Width(), 40);

    const TipContent full = Content(true, 2, "Attention", "Save the record");
    const TipBox f = MeasureTip(scratch.canvas, full);
    EXPECT_EQ(f.icon, (RECT{kBalloonMarginX, f.icon.Top, kBalloonMarginX + kIconSize,
                            f.icon.Top + kIconSize}));
    EXPECT_GE(f.icon.Top, kBalloonMarginY);
    EXPECT_EQ(f.title.Left, f.icon.Right + kIconGap);
    EXPECT_EQ(f.text.Top, std::max(f.icon.Bottom, f.title.Bottom) + kTitleGap);
    EXPECT_EQ(f.text.Width(), p.text.Width());
    EXPECT_EQ(f.size.cy, f.text.Bottom + kBalloonMarginY);
    EXPECT_EQ(f.size.cx, std::max(f.title.Right, f.text.Right) + kBalloonMarginX);

    // An icon without a title keeps no gap for one.
    const TipBox i = MeasureTip(scratch.canvas, Content(false, 1, "", "x"));
    EXPECT_TRUE(i.title.IsEmpty());
    EXPECT_EQ(i.icon.Top, 1 + kStandardMarginY);
}

TEST(MeasureTip, LineBreaksAndAMaximumWidthMakeMoreLines) {
    Picture scratch(1, 1);
    const int32_t one = MeasureTip(scratch.canvas, Content(false, 0, "", "First")).text.Height();
    for (const char* text : {"First\r\nSecond", "First\nSecond", "First\rSecond"}) {
        const TipBox b = MeasureTip(scratch.canvas, Content(false, 0, "", text));
        EXPECT_EQ(b.text.Height(), 2 * one) << text;
    }
    TipContent wrapped = Content(false, 0, "", "one two three four five six seven eight");
    const int32_t wide = MeasureTip(scratch.canvas, wrapped).text.Width();
    wrapped.maxWidth = wide / 2;
    const TipBox w = MeasureTip(scratch.canvas, wrapped);
    EXPECT_LE(w.text.Width(), wide / 2);
    EXPECT_GE(w.text.Height(), 2 * one);
}

uint32_t At(const Picture& p, int32_t x, int32_t y) {
    const uint8_t* px = p.pixels.Pixel(x, y);
    return uint32_t{px[0]} << 16 | uint32_t{px[1]} << 8 | px[2];  // as 0x00BBGGRR
}

TEST(PaintTip, FillsFramesAndWritesInTheTipsColours) {
    for (const bool balloon : {false, true}) {
        const TipContent c = Content(balloon, 0, "", "Hello, tooltip world");
        Picture scratch(1, 1);
        const TipBox box = MeasureTip(scratch.canvas, c);
        const TipPlace place = PlaceTip(box.size, balloon, false, {300, 300}, {}, kWork);
        Picture tip(place.window.Width(), place.window.Height());
        PaintTip(tip.canvas, c, box, place);
        const int32_t top = place.boxAt.Y;
        const int32_t midY = top + box.size.cy / 2;
        EXPECT_EQ(At(tip, 0, midY), kTipBorder) << balloon;
        EXPECT_EQ(At(tip, box.size.cx - 1, midY), kTipBorder) << balloon;
        EXPECT_EQ(At(tip, box.size.cx - 20, top), kTipBorder) << balloon;
        EXPECT_EQ(At(tip, box.size.cx / 2, top + box.size.cy - 1), kTipBorder) << balloon;
        EXPECT_EQ(At(tip, 1, midY), c.backColor) << balloon;
        if (balloon) {
            // The stem is outlined and filled, and open to the box.
            const POINT s = place.stemPoint;
            EXPECT_EQ(At(tip, s.X, s.Y), kTipBorder);
            EXPECT_EQ(At(tip, s.X + 1, s.Y + 6), c.backColor);
            EXPECT_EQ(At(tip, s.X + 1, top), c.backColor);
        }
        // The text is there, in the text colour: the strongest stroke
        // pixel is at least three quarters of the way from the fill to it
        // (strokes are anti-aliased), and nothing is written outside the
        // text's box but the frame.
        int32_t strongest = 0;
        for (int32_t y = box.text.Top; y < box.text.Bottom; ++y) {
            for (int32_t x = box.text.Left; x < box.text.Right; ++x) {
                const uint32_t px = At(tip, x + place.boxAt.X, y + place.boxAt.Y);
                // Red goes 0xFF → 0x80, green 0xFF → 0, blue 0xE1 → 0.
                strongest = std::max(strongest, 0xFF - static_cast<int32_t>((px >> 8) & 0xFF));
            }
        }
        EXPECT_GE(strongest, 0xFF * 3 / 4) << balloon;
        EXPECT_EQ(At(tip, box.text.Left + place.boxAt.X - 1, midY), c.backColor) << balloon;
    }
}

TEST(DrawTipIcon, DrawsEachIconWithinItsSquare) {
    constexpr COLORREF kBack = 0x00FF00;
    struct Case {
        int32_t icon;
        POINT at;
        COLORREF want;
    } cases[] = {
        // The white letter and cross, the dark mark, whole pixels of them.
        {1, {7, 8}, 0xFFFFFF},
        {1, {8, 10}, 0xFFFFFF},
        {2, {7, 7}, 0x202020},
        {2, {8, 8}, 0x202020},
        {3, {7, 7}, 0xFFFFFF},
        {3, {8, 8}, 0xFFFFFF},
        // Outside the round shapes and the triangle nothing changes.
        {1, {0, 0}, kBack},
        {1, {15, 15}, kBack},
        {2, {0, 0}, kBack},
        {2, {15, 0}, kBack},
        {3, {0, 15}, kBack},
    };
    for (const Case& c : cases) {
        Picture p(20, 20);
        p.canvas.FillRect(RECT{0, 0, 20, 20}, kBack);
        DrawTipIcon(p.canvas, c.icon, 2, 2);
        EXPECT_EQ(At(p, c.at.X + 2, c.at.Y + 2), c.want)
            << c.icon << " at " << c.at.X << "," << c.at.Y;
        // Nothing outside the square.
        for (int32_t i = 0; i < 20; ++i) {
            EXPECT_EQ(At(p, i, 0), kBack);
            EXPECT_EQ(At(p, 19, i), kBack);
        }
    }
    // The faces: blue, yellow, red.
    const auto face = [&](int32_t icon) {
        Picture p(16, 16);
        p.canvas.FillRect(RECT{0, 0, 16, 16}, kBack);
        DrawTipIcon(p.canvas, icon, 0, 0);
        return icon == 2 ? At(p, 5, 12) : At(p, 4, 8);  // clear of the marks and rims
    };
    const auto channel = [](COLORREF c, int shift) { return (c >> shift) & 0xFF; };
    EXPECT_GT(channel(face(1), 16), channel(face(1), 0));  // blue over red
    EXPECT_GT(channel(face(2), 0), channel(face(2), 16));  // red and green over blue
    EXPECT_GT(channel(face(2), 8), channel(face(2), 16));
    EXPECT_GT(channel(face(3), 0), channel(face(3), 8));  // red over green
    // No icon draws nothing.
    Picture none(16, 16);
    none.canvas.FillRect(RECT{0, 0, 16, 16}, kBack);
    DrawTipIcon(none.canvas, 0, 0, 0);
    DrawTipIcon(none.canvas, 4, 0, 0);
    for (int32_t y = 0; y < 16; ++y) {
        for (int32_t x = 0; x < 16; ++x) {
            ASSERT_EQ(At(none, x, y), kBack);
        }
    }
}

}  // namespace
}  // namespace kelvara::detail
