#include "kelvara/input/USCheckBox.h"

#include "kelvara/input/detail/Glyphs.h"

namespace kelvara {

namespace {

const bool registered = [] {
    RegisterControlType("KelvaraEx.USCheckBox", [] { return std::make_unique<USCheckBox>(); });
    return true;
}();

}  // namespace

USCheckBox::USCheckBox() : ToggleControl("KelvaraEx.USCheckBox") {
    (void)registered;
}

void USCheckBox::SetValue(int16_t newValue) {
    if (newValue < vbUnchecked || newValue > vbGrayed) {
        return;
    }
    value = newValue;
    PropertyChanged("Value");
    ValueChanged();
}

void USCheckBox::Toggle() {
    SetValue(value == vbChecked ? vbUnchecked : vbChecked);
    RaiseClick();
}

void USCheckBox::PaintGlyph(Canvas& dc, int32_t x, int32_t y, int32_t look) {
    const detail::CheckMark mark = value == vbChecked  ? detail::CheckMark::Checked
                                   : value == vbGrayed ? detail::CheckMark::Mixed
                                                       : detail::CheckMark::None;
    detail::PaintCheckGlyph(dc, x, y, detail::GlyphColorsFor(Theme(), look), mark);
}

void USCheckBox::ReadValue(const PropertyBag& bag) {
    const double stored = bag.ReadProperty("Value", Variant(int32_t{0})).ToDouble().value_or(0);
    // A damaged bag gives the nearest value the box can show.
    value = stored <= 0 ? vbUnchecked : stored >= 2 ? vbGrayed : StoredNumber<int16_t>(stored);
}

void USCheckBox::WriteValue(PropertyBag& bag) const {
    bag.WriteProperty("Value", Variant(int32_t{value}), Variant(int32_t{0}));
}

}  // namespace kelvara
