#pragma once

// The runtime's Format(): patterns and named formats for numbers, dates and
// text, under a locale.
//
// Numbers: 0 # , . % E+ E- literal text ("quoted", \x, and other characters)
// and up to four sections: positive;negative;zero;null. A "," right before
// the decimal point (or at the end) divides by 1000. Named: "General Number",
// "Currency", "Fixed", "Standard", "Percent", "Scientific", "Yes/No",
// "True/False", "On/Off". Rounding is half away from zero on the shortest
// decimal form of the value (at most 15 significant digits).
//
// Dates: d dd ddd dddd ddddd dddddd w ww m mm mmm mmmm q y yy yyyy h hh n nn
// s ss ttttt AM/PM am/pm A/P a/p AMPM, "/" and ":" as the locale's
// separators; letters in either case ("DD/MM/YYYY"). An "m" right after an
// "h" means minutes. Named: "General Date", "Long Date", "Medium Date",
// "Short Date", "Long Time", "Medium Time", "Short Time".
//
// A number formatted with a date pattern is taken as a date serial; a date
// with a number pattern is formatted as its serial.

#include <string>
#include <string_view>

#include "kelvara/base/Date.h"
#include "kelvara/base/Locale.h"

namespace kelvara {

class Variant;

std::string Format(double value, std::string_view pattern = {},
                   const Locale& locale = Locale::Current());
std::string Format(Date value, std::string_view pattern = {},
                   const Locale& locale = Locale::Current());
// Text is formatted as a number when it is numeric, as a date when it is a
// date, and otherwise returned as it is.
std::string Format(std::string_view text, std::string_view pattern = {},
                   const Locale& locale = Locale::Current());
std::string Format(const Variant& value, std::string_view pattern = {},
                   const Locale& locale = Locale::Current());

// True when pattern is a named date format or holds date or time letters
// outside quotes, that is when a number given to it is read as a date.
bool IsDatePattern(std::string_view pattern);

}  // namespace kelvara
