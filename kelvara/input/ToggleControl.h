#pragma once

// ToggleControl: what USCheckBox and USOptionButton share — a 13 × 13
// glyph drawn by theme beside a caption, and the way the user presses it.
//
//   input → state machine (below) → look (0 normal, 1 hot, 2 pressed,
//   3 disabled) → PaintState → glyph, caption, focus rectangle
//                             → Toggle() by the derived control → Click
//
// The press, as a table (a "press" is the left button held on the control
// or Space held while it has the focus):
//
//   MouseDown (left)        pressed look; MouseDown raised
//   MouseMove while held    pressed look only while the pointer is inside
//   MouseUp (left)          look follows the pointer; MouseUp raised;
//                           released inside → Toggle, Click
//   DblClick                the second press of a double click is a press
//                           like the first: DblClick raised at once, and
//                           its release toggles and clicks again
//   KeyDown Space           pressed look (repeats are ignored)
//   KeyUp Space             Toggle, Click, then KeyUp raised
//   LostFocus               a Space press is dropped without a click
//   Alt + access letter     focus, Toggle, Click
//   Left / Up, Right / Down the focus moves back or on (a synthesised
//                           Shift+Tab or Tab), unless the derived control
//                           takes the arrow (option buttons of a group)
//
// Click means the user toggled the control: a Value set by code raises no
// event. The mouse coming in and going out (MouseEnter, MouseExit, and the
// hot look) comes from an APIMouseEvents tracker, which a running control
// starts when it gets its properties.

#include <cstdint>
#include <memory>
#include <string>

#include "kelvara/base/Event.h"
#include "kelvara/frame/AboutBox.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/ThemeColor.h"
#include "kelvara/host/UserControl.h"

namespace kelvara {

// Which side the glyph is on.
enum class ENUM_GLYPH_ALIGNMENT : int32_t {
    GlyphLeft = 0,
    GlyphRight = 1,
};

class ToggleControl : public UserControl, public FontMembers<ToggleControl> {
public:
    ~ToggleControl() override;
    // Shows the library's about box and returns when it is closed.
    void About() { ShowAboutBox(TypeName()); }

    // --- Properties (persisted under their own names) -------------------
    ENUM_GLYPH_ALIGNMENT Alignment() const;
    void SetAlignment(ENUM_GLYPH_ALIGNMENT value);
    // The face around glyph and caption. A new control takes its
    // container's back colour, and keeps following it while the two agree.
    OLE_COLOR BackColor() const { return UserControl::BackColor(); }
    void SetBackColor(OLE_COLOR value);
    // "&" marks the access key; "&&" is a literal ampersand.
    const std::string& Caption() const;
    void SetCaption(std::string value);
    void SetEnabled(bool value) override;
    const StdFont& Font() const { return UserControl::Font(); }
    using FontMembers<ToggleControl>::SetFont;
    // The caption's colour, and its colour while disabled.
    OLE_COLOR ForeColor() const { return UserControl::ForeColor(); }
    void SetForeColor(OLE_COLOR value);
    OLE_COLOR ForeColorDisabled() const;
    void SetForeColorDisabled(OLE_COLOR value);
    // A running control shows the hand over itself.
    bool HandPointer() const;
    void SetHandPointer(bool value);
    int16_t MousePointer() const { return UserControl::MousePointer(); }
    void SetMousePointer(int16_t value);
    const PixelBuffer* MouseIcon() const { return UserControl::MouseIcon(); }
    void SetMouseIcon(std::shared_ptr<const PixelBuffer> icon);
    // Painting gate: while False nothing paints; True again repaints once.
    bool Redraw() const;
    void SetRedraw(bool value);
    // A dotted rectangle round the caption (the glyph without one) while
    // the control has the focus.
    bool ShowFocusRect() const;
    void SetShowFocusRect(bool value);
    // Picks the glyphs; the control's colours stay as they are.
    ENUM_THEME Theme() const;
    void SetTheme(ENUM_THEME value);

    // Paints again now, whatever was painted last.
    void Refresh();

    // --- What painting and tests look at -----------------------------------
    // The look painted now: 0 normal, 1 hot, 2 pressed, 3 disabled (the
    // control or a container of it is disabled).
    int32_t VisualState() const;
    bool HasFocus() const;
    // Where the glyph and the caption go, in client pixels.
    RECT GlyphRect() const;
    RECT CaptionRect() const;

    // --- Events ------------------------------------------------------------
    Event<> Click;
    Event<> DblClick;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyDown;
    Event<int16_t& /*KeyAscii*/> KeyPress;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyUp;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseDown;
    Event<> MouseEnter;
    Event<> MouseExit;
    Event<int16_t&, int16_t&, float&, float&> MouseMove;
    Event<int16_t&, int16_t&, float&, float&> MouseUp;

    static constexpr int32_t kGlyphSize = 13;
    // Between glyph and caption.
    static constexpr int32_t kGlyphGap = 4;

protected:
    explicit ToggleControl(std::string typeName);

    // --- What the two controls do their own way ----------------------------
    // The user pressed and released: change Value as the control does and
    // raise Click. The control may be gone when it returns.
    virtual void Toggle() = 0;
    // Paints the glyph for the look at (x, y) on the control's canvas.
    virtual void PaintGlyph(Canvas& dc, int32_t x, int32_t y, int32_t look) = 0;
    // An arrow key with no shift: true when the control moved the focus
    // itself; false lets the focus move on as Tab or Shift+Tab.
    virtual bool ArrowKey(int16_t) { return false; }
    virtual void ReadValue(const PropertyBag& bag) = 0;
    virtual void WriteValue(PropertyBag& bag) const = 0;
    // Repaints in the present look, forced: after a change of Value.
    void ValueChanged();
    // Raises Click unless the control is gone; false when it is.
    bool RaiseClick();
    bool UserMode() const;

    void UserControl_InitProperties() override;
    void UserControl_ReadProperties(PropertyBag& PropBag) override;
    void UserControl_WriteProperties(PropertyBag& PropBag) override;
    void UserControl_Resize() override;
    void UserControl_Terminate() override;
    void UserControl_GotFocus() override;
    void UserControl_LostFocus() override;
    void UserControl_AccessKeyPress(int16_t KeyAscii) override;
    void UserControl_AmbientChanged(const std::string& PropertyName) override;
    void UserControl_Click() override;
    void UserControl_DblClick() override;
    void UserControl_KeyDown(int16_t& KeyCode, int16_t& Shift) override;
    void UserControl_KeyPress(int16_t& KeyAscii) override;
    void UserControl_KeyUp(int16_t& KeyCode, int16_t& Shift) override;
    void UserControl_MouseDown(int16_t& Button, int16_t& Shift, float& X, float& Y) override;
    void UserControl_MouseMove(int16_t& Button, int16_t& Shift, float& X, float& Y) override;
    void UserControl_MouseUp(int16_t& Button, int16_t& Shift, float& X, float& Y) override;

private:
    struct State;
    void PaintState(int32_t state, bool force);
    void Paint();
    void StartTracking();
    void Repaint();
    bool PointInside(float x, float y) const;

    std::unique_ptr<State> s;
};

}  // namespace kelvara
