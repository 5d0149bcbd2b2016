#pragma once

// UserControl: the base of every Kelvara control — a child window with a
// persistent image, a font and colours, that turns the window's messages
// into the container events a control handles (UserControl_Click ...).
//
// The order the events come in:
//   UserControl_Initialize         when the control is made and sited
//   UserControl_InitProperties     a new control, or
//   UserControl_ReadProperties     a stored one (never both)
//   UserControl_Resize             at least once, after the properties
//   UserControl_Show               when it becomes visible on a shown form
//   UserControl_Paint              on each repaint, only without AutoRedraw
//   UserControl_WriteProperties    when its form is saved
//   UserControl_Terminate          last
//
// Mouse: MouseDown, MouseUp, then Click (left button, released over the
// control); a double click gives DblClick in place of the second MouseDown
// and no second Click: Down, Up, Click, DblClick, Up. Keys: KeyDown,
// KeyPress (from the character), KeyUp. Focus: EnterFocus when the focus
// comes into the control or one of its parts, GotFocus when the control's
// own window gets it; LostFocus, then ExitFocus when it leaves.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/base/Event.h"
#include "kelvara/base/PropertyBag.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Control.h"
#include "kelvara/host/DataObject.h"
#include "kelvara/host/DrawingSurface.h"
#include "kelvara/host/Win32.h"

namespace kelvara {

// The container's values as a control sees them.
struct AmbientProperties {
    bool UserMode = true;
    StdFont Font;
    std::string DisplayName;
    OLE_COLOR BackColor = 0x8000000F;
    OLE_COLOR ForeColor = 0x80000012;
    bool DisplayAsDefault = false;
};

class UserControl : public Control, public ControlContainer {
public:
    ~UserControl() override;

    // --- The user control object -------------------------------------------
    HWND hWnd() const override { return SiteWindow(); }
    Canvas& hDC() { return surface.hDC(); }
    bool AutoRedraw() const { return surface.AutoRedraw(); }
    void SetAutoRedraw(bool value) { surface.SetAutoRedraw(value); }
    void Cls() { surface.Cls(backColor); }
    // Draws a picture at (x, y) in pixels, stretched to width × height when
    // those are given (not negative); premultiplied alpha is blended.
    void PaintPicture(const PixelBuffer& picture, int32_t x, int32_t y, int32_t width = -1,
                      int32_t height = -1);
    // The persistent image, as the window shows it.
    const PixelBuffer& Image() const { return surface.Image(); }

    bool Enabled() const override { return Control::Enabled(); }
    void SetEnabled(bool value) override;
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    OLE_COLOR ForeColor() const { return foreColor; }
    void SetForeColor(OLE_COLOR value);
    // The control's font. Change it through SetFont, or change the object
    // and call FontChanged.
    StdFont& Font() { return font; }
    const StdFont& Font() const { return font; }
    void SetFont(const StdFont& value);
    void FontChanged();
    int16_t MousePointer() const { return mousePointer; }
    void SetMousePointer(int16_t value) { mousePointer = value; }
    const PixelBuffer* MouseIcon() const { return mouseIcon.get(); }
    void SetMouseIcon(std::shared_ptr<const PixelBuffer> icon) { mouseIcon = std::move(icon); }

    ScaleModeConstants ScaleMode() const { return scaleMode; }
    void SetScaleMode(ScaleModeConstants value) { scaleMode = value; }
    // The client area in ScaleMode units.
    float ScaleWidth() const;
    float ScaleHeight() const;
    float ScaleX(float value, ScaleModeConstants from, ScaleModeConstants to) const;
    float ScaleY(float value, ScaleModeConstants from, ScaleModeConstants to) const;
    // The control's size in twips; setting resizes it (and raises Resize).
    float UserWidth() const;
    float UserHeight() const;
    void SetUserWidth(float twips);
    void SetUserHeight(float twips);
    float TextWidth(std::string_view text) const;
    float TextHeight(std::string_view text) const;
    void Print(std::string_view text) { surface.Print(text); }
    double& CurrentX() { return surface.CurrentX; }
    double& CurrentY() { return surface.CurrentY; }

    // Letters that raise AccessKeyPress with Alt (the caption's "&" letter).
    const std::string& AccessKeys() const { return accessKeys; }
    void SetAccessKeys(std::string value) { accessKeys = std::move(value); }
    // Whether the control takes the focus at all.
    bool CanGetFocus() const { return canGetFocus; }
    void SetCanGetFocus(bool value) { canGetFocus = value; }
    // Whether the form may make it its default or cancel button.
    bool DefaultCancel() const { return defaultCancel; }
    void SetDefaultCancel(bool value) { defaultCancel = value; }

    // Tells the container a stored property changed (by its key).
    void PropertyChanged(std::string_view key);
    // Everyone who wants to know of PropertyChanged (a designer, a test).
    Event<const std::string&> PropertyChanges;

    AmbientProperties Ambient() const;
    Control& Extender() { return *this; }
    ControlCollection& Controls() { return controls; }

    // --- As a container of its constituent controls -------------------------
    HWND ContainerWindow() override { return SiteWindow(); }
    ScaleModeConstants ContainerScaleMode() const override { return scaleMode; }
    Form* TopForm() override { return Parent(); }
    ControlCollection& ContainedControls() override { return controls; }
    bool ContainerUserMode() const override { return Ambient().UserMode; }
    const StdFont& ContainerFont() const override { return font; }
    OLE_COLOR ContainerBackColor() const override { return backColor; }
    OLE_COLOR ContainerForeColor() const override { return foreColor; }
    void InvalidateWindowless(const RECT& pixels) override;
    void ControlAdded(Control& control) override;

    // --- What the form asks ---------------------------------------------------
    bool CanTakeFocus() const override;
    std::string AccessKeyLetters() const override;
    void OnAccessKey(int16_t keyAscii) override;
    bool CanBeDefault() const override { return defaultCancel; }
    void OnDisplayAsDefault(bool value) override;
    void OnAmbientChanged(const std::string& name) override;
    bool OwnsWindow(HWND hwnd) const override;
    void SetFocus() override;

    // 0 takes no drops; 1 (manual) gets OLEDragOver and OLEDragDrop.
    int16_t OLEDropMode() const { return oleDropMode; }
    void SetOLEDropMode(int16_t value) { oleDropMode = value; }
    // Drag and drop arriving from the runtime.
    void DeliverDragOver(DataObject& data, int32_t& effect, int16_t button, int16_t shift,
                         POINT client, int16_t state);
    void DeliverDragDrop(DataObject& data, int32_t& effect, int16_t button, int16_t shift,
                         POINT client);
    // The user control whose window (or part) this is, or nullptr.
    static UserControl* FromWindow(HWND hwnd);

protected:
    explicit UserControl(std::string typeName);

    // --- Container events -----------------------------------------------------
    virtual void UserControl_Initialize() {}
    virtual void UserControl_InitProperties() {}
    virtual void UserControl_ReadProperties(PropertyBag&) {}
    virtual void UserControl_WriteProperties(PropertyBag&) {}
    virtual void UserControl_Resize() {}
    virtual void UserControl_Show() {}
    virtual void UserControl_Hide() {}
    virtual void UserControl_Paint() {}
    virtual void UserControl_Terminate() {}
    virtual void UserControl_GotFocus() {}
    virtual void UserControl_LostFocus() {}
    virtual void UserControl_EnterFocus() {}
    virtual void UserControl_ExitFocus() {}
    virtual void UserControl_AccessKeyPress(int16_t) {}
    virtual void UserControl_AmbientChanged(const std::string&) {}
    virtual void UserControl_Click() {}
    virtual void UserControl_DblClick() {}
    virtual void UserControl_KeyDown(int16_t& /*KeyCode*/, int16_t& /*Shift*/) {}
    virtual void UserControl_KeyPress(int16_t& /*KeyAscii*/) {}
    virtual void UserControl_KeyUp(int16_t& /*KeyCode*/, int16_t& /*Shift*/) {}
    virtual void UserControl_MouseDown(int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/,
                                       float& /*Y*/) {}
    virtual void UserControl_MouseMove(int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/,
                                       float& /*Y*/) {}
    virtual void UserControl_MouseUp(int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/,
                                     float& /*Y*/) {}
    virtual void UserControl_OLEDragOver(DataObject&, int32_t& /*Effect*/, int16_t& /*Button*/,
                                         int16_t& /*Shift*/, float& /*X*/, float& /*Y*/,
                                         int16_t& /*State*/) {}
    virtual void UserControl_OLEDragDrop(DataObject&, int32_t& /*Effect*/, int16_t& /*Button*/,
                                         int16_t& /*Shift*/, float& /*X*/, float& /*Y*/) {}
    // Windowless hit testing: HitResult 0 none, 3 hit.
    virtual void UserControl_HitTest(float& /*X*/, float& /*Y*/, int32_t& /*HitResult*/) {}

    // Every message of the control's window comes here first; the default
    // turns them into the events above. A control with a hook of its own
    // overrides it and calls UserControl::WindowProc for the rest.
    virtual LRESULT WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);

    // --- Control protocol -------------------------------------------------
    void OnSited() override;
    void OnInitNew() override;
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;
    void OnReady() override;
    void OnVisibleChanged() override;
    void OnTerminate() override;

private:
    friend class Form;
    void RaiseShow();
    void RaiseHide();
    void Mouse(uint32_t msg, WPARAM wParam, LPARAM lParam);
    void Key(uint32_t msg, WPARAM wParam);
    void Focus(bool gained, HWND other);
    bool Inside(HWND hwnd) const;
    bool UserMode() const;
    RECT ClientArea() const;
    float ToScaleX(int32_t pixels) const;
    float ToScaleY(int32_t pixels) const;

    DrawingSurface surface;
    ControlCollection controls{*this};
    OLE_COLOR backColor = 0x8000000F;
    OLE_COLOR foreColor = 0x80000012;
    StdFont font;
    int16_t mousePointer = 0;
    std::shared_ptr<const PixelBuffer> mouseIcon;
    ScaleModeConstants scaleMode = ScaleModeConstants::vbPixels;
    std::string accessKeys;
    bool canGetFocus = true;
    bool defaultCancel = false;
    bool displayAsDefault = false;
    int16_t oleDropMode = 0;
    bool ready = false;  // properties are in; Resize may be raised
    bool shown = false;  // Show raised and Hide not since
    bool terminated = false;
    int16_t buttonsDown = 0;
    bool afterDblClick = false;
};

}  // namespace kelvara
