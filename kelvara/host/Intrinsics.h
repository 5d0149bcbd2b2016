#pragma once

// The runtime's own small controls, the pieces Kelvara's controls are built
// from and forms use beside them: Label, Shape, Line and Image are drawn by
// their container (they have no window); PictureBox has a window and a
// persistent image; Timer has neither face nor size. TextBox is in
// TextBox.h.
//
// Their stored keys are the host's property names ("Caption", "BackStyle"
// ...), each with its default, so a form file lists only what differs.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/base/Event.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Control.h"
#include "kelvara/host/DrawingSurface.h"

namespace kelvara {

// Fonts and pictures in a property bag: a font is a bag of its own (Name,
// Size, Charset, Weight, Underline, Italic, Strikethrough); a picture is
// its PNG bytes.
StdFont ReadFontProperty(const PropertyBag& bag, std::string_view key, const StdFont& fallback);
void WriteFontProperty(PropertyBag& bag, std::string_view key, const StdFont& font,
                       const StdFont& fallback);
std::shared_ptr<PixelBuffer> ReadPictureProperty(const PropertyBag& bag, std::string_view key);
void WritePictureProperty(PropertyBag& bag, std::string_view key, const PixelBuffer* picture);
// The runtime's default font: Tahoma, 8¼ points.
StdFont DefaultFont();

// The mouse events every visible intrinsic control raises, and the rule
// that turns presses into clicks (left button, released over the control;
// a double click replaces the second MouseDown).
class MouseEvents {
public:
    Event<> Click;
    Event<> DblClick;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseDown;
    Event<int16_t&, int16_t&, float&, float&> MouseMove;
    Event<int16_t&, int16_t&, float&, float&> MouseUp;

protected:
    // A mouse message at (x, y) of the control, in its container's units;
    // `inside` tells whether the point lies on the control.
    void RaiseMouse(uint32_t msg, int16_t button, int16_t shift, float x, float y, bool inside,
                    const std::weak_ptr<const bool>& token);

private:
    bool afterDblClick = false;
};

// The key events of controls with a window and the form: KeyDown, KeyPress
// (from the character) and KeyUp, each of which may change the key or eat
// it by setting it to 0.
class KeyEvents {
public:
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyDown;
    Event<int16_t& /*KeyAscii*/> KeyPress;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyUp;

protected:
    // Raises the event a key message stands for (WM_KEYDOWN, WM_SYSKEYDOWN,
    // WM_KEYUP, WM_SYSKEYUP, WM_CHAR); false for other messages. `key`
    // comes back as the handlers left it (0: eaten).
    static bool IsKeyMessage(uint32_t msg);
    void RaiseKey(uint32_t msg, WPARAM wParam, int16_t& key);
};

// A windowless control's face: font, colours, and the container to repaint.
class Label : public Control, public MouseEvents {
public:
    Label();

    const std::string& Caption() const { return caption; }
    void SetCaption(std::string value);
    // 0 left, 1 right, 2 centre.
    int16_t Alignment() const { return alignment; }
    void SetAlignment(int16_t value);
    bool AutoSize() const { return autoSize; }
    void SetAutoSize(bool value);
    // 0 transparent, 1 opaque.
    int16_t BackStyle() const { return backStyle; }
    void SetBackStyle(int16_t value);
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    OLE_COLOR ForeColor() const { return foreColor; }
    void SetForeColor(OLE_COLOR value);
    // 0 none, 1 a single line.
    int16_t BorderStyle() const { return borderStyle; }
    void SetBorderStyle(int16_t value);
    const StdFont& Font() const { return font; }
    void SetFont(const StdFont& value);
    bool WordWrap() const { return wordWrap; }
    void SetWordWrap(bool value);
    bool UseMnemonic() const { return useMnemonic; }
    void SetUseMnemonic(bool value);

    Event<> Change;

    bool Windowless() const override { return true; }
    void OnPaintWindowless(Canvas& dc) override;
    void OnWindowlessMouse(uint32_t msg, int16_t button, int16_t shift, POINT at) override;
    std::string AccessKeyLetters() const override;
    // An access key of a label moves the focus to the control after it in
    // the tab order.
    void OnAccessKey(int16_t keyAscii) override;
    bool CanTakeFocus() const override { return false; }
    uint32_t ExtenderKeySet() const override { return kAllExtenderKeys & ~kTabStop; }

protected:
    void OnInitNew() override;
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;

private:
    uint32_t Format() const;
    void Fit();

    std::string caption;
    int16_t alignment = 0;
    bool autoSize = false;
    int16_t backStyle = 1;
    OLE_COLOR backColor = 0x8000000F;
    OLE_COLOR foreColor = 0x80000012;
    int16_t borderStyle = 0;
    StdFont font = DefaultFont();
    bool wordWrap = false;
    bool useMnemonic = true;
};

class Shape : public Control {
public:
    Shape();

    // 0 rectangle, 1 square, 2 oval, 3 circle, 4 rounded rectangle, 5
    // rounded square.
    int16_t ShapeKind() const { return shape; }
    void SetShape(int16_t value);
    int16_t BackStyle() const { return backStyle; }
    void SetBackStyle(int16_t value);
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    // 0 solid, 1 transparent (the default).
    int16_t FillStyle() const { return fillStyle; }
    void SetFillStyle(int16_t value);
    OLE_COLOR FillColor() const { return fillColor; }
    void SetFillColor(OLE_COLOR value);
    // 0 transparent, 1 solid.
    int16_t BorderStyle() const { return borderStyle; }
    void SetBorderStyle(int16_t value);
    OLE_COLOR BorderColor() const { return borderColor; }
    void SetBorderColor(OLE_COLOR value);
    int16_t BorderWidth() const { return borderWidth; }
    void SetBorderWidth(int16_t value);

    bool Windowless() const override { return true; }
    void OnPaintWindowless(Canvas& dc) override;
    bool HitWindowless(POINT) const override { return false; }
    bool CanTakeFocus() const override { return false; }
    uint32_t ExtenderKeySet() const override { return kPosition | kSize | kVisible | kTag; }

protected:
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;

private:
    int16_t shape = 0;
    int16_t backStyle = 0;
    OLE_COLOR backColor = 0x80000005;
    int16_t fillStyle = 1;
    OLE_COLOR fillColor = 0;
    int16_t borderStyle = 1;
    OLE_COLOR borderColor = 0x80000008;
    int16_t borderWidth = 1;
};

class Line : public Control {
public:
    Line();

    // The ends, in the container's units.
    float X1() const;
    float Y1() const;
    float X2() const;
    float Y2() const;
    void SetEnds(float x1, float y1, float x2, float y2);
    OLE_COLOR BorderColor() const { return borderColor; }
    void SetBorderColor(OLE_COLOR value);
    int16_t BorderWidth() const { return borderWidth; }
    void SetBorderWidth(int16_t value);

    bool Windowless() const override { return true; }
    void OnPaintWindowless(Canvas& dc) override;
    bool HitWindowless(POINT) const override { return false; }
    bool CanTakeFocus() const override { return false; }
    uint32_t ExtenderKeySet() const override { return kVisible | kTag; }

protected:
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;

private:
    POINT from{0, 0};
    POINT to{0, 0};
    OLE_COLOR borderColor = 0x80000008;
    int16_t borderWidth = 1;
};

class Image : public Control, public MouseEvents {
public:
    Image();

    const PixelBuffer* Picture() const { return picture.get(); }
    // Without Stretch the control takes the picture's size.
    void SetPicture(std::shared_ptr<PixelBuffer> value);
    bool Stretch() const { return stretch; }
    void SetStretch(bool value);

    bool Windowless() const override { return true; }
    void OnPaintWindowless(Canvas& dc) override;
    void OnWindowlessMouse(uint32_t msg, int16_t button, int16_t shift, POINT at) override;
    bool CanTakeFocus() const override { return false; }
    uint32_t ExtenderKeySet() const override { return kPosition | kSize | kVisible | kTag; }

protected:
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;

private:
    std::shared_ptr<PixelBuffer> picture;
    bool stretch = false;
};

class PictureBox : public Control, public MouseEvents, public KeyEvents {
public:
    PictureBox();

    HWND hWnd() const override { return SiteWindow(); }
    bool AutoRedraw() const { return surface.AutoRedraw(); }
    void SetAutoRedraw(bool value) { surface.SetAutoRedraw(value); }
    Canvas& hDC() { return surface.hDC(); }
    void Cls() { surface.Cls(backColor); }
    void Print(std::string_view text) { surface.Print(text); }
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    OLE_COLOR ForeColor() const { return foreColor; }
    void SetForeColor(OLE_COLOR value);
    const StdFont& Font() const { return font; }
    void SetFont(const StdFont& value);
    // 0 none, 1 a sunken border of two pixels.
    int16_t BorderStyle() const { return borderStyle; }
    void SetBorderStyle(int16_t value);
    const PixelBuffer* Picture() const { return picture.get(); }
    void SetPicture(std::shared_ptr<PixelBuffer> value);
    ScaleModeConstants ScaleMode() const { return scaleMode; }
    void SetScaleMode(ScaleModeConstants value) { scaleMode = value; }
    float ScaleWidth() const;
    float ScaleHeight() const;
    // The persistent image.
    const PixelBuffer& Image() const { return surface.Image(); }

    Event<> Paint;
    Event<> Resize;
    Event<> GotFocus;
    Event<> LostFocus;

protected:
    void OnSited() override;
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;
    void OnReady() override;

private:
    LRESULT WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    RECT Inner() const;

    DrawingSurface surface;
    OLE_COLOR backColor = 0x8000000F;
    OLE_COLOR foreColor = 0x80000012;
    StdFont font = DefaultFont();
    int16_t borderStyle = 1;
    std::shared_ptr<PixelBuffer> picture;
    ScaleModeConstants scaleMode = ScaleModeConstants::vbTwips;
};

class Timer : public Control {
public:
    Timer();
    ~Timer() override;

    // Milliseconds between Timer events; 0 stops them.
    int32_t Interval() const { return interval; }
    void SetInterval(int32_t value);
    bool Enabled() const override { return Control::Enabled(); }
    void SetEnabled(bool value) override;

    Event<> TimerEvent;  // the host's Timer event

    bool Windowless() const override { return true; }
    bool HitWindowless(POINT) const override { return false; }
    bool CanTakeFocus() const override { return false; }
    uint32_t ExtenderKeySet() const override { return kPosition | kTag; }

protected:
    void OnSited() override;
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;
    void OnReady() override;
    void OnTerminate() override;

private:
    void Restart();

    HWND window = 0;  // a hidden window that takes the ticks
    int32_t interval = 0;
    bool ready = false;
};

}  // namespace kelvara
