#include "kelvara/base/Variant.h"

#include <gtest/gtest.h>

#include "kelvara/base/APIStringBuilder.h"
#include "kelvara/base/Format.h"

namespace kelvara {
namespace {

TEST(Variant, TypesAndConversionsFollowTheHost) {
    const Locale& pt = Locale::PtBR();
    EXPECT_EQ(Variant().Type(), VariantType::Empty);
    EXPECT_EQ(Variant::Null().Type(), VariantType::Null);
    EXPECT_EQ(Variant(int16_t{3}).Type(), VariantType::Integer);
    EXPECT_EQ(Variant("x").Type(), VariantType::String);

    EXPECT_EQ(Variant().ToDouble(pt), 0.0);
    EXPECT_EQ(Variant().ToText(pt), "");
    EXPECT_EQ(Variant::Null().ToDouble(pt), std::nullopt);
    EXPECT_EQ(Variant::Null().ToText(pt), std::nullopt);
    EXPECT_EQ(Variant(true).ToDouble(pt), -1.0);
    EXPECT_EQ(Variant(true).ToText(pt), "Verdadeiro");
    EXPECT_EQ(Variant("1.234,5").ToDouble(pt), 1234.5);
    EXPECT_EQ(Variant("abc").ToDouble(pt), std::nullopt);
    EXPECT_EQ(Variant(2.5).ToText(pt), "2,5");
    EXPECT_EQ(Variant("falso").ToBool(pt), false);
    EXPECT_EQ(Variant("True").ToBool(pt), true);
    EXPECT_EQ(Variant("0,0").ToBool(pt), false);
    EXPECT_EQ(Variant("talvez").ToBool(pt), std::nullopt);

    const auto date = Variant("21/11/2026").ToDate(pt);
    ASSERT_TRUE(date.has_value());
    EXPECT_EQ(*date, *DateSerial(2026, 11, 21));
    EXPECT_EQ(Variant(int32_t{2}).ToDate(pt), Date(2.0));

    // Binary properties convert to nothing, so a picture never reads as 0.
    const Variant bytes(ByteArray{1, 2, 3});
    EXPECT_EQ(bytes.Type(), VariantType::ByteArray);
    EXPECT_FALSE(bytes.IsNumeric(pt));
    EXPECT_EQ(bytes.ToDouble(pt), std::nullopt);
    EXPECT_EQ(bytes.ToText(pt), std::nullopt);
    EXPECT_EQ(bytes.ToBool(pt), std::nullopt);
    EXPECT_EQ(bytes.ToDate(pt), std::nullopt);
}

TEST(Format, ChoosesNumberDateOrTextByValueAndPattern) {
    const LocaleScope ptBR(Locale::PtBR());
    const Date day = *DateSerial(2014, 3, 5);
    EXPECT_EQ(Format(1234.5, "#,##0.00"), "1.234,50");
    EXPECT_EQ(Format(12.0, "dd/mm/yyyy"), "11/01/1900");  // a number under a date pattern
    EXPECT_EQ(Format(day, "0"), "41703");                 // a date under a number pattern
    EXPECT_EQ(Format(day), "05/03/2014");
    EXPECT_EQ(Format(std::string_view("5/3/14"), "dd/mm/yyyy"), "05/03/2014");
    EXPECT_EQ(Format(std::string_view("1.234,5"), "0.0"), "1234,5");
    EXPECT_EQ(Format(std::string_view("abc"), "dd/mm/yyyy"), "abc");
    EXPECT_EQ(Format(Variant(true), ""), "Verdadeiro");
    EXPECT_EQ(Format(Variant(true), "0"), "-1");
    EXPECT_EQ(Format(Variant(), ""), "");
    EXPECT_EQ(Format(Variant::Null(), "0"), "");
}

TEST(Format, TextPatternsFillPlaceholders) {
    const struct {
        const char* text;
        const char* pattern;
        const char* want;
    } cases[] = {
        {"123", "@@@@@", "  123"},   {"123", "!@@@@@", "123  "},
        {"123", "&&&&&", "123"},     {"12345678901", "@@@.@@@.@@@-@@", "123.456.789-01"},
        {"abc", ">", "ABC"},         {"ÁGUA", "<", "água"},
        {"123456", "@@@", "123456"}, {"12", "(@@)", "(12)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Format(std::string_view(c.text), c.pattern), c.want)
            << "Format(\"" << c.text << "\", \"" << c.pattern << "\")";
    }
}

TEST(APIStringBuilder, AppendsTextAndCharacters) {
    APIStringBuilder builder;
    builder.Append("ação");
    builder.Append(U'!');
    builder.Append(U'€');
    EXPECT_EQ(builder.ToString(), "ação!€");
    EXPECT_EQ(builder.Length(), 6);
    builder.Clear();
    EXPECT_EQ(builder.ToString(), "");
}

}  // namespace
}  // namespace kelvara
