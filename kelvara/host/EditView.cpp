// The edit control's view: lines, where the caret and the selection
// stand, scrolling, and painting.

#include <algorithm>
#include <string>
#include <vector>

#include "kelvara/host/detail/EditState.h"

namespace kelvara {

using namespace detail;

namespace {

int32_t FloorDiv(int32_t a, int32_t b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

}  // namespace

std::u32string EditControl::State::Display(std::u32string_view source) const {
    return ShowsPassword() ? std::u32string(source.size(), password) : std::u32string(source);
}

std::vector<EditLine> EditControl::State::LayOut(std::u32string_view source) const {
    const FontMeasurer measurer = Measurer();
    detail::EditLayoutOptions options;
    options.MultiLine = MultiLine();
    options.WrapWidth = Wraps() ? std::max(1, Avail()) : 0;
    options.TabWidth = options.MultiLine ? measurer.AveCharWidth() * kTabStopChars : 0;
    if (ShowsPassword()) {
        return detail::LayOutEditText(measurer, Display(source), options);
    }
    return detail::LayOutEditText(measurer, source, options);
}

void EditControl::State::Layout() {
    const uint32_t style = Style() & (ES_MULTILINE | ES_AUTOHSCROLL | ES_PASSWORD);
    const int32_t width = Avail();
    if (layoutValid && style == layoutStyle && width == layoutWidth) {
        return;
    }
    lines = LayOut(text.Text());
    layoutValid = true;
    layoutStyle = style;
    layoutWidth = width;
    widest = 0;
    for (const EditLine& line : lines) {
        widest = std::max(widest, line.Width());
    }
}

int32_t EditControl::State::LineOf(int32_t pos) {
    Layout();
    return detail::LineOfPosition(lines, pos);
}

// The line the caret shows on.
int32_t EditControl::State::CaretLine() {
    const int32_t caret = text.Caret();
    int32_t line = LineOf(caret);
    if (caretAtLineEnd && line > 0 && lines[line].Start == caret &&
        lines[line - 1].BreakLength == 0 && lines[line - 1].End() == caret) {
        --line;
    }
    return line;
}

// Where a line's left end sits among the text pixels (before scrolling).
int32_t EditControl::State::AlignOffset(const EditLine& line) const {
    const int32_t spare = Avail() - line.Width();
    if (spare <= 0) {
        return 0;
    }
    switch (Style() & (ES_CENTER | ES_RIGHT)) {
        case ES_CENTER:
            return spare / 2;
        case ES_RIGHT:
            return spare;
        default:
            return 0;
    }
}

int32_t EditControl::State::LineTop(int32_t line) const {
    return MultiLine() ? (line - topLine) * LineHeight() : 0;
}

int32_t EditControl::State::OffsetOn(int32_t line, int32_t pos) const {
    const EditLine& l = lines[line];
    return l.X[static_cast<size_t>(std::clamp(pos - l.Start, 0, l.Length))];
}

RECT EditControl::State::CaretRect() {
    Layout();
    const int32_t line = CaretLine();
    // A caret against the right edge (no margin there) stays inside.
    const int32_t x = std::min(LineLeft(line) + OffsetOn(line, text.Caret()), Client().Right - 1);
    const int32_t y = LineTop(line);
    return RECT{x, y, x + 1, y + LineHeight()};
}

EditControl::State::Hit EditControl::State::OnLine(int32_t line, int32_t x) {
    const EditLine& l = lines[line];
    const int32_t i = detail::NearestOnLine(l, x - LineLeft(line));
    const bool wrapped = l.BreakLength == 0 && line + 1 < static_cast<int32_t>(lines.size());
    return Hit{l.Start + i, i == l.Length && wrapped};
}

int32_t EditControl::State::LineAt(int32_t y) {
    Layout();
    if (!MultiLine()) {
        return 0;
    }
    return std::clamp(topLine + FloorDiv(y, LineHeight()), 0,
                      static_cast<int32_t>(lines.size()) - 1);
}

void EditControl::State::SetScroll(int32_t x, int32_t top) {
    Layout();
    const int32_t count = static_cast<int32_t>(lines.size());
    top = MultiLine() ? std::clamp(top, 0, std::max(0, count - VisibleLines())) : 0;
    x = Wraps() ? 0 : std::clamp(x, 0, std::max(0, widest - Avail()));
    if (x != scrollX) {
        scrollX = x;
        pending.hscroll = true;
        Invalidate();
    }
    if (top != topLine) {
        topLine = top;
        pending.vscroll = true;
        Invalidate();
    }
}

void EditControl::State::ScrollToCaret() {
    Layout();
    const int32_t line = CaretLine();
    int32_t top = topLine;
    if (line < top) {
        top = line;
    } else if (line >= top + VisibleLines()) {
        top = line - VisibleLines() + 1;
    }
    int32_t x = scrollX;
    const int32_t at = AlignOffset(lines[line]) + OffsetOn(line, text.Caret());
    if (at - x < 0) {
        x = at;
    } else if (at - x > Avail()) {
        x = at - Avail();
    }
    SetScroll(x, top);
}

COLORREF EditControl::State::BackColor() const {
    if (ownColors) {
        return back;
    }
    return IsReadOnly() || !IsWindowEnabled(hwnd) ? kFaceColor : kWindowColor;
}

// Draws display[from, to) of a line whose left end is at x, each run
// between tabs at its own offset.
void EditControl::State::DrawRun(Canvas& dc, std::u32string_view display, int32_t line,
                                 int32_t from, int32_t to, int32_t x, int32_t y) {
    const EditLine& l = lines[line];
    int32_t i = from;
    while (i < to) {
        if (display[i] == U'\t' && MultiLine()) {
            ++i;
            continue;
        }
        int32_t j = i;
        while (j < to && !(display[j] == U'\t' && MultiLine())) {
            ++j;
        }
        dc.TextOut(x + l.X[i - l.Start], y, ToUtf8(display.substr(i, j - i)));
        i = j;
    }
}

void EditControl::State::Paint() {
    PAINTSTRUCT paint;
    Canvas* dc = BeginPaint(hwnd, paint);
    if (dc == nullptr) {
        return;
    }
    Layout();
    const RECT client = Client();
    const bool enabled = IsWindowEnabled(hwnd);
    const COLORREF textColor = !enabled ? kGrayTextColor : (ownColors ? fore : kWindowTextColor);
    dc->FillRect(client, BackColor());
    dc->SelectFont(font);
    dc->SetBkMode(BkMode::TRANSPARENT);
    const int32_t lh = LineHeight();
    const bool showSelection =
        text.HasSelection() && enabled && (focused || (Style() & ES_NOHIDESEL) != 0);
    const int32_t selStart = showSelection ? text.SelStart() : 0;
    const int32_t selEnd = showSelection ? text.SelEnd() : 0;
    const std::u32string shown = Display(text.Text());
    {
        CanvasSaver saver(*dc);
        const Region inside =
            Region::CreateRectRgn(leftMargin, 0, client.Right - rightMargin, client.Bottom);
        dc->SelectClipRgn(&inside);
        const int32_t first = MultiLine() ? topLine : 0;
        for (int32_t line = first; line < static_cast<int32_t>(lines.size()); ++line) {
            const int32_t y = LineTop(line);
            if (y >= client.Bottom) {
                break;
            }
            const EditLine& l = lines[line];
            const int32_t x = LineLeft(line);
            const int32_t a = std::clamp(selStart, l.Start, l.End());
            const int32_t b = std::clamp(selEnd, l.Start, l.End());
            dc->SetTextColor(textColor);
            DrawRun(*dc, shown, line, l.Start, a, x, y);
            DrawRun(*dc, shown, line, b, l.End(), x, y);
            if (a < b) {
                dc->FillRect(RECT{x + OffsetOn(line, a), y, x + OffsetOn(line, b), y + lh},
                             kHighlightColor);
                dc->SetTextColor(kHighlightTextColor);
                DrawRun(*dc, shown, line, a, b, x, y);
            }
        }
    }
    if (focused && caretOn) {
        // The caret inverts what is under it, so it shows on any colour.
        const RECT caret = CaretRect();
        for (int32_t y = std::max(0, caret.Top); y < std::min(client.Bottom, caret.Bottom); ++y) {
            const COLORREF under = dc->GetPixel(caret.Left, y);
            if (under != CLR_INVALID) {
                dc->SetPixelV(caret.Left, y, under ^ 0xFFFFFF);
            }
        }
    }
    EndPaint(hwnd, paint);
}

}  // namespace kelvara
