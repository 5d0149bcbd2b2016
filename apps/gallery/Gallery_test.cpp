// The gallery's page as written by `kelvara-gallery --headless` (the test
// gallery.Writes runs it first): every listed picture is there at its
// size, and probes of exact pixels prove that the sheets show the states
// their captions name. Then the page's own text rules.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "GalleryForms.h"
#include "Page.h"
#include "Scenes.h"
#include "kelvara/chrome/USButtonTypes.h"
#include "kelvara/frame/ThemeColor.h"

namespace kelvara::gallery {
namespace {

const std::string kPage = GALLERY_PAGE;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The src of every <img> of a page, in order.
std::vector<std::string> ImagesOf(const std::string& html) {
    std::vector<std::string> found;
    const std::string open = "<img src=\"";
    for (size_t at = html.find(open); at != std::string::npos; at = html.find(open, at)) {
        at += open.size();
        const size_t end = html.find('"', at);
        if (end == std::string::npos) {
            break;
        }
        found.push_back(html.substr(at, end - at));
    }
    return found;
}

std::string Hex(uint32_t c) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", c);
    return text;
}

// A pixel as the host writes colours (red in the low byte), in hex.
std::string PixelAt(const API32bppDIB& picture, int32_t x, int32_t y) {
    if (x < 0 || y < 0 || x >= picture.Width() || y >= picture.Height()) {
        return "outside";
    }
    const uint8_t* p = picture.Pixels().Pixel(x, y);
    return Hex(uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16);
}

void Load(const std::string& file, API32bppDIB& picture) {
    EXPECT_TRUE(picture.LoadPicture_File(kPage + "/" + file)) << file;
}

TEST(GalleryPage, ListsEveryScenePictureAndEachIsWrittenAtItsSize) {
    struct Want {
        const char* file;
        int32_t width, height;
    };
    // Sheets: 132 pixels of theme names, then cells; forms: client plus
    // a 3-pixel frame and a 22-pixel title bar; the corners twice as big.
    const Want want[] = {
        {"buttons-states.png", 868, 336}, {"picture-alignments.png", 1166, 204},
        {"crop-borders.png", 988, 432},   {"word-breaks.png", 470, 248},
        {"faces.png", 1038, 180},         {"toggles-states.png", 1148, 288},
        {"group-boxes.png", 1006, 308},   {"business-form.png", 418, 292},
    };
    const std::vector<std::string> listed = ImagesOf(ReadFile(kPage + "/index.html"));
    ASSERT_EQ(listed.size(), std::size(want));
    for (size_t i = 0; i < listed.size(); ++i) {
        EXPECT_EQ(listed[i], want[i].file);
        API32bppDIB picture;
        Load(listed[i], picture);
        EXPECT_EQ(picture.Width(), want[i].width) << listed[i];
        EXPECT_EQ(picture.Height(), want[i].height) << listed[i];
    }
}

// The left border of a button in the middle of its height: each state's
// own border colour, in every theme — so the over cell was really under
// the mouse, the down cell really held, the disabled one disabled.
TEST(GalleryPage, ButtonSheetCellsHaveTheBorderOfTheirState) {
    API32bppDIB sheet;
    Load("buttons-states.png", sheet);
    for (int32_t t = 0; t < kThemeCount; ++t) {
        const ButtonColors colors = ButtonThemeColors(static_cast<ENUM_THEME>(t));
        const struct {
            int32_t column;
            OLE_COLOR border;
        } cases[] = {{kNormal, colors.BorderColor},
                     {kOver, colors.BorderColorOver},
                     {kDown, colors.BorderColorDown},
                     {kDisabled, colors.BorderColorDisabled},
                     {kLatched, colors.BorderColorDown}};
        for (const auto& c : cases) {
            const RECT cell = ButtonSheetCell(t, c.column);
            EXPECT_EQ(PixelAt(sheet, cell.Left, (cell.Top + cell.Bottom) / 2), Hex(c.border))
                << ThemeName(t) << ", " << ButtonColumnName(c.column);
        }
    }
}

// The left edge of each check box glyph, half way down: the theme's frame
// colour at rest and its hot frame colour under the mouse.
TEST(GalleryPage, CheckBoxGlyphFramesAreTheThemesRestAndHotFrames) {
    API32bppDIB sheet;
    Load("toggles-states.png", sheet);
    for (int32_t t = 0; t < kThemeCount; ++t) {
        const auto slot = [&](int32_t s) {
            return static_cast<uint32_t>(ThemeColor(static_cast<ENUM_THEME>(t), s));
        };
        // The Office themes turn to their warm hot face; the light theme
        // keeps a grey-blue frame at rest.
        const uint32_t rest = t == 7 ? 0xC3AA88 : slot(ThemeSlot::Frame);
        const uint32_t hot = t <= 1   ? slot(22)
                             : t == 7 ? slot(ThemeSlot::FramePressed)
                                      : slot(ThemeSlot::FrameHot);
        for (const auto& [column, frame] :
             {std::pair{kCheckOff, rest}, std::pair{kCheckOn, rest}, std::pair{kCheckHot, hot}}) {
            const RECT cell = ToggleSheetCell(t, column);
            const int32_t glyphTop = cell.Top + (kToggleHeight - 13) / 2;
            EXPECT_EQ(PixelAt(sheet, cell.Left, glyphTop + 6), Hex(frame))
                << ThemeName(t) << ", " << ToggleColumnName(column);
        }
    }
}

// The top corners of each button in the corner scene (drawn twice its
// size): a cut corner shows the form behind it, a kept one the border.
TEST(GalleryPage, CroppedCornersShowTheFormAndKeptCornersTheBorder) {
    API32bppDIB picture;
    Load("crop-borders.png", picture);
    // Window pixels: a 3-pixel frame and a 22-pixel title bar.
    const auto at = [&](int32_t x, int32_t y) { return PixelAt(picture, 2 * x, 2 * y); };
    const struct {
        int32_t crop;
        bool leftCut, rightCut;
    } cases[] = {{0, false, false}, {1, true, false}, {2, false, true}, {3, true, true}};
    for (int32_t row = 0; row < 3; ++row) {
        for (const auto& c : cases) {
            const int32_t left = 3 + 8 + c.crop * 120, top = 25 + 8 + row * 44;
            const int32_t right = left + 111;
            const std::string form = at(left - 3, top + 18), border = at(left, top + 18);
            ASSERT_NE(form, border);
            EXPECT_EQ(at(left, top), c.leftCut ? form : border) << row << ", crop " << c.crop;
            EXPECT_EQ(at(right, top), c.rightCut ? form : border) << row << ", crop " << c.crop;
        }
    }
}

TEST(GalleryPageText, HtmlEscapeMakesMarkupCharactersText) {
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"", ""},
        {"Física & Jurídica", "Física &amp; Jurídica"},
        {"<img src=\"x\">", "&lt;img src=&quot;x&quot;&gt;"},
        {"&amp;", "&amp;amp;"},
        {"it's", "it's"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HtmlEscape(c.in), c.out) << c.in;
    }
}

TEST(GalleryPageText, EachSceneBecomesASectionWithItsPictureAndBothCaptions) {
    const std::vector<Scene> scenes = {
        {"a.png", "First <one>", "shows & tells", "Tab, then \"Alt+J\"", {}},
        {"b.png", "Second", "", "", {}},
    };
    const std::string html = PageHtml(scenes);
    EXPECT_EQ(ImagesOf(html), (std::vector<std::string>{"a.png", "b.png"}));
    for (const char* part :
         {"<h2>First &lt;one&gt;</h2>\n<img src=\"a.png\" alt=\"First &lt;one&gt;\">\n"
          "<p>shows &amp; tells</p>\n<p class=\"input\"><b>Input:</b> Tab, then "
          "&quot;Alt+J&quot;</p>\n</section>",
          "<h2>Second</h2>"}) {
        EXPECT_NE(html.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(ImagesOf(PageHtml({})).size(), 0u);
}

}  // namespace
}  // namespace kelvara::gallery
