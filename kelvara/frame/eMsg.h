#pragma once

// eMsg: the window messages a hook can ask for, by the host's names and
// numbers, and eMsgWhen: whether the owner sees a message before the
// window's own procedure, after it, or both.
//
// The names are the host's WM_ constants of its classic window API: window
// life and state, painting, non-client messages and mouse, keyboard,
// commands, menus and scroll bars, control colours, the mouse (with wheels
// and side buttons), MDI, size and move loops, mouse tracking (hover and
// leave), the clipboard and its viewer chain, palettes, printing, the
// reserved ranges (hand-held, AFX, pen windows) and the bases of private
// messages (WM_USER, WM_APP). The input-method (WM_IME_) messages are not
// among them, and WM_SETTINGCHANGE is found under its older name
// WM_WININICHANGE. Range markers (WM_KEYFIRST, WM_MOUSELAST ...) share the
// value of the message they mark. ALL_MESSAGES (-1) asks for every message.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kelvara {

// X(name, value) for each message, in increasing value.
#define KELVARA_EMSG_LIST(X)             \
    X(WM_NULL, 0x0000)                   \
    X(WM_CREATE, 0x0001)                 \
    X(WM_DESTROY, 0x0002)                \
    X(WM_MOVE, 0x0003)                   \
    X(WM_SIZE, 0x0005)                   \
    X(WM_ACTIVATE, 0x0006)               \
    X(WM_SETFOCUS, 0x0007)               \
    X(WM_KILLFOCUS, 0x0008)              \
    X(WM_ENABLE, 0x000A)                 \
    X(WM_SETREDRAW, 0x000B)              \
    X(WM_SETTEXT, 0x000C)                \
    X(WM_GETTEXT, 0x000D)                \
    X(WM_GETTEXTLENGTH, 0x000E)          \
    X(WM_PAINT, 0x000F)                  \
    X(WM_CLOSE, 0x0010)                  \
    X(WM_QUERYENDSESSION, 0x0011)        \
    X(WM_QUIT, 0x0012)                   \
    X(WM_QUERYOPEN, 0x0013)              \
    X(WM_ERASEBKGND, 0x0014)             \
    X(WM_SYSCOLORCHANGE, 0x0015)         \
    X(WM_ENDSESSION, 0x0016)             \
    X(WM_SHOWWINDOW, 0x0018)             \
    X(WM_WININICHANGE, 0x001A)           \
    X(WM_DEVMODECHANGE, 0x001B)          \
    X(WM_ACTIVATEAPP, 0x001C)            \
    X(WM_FONTCHANGE, 0x001D)             \
    X(WM_TIMECHANGE, 0x001E)             \
    X(WM_CANCELMODE, 0x001F)             \
    X(WM_SETCURSOR, 0x0020)              \
    X(WM_MOUSEACTIVATE, 0x0021)          \
    X(WM_CHILDACTIVATE, 0x0022)          \
    X(WM_QUEUESYNC, 0x0023)              \
    X(WM_GETMINMAXINFO, 0x0024)          \
    X(WM_PAINTICON, 0x0026)              \
    X(WM_ICONERASEBKGND, 0x0027)         \
    X(WM_NEXTDLGCTL, 0x0028)             \
    X(WM_SPOOLERSTATUS, 0x002A)          \
    X(WM_DRAWITEM, 0x002B)               \
    X(WM_MEASUREITEM, 0x002C)            \
    X(WM_DELETEITEM, 0x002D)             \
    X(WM_VKEYTOITEM, 0x002E)             \
    X(WM_CHARTOITEM, 0x002F)             \
    X(WM_SETFONT, 0x0030)                \
    X(WM_GETFONT, 0x0031)                \
    X(WM_SETHOTKEY, 0x0032)              \
    X(WM_GETHOTKEY, 0x0033)              \
    X(WM_QUERYDRAGICON, 0x0037)          \
    X(WM_COMPAREITEM, 0x0039)            \
    X(WM_GETOBJECT, 0x003D)              \
    X(WM_COMPACTING, 0x0041)             \
    X(WM_COMMNOTIFY, 0x0044)             \
    X(WM_WINDOWPOSCHANGING, 0x0046)      \
    X(WM_WINDOWPOSCHANGED, 0x0047)       \
    X(WM_POWER, 0x0048)                  \
    X(WM_COPYDATA, 0x004A)               \
    X(WM_CANCELJOURNAL, 0x004B)          \
    X(WM_NOTIFY, 0x004E)                 \
    X(WM_INPUTLANGCHANGEREQUEST, 0x0050) \
    X(WM_INPUTLANGCHANGE, 0x0051)        \
    X(WM_TCARD, 0x0052)                  \
    X(WM_HELP, 0x0053)                   \
    X(WM_USERCHANGED, 0x0054)            \
    X(WM_NOTIFYFORMAT, 0x0055)           \
    X(WM_CONTEXTMENU, 0x007B)            \
    X(WM_STYLECHANGING, 0x007C)          \
    X(WM_STYLECHANGED, 0x007D)           \
    X(WM_DISPLAYCHANGE, 0x007E)          \
    X(WM_GETICON, 0x007F)                \
    X(WM_SETICON, 0x0080)                \
    X(WM_NCCREATE, 0x0081)               \
    X(WM_NCDESTROY, 0x0082)              \
    X(WM_NCCALCSIZE, 0x0083)             \
    X(WM_NCHITTEST, 0x0084)              \
    X(WM_NCPAINT, 0x0085)                \
    X(WM_NCACTIVATE, 0x0086)             \
    X(WM_GETDLGCODE, 0x0087)             \
    X(WM_SYNCPAINT, 0x0088)              \
    X(WM_NCMOUSEMOVE, 0x00A0)            \
    X(WM_NCLBUTTONDOWN, 0x00A1)          \
    X(WM_NCLBUTTONUP, 0x00A2)            \
    X(WM_NCLBUTTONDBLCLK, 0x00A3)        \
    X(WM_NCRBUTTONDOWN, 0x00A4)          \
    X(WM_NCRBUTTONUP, 0x00A5)            \
    X(WM_NCRBUTTONDBLCLK, 0x00A6)        \
    X(WM_NCMBUTTONDOWN, 0x00A7)          \
    X(WM_NCMBUTTONUP, 0x00A8)            \
    X(WM_NCMBUTTONDBLCLK, 0x00A9)        \
    X(WM_NCXBUTTONDOWN, 0x00AB)          \
    X(WM_NCXBUTTONUP, 0x00AC)            \
    X(WM_NCXBUTTONDBLCLK, 0x00AD)        \
    X(WM_KEYDOWN, 0x0100)                \
    X(WM_KEYFIRST, 0x0100)               \
    X(WM_KEYUP, 0x0101)                  \
    X(WM_CHAR, 0x0102)                   \
    X(WM_DEADCHAR, 0x0103)               \
    X(WM_SYSKEYDOWN, 0x0104)             \
    X(WM_SYSKEYUP, 0x0105)               \
    X(WM_SYSCHAR, 0x0106)                \
    X(WM_SYSDEADCHAR, 0x0107)            \
    X(WM_KEYLAST, 0x0108)                \
    X(WM_INITDIALOG, 0x0110)             \
    X(WM_COMMAND, 0x0111)                \
    X(WM_SYSCOMMAND, 0x0112)             \
    X(WM_TIMER, 0x0113)                  \
    X(WM_HSCROLL, 0x0114)                \
    X(WM_VSCROLL, 0x0115)                \
    X(WM_INITMENU, 0x0116)               \
    X(WM_INITMENUPOPUP, 0x0117)          \
    X(WM_MENUSELECT, 0x011F)             \
    X(WM_MENUCHAR, 0x0120)               \
    X(WM_ENTERIDLE, 0x0121)              \
    X(WM_MENURBUTTONUP, 0x0122)          \
    X(WM_MENUDRAG, 0x0123)               \
    X(WM_MENUGETOBJECT, 0x0124)          \
    X(WM_UNINITMENUPOPUP, 0x0125)        \
    X(WM_MENUCOMMAND, 0x0126)            \
    X(WM_CHANGEUISTATE, 0x0127)          \
    X(WM_UPDATEUISTATE, 0x0128)          \
    X(WM_QUERYUISTATE, 0x0129)           \
    X(WM_CTLCOLORMSGBOX, 0x0132)         \
    X(WM_CTLCOLOREDIT, 0x0133)           \
    X(WM_CTLCOLORLISTBOX, 0x0134)        \
    X(WM_CTLCOLORBTN, 0x0135)            \
    X(WM_CTLCOLORDLG, 0x0136)            \
    X(WM_CTLCOLORSCROLLBAR, 0x0137)      \
    X(WM_CTLCOLORSTATIC, 0x0138)         \
    X(WM_MOUSEMOVE, 0x0200)              \
    X(WM_MOUSEFIRST, 0x0200)             \
    X(WM_LBUTTONDOWN, 0x0201)            \
    X(WM_LBUTTONUP, 0x0202)              \
    X(WM_LBUTTONDBLCLK, 0x0203)          \
    X(WM_RBUTTONDOWN, 0x0204)            \
    X(WM_RBUTTONUP, 0x0205)              \
    X(WM_RBUTTONDBLCLK, 0x0206)          \
    X(WM_MBUTTONDOWN, 0x0207)            \
    X(WM_MBUTTONUP, 0x0208)              \
    X(WM_MBUTTONDBLCLK, 0x0209)          \
    X(WM_MOUSEWHEEL, 0x020A)             \
    X(WM_XBUTTONDOWN, 0x020B)            \
    X(WM_XBUTTONUP, 0x020C)              \
    X(WM_XBUTTONDBLCLK, 0x020D)          \
    X(WM_MOUSEHWHEEL, 0x020E)            \
    X(WM_MOUSELAST, 0x020E)              \
    X(WM_PARENTNOTIFY, 0x0210)           \
    X(WM_ENTERMENULOOP, 0x0211)          \
    X(WM_EXITMENULOOP, 0x0212)           \
    X(WM_NEXTMENU, 0x0213)               \
    X(WM_SIZING, 0x0214)                 \
    X(WM_CAPTURECHANGED, 0x0215)         \
    X(WM_MOVING, 0x0216)                 \
    X(WM_POWERBROADCAST, 0x0218)         \
    X(WM_DEVICECHANGE, 0x0219)           \
    X(WM_MDICREATE, 0x0220)              \
    X(WM_MDIDESTROY, 0x0221)             \
    X(WM_MDIACTIVATE, 0x0222)            \
    X(WM_MDIRESTORE, 0x0223)             \
    X(WM_MDINEXT, 0x0224)                \
    X(WM_MDIMAXIMIZE, 0x0225)            \
    X(WM_MDITILE, 0x0226)                \
    X(WM_MDICASCADE, 0x0227)             \
    X(WM_MDIICONARRANGE, 0x0228)         \
    X(WM_MDIGETACTIVE, 0x0229)           \
    X(WM_MDISETMENU, 0x0230)             \
    X(WM_ENTERSIZEMOVE, 0x0231)          \
    X(WM_EXITSIZEMOVE, 0x0232)           \
    X(WM_DROPFILES, 0x0233)              \
    X(WM_MDIREFRESHMENU, 0x0234)         \
    X(WM_NCMOUSEHOVER, 0x02A0)           \
    X(WM_MOUSEHOVER, 0x02A1)             \
    X(WM_NCMOUSELEAVE, 0x02A2)           \
    X(WM_MOUSELEAVE, 0x02A3)             \
    X(WM_CUT, 0x0300)                    \
    X(WM_COPY, 0x0301)                   \
    X(WM_PASTE, 0x0302)                  \
    X(WM_CLEAR, 0x0303)                  \
    X(WM_UNDO, 0x0304)                   \
    X(WM_RENDERFORMAT, 0x0305)           \
    X(WM_RENDERALLFORMATS, 0x0306)       \
    X(WM_DESTROYCLIPBOARD, 0x0307)       \
    X(WM_DRAWCLIPBOARD, 0x0308)          \
    X(WM_PAINTCLIPBOARD, 0x0309)         \
    X(WM_VSCROLLCLIPBOARD, 0x030A)       \
    X(WM_SIZECLIPBOARD, 0x030B)          \
    X(WM_ASKCBFORMATNAME, 0x030C)        \
    X(WM_CHANGECBCHAIN, 0x030D)          \
    X(WM_HSCROLLCLIPBOARD, 0x030E)       \
    X(WM_QUERYNEWPALETTE, 0x030F)        \
    X(WM_PALETTEISCHANGING, 0x0310)      \
    X(WM_PALETTECHANGED, 0x0311)         \
    X(WM_HOTKEY, 0x0312)                 \
    X(WM_PRINT, 0x0317)                  \
    X(WM_PRINTCLIENT, 0x0318)            \
    X(WM_APPCOMMAND, 0x0319)             \
    X(WM_THEMECHANGED, 0x031A)           \
    X(WM_HANDHELDFIRST, 0x0358)          \
    X(WM_HANDHELDLAST, 0x035F)           \
    X(WM_AFXFIRST, 0x0360)               \
    X(WM_AFXLAST, 0x037F)                \
    X(WM_PENWINFIRST, 0x0380)            \
    X(WM_PENWINLAST, 0x038F)             \
    X(WM_USER, 0x0400)                   \
    X(WM_APP, 0x8000)

enum class eMsg : int32_t {
    ALL_MESSAGES = -1,
#define KELVARA_EMSG_MEMBER(name, value) name = value,
    KELVARA_EMSG_LIST(KELVARA_EMSG_MEMBER)
#undef KELVARA_EMSG_MEMBER
};

enum class eMsgWhen : int32_t {
    MSG_BEFORE = 1,
    MSG_AFTER = 2,
    MSG_BEFORE_AFTER = 3,
};

struct eMsgEntry {
    std::string_view Name;
    eMsg Value;
};

// Every member of eMsg, ALL_MESSAGES first, then the messages in the order
// above.
// clang-format off
inline constexpr auto eMsgTable = std::to_array<eMsgEntry>({
    {"ALL_MESSAGES", eMsg::ALL_MESSAGES},
#define KELVARA_EMSG_ENTRY(name, value) {#name, eMsg::name},
    KELVARA_EMSG_LIST(KELVARA_EMSG_ENTRY)
#undef KELVARA_EMSG_ENTRY
});
// clang-format on

// The first name of a message number (the message, not its range marker),
// or an empty view for a number eMsg does not name.
constexpr std::string_view MsgName(int32_t message) {
    for (const eMsgEntry& entry : eMsgTable) {
        if (static_cast<int32_t>(entry.Value) == message) {
            return entry.Name;
        }
    }
    return {};
}

#undef KELVARA_EMSG_LIST

}  // namespace kelvara
