// SDL's terms turned into the host's, without a display.

#include "kelvara/backends/sdl/SdlMapping.h"
#include "kelvara/backends/sdl/SdlEvents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Control.h"

namespace kelvara::sdl {
namespace {

std::string Text(const std::vector<RECT>& list) {
    std::string out;
    for (const RECT& r : list) {
        out += "{" + std::to_string(r.Left) + "," + std::to_string(r.Top) + "," +
               std::to_string(r.Right) + "," + std::to_string(r.Bottom) + "}";
    }
    return out;
}

TEST(SdlMapping, KeysBecomeTheHostsKeyCodes) {
    const struct {
        SDL_Keycode key;
        SDL_Scancode scancode;
        int32_t vk;
        const char* what;
    } cases[] = {
        // Letters and digits go by what the layout makes of the key.
        {SDLK_a, SDL_SCANCODE_A, 'A', "a letter"},
        {SDLK_z, SDL_SCANCODE_Z, 'Z', "the last letter"},
        {SDLK_a, SDL_SCANCODE_Q, 'A', "a letter where a French keyboard has it"},
        {SDLK_0, SDL_SCANCODE_0, '0', "zero"},
        {SDLK_9, SDL_SCANCODE_9, '9', "nine"},
        // Anything else that types goes by its place.
        {SDLK_AMPERSAND, SDL_SCANCODE_1, '1', "a French keyboard's digit row, unshifted"},
        {0xE9, SDL_SCANCODE_2, '2', "é on the digit row"},
        {0xE7, SDL_SCANCODE_SEMICOLON, 0xBA, "ç on a Brazilian keyboard"},
        {SDLK_SLASH, SDL_SCANCODE_INTERNATIONAL1, 0xC1, "the Brazilian /? key"},
        {SDLK_SLASH, SDL_SCANCODE_SLASH, 0xBF, "/ on a US keyboard"},
        {SDLK_LESS, SDL_SCANCODE_NONUSBACKSLASH, 0xE2, "the key beside left Shift"},
        {SDLK_UNKNOWN, SDL_SCANCODE_APOSTROPHE, 0xDE, "a dead key, by its place"},
        // The rest by name, whatever the layout.
        {SDLK_KP_ENTER, SDL_SCANCODE_KP_ENTER, VK_RETURN, "keypad Enter"},
        {SDLK_DELETE, SDL_SCANCODE_DELETE, VK_DELETE, "Delete"},
        {SDLK_PAGEUP, SDL_SCANCODE_PAGEUP, VK_PRIOR, "Page Up"},
        {SDLK_F1, SDL_SCANCODE_F1, 0x70, "F1"},
        {SDLK_F12, SDL_SCANCODE_F12, 0x7B, "F12"},
        {SDLK_F13, SDL_SCANCODE_F13, 0x7C, "F13"},
        {SDLK_F24, SDL_SCANCODE_F24, 0x87, "F24"},
        {SDLK_KP_0, SDL_SCANCODE_KP_0, 0x60, "keypad 0"},
        {SDLK_KP_1, SDL_SCANCODE_KP_1, 0x61, "keypad 1"},
        {SDLK_KP_9, SDL_SCANCODE_KP_9, 0x69, "keypad 9"},
        {SDLK_KP_PERIOD, SDL_SCANCODE_KP_PERIOD, 0x6E, "keypad ."},
        {SDLK_RSHIFT, SDL_SCANCODE_RSHIFT, VK_SHIFT, "right Shift"},
        {SDLK_MODE, SDL_SCANCODE_RALT, VK_MENU, "AltGr"},
        {SDLK_LGUI, SDL_SCANCODE_LGUI, 0x5B, "left Windows key"},
        {SDLK_CAPSLOCK, SDL_SCANCODE_CAPSLOCK, 0x14, "Caps Lock"},
        {SDLK_AUDIOPLAY, SDL_SCANCODE_AUDIOPLAY, 0, "a media key"},
        {SDLK_UNKNOWN, SDL_SCANCODE_UNKNOWN, 0, "nothing known"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(VirtualKeyOf(c.key, c.scancode), c.vk) << c.what;
    }
}

// Scripts type on a US keyboard: every key a script can press comes back
// as the same host key, with the text SDL would send with it.
TEST(SdlMapping, ScriptedKeysComeBackAsTheKeysTheyStandFor) {
    std::vector<int32_t> keys = {VK_SPACE, VK_RETURN, VK_TAB,  VK_BACK, VK_ESCAPE, VK_LEFT,
                                 VK_RIGHT, VK_UP,     VK_DOWN, VK_HOME, VK_END,    VK_DELETE};
    for (int32_t vk = 'A'; vk <= 'Z'; ++vk) {
        keys.push_back(vk);
    }
    for (int32_t vk = '0'; vk <= '9'; ++vk) {
        keys.push_back(vk);
    }
    for (int32_t vk = VK_F1; vk <= VK_F12; ++vk) {
        keys.push_back(vk);
    }
    for (const int32_t vk : keys) {
        const UsKey k = UsKeyOf(vk);
        EXPECT_EQ(VirtualKeyOf(k.key, k.scancode), vk) << vk;
    }
    EXPECT_EQ(UsKeyOf(VK_INSERT).key, SDLK_UNKNOWN) << "a key scripts do not know";
    uint16_t mod = 0;
    EXPECT_FALSE(PushKeyStroke(VK_INSERT, 0, mod));

    const struct {
        int32_t vk;
        int32_t shift;
        const char* text;
    } texts[] = {
        {'A', 0, "a"},
        {'A', ShiftState::Shift, "A"},
        {'A', ShiftState::Ctrl, ""},
        {'A', ShiftState::Alt, ""},
        {'7', 0, "7"},
        {'7', ShiftState::Shift, ""},  // left to a layout, as the core leaves it
        {VK_SPACE, 0, " "},
        {VK_RETURN, 0, ""},
    };
    for (const auto& t : texts) {
        EXPECT_EQ(UsTextOf(t.vk, t.shift), t.text) << t.vk << " " << t.shift;
    }
}

TEST(SdlMapping, ModifierStateBecomesHeldKeys) {
    const struct {
        uint16_t mod;
        bool altGr;
        HeldModifiers held;
    } cases[] = {
        {KMOD_NONE, false, {false, false, false}},
        {KMOD_LSHIFT, false, {true, false, false}},
        {KMOD_RSHIFT | KMOD_LCTRL, false, {true, true, false}},
        {KMOD_LALT, false, {false, false, true}},
        {KMOD_RALT, false, {false, false, true}},
        {KMOD_MODE, false, {false, true, true}},
        {KMOD_RALT, true, {false, true, true}},
        {KMOD_CAPS | KMOD_NUM, false, {false, false, false}},  // locks are not held keys
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ModifiersOf(c.mod, c.altGr), c.held) << c.mod << " " << c.altGr;
    }
    for (SDL_Keycode k :
         {SDLK_LSHIFT, SDLK_RSHIFT, SDLK_LCTRL, SDLK_RCTRL, SDLK_LALT, SDLK_RALT, SDLK_MODE}) {
        EXPECT_TRUE(IsModifierKey(k)) << k;
    }
    for (SDL_Keycode k : {SDLK_LGUI, SDLK_CAPSLOCK, SDLK_a, SDLK_TAB}) {
        EXPECT_FALSE(IsModifierKey(k)) << k;
    }
}

// The character the desktop expects the core to make of a bare key press
// must be the one the core makes, or text arriving late is typed twice or
// lost.
TEST(SdlMapping, TheCoresOwnCharactersAreForeseenExactly) {
    HeadlessDesktop desktop;
    std::vector<char32_t> typed;
    const HWND hwnd = CreateWindowEx(0, "Keys", "", WS_POPUP | WS_VISIBLE, 0, 0, 20, 20, 0,
                                     [&](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                                         if (m == WM_CHAR) {
                                             typed.push_back(static_cast<char32_t>(w));
                                         }
                                         return DefWindowProc(h, m, w, l);
                                     });
    SetFocus(hwnd);
    int32_t checked = 0;
    for (int32_t held = 0; held < 8; ++held) {
        const HeldModifiers mods{(held & ShiftState::Shift) != 0, (held & ShiftState::Ctrl) != 0,
                                 (held & ShiftState::Alt) != 0};
        for (int32_t vk = 0x08; vk <= 0xFE; ++vk) {
            if (vk == VK_SHIFT || vk == VK_CONTROL || vk == VK_MENU) {
                continue;
            }
            typed.clear();
            desktop.Key(vk, held);
            const char32_t want = typed.empty() ? 0 : typed.front();
            ASSERT_LE(typed.size(), 1u);
            EXPECT_EQ(CoreTypedChar(vk, mods), want) << "vk " << vk << " held " << held;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 8 * (0xFE - 0x08 + 1 - 3));
}

TEST(SdlMapping, PointersBecomeSystemCursors) {
    const struct {
        int16_t pointer;
        std::optional<SDL_SystemCursor> cursor;
    } cases[] = {
        {vbDefault, SDL_SYSTEM_CURSOR_ARROW},
        {vbArrow, SDL_SYSTEM_CURSOR_ARROW},
        {2, SDL_SYSTEM_CURSOR_CROSSHAIR},
        {vbIbeam, SDL_SYSTEM_CURSOR_IBEAM},
        {4, SDL_SYSTEM_CURSOR_ARROW},
        {5, SDL_SYSTEM_CURSOR_SIZEALL},
        {vbSizeNESW, SDL_SYSTEM_CURSOR_SIZENESW},
        {vbSizeNS, SDL_SYSTEM_CURSOR_SIZENS},
        {vbSizeNWSE, SDL_SYSTEM_CURSOR_SIZENWSE},
        {vbSizeWE, SDL_SYSTEM_CURSOR_SIZEWE},
        {10, SDL_SYSTEM_CURSOR_ARROW},
        {11, SDL_SYSTEM_CURSOR_WAIT},
        {12, SDL_SYSTEM_CURSOR_NO},
        {13, SDL_SYSTEM_CURSOR_WAITARROW},
        {14, SDL_SYSTEM_CURSOR_ARROW},
        {15, SDL_SYSTEM_CURSOR_SIZEALL},
        {vbCustom, std::nullopt},
        {-1, SDL_SYSTEM_CURSOR_ARROW},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SystemCursorOf(c.pointer), c.cursor) << c.pointer;
    }
}

TEST(SdlMapping, APicturesHotSpotIsTheTipOfItsTopRow) {
    const struct {
        std::vector<POINT> opaque;
        SDL_Point hot;
        const char* what;
    } cases[] = {
        {{}, {0, 0}, "a clear picture"},
        {{{0, 0}, {1, 1}, {0, 1}}, {0, 0}, "an arrow from the corner"},
        {{{5, 0}, {6, 0}, {4, 1}, {7, 1}}, {6, 0}, "a finger two pixels wide"},
        {{{2, 3}, {3, 3}, {4, 3}, {0, 9}}, {3, 3}, "a run of three further down"},
        {{{15, 15}}, {15, 15}, "one pixel at the far corner"},
    };
    for (const auto& c : cases) {
        PixelBuffer icon;
        ASSERT_TRUE(icon.Allocate(16, 16, RowOrder::BottomUp));
        for (const POINT& p : c.opaque) {
            icon.Pixel(p.X, p.Y)[3] = 255;
        }
        const SDL_Point hot = HotSpotOf(icon);
        EXPECT_EQ(hot.x, c.hot.x) << c.what;
        EXPECT_EQ(hot.y, c.hot.y) << c.what;
    }
}

TEST(SdlMapping, WindowStylesBecomeWindowKinds) {
    constexpr uint32_t base = SDL_WINDOW_BORDERLESS | SDL_WINDOW_ALLOW_HIGHDPI;
    const struct {
        uint32_t exStyle;
        uint32_t flags;
        const char* what;
    } cases[] = {
        {0, base, "a form"},
        {WS_EX_APPWINDOW, base, "a form shown in the task bar"},
        {WS_EX_TOOLWINDOW, base | SDL_WINDOW_UTILITY | SDL_WINDOW_SKIP_TASKBAR, "a tool window"},
        {WS_EX_TOOLWINDOW | WS_EX_APPWINDOW, base, "a tool window asking for the task bar"},
        {WS_EX_TOOLWINDOW | WS_EX_TOPMOST | WS_EX_TRANSPARENT,
         base | SDL_WINDOW_TOOLTIP | SDL_WINDOW_SKIP_TASKBAR | SDL_WINDOW_ALWAYS_ON_TOP,
         "a tooltip"},
        {WS_EX_NOACTIVATE, base | SDL_WINDOW_POPUP_MENU | SDL_WINDOW_SKIP_TASKBAR, "a drop-down"},
        {WS_EX_TOPMOST, base | SDL_WINDOW_ALWAYS_ON_TOP, "a topmost form"},
        {WS_EX_LAYERED, base, "a layered form"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WindowFlagsOf(WS_POPUP, c.exStyle), c.flags) << c.what;
    }
}

TEST(SdlMapping, DisplayScalesBecomeWholeNumbers) {
    const struct {
        float display;
        int32_t scale;
    } cases[] = {
        {0.0f, 1},  {0.5f, 1}, {1.0f, 1},   {1.25f, 1},
        {1.49f, 1}, {1.5f, 2}, {2.0f, 2},   {2.49f, 2},
        {2.5f, 3},  {3.0f, 3}, {100.0f, 8}, {std::numeric_limits<float>::quiet_NaN(), 1},
        {-2.0f, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ScaleForDisplay(c.display), c.scale) << c.display;
    }
}

TEST(SdlMapping, WindowUnitsBecomeLogicalPixelsRoundingDown) {
    const struct {
        int32_t units, perUnit, scale, logical;
    } cases[] = {
        {10, 1, 1, 10},
        {11, 1, 2, 5},
        {-1, 1, 2, -1},
        {-2, 1, 2, -1},
        {-3, 1, 2, -2},
        {5, 2, 2, 5},
        {5, 2, 4, 2},
        {0, 1, 3, 0},
        {-1, 1, 1, -1},
        {INT32_MAX, 8, 1, INT32_MAX},
        {INT32_MIN, 8, 1, INT32_MIN},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UnitsToLogical(c.units, c.perUnit, c.scale), c.logical)
            << c.units << " " << c.perUnit << " " << c.scale;
    }
}

TEST(SdlMapping, ChangedPartsMergeWhenTheyMeet) {
    const struct {
        std::vector<RECT> added;
        const char* want;
    } cases[] = {
        {{{0, 0, 10, 10}}, "{0,0,10,10}"},
        {{{0, 0, 10, 10}, {20, 20, 30, 30}}, "{0,0,10,10}{20,20,30,30}"},
        {{{0, 0, 10, 10}, {5, 5, 15, 15}}, "{0,0,15,15}"},
        {{{0, 0, 10, 10}, {10, 0, 20, 10}}, "{0,0,20,10}"},  // side by side
        {{{0, 0, 10, 10}, {2, 2, 4, 4}}, "{0,0,10,10}"},     // inside
        // The third joins the first two into one.
        {{{0, 0, 10, 10}, {20, 0, 30, 10}, {8, 0, 22, 5}}, "{0,0,30,10}"},
        {{{0, 0, 10, 10}, {5, 5, 5, 9}}, "{0,0,10,10}"},            // empty: ignored
        {{{0, 0, 1, 1}, {4, 0, 5, 1}, {8, 0, 9, 1}}, "{0,0,9,1}"},  // past the limit of two
    };
    for (const auto& c : cases) {
        std::vector<RECT> list;
        for (const RECT& r : c.added) {
            AddDirtyRect(list, r, 2);
        }
        EXPECT_EQ(Text(list), c.want);
    }
}

TEST(SdlMapping, WheelMotionBecomesWheelDelta) {
    const struct {
        float amount;
        bool flipped;
        int32_t delta;
    } cases[] = {
        {1.0f, false, 120},
        {-2.0f, false, -240},
        {1.0f, true, -120},
        {0.5f, false, 60},
        {0.0f, false, 0},
        {std::numeric_limits<float>::infinity(), false, 0},
        {std::numeric_limits<float>::quiet_NaN(), false, 0},
        {1e9f, false, 120000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WheelDelta(c.amount, c.flipped), c.delta) << c.amount << " " << c.flipped;
    }
    EXPECT_EQ(MouseButtonOf(SDL_BUTTON_LEFT), MouseButton::Left);
    EXPECT_EQ(MouseButtonOf(SDL_BUTTON_MIDDLE), MouseButton::Middle);
    EXPECT_EQ(MouseButtonOf(SDL_BUTTON_RIGHT), MouseButton::Right);
    EXPECT_EQ(MouseButtonOf(SDL_BUTTON_X1), MouseButton::X1);
    EXPECT_EQ(MouseButtonOf(SDL_BUTTON_X2), MouseButton::X2);
    EXPECT_EQ(MouseButtonOf(9), std::nullopt);
}

}  // namespace
}  // namespace kelvara::sdl
