// KV against independent npm packages, through the vectors that
// tools/oracles/regenerate writes into tests/data. tools/oracles/README.md
// explains each normalisation and exclusion applied here.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "kelvara/util/KV.h"

namespace kelvara {
namespace {

// ------------------------------------------------------------ JSONL reading
//
// Each line is one flat object of string or boolean members, plus at most
// one member "oracles" that is itself such a flat object. Anything else
// (numbers, null, arrays, \u escapes, duplicate keys, trailing text) is
// rejected, so a damaged data file fails instead of thinning the comparison.

using Value = std::variant<std::string, bool>;
using Members = std::map<std::string, Value, std::less<>>;

struct Record {
    int line = 0;
    Members members;
    Members oracles;
};

class LineParser {
public:
    explicit LineParser(std::string_view text) : text_(text) {}

    bool Parse(Record& out) {
        SkipBlanks();
        if (!Object(out.members, &out.oracles))
            return false;
        SkipBlanks();
        return pos_ == text_.size();
    }

private:
    bool Object(Members& into, Members* nested) {
        if (!Eat('{'))
            return false;
        SkipBlanks();
        if (Eat('}'))
            return true;
        bool sawNested = false;
        for (;;) {
            SkipBlanks();
            std::string key;
            if (!String(key))
                return false;
            SkipBlanks();
            if (!Eat(':'))
                return false;
            SkipBlanks();
            if (nested != nullptr && key == "oracles") {
                if (sawNested || !Object(*nested, nullptr))
                    return false;
                sawNested = true;
            } else {
                Value value;
                if (!Scalar(value) || !into.emplace(std::move(key), std::move(value)).second)
                    return false;
            }
            SkipBlanks();
            if (Eat(','))
                continue;
            return Eat('}');
        }
    }

    bool Scalar(Value& out) {
        if (pos_ < text_.size() && text_[pos_] == '"') {
            std::string s;
            if (!String(s))
                return false;
            out = std::move(s);
            return true;
        }
        if (Literal("true")) {
            out = true;
            return true;
        }
        if (Literal("false")) {
            out = false;
            return true;
        }
        return false;
    }

    bool String(std::string& out) {
        if (!Eat('"'))
            return false;
        while (pos_ < text_.size()) {
            const char c = text_[pos_++];
            if (c == '"')
                return true;
            if (static_cast<unsigned char>(c) < 0x20)
                return false;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ == text_.size())
                return false;
            const char e = text_[pos_++];
            if (e != '"' && e != '\\' && e != '/')
                return false;
            out += e;
        }
        return false;
    }

    bool Literal(std::string_view word) {
        if (text_.substr(pos_, word.size()) != word)
            return false;
        pos_ += word.size();
        return true;
    }

    bool Eat(char c) {
        if (pos_ >= text_.size() || text_[pos_] != c)
            return false;
        ++pos_;
        return true;
    }

    void SkipBlanks() {
        while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t'))
            ++pos_;
    }

    std::string_view text_;
    size_t pos_ = 0;
};

std::vector<Record> LoadJsonl(const std::string& name) {
    const std::string path = std::string(KELVARA_TEST_DATA) + "/" + name;
    std::ifstream in(path, std::ios::binary);
    std::vector<Record> records;
    if (!in) {
        ADD_FAILURE() << "cannot open " << path;
        return records;
    }
    std::string text;
    int lineNo = 0;
    while (std::getline(in, text)) {
        ++lineNo;
        Record record;
        record.line = lineNo;
        if (!LineParser(text).Parse(record)) {
            ADD_FAILURE() << path << ":" << lineNo << ": malformed line: " << text;
            return {};
        }
        records.push_back(std::move(record));
    }
    return records;
}

template <typename T>
const T* Get(const Members& members, std::string_view key) {
    const auto it = members.find(key);
    return it == members.end() ? nullptr : std::get_if<T>(&it->second);
}

// Reports the first few mismatches in full and counts the rest.
class Mismatches {
public:
    static constexpr size_t kShown = 25;

    void Add(const std::string& detail) {
        if (count_++ < kShown)
            ADD_FAILURE() << detail;
    }
    size_t Count() const { return count_; }

private:
    size_t count_ = 0;
};

TEST(KVOraclesHarness, ReaderAcceptsTheVectorShapeAndRejectsAnythingElse) {
    Record good;
    ASSERT_TRUE(
        LineParser(R"({"doc":"1\"2\\3","kind":"cpf","oracles":{"a":true,"b":false}})").Parse(good));
    EXPECT_EQ(*Get<std::string>(good.members, "doc"), "1\"2\\3");
    EXPECT_EQ(*Get<bool>(good.oracles, "a"), true);
    EXPECT_EQ(*Get<bool>(good.oracles, "b"), false);

    for (const char* bad : {
             "",
             R"({"doc":"1")",
             R"({"doc":"1"} x)",
             R"({"doc":1})",
             R"({"doc":null})",
             R"({"doc":"\u0031"})",
             R"({"doc":"1","doc":"2"})",
             R"({"doc":"1",})",
             R"({"oracles":{"a":true},"oracles":{"a":true}})",
             R"({"oracles":{"a":{"b":true}}})",
             R"({"doc":"1""kind":"cpf"})",
         }) {
        Record record;
        EXPECT_FALSE(LineParser(bad).Parse(record)) << bad;
    }
}

// ----------------------------------------------------------------- CPF/CNPJ

bool AllDigits(std::string_view s) {
    for (char c : s)
        if (c < '0' || c > '9')
            return false;
    return !s.empty();
}

// "11144477735" -> "111.444.777-35"; "11444777000161" -> "11.444.777/0001-61".
std::string Masked(const std::string& doc) {
    if (doc.size() == 11)
        return doc.substr(0, 3) + "." + doc.substr(3, 3) + "." + doc.substr(6, 3) + "-" +
               doc.substr(9, 2);
    return doc.substr(0, 2) + "." + doc.substr(2, 3) + "." + doc.substr(5, 3) + "/" +
           doc.substr(8, 4) + "-" + doc.substr(12, 2);
}

TEST(KVOracles, IsValidCPFOrCNPJMatchesIndependentValidators) {
    const std::vector<Record> records = LoadJsonl("cpf_cnpj.jsonl");
    ASSERT_FALSE(records.empty());

    size_t compared = 0, skipped = 0;
    std::map<std::string, size_t> validCompared;
    Mismatches mismatches;
    for (const Record& r : records) {
        const std::string* doc = Get<std::string>(r.members, "doc");
        const std::string* kind = Get<std::string>(r.members, "kind");
        const size_t wantSize = kind == nullptr   ? 0
                                : *kind == "cpf"  ? 11
                                : *kind == "cnpj" ? 14
                                                  : 0;
        ASSERT_TRUE(doc != nullptr && wantSize != 0 && doc->size() == wantSize && AllDigits(*doc))
            << "line " << r.line << ": needs a digits-only \"doc\" of its \"kind\" (cpf or cnpj)";
        ASSERT_GE(r.oracles.size(), 2u) << "line " << r.line << ": needs two oracles";

        std::set<bool> answers;
        for (const auto& [name, value] : r.oracles) {
            const bool* answer = std::get_if<bool>(&value);
            ASSERT_NE(answer, nullptr) << "line " << r.line << ": " << name << " is not a boolean";
            answers.insert(*answer);
        }
        // The validators disagree only where one of them keeps a blacklist of
        // numbers whose check digits are right; KV keeps none.
        if (answers.size() != 1) {
            ++skipped;
            continue;
        }
        const bool want = *answers.begin();
        ++compared;
        if (want)
            ++validCompared[*kind];

        for (const std::string& input : {*doc, Masked(*doc)}) {
            const bool have = KV::IsValidCPFOrCNPJ(input);
            if (have != want) {
                std::ostringstream detail;
                detail << *kind << " \"" << input << "\": have " << std::boolalpha << have
                       << ", want " << want;
                mismatches.Add(detail.str());
            }
        }
    }

    std::cout << "compared " << compared << ", skipped " << skipped << " (oracles disagree)\n";
    EXPECT_EQ(mismatches.Count(), 0u) << "(first " << Mismatches::kShown << " shown above)";
    EXPECT_GE(compared, 10000u);
    EXPECT_GT(validCompared["cpf"], 0u);
    EXPECT_GT(validCompared["cnpj"], 0u);
}

// ------------------------------------------------------------ CurrencyAsStr

enum class Source { KV, NumeroPorExtenso, Extenso };

bool IsScaleWord(std::string_view w) {
    return w == "mil" || w == "milhão" || w == "milhões" || w == "bilhão" || w == "bilhões";
}

// The words an answer says, with only the differences every writer is free
// to make taken out (see tools/oracles/README.md):
//   - case: KV capitalises the first letter, the packages write lower case;
//   - blanks: the packages' runs of blanks count as one; KV's do not, since
//     KV must separate words by exactly one blank;
//   - extenso's commas between groups;
//   - "de" (KV and extenso write "milhões de reais", numero-por-extenso
//     "milhões reais");
//   - "e" right after a scale word, the connector between groups, which
//     each writer places differently ("Um mil um reais" against
//     "um mil e um reais"); the "e" inside a group and before the cents stay;
//   - "catorze" reads as "quatorze": both spellings are standard;
//   - extenso says "mil" where the thousands group is one; the others say
//     "um mil".
std::string Words(std::string_view text, Source source) {
    std::string lowered(text);
    if (source == Source::KV) {
        if (!lowered.empty() && lowered[0] >= 'A' && lowered[0] <= 'Z')
            lowered[0] += 'a' - 'A';
    } else {
        for (char& c : lowered) {
            if (c >= 'A' && c <= 'Z')
                c += 'a' - 'A';
            if (source == Source::Extenso && c == ',')
                c = ' ';
        }
    }

    std::vector<std::string> raw;
    std::string word;
    for (char c : lowered) {
        if (c != ' ' && c != '\t') {
            word += c;
        } else if (source == Source::KV || !word.empty()) {
            raw.push_back(word);  // KV: an empty word here is a stray blank
            word.clear();
        }
    }
    if (source == Source::KV || !word.empty())
        raw.push_back(word);

    std::vector<std::string> words;
    for (std::string& w : raw) {
        if (w == "de")
            continue;
        if (w == "e" && !words.empty() && IsScaleWord(words.back()))
            continue;
        if (w == "catorze")
            w = "quatorze";
        if (source == Source::Extenso && w == "mil" && (words.empty() || IsScaleWord(words.back())))
            words.emplace_back("um");
        words.push_back(std::move(w));
    }

    std::string joined;
    for (const std::string& w : words) {
        if (!joined.empty())
            joined += ' ';
        joined += w.empty() ? "<blank>" : w;
    }
    return joined;
}

struct Amount {
    uint64_t reais = 0;
    int cents = 0;
};

// "1234.56" -> {1234, 56}. Exactly two decimals, as the generator writes.
std::optional<Amount> ParseAmount(const std::string& text) {
    const size_t dot = text.find('.');
    if (dot == std::string::npos || dot == 0 || dot > 10 || text.size() != dot + 3 ||
        !AllDigits(text.substr(0, dot)) || !AllDigits(text.substr(dot + 1)))
        return std::nullopt;
    return Amount{std::stoull(text.substr(0, dot)), std::stoi(text.substr(dot + 1))};
}

// KV takes the cents from the double amount - floor(amount). True when that
// difference, read to 15 significant digits, is not the amount's own cents,
// so KV's cents may come out one branch off.
// The cents words branch on the raw fraction at 0.1 and 0.2: below 0.1,
// strictly between, or the rest.
int FractionBranch(double fraction) {
    if (fraction < 0.1)
        return 0;
    if (fraction > 0.1 && fraction < 0.2)
        return 1;
    return 2;
}

// True when the double's fraction does not carry the cents cleanly: its
// 15-digit text is not the cents' own, or it falls on the other side of a
// branch boundary than the cents do (1.10 - 1 is 0.10000000000000009).
bool HasBinaryFraction(double value, int cents) {
    const double fraction = value - std::floor(value);
    char have[40];
    std::snprintf(have, sizeof have, "%.15g", fraction);
    std::string want = "0";
    if (cents != 0) {
        want += '.';
        want += static_cast<char>('0' + cents / 10);
        if (cents % 10 != 0)
            want += static_cast<char>('0' + cents % 10);
    }
    return have != want || FractionBranch(fraction) != FractionBranch(cents / 100.0);
}

// KV names a millions group that ends in one "milhão" ("Vinte e um milhão");
// the packages say "milhões" for every group but one itself. Eleven is
// "onze milhões" everywhere.
bool HasMilhaoAfterTens(uint64_t reais) {
    const uint64_t millions = reais / 1000000 % 1000;
    return millions > 1 && millions % 10 == 1 && millions % 100 != 11;
}

bool EndsWithCurrency(const std::string& text) {
    for (std::string_view tail : {" real", " reais", " centavo", " centavos"}) {
        if (text.size() > tail.size() &&
            text.compare(text.size() - tail.size(), tail.size(), tail) == 0)
            return true;
    }
    return false;
}

TEST(KVOracles, CurrencyAsStrMatchesIndependentWordWriters) {
    const std::vector<Record> records = LoadJsonl("currency_words.jsonl");
    ASSERT_FALSE(records.empty());

    size_t compared = 0, binaryFraction = 0, milhaoAfterTens = 0, disagree = 0;
    Mismatches mismatches;
    for (const Record& r : records) {
        const std::string* text = Get<std::string>(r.members, "amount");
        const std::string* primary = Get<std::string>(r.oracles, "numero-por-extenso");
        const std::string* secondary = Get<std::string>(r.oracles, "extenso");
        ASSERT_TRUE(text != nullptr && primary != nullptr && secondary != nullptr)
            << "line " << r.line << ": needs \"amount\" and both oracles' text";
        const std::optional<Amount> amount = ParseAmount(*text);
        ASSERT_TRUE(amount && (amount->reais > 0 || amount->cents > 0))
            << "line " << r.line << ": amount \"" << *text << "\" is not a positive d.dd";

        char* end = nullptr;
        const double value = std::strtod(text->c_str(), &end);
        ASSERT_EQ(*end, '\0') << *text;
        const std::string have = KV::CurrencyAsStr(value);

        // Whatever the class, the answer is one capitalised phrase in the
        // currency.
        if (have.empty() || have[0] < 'A' || have[0] > 'Z' || !EndsWithCurrency(have)) {
            mismatches.Add(*text + ": have \"" + have +
                           "\", want a capitalised phrase ending in the currency");
            continue;
        }

        if (HasBinaryFraction(value, amount->cents)) {
            ++binaryFraction;
            continue;
        }
        if (HasMilhaoAfterTens(amount->reais)) {
            ++milhaoAfterTens;
            continue;
        }
        const std::string want = Words(*primary, Source::NumeroPorExtenso);
        if (want != Words(*secondary, Source::Extenso)) {
            ++disagree;
            continue;
        }
        ++compared;
        const std::string haveWords = Words(have, Source::KV);
        if (haveWords != want) {
            mismatches.Add(*text + ":\n  have \"" + have + "\"\n  want \"" + *primary +
                           "\"\n  compared as\n  have " + haveWords + "\n  want " + want);
        }
    }

    std::cout << "compared " << compared << ", excluded " << binaryFraction + milhaoAfterTens
              << " (binary fraction " << binaryFraction << ", milhão after tens " << milhaoAfterTens
              << "), oracles disagree " << disagree << "\n";
    EXPECT_EQ(mismatches.Count(), 0u) << "(first " << Mismatches::kShown << " shown above)";
    EXPECT_GE(compared * 5, records.size() * 4) << "fewer than 80% of the amounts compared";
}

// The comparison must not be laxer than the table in the README: it forgives
// the connector between groups and nothing inside a group.
TEST(KVOraclesHarness, WordsForgiveOnlyTheWritersChoices) {
    const std::string numero = Words("um mil e um reais", Source::NumeroPorExtenso);
    EXPECT_EQ(Words("Um mil um reais", Source::KV), numero);
    EXPECT_EQ(Words("mil e um reais", Source::Extenso), numero);
    EXPECT_EQ(Words("Um milhão de reais", Source::KV),
              Words("um milhão reais", Source::NumeroPorExtenso));
    EXPECT_EQ(Words("dois bilhões, trezentos mil reais", Source::Extenso),
              Words("dois bilhões e trezentos mil reais", Source::NumeroPorExtenso));

    const std::string cents = Words("cento e vinte reais e um centavo", Source::NumeroPorExtenso);
    EXPECT_NE(Words("Mil reais", Source::KV), Words("um mil reais", Source::NumeroPorExtenso));
    EXPECT_NE(Words("Cento vinte reais e um centavo", Source::KV), cents);
    EXPECT_NE(Words("Cento e vinte reais um centavo", Source::KV), cents);
    EXPECT_NE(Words("Cento e vinte reais e um  centavo", Source::KV), cents);
    EXPECT_NE(Words("Cento e vinte reais e um centavo ", Source::KV), cents);
}

TEST(KVOraclesHarness, BinaryFractionFlagsCentsADoubleDoesNotCarry) {
    EXPECT_FALSE(HasBinaryFraction(0.37, 37));
    EXPECT_FALSE(HasBinaryFraction(1.05, 5));
    EXPECT_FALSE(HasBinaryFraction(1234.5, 50));
    EXPECT_FALSE(HasBinaryFraction(9999999999.0, 0));
    EXPECT_TRUE(HasBinaryFraction(1234.56, 56));  // 0.559999999999945
    EXPECT_TRUE(HasBinaryFraction(9999999999.99, 99));
    EXPECT_TRUE(HasBinaryFraction(1.10, 10));  // 0.10000000000000009: above 0.1
    EXPECT_TRUE(HasBinaryFraction(1.20, 20));  // 0.19999999999999996: below 0.2
    EXPECT_FALSE(HasBinaryFraction(0.10, 10));
}

}  // namespace
}  // namespace kelvara
