#include "kelvara/gfx/StdFont.h"

#include <algorithm>
#include <cmath>

namespace kelvara {

int32_t StdFont::PixelHeight() const {
    // Sizes beyond any screen are capped so the conversion cannot overflow.
    const double points = std::clamp(size, 0.0, 4000.0);
    return -static_cast<int32_t>(std::lround(points * 96.0 / 72.0));
}

}  // namespace kelvara
