#include "kelvara/input/USOptionButton.h"

#include <gtest/gtest.h>

#include "kelvara/input/USCheckBox.h"
#include "kelvara/input/detail/Glyphs.h"
#include "tests/input/ToggleTestSupport.h"

namespace kelvara {
namespace {

using testing::Hex;
using testing::Lines;
using testing::OwnKeys;
using testing::PixelAt;

// A plain container of controls, as a group box is one: option buttons in
// it are a group of their own. Disabling it tells what it holds.
class Panel : public UserControl {
public:
    Panel() : UserControl("Test.Panel") { SetCanGetFocus(false); }
    void SetEnabled(bool value) override {
        UserControl::SetEnabled(value);
        for (const auto& c : Controls()) {
            c->OnAmbientChanged("Enabled");
        }
    }
};

class OptionTest : public testing::ToggleTest {
protected:
    USOptionButton* AddOption(ControlContainer& where, const std::string& name, RECT bounds) {
        USOptionButton* o = Add<USOptionButton>(where, name, bounds);
        Record(*o, [o] { return std::to_string(o->Value()); });
        return o;
    }
    // Options one under another from y = 10, 20 pixels apart.
    std::vector<USOptionButton*> AddOptions(ControlContainer& where, const std::string& prefix,
                                            int count) {
        std::vector<USOptionButton*> made;
        for (int i = 0; i < count; ++i) {
            const int32_t top = 10 + 20 * i;
            made.push_back(
                AddOption(where, prefix + std::to_string(i + 1), RECT{10, top, 110, top + 17}));
        }
        return made;
    }
    std::string Chosen(const std::vector<USOptionButton*>& group) {
        std::string out;
        for (USOptionButton* o : group) {
            out += o->Value() ? '1' : '0';
        }
        return out;
    }
};

TEST_F(OptionTest, ChoosingOneClearsTheOthersOfItsContainerOnly) {
    const auto opts = AddOptions(*form, "o", 3);
    Panel* panel = Add<Panel>(*form, "panel", RECT{150, 0, 300, 100});
    const auto inner = AddOptions(*panel, "p", 2);
    inner[0]->SetValue(true);
    opts[0]->SetValue(true);
    EXPECT_EQ(Chosen(opts) + " " + Chosen(inner), "100 10");
    form->Show();
    Take();

    desktop.Click(20, 35);
    EXPECT_EQ(Chosen(opts) + " " + Chosen(inner), "010 10");
    EXPECT_EQ(Take(),
              (Lines{"o2.MouseEnter", "o2.MouseDown 1 10,5", "o2.MouseUp 1 10,5", "o2.Click 1"}));

    // From code: the others are cleared and announce it; no Click.
    std::vector<std::string> announced;
    for (USOptionButton* o : opts) {
        o->PropertyChanges.Connect([&announced, o](const std::string& key) {
            announced.push_back(o->Name() + "." + key);
        });
    }
    opts[2]->SetValue(true);
    EXPECT_EQ(Chosen(opts) + " " + Chosen(inner), "001 10");
    EXPECT_EQ(announced, (std::vector<std::string>{"o3.Value", "o2.Value"}));
    EXPECT_EQ(Take(), Lines{});

    // False leaves the group with none.
    opts[2]->SetValue(false);
    EXPECT_EQ(Chosen(opts), "000");
}

TEST_F(OptionTest, ClickingTheChosenOneClicksAgainWithoutAChange) {
    const auto opts = AddOptions(*form, "o", 2);
    opts[1]->SetValue(true);
    form->Show();
    int changes = 0;
    opts[1]->PropertyChanges.Connect([&](const std::string&) { ++changes; });
    Take();
    desktop.Click(20, 35);
    EXPECT_EQ(Take().back(), "o2.Click 1");
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(Chosen(opts), "01");
}

// Tab order: the check box before, three options, the check box after.
struct TabCase {
    const char* name;
    int chosen;    // -1 for none
    int disabled;  // -1 for none
    int shift;
    std::vector<std::string> stops;  // from "before", pressing Tab each time
};

TEST_F(OptionTest, TabEntersAGroupAtItsChoice) {
    const TabCase cases[] = {
        {"none chosen: every option is a stop", -1, -1, 0, {"o1", "o2", "o3", "after", "before"}},
        {"one chosen: only it", 1, -1, 0, {"o2", "after", "before"}},
        {"backwards too", 1, -1, ShiftState::Shift, {"after", "o2", "before"}},
        {"the choice disabled: the others", 1, 1, 0, {"o1", "o3", "after", "before"}},
    };
    for (const TabCase& c : cases) {
        form = MakeForm(FormMode::Run);
        Add<USCheckBox>(*form, "before", RECT{150, 10, 250, 27});
        const auto opts = AddOptions(*form, "o", 3);
        Add<USCheckBox>(*form, "after", RECT{150, 40, 250, 57});
        form->Controls().Item("before")->SetTabIndex(0);
        if (c.chosen >= 0) {
            opts[static_cast<size_t>(c.chosen)]->SetValue(true);
        }
        if (c.disabled >= 0) {
            opts[static_cast<size_t>(c.disabled)]->SetEnabled(false);
        }
        form->Show();
        ASSERT_EQ(form->ActiveControl()->Name(), "before") << c.name;
        std::vector<std::string> stops;
        for (size_t i = 0; i < c.stops.size(); ++i) {
            desktop.Key(VK_TAB, c.shift);
            stops.push_back(form->ActiveControl()->Name());
        }
        EXPECT_EQ(stops, c.stops) << c.name;
        form.reset();
    }
}

TEST_F(OptionTest, ArrowsChooseTheNextOptionOfTheGroupRoundAndSkipTheDisabled) {
    const auto opts = AddOptions(*form, "o", 4);
    opts[0]->SetValue(true);
    opts[2]->SetEnabled(false);
    form->Show();
    ASSERT_EQ(form->ActiveControl(), opts[0]);
    struct Step {
        int32_t key;
        const char* focus;
        const char* chosen;
    };
    const Step steps[] = {{VK_DOWN, "o2", "0100"},
                          {VK_RIGHT, "o4", "0001"},
                          {VK_DOWN, "o1", "1000"},
                          {VK_UP, "o4", "0001"},
                          {VK_LEFT, "o2", "0100"}};
    for (const Step& s : steps) {
        desktop.Key(s.key);
        EXPECT_EQ(form->ActiveControl()->Name(), s.focus) << "key " << s.key;
        EXPECT_EQ(Chosen(opts), s.chosen) << "key " << s.key;
    }
    // The chosen one is clicked, then the key's own events go on.
    Take();
    desktop.Key(VK_DOWN);
    EXPECT_EQ(Take(), (Lines{"o4.Click 1", "o2.KeyDown 40 0", "o4.KeyUp 40 0"}));
}

TEST_F(OptionTest, AnOptionAloneInItsContainerMovesOnLikeACheckBox) {
    USOptionButton* alone = AddOption(*form, "alone", RECT{10, 10, 110, 27});
    Panel* panel = Add<Panel>(*form, "panel", RECT{150, 0, 300, 100});
    AddOption(*panel, "inner", RECT{10, 10, 110, 27});
    USCheckBox* next = Add<USCheckBox>(*form, "next", RECT{10, 40, 110, 57});
    form->Show();
    ASSERT_EQ(form->ActiveControl(), alone);
    desktop.Key(VK_DOWN);
    EXPECT_EQ(form->ActiveControl(), next);
    EXPECT_FALSE(alone->Value());
}

TEST_F(OptionTest, TheAccessKeyReachesAnOptionThatIsNoTabStop) {
    const auto opts = AddOptions(*form, "o", 2);
    opts[0]->SetValue(true);
    opts[1]->SetCaption("&Pessoa jurídica");
    form->Show();
    EXPECT_FALSE(opts[1]->CanTakeFocus());
    Take();
    desktop.Key('P', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), opts[1]);
    EXPECT_EQ(Chosen(opts), "01");
    const Lines lines = Take();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "o2.Click 1"), lines.end());
}

TEST_F(OptionTest, ADisabledContainerDisablesItsOptionsInLookAndInput) {
    Panel* panel = Add<Panel>(*form, "panel", RECT{0, 0, 200, 100});
    const auto opts = AddOptions(*panel, "p", 2);
    form->Show();
    EXPECT_EQ(opts[0]->VisualState(), 0);
    panel->SetEnabled(false);
    EXPECT_EQ(opts[0]->VisualState(), 3);
    const RECT g = opts[0]->GlyphRect();
    const detail::GlyphColors disabled = detail::GlyphColorsFor(opts[0]->Theme(), 3);
    EXPECT_EQ(Hex(PixelAt(opts[0]->Image(), g.Left + 4, g.Top)), Hex(disabled.frame));
    desktop.Click(20, 15);
    EXPECT_EQ(Chosen(opts), "00");
    panel->SetEnabled(true);
    EXPECT_EQ(opts[0]->VisualState(), 0);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15);
    EXPECT_EQ(Chosen(opts), "10");
}

TEST_F(OptionTest, ValueIsSavedAndReadBackAndADefaultOneSavesNothingOfItsOwn) {
    USOptionButton* stored = Load<USOptionButton>(*form, "o1", PropertyBag());
    PropertyBag empty;
    stored->SaveTo(empty);
    EXPECT_EQ(OwnKeys(empty), std::vector<std::string>{});
    stored->SetValue(true);
    PropertyBag saved;
    stored->SaveTo(saved);
    EXPECT_EQ(OwnKeys(saved), std::vector<std::string>{"Value"});
    EXPECT_EQ(saved.ReadProperty("Value", Variant()), Variant(true));
    Panel* panel = Add<Panel>(*form, "panel", RECT{0, 0, 10, 10});
    EXPECT_TRUE(Load<USOptionButton>(*panel, "o2", saved)->Value());
}

// The round glyph in each look, chosen, in three themes: the frame's top,
// the inside's top row, the dot, and a corner left to the back colour.
TEST_F(OptionTest, TheGlyphShowsTheLookOfTheStateInEachTheme) {
    USOptionButton* o = Add<USOptionButton>(*form, "opt", RECT{10, 10, 110, 27});
    o->SetBackColor(0x00FF00);
    form->Show();
    for (ENUM_THEME theme : {ENUM_THEME::OfficeThemeSilver, ENUM_THEME::WindowsThemeBlack,
                             ENUM_THEME::WindowsThemeLight}) {
        o->SetEnabled(true);
        o->SetValue(true);
        o->SetTheme(theme);
        const std::pair<int32_t, std::function<void()>> looks[] = {
            {0, [&] { desktop.MouseMove(300, 200); }},
            {1, [&] { desktop.MouseMove(20, 15); }},
            {2, [&] { desktop.MouseDown(); }},
            {3,
             [&] {
                 desktop.MouseMove(300, 200);
                 desktop.MouseUp();
                 o->SetEnabled(false);
             }},
        };
        for (const auto& [look, bring] : looks) {
            bring();
            ASSERT_EQ(o->VisualState(), look);
            const detail::GlyphColors want = detail::GlyphColorsFor(theme, look);
            const RECT g = o->GlyphRect();
            const std::string where = "look " + std::to_string(look) + " theme " +
                                      std::to_string(static_cast<int>(theme));
            EXPECT_EQ(Hex(PixelAt(o->Image(), g.Left + 6, g.Top)), Hex(want.frame)) << where;
            EXPECT_EQ(Hex(PixelAt(o->Image(), g.Left + 6, g.Top + 1)), Hex(want.fillTop)) << where;
            EXPECT_EQ(Hex(PixelAt(o->Image(), g.Left + 6, g.Top + 6)), Hex(want.mark)) << where;
            EXPECT_EQ(Hex(PixelAt(o->Image(), g.Left, g.Top)), "00FF00") << where;
        }
    }
}

TEST_F(OptionTest, RegisteredByItsTypeName) {
    Control* made = form->Controls().Add("KelvaraEx.USOptionButton", "optMade");
    ASSERT_NE(dynamic_cast<USOptionButton*>(made), nullptr);
}

}  // namespace
}  // namespace kelvara
