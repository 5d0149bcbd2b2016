#include "kelvara/frame/APITooltip.h"

#include "kelvara/frame/detail/TooltipWindow.h"

namespace kelvara {

namespace {

constexpr uint32_t kBaseStyle = TTS_ALWAYSTIP | TTS_NOPREFIX;

}  // namespace

APITooltip::~APITooltip() {
    Destroy();
}

bool APITooltip::Create(int32_t ParentHandle) {
    Destroy();
    parent = ParentHandle;
    // A tip serves a window; without one there is nothing to make.
    if (!IsWindow(parent)) {
        return false;
    }
    const uint32_t windowStyle =
        kBaseStyle | (style == ENUM_TOOLTIP_STYLE::ToolTipBalloon ? TTS_BALLOON : 0);
    tip = detail::CreateTooltipWindow(windowStyle, parent);
    if (tip == 0) {
        return false;
    }
    core = &WindowCore::Current();
    tool = TOOLINFO{};
    tool.cbSize = kToolInfoSize;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS | (centered ? TTF_CENTERTIP : 0);
    tool.hwnd = parent;
    tool.uId = static_cast<uintptr_t>(parent);
    tool.lpszText = tipText.c_str();
    // Deliberate: this order, with the title only when there is one.
    SendMessage(tip, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&tool));
    if (!title.empty() || icon != ENUM_TOOLTIP_ICON::ToolTipNoIcon) {
        SendTitle();
    }
    SendMessage(tip, TTM_SETTIPTEXTCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(foreColor)), 0);
    SendMessage(tip, TTM_SETTIPBKCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(backColor)), 0);
    SendMessage(tip, TTM_SETDELAYTIME, TTDT_AUTOPOP, visibleTime);
    SendMessage(tip, TTM_SETDELAYTIME, TTDT_INITIAL, delayTime);
    // The tip keeps its own copy of the text.
    tool.lpszText = nullptr;
    return true;
}

void APITooltip::Destroy() {
    if (Living()) {
        DestroyWindow(tip);
    }
    tip = 0;
    core = nullptr;
}

bool APITooltip::Living() const {
    return tip != 0 && core == &WindowCore::Current() && detail::IsTooltipWindow(tip);
}

void APITooltip::SendTitle() {
    SendMessage(tip, TTM_SETTITLE, static_cast<WPARAM>(icon),
                reinterpret_cast<LPARAM>(title.c_str()));
}

void APITooltip::SetIcon(ENUM_TOOLTIP_ICON value) {
    icon = value;
    if (Living()) {
        SendTitle();
    }
}

void APITooltip::SetTitle(std::string value) {
    title = std::move(value);
    if (Living()) {
        SendTitle();
    }
}

void APITooltip::SetForeColor(int32_t value) {
    foreColor = value;
    if (Living()) {
        SendMessage(tip, TTM_SETTIPTEXTCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(value)), 0);
    }
}

void APITooltip::SetBackColor(int32_t value) {
    backColor = value;
    if (Living()) {
        SendMessage(tip, TTM_SETTIPBKCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(value)), 0);
    }
}

}  // namespace kelvara
