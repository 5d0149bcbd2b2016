#pragma once

// KV_TOOLTIP: tips for application code, one call each. ShowToolTip gives
// a control a balloon tip with a title and an icon that comes up when the
// mouse rests on the control, as the suite's own controls do.
//
// A tip belongs to its control's form, not to this object: it stays when
// the object goes and ends with the form, or with DestroyToolTip /
// DestroyToolTipByhWnd. A second ShowToolTip for the same control replaces
// the tip this object made for it before.

#include <cstdint>
#include <map>
#include <string>

#include "kelvara/host/WindowCore.h"

namespace kelvara {

enum class iIconType : int32_t {
    TTNoIcon = 0,
    TTIconInfo = 1,
    TTIconWarning = 2,
    TTIconError = 3,
};

class KV_TOOLTIP {
public:
    static constexpr int32_t kDefaultBackColor = 0xE1FFFF;  // 14811135, the classic tip fill
    static constexpr int32_t kDefaultTextColor = 0;

    // Gives the control (a window) a tip: title in bold beside the icon,
    // the message below; centred under the control with Centralizado.
    // Colours are the host's 0x00BBGGRR or system colours. Nothing happens
    // for a control that is not a window.
    void ShowToolTip(const std::string& Titulo, const std::string& Mensagem, HWND Controle,
                     iIconType Tipo = iIconType::TTNoIcon, bool Centralizado = false,
                     int32_t CorFundo = kDefaultBackColor, int32_t CorTexto = kDefaultTextColor);
    // The last tip made, 0 for none (or once it has been destroyed).
    HWND ToolhWnd() const;
    // Ends the last tip made.
    void DestroyToolTip();
    // Ends a tip by its window; a window that is no tip is left alone.
    void DestroyToolTipByhWnd(HWND ThWnd);

private:
    HWND last = 0;
    // The tip made for each control.
    std::map<HWND, HWND> byControl;
    const WindowCore* core = nullptr;
};

}  // namespace kelvara
