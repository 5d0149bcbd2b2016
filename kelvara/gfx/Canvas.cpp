#include "kelvara/gfx/Canvas.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace kelvara {

namespace {

struct Bgra {
    uint8_t b[4];
};

Bgra Opaque(COLORREF color) {
    return Bgra{{static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
                 static_cast<uint8_t>(color), 255}};
}

int32_t Clamp32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

RECT Intersect(const RECT& a, const RECT& b) {
    return RECT{std::max(a.Left, b.Left), std::max(a.Top, b.Top), std::min(a.Right, b.Right),
                std::min(a.Bottom, b.Bottom)};
}

// The rectangle [x, x + width) × [y, y + height), saturated to 32 bits.
RECT Span(int64_t x, int64_t y, int64_t width, int64_t height) {
    return RECT{Clamp32(x), Clamp32(y), Clamp32(x + width), Clamp32(y + height)};
}

void Put(uint8_t* row, int32_t left, int32_t right, const Bgra& color) {
    for (uint8_t* p = row + static_cast<size_t>(left) * 4; left < right; ++left, p += 4) {
        std::memcpy(p, color.b, 4);
    }
}

// Rows of four-byte pixels, wherever they lie: row y (from the top) starts
// at top + y·step.
struct SourceView {
    const uint8_t* top = nullptr;
    ptrdiff_t step = 0;
    int32_t width = 0;
    int32_t height = 0;

    const uint8_t* Row(int32_t y) const { return top + static_cast<ptrdiff_t>(y) * step; }
};

SourceView ViewOf(const PixelBuffer& buffer) {
    const ptrdiff_t stride = buffer.Stride();
    return SourceView{buffer.Row(0), buffer.Order() == RowOrder::BottomUp ? -stride : stride,
                      buffer.Width(), buffer.Height()};
}

// For each target index i of n, the source range [first, last) it reads
// from `count` source positions starting at `start`.
struct Sample {
    int32_t first;
    int32_t last;
};

// Only the targets [from, to) are worked out, so that a huge stretch that
// shows little costs little.
std::vector<Sample> Samples(int32_t n, int32_t start, int32_t count, bool box, int32_t from,
                            int32_t to) {
    std::vector<Sample> out;
    out.reserve(static_cast<size_t>(to - from));
    for (int32_t i = from; i < to; ++i) {
        if (box && count > n) {
            const int64_t a = int64_t{i} * count / n;
            const int64_t b = (int64_t{i} + 1) * count / n;
            out.push_back({start + static_cast<int32_t>(a), start + static_cast<int32_t>(b)});
        } else {
            const int64_t c = (2 * int64_t{i} + 1) * count / (2 * int64_t{n});
            out.push_back({start + static_cast<int32_t>(c), start + static_cast<int32_t>(c) + 1});
        }
    }
    return out;
}

// The smallest rectangle holding all of `rects` and inside `area`.
RECT BoundsWithin(const std::vector<RECT>& rects, const RECT& area) {
    RECT bounds{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
    for (const RECT& r : rects) {
        bounds.Left = std::min(bounds.Left, r.Left);
        bounds.Top = std::min(bounds.Top, r.Top);
        bounds.Right = std::max(bounds.Right, r.Right);
        bounds.Bottom = std::max(bounds.Bottom, r.Bottom);
    }
    return Intersect(bounds, area);
}

// Copies an area of a view into a new buffer, so that a canvas can read
// from its own pixels while it writes them.
bool CopyOut(const SourceView& view, const RECT& area, PixelBuffer& out) {
    if (!out.Allocate(area.Width(), area.Height(), RowOrder::TopDown)) {
        return false;
    }
    for (int32_t y = 0; y < area.Height(); ++y) {
        std::memcpy(out.Row(y), view.Row(area.Top + y) + static_cast<size_t>(area.Left) * 4,
                    static_cast<size_t>(area.Width()) * 4);
    }
    return true;
}

}  // namespace

Canvas::Canvas(PixelBuffer& pixels) : pixels(pixels), engine(&FontEngine::ForThread()) {
    UpdateClipRects();
}

COLORREF Canvas::SetTextColor(COLORREF color) {
    return std::exchange(state.textColor, color);
}

BkMode Canvas::SetBkMode(BkMode mode) {
    return std::exchange(state.bkMode, mode);
}

COLORREF Canvas::SetBkColor(COLORREF color) {
    return std::exchange(state.bkColor, color);
}

Pen Canvas::SelectPen(const Pen& pen) {
    return std::exchange(state.pen, pen);
}

Brush Canvas::SelectBrush(const Brush& brush) {
    return std::exchange(state.brush, brush);
}

StretchMode Canvas::SetStretchBltMode(StretchMode mode) {
    return std::exchange(state.stretchMode, mode);
}

RegionKind Canvas::SelectClipRgn(const Region* region) {
    if (region == nullptr) {
        state.clip = state.outerClip;
    } else {
        Region narrowed = *region;
        if (state.outerClip) {
            Region::CombineRgn(narrowed, narrowed, *state.outerClip, RGN_MODE::RGN_AND);
        }
        state.clip = std::move(narrowed);
    }
    UpdateClipRects();
    return state.clip ? state.clip->Kind() : RegionKind::SimpleRegion;
}

const std::vector<RECT>& Canvas::Clips() const {
    if (clipWidth != pixels.Width() || clipHeight != pixels.Height()) {
        UpdateClipRects();
    }
    return clipRects;
}

void Canvas::UpdateClipRects() const {
    clipRects.clear();
    clipRegion.reset();
    clipWidth = pixels.Width();
    clipHeight = pixels.Height();
    const RECT whole{0, 0, pixels.Width(), pixels.Height()};
    if (pixels.Empty()) {
        return;
    }
    if (!state.clip) {
        clipRects.push_back(whole);
        return;
    }
    for (const RECT& r : state.clip->Rects()) {
        const RECT inside = Intersect(r, whole);
        if (!inside.IsEmpty()) {
            clipRects.push_back(inside);
        }
    }
}

bool Canvas::SetViewportOrgEx(int32_t x, int32_t y, POINT* previous) {
    if (previous != nullptr) {
        *previous = state.origin;
    }
    state.origin = POINT{x, y};
    return true;
}

bool Canvas::MoveToEx(int32_t x, int32_t y, POINT* previous) {
    if (previous != nullptr) {
        *previous = state.position;
    }
    state.position = POINT{x, y};
    return true;
}

int32_t Canvas::Save() {
    saved.push_back(state);
    state.outerClip = state.clip;
    return SaveDepth();
}

bool Canvas::Restore() {
    if (saved.empty()) {
        return false;
    }
    state = std::move(saved.back());
    saved.pop_back();
    UpdateClipRects();
    return true;
}

void Canvas::FillDevice(const RECT& area, COLORREF color) {
    const Bgra bgra = Opaque(color);
    for (const RECT& clip : Clips()) {
        const RECT r = Intersect(area, clip);
        if (r.IsEmpty()) {
            continue;
        }
        for (int32_t y = r.Top; y < r.Bottom; ++y) {
            Put(pixels.Row(y), r.Left, r.Right, bgra);
        }
    }
}

void Canvas::FillRegion(const Region& region, COLORREF color) {
    for (const RECT& r : region.Rects()) {
        FillDevice(r, color);
    }
}

void Canvas::FillRect(const RECT& rect, COLORREF color) {
    FillDevice(Span(int64_t{rect.Left} + state.origin.X, int64_t{rect.Top} + state.origin.Y,
                    int64_t{rect.Right} - rect.Left, int64_t{rect.Bottom} - rect.Top),
               color);
}

void Canvas::FrameRect(const RECT& rect, COLORREF color) {
    const int64_t left = int64_t{rect.Left} + state.origin.X;
    const int64_t top = int64_t{rect.Top} + state.origin.Y;
    const int64_t w = int64_t{rect.Right} - rect.Left;
    const int64_t h = int64_t{rect.Bottom} - rect.Top;
    if (w <= 0 || h <= 0) {
        return;
    }
    const struct {
        int64_t x, y, w, h;
    } sides[] = {
        {0, 0, w, 1},
        {0, h - 1, w, 1},
        {0, 1, 1, h - 2},
        {w - 1, 1, 1, h - 2},
    };
    for (const auto& side : sides) {
        if (side.h > 0) {
            FillDevice(Span(left + side.x, top + side.y, side.w, side.h), color);
        }
    }
}

bool Canvas::DrawShape(RECT box, int32_t widthEllipse, int32_t heightEllipse, bool rounded) {
    if (box.Left > box.Right) {
        std::swap(box.Left, box.Right);
    }
    if (box.Top > box.Bottom) {
        std::swap(box.Top, box.Bottom);
    }
    box = Span(int64_t{box.Left} + state.origin.X, int64_t{box.Top} + state.origin.Y,
               int64_t{box.Right} - box.Left, int64_t{box.Bottom} - box.Top);
    // Only a shape that can show is turned into a region.
    if (BoundsWithin(Clips(), box).IsEmpty()) {
        return true;
    }
    widthEllipse = std::max(widthEllipse, 0);
    heightEllipse = std::max(heightEllipse, 0);
    const auto shape = [&](int32_t inset) {
        const RECT r{box.Left + inset, box.Top + inset, box.Right - inset, box.Bottom - inset};
        if (r.IsEmpty()) {
            return Region{};
        }
        if (!rounded) {
            return Region::CreateRectRgn(r.Left, r.Top, r.Right, r.Bottom);
        }
        return Region::CreateRoundRectRgn(r.Left, r.Top, r.Right, r.Bottom,
                                          std::max(widthEllipse - 2 * inset, 0),
                                          std::max(heightEllipse - 2 * inset, 0));
    };
    const Region outer = shape(0);
    const bool withPen = state.pen.Style != PenStyle::PS_NULL;
    if (!withPen) {
        if (!state.brush.Null) {
            FillRegion(outer, state.brush.Color);
        }
        return true;
    }
    const int32_t penWidth =
        std::min(std::max(state.pen.Width, 1), std::max(box.Width(), box.Height()));
    const Region inner = shape(penWidth);
    Region outline;
    Region::CombineRgn(outline, outer, inner, RGN_MODE::RGN_DIFF);
    FillRegion(outline, state.pen.Color);
    if (!state.brush.Null) {
        FillRegion(inner, state.brush.Color);
    }
    return true;
}

bool Canvas::Rectangle(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    return DrawShape(RECT{left, top, right, bottom}, 0, 0, false);
}

bool Canvas::RoundRect(int32_t left, int32_t top, int32_t right, int32_t bottom,
                       int32_t widthEllipse, int32_t heightEllipse) {
    return DrawShape(RECT{left, top, right, bottom}, widthEllipse, heightEllipse, true);
}

bool Canvas::Ellipse(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    return DrawShape(
        RECT{left, top, right, bottom},
        std::abs(int64_t{right} - left) > INT32_MAX ? INT32_MAX : std::abs(right - left),
        std::abs(int64_t{bottom} - top) > INT32_MAX ? INT32_MAX : std::abs(bottom - top), true);
}

bool Canvas::LineTo(int32_t x, int32_t y) {
    const POINT from = state.position;
    state.position = POINT{x, y};
    if (state.pen.Style == PenStyle::PS_NULL) {
        return true;
    }
    const int32_t width = std::max(state.pen.Width, 1);
    const Bgra bgra = Opaque(state.pen.Color);
    int64_t x0 = int64_t{from.X} + state.origin.X;
    int64_t y0 = int64_t{from.Y} + state.origin.Y;
    const int64_t x1 = int64_t{x} + state.origin.X;
    const int64_t y1 = int64_t{y} + state.origin.Y;
    const int64_t dx = std::abs(x1 - x0);
    const int64_t dy = -std::abs(y1 - y0);
    const int64_t sx = x0 < x1 ? 1 : -1;
    const int64_t sy = y0 < y1 ? 1 : -1;
    int64_t err = dx + dy;
    // Deliberate: the end point is not drawn, so that joined lines do not
    // paint their shared corner twice.
    while (x0 != x1 || y0 != y1) {
        if (width == 1) {
            if (x0 >= INT32_MIN && x0 <= INT32_MAX && y0 >= INT32_MIN && y0 <= INT32_MAX) {
                const int32_t px = static_cast<int32_t>(x0);
                const int32_t py = static_cast<int32_t>(y0);
                for (const RECT& c : Clips()) {
                    if (px >= c.Left && px < c.Right && py >= c.Top && py < c.Bottom) {
                        std::memcpy(pixels.Pixel(px, py), bgra.b, 4);
                        break;
                    }
                }
            }
        } else {
            FillDevice(Span(x0 - width / 2, y0 - width / 2, width, width), state.pen.Color);
        }
        const int64_t e2 = 2 * err;
        if (e2 >= dy) {
            err += dy;
            x0 += sx;
        }
        if (e2 <= dx) {
            err += dx;
            y0 += sy;
        }
    }
    return true;
}

bool Canvas::SetPixelV(int32_t x, int32_t y, COLORREF color) {
    const int64_t dx = int64_t{x} + state.origin.X;
    const int64_t dy = int64_t{y} + state.origin.Y;
    for (const RECT& c : Clips()) {
        if (dx >= c.Left && dx < c.Right && dy >= c.Top && dy < c.Bottom) {
            const Bgra bgra = Opaque(color);
            std::memcpy(pixels.Pixel(static_cast<int32_t>(dx), static_cast<int32_t>(dy)), bgra.b,
                        4);
            return true;
        }
    }
    return false;
}

COLORREF Canvas::GetPixel(int32_t x, int32_t y) const {
    const int64_t dx = int64_t{x} + state.origin.X;
    const int64_t dy = int64_t{y} + state.origin.Y;
    for (const RECT& c : Clips()) {
        if (dx >= c.Left && dx < c.Right && dy >= c.Top && dy < c.Bottom) {
            const uint8_t* p = pixels.Pixel(static_cast<int32_t>(dx), static_cast<int32_t>(dy));
            return COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
        }
    }
    return CLR_INVALID;
}

bool Canvas::GradientFill(const TRIVERTEX* vertices, uint32_t vertexCount,
                          const GRADIENT_RECT* rects, uint32_t rectCount, GradientMode mode) {
    if ((vertices == nullptr && vertexCount > 0) || (rects == nullptr && rectCount > 0)) {
        return false;
    }
    for (uint32_t i = 0; i < rectCount; ++i) {
        if (rects[i].UpperLeft >= vertexCount || rects[i].LowerRight >= vertexCount) {
            return false;
        }
    }
    const bool across = mode == GradientMode::GRADIENT_FILL_RECT_H;
    std::vector<Bgra> ramp;
    for (uint32_t i = 0; i < rectCount; ++i) {
        TRIVERTEX a = vertices[rects[i].UpperLeft];
        TRIVERTEX b = vertices[rects[i].LowerRight];
        const int64_t left = int64_t{std::min(a.x, b.x)} + state.origin.X;
        const int64_t top = int64_t{std::min(a.y, b.y)} + state.origin.Y;
        const int64_t width = std::abs(int64_t{b.x} - a.x);
        const int64_t height = std::abs(int64_t{b.y} - a.y);
        const RECT seen = BoundsWithin(Clips(), Span(left, top, width, height));
        if (seen.IsEmpty()) {
            continue;
        }
        // The ramp runs from the vertex on the left (or top) side; only its
        // visible stretch is worked out.
        if (across ? a.x > b.x : a.y > b.y) {
            std::swap(a, b);
        }
        const int64_t n = across ? width : height;
        const int64_t first = across ? seen.Left - left : seen.Top - top;
        const int32_t count = across ? seen.Width() : seen.Height();
        ramp.resize(static_cast<size_t>(count));
        const auto channel = [n](uint16_t c0, uint16_t c1, int64_t k) {
            const int64_t v = c0 + (int64_t{c1} - c0) * k / n;
            return static_cast<uint8_t>(v >> 8);
        };
        for (int32_t j = 0; j < count; ++j) {
            const int64_t k = first + j;
            ramp[static_cast<size_t>(j)] =
                Bgra{{channel(a.Blue, b.Blue, k), channel(a.Green, b.Green, k),
                      channel(a.Red, b.Red, k), 255}};
        }
        for (const RECT& clip : Clips()) {
            const RECT r = Intersect(seen, clip);
            if (r.IsEmpty()) {
                continue;
            }
            for (int32_t y = r.Top; y < r.Bottom; ++y) {
                uint8_t* row = pixels.Row(y);
                if (across) {
                    std::memcpy(row + static_cast<size_t>(r.Left) * 4,
                                ramp.data() + (r.Left - seen.Left),
                                static_cast<size_t>(r.Width()) * 4);
                } else {
                    Put(row, r.Left, r.Right, ramp[static_cast<size_t>(y - seen.Top)]);
                }
            }
        }
    }
    return true;
}

bool Canvas::BitBlt(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                    int32_t srcX, int32_t srcY) {
    if (width < 0 || height < 0 || src.Empty()) {
        return false;
    }
    // The part of the source that exists, and where it lands.
    const RECT want = Span(srcX, srcY, width, height);
    const RECT from = Intersect(want, RECT{0, 0, src.Width(), src.Height()});
    if (from.IsEmpty()) {
        return true;
    }
    const RECT to =
        Span(int64_t{x} + state.origin.X + (from.Left - want.Left),
             int64_t{y} + state.origin.Y + (from.Top - want.Top), from.Width(), from.Height());
    PixelBuffer copy;
    SourceView view = ViewOf(src);
    RECT area = from;
    if (&src == &pixels) {
        if (!CopyOut(view, from, copy)) {
            return false;
        }
        view = ViewOf(copy);
        area = RECT{0, 0, from.Width(), from.Height()};
    }
    for (const RECT& clip : Clips()) {
        const RECT r = Intersect(to, clip);
        if (r.IsEmpty()) {
            continue;
        }
        for (int32_t row = r.Top; row < r.Bottom; ++row) {
            const uint8_t* s = view.Row(area.Top + (row - to.Top)) +
                               static_cast<size_t>(area.Left + (r.Left - to.Left)) * 4;
            std::memcpy(pixels.Row(row) + static_cast<size_t>(r.Left) * 4, s,
                        static_cast<size_t>(r.Width()) * 4);
        }
    }
    return true;
}

bool Canvas::BitBlt(int32_t x, int32_t y, int32_t width, int32_t height, const Canvas& src,
                    int32_t srcX, int32_t srcY) {
    return BitBlt(x, y, width, height, src.pixels, Clamp32(int64_t{srcX} + src.state.origin.X),
                  Clamp32(int64_t{srcY} + src.state.origin.Y));
}

// The common body of StretchBlt and StretchDIBits: `area` of `view` to the
// logical rectangle (x, y, width, height).
namespace {

struct StretchJob {
    SourceView view;
    RECT area;
    // The target rectangle in buffer pixels, before any clipping.
    int64_t left;
    int64_t top;
    int32_t width;
    int32_t height;
    bool box;
};

void RunStretch(const StretchJob& job, const std::vector<RECT>& clipRects, PixelBuffer& pixels) {
    const RECT to = Span(job.left, job.top, job.width, job.height);
    const RECT seen = BoundsWithin(clipRects, to);
    if (seen.IsEmpty()) {
        return;
    }
    const int32_t firstCol = static_cast<int32_t>(seen.Left - job.left);
    const int32_t firstRow = static_cast<int32_t>(seen.Top - job.top);
    const std::vector<Sample> cols = Samples(job.width, job.area.Left, job.area.Width(), job.box,
                                             firstCol, firstCol + seen.Width());
    const std::vector<Sample> rows = Samples(job.height, job.area.Top, job.area.Height(), job.box,
                                             firstRow, firstRow + seen.Height());
    for (const RECT& clip : clipRects) {
        const RECT r = Intersect(to, clip);
        if (r.IsEmpty()) {
            continue;
        }
        for (int32_t y = r.Top; y < r.Bottom; ++y) {
            const Sample sr = rows[static_cast<size_t>(y - seen.Top)];
            uint8_t* out = pixels.Row(y) + static_cast<size_t>(r.Left) * 4;
            for (int32_t x = r.Left; x < r.Right; ++x, out += 4) {
                const Sample sc = cols[static_cast<size_t>(x - seen.Left)];
                const int32_t count = (sr.last - sr.first) * (sc.last - sc.first);
                if (count == 1) {
                    std::memcpy(out, job.view.Row(sr.first) + static_cast<size_t>(sc.first) * 4, 4);
                    continue;
                }
                uint32_t sum[4] = {0, 0, 0, 0};
                for (int32_t sy = sr.first; sy < sr.last; ++sy) {
                    const uint8_t* p = job.view.Row(sy) + static_cast<size_t>(sc.first) * 4;
                    for (int32_t sx = sc.first; sx < sc.last; ++sx, p += 4) {
                        sum[0] += p[0];
                        sum[1] += p[1];
                        sum[2] += p[2];
                        sum[3] += p[3];
                    }
                }
                const uint32_t n = static_cast<uint32_t>(count);
                for (int c = 0; c < 4; ++c) {
                    out[c] = static_cast<uint8_t>((sum[c] + n / 2) / n);
                }
            }
        }
    }
}

}  // namespace

bool Canvas::StretchBlt(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                        int32_t srcX, int32_t srcY, int32_t srcWidth, int32_t srcHeight) {
    if (width <= 0 || height <= 0 || srcWidth <= 0 || srcHeight <= 0 || src.Empty() || srcX < 0 ||
        srcY < 0 || int64_t{srcX} + srcWidth > src.Width() ||
        int64_t{srcY} + srcHeight > src.Height()) {
        return false;
    }
    StretchJob job{ViewOf(src),
                   RECT{srcX, srcY, srcX + srcWidth, srcY + srcHeight},
                   int64_t{x} + state.origin.X,
                   int64_t{y} + state.origin.Y,
                   width,
                   height,
                   state.stretchMode == StretchMode::HALFTONE};
    PixelBuffer copy;
    if (&src == &pixels) {
        if (!CopyOut(job.view, job.area, copy)) {
            return false;
        }
        job.view = ViewOf(copy);
        job.area = RECT{0, 0, srcWidth, srcHeight};
    }
    RunStretch(job, Clips(), pixels);
    return true;
}

bool Canvas::StretchDIBits(int32_t x, int32_t y, int32_t width, int32_t height, int32_t srcX,
                           int32_t srcY, int32_t srcWidth, int32_t srcHeight, const uint8_t* bits,
                           int32_t bitsWidth, int32_t bitsHeight) {
    const int64_t rowsHeld = std::abs(int64_t{bitsHeight});
    if (bits == nullptr || bitsWidth <= 0 || rowsHeld == 0 ||
        int64_t{bitsWidth} * rowsHeld * 4 > PixelBuffer::kMaxBytes || width <= 0 || height <= 0 ||
        srcWidth <= 0 || srcHeight <= 0 || srcX < 0 || srcY < 0 ||
        int64_t{srcX} + srcWidth > bitsWidth || int64_t{srcY} + srcHeight > rowsHeld) {
        return false;
    }
    const int32_t rows = static_cast<int32_t>(rowsHeld);
    const ptrdiff_t stride = ptrdiff_t{bitsWidth} * 4;
    const bool bottomUp = bitsHeight > 0;
    const SourceView view{bottomUp ? bits + (rows - 1) * stride : bits, bottomUp ? -stride : stride,
                          bitsWidth, rows};
    const int32_t top = bottomUp ? rows - srcY - srcHeight : srcY;
    const StretchJob job{view,
                         RECT{srcX, top, srcX + srcWidth, top + srcHeight},
                         int64_t{x} + state.origin.X,
                         int64_t{y} + state.origin.Y,
                         width,
                         height,
                         state.stretchMode == StretchMode::HALFTONE};
    RunStretch(job, Clips(), pixels);
    return true;
}

bool Canvas::AlphaBlend(int32_t x, int32_t y, int32_t width, int32_t height, const PixelBuffer& src,
                        int32_t srcX, int32_t srcY, int32_t srcWidth, int32_t srcHeight,
                        BlendFunction function) {
    const RECT to = Span(int64_t{x} + state.origin.X, int64_t{y} + state.origin.Y, width, height);
    const RECT from = Span(srcX, srcY, srcWidth, srcHeight);
    if (Clips().empty()) {
        return ::kelvara::AlphaBlend(pixels, to, src, from, function, RECT{});
    }
    for (const RECT& clip : Clips()) {
        if (!::kelvara::AlphaBlend(pixels, to, src, from, function, clip)) {
            return false;
        }
    }
    return true;
}

}  // namespace kelvara
