#pragma once

// TextBox: the host's text box, an edit control (EditControl.h) in a frame
// that draws its sunken border. Its window (hWnd) is the edit control;
// keys reach the program first (KeyDown, KeyPress, KeyUp, each of which may
// change or eat the key), then the edit box; Change follows every change
// of the text.

#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/base/Event.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Control.h"
#include "kelvara/host/Intrinsics.h"

namespace kelvara {

class EditControl;

class TextBox : public Control, public MouseEvents, public KeyEvents {
public:
    TextBox();
    ~TextBox() override;

    HWND hWnd() const override { return edit; }

    std::string Text() const;
    void SetText(std::string_view value);
    int32_t SelStart() const;
    void SetSelStart(int32_t value);
    int32_t SelLength() const;
    void SetSelLength(int32_t value);
    std::string SelText() const;
    void SetSelText(std::string_view value);
    // 0 for no limit.
    int32_t MaxLength() const { return maxLength; }
    void SetMaxLength(int32_t value);
    // One character shown for each typed one; empty shows the text.
    const std::string& PasswordChar() const { return passwordChar; }
    void SetPasswordChar(std::string_view value);
    bool Locked() const { return locked; }
    void SetLocked(bool value);
    // 0 left, 1 right, 2 centre, as the host numbers them.
    int16_t Alignment() const { return alignment; }
    void SetAlignment(int16_t value);
    // Set before the control is sited (a stored property at run time).
    bool MultiLine() const { return multiLine; }
    void SetMultiLine(bool value);
    // 0 none, 1 horizontal, 2 vertical, 3 both: kept for the form file; a
    // multi-line box without horizontal bars wraps its lines.
    int16_t ScrollBars() const { return scrollBars; }
    void SetScrollBars(int16_t value);
    OLE_COLOR BackColor() const { return backColor; }
    void SetBackColor(OLE_COLOR value);
    OLE_COLOR ForeColor() const { return foreColor; }
    void SetForeColor(OLE_COLOR value);
    const StdFont& Font() const { return font; }
    void SetFont(const StdFont& value);
    // 0 none, 1 a sunken border of two pixels.
    int16_t BorderStyle() const { return borderStyle; }
    void SetBorderStyle(int16_t value);
    bool HideSelection() const { return hideSelection; }
    void SetHideSelection(bool value);
    // The edit control inside, for what the text box does not pass on.
    EditControl* Edit() const;

    Event<> Change;
    Event<> GotFocus;
    Event<> LostFocus;

    bool WantsKey(int32_t vk) const override;
    bool OwnsWindow(HWND hwnd) const override;

protected:
    void OnSited() override;
    void OnInitNew() override;
    void OnLoad(const PropertyBag& bag) override;
    void OnSave(PropertyBag& bag) const override;
    void OnReady() override;
    void OnEnabledChanged() override;
    void OnTerminate() override;

private:
    void MakeEdit(std::string text);
    void ApplyLooks();
    LRESULT FrameProc(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam);
    LRESULT EditHook(HWND hwnd, uint32_t msg, WPARAM wParam, LPARAM lParam, bool& handled);
    RECT Inner() const;

    HWND edit = 0;
    std::string pendingText;
    int32_t maxLength = 0;
    std::string passwordChar;
    bool locked = false;
    int16_t alignment = 0;
    bool multiLine = false;
    int16_t scrollBars = 0;
    OLE_COLOR backColor = 0x80000005;
    OLE_COLOR foreColor = 0x80000008;
    StdFont font = DefaultFont();
    int16_t borderStyle = 1;
    bool hideSelection = true;
};

}  // namespace kelvara
