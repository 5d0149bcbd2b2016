#include "kelvara/frame/detail/TooltipWindow.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/frame/APISubclass.h"
#include "kelvara/frame/APITooltip.h"
#include "kelvara/frame/ColorRoutines.h"
#include "kelvara/frame/detail/TooltipLayout.h"

namespace kelvara::detail {

namespace {

constexpr uint32_t kStyleBits = TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON;
constexpr COLORREF kInfoTextColor = 0x000000;
constexpr COLORREF kInfoBackColor = 0xE1FFFF;

enum class Phase { Idle, Waiting, Shown, Spent };

struct Tool {
    uint32_t flags = 0;
    HWND hwnd = 0;
    uintptr_t id = 0;
    RECT rect;
    std::string text;

    // The window whose mouse makes the tool: with TTF_IDISHWND the id.
    HWND Window() const { return (flags & TTF_IDISHWND) != 0 ? static_cast<HWND>(id) : hwnd; }
    bool Holds(HWND window, POINT client) const {
        if ((flags & TTF_IDISHWND) != 0) {
            return Window() == window;
        }
        return hwnd == window && client.X >= rect.Left && client.X < rect.Right &&
               client.Y >= rect.Top && client.Y < rect.Bottom;
    }
};

// The state of one tip window, held by its procedure.
class Tip final : public ISubclass {
public:
    Tip() : scratch(scratchPixels) { scratchPixels.Allocate(1, 1); }
    // The window is gone by now (its timers with it): only the hooks on the
    // tools are let go.
    ~Tip() override { watches.clear(); }

    HWND self = 0;

    LRESULT Proc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    void Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND hWnd,
                            uint32_t uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    bool AddTool(const TOOLINFO* info);
    void DelTool(const TOOLINFO* info);
    void UpdateTipText(const TOOLINFO* info);
    Tool* FindTool(HWND hwnd, uintptr_t id);
    void RemoveTool(const Tool* tool);
    void Watch(HWND window);
    void Unwatch(HWND window);
    // Drops every tool and hook and stops the timers.
    void Forget();

    void SetDelay(WPARAM which, LPARAM lParam);
    uint32_t Delay(WPARAM which) const;

    void Moved(Tool* tool, POINT screen);
    void StartWaiting();
    void Show();
    void Layout();
    void Pop();
    void Leave();

    std::vector<std::unique_ptr<Tool>> tools;
    std::map<HWND, std::unique_ptr<WindowSubclass>> watches;
    Tool* current = nullptr;
    Phase phase = Phase::Idle;
    POINT lastMove;  // where the mouse last moved in the tool, on the screen
    POINT anchor;    // the cursor when the tip came up
    bool active = true;
    int32_t icon = 0;
    std::string title;
    COLORREF textColor = kInfoTextColor;
    COLORREF backColor = kInfoBackColor;
    int32_t maxWidth = -1;
    uint32_t initial = 0;
    uint32_t autoPop = 0;
    uint32_t reshow = 0;
    bool delaysSet = false;

    // What is showing.
    TipContent content;
    TipBox box;
    TipPlace place;

    PixelBuffer scratchPixels;
    Canvas scratch;
};

// --- Tools -------------------------------------------------------------------------

Tool* Tip::FindTool(HWND hwnd, uintptr_t id) {
    for (auto& t : tools) {
        if (t->hwnd == hwnd && t->id == id) {
            return t.get();
        }
    }
    return nullptr;
}

bool Tip::AddTool(const TOOLINFO* info) {
    if (info == nullptr || info->cbSize < kToolInfoSize) {
        return false;
    }
    Tool* tool = FindTool(info->hwnd, info->uId);
    if (tool == nullptr) {
        tools.push_back(std::make_unique<Tool>());
        tool = tools.back().get();
    }
    tool->flags = info->uFlags;
    tool->hwnd = info->hwnd;
    tool->id = info->uId;
    tool->rect = info->rect;
    tool->text = info->lpszText != nullptr ? info->lpszText : "";
    if ((tool->flags & TTF_SUBCLASS) != 0) {
        Watch(tool->Window());
    }
    return true;
}

void Tip::DelTool(const TOOLINFO* info) {
    if (info == nullptr || info->cbSize < kToolInfoSize) {
        return;
    }
    if (const Tool* tool = FindTool(info->hwnd, info->uId)) {
        RemoveTool(tool);
    }
}

void Tip::UpdateTipText(const TOOLINFO* info) {
    if (info == nullptr || info->cbSize < kToolInfoSize) {
        return;
    }
    if (Tool* tool = FindTool(info->hwnd, info->uId)) {
        tool->text = info->lpszText != nullptr ? info->lpszText : "";
        if (tool == current && phase == Phase::Shown) {
            Layout();
        }
    }
}

void Tip::RemoveTool(const Tool* tool) {
    if (tool == current) {
        Leave();
    }
    const HWND window = tool->Window();
    std::erase_if(tools, [&](const auto& t) { return t.get() == tool; });
    const bool stillWatched = std::any_of(tools.begin(), tools.end(), [&](const auto& t) {
        return (t->flags & TTF_SUBCLASS) != 0 && t->Window() == window;
    });
    if (!stillWatched) {
        Unwatch(window);
    }
}

void Tip::Watch(HWND window) {
    if (watches.contains(window) || !IsWindow(window)) {
        return;
    }
    auto watch = std::make_unique<WindowSubclass>();
    for (const eMsg m : {eMsg::WM_MOUSEMOVE, eMsg::WM_MOUSELEAVE, eMsg::WM_CANCELMODE,
                         eMsg::WM_NCDESTROY, eMsg::WM_LBUTTONDOWN, eMsg::WM_RBUTTONDOWN,
                         eMsg::WM_MBUTTONDOWN, eMsg::WM_XBUTTONDOWN, eMsg::WM_LBUTTONDBLCLK,
                         eMsg::WM_RBUTTONDBLCLK, eMsg::WM_MBUTTONDBLCLK, eMsg::WM_XBUTTONDBLCLK}) {
        watch->AddMsg(m, eMsgWhen::MSG_BEFORE);
    }
    if (watch->Attach(window, *this)) {
        watches.emplace(window, std::move(watch));
    }
}

void Tip::Unwatch(HWND window) {
    // The hook may be the one running: WindowSubclass lets go safely then.
    watches.erase(window);
}

void Tip::Forget() {
    current = nullptr;
    phase = Phase::Idle;
    tools.clear();
    watches.clear();
    if (self != 0) {
        KillTimer(self, kInitialTimer);
        KillTimer(self, kAutoPopTimer);
    }
}

// --- Delays ------------------------------------------------------------------------

uint32_t Tip::Delay(WPARAM which) const {
    // Until told otherwise the host's rule: the initial delay is the
    // double-click time, a tip stays ten times that, and moving on to the
    // next tool takes a fifth of it.
    const uint32_t base = GetDoubleClickTime();
    switch (which) {
        case TTDT_RESHOW:
            return delaysSet ? reshow : base / 5;
        case TTDT_AUTOPOP:
            return delaysSet ? autoPop : base * 10;
        case TTDT_INITIAL:
            return delaysSet ? initial : base;
        default:
            return 0;
    }
}

void Tip::SetDelay(WPARAM which, LPARAM lParam) {
    if (!delaysSet) {
        initial = Delay(TTDT_INITIAL);
        autoPop = Delay(TTDT_AUTOPOP);
        reshow = Delay(TTDT_RESHOW);
        delaysSet = true;
    }
    // Deliberate: the time is the low word, as the host's tips read it; a
    // negative value asks for the default.
    const bool byDefault = static_cast<int32_t>(lParam) < 0;
    const uint32_t time = LOWORD(static_cast<uintptr_t>(lParam));
    const uint32_t base = GetDoubleClickTime();
    switch (which) {
        case TTDT_AUTOMATIC: {
            const uint32_t t = byDefault ? base : time;
            initial = t;
            autoPop = t * 10;
            reshow = t / 5;
            break;
        }
        case TTDT_RESHOW:
            reshow = byDefault ? base / 5 : time;
            break;
        case TTDT_AUTOPOP:
            autoPop = byDefault ? base * 10 : time;
            break;
        case TTDT_INITIAL:
            initial = byDefault ? base : time;
            break;
        default:
            break;
    }
}

// --- Showing and hiding ---------------------------------------------------------------

void Tip::Moved(Tool* tool, POINT screen) {
    if (tool != current) {
        Leave();
        if (tool == nullptr) {
            return;
        }
        current = tool;
        lastMove = screen;
        // The tool tells us when the mouse has gone.
        TRACKMOUSEEVENT track;
        track.dwFlags = TME_LEAVE;
        track.hwndTrack = tool->Window();
        TrackMouseEvent(track);
        StartWaiting();
        return;
    }
    if (tool != nullptr && phase == Phase::Waiting && !(screen == lastMove)) {
        lastMove = screen;
        StartWaiting();  // the mouse must rest for the whole delay
    }
}

void Tip::StartWaiting() {
    phase = Phase::Waiting;
    SetTimer(self, kInitialTimer, Delay(TTDT_INITIAL));
}

void Tip::Show() {
    KillTimer(self, kInitialTimer);
    const uint32_t style = static_cast<uint32_t>(GetWindowLong(self, GWL_STYLE));
    const HWND window = current->Window();
    const bool formActive = GetActiveWindow() == GetAncestorTop(window);
    if (!active || current->text.empty() || ((style & TTS_ALWAYSTIP) == 0 && !formActive)) {
        phase = Phase::Spent;
        return;
    }
    GetCursorPos(anchor);
    phase = Phase::Shown;
    Layout();
    SetTimer(self, kAutoPopTimer, Delay(TTDT_AUTOPOP));
}

// Works out the tip's content, size and place, and puts it there.
void Tip::Layout() {
    const uint32_t style = static_cast<uint32_t>(GetWindowLong(self, GWL_STYLE));
    content.balloon = (style & TTS_BALLOON) != 0;
    content.noPrefix = (style & TTS_NOPREFIX) != 0;
    content.icon = icon;
    content.title = title;
    content.text = current->text;
    const int32_t text = TranslateColor(static_cast<int32_t>(textColor));
    const int32_t back = TranslateColor(static_cast<int32_t>(backColor));
    content.textColor = text < 0 ? kInfoTextColor : static_cast<COLORREF>(text);
    content.backColor = back < 0 ? kInfoBackColor : static_cast<COLORREF>(back);
    content.maxWidth = maxWidth;
    box = MeasureTip(scratch, content);

    RECT tool;
    const HWND window = current->Window();
    if ((current->flags & TTF_IDISHWND) != 0) {
        GetWindowRect(window, tool);
    } else {
        POINT origin{0, 0};
        ClientToScreen(window, origin);
        tool = current->rect;
        tool = RECT{tool.Left + origin.X, tool.Top + origin.Y, tool.Right + origin.X,
                    tool.Bottom + origin.Y};
    }
    RECT work;
    SystemParametersInfo(SPI_GETWORKAREA, 0, &work);
    place = PlaceTip(box.size, content.balloon, (current->flags & TTF_CENTERTIP) != 0, anchor, tool,
                     work);
    const Region shape = TipRegion(box.size, content.balloon, place);
    SetWindowRgn(self, content.balloon ? &shape : nullptr, false);
    SetWindowPos(self, HWND_TOPMOST, place.window.Left, place.window.Top, place.window.Width(),
                 place.window.Height(), SWP_NOACTIVATE | SWP_SHOWWINDOW);
    InvalidateRect(self, nullptr, true);
}

void Tip::Pop() {
    KillTimer(self, kInitialTimer);
    KillTimer(self, kAutoPopTimer);
    if (IsWindowVisible(self)) {
        ShowWindow(self, SW_HIDE);
    }
    phase = current != nullptr ? Phase::Spent : Phase::Idle;
}

void Tip::Leave() {
    Pop();
    current = nullptr;
    phase = Phase::Idle;
}

// --- Messages ------------------------------------------------------------------------

void Tip::Magic_SubclassProc(bool bBefore, bool& bHandled, LRESULT& lReturn, HWND hWnd,
                             uint32_t uMsg, WPARAM wParam, LPARAM lParam) {
    (void)bBefore;
    (void)bHandled;
    (void)lReturn;
    (void)wParam;
    switch (uMsg) {
        case WM_MOUSEMOVE: {
            const POINT client{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
            Tool* hit = nullptr;
            for (auto& t : tools) {
                if ((t->flags & TTF_SUBCLASS) != 0 && t->Holds(hWnd, client)) {
                    hit = t.get();
                    break;
                }
            }
            POINT screen = client;
            ClientToScreen(hWnd, screen);
            Moved(hit, screen);
            break;
        }
        case WM_MOUSELEAVE:
            if (current != nullptr && current->Window() == hWnd) {
                Leave();
            }
            break;
        case WM_NCDESTROY: {
            // The tool's window is ending: its tools go with it.
            std::vector<const Tool*> gone;
            for (const auto& t : tools) {
                if (t->Window() == hWnd) {
                    gone.push_back(t.get());
                }
            }
            for (const Tool* t : gone) {
                RemoveTool(t);
            }
            Unwatch(hWnd);
            break;
        }
        default:
            // A button press or a cancelled mode puts the tip away until
            // the mouse comes back.
            if (current != nullptr && current->Window() == hWnd) {
                Pop();
            }
            break;
    }
}

LRESULT Tip::Proc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case TTM_ACTIVATE:
            active = wParam != 0;
            if (!active) {
                Pop();
            }
            return 0;
        case TTM_SETDELAYTIME:
            SetDelay(wParam, lParam);
            return 0;
        case TTM_GETDELAYTIME:
            return static_cast<LRESULT>(Delay(wParam));
        case TTM_ADDTOOL:
            return AddTool(reinterpret_cast<const TOOLINFO*>(lParam)) ? 1 : 0;
        case TTM_DELTOOL:
            DelTool(reinterpret_cast<const TOOLINFO*>(lParam));
            return 0;
        case TTM_UPDATETIPTEXT:
            UpdateTipText(reinterpret_cast<const TOOLINFO*>(lParam));
            return 0;
        case TTM_GETTOOLCOUNT:
            return static_cast<LRESULT>(tools.size());
        case TTM_SETTIPBKCOLOR:
        case TTM_SETTIPTEXTCOLOR:
            (msg == TTM_SETTIPBKCOLOR ? backColor : textColor) = static_cast<COLORREF>(wParam);
            if (phase == Phase::Shown) {
                Layout();
            }
            return 0;
        case TTM_GETTIPBKCOLOR:
            return static_cast<LRESULT>(backColor);
        case TTM_GETTIPTEXTCOLOR:
            return static_cast<LRESULT>(textColor);
        case TTM_SETMAXTIPWIDTH: {
            const int32_t previous = maxWidth;
            const auto width = static_cast<int32_t>(lParam);
            maxWidth = width > 0 ? width : -1;
            return previous;
        }
        case TTM_POP:
            Pop();
            return 0;
        case TTM_SETTITLE:
            if (lParam == 0) {
                return 0;
            }
            // Numbers past the three icons would be icon handles on the
            // host; there are none here, so they show no icon.
            icon = wParam <= TTI_ERROR ? static_cast<int32_t>(wParam) : 0;
            title = reinterpret_cast<const char*>(lParam);
            if (phase == Phase::Shown) {
                Layout();
            }
            return 1;
        case WM_TIMER:
            if (wParam == kInitialTimer) {
                KillTimer(hwnd, kInitialTimer);
                if (phase == Phase::Waiting && current != nullptr) {
                    Show();
                }
            } else if (wParam == kAutoPopTimer) {
                Pop();
            }
            return 0;
        case WM_NCHITTEST:
            return HTTRANSPARENT;
        case WM_PAINT: {
            PAINTSTRUCT paint;
            if (Canvas* canvas = BeginPaint(hwnd, paint)) {
                if (phase == Phase::Shown) {
                    PaintTip(*canvas, content, box, place);
                }
                EndPaint(hwnd, paint);
            }
            return 0;
        }
        case WM_NCDESTROY:
            Forget();
            return DefWindowProc(hwnd, msg, wParam, lParam);
        default:
            return DefWindowProc(hwnd, msg, wParam, lParam);
    }
}

}  // namespace

Event<HWND>& TooltipWindowCreated() {
    static Event<HWND> created;
    return created;
}

HWND CreateTooltipWindow(uint32_t style, HWND owner) {
    auto tip = std::make_shared<Tip>();
    WindowSpec spec;
    spec.ExStyle = WS_EX_TOPMOST | WS_EX_TRANSPARENT | WS_EX_TOOLWINDOW;
    spec.ClassName = std::string(kTooltipClass);
    spec.Style = WS_POPUP | (style & kStyleBits);
    spec.Parent = owner;
    spec.ClassStyle = 0;
    spec.Proc = [tip](HWND h, uint32_t m, WPARAM w, LPARAM l) { return tip->Proc(h, m, w, l); };
    const HWND hwnd = CreateWindowEx(spec);
    if (hwnd == 0) {
        return 0;
    }
    tip->self = hwnd;
    TooltipWindowCreated().Raise(hwnd);
    return hwnd;
}

bool IsTooltipWindow(HWND hwnd) {
    return IsWindow(hwnd) && GetClassName(hwnd) == kTooltipClass;
}

}  // namespace kelvara::detail
