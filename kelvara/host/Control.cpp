#include "kelvara/host/Control.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "kelvara/base/Text.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

// Units per inch of each fixed scale mode; pixels are at 96 per inch.
double UnitsPerInch(ScaleModeConstants mode, bool vertical) {
    switch (mode) {
        case ScaleModeConstants::vbTwips:
            return 1440.0;
        case ScaleModeConstants::vbPoints:
            return 72.0;
        case ScaleModeConstants::vbCharacters:
            // A character cell is 120 twips across and 240 down.
            return vertical ? 6.0 : 12.0;
        case ScaleModeConstants::vbInches:
            return 1.0;
        case ScaleModeConstants::vbMillimeters:
            return 25.4;
        case ScaleModeConstants::vbCentimeters:
            return 2.54;
        case ScaleModeConstants::vbHimetric:
            return 2540.0;
        default:
            return 96.0;
    }
}

std::map<std::string, ControlMaker, std::less<>>& Makers() {
    static std::map<std::string, ControlMaker, std::less<>> makers;
    return makers;
}

std::string LowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return out;
}

}  // namespace

double ScaleValue(double value, ScaleModeConstants from, ScaleModeConstants to, bool vertical) {
    return value * UnitsPerInch(to, vertical) / UnitsPerInch(from, vertical);
}

void RegisterControlType(std::string progId, ControlMaker maker) {
    Makers()[LowerAscii(progId)] = std::move(maker);
}

void RegisterIntrinsicControls();

std::unique_ptr<Control> CreateControl(std::string_view progId) {
    RegisterIntrinsicControls();
    auto& makers = Makers();
    auto it = makers.find(LowerAscii(progId));
    return it == makers.end() ? nullptr : it->second();
}

// --- ControlCollection --------------------------------------------------------

ControlCollection::~ControlCollection() {
    Clear();
}

Control* ControlCollection::Add(std::string_view progId, std::string_view name) {
    std::unique_ptr<Control> control = CreateControl(progId);
    if (!control) {
        return nullptr;
    }
    return AddCreated(std::move(control), name, nullptr, false);
}

Control* ControlCollection::AddCreated(std::unique_ptr<Control> control, std::string_view name,
                                       const PropertyBag* bag, bool visible) {
    if (!control || name.empty() || Item(name) != nullptr) {
        return nullptr;
    }
    Control* c = control.get();
    c->name = std::string(name);
    c->container = &owner;
    c->tabIndex = static_cast<int16_t>(std::count_if(items.begin(), items.end(), [](const auto& o) {
        return (o->ExtenderKeySet() & Control::kTabIndex) != 0;
    }));
    c->visible = visible;
    items.push_back(std::move(control));
    if (bag != nullptr) {
        c->stored = true;
        c->LoadExtender(*bag);
    }
    c->OnSited();
    owner.ControlAdded(*c);
    if (bag != nullptr) {
        c->OnLoad(*bag);
    } else {
        c->OnInitNew();
    }
    c->OnReady();
    c->OnVisibleChanged();
    return c;
}

bool ControlCollection::Remove(std::string_view name) {
    auto it = std::find_if(items.begin(), items.end(), [&](const auto& c) {
        return StrComp(c->Name(), name, CompareMethod::Text) == 0;
    });
    if (it == items.end()) {
        return false;
    }
    std::unique_ptr<Control> gone = std::move(*it);
    items.erase(it);
    const int16_t index = gone->tabIndex;
    for (auto& c : items) {
        if (c->tabIndex > index) {
            --c->tabIndex;
        }
    }
    owner.ControlRemoved(*gone);
    gone->OnTerminate();
    return true;
}

Control* ControlCollection::Item(int32_t index) const {
    return index >= 0 && index < Count() ? items[static_cast<size_t>(index)].get() : nullptr;
}

Control* ControlCollection::Item(std::string_view name) const {
    for (const auto& c : items) {
        if (StrComp(c->Name(), name, CompareMethod::Text) == 0) {
            return c.get();
        }
    }
    return nullptr;
}

void ControlCollection::Clear() {
    while (!items.empty()) {
        std::unique_ptr<Control> gone = std::move(items.back());
        items.pop_back();
        owner.ControlRemoved(*gone);
        gone->OnTerminate();
    }
}

// --- Control ------------------------------------------------------------------

Control::Control(std::string typeName) : typeName(std::move(typeName)) {}

Control::~Control() {
    *alive = false;
}

Form* Control::Parent() const {
    return container == nullptr ? nullptr : container->TopForm();
}

double Control::ToContainer(int32_t pixels, bool vertical) const {
    const ScaleModeConstants mode =
        container == nullptr ? ScaleModeConstants::vbTwips : container->ContainerScaleMode();
    return ScaleValue(pixels, ScaleModeConstants::vbPixels, mode, vertical);
}

int32_t Control::FromContainer(double value, bool vertical) const {
    const ScaleModeConstants mode =
        container == nullptr ? ScaleModeConstants::vbTwips : container->ContainerScaleMode();
    // Far beyond any screen, and never past what a pixel count can hold.
    constexpr double kLimit = 1 << 24;
    const double pixels = ScaleValue(value, mode, ScaleModeConstants::vbPixels, vertical);
    return std::isnan(pixels)
               ? 0
               : static_cast<int32_t>(std::lround(std::clamp(pixels, -kLimit, kLimit)));
}

float Control::Left() const {
    return static_cast<float>(ToContainer(bounds.Left, false));
}
float Control::Top() const {
    return static_cast<float>(ToContainer(bounds.Top, true));
}
float Control::Width() const {
    return static_cast<float>(ToContainer(bounds.Right - bounds.Left, false));
}
float Control::Height() const {
    return static_cast<float>(ToContainer(bounds.Bottom - bounds.Top, true));
}

void Control::SetLeft(float value) {
    Move(value);
}
void Control::SetTop(float value) {
    Move(Left(), value);
}
void Control::SetWidth(float value) {
    Move(Left(), Top(), value);
}
void Control::SetHeight(float value) {
    Move(Left(), Top(), Width(), value);
}

void Control::Move(float left, std::optional<float> top, std::optional<float> width,
                   std::optional<float> height) {
    const int32_t x = FromContainer(left, false);
    const int32_t y = top ? FromContainer(*top, true) : bounds.Top;
    const int32_t w =
        width ? std::max(FromContainer(*width, false), 0) : bounds.Right - bounds.Left;
    const int32_t h =
        height ? std::max(FromContainer(*height, true), 0) : bounds.Bottom - bounds.Top;
    SetBounds(RECT{x, y, x + w, y + h});
}

void Control::SetBounds(const RECT& pixels) {
    const RECT old = bounds;
    bounds = pixels;
    if (container != nullptr && Windowless()) {
        container->InvalidateWindowless(old);
        container->InvalidateWindowless(bounds);
    }
    OnBoundsChanged();
}

void Control::SetVisible(bool value) {
    if (visible == value) {
        return;
    }
    visible = value;
    if (container != nullptr && Windowless()) {
        container->InvalidateWindowless(bounds);
    }
    OnVisibleChanged();
}

void Control::SetEnabled(bool value) {
    enabled = value;
    OnEnabledChanged();
    if (container != nullptr && Windowless()) {
        container->InvalidateWindowless(bounds);
    }
}

void Control::SetTabIndex(int16_t value) {
    if (container == nullptr) {
        tabIndex = std::max<int16_t>(value, 0);
        return;
    }
    ControlCollection* siblings = &container->ContainedControls();
    const auto count = static_cast<int16_t>(siblings->Count());
    value = std::clamp<int16_t>(value, 0, static_cast<int16_t>(count - 1));
    // Take this control out of the sequence, then put it in at `value`.
    for (const auto& c : *siblings) {
        if (c.get() != this && c->tabIndex > tabIndex) {
            --c->tabIndex;
        }
    }
    for (const auto& c : *siblings) {
        if (c.get() != this && c->tabIndex >= value) {
            ++c->tabIndex;
        }
    }
    tabIndex = value;
}

void Control::SetDefault(bool value) {
    if (!CanBeDefault()) {
        return;
    }
    if (value && container != nullptr) {
        if (Form* form = Parent()) {
            for (Control* c : form->AllControls()) {
                c->isDefault = false;
            }
        }
    }
    isDefault = value;
    if (Form* form = Parent()) {
        form->FocusChanged();
    }
}

void Control::SetCancel(bool value) {
    if (!CanBeDefault()) {
        return;
    }
    if (value && container != nullptr) {
        if (Form* form = Parent()) {
            for (Control* c : form->AllControls()) {
                c->isCancel = false;
            }
        }
    }
    isCancel = value;
}

int16_t ShiftKeysDown() {
    int16_t shift = 0;
    if (GetKeyState(VK_SHIFT) < 0) {
        shift |= vbShiftMask;
    }
    if (GetKeyState(VK_CONTROL) < 0) {
        shift |= vbCtrlMask;
    }
    if (GetKeyState(VK_MENU) < 0) {
        shift |= vbAltMask;
    }
    return shift;
}

int16_t ButtonOf(uint32_t msg) {
    switch (msg) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONUP:
        case WM_LBUTTONDBLCLK:
            return vbLeftButton;
        case WM_RBUTTONDOWN:
        case WM_RBUTTONUP:
        case WM_RBUTTONDBLCLK:
            return vbRightButton;
        case WM_MBUTTONDOWN:
        case WM_MBUTTONUP:
        case WM_MBUTTONDBLCLK:
            return vbMiddleButton;
        default:
            return 0;
    }
}

int16_t ButtonsHeld(WPARAM wParam) {
    int16_t held = 0;
    if ((wParam & MK_LBUTTON) != 0) {
        held |= vbLeftButton;
    }
    if ((wParam & MK_RBUTTON) != 0) {
        held |= vbRightButton;
    }
    if ((wParam & MK_MBUTTON) != 0) {
        held |= vbMiddleButton;
    }
    return held;
}

HWND Control::CreateSiteWindow(std::string_view className, WNDPROC proc) {
    const POINT origin = container->ClientOrigin();
    siteWindow =
        CreateWindowEx(0, className, name, WS_CHILD | WS_CLIPSIBLINGS, origin.X + bounds.Left,
                       origin.Y + bounds.Top, bounds.Right - bounds.Left,
                       bounds.Bottom - bounds.Top, container->ContainerWindow(), std::move(proc));
    return siteWindow;
}

void Control::DestroySiteWindow() {
    if (siteWindow != 0) {
        DestroyWindow(std::exchange(siteWindow, 0));
    }
}

void Control::OnBoundsChanged() {
    if (siteWindow == 0) {
        return;
    }
    const POINT origin = container->ClientOrigin();
    MoveWindow(siteWindow, origin.X + bounds.Left, origin.Y + bounds.Top,
               bounds.Right - bounds.Left, bounds.Bottom - bounds.Top, true);
}

void Control::OnVisibleChanged() {
    if (siteWindow != 0) {
        ShowWindow(siteWindow, visible ? SW_SHOWNA : SW_HIDE);
    }
}

void Control::OnEnabledChanged() {
    if (siteWindow != 0) {
        EnableWindow(siteWindow, enabled);
    }
}

void Control::SetFocus() {
    if (hWnd() != 0) {
        ::kelvara::SetFocus(hWnd());
    }
}

void Control::ZOrder(int32_t position) {
    if (hWnd() != 0) {
        SetWindowPos(hWnd(), position == 0 ? HWND_TOP : HWND_BOTTOM, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
    if (container != nullptr && Windowless()) {
        container->InvalidateWindowless(bounds);
    }
}

bool Control::CanTakeFocus() const {
    return hWnd() != 0 && visible && enabled && IsWindowVisible(hWnd()) && IsWindowEnabled(hWnd());
}

void Control::OnAccessKey(int16_t) {
    if (CanTakeFocus()) {
        SetFocus();
    }
}

bool Control::WantsKey(int32_t) const {
    return false;
}

bool Control::OwnsWindow(HWND hwnd) const {
    return hwnd != 0 && hwnd == hWnd();
}

bool Control::HitWindowless(POINT client) const {
    return visible && client.X >= bounds.Left && client.X < bounds.Right &&
           client.Y >= bounds.Top && client.Y < bounds.Bottom;
}

void Control::InvalidateSelf() {
    if (hWnd() != 0) {
        InvalidateRect(hWnd(), nullptr, true);
    } else if (container != nullptr) {
        container->InvalidateWindowless(bounds);
    }
}

void Control::LoadExtender(const PropertyBag& bag) {
    const auto read = [&](std::string_view key, double fallback) {
        return bag.ReadProperty(key, Variant(fallback)).ToDouble().value_or(fallback);
    };
    const int32_t x = FromContainer(read("Left", 0), false);
    const int32_t y = FromContainer(read("Top", 0), true);
    const int32_t w = std::max(FromContainer(read("Width", 0), false), 0);
    const int32_t h = std::max(FromContainer(read("Height", 0), true), 0);
    bounds = RECT{x, y, x + w, y + h};
    tabIndex = std::max<int16_t>(StoredNumber<int16_t>(read("TabIndex", tabIndex)), 0);
    tabStop = bag.ReadProperty("TabStop", Variant(true)).ToBool().value_or(true);
    visible = bag.ReadProperty("Visible", Variant(true)).ToBool().value_or(true);
    tag = bag.ReadProperty("Tag", Variant("")).ToText().value_or("");
    isDefault = bag.ReadProperty("Default", Variant(false)).ToBool().value_or(false);
    isCancel = bag.ReadProperty("Cancel", Variant(false)).ToBool().value_or(false);
}

void Control::SaveTo(PropertyBag& bag) const {
    const auto whole = [](double v) { return static_cast<int32_t>(std::lround(v)); };
    const uint32_t keys = ExtenderKeySet();
    if ((keys & kPosition) != 0) {
        bag.WriteProperty("Left", Variant(whole(ToContainer(bounds.Left, false))), Variant(0));
        bag.WriteProperty("Top", Variant(whole(ToContainer(bounds.Top, true))), Variant(0));
    }
    if ((keys & kSize) != 0) {
        bag.WriteProperty("Width", Variant(whole(ToContainer(bounds.Right - bounds.Left, false))),
                          Variant(0));
        bag.WriteProperty("Height", Variant(whole(ToContainer(bounds.Bottom - bounds.Top, true))),
                          Variant(0));
    }
    if ((keys & kTabIndex) != 0) {
        bag.WriteProperty("TabIndex", Variant(int32_t{tabIndex}), Variant(-1));
    }
    if ((keys & kTabStop) != 0) {
        bag.WriteProperty("TabStop", Variant(tabStop), Variant(true));
    }
    if ((keys & kVisible) != 0) {
        bag.WriteProperty("Visible", Variant(visible), Variant(true));
    }
    if ((keys & kTag) != 0) {
        bag.WriteProperty("Tag", Variant(tag), Variant(""));
    }
    if (CanBeDefault()) {
        bag.WriteProperty("Default", Variant(isDefault), Variant(false));
        bag.WriteProperty("Cancel", Variant(isCancel), Variant(false));
    }
    OnSave(bag);
}

}  // namespace kelvara
