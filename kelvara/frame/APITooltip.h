#pragma once

// Tooltips: small windows of our own class "tooltips_class32" that answer
// the host's tooltip messages (TTM_), and APITooltip, the per-control
// settings that make one.
//
//   APITooltip::Create → tip window (detail/TooltipWindow) → TTM_ADDTOOL ...
//   tool window's mouse messages (hook) → delay timer → show below the
//   cursor → hide after the visible time, on leaving, on a button press
//
// A tip is a top-level window owned by its tool's form, so it goes with
// the form; it never takes the mouse or the focus.

#include <cstdint>
#include <string>
#include <utility>

#include "kelvara/host/WindowCore.h"

namespace kelvara {

enum class ENUM_TOOLTIP_STYLE : int32_t {
    ToolTipStandard = 0,
    ToolTipBalloon = 1,
};

enum class ENUM_TOOLTIP_ICON : int32_t {
    ToolTipNoIcon = 0,
    ToolTipIconInfo = 1,
    ToolTipIconWarning = 2,
    ToolTipIconError = 3,
};

// --- The tooltip window's messages, styles and records ------------------------

inline constexpr uint32_t TTM_ACTIVATE = WM_USER + 1;        // wParam: on
inline constexpr uint32_t TTM_SETDELAYTIME = WM_USER + 3;    // wParam TTDT_, lParam ms
inline constexpr uint32_t TTM_ADDTOOL = WM_USER + 4;         // lParam TOOLINFO*
inline constexpr uint32_t TTM_DELTOOL = WM_USER + 5;         // lParam TOOLINFO* (hwnd, uId)
inline constexpr uint32_t TTM_UPDATETIPTEXT = WM_USER + 12;  // lParam TOOLINFO*
inline constexpr uint32_t TTM_GETTOOLCOUNT = WM_USER + 13;
inline constexpr uint32_t TTM_SETTIPBKCOLOR = WM_USER + 19;    // wParam colour
inline constexpr uint32_t TTM_SETTIPTEXTCOLOR = WM_USER + 20;  // wParam colour
inline constexpr uint32_t TTM_GETDELAYTIME = WM_USER + 21;     // wParam TTDT_
inline constexpr uint32_t TTM_GETTIPBKCOLOR = WM_USER + 22;
inline constexpr uint32_t TTM_GETTIPTEXTCOLOR = WM_USER + 23;
inline constexpr uint32_t TTM_SETMAXTIPWIDTH = WM_USER + 24;  // lParam pixels, -1 none
inline constexpr uint32_t TTM_POP = WM_USER + 28;
inline constexpr uint32_t TTM_SETTITLE = WM_USER + 32;  // wParam TTI_, lParam const char*

// Window styles.
inline constexpr uint32_t TTS_ALWAYSTIP = 0x01;  // also while the form is inactive
inline constexpr uint32_t TTS_NOPREFIX = 0x02;   // "&" is shown, not an access key mark
inline constexpr uint32_t TTS_BALLOON = 0x40;

// Tool flags.
inline constexpr uint32_t TTF_IDISHWND = 0x0001;   // uId is the tool's window, all of it
inline constexpr uint32_t TTF_CENTERTIP = 0x0002;  // centred under the tool
inline constexpr uint32_t TTF_SUBCLASS = 0x0010;   // the tip watches the tool's mouse

// TTM_SETDELAYTIME / TTM_GETDELAYTIME.
inline constexpr WPARAM TTDT_AUTOMATIC = 0;  // sets the other three from one time
inline constexpr WPARAM TTDT_RESHOW = 1;
inline constexpr WPARAM TTDT_AUTOPOP = 2;  // how long a tip stays
inline constexpr WPARAM TTDT_INITIAL = 3;  // how long the mouse rests before it shows

// TTM_SETTITLE icons.
inline constexpr WPARAM TTI_NONE = 0;
inline constexpr WPARAM TTI_INFO = 1;
inline constexpr WPARAM TTI_WARNING = 2;
inline constexpr WPARAM TTI_ERROR = 3;

// The host's tool record. cbSize keeps the host's 44 bytes of its first
// layout, which callers put there; a smaller size is refused. Text is UTF-8
// and is copied by the tip.
inline constexpr uint32_t kToolInfoSize = 44;
struct TOOLINFO {
    uint32_t cbSize = kToolInfoSize;
    uint32_t uFlags = 0;
    HWND hwnd = 0;
    uintptr_t uId = 0;
    RECT rect;  // the tool in hwnd's client pixels, without TTF_IDISHWND
    uintptr_t hinst = 0;
    const char* lpszText = nullptr;
};

// --- APITooltip -----------------------------------------------------------------

class APITooltip {
public:
    APITooltip() = default;
    // The tip window goes with the object.
    ~APITooltip();
    APITooltip(const APITooltip&) = delete;
    APITooltip& operator=(const APITooltip&) = delete;

    // Makes the tip for the window: any tip made before goes first. False,
    // with no tip, for a parent that is not a window.
    bool Create(int32_t ParentHandle);
    // Ends the tip, if any.
    void Destroy();
    // The tip window, 0 for none.
    HWND hWnd() const { return tip; }
    HWND ParentHandle() const { return parent; }
    // The tool record last sent.
    const TOOLINFO& ToolInfo() const { return tool; }

    // Settings. Each is used by the next Create; Title, Icon, ForeColor and
    // BackColor also reach a living tip at once.
    ENUM_TOOLTIP_STYLE Style() const { return style; }
    void SetStyle(ENUM_TOOLTIP_STYLE value) { style = value; }
    bool Centered() const { return centered; }
    void SetCentered(bool value) { centered = value; }
    ENUM_TOOLTIP_ICON Icon() const { return icon; }
    void SetIcon(ENUM_TOOLTIP_ICON value);
    int32_t ForeColor() const { return foreColor; }
    void SetForeColor(int32_t value);
    int32_t BackColor() const { return backColor; }
    void SetBackColor(int32_t value);
    const std::string& Title() const { return title; }
    void SetTitle(std::string value);
    const std::string& TipText() const { return tipText; }
    void SetTipText(std::string value) { tipText = std::move(value); }
    int32_t VisibleTime() const { return visibleTime; }
    void SetVisibleTime(int32_t value) { visibleTime = value; }
    int32_t DelayTime() const { return delayTime; }
    void SetDelayTime(int32_t value) { delayTime = value; }

    // The colours a tip has when none is given: the system's tooltip text
    // and fill, as system colours.
    static constexpr int32_t kInfoText = static_cast<int32_t>(0x80000017);
    static constexpr int32_t kInfoBackground = static_cast<int32_t>(0x80000018);

private:
    void SendTitle();
    // The tip made by the last Create still stands.
    bool Living() const;

    ENUM_TOOLTIP_STYLE style = ENUM_TOOLTIP_STYLE::ToolTipStandard;
    bool centered = false;
    ENUM_TOOLTIP_ICON icon = ENUM_TOOLTIP_ICON::ToolTipNoIcon;
    int32_t foreColor = kInfoText;
    int32_t backColor = kInfoBackground;
    std::string title;
    std::string tipText;
    int32_t visibleTime = 5000;
    int32_t delayTime = 500;
    HWND tip = 0;
    HWND parent = 0;
    TOOLINFO tool;
    // The core the tip was made in, so a tip of a core that has gone is
    // never mistaken for a window of a newer one.
    const WindowCore* core = nullptr;
};

}  // namespace kelvara
