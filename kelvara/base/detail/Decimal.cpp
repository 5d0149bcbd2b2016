#include "kelvara/base/detail/Decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace kelvara::detail {

namespace {

int32_t ClampExponent(int64_t exponent) {
    constexpr int64_t lo = std::numeric_limits<int32_t>::min();
    constexpr int64_t hi = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(exponent, lo, hi));
}

void StripTrailingZeros(Decimal& decimal) {
    while (!decimal.digits.empty() && decimal.digits.back() == '0') {
        decimal.digits.pop_back();
    }
    if (decimal.digits.empty()) {
        decimal.exponent = 0;
    }
}

// Keeps the first `kept` digits, rounding half away from zero on the digit
// after them. kept == 0 rounds the whole number against one unit of the
// place just above its first digit.
void RoundAt(Decimal& decimal, int64_t kept) {
    auto& digits = decimal.digits;
    if (kept >= static_cast<int64_t>(digits.size())) {
        return;
    }
    if (kept < 0) {
        digits.clear();
        decimal.exponent = 0;
        return;
    }
    const bool roundUp = digits[static_cast<size_t>(kept)] >= '5';
    digits.resize(static_cast<size_t>(kept));
    if (roundUp) {
        size_t i = digits.size();
        while (i > 0 && digits[i - 1] == '9') {
            digits[--i] = '0';
        }
        if (i == 0) {
            // Every kept digit carried (or none was kept): the number is now
            // one unit of the next place up.
            digits.assign(1, '1');
            decimal.exponent = ClampExponent(int64_t{decimal.exponent} + 1);
        } else {
            ++digits[i - 1];
        }
    }
    StripTrailingZeros(decimal);
}

}  // namespace

Decimal ToDecimal(double value, int32_t significantDigits) {
    Decimal decimal;
    if (value == 0.0 || !std::isfinite(value)) {
        return decimal;
    }
    decimal.negative = value < 0;
    significantDigits = std::clamp(significantDigits, 1, 17);

    // "d.ddde+XX": to_chars rounds correctly, unlike printf on some hosts.
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value),
                                      std::chars_format::scientific, significantDigits - 1);
    const std::string_view text(buffer, static_cast<size_t>(result.ptr - buffer));
    const size_t e = text.find('e');
    for (size_t i = 0; i < e; ++i) {
        if (text[i] != '.') {
            decimal.digits.push_back(text[i]);
        }
    }
    int32_t exponent = 0;
    const char* expBegin = text.data() + e + 1;
    if (*expBegin == '+') {
        ++expBegin;
    }
    std::from_chars(expBegin, text.data() + text.size(), exponent);
    decimal.exponent = exponent;
    StripTrailingZeros(decimal);
    return decimal;
}

void RoundToFraction(Decimal& decimal, int64_t fractionDigits) {
    if (!decimal.IsZero()) {
        RoundAt(decimal, int64_t{decimal.exponent} + 1 + fractionDigits);
    }
}

void RoundToSignificant(Decimal& decimal, int64_t significantDigits) {
    if (!decimal.IsZero()) {
        RoundAt(decimal, significantDigits);
    }
}

void ShiftPoint(Decimal& decimal, int64_t power) {
    if (!decimal.IsZero()) {
        decimal.exponent = ClampExponent(int64_t{decimal.exponent} + power);
    }
}

std::string GeneralText(double value, std::string_view decimalSymbol, LeadingZero leadingZero) {
    // Deliberate: these are the texts the old host printed for values that
    // only arise from arithmetic with its error trapping switched off.
    if (std::isnan(value)) {
        return "-1.#IND";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-1.#INF" : "1.#INF";
    }

    const Decimal decimal = ToDecimal(value);
    if (decimal.IsZero()) {
        return "0";
    }
    const std::string& digits = decimal.digits;
    const int32_t exponent = decimal.exponent;
    std::string text = decimal.negative ? "-" : "";

    if (exponent >= MaxSignificantDigits || exponent < -4) {
        text += digits[0];
        if (digits.size() > 1) {
            text += decimalSymbol;
            text.append(digits, 1);
        }
        text += exponent < 0 ? "E-" : "E+";
        const std::string power = std::to_string(std::abs(exponent));
        if (power.size() < 2) {
            text += '0';
        }
        text += power;
        return text;
    }

    if (exponent >= 0) {
        const size_t integerDigits = static_cast<size_t>(exponent) + 1;
        text.append(digits, 0, std::min(integerDigits, digits.size()));
        if (digits.size() < integerDigits) {
            text.append(integerDigits - digits.size(), '0');
        } else if (digits.size() > integerDigits) {
            text += decimalSymbol;
            text.append(digits, integerDigits);
        }
        return text;
    }

    if (leadingZero == LeadingZero::Keep) {
        text += '0';
    }
    text += decimalSymbol;
    text.append(static_cast<size_t>(-exponent - 1), '0');
    text += digits;
    return text;
}

}  // namespace kelvara::detail
