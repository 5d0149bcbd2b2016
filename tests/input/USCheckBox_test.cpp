#include "kelvara/input/USCheckBox.h"

#include <gtest/gtest.h>

#include "tests/input/ToggleTestSupport.h"

namespace kelvara {
namespace {

using testing::Hex;
using testing::Lines;
using testing::OwnKeys;
using testing::PixelAt;

class CheckBoxTest : public testing::ToggleTest {
protected:
    USCheckBox* AddCheck(const std::string& name, RECT bounds) {
        USCheckBox* c = Add<USCheckBox>(*form, name, bounds);
        Record(*c, [c] { return std::to_string(c->Value()); });
        return c;
    }
};

TEST_F(CheckBoxTest, ANewBoxTakesTheLightThemeAndTheContainersColourAStoredOneReadsTheme2) {
    form->SetBackColor(0x00C0FFEE);
    USCheckBox* fresh = Add<USCheckBox>(*form, "chkNew", RECT{0, 0, 80, 17});
    EXPECT_EQ(fresh->Theme(), ENUM_THEME::WindowsThemeLight);
    EXPECT_EQ(fresh->Caption(), "chkNew");
    EXPECT_EQ(Hex(fresh->BackColor()), "C0FFEE");
    PropertyBag saved;
    fresh->SaveTo(saved);
    EXPECT_EQ(OwnKeys(saved), (Lines{"BackColor", "Theme"}));

    USCheckBox* stored = Load<USCheckBox>(*form, "chkOld", PropertyBag());
    EXPECT_EQ(stored->Theme(), ENUM_THEME::WindowsTheme);
    EXPECT_EQ(Hex(stored->BackColor()), "8000000F");
    EXPECT_EQ(stored->Bounds(), (RECT{0, 0, 13, 13})) << "at least the glyph's size";
}

// Each property changed once on a stored control with every default: the
// key it announces, the keys then saved, the value read back.
struct PropertyCase {
    const char* name;
    std::function<void(USCheckBox&)> set;
    std::function<std::string(const USCheckBox&)> get;
    Lines saved;
};

TEST_F(CheckBoxTest, EveryPropertyIsAnnouncedSavedAndReadBack) {
    StdFont arial;
    arial.SetName("Arial");
    arial.SetBold(true);
    using C = USCheckBox;
    const PropertyCase cases[] = {
        {"Alignment",
         [](C& c) { c.SetAlignment(ENUM_GLYPH_ALIGNMENT::GlyphRight); },
         [](const C& c) { return std::to_string(int(c.Alignment())); },
         {"Alignment"}},
        {"BackColor",
         [](C& c) { c.SetBackColor(0x80000005); },
         [](const C& c) { return Hex(c.BackColor()); },
         {"BackColor"}},
        {"Caption",
         [](C& c) { c.SetCaption("Aceito os &termos"); },
         [](const C& c) { return c.Caption() + " key " + c.AccessKeys(); },
         {"Caption"}},
        {"Enabled",
         [](C& c) { c.SetEnabled(false); },
         [](const C& c) { return std::to_string(c.Enabled()); },
         {"Enabled"}},
        {"Font",
         [&](C& c) { c.SetFont(arial); },
         [](const C& c) { return c.Font().Name() + std::to_string(c.Font().Bold()); },
         {"Font"}},
        {"ForeColor",
         [](C& c) { c.SetForeColor(0x112233); },
         [](const C& c) { return Hex(c.ForeColor()); },
         {"ForeColor"}},
        {"ForeColorDisabled",
         [](C& c) { c.SetForeColorDisabled(0x445566); },
         [](const C& c) { return Hex(c.ForeColorDisabled()); },
         {"ForeColorDisabled"}},
        {"HandPointer",
         [](C& c) { c.SetHandPointer(true); },
         [](const C& c) {
             return std::to_string(c.HandPointer()) + std::to_string(c.MousePointer()) +
                    std::to_string(c.MouseIcon() != nullptr);
         },
         {"HandPointer"}},
        {"MousePointer",
         [](C& c) { c.SetMousePointer(11); },
         [](const C& c) { return std::to_string(c.MousePointer()); },
         {"MousePointer"}},
        {"Redraw",
         [](C& c) { c.SetRedraw(false); },
         [](const C& c) { return std::to_string(c.Redraw()); },
         {"Redraw"}},
        {"ShowFocusRect",
         [](C& c) { c.SetShowFocusRect(false); },
         [](const C& c) { return std::to_string(c.ShowFocusRect()); },
         {"ShowFocusRect"}},
        {"Theme",
         [](C& c) { c.SetTheme(ENUM_THEME::WindowsThemeRed); },
         [](const C& c) { return std::to_string(int(c.Theme())); },
         {"Theme"}},
        {"Value",
         [](C& c) { c.SetValue(vbGrayed); },
         [](const C& c) { return std::to_string(c.Value()); },
         {"Value"}},
    };
    int n = 0;
    for (const PropertyCase& pc : cases) {
        const std::string name = "chk" + std::to_string(++n);
        USCheckBox* c = Load<USCheckBox>(*form, name, PropertyBag());
        const std::string before = pc.get(*c);
        Lines announced;
        c->PropertyChanges.Connect([&](const std::string& key) { announced.push_back(key); });
        pc.set(*c);
        EXPECT_EQ(announced, Lines{pc.name});
        EXPECT_NE(pc.get(*c), before) << pc.name;
        PropertyBag saved;
        c->SaveTo(saved);
        EXPECT_EQ(OwnKeys(saved), pc.saved) << pc.name;
        EXPECT_EQ(pc.get(*Load<USCheckBox>(*form, name + "b", saved)), pc.get(*c)) << pc.name;
    }
}

TEST_F(CheckBoxTest, ValueKeepsToItsThreeStatesFromCodeAndFromADamagedBag) {
    USCheckBox* c = Load<USCheckBox>(*form, "chk", PropertyBag());
    c->SetValue(vbChecked);
    c->SetValue(-1);
    c->SetValue(3);
    EXPECT_EQ(c->Value(), vbChecked);
    const std::pair<double, int16_t> stored[] = {{-4, 0}, {1.7, 1}, {2, 2}, {9e9, 2}};
    for (const auto& [value, want] : stored) {
        PropertyBag bag;
        bag.WriteProperty("Value", Variant(value), Variant());
        EXPECT_EQ(Load<USCheckBox>(*form, "v" + std::to_string(want), bag)->Value(), want) << value;
        form->Controls().Remove("v" + std::to_string(want));
    }
}

TEST_F(CheckBoxTest, ClicksToggleBeforeClickAndADoubleClickTogglesTwice) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    form->Show();
    desktop.Click(20, 15);
    desktop.AdvanceTime(1000);
    desktop.DblClick(20, 15);
    EXPECT_EQ(Take(), (Lines{"chk.MouseEnter", "chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5",
                             "chk.Click 1", "chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5",
                             "chk.Click 0", "chk.DblClick", "chk.MouseUp 1 10,5", "chk.Click 1"}));
    // Grayed goes to checked, "select all" from "some"; code raises nothing.
    c->SetValue(vbGrayed);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15, MouseButton::Right);
    EXPECT_EQ(Take(), (Lines{"chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5", "chk.Click 1",
                             "chk.MouseDown 2 10,5", "chk.MouseUp 2 10,5"}));
}

TEST_F(CheckBoxTest, APressDraggedOutLooksAtRestAndReleasedThereDoesNothing) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{10, 10, 110, 27});
    Record(
        *c, [c] { return std::to_string(c->Value()); }, true);
    form->Show();
    const std::pair<std::function<void()>, int32_t> steps[] = {
        {[&] { desktop.MouseMove(20, 15); }, 1},  {[&] { desktop.MouseDown(); }, 2},
        {[&] { desktop.MouseMove(200, 99); }, 0}, {[&] { desktop.MouseMove(30, 15); }, 2},
        {[&] { desktop.MouseMove(200, 99); }, 0}, {[&] { desktop.MouseUp(); }, 0},
    };
    for (const auto& [step, look] : steps) {
        step();
        EXPECT_EQ(c->VisualState(), look);
    }
    EXPECT_EQ(c->Value(), vbUnchecked);
    EXPECT_EQ(Take(), (Lines{"chk.MouseMove 0 10,5", "chk.MouseEnter", "chk.MouseDown 1 10,5",
                             "chk.MouseMove 1 190,89", "chk.MouseMove 1 20,5",
                             "chk.MouseMove 1 190,89", "chk.MouseUp 1 190,89", "chk.MouseExit"}));
}

TEST_F(CheckBoxTest, SpaceTogglesOnReleaseAndTheFocusLeavingDropsThePress) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    USCheckBox* other = AddCheck("other", RECT{10, 40, 110, 57});
    form->Show();
    desktop.KeyDown(VK_SPACE);
    EXPECT_EQ(c->VisualState(), 2);
    desktop.KeyDown(VK_SPACE);  // the key repeating
    desktop.KeyUp(VK_SPACE);
    desktop.KeyDown(VK_SPACE);
    other->SetFocus();
    desktop.KeyUp(VK_SPACE);
    EXPECT_EQ(Take(), (Lines{"chk.KeyDown 32 0", "chk.KeyPress 32", "chk.KeyDown 32 0",
                             "chk.KeyPress 32", "chk.Click 1", "chk.KeyUp 32 0", "chk.KeyDown 32 0",
                             "chk.KeyPress 32", "other.KeyUp 32 0"}));
    EXPECT_EQ(c->Value() * 10 + other->Value(), 10);
}

TEST_F(CheckBoxTest, TheAccessKeyFocusesAndTogglesUnlessDisabled) {
    USCheckBox* first = AddCheck("first", RECT{10, 10, 110, 27});
    USCheckBox* c = AddCheck("chk", RECT{10, 40, 110, 57});
    c->SetCaption("&Ativo");
    form->Show();
    Take();
    desktop.Key('A', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), c);
    EXPECT_EQ(Take(),
              (Lines{"first.KeyDown 18 4", "chk.Click 1", "chk.KeyUp 65 4", "chk.KeyUp 18 0"}));
    first->SetFocus();
    c->SetEnabled(false);
    desktop.Key('A', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), first);
    EXPECT_EQ(c->Value(), vbChecked);
}

TEST_F(CheckBoxTest, ArrowsMoveTheFocusAsTabDoesAndKeyDownStillComes) {
    USCheckBox* a = AddCheck("a", RECT{10, 10, 110, 27});
    USCheckBox* b = AddCheck("b", RECT{10, 40, 110, 57});
    USCheckBox* c = AddCheck("c", RECT{10, 70, 110, 87});
    form->Show();
    const std::pair<int32_t, USCheckBox*> steps[] = {
        {VK_DOWN, b}, {VK_RIGHT, c}, {VK_RIGHT, a}, {VK_UP, c}, {VK_LEFT, b}};
    for (const auto& [key, lands] : steps) {
        const std::string from = form->ActiveControl()->Name();
        Take();
        desktop.Key(key);
        EXPECT_EQ(form->ActiveControl(), lands) << key << " from " << from;
        EXPECT_EQ(Take().front(), from + ".KeyDown " + std::to_string(key) + " 0");
    }
    EXPECT_EQ(a->Value() + b->Value() + c->Value(), 0) << "arrows never toggle";
    desktop.Key(VK_DOWN, ShiftState::Ctrl);
    EXPECT_EQ(form->ActiveControl(), b) << "not with a shift key held";
}

TEST_F(CheckBoxTest, RedrawHeldBackPaintsNothingUntilItIsTrueAgain) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{0, 0, 100, 17});
    const RECT g = c->GlyphRect();
    const std::string inside = PixelAt(c->Image(), g.Left + 9, g.Top + 3);  // the tick's tip
    c->SetRedraw(false);
    c->SetValue(vbChecked);
    c->SetTheme(ENUM_THEME::WindowsThemeGreen);
    EXPECT_EQ(PixelAt(c->Image(), g.Left + 9, g.Top + 3), inside);
    c->SetRedraw(true);
    EXPECT_EQ(PixelAt(c->Image(), g.Left + 9, g.Top + 3), "417400");
}

TEST_F(CheckBoxTest, TheGlyphGoesToEitherSideAndTheFocusDotsRoundTheCaptionOrTheGlyph) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{0, 0, 120, 21});
    c->SetForeColor(0x0000FF);
    c->SetCaption("Sim");
    EXPECT_EQ(c->GlyphRect(), (RECT{0, 4, 13, 17}));
    const RECT left = c->CaptionRect();
    EXPECT_EQ(left.Left, 17);
    c->SetAlignment(ENUM_GLYPH_ALIGNMENT::GlyphRight);
    EXPECT_EQ(c->GlyphRect(), (RECT{107, 4, 120, 17}));
    const RECT right = c->CaptionRect();
    EXPECT_EQ(right, (RECT{103 - (left.Right - left.Left), left.Top, 103, left.Bottom}));

    form->Show();
    ASSERT_TRUE(c->HasFocus());
    EXPECT_EQ(PixelAt(c->Image(), right.Left - 1, right.Top - 1), "0000FF");
    EXPECT_NE(PixelAt(c->Image(), right.Left, right.Top - 1), "0000FF") << "every other pixel";
    c->SetShowFocusRect(false);
    EXPECT_NE(PixelAt(c->Image(), right.Left - 1, right.Top - 1), "0000FF");
    c->SetShowFocusRect(true);
    c->SetCaption("");
    const RECT g = c->GlyphRect();
    EXPECT_EQ(PixelAt(c->Image(), g.Left - 1, g.Top - 1), "0000FF");
    EXPECT_EQ(PixelAt(c->Image(), g.Right - 1, g.Bottom), "0000FF");
}

}  // namespace
}  // namespace kelvara
