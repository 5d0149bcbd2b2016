#include "kelvara/input/USOptionButton.h"

#include <gtest/gtest.h>

#include "kelvara/host/FormFileLoader.h"
#include "kelvara/input/USCheckBox.h"
#include "kelvara/input/detail/Glyphs.h"
#include "tests/input/ToggleTestSupport.h"

namespace kelvara {
namespace {

using testing::Hex;
using testing::Lines;
using testing::OwnKeys;
using testing::PixelAt;

// A plain container of controls, as a group box is one. Disabling it tells
// what it holds.
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
    // Options one under another, 20 pixels apart from y = 10.
    std::vector<USOptionButton*> AddOptions(ControlContainer& where, const std::string& prefix,
                                            int count) {
        std::vector<USOptionButton*> made;
        for (int i = 0; i < count; ++i) {
            USOptionButton* o = Add<USOptionButton>(where, prefix + std::to_string(i + 1),
                                                    RECT{10, 10 + 20 * i, 110, 27 + 20 * i});
            Record(*o, [o] { return std::to_string(o->Value()); });
            made.push_back(o);
        }
        return made;
    }
    static std::string Chosen(const std::vector<USOptionButton*>& group) {
        std::string out;
        for (USOptionButton* o : group) {
            out += o->Value() ? '1' : '0';
        }
        return out;
    }
};

TEST_F(OptionTest, ChoosingOneClearsTheOthersOfItsContainerOnly) {
    const auto opts = AddOptions(*form, "o", 3);
    const auto inner = AddOptions(*Add<Panel>(*form, "panel", RECT{150, 0, 300, 100}), "p", 2);
    inner[0]->SetValue(true);
    opts[0]->SetValue(true);
    form->Show();
    desktop.Click(20, 35);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 35);  // the chosen one again: a click, no change
    EXPECT_EQ(Chosen(opts) + " " + Chosen(inner), "010 10");
    EXPECT_EQ(Take(),
              (Lines{"o2.MouseEnter", "o2.MouseDown 1 10,5", "o2.MouseUp 1 10,5", "o2.Click 1",
                     "o2.MouseDown 1 10,5", "o2.MouseUp 1 10,5", "o2.Click 1"}));
    // From code: the others clear and announce it; no Click.
    Lines announced;
    for (USOptionButton* o : opts) {
        o->PropertyChanges.Connect(
            [&announced, o](const std::string& key) { announced.push_back(o->Name() + key); });
    }
    opts[2]->SetValue(true);
    EXPECT_EQ(Chosen(opts), "001");
    EXPECT_EQ(announced, (Lines{"o3Value", "o2Value"}));
    opts[2]->SetValue(false);
    EXPECT_EQ(Chosen(opts), "000") << "False leaves the group with none";
    EXPECT_EQ(Take(), Lines{});
}

// From the check box "before", through three options, to "after".
struct TabCase {
    const char* name;
    int chosen;
    int disabled;
    int shift;
    Lines stops;
};

TEST_F(OptionTest, TabEntersAGroupAtItsChoice) {
    const TabCase cases[] = {
        {"none chosen: each a stop", -1, -1, 0, {"o1", "o2", "o3", "after", "before"}},
        {"one chosen: only it", 1, -1, 0, {"o2", "after", "before"}},
        {"backwards too", 1, -1, ShiftState::Shift, {"after", "o2", "before"}},
        {"the choice disabled: the others", 1, 1, 0, {"o1", "o3", "after", "before"}},
    };
    for (const TabCase& c : cases) {
        form = MakeForm();
        Add<USCheckBox>(*form, "before", RECT{150, 10, 250, 27});
        const auto opts = AddOptions(*form, "o", 3);
        Add<USCheckBox>(*form, "after", RECT{150, 40, 250, 57});
        if (c.chosen >= 0) {
            opts[size_t(c.chosen)]->SetValue(true);
        }
        if (c.disabled >= 0) {
            opts[size_t(c.disabled)]->SetEnabled(false);
        }
        form->Show();
        Lines stops;
        for (size_t i = 0; i < c.stops.size(); ++i) {
            desktop.Key(VK_TAB, c.shift);
            stops.push_back(form->ActiveControl()->Name());
        }
        EXPECT_EQ(stops, c.stops) << c.name;
    }
}

TEST_F(OptionTest, ArrowsChooseRoundTheGroupSkippingTheDisabled) {
    const auto opts = AddOptions(*form, "o", 4);
    opts[0]->SetValue(true);
    opts[2]->SetEnabled(false);
    form->Show();
    const std::pair<int32_t, const char*> steps[] = {{VK_DOWN, "0100"},
                                                     {VK_RIGHT, "0001"},
                                                     {VK_DOWN, "1000"},
                                                     {VK_UP, "0001"},
                                                     {VK_LEFT, "0100"}};
    for (const auto& [key, chosen] : steps) {
        desktop.Key(key);
        EXPECT_EQ(Chosen(opts), chosen) << key;
        EXPECT_TRUE(static_cast<USOptionButton*>(form->ActiveControl())->Value()) << key;
    }
    // The new choice's Click, then the key's own events.
    Take();
    desktop.Key(VK_DOWN);
    EXPECT_EQ(Take(), (Lines{"o4.Click 1", "o2.KeyDown 40 0", "o4.KeyUp 40 0"}));
}

TEST_F(OptionTest, AnOptionAloneInItsContainerMovesOnLikeACheckBox) {
    const auto alone = AddOptions(*form, "alone", 1);
    AddOptions(*Add<Panel>(*form, "panel", RECT{150, 0, 300, 100}), "inner", 1);
    USCheckBox* next = Add<USCheckBox>(*form, "next", RECT{10, 40, 110, 57});
    form->Show();
    desktop.Key(VK_DOWN);
    EXPECT_EQ(form->ActiveControl(), next);
    EXPECT_FALSE(alone[0]->Value());
}

TEST_F(OptionTest, TheAccessKeyReachesAnOptionThatIsNoTabStop) {
    const auto opts = AddOptions(*form, "o", 2);
    opts[0]->SetValue(true);
    opts[1]->SetCaption("&Pessoa jurídica");
    form->Show();
    EXPECT_FALSE(opts[1]->CanTakeFocus());
    desktop.Key('P', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), opts[1]);
    EXPECT_EQ(Chosen(opts), "01");
}

TEST_F(OptionTest, ADisabledContainerDisablesItsOptionsInLookAndInput) {
    Panel* panel = Add<Panel>(*form, "panel", RECT{0, 0, 200, 100});
    const auto opts = AddOptions(*panel, "p", 2);
    form->Show();
    panel->SetEnabled(false);
    EXPECT_EQ(opts[0]->VisualState(), 3);
    const RECT g = opts[0]->GlyphRect();
    EXPECT_EQ(PixelAt(opts[0]->Image(), g.Left + 4, g.Top), "C3C3C3");
    desktop.Click(20, 15);
    EXPECT_EQ(Chosen(opts), "00");
    panel->SetEnabled(true);
    EXPECT_EQ(opts[0]->VisualState(), 0);
    desktop.AdvanceTime(1000);
    desktop.Click(20, 15);
    EXPECT_EQ(Chosen(opts), "10");
}

TEST_F(OptionTest, ValueIsSavedAndReadBackAsABoolean) {
    USOptionButton* o = Load<USOptionButton>(*form, "o1", PropertyBag());
    PropertyBag saved;
    o->SaveTo(saved);
    EXPECT_EQ(OwnKeys(saved), Lines{});
    o->SetValue(true);
    o->SaveTo(saved);
    EXPECT_EQ(OwnKeys(saved), Lines{"Value"});
    EXPECT_EQ(saved.ReadProperty("Value", Variant()), Variant(true));
    EXPECT_TRUE(Load<USOptionButton>(*Add<Panel>(*form, "p", RECT{}), "o2", saved)->Value());
}

// Both glyphs, marked, in each look the user can bring about, in three
// themes: frame, the inside's top row, the mark, and a pixel outside the
// round glyph left to the back colour.
TEST_F(OptionTest, BothGlyphsShowTheLookOfTheStateInEachTheme) {
    USOptionButton* o = Add<USOptionButton>(*form, "opt", RECT{10, 10, 110, 27});
    USCheckBox* c = Add<USCheckBox>(*form, "chk", RECT{10, 40, 110, 57});
    o->SetBackColor(0x00FF00);
    form->Show();
    struct Probe {
        ToggleControl* control;
        POINT frame, inside, mark;
    };
    const Probe probes[] = {{o, {6, 0}, {6, 1}, {6, 6}}, {c, {0, 0}, {1, 1}, {9, 3}}};
    for (const Probe& p : probes) {
        const RECT r = p.control->Bounds();
        const RECT g = p.control->GlyphRect();
        for (ENUM_THEME theme : {ENUM_THEME::OfficeThemeSilver, ENUM_THEME::WindowsThemeBlack,
                                 ENUM_THEME::WindowsThemeLight}) {
            p.control->SetEnabled(true);
            p.control->SetTheme(theme);
            o->SetValue(true);
            c->SetValue(vbChecked);
            const std::function<void()> bring[] = {
                [&] { desktop.MouseMove(300, 200); },
                [&] { desktop.MouseMove(r.Left + 5, r.Top + 5); },
                [&] { desktop.MouseDown(); },
                [&] {
                    desktop.MouseMove(300, 200);
                    desktop.MouseUp();
                    p.control->SetEnabled(false);
                },
            };
            for (int32_t look = 0; look < 4; ++look) {
                bring[look]();
                ASSERT_EQ(p.control->VisualState(), look);
                const detail::GlyphColors want = detail::GlyphColorsFor(theme, look);
                const auto at = [&](POINT q) {
                    return PixelAt(p.control->Image(), g.Left + q.X, g.Top + q.Y);
                };
                const std::string where = p.control->Name() + " look " + std::to_string(look) +
                                          " theme " + std::to_string(int(theme));
                EXPECT_EQ(at(p.frame), Hex(want.frame)) << where;
                EXPECT_EQ(at(p.inside), Hex(want.fillTop)) << where;
                EXPECT_EQ(at(p.mark), Hex(want.mark)) << where;
            }
        }
    }
    EXPECT_EQ(PixelAt(o->Image(), o->GlyphRect().Left, o->GlyphRect().Top), "00FF00");
}

// A form file as the designer writes it: check box and options on the form
// and options in a container, with values of every kind (a font block, a
// system colour, an enumeration, the three-state Value, Booleans).
TEST_F(OptionTest, AFormFileLoadsAsStoredAndSavesBackUnchanged) {
    RegisterControlType("Test.Panel", [] { return std::make_unique<Panel>(); });
    const std::string lines = R"(VERSION 5.00
Begin VB.Form frmPessoa
   ClientHeight    =   3150
   ClientLeft      =   60
   ClientTop       =   390
   Begin KelvaraEx.USCheckBox chkAtivo
      Left            =   120
      Top             =   120
      Width           =   1680
      Height          =   255
      TabIndex        =   0
      BeginProperty Font {0BE35203-8F91-11CE-9DE3-00AA004BB851}
         Name            =   "Arial"
         Size            =   9#
         Charset         =   0
         Weight          =   400
         Underline       =   0   'False
         Italic          =   0   'False
         Strikethrough   =   0   'False
      EndProperty
      Caption         =   "&Ativo"
      ForeColor       =   &H80000005&
      Theme           =   4
      Value           =   2
   End
   Begin KelvaraEx.USOptionButton optFisica
      Left            =   120
      Top             =   450
      Width           =   1680
      Height          =   255
      TabIndex        =   1
      Alignment       =   1
      Value           =   -1  'True
   End
   Begin KelvaraEx.USOptionButton optJuridica
      Left            =   120
      Top             =   780
      Width           =   1680
      Height          =   255
      TabIndex        =   2
      Value           =   -1  'True
   End
   Begin Test.Panel pnl
      Left            =   1995
      Top             =   120
      Width           =   1800
      Height          =   900
      TabIndex        =   3
      Begin KelvaraEx.USOptionButton optA
         Left            =   120
         Top             =   120
         Width           =   1680
         Height          =   255
         TabIndex        =   0
         Value           =   -1  'True
      End
   End
End
)";
    std::string text;  // with the line ends a form file has
    for (char c : lines) {
        text += c == '\n' ? "\r\n" : std::string(1, c);
    }
    auto loaded = LoadFormFile(text);
    ASSERT_TRUE(loaded);
    Form& f = *loaded.Value();
    EXPECT_EQ(SaveFormFile(f), text);
    auto* chk = dynamic_cast<USCheckBox*>(f.Controls().Item("chkAtivo"));
    auto* fisica = dynamic_cast<USOptionButton*>(f.Controls().Item("optFisica"));
    auto* juridica = dynamic_cast<USOptionButton*>(f.Controls().Item("optJuridica"));
    ASSERT_TRUE(chk && fisica && juridica);
    EXPECT_EQ(chk->Caption() + chk->Font().Name() + Hex(chk->ForeColor()), "&AtivoArial80000005");
    EXPECT_EQ(chk->Value() * 10 + int(chk->Theme()), 24);
    EXPECT_EQ(fisica->Alignment(), ENUM_GLYPH_ALIGNMENT::GlyphRight);
    // Loading takes the values as stored, two choices and all; the next
    // choice settles the group, and only that group.
    EXPECT_EQ(Chosen({fisica, juridica}), "11");
    fisica->SetValue(true);
    EXPECT_EQ(Chosen({fisica, juridica}), "10");
    auto* panel = dynamic_cast<Panel*>(f.Controls().Item("pnl"));
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(static_cast<USOptionButton*>(panel->Controls().Item("optA"))->Value());
}

TEST_F(OptionTest, BothControlsAreRegisteredByTypeName) {
    EXPECT_NE(dynamic_cast<USOptionButton*>(form->Controls().Add("KelvaraEx.USOptionButton", "o")),
              nullptr);
    EXPECT_NE(dynamic_cast<USCheckBox*>(form->Controls().Add("KelvaraEx.USCheckBox", "c")),
              nullptr);
}

}  // namespace
}  // namespace kelvara
