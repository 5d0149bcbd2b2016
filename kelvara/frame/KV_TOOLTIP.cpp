#include "kelvara/frame/KV_TOOLTIP.h"

#include "kelvara/frame/APITooltip.h"
#include "kelvara/frame/detail/TooltipWindow.h"

namespace kelvara {

namespace {

// The tips use the timing of the suite's controls.
constexpr int32_t kVisibleTime = 5000;
constexpr int32_t kDelayTime = 500;

}  // namespace

void KV_TOOLTIP::ShowToolTip(const std::string& Titulo, const std::string& Mensagem, HWND Controle,
                             iIconType Tipo, bool Centralizado, int32_t CorFundo,
                             int32_t CorTexto) {
    if (!IsWindow(Controle)) {
        return;
    }
    if (core != &WindowCore::Current()) {
        // Handles of another window core mean nothing here.
        byControl.clear();
        last = 0;
        core = &WindowCore::Current();
    }
    if (auto it = byControl.find(Controle); it != byControl.end()) {
        DestroyToolTipByhWnd(it->second);
    }
    const HWND tip =
        detail::CreateTooltipWindow(TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON, Controle);
    if (tip == 0) {
        return;
    }
    TOOLINFO tool;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS | (Centralizado ? TTF_CENTERTIP : 0);
    tool.hwnd = Controle;
    tool.uId = static_cast<uintptr_t>(Controle);
    tool.lpszText = Mensagem.c_str();
    SendMessage(tip, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&tool));
    if (!Titulo.empty() || Tipo != iIconType::TTNoIcon) {
        SendMessage(tip, TTM_SETTITLE, static_cast<WPARAM>(Tipo),
                    reinterpret_cast<LPARAM>(Titulo.c_str()));
    }
    SendMessage(tip, TTM_SETTIPTEXTCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(CorTexto)), 0);
    SendMessage(tip, TTM_SETTIPBKCOLOR, static_cast<WPARAM>(static_cast<uint32_t>(CorFundo)), 0);
    SendMessage(tip, TTM_SETDELAYTIME, TTDT_AUTOPOP, kVisibleTime);
    SendMessage(tip, TTM_SETDELAYTIME, TTDT_INITIAL, kDelayTime);
    byControl[Controle] = tip;
    last = tip;
}

HWND KV_TOOLTIP::ToolhWnd() const {
    return core == &WindowCore::Current() && detail::IsTooltipWindow(last) ? last : 0;
}

void KV_TOOLTIP::DestroyToolTip() {
    DestroyToolTipByhWnd(ToolhWnd());
}

void KV_TOOLTIP::DestroyToolTipByhWnd(HWND ThWnd) {
    if (ThWnd == 0 || !detail::IsTooltipWindow(ThWnd)) {
        return;
    }
    DestroyWindow(ThWnd);
    std::erase_if(byControl, [&](const auto& entry) { return entry.second == ThWnd; });
    if (last == ThWnd) {
        last = 0;
    }
}

}  // namespace kelvara
