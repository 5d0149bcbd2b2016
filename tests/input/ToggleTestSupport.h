#pragma once

// What the check box and option button tests share: a borderless form at
// the screen's corner (so screen and client pixels agree), controls added
// new or loaded from a bag, their events as text, their pixels.

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

// A pixel of an image as 0xBBGGRR, in hex.
inline std::string PixelAt(const PixelBuffer& image, int32_t x, int32_t y) {
    const uint8_t* p = image.Pixel(x, y);
    return Hex(uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16);
}

// A saved bag's keys less the extender's, which every control saves.
inline Lines OwnKeys(const PropertyBag& bag) {
    const Lines extender = {"Left", "Top", "Width", "Height", "TabIndex", "TabStop", "Visible"};
    Lines own = bag.Keys();
    std::erase_if(own, [&](const std::string& k) {
        return std::find(extender.begin(), extender.end(), k) != extender.end();
    });
    return own;
}

class ToggleTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    std::unique_ptr<Form> form = MakeForm();
    Lines log;

    static std::unique_ptr<Form> MakeForm() {
        auto made = std::make_unique<Form>("frmTest");
        made->SetBorderStyle(FormBorderStyle::None);
        made->SetStartUpPosition(0);
        made->Move(0, 0, 320 * 15, 240 * 15);
        return made;
    }

    // A new control, as a program adds one (InitProperties).
    template <typename T>
    T* Add(ControlContainer& where, const std::string& name, RECT bounds) {
        T* c = where.ContainedControls().template Add<T>(name);
        c->SetBounds(bounds);
        c->SetVisible(true);
        return c;
    }
    // A stored control, as a form file loads one (ReadProperties).
    template <typename T>
    T* Load(ControlContainer& where, const std::string& name, const PropertyBag& bag) {
        return static_cast<T*>(
            where.ContainedControls().AddCreated(std::make_unique<T>(), name, &bag, true));
    }

    // Writes down the control's events; `value` gives its Value for Click.
    void Record(ToggleControl& c, std::function<std::string()> value, bool moves = false) {
        const std::string n = c.Name() + ".";
        const auto key = [this, n](const char* what) {
            return [this, n, what](int16_t& k, int16_t& s) {
                log.push_back(n + what + std::to_string(k) + " " + std::to_string(s));
            };
        };
        const auto mouse = [this, n](const char* what) {
            return [this, n, what](int16_t& b, int16_t&, float& x, float& y) {
                log.push_back(n + what + std::to_string(b) + " " + std::to_string(int(x)) + "," +
                              std::to_string(int(y)));
            };
        };
        c.Click.Connect([this, n, value] { log.push_back(n + "Click " + value()); });
        c.DblClick.Connect([this, n] { log.push_back(n + "DblClick"); });
        c.KeyDown.Connect(key("KeyDown "));
        c.KeyUp.Connect(key("KeyUp "));
        c.KeyPress.Connect(
            [this, n](int16_t& k) { log.push_back(n + "KeyPress " + std::to_string(k)); });
        c.MouseDown.Connect(mouse("MouseDown "));
        c.MouseUp.Connect(mouse("MouseUp "));
        if (moves) {
            c.MouseMove.Connect(mouse("MouseMove "));
        }
        c.MouseEnter.Connect([this, n] { log.push_back(n + "MouseEnter"); });
        c.MouseExit.Connect([this, n] { log.push_back(n + "MouseExit"); });
    }

    Lines Take() { return std::exchange(log, {}); }
};

}  // namespace kelvara::testing
