#pragma once

// The window system's types and numbers, as the host defines them: handles,
// message parameters, WM_ messages, styles, hit-test and system-command
// codes, virtual keys. Values are the host's own, since controls compare
// and persist them.

#include <cstdint>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/Rect.h"

namespace kelvara {

// A window: a non-zero number, never reused while the process lives.
using HWND = int32_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;

struct SIZE {
    int32_t cx = 0;
    int32_t cy = 0;
};

// Packing as the host does: the low word first, each half 16 bits.
constexpr LPARAM MAKELPARAM(int32_t low, int32_t high) {
    return static_cast<LPARAM>(static_cast<int32_t>(static_cast<uint32_t>(low & 0xFFFF) |
                                                    (static_cast<uint32_t>(high & 0xFFFF) << 16)));
}
constexpr WPARAM MAKEWPARAM(int32_t low, int32_t high) {
    return static_cast<WPARAM>(static_cast<uint32_t>(low & 0xFFFF) |
                               (static_cast<uint32_t>(high & 0xFFFF) << 16));
}
constexpr uint16_t LOWORD(uintptr_t v) {
    return static_cast<uint16_t>(v & 0xFFFF);
}
constexpr uint16_t HIWORD(uintptr_t v) {
    return static_cast<uint16_t>((v >> 16) & 0xFFFF);
}
// Signed coordinates of a mouse message's lParam.
constexpr int32_t GET_X_LPARAM(LPARAM v) {
    return static_cast<int16_t>(LOWORD(static_cast<uintptr_t>(v)));
}
constexpr int32_t GET_Y_LPARAM(LPARAM v) {
    return static_cast<int16_t>(HIWORD(static_cast<uintptr_t>(v)));
}
constexpr int32_t GET_WHEEL_DELTA_WPARAM(WPARAM v) {
    return static_cast<int16_t>(HIWORD(v));
}

// --- Messages ---------------------------------------------------------------
inline constexpr uint32_t WM_NULL = 0x0000;
inline constexpr uint32_t WM_CREATE = 0x0001;
inline constexpr uint32_t WM_DESTROY = 0x0002;
inline constexpr uint32_t WM_MOVE = 0x0003;
inline constexpr uint32_t WM_SIZE = 0x0005;
inline constexpr uint32_t WM_ACTIVATE = 0x0006;
inline constexpr uint32_t WM_SETFOCUS = 0x0007;
inline constexpr uint32_t WM_KILLFOCUS = 0x0008;
inline constexpr uint32_t WM_ENABLE = 0x000A;
inline constexpr uint32_t WM_SETREDRAW = 0x000B;
inline constexpr uint32_t WM_SETTEXT = 0x000C;
inline constexpr uint32_t WM_GETTEXT = 0x000D;
inline constexpr uint32_t WM_GETTEXTLENGTH = 0x000E;
inline constexpr uint32_t WM_PAINT = 0x000F;
inline constexpr uint32_t WM_CLOSE = 0x0010;
inline constexpr uint32_t WM_QUIT = 0x0012;
inline constexpr uint32_t WM_ERASEBKGND = 0x0014;
inline constexpr uint32_t WM_SHOWWINDOW = 0x0018;
inline constexpr uint32_t WM_ACTIVATEAPP = 0x001C;
inline constexpr uint32_t WM_CANCELMODE = 0x001F;
inline constexpr uint32_t WM_SETCURSOR = 0x0020;
inline constexpr uint32_t WM_MOUSEACTIVATE = 0x0021;
inline constexpr uint32_t WM_GETMINMAXINFO = 0x0024;
inline constexpr uint32_t WM_WINDOWPOSCHANGING = 0x0046;
inline constexpr uint32_t WM_WINDOWPOSCHANGED = 0x0047;
inline constexpr uint32_t WM_NCDESTROY = 0x0082;
inline constexpr uint32_t WM_NCHITTEST = 0x0084;
inline constexpr uint32_t WM_NCACTIVATE = 0x0086;
inline constexpr uint32_t WM_NCMOUSEMOVE = 0x00A0;
inline constexpr uint32_t WM_NCLBUTTONDOWN = 0x00A1;
inline constexpr uint32_t WM_NCLBUTTONUP = 0x00A2;
inline constexpr uint32_t WM_NCLBUTTONDBLCLK = 0x00A3;
inline constexpr uint32_t WM_KEYDOWN = 0x0100;
inline constexpr uint32_t WM_KEYUP = 0x0101;
inline constexpr uint32_t WM_CHAR = 0x0102;
inline constexpr uint32_t WM_SYSKEYDOWN = 0x0104;
inline constexpr uint32_t WM_SYSKEYUP = 0x0105;
inline constexpr uint32_t WM_SYSCHAR = 0x0106;
inline constexpr uint32_t WM_COMMAND = 0x0111;
inline constexpr uint32_t WM_SYSCOMMAND = 0x0112;
inline constexpr uint32_t WM_TIMER = 0x0113;
inline constexpr uint32_t WM_HSCROLL = 0x0114;
inline constexpr uint32_t WM_VSCROLL = 0x0115;
inline constexpr uint32_t WM_MOUSEMOVE = 0x0200;
inline constexpr uint32_t WM_LBUTTONDOWN = 0x0201;
inline constexpr uint32_t WM_LBUTTONUP = 0x0202;
inline constexpr uint32_t WM_LBUTTONDBLCLK = 0x0203;
inline constexpr uint32_t WM_RBUTTONDOWN = 0x0204;
inline constexpr uint32_t WM_RBUTTONUP = 0x0205;
inline constexpr uint32_t WM_RBUTTONDBLCLK = 0x0206;
inline constexpr uint32_t WM_MBUTTONDOWN = 0x0207;
inline constexpr uint32_t WM_MBUTTONUP = 0x0208;
inline constexpr uint32_t WM_MBUTTONDBLCLK = 0x0209;
inline constexpr uint32_t WM_MOUSEWHEEL = 0x020A;
inline constexpr uint32_t WM_XBUTTONDOWN = 0x020B;
inline constexpr uint32_t WM_XBUTTONUP = 0x020C;
inline constexpr uint32_t WM_XBUTTONDBLCLK = 0x020D;
inline constexpr uint32_t WM_MOUSEHWHEEL = 0x020E;
inline constexpr uint32_t WM_CAPTURECHANGED = 0x0215;
inline constexpr uint32_t WM_ENTERSIZEMOVE = 0x0231;
inline constexpr uint32_t WM_EXITSIZEMOVE = 0x0232;
inline constexpr uint32_t WM_MOUSEHOVER = 0x02A1;
inline constexpr uint32_t WM_MOUSELEAVE = 0x02A3;
inline constexpr uint32_t WM_USER = 0x0400;

// Mouse message wParam flags.
inline constexpr uint32_t MK_LBUTTON = 0x0001;
inline constexpr uint32_t MK_RBUTTON = 0x0002;
inline constexpr uint32_t MK_SHIFT = 0x0004;
inline constexpr uint32_t MK_CONTROL = 0x0008;
inline constexpr uint32_t MK_MBUTTON = 0x0010;
inline constexpr uint32_t MK_XBUTTON1 = 0x0020;
inline constexpr uint32_t MK_XBUTTON2 = 0x0040;
inline constexpr uint16_t XBUTTON1 = 1;
inline constexpr uint16_t XBUTTON2 = 2;
inline constexpr int32_t WHEEL_DELTA = 120;

// --- Styles -----------------------------------------------------------------
inline constexpr uint32_t WS_OVERLAPPED = 0x00000000;
inline constexpr uint32_t WS_MAXIMIZEBOX = 0x00010000;
inline constexpr uint32_t WS_MINIMIZEBOX = 0x00020000;
inline constexpr uint32_t WS_THICKFRAME = 0x00040000;
inline constexpr uint32_t WS_SYSMENU = 0x00080000;
inline constexpr uint32_t WS_CLIPCHILDREN = 0x02000000;
inline constexpr uint32_t WS_CLIPSIBLINGS = 0x04000000;
inline constexpr uint32_t WS_DISABLED = 0x08000000;
inline constexpr uint32_t WS_VISIBLE = 0x10000000;
inline constexpr uint32_t WS_MINIMIZE = 0x20000000;
inline constexpr uint32_t WS_CHILD = 0x40000000;
inline constexpr uint32_t WS_POPUP = 0x80000000;
inline constexpr uint32_t WS_MAXIMIZE = 0x01000000;
inline constexpr uint32_t WS_BORDER = 0x00800000;
inline constexpr uint32_t WS_DLGFRAME = 0x00400000;
inline constexpr uint32_t WS_CAPTION = 0x00C00000;  // WS_BORDER | WS_DLGFRAME

inline constexpr uint32_t WS_EX_TOPMOST = 0x00000008;
inline constexpr uint32_t WS_EX_TRANSPARENT = 0x00000020;
inline constexpr uint32_t WS_EX_TOOLWINDOW = 0x00000080;
inline constexpr uint32_t WS_EX_APPWINDOW = 0x00040000;
inline constexpr uint32_t WS_EX_LAYERED = 0x00080000;
inline constexpr uint32_t WS_EX_NOACTIVATE = 0x08000000;

// Class styles: double clicks reach only windows that ask for them.
inline constexpr uint32_t CS_DBLCLKS = 0x0008;

// GetWindowLong / SetWindowLong indices.
inline constexpr int32_t GWL_EXSTYLE = -20;
inline constexpr int32_t GWL_STYLE = -16;
inline constexpr int32_t GWL_HWNDPARENT = -8;
inline constexpr int32_t GWL_ID = -12;
inline constexpr int32_t GWL_USERDATA = -21;

// ShowWindow commands.
inline constexpr int32_t SW_HIDE = 0;
inline constexpr int32_t SW_SHOWNORMAL = 1;
inline constexpr int32_t SW_SHOWMINIMIZED = 2;
inline constexpr int32_t SW_SHOWMAXIMIZED = 3;
inline constexpr int32_t SW_SHOWNOACTIVATE = 4;
inline constexpr int32_t SW_SHOW = 5;
inline constexpr int32_t SW_MINIMIZE = 6;
inline constexpr int32_t SW_SHOWNA = 8;
inline constexpr int32_t SW_RESTORE = 9;

// SetWindowPos.
inline constexpr HWND HWND_TOP = 0;
inline constexpr HWND HWND_BOTTOM = 1;
inline constexpr HWND HWND_TOPMOST = -1;
inline constexpr HWND HWND_NOTOPMOST = -2;
inline constexpr uint32_t SWP_NOSIZE = 0x0001;
inline constexpr uint32_t SWP_NOMOVE = 0x0002;
inline constexpr uint32_t SWP_NOZORDER = 0x0004;
inline constexpr uint32_t SWP_NOREDRAW = 0x0008;
inline constexpr uint32_t SWP_NOACTIVATE = 0x0010;
inline constexpr uint32_t SWP_FRAMECHANGED = 0x0020;
inline constexpr uint32_t SWP_SHOWWINDOW = 0x0040;
inline constexpr uint32_t SWP_HIDEWINDOW = 0x0080;

// WM_SIZE wParam.
inline constexpr WPARAM SIZE_RESTORED = 0;
inline constexpr WPARAM SIZE_MINIMIZED = 1;
inline constexpr WPARAM SIZE_MAXIMIZED = 2;

// WM_ACTIVATE wParam.
inline constexpr WPARAM WA_INACTIVE = 0;
inline constexpr WPARAM WA_ACTIVE = 1;
inline constexpr WPARAM WA_CLICKACTIVE = 2;

// Hit-test codes (WM_NCHITTEST, WM_NCLBUTTONDOWN).
inline constexpr int32_t HTERROR = -2;
inline constexpr int32_t HTTRANSPARENT = -1;
inline constexpr int32_t HTNOWHERE = 0;
inline constexpr int32_t HTCLIENT = 1;
inline constexpr int32_t HTCAPTION = 2;
inline constexpr int32_t HTSYSMENU = 3;
inline constexpr int32_t HTMINBUTTON = 8;
inline constexpr int32_t HTMAXBUTTON = 9;
inline constexpr int32_t HTLEFT = 10;
inline constexpr int32_t HTRIGHT = 11;
inline constexpr int32_t HTTOP = 12;
inline constexpr int32_t HTTOPLEFT = 13;
inline constexpr int32_t HTTOPRIGHT = 14;
inline constexpr int32_t HTBOTTOM = 15;
inline constexpr int32_t HTBOTTOMLEFT = 16;
inline constexpr int32_t HTBOTTOMRIGHT = 17;
inline constexpr int32_t HTBORDER = 18;
inline constexpr int32_t HTCLOSE = 20;

// WM_SYSCOMMAND.
inline constexpr WPARAM SC_SIZE = 61440;
inline constexpr WPARAM SC_MOVE = 61456;
inline constexpr WPARAM SC_MINIMIZE = 61472;
inline constexpr WPARAM SC_MAXIMIZE = 61488;
inline constexpr WPARAM SC_CLOSE = 61536;
inline constexpr WPARAM SC_RESTORE = 61728;

// TrackMouseEvent.
inline constexpr uint32_t TME_HOVER = 0x00000001;
inline constexpr uint32_t TME_LEAVE = 0x00000002;
inline constexpr uint32_t TME_CANCEL = 0x80000000;
inline constexpr uint32_t HOVER_DEFAULT = 0xFFFFFFFF;

// SystemParametersInfo actions.
inline constexpr uint32_t SPI_GETWORKAREA = 48;
inline constexpr uint32_t SPI_GETMOUSEHOVERTIME = 102;
inline constexpr uint32_t SPI_GETWHEELSCROLLLINES = 104;

// GetSysColor indices (a few; every index 0 to 30 has a colour).
inline constexpr int32_t COLOR_WINDOW = 5;
inline constexpr int32_t COLOR_WINDOWFRAME = 6;
inline constexpr int32_t COLOR_WINDOWTEXT = 8;
inline constexpr int32_t COLOR_HIGHLIGHT = 13;
inline constexpr int32_t COLOR_HIGHLIGHTTEXT = 14;
inline constexpr int32_t COLOR_BTNFACE = 15;
inline constexpr int32_t COLOR_BTNSHADOW = 16;
inline constexpr int32_t COLOR_GRAYTEXT = 17;
inline constexpr int32_t COLOR_BTNTEXT = 18;
inline constexpr int32_t COLOR_BTNHIGHLIGHT = 20;
inline constexpr int32_t COLOR_3DDKSHADOW = 21;
inline constexpr int32_t COLOR_INFOTEXT = 23;
inline constexpr int32_t COLOR_INFOBK = 24;
inline constexpr int32_t kSystemColorCount = 31;

// RedrawWindow.
inline constexpr uint32_t RDW_INVALIDATE = 0x0001;
inline constexpr uint32_t RDW_ERASE = 0x0004;
inline constexpr uint32_t RDW_VALIDATE = 0x0008;
inline constexpr uint32_t RDW_ALLCHILDREN = 0x0080;
inline constexpr uint32_t RDW_UPDATENOW = 0x0100;
inline constexpr uint32_t RDW_ERASENOW = 0x0200;
inline constexpr uint32_t RDW_FRAME = 0x0400;

// SetLayeredWindowAttributes.
inline constexpr uint32_t LWA_COLORKEY = 0x00000001;
inline constexpr uint32_t LWA_ALPHA = 0x00000002;

// PeekMessage.
inline constexpr uint32_t PM_NOREMOVE = 0x0000;
inline constexpr uint32_t PM_REMOVE = 0x0001;

// keybd_event.
inline constexpr uint32_t KEYEVENTF_EXTENDEDKEY = 0x0001;
inline constexpr uint32_t KEYEVENTF_KEYUP = 0x0002;

// --- Virtual keys -------------------------------------------------------------
inline constexpr int32_t VK_LBUTTON = 0x01;
inline constexpr int32_t VK_RBUTTON = 0x02;
inline constexpr int32_t VK_MBUTTON = 0x04;
inline constexpr int32_t VK_XBUTTON1 = 0x05;
inline constexpr int32_t VK_XBUTTON2 = 0x06;
inline constexpr int32_t VK_BACK = 0x08;
inline constexpr int32_t VK_TAB = 0x09;
inline constexpr int32_t VK_RETURN = 0x0D;
inline constexpr int32_t VK_SHIFT = 0x10;
inline constexpr int32_t VK_CONTROL = 0x11;
inline constexpr int32_t VK_MENU = 0x12;
inline constexpr int32_t VK_ESCAPE = 0x1B;
inline constexpr int32_t VK_SPACE = 0x20;
inline constexpr int32_t VK_PRIOR = 0x21;
inline constexpr int32_t VK_NEXT = 0x22;
inline constexpr int32_t VK_END = 0x23;
inline constexpr int32_t VK_HOME = 0x24;
inline constexpr int32_t VK_LEFT = 0x25;
inline constexpr int32_t VK_UP = 0x26;
inline constexpr int32_t VK_RIGHT = 0x27;
inline constexpr int32_t VK_DOWN = 0x28;
inline constexpr int32_t VK_INSERT = 0x2D;
inline constexpr int32_t VK_DELETE = 0x2E;
inline constexpr int32_t VK_F1 = 0x70;
inline constexpr int32_t VK_F2 = 0x71;
inline constexpr int32_t VK_F4 = 0x73;
inline constexpr int32_t VK_F12 = 0x7B;

// Held keys, by the host's shift-state bits (a key event's Shift).
namespace ShiftState {
inline constexpr int32_t Shift = 1;
inline constexpr int32_t Ctrl = 2;
inline constexpr int32_t Alt = 4;
}  // namespace ShiftState

struct MSG {
    HWND hwnd = 0;
    uint32_t message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    uint32_t time = 0;
    POINT pt;
};

// WM_GETMINMAXINFO's lParam points to one; a window may change it.
struct MINMAXINFO {
    POINT ptReserved;
    POINT ptMaxSize;
    POINT ptMaxPosition;
    POINT ptMinTrackSize;
    POINT ptMaxTrackSize;
};

// WM_WINDOWPOSCHANGING / WM_WINDOWPOSCHANGED's lParam points to one.
struct WINDOWPOS {
    HWND hwnd = 0;
    HWND hwndInsertAfter = 0;
    int32_t x = 0;
    int32_t y = 0;
    int32_t cx = 0;
    int32_t cy = 0;
    uint32_t flags = 0;
};

struct TRACKMOUSEEVENT {
    uint32_t cbSize = 16;
    uint32_t dwFlags = 0;
    HWND hwndTrack = 0;
    uint32_t dwHoverTime = HOVER_DEFAULT;
};

struct PAINTSTRUCT {
    Canvas* hdc = nullptr;
    bool fErase = false;
    RECT rcPaint;
};

// --- The edit control ---------------------------------------------------------
// Styles (the low bits of GWL_STYLE).
inline constexpr uint32_t ES_LEFT = 0x0000;
inline constexpr uint32_t ES_CENTER = 0x0001;
inline constexpr uint32_t ES_RIGHT = 0x0002;
inline constexpr uint32_t ES_MULTILINE = 0x0004;
inline constexpr uint32_t ES_UPPERCASE = 0x0008;
inline constexpr uint32_t ES_LOWERCASE = 0x0010;
inline constexpr uint32_t ES_PASSWORD = 0x0020;
inline constexpr uint32_t ES_AUTOVSCROLL = 0x0040;
inline constexpr uint32_t ES_AUTOHSCROLL = 0x0080;
inline constexpr uint32_t ES_NOHIDESEL = 0x0100;
inline constexpr uint32_t ES_READONLY = 0x0800;
inline constexpr uint32_t ES_WANTRETURN = 0x1000;
inline constexpr uint32_t ES_NUMBER = 0x2000;

// Messages.
inline constexpr uint32_t EM_GETSEL = 0x00B0;
inline constexpr uint32_t EM_SETSEL = 0x00B1;
inline constexpr uint32_t EM_GETRECT = 0x00B2;
inline constexpr uint32_t EM_LINESCROLL = 0x00B6;
inline constexpr uint32_t EM_SCROLLCARET = 0x00B7;
inline constexpr uint32_t EM_GETMODIFY = 0x00B8;
inline constexpr uint32_t EM_SETMODIFY = 0x00B9;
inline constexpr uint32_t EM_GETLINECOUNT = 0x00BA;
inline constexpr uint32_t EM_LINEINDEX = 0x00BB;
inline constexpr uint32_t EM_LINELENGTH = 0x00C1;
inline constexpr uint32_t EM_REPLACESEL = 0x00C2;
inline constexpr uint32_t EM_GETLINE = 0x00C4;
inline constexpr uint32_t EM_LIMITTEXT = 0x00C5;
inline constexpr uint32_t EM_SETLIMITTEXT = 0x00C5;
inline constexpr uint32_t EM_CANUNDO = 0x00C6;
inline constexpr uint32_t EM_UNDO = 0x00C7;
inline constexpr uint32_t EM_LINEFROMCHAR = 0x00C9;
inline constexpr uint32_t EM_SETPASSWORDCHAR = 0x00CC;
inline constexpr uint32_t EM_EMPTYUNDOBUFFER = 0x00CD;
inline constexpr uint32_t EM_GETFIRSTVISIBLELINE = 0x00CE;
inline constexpr uint32_t EM_SETREADONLY = 0x00CF;
inline constexpr uint32_t EM_GETPASSWORDCHAR = 0x00D2;
inline constexpr uint32_t EM_SETMARGINS = 0x00D3;
inline constexpr uint32_t EM_GETMARGINS = 0x00D4;
inline constexpr uint32_t EM_GETLIMITTEXT = 0x00D5;
inline constexpr uint32_t EM_POSFROMCHAR = 0x00D6;
inline constexpr uint32_t EM_CHARFROMPOS = 0x00D7;
inline constexpr uint32_t WM_CUT = 0x0300;
inline constexpr uint32_t WM_COPY = 0x0301;
inline constexpr uint32_t WM_PASTE = 0x0302;
inline constexpr uint32_t WM_CLEAR = 0x0303;
inline constexpr uint32_t WM_UNDO = 0x0304;

// EM_SETMARGINS wParam.
inline constexpr WPARAM EC_LEFTMARGIN = 0x0001;
inline constexpr WPARAM EC_RIGHTMARGIN = 0x0002;
inline constexpr WPARAM EC_USEFONTINFO = 0xFFFF;

// Notifications to the parent: WM_COMMAND, HIWORD(wParam) the code,
// LOWORD(wParam) the control's GWL_ID, lParam the control's window.
inline constexpr uint16_t EN_SETFOCUS = 0x0100;
inline constexpr uint16_t EN_KILLFOCUS = 0x0200;
inline constexpr uint16_t EN_CHANGE = 0x0300;
inline constexpr uint16_t EN_UPDATE = 0x0400;
inline constexpr uint16_t EN_MAXTEXT = 0x0501;
inline constexpr uint16_t EN_HSCROLL = 0x0601;
inline constexpr uint16_t EN_VSCROLL = 0x0602;

}  // namespace kelvara
