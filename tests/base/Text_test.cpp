#include "kelvara/base/Text.h"

#include <gtest/gtest.h>

#include <chrono>

#include "kelvara/base/APIStringBuilder.h"

namespace kelvara {
namespace {

constexpr CompareMethod B = CompareMethod::Binary;
constexpr CompareMethod T = CompareMethod::Text;

const char* Name(CompareMethod compare) {
    return compare == B ? "Binary" : "Text";
}

// A call written out, its result and the result it should have.
struct Outcome {
    const char* call;
    std::string have;
    std::string want;
};

void ExpectAll(std::initializer_list<Outcome> outcomes) {
    for (const Outcome& o : outcomes) {
        EXPECT_EQ(o.have, o.want) << o.call << ": have \"" << o.have << "\", want \"" << o.want
                                  << "\"";
    }
}

TEST(Text, LengthsCountCharactersNotBytes) {
    EXPECT_EQ(Len("ação"), 4);
    EXPECT_EQ(Len("a😀b"), 3);
    EXPECT_EQ(Len(""), 0);
    APIStringBuilder builder;
    builder.Append(U'ç');
    builder.Append("ão");
    builder.Append(U'😀');
    EXPECT_EQ(builder.ToString(), "ção😀");
    EXPECT_EQ(builder.Length(), 4);
}

TEST(Text, SlicesCutBetweenCharacters) {
    ExpectAll({
        {"Left(ação, 2)", Left("ação", 2), "aç"},
        {"Left(ação, 9)", Left("ação", 9), "ação"},
        {"Left(ação, -1)", Left("ação", -1), ""},
        {"Right(ação, 2)", Right("ação", 2), "ão"},
        {"Right(a😀b, 2)", Right("a😀b", 2), "😀b"},
        {"Right(ação, 9)", Right("ação", 9), "ação"},
        {"Right(ação, -3)", Right("ação", -3), ""},
        {"Mid(ação, 2, 2)", Mid("ação", 2, 2), "çã"},
        {"Mid(ação, 2)", Mid("ação", 2), "ção"},
        {"Mid(ação, 0, 2)", Mid("ação", 0, 2), "aç"},
        {"Mid(ação, -5)", Mid("ação", -5), "ação"},
        {"Mid(ação, 4, 9)", Mid("ação", 4, 9), "o"},
        {"Mid(ação, 5)", Mid("ação", 5), ""},
        {"Mid(ação, 2, 0)", Mid("ação", 2, 0), ""},
        {"Mid(ação, 2, -2)", Mid("ação", 2, -2), ""},
    });
}

TEST(Text, EachMalformedByteIsOneReplacementCharacter) {
    EXPECT_EQ(Len("\xFF"), 1);
    EXPECT_EQ(Len("a\xE2\x82"), 3);         // cut short
    EXPECT_EQ(Len("\xC0\x80"), 2);          // overlong
    EXPECT_EQ(Len("\xED\xA0\x80"), 3);      // surrogate
    EXPECT_EQ(Len("\xF4\x90\x80\x80"), 4);  // above U+10FFFF
    EXPECT_EQ(Len("\xE2\x82\xAC\x80"), 2);  // "€" and a stray continuation byte
    EXPECT_EQ(ToUtf32("a\xFF"), std::u32string(U"a\uFFFD"));
    EXPECT_EQ(AscW("\x80"), U'\uFFFD');
    ExpectAll({
        {"Left(€\\xFF, 1)", Left("\xE2\x82\xAC\xFF", 1), "€"},
        {"Mid(\\xE2\\x82€, 2)", Mid("\xE2\x82\xE2\x82\xAC", 2), "\x82\xE2\x82\xAC"},
        {"UCase(\\xFFa)",
         UCase("\xFF"
               "a"),
         "\xFF"
         "A"},
    });
}

TEST(Text, CodePointsOutsideUnicodeEncodeAsReplacementCharacter) {
    const std::u32string chars{0x41, 0xD800, 0x110000, 0x1F600};
    EXPECT_EQ(ToUtf8(chars), "A\uFFFD\uFFFD😀");
    EXPECT_EQ(ChrW(0x20AC), "€");
    EXPECT_EQ(ChrW(0xDFFF), "\uFFFD");
    EXPECT_EQ(AscW(""), U'\0');
    EXPECT_EQ(AscW("😀x"), U'😀');
    APIStringBuilder builder;
    builder.Append(char32_t{0xD800});
    EXPECT_EQ(builder.ToString(), "\uFFFD");
}

TEST(Text, InStrFindsCharacterPositions) {
    struct Case {
        int32_t start;
        const char* text;
        const char* find;
        CompareMethod compare;
        int32_t want;
    };
    const Case cases[] = {
        {1, "abc", "", B, 1},
        {3, "abc", "", B, 3},
        {4, "abc", "", B, 4},
        {5, "abc", "", B, 0},
        {1, "", "", B, 0},
        {0, "abc", "a", B, 0},
        {-1, "abc", "a", B, 0},
        {2, "abab", "ab", B, 3},
        {4, "abab", "ab", B, 0},
        {1, "ação", "ão", B, 3},
        {1, "a😀b", "b", B, 3},
        {3, "a😀b😀", "😀", B, 4},
        {1, "aÇÃo", "çã", B, 0},
        {1, "aÇÃo", "çã", T, 2},
        {1, "STRASSE", "sS", T, 5},
        {1, "Á", "a", T, 0},
        {1, "\xE2\x82\xAC", "\x82", B, 0},  // never inside a character
        {1, "\xFF\x82", "\x82", B, 2},      // a stray byte is a character of its own
        {1, "\xE2\x82\xAC", "\xE2\x82", B, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(InStr(c.start, c.text, c.find, c.compare), c.want)
            << "InStr(" << c.start << ", \"" << c.text << "\", \"" << c.find << "\", "
            << Name(c.compare) << ")";
    }
    EXPECT_EQ(InStr("xyz", "z"), 3);
}

TEST(Text, InStrRevMatchesEndingAtOrBeforeStart) {
    struct Case {
        const char* text;
        const char* find;
        int32_t start;
        CompareMethod compare;
        int32_t want;
    };
    const Case cases[] = {
        {"abcabc", "bc", -1, B, 5}, {"abcabc", "bc", 6, B, 5}, {"abcabc", "bc", 5, B, 2},
        {"abcabc", "bc", 2, B, 0},  {"abcabc", "", -1, B, 6},  {"abcabc", "", 2, B, 2},
        {"", "", -1, B, 0},         {"abc", "a", 4, B, 0},     {"abc", "a", 0, B, 0},
        {"aaa", "aa", -1, B, 2},    {"😀a😀", "😀", -1, B, 3},    {"😀a😀", "😀", 2, B, 1},
        {"açÃo", "ÇÃ", -1, T, 2},   {"açÃo", "ÇÃ", -1, B, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(InStrRev(c.text, c.find, c.start, c.compare), c.want)
            << "InStrRev(\"" << c.text << "\", \"" << c.find << "\", " << c.start << ", "
            << Name(c.compare) << ")";
    }
}

TEST(Text, ReplaceReturnsTheRestFromStartWithReplacements) {
    struct Case {
        const char* expression;
        const char* find;
        const char* replacement;
        int32_t start;
        int32_t count;
        CompareMethod compare;
        const char* want;
    };
    const Case cases[] = {
        {"   ", "  ", " ", 1, -1, B, "  "},  // one pass, no rescanning
        {"aaaa", "aa", "b", 1, -1, B, "bb"},     {"abcabc", "b", "X", 1, -1, B, "aXcaXc"},
        {"abcabc", "b", "X", 3, -1, B, "caXc"},  {"abcabc", "b", "X", 1, 1, B, "aXcabc"},
        {"abcabc", "b", "X", 1, 0, B, "abcabc"}, {"abcabc", "", "X", 2, -1, B, "bcabc"},
        {"abcabc", "b", "", 1, -1, B, "acac"},   {"abc", "b", "X", 4, -1, B, ""},
        {"abc", "b", "X", 9, -1, B, ""},         {"", "a", "b", 1, -1, B, ""},
        {"ação", "ã", "a", 2, -1, B, "çao"},     {"AçãO", "ÇÃ", "x", 1, -1, T, "AxO"},
        {"AçãO", "ÇÃ", "x", 1, -1, B, "AçãO"},
    };
    for (const Case& c : cases) {
        const std::string have =
            Replace(c.expression, c.find, c.replacement, c.start, c.count, c.compare);
        EXPECT_EQ(have, c.want) << "Replace(\"" << c.expression << "\", \"" << c.find << "\", \""
                                << c.replacement << "\", " << c.start << ", " << c.count << ", "
                                << Name(c.compare) << ")";
    }
}

TEST(Text, SplitFollowsTheRuntimeEdgeCases) {
    using Parts = std::vector<std::string>;
    struct Case {
        const char* expression;
        const char* delimiter;
        int32_t limit;
        CompareMethod compare;
        Parts want;
    };
    const Case cases[] = {
        {"", ",", -1, B, {}},
        {"a,b", ",", 0, B, {}},
        {"a,b", "", -1, B, {"a,b"}},
        {"a,,b", ",", -1, B, {"a", "", "b"}},
        {",a,", ",", -1, B, {"", "a", ""}},
        {"a,b,c", ",", 2, B, {"a", "b,c"}},
        {"a,b,c", ",", 1, B, {"a,b,c"}},
        {"a,b,c", ",", 9, B, {"a", "b", "c"}},
        {"aXbxc", "x", -1, T, {"a", "b", "c"}},
        {"aXbxc", "x", -1, B, {"aXb", "c"}},
        {"ação→é→😀", "→", -1, B, {"ação", "é", "😀"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Split(c.expression, c.delimiter, c.limit, c.compare), c.want)
            << "Split(\"" << c.expression << "\", \"" << c.delimiter << "\", " << c.limit << ", "
            << Name(c.compare) << ")";
    }
    EXPECT_EQ(Split("a b"), (Parts{"a", "b"}));
}

TEST(Text, SplitOfEmptyTextHasNoParts) {
    EXPECT_TRUE(Split("", ",").empty());
}

TEST(Text, JoinPutsTheDelimiterBetweenParts) {
    EXPECT_EQ(Join({"a", "", "b"}, ","), "a,,b");
    EXPECT_EQ(Join({"só"}, ","), "só");
    EXPECT_EQ(Join({}, ","), "");
    EXPECT_EQ(Join({"a", "b"}), "a b");
}

TEST(Text, StrCompOrdersPairs) {
    struct Case {
        const char* a;
        const char* b;
        CompareMethod compare;
        int32_t want;
    };
    const Case cases[] = {
        {"a", "a", B, 0},       {"a", "b", B, -1},
        {"B", "a", B, -1},      {"a", "ab", B, -1},
        {"é", "z", B, 1},       {"😀", "\uE000", B, -1},  // a surrogate pair sorts below U+E000
        {"😀", "\uFFFD", B, -1}, {"😀", "\uD7FF", B, 1},
        {"", "", T, 0},         {"ABC", "abc", T, 0},
        {"Ação", "AÇÃO", T, 0}, {"ß", "ẞ", T, 0},
        {"a", "á", T, -1},      {"á", "b", T, -1},
        {"b", "C", T, -1},      {"e", "é", T, -1},
        {"é", "f", T, -1},      {"Éa", "eb", T, -1},  // letters first, accents only on a tie
        {"ab", "áa", T, 1},     {"a", "ab", T, -1},
        {"α", "ά", T, -1},      {"_", "a", T, -1},
        {"z", "1", T, 1},       {"1", "_", T, 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(StrComp(c.a, c.b, c.compare), c.want)
            << "StrComp(\"" << c.a << "\", \"" << c.b << "\", " << Name(c.compare) << ")";
        EXPECT_EQ(StrComp(c.b, c.a, c.compare), -c.want)
            << "StrComp(\"" << c.b << "\", \"" << c.a << "\", " << Name(c.compare) << ")";
    }
}

TEST(Text, LikeMatchesPatterns) {
    struct Case {
        const char* text;
        const char* pattern;
        CompareMethod compare;
        bool want;
    };
    const Case cases[] = {
        {"", "", B, true},           {"", "*", B, true},
        {"a", "", B, false},         {"", "?", B, false},
        {"abc", "a*", B, true},      {"abc", "*b*", B, true},
        {"abcd", "*b?d", B, true},   {"aXbc", "a*b", B, false},
        {"abc", "a?c", B, true},     {"abc", "a?", B, false},
        {"a1c", "a#c", B, true},     {"abc", "a#c", B, false},
        {"\u0663", "#", B, false},  // Arabic-Indic three is not 0-9
        {"b", "[a-c]", B, true},     {"d", "[a-c]", B, false},
        {"d", "[!a-c]", B, true},    {"b", "[!a-c]", B, false},
        {"x", "[axz]", B, true},     {"-", "[a-]", B, true},
        {"-", "[-a]", B, true},      {"-", "[!-a]", B, false},
        {"[", "[[]", B, true},       {"a*", "a[*]", B, true},
        {"ab", "a[*]", B, false},    {"?#", "[?][#]", B, true},
        {"]", "]", B, true},         {"ab", "a[]b", B, true},
        {"x", "[!]", B, true},       {"b", "[z-a]", B, false},
        {"a", "[a", B, false},       {"ação", "a?ão", B, true},
        {"ação", "a[ç]ão", B, true}, {"ação", "a[a-z]ão", B, false},
        {"😀", "?", B, true},         {"😀x", "??", B, true},
        {"😀", "[😀]", B, true},       {"ABC", "abc", B, false},
        {"ABC", "abc", T, true},     {"B", "[a-c]", B, false},
        {"B", "[a-c]", T, true},     {"b", "[A-C]", T, true},
        {"b", "[!A-C]", T, false},   {"Ç", "ç", T, true},
        {"Ç", "c", T, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Like(c.text, c.pattern, c.compare), c.want)
            << "\"" << c.text << "\" Like \"" << c.pattern << "\" (" << Name(c.compare) << ")";
    }
}

TEST(Text, LikeWithManyStarsFinishesQuickly) {
    const auto begin = std::chrono::steady_clock::now();
    const std::string text(20000, 'a');
    EXPECT_FALSE(Like(text, "*a*a*a*a*b"));
    std::string pattern;
    for (int k = 0; k < 200; ++k) {
        pattern += "*a";
    }
    EXPECT_FALSE(Like(std::string(5000, 'a'), pattern + "b"));
    EXPECT_TRUE(Like(std::string(5000, 'a'), pattern));
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(elapsed, std::chrono::seconds(5));
}

TEST(Text, CaseMappingsCoverLatinLetters) {
    ExpectAll({
        {"UCase(ação)", UCase("ação"), "AÇÃO"},
        {"LCase(ÀÉÎÕÜÇ)", LCase("ÀÉÎÕÜÇ"), "àéîõüç"},
        {"UCase(ÿ)", UCase("ÿ"), "Ÿ"},
        {"LCase(Ÿ)", LCase("Ÿ"), "ÿ"},
        {"UCase(ĳ)", UCase("ĳ"), "Ĳ"},
        {"UCase(µ)", UCase("µ"), "µ"},
        {"UCase(ß)", UCase("ß"), "ß"},
        {"UCase(ı)", UCase("ı"), "I"},
        {"LCase(İ)", LCase("İ"), "i"},
        {"UCase(ſ)", UCase("ſ"), "S"},
        {"UCase(ǆ)", UCase("ǆ"), "Ǆ"},
        {"LCase(ǅ)", LCase("ǅ"), "ǆ"},
        {"UCase(ω😀1)", UCase("ω😀1"), "Ω😀1"},
    });
}

TEST(Text, EveryLatin1LetterHasItsCaseMate) {
    for (char32_t c = 0xC0; c <= 0xDE; ++c) {
        if (c == 0xD7) {
            continue;  // multiplication sign
        }
        EXPECT_EQ(LCaseChar(c), c + 0x20) << "LCaseChar(U+" << std::hex << uint32_t{c} << ")";
        EXPECT_EQ(UCaseChar(c + 0x20), c)
            << "UCaseChar(U+" << std::hex << uint32_t{c + 0x20} << ")";
    }
    EXPECT_EQ(UCaseChar(0xF7), char32_t{0xF7});
    EXPECT_EQ(UCaseChar(0xDF), char32_t{0xDF});
}

TEST(Text, EveryLatinExtendedALetterPairsWithItsNeighbour) {
    // Capitals come first in each pair, on even code points up to U+0137,
    // odd ones from U+0139 to U+0148, even again up to U+0177, then odd.
    const auto capitalFirst = [](char32_t c) {
        if (c <= 0x137 || (c >= 0x14A && c <= 0x177)) {
            return c % 2 == 0;
        }
        return c % 2 == 1;
    };
    for (char32_t c = 0x100; c <= 0x17E; ++c) {
        if (c == 0x130 || c == 0x131 || c == 0x138 || c == 0x149 || c == 0x178 ||
            !capitalFirst(c)) {
            continue;
        }
        EXPECT_EQ(LCaseChar(c), c + 1) << "LCaseChar(U+" << std::hex << uint32_t{c} << ")";
        EXPECT_EQ(UCaseChar(c + 1), c) << "UCaseChar(U+" << std::hex << uint32_t{c + 1} << ")";
    }
    EXPECT_EQ(UCaseChar(0x138), char32_t{0x138});  // kra has no capital
    EXPECT_EQ(UCaseChar(0x149), char32_t{0x149});  // ŉ would need two characters
}

TEST(Text, TextCompareIgnoresCaseForEveryCharacter) {
    for (char32_t c = 1; c <= 0xFFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        const std::string upper = ChrW(UCaseChar(c));
        const std::string lower = ChrW(LCaseChar(c));
        ASSERT_EQ(StrComp(upper, lower, T), 0) << "U+" << std::hex << uint32_t{c};
        ASSERT_EQ(UCaseChar(UCaseChar(c)), UCaseChar(c)) << "U+" << std::hex << uint32_t{c};
        ASSERT_EQ(InStr(upper, lower, T), 1) << "U+" << std::hex << uint32_t{c};
    }
}

TEST(Text, TrimRemovesOnlySpaces) {
    ExpectAll({
        {"Trim", Trim("  a b  "), "a b"},
        {"LTrim", LTrim("  a b  "), "a b  "},
        {"RTrim", RTrim("  a b  "), "  a b"},
        {"Trim(tabs)", Trim("\t a \t"), "\t a \t"},
        {"Trim(ideographic space)", Trim(" \u3000 "), "\u3000"},
        {"Trim(blanks)", Trim("   "), ""},
        {"Space(3)", Space(3), "   "},
        {"Space(-1)", Space(-1), ""},
        {"String(3, ç)", String(3, U'ç'), "ççç"},
        {"String(0, x)", String(0, U'x'), ""},
    });
}

TEST(Text, RemoveAccentsKeepsLettersOutsideItsTable) {
    ExpectAll({
        {"RemoveAccents(table)", RemoveAccents("ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÒÓÔÕÖÙÚÛÜàáâãäåçèéêëìíîïòóôõöùúûü"),
         "AAAAAACEEEEIIIIOOOOOUUUUaaaaaaceeeeiiiiooooouuuu"},
        {"RemoveAccents(others)", RemoveAccents("São Ñandú ý ÿ Ø"), "Sao Ñandu ý ÿ Ø"},
        {"RemoveAccents(ascii)", RemoveAccents("Rua 7, n. 12"), "Rua 7, n. 12"},
        {"RemoveAccents(malformed)", RemoveAccents("a\xC3é"), "a\uFFFDe"},
    });
}

TEST(Text, CharacterClassesCoverAllScripts) {
    struct Case {
        char32_t c;
        bool alpha;
        bool alphaNumeric;
    };
    const Case cases[] = {
        {U'a', true, true},       {U'Z', true, true},   {U'ª', true, true},
        {U'º', true, true},       {U'ç', true, true},   {U'ß', true, true},
        {U'Ω', true, true},       {U'中', true, true},  {U'ǅ', true, true},
        {U'ʰ', true, true},       {U'5', false, true},  {U'\u0663', false, true},
        {U'\u0966', false, true}, {U'²', false, false}, {U'_', false, false},
        {U' ', false, false},     {U'€', false, false}, {U'\u0301', false, false},
        {U'😀', false, false},     {U'𝒜', true, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(IsCharAlpha(c.c), c.alpha)
            << "IsCharAlpha(U+" << std::hex << uint32_t{c.c} << ")";
        EXPECT_EQ(IsCharAlphaNumeric(c.c), c.alphaNumeric)
            << "IsCharAlphaNumeric(U+" << std::hex << uint32_t{c.c} << ")";
    }
}

}  // namespace
}  // namespace kelvara
