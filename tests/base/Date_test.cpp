#include "kelvara/base/Date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace kelvara {
namespace {

struct Civil {
    int32_t year, month, day, hour = 0, minute = 0, second = 0;
};

std::string Show(Date date) {
    char text[64];
    std::snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d (serial %.8f)", Day(date),
                  Month(date), Year(date), Hour(date), Minute(date), Second(date), date.Serial());
    return text;
}

std::string Show(const Civil& c) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d", c.day, c.month, c.year,
                  c.hour, c.minute, c.second);
    return text;
}

bool Same(Date date, const Civil& c) {
    return Year(date) == c.year && Month(date) == c.month && Day(date) == c.day &&
           Hour(date) == c.hour && Minute(date) == c.minute && Second(date) == c.second;
}

// Built from the documented encoding: before 30/12/1899 the day counts back
// while the time still counts forward.
Date At(const Civil& c) {
    const double day = DateSerial(c.year, c.month, c.day).value().Serial();
    const double time = (c.hour * 3600 + c.minute * 60 + c.second) / 86400.0;
    return Date(day >= 0 ? day + time : day - time);
}

// Dates read without a year take it from Today().
class FixedClock : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock([] { return At({2026, 11, 21, 14, 5, 9}); });
    }
    void TearDown() override { SetClock(nullptr); }
};

TEST(DateSerialNumbers, SplitIntoTheirCivilParts) {
    const struct {
        double serial;
        Civil want;
    } cases[] = {
        {0.0, {1899, 12, 30}},
        {1.0, {1899, 12, 31}},
        {2.0, {1900, 1, 1}},
        {60.0, {1900, 2, 28}},  // no 29/02/1900
        {61.0, {1900, 3, 1}},
        {-1.0, {1899, 12, 29}},
        {-1.25, {1899, 12, 29, 6}},
        {-0.5, {1899, 12, 30, 12}},
        {36526.0, {2000, 1, 1}},
        {36585.0, {2000, 2, 29}},
        {38046.0, {2004, 2, 29}},
        {46347.58690972, {2026, 11, 21, 14, 5, 9}},
        {Date::MinSerial, {100, 1, 1}},
        {2958465.0, {9999, 12, 31}},
        {Date::MaxSerial, {9999, 12, 31, 23, 59, 59}},
        {0.99999999, {1899, 12, 31}},          // rounds up into the next day
        {-1.99999999, {1899, 12, 30}},         // ... also before 1899
        {1.0000070, {1899, 12, 31, 0, 0, 1}},  // 0.6 s rounds up
        {1.0000040, {1899, 12, 31, 0, 0, 0}},  // 0.35 s rounds down
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(Same(Date(c.serial), c.want))
            << "serial " << c.serial << ": have " << Show(Date(c.serial)) << ", want "
            << Show(c.want);
    }
}

TEST(DateSerialNumbers, EveryDayOfTheRangeRoundTrips) {
    int32_t previousDay = 31;
    for (double serial = Date::MinSerial; serial <= 2958465.0; serial += 1.0) {
        const Date date(serial);
        const int32_t day = Day(date);
        ASSERT_TRUE(day == previousDay + 1 || (day == 1 && previousDay >= 28)) << Show(date);
        const auto back = DateSerial(Year(date), Month(date), day);
        ASSERT_TRUE(back && back->Serial() == serial)
            << "have " << (back ? back->Serial() : NAN) << ", want " << serial;
        previousDay = day;
    }
}

TEST(DateSerialNumbers, OutOfRangeHaveNoParts) {
    for (double serial :
         {Date::MinSerial - 1, 2958466.0, std::numeric_limits<double>::quiet_NaN()}) {
        const Date date(serial);
        EXPECT_EQ(Year(date), 0) << serial;
        EXPECT_EQ(Weekday(date), 0) << serial;
    }
}

TEST(DateSerialFunction, RollsMonthsAndDaysOver) {
    const struct {
        int32_t year, month, day;
        Civil want;
    } cases[] = {
        {2014, 13, 0, {2014, 12, 31}},  {2000, 3, 0, {2000, 2, 29}},  {2014, 1, -1, {2013, 12, 30}},
        {2014, 0, 1, {2013, 12, 1}},    {2014, -11, 1, {2013, 1, 1}}, {2014, 1, 400, {2015, 2, 4}},
        {1900, 2, 29, {1900, 3, 1}},    {14, 1, 1, {2014, 1, 1}},     {29, 6, 15, {2029, 6, 15}},
        {30, 6, 15, {1930, 6, 15}},     {99, 12, 31, {1999, 12, 31}}, {100, 1, 1, {100, 1, 1}},
        {9999, 12, 31, {9999, 12, 31}}, {1999, 12, 32, {2000, 1, 1}},
    };
    for (const auto& c : cases) {
        const auto date = DateSerial(c.year, c.month, c.day);
        ASSERT_TRUE(date) << c.year << "," << c.month << "," << c.day;
        EXPECT_TRUE(Same(*date, c.want)) << c.year << "," << c.month << "," << c.day << ": have "
                                         << Show(*date) << ", want " << Show(c.want);
    }
}

TEST(DateSerialFunction, FailsOutsideTheRange) {
    constexpr int32_t big = std::numeric_limits<int32_t>::max();
    constexpr int32_t small = std::numeric_limits<int32_t>::min();
    const int32_t cases[][3] = {{100, 1, 0},     {9999, 12, 32},        {10000, 1, 1},
                                {big, big, big}, {small, small, small}, {2014, big, 1},
                                {2014, 1, small}};
    for (const auto& c : cases) {
        EXPECT_FALSE(DateSerial(c[0], c[1], c[2])) << c[0] << "," << c[1] << "," << c[2];
    }
}

TEST(TimeSerialFunction, RollsOverIntoOtherDays) {
    const struct {
        int32_t hour, minute, second;
        Civil want;
    } cases[] = {
        {14, 5, 9, {1899, 12, 30, 14, 5, 9}}, {12, -15, 0, {1899, 12, 30, 11, 45}},
        {25, 0, 0, {1899, 12, 31, 1, 0, 0}},  {0, 0, 86400 + 61, {1899, 12, 31, 0, 1, 1}},
        {0, -1, 0, {1899, 12, 29, 23, 59}},   {-48, 0, 0, {1899, 12, 28}},
    };
    for (const auto& c : cases) {
        const auto time = TimeSerial(c.hour, c.minute, c.second);
        ASSERT_TRUE(time);
        EXPECT_TRUE(Same(*time, c.want)) << "have " << Show(*time) << ", want " << Show(c.want);
    }
    EXPECT_FALSE(TimeSerial(std::numeric_limits<int32_t>::max(), 0, 0));
}

TEST(DateAddFunction, MovesByEachInterval) {
    const struct {
        const char* interval;
        int32_t number;
        Civil from, want;
    } cases[] = {
        {"m", 1, {2014, 1, 31}, {2014, 2, 28}},
        {"M", -1, {2000, 3, 31, 8, 30}, {2000, 2, 29, 8, 30}},
        {"yyyy", 1, {2000, 2, 29}, {2001, 2, 28}},
        {"YYYY", -1900, {2000, 6, 1}, {100, 6, 1}},
        {"q", 1, {2014, 11, 30, 10, 30}, {2015, 2, 28, 10, 30}},
        {"d", 1, {2014, 12, 31, 23, 0}, {2015, 1, 1, 23, 0}},
        {"y", -2, {1900, 1, 1, 6}, {1899, 12, 30, 6}},
        {"d", 1, {1899, 12, 29, 6}, {1899, 12, 30, 6}},
        {"ww", 2, {2026, 11, 21}, {2026, 12, 5}},
        {"h", 25, {2026, 11, 21, 14, 5, 9}, {2026, 11, 22, 15, 5, 9}},
        {"n", -6, {1899, 12, 30, 0, 5}, {1899, 12, 29, 23, 59}},
        {"s", 1, {1899, 12, 31, 23, 59, 59}, {1900, 1, 1}},
        {"s", -1, {1899, 12, 29, 0, 0, 0}, {1899, 12, 28, 23, 59, 59}},
    };
    for (const auto& c : cases) {
        const auto result = DateAdd(c.interval, c.number, At(c.from));
        ASSERT_TRUE(result) << c.interval << " " << c.number << " " << Show(c.from);
        EXPECT_TRUE(Same(*result, c.want))
            << c.interval << " " << c.number << " " << Show(c.from) << ": have " << Show(*result)
            << ", want " << Show(c.want);
    }
}

TEST(DateAddFunction, FailsForUnknownIntervalsAndLeavingTheRange) {
    EXPECT_FALSE(DateAdd("x", 1, At({2014, 1, 1})));
    EXPECT_FALSE(DateAdd("", 1, At({2014, 1, 1})));
    EXPECT_FALSE(DateAdd("yyyy", 1, At({9999, 12, 31})));
    EXPECT_FALSE(DateAdd("d", -1, At({100, 1, 1})));
    EXPECT_FALSE(DateAdd("s", std::numeric_limits<int32_t>::max(), At({9999, 1, 1})));
    EXPECT_FALSE(DateAdd("d", 1, Date(std::numeric_limits<double>::infinity())));
}

TEST(DateDiffFunction, CountsBoundariesCrossed) {
    const struct {
        const char* interval;
        Civil from, to;
        int64_t want;
        FirstDayOfWeek firstDay = FirstDayOfWeek::Sunday;
    } cases[] = {
        {"yyyy", {2014, 12, 31}, {2015, 1, 1}, 1},
        {"yyyy", {2015, 1, 1}, {2014, 12, 31}, -1},
        {"q", {2014, 3, 31}, {2014, 4, 1}, 1},
        {"q", {2014, 1, 1}, {2015, 12, 31}, 7},
        {"m", {2014, 1, 31}, {2014, 2, 1}, 1},
        {"d", {2026, 11, 21, 23}, {2026, 11, 22, 1}, 1},
        {"y", {2026, 11, 22, 1}, {2026, 11, 21, 23}, -1},
        {"d", {1899, 12, 29, 6}, {1899, 12, 30}, 1},
        {"w", {2026, 11, 1}, {2026, 11, 14}, 1},
        {"w", {2026, 11, 14}, {2026, 11, 1}, -1},
        {"ww", {2026, 11, 21}, {2026, 11, 22}, 1},  // Saturday to Sunday
        {"ww", {2026, 11, 22}, {2026, 11, 28}, 0},  // Sunday to Saturday
        {"ww", {2026, 11, 22}, {2026, 11, 21}, -1},
        {"ww", {2026, 11, 22}, {2026, 11, 23}, 1, FirstDayOfWeek::Monday},
        {"ww", {2026, 11, 23}, {2026, 11, 29}, 0, FirstDayOfWeek::Monday},
        {"h", {2026, 11, 21, 10, 59, 59}, {2026, 11, 21, 11}, 1},
        {"h", {2026, 11, 21, 23}, {2026, 11, 22, 1}, 2},
        {"n", {2026, 11, 21, 10, 0, 59}, {2026, 11, 21, 10, 1}, 1},
        {"s", {1899, 12, 29, 23, 59, 59}, {1899, 12, 30}, 1},
        {"s", {100, 1, 1}, {9999, 12, 31, 23, 59, 59}, 312413759999},
    };
    for (const auto& c : cases) {
        const auto have = DateDiff(c.interval, At(c.from), At(c.to), c.firstDay);
        ASSERT_TRUE(have) << c.interval;
        EXPECT_EQ(*have, c.want) << c.interval << " from " << Show(c.from) << " to " << Show(c.to);
    }
    EXPECT_FALSE(DateDiff("x", At({2014, 1, 1}), At({2014, 1, 2})));
}

TEST(DateParts, WeekdayCountsFromTheFirstDay) {
    const Date saturday = At({2026, 11, 21});
    EXPECT_EQ(Weekday(saturday), 7);
    EXPECT_EQ(Weekday(saturday, FirstDayOfWeek::Monday), 6);
    EXPECT_EQ(Weekday(saturday, FirstDayOfWeek::Saturday), 1);
    EXPECT_EQ(Weekday(saturday, FirstDayOfWeek::UseSystem), 7);
    EXPECT_EQ(Weekday(At({100, 1, 1})), 6);  // a Friday
}

TEST(DateParts, ValueAndTimeSplitTheSerial) {
    EXPECT_EQ(DateValue(Date(-1.25)).Serial(), -1.0);
    EXPECT_EQ(TimeValue(Date(-1.25)).Serial(), 0.25);
    // Rounding to the second may carry the date over.
    EXPECT_EQ(DateValue(Date(46347.99999999)).Serial(), 46348.0);
    EXPECT_EQ(TimeValue(Date(46347.99999999)).Serial(), 0.0);
}

TEST(DateNames, ComeFromTheLocale) {
    const Locale& pt = Locale::PtBR();
    EXPECT_EQ(MonthName(3, false, pt), "março");
    EXPECT_EQ(MonthName(12, true, pt), "dez");
    EXPECT_EQ(MonthName(13, false, pt), "");
    EXPECT_EQ(WeekdayName(7, true, FirstDayOfWeek::Sunday, pt), "sáb");
    EXPECT_EQ(WeekdayName(1, false, FirstDayOfWeek::Monday, pt), "segunda-feira");
    EXPECT_EQ(WeekdayName(7, false, FirstDayOfWeek::Monday, Locale::EnUS()), "Sunday");
    EXPECT_EQ(WeekdayName(0, false, FirstDayOfWeek::Sunday, pt), "");
}

struct ParseCase {
    const char* text;
    bool valid;
    Civil want = {1899, 12, 30};
};

template <size_t N>
void ExpectParses(const ParseCase (&cases)[N], const Locale& locale) {
    for (const auto& c : cases) {
        const auto have = CDate(c.text, locale);
        if (!c.valid) {
            EXPECT_FALSE(have) << locale.name << " \"" << c.text << "\": have " << Show(*have)
                               << ", want no date";
            continue;
        }
        ASSERT_TRUE(have) << locale.name << " \"" << c.text << "\": have no date, want "
                          << Show(c.want);
        EXPECT_TRUE(Same(*have, c.want) && have->Serial() == At(c.want).Serial())
            << locale.name << " \"" << c.text << "\": have " << Show(*have) << ", want "
            << Show(c.want);
        EXPECT_EQ(IsDate(c.text, locale), true) << c.text;
    }
}

using CDateText = FixedClock;

TEST_F(CDateText, ReadsBrazilianDates) {
    const ParseCase cases[] = {
        {"21/11/2026", true, {2026, 11, 21}},
        {"  21-11-26  ", true, {2026, 11, 21}},
        {"21.11.2026", true, {2026, 11, 21}},
        {"5 3 14", true, {2014, 3, 5}},
        {"01/02/30", true, {1930, 2, 1}},
        {"01/13/2020", true, {2020, 1, 13}},
        {"2014-03-05", true, {2014, 3, 5}},
        {"99/12/31", true, {1999, 12, 31}},
        {"1/1/100", true, {100, 1, 1}},
        {"12/2014", true, {2014, 12, 1}},
        {"2014/12", true, {2014, 12, 1}},
        {"12/5", true, {2026, 5, 12}},
        {"5 mar 2014", true, {2014, 3, 5}},
        {"5-MAR-14", true, {2014, 3, 5}},
        {"março 5, 2014", true, {2014, 3, 5}},
        {"5 march 2014", true, {2014, 3, 5}},
        {"21 de novembro de 2026", true, {2026, 11, 21}},
        {"sábado, 21 de novembro de 2026", true, {2026, 11, 21}},
        {"SÁBADO, 21 DE NOVEMBRO DE 2026", true, {2026, 11, 21}},
        {"novembro de 2026", true, {2026, 11, 1}},
        {"5 mar", true, {2026, 3, 5}},
        {"21/11/2026 14:05:09", true, {2026, 11, 21, 14, 5, 9}},
        {"14:05 21/11/2026", true, {2026, 11, 21, 14, 5}},
        {"29/12/1899 06:00", true, {1899, 12, 29, 6}},
        {"14:05", true, {1899, 12, 30, 14, 5}},
        {"2:05:09 PM", true, {1899, 12, 30, 14, 5, 9}},
        {"12:30 am", true, {1899, 12, 30, 0, 30}},
        {"3 pm", true, {1899, 12, 30, 15}},
        {"31/12/9999 23:59:59", true, {9999, 12, 31, 23, 59, 59}},
        {"", false},
        {"12", false},
        {"12,5", false},
        {"01/32/2020", false},
        {"010/2/3", false},  // three digits start a year: the year 10
        {"29/02/2014", false},
        {"31/12/99999", false},
        {"1/1/99 ", true, {1999, 1, 1}},
        {"1/1/0099", false},
        {"1/2/3/4", false},
        {"1//2/2003", false},
        {"1/2/2003/", false},
        {"12,5,2014", false},
        {"5 mar mar 2014", false},
        {"5 xyz 2014", false},
        {"marco 5 2014", false},
        {"25:00", false},
        {"12:60", false},
        {"13:00 PM", false},
        {"14:", false},
        {"PM", false},
        {"21/11/2026 14:05 21/11/2026", false},
    };
    ExpectParses(cases, Locale::PtBR());
}

TEST_F(CDateText, ReadsAmericanDates) {
    const ParseCase cases[] = {
        {"11/21/2026", true, {2026, 11, 21}},
        {"13/1/2020", true, {2020, 1, 13}},
        {"3/5/14", true, {2014, 3, 5}},
        {"12/5", true, {2026, 12, 5}},
        {"Saturday, November 21, 2026", true, {2026, 11, 21}},
        {"Nov 21 2026 2:05 PM", true, {2026, 11, 21, 14, 5}},
        {"21 de novembro de 2026", false},  // "de" is a Portuguese connector only
        {"5 março 2014", false},            // names are English or the locale's own
        {"12.5", false},
    };
    ExpectParses(cases, Locale::EnUS());
}

TEST(Clock, SetClockReplacesAndRestoresTheSource) {
    SetClock([] { return At({2026, 11, 21, 14, 5, 9}); });
    EXPECT_TRUE(Same(Now(), {2026, 11, 21, 14, 5, 9})) << Show(Now());
    EXPECT_TRUE(Same(Today(), {2026, 11, 21})) << Show(Today());
    SetClock(nullptr);
    EXPECT_GE(Year(Now()), 2024) << Show(Now());
    EXPECT_EQ(TimeValue(Today()).Serial(), 0.0);
}

}  // namespace
}  // namespace kelvara
