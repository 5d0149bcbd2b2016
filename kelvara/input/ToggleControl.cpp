#include "kelvara/input/ToggleControl.h"

#include "kelvara/host/StoredValues.h"

#include <algorithm>

#include "kelvara/base/Text.h"
#include "kelvara/frame/APIMouseEvents.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

constexpr OLE_COLOR kButtonFace = 0x8000000F;
constexpr OLE_COLOR kButtonText = 0x80000012;
constexpr OLE_COLOR kGrayText = 0x80000011;

// Every other pixel of the rectangle's border, as a focus rectangle shows.
void DrawFocusDots(Canvas& dc, const RECT& r, COLORREF color) {
    for (int32_t x = r.Left; x < r.Right; x += 2) {
        dc.SetPixelV(x, r.Top, color);
        dc.SetPixelV(x, r.Bottom - 1, color);
    }
    for (int32_t y = r.Top; y < r.Bottom; y += 2) {
        dc.SetPixelV(r.Left, y, color);
        dc.SetPixelV(r.Right - 1, y, color);
    }
}

}  // namespace

struct ToggleControl::State {
    // Properties.
    ENUM_GLYPH_ALIGNMENT alignment = ENUM_GLYPH_ALIGNMENT::GlyphLeft;
    std::string caption;
    OLE_COLOR foreColorDisabled = kGrayText;
    bool handPointer = false;
    bool showFocusRect = true;
    ENUM_THEME theme = ENUM_THEME::WindowsTheme;
    RedrawGate gate;

    // What the user is doing.
    bool userMode = false;
    bool hasFocus = false;
    bool mouseOver = false;
    bool mouseDown = false;      // the left button went down on the control
    bool pointerInside = false;  // ... and the pointer is over it now
    bool secondPress = false;    // ... as the second press of a double click
    bool clickPending = false;   // released inside: the host's Click follows
    bool spaceDown = false;
    // The container's back colour as last seen, to follow it while equal.
    OLE_COLOR ambientBack = kButtonFace;
    std::unique_ptr<APIMouseEvents> mouse;

    void EndPress() {
        mouseDown = false;
        pointerInside = false;
        secondPress = false;
        clickPending = false;
        spaceDown = false;
    }
};

ToggleControl::ToggleControl(std::string typeName)
    : UserControl(std::move(typeName)), s(std::make_unique<State>()) {}

ToggleControl::~ToggleControl() = default;

// --- Properties ----------------------------------------------------------------

ENUM_GLYPH_ALIGNMENT ToggleControl::Alignment() const {
    return s->alignment;
}

void ToggleControl::SetAlignment(ENUM_GLYPH_ALIGNMENT value) {
    s->alignment = value;
    PropertyChanged("Alignment");
    Refresh();
}

void ToggleControl::SetBackColor(OLE_COLOR value) {
    UserControl::SetBackColor(value);
    PropertyChanged("BackColor");
    Refresh();
}

const std::string& ToggleControl::Caption() const {
    return s->caption;
}

void ToggleControl::SetCaption(std::string value) {
    s->caption = std::move(value);
    PropertyChanged("Caption");
    SetAccessKeys(GetAccessKey(s->caption));
    Refresh();
}

void ToggleControl::SetEnabled(bool value) {
    UserControl::SetEnabled(value);
    PropertyChanged("Enabled");
    if (!value) {
        s->EndPress();
        s->mouseOver = false;
    }
    Refresh();
}

void ToggleControl::SetForeColor(OLE_COLOR value) {
    UserControl::SetForeColor(value);
    PropertyChanged("ForeColor");
    Refresh();
}

OLE_COLOR ToggleControl::ForeColorDisabled() const {
    return s->foreColorDisabled;
}

void ToggleControl::SetForeColorDisabled(OLE_COLOR value) {
    s->foreColorDisabled = value;
    PropertyChanged("ForeColorDisabled");
    Refresh();
}

bool ToggleControl::HandPointer() const {
    return s->handPointer;
}

void ToggleControl::SetHandPointer(bool value) {
    s->handPointer = value;
    UserControl::SetMousePointer(value ? vbCustom : vbDefault);
    UserControl::SetMouseIcon(value ? HandCursor() : nullptr);
    PropertyChanged("HandPointer");
}

void ToggleControl::SetMousePointer(int16_t value) {
    UserControl::SetMousePointer(value);
    if (value != vbCustom) {
        s->handPointer = false;
    }
    PropertyChanged("MousePointer");
}

void ToggleControl::SetMouseIcon(std::shared_ptr<const PixelBuffer> icon) {
    UserControl::SetMousePointer(icon ? vbCustom : vbDefault);
    UserControl::SetMouseIcon(std::move(icon));
    PropertyChanged("MouseIcon");
}

bool ToggleControl::Redraw() const {
    return s->gate.Redraw();
}

void ToggleControl::SetRedraw(bool value) {
    if (s->gate.SetRedraw(value)) {
        Refresh();
    }
    PropertyChanged("Redraw");
}

bool ToggleControl::ShowFocusRect() const {
    return s->showFocusRect;
}

void ToggleControl::SetShowFocusRect(bool value) {
    s->showFocusRect = value;
    PropertyChanged("ShowFocusRect");
    Refresh();
}

ENUM_THEME ToggleControl::Theme() const {
    return s->theme;
}

void ToggleControl::SetTheme(ENUM_THEME value) {
    s->theme = value;
    PropertyChanged("Theme");
    Refresh();
}

bool ToggleControl::UserMode() const {
    return s->userMode;
}

bool ToggleControl::HasFocus() const {
    return s->hasFocus;
}

// --- Painting ------------------------------------------------------------------

int32_t ToggleControl::VisualState() const {
    if (!Enabled() || !ContainersEnabled(*this)) {
        return 3;
    }
    if (s->spaceDown || (s->mouseDown && s->pointerInside)) {
        return 2;
    }
    // Held down and dragged away the control looks at rest, so the user
    // sees that letting go there does nothing.
    if (s->mouseOver && !s->mouseDown) {
        return 1;
    }
    return 0;
}

void ToggleControl::Refresh() {
    PaintState(VisualState(), true);
}

void ToggleControl::Repaint() {
    PaintState(VisualState(), false);
}

void ToggleControl::ValueChanged() {
    Refresh();
}

void ToggleControl::PaintState(int32_t state, bool force) {
    if (s->gate.ShouldPaint(state, s->hasFocus, force)) {
        Paint();
    }
}

RECT ToggleControl::GlyphRect() const {
    const RECT& b = Bounds();
    const int32_t w = b.Right - b.Left;
    const int32_t h = b.Bottom - b.Top;
    const int32_t left = s->alignment == ENUM_GLYPH_ALIGNMENT::GlyphRight ? w - kGlyphSize : 0;
    const int32_t top = (h - kGlyphSize) / 2;
    return RECT{left, top, left + kGlyphSize, top + kGlyphSize};
}

RECT ToggleControl::CaptionRect() const {
    const RECT& b = Bounds();
    const int32_t w = b.Right - b.Left;
    const int32_t h = b.Bottom - b.Top;
    const bool right = s->alignment == ENUM_GLYPH_ALIGNMENT::GlyphRight;
    const int32_t areaLeft = right ? 0 : kGlyphSize + kGlyphGap;
    const int32_t areaRight = right ? w - kGlyphSize - kGlyphGap : w;
    if (s->caption.empty() || areaRight <= areaLeft) {
        return RECT{areaLeft, 0, areaLeft, 0};
    }
    // Measured on the control's own canvas in its font; the canvas's
    // state is left as it was.
    Canvas& dc = const_cast<ToggleControl*>(this)->hDC();
    CanvasSaver keep(dc);
    dc.SelectFont(UserControl::Font());
    RECT measured{0, 0, areaRight - areaLeft, 0};
    dc.DrawText(s->caption, measured, DT_CALCRECT | DT_WORDBREAK);
    const int32_t textWidth = std::min(measured.Right - measured.Left, areaRight - areaLeft);
    const int32_t textHeight = measured.Bottom - measured.Top;
    // A caption taller than the control starts at its top and is cut below.
    const int32_t top = std::max((h - textHeight) / 2, 0);
    return right ? RECT{areaRight - textWidth, top, areaRight, top + textHeight}
                 : RECT{areaLeft, top, areaLeft + textWidth, top + textHeight};
}

void ToggleControl::Paint() {
    PaintOffscreen(*this, [this] {
        Canvas& dc = hDC();
        const int32_t look = VisualState();
        const RECT glyph = GlyphRect();
        const RECT caption = CaptionRect();
        CanvasSaver keep(dc);
        PaintGlyph(dc, glyph.Left, glyph.Top, look);

        const COLORREF text =
            TranslateOleColor(look == 3 ? s->foreColorDisabled : UserControl::ForeColor());
        if (caption.Right > caption.Left) {
            dc.SelectFont(UserControl::Font());
            dc.SetBkMode(BkMode::TRANSPARENT);
            dc.SetTextColor(text);
            RECT r = caption;
            const uint32_t align =
                s->alignment == ENUM_GLYPH_ALIGNMENT::GlyphRight ? DT_RIGHT : DT_LEFT;
            dc.DrawText(s->caption, r, DT_WORDBREAK | align);
        }
        if (s->hasFocus && s->showFocusRect) {
            const RECT around = caption.Right > caption.Left ? caption : glyph;
            const RECT& b = Bounds();
            const RECT focus{std::max(around.Left - 1, 0), std::max(around.Top - 1, 0),
                             std::min(around.Right + 1, b.Right - b.Left),
                             std::min(around.Bottom + 1, b.Bottom - b.Top)};
            DrawFocusDots(dc, focus, text);
        }
    });
}

// --- Life ----------------------------------------------------------------------

void ToggleControl::StartTracking() {
    if (!s->userMode || s->mouse) {
        return;
    }
    s->mouse = std::make_unique<APIMouseEvents>();
    s->mouse->MouseIn.Connect([this] {
        s->mouseOver = true;
        Repaint();
        MouseEnter();
    });
    s->mouse->MouseOut.Connect([this] {
        s->mouseOver = false;
        Repaint();
        MouseExit();
    });
    s->mouse->MouseMove.Connect(
        [this](WPARAM, LPARAM, int16_t& button, int16_t& shift, int32_t& x, int32_t& y) {
            float fx = static_cast<float>(x);
            float fy = static_cast<float>(y);
            MouseMove(button, shift, fx, fy);
        });
    s->mouse->Attach(hWnd());
}

void ToggleControl::UserControl_InitProperties() {
    // A control added while the program runs is running too, so it reads
    // the ambient value here as well as when it is loaded.
    s->userMode = Ambient().UserMode;
    const AmbientProperties ambient = Ambient();
    UserControl::SetFont(ambient.Font);
    s->caption = ambient.DisplayName;
    UserControl::SetBackColor(ambient.BackColor);
    s->ambientBack = ambient.BackColor;
    UserControl::SetForeColor(kButtonText);
    SetAccessKeys(GetAccessKey(s->caption));
    StartTracking();
    // A new control takes the light theme; this paints it the first time.
    SetTheme(ENUM_THEME::WindowsThemeLight);
}

void ToggleControl::UserControl_ReadProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    s->userMode = ambient.UserMode;
    s->ambientBack = ambient.BackColor;
    UserControl::SetFont(ReadFontProperty(PropBag, "Font", ambient.Font));
    UserControl::SetMouseIcon(ReadPictureProperty(PropBag, "MouseIcon"));
    UserControl::SetMousePointer(ReadNumber<int16_t>(PropBag, "MousePointer", vbDefault));
    s->alignment = ReadNumber<int32_t>(PropBag, "Alignment", 0) == 1
                       ? ENUM_GLYPH_ALIGNMENT::GlyphRight
                       : ENUM_GLYPH_ALIGNMENT::GlyphLeft;
    UserControl::SetBackColor(ReadColor(PropBag, "BackColor", kButtonFace));
    s->caption = PropBag.ReadProperty("Caption", Variant(ambient.DisplayName))
                     .ToText()
                     .value_or(ambient.DisplayName);
    UserControl::SetEnabled(ReadBool(PropBag, "Enabled", true));
    UserControl::SetForeColor(ReadColor(PropBag, "ForeColor", kButtonText));
    s->foreColorDisabled = ReadColor(PropBag, "ForeColorDisabled", kGrayText);
    s->handPointer = ReadBool(PropBag, "HandPointer", false);
    s->gate.SetRedraw(ReadBool(PropBag, "Redraw", true));
    s->showFocusRect = ReadBool(PropBag, "ShowFocusRect", true);
    s->theme = static_cast<ENUM_THEME>(ReadNumber<int32_t>(PropBag, "Theme", 2));
    ReadValue(PropBag);
    SetAccessKeys(GetAccessKey(s->caption));
    ApplyHandPointer(*this, s->userMode, s->handPointer);
    StartTracking();
}

void ToggleControl::UserControl_WriteProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    WriteFontProperty(PropBag, "Font", UserControl::Font(), ambient.Font);
    // The hand is derived from HandPointer when the control is read, so it
    // is not stored as a pointer of its own.
    const bool hand = s->handPointer;
    WritePictureProperty(PropBag, "MouseIcon", hand ? nullptr : UserControl::MouseIcon());
    PropBag.WriteProperty("MousePointer", Variant(hand ? vbDefault : UserControl::MousePointer()),
                          Variant(vbDefault));
    PropBag.WriteProperty("Alignment", Variant(static_cast<int32_t>(s->alignment)),
                          Variant(int32_t{0}));
    WriteColor(PropBag, "BackColor", UserControl::BackColor(), kButtonFace);
    PropBag.WriteProperty("Caption", Variant(s->caption), Variant(ambient.DisplayName));
    PropBag.WriteProperty("Enabled", Variant(Enabled()), Variant(true));
    WriteColor(PropBag, "ForeColor", UserControl::ForeColor(), kButtonText);
    WriteColor(PropBag, "ForeColorDisabled", s->foreColorDisabled, kGrayText);
    PropBag.WriteProperty("HandPointer", Variant(s->handPointer), Variant(false));
    PropBag.WriteProperty("Redraw", Variant(s->gate.Redraw()), Variant(true));
    PropBag.WriteProperty("ShowFocusRect", Variant(s->showFocusRect), Variant(true));
    PropBag.WriteProperty("Theme", Variant(static_cast<int32_t>(s->theme)), Variant(int32_t{2}));
    WriteValue(PropBag);
}

void ToggleControl::UserControl_Resize() {
    if (EnforceMinimumSize(*this, kGlyphSize, kGlyphSize)) {
        return;
    }
    if (s->gate.Redraw()) {
        Refresh();
    }
}

void ToggleControl::UserControl_Terminate() {
    s->userMode = false;
    if (s->mouse) {
        s->mouse->Detach();
        s->mouse.reset();
    }
}

// --- Input ---------------------------------------------------------------------

bool ToggleControl::RaiseClick() {
    const auto token = Token();
    Click();
    return !token.expired();
}

bool ToggleControl::PointInside(float x, float y) const {
    const RECT& b = Bounds();
    const float w =
        ScaleX(static_cast<float>(b.Right - b.Left), ScaleModeConstants::vbPixels, ScaleMode());
    const float h =
        ScaleY(static_cast<float>(b.Bottom - b.Top), ScaleModeConstants::vbPixels, ScaleMode());
    return x >= 0 && y >= 0 && x < w && y < h;
}

void ToggleControl::UserControl_GotFocus() {
    s->hasFocus = true;
    Repaint();
}

void ToggleControl::UserControl_LostFocus() {
    // Whatever press was going on ends without a click.
    s->hasFocus = false;
    s->EndPress();
    Repaint();
}

void ToggleControl::UserControl_AccessKeyPress(int16_t) {
    s->EndPress();
    Repaint();
    Toggle();
}

void ToggleControl::UserControl_AmbientChanged(const std::string& PropertyName) {
    if (PropertyName == "BackColor") {
        const OLE_COLOR now = Ambient().BackColor;
        const bool following = UserControl::BackColor() == s->ambientBack;
        s->ambientBack = now;
        if (following) {
            SetBackColor(now);
        }
    } else if (PropertyName == "Enabled") {
        // A container was enabled or disabled.
        Refresh();
    }
}

void ToggleControl::UserControl_Click() {
    if (!s->clickPending) {
        return;
    }
    s->clickPending = false;
    Toggle();
}

void ToggleControl::UserControl_DblClick() {
    // The second press of a double click presses the control again, so
    // two quick clicks toggle twice, as they do on any check box.
    s->mouseDown = true;
    s->pointerInside = true;
    s->secondPress = true;
    s->clickPending = false;
    Repaint();
    DblClick();
}

void ToggleControl::UserControl_KeyDown(int16_t& KeyCode, int16_t& Shift) {
    const auto token = Token();
    if (Shift == 0) {
        if (KeyCode == VK_SPACE) {
            if (!s->spaceDown) {
                s->spaceDown = true;
                Repaint();
            }
        } else if (KeyCode == VK_LEFT || KeyCode == VK_UP) {
            if (!ArrowKey(KeyCode)) {
                keybd_event(VK_SHIFT, 0, 0, 0);
                keybd_event(VK_TAB, 0, 0, 0);
                keybd_event(VK_SHIFT, 45, KEYEVENTF_KEYUP, 0);
            }
        } else if (KeyCode == VK_RIGHT || KeyCode == VK_DOWN) {
            if (!ArrowKey(KeyCode)) {
                keybd_event(VK_TAB, 0, 0, 0);
            }
        }
        if (token.expired()) {
            return;
        }
    }
    KeyDown(KeyCode, Shift);
}

void ToggleControl::UserControl_KeyPress(int16_t& KeyAscii) {
    KeyPress(KeyAscii);
}

void ToggleControl::UserControl_KeyUp(int16_t& KeyCode, int16_t& Shift) {
    if (KeyCode == VK_SPACE && s->spaceDown) {
        const auto token = Token();
        s->spaceDown = false;
        Repaint();
        Toggle();
        if (token.expired()) {
            return;
        }
    }
    KeyUp(KeyCode, Shift);
}

void ToggleControl::UserControl_MouseDown(int16_t& Button, int16_t& Shift, float& X, float& Y) {
    if (Button == vbLeftButton) {
        s->mouseDown = true;
        s->pointerInside = true;
        s->secondPress = false;
        s->clickPending = false;
        Repaint();
    }
    MouseDown(Button, Shift, X, Y);
}

void ToggleControl::UserControl_MouseMove(int16_t&, int16_t&, float& X, float& Y) {
    // Only follows a press in or out; the MouseMove event itself comes from
    // the tracker, so it is raised once per move.
    if (s->mouseDown) {
        const bool inside = PointInside(X, Y);
        if (inside != s->pointerInside) {
            s->pointerInside = inside;
            Repaint();
        }
    }
}

void ToggleControl::UserControl_MouseUp(int16_t& Button, int16_t& Shift, float& X, float& Y) {
    if (Button != vbLeftButton || !s->mouseDown) {
        MouseUp(Button, Shift, X, Y);
        return;
    }
    const bool inside = PointInside(X, Y);
    const bool second = s->secondPress;
    s->mouseDown = false;
    s->pointerInside = false;
    s->secondPress = false;
    // The host clicks after a first press released inside; after the second
    // press of a double click it does not, so the control clicks itself.
    s->clickPending = inside && !second;
    Repaint();
    const auto token = Token();
    MouseUp(Button, Shift, X, Y);
    if (!token.expired() && second && inside) {
        Toggle();
    }
}

}  // namespace kelvara
