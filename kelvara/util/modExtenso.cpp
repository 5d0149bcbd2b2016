// CurrencyAsStr works digit by digit on the decimal text of the integer part,
// from the left, appending to one result; flags remember which groups have
// content. The wording is the one printed on cheques for years and is kept
// exactly, including its habits: "um mil", no "e" between groups, "de" only
// in round millions and billions, "milhão" after any units digit 1 that no
// teen consumed ("vinte e um milhão"), and a fraction that is a binary double.
//
//   CurrencyAsStr -> zero | limit | WholeWords + FractionWords
//                 -> blank squeeze, capital -> negative suffix

#include "kelvara/util/modExtenso.h"

#include <array>
#include <cmath>

#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"

namespace kelvara::modExtenso {

namespace {

using Words = std::array<std::string_view, 10>;  // indexed by digit; 0 has no word

constexpr Words kUnits = {"",      "um",   "dois", "três", "quatro",
                          "cinco", "seis", "sete", "oito", "nove"};
constexpr Words kTens = {"",          "dez",      "vinte",   "trinta",  "quarenta",
                         "cinquenta", "sessenta", "setenta", "oitenta", "noventa"};
constexpr Words kHundreds = {"",           "cem",        "duzentos",   "trezentos",  "quatrocentos",
                             "quinhentos", "seiscentos", "setecentos", "oitocentos", "novecentos"};
constexpr Words kTeens = {"",       "onze",      "doze",      "treze",   "quatorze",
                          "quinze", "dezesseis", "dezessete", "dezoito", "dezenove"};

constexpr double kLimit = 9999999999.99;

std::string_view Word(const Words& words, char digit) {
    return digit >= '0' && digit <= '9' ? words[static_cast<size_t>(digit - '0')] : "";
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The last character of a number's locale-free text (" .05" -> '5').
char LastDigit(double value) {
    const std::string text = Str(value);
    return text.empty() ? '0' : text.back();
}

struct Groups {
    bool hasBillions = false;
    bool hasMillions = false;
    bool hasThousands = false;
    bool inTeen = false;  // the tens digit already said the units digit
};

void WholeWords(std::string& result, double whole, std::string_view singular,
                std::string_view plural) {
    const std::string digits = Trim(Str(whole));
    const int n = static_cast<int>(digits.size());
    Groups g;
    for (int p = n; p >= 1; --p) {
        const size_t at = static_cast<size_t>(n - p);
        const char d = digits[at];
        switch (p) {
            case 10:
                result += std::string(Word(kUnits, d)) + (d > '1' ? " bilhões " : " bilhão ");
                g.hasBillions = true;
                break;
            case 9:
            case 6:
            case 3:
                if (d > '0') {
                    const std::string t = digits.substr(at, 3);
                    if (t > "100" && t < "200") {
                        result += " cento e ";
                    } else {
                        result += std::string(Word(kHundreds, d)) + " ";
                    }
                    g.hasMillions |= p == 9;
                    g.hasThousands |= p == 6;
                }
                break;
            case 8:
            case 5:
            case 2:
                if (d > '0') {
                    const int t = (d - '0') * 10 + (digits[at + 1] - '0');
                    const std::string joiner = EndsWith(Trim(result), "entos") ? " e " : " ";
                    if (t == 10 || t >= 20) {
                        result += joiner + std::string(Word(kTens, d));
                    } else {
                        result += joiner + std::string(Word(kTeens, digits[at + 1]));
                        g.inTeen = true;
                    }
                    g.hasMillions |= p == 8;
                    g.hasThousands |= p == 5;
                }
                break;
            default: {  // units: p = 7, 4, 1
                const bool teenBefore = g.inTeen;
                if (d > '0' && !g.inTeen) {
                    const std::string trimmed = Trim(result);
                    const bool joins = EndsWith(trimmed, "entos") || EndsWith(trimmed, "nte") ||
                                       EndsWith(trimmed, "nta");
                    result += (joins ? " e " : " ") + std::string(Word(kUnits, d));
                }
                g.inTeen = false;
                if (p == 7 && (d > '0' || g.hasMillions)) {
                    result += d == '1' && !teenBefore ? " milhão " : " milhões ";
                    g.hasMillions = true;
                } else if (p == 4 && (d > '0' || g.hasThousands)) {
                    result += " mil ";
                    g.hasThousands = true;
                } else if (p == 1) {
                    const bool roundBillions = EndsWith(digits, "000000") && g.hasBillions &&
                                               !g.hasMillions && !g.hasThousands;
                    const bool roundMillions =
                        EndsWith(digits, "000") && g.hasMillions && !g.hasThousands;
                    if (roundBillions || roundMillions) {
                        result += " de ";
                    }
                    result += " " + std::string(whole == 1 ? singular : plural) + " ";
                }
                break;
            }
        }
    }
}

// The fraction's branches test the raw double with no tolerance, so a
// fraction that is not exact in binary may take the neighbouring branch;
// that is accepted, since amounts printed so far depend on it.
void FractionWords(std::string& result, double fraction, bool hasWhole, std::string_view singular,
                   std::string_view plural) {
    if (fraction <= 0) {
        return;
    }
    const std::string joiner = hasWhole ? " e " : " ";
    if (fraction < 0.1) {
        const char c = LastDigit(Round(fraction, 2));
        result += joiner + std::string(Word(kUnits, c)) + " " +
                  std::string(c == '1' ? singular : plural) + " ";
    } else if (fraction > 0.1 && fraction < 0.2) {
        const char c = LastDigit(Round(fraction, 2) - 0.1);
        result += joiner + std::string(Word(kTeens, c)) + " " + std::string(plural) + " ";
    } else {
        const std::string text = Trim(Str(fraction));  // ".25"
        const char first = text.size() > 1 ? text[1] : '0';
        result += joiner + std::string(Word(kTens, first));
        if (Len(text) > 2) {
            result += " e " + std::string(Word(kUnits, LastDigit(Round(fraction, 2))));
        }
        result += " " + std::string(plural) + " ";
    }
}

}  // namespace

std::string CurrencyAsStr(double xValue, std::string_view xSingularCurrencyCountry,
                          std::string_view xPluralCurrencyCountry,
                          std::string_view xSingularDecimalCountry,
                          std::string_view xPluralDecimalCountry) {
    const bool negative = xValue < 0;
    // Deliberate: the absolute value is the number's text without its "-"
    // signs, read back; an exponent's sign goes too, so 1E-05 reads as 1E05.
    const double a = std::isfinite(xValue) ? Val(Replace(Str(xValue), "-", "")) : HUGE_VAL;

    std::string result;
    if (a == 0) {
        result = "zero " + std::string(xPluralDecimalCountry);
    } else if (!(a <= kLimit)) {
        result = "Valor não suportado.";
    } else {
        const double whole = Int(a);
        const double fraction = a - whole;
        if (whole > 0) {
            WholeWords(result, whole, xSingularCurrencyCountry, xPluralCurrencyCountry);
        }
        FractionWords(result, fraction, whole > 0, xSingularDecimalCountry, xPluralDecimalCountry);
    }

    // A single pass of the blank squeeze, as the words were always tidied.
    result = Replace(Trim(result), "  ", " ");
    result = UCase(Left(result, 1)) + Mid(result, 2);
    if (negative) {
        result += a <= 1 ? " negativo" : " negativos";
    }
    return result;
}

}  // namespace kelvara::modExtenso
