#include "kelvara/backends/sdl/SdlMapping.h"

#include <algorithm>
#include <cmath>

#include "kelvara/host/Control.h"

namespace kelvara::sdl {

namespace {

// Virtual keys the window core has no names for.
constexpr int32_t kVkPause = 0x13;
constexpr int32_t kVkCapital = 0x14;
constexpr int32_t kVkSnapshot = 0x2C;
constexpr int32_t kVkLeftWin = 0x5B;
constexpr int32_t kVkRightWin = 0x5C;
constexpr int32_t kVkApps = 0x5D;
constexpr int32_t kVkNumpad0 = 0x60;
constexpr int32_t kVkMultiply = 0x6A;
constexpr int32_t kVkAdd = 0x6B;
constexpr int32_t kVkSeparator = 0x6C;
constexpr int32_t kVkSubtract = 0x6D;
constexpr int32_t kVkDecimal = 0x6E;
constexpr int32_t kVkDivide = 0x6F;
constexpr int32_t kVkF13 = 0x7C;
constexpr int32_t kVkNumLock = 0x90;
constexpr int32_t kVkScroll = 0x91;
constexpr int32_t kVkOem1 = 0xBA;  // ;: on a US keyboard
constexpr int32_t kVkOemPlus = 0xBB;
constexpr int32_t kVkOemComma = 0xBC;
constexpr int32_t kVkOemMinus = 0xBD;
constexpr int32_t kVkOemPeriod = 0xBE;
constexpr int32_t kVkOem2 = 0xBF;    // /?
constexpr int32_t kVkOem3 = 0xC0;    // `~
constexpr int32_t kVkAbntC1 = 0xC1;  // the Brazilian keyboard's /? beside right Shift
constexpr int32_t kVkOem4 = 0xDB;    // [{
constexpr int32_t kVkOem5 = 0xDC;    // \|
constexpr int32_t kVkOem6 = 0xDD;    // ]}
constexpr int32_t kVkOem7 = 0xDE;    // '"
constexpr int32_t kVkOem102 = 0xE2;  // the extra key beside left Shift

// Keys that are what they are under any layout.
int32_t NamedKey(SDL_Keycode key) {
    switch (key) {
        case SDLK_RETURN:
        case SDLK_KP_ENTER:
        case SDLK_RETURN2:
            return VK_RETURN;
        case SDLK_ESCAPE:
            return VK_ESCAPE;
        case SDLK_BACKSPACE:
            return VK_BACK;
        case SDLK_TAB:
            return VK_TAB;
        case SDLK_SPACE:
            return VK_SPACE;
        case SDLK_DELETE:
            return VK_DELETE;
        case SDLK_INSERT:
            return VK_INSERT;
        case SDLK_HOME:
            return VK_HOME;
        case SDLK_END:
            return VK_END;
        case SDLK_PAGEUP:
            return VK_PRIOR;
        case SDLK_PAGEDOWN:
            return VK_NEXT;
        case SDLK_LEFT:
            return VK_LEFT;
        case SDLK_RIGHT:
            return VK_RIGHT;
        case SDLK_UP:
            return VK_UP;
        case SDLK_DOWN:
            return VK_DOWN;
        case SDLK_LSHIFT:
        case SDLK_RSHIFT:
            return VK_SHIFT;
        case SDLK_LCTRL:
        case SDLK_RCTRL:
            return VK_CONTROL;
        case SDLK_LALT:
        case SDLK_RALT:
        case SDLK_MODE:
            return VK_MENU;
        case SDLK_LGUI:
            return kVkLeftWin;
        case SDLK_RGUI:
            return kVkRightWin;
        case SDLK_APPLICATION:
            return kVkApps;
        case SDLK_CAPSLOCK:
            return kVkCapital;
        case SDLK_NUMLOCKCLEAR:
            return kVkNumLock;
        case SDLK_SCROLLLOCK:
            return kVkScroll;
        case SDLK_PAUSE:
            return kVkPause;
        case SDLK_PRINTSCREEN:
            return kVkSnapshot;
        case SDLK_KP_DIVIDE:
            return kVkDivide;
        case SDLK_KP_MULTIPLY:
            return kVkMultiply;
        case SDLK_KP_MINUS:
            return kVkSubtract;
        case SDLK_KP_PLUS:
            return kVkAdd;
        case SDLK_KP_PERIOD:
        case SDLK_KP_DECIMAL:
            return kVkDecimal;
        case SDLK_KP_COMMA:
            return kVkSeparator;
        case SDLK_KP_0:
            return kVkNumpad0;
        default:
            break;
    }
    if (key >= SDLK_KP_1 && key <= SDLK_KP_9) {
        return kVkNumpad0 + 1 + static_cast<int32_t>(key - SDLK_KP_1);
    }
    if (key >= SDLK_F1 && key <= SDLK_F12) {
        return VK_F1 + static_cast<int32_t>(key - SDLK_F1);
    }
    if (key >= SDLK_F13 && key <= SDLK_F24) {
        return kVkF13 + static_cast<int32_t>(key - SDLK_F13);
    }
    return 0;
}

// Keys by their place, for those whose character has no key code of the
// host (punctuation, and letters or digits a layout moved elsewhere).
int32_t KeyByPlace(SDL_Scancode scancode) {
    if (scancode >= SDL_SCANCODE_A && scancode <= SDL_SCANCODE_Z) {
        return 'A' + static_cast<int32_t>(scancode - SDL_SCANCODE_A);
    }
    if (scancode >= SDL_SCANCODE_1 && scancode <= SDL_SCANCODE_9) {
        return '1' + static_cast<int32_t>(scancode - SDL_SCANCODE_1);
    }
    switch (scancode) {
        case SDL_SCANCODE_0:
            return '0';
        case SDL_SCANCODE_SEMICOLON:
            return kVkOem1;
        case SDL_SCANCODE_EQUALS:
            return kVkOemPlus;
        case SDL_SCANCODE_COMMA:
            return kVkOemComma;
        case SDL_SCANCODE_MINUS:
            return kVkOemMinus;
        case SDL_SCANCODE_PERIOD:
            return kVkOemPeriod;
        case SDL_SCANCODE_SLASH:
            return kVkOem2;
        case SDL_SCANCODE_GRAVE:
            return kVkOem3;
        case SDL_SCANCODE_LEFTBRACKET:
            return kVkOem4;
        case SDL_SCANCODE_BACKSLASH:
        case SDL_SCANCODE_NONUSHASH:
            return kVkOem5;
        case SDL_SCANCODE_RIGHTBRACKET:
            return kVkOem6;
        case SDL_SCANCODE_APOSTROPHE:
            return kVkOem7;
        case SDL_SCANCODE_NONUSBACKSLASH:
            return kVkOem102;
        case SDL_SCANCODE_INTERNATIONAL1:
            return kVkAbntC1;
        default:
            return 0;
    }
}

}  // namespace

int32_t VirtualKeyOf(SDL_Keycode key, SDL_Scancode scancode) {
    if (key >= SDLK_a && key <= SDLK_z) {
        return 'A' + static_cast<int32_t>(key - SDLK_a);
    }
    if (key >= SDLK_0 && key <= SDLK_9) {
        return '0' + static_cast<int32_t>(key - SDLK_0);
    }
    if (const int32_t named = NamedKey(key); named != 0) {
        return named;
    }
    return KeyByPlace(scancode);
}

bool IsModifierKey(SDL_Keycode key) {
    switch (key) {
        case SDLK_LSHIFT:
        case SDLK_RSHIFT:
        case SDLK_LCTRL:
        case SDLK_RCTRL:
        case SDLK_LALT:
        case SDLK_RALT:
        case SDLK_MODE:
            return true;
        default:
            return false;
    }
}

std::optional<MouseButton> MouseButtonOf(uint8_t sdlButton) {
    switch (sdlButton) {
        case SDL_BUTTON_LEFT:
            return MouseButton::Left;
        case SDL_BUTTON_MIDDLE:
            return MouseButton::Middle;
        case SDL_BUTTON_RIGHT:
            return MouseButton::Right;
        case SDL_BUTTON_X1:
            return MouseButton::X1;
        case SDL_BUTTON_X2:
            return MouseButton::X2;
        default:
            return std::nullopt;
    }
}

HeldModifiers ModifiersOf(uint16_t sdlMod, bool altGr) {
    // Deliberate: AltGr is Ctrl+Alt to the host, so that a character typed
    // with it is a plain key press and not a menu access key.
    const bool level3 = altGr || (sdlMod & KMOD_MODE) != 0;
    HeldModifiers held;
    held.Shift = (sdlMod & KMOD_SHIFT) != 0;
    held.Ctrl = (sdlMod & KMOD_CTRL) != 0 || level3;
    held.Alt = (sdlMod & KMOD_ALT) != 0 || level3;
    return held;
}

char32_t CoreTypedChar(int32_t vk, HeldModifiers held) {
    if (held.Alt && !held.Ctrl) {
        return 0;  // a system key: a menu's, not text
    }
    if (vk >= 'A' && vk <= 'Z') {
        if (held.Ctrl) {
            return static_cast<char32_t>(vk - 'A' + 1);
        }
        return static_cast<char32_t>(held.Shift ? vk : vk - 'A' + 'a');
    }
    if (vk >= '0' && vk <= '9') {
        return held.Shift || held.Ctrl ? 0 : static_cast<char32_t>(vk);
    }
    if (vk == VK_SPACE || vk == VK_RETURN || vk == VK_BACK || vk == VK_ESCAPE) {
        return static_cast<char32_t>(vk);
    }
    if (vk == VK_TAB && !held.Ctrl) {
        return static_cast<char32_t>(vk);
    }
    return 0;
}

std::optional<SDL_SystemCursor> SystemCursorOf(int16_t pointer) {
    switch (pointer) {
        case 2:
            return SDL_SYSTEM_CURSOR_CROSSHAIR;
        case vbIbeam:
            return SDL_SYSTEM_CURSOR_IBEAM;
        case 5:
        case 15:
            return SDL_SYSTEM_CURSOR_SIZEALL;
        case vbSizeNESW:
            return SDL_SYSTEM_CURSOR_SIZENESW;
        case vbSizeNS:
            return SDL_SYSTEM_CURSOR_SIZENS;
        case vbSizeNWSE:
            return SDL_SYSTEM_CURSOR_SIZENWSE;
        case vbSizeWE:
            return SDL_SYSTEM_CURSOR_SIZEWE;
        case 11:
            return SDL_SYSTEM_CURSOR_WAIT;
        case 12:
            return SDL_SYSTEM_CURSOR_NO;
        case 13:
            return SDL_SYSTEM_CURSOR_WAITARROW;
        case vbCustom:
            return std::nullopt;
        default:
            // The default, the arrow, and the shapes SDL has no likeness of
            // (icon, up arrow, arrow with question mark).
            return SDL_SYSTEM_CURSOR_ARROW;
    }
}

SDL_Point HotSpotOf(const PixelBuffer& icon) {
    for (int32_t y = 0; y < icon.Height(); ++y) {
        int32_t first = -1;
        int32_t last = -1;
        for (int32_t x = 0; x < icon.Width(); ++x) {
            if (icon.Pixel(x, y)[3] != 0) {
                first = first < 0 ? x : first;
                last = x;
            }
        }
        if (first >= 0) {
            return SDL_Point{(first + last + 1) / 2, y};
        }
    }
    return SDL_Point{0, 0};
}

uint32_t WindowFlagsOf(uint32_t style, uint32_t exStyle) {
    (void)style;
    uint32_t flags = SDL_WINDOW_BORDERLESS | SDL_WINDOW_ALLOW_HIGHDPI;
    const bool tool = (exStyle & WS_EX_TOOLWINDOW) != 0 && (exStyle & WS_EX_APPWINDOW) == 0;
    if ((exStyle & WS_EX_TRANSPARENT) != 0 && tool) {
        flags |= SDL_WINDOW_TOOLTIP | SDL_WINDOW_SKIP_TASKBAR;
    } else if ((exStyle & WS_EX_NOACTIVATE) != 0) {
        flags |= SDL_WINDOW_POPUP_MENU | SDL_WINDOW_SKIP_TASKBAR;
    } else if (tool) {
        flags |= SDL_WINDOW_UTILITY | SDL_WINDOW_SKIP_TASKBAR;
    }
    if ((exStyle & WS_EX_TOPMOST) != 0) {
        flags |= SDL_WINDOW_ALWAYS_ON_TOP;
    }
    return flags;
}

int32_t ScaleForDisplay(float displayScale) {
    if (!(displayScale >= 1.0f)) {  // also NaN
        return 1;
    }
    return std::clamp(static_cast<int32_t>(std::floor(displayScale + 0.5f)), 1, 8);
}

int32_t UnitsToLogical(int32_t units, int32_t perUnit, int32_t scale) {
    const int64_t device = static_cast<int64_t>(units) * std::max(perUnit, 1);
    const int64_t s = std::max(scale, 1);
    const int64_t q = device >= 0 ? device / s : -((-device + s - 1) / s);
    return static_cast<int32_t>(std::clamp<int64_t>(q, INT32_MIN, INT32_MAX));
}

void AddDirtyRect(std::vector<RECT>& list, const RECT& area, size_t limit) {
    if (area.IsEmpty()) {
        return;
    }
    const auto touch = [](const RECT& a, const RECT& b) {
        return a.Left <= b.Right && b.Left <= a.Right && a.Top <= b.Bottom && b.Top <= a.Bottom;
    };
    const auto unite = [](const RECT& a, const RECT& b) {
        return RECT{std::min(a.Left, b.Left), std::min(a.Top, b.Top), std::max(a.Right, b.Right),
                    std::max(a.Bottom, b.Bottom)};
    };
    RECT grown = area;
    // A merged rectangle may now touch others it did not before.
    for (size_t i = 0; i < list.size();) {
        if (touch(list[i], grown)) {
            grown = unite(list[i], grown);
            list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
            i = 0;
        } else {
            ++i;
        }
    }
    list.push_back(grown);
    if (list.size() > std::max<size_t>(limit, 1)) {
        RECT box = list.front();
        for (const RECT& r : list) {
            box = unite(box, r);
        }
        list.assign(1, box);
    }
}

int32_t WheelDelta(float sdlAmount, bool flipped) {
    const float amount = flipped ? -sdlAmount : sdlAmount;
    if (!std::isfinite(amount)) {
        return 0;
    }
    const float clamped = std::clamp(amount, -1000.0f, 1000.0f);
    return static_cast<int32_t>(std::lround(clamped * static_cast<float>(WHEEL_DELTA)));
}

}  // namespace kelvara::sdl
