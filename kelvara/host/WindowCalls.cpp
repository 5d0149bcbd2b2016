// The host's window calls over the current core.

#include <algorithm>
#include <cstdlib>

#include "kelvara/host/WindowCore.h"
#include "kelvara/host/detail/CoreState.h"

namespace kelvara {

using namespace detail;

// --- Windows -----------------------------------------------------------------

HWND CreateWindowEx(const WindowSpec& spec) {
    using Window = WindowCore::Window;
    auto& core = WindowApi::Core();
    const bool child = (spec.Style & WS_CHILD) != 0;
    if (child && WindowApi::Find(spec.Parent) == nullptr) {
        return 0;
    }
    auto w = std::make_unique<Window>();
    const HWND hwnd = core.nextHandle++;
    w->hwnd = hwnd;
    w->className = spec.ClassName;
    w->text = spec.Text;
    w->style = spec.Style & ~WS_VISIBLE;
    w->exStyle = spec.ExStyle;
    w->classStyle = spec.ClassStyle;
    if (child) {
        w->parent = spec.Parent;
    } else if (WindowApi::Find(spec.Parent) != nullptr) {
        w->owner = GetAncestorTop(spec.Parent);
    }
    const int32_t x = std::clamp(spec.X, -kMaxWindowCoordinate, kMaxWindowCoordinate);
    const int32_t y = std::clamp(spec.Y, -kMaxWindowCoordinate, kMaxWindowCoordinate);
    w->rect = RECT{x, y, x + std::clamp(spec.Width, 0, kMaxWindowSide),
                   y + std::clamp(spec.Height, 0, kMaxWindowSide)};
    w->restoreRect = w->rect;
    w->proc = spec.Proc;
    WindowApi::Resize(*w, w->Width(), w->Height());
    Window* made = w.get();
    core.windows.emplace(hwnd, std::move(w));
    if (child) {
        WindowApi::Find(spec.Parent)->children.push_back(hwnd);
    } else {
        core.topLevels.push_back(hwnd);
        WindowApi::BringToTop(hwnd);
    }
    made->update = Region::CreateRectRgn(0, 0, made->Width(), made->Height());
    if (WindowApi::Deliver(hwnd, WM_CREATE, 0, 0) == -1) {
        DestroyWindow(hwnd);
        return 0;
    }
    if (!IsWindow(hwnd)) {
        return 0;
    }
    if ((spec.Style & WS_VISIBLE) != 0) {
        ShowWindow(hwnd, SW_SHOW);
    }
    return hwnd;
}

HWND CreateWindowEx(uint32_t exStyle, std::string_view className, std::string_view windowName,
                    uint32_t style, int32_t x, int32_t y, int32_t width, int32_t height,
                    HWND parent, WNDPROC proc) {
    WindowSpec spec;
    spec.ExStyle = exStyle;
    spec.ClassName = std::string(className);
    spec.Text = std::string(windowName);
    spec.Style = style;
    spec.X = x;
    spec.Y = y;
    spec.Width = width;
    spec.Height = height;
    spec.Parent = parent;
    spec.Proc = std::move(proc);
    return CreateWindowEx(spec);
}

bool DestroyWindow(HWND hwnd) {
    if (WindowApi::Find(hwnd) == nullptr) {
        return false;
    }
    WindowApi::DestroyTree(hwnd);
    return true;
}

bool IsWindow(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w != nullptr && !w->destroying;
}

LRESULT DefWindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    auto& core = WindowApi::Core();
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    switch (msg) {
        case WM_CLOSE:
            DestroyWindow(hwnd);
            return 0;
        case WM_PAINT: {
            PAINTSTRUCT paint;
            BeginPaint(hwnd, paint);
            EndPaint(hwnd, paint);
            return 0;
        }
        case WM_ERASEBKGND:
            return 1;
        case WM_NCHITTEST:
            return HTCLIENT;
        case WM_SETCURSOR:
            // The parent is asked first; a parent that answers decides for
            // its children.
            return w->IsChild() ? SendMessage(w->parent, msg, wParam, lParam) : 0;
        case WM_SETTEXT:
            w->text = lParam != 0 ? std::string(reinterpret_cast<const char*>(lParam)) : "";
            if (!w->IsChild()) {
                WindowApi::Changed(hwnd);  // a window system shows it in its title
            }
            return 1;
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(w->text.size());
        case WM_SETREDRAW:
            w->redraw = wParam != 0;
            return 0;
        case WM_CANCELMODE:
            if (core.capture == hwnd) {
                ReleaseCapture();
            }
            if (core.tracking.hwnd == hwnd) {
                core.tracking.hwnd = 0;
                SendMessage(hwnd, WM_EXITSIZEMOVE, 0, 0);
            }
            return 0;
        case WM_MOUSEWHEEL:
        case WM_MOUSEHWHEEL:
            // Unhandled wheels go to the parent, as scrolling containers
            // expect.
            return w->IsChild() ? SendMessage(w->parent, msg, wParam, lParam) : 0;
        case WM_WINDOWPOSCHANGED: {
            const auto* pos = reinterpret_cast<const WINDOWPOS*>(lParam);
            if (pos == nullptr) {
                return 0;
            }
            if ((pos->flags & SWP_NOMOVE) == 0) {
                SendMessage(hwnd, WM_MOVE, 0, MAKELPARAM(w->rect.Left, w->rect.Top));
            }
            w = WindowApi::Find(hwnd);
            if (w != nullptr && (pos->flags & SWP_NOSIZE) == 0) {
                const WPARAM kind = w->iconic   ? SIZE_MINIMIZED
                                    : w->zoomed ? SIZE_MAXIMIZED
                                                : SIZE_RESTORED;
                SendMessage(hwnd, WM_SIZE, kind, MAKELPARAM(w->Width(), w->Height()));
            }
            return 0;
        }
        case WM_NCLBUTTONDOWN: {
            const auto hit = static_cast<int32_t>(wParam);
            const bool sizes = hit >= HTLEFT && hit <= HTBOTTOMRIGHT;
            if ((hit != HTCAPTION && !sizes) || (core.keys[VK_LBUTTON] & 0x80) == 0 ||
                (sizes && w->zoomed)) {
                return 0;
            }
            if (hit == HTCAPTION && w->zoomed) {
                return 0;  // a maximised window stays where it is
            }
            SendMessage(hwnd, WM_ENTERSIZEMOVE, 0, 0);
            RECT rect;
            GetWindowRect(hwnd, rect);
            if (w->IsChild()) {
                rect = WindowApi::Find(hwnd)->rect;
            }
            core.tracking = {hwnd, hit, core.cursor, rect};
            return 0;
        }
        case WM_SYSCOMMAND:
            switch (wParam & 0xFFF0) {
                case SC_MINIMIZE:
                    WindowApi::Minimize(hwnd);
                    return 0;
                case SC_MAXIMIZE:
                    WindowApi::Maximize(hwnd);
                    return 0;
                case SC_RESTORE:
                    WindowApi::Restore(hwnd);
                    return 0;
                case SC_CLOSE:
                    SendMessage(hwnd, WM_CLOSE, 0, 0);
                    return 0;
                default:
                    return 0;
            }
        default:
            return 0;
    }
}

WNDPROC SetWindowProc(HWND hwnd, WNDPROC proc) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return nullptr;
    }
    std::swap(w->proc, proc);
    return proc;
}

LRESULT CallWindowProc(const WNDPROC& proc, HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    return proc ? proc(hwnd, msg, wParam, lParam) : DefWindowProc(hwnd, msg, wParam, lParam);
}

int32_t AddWindowHook(HWND hwnd, HOOKPROC hook) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || !hook) {
        return 0;
    }
    const int32_t id = w->nextHook++;
    w->hooks.emplace_back(id, std::move(hook));
    return id;
}

bool RemoveWindowHook(HWND hwnd, int32_t id) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    const size_t before = w->hooks.size();
    std::erase_if(w->hooks, [&](const auto& h) { return h.first == id; });
    return w->hooks.size() != before;
}

LRESULT CallNextHook(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    return WindowApi::ContinueDelivery(hwnd, msg, wParam, lParam);
}

HWND GetParent(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    return w->IsChild() ? w->parent : w->owner;
}

HWND SetParent(HWND hwnd, HWND newParent) {
    auto& core = WindowApi::Core();
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || (newParent != 0 && WindowApi::Find(newParent) == nullptr) ||
        (newParent != 0 && WindowApi::InSubtree(hwnd, newParent))) {
        return 0;
    }
    const HWND old = w->IsChild() ? w->parent : 0;
    if (w->IsChild()) {
        std::erase(WindowApi::Find(w->parent)->children, hwnd);
    } else {
        std::erase(core.topLevels, hwnd);
    }
    if (newParent != 0) {
        w->style = (w->style | WS_CHILD) & ~WS_POPUP;
        w->parent = newParent;
        w->owner = 0;
        WindowApi::Find(newParent)->children.push_back(hwnd);
        if (core.active == hwnd) {
            core.active = 0;
        }
    } else {
        w->style &= ~WS_CHILD;
        w->parent = 0;
        core.topLevels.push_back(hwnd);
    }
    WindowApi::Changed(hwnd);
    return old;
}

HWND GetOwner(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? 0 : w->owner;
}

HWND GetAncestorTop(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    while (w != nullptr && w->IsChild()) {
        w = WindowApi::Find(w->parent);
    }
    return w == nullptr ? 0 : w->hwnd;
}

std::vector<HWND> GetChildren(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? std::vector<HWND>{} : w->children;
}

std::string GetClassName(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? std::string() : w->className;
}

std::string GetWindowText(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? std::string() : w->text;
}

bool SetWindowText(HWND hwnd, std::string_view text) {
    if (WindowApi::Find(hwnd) == nullptr) {
        return false;
    }
    const std::string copy(text);
    SendMessage(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(copy.c_str()));
    return true;
}

bool SetWindowIcon(HWND hwnd, std::shared_ptr<const PixelBuffer> icon) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    if (w->icon != icon) {
        w->icon = std::move(icon);
        if (!w->IsChild()) {
            WindowApi::Changed(hwnd);
        }
    }
    return true;
}

std::shared_ptr<const PixelBuffer> GetWindowIcon(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? nullptr : w->icon;
}

intptr_t GetWindowLong(HWND hwnd, int32_t index) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    switch (index) {
        case GWL_STYLE:
            return static_cast<int32_t>(w->style);
        case GWL_EXSTYLE:
            return static_cast<int32_t>(w->exStyle);
        case GWL_HWNDPARENT:
            return w->IsChild() ? w->parent : w->owner;
        case GWL_ID:
            return w->id;
        case GWL_USERDATA:
            return w->userData;
        default:
            return 0;
    }
}

intptr_t SetWindowLong(HWND hwnd, int32_t index, intptr_t value) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return 0;
    }
    const intptr_t old = GetWindowLong(hwnd, index);
    switch (index) {
        case GWL_STYLE: {
            // Visibility and the disabled state keep going through their
            // own calls; the other bits are taken as they are.
            const uint32_t keep = WS_VISIBLE | WS_DISABLED | WS_CHILD;
            w->style = (w->style & keep) | (static_cast<uint32_t>(value) & ~keep);
            break;
        }
        case GWL_EXSTYLE:
            w->exStyle = static_cast<uint32_t>(value);
            WindowApi::Changed(hwnd);
            break;
        case GWL_HWNDPARENT:
            if (!w->IsChild()) {
                const auto owner = static_cast<HWND>(value);
                w->owner = WindowApi::Find(owner) != nullptr ? GetAncestorTop(owner) : 0;
                if (w->owner == hwnd) {
                    w->owner = 0;
                }
            }
            break;
        case GWL_ID:
            w->id = value;
            break;
        case GWL_USERDATA:
            w->userData = value;
            break;
        default:
            return 0;
    }
    return old;
}

bool ShowWindow(HWND hwnd, int32_t command) {
    auto& core = WindowApi::Core();
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    const bool wasVisible = (w->style & WS_VISIBLE) != 0;
    if (command == SW_HIDE) {
        if (!wasVisible) {
            return false;
        }
        SendMessage(hwnd, WM_SHOWWINDOW, 0, 0);
        w = WindowApi::Find(hwnd);
        if (w == nullptr) {
            return true;
        }
        w->style &= ~WS_VISIBLE;
        if (core.capture != 0 && WindowApi::InSubtree(hwnd, core.capture)) {
            ReleaseCapture();
        }
        if (core.focus != 0 && WindowApi::InSubtree(hwnd, core.focus)) {
            SetFocus(w->IsChild() ? GetAncestorTop(hwnd) : 0);
        }
        if (w->IsChild()) {
            InvalidateRect(w->parent, &w->rect, true);
        } else if (core.active == hwnd) {
            WindowApi::ActivateNext(hwnd);
        }
        WindowApi::CheckLeave();
        WindowApi::Changed(hwnd);
        return true;
    }
    if (!wasVisible) {
        SendMessage(hwnd, WM_SHOWWINDOW, 1, 0);
        w = WindowApi::Find(hwnd);
        if (w == nullptr) {
            return false;
        }
        w->style |= WS_VISIBLE;
        InvalidateRect(hwnd, nullptr, true);
    }
    switch (command) {
        case SW_SHOWMINIMIZED:
        case SW_MINIMIZE:
            WindowApi::Minimize(hwnd);
            break;
        case SW_SHOWMAXIMIZED:
            WindowApi::Maximize(hwnd);
            if (!w->IsChild()) {
                SetActiveWindow(hwnd);
            }
            break;
        case SW_RESTORE:
            WindowApi::Restore(hwnd);
            break;
        case SW_SHOWNA:
        case SW_SHOWNOACTIVATE:
            break;
        default:
            if (!w->IsChild() && (w->exStyle & WS_EX_NOACTIVATE) == 0) {
                SetActiveWindow(hwnd);
            }
            break;
    }
    WindowApi::Changed(hwnd);
    return wasVisible;
}

bool IsWindowVisible(HWND hwnd) {
    for (const auto* w = WindowApi::Find(hwnd); w != nullptr;
         w = w->IsChild() ? WindowApi::Find(w->parent) : nullptr) {
        if ((w->style & WS_VISIBLE) == 0) {
            return false;
        }
        if (!w->IsChild()) {
            return true;
        }
    }
    return false;
}

bool IsIconic(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w != nullptr && w->iconic;
}

bool IsZoomed(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w != nullptr && w->zoomed && !w->iconic;
}

bool EnableWindow(HWND hwnd, bool enable) {
    auto& core = WindowApi::Core();
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    const bool wasDisabled = (w->style & WS_DISABLED) != 0;
    if (wasDisabled == !enable) {
        return wasDisabled;
    }
    if (!enable) {
        // Whatever mode the window was in ends with it.
        SendMessage(hwnd, WM_CANCELMODE, 0, 0);
        w = WindowApi::Find(hwnd);
        if (w == nullptr) {
            return wasDisabled;
        }
        w->style |= WS_DISABLED;
        if (core.focus != 0 && WindowApi::InSubtree(hwnd, core.focus)) {
            SetFocus(0);
        }
    } else {
        w->style &= ~WS_DISABLED;
    }
    SendMessage(hwnd, WM_ENABLE, enable ? 1 : 0, 0);
    return wasDisabled;
}

bool IsWindowEnabled(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w != nullptr && (w->style & WS_DISABLED) == 0;
}

bool SetWindowPos(HWND hwnd, HWND insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                  uint32_t flags) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    WINDOWPOS pos{hwnd, insertAfter, x, y, std::max(0, cx), std::max(0, cy), flags};
    if ((flags & SWP_NOMOVE) != 0) {
        pos.x = w->rect.Left;
        pos.y = w->rect.Top;
    }
    if ((flags & SWP_NOSIZE) != 0) {
        pos.cx = w->Width();
        pos.cy = w->Height();
    }
    SendMessage(hwnd, WM_WINDOWPOSCHANGING, 0, reinterpret_cast<LPARAM>(&pos));
    w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    pos.x = std::clamp(pos.x, -kMaxWindowCoordinate, kMaxWindowCoordinate);
    pos.y = std::clamp(pos.y, -kMaxWindowCoordinate, kMaxWindowCoordinate);
    pos.cx = std::clamp(pos.cx, 0, kMaxWindowSide);
    pos.cy = std::clamp(pos.cy, 0, kMaxWindowSide);
    const bool moved = pos.x != w->rect.Left || pos.y != w->rect.Top;
    const bool sized = pos.cx != w->Width() || pos.cy != w->Height();
    const RECT before = w->rect;
    w->rect = RECT{pos.x, pos.y, pos.x + pos.cx, pos.y + pos.cy};
    if (sized) {
        WindowApi::Resize(*w, pos.cx, pos.cy);
        InvalidateRect(hwnd, nullptr, true);
    }
    if ((flags & SWP_NOZORDER) == 0) {
        if (insertAfter == HWND_TOPMOST) {
            w->exStyle |= WS_EX_TOPMOST;
            WindowApi::BringToTop(hwnd);
        } else if (insertAfter == HWND_NOTOPMOST) {
            w->exStyle &= ~WS_EX_TOPMOST;
            WindowApi::BringToTop(hwnd);
        } else if (insertAfter == HWND_TOP) {
            WindowApi::BringToTop(hwnd);
        } else if (insertAfter == HWND_BOTTOM) {
            WindowApi::ToBottom(hwnd);
        } else if (const auto* other = WindowApi::Find(insertAfter);
                   other != nullptr && other->IsChild() == w->IsChild() &&
                   other->parent == w->parent) {
            auto& list =
                w->IsChild() ? WindowApi::Find(w->parent)->children : WindowApi::Core().topLevels;
            std::erase(list, hwnd);
            list.insert(std::find(list.begin(), list.end(), insertAfter), hwnd);
        }
    }
    if ((flags & SWP_SHOWWINDOW) != 0) {
        ShowWindow(hwnd, (flags & SWP_NOACTIVATE) != 0 ? SW_SHOWNA : SW_SHOW);
    } else if ((flags & SWP_HIDEWINDOW) != 0) {
        ShowWindow(hwnd, SW_HIDE);
    }
    w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return true;
    }
    if (w->IsChild() && (moved || sized)) {
        InvalidateRect(w->parent, &before, true);
    }
    pos.flags = flags | (moved ? 0 : SWP_NOMOVE) | (sized ? 0 : SWP_NOSIZE);
    SendMessage(hwnd, WM_WINDOWPOSCHANGED, 0, reinterpret_cast<LPARAM>(&pos));
    WindowApi::Changed(hwnd);
    return true;
}

bool MoveWindow(HWND hwnd, int32_t x, int32_t y, int32_t width, int32_t height, bool repaint) {
    return SetWindowPos(hwnd, 0, x, y, width, height,
                        SWP_NOZORDER | SWP_NOACTIVATE | (repaint ? 0 : SWP_NOREDRAW));
}

bool GetWindowRect(HWND hwnd, RECT& rect) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    POINT origin{0, 0};
    ClientToScreen(hwnd, origin);
    rect = RECT{origin.X, origin.Y, origin.X + w->Width(), origin.Y + w->Height()};
    return true;
}

bool GetClientRect(HWND hwnd, RECT& rect) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    rect = RECT{0, 0, w->Width(), w->Height()};
    return true;
}

bool ClientToScreen(HWND hwnd, POINT& point) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    for (; w != nullptr; w = w->IsChild() ? WindowApi::Find(w->parent) : nullptr) {
        point.X += w->rect.Left;
        point.Y += w->rect.Top;
    }
    return true;
}

bool ScreenToClient(HWND hwnd, POINT& point) {
    POINT origin{0, 0};
    if (!ClientToScreen(hwnd, origin)) {
        return false;
    }
    point.X -= origin.X;
    point.Y -= origin.Y;
    return true;
}

bool SetWindowRgn(HWND hwnd, const Region* region, bool redraw) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    if (region == nullptr) {
        w->region.reset();
    } else {
        w->region = *region;
    }
    if (redraw) {
        InvalidateRect(hwnd, nullptr, true);
        if (w->IsChild()) {
            InvalidateRect(w->parent, &w->rect, true);
        }
    }
    // What shows of the window is another shape now, painted or not.
    WindowApi::Dirty(hwnd, RECT{0, 0, w->Width(), w->Height()});
    WindowApi::Changed(hwnd);
    return true;
}

std::optional<Region> GetWindowRgn(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    return w == nullptr ? std::nullopt : w->region;
}

bool SetLayeredWindowAttributes(HWND hwnd, COLORREF key, uint8_t alpha, uint32_t flags) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || (w->exStyle & WS_EX_LAYERED) == 0) {
        return false;
    }
    w->colorKey = key & 0xFFFFFF;
    w->alpha = alpha;
    w->layeredFlags = flags & (LWA_ALPHA | LWA_COLORKEY);
    WindowApi::Changed(hwnd);
    return true;
}

bool GetLayeredWindowAttributes(HWND hwnd, COLORREF& key, uint8_t& alpha, uint32_t& flags) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || (w->exStyle & WS_EX_LAYERED) == 0) {
        return false;
    }
    key = w->colorKey;
    alpha = w->alpha;
    flags = w->layeredFlags;
    return true;
}

HWND WindowFromPoint(POINT point) {
    const std::vector<HWND> order = WindowApi::OrderedTopLevels();
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        const auto* w = WindowApi::Find(*it);
        if (w == nullptr || (w->style & WS_VISIBLE) == 0 || w->iconic ||
            (w->exStyle & WS_EX_TRANSPARENT) != 0) {
            continue;
        }
        const POINT client{point.X - w->rect.Left, point.Y - w->rect.Top};
        if (WindowApi::Contains(*w, client)) {
            return WindowApi::ChildFromPoint(*it, client);
        }
    }
    return 0;
}

// --- Messages ----------------------------------------------------------------

LRESULT SendMessage(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    return WindowApi::Deliver(hwnd, msg, wParam, lParam);
}

bool PostMessage(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    auto& core = WindowApi::Core();
    if (hwnd != 0 && WindowApi::Find(hwnd) == nullptr) {
        return false;
    }
    core.posted.push_back(MSG{hwnd, msg, wParam, lParam, core.backend.TickCount(), core.cursor});
    return true;
}

void PostQuitMessage(int32_t exitCode) {
    auto& core = WindowApi::Core();
    core.quit = true;
    core.quitCode = exitCode;
}

namespace {

// True when a message filter consumed msg.
bool Filtered(const MSG& msg) {
    if (msg.message == WM_QUIT) {
        return false;
    }
    // A copy: a filter may add or remove filters.
    const auto filters = WindowApi::Core().filters;
    for (auto it = filters.rbegin(); it != filters.rend(); ++it) {
        if (it->second(msg)) {
            return true;
        }
    }
    return false;
}

}  // namespace

int32_t AddMessageFilter(MSGFILTER filter) {
    auto& core = WindowApi::Core();
    core.filters.emplace_back(++core.nextFilterId, std::move(filter));
    return core.nextFilterId;
}

bool RemoveMessageFilter(int32_t id) {
    return std::erase_if(WindowApi::Core().filters,
                         [id](const auto& entry) { return entry.first == id; }) > 0;
}

bool GetMessage(MSG& msg, HWND filter) {
    auto& core = WindowApi::Core();
    while (true) {
        if (WindowApi::PeekCore(msg, filter, true)) {
            if (Filtered(msg)) {
                continue;
            }
            return msg.message != WM_QUIT;
        }
        if (!core.backend.WaitForInput()) {
            msg = MSG{};
            return false;
        }
    }
}

bool PeekMessage(MSG& msg, HWND filter, uint32_t remove) {
    const bool take = (remove & PM_REMOVE) != 0;
    while (WindowApi::PeekCore(msg, filter, take)) {
        if (!take || !Filtered(msg)) {
            return true;
        }
    }
    return false;
}

bool TranslateMessage(const MSG& msg) {
    if (msg.message != WM_KEYDOWN) {
        return false;
    }
    auto& state = WindowApi::Core();
    if (state.typedKey) {
        const MSG& typed = state.typedKey->msg;
        if (typed.hwnd == msg.hwnd && typed.wParam == msg.wParam && typed.lParam == msg.lParam &&
            typed.time == msg.time) {
            const char32_t known = state.typedKey->c;
            state.typedKey.reset();
            if (known == 0) {
                return false;
            }
            state.posted.push_front(MSG{msg.hwnd, WM_CHAR, known, msg.lParam, msg.time, msg.pt});
            return true;
        }
    }
    const uint8_t* keys = state.keys;
    const bool shift = (keys[VK_SHIFT] & 0x80) != 0;
    const bool ctrl = (keys[VK_CONTROL] & 0x80) != 0;
    const auto vk = static_cast<int32_t>(msg.wParam);
    char32_t c = 0;
    if (vk >= 'A' && vk <= 'Z') {
        c = ctrl ? static_cast<char32_t>(vk - 'A' + 1)
                 : static_cast<char32_t>(shift ? vk : vk - 'A' + 'a');
    } else if (vk >= '0' && vk <= '9' && !shift && !ctrl) {
        c = static_cast<char32_t>(vk);
    } else if (vk == VK_SPACE || vk == VK_RETURN || vk == VK_BACK || vk == VK_ESCAPE ||
               (vk == VK_TAB && !ctrl)) {
        c = static_cast<char32_t>(vk);
    }
    if (c == 0) {
        return false;
    }
    auto& core = WindowApi::Core();
    core.posted.push_front(MSG{msg.hwnd, WM_CHAR, c, msg.lParam, msg.time, msg.pt});
    return true;
}

LRESULT DispatchMessage(const MSG& msg) {
    auto& core = WindowApi::Core();
    if (msg.message == WM_TIMER) {
        for (const auto& t : core.timers) {
            if (t->hwnd == msg.hwnd && t->id == msg.wParam && t->proc) {
                const TIMERPROC proc = t->proc;
                proc(msg.hwnd, WM_TIMER, msg.wParam, core.backend.TickCount());
                return 0;
            }
        }
    }
    if (msg.hwnd == 0) {
        return 0;
    }
    const LRESULT result = WindowApi::Deliver(msg.hwnd, msg.message, msg.wParam, msg.lParam);
    if (msg.message == WM_PAINT) {
        // A procedure that paints without validating is validated here, so
        // the loop cannot stall on it.
        if (auto* w = WindowApi::Find(msg.hwnd)) {
            w->update.reset();
        }
    }
    return result;
}

int32_t DoEvents() {
    int32_t handled = 0;
    MSG msg;
    while (PeekMessage(msg, 0, PM_REMOVE)) {
        if (msg.message == WM_QUIT) {
            // Left for the loop that waits for it.
            PostQuitMessage(static_cast<int32_t>(msg.wParam));
            break;
        }
        TranslateMessage(msg);
        DispatchMessage(msg);
        ++handled;
    }
    return handled;
}

// --- Painting ----------------------------------------------------------------

bool InvalidateRect(HWND hwnd, const RECT* rect, bool erase) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        if (hwnd == 0) {
            for (HWND top : WindowApi::Core().topLevels) {
                InvalidateRect(top, nullptr, erase);
            }
            return true;
        }
        return false;
    }
    if (!w->redraw) {
        return true;
    }
    RECT area{0, 0, w->Width(), w->Height()};
    if (rect != nullptr) {
        area = Intersect(area, *rect);
    }
    if (area.IsEmpty()) {
        return true;
    }
    const Region add = Region::CreateRectRgn(area.Left, area.Top, area.Right, area.Bottom);
    if (w->update) {
        Region::CombineRgn(*w->update, *w->update, add, RGN_MODE::RGN_OR);
    } else {
        w->update = add;
    }
    w->erase = w->erase || erase;
    return true;
}

bool ValidateRect(HWND hwnd, const RECT* rect) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    if (rect == nullptr || !w->update) {
        w->update.reset();
        return true;
    }
    Region::CombineRgn(*w->update, *w->update,
                       Region::CreateRectRgn(rect->Left, rect->Top, rect->Right, rect->Bottom),
                       RGN_MODE::RGN_DIFF);
    if (w->update->IsEmpty()) {
        w->update.reset();
    }
    return true;
}

bool GetUpdateRect(HWND hwnd, RECT& rect) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || !w->update) {
        rect = RECT{};
        return false;
    }
    w->update->GetRgnBox(rect);
    return true;
}

bool UpdateWindow(HWND hwnd) {
    const auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    if (w->update && IsWindowVisible(hwnd)) {
        SendMessage(hwnd, WM_PAINT, 0, 0);
        if (auto* still = WindowApi::Find(hwnd)) {
            still->update.reset();
        }
    }
    return true;
}

bool RedrawWindow(HWND hwnd, const RECT* rect, const Region* region, uint32_t flags) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return false;
    }
    if ((flags & RDW_INVALIDATE) != 0) {
        if (region != nullptr) {
            RECT box;
            region->GetRgnBox(box);
            InvalidateRect(hwnd, &box, (flags & RDW_ERASE) != 0);
        } else {
            InvalidateRect(hwnd, rect, (flags & RDW_ERASE) != 0);
        }
    } else if ((flags & RDW_VALIDATE) != 0) {
        ValidateRect(hwnd, rect);
    }
    if ((flags & RDW_ALLCHILDREN) != 0) {
        for (HWND child : std::vector<HWND>(w->children)) {
            RedrawWindow(child, nullptr, nullptr, flags & ~RDW_UPDATENOW);
        }
    }
    if ((flags & RDW_UPDATENOW) != 0) {
        std::vector<HWND> pending{hwnd};
        for (size_t i = 0; i < pending.size(); ++i) {
            UpdateWindow(pending[i]);
            if ((flags & RDW_ALLCHILDREN) != 0) {
                const auto kids = GetChildren(pending[i]);
                pending.insert(pending.end(), kids.begin(), kids.end());
            }
        }
    }
    return true;
}

Canvas* BeginPaint(HWND hwnd, PAINTSTRUCT& paint) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return nullptr;
    }
    if (!w->paintDC) {
        w->paintDC = std::make_unique<Canvas>(w->surface);
    }
    Canvas* dc = w->paintDC.get();
    dc->Save();
    const Region area = w->update ? *w->update : Region::CreateRectRgn(0, 0, 0, 0);
    dc->SelectClipRgn(&area);
    area.GetRgnBox(paint.rcPaint);
    paint.fErase = w->erase;
    paint.hdc = dc;
    w->update.reset();
    w->erase = false;
    return dc;
}

bool EndPaint(HWND hwnd, const PAINTSTRUCT& paint) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr || paint.hdc == nullptr) {
        return false;
    }
    paint.hdc->Restore();
    WindowApi::Dirty(hwnd, paint.rcPaint);
    return true;
}

Canvas* GetDC(HWND hwnd) {
    auto* w = WindowApi::Find(hwnd);
    if (w == nullptr) {
        return nullptr;
    }
    if (!w->dc) {
        w->dc = std::make_unique<Canvas>(w->surface);
    }
    // The caller draws anywhere on the window from here on.
    WindowApi::Dirty(hwnd, RECT{0, 0, w->Width(), w->Height()});
    return w->dc.get();
}

// --- Input state -------------------------------------------------------------

HWND SetCapture(HWND hwnd) {
    auto& core = WindowApi::Core();
    if (WindowApi::Find(hwnd) == nullptr) {
        return 0;
    }
    const HWND old = core.capture;
    core.capture = hwnd;
    if (old != 0 && old != hwnd) {
        SendMessage(old, WM_CAPTURECHANGED, 0, static_cast<LPARAM>(hwnd));
    }
    return old;
}

bool ReleaseCapture() {
    auto& core = WindowApi::Core();
    const HWND old = core.capture;
    if (old == 0) {
        return true;
    }
    core.capture = 0;
    SendMessage(old, WM_CAPTURECHANGED, 0, 0);
    WindowApi::CheckLeave();
    return true;
}

HWND GetCapture() {
    return WindowApi::Core().capture;
}

HWND SetFocus(HWND hwnd) {
    auto& core = WindowApi::Core();
    const HWND old = core.focus;
    if (hwnd != 0 && !IsWindow(hwnd)) {
        return 0;
    }
    if (hwnd == old) {
        return old;
    }
    if (hwnd != 0) {
        const HWND top = GetAncestorTop(hwnd);
        if (top != core.active) {
            SetActiveWindow(top);
            if (core.focus == hwnd) {
                return old;
            }
        }
    }
    const HWND before = core.focus;
    core.focus = hwnd;
    if (before != 0 && IsWindow(before)) {
        SendMessage(before, WM_KILLFOCUS, static_cast<WPARAM>(hwnd), 0);
    }
    if (hwnd != 0 && core.focus == hwnd && IsWindow(hwnd)) {
        SendMessage(hwnd, WM_SETFOCUS, static_cast<WPARAM>(before), 0);
    }
    return old;
}

HWND GetFocus() {
    return WindowApi::Core().focus;
}

HWND GetActiveWindow() {
    return WindowApi::Core().active;
}

HWND SetActiveWindow(HWND hwnd) {
    auto& core = WindowApi::Core();
    const HWND top = GetAncestorTop(hwnd);
    const HWND old = core.active;
    if (top == 0 || top == old) {
        return old;
    }
    core.active = top;
    if (old != 0 && IsWindow(old)) {
        // A mode held in the window losing activation ends.
        if (core.capture != 0 && WindowApi::InSubtree(old, core.capture)) {
            SendMessage(core.capture, WM_CANCELMODE, 0, 0);
        }
        SendMessage(old, WM_NCACTIVATE, 0, 0);
        SendMessage(old, WM_ACTIVATE, WA_INACTIVE, static_cast<LPARAM>(top));
    }
    WindowApi::BringToTop(top);
    SendMessage(top, WM_NCACTIVATE, 1, 0);
    SendMessage(top, WM_ACTIVATE, WA_ACTIVE, static_cast<LPARAM>(old));
    if (core.active == top && (core.focus == 0 || GetAncestorTop(core.focus) != top)) {
        SetFocus(top);
    }
    WindowApi::Changed(top);
    return old;
}

bool GetCursorPos(POINT& point) {
    point = WindowApi::Core().cursor;
    return true;
}

bool SetCursorPos(int32_t x, int32_t y) {
    WindowCore::Current().InjectMouseMove(x, y);
    return true;
}

int16_t GetAsyncKeyState(int32_t vk) {
    if (vk < 0 || vk > 255) {
        return 0;
    }
    return (WindowApi::Core().keys[vk] & 0x80) != 0 ? static_cast<int16_t>(-32768) : 0;
}

int16_t GetKeyState(int32_t vk) {
    return GetAsyncKeyState(vk);
}

void keybd_event(uint8_t vk, uint8_t, uint32_t flags, uintptr_t) {
    WindowCore::Current().InjectKey(vk, (flags & KEYEVENTF_KEYUP) == 0);
}

bool TrackMouseEvent(TRACKMOUSEEVENT& track) {
    auto& core = WindowApi::Core();
    auto& t = core.mouseTrack;
    if ((track.dwFlags & TME_CANCEL) != 0) {
        if (t.hwnd == track.hwndTrack) {
            t.flags &= ~(track.dwFlags & (TME_HOVER | TME_LEAVE));
            if (t.flags == 0) {
                t.hwnd = 0;
            }
        }
        return true;
    }
    if (!IsWindow(track.hwndTrack)) {
        return false;
    }
    if (WindowFromPoint(core.cursor) != track.hwndTrack && core.capture != track.hwndTrack) {
        // Not over the window: the leave notice comes at once.
        if ((track.dwFlags & TME_LEAVE) != 0) {
            PostMessage(track.hwndTrack, WM_MOUSELEAVE, 0, 0);
        }
        return true;
    }
    if (t.hwnd != track.hwndTrack) {
        t.flags = 0;
    }
    t.hwnd = track.hwndTrack;
    t.flags |= track.dwFlags & (TME_HOVER | TME_LEAVE);
    t.hoverTime = track.dwHoverTime == HOVER_DEFAULT ? kDefaultHoverTime : track.dwHoverTime;
    t.since = core.backend.TickCount();
    t.at = core.cursor;
    return true;
}

uint32_t GetDoubleClickTime() {
    return kDoubleClickTime;
}

// --- Time --------------------------------------------------------------------

uintptr_t SetTimer(HWND hwnd, uintptr_t id, uint32_t elapse, TIMERPROC proc) {
    auto& core = WindowApi::Core();
    if (hwnd != 0 && WindowApi::Find(hwnd) == nullptr) {
        return 0;
    }
    elapse = std::max(elapse, kMinimumTimer);
    if (hwnd == 0) {
        // Timers without a window get an id of their own.
        uintptr_t next = 1;
        for (const auto& t : core.timers) {
            if (t->hwnd == 0) {
                next = std::max(next, t->id + 1);
            }
        }
        id = next;
    }
    const uint32_t now = core.backend.TickCount();
    for (auto& t : core.timers) {
        if (t->hwnd == hwnd && t->id == id) {
            t->elapse = elapse;
            t->due = now + elapse;
            t->proc = std::move(proc);
            return hwnd == 0 ? id : 1;
        }
    }
    auto timer = std::make_unique<WindowCore::Timer>();
    timer->hwnd = hwnd;
    timer->id = id;
    timer->elapse = elapse;
    timer->due = now + elapse;
    timer->proc = std::move(proc);
    core.timers.push_back(std::move(timer));
    return hwnd == 0 ? id : 1;
}

bool KillTimer(HWND hwnd, uintptr_t id) {
    auto& core = WindowApi::Core();
    const size_t before = core.timers.size();
    std::erase_if(core.timers, [&](const auto& t) { return t->hwnd == hwnd && t->id == id; });
    std::erase_if(core.posted, [&](const MSG& m) {
        return m.message == WM_TIMER && m.hwnd == hwnd && m.wParam == id;
    });
    return core.timers.size() != before;
}

uint32_t GetTickCount() {
    return WindowCore::Current().GetBackend().TickCount();
}

// --- System ------------------------------------------------------------------

bool SystemParametersInfo(uint32_t action, uint32_t, void* out, uint32_t) {
    if (out == nullptr) {
        return false;
    }
    switch (action) {
        case SPI_GETWORKAREA:
            *static_cast<RECT*>(out) = WindowCore::Current().GetBackend().WorkArea();
            return true;
        case SPI_GETMOUSEHOVERTIME:
            *static_cast<uint32_t*>(out) = kDefaultHoverTime;
            return true;
        case SPI_GETWHEELSCROLLLINES:
            *static_cast<uint32_t*>(out) = kWheelLines;
            return true;
        default:
            return false;
    }
}

std::string GetClipboardText() {
    return WindowCore::Current().GetBackend().ClipboardText();
}

bool SetClipboardText(std::string_view text) {
    WindowCore::Current().GetBackend().SetClipboardText(std::string(text));
    return true;
}

void SetCursorShape(int16_t pointer, const PixelBuffer* icon) {
    WindowCore::Current().GetBackend().SetCursorShape(pointer, icon);
}

}  // namespace kelvara
