#include "kelvara/util/KV.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/base/Error.h"
#include "kelvara/base/Locale.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

// Pins today to 21/11/2026 (a Saturday) for the duration of a test.
class FixedToday : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock([] { return *DateSerial(2026, 11, 21); });
    }
    void TearDown() override { SetClock(nullptr); }
};

Date D(int32_t year, int32_t month, int32_t day) {
    return *DateSerial(year, month, day);
}

TEST(KVDates, IsValidDateFollowsLayoutRules) {
    struct Case {
        const char* text;
        int32_t layout;
        bool want;
    };
    const Case cases[] = {
        {"29/02/2000", 1, true},
        {"29/02/1900", 1, false},  // divisible by 100, not by 400
        {"29/02/2400", 1, true},
        {"31/04/2010", 1, false},
        {"30/11/2014", 1, true},
        {"31/11/2014", 1, false},
        {"1/1/14", 3, false},     // two-digit years never pass
        {"01/01/2014", 3, true},  // ... but a four-digit one does, even under DD/MM/YY
        {"31-12-2014", 1, true},  // the separator is found, not taken from the layout
        {"31.12.2014", 5, true},
        {" 01/01/2014 ", 1, true},
        {"1x/2y/2014z", 1, true},  // each piece is read by its numeric prefix
        {"2.5/3/2014", 1, true},   // 2.5 rounds half to even: day 2
        {"0/1/2014", 1, false},
        {"31/12", 1, false},        // too few pieces
        {"31/12/99999", 1, false},  // overflows a 16-bit integer
        {"aa/bb/cccc", 1, false},   // no digits at all
        {"", 1, false},
        {"2012/02/29", 0, true},
        {"2014/02/29", 0, false},
        {"2012-02-29", 25, true},
        {"02/29/2012", 2, true},
        {"02/30/2012", 2, false},
        {"12-31-2014", 14, true},
        {"25/12", 36, false},  // no-year layouts keep year 0: never valid
        {"12/25", 45, false},
        {"12/2014", 54, false},  // the second piece is taken as the day
        {"12/14", 60, true},     // ... so this is day 14 of December this year
        {"02/30", 60, false},
        {"2014/12", 66, true},
        {"2014/13", 66, false},
        {"31/12/2014", 78, false},  // beyond the last layout
        {"31/12/2014", -1, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidDate(c.text, static_cast<ENUM_DATE_FORMAT>(c.layout)), c.want)
            << "IsValidDate(\"" << c.text << "\", " << c.layout << ")";
    }
    EXPECT_TRUE(KV::IsValidDateEx("31/12/2014"));
    EXPECT_FALSE(KV::IsValidDateEx("12/31/2014"));
}

TEST(KVDates, IsValidTimeReadsDelimitedAndPackedForms) {
    struct Case {
        const char* text;
        const char* delimiter;
        bool want;
    };
    const Case cases[] = {
        {"2359", ":", true},
        {"235959", ":", true},
        {"235960", ":", false},
        {"2400", ":", false},
        {"0000", ":", true},
        {"123", ":", false},
        {"1234567", ":", false},
        {"12h30", ":", false},
        {"1:5", ":", true},
        {"23:59:59", ":", true},
        {"24:00", ":", false},
        {"12:60", ":", false},
        {"12:30:15:00", ":", false},
        {"12:", ":", false},
        {"ab:cd", ":", false},
        {"-1:00", ":", false},
        {"12.30", ".", true},
        {"12.30", ":", false},
        {"", ":", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidTime(c.text, c.delimiter), c.want)
            << "IsValidTime(\"" << c.text << "\", \"" << c.delimiter << "\")";
    }
}

TEST_F(FixedToday, FormatAsDatePadsAndWidensYears) {
    struct Case {
        const char* date;
        const char* format;
        const char* want;
    };
    const Case cases[] = {
        {"5-3-14", "dd/mm/yyyy", "05/03/2014"},
        {"5-3-50", "dd/mm/yyyy", "05/03/1950"},
        {"5/3/2014", "1", "05/03/2014"},  // a layout number
        {"5/3/2014", " 0 ", "2014/03/05"},
        {"5.3.2014", "D-M-YYYY", "5-3-2014"},
        {"5/3/2014", "dd/mm", "05/03"},
        {"5/3/2014", "mm/yyyy", "03/2014"},
        {"5/3/2014", "yyyy-mm", "2014-03"},
        {"5/3", "dd/mm/yyyy", "05/03/2026"},         // this year
        {"31/02/2014", "dd/mm/yyyy", "31/02/2014"},  // not a date: the pieces pass through
        {"31/02/14", "dd/mm/yyyy", "31/02/2014"},    // ... and a two-digit year below 50 is 20xx
        {"31/02/75", "dd/mm/yyyy", "31/02/1975"},    // ... otherwise 19xx
        {"5/3/2014", "dddd", "quarta-feira"},        // any other format: the host's text
        {"abc", "dd/mm/yyyy", ""},                   // too few pieces
        {"", "dd/mm/yyyy", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::FormatAsDate(c.date, c.format), c.want)
            << "FormatAsDate(\"" << c.date << "\", \"" << c.format << "\")";
    }
    EXPECT_EQ(KV::FormatAsDateEx("5-3-14"), "05/03/2014");
}

TEST_F(FixedToday, CalculateAgeCountsOnlyBirthdaysReached) {
    EXPECT_EQ(KV::CalculateAge(D(2000, 11, 21)), 26);
    EXPECT_EQ(KV::CalculateAge(D(2000, 11, 22)), 25);
    EXPECT_EQ(KV::CalculateAge(D(2000, 12, 1)), 25);
    EXPECT_EQ(KV::CalculateAge(D(2000, 2, 29)), 26);
    EXPECT_EQ(KV::CalculateAge(D(2026, 11, 21)), 0);
}

TEST_F(FixedToday, NumberOfDaysOnMonthGoesThroughDateText) {
    EXPECT_EQ(KV::NumberOfDaysOnMonth(2, 2024), 29);
    EXPECT_EQ(KV::NumberOfDaysOnMonth(2, 2023), 28);
    EXPECT_EQ(KV::NumberOfDaysOnMonth(2, 1900), 28);
    EXPECT_EQ(KV::NumberOfDaysOnMonth(4, 2024), 30);
    EXPECT_EQ(KV::NumberOfDaysOnMonth(12, 2024), 31);
    EXPECT_EQ(KV::NumberOfDaysOnMonth(2), 28);  // this year, 2026
    // "01/13/2024" reads as 13 January: the month after has 31 days.
    EXPECT_EQ(KV::NumberOfDaysOnMonth(13, 2024), 31);
    for (const int16_t month : {int16_t{0}, int16_t{32}, int16_t{-1}}) {
        try {
            KV::NumberOfDaysOnMonth(month, 2024);
            ADD_FAILURE() << "month " << month << " did not raise";
        } catch (const KelvaraError& e) {
            EXPECT_EQ(e.number, HostError::TypeMismatch) << "month " << month;
        }
    }
}

TEST(KVDates, NameOfTheDayIsPortugueseFromSunday) {
    const struct {
        Date date;
        const char* full;
        const char* shortName;
    } cases[] = {
        {D(2026, 11, 22), "Domingo", "Dom"},      {D(2026, 11, 23), "Segunda-feira", "Seg"},
        {D(2026, 11, 24), "Terça-feira", "Ter"},  {D(2026, 11, 25), "Quarta-feira", "Qua"},
        {D(2026, 11, 26), "Quinta-feira", "Qui"}, {D(2026, 11, 27), "Sexta-feira", "Sex"},
        {D(2026, 11, 21), "Sábado", "Sáb"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::NameOfTheDay(c.date), c.full);
        EXPECT_EQ(KV::NameOfTheDay(c.date, true), c.shortName);
    }
}

TEST(KVDates, IsYearLeap) {
    EXPECT_TRUE(KV::IsYearLeap(2000));
    EXPECT_TRUE(KV::IsYearLeap(2024));
    EXPECT_FALSE(KV::IsYearLeap(1900));
    EXPECT_FALSE(KV::IsYearLeap(2023));
}

TEST(KVDocuments, CPFAndCNPJCheckDigits) {
    const struct {
        const char* document;
        bool want;
    } cases[] = {
        {"111.444.777-35", true},
        {"11144477735", true},
        {"111.444.777-36", false},
        {"111.444.777-45", false},
        {"11.444.777/0001-61", true},
        {"11444777000161", true},
        {"11.444.777/0001-62", false},
        {"11.444.777/0001-71", false},
        {"00000000000", true},
        {"11111111111", true},  // equal digits are not refused
        {"00000000000000", true},
        {"1114447773a", false},
        {"111 444 777 35", false},
        {"1234567890", false},
        {"", false},
        {"111.444.777-3５", false},  // a full-width digit
        {"-1-1-1-4-4-4-7-7-7-3-5-", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidCPFOrCNPJ(c.document), c.want) << c.document;
    }
}

TEST(KVDocuments, IsValidEmail) {
    const struct {
        const char* email;
        bool want;
    } cases[] = {
        {"a@b.c", true},     {"a..b@c.d", false},
        {"a@b@c.d", false},  {"a b@c.d", false},
        {"", false},         {"ab.c", false},
        {"a@bc", false},     {"a.@b.c", false},
        {"a@.b.c", false},   {".a@b.c", true},
        {"a@b.c.", true},    {"a+b@c.d", false},
        {"a_b-c@d.e", true}, {"joão@empresa.com.br", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidEmail(c.email), c.want) << c.email;
    }
}

TEST(KVDocuments, IsValidURLNeedsSchemeAndHost) {
    const struct {
        const char* url;
        bool want;
    } cases[] = {
        {"http://www.example.com.br/index.html?a=1#x", true},
        {"https://user@host:8080/", true},
        {"mailto:cliente@empresa.com.br", true},
        {"file:///c:/dados/nota.xml", true},
        {"www.example.com", false},
        {"http://", false},
        {"http://host:80a/", false},
        {"http://exa mple.com", false},
        {"http://example.com/%zz", false},
        {"1http://x", false},
        {"", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidURL(c.url), c.want) << c.url;
    }
}

TEST(KVDocuments, IsValidIP) {
    const struct {
        const char* ip;
        bool want;
    } cases[] = {
        {"192.168.0.1", true}, {"001.002.003.004", true}, {"256.1.1.1", false},
        {"1.2.3", false},      {"1.2.3.4.5", false},      {"1..3.4", false},
        {"a.b.c.d", false},    {"1000.1.1.1", false},     {"", false},
        {"-1.0.0.0", true},  // no lower bound
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::IsValidIP(c.ip), c.want) << c.ip;
    }
}

TEST(KVDocuments, IsValidFileNameRefusesReservedCharactersAndLength) {
    EXPECT_TRUE(KV::IsValidFileName(""));
    EXPECT_TRUE(KV::IsValidFileName("nota fiscal 001.pdf"));
    EXPECT_TRUE(KV::IsValidFileName(std::string(250, 'a')));
    EXPECT_FALSE(KV::IsValidFileName(std::string(251, 'a')));
    std::string accented;
    for (int i = 0; i < 250; ++i) {
        accented += "ç";  // lengths count characters, not bytes
    }
    EXPECT_TRUE(KV::IsValidFileName(accented));
    for (const char* bad :
         {"a\nb", "a\rb", "a\"b", "a*b", "a/b", "a:b", "a<b", "a>b", "a?b", "a\\b", "a|b"}) {
        EXPECT_FALSE(KV::IsValidFileName(bad)) << bad;
    }
}

TEST(KVText, Filters) {
    EXPECT_EQ(KV::RemoveAccents("ÀÉÎÕÜ àéîõü Çç Ññ ý"), "AEIOU aeiou Cc Ññ ý");
    EXPECT_EQ(KV::ReturnNumbersOnly(" 1a2-3 ,4 "), "1234");
    EXPECT_EQ(KV::ReturnTextsOnly(" ab1 çÉ-2 "), "abçÉ");
    EXPECT_EQ(KV::ReturnTextsAndNumbersOnly(" ab1 çÉ-2 "), "ab1çÉ2");
    EXPECT_EQ(KV::GetStringContent("<b>Texto</b>", "<B>", "</B>"), "Texto");
    EXPECT_EQ(KV::GetStringContent("aXbXc", "x", "x"), "b");
    EXPECT_EQ(KV::GetStringContent("abc", "x", "c"), "");
    EXPECT_EQ(KV::GetStringContent("abc", "a", "x"), "");
    EXPECT_EQ(KV::FormatWithZeros("12345", 3), "12345");
    EXPECT_EQ(KV::FormatWithZeros(" 42 ", 5), "00042");
    EXPECT_EQ(KV::FormatWithZeros("", 2), "00");
}

TEST(KVText, FormatFileSizeExSwitchesUnitsAt999) {
    const LocaleScope ptBR(Locale::PtBR());
    const struct {
        double value;
        const char* want;
    } cases[] = {
        {0, "0 Bytes"},
        {999, "999 Bytes"},
        {999.5, "0,98 Kb"},
        {1000, "0,98 Kb"},
        {1023, "1,00 Kb"},
        {999.0 * 1024, "999,00 Kb"},
        {999.0 * 1024 + 1, "0,98 Mb"},
        {1536000, "1,46 Mb"},
        {1024.0 * 1024 * 1024 * 1.5, "1,50 Gb"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::FormatFileSizeEx(c.value), c.want) << c.value;
    }
}

TEST(KVWords, CurrencyAsStr) {
    const struct {
        double value;
        const char* want;
    } cases[] = {
        {0, "Zero centavos"},
        {1, "Um real"},
        {2, "Dois reais"},
        {0.01, "Um centavo"},
        {0.05, "Cinco centavos"},
        {0.10, "Dez centavos"},
        {0.11, "Onze centavos"},
        {0.15, "Quinze centavos"},
        {0.19, "Dezenove centavos"},
        {0.2, "Vinte centavos"},
        {0.25, "Vinte e cinco centavos"},
        {1.01, "Um real e um centavo"},
        {1.50, "Um real e cinquenta centavos"},
        {100, "Cem reais"},
        {101, "Cento e um reais"},
        {110, "Cento e dez reais"},
        {115, "Cento e quinze reais"},
        {120, "Cento e vinte reais"},
        {220, "Duzentos e vinte reais"},
        {999, "Novecentos e noventa e nove reais"},
        {1000, "Um mil reais"},
        {1001, "Um mil um reais"},  // no "e" between groups
        {1100, "Um mil cem reais"},
        {1234.56, "Um mil duzentos e trinta e quatro reais e cinquenta e seis centavos"},
        {1000000, "Um milhão de reais"},
        {1001000, "Um milhão um mil reais"},
        {5000000, "Cinco milhões de reais"},
        {11000000, "Onze milhões de reais"},
        {21000000, "Vinte e um milhão de reais"},
        {100000000, "Cem milhões de reais"},
        {1000000000, "Um bilhão de reais"},
        {1000001000, "Um bilhão um mil reais"},
        {2000000000, "Dois bilhões de reais"},
        {2005000000, "Dois bilhões cinco milhões de reais"},
        {9999999999.99,
         "Nove bilhões novecentos e noventa e nove milhões novecentos e noventa e nove mil "
         "novecentos e noventa e nove reais e noventa e nove centavos"},
        // The fraction is a binary double: 1200.3 - 1200 is 0.29999999999995...,
        // whose text has more digits than two.
        {1200.3, "Um mil duzentos reais e vinte e três centavos"},
        // ... and 1.10 - 1 is just above 0.1, where the teens start; the
        // teen of the last digit of 0 has no word.
        {1.10, "Um real e centavos"},
        {10000000000, "Valor não suportado."},
        {-1, "Um real negativo"},
        {-0.5, "Cinquenta centavos negativo"},
        {-2, "Dois reais negativos"},
        {-10000000000, "Valor não suportado. negativos"},
        // The absolute value drops every "-" of the text, the exponent's too.
        {0.00001, "Cem mil reais"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KV::CurrencyAsStr(c.value), c.want) << "CurrencyAsStr(" << c.value << ")";
    }
}

TEST(KVWords, CurrencyAsStrTakesOtherCoinNames) {
    EXPECT_EQ(KV::CurrencyAsStr(1.01, "dólar", "dólares", "cent", "cents"), "Um dólar e um cent");
    EXPECT_EQ(KV::CurrencyAsStr(2.05, "dólar", "dólares", "cent", "cents"),
              "Dois dólares e cinco cents");
    EXPECT_EQ(KV::CurrencyAsStr(0, "dólar", "dólares", "cent", "cents"), "Zero cents");
}

TEST(KVLayouts, DateFormatTextIsTheLowerCaseName) {
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::YYYYSlashMMSlashDD), "yyyy/mm/dd");
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::ddSlashmmSlashyyyy), "dd/mm/yyyy");
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::yyyyDashmmDashdd), "yyyy-mm-dd");
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::DDotMDotYY), "d.m.yy");
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::MDotD), "m.d");
    EXPECT_EQ(DateFormatText(ENUM_DATE_FORMAT::YYDotM), "yy.m");
    EXPECT_EQ(static_cast<int>(ENUM_DATE_FORMAT::YYDotM), 77);
    EXPECT_EQ(DateFormatText(78), "");
    EXPECT_EQ(DateFormatText(-1), "");
}

TEST(KVColours, PaintAsGradientAndShiftRGBColorAreTheSharedRoutines) {
    PixelBuffer byKV, direct;
    ASSERT_TRUE(byKV.Allocate(7, 5));
    ASSERT_TRUE(direct.Allocate(7, 5));
    Canvas kvCanvas(byKV), directCanvas(direct);
    for (int32_t direction : {0, 1, 2, 3, 7}) {
        KV::PaintAsGradient(&kvCanvas, 1, 1, 5, 3, 0x102030, 0xF0E0D0, direction);
        DrawGradient(&directCanvas, 1, 1, 5, 3, 0x102030, 0xF0E0D0, direction);
        ASSERT_EQ(0, std::memcmp(byKV.Bits(), direct.Bits(), byKV.ByteSize())) << direction;
    }
    EXPECT_EQ(KV::ShiftRGBColor(0x10FF00, 120), 0x88FF78);
    EXPECT_EQ(KV::ShiftRGBColor(static_cast<int32_t>(0x80102030), -0x20), 0x000010);
}

}  // namespace
}  // namespace kelvara

namespace kelvara {
namespace {

TEST(KVWindows, SetWindowRedrawStopsAndRestartsPaintingAtOnce) {
    HeadlessDesktop desktop;
    std::vector<std::string> seen;
    const HWND w = CreateWindowEx(0, "Test", "w", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, 0,
                                  [&](HWND h, uint32_t m, WPARAM wp, LPARAM lp) -> LRESULT {
                                      if (m == WM_SETREDRAW) {
                                          seen.push_back("setredraw" + std::to_string(wp));
                                      } else if (m == WM_PAINT) {
                                          seen.push_back("paint");
                                      }
                                      return DefWindowProc(h, m, wp, lp);
                                  });
    desktop.Pump();
    seen.clear();
    KV::SetWindowRedraw(w, false);
    EXPECT_EQ(seen, std::vector<std::string>{"setredraw0"});
    seen.clear();
    KV::SetWindowRedraw(w, true);
    EXPECT_EQ(seen, (std::vector<std::string>{"setredraw1", "paint"}));
}

TEST(KVWindows, SetDefautlToolkitThemeChangesTheMessageBoxTheme) {
    KV::SetDefautlToolkitTheme(ENUM_THEME::WindowsThemeBlack);
    EXPECT_EQ(DefaultTheme(), ENUM_THEME::WindowsThemeBlack);
    KV::SetDefautlToolkitTheme(ENUM_THEME::WindowsThemeLight);
}

}  // namespace
}  // namespace kelvara
