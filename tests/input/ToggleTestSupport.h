#pragma once

// What the check box and option button tests share: a borderless form at
// the screen's corner (so screen and client pixels agree), controls placed
// on it or in a container, their events written down as text, and their
// pixels read back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/input/ToggleControl.h"

namespace kelvara::testing {

using Lines = std::vector<std::string>;

inline std::string Hex(uint32_t c) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", c);
    return text;
}

// A pixel of a persistent image as a COLORREF (0x00BBGGRR).
inline COLORREF PixelAt(const PixelBuffer& image, int32_t x, int32_t y) {
    if (!image.Contains(x, y)) {
        return 0xFFFFFFFF;
    }
    const uint8_t* p = image.Pixel(x, y);
    return static_cast<COLORREF>(p[2]) | static_cast<COLORREF>(p[1]) << 8 |
           static_cast<COLORREF>(p[0]) << 16;
}

// The extender's keys, which every control saves; what is left of a saved
// bag without them is the control's own.
inline std::vector<std::string> OwnKeys(const PropertyBag& bag) {
    static const std::vector<std::string> extender = {"Left",     "Top",     "Width",   "Height",
                                                      "TabIndex", "TabStop", "Visible", "Tag"};
    std::vector<std::string> own;
    for (const std::string& key : bag.Keys()) {
        if (std::find(extender.begin(), extender.end(), key) == extender.end()) {
            own.push_back(key);
        }
    }
    return own;
}

class ToggleTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    std::unique_ptr<Form> form;
    Lines log;

    void SetUp() override { form = MakeForm(FormMode::Run); }

    static std::unique_ptr<Form> MakeForm(FormMode mode) {
        auto made = std::make_unique<Form>("frmTest", mode);
        made->SetBorderStyle(FormBorderStyle::None);
        made->SetStartUpPosition(0);
        made->Move(0, 0, 320 * 15, 240 * 15);
        return made;
    }

    // A new control, as the program adds one: it gets InitProperties.
    template <typename T>
    T* Add(ControlContainer& where, const std::string& name, RECT bounds) {
        T* c = where.ContainedControls().template Add<T>(name);
        c->SetBounds(bounds);
        c->SetVisible(true);
        return c;
    }

    // A control loaded from a bag, as a form file loads one.
    template <typename T>
    T* Load(ControlContainer& where, const std::string& name, const PropertyBag& bag) {
        return static_cast<T*>(
            where.ContainedControls().AddCreated(std::make_unique<T>(), name, &bag, true));
    }

    // Writes down every event of the control; `value` tells its Value at the
    // time of a Click. Moves only when asked, so click tests stay short.
    void Record(ToggleControl& c, std::function<std::string()> value, bool moves = false) {
        const std::string n = c.Name() + ".";
        const auto xy = [](float x, float y) {
            return std::to_string(static_cast<int>(x)) + "," + std::to_string(static_cast<int>(y));
        };
        c.Click.Connect([this, n, value] { log.push_back(n + "Click " + value()); });
        c.DblClick.Connect([this, n] { log.push_back(n + "DblClick"); });
        c.KeyDown.Connect([this, n](int16_t& k, int16_t& s) {
            log.push_back(n + "KeyDown " + std::to_string(k) + " " + std::to_string(s));
        });
        c.KeyPress.Connect(
            [this, n](int16_t& k) { log.push_back(n + "KeyPress " + std::to_string(k)); });
        c.KeyUp.Connect([this, n](int16_t& k, int16_t& s) {
            log.push_back(n + "KeyUp " + std::to_string(k) + " " + std::to_string(s));
        });
        c.MouseDown.Connect([this, n, xy](int16_t& b, int16_t&, float& x, float& y) {
            log.push_back(n + "MouseDown " + std::to_string(b) + " " + xy(x, y));
        });
        c.MouseUp.Connect([this, n, xy](int16_t& b, int16_t&, float& x, float& y) {
            log.push_back(n + "MouseUp " + std::to_string(b) + " " + xy(x, y));
        });
        c.MouseEnter.Connect([this, n] { log.push_back(n + "MouseEnter"); });
        c.MouseExit.Connect([this, n] { log.push_back(n + "MouseExit"); });
        if (moves) {
            c.MouseMove.Connect([this, n, xy](int16_t& b, int16_t&, float& x, float& y) {
                log.push_back(n + "MouseMove " + std::to_string(b) + " " + xy(x, y));
            });
        }
    }

    Lines Take() { return std::exchange(log, {}); }
};

}  // namespace kelvara::testing
