#pragma once

// The gallery's forms. Each builder fills a form with real controls and
// hands back the ones a scene aims its input at; none of them knows which
// backend will show the form, so a window system runs the same forms for a
// person to try that the headless desktop drives for the pictures.

#include <array>
#include <memory>
#include <string>

#include "kelvara/chrome/USButton.h"
#include "kelvara/chrome/USGroupBox.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/input/USCheckBox.h"
#include "kelvara/input/USOptionButton.h"

namespace kelvara::gallery {

inline constexpr int32_t kThemeCount = 8;

// Pieces the builders share: a rectangle by its corner and size, a new
// visible control of a form or container, a label, a themed button.
RECT At(int32_t x, int32_t y, int32_t width, int32_t height);
template <typename T>
T* Place(ControlCollection& controls, const std::string& name, RECT where) {
    T* c = controls.Add<T>(name);
    c->SetBounds(where);
    c->SetVisible(true);
    return c;
}
Label* Caption(Form& form, const std::string& name, const std::string& text, RECT where);
USButton* Button(ControlCollection& controls, const std::string& name, const std::string& caption,
                 ENUM_THEME theme, RECT where);
// The themes' names as the page and the pictures give them.
const char* ThemeName(int32_t theme);

// A form at the screen's top left corner, with a fixed frame and its
// caption, and the given client size (the builders below size their forms
// themselves).
std::unique_ptr<Form> MakeForm(const std::string& name, const std::string& caption,
                               int32_t clientWidth = 0, int32_t clientHeight = 0);

// Buttons of one theme, one per state. The state is what the scene makes
// of them: "over" and "down" are plain buttons until the mouse comes.
enum ButtonColumn { kNormal, kOver, kDown, kDisabled, kLatched, kFocused, kDefault, kColumns };
const char* ButtonColumnName(int32_t column);
inline constexpr int32_t kButtonWidth = 96;
inline constexpr int32_t kButtonHeight = 30;
struct ButtonRow {
    std::array<USButton*, kColumns> buttons{};
    // Takes the focus first, so that no button has it at rest.
    USCheckBox* start = nullptr;
};
ButtonRow BuildButtonRow(Form& form, ENUM_THEME theme);

// Check boxes and option buttons of one theme.
enum ToggleColumn {
    kCheckOff,
    kCheckOn,
    kCheckGrayed,
    kCheckHot,
    kCheckDisabled,
    kOptionOff,
    kOptionOn,
    kOptionHot,
    kOptionDisabled,
    kToggleColumns
};
const char* ToggleColumnName(int32_t column);
inline constexpr int32_t kToggleWidth = 104;
inline constexpr int32_t kToggleHeight = 20;
struct ToggleRow {
    std::array<ToggleControl*, kToggleColumns> toggles{};
    // Takes the focus first, so that no shown toggle has it at rest.
    USCheckBox* start = nullptr;
};
ToggleRow BuildToggleRow(Form& form, ENUM_THEME theme);

// Each picture alignment in order 0 to 8, with a caption (row 0) and
// without (row 1).
void BuildPictureAlignments(Form& form);
// CropBorders 0 to 3 in three themes, and a bar of three joined buttons.
void BuildCropBorders(Form& form);
// Long captions: wrapped at word breaks and cut with an ellipsis, in each
// caption alignment.
void BuildWordBreaks(Form& form);
// Two- and four-colour faces in every theme, and one with colours of its
// own.
void BuildFaces(Form& form);
// A group box of each theme with a check box and two options.
struct GroupBoxes {
    std::array<USGroupBox*, kThemeCount> boxes{};
    std::array<USOptionButton*, kThemeCount> second{};  // "Jurídica" in each
};
GroupBoxes BuildGroupBoxes(Form& form);

// A customer's record as a business program shows it.
struct CustomerForm {
    TextBox* name = nullptr;
    TextBox* cpf = nullptr;
    TextBox* email = nullptr;
    USOptionButton* person = nullptr;
    USOptionButton* company = nullptr;
    USCheckBox* active = nullptr;
    USCheckBox* newsletter = nullptr;
    USButton* ok = nullptr;
    USButton* cancel = nullptr;
};
CustomerForm BuildCustomerForm(Form& form);

}  // namespace kelvara::gallery
