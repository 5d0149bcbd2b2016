#pragma once

// Input made as SDL makes it, put on SDL's event queue: for programs that
// drive real windows by script (tests, demonstrations, recorded input).
// The SDL desktop then takes these events exactly as it takes a person's,
// so a script exercises the whole way from SDL to the controls.
//
// Keys are those of a US keyboard: a key stroke is the key down, the text
// SDL sends with it (none with Ctrl or Alt, none for keys that type
// nothing) and the key up, wrapped in the modifiers it needs.

#include <SDL.h>

#include <cstdint>
#include <string>

namespace kelvara::sdl {

// Window coordinates are in SDL's units of that window.
void PushMotion(SDL_Window* window, int32_t x, int32_t y);
void PushButton(SDL_Window* window, uint8_t button, bool down, int32_t x, int32_t y);
// At the cursor, as the core knows it; amounts in notches.
void PushWheel(float x, float y, bool flipped = false);
void PushKey(SDL_Keycode key, SDL_Scancode scancode, uint16_t mod, bool down);
void PushText(const std::string& text);
void PushWindowEvent(SDL_Window* window, SDL_WindowEventID what);

// Where a host virtual-key code lies on a US keyboard; SDLK_UNKNOWN for
// codes the script does not know (letters, digits, Space, Return, Tab,
// Back, Escape, arrows, Home, End, Delete, F1 to F12).
struct UsKey {
    SDL_Keycode key = SDLK_UNKNOWN;
    SDL_Scancode scancode = SDL_SCANCODE_UNKNOWN;
};
UsKey UsKeyOf(int32_t vk);

// The text SDL sends with that key under the host's ShiftState bits: a
// letter, an unshifted digit or a blank, as the core itself would type it;
// none with Ctrl or Alt, and none for keys whose text a layout decides
// (shifted digits), so a script types exactly what the headless desktop
// types for the same keys.
std::string UsTextOf(int32_t vk, int32_t shift);

// Presses (or lets go) the modifiers of ShiftState bits in the order
// Shift, Ctrl, Alt; `mod` carries SDL's modifier state from event to
// event and each event holds the state after it.
void PushModifiers(int32_t shift, bool down, uint16_t& mod);

// A whole key stroke: modifiers, key down, its text, key up, modifiers.
// False (and nothing pushed) for a key UsKeyOf does not know.
bool PushKeyStroke(int32_t vk, int32_t shift, uint16_t& mod);

}  // namespace kelvara::sdl
