#pragma once

// The gradient faces of the controls: a two-colour ramp across, down or
// along a diagonal, made as a block of 32-bit pixels (rows bottom-up, alpha
// 0) that is then put on the target as it stands.

#include <cstdint>
#include <vector>

#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/Canvas.h"

namespace kelvara {

// The pixels DrawGradient puts down, Width × Height, rows bottom-up, each
// 0x00RRGGBB with the alpha byte 0. Empty when a side is below 1.
// Direction: 0 left to right, 1 top to bottom, 2 top left to bottom right,
// 3 bottom left to top right; anything else paints black.
std::vector<uint32_t> GradientPixels(int32_t Width, int32_t Height, int32_t ColorFrom,
                                     int32_t ColorTo, int32_t Direction);

// The two bands of a four-colour face of height H: each of height H ÷ 2
// rounded half to even, the upper at 0 and the lower at that height.
struct FaceBands {
    int32_t upperHeight;
    int32_t lowerTop;
    int32_t lowerHeight;
};
FaceBands FourColorBands(int32_t height);

// Whether a face of these colours is drawn as one solid colour instead of a
// gradient. Deliberate: in four-colour mode the cheap sum test is kept, so
// colours whose sum happens to match count as solid.
bool IsSolidFace(bool fourColors, int32_t c1, int32_t c2, int32_t c3, int32_t c4);

// Puts GradientPixels on the canvas at (X, Y) as they stand, through
// StretchDIBits: the pixels keep their alpha byte of 0. Nothing for a side
// below 1 or a null canvas.
void DrawGradient(Canvas* hDC, int32_t X, int32_t Y, int32_t Width, int32_t Height,
                  int32_t ColorFrom, int32_t ColorTo, int32_t Direction);

// A control's gradient face of Width × Height from its top-left corner:
// Two Colors is one ramp from c1 at the top to c2 at the bottom; Four
// Colors is two such bands, c1 to c2 above and c3 to c4 below
// (FourColorBands). False, painting nothing, when the face is solid
// (IsSolidFace): the control then takes c1 as its back colour instead.
bool DrawFace(Canvas* hDC, int32_t Width, int32_t Height, ENUM_GRADIENT_COLORS Mode, int32_t c1,
              int32_t c2, int32_t c3, int32_t c4);

// A solid rectangle in a colour, in logical coordinates. Deliberate: the
// high byte is dropped as a solid brush does, so callers translate system
// colours first.
void FillRectWithColor(Canvas* hDC, const RECT& Rect, int32_t Color);

// A two-colour band across the rectangle by the canvas's GradientFill:
// vertical from top to bottom, else from left to right. Each colour's
// channel byte becomes the high byte of a 16-bit channel.
void GradientFillRect(Canvas* hDC, const RECT& Rect, int32_t ColorFrom, int32_t ColorTo,
                      bool Vertical);

}  // namespace kelvara
