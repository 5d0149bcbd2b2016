#pragma once

// What the surface tests share: small surfaces written pixel by pixel, their
// pixels read back, random premultiplied content, and the premultiplied check.

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <random>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara::test {

// One stored pixel: blue, green, red, alpha.
struct Px {
    int b, g, r, a;
    friend bool operator==(const Px&, const Px&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Px& p) {
        return os << "(" << p.b << "," << p.g << "," << p.r << "," << p.a << ")";
    }
};
inline const Px kZero{0, 0, 0, 0};

// A w × h surface with the given pixels, top row first (missing ones zero).
inline void Fill(API32bppDIB& surface, int32_t w, int32_t h, std::initializer_list<Px> pixels = {},
                 ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaComplex) {
    ASSERT_TRUE(surface.InitializeDIB(w, h));
    int32_t i = 0;
    for (const Px& p : pixels) {
        uint8_t* d = surface.Pixels().Pixel(i % w, i / w);
        d[0] = static_cast<uint8_t>(p.b);
        d[1] = static_cast<uint8_t>(p.g);
        d[2] = static_cast<uint8_t>(p.r);
        d[3] = static_cast<uint8_t>(p.a);
        ++i;
    }
    surface.SetAlpha(alpha);
}

// Every pixel, top row first.
inline std::vector<Px> Read(const API32bppDIB& surface) {
    std::vector<Px> out;
    for (int32_t y = 0; y < surface.Height(); ++y) {
        for (int32_t x = 0; x < surface.Width(); ++x) {
            const uint8_t* p = surface.Pixels().Pixel(x, y);
            out.push_back(Px{p[0], p[1], p[2], p[3]});
        }
    }
    return out;
}

inline Px PixelAt(const API32bppDIB& surface, int32_t x, int32_t y) {
    const uint8_t* p = surface.Pixels().Pixel(x, y);
    return Px{p[0], p[1], p[2], p[3]};
}

// Random premultiplied pixels, some transparent and some opaque.
inline void FillRandom(API32bppDIB& surface, int32_t w, int32_t h, std::mt19937& random) {
    Fill(surface, w, h);
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            uint8_t* p = surface.Pixels().Pixel(x, y);
            const uint32_t pick = random() % 4;
            const int a = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<int>(random() % 256);
            for (int k = 0; k < 3; ++k) {
                p[k] = static_cast<uint8_t>(random() % (a + 1));
            }
            p[3] = static_cast<uint8_t>(a);
        }
    }
}

inline bool Premultiplied(const API32bppDIB& surface) {
    for (const Px& p : Read(surface)) {
        if (p.b > p.a || p.g > p.a || p.r > p.a) {
            return false;
        }
    }
    return true;
}

}  // namespace kelvara::test
