#pragma once

// APIMouseEvents: the mouse and focus notices a control's hover look rests
// on, which the host's own control events do not give: the mouse coming in
// and going out, wheels, scroll bars, the side buttons, focus.
//
//   WM_MOUSEMOVE → (first move: ask for hover and leave notices)
//                → MouseMove → (an entry: MouseIn, MouseInParam)
//   WM_MOUSELEAVE, WM_CANCELMODE → MouseOut; the next move is an entry
//
// It watches the window from in front of its procedure and never answers a
// message itself, so the window still gets every message it watches.

#include <cstdint>

#include "kelvara/base/Event.h"
#include "kelvara/frame/APISubclass.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

class APIMouseEvents final : public ISubclass {
public:
    APIMouseEvents();
    ~APIMouseEvents() override;
    APIMouseEvents(const APIMouseEvents&) = delete;
    APIMouseEvents& operator=(const APIMouseEvents&) = delete;

    // Starts watching the window. Only the first call counts: later ones,
    // with any window, change nothing.
    void Attach(HWND hWndEx);
    // Stops watching; the next Attach starts again.
    void Detach();
    // The window watched, 0 for none.
    HWND hWnd() const { return hook.hWnd(); }
    // A leave notice has been asked for since the last entry.
    bool Tracking() const { return tracking; }
    // The next move is an entry.
    bool FirstMove() const { return firstMove; }

    void Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND hWnd,
                            uint32_t uMsg, WPARAM wParam, LPARAM lParam) override;

    // Events, in the order of their numbers. Button and Shift are the
    // host's mouse-event bits (Button: 1 left, 2 right, 4 middle; Shift:
    // 1 Shift, 2 Ctrl); X is the low word of lParam, unsigned, and Y is
    // lParam ÷ 65536 truncated, so a point above the window reads as the
    // host's arithmetic gives it.
    Event<> EnterFocus;
    Event<> ExitFocus;
    Event<> MouseOut;
    Event<> MouseIn;
    Event<WPARAM, LPARAM> MouseInParam;
    Event<WPARAM, LPARAM> MouseWheel;
    Event<WPARAM, LPARAM> MouseVScrollEx;
    Event<WPARAM, LPARAM> MouseHScrollEx;
    Event<WPARAM, LPARAM, int16_t&, int16_t&, int32_t&, int32_t&> MouseMove;
    Event<int16_t&, int32_t&, int32_t&> MouseBackButtonClick;
    Event<int16_t&, int32_t&, int32_t&> MouseForwardButtonClick;

    // A mouse message's parameters as the events give them.
    struct Decoded {
        int16_t Button = 0;
        int16_t Shift = 0;
        int32_t X = 0;
        int32_t Y = 0;
        friend bool operator==(const Decoded&, const Decoded&) = default;
    };
    static Decoded Decode(WPARAM wParam, LPARAM lParam);

private:
    void OnMouseMove(HWND hWnd, WPARAM wParam, LPARAM lParam);

    WindowSubclass hook;
    bool tracking = false;
    bool firstMove = false;
    bool attached = false;
    // The host's hover time, read on first need.
    uint32_t hoverTime = 0;
};

}  // namespace kelvara
