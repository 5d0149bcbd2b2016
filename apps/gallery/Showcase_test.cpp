// The gallery a person opens, driven on the headless desktop: each scene
// button opens its own window once, the access keys and Escape work, and
// closing the main form closes everything.

#include "Showcase.h"

#include <gtest/gtest.h>

#include "HeadlessStage.h"
#include "Stage.h"

namespace kelvara::gallery {
namespace {

TEST(Showcase, EachSceneButtonOpensItsWindowOnce) {
    HeadlessStage stage;
    Showcase showcase;
    showcase.Show();
    const struct {
        Showcase::SceneId scene;
        const char* caption;
        int32_t controls;  // at least
    } scenes[] = {
        {Showcase::kButtons, "Botões: temas e estados", 8 * 4 + 2},
        {Showcase::kAlignments, "Alinhamentos da figura", 18},
        {Showcase::kCorners, "CropBorders", 15},
        {Showcase::kCaptions, "Legendas longas", 7},
        {Showcase::kFaces, "Faces em duas e quatro cores", 17},
        {Showcase::kGroups, "Grupos", 8},
        {Showcase::kCustomer, "Cadastro de cliente", 9},
    };
    const auto mainToFront = [&] {
        RECT m;
        GetWindowRect(showcase.Main().hWnd(), m);
        stage.MouseMove(m.Left + 40, m.Top + 8);  // its title bar
        stage.MouseDown();
        stage.MouseUp();
        EXPECT_EQ(GetActiveWindow(), showcase.Main().hWnd());
    };
    for (const auto& s : scenes) {
        EXPECT_EQ(showcase.Scene(s.scene), nullptr) << s.caption;
        mainToFront();
        Click(stage, showcase.SceneButton(s.scene));
        Form* form = showcase.Scene(s.scene);
        ASSERT_NE(form, nullptr) << s.caption;
        EXPECT_EQ(form->Caption(), s.caption);
        EXPECT_TRUE(form->Visible());
        EXPECT_GE(form->Controls().Count(), s.controls) << s.caption;
        // On the screen, beside the main form where there is room.
        RECT r;
        RECT m;
        GetWindowRect(form->hWnd(), r);
        GetWindowRect(showcase.Main().hWnd(), m);
        EXPECT_GE(r.Left, 0) << s.caption;
        EXPECT_GE(r.Top, 0) << s.caption;
        EXPECT_LE(r.Right, HeadlessDesktop::kWidth) << s.caption;
        if (r.Right - r.Left < HeadlessDesktop::kWidth - m.Right - 12) {
            EXPECT_EQ(r.Left, m.Right + 12) << s.caption;
            EXPECT_EQ(r.Top, m.Top) << s.caption;
        }
        // Asked again (the main form clicked to the front first), the same
        // window comes to the front.
        mainToFront();
        Click(stage, showcase.SceneButton(s.scene));
        EXPECT_EQ(showcase.Scene(s.scene), form) << s.caption;
        EXPECT_EQ(GetActiveWindow(), form->hWnd()) << s.caption;
        if (s.scene == Showcase::kGroups) {
            // No cancel button on it; Escape closes it all the same.
            static_cast<Stage&>(stage).Key(VK_ESCAPE);
            EXPECT_EQ(showcase.Scene(s.scene), nullptr);
            mainToFront();
            Click(stage, showcase.SceneButton(s.scene));
            ASSERT_NE(showcase.Scene(s.scene), nullptr);
        }
    }
    // Closing the gallery closes every scene.
    EXPECT_TRUE(Unload(showcase.Main()));
    for (const auto& s : scenes) {
        EXPECT_EQ(showcase.Scene(s.scene), nullptr) << s.caption;
    }
}

TEST(Showcase, KeysOpenAndCloseScenes) {
    HeadlessStage headless;
    Stage& stage = headless;
    Showcase showcase;
    showcase.Show();
    stage.Key('E', ShiftState::Alt);  // "Cadastro de cli&ente"
    Form* customer = showcase.Scene(Showcase::kCustomer);
    ASSERT_NE(customer, nullptr);
    stage.Type("Joana");
    stage.Key(VK_RETURN);  // OK is the default button, and closes
    EXPECT_EQ(showcase.Scene(Showcase::kCustomer), nullptr);

    stage.Key('B', ShiftState::Alt);
    ASSERT_NE(showcase.Scene(Showcase::kButtons), nullptr);
    stage.Key(VK_ESCAPE);
    EXPECT_EQ(showcase.Scene(Showcase::kButtons), nullptr);
    EXPECT_TRUE(showcase.Main().Loaded());
    stage.Key(VK_ESCAPE);
    EXPECT_FALSE(showcase.Main().Loaded());
}

}  // namespace
}  // namespace kelvara::gallery
