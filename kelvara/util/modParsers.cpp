// The validators follow their rules to the letter, slips included: stored
// data and other programs were validated by these exact rules, so a
// "correction" here would reject or accept records differently from them.

#include "kelvara/util/modParsers.h"

#include <array>
#include <initializer_list>
#include <optional>
#include <vector>

#include "kelvara/base/APIStringBuilder.h"
#include "kelvara/base/Error.h"
#include "kelvara/base/Format.h"
#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"
#include "kelvara/util/DateFormats.h"

namespace kelvara::modParsers {

namespace {

bool IsDigit(char32_t c) {
    return c >= U'0' && c <= U'9';
}

bool IsLeap(int32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// The layouts fall into families by the pieces they have and their order.
enum class Family { DayOrMonthFirst, YearFirst, NoYear, MonthYear, YearMonth, Other };

Family FamilyOf(int32_t value) {
    if (value >= 1 && value <= 24) {
        return Family::DayOrMonthFirst;
    }
    if (value == 0 || (value >= 25 && value <= 35)) {
        return Family::YearFirst;
    }
    if (value >= 36 && value <= 53) {
        return Family::NoYear;
    }
    if (value >= 54 && value <= 65) {
        return Family::MonthYear;
    }
    if (value >= 66 && value <= 77) {
        return Family::YearMonth;
    }
    return Family::Other;
}

// The layout number whose text is format (any case), or -1.
int32_t LayoutOf(std::string_view format) {
    const std::string lower = LCase(format);
    for (int32_t value = 0; value <= 77; ++value) {
        if (DateFormatText(value) == lower) {
            return value;
        }
    }
    return -1;
}

// A date piece: its numeric prefix rounded to a 16-bit integer.
std::optional<int32_t> PieceValue(const std::vector<std::string>& pieces, int index) {
    if (index < 1 || static_cast<size_t>(index) > pieces.size()) {
        return std::nullopt;
    }
    const auto value = CInt(Val(pieces[static_cast<size_t>(index) - 1]));
    if (!value) {
        return std::nullopt;
    }
    return *value;
}

// The digits of a number as the host prints it, trimmed.
std::string NumberText(std::string_view piece) {
    return Trim(CStr(Val(piece)));
}

std::string Pad(std::string_view piece, std::string_view format) {
    const std::string digits = NumberText(piece);
    const int32_t missing = Len(format) - Len(digits);
    return missing > 0 ? String(missing, U'0') + digits : digits;
}

std::string YearText(std::string_view piece, std::string_view format) {
    const std::string digits = NumberText(piece);
    const int32_t length = Len(digits);
    if (length >= Len(format)) {
        return digits;
    }
    if (length == 2) {
        return (Val(digits) < 50 ? "20" : "19") + digits;
    }
    // Deliberate: any other short year goes through the host's formatting
    // with one "Y" per character, which reads it as a date serial.
    return Format(std::string_view(digits), String(length, U'Y'));
}

std::string KeepOnly(std::string_view text, bool (*keep)(char32_t)) {
    APIStringBuilder builder;
    for (const char32_t c : ToUtf32(Trim(text))) {
        if (keep(c)) {
            builder.Append(c);
        }
    }
    return builder.ToString();
}

// The digit right after the weighted ones must be the mod-11 check digit:
// 0 for a remainder of 0 or 1, else 11 - remainder.
bool CheckDigitHolds(const std::u32string& digits, std::initializer_list<int32_t> weights) {
    int32_t sum = 0;
    size_t i = 0;
    for (const int32_t weight : weights) {
        sum += static_cast<int32_t>(digits[i++] - U'0') * weight;
    }
    const int32_t remainder = sum % 11;
    const int32_t expected = remainder < 2 ? 0 : 11 - remainder;
    return static_cast<int32_t>(digits[i] - U'0') == expected;
}

bool IsSchemeChar(char32_t c) {
    return (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z') || IsDigit(c) || c == U'+' ||
           c == U'-' || c == U'.';
}

bool IsHexDigit(char32_t c) {
    return IsDigit(c) || (c >= U'a' && c <= U'f') || (c >= U'A' && c <= U'F');
}

}  // namespace

std::string DateSeparator(std::string_view text) {
    for (const char* separator : {"/", "-", "."}) {
        if (text.find(separator) != std::string_view::npos) {
            return separator;
        }
    }
    return {};
}

bool IsValidDate(std::string_view xDate, int32_t xFormat) {
    if (ReturnNumbersOnly(xDate).empty()) {
        return false;
    }
    const std::string text = Trim(xDate);
    const auto pieces = Split(text, DateSeparator(text));

    std::optional<int32_t> day;
    std::optional<int32_t> month;
    std::optional<int32_t> year;
    switch (FamilyOf(xFormat)) {
        case Family::YearFirst:
            day = PieceValue(pieces, 3), month = PieceValue(pieces, 2),
            year = PieceValue(pieces, 1);
            break;
        case Family::DayOrMonthFirst:
            // Layouts 2 and 14 to 24 put the month first.
            if (xFormat == 2 || xFormat >= 14) {
                day = PieceValue(pieces, 2), month = PieceValue(pieces, 1);
            } else {
                day = PieceValue(pieces, 1), month = PieceValue(pieces, 2);
            }
            year = PieceValue(pieces, 3);
            break;
        case Family::NoYear:
            // Deliberate: the year stays 0, so these layouts never pass.
            day = PieceValue(pieces, 1), month = PieceValue(pieces, 2), year = 0;
            break;
        case Family::MonthYear:
            // Deliberate: the second piece lands in the day and the year is
            // this year's, so "12/14" passes and "12/2014" does not.
            day = PieceValue(pieces, 2), month = PieceValue(pieces, 1), year = Year(Today());
            break;
        case Family::YearMonth:
            day = 1, month = PieceValue(pieces, 2), year = PieceValue(pieces, 1);
            break;
        case Family::Other:
            return false;
    }
    if (!day || !month || !year) {
        return false;
    }
    if (*day < 1 || *day > 31 || *year < 1000 || *month < 1 || *month > 12) {
        return false;
    }
    switch (*month) {
        case 4:
        case 6:
        case 9:
        case 11:
            return *day <= 30;
        case 2:
            return *day <= (IsLeap(*year) ? 29 : 28);
        default:
            return true;
    }
}

bool IsValidTime(std::string_view xTime, std::string_view xDelimiter) {
    std::array<std::optional<int16_t>, 3> parts = {int16_t{0}, int16_t{0}, int16_t{0}};
    if (InStr(xTime, xDelimiter) > 0) {
        const auto pieces = Split(xTime, xDelimiter);
        if (pieces.size() > 3) {
            return false;
        }
        for (size_t i = 0; i < pieces.size(); ++i) {
            parts[i] = CInt(pieces[i]);
        }
    } else {
        const int32_t length = Len(xTime);
        if (length != 4 && length != 6) {
            return false;
        }
        for (int32_t i = 0; i < length / 2; ++i) {
            parts[static_cast<size_t>(i)] = CInt(Mid(xTime, 2 * i + 1, 2));
        }
    }
    if (!parts[0] || !parts[1] || !parts[2]) {
        return false;
    }
    return *parts[0] >= 0 && *parts[0] <= 23 && *parts[1] >= 0 && *parts[1] <= 59 &&
           *parts[2] >= 0 && *parts[2] <= 59;
}

std::string FormatAsDate(std::string_view xDate, std::string_view xFormat) {
    if (xDate.empty()) {
        return {};
    }
    std::string format = Trim(xFormat);
    if (IsNumeric(format)) {
        const auto value = CLng(format);
        if (!value) {
            return {};
        }
        format = DateFormatText(*value);
    }
    const std::string date = Replace(Replace(xDate, "-", "/"), ".", "/");
    const std::string formatted = Format(std::string_view(date), format);

    const auto p = Split(formatted, DateSeparator(formatted));
    const std::string s = DateSeparator(format);
    const auto f = Split(format, s);
    const auto have = [&](size_t count) { return p.size() >= count && f.size() >= count; };

    switch (FamilyOf(LayoutOf(format))) {
        case Family::DayOrMonthFirst:
            if (!have(3)) {
                return {};
            }
            return Pad(p[0], f[0]) + s + Pad(p[1], f[1]) + s + YearText(p[2], f[2]);
        case Family::YearFirst:
            if (!have(3)) {
                return {};
            }
            return YearText(p[0], f[0]) + s + Pad(p[1], f[1]) + s + Pad(p[2], f[2]);
        case Family::NoYear:
            if (!have(2)) {
                return {};
            }
            return Pad(p[0], f[0]) + s + Pad(p[1], f[1]);
        case Family::MonthYear:
            if (!have(2)) {
                return {};
            }
            return Pad(p[0], f[0]) + s + YearText(p[1], f[1]);
        case Family::YearMonth:
            if (!have(2)) {
                return {};
            }
            return YearText(p[0], f[0]) + s + Pad(p[1], f[1]);
        case Family::Other:
            break;
    }
    return formatted;
}

bool IsValidCPFOrCNPJ(std::string_view xDocument) {
    std::u32string digits;
    for (const char32_t c : ToUtf32(xDocument)) {
        if (c == U'.' || c == U'-' || c == U'/') {
            continue;
        }
        if (!IsDigit(c)) {
            return false;
        }
        digits += c;
    }
    // No test for all-equal digits: "00000000000" passes, as it always has.
    if (digits.size() == 11) {
        return CheckDigitHolds(digits, {10, 9, 8, 7, 6, 5, 4, 3, 2}) &&
               CheckDigitHolds(digits, {11, 10, 9, 8, 7, 6, 5, 4, 3, 2});
    }
    if (digits.size() == 14) {
        return CheckDigitHolds(digits, {5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2}) &&
               CheckDigitHolds(digits, {6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2});
    }
    return false;
}

bool IsValidEmail(std::string_view xEmail) {
    if (xEmail.empty()) {
        return false;
    }
    if (InStr(xEmail, "@") == 0 || InStr(xEmail, ".") == 0) {
        return false;
    }
    if (InStr(xEmail, ".@") > 0 || InStr(xEmail, "@.") > 0 || InStr(xEmail, "..") > 0) {
        return false;
    }
    if (Split(xEmail, "@").size() != 2) {
        return false;
    }
    for (const char32_t c : ToUtf32(xEmail)) {
        if (!IsCharAlphaNumeric(c) && c != U'@' && c != U'.' && c != U'_' && c != U'-') {
            return false;
        }
    }
    return true;
}

// A syntactic check of an absolute URL, as the system's URL check makes: a
// scheme (a letter, then letters, digits, "+", "-", "."), a colon and a
// non-empty rest without blanks or control characters, with well-formed "%XX"
// escapes; after "//" an authority with a host must follow. Whether the
// address exists is not asked.
bool IsValidURL(std::string_view xUrl) {
    const std::u32string url = ToUtf32(xUrl);
    const size_t colon = url.find(U':');
    if (colon == std::u32string::npos || colon == 0) {
        return false;
    }
    const char32_t first = url[0];
    if (!((first >= U'a' && first <= U'z') || (first >= U'A' && first <= U'Z'))) {
        return false;
    }
    for (size_t i = 1; i < colon; ++i) {
        if (!IsSchemeChar(url[i])) {
            return false;
        }
    }
    const std::u32string rest = url.substr(colon + 1);
    if (rest.empty()) {
        return false;
    }
    for (size_t i = 0; i < rest.size(); ++i) {
        const char32_t c = rest[i];
        if (c <= U' ' || c == 0x7F || c == U'"' || c == U'<' || c == U'>' || c == U'\\' ||
            c == U'^' || c == U'`' || c == U'{' || c == U'|' || c == U'}') {
            return false;
        }
        if (c == U'%' &&
            (i + 2 >= rest.size() || !IsHexDigit(rest[i + 1]) || !IsHexDigit(rest[i + 2]))) {
            return false;
        }
    }
    if (rest.starts_with(U"//")) {
        const size_t end = rest.find_first_of(U"/?#", 2);
        std::u32string authority = rest.substr(2, end == std::u32string::npos ? end : end - 2);
        if (const size_t at = authority.rfind(U'@'); at != std::u32string::npos) {
            authority = authority.substr(at + 1);
        }
        const size_t port = authority.rfind(U':');
        if (port != std::u32string::npos && authority.find(U']') == std::u32string::npos) {
            for (size_t i = port + 1; i < authority.size(); ++i) {
                if (!IsDigit(authority[i])) {
                    return false;
                }
            }
            authority.resize(port);
        }
        // "file:///c:/x" has an empty host and is fine; other schemes need one.
        const bool isFile = LCase(ToUtf8(url.substr(0, colon))) == "file";
        if (authority.empty() && !isFile) {
            return false;
        }
    }
    return true;
}

bool IsValidIP(std::string_view xIP) {
    if (InStr(xIP, ".") == 0) {
        return false;
    }
    const auto parts = Split(xIP, ".");
    if (parts.size() != 4) {
        return false;
    }
    for (const auto& part : parts) {
        if (Len(part) > 3) {
            return false;
        }
        // Deliberate: no lower bound, so "-1" passes.
        const auto value = CDbl(part);
        if (!value || *value > 255) {
            return false;
        }
    }
    return true;
}

bool IsValidFileName(std::string_view xFileName) {
    for (const char32_t c : ToUtf32(xFileName)) {
        switch (c) {
            case 10:
            case 13:
            case U'"':
            case U'*':
            case U'/':
            case U':':
            case U'<':
            case U'>':
            case U'?':
            case U'\\':
            case U'|':
                return false;
            default:
                break;
        }
    }
    return Len(xFileName) < 251;
}

std::string RemoveAccents(std::string_view xString) {
    return kelvara::RemoveAccents(xString);
}

std::string ReturnNumbersOnly(std::string_view xString) {
    return KeepOnly(xString, [](char32_t c) { return IsDigit(c); });
}

std::string ReturnNumbersAndMinusOnly(std::string_view xString) {
    return KeepOnly(xString, [](char32_t c) { return IsDigit(c) || c == U'-'; });
}

std::string ReturnTextsOnly(std::string_view xString) {
    return KeepOnly(xString, [](char32_t c) { return IsCharAlpha(c); });
}

std::string ReturnTextsAndNumbersOnly(std::string_view xString) {
    return KeepOnly(xString, [](char32_t c) { return IsCharAlphaNumeric(c); });
}

std::string GetStringContent(std::string_view xString, std::string_view xStringFrom,
                             std::string_view xStringTo) {
    const int32_t from = InStr(1, xString, xStringFrom, CompareMethod::Text);
    if (from == 0) {
        return {};
    }
    const int32_t start = from + Len(xStringFrom);
    const int32_t to = InStr(start, xString, xStringTo, CompareMethod::Text);
    if (to == 0) {
        return {};
    }
    return Mid(xString, start, to - start);
}

std::string FormatWithZeros(std::string_view xString, int16_t xNumberOfZeros) {
    const std::string text = Trim(xString);
    const int32_t missing = xNumberOfZeros - Len(text);
    return missing > 0 ? String(missing, U'0') + text : text;
}

int16_t CalculateAge(Date xBirthday) {
    const Date today = Today();
    int64_t years = DateDiff("yyyy", xBirthday, today).value_or(0);
    if (Month(today) < Month(xBirthday) ||
        (Month(today) == Month(xBirthday) && Day(today) < Day(xBirthday))) {
        --years;
    }
    return static_cast<int16_t>(years);
}

bool IsYearLeap(int32_t xYear) {
    return IsLeap(xYear);
}

int32_t NumberOfDaysOnMonth(int16_t xMonth, int16_t xYear) {
    const int32_t year = xYear == 0 ? Year(Today()) : xYear;
    // Deliberate: the month goes through date text read under the current
    // locale, as it always has; a month that text cannot hold is the host's
    // "Type mismatch".
    const std::string text = "01/" + std::to_string(xMonth) + "/" + std::to_string(year);
    const auto first = CDate(text);
    if (!first) {
        throw KelvaraError(HostError::TypeMismatch, "KV", "Type mismatch");
    }
    const auto next = DateAdd("m", 1, *first);
    if (!next) {
        throw KelvaraError(HostError::InvalidProcedureCall, "KV",
                           "Invalid procedure call or argument");
    }
    return static_cast<int32_t>(DateDiff("d", *first, *next).value_or(0));
}

std::string NameOfTheDay(Date xDate, bool xAbbreviated) {
    static const std::array<std::string_view, 7> kNames = {
        "Domingo",      "Segunda-feira", "Terça-feira", "Quarta-feira",
        "Quinta-feira", "Sexta-feira",   "Sábado"};
    const std::string_view name = kNames[static_cast<size_t>(Weekday(xDate) - 1)];
    return xAbbreviated ? Left(name, 3) : std::string(name);
}

std::string FormatFileSizeEx(double xValue) {
    // The value is a Currency: four decimal places.
    const double value = Round(xValue, 4);
    if (value <= 999) {
        return Format(value, "0") + " Bytes";
    }
    static constexpr std::array<std::string_view, 8> kUnits = {" Kb", " Mb", " Gb", " Tb",
                                                               " Pb", " Eb", " Zb", " Yb"};
    double unit = 1024.0;
    for (size_t i = 0; i + 1 < kUnits.size(); ++i, unit *= 1024.0) {
        // Deliberate: the next unit starts at 999 of this one, not at 1024.
        if (value <= 999.0 * unit) {
            return Format(value / unit, "#,##0.00") + std::string(kUnits[i]);
        }
    }
    return Format(value / unit, "#,##0.00") + std::string(kUnits.back());
}

}  // namespace kelvara::modParsers
