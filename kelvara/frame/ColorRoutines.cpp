#include "kelvara/frame/ColorRoutines.h"

#include <algorithm>

#include "kelvara/host/WindowCore.h"

namespace kelvara {

int32_t ShiftRGBColor(int32_t xColor, int16_t xShiftValue) {
    auto shift = [&](int32_t channel) { return std::clamp(channel + xShiftValue, 0, 255); };
    return RGB(shift(xColor & 0xFF), shift((xColor >> 8) & 0xFF), shift((xColor >> 16) & 0xFF));
}

int32_t TranslateColor(int32_t Color, int32_t Palette) {
    (void)Palette;  // palettes are a thing of 256-colour screens
    const uint32_t value = static_cast<uint32_t>(Color);
    switch (value >> 24) {
        case 0x00:  // a plain colour
        case 0x02:  // a palette-relative colour: its RGB part
            return static_cast<int32_t>(value & 0xFFFFFF);
        case 0x80: {
            const uint32_t index = value & 0xFFFFFF;
            return index < kSystemColorCount ? static_cast<int32_t>(GetSysColor(index)) : -1;
        }
        default:
            return -1;
    }
}

}  // namespace kelvara
