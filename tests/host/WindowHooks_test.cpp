#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

constexpr uint32_t kProbe = WM_USER + 7;

class WindowHooksTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Lines seen;
    HWND w = 0;

    void SetUp() override {
        w = CreateWindowEx(0, "Test", "w", WS_POPUP, 0, 0, 10, 10, 0,
                           [this](HWND h, uint32_t m, WPARAM wp, LPARAM lp) -> LRESULT {
                               if (m == kProbe) {
                                   seen.push_back("proc");
                                   return 100;
                               }
                               return DefWindowProc(h, m, wp, lp);
                           });
    }
    // A hook that notes its name and leaves the message alone.
    int32_t Watch(const std::string& name) {
        return AddWindowHook(w, [this, name](HWND, uint32_t m, WPARAM, LPARAM, bool&) -> LRESULT {
            if (m == kProbe) {
                seen.push_back(name);
            }
            return 0;
        });
    }
};

TEST_F(WindowHooksTest, AHookRemovedByANewerOneOnTheWayIsSkipped) {
    const int32_t older = Watch("older");
    AddWindowHook(w, [&](HWND, uint32_t m, WPARAM, LPARAM, bool&) -> LRESULT {
        if (m == kProbe) {
            seen.push_back("newer");
            RemoveWindowHook(w, older);
        }
        return 0;
    });
    EXPECT_EQ(SendMessage(w, kProbe), 100);
    EXPECT_EQ(seen, (Lines{"newer", "proc"}));
}

TEST_F(WindowHooksTest, CallNextHookRunsTheOlderChainOnceAndLetsTheHookChangeTheAnswer) {
    Watch("older");
    AddWindowHook(w, [&](HWND h, uint32_t m, WPARAM wp, LPARAM lp, bool& handled) -> LRESULT {
        if (m != kProbe) {
            return 0;
        }
        seen.push_back("after:before");
        const LRESULT answer = CallNextHook(h, m, wp, lp);
        seen.push_back("after:" + std::to_string(answer));
        // A second call gives the same answer without running anything again.
        EXPECT_EQ(CallNextHook(h, m, wp, lp), 100);
        handled = true;
        return answer + 1;
    });
    Watch("newest");
    EXPECT_EQ(SendMessage(w, kProbe), 101);
    EXPECT_EQ(seen, (Lines{"newest", "after:before", "older", "proc", "after:100"}));

    // Left unhandled after handing on, the message is not run a second time.
    seen.clear();
    AddWindowHook(w, [&](HWND h, uint32_t m, WPARAM wp, LPARAM lp, bool&) -> LRESULT {
        if (m == kProbe) {
            CallNextHook(h, m, wp, lp);
        }
        return 0;
    });
    EXPECT_EQ(SendMessage(w, kProbe), 101);
    EXPECT_EQ(seen, (Lines{"newest", "after:before", "older", "proc", "after:100"}));
}

TEST_F(WindowHooksTest, CallNextHookOutsideAHookIsSendMessage) {
    Watch("hook");
    EXPECT_EQ(CallNextHook(w, kProbe, 0, 0), 100);
    EXPECT_EQ(seen, (Lines{"hook", "proc"}));
    EXPECT_EQ(CallNextHook(w + 1000, kProbe, 0, 0), 0);
}

}  // namespace
}  // namespace kelvara
