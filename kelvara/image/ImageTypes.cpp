#include "kelvara/image/ImageTypes.h"

namespace kelvara {

std::array<float, 3> GrayScaleWeights(ENUM_GRAY_SCALE_FORMULAS formula) {
    using enum ENUM_GRAY_SCALE_FORMULAS;
    switch (formula) {
        case GrayScaleNone:
            return {1.0f, 1.0f, 1.0f};
        case GrayScaleCCIR709:
            return {0.213f, 0.715f, 0.072f};
        case GrayScaleSimpleAvg:
            return {0.333f, 0.334f, 0.333f};
        case GrayScaleRedMask:
            return {0.8f, 0.1f, 0.1f};
        case GrayScaleGreenMask:
            return {0.1f, 0.8f, 0.1f};
        case GrayScaleBlueMask:
            return {0.1f, 0.1f, 0.8f};
        case GrayScaleRedGreenMask:
            return {0.45f, 0.45f, 0.1f};
        case GrayScaleBlueGreenMask:
            return {0.1f, 0.45f, 0.45f};
        case GrayScaleNTSCPAL:
        default:
            return {0.299f, 0.587f, 0.114f};
    }
}

}  // namespace kelvara
