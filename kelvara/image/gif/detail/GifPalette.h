#pragma once

// From a surface's pixels to at most 256 table entries and an index per
// pixel: the colour half of the GIF writer. Internal to the GIF codec
// (APIGIFParser); the tests use it to know what the writer must produce.

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara::detail {

// A straight colour as 0x00RRGGBB.
using PackedRgb = uint32_t;

constexpr uint8_t RedOf(PackedRgb c) {
    return static_cast<uint8_t>(c >> 16);
}
constexpr uint8_t GreenOf(PackedRgb c) {
    return static_cast<uint8_t>(c >> 8);
}
constexpr uint8_t BlueOf(PackedRgb c) {
    return static_cast<uint8_t>(c);
}
constexpr PackedRgb PackRgb(uint32_t r, uint32_t g, uint32_t b) {
    return r << 16 | g << 8 | b;
}

// The colours themselves when the picture has at most `maxColors` distinct
// ones (in order of first appearance), else `maxColors` colours chosen by
// Wu's variance-minimising cut of the colour cube. `pixels` may be empty.
std::vector<PackedRgb> AdaptivePalette(std::span<const PackedRgb> pixels, int maxColors);

// The table used without an adaptive one: the 6 × 6 × 6 colour cube of
// levels 0, 51 … 255 (the "web-safe" colours) and 35 further grays, one for
// every 1/40 of the range the cube lacks. 251 entries, which leaves room for
// a transparent entry in a 256-entry table.
std::vector<PackedRgb> FixedPalette();

// The nearest table entry to a colour (squared distance in RGB; the lowest
// index among equals). The colour cube is cut into 32 × 32 × 32 cells; the
// first colour to land in a cell lists the entries that can be nearest to
// anything in it, and every colour there is then matched against that short
// list only. Recent answers are remembered as well.
class NearestColor {
public:
    explicit NearestColor(std::span<const PackedRgb> palette);
    ~NearestColor();
    NearestColor(const NearestColor&) = delete;
    NearestColor& operator=(const NearestColor&) = delete;

    uint8_t Find(PackedRgb color);

private:
    // Where a cell's list starts in `candidates`.
    uint32_t CellList(uint32_t cell);

    std::vector<PackedRgb> palette;
    std::vector<uint8_t> candidates;  // lists, each led by its length
    std::vector<int32_t> cellLists;   // −1 until the cell is first met
    struct Cache;
    std::unique_ptr<Cache> cache;
};

// What the writer needs to know about the pixels.
struct ColorOptions {
    bool adaptive = true;
    // Pixels with alpha below this are transparent (0 = none, 256 = all).
    int32_t opaquenessTolerance = 128;
    // 0x00BBGGRR colour that partly transparent pixels kept opaque are laid
    // over; −1 un-premultiplies them instead.
    int32_t matte = -1;
};

// A picture as table indices.
struct IndexedImage {
    int32_t width = 0;
    int32_t height = 0;
    int bits = 0;                  // the table has 2^bits entries
    std::vector<PackedRgb> table;  // 2^bits entries, unused ones black
    int transparentIndex = -1;     // the table's last entry, when used
    std::vector<uint8_t> indices;  // top row first
};

// Reduces the surface to a table and indices. The table holds only the
// entries some pixel uses, in the order the palette gave them, with the
// transparent entry (when any pixel is transparent) last of all; its size
// goes by the count of those entries, the transparent one included: above
// 128 gives 256 entries, above 64 gives 128, above 32 gives 64, above 16
// gives 32, above 8 gives 16, and 8 or fewer give 8. False for an empty
// surface or when memory runs out.
bool IndexSurface(const API32bppDIB& surface, const ColorOptions& options, IndexedImage& image);

}  // namespace kelvara::detail
