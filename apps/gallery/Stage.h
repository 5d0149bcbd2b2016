#pragma once

// Stage: what the gallery's scenes need from a backend — input in screen
// pixels, a clock, and a picture of a form as it shows. The forms
// themselves are built by GalleryForms.h, which knows nothing of the
// backend; a scene builds its form, plays its input on a stage and takes
// pictures. The headless desktop is one stage (HeadlessStage.h); a window
// system backend runs the same forms for a person to use.

#include <cstdint>
#include <string_view>

#include "kelvara/host/Control.h"
#include "kelvara/host/Form.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara::gallery {

class Stage {
public:
    virtual ~Stage() = default;
    virtual void MouseMove(int32_t x, int32_t y) = 0;
    virtual void MouseDown() = 0;
    virtual void MouseUp() = 0;
    // Down and up, with the shift keys of ShiftState held.
    virtual void Key(int32_t vk, int32_t shift = 0) = 0;
    virtual void Type(std::string_view text) = 0;
    virtual void Wait(uint32_t ms) = 0;
    // The form's window with its frame and controls, as it shows now.
    virtual bool Capture(Form& form, API32bppDIB& out) = 0;
};

// Where a control is, in screen pixels; and in pixels of its form's
// window (what Capture gives).
RECT ScreenRect(Control& control);
RECT RectInForm(Form& form, Control& control);

// Input aimed at the centre of a control.
void Hover(Stage& stage, Control& control);
void Click(Stage& stage, Control& control);
void Press(Stage& stage, Control& control);  // the button held down

}  // namespace kelvara::gallery
