#pragma once

// The gallery for a person: a main form that lists the scenes, each of
// which opens in a window of its own with live controls — hover them,
// press them, move the focus with Tab and the arrows, use the access keys.
// The states the pictures get from scripted input (under the mouse,
// pressed, focused) come here from the person's own mouse and keyboard;
// the rest (disabled, latched, default) are set on the controls.
//
// Nothing here knows the backend: a window system shows these forms, and
// the headless desktop can drive them in tests.
//
//   Showcase showcase;
//   showcase.Show();
//   desktop->Run();   // until the main form closes, with every scene

#include <array>
#include <memory>

#include "GalleryForms.h"

namespace kelvara::gallery {

class Showcase {
public:
    enum SceneId {
        kButtons,
        kAlignments,
        kCorners,
        kCaptions,
        kFaces,
        kGroups,
        kCustomer,
        kSceneCount
    };

    Showcase();
    ~Showcase();
    Showcase(const Showcase&) = delete;
    Showcase& operator=(const Showcase&) = delete;

    // Shows the main form, centred on the screen.
    void Show();
    Form& Main() { return *main; }
    USButton& SceneButton(SceneId scene) { return *sceneButtons[scene]; }
    // The scene's window, built anew when it is not showing; brought to
    // the front when it is. What a scene button does.
    Form& Open(SceneId scene);
    // The scene's form while it is loaded, else nullptr.
    Form* Scene(SceneId scene);

private:
    std::unique_ptr<Form> Build(SceneId scene);
    void UnloadScenes();

    std::unique_ptr<Form> main;
    std::array<USButton*, kSceneCount> sceneButtons{};
    std::array<std::unique_ptr<Form>, kSceneCount> scenes;
};

}  // namespace kelvara::gallery
