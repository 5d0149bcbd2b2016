#include "kelvara/grid/detail/TextRules.h"

#include <algorithm>

#include "kelvara/base/Date.h"
#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"

namespace kelvara::detail {

namespace {

bool IsAsciiDigit(char32_t c) {
    return c >= U'0' && c <= U'9';
}

// "-123,45" and the like, read without the general parser: an optional
// minus, at most 15 digits, and the locale's one-character decimal symbol.
// Fifteen digits fit a double exactly and so does 10^k up to 10^22, so the
// one division rounds exactly as the parser does. Anything else (blanks,
// group symbols, exponents, signs behind) goes the long way.
std::optional<double> PlainNumber(std::string_view text, char decimal) {
    size_t at = 0;
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) {
        ++at;
    }
    uint64_t mantissa = 0;
    int digits = 0;
    int fraction = -1;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (c >= '0' && c <= '9') {
            if (++digits > 15) {
                return std::nullopt;
            }
            mantissa = mantissa * 10 + static_cast<uint64_t>(c - '0');
            if (fraction >= 0) {
                ++fraction;
            }
        } else if (c == decimal && fraction < 0 && digits > 0) {
            fraction = 0;
        } else {
            return std::nullopt;
        }
    }
    if (digits == 0 || fraction == 0) {
        return std::nullopt;
    }
    static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    double value = static_cast<double>(mantissa);
    if (fraction > 0) {
        value /= kPowers[fraction];
    }
    return negative ? -value : value;
}

}  // namespace

double TextToNumber(std::string_view text) {
    if (text.empty()) {
        return 0.0;
    }
    const Locale& locale = Locale::Current();
    if (locale.decimalSymbol.size() == 1) {
        if (const auto plain = PlainNumber(text, locale.decimalSymbol[0])) {
            return *plain;
        }
    }
    if (const auto number = CDbl(text, locale); number && *number > 0) {
        return *number;
    }
    if (text == "True") {
        return 1.0;
    }
    if (text == "False") {
        return 0.0;
    }
    const std::u32string upper = ToUtf32(Trim(UCase(text)));
    std::u32string kept;
    size_t at = 0;
    bool hex = false;
    if (upper.size() >= 2 && upper[0] == U'&' && (upper[1] == U'H' || upper[1] == U'O')) {
        hex = upper[1] == U'H';
        kept = upper.substr(0, 2);
        at = 2;
    }
    // Deliberate: a minus sign counts as a first character that reads as a
    // number, so "-5" comes out as -5 like every other negative number.
    if (at >= upper.size() || !(IsAsciiDigit(upper[at]) || upper[at] == U'-')) {
        return 0.0;
    }
    for (; at < upper.size(); ++at) {
        const char32_t c = upper[at];
        if (IsAsciiDigit(c) || c == U',' || c == U'-' || c == U'.' ||
            (hex && c >= U'A' && c <= U'F')) {
            kept.push_back(c);
        }
    }
    return CDbl(ToUtf8(kept), locale).value_or(0.0);
}

namespace {

// "d/m/yyyy" with day and month of one or two digits and a year of four,
// under a day-first locale: read directly when the day exists in the month.
// Any other text, or a day that does not exist (which the parser may read
// the other way round), goes to the parser.
std::optional<double> PlainDate(std::string_view text, const Locale& locale) {
    if (locale.dateOrder != DateOrder::DayMonthYear || locale.dateSeparator.size() != 1) {
        return std::nullopt;
    }
    const char separator = locale.dateSeparator[0];
    int32_t parts[3] = {0, 0, 0};
    int digits[3] = {0, 0, 0};
    int part = 0;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            if (++digits[part] > 4) {
                return std::nullopt;
            }
            parts[part] = parts[part] * 10 + (c - '0');
        } else if (c == separator && part < 2) {
            ++part;
        } else {
            return std::nullopt;
        }
    }
    if (part != 2 || digits[0] < 1 || digits[0] > 2 || digits[1] < 1 || digits[1] > 2 ||
        digits[2] != 4 || parts[2] < 1000 || parts[1] < 1 || parts[1] > 12 || parts[0] < 1) {
        return std::nullopt;
    }
    const auto date = DateSerial(parts[2], parts[1], parts[0]);
    if (!date || Day(*date) != parts[0]) {
        return std::nullopt;
    }
    return date->Serial();
}

}  // namespace

double DateKey(std::string_view text) {
    if (const auto plain = PlainDate(text, Locale::Current())) {
        return *plain;
    }
    if (const auto date = CDate(text)) {
        return date->Serial();
    }
    return kNoDateKey;
}

std::string Normalise(std::string_view text) {
    if (IsAscii(text)) {
        std::string out(text);
        for (char& c : out) {
            if (c >= 'a' && c <= 'z') {
                c = static_cast<char>(c - 32);
            }
        }
        return out;
    }
    return UCase(RemoveAccents(text));
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace kelvara::detail
