#include "kelvara/host/UserControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/DragDrop.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

// A control that writes down every container event with its arguments.
class Recorder : public UserControl {
public:
    Recorder() : UserControl("Test.Recorder") {}
    Lines* log = nullptr;
    bool paintsOwnImage = true;  // AutoRedraw painting in Resize
    OLE_COLOR face = 0x00FF00;
    int32_t minimumHeight = 0;
    std::string stored;

protected:
    void Add(std::string line) {
        if (log != nullptr) {
            log->push_back(Name() + "." + line);
        }
    }
    void UserControl_Initialize() override { Add("Initialize"); }
    void UserControl_InitProperties() override {
        Add("InitProperties UserMode=" + std::to_string(Ambient().UserMode));
    }
    void UserControl_ReadProperties(PropertyBag& bag) override {
        stored = bag.ReadProperty("Text", Variant("none")).ToText().value_or("");
        Add("ReadProperties " + stored + " UserMode=" + std::to_string(Ambient().UserMode));
    }
    void UserControl_WriteProperties(PropertyBag& bag) override {
        bag.WriteProperty("Text", Variant(stored), Variant("none"));
        Add("WriteProperties");
    }
    void UserControl_Resize() override {
        Add("Resize " + std::to_string(static_cast<int32_t>(ScaleWidth())) + "x" +
            std::to_string(static_cast<int32_t>(ScaleHeight())));
        if (minimumHeight > 0 && ScaleHeight() < static_cast<float>(minimumHeight)) {
            SetUserHeight(static_cast<float>(minimumHeight * Screen::TwipsPerPixelY));
            return;
        }
        if (paintsOwnImage) {
            SetAutoRedraw(true);
            Cls();
            hDC().FillRect(
                RECT{0, 0, static_cast<int32_t>(ScaleWidth()), static_cast<int32_t>(ScaleHeight())},
                face);
            SetAutoRedraw(false);
        }
    }
    void UserControl_Show() override { Add("Show"); }
    void UserControl_Hide() override { Add("Hide"); }
    void UserControl_Paint() override {
        if (!paintsOwnImage) {
            Add("Paint");
        }
    }
    void UserControl_Terminate() override { Add("Terminate"); }
    void UserControl_GotFocus() override { Add("GotFocus"); }
    void UserControl_LostFocus() override { Add("LostFocus"); }
    void UserControl_EnterFocus() override { Add("EnterFocus"); }
    void UserControl_ExitFocus() override { Add("ExitFocus"); }
    void UserControl_AccessKeyPress(int16_t key) override {
        Add("AccessKeyPress " + std::to_string(key));
    }
    void UserControl_AmbientChanged(const std::string& name) override {
        Add("AmbientChanged " + name + "=" + std::to_string(Ambient().DisplayAsDefault));
    }
    void UserControl_Click() override { Add("Click"); }
    void UserControl_DblClick() override { Add("DblClick"); }
    void UserControl_KeyDown(int16_t& key, int16_t& shift) override {
        Add("KeyDown " + std::to_string(key) + " " + std::to_string(shift));
    }
    void UserControl_KeyPress(int16_t& key) override { Add("KeyPress " + std::to_string(key)); }
    void UserControl_KeyUp(int16_t& key, int16_t& shift) override {
        Add("KeyUp " + std::to_string(key) + " " + std::to_string(shift));
    }
    void UserControl_MouseDown(int16_t& b, int16_t& s, float& x, float& y) override {
        Add("MouseDown " + Args(b, s, x, y));
    }
    void UserControl_MouseUp(int16_t& b, int16_t& s, float& x, float& y) override {
        Add("MouseUp " + Args(b, s, x, y));
    }
    void UserControl_OLEDragOver(DataObject& data, int32_t& effect, int16_t&, int16_t&, float& x,
                                 float& y, int16_t& state) override {
        Add("OLEDragOver " + std::to_string(state) + " " + std::to_string(static_cast<int>(x)) +
            "," + std::to_string(static_cast<int>(y)) + " " +
            data.GetData(vbCFFiles).ToText().value_or(""));
        effect = vbDropEffectCopy;
    }
    void UserControl_OLEDragDrop(DataObject&, int32_t& effect, int16_t&, int16_t&, float&,
                                 float&) override {
        Add("OLEDragDrop " + std::to_string(effect));
    }
    static std::string Args(int16_t b, int16_t s, float x, float y) {
        return std::to_string(b) + " " + std::to_string(s) + " " +
               std::to_string(static_cast<int32_t>(x)) + "," +
               std::to_string(static_cast<int32_t>(y));
    }
};

class UserControlTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Lines log;

    // A borderless form at the screen's corner, so client and screen
    // pixels agree.
    std::unique_ptr<Form> MakeForm(FormMode mode = FormMode::Run) {
        auto form = std::make_unique<Form>("frmTest", mode);
        form->SetBorderStyle(FormBorderStyle::None);
        form->SetStartUpPosition(0);
        form->Move(0, 0, 400 * 15, 300 * 15);
        return form;
    }
    Recorder* AddRecorder(Form& form, const std::string& name, RECT r,
                          const std::function<void(Recorder&)>& setup = nullptr) {
        auto made = std::make_unique<Recorder>();
        made->log = &log;
        if (setup) {
            setup(*made);
        }
        const PropertyBag* bag = nullptr;
        auto* c =
            static_cast<Recorder*>(form.Controls().AddCreated(std::move(made), name, bag, true));
        c->SetBounds(r);
        return c;
    }
    Lines Take() { return std::exchange(log, {}); }
};

TEST_F(UserControlTest, NewAndStoredControlsGetTheirPropertiesOneWayOnly) {
    auto form = MakeForm();
    Load(*form);
    AddRecorder(*form, "a", {0, 0, 50, 20});
    PropertyBag bag;
    bag.WriteProperty("Text", Variant("kept"), Variant(""));
    bag.WriteProperty("Width", Variant(int32_t{60 * 15}), Variant(0));
    bag.WriteProperty("Height", Variant(int32_t{30 * 15}), Variant(0));
    auto made = std::make_unique<Recorder>();
    made->log = &log;
    form->Controls().AddCreated(std::move(made), "b", &bag, true);
    EXPECT_EQ(Take(), (Lines{"a.Initialize", "a.InitProperties UserMode=1", "a.Resize 0x0",
                             "a.Resize 50x20", "b.Initialize", "b.ReadProperties kept UserMode=1",
                             "b.Resize 60x30"}));
    form->Show();
    EXPECT_EQ(Take(), (Lines{"a.Show", "b.Show", "a.EnterFocus", "a.GotFocus"}));
}

TEST_F(UserControlTest, MouseGivesClickAfterUpAndDblClickInPlaceOfTheSecondDown) {
    auto form = MakeForm();
    AddRecorder(*form, "a", {10, 10, 60, 40});
    form->Show();
    Take();
    desktop.Click(20, 15);
    EXPECT_EQ(Take(), (Lines{"a.MouseDown 1 0 10,5", "a.MouseUp 1 0 10,5", "a.Click"}));
    desktop.AdvanceTime(1000);
    desktop.DblClick(20, 15);
    EXPECT_EQ(Take(), (Lines{"a.MouseDown 1 0 10,5", "a.MouseUp 1 0 10,5", "a.Click", "a.DblClick",
                             "a.MouseUp 1 0 10,5"}));
    desktop.AdvanceTime(1000);
    // Released outside: no Click; the capture kept the mouse with the control.
    desktop.MouseMove(20, 15);
    desktop.MouseDown(MouseButton::Left, ShiftState::Shift);
    desktop.MouseMove(200, 200);
    desktop.MouseUp(MouseButton::Left, ShiftState::Shift);
    EXPECT_EQ(Take(), (Lines{"a.KeyDown 16 1", "a.MouseDown 1 1 10,5", "a.MouseUp 1 1 190,190",
                             "a.KeyUp 16 0"}));
    // The right button never clicks.
    desktop.Click(20, 15, MouseButton::Right);
    EXPECT_EQ(Take(), (Lines{"a.MouseDown 2 0 10,5", "a.MouseUp 2 0 10,5"}));
}

TEST_F(UserControlTest, TabMovesTheFocusByTabIndexWithEnterAndExit) {
    auto form = MakeForm();
    Recorder* a = AddRecorder(*form, "a", {0, 0, 50, 20});
    Recorder* b = AddRecorder(*form, "b", {0, 30, 50, 50});
    Recorder* c = AddRecorder(*form, "c", {0, 60, 50, 80});
    c->SetTabIndex(0);  // c, a, b
    EXPECT_EQ(a->TabIndex(), 1);
    EXPECT_EQ(b->TabIndex(), 2);
    b->SetTabStop(false);
    form->Show();
    EXPECT_EQ(form->ActiveControl(), c);
    Take();
    desktop.Key(VK_TAB);
    EXPECT_EQ(Take(),
              (Lines{"c.LostFocus", "c.ExitFocus", "a.EnterFocus", "a.GotFocus", "a.KeyUp 9 0"}));
    desktop.Key(VK_TAB, ShiftState::Shift);
    EXPECT_EQ(form->ActiveControl(), c);
    Take();
    // Keys reach the focused control: down, the character, up.
    desktop.Type("x");
    EXPECT_EQ(Take(), (Lines{"c.KeyDown 88 0", "c.KeyPress 120", "c.KeyUp 88 0"}));
}

TEST_F(UserControlTest, KeyPreviewLetsTheFormSeeAndEatKeysFirst) {
    auto form = MakeForm();
    AddRecorder(*form, "a", {0, 0, 50, 20});
    form->SetKeyPreview(true);
    form->KeyDown.Connect([&](int16_t& key, int16_t&) {
        log.push_back("form.KeyDown " + std::to_string(key));
        if (key == 'Q') {
            key = 0;
        }
    });
    form->KeyPress.Connect(
        [&](int16_t& key) { log.push_back("form.KeyPress " + std::to_string(key)); });
    form->Show();
    Take();
    desktop.Type("w");
    EXPECT_EQ(Take(), (Lines{"form.KeyDown 87", "a.KeyDown 87 0", "form.KeyPress 119",
                             "a.KeyPress 119", "a.KeyUp 87 0"}));
    desktop.Key('Q');
    EXPECT_EQ(Take(), (Lines{"form.KeyDown 81", "a.KeyUp 81 0"}));
}

TEST_F(UserControlTest, AccessKeysDefaultAndCancelGoToTheirControls) {
    auto form = MakeForm();
    Recorder* text = AddRecorder(*form, "text", {0, 0, 50, 20});
    text->SetCanGetFocus(true);
    Recorder* ok = AddRecorder(*form, "ok", {0, 30, 50, 50});
    ok->SetDefaultCancel(true);
    ok->SetAccessKeys("O");
    Recorder* cancel = AddRecorder(*form, "cancel", {0, 60, 50, 80});
    cancel->SetDefaultCancel(true);
    ok->SetDefault(true);
    cancel->SetCancel(true);
    form->Show();
    EXPECT_EQ(form->ActiveControl(), text);
    EXPECT_EQ(form->DisplayedDefault(), ok);
    Take();

    desktop.Key(VK_RETURN);
    EXPECT_EQ(Take(), (Lines{"ok.AccessKeyPress 13", "text.KeyUp 13 0"}));
    desktop.Key(VK_ESCAPE);
    EXPECT_EQ(Take(), (Lines{"cancel.AccessKeyPress 27", "text.KeyUp 27 0"}));

    // Alt+O: the focus moves to the control, then the key arrives.
    desktop.Key('O', ShiftState::Alt);
    EXPECT_EQ(Take(),
              (Lines{"text.KeyDown 18 4", "text.LostFocus", "text.ExitFocus", "ok.EnterFocus",
                     "ok.GotFocus", "ok.AccessKeyPress 111", "ok.KeyUp 79 4", "ok.KeyUp 18 0"}));
    EXPECT_EQ(form->ActiveControl(), ok);

    // A focused button that can be default shows as default; the default
    // one stops showing it.
    cancel->SetFocus();
    EXPECT_EQ(form->DisplayedDefault(), cancel);
    Lines moved = Take();
    EXPECT_NE(std::find(moved.begin(), moved.end(), "ok.AmbientChanged DisplayAsDefault=0"),
              moved.end());
    EXPECT_NE(std::find(moved.begin(), moved.end(), "cancel.AmbientChanged DisplayAsDefault=1"),
              moved.end());
    desktop.Key(VK_RETURN);
    EXPECT_EQ(Take().front(), "cancel.AccessKeyPress 13");
}

TEST_F(UserControlTest, DefaultAndCancelControlsMayLieInsideOtherControls) {
    auto form = MakeForm();
    Recorder* text = AddRecorder(*form, "text", {0, 0, 50, 20});
    Recorder* box = AddRecorder(*form, "box", {0, 30, 200, 100});
    auto inner = std::make_unique<Recorder>();
    inner->log = &log;
    auto* cancel = static_cast<Recorder*>(
        box->Controls().AddCreated(std::move(inner), "cancel", nullptr, true));
    cancel->SetBounds(RECT{10, 10, 60, 30});
    cancel->SetDefaultCancel(true);
    cancel->SetCancel(true);
    cancel->SetDefault(true);
    form->Show();
    EXPECT_EQ(form->ActiveControl(), text);
    EXPECT_EQ(form->DisplayedDefault(), cancel);
    Take();
    desktop.Key(VK_ESCAPE);
    desktop.Key(VK_RETURN);
    EXPECT_EQ(Take(), (Lines{"cancel.AccessKeyPress 27", "text.KeyUp 27 0",
                             "cancel.AccessKeyPress 13", "text.KeyUp 13 0"}));
}

TEST_F(UserControlTest, DesignModeControlsSeeNoUserModeAndNoInput) {
    auto form = MakeForm(FormMode::Design);
    AddRecorder(*form, "a", {0, 0, 50, 20});
    form->Show();
    desktop.Click(10, 10);
    desktop.Type("k");
    EXPECT_EQ(Take(), (Lines{"a.Initialize", "a.InitProperties UserMode=0", "a.Resize 0x0",
                             "a.Resize 50x20", "a.Show"}));
}

TEST_F(UserControlTest, PaintComesOnlyWithoutAPersistentImage) {
    auto form = MakeForm();
    AddRecorder(*form, "drawn", {0, 0, 40, 20}, [](Recorder& r) { r.face = 0x0000FF; });
    AddRecorder(*form, "painted", {50, 0, 90, 20}, [](Recorder& r) { r.paintsOwnImage = false; });
    form->Show();
    desktop.Pump();
    Lines lines = Take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "painted.Paint"), 1);

    API32bppDIB shot;
    ASSERT_TRUE(desktop.Screenshot(form->hWnd(), shot));
    // The persistent image shows (red, as 0x00BBGGRR 0x0000FF); the painted
    // control shows its back colour, the button face.
    const uint8_t* red = shot.Pixels().Row(5) + 5 * 4;
    EXPECT_EQ((std::array<int, 3>{red[2], red[1], red[0]}), (std::array<int, 3>{255, 0, 0}));
    const uint8_t* face = shot.Pixels().Row(5) + 60 * 4;
    EXPECT_EQ((std::array<int, 3>{face[2], face[1], face[0]}), (std::array<int, 3>{212, 208, 200}));
}

TEST_F(UserControlTest, ResizeBelowTheMinimumResizesAgainInside) {
    auto form = MakeForm();
    Recorder* a = AddRecorder(*form, "a", {0, 0, 40, 30});
    a->minimumHeight = 15;
    Take();
    a->SetBounds(RECT{0, 0, 40, 5});
    EXPECT_EQ(Take(), (Lines{"a.Resize 40x5", "a.Resize 40x15"}));
    EXPECT_EQ(a->Height(), 15.0F * 15);
}

TEST_F(UserControlTest, UnloadAsksFirstAndTerminatesControlsLast) {
    auto form = MakeForm();
    AddRecorder(*form, "a", {0, 0, 50, 20});
    form->Show();
    int16_t refuse = 1;
    form->QueryUnload.Connect([&](int16_t& cancel, int16_t mode) {
        log.push_back("form.QueryUnload " + std::to_string(mode));
        cancel = refuse;
    });
    form->Unload.Connect([&](int16_t&) { log.push_back("form.Unload"); });
    Take();
    EXPECT_FALSE(Unload(*form));
    EXPECT_TRUE(form->Loaded());
    refuse = 0;
    EXPECT_TRUE(Unload(*form));
    EXPECT_FALSE(form->Loaded());
    const Lines lines = Take();
    EXPECT_EQ(lines.front(), "form.QueryUnload 1");
    EXPECT_EQ(Lines(lines.begin() + 1, lines.begin() + 3),
              (Lines{"form.QueryUnload 1", "form.Unload"}));
    EXPECT_EQ(lines.back(), "a.Terminate");
}

TEST_F(UserControlTest, AModalFormReturnsWhenHidden) {
    auto owner = MakeForm();
    owner->Show();
    Form dialog("dlg");
    dialog.SetStartUpPosition(2);
    dialog.SetClientSizePixels(200, 100);
    dialog.KeyDown.Connect([&](int16_t& key, int16_t&) {
        if (key == VK_ESCAPE) {
            dialog.Hide();
        }
    });
    bool returned = false;
    owner->Click.Connect([&] {
        dialog.Show(vbModal, owner.get());
        returned = true;
    });
    desktop.BeginScript();
    desktop.Click(300, 250);
    desktop.Key('A');
    desktop.Key(VK_ESCAPE);
    desktop.Play();
    EXPECT_TRUE(returned);
    EXPECT_TRUE(dialog.Loaded());
    EXPECT_FALSE(dialog.Visible());
    EXPECT_TRUE(IsWindowEnabled(owner->hWnd()));
    EXPECT_EQ(desktop.StepsLeft(), 0U);
}

TEST_F(UserControlTest, DropsReachOnlyControlsThatTakeThem) {
    auto form = MakeForm();
    Recorder* a = AddRecorder(*form, "a", {10, 10, 60, 40});
    AddRecorder(*form, "b", {100, 10, 160, 40});
    a->SetOLEDropMode(1);
    form->Show();
    Take();
    DataObject data;
    data.Files = {"/tmp/nota.xml"};
    EXPECT_EQ(DropData(data, POINT{20, 15}, vbDropEffectCopy | vbDropEffectMove), vbDropEffectCopy);
    EXPECT_EQ(Take(), (Lines{"a.OLEDragOver 0 10,5 /tmp/nota.xml",
                             "a.OLEDragOver 2 10,5 /tmp/nota.xml", "a.OLEDragDrop 1"}));
    EXPECT_EQ(DropData(data, POINT{110, 15}, vbDropEffectCopy), vbDropEffectNone);
    EXPECT_TRUE(Take().empty());
}

TEST_F(UserControlTest, AModalFormWithoutInputFailsLoudly) {
    Form dialog("dlg");
    EXPECT_THROW(dialog.Show(vbModal), HeadlessScriptEnded);
}

}  // namespace
}  // namespace kelvara
