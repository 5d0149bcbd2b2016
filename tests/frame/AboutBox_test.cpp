#include "kelvara/frame/AboutBox.h"

#include <gtest/gtest.h>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/Intrinsics.h"

namespace kelvara {
namespace {

TEST(AboutBox, ShowsModallyAndClosesWithEscape) {
    HeadlessDesktop desktop;
    Form owner("frmOwner");
    owner.SetBorderStyle(FormBorderStyle::None);
    owner.SetStartUpPosition(0);
    owner.Move(0, 0, 200 * 15, 100 * 15);
    bool returned = false;
    owner.Click.Connect([&] {
        ShowAboutBox("USButton");
        returned = true;
    });
    // While the box waits, a timer of the owner looks at the screen.
    auto* timer = owner.Controls().Add<Timer>("tmr");
    size_t formsWhileShown = 0;
    timer->TimerEvent.Connect([&] {
        formsWhileShown = Form::Forms().size();
        desktop.SaveDesktopScreenshot(::testing::TempDir() + "about.png");
        timer->SetEnabled(false);
    });
    timer->SetInterval(10);
    owner.Show();
    desktop.BeginScript();
    desktop.Click(50, 50);
    desktop.AdvanceTime(20);
    desktop.Key(VK_ESCAPE);
    desktop.Play();
    EXPECT_TRUE(returned);
    EXPECT_EQ(formsWhileShown, 2U);
    EXPECT_EQ(Form::Forms().size(), 1U) << "the box is unloaded when it closes";
}

}  // namespace
}  // namespace kelvara
