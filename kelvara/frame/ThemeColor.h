#pragma once

// The themes every control draws from: one palette of 27 colour slots per
// theme, looked up by ThemeColor. Colours are the host's 0x00BBGGRR.

#include <cstdint>

namespace kelvara {

enum class ENUM_THEME : int32_t {
    OfficeThemeBlue = 0,
    OfficeThemeSilver = 1,
    WindowsTheme = 2,
    WindowsThemeGreen = 3,
    WindowsThemeRed = 4,
    WindowsThemeOrange = 5,
    WindowsThemeBlack = 6,
    WindowsThemeLight = 7,
};

enum class ENUM_GRADIENT_COLORS : int32_t {
    TwoColors = 0,
    FourColors = 1,
};

// The palette's slots, by role.
namespace ThemeSlot {
inline constexpr int32_t ForeColor = 0;
inline constexpr int32_t ForeColorDisabled = 1;
inline constexpr int32_t ForeColorPressed = 2;
inline constexpr int32_t ForeColorHot = 3;
inline constexpr int32_t Frame = 4;
inline constexpr int32_t FrameDisabled = 5;
inline constexpr int32_t FramePressed = 6;
inline constexpr int32_t FrameHot = 7;
inline constexpr int32_t Gradient = 8;           // 8 to 11
inline constexpr int32_t GradientDisabled = 12;  // 12 to 15
inline constexpr int32_t GradientPressed = 16;   // 16 to 19
inline constexpr int32_t GradientHot = 20;       // 20 to 23
inline constexpr int32_t ListBack = 24;
inline constexpr int32_t Selection1 = 25;
inline constexpr int32_t Selection2 = 26;
inline constexpr int32_t Count = 27;
}  // namespace ThemeSlot

// The colour of a slot in a theme; 0 for a theme outside 0 to 7 or a slot
// outside 0 to 26.
int32_t ThemeColor(ENUM_THEME theme, int32_t slot);

}  // namespace kelvara
