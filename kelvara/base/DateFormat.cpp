// Format() for dates: FormatDate → NamedPattern (named formats become the
// locale's patterns) → FormatPattern → Tokenize → one Append per token. The
// tokens that stand for whole patterns (ddddd, dddddd, ttttt, c) format the
// locale's pattern again, one level deeper.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kelvara/base/Format.h"
#include "kelvara/base/detail/DateDetail.h"
#include "kelvara/base/detail/FormatDetail.h"

namespace kelvara {

namespace {

using detail::DateParts;

enum class TokenKind {
    Literal,
    Day,      // count 1..6: d dd ddd dddd ddddd dddddd
    Weekday,  // w
    WeekOfYear,
    Month,   // count 1..4
    Minute,  // count 1..2, from n or from m after an hour
    Quarter,
    DayOfYear,
    Year,  // count 2 or 4
    Hour,  // count 1..2
    Second,
    LongTime,
    GeneralDate,
    AmPmUpper,  // AM/PM
    AmPmLower,  // am/pm
    APUpper,    // A/P
    APLower,    // a/p
    AmPmLocale,
    DateSeparator,
    TimeSeparator
};

struct Token {
    TokenKind kind = TokenKind::Literal;
    int32_t count = 0;
    std::string_view text;  // for literals, a slice of the pattern
};

struct TokenizedPattern {
    std::vector<Token> tokens;
    bool hasDateTokens = false;
    bool hasPlaceholders = false;  // "0" or "#": a number pattern
    bool twelveHour = false;
};

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) {
            return false;
        }
    }
    return true;
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           EqualsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

size_t RunLength(std::string_view pattern, size_t at, char letter) {
    size_t end = at;
    while (end < pattern.size() && LowerAscii(pattern[end]) == letter) {
        ++end;
    }
    return end - at;
}

// The length of the UTF-8 character that starts at at, so an escaped
// character is kept whole.
size_t CharLength(std::string_view pattern, size_t at) {
    size_t end = at + 1;
    while (end < pattern.size() && (static_cast<unsigned char>(pattern[end]) & 0xC0) == 0x80) {
        ++end;
    }
    return end - at;
}

TokenizedPattern Tokenize(std::string_view pattern) {
    TokenizedPattern out;
    // An "m" or "mm" right after an hour means minutes, even with literal
    // text in between ("h:m", "hh\h mm").
    bool afterHour = false;
    auto emit = [&](TokenKind kind, int32_t count) {
        out.tokens.push_back({kind, count, {}});
        out.hasDateTokens = true;
        afterHour = kind == TokenKind::Hour;
    };
    auto literal = [&](std::string_view text) {
        out.tokens.push_back({TokenKind::Literal, 0, text});
    };

    size_t i = 0;
    while (i < pattern.size()) {
        const char c = pattern[i];
        const char lower = LowerAscii(c);
        const std::string_view rest = pattern.substr(i);
        if (c == '"') {
            const size_t close = pattern.find('"', i + 1);
            const size_t end = close == std::string_view::npos ? pattern.size() : close;
            literal(pattern.substr(i + 1, end - i - 1));
            i = close == std::string_view::npos ? end : end + 1;
        } else if (c == '\\') {
            if (i + 1 < pattern.size()) {
                literal(pattern.substr(i + 1, CharLength(pattern, i + 1)));
                i += 1 + CharLength(pattern, i + 1);
            } else {
                ++i;
            }
        } else if (c == '/') {
            out.tokens.push_back({TokenKind::DateSeparator, 0, {}});
            ++i;
        } else if (c == ':') {
            out.tokens.push_back({TokenKind::TimeSeparator, 0, {}});
            ++i;
        } else if (lower == 'a' && StartsWithIgnoringCase(rest, "am/pm")) {
            emit(c == 'A' ? TokenKind::AmPmUpper : TokenKind::AmPmLower, 0);
            out.twelveHour = true;
            i += 5;
        } else if (lower == 'a' && StartsWithIgnoringCase(rest, "ampm")) {
            emit(TokenKind::AmPmLocale, 0);
            out.twelveHour = true;
            i += 4;
        } else if (lower == 'a' && StartsWithIgnoringCase(rest, "a/p")) {
            emit(c == 'A' ? TokenKind::APUpper : TokenKind::APLower, 0);
            out.twelveHour = true;
            i += 3;
        } else if (lower == 'd') {
            const auto count =
                static_cast<int32_t>(std::min<size_t>(RunLength(pattern, i, 'd'), 6));
            emit(TokenKind::Day, count);
            i += static_cast<size_t>(count);
        } else if (lower == 'w') {
            const bool week = RunLength(pattern, i, 'w') >= 2;
            emit(week ? TokenKind::WeekOfYear : TokenKind::Weekday, 0);
            i += week ? 2 : 1;
        } else if (lower == 'm') {
            const auto count =
                static_cast<int32_t>(std::min<size_t>(RunLength(pattern, i, 'm'), 4));
            emit(afterHour && count <= 2 ? TokenKind::Minute : TokenKind::Month, count);
            i += static_cast<size_t>(count);
        } else if (lower == 'n' || lower == 'h' || lower == 's') {
            const auto count =
                static_cast<int32_t>(std::min<size_t>(RunLength(pattern, i, lower), 2));
            emit(lower == 'n'   ? TokenKind::Minute
                 : lower == 'h' ? TokenKind::Hour
                                : TokenKind::Second,
                 count);
            i += static_cast<size_t>(count);
        } else if (lower == 'q') {
            emit(TokenKind::Quarter, 0);
            ++i;
        } else if (lower == 'y') {
            // "yyy" reads as "yy" and then "y".
            const size_t run = RunLength(pattern, i, 'y');
            const int32_t count = run >= 4 ? 4 : run >= 2 ? 2 : 1;
            emit(count == 1 ? TokenKind::DayOfYear : TokenKind::Year, count);
            i += static_cast<size_t>(count);
        } else if (lower == 't' && RunLength(pattern, i, 't') >= 5) {
            emit(TokenKind::LongTime, 0);
            i += 5;
        } else if (lower == 'c') {
            emit(TokenKind::GeneralDate, 0);
            ++i;
        } else {
            if (c == '0' || c == '#') {
                out.hasPlaceholders = true;
            }
            const size_t length = CharLength(pattern, i);
            literal(pattern.substr(i, length));
            i += length;
        }
    }
    return out;
}

struct NamedFormat {
    std::string_view name;
    std::string Locale::*field;  // nullptr for "General Date"
};

constexpr std::array<NamedFormat, 7> NamedDateFormats = {{
    {"general date", nullptr},
    {"long date", &Locale::longDateFormat},
    {"medium date", &Locale::mediumDateFormat},
    {"short date", &Locale::shortDateFormat},
    {"long time", &Locale::longTimeFormat},
    {"medium time", &Locale::mediumTimeFormat},
    {"short time", &Locale::shortTimeFormat},
}};

constexpr std::array<std::string_view, 9> NamedNumberFormats = {
    "general number", "currency", "fixed",      "standard", "percent",
    "scientific",     "yes/no",   "true/false", "on/off"};

const NamedFormat* FindNamedDateFormat(std::string_view pattern) {
    for (const NamedFormat& named : NamedDateFormats) {
        if (EqualsIgnoringCase(pattern, named.name)) {
            return &named;
        }
    }
    return nullptr;
}

// Deep enough for a locale pattern that names another ("ddddd ttttt");
// a locale whose patterns refer to themselves stops here instead of looping.
constexpr int32_t MaxDepth = 3;

void FormatPattern(const DateParts& parts, std::string_view pattern, const Locale& locale,
                   int32_t depth, std::string& out);

void FormatGeneral(const DateParts& parts, const Locale& locale, int32_t depth, std::string& out) {
    const bool hasTime = parts.hour != 0 || parts.minute != 0 || parts.second != 0;
    if (parts.dayNumber == 0) {
        FormatPattern(parts, locale.longTimeFormat, locale, depth + 1, out);
        return;
    }
    FormatPattern(parts, locale.shortDateFormat, locale, depth + 1, out);
    if (hasTime) {
        out += ' ';
        FormatPattern(parts, locale.longTimeFormat, locale, depth + 1, out);
    }
}

void AppendNumber(int64_t value, int32_t width, std::string& out) {
    const std::string digits = std::to_string(value);
    if (digits.size() < static_cast<size_t>(width)) {
        out.append(static_cast<size_t>(width) - digits.size(), '0');
    }
    out += digits;
}

int32_t WeekOfYear(const DateParts& parts) {
    // Weeks start on Sunday; the week holding 1 January is week 1.
    const int32_t jan1Weekday = (parts.weekday - 1 - (parts.dayOfYear - 1) % 7 + 7) % 7;
    return (parts.dayOfYear - 1 + jan1Weekday) / 7 + 1;
}

void Append(const Token& token, const DateParts& parts, const Locale& locale, bool twelveHour,
            int32_t depth, std::string& out) {
    const bool pm = parts.hour >= 12;
    const auto weekdayIndex = static_cast<size_t>(parts.weekday - 1);
    switch (token.kind) {
        case TokenKind::Literal:
            out += token.text;
            break;
        case TokenKind::DateSeparator:
            out += locale.dateSeparator;
            break;
        case TokenKind::TimeSeparator:
            out += locale.timeSeparator;
            break;
        case TokenKind::Day:
            switch (token.count) {
                case 1:
                case 2:
                    AppendNumber(parts.day, token.count, out);
                    break;
                case 3:
                    out += locale.dayAbbreviations[weekdayIndex];
                    break;
                case 4:
                    out += locale.dayNames[weekdayIndex];
                    break;
                case 5:
                    FormatPattern(parts, locale.shortDateFormat, locale, depth + 1, out);
                    break;
                default:
                    FormatPattern(parts, locale.longDateFormat, locale, depth + 1, out);
                    break;
            }
            break;
        case TokenKind::Weekday:
            AppendNumber(parts.weekday, 1, out);
            break;
        case TokenKind::WeekOfYear:
            AppendNumber(WeekOfYear(parts), 1, out);
            break;
        case TokenKind::Month:
            if (token.count <= 2) {
                AppendNumber(parts.month, token.count, out);
            } else {
                const auto index = static_cast<size_t>(parts.month - 1);
                out +=
                    token.count == 3 ? locale.monthAbbreviations[index] : locale.monthNames[index];
            }
            break;
        case TokenKind::Minute:
            AppendNumber(parts.minute, token.count, out);
            break;
        case TokenKind::Quarter:
            AppendNumber((parts.month - 1) / 3 + 1, 1, out);
            break;
        case TokenKind::DayOfYear:
            AppendNumber(parts.dayOfYear, 1, out);
            break;
        case TokenKind::Year:
            // Deliberate: "yyyy" does not pad years below 1000.
            AppendNumber(token.count == 2 ? parts.year % 100 : parts.year, token.count == 2 ? 2 : 1,
                         out);
            break;
        case TokenKind::Hour: {
            const int32_t hour =
                twelveHour ? (parts.hour % 12 == 0 ? 12 : parts.hour % 12) : parts.hour;
            AppendNumber(hour, token.count, out);
            break;
        }
        case TokenKind::Second:
            AppendNumber(parts.second, token.count, out);
            break;
        case TokenKind::LongTime:
            FormatPattern(parts, locale.longTimeFormat, locale, depth + 1, out);
            break;
        case TokenKind::GeneralDate:
            FormatGeneral(parts, locale, depth, out);
            break;
        case TokenKind::AmPmUpper:
            out += pm ? "PM" : "AM";
            break;
        case TokenKind::AmPmLower:
            out += pm ? "pm" : "am";
            break;
        case TokenKind::APUpper:
            out += pm ? "P" : "A";
            break;
        case TokenKind::APLower:
            out += pm ? "p" : "a";
            break;
        case TokenKind::AmPmLocale:
            out += pm ? locale.pmSymbol : locale.amSymbol;
            break;
    }
}

void FormatPattern(const DateParts& parts, std::string_view pattern, const Locale& locale,
                   int32_t depth, std::string& out) {
    if (depth > MaxDepth) {
        return;
    }
    if (pattern.empty()) {
        FormatGeneral(parts, locale, depth, out);
        return;
    }
    if (const NamedFormat* named = FindNamedDateFormat(pattern)) {
        if (named->field == nullptr) {
            FormatGeneral(parts, locale, depth, out);
        } else {
            FormatPattern(parts, locale.*(named->field), locale, depth + 1, out);
        }
        return;
    }
    const TokenizedPattern tokenized = Tokenize(pattern);
    for (const Token& token : tokenized.tokens) {
        Append(token, parts, locale, tokenized.twelveHour, depth, out);
    }
}

}  // namespace

namespace detail {

std::string FormatDate(Date value, std::string_view pattern, const Locale& locale) {
    const auto parts = SplitDate(value);
    if (!parts) {
        return {};
    }
    std::string out;
    FormatPattern(*parts, pattern, locale, 0, out);
    return out;
}

}  // namespace detail

bool IsDatePattern(std::string_view pattern) {
    if (FindNamedDateFormat(pattern)) {
        return true;
    }
    for (std::string_view named : NamedNumberFormats) {
        if (EqualsIgnoringCase(pattern, named)) {
            return false;
        }
    }
    const TokenizedPattern tokenized = Tokenize(pattern);
    return tokenized.hasDateTokens && !tokenized.hasPlaceholders;
}

}  // namespace kelvara
