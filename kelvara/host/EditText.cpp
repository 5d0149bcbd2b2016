// The edit control's text model: selection, word moves and one-level undo.
//
// Undo keeps a single step, as the host's edit box does. A step is grouped
// from runs of the same kind of change:
//   - typed characters, each one inserted right where the last one ended;
//   - Backspace presses, each one deleting just before the last deletion;
//   - Delete presses, each one deleting at the same place as the last.
// Anything else (paste, cut, clear, a replace, a typed character that
// replaces a selection, a change of kind, or moving the caret) starts a new
// step, and the step before it is gone. Undo puts the text back and selects
// what came back; the step becomes its own opposite, so Undo again redoes.

#include "kelvara/host/detail/EditText.h"

#include <algorithm>
#include <utility>

#include "kelvara/base/Text.h"

namespace kelvara::detail {

CharClass ClassOf(char32_t c) {
    if (c == U'\r' || c == U'\n') {
        return CharClass::Break;
    }
    if (c == U' ' || c == U'\t' || c == 0xA0 || c == 0x3000 || (c >= 0x2000 && c <= 0x200A)) {
        return CharClass::Space;
    }
    if (c == U'_' || IsCharAlphaNumeric(c)) {
        return CharClass::Word;
    }
    return CharClass::Punctuation;
}

int32_t BreakBefore(std::u32string_view text, int32_t pos) {
    const auto n = static_cast<int32_t>(text.size());
    if (pos <= 0 || pos > n) {
        return 0;
    }
    if (pos >= 2 && text[pos - 2] == U'\r' && text[pos - 1] == U'\n') {
        return 2;
    }
    return text[pos - 1] == U'\r' || text[pos - 1] == U'\n' ? 1 : 0;
}

int32_t BreakAt(std::u32string_view text, int32_t pos) {
    const auto n = static_cast<int32_t>(text.size());
    if (pos < 0 || pos >= n) {
        return 0;
    }
    if (text[pos] == U'\r' && pos + 1 < n && text[pos + 1] == U'\n') {
        return 2;
    }
    return text[pos] == U'\r' || text[pos] == U'\n' ? 1 : 0;
}

int32_t WordLeft(std::u32string_view text, int32_t pos) {
    pos = std::clamp(pos, 0, static_cast<int32_t>(text.size()));
    while (pos > 0 && ClassOf(text[pos - 1]) == CharClass::Space) {
        --pos;
    }
    if (pos == 0) {
        return 0;
    }
    if (const int32_t br = BreakBefore(text, pos); br > 0) {
        return pos - br;
    }
    const CharClass run = ClassOf(text[pos - 1]);
    while (pos > 0 && ClassOf(text[pos - 1]) == run) {
        --pos;
    }
    return pos;
}

int32_t WordRight(std::u32string_view text, int32_t pos) {
    const auto n = static_cast<int32_t>(text.size());
    pos = std::clamp(pos, 0, n);
    if (pos == n) {
        return n;
    }
    if (const int32_t br = BreakAt(text, pos); br > 0) {
        pos += br;
    } else if (const CharClass run = ClassOf(text[pos]); run != CharClass::Space) {
        while (pos < n && ClassOf(text[pos]) == run) {
            ++pos;
        }
    }
    while (pos < n && ClassOf(text[pos]) == CharClass::Space) {
        ++pos;
    }
    return pos;
}

Span WordAt(std::u32string_view text, int32_t pos) {
    const auto n = static_cast<int32_t>(text.size());
    pos = std::clamp(pos, 0, n);
    int32_t at = pos;
    if ((at == n || ClassOf(text[at]) == CharClass::Break) && at > 0 &&
        ClassOf(text[at - 1]) != CharClass::Break) {
        at = pos - 1;  // at the end of a line: the run that ends there
    }
    if (at >= n || ClassOf(text[at]) == CharClass::Break) {
        return Span{pos, pos};
    }
    const CharClass run = ClassOf(text[at]);
    int32_t start = at;
    int32_t end = at + 1;
    while (start > 0 && ClassOf(text[start - 1]) == run) {
        --start;
    }
    while (end < n && ClassOf(text[end]) == run) {
        ++end;
    }
    return Span{start, end};
}

// --- EditText ------------------------------------------------------------------

std::u32string_view EditText::Selected() const {
    return std::u32string_view(text).substr(static_cast<size_t>(SelStart()),
                                            static_cast<size_t>(SelEnd() - SelStart()));
}

int32_t EditText::Clamp(int32_t pos) const {
    pos = std::clamp(pos, 0, Length());
    // A caret never stands between the two characters of a "\r\n".
    if (pos > 0 && pos < Length() && text[pos - 1] == U'\r' && text[pos] == U'\n') {
        --pos;
    }
    return pos;
}

void EditText::SetText(std::u32string value) {
    if (value.size() > static_cast<size_t>(kMaxEditText)) {
        value.resize(static_cast<size_t>(kMaxEditText));
    }
    text = std::move(value);
    anchor = 0;
    caret = 0;
    hasUndo = false;
    open = false;
}

void EditText::Select(int32_t newAnchor, int32_t newCaret) {
    newAnchor = Clamp(newAnchor);
    newCaret = Clamp(newCaret);
    if (newAnchor != anchor || newCaret != caret) {
        open = false;
    }
    anchor = newAnchor;
    caret = newCaret;
}

bool EditText::Replace(int32_t start, int32_t end, std::u32string_view insert, EditKind kind) {
    start = std::clamp(start, 0, Length());
    end = std::clamp(end, 0, Length());
    if (start > end) {
        std::swap(start, end);
    }
    const int64_t room = int64_t{kMaxEditText} - (Length() - (end - start));
    if (static_cast<int64_t>(insert.size()) > room) {
        insert = insert.substr(0, static_cast<size_t>(std::max<int64_t>(0, room)));
    }
    if (start == end && insert.empty()) {
        return false;
    }
    std::u32string gone = text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start));
    text.replace(static_cast<size_t>(start), static_cast<size_t>(end - start), insert);

    const auto grows = [&] {
        if (!hasUndo || !open || kind != undoKind) {
            return false;
        }
        switch (kind) {
            case EditKind::Typing:
                return gone.empty() && start == position + static_cast<int32_t>(inserted.size());
            case EditKind::Backspace:
                return insert.empty() && inserted.empty() && end == position;
            case EditKind::Delete:
                return insert.empty() && inserted.empty() && start == position;
            default:
                return false;
        }
    };
    if (kind == EditKind::NoUndo) {
        hasUndo = false;
        open = false;
    } else if (grows()) {
        if (kind == EditKind::Typing) {
            inserted += insert;
        } else if (kind == EditKind::Backspace) {
            removed.insert(0, gone);
            position = start;
        } else {
            removed += gone;
        }
    } else {
        hasUndo = true;
        undoKind = kind;
        open = kind != EditKind::Other;
        position = start;
        removed = std::move(gone);
        inserted = std::u32string(insert);
    }
    anchor = caret = Clamp(start + static_cast<int32_t>(insert.size()));
    return true;
}

bool EditText::Undo() {
    if (!hasUndo) {
        return false;
    }
    text.replace(static_cast<size_t>(position), inserted.size(), removed);
    std::swap(removed, inserted);
    open = false;
    undoKind = EditKind::Other;
    anchor = Clamp(position);
    caret = Clamp(position + static_cast<int32_t>(inserted.size()));
    return true;
}

}  // namespace kelvara::detail
