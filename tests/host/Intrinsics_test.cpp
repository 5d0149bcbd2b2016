#include "kelvara/host/Intrinsics.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

class IntrinsicsTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Lines log;

    // A borderless form in pixels at the screen's corner.
    std::unique_ptr<Form> MakeForm(FormMode mode = FormMode::Run) {
        auto form = std::make_unique<Form>("frm", mode);
        form->SetBorderStyle(FormBorderStyle::None);
        form->SetStartUpPosition(0);
        form->Move(0, 0, 300 * 15, 200 * 15);
        form->SetScaleMode(ScaleModeConstants::vbPixels);
        return form;
    }
    std::array<int, 3> Pixel(Form& form, int32_t x, int32_t y) {
        API32bppDIB shot;
        EXPECT_TRUE(desktop.Screenshot(form.hWnd(), shot));
        const uint8_t* p = shot.Pixels().Row(y) + x * 4;
        return {p[2], p[1], p[0]};
    }
};

TEST_F(IntrinsicsTest, ControlsAreMadeByTypeNameAndNamesAreUnique) {
    auto form = MakeForm();
    for (const char* type : {"VB.Label", "vb.shape", "VB.Line", "VB.Image", "VB.PictureBox",
                             "VB.Timer", "VB.TextBox"}) {
        Control* c = form->Controls().Add(type, std::string("c") + type);
        ASSERT_NE(c, nullptr) << type;
        EXPECT_FALSE(c->Visible()) << "added at run time, a control starts hidden";
    }
    EXPECT_EQ(form->Controls().Add("VB.Nothing", "x"), nullptr);
    EXPECT_EQ(form->Controls().Add("VB.Label", "cvb.shape"), nullptr);
    EXPECT_EQ(form->Controls().Count(), 7);
    // Only labels, picture boxes and text boxes have a place in the tab
    // order; the places close up behind a removed control.
    EXPECT_EQ(form->Controls().Item("cVB.TextBox")->TabIndex(), 2);
    EXPECT_TRUE(form->Controls().Remove("cVB.Label"));
    EXPECT_EQ(form->Controls().Count(), 6);
    EXPECT_EQ(form->Controls().Item("cVB.PictureBox")->TabIndex(), 0);
    EXPECT_EQ(form->Controls().Item("cVB.TextBox")->TabIndex(), 1);
}

TEST_F(IntrinsicsTest, LabelsClickAndPassTheirAccessKeyToTheNextControl) {
    auto form = MakeForm();
    auto* label = form->Controls().Add<Label>("lblName");
    label->SetCaption("&Name");
    label->SetBounds(RECT{10, 10, 80, 30});
    label->SetVisible(true);
    auto* box = form->Controls().Add<PictureBox>("picName");
    box->SetBounds(RECT{90, 10, 150, 40});
    box->SetVisible(true);
    label->Click.Connect([&] { log.push_back("label.Click"); });
    label->MouseDown.Connect([&](int16_t& b, int16_t&, float& x, float& y) {
        log.push_back("label.MouseDown " + std::to_string(b) + " " +
                      std::to_string(static_cast<int>(x)) + "," +
                      std::to_string(static_cast<int>(y)));
    });
    box->GotFocus.Connect([&] { log.push_back("box.GotFocus"); });
    form->Show();
    log.clear();
    desktop.Click(15, 12);
    EXPECT_EQ(log, (Lines{"label.MouseDown 1 5,2", "label.Click"}));
    log.clear();
    box->SetTabStop(false);
    SetFocus(form->hWnd());
    desktop.Key('N', ShiftState::Alt);
    EXPECT_EQ(log, Lines{"box.GotFocus"});
}

TEST_F(IntrinsicsTest, WindowlessControlsDrawOnTheirForm) {
    auto form = MakeForm();
    form->SetBackColor(0xFFFFFF);
    auto* shape = form->Controls().Add<Shape>("shp");
    shape->SetBounds(RECT{10, 10, 50, 40});
    shape->SetFillStyle(0);
    shape->SetFillColor(0x0000FF);
    shape->SetBorderColor(0x00FF00);
    shape->SetBorderWidth(2);
    shape->SetVisible(true);
    auto* label = form->Controls().Add<Label>("lbl");
    label->SetBounds(RECT{60, 10, 120, 30});
    label->SetBackColor(0xFF0000);
    label->SetCaption("");
    label->SetVisible(true);
    form->Show();
    desktop.Pump();
    EXPECT_EQ(Pixel(*form, 10, 10), (std::array<int, 3>{0, 255, 0}));  // border
    EXPECT_EQ(Pixel(*form, 11, 25), (std::array<int, 3>{0, 255, 0}));
    EXPECT_EQ(Pixel(*form, 30, 25), (std::array<int, 3>{255, 0, 0}));  // fill
    EXPECT_EQ(Pixel(*form, 70, 20), (std::array<int, 3>{0, 0, 255}));  // opaque label
    EXPECT_EQ(Pixel(*form, 5, 5), (std::array<int, 3>{255, 255, 255}));
    // A hidden control leaves the form's own colour.
    shape->SetVisible(false);
    desktop.Pump();
    EXPECT_EQ(Pixel(*form, 30, 25), (std::array<int, 3>{255, 255, 255}));
}

TEST_F(IntrinsicsTest, TimersTickOnTheClockOnlyWhenRunning) {
    for (FormMode mode : {FormMode::Run, FormMode::Design}) {
        auto form = MakeForm(mode);
        auto* timer = form->Controls().Add<Timer>("tmr");
        int ticks = 0;
        timer->TimerEvent.Connect([&] { ++ticks; });
        timer->SetInterval(100);
        desktop.AdvanceTime(350);
        EXPECT_EQ(ticks, mode == FormMode::Run ? 3 : 0);
        timer->SetEnabled(false);
        desktop.AdvanceTime(300);
        EXPECT_EQ(ticks, mode == FormMode::Run ? 3 : 0);
    }
}

TEST_F(IntrinsicsTest, StoredPropertiesComeBackAsTheyWere) {
    auto form = MakeForm();
    auto* label = form->Controls().Add<Label>("lbl");
    label->SetCaption("Total:");
    label->SetAlignment(1);
    label->SetBackStyle(0);
    StdFont bold = DefaultFont();
    bold.SetBold(true);
    label->SetFont(bold);
    label->SetBounds(RECT{4, 5, 64, 25});
    label->SetTag("x");
    PropertyBag bag;
    label->SaveTo(bag);
    EXPECT_EQ(bag.Keys(),
              (std::vector<std::string>{"Left", "Top", "Width", "Height", "TabIndex", "Visible",
                                        "Tag", "Caption", "Alignment", "BackStyle", "Font"}));
    EXPECT_EQ(bag.ReadProperty("Width", Variant()), Variant(int32_t{60}));
    EXPECT_EQ(bag.ReadBag("Font")->ReadProperty("Weight", Variant()), Variant(int32_t{700}));

    auto* copy = static_cast<Label*>(
        form->Controls().AddCreated(std::make_unique<Label>(), "copy", &bag, true));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->Caption(), "Total:");
    EXPECT_EQ(copy->Alignment(), 1);
    EXPECT_TRUE(copy->Font().Bold());
    EXPECT_EQ(copy->Bounds(), (RECT{4, 5, 64, 25}));
    PropertyBag again;
    copy->SaveTo(again);
    EXPECT_EQ(again, bag);
}

}  // namespace
}  // namespace kelvara
