#include "kelvara/frame/APIMouseEvents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

std::string Hex(uintptr_t v) {
    char text[24];
    std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(v));
    return text;
}

// Every event of a tracker, as text, in order.
void Record(APIMouseEvents& m, Lines& out) {
    const auto xy = [](int32_t x, int32_t y) {
        return "(" + std::to_string(x) + "," + std::to_string(y) + ")";
    };
    m.EnterFocus.Connect([&out] { out.push_back("EnterFocus"); });
    m.ExitFocus.Connect([&out] { out.push_back("ExitFocus"); });
    m.MouseOut.Connect([&out] { out.push_back("MouseOut"); });
    m.MouseIn.Connect([&out] { out.push_back("MouseIn"); });
    m.MouseInParam.Connect(
        [&out](WPARAM w, LPARAM l) { out.push_back("MouseInParam " + Hex(w) + " " + Hex(l)); });
    m.MouseWheel.Connect(
        [&out](WPARAM w, LPARAM l) { out.push_back("MouseWheel " + Hex(w) + " " + Hex(l)); });
    m.MouseVScrollEx.Connect(
        [&out](WPARAM w, LPARAM l) { out.push_back("MouseVScrollEx " + Hex(w) + " " + Hex(l)); });
    m.MouseHScrollEx.Connect(
        [&out](WPARAM w, LPARAM l) { out.push_back("MouseHScrollEx " + Hex(w) + " " + Hex(l)); });
    m.MouseMove.Connect(
        [&out, xy](WPARAM, LPARAM, int16_t& button, int16_t& shift, int32_t& x, int32_t& y) {
            out.push_back("MouseMove " + std::to_string(button) + "/" + std::to_string(shift) +
                          xy(x, y));
        });
    m.MouseBackButtonClick.Connect([&out, xy](int16_t& shift, int32_t& x, int32_t& y) {
        out.push_back("Back " + std::to_string(shift) + xy(x, y));
    });
    m.MouseForwardButtonClick.Connect([&out, xy](int16_t& shift, int32_t& x, int32_t& y) {
        out.push_back("Forward " + std::to_string(shift) + xy(x, y));
    });
}

class MouseEventsTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Lines events;
    Lines windowSaw;
    APIMouseEvents mouse;
    HWND form = 0;
    HWND control = 0;

    void SetUp() override {
        form = CreateWindowEx(0, "Form", "form", WS_POPUP | WS_VISIBLE, 100, 100, 300, 200, 0,
                              nullptr);
        control = CreateWindowEx(
            0, "Control", "control", WS_CHILD | WS_VISIBLE, 20, 30, 100, 50, form,
            [this](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                if (m == WM_MOUSEMOVE || m == WM_MOUSEHOVER || m == WM_MOUSELEAVE) {
                    windowSaw.push_back(std::string(MsgName(static_cast<int32_t>(m))));
                }
                return DefWindowProc(h, m, w, l);
            });
        Record(mouse, events);
        mouse.Attach(control);
    }
    std::vector<std::string> Take() { return std::exchange(events, {}); }
};

// The control's top-left corner on the screen is (120, 130).

TEST_F(MouseEventsTest, TheFirstMoveIsAnEntryAfterItsMoveEvent) {
    desktop.MouseMove(125, 140);
    desktop.MouseMove(126, 141);
    EXPECT_EQ(Take(), (Lines{"MouseMove 0/0(5,10)", "MouseIn", "MouseInParam 0 a0005",
                             "MouseMove 0/0(6,11)"}));
    // The window still gets every move: the tracker only watches.
    EXPECT_EQ(windowSaw, (Lines{"WM_MOUSEMOVE", "WM_MOUSEMOVE"}));
}

TEST_F(MouseEventsTest, LeavingThenComingBackIsOneOutAndANewEntry) {
    desktop.MouseMove(125, 140);
    desktop.MouseMove(50, 50);  // off the form
    EXPECT_TRUE(mouse.FirstMove());
    EXPECT_FALSE(mouse.Tracking());
    desktop.MouseMove(130, 150);
    EXPECT_EQ(Take(), (Lines{"MouseMove 0/0(5,10)", "MouseIn", "MouseInParam 0 a0005", "MouseOut",
                             "MouseMove 0/0(10,20)", "MouseIn", "MouseInParam 0 14000a"}));
    // Onto the form beside the control is a leave too.
    desktop.MouseMove(300, 250);
    EXPECT_EQ(Take(), (Lines{"MouseOut"}));
}

TEST_F(MouseEventsTest, AskedForTheHoverNoticeAtTheHostsHoverTime) {
    uint32_t hover = 0;
    ASSERT_TRUE(SystemParametersInfo(SPI_GETMOUSEHOVERTIME, 0, &hover));
    desktop.MouseMove(125, 140);
    windowSaw.clear();
    desktop.AdvanceTime(hover - 1);
    EXPECT_TRUE(windowSaw.empty());
    desktop.AdvanceTime(1);
    EXPECT_EQ(windowSaw, (Lines{"WM_MOUSEHOVER"}));
    desktop.MouseMove(10, 10);
    EXPECT_EQ(windowSaw, (Lines{"WM_MOUSEHOVER", "WM_MOUSELEAVE"}));
}

TEST_F(MouseEventsTest, CancelModeCountsAsALeave) {
    desktop.MouseMove(125, 140);
    Take();
    SendMessage(control, WM_CANCELMODE);
    desktop.MouseMove(126, 140);
    EXPECT_EQ(Take(),
              (Lines{"MouseOut", "MouseMove 0/0(6,10)", "MouseIn", "MouseInParam 0 a0006"}));
}

TEST_F(MouseEventsTest, ButtonsAndKeysHeldShowInTheMoveEvent) {
    desktop.MouseMove(125, 140);
    desktop.MouseDown(MouseButton::Left, ShiftState::Shift | ShiftState::Ctrl);
    SetCapture(control);
    desktop.MouseMove(110, 120);  // dragged above and left of the control
    desktop.MouseUp(MouseButton::Left, ShiftState::Shift | ShiftState::Ctrl);
    ReleaseCapture();  // let go outside: that is a leave
    desktop.MouseMove(125, 140);
    desktop.MouseDown(MouseButton::Right);
    desktop.MouseDown(MouseButton::Middle);
    desktop.MouseMove(126, 140);
    // Deliberate: (−10, −10) reads as X 65526 and Y −9, the host's arithmetic.
    EXPECT_EQ(Take(), (Lines{"MouseMove 0/0(5,10)", "MouseIn", "MouseInParam 0 a0005",
                             "MouseMove 1/3(65526,-9)", "MouseOut", "MouseMove 0/0(5,10)",
                             "MouseIn", "MouseInParam 0 a0005", "MouseMove 6/0(6,10)"}));
}

TEST_F(MouseEventsTest, SideButtonsWheelsScrollBarsAndFocus) {
    desktop.MouseMove(125, 140);
    Take();
    desktop.MouseDown(MouseButton::X1, ShiftState::Shift);
    desktop.MouseUp(MouseButton::X1, ShiftState::Shift);
    desktop.MouseDown(MouseButton::X2);
    desktop.MouseUp(MouseButton::X2);
    desktop.Wheel(-1);
    desktop.Wheel(2, true);
    SendMessage(control, WM_VSCROLL, 5, 0);
    SendMessage(control, WM_HSCROLL, 1, 0);
    SetFocus(control);
    SetFocus(form);
    EXPECT_EQ(Take(), (Lines{"Back 1(5,10)", "Forward 0(5,10)", "MouseWheel ff880000 8c007d",
                             "MouseWheel f00000 8c007d", "MouseVScrollEx 5 0", "MouseHScrollEx 1 0",
                             "EnterFocus", "ExitFocus"}));
}

TEST_F(MouseEventsTest, OnlyTheFirstAttachCountsUntilDetach) {
    const HWND other = CreateWindowEx(0, "Control", "other", WS_CHILD | WS_VISIBLE, 150, 30, 100,
                                      50, form, nullptr);
    mouse.Attach(other);
    EXPECT_EQ(mouse.hWnd(), control);
    desktop.MouseMove(125, 140);
    desktop.MouseMove(255, 140);  // over the other window
    EXPECT_EQ(Take(),
              (Lines{"MouseMove 0/0(5,10)", "MouseIn", "MouseInParam 0 a0005", "MouseOut"}));
    mouse.Detach();
    EXPECT_FALSE(mouse.FirstMove());
    mouse.Attach(other);
    desktop.MouseMove(256, 140);
    desktop.MouseMove(125, 140);
    EXPECT_EQ(Take(),
              (Lines{"MouseMove 0/0(6,10)", "MouseIn", "MouseInParam 0 a0006", "MouseOut"}));
}

TEST(MouseEventsDecode, FollowsTheHostsBitsAndArithmetic) {
    struct Case {
        WPARAM wParam;
        int32_t x, y;
        APIMouseEvents::Decoded want;
    } cases[] = {
        {0, 0, 0, {0, 0, 0, 0}},
        {MK_LBUTTON, 5, 7, {1, 0, 5, 7}},
        {MK_RBUTTON | MK_SHIFT, 300, 2, {2, 1, 300, 2}},
        {MK_MBUTTON | MK_CONTROL, 0, 0, {4, 2, 0, 0}},
        {MK_LBUTTON | MK_RBUTTON | MK_MBUTTON | MK_SHIFT | MK_CONTROL, 1, 1, {7, 3, 1, 1}},
        // Side buttons add nothing to Button.
        {MK_XBUTTON1 | MK_XBUTTON2, 1, 1, {0, 0, 1, 1}},
        // Left of the window: the low word unsigned.
        {0, -1, 5, {0, 0, 65535, 5}},
        // Above it: the division truncates towards zero.
        {0, 10, -1, {0, 0, 10, 0}},
        {0, 0, -1, {0, 0, 0, -1}},
        {0, 5, -2, {0, 0, 5, -1}},
        {0, 0, -2, {0, 0, 0, -2}},
        {0, 32767, 32767, {0, 0, 32767, 32767}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(APIMouseEvents::Decode(c.wParam, MAKELPARAM(c.x, c.y)), c.want)
            << c.wParam << " " << c.x << "," << c.y;
    }
}

}  // namespace
}  // namespace kelvara
