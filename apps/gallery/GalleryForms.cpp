#include "GalleryForms.h"

#include "Pictures.h"
#include "kelvara/host/Intrinsics.h"

namespace kelvara::gallery {
RECT At(int32_t x, int32_t y, int32_t width, int32_t height) {
    return RECT{x, y, x + width, y + height};
}

Label* Caption(Form& form, const std::string& name, const std::string& text, RECT where) {
    Label* label = Place<Label>(form.Controls(), name, where);
    label->SetCaption(text);
    return label;
}

USButton* Button(ControlCollection& controls, const std::string& name, const std::string& caption,
                 ENUM_THEME theme, RECT where) {
    USButton* b = Place<USButton>(controls, name, where);
    b->SetTheme(theme);
    b->SetCaption(caption);
    return b;
}

const char* ThemeName(int32_t theme) {
    static const char* const names[kThemeCount] = {
        "0 Office Blue", "1 Office Silver",  "2 Windows",       "3 Windows Green",
        "4 Windows Red", "5 Windows Orange", "6 Windows Black", "7 Windows Light"};
    return theme >= 0 && theme < kThemeCount ? names[theme] : "";
}

std::unique_ptr<Form> MakeForm(const std::string& name, const std::string& caption,
                               int32_t clientWidth, int32_t clientHeight) {
    auto form = std::make_unique<Form>(name);
    form->SetBorderStyle(FormBorderStyle::FixedSingle);
    form->SetStartUpPosition(0);
    form->SetCaption(caption);
    form->SetMinButton(false);
    form->SetMaxButton(false);
    form->Move(0, 0, 200 * 15, 100 * 15);
    if (clientWidth > 0 && clientHeight > 0) {
        form->SetClientSizePixels(clientWidth, clientHeight);
    }
    return form;
}

const char* ButtonColumnName(int32_t column) {
    static const char* const names[kColumns] = {"normal",  "over",    "down",   "disabled",
                                                "latched", "focused", "default"};
    return column >= 0 && column < kColumns ? names[column] : "";
}

ButtonRow BuildButtonRow(Form& form, ENUM_THEME theme) {
    static const char* const captions[kColumns] = {
        "Normal", "Sob o mouse", "Pressionado", "Desabilitado", "Travado", "Com foco", "Padrão"};
    ButtonRow row;
    // First in the tab order: the form gives it the focus when shown.
    row.start = Place<USCheckBox>(form.Controls(), "chkInicio", At(8, 48, 120, 20));
    row.start->SetCaption("Início");
    for (int32_t c = 0; c < kColumns; ++c) {
        row.buttons[c] =
            Button(form.Controls(), "cmd" + std::string(ButtonColumnName(c)), captions[c], theme,
                   At(8 + c * (kButtonWidth + 8), 8, kButtonWidth, kButtonHeight));
    }
    row.buttons[kDisabled]->SetEnabled(false);
    row.buttons[kLatched]->SetCheckBoxMode(true);
    row.buttons[kDefault]->SetDefault(true);
    // Tab from the start goes to the focused one.
    row.buttons[kFocused]->SetTabIndex(1);
    return row;
}

const char* ToggleColumnName(int32_t column) {
    static const char* const names[kToggleColumns] = {
        "check off",  "check on",  "check grayed", "check hot",      "check disabled",
        "option off", "option on", "option hot",   "option disabled"};
    return column >= 0 && column < kToggleColumns ? names[column] : "";
}

ToggleRow BuildToggleRow(Form& form, ENUM_THEME theme) {
    static const char* const captions[kToggleColumns] = {
        "Desmarcada", "Marcada",   "Parcial",     "Sob o mouse", "Desabilitada",
        "Opção",      "Escolhida", "Sob o mouse", "Desabilitada"};
    ToggleRow row;
    row.start = Place<USCheckBox>(form.Controls(), "chkInicio", At(8, 40, 120, 20));
    row.start->SetCaption("Início");
    for (int32_t c = 0; c < kToggleColumns; ++c) {
        const RECT where = At(8 + c * (kToggleWidth + 4), 8, kToggleWidth, kToggleHeight);
        const std::string name = "tgl" + std::to_string(c);
        ToggleControl* t =
            c < kOptionOff
                ? static_cast<ToggleControl*>(Place<USCheckBox>(form.Controls(), name, where))
                : Place<USOptionButton>(form.Controls(), name, where);
        t->SetTheme(theme);
        t->SetCaption(captions[c]);
        row.toggles[c] = t;
    }
    static_cast<USCheckBox*>(row.toggles[kCheckOn])->SetValue(vbChecked);
    static_cast<USCheckBox*>(row.toggles[kCheckGrayed])->SetValue(vbGrayed);
    static_cast<USCheckBox*>(row.toggles[kCheckDisabled])->SetValue(vbChecked);
    row.toggles[kCheckDisabled]->SetEnabled(false);
    static_cast<USOptionButton*>(row.toggles[kOptionOn])->SetValue(true);
    row.toggles[kOptionDisabled]->SetEnabled(false);
    return row;
}

void BuildPictureAlignments(Form& form) {
    static const char* const names[9] = {"0 BehindText",     "1 BottomEdge",    "2 BottomOfCaption",
                                         "3 LeftEdge",       "4 LeftOfCaption", "5 RightEdge",
                                         "6 RightOfCaption", "7 TopEdge",       "8 TopOfCaption"};
    const auto picture = FloppyPicture(24);
    for (int32_t a = 0; a < 9; ++a) {
        const int32_t x = 8 + a * 128;
        Caption(form, "lbl" + std::to_string(a), names[a], At(x, 8, 120, 16));
        for (int32_t row = 0; row < 2; ++row) {
            USButton* b = Button(form.Controls(), "cmd" + std::to_string(row) + std::to_string(a),
                                 row == 0 ? "Salvar" : "", ENUM_THEME::WindowsThemeLight,
                                 At(x, 28 + row * 72, 120, 64));
            b->SetPicture(picture);
            b->SetPictureAlignment(static_cast<ENUM_PIC_ALIGNMENTS>(a));
        }
    }
    form.SetClientSizePixels(8 + 9 * 128, 176);
}

void BuildCropBorders(Form& form) {
    static const char* const names[4] = {"DontCrop", "CropLeft", "CropRight", "CropAll"};
    static const ENUM_THEME themes[3] = {ENUM_THEME::OfficeThemeBlue, ENUM_THEME::WindowsTheme,
                                         ENUM_THEME::WindowsThemeBlack};
    for (int32_t t = 0; t < 3; ++t) {
        for (int32_t crop = 0; crop < 4; ++crop) {
            USButton* b = Button(form.Controls(), "cmd" + std::to_string(t) + std::to_string(crop),
                                 names[crop], themes[t], At(8 + crop * 120, 8 + t * 44, 112, 36));
            // After the theme, which sets its own.
            b->SetCropBorders(static_cast<ENUM_BUTTON_BORDERS>(crop));
            // The window region follows CropBorders when laid out again.
            b->Refresh();
        }
    }
    // Three buttons joined into one bar: only the outer corners round.
    static const char* const bar[3] = {"« Anterior", "Hoje", "Próximo »"};
    static const ENUM_BUTTON_BORDERS crops[3] = {ENUM_BUTTON_BORDERS::CropLeft,
                                                 ENUM_BUTTON_BORDERS::DontCrop,
                                                 ENUM_BUTTON_BORDERS::CropRight};
    for (int32_t i = 0; i < 3; ++i) {
        USButton* b = Button(form.Controls(), "cmdBar" + std::to_string(i), bar[i],
                             ENUM_THEME::WindowsThemeGreen, At(8 + i * 96, 148, 96, 32));
        b->SetCropBorders(crops[i]);
        b->Refresh();
    }
    form.SetClientSizePixels(8 + 4 * 120, 188);
}

void BuildWordBreaks(Form& form) {
    static const char* const text = "Enviar boletos por e-mail ao cliente";
    for (int32_t row = 0; row < 2; ++row) {
        for (int32_t a = 0; a < 3; ++a) {
            USButton* b =
                Button(form.Controls(), "cmd" + std::to_string(row) + std::to_string(a), text,
                       ENUM_THEME::WindowsTheme, At(8 + a * 152, 8 + row * 60, 144, 52));
            b->SetAlignment(static_cast<ENUM_ALIGNMENTS>(a));
            b->SetCaptionDistance(6);
            // Deliberately False wraps: the stored sense of the property.
            b->SetCaptionWordBreak(row == 1);
        }
    }
    // A wrapped caption under its picture. (Beside a picture a caption is
    // centred first and then moved by the picture's width, so one that
    // fills the button would lie over the picture.)
    USButton* b = Button(form.Controls(), "cmdPicture", text, ENUM_THEME::OfficeThemeBlue,
                         At(8, 128, 144, 84));
    b->SetPicture(FloppyPicture(32));
    b->SetPictureSize(ENUM_PICTURE_SIZES::Picture32x32);
    b->SetPictureAlignment(ENUM_PIC_ALIGNMENTS::PictureTopOfCaption);
    form.SetClientSizePixels(8 + 3 * 152, 220);
}

void BuildFaces(Form& form) {
    for (int32_t row = 0; row < 2; ++row) {
        for (int32_t t = 0; t < kThemeCount; ++t) {
            USButton* b = Button(form.Controls(), "cmd" + std::to_string(row) + std::to_string(t),
                                 ThemeName(t), static_cast<ENUM_THEME>(t),
                                 At(8 + t * 128, 8 + row * 48, 120, 40));
            b->SetGradientColors(row == 0 ? ENUM_GRADIENT_COLORS::TwoColors
                                          : ENUM_GRADIENT_COLORS::FourColors);
        }
    }
    // Four colours of its own: a glassy green.
    USButton* b = Button(form.Controls(), "cmdOwn", "Cores próprias", ENUM_THEME::WindowsTheme,
                         At(8, 104, 160, 40));
    b->SetGradientColors(ENUM_GRADIENT_COLORS::FourColors);
    b->SetGradientColor1(0xD8F5E0);
    b->SetGradientColor2(0x9BE3AE);
    b->SetGradientColor3(0x4CC46C);
    b->SetGradientColor4(0x7FDC95);
    b->SetBorderColor(0x2E8B3A);
    b->SetForeColor(0x1E3D24);
    form.SetClientSizePixels(8 + 8 * 128, 152);
}

GroupBoxes BuildGroupBoxes(Form& form) {
    GroupBoxes made;
    for (int32_t t = 0; t < kThemeCount; ++t) {
        const RECT where = At(8 + (t % 4) * 248, 8 + (t / 4) * 136, 240, 128);
        USGroupBox* g = Place<USGroupBox>(form.Controls(), "fra" + std::to_string(t), where);
        g->SetTheme(static_cast<ENUM_THEME>(t));
        g->SetCaption("Tema " + std::string(ThemeName(t)));
        const int32_t top = g->HeaderHeight() + 8;
        ControlCollection& inside = g->Controls();
        auto* active = Place<USCheckBox>(inside, "chk" + std::to_string(t), At(10, top, 100, 20));
        active->SetTheme(static_cast<ENUM_THEME>(t));
        active->SetCaption("&Ativo");
        active->SetValue(vbChecked);
        auto* person =
            Place<USOptionButton>(inside, "optF" + std::to_string(t), At(10, top + 28, 100, 20));
        person->SetTheme(static_cast<ENUM_THEME>(t));
        person->SetCaption("&Física");
        person->SetValue(true);
        auto* company =
            Place<USOptionButton>(inside, "optJ" + std::to_string(t), At(10, top + 52, 100, 20));
        company->SetTheme(static_cast<ENUM_THEME>(t));
        company->SetCaption("&Jurídica");
        auto* news = Place<USCheckBox>(inside, "chkN" + std::to_string(t), At(120, top, 110, 20));
        news->SetTheme(static_cast<ENUM_THEME>(t));
        news->SetCaption("Recebe e-mail");
        made.boxes[t] = g;
        made.second[t] = company;
    }
    made.boxes[5]->SetEnabled(false);
    form.SetClientSizePixels(8 + 4 * 248, 8 + 2 * 136);
    return made;
}

CustomerForm BuildCustomerForm(Form& form) {
    CustomerForm f;
    const ENUM_THEME theme = ENUM_THEME::OfficeThemeBlue;
    ControlCollection& controls = form.Controls();
    Caption(form, "lblNome", "&Nome:", At(12, 15, 64, 16));
    f.name = Place<TextBox>(controls, "txtNome", At(80, 12, 320, 22));
    Caption(form, "lblCPF", "&CPF:", At(12, 45, 64, 16));
    f.cpf = Place<TextBox>(controls, "txtCPF", At(80, 42, 140, 22));
    Caption(form, "lblEmail", "&E-mail:", At(12, 75, 64, 16));
    f.email = Place<TextBox>(controls, "txtEmail", At(80, 72, 320, 22));
    // A new text box shows its own name, as the host's do.
    for (TextBox* box : {f.name, f.cpf, f.email}) {
        box->SetText("");
    }

    USGroupBox* kind = Place<USGroupBox>(controls, "fraTipo", At(12, 108, 196, 96));
    kind->SetTheme(theme);
    kind->SetCaption("Tipo de pessoa");
    const int32_t top = kind->HeaderHeight() + 8;
    f.person = Place<USOptionButton>(kind->Controls(), "optFisica", At(12, top, 170, 20));
    f.person->SetTheme(theme);
    f.person->SetCaption("&Física");
    f.person->SetValue(true);
    f.company = Place<USOptionButton>(kind->Controls(), "optJuridica", At(12, top + 26, 170, 20));
    f.company->SetTheme(theme);
    f.company->SetCaption("&Jurídica");

    USGroupBox* options = Place<USGroupBox>(controls, "fraOpcoes", At(216, 108, 184, 96));
    options->SetTheme(theme);
    options->SetCaption("Situação");
    f.active = Place<USCheckBox>(options->Controls(), "chkAtivo", At(12, top, 160, 20));
    f.active->SetTheme(theme);
    f.active->SetCaption("&Ativo");
    f.active->SetValue(vbChecked);
    f.newsletter = Place<USCheckBox>(options->Controls(), "chkEmail", At(12, top + 26, 160, 20));
    f.newsletter->SetTheme(theme);
    f.newsletter->SetCaption("&Recebe e-mail");

    f.ok = Button(controls, "cmdOK", "OK", theme, At(192, 220, 100, 32));
    f.ok->SetPicture(TickPicture(16));
    f.ok->SetDefault(true);
    f.cancel = Button(controls, "cmdCancelar", "Ca&ncelar", theme, At(300, 220, 100, 32));
    f.cancel->SetPicture(CrossPicture(16));
    f.cancel->SetCancel(true);
    form.SetClientSizePixels(412, 264);
    return f;
}

}  // namespace kelvara::gallery
