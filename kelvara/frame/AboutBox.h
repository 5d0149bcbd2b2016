#pragma once

// The library's about box: a small modal form with the library's name,
// version and purpose, shown by every control's About member. It closes
// with Return, Escape, a click on it or its close button.

#include <string_view>

namespace kelvara {

inline constexpr std::string_view kKelvaraVersion = "0.1.0";

// Shows the box and returns when it is closed; `control` names the control
// that asked (its type name), shown in the title.
void ShowAboutBox(std::string_view control);

}  // namespace kelvara
