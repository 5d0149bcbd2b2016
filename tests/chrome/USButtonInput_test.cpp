#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "USButtonTestSupport.h"
#include "kelvara/frame/APITooltip.h"

namespace kelvara {
namespace {

using test::ButtonTest;
using test::Hex;
using test::PixelAt;
using Lines = std::vector<std::string>;

// Three stored buttons one under the other, "&Abrir", "&Baixar" and
// "&Cancelar", on a shown form: a has the focus. Every event of each is
// written down as "name.Event args".
class USButtonInputTest : public ButtonTest {
protected:
    USButton* a = nullptr;
    USButton* b = nullptr;
    USButton* c = nullptr;
    Lines log;

    void SetUp() override {
        ButtonTest::SetUp();
        a = Add("a", "&Abrir", 10);
        b = Add("b", "&Baixar", 50);
        c = Add("c", "&Cancelar", 90);
        form->Show();
        log.clear();
    }
    USButton* Add(const std::string& name, const std::string& caption, int32_t top,
                  PropertyBag bag = {}) {
        bag.WriteProperty("Caption", Variant(caption), Variant());
        USButton* button = AddStored(name, bag, {10, top, 90, top + 25});
        Record(*button);
        return button;
    }
    void Record(USButton& button) {
        const std::string n = button.Name() + ".";
        const auto mouse = [this, n](const char* what) {
            return [this, n, what](int16_t& bt, int16_t& sh, float& x, float& y) {
                log.push_back(n + what + " " + std::to_string(bt) + " " + std::to_string(sh) + " " +
                              std::to_string(static_cast<int>(x)) + "," +
                              std::to_string(static_cast<int>(y)));
            };
        };
        const auto key = [this, n](const char* what) {
            return [this, n, what](int16_t& k, int16_t& sh) {
                log.push_back(n + what + " " + std::to_string(k) + " " + std::to_string(sh));
            };
        };
        button.Click.Connect([this, n] { log.push_back(n + "Click"); });
        button.DblClick.Connect([this, n] { log.push_back(n + "DblClick"); });
        button.KeyDown.Connect(key("KeyDown"));
        button.KeyPress.Connect(
            [this, n](int16_t& k) { log.push_back(n + "KeyPress " + std::to_string(k)); });
        button.KeyUp.Connect(key("KeyUp"));
        button.MouseDown.Connect(mouse("MouseDown"));
        button.MouseEnter.Connect([this, n] { log.push_back(n + "MouseEnter"); });
        button.MouseExit.Connect([this, n] { log.push_back(n + "MouseExit"); });
        button.MouseMove.Connect(mouse("MouseMove"));
        button.MouseUp.Connect(mouse("MouseUp"));
    }
    Lines Take() { return std::exchange(log, {}); }
    // The states the button painted, as its border colour says (theme 2).
    OLE_COLOR Border(const USButton& button) const { return PixelAt(button.Image(), 0, 0); }
};

TEST_F(USButtonInputTest, AMouseClickEntersPressesAndClicks) {
    struct Step {
        std::function<void(HeadlessDesktop&)> input;
        Lines events;
        int32_t state;
    } steps[] = {
        {[](auto& d) { d.MouseMove(50, 60); }, {"b.MouseMove 0 0 40,10", "b.MouseEnter"}, 1},
        {[](auto& d) { d.MouseMove(51, 61); }, {"b.MouseMove 0 0 41,11"}, 1},
        {[](auto& d) { d.MouseDown(); }, {"b.MouseDown 1 0 41,11"}, 2},
        {[](auto& d) { d.MouseUp(); }, {"b.MouseUp 1 0 41,11", "b.Click"}, 1},
        {[](auto& d) { d.MouseMove(200, 200); }, {"b.MouseExit"}, 0},
    };
    for (const Step& s : steps) {
        s.input(desktop);
        EXPECT_EQ(Take(), s.events);
        EXPECT_EQ(b->LastState(), s.state);
    }
    EXPECT_EQ(form->ActiveControl(), b) << "the press took the focus";
}

TEST_F(USButtonInputTest, OtherButtonsRaiseDownButNeitherUpNorClick) {
    desktop.MouseMove(50, 60);
    Take();
    desktop.MouseDown(MouseButton::Right);
    desktop.MouseUp(MouseButton::Right);
    EXPECT_EQ(Take(), (Lines{"b.MouseDown 2 0 40,10"}));
    EXPECT_EQ(b->LastState(), 1);
}

TEST_F(USButtonInputTest, ReleasedOutsideThereIsNoClick) {
    desktop.MouseMove(50, 60);
    desktop.MouseDown();
    Take();
    desktop.MouseMove(200, 200);
    desktop.MouseUp();
    // The button holds the mouse while pressed: it sees the move, and the
    // leave only once the press is over.
    EXPECT_EQ(Take(), (Lines{"b.MouseMove 1 0 190,150", "b.MouseUp 1 0 190,150", "b.MouseExit"}));
    EXPECT_EQ(b->LastState(), 0);
    EXPECT_EQ(Hex(Border(*b)), "7B3E00") << "normal, with the focus";
}

TEST_F(USButtonInputTest, ADoubleClickGivesDblClickInPlaceOfTheSecondClick) {
    desktop.MouseMove(50, 60);
    Take();
    desktop.DblClick(50, 60);
    EXPECT_EQ(Take(),
              (Lines{"b.MouseMove 0 0 40,10", "b.MouseDown 1 0 40,10", "b.MouseUp 1 0 40,10",
                     "b.Click", "b.MouseMove 0 0 40,10", "b.DblClick", "b.MouseUp 1 0 40,10"}));
    // Deliberate: it stays pressed until the mouse leaves.
    EXPECT_EQ(b->LastState(), 2);
    desktop.MouseMove(200, 200);
    EXPECT_EQ(Take(), (Lines{"b.MouseExit"}));
    EXPECT_EQ(b->LastState(), 0);
}

TEST_F(USButtonInputTest, SpaceClicksOnItsRelease) {
    desktop.KeyDown(VK_SPACE);
    EXPECT_EQ(a->LastState(), 2);
    EXPECT_EQ(GetCapture(), a->hWnd());
    desktop.KeyUp(VK_SPACE);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 32 0", "a.KeyPress 32", "a.Click", "a.KeyUp 32 0"}));
    EXPECT_EQ(a->LastState(), 1);
    EXPECT_EQ(GetCapture(), 0);
}

TEST_F(USButtonInputTest, SpaceHeldWhenTheMouseLeavesShowsTheOverBorder) {
    desktop.MouseMove(50, 20);
    desktop.KeyDown(VK_SPACE);
    EXPECT_EQ(Hex(Border(*a)), "501A00");
    // Space holds the mouse, so no leave comes while it is down; told of
    // one, the button paints normal with a held press: the over border.
    SendMessage(a->hWnd(), WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(a->LastState(), 0);
    EXPECT_EQ(Hex(Border(*a)), "7B3E00");
    desktop.KeyUp(VK_SPACE);
    EXPECT_EQ(a->LastState(), 1);
    EXPECT_EQ(Take(), (Lines{"a.MouseMove 0 0 40,10", "a.MouseEnter", "a.KeyDown 32 0",
                             "a.KeyPress 32", "a.MouseExit", "a.Click", "a.KeyUp 32 0"}));
}

TEST_F(USButtonInputTest, ArrowsMoveTheFocusAsTabDoes) {
    desktop.Key(VK_DOWN);
    EXPECT_EQ(form->ActiveControl(), b);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 40 0", "b.KeyUp 40 0"}));
    desktop.Key(VK_RIGHT);
    EXPECT_EQ(form->ActiveControl(), c);
    Take();
    desktop.Key(VK_UP);
    EXPECT_EQ(form->ActiveControl(), b);
    // The typed Shift reaches the button first and moves nothing itself.
    EXPECT_EQ(Take(), (Lines{"c.KeyDown 38 0", "c.KeyDown 16 1", "b.KeyUp 16 0", "b.KeyUp 38 0"}));
    desktop.Key(VK_LEFT);
    EXPECT_EQ(form->ActiveControl(), a);
    Take();
    // With a shift key held the arrows are plain keys.
    desktop.Key(VK_DOWN, ShiftState::Shift);
    EXPECT_EQ(form->ActiveControl(), a);
    desktop.Key(VK_DOWN, ShiftState::Ctrl);
    EXPECT_EQ(form->ActiveControl(), a);
}

TEST_F(USButtonInputTest, AccessKeysReturnAndEscapeClickTheirButtons) {
    b->SetDefault(true);
    c->SetCancel(true);
    desktop.Key('B', ShiftState::Alt);
    EXPECT_EQ(form->ActiveControl(), b);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 18 4", "b.Click", "b.KeyUp 66 4", "b.KeyUp 18 0"}));
    // The focused button is the default one for Return.
    a->SetFocus();
    Take();
    desktop.Key(VK_RETURN);
    EXPECT_EQ(Take(), (Lines{"a.Click", "a.KeyUp 13 0"}));
    desktop.Key(VK_ESCAPE);
    EXPECT_EQ(Take(), (Lines{"c.Click", "a.KeyUp 27 0"}));
    EXPECT_EQ(form->ActiveControl(), a) << "Return and Escape leave the focus";
}

TEST_F(USButtonInputTest, ALatchingButtonTogglesButNotByReturnOrEscape) {
    b->SetCheckBoxMode(true);
    c->SetCheckBoxMode(true);
    c->SetCancel(true);
    b->SetFocus();
    struct Step {
        std::function<void(HeadlessDesktop&)> input;
        bool bValue;
        bool cValue;
        Lines events;
    } steps[] = {
        {[](auto& d) { d.Key(VK_SPACE); },
         true,
         false,
         {"b.KeyDown 32 0", "b.KeyPress 32", "b.Click", "b.KeyUp 32 0"}},
        {[](auto& d) { d.Key(VK_RETURN); }, true, false, {"b.KeyUp 13 0"}},
        {[](auto& d) { d.Key(VK_ESCAPE); }, true, false, {"b.KeyUp 27 0"}},
        {[](auto& d) { d.Click(50, 100); },
         true,
         true,
         {"c.MouseMove 0 0 40,10", "c.MouseEnter", "c.MouseDown 1 0 40,10", "c.MouseUp 1 0 40,10",
          "c.Click"}},
        {[](auto& d) {
             d.AdvanceTime(1000);
             d.Click(50, 100);
         },
         true,
         false,
         {"c.MouseMove 0 0 40,10", "c.MouseDown 1 0 40,10", "c.MouseUp 1 0 40,10", "c.Click"}},
        {[](auto& d) { d.Key('B', ShiftState::Alt); },
         false,
         false,
         {"c.KeyDown 18 4", "b.Click", "b.KeyUp 66 4", "b.KeyUp 18 0"}},
    };
    Take();
    for (const Step& s : steps) {
        s.input(desktop);
        EXPECT_EQ(b->Value(), s.bValue);
        EXPECT_EQ(c->Value(), s.cValue);
        EXPECT_EQ(Take(), s.events);
    }
}

TEST_F(USButtonInputTest, ALockedButtonLooksPressedAndTogglesWithoutClick) {
    b->SetLocked(true);
    b->SetCheckBoxMode(true);
    desktop.Click(50, 60);
    EXPECT_TRUE(b->Value());
    EXPECT_EQ(Take(), (Lines{"b.MouseMove 0 0 40,10", "b.MouseEnter", "b.MouseDown 1 0 40,10",
                             "b.MouseUp 1 0 40,10"}));
    EXPECT_EQ(b->LastState(), 1);
    EXPECT_EQ(Hex(Border(*b)), "501A00") << "latched: the pressed border";
}

TEST_F(USButtonInputTest, ValueFromCodePressesAPushButtonOnceWithoutClick) {
    b->SetValue(true);
    EXPECT_FALSE(b->Value());
    EXPECT_EQ(b->LastState(), 1);
    EXPECT_TRUE(Take().empty());
    // A latching one just holds it.
    b->SetCheckBoxMode(true);
    b->SetValue(true);
    EXPECT_TRUE(b->Value());
    EXPECT_TRUE(Take().empty());
}

TEST_F(USButtonInputTest, ADisabledButtonTakesNoInput) {
    b->SetEnabled(false);
    EXPECT_EQ(b->LastState(), 3);
    // Disabling cancels any mouse mode, which the button takes as a leave.
    EXPECT_EQ(Take(), (Lines{"b.MouseExit"}));
    desktop.Click(50, 60);
    desktop.Key('B', ShiftState::Alt);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 18 4", "a.KeyDown 66 4", "a.KeyUp 66 4", "a.KeyUp 18 0"}));
    EXPECT_EQ(form->ActiveControl(), a);
    b->SetEnabled(true);
    EXPECT_EQ(b->LastState(), 0);
}

TEST_F(USButtonInputTest, FocusShowsInTheBorderAndGoesWithTheFocus) {
    EXPECT_EQ(Hex(Border(*a)), "7B3E00");
    EXPECT_EQ(Hex(Border(*b)), "9A572B");
    b->SetFocus();
    EXPECT_EQ(Hex(Border(*a)), "9A572B");
    EXPECT_EQ(Hex(Border(*b)), "7B3E00");
    EXPECT_TRUE(Take().empty()) << "focus raises no events of the button";
}

TEST_F(USButtonInputTest, TheTooltipNeedsADescriptionAndAnIcon) {
    struct Case {
        const char* description;
        int32_t icon;
        bool tip;
    } cases[] = {{"Abre o arquivo", 1, true}, {"Abre o arquivo", 0, false}, {"", 2, false}};
    int32_t top = 130;
    for (const Case& k : cases) {
        PropertyBag bag;
        bag.WriteProperty("ToolTipDescription", Variant(k.description), Variant());
        bag.WriteProperty("ToolTipIcon", Variant(k.icon), Variant());
        bag.WriteProperty("ToolTipTitle", Variant("Abrir"), Variant());
        USButton* d = Add("d" + std::to_string(top), "Dica", top, bag);
        // Shown after the form: it makes its tip when it is shown.
        d->SetVisible(false);
        d->SetVisible(true);
        EXPECT_EQ(d->Tooltip() != nullptr && d->Tooltip()->hWnd() != 0, k.tip) << k.description;
        top += 30;
    }
}

TEST_F(USButtonInputTest, TheTooltipShowsAfterItsDelay) {
    PropertyBag bag;
    bag.WriteProperty("ToolTipDescription", Variant("Abre o arquivo"), Variant());
    bag.WriteProperty("ToolTipIcon", Variant(int32_t{1}), Variant());
    bag.WriteProperty("ToolDelayTime", Variant(int32_t{800}), Variant());
    auto second = MakeForm(FormMode::Run);
    USButton* d = AddStored("d", bag, {10, 10, 90, 35}, second.get());
    second->Show();
    ASSERT_NE(d->Tooltip(), nullptr);
    const HWND tip = d->Tooltip()->hWnd();
    EXPECT_EQ(d->Tooltip()->TipText(), "Abre o arquivo");
    EXPECT_EQ(d->Tooltip()->DelayTime(), 800);
    EXPECT_EQ(d->Tooltip()->Style(), ENUM_TOOLTIP_STYLE::ToolTipBalloon);
    desktop.MouseMove(50, 20);
    desktop.AdvanceTime(799);
    EXPECT_FALSE(IsWindowVisible(tip));
    desktop.AdvanceTime(1);
    EXPECT_TRUE(IsWindowVisible(tip));
    // The application may end it.
    d->DestroyToolTip();
    EXPECT_FALSE(IsWindow(tip));
}

TEST(USButtonDesignTest, ADesignSurfaceHasNoHoverNoTipAndNoPressedPushButton) {
    HeadlessDesktop desktop;
    Form design("frmDesign", FormMode::Design);
    design.SetBorderStyle(FormBorderStyle::None);
    design.SetStartUpPosition(0);
    design.Move(0, 0, 200 * 15, 100 * 15);
    PropertyBag bag;
    bag.WriteProperty("ToolTipDescription", Variant("Dica"), Variant());
    bag.WriteProperty("ToolTipIcon", Variant(int32_t{1}), Variant());
    auto* b = static_cast<USButton*>(
        design.Controls().AddCreated(std::make_unique<USButton>(), "cmd", &bag, true));
    b->SetBounds(RECT{10, 10, 90, 35});
    design.Show();
    EXPECT_EQ(b->Tooltip(), nullptr);
    b->CreateToolTip();
    EXPECT_EQ(b->Tooltip(), nullptr);
    desktop.MouseMove(50, 20);
    EXPECT_EQ(b->LastState(), 0);
    b->SetValue(true);
    EXPECT_FALSE(b->Value());
    b->SetCheckBoxMode(true);
    b->SetValue(true);
    EXPECT_TRUE(b->Value());
}

TEST_F(USButtonInputTest, AHandlerMayUnloadTheFormFromClick) {
    a->Click.Connect([this] { form.reset(); });
    desktop.Key(VK_SPACE);
    EXPECT_EQ(form, nullptr);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 32 0", "a.KeyPress 32", "a.Click"}));
}

}  // namespace
}  // namespace kelvara
