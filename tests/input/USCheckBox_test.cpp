#include "kelvara/input/USCheckBox.h"

#include <gtest/gtest.h>

#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/input/detail/Glyphs.h"
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

TEST_F(CheckBoxTest, ANewBoxTakesTheLightThemeAndTheContainersValuesButAStoredOneReadsTheme2) {
    form->SetBackColor(0x00C0FFEE);
    USCheckBox* fresh = Add<USCheckBox>(*form, "chkNew", RECT{0, 0, 80, 17});
    EXPECT_EQ(fresh->Theme(), ENUM_THEME::WindowsThemeLight);
    EXPECT_EQ(fresh->Caption(), "chkNew");
    EXPECT_EQ(Hex(fresh->BackColor()), "C0FFEE");
    EXPECT_EQ(fresh->Value(), vbUnchecked);

    USCheckBox* stored = Load<USCheckBox>(*form, "chkOld", PropertyBag());
    EXPECT_EQ(stored->Theme(), ENUM_THEME::WindowsTheme);
    EXPECT_EQ(Hex(stored->BackColor()), "8000000F");
    // At least the glyph's size.
    EXPECT_EQ(stored->Bounds(), (RECT{0, 0, 13, 13}));

    PropertyBag saved;
    fresh->SaveTo(saved);
    EXPECT_EQ(OwnKeys(saved), (std::vector<std::string>{"BackColor", "Theme"}));
}

// Each property changed once on a stored control with every default: the
// key it announces, the keys then saved, and the value read back.
struct PropertyCase {
    const char* name;
    std::function<void(USCheckBox&)> set;
    std::function<std::string(const USCheckBox&)> get;
    std::vector<std::string> saved;
};

TEST_F(CheckBoxTest, EveryPropertyIsAnnouncedSavedAndReadBack) {
    StdFont arial;
    arial.SetName("Arial");
    arial.SetSize(12);
    arial.SetBold(true);
    const PropertyCase cases[] = {
        {"Alignment",
         [](USCheckBox& c) { c.SetAlignment(ENUM_GLYPH_ALIGNMENT::GlyphRight); },
         [](const USCheckBox& c) { return std::to_string(static_cast<int>(c.Alignment())); },
         {"Alignment"}},
        {"BackColor",
         [](USCheckBox& c) { c.SetBackColor(0x80000005); },
         [](const USCheckBox& c) { return Hex(c.BackColor()); },
         {"BackColor"}},
        {"Caption",
         [](USCheckBox& c) { c.SetCaption("Aceito os &termos"); },
         [](const USCheckBox& c) { return c.Caption() + " key " + c.AccessKeys(); },
         {"Caption"}},
        {"Enabled",
         [](USCheckBox& c) { c.SetEnabled(false); },
         [](const USCheckBox& c) { return std::to_string(c.Enabled()); },
         {"Enabled"}},
        {"Font",
         [&](USCheckBox& c) { c.SetFont(arial); },
         [](const USCheckBox& c) {
             return c.Font().Name() + " " + std::to_string(c.Font().Size()) + " " +
                    std::to_string(c.Font().Bold());
         },
         {"Font"}},
        {"ForeColor",
         [](USCheckBox& c) { c.SetForeColor(0x112233); },
         [](const USCheckBox& c) { return Hex(c.ForeColor()); },
         {"ForeColor"}},
        {"ForeColorDisabled",
         [](USCheckBox& c) { c.SetForeColorDisabled(0x445566); },
         [](const USCheckBox& c) { return Hex(c.ForeColorDisabled()); },
         {"ForeColorDisabled"}},
        {"HandPointer",
         [](USCheckBox& c) { c.SetHandPointer(true); },
         [](const USCheckBox& c) {
             return std::to_string(c.HandPointer()) + " " + std::to_string(c.MousePointer()) + " " +
                    std::to_string(c.MouseIcon() != nullptr);
         },
         {"MouseIcon", "MousePointer", "HandPointer"}},
        {"MousePointer",
         [](USCheckBox& c) { c.SetMousePointer(11); },
         [](const USCheckBox& c) { return std::to_string(c.MousePointer()); },
         {"MousePointer"}},
        {"Redraw",
         [](USCheckBox& c) { c.SetRedraw(false); },
         [](const USCheckBox& c) { return std::to_string(c.Redraw()); },
         {"Redraw"}},
        {"ShowFocusRect",
         [](USCheckBox& c) { c.SetShowFocusRect(false); },
         [](const USCheckBox& c) { return std::to_string(c.ShowFocusRect()); },
         {"ShowFocusRect"}},
        {"Theme",
         [](USCheckBox& c) { c.SetTheme(ENUM_THEME::WindowsThemeRed); },
         [](const USCheckBox& c) { return std::to_string(static_cast<int>(c.Theme())); },
         {"Theme"}},
        {"Value",
         [](USCheckBox& c) { c.SetValue(vbGrayed); },
         [](const USCheckBox& c) { return std::to_string(c.Value()); },
         {"Value"}},
    };
    int n = 0;
    for (const PropertyCase& pc : cases) {
        const std::string name = "chk" + std::to_string(++n);
        USCheckBox* c = Load<USCheckBox>(*form, name, PropertyBag());
        const std::string before = pc.get(*c);
        std::vector<std::string> announced;
        c->PropertyChanges.Connect([&](const std::string& key) { announced.push_back(key); });
        pc.set(*c);
        EXPECT_EQ(announced, std::vector<std::string>{pc.name}) << pc.name;
        const std::string after = pc.get(*c);
        EXPECT_NE(after, before) << pc.name << " did not change";

        PropertyBag saved;
        c->SaveTo(saved);
        EXPECT_EQ(OwnKeys(saved), pc.saved) << pc.name;
        USCheckBox* back = Load<USCheckBox>(*form, name + "b", saved);
        EXPECT_EQ(pc.get(*back), after) << pc.name;
        PropertyBag again;
        back->SaveTo(again);
        EXPECT_EQ(OwnKeys(again), pc.saved) << pc.name;
    }
}

TEST_F(CheckBoxTest, ValueKeepsToItsThreeStatesFromCodeAndFromADamagedBag) {
    USCheckBox* c = Load<USCheckBox>(*form, "chk", PropertyBag());
    c->SetValue(vbChecked);
    for (int16_t wrong : {int16_t{-1}, int16_t{3}, int16_t{255}}) {
        c->SetValue(wrong);
        EXPECT_EQ(c->Value(), vbChecked) << wrong;
    }
    const std::pair<double, int16_t> stored[] = {{-4, 0}, {1, 1}, {1.7, 1}, {2, 2}, {9e9, 2}};
    for (const auto& [value, want] : stored) {
        PropertyBag bag;
        bag.WriteProperty("Value", Variant(value), Variant());
        EXPECT_EQ(Load<USCheckBox>(*form, "v" + std::to_string(value), bag)->Value(), want)
            << value;
    }
}

TEST_F(CheckBoxTest, AClickTogglesBeforeClickIsRaisedAfterMouseUp) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    form->Show();
    desktop.Click(20, 15);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15);
    EXPECT_EQ(Take(),
              (Lines{"chk.MouseEnter", "chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5", "chk.Click 1",
                     "chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5", "chk.Click 0"}));
    // Grayed goes to checked: "select all" from "some".
    c->SetValue(vbGrayed);
    EXPECT_TRUE(Take().empty()) << "code raises no Click";
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15);
    EXPECT_EQ(Take().back(), "chk.Click 1");
    // The right button does not toggle.
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15, MouseButton::Right);
    EXPECT_EQ(Take(), (Lines{"chk.MouseDown 2 10,5", "chk.MouseUp 2 10,5"}));
    EXPECT_EQ(c->Value(), vbChecked);
}

TEST_F(CheckBoxTest, ADoubleClickTogglesTwiceWithDblClickAtTheSecondPress) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    form->Show();
    desktop.MouseMove(20, 15);
    Take();
    desktop.DblClick(20, 15);
    EXPECT_EQ(Take(), (Lines{"chk.MouseDown 1 10,5", "chk.MouseUp 1 10,5", "chk.Click 1",
                             "chk.DblClick", "chk.MouseUp 1 10,5", "chk.Click 0"}));
    EXPECT_EQ(c->Value(), vbUnchecked);
}

TEST_F(CheckBoxTest, APressDraggedOutLooksAtRestAndReleasedThereDoesNothing) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    form->Show();
    desktop.MouseMove(20, 15);
    EXPECT_EQ(c->VisualState(), 1);
    desktop.MouseDown();
    EXPECT_EQ(c->VisualState(), 2);
    desktop.MouseMove(200, 100);
    EXPECT_EQ(c->VisualState(), 0);
    desktop.MouseMove(30, 15);
    EXPECT_EQ(c->VisualState(), 2) << "back in, pressed again";
    desktop.MouseMove(200, 100);
    desktop.MouseUp();
    EXPECT_EQ(c->Value(), vbUnchecked);
    const Lines lines = Take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "chk.Click 1"), 0);
    EXPECT_EQ(lines.back(), "chk.MouseExit");
    EXPECT_EQ(c->VisualState(), 0);
}

TEST_F(CheckBoxTest, SpaceTogglesOnReleaseAndTheFocusLeavingDropsThePress) {
    USCheckBox* c = AddCheck("chk", RECT{10, 10, 110, 27});
    form->Show();
    EXPECT_TRUE(c->HasFocus());
    desktop.KeyDown(VK_SPACE);
    EXPECT_EQ(c->VisualState(), 2);
    desktop.KeyDown(VK_SPACE);  // the key repeating
    desktop.KeyUp(VK_SPACE);
    EXPECT_EQ(Take(), (Lines{"chk.KeyDown 32 0", "chk.KeyPress 32", "chk.KeyDown 32 0",
                             "chk.KeyPress 32", "chk.Click 1", "chk.KeyUp 32 0"}));
    EXPECT_EQ(c->VisualState(), 0);

    // Space held while the focus goes elsewhere: no click when it comes up.
    USCheckBox* other = AddCheck("other", RECT{10, 40, 110, 57});
    desktop.KeyDown(VK_SPACE);
    other->SetFocus();
    desktop.KeyUp(VK_SPACE);
    EXPECT_EQ(c->Value(), vbChecked);
    EXPECT_EQ(other->Value(), vbUnchecked);
    EXPECT_EQ(Take(), (Lines{"chk.KeyDown 32 0", "chk.KeyPress 32", "other.KeyUp 32 0"}));
}

TEST_F(CheckBoxTest, TheAccessKeyFocusesAndToggles) {
    USCheckBox* first = AddCheck("first", RECT{10, 10, 110, 27});
    USCheckBox* c = AddCheck("chk", RECT{10, 40, 110, 57});
    c->SetCaption("&Ativo");
    form->Show();
    EXPECT_EQ(form->ActiveControl(), first);
    Take();
    desktop.Key('A', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), c);
    EXPECT_EQ(c->Value(), vbChecked);
    const Lines lines = Take();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "chk.Click 1"), lines.end());
    // Disabled, the key does nothing at all.
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
    struct Step {
        int32_t key;
        USCheckBox* lands;
    };
    const Step steps[] = {{VK_DOWN, b}, {VK_RIGHT, c}, {VK_RIGHT, a}, {VK_UP, c}, {VK_LEFT, b}};
    for (const Step& step : steps) {
        USCheckBox* from = static_cast<USCheckBox*>(form->ActiveControl());
        Take();
        desktop.Key(step.key);
        EXPECT_EQ(form->ActiveControl(), step.lands)
            << "key " << step.key << " from " << from->Name();
        const Lines lines = Take();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(), from->Name() + ".KeyDown " + std::to_string(step.key) + " 0");
    }
    EXPECT_EQ(a->Value() + b->Value() + c->Value(), 0) << "arrows never toggle a check box";
    // With a shift key held the arrows stay where they are.
    desktop.Key(VK_DOWN, ShiftState::Ctrl);
    EXPECT_EQ(form->ActiveControl(), b);
}

TEST_F(CheckBoxTest, EntryAndExitComeFromTheTrackerAfterTheFirstMove) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{10, 10, 110, 27});
    Record(
        *c, [] { return std::string(); }, true);
    form->Show();
    desktop.MouseMove(20, 15);
    desktop.MouseMove(21, 16);
    desktop.MouseMove(200, 100);
    EXPECT_EQ(Take(), (Lines{"chk.MouseMove 0 10,5", "chk.MouseEnter", "chk.MouseMove 0 11,6",
                             "chk.MouseExit"}));
    EXPECT_EQ(c->VisualState(), 0);
}

TEST_F(CheckBoxTest, RedrawHeldBackPaintsNothingUntilItIsTrueAgain) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{0, 0, 100, 17});
    const RECT glyph = c->GlyphRect();
    const int32_t x = glyph.Left + 3 + 6;  // the first pixel of the check mark
    const int32_t y = glyph.Top + 3;
    const COLORREF inside = PixelAt(c->Image(), x, y);
    c->SetRedraw(false);
    c->SetValue(vbChecked);
    c->SetTheme(ENUM_THEME::WindowsThemeGreen);
    EXPECT_EQ(Hex(PixelAt(c->Image(), x, y)), Hex(inside));
    c->SetRedraw(true);
    EXPECT_EQ(Hex(PixelAt(c->Image(), x, y)), "417400");
}

// The glyph in each look the user can bring about, in three themes: its
// frame, the inside's top and bottom rows, and the mark.
TEST_F(CheckBoxTest, TheGlyphShowsTheLookOfTheStateInEachTheme) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{10, 10, 110, 27});
    c->SetValue(vbChecked);
    form->Show();
    struct Look {
        const char* name;
        int32_t look;
        std::function<void()> bring;
    };
    const Look looks[] = {
        {"normal", 0, [&] { desktop.MouseMove(300, 200); }},
        {"hot", 1, [&] { desktop.MouseMove(20, 15); }},
        {"pressed", 2, [&] { desktop.MouseDown(); }},
        {"disabled", 3,
         [&] {
             desktop.MouseMove(300, 200);
             desktop.MouseUp();
             c->SetEnabled(false);
         }},
    };
    for (ENUM_THEME theme :
         {ENUM_THEME::OfficeThemeBlue, ENUM_THEME::WindowsTheme, ENUM_THEME::WindowsThemeLight}) {
        c->SetEnabled(true);
        c->SetValue(vbChecked);
        c->SetTheme(theme);
        for (const Look& l : looks) {
            l.bring();
            ASSERT_EQ(c->VisualState(), l.look) << l.name;
            const detail::GlyphColors want = detail::GlyphColorsFor(theme, l.look);
            const RECT g = c->GlyphRect();
            const std::string where =
                std::string(l.name) + " theme " + std::to_string(static_cast<int>(theme));
            EXPECT_EQ(Hex(PixelAt(c->Image(), g.Left, g.Top)), Hex(want.frame)) << where;
            EXPECT_EQ(Hex(PixelAt(c->Image(), g.Left + 1, g.Top + 1)), Hex(want.fillTop)) << where;
            EXPECT_EQ(Hex(PixelAt(c->Image(), g.Left + 1, g.Top + 11)), Hex(want.fillBottom))
                << where;
            EXPECT_EQ(Hex(PixelAt(c->Image(), g.Left + 9, g.Top + 3)), Hex(want.mark)) << where;
        }
    }
}

TEST_F(CheckBoxTest, TheGlyphGoesToEitherSideWithTheCaptionBesideIt) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{0, 0, 120, 21});
    c->SetCaption("Sim");
    EXPECT_EQ(c->GlyphRect(), (RECT{0, 4, 13, 17}));
    const RECT left = c->CaptionRect();
    EXPECT_EQ(left.Left, 17);
    c->SetAlignment(ENUM_GLYPH_ALIGNMENT::GlyphRight);
    EXPECT_EQ(c->GlyphRect(), (RECT{107, 4, 120, 17}));
    const RECT right = c->CaptionRect();
    EXPECT_EQ(right.Right, 103);
    EXPECT_EQ(right.Right - right.Left, left.Right - left.Left);
    EXPECT_EQ(right.Top, left.Top);
    // Text pixels lie beside the glyph, never on its side of the gap.
    int32_t inkLeft = 999;
    const COLORREF face = PixelAt(c->Image(), 60, 0);
    for (int32_t y = 0; y < 21; ++y) {
        for (int32_t x = 0; x < 103; ++x) {
            if (PixelAt(c->Image(), x, y) != face) {
                inkLeft = std::min(inkLeft, x);
            }
        }
    }
    EXPECT_GE(inkLeft, right.Left);
}

TEST_F(CheckBoxTest, TheFocusRectangleDotsRoundTheCaptionOrTheGlyph) {
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{0, 0, 120, 21});
    c->SetForeColor(0x0000FF);
    c->SetCaption("Sim");
    form->Show();
    ASSERT_TRUE(c->HasFocus());
    const RECT t = c->CaptionRect();
    EXPECT_EQ(Hex(PixelAt(c->Image(), t.Left - 1, t.Top - 1)), "0000FF");
    EXPECT_NE(Hex(PixelAt(c->Image(), t.Left, t.Top - 1)), "0000FF") << "every other pixel";
    c->SetShowFocusRect(false);
    EXPECT_NE(Hex(PixelAt(c->Image(), t.Left - 1, t.Top - 1)), "0000FF");
    c->SetShowFocusRect(true);
    c->SetCaption("");
    // Without a caption the dots go round the glyph, one pixel out.
    const RECT g = c->GlyphRect();
    EXPECT_EQ(Hex(PixelAt(c->Image(), g.Left + 2, g.Top - 1)), "0000FF");
    EXPECT_EQ(Hex(PixelAt(c->Image(), g.Right, g.Top + 1)), "0000FF");
}

TEST_F(CheckBoxTest, RegisteredByItsTypeName) {
    Control* made = form->Controls().Add("KelvaraEx.USCheckBox", "chkMade");
    ASSERT_NE(dynamic_cast<USCheckBox*>(made), nullptr);
}

}  // namespace
}  // namespace kelvara
