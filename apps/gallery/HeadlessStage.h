#pragma once

// The gallery on the headless desktop: input given by the program, a clock
// that moves when told, pictures composed in memory.

#include "Stage.h"
#include "kelvara/backends/headless/HeadlessDesktop.h"

namespace kelvara::gallery {

class HeadlessStage final : public Stage {
public:
    void MouseMove(int32_t x, int32_t y) override { desktop.MouseMove(x, y); }
    void MouseDown() override { desktop.MouseDown(); }
    void MouseUp() override { desktop.MouseUp(); }
    void Key(int32_t vk, int32_t shift) override { desktop.Key(vk, shift); }
    void Type(std::string_view text) override { desktop.Type(text); }
    void Wait(uint32_t ms) override { desktop.AdvanceTime(ms); }
    bool Capture(Form& form, API32bppDIB& out) override {
        desktop.Pump();
        return desktop.Screenshot(form.hWnd(), out);
    }

private:
    HeadlessDesktop desktop;
};

}  // namespace kelvara::gallery
