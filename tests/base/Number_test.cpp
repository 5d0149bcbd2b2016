#include "kelvara/base/Number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace kelvara {
namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

const Locale& PtBR = Locale::PtBR();
const Locale& EnUS = Locale::EnUS();

struct TextCase {
    std::string_view text;
    double want;
};

TEST(Number, ValReadsTheNumericPrefixWithoutLocale) {
    const TextCase cases[] = {{"", 0},
                              {"--5", 0},
                              {"123", 123},
                              {"1 2 3", 123},
                              {" \t-1.5\r\n", -1.5},
                              {"12abc", 12},
                              {"1.2.3", 1.2},
                              {"1,5", 1},
                              {"-.5", -0.5},
                              {"1e3", 1000},
                              {"1d2", 100},
                              {"1e", 1},
                              {"12 34.5 6e 1", 12345.6},
                              {"1e-400", 0},
                              {"&H1F", 31},
                              {"&H 1F", 31},
                              {"&O17", 15},
                              {"&H1FG", 31}};
    for (const auto& [text, want] : cases) {
        const double have = Val(text);
        EXPECT_EQ(have, want) << "Val(\"" << text << "\")";
    }
}

TEST(Number, ValReadsRadixNumbersAsSixteenOrThirtyTwoBitIntegers) {
    const TextCase cases[] = {{"&H7FFF", 32767}, {"&H8000", -32768}, {"&HFFFF", -1},
                              {"&O177777", -1},  {"&H10000", 65536}, {"&HFFFFFFFF", -1},
                              {"&H0000FFFF", -1}};
    for (const auto& [text, want] : cases) {
        const double have = Val(text);
        EXPECT_EQ(have, want) << "Val(\"" << text << "\")";
    }
}

TEST(Number, ValOverflowIsInfinityThatIntegerConversionsReject) {
    const std::string fourHundredDigits = "1" + std::string(400, '0');
    const TextCase cases[] = {
        {"1e400", Inf}, {"-1e400", -Inf}, {"&H100000000", Inf}, {fourHundredDigits, Inf}};
    for (const auto& [text, want] : cases) {
        const double have = Val(text);
        EXPECT_EQ(have, want) << "Val(\"" << text << "\")";
        EXPECT_EQ(CLng(have), std::nullopt) << "CLng(Val(\"" << text << "\"))";
    }
}

struct LocaleTextCase {
    std::string_view text;
    std::optional<double> want;
};

void ExpectCDbl(const LocaleTextCase* begin, const LocaleTextCase* end, const Locale& locale) {
    for (const auto* c = begin; c != end; ++c) {
        const std::optional<double> have = CDbl(c->text, locale);
        EXPECT_EQ(have, c->want) << "CDbl(\"" << c->text << "\") under " << locale.name;
        EXPECT_EQ(IsNumeric(c->text, locale), c->want.has_value())
            << "IsNumeric(\"" << c->text << "\") under " << locale.name;
    }
}

TEST(Number, CDblAcceptsWhatTheHostAcceptsUnderPtBR) {
    const LocaleTextCase cases[] = {
        {"  42  ", 42},
        {"1.234,5", 1234.5},
        {"1.234", 1234},
        {"1.2.3", 123},
        {",5", 0.5},
        {"5,", 5},
        {"-5", -5},
        {"5-", -5},
        {"- 5", -5},
        {"(5)", -5},
        {"R$ 1.234,56", 1234.56},
        {"1.234,56 R$", 1234.56},
        {"-R$ 5", -5},
        {"(R$ 5,00)", -5},
        {"1,5e3", 1500},
        {"1E-2", 0.01},
        {"2D1", 20},
        {"&H1F", 31},
        {" &HFFFF ", -1},
    };
    ExpectCDbl(std::begin(cases), std::end(cases), PtBR);
}

TEST(Number, CDblRejectsWhatIsNoNumberUnderPtBR) {
    const LocaleTextCase cases[] = {
        {"", std::nullopt},        {"   ", std::nullopt},   {"-", std::nullopt},
        {"R$", std::nullopt},      {"12abc", std::nullopt}, {"1,2,3", std::nullopt},
        {"1 2", std::nullopt},     {".5", std::nullopt},    {"1..2", std::nullopt},
        {"(5", std::nullopt},      {"(-5)", std::nullopt},  {"--5", std::nullopt},
        {"1e", std::nullopt},      {"1e400", std::nullopt}, {"&H", std::nullopt},
        {"&H1 F", std::nullopt},   {"-&H1F", std::nullopt}, {"&H100000000", std::nullopt},
        {"R$ R$ 5", std::nullopt}, {"5%", std::nullopt}};
    ExpectCDbl(std::begin(cases), std::end(cases), PtBR);
}

TEST(Number, CDblUsesEnUSSymbolsUnderEnUS) {
    const LocaleTextCase cases[] = {{"1,234.5", 1234.5},
                                    {"1.5", 1.5},
                                    {"1,5", 15},
                                    {"$1,234.56", 1234.56},
                                    {"($5)", -5},
                                    {"1.5e3", 1500},
                                    {"1.2.3", std::nullopt},
                                    {"1,5.5.", std::nullopt},
                                    {"R$ 5", std::nullopt}};
    ExpectCDbl(std::begin(cases), std::end(cases), EnUS);
}

struct RoundingCase {
    double value;
    std::optional<int32_t> want;
};

TEST(Number, CIntAndCLngRoundHalfToEvenAndRejectOverflow) {
    const RoundingCase intCases[] = {
        {2.5, 2},
        {-2.5, -2},
        {-3.5, -4},
        {32767.4, 32767},
        {32767.5, std::nullopt},
        {-32768.5, -32768},
        {-32768.51, std::nullopt},
        {NaN, std::nullopt},
        {Inf, std::nullopt},
    };
    for (const auto& [value, want] : intCases) {
        const std::optional<int16_t> have = CInt(value);
        const std::optional<int32_t> widened = have ? std::optional<int32_t>(*have) : std::nullopt;
        EXPECT_EQ(widened, want) << "CInt(" << value << ")";
    }

    const RoundingCase longCases[] = {{2147483646.5, 2147483646},
                                      {2147483647.5, std::nullopt},
                                      {-2147483648.5, -2147483647 - 1},
                                      {1e300, std::nullopt}};
    for (const auto& [value, want] : longCases) {
        const std::optional<int32_t> have = CLng(value);
        EXPECT_EQ(have, want) << "CLng(" << value << ")";
    }
}

TEST(Number, CIntAndCLngOfTextReadTheLocaleFirst) {
    EXPECT_EQ(CInt("2,5", PtBR), std::optional<int16_t>(2));
    EXPECT_EQ(CInt("2.5", EnUS), std::optional<int16_t>(2));
    EXPECT_EQ(CInt("1.234", PtBR), std::optional<int16_t>(1234));
    EXPECT_EQ(CInt("40000", PtBR), std::nullopt);
    EXPECT_EQ(CInt("abc", PtBR), std::nullopt);
    EXPECT_EQ(CLng("40.000,5", PtBR), std::optional<int32_t>(40000));
    EXPECT_EQ(CLng("&HFFFF", PtBR), std::optional<int32_t>(-1));
}

TEST(Number, RoundIsHalfToEvenOnTheScaledDouble) {
    struct Case {
        double value;
        int32_t decimals;
        double want;
    };
    const Case cases[] = {{2.5, 0, 2},           {-2.5, 0, -2},    {2.675, 2, 2.67},
                          {0.015, 2, 0.01},      {0.025, 2, 0.03}, {0.125, 2, 0.12},
                          {1.23456, 3, 1.235},   {1.5, -1, 2},     {1e300, 2, 1e300},
                          {1e-300, 400, 1e-300}, {-0.4, 0, 0}};
    for (const auto& [value, decimals, want] : cases) {
        const double have = Round(value, decimals);
        EXPECT_EQ(have, want) << "Round(" << value << ", " << decimals << ")";
    }
    EXPECT_TRUE(std::isnan(Round(NaN, 2)));
}

struct TextOfCase {
    double value;
    std::string_view want;
};

TEST(Number, StrPrintsFifteenDigitsWithABlankAndNoLeadingZero) {
    const TextOfCase cases[] = {
        {0, " 0"},
        {-0.0, " 0"},
        {12, " 12"},
        {-123.456, "-123.456"},
        {0.25, " .25"},
        {-0.5, "-.5"},
        {0.1 + 0.2, " .3"},
        {1.0 / 3, " .333333333333333"},
        {0.0001, " .0001"},
        {123456789012345.0, " 123456789012345"},
        {1e15, " 1E+15"},
        {1e-5, " 1E-05"},
        {-1.5e-7, "-1.5E-07"},
        {123456789012345678.0, " 1.23456789012346E+17"},
        {Inf, " 1.#INF"},
    };
    for (const auto& [value, want] : cases) {
        const std::string have = Str(value);
        EXPECT_EQ(have, want) << "Str(" << value << ")";
    }
}

TEST(Number, CStrUsesTheLocaleDecimalSymbolAndALeadingZero) {
    const TextOfCase ptCases[] = {
        {0.25, "0,25"}, {-0.5, "-0,5"}, {1e15, "1E+15"}, {1.5e20, "1,5E+20"}, {0.1 + 0.2, "0,3"},
    };
    for (const auto& [value, want] : ptCases) {
        const std::string have = CStr(value, PtBR);
        EXPECT_EQ(have, want) << "CStr(" << value << ") under pt-BR";
    }
    const TextOfCase usCases[] = {{0.25, "0.25"}, {-1234.5, "-1234.5"}, {2.5e-7, "2.5E-07"}};
    for (const auto& [value, want] : usCases) {
        const std::string have = CStr(value, EnUS);
        EXPECT_EQ(have, want) << "CStr(" << value << ") under en-US";
    }
}

TEST(Number, CDblReadsBackWhatCStrWroteInEitherLocale) {
    const double values[] = {0.1 + 0.2, -1234.5678, 1e15,  1.5e-7, 123456789012345678.0,
                             1.0 / 3,   1e-300,     1e300, 32767.5};
    for (const Locale* locale : {&PtBR, &EnUS}) {
        for (const double value : values) {
            const std::string text = CStr(value, *locale);
            const std::optional<double> back = CDbl(text, *locale);
            ASSERT_TRUE(back.has_value()) << "CDbl(\"" << text << "\") under " << locale->name;
            const std::string have = CStr(*back, *locale);
            EXPECT_EQ(have, text) << "under " << locale->name;
        }
    }
}

}  // namespace
}  // namespace kelvara
