// The edit control's window: messages in, EditText changes, layout,
// scrolling, painting and notices out.
//
//   Proc → OnChar / OnKeyDown / mouse / EM_ messages
//        → Edit (limit, fit, case) → EditText::Replace → Changed
//        → ScrollCaret → Invalidate → SendNotices (EN_MAXTEXT, EN_UPDATE,
//          EN_CHANGE, EN_HSCROLL, EN_VSCROLL)
//   WM_PAINT → Layout → background → each visible line in up to three runs
//        (before, inside, after the selection) → caret
//
// The parent may do anything in a notice, the control's end included, so
// notices go out last, each followed by a check that the window lives.

#include "kelvara/host/EditControl.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/detail/EditLayout.h"
#include "kelvara/host/detail/EditText.h"

namespace kelvara {

using detail::EditKind;
using detail::EditLine;

namespace {

constexpr uint32_t kCaretBlinkTime = 530;
constexpr uintptr_t kBlinkTimer = 0x4B01;
constexpr uintptr_t kDragTimer = 0x4B02;
constexpr uint32_t kDragScrollInterval = 100;
constexpr int32_t kDefaultMargin = 2;
constexpr int64_t kDefaultLimit = 32767;
constexpr int64_t kNoLimit = 0x7FFFFFFE;
constexpr int32_t kTabStopChars = 8;
constexpr int32_t kWheelLines = 3;
constexpr char32_t kDefaultPasswordChar = U'*';

constexpr COLORREF kWindowColor = 0xFFFFFF;
constexpr COLORREF kWindowTextColor = 0x000000;
constexpr COLORREF kFaceColor = 0xF0F0F0;
constexpr COLORREF kGrayTextColor = 0x6D6D6D;
constexpr COLORREF kHighlightColor = 0xD77800;
constexpr COLORREF kHighlightTextColor = 0xFFFFFF;

FontRequest DefaultFont() {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = -11;  // 8 points at 96 dots per inch
    return font;
}

// The controls alive, for FromHandle: one user-interface thread.
std::vector<EditControl*>& LiveControls() {
    static std::vector<EditControl*> live;
    return live;
}

class FontMeasurer final : public TextMeasurer {
public:
    FontMeasurer(FontEngine& engine, const FontInstance* font) : engine(engine), font(font) {
        if (font != nullptr) {
            metrics = engine.GetTextMetrics(*font);
        }
    }
    int32_t Width(std::u32string_view text) const override {
        return font == nullptr ? 0 : engine.GetTextExtentPoint32(*font, text).cx;
    }
    int32_t LineHeight() const override { return std::max(1, metrics.tmHeight); }
    int32_t AveCharWidth() const override { return std::max(1, metrics.tmAveCharWidth); }

private:
    FontEngine& engine;
    const FontInstance* font;
    TextMetrics metrics;
};

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

// Copies whole UTF-8 characters of text into at most `room` bytes.
size_t CopyWhole(std::string_view text, char* out, size_t room) {
    size_t n = std::min(text.size(), room);
    while (n > 0 && n < text.size() && (static_cast<uint8_t>(text[n]) & 0xC0) == 0x80) {
        --n;  // do not split a character
    }
    std::memcpy(out, text.data(), n);
    return n;
}

int32_t FloorDiv(int32_t a, int32_t b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

LRESULT PackWords(int32_t low, int32_t high) {
    return static_cast<LRESULT>(MAKELPARAM(low, high));
}

}  // namespace

uint32_t GetCaretBlinkTime() {
    return kCaretBlinkTime;
}

// --- State -----------------------------------------------------------------------

struct EditControl::State {
    // Notices waiting for the end of what caused them.
    struct Notices {
        bool maxText = false;
        bool change = false;
        bool hscroll = false;
        bool vscroll = false;
    };

    WindowCore* core = nullptr;
    HWND hwnd = 0;
    bool destroyed = false;

    detail::EditText text;
    std::vector<EditLine> lines;
    bool layoutValid = false;
    uint32_t layoutStyle = 0;
    int32_t layoutWidth = -1;
    int32_t widest = 0;

    FontRequest font = DefaultFont();
    bool ownColors = false;
    COLORREF fore = kWindowTextColor;
    COLORREF back = kWindowColor;
    int32_t leftMargin = kDefaultMargin;
    int32_t rightMargin = kDefaultMargin;
    int64_t limit = kDefaultLimit;
    char32_t password = 0;
    bool modified = false;

    int32_t scrollX = 0;
    int32_t topLine = 0;
    bool focused = false;
    bool caretOn = false;
    // The caret sits at the end of a wrapped line rather than at the start
    // of the next, which is the same position.
    bool caretAtLineEnd = false;
    // The column kept by Up and Down, in text pixels; -1 when not moving
    // vertically.
    int32_t goalX = -1;
    bool dragging = false;
    POINT dragPoint;
    Notices pending;

    // --- Facts ---------------------------------------------------------------
    uint32_t Style() const { return static_cast<uint32_t>(GetWindowLong(hwnd, GWL_STYLE)); }
    bool MultiLine() const { return (Style() & ES_MULTILINE) != 0; }
    bool IsReadOnly() const { return (Style() & ES_READONLY) != 0; }
    bool Wraps() const { return (Style() & (ES_MULTILINE | ES_AUTOHSCROLL)) == ES_MULTILINE; }
    bool ShowsPassword() const { return password != 0 && !MultiLine(); }
    bool Alive() const { return !destroyed && IsWindow(hwnd); }
    std::string Utf8() const { return ToUtf8(text.Text()); }

    const FontInstance* OpenFont() const { return FontEngine::ForThread().Open(font); }
    FontMeasurer Measurer() const { return FontMeasurer(FontEngine::ForThread(), OpenFont()); }
    int32_t LineHeight() const { return Measurer().LineHeight(); }
    RECT Client() const {
        RECT r;
        GetClientRect(hwnd, r);
        return r;
    }
    int32_t Avail() const { return std::max(0, Client().Width() - leftMargin - rightMargin); }
    int32_t VisibleLines() const { return std::max(1, Client().Height() / LineHeight()); }

    // --- Layout ---------------------------------------------------------------
    std::u32string Display(std::u32string_view source) const {
        return ShowsPassword() ? std::u32string(source.size(), password) : std::u32string(source);
    }
    std::vector<EditLine> LayOut(std::u32string_view source) const {
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
    void Layout() {
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
    void Relayout() { layoutValid = false; }

    int32_t LineOf(int32_t pos) {
        Layout();
        return detail::LineOfPosition(lines, pos);
    }
    // The line the caret shows on.
    int32_t CaretLine() {
        const int32_t caret = text.Caret();
        int32_t line = LineOf(caret);
        if (caretAtLineEnd && line > 0 && lines[line].Start == caret &&
            lines[line - 1].BreakLength == 0 && lines[line - 1].End() == caret) {
            --line;
        }
        return line;
    }
    // Where a line's left end sits among the text pixels (before scrolling).
    int32_t AlignOffset(const EditLine& line) const {
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
    int32_t LineLeft(int32_t line) { return leftMargin - scrollX + AlignOffset(lines[line]); }
    int32_t LineTop(int32_t line) const {
        return MultiLine() ? (line - topLine) * LineHeight() : 0;
    }
    int32_t OffsetOn(int32_t line, int32_t pos) const {
        const EditLine& l = lines[line];
        return l.X[static_cast<size_t>(std::clamp(pos - l.Start, 0, l.Length))];
    }
    RECT CaretRect() {
        Layout();
        const int32_t line = CaretLine();
        const int32_t x = LineLeft(line) + OffsetOn(line, text.Caret());
        const int32_t y = LineTop(line);
        return RECT{x, y, x + 1, y + LineHeight()};
    }
    struct Hit {
        int32_t pos = 0;
        bool atLineEnd = false;
    };
    Hit OnLine(int32_t line, int32_t x) {
        const EditLine& l = lines[line];
        const int32_t i = detail::NearestOnLine(l, x - LineLeft(line));
        const bool wrapped = l.BreakLength == 0 && line + 1 < static_cast<int32_t>(lines.size());
        return Hit{l.Start + i, i == l.Length && wrapped};
    }
    int32_t LineAt(int32_t y) {
        Layout();
        if (!MultiLine()) {
            return 0;
        }
        return std::clamp(topLine + FloorDiv(y, LineHeight()), 0,
                          static_cast<int32_t>(lines.size()) - 1);
    }
    Hit At(int32_t x, int32_t y) { return OnLine(LineAt(y), x); }

    // --- Scrolling ------------------------------------------------------------
    void SetScroll(int32_t x, int32_t top) {
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
    void ScrollToCaret() {
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

    // --- Changes --------------------------------------------------------------
    void Invalidate() { InvalidateRect(hwnd, nullptr, true); }
    void ResetBlink() {
        if (!focused) {
            return;
        }
        caretOn = true;
        SetTimer(hwnd, kBlinkTimer, kCaretBlinkTime);
    }
    void CaretMoved() {
        ResetBlink();
        ScrollToCaret();
        Invalidate();
    }
    void Select(int32_t anchor, int32_t caret, bool atLineEnd = false) {
        text.Select(anchor, caret);
        caretAtLineEnd = atLineEnd;
        Invalidate();
    }
    void MoveTo(int32_t pos, bool extend, bool atLineEnd = false) {
        Select(extend ? text.Anchor() : pos, pos, atLineEnd);
        goalX = -1;
        CaretMoved();
    }
    // After any change of the text: what depends on it follows.
    void Changed() {
        Relayout();
        caretAtLineEnd = false;
        goalX = -1;
        const std::string now = Utf8();
        DefWindowProc(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(now.c_str()));
        pending.change = true;
        CaretMoved();
    }

    // Whether text would still fit a box that does not scroll that way.
    bool Fits(std::u32string_view candidate) const {
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
    bool Edit(int32_t start, int32_t end, std::u32string insert, EditKind kind) {
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
    bool ReplaceSelection(std::u32string insert, EditKind kind) {
        return Edit(text.SelStart(), text.SelEnd(), std::move(insert), kind);
    }

    // Sends what is waiting, in order; false when the control is gone.
    bool SendNotices() {
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
    bool Notify(uint16_t code) {
        const HWND parent = GetParent(hwnd);
        if (parent != 0) {
            const auto id = static_cast<int32_t>(GetWindowLong(hwnd, GWL_ID));
            SendMessage(parent, WM_COMMAND, MAKEWPARAM(id, code), static_cast<LPARAM>(hwnd));
        }
        return Alive();
    }

    // --- Commands -------------------------------------------------------------
    void SetText(std::u32string value) {
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
    void Copy() {
        if (password != 0 || !text.HasSelection()) {
            return;  // a password never leaves the box
        }
        SetClipboardText(ToUtf8(text.Selected()));
    }
    void Cut() {
        if (password != 0 || IsReadOnly() || !text.HasSelection()) {
            return;
        }
        Copy();
        ReplaceSelection({}, EditKind::Other);
    }
    void Paste() {
        if (IsReadOnly()) {
            return;
        }
        std::u32string clip = ToUtf32(GetClipboardText());
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
    void Clear() {
        if (!IsReadOnly() && text.HasSelection()) {
            ReplaceSelection({}, EditKind::Other);
        }
    }
    bool Undo() {
        if (IsReadOnly() || !text.Undo()) {
            return false;
        }
        modified = true;
        Changed();
        return true;
    }

    // --- Keyboard -------------------------------------------------------------
    int32_t CharLeft(int32_t pos) const {
        return std::max(0, pos - std::max(1, detail::BreakBefore(text.Text(), pos)));
    }
    int32_t CharRight(int32_t pos) const {
        return std::min(text.Length(), pos + std::max(1, detail::BreakAt(text.Text(), pos)));
    }
    int32_t WordLeft(int32_t pos) const {
        return password != 0 ? 0 : detail::WordLeft(text.Text(), pos);
    }
    int32_t WordRight(int32_t pos) const {
        return password != 0 ? text.Length() : detail::WordRight(text.Text(), pos);
    }
    void Vertical(int32_t delta, bool extend, bool page) {
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
    void OnKeyDown(int32_t vk) {
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
    void Backspace(bool word) {
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
    void OnChar(char32_t c) {
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
        if (c < 32 || IsReadOnly()) {
            return;
        }
        if ((Style() & ES_NUMBER) != 0 && (c < U'0' || c > U'9')) {
            return;
        }
        ReplaceSelection(ConvertCase(std::u32string(1, c), Style()), EditKind::Typing);
    }

    // --- Mouse ----------------------------------------------------------------
    // Takes the focus as a click does; false when the control went away.
    bool TakeFocus() {
        if (GetFocus() != hwnd) {
            SetFocus(hwnd);
        }
        return Alive();
    }
    void OnButtonDown(int32_t x, int32_t y, bool shift) {
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
    void OnDoubleClick(int32_t x, int32_t y) {
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
    bool Inside(POINT p) const {
        const RECT r = Client();
        return p.X >= 0 && p.X < r.Right && (!MultiLine() || (p.Y >= 0 && p.Y < r.Bottom));
    }
    void OnDrag(POINT p) {
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
    void DragStep() {
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
    void EndDrag() {
        if (!dragging) {
            return;
        }
        dragging = false;
        KillTimer(hwnd, kDragTimer);
        if (GetCapture() == hwnd) {
            ReleaseCapture();
        }
    }

    // --- Painting -------------------------------------------------------------
    COLORREF BackColor() const {
        if (ownColors) {
            return back;
        }
        return IsReadOnly() || !IsWindowEnabled(hwnd) ? kFaceColor : kWindowColor;
    }
    // Draws display[from, to) of a line whose left end is at x, each run
    // between tabs at its own offset.
    void DrawRun(Canvas& dc, std::u32string_view display, int32_t line, int32_t from, int32_t to,
                 int32_t x, int32_t y) {
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
    void Paint() {
        PAINTSTRUCT paint;
        Canvas* dc = BeginPaint(hwnd, paint);
        if (dc == nullptr) {
            return;
        }
        Layout();
        const RECT client = Client();
        const bool enabled = IsWindowEnabled(hwnd);
        const COLORREF textColor =
            !enabled ? kGrayTextColor : (ownColors ? fore : kWindowTextColor);
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
            for (int32_t y = std::max(0, caret.Top); y < std::min(client.Bottom, caret.Bottom);
                 ++y) {
                const COLORREF under = dc->GetPixel(caret.Left, y);
                if (under != CLR_INVALID) {
                    dc->SetPixelV(caret.Left, y, under ^ 0xFFFFFF);
                }
            }
        }
        EndPaint(hwnd, paint);
    }

    // --- Messages ---------------------------------------------------------------
    LRESULT Proc(HWND h, uint32_t msg, WPARAM wParam, LPARAM lParam);
    LRESULT LineMessage(uint32_t msg, WPARAM wParam, LPARAM lParam);
};

LRESULT EditControl::State::LineMessage(uint32_t msg, WPARAM wParam, LPARAM lParam) {
    Layout();
    const auto index = static_cast<int32_t>(static_cast<intptr_t>(wParam));
    const int32_t count = static_cast<int32_t>(lines.size());
    switch (msg) {
        case EM_GETLINECOUNT:
            return count;
        case EM_LINEINDEX: {
            const int32_t line = index == -1 ? CaretLine() : index;
            return line >= 0 && line < count ? lines[line].Start : -1;
        }
        case EM_LINELENGTH: {
            if (!MultiLine()) {
                return text.Length();
            }
            if (index == -1) {
                // The characters on the selection's lines that are not in it.
                const EditLine& first = lines[LineOf(text.SelStart())];
                const EditLine& last = lines[LineOf(text.SelEnd())];
                return (text.SelStart() - first.Start) + std::max(0, last.End() - text.SelEnd());
            }
            return lines[LineOf(std::clamp(index, 0, text.Length()))].Length;
        }
        case EM_LINEFROMCHAR:
            if (index == -1) {
                return text.HasSelection() ? LineOf(text.SelStart()) : CaretLine();
            }
            return LineOf(std::clamp(index, 0, text.Length()));
        case EM_GETLINE: {
            auto* buffer = reinterpret_cast<char*>(lParam);
            if (buffer == nullptr) {
                return 0;
            }
            uint16_t room = 0;
            std::memcpy(&room, buffer, sizeof room);
            const int32_t line = MultiLine() ? index : 0;
            if (line < 0 || line >= count) {
                return 0;
            }
            const EditLine& l = lines[line];
            const std::string utf8 =
                ToUtf8(std::u32string_view(text.Text())
                           .substr(static_cast<size_t>(l.Start), static_cast<size_t>(l.Length)));
            return static_cast<LRESULT>(CopyWhole(utf8, buffer, room));
        }
        case EM_GETFIRSTVISIBLELINE: {
            if (MultiLine()) {
                return topLine;
            }
            const EditLine& l = lines.front();
            const auto it = std::lower_bound(l.X.begin(), l.X.end(), scrollX);
            return std::min<LRESULT>(it - l.X.begin(), l.Length);
        }
        default:
            return 0;
    }
}

LRESULT EditControl::State::Proc(HWND h, uint32_t msg, WPARAM wParam, LPARAM lParam) {
    if (hwnd == 0) {
        hwnd = h;
    }
    switch (msg) {
        case WM_PAINT:
            Paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;  // WM_PAINT fills everything
        case WM_NCDESTROY:
            KillTimer(hwnd, kBlinkTimer);
            KillTimer(hwnd, kDragTimer);
            destroyed = true;
            return DefWindowProc(h, msg, wParam, lParam);
        case WM_SIZE:
            SetScroll(scrollX, topLine);
            Invalidate();
            SendNotices();
            return 0;
        case WM_ENABLE:
            Invalidate();
            return 0;
        case WM_SETFOCUS:
            focused = true;
            ResetBlink();
            Invalidate();
            Notify(EN_SETFOCUS);
            return 0;
        case WM_KILLFOCUS:
            focused = false;
            caretOn = false;
            KillTimer(hwnd, kBlinkTimer);
            EndDrag();
            Invalidate();
            Notify(EN_KILLFOCUS);
            return 0;
        case WM_TIMER:
            if (wParam == kBlinkTimer) {
                caretOn = focused && !caretOn;
                const RECT caret = CaretRect();
                InvalidateRect(hwnd, &caret, false);
            } else if (wParam == kDragTimer) {
                if (dragging) {
                    DragStep();
                    SendNotices();
                } else {
                    KillTimer(hwnd, kDragTimer);
                }
            }
            return 0;
        case WM_KEYDOWN:
            OnKeyDown(static_cast<int32_t>(wParam));
            SendNotices();
            return 0;
        case WM_CHAR:
            OnChar(static_cast<char32_t>(wParam));
            SendNotices();
            return 0;
        case WM_LBUTTONDOWN:
            OnButtonDown(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam), (wParam & MK_SHIFT) != 0);
            SendNotices();
            return 0;
        case WM_LBUTTONDBLCLK:
            OnDoubleClick(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
            SendNotices();
            return 0;
        case WM_MOUSEMOVE:
            if (dragging) {
                OnDrag(POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
                SendNotices();
            }
            return 0;
        case WM_LBUTTONUP:
            EndDrag();
            return 0;
        case WM_CAPTURECHANGED:
            if (dragging && GetCapture() != hwnd) {
                dragging = false;
                KillTimer(hwnd, kDragTimer);
            }
            return 0;
        case WM_CANCELMODE:
            EndDrag();
            return DefWindowProc(h, msg, wParam, lParam);
        case WM_MOUSEWHEEL: {
            if (!MultiLine()) {
                return DefWindowProc(h, msg, wParam, lParam);
            }
            const int32_t notches = GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA;
            SetScroll(scrollX, topLine - notches * kWheelLines);
            SendNotices();
            return 0;
        }

        case WM_SETTEXT: {
            const auto* value = reinterpret_cast<const char*>(lParam);
            SetText(ToUtf32(value != nullptr ? std::string_view(value) : std::string_view()));
            SendNotices();
            return 1;
        }
        case WM_GETTEXT: {
            auto* out = reinterpret_cast<char*>(lParam);
            if (out == nullptr || wParam == 0) {
                return 0;
            }
            const size_t n = CopyWhole(Utf8(), out, wParam - 1);
            out[n] = '\0';
            return static_cast<LRESULT>(n);
        }
        case EM_GETSEL: {
            const auto start = static_cast<uint32_t>(text.SelStart());
            const auto end = static_cast<uint32_t>(text.SelEnd());
            if (auto* p = reinterpret_cast<uint32_t*>(wParam)) {
                *p = start;
            }
            if (auto* p = reinterpret_cast<uint32_t*>(lParam)) {
                *p = end;
            }
            return end > 0xFFFF ? -1
                                : PackWords(static_cast<int32_t>(start), static_cast<int32_t>(end));
        }
        case EM_SETSEL: {
            const auto start = static_cast<int32_t>(static_cast<intptr_t>(wParam));
            const auto end = static_cast<int32_t>(lParam);
            if (start == -1) {
                Select(text.Caret(), text.Caret());  // only takes the selection away
            } else {
                Select(start, end < 0 ? text.Length() : end);
            }
            goalX = -1;
            ResetBlink();
            return 0;
        }
        case EM_REPLACESEL: {
            const auto* value = reinterpret_cast<const char*>(lParam);
            ReplaceSelection(ToUtf32(value != nullptr ? std::string_view(value) : ""),
                             wParam != 0 ? EditKind::Other : EditKind::NoUndo);
            SendNotices();
            return 0;
        }
        case EM_SCROLLCARET:
            ScrollToCaret();
            SendNotices();
            return 1;
        case EM_LINESCROLL:
            if (!MultiLine()) {
                return 0;
            }
            SetScroll(scrollX + static_cast<int32_t>(static_cast<intptr_t>(wParam)) *
                                    Measurer().AveCharWidth(),
                      topLine + static_cast<int32_t>(lParam));
            SendNotices();
            return 1;
        case EM_GETRECT:
            if (auto* r = reinterpret_cast<RECT*>(lParam)) {
                const RECT c = Client();
                *r = RECT{leftMargin, 0, std::max(leftMargin, c.Right - rightMargin), c.Bottom};
            }
            return 0;
        case EM_GETMODIFY:
            return modified ? 1 : 0;
        case EM_SETMODIFY:
            modified = wParam != 0;
            return 0;
        case EM_LIMITTEXT:
            limit = wParam == 0
                        ? kNoLimit
                        : std::min<int64_t>(static_cast<int64_t>(wParam & 0xFFFFFFFF), kNoLimit);
            return 0;
        case EM_GETLIMITTEXT:
            return static_cast<LRESULT>(limit);
        case EM_CANUNDO:
            return text.CanUndo() ? 1 : 0;
        case EM_UNDO:
        case WM_UNDO: {
            const bool done = Undo();
            SendNotices();
            return done ? 1 : 0;
        }
        case EM_EMPTYUNDOBUFFER:
            text.EmptyUndo();
            return 0;
        case EM_SETPASSWORDCHAR: {
            password = static_cast<char32_t>(wParam);
            const uint32_t style = Style();
            SetWindowLong(
                hwnd, GWL_STYLE,
                static_cast<intptr_t>(password != 0 ? style | ES_PASSWORD : style & ~ES_PASSWORD));
            Relayout();
            SetScroll(scrollX, topLine);
            Invalidate();
            SendNotices();
            return 0;
        }
        case EM_GETPASSWORDCHAR:
            return static_cast<LRESULT>(password);
        case EM_SETREADONLY: {
            const uint32_t style = Style();
            SetWindowLong(
                hwnd, GWL_STYLE,
                static_cast<intptr_t>(wParam != 0 ? style | ES_READONLY : style & ~ES_READONLY));
            Invalidate();
            return 1;
        }
        case EM_SETMARGINS:
            if (wParam == EC_USEFONTINFO) {
                leftMargin = rightMargin = kDefaultMargin;
            } else {
                if ((wParam & EC_LEFTMARGIN) != 0) {
                    leftMargin = LOWORD(static_cast<uintptr_t>(lParam));
                }
                if ((wParam & EC_RIGHTMARGIN) != 0) {
                    rightMargin = HIWORD(static_cast<uintptr_t>(lParam));
                }
            }
            Relayout();
            SetScroll(scrollX, topLine);
            Invalidate();
            SendNotices();
            return 0;
        case EM_GETMARGINS:
            return PackWords(leftMargin, rightMargin);
        case EM_POSFROMCHAR: {
            const auto index = static_cast<int32_t>(static_cast<intptr_t>(wParam));
            if (index < 0 || index >= text.Length()) {
                return -1;
            }
            Layout();
            const int32_t line = LineOf(index);
            return PackWords(LineLeft(line) + OffsetOn(line, index), LineTop(line));
        }
        case EM_CHARFROMPOS: {
            const int32_t x = GET_X_LPARAM(lParam);
            const int32_t y = GET_Y_LPARAM(lParam);
            const int32_t line = LineAt(y);
            return PackWords(OnLine(line, x).pos, line);
        }
        case EM_GETLINECOUNT:
        case EM_LINEINDEX:
        case EM_LINELENGTH:
        case EM_LINEFROMCHAR:
        case EM_GETLINE:
        case EM_GETFIRSTVISIBLELINE:
            return LineMessage(msg, wParam, lParam);
        case WM_CUT:
            Cut();
            SendNotices();
            return 0;
        case WM_COPY:
            Copy();
            return 0;
        case WM_PASTE:
            Paste();
            SendNotices();
            return 0;
        case WM_CLEAR:
            Clear();
            SendNotices();
            return 0;
        default:
            return DefWindowProc(h, msg, wParam, lParam);
    }
}

// --- EditControl -------------------------------------------------------------------

EditControl::EditControl() : state(std::make_unique<State>()) {
    LiveControls().push_back(this);
}

EditControl::~EditControl() {
    std::erase(LiveControls(), this);
}

HWND CreateEditControl(const WindowSpec& spec) {
    std::shared_ptr<EditControl> control(new EditControl());
    EditControl::State& s = *control->state;
    s.core = &WindowCore::Current();
    s.text.SetText(ToUtf32(spec.Text));
    if ((spec.Style & ES_PASSWORD) != 0) {
        s.password = kDefaultPasswordChar;
    }
    WindowSpec made = spec;
    if (made.ClassName.empty()) {
        made.ClassName = "Edit";
    }
    made.ClassStyle |= CS_DBLCLKS;
    made.Proc = [control](HWND h, uint32_t msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        // The window may end in a notice; the control lives until the
        // message is done.
        const std::shared_ptr<EditControl> keep = control;
        return keep->state->Proc(h, msg, wParam, lParam);
    };
    return CreateWindowEx(made);
}

EditControl* EditControl::FromHandle(HWND hwnd) {
    if (hwnd == 0) {
        return nullptr;
    }
    const WindowCore* core = &WindowCore::Current();
    for (EditControl* control : LiveControls()) {
        const State& s = *control->state;
        if (s.hwnd == hwnd && s.core == core && !s.destroyed) {
            return control;
        }
    }
    return nullptr;
}

HWND EditControl::Handle() const {
    return state->hwnd;
}

void EditControl::SetFont(const HFONT& font) {
    state->font = font ? FontRequest::FromLogFont(*font) : DefaultFont();
    state->Relayout();
    state->SetScroll(state->scrollX, state->topLine);
    state->Invalidate();
    const auto keep = shared_from_this();
    state->SendNotices();
}

void EditControl::SetColors(COLORREF fore, COLORREF back) {
    state->ownColors = true;
    state->fore = fore;
    state->back = back;
    state->Invalidate();
}

void EditControl::SetMargins(int32_t left, int32_t right) {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN,
                MAKELPARAM(std::clamp(left, 0, 0xFFFF), std::clamp(right, 0, 0xFFFF)));
}

void EditControl::SetAlignment(int32_t alignment) {
    const uint32_t bits = alignment == 1 ? ES_CENTER : alignment == 2 ? ES_RIGHT : ES_LEFT;
    const uint32_t style = state->Style();
    SetWindowLong(state->hwnd, GWL_STYLE,
                  static_cast<intptr_t>((style & ~(ES_CENTER | ES_RIGHT)) | bits));
    state->Invalidate();
}

int32_t EditControl::Alignment() const {
    const uint32_t bits = state->Style() & (ES_CENTER | ES_RIGHT);
    return bits == ES_CENTER ? 1 : bits == ES_RIGHT ? 2 : 0;
}

std::string EditControl::Text() const {
    return state->Utf8();
}

void EditControl::SetText(std::string_view text) {
    const auto keep = shared_from_this();
    SetWindowText(state->hwnd, text);
}

int32_t EditControl::TextLength() const {
    return state->text.Length();
}

int32_t EditControl::SelStart() const {
    return state->text.SelStart();
}

int32_t EditControl::SelLength() const {
    return state->text.SelEnd() - state->text.SelStart();
}

void EditControl::SetSel(int32_t start, int32_t length) {
    const auto keep = shared_from_this();
    start = std::max(0, start);
    const int64_t end = std::clamp<int64_t>(int64_t{start} + length, 0, INT32_MAX);
    SendMessage(state->hwnd, EM_SETSEL, static_cast<WPARAM>(start), static_cast<LPARAM>(end));
}

std::string EditControl::SelText() const {
    return ToUtf8(state->text.Selected());
}

void EditControl::ReplaceSel(std::string_view text, bool canUndo) {
    const auto keep = shared_from_this();
    const std::string copy(text);
    SendMessage(state->hwnd, EM_REPLACESEL, canUndo ? 1 : 0,
                reinterpret_cast<LPARAM>(copy.c_str()));
}

bool EditControl::Modified() const {
    return state->modified;
}

void EditControl::SetModified(bool modified) {
    SendMessage(state->hwnd, EM_SETMODIFY, modified ? 1 : 0, 0);
}

void EditControl::SetMaxLength(int32_t length) {
    SendMessage(state->hwnd, EM_LIMITTEXT, static_cast<WPARAM>(std::max(0, length)), 0);
}

int64_t EditControl::LimitText() const {
    return state->limit;
}

void EditControl::SetPasswordChar(char32_t c) {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, EM_SETPASSWORDCHAR, static_cast<WPARAM>(c), 0);
}

char32_t EditControl::PasswordChar() const {
    return state->password;
}

void EditControl::SetReadOnly(bool readOnly) {
    SendMessage(state->hwnd, EM_SETREADONLY, readOnly ? 1 : 0, 0);
}

bool EditControl::ReadOnly() const {
    return state->IsReadOnly();
}

void EditControl::SetCaseStyle(int32_t caseStyle) {
    const uint32_t bits = caseStyle == 1 ? ES_UPPERCASE : caseStyle == 2 ? ES_LOWERCASE : 0;
    const uint32_t style = state->Style();
    SetWindowLong(state->hwnd, GWL_STYLE,
                  static_cast<intptr_t>((style & ~(ES_UPPERCASE | ES_LOWERCASE)) | bits));
}

int32_t EditControl::CaseStyle() const {
    const uint32_t style = state->Style();
    return (style & ES_UPPERCASE) != 0 ? 1 : (style & ES_LOWERCASE) != 0 ? 2 : 0;
}

bool EditControl::Undo() {
    const auto keep = shared_from_this();
    return SendMessage(state->hwnd, EM_UNDO) != 0;
}

bool EditControl::CanUndo() const {
    return state->text.CanUndo();
}

void EditControl::EmptyUndo() {
    SendMessage(state->hwnd, EM_EMPTYUNDOBUFFER);
}

void EditControl::Cut() {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, WM_CUT);
}

void EditControl::Copy() {
    SendMessage(state->hwnd, WM_COPY);
}

void EditControl::Paste() {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, WM_PASTE);
}

void EditControl::Clear() {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, WM_CLEAR);
}

int32_t EditControl::LineCount() const {
    state->Layout();
    return static_cast<int32_t>(state->lines.size());
}

int32_t EditControl::FirstVisibleLine() const {
    return static_cast<int32_t>(state->LineMessage(EM_GETFIRSTVISIBLELINE, 0, 0));
}

int32_t EditControl::LineFromChar(int32_t index) const {
    return static_cast<int32_t>(
        state->LineMessage(EM_LINEFROMCHAR, static_cast<WPARAM>(static_cast<intptr_t>(index)), 0));
}

int32_t EditControl::LineIndex(int32_t line) const {
    return static_cast<int32_t>(
        state->LineMessage(EM_LINEINDEX, static_cast<WPARAM>(static_cast<intptr_t>(line)), 0));
}

int32_t EditControl::LineLength(int32_t line) const {
    state->Layout();
    if (line < 0 || line >= static_cast<int32_t>(state->lines.size())) {
        return 0;
    }
    return state->lines[line].Length;
}

int32_t EditControl::CharFromPos(int32_t x, int32_t y) const {
    return state->At(x, y).pos;
}

POINT EditControl::PosFromChar(int32_t index) const {
    State& s = *state;
    if (index < 0 || index > s.text.Length()) {
        return POINT{-1, -1};
    }
    const int32_t line = s.LineOf(index);
    return POINT{s.LineLeft(line) + s.OffsetOn(line, index), s.LineTop(line)};
}

void EditControl::ScrollCaret() {
    const auto keep = shared_from_this();
    SendMessage(state->hwnd, EM_SCROLLCARET);
}

}  // namespace kelvara
