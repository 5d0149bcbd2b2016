// The edit control's text model and line layout, without windows.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/host/detail/EditLayout.h"
#include "kelvara/host/detail/EditText.h"

namespace kelvara::detail {
namespace {

TEST(EditWords, MovesStopAtWordsPunctuationAndLineBreaks) {
    const std::u32string text = U"one two,  three\r\nfour";
    //                            0123456789012345 6 7890
    struct Case {
        int32_t from;
        int32_t left;
        int32_t right;
    } cases[] = {
        {0, 0, 4},     // from the start: past "one" and its blank
        {1, 0, 4},     // inside a word, left goes to its start
        {4, 0, 7},     // "two" then stops before the comma
        {7, 4, 10},    // the comma is a word of its own, blanks after it skipped
        {10, 7, 15},   // "three" ends at the line break
        {15, 10, 17},  // the line break is one stop; right lands on "four"
        {17, 15, 21},  // left from the next line's start goes before the break
        {21, 17, 21},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(WordLeft(text, c.from), c.left) << "left from " << c.from;
        EXPECT_EQ(WordRight(text, c.from), c.right) << "right from " << c.from;
    }
}

TEST(EditWords, DoubleClickPicksTheRunOfOneClass) {
    const std::u32string text = U"ab  cd.e\r\nfg";
    //                            01234567 8 901
    struct Case {
        int32_t at;
        int32_t start;
        int32_t end;
    } cases[] = {
        {0, 0, 2},    {1, 0, 2}, {2, 2, 4},  // the blanks between words
        {5, 4, 6},    {6, 6, 7},             // punctuation alone
        {8, 7, 8},                           // at a line's end: the run before it
        {9, 9, 9},                           // inside the break: nothing
        {12, 10, 12},                        // at the end of the text
    };
    for (const Case& c : cases) {
        const Span span = WordAt(text, c.at);
        EXPECT_EQ(span.Start, c.start) << "at " << c.at;
        EXPECT_EQ(span.End, c.end) << "at " << c.at;
    }
    EXPECT_EQ(WordAt(U"", 0).End, 0);
}

TEST(EditTextModel, SelectionNeverSplitsALineBreakOrLeavesTheText) {
    EditText t;
    t.SetText(U"a\r\nb");
    t.Select(2, 2);
    EXPECT_EQ(t.Caret(), 1);
    t.Select(-5, 99);
    EXPECT_EQ(t.Anchor(), 0);
    EXPECT_EQ(t.Caret(), 4);
    t.Select(3, 1);
    EXPECT_EQ(t.SelStart(), 1);
    EXPECT_EQ(t.SelEnd(), 3);
    EXPECT_EQ(ToUtf8(t.Selected()), "\r\n");
}

// Runs an edit script: a character is typed, "<" is Backspace, ">" is
// Delete, "|n" puts the caret at n, "{ac}" selects from a to c, "[xy]"
// pastes xy. Positions are one digit.
void Apply(EditText& t, std::u32string_view script) {
    for (size_t i = 0; i < script.size(); ++i) {
        const char32_t c = script[i];
        const int32_t start = t.SelStart();
        const int32_t end = t.SelEnd();
        const bool empty = start == end;
        if (c == U'|') {
            t.Select(script[i + 1] - U'0', script[i + 1] - U'0');
            i += 1;
        } else if (c == U'{') {
            t.Select(script[i + 1] - U'0', script[i + 2] - U'0');
            i += 3;
        } else if (c == U'[') {
            const size_t close = script.find(U']', i);
            t.Replace(start, end, script.substr(i + 1, close - i - 1), EditKind::Other);
            i = close;
        } else if (c == U'<') {
            t.Replace(empty ? start - 1 : start, end, U"", EditKind::Backspace);
        } else if (c == U'>') {
            t.Replace(start, empty ? end + 1 : end, U"", EditKind::Delete);
        } else {
            t.Replace(start, end, std::u32string(1, c), EditKind::Typing);
        }
    }
}

TEST(EditTextModel, UndoTakesBackOneGroupedStepAndRedoesIt) {
    struct Case {
        std::u32string start;
        std::u32string script;
        std::u32string edited, undone;
        int32_t selStart, selEnd;  // after the undo
    } cases[] = {
        {U"", U"abc", U"abc", U"", 0, 0},                // typing in a row is one step
        {U"", U"ab|1c", U"acb", U"ab", 1, 1},            // moving the caret starts another
        {U"abcd", U"|4<<", U"ab", U"abcd", 2, 4},        // backspaces in a row are one
        {U"abcd", U"|0>>>", U"d", U"abcd", 0, 3},        // so are deletes
        {U"abc", U"|3<x", U"abx", U"ab", 2, 2},          // typing after backspace is another
        {U"", U"a[xyz]", U"axyz", U"a", 1, 1},           // a paste is a step of its own
        {U"", U"[x][y]", U"xy", U"x", 1, 1},             // even after a paste
        {U"hello", U"{14}xy", U"hxyo", U"hello", 1, 4},  // typing over a selection brings it back
    };
    for (const Case& c : cases) {
        const std::string what = ToUtf8(c.script);
        EditText t;
        t.SetText(c.start);
        Apply(t, c.script);
        EXPECT_EQ(ToUtf8(t.Text()), ToUtf8(c.edited)) << what;
        ASSERT_TRUE(t.Undo());
        EXPECT_EQ(ToUtf8(t.Text()), ToUtf8(c.undone)) << what;
        EXPECT_EQ(t.SelStart(), c.selStart) << what;
        EXPECT_EQ(t.SelEnd(), c.selEnd) << what;
        ASSERT_TRUE(t.Undo());
        EXPECT_EQ(ToUtf8(t.Text()), ToUtf8(c.edited)) << what << ": undo again redoes";
    }
    EditText t;
    Apply(t, U"ab");
    t.Replace(0, 0, U"x", EditKind::NoUndo);
    EXPECT_FALSE(t.CanUndo()) << "a change that cannot be undone drops the step";
    EXPECT_FALSE(t.Replace(1, 1, U"", EditKind::Other)) << "nothing to change";
}

// Every character 10 pixels wide, tabs aside, with "AV" kerned 3 pixels
// closer: enough to see offsets and wrapping.
class FakeMeasurer final : public TextMeasurer {
public:
    int32_t Width(std::u32string_view text) const override {
        int32_t w = 0;
        for (size_t i = 0; i < text.size(); ++i) {
            w += 10;
            if (i > 0 && text[i - 1] == U'A' && text[i] == U'V') {
                w -= 3;
            }
        }
        return w;
    }
    int32_t LineHeight() const override { return 13; }
    int32_t AveCharWidth() const override { return 10; }
};

struct LineWant {
    int32_t start, length, breakLength;
};

std::vector<LineWant> Lines(std::u32string_view text, EditLayoutOptions options) {
    std::vector<LineWant> out;
    for (const EditLine& l : LayOutEditText(FakeMeasurer(), text, options)) {
        EXPECT_EQ(l.X.size(), static_cast<size_t>(l.Length) + 1);
        out.push_back({l.Start, l.Length, l.BreakLength});
    }
    return out;
}

bool operator==(const LineWant& a, const LineWant& b) {
    return a.start == b.start && a.length == b.length && a.breakLength == b.breakLength;
}
void PrintTo(const LineWant& l, std::ostream* os) {
    *os << "{" << l.start << "," << l.length << "," << l.breakLength << "}";
}

TEST(EditLayout, LinesBreakAtLineBreaksAndWrapAtBlanks) {
    const EditLayoutOptions multi{true, 0, 0};
    const EditLayoutOptions wrap70{true, 70, 0};
    struct Case {
        const char* what;
        std::u32string text;
        EditLayoutOptions options;
        std::vector<LineWant> want;
    } cases[] = {
        {"empty text is one empty line", U"", multi, {{0, 0, 0}}},
        {"single-line keeps breaks as characters", U"a\r\nb", {}, {{0, 4, 0}}},
        {"each kind of break",
         U"a\r\nb\nc\rd",
         multi,
         {{0, 1, 2}, {3, 1, 1}, {5, 1, 1}, {7, 1, 0}}},
        {"a break at the end makes an empty last line", U"ab\r\n", multi, {{0, 2, 2}, {4, 0, 0}}},
        {"blank lines", U"\r\n\r\n", multi, {{0, 0, 2}, {2, 0, 2}, {4, 0, 0}}},
        // "abc def" is 70 wide: fits exactly.
        {"a line as wide as the box fits", U"abc def", wrap70, {{0, 7, 0}}},
        {"blanks stay at the end of the wrapped line",
         U"abc def  ghi",
         wrap70,
         {{0, 9, 0}, {9, 3, 0}}},
        {"a word wider than the box breaks anywhere",
         U"abcdefghijk",
         wrap70,
         {{0, 7, 0}, {7, 4, 0}}},
        {"wrapping goes on within each paragraph",
         U"ab cd ef gh\r\nxy",
         {true, 40, 0},
         {{0, 3, 0}, {3, 3, 0}, {6, 3, 0}, {9, 2, 2}, {13, 2, 0}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Lines(c.text, c.options), c.want);
    }
}

TEST(EditLayout, OffsetsFollowKerningAndTabStops) {
    const auto lines = LayOutEditText(FakeMeasurer(), U"AVA\tV", {true, 0, 40});
    ASSERT_EQ(lines.size(), 1u);
    // A=10, V kerned to +7, A=+10, tab to 40, V=+10 (no kerning across the tab).
    EXPECT_EQ(lines[0].X, (std::vector<int32_t>{0, 10, 17, 27, 40, 50}));
    const auto single = LayOutEditText(FakeMeasurer(), U"A\tV", {false, 0, 0});
    EXPECT_EQ(single[0].X, (std::vector<int32_t>{0, 10, 20, 30})) << "no tab stops";
}

}  // namespace
}  // namespace kelvara::detail
