#include <gtest/gtest.h>

#include <vector>

#include "kelvara/frame/ColorRoutines.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/frame/ThemeColor.h"

namespace kelvara {
namespace {

using enum ENUM_THEME;

TEST(ThemeColor, LooksUpSlotsAndRefusesWhatIsOutside) {
    struct Case {
        ENUM_THEME theme;
        int32_t slot;
        int32_t want;
    } cases[] = {
        {OfficeThemeBlue, ThemeSlot::ForeColorDisabled, 0x008000},  // green on purpose
        {WindowsThemeLight, ThemeSlot::ForeColorDisabled, 0x404040},
        {WindowsTheme, ThemeSlot::Frame, 0x9A572B},
        {WindowsThemeOrange, ThemeSlot::GradientPressed + 2, 0x0A0288},
        {OfficeThemeSilver, ThemeSlot::GradientHot, 0xDBFDFF},
        {WindowsThemeLight, ThemeSlot::Selection2, 0xFFE8CC},
        {WindowsThemeBlack, ThemeSlot::ListBack, 0xF7F7F7},
        {static_cast<ENUM_THEME>(8), 0, 0},
        {static_cast<ENUM_THEME>(-1), 4, 0},
        {OfficeThemeBlue, 27, 0},
        {OfficeThemeBlue, -1, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ThemeColor(c.theme, c.slot), c.want)
            << "theme " << int(c.theme) << " slot " << c.slot;
    }
    // Themes 2 to 6 write white text in every state but the disabled one.
    for (int theme = 2; theme <= 6; ++theme) {
        for (int slot : {0, 2, 3}) {
            EXPECT_EQ(ThemeColor(static_cast<ENUM_THEME>(theme), slot), 0xFFFFFF);
        }
    }
}

TEST(ShiftRGBColor, ClampsEachChannelAndDropsTheHighByte) {
    struct Case {
        int32_t color;
        int16_t shift;
        int32_t want;
    } cases[] = {
        {RGB(255, 10, 0), 120, RGB(255, 130, 120)},
        {RGB(0, 200, 1), -1, RGB(0, 199, 0)},
        {RGB(10, 20, 30), 0, RGB(10, 20, 30)},
        {static_cast<int32_t>(0x8000000F), 1, RGB(16, 1, 1)},
        {RGB(100, 100, 100), -300, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ShiftRGBColor(c.color, c.shift), c.want) << std::hex << c.color;
    }
}

TEST(TranslateColor, ResolvesSystemColoursAndRefusesUnknownOnes) {
    EXPECT_EQ(TranslateColor(0x123456), 0x123456);
    EXPECT_EQ(TranslateColor(0x02123456), 0x123456);
    EXPECT_EQ(TranslateColor(static_cast<int32_t>(0x8000000F)), RGB(212, 208, 200));  // face
    EXPECT_EQ(TranslateColor(static_cast<int32_t>(0x80000005)), RGB(255, 255, 255));  // window
    EXPECT_EQ(TranslateColor(static_cast<int32_t>(0x80000018)), RGB(255, 255, 225));  // info
    EXPECT_EQ(TranslateColor(static_cast<int32_t>(0x8000001F)), -1);
    EXPECT_EQ(TranslateColor(0x01000003), -1);
}

// Pixels of GradientPixels, screen rows from the top.
std::vector<std::vector<uint32_t>> Screen(int32_t w, int32_t h, int32_t from, int32_t to,
                                          int32_t direction) {
    const std::vector<uint32_t> pixels = GradientPixels(w, h, from, to, direction);
    std::vector<std::vector<uint32_t>> rows;
    for (int32_t y = 0; y < h; ++y) {
        const auto* row = pixels.data() + static_cast<size_t>(h - 1 - y) * w;
        rows.emplace_back(row, row + w);
    }
    return rows;
}

TEST(GradientPixels, RampsInEveryDirection) {
    // from red 0x10 green 0x20 blue 0x30 to red 0x40 green 0x21 blue 0x00
    const int32_t from = RGB(0x10, 0x20, 0x30), to = RGB(0x40, 0x21, 0x00);
    using Rows = std::vector<std::vector<uint32_t>>;
    struct Case {
        int32_t w, h, direction;
        Rows want;
    } cases[] = {
        // across: n = 2, red 10 → 28 → 40, green 20 → 20 → 21 (truncated), blue 30 → 18 → 0
        {3, 2, 0, {{0x102030, 0x282018, 0x402100}, {0x102030, 0x282018, 0x402100}}},
        // down: the top row is ColorFrom
        {2, 2, 1, {{0x102030, 0x102030}, {0x402100, 0x402100}}},
        // diagonal from the top left: n = 3; top right equals (1, 1)
        {3, 2, 2, {{0x102030, 0x202020, 0x302010}, {0x202020, 0x302010, 0x402100}}},
        // diagonal from the bottom left
        {3, 2, 3, {{0x202020, 0x302010, 0x402100}, {0x102030, 0x202020, 0x302010}}},
        // one pixel: each channel halved before the sum
        {1, 1, 2, {{0x282018}}},
        // width 1 across: every row the mean
        {1, 3, 0, {{0x282018}, {0x282018}, {0x282018}}},
        // other directions paint black
        {2, 1, 4, {{0, 0}}},
        {2, 1, -1, {{0, 0}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Screen(c.w, c.h, from, to, c.direction), c.want)
            << c.w << "×" << c.h << " direction " << c.direction;
    }
    EXPECT_TRUE(GradientPixels(0, 5, from, to, 0).empty());
    EXPECT_TRUE(GradientPixels(5, -1, from, to, 0).empty());
    // A system colour is not translated: only its low bytes count.
    EXPECT_EQ(Screen(1, 1, static_cast<int32_t>(0x8000000F), static_cast<int32_t>(0x8000000F), 0),
              (Rows{{0x0E0000}}));  // red 0F halved twice
}

TEST(FourColorFace, BandsRoundHalfToEvenAndSolidFacesUseTheSumTest) {
    struct Case {
        int32_t height, want;
    } cases[] = {{24, 12}, {25, 12}, {27, 14}, {1, 0}, {3, 2}};
    for (const Case& c : cases) {
        const FaceBands bands = FourColorBands(c.height);
        EXPECT_EQ(bands.upperHeight, c.want) << c.height;
        EXPECT_EQ(bands.lowerTop, c.want) << c.height;
        EXPECT_EQ(bands.lowerHeight, c.want) << c.height;
    }
    EXPECT_TRUE(IsSolidFace(false, 5, 5, 1, 2));
    EXPECT_FALSE(IsSolidFace(false, 5, 6, 5, 5));
    EXPECT_TRUE(IsSolidFace(true, 5, 5, 5, 5));
    EXPECT_TRUE(IsSolidFace(true, 5, 4, 6, 5));  // sums match: counted as solid
    EXPECT_FALSE(IsSolidFace(true, 5, 5, 5, 6));
}

}  // namespace
}  // namespace kelvara
