#pragma once

// A double as the runtime shows it: at most 15 significant decimal digits.
// Str, CStr and Format() all start from this form, so 0.1 + 0.2 reads as 0.3
// everywhere and rounding in Format() works on the digits a user sees.

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvara::detail {

// Fifteen digits always survive text -> double -> text unchanged.
inline constexpr int32_t MaxSignificantDigits = 15;

// value = sign x d1.d2d3... x 10^exponent.
struct Decimal {
    std::string digits;  // '0'..'9', no leading or trailing zeros; empty for zero
    int32_t exponent = 0;
    bool negative = false;

    bool IsZero() const { return digits.empty(); }
};

// value (finite) correctly rounded to significantDigits (1..17) digits.
// Negative zero gives a zero that is not negative.
Decimal ToDecimal(double value, int32_t significantDigits = MaxSignificantDigits);

// Both round half away from zero; a carry out of the top digit raises the
// exponent (9.96 to one decimal is 10.0).
void RoundToFraction(Decimal& decimal, int64_t fractionDigits);
void RoundToSignificant(Decimal& decimal, int64_t significantDigits);

// Multiplies by 10^power; exact, since only the exponent moves.
void ShiftPoint(Decimal& decimal, int64_t power);

enum class LeadingZero { Omit, Keep };

// The runtime's general number text: plain digits while the decimal exponent
// is in [-4, 15), otherwise "d.dddE+XX" with at least two exponent digits.
// Infinities and NaN print as the old host's C runtime printed them.
std::string GeneralText(double value, std::string_view decimalSymbol, LeadingZero leadingZero);

}  // namespace kelvara::detail
