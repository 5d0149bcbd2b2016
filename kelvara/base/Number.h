#pragma once

// Numbers the way the host runtime reads and writes them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kelvara/base/Locale.h"

namespace kelvara {

// The numeric prefix of text, locale-free: blanks, tabs and line feeds are
// skipped anywhere, then an optional sign, digits, "." and an exponent
// (E or D); "&H" and "&O" read hexadecimal and octal. No number gives 0.
double Val(std::string_view text);

// Text to number under the locale: blanks around, a sign in front or behind,
// parentheses for negatives, group symbols between digits, the currency
// symbol, an exponent, "&H"/"&O". nullopt is the runtime's "Type mismatch".
std::optional<double> CDbl(std::string_view text, const Locale& locale = Locale::Current());
bool IsNumeric(std::string_view text, const Locale& locale = Locale::Current());

// Conversions that round half to even and report overflow as nullopt.
std::optional<int16_t> CInt(double value);
std::optional<int32_t> CLng(double value);
std::optional<int16_t> CInt(std::string_view text, const Locale& locale = Locale::Current());
std::optional<int32_t> CLng(std::string_view text, const Locale& locale = Locale::Current());

// Round to decimals places, half to even on value x 10^decimals.
double Round(double value, int32_t decimals = 0);
// Int rounds towards minus infinity, Fix towards zero.
double Int(double value);
double Fix(double value);

// Locale-free text with up to 15 significant digits, no leading zero before
// the point and a blank in front of non-negative numbers: " 12", " .25", "-.5".
std::string Str(double value);
// The same digits under the locale, with a leading zero and no blank: "0,25".
std::string CStr(double value, const Locale& locale = Locale::Current());

}  // namespace kelvara
