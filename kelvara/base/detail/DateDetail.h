#pragma once

// What Date.cpp shares with DateFormat.cpp: a date split into its civil
// parts and the day-number arithmetic behind it.

#include <cstdint>
#include <optional>

#include "kelvara/base/Date.h"

namespace kelvara::detail {

struct DateParts {
    int64_t dayNumber = 0;  // days since 30/12/1899, negative before it
    int32_t year = 0;
    int32_t month = 0;
    int32_t day = 0;
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
    int32_t weekday = 0;    // 1 for Sunday up to 7
    int32_t dayOfYear = 0;  // 1 for 1 January
};

// The date's parts with its time rounded to the nearest second; nullopt when
// the date is out of range.
std::optional<DateParts> SplitDate(Date date);

// Day numbers count days since 30/12/1899 on the proleptic Gregorian calendar.
int64_t DayNumberFromCivil(int64_t year, int32_t month, int32_t day);
int32_t DaysInMonth(int64_t year, int32_t month);

}  // namespace kelvara::detail
