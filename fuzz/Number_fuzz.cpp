// Arbitrary text through the number readers and Format().
//
// Input: "value text\npattern". The first line is read by Val and CDbl in
// both locales; the rest is a Format() pattern for the value Val found.
// Traps (abort) when one of these breaks:
// - Val never gives NaN; CDbl gives nullopt or a finite number, and
//   IsNumeric agrees with it.
// - CInt/CLng of text equal CInt/CLng of CDbl's number and lie within 1/2.
// - CStr of a finite number reads back through CDbl to the same text, and
//   Str reads back through Val to the same number.
// - Format() output grows at most linearly with the pattern.
// - "0" prints a whole number below 10^15 exactly as CStr does, and
//   "#,##0.00;(#,##0.00)" reads back through CDbl to within half a cent.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "kelvara/base/Number.h"
#include "kelvara/base/detail/FormatDetail.h"

#include "FuzzInput.h"

namespace {

using namespace kelvara;

using kelvara::fuzz::Check;

void CheckText(std::string_view text, const Locale& locale) {
    const std::optional<double> value = CDbl(text, locale);
    Check(IsNumeric(text, locale) == value.has_value());
    if (!value) {
        Check(!CInt(text, locale) && !CLng(text, locale));
        return;
    }
    Check(std::isfinite(*value));
    const std::optional<int16_t> i = CInt(text, locale);
    Check(i == CInt(*value));
    if (i) {
        Check(std::fabs(*i - *value) <= 0.5);
    }
    const std::optional<int32_t> l = CLng(text, locale);
    Check(l == CLng(*value));
    if (l) {
        Check(std::fabs(*l - *value) <= 0.5);
    }
}

void CheckRoundTrip(double value, const Locale& locale) {
    const std::string text = CStr(value, locale);
    const std::optional<double> back = CDbl(text, locale);
    Check(back.has_value());
    Check(CStr(*back, locale) == text);
    Check(Val(Str(value)) == *back);
}

void CheckFormat(double value, std::string_view pattern, const Locale& locale) {
    const std::string text = detail::FormatNumber(value, pattern, locale);
    Check(text.size() <= 2 * pattern.size() + 1024);
    if (!std::isfinite(value)) {
        return;
    }
    if (value == std::trunc(value) && std::fabs(value) < 1e15) {
        Check(detail::FormatNumber(value, "0", locale) == CStr(value, locale));
    }
    if (std::fabs(value) < 1e12) {
        const std::string money = detail::FormatNumber(value, "#,##0.00;(#,##0.00)", locale);
        const std::optional<double> back = CDbl(money, locale);
        Check(back.has_value());
        Check(std::fabs(*back - value) <= 0.005 + 1e-9 * std::fabs(value));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto [valueText, pattern] = kelvara::fuzz::SplitInput(data, size, '\n');

    const double value = Val(valueText);
    Check(!std::isnan(value));
    for (const Locale* locale : {&Locale::PtBR(), &Locale::EnUS()}) {
        CheckText(valueText, *locale);
        if (std::isfinite(value)) {
            CheckRoundTrip(value, *locale);
        }
        CheckFormat(value, pattern, *locale);
    }
    if (std::isfinite(value)) {
        const int32_t decimals = size > 0 ? data[0] % 12 : 0;
        Check(std::isfinite(Round(value, decimals)));
    }
    return 0;
}
