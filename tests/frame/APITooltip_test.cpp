#include "kelvara/frame/APITooltip.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/frame/KV_TOOLTIP.h"
#include "kelvara/frame/detail/TooltipWindow.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

std::string Hex(uintptr_t v) {
    char text[24];
    std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(v));
    return text;
}

// The tooltip messages a tip window gets, as text, from its first one on.
class TipMessages {
public:
    TipMessages() {
        connection = detail::TooltipWindowCreated().Connect([this](HWND tip) {
            AddWindowHook(tip, [this](HWND, uint32_t m, WPARAM w, LPARAM l, bool&) -> LRESULT {
                Note(m, w, l);
                return 0;
            });
        });
    }
    ~TipMessages() { detail::TooltipWindowCreated().Disconnect(connection); }
    Lines Take() { return std::exchange(lines, {}); }

private:
    void Note(uint32_t m, WPARAM w, LPARAM l) {
        switch (m) {
            case TTM_ADDTOOL: {
                const auto* t = reinterpret_cast<const TOOLINFO*>(l);
                const bool sameWindow = t->uId == static_cast<uintptr_t>(t->hwnd);
                lines.push_back("ADDTOOL size " + std::to_string(t->cbSize) + " flags " +
                                std::to_string(t->uFlags) + (sameWindow ? " id=hwnd" : " id?") +
                                " '" + (t->lpszText ? t->lpszText : "") + "'");
                break;
            }
            case TTM_SETTITLE:
                lines.push_back("SETTITLE " + std::to_string(w) + " '" +
                                reinterpret_cast<const char*>(l) + "'");
                break;
            case TTM_SETTIPTEXTCOLOR:
                lines.push_back("SETTIPTEXTCOLOR " + Hex(w));
                break;
            case TTM_SETTIPBKCOLOR:
                lines.push_back("SETTIPBKCOLOR " + Hex(w));
                break;
            case TTM_SETDELAYTIME:
                lines.push_back("SETDELAYTIME " + std::to_string(w) + " " + std::to_string(l));
                break;
            default:
                if (m >= WM_USER) {
                    lines.push_back("other " + std::to_string(m));
                }
                break;
        }
    }
    Lines lines;
    Event<HWND>::Connection connection = 0;
};

class TooltipTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    TipMessages messages;
    HWND form = 0;
    HWND button = 0;
    HWND box = 0;

    void SetUp() override {
        form = CreateWindowEx(0, "Form", "form", WS_POPUP | WS_VISIBLE, 100, 100, 300, 200, 0,
                              nullptr);
        button = CreateWindowEx(0, "Button", "button", WS_CHILD | WS_VISIBLE, 50, 50, 100, 40, form,
                                nullptr);
        box = CreateWindowEx(0, "Edit", "box", WS_CHILD | WS_VISIBLE, 50, 120, 100, 20, form,
                             nullptr);
    }
    int32_t Tips() {
        int32_t n = 0;
        for (HWND h : desktop.Core().TopLevelWindows()) {
            n += detail::IsTooltipWindow(h) ? 1 : 0;
        }
        return n;
    }
};

TEST_F(TooltipTest, StartsWithTheSuitesDefaults) {
    const APITooltip tip;
    EXPECT_EQ(tip.Style(), ENUM_TOOLTIP_STYLE::ToolTipStandard);
    EXPECT_FALSE(tip.Centered());
    EXPECT_EQ(tip.Icon(), ENUM_TOOLTIP_ICON::ToolTipNoIcon);
    EXPECT_EQ(tip.VisibleTime(), 5000);
    EXPECT_EQ(tip.DelayTime(), 500);
    EXPECT_EQ(tip.ForeColor(), static_cast<int32_t>(0x80000017));  // the system's tip text
    EXPECT_EQ(tip.BackColor(), static_cast<int32_t>(0x80000018));  // and tip fill
    EXPECT_TRUE(tip.Title().empty());
    EXPECT_TRUE(tip.TipText().empty());
    EXPECT_EQ(tip.hWnd(), 0);
}

TEST_F(TooltipTest, CreateSendsItsSettingsInTheirOrder) {
    struct Case {
        const char* what;
        ENUM_TOOLTIP_STYLE style;
        bool centered;
        ENUM_TOOLTIP_ICON icon;
        std::string title;
        uint32_t windowStyle;
        Lines want;
    } cases[] = {
        {"text only: no title message",
         ENUM_TOOLTIP_STYLE::ToolTipStandard,
         false,
         ENUM_TOOLTIP_ICON::ToolTipNoIcon,
         "",
         3,
         {"ADDTOOL size 44 flags 17 id=hwnd 'Save'", "SETTIPTEXTCOLOR 80000017",
          "SETTIPBKCOLOR 80000018", "SETDELAYTIME 2 5000", "SETDELAYTIME 3 500"}},
        {"a title",
         ENUM_TOOLTIP_STYLE::ToolTipStandard,
         false,
         ENUM_TOOLTIP_ICON::ToolTipNoIcon,
         "Title",
         3,
         {"ADDTOOL size 44 flags 17 id=hwnd 'Save'", "SETTITLE 0 'Title'",
          "SETTIPTEXTCOLOR 80000017", "SETTIPBKCOLOR 80000018", "SETDELAYTIME 2 5000",
          "SETDELAYTIME 3 500"}},
        {"an icon alone",
         ENUM_TOOLTIP_STYLE::ToolTipBalloon,
         false,
         ENUM_TOOLTIP_ICON::ToolTipIconWarning,
         "",
         67,
         {"ADDTOOL size 44 flags 17 id=hwnd 'Save'", "SETTITLE 2 ''", "SETTIPTEXTCOLOR 80000017",
          "SETTIPBKCOLOR 80000018", "SETDELAYTIME 2 5000", "SETDELAYTIME 3 500"}},
        {"centred balloon",
         ENUM_TOOLTIP_STYLE::ToolTipBalloon,
         true,
         ENUM_TOOLTIP_ICON::ToolTipIconError,
         "Error",
         67,
         {"ADDTOOL size 44 flags 19 id=hwnd 'Save'", "SETTITLE 3 'Error'",
          "SETTIPTEXTCOLOR 80000017", "SETTIPBKCOLOR 80000018", "SETDELAYTIME 2 5000",
          "SETDELAYTIME 3 500"}},
    };
    for (const Case& c : cases) {
        APITooltip tip;
        tip.SetStyle(c.style);
        tip.SetCentered(c.centered);
        tip.SetIcon(c.icon);
        tip.SetTitle(c.title);
        tip.SetTipText("Save");
        ASSERT_TRUE(tip.Create(button)) << c.what;
        EXPECT_EQ(messages.Take(), c.want) << c.what;
        EXPECT_EQ(GetWindowLong(tip.hWnd(), GWL_STYLE) & 0xFFFF, c.windowStyle) << c.what;
        EXPECT_EQ(tip.ParentHandle(), button);
        EXPECT_EQ(GetOwner(tip.hWnd()), form);
    }
}

TEST_F(TooltipTest, LaterSettingsWaitForTheNextCreateButTitleIconAndColoursGoAtOnce) {
    APITooltip tip;
    tip.SetTipText("Save");
    tip.SetTitle("Old");
    ASSERT_TRUE(tip.Create(button));
    messages.Take();
    struct Step {
        std::function<void()> set;
        Lines want;
    } steps[] = {
        {[&] { tip.SetTitle("New"); }, {"SETTITLE 0 'New'"}},
        {[&] { tip.SetIcon(ENUM_TOOLTIP_ICON::ToolTipIconInfo); }, {"SETTITLE 1 'New'"}},
        {[&] { tip.SetForeColor(0x0000FF); }, {"SETTIPTEXTCOLOR ff"}},
        {[&] { tip.SetBackColor(0xF4FFFF); }, {"SETTIPBKCOLOR f4ffff"}},
        {[&] { tip.SetTipText("Later"); }, {}},
        {[&] { tip.SetDelayTime(1500); }, {}},
        {[&] { tip.SetVisibleTime(100); }, {}},
        {[&] { tip.SetCentered(true); }, {}},
        {[&] { tip.SetStyle(ENUM_TOOLTIP_STYLE::ToolTipBalloon); }, {}},
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        steps[i].set();
        EXPECT_EQ(messages.Take(), steps[i].want) << "step " << i;
    }
    ASSERT_TRUE(tip.Create(button));
    EXPECT_EQ(
        messages.Take(),
        (Lines{"ADDTOOL size 44 flags 19 id=hwnd 'Later'", "SETTITLE 1 'New'", "SETTIPTEXTCOLOR ff",
               "SETTIPBKCOLOR f4ffff", "SETDELAYTIME 2 100", "SETDELAYTIME 3 1500"}));
    EXPECT_EQ(GetWindowLong(tip.hWnd(), GWL_STYLE) & 0xFFFF, 67);
    // Without a tip, settings are only kept.
    tip.Destroy();
    tip.SetTitle("Kept");
    EXPECT_TRUE(messages.Take().empty());
}

TEST_F(TooltipTest, CreateTwiceLeavesOneTipAndDestroyEndsIt) {
    APITooltip tip;
    tip.SetTipText("Save");
    ASSERT_TRUE(tip.Create(button));
    const HWND first = tip.hWnd();
    ASSERT_TRUE(tip.Create(button));
    EXPECT_FALSE(IsWindow(first));
    EXPECT_NE(tip.hWnd(), first);
    EXPECT_EQ(Tips(), 1);
    tip.Destroy();
    tip.Destroy();
    EXPECT_EQ(Tips(), 0);
    EXPECT_EQ(tip.hWnd(), 0);
    {
        APITooltip scoped;
        scoped.Create(button);
        EXPECT_EQ(Tips(), 1);
    }
    EXPECT_EQ(Tips(), 0);
    // No window, no tip; the messages are not sent.
    messages.Take();
    EXPECT_FALSE(tip.Create(0));
    EXPECT_FALSE(tip.Create(button + 1000));
    EXPECT_EQ(tip.hWnd(), 0);
    EXPECT_TRUE(messages.Take().empty());
}

// --- KV_TOOLTIP ----------------------------------------------------------------------

TEST_F(TooltipTest, ShowToolTipMakesABalloonForTheControl) {
    struct Case {
        iIconType type;
        bool centred;
        std::string title;
        Lines want;
    } cases[] = {
        {iIconType::TTIconInfo,
         false,
         "Info",
         {"ADDTOOL size 44 flags 17 id=hwnd 'Message'", "SETTITLE 1 'Info'", "SETTIPTEXTCOLOR 0",
          "SETTIPBKCOLOR e1ffff", "SETDELAYTIME 2 5000", "SETDELAYTIME 3 500"}},
        {iIconType::TTIconError,
         true,
         "",
         {"ADDTOOL size 44 flags 19 id=hwnd 'Message'", "SETTITLE 3 ''", "SETTIPTEXTCOLOR 0",
          "SETTIPBKCOLOR e1ffff", "SETDELAYTIME 2 5000", "SETDELAYTIME 3 500"}},
        {iIconType::TTNoIcon,
         false,
         "",
         {"ADDTOOL size 44 flags 17 id=hwnd 'Message'", "SETTIPTEXTCOLOR 0", "SETTIPBKCOLOR e1ffff",
          "SETDELAYTIME 2 5000", "SETDELAYTIME 3 500"}},
    };
    for (const Case& c : cases) {
        KV_TOOLTIP kv;
        kv.ShowToolTip(c.title, "Message", button, c.type, c.centred);
        EXPECT_EQ(messages.Take(), c.want);
        EXPECT_EQ(GetWindowLong(kv.ToolhWnd(), GWL_STYLE) & 0xFFFF,
                  TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON);
        kv.DestroyToolTip();
    }
    KV_TOOLTIP kv;
    kv.ShowToolTip("T", "M", button, iIconType::TTIconWarning, false, 0x00FF00, 0x0000FF);
    messages.Take();
    EXPECT_EQ(SendMessage(kv.ToolhWnd(), TTM_GETTIPBKCOLOR), 0x00FF00);
    EXPECT_EQ(SendMessage(kv.ToolhWnd(), TTM_GETTIPTEXTCOLOR), 0x0000FF);
    desktop.MouseMove(170, 170);
    desktop.AdvanceTime(500);
    EXPECT_TRUE(IsWindowVisible(kv.ToolhWnd()));
}

TEST_F(TooltipTest, EachControlKeepsOneTipAndTipsOutliveTheObject) {
    HWND boxTip = 0;
    {
        KV_TOOLTIP kv;
        kv.ShowToolTip("A", "first", button);
        const HWND first = kv.ToolhWnd();
        kv.ShowToolTip("B", "second", button);  // replaces the button's tip
        EXPECT_FALSE(IsWindow(first));
        const HWND second = kv.ToolhWnd();
        kv.ShowToolTip("C", "box", box);  // another control: both stay
        boxTip = kv.ToolhWnd();
        EXPECT_TRUE(IsWindow(second));
        EXPECT_EQ(Tips(), 2);
        // Only tips are destroyed by handle.
        kv.DestroyToolTipByhWnd(form);
        kv.DestroyToolTipByhWnd(0);
        EXPECT_TRUE(IsWindow(form));
        kv.DestroyToolTipByhWnd(second);
        EXPECT_FALSE(IsWindow(second));
        EXPECT_EQ(kv.ToolhWnd(), boxTip);  // the last one is still the box's
        // Not a window: nothing happens.
        kv.ShowToolTip("D", "none", 0);
        EXPECT_EQ(kv.ToolhWnd(), boxTip);
    }
    EXPECT_TRUE(IsWindow(boxTip));
    // The form's end takes its tips along.
    DestroyWindow(form);
    EXPECT_EQ(Tips(), 0);
}

TEST_F(TooltipTest, DestroyToolTipEndsTheLastTipOnly) {
    KV_TOOLTIP kv;
    kv.ShowToolTip("A", "button", button);
    const HWND buttonTip = kv.ToolhWnd();
    kv.ShowToolTip("B", "box", box);
    kv.DestroyToolTip();
    EXPECT_EQ(kv.ToolhWnd(), 0);
    EXPECT_TRUE(IsWindow(buttonTip));
    kv.DestroyToolTip();  // nothing left to end
    EXPECT_TRUE(IsWindow(buttonTip));
    EXPECT_EQ(Tips(), 1);
}

}  // namespace
}  // namespace kelvara
