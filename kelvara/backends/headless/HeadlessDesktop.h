#pragma once

// The headless desktop: a window core with a screen of 1366 × 768, a task
// bar of 40 pixels at the bottom, a clock that moves only when told, input
// given by the program, and screenshots. Tests and the gallery drive forms
// through it; the same input always gives the same pictures and events.
//
//   desktop.MouseMove(x, y) → core input → messages handled → returns
//   desktop.BeginScript(); ... desktop.Play()   (for modal loops)
//
// Input calls act at once: the input is queued in the core and every
// message it causes is handled before the call returns. A modal loop
// started by that input (a dialog shown from a click) waits for more input
// that has not been given yet; for those, record the input first with
// BeginScript and run it with Play: a waiting loop then takes the next
// recorded step. A loop that waits when nothing is left throws
// HeadlessScriptEnded instead of hanging.

#include <cstdint>
#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kelvara/host/WindowCore.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

class HeadlessScriptEnded : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class HeadlessDesktop final : public Backend {
public:
    static constexpr int32_t kWidth = 1366;
    static constexpr int32_t kHeight = 768;
    static constexpr int32_t kTaskBarHeight = 40;
    static constexpr COLORREF kDesktopColor = 0x8C6A3A;  // a calm blue
    static constexpr COLORREF kTaskBarColor = 0x30281E;

    // Makes its own window core the current one until it is destroyed.
    HeadlessDesktop();
    ~HeadlessDesktop() override;
    HeadlessDesktop(const HeadlessDesktop&) = delete;
    HeadlessDesktop& operator=(const HeadlessDesktop&) = delete;

    WindowCore& Core() { return core; }

    // --- The machine -------------------------------------------------------
    uint32_t TickCount() const override { return clock; }
    RECT ScreenRect() const override { return RECT{0, 0, kWidth, kHeight}; }
    RECT WorkArea() const override { return RECT{0, 0, kWidth, kHeight - kTaskBarHeight}; }
    bool WaitForInput() override;

    // Moves the clock on by ms, stopping at every moment a timer or hover
    // notice is due so that they fire in order, each at its own time.
    void AdvanceTime(uint32_t ms);

    // --- Input --------------------------------------------------------------
    void MouseMove(int32_t x, int32_t y);
    void MouseDown(MouseButton button = MouseButton::Left, int32_t shift = 0);
    void MouseUp(MouseButton button = MouseButton::Left, int32_t shift = 0);
    // Moves there, presses and releases.
    void Click(int32_t x, int32_t y, MouseButton button = MouseButton::Left, int32_t shift = 0);
    // Two clicks in a row, 50 ms apart.
    void DblClick(int32_t x, int32_t y, MouseButton button = MouseButton::Left);
    // Notches of the wheel at the cursor: positive away from the user, or
    // to the right.
    void Wheel(int32_t notches, bool horizontal = false);
    void KeyDown(int32_t vk, int32_t shift = 0);
    void KeyUp(int32_t vk, int32_t shift = 0);
    // Down and up.
    void Key(int32_t vk, int32_t shift = 0);
    // Each character as typed: letters, digits, space, Return, Tab and
    // Backspace by their keys (so KeyDown, KeyPress and KeyUp all come);
    // any other character as a character alone, as accents and dead keys
    // arrive.
    void Type(std::string_view text);
    // Runs everything waiting; the number of messages handled.
    int32_t Pump();

    // --- Scripts ------------------------------------------------------------
    // Until Play, input calls and AdvanceTime are recorded instead of run.
    void BeginScript();
    // Runs the recorded steps in order; loops that wait take their steps
    // from here. Throws HeadlessScriptEnded when a loop waits after the
    // last step.
    void Play();
    size_t StepsLeft() const { return steps.size(); }

    // --- Pictures -----------------------------------------------------------
    // The window with its children, as it shows.
    bool Screenshot(HWND hwnd, API32bppDIB& out);
    // The desktop, task bar and every visible window.
    bool ScreenshotDesktop(API32bppDIB& out);
    bool SaveScreenshot(HWND hwnd, const std::string& pngFile);
    bool SaveDesktopScreenshot(const std::string& pngFile);

private:
    // Runs a step now, or records it.
    void Do(std::function<void()> step);
    void Modifiers(int32_t shift, bool down);
    void AdvanceNow(uint32_t ms);

    uint32_t clock = 0;
    WindowCore core;
    POINT cursor;
    bool recording = false;
    int32_t playing = 0;
    std::deque<std::function<void()>> steps;
};

}  // namespace kelvara
