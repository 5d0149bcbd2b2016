#include "kelvara/image/detail/PixelKernels.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

// Rounding: where a rule rounds a single-precision value to an integer it
// rounds half to even (lrint in the default rounding mode), as the host's
// conversions do; divisions of integers truncate.

namespace kelvara::detail {

namespace {

inline uint8_t Saturate(uint32_t x) {
    return static_cast<uint8_t>(x > 255 ? 255 : x);
}

// A weighted gray sum (0 to about 255) rounded half to even and kept within
// the pixel's alpha. Adding and taking away 1.5 × 2²³ leaves the float
// rounded to a whole number in the default rounding mode, the same as lrint
// without a library call per pixel.
inline uint8_t GrayByte(float sum, uint8_t alpha) {
#if FLT_EVAL_METHOD == 0
    const float whole = (sum + 12582912.0f) - 12582912.0f;
#else
    // Wider intermediates would defeat the trick.
    const float whole = static_cast<float>(std::lrint(sum));
#endif
    const float capped = std::clamp(whole, 0.0f, static_cast<float>(alpha));
    return static_cast<uint8_t>(capped);
}

// --- The two-by-two weights of the bilinear stretch ------------------------
//
// Columns: ix = ⌊x⌋; at the area's last column only ix takes part (wx = 0),
// elsewhere wx = x − ix and columns ix, ix + 1 do, at distances |wx − c|.
// Rows (counted from the bottom): iy = ⌊y⌋; at the area's bottom row only iy
// takes part, elsewhere wy = |1 − (y − iy)| and rows iy, iy − 1 do, at
// distances |r − wy|. A neighbour at distance exactly 1 is skipped; the
// others weigh (1 − distance). A pixel's weight is row weight × column weight.
//
// Deliberate: the row rule gives row iy the weight y − iy and row iy − 1 the
// rest, so a stretched picture samples one row below the nearest-neighbour
// position (from the bottom). Pictures drawn by earlier versions depend on
// these exact bytes.

struct AxisWeights {
    int32_t index = 0;    // ix, or iy counted from the bottom
    bool first = false;   // index takes part
    bool second = false;  // its neighbour (ix + 1, or iy − 1) takes part
    double weight0 = 0;
    double weight1 = 0;
};

// `position` is clamped to the area's columns first, lo to hi.
AxisWeights ColumnWeights(double position, int32_t lo, int32_t hi) {
    position = std::clamp(position, static_cast<double>(lo), static_cast<double>(hi));
    AxisWeights w;
    w.index = std::min(static_cast<int32_t>(std::floor(position)), hi);
    if (w.index == hi) {
        w.first = true;
        w.weight0 = 1;
        return w;
    }
    const double wx = position - w.index;
    const double d0 = std::fabs(wx - 0);
    const double d1 = std::fabs(wx - 1);
    w.first = d0 != 1;
    w.weight0 = 1 - d0;
    w.second = d1 != 1;
    w.weight1 = 1 - d1;
    return w;
}

// Rows from the bottom: `base` is the area's bottom row, `top` its top row.
// The position is kept within base to top + 1; at top + 1 exactly the row
// itself weighs nothing, so no row above the area is ever read.
AxisWeights RowWeights(double position, int32_t base, int32_t top) {
    position = std::clamp(position, static_cast<double>(base), static_cast<double>(top) + 1);
    AxisWeights w;
    w.index = static_cast<int32_t>(std::floor(position));
    if (w.index == base) {
        w.first = true;
        w.weight0 = 1;
        return w;
    }
    const double wy = std::fabs(1 - (position - w.index));
    const double d0 = std::fabs(0 - wy);
    const double d1 = std::fabs(1 - wy);
    w.first = d0 != 1 && w.index <= top;
    w.weight0 = 1 - d0;
    w.second = d1 != 1;
    w.weight1 = 1 - d1;
    return w;
}

inline void Accumulate(const uint8_t* p, double weight, double acc[4]) {
    acc[0] += p[0] * weight;
    acc[1] += p[1] * weight;
    acc[2] += p[2] * weight;
    acc[3] += p[3] * weight;
}

inline uint8_t FloorByte(double v) {
    return static_cast<uint8_t>(std::min(v, 255.0));
}

// One output pixel from the two rows (either may be null) and a column's
// weights.
inline void BilinearPixel(const uint8_t* row0, const uint8_t* row1, const AxisWeights& rows,
                          const AxisWeights& columns, uint8_t* out) {
    double acc[4] = {0, 0, 0, 0};
    const size_t at = static_cast<size_t>(columns.index) * 4;
    if (row0) {
        if (columns.first) {
            Accumulate(row0 + at, rows.weight0 * columns.weight0, acc);
        }
        if (columns.second) {
            Accumulate(row0 + at + 4, rows.weight0 * columns.weight1, acc);
        }
    }
    if (row1) {
        if (columns.first) {
            Accumulate(row1 + at, rows.weight1 * columns.weight0, acc);
        }
        if (columns.second) {
            Accumulate(row1 + at + 4, rows.weight1 * columns.weight1, acc);
        }
    }
    out[0] = FloorByte(acc[0]);
    out[1] = FloorByte(acc[1]);
    out[2] = FloorByte(acc[2]);
    out[3] = FloorByte(acc[3]);
}

// The picture's row `fromBottom` rows above its bottom.
inline const uint8_t* RowFromBottom(const PixelBuffer& pixels, int32_t fromBottom) {
    return pixels.Row(pixels.Height() - 1 - fromBottom);
}

// --- Light ------------------------------------------------------------------

// d(a) = ⌊round(a × f) / 255⌋, f = adjustment / 100 × 255 in single
// precision: the change of a pixel of alpha a.
struct LightTable {
    int32_t delta[256];
    bool lighten;
};

LightTable MakeLightTable(float adjustment) {
    LightTable table{};
    const float f = adjustment / 100.0f * 255.0f;
    for (int32_t a = 0; a < 256; ++a) {
        table.delta[a] = static_cast<int32_t>(std::lrint(static_cast<float>(a) * f)) / 255;
    }
    table.lighten = adjustment > 0;
    return table;
}

void LightRow(const uint8_t* in, uint8_t* out, int32_t count, const LightTable& table) {
    for (int32_t x = 0; x < count; ++x, in += 4, out += 4) {
        const int32_t a = in[3];
        if (a == 0) {
            std::memcpy(out, in, 4);
            continue;
        }
        const int32_t d = table.delta[a];
        for (int k = 0; k < 3; ++k) {
            const int32_t v = in[k] + d;
            out[k] = static_cast<uint8_t>(table.lighten ? std::min(v, a) : std::max(v, 0));
        }
        out[3] = static_cast<uint8_t>(a);
    }
}

// --- Blend ------------------------------------------------------------------
//
// a = source alpha, A = constant alpha, c = target byte, s = source byte
// (the gray byte g in place of each colour when graying), divisions truncate:
//   A = 255, a = 255:   c = s                     (alpha 255)
//   A = 255, a < 255:   c = (255 − a)·c/255 + s
//   A < 255:            i = 255 − a·A/255,  c = (i·c + s·A)/255
//   a = 0:              the pixel is left alone
// The alpha byte follows the same rule with s = a, never grayed.

// Each pixel's bytes are read into locals before any is written, so that the
// compiler need not assume the source changes under the target's stores;
// they are stored as bytes again (a word load of bytes just stored would
// stall the store forwarding).
template <bool kHasAlpha, bool kGray, bool kFull>
void BlendRow(const uint8_t* s, uint8_t* d, int32_t count, uint32_t constant,
              const GrayLevels* gray) {
    for (int32_t x = 0; x < count; ++x, s += 4, d += 4) {
        const uint32_t a = s[3];
        if (a == 0) {
            continue;
        }
        uint32_t c0 = s[0];
        uint32_t c1 = s[1];
        uint32_t c2 = s[2];
        if constexpr (kGray) {
            c0 = c1 = c2 = gray->RedFirst(s);
        }
        if constexpr (kFull) {
            if (a == 255) {
                d[0] = static_cast<uint8_t>(c0);
                d[1] = static_cast<uint8_t>(c1);
                d[2] = static_cast<uint8_t>(c2);
                if constexpr (kHasAlpha) {
                    d[3] = 255;
                }
                continue;
            }
        }
        const uint32_t d0 = d[0];
        const uint32_t d1 = d[1];
        const uint32_t d2 = d[2];
        const uint32_t d3 = d[3];
        if constexpr (kFull) {
            const uint32_t inverse = 255 - a;
            d[0] = Saturate(inverse * d0 / 255 + c0);
            d[1] = Saturate(inverse * d1 / 255 + c1);
            d[2] = Saturate(inverse * d2 / 255 + c2);
            if constexpr (kHasAlpha) {
                d[3] = Saturate(inverse * d3 / 255 + a);
            }
        } else {
            const uint32_t inverse = 255 - a * constant / 255;
            d[0] = Saturate((inverse * d0 + c0 * constant) / 255);
            d[1] = Saturate((inverse * d1 + c1 * constant) / 255);
            d[2] = Saturate((inverse * d2 + c2 * constant) / 255);
            if constexpr (kHasAlpha) {
                d[3] = Saturate((inverse * d3 + a * constant) / 255);
            }
        }
    }
}

using BlendRowFn = void (*)(const uint8_t*, uint8_t*, int32_t, uint32_t, const GrayLevels*);

template <bool kHasAlpha, bool kGray>
BlendRowFn BlendRowFor(bool full) {
    return full ? BlendRow<kHasAlpha, kGray, true> : BlendRow<kHasAlpha, kGray, false>;
}

BlendRowFn BlendRowFor(bool hasAlpha, bool gray, bool full) {
    if (hasAlpha) {
        return gray ? BlendRowFor<true, true>(full) : BlendRowFor<true, false>(full);
    }
    return gray ? BlendRowFor<false, true>(full) : BlendRowFor<false, false>(full);
}

// --- Rotation ---------------------------------------------------------------

// A side of the rotated bounding box; the tolerance keeps a quarter turn
// from growing a pixel through the rounding of cos 90°.
int32_t BoxSide(double extent) {
    const double side = std::ceil(extent - 1e-6);
    if (!(side >= 1)) {
        return 1;
    }
    return side > INT32_MAX ? INT32_MAX : static_cast<int32_t>(side);
}

// Turns `pixels` (w × h) by `angle` degrees into `out`, the size of the turned
// bounding box. Each target pixel centre is mapped back into the source;
// the source position is stepped by addition along rows and down columns.
// Positions outside the source stay zero.
bool Rotate(const PixelBuffer& pixels, double angle, Sampling filter, PixelBuffer& out) {
    const int32_t w = pixels.Width();
    const int32_t h = pixels.Height();
    const double theta = -4 * std::atan(1.0) * std::fmod(angle, 360.0) / 180;
    const double c = std::cos(theta);
    const double s = std::sin(theta);
    const int32_t boxWidth = BoxSide(w * std::fabs(c) + h * std::fabs(s));
    const int32_t boxHeight = BoxSide(w * std::fabs(s) + h * std::fabs(c));
    if (!out.Allocate(boxWidth, boxHeight)) {
        return false;
    }

    const double u0 = 0.5 - boxWidth / 2.0;
    const double v0 = 0.5 - boxHeight / 2.0;
    double rowX = w / 2.0 + u0 * c - v0 * s;
    double rowY = h / 2.0 + u0 * s + v0 * c;
    for (int32_t ty = 0; ty < boxHeight; ++ty, rowX -= s, rowY += c) {
        uint8_t* target = out.Row(ty);
        double sx = rowX;
        double sy = rowY;
        for (int32_t tx = 0; tx < boxWidth; ++tx, sx += c, sy += s, target += 4) {
            if (!(sx >= 0 && sx < w && sy >= 0 && sy < h)) {
                continue;
            }
            if (filter == Sampling::Nearest) {
                std::memcpy(target,
                            pixels.Pixel(static_cast<int32_t>(sx), static_cast<int32_t>(sy)), 4);
                continue;
            }
            // The stretch rule reads pixel centres at whole columns and, from
            // the bottom, at whole rows plus one.
            const AxisWeights columns = ColumnWeights(sx - 0.5, 0, w - 1);
            const AxisWeights rows = RowWeights((h - sy) + 0.5, 0, h - 1);
            const uint8_t* row0 = rows.first ? RowFromBottom(pixels, rows.index) : nullptr;
            const uint8_t* row1 = rows.second ? RowFromBottom(pixels, rows.index - 1) : nullptr;
            BilinearPixel(row0, row1, rows, columns, target);
        }
    }
    return true;
}

int32_t ClampToInt32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

}  // namespace

// --- Copies -----------------------------------------------------------------

bool IsInside(const PixelBuffer& pixels, const RECT& area) {
    return !pixels.Empty() && area.Left >= 0 && area.Top >= 0 && area.Right > area.Left &&
           area.Bottom > area.Top && area.Right <= pixels.Width() && area.Bottom <= pixels.Height();
}

bool CopyBits(const PixelBuffer& src, const RECT& area, PixelBuffer& out) {
    if (!IsInside(src, area) || !out.Allocate(area.Width(), area.Height())) {
        return false;
    }
    PutBits(src, area, out, 0, 0);
    return true;
}

void PutBits(const PixelBuffer& src, const RECT& area, PixelBuffer& dest, int32_t destX,
             int32_t destY) {
    const size_t bytes = static_cast<size_t>(area.Width()) * 4;
    for (int32_t y = 0; y < area.Height(); ++y) {
        std::memcpy(dest.Pixel(destX, destY + y), src.Pixel(area.Left, area.Top + y), bytes);
    }
}

bool MirrorBits(const PixelBuffer& src, const RECT& area, Mirror mirror, PixelBuffer& out) {
    if (!IsInside(src, area) || !out.Allocate(area.Width(), area.Height())) {
        return false;
    }
    const int32_t w = area.Width();
    const size_t bytes = static_cast<size_t>(w) * 4;
    for (int32_t y = 0; y < area.Height(); ++y) {
        const int32_t from = mirror.Y ? area.Bottom - 1 - y : area.Top + y;
        const uint8_t* s = src.Pixel(area.Left, from);
        uint8_t* d = out.Row(y);
        if (!mirror.X) {
            std::memcpy(d, s, bytes);
            continue;
        }
        const uint8_t* back = s + bytes - 4;
        for (int32_t x = 0; x < w; ++x, d += 4, back -= 4) {
            std::memcpy(d, back, 4);
        }
    }
    return true;
}

// --- Stretch ----------------------------------------------------------------

bool StretchBits(const PixelBuffer& src, const RECT& area, int32_t destWidth, int32_t destHeight,
                 const RECT& visible, Sampling sampling, PixelBuffer& out) {
    if (!IsInside(src, area) || destWidth < 1 || destHeight < 1 || visible.Left < 0 ||
        visible.Top < 0 || visible.Right > destWidth || visible.Bottom > destHeight ||
        visible.IsEmpty()) {
        return false;
    }
    const int32_t outWidth = visible.Width();
    const int32_t outHeight = visible.Height();
    if (!out.Allocate(outWidth, outHeight)) {
        return false;
    }
    const double xFactor = static_cast<double>(area.Width()) / destWidth;
    const double yFactor = static_cast<double>(area.Height()) / destHeight;
    // The area's bottom and top rows, counted from the picture's bottom.
    const int32_t base = src.Height() - area.Bottom;
    const int32_t top = src.Height() - 1 - area.Top;
    const int32_t lastColumn = area.Right - 1;

    if (sampling == Sampling::Nearest) {
        std::unique_ptr<int32_t[]> columns(new (std::nothrow)
                                               int32_t[static_cast<size_t>(outWidth)]);
        if (!columns) {
            out.Reset();
            return false;
        }
        for (int32_t x = 0; x < outWidth; ++x) {
            const double at = (x + visible.Left) * xFactor + area.Left;
            const int32_t column = std::clamp(static_cast<int32_t>(std::floor(at)),
                                              static_cast<int32_t>(area.Left), lastColumn);
            columns[static_cast<size_t>(x)] = column * 4;
        }
        for (int32_t y = outHeight - 1; y >= 0; --y) {
            const int32_t fromBottom = destHeight - 1 - (visible.Top + y);
            const double at = fromBottom * yFactor + base;
            const int32_t row = std::clamp(static_cast<int32_t>(std::floor(at)), base, top);
            const uint8_t* s = RowFromBottom(src, row);
            uint8_t* d = out.Row(y);
            for (int32_t x = 0; x < outWidth; ++x, d += 4) {
                std::memcpy(d, s + columns[static_cast<size_t>(x)], 4);
            }
        }
        return true;
    }

    std::unique_ptr<AxisWeights[]> columns(new (std::nothrow)
                                               AxisWeights[static_cast<size_t>(outWidth)]);
    if (!columns) {
        out.Reset();
        return false;
    }
    for (int32_t x = 0; x < outWidth; ++x) {
        columns[static_cast<size_t>(x)] =
            ColumnWeights((x + visible.Left) * xFactor + area.Left, area.Left, lastColumn);
    }
    for (int32_t y = outHeight - 1; y >= 0; --y) {
        const int32_t fromBottom = destHeight - 1 - (visible.Top + y);
        const AxisWeights rows = RowWeights(fromBottom * yFactor + base, base, top);
        const uint8_t* row0 = rows.first ? RowFromBottom(src, rows.index) : nullptr;
        const uint8_t* row1 = rows.second ? RowFromBottom(src, rows.index - 1) : nullptr;
        uint8_t* d = out.Row(y);
        for (int32_t x = 0; x < outWidth; ++x, d += 4) {
            BilinearPixel(row0, row1, rows, columns[static_cast<size_t>(x)], d);
        }
    }
    return true;
}

// --- Light ------------------------------------------------------------------

bool LightAdjust(const PixelBuffer& src, const RECT& area, float adjustment, PixelBuffer& out) {
    if (!IsInside(src, area) || !out.Allocate(area.Width(), area.Height())) {
        return false;
    }
    const LightTable table = MakeLightTable(adjustment);
    for (int32_t y = 0; y < area.Height(); ++y) {
        LightRow(src.Pixel(area.Left, area.Top + y), out.Row(y), area.Width(), table);
    }
    return true;
}

void LightAdjust(PixelBuffer& pixels, float adjustment) {
    if (pixels.Empty()) {
        return;
    }
    const LightTable table = MakeLightTable(adjustment);
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        LightRow(pixels.Row(y), pixels.Row(y), pixels.Width(), table);
    }
}

// --- Blend ------------------------------------------------------------------

GrayLevels::GrayLevels(ENUM_GRAY_SCALE_FORMULAS formula) {
    const std::array<float, 3> weights = GrayScaleWeights(formula);
    for (int32_t v = 0; v < 256; ++v) {
        red[v] = static_cast<float>(v) * weights[0];
        green[v] = static_cast<float>(v) * weights[1];
        blue[v] = static_cast<float>(v) * weights[2];
    }
}

uint8_t GrayLevels::RedFirst(const uint8_t* bgra) const {
    return GrayByte(red[bgra[2]] + green[bgra[1]] + blue[bgra[0]], bgra[3]);
}

uint8_t GrayLevels::BlueFirst(const uint8_t* bgra) const {
    return GrayByte(blue[bgra[0]] + green[bgra[1]] + red[bgra[2]], bgra[3]);
}

bool BlendBits(const RenderTarget& target, int32_t destX, int32_t destY, const PixelBuffer& src,
               const RECT& area, const BlendOptions& options) {
    PixelBuffer& dest = *target.Pixels;
    if (dest.Empty() || !IsInside(src, area)) {
        return true;
    }
    const int64_t left = std::max<int64_t>({destX, target.Clip.Left, 0});
    const int64_t top = std::max<int64_t>({destY, target.Clip.Top, 0});
    const int64_t right =
        std::min<int64_t>({int64_t{destX} + area.Width(), target.Clip.Right, dest.Width()});
    const int64_t bottom =
        std::min<int64_t>({int64_t{destY} + area.Height(), target.Clip.Bottom, dest.Height()});
    if (right <= left || bottom <= top) {
        return true;
    }
    const RECT part{static_cast<int32_t>(area.Left + (left - destX)),
                    static_cast<int32_t>(area.Top + (top - destY)),
                    static_cast<int32_t>(area.Left + (right - destX)),
                    static_cast<int32_t>(area.Top + (bottom - destY))};

    // The light adjustment goes through one row at a time, the same bytes a
    // lit copy of the whole part would give.
    const bool lit = options.LightAdjustment != 0;
    std::unique_ptr<uint8_t[]> litRow;
    LightTable light{};
    if (lit) {
        litRow.reset(new (std::nothrow) uint8_t[static_cast<size_t>(part.Width()) * 4]);
        if (!litRow) {
            return false;
        }
        light = MakeLightTable(options.LightAdjustment);
    }

    const bool gray = options.GrayScale != ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone;
    std::unique_ptr<GrayLevels> levels;
    if (gray) {
        levels.reset(new (std::nothrow) GrayLevels(options.GrayScale));
        if (!levels) {
            return false;
        }
    }
    const BlendRowFn blend = BlendRowFor(target.HasAlpha, gray, options.Alpha == 255);
    const int32_t count = part.Width();
    for (int32_t y = 0; y < part.Height(); ++y) {
        const uint8_t* row = src.Pixel(part.Left, part.Top + y);
        if (lit) {
            LightRow(row, litRow.get(), count, light);
            row = litRow.get();
        }
        blend(row, dest.Pixel(static_cast<int32_t>(left), static_cast<int32_t>(top) + y), count,
              options.Alpha, levels.get());
    }
    return true;
}

// --- Rotation ---------------------------------------------------------------

bool RenderRotated(const RenderTarget& target, const PixelBuffer& src, const RECT& area,
                   const RotatedDraw& draw, const BlendOptions& options) {
    if (!IsInside(src, area)) {
        return false;
    }
    const int64_t width = std::abs(int64_t{draw.Width});
    const int64_t height = std::abs(int64_t{draw.Height});
    if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX) {
        return false;
    }

    // Mirrored and scaled to the rectangle first, then lit.
    const PixelBuffer* base = &src;
    RECT baseArea = area;
    PixelBuffer mirrored;
    if (draw.Width < 0 || draw.Height < 0) {
        if (!MirrorBits(src, area, Mirror{draw.Width < 0, draw.Height < 0}, mirrored)) {
            return false;
        }
        base = &mirrored;
        baseArea = WholeOf(mirrored);
    }
    PixelBuffer prepared;
    const int32_t w = static_cast<int32_t>(width);
    const int32_t h = static_cast<int32_t>(height);
    if (w != baseArea.Width() || h != baseArea.Height()) {
        if (!StretchBits(*base, baseArea, w, h, RECT{0, 0, w, h}, draw.Filter, prepared)) {
            return false;
        }
    } else if (base == &mirrored) {
        prepared.Swap(mirrored);
    } else if (!CopyBits(src, area, prepared)) {
        return false;
    }
    if (options.LightAdjustment != 0) {
        LightAdjust(prepared, options.LightAdjustment);
    }

    PixelBuffer turned;
    if (!Rotate(prepared, draw.Angle, draw.Filter, turned)) {
        return false;
    }
    const int64_t centreX = int64_t{draw.X} + width / 2;
    const int64_t centreY = int64_t{draw.Y} + height / 2;
    BlendOptions unlit = options;
    unlit.LightAdjustment = 0;
    return BlendBits(target, ClampToInt32(centreX - turned.Width() / 2),
                     ClampToInt32(centreY - turned.Height() / 2), turned, WholeOf(turned), unlit);
}

}  // namespace kelvara::detail
