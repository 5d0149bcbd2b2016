// Format() for numbers.
//
// FormatNumber → named format? → FormatPattern → SplitSections → pick a
// section → ParseSection (tokens, then what the commas mean) → RenderSection
// (ToDecimal, scale, round, lay digits out over the placeholders).
//
// Choices where the host leaves room:
// - The section is chosen on the value itself, before rounding: a tiny
//   value that rounds to zero prints through its sign's section ("-0",
//   "(0)"), never through the zero section, just as Format(-0.001, "0") is
//   "-0" on the host.
// - An empty section falls back to the first one (with "-" for negatives);
//   an empty first section prints the value's general text (CStr).
// - Infinities and NaN print their general text whatever the pattern.
// - Scientific: the mantissa has as many integer digits as the pattern has
//   integer placeholders (at least one); the exponent has at least as many
//   digits as "0"s after the E, and at least one.
// - Commas before the first integer placeholder print as ","; commas after
//   the decimal point or in the exponent are ignored.
// - An unterminated quote runs to the end of its section; a lone "\" at the
//   end prints nothing.
//
// Limits: "%" and scaling "," are honoured up to MaxScaleSymbols each (more
// still print, but stop scaling). A double has at most 309 integer digits,
// so with that cap the number adds at most about 700 digits and group
// symbols; everything else is one piece of output per pattern character,
// and the work and output stay linear in the pattern's length.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "kelvara/base/Number.h"
#include "kelvara/base/detail/Decimal.h"
#include "kelvara/base/detail/FormatDetail.h"

namespace kelvara::detail {

namespace {

constexpr int64_t MaxScaleSymbols = 100;
constexpr size_t MaxSections = 4;

enum class TokenKind { Literal, Digit, DecimalPoint, Comma, Percent, Exponent };
enum class Region { Integer, Fraction, Exponent };

struct Token {
    TokenKind kind = TokenKind::Literal;
    Region region = Region::Integer;
    // Literal: its text; Digit: "0" or "#"; Exponent: "E+", "e-", ...
    std::string_view text;
};

struct Section {
    std::vector<Token> tokens;
    int64_t integerPlaceholders = 0;
    int64_t integerMinimum = 0;  // digits printed even as leading zeros
    int64_t fractionPlaceholders = 0;
    int64_t fractionMinimum = 0;
    int64_t exponentMinimum = 0;
    int64_t scale = 0;  // power of ten from "%" and scaling ","
    bool grouping = false;
    bool scientific = false;
    bool exponentPlus = false;  // "E+" signs every exponent, "E-" only negative ones
    bool hasDigits = false;
};

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return LowerAscii(x) == LowerAscii(y);
           });
}

// Splits on ";" outside quotes and escapes; sections past the fourth are
// dropped.
std::vector<std::string_view> SplitSections(std::string_view pattern) {
    std::vector<std::string_view> sections;
    size_t start = 0;
    bool quoted = false;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (quoted) {
            quoted = c != '"';
        } else if (c == '"') {
            quoted = true;
        } else if (c == '\\') {
            ++i;
        } else if (c == ';') {
            sections.push_back(pattern.substr(start, i - start));
            start = i + 1;
        }
    }
    sections.push_back(pattern.substr(std::min(start, pattern.size())));
    if (sections.size() > MaxSections) {
        sections.resize(MaxSections);
    }
    return sections;
}

bool IsPlaceholder(char c) {
    return c == '0' || c == '#';
}

std::vector<Token> Tokenize(std::string_view text) {
    std::vector<Token> tokens;
    Region region = Region::Integer;
    size_t i = 0;
    auto literal = [&](std::string_view s) { tokens.push_back({TokenKind::Literal, region, s}); };
    while (i < text.size()) {
        const char c = text[i];
        if (c == '"') {
            const size_t close = text.find('"', i + 1);
            const size_t end = close == std::string_view::npos ? text.size() : close;
            literal(text.substr(i + 1, end - i - 1));
            i = end + 1;
        } else if (c == '\\') {
            // Only the first byte of a UTF-8 sequence needs the escape: the
            // bytes after it are literal text anyway.
            if (i + 1 < text.size()) {
                literal(text.substr(i + 1, 1));
            }
            i += 2;
        } else if (IsPlaceholder(c)) {
            tokens.push_back({TokenKind::Digit, region, text.substr(i, 1)});
            ++i;
        } else if (c == '.' && region == Region::Integer) {
            tokens.push_back({TokenKind::DecimalPoint, region, {}});
            region = Region::Fraction;
            ++i;
        } else if (c == ',') {
            tokens.push_back({TokenKind::Comma, region, {}});
            ++i;
        } else if (c == '%') {
            tokens.push_back({TokenKind::Percent, region, {}});
            ++i;
        } else if ((c == 'E' || c == 'e') && region != Region::Exponent && i + 2 < text.size() &&
                   (text[i + 1] == '+' || text[i + 1] == '-') && IsPlaceholder(text[i + 2])) {
            region = Region::Exponent;
            tokens.push_back({TokenKind::Exponent, region, text.substr(i, 2)});
            i += 2;
        } else {
            literal(text.substr(i, 1));
            ++i;
        }
    }
    return tokens;
}

Section ParseSection(std::string_view text) {
    Section section;
    section.tokens = Tokenize(text);

    int64_t firstIntegerZero = -1;
    int64_t lastFractionZero = -1;
    int64_t exponentZeros = 0;
    int64_t percents = 0;
    for (const Token& token : section.tokens) {
        if (token.kind == TokenKind::Percent) {
            ++percents;
        } else if (token.kind == TokenKind::Exponent) {
            section.scientific = true;
            section.exponentPlus = token.text[1] == '+';
        }
        if (token.kind != TokenKind::Digit) {
            continue;
        }
        section.hasDigits = true;
        const bool zero = token.text[0] == '0';
        switch (token.region) {
            case Region::Integer:
                if (zero && firstIntegerZero < 0) {
                    firstIntegerZero = section.integerPlaceholders;
                }
                ++section.integerPlaceholders;
                break;
            case Region::Fraction:
                ++section.fractionPlaceholders;
                if (zero) {
                    lastFractionZero = section.fractionPlaceholders;
                }
                break;
            case Region::Exponent:
                exponentZeros += zero ? 1 : 0;
                break;
        }
    }
    if (firstIntegerZero >= 0) {
        section.integerMinimum = section.integerPlaceholders - firstIntegerZero;
    }
    section.fractionMinimum = std::max<int64_t>(lastFractionZero, 0);
    section.exponentMinimum = std::max<int64_t>(exponentZeros, 1);

    // A comma between integer placeholders asks for grouping; one after the
    // last of them scales by 1/1000; one before the first is plain text.
    int64_t integerDigitsSeen = 0;
    int64_t scalingCommas = 0;
    for (Token& token : section.tokens) {
        if (token.region != Region::Integer) {
            continue;
        }
        if (token.kind == TokenKind::Digit) {
            ++integerDigitsSeen;
        } else if (token.kind == TokenKind::Comma) {
            if (integerDigitsSeen == 0) {
                token = {TokenKind::Literal, Region::Integer, ","};
            } else if (integerDigitsSeen < section.integerPlaceholders) {
                section.grouping = true;
            } else {
                ++scalingCommas;
            }
        }
    }
    section.scale =
        2 * std::min(percents, MaxScaleSymbols) - 3 * std::min(scalingCommas, MaxScaleSymbols);
    return section;
}

// Digits laid out over the placeholders; see RenderSection.
struct Layout {
    std::string integerDigits;  // padded to the integer minimum
    std::string fractionDigits;
    std::string exponentText;  // sign and digits, after the "E"
};

std::string PadLeft(std::string digits, int64_t width) {
    const auto size = static_cast<int64_t>(digits.size());
    if (size < width) {
        digits.insert(0, static_cast<size_t>(width - size), '0');
    }
    return digits;
}

std::string PadRight(std::string digits, int64_t width) {
    const auto size = static_cast<int64_t>(digits.size());
    if (size < width) {
        digits.append(static_cast<size_t>(width - size), '0');
    }
    return digits;
}

Layout FixedLayout(Decimal decimal, const Section& section) {
    RoundToFraction(decimal, section.fractionPlaceholders);
    Layout layout;
    if (!decimal.IsZero()) {
        const std::string& digits = decimal.digits;
        const int64_t exponent = decimal.exponent;
        if (exponent >= 0) {
            const auto integerCount = static_cast<size_t>(exponent) + 1;
            layout.integerDigits =
                PadRight(digits.substr(0, integerCount), static_cast<int64_t>(integerCount));
            if (digits.size() > integerCount) {
                layout.fractionDigits = digits.substr(integerCount);
            }
        } else {
            // Rounding left no digit below the last fraction placeholder,
            // so these zeros are fewer than the placeholders.
            layout.fractionDigits = std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
        }
    }
    layout.integerDigits = PadLeft(std::move(layout.integerDigits), section.integerMinimum);
    layout.fractionDigits = PadRight(std::move(layout.fractionDigits), section.fractionMinimum);
    return layout;
}

Layout ScientificLayout(Decimal decimal, const Section& section) {
    const int64_t mantissaDigits = std::max<int64_t>(section.integerPlaceholders, 1);
    int64_t exponent = 0;
    Layout layout;
    if (!decimal.IsZero()) {
        RoundToSignificant(decimal, mantissaDigits + section.fractionPlaceholders);
        exponent = int64_t{decimal.exponent} - (mantissaDigits - 1);
        const std::string padded = PadRight(decimal.digits, mantissaDigits);
        layout.integerDigits = padded.substr(0, static_cast<size_t>(mantissaDigits));
        layout.fractionDigits = padded.substr(static_cast<size_t>(mantissaDigits));
    }
    layout.integerDigits = PadLeft(std::move(layout.integerDigits), section.integerMinimum);
    layout.fractionDigits = PadRight(std::move(layout.fractionDigits), section.fractionMinimum);

    if (exponent < 0) {
        layout.exponentText = "-";
    } else if (section.exponentPlus) {
        layout.exponentText = "+";
    }
    layout.exponentText +=
        PadLeft(std::to_string(exponent < 0 ? -exponent : exponent), section.exponentMinimum);
    return layout;
}

// Lays the digits over the section's tokens. Integer digits fill the
// integer placeholders from the right; any the placeholders cannot hold all
// go at the first one. Fraction digits fill placeholders from the left.
std::string RenderSection(const Section& section, double magnitude, const Locale& locale) {
    Layout layout;
    if (section.hasDigits) {
        Decimal decimal = ToDecimal(magnitude);
        decimal.negative = false;
        ShiftPoint(decimal, section.scale);
        layout = section.scientific ? ScientificLayout(std::move(decimal), section)
                                    : FixedLayout(std::move(decimal), section);
    }

    std::string out;
    const std::string& digits = layout.integerDigits;
    const auto digitCount = static_cast<int64_t>(digits.size());
    // j counts integer digits from the right, starting at 0.
    auto emitIntegerDigit = [&](int64_t j) {
        out += digits[static_cast<size_t>(digitCount - 1 - j)];
        if (section.grouping && j > 0 && j % 3 == 0) {
            out += locale.groupSymbol;
        }
    };
    int64_t integerLeft = section.integerPlaceholders;
    bool integerDone = false;
    auto finishInteger = [&]() {
        if (!integerDone) {
            for (int64_t j = digitCount - 1; j >= 0; --j) {
                emitIntegerDigit(j);
            }
            integerDone = true;
        }
    };
    size_t fractionIndex = 0;
    bool exponentDone = false;

    for (const Token& token : section.tokens) {
        switch (token.kind) {
            case TokenKind::Literal:
                out += token.text;
                break;
            case TokenKind::Percent:
                out += '%';
                break;
            case TokenKind::Comma:
                break;
            case TokenKind::DecimalPoint:
                finishInteger();
                out += locale.decimalSymbol;
                break;
            case TokenKind::Exponent:
                finishInteger();
                out += token.text[0];  // the sign comes with the digits
                break;
            case TokenKind::Digit:
                if (token.region == Region::Integer) {
                    const int64_t position = --integerLeft;
                    if (!integerDone) {
                        for (int64_t j = digitCount - 1; j >= position; --j) {
                            emitIntegerDigit(j);
                        }
                        integerDone = true;
                    } else if (position < digitCount) {
                        emitIntegerDigit(position);
                    }
                } else if (token.region == Region::Fraction) {
                    if (fractionIndex < layout.fractionDigits.size()) {
                        out += layout.fractionDigits[fractionIndex];
                    }
                    ++fractionIndex;
                } else if (!exponentDone) {
                    out += layout.exponentText;
                    exponentDone = true;
                }
                break;
        }
    }
    if (section.hasDigits) {
        finishInteger();
    }
    return out;
}

std::string FormatPattern(double value, std::string_view pattern, const Locale& locale) {
    if (!std::isfinite(value) || pattern.empty()) {
        return CStr(value, locale);
    }
    const std::vector<std::string_view> sections = SplitSections(pattern);
    const bool negative = value < 0;
    std::string_view chosen = sections[0];
    bool addMinus = negative;
    if (value == 0 && sections.size() >= 3 && !sections[2].empty()) {
        chosen = sections[2];
    } else if (negative && sections.size() >= 2 && !sections[1].empty()) {
        // Deliberate: the negative section gets the absolute value and adds
        // no sign of its own, so "0;(0)" prints "(5)".
        chosen = sections[1];
        addMinus = false;
    }
    if (chosen.empty()) {
        return CStr(value, locale);
    }
    std::string text = RenderSection(ParseSection(chosen), std::fabs(value), locale);
    return addMinus ? "-" + text : text;
}

}  // namespace

std::string FormatNumber(double value, std::string_view pattern, const Locale& locale) {
    const bool nonZero = value != 0;
    if (EqualsIgnoreCase(pattern, "General Number")) {
        return CStr(value, locale);
    }
    if (EqualsIgnoreCase(pattern, "Currency")) {
        return FormatPattern(value, locale.currencyFormat, locale);
    }
    if (EqualsIgnoreCase(pattern, "Fixed")) {
        return FormatPattern(value, "0.00", locale);
    }
    if (EqualsIgnoreCase(pattern, "Standard")) {
        return FormatPattern(value, "#,##0.00", locale);
    }
    if (EqualsIgnoreCase(pattern, "Percent")) {
        return FormatPattern(value, "0.00%", locale);
    }
    if (EqualsIgnoreCase(pattern, "Scientific")) {
        return FormatPattern(value, "0.00E+00", locale);
    }
    if (EqualsIgnoreCase(pattern, "Yes/No")) {
        return nonZero ? "Yes" : "No";
    }
    if (EqualsIgnoreCase(pattern, "True/False")) {
        return nonZero ? locale.trueText : locale.falseText;
    }
    if (EqualsIgnoreCase(pattern, "On/Off")) {
        return nonZero ? "On" : "Off";
    }
    return FormatPattern(value, pattern, locale);
}

}  // namespace kelvara::detail
