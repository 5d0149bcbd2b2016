// The edit control's window: messages in, EditText changes, layout,
// scrolling, painting and notices out.
//
//   Proc → OnChar / OnKeyDown / mouse / EM_ messages
//        → Edit (limit, fit, case) → EditText::Replace → Changed
//        → ScrollToCaret → Invalidate → SendNotices (EN_MAXTEXT, EN_UPDATE,
//          EN_CHANGE, EN_HSCROLL, EN_VSCROLL)
//   WM_PAINT → Layout → background → each visible line in up to three runs
//        (before, inside, after the selection) → caret
//
// The parent may do anything in a notice, the control's end included, so
// notices go out last, each followed by a check that the window lives.

#include "kelvara/host/EditControl.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "kelvara/host/detail/EditState.h"

namespace kelvara {

using namespace detail;

namespace {

// The controls alive, for FromHandle: one user-interface thread.
std::vector<EditControl*>& LiveControls() {
    // Never destroyed: controls of a core kept in a static may outlive any
    // static of this file.
    static auto* live = new std::vector<EditControl*>();
    return *live;
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

LRESULT PackWords(int32_t low, int32_t high) {
    return static_cast<LRESULT>(MAKELPARAM(low, high));
}

}  // namespace

uint32_t GetCaretBlinkTime() {
    return kCaretBlinkTime;
}

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
        case WM_SETCURSOR:
            // The I-beam (MousePointer 3), unless a parent decides first.
            if (const LRESULT parent = DefWindowProc(h, msg, wParam, lParam); parent != 0) {
                return parent;
            }
            SetCursorShape(3);
            return 1;
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
    state->font = font ? FontRequest::FromLogFont(*font) : DefaultEditFont();
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
