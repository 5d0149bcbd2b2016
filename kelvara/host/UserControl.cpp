#include "kelvara/host/UserControl.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "kelvara/base/Text.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

// Every user control's window, for drops and lookups by window.
std::map<HWND, UserControl*>& Windows() {
    static std::map<HWND, UserControl*> windows;
    return windows;
}

}  // namespace

UserControl* UserControl::FromWindow(HWND hwnd) {
    for (HWND h = hwnd; h != 0; h = GetParent(h)) {
        auto it = Windows().find(h);
        if (it != Windows().end()) {
            return it->second;
        }
    }
    return nullptr;
}

UserControl::UserControl(std::string typeName) : Control(std::move(typeName)) {
    font.SetName("Tahoma");
    font.SetSize(8.25);
}

UserControl::~UserControl() {
    if (!terminated) {
        OnTerminate();
    }
}

// --- Life ---------------------------------------------------------------------

void UserControl::OnSited() {
    const HWND window = CreateSiteWindow(
        "ThunderUserControl",
        [this](HWND h, uint32_t m, WPARAM w, LPARAM l) { return WindowProc(h, m, w, l); });
    Windows()[window] = this;
    font = Container()->ContainerFont();
    surface.SetFont(font);
    surface.SetForeColor(foreColor);
    surface.Attach(window, ClientArea(), backColor);
    UserControl_Initialize();
}

void UserControl::OnInitNew() {
    UserControl_InitProperties();
}

void UserControl::OnLoad(const PropertyBag& bag) {
    // The event may read from the bag as it likes; it gets its own copy.
    PropertyBag copy(bag);
    UserControl_ReadProperties(copy);
}

void UserControl::OnSave(PropertyBag& bag) const {
    // Writing properties changes nothing a caller can see; the event is
    // not const only because controls are written that way.
    const_cast<UserControl*>(this)->UserControl_WriteProperties(bag);
}

void UserControl::OnReady() {
    ready = true;
    surface.SetArea(ClientArea(), backColor);
    UserControl_Resize();
}

void UserControl::OnVisibleChanged() {
    if (hWnd() == 0) {
        return;
    }
    Control::OnVisibleChanged();
    Form* form = Parent();
    const bool formShown = form != nullptr && form->Visible();
    if (Visible() && formShown) {
        RaiseShow();
    } else if (!Visible()) {
        RaiseHide();
    }
}

void UserControl::OnTerminate() {
    if (terminated) {
        return;
    }
    terminated = true;
    UserControl_Terminate();
    controls.Clear();
    Windows().erase(hWnd());
    DestroySiteWindow();
}

void UserControl::RaiseShow() {
    if (!shown) {
        shown = true;
        UserControl_Show();
    }
}

void UserControl::RaiseHide() {
    if (shown) {
        shown = false;
        UserControl_Hide();
    }
}

// --- Properties -----------------------------------------------------------------

void UserControl::SetEnabled(bool value) {
    Control::SetEnabled(value);
}

void UserControl::SetBackColor(OLE_COLOR value) {
    backColor = value;
}

void UserControl::SetForeColor(OLE_COLOR value) {
    foreColor = value;
    surface.SetForeColor(value);
}

void UserControl::SetFont(const StdFont& value) {
    font = value;
    FontChanged();
}

void UserControl::FontChanged() {
    surface.SetFont(font);
}

void UserControl::PaintPicture(const PixelBuffer& picture, int32_t x, int32_t y, int32_t width,
                               int32_t height) {
    if (picture.Empty()) {
        return;
    }
    const int32_t w = width < 0 ? picture.Width() : width;
    const int32_t h = height < 0 ? picture.Height() : height;
    hDC().AlphaBlend(x, y, w, h, picture, 0, 0, picture.Width(), picture.Height(),
                     BlendFunction{255, true});
}

float UserControl::ToScaleX(int32_t pixels) const {
    return static_cast<float>(ScaleValue(pixels, ScaleModeConstants::vbPixels, scaleMode, false));
}

float UserControl::ToScaleY(int32_t pixels) const {
    return static_cast<float>(ScaleValue(pixels, ScaleModeConstants::vbPixels, scaleMode, true));
}

float UserControl::ScaleWidth() const {
    return ToScaleX(Bounds().Right - Bounds().Left);
}
float UserControl::ScaleHeight() const {
    return ToScaleY(Bounds().Bottom - Bounds().Top);
}

float UserControl::ScaleX(float value, ScaleModeConstants from, ScaleModeConstants to) const {
    return static_cast<float>(ScaleValue(value, from, to, false));
}

float UserControl::ScaleY(float value, ScaleModeConstants from, ScaleModeConstants to) const {
    return static_cast<float>(ScaleValue(value, from, to, true));
}

float UserControl::UserWidth() const {
    return static_cast<float>((Bounds().Right - Bounds().Left) * Screen::TwipsPerPixelX);
}

float UserControl::UserHeight() const {
    return static_cast<float>((Bounds().Bottom - Bounds().Top) * Screen::TwipsPerPixelY);
}

void UserControl::SetUserWidth(float twips) {
    RECT b = Bounds();
    b.Right =
        b.Left + std::max(static_cast<int32_t>(std::lround(twips / Screen::TwipsPerPixelX)), 0);
    SetBounds(b);
}

void UserControl::SetUserHeight(float twips) {
    RECT b = Bounds();
    b.Bottom =
        b.Top + std::max(static_cast<int32_t>(std::lround(twips / Screen::TwipsPerPixelY)), 0);
    SetBounds(b);
}

float UserControl::TextWidth(std::string_view text) const {
    return ToScaleX(surface.TextSize(text).cx);
}

float UserControl::TextHeight(std::string_view text) const {
    return ToScaleY(surface.TextSize(text).cy);
}

void UserControl::PropertyChanged(std::string_view key) {
    PropertyChanges(std::string(key));
}

bool UserControl::UserMode() const {
    // Asked on every message: the container's answer, without building the
    // whole set of ambient values.
    const ControlContainer* c = Container();
    return c == nullptr || c->ContainerUserMode();
}

AmbientProperties UserControl::Ambient() const {
    AmbientProperties ambient;
    if (const ControlContainer* c = Container()) {
        ambient.UserMode = c->ContainerUserMode();
        ambient.Font = c->ContainerFont();
        ambient.BackColor = c->ContainerBackColor();
        ambient.ForeColor = c->ContainerForeColor();
    }
    ambient.DisplayName = Name();
    ambient.DisplayAsDefault = displayAsDefault;
    return ambient;
}

void UserControl::InvalidateWindowless(const RECT& pixels) {
    if (hWnd() != 0) {
        InvalidateRect(hWnd(), &pixels, true);
    }
}

// --- What the form asks ---------------------------------------------------------

bool UserControl::CanTakeFocus() const {
    return canGetFocus && Control::CanTakeFocus();
}

std::string UserControl::AccessKeyLetters() const {
    std::string letters;
    for (char c : accessKeys) {
        letters += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return letters;
}

void UserControl::OnAccessKey(int16_t keyAscii) {
    if (!UserMode() || !Enabled()) {
        return;
    }
    // An access letter takes the focus there; Return and Escape do not move
    // it from where it is.
    if (keyAscii != 13 && keyAscii != 27 && CanTakeFocus()) {
        SetFocus();
    }
    UserControl_AccessKeyPress(keyAscii);
}

void UserControl::OnDisplayAsDefault(bool value) {
    if (displayAsDefault == value) {
        return;
    }
    displayAsDefault = value;
    UserControl_AmbientChanged("DisplayAsDefault");
}

void UserControl::OnAmbientChanged(const std::string& name) {
    UserControl_AmbientChanged(name);
}

bool UserControl::OwnsWindow(HWND hwnd) const {
    return Inside(hwnd);
}

void UserControl::SetFocus() {
    if (hWnd() != 0 && canGetFocus) {
        ::kelvara::SetFocus(hWnd());
    }
}

RECT UserControl::ClientArea() const {
    RECT client{0, 0, 0, 0};
    GetClientRect(hWnd(), client);
    return client;
}

void UserControl::ControlAdded(Control& control) {
    const HWND part = control.hWnd();
    if (part == 0) {
        return;
    }
    // The focus moving between the control and the world through one of
    // its parts enters or leaves the control.
    AddWindowHook(part, [this](HWND, uint32_t msg, WPARAM wParam, LPARAM, bool&) -> LRESULT {
        if (!UserMode() || (msg != WM_SETFOCUS && msg != WM_KILLFOCUS) ||
            Inside(static_cast<HWND>(wParam))) {
            return 0;
        }
        if (msg == WM_SETFOCUS) {
            UserControl_EnterFocus();
        } else {
            UserControl_ExitFocus();
        }
        return 0;
    });
}

bool UserControl::Inside(HWND hwnd) const {
    for (HWND h = hwnd; h != 0; h = GetParent(h)) {
        if (h == hWnd()) {
            return true;
        }
    }
    return false;
}

// --- Messages ---------------------------------------------------------------------

LRESULT UserControl::WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case WM_SIZE:
            if (ready) {
                surface.SetArea(ClientArea(), backColor);
                UserControl_Resize();
            }
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT: {
            PAINTSTRUCT ps;
            Canvas* dc = BeginPaint(hwnd, ps);
            if (dc != nullptr) {
                surface.ShowImage(*dc);
            }
            if (!surface.AutoRedraw()) {
                const auto token = Token();
                UserControl_Paint();
                if (token.expired()) {
                    return 0;
                }
            }
            if (dc != nullptr) {
                for (const auto& c : controls) {
                    if (c->Windowless() && c->Visible()) {
                        c->OnPaintWindowless(*dc);
                    }
                }
            }
            EndPaint(hwnd, ps);
            return 0;
        }
        case WM_SETFOCUS:
            Focus(true, static_cast<HWND>(wParam));
            return 0;
        case WM_KILLFOCUS:
            Focus(false, static_cast<HWND>(wParam));
            return 0;
        case WM_MOUSEMOVE:
        case WM_LBUTTONDOWN:
        case WM_LBUTTONUP:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONUP:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONUP:
        case WM_MBUTTONDBLCLK:
            Mouse(msg, wParam, lParam);
            return 0;
        case WM_CAPTURECHANGED:
            buttonsDown = 0;
            return 0;
        case WM_SETCURSOR:
            // Over the control's own window its pointer shows; its parts
            // answer for themselves.
            if (static_cast<HWND>(wParam) == hWnd() && mousePointer != vbDefault && UserMode()) {
                SetCursorShape(mousePointer, mouseIcon.get());
                return 1;
            }
            return DefWindowProc(hwnd, msg, wParam, lParam);
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_KEYUP:
        case WM_SYSKEYUP:
        case WM_CHAR:
            Key(msg, wParam);
            return 0;
        default:
            return DefWindowProc(hwnd, msg, wParam, lParam);
    }
}

void UserControl::Focus(bool gained, HWND other) {
    if (!UserMode()) {
        return;
    }
    const auto token = Token();
    if (gained) {
        if (!Inside(other)) {
            UserControl_EnterFocus();
            if (token.expired()) {
                return;
            }
        }
        UserControl_GotFocus();
    } else {
        UserControl_LostFocus();
        if (token.expired()) {
            return;
        }
        if (!Inside(other)) {
            UserControl_ExitFocus();
        }
    }
}

void UserControl::Mouse(uint32_t msg, WPARAM wParam, LPARAM lParam) {
    if (!UserMode()) {
        return;
    }
    const auto token = Token();
    const int32_t px = GET_X_LPARAM(lParam);
    const int32_t py = GET_Y_LPARAM(lParam);
    float x = ToScaleX(px);
    float y = ToScaleY(py);
    int16_t shift = ShiftKeysDown();

    int16_t button = ButtonOf(msg);

    switch (msg) {
        case WM_MOUSEMOVE: {
            int16_t held = ButtonsHeld(wParam);
            UserControl_MouseMove(held, shift, x, y);
            return;
        }
        case WM_LBUTTONDBLCLK:
            // The second press of a double click: DblClick instead of
            // MouseDown, and no Click when it is released.
            buttonsDown |= button;
            SetCapture(hWnd());
            afterDblClick = true;
            UserControl_DblClick();
            return;
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
        case WM_MBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDBLCLK:
            if (canGetFocus && GetFocus() != hWnd() && !Inside(GetFocus())) {
                ::kelvara::SetFocus(hWnd());
                if (token.expired()) {
                    return;
                }
            }
            buttonsDown |= button;
            SetCapture(hWnd());
            UserControl_MouseDown(button, shift, x, y);
            return;
        default: {  // a button released
            buttonsDown &= static_cast<int16_t>(~button);
            if (buttonsDown == 0 && GetCapture() == hWnd()) {
                ReleaseCapture();
            }
            const bool click = msg == WM_LBUTTONUP && !afterDblClick;
            if (msg == WM_LBUTTONUP) {
                afterDblClick = false;
            }
            UserControl_MouseUp(button, shift, x, y);
            if (token.expired() || !click) {
                return;
            }
            RECT client;
            GetClientRect(hWnd(), client);
            if (px >= 0 && py >= 0 && px < client.Right && py < client.Bottom) {
                UserControl_Click();
            }
            return;
        }
    }
}

void UserControl::Key(uint32_t msg, WPARAM wParam) {
    if (!UserMode()) {
        return;
    }
    if (msg == WM_CHAR) {
        auto keyAscii = static_cast<int16_t>(wParam <= 0x7FFF ? wParam : '?');
        UserControl_KeyPress(keyAscii);
        return;
    }
    auto keyCode = static_cast<int16_t>(wParam);
    int16_t shift = ShiftKeysDown();
    if (msg == WM_KEYDOWN || msg == WM_SYSKEYDOWN) {
        UserControl_KeyDown(keyCode, shift);
    } else {
        UserControl_KeyUp(keyCode, shift);
    }
}

void UserControl::DeliverDragOver(DataObject& data, int32_t& effect, int16_t button, int16_t shift,
                                  POINT client, int16_t state) {
    float x = ToScaleX(client.X);
    float y = ToScaleY(client.Y);
    UserControl_OLEDragOver(data, effect, button, shift, x, y, state);
}

void UserControl::DeliverDragDrop(DataObject& data, int32_t& effect, int16_t button, int16_t shift,
                                  POINT client) {
    float x = ToScaleX(client.X);
    float y = ToScaleY(client.Y);
    UserControl_OLEDragDrop(data, effect, button, shift, x, y);
}

}  // namespace kelvara
