#pragma once

// The edit control: a single- or multi-line text box window with the
// behaviour of the host's standard edit box, on the window core. Text is
// UTF-8; every position and length counts characters (code points), and
// the "\r\n" ending a line of multi-line text is two characters.
//
// It is driven by messages (WM_SETTEXT, EM_SETSEL, EM_REPLACESEL ... with
// the host's numbers, in Win32.h) and tells its parent what happens by
// WM_COMMAND with EN_ codes. The C++ accessors below do the same as the
// messages, plus what does not travel in a WPARAM (fonts, colours).
//
//   input → hooks → edit procedure → EditText (text, selection, undo)
//         → layout (lines, caret offsets) → scroll → WM_PAINT → notices
//
// Text passing through messages: WM_SETTEXT, EM_REPLACESEL take a
// NUL-terminated UTF-8 string in lParam; WM_GETTEXT copies at most
// wParam - 1 bytes (whole characters) and a NUL into lParam and returns the
// bytes copied; WM_GETTEXTLENGTH answers in bytes of UTF-8, as the core
// does for every window, and GetWindowText reads the control's text.
//
// Behaviour, where the host's box leaves a choice:
//  - Margins default to 2 pixels left and right; the text's first line
//    is at the top of the window.
//  - The font is Tahoma 8 point until SetFont; colours are black on white
//    (a read-only or disabled box without colours of its own shows the
//    face colour 0xF0F0F0 behind the text; disabled text is 0x6D6D6D).
//  - The caret is a one-pixel column that inverts what is under it; it
//    blinks every GetCaretBlinkTime() ms while the control has the focus.
//  - EM_SETSEL and SetSel do not scroll; EM_SCROLLCARET / ScrollCaret do.
//  - Horizontal scrolling moves just far enough to show the caret.
//  - Undo keeps one step; typed characters, Backspaces and Deletes in a
//    row are each one step (see EditText.cpp).

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/FontEngine.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

// How long the caret stays on, and off, in milliseconds.
uint32_t GetCaretBlinkTime();

// Makes an edit control: spec.Style carries the WS_ and ES_ bits; the
// class name becomes "Edit" unless one is given, and the procedure is the
// control's own (spec.Proc is not used; subclass with SetWindowProc or a
// hook). Returns 0 when the window cannot be made.
HWND CreateEditControl(const WindowSpec& spec);

class EditControl : public std::enable_shared_from_this<EditControl> {
public:
    // The control of an edit window made by CreateEditControl on the
    // current core; nullptr for any other window. The pointer is good while
    // the window lives.
    static EditControl* FromHandle(HWND hwnd);

    ~EditControl();
    EditControl(const EditControl&) = delete;
    EditControl& operator=(const EditControl&) = delete;

    HWND Handle() const;

    // --- Looks ----------------------------------------------------------------
    // An empty handle goes back to the default font.
    void SetFont(const HFONT& font);
    void SetColors(COLORREF fore, COLORREF back);
    // Pixels kept clear left and right of the text.
    void SetMargins(int32_t left, int32_t right);
    // 0 left, 1 centre, 2 right (ES_LEFT, ES_CENTER, ES_RIGHT).
    void SetAlignment(int32_t alignment);
    int32_t Alignment() const;

    // --- Text and selection ---------------------------------------------------
    std::string Text() const;
    // As WM_SETTEXT: the caret goes to the start, undo is emptied and the
    // modified flag cleared; a single-line box notifies EN_UPDATE and
    // EN_CHANGE, a multi-line one does not.
    void SetText(std::string_view text);
    int32_t TextLength() const;
    int32_t SelStart() const;
    int32_t SelLength() const;
    // The caret goes to start + length (both clamped into the text); a
    // negative length selects backwards.
    void SetSel(int32_t start, int32_t length);
    std::string SelText() const;
    // As EM_REPLACESEL: the limit applies (EN_MAXTEXT), EN_UPDATE and
    // EN_CHANGE follow. Without canUndo, undo is emptied.
    void ReplaceSel(std::string_view text, bool canUndo);
    bool Modified() const;
    void SetModified(bool modified);

    // --- Behaviour --------------------------------------------------------
    // The most characters the user may enter; 0 for no limit. Text set by
    // SetText is not cut.
    void SetMaxLength(int32_t length);
    // The limit as EM_GETLIMITTEXT tells it (32767 by default).
    int64_t LimitText() const;
    // Shows every character as c in a single-line box, and refuses Copy
    // and Cut; 0 shows the text.
    void SetPasswordChar(char32_t c);
    char32_t PasswordChar() const;
    // Navigation and Copy still work; nothing the user does changes the
    // text (the program still can).
    void SetReadOnly(bool readOnly);
    bool ReadOnly() const;
    // Typed and pasted text: 0 as it is, 1 upper case, 2 lower case
    // (ES_UPPERCASE, ES_LOWERCASE).
    void SetCaseStyle(int32_t caseStyle);
    int32_t CaseStyle() const;

    // --- Editing ----------------------------------------------------------
    bool Undo();
    bool CanUndo() const;
    void EmptyUndo();
    void Cut();
    void Copy();
    void Paste();
    // Deletes the selection.
    void Clear();

    // --- Lines and positions ----------------------------------------------
    int32_t LineCount() const;
    // Multi-line: the top line shown; single-line: the first character
    // shown.
    int32_t FirstVisibleLine() const;
    // The line a character is on; -1 for the caret's line (or the
    // selection's first line).
    int32_t LineFromChar(int32_t index) const;
    // The first character of a line (line -1: the caret's line); -1
    // beyond the last line.
    int32_t LineIndex(int32_t line) const;
    // The characters of a line by its number, without its line break (unlike
    // EM_LINELENGTH, which takes a character index); 0 beyond the last.
    int32_t LineLength(int32_t line) const;
    // The nearest caret position to a client point.
    int32_t CharFromPos(int32_t x, int32_t y) const;
    // The top-left corner of a character's cell in client pixels; for
    // index == TextLength() where the caret after the last one stands;
    // (-1, -1) beyond that.
    POINT PosFromChar(int32_t index) const;
    void ScrollCaret();

    struct State;

private:
    friend HWND CreateEditControl(const WindowSpec& spec);
    EditControl();
    std::unique_ptr<State> state;
};

}  // namespace kelvara
