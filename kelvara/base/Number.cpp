#include "kelvara/base/Number.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "kelvara/base/detail/Decimal.h"

// Reading numbers. Val and CDbl both collect the parts of a number (sign,
// integer digits, fraction digits, exponent) into NumberParts and let
// std::from_chars turn the normalised text into the nearest double, so
// neither depends on the C library's locale.
//
// Quirks kept from the host:
// - "&H" and "&O" numbers up to &HFFFF are 16-bit and those up to
//   &HFFFFFFFF are 32-bit two's complement: "&HFFFF" is -1, "&H10000" is
//   65536. Wider ones overflow.
// - Val never fails: a number too large for a double is +/-infinity, and
//   CInt/CLng then reject it. CDbl reports it as nullopt.

namespace kelvara {

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
// Far beyond any double, yet small enough to add string lengths to.
constexpr int64_t ExponentLimit = 1'000'000'000;

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

int DigitValue(char c) {
    if (IsDigit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return 99;
}

struct RadixNumber {
    uint64_t value = 0;
    size_t length = 0;  // characters read
    bool overflow = false;
};

// text starts after the "&H" or "&O" prefix.
RadixNumber ReadRadix(std::string_view text, int radix) {
    RadixNumber number;
    while (number.length < text.size() && DigitValue(text[number.length]) < radix) {
        if (!number.overflow) {
            number.value = number.value * static_cast<uint64_t>(radix) +
                           static_cast<uint64_t>(DigitValue(text[number.length]));
            number.overflow = number.value > 0xFFFF'FFFFu;
        }
        ++number.length;
    }
    return number;
}

double RadixToDouble(uint64_t value) {
    if (value <= 0xFFFF) {
        return static_cast<int16_t>(static_cast<uint16_t>(value));
    }
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

// The radix if text starts with "&H" or "&O" (either case), otherwise 0.
int RadixPrefix(std::string_view text) {
    if (text.size() < 2 || text[0] != '&') {
        return 0;
    }
    if (text[1] == 'H' || text[1] == 'h') {
        return 16;
    }
    if (text[1] == 'O' || text[1] == 'o') {
        return 8;
    }
    return 0;
}

bool IsExponentLetter(char c) {
    return c == 'E' || c == 'e' || c == 'D' || c == 'd';
}

struct NumberParts {
    bool negative = false;
    std::string integerDigits;
    std::string fractionDigits;
    int64_t exponent = 0;

    bool HasDigits() const { return !integerDigits.empty() || !fractionDigits.empty(); }
};

// Reads exponent digits from text[pos], saturating at ExponentLimit.
// Returns the position after them; pos itself when there are none.
size_t ReadExponentDigits(std::string_view text, size_t pos, int64_t& exponent) {
    exponent = 0;
    while (pos < text.size() && IsDigit(text[pos])) {
        exponent = std::min(exponent * 10 + (text[pos] - '0'), ExponentLimit);
        ++pos;
    }
    return pos;
}

// Reads "[E|D][+|-]digits" at text[pos] into parts. Returns the position
// after it, or pos when there is no complete exponent there.
size_t ReadExponent(std::string_view text, size_t pos, NumberParts& parts) {
    if (pos >= text.size() || !IsExponentLetter(text[pos])) {
        return pos;
    }
    size_t at = pos + 1;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        negative = text[at] == '-';
        ++at;
    }
    int64_t exponent = 0;
    const size_t end = ReadExponentDigits(text, at, exponent);
    if (end == at) {
        return pos;
    }
    parts.exponent = negative ? -exponent : exponent;
    return end;
}

double ToDouble(const NumberParts& parts) {
    std::string text = parts.integerDigits.empty() ? "0" : parts.integerDigits;
    if (!parts.fractionDigits.empty()) {
        text += '.';
        text += parts.fractionDigits;
    }
    text += 'e';
    text += std::to_string(parts.exponent);

    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Out of range either way: decide by the power of ten of the first
        // significant digit.
        const size_t firstInteger = parts.integerDigits.find_first_not_of('0');
        const size_t firstFraction = parts.fractionDigits.find_first_not_of('0');
        int64_t magnitude = 0;
        if (firstInteger != std::string::npos) {
            magnitude = static_cast<int64_t>(parts.integerDigits.size() - firstInteger);
        } else if (firstFraction != std::string::npos) {
            magnitude = -static_cast<int64_t>(firstFraction);
        } else {
            return 0.0;
        }
        value = magnitude + parts.exponent > 0 ? Infinity : 0.0;
    }
    if (value == 0.0) {
        return 0.0;  // never -0: the runtime has no negative zero
    }
    return parts.negative ? -value : value;
}

bool StartsWithAt(std::string_view text, size_t pos, std::string_view what) {
    return !what.empty() && text.substr(pos).starts_with(what);
}

size_t SkipBlanks(std::string_view text, size_t pos) {
    while (pos < text.size() && IsBlank(text[pos])) {
        ++pos;
    }
    return pos;
}

// The things that may stand before or after the digits in CDbl's input,
// each at most once.
struct Decorations {
    bool sign = false;
    bool currency = false;
    bool openParen = false;
    bool closeParen = false;
};

// Reads blanks, a sign, the currency symbol and (before the digits) an
// opening or (after them) a closing parenthesis, in any order.
size_t ReadDecorations(std::string_view text, size_t pos, const Locale& locale, char paren,
                       Decorations& seen, NumberParts& parts) {
    while (true) {
        pos = SkipBlanks(text, pos);
        if (pos >= text.size()) {
            return pos;
        }
        const char c = text[pos];
        if ((c == '+' || c == '-') && !seen.sign) {
            seen.sign = true;
            parts.negative = c == '-';
            ++pos;
        } else if (c == paren && paren == '(' && !seen.openParen) {
            seen.openParen = true;
            ++pos;
        } else if (c == paren && paren == ')' && seen.openParen && !seen.closeParen) {
            seen.closeParen = true;
            ++pos;
        } else if (!seen.currency && StartsWithAt(text, pos, locale.currencySymbol)) {
            seen.currency = true;
            pos += locale.currencySymbol.size();
        } else {
            return pos;
        }
    }
}

std::optional<double> ParseLocaleNumber(std::string_view text, const Locale& locale) {
    NumberParts parts;
    Decorations seen;
    size_t pos = ReadDecorations(text, 0, locale, '(', seen, parts);

    // Group symbols count only between two digits; where they fall is not
    // checked, so "1.2.3" reads as 123 under pt-BR, as the host reads it.
    const std::string& group = locale.groupSymbol;
    const std::string& point = locale.decimalSymbol;
    const bool useGroup = !group.empty() && group != point;
    while (pos < text.size()) {
        if (IsDigit(text[pos])) {
            parts.integerDigits += text[pos++];
        } else if (useGroup && !parts.integerDigits.empty() && StartsWithAt(text, pos, group) &&
                   pos + group.size() < text.size() && IsDigit(text[pos + group.size()])) {
            pos += group.size();
        } else {
            break;
        }
    }
    if (StartsWithAt(text, pos, point)) {
        pos += point.size();
        while (pos < text.size() && IsDigit(text[pos])) {
            parts.fractionDigits += text[pos++];
        }
    }
    if (!parts.HasDigits()) {
        return std::nullopt;
    }
    if (pos < text.size() && IsExponentLetter(text[pos])) {
        const size_t end = ReadExponent(text, pos, parts);
        if (end == pos) {
            return std::nullopt;  // "1E" or "1E+" is no number
        }
        pos = end;
    }

    pos = ReadDecorations(text, pos, locale, ')', seen, parts);
    if (pos != text.size() || seen.openParen != seen.closeParen) {
        return std::nullopt;
    }
    if (seen.openParen) {
        if (seen.sign) {
            return std::nullopt;
        }
        parts.negative = true;
    }
    const double value = ToDouble(parts);
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

double RoundHalfEven(double value) {
    const double floor = std::floor(value);
    const double fraction = value - floor;  // exact for every finite double
    if (fraction > 0.5) {
        return floor + 1;
    }
    if (fraction < 0.5) {
        return floor;
    }
    return std::fmod(floor, 2.0) == 0 ? floor : floor + 1;
}

template <typename Int>
std::optional<Int> RoundToInteger(double value) {
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    const double rounded = RoundHalfEven(value);
    if (rounded < std::numeric_limits<Int>::min() || rounded > std::numeric_limits<Int>::max()) {
        return std::nullopt;
    }
    return static_cast<Int>(rounded);
}

}  // namespace

double Val(std::string_view text) {
    std::string packed;
    packed.reserve(text.size());
    for (const char c : text) {
        if (!IsBlank(c)) {
            packed += c;
        }
    }
    const std::string_view s = packed;

    if (const int radix = RadixPrefix(s)) {
        const RadixNumber number = ReadRadix(s.substr(2), radix);
        return number.overflow ? Infinity : RadixToDouble(number.value);
    }

    NumberParts parts;
    size_t pos = 0;
    if (pos < s.size() && (s[pos] == '+' || s[pos] == '-')) {
        parts.negative = s[pos] == '-';
        ++pos;
    }
    while (pos < s.size() && IsDigit(s[pos])) {
        parts.integerDigits += s[pos++];
    }
    if (pos < s.size() && s[pos] == '.') {
        ++pos;
        while (pos < s.size() && IsDigit(s[pos])) {
            parts.fractionDigits += s[pos++];
        }
    }
    if (!parts.HasDigits()) {
        return 0.0;
    }
    ReadExponent(s, pos, parts);
    return ToDouble(parts);
}

std::optional<double> CDbl(std::string_view text, const Locale& locale) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && IsBlank(text[begin])) {
        ++begin;
    }
    while (end > begin && IsBlank(text[end - 1])) {
        --end;
    }
    text = text.substr(begin, end - begin);

    if (const int radix = RadixPrefix(text)) {
        const RadixNumber number = ReadRadix(text.substr(2), radix);
        if (number.length == 0 || number.length != text.size() - 2 || number.overflow) {
            return std::nullopt;
        }
        return RadixToDouble(number.value);
    }
    return ParseLocaleNumber(text, locale);
}

bool IsNumeric(std::string_view text, const Locale& locale) {
    return CDbl(text, locale).has_value();
}

std::optional<int16_t> CInt(double value) {
    return RoundToInteger<int16_t>(value);
}

std::optional<int32_t> CLng(double value) {
    return RoundToInteger<int32_t>(value);
}

std::optional<int16_t> CInt(std::string_view text, const Locale& locale) {
    const std::optional<double> value = CDbl(text, locale);
    return value ? CInt(*value) : std::nullopt;
}

std::optional<int32_t> CLng(std::string_view text, const Locale& locale) {
    const std::optional<double> value = CDbl(text, locale);
    return value ? CLng(*value) : std::nullopt;
}

double Round(double value, int32_t decimals) {
    if (!std::isfinite(value)) {
        return value;
    }
    const double scale = std::pow(10.0, std::max(decimals, 0));
    const double scaled = value * scale;
    if (!std::isfinite(scaled) || std::fabs(scaled) >= 0x1p52) {
        return value;  // already whole at that scale
    }
    // Deliberate: the tie is judged on the exact product, as the host's
    // wider arithmetic did. 2.675 is stored a little below itself, so
    // Round(2.675, 2) is 2.67, though 2.675 x 100 rounds to 267.5 in double.
    // scaled + error is the exact product (scale is exact up to 10^22).
    const double error = std::fma(value, scale, -scaled);
    const double floor = std::floor(scaled);
    if (scaled - floor == 0.5 && error != 0) {
        return (error < 0 ? floor : floor + 1) / scale;
    }
    return RoundHalfEven(scaled) / scale;
}

double Int(double value) {
    return std::floor(value);
}

double Fix(double value) {
    return std::trunc(value);
}

std::string Str(double value) {
    std::string text = detail::GeneralText(value, ".", detail::LeadingZero::Omit);
    if (text[0] != '-') {
        text.insert(text.begin(), ' ');
    }
    return text;
}

std::string CStr(double value, const Locale& locale) {
    return detail::GeneralText(value, locale.decimalSymbol, detail::LeadingZero::Keep);
}

}  // namespace kelvara
