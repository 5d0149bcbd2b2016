#pragma once

// What every Kelvara control does the same way, kept once:
//
//   RedrawGate     Redraw batching and the repaint test: while Redraw is
//                  False nothing paints; turning it True again repaints once.
//                  A repaint of the state painted last (-1) with the same
//                  focus flag is skipped unless forced.
//   PaintOffscreen AutoRedraw on, clear, paint every layer, AutoRedraw off:
//                  the finished picture shows at once, never a half-drawn one.
//   EnforceMinimumSize  the Resize rule of controls with a least size.
//   Font attributes     FontBold ... change the font, announce their own key
//                  (the font itself persists only under "Font") and refresh.
//   ApplyHandPointer    a running control with HandPointer shows the hand.
//   DefaultTheme   the theme message boxes use, 7 until changed.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/host/UserControl.h"

namespace kelvara {

class RedrawGate {
public:
    bool Redraw() const { return redraw; }
    // Stores the value; true when the caller must Refresh now (it was
    // False and is True). Setting True when it is True gives false.
    bool SetRedraw(bool value) {
        const bool wasOff = !redraw;
        redraw = value;
        return wasOff && value;
    }

    // Whether to paint `state` (-1: the state painted last) with the given
    // focus flag now. When it answers true it has taken state and focus as
    // the last painted, and `state` holds the resolved value.
    bool ShouldPaint(int32_t& state, bool hasFocus, bool force) {
        if (!redraw) {
            return false;
        }
        if (state == -1) {
            state = lastState;
        }
        if (!force && state == lastState && hasFocus == lastFocus) {
            return false;
        }
        lastState = state;
        lastFocus = hasFocus;
        return true;
    }
    int32_t LastState() const { return lastState; }

private:
    bool redraw = true;
    int32_t lastState = 0;
    bool lastFocus = false;
};

// The control's persistent image is cleared and painted by `paint`, and
// shows when it is done.
void PaintOffscreen(UserControl& control, const std::function<void()>& paint);

// If the control is smaller than the least size (pixels; 0 for no limit
// that way), it is made that size through its twips Width and Height —
// which raises Resize again — and true is returned: the caller's Resize
// ends there.
bool EnforceMinimumSize(UserControl& control, int32_t minWidth, int32_t minHeight);

// A font attribute changed through the control: the font changes, the key
// is announced ("FontBold", "FontItalic", "FontSize", "FontStrikethru",
// "FontUnderline") and `refresh` runs.
enum class FontAttribute { Bold, Italic, Size, Strikethrough, Underline };
void SetFontAttribute(UserControl& control, FontAttribute attribute, double value,
                      const std::function<void()>& refresh);

// The font members every control offers, once: SetFont stores, announces
// "Font" and refreshes; the five attributes change the font, announce their
// own key and refresh. Owner is the control (a UserControl with a public
// Refresh); it brings in SetFont with `using FontMembers<Owner>::SetFont;`.
template <typename Owner>
class FontMembers {
public:
    void SetFont(const StdFont& value) {
        Owner& owner = Self();
        owner.UserControl::SetFont(value);
        owner.PropertyChanged("Font");
        owner.Refresh();
    }
    bool FontBold() const { return CurrentFont().Bold(); }
    void SetFontBold(bool value) { Set(FontAttribute::Bold, value ? 1 : 0); }
    bool FontItalic() const { return CurrentFont().Italic(); }
    void SetFontItalic(bool value) { Set(FontAttribute::Italic, value ? 1 : 0); }
    double FontSize() const { return CurrentFont().Size(); }
    void SetFontSize(double value) { Set(FontAttribute::Size, value); }
    bool FontStrikeThru() const { return CurrentFont().Strikethrough(); }
    void SetFontStrikeThru(bool value) { Set(FontAttribute::Strikethrough, value ? 1 : 0); }
    bool FontUnderline() const { return CurrentFont().Underline(); }
    void SetFontUnderline(bool value) { Set(FontAttribute::Underline, value ? 1 : 0); }

private:
    Owner& Self() { return static_cast<Owner&>(*this); }
    const StdFont& CurrentFont() const {
        return static_cast<const Owner&>(*this).UserControl::Font();
    }
    void Set(FontAttribute attribute, double value) {
        Owner& owner = Self();
        SetFontAttribute(owner, attribute, value, [&owner] { owner.Refresh(); });
    }
};

// The hand cursor picture (32 × 32, premultiplied), made once.
std::shared_ptr<const PixelBuffer> HandCursor();
// With HandPointer in a running control: MousePointer 99 and the hand
// cursor as MouseIcon.
void ApplyHandPointer(UserControl& control, bool userMode, bool handPointer);

// The access key of a caption, lower case, or "" for none: the search runs
// backwards from the last but one character; a single "&" gives the next
// character, and "&&" is a literal pair the search steps over (so a run of
// ampersands is paired off from its end: "a&&&b" gives "&"). Captions
// shorter than two characters have none.
std::string GetAccessKey(std::string_view caption);

// Whether every control around this one is enabled: a disabled container
// disables what it holds, in look as in input.
bool ContainersEnabled(const Control& control);

// The theme the message boxes apply; 7 (Windows Theme Light) at start.
ENUM_THEME DefaultTheme();
void SetDefaultTheme(ENUM_THEME theme);

}  // namespace kelvara
