#pragma once

// The small colour routines all painting uses. Colours are the host's
// 0x00BBGGRR; a set high bit (0x80000000 + index) names a system colour.

#include <cstdint>

namespace kelvara {

// The host's RGB rule: red + green × 256 + blue × 65536.
constexpr int32_t RGB(int32_t red, int32_t green, int32_t blue) {
    return (red & 0xFF) | ((green & 0xFF) << 8) | ((blue & 0xFF) << 16);
}

// Adds xShiftValue to each channel, clamped to 0 to 255; the high byte of
// the input is dropped. Negative shifts darken.
int32_t ShiftRGBColor(int32_t xColor, int16_t xShiftValue);

// A colour as a pixel calculation needs it: system colours become their
// value in the classic Windows scheme, plain colours stay. −1 when the
// colour cannot be translated.
int32_t TranslateColor(int32_t Color, int32_t Palette = 0);

}  // namespace kelvara
