#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

class MouseRoutingTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Lines seen;
    HWND w = 0;

    void SetUp() override {
        w = CreateWindowEx(0, "Test", "w", WS_POPUP | WS_VISIBLE, 10, 10, 100, 50, 0,
                           [this](HWND h, uint32_t m, WPARAM wp, LPARAM lp) -> LRESULT {
                               if (m == WM_MOUSELEAVE) {
                                   seen.push_back("leave");
                               } else if (m == WM_XBUTTONDOWN) {
                                   seen.push_back("xdown" + std::to_string(HIWORD(wp)));
                               } else if (m == WM_XBUTTONDBLCLK) {
                                   seen.push_back("xdblclk" + std::to_string(HIWORD(wp)));
                               }
                               return DefWindowProc(h, m, wp, lp);
                           });
    }
};

TEST_F(MouseRoutingTest, ALeaveOntoTheBareDesktopArrivesWithTheMoveThatCausedIt) {
    desktop.MouseMove(20, 20);
    TRACKMOUSEEVENT track;
    track.dwFlags = TME_LEAVE;
    track.hwndTrack = w;
    ASSERT_TRUE(TrackMouseEvent(track));
    desktop.MouseMove(500, 500);  // no window there to take the move
    EXPECT_EQ(seen, (Lines{"leave"}));
}

TEST_F(MouseRoutingTest, TheTwoSideButtonsDoNotMakeADoubleClickTogether) {
    desktop.MouseMove(20, 20);
    desktop.MouseDown(MouseButton::X1);
    desktop.MouseUp(MouseButton::X1);
    desktop.MouseDown(MouseButton::X2);
    desktop.MouseUp(MouseButton::X2);
    desktop.MouseDown(MouseButton::X2);
    EXPECT_EQ(seen, (Lines{"xdown1", "xdown2", "xdblclk2"}));
}

}  // namespace
}  // namespace kelvara
