#include "kelvara/frame/APIMouseEvents.h"

namespace kelvara {

namespace {

// TrackMouseEvent's record is 16 bytes in the host's layout.
constexpr uint32_t kTrackRecordSize = 16;

}  // namespace

APIMouseEvents::APIMouseEvents() {
    for (const eMsg m :
         {eMsg::WM_SETFOCUS, eMsg::WM_KILLFOCUS, eMsg::WM_CANCELMODE, eMsg::WM_MOUSELEAVE,
          eMsg::WM_HSCROLL, eMsg::WM_VSCROLL, eMsg::WM_MOUSEMOVE, eMsg::WM_MOUSEWHEEL,
          eMsg::WM_MOUSEHWHEEL, eMsg::WM_XBUTTONDOWN}) {
        hook.AddMsg(m, eMsgWhen::MSG_BEFORE);
    }
}

APIMouseEvents::~APIMouseEvents() {
    Detach();
}

void APIMouseEvents::Attach(HWND hWndEx) {
    if (attached) {
        return;
    }
    // Deliberate: a first call on a window that cannot be hooked still
    // counts, so later calls do nothing until Detach.
    attached = true;
    firstMove = true;
    hook.Attach(hWndEx, *this);
}

void APIMouseEvents::Detach() {
    tracking = false;
    firstMove = false;
    attached = false;
    hook.Detach();
}

APIMouseEvents::Decoded APIMouseEvents::Decode(WPARAM wParam, LPARAM lParam) {
    Decoded d;
    if ((wParam & MK_LBUTTON) != 0) {
        d.Button |= 1;
    }
    if ((wParam & MK_MBUTTON) != 0) {
        d.Button |= 4;
    }
    if ((wParam & MK_RBUTTON) != 0) {
        d.Button |= 2;
    }
    if ((wParam & MK_CONTROL) != 0) {
        d.Shift |= 2;
    }
    if ((wParam & MK_SHIFT) != 0) {
        d.Shift |= 1;
    }
    // Deliberate: the host's arithmetic on a 32-bit lParam. X keeps the low
    // word unsigned (a point left of the window reads near 65535) and Y is
    // a division truncated towards zero, not a signed high word.
    const auto packed = static_cast<int32_t>(lParam);
    d.X = packed & 0xFFFF;
    d.Y = packed / 65536;
    return d;
}

void APIMouseEvents::Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND hWnd,
                                        uint32_t uMsg, WPARAM wParam, LPARAM lParam) {
    (void)bBefore;
    (void)bHandled;
    (void)lReturn;
    switch (uMsg) {
        case WM_SETFOCUS:
            EnterFocus.Raise();
            break;
        case WM_KILLFOCUS:
            ExitFocus.Raise();
            break;
        case WM_CANCELMODE:
        case WM_MOUSELEAVE:
            // The flags first, so a handler finds the tracker ready for the
            // next entry.
            tracking = false;
            firstMove = true;
            MouseOut.Raise();
            break;
        case WM_HSCROLL:
            MouseHScrollEx.Raise(wParam, lParam);
            break;
        case WM_VSCROLL:
            MouseVScrollEx.Raise(wParam, lParam);
            break;
        case WM_MOUSEMOVE:
            OnMouseMove(hWnd, wParam, lParam);
            break;
        case WM_MOUSEWHEEL:
        case WM_MOUSEHWHEEL:
            MouseWheel.Raise(wParam, lParam);
            break;
        case WM_XBUTTONDOWN: {
            Decoded d = Decode(wParam, lParam);
            // Deliberate: the held-button bits decide, so a press with the
            // other side button held raises both.
            const bool back = (wParam & MK_XBUTTON1) != 0;
            const bool forward = (wParam & MK_XBUTTON2) != 0;
            if (back) {
                MouseBackButtonClick.Raise(d.Shift, d.X, d.Y);
            }
            if (forward) {
                MouseForwardButtonClick.Raise(d.Shift, d.X, d.Y);
            }
            break;
        }
        default:
            break;
    }
}

void APIMouseEvents::OnMouseMove(HWND hWnd, WPARAM wParam, LPARAM lParam) {
    if (!tracking) {
        tracking = true;
        if (hoverTime == 0 && !SystemParametersInfo(SPI_GETMOUSEHOVERTIME, 0, &hoverTime)) {
            hoverTime = HOVER_DEFAULT;
        }
        TRACKMOUSEEVENT track;
        track.cbSize = kTrackRecordSize;
        track.dwFlags = TME_HOVER | TME_LEAVE;
        track.hwndTrack = hWnd;
        track.dwHoverTime = hoverTime;
        TrackMouseEvent(track);
    }
    Decoded d = Decode(wParam, lParam);
    // Whether this move is an entry is settled before any handler runs.
    const bool entry = firstMove;
    firstMove = false;
    MouseMove.Raise(wParam, lParam, d.Button, d.Shift, d.X, d.Y);
    if (entry) {
        MouseIn.Raise();
        MouseInParam.Raise(wParam, lParam);
    }
}

}  // namespace kelvara
