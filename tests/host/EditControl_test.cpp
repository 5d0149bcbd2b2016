// The edit control driven through the headless desktop: keys, mouse,
// clipboard, notices and pixels.

#include "kelvara/host/EditControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/base/Text.h"

namespace kelvara {
namespace {

using Notices = std::vector<std::string>;

constexpr int32_t kFormX = 100;
constexpr int32_t kFormY = 100;
constexpr int32_t kEditX = 10;
constexpr int32_t kEditY = 10;
constexpr int32_t kEditId = 7;
constexpr int32_t kMargin = 2;
constexpr int32_t kCtrl = ShiftState::Ctrl;
constexpr int32_t kShift = ShiftState::Shift;

std::string NoticeName(uint16_t code) {
    switch (code) {
        case EN_SETFOCUS:
            return "setfocus";
        case EN_KILLFOCUS:
            return "killfocus";
        case EN_CHANGE:
            return "change";
        case EN_UPDATE:
            return "update";
        case EN_MAXTEXT:
            return "maxtext";
        case EN_HSCROLL:
            return "hscroll";
        case EN_VSCROLL:
            return "vscroll";
        default:
            return "?" + std::to_string(code);
    }
}

COLORREF At(const std::unique_ptr<API32bppDIB>& picture, int32_t x, int32_t y) {
    const uint8_t* p = picture->Pixels().Pixel(x, y);
    return COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
}

FontRequest Tahoma(int32_t height) {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = height;
    return font;
}

// A key with the modifiers held, or text typed.
struct Input {
    int32_t vk = 0;
    int32_t shift = 0;
    std::string typed;
};
Input K(int32_t vk, int32_t shift = 0) {
    return Input{vk, shift, ""};
}
Input T(std::string text) {
    return Input{0, 0, std::move(text)};
}

class EditTest : public ::testing::Test {
public:
    HeadlessDesktop desktop;
    HWND form = 0;
    HWND hwnd = 0;
    EditControl* edit = nullptr;
    Notices notices;
    bool wrongSender = false;
    // Runs in the form's WM_COMMAND, after the notice is logged.
    std::function<void(uint16_t)> onNotice;

    void SetUp() override {
        form = CreateWindowEx(0, "Form", "", WS_POPUP | WS_VISIBLE, kFormX, kFormY, 500, 300, 0,
                              [this](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                                  if (m != WM_COMMAND) {
                                      return DefWindowProc(h, m, w, l);
                                  }
                                  wrongSender = wrongSender || LOWORD(w) != kEditId ||
                                                static_cast<HWND>(l) != hwnd;
                                  notices.push_back(NoticeName(HIWORD(w)));
                                  if (onNotice) {
                                      onNotice(HIWORD(w));
                                  }
                                  return 0;
                              });
    }
    void TearDown() override {
        EXPECT_FALSE(wrongSender) << "a notice with the wrong id or window";
    }

    HWND Make(uint32_t style, std::string_view text = "", int32_t width = 200,
              int32_t height = 20) {
        if (hwnd != 0 && IsWindow(hwnd)) {
            DestroyWindow(hwnd);
        }
        WindowSpec spec;
        spec.Style = WS_CHILD | WS_VISIBLE | style;
        spec.X = kEditX;
        spec.Y = kEditY;
        spec.Width = width;
        spec.Height = height;
        spec.Parent = form;
        spec.Text = std::string(text);
        hwnd = CreateEditControl(spec);
        SetWindowLong(hwnd, GWL_ID, kEditId);
        edit = EditControl::FromHandle(hwnd);
        desktop.Pump();
        notices.clear();
        return hwnd;
    }
    HWND MakeFocused(uint32_t style, std::string_view text = "", int32_t width = 200,
                     int32_t height = 20) {
        Make(style, text, width, height);
        SetFocus(hwnd);
        desktop.Pump();
        notices.clear();
        return hwnd;
    }
    void Do(const std::vector<Input>& inputs) {
        for (const Input& in : inputs) {
            if (in.typed.empty()) {
                desktop.Key(in.vk, in.shift);
            } else {
                desktop.Type(in.typed);
            }
        }
    }
    // Client pixels of the edit to the screen.
    int32_t ScreenX(int32_t x) const { return kFormX + kEditX + x; }
    int32_t ScreenY(int32_t y) const { return kFormY + kEditY + y; }
    void ClickAt(int32_t x, int32_t y, int32_t shift = 0) {
        desktop.Click(ScreenX(x), ScreenY(y), MouseButton::Left, shift);
    }
    // The middle of a character's cell, in client pixels.
    POINT Middle(int32_t index) const {
        const POINT a = edit->PosFromChar(index);
        const POINT b = edit->PosFromChar(index + 1);
        return POINT{(a.X + b.X) / 2, a.Y + 5};
    }
    std::pair<int32_t, int32_t> Sel() const { return {edit->SelStart(), edit->SelLength()}; }
    std::unique_ptr<API32bppDIB> Shot() {
        desktop.Pump();
        auto picture = std::make_unique<API32bppDIB>();
        EXPECT_TRUE(desktop.Screenshot(hwnd, *picture));
        return picture;
    }
    static int32_t LineHeight() {
        const FontInstance* f = FontEngine::ForThread().Open(Tahoma(-11));
        return f != nullptr ? FontEngine::ForThread().GetTextMetrics(*f).tmHeight : 0;
    }
    static int32_t TextWidth(std::string_view text, const FontRequest& font = Tahoma(-11)) {
        const FontInstance* f = FontEngine::ForThread().Open(font);
        return f != nullptr ? FontEngine::ForThread().GetTextExtentPoint32(*f, text).cx : 0;
    }
};

// --- Keyboard ------------------------------------------------------------------

TEST_F(EditTest, KeysMoveAndExtendTheSelection) {
    // "one two  three": words at 0, 4 and 9; 14 characters.
    struct Case {
        const char* what;
        int32_t start, length;  // the selection before, caret at start + length
        std::vector<Input> keys;
        int32_t wantStart, wantLength;
    } cases[] = {
        {"right", 0, 0, {K(VK_RIGHT)}, 1, 0},
        {"left at the start stays", 0, 0, {K(VK_LEFT)}, 0, 0},
        {"right at the end stays", 14, 0, {K(VK_RIGHT)}, 14, 0},
        {"ctrl+right skips the word and its blanks", 0, 0, {K(VK_RIGHT, kCtrl)}, 4, 0},
        {"ctrl+right twice", 0, 0, {K(VK_RIGHT, kCtrl), K(VK_RIGHT, kCtrl)}, 9, 0},
        {"ctrl+left from the end", 14, 0, {K(VK_LEFT, kCtrl)}, 9, 0},
        {"ctrl+left inside a word", 6, 0, {K(VK_LEFT, kCtrl)}, 4, 0},
        {"shift+right three times",
         1,
         0,
         {K(VK_RIGHT, kShift), K(VK_RIGHT, kShift), K(VK_RIGHT, kShift)},
         1,
         3},
        {"shift moves only the caret end",
         5,
         0,
         {K(VK_LEFT, kShift), K(VK_LEFT, kShift), K(VK_RIGHT, kShift)},
         4,
         1},
        {"left ends a selection at its start", 4, 3, {K(VK_LEFT)}, 4, 0},
        {"right ends a selection at its end", 7, -3, {K(VK_RIGHT)}, 7, 0},
        {"home and end", 5, 0, {K(VK_END)}, 14, 0},
        {"home", 5, 0, {K(VK_HOME)}, 0, 0},
        {"shift+end", 4, 0, {K(VK_END, kShift)}, 4, 10},
        {"shift+home", 6, 0, {K(VK_HOME, kShift)}, 0, 6},
        {"ctrl+shift+right", 0, 0, {K(VK_RIGHT, kCtrl | kShift)}, 0, 4},
        {"ctrl+a selects everything", 3, 0, {K('A', kCtrl)}, 0, 14},
        {"up is left in a single line", 5, 0, {K(VK_UP)}, 4, 0},
        {"down is right in a single line", 5, 0, {K(VK_DOWN)}, 6, 0},
    };
    MakeFocused(0, "one two  three");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        edit->SetSel(c.start, c.length);
        Do(c.keys);
        EXPECT_EQ(Sel(), std::make_pair(c.wantStart, c.wantLength));
    }
    EXPECT_EQ(edit->Text(), "one two  three");
    EXPECT_EQ(notices, Notices{}) << "moving tells the parent nothing";
}

TEST_F(EditTest, KeysEditTheText) {
    struct Case {
        const char* what;
        uint32_t style;
        std::string text;
        int32_t start, length;
        std::vector<Input> keys;
        std::string want;
        int32_t wantStart, wantLength;
    } cases[] = {
        {"typing inserts at the caret", 0, "ac", 1, 0, {T("b")}, "abc", 2, 0},
        {"typing replaces the selection", 0, "hello", 1, 3, {T("a")}, "hao", 2, 0},
        {"backspace", 0, "abc", 3, 0, {K(VK_BACK)}, "ab", 2, 0},
        {"backspace at the start", 0, "abc", 0, 0, {K(VK_BACK)}, "abc", 0, 0},
        {"backspace takes the selection", 0, "abcd", 1, 2, {K(VK_BACK)}, "ad", 1, 0},
        {"delete", 0, "abc", 0, 0, {K(VK_DELETE)}, "bc", 0, 0},
        {"delete at the end", 0, "abc", 3, 0, {K(VK_DELETE)}, "abc", 3, 0},
        {"ctrl+backspace takes a word", 0, "one two", 7, 0, {K(VK_BACK, kCtrl)}, "one ", 4, 0},
        {"ctrl+backspace over blanks", 0, "one two  ", 9, 0, {K(VK_BACK, kCtrl)}, "one ", 4, 0},
        {"ctrl+delete takes a word and its blanks",
         0,
         "one two",
         0,
         0,
         {K(VK_DELETE, kCtrl)},
         "two",
         0,
         0},
        {"characters, not bytes", 0, "aé€", 3, 0, {K(VK_BACK), K(VK_LEFT), T("ç")}, "açé", 2, 0},
        {"return does nothing in a single line",
         0,
         "ab",
         1,
         0,
         {K(VK_RETURN), K(VK_TAB)},
         "ab",
         1,
         0},
        {"return inserts a line break", ES_MULTILINE, "ab", 1, 0, {K(VK_RETURN)}, "a\r\nb", 3, 0},
        {"backspace takes a whole line break",
         ES_MULTILINE,
         "a\r\nb",
         3,
         0,
         {K(VK_BACK)},
         "ab",
         1,
         0},
        {"delete takes a whole line break",
         ES_MULTILINE,
         "a\r\nb",
         1,
         0,
         {K(VK_DELETE)},
         "ab",
         1,
         0},
        {"left steps over a line break",
         ES_MULTILINE,
         "a\r\nb",
         3,
         0,
         {K(VK_LEFT)},
         "a\r\nb",
         1,
         0},
        {"tab is typed in a multi-line box", ES_MULTILINE, "ab", 1, 0, {K(VK_TAB)}, "a\tb", 2, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        MakeFocused(c.style | ES_AUTOHSCROLL | ES_AUTOVSCROLL, c.text);
        edit->SetSel(c.start, c.length);
        Do(c.keys);
        EXPECT_EQ(edit->Text(), c.want);
        EXPECT_EQ(GetWindowText(hwnd), c.want) << "the window's text follows";
        EXPECT_EQ(Sel(), std::make_pair(c.wantStart, c.wantLength));
        DestroyWindow(hwnd);
    }
}

TEST_F(EditTest, NumberStyleRefusesTypedNonDigitsButNotPastes) {
    MakeFocused(ES_NUMBER | ES_AUTOHSCROLL);
    desktop.Type("a1.2b3 ");
    EXPECT_EQ(edit->Text(), "123");
    SetClipboardText("x9");
    desktop.Key('V', kCtrl);
    // Deliberate: the host's box lets pasted text through.
    EXPECT_EQ(edit->Text(), "123x9");
}

TEST_F(EditTest, CaseStylesConvertTypedAndPastedText) {
    MakeFocused(ES_UPPERCASE | ES_AUTOHSCROLL, "lower");
    EXPECT_EQ(edit->Text(), "lower") << "set text is kept as it is";
    desktop.Key(VK_END);
    desktop.Type("abç");
    SetClipboardText(" Mixed");
    desktop.Key('V', kCtrl);
    EXPECT_EQ(edit->Text(), "lowerABÇ MIXED");
    EXPECT_EQ(edit->CaseStyle(), 1);
    edit->SetCaseStyle(2);
    desktop.Type("XY");
    EXPECT_EQ(edit->Text(), "lowerABÇ MIXEDxy");
    edit->SetCaseStyle(0);
    desktop.Type("Z");
    EXPECT_EQ(edit->Text(), "lowerABÇ MIXEDxyZ");
}

// --- Clipboard and undo --------------------------------------------------------

TEST_F(EditTest, ClipboardKeysCopyCutAndPaste) {
    struct Case {
        const char* what;
        int32_t start, length;
        Input key;
        std::string want, clipboard;
    } cases[] = {
        {"ctrl+c", 1, 3, K('C', kCtrl), "abcdef", "bcd"},
        {"ctrl+insert", 0, 2, K(VK_INSERT, kCtrl), "abcdef", "ab"},
        {"ctrl+x", 1, 3, K('X', kCtrl), "aef", "bcd"},
        {"shift+delete", 4, 2, K(VK_DELETE, kShift), "abcd", "ef"},
        {"ctrl+v replaces the selection", 1, 3, K('V', kCtrl), "a<>ef", "<>"},
        {"shift+insert", 6, 0, K(VK_INSERT, kShift), "abcdef<>", "<>"},
        {"copy with nothing selected leaves the clipboard", 2, 0, K('C', kCtrl), "abcdef", "<>"},
    };
    MakeFocused(ES_AUTOHSCROLL);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        edit->SetText("abcdef");
        SetClipboardText("<>");
        edit->SetSel(c.start, c.length);
        Do({c.key});
        EXPECT_EQ(edit->Text(), c.want);
        EXPECT_EQ(GetClipboardText(), c.clipboard);
    }
}

TEST_F(EditTest, PastingIntoASingleLineTakesTheFirstLine) {
    MakeFocused(ES_AUTOHSCROLL, "[]");
    edit->SetSel(1, 0);
    SetClipboardText("one\r\ntwo");
    edit->Paste();
    EXPECT_EQ(edit->Text(), "[one]");
    MakeFocused(ES_MULTILINE | ES_AUTOVSCROLL, "[]");
    edit->SetSel(1, 0);
    edit->Paste();
    EXPECT_EQ(edit->Text(), "[one\r\ntwo]");
    EXPECT_EQ(edit->LineCount(), 2);
}

TEST_F(EditTest, UndoTakesBackTheLastStepAndRedoesIt) {
    MakeFocused(ES_AUTOHSCROLL);
    EXPECT_FALSE(edit->CanUndo());
    desktop.Type("abc");
    EXPECT_TRUE(edit->CanUndo());
    desktop.Key('Z', kCtrl);
    EXPECT_EQ(edit->Text(), "");
    desktop.Key('Z', kCtrl);
    EXPECT_EQ(edit->Text(), "abc");
    EXPECT_EQ(Sel(), std::make_pair(0, 3)) << "what came back is selected";

    desktop.Key(VK_END);
    desktop.Key(VK_LEFT);
    desktop.Type("x");
    EXPECT_EQ(edit->Text(), "abxc");
    EXPECT_EQ(SendMessage(hwnd, EM_UNDO), 1);
    EXPECT_EQ(edit->Text(), "abc") << "the caret move started a new step";

    SetClipboardText("12");
    desktop.Key(VK_END);
    desktop.Key('V', kCtrl);
    desktop.Key(VK_BACK);
    desktop.Key(VK_BACK);
    EXPECT_EQ(edit->Text(), "abc");
    EXPECT_TRUE(edit->Undo());
    EXPECT_EQ(edit->Text(), "abc12") << "both backspaces were one step";

    notices.clear();
    SendMessage(hwnd, WM_UNDO);
    EXPECT_EQ(notices, (Notices{"update", "change"}));
    edit->ReplaceSel("!", false);
    EXPECT_FALSE(edit->CanUndo()) << "a change that cannot be undone empties undo";
    edit->ReplaceSel("?", true);
    EXPECT_TRUE(edit->CanUndo());
    edit->SetText("new");
    EXPECT_FALSE(edit->CanUndo());
    desktop.Type("q");
    SendMessage(hwnd, EM_EMPTYUNDOBUFFER);
    EXPECT_EQ(SendMessage(hwnd, EM_CANUNDO), 0);
}

// --- Limits and modes -----------------------------------------------------------

TEST_F(EditTest, MaxLengthCutsTypingPastingAndReplacing) {
    MakeFocused(ES_AUTOHSCROLL, "abc");
    edit->SetMaxLength(5);
    EXPECT_EQ(SendMessage(hwnd, EM_GETLIMITTEXT), 5);
    desktop.Key(VK_END);
    desktop.Type("defg");
    EXPECT_EQ(edit->Text(), "abcde");
    EXPECT_EQ(notices, (Notices{"update", "change", "update", "change", "maxtext", "maxtext"}));

    edit->SetText("abc");
    edit->SetSel(1, 1);
    SetClipboardText("123456");
    notices.clear();
    desktop.Key('V', kCtrl);
    EXPECT_EQ(edit->Text(), "a123c");
    EXPECT_EQ(notices, (Notices{"maxtext", "update", "change"}));

    edit->SetSel(0, 0);
    notices.clear();
    edit->ReplaceSel("xyz", true);
    EXPECT_EQ(edit->Text(), "a123c");
    EXPECT_EQ(notices, (Notices{"maxtext"}));

    edit->SetText("longer than five");
    EXPECT_EQ(edit->Text(), "longer than five") << "set text is not cut";
    edit->SetMaxLength(0);
    EXPECT_EQ(edit->LimitText(), 0x7FFFFFFE);
    Make(ES_AUTOHSCROLL);
    EXPECT_EQ(edit->LimitText(), 32767);
}

TEST_F(EditTest, MultiLineLimitNeverSplitsALineBreak) {
    MakeFocused(ES_MULTILINE, "ab", 200, 60);
    edit->SetMaxLength(3);
    edit->SetSel(2, 0);
    desktop.Key(VK_RETURN);
    EXPECT_EQ(edit->Text(), "ab");
    EXPECT_EQ(notices, Notices{"maxtext"});
}

TEST_F(EditTest, BoxWithoutAutoScrollTakesOnlyWhatFits) {
    const int32_t width = kMargin * 2 + TextWidth("0000");
    MakeFocused(0, "", width, 20);
    desktop.Type("000000");
    EXPECT_EQ(edit->Text(), "0000");
    EXPECT_EQ(notices.back(), "maxtext");
    MakeFocused(ES_MULTILINE, "", 200, 2 * LineHeight());
    desktop.Type("1\r2\r3");
    EXPECT_EQ(edit->Text(), "1\r\n23") << "two lines show: the third break is refused";
}

TEST_F(EditTest, ReadOnlyBoxNavigatesAndCopiesButNeverChanges) {
    MakeFocused(ES_AUTOHSCROLL | ES_READONLY, "fixed");
    EXPECT_TRUE(edit->ReadOnly());
    SetClipboardText("paste");
    edit->SetSel(0, 5);
    desktop.Type("x");
    Do({K(VK_BACK), K(VK_DELETE), K('V', kCtrl), K('X', kCtrl), K(VK_DELETE, kShift),
        K(VK_INSERT, kShift), K(VK_BACK, kCtrl), K(VK_RETURN)});
    EXPECT_EQ(edit->Text(), "fixed");
    EXPECT_EQ(GetClipboardText(), "paste");
    desktop.Key('C', kCtrl);
    EXPECT_EQ(GetClipboardText(), "fixed");
    desktop.Key(VK_HOME);
    desktop.Key(VK_RIGHT, kShift);
    EXPECT_EQ(Sel(), std::make_pair(0, 1));
    EXPECT_EQ(notices, Notices{});
    edit->ReplaceSel("F", true);
    EXPECT_EQ(edit->Text(), "Fixed") << "the program still changes it";
    edit->SetReadOnly(false);
    desktop.Key(VK_END);
    desktop.Type("!");
    EXPECT_EQ(edit->Text(), "Fixed!");
}

TEST_F(EditTest, PasswordShowsItsCharacterAndKeepsTheTextIn) {
    Make(ES_AUTOHSCROLL, "***");
    const auto plain = Shot();
    DestroyWindow(hwnd);
    Make(ES_AUTOHSCROLL | ES_PASSWORD, "abc");
    EXPECT_EQ(edit->PasswordChar(), U'*');
    const auto hidden = Shot();
    ASSERT_EQ(hidden->Width(), plain->Width());
    for (int32_t y = 0; y < plain->Height(); ++y) {
        for (int32_t x = 0; x < plain->Width(); ++x) {
            ASSERT_EQ(At(hidden, x, y), At(plain, x, y)) << "at " << x << "," << y;
        }
    }

    SetFocus(hwnd);
    SetClipboardText("before");
    desktop.Key('A', kCtrl);
    desktop.Key('C', kCtrl);
    desktop.Key('X', kCtrl);
    edit->Copy();
    EXPECT_EQ(GetClipboardText(), "before");
    EXPECT_EQ(edit->Text(), "abc");
    EXPECT_EQ(edit->SelText(), "abc") << "the program may still read it";
    desktop.Key(VK_END);
    desktop.Key(VK_LEFT, kCtrl);
    EXPECT_EQ(Sel(), std::make_pair(0, 0)) << "no words to stop at";
    edit->SetPasswordChar(0);
    EXPECT_EQ(GetWindowLong(hwnd, GWL_STYLE) & ES_PASSWORD, 0);
    edit->SetSel(0, 3);
    edit->Copy();
    EXPECT_EQ(GetClipboardText(), "abc");
}

// --- Messages --------------------------------------------------------------------

TEST_F(EditTest, SetSelFollowsTheMinusOneRules) {
    struct Case {
        const char* what;
        intptr_t start, end;
        uint32_t wantStart, wantEnd;
    } cases[] = {
        {"a range", 1, 3, 1, 3},
        {"backwards", 3, 1, 1, 3},
        {"0, -1 selects all", 0, -1, 0, 5},
        {"beyond the end is the end", 2, 99, 2, 5},
        {"all beyond", 7, 9, 5, 5},
        {"a range again", 1, 3, 1, 3},
        {"start -1 takes the selection away at the caret", -1, 0, 3, 3},
    };
    Make(ES_AUTOHSCROLL, "hello");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SendMessage(hwnd, EM_SETSEL, static_cast<WPARAM>(c.start), c.end);
        uint32_t start = 99, end = 99;
        const LRESULT packed = SendMessage(hwnd, EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                                           reinterpret_cast<LPARAM>(&end));
        EXPECT_EQ(start, c.wantStart);
        EXPECT_EQ(end, c.wantEnd);
        EXPECT_EQ(packed, static_cast<LRESULT>(c.wantStart | c.wantEnd << 16));
    }
    EXPECT_EQ(notices, Notices{});
}

TEST_F(EditTest, TextTravelsAsUtf8ThroughMessages) {
    Make(ES_AUTOHSCROLL, "aé€");  // 1 + 2 + 3 bytes
    EXPECT_EQ(SendMessage(hwnd, WM_GETTEXTLENGTH), 6);
    EXPECT_EQ(edit->TextLength(), 3);
    struct Case {
        WPARAM size;
        LRESULT copied;
        std::string want;
    } cases[] = {{0, 0, "untouched"}, {1, 0, ""},    {3, 1, "a"},
                 {4, 3, "aé"},        {7, 6, "aé€"}, {50, 6, "aé€"}};
    for (const Case& c : cases) {
        char buffer[64] = "untouched";
        EXPECT_EQ(SendMessage(hwnd, WM_GETTEXT, c.size, reinterpret_cast<LPARAM>(buffer)),
                  c.copied);
        EXPECT_EQ(std::string(buffer), c.want) << "size " << c.size;
    }
    const std::string value = "ç";
    SendMessage(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(value.c_str()));
    EXPECT_EQ(edit->Text(), "ç");
    EXPECT_EQ(GetWindowText(hwnd), "ç");
    SendMessage(hwnd, WM_SETTEXT, 0, 0);
    EXPECT_EQ(edit->Text(), "");
}

TEST_F(EditTest, NoticesComeInTheHostsOrder) {
    struct Case {
        const char* what;
        uint32_t style;
        std::function<void(EditTest&)> act;
        Notices want;
    } cases[] = {
        {"typing two characters",
         0,
         [](EditTest& t) { t.desktop.Type("ab"); },
         {"update", "change", "update", "change"}},
        {"single-line set text",
         0,
         [](EditTest& t) { t.edit->SetText("x"); },
         {"update", "change"}},
        {"multi-line set text tells nothing",
         ES_MULTILINE,
         [](EditTest& t) { t.edit->SetText("x"); },
         {}},
        {"replace selection",
         ES_MULTILINE,
         [](EditTest& t) { t.edit->ReplaceSel("x", true); },
         {"update", "change"}},
        {"selecting", 0, [](EditTest& t) { t.edit->SetSel(0, 1); }, {}},
        {"focus moving away and back",
         0,
         [](EditTest& t) {
             SetFocus(t.form);
             SetFocus(t.hwnd);
         },
         {"killfocus", "setfocus"}},
        {"a backspace with nothing before the caret",
         0,
         [](EditTest& t) {
             t.edit->SetSel(0, 0);
             t.desktop.Key(VK_BACK);
         },
         {}},
        {"cut and undo",
         0,
         [](EditTest& t) {
             t.edit->SetSel(0, 2);
             t.edit->Cut();
             t.edit->Undo();
         },
         {"update", "change", "update", "change"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        MakeFocused(c.style | ES_AUTOHSCROLL, "abc", 200, 40);
        c.act(*this);
        EXPECT_EQ(notices, c.want);
        DestroyWindow(hwnd);
    }
}

TEST_F(EditTest, ModifiedFlagFollowsUserChangesNotSetText) {
    MakeFocused(ES_AUTOHSCROLL, "abc");
    EXPECT_EQ(SendMessage(hwnd, EM_GETMODIFY), 0);
    desktop.Type("x");
    EXPECT_TRUE(edit->Modified());
    edit->SetText("fresh");
    EXPECT_FALSE(edit->Modified());
    edit->ReplaceSel("y", true);
    EXPECT_EQ(SendMessage(hwnd, EM_GETMODIFY), 1);
    SendMessage(hwnd, EM_SETMODIFY, 0);
    EXPECT_FALSE(edit->Modified());
}

TEST_F(EditTest, ParentMayChangeOrEndTheControlInANotice) {
    MakeFocused(ES_AUTOHSCROLL);
    // As a masked box does: the parent writes its own text back.
    onNotice = [this](uint16_t code) {
        if (code == EN_CHANGE && edit->Text() != edit->Text().substr(0, 2)) {
            edit->SetText(edit->Text().substr(0, 2));
            edit->SetSel(2, 0);
        }
    };
    desktop.Type("abcd");
    EXPECT_EQ(edit->Text(), "ab");
    onNotice = [this](uint16_t code) {
        if (code == EN_UPDATE) {
            DestroyWindow(hwnd);
        }
    };
    desktop.Type("e");
    EXPECT_FALSE(IsWindow(hwnd));
    EXPECT_EQ(EditControl::FromHandle(hwnd), nullptr);
    EXPECT_EQ(notices.back(), "update") << "nothing after the control ended";
    EXPECT_EQ(EditControl::FromHandle(form), nullptr) << "not an edit window";
}

// --- Mouse ---------------------------------------------------------------------

TEST_F(EditTest, ClickPlacesTheCaretAndTakesTheFocus) {
    Make(ES_AUTOHSCROLL, "abcdef");
    const POINT at2 = edit->PosFromChar(2);
    ClickAt(at2.X + 1, 5);  // just right of the boundary: still nearest to it
    EXPECT_EQ(GetFocus(), hwnd);
    EXPECT_EQ(notices, Notices{"setfocus"});
    EXPECT_EQ(Sel(), std::make_pair(2, 0));
    ClickAt(Middle(4).X + 1, 5, kShift);
    EXPECT_EQ(Sel(), std::make_pair(2, 3)) << "shift+click extends, right half goes after";
    ClickAt(150, 5);
    EXPECT_EQ(Sel(), std::make_pair(6, 0)) << "past the end";
    EXPECT_EQ(edit->CharFromPos(-20, 5), 0);
}

TEST_F(EditTest, DraggingSelectsAndScrollsPastTheEdge) {
    Make(ES_AUTOHSCROLL, "abcdefgh");
    desktop.MouseMove(ScreenX(edit->PosFromChar(1).X), ScreenY(5));
    desktop.MouseDown();
    EXPECT_EQ(GetCapture(), hwnd);
    desktop.MouseMove(ScreenX(edit->PosFromChar(5).X), ScreenY(5));
    EXPECT_EQ(Sel(), std::make_pair(1, 4));
    desktop.MouseMove(ScreenX(edit->PosFromChar(3).X), ScreenY(30));  // below: still one line
    EXPECT_EQ(Sel(), std::make_pair(1, 2));
    desktop.MouseUp();
    EXPECT_EQ(GetCapture(), 0);

    std::string digits;
    for (int i = 0; i < 10; ++i) {
        digits += "0123456789";
    }
    Make(ES_AUTOHSCROLL, digits, 60, 20);
    desktop.MouseMove(ScreenX(5), ScreenY(5));
    desktop.MouseDown();
    desktop.MouseMove(ScreenX(90), ScreenY(5));
    const int32_t first = edit->FirstVisibleLine();
    const int32_t length = edit->SelLength();
    EXPECT_GT(first, 0) << "the text scrolled";
    desktop.AdvanceTime(500);
    EXPECT_EQ(edit->SelLength(), length + 5) << "a character every 100 ms";
    EXPECT_GT(edit->FirstVisibleLine(), first);
    desktop.MouseUp();
    desktop.AdvanceTime(500);
    EXPECT_EQ(edit->SelLength(), length + 5) << "stops with the button";
    EXPECT_NE(std::count(notices.begin(), notices.end(), "hscroll"), 0);
}

TEST_F(EditTest, DoubleClickSelectsAWord) {
    Make(ES_AUTOHSCROLL, "one two, three");
    const POINT w = Middle(5);
    desktop.DblClick(ScreenX(w.X), ScreenY(w.Y));
    EXPECT_EQ(Sel(), std::make_pair(4, 3));
    const POINT comma = Middle(7);
    desktop.AdvanceTime(1000);
    desktop.DblClick(ScreenX(comma.X), ScreenY(comma.Y));
    EXPECT_EQ(Sel(), std::make_pair(7, 1));
    Make(ES_AUTOHSCROLL | ES_PASSWORD, "one two");
    desktop.AdvanceTime(1000);
    desktop.DblClick(ScreenX(Middle(1).X), ScreenY(5));
    EXPECT_EQ(Sel(), std::make_pair(0, 7)) << "a password is one word";
}

// --- Lines --------------------------------------------------------------------------

TEST_F(EditTest, MultiLineWrapsAndAnswersLineMessages) {
    // Wide enough for "abc abc" and not a third word.
    const int32_t width = kMargin * 2 + TextWidth("abc abc") + 1;
    Make(ES_MULTILINE, "abc\r\n\r\nabc abc abc", width, 100);
    //                   0123 4 5 6 789012345678
    EXPECT_EQ(SendMessage(hwnd, EM_GETLINECOUNT), 4);
    struct Line {
        int32_t index, length;
    } lines[] = {{0, 3}, {5, 0}, {7, 8}, {15, 3}};
    for (int32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(SendMessage(hwnd, EM_LINEINDEX, static_cast<WPARAM>(i)), lines[i].index);
        EXPECT_EQ(SendMessage(hwnd, EM_LINELENGTH, static_cast<WPARAM>(lines[i].index)),
                  lines[i].length);
        EXPECT_EQ(edit->LineLength(i), lines[i].length);
        char buffer[32] = {};
        buffer[0] = 31;
        const LRESULT n =
            SendMessage(hwnd, EM_GETLINE, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(buffer));
        EXPECT_EQ(n, lines[i].length);
    }
    EXPECT_EQ(SendMessage(hwnd, EM_LINEINDEX, 4), -1);
    struct FromChar {
        int32_t index, line;
    } fromChar[] = {{0, 0}, {3, 0}, {4, 0}, {5, 1}, {7, 2}, {14, 2}, {15, 3}, {18, 3}, {99, 3}};
    for (const FromChar& f : fromChar) {
        EXPECT_EQ(SendMessage(hwnd, EM_LINEFROMCHAR, static_cast<WPARAM>(f.index)), f.line)
            << "index " << f.index;
    }
    // Positions and points agree both ways; the wrapped line's second word
    // starts at the left margin of the next line.
    const int32_t lh = LineHeight();
    EXPECT_EQ(edit->PosFromChar(15).X, kMargin);
    EXPECT_EQ(edit->PosFromChar(15).Y, 3 * lh);
    for (int32_t i = 0; i < 18; ++i) {
        const LRESULT pos = SendMessage(hwnd, EM_POSFROMCHAR, static_cast<WPARAM>(i));
        const LRESULT hit = SendMessage(hwnd, EM_CHARFROMPOS, 0, pos);
        if (i == 4 || i == 6) {
            continue;  // the "\n" of a break stands where its "\r" does
        }
        EXPECT_EQ(LOWORD(static_cast<uintptr_t>(hit)), i) << "index " << i;
    }
    EXPECT_EQ(SendMessage(hwnd, EM_POSFROMCHAR, 18), -1) << "past the last character";
    SendMessage(hwnd, EM_SETSEL, 9, 16);
    EXPECT_EQ(SendMessage(hwnd, EM_LINELENGTH, static_cast<WPARAM>(-1)), 2 + 2)
        << "unselected characters on the selection's lines";
    EXPECT_EQ(SendMessage(hwnd, EM_LINEFROMCHAR, static_cast<WPARAM>(-1)), 2);
}

TEST_F(EditTest, UpAndDownKeepTheColumnAndEndStaysOnAWrappedLine) {
    MakeFocused(ES_MULTILINE | ES_AUTOHSCROLL, "abcdef\r\nab\r\nabcdef", 200, 100);
    //                                          0123456 7 8901 2 345678
    struct Case {
        Input key;
        int32_t caret;
    } cases[] = {{K(VK_DOWN), 10}, {K(VK_DOWN), 17},      {K(VK_UP), 10},
                 {K(VK_UP), 5},    {K(VK_UP), 5},         {K(VK_END, kCtrl), 18},
                 {K(VK_HOME), 12}, {K(VK_HOME, kCtrl), 0}};
    edit->SetSel(5, 0);
    for (const Case& c : cases) {
        Do({c.key});
        EXPECT_EQ(Sel(), std::make_pair(c.caret, 0)) << "key " << c.key.vk;
    }

    const int32_t width = kMargin * 2 + TextWidth("abc abc") + 1;
    MakeFocused(ES_MULTILINE, "abc abc abc", width, 100);
    desktop.Key(VK_END);
    EXPECT_EQ(Sel(), std::make_pair(8, 0));
    EXPECT_EQ(SendMessage(hwnd, EM_LINEFROMCHAR, static_cast<WPARAM>(-1)), 0)
        << "the caret shows at the end of the first line";
    desktop.Key(VK_HOME);
    EXPECT_EQ(Sel(), std::make_pair(0, 0));
}

TEST_F(EditTest, VerticalScrollingFollowsTheCaretPagesAndWheel) {
    const int32_t lh = LineHeight();
    std::string text;
    for (int i = 0; i < 10; ++i) {
        text += (i > 0 ? "\r\n" : "") + std::to_string(i);
    }
    MakeFocused(ES_MULTILINE | ES_AUTOVSCROLL, text, 200, 3 * lh);
    EXPECT_EQ(edit->LineCount(), 10);
    desktop.Key(VK_NEXT);
    EXPECT_EQ(edit->FirstVisibleLine(), 3);
    EXPECT_EQ(edit->LineFromChar(edit->SelStart()), 3);
    desktop.Key(VK_DOWN);
    desktop.Key(VK_DOWN);
    desktop.Key(VK_DOWN);
    EXPECT_EQ(edit->FirstVisibleLine(), 4) << "the caret's line stays in view";
    desktop.Key(VK_END, kCtrl);
    EXPECT_EQ(edit->FirstVisibleLine(), 7);
    notices.clear();
    desktop.MouseMove(ScreenX(20), ScreenY(5));
    desktop.Wheel(1);
    EXPECT_EQ(edit->FirstVisibleLine(), 4);
    EXPECT_EQ(notices, Notices{"vscroll"});
    desktop.Wheel(5);
    EXPECT_EQ(edit->FirstVisibleLine(), 0);
    SendMessage(hwnd, EM_LINESCROLL, 0, 2);
    EXPECT_EQ(edit->FirstVisibleLine(), 2);
    SendMessage(hwnd, EM_SCROLLCARET);
    EXPECT_EQ(edit->FirstVisibleLine(), 7);
}

TEST_F(EditTest, HorizontalScrollingKeepsTheCaretInView) {
    MakeFocused(ES_AUTOHSCROLL, "", 60, 20);
    desktop.Type("the quick brown fox jumps");
    const POINT caret = edit->PosFromChar(edit->TextLength());
    EXPECT_GT(edit->FirstVisibleLine(), 0);
    EXPECT_EQ(caret.X, 60 - kMargin) << "just far enough to show the caret";
    EXPECT_NE(std::count(notices.begin(), notices.end(), "hscroll"), 0);
    desktop.Key(VK_HOME);
    EXPECT_EQ(edit->FirstVisibleLine(), 0);
    EXPECT_EQ(edit->PosFromChar(0).X, kMargin);
}

TEST_F(EditTest, AlignmentPlacesShortText) {
    Make(ES_AUTOHSCROLL, "abc", 200, 20);
    const int32_t w = TextWidth("abc");
    struct Case {
        int32_t alignment;
        int32_t left;
    } cases[] = {{0, kMargin}, {1, kMargin + (196 - w) / 2}, {2, 200 - kMargin - w}};
    for (const Case& c : cases) {
        edit->SetAlignment(c.alignment);
        EXPECT_EQ(edit->Alignment(), c.alignment);
        EXPECT_EQ(edit->PosFromChar(0).X, c.left) << "alignment " << c.alignment;
    }
    edit->SetMargins(10, 0);
    EXPECT_EQ(SendMessage(hwnd, EM_GETMARGINS), MAKELPARAM(10, 0));
    EXPECT_EQ(edit->PosFromChar(3).X, 200) << "right aligned against no margin";
}

// --- Pixels -------------------------------------------------------------------------

TEST_F(EditTest, CaretBlinksOnTheClockOnlyWithTheFocus) {
    Make(ES_AUTOHSCROLL, "", 100, 20);
    const int32_t lh = LineHeight();
    auto column = [&] {
        const auto shot = Shot();
        std::string s;
        for (int32_t y = 0; y < 20; ++y) {
            s += At(shot, kMargin, y) == 0x000000   ? '#'
                 : At(shot, kMargin, y) == 0xFFFFFF ? '.'
                                                    : '?';
        }
        return s;
    };
    const std::string off(20, '.');
    const std::string on = std::string(static_cast<size_t>(lh), '#') + std::string(20 - lh, '.');
    EXPECT_EQ(column(), off) << "no caret without the focus";
    SetFocus(hwnd);
    EXPECT_EQ(column(), on);
    desktop.AdvanceTime(GetCaretBlinkTime() - 1);
    EXPECT_EQ(column(), on);
    desktop.AdvanceTime(1);
    EXPECT_EQ(column(), off);
    desktop.AdvanceTime(GetCaretBlinkTime());
    EXPECT_EQ(column(), on);
    desktop.AdvanceTime(GetCaretBlinkTime());
    EXPECT_EQ(column(), off);
    desktop.Key(VK_RIGHT);
    EXPECT_EQ(column(), on) << "a key shows the caret again at once";
    SetFocus(form);
    EXPECT_EQ(column(), off);
}

TEST_F(EditTest, SelectionIsHighlightedOnlyWithTheFocusUnlessAskedToStay) {
    Make(ES_AUTOHSCROLL, "a b", 100, 20);
    edit->SetSel(0, 3);
    const POINT space = Middle(1);
    const int32_t top = 0;  // the cell's top row holds no glyph
    EXPECT_EQ(At(Shot(), space.X, top), 0xFFFFFFu) << "hidden without the focus";
    SetFocus(hwnd);
    const auto shot = Shot();
    EXPECT_EQ(At(shot, space.X, top), 0xD77800u);
    EXPECT_EQ(At(shot, space.X, LineHeight() - 1), 0xD77800u);
    EXPECT_EQ(At(shot, space.X, LineHeight()), 0xFFFFFFu) << "one line high";
    EXPECT_EQ(At(shot, kMargin - 1, top), 0xFFFFFFu) << "the margin stays clear";
    const int32_t end = edit->PosFromChar(3).X;
    EXPECT_EQ(At(shot, end, 2), 0x000000u) << "the caret after the selection";
    EXPECT_EQ(At(shot, end - 1, top), 0xD77800u);

    Make(ES_AUTOHSCROLL | ES_NOHIDESEL, "a b", 100, 20);
    edit->SetSel(0, 3);
    EXPECT_EQ(At(Shot(), Middle(1).X, top), 0xD77800u) << "kept without the focus";
}

TEST_F(EditTest, TextAndBackgroundColoursByState) {
    // The box must show exactly what drawing the text by hand at the left
    // margin shows.
    auto matches = [&](COLORREF textColor, COLORREF backColor) {
        PixelBuffer want;
        EXPECT_TRUE(want.Allocate(100, 20));
        Canvas canvas(want);
        canvas.FillRect(RECT{0, 0, 100, 20}, backColor);
        canvas.SelectFont(Tahoma(-11));
        canvas.SetBkMode(BkMode::TRANSPARENT);
        canvas.SetTextColor(textColor);
        canvas.TextOut(kMargin, 0, "Hg");
        const auto shot = Shot();
        int32_t differ = 0;
        for (int32_t y = 0; y < 20; ++y) {
            for (int32_t x = 0; x < 100; ++x) {
                differ += At(shot, x, y) != canvas.GetPixel(x, y) ? 1 : 0;
            }
        }
        return differ;
    };
    Make(ES_AUTOHSCROLL, "Hg", 100, 20);
    EXPECT_EQ(matches(0x000000, 0xFFFFFF), 0);
    edit->SetReadOnly(true);
    EXPECT_EQ(matches(0x000000, 0xF0F0F0), 0) << "read-only shows the face colour";
    edit->SetReadOnly(false);
    EnableWindow(hwnd, false);
    EXPECT_EQ(matches(0x6D6D6D, 0xF0F0F0), 0) << "disabled text is gray";
    EnableWindow(hwnd, true);
    edit->SetColors(0x0000C0, 0x00FFFF);
    EXPECT_EQ(matches(0x0000C0, 0x00FFFF), 0);
    edit->SetReadOnly(true);
    EXPECT_EQ(matches(0x0000C0, 0x00FFFF), 0) << "own colours win";
    EnableWindow(hwnd, false);
    EXPECT_EQ(matches(0x6D6D6D, 0x00FFFF), 0);
}

TEST_F(EditTest, FontChangesTheLayout) {
    Make(ES_AUTOHSCROLL, "abc", 200, 30);
    EXPECT_EQ(edit->PosFromChar(3).X, kMargin + TextWidth("abc"));
    LOGFONT big;
    big.lfHeight = -22;
    big.lfFaceName = "Tahoma";
    big.lfWeight = 700;
    edit->SetFont(CreateFontIndirect(big));
    FontRequest bold = Tahoma(-22);
    bold.Bold = true;
    EXPECT_EQ(edit->PosFromChar(3).X, kMargin + TextWidth("abc", bold));
    edit->SetFont(nullptr);
    EXPECT_EQ(edit->PosFromChar(3).X, kMargin + TextWidth("abc"));
}

// --- Stress ---------------------------------------------------------------------------

TEST_F(EditTest, RandomInputKeepsTheSelectionInsideTheText) {
    const int32_t keys[] = {VK_LEFT, VK_RIGHT,  VK_UP,     VK_DOWN,  VK_HOME, VK_END,
                            VK_BACK, VK_DELETE, VK_RETURN, VK_PRIOR, VK_NEXT, VK_INSERT,
                            'A',     'C',       'V',       'X',      'Z',     '7'};
    const char* const texts[] = {"a", "é", " ", "word ", "\r\n", "€uro", "xx yy zz"};
    const uint32_t styles[] = {ES_AUTOHSCROLL,
                               0,
                               ES_RIGHT | ES_AUTOHSCROLL,
                               ES_PASSWORD | ES_AUTOHSCROLL,
                               ES_MULTILINE,
                               ES_MULTILINE | ES_AUTOVSCROLL,
                               ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL,
                               ES_MULTILINE | ES_AUTOVSCROLL | ES_CENTER};
    for (const uint32_t style : styles) {
        SCOPED_TRACE(style);
        std::mt19937 random(style);
        MakeFocused(style, "", 90, 40);
        edit->SetMaxLength(60);
        for (int step = 0; step < 600; ++step) {
            switch (random() % 8) {
                case 0:
                case 1:
                case 2:
                    desktop.Key(keys[random() % std::size(keys)],
                                static_cast<int32_t>(random() % 4));
                    break;
                case 3:
                    desktop.Type(texts[random() % std::size(texts)]);
                    break;
                case 4:
                    desktop.Click(ScreenX(static_cast<int32_t>(random() % 110) - 10),
                                  ScreenY(static_cast<int32_t>(random() % 60) - 10),
                                  MouseButton::Left, static_cast<int32_t>(random() % 2));
                    break;
                case 5:
                    desktop.MouseMove(ScreenX(static_cast<int32_t>(random() % 90)), ScreenY(5));
                    desktop.MouseDown();
                    desktop.MouseMove(ScreenX(static_cast<int32_t>(random() % 200) - 50),
                                      ScreenY(static_cast<int32_t>(random() % 100) - 30));
                    desktop.AdvanceTime(random() % 300);
                    desktop.MouseUp();
                    break;
                case 6:
                    SetClipboardText(texts[random() % std::size(texts)]);
                    desktop.AdvanceTime(random() % 600);
                    break;
                default:
                    desktop.Wheel(static_cast<int32_t>(random() % 3) - 1);
                    break;
            }
            ASSERT_GE(edit->SelStart(), 0);
            ASSERT_GE(edit->SelLength(), 0);
            ASSERT_LE(edit->SelStart() + edit->SelLength(), edit->TextLength());
            ASSERT_LE(edit->TextLength(), 60);
            ASSERT_EQ(GetWindowText(hwnd), edit->Text());
            const int32_t lines = edit->LineCount();
            ASSERT_GE(lines, 1);
            for (int32_t i = 1; i < lines; ++i) {
                ASSERT_LT(edit->LineIndex(i - 1), edit->LineIndex(i));
            }
            ASSERT_EQ(edit->LineIndex(lines - 1) + edit->LineLength(lines - 1), edit->TextLength());
        }
    }
}

}  // namespace
}  // namespace kelvara
