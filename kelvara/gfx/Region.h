#pragma once

// Region: a set of pixels kept as rectangles in bands. Each band is a run of
// rows [top, bottom) that share the same spans [left, right); bands are
// sorted top to bottom, spans left to right, neither overlaps nor touches
// its neighbour, and two bands next to each other never hold the same
// spans. That one form is what makes equal regions compare equal and lets
// every combination be done band by band.

#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/gfx/Rect.h"

namespace kelvara {

// How CombineRgn joins two regions, by the host's RGN_ numbers.
enum class RGN_MODE : int32_t { RGN_AND = 1, RGN_OR = 2, RGN_XOR = 3, RGN_DIFF = 4, RGN_COPY = 5 };

// What a region operation reports, by the host's numbers.
enum class RegionKind : int32_t { Error = 0, NullRegion = 1, SimpleRegion = 2, ComplexRegion = 3 };

class Region {
public:
    Region() = default;

    // The pixels of [left, right) × [top, bottom); swapped sides are put in
    // order, as the host does.
    static Region CreateRectRgn(int32_t left, int32_t top, int32_t right, int32_t bottom);
    // The rectangle with its corners rounded by an ellipse of widthEllipse ×
    // heightEllipse: a row keeps the pixels whose centres lie inside the
    // corner ellipse.
    static Region CreateRoundRectRgn(int32_t left, int32_t top, int32_t right, int32_t bottom,
                                     int32_t widthEllipse, int32_t heightEllipse);
    // The union of the rectangles; empty ones are skipped.
    static Region ExtCreateRegion(std::span<const RECT> rects);

    // dest = a (mode) b. dest may be a or b.
    static RegionKind CombineRgn(Region& dest, const Region& a, const Region& b, RGN_MODE mode);
    RegionKind OffsetRgn(int32_t dx, int32_t dy);
    bool PtInRegion(int32_t x, int32_t y) const;
    // The smallest rectangle holding the region; all zero when it is empty.
    RegionKind GetRgnBox(RECT& box) const;
    RegionKind Kind() const;

    bool IsEmpty() const { return rects.empty(); }
    // The region's rectangles, band by band.
    const std::vector<RECT>& Rects() const { return rects; }

    friend bool operator==(const Region&, const Region&) = default;

private:
    std::vector<RECT> rects;
};

}  // namespace kelvara
