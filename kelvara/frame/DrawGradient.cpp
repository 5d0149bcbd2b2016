#include "kelvara/frame/DrawGradient.h"

#include <cmath>

namespace kelvara {

namespace {

struct Channels {
    int32_t red, green, blue;
};

// Deliberate: only the low 24 bits are read, so a system colour is not
// translated (0x8000000F paints as 00000F). Callers translate first.
Channels Split(int32_t color) {
    const int32_t c = color & 0xFFFFFF;
    return {c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF};
}

uint32_t Pack(int32_t red, int32_t green, int32_t blue) {
    return static_cast<uint32_t>((red << 16) + (green << 8) + blue);
}

}  // namespace

std::vector<uint32_t> GradientPixels(int32_t Width, int32_t Height, int32_t ColorFrom,
                                     int32_t ColorTo, int32_t Direction) {
    if (Width < 1 || Height < 1) {
        return {};
    }
    const Channels from = Split(ColorFrom);
    const Channels to = Split(ColorTo);
    const int64_t n = Direction == 0   ? Width - 1
                      : Direction == 1 ? Height - 1
                                       : int64_t{Width} + Height - 2;
    std::vector<uint32_t> ramp(static_cast<size_t>(n + 1));
    if (n == 0) {
        // Each channel halved before the sum: two odd channels lose a step.
        ramp[0] = Pack(from.red / 2 + to.red / 2, from.green / 2 + to.green / 2,
                       from.blue / 2 + to.blue / 2);
    } else {
        const int64_t dRed = to.red - from.red;
        const int64_t dGreen = to.green - from.green;
        const int64_t dBlue = to.blue - from.blue;
        for (int64_t i = 0; i <= n; ++i) {
            ramp[static_cast<size_t>(i)] = Pack(static_cast<int32_t>(from.red + dRed * i / n),
                                                static_cast<int32_t>(from.green + dGreen * i / n),
                                                static_cast<int32_t>(from.blue + dBlue * i / n));
        }
    }

    std::vector<uint32_t> pixels(static_cast<size_t>(Width) * static_cast<size_t>(Height), 0);
    for (int32_t stored = 0; stored < Height; ++stored) {
        uint32_t* row = pixels.data() + static_cast<size_t>(stored) * static_cast<size_t>(Width);
        const int32_t screenRow = Height - 1 - stored;
        for (int32_t x = 0; x < Width; ++x) {
            switch (Direction) {
                case 0:
                    row[x] = ramp[static_cast<size_t>(x)];
                    break;
                case 1:
                    row[x] = ramp[static_cast<size_t>(screenRow)];
                    break;
                case 2:
                    row[x] = ramp[static_cast<size_t>(screenRow + x)];
                    break;
                case 3:
                    row[x] = ramp[static_cast<size_t>(stored + x)];
                    break;
                default:
                    break;  // Deliberate: any other direction paints black.
            }
        }
    }
    return pixels;
}

FaceBands FourColorBands(int32_t height) {
    // Deliberate: an odd height leaves the two bands one row short or one
    // over (25 → 12 + 12, 27 → 14 + 14); the artefact is one row.
    const auto half = static_cast<int32_t>(std::nearbyint(height / 2.0));
    return {half, half, half};
}

bool IsSolidFace(bool fourColors, int32_t c1, int32_t c2, int32_t c3, int32_t c4) {
    if (!fourColors) {
        return c1 == c2;
    }
    return int64_t{c1} + c2 + c3 + c4 == int64_t{4} * c1;
}

void DrawGradient(Canvas* hDC, int32_t X, int32_t Y, int32_t Width, int32_t Height,
                  int32_t ColorFrom, int32_t ColorTo, int32_t Direction) {
    if (hDC == nullptr) {
        return;
    }
    const std::vector<uint32_t> pixels =
        GradientPixels(Width, Height, ColorFrom, ColorTo, Direction);
    if (pixels.empty()) {
        return;
    }
    hDC->StretchDIBits(X, Y, Width, Height, 0, 0, Width, Height,
                       reinterpret_cast<const uint8_t*>(pixels.data()), Width, Height);
}

bool DrawFace(Canvas* hDC, int32_t Width, int32_t Height, ENUM_GRADIENT_COLORS Mode, int32_t c1,
              int32_t c2, int32_t c3, int32_t c4) {
    const bool four = Mode == ENUM_GRADIENT_COLORS::FourColors;
    if (IsSolidFace(four, c1, c2, c3, c4)) {
        return false;
    }
    if (!four) {
        DrawGradient(hDC, 0, 0, Width, Height, c1, c2, 1);
        return true;
    }
    const FaceBands bands = FourColorBands(Height);
    DrawGradient(hDC, 0, 0, Width, bands.upperHeight, c1, c2, 1);
    DrawGradient(hDC, 0, bands.lowerTop, Width, bands.lowerHeight, c3, c4, 1);
    return true;
}

void FillRectWithColor(Canvas* hDC, const RECT& Rect, int32_t Color) {
    if (hDC != nullptr) {
        hDC->FillRect(Rect, static_cast<COLORREF>(Color) & 0xFFFFFF);
    }
}

void GradientFillRect(Canvas* hDC, const RECT& Rect, int32_t ColorFrom, int32_t ColorTo,
                      bool Vertical) {
    if (hDC == nullptr) {
        return;
    }
    const auto vertex = [](int32_t x, int32_t y, int32_t color) {
        const Channels c = Split(color);
        return TRIVERTEX{x,
                         y,
                         static_cast<uint16_t>(c.red << 8),
                         static_cast<uint16_t>(c.green << 8),
                         static_cast<uint16_t>(c.blue << 8),
                         0};
    };
    const TRIVERTEX vertices[2] = {vertex(Rect.Left, Rect.Top, ColorFrom),
                                   vertex(Rect.Right, Rect.Bottom, ColorTo)};
    const GRADIENT_RECT band{0, 1};
    hDC->GradientFill(
        vertices, 2, &band, 1,
        Vertical ? GradientMode::GRADIENT_FILL_RECT_V : GradientMode::GRADIENT_FILL_RECT_H);
}

}  // namespace kelvara
