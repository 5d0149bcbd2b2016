#include "kelvara/frame/eMsg.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "kelvara/host/Win32.h"

namespace kelvara {
namespace {

std::optional<int32_t> ValueOf(std::string_view name) {
    for (const eMsgEntry& e : eMsgTable) {
        if (e.Name == name) {
            return static_cast<int32_t>(e.Value);
        }
    }
    return std::nullopt;
}

TEST(eMsg, NamesTwoHundredAndThreeMembersEachOnce) {
    EXPECT_EQ(eMsgTable.size(), 203u);
    std::set<std::string_view> names;
    for (const eMsgEntry& e : eMsgTable) {
        EXPECT_TRUE(names.insert(e.Name).second) << "twice: " << e.Name;
        EXPECT_TRUE(e.Name == "ALL_MESSAGES" || e.Name.starts_with("WM_")) << e.Name;
    }
}

TEST(eMsg, KeepsTheHostsNumbers) {
    struct Case {
        std::string_view name;
        int64_t value;
    } cases[] = {
        // clang-format off
        // Every message the window core sends, by the core's own numbers.
        {"WM_NULL", WM_NULL}, {"WM_CREATE", WM_CREATE}, {"WM_DESTROY", WM_DESTROY},
        {"WM_MOVE", WM_MOVE}, {"WM_SIZE", WM_SIZE}, {"WM_ACTIVATE", WM_ACTIVATE},
        {"WM_SETFOCUS", WM_SETFOCUS}, {"WM_KILLFOCUS", WM_KILLFOCUS}, {"WM_ENABLE", WM_ENABLE},
        {"WM_SETREDRAW", WM_SETREDRAW}, {"WM_SETTEXT", WM_SETTEXT}, {"WM_GETTEXT", WM_GETTEXT},
        {"WM_GETTEXTLENGTH", WM_GETTEXTLENGTH}, {"WM_PAINT", WM_PAINT}, {"WM_CLOSE", WM_CLOSE},
        {"WM_QUIT", WM_QUIT}, {"WM_ERASEBKGND", WM_ERASEBKGND}, {"WM_SHOWWINDOW", WM_SHOWWINDOW},
        {"WM_ACTIVATEAPP", WM_ACTIVATEAPP}, {"WM_CANCELMODE", WM_CANCELMODE},
        {"WM_SETCURSOR", WM_SETCURSOR}, {"WM_MOUSEACTIVATE", WM_MOUSEACTIVATE},
        {"WM_GETMINMAXINFO", WM_GETMINMAXINFO}, {"WM_WINDOWPOSCHANGING", WM_WINDOWPOSCHANGING},
        {"WM_WINDOWPOSCHANGED", WM_WINDOWPOSCHANGED}, {"WM_NCDESTROY", WM_NCDESTROY},
        {"WM_NCHITTEST", WM_NCHITTEST}, {"WM_NCACTIVATE", WM_NCACTIVATE},
        {"WM_NCMOUSEMOVE", WM_NCMOUSEMOVE}, {"WM_NCLBUTTONDOWN", WM_NCLBUTTONDOWN},
        {"WM_NCLBUTTONUP", WM_NCLBUTTONUP}, {"WM_NCLBUTTONDBLCLK", WM_NCLBUTTONDBLCLK},
        {"WM_KEYDOWN", WM_KEYDOWN}, {"WM_KEYUP", WM_KEYUP}, {"WM_CHAR", WM_CHAR},
        {"WM_SYSKEYDOWN", WM_SYSKEYDOWN}, {"WM_SYSKEYUP", WM_SYSKEYUP}, {"WM_SYSCHAR", WM_SYSCHAR},
        {"WM_COMMAND", WM_COMMAND}, {"WM_SYSCOMMAND", WM_SYSCOMMAND}, {"WM_TIMER", WM_TIMER},
        {"WM_HSCROLL", WM_HSCROLL}, {"WM_VSCROLL", WM_VSCROLL}, {"WM_MOUSEMOVE", WM_MOUSEMOVE},
        {"WM_LBUTTONDOWN", WM_LBUTTONDOWN}, {"WM_LBUTTONUP", WM_LBUTTONUP},
        {"WM_LBUTTONDBLCLK", WM_LBUTTONDBLCLK}, {"WM_RBUTTONDOWN", WM_RBUTTONDOWN},
        {"WM_RBUTTONUP", WM_RBUTTONUP}, {"WM_RBUTTONDBLCLK", WM_RBUTTONDBLCLK},
        {"WM_MBUTTONDOWN", WM_MBUTTONDOWN}, {"WM_MBUTTONUP", WM_MBUTTONUP},
        {"WM_MBUTTONDBLCLK", WM_MBUTTONDBLCLK}, {"WM_MOUSEWHEEL", WM_MOUSEWHEEL},
        {"WM_XBUTTONDOWN", WM_XBUTTONDOWN}, {"WM_XBUTTONUP", WM_XBUTTONUP},
        {"WM_XBUTTONDBLCLK", WM_XBUTTONDBLCLK}, {"WM_MOUSEHWHEEL", WM_MOUSEHWHEEL},
        {"WM_CAPTURECHANGED", WM_CAPTURECHANGED}, {"WM_ENTERSIZEMOVE", WM_ENTERSIZEMOVE},
        {"WM_EXITSIZEMOVE", WM_EXITSIZEMOVE}, {"WM_MOUSEHOVER", WM_MOUSEHOVER},
        {"WM_MOUSELEAVE", WM_MOUSELEAVE}, {"WM_USER", WM_USER},
        // Across the other groups, by the host's numbers.
        {"ALL_MESSAGES", -1}, {"WM_WININICHANGE", 0x1A}, {"WM_QUEUESYNC", 0x23},
        {"WM_SPOOLERSTATUS", 0x2A}, {"WM_COMPAREITEM", 0x39}, {"WM_COMMNOTIFY", 0x44},
        {"WM_COPYDATA", 0x4A}, {"WM_NOTIFY", 0x4E}, {"WM_CONTEXTMENU", 0x7B},
        {"WM_SETICON", 0x80}, {"WM_NCCREATE", 0x81}, {"WM_SYNCPAINT", 0x88},
        {"WM_NCXBUTTONDBLCLK", 0xAD}, {"WM_KEYFIRST", 0x100}, {"WM_KEYLAST", 0x108},
        {"WM_INITDIALOG", 0x110}, {"WM_MENUSELECT", 0x11F}, {"WM_QUERYUISTATE", 0x129},
        {"WM_CTLCOLORMSGBOX", 0x132}, {"WM_CTLCOLORSTATIC", 0x138}, {"WM_MOUSEFIRST", 0x200},
        {"WM_MOUSELAST", 0x20E}, {"WM_PARENTNOTIFY", 0x210}, {"WM_DEVICECHANGE", 0x219},
        {"WM_MDICREATE", 0x220}, {"WM_MDISETMENU", 0x230}, {"WM_MDIREFRESHMENU", 0x234},
        {"WM_NCMOUSEHOVER", 0x2A0}, {"WM_NCMOUSELEAVE", 0x2A2}, {"WM_CUT", 0x300},
        {"WM_HSCROLLCLIPBOARD", 0x30E}, {"WM_HOTKEY", 0x312}, {"WM_PRINTCLIENT", 0x318},
        {"WM_THEMECHANGED", 0x31A}, {"WM_HANDHELDFIRST", 0x358}, {"WM_AFXLAST", 0x37F},
        {"WM_PENWINLAST", 0x38F}, {"WM_APP", 0x8000},
        // clang-format on
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ValueOf(c.name), c.value) << c.name;
    }
}

TEST(eMsg, MsgNameGivesTheMessageBeforeItsRangeMarker) {
    struct Case {
        int32_t value;
        std::string_view name;
    } cases[] = {
        {-1, "ALL_MESSAGES"},
        {0x0100, "WM_KEYDOWN"},
        {0x0200, "WM_MOUSEMOVE"},
        {0x020E, "WM_MOUSEHWHEEL"},
        {0x0108, "WM_KEYLAST"},
        {0x0017, ""},
        {0x0286, ""},  // an input-method message: not named here
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MsgName(c.value), c.name) << c.value;
    }
}

}  // namespace
}  // namespace kelvara
