#pragma once

// USOptionButton: one choice of several. The option buttons that share a
// container — the form, or a USGroupBox or any other control holding
// controls — are one group: setting one's Value to True clears the others'.
//
// Keyboard, as in any group of choices: Tab enters a group at its chosen
// button (the others are no Tab stops while one is chosen), and the arrows
// move within the group, choosing the button they land on (with its Click);
// an option button alone in its container moves the focus on with the
// arrows as a check box does. Everything else is ToggleControl's.

#include <cstdint>
#include <vector>

#include "kelvara/input/ToggleControl.h"

namespace kelvara {

class USOptionButton : public ToggleControl {
public:
    USOptionButton();

    bool Value() const { return value; }
    // True clears the other option buttons of the group (each announces
    // its Value); False leaves the group with none chosen.
    void SetValue(bool newValue);

    // The option buttons of this one's group, itself included, in tab
    // order.
    std::vector<USOptionButton*> Group() const;

    bool CanTakeFocus() const override;
    void OnAccessKey(int16_t keyAscii) override;

protected:
    void Toggle() override;
    void PaintGlyph(Canvas& dc, int32_t x, int32_t y, int32_t look) override;
    bool ArrowKey(int16_t keyCode) override;
    void ReadValue(const PropertyBag& bag) override;
    void WriteValue(PropertyBag& bag) const override;

private:
    bool value = false;
};

}  // namespace kelvara
