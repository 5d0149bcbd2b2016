// Real input on the SDL desktop: SDL's events (and the X server's, through
// xdotool) reach the controls as the headless desktop's script does; and
// the clock, the clipboard and the mouse pointer are the machine's.

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "SdlTestSupport.h"
#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/backends/sdl/SdlDesktop.h"
#include "kelvara/host/FormFileLoader.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/host/UserControl.h"

namespace kelvara {
namespace {

using namespace sdltest;
using Lines = std::vector<std::string>;

std::unique_ptr<Form> LoadCadastro() {
    auto loaded = LoadFormFile(ReadText(kCadastro));
    if (!loaded) {
        return nullptr;
    }
    return std::move(loaded.Value());
}

std::string Num(float v) {
    return std::to_string(static_cast<int32_t>(std::lround(v)));
}

// Every event the form and its text boxes raise, in order.
void Watch(Form& form, Lines& log) {
    const auto mouse = [&log](std::string who, const char* what) {
        return [&log, who, what](int16_t& button, int16_t& shift, float& x, float& y) {
            log.push_back(who + "." + what + " " + std::to_string(button) + " " +
                          std::to_string(shift) + " " + Num(x) + "," + Num(y));
        };
    };
    form.MouseDown.Connect(mouse("form", "MouseDown"));
    form.MouseUp.Connect(mouse("form", "MouseUp"));
    form.MouseMove.Connect(mouse("form", "MouseMove"));
    form.Click.Connect([&log] { log.push_back("form.Click"); });
    for (const auto& c : form.Controls()) {
        auto* box = dynamic_cast<TextBox*>(c.get());
        if (box == nullptr) {
            continue;
        }
        const std::string who = box->Name();
        box->GotFocus.Connect([&log, who] { log.push_back(who + ".GotFocus"); });
        box->LostFocus.Connect([&log, who] { log.push_back(who + ".LostFocus"); });
        box->Change.Connect([&log, who, box] { log.push_back(who + ".Change " + box->Text()); });
        box->KeyDown.Connect([&log, who](int16_t& key, int16_t& shift) {
            log.push_back(who + ".KeyDown " + std::to_string(key) + " " + std::to_string(shift));
        });
        box->KeyPress.Connect([&log, who](int16_t& ascii) {
            log.push_back(who + ".KeyPress " + std::to_string(ascii));
        });
        box->KeyUp.Connect([&log, who](int16_t& key, int16_t& shift) {
            log.push_back(who + ".KeyUp " + std::to_string(key) + " " + std::to_string(shift));
        });
        box->MouseDown.Connect(mouse(who, "MouseDown"));
        box->MouseUp.Connect(mouse(who, "MouseUp"));
        box->MouseMove.Connect(mouse(who, "MouseMove"));
        box->Click.Connect([&log, who] { log.push_back(who + ".Click"); });
        box->DblClick.Connect([&log, who] { log.push_back(who + ".DblClick"); });
    }
}

// The middle of a control, in the form window's pixels.
POINT Middle(Form& form, const char* name) {
    RECT c;
    RECT f;
    GetWindowRect(form.Controls().Item(name)->hWnd(), c);
    GetWindowRect(form.hWnd(), f);
    return POINT{(c.Left + c.Right) / 2 - f.Left, (c.Top + c.Bottom) / 2 - f.Top};
}

TextBox* Box(Form& form, const char* name) {
    return dynamic_cast<TextBox*>(form.Controls().Item(name));
}

class SdlInputTest : public ::testing::Test {
public:
    std::unique_ptr<SdlDesktop> desktop;

    void Open() {
        std::string why;
        desktop = OpenDesktop(1, why);
        ASSERT_NE(desktop, nullptr) << why;
    }
    // Until the core and the X server have nothing more to say.
    void Settle() {
        for (int i = 0; i < 40; ++i) {
            if (desktop->Pump() == 0) {
                SDL_Delay(20);
                if (desktop->Pump() == 0) {
                    return;
                }
            }
        }
    }
    // Sends a key as SDL sends it from a keyboard: the press, its text
    // (if any) right after it, the release.
    void Press(SDL_Keycode key, SDL_Scancode scancode, uint16_t mod, const std::string& text = "") {
        PushKey(key, scancode, mod, true);
        if (!text.empty()) {
            PushText(text);
        }
        PushKey(key, scancode, mod, false);
    }
};

// A script of clicks, keys, text and the wheel, over the sample form.
std::vector<Step> Script(Form& form) {
    const POINT senha = Middle(form, "txtSenha");
    const POINT nome = Middle(form, "txtNome");
    const POINT client = form.ClientOrigin();
    return {
        Step::Click(senha.X, senha.Y),
        Step::Key('A', ShiftState::Shift),
        Step::Key('B'),
        Step::Key('1'),
        Step::Key(VK_SPACE),
        Step::Text("ç"),
        Step::Key(VK_LEFT),
        Step::Key(VK_BACK),
        Step::Key('A', ShiftState::Ctrl),
        Step::Key('X'),
        Step::Key(VK_TAB),
        Step::Key(VK_END, ShiftState::Ctrl),
        Step::Key(VK_RETURN),
        Step::Text("ã"),
        Step::Wheel(-1),
        Step::DblClick(nome.X, nome.Y),
        Step::Key(VK_DELETE),
        Step::Click(client.X + 270, client.Y + 55, ShiftState::Shift),
        Step::Key(VK_TAB, ShiftState::Shift),
    };
}

TEST_F(SdlInputTest, SdlEventsReachTheControlsAsTheHeadlessScriptDoes) {
    Lines want;
    Lines made;
    PixelBuffer wantPicture;
    std::vector<std::string> wantTexts;
    {
        HeadlessDesktop headless;
        auto form = LoadCadastro();
        ASSERT_TRUE(form);
        form->Show();
        headless.Pump();
        Watch(*form, want);
        PlayHeadless(Script(*form), headless, form->hWnd());
        for (const char* name : {"txtNome", "txtSenha", "txtObs"}) {
            wantTexts.push_back(Box(*form, name)->Text());
        }
        made = want;  // the focus taken below is no part of the script
        SetFocus(0);
        headless.Pump();
        headless.Core().Compose(form->hWnd(), wantPicture);
    }
    ASSERT_GT(made.size(), 40u);

    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    Lines have;
    Watch(*form, have);
    PlaySdl(Script(*form), *desktop, form->hWnd());
    Settle();
    EXPECT_EQ(FirstLineDifference(have, made), "");
    const char* names[] = {"txtNome", "txtSenha", "txtObs"};
    for (size_t i = 0; i < wantTexts.size(); ++i) {
        EXPECT_EQ(Box(*form, names[i])->Text(), wantTexts[i]) << names[i];
    }
    SetFocus(0);
    Settle();
    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(form->hWnd(), rendered));
    EXPECT_EQ(FirstDifference(rendered, wantPicture), "");
}

TEST_F(SdlInputTest, XdotoolTypingThroughTheXServerActsAsTheHeadlessScript) {
    Lines want;
    {
        HeadlessDesktop headless;
        auto form = LoadCadastro();
        ASSERT_TRUE(form);
        form->Show();
        headless.Pump();
        Watch(*form, want);
        const POINT senha = Middle(*form, "txtSenha");
        PlayHeadless({Step::Click(senha.X, senha.Y), Step::Text("Ab1 c"), Step::Key(VK_BACK),
                      Step::Key(VK_TAB)},
                     headless, form->hWnd());
    }

    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    Lines have;
    Watch(*form, have);
    RECT f;
    GetWindowRect(form->hWnd(), f);
    const POINT senha = Middle(*form, "txtSenha");
    // Shift is pressed and let go around the key, as the headless desktop
    // does it; xdotool's own typing of capitals lets go of Shift first.
    // (Characters the X keyboard lacks are left out: xdotool lends them a
    // key only for a moment, and a client may look the key up too late.
    // Accents are covered through SDL's queue.)
    const std::string commands[] = {
        "xdotool mousemove --sync " + std::to_string(f.Left + senha.X) + " " +
            std::to_string(f.Top + senha.Y) + " click 1",
        "xdotool keydown shift key a keyup shift",
        "xdotool type --delay 15 'b1 c'",
        "xdotool key BackSpace Tab",
    };
    // Taken as they come, beside xdotool.
    std::atomic<int> failed{-1};
    std::thread typist([&] {
        int status = 0;
        for (const std::string& command : commands) {
            status = status != 0 ? status : RunCommand(command);
        }
        failed = status;
    });
    for (int i = 0; i < 1000 && (failed < 0 || have.size() < want.size()); ++i) {
        desktop->Pump();
        SDL_Delay(5);
    }
    typist.join();
    ASSERT_EQ(failed, 0);
    Settle();
    EXPECT_EQ(FirstLineDifference(have, want), "");
    EXPECT_EQ(Box(*form, "txtSenha")->Text(), "Ab1 ");
    EXPECT_EQ(form->ActiveControl(), form->Controls().Item("txtObs"));
}

// Keyboards that type other than the key's own letter: Caps Lock, AltGr,
// dead keys, shifted digits, input methods.
TEST_F(SdlInputTest, KeysTypeWhatTheKeyboardLayoutMakesOfThem) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    TextBox* nome = Box(*form, "txtNome");
    Lines presses;
    nome->KeyPress.Connect([&](int16_t& ascii) { presses.push_back(std::to_string(ascii)); });
    const struct {
        const char* what;
        std::function<void(SdlInputTest&)> keys;
        const char* text;
        Lines presses;
        const char* focus;
    } cases[] = {
        {"Caps Lock",
         [](SdlInputTest& t) { t.Press(SDLK_a, SDL_SCANCODE_A, KMOD_CAPS, "A"); },
         "A",
         {"65"},
         "txtNome"},
        {"a shifted digit",
         [](SdlInputTest&) {
             PushKey(SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_LSHIFT, true);
             PushKey(SDLK_1, SDL_SCANCODE_1, KMOD_LSHIFT, true);
             PushText("!");
             PushKey(SDLK_1, SDL_SCANCODE_1, KMOD_LSHIFT, false);
             PushKey(SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_NONE, false);
         },
         "!",
         {"33"},
         "txtNome"},
        {"a dead key, then a letter",
         [](SdlInputTest& t) {
             t.Press(SDLK_UNKNOWN, SDL_SCANCODE_APOSTROPHE, KMOD_NONE);
             t.Press(SDLK_e, SDL_SCANCODE_E, KMOD_NONE, "é");
         },
         "é",
         {"233"},
         "txtNome"},
        {"AltGr as right Alt types its character and is no access key",
         [](SdlInputTest&) {
             PushKey(SDLK_RALT, SDL_SCANCODE_RALT, KMOD_RALT, true);
             PushKey(SDLK_s, SDL_SCANCODE_S, KMOD_RALT, true);
             PushText("ß");
             PushKey(SDLK_s, SDL_SCANCODE_S, KMOD_RALT, false);
             PushKey(SDLK_RALT, SDL_SCANCODE_RALT, KMOD_NONE, false);
         },
         "ß",
         {"223"},
         "txtNome"},
        {"Alt with a letter is the label's access key, text or not",
         [](SdlInputTest&) {
             PushKey(SDLK_LALT, SDL_SCANCODE_LALT, KMOD_LALT, true);
             PushKey(SDLK_s, SDL_SCANCODE_S, KMOD_LALT, true);
             PushText("s");
             PushKey(SDLK_s, SDL_SCANCODE_S, KMOD_LALT, false);
             PushKey(SDLK_LALT, SDL_SCANCODE_LALT, KMOD_NONE, false);
         },
         "",
         {},
         "txtSenha"},
        {"an input method's word",
         [](SdlInputTest&) { PushText("日本"); },
         "日本",
         {"26085", "26412"},
         "txtNome"},
        {"text arriving after its key is typed once",
         [](SdlInputTest& t) {
             PushKey(SDLK_a, SDL_SCANCODE_A, KMOD_NONE, true);
             t.desktop->Pump();
             PushText("a");
             PushKey(SDLK_a, SDL_SCANCODE_A, KMOD_NONE, false);
         },
         "a",
         {"97"},
         "txtNome"},
        {"Ctrl with a letter types no text",
         [](SdlInputTest& t) {
             PushKey(SDLK_LCTRL, SDL_SCANCODE_LCTRL, KMOD_LCTRL, true);
             t.Press(SDLK_b, SDL_SCANCODE_B, KMOD_LCTRL);
             PushKey(SDLK_LCTRL, SDL_SCANCODE_LCTRL, KMOD_NONE, false);
         },
         "",
         {"2"},
         "txtNome"},
    };
    for (const auto& c : cases) {
        nome->SetText("");
        nome->SetFocus();
        Settle();
        presses.clear();
        c.keys(*this);
        Settle();
        EXPECT_EQ(nome->Text(), c.text) << c.what;
        EXPECT_EQ(presses, c.presses) << c.what;
        EXPECT_EQ(form->ActiveControl(), form->Controls().Item(c.focus)) << c.what;
        EXPECT_GE(GetKeyState(VK_MENU), 0) << c.what;
        EXPECT_GE(GetKeyState(VK_CONTROL), 0) << c.what;
    }
}

TEST_F(SdlInputTest, ButtonsAndWheelsCarryTheHeldKeysAndDoubleClicksKeepTheCoresTime) {
    Open();
    Lines log;
    const HWND hwnd = CreateWindowEx(
        0, "Mouse", "", WS_POPUP | WS_VISIBLE, 100, 100, 200, 100, 0,
        [&log](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
            const std::string at = " " + std::to_string(GET_X_LPARAM(l)) + "," +
                                   std::to_string(GET_Y_LPARAM(l)) + " keys " +
                                   std::to_string(LOWORD(w));
            switch (m) {
                case WM_MOUSEWHEEL:
                    log.push_back("wheel " + std::to_string(GET_WHEEL_DELTA_WPARAM(w)) + " keys " +
                                  std::to_string(LOWORD(w)));
                    break;
                case WM_MOUSEHWHEEL:
                    log.push_back("hwheel " + std::to_string(GET_WHEEL_DELTA_WPARAM(w)) + " keys " +
                                  std::to_string(LOWORD(w)));
                    break;
                case WM_LBUTTONDOWN:
                    log.push_back("ldown" + at);
                    break;
                case WM_LBUTTONDBLCLK:
                    log.push_back("ldbl" + at);
                    break;
                case WM_RBUTTONDOWN:
                    log.push_back("rdown" + at);
                    break;
                case WM_MBUTTONDOWN:
                    log.push_back("mdown" + at);
                    break;
                case WM_XBUTTONDOWN:
                    log.push_back("xdown " + std::to_string(HIWORD(w)) + at);
                    break;
                default:
                    break;
            }
            return DefWindowProc(h, m, w, l);
        });
    Settle();
    SDL_Window* window = desktop->WindowOf(hwnd);
    const auto click = [&](uint8_t button) {
        PushButton(window, button, true, 10, 20);
        PushButton(window, button, false, 10, 20);
    };
    const struct {
        const char* what;
        std::function<void()> input;
        Lines want;
    } cases[] = {
        {"the wheel away from the user", [] { PushWheel(0, 1); }, {"wheel 120 keys 0"}},
        {"a flipped wheel, two notches", [] { PushWheel(0, 2, true); }, {"wheel -240 keys 0"}},
        {"the wheel to the left", [] { PushWheel(-1, 0); }, {"hwheel -120 keys 0"}},
        {"both ways at once", [] { PushWheel(1, -1); }, {"wheel -120 keys 0", "hwheel 120 keys 0"}},
        {"the wheel with Shift",
         [] {
             PushKey(SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_LSHIFT, true);
             PushWheel(0, 1);
             PushKey(SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_NONE, false);
         },
         {"wheel 120 keys " + std::to_string(MK_SHIFT)}},
        {"a left press with Ctrl",
         [&] {
             PushKey(SDLK_RCTRL, SDL_SCANCODE_RCTRL, KMOD_RCTRL, true);
             PushButton(window, SDL_BUTTON_LEFT, true, 10, 20);
             PushButton(window, SDL_BUTTON_LEFT, false, 10, 20);
             PushKey(SDLK_RCTRL, SDL_SCANCODE_RCTRL, KMOD_NONE, false);
         },
         {"ldown 10,20 keys " + std::to_string(MK_LBUTTON | MK_CONTROL)}},
        {"right, middle and side buttons",
         [&] {
             click(SDL_BUTTON_RIGHT);
             click(SDL_BUTTON_MIDDLE);
             click(SDL_BUTTON_X2);
         },
         {"rdown 10,20 keys " + std::to_string(MK_RBUTTON),
          "mdown 10,20 keys " + std::to_string(MK_MBUTTON),
          "xdown 2 10,20 keys " + std::to_string(MK_XBUTTON2)}},
        {"two quick clicks are a double click",
         [&] {
             click(SDL_BUTTON_LEFT);
             click(SDL_BUTTON_LEFT);
         },
         {"ldown 10,20 keys 1", "ldbl 10,20 keys 1"}},
        {"two slow clicks are two clicks",
         [&] {
             click(SDL_BUTTON_LEFT);
             desktop->Pump();
             SDL_Delay(GetDoubleClickTime() + 100);
             click(SDL_BUTTON_LEFT);
         },
         {"ldown 10,20 keys 1", "ldown 10,20 keys 1"}},
    };
    for (const auto& c : cases) {
        PushMotion(window, 10, 20);
        desktop->Pump();
        log.clear();
        c.input();
        Settle();
        EXPECT_EQ(log, c.want) << c.what;
    }
    DestroyWindow(hwnd);
}

TEST_F(SdlInputTest, LeavingFocusAndActivationReachTheCore) {
    Open();
    Lines log;
    const auto proc = [&log](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
        if (m == WM_MOUSEMOVE) {
            TRACKMOUSEEVENT track{};
            track.dwFlags = TME_LEAVE;
            track.hwndTrack = h;
            TrackMouseEvent(track);
        } else if (m == WM_MOUSELEAVE) {
            log.push_back("leave");
        } else if (m == WM_ACTIVATE) {
            log.push_back(LOWORD(w) == WA_INACTIVE ? "inactive" : "active");
        }
        return DefWindowProc(h, m, w, l);
    };
    const HWND a = CreateWindowEx(0, "A", "", WS_POPUP | WS_VISIBLE, 50, 50, 100, 100, 0, proc);
    const HWND b = CreateWindowEx(0, "B", "", WS_POPUP | WS_VISIBLE, 300, 50, 100, 100, 0, proc);
    const HWND quiet =
        CreateWindowEx(WS_EX_NOACTIVATE, "Q", "", WS_POPUP | WS_VISIBLE, 500, 50, 50, 50, 0, proc);
    SetActiveWindow(a);
    Settle();
    log.clear();

    PushMotion(desktop->WindowOf(a), 10, 10);
    desktop->Pump();
    PushWindowEvent(desktop->WindowOf(a), SDL_WINDOWEVENT_LEAVE);
    Settle();
    EXPECT_EQ(log, Lines{"leave"});
    POINT at;
    GetCursorPos(at);
    EXPECT_EQ(WindowFromPoint(at), HWND{0});

    log.clear();
    PushWindowEvent(desktop->WindowOf(b), SDL_WINDOWEVENT_FOCUS_GAINED);
    Settle();
    EXPECT_EQ(GetActiveWindow(), b);
    EXPECT_EQ(log, (Lines{"inactive", "active"}));
    PushWindowEvent(desktop->WindowOf(quiet), SDL_WINDOWEVENT_FOCUS_GAINED);
    Settle();
    EXPECT_EQ(GetActiveWindow(), b);

    // Keys held when the focus leaves are let go.
    PushKey(SDLK_LSHIFT, SDL_SCANCODE_LSHIFT, KMOD_LSHIFT, true);
    PushKey(SDLK_LALT, SDL_SCANCODE_LALT, KMOD_LSHIFT | KMOD_LALT, true);
    Settle();
    EXPECT_LT(GetKeyState(VK_SHIFT), 0);
    PushWindowEvent(desktop->WindowOf(b), SDL_WINDOWEVENT_FOCUS_LOST);
    Settle();
    EXPECT_GE(GetKeyState(VK_SHIFT), 0);
    EXPECT_GE(GetKeyState(VK_MENU), 0);
    for (HWND h : {a, b, quiet}) {
        DestroyWindow(h);
    }
}

TEST_F(SdlInputTest, ClosingAWindowAsksItsFormAndRunEndsWithTheLastWindow) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    std::vector<int16_t> modes;
    int16_t refuse = 1;
    form->QueryUnload.Connect([&](int16_t& cancel, int16_t mode) {
        modes.push_back(mode);
        cancel = refuse;
    });
    form->Show();
    Settle();
    SDL_Window* window = desktop->WindowOf(form->hWnd());
    PushWindowEvent(window, SDL_WINDOWEVENT_CLOSE);
    Settle();
    EXPECT_EQ(modes, std::vector<int16_t>{vbFormControlMenu});
    EXPECT_TRUE(form->Loaded());
    refuse = 0;
    PushWindowEvent(window, SDL_WINDOWEVENT_CLOSE);
    // Run takes the close, unloads the form, and returns once no window is
    // left to take input.
    EXPECT_EQ(desktop->Run(), 0);
    EXPECT_EQ(modes, (std::vector<int16_t>{vbFormControlMenu, vbFormControlMenu}));
    EXPECT_FALSE(form->Loaded());
    desktop->Present();
    EXPECT_EQ(desktop->WindowOf(form->hWnd()), nullptr);
}

TEST_F(SdlInputTest, TheClipboardIsTheMachines) {
    Open();
    const struct { std::string text; } cases[] = {{"Olá, mundo ✓"}, {"linha 1\nlinha 2"}, {""}};
    for (const auto& c : cases) {
        ASSERT_TRUE(SetClipboardText(c.text));
        char* seen = SDL_GetClipboardText();
        EXPECT_EQ(std::string(seen), c.text);
        SDL_free(seen);
        ASSERT_EQ(SDL_SetClipboardText(("de fora: " + c.text).c_str()), 0);
        EXPECT_EQ(GetClipboardText(), "de fora: " + c.text);
    }

    // Copy and paste between the form's boxes, by keys.
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    const auto ctrl = [this](SDL_Keycode key, SDL_Scancode scancode) {
        PushKey(SDLK_LCTRL, SDL_SCANCODE_LCTRL, KMOD_LCTRL, true);
        Press(key, scancode, KMOD_LCTRL);
        PushKey(SDLK_LCTRL, SDL_SCANCODE_LCTRL, KMOD_NONE, false);
    };
    ctrl(SDLK_a, SDL_SCANCODE_A);
    ctrl(SDLK_c, SDL_SCANCODE_C);
    Settle();
    char* copied = SDL_GetClipboardText();
    EXPECT_EQ(std::string(copied), "Maria da Silva");
    SDL_free(copied);
    Box(*form, "txtSenha")->SetFocus();
    ctrl(SDLK_v, SDL_SCANCODE_V);
    Settle();
    EXPECT_EQ(Box(*form, "txtSenha")->Text(), "Maria da Silva");
}

TEST_F(SdlInputTest, TimersKeepTheRealClockWithoutSpinning) {
    Open();
    constexpr uint32_t kElapse = 100;
    constexpr int kTicks = 5;
    std::vector<uint32_t> at;
    const HWND hwnd = CreateWindowEx(0, "Clock", "", WS_POPUP | WS_VISIBLE, 0, 0, 20, 20, 0,
                                     [&at](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                                         if (m == WM_TIMER) {
                                             at.push_back(GetTickCount());
                                             if (at.size() == kTicks) {
                                                 PostQuitMessage(7);
                                             }
                                         }
                                         return DefWindowProc(h, m, w, l);
                                     });
    Settle();
    const auto cpu = [] {
        rusage use{};
        getrusage(RUSAGE_SELF, &use);
        return use.ru_utime.tv_sec * 1000.0 + use.ru_utime.tv_usec / 1000.0 +
               use.ru_stime.tv_sec * 1000.0 + use.ru_stime.tv_usec / 1000.0;
    };
    const uint32_t start = GetTickCount();
    EXPECT_EQ(start, SDL_GetTicks());
    const double cpuStart = cpu();
    SetTimer(hwnd, 1, kElapse);
    EXPECT_EQ(desktop->Run(), 7);
    const double cpuUsed = cpu() - cpuStart;
    ASSERT_EQ(at.size(), static_cast<size_t>(kTicks));
    // Never early: each tick is due a whole period after the one before
    // was taken from the queue, so tick k comes no sooner than k periods
    // after the start (the gap between two handlers may be a millisecond
    // short, as the first handler runs a moment after its tick was taken).
    for (size_t k = 0; k < at.size(); ++k) {
        EXPECT_GE(at[k] - start, (k + 1) * kElapse) << "tick " << k << " at " << at[k] - start;
    }
    // Late only by the machine's scheduling.
    const uint32_t wall = at.back() - start;
    EXPECT_LE(wall, kTicks * kElapse + 250);
    EXPECT_LT(cpuUsed, 0.25 * wall) << "cpu " << cpuUsed << " ms in " << wall << " ms";
    DestroyWindow(hwnd);
}

class Pointed : public UserControl {
public:
    Pointed() : UserControl("Test.Pointed") {}
};

TEST_F(SdlInputTest, ThePointerIsTheOneTheWindowUnderTheMouseAsksFor) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    const auto icon = std::make_shared<PixelBuffer>();
    icon->Allocate(16, 16, RowOrder::TopDown);
    for (int32_t i = 0; i < 16; ++i) {
        uint8_t* p = icon->Pixel(i, i);
        p[3] = 255;
    }
    const struct {
        int16_t pointer;
        std::shared_ptr<const PixelBuffer> icon;
        RECT where;
    } controls[] = {{vbSizeNS, nullptr, {10, 140, 40, 155}}, {vbCustom, icon, {50, 140, 80, 155}}};
    for (size_t i = 0; i < std::size(controls); ++i) {
        auto* c = form->Controls().Add<Pointed>("uc" + std::to_string(i));
        c->SetBounds(controls[i].where);
        c->SetVisible(true);
        c->SetMousePointer(controls[i].pointer);
        c->SetMouseIcon(controls[i].icon);
    }
    form->Show();
    Settle();
    SDL_Window* window = desktop->WindowOf(form->hWnd());
    RECT f;
    GetWindowRect(form->hWnd(), f);
    const POINT client = form->ClientOrigin();
    const POINT nome = Middle(*form, "txtNome");
    const int32_t midY = (f.Bottom - f.Top) / 2;
    const struct {
        const char* where;
        POINT at;  // window pixels
        int16_t pointer;
    } cases[] = {
        {"the form", {client.X + 300, client.Y + 150}, vbDefault},
        {"a text box", nome, vbIbeam},
        {"a control with a sizing pointer", {client.X + 20, client.Y + 145}, vbSizeNS},
        {"a control with a picture", {client.X + 60, client.Y + 145}, vbCustom},
        {"the frame's right edge", {f.Right - f.Left - 1, midY}, vbSizeWE},
        {"the bottom right corner", {f.Right - f.Left - 1, f.Bottom - f.Top - 1}, vbSizeNWSE},
        {"back on the form", {client.X + 300, client.Y + 150}, vbDefault},
    };
    SDL_Cursor* previous = SDL_GetCursor();
    int16_t previousPointer = vbDefault;
    for (const auto& c : cases) {
        PushMotion(window, c.at.X, c.at.Y);
        desktop->Pump();
        EXPECT_EQ(desktop->CursorShape(), c.pointer) << c.where;
        // Each change of pointer shows another cursor.
        if (c.pointer != previousPointer) {
            EXPECT_NE(SDL_GetCursor(), previous) << c.where;
        }
        previous = SDL_GetCursor();
        previousPointer = c.pointer;
    }
}

}  // namespace
}  // namespace kelvara
