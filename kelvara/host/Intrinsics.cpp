#include "kelvara/host/Intrinsics.h"

#include <algorithm>
#include <cmath>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/Region.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/StoredValues.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

// --- Registration -------------------------------------------------------------------

void RegisterIntrinsicControls() {
    static const bool registered = [] {
        RegisterControlType("VB.Label", [] { return std::make_unique<Label>(); });
        RegisterControlType("VB.Shape", [] { return std::make_unique<Shape>(); });
        RegisterControlType("VB.Line", [] { return std::make_unique<Line>(); });
        RegisterControlType("VB.Image", [] { return std::make_unique<Image>(); });
        RegisterControlType("VB.PictureBox", [] { return std::make_unique<PictureBox>(); });
        RegisterControlType("VB.Timer", [] { return std::make_unique<Timer>(); });
        RegisterControlType("VB.TextBox", [] { return std::make_unique<TextBox>(); });
        return true;
    }();
    (void)registered;
}

// --- Stored fonts and pictures --------------------------------------------------------

StdFont DefaultFont() {
    StdFont font;
    font.SetName("Tahoma");
    font.SetSize(8.25);
    return font;
}

StdFont ReadFontProperty(const PropertyBag& bag, std::string_view key, const StdFont& fallback) {
    const PropertyBag* stored = bag.ReadBag(key);
    if (stored == nullptr) {
        return fallback;
    }
    StdFont font = fallback;
    font.SetName(
        stored->ReadProperty("Name", Variant(fallback.Name())).ToText().value_or(fallback.Name()));
    font.SetSize(stored->ReadProperty("Size", Variant(fallback.Size()))
                     .ToDouble()
                     .value_or(fallback.Size()));
    font.SetCharset(
        StoredNumber<int16_t>(stored->ReadProperty("Charset", Variant(int32_t{fallback.Charset()}))
                                  .ToDouble()
                                  .value_or(0)));
    font.SetWeight(
        StoredNumber<int16_t>(stored->ReadProperty("Weight", Variant(int32_t{fallback.Weight()}))
                                  .ToDouble()
                                  .value_or(400)));
    font.SetUnderline(
        stored->ReadProperty("Underline", Variant(fallback.Underline())).ToBool().value_or(false));
    font.SetItalic(
        stored->ReadProperty("Italic", Variant(fallback.Italic())).ToBool().value_or(false));
    font.SetStrikethrough(stored->ReadProperty("Strikethrough", Variant(fallback.Strikethrough()))
                              .ToBool()
                              .value_or(false));
    return font;
}

void WriteFontProperty(PropertyBag& bag, std::string_view key, const StdFont& font,
                       const StdFont& fallback) {
    if (font == fallback) {
        // Equal to the default: nothing stored, and an older font goes.
        bag.WriteProperty(key, Variant(), Variant());
        return;
    }
    // A font block lists every attribute, as the host writes it.
    PropertyBag stored;
    const Variant none;
    stored.WriteProperty("Name", Variant(font.Name()), none);
    stored.WriteProperty("Size", Variant(font.Size()), none);
    stored.WriteProperty("Charset", Variant(int32_t{font.Charset()}), none);
    stored.WriteProperty("Weight", Variant(int32_t{font.Weight()}), none);
    stored.WriteProperty("Underline", Variant(font.Underline()), none);
    stored.WriteProperty("Italic", Variant(font.Italic()), none);
    stored.WriteProperty("Strikethrough", Variant(font.Strikethrough()), none);
    bag.WriteBag(key, std::move(stored));
}

std::shared_ptr<PixelBuffer> ReadPictureProperty(const PropertyBag& bag, std::string_view key) {
    const Variant value = bag.ReadProperty(key, Variant());
    const ByteArray* bytes = value.Get<ByteArray>();
    if (bytes == nullptr || bytes->empty()) {
        return nullptr;
    }
    API32bppDIB dib;
    if (!dib.LoadPicture_Stream(*bytes)) {
        return nullptr;
    }
    auto picture = std::make_shared<PixelBuffer>();
    picture->Swap(dib.Pixels());
    return picture;
}

void WritePictureProperty(PropertyBag& bag, std::string_view key, const PixelBuffer* picture) {
    if (picture == nullptr || picture->Empty()) {
        bag.WriteProperty(key, Variant(), Variant());
        return;
    }
    API32bppDIB dib;
    dib.InitializeDIB(picture->Width(), picture->Height());
    for (int32_t y = 0; y < picture->Height(); ++y) {
        std::copy_n(picture->Row(y), static_cast<size_t>(picture->Width()) * 4,
                    dib.Pixels().Row(y));
    }
    dib.SetAlpha(ENUM_ALPHA_TYPE::AlphaComplex);
    std::vector<uint8_t> png;
    if (dib.SaveToStream_PNG(png)) {
        bag.WriteProperty(key, Variant(ByteArray(png.begin(), png.end())), Variant());
    }
}

// --- Mouse events --------------------------------------------------------------------

void MouseEvents::RaiseMouse(uint32_t msg, int16_t button, int16_t shift, float x, float y,
                             bool inside, const std::weak_ptr<const bool>& token) {
    switch (msg) {
        case WM_MOUSEMOVE: {
            int16_t held = 0;
            if (GetKeyState(VK_LBUTTON) < 0) {
                held |= vbLeftButton;
            }
            if (GetKeyState(VK_RBUTTON) < 0) {
                held |= vbRightButton;
            }
            if (GetKeyState(VK_MBUTTON) < 0) {
                held |= vbMiddleButton;
            }
            MouseMove(held, shift, x, y);
            return;
        }
        case WM_LBUTTONDBLCLK:
            afterDblClick = true;
            DblClick();
            return;
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
        case WM_MBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDBLCLK:
            MouseDown(button, shift, x, y);
            return;
        case WM_LBUTTONUP:
        case WM_RBUTTONUP:
        case WM_MBUTTONUP: {
            const bool click = msg == WM_LBUTTONUP && !afterDblClick && inside;
            if (msg == WM_LBUTTONUP) {
                afterDblClick = false;
            }
            MouseUp(button, shift, x, y);
            if (click && !token.expired()) {
                Click();
            }
            return;
        }
        default:
            return;
    }
}

bool KeyEvents::IsKeyMessage(uint32_t msg) {
    return msg == WM_KEYDOWN || msg == WM_SYSKEYDOWN || msg == WM_KEYUP || msg == WM_SYSKEYUP ||
           msg == WM_CHAR;
}

void KeyEvents::RaiseKey(uint32_t msg, WPARAM wParam, int16_t& key) {
    if (msg == WM_CHAR) {
        // Characters past the 16-bit range arrive as "?", as on the host.
        key = static_cast<int16_t>(wParam <= 0x7FFF ? wParam : '?');
        KeyPress(key);
        return;
    }
    key = static_cast<int16_t>(wParam);
    int16_t shift = ShiftKeysDown();
    if (msg == WM_KEYDOWN || msg == WM_SYSKEYDOWN) {
        KeyDown(key, shift);
    } else {
        KeyUp(key, shift);
    }
}

namespace {

float ToUnits(const Control& c, int32_t pixels, bool vertical) {
    const ScaleModeConstants mode = c.Container() == nullptr ? ScaleModeConstants::vbTwips
                                                             : c.Container()->ContainerScaleMode();
    return static_cast<float>(ScaleValue(pixels, ScaleModeConstants::vbPixels, mode, vertical));
}

int32_t ToPixels(const Control& c, double units, bool vertical) {
    const ScaleModeConstants mode = c.Container() == nullptr ? ScaleModeConstants::vbTwips
                                                             : c.Container()->ContainerScaleMode();
    return StoredNumber<int32_t>(std::round(
        std::clamp(ScaleValue(units, mode, ScaleModeConstants::vbPixels, vertical), -1e9, 1e9)));
}

// The letter after a single "&", lower case; "&&" is a literal ampersand.
std::string MnemonicOf(std::string_view caption) {
    const std::u32string text = ToUtf32(caption);
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == U'&') {
            if (text[i + 1] == U'&') {
                ++i;
                continue;
            }
            return ToUtf8(std::u32string(1, text[i + 1] < 128 ? static_cast<char32_t>(std::tolower(
                                                                    static_cast<int>(text[i + 1])))
                                                              : text[i + 1]));
        }
    }
    return {};
}

}  // namespace

// --- Label -------------------------------------------------------------------------

Label::Label() : Control("VB.Label") {}

void Label::OnInitNew() {
    caption = Name();
}

void Label::SetCaption(std::string value) {
    caption = std::move(value);
    Fit();
    InvalidateSelf();
    Change();
}

void Label::SetAlignment(int16_t value) {
    alignment = value;
    InvalidateSelf();
}

void Label::SetAutoSize(bool value) {
    autoSize = value;
    Fit();
    InvalidateSelf();
}

void Label::SetBackStyle(int16_t value) {
    backStyle = value;
    InvalidateSelf();
}

void Label::SetBackColor(OLE_COLOR value) {
    backColor = value;
    InvalidateSelf();
}

void Label::SetForeColor(OLE_COLOR value) {
    foreColor = value;
    InvalidateSelf();
}

void Label::SetBorderStyle(int16_t value) {
    borderStyle = value;
    InvalidateSelf();
}

void Label::SetFont(const StdFont& value) {
    font = value;
    Fit();
    InvalidateSelf();
}

void Label::SetWordWrap(bool value) {
    wordWrap = value;
    Fit();
    InvalidateSelf();
}

void Label::SetUseMnemonic(bool value) {
    useMnemonic = value;
    InvalidateSelf();
}

uint32_t Label::Format() const {
    uint32_t format = alignment == 1 ? DT_RIGHT : alignment == 2 ? DT_CENTER : DT_LEFT;
    format |= DT_WORDBREAK;
    if (!useMnemonic) {
        format |= DT_NOPREFIX;
    }
    return format;
}

void Label::Fit() {
    if (!autoSize) {
        return;
    }
    PixelBuffer scratch;
    scratch.Allocate(1, 1, RowOrder::TopDown);
    Canvas dc(scratch);
    dc.SelectFont(font);
    const RECT& b = Bounds();
    const int32_t border = borderStyle == 1 ? 2 : 0;
    RECT r{0, 0, wordWrap ? std::max(b.Right - b.Left - 2 * border, 1) : 32767, 0};
    dc.DrawText(caption.empty() ? " " : caption, r,
                Format() | DT_CALCRECT | (wordWrap ? 0 : DT_SINGLELINE));
    SetBounds(RECT{b.Left, b.Top, b.Left + r.Right + 2 * border, b.Top + r.Bottom + 2 * border});
}

void Label::OnPaintWindowless(Canvas& dc) {
    RECT r = Bounds();
    if (backStyle == 1) {
        dc.FillRect(r, TranslateOleColor(backColor));
    }
    if (borderStyle == 1) {
        dc.FrameRect(r, GetSysColor(COLOR_WINDOWFRAME));
        r = RECT{r.Left + 2, r.Top + 2, r.Right - 2, r.Bottom - 2};
    }
    dc.Save();
    dc.SelectFont(font);
    dc.SetBkMode(BkMode::TRANSPARENT);
    dc.SetTextColor(Enabled() ? TranslateOleColor(foreColor) : GetSysColor(COLOR_GRAYTEXT));
    dc.DrawText(caption, r, Format() | (wordWrap || !autoSize ? 0 : DT_SINGLELINE));
    dc.Restore();
}

void Label::OnWindowlessMouse(uint32_t msg, int16_t button, int16_t shift, POINT at) {
    const RECT& b = Bounds();
    const bool inside =
        at.X >= 0 && at.Y >= 0 && at.X < b.Right - b.Left && at.Y < b.Bottom - b.Top;
    RaiseMouse(msg, button, shift, ToUnits(*this, at.X, false), ToUnits(*this, at.Y, true), inside,
               Token());
}

std::string Label::AccessKeyLetters() const {
    return useMnemonic ? MnemonicOf(caption) : "";
}

void Label::OnAccessKey(int16_t) {
    Form* form = Parent();
    if (form == nullptr) {
        return;
    }
    // The first control after the label in the tab order that can take it.
    std::vector<Control*> order;
    for (const auto& c : form->Controls()) {
        order.push_back(c.get());
    }
    std::stable_sort(order.begin(), order.end(),
                     [](Control* a, Control* b) { return a->TabIndex() < b->TabIndex(); });
    auto it = std::find(order.begin(), order.end(), this);
    for (++it; it != order.end(); ++it) {
        if ((*it)->CanTakeFocus()) {
            (*it)->SetFocus();
            return;
        }
    }
}

void Label::OnLoad(const PropertyBag& bag) {
    caption = bag.ReadProperty("Caption", Variant(Name())).ToText().value_or("");
    alignment = ReadNumber<int16_t>(bag, "Alignment", 0);
    autoSize = ReadBool(bag, "AutoSize", false);
    backStyle = ReadNumber<int16_t>(bag, "BackStyle", 1);
    backColor = ReadColor(bag, "BackColor", 0x8000000F);
    foreColor = ReadColor(bag, "ForeColor", 0x80000012);
    borderStyle = ReadNumber<int16_t>(bag, "BorderStyle", 0);
    font = ReadFontProperty(bag, "Font", DefaultFont());
    wordWrap = ReadBool(bag, "WordWrap", false);
    useMnemonic = ReadBool(bag, "UseMnemonic", true);
}

void Label::OnSave(PropertyBag& bag) const {
    bag.WriteProperty("Caption", Variant(caption), Variant(Name()));
    WriteInt(bag, "Alignment", alignment, 0);
    WriteBool(bag, "AutoSize", autoSize, false);
    WriteInt(bag, "BackStyle", backStyle, 1);
    WriteColor(bag, "BackColor", backColor, 0x8000000F);
    WriteColor(bag, "ForeColor", foreColor, 0x80000012);
    WriteInt(bag, "BorderStyle", borderStyle, 0);
    WriteFontProperty(bag, "Font", font, DefaultFont());
    WriteBool(bag, "WordWrap", wordWrap, false);
    WriteBool(bag, "UseMnemonic", useMnemonic, true);
}

// --- Shape ---------------------------------------------------------------------------

Shape::Shape() : Control("VB.Shape") {
    SetTabStop(false);
}

void Shape::SetShape(int16_t value) {
    shape = value;
    InvalidateSelf();
}
void Shape::SetBackStyle(int16_t value) {
    backStyle = value;
    InvalidateSelf();
}
void Shape::SetBackColor(OLE_COLOR value) {
    backColor = value;
    InvalidateSelf();
}
void Shape::SetFillStyle(int16_t value) {
    fillStyle = value;
    InvalidateSelf();
}
void Shape::SetFillColor(OLE_COLOR value) {
    fillColor = value;
    InvalidateSelf();
}
void Shape::SetBorderStyle(int16_t value) {
    borderStyle = value;
    InvalidateSelf();
}
void Shape::SetBorderColor(OLE_COLOR value) {
    borderColor = value;
    InvalidateSelf();
}
void Shape::SetBorderWidth(int16_t value) {
    borderWidth = std::max<int16_t>(value, 1);
    InvalidateSelf();
}

void Shape::OnPaintWindowless(Canvas& dc) {
    RECT r = Bounds();
    // Squares and circles take the shorter side, centred.
    if (shape == 1 || shape == 3 || shape == 5) {
        const int32_t side = std::min(r.Right - r.Left, r.Bottom - r.Top);
        const int32_t x = r.Left + (r.Right - r.Left - side) / 2;
        const int32_t y = r.Top + (r.Bottom - r.Top - side) / 2;
        r = RECT{x, y, x + side, y + side};
    }
    const int32_t w = r.Right - r.Left;
    const int32_t h = r.Bottom - r.Top;
    const int32_t round = std::min(w, h) / 4;
    const auto draw = [&] {
        if (shape == 2 || shape == 3) {
            dc.Ellipse(r.Left, r.Top, r.Right, r.Bottom);
        } else if (shape == 4 || shape == 5) {
            dc.RoundRect(r.Left, r.Top, r.Right, r.Bottom, round, round);
        } else {
            dc.Rectangle(r.Left, r.Top, r.Right, r.Bottom);
        }
    };
    dc.Save();
    // Back first (under a transparent fill), then the fill, then the border.
    if (backStyle == 1) {
        dc.SelectPen(Pen{PenStyle::PS_NULL, 1, 0});
        dc.SelectBrush(Brush{false, TranslateOleColor(backColor)});
        draw();
    }
    if (fillStyle == 0) {
        dc.SelectPen(Pen{PenStyle::PS_NULL, 1, 0});
        dc.SelectBrush(Brush{false, TranslateOleColor(fillColor)});
        draw();
    }
    if (borderStyle != 0) {
        dc.SelectPen(Pen{PenStyle::PS_SOLID, borderWidth, TranslateOleColor(borderColor)});
        dc.SelectBrush(Brush{true, 0});
        draw();
    }
    dc.Restore();
}

void Shape::OnLoad(const PropertyBag& bag) {
    shape = ReadNumber<int16_t>(bag, "Shape", 0);
    backStyle = ReadNumber<int16_t>(bag, "BackStyle", 0);
    backColor = ReadColor(bag, "BackColor", 0x80000005);
    fillStyle = ReadNumber<int16_t>(bag, "FillStyle", 1);
    fillColor = ReadColor(bag, "FillColor", 0);
    borderStyle = ReadNumber<int16_t>(bag, "BorderStyle", 1);
    borderColor = ReadColor(bag, "BorderColor", 0x80000008);
    borderWidth = std::max<int16_t>(ReadNumber<int16_t>(bag, "BorderWidth", 1), 1);
}

void Shape::OnSave(PropertyBag& bag) const {
    WriteInt(bag, "Shape", shape, 0);
    WriteInt(bag, "BackStyle", backStyle, 0);
    WriteColor(bag, "BackColor", backColor, 0x80000005);
    WriteInt(bag, "FillStyle", fillStyle, 1);
    WriteColor(bag, "FillColor", fillColor, 0);
    WriteInt(bag, "BorderStyle", borderStyle, 1);
    WriteColor(bag, "BorderColor", borderColor, 0x80000008);
    WriteInt(bag, "BorderWidth", borderWidth, 1);
}

// --- Line ------------------------------------------------------------------------------

Line::Line() : Control("VB.Line") {
    SetTabStop(false);
}

float Line::X1() const {
    return ToUnits(*this, from.X, false);
}
float Line::Y1() const {
    return ToUnits(*this, from.Y, true);
}
float Line::X2() const {
    return ToUnits(*this, to.X, false);
}
float Line::Y2() const {
    return ToUnits(*this, to.Y, true);
}

void Line::SetEnds(float x1, float y1, float x2, float y2) {
    from = POINT{ToPixels(*this, x1, false), ToPixels(*this, y1, true)};
    to = POINT{ToPixels(*this, x2, false), ToPixels(*this, y2, true)};
    const int32_t pad = borderWidth;
    SetBounds(RECT{std::min(from.X, to.X) - pad, std::min(from.Y, to.Y) - pad,
                   std::max(from.X, to.X) + pad + 1, std::max(from.Y, to.Y) + pad + 1});
}

void Line::SetBorderColor(OLE_COLOR value) {
    borderColor = value;
    InvalidateSelf();
}

void Line::SetBorderWidth(int16_t value) {
    borderWidth = std::max<int16_t>(value, 1);
    InvalidateSelf();
}

void Line::OnPaintWindowless(Canvas& dc) {
    dc.Save();
    dc.SelectPen(Pen{PenStyle::PS_SOLID, borderWidth, TranslateOleColor(borderColor)});
    dc.MoveToEx(from.X, from.Y);
    dc.LineTo(to.X, to.Y);
    // The host's line includes its last point.
    dc.LineTo(to.X + (to.X >= from.X ? 1 : -1), to.Y);
    dc.Restore();
}

void Line::OnLoad(const PropertyBag& bag) {
    borderColor = ReadColor(bag, "BorderColor", 0x80000008);
    borderWidth = std::max<int16_t>(ReadNumber<int16_t>(bag, "BorderWidth", 1), 1);
    SetEnds(ReadNumber<float>(bag, "X1", 0), ReadNumber<float>(bag, "Y1", 0),
            ReadNumber<float>(bag, "X2", 0), ReadNumber<float>(bag, "Y2", 0));
}

void Line::OnSave(PropertyBag& bag) const {
    WriteColor(bag, "BorderColor", borderColor, 0x80000008);
    WriteInt(bag, "BorderWidth", borderWidth, 1);
    WriteInt(bag, "X1", static_cast<int32_t>(std::lround(X1())), 0);
    WriteInt(bag, "Y1", static_cast<int32_t>(std::lround(Y1())), 0);
    WriteInt(bag, "X2", static_cast<int32_t>(std::lround(X2())), 0);
    WriteInt(bag, "Y2", static_cast<int32_t>(std::lround(Y2())), 0);
}

// --- Image ----------------------------------------------------------------------------

Image::Image() : Control("VB.Image") {
    SetTabStop(false);
}

void Image::SetPicture(std::shared_ptr<PixelBuffer> value) {
    picture = std::move(value);
    if (!stretch && picture && !picture->Empty()) {
        const RECT& b = Bounds();
        SetBounds(RECT{b.Left, b.Top, b.Left + picture->Width(), b.Top + picture->Height()});
    }
    InvalidateSelf();
}

void Image::SetStretch(bool value) {
    stretch = value;
    SetPicture(picture);
}

void Image::OnPaintWindowless(Canvas& dc) {
    if (!picture || picture->Empty()) {
        return;
    }
    const RECT& b = Bounds();
    const int32_t w = stretch ? b.Right - b.Left : picture->Width();
    const int32_t h = stretch ? b.Bottom - b.Top : picture->Height();
    dc.AlphaBlend(b.Left, b.Top, w, h, *picture, 0, 0, picture->Width(), picture->Height(),
                  BlendFunction{255, true});
}

void Image::OnWindowlessMouse(uint32_t msg, int16_t button, int16_t shift, POINT at) {
    const RECT& b = Bounds();
    const bool inside =
        at.X >= 0 && at.Y >= 0 && at.X < b.Right - b.Left && at.Y < b.Bottom - b.Top;
    RaiseMouse(msg, button, shift, ToUnits(*this, at.X, false), ToUnits(*this, at.Y, true), inside,
               Token());
}

void Image::OnLoad(const PropertyBag& bag) {
    stretch = ReadBool(bag, "Stretch", false);
    picture = ReadPictureProperty(bag, "Picture");
}

void Image::OnSave(PropertyBag& bag) const {
    WriteBool(bag, "Stretch", stretch, false);
    WritePictureProperty(bag, "Picture", picture.get());
}

// --- PictureBox -------------------------------------------------------------------------

PictureBox::PictureBox() : Control("VB.PictureBox") {}

RECT PictureBox::Inner() const {
    RECT client{0, 0, 0, 0};
    GetClientRect(hWnd(), client);
    const int32_t border = borderStyle == 1 ? 2 : 0;
    return RECT{border, border, std::max(client.Right - border, border),
                std::max(client.Bottom - border, border)};
}

void PictureBox::OnSited() {
    const HWND window = CreateSiteWindow(
        "ThunderPictureBoxDC",
        [this](HWND h, uint32_t m, WPARAM w, LPARAM l) { return WindowProc(h, m, w, l); });
    font = Container()->ContainerFont();
    surface.SetFont(font);
    surface.SetForeColor(foreColor);
    surface.Attach(window, Inner(), backColor);
}

void PictureBox::OnReady() {
    surface.SetArea(Inner(), backColor);
    Resize();
}

void PictureBox::SetBackColor(OLE_COLOR value) {
    backColor = value;
    Cls();
    InvalidateSelf();
}

void PictureBox::SetForeColor(OLE_COLOR value) {
    foreColor = value;
    surface.SetForeColor(value);
}

void PictureBox::SetFont(const StdFont& value) {
    font = value;
    surface.SetFont(value);
}

void PictureBox::SetBorderStyle(int16_t value) {
    borderStyle = value;
    if (hWnd() != 0) {
        surface.SetArea(Inner(), backColor);
        InvalidateRect(hWnd(), nullptr, true);
    }
}

void PictureBox::SetPicture(std::shared_ptr<PixelBuffer> value) {
    picture = std::move(value);
    InvalidateSelf();
}

float PictureBox::ScaleWidth() const {
    const RECT r = Inner();
    return static_cast<float>(
        ScaleValue(r.Right - r.Left, ScaleModeConstants::vbPixels, scaleMode, false));
}

float PictureBox::ScaleHeight() const {
    const RECT r = Inner();
    return static_cast<float>(
        ScaleValue(r.Bottom - r.Top, ScaleModeConstants::vbPixels, scaleMode, true));
}

LRESULT PictureBox::WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    const auto token = Token();
    switch (msg) {
        case WM_ERASEBKGND:
            return 1;
        case WM_SIZE:
            surface.SetArea(Inner(), backColor);
            Resize();
            return 0;
        case WM_PAINT: {
            PAINTSTRUCT ps;
            Canvas* dc = BeginPaint(hwnd, ps);
            if (dc == nullptr) {
                return 0;
            }
            RECT client;
            GetClientRect(hwnd, client);
            if (borderStyle == 1) {
                DrawSunkenEdge(*dc, client);
            }
            surface.ShowImage(*dc);
            if (picture && !picture->Empty()) {
                const RECT in = Inner();
                dc->AlphaBlend(in.Left, in.Top, picture->Width(), picture->Height(), *picture, 0, 0,
                               picture->Width(), picture->Height(), BlendFunction{255, true});
            }
            if (!surface.AutoRedraw()) {
                Paint();
                if (token.expired()) {
                    return 0;
                }
            }
            EndPaint(hwnd, ps);
            return 0;
        }
        case WM_SETFOCUS:
            GotFocus();
            return 0;
        case WM_KILLFOCUS:
            LostFocus();
            return 0;
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_KEYUP:
        case WM_SYSKEYUP:
        case WM_CHAR: {
            int16_t key = 0;
            RaiseKey(msg, wParam, key);
            return 0;
        }
        case WM_MOUSEMOVE:
        case WM_LBUTTONDOWN:
        case WM_LBUTTONUP:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONUP:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONUP: {
            const RECT in = Inner();
            const int32_t x = GET_X_LPARAM(lParam) - in.Left;
            const int32_t y = GET_Y_LPARAM(lParam) - in.Top;
            const int16_t button = ButtonOf(msg);
            if (msg == WM_LBUTTONDOWN || msg == WM_RBUTTONDOWN || msg == WM_MBUTTONDOWN ||
                msg == WM_LBUTTONDBLCLK) {
                SetCapture(hwnd);
                if (TabStop()) {
                    ::kelvara::SetFocus(hwnd);
                }
            } else if ((msg == WM_LBUTTONUP || msg == WM_RBUTTONUP || msg == WM_MBUTTONUP) &&
                       (wParam & (MK_LBUTTON | MK_RBUTTON | MK_MBUTTON)) == 0) {
                ReleaseCapture();
            }
            RECT client;
            GetClientRect(hwnd, client);
            const bool inside = GET_X_LPARAM(lParam) >= 0 && GET_Y_LPARAM(lParam) >= 0 &&
                                GET_X_LPARAM(lParam) < client.Right &&
                                GET_Y_LPARAM(lParam) < client.Bottom;
            const int16_t shift = ShiftKeysDown();
            RaiseMouse(
                msg, button, shift,
                static_cast<float>(ScaleValue(x, ScaleModeConstants::vbPixels, scaleMode, false)),
                static_cast<float>(ScaleValue(y, ScaleModeConstants::vbPixels, scaleMode, true)),
                inside, token);
            return 0;
        }
        default:
            return DefWindowProc(hwnd, msg, wParam, lParam);
    }
}

void PictureBox::OnLoad(const PropertyBag& bag) {
    surface.SetAutoRedraw(ReadBool(bag, "AutoRedraw", false));
    backColor = ReadColor(bag, "BackColor", 0x8000000F);
    foreColor = ReadColor(bag, "ForeColor", 0x80000012);
    borderStyle = ReadNumber<int16_t>(bag, "BorderStyle", 1);
    font = ReadFontProperty(bag, "Font", DefaultFont());
    scaleMode = static_cast<ScaleModeConstants>(
        std::clamp<int16_t>(ReadNumber<int16_t>(bag, "ScaleMode", 1), 0, 10));
    picture = ReadPictureProperty(bag, "Picture");
    surface.SetFont(font);
    surface.SetForeColor(foreColor);
    surface.SetArea(Inner(), backColor);
    surface.Cls(backColor);
}

void PictureBox::OnSave(PropertyBag& bag) const {
    WriteBool(bag, "AutoRedraw", surface.AutoRedraw(), false);
    WriteColor(bag, "BackColor", backColor, 0x8000000F);
    WriteColor(bag, "ForeColor", foreColor, 0x80000012);
    WriteInt(bag, "BorderStyle", borderStyle, 1);
    WriteFontProperty(bag, "Font", font, DefaultFont());
    WriteInt(bag, "ScaleMode", static_cast<int32_t>(scaleMode), 1);
    WritePictureProperty(bag, "Picture", picture.get());
}

// --- Timer -------------------------------------------------------------------------------

Timer::Timer() : Control("VB.Timer") {
    SetTabStop(false);
}

Timer::~Timer() {
    if (window != 0) {
        DestroyWindow(std::exchange(window, 0));
    }
}

void Timer::OnSited() {
    window = CreateWindowEx(0, "ThunderTimer", Name(), WS_CHILD, 0, 0, 0, 0,
                            Container()->ContainerWindow(),
                            [this](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                                if (m == WM_TIMER) {
                                    TimerEvent();
                                    return 0;
                                }
                                return DefWindowProc(h, m, w, l);
                            });
}

void Timer::OnReady() {
    ready = true;
    Restart();
}

void Timer::OnTerminate() {
    ready = false;
    if (window != 0) {
        KillTimer(window, 1);
        DestroyWindow(std::exchange(window, 0));
    }
}

void Timer::SetInterval(int32_t value) {
    interval = std::max(value, 0);
    Restart();
}

void Timer::SetEnabled(bool value) {
    Control::SetEnabled(value);
    Restart();
}

void Timer::Restart() {
    if (window == 0 || !ready) {
        return;
    }
    KillTimer(window, 1);
    // Timers do not run on a design surface.
    const bool running =
        Enabled() && interval > 0 && Container() != nullptr && Container()->ContainerUserMode();
    if (running) {
        SetTimer(window, 1, static_cast<uint32_t>(interval));
    }
}

void Timer::OnLoad(const PropertyBag& bag) {
    interval = std::max(ReadNumber<int32_t>(bag, "Interval", 0), 0);
    Control::SetEnabled(ReadBool(bag, "Enabled", true));
}

void Timer::OnSave(PropertyBag& bag) const {
    WriteInt(bag, "Interval", interval, 0);
    WriteBool(bag, "Enabled", Enabled(), true);
}

}  // namespace kelvara
