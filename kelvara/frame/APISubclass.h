#pragma once

// Putting a procedure of ours in front of a window's own: the window's
// messages reach us before its procedure, and we may answer one ourselves
// (Handled) or let it go on.
//
//   window message → hooks, newest first → APISubclass::SubclassProc
//       Handled → our result is the message's result
//       else    → older hooks → the window's procedure
//
// Two forms, both on the window core's hooks (AddWindowHook), so any number
// of them can sit on one window and each comes off exactly, in any order,
// also after the window has gone:
//   - APISubclass: one window, every message, through a virtual function
//     whose default raises an event.
//   - WindowSubclass: for a class that implements ISubclass; it picks which
//     messages it wants and whether before the window's procedure, after it
//     (seeing and able to change its answer), or both.

#include <cstdint>
#include <memory>
#include <set>

#include "kelvara/base/Event.h"
#include "kelvara/frame/eMsg.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace detail {
struct SubclassLink;
}

class APISubclass {
public:
    APISubclass();
    virtual ~APISubclass();
    APISubclass(const APISubclass&) = delete;
    APISubclass& operator=(const APISubclass&) = delete;

    // Puts the hook on the window; a hook already held comes off first. No
    // window, no hook: IsSubclassed stays False.
    void Hook(HWND xHWND);
    // Takes the hook off, when one is held. Safe to repeat.
    void UnHook();
    bool IsSubclassed() const;
    // The window hooked, 0 for none.
    HWND hWnd() const;

    // Each message of the window, before its procedure. With Handled set
    // the result is the message's result and the procedure does not run.
    // The default raises SubclassProcEvent.
    virtual LRESULT SubclassProc(HWND xHWND, uint32_t wMsg, WPARAM wParam, LPARAM lParam,
                                 bool& Handled);

    // The event the default SubclassProc raises. A class cannot hold an
    // event and a function of one name, so the event carries the suffix.
    // Besides the message it gives the result by reference: a handler that
    // sets Handled answers with it (0 when left alone).
    Event<HWND, uint32_t, WPARAM, LPARAM, bool&, LRESULT&> SubclassProcEvent;

private:
    std::shared_ptr<detail::SubclassLink> link;
};

// What a class with a hook of its own implements (grid, list box, text
// box, scroll bar, mouse tracker). bBefore tells the moment: True before
// the window's procedure, where setting bHandled answers the message with
// lReturn; False after it, where lReturn holds the procedure's answer and
// may be changed.
class ISubclass {
public:
    virtual ~ISubclass() = default;
    virtual void Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND hWnd,
                                    uint32_t uMsg, WPARAM wParam, LPARAM lParam) = 0;
};

// Hangs an ISubclass on a window for a chosen set of messages.
class WindowSubclass {
public:
    WindowSubclass();
    ~WindowSubclass();
    WindowSubclass(const WindowSubclass&) = delete;
    WindowSubclass& operator=(const WindowSubclass&) = delete;

    // Starts delivering the chosen messages of the window to the owner; a
    // window attached before is let go first. False (nothing attached) for
    // no window. The owner must outlive the attachment or Detach it.
    bool Attach(HWND hWnd, ISubclass& owner);
    // Lets the window go; safe to repeat.
    void Detach();
    bool IsAttached() const;
    HWND hWnd() const;

    // Which messages reach the owner, and when. ALL_MESSAGES stands for
    // every message. The choice may be made before or after Attach and
    // survives a Detach.
    void AddMsg(eMsg uMsg, eMsgWhen When);
    void DelMsg(eMsg uMsg, eMsgWhen When);
    // Whether the owner sees the message at that moment (MSG_BEFORE or
    // MSG_AFTER).
    bool Wants(uint32_t uMsg, eMsgWhen When) const;

private:
    struct Choice {
        std::set<int32_t> before;
        std::set<int32_t> after;
    };
    std::shared_ptr<Choice> choice;
    std::shared_ptr<detail::SubclassLink> link;
    // The owner as the hook sees it; cleared by Detach, also while a
    // message is on its way.
    std::shared_ptr<ISubclass*> ownerSlot;
};

}  // namespace kelvara
