#include "kelvara/backends/sdl/SdlDesktop.h"

#include <SDL.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "kelvara/backends/sdl/SdlMapping.h"
#include "kelvara/base/Text.h"

namespace kelvara {

using namespace sdl;

namespace {

// SDL has one event queue per process, so one desktop reads it.
bool desktopOpen = false;

// Where the mouse is said to be when it has left every window of ours for
// a place the core knows nothing of.
constexpr POINT kNowhere{-30000, -30000};

// Past this many separate changed parts, a window's changes are sent to
// its texture as one rectangle around them.
constexpr size_t kDirtyLimit = 8;

constexpr RECT kFallbackScreen{0, 0, 1366, 768};

RECT Clip(const RECT& a, const RECT& b) {
    return RECT{std::max(a.Left, b.Left), std::max(a.Top, b.Top), std::min(a.Right, b.Right),
                std::min(a.Bottom, b.Bottom)};
}

uint64_t Fingerprint(const PixelBuffer& picture) {
    uint64_t hash = 1469598103934665603ull;
    for (int32_t y = 0; y < picture.Height(); ++y) {
        const uint8_t* row = picture.Row(y);
        for (int32_t i = 0; i < picture.Stride(); ++i) {
            hash = (hash ^ row[i]) * 1099511628211ull;
        }
    }
    return hash ^ (static_cast<uint64_t>(picture.Width()) << 32) ^
           static_cast<uint64_t>(picture.Height());
}

// A picture as an SDL surface, each logical pixel `scale` device pixels
// wide. Our pictures are premultiplied; SDL wants straight alpha.
SDL_Surface* StraightSurface(const PixelBuffer& icon, int32_t scale) {
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(
        0, icon.Width() * scale, icon.Height() * scale, 32, SDL_PIXELFORMAT_ARGB8888);
    if (surface == nullptr) {
        return nullptr;
    }
    SDL_LockSurface(surface);
    for (int32_t y = 0; y < surface->h; ++y) {
        auto* row =
            static_cast<uint8_t*>(surface->pixels) + static_cast<ptrdiff_t>(y) * surface->pitch;
        for (int32_t x = 0; x < surface->w; ++x) {
            const uint8_t* s = icon.Pixel(x / scale, y / scale);
            uint8_t* d = row + static_cast<ptrdiff_t>(x) * 4;
            const uint32_t a = s[3];
            for (int k = 0; k < 3; ++k) {
                d[k] =
                    a == 0
                        ? 0
                        : static_cast<uint8_t>(std::min<uint32_t>(255, (s[k] * 255 + a / 2) / a));
            }
            d[3] = static_cast<uint8_t>(a);
        }
    }
    SDL_UnlockSurface(surface);
    return surface;
}

// A pointer picture as an SDL cursor.
SDL_Cursor* CursorFromPicture(const PixelBuffer& icon, int32_t scale) {
    SDL_Surface* surface = StraightSurface(icon, scale);
    if (surface == nullptr) {
        return nullptr;
    }
    const SDL_Point hot = HotSpotOf(icon);
    SDL_Cursor* made = SDL_CreateColorCursor(surface, hot.x * scale, hot.y * scale);
    SDL_FreeSurface(surface);
    return made;
}

// Top-level windows bottom first, topmost ones above the rest, as the core
// stacks them.
std::vector<HWND> StackOrder(const std::vector<HWND>& topLevels) {
    std::vector<HWND> order = topLevels;
    std::stable_partition(order.begin(), order.end(), [](HWND h) {
        return (static_cast<uint32_t>(GetWindowLong(h, GWL_EXSTYLE)) & WS_EX_TOPMOST) == 0;
    });
    return order;
}

}  // namespace

const char* SdlErrorText(SdlError error) {
    switch (error) {
        case SdlError::NoDisplay:
            return "SDL's video could not start (no display?)";
        case SdlError::AlreadyOpen:
            return "an SDL desktop is open already";
    }
    return "unknown error";
}

// One top-level window as SDL shows it.
struct SdlDesktop::Shown {
    SDL_Window* window = nullptr;
    SDL_Renderer* renderer = nullptr;
    SDL_Texture* texture = nullptr;
    // The window composed, logical size; kept so that only changed parts
    // are composed again.
    PixelBuffer picture;
    std::vector<RECT> dirty;
    RECT rect;  // logical, as SDL was last told
    uint32_t flags = 0;
    bool visible = false;
    bool minimized = false;
    bool needsPresent = false;
    uint8_t opacity = 255;
    SDL_Window* modalFor = nullptr;
    std::string title;
    std::shared_ptr<const PixelBuffer> icon;  // as SDL was last told
};

// --- Life --------------------------------------------------------------------

SdlDesktop::SdlDesktop(const SdlOptions& options)
    : core(*this), renderDriver(options.RenderDriver) {}

Result<std::unique_ptr<SdlDesktop>, SdlError> SdlDesktop::Open(const SdlOptions& options) {
    if (desktopOpen) {
        return Fail(SdlError::AlreadyOpen);
    }
    std::unique_ptr<SdlDesktop> desktop(new SdlDesktop(options));
    if (!desktop->Start(options)) {
        return Fail(SdlError::NoDisplay);
    }
    return desktop;
}

bool SdlDesktop::Start(const SdlOptions& options) {
    // A business form is no game: the screen saver may run, windows stay
    // when the focus goes elsewhere, a click on another of our windows
    // acts at once, and closing one window does not end the program.
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_VIDEO_MINIMIZE_ON_FOCUS_LOSS, "0");
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
    SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    // Layered windows need the desktop's compositor left on.
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
    if (!renderDriver.empty()) {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, renderDriver.c_str());
    }
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        return false;
    }
    started = true;
    desktopOpen = true;

    // How many device pixels one of SDL's window units holds (2 on a
    // Retina display, where windows are measured in points).
    if (SDL_Window* probe = SDL_CreateWindow(
            "", 0, 0, 64, 64,
            SDL_WINDOW_HIDDEN | SDL_WINDOW_BORDERLESS | SDL_WINDOW_ALLOW_HIGHDPI)) {
        if (SDL_Renderer* renderer = SDL_CreateRenderer(probe, -1, 0)) {
            int w = 0;
            int h = 0;
            if (SDL_GetRendererOutputSize(renderer, &w, &h) == 0 && w >= 64) {
                pixelsPerUnit = std::max(1, w / 64);
            }
            SDL_DestroyRenderer(renderer);
        }
        SDL_DestroyWindow(probe);
    }

    int32_t wanted = options.Scale;
    if (wanted <= 0) {
        if (const char* env = std::getenv("KELVARA_SDL_SCALE")) {
            wanted = std::atoi(env);
        }
    }
    if (wanted <= 0) {
        float displayScale = static_cast<float>(pixelsPerUnit);
        float hdpi = 0;
        if (pixelsPerUnit == 1 && SDL_GetDisplayDPI(0, nullptr, &hdpi, nullptr) == 0 && hdpi > 0) {
            displayScale = hdpi / 96.0f;
        }
        wanted = ScaleForDisplay(displayScale);
    }
    // Whole device pixels per logical pixel, and whole window units too.
    wanted = std::clamp(wanted, 1, 8);
    scale = std::max(pixelsPerUnit, wanted / pixelsPerUnit * pixelsPerUnit);
    return true;
}

SdlDesktop::~SdlDesktop() {
    for (auto& [hwnd, s] : shown) {
        Destroy(*s);
    }
    shown.clear();
    if (started) {
        SDL_SetCursor(SDL_GetDefaultCursor());
        if (cursor != nullptr) {
            SDL_FreeCursor(cursor);
        }
        for (auto& [id, c] : systemCursors) {
            SDL_FreeCursor(c);
        }
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
        desktopOpen = false;
    }
}

// --- The machine -------------------------------------------------------------

uint32_t SdlDesktop::TickCount() const {
    return SDL_GetTicks();
}

int32_t SdlDesktop::ToUnits(int32_t logical) const {
    return static_cast<int32_t>(static_cast<int64_t>(logical) * scale / pixelsPerUnit);
}

int32_t SdlDesktop::ToLogical(int32_t units) const {
    return UnitsToLogical(units, pixelsPerUnit, scale);
}

RECT SdlDesktop::ScreenRect() const {
    SDL_Rect b;
    if (SDL_GetDisplayBounds(0, &b) != 0) {
        return kFallbackScreen;
    }
    return RECT{ToLogical(b.x), ToLogical(b.y), ToLogical(b.x + b.w), ToLogical(b.y + b.h)};
}

RECT SdlDesktop::WorkArea() const {
    SDL_Rect b;
    if (SDL_GetDisplayUsableBounds(0, &b) != 0) {
        return ScreenRect();
    }
    return RECT{ToLogical(b.x), ToLogical(b.y), ToLogical(b.x + b.w), ToLogical(b.y + b.h)};
}

std::string SdlDesktop::ClipboardText() {
    char* text = SDL_GetClipboardText();
    std::string out = text != nullptr ? text : "";
    SDL_free(text);
    return out;
}

void SdlDesktop::SetClipboardText(std::string text) {
    SDL_SetClipboardText(text.c_str());
}

void SdlDesktop::SetCursorShape(int16_t pointer, const PixelBuffer* icon) {
    const std::optional<SDL_SystemCursor> system = SystemCursorOf(pointer);
    const bool custom = !system && icon != nullptr && !icon->Empty();
    const uint64_t sum = custom ? Fingerprint(*icon) : 0;
    if (pointer == cursorPointer && (!custom || (icon == cursorIcon && sum == cursorIconSum)) &&
        SDL_GetCursor() != nullptr) {
        return;
    }
    cursorPointer = pointer;
    cursorIcon = custom ? icon : nullptr;
    cursorIconSum = sum;
    SDL_Cursor* next = nullptr;
    if (custom) {
        next = CursorFromPicture(*icon, scale);
    }
    SDL_Cursor* shared = nullptr;
    if (next == nullptr) {
        const SDL_SystemCursor id = system.value_or(SDL_SYSTEM_CURSOR_ARROW);
        auto it = systemCursors.find(id);
        if (it == systemCursors.end()) {
            it = systemCursors.emplace(id, SDL_CreateSystemCursor(id)).first;
        }
        shared = it->second;
    }
    SDL_SetCursor(next != nullptr ? next : (shared != nullptr ? shared : SDL_GetDefaultCursor()));
    if (cursor != nullptr) {
        SDL_FreeCursor(cursor);
    }
    cursor = next;  // only a cursor of our own making is ours to free
}

// --- Running -----------------------------------------------------------------

bool SdlDesktop::WaitForInput() {
    Present();
    int32_t wait = -1;
    if (const std::optional<uint32_t> due = core.NextTimerDue()) {
        wait = std::max(0, static_cast<int32_t>(*due - TickCount()));
    } else {
        const std::vector<HWND> tops = core.TopLevelWindows();
        const bool anyShown =
            std::any_of(tops.begin(), tops.end(), [](HWND h) { return IsWindowVisible(h); });
        if (!anyShown) {
            return false;  // no window to take input and no timer to wait for
        }
    }
    TakeEvents(wait);
    return true;
}

bool SdlDesktop::TakeEvents(int32_t waitMs) {
    std::vector<SDL_Event> events;
    SDL_Event event;
    if (waitMs != 0) {
        const int got = waitMs < 0 ? SDL_WaitEvent(&event) : SDL_WaitEventTimeout(&event, waitMs);
        if (got != 0) {
            events.push_back(event);
        }
    }
    while (SDL_PollEvent(&event) != 0) {
        events.push_back(event);
    }
    if (events.empty()) {
        return false;
    }
    Translate(events);
    return true;
}

int32_t SdlDesktop::Pump() {
    TakeEvents(0);
    const int32_t handled = DoEvents();
    Present();
    return handled;
}

int32_t SdlDesktop::Run() {
    MSG msg;
    while (GetMessage(msg)) {
        TranslateMessage(msg);
        DispatchMessage(msg);
    }
    return msg.message == WM_QUIT ? static_cast<int32_t>(msg.wParam) : 0;
}

// --- Input -------------------------------------------------------------------

POINT SdlDesktop::ToScreen(HWND hwnd, int32_t x, int32_t y) const {
    // Placed by the core's idea of where the window is, so that the core
    // finds the point in the window SDL found it in.
    RECT r;
    GetWindowRect(hwnd, r);
    return POINT{r.Left + ToLogical(x), r.Top + ToLogical(y)};
}

void SdlDesktop::SyncModifiers(uint16_t sdlMod, bool altGr) {
    const HeldModifiers want = ModifiersOf(sdlMod, altGr);
    if (want.Shift != heldShift) {
        heldShift = want.Shift;
        core.InjectKey(VK_SHIFT, heldShift);
    }
    if (want.Ctrl != heldCtrl) {
        heldCtrl = want.Ctrl;
        core.InjectKey(VK_CONTROL, heldCtrl);
    }
    if (want.Alt != heldAlt) {
        heldAlt = want.Alt;
        core.InjectKey(VK_MENU, heldAlt);
    }
}

void SdlDesktop::ReleaseHeld() {
    SyncModifiers(0, false);
    echo = 0;
}

void SdlDesktop::Translate(std::vector<SDL_Event>& events) {
    for (size_t i = 0; i < events.size(); ++i) {
        const SDL_Event& event = events[i];
        switch (event.type) {
            case SDL_QUIT:
                PostQuitMessage(0);
                break;
            case SDL_WINDOWEVENT:
                TranslateWindowEvent(event);
                break;
            case SDL_MOUSEMOTION:
                if (const HWND hwnd = WindowFromId(event.motion.windowID)) {
                    const POINT pt = ToScreen(hwnd, event.motion.x, event.motion.y);
                    core.InjectMouseMove(pt.X, pt.Y);
                }
                break;
            case SDL_MOUSEBUTTONDOWN:
            case SDL_MOUSEBUTTONUP: {
                const HWND hwnd = WindowFromId(event.button.windowID);
                const std::optional<MouseButton> button = MouseButtonOf(event.button.button);
                if (hwnd != 0 && button) {
                    const POINT pt = ToScreen(hwnd, event.button.x, event.button.y);
                    // The core times double clicks itself; SDL's count of
                    // clicks is not needed.
                    core.InjectMouseButton(*button, event.type == SDL_MOUSEBUTTONDOWN, pt.X, pt.Y);
                }
                break;
            }
            case SDL_MOUSEWHEEL: {
                POINT at;
                GetCursorPos(at);
#if SDL_VERSION_ATLEAST(2, 26, 0)
                if (const HWND hwnd = WindowFromId(event.wheel.windowID)) {
                    at = ToScreen(hwnd, event.wheel.mouseX, event.wheel.mouseY);
                }
#endif
                const bool flipped = event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED;
                if (const int32_t dy = WheelDelta(event.wheel.preciseY, flipped); dy != 0) {
                    core.InjectWheel(dy, false, at.X, at.Y);
                }
                if (const int32_t dx = WheelDelta(event.wheel.preciseX, flipped); dx != 0) {
                    core.InjectWheel(dx, true, at.X, at.Y);
                }
                break;
            }
            case SDL_KEYDOWN:
            case SDL_KEYUP: {
                bool tookNext = false;
                TranslateKey(event, i + 1 < events.size() ? &events[i + 1] : nullptr, tookNext);
                if (tookNext) {
                    ++i;
                }
                break;
            }
            case SDL_TEXTINPUT: {
                // Text that came without a key of its own: a dead key's
                // accent, an input method's word.
                const std::u32string text = ToUtf32(event.text.text);
                size_t from = 0;
                if (!text.empty() && echo != 0 && text[0] == echo) {
                    from = 1;  // the core typed it from the key already
                }
                echo = 0;
                for (size_t k = from; k < text.size(); ++k) {
                    core.InjectChar(text[k]);
                }
                break;
            }
            case SDL_RENDER_TARGETS_RESET:
            case SDL_RENDER_DEVICE_RESET:
                // Textures may be lost: every window starts again.
                for (auto& [hwnd, s] : shown) {
                    Destroy(*s);
                    changed.push_back(hwnd);
                }
                break;
            default:
                break;
        }
    }
}

void SdlDesktop::TranslateKey(const SDL_Event& event, const SDL_Event* next, bool& tookNext) {
    const SDL_Keysym& key = event.key.keysym;
    const bool down = event.type == SDL_KEYDOWN;
    echo = 0;
    if (IsModifierKey(key.sym)) {
        SyncModifiers(key.mod, false);
        return;
    }
    const int32_t vk = VirtualKeyOf(key.sym, key.scancode);
    // SDL sends a key's text right after the key.
    const bool hasText = down && next != nullptr && next->type == SDL_TEXTINPUT;
    const std::u32string text = hasText ? ToUtf32(next->text.text) : std::u32string();
    const char32_t first = text.empty() ? 0 : text[0];
    // A right Alt that makes a key type something other than its own
    // character is AltGr, whatever the layout calls it.
    const bool altGr = hasText && (key.mod & KMOD_RALT) != 0 && (key.mod & KMOD_CTRL) == 0 &&
                       first != CoreTypedChar(vk, HeldModifiers{(key.mod & KMOD_SHIFT) != 0}) &&
                       first != CoreTypedChar(vk, HeldModifiers{});
    SyncModifiers(key.mod, altGr);
    if (vk == 0) {
        return;  // a key the host has no code for: its text comes alone
    }
    if (!down) {
        core.InjectKey(vk, false);
        return;
    }
    if (hasText) {
        tookNext = true;
        core.InjectTypedKey(vk, first);
        for (size_t k = 1; k < text.size(); ++k) {
            core.InjectChar(text[k]);
        }
        return;
    }
    core.InjectKey(vk, true);
    echo = CoreTypedChar(vk, HeldModifiers{heldShift, heldCtrl, heldAlt});
}

void SdlDesktop::TranslateWindowEvent(const SDL_Event& event) {
    const HWND hwnd = WindowFromId(event.window.windowID);
    if (hwnd == 0) {
        return;
    }
    Shown* s = shown.count(hwnd) != 0 ? shown[hwnd].get() : nullptr;
    switch (event.window.event) {
        case SDL_WINDOWEVENT_CLOSE:
            PostMessage(hwnd, WM_SYSCOMMAND, SC_CLOSE, 0);
            break;
        case SDL_WINDOWEVENT_FOCUS_GAINED:
            raisedActive = hwnd;  // the desktop raised it already
            if (GetActiveWindow() != hwnd && IsWindowVisible(hwnd) && IsWindowEnabled(hwnd) &&
                (static_cast<uint32_t>(GetWindowLong(hwnd, GWL_EXSTYLE)) & WS_EX_NOACTIVATE) == 0) {
                SetActiveWindow(hwnd);
            }
            break;
        case SDL_WINDOWEVENT_FOCUS_LOST:
            // Keys let go elsewhere would otherwise stay held here.
            ReleaseHeld();
            break;
        case SDL_WINDOWEVENT_LEAVE: {
            if (GetCapture() != 0) {
                break;  // a held mouse keeps reporting where it is
            }
            int gx = 0;
            int gy = 0;
            SDL_GetGlobalMouseState(&gx, &gy);
            POINT at{ToLogical(gx), ToLogical(gy)};
            if (WindowFromPoint(at) != 0) {
                // Over another program's window that the core takes for
                // ours: somewhere the core knows no window.
                at = kNowhere;
            }
            core.InjectMouseMove(at.X, at.Y);
            break;
        }
        case SDL_WINDOWEVENT_EXPOSED:
        case SDL_WINDOWEVENT_SIZE_CHANGED:
            if (s != nullptr) {
                s->needsPresent = true;
            }
            break;
        case SDL_WINDOWEVENT_MINIMIZED:
            if (s != nullptr) {
                s->minimized = true;
            }
            if (!IsIconic(hwnd)) {
                PostMessage(hwnd, WM_SYSCOMMAND, SC_MINIMIZE, 0);
            }
            break;
        case SDL_WINDOWEVENT_RESTORED:
            if (s != nullptr) {
                s->minimized = false;
            }
            if (IsIconic(hwnd)) {
                PostMessage(hwnd, WM_SYSCOMMAND, SC_RESTORE, 0);
            }
            break;
        default:
            break;
    }
}

// --- Windows -----------------------------------------------------------------

void SdlDesktop::TopLevelChanged(HWND hwnd) {
    changed.push_back(hwnd);
}

void SdlDesktop::TopLevelDirty(HWND hwnd, const RECT& area) {
    auto& s = shown[hwnd];
    if (!s) {
        s = std::make_unique<Shown>();
    }
    AddDirtyRect(s->dirty, area, kDirtyLimit);
}

SDL_Window* SdlDesktop::WindowOf(HWND hwnd) const {
    const auto it = shown.find(hwnd);
    return it == shown.end() ? nullptr : it->second->window;
}

HWND SdlDesktop::WindowFromId(uint32_t sdlWindowId) const {
    for (const auto& [hwnd, s] : shown) {
        if (s->window != nullptr && SDL_GetWindowID(s->window) == sdlWindowId) {
            return hwnd;
        }
    }
    return 0;
}

bool SdlDesktop::Create(HWND hwnd, Shown& s) {
    RECT r;
    GetWindowRect(hwnd, r);
    const int32_t w = r.Right - r.Left;
    const int32_t h = r.Bottom - r.Top;
    s.flags = WindowFlagsOf(static_cast<uint32_t>(GetWindowLong(hwnd, GWL_STYLE)),
                            static_cast<uint32_t>(GetWindowLong(hwnd, GWL_EXSTYLE)));
    s.title = GetWindowText(hwnd);
    s.window = SDL_CreateWindow(s.title.c_str(), ToUnits(r.Left), ToUnits(r.Top), ToUnits(w),
                                ToUnits(h), s.flags | SDL_WINDOW_HIDDEN);
    if (s.window == nullptr) {
        return false;
    }
    s.renderer = SDL_CreateRenderer(s.window, -1, 0);
    if (s.renderer != nullptr) {
        s.texture = SDL_CreateTexture(s.renderer, SDL_PIXELFORMAT_ARGB8888,
                                      SDL_TEXTUREACCESS_STREAMING, w, h);
    }
    if (s.texture == nullptr || !s.picture.Allocate(w, h, RowOrder::TopDown)) {
        Destroy(s);
        return false;
    }
    // Each logical pixel becomes a square of whole device pixels.
    SDL_SetTextureBlendMode(s.texture, SDL_BLENDMODE_NONE);
    SDL_SetTextureScaleMode(s.texture, SDL_ScaleModeNearest);
    s.rect = r;
    s.visible = false;
    s.minimized = false;
    s.opacity = 255;
    s.modalFor = nullptr;
    s.icon = nullptr;
    s.dirty.assign(1, RECT{0, 0, w, h});
    return true;
}

void SdlDesktop::Destroy(Shown& s) {
    if (s.texture != nullptr) {
        SDL_DestroyTexture(s.texture);
    }
    if (s.renderer != nullptr) {
        SDL_DestroyRenderer(s.renderer);
    }
    if (s.window != nullptr) {
        SDL_DestroyWindow(s.window);
        order.clear();  // stacked anew at the next showing
    }
    s.texture = nullptr;
    s.renderer = nullptr;
    s.window = nullptr;
    s.visible = false;
    s.picture.Reset();
}

void SdlDesktop::Sync(HWND hwnd) {
    auto it = shown.find(hwnd);
    const bool exists = IsWindow(hwnd) && (GetWindowLong(hwnd, GWL_STYLE) & WS_CHILD) == 0;
    if (!exists) {
        if (it != shown.end()) {
            Destroy(*it->second);
            shown.erase(it);
        }
        return;
    }
    RECT r;
    GetWindowRect(hwnd, r);
    const int32_t w = r.Right - r.Left;
    const int32_t h = r.Bottom - r.Top;
    const bool visible = IsWindowVisible(hwnd) && w > 0 && h > 0;
    if (it == shown.end()) {
        if (!visible) {
            return;
        }
        it = shown.emplace(hwnd, std::make_unique<Shown>()).first;
    }
    Shown& s = *it->second;
    const uint32_t flags = WindowFlagsOf(static_cast<uint32_t>(GetWindowLong(hwnd, GWL_STYLE)),
                                         static_cast<uint32_t>(GetWindowLong(hwnd, GWL_EXSTYLE)));
    if (s.window != nullptr && s.flags != flags) {
        Destroy(s);  // SDL takes a window's kind only when making it
    }
    if (s.window == nullptr || !visible) {
        raisedActive = raisedActive == hwnd ? 0 : raisedActive;  // raised again when shown
    }
    if (!visible) {
        if (s.window != nullptr && s.visible) {
            SDL_HideWindow(s.window);
            s.visible = false;
            order.clear();
        }
        return;
    }
    if (s.window == nullptr && !Create(hwnd, s)) {
        return;
    }
    if (w != s.rect.Right - s.rect.Left || h != s.rect.Bottom - s.rect.Top) {
        SDL_Texture* texture = SDL_CreateTexture(s.renderer, SDL_PIXELFORMAT_ARGB8888,
                                                 SDL_TEXTUREACCESS_STREAMING, w, h);
        PixelBuffer picture;
        if (texture == nullptr || !picture.Allocate(w, h, RowOrder::TopDown)) {
            if (texture != nullptr) {
                SDL_DestroyTexture(texture);
            }
            return;
        }
        SDL_DestroyTexture(s.texture);
        s.texture = texture;
        SDL_SetTextureBlendMode(s.texture, SDL_BLENDMODE_NONE);
        SDL_SetTextureScaleMode(s.texture, SDL_ScaleModeNearest);
        s.picture.Swap(picture);
        s.dirty.assign(1, RECT{0, 0, w, h});
        SDL_SetWindowSize(s.window, ToUnits(w), ToUnits(h));
        s.needsPresent = true;
    }
    if (r.Left != s.rect.Left || r.Top != s.rect.Top) {
        SDL_SetWindowPosition(s.window, ToUnits(r.Left), ToUnits(r.Top));
    }
    s.rect = r;
    if (std::string title = GetWindowText(hwnd); title != s.title) {
        SDL_SetWindowTitle(s.window, title.c_str());
        s.title = std::move(title);
    }
    // SDL keeps a window's icon once given: a window whose icon goes away
    // keeps the last one.
    if (std::shared_ptr<const PixelBuffer> icon = GetWindowIcon(hwnd); icon != s.icon) {
        if (icon != nullptr && icon->Width() > 0 && icon->Height() > 0) {
            if (SDL_Surface* surface = StraightSurface(*icon, 1)) {
                SDL_SetWindowIcon(s.window, surface);
                SDL_FreeSurface(surface);
            }
        }
        s.icon = std::move(icon);
    }
    COLORREF key = 0;
    uint8_t alpha = 255;
    uint32_t layered = 0;
    const uint8_t opacity =
        GetLayeredWindowAttributes(hwnd, key, alpha, layered) && (layered & LWA_ALPHA) != 0 ? alpha
                                                                                            : 255;
    if (opacity != s.opacity) {
        SDL_SetWindowOpacity(s.window, static_cast<float>(opacity) / 255.0f);
        s.opacity = opacity;
    }
    // An owned window whose owner is disabled is the owner's modal dialog:
    // the desktop keeps it over its owner.
    const HWND owner = GetOwner(hwnd);
    SDL_Window* modalFor = owner != 0 && !IsWindowEnabled(owner) ? WindowOf(owner) : nullptr;
    if (modalFor != s.modalFor && modalFor != nullptr) {
        SDL_SetWindowModalFor(s.window, modalFor);
    }
    s.modalFor = modalFor;
    if (!s.visible) {
        // What changed while it was hidden was never told.
        s.dirty.assign(1, RECT{0, 0, w, h});
        SDL_ShowWindow(s.window);
        s.visible = true;
        s.needsPresent = true;
        order.clear();
    }
    const bool iconic = IsIconic(hwnd);
    if (iconic && !s.minimized) {
        SDL_MinimizeWindow(s.window);
        s.minimized = true;
    } else if (!iconic && s.minimized) {
        SDL_RestoreWindow(s.window);
        s.minimized = false;
        s.needsPresent = true;
    }
}

// Brings the core's active window to the front with the keyboard, once
// each time the core activates another; and keeps pop-ups and tooltips,
// which no window manager stacks, above it in the core's order. Inactive
// ordinary windows are stacked by the window manager: raising them would
// ask it to activate them too.
void SdlDesktop::SyncOrder() {
    std::vector<HWND> now;
    for (HWND hwnd : StackOrder(core.TopLevelWindows())) {
        const auto it = shown.find(hwnd);
        if (it != shown.end() && it->second->window != nullptr && it->second->visible) {
            now.push_back(hwnd);
        }
    }
    const HWND active = GetActiveWindow();
    const bool activeShown = std::find(now.begin(), now.end(), active) != now.end();
    const bool activated = activeShown && active != raisedActive;
    if (now == order && !activated) {
        return;
    }
    if (activated) {
        Shown& s = *shown[active];
        SDL_RaiseWindow(s.window);
        if (!s.minimized) {
            SDL_SetWindowInputFocus(s.window);
        }
        raisedActive = active;
    }
    constexpr uint32_t kUnmanaged = SDL_WINDOW_TOOLTIP | SDL_WINDOW_POPUP_MENU;
    bool above = !activeShown;
    for (HWND hwnd : now) {
        if (hwnd == active) {
            above = true;
        } else if (above && (shown[hwnd]->flags & kUnmanaged) != 0) {
            SDL_RaiseWindow(shown[hwnd]->window);
        }
    }
    order = now;
}

void SdlDesktop::Upload(HWND hwnd, Shown& s) {
    if (s.dirty.empty()) {
        return;
    }
    const RECT whole{0, 0, s.picture.Width(), s.picture.Height()};
    for (const RECT& area : s.dirty) {
        const RECT r = Clip(area, whole);
        if (r.IsEmpty() || !core.ComposeArea(hwnd, s.picture, r)) {
            continue;
        }
        const SDL_Rect target{r.Left, r.Top, r.Right - r.Left, r.Bottom - r.Top};
        SDL_UpdateTexture(s.texture, &target, s.picture.Pixel(r.Left, r.Top), s.picture.Stride());
        counters.UploadedPixels += static_cast<int64_t>(target.w) * target.h;
    }
    s.dirty.clear();
    s.needsPresent = true;
}

void SdlDesktop::Render(Shown& s) {
    SDL_SetRenderDrawColor(s.renderer, 0, 0, 0, 255);
    SDL_RenderClear(s.renderer);
    const SDL_Rect target{0, 0, s.picture.Width() * scale, s.picture.Height() * scale};
    SDL_RenderCopy(s.renderer, s.texture, nullptr, &target);
}

void SdlDesktop::Present() {
    // Windows the core told of, and those shown already (a window made a
    // child elsewhere is told of under its new top-level window).
    std::vector<HWND> todo;
    todo.swap(changed);
    for (const auto& [hwnd, s] : shown) {
        if (s->window != nullptr) {
            todo.push_back(hwnd);
        }
    }
    std::sort(todo.begin(), todo.end());
    todo.erase(std::unique(todo.begin(), todo.end()), todo.end());
    for (HWND hwnd : todo) {
        Sync(hwnd);
    }
    // Notices for windows never shown (or gone) leave records to drop.
    for (auto it = shown.begin(); it != shown.end();) {
        if (it->second->window == nullptr && !IsWindow(it->first)) {
            it = shown.erase(it);
        } else {
            ++it;
        }
    }
    SyncOrder();
    for (auto& [hwnd, s] : shown) {
        if (s->window == nullptr || !s->visible) {
            continue;
        }
        Upload(hwnd, *s);
        if (s->needsPresent) {
            Render(*s);
            SDL_RenderPresent(s->renderer);
            s->needsPresent = false;
            ++counters.Presents;
        }
    }
}

bool SdlDesktop::ReadPixels(HWND hwnd, PixelBuffer& out) {
    Present();
    const auto it = shown.find(hwnd);
    if (it == shown.end() || it->second->window == nullptr) {
        return false;
    }
    Shown& s = *it->second;
    int w = 0;
    int h = 0;
    if (SDL_GetRendererOutputSize(s.renderer, &w, &h) != 0 ||
        !out.Allocate(w, h, RowOrder::TopDown)) {
        return false;
    }
    // Read between drawing and showing, where the picture is sure to be.
    Render(s);
    const bool read = SDL_RenderReadPixels(s.renderer, nullptr, SDL_PIXELFORMAT_ARGB8888,
                                           out.Bits(), out.Stride()) == 0;
    SDL_RenderPresent(s.renderer);
    return read;
}

}  // namespace kelvara
