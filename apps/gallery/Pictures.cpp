#include "Pictures.h"

#include <cmath>
#include <cstdlib>

namespace kelvara::gallery {
namespace {

// Colours as 0xRRGGBB, written opaque.
void Put(PixelBuffer& p, int32_t x, int32_t y, uint32_t rgb) {
    if (x < 0 || y < 0 || x >= p.Width() || y >= p.Height()) {
        return;
    }
    uint8_t* px = p.Pixel(x, y);
    px[0] = static_cast<uint8_t>(rgb);
    px[1] = static_cast<uint8_t>(rgb >> 8);
    px[2] = static_cast<uint8_t>(rgb >> 16);
    px[3] = 255;
}

void Fill(PixelBuffer& p, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t rgb) {
    for (int32_t y = y0; y < y1; ++y) {
        for (int32_t x = x0; x < x1; ++x) {
            Put(p, x, y, rgb);
        }
    }
}

std::shared_ptr<PixelBuffer> Blank(int32_t size) {
    auto p = std::make_shared<PixelBuffer>();
    if (size < 8 || size > 256 || !p->Allocate(size, size, RowOrder::TopDown)) {
        size = 16;
        p->Allocate(size, size, RowOrder::TopDown);
    }
    // Allocate leaves the pixels zero: transparent, premultiplied.
    return p;
}

// A disc with a ring, then a mark drawn by `inside` on it.
template <typename Mark>
std::shared_ptr<const PixelBuffer> Badge(int32_t size, uint32_t ring, Mark mark) {
    auto p = Blank(size);
    const int32_t n = p->Width();
    const double c = (n - 1) / 2.0;
    const double outer = n / 2.0;
    const double inner = outer - std::max(1.0, n / 12.0);
    for (int32_t y = 0; y < n; ++y) {
        for (int32_t x = 0; x < n; ++x) {
            const double d = std::hypot(x - c, y - c);
            if (d <= inner) {
                Put(*p, x, y, 0xFFFFFF);
            } else if (d <= outer) {
                Put(*p, x, y, ring);
            }
        }
    }
    mark(*p, n);
    return p;
}

// A thick line of `width` pixels from (ax, ay) to (bx, by), in fractions
// of the picture.
void Stroke(PixelBuffer& p, int32_t n, double ax, double ay, double bx, double by, double width,
            uint32_t rgb) {
    const double x0 = ax * n, y0 = ay * n, x1 = bx * n, y1 = by * n;
    const double dx = x1 - x0, dy = y1 - y0;
    const double length2 = dx * dx + dy * dy;
    for (int32_t y = 0; y < n; ++y) {
        for (int32_t x = 0; x < n; ++x) {
            const double px = x + 0.5, py = y + 0.5;
            double t = ((px - x0) * dx + (py - y0) * dy) / length2;
            t = t < 0 ? 0 : t > 1 ? 1 : t;
            if (std::hypot(px - (x0 + t * dx), py - (y0 + t * dy)) <= width / 2) {
                Put(p, x, y, rgb);
            }
        }
    }
}

}  // namespace

std::shared_ptr<const PixelBuffer> FloppyPicture(int32_t size) {
    auto p = Blank(size);
    const int32_t n = p->Width();
    const int32_t edge = std::max(1, n / 16);
    Fill(*p, 0, 0, n, n, 0x1F4E9A);                         // outline
    Fill(*p, edge, edge, n - edge, n - edge, 0x3B78D8);     // body
    Fill(*p, n / 4, edge, n * 3 / 4, n * 3 / 8, 0xC8CED6);  // shutter
    Fill(*p, n * 9 / 16, edge + 1, n * 11 / 16, n * 5 / 16, 0x1F4E9A);
    Fill(*p, n / 6, n / 2, n * 5 / 6, n - edge, 0xFFFFFF);  // label
    for (int32_t y = n * 5 / 8; y < n - 2 * edge; y += std::max(2, n / 8)) {
        Fill(*p, n / 4, y, n * 3 / 4, y + 1, 0x9AA7B8);  // lines on the label
    }
    // The cut corner at the top right.
    for (int32_t i = 0; i < n / 8; ++i) {
        for (int32_t x = n - n / 8 + i; x < n; ++x) {
            uint8_t* px = p->Pixel(x, i);
            px[0] = px[1] = px[2] = px[3] = 0;
        }
    }
    return p;
}

std::shared_ptr<const PixelBuffer> TickPicture(int32_t size) {
    return Badge(size, 0x2E8B3A, [](PixelBuffer& p, int32_t n) {
        const double w = std::max(2.0, n / 7.0);
        Stroke(p, n, 0.27, 0.52, 0.44, 0.70, w, 0x2E8B3A);
        Stroke(p, n, 0.44, 0.70, 0.74, 0.32, w, 0x2E8B3A);
    });
}

std::shared_ptr<const PixelBuffer> CrossPicture(int32_t size) {
    return Badge(size, 0xC0392B, [](PixelBuffer& p, int32_t n) {
        const double w = std::max(2.0, n / 7.0);
        Stroke(p, n, 0.32, 0.32, 0.68, 0.68, w, 0xC0392B);
        Stroke(p, n, 0.68, 0.32, 0.32, 0.68, w, 0xC0392B);
    });
}

}  // namespace kelvara::gallery
