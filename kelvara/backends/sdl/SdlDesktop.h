#pragma once

// The SDL desktop: a window core whose top-level windows are real windows
// on the machine's display, through SDL2.
//
//   SDL events → Translate → core Inject* / host calls → message loop
//   core notices (TopLevelChanged, TopLevelDirty) → Present → SDL windows
//
// Every visible top-level window of the core is one borderless SDL window
// (forms draw their own frames) with a streaming texture of the window's
// logical size. The core says which parts of a window's picture changed;
// Present composes just those parts again and updates just those parts of
// the texture, then shows the texture scaled by a whole number of device
// pixels per logical pixel. Input comes back the other way: SDL's mouse,
// keyboard, text and window events become the core's input, in order, and
// the core routes them as it routes the headless desktop's, so a form
// answers a real mouse with the same events as a scripted one.
//
// The clock is SDL's (SDL_GetTicks): WaitForInput sleeps in SDL until the
// next event or the next timer due, never spinning.
//
//   auto desktop = SdlDesktop::Open();    // fails without a display
//   form.Show();
//   desktop.Value()->Run();               // until the last window goes

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kelvara/base/Result.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/host/WindowCore.h"

union SDL_Event;
struct SDL_Cursor;
struct SDL_Window;

namespace kelvara {

struct SdlOptions {
    // Device pixels per logical pixel. 0 takes it from the environment
    // (KELVARA_SDL_SCALE) or else from the display: its pixel ratio, or its
    // DPI over 96, to the nearest whole number.
    int32_t Scale = 0;
    // SDL's render driver by name ("software", "opengl" ...); empty lets
    // SDL choose.
    std::string RenderDriver;
};

enum class SdlError {
    // SDL's video could not start: no display, or no driver for it.
    NoDisplay,
    // Another SDL desktop is open in this process; SDL has one event queue.
    AlreadyOpen,
};
const char* SdlErrorText(SdlError error);

class SdlDesktop final : public Backend {
public:
    // Starts SDL's video and makes this desktop's window core the current
    // one until the desktop is destroyed. SDL's own message for a failure
    // is SDL_GetError().
    static Result<std::unique_ptr<SdlDesktop>, SdlError> Open(const SdlOptions& options = {});
    ~SdlDesktop() override;
    SdlDesktop(const SdlDesktop&) = delete;
    SdlDesktop& operator=(const SdlDesktop&) = delete;

    WindowCore& Core() { return core; }
    int32_t Scale() const { return scale; }

    // --- The machine --------------------------------------------------------
    uint32_t TickCount() const override;
    // In logical pixels: the primary display, and the part of it that
    // panels and docks leave free.
    RECT ScreenRect() const override;
    RECT WorkArea() const override;
    // Shows what changed, then sleeps until SDL has an event or a timer is
    // due, and hands the events to the core. False when nothing can come:
    // no window shows and no timer runs.
    bool WaitForInput() override;
    void TopLevelChanged(HWND hwnd) override;
    void TopLevelDirty(HWND hwnd, const RECT& area) override;
    void SetCursorShape(int16_t pointer, const PixelBuffer* icon) override;
    std::string ClipboardText() override;
    void SetClipboardText(std::string text) override;

    // --- Running ------------------------------------------------------------
    // Hands every SDL event waiting to the core, handles all the messages
    // that makes, and shows the result; does not wait. The number of
    // messages handled.
    int32_t Pump();
    // The message loop: until WM_QUIT (its exit code) or until no window is
    // left to take input (0).
    int32_t Run();
    // Brings every SDL window up to date with the core now.
    void Present();

    // --- Looking at it ------------------------------------------------------
    // The SDL window showing a top-level window, or nullptr.
    SDL_Window* WindowOf(HWND hwnd) const;
    HWND WindowFromId(uint32_t sdlWindowId) const;
    // The window's picture as its renderer holds it, in device pixels
    // (top-down BGRA).
    bool ReadPixels(HWND hwnd, PixelBuffer& out);
    // The MousePointer value last shown.
    int16_t CursorShape() const { return cursorPointer; }
    // Texture work so far: how many logical pixels went to textures, and
    // how many times a window was shown anew.
    struct Counters {
        int64_t UploadedPixels = 0;
        int64_t Presents = 0;
    };
    const Counters& Stats() const { return counters; }

private:
    struct Shown;
    explicit SdlDesktop(const SdlOptions& options);
    bool Start(const SdlOptions& options);

    void Translate(std::vector<SDL_Event>& events);
    void TranslateKey(const SDL_Event& event, const SDL_Event* next, bool& tookNext);
    void TranslateWindowEvent(const SDL_Event& event);
    void SyncModifiers(uint16_t sdlMod, bool altGr);
    void ReleaseHeld();
    bool TakeEvents(int32_t waitMs);
    POINT ToScreen(HWND hwnd, int32_t x, int32_t y) const;

    void Sync(HWND hwnd);
    bool Create(HWND hwnd, Shown& shown);
    void Destroy(Shown& shown);
    void Upload(HWND hwnd, Shown& shown);
    void Render(Shown& shown);
    void SyncOrder();
    int32_t ToUnits(int32_t logical) const;
    int32_t ToLogical(int32_t units) const;

    WindowCore core;
    int32_t scale = 1;
    int32_t pixelsPerUnit = 1;
    std::string renderDriver;
    bool started = false;
    std::map<HWND, std::unique_ptr<Shown>> shown;
    std::vector<HWND> changed;
    std::vector<HWND> order;
    // The active window last brought to the front, by us or by the
    // window manager.
    HWND raisedActive = 0;
    // What the core has been told is held.
    bool heldShift = false;
    bool heldCtrl = false;
    bool heldAlt = false;
    // The character the core makes by itself of the last key press that
    // came without text, so that the same text arriving late is not typed
    // twice.
    char32_t echo = 0;
    int16_t cursorPointer = 0;
    const PixelBuffer* cursorIcon = nullptr;
    uint64_t cursorIconSum = 0;
    SDL_Cursor* cursor = nullptr;
    std::map<int32_t, SDL_Cursor*> systemCursors;
    Counters counters;
};

}  // namespace kelvara
