#pragma once

// The edit control's text, selection and one-level undo, with no window in
// them (EditText.cpp); the control (EditControl.cpp) turns input into these
// calls and paints what they hold.
//
// Every position is an index into the text in characters (code points),
// from 0 to Length(); a line break "\r\n" is two characters.

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvara::detail {

// The most characters an edit holds; longer text is cut here.
inline constexpr int32_t kMaxEditText = 1 << 24;

// How a character takes part in word moves and double clicks.
enum class CharClass { Space, Break, Word, Punctuation };
CharClass ClassOf(char32_t c);

// Ctrl+Left: to the start of the word before pos, skipping blanks; a line
// break counts as a word of its own.
int32_t WordLeft(std::u32string_view text, int32_t pos);
// Ctrl+Right: past the word at pos and the blanks after it, to the start
// of the next word; a line break is a stop of its own.
int32_t WordRight(std::u32string_view text, int32_t pos);
// Double click: the run of characters of one class around pos (the one
// after it, or the one before at the end of the text). A line break
// selects nothing.
struct Span {
    int32_t Start = 0;
    int32_t End = 0;
};
Span WordAt(std::u32string_view text, int32_t pos);

// The length of the line break that ends just before pos (2 for "\r\n",
// 1 for a lone "\r" or "\n"), else 0; and the one that starts at pos.
int32_t BreakBefore(std::u32string_view text, int32_t pos);
int32_t BreakAt(std::u32string_view text, int32_t pos);

// What a change was, for grouping undo steps.
enum class EditKind {
    Typing,     // a typed character; runs of them undo together
    Backspace,  // deleting to the left of the caret; runs undo together
    Delete,     // deleting to the right of the caret; runs undo together
    Other,      // paste, cut, replace: one step each
    NoUndo      // cannot be undone: the undo step is dropped
};

class EditText {
public:
    const std::u32string& Text() const { return text; }
    int32_t Length() const { return static_cast<int32_t>(text.size()); }

    // The selection runs from the anchor to the caret, either way round.
    int32_t Anchor() const { return anchor; }
    int32_t Caret() const { return caret; }
    int32_t SelStart() const { return anchor < caret ? anchor : caret; }
    int32_t SelEnd() const { return anchor < caret ? caret : anchor; }
    bool HasSelection() const { return anchor != caret; }
    std::u32string_view Selected() const;

    // New text: the selection goes to the start and undo is emptied.
    void SetText(std::u32string value);
    // Both ends are clamped into the text; a position inside a "\r\n" pair
    // moves before it. Moving the selection ends a run of typing.
    void Select(int32_t newAnchor, int32_t newCaret);

    // Replaces [start, end) by insert and leaves the caret after it. Returns
    // false when there was nothing to change.
    bool Replace(int32_t start, int32_t end, std::u32string_view insert, EditKind kind);

    bool CanUndo() const { return hasUndo; }
    // Puts back what the last step changed and selects what came back; the
    // step becomes its own opposite, so a second Undo does it again.
    bool Undo();
    void EmptyUndo() { hasUndo = false; }

private:
    int32_t Clamp(int32_t pos) const;

    std::u32string text;
    int32_t anchor = 0;
    int32_t caret = 0;

    // The one undo step: at `position`, `inserted` replaced `removed`.
    bool hasUndo = false;
    bool open = false;  // a run of typing or deleting may still grow
    EditKind undoKind = EditKind::Other;
    int32_t position = 0;
    std::u32string removed;
    std::u32string inserted;
};

}  // namespace kelvara::detail
