#pragma once

// What the SDL desktop turns SDL's terms into, and back: keys into the
// host's virtual-key codes, buttons, MousePointer values into SDL's system
// cursors, window styles into SDL window flags, and the arithmetic of
// scaled presentation. Plain functions with no display, so that they can
// be checked on their own.

#include <SDL.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara::sdl {

// The host's virtual-key code of a key, 0 for a key the host has none
// for. Keys that make letters and digits under the keyboard's layout give
// those letters and digits (as the host's layouts do); other keys that
// type something give the code of their place on a US keyboard
// (VK_OEM_1 ...); the rest go by what they are (arrows, F-keys, keypad).
int32_t VirtualKeyOf(SDL_Keycode key, SDL_Scancode scancode);

// Whether a key is one of the modifiers the host tracks as held keys
// (Shift, Ctrl, Alt, AltGr); those are given to the core from the modifier
// state, not key by key.
bool IsModifierKey(SDL_Keycode key);

std::optional<MouseButton> MouseButtonOf(uint8_t sdlButton);

// The held modifiers as the host sees them. AltGr is the host's Ctrl+Alt.
struct HeldModifiers {
    bool Shift = false;
    bool Ctrl = false;
    bool Alt = false;
    bool operator==(const HeldModifiers&) const = default;
};
HeldModifiers ModifiersOf(uint16_t sdlMod, bool altGr);

// The character the core would make of a key press by its own rules, when
// no keyboard layout tells it (0 for none): what TranslateMessage types.
char32_t CoreTypedChar(int32_t vk, HeldModifiers held);

// SDL's system cursor for a MousePointer value; nullopt for 99 (a
// picture of its own).
std::optional<SDL_SystemCursor> SystemCursorOf(int16_t pointer);

// The hot spot of a pointer picture that carries none: the middle of the
// opaque pixels of its topmost row that has any (rounded right), so an
// arrow drawn from its corner points there and a hand with its finger.
SDL_Point HotSpotOf(const PixelBuffer& icon);

// SDL window flags for a top-level window of the core: every window is
// borderless (forms draw their own frames); a tool window skips the task
// bar; a window that never takes the focus is a pop-up (a tooltip when
// the mouse passes through it); topmost stays on top.
uint32_t WindowFlagsOf(uint32_t style, uint32_t exStyle);

// Device pixels per logical pixel for a display scale (its DPI over 96, or
// its pixel ratio): the nearest whole number, halves rounded up, at least
// 1.
int32_t ScaleForDisplay(float displayScale);

// A coordinate in SDL's window units to logical pixels: `perUnit` device
// pixels per unit, `scale` device pixels per logical pixel. Rounds toward
// minus infinity, so the pixels left of a window's edge stay outside it.
int32_t UnitsToLogical(int32_t units, int32_t perUnit, int32_t scale);

// Adds a changed rectangle to a short list: rectangles that overlap or
// touch are merged, and past `limit` rectangles the list becomes one
// rectangle around them all. Empty rectangles are ignored.
void AddDirtyRect(std::vector<RECT>& list, const RECT& area, size_t limit = 8);

// WHEEL_DELTA units of a wheel motion, in the host's sense: positive away
// from the user, or to the right.
int32_t WheelDelta(float sdlAmount, bool flipped);

}  // namespace kelvara::sdl
