#pragma once

// Form: a top-level window holding controls. It draws its own frame (a
// title bar with the caption and the window buttons, and a border) unless
// BorderStyle is 0, keeps the controls' tab order, moves the focus with Tab
// and Shift+Tab, sends access keys, Return and Escape to the right control,
// shows modeless or modal, and unloads.
//
//   Load(form)  → Load event
//   form.Show() → window shown, controls' Show, focus to the first in the
//                 tab order, Activate
//   Unload(form) → QueryUnload (may cancel) → Unload (may cancel) →
//                 controls' Terminate → window destroyed
//
// Keys reach a form's controls through its keyboard filter, in this order:
// with KeyPreview the form's KeyDown / KeyPress / KeyUp first (a handler
// setting the key to 0 eats it); then Tab and Shift+Tab move the focus;
// Return goes to the control shown as default, Escape to the cancel
// control, Alt+letter to the control whose access key it is — each unless
// the focused control wants that key itself.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/Event.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Control.h"
#include "kelvara/host/DrawingSurface.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/Win32.h"

namespace kelvara {

inline constexpr int16_t vbModeless = 0;
inline constexpr int16_t vbModal = 1;

// QueryUnload's UnloadMode.
inline constexpr int16_t vbFormControlMenu = 0;  // the close button
inline constexpr int16_t vbFormCode = 1;         // Unload called by the program
inline constexpr int16_t vbAppWindows = 2;
inline constexpr int16_t vbAppTaskManager = 3;
inline constexpr int16_t vbFormOwner = 5;

enum class FormBorderStyle : int16_t {
    None = 0,
    FixedSingle = 1,
    Sizable = 2,
    FixedDialog = 3,
    FixedToolWindow = 4,
    SizableToolWindow = 5
};

enum class FormMode {
    // Controls run: Ambient.UserMode is True.
    Run,
    // A design surface: controls are shown but UserMode is False, so they
    // make no tooltips, hooks or mouse trackers.
    Design
};

class Form : public ControlContainer, public KeyEvents {
public:
    explicit Form(std::string name = "Form1", FormMode mode = FormMode::Run);
    ~Form() override;
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    const std::string& Name() const { return name; }
    FormMode Mode() const { return mode; }
    // The window, made by Load (or the first call that needs it).
    HWND hWnd();
    bool Loaded() const { return window != 0; }

    // --- Properties --------------------------------------------------------
    const std::string& Caption() const { return caption; }
    void SetCaption(std::string value);
    const PixelBuffer* Icon() const { return icon.get(); }
    void SetIcon(std::shared_ptr<const PixelBuffer> value);
    FormBorderStyle BorderStyle() const { return borderStyle; }
    void SetBorderStyle(FormBorderStyle value);
    bool ShowInTaskBar() const { return showInTaskBar; }
    void SetShowInTaskBar(bool value);
    bool KeyPreview() const { return keyPreview; }
    void SetKeyPreview(bool value) { keyPreview = value; }
    bool ControlBox() const { return controlBox; }
    void SetControlBox(bool value);
    bool MinButton() const { return minButton; }
    void SetMinButton(bool value);
    bool MaxButton() const { return maxButton; }
    void SetMaxButton(bool value);
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    OLE_COLOR ForeColor() const { return foreColor; }
    void SetForeColor(OLE_COLOR value);
    const StdFont& Font() const { return font; }
    void SetFont(const StdFont& value);
    ScaleModeConstants ScaleMode() const { return scaleMode; }
    void SetScaleMode(ScaleModeConstants value);
    // 0 manual, 1 centre on the owner, 2 centre on the screen, 3 default.
    int16_t StartUpPosition() const { return startUpPosition; }
    void SetStartUpPosition(int16_t value) { startUpPosition = value; }
    // 0 normal, 1 minimised, 2 maximised.
    int16_t WindowState() const;
    void SetWindowState(int16_t value);
    bool Enabled() const;
    void SetEnabled(bool value);
    bool Visible() const;
    const std::string& Tag() const { return tag; }
    void SetTag(std::string value) { tag = std::move(value); }
    // Stored keys the form itself does not use, kept so that saving writes
    // them back as they came.
    PropertyBag& OtherProperties() { return otherProperties; }
    // Where the form was placed when it was designed (client area, twips):
    // with a start-up position other than manual the form shows elsewhere,
    // and this is what a saved form keeps.
    std::optional<POINT> DesignPosition() const { return designPosition; }
    void SetDesignPosition(std::optional<POINT> twips) { designPosition = twips; }

    // Outer size and position, in twips.
    float Left() const;
    float Top() const;
    float Width() const;
    float Height() const;
    void Move(float left, float top, float width, float height);
    // The client area in pixels, and in ScaleMode units.
    int32_t ClientWidthPixels() const;
    int32_t ClientHeightPixels() const;
    void SetClientSizePixels(int32_t width, int32_t height);
    float ScaleWidth() const;
    float ScaleHeight() const;
    float ScaleX(float value, ScaleModeConstants from, ScaleModeConstants to) const;
    float ScaleY(float value, ScaleModeConstants from, ScaleModeConstants to) const;

    // Drawing on the form's client area.
    bool AutoRedraw() const { return surface.AutoRedraw(); }
    void SetAutoRedraw(bool value) { surface.SetAutoRedraw(value); }
    Canvas& hDC() { return surface.hDC(); }
    void Cls() { surface.Cls(backColor); }
    void Print(std::string_view text) { surface.Print(text); }

    ControlCollection& Controls() { return controls; }
    // The control with the focus, or nullptr.
    Control* ActiveControl() const;
    // Every control on the form, with those inside other controls after
    // their container.
    std::vector<Control*> AllControls() const;
    // The control shown as the default button now, if any.
    Control* DisplayedDefault() const { return displayedDefault; }

    // vbModeless returns at once; vbModal runs a message loop that ends
    // when the form is hidden or unloaded.
    void Show(int16_t style = vbModeless, Form* owner = nullptr);
    void Hide();
    // Refreshes the form and its controls now.
    void Refresh();

    // Moves the focus to the next (or previous) control in the tab order.
    void FocusNext(bool backwards);

    // --- Events ------------------------------------------------------------
    Event<> Load;
    Event<> Activate;
    Event<> Deactivate;
    Event<> Resize;
    Event<> Paint;
    Event<int16_t& /*Cancel*/, int16_t /*UnloadMode*/> QueryUnload;
    Event<int16_t& /*Cancel*/> Unload;
    Event<> Terminate;
    Event<> Click;
    Event<> DblClick;
    Event<int16_t&, int16_t&, float&, float&> MouseDown;
    Event<int16_t&, int16_t&, float&, float&> MouseMove;
    Event<int16_t&, int16_t&, float&, float&> MouseUp;

    // --- As a container ------------------------------------------------------
    HWND ContainerWindow() override;
    POINT ClientOrigin() const override;
    ScaleModeConstants ContainerScaleMode() const override { return scaleMode; }
    Form* TopForm() override { return this; }
    ControlCollection& ContainedControls() override { return controls; }
    bool ContainerUserMode() const override { return mode == FormMode::Run; }
    const StdFont& ContainerFont() const override { return font; }
    OLE_COLOR ContainerBackColor() const override { return backColor; }
    OLE_COLOR ContainerForeColor() const override { return foreColor; }
    void InvalidateWindowless(const RECT& pixels) override;
    void ControlAdded(Control& control) override;
    void ControlRemoved(Control& control) override;

    // The frame's parts, in window pixels (empty when not shown).
    struct FrameLayout {
        RECT caption{0, 0, 0, 0};
        RECT icon{0, 0, 0, 0};
        RECT minimize{0, 0, 0, 0};
        RECT maximize{0, 0, 0, 0};
        RECT close{0, 0, 0, 0};
        RECT client{0, 0, 0, 0};
        int32_t border = 0;
    };
    FrameLayout Layout() const;

    // Makes the window and raises Load, once.
    void EnsureWindow();
    // Makes the window without raising Load (a form being read from a file
    // raises Load when its controls are in).
    void CreateFormWindow();
    bool UnloadForm(int16_t unloadMode);
    // Every loaded form, oldest first.
    static std::vector<Form*> Forms();
    // The form whose window (or a window inside it) this is.
    static Form* FromWindow(HWND hwnd);

    // The control's focus changed (the runtime's focus tracking).
    void FocusChanged();

private:
    LRESULT WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    bool FilterKey(const MSG& msg);
    void PaintFrame(Canvas& dc) const;
    void PaintWindowless(Canvas& dc, const RECT& area);
    void MouseMessage(uint32_t msg, WPARAM wParam, LPARAM lParam);
    int32_t NcHit(POINT window) const;
    void ApplyStyle();
    std::vector<Control*> TabOrder() const;
    Control* AccessKeyTarget(char32_t letter) const;
    void UpdateDisplayedDefault();
    void ShowControls(bool shown);
    int32_t CaptionHeight() const;

    std::string name;
    FormMode mode;
    HWND window = 0;
    int32_t filter = 0;
    DrawingSurface surface;
    ControlCollection controls{*this};
    std::string caption;
    std::shared_ptr<const PixelBuffer> icon;
    FormBorderStyle borderStyle = FormBorderStyle::Sizable;
    bool showInTaskBar = true;
    bool keyPreview = false;
    bool controlBox = true;
    bool minButton = true;
    bool maxButton = true;
    OLE_COLOR backColor = 0x8000000F;
    OLE_COLOR foreColor = 0x80000012;
    StdFont font;
    ScaleModeConstants scaleMode = ScaleModeConstants::vbTwips;
    int16_t startUpPosition = 3;
    std::string tag;
    PropertyBag otherProperties;
    std::optional<POINT> designPosition;
    RECT initialRect{0, 0, 320, 240};
    int32_t modalDepth = 0;
    bool everShown = false;
    bool active = false;
    Control* displayedDefault = nullptr;
    HWND lastFocus = 0;
    Control* mouseOver = nullptr;  // the windowless control under a pressed button
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

// Loads the form (makes its window and raises Load); true when loaded.
bool Load(Form& form);
// Unloads it as the program does; false when QueryUnload or Unload
// cancelled.
bool Unload(Form& form);

}  // namespace kelvara
