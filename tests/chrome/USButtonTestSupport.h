#pragma once

// What the button tests share: a running form on the headless desktop at
// the screen's top left corner (so form and screen pixels agree), buttons
// made new or from a bag, and pixels read as 0x00BBGGRR colours.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/chrome/USButton.h"
#include "kelvara/host/Form.h"

namespace kelvara::test {

// A pixel of an image as the host writes colours: red in the low byte.
inline OLE_COLOR PixelAt(const PixelBuffer& image, int32_t x, int32_t y) {
    if (x < 0 || y < 0 || x >= image.Width() || y >= image.Height()) {
        return 0xFFFFFFFF;
    }
    const uint8_t* p = image.Row(y) + static_cast<size_t>(x) * 4;
    return static_cast<OLE_COLOR>(p[2] | (p[1] << 8) | (p[0] << 16));
}

inline std::string Hex(OLE_COLOR c) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", c);
    return text;
}

class ButtonTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    std::unique_ptr<Form> form;

    void SetUp() override { form = MakeForm(FormMode::Run); }

    static std::unique_ptr<Form> MakeForm(FormMode mode) {
        auto made = std::make_unique<Form>("frmTest", mode);
        made->SetBorderStyle(FormBorderStyle::None);
        made->SetStartUpPosition(0);
        made->Move(0, 0, 400 * 15, 300 * 15);
        return made;
    }

    // A button read from a bag (as from a form file), placed at `where`.
    USButton* AddStored(const std::string& name, const PropertyBag& bag, RECT where,
                        Form* on = nullptr) {
        Form& target = on != nullptr ? *on : *form;
        auto* b = static_cast<USButton*>(
            target.Controls().AddCreated(std::make_unique<USButton>(), name, &bag, true));
        b->SetBounds(where);
        return b;
    }
    // A button made new, as dropped on a form or made by code.
    USButton* AddNew(const std::string& name, RECT where, Form* on = nullptr) {
        Form& target = on != nullptr ? *on : *form;
        auto* b = static_cast<USButton*>(
            target.Controls().AddCreated(std::make_unique<USButton>(), name, nullptr, true));
        b->SetBounds(where);
        return b;
    }

    // The button's own stored keys, without the form's (place, tab order).
    static PropertyBag Saved(const USButton& button) {
        PropertyBag all;
        button.SaveTo(all);
        static const std::vector<std::string> extender = {
            "Left",    "Top",     "Width", "Height",  "TabIndex",
            "TabStop", "Visible", "Tag",   "Default", "Cancel"};
        PropertyBag own;
        for (const std::string& key : all.Keys()) {
            if (std::find(extender.begin(), extender.end(), key) != extender.end()) {
                continue;
            }
            if (const PropertyBag* inner = all.ReadBag(key)) {
                own.WriteBag(key, *inner);
            } else {
                own.WriteProperty(key, all.ReadProperty(key, Variant()), Variant());
            }
        }
        return own;
    }
};

}  // namespace kelvara::test
