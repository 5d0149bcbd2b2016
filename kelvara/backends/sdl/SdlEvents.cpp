#include "kelvara/backends/sdl/SdlEvents.h"

#include "kelvara/host/WindowCore.h"

namespace kelvara::sdl {

void PushMotion(SDL_Window* window, int32_t x, int32_t y) {
    SDL_Event e{};
    e.type = SDL_MOUSEMOTION;
    e.motion.windowID = SDL_GetWindowID(window);
    e.motion.x = x;
    e.motion.y = y;
    SDL_PushEvent(&e);
}

void PushButton(SDL_Window* window, uint8_t button, bool down, int32_t x, int32_t y) {
    SDL_Event e{};
    e.type = down ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP;
    e.button.windowID = SDL_GetWindowID(window);
    e.button.button = button;
    e.button.state = down ? SDL_PRESSED : SDL_RELEASED;
    e.button.clicks = 1;
    e.button.x = x;
    e.button.y = y;
    SDL_PushEvent(&e);
}

void PushWheel(float x, float y, bool flipped) {
    SDL_Event e{};
    e.type = SDL_MOUSEWHEEL;
    e.wheel.windowID = 0;  // at the cursor the core knows
    e.wheel.x = static_cast<int32_t>(x);
    e.wheel.y = static_cast<int32_t>(y);
    e.wheel.preciseX = x;
    e.wheel.preciseY = y;
    e.wheel.direction = flipped ? SDL_MOUSEWHEEL_FLIPPED : SDL_MOUSEWHEEL_NORMAL;
    SDL_PushEvent(&e);
}

void PushKey(SDL_Keycode key, SDL_Scancode scancode, uint16_t mod, bool down) {
    SDL_Event e{};
    e.type = down ? SDL_KEYDOWN : SDL_KEYUP;
    e.key.state = down ? SDL_PRESSED : SDL_RELEASED;
    e.key.keysym.sym = key;
    e.key.keysym.scancode = scancode;
    e.key.keysym.mod = mod;
    SDL_PushEvent(&e);
}

void PushText(const std::string& text) {
    SDL_Event e{};
    e.type = SDL_TEXTINPUT;
    SDL_strlcpy(e.text.text, text.c_str(), sizeof e.text.text);
    SDL_PushEvent(&e);
}

void PushWindowEvent(SDL_Window* window, SDL_WindowEventID what) {
    SDL_Event e{};
    e.type = SDL_WINDOWEVENT;
    e.window.windowID = SDL_GetWindowID(window);
    e.window.event = static_cast<uint8_t>(what);
    SDL_PushEvent(&e);
}

UsKey UsKeyOf(int32_t vk) {
    if (vk >= 'A' && vk <= 'Z') {
        return {SDLK_a + (vk - 'A'), static_cast<SDL_Scancode>(SDL_SCANCODE_A + (vk - 'A'))};
    }
    if (vk >= '1' && vk <= '9') {
        return {SDLK_1 + (vk - '1'), static_cast<SDL_Scancode>(SDL_SCANCODE_1 + (vk - '1'))};
    }
    switch (vk) {
        case '0':
            return {SDLK_0, SDL_SCANCODE_0};
        case VK_SPACE:
            return {SDLK_SPACE, SDL_SCANCODE_SPACE};
        case VK_RETURN:
            return {SDLK_RETURN, SDL_SCANCODE_RETURN};
        case VK_TAB:
            return {SDLK_TAB, SDL_SCANCODE_TAB};
        case VK_BACK:
            return {SDLK_BACKSPACE, SDL_SCANCODE_BACKSPACE};
        case VK_ESCAPE:
            return {SDLK_ESCAPE, SDL_SCANCODE_ESCAPE};
        case VK_LEFT:
            return {SDLK_LEFT, SDL_SCANCODE_LEFT};
        case VK_RIGHT:
            return {SDLK_RIGHT, SDL_SCANCODE_RIGHT};
        case VK_UP:
            return {SDLK_UP, SDL_SCANCODE_UP};
        case VK_DOWN:
            return {SDLK_DOWN, SDL_SCANCODE_DOWN};
        case VK_HOME:
            return {SDLK_HOME, SDL_SCANCODE_HOME};
        case VK_END:
            return {SDLK_END, SDL_SCANCODE_END};
        case VK_DELETE:
            return {SDLK_DELETE, SDL_SCANCODE_DELETE};
        default:
            if (vk >= VK_F1 && vk <= VK_F12) {
                return {SDLK_F1 + (vk - VK_F1),
                        static_cast<SDL_Scancode>(SDL_SCANCODE_F1 + (vk - VK_F1))};
            }
            return {SDLK_UNKNOWN, SDL_SCANCODE_UNKNOWN};
    }
}

std::string UsTextOf(int32_t vk, int32_t shift) {
    if ((shift & (ShiftState::Ctrl | ShiftState::Alt)) != 0) {
        return "";
    }
    const bool shifted = (shift & ShiftState::Shift) != 0;
    if (vk >= 'A' && vk <= 'Z') {
        return std::string(1, static_cast<char>(shifted ? vk : vk - 'A' + 'a'));
    }
    if (vk >= '0' && vk <= '9' && !shifted) {
        return std::string(1, static_cast<char>(vk));
    }
    return vk == VK_SPACE ? " " : "";
}

void PushModifiers(int32_t shift, bool down, uint16_t& mod) {
    const struct {
        int32_t bit;
        SDL_Keycode key;
        SDL_Scancode scancode;
        uint16_t flag;
    } keys[] = {{ShiftState::Shift, SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_LSHIFT},
                {ShiftState::Ctrl, SDLK_LCTRL, SDL_SCANCODE_LCTRL, KMOD_LCTRL},
                {ShiftState::Alt, SDLK_LALT, SDL_SCANCODE_LALT, KMOD_LALT}};
    for (const auto& k : keys) {
        if ((shift & k.bit) != 0) {
            mod = down ? static_cast<uint16_t>(mod | k.flag) : static_cast<uint16_t>(mod & ~k.flag);
            PushKey(k.key, k.scancode, mod, down);
        }
    }
}

bool PushKeyStroke(int32_t vk, int32_t shift, uint16_t& mod) {
    const UsKey k = UsKeyOf(vk);
    if (k.key == SDLK_UNKNOWN) {
        return false;
    }
    PushModifiers(shift, true, mod);
    PushKey(k.key, k.scancode, mod, true);
    if (const std::string text = UsTextOf(vk, shift); !text.empty()) {
        PushText(text);
    }
    PushKey(k.key, k.scancode, mod, false);
    PushModifiers(shift, false, mod);
    return true;
}

}  // namespace kelvara::sdl
