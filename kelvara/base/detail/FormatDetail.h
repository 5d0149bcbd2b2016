#pragma once

// What the Format() front end dispatches to; see Format.h for the syntax.

#include <string>
#include <string_view>

#include "kelvara/base/Date.h"
#include "kelvara/base/Locale.h"

namespace kelvara::detail {

// value with a number pattern or a named number format; an empty pattern
// gives the value's plain text (CStr).
std::string FormatNumber(double value, std::string_view pattern, const Locale& locale);

// value with a date pattern or a named date format; an empty pattern gives
// the general date form.
std::string FormatDate(Date value, std::string_view pattern, const Locale& locale);

}  // namespace kelvara::detail
