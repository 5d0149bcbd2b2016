#pragma once

// The gradient faces of the controls: a two-colour ramp across, down or
// along a diagonal, made as a block of 32-bit pixels (rows bottom-up, alpha
// 0) that is then put on the target as it stands.

#include <cstdint>
#include <vector>

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

}  // namespace kelvara
