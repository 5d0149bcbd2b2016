#include "kelvara/frame/eMsg.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "kelvara/host/Win32.h"

namespace kelvara {
namespace {

TEST(eMsg, NamesTwoHundredAndThreeMembersEachOnce) {
    EXPECT_EQ(eMsgTable.size(), 203u);
    std::set<std::string_view> names;
    for (const eMsgEntry& e : eMsgTable) {
        EXPECT_TRUE(names.insert(e.Name).second) << "twice: " << e.Name;
        EXPECT_TRUE(e.Name == "ALL_MESSAGES" || e.Name.starts_with("WM_")) << e.Name;
    }
}

TEST(eMsg, MatchesTheWindowCoreForEveryMessageItDefines) {
    struct Case {
        eMsg member;
        uint32_t core;
    } cases[] = {
        {eMsg::WM_NULL, WM_NULL},
        {eMsg::WM_CREATE, WM_CREATE},
        {eMsg::WM_DESTROY, WM_DESTROY},
        {eMsg::WM_MOVE, WM_MOVE},
        {eMsg::WM_SIZE, WM_SIZE},
        {eMsg::WM_ACTIVATE, WM_ACTIVATE},
        {eMsg::WM_SETFOCUS, WM_SETFOCUS},
        {eMsg::WM_KILLFOCUS, WM_KILLFOCUS},
        {eMsg::WM_ENABLE, WM_ENABLE},
        {eMsg::WM_SETREDRAW, WM_SETREDRAW},
        {eMsg::WM_SETTEXT, WM_SETTEXT},
        {eMsg::WM_GETTEXT, WM_GETTEXT},
        {eMsg::WM_GETTEXTLENGTH, WM_GETTEXTLENGTH},
        {eMsg::WM_PAINT, WM_PAINT},
        {eMsg::WM_CLOSE, WM_CLOSE},
        {eMsg::WM_QUIT, WM_QUIT},
        {eMsg::WM_ERASEBKGND, WM_ERASEBKGND},
        {eMsg::WM_SHOWWINDOW, WM_SHOWWINDOW},
        {eMsg::WM_ACTIVATEAPP, WM_ACTIVATEAPP},
        {eMsg::WM_CANCELMODE, WM_CANCELMODE},
        {eMsg::WM_SETCURSOR, WM_SETCURSOR},
        {eMsg::WM_MOUSEACTIVATE, WM_MOUSEACTIVATE},
        {eMsg::WM_GETMINMAXINFO, WM_GETMINMAXINFO},
        {eMsg::WM_WINDOWPOSCHANGING, WM_WINDOWPOSCHANGING},
        {eMsg::WM_WINDOWPOSCHANGED, WM_WINDOWPOSCHANGED},
        {eMsg::WM_NCDESTROY, WM_NCDESTROY},
        {eMsg::WM_NCHITTEST, WM_NCHITTEST},
        {eMsg::WM_NCACTIVATE, WM_NCACTIVATE},
        {eMsg::WM_NCMOUSEMOVE, WM_NCMOUSEMOVE},
        {eMsg::WM_NCLBUTTONDOWN, WM_NCLBUTTONDOWN},
        {eMsg::WM_NCLBUTTONUP, WM_NCLBUTTONUP},
        {eMsg::WM_NCLBUTTONDBLCLK, WM_NCLBUTTONDBLCLK},
        {eMsg::WM_KEYDOWN, WM_KEYDOWN},
        {eMsg::WM_KEYUP, WM_KEYUP},
        {eMsg::WM_CHAR, WM_CHAR},
        {eMsg::WM_SYSKEYDOWN, WM_SYSKEYDOWN},
        {eMsg::WM_SYSKEYUP, WM_SYSKEYUP},
        {eMsg::WM_SYSCHAR, WM_SYSCHAR},
        {eMsg::WM_COMMAND, WM_COMMAND},
        {eMsg::WM_SYSCOMMAND, WM_SYSCOMMAND},
        {eMsg::WM_TIMER, WM_TIMER},
        {eMsg::WM_HSCROLL, WM_HSCROLL},
        {eMsg::WM_VSCROLL, WM_VSCROLL},
        {eMsg::WM_MOUSEMOVE, WM_MOUSEMOVE},
        {eMsg::WM_LBUTTONDOWN, WM_LBUTTONDOWN},
        {eMsg::WM_LBUTTONUP, WM_LBUTTONUP},
        {eMsg::WM_LBUTTONDBLCLK, WM_LBUTTONDBLCLK},
        {eMsg::WM_RBUTTONDOWN, WM_RBUTTONDOWN},
        {eMsg::WM_RBUTTONUP, WM_RBUTTONUP},
        {eMsg::WM_RBUTTONDBLCLK, WM_RBUTTONDBLCLK},
        {eMsg::WM_MBUTTONDOWN, WM_MBUTTONDOWN},
        {eMsg::WM_MBUTTONUP, WM_MBUTTONUP},
        {eMsg::WM_MBUTTONDBLCLK, WM_MBUTTONDBLCLK},
        {eMsg::WM_MOUSEWHEEL, WM_MOUSEWHEEL},
        {eMsg::WM_XBUTTONDOWN, WM_XBUTTONDOWN},
        {eMsg::WM_XBUTTONUP, WM_XBUTTONUP},
        {eMsg::WM_XBUTTONDBLCLK, WM_XBUTTONDBLCLK},
        {eMsg::WM_MOUSEHWHEEL, WM_MOUSEHWHEEL},
        {eMsg::WM_CAPTURECHANGED, WM_CAPTURECHANGED},
        {eMsg::WM_ENTERSIZEMOVE, WM_ENTERSIZEMOVE},
        {eMsg::WM_EXITSIZEMOVE, WM_EXITSIZEMOVE},
        {eMsg::WM_MOUSEHOVER, WM_MOUSEHOVER},
        {eMsg::WM_MOUSELEAVE, WM_MOUSELEAVE},
        {eMsg::WM_USER, WM_USER},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(static_cast<uint32_t>(c.member), c.core) << MsgName(static_cast<int32_t>(c.core));
    }
}

TEST(eMsg, KeepsTheHostNumbersOfMessagesTheCoreDoesNotSend) {
    struct Case {
        eMsg member;
        int32_t value;
    } cases[] = {
        {eMsg::ALL_MESSAGES, -1},
        {eMsg::WM_WININICHANGE, 0x001A},
        {eMsg::WM_QUEUESYNC, 0x0023},
        {eMsg::WM_SPOOLERSTATUS, 0x002A},
        {eMsg::WM_DRAWITEM, 0x002B},
        {eMsg::WM_COMPAREITEM, 0x0039},
        {eMsg::WM_GETOBJECT, 0x003D},
        {eMsg::WM_COMMNOTIFY, 0x0044},
        {eMsg::WM_COPYDATA, 0x004A},
        {eMsg::WM_NOTIFY, 0x004E},
        {eMsg::WM_NOTIFYFORMAT, 0x0055},
        {eMsg::WM_CONTEXTMENU, 0x007B},
        {eMsg::WM_SETICON, 0x0080},
        {eMsg::WM_NCCREATE, 0x0081},
        {eMsg::WM_SYNCPAINT, 0x0088},
        {eMsg::WM_NCXBUTTONDBLCLK, 0x00AD},
        {eMsg::WM_KEYFIRST, 0x0100},
        {eMsg::WM_SYSDEADCHAR, 0x0107},
        {eMsg::WM_KEYLAST, 0x0108},
        {eMsg::WM_INITDIALOG, 0x0110},
        {eMsg::WM_INITMENUPOPUP, 0x0117},
        {eMsg::WM_MENUSELECT, 0x011F},
        {eMsg::WM_QUERYUISTATE, 0x0129},
        {eMsg::WM_CTLCOLORMSGBOX, 0x0132},
        {eMsg::WM_CTLCOLORSTATIC, 0x0138},
        {eMsg::WM_MOUSEFIRST, 0x0200},
        {eMsg::WM_MOUSELAST, 0x020E},
        {eMsg::WM_PARENTNOTIFY, 0x0210},
        {eMsg::WM_MOVING, 0x0216},
        {eMsg::WM_DEVICECHANGE, 0x0219},
        {eMsg::WM_MDICREATE, 0x0220},
        {eMsg::WM_MDIGETACTIVE, 0x0229},
        {eMsg::WM_MDISETMENU, 0x0230},
        {eMsg::WM_DROPFILES, 0x0233},
        {eMsg::WM_MDIREFRESHMENU, 0x0234},
        {eMsg::WM_NCMOUSEHOVER, 0x02A0},
        {eMsg::WM_NCMOUSELEAVE, 0x02A2},
        {eMsg::WM_CUT, 0x0300},
        {eMsg::WM_UNDO, 0x0304},
        {eMsg::WM_HSCROLLCLIPBOARD, 0x030E},
        {eMsg::WM_PALETTECHANGED, 0x0311},
        {eMsg::WM_HOTKEY, 0x0312},
        {eMsg::WM_PRINT, 0x0317},
        {eMsg::WM_APPCOMMAND, 0x0319},
        {eMsg::WM_THEMECHANGED, 0x031A},
        {eMsg::WM_HANDHELDFIRST, 0x0358},
        {eMsg::WM_AFXLAST, 0x037F},
        {eMsg::WM_PENWINLAST, 0x038F},
        {eMsg::WM_APP, 0x8000},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(static_cast<int32_t>(c.member), c.value) << MsgName(c.value);
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
        {0x001A, "WM_WININICHANGE"},
        {0x0108, "WM_KEYLAST"},
        {0x0400, "WM_USER"},
        {0x0017, ""},
        {0x0286, ""},  // an input-method message: not named here
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MsgName(c.value), c.name) << c.value;
    }
}

TEST(eMsgWhen, CombinesBeforeAndAfter) {
    EXPECT_EQ(static_cast<int32_t>(eMsgWhen::MSG_BEFORE), 1);
    EXPECT_EQ(static_cast<int32_t>(eMsgWhen::MSG_AFTER), 2);
    EXPECT_EQ(
        static_cast<int32_t>(eMsgWhen::MSG_BEFORE_AFTER),
        static_cast<int32_t>(eMsgWhen::MSG_BEFORE) | static_cast<int32_t>(eMsgWhen::MSG_AFTER));
}

}  // namespace
}  // namespace kelvara
