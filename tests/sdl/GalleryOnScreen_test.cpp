// The gallery's button scene played on real windows: the same script,
// given as SDL events, and the X server's screen as the camera, must make
// the very picture the headless desktop makes.

#include <gtest/gtest.h>

#include "HeadlessStage.h"
#include "Scenes.h"
#include "SdlTestSupport.h"
#include "Showcase.h"

namespace kelvara {
namespace {

using namespace sdltest;

// A stage on the SDL desktop: input as SDL events in the windows under
// the mouse (a held button keeps its window, as X's pointer grab does),
// the clock SDL's, pictures cut from the X screen.
class ScreenStage final : public gallery::Stage {
public:
    explicit ScreenStage(SdlDesktop& desktop) : desktop(desktop) {}

    void MouseMove(int32_t x, int32_t y) override {
        at = POINT{x, y};
        HWND target = held != 0 ? held : GetAncestorTop(WindowFromPoint(at));
        if (target != over && over != 0 && held == 0) {
            if (SDL_Window* left = desktop.WindowOf(over)) {
                PushWindowEvent(left, SDL_WINDOWEVENT_LEAVE);
            }
        }
        over = target;
        if (SDL_Window* window = desktop.WindowOf(target)) {
            const POINT local = Local(target);
            PushMotion(window, local.X, local.Y);
        }
        Settle();
    }
    void MouseDown() override { Button(true); }
    void MouseUp() override { Button(false); }
    void Key(int32_t vk, int32_t shift) override {
        EXPECT_TRUE(PushKeyStroke(vk, shift, mod)) << vk;
        Settle();
    }
    void Type(std::string_view text) override {
        PushText(std::string(text));
        Settle();
    }
    void Wait(uint32_t ms) override {
        const uint32_t start = SDL_GetTicks();
        while (SDL_GetTicks() - start < ms) {
            desktop.Pump();
            SDL_Delay(5);
        }
    }
    // The window as the X server shows it, once the server has drawn what
    // it was sent (it draws in its own time); after a second, whatever it
    // shows.
    bool Capture(Form& form, API32bppDIB& out) override {
        Settle();
        const HWND hwnd = form.hWnd();
        PixelBuffer truth;
        PixelBuffer shown;
        if (!desktop.Core().Compose(hwnd, truth)) {
            return false;
        }
        RECT r;
        GetWindowRect(hwnd, r);
        for (int attempt = 0; attempt < 20; ++attempt) {
            PixelBuffer screen;
            std::string why;
            if (!CaptureScreen(screen, why) || !Crop(screen, r, shown)) {
                ADD_FAILURE() << why;
                return false;
            }
            if (FirstDifference(shown, truth).empty()) {
                break;
            }
            SDL_Delay(50);
            desktop.Pump();
        }
        ++captures;
        return out.InitializeOpaque(shown);
    }

    int32_t captures = 0;

private:
    void Button(bool down) {
        const HWND target = held != 0 ? held : over;
        if (SDL_Window* window = desktop.WindowOf(target)) {
            const POINT local = Local(target);
            PushButton(window, SDL_BUTTON_LEFT, down, local.X, local.Y);
        }
        held = down ? target : 0;
        Settle();
    }
    POINT Local(HWND hwnd) const {
        RECT r;
        GetWindowRect(hwnd, r);
        return POINT{at.X - r.Left, at.Y - r.Top};
    }
    // Until the core has nothing more to do.
    void Settle() {
        for (int i = 0; i < 50 && desktop.Pump() > 0; ++i) {
        }
    }

    SdlDesktop& desktop;
    POINT at{};
    HWND over = 0;
    HWND held = 0;
    uint16_t mod = 0;
};

const gallery::Scene& ButtonScene() {
    static const std::vector<gallery::Scene> scenes = gallery::GalleryScenes();
    for (const gallery::Scene& scene : scenes) {
        if (scene.file == "buttons-states.png") {
            return scene;
        }
    }
    return scenes.front();
}

TEST(GalleryOnScreen, TheButtonSceneOnTheXScreenIsTheHeadlessPicture) {
    const gallery::Scene& scene = ButtonScene();
    ASSERT_EQ(scene.file, "buttons-states.png");
    API32bppDIB want;
    {
        gallery::HeadlessStage headless;
        ASSERT_TRUE(scene.make(headless, want));
    }
    std::string why;
    std::unique_ptr<SdlDesktop> desktop = OpenDesktop(1, why);
    ASSERT_NE(desktop, nullptr) << why;
    // The real pointer waits in the corner, away from every window.
    SDL_WarpMouseGlobal(1365, 767);
    ScreenStage stage(*desktop);
    API32bppDIB have;
    ASSERT_TRUE(scene.make(stage, have));
    // Four moments of each theme's form: at rest, hovered, pressed,
    // focused.
    EXPECT_EQ(stage.captures, 4 * gallery::kThemeCount);
    ASSERT_EQ(have.Width(), want.Width());
    ASSERT_EQ(have.Height(), want.Height());
    EXPECT_EQ(FirstDifference(have.Pixels(), want.Pixels()), "");
}

// The gallery a person opens: the scene buttons open their windows on the
// screen, Escape closes them, and closing the main form ends the run.
TEST(GalleryOnScreen, TheShowcaseOpensScenesInWindowsAndEndsWithItsMainForm) {
    std::string why;
    std::unique_ptr<SdlDesktop> desktop = OpenDesktop(1, why);
    ASSERT_NE(desktop, nullptr) << why;
    SDL_WarpMouseGlobal(1365, 767);
    ScreenStage stage(*desktop);
    gallery::Showcase showcase;
    showcase.Show();
    desktop->Pump();
    ASSERT_NE(desktop->WindowOf(showcase.Main().hWnd()), nullptr);

    gallery::Click(stage, showcase.SceneButton(gallery::Showcase::kButtons));
    Form* buttons = showcase.Scene(gallery::Showcase::kButtons);
    ASSERT_NE(buttons, nullptr);
    SDL_Window* window = desktop->WindowOf(buttons->hWnd());
    ASSERT_NE(window, nullptr);
    EXPECT_STREQ(SDL_GetWindowTitle(window), "Botões: temas e estados");
    API32bppDIB shown;
    ASSERT_TRUE(stage.Capture(*buttons, shown));

    stage.Key(VK_ESCAPE, 0);
    EXPECT_EQ(showcase.Scene(gallery::Showcase::kButtons), nullptr);
    stage.Key('E', ShiftState::Alt);
    Form* customer = showcase.Scene(gallery::Showcase::kCustomer);
    ASSERT_NE(customer, nullptr);
    EXPECT_NE(desktop->WindowOf(customer->hWnd()), nullptr);

    stage.Key(VK_ESCAPE, 0);  // the customer's form
    stage.Key(VK_ESCAPE, 0);  // the gallery
    EXPECT_FALSE(showcase.Main().Loaded());
    EXPECT_EQ(desktop->Run(), 0) << "no window is left to wait for";
}

}  // namespace
}  // namespace kelvara
