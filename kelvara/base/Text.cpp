#include "kelvara/base/Text.h"

#include <algorithm>
#include <iterator>
#include <optional>

// The text is UTF-8 throughout and never converted as a whole. Positions are
// found by walking the bytes one character at a time (Advance), so Len,
// Left, Right and Mid allocate nothing but their result. Malformed UTF-8
// reads as one U+FFFD per bad byte; see DecodeAt.
//
// Searching goes through Finder:
//   InStr / InStrRev / Replace / Split → Finder::Next → byte search (Binary)
//                                                     or FoldedMatchEnd (Text)
// Text comparison (StrComp) weighs each character twice: PrimaryWeight (base
// letter, case folded) over the whole text first, SecondaryWeight (accents)
// only when the primary weights all tie.
// Like compiles its pattern into LikeTokens and runs them over the text as a
// set of live pattern positions, so no pattern can make it backtrack.

namespace kelvara {

namespace {

constexpr char32_t ReplacementCharacter = 0xFFFD;

struct Decoded {
    char32_t c;
    uint32_t size;
};

// Reads the character that starts at text[at] (at < text.size()).
//
// How malformed UTF-8 reads: only the well-formed sequences of the Unicode
// standard (table 3-7: no overlong forms, no surrogates, nothing above
// U+10FFFF) decode to their code point. Any other byte — a stray
// continuation byte, a lead byte whose sequence is cut short or broken, C0,
// C1, F5..FF — reads as one U+FFFD of size 1, and the next byte starts a
// fresh character. So every bad byte counts as one character, and a
// well-formed sequence never starts inside another one.
Decoded DecodeAt(std::string_view text, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const Decoded bad{ReplacementCharacter, 1};
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
        return {lead, 1};
    }
    uint32_t size = 0;
    char32_t c = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        size = 2;
        c = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        size = 3;
        c = lead & 0x0F;
        if (lead == 0xE0) {
            low = 0xA0;  // overlong below
        } else if (lead == 0xED) {
            high = 0x9F;  // surrogates above
        }
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        size = 4;
        c = lead & 0x07;
        if (lead == 0xF0) {
            low = 0x90;  // overlong below
        } else if (lead == 0xF4) {
            high = 0x8F;  // beyond U+10FFFF above
        }
    } else {
        return bad;
    }
    if (text.size() - at < size) {
        return bad;
    }
    const unsigned char second = byte(at + 1);
    if (second < low || second > high) {
        return bad;
    }
    c = (c << 6) | (second & 0x3F);
    for (uint32_t k = 2; k < size; ++k) {
        const unsigned char next = byte(at + k);
        if ((next & 0xC0) != 0x80) {
            return bad;
        }
        c = (c << 6) | (next & 0x3F);
    }
    return {c, size};
}

// Byte length of the character at text[at].
size_t CharSize(std::string_view text, size_t at) {
    return static_cast<unsigned char>(text[at]) < 0x80 ? 1 : DecodeAt(text, at).size;
}

// Surrogates and values above U+10FFFF are not characters; they are written
// as U+FFFD.
void AppendUtf8(std::string& out, char32_t c) {
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) {
        c = ReplacementCharacter;
    }
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

struct CodeRange {
    char32_t first;
    char32_t last;
};

// Maps first, first + stride, ... last to themselves plus delta.
struct CaseRange {
    char32_t first;
    char32_t last;
    int32_t delta;
    uint32_t stride;
};

struct BaseLetter {
    char32_t c;
    char32_t base;
};

#include "kelvara/base/detail/UnicodeTables.inc"

template <size_t N>
bool InRanges(const CodeRange (&ranges)[N], char32_t c) {
    const auto after = std::upper_bound(std::begin(ranges), std::end(ranges), c,
                                        [](char32_t v, const CodeRange& r) { return v < r.first; });
    return after != std::begin(ranges) && c <= std::prev(after)->last;
}

template <size_t N>
char32_t MapCase(const CaseRange (&ranges)[N], char32_t c) {
    const auto after = std::upper_bound(std::begin(ranges), std::end(ranges), c,
                                        [](char32_t v, const CaseRange& r) { return v < r.first; });
    if (after == std::begin(ranges)) {
        return c;
    }
    const CaseRange& r = *std::prev(after);
    if (c > r.last || (c - r.first) % r.stride != 0) {
        return c;
    }
    return static_cast<char32_t>(static_cast<int32_t>(c) + r.delta);
}

bool IsDigitChar(char32_t c) {
    if (c < 0x80) {
        return c >= '0' && c <= '9';
    }
    return InRanges(DigitRanges, c);
}

// Simple case folding: two characters match in Text compare when their
// folds are equal.
char32_t Fold(char32_t c) {
    if (c < 0x80) {
        return (c >= 'A' && c <= 'Z') ? c + 32 : c;
    }
    return LCaseChar(UCaseChar(c));
}

// The first character of the canonical decomposition: "Á" → "A".
char32_t Base(char32_t c) {
    if (c < 0xC0) {
        return c;
    }
    const auto at = std::lower_bound(std::begin(BaseLetters), std::end(BaseLetters), c,
                                     [](const BaseLetter& b, char32_t v) { return b.c < v; });
    return (at != std::end(BaseLetters) && at->c == c) ? at->base : c;
}

// Orders symbols before digits and digits before letters, as the host's text
// comparison does; within each group, by folded base character.
uint32_t PrimaryWeight(char32_t c) {
    const char32_t key = Fold(Base(c));
    uint32_t group = 0;
    if (IsCharAlpha(key)) {
        group = 2;
    } else if (IsDigitChar(key)) {
        group = 1;
    }
    return (group << 21) | key;
}

// Zero for a plain letter, so "a" sorts before every accented "a".
uint32_t SecondaryWeight(char32_t c) {
    const char32_t folded = Fold(c);
    return folded == Fold(Base(c)) ? 0 : folded;
}

// The host compares UTF-16 code units, in which every supplementary
// character (a surrogate pair, D800..DFFF) sorts below U+E000..U+FFFF.
uint32_t Utf16Weight(char32_t c) {
    return (c >= 0xE000 && c <= 0xFFFF) ? c + 0x200000 : c;
}

struct Span {
    size_t offset;  // in bytes
    int64_t chars;  // characters actually passed
};

// Walks up to count characters forward from byte offset at; stops early at
// the end of the text.
Span Advance(std::string_view text, size_t at, int64_t count) {
    int64_t passed = 0;
    while (passed < count && at < text.size()) {
        at += CharSize(text, at);
        ++passed;
    }
    return {at, passed};
}

int64_t CountChars(std::string_view text) {
    int64_t count = 0;
    for (size_t at = 0; at < text.size(); at += CharSize(text, at)) {
        ++count;
    }
    return count;
}

bool IsContinuationByte(char b) {
    return (static_cast<unsigned char>(b) & 0xC0) == 0x80;
}

bool IsWellFormed(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const Decoded d = DecodeAt(text, at);
        if (d.c == ReplacementCharacter && d.size == 1) {
            return false;
        }
        at += d.size;
    }
    return true;
}

struct Match {
    size_t offset;  // in bytes
    size_t size;    // in bytes; in Text compare it may differ from the find's
};

// Finds a non-empty text in others, repeatedly.
class Finder {
public:
    Finder(std::string_view find, CompareMethod compare) : find(find), compare(compare) {
        if (compare == CompareMethod::Text) {
            for (size_t at = 0; at < find.size();) {
                const Decoded d = DecodeAt(find, at);
                folded.push_back(Fold(d.c));
                at += d.size;
            }
        } else {
            // A byte match of well-formed text that does not begin with a
            // continuation byte always starts and ends on character
            // boundaries, because only well-formed sequences span bytes.
            // Otherwise ("\x82" inside "€") each hit must be checked.
            aligned = !IsContinuationByte(find[0]) && IsWellFormed(find);
        }
    }

    // The first match at or after byte offset from, which must be a
    // character boundary.
    std::optional<Match> Next(std::string_view text, size_t from) const {
        if (compare == CompareMethod::Text) {
            for (size_t at = from; at < text.size(); at += CharSize(text, at)) {
                const size_t end = FoldedMatchEnd(text, at);
                if (end != std::string_view::npos) {
                    return Match{at, end - at};
                }
            }
            return std::nullopt;
        }
        size_t hit = text.find(find, from);
        if (aligned) {
            return hit == std::string_view::npos ? std::nullopt
                                                 : std::optional<Match>(Match{hit, find.size()});
        }
        size_t cursor = from;
        while (hit != std::string_view::npos) {
            while (cursor < hit) {
                cursor += CharSize(text, cursor);
            }
            if (cursor == hit && EndsOnBoundary(text, hit)) {
                return Match{hit, find.size()};
            }
            hit = text.find(find, hit + 1);
        }
        return std::nullopt;
    }

private:
    size_t FoldedMatchEnd(std::string_view text, size_t at) const {
        for (const char32_t want : folded) {
            if (at >= text.size()) {
                return std::string_view::npos;
            }
            const Decoded d = DecodeAt(text, at);
            if (Fold(d.c) != want) {
                return std::string_view::npos;
            }
            at += d.size;
        }
        return at;
    }

    bool EndsOnBoundary(std::string_view text, size_t at) const {
        const size_t end = at + find.size();
        while (at < end) {
            at += CharSize(text, at);
        }
        return at == end;
    }

    std::string_view find;
    CompareMethod compare;
    bool aligned = false;
    std::u32string folded;
};

template <typename Map>
std::string MapEachChar(std::string_view text, Map map) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const Decoded d = DecodeAt(text, at);
        const char32_t mapped = map(d.c);
        // Unmapped characters keep their bytes, so malformed input passes
        // through unchanged instead of turning into U+FFFD.
        if (mapped == d.c) {
            out.append(text.substr(at, d.size));
        } else {
            AppendUtf8(out, mapped);
        }
        at += d.size;
    }
    return out;
}

int32_t Sign(int64_t v) {
    return v < 0 ? -1 : (v > 0 ? 1 : 0);
}

// Code points in the host's UTF-16 order. Malformed bytes all read as
// U+FFFD, but Binary keeps texts apart whenever their bytes differ (as the
// byte searches of InStr and Split do): such ties are settled by the first
// differing bad byte, and only when everything else is equal.
int32_t CompareBinary(std::string_view a, std::string_view b) {
    size_t i = 0;
    size_t j = 0;
    int32_t byteTie = 0;
    while (i < a.size() && j < b.size()) {
        const unsigned char x = static_cast<unsigned char>(a[i]);
        const unsigned char y = static_cast<unsigned char>(b[j]);
        if (x < 0x80 && y < 0x80) {
            if (x != y) {
                return x < y ? -1 : 1;
            }
            ++i;
            ++j;
            continue;
        }
        const Decoded p = DecodeAt(a, i);
        const Decoded q = DecodeAt(b, j);
        if (p.c != q.c) {
            return Sign(int64_t{Utf16Weight(p.c)} - Utf16Weight(q.c));
        }
        if (byteTie == 0) {
            const int raw = a.substr(i, p.size).compare(b.substr(j, q.size));
            byteTie = Sign(raw);
        }
        i += p.size;
        j += q.size;
    }
    const int32_t longer =
        Sign(static_cast<int64_t>(i < a.size()) - static_cast<int64_t>(j < b.size()));
    return longer != 0 ? longer : byteTie;
}

template <typename Weight>
int32_t CompareWeights(std::string_view a, std::string_view b, Weight weight) {
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const Decoded p = DecodeAt(a, i);
        const Decoded q = DecodeAt(b, j);
        const uint32_t x = weight(p.c);
        const uint32_t y = weight(q.c);
        if (x != y) {
            return x < y ? -1 : 1;
        }
        i += p.size;
        j += q.size;
    }
    return Sign(static_cast<int64_t>(i < a.size()) - static_cast<int64_t>(j < b.size()));
}

// --- Like -------------------------------------------------------------------

struct LikeToken {
    enum class Kind { Char, AnyChar, Digit, AnyRun, List, Nothing };
    Kind kind;
    char32_t c = 0;  // Char: folded when comparing text
    bool negated = false;
    size_t firstRange = 0;  // List: ranges[firstRange, firstRange + rangeCount)
    size_t rangeCount = 0;
};

struct LikePattern {
    std::vector<LikeToken> tokens;
    std::vector<CodeRange> ranges;
    bool ignoreCase = false;

    bool InList(const LikeToken& list, char32_t c) const {
        for (size_t k = list.firstRange; k < list.firstRange + list.rangeCount; ++k) {
            const CodeRange& r = ranges[k];
            if (c >= r.first && c <= r.last) {
                return true;
            }
        }
        return false;
    }

    bool Accepts(const LikeToken& token, char32_t c) const {
        switch (token.kind) {
            case LikeToken::Kind::Char:
                return (ignoreCase ? Fold(c) : c) == token.c;
            case LikeToken::Kind::AnyChar:
                return true;
            case LikeToken::Kind::Digit:
                return c >= '0' && c <= '9';
            case LikeToken::Kind::List: {
                bool found = InList(token, c);
                if (!found && ignoreCase) {
                    found = InList(token, UCaseChar(c)) || InList(token, LCaseChar(c));
                }
                return found != token.negated;
            }
            case LikeToken::Kind::AnyRun:
            case LikeToken::Kind::Nothing:
                break;
        }
        return false;
    }
};

// Reads the list after a '[' at pattern[at]; returns the index after its
// ']', or npos for an unclosed list or a descending range.
size_t ParseLikeList(const std::u32string& pattern, size_t at, LikePattern& out) {
    size_t close = at;
    while (close < pattern.size() && pattern[close] != U']') {
        ++close;
    }
    if (close == pattern.size()) {
        return std::u32string::npos;
    }
    LikeToken token{LikeToken::Kind::List};
    if (close == at) {
        // "[]" stands for the empty string: it matches without taking a
        // character.
        token.kind = LikeToken::Kind::Nothing;
        out.tokens.push_back(token);
        return close + 1;
    }
    if (pattern[at] == U'!') {
        token.negated = true;
        ++at;
    }
    token.firstRange = out.ranges.size();
    // A '-' first or last in the list stands for itself.
    while (at < close) {
        const char32_t low = pattern[at];
        if (at + 2 < close && pattern[at + 1] == U'-') {
            const char32_t high = pattern[at + 2];
            if (high < low) {
                return std::u32string::npos;
            }
            out.ranges.push_back({low, high});
            at += 3;
        } else {
            out.ranges.push_back({low, low});
            ++at;
        }
    }
    token.rangeCount = out.ranges.size() - token.firstRange;
    out.tokens.push_back(token);
    return close + 1;
}

std::optional<LikePattern> CompileLike(std::string_view pattern, CompareMethod compare) {
    const std::u32string chars = ToUtf32(pattern);
    LikePattern out;
    out.ignoreCase = compare == CompareMethod::Text;
    for (size_t at = 0; at < chars.size();) {
        const char32_t c = chars[at];
        if (c == U'[') {
            at = ParseLikeList(chars, at + 1, out);
            if (at == std::u32string::npos) {
                return std::nullopt;
            }
            continue;
        }
        ++at;
        if (c == U'*') {
            if (out.tokens.empty() || out.tokens.back().kind != LikeToken::Kind::AnyRun) {
                out.tokens.push_back({LikeToken::Kind::AnyRun});
            }
        } else if (c == U'?') {
            out.tokens.push_back({LikeToken::Kind::AnyChar});
        } else if (c == U'#') {
            out.tokens.push_back({LikeToken::Kind::Digit});
        } else {
            out.tokens.push_back({LikeToken::Kind::Char, out.ignoreCase ? Fold(c) : c});
        }
    }
    return out;
}

// Lets live[j] flow past tokens that can match without a character.
void CloseOverEmpty(const LikePattern& pattern, std::vector<char>& live) {
    for (size_t j = 0; j < pattern.tokens.size(); ++j) {
        const LikeToken::Kind kind = pattern.tokens[j].kind;
        if (live[j] && (kind == LikeToken::Kind::AnyRun || kind == LikeToken::Kind::Nothing)) {
            live[j + 1] = 1;
        }
    }
}

}  // namespace

// --- Conversions --------------------------------------------------------------

std::u32string ToUtf32(std::string_view text) {
    std::u32string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const Decoded d = DecodeAt(text, at);
        out.push_back(d.c);
        at += d.size;
    }
    return out;
}

std::string ToUtf8(std::u32string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char32_t c : text) {
        AppendUtf8(out, c);
    }
    return out;
}

std::string ChrW(char32_t c) {
    std::string out;
    AppendUtf8(out, c);
    return out;
}

char32_t AscW(std::string_view text) {
    return text.empty() ? 0 : DecodeAt(text, 0).c;
}

// --- Lengths and slices ---------------------------------------------------------

int32_t Len(std::string_view text) {
    return static_cast<int32_t>(CountChars(text));
}

std::string Left(std::string_view text, int32_t length) {
    if (length <= 0) {
        return {};
    }
    return std::string(text.substr(0, Advance(text, 0, length).offset));
}

std::string Right(std::string_view text, int32_t length) {
    if (length <= 0) {
        return {};
    }
    const int64_t total = CountChars(text);
    if (length >= total) {
        return std::string(text);
    }
    return std::string(text.substr(Advance(text, 0, total - length).offset));
}

std::string Mid(std::string_view text, int32_t start, int32_t length) {
    // Deliberate: the host raises an error for a start below 1 or a length
    // below -1; we answer as if start were 1 and with "".
    if (length == 0 || length < -1) {
        return {};
    }
    const size_t begin = Advance(text, 0, int64_t{std::max(start, 1)} - 1).offset;
    const size_t end = length == -1 ? text.size() : Advance(text, begin, length).offset;
    return std::string(text.substr(begin, end - begin));
}

// --- Searching -------------------------------------------------------------------

int32_t InStr(std::string_view text, std::string_view find, CompareMethod compare) {
    return InStr(1, text, find, compare);
}

int32_t InStr(int32_t start, std::string_view text, std::string_view find, CompareMethod compare) {
    // Deliberate: as in the host, an empty text contains nothing, not even
    // the empty string.
    if (start < 1 || text.empty()) {
        return 0;
    }
    const Span from = Advance(text, 0, int64_t{start} - 1);
    if (from.chars < start - 1) {
        return 0;  // start lies beyond Len(text) + 1
    }
    if (find.empty()) {
        return start;
    }
    const std::optional<Match> hit = Finder(find, compare).Next(text, from.offset);
    if (!hit) {
        return 0;
    }
    return start +
           static_cast<int32_t>(CountChars(text.substr(from.offset, hit->offset - from.offset)));
}

int32_t InStrRev(std::string_view text, std::string_view find, int32_t start,
                 CompareMethod compare) {
    if (text.empty()) {
        return 0;
    }
    const int64_t total = CountChars(text);
    const int64_t last = start == -1 ? total : start;
    if (last < 1 || last > total) {
        return 0;
    }
    if (find.empty()) {
        return static_cast<int32_t>(last);
    }
    // A match must end at or before start, so search only that far.
    const std::string_view head = text.substr(0, Advance(text, 0, last).offset);
    const Finder finder(find, compare);
    std::optional<Match> best;
    for (std::optional<Match> hit = finder.Next(head, 0); hit;) {
        best = hit;
        hit = finder.Next(head, hit->offset + CharSize(head, hit->offset));
    }
    if (!best) {
        return 0;
    }
    return 1 + static_cast<int32_t>(CountChars(head.substr(0, best->offset)));
}

// --- Case --------------------------------------------------------------------------

char32_t UCaseChar(char32_t c) {
    if (c < 0x80) {
        return (c >= 'a' && c <= 'z') ? c - 32 : c;
    }
    return MapCase(UpperRanges, c);
}

char32_t LCaseChar(char32_t c) {
    if (c < 0x80) {
        return (c >= 'A' && c <= 'Z') ? c + 32 : c;
    }
    return MapCase(LowerRanges, c);
}

std::string UCase(std::string_view text) {
    return MapEachChar(text, UCaseChar);
}

std::string LCase(std::string_view text) {
    return MapEachChar(text, LCaseChar);
}

// --- Blanks and repeats ---------------------------------------------------------------

std::string Trim(std::string_view text) {
    return RTrim(LTrim(text));
}

std::string LTrim(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
    const size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string Space(int32_t count) {
    return count <= 0 ? std::string() : std::string(count, ' ');
}

std::string String(int32_t count, char32_t c) {
    if (count <= 0) {
        return {};
    }
    const std::string one = ChrW(c);
    std::string out;
    out.reserve(one.size() * static_cast<size_t>(count));
    for (int32_t k = 0; k < count; ++k) {
        out.append(one);
    }
    return out;
}

// --- Replace, Split, Join ---------------------------------------------------------------

std::string Replace(std::string_view expression, std::string_view find,
                    std::string_view replacement, int32_t start, int32_t count,
                    CompareMethod compare) {
    // Deliberate: as in the host, the text before start is dropped from the
    // result. A start below 1 reads as 1 and any negative count as "all",
    // where the host would raise an error.
    const std::string_view tail =
        expression.substr(Advance(expression, 0, int64_t{std::max(start, 1)} - 1).offset);
    if (find.empty() || count == 0 || tail.empty()) {
        return std::string(tail);
    }
    const Finder finder(find, compare);
    std::string out;
    out.reserve(tail.size());
    size_t from = 0;
    for (int64_t done = 0; count < 0 || done < count; ++done) {
        const std::optional<Match> hit = finder.Next(tail, from);
        if (!hit) {
            break;
        }
        out.append(tail.substr(from, hit->offset - from));
        out.append(replacement);
        from = hit->offset + hit->size;
    }
    out.append(tail.substr(from));
    return out;
}

std::vector<std::string> Split(std::string_view expression, std::string_view delimiter,
                               int32_t limit, CompareMethod compare) {
    if (expression.empty() || limit == 0) {
        return {};
    }
    if (delimiter.empty()) {
        return {std::string(expression)};
    }
    const Finder finder(delimiter, compare);
    std::vector<std::string> parts;
    size_t from = 0;
    // The last allowed part takes the rest, delimiters included.
    while (limit < 0 || static_cast<int64_t>(parts.size()) + 1 < limit) {
        const std::optional<Match> hit = finder.Next(expression, from);
        if (!hit) {
            break;
        }
        parts.emplace_back(expression.substr(from, hit->offset - from));
        from = hit->offset + hit->size;
    }
    parts.emplace_back(expression.substr(from));
    return parts;
}

std::string Join(const std::vector<std::string>& parts, std::string_view delimiter) {
    std::string out;
    for (size_t k = 0; k < parts.size(); ++k) {
        if (k > 0) {
            out.append(delimiter);
        }
        out.append(parts[k]);
    }
    return out;
}

// --- Comparison -------------------------------------------------------------------------

int32_t StrComp(std::string_view a, std::string_view b, CompareMethod compare) {
    if (compare == CompareMethod::Binary) {
        return CompareBinary(a, b);
    }
    // Known difference: the host's word sort also ignores hyphens and
    // apostrophes and weighs some letters without a decomposition ("ø",
    // "æ") near their look-alikes; here those keep their own code point.
    const int32_t primary = CompareWeights(a, b, PrimaryWeight);
    return primary != 0 ? primary : CompareWeights(a, b, SecondaryWeight);
}

// Deliberate: where the host raises "Invalid pattern string" (an unclosed
// '[' or a descending range such as [z-a]) this answers false. "[!]", the
// complement of nothing, matches any one character.
bool Like(std::string_view text, std::string_view pattern, CompareMethod compare) {
    const std::optional<LikePattern> compiled = CompileLike(pattern, compare);
    if (!compiled) {
        return false;
    }
    const std::vector<LikeToken>& tokens = compiled->tokens;
    // live[j]: the first j tokens can match the text read so far. Each
    // character costs one pass over the tokens, so the whole match is
    // O(text × pattern) whatever the pattern.
    std::vector<char> live(tokens.size() + 1, 0);
    std::vector<char> next(tokens.size() + 1, 0);
    live[0] = 1;
    CloseOverEmpty(*compiled, live);
    for (size_t at = 0; at < text.size();) {
        const Decoded d = DecodeAt(text, at);
        at += d.size;
        std::fill(next.begin(), next.end(), 0);
        bool any = false;
        for (size_t j = 0; j < tokens.size(); ++j) {
            if (!live[j]) {
                continue;
            }
            if (tokens[j].kind == LikeToken::Kind::AnyRun) {
                next[j] = 1;
                any = true;
            } else if (compiled->Accepts(tokens[j], d.c)) {
                next[j + 1] = 1;
                any = true;
            }
        }
        if (!any) {
            return false;
        }
        CloseOverEmpty(*compiled, next);
        live.swap(next);
    }
    return live[tokens.size()] != 0;
}

std::string RemoveAccents(std::string_view text) {
    if (std::all_of(text.begin(), text.end(),
                    [](char b) { return static_cast<unsigned char>(b) < 0x80; })) {
        return std::string(text);
    }
    static const std::u32string kAccented = U"ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÒÓÔÕÖÙÚÛÜàáâãäåçèéêëìíîïòóôõöùúûü";
    static const std::u32string kPlain = U"AAAAAACEEEEIIIIOOOOOUUUUaaaaaaceeeeiiiiooooouuuu";
    std::u32string wide = ToUtf32(text);
    for (char32_t& c : wide) {
        if (const size_t at = kAccented.find(c); at != std::u32string::npos) {
            c = kPlain[at];
        }
    }
    return ToUtf8(wide);
}

// --- Classes --------------------------------------------------------------------------------

bool IsCharAlpha(char32_t c) {
    if (c < 0x80) {
        return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
    }
    return InRanges(LetterRanges, c);
}

bool IsCharAlphaNumeric(char32_t c) {
    return IsCharAlpha(c) || IsDigitChar(c);
}

}  // namespace kelvara
