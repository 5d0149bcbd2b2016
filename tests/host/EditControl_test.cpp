// The edit control driven through the headless desktop: keys, mouse,
// clipboard, notices and pixels.

#include "kelvara/host/EditControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"

namespace kelvara {
namespace {

using Notices = std::vector<std::string>;
using Sel = std::pair<int32_t, int32_t>;  // start, length

constexpr int32_t kLeft = 110;  // the edit's client origin on the screen
constexpr int32_t kTop = 110;
constexpr int32_t kEditId = 7;
constexpr int32_t kMargin = 2;

FontRequest Tahoma(int32_t height = -11, bool bold = false) {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = height;
    font.Bold = bold;
    return font;
}
int32_t LineHeight() {
    const FontInstance* f = FontEngine::ForThread().Open(Tahoma());
    return f != nullptr ? FontEngine::ForThread().GetTextMetrics(*f).tmHeight : 0;
}
int32_t TextWidth(std::string_view text, const FontRequest& font = Tahoma()) {
    const FontInstance* f = FontEngine::ForThread().Open(font);
    return f != nullptr ? FontEngine::ForThread().GetTextExtentPoint32(*f, text).cx : 0;
}
COLORREF At(const API32bppDIB& picture, int32_t x, int32_t y) {
    const uint8_t* p = picture.Pixels().Pixel(x, y);
    return COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
}

class EditTest : public ::testing::Test {
public:
    HeadlessDesktop desktop;
    HWND form = 0;
    HWND hwnd = 0;
    EditControl* edit = nullptr;
    Notices notices;
    bool wrongSender = false;
    std::function<void(uint16_t)> onNotice;  // runs in the form's WM_COMMAND

    void SetUp() override {
        form = CreateWindowEx(
            0, "Form", "", WS_POPUP | WS_VISIBLE, 100, 100, 500, 300, 0,
            [this](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                if (m != WM_COMMAND) {
                    return DefWindowProc(h, m, w, l);
                }
                static const std::map<uint16_t, std::string> names = {
                    {EN_SETFOCUS, "setfocus"}, {EN_KILLFOCUS, "killfocus"}, {EN_CHANGE, "change"},
                    {EN_UPDATE, "update"},     {EN_MAXTEXT, "maxtext"},     {EN_HSCROLL, "hscroll"},
                    {EN_VSCROLL, "vscroll"}};
                wrongSender = wrongSender || LOWORD(w) != kEditId || static_cast<HWND>(l) != hwnd;
                notices.push_back(names.at(HIWORD(w)));
                if (onNotice) {
                    onNotice(HIWORD(w));
                }
                return 0;
            });
    }
    void TearDown() override {
        EXPECT_FALSE(wrongSender) << "a notice with the wrong id or window";
    }

    // A new edit (the last one goes) at (10, 10) in the form.
    void Make(uint32_t style, std::string_view text = "", int32_t width = 200, int32_t height = 20,
              bool focus = true) {
        if (IsWindow(hwnd)) {
            DestroyWindow(hwnd);
        }
        WindowSpec spec;
        spec.Style = WS_CHILD | WS_VISIBLE | style;
        spec.X = kLeft - 100;
        spec.Y = kTop - 100;
        spec.Width = width;
        spec.Height = height;
        spec.Parent = form;
        spec.Text = std::string(text);
        hwnd = CreateEditControl(spec);
        SetWindowLong(hwnd, GWL_ID, kEditId);
        edit = EditControl::FromHandle(hwnd);
        if (focus) {
            SetFocus(hwnd);
        }
        desktop.Pump();
        notices.clear();
    }
    // Keys by name, modifiers joined with "+", text in quotes:
    // "Ctrl+Shift+Left Home 'ab c' Ctrl+V".
    void Keys(std::string_view script) {
        static const std::map<std::string, int32_t> vks = {
            {"Left", VK_LEFT},  {"Right", VK_RIGHT}, {"Up", VK_UP},     {"Down", VK_DOWN},
            {"Home", VK_HOME},  {"End", VK_END},     {"Back", VK_BACK}, {"Del", VK_DELETE},
            {"Ins", VK_INSERT}, {"Ret", VK_RETURN},  {"Tab", VK_TAB},   {"PgUp", VK_PRIOR},
            {"PgDn", VK_NEXT}};
        std::istringstream in{std::string(script)};
        std::string word;
        while (in >> std::ws && !in.eof()) {
            if (in.peek() == '\'') {
                in.get();
                std::getline(in, word, '\'');
                desktop.Type(word);
                continue;
            }
            in >> word;
            int32_t shift = 0;
            for (size_t plus; (plus = word.find('+')) != std::string::npos;) {
                shift |= word.substr(0, plus) == "Ctrl" ? ShiftState::Ctrl : ShiftState::Shift;
                word.erase(0, plus + 1);
            }
            desktop.Key(word.size() == 1 ? word[0] : vks.at(word), shift);
        }
    }
    void ClickAt(int32_t x, int32_t y, int32_t shift = 0) {
        desktop.Click(kLeft + x, kTop + y, MouseButton::Left, shift);
    }
    // The middle of a character's cell, in client pixels.
    POINT Middle(int32_t index) const {
        return POINT{(edit->PosFromChar(index).X + edit->PosFromChar(index + 1).X) / 2,
                     edit->PosFromChar(index).Y + 5};
    }
    Sel Selection() const { return {edit->SelStart(), edit->SelLength()}; }
    std::unique_ptr<API32bppDIB> Shot() {
        desktop.Pump();
        auto picture = std::make_unique<API32bppDIB>();
        EXPECT_TRUE(desktop.Screenshot(hwnd, *picture));
        return picture;
    }
};

// --- Keyboard ------------------------------------------------------------------

TEST_F(EditTest, KeysMoveAndExtendTheSelection) {
    struct Case {
        Sel before;  // caret at start + length
        const char* keys;
        Sel want;
    } cases[] = {
        // "one two  three": words at 0, 4 and 9, 14 characters.
        {{0, 0}, "Right", {1, 0}},
        {{0, 0}, "Left", {0, 0}},
        {{14, 0}, "Right", {14, 0}},
        {{0, 0}, "Ctrl+Right Ctrl+Right", {9, 0}},
        {{14, 0}, "Ctrl+Left", {9, 0}},
        {{5, 0}, "Shift+Left Shift+Left Shift+Right", {4, 1}},
        {{4, 3}, "Left", {4, 0}},
        {{7, -3}, "Right", {7, 0}},
        {{5, 0}, "End", {14, 0}},
        {{6, 0}, "Shift+Home", {0, 6}},
        {{0, 0}, "Ctrl+Shift+Right", {0, 4}},
        {{3, 0}, "Ctrl+A", {0, 14}},
        {{5, 0}, "Up Up Down", {4, 0}},  // a single line takes them as Left and Right
    };
    Make(ES_AUTOHSCROLL, "one two  three");
    for (const Case& c : cases) {
        edit->SetSel(c.before.first, c.before.second);
        Keys(c.keys);
        EXPECT_EQ(Selection(), c.want) << c.keys;
    }
    EXPECT_EQ(edit->Text(), "one two  three");
    EXPECT_EQ(notices, Notices{}) << "moving tells the parent nothing";
}

TEST_F(EditTest, KeysEditTheText) {
    struct Case {
        uint32_t style;
        const char* text;
        Sel before;
        const char* keys;
        const char* want;
        Sel after;
    } cases[] = {
        {0, "ac", {1, 0}, "'b'", "abc", {2, 0}},
        {0, "hello", {1, 3}, "'a'", "hao", {2, 0}},
        {0, "abc", {0, 0}, "Back Del", "bc", {0, 0}},
        {0, "abcd", {1, 2}, "Back", "ad", {1, 0}},
        {0, "abc", {3, 0}, "Del", "abc", {3, 0}},
        {0, "one two  ", {9, 0}, "Ctrl+Back", "one ", {4, 0}},
        {0, "one two", {0, 0}, "Ctrl+Del", "two", {0, 0}},
        {0, "aé€", {3, 0}, "Back Left 'ç'", "açé", {2, 0}},  // characters, not bytes
        {0, "ab", {1, 0}, "Ret Tab", "ab", {1, 0}},          // not in a single line
        {ES_MULTILINE, "ab", {1, 0}, "Ret Tab", "a\r\n\tb", {4, 0}},
        {ES_MULTILINE, "a\r\nb", {3, 0}, "Back", "ab", {1, 0}},
        {ES_MULTILINE, "a\r\nb", {1, 0}, "Del", "ab", {1, 0}},
        {ES_MULTILINE, "a\r\nb", {3, 0}, "Left", "a\r\nb", {1, 0}},
        {ES_NUMBER, "", {0, 0}, "'a1.2b3 '", "123", {3, 0}},
        {ES_UPPERCASE, "x", {1, 0}, "'abç'", "xABÇ", {4, 0}},
        {ES_LOWERCASE, "X", {1, 0}, "'AbÇ'", "Xabç", {4, 0}},
    };
    for (const Case& c : cases) {
        Make(c.style | ES_AUTOHSCROLL | ES_AUTOVSCROLL, c.text);
        edit->SetSel(c.before.first, c.before.second);
        Keys(c.keys);
        EXPECT_EQ(edit->Text(), c.want) << c.keys;
        EXPECT_EQ(GetWindowText(hwnd), c.want) << "the window's text follows";
        EXPECT_EQ(Selection(), c.after) << c.keys;
    }
}

TEST_F(EditTest, ClipboardKeysCopyCutAndPaste) {
    struct Case {
        uint32_t style;
        Sel before;
        const char* keys;
        const char* want;
        const char* clipboard;
    } cases[] = {
        {0, {1, 3}, "Ctrl+C", "abcdef", "bcd"},
        {0, {0, 2}, "Ctrl+Ins", "abcdef", "ab"},
        {0, {2, 0}, "Ctrl+C", "abcdef", "q\r\nz"},  // nothing selected, nothing copied
        {0, {1, 3}, "Ctrl+X", "aef", "bcd"},
        {0, {4, 2}, "Shift+Del", "abcd", "ef"},
        {0, {1, 3}, "Ctrl+V", "aqef", "q\r\nz"},  // a single line takes the first line
        {ES_MULTILINE, {6, 0}, "Shift+Ins", "abcdefq\r\nz", "q\r\nz"},
        {ES_UPPERCASE, {0, 0}, "Ctrl+V", "Qabcdef", "q\r\nz"},
        {ES_NUMBER, {0, 0}, "Ctrl+V", "qabcdef", "q\r\nz"},  // Deliberate: pastes pass
    };
    for (const Case& c : cases) {
        Make(c.style | ES_AUTOHSCROLL | ES_AUTOVSCROLL, "abcdef");
        SetClipboardText("q\r\nz");
        edit->SetSel(c.before.first, c.before.second);
        Keys(c.keys);
        EXPECT_EQ(edit->Text(), c.want) << c.keys;
        EXPECT_EQ(GetClipboardText(), c.clipboard) << c.keys;
    }
    Make(ES_AUTOHSCROLL);
    SetClipboardText(std::string("n\0ul", 4));
    Keys("Ctrl+V");
    desktop.Core().InjectChar(0xD800);  // half a UTF-16 pair is no character
    desktop.Pump();
    EXPECT_EQ(edit->Text(), "n") << "clipboard text ends at a NUL";
}

TEST_F(EditTest, UndoTakesBackTheLastStepAndRedoesIt) {
    Make(ES_AUTOHSCROLL);
    EXPECT_FALSE(edit->CanUndo());
    Keys("'abc' Ctrl+Z");
    EXPECT_EQ(edit->Text(), "");
    Keys("Ctrl+Z");
    EXPECT_EQ(edit->Text(), "abc");
    EXPECT_EQ(Selection(), Sel(0, 3)) << "what came back is selected";
    Keys("End Left 'x'");
    notices.clear();
    EXPECT_EQ(SendMessage(hwnd, EM_UNDO), 1);
    EXPECT_EQ(edit->Text(), "abc") << "the caret move started a new step";
    EXPECT_EQ(notices, (Notices{"update", "change"}));
    EXPECT_EQ(SendMessage(hwnd, EM_GETMODIFY), 1);

    edit->SetText("new");
    EXPECT_FALSE(edit->CanUndo()) << "set text empties undo";
    EXPECT_FALSE(edit->Modified()) << "and clears the modified flag";
    edit->ReplaceSel("?", true);
    EXPECT_TRUE(edit->CanUndo());
    EXPECT_TRUE(edit->Modified());
    edit->ReplaceSel("!", false);
    EXPECT_FALSE(edit->CanUndo()) << "a change that cannot be undone drops the step";
}

// --- Limits and modes -----------------------------------------------------------

TEST_F(EditTest, LimitCutsWhatTheUserAndReplaceAddButNotSetText) {
    Make(ES_AUTOHSCROLL, "abc");
    edit->SetMaxLength(5);
    EXPECT_EQ(SendMessage(hwnd, EM_GETLIMITTEXT), 5);
    Keys("End 'defg'");
    EXPECT_EQ(edit->Text(), "abcde");
    EXPECT_EQ(notices, (Notices{"update", "change", "update", "change", "maxtext", "maxtext"}));

    edit->SetText("abc");
    edit->SetSel(1, 1);
    SetClipboardText("123456");
    notices.clear();
    Keys("Ctrl+V");
    EXPECT_EQ(edit->Text(), "a123c");
    EXPECT_EQ(notices, (Notices{"maxtext", "update", "change"}));
    notices.clear();
    edit->ReplaceSel("xyz", true);
    EXPECT_EQ(notices, Notices{"maxtext"});

    edit->SetText("longer than five");
    EXPECT_EQ(edit->Text(), "longer than five");
    edit->SetMaxLength(0);
    EXPECT_EQ(edit->LimitText(), 0x7FFFFFFE);

    Make(ES_MULTILINE | ES_AUTOVSCROLL, "ab");
    EXPECT_EQ(edit->LimitText(), 32767);
    edit->SetMaxLength(3);
    Keys("End Ret");
    EXPECT_EQ(edit->Text(), "ab") << "half a line break is none";
}

TEST_F(EditTest, BoxWithoutAutoScrollTakesOnlyWhatFits) {
    Make(0, "", kMargin * 2 + TextWidth("0000"));
    Keys("'000000'");
    EXPECT_EQ(edit->Text(), "0000");
    EXPECT_EQ(notices.back(), "maxtext");
    Make(ES_MULTILINE, "", 200, 2 * LineHeight());
    Keys("'1\r2\r3'");
    EXPECT_EQ(edit->Text(), "1\r\n23") << "two lines show: the second break is refused";
}

TEST_F(EditTest, ReadOnlyBoxNavigatesAndCopiesButNeverChanges) {
    Make(ES_AUTOHSCROLL | ES_READONLY, "fixed");
    SetClipboardText("paste");
    edit->SetSel(0, 5);
    Keys("'x' Back Del Ctrl+V Ctrl+X Shift+Del Shift+Ins Ctrl+Back Ret Ctrl+Z");
    EXPECT_EQ(edit->Text(), "fixed");
    EXPECT_EQ(GetClipboardText(), "paste");
    Keys("Ctrl+C Home Shift+Right");
    EXPECT_EQ(GetClipboardText(), "fixed");
    EXPECT_EQ(Selection(), Sel(0, 1));
    EXPECT_EQ(notices, Notices{});
    edit->ReplaceSel("F", true);
    EXPECT_EQ(edit->Text(), "Fixed") << "the program still changes it";
    edit->SetReadOnly(false);
    Keys("End '!'");
    EXPECT_EQ(edit->Text(), "Fixed!");
}

TEST_F(EditTest, PasswordShowsItsCharacterAndKeepsTheTextIn) {
    Make(ES_AUTOHSCROLL, "***", 200, 20, false);
    const auto plain = Shot();
    Make(ES_AUTOHSCROLL | ES_PASSWORD, "abc", 200, 20, false);
    const auto hidden = Shot();
    for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 0; x < 200; ++x) {
            ASSERT_EQ(At(*hidden, x, y), At(*plain, x, y)) << x << "," << y;
        }
    }
    SetFocus(hwnd);
    SetClipboardText("before");
    Keys("Ctrl+A Ctrl+C Ctrl+X Ctrl+Ins Shift+Del");
    EXPECT_EQ(GetClipboardText(), "before");
    EXPECT_EQ(edit->Text(), "abc");
    Keys("End Ctrl+Left");
    EXPECT_EQ(Selection(), Sel(0, 0)) << "no words to stop at";
    edit->SetPasswordChar(0);
    EXPECT_EQ(GetWindowLong(hwnd, GWL_STYLE) & ES_PASSWORD, 0);
    Keys("Ctrl+A Ctrl+C");
    EXPECT_EQ(GetClipboardText(), "abc");
}

// --- Messages and notices -----------------------------------------------------

TEST_F(EditTest, SetSelFollowsTheMinusOneRules) {
    struct Case {
        intptr_t start, end;
        uint32_t wantStart, wantEnd;
    } cases[] = {{1, 3, 1, 3}, {3, 1, 1, 3}, {0, -1, 0, 5}, {2, 99, 2, 5},
                 {7, 9, 5, 5}, {1, 3, 1, 3}, {-1, 0, 3, 3}};  // -1: no selection, caret stays
    Make(ES_AUTOHSCROLL, "hello");
    for (const Case& c : cases) {
        SendMessage(hwnd, EM_SETSEL, static_cast<WPARAM>(c.start), c.end);
        uint32_t start = 99, end = 99;
        const LRESULT packed = SendMessage(hwnd, EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                                           reinterpret_cast<LPARAM>(&end));
        EXPECT_EQ(std::make_pair(start, end), std::make_pair(c.wantStart, c.wantEnd))
            << c.start << "," << c.end;
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
    } cases[] = {{0, 0, "untouched"}, {1, 0, ""}, {3, 1, "a"}, {4, 3, "aé"}, {7, 6, "aé€"}};
    for (const Case& c : cases) {
        char buffer[16] = "untouched";
        EXPECT_EQ(SendMessage(hwnd, WM_GETTEXT, c.size, reinterpret_cast<LPARAM>(buffer)),
                  c.copied);
        EXPECT_EQ(std::string(buffer), c.want) << "size " << c.size;
    }
    SendMessage(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("ç"));
    EXPECT_EQ(GetWindowText(hwnd), "ç");
    SendMessage(hwnd, WM_SETTEXT, 0, 0);
    EXPECT_EQ(edit->Text(), "");
}

TEST_F(EditTest, NoticesComeInTheHostsOrder) {
    using Act = std::function<void(EditTest&)>;
    struct Case {
        const char* what;
        uint32_t style;
        Act act;
        Notices want;
    } cases[] = {
        {"typing",
         0,
         [](EditTest& t) { t.Keys("'ab'"); },
         {"update", "change", "update", "change"}},
        {"set text", 0, [](EditTest& t) { t.edit->SetText("x"); }, {"update", "change"}},
        // Deliberate: the host's multi-line box tells nothing of set text.
        {"multi-line set text", ES_MULTILINE, [](EditTest& t) { t.edit->SetText("x"); }, {}},
        {"replace",
         ES_MULTILINE,
         [](EditTest& t) { t.edit->ReplaceSel("x", true); },
         {"update", "change"}},
        {"selecting", 0, [](EditTest& t) { t.Keys("Shift+Left Ctrl+A"); }, {}},
        {"nothing to delete", 0, [](EditTest& t) { t.Keys("Home Back"); }, {}},
        {"focus",
         0,
         [](EditTest& t) {
             SetFocus(t.form);
             SetFocus(t.hwnd);
         },
         {"killfocus", "setfocus"}},
    };
    for (const Case& c : cases) {
        Make(c.style | ES_AUTOHSCROLL | ES_AUTOVSCROLL, "abc", 200, 40);
        c.act(*this);
        EXPECT_EQ(notices, c.want) << c.what;
    }
}

TEST_F(EditTest, ParentMayChangeOrEndTheControlInANotice) {
    Make(ES_AUTOHSCROLL);
    onNotice = [this](uint16_t code) {  // as a masked box writes its own text back
        if (code == EN_CHANGE && edit->TextLength() > 2) {
            edit->SetText(edit->Text().substr(0, 2));
            edit->SetSel(2, 0);
        }
    };
    Keys("'abcd'");
    EXPECT_EQ(edit->Text(), "ab");
    onNotice = [this](uint16_t code) {
        if (code == EN_UPDATE) {
            DestroyWindow(hwnd);
        }
    };
    Keys("'e'");
    EXPECT_FALSE(IsWindow(hwnd));
    EXPECT_EQ(EditControl::FromHandle(hwnd), nullptr);
    EXPECT_EQ(notices.back(), "update") << "nothing after the control ended";
    EXPECT_EQ(EditControl::FromHandle(form), nullptr) << "not an edit window";
}

// --- Mouse ---------------------------------------------------------------------

TEST_F(EditTest, ClickPlacesTheCaretAndTakesTheFocus) {
    Make(ES_AUTOHSCROLL, "abcdef", 200, 20, false);
    ClickAt(edit->PosFromChar(2).X + 1, 5);  // left half of "c": before it
    EXPECT_EQ(GetFocus(), hwnd);
    EXPECT_EQ(notices, Notices{"setfocus"});
    EXPECT_EQ(Selection(), Sel(2, 0));
    ClickAt(Middle(4).X + 1, 5, ShiftState::Shift);  // right half of "e": after it
    EXPECT_EQ(Selection(), Sel(2, 3));
    ClickAt(150, 5);
    EXPECT_EQ(Selection(), Sel(6, 0));
    EXPECT_EQ(edit->CharFromPos(-20, 5), 0);
}

TEST_F(EditTest, DraggingSelectsAndScrollsPastTheEdge) {
    Make(ES_AUTOHSCROLL, "abcdefgh", 200, 20, false);
    desktop.MouseMove(kLeft + edit->PosFromChar(1).X, kTop + 5);
    desktop.MouseDown();
    EXPECT_EQ(GetCapture(), hwnd);
    desktop.MouseMove(kLeft + edit->PosFromChar(5).X, kTop + 5);
    EXPECT_EQ(Selection(), Sel(1, 4));
    desktop.MouseMove(kLeft + edit->PosFromChar(3).X, kTop + 30);  // below: still the line
    EXPECT_EQ(Selection(), Sel(1, 2));
    desktop.MouseUp();
    EXPECT_EQ(GetCapture(), 0);

    std::string digits;
    for (int i = 0; i < 10; ++i) {
        digits += "0123456789";
    }
    Make(ES_AUTOHSCROLL, digits, 60, 20);
    desktop.MouseMove(kLeft + 5, kTop + 5);
    desktop.MouseDown();
    desktop.MouseMove(kLeft + 90, kTop + 5);
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
    struct Case {
        uint32_t style;
        int32_t at;
        Sel want;
    } cases[] = {{0, 5, {4, 3}}, {0, 7, {7, 1}}, {0, 8, {8, 1}}, {ES_PASSWORD, 1, {0, 14}}};
    for (const Case& c : cases) {
        Make(ES_AUTOHSCROLL | c.style, "one two, three");
        desktop.AdvanceTime(1000);
        desktop.DblClick(kLeft + Middle(c.at).X, kTop + 5);
        EXPECT_EQ(Selection(), c.want) << "at " << c.at;
    }
}

// --- Lines -----------------------------------------------------------------------

TEST_F(EditTest, MultiLineWrapsAndAnswersLineMessages) {
    // Wide enough for "abc abc" and not a third word.
    Make(ES_MULTILINE, "abc\r\n\r\nabc abc abc", kMargin * 2 + TextWidth("abc abc") + 1, 100);
    EXPECT_EQ(SendMessage(hwnd, EM_GETLINECOUNT), 4);
    const int32_t starts[] = {0, 5, 7, 15};
    const int32_t lengths[] = {3, 0, 8, 3};
    for (WPARAM i = 0; i < 4; ++i) {
        EXPECT_EQ(SendMessage(hwnd, EM_LINEINDEX, i), starts[i]);
        EXPECT_EQ(SendMessage(hwnd, EM_LINELENGTH, static_cast<WPARAM>(starts[i])), lengths[i]);
        char buffer[32] = {31};
        EXPECT_EQ(SendMessage(hwnd, EM_GETLINE, i, reinterpret_cast<LPARAM>(buffer)), lengths[i]);
    }
    EXPECT_EQ(SendMessage(hwnd, EM_LINEINDEX, 4), -1);
    const int32_t lineOf[] = {0, 0, 0, 0, 0, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3};
    for (WPARAM i = 0; i < std::size(lineOf); ++i) {
        EXPECT_EQ(SendMessage(hwnd, EM_LINEFROMCHAR, i), lineOf[i]) << "index " << i;
    }
    // Positions and points agree both ways; the wrapped word starts the
    // next line at the margin.
    EXPECT_EQ(edit->PosFromChar(15).X, kMargin);
    EXPECT_EQ(edit->PosFromChar(15).Y, 3 * LineHeight());
    for (WPARAM i = 0; i < 18; ++i) {
        const LRESULT point = SendMessage(hwnd, EM_POSFROMCHAR, i);
        const LRESULT hit = SendMessage(hwnd, EM_CHARFROMPOS, 0, point);
        if (i != 4 && i != 6) {  // a "\n" stands where its "\r" does
            EXPECT_EQ(LOWORD(static_cast<uintptr_t>(hit)), i);
            EXPECT_EQ(HIWORD(static_cast<uintptr_t>(hit)), lineOf[i]);
        }
    }
    EXPECT_EQ(SendMessage(hwnd, EM_POSFROMCHAR, 18), -1);
    SendMessage(hwnd, EM_SETSEL, 9, 16);
    EXPECT_EQ(SendMessage(hwnd, EM_LINELENGTH, static_cast<WPARAM>(-1)), 2 + 2)
        << "unselected characters on the selection's lines";
}

TEST_F(EditTest, UpAndDownKeepTheColumnAndEndStaysOnAWrappedLine) {
    Make(ES_MULTILINE | ES_AUTOHSCROLL, "abcdef\r\nab\r\nabcdef", 200, 100);
    const std::pair<const char*, int32_t> steps[] = {
        {"Down", 10}, {"Down", 17},     {"Up", 10},   {"Up", 5},
        {"Up", 5},    {"Ctrl+End", 18}, {"Home", 12}, {"Ctrl+Home", 0}};
    edit->SetSel(5, 0);
    for (const auto& [keys, caret] : steps) {
        Keys(keys);
        EXPECT_EQ(Selection(), Sel(caret, 0)) << keys;
    }
    Make(ES_MULTILINE, "abc abc abc", kMargin * 2 + TextWidth("abc abc") + 1, 100);
    Keys("End");
    EXPECT_EQ(Selection(), Sel(8, 0));
    EXPECT_EQ(SendMessage(hwnd, EM_LINEFROMCHAR, static_cast<WPARAM>(-1)), 0)
        << "the caret shows at the end of the first line";
    Keys("Home");
    EXPECT_EQ(Selection(), Sel(0, 0));
}

TEST_F(EditTest, VerticalScrollingFollowsTheCaretPagesAndWheel) {
    std::string text = "0";
    for (int i = 1; i < 10; ++i) {
        text += "\r\n" + std::to_string(i);
    }
    Make(ES_MULTILINE | ES_AUTOVSCROLL, text, 200, 3 * LineHeight());
    struct Step {
        const char* keys;
        int32_t top, line;
    } steps[] = {{"PgDn", 3, 3}, {"Down Down Down", 4, 6}, {"Ctrl+End", 7, 9}, {"PgUp", 4, 6}};
    for (const Step& s : steps) {
        Keys(s.keys);
        EXPECT_EQ(edit->FirstVisibleLine(), s.top) << s.keys;
        EXPECT_EQ(edit->LineFromChar(-1), s.line) << s.keys;
    }
    notices.clear();
    desktop.MouseMove(kLeft + 20, kTop + 5);
    desktop.Wheel(1);
    EXPECT_EQ(edit->FirstVisibleLine(), 1);
    EXPECT_EQ(notices, Notices{"vscroll"});
    desktop.Wheel(5);
    EXPECT_EQ(edit->FirstVisibleLine(), 0);
    SendMessage(hwnd, EM_LINESCROLL, 0, 2);
    EXPECT_EQ(edit->FirstVisibleLine(), 2);
    edit->ScrollCaret();
    EXPECT_EQ(edit->FirstVisibleLine(), 4);
}

TEST_F(EditTest, HorizontalPlacementByScrollAlignmentAndMargins) {
    Make(ES_AUTOHSCROLL, "", 60, 20);
    Keys("'the quick brown fox'");
    EXPECT_GT(edit->FirstVisibleLine(), 0);
    EXPECT_EQ(edit->PosFromChar(edit->TextLength()).X, 60 - kMargin)
        << "just far enough to show the caret";
    EXPECT_NE(std::count(notices.begin(), notices.end(), "hscroll"), 0);
    Keys("Home");
    EXPECT_EQ(edit->FirstVisibleLine(), 0);

    Make(ES_AUTOHSCROLL, "abc", 200, 20);
    const int32_t w = TextWidth("abc");
    const int32_t left[] = {kMargin, kMargin + (196 - w) / 2, 200 - kMargin - w};
    for (int32_t alignment = 0; alignment < 3; ++alignment) {
        edit->SetAlignment(alignment);
        EXPECT_EQ(edit->PosFromChar(0).X, left[alignment]) << "alignment " << alignment;
    }
    edit->SetMargins(10, 0);
    EXPECT_EQ(SendMessage(hwnd, EM_GETMARGINS), MAKELPARAM(10, 0));
    EXPECT_EQ(edit->PosFromChar(3).X, 200);
    LOGFONT bold;
    bold.lfHeight = -22;
    bold.lfWeight = 700;
    bold.lfFaceName = "Tahoma";
    edit->SetFont(CreateFontIndirect(bold));
    EXPECT_EQ(edit->PosFromChar(0).X, 200 - TextWidth("abc", Tahoma(-22, true)));
}

// --- Pixels -------------------------------------------------------------------------

TEST_F(EditTest, CaretBlinksOnTheClockOnlyWithTheFocus) {
    Make(ES_AUTOHSCROLL, "", 100, 20, false);
    const auto column = [&] {
        const auto shot = Shot();
        std::string s;
        for (int32_t y = 0; y < 20; ++y) {
            const COLORREF c = At(*shot, kMargin, y);
            s += c == 0x000000 ? '#' : c == 0xFFFFFF ? '.' : '?';
        }
        return s;
    };
    const std::string off(20, '.');
    const std::string on = std::string(LineHeight(), '#') + std::string(20 - LineHeight(), '.');
    EXPECT_EQ(column(), off) << "no caret without the focus";
    SetFocus(hwnd);
    const uint32_t blink = GetCaretBlinkTime();
    const std::pair<uint32_t, const std::string*> steps[] = {
        {0, &on}, {blink - 1, &on}, {1, &off}, {blink, &on}, {blink, &off}};
    for (const auto& [ms, want] : steps) {
        desktop.AdvanceTime(ms);
        EXPECT_EQ(column(), *want) << "after " << ms;
    }
    Keys("Right");
    EXPECT_EQ(column(), on) << "a key shows the caret again at once";
    SetFocus(form);
    EXPECT_EQ(column(), off);
}

TEST_F(EditTest, SelectionIsHighlightedOnlyWithTheFocusUnlessKept) {
    Make(ES_AUTOHSCROLL, "a b", 100, 20, false);
    edit->SetSel(0, 3);
    const int32_t space = Middle(1).X;  // the cell's top row holds no glyph
    EXPECT_EQ(At(*Shot(), space, 0), 0xFFFFFFu) << "hidden without the focus";
    SetFocus(hwnd);
    const auto shot = Shot();
    const int32_t end = edit->PosFromChar(3).X;
    EXPECT_EQ(At(*shot, space, 0), 0xD77800u);
    EXPECT_EQ(At(*shot, space, LineHeight() - 1), 0xD77800u);
    EXPECT_EQ(At(*shot, space, LineHeight()), 0xFFFFFFu) << "one line high";
    EXPECT_EQ(At(*shot, kMargin - 1, 0), 0xFFFFFFu) << "the margin stays clear";
    EXPECT_EQ(At(*shot, end - 1, 0), 0xD77800u);
    EXPECT_EQ(At(*shot, end, 2), 0x000000u) << "the caret after the selection";
    Make(ES_AUTOHSCROLL | ES_NOHIDESEL, "a b", 100, 20, false);
    edit->SetSel(0, 3);
    EXPECT_EQ(At(*Shot(), space, 0), 0xD77800u) << "kept without the focus";
}

TEST_F(EditTest, TextAndBackgroundColoursByState) {
    // The box shows exactly what drawing its text by hand at the margin does.
    const auto differing = [&](COLORREF text, COLORREF back) {
        PixelBuffer want;
        EXPECT_TRUE(want.Allocate(100, 20));
        Canvas canvas(want);
        canvas.FillRect(RECT{0, 0, 100, 20}, back);
        canvas.SelectFont(Tahoma());
        canvas.SetBkMode(BkMode::TRANSPARENT);
        canvas.SetTextColor(text);
        canvas.TextOut(kMargin, 0, "Hg");
        const auto shot = Shot();
        int32_t differ = 0;
        for (int32_t y = 0; y < 20; ++y) {
            for (int32_t x = 0; x < 100; ++x) {
                differ += At(*shot, x, y) != canvas.GetPixel(x, y) ? 1 : 0;
            }
        }
        return differ;
    };
    Make(ES_AUTOHSCROLL, "Hg", 100, 20, false);
    EXPECT_EQ(differing(0x000000, 0xFFFFFF), 0);
    edit->SetReadOnly(true);
    EXPECT_EQ(differing(0x000000, 0xF0F0F0), 0) << "read-only shows the face colour";
    edit->SetReadOnly(false);
    EnableWindow(hwnd, false);
    EXPECT_EQ(differing(0x6D6D6D, 0xF0F0F0), 0) << "disabled text is gray";
    EnableWindow(hwnd, true);
    edit->SetColors(0x0000C0, 0x00FFFF);
    edit->SetReadOnly(true);
    EXPECT_EQ(differing(0x0000C0, 0x00FFFF), 0) << "own colours win";
    EnableWindow(hwnd, false);
    EXPECT_EQ(differing(0x6D6D6D, 0x00FFFF), 0);
}

// --- Stress ---------------------------------------------------------------------------

TEST_F(EditTest, RandomInputKeepsTheSelectionInsideTheText) {
    const char* const keys[] = {"Left",
                                "Right",
                                "Up",
                                "Down",
                                "Home",
                                "End",
                                "Back",
                                "Del",
                                "Ret",
                                "PgUp",
                                "PgDn",
                                "Ins",
                                "Ctrl+A",
                                "Ctrl+C",
                                "Ctrl+V",
                                "Ctrl+X",
                                "Ctrl+Z",
                                "Shift+Left",
                                "Ctrl+Shift+Right",
                                "Ctrl+Back",
                                "Shift+Del",
                                "Shift+End"};
    const char* const texts[] = {"'a'", "'é'", "' '", "'word '", "'\r'", "'€uro'", "'xx yy'"};
    const uint32_t styles[] = {ES_AUTOHSCROLL,
                               0,
                               ES_RIGHT | ES_AUTOHSCROLL,
                               ES_PASSWORD | ES_AUTOHSCROLL,
                               ES_MULTILINE,
                               ES_MULTILINE | ES_AUTOVSCROLL,
                               ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL,
                               ES_MULTILINE | ES_AUTOVSCROLL | ES_CENTER};
    for (const uint32_t style : styles) {
        std::mt19937 random(style);
        const auto pick = [&](int32_t n) { return static_cast<int32_t>(random() % n); };
        Make(style, "", 90, 40);
        edit->SetMaxLength(60);
        for (int step = 0; step < 600; ++step) {
            switch (pick(7)) {
                case 0:
                case 1:
                    Keys(keys[pick(std::size(keys))]);
                    break;
                case 2:
                    Keys(texts[pick(std::size(texts))]);
                    break;
                case 3:
                    ClickAt(pick(110) - 10, pick(60) - 10, pick(2));
                    break;
                case 4:
                    desktop.MouseMove(kLeft + pick(90), kTop + 5);
                    desktop.MouseDown();
                    desktop.MouseMove(kLeft + pick(200) - 50, kTop + pick(100) - 30);
                    desktop.AdvanceTime(pick(300));
                    desktop.MouseUp();
                    break;
                case 5:
                    SetClipboardText(texts[pick(std::size(texts))]);
                    desktop.AdvanceTime(pick(600));
                    break;
                default:
                    desktop.Wheel(pick(3) - 1);
                    break;
            }
            ASSERT_GE(edit->SelStart(), 0) << "style " << style << " step " << step;
            ASSERT_GE(edit->SelLength(), 0);
            ASSERT_LE(edit->SelStart() + edit->SelLength(), edit->TextLength());
            ASSERT_LE(edit->TextLength(), 60);
            ASSERT_EQ(GetWindowText(hwnd), edit->Text());
            const int32_t lines = edit->LineCount();
            for (int32_t i = 1; i < lines; ++i) {
                ASSERT_LT(edit->LineIndex(i - 1), edit->LineIndex(i));
            }
            ASSERT_EQ(edit->LineIndex(lines - 1) + edit->LineLength(lines - 1), edit->TextLength());
        }
    }
}

}  // namespace
}  // namespace kelvara
