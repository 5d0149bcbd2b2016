#include "kelvara/host/Form.h"

#include <algorithm>
#include <cmath>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/Region.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/UserControl.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

// The frame's measures, in pixels.
constexpr int32_t kSizableBorder = 4;
constexpr int32_t kFixedBorder = 3;
constexpr int32_t kCaptionHeight = 22;
constexpr int32_t kToolCaptionHeight = 17;
constexpr int32_t kButtonGap = 2;
constexpr int32_t kIconSize = 16;

// Where a new form with the default start-up position goes: each one a
// little below and right of the last, as desktops cascade windows.
constexpr int32_t kCascadeStart = 60;
constexpr int32_t kCascadeStep = 24;
int32_t cascade = 0;

std::vector<Form*>& LoadedForms() {
    static std::vector<Form*> forms;
    return forms;
}

// The pointer over a frame's sizing edge.
int16_t SizingPointer(int32_t hit) {
    switch (hit) {
        case HTLEFT:
        case HTRIGHT:
            return vbSizeWE;
        case HTTOP:
        case HTBOTTOM:
            return vbSizeNS;
        case HTTOPLEFT:
        case HTBOTTOMRIGHT:
            return vbSizeNWSE;
        case HTTOPRIGHT:
        case HTBOTTOMLEFT:
            return vbSizeNESW;
        default:
            return vbDefault;
    }
}

bool In(const RECT& r, POINT p) {
    return p.X >= r.Left && p.X < r.Right && p.Y >= r.Top && p.Y < r.Bottom;
}

}  // namespace

Form::Form(std::string name, FormMode mode) : name(std::move(name)), mode(mode) {
    caption = this->name;
    font.SetName("Tahoma");
    font.SetSize(8.25);
}

Form::~Form() {
    if (window != 0) {
        // Destroyed while loaded: unload without asking.
        controls.Clear();
        RemoveMessageFilter(filter);
        std::erase(LoadedForms(), this);
        DestroyWindow(std::exchange(window, 0));
    }
    *alive = false;
    Terminate();
}

std::vector<Form*> Form::Forms() {
    return LoadedForms();
}

Form* Form::FromWindow(HWND hwnd) {
    const HWND top = GetAncestorTop(hwnd);
    for (Form* f : LoadedForms()) {
        if (f->window == top) {
            return f;
        }
    }
    return nullptr;
}

HWND Form::hWnd() {
    EnsureWindow();
    return window;
}

HWND Form::ContainerWindow() {
    EnsureWindow();
    return window;
}

void Form::EnsureWindow() {
    if (window != 0) {
        return;
    }
    CreateFormWindow();
    Load();
}

void Form::CreateFormWindow() {
    if (window != 0) {
        return;
    }
    window = CreateWindowEx(
        0, "ThunderFormDC", caption, WS_POPUP | WS_CLIPCHILDREN, initialRect.Left, initialRect.Top,
        initialRect.Right - initialRect.Left, initialRect.Bottom - initialRect.Top, 0,
        [this](HWND h, uint32_t m, WPARAM w, LPARAM l) { return WindowProc(h, m, w, l); });
    ApplyStyle();
    SetWindowIcon(window, icon);
    surface.SetFont(font);
    surface.SetForeColor(foreColor);
    surface.Attach(window, Layout().client, backColor);
    filter = AddMessageFilter([this](const MSG& msg) { return FilterKey(msg); });
    LoadedForms().push_back(this);
}

bool Load(Form& form) {
    form.EnsureWindow();
    return form.Loaded();
}

bool Unload(Form& form) {
    return !form.Loaded() || form.UnloadForm(vbFormCode);
}

bool Form::UnloadForm(int16_t unloadMode) {
    if (window == 0) {
        return true;
    }
    const std::weak_ptr<bool> token = alive;
    int16_t cancel = 0;
    QueryUnload(cancel, unloadMode);
    if (token.expired() || cancel != 0 || window == 0) {
        return false;
    }
    Unload(cancel);
    if (token.expired() || cancel != 0 || window == 0) {
        return false;
    }
    if (IsWindowVisible(window)) {
        Hide();
    }
    controls.Clear();
    RemoveMessageFilter(std::exchange(filter, 0));
    std::erase(LoadedForms(), this);
    displayedDefault = nullptr;
    mouseOver = nullptr;
    everShown = false;
    DestroyWindow(std::exchange(window, 0));
    return true;
}

// --- Properties -----------------------------------------------------------------

void Form::SetCaption(std::string value) {
    caption = std::move(value);
    if (window != 0) {
        SetWindowText(window, caption);
        const RECT bar = Layout().caption;
        InvalidateRect(window, &bar, false);
    }
}

void Form::SetIcon(std::shared_ptr<const PixelBuffer> value) {
    icon = std::move(value);
    if (window != 0) {
        SetWindowIcon(window, icon);
        const RECT bar = Layout().caption;
        InvalidateRect(window, &bar, false);
    }
}

void Form::SetBorderStyle(FormBorderStyle value) {
    const int32_t oldWidth = ClientWidthPixels();
    const int32_t oldHeight = ClientHeightPixels();
    borderStyle = value;
    if (value == FormBorderStyle::FixedToolWindow || value == FormBorderStyle::SizableToolWindow) {
        showInTaskBar = false;
    }
    ApplyStyle();
    // The client area keeps its size; the frame grows or shrinks around it.
    SetClientSizePixels(oldWidth, oldHeight);
}

void Form::SetShowInTaskBar(bool value) {
    showInTaskBar = value;
    ApplyStyle();
}

void Form::SetControlBox(bool value) {
    controlBox = value;
    Refresh();
}

void Form::SetMinButton(bool value) {
    minButton = value;
    Refresh();
}

void Form::SetMaxButton(bool value) {
    maxButton = value;
    Refresh();
}

void Form::ApplyStyle() {
    if (window == 0) {
        return;
    }
    auto ex = static_cast<uint32_t>(GetWindowLong(window, GWL_EXSTYLE));
    ex &= ~static_cast<uint32_t>(WS_EX_TOOLWINDOW | WS_EX_APPWINDOW);
    ex |= showInTaskBar ? WS_EX_APPWINDOW : WS_EX_TOOLWINDOW;
    SetWindowLong(window, GWL_EXSTYLE, static_cast<intptr_t>(ex));
    auto style = static_cast<uint32_t>(GetWindowLong(window, GWL_STYLE));
    style &= ~static_cast<uint32_t>(WS_CAPTION | WS_THICKFRAME);
    if (borderStyle != FormBorderStyle::None) {
        style |= WS_CAPTION;
    }
    if (borderStyle == FormBorderStyle::Sizable ||
        borderStyle == FormBorderStyle::SizableToolWindow) {
        style |= WS_THICKFRAME;
    }
    SetWindowLong(window, GWL_STYLE, static_cast<intptr_t>(style));
    InvalidateRect(window, nullptr, true);
}

void Form::SetBackColor(OLE_COLOR value) {
    backColor = value;
    for (const auto& c : controls) {
        c->OnAmbientChanged("BackColor");
    }
    Refresh();
}

void Form::SetForeColor(OLE_COLOR value) {
    foreColor = value;
    surface.SetForeColor(value);
    for (const auto& c : controls) {
        c->OnAmbientChanged("ForeColor");
    }
}

void Form::SetFont(const StdFont& value) {
    font = value;
    surface.SetFont(value);
    for (const auto& c : controls) {
        c->OnAmbientChanged("Font");
    }
}

void Form::SetScaleMode(ScaleModeConstants value) {
    scaleMode = value;
    for (const auto& c : controls) {
        c->OnAmbientChanged("ScaleUnits");
    }
}

int16_t Form::WindowState() const {
    if (window == 0) {
        return 0;
    }
    return IsIconic(window) ? 1 : IsZoomed(window) ? 2 : 0;
}

void Form::SetWindowState(int16_t value) {
    EnsureWindow();
    const uint32_t command = value == 1 ? SC_MINIMIZE : value == 2 ? SC_MAXIMIZE : SC_RESTORE;
    SendMessage(window, WM_SYSCOMMAND, command, 0);
}

bool Form::Enabled() const {
    return window == 0 || IsWindowEnabled(window);
}

void Form::SetEnabled(bool value) {
    EnsureWindow();
    EnableWindow(window, value);
}

bool Form::Visible() const {
    return window != 0 && IsWindowVisible(window);
}

// --- Geometry ---------------------------------------------------------------------

int32_t Form::CaptionHeight() const {
    switch (borderStyle) {
        case FormBorderStyle::None:
            return 0;
        case FormBorderStyle::FixedToolWindow:
        case FormBorderStyle::SizableToolWindow:
            return kToolCaptionHeight;
        default:
            return kCaptionHeight;
    }
}

Form::FrameLayout Form::Layout() const {
    FrameLayout layout;
    RECT outer = initialRect;
    if (window != 0) {
        GetWindowRect(window, outer);
    }
    const int32_t width = outer.Right - outer.Left;
    const int32_t height = outer.Bottom - outer.Top;
    switch (borderStyle) {
        case FormBorderStyle::None:
            layout.border = 0;
            break;
        case FormBorderStyle::Sizable:
        case FormBorderStyle::SizableToolWindow:
            layout.border = kSizableBorder;
            break;
        default:
            layout.border = kFixedBorder;
            break;
    }
    const int32_t b = layout.border;
    const int32_t captionHeight = CaptionHeight();
    layout.client =
        RECT{b, b + captionHeight, std::max(width - b, b), std::max(height - b, b + captionHeight)};
    if (captionHeight == 0) {
        return layout;
    }
    layout.caption = RECT{b, b, width - b, b + captionHeight};
    const int32_t size = captionHeight - 2 * kButtonGap - 1;
    int32_t right = layout.caption.Right - kButtonGap;
    const int32_t top = layout.caption.Top + kButtonGap;
    const bool tool = captionHeight == kToolCaptionHeight;
    if (controlBox) {
        layout.close = RECT{right - size - 2, top, right, top + size};
        right = layout.close.Left - kButtonGap;
        if (!tool && (maxButton || minButton)) {
            layout.maximize = RECT{right - size - 2, top, right, top + size};
            right = layout.maximize.Left;
            layout.minimize = RECT{right - size - 2, top, right, top + size};
        }
        if (!tool) {
            const int32_t iconTop = layout.caption.Top + (captionHeight - kIconSize) / 2;
            layout.icon = RECT{layout.caption.Left + 2, iconTop,
                               layout.caption.Left + 2 + kIconSize, iconTop + kIconSize};
        }
    }
    return layout;
}

POINT Form::ClientOrigin() const {
    const RECT client = Layout().client;
    return POINT{client.Left, client.Top};
}

int32_t Form::ClientWidthPixels() const {
    const RECT c = Layout().client;
    return c.Right - c.Left;
}

int32_t Form::ClientHeightPixels() const {
    const RECT c = Layout().client;
    return c.Bottom - c.Top;
}

void Form::SetClientSizePixels(int32_t width, int32_t height) {
    const FrameLayout layout = Layout();
    // Sizes of the frame alone, for the border style now in force; the
    // whole stays within what a window may be.
    const int32_t fx = 2 * layout.border;
    const int32_t fy = 2 * layout.border + CaptionHeight();
    const int32_t w = std::clamp(width, 0, kMaxWindowSide - fx) + fx;
    const int32_t h = std::clamp(height, 0, kMaxWindowSide - fy) + fy;
    if (window == 0) {
        initialRect.Right = initialRect.Left + w;
        initialRect.Bottom = initialRect.Top + h;
        return;
    }
    SetWindowPos(window, 0, 0, 0, w, h, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

float Form::Left() const {
    RECT r = initialRect;
    if (window != 0) {
        GetWindowRect(window, r);
    }
    return static_cast<float>(r.Left * Screen::TwipsPerPixelX);
}

float Form::Top() const {
    RECT r = initialRect;
    if (window != 0) {
        GetWindowRect(window, r);
    }
    return static_cast<float>(r.Top * Screen::TwipsPerPixelY);
}

float Form::Width() const {
    RECT r = initialRect;
    if (window != 0) {
        GetWindowRect(window, r);
    }
    return static_cast<float>((r.Right - r.Left) * Screen::TwipsPerPixelX);
}

float Form::Height() const {
    RECT r = initialRect;
    if (window != 0) {
        GetWindowRect(window, r);
    }
    return static_cast<float>((r.Bottom - r.Top) * Screen::TwipsPerPixelY);
}

void Form::Move(float left, float top, float width, float height) {
    // Places and sizes are kept within what a window may have, so no
    // stored number can overflow them.
    const auto px = [](double twips, int32_t per) {
        return StoredNumber<int32_t>(
            std::round(std::clamp(twips / per, -static_cast<double>(kMaxWindowCoordinate),
                                  static_cast<double>(kMaxWindowCoordinate))));
    };
    const int32_t x = px(left, Screen::TwipsPerPixelX);
    const int32_t y = px(top, Screen::TwipsPerPixelY);
    const int32_t w = std::clamp(px(width, Screen::TwipsPerPixelX), 0, kMaxWindowSide);
    const int32_t h = std::clamp(px(height, Screen::TwipsPerPixelY), 0, kMaxWindowSide);
    const RECT r{x, y, x + w, y + h};
    if (window == 0) {
        initialRect = r;
        startUpPosition = 0;
        return;
    }
    MoveWindow(window, r.Left, r.Top, r.Right - r.Left, r.Bottom - r.Top, true);
}

float Form::ScaleWidth() const {
    return static_cast<float>(
        ScaleValue(ClientWidthPixels(), ScaleModeConstants::vbPixels, scaleMode, false));
}

float Form::ScaleHeight() const {
    return static_cast<float>(
        ScaleValue(ClientHeightPixels(), ScaleModeConstants::vbPixels, scaleMode, true));
}

float Form::ScaleX(float value, ScaleModeConstants from, ScaleModeConstants to) const {
    return static_cast<float>(ScaleValue(value, from, to, false));
}

float Form::ScaleY(float value, ScaleModeConstants from, ScaleModeConstants to) const {
    return static_cast<float>(ScaleValue(value, from, to, true));
}

void Form::InvalidateWindowless(const RECT& pixels) {
    if (window == 0) {
        return;
    }
    const POINT o = ClientOrigin();
    const RECT r{pixels.Left + o.X, pixels.Top + o.Y, pixels.Right + o.X, pixels.Bottom + o.Y};
    InvalidateRect(window, &r, false);
}

void Form::ControlAdded(Control& control) {
    if (control.hWnd() == 0) {
        return;
    }
    // Which control shows as the default button follows the focus.
    AddWindowHook(control.hWnd(), [this](HWND, uint32_t msg, WPARAM, LPARAM, bool&) -> LRESULT {
        if (msg == WM_SETFOCUS) {
            FocusChanged();
        }
        return 0;
    });
}

void Form::ControlRemoved(Control& control) {
    if (displayedDefault == &control) {
        displayedDefault = nullptr;
    }
    if (mouseOver == &control) {
        mouseOver = nullptr;
    }
}

void Form::Refresh() {
    if (window != 0) {
        RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    }
}

// --- Showing ----------------------------------------------------------------------

void Form::Show(int16_t style, Form* owner) {
    if (!::kelvara::Load(*this)) {
        return;
    }
    const std::weak_ptr<bool> token = alive;
    if (owner != nullptr && owner != this) {
        SetWindowLong(window, GWL_HWNDPARENT, static_cast<intptr_t>(owner->hWnd()));
    }
    if (!everShown) {
        everShown = true;
        RECT r;
        GetWindowRect(window, r);
        const int32_t w = r.Right - r.Left;
        const int32_t h = r.Bottom - r.Top;
        RECT around{0, 0, 0, 0};
        SystemParametersInfo(SPI_GETWORKAREA, 0, &around);
        if (startUpPosition == 1 && owner != nullptr) {
            GetWindowRect(owner->hWnd(), around);
        }
        if (startUpPosition == 1 || startUpPosition == 2) {
            const int32_t x = around.Left + (around.Right - around.Left - w) / 2;
            const int32_t y = around.Top + (around.Bottom - around.Top - h) / 2;
            SetWindowPos(window, 0, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        } else if (startUpPosition == 3) {
            const int32_t at = kCascadeStart + kCascadeStep * (cascade++ % 8);
            SetWindowPos(window, 0, at, at, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        }
    }
    // The controls learn they are shown before the form appears, and the
    // focus goes in after Activate.
    ShowControls(true);
    if (token.expired() || window == 0) {
        return;
    }
    ShowWindow(window, SW_SHOW);
    if (token.expired() || window == 0) {
        return;
    }
    SetActiveWindow(window);
    if (token.expired() || window == 0) {
        return;
    }
    if (ActiveControl() == nullptr) {
        FocusNext(false);
    }
    UpdateWindow(window);
    if (style != vbModal) {
        return;
    }

    // Modal: every other form waits until this one is hidden or unloaded.
    std::vector<HWND> disabled;
    for (Form* other : LoadedForms()) {
        if (other != this && other->window != 0 && IsWindowEnabled(other->window)) {
            EnableWindow(other->window, false);
            disabled.push_back(other->window);
        }
    }
    ++modalDepth;
    MSG msg;
    while (!token.expired() && window != 0 && IsWindowVisible(window)) {
        if (!GetMessage(msg)) {
            if (msg.message == WM_QUIT) {
                // Left for the outer loop.
                PostQuitMessage(static_cast<int32_t>(msg.wParam));
            }
            break;
        }
        TranslateMessage(msg);
        DispatchMessage(msg);
    }
    for (HWND h : disabled) {
        EnableWindow(h, true);
    }
    if (token.expired()) {
        return;
    }
    --modalDepth;
}

void Form::Hide() {
    if (window == 0) {
        return;
    }
    ShowWindow(window, SW_HIDE);
    ShowControls(false);
}

void Form::ShowControls(bool shown) {
    const std::weak_ptr<bool> token = alive;
    // A copy: a handler may add or remove controls.
    std::vector<std::weak_ptr<const bool>> tokens;
    std::vector<UserControl*> targets;
    for (const auto& c : controls) {
        if (auto* uc = dynamic_cast<UserControl*>(c.get()); uc != nullptr && c->Visible()) {
            targets.push_back(uc);
            tokens.push_back(uc->Token());
        }
    }
    for (size_t i = 0; i < targets.size() && !token.expired(); ++i) {
        if (tokens[i].expired()) {
            continue;
        }
        if (shown) {
            targets[i]->RaiseShow();
        } else {
            targets[i]->RaiseHide();
        }
    }
}

// --- Focus ------------------------------------------------------------------------

Control* Form::ActiveControl() const {
    const HWND focus = GetFocus();
    if (focus == 0 || window == 0) {
        return nullptr;
    }
    for (const auto& c : controls) {
        if (c->OwnsWindow(focus)) {
            return c.get();
        }
    }
    // A window inside a control (a part of a user control).
    for (HWND h = GetParent(focus); h != 0 && h != window; h = GetParent(h)) {
        for (const auto& c : controls) {
            if (c->hWnd() == h) {
                return c.get();
            }
        }
    }
    return nullptr;
}

std::vector<Control*> Form::TabOrder() const {
    std::vector<Control*> order;
    for (const auto& c : controls) {
        order.push_back(c.get());
    }
    std::stable_sort(order.begin(), order.end(),
                     [](Control* a, Control* b) { return a->TabIndex() < b->TabIndex(); });
    return order;
}

void Form::FocusNext(bool backwards) {
    std::vector<Control*> order = TabOrder();
    std::erase_if(order, [](Control* c) { return !c->TabStop() || !c->CanTakeFocus(); });
    if (order.empty()) {
        return;
    }
    Control* current = ActiveControl();
    auto it = std::find(order.begin(), order.end(), current);
    size_t next = 0;
    if (it == order.end()) {
        next = backwards ? order.size() - 1 : 0;
    } else {
        const size_t at = static_cast<size_t>(it - order.begin());
        next = backwards ? (at + order.size() - 1) % order.size() : (at + 1) % order.size();
    }
    order[next]->SetFocus();
}

void Form::FocusChanged() {
    UpdateDisplayedDefault();
    const HWND focus = GetFocus();
    if (focus != 0 && focus != window && GetAncestorTop(focus) == window) {
        lastFocus = focus;
    }
}

namespace {

void Collect(ControlCollection& collection, std::vector<Control*>& out) {
    for (const auto& c : collection) {
        out.push_back(c.get());
        if (auto* inner = dynamic_cast<ControlContainer*>(c.get())) {
            Collect(inner->ContainedControls(), out);
        }
    }
}

}  // namespace

std::vector<Control*> Form::AllControls() const {
    std::vector<Control*> all;
    Collect(const_cast<ControlCollection&>(controls), all);
    return all;
}

void Form::UpdateDisplayedDefault() {
    Control* shown = nullptr;
    const std::vector<Control*> all = AllControls();
    // The innermost control that has the focus: it comes last.
    Control* focused = nullptr;
    const HWND focus = GetFocus();
    for (Control* c : all) {
        if (focus != 0 && c->OwnsWindow(focus)) {
            focused = c;
        }
    }
    if (focused != nullptr && focused->CanBeDefault()) {
        shown = focused;
    } else {
        for (Control* c : all) {
            if (c->Default() && c->CanBeDefault()) {
                shown = c;
                break;
            }
        }
    }
    if (shown == displayedDefault) {
        return;
    }
    Control* old = std::exchange(displayedDefault, shown);
    if (old != nullptr) {
        old->OnDisplayAsDefault(false);
    }
    if (shown != nullptr && shown == displayedDefault) {
        shown->OnDisplayAsDefault(true);
    }
}

Control* Form::AccessKeyTarget(char32_t letter) const {
    const std::vector<Control*> order = TabOrder();
    if (order.empty()) {
        return nullptr;
    }
    // The search starts after the focused control, so a letter used twice
    // moves between its owners.
    Control* current = ActiveControl();
    auto it = std::find(order.begin(), order.end(), current);
    const size_t start = it == order.end() ? 0 : static_cast<size_t>(it - order.begin()) + 1;
    const std::string key = ToUtf8(std::u32string(1, letter));
    for (size_t i = 0; i < order.size(); ++i) {
        Control* c = order[(start + i) % order.size()];
        if (c->Visible() && c->Enabled() && c->AccessKeyLetters().find(key) != std::string::npos) {
            return c;
        }
    }
    return nullptr;
}

// --- Keys ---------------------------------------------------------------------------

bool Form::FilterKey(const MSG& msg) {
    if (window == 0 || msg.hwnd == 0 || GetAncestorTop(msg.hwnd) != window) {
        return false;
    }
    const uint32_t m = msg.message;
    const bool keyDown = m == WM_KEYDOWN || m == WM_SYSKEYDOWN;
    const bool keyUp = m == WM_KEYUP || m == WM_SYSKEYUP;
    if (!keyDown && !keyUp && m != WM_CHAR) {
        return false;
    }
    const std::weak_ptr<bool> token = alive;
    if (keyPreview && msg.hwnd != window) {
        int16_t key = 0;
        RaiseKey(m, msg.wParam, key);
        if (token.expired() || key == 0) {
            return true;
        }
    }
    if (!keyDown || mode == FormMode::Design) {
        return false;
    }
    const auto vk = static_cast<int32_t>(msg.wParam);
    const int16_t shift = ShiftKeysDown();
    Control* focused = ActiveControl();
    const bool wanted = focused != nullptr && focused->WantsKey(vk);
    if (vk == VK_TAB && (shift & (vbCtrlMask | vbAltMask)) == 0 && !wanted) {
        FocusNext((shift & vbShiftMask) != 0);
        return true;
    }
    if (vk == VK_RETURN && shift == 0 && !wanted) {
        UpdateDisplayedDefault();
        if (displayedDefault != nullptr && displayedDefault->Enabled() &&
            displayedDefault->Visible()) {
            displayedDefault->OnAccessKey(13);
            return true;
        }
        return false;
    }
    if (vk == VK_ESCAPE && shift == 0 && !wanted) {
        for (Control* c : AllControls()) {
            if (c->Cancel() && c->Enabled() && c->Visible()) {
                c->OnAccessKey(27);
                return true;
            }
        }
        return false;
    }
    if ((shift & vbAltMask) != 0 && (shift & vbCtrlMask) == 0 &&
        ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9'))) {
        const auto letter = static_cast<char32_t>(vk >= 'A' && vk <= 'Z' ? vk - 'A' + 'a' : vk);
        if (Control* target = AccessKeyTarget(letter)) {
            target->OnAccessKey(static_cast<int16_t>(letter));
            return true;
        }
    }
    return false;
}

// --- The window -------------------------------------------------------------------

int32_t Form::NcHit(POINT p) const {
    const FrameLayout layout = Layout();
    RECT outer;
    GetWindowRect(window, outer);
    const int32_t w = outer.Right - outer.Left;
    const int32_t h = outer.Bottom - outer.Top;
    const bool sizable = borderStyle == FormBorderStyle::Sizable ||
                         borderStyle == FormBorderStyle::SizableToolWindow;
    if (sizable && !IsZoomed(window)) {
        const int32_t b = layout.border;
        const int32_t corner = b + kCaptionHeight / 2;
        const bool left = p.X < b;
        const bool right = p.X >= w - b;
        const bool top = p.Y < b;
        const bool bottom = p.Y >= h - b;
        const bool nearLeft = p.X < corner;
        const bool nearRight = p.X >= w - corner;
        const bool nearTop = p.Y < corner;
        const bool nearBottom = p.Y >= h - corner;
        if ((top && nearLeft) || (left && nearTop)) {
            return HTTOPLEFT;
        }
        if ((top && nearRight) || (right && nearTop)) {
            return HTTOPRIGHT;
        }
        if ((bottom && nearLeft) || (left && nearBottom)) {
            return HTBOTTOMLEFT;
        }
        if ((bottom && nearRight) || (right && nearBottom)) {
            return HTBOTTOMRIGHT;
        }
        if (left) {
            return HTLEFT;
        }
        if (right) {
            return HTRIGHT;
        }
        if (top) {
            return HTTOP;
        }
        if (bottom) {
            return HTBOTTOM;
        }
    }
    if (In(layout.close, p)) {
        return HTCLOSE;
    }
    if (In(layout.maximize, p)) {
        return HTMAXBUTTON;
    }
    if (In(layout.minimize, p)) {
        return HTMINBUTTON;
    }
    if (In(layout.caption, p)) {
        return HTCAPTION;
    }
    if (In(layout.client, p)) {
        return HTCLIENT;
    }
    return HTBORDER;
}

LRESULT Form::WindowProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    const std::weak_ptr<bool> token = alive;
    switch (msg) {
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT: {
            PAINTSTRUCT ps;
            Canvas* dc = BeginPaint(hwnd, ps);
            if (dc == nullptr) {
                return 0;
            }
            PaintFrame(*dc);
            surface.ShowImage(*dc);
            if (!surface.AutoRedraw()) {
                Paint();
                if (token.expired()) {
                    return 0;
                }
            }
            PaintWindowless(*dc, ps.rcPaint);
            EndPaint(hwnd, ps);
            return 0;
        }
        case WM_SIZE:
            surface.SetArea(Layout().client, backColor);
            InvalidateRect(hwnd, nullptr, false);
            Resize();
            return 0;
        case WM_ACTIVATE:
            active = LOWORD(wParam) != WA_INACTIVE;
            {
                const RECT bar = Layout().caption;
                InvalidateRect(hwnd, &bar, false);
            }
            if (active) {
                Activate();
            } else {
                Deactivate();
            }
            return 0;
        case WM_SETFOCUS:
            // The form itself got the focus: hand it to the control that
            // had it last, or to the first in the tab order.
            if (lastFocus != 0 && IsWindow(lastFocus) && IsWindowVisible(lastFocus) &&
                IsWindowEnabled(lastFocus) && GetAncestorTop(lastFocus) == window) {
                ::kelvara::SetFocus(lastFocus);
            } else {
                FocusNext(false);
            }
            return 0;
        case WM_CLOSE:
            UnloadForm(vbFormControlMenu);
            return 0;
        case WM_SETCURSOR:
            if (static_cast<HWND>(wParam) == hwnd) {
                POINT p;
                GetCursorPos(p);
                ScreenToClient(hwnd, p);
                if (const int16_t pointer = SizingPointer(NcHit(p)); pointer != vbDefault) {
                    SetCursorShape(pointer);
                    return 1;
                }
            }
            return DefWindowProc(hwnd, msg, wParam, lParam);
        case WM_LBUTTONDOWN:
        case WM_LBUTTONUP:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONUP:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONUP:
        case WM_MOUSEMOVE:
            MouseMessage(msg, wParam, lParam);
            return 0;
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_KEYUP:
        case WM_SYSKEYUP:
        case WM_CHAR:
            // Keys for the form's own window: the filter previews only
            // those of its controls.
            {
                int16_t key = 0;
                RaiseKey(msg, wParam, key);
            }
            return msg == WM_SYSKEYDOWN || msg == WM_SYSKEYUP
                       ? DefWindowProc(hwnd, msg, wParam, lParam)
                       : 0;
        default:
            return DefWindowProc(hwnd, msg, wParam, lParam);
    }
}

void Form::MouseMessage(uint32_t msg, WPARAM wParam, LPARAM lParam) {
    const POINT p{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    const std::weak_ptr<bool> token = alive;
    const FrameLayout layout = Layout();
    const bool pressed = msg == WM_LBUTTONDOWN || msg == WM_LBUTTONDBLCLK;

    // The frame: caption drags, edges size, buttons act when released over
    // them.
    if (GetCapture() != window && !In(layout.client, p)) {
        const int32_t hit = NcHit(p);
        if (msg == WM_LBUTTONDBLCLK && hit == HTCAPTION && maxButton && controlBox &&
            (borderStyle == FormBorderStyle::Sizable)) {
            SendMessage(window, WM_SYSCOMMAND, IsZoomed(window) ? SC_RESTORE : SC_MAXIMIZE, 0);
            return;
        }
        if (msg == WM_LBUTTONDOWN && hit != HTCLOSE && hit != HTMAXBUTTON && hit != HTMINBUTTON &&
            hit != HTBORDER) {
            if (hit != HTCAPTION || !IsZoomed(window)) {
                POINT screen = p;
                ClientToScreen(window, screen);
                SendMessage(window, WM_NCLBUTTONDOWN, static_cast<WPARAM>(hit),
                            MAKELPARAM(screen.X, screen.Y));
            }
            return;
        }
        if (msg == WM_LBUTTONUP) {
            if (hit == HTCLOSE) {
                UnloadForm(vbFormControlMenu);
            } else if (hit == HTMAXBUTTON && maxButton) {
                SendMessage(window, WM_SYSCOMMAND, IsZoomed(window) ? SC_RESTORE : SC_MAXIMIZE, 0);
            } else if (hit == HTMINBUTTON && minButton) {
                SendMessage(window, WM_SYSCOMMAND, SC_MINIMIZE, 0);
            }
        }
        return;
    }

    // The client area: a windowless control under the mouse, or the form.
    const POINT client{p.X - layout.client.Left, p.Y - layout.client.Top};
    int16_t button = ButtonOf(msg);
    int16_t shift = ShiftKeysDown();
    Control* target = mouseOver;
    if (target == nullptr) {
        for (auto it = controls.end(); it != controls.begin();) {
            --it;
            if ((*it)->Windowless() && (*it)->Enabled() && (*it)->HitWindowless(client)) {
                target = it->get();
                break;
            }
        }
    }
    const bool down =
        msg == WM_LBUTTONDOWN || msg == WM_RBUTTONDOWN || msg == WM_MBUTTONDOWN || pressed;
    const bool up = msg == WM_LBUTTONUP || msg == WM_RBUTTONUP || msg == WM_MBUTTONUP;
    if (down) {
        SetCapture(window);
        mouseOver = target;
    }
    if (target != nullptr) {
        const RECT& b = target->Bounds();
        target->OnWindowlessMouse(msg, button, shift, POINT{client.X - b.Left, client.Y - b.Top});
    } else {
        float x = static_cast<float>(
            ScaleValue(client.X, ScaleModeConstants::vbPixels, scaleMode, false));
        float y =
            static_cast<float>(ScaleValue(client.Y, ScaleModeConstants::vbPixels, scaleMode, true));
        if (msg == WM_MOUSEMOVE) {
            int16_t held = ButtonsHeld(wParam);
            MouseMove(held, shift, x, y);
        } else if (msg == WM_LBUTTONDBLCLK) {
            DblClick();
        } else if (down) {
            MouseDown(button, shift, x, y);
        } else if (up) {
            MouseUp(button, shift, x, y);
            if (!token.expired() && In(layout.client, p)) {
                Click();
            }
        }
    }
    if (token.expired()) {
        return;
    }
    if (up && (wParam & (MK_LBUTTON | MK_RBUTTON | MK_MBUTTON)) == 0) {
        mouseOver = nullptr;
        if (GetCapture() == window) {
            ReleaseCapture();
        }
    }
}

// --- Painting -----------------------------------------------------------------------

void Form::PaintFrame(Canvas& dc) const {
    if (borderStyle == FormBorderStyle::None) {
        return;
    }
    const FrameLayout layout = Layout();
    RECT outer;
    GetWindowRect(window, outer);
    const RECT whole{0, 0, outer.Right - outer.Left, outer.Bottom - outer.Top};
    const COLORREF face = GetSysColor(COLOR_BTNFACE);
    // Border: a raised edge, face colour inside.
    dc.FillRect(whole, face);
    dc.FrameRect(whole, GetSysColor(COLOR_3DDKSHADOW));
    const RECT inner{1, 1, whole.Right - 1, whole.Bottom - 1};
    dc.FrameRect(inner, GetSysColor(COLOR_BTNHIGHLIGHT));

    // Caption: a gradient from the caption colour to its light partner.
    const COLORREF from = active ? GetSysColor(2) : GetSysColor(3);
    const COLORREF to = active ? GetSysColor(27) : GetSysColor(28);
    const RECT& cap = layout.caption;
    TRIVERTEX v[2] = {TRIVERTEX{cap.Left, cap.Top, static_cast<uint16_t>((from & 0xFF) << 8),
                                static_cast<uint16_t>(((from >> 8) & 0xFF) << 8),
                                static_cast<uint16_t>(((from >> 16) & 0xFF) << 8), 0},
                      TRIVERTEX{cap.Right, cap.Bottom, static_cast<uint16_t>((to & 0xFF) << 8),
                                static_cast<uint16_t>(((to >> 8) & 0xFF) << 8),
                                static_cast<uint16_t>(((to >> 16) & 0xFF) << 8), 0}};
    GRADIENT_RECT g{0, 1};
    dc.GradientFill(v, 2, &g, 1, GradientMode::GRADIENT_FILL_RECT_H);

    int32_t textLeft = cap.Left + 4;
    if (icon && !icon->Empty() && layout.icon.Right > layout.icon.Left) {
        dc.AlphaBlend(layout.icon.Left, layout.icon.Top, kIconSize, kIconSize, *icon, 0, 0,
                      icon->Width(), icon->Height(), BlendFunction{255, true});
        textLeft = layout.icon.Right + 3;
    }
    dc.Save();
    StdFont captionFont = font;
    captionFont.SetBold(true);
    dc.SelectFont(captionFont);
    dc.SetBkMode(BkMode::TRANSPARENT);
    dc.SetTextColor(active ? GetSysColor(9) : GetSysColor(19));
    int32_t textRight = cap.Right - 2;
    for (const RECT* b : {&layout.minimize, &layout.maximize, &layout.close}) {
        if (b->Right > b->Left) {
            textRight = std::min(textRight, b->Left - 2);
        }
    }
    RECT text{textLeft, cap.Top, textRight, cap.Bottom};
    dc.DrawText(caption, text,
                DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
    dc.Restore();

    // Window buttons: raised faces with their glyphs.
    const auto button = [&](const RECT& r, int32_t kind, bool enabled) {
        if (r.Right <= r.Left) {
            return;
        }
        dc.FillRect(r, face);
        dc.FrameRect(r, GetSysColor(COLOR_3DDKSHADOW));
        dc.FrameRect(RECT{r.Left, r.Top, r.Right - 1, r.Bottom - 1},
                     GetSysColor(COLOR_BTNHIGHLIGHT));
        dc.FillRect(RECT{r.Left + 1, r.Bottom - 2, r.Right - 1, r.Bottom - 1},
                    GetSysColor(COLOR_BTNSHADOW));
        dc.FillRect(RECT{r.Right - 2, r.Top + 1, r.Right - 1, r.Bottom - 1},
                    GetSysColor(COLOR_BTNSHADOW));
        const COLORREF ink = enabled ? GetSysColor(COLOR_BTNTEXT) : GetSysColor(COLOR_GRAYTEXT);
        const int32_t cx = (r.Left + r.Right - 1) / 2;
        const int32_t cy = (r.Top + r.Bottom - 1) / 2;
        switch (kind) {
            case 0:  // minimise: a bar at the bottom
                dc.FillRect(RECT{cx - 4, cy + 2, cx + 3, cy + 4}, ink);
                break;
            case 1:  // maximise or restore: a framed box
                dc.FrameRect(RECT{cx - 4, cy - 4, cx + 5, cy + 4}, ink);
                dc.FillRect(RECT{cx - 4, cy - 4, cx + 5, cy - 2}, ink);
                break;
            default:  // close: a cross
                for (int32_t i = -3; i <= 3; ++i) {
                    dc.FillRect(RECT{cx + i, cy + i, cx + i + 2, cy + i + 1}, ink);
                    dc.FillRect(RECT{cx + i, cy - i, cx + i + 2, cy - i + 1}, ink);
                }
                break;
        }
    };
    button(layout.minimize, 0, minButton);
    button(layout.maximize, 1, maxButton);
    button(layout.close, 2, true);
}

void Form::PaintWindowless(Canvas& dc, const RECT&) {
    const POINT o = ClientOrigin();
    for (const auto& c : controls) {
        if (!c->Windowless() || !c->Visible()) {
            continue;
        }
        dc.Save();
        dc.SetViewportOrgEx(o.X, o.Y);
        const RECT client = Layout().client;
        const Region clip =
            Region::CreateRectRgn(client.Left, client.Top, client.Right, client.Bottom);
        dc.SelectClipRgn(&clip);
        c->OnPaintWindowless(dc);
        dc.Restore();
    }
}

}  // namespace kelvara
