#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "kelvara/base/detail/FormatDetail.h"

namespace kelvara {
namespace {

struct FormatCase {
    double value;
    std::string_view pattern;
    std::string_view want;
};

void ExpectFormats(std::initializer_list<FormatCase> cases, const Locale& locale) {
    for (const auto& [value, pattern, want] : cases) {
        const std::string have = detail::FormatNumber(value, pattern, locale);
        EXPECT_EQ(have, want) << "Format(" << value << ", \"" << pattern << "\") under "
                              << locale.name;
    }
}

TEST(NumberFormat, SectionsChooseByTheSignOfTheUnroundedValue) {
    ExpectFormats({{5, "0;(0)", "5"},
                   {-5, "0;(0)", "(5)"},
                   {-1234.5, "#,##0.00;(#,##0.00)", "(1.234,50)"},
                   {0, "0;(0);\"zero\"", "zero"},
                   {0.001, "0;(0);\"zero\"", "0"},
                   {-0.001, "0;(0);\"zero\"", "(0)"},
                   {-0.001, "0", "-0"},
                   {-5, "\"R$ \"0", "-R$ 5"},
                   {-5, "0;;\"zero\"", "-5"},
                   {0, "0;;\"zero\"", "zero"},
                   {0, "0.0;(0.0);", "0,0"},
                   {5, "0;(0);\"z\";\"null\";extra", "5"},
                   {5, ";(0)", "5"},
                   {-5, ";(0)", "(5)"}},
                  Locale::PtBR());
}

TEST(NumberFormat, SemicolonsInQuotesOrEscapedDoNotSplitSections) {
    ExpectFormats({{-5, "0\";\"0", "-0;5"}, {-5, "0\\;0", "-0;5"}, {-5, "\"a;b\"0;(0)", "(5)"}},
                  Locale::PtBR());
}

TEST(NumberFormat, PlaceholdersPadWithZerosAndNeverDropIntegerDigits) {
    ExpectFormats(
        {
            {5, "000", "005"},
            {5, "#00", "05"},
            {1e20, "0", "100000000000000000000"},
            {123456789012345678.0, "0", "123456789012346000"},
            {0, "#", ""},
            {0.4, "#", ""},
            {0.5, "#.##", ",5"},
            {1, "#.##", "1,"},
            {1.5, "0.0#", "1,5"},
            {1, "0.0#", "1,0"},
            {1.5, ".00", "1,50"},
            {5551234567.0, "(000) 000-0000", "(555) 123-4567"},
            {123456, "00-00", "1234-56"},
        },
        Locale::PtBR());
}

TEST(NumberFormat, CommasGroupBetweenPlaceholdersAndScaleAtTheEnd) {
    ExpectFormats({{12345, "#,##0", "12.345"},
                   {1234567.891, "#,##0.00", "1.234.567,89"},
                   {0.98, "#,##0.00", "0,98"},
                   {1000.0 / 1024, "#,##0.00", "0,98"},
                   {99999.5, "#,##0", "100.000"},
                   {5, "0,000", "0.005"},
                   {1234, "#,", "1"},
                   {1500, "0,", "2"},
                   {1500, "0,.0", "1,5"},
                   {1234567, "#,##0,", "1.235"},
                   {1234567890, "0,,", "1235"},
                   {1500, "0.0,", "1500,0"},
                   {5, ",0", ",5"}},
                  Locale::PtBR());
}

TEST(NumberFormat, RoundingIsHalfAwayFromZeroOnFifteenDigits) {
    ExpectFormats({{2.5, "0", "3"},
                   {-2.5, "0", "-3"},
                   {0.125, "0.00", "0,13"},
                   {1.005, "0.00", "1,01"},
                   {2.675, "0.00", "2,68"},
                   {0.995, "0.00", "1,00"},
                   {9.995, "0.00", "10,00"},
                   {0.1 + 0.2, "0.0000000000000000", "0,3000000000000000"},
                   {1e-20, "0.00", "0,00"},
                   {0.0005, "#.###", ",001"}},
                  Locale::PtBR());
}

TEST(NumberFormat, PercentMultipliesByAHundredInPlace) {
    ExpectFormats({{0.256, "0.0%", "25,6%"},
                   {0.5, "0%", "50%"},
                   {0.001, "0.0%", "0,1%"},
                   {0.5, "% 0", "% 50"},
                   {0.0001, "0%%", "1%%"}},
                  Locale::PtBR());
}

TEST(NumberFormat, ScientificCarriesRoundingIntoTheExponent) {
    ExpectFormats({{12345, "0.00E+00", "1,23E+04"},
                   {0.00012345, "0.00E+00", "1,23E-04"},
                   {12345, "0.00E-00", "1,23E04"},
                   {12345, "0.00e+00", "1,23e+04"},
                   {0, "0.00E+00", "0,00E+00"},
                   {9.999, "0.00E+00", "1,00E+01"},
                   {12345, "00.0E+0", "12,3E+3"},
                   {1e100, "0E+0", "1E+100"},
                   {1.5, "0E+#", "2E+0"},
                   {0.256, "0.0E+00%", "2,6E+01%"}},
                  Locale::PtBR());
}

TEST(NumberFormat, LiteralTextPrintsWhereItStands) {
    ExpectFormats({{5, "\"R$ \"#,##0.00", "R$ 5,00"},
                   {5, "R$ 0.00", "R$ 5,00"},
                   {5, "\\#0", "#5"},
                   {5, "0 \"kg\"", "5 kg"},
                   {5, "0 ºC", "5 ºC"},
                   {5, "→0←", "→5←"},
                   {5, "E0", "E5"},
                   {5, "0E+", "5E+"},
                   {5, "abc", "abc"},
                   {-5, "abc", "-abc"},
                   {5, "\"open", "open"},
                   {5, "0\\", "5"},
                   {1.5, "0.0.0", "1,5.0"}},
                  Locale::PtBR());
}

TEST(NumberFormat, NamedFormatsIgnoreCase) {
    ExpectFormats({{1234.5, "Currency", "R$ 1.234,50"},
                   {-1234.5, "currency", "-R$ 1.234,50"},
                   {1234.5, "Fixed", "1234,50"},
                   {1234.5, "STANDARD", "1.234,50"},
                   {0.256, "Percent", "25,60%"},
                   {12345, "Scientific", "1,23E+04"},
                   {1.5, "General Number", "1,5"},
                   {0, "Yes/No", "No"},
                   {2, "yes/no", "Yes"},
                   {1, "True/False", "Verdadeiro"},
                   {-1, "On/Off", "On"},
                   {0.25, "", "0,25"}},
                  Locale::PtBR());
}

TEST(NumberFormat, EnUSUsesItsOwnSymbols) {
    ExpectFormats({{1234567.891, "#,##0.00", "1,234,567.89"},
                   {0.5, "#.##", ".5"},
                   {1234, "#,", "1"},
                   {12345, "0.00E+00", "1.23E+04"},
                   {-1234.5, "Currency", "($1,234.50)"},
                   {1, "True/False", "True"},
                   {0.25, "", "0.25"}},
                  Locale::EnUS());
}

TEST(NumberFormat, InfinityAndNaNPrintTheirGeneralText) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    ExpectFormats({{inf, "0.00", "1.#INF"},
                   {-inf, "#,##0;(#,##0)", "-1.#INF"},
                   {std::numeric_limits<double>::quiet_NaN(), "0", "-1.#IND"}},
                  Locale::PtBR());
}

TEST(NumberFormat, ScalingSymbolsStopScalingPastTheirLimit) {
    const std::string percents(1000, '%');
    const std::string have = detail::FormatNumber(1, "0" + percents, Locale::PtBR());
    const std::string want = "1" + std::string(200, '0') + percents;
    EXPECT_EQ(have, want);

    const std::string commas(1000, ',');
    const std::string scaled = detail::FormatNumber(1e305, "0" + commas, Locale::PtBR());
    EXPECT_EQ(scaled, "100000");
}

}  // namespace
}  // namespace kelvara
