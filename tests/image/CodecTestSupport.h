#pragma once

// What the codec tests share: building surfaces from straight colours,
// reading their pixels back, and comparing two surfaces pixel by pixel.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara::test {

struct Straight {
    uint8_t r, g, b, a;
};

// The premultiplied BGRA bytes of a straight colour, as readers store them.
inline std::array<uint8_t, 4> Premultiply(Straight c) {
    return {static_cast<uint8_t>(c.b * c.a / 255), static_cast<uint8_t>(c.g * c.a / 255),
            static_cast<uint8_t>(c.r * c.a / 255), c.a};
}

// A surface whose pixel (x, y), y from the top, is `color(x, y)` premultiplied.
inline void Fill(API32bppDIB& surface, int32_t width, int32_t height,
                 const std::function<Straight(int32_t, int32_t)>& color) {
    ASSERT_TRUE(surface.InitializeDIB(width, height));
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const auto bytes = Premultiply(color(x, y));
            std::copy(bytes.begin(), bytes.end(), surface.Pixels().Pixel(x, y));
        }
    }
}

// A small deterministic generator, so that "noise" is the same on every run.
class Noise {
public:
    explicit Noise(uint32_t seed) : state(seed * 2654435761u + 1) {}
    uint8_t Byte() {
        state = state * 1664525u + 1013904223u;
        return static_cast<uint8_t>(state >> 24);
    }

private:
    uint32_t state;
};

// Every pixel equal, or the first difference with both values.
inline ::testing::AssertionResult SamePixels(const API32bppDIB& have, const API32bppDIB& want) {
    if (have.Width() != want.Width() || have.Height() != want.Height()) {
        return ::testing::AssertionFailure() << "have " << have.Width() << "x" << have.Height()
                                             << ", want " << want.Width() << "x" << want.Height();
    }
    for (int32_t y = 0; y < want.Height(); ++y) {
        for (int32_t x = 0; x < want.Width(); ++x) {
            const uint8_t* h = have.Pixels().Pixel(x, y);
            const uint8_t* w = want.Pixels().Pixel(x, y);
            if (!std::equal(h, h + 4, w)) {
                return ::testing::AssertionFailure()
                       << "pixel (" << x << ", " << y << ") BGRA have " << int{h[0]} << ","
                       << int{h[1]} << "," << int{h[2]} << "," << int{h[3]} << " want " << int{w[0]}
                       << "," << int{w[1]} << "," << int{w[2]} << "," << int{w[3]};
            }
        }
    }
    return ::testing::AssertionSuccess();
}

inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kelvara::test
