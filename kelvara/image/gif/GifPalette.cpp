#include "kelvara/image/gif/detail/GifPalette.h"

// IndexSurface → straight colours (transparent below the tolerance; the
//                rest un-premultiplied or laid over the matte)
//              → AdaptivePalette (ExactColors, else WuQuantizer) | FixedPalette
//              → NearestColor per pixel → only the used entries, the
//                transparent one last, table size by their count
//
// Why Wu's quantiser: it cuts the colour cube where the summed squared error
// drops most, working from cumulative moments of a 32 × 32 × 32 histogram, so a
// cut costs a few table look-ups whatever the picture's size. That gives
// palettes close to the best of the k-means kind at the cost of one pass over
// the pixels, and it is deterministic. Median cut splits boxes by pixel count
// rather than by error and wastes entries on large flat areas; an octree
// merges by tree position, which biases the palette to its level boundaries.
// The palette colours are the exact means of the pixels in each box, not the
// histogram's cells, and the pixels are then mapped to the nearest
// entry at full precision. Pictures with few colours (most of what a user
// interface saves) skip the quantiser and keep their colours exactly.
//
// There is no dithering: user-interface pictures have flat areas and sharp
// edges that a dither would only roughen.

#include <algorithm>
#include <array>
#include <new>

namespace kelvara::detail {

namespace {

// A pixel of the straight-colour array that is transparent; no colour has
// bits above the 24th.
constexpr PackedRgb kTransparentPixel = 0xFF000000;

// --- Exact colours ---------------------------------------------------------------

// Up to `limit` distinct colours in order of first appearance; false as soon
// as there are more.
bool ExactColors(std::span<const PackedRgb> pixels, size_t limit, std::vector<PackedRgb>& out) {
    constexpr size_t kSlots = 1024;        // a power of two, well above 257
    std::array<uint32_t, kSlots> slots{};  // colour + 1; 0 is empty
    out.clear();
    PackedRgb last = kTransparentPixel;
    for (const PackedRgb color : pixels) {
        if (color == last || color == kTransparentPixel) {
            continue;
        }
        last = color;
        size_t slot = (color * 2654435761u) >> 22;
        while (slots[slot] != 0 && slots[slot] != color + 1) {
            slot = (slot + 1) & (kSlots - 1);
        }
        if (slots[slot] == 0) {
            if (out.size() == limit) {
                return false;
            }
            slots[slot] = color + 1;
            out.push_back(color);
        }
    }
    return true;
}

// --- Wu's quantiser ---------------------------------------------------------------

// Each channel falls into one of 32 cells (CellMap); index 0 of every axis
// is a zero border, so that the cumulative sums need no edge cases.
constexpr int kSide = 33;
constexpr int kCellCount = kSide * kSide * kSide;

constexpr int Cell(int r, int g, int b) {
    return (r * kSide + g) * kSide + b;
}

// Pixel count, channel sums and the sum of squared channels per cell, turned
// in place into sums over every cell at or below (r, g, b) on all three axes.
struct Moments {
    std::vector<int64_t> count = std::vector<int64_t>(kCellCount);
    std::vector<int64_t> red = std::vector<int64_t>(kCellCount);
    std::vector<int64_t> green = std::vector<int64_t>(kCellCount);
    std::vector<int64_t> blue = std::vector<int64_t>(kCellCount);
    std::vector<double> square = std::vector<double>(kCellCount);
};

// A box of cells: lower bounds exclusive, upper bounds inclusive.
struct Box {
    std::array<int, 3> lower{0, 0, 0};
    std::array<int, 3> upper{kSide - 1, kSide - 1, kSide - 1};
};

struct Sums {
    int64_t count = 0, red = 0, green = 0, blue = 0;
};

template <typename T>
T Volume(const Box& box, const std::vector<T>& m) {
    const int r0 = box.lower[0], r1 = box.upper[0];
    const int g0 = box.lower[1], g1 = box.upper[1];
    const int b0 = box.lower[2], b1 = box.upper[2];
    return m[Cell(r1, g1, b1)] - m[Cell(r1, g1, b0)] - m[Cell(r1, g0, b1)] + m[Cell(r1, g0, b0)] -
           m[Cell(r0, g1, b1)] + m[Cell(r0, g1, b0)] + m[Cell(r0, g0, b1)] - m[Cell(r0, g0, b0)];
}

Sums BoxSums(const Box& box, const Moments& m) {
    return {Volume(box, m.count), Volume(box, m.red), Volume(box, m.green), Volume(box, m.blue)};
}

// The summed squared distance of the box's pixels from their mean.
double Variance(const Box& box, const Moments& m) {
    const Sums s = BoxSums(box, m);
    if (s.count == 0) {
        return 0;
    }
    const double r = static_cast<double>(s.red), g = static_cast<double>(s.green),
                 b = static_cast<double>(s.blue);
    return Volume(box, m.square) - (r * r + g * g + b * b) / static_cast<double>(s.count);
}

// Σ² / n, the part of the variance a cut can change.
double Spread(const Sums& s) {
    const double r = static_cast<double>(s.red), g = static_cast<double>(s.green),
                 b = static_cast<double>(s.blue);
    return (r * r + g * g + b * b) / static_cast<double>(s.count);
}

// The 32 cells of each axis cover the range that channel takes in the
// picture rather than all 256 levels, so that a picture of narrow range (a
// dark photograph, a pastel drawing) still gets cuts of one or a few levels.
struct CellMap {
    std::array<std::array<uint8_t, 256>, 3> cells{};  // red, green, blue

    explicit CellMap(std::span<const PackedRgb> pixels) {
        std::array<int, 3> low{255, 255, 255};
        std::array<int, 3> high{0, 0, 0};
        for (const PackedRgb color : pixels) {
            if (color == kTransparentPixel) {
                continue;
            }
            const std::array<int, 3> c{RedOf(color), GreenOf(color), BlueOf(color)};
            for (int i = 0; i < 3; ++i) {
                low[i] = std::min(low[i], c[i]);
                high[i] = std::max(high[i], c[i]);
            }
        }
        for (int i = 0; i < 3; ++i) {
            const int span = std::max(high[i] - low[i] + 1, 1);
            for (int v = low[i]; v <= high[i]; ++v) {
                cells[i][v] = static_cast<uint8_t>((v - low[i]) * (kSide - 1) / span + 1);
            }
        }
    }
    int operator()(int channel, int value) const { return cells[channel][value]; }
};

void BuildMoments(std::span<const PackedRgb> pixels, Moments& m) {
    const CellMap map(pixels);
    for (const PackedRgb color : pixels) {
        if (color == kTransparentPixel) {
            continue;
        }
        const int r = RedOf(color), g = GreenOf(color), b = BlueOf(color);
        const int cell = Cell(map(0, r), map(1, g), map(2, b));
        ++m.count[cell];
        m.red[cell] += r;
        m.green[cell] += g;
        m.blue[cell] += b;
        m.square[cell] += static_cast<double>(r * r + g * g + b * b);
    }
    // Running sums along each axis in turn make every cell the sum of the
    // whole box from the origin to it.
    const auto accumulate = [&](int stride) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            const int coordinate = cell / stride % kSide;
            if (coordinate > 0) {
                m.count[cell] += m.count[cell - stride];
                m.red[cell] += m.red[cell - stride];
                m.green[cell] += m.green[cell - stride];
                m.blue[cell] += m.blue[cell - stride];
                m.square[cell] += m.square[cell - stride];
            }
        }
    };
    accumulate(1);
    accumulate(kSide);
    accumulate(kSide * kSide);
}

// Splits `box` where the sum of the two halves' spreads is largest (which is
// where their summed variance is least), into `box` and `other`. False when
// no cut leaves pixels on both sides.
bool Cut(Box& box, Box& other, const Moments& m) {
    const Sums whole = BoxSums(box, m);
    double bestScore = -1;
    int bestAxis = -1;
    int bestAt = 0;
    for (int axis = 0; axis < 3; ++axis) {
        for (int at = box.lower[axis] + 1; at < box.upper[axis]; ++at) {
            Box half = box;
            half.upper[axis] = at;
            const Sums first = BoxSums(half, m);
            const Sums second = {whole.count - first.count, whole.red - first.red,
                                 whole.green - first.green, whole.blue - first.blue};
            if (first.count == 0 || second.count == 0) {
                continue;
            }
            const double score = Spread(first) + Spread(second);
            if (score > bestScore) {
                bestScore = score;
                bestAxis = axis;
                bestAt = at;
            }
        }
    }
    if (bestAxis < 0) {
        return false;
    }
    other = box;
    box.upper[bestAxis] = bestAt;
    other.lower[bestAxis] = bestAt;
    return true;
}

std::vector<PackedRgb> WuQuantizer(std::span<const PackedRgb> pixels, int maxColors) {
    auto moments = std::make_unique<Moments>();
    BuildMoments(pixels, *moments);
    const Moments& m = *moments;

    std::vector<Box> boxes(1);
    std::vector<double> variance(1, Variance(boxes[0], m));
    size_t next = 0;
    while (boxes.size() < static_cast<size_t>(maxColors)) {
        Box other;
        if (Cut(boxes[next], other, m)) {
            boxes.push_back(other);
            variance[next] = Variance(boxes[next], m);
            variance.push_back(Variance(other, m));
        } else {
            variance[next] = 0;  // one cell, or all its pixels in one plane
        }
        next = static_cast<size_t>(std::max_element(variance.begin(), variance.end()) -
                                   variance.begin());
        if (variance[next] <= 0) {
            break;
        }
    }

    std::vector<PackedRgb> palette;
    for (const Box& box : boxes) {
        const Sums s = BoxSums(box, m);
        if (s.count == 0) {
            continue;
        }
        const auto mean = [&](int64_t sum) {
            return static_cast<uint32_t>((sum + s.count / 2) / s.count);
        };
        palette.push_back(PackRgb(mean(s.red), mean(s.green), mean(s.blue)));
    }
    return palette;
}

// --- Table size ---------------------------------------------------------------------

int TableBits(int entries) {
    if (entries > 128) {
        return 8;
    }
    if (entries > 64) {
        return 7;
    }
    if (entries > 32) {
        return 6;
    }
    if (entries > 16) {
        return 5;
    }
    if (entries > 8) {
        return 4;
    }
    return 3;
}

// The straight colour of one stored pixel, or kTransparentPixel.
struct PixelReader {
    int32_t tolerance;
    bool matte;
    std::array<uint32_t, 3> fill;  // blue, green, red

    PackedRgb operator()(const uint8_t* p) const {
        const uint32_t a = p[3];
        if (static_cast<int32_t>(a) < tolerance) {
            return kTransparentPixel;
        }
        std::array<uint32_t, 3> c{};
        for (int i = 0; i < 3; ++i) {
            const uint32_t v = std::min<uint32_t>(p[i], a);
            if (matte) {
                c[i] = v + (fill[i] * (255 - a) + 127) / 255;
            } else if (a == 255 || a == 0) {
                c[i] = v;
            } else {
                c[i] = std::min<uint32_t>((v * 255 + a / 2) / a, 255);
            }
        }
        return PackRgb(c[2], c[1], c[0]);
    }
};

}  // namespace

std::vector<PackedRgb> AdaptivePalette(std::span<const PackedRgb> pixels, int maxColors) {
    maxColors = std::clamp(maxColors, 1, 256);
    std::vector<PackedRgb> exact;
    if (ExactColors(pixels, static_cast<size_t>(maxColors), exact)) {
        return exact;
    }
    return WuQuantizer(pixels, maxColors);
}

std::vector<PackedRgb> FixedPalette() {
    std::vector<PackedRgb> palette;
    for (uint32_t r = 0; r < 6; ++r) {
        for (uint32_t g = 0; g < 6; ++g) {
            for (uint32_t b = 0; b < 6; ++b) {
                palette.push_back(PackRgb(r * 51, g * 51, b * 51));
            }
        }
    }
    for (uint32_t i = 1; i < 40; ++i) {
        if (i % 8 != 0) {  // every eighth step is one of the cube's grays
            const uint32_t v = (i * 255 + 20) / 40;
            palette.push_back(PackRgb(v, v, v));
        }
    }
    return palette;
}

// --- Nearest colour -------------------------------------------------------------------

namespace {

constexpr int kCellBits = 3;  // cells of 8 levels a channel
constexpr uint32_t kCellsPerAxis = 256 >> kCellBits;

int32_t Square(int32_t v) {
    return v * v;
}

int32_t Distance(PackedRgb a, PackedRgb b) {
    return Square(RedOf(a) - RedOf(b)) + Square(GreenOf(a) - GreenOf(b)) +
           Square(BlueOf(a) - BlueOf(b));
}

}  // namespace

// Direct-mapped: a colour's slot holds the last colour that fell there.
struct NearestColor::Cache {
    static constexpr int kBits = 14;
    std::array<uint32_t, 1u << kBits> keys{};  // colour + 1; 0 is empty
    std::array<uint8_t, 1u << kBits> values{};
};

NearestColor::NearestColor(std::span<const PackedRgb> palette)
    : palette(palette.begin(), palette.begin() + std::min<size_t>(palette.size(), 256)),
      cellLists(kCellsPerAxis * kCellsPerAxis * kCellsPerAxis, -1),
      cache(new Cache) {}

NearestColor::~NearestColor() = default;

// An entry can be nearest to some colour of the cell only when its least
// distance to the cell is no more than the greatest distance to the cell of
// the entry that is furthest from none of it (the smallest such greatest
// distance). Those entries, in index order, are the cell's list.
uint32_t NearestColor::CellList(uint32_t cell) {
    if (cellLists[cell] >= 0) {
        return static_cast<uint32_t>(cellLists[cell]);
    }
    const int32_t low[3] = {static_cast<int32_t>(cell / (kCellsPerAxis * kCellsPerAxis))
                                << kCellBits,
                            static_cast<int32_t>(cell / kCellsPerAxis % kCellsPerAxis) << kCellBits,
                            static_cast<int32_t>(cell % kCellsPerAxis) << kCellBits};
    constexpr int32_t kSpan = (1 << kCellBits) - 1;
    std::vector<int32_t> nearest(palette.size());
    int32_t bound = INT32_MAX;
    for (size_t i = 0; i < palette.size(); ++i) {
        const int32_t c[3] = {RedOf(palette[i]), GreenOf(palette[i]), BlueOf(palette[i])};
        int32_t least = 0, most = 0;
        for (int k = 0; k < 3; ++k) {
            const int32_t high = low[k] + kSpan;
            least += c[k] < low[k] ? Square(low[k] - c[k]) : c[k] > high ? Square(c[k] - high) : 0;
            most += std::max(Square(c[k] - low[k]), Square(c[k] - high));
        }
        nearest[i] = least;
        bound = std::min(bound, most);
    }
    const uint32_t start = static_cast<uint32_t>(candidates.size());
    candidates.push_back(0);
    for (size_t i = 0; i < palette.size(); ++i) {
        if (nearest[i] <= bound) {
            candidates.push_back(static_cast<uint8_t>(i));
        }
    }
    // At most 256 entries, so the count fits once 256 is written as 0.
    candidates[start] = static_cast<uint8_t>(candidates.size() - start - 1);
    cellLists[cell] = static_cast<int32_t>(start);
    return start;
}

uint8_t NearestColor::Find(PackedRgb color) {
    if (palette.empty()) {
        return 0;
    }
    const uint32_t slot = (color * 2654435761u) >> (32 - Cache::kBits);
    if (cache->keys[slot] == color + 1) {
        return cache->values[slot];
    }
    const uint32_t cell =
        ((RedOf(color) >> kCellBits) * kCellsPerAxis + (GreenOf(color) >> kCellBits)) *
            kCellsPerAxis +
        (BlueOf(color) >> kCellBits);
    const uint32_t list = CellList(cell);
    const size_t count = candidates[list] == 0 ? 256 : candidates[list];
    int32_t best = INT32_MAX;
    uint8_t bestIndex = 0;
    for (size_t i = 1; i <= count; ++i) {
        const uint8_t index = candidates[list + i];
        const int32_t distance = Distance(palette[index], color);
        if (distance < best) {  // the list runs in index order: equals keep the first
            best = distance;
            bestIndex = index;
        }
    }
    cache->keys[slot] = color + 1;
    cache->values[slot] = bestIndex;
    return bestIndex;
}

// --- The whole picture ------------------------------------------------------------------

bool IndexSurface(const API32bppDIB& surface, const ColorOptions& options, IndexedImage& image) {
    const PixelBuffer& buffer = surface.Pixels();
    if (buffer.Empty() || buffer.Width() < 1 || buffer.Height() < 1) {
        return false;
    }
    try {
        const int32_t width = buffer.Width();
        const int32_t height = buffer.Height();
        const uint32_t matte = static_cast<uint32_t>(options.matte);
        const PixelReader read{std::clamp(options.opaquenessTolerance, 0, 256),
                               options.matte != -1,
                               {matte >> 16 & 0xFF, matte >> 8 & 0xFF, matte & 0xFF}};

        std::vector<PackedRgb> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
        bool anyTransparent = false;
        size_t at = 0;
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* p = buffer.Row(y);
            for (int32_t x = 0; x < width; ++x, p += 4) {
                pixels[at] = read(p);
                anyTransparent |= pixels[at] == kTransparentPixel;
                ++at;
            }
        }

        // With transparency the last entry is the transparent one, so the
        // colours get one entry fewer.
        const int colorCapacity = anyTransparent ? 255 : 256;
        const std::vector<PackedRgb> palette =
            options.adaptive ? AdaptivePalette(pixels, colorCapacity) : FixedPalette();
        constexpr uint8_t kTransparentSlot = 255;  // never a colour's index then

        image.indices.resize(pixels.size());
        NearestColor nearest(palette);
        PackedRgb last = kTransparentPixel;
        uint8_t lastIndex = kTransparentSlot;
        std::array<bool, 256> used{};
        for (size_t i = 0; i < pixels.size(); ++i) {
            const PackedRgb color = pixels[i];
            if (color != last) {
                last = color;
                lastIndex = color == kTransparentPixel ? kTransparentSlot : nearest.Find(color);
                used[lastIndex] = true;
            }
            image.indices[i] = lastIndex;
        }

        // Only the entries in use, in palette order; then the transparent one.
        std::array<uint8_t, 256> remap{};
        std::vector<PackedRgb> colors;
        for (size_t i = 0; i < palette.size(); ++i) {
            if (used[i] && !(anyTransparent && i == kTransparentSlot)) {
                remap[i] = static_cast<uint8_t>(colors.size());
                colors.push_back(palette[i]);
            }
        }
        const int entries = static_cast<int>(colors.size()) + (anyTransparent ? 1 : 0);
        image.width = width;
        image.height = height;
        image.bits = TableBits(entries);
        image.table.assign(size_t{1} << image.bits, 0);
        std::copy(colors.begin(), colors.end(), image.table.begin());
        image.transparentIndex = anyTransparent ? (1 << image.bits) - 1 : -1;
        if (anyTransparent) {
            remap[kTransparentSlot] = static_cast<uint8_t>(image.transparentIndex);
        }
        for (uint8_t& index : image.indices) {
            index = remap[index];
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace kelvara::detail
