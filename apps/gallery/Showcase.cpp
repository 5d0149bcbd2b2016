#include "Showcase.h"

#include <algorithm>

#include "kelvara/frame/AboutBox.h"

namespace kelvara::gallery {
namespace {

constexpr int32_t kMainWidth = 360;
constexpr int32_t kSceneButtonHeight = 30;
constexpr int32_t kSceneButtonPitch = 36;
constexpr int32_t kScenesTop = 60;

struct SceneEntry {
    const char* button;  // with its access key
    const char* caption;
};
constexpr SceneEntry kEntries[Showcase::kSceneCount] = {
    {"&Botões em todos os temas", "Botões: temas e estados"},
    {"&Alinhamentos da figura", "Alinhamentos da figura"},
    {"&Cantos recortados (CropBorders)", "CropBorders"},
    {"&Legendas longas", "Legendas longas"},
    {"&Faces em duas e quatro cores", "Faces em duas e quatro cores"},
    {"&Grupos, marcas e opções", "Grupos"},
    {"Cadastro de cli&ente", "Cadastro de cliente"},
};

// A button that closes its form.
void CloseOnClick(Form& form, USButton* button) {
    button->Click.Connect([&form] { Unload(form); });
}

// The states a person cannot make with the mouse, set on the buttons:
// for each theme a plain button to hover and press, a disabled one, a
// latched one and a latching one still up. One default and one cancel
// button for the whole form.
void BuildLiveButtons(Form& form) {
    constexpr int32_t labels = 132;
    constexpr int32_t pitch = 112;
    constexpr int32_t rowPitch = 38;
    static const char* const captions[4] = {"Normal", "Desabilitado", "Travado", "Alternar"};
    for (int32_t t = 0; t < kThemeCount; ++t) {
        const int32_t y = 8 + t * rowPitch;
        Caption(form, "lblTema" + std::to_string(t), ThemeName(t), At(8, y + 8, labels - 8, 16));
        for (int32_t c = 0; c < 4; ++c) {
            USButton* b = Button(form.Controls(), "cmd" + std::to_string(t) + std::to_string(c),
                                 captions[c], static_cast<ENUM_THEME>(t),
                                 At(labels + c * pitch, y, pitch - 8, kButtonHeight));
            if (c == 1) {
                b->SetEnabled(false);
            } else if (c >= 2) {
                b->SetCheckBoxMode(true);
                b->SetValue(c == 2);
            }
        }
    }
    const int32_t y = 8 + kThemeCount * rowPitch + 4;
    USButton* ok = Button(form.Controls(), "cmdPadrao", "Padrão (Enter)",
                          ENUM_THEME::WindowsThemeLight, At(labels, y, 2 * pitch - 8, 30));
    ok->SetDefault(true);
    USButton* close =
        Button(form.Controls(), "cmdFechar", "Fechar (Esc)", ENUM_THEME::WindowsThemeLight,
               At(labels + 2 * pitch, y, 2 * pitch - 8, 30));
    close->SetCancel(true);
    CloseOnClick(form, close);
    form.SetClientSizePixels(labels + 4 * pitch, y + 30 + 8);
}

}  // namespace

Showcase::Showcase() : main(MakeForm("frmGaleria", "Kelvara — galeria de controles")) {
    Label* intro = Caption(*main, "lblIntro",
                           "Cada cena abre em uma janela própria, com controles de verdade: passe "
                           "o mouse, clique, use Tab, as setas e as teclas de acesso (Alt+letra).",
                           At(8, 8, kMainWidth - 16, 44));
    intro->SetWordWrap(true);
    for (int32_t i = 0; i < kSceneCount; ++i) {
        USButton* b =
            Button(main->Controls(), "cmdCena" + std::to_string(i), kEntries[i].button,
                   ENUM_THEME::WindowsThemeLight,
                   At(8, kScenesTop + i * kSceneButtonPitch, kMainWidth - 16, kSceneButtonHeight));
        b->SetAlignment(ENUM_ALIGNMENTS::ToLeftJustify);
        b->SetCaptionDistance(12);
        b->SetHandPointer(true);
        const auto scene = static_cast<SceneId>(i);
        b->Click.Connect([this, scene] { Open(scene); });
        sceneButtons[i] = b;
    }
    const int32_t y = kScenesTop + kSceneCount * kSceneButtonPitch + 8;
    const int32_t half = (kMainWidth - 24) / 2;
    USButton* about = Button(main->Controls(), "cmdSobre", "&Sobre...", ENUM_THEME::WindowsTheme,
                             At(8, y, half, kSceneButtonHeight));
    about->Click.Connect([] { ShowAboutBox("Kelvara"); });
    USButton* close = Button(main->Controls(), "cmdFechar", "Fechar", ENUM_THEME::WindowsTheme,
                             At(16 + half, y, half, kSceneButtonHeight));
    close->SetCancel(true);
    close->Click.Connect([this] { Unload(*main); });
    main->SetClientSizePixels(kMainWidth, y + kSceneButtonHeight + 8);
    // Closing the gallery closes every scene with it.
    main->Unload.Connect([this](int16_t& cancel) {
        if (cancel == 0) {
            UnloadScenes();
        }
    });
}

Showcase::~Showcase() {
    UnloadScenes();
    if (main->Loaded()) {
        Unload(*main);
    }
}

namespace {

constexpr float kTwips = 15;

RECT WorkArea() {
    RECT work{0, 0, 0, 0};
    SystemParametersInfo(SPI_GETWORKAREA, 0, &work);
    return work;
}

// Moves a form to (x, y) in pixels, kept on the work area where it fits.
void PlaceOnWorkArea(Form& form, int32_t x, int32_t y) {
    const RECT work = WorkArea();
    const int32_t w = static_cast<int32_t>(form.Width() / kTwips);
    const int32_t h = static_cast<int32_t>(form.Height() / kTwips);
    x = std::max(work.Left, std::min(x, work.Right - w));
    y = std::max(work.Top, std::min(y, work.Bottom - h));
    form.SetStartUpPosition(0);
    form.Move(static_cast<float>(x) * kTwips, static_cast<float>(y) * kTwips, form.Width(),
              form.Height());
}

}  // namespace

void Showcase::Show() {
    // At the left of the screen, so that the scenes open beside it.
    const RECT work = WorkArea();
    const int32_t h = static_cast<int32_t>(main->Height() / kTwips);
    PlaceOnWorkArea(*main, work.Left + 16, work.Top + (work.Bottom - work.Top - h) / 2);
    main->Show();
}

Form* Showcase::Scene(SceneId scene) {
    Form* form = scenes[scene].get();
    return form != nullptr && form->Loaded() ? form : nullptr;
}

Form& Showcase::Open(SceneId scene) {
    if (Form* shown = Scene(scene); shown != nullptr && shown->Visible()) {
        shown->Show();
        return *shown;
    }
    scenes[scene] = Build(scene);
    Form& form = *scenes[scene];
    // Escape closes every scene, with a cancel button or without.
    form.SetKeyPreview(true);
    form.KeyDown.Connect([&form](int16_t& key, int16_t& shift) {
        if (key == VK_ESCAPE && shift == 0) {
            key = 0;
            Unload(form);
        }
    });
    // Beside the main form where there is room, else as far right as fits.
    RECT beside{0, 0, 0, 0};
    GetWindowRect(main->hWnd(), beside);
    PlaceOnWorkArea(form, beside.Right + 12, beside.Top);
    form.Show();
    return form;
}

std::unique_ptr<Form> Showcase::Build(SceneId scene) {
    auto form =
        MakeForm("frmCena" + std::to_string(static_cast<int32_t>(scene)), kEntries[scene].caption);
    switch (scene) {
        case kButtons:
            BuildLiveButtons(*form);
            break;
        case kAlignments:
            BuildPictureAlignments(*form);
            break;
        case kCorners:
            BuildCropBorders(*form);
            break;
        case kCaptions:
            BuildWordBreaks(*form);
            break;
        case kFaces:
            BuildFaces(*form);
            break;
        case kGroups:
            BuildGroupBoxes(*form);
            break;
        case kCustomer:
        default: {
            const CustomerForm made = BuildCustomerForm(*form);
            CloseOnClick(*form, made.ok);
            CloseOnClick(*form, made.cancel);
            break;
        }
    }
    return form;
}

void Showcase::UnloadScenes() {
    for (auto& form : scenes) {
        if (form != nullptr && form->Loaded()) {
            Unload(*form);
        }
    }
}

}  // namespace kelvara::gallery
