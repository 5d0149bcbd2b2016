#pragma once

// The window core's records and the functions its calls share, for the two
// files that implement them (WindowCore.cpp: the core, routing and
// composing; WindowCalls.cpp: the host's calls).

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kelvara/host/WindowCore.h"

namespace kelvara {

// --- The core's records ------------------------------------------------------

struct WindowCore::Window {
    HWND hwnd = 0;
    std::string className;
    std::string text;
    std::shared_ptr<const PixelBuffer> icon;
    uint32_t style = 0;
    uint32_t exStyle = 0;
    uint32_t classStyle = 0;
    HWND parent = 0;  // a child's parent
    HWND owner = 0;   // a top-level window's owner
    RECT rect;        // in the parent's client pixels, or the screen's
    WNDPROC proc;
    std::vector<std::pair<int32_t, HOOKPROC>> hooks;
    int32_t nextHook = 1;
    std::vector<HWND> children;  // bottom first
    std::optional<Region> region;
    PixelBuffer surface;
    std::unique_ptr<Canvas> dc;
    std::unique_ptr<Canvas> paintDC;
    std::optional<Region> update;
    bool erase = false;
    bool redraw = true;
    bool iconic = false;
    bool zoomed = false;
    RECT restoreRect;
    uint32_t layeredFlags = 0;
    uint8_t alpha = 255;
    COLORREF colorKey = 0;
    intptr_t id = 0;
    intptr_t userData = 0;
    bool destroying = false;

    int32_t Width() const { return rect.Right - rect.Left; }
    int32_t Height() const { return rect.Bottom - rect.Top; }
    bool IsChild() const { return (style & WS_CHILD) != 0; }
};

struct WindowCore::Timer {
    HWND hwnd = 0;
    uintptr_t id = 0;
    uint32_t elapse = 0;
    uint32_t due = 0;
    TIMERPROC proc;
};

struct WindowCore::PendingInput {
    enum class Kind { Move, Button, Wheel, Key, Char } kind = Kind::Move;
    POINT pt;
    MouseButton button = MouseButton::Left;
    bool down = false;
    bool horizontal = false;
    int32_t delta = 0;
    int32_t vk = 0;
    char32_t c = 0;
    // A key press that brings its character along (InjectTypedKey).
    std::optional<char32_t> typed;
};

// A message on its way along a window's hooks: the hooks as they were when
// it set out, and how far it has come (hooks[next - 1] is the next to run).
struct WindowCore::Delivery {
    HWND hwnd = 0;
    std::vector<std::pair<int32_t, HOOKPROC>> hooks;
    size_t next = 0;
    // Set once a hook or the procedure has answered, so that a hook that
    // handed the message on and then leaves it unhandled does not run it
    // twice.
    bool answered = false;
    LRESULT result = 0;
};

struct WindowCore::State {
    explicit State(Backend& backend) : backend(backend) {}
    Backend& backend;
    WindowCore* previous = nullptr;
    HWND nextHandle = 0x10010;
    std::map<HWND, std::unique_ptr<Window>> windows;
    std::vector<HWND> topLevels;  // bottom first
    std::deque<MSG> posted;
    std::deque<std::unique_ptr<PendingInput>> input;
    std::vector<std::unique_ptr<Timer>> timers;
    // Messages being delivered, innermost last.
    std::vector<Delivery*> deliveries;
    HWND capture = 0;
    HWND focus = 0;
    HWND active = 0;
    HWND mouseWindow = 0;  // the window the mouse was last routed to
    POINT cursor;
    uint8_t keys[256] = {};
    // The character the key press just routed types, when the backend
    // said so: TranslateMessage takes it for that message only.
    struct TypedKey {
        MSG msg;
        char32_t c = 0;
    };
    std::optional<TypedKey> typedKey;
    bool quit = false;
    int32_t quitCode = 0;
    std::vector<std::pair<int32_t, MSGFILTER>> filters;  // oldest first
    int32_t nextFilterId = 0;
    // The last button press, for double clicks.
    struct LastClick {
        HWND hwnd = 0;
        uint32_t message = 0;
        uint32_t time = 0;
        POINT pt;
        // The side buttons share their messages, so the button tells them
        // apart.
        MouseButton button = MouseButton::Left;
    } lastClick;
    // A window being moved or sized by the mouse after WM_NCLBUTTONDOWN.
    struct Tracking {
        HWND hwnd = 0;
        int32_t hit = 0;
        POINT start;
        RECT startRect;
    } tracking;
    // TrackMouseEvent's request.
    struct MouseTrack {
        HWND hwnd = 0;
        uint32_t flags = 0;
        uint32_t hoverTime = 400;
        uint32_t since = 0;
        POINT at;
    } mouseTrack;
};

// The calls of the host, as friends of the core.
class WindowApi {
public:
    using Window = WindowCore::Window;

    static WindowCore::State& Core() { return *WindowCore::Current().state; }
    static Window* Find(HWND hwnd) {
        auto& windows = Core().windows;
        auto it = windows.find(hwnd);
        return it == windows.end() ? nullptr : it->second.get();
    }
    static LRESULT Deliver(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    static LRESULT RunHooks(WindowCore::Delivery& d, uint32_t msg, WPARAM wParam, LPARAM lParam);
    static LRESULT ContinueDelivery(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    static void Resize(Window& w, int32_t width, int32_t height);
    static void BringToTop(HWND hwnd);
    static void ToBottom(HWND hwnd);
    static std::vector<HWND> OrderedTopLevels();
    static bool Contains(const Window& w, POINT client);
    static HWND ChildFromPoint(HWND hwnd, POINT client);
    static bool InSubtree(HWND root, HWND hwnd);
    static uint32_t MouseFlags();
    static std::optional<MSG> Route(WindowCore::PendingInput& in);
    static void Track(POINT pt);
    static void CheckLeave();
    static void Maximize(HWND hwnd);
    static void Minimize(HWND hwnd);
    static void Restore(HWND hwnd);
    static MINMAXINFO MinMax(HWND hwnd);
    static void ActivateNext(HWND leaving);
    static void DestroyTree(HWND hwnd);
    static bool PeekCore(MSG& msg, HWND filter, bool remove);
    static void ComposeInto(HWND hwnd, PixelBuffer& out, int32_t x, int32_t y, const RECT& clip);
    static void Changed(HWND hwnd);
    // Part of a window's picture (window pixels) changed: told to the
    // backend in its top-level window's pixels.
    static void Dirty(HWND hwnd, const RECT& area);
    static void AskCursor(HWND target);
};

namespace detail {

inline constexpr uint32_t kDefaultHoverTime = 400;
inline constexpr uint32_t kWheelLines = 3;
inline constexpr uint32_t kDoubleClickTime = 500;
inline constexpr int32_t kDoubleClickDistance = 2;  // either way, in pixels
inline constexpr int32_t kHoverDistance = 2;
inline constexpr uint32_t kMinimumTimer = 10;
inline constexpr COLORREF kNewSurface = 0xFFFFFF;

// Whether `due` has come at `now`, across the clock's wrap.
inline bool Reached(uint32_t now, uint32_t due) {
    return static_cast<int32_t>(now - due) >= 0;
}

inline RECT Intersect(const RECT& a, const RECT& b) {
    return RECT{std::max(a.Left, b.Left), std::max(a.Top, b.Top), std::min(a.Right, b.Right),
                std::min(a.Bottom, b.Bottom)};
}

inline int32_t VkOf(MouseButton button) {
    switch (button) {
        case MouseButton::Left:
            return VK_LBUTTON;
        case MouseButton::Right:
            return VK_RBUTTON;
        case MouseButton::Middle:
            return VK_MBUTTON;
        case MouseButton::X1:
            return VK_XBUTTON1;
        case MouseButton::X2:
            return VK_XBUTTON2;
    }
    return VK_LBUTTON;
}

// The down message of a button; up is +1 and double click +2.
inline uint32_t DownMessage(MouseButton button) {
    switch (button) {
        case MouseButton::Left:
            return WM_LBUTTONDOWN;
        case MouseButton::Right:
            return WM_RBUTTONDOWN;
        case MouseButton::Middle:
            return WM_MBUTTONDOWN;
        case MouseButton::X1:
        case MouseButton::X2:
            return WM_XBUTTONDOWN;
    }
    return WM_LBUTTONDOWN;
}

}  // namespace detail

}  // namespace kelvara
