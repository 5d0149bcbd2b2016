#include "kelvara/host/WindowCore.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"

namespace kelvara {
namespace {

// Messages as they arrive, by name, with the window's label.
class Log {
public:
    std::vector<std::string> lines;

    // A procedure that records the messages of interest and leaves the
    // rest to the default procedure; `extra` runs first and may answer.
    WNDPROC Proc(std::string label,
                 std::function<bool(HWND, uint32_t, WPARAM, LPARAM, LRESULT&)> extra = nullptr) {
        return [this, label, extra](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
            if (auto name = Name(m, w, l); !name.empty()) {
                lines.push_back(label + ":" + name);
            }
            LRESULT result = 0;
            if (extra && extra(h, m, w, l, result)) {
                return result;
            }
            return DefWindowProc(h, m, w, l);
        };
    }
    std::vector<std::string> Take() { return std::exchange(lines, {}); }

private:
    static std::string Name(uint32_t m, WPARAM w, LPARAM l) {
        const std::string xy =
            "(" + std::to_string(GET_X_LPARAM(l)) + "," + std::to_string(GET_Y_LPARAM(l)) + ")";
        switch (m) {
            case WM_MOUSEMOVE:
                return "move" + xy;
            case WM_LBUTTONDOWN:
                return "down" + xy;
            case WM_LBUTTONUP:
                return "up" + xy;
            case WM_LBUTTONDBLCLK:
                return "dblclk" + xy;
            case WM_RBUTTONDOWN:
                return "rdown" + xy;
            case WM_MOUSELEAVE:
                return "leave";
            case WM_MOUSEHOVER:
                return "hover" + xy;
            case WM_MOUSEWHEEL:
                return "wheel" + std::to_string(GET_WHEEL_DELTA_WPARAM(w));
            case WM_MOUSEHWHEEL:
                return "hwheel" + std::to_string(GET_WHEEL_DELTA_WPARAM(w));
            case WM_XBUTTONDOWN:
                return "xdown" + std::to_string(HIWORD(w)) + "/" + std::to_string(LOWORD(w));
            case WM_SETFOCUS:
                return "setfocus";
            case WM_KILLFOCUS:
                return "killfocus";
            case WM_CAPTURECHANGED:
                return "capturechanged";
            case WM_CANCELMODE:
                return "cancelmode";
            case WM_ACTIVATE:
                return LOWORD(w) == WA_INACTIVE ? "deactivate" : "activate";
            case WM_NCACTIVATE:
                return w != 0 ? "ncactivate" : "ncdeactivate";
            case WM_KEYDOWN:
                return "keydown" + std::to_string(w);
            case WM_KEYUP:
                return "keyup" + std::to_string(w);
            case WM_CHAR:
                return "char" + std::to_string(w);
            case WM_ENTERSIZEMOVE:
                return "entersizemove";
            case WM_EXITSIZEMOVE:
                return "exitsizemove";
            case WM_SIZE:
                return "size" + std::to_string(w) + xy;
            case WM_MOVE:
                return "move-to" + xy;
            case WM_DESTROY:
                return "destroy";
            default:
                return "";
        }
    }
};

using Lines = std::vector<std::string>;

class WindowCoreTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Log log;

    HWND TopLevel(const std::string& label, RECT r, uint32_t style = WS_POPUP | WS_VISIBLE,
                  uint32_t exStyle = 0) {
        return CreateWindowEx(exStyle, "Test", label, style, r.Left, r.Top, r.Right - r.Left,
                              r.Bottom - r.Top, 0, log.Proc(label));
    }
    HWND Child(const std::string& label, HWND parent, RECT r) {
        return CreateWindowEx(0, "Test", label, WS_CHILD | WS_VISIBLE, r.Left, r.Top,
                              r.Right - r.Left, r.Bottom - r.Top, parent, log.Proc(label));
    }
};

TEST_F(WindowCoreTest, MouseEntersMovesAndLeavesInOrder) {
    // The window asks for a leave notice on its first move, as controls do.
    const HWND a = CreateWindowEx(0, "Test", "a", WS_POPUP | WS_VISIBLE, 10, 10, 100, 50, 0,
                                  log.Proc("a", [](HWND h, uint32_t m, WPARAM, LPARAM, LRESULT&) {
                                      if (m == WM_MOUSEMOVE) {
                                          TRACKMOUSEEVENT track;
                                          track.dwFlags = TME_LEAVE;
                                          track.hwndTrack = h;
                                          TrackMouseEvent(track);
                                      }
                                      return false;
                                  }));
    ASSERT_NE(a, 0);
    log.Take();
    desktop.MouseMove(20, 15);
    desktop.MouseMove(25, 15);
    desktop.MouseMove(300, 300);
    desktop.MouseMove(30, 20);
    EXPECT_EQ(log.Take(), (Lines{"a:move(10,5)", "a:move(15,5)", "a:leave", "a:move(20,10)"}));
}

TEST_F(WindowCoreTest, CaptureKeepsTheMouseUntilReleased) {
    const HWND a = CreateWindowEx(0, "Test", "a", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, 0,
                                  log.Proc("a", [](HWND h, uint32_t m, WPARAM, LPARAM, LRESULT&) {
                                      if (m == WM_LBUTTONDOWN) {
                                          SetCapture(h);
                                      } else if (m == WM_LBUTTONUP) {
                                          ReleaseCapture();
                                      }
                                      return false;
                                  }));
    const HWND b = TopLevel("b", {100, 0, 200, 50});
    ASSERT_NE(a, 0);
    log.Take();
    desktop.MouseMove(10, 10);
    desktop.MouseDown();
    desktop.MouseMove(150, 20);  // over b, but a holds the mouse
    desktop.MouseUp();
    desktop.MouseMove(160, 20);
    EXPECT_EQ(GetCapture(), 0);
    // The press activates a (b, made last, was active) before it arrives.
    EXPECT_EQ(log.Take(),
              (Lines{"a:move(10,10)", "b:ncdeactivate", "b:deactivate", "a:ncactivate",
                     "a:activate", "b:killfocus", "a:setfocus", "a:down(10,10)", "a:move(150,20)",
                     "a:up(150,20)", "a:capturechanged", "b:move(60,20)"}));
    EXPECT_NE(b, 0);
}

TEST_F(WindowCoreTest, FocusMovesWithKillBeforeSet) {
    const HWND form = TopLevel("form", {0, 0, 200, 100});
    const HWND one = Child("one", form, {0, 0, 50, 20});
    const HWND two = Child("two", form, {0, 30, 50, 50});
    SetFocus(one);
    log.Take();
    EXPECT_EQ(SetFocus(two), one);
    EXPECT_EQ(GetFocus(), two);
    EXPECT_EQ(log.Take(), (Lines{"one:killfocus", "two:setfocus"}));
    // Activation moving elsewhere ends the mode of the window losing it,
    // then deactivates, activates and moves the focus, in that order.
    const HWND other = TopLevel("other", {300, 0, 400, 100});
    EXPECT_EQ(GetActiveWindow(), other);
    SetCapture(other);
    log.Take();
    SetActiveWindow(form);
    EXPECT_EQ(log.Take(), (Lines{"other:cancelmode", "other:capturechanged", "other:ncdeactivate",
                                 "other:deactivate", "form:ncactivate", "form:activate",
                                 "other:killfocus", "form:setfocus"}));
    // A press on a child of an inactive window activates it first.
    SetActiveWindow(other);
    log.Take();
    desktop.Click(20, 10);
    const Lines got = log.Take();
    ASSERT_EQ(got.size(), 9u) << ::testing::PrintToString(got);
    EXPECT_EQ(got[4], "form:activate");
    EXPECT_EQ(got[6], "form:setfocus");
    EXPECT_EQ(got[7], "one:down(20,10)");
}

TEST_F(WindowCoreTest, DoubleClicksByTimeDistanceAndClassStyle) {
    struct Case {
        const char* what;
        uint32_t gap;
        int32_t dx;
        uint32_t classStyle;
        bool dbl;
    } cases[] = {
        {"quick", 50, 0, CS_DBLCLKS, true},
        {"at the limit", 500, 2, CS_DBLCLKS, true},
        {"too slow", 501, 0, CS_DBLCLKS, false},
        {"too far", 50, 3, CS_DBLCLKS, false},
        {"window without double clicks", 50, 0, 0, false},
    };
    for (const Case& c : cases) {
        WindowSpec spec;
        spec.ClassName = "Test";
        spec.Style = WS_POPUP | WS_VISIBLE;
        spec.X = 0;
        spec.Y = 0;
        spec.Width = 100;
        spec.Height = 100;
        spec.ClassStyle = c.classStyle;
        spec.Proc = log.Proc("w");
        const HWND w = CreateWindowEx(spec);
        desktop.AdvanceTime(1000);
        log.Take();
        desktop.Click(10, 10);
        desktop.AdvanceTime(c.gap);
        desktop.Click(10 + c.dx, 10);
        const std::string second = c.dbl ? "w:dblclk(" : "w:down(";
        const Lines got = log.Take();
        ASSERT_EQ(got.size(), 6u) << c.what;
        EXPECT_EQ(got[1], "w:down(10,10)") << c.what;
        EXPECT_EQ(got[4], second + std::to_string(10 + c.dx) + ",10)") << c.what;
        DestroyWindow(w);
    }
}

TEST_F(WindowCoreTest, WheelAndSideButtonsGoUnderTheCursorAndUpToTheParent) {
    const HWND form = TopLevel("form", {0, 0, 200, 100});
    Child("grid", form, {10, 10, 110, 60});
    log.Take();
    desktop.MouseMove(20, 20);
    desktop.Wheel(-2);
    desktop.Wheel(1, true);
    desktop.MouseDown(MouseButton::X1);
    EXPECT_EQ(log.Take(), (Lines{"grid:move(10,10)", "grid:wheel-240", "form:wheel-240",
                                 "grid:hwheel120", "form:hwheel120", "grid:xdown1/32"}));
}

TEST_F(WindowCoreTest, TimersFireInOrderOnTheVirtualClock) {
    const HWND w = TopLevel("w", {0, 0, 10, 10});
    std::vector<std::string> fired;
    const auto proc = [&](HWND, uint32_t, uintptr_t id, uint32_t time) {
        fired.push_back(std::to_string(id) + "@" + std::to_string(time));
    };
    const uint32_t start = GetTickCount();
    SetTimer(w, 7, 100, proc);
    SetTimer(w, 9, 250, proc);
    desktop.AdvanceTime(99);
    EXPECT_TRUE(fired.empty());
    desktop.AdvanceTime(401);
    const auto at = [&](int id, uint32_t t) {
        return std::to_string(id) + "@" + std::to_string(start + t);
    };
    EXPECT_EQ(fired, (Lines{at(7, 100), at(7, 200), at(9, 250), at(7, 300), at(7, 400), at(7, 500),
                            at(9, 500)}));
    fired.clear();
    EXPECT_TRUE(KillTimer(w, 7));
    EXPECT_FALSE(KillTimer(w, 7));
    desktop.AdvanceTime(300);
    EXPECT_EQ(fired, (Lines{at(9, 750)}));
    // A window's end takes its timers along.
    DestroyWindow(w);
    fired.clear();
    desktop.AdvanceTime(1000);
    EXPECT_TRUE(fired.empty());
}

TEST_F(WindowCoreTest, HoverNoticeAfterTheHoverTime) {
    const HWND w =
        CreateWindowEx(0, "Test", "w", WS_POPUP | WS_VISIBLE, 0, 0, 100, 100, 0, log.Proc("w"));
    desktop.MouseMove(10, 10);
    TRACKMOUSEEVENT track;
    track.dwFlags = TME_HOVER;
    track.hwndTrack = w;
    ASSERT_TRUE(TrackMouseEvent(track));
    uint32_t hover = 0;
    ASSERT_TRUE(SystemParametersInfo(SPI_GETMOUSEHOVERTIME, 0, &hover));
    log.Take();
    desktop.AdvanceTime(hover - 1);
    EXPECT_TRUE(log.Take().empty());
    desktop.AdvanceTime(1);
    EXPECT_EQ(log.Take(), (Lines{"w:hover(10,10)"}));
    desktop.AdvanceTime(5000);  // once only
    EXPECT_TRUE(log.Take().empty());
}

TEST_F(WindowCoreTest, CaptionDragsMoveAndEdgesSizeWithinLimits) {
    // A borderless form moves by its own caption and keeps a minimum size.
    const HWND form =
        CreateWindowEx(0, "Test", "form", WS_POPUP | WS_VISIBLE, 100, 100, 300, 200, 0,
                       log.Proc("form", [](HWND h, uint32_t m, WPARAM, LPARAM l, LRESULT&) {
                           if (m == WM_LBUTTONDOWN) {
                               ReleaseCapture();
                               const int32_t hit = GET_Y_LPARAM(l) < 20 ? HTCAPTION : HTBOTTOMRIGHT;
                               SendMessage(h, WM_NCLBUTTONDOWN, static_cast<WPARAM>(hit), 0);
                           } else if (m == WM_GETMINMAXINFO) {
                               reinterpret_cast<MINMAXINFO*>(l)->ptMinTrackSize = POINT{120, 80};
                           }
                           return false;
                       }));
    log.Take();
    desktop.MouseMove(150, 110);
    desktop.MouseDown();
    desktop.MouseMove(170, 140);
    desktop.MouseMove(180, 150);
    desktop.MouseUp();
    RECT r;
    GetWindowRect(form, r);
    EXPECT_EQ(r, (RECT{130, 140, 430, 340}));
    const Lines moved = log.Take();
    EXPECT_EQ(moved.front(), "form:move(50,10)");
    EXPECT_EQ(moved[2], "form:entersizemove");
    EXPECT_EQ(moved.back(), "form:exitsizemove");

    // Sizing from the bottom right corner, clamped at the minimum.
    desktop.MouseMove(420, 330);
    desktop.MouseDown();
    desktop.MouseMove(120, 200);
    desktop.MouseUp();
    GetWindowRect(form, r);
    EXPECT_EQ(r, (RECT{130, 140, 250, 220}));
}

TEST_F(WindowCoreTest, MaximiseToTheWorkAreaMinimiseAndRestore) {
    const HWND form = TopLevel("form", {100, 100, 400, 300});
    log.Take();
    SendMessage(form, WM_SYSCOMMAND, SC_MAXIMIZE, 0);
    RECT r;
    GetWindowRect(form, r);
    EXPECT_EQ(r, desktop.WorkArea());
    EXPECT_TRUE(IsZoomed(form));
    EXPECT_EQ(log.Take(), (Lines{"form:move-to(0,0)", "form:size2(1366,728)"}));
    SendMessage(form, WM_SYSCOMMAND, SC_MINIMIZE, 0);
    EXPECT_TRUE(IsIconic(form));
    EXPECT_EQ(WindowFromPoint(POINT{200, 200}), 0);  // not on screen
    SendMessage(form, WM_SYSCOMMAND, SC_RESTORE, 0);
    EXPECT_TRUE(IsZoomed(form));  // back to maximised, as it was
    SendMessage(form, WM_SYSCOMMAND, SC_RESTORE, 0);
    GetWindowRect(form, r);
    EXPECT_EQ(r, (RECT{100, 100, 400, 300}));
    const Lines got = log.Take();
    EXPECT_NE(std::find(got.begin(), got.end(), "form:size1(0,0)"), got.end());
    EXPECT_EQ(got.back(), "form:size0(300,200)");
    SendMessage(form, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_FALSE(IsWindow(form));
}

TEST_F(WindowCoreTest, HitTestingFollowsRegionsVisibilityAndEnabledState) {
    const HWND back = TopLevel("back", {0, 0, 200, 200});
    const HWND round = TopLevel("round", {0, 0, 100, 100});
    const Region ellipse = Region::CreateRoundRectRgn(0, 0, 101, 101, 100, 100);
    SetWindowRgn(round, &ellipse);
    const HWND child = Child("child", round, {40, 40, 60, 60});
    struct Case {
        POINT at;
        HWND want;
    } cases[] = {
        {{50, 50}, child}, {{30, 50}, round}, {{2, 2}, back}, {{150, 150}, back}, {{250, 10}, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(WindowFromPoint(c.at), c.want) << c.at.X << "," << c.at.Y;
    }
    EnableWindow(child, false);  // a disabled child lets its parent answer
    EXPECT_EQ(WindowFromPoint(POINT{50, 50}), round);
    ShowWindow(round, SW_HIDE);
    EXPECT_EQ(WindowFromPoint(POINT{50, 50}), back);
}

TEST_F(WindowCoreTest, DisablingEndsModesAndDropsInput) {
    const HWND w = TopLevel("w", {0, 0, 100, 100});
    SetCapture(w);
    log.Take();
    EnableWindow(w, false);
    EXPECT_EQ(GetCapture(), 0);
    desktop.Click(10, 10);
    EXPECT_EQ(log.Take(), (Lines{"w:cancelmode", "w:capturechanged", "w:killfocus"}));
}

TEST_F(WindowCoreTest, KeysTypeCharactersAndSynthesisedKeysQueue) {
    const HWND w = TopLevel("w", {0, 0, 100, 100});
    SetFocus(w);
    log.Take();
    desktop.Type("aB é");
    EXPECT_EQ(log.Take(), (Lines{"w:keydown65", "w:char97", "w:keyup65", "w:keydown16",
                                 "w:keydown66", "w:char66", "w:keyup66", "w:keyup16", "w:keydown32",
                                 "w:char32", "w:keyup32", "w:char233"}));
    // Keys made by the program wait in the input queue like typed ones.
    keybd_event(VK_TAB, 0, 0, 0);
    keybd_event(VK_TAB, 0, KEYEVENTF_KEYUP, 0);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(GetAsyncKeyState(VK_TAB), 0);
    desktop.Pump();
    EXPECT_EQ(log.Take(), (Lines{"w:keydown9", "w:char9", "w:keyup9"}));
}

TEST_F(WindowCoreTest, MessageFiltersConsumeBeforeTheLoopSeesTheMessage) {
    const HWND w = TopLevel("w", {0, 0, 100, 100});
    SetFocus(w);
    log.Take();
    std::vector<std::string> seen;
    const int32_t tabs = AddMessageFilter([&](const MSG& m) {
        if (m.message == WM_KEYDOWN) {
            seen.push_back("tabs");
        }
        return m.message == WM_KEYDOWN && m.wParam == VK_TAB;
    });
    const int32_t all = AddMessageFilter([&](const MSG& m) {
        seen.push_back("all" + std::to_string(m.message));
        return false;
    });
    desktop.Key(VK_TAB);
    // The consumed key press is never translated, so no character follows.
    EXPECT_EQ(log.Take(), Lines{"w:keyup9"});
    // Paints pass through filters as well.
    EXPECT_EQ(seen, (std::vector<std::string>{"all256", "tabs", "all15", "all257"}));
    EXPECT_TRUE(RemoveMessageFilter(tabs));
    EXPECT_FALSE(RemoveMessageFilter(tabs));
    desktop.Key(VK_TAB);
    EXPECT_EQ(log.Take(), (Lines{"w:keydown9", "w:char9", "w:keyup9"}));
    EXPECT_TRUE(RemoveMessageFilter(all));
}

TEST_F(WindowCoreTest, ModalLoopsTakeTheirInputFromTheScript) {
    int32_t typed = 0;
    const auto modal = [&] {
        MSG msg;
        while (GetMessage(msg)) {
            TranslateMessage(msg);
            DispatchMessage(msg);
            if (msg.message == WM_CHAR && ++typed == 2) {
                break;
            }
        }
    };
    const HWND w = CreateWindowEx(0, "Test", "w", WS_POPUP | WS_VISIBLE, 0, 0, 100, 100, 0,
                                  log.Proc("w", [&](HWND, uint32_t m, WPARAM, LPARAM, LRESULT&) {
                                      if (m == WM_LBUTTONUP) {
                                          modal();
                                      }
                                      return false;
                                  }));
    SetFocus(w);
    desktop.BeginScript();
    desktop.Click(10, 10);
    desktop.Type("ok");
    desktop.Play();
    EXPECT_EQ(typed, 2);
    EXPECT_EQ(desktop.StepsLeft(), 0u);
    // Without the keys recorded first, the waiting loop fails loudly.
    typed = 0;
    EXPECT_THROW(desktop.Click(10, 10), HeadlessScriptEnded);
}

}  // namespace
}  // namespace kelvara
