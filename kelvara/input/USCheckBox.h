#pragma once

// USCheckBox: a check box with a themed 13 × 13 glyph beside its caption.
// Value is 0 unchecked, 1 checked or 2 grayed (a mixed state, set by code:
// "some of these"). The user's click turns a checked box off and any other
// on, so a grayed "select all" box selects all when clicked. Everything
// else — caption, keys, looks, events — is ToggleControl's.

#include <cstdint>

#include "kelvara/input/ToggleControl.h"

namespace kelvara {

inline constexpr int16_t vbUnchecked = 0;
inline constexpr int16_t vbChecked = 1;
inline constexpr int16_t vbGrayed = 2;

class USCheckBox : public ToggleControl {
public:
    USCheckBox();

    // A value outside 0 to 2 is not taken: Value keeps what it had.
    int16_t Value() const { return value; }
    void SetValue(int16_t newValue);

protected:
    void Toggle() override;
    void PaintGlyph(Canvas& dc, int32_t x, int32_t y, int32_t look) override;
    void ReadValue(const PropertyBag& bag) override;
    void WriteValue(PropertyBag& bag) const override;

private:
    int16_t value = vbUnchecked;
};

}  // namespace kelvara
