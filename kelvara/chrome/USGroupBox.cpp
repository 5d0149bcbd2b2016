#include "kelvara/chrome/USGroupBox.h"

#include "kelvara/host/StoredValues.h"

#include <algorithm>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/WindowCore.h"

// Paint → (ApplyTheme's private colours, or the public ones set in their
// place) → greyed when disabled → clip to the rounded shape → header band,
// separator, body → border → caption.

namespace kelvara {

namespace {

constexpr OLE_COLOR kButtonFace = 0x8000000F;
// The border's corners are rounded by an ellipse of this size.
constexpr int32_t kCorner = 7;
// Space above and below the caption in the header, and beside it.
constexpr int32_t kHeaderPadding = 4;
constexpr int32_t kCaptionIndent = 8;
// The light theme's border, in place of its frame slot, which is too pale
// to show on the white body.
constexpr COLORREF kLightBorder = 0xFFE8CC;
constexpr COLORREF kWhite = 0xFFFFFF;

const bool registered = [] {
    RegisterControlType("KelvaraEx.USGroupBox", [] { return std::make_unique<USGroupBox>(); });
    return true;
}();

// The disabled look: every colour becomes the grey of its brightness, half
// way to white, so the box reads as the same box, faded.
COLORREF Faded(COLORREF c) {
    const uint32_t r = c & 0xFF;
    const uint32_t g = (c >> 8) & 0xFF;
    const uint32_t b = (c >> 16) & 0xFF;
    const uint32_t luma = (299 * r + 587 * g + 114 * b + 500) / 1000;
    const uint32_t faded = (luma + 255) / 2;
    return faded | faded << 8 | faded << 16;
}

std::vector<Control*> InTabOrder(const ControlCollection& controls) {
    std::vector<Control*> order;
    for (const auto& c : controls) {
        order.push_back(c.get());
    }
    std::stable_sort(order.begin(), order.end(),
                     [](Control* a, Control* b) { return a->TabIndex() < b->TabIndex(); });
    return order;
}

bool IsTabStop(const Control& c) {
    return c.TabStop() && c.CanTakeFocus();
}

}  // namespace

struct USGroupBox::State {
    std::string caption;
    ENUM_THEME theme = ENUM_THEME::WindowsTheme;
    RedrawGate gate;
    // Set by the theme.
    Colors themed;
    // Set by the user, FromTheme where not.
    OLE_COLOR caption1 = FromTheme;
    OLE_COLOR border = FromTheme;
    OLE_COLOR header1 = FromTheme;
    OLE_COLOR header2 = FromTheme;
    OLE_COLOR body1 = FromTheme;
    OLE_COLOR body2 = FromTheme;
    OLE_COLOR ambientBack = kButtonFace;
    int32_t tabFilter = 0;
};

USGroupBox::USGroupBox() : UserControl("KelvaraEx.USGroupBox"), s(std::make_unique<State>()) {
    (void)registered;
    // A frame is not a stop of its own: the focus goes to what it holds.
    SetCanGetFocus(false);
    ApplyTheme();
}

USGroupBox::~USGroupBox() {
    if (s->tabFilter != 0) {
        RemoveMessageFilter(s->tabFilter);
    }
}

// --- Properties ----------------------------------------------------------------

void USGroupBox::SetBackColor(OLE_COLOR value) {
    UserControl::SetBackColor(value);
    PropertyChanged("BackColor");
    Refresh();
}

void USGroupBox::SetOverride(OLE_COLOR& field, OLE_COLOR value, const char* key) {
    field = value;
    PropertyChanged(key);
    Refresh();
}

OLE_COLOR USGroupBox::BodyColor1() const {
    return s->body1;
}
void USGroupBox::SetBodyColor1(OLE_COLOR value) {
    SetOverride(s->body1, value, "BodyColor1");
    TellControls("BackColor");
}
OLE_COLOR USGroupBox::BodyColor2() const {
    return s->body2;
}
void USGroupBox::SetBodyColor2(OLE_COLOR value) {
    SetOverride(s->body2, value, "BodyColor2");
}
OLE_COLOR USGroupBox::BorderColor() const {
    return s->border;
}
void USGroupBox::SetBorderColor(OLE_COLOR value) {
    SetOverride(s->border, value, "BorderColor");
}
OLE_COLOR USGroupBox::CaptionColor() const {
    return s->caption1;
}
void USGroupBox::SetCaptionColor(OLE_COLOR value) {
    SetOverride(s->caption1, value, "CaptionColor");
}
OLE_COLOR USGroupBox::HeaderColor1() const {
    return s->header1;
}
void USGroupBox::SetHeaderColor1(OLE_COLOR value) {
    SetOverride(s->header1, value, "HeaderColor1");
}
OLE_COLOR USGroupBox::HeaderColor2() const {
    return s->header2;
}
void USGroupBox::SetHeaderColor2(OLE_COLOR value) {
    SetOverride(s->header2, value, "HeaderColor2");
}

const std::string& USGroupBox::Caption() const {
    return s->caption;
}

void USGroupBox::SetCaption(std::string value) {
    s->caption = std::move(value);
    PropertyChanged("Caption");
    SetAccessKeys(GetAccessKey(s->caption));
    Refresh();
}

void USGroupBox::SetEnabled(bool value) {
    UserControl::SetEnabled(value);
    PropertyChanged("Enabled");
    Refresh();
    TellControls("Enabled");
}

bool USGroupBox::Redraw() const {
    return s->gate.Redraw();
}

void USGroupBox::SetRedraw(bool value) {
    if (s->gate.SetRedraw(value)) {
        Refresh();
    }
    PropertyChanged("Redraw");
}

ENUM_THEME USGroupBox::Theme() const {
    return s->theme;
}

void USGroupBox::SetTheme(ENUM_THEME value) {
    s->theme = value;
    PropertyChanged("Theme");
    ApplyTheme();
    Refresh();
    TellControls("BackColor");
}

// The theme's colours: the caption from the text slot, the border from the
// frame slot (the light theme has its own), the header from the first
// gradient pair, and a white body in every theme.
void USGroupBox::ApplyTheme() {
    ENUM_THEME theme = s->theme;
    const auto value = static_cast<int32_t>(theme);
    if (value < 0 || value > 7) {
        theme = ENUM_THEME::WindowsTheme;
    }
    const auto slot = [theme](int32_t n) { return static_cast<COLORREF>(ThemeColor(theme, n)); };
    Colors& c = s->themed;
    c.caption = slot(ThemeSlot::ForeColor);
    c.border = theme == ENUM_THEME::WindowsThemeLight ? kLightBorder : slot(ThemeSlot::Frame);
    c.header1 = slot(ThemeSlot::Gradient);
    c.header2 = slot(ThemeSlot::Gradient + 1);
    c.body1 = kWhite;
    c.body2 = kWhite;
}

USGroupBox::Colors USGroupBox::PaintColors() const {
    const auto pick = [](OLE_COLOR set, COLORREF themed) {
        return set == FromTheme ? themed : TranslateOleColor(set);
    };
    const Colors& t = s->themed;
    return Colors{pick(s->caption1, t.caption), pick(s->border, t.border),
                  pick(s->header1, t.header1),  pick(s->header2, t.header2),
                  pick(s->body1, t.body1),      pick(s->body2, t.body2)};
}

// --- Painting ------------------------------------------------------------------

int32_t USGroupBox::HeaderHeight() const {
    if (s->caption.empty()) {
        return 0;
    }
    Canvas& dc = const_cast<USGroupBox*>(this)->hDC();
    CanvasSaver keep(dc);
    dc.SelectFont(UserControl::Font());
    TextMetrics metrics;
    if (!dc.GetTextMetrics(metrics)) {
        return 0;
    }
    return metrics.tmHeight + 2 * kHeaderPadding;
}

void USGroupBox::Refresh() {
    const int32_t state = Enabled() && ContainersEnabled(*this) ? 0 : 3;
    int32_t wanted = state;
    if (s->gate.ShouldPaint(wanted, false, true)) {
        Paint();
    }
}

void USGroupBox::Paint() {
    PaintOffscreen(*this, [this] {
        const RECT& b = Bounds();
        const int32_t w = b.Right - b.Left;
        const int32_t h = b.Bottom - b.Top;
        if (w <= 0 || h <= 0) {
            return;
        }
        Colors c = PaintColors();
        if (s->gate.LastState() == 3) {
            c = Colors{Faded(c.caption), Faded(c.border), Faded(c.header1),
                       Faded(c.header2), Faded(c.body1),  Faded(c.body2)};
        }
        const int32_t header = std::min(HeaderHeight(), h);
        Canvas& dc = hDC();
        CanvasSaver keep(dc);
        const Region shape = Region::CreateRoundRectRgn(0, 0, w, h, kCorner, kCorner);
        dc.SelectClipRgn(&shape);
        const auto color = [](COLORREF v) { return static_cast<int32_t>(v); };
        int32_t bodyTop = 0;
        if (header > 0) {
            DrawGradient(&dc, 0, 0, w, header, color(c.header1), color(c.header2), 1);
            dc.FillRect(RECT{0, header, w, header + 1}, c.border);
            bodyTop = header + 1;
        }
        if (bodyTop < h) {
            DrawGradient(&dc, 0, bodyTop, w, h - bodyTop, color(c.body1), color(c.body2), 1);
        }
        dc.SelectPen(Pen{PenStyle::PS_SOLID, 1, c.border});
        dc.SelectBrush(Brush{true, 0});
        dc.RoundRect(0, 0, w, h, kCorner, kCorner);
        if (header > 0) {
            dc.SelectFont(UserControl::Font());
            dc.SetBkMode(BkMode::TRANSPARENT);
            dc.SetTextColor(c.caption);
            RECT text{kCaptionIndent, 0, w - kCaptionIndent, header};
            dc.DrawText(s->caption, text, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS);
        }
    });
}

// --- Life ----------------------------------------------------------------------

void USGroupBox::UserControl_Initialize() {
    // Tab within the box is settled before the form sees the key: the
    // form's own filter is older, and filters run newest first.
    s->tabFilter = AddMessageFilter([this](const MSG& msg) { return FilterTab(msg); });
}

void USGroupBox::UserControl_InitProperties() {
    const AmbientProperties ambient = Ambient();
    UserControl::SetFont(ambient.Font);
    s->caption = ambient.DisplayName;
    UserControl::SetBackColor(ambient.BackColor);
    s->ambientBack = ambient.BackColor;
    SetAccessKeys(GetAccessKey(s->caption));
    SetTheme(ENUM_THEME::WindowsThemeLight);
}

void USGroupBox::UserControl_ReadProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    s->ambientBack = ambient.BackColor;
    UserControl::SetFont(ReadFontProperty(PropBag, "Font", ambient.Font));
    UserControl::SetBackColor(ReadColor(PropBag, "BackColor", kButtonFace));
    s->body1 = ReadColor(PropBag, "BodyColor1", FromTheme);
    s->body2 = ReadColor(PropBag, "BodyColor2", FromTheme);
    s->border = ReadColor(PropBag, "BorderColor", FromTheme);
    s->caption = PropBag.ReadProperty("Caption", Variant(ambient.DisplayName))
                     .ToText()
                     .value_or(ambient.DisplayName);
    s->caption1 = ReadColor(PropBag, "CaptionColor", FromTheme);
    UserControl::SetEnabled(PropBag.ReadProperty("Enabled", Variant(true)).ToBool().value_or(true));
    s->header1 = ReadColor(PropBag, "HeaderColor1", FromTheme);
    s->header2 = ReadColor(PropBag, "HeaderColor2", FromTheme);
    s->gate.SetRedraw(PropBag.ReadProperty("Redraw", Variant(true)).ToBool().value_or(true));
    s->theme = static_cast<ENUM_THEME>(StoredNumber<int32_t>(
        PropBag.ReadProperty("Theme", Variant(int32_t{2})).ToDouble().value_or(2)));
    SetAccessKeys(GetAccessKey(s->caption));
    ApplyTheme();
}

void USGroupBox::UserControl_WriteProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    WriteFontProperty(PropBag, "Font", UserControl::Font(), ambient.Font);
    WriteColor(PropBag, "BackColor", UserControl::BackColor(), kButtonFace);
    WriteColor(PropBag, "BodyColor1", s->body1, FromTheme);
    WriteColor(PropBag, "BodyColor2", s->body2, FromTheme);
    WriteColor(PropBag, "BorderColor", s->border, FromTheme);
    PropBag.WriteProperty("Caption", Variant(s->caption), Variant(ambient.DisplayName));
    WriteColor(PropBag, "CaptionColor", s->caption1, FromTheme);
    PropBag.WriteProperty("Enabled", Variant(Enabled()), Variant(true));
    WriteColor(PropBag, "HeaderColor1", s->header1, FromTheme);
    WriteColor(PropBag, "HeaderColor2", s->header2, FromTheme);
    PropBag.WriteProperty("Redraw", Variant(s->gate.Redraw()), Variant(true));
    PropBag.WriteProperty("Theme", Variant(static_cast<int32_t>(s->theme)), Variant(int32_t{2}));
}

void USGroupBox::UserControl_Resize() {
    if (s->gate.Redraw()) {
        Refresh();
    }
}

void USGroupBox::UserControl_Terminate() {
    if (s->tabFilter != 0) {
        RemoveMessageFilter(std::exchange(s->tabFilter, 0));
    }
}

void USGroupBox::UserControl_AmbientChanged(const std::string& PropertyName) {
    if (PropertyName == "BackColor") {
        const OLE_COLOR now = Ambient().BackColor;
        const bool following = UserControl::BackColor() == s->ambientBack;
        s->ambientBack = now;
        if (following) {
            SetBackColor(now);
        }
    } else if (PropertyName == "Enabled") {
        // A box around this one was enabled or disabled.
        Refresh();
        TellControls("Enabled");
    }
}

// --- As a container ----------------------------------------------------------------

void USGroupBox::TellControls(const std::string& name) {
    // A copy of the list: a control may change the collection as it hears.
    std::vector<std::weak_ptr<const bool>> tokens;
    std::vector<Control*> controls;
    for (const auto& c : UserControl::Controls()) {
        controls.push_back(c.get());
        tokens.push_back(c->Token());
    }
    for (size_t i = 0; i < controls.size(); ++i) {
        if (!tokens[i].expired()) {
            controls[i]->OnAmbientChanged(name);
        }
    }
}

OLE_COLOR USGroupBox::ContainerBackColor() const {
    return s->body1 == FromTheme ? static_cast<OLE_COLOR>(s->themed.body1) : s->body1;
}

bool USGroupBox::CanTakeFocus() const {
    if (!Control::CanTakeFocus()) {
        return false;
    }
    for (const auto& c : const_cast<USGroupBox*>(this)->Controls()) {
        if (IsTabStop(*c)) {
            return true;
        }
    }
    return false;
}

void USGroupBox::SetFocus() {
    std::vector<Control*> order = InTabOrder(Controls());
    if (GetKeyState(VK_SHIFT) < 0) {
        std::reverse(order.begin(), order.end());
    }
    for (Control* c : order) {
        if (IsTabStop(*c)) {
            c->SetFocus();
            return;
        }
    }
}

std::string USGroupBox::AccessKeyLetters() const {
    std::string letters = UserControl::AccessKeyLetters();
    for (const auto& c : const_cast<USGroupBox*>(this)->Controls()) {
        if (c->Visible() && c->Enabled()) {
            letters += c->AccessKeyLetters();
        }
    }
    return letters;
}

void USGroupBox::OnAccessKey(int16_t keyAscii) {
    if (!Ambient().UserMode || !Enabled()) {
        return;
    }
    const std::string letter =
        ToUtf8(std::u32string(1, LCaseChar(static_cast<char32_t>(keyAscii))));
    if (!letter.empty() && UserControl::AccessKeyLetters() == letter) {
        // The box's own key: the first control in it, or, when it holds
        // none that takes the focus, the control after it.
        if (CanTakeFocus()) {
            for (Control* c : InTabOrder(Controls())) {
                if (IsTabStop(*c)) {
                    c->SetFocus();
                    return;
                }
            }
        }
        if (Container() == nullptr) {
            return;
        }
        const std::vector<Control*> siblings = InTabOrder(Container()->ContainedControls());
        auto it = std::find(siblings.begin(), siblings.end(), this);
        for (++it; it < siblings.end(); ++it) {
            if ((*it)->CanTakeFocus()) {
                (*it)->SetFocus();
                return;
            }
        }
        return;
    }
    for (Control* c : InTabOrder(Controls())) {
        if (c->Visible() && c->Enabled() &&
            c->AccessKeyLetters().find(letter) != std::string::npos) {
            c->OnAccessKey(keyAscii);
            return;
        }
    }
}

bool USGroupBox::WantsKey(int32_t vk) const {
    const HWND focus = GetFocus();
    for (const auto& c : const_cast<USGroupBox*>(this)->Controls()) {
        if (c->OwnsWindow(focus)) {
            return c->WantsKey(vk);
        }
    }
    return false;
}

bool USGroupBox::FilterTab(const MSG& msg) {
    if (msg.message != WM_KEYDOWN || msg.wParam != static_cast<WPARAM>(VK_TAB) ||
        !Ambient().UserMode || GetKeyState(VK_CONTROL) < 0 || GetKeyState(VK_MENU) < 0) {
        return false;
    }
    const HWND focus = GetFocus();
    if (!OwnsWindow(focus)) {
        return false;
    }
    const std::vector<Control*> order = InTabOrder(Controls());
    auto at = std::find_if(order.begin(), order.end(),
                           [focus](Control* c) { return c->OwnsWindow(focus); });
    if (at == order.end() || (*at)->WantsKey(VK_TAB)) {
        return false;
    }
    // The next stop inside, without wrapping: after the last (before the
    // first) the form moves on from the box as from any control.
    if (GetKeyState(VK_SHIFT) < 0) {
        for (auto it = std::make_reverse_iterator(at); it != order.rend(); ++it) {
            if (IsTabStop(**it)) {
                (*it)->SetFocus();
                return true;
            }
        }
        return false;
    }
    for (auto it = at + 1; it != order.end(); ++it) {
        if (IsTabStop(**it)) {
            (*it)->SetFocus();
            return true;
        }
    }
    return false;
}

}  // namespace kelvara
