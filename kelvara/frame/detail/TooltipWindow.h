#pragma once

// The tooltip window class: a top-level popup that answers the TTM_
// messages of kelvara/frame/APITooltip.h, watches its tools' mouse
// messages and shows itself on the window core's clock.
//
// Its life, per tool the mouse is in:
//
//   Idle ──move in a tool──▶ Waiting ──initial delay, resting──▶ Shown
//   Waiting ──move elsewhere in the tool──▶ Waiting (the delay starts again)
//   Shown ──autopop time, button press, TTM_POP──▶ Spent
//   any ──leaving the tool──▶ Idle
//
// Spent waits for the mouse to leave, so a tip that went away does not
// come back while the mouse stays. Moving within the tool never moves or
// restarts a tip that is showing.

#include <cstdint>
#include <string_view>

#include "kelvara/base/Event.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara::detail {

inline constexpr std::string_view kTooltipClass = "tooltips_class32";

// The timers of a tip window.
inline constexpr uintptr_t kInitialTimer = 1;
inline constexpr uintptr_t kAutoPopTimer = 2;

// Makes a hidden tip window with the TTS_ style bits, owned by the
// top-level window of `owner`. 0 when it cannot be made.
HWND CreateTooltipWindow(uint32_t style, HWND owner);

bool IsTooltipWindow(HWND hwnd);

// Raised with each tip window made, before any message but WM_CREATE has
// reached it: lets a test or a tool watch a tip from its start.
Event<HWND>& TooltipWindowCreated();

}  // namespace kelvara::detail
