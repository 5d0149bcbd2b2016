// Format() front end: decides whether a value is shown as a number, a date
// or text, then hands over to the number, date or text formatter.
//
//   Format(double)  -> date pattern ? FormatDate(serial) : FormatNumber
//   Format(Date)    -> number pattern ? FormatNumber(serial) : FormatDate
//   Format(text)    -> text pattern (@ & < > !) ? FormatText
//                      : numeric ? Format(double) : date ? Format(Date) : text
//   Format(Variant) -> by the stored type

#include "kelvara/base/Format.h"

#include <algorithm>
#include <vector>

#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"
#include "kelvara/base/Variant.h"
#include "kelvara/base/detail/FormatDetail.h"

namespace kelvara {

namespace {

// Calls visit(c, quoted) for each character of pattern outside quotes and
// escapes, stopping early when visit returns true.
template <typename Visit>
bool AnyUnquoted(std::u32string_view pattern, Visit visit) {
    bool quoted = false;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char32_t c = pattern[i];
        if (c == U'"') {
            quoted = !quoted;
        } else if (quoted) {
            continue;
        } else if (c == U'\\') {
            ++i;
        } else if (visit(c)) {
            return true;
        }
    }
    return false;
}

bool IsTextPattern(std::u32string_view pattern) {
    return AnyUnquoted(pattern, [](char32_t c) {
        return c == U'@' || c == U'&' || c == U'<' || c == U'>' || c == U'!';
    });
}

// The text formatter: "@" is a character or a blank, "&" a character or
// nothing; placeholders fill from the right unless "!" asks for the left;
// "<" and ">" turn the whole text to lower or upper case.
std::string FormatText(std::string_view text, std::u32string_view pattern) {
    std::u32string value = ToUtf32(text);
    bool fromLeft = false;
    AnyUnquoted(pattern, [&](char32_t c) {
        if (c == U'<') {
            value = ToUtf32(LCase(ToUtf8(value)));
        } else if (c == U'>') {
            value = ToUtf32(UCase(ToUtf8(value)));
        } else if (c == U'!') {
            fromLeft = true;
        }
        return false;
    });

    // The tokens in order: each a placeholder or a run of literal text.
    struct Token {
        char32_t placeholder;  // '@', '&' or 0 for literal
        std::u32string literal;
    };
    std::vector<Token> tokens;
    size_t placeholders = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char32_t c = pattern[i];
        if (c == U'"') {
            const size_t end = pattern.find(U'"', i + 1);
            const size_t stop = end == std::u32string_view::npos ? pattern.size() : end;
            tokens.push_back({0, std::u32string(pattern.substr(i + 1, stop - i - 1))});
            i = stop;
        } else if (c == U'\\') {
            if (i + 1 < pattern.size()) {
                tokens.push_back({0, std::u32string(1, pattern[++i])});
            }
        } else if (c == U'@' || c == U'&') {
            tokens.push_back({c, {}});
            ++placeholders;
        } else if (c != U'<' && c != U'>' && c != U'!') {
            tokens.push_back({0, std::u32string(1, c)});
        }
    }

    // Characters beyond the placeholders go with the first (right fill) or
    // the last (left fill) placeholder, so nothing of the text is lost.
    std::vector<std::u32string> slots(placeholders);
    if (placeholders > 0) {
        if (fromLeft) {
            for (size_t k = 0; k < value.size(); ++k) {
                slots[std::min(k, placeholders - 1)] += value[k];
            }
        } else {
            const size_t extra = value.size() > placeholders ? value.size() - placeholders : 0;
            const size_t offset = placeholders > value.size() ? placeholders - value.size() : 0;
            for (size_t k = 0; k < value.size(); ++k) {
                const size_t slot = k < extra ? 0 : k - extra + offset;
                slots[slot] += value[k];
            }
        }
    }
    if (placeholders == 0) {
        // Only case marks (and perhaps literals): the whole text, converted.
        std::u32string out;
        for (const auto& token : tokens) {
            out += token.literal;
        }
        return ToUtf8(out + value);
    }
    std::u32string out;
    size_t slot = 0;
    for (const auto& token : tokens) {
        if (token.placeholder == 0) {
            out += token.literal;
            continue;
        }
        if (slots[slot].empty()) {
            if (token.placeholder == U'@') {
                out += U' ';
            }
        } else {
            out += slots[slot];
        }
        ++slot;
    }
    return ToUtf8(out);
}

}  // namespace

std::string Format(double value, std::string_view pattern, const Locale& locale) {
    if (!pattern.empty() && IsDatePattern(pattern)) {
        const Date date(value);
        if (date.IsValid()) {
            return detail::FormatDate(date, pattern, locale);
        }
    }
    return detail::FormatNumber(value, pattern, locale);
}

std::string Format(Date value, std::string_view pattern, const Locale& locale) {
    if (pattern.empty() || IsDatePattern(pattern)) {
        return detail::FormatDate(value, pattern, locale);
    }
    return detail::FormatNumber(value.Serial(), pattern, locale);
}

std::string Format(std::string_view text, std::string_view pattern, const Locale& locale) {
    const std::u32string wide = ToUtf32(pattern);
    if (IsTextPattern(wide)) {
        return FormatText(text, wide);
    }
    if (pattern.empty()) {
        return std::string(text);
    }
    if (const auto number = CDbl(text, locale)) {
        return Format(*number, pattern, locale);
    }
    if (const auto date = CDate(text, locale)) {
        return Format(*date, pattern, locale);
    }
    return std::string(text);
}

std::string Format(const Variant& value, std::string_view pattern, const Locale& locale) {
    switch (value.Type()) {
        case VariantType::Empty:
            return pattern.empty() ? std::string() : Format(0.0, pattern, locale);
        case VariantType::Null:
            return {};
        case VariantType::String:
            return Format(std::string_view(*value.Get<std::string>()), pattern, locale);
        case VariantType::Date:
            return Format(*value.Get<Date>(), pattern, locale);
        case VariantType::Boolean:
            if (pattern.empty()) {
                return *value.Get<bool>() ? locale.trueText : locale.falseText;
            }
            return Format(*value.Get<bool>() ? -1.0 : 0.0, pattern, locale);
        default:
            return Format(value.ToDouble(locale).value_or(0.0), pattern, locale);
    }
}

}  // namespace kelvara
