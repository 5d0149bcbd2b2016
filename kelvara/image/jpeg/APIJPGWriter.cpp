#include "kelvara/image/jpeg/APIJPGWriter.h"

// SaveJPG (quality → tables; gray or colour; chroma sampling)
//         → SOI, APP0 (JFIF), DQT, SOF0, DHT, SOS
//         → for each row of MCUs: Strip::Read (flatten onto the fill colour,
//           replicate the last column and row into the padding, convert to
//           YCbCr, average 2 × 2 for 4:2:0)
//           → for each block of each MCU: TransformBlock (DCT, quantise,
//             zigzag) → EncodeBlock (Huffman)
//         → EOI
//
// Choices:
// - Chroma: 4:2:0 below quality 90, 4:4:4 from 90 on. The eye resolves
//   colour more coarsely than brightness, so quartering the colour samples
//   costs little on photographs and saves about a third of the file; but it
//   smears sharp colour edges (red text on blue, UI screenshots), which a
//   caller asking for 90 or more does not expect to see. libjpeg's own
//   default is 4:2:0 at every quality.
// - Gray: when every flattened pixel has red = green = blue the file holds
//   the luminance channel only: same picture, no chroma bytes to carry.
// - Quality: the standard's example tables (ITU T.81 Annex K) scaled by
//   5000 / q below 50 and by 200 − 2q from 50 on, each entry rounded and
//   kept within 1 to 255 (8-bit tables, as baseline requires). This is the
//   scale the common encoders use, so a quality means the same here as
//   elsewhere. Quality 0 counts as 1 and anything above 100 as 100.
// - DCT: Arai-Agui-Nakajima in single-precision floats, its output scales
//   folded into the quantisation divisors; Huffman codes are the standard's
//   example tables (Annex K.3).
//
// Input the writer declines: no image, a side above kMaxSide (65500, where
// libjpeg stops reading), or memory running out: false, Out untouched. Colour
// bytes above their alpha (a surface that is not premultiplied) are taken
// as equal to the alpha, as the other writers do.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <new>

#include "kelvara/image/detail/ByteIO.h"

namespace kelvara {

namespace {

using detail::AppendBE16;

constexpr int kMaxQuality = 100;
// The quality from which colour keeps full resolution under Auto.
constexpr int kFullChromaQuality = 90;
// JFIF density: the host's 96 dots per inch.
constexpr int kDotsPerInch = 96;

enum class Marker : uint8_t {
    SOF0 = 0xC0,
    DHT = 0xC4,
    SOI = 0xD8,
    EOI = 0xD9,
    SOS = 0xDA,
    DQT = 0xDB,
    APP0 = 0xE0,
};

// --- Tables ----------------------------------------------------------------

// ITU T.81 Annex K.1, natural (row-major) order.
constexpr std::array<uint8_t, 64> kLumaQuant = {
    16, 11, 10, 16, 24,  40,  51,  61,   //
    12, 12, 14, 19, 26,  58,  60,  55,   //
    14, 13, 16, 24, 40,  57,  69,  56,   //
    14, 17, 22, 29, 51,  87,  80,  62,   //
    18, 22, 37, 56, 68,  109, 103, 77,   //
    24, 35, 55, 64, 81,  104, 113, 92,   //
    49, 64, 78, 87, 103, 121, 120, 101,  //
    72, 92, 95, 98, 112, 100, 103, 99,
};
constexpr std::array<uint8_t, 64> kChromaQuant = {
    17, 18, 24, 47, 99, 99, 99, 99,  //
    18, 21, 26, 66, 99, 99, 99, 99,  //
    24, 26, 56, 99, 99, 99, 99, 99,  //
    47, 66, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99,
};

// kZigzag[k]: the natural index of the k-th coefficient in the order the
// file stores them, diagonal by diagonal from the top left.
constexpr std::array<uint8_t, 64> MakeZigzag() {
    std::array<uint8_t, 64> order{};
    int row = 0;
    int col = 0;
    for (int k = 0; k < 64; ++k) {
        order[k] = static_cast<uint8_t>(row * 8 + col);
        if ((row + col) % 2 == 0) {  // going up and right
            if (col == 7) {
                ++row;
            } else if (row == 0) {
                ++col;
            } else {
                --row;
                ++col;
            }
        } else {  // going down and left
            if (row == 7) {
                ++col;
            } else if (col == 0) {
                ++row;
            } else {
                ++row;
                --col;
            }
        }
    }
    return order;
}
constexpr std::array<uint8_t, 64> kZigzag = MakeZigzag();

// The DCT below leaves its coefficients transposed (horizontal frequency
// major); this finds the k-th zigzag coefficient there.
constexpr std::array<uint8_t, 64> MakeTransposedZigzag() {
    std::array<uint8_t, 64> order{};
    for (int k = 0; k < 64; ++k) {
        order[k] = static_cast<uint8_t>((kZigzag[k] % 8) * 8 + kZigzag[k] / 8);
    }
    return order;
}
constexpr std::array<uint8_t, 64> kTransposedZigzag = MakeTransposedZigzag();

// A Huffman table as a DHT segment stores it: how many codes have each
// length from 1 to 16, then the symbols in code order.
struct HuffmanTable {
    std::array<uint8_t, 16> counts{};
    std::array<uint8_t, 162> symbols{};
    int symbolCount = 0;
};

constexpr HuffmanTable MakeDcTable(std::array<uint8_t, 16> counts) {
    HuffmanTable huffman{counts, {}, 12};
    for (int s = 0; s < 12; ++s) {
        huffman.symbols[s] = static_cast<uint8_t>(s);
    }
    return huffman;
}

// The AC tables of Annex K.3.2 list their short codes one by one and give a
// 16-bit code to every other run/size symbol, in ascending order: so only
// the short ones are spelled out here.
constexpr bool IsAcSymbol(int s) {
    const int size = s & 15;
    return s == 0x00 || s == 0xF0 || (size >= 1 && size <= 10);
}

constexpr HuffmanTable MakeAcTable(std::array<uint8_t, 16> counts,
                                   std::initializer_list<uint8_t> shortCodes) {
    HuffmanTable huffman{counts, {}, 0};
    for (const uint8_t s : shortCodes) {
        huffman.symbols[huffman.symbolCount++] = s;
    }
    for (int s = 0; s < 256; ++s) {
        if (IsAcSymbol(s) &&
            std::find(shortCodes.begin(), shortCodes.end(), s) == shortCodes.end()) {
            huffman.symbols[huffman.symbolCount++] = static_cast<uint8_t>(s);
        }
    }
    return huffman;
}

constexpr bool Complete(const HuffmanTable& huffman) {
    int total = 0;
    for (const uint8_t n : huffman.counts) {
        total += n;
    }
    return total == huffman.symbolCount;
}

constexpr HuffmanTable kLumaDc = MakeDcTable({0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0});
constexpr HuffmanTable kChromaDc = MakeDcTable({0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0});
constexpr HuffmanTable kLumaAc =
    MakeAcTable({0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
                {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13,
                 0x51, 0x61, 0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42,
                 0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82});
constexpr HuffmanTable kChromaAc = MakeAcTable(
    {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 119},
    {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
     0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33,
     0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1});
static_assert(Complete(kLumaDc) && Complete(kChromaDc) && Complete(kLumaAc) && Complete(kChromaAc));

// Each symbol's code, canonical as Annex C assigns them: shorter codes
// first, consecutive within one length.
struct HuffmanCodes {
    std::array<uint16_t, 256> code{};
    std::array<uint8_t, 256> length{};
};

constexpr HuffmanCodes MakeCodes(const HuffmanTable& huffman) {
    HuffmanCodes codes;
    uint32_t code = 0;
    int k = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < huffman.counts[length - 1]; ++i, ++k, ++code) {
            codes.code[huffman.symbols[k]] = static_cast<uint16_t>(code);
            codes.length[huffman.symbols[k]] = static_cast<uint8_t>(length);
        }
        code <<= 1;
    }
    return codes;
}

constexpr HuffmanCodes kLumaDcCodes = MakeCodes(kLumaDc);
constexpr HuffmanCodes kLumaAcCodes = MakeCodes(kLumaAc);
constexpr HuffmanCodes kChromaDcCodes = MakeCodes(kChromaDc);
constexpr HuffmanCodes kChromaAcCodes = MakeCodes(kChromaAc);

std::array<uint8_t, 64> ScaledQuant(const std::array<uint8_t, 64>& base, int quality) {
    const int scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    std::array<uint8_t, 64> table{};
    for (int i = 0; i < 64; ++i) {
        table[i] = static_cast<uint8_t>(std::clamp((base[i] * scale + 50) / 100, 1, 255));
    }
    return table;
}

// --- Transform -------------------------------------------------------------

// One 8-point Arai-Agui-Nakajima DCT down each of the eight columns of b
// (rows of eight floats): b[k * 8 + i] becomes coefficient k of column i,
// scaled by Scale(k) (see Divisors). Working on whole rows at a time keeps
// the arithmetic in lanes the compiler can vectorise.
inline void DctColumns(float* b) {
    constexpr float kCos4 = 0.707106781f;  // cos(4π/16)
    constexpr float kCos6 = 0.382683433f;  // cos(6π/16)
    constexpr float kRot1 = 0.541196100f;  // cos(6π/16)·√2
    constexpr float kRot2 = 1.306562965f;  // cos(2π/16)·√2
    for (int i = 0; i < 8; ++i) {
        const float s07 = b[i] + b[56 + i];
        const float d07 = b[i] - b[56 + i];
        const float s16 = b[8 + i] + b[48 + i];
        const float d16 = b[8 + i] - b[48 + i];
        const float s25 = b[16 + i] + b[40 + i];
        const float d25 = b[16 + i] - b[40 + i];
        const float s34 = b[24 + i] + b[32 + i];
        const float d34 = b[24 + i] - b[32 + i];

        const float e0 = s07 + s34;
        const float e3 = s07 - s34;
        const float e1 = s16 + s25;
        const float e2 = s16 - s25;
        b[i] = e0 + e1;
        b[32 + i] = e0 - e1;
        const float m = (e2 + e3) * kCos4;
        b[16 + i] = e3 + m;
        b[48 + i] = e3 - m;

        const float o0 = d34 + d25;
        const float o1 = d25 + d16;
        const float o2 = d16 + d07;
        const float r = (o0 - o2) * kCos6;
        const float z2 = kRot1 * o0 + r;
        const float z4 = kRot2 * o2 + r;
        const float z3 = o1 * kCos4;
        const float z11 = d07 + z3;
        const float z13 = d07 - z3;
        b[40 + i] = z13 + z2;
        b[24 + i] = z13 - z2;
        b[8 + i] = z11 + z4;
        b[56 + i] = z11 - z4;
    }
}

inline void Transpose(const float* in, float* out) {
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) {
            out[c * 8 + r] = in[r * 8 + c];
        }
    }
}

// Quantisation divisors as reciprocals, in the DCT's transposed layout,
// with the AAN output scales Scale(u)·Scale(v)·8 folded in.
std::array<float, 64> Divisors(const std::array<uint8_t, 64>& quant) {
    std::array<double, 8> scale{};
    scale[0] = 1.0;
    for (int k = 1; k < 8; ++k) {
        scale[k] = std::cos(k * 3.14159265358979323846 / 16) * std::sqrt(2.0);
    }
    std::array<float, 64> divisors{};
    for (int v = 0; v < 8; ++v) {
        for (int u = 0; u < 8; ++u) {
            divisors[u * 8 + v] =
                static_cast<float>(1.0 / (quant[v * 8 + u] * scale[u] * scale[v] * 8));
        }
    }
    return divisors;
}

// Quantised coefficients of one block in zigzag order, with a bit set for
// each AC coefficient that is not zero, so that the coder can jump over
// runs of zeros.
struct Block {
    int16_t zz[64];
    uint64_t nonZero;
};

// Sixty-four 0/1 bytes → bit k = flags[k]. Eight at a time: with byte j of
// `eight` holding flag j, the product with 0x0102040810204080 gathers flag
// j into bit 56 + j without any carries between them. One multiply per
// eight flags instead of a chain of 64 dependent shifts.
inline uint64_t PackFlags(const uint8_t (&flags)[64]) {
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) {
        uint64_t eight = 0;
        for (int j = 0; j < 8; ++j) {
            eight |= uint64_t{flags[8 * i + j]} << (8 * j);
        }
        bits |= ((eight * 0x0102040810204080u) >> 56) << (8 * i);
    }
    return bits;
}

// The 8 × 8 level-shifted samples (−128 to 127) at `samples`, rows `stride`
// floats apart → quantised coefficients.
void TransformBlock(const float* samples, size_t stride, const std::array<float, 64>& divisors,
                    Block& out) {
    float b[64];
    for (int row = 0; row < 8; ++row) {
        std::copy_n(samples + row * stride, 8, b + row * 8);
    }
    float t[64];
    DctColumns(b);
    Transpose(b, t);
    DctColumns(t);
    int16_t q[64];
    for (int i = 0; i < 64; ++i) {
        const float v = t[i] * divisors[i];
        // Round half away from zero; the bound keeps every value codable
        // in baseline (AC sizes stop at 10 bits, a DC difference at 11).
        const int rounded = static_cast<int>(v + (v < 0 ? -0.5f : 0.5f));
        q[i] = static_cast<int16_t>(std::clamp(rounded, -1023, 1023));
    }
    for (int k = 0; k < 64; ++k) {
        out.zz[k] = q[kTransposedZigzag[k]];
    }
    uint8_t flags[64];
    for (int k = 0; k < 64; ++k) {
        flags[k] = out.zz[k] != 0;
    }
    out.nonZero = PackFlags(flags) & ~uint64_t{1};
}

// --- Entropy coding --------------------------------------------------------

// Collects bits most significant first and stuffs a zero byte after every
// 0xFF byte of entropy-coded data, as markers must stay recognisable. Bytes
// go straight into `out`, which grows ahead of them (Reserve) and is cut to
// length by Finish.
class BitWriter {
public:
    // The most one block can take: 64 codes of at most 27 bits, every byte
    // stuffed, and the word still pending.
    static constexpr size_t kBlockBytes = 64 * 27 / 8 * 2 + 8;

    explicit BitWriter(std::vector<uint8_t>& out) : out(out), length(out.size()) {}

    void Reserve(size_t bytes) {
        if (out.size() - length < bytes) {
            out.resize(std::max(out.size() * 2, length + bytes));
        }
    }

    // count ≤ 27: a code of up to 16 bits with up to 11 value bits.
    void Put(uint32_t bits, int count) {
        pending = (pending << count) | bits;
        used += count;
        if (used >= 32) {
            used -= 32;
            PutWord(static_cast<uint32_t>(pending >> used));
        }
    }

    // Pads the last byte with one bits.
    void Finish() {
        Reserve(kBlockBytes);
        const int pad = (8 - used % 8) % 8;
        Put((1u << pad) - 1, pad);
        while (used > 0) {
            used -= 8;
            PutByte(static_cast<uint8_t>(pending >> used));
        }
        out.resize(length);
    }

private:
    void PutByte(uint8_t byte) {
        out[length++] = byte;
        if (byte == 0xFF) {
            out[length++] = 0;
        }
    }

    void PutWord(uint32_t word) {
        // A byte of `word` is 0xFF exactly when that byte of ~word is zero.
        const uint32_t inverted = ~word;
        if (((inverted - 0x01010101u) & ~inverted & 0x80808080u) == 0) {
            uint8_t* at = out.data() + length;
            at[0] = static_cast<uint8_t>(word >> 24);
            at[1] = static_cast<uint8_t>(word >> 16);
            at[2] = static_cast<uint8_t>(word >> 8);
            at[3] = static_cast<uint8_t>(word);
            length += 4;
            return;
        }
        for (int shift = 24; shift >= 0; shift -= 8) {
            PutByte(static_cast<uint8_t>(word >> shift));
        }
    }

    std::vector<uint8_t>& out;
    size_t length;
    uint64_t pending = 0;
    int used = 0;
};

// A symbol's code followed by the value's own bits: the value's size
// category (its bit length) is in the symbol, and a negative value is sent
// as its ones' complement.
inline void PutCoded(BitWriter& bits, const HuffmanCodes& codes, int symbolHigh, int value) {
    const uint32_t magnitude = static_cast<uint32_t>(value < 0 ? -value : value);
    const int size = std::bit_width(magnitude);
    const uint32_t extra =
        static_cast<uint32_t>(value < 0 ? value - 1 : value) & ((1u << size) - 1);
    const int symbol = symbolHigh | size;
    bits.Put((uint32_t{codes.code[symbol]} << size) | extra, codes.length[symbol] + size);
}

void EncodeBlock(BitWriter& bits, const Block& block, int& dcPrediction, const HuffmanCodes& dc,
                 const HuffmanCodes& ac) {
    bits.Reserve(BitWriter::kBlockBytes);
    PutCoded(bits, dc, 0, block.zz[0] - dcPrediction);
    dcPrediction = block.zz[0];
    uint64_t nonZero = block.nonZero;
    int last = 0;
    while (nonZero != 0) {
        const int k = std::countr_zero(nonZero);
        nonZero &= nonZero - 1;
        int run = k - last - 1;
        for (; run >= 16; run -= 16) {
            bits.Put(ac.code[0xF0], ac.length[0xF0]);  // sixteen zeros
        }
        PutCoded(bits, ac, run << 4, block.zz[k]);
        last = k;
    }
    if (last != 63) {
        bits.Put(ac.code[0x00], ac.length[0x00]);  // end of block
    }
}

// --- Pixels ----------------------------------------------------------------

enum class Layout { Gray, Full, Quarter };

struct Fill {
    uint32_t b, g, r;
};

// "Over" in premultiplied form: the colour plus what shows through of the
// fill. Rounded like the BMP and PNG writers' flattening, so that all three
// give the same colours.
inline void Flatten(const uint8_t* p, const Fill& fill, uint32_t& r, uint32_t& g, uint32_t& b) {
    const uint32_t a = p[3];
    const uint32_t through = 255 - a;
    b = std::min<uint32_t>(p[0], a) + (fill.b * through + 127) / 255;
    g = std::min<uint32_t>(p[1], a) + (fill.g * through + 127) / 255;
    r = std::min<uint32_t>(p[2], a) + (fill.r * through + 127) / 255;
}

bool IsGray(const PixelBuffer& pixels, const Fill& fill) {
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        const uint8_t* p = pixels.Row(y);
        for (int32_t x = 0; x < pixels.Width(); ++x, p += 4) {
            uint32_t r, g, b;
            Flatten(p, fill, r, g, b);
            if (r != g || g != b) {
                return false;
            }
        }
    }
    return true;
}

// JFIF's YCbCr: full-range BT.601 weights.
constexpr float kYr = 0.299f, kYg = 0.587f, kYb = 0.114f;
constexpr float kCbR = -0.168736f, kCbG = -0.331264f, kCbB = 0.5f;
constexpr float kCrR = 0.5f, kCrG = -0.418688f, kCrB = -0.081312f;

// One row of MCUs as level-shifted luminance and colour-difference planes,
// padded to whole MCUs by repeating the last column and row: repeating
// (rather than zeros) keeps the padding from ringing back into the visible
// edge. Whole rows are converted at once, which the compiler vectorises
// far better than 8 × 8 blocks.
class Strip {
public:
    Strip(Layout layout, int32_t paddedWidth)
        : layout(layout),
          width(static_cast<size_t>(paddedWidth)),
          rows(layout == Layout::Quarter ? 16 : 8),
          chromaWidth(layout == Layout::Quarter ? width / 2 : width),
          red(width),
          green(width),
          blue(width),
          luma(width * rows) {
        if (layout == Layout::Gray) {
            return;
        }
        cb.resize(chromaWidth * 8);
        cr.resize(chromaWidth * 8);
        if (layout == Layout::Quarter) {
            pairRed.resize(chromaWidth);
            pairGreen.resize(chromaWidth);
            pairBlue.resize(chromaWidth);
        }
    }

    size_t LumaStride() const { return width; }
    size_t ChromaStride() const { return chromaWidth; }
    const float* Luma(int32_t row, int32_t x) const { return &luma[row * width + x]; }
    const float* Cb(int32_t x) const { return &cb[x]; }
    const float* Cr(int32_t x) const { return &cr[x]; }

    void Read(const PixelBuffer& pixels, int32_t top, const Fill& fill) {
        for (size_t row = 0; row < rows; ++row) {
            ReadRow(pixels, std::min(top + static_cast<int32_t>(row), pixels.Height() - 1), fill);
            float* y = &luma[row * width];
            if (layout == Layout::Gray) {
                // Red as it is: the weights add up to one, but floats
                // would add noise.
                for (size_t x = 0; x < width; ++x) {
                    y[x] = red[x] - 128.0f;
                }
                continue;
            }
            for (size_t x = 0; x < width; ++x) {
                y[x] = kYr * red[x] + kYg * green[x] + kYb * blue[x] - 128.0f;
            }
            if (layout == Layout::Full) {
                ToChroma(red.data(), green.data(), blue.data(), 1.0f, row);
            } else {
                AddPairs(row % 2 == 0);
                if (row % 2 == 1) {
                    // The mean of 2 × 2 pixels sits at their centre, where
                    // JFIF places a quarter-resolution sample.
                    ToChroma(pairRed.data(), pairGreen.data(), pairBlue.data(), 0.25f, row / 2);
                }
            }
        }
    }

private:
    // Flattened red, green and blue of picture row y, with the padding.
    void ReadRow(const PixelBuffer& pixels, int32_t y, const Fill& fill) {
        const size_t visible = static_cast<size_t>(pixels.Width());
        const uint8_t* p = pixels.Row(y);
        uint32_t alphas = 255;
        for (size_t x = 0; x < visible; ++x) {
            alphas &= p[4 * x + 3];
        }
        if (alphas == 255) {  // opaque: the fill cannot show
            for (size_t x = 0; x < visible; ++x) {
                blue[x] = p[4 * x];
                green[x] = p[4 * x + 1];
                red[x] = p[4 * x + 2];
            }
        } else {
            for (size_t x = 0; x < visible; ++x) {
                uint32_t r, g, b;
                Flatten(p + 4 * x, fill, r, g, b);
                red[x] = static_cast<float>(r);
                green[x] = static_cast<float>(g);
                blue[x] = static_cast<float>(b);
            }
        }
        std::fill(red.begin() + visible, red.end(), red[visible - 1]);
        std::fill(green.begin() + visible, green.end(), green[visible - 1]);
        std::fill(blue.begin() + visible, blue.end(), blue[visible - 1]);
    }

    // Sums horizontal pairs of the current row into the pair rows, starting
    // them afresh on the first row of two.
    void AddPairs(bool first) {
        if (first) {
            std::fill(pairRed.begin(), pairRed.end(), 0.0f);
            std::fill(pairGreen.begin(), pairGreen.end(), 0.0f);
            std::fill(pairBlue.begin(), pairBlue.end(), 0.0f);
        }
        for (size_t i = 0; i < chromaWidth; ++i) {
            pairRed[i] += red[2 * i] + red[2 * i + 1];
            pairGreen[i] += green[2 * i] + green[2 * i + 1];
            pairBlue[i] += blue[2 * i] + blue[2 * i + 1];
        }
    }

    void ToChroma(const float* r, const float* g, const float* b, float scale, size_t row) {
        float* outCb = &cb[row * chromaWidth];
        float* outCr = &cr[row * chromaWidth];
        for (size_t i = 0; i < chromaWidth; ++i) {
            outCb[i] = scale * (kCbR * r[i] + kCbG * g[i] + kCbB * b[i]);
            outCr[i] = scale * (kCrR * r[i] + kCrG * g[i] + kCrB * b[i]);
        }
    }

    Layout layout;
    size_t width;
    size_t rows;
    size_t chromaWidth;
    std::vector<float> red, green, blue;
    std::vector<float> pairRed, pairGreen, pairBlue;
    std::vector<float> luma, cb, cr;
};

// --- Headers ---------------------------------------------------------------

void AppendMarker(std::vector<uint8_t>& out, Marker marker) {
    out.push_back(0xFF);
    out.push_back(static_cast<uint8_t>(marker));
}

// A marker and its segment length, which counts itself but not the marker.
void AppendSegmentHead(std::vector<uint8_t>& out, Marker marker, size_t payload) {
    AppendMarker(out, marker);
    AppendBE16(out, static_cast<uint32_t>(payload + 2));
}

void AppendJfif(std::vector<uint8_t>& out) {
    AppendSegmentHead(out, Marker::APP0, 14);
    out.insert(out.end(), {'J', 'F', 'I', 'F', 0, 1, 1});  // identifier, version 1.01
    out.push_back(1);                                      // densities in dots per inch
    AppendBE16(out, kDotsPerInch);
    AppendBE16(out, kDotsPerInch);
    out.push_back(0);  // no thumbnail
    out.push_back(0);
}

void AppendQuantTables(std::vector<uint8_t>& out,
                       std::initializer_list<const std::array<uint8_t, 64>*> tables) {
    AppendSegmentHead(out, Marker::DQT, tables.size() * 65);
    uint8_t id = 0;
    for (const auto* table : tables) {
        out.push_back(id++);  // 8-bit entries, table id
        for (const uint8_t natural : kZigzag) {
            out.push_back((*table)[natural]);
        }
    }
}

struct Component {
    uint8_t id;
    uint8_t sampling;  // horizontal << 4 | vertical
    uint8_t table;     // quantisation and Huffman table pair
};

void AppendFrame(std::vector<uint8_t>& out, int32_t width, int32_t height,
                 const std::vector<Component>& components) {
    AppendSegmentHead(out, Marker::SOF0, 6 + 3 * components.size());
    out.push_back(8);  // bits per sample
    AppendBE16(out, static_cast<uint32_t>(height));
    AppendBE16(out, static_cast<uint32_t>(width));
    out.push_back(static_cast<uint8_t>(components.size()));
    for (const Component& c : components) {
        out.insert(out.end(), {c.id, c.sampling, c.table});
    }
}

void AppendHuffmanTables(std::vector<uint8_t>& out, bool withChroma) {
    struct Entry {
        uint8_t classAndId;  // 0 DC / 1 AC << 4 | table id
        const HuffmanTable* huffman;
    };
    const Entry all[] = {
        {0x00, &kLumaDc}, {0x10, &kLumaAc}, {0x01, &kChromaDc}, {0x11, &kChromaAc}};
    const std::span<const Entry> entries(all, withChroma ? 4 : 2);
    size_t payload = 0;
    for (const Entry& e : entries) {
        payload += 17 + static_cast<size_t>(e.huffman->symbolCount);
    }
    AppendSegmentHead(out, Marker::DHT, payload);
    for (const Entry& e : entries) {
        out.push_back(e.classAndId);
        out.insert(out.end(), e.huffman->counts.begin(), e.huffman->counts.end());
        out.insert(out.end(), e.huffman->symbols.begin(),
                   e.huffman->symbols.begin() + e.huffman->symbolCount);
    }
}

void AppendScanHead(std::vector<uint8_t>& out, const std::vector<Component>& components) {
    AppendSegmentHead(out, Marker::SOS, 4 + 2 * components.size());
    out.push_back(static_cast<uint8_t>(components.size()));
    for (const Component& c : components) {
        out.push_back(c.id);
        out.push_back(static_cast<uint8_t>(c.table << 4 | c.table));  // DC table, AC table
    }
    out.insert(out.end(), {0, 63, 0});  // whole spectrum, no successive approximation
}

// --- The encoder -----------------------------------------------------------

struct Encoder {
    const PixelBuffer& pixels;
    Fill fill;
    Layout layout;
    std::array<float, 64> lumaDivisors;
    std::array<float, 64> chromaDivisors;

    void EncodeScan(std::vector<uint8_t>& out) const {
        const int32_t mcu = layout == Layout::Quarter ? 16 : 8;
        const int32_t columns = (pixels.Width() + mcu - 1) / mcu;
        const int32_t mcuRows = (pixels.Height() + mcu - 1) / mcu;
        Strip strip(layout, columns * mcu);
        BitWriter bits(out);
        int predictions[3] = {0, 0, 0};
        Block block;
        for (int32_t my = 0; my < mcuRows; ++my) {
            strip.Read(pixels, my * mcu, fill);
            for (int32_t mx = 0; mx < columns; ++mx) {
                // Luminance blocks of one MCU go left to right, top to
                // bottom; then one block of each colour channel.
                for (int32_t by = 0; by < mcu; by += 8) {
                    for (int32_t bx = 0; bx < mcu; bx += 8) {
                        TransformBlock(strip.Luma(by, mx * mcu + bx), strip.LumaStride(),
                                       lumaDivisors, block);
                        EncodeBlock(bits, block, predictions[0], kLumaDcCodes, kLumaAcCodes);
                    }
                }
                if (layout == Layout::Gray) {
                    continue;
                }
                TransformBlock(strip.Cb(mx * 8), strip.ChromaStride(), chromaDivisors, block);
                EncodeBlock(bits, block, predictions[1], kChromaDcCodes, kChromaAcCodes);
                TransformBlock(strip.Cr(mx * 8), strip.ChromaStride(), chromaDivisors, block);
                EncodeBlock(bits, block, predictions[2], kChromaDcCodes, kChromaAcCodes);
            }
        }
        bits.Finish();
    }
};

Fill FillOf(int32_t fillColor) {
    // Deliberate: JPEG has nothing to keep transparency in, so −1 ("keep
    // it", as the PNG writer reads it) and system colours, which this layer
    // cannot look up, flatten onto white like a page would show them.
    const uint32_t c = fillColor < 0 ? 0xFFFFFFu : static_cast<uint32_t>(fillColor);
    return Fill{c >> 16 & 0xFF, c >> 8 & 0xFF, c & 0xFF};
}

}  // namespace

bool APIJPGWriter::SaveJPG(const API32bppDIB& Surface, std::vector<uint8_t>& Out, uint8_t Quality,
                           int32_t FillColor) const {
    const PixelBuffer& pixels = Surface.Pixels();
    if (Surface.Handle() == 0 || pixels.Empty() || pixels.Width() > kMaxSide ||
        pixels.Height() > kMaxSide) {
        return false;
    }
    const int quality = std::clamp<int>(Quality, 1, kMaxQuality);
    const Fill fill = FillOf(FillColor);
    Layout layout = Layout::Gray;
    if (!IsGray(pixels, fill)) {
        const bool full = chroma == JpegChroma::Full ||
                          (chroma == JpegChroma::Auto && quality >= kFullChromaQuality);
        layout = full ? Layout::Full : Layout::Quarter;
    }
    const auto luma = ScaledQuant(kLumaQuant, quality);
    const auto chromaTable = ScaledQuant(kChromaQuant, quality);
    std::vector<Component> components = {{1, 0x11, 0}};
    if (layout != Layout::Gray) {
        components[0].sampling = layout == Layout::Quarter ? 0x22 : 0x11;
        components.push_back({2, 0x11, 1});
        components.push_back({3, 0x11, 1});
    }
    try {
        std::vector<uint8_t> bytes;
        // About a bit per pixel is typical of the middle qualities.
        bytes.reserve(
            static_cast<size_t>(pixels.Width()) * static_cast<size_t>(pixels.Height()) / 8 + 1024);
        AppendMarker(bytes, Marker::SOI);
        AppendJfif(bytes);
        if (layout == Layout::Gray) {
            AppendQuantTables(bytes, {&luma});
        } else {
            AppendQuantTables(bytes, {&luma, &chromaTable});
        }
        AppendFrame(bytes, pixels.Width(), pixels.Height(), components);
        AppendHuffmanTables(bytes, layout != Layout::Gray);
        AppendScanHead(bytes, components);
        const Encoder encoder{pixels, fill, layout, Divisors(luma), Divisors(chromaTable)};
        encoder.EncodeScan(bytes);
        AppendMarker(bytes, Marker::EOI);
        Out.swap(bytes);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

}  // namespace kelvara
