#include <gtest/gtest.h>

#include <string>

#include "kelvara/base/Date.h"
#include "kelvara/base/Format.h"
#include "kelvara/base/detail/FormatDetail.h"

namespace kelvara {
namespace {

Date At(int32_t year, int32_t month, int32_t day, int32_t hour = 0, int32_t minute = 0,
        int32_t second = 0) {
    const double date = DateSerial(year, month, day).value().Serial();
    const double time = TimeSerial(hour, minute, second).value().Serial();
    return Date(date >= 0 ? date + time : date - time);
}

struct FormatCase {
    const char* pattern;
    const char* want;
};

void ExpectFormats(Date date, const Locale& locale, std::initializer_list<FormatCase> cases) {
    for (const auto& c : cases) {
        EXPECT_EQ(detail::FormatDate(date, c.pattern, locale), c.want)
            << locale.name << " pattern \"" << c.pattern << "\"";
    }
}

TEST(FormatDatePatterns, PrintEachTokenUnderBrazilianPortuguese) {
    ExpectFormats(At(2026, 11, 21, 14, 5, 9), Locale::PtBR(),
                  {
                      {"dd/mm/yyyy", "21/11/2026"},
                      {"DD/MM/YYYY", "21/11/2026"},
                      {"d", "21"},
                      {"ddd", "sáb"},
                      {"dddd", "sábado"},
                      {"ddddd", "21/11/2026"},
                      {"dddddd", "sábado, 21 de novembro de 2026"},
                      {"ddddddd", "sábado, 21 de novembro de 202621"},
                      {"w", "7"},
                      {"ww", "47"},
                      {"m", "11"},
                      {"mmm", "nov"},
                      {"mmmm", "novembro"},
                      {"mmmmm", "novembro11"},
                      {"q", "4"},
                      {"y", "325"},
                      {"yy", "26"},
                      {"yyy", "26325"},
                      {"yyyy", "2026"},
                      {"hh:nn:ss", "14:05:09"},
                      {"h:n:s", "14:5:9"},
                      {"h:m", "14:5"},
                      {"hh\\h mm", "14h 05"},
                      {"h mmm", "14 nov"},
                      {"mm", "11"},
                      {"ttttt", "14:05:09"},
                      {"tt", "tt"},
                      {"c", "21/11/2026 14:05:09"},
                      {"h AM/PM", "2 PM"},
                      {"h am/pm", "2 pm"},
                      {"hh A/P", "02 P"},
                      {"h a/p", "2 p"},
                      {"hh:nn AMPM", "02:05 "},  // pt-BR has no AM/PM symbols
                      {"\"dia\" d \"de\" mmmm", "dia 21 de novembro"},
                      {"\\d\\m d", "dm 21"},
                      {"d º, ½", "21 º, ½"},
                      {"\"unterminated d", "unterminated d"},
                  });
}

TEST(FormatDatePatterns, PadOnlyWhereAsked) {
    ExpectFormats(At(2014, 3, 5, 7, 8, 9), Locale::PtBR(),
                  {{"d/m/yy", "5/3/14"}, {"dd/mm/yy", "05/03/14"}, {"h:nn:ss", "7:08:09"}});
    ExpectFormats(At(100, 1, 1), Locale::PtBR(),
                  {{"dd/mm/yyyy", "01/01/100"}, {"yy", "00"}, {"w", "6"}});
}

TEST(FormatDatePatterns, TwelveHourClockAroundMidnightAndNoon) {
    ExpectFormats(At(2026, 11, 21, 0, 30), Locale::EnUS(),
                  {{"h:nn AM/PM", "12:30 AM"}, {"hh:nn AMPM", "12:30 AM"}});
    ExpectFormats(At(2026, 11, 21, 12, 30), Locale::EnUS(),
                  {{"h:nn AM/PM", "12:30 PM"}, {"hh:nn", "12:30"}});
}

TEST(FormatDatePatterns, WeekOfYearStartsWithTheWeekOfJanuaryFirst) {
    // 1 January 2026 is a Thursday, so the Sunday after it starts week 2.
    const struct {
        int32_t month, day;
        const char* want;
    } cases[] = {{1, 1, "1"}, {1, 3, "1"}, {1, 4, "2"}, {12, 26, "52"}, {12, 27, "53"}};
    for (const auto& c : cases) {
        EXPECT_EQ(detail::FormatDate(At(2026, c.month, c.day), "ww", Locale::PtBR()), c.want)
            << c.day << "/" << c.month;
    }
}

TEST(FormatDateNamed, UseTheLocalePatterns) {
    const Date date = At(2026, 11, 21, 14, 5, 9);
    ExpectFormats(date, Locale::PtBR(),
                  {
                      {"", "21/11/2026 14:05:09"},
                      {"General Date", "21/11/2026 14:05:09"},
                      {"long date", "sábado, 21 de novembro de 2026"},
                      {"Medium Date", "21-nov-26"},
                      {"SHORT DATE", "21/11/2026"},
                      {"Long Time", "14:05:09"},
                      {"Short Time", "14:05"},
                  });
    ExpectFormats(date, Locale::EnUS(),
                  {
                      {"General Date", "11/21/2026 2:05:09 PM"},
                      {"Long Date", "Saturday, November 21, 2026"},
                      {"Medium Time", "02:05 PM"},
                      {"m/d/yy", "11/21/26"},
                  });
}

TEST(FormatDateNamed, GeneralDateLeavesOutAnEmptyPart) {
    const struct {
        double serial;
        const char* want;
    } cases[] = {
        {0.0, "00:00:00"},       {0.25, "06:00:00"},
        {46347.0, "21/11/2026"}, {-1.25, "29/12/1899 06:00:00"},
        {-1.0, "29/12/1899"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(detail::FormatDate(Date(c.serial), "General Date", Locale::PtBR()), c.want)
            << "serial " << c.serial;
        EXPECT_EQ(detail::FormatDate(Date(c.serial), "c", Locale::PtBR()), c.want)
            << "serial " << c.serial;
    }
}

TEST(FormatDateNamed, OutOfRangeDatesPrintNothing) {
    EXPECT_EQ(detail::FormatDate(Date(1e10), "dd/mm/yyyy", Locale::PtBR()), "");
}

TEST(FormatDateNamed, LongDateReadsBackAsTheSameDate) {
    for (const Locale* locale : {&Locale::PtBR(), &Locale::EnUS()}) {
        for (double serial = -657434.0; serial <= 2958465.0; serial += 997.0) {
            const Date date(serial);
            for (const char* pattern : {"Long Date", "Medium Date", "General Date"}) {
                const std::string text = detail::FormatDate(date, pattern, *locale);
                const auto back = CDate(text, *locale);
                // Medium dates carry a two-digit year, which only reads back
                // for 1930 to 2029.
                if (std::string(pattern) == "Medium Date" &&
                    (Year(date) < 1930 || Year(date) > 2029)) {
                    continue;
                }
                ASSERT_TRUE(back && back->Serial() == serial)
                    << locale->name << " \"" << text << "\": have "
                    << (back ? back->Serial() : -1e9) << ", want " << serial;
            }
        }
    }
}

TEST(IsDatePatternTest, TellsDatePatternsFromNumberPatterns) {
    const struct {
        const char* pattern;
        bool want;
    } cases[] = {
        {"dd/mm/yyyy", true}, {"hh:nn", true},   {"General Date", true}, {"short time", true},
        {"AM/PM", true},      {"q", true},       {"dd \"0\"", true},     {"d \\#", true},
        {"0.00", false},      {"#,##0", false},  {"0 d", false},         {"Currency", false},
        {"Fixed", false},     {"Yes/No", false}, {"\"dd\"", false},      {"\\d\\m", false},
        {"", false},          {"@@@", false},    {"%", false},           {"General Number", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsDatePattern(c.pattern), c.want) << "\"" << c.pattern << "\"";
    }
}

}  // namespace
}  // namespace kelvara
