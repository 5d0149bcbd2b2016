#include "kelvara/gfx/AlphaBlend.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace kelvara {

namespace {

// x / 255 rounded to the nearest integer, exact for 0 ≤ x ≤ 255 · 255 + 255.
inline uint32_t Div255(uint32_t x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

inline uint8_t Saturate(uint32_t x) {
    return static_cast<uint8_t>(x > 255 ? 255 : x);
}

// Each pixel's bytes are read into locals before any is written, so that the
// compiler need not assume the source changes under the target's stores;
// they are stored as bytes again (a word load of bytes just stored would
// stall the store forwarding).
struct Bytes4 {
    uint32_t v[4];
};

inline Bytes4 Load(const uint8_t* p) {
    return Bytes4{{p[0], p[1], p[2], p[3]}};
}

inline void Store(uint8_t* p, const Bytes4& b) {
    p[0] = static_cast<uint8_t>(b.v[0]);
    p[1] = static_cast<uint8_t>(b.v[1]);
    p[2] = static_cast<uint8_t>(b.v[2]);
    p[3] = static_cast<uint8_t>(b.v[3]);
}

// One pixel, source alpha taking part, constant alpha 255.
inline void BlendOver(const uint8_t* s, uint8_t* d) {
    const Bytes4 in = Load(s);
    const uint32_t a = in.v[3];
    if (a == 255) {
        Store(d, in);
        return;
    }
    if ((in.v[0] | in.v[1] | in.v[2] | a) == 0) {
        return;
    }
    Bytes4 out = Load(d);
    const uint32_t inverse = 255 - a;
    for (int i = 0; i < 4; ++i) {
        out.v[i] = Saturate(in.v[i] + Div255(out.v[i] * inverse));
    }
    Store(d, out);
}

// One pixel, source alpha taking part, scaled by a constant alpha below 255.
inline void BlendOverScaled(const uint8_t* s, uint8_t* d, uint32_t constant) {
    const Bytes4 in = Load(s);
    if ((in.v[0] | in.v[1] | in.v[2] | in.v[3]) == 0) {
        return;
    }
    Bytes4 out = Load(d);
    const uint32_t inverse = 255 - Div255(in.v[3] * constant);
    for (int i = 0; i < 4; ++i) {
        out.v[i] = Saturate(Div255(in.v[i] * constant) + Div255(out.v[i] * inverse));
    }
    Store(d, out);
}

// One pixel, the source counted as opaque: a plain cross-fade.
inline void CrossFade(const uint8_t* s, uint8_t* d, uint32_t constant) {
    const Bytes4 in = Load(s);
    Bytes4 out = Load(d);
    const uint32_t inverse = 255 - constant;
    for (int i = 0; i < 4; ++i) {
        out.v[i] = Div255(in.v[i] * constant) + Div255(out.v[i] * inverse);
    }
    Store(d, out);
}

enum class Mode { Over, OverScaled, Copy, CrossFade };

Mode ModeOf(BlendFunction function) {
    if (!function.PerPixelAlpha) {
        return function.SourceConstantAlpha == 255 ? Mode::Copy : Mode::CrossFade;
    }
    return function.SourceConstantAlpha == 255 ? Mode::Over : Mode::OverScaled;
}

// Blends `count` pixels; `columns` holds each one's source byte offset from
// `srcRow`, or is null when the columns run one to one from there.
template <Mode mode>
inline void BlendPixel(const uint8_t* s, uint8_t* d, uint32_t constant) {
    if constexpr (mode == Mode::Over) {
        BlendOver(s, d);
    } else if constexpr (mode == Mode::OverScaled) {
        BlendOverScaled(s, d, constant);
    } else if constexpr (mode == Mode::Copy) {
        std::memcpy(d, s, 4);
    } else {
        CrossFade(s, d, constant);
    }
}

template <Mode mode>
void BlendRow(const uint8_t* srcRow, const int32_t* columns, uint8_t* destRow, int32_t count,
              uint32_t constant) {
    if (columns == nullptr) {
        for (int32_t x = 0; x < count; ++x, srcRow += 4, destRow += 4) {
            BlendPixel<mode>(srcRow, destRow, constant);
        }
        return;
    }
    for (int32_t x = 0; x < count; ++x, destRow += 4) {
        BlendPixel<mode>(srcRow + columns[x], destRow, constant);
    }
}

using RowBlender = void (*)(const uint8_t*, const int32_t*, uint8_t*, int32_t, uint32_t);

RowBlender BlenderFor(Mode mode) {
    switch (mode) {
        case Mode::Over:
            return BlendRow<Mode::Over>;
        case Mode::OverScaled:
            return BlendRow<Mode::OverScaled>;
        case Mode::Copy:
            return BlendRow<Mode::Copy>;
        case Mode::CrossFade:
            break;
    }
    return BlendRow<Mode::CrossFade>;
}

// The source index under target index i of n, for a span of m source pixels.
inline int64_t Sample(int64_t i, int64_t n, int64_t m) {
    return (2 * i + 1) * m / (2 * n);
}

}  // namespace

bool AlphaBlend(PixelBuffer& dest, const RECT& destRect, const PixelBuffer& src,
                const RECT& srcRect, BlendFunction function, const RECT& clip) {
    if (dest.Empty() || src.Empty() || dest.Bits() == src.Bits()) {
        return false;
    }
    const int64_t destWidth = int64_t{destRect.Right} - destRect.Left;
    const int64_t destHeight = int64_t{destRect.Bottom} - destRect.Top;
    const int64_t srcWidth = int64_t{srcRect.Right} - srcRect.Left;
    const int64_t srcHeight = int64_t{srcRect.Bottom} - srcRect.Top;
    if (destWidth <= 0 || destHeight <= 0 || srcWidth <= 0 || srcHeight <= 0) {
        return false;
    }
    if (srcRect.Left < 0 || srcRect.Top < 0 || srcRect.Right > src.Width() ||
        srcRect.Bottom > src.Height()) {
        return false;
    }

    // The part of the target that may change, relative to destRect.
    const int64_t left = std::max<int64_t>({destRect.Left, clip.Left, 0});
    const int64_t top = std::max<int64_t>({destRect.Top, clip.Top, 0});
    const int64_t right = std::min<int64_t>({destRect.Right, clip.Right, dest.Width()});
    const int64_t bottom = std::min<int64_t>({destRect.Bottom, clip.Bottom, dest.Height()});
    if (right <= left || bottom <= top) {
        return true;
    }
    const int64_t x0 = left - destRect.Left;
    const int32_t count = static_cast<int32_t>(right - left);

    const bool stretchedX = srcWidth != destWidth;
    std::unique_ptr<int32_t[]> columns;
    if (stretchedX) {
        columns.reset(new (std::nothrow) int32_t[static_cast<size_t>(count)]);
        if (!columns) {
            return false;
        }
        for (int32_t x = 0; x < count; ++x) {
            columns[static_cast<size_t>(x)] =
                static_cast<int32_t>(Sample(x0 + x, destWidth, srcWidth) * 4);
        }
    }
    const int64_t srcColumnStart = stretchedX ? srcRect.Left : srcRect.Left + x0;

    const RowBlender blend = BlenderFor(ModeOf(function));
    const uint32_t constant = function.SourceConstantAlpha;
    for (int64_t y = top; y < bottom; ++y) {
        const int64_t row = srcRect.Top + Sample(y - destRect.Top, destHeight, srcHeight);
        const uint8_t* srcRow =
            src.Row(static_cast<int32_t>(row)) + static_cast<size_t>(srcColumnStart) * 4;
        uint8_t* destRow = dest.Pixel(static_cast<int32_t>(left), static_cast<int32_t>(y));
        blend(srcRow, columns.get(), destRow, count, constant);
    }
    return true;
}

bool AlphaBlend(PixelBuffer& dest, const RECT& destRect, const PixelBuffer& src,
                const RECT& srcRect, BlendFunction function) {
    return AlphaBlend(dest, destRect, src, srcRect, function,
                      RECT{0, 0, dest.Width(), dest.Height()});
}

}  // namespace kelvara
