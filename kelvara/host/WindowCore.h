#pragma once

// The window core: a small, deterministic window system with the host's
// messages and rules, for one UI thread.
//
//   input (backend) → Inject* → routing (capture, window under the point,
//   focus) → posted queue → GetMessage / PeekMessage → DispatchMessage →
//   hooks → window procedure
//
// Windows have a parent (children sit in their parent's client area) or an
// owner (top-level windows stay above their owner), a rectangle, style
// bits, a region and a window procedure. There is no non-client area: a
// window's client rectangle is its whole rectangle, and the owner-drawn
// frames of the controls use WM_NCLBUTTONDOWN with hit-test codes to be
// moved and sized. Each window keeps a picture of itself (its surface) that
// it paints into on WM_PAINT; a screen is those pictures composed.
//
// Messages are read in the host's order: posted messages, then input, then
// WM_PAINT for invalid windows, then WM_TIMER for due timers. The calls
// below are those of the host, on the current core (WindowCore::Current).
//
// A mouse move that no capture holds first asks the window under the mouse
// which pointer to show (WM_SETCURSOR, sent as the move is read): a child
// hands the question to its parent first, and a window that answers 1 has
// called SetCursorShape; when none answers, the default arrow shows.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Region.h"
#include "kelvara/host/Win32.h"

namespace kelvara {

using WNDPROC = std::function<LRESULT(HWND, uint32_t, WPARAM, LPARAM)>;
using TIMERPROC = std::function<void(HWND, uint32_t, uintptr_t, uint32_t)>;
// A hook sees a message before the window procedure; setting handled stops
// it there, and the hook's result is the message's result.
using HOOKPROC = std::function<LRESULT(HWND, uint32_t, WPARAM, LPARAM, bool& handled)>;

// What the core needs from the machine: a clock, the screen's size and
// work area, waiting for input, and the clipboard.
class Backend {
public:
    virtual ~Backend() = default;
    // Milliseconds since some start; wraps as the host's does.
    virtual uint32_t TickCount() const = 0;
    virtual RECT ScreenRect() const = 0;
    virtual RECT WorkArea() const = 0;
    // Called when GetMessage finds nothing to do: delivers input (through
    // the core's Inject calls) or moves the clock. False when nothing can
    // ever come, and GetMessage then gives up.
    virtual bool WaitForInput() = 0;
    // A top-level window moved, changed size, visibility, order or style,
    // or a window in it did.
    virtual void TopLevelChanged(HWND) {}
    // Part of what a top-level window shows may have changed: `area` is in
    // that window's pixels. Notices overlap and come often; a backend that
    // keeps pictures of its own redraws only these parts.
    virtual void TopLevelDirty(HWND, const RECT& /*area*/) {}
    // The mouse pointer to show now: a MousePointer value (0 the default
    // arrow, 3 the I-beam, 6 to 9 the sizing arrows ...), and for 99 its
    // picture (may be null).
    virtual void SetCursorShape(int16_t /*pointer*/, const PixelBuffer* /*icon*/) {}
    virtual std::string ClipboardText() { return clipboard; }
    virtual void SetClipboardText(std::string text) { clipboard = std::move(text); }

private:
    std::string clipboard;
};

// How a window is made: the host's CreateWindowEx arguments, with the
// procedure and class style given directly instead of through a class.
struct WindowSpec {
    uint32_t ExStyle = 0;
    std::string ClassName;
    std::string Text;
    uint32_t Style = 0;
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    // With WS_CHILD the parent; otherwise the owner (0 for none).
    HWND Parent = 0;
    uint32_t ClassStyle = CS_DBLCLKS;
    WNDPROC Proc;
};

// Input as a backend delivers it, in screen pixels.
enum class MouseButton { Left, Right, Middle, X1, X2 };

class WindowCore {
public:
    explicit WindowCore(Backend& backend);
    ~WindowCore();
    WindowCore(const WindowCore&) = delete;
    WindowCore& operator=(const WindowCore&) = delete;

    // The core the host calls act on: the last one made that still lives,
    // else one made on first use over the machine's clock with no input.
    static WindowCore& Current();

    Backend& GetBackend();

    // --- Input from the backend -------------------------------------------
    // Each is queued as input and routed when the message loop reads it.
    void InjectMouseMove(int32_t x, int32_t y);
    void InjectMouseButton(MouseButton button, bool down, int32_t x, int32_t y);
    // delta in WHEEL_DELTA units of 120 per notch; positive away from the user
    // (vertical) or to the right (horizontal).
    void InjectWheel(int32_t delta, bool horizontal, int32_t x, int32_t y);
    void InjectKey(int32_t vk, bool down);
    // A key press whose character the machine's keyboard layout already
    // knows (0 for none, as for a dead key): TranslateMessage posts that
    // character instead of the one it would make from the key alone, so
    // Caps Lock, AltGr and other layouts type what the keyboard shows.
    void InjectTypedKey(int32_t vk, char32_t typed);
    // A character that no key stands for (accents, dead keys): a WM_CHAR on
    // its own.
    void InjectChar(char32_t c);
    bool HasPendingInput() const;

    // Due timers and hover notices are checked against the backend's clock
    // whenever the queue runs dry; a backend that moves its clock calls this
    // to have them looked at at once.
    void ClockMoved();
    // The earliest time a timer is due, if any.
    std::optional<uint32_t> NextTimerDue() const;

    // --- Pictures ---------------------------------------------------------
    // The window's own surface, the size of its rectangle.
    PixelBuffer* Surface(HWND hwnd);
    // The window and its visible children as they show on screen, the
    // size of the window.
    bool Compose(HWND hwnd, PixelBuffer& out);
    // Composes again only `area` (window pixels) of a picture Compose made
    // earlier; `out` must have the window's size. False when it has not.
    bool ComposeArea(HWND hwnd, PixelBuffer& out, const RECT& area);
    // All visible top-level windows in their order, over `out` as it is
    // (the caller draws the desktop under them).
    void ComposeScreen(PixelBuffer& out);

    // All top-level windows, bottom first.
    std::vector<HWND> TopLevelWindows() const;

    struct Window;
    struct Timer;
    struct Delivery;
    struct PendingInput;
    struct State;

private:
    friend class WindowApi;
    std::unique_ptr<State> state;
};

// --- Windows --------------------------------------------------------------
// Sizes and places are kept within these, whatever a caller asks for: a
// window's picture then stays under 256 MB and no edge overflows.
inline constexpr int32_t kMaxWindowSide = 8192;
inline constexpr int32_t kMaxWindowCoordinate = 1 << 24;

HWND CreateWindowEx(const WindowSpec& spec);
HWND CreateWindowEx(uint32_t exStyle, std::string_view className, std::string_view windowName,
                    uint32_t style, int32_t x, int32_t y, int32_t width, int32_t height,
                    HWND parent, WNDPROC proc);
bool DestroyWindow(HWND hwnd);
bool IsWindow(HWND hwnd);
LRESULT DefWindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
// Replaces the procedure; returns the previous one.
WNDPROC SetWindowProc(HWND hwnd, WNDPROC proc);
LRESULT CallWindowProc(const WNDPROC& proc, HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);

// Hooks run newest first; each id removes its hook. A hook removed while a
// message is on its way is not called for it.
int32_t AddWindowHook(HWND hwnd, HOOKPROC hook);
bool RemoveWindowHook(HWND hwnd, int32_t id);
// From inside a hook: hands the message on to the hooks older than the one
// running and then to the window procedure, and gives back their result, so
// a hook can see (and change) what the window answered; the hook then sets
// handled and returns that result. Outside a hook of the window it is
// SendMessage.
LRESULT CallNextHook(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);

HWND GetParent(HWND hwnd);
HWND SetParent(HWND hwnd, HWND newParent);
HWND GetOwner(HWND hwnd);
HWND GetAncestorTop(HWND hwnd);            // the top-level window a window belongs to
std::vector<HWND> GetChildren(HWND hwnd);  // bottom first
std::string GetClassName(HWND hwnd);
std::string GetWindowText(HWND hwnd);
bool SetWindowText(HWND hwnd, std::string_view text);
// The picture a window system shows for a top-level window (its title
// bar's and task bar's icon); nullptr for none. The picture is shared,
// not copied. A backend hears of a change through TopLevelChanged.
bool SetWindowIcon(HWND hwnd, std::shared_ptr<const PixelBuffer> icon);
std::shared_ptr<const PixelBuffer> GetWindowIcon(HWND hwnd);

// GWL_STYLE, GWL_EXSTYLE, GWL_HWNDPARENT (the owner), GWL_ID, GWL_USERDATA.
intptr_t GetWindowLong(HWND hwnd, int32_t index);
intptr_t SetWindowLong(HWND hwnd, int32_t index, intptr_t value);

bool ShowWindow(HWND hwnd, int32_t command);
bool IsWindowVisible(HWND hwnd);  // it and all its parents are shown
bool IsIconic(HWND hwnd);
bool IsZoomed(HWND hwnd);
bool EnableWindow(HWND hwnd, bool enable);  // returns whether it was disabled
bool IsWindowEnabled(HWND hwnd);

bool SetWindowPos(HWND hwnd, HWND insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                  uint32_t flags);
bool MoveWindow(HWND hwnd, int32_t x, int32_t y, int32_t width, int32_t height,
                bool repaint = true);
// In screen pixels.
bool GetWindowRect(HWND hwnd, RECT& rect);
// (0, 0, width, height).
bool GetClientRect(HWND hwnd, RECT& rect);
bool ClientToScreen(HWND hwnd, POINT& point);
bool ScreenToClient(HWND hwnd, POINT& point);
// The window takes a copy; nullptr removes the region. In window pixels.
bool SetWindowRgn(HWND hwnd, const Region* region, bool redraw = true);
std::optional<Region> GetWindowRgn(HWND hwnd);
bool SetLayeredWindowAttributes(HWND hwnd, COLORREF key, uint8_t alpha, uint32_t flags);
// What SetLayeredWindowAttributes set; false for a window that is not
// layered.
bool GetLayeredWindowAttributes(HWND hwnd, COLORREF& key, uint8_t& alpha, uint32_t& flags);

// The topmost visible, enabled window under a screen point whose region
// holds it; children before parents. 0 for none.
HWND WindowFromPoint(POINT point);

// --- Messages -------------------------------------------------------------
LRESULT SendMessage(HWND hwnd, uint32_t msg, WPARAM wParam = 0, LPARAM lParam = 0);
bool PostMessage(HWND hwnd, uint32_t msg, WPARAM wParam = 0, LPARAM lParam = 0);
void PostQuitMessage(int32_t exitCode);
// Waits for a message; False on WM_QUIT or when the backend has nothing
// more to give (its script ran out).
bool GetMessage(MSG& msg, HWND filter = 0);
bool PeekMessage(MSG& msg, HWND filter = 0, uint32_t remove = PM_REMOVE);
// A filter sees each message a loop takes (GetMessage, and PeekMessage with
// PM_REMOVE) before the loop gets it, newest filter first; returning true
// consumes the message, as a dialog's keyboard handling does. Returns the
// filter's id.
using MSGFILTER = std::function<bool(const MSG&)>;
int32_t AddMessageFilter(MSGFILTER filter);
bool RemoveMessageFilter(int32_t id);
// Key presses that make characters post WM_CHAR.
bool TranslateMessage(const MSG& msg);
LRESULT DispatchMessage(const MSG& msg);
// Handles everything waiting (posted messages, input, paints, due
// timers), then returns. The number of messages handled.
int32_t DoEvents();

// --- Painting -------------------------------------------------------------
bool InvalidateRect(HWND hwnd, const RECT* rect, bool erase = true);
bool ValidateRect(HWND hwnd, const RECT* rect);
bool GetUpdateRect(HWND hwnd, RECT& rect);
bool UpdateWindow(HWND hwnd);
bool RedrawWindow(HWND hwnd, const RECT* rect, const Region* region, uint32_t flags);
// A canvas on the window's surface clipped to what needs painting; nullptr
// for no window.
Canvas* BeginPaint(HWND hwnd, PAINTSTRUCT& paint);
bool EndPaint(HWND hwnd, const PAINTSTRUCT& paint);
// A canvas on the window's whole surface, kept by the window.
Canvas* GetDC(HWND hwnd);

// --- Input state ----------------------------------------------------------
HWND SetCapture(HWND hwnd);
bool ReleaseCapture();
HWND GetCapture();
HWND SetFocus(HWND hwnd);
HWND GetFocus();
HWND GetActiveWindow();
HWND SetActiveWindow(HWND hwnd);
bool GetCursorPos(POINT& point);
bool SetCursorPos(int32_t x, int32_t y);
// Bit 15 set while the key is down (mouse buttons included).
int16_t GetAsyncKeyState(int32_t vk);
int16_t GetKeyState(int32_t vk);
// Queues a key press or release as if typed.
void keybd_event(uint8_t vk, uint8_t scan, uint32_t flags, uintptr_t extraInfo);
bool TrackMouseEvent(TRACKMOUSEEVENT& track);
uint32_t GetDoubleClickTime();

// --- Time -----------------------------------------------------------------
// WM_TIMER to the window (or the procedure, when given) every `elapse`
// milliseconds on the backend's clock. Returns the timer's id, 0 on
// failure; an id already used by the window restarts that timer.
uintptr_t SetTimer(HWND hwnd, uintptr_t id, uint32_t elapse, TIMERPROC proc = nullptr);
bool KillTimer(HWND hwnd, uintptr_t id);
uint32_t GetTickCount();

// --- System ---------------------------------------------------------------
// SPI_GETWORKAREA (RECT*), SPI_GETMOUSEHOVERTIME and
// SPI_GETWHEELSCROLLLINES (uint32_t*). False for other actions.
bool SystemParametersInfo(uint32_t action, uint32_t param, void* out, uint32_t winIni = 0);
// The classic Windows scheme's colour of a COLOR_ index; black for an index
// out of range.
COLORREF GetSysColor(int32_t index);
std::string GetClipboardText();
bool SetClipboardText(std::string_view text);
// Shows a mouse pointer (see Backend::SetCursorShape); windows call it
// when they answer WM_SETCURSOR.
void SetCursorShape(int16_t pointer, const PixelBuffer* icon = nullptr);

}  // namespace kelvara
