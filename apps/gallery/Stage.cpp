#include "Stage.h"

#include "kelvara/host/WindowCore.h"

namespace kelvara::gallery {

RECT ScreenRect(Control& control) {
    RECT rect{0, 0, 0, 0};
    if (control.hWnd() != 0) {
        GetWindowRect(control.hWnd(), rect);
        return rect;
    }
    // A windowless control: its bounds in its form's client area.
    Form* form = control.Parent();
    if (form == nullptr) {
        return rect;
    }
    POINT origin{0, 0};
    ClientToScreen(form->hWnd(), origin);
    const RECT& b = control.Bounds();
    return RECT{origin.X + b.Left, origin.Y + b.Top, origin.X + b.Right, origin.Y + b.Bottom};
}

RECT RectInForm(Form& form, Control& control) {
    RECT window{0, 0, 0, 0};
    GetWindowRect(form.hWnd(), window);
    RECT r = ScreenRect(control);
    return RECT{r.Left - window.Left, r.Top - window.Top, r.Right - window.Left,
                r.Bottom - window.Top};
}

namespace {
void MoveToCentre(Stage& stage, Control& control) {
    const RECT r = ScreenRect(control);
    stage.MouseMove((r.Left + r.Right) / 2, (r.Top + r.Bottom) / 2);
}
}  // namespace

void Hover(Stage& stage, Control& control) {
    MoveToCentre(stage, control);
}

void Click(Stage& stage, Control& control) {
    MoveToCentre(stage, control);
    stage.MouseDown();
    stage.MouseUp();
}

void Press(Stage& stage, Control& control) {
    MoveToCentre(stage, control);
    stage.MouseDown();
}

}  // namespace kelvara::gallery
