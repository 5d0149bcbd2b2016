#include "kelvara/frame/APISubclass.h"

#include <functional>
#include <utility>

namespace kelvara {

// What a hook on a window shares with the object that put it there. The
// hook holds it, so it outlives the object when a message is still on its
// way while the object goes; the object clears `live` to have the hook do
// nothing from then on.
struct detail::SubclassLink {
    const WindowCore* core = nullptr;  // the core the window belongs to
    HWND hwnd = 0;
    int32_t hookId = 0;
    bool live = true;
    // Expires when the hook itself is gone: with its window, or with the
    // whole window core. Then there is nothing to remove, and the number
    // may be another window's hook by now. (A core made anew at the same
    // address is told apart by this too.)
    std::weak_ptr<void> hookAlive;
};

namespace {

using detail::SubclassLink;
using HookBody = std::function<LRESULT(HWND, uint32_t, WPARAM, LPARAM, bool&)>;

std::shared_ptr<SubclassLink> Install(HWND hwnd, HookBody body) {
    if (!IsWindow(hwnd)) {
        return nullptr;
    }
    auto link = std::make_shared<SubclassLink>();
    auto token = std::make_shared<char>();
    link->core = &WindowCore::Current();
    link->hwnd = hwnd;
    link->hookAlive = token;
    link->hookId =
        AddWindowHook(hwnd,
                      [link, token, body = std::move(body)](HWND h, uint32_t m, WPARAM w, LPARAM l,
                                                            bool& handled) -> LRESULT {
                          if (!link->live) {
                              return 0;
                          }
                          return body(h, m, w, l, handled);
                      });
    if (link->hookId == 0) {
        return nullptr;
    }
    return link;
}

void Remove(std::shared_ptr<SubclassLink>& link) {
    if (!link) {
        return;
    }
    link->live = false;
    if (!link->hookAlive.expired() && link->core == &WindowCore::Current()) {
        RemoveWindowHook(link->hwnd, link->hookId);
    }
    link.reset();
}

}  // namespace

// --- APISubclass ---------------------------------------------------------------

APISubclass::APISubclass() = default;

APISubclass::~APISubclass() {
    UnHook();
}

void APISubclass::Hook(HWND xHWND) {
    UnHook();
    link = Install(xHWND, [this](HWND h, uint32_t m, WPARAM w, LPARAM l, bool& handled) {
        // Nothing of this object is touched after the call: a handler may
        // end it.
        return SubclassProc(h, m, w, l, handled);
    });
}

void APISubclass::UnHook() {
    Remove(link);
}

bool APISubclass::IsSubclassed() const {
    return link != nullptr;
}

HWND APISubclass::hWnd() const {
    return link ? link->hwnd : 0;
}

LRESULT APISubclass::SubclassProc(HWND xHWND, uint32_t wMsg, WPARAM wParam, LPARAM lParam,
                                  bool& Handled) {
    LRESULT result = 0;
    SubclassProcEvent.Raise(xHWND, wMsg, wParam, lParam, Handled, result);
    return Handled ? result : 0;
}

// --- WindowSubclass ------------------------------------------------------------

WindowSubclass::WindowSubclass() : choice(std::make_shared<Choice>()) {}

WindowSubclass::~WindowSubclass() {
    Detach();
}

bool WindowSubclass::Attach(HWND hWnd, ISubclass& owner) {
    Detach();
    // The hook reaches the owner through the link, which Detach clears, and
    // reads the choice as it stands at each message.
    auto slot = std::make_shared<ISubclass*>(&owner);
    link = Install(hWnd,
                   [ownerSlot = slot, choice = choice](HWND h, uint32_t m, WPARAM w, LPARAM l,
                                                       bool& handled) -> LRESULT {
                       const auto wants = [&](const std::set<int32_t>& set) {
                           return set.contains(static_cast<int32_t>(m)) ||
                                  set.contains(static_cast<int32_t>(eMsg::ALL_MESSAGES));
                       };
                       if (*ownerSlot != nullptr && wants(choice->before)) {
                           bool answered = false;
                           LRESULT result = 0;
                           (*ownerSlot)->Magic_SubclassProc(true, answered, result, h, m, w, l);
                           if (answered) {
                               handled = true;
                               return result;
                           }
                       }
                       if (*ownerSlot != nullptr && wants(choice->after)) {
                           LRESULT result = CallNextHook(h, m, w, l);
                           if (*ownerSlot != nullptr) {
                               bool ignored = false;
                               (*ownerSlot)->Magic_SubclassProc(false, ignored, result, h, m, w, l);
                           }
                           handled = true;
                           return result;
                       }
                       return 0;
                   });
    if (!link) {
        return false;
    }
    ownerSlot = std::move(slot);
    return true;
}

void WindowSubclass::Detach() {
    if (ownerSlot) {
        *ownerSlot = nullptr;
        ownerSlot.reset();
    }
    Remove(link);
}

bool WindowSubclass::IsAttached() const {
    return link != nullptr;
}

HWND WindowSubclass::hWnd() const {
    return link ? link->hwnd : 0;
}

void WindowSubclass::AddMsg(eMsg uMsg, eMsgWhen When) {
    const auto when = static_cast<int32_t>(When);
    if ((when & static_cast<int32_t>(eMsgWhen::MSG_BEFORE)) != 0) {
        choice->before.insert(static_cast<int32_t>(uMsg));
    }
    if ((when & static_cast<int32_t>(eMsgWhen::MSG_AFTER)) != 0) {
        choice->after.insert(static_cast<int32_t>(uMsg));
    }
}

void WindowSubclass::DelMsg(eMsg uMsg, eMsgWhen When) {
    const auto when = static_cast<int32_t>(When);
    if ((when & static_cast<int32_t>(eMsgWhen::MSG_BEFORE)) != 0) {
        choice->before.erase(static_cast<int32_t>(uMsg));
    }
    if ((when & static_cast<int32_t>(eMsgWhen::MSG_AFTER)) != 0) {
        choice->after.erase(static_cast<int32_t>(uMsg));
    }
}

bool WindowSubclass::Wants(uint32_t uMsg, eMsgWhen When) const {
    const auto& set = When == eMsgWhen::MSG_AFTER ? choice->after : choice->before;
    return set.contains(static_cast<int32_t>(uMsg)) ||
           set.contains(static_cast<int32_t>(eMsg::ALL_MESSAGES));
}

}  // namespace kelvara
