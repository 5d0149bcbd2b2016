#include "kelvara/chrome/USButtonLayout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace kelvara {
namespace {

using A = ENUM_PIC_ALIGNMENTS;

std::string Show(const RECT& r) {
    return "(" + std::to_string(r.Left) + "," + std::to_string(r.Top) + "," +
           std::to_string(r.Right) + "," + std::to_string(r.Bottom) + ")";
}

// A 100 × 40 button, a caption measured 30 × 13 and a 16 × 16 picture: the
// caption alone sits centred at (35, 13).
ButtonLayoutInput Button(A alignment, bool withCaption) {
    ButtonLayoutInput in;
    in.Width = 100;
    in.Height = 40;
    in.HasCaption = withCaption;
    in.Caption = withCaption ? RECT{0, 0, 30, 13} : RECT{};
    in.HasPicture = true;
    in.Alignment = alignment;
    return in;
}

TEST(USButtonLayoutTest, EachAlignmentPlacesPictureAndCaption) {
    struct Case {
        A alignment;
        RECT picture;
        RECT caption;
    } cases[] = {
        {A::PictureBehindText, {42, 12, 58, 28}, {35, 13, 65, 26}},
        // Against the bottom edge; the caption goes up by half the room
        // above it.
        {A::PictureBottomEdge, {42, 21, 58, 37}, {35, 6, 65, 19}},
        // Caption and picture touch, the pair centred.
        {A::PictureBottomOfCaption, {42, 18, 58, 34}, {35, 5, 65, 18}},
        {A::PictureLeftEdge, {3, 12, 19, 28}, {53, 13, 83, 26}},
        // The pair is centred as a whole, which spreads them apart.
        {A::PictureLeftOfCaption, {16, 12, 32, 28}, {53, 13, 83, 26}},
        {A::PictureRightEdge, {81, 12, 97, 28}, {26, 13, 56, 26}},
        {A::PictureRightOfCaption, {67, 12, 83, 28}, {35, 13, 65, 26}},
        {A::PictureTopEdge, {42, 3, 58, 19}, {35, 21, 65, 34}},
        {A::PictureTopOfCaption, {42, 5, 58, 21}, {35, 21, 65, 34}},
    };
    for (const Case& c : cases) {
        const ButtonLayout got = LayoutButton(Button(c.alignment, true));
        EXPECT_TRUE(got.Valid);
        EXPECT_EQ(Show(got.PictureRect), Show(c.picture))
            << "picture, alignment " << static_cast<int>(c.alignment);
        EXPECT_EQ(Show(got.CaptionRect), Show(c.caption))
            << "caption, alignment " << static_cast<int>(c.alignment);
    }
}

TEST(USButtonLayoutTest, WithoutCaptionThePictureIsCentredButForItsEdge) {
    const RECT centred{42, 12, 58, 28};
    struct Case {
        A alignment;
        RECT picture;
    } cases[] = {
        {A::PictureBehindText, centred},      {A::PictureBottomEdge, {42, 21, 58, 37}},
        {A::PictureBottomOfCaption, centred}, {A::PictureLeftEdge, {3, 12, 19, 28}},
        {A::PictureLeftOfCaption, centred},   {A::PictureRightEdge, {81, 12, 97, 28}},
        {A::PictureRightOfCaption, centred},  {A::PictureTopEdge, {42, 3, 58, 19}},
        {A::PictureTopOfCaption, centred},
    };
    for (const Case& c : cases) {
        const ButtonLayout got = LayoutButton(Button(c.alignment, false));
        EXPECT_EQ(Show(got.PictureRect), Show(c.picture))
            << "alignment " << static_cast<int>(c.alignment);
    }
}

TEST(USButtonLayoutTest, SizeXIsTheHeightAndSizeYTheWidth) {
    ButtonLayoutInput in = Button(A::PictureBehindText, false);
    in.PictureSizeX = 10;
    in.PictureSizeY = 20;
    EXPECT_EQ(Show(LayoutButton(in).PictureRect), Show(RECT{40, 15, 60, 25}));
}

TEST(USButtonLayoutTest, NoPictureLeavesTheLayoutInvalid) {
    struct Case {
        bool caption;
        RECT want;
    } cases[] = {
        {true, {35, 13, 65, 26}},
        // An empty caption is an empty rectangle at the centre.
        {false, {50, 20, 50, 20}},
    };
    for (const Case& c : cases) {
        ButtonLayoutInput in = Button(A::PictureLeftOfCaption, c.caption);
        in.HasPicture = false;
        const ButtonLayout got = LayoutButton(in);
        EXPECT_FALSE(got.Valid);
        EXPECT_EQ(Show(got.CaptionRect), Show(c.want));
        EXPECT_EQ(Show(got.PictureRect), Show(RECT{}));
    }
}

TEST(USButtonLayoutTest, HalvesTruncateTowardsZero) {
    // A caption wider than the button: (15 - 30) / 2 is -7, not -8.
    ButtonLayoutInput in = Button(A::PictureLeftOfCaption, true);
    in.Width = 15;
    in.Height = 15;
    in.HasPicture = false;
    EXPECT_EQ(Show(LayoutButton(in).CaptionRect), Show(RECT{-7, 1, 23, 14}));
    // Odd room: 41 - 16 = 25 gives 12 above and 13 below.
    in = Button(A::PictureBehindText, false);
    in.Height = 41;
    EXPECT_EQ(Show(LayoutButton(in).PictureRect), Show(RECT{42, 12, 58, 28}));
}

TEST(USButtonLayoutTest, EdgeAlignmentsMoveTheCaptionOnlyWhenThereIsRoom) {
    // A picture against the left edge with a caption that fills the rest:
    // the room left (d = 1) is not split.
    ButtonLayoutInput in = Button(A::PictureLeftEdge, true);
    in.Caption = RECT{0, 0, 74, 13};
    // P (3..19); caption from the centre (13..87) back 16 and on 21: 18..92;
    // d = 100 - 3 - 92 = 5, so it moves 2 more.
    EXPECT_EQ(Show(LayoutButton(in).CaptionRect), Show(RECT{20, 13, 94, 26}));
    in.Caption = RECT{0, 0, 78, 13};
    // 11..89 → 16..94; d = 3 → 1 more.
    EXPECT_EQ(Show(LayoutButton(in).CaptionRect), Show(RECT{17, 13, 95, 26}));
    in.Caption = RECT{0, 0, 80, 13};
    // 10..90 → 15..95; d = 2 → 1 more.
    EXPECT_EQ(Show(LayoutButton(in).CaptionRect), Show(RECT{16, 13, 96, 26}));
    in.Caption = RECT{0, 0, 82, 13};
    // 9..91 → 14..96; d = 1: stays.
    EXPECT_EQ(Show(LayoutButton(in).CaptionRect), Show(RECT{14, 13, 96, 26}));
}

TEST(USButtonLayoutTest, AbsurdSizesStayWithinBounds) {
    // Stored sizes of any value lay out without overflow, each side taken
    // within 2^24 pixels.
    constexpr int32_t kBig = 1 << 24;
    ButtonLayoutInput in = Button(A::PictureRightOfCaption, true);
    in.PictureSizeX = INT32_MIN;
    in.PictureSizeY = INT32_MAX;
    const ButtonLayout got = LayoutButton(in);
    EXPECT_EQ(got.PictureRect.Width(), kBig);
    EXPECT_EQ(got.PictureRect.Height(), -kBig);
    in.Width = INT32_MAX;
    in.Caption = RECT{INT32_MIN, 0, INT32_MAX, 13};
    for (int32_t a = 0; a <= 9; ++a) {
        in.Alignment = static_cast<A>(a);
        const ButtonLayout any = LayoutButton(in);
        EXPECT_LE(std::abs(int64_t{any.CaptionRect.Left}), 4 * int64_t{kBig}) << a;
    }
}

}  // namespace
}  // namespace kelvara
