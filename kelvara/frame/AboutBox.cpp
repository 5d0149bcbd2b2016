#include "kelvara/frame/AboutBox.h"

#include <string>

#include "kelvara/host/Form.h"
#include "kelvara/host/Intrinsics.h"

namespace kelvara {

void ShowAboutBox(std::string_view control) {
    Form box("frmAbout");
    box.SetBorderStyle(FormBorderStyle::FixedDialog);
    box.SetMinButton(false);
    box.SetMaxButton(false);
    box.SetStartUpPosition(2);
    box.SetScaleMode(ScaleModeConstants::vbPixels);
    // "KelvaraEx.USButton" is shown as "USButton".
    const std::string_view name = control.substr(control.rfind('.') + 1);
    box.SetCaption("Sobre " + std::string(name.empty() ? "o Kelvara" : name));
    box.SetClientSizePixels(300, 120);
    box.SetKeyPreview(true);
    const auto line = [&](const char* name, std::string text, RECT r, bool bold) {
        auto* label = box.Controls().Add<Label>(name);
        StdFont font = DefaultFont();
        font.SetBold(bold);
        if (bold) {
            font.SetSize(12);
        }
        label->SetFont(font);
        label->SetBackStyle(0);
        label->SetUseMnemonic(false);
        label->SetCaption(std::move(text));
        label->SetBounds(r);
        label->SetVisible(true);
        label->Click.Connect([&box] { box.Hide(); });
    };
    line("lblName", "Kelvara " + std::string(kKelvaraVersion), RECT{16, 14, 284, 36}, true);
    line("lblPurpose",
         "Controles de interface para aplicações comerciais: grade de dados, botões, "
         "formulários, entrada de texto e imagens.",
         RECT{16, 44, 284, 84}, false);
    line("lblClose", "Enter ou Esc fecha esta janela.", RECT{16, 94, 284, 110}, false);
    box.KeyDown.Connect([&box](int16_t& key, int16_t&) {
        if (key == VK_RETURN || key == VK_ESCAPE) {
            key = 0;
            box.Hide();
        }
    });
    box.Click.Connect([&box] { box.Hide(); });
    box.Show(vbModal);
    Unload(box);
}

}  // namespace kelvara
