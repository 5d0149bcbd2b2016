#pragma once

// Dropping data on the desktop's windows: files from the system, or data
// dragged inside the program. A user control under the point with
// OLEDropMode 1 gets OLEDragOver (entering, then over) and OLEDragDrop; the
// effect its handlers leave is the answer.

#include <cstdint>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/host/DataObject.h"

namespace kelvara {

// At a screen point, with the mouse buttons and shift keys of the drop.
// vbDropEffectNone when nothing there takes drops.
int32_t DropData(DataObject& data, POINT screen, int32_t allowedEffects, int16_t button = 1,
                 int16_t shift = 0);

}  // namespace kelvara
