#include "kelvara/input/USOptionButton.h"

#include <algorithm>

#include "kelvara/input/detail/Glyphs.h"

namespace kelvara {

namespace {

const bool registered = [] {
    RegisterControlType("KelvaraEx.USOptionButton",
                        [] { return std::make_unique<USOptionButton>(); });
    return true;
}();

// What Tab and the arrows may land on, ignoring the group rule.
bool Reachable(const USOptionButton& option) {
    return option.UserControl::CanTakeFocus();
}

}  // namespace

USOptionButton::USOptionButton() : ToggleControl("KelvaraEx.USOptionButton") {
    (void)registered;
}

std::vector<USOptionButton*> USOptionButton::Group() const {
    std::vector<USOptionButton*> group;
    if (Container() == nullptr) {
        group.push_back(const_cast<USOptionButton*>(this));
        return group;
    }
    for (const auto& c : Container()->ContainedControls()) {
        if (auto* option = dynamic_cast<USOptionButton*>(c.get())) {
            group.push_back(option);
        }
    }
    std::stable_sort(group.begin(), group.end(),
                     [](const USOptionButton* a, const USOptionButton* b) {
                         return a->TabIndex() < b->TabIndex();
                     });
    return group;
}

void USOptionButton::SetValue(bool newValue) {
    value = newValue;
    PropertyChanged("Value");
    if (newValue) {
        for (USOptionButton* other : Group()) {
            if (other != this && other->value) {
                other->SetValue(false);
            }
        }
    }
    ValueChanged();
}

void USOptionButton::Toggle() {
    // Choosing the chosen one changes nothing, but it was clicked all the
    // same.
    if (!value) {
        SetValue(true);
    }
    RaiseClick();
}

bool USOptionButton::CanTakeFocus() const {
    if (!Reachable(*this)) {
        return false;
    }
    if (value) {
        return true;
    }
    // Tab passes over the unchosen buttons of a group whose choice it can
    // land on.
    for (const USOptionButton* other : Group()) {
        if (other != this && other->value && other->TabStop() && Reachable(*other)) {
            return false;
        }
    }
    return true;
}

void USOptionButton::OnAccessKey(int16_t keyAscii) {
    // An access key reaches any button of the group, chosen or not.
    if (UserMode() && Enabled() && Reachable(*this)) {
        UserControl::SetFocus();
    }
    ToggleControl::OnAccessKey(keyAscii);
}

bool USOptionButton::ArrowKey(int16_t keyCode) {
    std::vector<USOptionButton*> group = Group();
    std::erase_if(group, [this](USOptionButton* o) { return o != this && !Reachable(*o); });
    if (group.size() < 2) {
        return false;
    }
    const auto at =
        static_cast<size_t>(std::find(group.begin(), group.end(), this) - group.begin());
    const bool back = keyCode == VK_LEFT || keyCode == VK_UP;
    USOptionButton* next = group[(at + (back ? group.size() - 1 : 1)) % group.size()];
    const auto token = next->Token();
    next->UserControl::SetFocus();
    if (!token.expired()) {
        next->Toggle();
    }
    return true;
}

void USOptionButton::PaintGlyph(Canvas& dc, int32_t x, int32_t y, int32_t look) {
    detail::PaintOptionGlyph(dc, x, y, detail::GlyphColorsFor(Theme(), look), value);
}

void USOptionButton::ReadValue(const PropertyBag& bag) {
    value = bag.ReadProperty("Value", Variant(false)).ToBool().value_or(false);
}

void USOptionButton::WriteValue(PropertyBag& bag) const {
    bag.WriteProperty("Value", Variant(value), Variant(false));
}

}  // namespace kelvara
