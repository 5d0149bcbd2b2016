#include "kelvara/host/DragDrop.h"

#include "kelvara/host/UserControl.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

int32_t DropData(DataObject& data, POINT screen, int32_t allowedEffects, int16_t button,
                 int16_t shift) {
    UserControl* target = UserControl::FromWindow(WindowFromPoint(screen));
    // A control that takes no drops passes them to the one it sits in.
    while (target != nullptr && target->OLEDropMode() != 1) {
        target = UserControl::FromWindow(GetParent(target->hWnd()));
    }
    if (target == nullptr) {
        return vbDropEffectNone;
    }
    const auto token = target->Token();
    POINT client = screen;
    ScreenToClient(target->hWnd(), client);
    int32_t effect = allowedEffects;
    target->DeliverDragOver(data, effect, button, shift, client, vbEnter);
    if (token.expired()) {
        return vbDropEffectNone;
    }
    effect = allowedEffects;
    target->DeliverDragOver(data, effect, button, shift, client, vbOver);
    if (token.expired() || (effect & allowedEffects) == 0) {
        if (!token.expired()) {
            int32_t none = vbDropEffectNone;
            target->DeliverDragOver(data, none, button, shift, client, vbLeave);
        }
        return vbDropEffectNone;
    }
    effect &= allowedEffects;
    target->DeliverDragDrop(data, effect, button, shift, client);
    return effect & allowedEffects;
}

}  // namespace kelvara
