#include "kelvara/gfx/Region.h"

#include <algorithm>
#include <cmath>
#include <utility>

// Every combination runs one sweep: the row edges of both regions cut the
// plane into slabs; in each slab each region is a sorted list of spans, the
// spans are merged by the mode, and a slab whose spans equal the previous
// slab's (and touch it) extends that band instead of starting a new one.

namespace kelvara {

namespace {

struct Span {
    int32_t left, right;
    friend bool operator==(const Span&, const Span&) = default;
};

// The spans of the band of `rects` that covers row y (empty if none).
std::vector<Span> SpansAt(const std::vector<RECT>& rects, int32_t y) {
    std::vector<Span> spans;
    for (const RECT& r : rects) {
        if (r.Top <= y && y < r.Bottom) {
            spans.push_back({r.Left, r.Right});
        } else if (r.Top > y) {
            break;
        }
    }
    return spans;
}

bool Inside(const std::vector<Span>& spans, int32_t x) {
    for (const Span& s : spans) {
        if (s.left <= x && x < s.right) {
            return true;
        }
    }
    return false;
}

bool Keep(RGN_MODE mode, bool inA, bool inB) {
    switch (mode) {
        case RGN_MODE::RGN_AND:
            return inA && inB;
        case RGN_MODE::RGN_OR:
            return inA || inB;
        case RGN_MODE::RGN_XOR:
            return inA != inB;
        case RGN_MODE::RGN_DIFF:
            return inA && !inB;
        case RGN_MODE::RGN_COPY:
            return inA;
    }
    return false;
}

// The spans of a slab: walk the column edges of both lists and keep the
// stretches the mode keeps.
std::vector<Span> MergeSpans(const std::vector<Span>& a, const std::vector<Span>& b,
                             RGN_MODE mode) {
    std::vector<int32_t> edges;
    for (const Span& s : a) {
        edges.push_back(s.left);
        edges.push_back(s.right);
    }
    for (const Span& s : b) {
        edges.push_back(s.left);
        edges.push_back(s.right);
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    std::vector<Span> out;
    for (size_t i = 0; i + 1 < edges.size(); ++i) {
        if (!Keep(mode, Inside(a, edges[i]), Inside(b, edges[i]))) {
            continue;
        }
        if (!out.empty() && out.back().right == edges[i]) {
            out.back().right = edges[i + 1];
        } else {
            out.push_back({edges[i], edges[i + 1]});
        }
    }
    return out;
}

// Appends slabs top to bottom in the banded form: a slab with the spans of
// the band just above it, touching it, extends that band.
class BandWriter {
public:
    explicit BandWriter(std::vector<RECT>& out) : out(out) {}

    void Add(int32_t top, int32_t bottom, std::vector<Span> spans) {
        if (spans.empty()) {
            previous.clear();
            return;
        }
        if (spans == previous && previousBottom == top) {
            for (size_t k = bandStart; k < out.size(); ++k) {
                out[k].Bottom = bottom;
            }
        } else {
            bandStart = out.size();
            for (const Span& s : spans) {
                out.push_back(RECT{s.left, top, s.right, bottom});
            }
            previous = std::move(spans);
        }
        previousBottom = bottom;
    }

private:
    std::vector<RECT>& out;
    std::vector<Span> previous;
    int32_t previousBottom = 0;
    size_t bandStart = 0;
};

// Sweeps the slabs of the two rectangle lists into the banded form.
std::vector<RECT> Sweep(const std::vector<RECT>& a, const std::vector<RECT>& b, RGN_MODE mode) {
    std::vector<int32_t> rows;
    for (const auto* list : {&a, &b}) {
        for (const RECT& r : *list) {
            rows.push_back(r.Top);
            rows.push_back(r.Bottom);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

    std::vector<RECT> out;
    BandWriter writer(out);
    for (size_t i = 0; i + 1 < rows.size(); ++i) {
        writer.Add(rows[i], rows[i + 1],
                   MergeSpans(SpansAt(a, rows[i]), SpansAt(b, rows[i]), mode));
    }
    return out;
}

}  // namespace

Region Region::CreateRectRgn(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    Region region;
    if (left > right) {
        std::swap(left, right);
    }
    if (top > bottom) {
        std::swap(top, bottom);
    }
    if (left < right && top < bottom) {
        region.rects.push_back(RECT{left, top, right, bottom});
    }
    return region;
}

Region Region::CreateRoundRectRgn(int32_t left, int32_t top, int32_t right, int32_t bottom,
                                  int32_t widthEllipse, int32_t heightEllipse) {
    if (left > right) {
        std::swap(left, right);
    }
    if (top > bottom) {
        std::swap(top, bottom);
    }
    const int64_t width = int64_t{right} - left;
    const int64_t height = int64_t{bottom} - top;
    const double rx = static_cast<double>(std::min<int64_t>(std::abs(widthEllipse), width)) / 2;
    const double ry = static_cast<double>(std::min<int64_t>(std::abs(heightEllipse), height)) / 2;
    if (rx < 1 || ry < 1) {
        return CreateRectRgn(left, top, right, bottom);
    }
    // Rows inside the corner ellipses lose the columns whose centres fall
    // outside; the rows between them keep the whole width.
    const int32_t cornerRows = static_cast<int32_t>(std::ceil(ry));
    std::vector<RECT> rows;
    for (int32_t i = 0; i < cornerRows && i < height; ++i) {
        const double dy = ry - (i + 0.5);  // distance of the row centre from the ellipse centre
        const double half = dy <= 0 ? rx : rx * std::sqrt(std::max(0.0, 1 - (dy * dy) / (ry * ry)));
        const int32_t inset = static_cast<int32_t>(std::ceil(rx - half - 0.5));
        const int32_t l = left + std::max(inset, 0);
        const int32_t r = right - std::max(inset, 0);
        if (l < r) {
            rows.push_back(RECT{l, top + i, r, top + i + 1});
            rows.push_back(RECT{l, bottom - 1 - i, r, bottom - i});
        }
    }
    if (height > 2 * cornerRows) {
        rows.push_back(RECT{left, top + cornerRows, right, bottom - cornerRows});
    }
    return ExtCreateRegion(rows);
}

Region Region::ExtCreateRegion(std::span<const RECT> list) {
    // One sweep over all rectangles: the active ones of each slab give its
    // spans, merged where they overlap or touch.
    std::vector<RECT> sorted;
    std::vector<int32_t> rows;
    for (const RECT& r : list) {
        if (!r.IsEmpty()) {
            sorted.push_back(r);
            rows.push_back(r.Top);
            rows.push_back(r.Bottom);
        }
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const RECT& x, const RECT& y) { return x.Top < y.Top; });
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

    Region region;
    BandWriter writer(region.rects);
    std::vector<RECT> active;
    size_t next = 0;
    for (size_t i = 0; i + 1 < rows.size(); ++i) {
        const int32_t top = rows[i];
        std::erase_if(active, [top](const RECT& r) { return r.Bottom <= top; });
        while (next < sorted.size() && sorted[next].Top <= top) {
            active.push_back(sorted[next++]);
        }
        std::vector<Span> spans;
        for (const RECT& r : active) {
            spans.push_back({r.Left, r.Right});
        }
        std::sort(spans.begin(), spans.end(),
                  [](const Span& x, const Span& y) { return x.left < y.left; });
        std::vector<Span> merged;
        for (const Span& span : spans) {
            if (!merged.empty() && span.left <= merged.back().right) {
                merged.back().right = std::max(merged.back().right, span.right);
            } else {
                merged.push_back(span);
            }
        }
        writer.Add(top, rows[i + 1], std::move(merged));
    }
    return region;
}

RegionKind Region::CombineRgn(Region& dest, const Region& a, const Region& b, RGN_MODE mode) {
    if (mode < RGN_MODE::RGN_AND || mode > RGN_MODE::RGN_COPY) {
        return RegionKind::Error;
    }
    if (mode == RGN_MODE::RGN_COPY) {
        dest.rects = a.rects;
    } else {
        dest.rects = Sweep(a.rects, b.rects, mode);
    }
    return dest.Kind();
}

RegionKind Region::OffsetRgn(int32_t dx, int32_t dy) {
    for (RECT& r : rects) {
        r.Left += dx;
        r.Right += dx;
        r.Top += dy;
        r.Bottom += dy;
    }
    return Kind();
}

bool Region::PtInRegion(int32_t x, int32_t y) const {
    for (const RECT& r : rects) {
        if (r.Top > y) {
            break;
        }
        if (r.Top <= y && y < r.Bottom && r.Left <= x && x < r.Right) {
            return true;
        }
    }
    return false;
}

RegionKind Region::GetRgnBox(RECT& box) const {
    box = RECT{};
    if (rects.empty()) {
        return RegionKind::NullRegion;
    }
    box = rects.front();
    for (const RECT& r : rects) {
        box.Left = std::min(box.Left, r.Left);
        box.Right = std::max(box.Right, r.Right);
        box.Bottom = std::max(box.Bottom, r.Bottom);
    }
    return Kind();
}

RegionKind Region::Kind() const {
    if (rects.empty()) {
        return RegionKind::NullRegion;
    }
    return rects.size() == 1 ? RegionKind::SimpleRegion : RegionKind::ComplexRegion;
}

}  // namespace kelvara
