#pragma once

// The edit control's working state, shared by the three files that make
// the control:
//   EditControl.cpp  the window procedure and the public calls
//   EditInput.cpp    changes, commands, keyboard and mouse
//   EditView.cpp     layout, scrolling and painting

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/FontEngine.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/EditControl.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/host/detail/EditLayout.h"
#include "kelvara/host/detail/EditText.h"

namespace kelvara {

namespace detail {

inline constexpr uint32_t kCaretBlinkTime = 530;
inline constexpr uintptr_t kBlinkTimer = 0x4B01;
inline constexpr uintptr_t kDragTimer = 0x4B02;
inline constexpr uint32_t kDragScrollInterval = 100;
inline constexpr int32_t kDefaultMargin = 2;
inline constexpr int64_t kDefaultLimit = 32767;
inline constexpr int64_t kNoLimit = 0x7FFFFFFE;
inline constexpr int32_t kTabStopChars = 8;
inline constexpr int32_t kWheelLines = 3;
inline constexpr char32_t kDefaultPasswordChar = U'*';

inline constexpr COLORREF kWindowColor = 0xFFFFFF;
inline constexpr COLORREF kWindowTextColor = 0x000000;
inline constexpr COLORREF kFaceColor = 0xF0F0F0;
inline constexpr COLORREF kGrayTextColor = 0x6D6D6D;
inline constexpr COLORREF kHighlightColor = 0xD77800;
inline constexpr COLORREF kHighlightTextColor = 0xFFFFFF;

// Tahoma 8 point, at 96 dots per inch.
inline FontRequest DefaultEditFont() {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = -11;
    return font;
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

}  // namespace detail

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
    std::vector<detail::EditLine> lines;
    bool layoutValid = false;
    uint32_t layoutStyle = 0;
    int32_t layoutWidth = -1;
    int32_t widest = 0;

    FontRequest font = detail::DefaultEditFont();
    bool ownColors = false;
    COLORREF fore = detail::kWindowTextColor;
    COLORREF back = detail::kWindowColor;
    int32_t leftMargin = detail::kDefaultMargin;
    int32_t rightMargin = detail::kDefaultMargin;
    int64_t limit = detail::kDefaultLimit;
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
    detail::FontMeasurer Measurer() const {
        return detail::FontMeasurer(FontEngine::ForThread(), OpenFont());
    }
    int32_t LineHeight() const { return Measurer().LineHeight(); }
    RECT Client() const {
        RECT r;
        GetClientRect(hwnd, r);
        return r;
    }
    int32_t Avail() const { return std::max(0, Client().Width() - leftMargin - rightMargin); }
    int32_t VisibleLines() const { return std::max(1, Client().Height() / LineHeight()); }

    // --- Layout (EditView.cpp) -----------------------------------------------
    std::u32string Display(std::u32string_view source) const;
    std::vector<detail::EditLine> LayOut(std::u32string_view source) const;
    void Layout();
    void Relayout() { layoutValid = false; }

    int32_t LineOf(int32_t pos);
    // The line the caret shows on.
    int32_t CaretLine();
    // Where a line's left end sits among the text pixels (before scrolling).
    int32_t AlignOffset(const detail::EditLine& line) const;
    int32_t LineLeft(int32_t line) { return leftMargin - scrollX + AlignOffset(lines[line]); }
    int32_t LineTop(int32_t line) const;
    int32_t OffsetOn(int32_t line, int32_t pos) const;
    RECT CaretRect();
    struct Hit {
        int32_t pos = 0;
        bool atLineEnd = false;
    };
    Hit OnLine(int32_t line, int32_t x);
    int32_t LineAt(int32_t y);
    Hit At(int32_t x, int32_t y) { return OnLine(LineAt(y), x); }

    // --- Scrolling (EditView.cpp) --------------------------------------------
    void SetScroll(int32_t x, int32_t top);
    void ScrollToCaret();

    // --- Changes (EditInput.cpp) ---------------------------------------------
    void Invalidate() { InvalidateRect(hwnd, nullptr, true); }
    void ResetBlink();
    void CaretMoved();
    void Select(int32_t anchor, int32_t caret, bool atLineEnd = false);
    void MoveTo(int32_t pos, bool extend, bool atLineEnd = false);
    // After any change of the text: what depends on it follows.
    void Changed();

    // Whether text would still fit a box that does not scroll that way.
    bool Fits(std::u32string_view candidate) const;

    // Replaces [start, end) with insert, cut to the limit and to what fits;
    // EN_MAXTEXT when it was cut. False when nothing changed.
    bool Edit(int32_t start, int32_t end, std::u32string insert, detail::EditKind kind);
    bool ReplaceSelection(std::u32string insert, detail::EditKind kind);

    // Sends what is waiting, in order; false when the control is gone.
    bool SendNotices();
    bool Notify(uint16_t code);

    // --- Commands (EditInput.cpp) --------------------------------------------
    void SetText(std::u32string value);
    void Copy();
    void Cut();
    void Paste();
    void Clear();
    bool Undo();

    // --- Keyboard (EditInput.cpp) --------------------------------------------
    int32_t CharLeft(int32_t pos) const;
    int32_t CharRight(int32_t pos) const;
    int32_t WordLeft(int32_t pos) const;
    int32_t WordRight(int32_t pos) const;
    void Vertical(int32_t delta, bool extend, bool page);
    void OnKeyDown(int32_t vk);
    void Backspace(bool word);
    void OnChar(char32_t c);

    // --- Mouse (EditInput.cpp) -----------------------------------------------
    // Takes the focus as a click does; false when the control went away.
    bool TakeFocus();
    void OnButtonDown(int32_t x, int32_t y, bool shift);
    void OnDoubleClick(int32_t x, int32_t y);
    bool Inside(POINT p) const;
    void OnDrag(POINT p);
    // One step of selecting beyond the edge: a character sideways, a line
    // up or down, scrolling to keep the caret in view.
    void DragStep();
    void EndDrag();

    // --- Painting (EditView.cpp) ---------------------------------------------
    COLORREF BackColor() const;
    // Draws display[from, to) of a line whose left end is at x, each run
    // between tabs at its own offset.
    void DrawRun(Canvas& dc, std::u32string_view display, int32_t line, int32_t from, int32_t to,
                 int32_t x, int32_t y);
    void Paint();

    // --- Messages (EditControl.cpp) ------------------------------------------
    LRESULT Proc(HWND h, uint32_t msg, WPARAM wParam, LPARAM lParam);
    LRESULT LineMessage(uint32_t msg, WPARAM wParam, LPARAM lParam);
};

}  // namespace kelvara
