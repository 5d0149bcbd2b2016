#include "kelvara/host/TextBox.h"

#include <algorithm>

#include "kelvara/base/Text.h"
#include "kelvara/host/DrawingSurface.h"
#include "kelvara/host/EditControl.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

constexpr int32_t kBorder = 2;

HFONT FontHandle(const StdFont& font) {
    LOGFONT log;
    log.lfHeight = font.PixelHeight();
    log.lfWeight = font.Weight();
    log.lfItalic = font.Italic();
    log.lfUnderline = font.Underline();
    log.lfStrikeOut = font.Strikethrough();
    log.lfCharSet = static_cast<uint8_t>(font.Charset());
    log.lfFaceName = font.Name();
    return CreateFontIndirect(log);
}

// The host numbers alignment 0 left, 1 right, 2 centre; the edit box 0
// left, 1 centre, 2 right.
int32_t EditAlignment(int16_t alignment) {
    return alignment == 1 ? 2 : alignment == 2 ? 1 : 0;
}

}  // namespace

TextBox::TextBox() : Control("VB.TextBox") {}

TextBox::~TextBox() {
    OnTerminate();
}

EditControl* TextBox::Edit() const {
    return EditControl::FromHandle(edit);
}

RECT TextBox::Inner() const {
    RECT client{0, 0, 0, 0};
    GetClientRect(SiteWindow(), client);
    const int32_t b = borderStyle == 1 ? kBorder : 0;
    return RECT{b, b, std::max(client.Right - b, b), std::max(client.Bottom - b, b)};
}

// --- Life -------------------------------------------------------------------------

void TextBox::OnSited() {
    CreateSiteWindow("ThunderTextBoxFrame", [this](HWND h, uint32_t m, WPARAM w, LPARAM l) {
        return FrameProc(h, m, w, l);
    });
    font = Container()->ContainerFont();
    MakeEdit(pendingText);
}

void TextBox::MakeEdit(std::string text) {
    if (edit != 0) {
        DestroyWindow(std::exchange(edit, 0));
    }
    const RECT in = Inner();
    uint32_t style = WS_CHILD | WS_VISIBLE;
    if (multiLine) {
        style |= ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL;
        if (scrollBars == 1 || scrollBars == 3) {
            style |= ES_AUTOHSCROLL;
        }
    } else {
        style |= ES_AUTOHSCROLL;
    }
    if (!hideSelection) {
        style |= ES_NOHIDESEL;
    }
    WindowSpec spec;
    spec.ClassName = "Edit";
    spec.Text = "";
    spec.Style = style;
    spec.X = in.Left;
    spec.Y = in.Top;
    spec.Width = in.Right - in.Left;
    spec.Height = in.Bottom - in.Top;
    spec.Parent = SiteWindow();
    edit = CreateEditControl(spec);
    if (edit == 0) {
        return;
    }
    AddWindowHook(edit, [this](HWND h, uint32_t m, WPARAM w, LPARAM l, bool& handled) {
        return EditHook(h, m, w, l, handled);
    });
    ApplyLooks();
    if (EditControl* e = Edit()) {
        e->SetText(text);
    }
}

void TextBox::ApplyLooks() {
    EditControl* e = Edit();
    if (e == nullptr) {
        return;
    }
    e->SetFont(FontHandle(font));
    e->SetColors(TranslateOleColor(foreColor), TranslateOleColor(backColor));
    e->SetMaxLength(maxLength);
    const std::u32string pass = ToUtf32(passwordChar);
    e->SetPasswordChar(multiLine || pass.empty() ? 0 : pass.front());
    e->SetReadOnly(locked);
    e->SetAlignment(EditAlignment(alignment));
    EnableWindow(edit, Enabled());
}

void TextBox::OnInitNew() {
    pendingText = Name();
    if (EditControl* e = Edit()) {
        e->SetText(pendingText);
    }
}

void TextBox::OnReady() {
    if (SiteWindow() != 0) {
        MoveWindow(edit, Inner().Left, Inner().Top, Inner().Right - Inner().Left,
                   Inner().Bottom - Inner().Top, true);
    }
}

void TextBox::OnEnabledChanged() {
    Control::OnEnabledChanged();
    if (edit != 0) {
        EnableWindow(edit, Enabled());
        InvalidateRect(SiteWindow(), nullptr, true);
    }
}

void TextBox::OnTerminate() {
    edit = 0;  // goes with its parent
    DestroySiteWindow();
}

// --- Properties ---------------------------------------------------------------------

std::string TextBox::Text() const {
    const EditControl* e = Edit();
    return e == nullptr ? pendingText : e->Text();
}

void TextBox::SetText(std::string_view value) {
    pendingText = std::string(value);
    if (EditControl* e = Edit()) {
        const bool same = e->Text() == value;
        e->SetText(value);
        // The host's text box raises Change for every new text, also in
        // multi-line boxes, but not when the text stays as it was.
        if (multiLine && !same) {
            Change();
        }
    }
}

int32_t TextBox::SelStart() const {
    const EditControl* e = Edit();
    return e == nullptr ? 0 : e->SelStart();
}

void TextBox::SetSelStart(int32_t value) {
    if (EditControl* e = Edit()) {
        // As the host: the selection goes, the caret stands at the start.
        e->SetSel(std::max(value, 0), 0);
        e->ScrollCaret();
    }
}

int32_t TextBox::SelLength() const {
    const EditControl* e = Edit();
    return e == nullptr ? 0 : e->SelLength();
}

void TextBox::SetSelLength(int32_t value) {
    if (EditControl* e = Edit()) {
        e->SetSel(e->SelStart(), std::max(value, 0));
    }
}

std::string TextBox::SelText() const {
    const EditControl* e = Edit();
    return e == nullptr ? std::string() : e->SelText();
}

void TextBox::SetSelText(std::string_view value) {
    if (EditControl* e = Edit()) {
        e->ReplaceSel(value, true);
    }
}

void TextBox::SetMaxLength(int32_t value) {
    maxLength = std::max(value, 0);
    ApplyLooks();
}

void TextBox::SetPasswordChar(std::string_view value) {
    const std::u32string chars = ToUtf32(value);
    passwordChar = chars.empty() ? std::string() : ToUtf8(chars.substr(0, 1));
    ApplyLooks();
}

void TextBox::SetLocked(bool value) {
    locked = value;
    ApplyLooks();
}

void TextBox::SetAlignment(int16_t value) {
    alignment = value;
    ApplyLooks();
}

void TextBox::SetMultiLine(bool value) {
    if (multiLine == value) {
        return;
    }
    multiLine = value;
    if (SiteWindow() != 0) {
        MakeEdit(Text());
    }
}

void TextBox::SetScrollBars(int16_t value) {
    scrollBars = value;
    if (SiteWindow() != 0 && multiLine) {
        MakeEdit(Text());
    }
}

void TextBox::SetBackColor(OLE_COLOR value) {
    backColor = value;
    ApplyLooks();
}

void TextBox::SetForeColor(OLE_COLOR value) {
    foreColor = value;
    ApplyLooks();
}

void TextBox::SetFont(const StdFont& value) {
    font = value;
    ApplyLooks();
}

void TextBox::SetBorderStyle(int16_t value) {
    borderStyle = value;
    if (SiteWindow() != 0) {
        const RECT in = Inner();
        MoveWindow(edit, in.Left, in.Top, in.Right - in.Left, in.Bottom - in.Top, true);
        InvalidateRect(SiteWindow(), nullptr, true);
    }
}

void TextBox::SetHideSelection(bool value) {
    hideSelection = value;
    if (SiteWindow() != 0) {
        MakeEdit(Text());
    }
}

bool TextBox::WantsKey(int32_t vk) const {
    return multiLine && vk == VK_RETURN;
}

bool TextBox::OwnsWindow(HWND hwnd) const {
    return hwnd != 0 && (hwnd == edit || hwnd == SiteWindow());
}

// --- Messages ------------------------------------------------------------------------

LRESULT TextBox::FrameProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT: {
            PAINTSTRUCT ps;
            Canvas* dc = BeginPaint(hwnd, ps);
            if (dc != nullptr && borderStyle == 1) {
                RECT client;
                GetClientRect(hwnd, client);
                DrawSunkenEdge(*dc, client);
            }
            EndPaint(hwnd, ps);
            return 0;
        }
        case WM_SIZE: {
            const RECT in = Inner();
            MoveWindow(edit, in.Left, in.Top, in.Right - in.Left, in.Bottom - in.Top, true);
            return 0;
        }
        case WM_SETFOCUS:
            ::kelvara::SetFocus(edit);
            return 0;
        case WM_COMMAND:
            if (static_cast<HWND>(lParam) == edit && HIWORD(wParam) == EN_CHANGE) {
                pendingText.clear();
                Change();
            }
            return 0;
        default:
            return DefWindowProc(hwnd, msg, wParam, lParam);
    }
}

LRESULT TextBox::EditHook(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    const auto token = Token();
    switch (msg) {
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
            if (token.expired() || key == 0) {
                handled = true;
                return 0;
            }
            // A changed key goes on in place of the typed one (a character
            // past 16 bits only when nobody changed it).
            const bool wide = msg == WM_CHAR && wParam > 0x7FFF;
            if (!wide && key != static_cast<int16_t>(wParam)) {
                handled = true;
                return CallNextHook(hwnd, msg, static_cast<WPARAM>(static_cast<uint16_t>(key)),
                                    lParam);
            }
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
            // The edit box does its own work after the program has seen it.
            const int16_t button = ButtonOf(msg);
            RECT client;
            GetClientRect(hwnd, client);
            const int32_t x = GET_X_LPARAM(lParam);
            const int32_t y = GET_Y_LPARAM(lParam);
            const bool inside = x >= 0 && y >= 0 && x < client.Right && y < client.Bottom;
            const ScaleModeConstants mode = Container() == nullptr
                                                ? ScaleModeConstants::vbTwips
                                                : Container()->ContainerScaleMode();
            RaiseMouse(msg, button, ShiftKeysDown(),
                       static_cast<float>(ScaleValue(x, ScaleModeConstants::vbPixels, mode, false)),
                       static_cast<float>(ScaleValue(y, ScaleModeConstants::vbPixels, mode, true)),
                       inside, token);
            if (token.expired()) {
                handled = true;
            }
            return 0;
        }
        default:
            return 0;
    }
}

// --- Stored properties ----------------------------------------------------------------

void TextBox::OnLoad(const PropertyBag& bag) {
    const auto number = [&](std::string_view key, double fallback) {
        return bag.ReadProperty(key, Variant(fallback)).ToDouble().value_or(fallback);
    };
    const auto flag = [&](std::string_view key, bool fallback) {
        return bag.ReadProperty(key, Variant(fallback)).ToBool().value_or(fallback);
    };
    maxLength = std::max(StoredNumber<int32_t>(number("MaxLength", 0)), 0);
    passwordChar = bag.ReadProperty("PasswordChar", Variant("")).ToText().value_or("");
    locked = flag("Locked", false);
    alignment = StoredNumber<int16_t>(number("Alignment", 0));
    multiLine = flag("MultiLine", false);
    scrollBars = StoredNumber<int16_t>(number("ScrollBars", 0));
    backColor = static_cast<OLE_COLOR>(StoredNumber<int64_t>(number("BackColor", 0x80000005)));
    foreColor = static_cast<OLE_COLOR>(StoredNumber<int64_t>(number("ForeColor", 0x80000008)));
    borderStyle = StoredNumber<int16_t>(number("BorderStyle", 1));
    hideSelection = flag("HideSelection", true);
    font = ReadFontProperty(bag, "Font", DefaultFont());
    pendingText = bag.ReadProperty("Text", Variant(Name())).ToText().value_or("");
    MakeEdit(pendingText);
}

void TextBox::OnSave(PropertyBag& bag) const {
    bag.WriteProperty("Alignment", Variant(int32_t{alignment}), Variant(int32_t{0}));
    bag.WriteProperty("BackColor", Variant(static_cast<int32_t>(backColor)),
                      Variant(static_cast<int32_t>(0x80000005)));
    bag.WriteProperty("BorderStyle", Variant(int32_t{borderStyle}), Variant(int32_t{1}));
    WriteFontProperty(bag, "Font", font, DefaultFont());
    bag.WriteProperty("ForeColor", Variant(static_cast<int32_t>(foreColor)),
                      Variant(static_cast<int32_t>(0x80000008)));
    bag.WriteProperty("HideSelection", Variant(hideSelection), Variant(true));
    bag.WriteProperty("Locked", Variant(locked), Variant(false));
    bag.WriteProperty("MaxLength", Variant(maxLength), Variant(int32_t{0}));
    bag.WriteProperty("MultiLine", Variant(multiLine), Variant(false));
    bag.WriteProperty("PasswordChar", Variant(passwordChar), Variant(""));
    bag.WriteProperty("ScrollBars", Variant(int32_t{scrollBars}), Variant(int32_t{0}));
    bag.WriteProperty("Text", Variant(Text()), Variant(Name()));
}

}  // namespace kelvara
