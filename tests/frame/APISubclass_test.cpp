#include "kelvara/frame/APISubclass.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

constexpr uint32_t kPing = WM_USER + 1;
constexpr uint32_t kOther = WM_USER + 2;
constexpr eMsg kPingMsg = static_cast<eMsg>(kPing);
constexpr LRESULT kProcAnswer = 40;

class SubclassTest : public ::testing::Test {
protected:
    std::unique_ptr<HeadlessDesktop> desktop = std::make_unique<HeadlessDesktop>();
    Lines seen;

    // A window whose procedure notes kPing and kOther and answers 40.
    HWND Window(const std::string& name) {
        return CreateWindowEx(0, "Test", name, WS_POPUP, 0, 0, 10, 10, 0,
                              [this, name](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                                  if (m == kPing || m == kOther) {
                                      seen.push_back(name + ":proc");
                                      return kProcAnswer;
                                  }
                                  return DefWindowProc(h, m, w, l);
                              });
    }
    // Connects a handler that notes kPing and kOther under `name` and, for
    // kPing, answers with `answer` when given.
    void Watch(APISubclass& s, const std::string& name, std::optional<LRESULT> answer = {}) {
        s.SubclassProcEvent.Connect(
            [this, name, answer](HWND, uint32_t m, WPARAM, LPARAM, bool& handled, LRESULT& r) {
                if (m != kPing && m != kOther) {
                    return;
                }
                seen.push_back(name);
                if (m == kPing && answer) {
                    handled = true;
                    r = *answer;
                }
            });
    }
};

TEST_F(SubclassTest, TheOwnerSeesFirstAndMayAnswer) {
    struct Case {
        const char* what;
        std::optional<LRESULT> answer;
        LRESULT want;
        Lines order;
    } cases[] = {
        {"passed on", {}, kProcAnswer, {"hook", "w:proc"}},
        {"handled", 7, 7, {"hook"}},
        {"handled with 0", 0, 0, {"hook"}},
    };
    for (const Case& c : cases) {
        const HWND w = Window("w");
        APISubclass s;
        Watch(s, "hook", c.answer);
        s.Hook(w);
        ASSERT_TRUE(s.IsSubclassed());
        seen.clear();
        EXPECT_EQ(SendMessage(w, kPing), c.want) << c.what;
        EXPECT_EQ(seen, c.order) << c.what;
        DestroyWindow(w);
    }
}

TEST_F(SubclassTest, UnHookIsSafeToRepeatAndASecondHookReplacesTheFirst) {
    const HWND a = Window("a");
    const HWND b = Window("b");
    APISubclass s;
    Watch(s, "hook");
    s.UnHook();  // nothing held
    EXPECT_FALSE(s.IsSubclassed());
    s.Hook(a);
    s.Hook(b);
    EXPECT_EQ(s.hWnd(), b);
    SendMessage(a, kPing);
    SendMessage(b, kPing);
    EXPECT_EQ(seen, (Lines{"a:proc", "hook", "b:proc"}));
    s.UnHook();
    s.UnHook();
    EXPECT_FALSE(s.IsSubclassed());
    EXPECT_EQ(s.hWnd(), 0);
    seen.clear();
    SendMessage(b, kPing);
    EXPECT_EQ(seen, (Lines{"b:proc"}));
    // No window, no hook.
    s.Hook(0);
    EXPECT_FALSE(s.IsSubclassed());
}

TEST_F(SubclassTest, StackedHooksComeOffExactlyInAnyOrder) {
    const HWND w = Window("w");
    APISubclass one, two, three;
    Watch(one, "one");
    Watch(two, "two");
    Watch(three, "three");
    one.Hook(w);
    two.Hook(w);
    three.Hook(w);
    SendMessage(w, kPing);
    EXPECT_EQ(seen, (Lines{"three", "two", "one", "w:proc"}));
    seen.clear();
    two.UnHook();
    SendMessage(w, kPing);
    one.UnHook();
    SendMessage(w, kPing);
    EXPECT_EQ(seen, (Lines{"three", "one", "w:proc", "three", "w:proc"}));
    {
        APISubclass scoped;
        Watch(scoped, "scoped");
        scoped.Hook(w);
    }  // the end of the object takes its hook off
    seen.clear();
    SendMessage(w, kPing);
    EXPECT_EQ(seen, (Lines{"three", "w:proc"}));
}

TEST_F(SubclassTest, AWindowDestroyedFirstLeavesNothingToUndo) {
    const HWND w = Window("w");
    APISubclass s;
    Lines ends;
    s.SubclassProcEvent.Connect([&](HWND, uint32_t m, WPARAM, LPARAM, bool&, LRESULT&) {
        if (m == WM_DESTROY || m == WM_NCDESTROY) {
            ends.push_back(m == WM_DESTROY ? "destroy" : "ncdestroy");
        }
    });
    s.Hook(w);
    DestroyWindow(w);
    EXPECT_EQ(ends, (Lines{"destroy", "ncdestroy"}));  // the hook sees the window's end
    EXPECT_TRUE(s.IsSubclassed());
    s.UnHook();
    EXPECT_FALSE(s.IsSubclassed());
}

TEST_F(SubclassTest, UnhookingAfterItsDesktopWentLeavesANewWindowOfTheSameNumberAlone) {
    APISubclass stale;
    const HWND first = Window("first");
    stale.Hook(first);
    desktop.reset();  // the windows go with their core, unannounced
    desktop = std::make_unique<HeadlessDesktop>();
    const HWND again = Window("again");
    ASSERT_EQ(again, first);  // numbers start over in a new core
    APISubclass fresh;
    Watch(fresh, "fresh");
    fresh.Hook(again);  // the same hook number as the stale one
    stale.UnHook();
    SendMessage(again, kPing);
    EXPECT_EQ(seen, (Lines{"fresh", "again:proc"}));
}

// --- WindowSubclass -------------------------------------------------------------

// An owner that notes each call and, by its settings, answers before or
// changes the answer after.
struct Owner final : ISubclass {
    Lines* seen = nullptr;
    std::optional<LRESULT> answerBefore;
    LRESULT addAfter = 0;
    std::function<void()> onCall;
    void Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND, uint32_t uMsg,
                            WPARAM, LPARAM) override {
        if (uMsg != kPing && uMsg != kOther) {
            return;
        }
        seen->push_back(std::string(bBefore ? "before" : "after") +
                        (bBefore ? "" : ":" + std::to_string(lReturn)));
        if (onCall) {
            onCall();
        }
        if (bBefore && answerBefore) {
            bHandled = true;
            lReturn = *answerBefore;
        }
        if (!bBefore) {
            lReturn += addAfter;
        }
    }
};

TEST_F(SubclassTest, AnOwnerGetsTheMessagesItChoseAtTheMomentsItChose) {
    struct Case {
        const char* what;
        eMsg msg;
        eMsgWhen when;
        std::optional<LRESULT> answerBefore;
        LRESULT addAfter;
        LRESULT want;
        Lines order;
    } cases[] = {
        // clang-format off
        {"before", kPingMsg, eMsgWhen::MSG_BEFORE, {}, 0, 40, {"before", "w:proc"}},
        {"before, answered", kPingMsg, eMsgWhen::MSG_BEFORE, 9, 0, 9, {"before"}},
        {"after sees and changes the answer", kPingMsg, eMsgWhen::MSG_AFTER, {}, 2, 42,
         {"w:proc", "after:40"}},
        {"both", kPingMsg, eMsgWhen::MSG_BEFORE_AFTER, {}, 1, 41,
         {"before", "w:proc", "after:40"}},
        {"both, answered before: no after", kPingMsg, eMsgWhen::MSG_BEFORE_AFTER, 5, 1, 5,
         {"before"}},
        {"all messages", eMsg::ALL_MESSAGES, eMsgWhen::MSG_AFTER, {}, 0, 40,
         {"w:proc", "after:40"}},
        {"another message", static_cast<eMsg>(kOther), eMsgWhen::MSG_BEFORE_AFTER, 5, 1, 40,
         {"w:proc"}},
        // clang-format on
    };
    for (const Case& c : cases) {
        const HWND w = Window("w");
        Owner owner;
        owner.seen = &seen;
        owner.answerBefore = c.answerBefore;
        owner.addAfter = c.addAfter;
        WindowSubclass sub;
        sub.AddMsg(c.msg, c.when);
        ASSERT_TRUE(sub.Attach(w, owner));
        seen.clear();
        EXPECT_EQ(SendMessage(w, kPing), c.want) << c.what;
        EXPECT_EQ(seen, c.order) << c.what;
        DestroyWindow(w);
    }
}

TEST_F(SubclassTest, AnAfterOwnerLetsOlderHooksSeeTheMessage) {
    // The mouse tracker's hook may be older than a control's; both must see
    // every message.
    const HWND w = Window("w");
    APISubclass older;
    Watch(older, "older");
    older.Hook(w);
    Owner owner;
    owner.seen = &seen;
    owner.addAfter = 1;
    WindowSubclass sub;
    sub.AddMsg(eMsg::ALL_MESSAGES, eMsgWhen::MSG_BEFORE_AFTER);
    sub.Attach(w, owner);
    APISubclass newer;
    Watch(newer, "newer");
    newer.Hook(w);
    EXPECT_EQ(SendMessage(w, kPing), 41);
    EXPECT_EQ(seen, (Lines{"newer", "before", "older", "w:proc", "after:40"}));
}

TEST_F(SubclassTest, ChoicesCanChangeAndDetachingMidMessageStopsTheAfterCall) {
    const HWND w = Window("w");
    Owner owner;
    owner.seen = &seen;
    WindowSubclass sub;
    sub.AddMsg(kPingMsg, eMsgWhen::MSG_BEFORE_AFTER);
    sub.DelMsg(kPingMsg, eMsgWhen::MSG_BEFORE);
    EXPECT_FALSE(sub.Wants(kPing, eMsgWhen::MSG_BEFORE));
    EXPECT_TRUE(sub.Wants(kPing, eMsgWhen::MSG_AFTER));
    sub.AddMsg(kPingMsg, eMsgWhen::MSG_BEFORE);
    sub.Attach(w, owner);
    owner.onCall = [&] { sub.Detach(); };
    EXPECT_EQ(SendMessage(w, kPing), kProcAnswer);
    EXPECT_EQ(seen, (Lines{"before", "w:proc"}));
    EXPECT_FALSE(sub.IsAttached());
    sub.Detach();
    // Attaching elsewhere lets the first window go.
    const HWND other = Window("other");
    owner.onCall = nullptr;
    sub.Attach(w, owner);
    sub.Attach(other, owner);
    seen.clear();
    SendMessage(w, kPing);
    SendMessage(other, kPing);
    EXPECT_EQ(seen, (Lines{"w:proc", "before", "other:proc", "after:40"}));
    EXPECT_FALSE(sub.Attach(0, owner));
    EXPECT_FALSE(sub.IsAttached());
}

}  // namespace
}  // namespace kelvara
