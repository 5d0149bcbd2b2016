#include "kelvara/host/WindowCore.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "kelvara/host/detail/CoreState.h"

namespace kelvara {

using namespace detail;

namespace {

class NullBackend final : public Backend {
public:
    uint32_t TickCount() const override {
        using namespace std::chrono;
        return static_cast<uint32_t>(
            duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
    }
    RECT ScreenRect() const override { return RECT{0, 0, 1366, 768}; }
    RECT WorkArea() const override { return RECT{0, 0, 1366, 728}; }
    bool WaitForInput() override { return false; }
};

WindowCore* current = nullptr;

}  // namespace

// --- The core ----------------------------------------------------------------

WindowCore::WindowCore(Backend& backend) : state(std::make_unique<State>(backend)) {
    state->previous = current;
    state->mouseTrack.hoverTime = kDefaultHoverTime;
    current = this;
}

WindowCore::~WindowCore() {
    if (current == this) {
        current = state->previous;
    }
}

Backend& WindowCore::GetBackend() {
    return state->backend;
}

WindowCore& WindowCore::Current() {
    if (current == nullptr) {
        static NullBackend machine;
        static WindowCore fallback(machine);
        current = &fallback;
    }
    return *current;
}

void WindowCore::InjectMouseMove(int32_t x, int32_t y) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Move;
    in->pt = POINT{x, y};
    state->input.push_back(std::move(in));
}

void WindowCore::InjectMouseButton(MouseButton button, bool down, int32_t x, int32_t y) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Button;
    in->button = button;
    in->down = down;
    in->pt = POINT{x, y};
    state->input.push_back(std::move(in));
}

void WindowCore::InjectWheel(int32_t delta, bool horizontal, int32_t x, int32_t y) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Wheel;
    in->delta = delta;
    in->horizontal = horizontal;
    in->pt = POINT{x, y};
    state->input.push_back(std::move(in));
}

void WindowCore::InjectKey(int32_t vk, bool down) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Key;
    in->vk = vk & 0xFF;
    in->down = down;
    state->input.push_back(std::move(in));
}

void WindowCore::InjectTypedKey(int32_t vk, char32_t typed) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Key;
    in->vk = vk & 0xFF;
    in->down = true;
    in->typed = typed;
    state->input.push_back(std::move(in));
}

void WindowCore::InjectChar(char32_t c) {
    auto in = std::make_unique<PendingInput>();
    in->kind = PendingInput::Kind::Char;
    in->c = c;
    state->input.push_back(std::move(in));
}

bool WindowCore::HasPendingInput() const {
    return !state->input.empty();
}

void WindowCore::ClockMoved() {
    DoEvents();
}

std::optional<uint32_t> WindowCore::NextTimerDue() const {
    std::optional<uint32_t> next;
    const uint32_t now = state->backend.TickCount();
    const auto consider = [&](uint32_t due) {
        if (!next || static_cast<int32_t>(due - now) < static_cast<int32_t>(*next - now)) {
            next = due;
        }
    };
    for (const auto& t : state->timers) {
        consider(t->due);
    }
    if (state->mouseTrack.hwnd != 0 && (state->mouseTrack.flags & TME_HOVER) != 0) {
        consider(state->mouseTrack.since + state->mouseTrack.hoverTime);
    }
    return next;
}

PixelBuffer* WindowCore::Surface(HWND hwnd) {
    auto it = state->windows.find(hwnd);
    return it == state->windows.end() ? nullptr : &it->second->surface;
}

std::vector<HWND> WindowCore::TopLevelWindows() const {
    return state->topLevels;
}

// --- Delivery ----------------------------------------------------------------

LRESULT WindowApi::Deliver(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    const Window* w = Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    // A copy: a hook or procedure may change the hooks, or end the window.
    WindowCore::Delivery d;
    d.hwnd = hwnd;
    d.hooks = w->hooks;
    d.next = d.hooks.size();
    return RunHooks(d, msg, wParam, lParam);
}

// Runs the delivery's hooks from where it stands, newest first, then the
// window procedure.
LRESULT WindowApi::RunHooks(WindowCore::Delivery& d, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    const HWND hwnd = d.hwnd;
    auto& deliveries = Core().deliveries;
    while (d.next > 0 && !d.answered) {
        const auto& [id, hook] = d.hooks[--d.next];
        const Window* w = Find(hwnd);
        if (w == nullptr) {
            return 0;
        }
        const bool present = std::any_of(w->hooks.begin(), w->hooks.end(),
                                         [id = id](const auto& h) { return h.first == id; });
        if (!present) {
            continue;  // removed since the message set out
        }
        bool handled = false;
        // Popped however the hook ends: a modal loop inside it may throw
        // when its script runs out.
        struct Running {
            std::vector<WindowCore::Delivery*>& stack;
            ~Running() { stack.pop_back(); }
        } running{deliveries};
        deliveries.push_back(&d);
        const LRESULT result = hook(hwnd, msg, wParam, lParam, handled);
        if (handled) {
            d.answered = true;
            d.result = result;
            return result;
        }
    }
    if (d.answered) {
        return d.result;
    }
    const Window* w = Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    const WNDPROC proc = w->proc;
    d.result = proc ? proc(hwnd, msg, wParam, lParam) : DefWindowProc(hwnd, msg, wParam, lParam);
    d.answered = true;
    return d.result;
}

LRESULT WindowApi::ContinueDelivery(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    auto& deliveries = Core().deliveries;
    if (deliveries.empty() || deliveries.back()->hwnd != hwnd) {
        return Deliver(hwnd, msg, wParam, lParam);
    }
    return RunHooks(*deliveries.back(), msg, wParam, lParam);
}

void WindowApi::Changed(HWND hwnd) {
    const HWND top = GetAncestorTop(hwnd);
    if (top != 0) {
        // A child that moved, appeared or changed shape shows anew where it
        // is now (where it was is painted again by its parent). A top-level
        // window's picture does not change by moving.
        if (const Window* w = Find(hwnd); w != nullptr && w->IsChild()) {
            Dirty(hwnd, RECT{0, 0, w->Width(), w->Height()});
        }
        Core().backend.TopLevelChanged(top);
    }
}

void WindowApi::Dirty(HWND hwnd, const RECT& area) {
    RECT r = area;
    const Window* w = Find(hwnd);
    for (; w != nullptr; w = w->IsChild() ? Find(w->parent) : nullptr) {
        // What a hidden window draws shows nowhere; showing it tells again.
        if ((w->style & WS_VISIBLE) == 0) {
            return;
        }
        r = Intersect(r, RECT{0, 0, w->Width(), w->Height()});
        if (r.IsEmpty()) {
            return;
        }
        if (!w->IsChild()) {
            Core().backend.TopLevelDirty(w->hwnd, r);
            return;
        }
        r = RECT{r.Left + w->rect.Left, r.Top + w->rect.Top, r.Right + w->rect.Left,
                 r.Bottom + w->rect.Top};
    }
}

// Asks the window under the mouse, and through it its parents, which
// pointer to show; unanswered, the default one shows.
void WindowApi::AskCursor(HWND target) {
    const LRESULT answered = SendMessage(target, WM_SETCURSOR, static_cast<WPARAM>(target),
                                         MAKELPARAM(HTCLIENT, static_cast<int32_t>(WM_MOUSEMOVE)));
    if (answered == 0) {
        Core().backend.SetCursorShape(0, nullptr);
    }
}

// A new surface of the new size keeps what the old one showed where they
// overlap; the rest starts white.
void WindowApi::Resize(Window& w, int32_t width, int32_t height) {
    PixelBuffer fresh;
    if (width > 0 && height > 0 && fresh.Allocate(width, height, RowOrder::TopDown)) {
        Canvas(fresh).FillRect(RECT{0, 0, width, height}, kNewSurface);
        if (!w.surface.Empty()) {
            const int32_t cw = std::min(width, w.surface.Width());
            const int32_t ch = std::min(height, w.surface.Height());
            for (int32_t y = 0; y < ch; ++y) {
                std::memcpy(fresh.Row(y), w.surface.Row(y), static_cast<size_t>(cw) * 4);
            }
        }
    }
    w.surface.Swap(fresh);
}

std::vector<HWND> WindowApi::OrderedTopLevels() {
    std::vector<HWND> order = Core().topLevels;
    std::stable_partition(order.begin(), order.end(), [](HWND h) {
        const Window* w = Find(h);
        return w != nullptr && (w->exStyle & WS_EX_TOPMOST) == 0;
    });
    return order;
}

void WindowApi::BringToTop(HWND hwnd) {
    Window* w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    std::vector<HWND>& list = w->IsChild() ? Find(w->parent)->children : Core().topLevels;
    list.erase(std::remove(list.begin(), list.end(), hwnd), list.end());
    list.push_back(hwnd);
    if (!w->IsChild()) {
        // Owned windows stay above their owner.
        const std::vector<HWND> order = Core().topLevels;
        for (HWND other : order) {
            const Window* o = Find(other);
            if (o != nullptr && o->owner == hwnd) {
                BringToTop(other);
            }
        }
    }
}

void WindowApi::ToBottom(HWND hwnd) {
    Window* w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    std::vector<HWND>& list = w->IsChild() ? Find(w->parent)->children : Core().topLevels;
    list.erase(std::remove(list.begin(), list.end(), hwnd), list.end());
    list.insert(list.begin(), hwnd);
}

bool WindowApi::Contains(const Window& w, POINT client) {
    if (client.X < 0 || client.Y < 0 || client.X >= w.Width() || client.Y >= w.Height()) {
        return false;
    }
    return !w.region || w.region->PtInRegion(client.X, client.Y);
}

HWND WindowApi::ChildFromPoint(HWND hwnd, POINT client) {
    const Window* w = Find(hwnd);
    for (auto it = w->children.rbegin(); it != w->children.rend(); ++it) {
        const Window* c = Find(*it);
        if (c == nullptr || (c->style & WS_VISIBLE) == 0 || (c->style & WS_DISABLED) != 0 ||
            (c->exStyle & WS_EX_TRANSPARENT) != 0) {
            continue;
        }
        const POINT inner{client.X - c->rect.Left, client.Y - c->rect.Top};
        if (Contains(*c, inner)) {
            return ChildFromPoint(*it, inner);
        }
    }
    return hwnd;
}

bool WindowApi::InSubtree(HWND root, HWND hwnd) {
    for (const Window* w = Find(hwnd); w != nullptr; w = w->IsChild() ? Find(w->parent) : nullptr) {
        if (w->hwnd == root) {
            return true;
        }
    }
    return false;
}

uint32_t WindowApi::MouseFlags() {
    const uint8_t* keys = Core().keys;
    uint32_t flags = 0;
    flags |= (keys[VK_LBUTTON] & 0x80) != 0 ? MK_LBUTTON : 0;
    flags |= (keys[VK_RBUTTON] & 0x80) != 0 ? MK_RBUTTON : 0;
    flags |= (keys[VK_MBUTTON] & 0x80) != 0 ? MK_MBUTTON : 0;
    flags |= (keys[VK_XBUTTON1] & 0x80) != 0 ? MK_XBUTTON1 : 0;
    flags |= (keys[VK_XBUTTON2] & 0x80) != 0 ? MK_XBUTTON2 : 0;
    flags |= (keys[VK_SHIFT] & 0x80) != 0 ? MK_SHIFT : 0;
    flags |= (keys[VK_CONTROL] & 0x80) != 0 ? MK_CONTROL : 0;
    return flags;
}

// A leave notice is due when the mouse is no longer over the tracked
// window and that window does not hold the mouse.
void WindowApi::CheckLeave() {
    auto& core = Core();
    const HWND tracked = core.mouseTrack.hwnd;
    if (tracked == 0 || core.capture == tracked) {
        return;
    }
    if (WindowFromPoint(core.cursor) == tracked) {
        return;
    }
    const bool leave = (core.mouseTrack.flags & TME_LEAVE) != 0;
    core.mouseTrack.hwnd = 0;
    core.mouseTrack.flags = 0;
    if (leave) {
        PostMessage(tracked, WM_MOUSELEAVE, 0, 0);
    }
}

// Moves or sizes the window being tracked to follow the mouse.
void WindowApi::Track(POINT pt) {
    auto& core = Core();
    const auto& t = core.tracking;
    const int32_t dx = pt.X - t.start.X;
    const int32_t dy = pt.Y - t.start.Y;
    RECT r = t.startRect;
    if (t.hit == HTCAPTION) {
        SetWindowPos(t.hwnd, 0, r.Left + dx, r.Top + dy, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        return;
    }
    const bool left = t.hit == HTLEFT || t.hit == HTTOPLEFT || t.hit == HTBOTTOMLEFT;
    const bool right = t.hit == HTRIGHT || t.hit == HTTOPRIGHT || t.hit == HTBOTTOMRIGHT;
    const bool top = t.hit == HTTOP || t.hit == HTTOPLEFT || t.hit == HTTOPRIGHT;
    const bool bottom = t.hit == HTBOTTOM || t.hit == HTBOTTOMLEFT || t.hit == HTBOTTOMRIGHT;
    const MINMAXINFO mm = MinMax(t.hwnd);
    const auto clampSize = [](int32_t size, int32_t low, int32_t high) {
        return std::clamp(size, std::max(0, low), std::max(low, high));
    };
    if (left || right) {
        const int32_t width = clampSize((r.Right - r.Left) + (right ? dx : -dx),
                                        mm.ptMinTrackSize.X, mm.ptMaxTrackSize.X);
        if (left) {
            r.Left = r.Right - width;
        } else {
            r.Right = r.Left + width;
        }
    }
    if (top || bottom) {
        const int32_t height = clampSize((r.Bottom - r.Top) + (bottom ? dy : -dy),
                                         mm.ptMinTrackSize.Y, mm.ptMaxTrackSize.Y);
        if (top) {
            r.Top = r.Bottom - height;
        } else {
            r.Bottom = r.Top + height;
        }
    }
    SetWindowPos(t.hwnd, 0, r.Left, r.Top, r.Right - r.Left, r.Bottom - r.Top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

// Turns one piece of input into the message it makes, if any.
std::optional<MSG> WindowApi::Route(WindowCore::PendingInput& in) {
    using Kind = WindowCore::PendingInput::Kind;
    auto& core = Core();
    MSG msg;
    msg.time = core.backend.TickCount();
    if (in.kind == Kind::Key || in.kind == Kind::Char) {
        msg.pt = core.cursor;
        if (in.kind == Kind::Key) {
            const bool wasDown = (core.keys[in.vk] & 0x80) != 0;
            core.keys[in.vk] = in.down ? 0x80 : 0;
            if (core.tracking.hwnd != 0 && in.vk == VK_ESCAPE && in.down) {
                // Escape puts a window being moved or sized back.
                const auto t = core.tracking;
                core.tracking.hwnd = 0;
                SetWindowPos(t.hwnd, 0, t.startRect.Left, t.startRect.Top,
                             t.startRect.Right - t.startRect.Left,
                             t.startRect.Bottom - t.startRect.Top, SWP_NOZORDER | SWP_NOACTIVATE);
                SendMessage(t.hwnd, WM_EXITSIZEMOVE, 0, 0);
                return std::nullopt;
            }
            const bool alt = (core.keys[VK_MENU] & 0x80) != 0;
            const bool ctrl = (core.keys[VK_CONTROL] & 0x80) != 0;
            const bool system = (alt && !ctrl) || in.vk == VK_MENU;
            msg.message =
                in.down ? (system ? WM_SYSKEYDOWN : WM_KEYDOWN) : (system ? WM_SYSKEYUP : WM_KEYUP);
            msg.wParam = static_cast<WPARAM>(in.vk);
            uint32_t bits = 1;
            if (in.down ? wasDown : true) {
                bits |= 1u << 30;
            }
            if (!in.down) {
                bits |= 1u << 31;
            }
            if (alt) {
                bits |= 1u << 29;
            }
            msg.lParam = static_cast<LPARAM>(static_cast<int32_t>(bits));
            core.typedKey.reset();
        } else {
            msg.message = WM_CHAR;
            msg.wParam = static_cast<WPARAM>(in.c);
            msg.lParam = 1;
        }
        msg.hwnd = core.focus != 0 ? core.focus : core.active;
        if (msg.hwnd == 0 || !IsWindowEnabled(msg.hwnd)) {
            return std::nullopt;
        }
        if (in.kind == Kind::Key && in.typed && msg.message == WM_KEYDOWN) {
            core.typedKey = WindowCore::State::TypedKey{msg, *in.typed};
        }
        return msg;
    }

    core.cursor = in.pt;
    msg.pt = in.pt;
    if (in.kind == Kind::Button) {
        core.keys[VkOf(in.button)] = in.down ? 0x80 : 0;
    }
    if (core.tracking.hwnd != 0) {
        if (in.kind == Kind::Move) {
            Track(in.pt);
        } else if (in.kind == Kind::Button && !in.down && in.button == MouseButton::Left) {
            const HWND done = core.tracking.hwnd;
            core.tracking.hwnd = 0;
            SendMessage(done, WM_EXITSIZEMOVE, 0, 0);
        }
        return std::nullopt;
    }

    const HWND under = WindowFromPoint(in.pt);
    HWND target = core.capture != 0 ? core.capture : under;
    if (in.kind == Kind::Move) {
        CheckLeave();
        if (core.mouseTrack.hwnd != 0 &&
            (std::abs(in.pt.X - core.mouseTrack.at.X) > kHoverDistance ||
             std::abs(in.pt.Y - core.mouseTrack.at.Y) > kHoverDistance)) {
            core.mouseTrack.since = msg.time;
            core.mouseTrack.at = in.pt;
        }
    }
    if (target == 0 || !IsWindowEnabled(target)) {
        return std::nullopt;
    }
    if (in.kind == Kind::Wheel) {
        msg.hwnd = target;
        msg.message = in.horizontal ? WM_MOUSEHWHEEL : WM_MOUSEWHEEL;
        msg.wParam = MAKEWPARAM(static_cast<int32_t>(MouseFlags()), in.delta);
        msg.lParam = MAKELPARAM(in.pt.X, in.pt.Y);
        return msg;
    }
    if (in.kind == Kind::Move && core.capture == 0) {
        AskCursor(target);
        if (Find(target) == nullptr) {
            return std::nullopt;
        }
    }
    POINT client = in.pt;
    ScreenToClient(target, client);
    msg.hwnd = target;
    msg.lParam = MAKELPARAM(client.X, client.Y);
    if (in.kind == Kind::Move) {
        msg.message = WM_MOUSEMOVE;
        msg.wParam = MouseFlags();
        return msg;
    }

    const uint32_t down = DownMessage(in.button);
    uint16_t xbutton = 0;
    if (in.button == MouseButton::X1) {
        xbutton = XBUTTON1;
    } else if (in.button == MouseButton::X2) {
        xbutton = XBUTTON2;
    }
    msg.wParam = MAKEWPARAM(static_cast<int32_t>(MouseFlags()), xbutton);
    if (!in.down) {
        msg.message = down + 1;
        return msg;
    }
    // A press activates the window's top-level window.
    const HWND top = GetAncestorTop(target);
    const Window* topWindow = Find(top);
    if (top != core.active && topWindow != nullptr &&
        (topWindow->exStyle & WS_EX_NOACTIVATE) == 0) {
        SetActiveWindow(top);
        if (Find(target) == nullptr) {
            return std::nullopt;
        }
    }
    const Window* w = Find(target);
    const auto& last = core.lastClick;
    const bool dbl = (w->classStyle & CS_DBLCLKS) != 0 && last.hwnd == target &&
                     last.message == down && last.button == in.button &&
                     msg.time - last.time <= kDoubleClickTime &&
                     std::abs(in.pt.X - last.pt.X) <= kDoubleClickDistance &&
                     std::abs(in.pt.Y - last.pt.Y) <= kDoubleClickDistance;
    if (dbl) {
        msg.message = down + 2;
        core.lastClick = {};
    } else {
        msg.message = down;
        core.lastClick = {target, down, msg.time, in.pt, in.button};
    }
    return msg;
}

bool WindowApi::PeekCore(MSG& msg, HWND filter, bool remove) {
    auto& core = Core();
    const auto matches = [&](HWND h) { return filter == 0 || h == filter; };
    for (auto it = core.posted.begin(); it != core.posted.end(); ++it) {
        if (matches(it->hwnd)) {
            msg = *it;
            if (remove) {
                core.posted.erase(it);
            }
            return true;
        }
    }
    while (!core.input.empty()) {
        // Input is routed when it is read, as it would be when it arrives.
        std::unique_ptr<WindowCore::PendingInput> in = std::move(core.input.front());
        core.input.pop_front();
        const size_t postedBefore = core.posted.size();
        std::optional<MSG> routed = Route(*in);
        if (!routed) {
            if (core.posted.size() != postedBefore) {
                // Routing posted something (a leave notice): it is due now.
                return PeekCore(msg, filter, remove);
            }
            continue;
        }
        core.posted.push_back(*routed);
        return PeekCore(msg, filter, remove);
    }
    // Paints: parents before children, top-level windows in their order.
    std::vector<HWND> pending = core.topLevels;
    for (size_t i = 0; i < pending.size(); ++i) {
        const Window* w = Find(pending[i]);
        if (w == nullptr) {
            continue;
        }
        if (w->update && (w->style & WS_VISIBLE) != 0 && !w->iconic && matches(w->hwnd)) {
            msg = MSG{w->hwnd, WM_PAINT, 0, 0, core.backend.TickCount(), core.cursor};
            return true;
        }
        pending.insert(pending.end(), w->children.begin(), w->children.end());
    }
    const uint32_t now = core.backend.TickCount();
    WindowCore::Timer* due = nullptr;
    for (auto& t : core.timers) {
        if (Reached(now, t->due) && matches(t->hwnd) &&
            (due == nullptr || static_cast<int32_t>(t->due - due->due) < 0)) {
            due = t.get();
        }
    }
    if (due != nullptr) {
        msg = MSG{due->hwnd, WM_TIMER, due->id, 0, now, core.cursor};
        if (remove) {
            due->due = now + due->elapse;
        }
        return true;
    }
    auto& track = core.mouseTrack;
    if (track.hwnd != 0 && (track.flags & TME_HOVER) != 0 &&
        Reached(now, track.since + track.hoverTime) && matches(track.hwnd)) {
        POINT client = core.cursor;
        ScreenToClient(track.hwnd, client);
        msg = MSG{track.hwnd, WM_MOUSEHOVER, MouseFlags(), MAKELPARAM(client.X, client.Y),
                  now,        core.cursor};
        if (remove) {
            track.flags &= ~TME_HOVER;
            if (track.flags == 0) {
                track.hwnd = 0;
            }
        }
        return true;
    }
    if (core.quit && filter == 0) {
        msg = MSG{0, WM_QUIT, static_cast<WPARAM>(core.quitCode), 0, now, core.cursor};
        if (remove) {
            core.quit = false;
        }
        return true;
    }
    return false;
}

MINMAXINFO WindowApi::MinMax(HWND hwnd) {
    const RECT work = Core().backend.WorkArea();
    const RECT screen = Core().backend.ScreenRect();
    MINMAXINFO mm;
    mm.ptMaxSize = POINT{work.Right - work.Left, work.Bottom - work.Top};
    mm.ptMaxPosition = POINT{work.Left, work.Top};
    mm.ptMinTrackSize = POINT{1, 1};
    mm.ptMaxTrackSize = POINT{screen.Right - screen.Left + 12, screen.Bottom - screen.Top + 12};
    SendMessage(hwnd, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&mm));
    return mm;
}

void WindowApi::Maximize(HWND hwnd) {
    Window* w = Find(hwnd);
    if (w == nullptr || (w->zoomed && !w->iconic)) {
        return;
    }
    if (!w->iconic) {
        w->restoreRect = w->rect;
    }
    const MINMAXINFO mm = MinMax(hwnd);
    w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    w->iconic = false;
    w->zoomed = true;
    w->style = (w->style | WS_MAXIMIZE) & ~WS_MINIMIZE;
    SetWindowPos(hwnd, 0, mm.ptMaxPosition.X, mm.ptMaxPosition.Y, mm.ptMaxSize.X, mm.ptMaxSize.Y,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void WindowApi::Minimize(HWND hwnd) {
    Window* w = Find(hwnd);
    if (w == nullptr || w->iconic) {
        return;
    }
    if (!w->zoomed) {
        w->restoreRect = w->rect;
    }
    w->iconic = true;
    w->style |= WS_MINIMIZE;
    if (Core().focus != 0 && InSubtree(hwnd, Core().focus)) {
        SetFocus(0);
    }
    SendMessage(hwnd, WM_SIZE, SIZE_MINIMIZED, 0);
    if (Core().active == hwnd) {
        ActivateNext(hwnd);
    }
    Changed(hwnd);
}

void WindowApi::Restore(HWND hwnd) {
    Window* w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    if (w->iconic) {
        w->iconic = false;
        w->style &= ~WS_MINIMIZE;
        if (w->zoomed) {
            SendMessage(hwnd, WM_SIZE, SIZE_MAXIMIZED, MAKELPARAM(w->Width(), w->Height()));
        } else {
            const RECT r = w->restoreRect;
            SetWindowPos(hwnd, 0, r.Left, r.Top, r.Right - r.Left, r.Bottom - r.Top,
                         SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
        }
    } else if (w->zoomed) {
        w->zoomed = false;
        w->style &= ~WS_MAXIMIZE;
        const RECT r = w->restoreRect;
        SetWindowPos(hwnd, 0, r.Left, r.Top, r.Right - r.Left, r.Bottom - r.Top,
                     SWP_NOZORDER | SWP_NOACTIVATE);
    } else {
        return;
    }
    SetActiveWindow(hwnd);
    Changed(hwnd);
}

// When the active window goes away, its owner takes over, else the top
// visible window.
void WindowApi::ActivateNext(HWND leaving) {
    auto& core = Core();
    const Window* w = Find(leaving);
    HWND next = 0;
    if (w != nullptr && w->owner != 0 && IsWindowVisible(w->owner) && !IsIconic(w->owner)) {
        next = w->owner;
    } else {
        const std::vector<HWND> order = OrderedTopLevels();
        for (auto it = order.rbegin(); it != order.rend(); ++it) {
            const Window* o = Find(*it);
            if (*it != leaving && o != nullptr && (o->style & WS_VISIBLE) != 0 && !o->iconic &&
                (o->exStyle & WS_EX_NOACTIVATE) == 0 && !o->destroying) {
                next = *it;
                break;
            }
        }
    }
    if (next != 0) {
        SetActiveWindow(next);
    } else if (core.active == leaving) {
        core.active = 0;
        if (core.focus != 0 && InSubtree(leaving, core.focus)) {
            SetFocus(0);
        }
    }
}

void WindowApi::DestroyTree(HWND hwnd) {
    auto& core = Core();
    Window* w = Find(hwnd);
    if (w == nullptr || w->destroying) {
        return;
    }
    w->destroying = true;
    // Owned windows go first, as their owner's end takes them along.
    for (HWND other : std::vector<HWND>(core.topLevels)) {
        const Window* o = Find(other);
        if (o != nullptr && o->owner == hwnd) {
            DestroyTree(other);
        }
    }
    if (core.capture != 0 && InSubtree(hwnd, core.capture)) {
        ReleaseCapture();
    }
    if (core.focus != 0 && InSubtree(hwnd, core.focus)) {
        core.focus = 0;
    }
    if (core.tracking.hwnd == hwnd) {
        core.tracking.hwnd = 0;
    }
    SendMessage(hwnd, WM_DESTROY, 0, 0);
    w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    for (HWND child : std::vector<HWND>(w->children)) {
        DestroyTree(child);
    }
    SendMessage(hwnd, WM_NCDESTROY, 0, 0);
    w = Find(hwnd);
    if (w == nullptr) {
        return;
    }
    if (core.active == hwnd) {
        ActivateNext(hwnd);
        if (core.active == hwnd) {
            core.active = 0;
        }
    }
    if (core.mouseTrack.hwnd == hwnd) {
        core.mouseTrack = {};
        core.mouseTrack.hoverTime = kDefaultHoverTime;
    }
    if (core.mouseWindow == hwnd) {
        core.mouseWindow = 0;
    }
    if (core.lastClick.hwnd == hwnd) {
        core.lastClick = {};
    }
    std::erase_if(core.timers, [&](const auto& t) { return t->hwnd == hwnd; });
    std::erase_if(core.posted, [&](const MSG& m) { return m.hwnd == hwnd; });
    const bool child = w->IsChild();
    const HWND parent = w->parent;
    if (child) {
        if (Window* p = Find(parent)) {
            std::erase(p->children, hwnd);
            InvalidateRect(parent, &w->rect, true);
        }
    } else {
        std::erase(core.topLevels, hwnd);
        core.backend.TopLevelChanged(hwnd);
    }
    core.windows.erase(hwnd);
}

// Draws the window and its children into `out` with the window's top-left
// corner at (x, y), only inside `clip` (pixels of `out`).
void WindowApi::ComposeInto(HWND hwnd, PixelBuffer& out, int32_t x, int32_t y, const RECT& clip) {
    const Window* w = Find(hwnd);
    if (w == nullptr || w->surface.Empty()) {
        return;
    }
    const RECT area = Intersect(clip, RECT{x, y, x + w->Width(), y + w->Height()});
    if (area.IsEmpty()) {
        return;
    }
    for (int32_t row = area.Top; row < area.Bottom; ++row) {
        const int32_t sy = row - y;
        for (int32_t col = area.Left; col < area.Right; ++col) {
            const int32_t sx = col - x;
            if (w->region && !w->region->PtInRegion(sx, sy)) {
                continue;
            }
            const uint8_t* s = w->surface.Pixel(sx, sy);
            uint8_t* d = out.Pixel(col, row);
            // A screen shows colours; the alpha byte a control leaves does
            // not make it see-through.
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            d[3] = 255;
        }
    }
    for (HWND child : w->children) {
        const Window* c = Find(child);
        if (c == nullptr || (c->style & WS_VISIBLE) == 0) {
            continue;
        }
        RECT inner = area;
        if (w->region) {
            inner = Intersect(inner, RECT{x, y, x + w->Width(), y + w->Height()});
        }
        ComposeInto(child, out, x + c->rect.Left, y + c->rect.Top, inner);
    }
}

bool WindowCore::Compose(HWND hwnd, PixelBuffer& out) {
    const Window* w = WindowApi::Find(hwnd);
    if (w == nullptr || w->Width() < 1 || w->Height() < 1 ||
        !out.Allocate(w->Width(), w->Height(), RowOrder::TopDown)) {
        return false;
    }
    WindowApi::ComposeInto(hwnd, out, 0, 0, RECT{0, 0, w->Width(), w->Height()});
    return true;
}

bool WindowCore::ComposeArea(HWND hwnd, PixelBuffer& out, const RECT& area) {
    const Window* w = WindowApi::Find(hwnd);
    if (w == nullptr || out.Width() != w->Width() || out.Height() != w->Height()) {
        return false;
    }
    const RECT clip = Intersect(area, RECT{0, 0, w->Width(), w->Height()});
    if (clip.IsEmpty()) {
        return true;
    }
    // Cleared first, so that what lies outside a region reads as Compose
    // leaves it: transparent black.
    for (int32_t y = clip.Top; y < clip.Bottom; ++y) {
        std::memset(out.Pixel(clip.Left, y), 0, static_cast<size_t>(clip.Right - clip.Left) * 4);
    }
    WindowApi::ComposeInto(hwnd, out, 0, 0, clip);
    return true;
}

void WindowCore::ComposeScreen(PixelBuffer& out) {
    for (HWND hwnd : WindowApi::OrderedTopLevels()) {
        const Window* w = WindowApi::Find(hwnd);
        if (w == nullptr || (w->style & WS_VISIBLE) == 0 || w->iconic || w->Width() < 1 ||
            w->Height() < 1) {
            continue;
        }
        const bool layered = (w->exStyle & WS_EX_LAYERED) != 0 && w->layeredFlags != 0;
        if (!layered) {
            WindowApi::ComposeInto(hwnd, out, w->rect.Left, w->rect.Top,
                                   RECT{0, 0, out.Width(), out.Height()});
            continue;
        }
        PixelBuffer picture;
        if (!Compose(hwnd, picture)) {
            continue;
        }
        const uint32_t a = (w->layeredFlags & LWA_ALPHA) != 0 ? w->alpha : 255;
        const RECT area = Intersect(RECT{0, 0, out.Width(), out.Height()}, w->rect);
        for (int32_t row = area.Top; row < area.Bottom; ++row) {
            for (int32_t col = area.Left; col < area.Right; ++col) {
                const uint8_t* s = picture.Pixel(col - w->rect.Left, row - w->rect.Top);
                if (s[3] == 0) {
                    continue;  // outside the window's region
                }
                if ((w->layeredFlags & LWA_COLORKEY) != 0 &&
                    (COLORREF{s[2]} | COLORREF{s[1]} << 8 | COLORREF{s[0]} << 16) == w->colorKey) {
                    continue;
                }
                uint8_t* d = out.Pixel(col, row);
                for (int k = 0; k < 3; ++k) {
                    d[k] = static_cast<uint8_t>((s[k] * a + d[k] * (255 - a) + 127) / 255);
                }
                d[3] = 255;
            }
        }
    }
}

}  // namespace kelvara
