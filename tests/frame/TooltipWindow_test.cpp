#include "kelvara/frame/detail/TooltipWindow.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/frame/APITooltip.h"
#include "kelvara/frame/detail/TooltipLayout.h"

namespace kelvara::detail {
namespace {

// A form at (100, 100) of 300 × 200 with a control at (150, 150) to
// (250, 190) on the screen, and a tip for the control.
class TooltipWindowTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    HWND form = 0;
    HWND control = 0;
    HWND tip = 0;

    void SetUp() override {
        form = CreateWindowEx(0, "Form", "form", WS_POPUP | WS_VISIBLE, 100, 100, 300, 200, 0,
                              nullptr);
        control = CreateWindowEx(0, "Control", "control", WS_CHILD | WS_VISIBLE, 50, 50, 100, 40,
                                 form, nullptr);
        tip = MakeTip(TTS_ALWAYSTIP | TTS_NOPREFIX, TTF_IDISHWND | TTF_SUBCLASS, "Hello");
    }

    HWND MakeTip(uint32_t style, uint32_t flags, const char* text) {
        const HWND t = CreateTooltipWindow(style, control);
        TOOLINFO info;
        info.uFlags = flags;
        info.hwnd = control;
        info.uId = static_cast<uintptr_t>(control);
        info.lpszText = text;
        EXPECT_EQ(SendMessage(t, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&info)), 1);
        SendMessage(t, TTM_SETDELAYTIME, TTDT_INITIAL, 500);
        SendMessage(t, TTM_SETDELAYTIME, TTDT_AUTOPOP, 5000);
        return t;
    }

    RECT Where(HWND hwnd) {
        RECT r;
        GetWindowRect(hwnd, r);
        return r;
    }

    // Runs a script of steps and gives what was seen after each check:
    //   m X Y   move the mouse     t MS  let time pass
    //   d / u   left button down / up
    //   ?       note "shown" or "hidden"
    std::string Run(const std::string& script) {
        std::istringstream in(script);
        std::string seen;
        for (std::string op; in >> op;) {
            if (op == "m") {
                int32_t x = 0, y = 0;
                in >> x >> y;
                desktop.MouseMove(x, y);
            } else if (op == "t") {
                uint32_t ms = 0;
                in >> ms;
                desktop.AdvanceTime(ms);
            } else if (op == "d") {
                desktop.MouseDown();
            } else if (op == "u") {
                desktop.MouseUp();
            } else if (op == "?") {
                seen += IsWindowVisible(tip) ? "S" : "-";
            }
        }
        return seen;
    }
};

TEST_F(TooltipWindowTest, ShowsAfterTheMouseRestsAndHidesByTheRules) {
    struct Case {
        const char* what;
        const char* script;
        const char* seen;
    } cases[] = {
        {"rest for the delay, stay for the visible time",
         "m 160 160 ? t 499 ? t 1 ? t 4999 ? t 1 ?", "--SS-"},
        {"a move while waiting starts the delay again", "m 160 160 t 300 m 170 165 t 300 ? t 200 ?",
         "-S"},
        {"a move to the same spot does not", "m 160 160 t 300 m 160 160 t 200 ?", "S"},
        {"moving within the tool keeps a shown tip and its time",
         "m 160 160 t 500 ? m 240 185 ? t 4999 ? t 1 ?", "SSS-"},
        {"leaving hides at once", "m 160 160 t 500 ? m 120 120 ? t 1000 ?", "S--"},
        {"leaving while waiting cancels", "m 160 160 t 300 m 120 120 t 1000 ?", "-"},
        {"coming back shows it again", "m 160 160 t 500 m 120 120 m 160 160 t 500 ?", "S"},
        {"a press hides it until the mouse leaves",
         "m 160 160 t 500 ? d ? u t 2000 ? m 161 160 t 1000 ? m 120 120 m 160 160 t 500 ?",
         "S---S"},
        {"a press while waiting cancels", "m 160 160 t 300 d u t 1000 ?", "-"},
        {"gone after its time, it waits for the mouse to leave",
         "m 160 160 t 5500 ? m 165 165 t 1000 ? m 300 250 m 165 165 t 500 ?", "--S"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Run(c.script), c.seen) << c.what;
        desktop.MouseMove(10, 10);
        desktop.AdvanceTime(10000);
    }
}

TEST_F(TooltipWindowTest, ComesUpBelowTheCursorAndStaysPutWhileTheMouseMoves) {
    Run("m 163 161 t 500");
    const RECT r = Where(tip);
    EXPECT_EQ(r.Left, 163);
    EXPECT_EQ(r.Top, 161 + kBelowCursor);
    Run("m 240 185");
    EXPECT_EQ(Where(tip), r);
    // Shown without taking activation or focus, above everything, and the
    // mouse goes through it to what is under it.
    EXPECT_EQ(GetActiveWindow(), form);
    const auto order = desktop.Core().TopLevelWindows();
    EXPECT_EQ(WindowFromPoint(POINT{r.Left + 5, r.Top + 5}), control);
    EXPECT_EQ(order.back(), tip);
}

TEST_F(TooltipWindowTest, IsAPopupOfItsOwnClassOwnedByTheToolsForm) {
    EXPECT_EQ(GetClassName(tip), "tooltips_class32");
    EXPECT_EQ(GetOwner(tip), form);
    EXPECT_EQ(static_cast<uint32_t>(GetWindowLong(tip, GWL_STYLE)),
              WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX);
    EXPECT_EQ(static_cast<uint32_t>(GetWindowLong(tip, GWL_EXSTYLE)),
              WS_EX_TOPMOST | WS_EX_TRANSPARENT | WS_EX_TOOLWINDOW);
    EXPECT_FALSE(IsWindowVisible(tip));
    EXPECT_TRUE(IsTooltipWindow(tip));
    EXPECT_FALSE(IsTooltipWindow(form));
    // The form's end takes the tip along.
    DestroyWindow(form);
    EXPECT_FALSE(IsWindow(tip));
}

TEST_F(TooltipWindowTest, ACentredTipSitsUnderTheMiddleOfItsTool) {
    DestroyWindow(tip);
    tip = MakeTip(TTS_ALWAYSTIP, TTF_IDISHWND | TTF_SUBCLASS | TTF_CENTERTIP, "Centred");
    Run("m 160 160 t 500");
    const RECT r = Where(tip);
    EXPECT_EQ(r.Left, 200 - r.Width() / 2);
    EXPECT_EQ(r.Top, 190 + kBelowTool);
}

TEST_F(TooltipWindowTest, StaysOnTheWorkArea) {
    SetWindowPos(form, 0, 1200, 640, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    // The control is now at (1250, 690) to (1350, 730), by the task bar.
    Run("m 1345 700 t 500");
    ASSERT_TRUE(IsWindowVisible(tip));
    const RECT r = Where(tip);
    EXPECT_EQ(r.Right, desktop.WorkArea().Right);
    EXPECT_EQ(r.Bottom, 700 - kAboveGap);
}

TEST_F(TooltipWindowTest, ABalloonTakesItsShapeAndAStandardTipDropsIt) {
    Run("m 160 160 t 500");
    EXPECT_FALSE(GetWindowRgn(tip).has_value());
    SetWindowLong(tip, GWL_STYLE, WS_POPUP | TTS_ALWAYSTIP | TTS_BALLOON);
    Run("m 120 120 m 160 160 t 500");
    const std::optional<Region> shape = GetWindowRgn(tip);
    ASSERT_TRUE(shape.has_value());
    const RECT r = Where(tip);
    // The stem's point is the spot below the cursor.
    EXPECT_TRUE(shape->PtInRegion(160 - r.Left, 160 + kBelowCursor - r.Top));
    EXPECT_EQ(r.Top, 160 + kBelowCursor);
    EXPECT_FALSE(shape->PtInRegion(0, 0));
}

TEST_F(TooltipWindowTest, WithoutAlwaysTipOnlyTheActiveFormShowsTips) {
    DestroyWindow(tip);
    tip = MakeTip(TTS_NOPREFIX, TTF_IDISHWND | TTF_SUBCLASS, "Only when active");
    const HWND other =
        CreateWindowEx(0, "Form", "other", WS_POPUP | WS_VISIBLE, 600, 100, 100, 100, 0, nullptr);
    ASSERT_EQ(GetActiveWindow(), other);
    EXPECT_EQ(Run("m 160 160 t 500 ?"), "-");
    SetActiveWindow(form);
    EXPECT_EQ(Run("m 120 120 m 160 160 t 500 ?"), "S");
}

TEST_F(TooltipWindowTest, NoTextOrInactiveMeansNoTip) {
    DestroyWindow(tip);
    tip = MakeTip(TTS_ALWAYSTIP, TTF_IDISHWND | TTF_SUBCLASS, "");
    EXPECT_EQ(Run("m 160 160 t 500 ?"), "-");
    DestroyWindow(tip);
    tip = MakeTip(TTS_ALWAYSTIP, TTF_IDISHWND | TTF_SUBCLASS, "Text");
    SendMessage(tip, TTM_ACTIVATE, 0, 0);
    EXPECT_EQ(Run("m 120 120 m 160 160 t 500 ?"), "-");
    SendMessage(tip, TTM_ACTIVATE, 1, 0);
    EXPECT_EQ(Run("m 120 120 m 160 160 t 500 ?"), "S");
    SendMessage(tip, TTM_POP, 0, 0);
    EXPECT_EQ(Run("? t 100 ?"), "--");
}

TEST_F(TooltipWindowTest, ARectangleToolCoversOnlyItsPartOfTheWindow) {
    DestroyWindow(tip);
    tip = CreateTooltipWindow(TTS_ALWAYSTIP, form);
    TOOLINFO info;
    info.uFlags = TTF_SUBCLASS;
    info.hwnd = form;
    info.uId = 7;
    info.rect = RECT{0, 0, 40, 30};  // the form's top-left corner
    info.lpszText = "Corner";
    SendMessage(tip, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&info));
    EXPECT_EQ(Run("m 145 125 t 600 ?"), "-");  // outside the rectangle
    EXPECT_EQ(Run("m 120 110 t 600 ?"), "S");
    EXPECT_EQ(Run("m 150 110 ?"), "-");  // out of the rectangle, still on the form
}

TEST_F(TooltipWindowTest, AnswersItsSettingMessages) {
    struct Delay {
        WPARAM which;
        LPARAM time;
        uint32_t initial, autoPop, reshow;
    } delays[] = {
        {TTDT_INITIAL, 700, 700, 5000, 100},
        {TTDT_AUTOPOP, 9000, 700, 9000, 100},
        {TTDT_RESHOW, 30, 700, 9000, 30},
        {TTDT_AUTOPOP, 0x10000 + 1200, 700, 1200, 30},  // the low word only
        {TTDT_AUTOPOP, -1, 700, 5000, 30},              // the default
        {TTDT_AUTOMATIC, 300, 300, 3000, 60},
        {TTDT_AUTOMATIC, -1, 500, 5000, 100},
    };
    for (const Delay& d : delays) {
        SendMessage(tip, TTM_SETDELAYTIME, d.which, d.time);
        EXPECT_EQ(SendMessage(tip, TTM_GETDELAYTIME, TTDT_INITIAL), LRESULT{d.initial}) << d.time;
        EXPECT_EQ(SendMessage(tip, TTM_GETDELAYTIME, TTDT_AUTOPOP), LRESULT{d.autoPop}) << d.time;
        EXPECT_EQ(SendMessage(tip, TTM_GETDELAYTIME, TTDT_RESHOW), LRESULT{d.reshow}) << d.time;
    }
    EXPECT_EQ(SendMessage(tip, TTM_GETTIPBKCOLOR), 0xE1FFFF);
    EXPECT_EQ(SendMessage(tip, TTM_GETTIPTEXTCOLOR), 0);
    SendMessage(tip, TTM_SETTIPBKCOLOR, 0x80000018);
    SendMessage(tip, TTM_SETTIPTEXTCOLOR, 0x123456);
    EXPECT_EQ(SendMessage(tip, TTM_GETTIPBKCOLOR), LRESULT{0x80000018});
    EXPECT_EQ(SendMessage(tip, TTM_GETTIPTEXTCOLOR), 0x123456);
    EXPECT_EQ(SendMessage(tip, TTM_SETMAXTIPWIDTH, 0, 200), -1);
    EXPECT_EQ(SendMessage(tip, TTM_SETMAXTIPWIDTH, 0, -1), 200);
    EXPECT_EQ(SendMessage(tip, TTM_SETTITLE, TTI_INFO, 0), 0);  // a title is needed
    EXPECT_EQ(SendMessage(tip, TTM_SETTITLE, TTI_INFO, reinterpret_cast<LPARAM>("T")), 1);
}

TEST_F(TooltipWindowTest, ToolsAreAddedOnceReplacedAndRemoved) {
    TOOLINFO info;
    info.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    info.hwnd = control;
    info.uId = static_cast<uintptr_t>(control);
    info.lpszText = "Replaced";
    EXPECT_EQ(SendMessage(tip, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&info)), 1);
    EXPECT_EQ(SendMessage(tip, TTM_GETTOOLCOUNT), 1);
    TOOLINFO old = info;
    old.cbSize = 40;  // an unknown record
    EXPECT_EQ(SendMessage(tip, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&old)), 0);
    EXPECT_EQ(SendMessage(tip, TTM_ADDTOOL, 0, 0), 0);
    // Text updates reach a shown tip, which grows to fit.
    Run("m 160 160 t 500");
    const int32_t width = Where(tip).Right - Where(tip).Left;
    info.lpszText = "Replaced by a much longer text than before";
    SendMessage(tip, TTM_UPDATETIPTEXT, 0, reinterpret_cast<LPARAM>(&info));
    EXPECT_GT(Where(tip).Right - Where(tip).Left, width);
    SendMessage(tip, TTM_DELTOOL, 0, reinterpret_cast<LPARAM>(&info));
    EXPECT_EQ(SendMessage(tip, TTM_GETTOOLCOUNT), 0);
    EXPECT_FALSE(IsWindowVisible(tip));
    // Without the tool the tip no longer watches the control.
    EXPECT_EQ(Run("m 120 120 m 160 160 t 1000 ?"), "-");
}

TEST_F(TooltipWindowTest, EitherWindowMayEndFirst) {
    Run("m 160 160 t 500");
    ASSERT_TRUE(IsWindowVisible(tip));
    DestroyWindow(control);
    EXPECT_TRUE(IsWindow(tip));
    EXPECT_FALSE(IsWindowVisible(tip));
    EXPECT_EQ(SendMessage(tip, TTM_GETTOOLCOUNT), 0);
    Run("m 170 170 t 1000");

    // A tip ending first leaves the control working and watched by others.
    control = CreateWindowEx(0, "Control", "again", WS_CHILD | WS_VISIBLE, 50, 50, 100, 40, form,
                             nullptr);
    tip = MakeTip(TTS_ALWAYSTIP, TTF_IDISHWND | TTF_SUBCLASS, "First");
    const HWND second = MakeTip(TTS_ALWAYSTIP, TTF_IDISHWND | TTF_SUBCLASS, "Second");
    DestroyWindow(tip);
    Run("m 160 160 t 500");
    EXPECT_TRUE(IsWindowVisible(second));
}

}  // namespace
}  // namespace kelvara::detail
