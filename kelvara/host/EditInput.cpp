// The edit control's input: changes of the text with their limits and
// notices, the clipboard commands, keys and the mouse.

#include <algorithm>
#include <string>
#include <utility>

#include "kelvara/host/detail/EditState.h"

namespace kelvara {

using namespace detail;

namespace {

std::u32string ConvertCase(std::u32string text, uint32_t style) {
    if ((style & ES_UPPERCASE) != 0) {
        for (char32_t& c : text) {
            c = UCaseChar(c);
        }
    } else if ((style & ES_LOWERCASE) != 0) {
        for (char32_t& c : text) {
            c = LCaseChar(c);
        }
    }
    return text;
}

}  // namespace

void EditControl::State::ResetBlink() {
    if (!focused) {
        return;
    }
    caretOn = true;
    SetTimer(hwnd, kBlinkTimer, kCaretBlinkTime);
}

void EditControl::State::CaretMoved() {
    ResetBlink();
    ScrollToCaret();
    Invalidate();
}

void EditControl::State::Select(int32_t anchor, int32_t caret, bool atLineEnd) {
    text.Select(anchor, caret);
    caretAtLineEnd = atLineEnd;
    Invalidate();
}

void EditControl::State::MoveTo(int32_t pos, bool extend, bool atLineEnd) {
    Select(extend ? text.Anchor() : pos, pos, atLineEnd);
    goalX = -1;
    CaretMoved();
}

// After any change of the text: what depends on it follows.
void EditControl::State::Changed() {
    Relayout();
    caretAtLineEnd = false;
    goalX = -1;
    const std::string now = Utf8();
    DefWindowProc(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(now.c_str()));
    pending.change = true;
    CaretMoved();
}

// Whether text would still fit a box that does not scroll that way.
bool EditControl::State::Fits(std::u32string_view candidate) const {
    const uint32_t style = Style();
    if ((style & ES_MULTILINE) == 0) {
        if ((style & ES_AUTOHSCROLL) != 0) {
            return true;
        }
        return LayOut(candidate).front().Width() <= Avail();
    }
    if ((style & ES_AUTOVSCROLL) != 0) {
        return true;
    }
    return static_cast<int32_t>(LayOut(candidate).size()) <= VisibleLines();
}

// Replaces [start, end) with insert, cut to the limit and to what fits;
// EN_MAXTEXT when it was cut. False when nothing changed.
bool EditControl::State::Edit(int32_t start, int32_t end, std::u32string insert, EditKind kind) {
    const size_t wanted = insert.size();
    const int64_t kept = text.Length() - (end - start);
    if (kept + static_cast<int64_t>(insert.size()) > limit) {
        insert.resize(static_cast<size_t>(std::clamp<int64_t>(limit - kept, 0, kNoLimit)));
    }
    const auto candidate = [&](size_t n) {
        std::u32string t = text.Text();
        t.replace(static_cast<size_t>(start), static_cast<size_t>(end - start), insert, 0, n);
        return t;
    };
    if (!insert.empty() && !Fits(candidate(insert.size()))) {
        // The longest beginning of the insert that fits.
        size_t low = 0;
        size_t high = insert.size() - 1;
        while (low < high) {
            const size_t mid = low + (high - low + 1) / 2;
            if (Fits(candidate(mid))) {
                low = mid;
            } else {
                high = mid - 1;
            }
        }
        insert.resize(low);
    }
    if (insert.size() < wanted) {
        pending.maxText = true;
        // Half a line break is no line break.
        if (!insert.empty() && insert.back() == U'\r') {
            insert.pop_back();
        }
    }
    if (!text.Replace(start, end, insert, kind)) {
        return false;
    }
    modified = true;
    Changed();
    return true;
}

bool EditControl::State::ReplaceSelection(std::u32string insert, EditKind kind) {
    return Edit(text.SelStart(), text.SelEnd(), std::move(insert), kind);
}

// Sends what is waiting, in order; false when the control is gone.
bool EditControl::State::SendNotices() {
    const Notices n = std::exchange(pending, Notices{});
    if (n.maxText && !Notify(EN_MAXTEXT)) {
        return false;
    }
    if (n.change) {
        if (!Notify(EN_UPDATE)) {
            return false;
        }
        UpdateWindow(hwnd);
        if (!Notify(EN_CHANGE)) {
            return false;
        }
    }
    if (n.hscroll && !Notify(EN_HSCROLL)) {
        return false;
    }
    if (n.vscroll && !Notify(EN_VSCROLL)) {
        return false;
    }
    return Alive();
}

bool EditControl::State::Notify(uint16_t code) {
    const HWND parent = GetParent(hwnd);
    if (parent != 0) {
        const auto id = static_cast<int32_t>(GetWindowLong(hwnd, GWL_ID));
        SendMessage(parent, WM_COMMAND, MAKEWPARAM(id, code), static_cast<LPARAM>(hwnd));
    }
    return Alive();
}

void EditControl::State::SetText(std::u32string value) {
    text.SetText(std::move(value));
    modified = false;
    scrollX = 0;
    topLine = 0;
    Changed();
    // Deliberate: the host's multi-line box tells nothing of text set
    // by WM_SETTEXT; the single-line one does.
    if (MultiLine()) {
        pending.change = false;
    }
}

void EditControl::State::Copy() {
    if (password != 0 || !text.HasSelection()) {
        return;  // a password never leaves the box
    }
    SetClipboardText(ToUtf8(text.Selected()));
}

void EditControl::State::Cut() {
    if (password != 0 || IsReadOnly() || !text.HasSelection()) {
        return;
    }
    Copy();
    ReplaceSelection({}, EditKind::Other);
}

void EditControl::State::Paste() {
    if (IsReadOnly()) {
        return;
    }
    std::u32string clip = ToUtf32(GetClipboardText());
    // Clipboard text ends at a NUL, as the host's does.
    if (const size_t nul = clip.find(U'\0'); nul != std::u32string::npos) {
        clip.resize(nul);
    }
    if (!MultiLine()) {
        // Deliberate: a single-line box takes the clipboard's first line.
        const size_t end = clip.find_first_of(U"\r\n");
        if (end != std::u32string::npos) {
            clip.resize(end);
        }
    }
    // Deliberate: ES_NUMBER filters typing only; pasted text goes in as
    // it is, as in the host's box.
    clip = ConvertCase(std::move(clip), Style());
    if (clip.empty() && !text.HasSelection()) {
        return;
    }
    ReplaceSelection(std::move(clip), EditKind::Other);
}

void EditControl::State::Clear() {
    if (!IsReadOnly() && text.HasSelection()) {
        ReplaceSelection({}, EditKind::Other);
    }
}

bool EditControl::State::Undo() {
    if (IsReadOnly() || !text.Undo()) {
        return false;
    }
    modified = true;
    Changed();
    return true;
}

int32_t EditControl::State::CharLeft(int32_t pos) const {
    return std::max(0, pos - std::max(1, detail::BreakBefore(text.Text(), pos)));
}

int32_t EditControl::State::CharRight(int32_t pos) const {
    return std::min(text.Length(), pos + std::max(1, detail::BreakAt(text.Text(), pos)));
}

int32_t EditControl::State::WordLeft(int32_t pos) const {
    return password != 0 ? 0 : detail::WordLeft(text.Text(), pos);
}

int32_t EditControl::State::WordRight(int32_t pos) const {
    return password != 0 ? text.Length() : detail::WordRight(text.Text(), pos);
}

void EditControl::State::Vertical(int32_t delta, bool extend, bool page) {
    Layout();
    const int32_t count = static_cast<int32_t>(lines.size());
    const int32_t line = CaretLine();
    if (goalX < 0) {
        goalX = AlignOffset(lines[line]) + OffsetOn(line, text.Caret());
    }
    const int32_t target = std::clamp(line + delta, 0, count - 1);
    if (page) {
        SetScroll(scrollX, topLine + delta);
    }
    const int32_t keep = goalX;
    const Hit hit = OnLine(target, goalX - scrollX + leftMargin);
    Select(extend ? text.Anchor() : hit.pos, hit.pos, hit.atLineEnd);
    CaretMoved();
    goalX = keep;
}

void EditControl::State::OnKeyDown(int32_t vk) {
    const bool shift = GetKeyState(VK_SHIFT) < 0;
    const bool ctrl = GetKeyState(VK_CONTROL) < 0;
    const bool multi = MultiLine();
    Layout();
    switch (vk) {
        case VK_LEFT:
        case VK_RIGHT:
        case VK_UP:
        case VK_DOWN: {
            const bool back = vk == VK_LEFT || vk == VK_UP;
            if (multi && (vk == VK_UP || vk == VK_DOWN)) {
                Vertical(back ? -1 : 1, shift, false);
            } else if (!shift && !ctrl && text.HasSelection()) {
                MoveTo(back ? text.SelStart() : text.SelEnd(), false);
            } else if (ctrl) {
                MoveTo(back ? WordLeft(text.Caret()) : WordRight(text.Caret()), shift);
            } else {
                MoveTo(back ? CharLeft(text.Caret()) : CharRight(text.Caret()), shift);
            }
            break;
        }
        case VK_PRIOR:
        case VK_NEXT:
            if (multi) {
                Vertical(vk == VK_PRIOR ? -VisibleLines() : VisibleLines(), shift, true);
            }
            break;
        case VK_HOME:
            MoveTo(ctrl || !multi ? 0 : lines[CaretLine()].Start, shift);
            break;
        case VK_END: {
            if (ctrl || !multi) {
                MoveTo(text.Length(), shift);
                break;
            }
            const int32_t line = CaretLine();
            const bool wrapped =
                lines[line].BreakLength == 0 && line + 1 < static_cast<int32_t>(lines.size());
            MoveTo(lines[line].End(), shift, wrapped);
            break;
        }
        case VK_DELETE:
            if (shift && text.HasSelection()) {
                Cut();
            } else if (IsReadOnly()) {
            } else if (text.HasSelection()) {
                ReplaceSelection({}, EditKind::Delete);
            } else {
                const int32_t caret = text.Caret();
                Edit(caret, ctrl ? WordRight(caret) : CharRight(caret), {}, EditKind::Delete);
            }
            break;
        case VK_INSERT:
            if (shift) {
                Paste();
            } else if (ctrl) {
                Copy();
            }
            break;
        default:
            break;
    }
}

void EditControl::State::Backspace(bool word) {
    if (IsReadOnly()) {
        return;
    }
    if (text.HasSelection()) {
        ReplaceSelection({}, EditKind::Backspace);
        return;
    }
    const int32_t caret = text.Caret();
    Edit(word ? WordLeft(caret) : CharLeft(caret), caret, {}, EditKind::Backspace);
}

void EditControl::State::OnChar(char32_t c) {
    const bool ctrl = GetKeyState(VK_CONTROL) < 0;
    switch (c) {
        case 1:  // Ctrl+A
            Select(0, text.Length());
            goalX = -1;
            CaretMoved();
            return;
        case 3:  // Ctrl+C
            Copy();
            return;
        case 22:  // Ctrl+V
            Paste();
            return;
        case 24:  // Ctrl+X
            Cut();
            return;
        case 26:  // Ctrl+Z
            Undo();
            return;
        case 8:
            Backspace(ctrl);
            return;
        case 0x7F:  // Ctrl+Backspace as some keyboards send it
            Backspace(true);
            return;
        case U'\r':
            if (MultiLine() && !IsReadOnly()) {
                ReplaceSelection(U"\r\n", EditKind::Typing);
            }
            return;
        case U'\t':
            if (MultiLine() && !IsReadOnly()) {
                ReplaceSelection(U"\t", EditKind::Typing);
            }
            return;
        default:
            break;
    }
    const bool notACharacter = c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF);
    if (c < 32 || notACharacter || IsReadOnly()) {
        return;
    }
    if ((Style() & ES_NUMBER) != 0 && (c < U'0' || c > U'9')) {
        return;
    }
    ReplaceSelection(ConvertCase(std::u32string(1, c), Style()), EditKind::Typing);
}

// Takes the focus as a click does; false when the control went away.
bool EditControl::State::TakeFocus() {
    if (GetFocus() != hwnd) {
        SetFocus(hwnd);
    }
    return Alive();
}

void EditControl::State::OnButtonDown(int32_t x, int32_t y, bool shift) {
    if (!TakeFocus()) {
        return;
    }
    const Hit hit = At(x, y);
    Select(shift ? text.Anchor() : hit.pos, hit.pos, hit.atLineEnd);
    goalX = -1;
    dragging = true;
    dragPoint = POINT{x, y};
    SetCapture(hwnd);
    CaretMoved();
}

void EditControl::State::OnDoubleClick(int32_t x, int32_t y) {
    if (!TakeFocus()) {
        return;
    }
    const Hit hit = At(x, y);
    const detail::Span word =
        password != 0 ? detail::Span{0, text.Length()} : detail::WordAt(text.Text(), hit.pos);
    Select(word.Start, word.End);
    goalX = -1;
    CaretMoved();
}

bool EditControl::State::Inside(POINT p) const {
    const RECT r = Client();
    return p.X >= 0 && p.X < r.Right && (!MultiLine() || (p.Y >= 0 && p.Y < r.Bottom));
}

void EditControl::State::OnDrag(POINT p) {
    dragPoint = p;
    if (Inside(p)) {
        KillTimer(hwnd, kDragTimer);
        const Hit hit = At(p.X, p.Y);
        Select(text.Anchor(), hit.pos, hit.atLineEnd);
        CaretMoved();
        return;
    }
    DragStep();
    SetTimer(hwnd, kDragTimer, kDragScrollInterval);
}

// One step of selecting beyond the edge: a character sideways, a line
// up or down, scrolling to keep the caret in view.
void EditControl::State::DragStep() {
    Layout();
    const RECT r = Client();
    const POINT p = dragPoint;
    int32_t line = LineAt(std::clamp(p.Y, 0, std::max(0, r.Bottom - 1)));
    if (MultiLine()) {
        line += p.Y < 0 ? -1 : p.Y >= r.Bottom ? 1 : 0;
        line = std::clamp(line, 0, static_cast<int32_t>(lines.size()) - 1);
    }
    Hit hit = OnLine(line, std::clamp(p.X, 0, std::max(0, r.Right - 1)));
    if (!Wraps()) {
        const EditLine& l = lines[line];
        if (p.X < 0) {
            hit = Hit{std::max(l.Start, hit.pos - 1), false};
        } else if (p.X >= r.Right) {
            hit = Hit{std::min(l.End(), hit.pos + 1), false};
        }
    }
    Select(text.Anchor(), hit.pos, hit.atLineEnd);
    CaretMoved();
}

void EditControl::State::EndDrag() {
    if (!dragging) {
        return;
    }
    dragging = false;
    KillTimer(hwnd, kDragTimer);
    if (GetCapture() == hwnd) {
        ReleaseCapture();
    }
}

}  // namespace kelvara
