#include "kelvara/input/detail/Glyphs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvara::detail {
namespace {

using Picture = std::vector<std::string>;

std::string Hex(COLORREF c) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", c);
    return text;
}

std::string Show(const GlyphColors& c) {
    return Hex(c.frame) + " " + Hex(c.fillTop) + "-" + Hex(c.fillBottom) + " " + Hex(c.mark);
}

// Colours worked out by hand from the palette: the frame, the inside's top
// and bottom rows, the mark.
struct LookCase {
    ENUM_THEME theme;
    int32_t look;
    const char* want;
};

TEST(GlyphColors, EachThemeAndLookTakesItsColoursFromThePalette) {
    const LookCase cases[] = {
        // Office: the frame slot at rest, the button's hot and pressed faces.
        {ENUM_THEME::OfficeThemeBlue, 0, "E2A981 FFFFFF-FFE3CE 824921"},
        {ENUM_THEME::OfficeThemeBlue, 1, "49D3FF BBF2FF-92E6FF 824921"},
        {ENUM_THEME::OfficeThemeSilver, 2, "42AEFE A4D6FF-70D8FE 202020"},
        // Solid themes: tints of the theme colour (+140, +120, +100).
        {ENUM_THEME::WindowsTheme, 0, "9A572B FFFFFF-FFE3B7 9A572B"},
        {ENUM_THEME::WindowsThemeGreen, 1, "275C00 CDFF8C-B9EC78 417400"},
        {ENUM_THEME::WindowsThemeRed, 2, "1F1F5E C8C8FF-B4B4FF 1F1F5E"},
        // Light: its own resting frame, the pressed slot as accent.
        {ENUM_THEME::WindowsThemeLight, 0, "C3AA88 FFFFFF-FFE8CC 935618"},
        {ENUM_THEME::WindowsThemeLight, 1, "F3B678 FFFFFF-FFCFA3 935618"},
        {ENUM_THEME::WindowsThemeLight, 2, "CB8E50 FFCFA3-F3B678 935618"},
        // Disabled: the disabled frame slot (darker in the light theme), a flat
        // inside, a darker mark.
        {ENUM_THEME::WindowsThemeOrange, 3, "DBCECC F4F4F4-F4F4F4 9B8E8C"},
        {ENUM_THEME::WindowsThemeLight, 3, "C3C3C3 F4F4F4-F4F4F4 ABABAB"},
        // Out of range: a theme draws as Windows Theme, a look as normal.
        {static_cast<ENUM_THEME>(99), 0, "9A572B FFFFFF-FFE3B7 9A572B"},
        {ENUM_THEME::WindowsTheme, 7, "9A572B FFFFFF-FFE3B7 9A572B"},
    };
    for (const LookCase& c : cases) {
        EXPECT_EQ(Show(GlyphColorsFor(c.theme, c.look)), c.want)
            << "theme " << static_cast<int>(c.theme) << " look " << c.look;
    }
}

// A 13 x 13 glyph on a surface of kBack, read back as characters: '#'
// frame, '.' inside, 'x' mark, ' ' untouched.
Picture Draw(bool option, CheckMark mark) {
    constexpr COLORREF kBack = 0x123456;
    const GlyphColors colors{0x0000FF, 0xFFFFFF, 0xFFFFFF, 0x00FF00};
    PixelBuffer pixels;
    EXPECT_TRUE(pixels.Allocate(15, 15));
    Canvas dc(pixels);
    dc.FillRect(RECT{0, 0, 15, 15}, kBack);
    if (option) {
        PaintOptionGlyph(dc, 1, 1, colors, mark != CheckMark::None);
    } else {
        PaintCheckGlyph(dc, 1, 1, colors, mark);
    }
    Picture out;
    for (int32_t y = 0; y < 15; ++y) {
        std::string row;
        for (int32_t x = 0; x < 15; ++x) {
            const COLORREF c = dc.GetPixel(x, y);
            row += c == colors.frame     ? '#'
                   : c == colors.fillTop ? '.'
                   : c == colors.mark    ? 'x'
                   : c == kBack          ? ' '
                                         : '?';
        }
        out.push_back(row);
    }
    return out;
}

struct GlyphCase {
    const char* name;
    bool option;
    CheckMark mark;
    Picture want;
};

TEST(Glyphs, EveryPixelOfEachGlyph) {
    const GlyphCase cases[] = {
        {"check box, unchecked",
         false,
         CheckMark::None,
         {"               ", " ############# ", " #...........# ", " #...........# ",
          " #...........# ", " #...........# ", " #...........# ", " #...........# ",
          " #...........# ", " #...........# ", " #...........# ", " #...........# ",
          " #...........# ", " ############# ", "               "}},
        {"check box, checked",
         false,
         CheckMark::Checked,
         {"               ", " ############# ", " #...........# ", " #...........# ",
          " #........x..# ", " #.......xx..# ", " #..x...xxx..# ", " #..xx.xxx...# ",
          " #..xxxxx....# ", " #...xxx.....# ", " #....x......# ", " #...........# ",
          " #...........# ", " ############# ", "               "}},
        {"check box, grayed",
         false,
         CheckMark::Mixed,
         {"               ", " ############# ", " #...........# ", " #...........# ",
          " #...........# ", " #...xxxxx...# ", " #...xxxxx...# ", " #...xxxxx...# ",
          " #...xxxxx...# ", " #...xxxxx...# ", " #...........# ", " #...........# ",
          " #...........# ", " ############# ", "               "}},
        {"option, not chosen",
         true,
         CheckMark::None,
         {"               ", "     #####     ", "   ##.....##   ", "  #.........#  ",
          "  #.........#  ", " #...........# ", " #...........# ", " #...........# ",
          " #...........# ", " #...........# ", "  #.........#  ", "  #.........#  ",
          "   ##.....##   ", "     #####     ", "               "}},
        {"option, chosen",
         true,
         CheckMark::Checked,
         {"               ", "     #####     ", "   ##.....##   ", "  #.........#  ",
          "  #.........#  ", " #....xxx....# ", " #...xxxxx...# ", " #...xxxxx...# ",
          " #...xxxxx...# ", " #....xxx....# ", "  #.........#  ", "  #.........#  ",
          "   ##.....##   ", "     #####     ", "               "}},
    };
    for (const GlyphCase& c : cases) {
        EXPECT_EQ(Draw(c.option, c.mark), c.want) << c.name;
    }
}

TEST(Glyphs, TheInsideRunsFromTopToBottomColourInBothShapes) {
    const GlyphColors colors{0x000000, 0x202020, 0x2A2A2A, 0xFFFFFF};
    PixelBuffer pixels;
    ASSERT_TRUE(pixels.Allocate(13, 13));
    Canvas dc(pixels);
    for (bool option : {false, true}) {
        if (option) {
            PaintOptionGlyph(dc, 0, 0, colors, false);
        } else {
            PaintCheckGlyph(dc, 0, 0, colors, CheckMark::None);
        }
        // Glyph rows 1 to 11 are inside rows 0 to 10: each channel
        // top + (bottom - top) * row / 10, one step per row here.
        for (int32_t row = 1; row <= 11; ++row) {
            const COLORREF want = 0x202020 + 0x010101 * static_cast<COLORREF>(row - 1);
            EXPECT_EQ(Hex(dc.GetPixel(6, row)), Hex(want)) << "option " << option << " row " << row;
        }
    }
}

}  // namespace
}  // namespace kelvara::detail
