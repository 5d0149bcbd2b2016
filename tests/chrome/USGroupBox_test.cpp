#include "kelvara/chrome/USGroupBox.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

std::string Hex(uint32_t c) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", c);
    return text;
}

// A pixel of an image as 0xBBGGRR, in hex.
std::string PixelAt(const PixelBuffer& image, int32_t x, int32_t y) {
    const uint8_t* p = image.Pixel(x, y);
    return Hex(uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16);
}

std::string Show(const USGroupBox::Colors& c) {
    return Hex(c.caption) + " " + Hex(c.border) + " " + Hex(c.header1) + "-" + Hex(c.header2) +
           " " + Hex(c.body1) + "-" + Hex(c.body2);
}

// A control that takes the focus, as a field in a group box does, and
// writes down what reaches it.
class Field : public UserControl {
public:
    Field() : UserControl("Test.Field") {}
    Lines* log = nullptr;
    bool wantsTab = false;
    OLE_COLOR ambientBackAtStart = 0;

    void SetCaption(const std::string& caption) {
        // The letter after "&", as every control of the suite finds it.
        const size_t at = caption.find('&');
        SetAccessKeys(at == std::string::npos ? "" : caption.substr(at + 1, 1));
    }
    bool WantsKey(int32_t vk) const override { return wantsTab && vk == VK_TAB; }

protected:
    void Add(const std::string& line) {
        if (log != nullptr) {
            log->push_back(Name() + "." + line);
        }
    }
    void UserControl_InitProperties() override { ambientBackAtStart = Ambient().BackColor; }
    void UserControl_AccessKeyPress(int16_t key) override {
        Add("AccessKeyPress " + std::to_string(key));
    }
    void UserControl_AmbientChanged(const std::string& name) override {
        Add("AmbientChanged " + name + " " + Hex(Ambient().BackColor));
    }
    void UserControl_KeyDown(int16_t& key, int16_t&) override {
        Add("KeyDown " + std::to_string(key));
    }
};

class GroupBoxTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    std::unique_ptr<Form> form;
    Lines log;

    void SetUp() override {
        form = std::make_unique<Form>("frmTest");
        form->SetBorderStyle(FormBorderStyle::None);
        form->SetStartUpPosition(0);
        form->Move(0, 0, 400 * 15, 300 * 15);
    }
    USGroupBox* AddBox(const std::string& name, RECT bounds) {
        USGroupBox* g = form->Controls().Add<USGroupBox>(name);
        g->SetBounds(bounds);
        g->SetVisible(true);
        return g;
    }
    USGroupBox* LoadBox(const std::string& name, const PropertyBag& bag) {
        return static_cast<USGroupBox*>(
            form->Controls().AddCreated(std::make_unique<USGroupBox>(), name, &bag, true));
    }
    Field* AddField(ControlContainer& where, const std::string& name, RECT bounds) {
        Field* f = where.ContainedControls().Add<Field>(name);
        f->log = &log;
        f->SetBounds(bounds);
        f->SetVisible(true);
        return f;
    }
    std::string Focused() {
        const HWND focus = GetFocus();
        UserControl* c = UserControl::FromWindow(focus);
        return c == nullptr ? "" : c->Name();
    }
    Lines Take() { return std::exchange(log, {}); }
};

// The theme's colours: caption from slot 0, border from slot 4 (the light
// theme FFE8CC), header from slots 8 and 9, the body white in every theme.
TEST_F(GroupBoxTest, EachThemeRecoloursCaptionBorderHeaderAndBody) {
    const char* want[] = {
        "000000 E2A981 FFEFE3-FFE3CE FFFFFF-FFFFFF", "000000 808080 FFFFFF-E0E0E0 FFFFFF-FFFFFF",
        "FFFFFF 9A572B 9A572B-9A572B FFFFFF-FFFFFF", "FFFFFF 417400 417400-417400 FFFFFF-FFFFFF",
        "FFFFFF 5050C7 5050C7-5050C7 FFFFFF-FFFFFF", "FFFFFF 2345D3 2345D3-2345D3 FFFFFF-FFFFFF",
        "FFFFFF 453F38 453F38-453F38 FFFFFF-FFFFFF", "000000 FFE8CC FFE8CC-FFE8CC FFFFFF-FFFFFF",
    };
    USGroupBox* g = AddBox("fra", RECT{0, 0, 100, 60});
    for (int theme = 0; theme < 8; ++theme) {
        g->SetTheme(static_cast<ENUM_THEME>(theme));
        EXPECT_EQ(Show(g->PaintColors()), want[theme]) << "theme " << theme;
    }
    g->SetTheme(static_cast<ENUM_THEME>(-3));
    EXPECT_EQ(Show(g->PaintColors()), want[2]) << "out of range draws as Windows Theme";
}

TEST_F(GroupBoxTest, TheThemeLeavesThePublicColoursAloneAndTheyWinOverIt) {
    USGroupBox* g = AddBox("fra", RECT{0, 0, 100, 60});
    g->SetBackColor(0x00FF00);
    g->SetBorderColor(0x0000FF);
    g->SetHeaderColor2(0x80000005);  // a system colour: the window's white
    g->SetTheme(ENUM_THEME::WindowsThemeGreen);
    EXPECT_EQ(Hex(g->BackColor()), "00FF00");
    EXPECT_EQ(Hex(g->BorderColor()), "0000FF");
    EXPECT_EQ(Hex(g->HeaderColor2()), "80000005");
    EXPECT_EQ(g->CaptionColor(), USGroupBox::FromTheme);
    EXPECT_EQ(Show(g->PaintColors()), "FFFFFF 0000FF 417400-FFFFFF FFFFFF-FFFFFF");
    EXPECT_EQ(PixelAt(g->Image(), 50, 0), "0000FF");
    // Back to the theme's border.
    g->SetBorderColor(USGroupBox::FromTheme);
    EXPECT_EQ(PixelAt(g->Image(), 50, 0), "417400");
}

// Every row of one column, and the corners, of a box 120 x 80: border,
// header gradient, separator, body; then the same box without a caption.
TEST_F(GroupBoxTest, ThePaintedFrameHeaderAndBody) {
    USGroupBox* g = AddBox("fra", RECT{0, 0, 120, 80});
    g->SetBackColor(0x00FF00);
    g->SetTheme(ENUM_THEME::OfficeThemeBlue);
    const int32_t header = g->HeaderHeight();
    ASSERT_GT(header, 12);
    for (int32_t y = 0; y < 80; ++y) {
        // The header steps from FFEFE3 at its first row to FFE3CE at its
        // last, over `header` rows; the border covers its first.
        const auto step = [&](int from, int to) { return from + (to - from) * y / (header - 1); };
        const std::string want = y == 0 || y == header || y == 79 ? "E2A981"
                                 : y < header
                                     ? Hex(0xFF0000 | step(0xEF, 0xE3) << 8 | step(0xE3, 0xCE))
                                     : "FFFFFF";
        EXPECT_EQ(PixelAt(g->Image(), 100, y), want) << "row " << y;
    }
    EXPECT_EQ(PixelAt(g->Image(), 119, 40), "E2A981") << "right border";
    for (const POINT p : {POINT{0, 0}, POINT{119, 0}, POINT{0, 79}, POINT{119, 79}}) {
        EXPECT_EQ(PixelAt(g->Image(), p.X, p.Y), "00FF00") << "rounded off at " << p.X;
    }
    // The caption's ink lies in the header, from 8 pixels in.
    RECT ink{999, 999, -1, -1};
    for (int32_t y = 4; y < 76; ++y) {
        for (int32_t x = 4; x < 100; ++x) {
            if (PixelAt(g->Image(), x, y) != PixelAt(g->Image(), 100, y)) {
                ink = RECT{std::min(ink.Left, x), std::min(ink.Top, y), 0, std::max(ink.Bottom, y)};
            }
        }
    }
    EXPECT_GE(ink.Left, 8);
    EXPECT_LT(ink.Bottom, header);

    g->SetCaption("");
    EXPECT_EQ(g->HeaderHeight(), 0);
    EXPECT_EQ(PixelAt(g->Image(), 60, 0), "E2A981");
    for (int32_t y = 1; y < 79; ++y) {
        EXPECT_EQ(PixelAt(g->Image(), 60, y), "FFFFFF") << "row " << y;
    }
}

TEST_F(GroupBoxTest, DisabledItFadesToGreysOfTheSameBrightness) {
    USGroupBox* g = AddBox("fra", RECT{0, 0, 100, 60});
    g->SetTheme(ENUM_THEME::WindowsTheme);
    g->SetEnabled(false);
    // 9A572B has a brightness of 81; half way to white is 168 (A8).
    EXPECT_EQ(PixelAt(g->Image(), 50, 0), "A8A8A8");
    EXPECT_EQ(PixelAt(g->Image(), 50, 2), "A8A8A8");
    EXPECT_EQ(PixelAt(g->Image(), 50, 50), "FFFFFF");
    g->SetEnabled(true);
    EXPECT_EQ(PixelAt(g->Image(), 50, 2), "9A572B");
}

struct PropertyCase {
    const char* key;
    std::function<void(USGroupBox&)> set;
    std::function<std::string(const USGroupBox&)> get;
};

// A stored box with every default saves none of its own keys; each property
// changed announces and saves its key alone and reads back. A new box takes
// the light theme, a stored one without the key Windows Theme.
TEST_F(GroupBoxTest, EveryPropertyIsAnnouncedSavedUnderItsKeyAndReadBack) {
    EXPECT_EQ(AddBox("fraNew", RECT{0, 0, 10, 10})->Theme(), ENUM_THEME::WindowsThemeLight);
    StdFont font;
    font.SetName("Verdana");
    using G = USGroupBox;
    const auto hex = [](OLE_COLOR (G::*get)() const) {
        return [get](const G& g) { return Hex((g.*get)()); };
    };
    const PropertyCase cases[] = {
        {"BackColor", [](G& g) { g.SetBackColor(0x123456); }, hex(&G::BackColor)},
        {"BodyColor1", [](G& g) { g.SetBodyColor1(0x010203); }, hex(&G::BodyColor1)},
        {"BodyColor2", [](G& g) { g.SetBodyColor2(0x040506); }, hex(&G::BodyColor2)},
        {"BorderColor", [](G& g) { g.SetBorderColor(0x070809); }, hex(&G::BorderColor)},
        {"Caption", [](G& g) { g.SetCaption("&Endereço"); },
         [](const G& g) { return g.Caption() + " key " + g.AccessKeys(); }},
        {"CaptionColor", [](G& g) { g.SetCaptionColor(0x0A0B0C); }, hex(&G::CaptionColor)},
        {"Enabled", [](G& g) { g.SetEnabled(false); },
         [](const G& g) { return std::to_string(g.Enabled()); }},
        {"Font", [&](G& g) { g.SetFont(font); }, [](const G& g) { return g.Font().Name(); }},
        {"HeaderColor1", [](G& g) { g.SetHeaderColor1(0x0D0E0F); }, hex(&G::HeaderColor1)},
        {"HeaderColor2", [](G& g) { g.SetHeaderColor2(0x101112); }, hex(&G::HeaderColor2)},
        {"Redraw", [](G& g) { g.SetRedraw(false); },
         [](const G& g) { return std::to_string(g.Redraw()); }},
        {"Theme", [](G& g) { g.SetTheme(ENUM_THEME::WindowsThemeOrange); },
         [](const G& g) { return std::to_string(int(g.Theme())); }},
    };
    const auto own = [](const G& g) {
        PropertyBag bag;
        g.SaveTo(bag);
        Lines keys = bag.Keys();
        std::erase_if(keys, [](const std::string& k) {
            return k == "Left" || k == "Top" || k == "Width" || k == "Height" || k == "TabIndex" ||
                   k == "Visible";
        });
        return std::make_pair(keys, bag);
    };
    int n = 0;
    for (const PropertyCase& pc : cases) {
        const std::string name = "fra" + std::to_string(++n);
        USGroupBox* g = LoadBox(name, PropertyBag());
        ASSERT_EQ(own(*g).first, Lines{});
        const std::string before = pc.get(*g);
        Lines announced;
        g->PropertyChanges.Connect([&](const std::string& key) { announced.push_back(key); });
        pc.set(*g);
        EXPECT_EQ(announced, Lines{pc.key});
        EXPECT_NE(pc.get(*g), before) << pc.key;
        const auto [keys, bag] = own(*g);
        EXPECT_EQ(keys, Lines{pc.key});
        EXPECT_EQ(pc.get(*LoadBox(name + "b", bag)), pc.get(*g)) << pc.key;
    }
    EXPECT_EQ(LoadBox("fraOld", PropertyBag())->Theme(), ENUM_THEME::WindowsTheme);
}

// before | box: f1 f2 f3 | after, each a stop.
class GroupBoxFocusTest : public GroupBoxTest {
protected:
    USGroupBox* box = nullptr;
    std::vector<Field*> inside;

    void SetUp() override {
        GroupBoxTest::SetUp();
        AddField(*form, "before", RECT{0, 0, 50, 20});
        box = AddBox("fra", RECT{0, 30, 200, 150});
        box->SetCaption("&Dados");
        for (int i = 0; i < 3; ++i) {
            const int32_t top = 30 + 30 * i;
            inside.push_back(
                AddField(*box, "f" + std::to_string(i + 1), RECT{10, top, 90, top + 20}));
        }
        AddField(*form, "after", RECT{0, 160, 50, 180});
    }
    std::vector<std::string> Tabs(int count, int shift = 0) {
        std::vector<std::string> stops;
        for (int i = 0; i < count; ++i) {
            desktop.Key(VK_TAB, shift);
            stops.push_back(Focused());
        }
        return stops;
    }
};

TEST_F(GroupBoxFocusTest, TabRunsThroughTheBoxInItsOwnOrderAndOutAgain) {
    form->Show();
    ASSERT_EQ(Focused(), "before");
    EXPECT_EQ(Tabs(5), (std::vector<std::string>{"f1", "f2", "f3", "after", "before"}));
    EXPECT_EQ(Tabs(5, ShiftState::Shift),
              (std::vector<std::string>{"after", "f3", "f2", "f1", "before"}));
    inside[2]->SetTabIndex(0);  // f3 f1 f2
    inside[1]->SetTabStop(false);
    EXPECT_EQ(Tabs(4), (std::vector<std::string>{"f3", "f1", "after", "before"}));
}

TEST_F(GroupBoxFocusTest, AControlThatWantsTabKeepsIt) {
    inside[0]->wantsTab = true;
    form->Show();
    inside[0]->SetFocus();
    Take();
    desktop.Key(VK_TAB);
    EXPECT_EQ(Focused(), "f1");
    EXPECT_EQ(Take().front(), "f1.KeyDown 9");
}

TEST_F(GroupBoxFocusTest, AccessKeysOfTheBoxAndOfWhatItHolds) {
    inside[2]->SetCaption("&Zeta");
    form->Show();
    Take();
    desktop.Key('D', ShiftState::Alt);
    EXPECT_EQ(Focused(), "f1") << "the box's key: its first control";
    desktop.Key('Z', ShiftState::Alt);
    EXPECT_EQ(Focused(), "f3");
    const Lines lines = Take();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "f3.AccessKeyPress 122"), lines.end());

    // A box holding nothing that takes the focus hands its key on.
    for (Field* f : inside) {
        f->SetTabStop(false);
        f->SetEnabled(false);
    }
    form->Controls().Item("before")->SetFocus();
    desktop.Key('D', ShiftState::Alt);
    EXPECT_EQ(Focused(), "after");
}

TEST_F(GroupBoxFocusTest, DisablingTheBoxTellsWhatItHoldsAndTakesItOutOfTheTabOrder) {
    form->Show();
    Take();
    box->SetEnabled(false);
    EXPECT_EQ(Take(), (Lines{"f1.AmbientChanged Enabled FFFFFF", "f2.AmbientChanged Enabled FFFFFF",
                             "f3.AmbientChanged Enabled FFFFFF"}));
    EXPECT_EQ(Tabs(2), (std::vector<std::string>{"after", "before"}));
}

TEST_F(GroupBoxFocusTest, WhatItHoldsStandsOnTheBodyColour) {
    EXPECT_EQ(Hex(inside[0]->ambientBackAtStart), "FFFFFF");
    Take();
    box->SetBodyColor1(0xEEDDCC);
    EXPECT_EQ(Take(),
              (Lines{"f1.AmbientChanged BackColor EEDDCC", "f2.AmbientChanged BackColor EEDDCC",
                     "f3.AmbientChanged BackColor EEDDCC"}));
    // The box itself is no stop and a click on it takes no focus.
    form->Show();
    desktop.Click(150, 140);
    EXPECT_EQ(Focused(), "before");
}

TEST_F(GroupBoxTest, RegisteredByItsTypeName) {
    Control* made = form->Controls().Add("KelvaraEx.USGroupBox", "fraMade");
    ASSERT_NE(dynamic_cast<USGroupBox*>(made), nullptr);
}

}  // namespace
}  // namespace kelvara
