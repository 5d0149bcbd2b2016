#pragma once

// USGroupBox: a themed frame that holds other controls. A rounded border
// goes round a header band, which carries the caption on a gradient, and a
// body below it; with an empty caption there is no header, only the frame.
//
//   Theme → ApplyTheme: the six private colours (caption, border, header
//   pair, body pair) → Paint, through the colours set in their place
//
// The theme fills private colours only: the public colour properties stay
// as they are, and each one that is set (not FromTheme) is painted instead
// of the theme's colour for its part, in every theme.
//
// As a container: controls are placed in it through Controls(), in its own
// client pixels. Option buttons in it are a group of their own. Tab goes
// into the box at its first control (at its last with Shift+Tab), moves
// through its controls in their tab order and out again after the last;
// the box itself never takes the focus. Its access key goes to its first
// control. Disabling the box disables what it holds, and the controls that
// can show it (check boxes, option buttons) look disabled too.

#include <cstdint>
#include <memory>
#include <string>

#include "kelvara/frame/AboutBox.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/ThemeColor.h"
#include "kelvara/host/UserControl.h"

namespace kelvara {

class USGroupBox : public UserControl, public FontMembers<USGroupBox> {
public:
    USGroupBox();
    ~USGroupBox() override;
    // Shows the library's about box and returns when it is closed.
    void About() { ShowAboutBox(TypeName()); }

    // The value of a colour property that lets the theme decide.
    static constexpr OLE_COLOR FromTheme = 0xFFFFFFFF;

    // --- Properties (persisted under their own names) -------------------
    // Outside the rounded corners: what the box stands on. A new box takes
    // its container's back colour.
    OLE_COLOR BackColor() const { return UserControl::BackColor(); }
    void SetBackColor(OLE_COLOR value);
    // Colours in place of the theme's, FromTheme (the default) for none.
    OLE_COLOR BodyColor1() const;
    void SetBodyColor1(OLE_COLOR value);
    OLE_COLOR BodyColor2() const;
    void SetBodyColor2(OLE_COLOR value);
    OLE_COLOR BorderColor() const;
    void SetBorderColor(OLE_COLOR value);
    OLE_COLOR CaptionColor() const;
    void SetCaptionColor(OLE_COLOR value);
    OLE_COLOR HeaderColor1() const;
    void SetHeaderColor1(OLE_COLOR value);
    OLE_COLOR HeaderColor2() const;
    void SetHeaderColor2(OLE_COLOR value);
    // "&" marks the access key; "&&" is a literal ampersand.
    const std::string& Caption() const;
    void SetCaption(std::string value);
    void SetEnabled(bool value) override;
    const StdFont& Font() const { return UserControl::Font(); }
    using FontMembers<USGroupBox>::SetFont;
    bool Redraw() const;
    void SetRedraw(bool value);
    ENUM_THEME Theme() const;
    void SetTheme(ENUM_THEME value);

    void Refresh();

    // The height of the header band in pixels (0 without a caption): the
    // body, where controls go, starts below it.
    int32_t HeaderHeight() const;

    // The colours a part is painted in now (translated, before the disabled
    // look): the public property where it is set, else the theme's.
    struct Colors {
        COLORREF caption = 0;
        COLORREF border = 0;
        COLORREF header1 = 0;
        COLORREF header2 = 0;
        COLORREF body1 = 0;
        COLORREF body2 = 0;
        friend bool operator==(const Colors&, const Colors&) = default;
    };
    Colors PaintColors() const;

    // --- As a container ----------------------------------------------------
    // What its controls take as their ambient back colour: the body's.
    OLE_COLOR ContainerBackColor() const override;
    bool CanTakeFocus() const override;
    // Gives the focus to the first control inside (the last while Shift is
    // held, as Shift+Tab comes in from below).
    void SetFocus() override;
    std::string AccessKeyLetters() const override;
    void OnAccessKey(int16_t keyAscii) override;
    bool WantsKey(int32_t vk) const override;

protected:
    void UserControl_Initialize() override;
    void UserControl_InitProperties() override;
    void UserControl_ReadProperties(PropertyBag& PropBag) override;
    void UserControl_WriteProperties(PropertyBag& PropBag) override;
    void UserControl_Resize() override;
    void UserControl_Terminate() override;
    void UserControl_AmbientChanged(const std::string& PropertyName) override;

private:
    struct State;
    void ApplyTheme();
    void Paint();
    void SetOverride(OLE_COLOR& field, OLE_COLOR value, const char* key);
    void TellControls(const std::string& name);
    bool FilterTab(const MSG& msg);

    std::unique_ptr<State> s;
};

}  // namespace kelvara
