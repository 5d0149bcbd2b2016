#include "kelvara/base/Date.h"

// Dates are handled as a moment: a signed day number and the time of day as a
// fraction in [0, 1). The serial's odd encoding before 1900 (the integer part
// counts back while the fraction runs forward) lives only in ToMoment and
// FromMoment, so all arithmetic runs on a plain timeline.
//
// CDate: Trim → IsPlainNumber (rejected) → Tokenize → SplitOffTime →
// ParseTime + ParseDatePart (ReadNumericDate or ReadNamedDate) → FromMoment.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <mutex>
#include <vector>

#include "kelvara/base/detail/DateDetail.h"

namespace kelvara {

namespace detail {

int64_t DayNumberFromCivil(int64_t year, int32_t month, int32_t day) {
    // Counting years from March puts the leap day at the end of the year, so
    // the day of the year follows from the month by one linear formula.
    const int64_t y = month <= 2 ? year - 1 : year;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yearOfEra = y - era * 400;
    const int64_t shiftedMonth = (month + 9) % 12;  // March is 0
    const int64_t dayOfYear = (153 * shiftedMonth + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    // 0000-03-01 is day 0 of the era count; 30/12/1899 lies 693899 days later.
    return era * 146097 + dayOfEra - 693899;
}

int32_t DaysInMonth(int64_t year, int32_t month) {
    static constexpr int32_t lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == 2) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        return leap ? 29 : 28;
    }
    return lengths[month - 1];
}

}  // namespace detail

namespace {

using detail::DayNumberFromCivil;
using detail::DaysInMonth;

constexpr int64_t SecondsPerDay = 86400;
constexpr int64_t MinDayNumber = -657434;  // 01/01/0100
constexpr int64_t MaxDayNumber = 2958465;  // 31/12/9999

struct Civil {
    int64_t year = 0;
    int32_t month = 0;
    int32_t day = 0;
};

Civil CivilFromDayNumber(int64_t dayNumber) {
    const int64_t days = dayNumber + 693899;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    Civil civil;
    civil.day = static_cast<int32_t>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    civil.month = static_cast<int32_t>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    civil.year = yearOfEra + era * 400 + (civil.month <= 2 ? 1 : 0);
    return civil;
}

struct Moment {
    int64_t dayNumber = 0;
    double fraction = 0.0;  // time of day, [0, 1)
};

// Only for serials within range, so the conversion to an integer is defined.
Moment ToMoment(Date date) {
    const double whole = std::trunc(date.Serial());
    return {static_cast<int64_t>(whole), std::fabs(date.Serial() - whole)};
}

Date FromMoment(int64_t dayNumber, double fraction) {
    const double days = static_cast<double>(dayNumber);
    return Date(dayNumber >= 0 ? days + fraction : days - fraction);
}

std::optional<Date> CheckedDate(int64_t dayNumber, double fraction) {
    if (dayNumber < MinDayNumber || dayNumber > MaxDayNumber) {
        return std::nullopt;
    }
    return FromMoment(dayNumber, fraction);
}

int64_t FloorDiv(int64_t a, int64_t b) {
    const int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

int64_t FloorMod(int64_t a, int64_t b) {
    return a - FloorDiv(a, b) * b;
}

// 1 for Sunday; 30/12/1899 was a Saturday.
int32_t SundayWeekday(int64_t dayNumber) {
    return static_cast<int32_t>(FloorMod(dayNumber + 6, 7)) + 1;
}

int32_t FirstDayNumber(FirstDayOfWeek firstDay) {
    // The system's first day is Sunday under both locales the library knows.
    const int32_t value = static_cast<int32_t>(firstDay);
    return value >= 1 && value <= 7 ? value : 1;
}

// Two-digit years, as the host reads them: 0..29 are this century's.
int64_t WidenYear(int64_t year) {
    if (year >= 0 && year <= 29) {
        return year + 2000;
    }
    if (year >= 30 && year <= 99) {
        return year + 1900;
    }
    return year;
}

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return out;
}

std::optional<Date> AddMonths(Date date, int64_t months) {
    const Moment moment = ToMoment(date);
    const Civil civil = CivilFromDayNumber(moment.dayNumber);
    const int64_t total = civil.year * 12 + (civil.month - 1) + months;
    const int64_t year = FloorDiv(total, 12);
    const int32_t month = static_cast<int32_t>(FloorMod(total, 12)) + 1;
    if (year < 100 || year > 9999) {
        return std::nullopt;
    }
    const int32_t day = std::min(civil.day, DaysInMonth(year, month));
    return CheckedDate(DayNumberFromCivil(year, month, day), moment.fraction);
}

std::optional<Date> AddSeconds(Date date, double seconds) {
    const Moment moment = ToMoment(date);
    const double total = moment.fraction * SecondsPerDay + seconds;
    const double days = std::floor(total / SecondsPerDay);
    if (std::fabs(days) > 1e8) {
        return std::nullopt;
    }
    double fraction = (total - days * SecondsPerDay) / SecondsPerDay;
    if (fraction >= 1.0) {
        fraction = 0.0;
    }
    return CheckedDate(moment.dayNumber + static_cast<int64_t>(days), fraction);
}

// ---- The clock -----------------------------------------------------------

std::mutex& ClockMutex() {
    static std::mutex mutex;
    return mutex;
}

std::function<Date()>& ClockSource() {
    static std::function<Date()> source;
    return source;
}

Date SystemNow() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
#if defined(_WIN32)
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    const int64_t dayNumber =
        DayNumberFromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    const int64_t seconds = local.tm_hour * 3600 + local.tm_min * 60 + std::min(local.tm_sec, 59);
    return FromMoment(dayNumber, static_cast<double>(seconds) / SecondsPerDay);
}

}  // namespace

namespace detail {

std::optional<DateParts> SplitDate(Date date) {
    if (!date.IsValid()) {
        return std::nullopt;
    }
    Moment moment = ToMoment(date);
    int64_t seconds = std::llround(moment.fraction * SecondsPerDay);
    if (seconds >= SecondsPerDay) {
        // The last representable instant would round into the year 10000;
        // it stays on its own day instead.
        if (moment.dayNumber == MaxDayNumber) {
            seconds = SecondsPerDay - 1;
        } else {
            seconds -= SecondsPerDay;
            ++moment.dayNumber;
        }
    }
    const Civil civil = CivilFromDayNumber(moment.dayNumber);
    DateParts parts;
    parts.dayNumber = moment.dayNumber;
    parts.year = static_cast<int32_t>(civil.year);
    parts.month = civil.month;
    parts.day = civil.day;
    parts.hour = static_cast<int32_t>(seconds / 3600);
    parts.minute = static_cast<int32_t>(seconds / 60 % 60);
    parts.second = static_cast<int32_t>(seconds % 60);
    parts.weekday = SundayWeekday(moment.dayNumber);
    parts.dayOfYear =
        static_cast<int32_t>(moment.dayNumber - DayNumberFromCivil(civil.year, 1, 1)) + 1;
    return parts;
}

}  // namespace detail

std::optional<Date> DateSerial(int32_t year, int32_t month, int32_t day) {
    const int64_t months = WidenYear(year) * 12 + (static_cast<int64_t>(month) - 1);
    const int64_t wholeYear = FloorDiv(months, 12);
    const int32_t wholeMonth = static_cast<int32_t>(FloorMod(months, 12)) + 1;
    // Checked before the day count so the arithmetic below cannot overflow;
    // a day offset moves the result by at most 2^31 days, about 6 million years.
    if (wholeYear < -6000000 || wholeYear > 6000000) {
        return std::nullopt;
    }
    const int64_t dayNumber =
        DayNumberFromCivil(wholeYear, wholeMonth, 1) + (static_cast<int64_t>(day) - 1);
    return CheckedDate(dayNumber, 0.0);
}

std::optional<Date> TimeSerial(int32_t hour, int32_t minute, int32_t second) {
    const int64_t seconds = static_cast<int64_t>(hour) * 3600 + static_cast<int64_t>(minute) * 60 +
                            static_cast<int64_t>(second);
    // A negative time lands on the days before 30/12/1899, read the way the
    // serial encodes them: TimeSerial(-1, 0, 0) is 29/12/1899 23:00.
    const int64_t days = FloorDiv(seconds, SecondsPerDay);
    const int64_t rest = FloorMod(seconds, SecondsPerDay);
    return CheckedDate(days, static_cast<double>(rest) / SecondsPerDay);
}

std::optional<Date> DateAdd(std::string_view interval, int32_t number, Date date) {
    if (!date.IsValid()) {
        return std::nullopt;
    }
    const std::string unit = Lower(interval);
    const int64_t n = number;
    if (unit == "yyyy") {
        return AddMonths(date, n * 12);
    }
    if (unit == "q") {
        return AddMonths(date, n * 3);
    }
    if (unit == "m") {
        return AddMonths(date, n);
    }
    if (unit == "y" || unit == "d" || unit == "w" || unit == "ww") {
        const Moment moment = ToMoment(date);
        return CheckedDate(moment.dayNumber + (unit == "ww" ? n * 7 : n), moment.fraction);
    }
    if (unit == "h") {
        return AddSeconds(date, static_cast<double>(n) * 3600);
    }
    if (unit == "n") {
        return AddSeconds(date, static_cast<double>(n) * 60);
    }
    if (unit == "s") {
        return AddSeconds(date, static_cast<double>(n));
    }
    return std::nullopt;
}

std::optional<int64_t> DateDiff(std::string_view interval, Date date1, Date date2,
                                FirstDayOfWeek firstDay, FirstWeekOfYear firstWeek) {
    // Deliberate: like the host, "ww" counts weekday boundaries and never
    // looks at the first week of the year.
    (void)firstWeek;
    const auto a = detail::SplitDate(date1);
    const auto b = detail::SplitDate(date2);
    if (!a || !b) {
        return std::nullopt;
    }
    const std::string unit = Lower(interval);
    const int64_t days = b->dayNumber - a->dayNumber;
    if (unit == "yyyy") {
        return b->year - a->year;
    }
    if (unit == "q") {
        return (static_cast<int64_t>(b->year) * 4 + (b->month - 1) / 3) -
               (static_cast<int64_t>(a->year) * 4 + (a->month - 1) / 3);
    }
    if (unit == "m") {
        return (static_cast<int64_t>(b->year) * 12 + b->month) -
               (static_cast<int64_t>(a->year) * 12 + a->month);
    }
    if (unit == "y" || unit == "d") {
        return days;
    }
    if (unit == "w") {
        return days / 7;  // truncated towards zero, as the host does
    }
    if (unit == "ww") {
        // Each date is moved back to the start of its week; the distance
        // between those starts counts the firstDay weekdays crossed.
        const int32_t first = FirstDayNumber(firstDay);
        const int64_t startA = a->dayNumber - FloorMod(a->weekday - first, 7);
        const int64_t startB = b->dayNumber - FloorMod(b->weekday - first, 7);
        return (startB - startA) / 7;
    }
    const int64_t hours = days * 24 + (b->hour - a->hour);
    if (unit == "h") {
        return hours;
    }
    const int64_t minutes = hours * 60 + (b->minute - a->minute);
    if (unit == "n") {
        return minutes;
    }
    if (unit == "s") {
        return minutes * 60 + (b->second - a->second);
    }
    return std::nullopt;
}

namespace {

// Out-of-range dates have no parts; they read as 0.
int32_t Part(Date date, int32_t detail::DateParts::*field) {
    const auto parts = detail::SplitDate(date);
    return parts ? (*parts).*field : 0;
}

}  // namespace

int32_t Year(Date date) {
    return Part(date, &detail::DateParts::year);
}

int32_t Month(Date date) {
    return Part(date, &detail::DateParts::month);
}

int32_t Day(Date date) {
    return Part(date, &detail::DateParts::day);
}

int32_t Hour(Date date) {
    return Part(date, &detail::DateParts::hour);
}

int32_t Minute(Date date) {
    return Part(date, &detail::DateParts::minute);
}

int32_t Second(Date date) {
    return Part(date, &detail::DateParts::second);
}

int32_t Weekday(Date date, FirstDayOfWeek firstDay) {
    const auto parts = detail::SplitDate(date);
    if (!parts) {
        return 0;
    }
    return static_cast<int32_t>(FloorMod(parts->weekday - FirstDayNumber(firstDay), 7)) + 1;
}

Date DateValue(Date date) {
    const auto parts = detail::SplitDate(date);
    return parts ? Date(static_cast<double>(parts->dayNumber)) : Date();
}

Date TimeValue(Date date) {
    const auto parts = detail::SplitDate(date);
    if (!parts) {
        return Date();
    }
    const int32_t seconds = parts->hour * 3600 + parts->minute * 60 + parts->second;
    return Date(static_cast<double>(seconds) / SecondsPerDay);
}

std::string MonthName(int32_t month, bool abbreviate, const Locale& locale) {
    if (month < 1 || month > 12) {
        return {};
    }
    return abbreviate ? locale.monthAbbreviations[month - 1] : locale.monthNames[month - 1];
}

std::string WeekdayName(int32_t weekday, bool abbreviate, FirstDayOfWeek firstDay,
                        const Locale& locale) {
    if (weekday < 1 || weekday > 7) {
        return {};
    }
    const auto index = static_cast<size_t>((weekday - 1 + FirstDayNumber(firstDay) - 1) % 7);
    return abbreviate ? locale.dayAbbreviations[index] : locale.dayNames[index];
}

// ---- CDate ---------------------------------------------------------------

namespace {

enum class TokenKind { Number, Month, DayName, AmPm, Connector, TimeSeparator, Separator };

struct Token {
    TokenKind kind = TokenKind::Number;
    int64_t value = 0;  // number, month 1..12, or 1 for PM
    int32_t digits = 0;
    char separator = 0;
};

struct Name {
    std::string folded;
    TokenKind kind;
    int64_t value;
};

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Letters for the purpose of word boundaries: ASCII letters and every byte of
// a multi-byte UTF-8 character.
bool IsWordByte(char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u >= 0x80;
}

// Lower-cases ASCII and the Latin-1 capitals (U+00C0..U+00DE but the
// multiplication sign), which is all the month and day names need. Both keep
// their UTF-8 length, so positions in the folded text match the original.
std::string FoldName(std::string_view text) {
    std::string out(text);
    for (size_t i = 0; i < out.size(); ++i) {
        const auto c = static_cast<unsigned char>(out[i]);
        if (c >= 'A' && c <= 'Z') {
            out[i] = static_cast<char>(c + 0x20);
        } else if (c == 0xC3 && i + 1 < out.size()) {
            const auto next = static_cast<unsigned char>(out[i + 1]);
            if (next >= 0x80 && next <= 0x9E && next != 0x97) {
                out[i + 1] = static_cast<char>(next + 0x20);
            }
            ++i;
        }
    }
    return out;
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// "12" or "12,5" is a number, never a date.
bool IsPlainNumber(std::string_view text, const Locale& locale) {
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    size_t digits = 0;
    while (digits < text.size() && IsDigit(text[digits])) {
        ++digits;
    }
    text.remove_prefix(digits);
    if (!locale.decimalSymbol.empty() && text.starts_with(locale.decimalSymbol)) {
        text.remove_prefix(locale.decimalSymbol.size());
        while (!text.empty() && IsDigit(text.front())) {
            text.remove_prefix(1);
            ++digits;
        }
    }
    return digits > 0 && text.empty();
}

// Words of the quoted text in the long date format ("de" in pt-BR's
// "dddd, d \"de\" mmmm \"de\" yyyy"), which may stand between date parts.
void AddConnectors(std::string_view pattern, std::vector<Name>& names) {
    bool quoted = false;
    std::string word;
    auto flush = [&] {
        if (!word.empty()) {
            names.push_back({FoldName(word), TokenKind::Connector, 0});
            word.clear();
        }
    };
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c == '"') {
            flush();
            quoted = !quoted;
        } else if (!quoted && c == '\\') {
            ++i;
        } else if (quoted && IsWordByte(c)) {
            word += c;
        } else {
            flush();
        }
    }
    flush();
}

std::vector<Name> KnownNames(const Locale& locale) {
    std::vector<Name> names;
    for (const Locale* source : {&locale, &Locale::EnUS()}) {
        for (size_t i = 0; i < 12; ++i) {
            const auto month = static_cast<int64_t>(i) + 1;
            names.push_back({FoldName(source->monthNames[i]), TokenKind::Month, month});
            names.push_back({FoldName(source->monthAbbreviations[i]), TokenKind::Month, month});
        }
        for (size_t i = 0; i < 7; ++i) {
            names.push_back({FoldName(source->dayNames[i]), TokenKind::DayName, 0});
            names.push_back({FoldName(source->dayAbbreviations[i]), TokenKind::DayName, 0});
        }
    }
    for (const char* symbol : {"am", "a"}) {
        names.push_back({symbol, TokenKind::AmPm, 0});
    }
    for (const char* symbol : {"pm", "p"}) {
        names.push_back({symbol, TokenKind::AmPm, 1});
    }
    names.push_back({FoldName(locale.amSymbol), TokenKind::AmPm, 0});
    names.push_back({FoldName(locale.pmSymbol), TokenKind::AmPm, 1});
    AddConnectors(locale.longDateFormat, names);
    std::erase_if(names, [](const Name& name) { return name.folded.empty(); });
    return names;
}

std::optional<std::vector<Token>> Tokenize(std::string_view text, const Locale& locale) {
    const std::string folded = FoldName(text);
    const std::vector<Name> names = KnownNames(locale);
    std::vector<Token> tokens;
    size_t i = 0;
    while (i < text.size()) {
        const std::string_view rest = std::string_view(folded).substr(i);
        const char c = text[i];
        if (IsBlank(c)) {
            ++i;
        } else if (IsDigit(c)) {
            Token token;
            while (i < text.size() && IsDigit(text[i])) {
                // Saturates: a piece this long is never a valid date part.
                token.value = std::min<int64_t>(token.value * 10 + (text[i] - '0'), 1000000000);
                ++token.digits;
                ++i;
            }
            tokens.push_back(token);
        } else if (rest.starts_with(":") ||
                   (!locale.timeSeparator.empty() && rest.starts_with(locale.timeSeparator))) {
            tokens.push_back({TokenKind::TimeSeparator, 0, 0, ':'});
            i += rest.starts_with(":") ? 1 : locale.timeSeparator.size();
        } else if (c == '/' || c == '-' || c == '.' || c == ',') {
            tokens.push_back({TokenKind::Separator, 0, 0, c});
            ++i;
        } else if (!locale.dateSeparator.empty() && rest.starts_with(locale.dateSeparator)) {
            tokens.push_back({TokenKind::Separator, 0, 0, '/'});
            i += locale.dateSeparator.size();
        } else if (IsWordByte(c)) {
            // The longest name that ends at a word boundary: "mar" must not
            // take the start of "março", "sáb" not that of "sábado".
            const Name* best = nullptr;
            for (const Name& name : names) {
                const size_t end = name.folded.size();
                if (rest.starts_with(name.folded) &&
                    (end == rest.size() || !IsWordByte(rest[end])) &&
                    (!best || end > best->folded.size())) {
                    best = &name;
                }
            }
            if (!best) {
                return std::nullopt;
            }
            tokens.push_back({best->kind, best->value, 0, 0});
            i += best->folded.size();
        } else {
            return std::nullopt;
        }
    }
    return tokens;
}

bool IsKind(const std::vector<Token>& tokens, size_t i, TokenKind kind) {
    return i < tokens.size() && tokens[i].kind == kind;
}

// Seconds since midnight for hour:minute[:second] [AM/PM], or an hour with
// AM/PM alone. The tokens are exactly the time.
std::optional<int64_t> ParseTime(const std::vector<Token>& tokens) {
    if (!IsKind(tokens, 0, TokenKind::Number)) {
        return std::nullopt;
    }
    std::vector<int64_t> fields = {tokens[0].value};
    size_t i = 1;
    while (IsKind(tokens, i, TokenKind::TimeSeparator)) {
        if (!IsKind(tokens, i + 1, TokenKind::Number)) {
            return std::nullopt;
        }
        fields.push_back(tokens[i + 1].value);
        i += 2;
    }
    std::optional<bool> pm;
    if (IsKind(tokens, i, TokenKind::AmPm)) {
        pm = tokens[i].value == 1;
        ++i;
    }
    if (i != tokens.size() || fields.size() > 3 || (fields.size() == 1 && !pm)) {
        return std::nullopt;
    }
    fields.resize(3, 0);
    int64_t hour = fields[0];
    if (pm) {
        if (hour > 12) {
            return std::nullopt;
        }
        hour = hour % 12 + (*pm ? 12 : 0);
    }
    if (hour > 23 || fields[1] > 59 || fields[2] > 59) {
        return std::nullopt;
    }
    return hour * 3600 + fields[1] * 60 + fields[2];
}

// Splits the tokens into the date part and the time part, the time being a
// run at the start or the end that holds a time separator or ends in AM/PM.
bool SplitOffTime(const std::vector<Token>& tokens, std::vector<Token>& date,
                  std::vector<Token>& time) {
    size_t first = tokens.size();
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].kind == TokenKind::TimeSeparator || tokens[i].kind == TokenKind::AmPm) {
            first = i;
            break;
        }
    }
    if (first == tokens.size()) {
        date = tokens;
        return true;
    }
    if (first == 0 || tokens[first - 1].kind != TokenKind::Number) {
        return false;
    }
    size_t begin = first - 1;
    size_t end = first;
    while (end < tokens.size() &&
           (tokens[end].kind == TokenKind::Number || tokens[end].kind == TokenKind::TimeSeparator ||
            tokens[end].kind == TokenKind::AmPm)) {
        if (tokens[end].kind == TokenKind::Number &&
            tokens[end - 1].kind != TokenKind::TimeSeparator) {
            break;  // a number after the time starts the date
        }
        ++end;
    }
    if (begin != 0 && end != tokens.size()) {
        return false;
    }
    time.assign(tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                tokens.begin() + static_cast<std::ptrdiff_t>(end));
    date.assign(tokens.begin(), tokens.begin() + static_cast<std::ptrdiff_t>(begin));
    date.insert(date.end(), tokens.begin() + static_cast<std::ptrdiff_t>(end), tokens.end());
    return true;
}

bool IsYearLike(const Token& token) {
    return token.digits >= 3 || token.value > 31;
}

std::optional<int64_t> ValidDay(int64_t year, int64_t month, int64_t day) {
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 ||
        day > DaysInMonth(year, static_cast<int32_t>(month))) {
        return std::nullopt;
    }
    return DayNumberFromCivil(year, static_cast<int32_t>(month), static_cast<int32_t>(day));
}

// A day and month read in the given order, or the other way round when that
// order makes no date.
std::optional<int64_t> DayMonthEitherWay(int64_t year, int64_t day, int64_t month) {
    if (auto found = ValidDay(year, month, day)) {
        return found;
    }
    return ValidDay(year, day, month);
}

int64_t YearOf(const Token& token) {
    return token.digits <= 2 ? WidenYear(token.value) : token.value;
}

int64_t CurrentYear() {
    return Year(Today());
}

std::optional<int64_t> ReadNumericDate(const std::vector<Token>& numbers, const Locale& locale) {
    if (numbers.size() == 3) {
        const Token& a = numbers[0];
        const Token& b = numbers[1];
        const Token& c = numbers[2];
        if (IsYearLike(a) || locale.dateOrder == DateOrder::YearMonthDay) {
            return DayMonthEitherWay(YearOf(a), c.value, b.value);
        }
        if (locale.dateOrder == DateOrder::DayMonthYear) {
            return DayMonthEitherWay(YearOf(c), a.value, b.value);
        }
        return DayMonthEitherWay(YearOf(c), b.value, a.value);
    }
    if (numbers.size() == 2) {
        const Token& a = numbers[0];
        const Token& b = numbers[1];
        if (IsYearLike(a)) {
            return ValidDay(YearOf(a), b.value, 1);
        }
        if (IsYearLike(b)) {
            return ValidDay(YearOf(b), a.value, 1);
        }
        if (locale.dateOrder == DateOrder::DayMonthYear) {
            return DayMonthEitherWay(CurrentYear(), a.value, b.value);
        }
        return DayMonthEitherWay(CurrentYear(), b.value, a.value);
    }
    return std::nullopt;
}

std::optional<int64_t> ReadNamedDate(const std::vector<Token>& numbers, int64_t month) {
    if (numbers.size() == 2) {
        const bool yearFirst = IsYearLike(numbers[0]);
        const Token& day = yearFirst ? numbers[1] : numbers[0];
        const Token& year = yearFirst ? numbers[0] : numbers[1];
        return ValidDay(YearOf(year), month, day.value);
    }
    if (numbers.size() == 1) {
        if (IsYearLike(numbers[0])) {
            return ValidDay(YearOf(numbers[0]), month, 1);
        }
        return ValidDay(CurrentYear(), month, numbers[0].value);
    }
    return std::nullopt;
}

// The day number of a date written as numbers and at most one month name,
// after an optional day name. Between two parts stand blanks, connector words
// and at most one separator; commas only in dates with names.
std::optional<int64_t> ParseDatePart(const std::vector<Token>& tokens, const Locale& locale) {
    std::vector<Token> numbers;
    std::optional<int64_t> month;
    bool hasNames = false;
    int32_t separators = 0;  // since the last part
    for (size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        switch (token.kind) {
            case TokenKind::DayName:
                if (i != 0) {
                    return std::nullopt;
                }
                hasNames = true;
                break;
            case TokenKind::Separator:
                if (i == 0 || ++separators > 1 || (token.separator == ',' && !hasNames)) {
                    return std::nullopt;
                }
                continue;
            case TokenKind::Connector:
                break;
            case TokenKind::Month:
                if (month) {
                    return std::nullopt;
                }
                month = token.value;
                hasNames = true;
                break;
            case TokenKind::Number:
                numbers.push_back(token);
                break;
            default:
                return std::nullopt;
        }
        separators = 0;
    }
    if (tokens.empty() || tokens.back().kind == TokenKind::Separator) {
        return std::nullopt;
    }
    return month ? ReadNamedDate(numbers, *month) : ReadNumericDate(numbers, locale);
}

}  // namespace

std::optional<Date> CDate(std::string_view text, const Locale& locale) {
    text = TrimBlanks(text);
    if (text.empty() || IsPlainNumber(text, locale)) {
        return std::nullopt;
    }
    const auto tokens = Tokenize(text, locale);
    if (!tokens) {
        return std::nullopt;
    }
    std::vector<Token> datePart;
    std::vector<Token> timePart;
    if (!SplitOffTime(*tokens, datePart, timePart)) {
        return std::nullopt;
    }
    int64_t dayNumber = 0;
    if (!datePart.empty()) {
        const auto found = ParseDatePart(datePart, locale);
        if (!found) {
            return std::nullopt;
        }
        dayNumber = *found;
    }
    int64_t seconds = 0;
    if (!timePart.empty()) {
        const auto found = ParseTime(timePart);
        if (!found) {
            return std::nullopt;
        }
        seconds = *found;
    }
    return FromMoment(dayNumber, static_cast<double>(seconds) / SecondsPerDay);
}

bool IsDate(std::string_view text, const Locale& locale) {
    return CDate(text, locale).has_value();
}

Date Now() {
    std::function<Date()> source;
    {
        const std::lock_guard lock(ClockMutex());
        source = ClockSource();
    }
    return source ? source() : SystemNow();
}

Date Today() {
    return DateValue(Now());
}

void SetClock(std::function<Date()> source) {
    const std::lock_guard lock(ClockMutex());
    ClockSource() = std::move(source);
}

}  // namespace kelvara
