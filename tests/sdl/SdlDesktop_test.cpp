// Forms in real windows: what the SDL desktop shows, where, and how it keeps
// the windows up to date.

#include "kelvara/backends/sdl/SdlDesktop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "SdlTestSupport.h"
#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/FormFileLoader.h"

namespace kelvara {
namespace {

using namespace sdltest;

std::unique_ptr<Form> LoadCadastro() {
    auto loaded = LoadFormFile(ReadText(kCadastro));
    if (!loaded) {
        return nullptr;
    }
    return std::move(loaded.Value());
}

// The form as the headless desktop shows it, with no control focused (a
// caret blinks on the real clock).
bool HeadlessPicture(PixelBuffer& out) {
    HeadlessDesktop headless;
    auto form = LoadCadastro();
    if (!form) {
        return false;
    }
    form->Show();
    SetFocus(0);
    headless.Pump();
    return headless.Core().Compose(form->hWnd(), out);
}

class SdlDesktopTest : public ::testing::Test {
protected:
    std::unique_ptr<SdlDesktop> desktop;

    void Open(int32_t scale = 1) {
        std::string why;
        desktop = OpenDesktop(scale, why);
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
    // What the core itself composes for the window: what must show.
    PixelBuffer Truth(HWND hwnd) {
        PixelBuffer out;
        desktop->Core().Compose(hwnd, out);
        return out;
    }
};

TEST_F(SdlDesktopTest, AFormShowsItsHeadlessPicturePixelForPixel) {
    PixelBuffer want;
    ASSERT_TRUE(HeadlessPicture(want));
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    SetFocus(0);
    Settle();
    const HWND hwnd = form->hWnd();
    SDL_Window* window = desktop->WindowOf(hwnd);
    ASSERT_NE(window, nullptr);
    EXPECT_NE(SDL_GetWindowFlags(window) & SDL_WINDOW_BORDERLESS, 0u);
    EXPECT_STREQ(SDL_GetWindowTitle(window), "Cadastro de clientes");

    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, want), "");

    // The X server shows the same, where the core placed the window.
    RECT r;
    GetWindowRect(hwnd, r);
    int x = 0;
    int y = 0;
    SDL_GetWindowPosition(window, &x, &y);
    EXPECT_EQ(x, r.Left);
    EXPECT_EQ(y, r.Top);
    std::string difference = "no capture";
    for (int attempt = 0; attempt < 10 && !difference.empty(); ++attempt) {
        // The server draws what it was sent in its own time.
        SDL_Delay(attempt == 0 ? 0 : 100);
        PixelBuffer screen;
        PixelBuffer shown;
        std::string why;
        ASSERT_TRUE(CaptureScreen(screen, why)) << why;
        ASSERT_TRUE(Crop(screen, r, shown));
        difference = FirstDifference(shown, want);
    }
    EXPECT_EQ(difference, "");
}

TEST_F(SdlDesktopTest, OnlyChangedPartsGoToTheTexture) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    const HWND hwnd = form->hWnd();
    auto* nome = form->Controls().Item("txtNome");
    ASSERT_NE(nome, nullptr);
    RECT box;
    GetWindowRect(nome->hWnd(), box);
    const int64_t boxArea = int64_t{box.Right - box.Left} * (box.Bottom - box.Top);

    // Typing into the focused box sends no more than the box.
    int64_t before = desktop->Stats().UploadedPixels;
    PushKey(SDLK_x, SDL_SCANCODE_X, KMOD_NONE, true);
    PushText("x");
    PushKey(SDLK_x, SDL_SCANCODE_X, KMOD_NONE, false);
    desktop->Pump();
    const int64_t typed = desktop->Stats().UploadedPixels - before;
    EXPECT_GT(typed, 0);
    EXPECT_LE(typed, boxArea);
    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, Truth(hwnd)), "");

    // Moving a window sends nothing; making it larger sends all of it.
    SetFocus(0);  // no caret blinking from here
    Settle();
    before = desktop->Stats().UploadedPixels;
    SetWindowPos(hwnd, 0, 40, 30, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    Settle();
    EXPECT_EQ(desktop->Stats().UploadedPixels - before, 0);
    int x = 0;
    int y = 0;
    SDL_GetWindowPosition(desktop->WindowOf(hwnd), &x, &y);
    EXPECT_EQ(x, 40);
    EXPECT_EQ(y, 30);

    before = desktop->Stats().UploadedPixels;
    SetWindowPos(hwnd, 0, 0, 0, 400, 300, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    Settle();
    EXPECT_EQ(desktop->Stats().UploadedPixels - before, 400 * 300);
    int w = 0;
    int h = 0;
    SDL_GetWindowSize(desktop->WindowOf(hwnd), &w, &h);
    EXPECT_EQ(w, 400);
    EXPECT_EQ(h, 300);
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, Truth(hwnd)), "");
}

TEST_F(SdlDesktopTest, AtDoubleScaleEachPixelIsATwoByTwoSquare) {
    Open(2);
    ASSERT_EQ(desktop->Scale(), 2);
    SDL_Rect usable;
    ASSERT_EQ(SDL_GetDisplayUsableBounds(0, &usable), 0);
    RECT work;
    ASSERT_TRUE(SystemParametersInfo(SPI_GETWORKAREA, 0, &work));
    EXPECT_EQ(work.Right - work.Left, usable.w / 2);
    EXPECT_EQ(work.Bottom - work.Top, usable.h / 2);

    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    SetFocus(0);
    Settle();
    const HWND hwnd = form->hWnd();
    RECT r;
    GetWindowRect(hwnd, r);
    SDL_Window* window = desktop->WindowOf(hwnd);
    int x = 0;
    int y = 0;
    int w = 0;
    int h = 0;
    SDL_GetWindowPosition(window, &x, &y);
    SDL_GetWindowSize(window, &w, &h);
    EXPECT_EQ(x, 2 * r.Left);
    EXPECT_EQ(y, 2 * r.Top);
    EXPECT_EQ(w, 2 * (r.Right - r.Left));
    EXPECT_EQ(h, 2 * (r.Bottom - r.Top));

    const PixelBuffer truth = Truth(hwnd);
    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    ASSERT_EQ(rendered.Width(), 2 * truth.Width());
    ASSERT_EQ(rendered.Height(), 2 * truth.Height());
    int32_t wrong = 0;
    for (int32_t py = 0; py < rendered.Height(); ++py) {
        for (int32_t px = 0; px < rendered.Width(); ++px) {
            const uint8_t* have = rendered.Pixel(px, py);
            const uint8_t* want = truth.Pixel(px / 2, py / 2);
            wrong += (have[0] != want[0] || have[1] != want[1] || have[2] != want[2]) ? 1 : 0;
        }
    }
    EXPECT_EQ(wrong, 0);

    // The mouse in device pixels lands on the logical pixel it covers.
    const struct { int32_t device, logical; } points[] = {{0, 0}, {1, 0}, {2, 1}, {41, 20}};
    for (const auto& p : points) {
        PushMotion(window, p.device, p.device);
        desktop->Pump();
        POINT at;
        GetCursorPos(at);
        EXPECT_EQ(at.X, r.Left + p.logical) << p.device;
        EXPECT_EQ(at.Y, r.Top + p.logical) << p.device;
    }
}

// The form's own frame, driven by SDL's mouse: the real window follows.
TEST_F(SdlDesktopTest, TheFrameMovesSizesMaximisesAndMinimisesTheRealWindow) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    SetFocus(0);
    Settle();
    const HWND hwnd = form->hWnd();
    SDL_Window* window = desktop->WindowOf(hwnd);
    const auto where = [&] {
        int x = 0;
        int y = 0;
        int w = 0;
        int h = 0;
        SDL_GetWindowPosition(window, &x, &y);
        SDL_GetWindowSize(window, &w, &h);
        return RECT{x, y, x + w, y + h};
    };
    const auto same = [](const RECT& a, const RECT& b) {
        return a.Left == b.Left && a.Top == b.Top && a.Right == b.Right && a.Bottom == b.Bottom;
    };
    // A press at `from` (window pixels), a move by (dx, dy) and the
    // release, where the mouse then is over the window as it stands.
    const auto drag = [&](POINT from, int32_t dx, int32_t dy) {
        RECT before;
        GetWindowRect(hwnd, before);
        PushMotion(window, from.X, from.Y);
        PushButton(window, SDL_BUTTON_LEFT, true, from.X, from.Y);
        PushMotion(window, from.X + dx, from.Y + dy);
        Settle();
        RECT after;
        GetWindowRect(hwnd, after);
        const int32_t x = before.Left + from.X + dx - after.Left;
        const int32_t y = before.Top + from.Y + dy - after.Top;
        PushButton(window, SDL_BUTTON_LEFT, false, x, y);
        Settle();
    };
    RECT start;
    GetWindowRect(hwnd, start);
    const Form::FrameLayout layout = form->Layout();

    drag(POINT{layout.caption.Left + 40, (layout.caption.Top + layout.caption.Bottom) / 2}, 30, 20);
    RECT moved;
    GetWindowRect(hwnd, moved);
    EXPECT_TRUE(
        same(moved, RECT{start.Left + 30, start.Top + 20, start.Right + 30, start.Bottom + 20}));
    EXPECT_TRUE(same(where(), moved));

    drag(POINT{moved.Right - moved.Left - 1, moved.Bottom - moved.Top - 1}, 40, 25);
    RECT sized;
    GetWindowRect(hwnd, sized);
    EXPECT_TRUE(same(sized, RECT{moved.Left, moved.Top, moved.Right + 40, moved.Bottom + 25}));
    EXPECT_TRUE(same(where(), sized));
    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, Truth(hwnd)), "");

    const auto click = [&](const RECT& button) {
        const POINT at{(button.Left + button.Right) / 2, (button.Top + button.Bottom) / 2};
        PushMotion(window, at.X, at.Y);
        PushButton(window, SDL_BUTTON_LEFT, true, at.X, at.Y);
        PushButton(window, SDL_BUTTON_LEFT, false, at.X, at.Y);
        Settle();
    };
    // The work area is the display's usable part; a maximised form fills it.
    SDL_Rect usable;
    ASSERT_EQ(SDL_GetDisplayUsableBounds(0, &usable), 0);
    RECT work;
    ASSERT_TRUE(SystemParametersInfo(SPI_GETWORKAREA, 0, &work));
    EXPECT_TRUE(same(work, RECT{usable.x, usable.y, usable.x + usable.w, usable.y + usable.h}));
    click(form->Layout().maximize);
    EXPECT_TRUE(IsZoomed(hwnd));
    EXPECT_TRUE(same(where(), RECT{usable.x, usable.y, usable.x + usable.w, usable.y + usable.h}));
    click(form->Layout().maximize);
    EXPECT_FALSE(IsZoomed(hwnd));
    EXPECT_TRUE(same(where(), sized));

    // Minimised by its button; given back by the desktop (a task bar).
    click(form->Layout().minimize);
    EXPECT_TRUE(IsIconic(hwnd));
    PushWindowEvent(window, SDL_WINDOWEVENT_RESTORED);
    Settle();
    EXPECT_FALSE(IsIconic(hwnd));
    EXPECT_TRUE(same(where(), sized));
}

TEST_F(SdlDesktopTest, WindowKindsOpacityAndVisibilityFollowTheCore) {
    Open();
    const struct {
        uint32_t exStyle;
        uint32_t flags;
        const char* what;
    } cases[] = {
        {0, SDL_WINDOW_BORDERLESS, "a plain window"},
        {WS_EX_TOOLWINDOW, SDL_WINDOW_UTILITY | SDL_WINDOW_SKIP_TASKBAR, "a tool window"},
        {WS_EX_TOOLWINDOW | WS_EX_TOPMOST | WS_EX_TRANSPARENT,
         SDL_WINDOW_TOOLTIP | SDL_WINDOW_ALWAYS_ON_TOP, "a tooltip"},
        {WS_EX_NOACTIVATE, SDL_WINDOW_POPUP_MENU, "a drop-down"},
    };
    for (const auto& c : cases) {
        const HWND hwnd = CreateWindowEx(c.exStyle, "Kind", c.what, WS_POPUP | WS_VISIBLE, 10, 10,
                                         60, 40, 0, nullptr);
        Settle();
        SDL_Window* window = desktop->WindowOf(hwnd);
        ASSERT_NE(window, nullptr) << c.what;
        EXPECT_EQ(SDL_GetWindowFlags(window) & c.flags, c.flags) << c.what;
        DestroyWindow(hwnd);
        Settle();
        EXPECT_EQ(desktop->WindowOf(hwnd), nullptr) << c.what;
    }

    // A new kind makes a new SDL window, showing the same picture.
    const HWND hwnd = CreateWindowEx(WS_EX_LAYERED, "Kind", "", WS_POPUP | WS_VISIBLE, 10, 10, 60,
                                     40, 0, nullptr);
    GetDC(hwnd)->FillRect(RECT{0, 0, 60, 40}, 0x3366CC);
    Settle();
    SetWindowLong(hwnd, GWL_EXSTYLE, WS_EX_LAYERED | WS_EX_TOOLWINDOW);
    Settle();
    SDL_Window* window = desktop->WindowOf(hwnd);
    EXPECT_NE(SDL_GetWindowFlags(window) & SDL_WINDOW_UTILITY, 0u);
    PixelBuffer rendered;
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, Truth(hwnd)), "");

    float opacity = 0;
    SetLayeredWindowAttributes(hwnd, 0, 51, LWA_ALPHA);
    Settle();
    ASSERT_EQ(SDL_GetWindowOpacity(window, &opacity), 0);
    EXPECT_NEAR(opacity, 0.2f, 0.01f);

    // Drawn while hidden, shown as drawn.
    ShowWindow(hwnd, SW_HIDE);
    Settle();
    EXPECT_NE(SDL_GetWindowFlags(window) & SDL_WINDOW_HIDDEN, 0u);
    GetDC(hwnd)->FillRect(RECT{5, 5, 20, 20}, 0x00FF00);
    ShowWindow(hwnd, SW_SHOWNA);
    Settle();
    EXPECT_EQ(SDL_GetWindowFlags(window) & SDL_WINDOW_HIDDEN, 0u);
    ASSERT_TRUE(desktop->ReadPixels(hwnd, rendered));
    EXPECT_EQ(FirstDifference(rendered, Truth(hwnd)), "");
    DestroyWindow(hwnd);
}

// The _NET_WM_ICON of the X window of that title: width, height, then one
// straight ARGB number per pixel. Empty when it has none.
std::vector<uint64_t> IconProperty(const std::string& title) {
    const std::string out = "/tmp/kelvara-icon-" + std::to_string(getpid());
    RunCommand("xprop -id \"$(xdotool search --name '" + title +
               "' | head -n 1)\" -f _NET_WM_ICON 32c '=$0+' _NET_WM_ICON > " + out +
               " 2>/dev/null");
    std::string text = ReadText(out);
    std::remove(out.c_str());
    std::vector<uint64_t> numbers;
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
        return numbers;
    }
    for (size_t at = equals + 1; at < text.size();) {
        const size_t digit = text.find_first_of("0123456789", at);
        if (digit == std::string::npos) {
            break;
        }
        size_t end = digit;
        numbers.push_back(std::stoull(text.substr(digit), &end));
        at = digit + end;
    }
    return numbers;
}

TEST_F(SdlDesktopTest, TheTitleAndIconFollowTheForm) {
    Open();
    auto form = LoadCadastro();
    ASSERT_TRUE(form);
    form->Show();
    Settle();
    SDL_Window* window = desktop->WindowOf(form->hWnd());
    ASSERT_NE(window, nullptr);

    form->SetCaption("Cadastro alterado");
    Settle();
    EXPECT_STREQ(SDL_GetWindowTitle(window), "Cadastro alterado");

    // A 2 × 2 picture: opaque red, half-covered green, clear, opaque blue
    // (premultiplied BGRA, as our pictures are).
    auto icon = std::make_shared<PixelBuffer>();
    ASSERT_TRUE(icon->Allocate(2, 2, RowOrder::TopDown));
    const uint8_t pixels[4][4] = {
        {0, 0, 255, 255}, {0, 128, 0, 128}, {0, 0, 0, 0}, {255, 0, 0, 255}};
    for (int32_t i = 0; i < 4; ++i) {
        std::copy_n(pixels[i], 4, icon->Pixel(i % 2, i / 2));
    }
    form->SetIcon(icon);
    Settle();
    EXPECT_EQ(GetWindowIcon(form->hWnd()), icon);
    const std::vector<uint64_t> property = IconProperty("Cadastro alterado");
    // Straight ARGB: the half-covered green is full green at alpha 128.
    const std::vector<uint64_t> want = {2, 2, 0xFFFF0000, 0x8000FF00, 0x00000000, 0xFF0000FF};
    EXPECT_EQ(property, want);
}

TEST_F(SdlDesktopTest, WindowsStackOnScreenAsTheCoreStacksThem) {
    Open();
    const auto make = [](COLORREF colour, int32_t x) {
        const HWND hwnd =
            CreateWindowEx(0, "Stack", "", WS_POPUP | WS_VISIBLE, x, 100, 100, 100, 0, nullptr);
        GetDC(hwnd)->FillRect(RECT{0, 0, 100, 100}, colour);
        return hwnd;
    };
    const HWND red = make(0x0000FF, 100);
    const HWND green = make(0x00FF00, 150);
    Settle();
    // The colour the X server shows at a point, once it shows `want` (or
    // after a second, whatever it shows then).
    const auto onScreen = [](POINT at, COLORREF want) {
        COLORREF seen = 0xFFFFFFFF;
        for (int attempt = 0; attempt < 10 && seen != want; ++attempt) {
            SDL_Delay(attempt == 0 ? 0 : 100);
            PixelBuffer screen;
            std::string why;
            if (CaptureScreen(screen, why)) {
                const uint8_t* p = screen.Pixel(at.X, at.Y);
                seen = COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
            }
        }
        return seen;
    };
    const struct {
        HWND raise;
        COLORREF overlap;
    } steps[] = {{0, 0x00FF00}, {red, 0x0000FF}, {green, 0x00FF00}};
    for (const auto& s : steps) {
        if (s.raise != 0) {
            SetActiveWindow(s.raise);
        }
        Settle();
        EXPECT_EQ(onScreen(POINT{175, 150}, s.overlap), s.overlap);
        EXPECT_EQ(GetActiveWindow(), s.raise != 0 ? s.raise : green);
    }
    DestroyWindow(red);
    DestroyWindow(green);
}

}  // namespace
}  // namespace kelvara
