#pragma once

// The host's Date: an automation date, days since 30 December 1899 with the
// time of day as the fraction. Before that day the integer part counts
// backwards while the fraction still runs forwards: -1.25 is 29/12/1899 06:00.
// Valid dates run from 1 January 100 to 31 December 9999.

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "kelvara/base/Locale.h"

namespace kelvara {

class Date {
public:
    static constexpr double MinSerial = -657434.0;         // 01/01/0100
    static constexpr double MaxSerial = 2958465.99999999;  // 31/12/9999 23:59:59

    constexpr Date() = default;
    constexpr explicit Date(double serial) : serial(serial) {}

    constexpr double Serial() const { return serial; }
    constexpr bool IsValid() const { return serial >= MinSerial && serial <= MaxSerial; }

    friend constexpr auto operator<=>(const Date&, const Date&) = default;

private:
    double serial = 0.0;
};

enum class FirstDayOfWeek : int32_t {
    UseSystem = 0,
    Sunday = 1,
    Monday = 2,
    Tuesday = 3,
    Wednesday = 4,
    Thursday = 5,
    Friday = 6,
    Saturday = 7
};

enum class FirstWeekOfYear : int32_t {
    UseSystem = 0,
    Jan1 = 1,
    FirstFourDays = 2,
    FirstFullWeek = 3
};

// Out-of-range months and days roll over into the next or previous year or
// month (DateSerial(2014, 13, 0) is 31/12/2014); years 0 to 29 mean 2000 to
// 2029 and 30 to 99 mean 1930 to 1999. nullopt when the result is not a
// valid date.
std::optional<Date> DateSerial(int32_t year, int32_t month, int32_t day);
std::optional<Date> TimeSerial(int32_t hour, int32_t minute, int32_t second);

// Intervals: "yyyy", "q", "m" (day clamped to the month's end), "y", "d",
// "w", "ww", "h", "n", "s", in any case. nullopt for an unknown interval or
// a result out of range.
std::optional<Date> DateAdd(std::string_view interval, int32_t number, Date date);
std::optional<int64_t> DateDiff(std::string_view interval, Date date1, Date date2,
                                FirstDayOfWeek firstDay = FirstDayOfWeek::Sunday,
                                FirstWeekOfYear firstWeek = FirstWeekOfYear::Jan1);

int32_t Year(Date date);
int32_t Month(Date date);
int32_t Day(Date date);
int32_t Hour(Date date);
int32_t Minute(Date date);
int32_t Second(Date date);
// 1 for firstDay, up to 7.
int32_t Weekday(Date date, FirstDayOfWeek firstDay = FirstDayOfWeek::Sunday);
Date DateValue(Date date);  // the date without its time
Date TimeValue(Date date);  // the time without its date

std::string MonthName(int32_t month, bool abbreviate = false,
                      const Locale& locale = Locale::Current());
std::string WeekdayName(int32_t weekday, bool abbreviate = false,
                        FirstDayOfWeek firstDay = FirstDayOfWeek::Sunday,
                        const Locale& locale = Locale::Current());

// Date text under the locale: numbers separated by "/", "-", "." or blanks
// in the locale's order (a first number above 31 or of four digits starts a
// year-first date; a day and month that cannot be read in the locale's order
// are tried the other way round), month names, an optional time
// ("hh:nn[:ss]" with AM/PM), or a time alone.
std::optional<Date> CDate(std::string_view text, const Locale& locale = Locale::Current());
bool IsDate(std::string_view text, const Locale& locale = Locale::Current());

// The clock. Now() and Today() read the system clock unless a source is set;
// SetClock(nullptr) goes back to the system clock.
Date Now();
Date Today();
void SetClock(std::function<Date()> source);

}  // namespace kelvara
