#include "kelvara/image/png/APIPNGWriter.h"

// SavePNG → ReadPixels (un-premultiply, or flatten onto the fill colour)
//         → ChooseLayout (colour type from the content)
//         → PackAndFilter (one filter per row, chosen by the smallest sum of
//           absolute differences) → Deflate (zlib, or stored blocks without it)
//         → IHDR, PLTE, tRNS, bKGD, tIME, tEXt / iTXt, IDAT..., IEND
//
// The writer always writes 8 bits per sample. Colours are un-premultiplied
// by rounding up, c' = ceil(255·c / a), because a reader premultiplies by
// floor(c'·a / 255): that pair gives back exactly the stored bytes, so a
// surface survives write → read unchanged whatever its alpha.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

#include "kelvara/base/Date.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/detail/ByteIO.h"

namespace kelvara {

namespace {

using detail::AppendBE16;
using detail::AppendBE32;

constexpr std::array<uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
// IDAT data is split into chunks of this size so that streaming readers
// can work through it in steps.
constexpr size_t kIdatChunk = size_t{1} << 20;
constexpr int kZlibLevel = 6;
// Deflate's stored blocks hold at most this many bytes each.
constexpr size_t kStoredBlock = 65535;
constexpr int32_t kNoBackground = -1;
constexpr int32_t kMaxKeyword = 79;

enum class ColorType : uint8_t { Gray = 0, Rgb = 2, Palette = 3, GrayAlpha = 4, Rgba = 6 };

// --- Checksums -------------------------------------------------------------

constexpr std::array<uint32_t, 256> MakeCrcTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) {
            c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        }
        table[n] = c;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();

// With zlib switched off the engine keeps to its own code, CRC included.
uint32_t Crc32(std::span<const uint8_t> bytes, uint32_t crc) {
    if (Zlib::Available()) {
        return Zlib::Crc32(bytes, crc);
    }
    uint32_t c = crc ^ 0xFFFFFFFFu;
    for (const uint8_t b : bytes) {
        c = kCrcTable[(c ^ b) & 0xFF] ^ (c >> 8);
    }
    return c ^ 0xFFFFFFFFu;
}

uint32_t Adler32(std::span<const uint8_t> bytes) {
    // 5552 is the longest run whose sums cannot pass 32 bits before the
    // modulo.
    constexpr size_t kRun = 5552;
    uint32_t a = 1;
    uint32_t b = 0;
    size_t at = 0;
    while (at < bytes.size()) {
        const size_t end = std::min(bytes.size(), at + kRun);
        for (; at < end; ++at) {
            a += bytes[at];
            b += a;
        }
        a %= 65521;
        b %= 65521;
    }
    return (b << 16) | a;
}

// --- Chunks ----------------------------------------------------------------

void AppendChunk(std::vector<uint8_t>& out, const char (&type)[5], std::span<const uint8_t> data) {
    AppendBE32(out, static_cast<uint32_t>(data.size()));
    const size_t typeAt = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    const std::span<const uint8_t> covered(out.data() + typeAt, data.size() + 4);
    AppendBE32(out, Crc32(covered, 0));
}

void StoredZlib(std::span<const uint8_t> raw, std::vector<uint8_t>& out) {
    out.clear();
    out.reserve(raw.size() + raw.size() / kStoredBlock * 5 + 16);
    // CMF 0x78 (deflate, 32 KiB window), FLG 0x01: the pair is a multiple
    // of 31 as the header check requires.
    out.push_back(0x78);
    out.push_back(0x01);
    size_t at = 0;
    do {
        const size_t length = std::min(kStoredBlock, raw.size() - at);
        const bool last = at + length == raw.size();
        out.push_back(last ? 1 : 0);
        detail::AppendLE16(out, static_cast<uint32_t>(length));
        detail::AppendLE16(out, static_cast<uint32_t>(~length & 0xFFFF));
        out.insert(out.end(), raw.begin() + static_cast<ptrdiff_t>(at),
                   raw.begin() + static_cast<ptrdiff_t>(at + length));
        at += length;
    } while (at < raw.size());
    AppendBE32(out, Adler32(raw));
}

// --- Pixels and layout -----------------------------------------------------

// Straight (not premultiplied) RGBA, one word per pixel: red in the low byte.
using Rgba = uint32_t;

constexpr Rgba PackRgba(uint32_t r, uint32_t g, uint32_t b, uint32_t a) {
    return r | (g << 8) | (b << 16) | (a << 24);
}
constexpr uint8_t Channel(Rgba c, int shift) {
    return static_cast<uint8_t>(c >> shift);
}
constexpr uint8_t Red(Rgba c) {
    return Channel(c, 0);
}
constexpr uint8_t Green(Rgba c) {
    return Channel(c, 8);
}
constexpr uint8_t Blue(Rgba c) {
    return Channel(c, 16);
}
constexpr uint8_t AlphaOf(Rgba c) {
    return Channel(c, 24);
}

// Restores one premultiplied colour byte. Colour above alpha cannot occur in
// a well-kept surface; it is clamped so that the result stays a byte.
constexpr uint32_t Unpremultiply(uint32_t c, uint32_t a) {
    c = std::min(c, a);
    return (255 * c + a - 1) / a;
}

std::vector<Rgba> ReadPixels(const API32bppDIB& surface, int32_t fillColor) {
    const PixelBuffer& pixels = surface.Pixels();
    const int32_t width = pixels.Width();
    const int32_t height = pixels.Height();
    std::vector<Rgba> out(static_cast<size_t>(width) * static_cast<size_t>(height));
    const bool flatten = fillColor != -1;
    const uint32_t fill[3] = {static_cast<uint32_t>(fillColor) >> 16 & 0xFF,  // blue
                              static_cast<uint32_t>(fillColor) >> 8 & 0xFF,   // green
                              static_cast<uint32_t>(fillColor) & 0xFF};       // red
    size_t at = 0;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = pixels.Row(y);
        for (int32_t x = 0; x < width; ++x, row += 4) {
            const uint32_t a = row[3];
            uint32_t bgr[3];
            for (int i = 0; i < 3; ++i) {
                const uint32_t c = std::min<uint32_t>(row[i], a);
                if (flatten) {
                    // Premultiplied "over": the colour plus what shows through.
                    bgr[i] = c + (fill[i] * (255 - a) + 127) / 255;
                } else {
                    bgr[i] = a == 0 ? 0 : Unpremultiply(c, a);
                }
            }
            out[at++] = PackRgba(bgr[2], bgr[1], bgr[0], flatten ? 255 : a);
        }
    }
    return out;
}

// Up to 256 distinct colours, found with a small open-addressing table.
class ColorCounter {
public:
    // False once a 257th colour turns up.
    bool Add(Rgba color) {
        size_t slot = Hash(color);
        while (used[slot]) {
            if (keys[slot] == color) {
                return true;
            }
            slot = (slot + 1) & (kSlots - 1);
        }
        if (colors.size() == 256) {
            return false;
        }
        used[slot] = true;
        keys[slot] = color;
        indexes[slot] = static_cast<uint8_t>(colors.size());
        colors.push_back(color);
        return true;
    }
    bool Contains(Rgba color) const { return Find(color) >= 0; }
    int32_t Find(Rgba color) const {
        size_t slot = Hash(color);
        while (used[slot]) {
            if (keys[slot] == color) {
                return indexes[slot];
            }
            slot = (slot + 1) & (kSlots - 1);
        }
        return -1;
    }
    const std::vector<Rgba>& Colors() const { return colors; }

private:
    static constexpr size_t kSlots = 1024;
    static size_t Hash(Rgba color) { return (color * 2654435761u) >> 22; }

    std::array<Rgba, kSlots> keys{};
    std::array<uint8_t, kSlots> indexes{};
    std::array<bool, kSlots> used{};
    std::vector<Rgba> colors;
};

struct Layout {
    ColorType type = ColorType::Rgba;
    int32_t bytesPerPixel = 4;
    // Palette entries in file order: those with alpha below 255 first, so
    // that tRNS can stop after the last of them.
    std::vector<Rgba> palette;
    std::array<uint8_t, 256> remap{};  // counter index → file index
    int32_t translucentEntries = 0;
    std::optional<uint8_t> backgroundIndex;
};

Layout ChooseLayout(const std::vector<Rgba>& pixels, int32_t background, ColorCounter& counter) {
    bool opaque = true;
    bool gray = true;
    bool fits = true;
    Rgba last = ~pixels.front();
    for (const Rgba c : pixels) {
        if (c == last) {
            continue;
        }
        last = c;
        opaque = opaque && AlphaOf(c) == 255;
        gray = gray && Red(c) == Green(c) && Green(c) == Blue(c);
        fits = fits && counter.Add(c);
    }
    const bool hasBackground = background != kNoBackground;
    const Rgba backColor =
        PackRgba(background & 0xFF, background >> 8 & 0xFF, background >> 16 & 0xFF, 255);
    const bool backGray = !hasBackground || (Red(backColor) == Green(backColor) &&
                                             Green(backColor) == Blue(backColor));
    // bKGD of a palette picture names an entry; add one when the colour is
    // not among the picture's own.
    if (hasBackground && fits && !counter.Contains(backColor)) {
        fits = counter.Add(backColor);
    }

    Layout layout;
    if (opaque && gray && backGray) {
        layout.type = ColorType::Gray;
        layout.bytesPerPixel = 1;
        return layout;
    }
    // A palette pays when the bytes it saves per pixel outweigh PLTE and
    // tRNS; for a handful of pixels the plain layout is smaller.
    const int32_t plainBytes = opaque ? 3 : (gray && backGray ? 2 : 4);
    const size_t entries = counter.Colors().size();
    const size_t paletteCost = entries * 4 + 24;
    if (fits && pixels.size() * static_cast<size_t>(plainBytes - 1) > paletteCost) {
        layout.type = ColorType::Palette;
        layout.bytesPerPixel = 1;
        const auto& colors = counter.Colors();
        for (size_t pass = 0; pass < 2; ++pass) {
            for (size_t i = 0; i < colors.size(); ++i) {
                if ((AlphaOf(colors[i]) < 255) == (pass == 0)) {
                    layout.remap[i] = static_cast<uint8_t>(layout.palette.size());
                    layout.palette.push_back(colors[i]);
                }
            }
            if (pass == 0) {
                layout.translucentEntries = static_cast<int32_t>(layout.palette.size());
            }
        }
        if (hasBackground) {
            layout.backgroundIndex = layout.remap[static_cast<size_t>(counter.Find(backColor))];
        }
        return layout;
    }
    if (opaque) {
        layout.type = ColorType::Rgb;
        layout.bytesPerPixel = 3;
    } else if (gray && backGray) {
        layout.type = ColorType::GrayAlpha;
        layout.bytesPerPixel = 2;
    } else {
        layout.type = ColorType::Rgba;
        layout.bytesPerPixel = 4;
    }
    return layout;
}

void PackRow(const Rgba* pixels, int32_t width, const Layout& layout, const ColorCounter& counter,
             uint8_t* out) {
    for (int32_t x = 0; x < width; ++x) {
        const Rgba c = pixels[x];
        switch (layout.type) {
            case ColorType::Gray:
                *out++ = Red(c);
                break;
            case ColorType::GrayAlpha:
                *out++ = Red(c);
                *out++ = AlphaOf(c);
                break;
            case ColorType::Palette:
                *out++ = layout.remap[static_cast<size_t>(counter.Find(c))];
                break;
            case ColorType::Rgb:
                *out++ = Red(c);
                *out++ = Green(c);
                *out++ = Blue(c);
                break;
            case ColorType::Rgba:
                *out++ = Red(c);
                *out++ = Green(c);
                *out++ = Blue(c);
                *out++ = AlphaOf(c);
                break;
        }
    }
}

uint8_t Paeth(int a, int b, int c) {
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    if (pa <= pb && pa <= pc) {
        return static_cast<uint8_t>(a);
    }
    return static_cast<uint8_t>(pb <= pc ? b : c);
}

// Writes the five filtered forms of `row` into `candidates` (filter type k at
// k × length) and returns the type whose bytes, read as signed, sum smallest.
uint8_t BestFilter(const uint8_t* row, const uint8_t* previous, size_t length, size_t bpp,
                   uint8_t* candidates) {
    uint64_t best = UINT64_MAX;
    uint8_t bestType = 0;
    for (uint8_t type = 0; type < 5; ++type) {
        uint8_t* out = candidates + type * length;
        uint64_t score = 0;
        for (size_t i = 0; i < length; ++i) {
            const int left = i >= bpp ? row[i - bpp] : 0;
            const int up = previous[i];
            const int upLeft = i >= bpp ? previous[i - bpp] : 0;
            int predicted = 0;
            switch (type) {
                case 1:
                    predicted = left;
                    break;
                case 2:
                    predicted = up;
                    break;
                case 3:
                    predicted = (left + up) / 2;
                    break;
                case 4:
                    predicted = Paeth(left, up, upLeft);
                    break;
                default:
                    break;
            }
            out[i] = static_cast<uint8_t>(row[i] - predicted);
            score += static_cast<uint64_t>(std::abs(static_cast<int8_t>(out[i])));
        }
        if (score < best) {
            best = score;
            bestType = type;
        }
    }
    return bestType;
}

std::vector<uint8_t> PackAndFilter(const std::vector<Rgba>& pixels, int32_t width, int32_t height,
                                   const Layout& layout, const ColorCounter& counter) {
    const size_t length = static_cast<size_t>(width) * static_cast<size_t>(layout.bytesPerPixel);
    std::vector<uint8_t> out((length + 1) * static_cast<size_t>(height));
    std::vector<uint8_t> previous(length, 0);
    std::vector<uint8_t> current(length);
    std::vector<uint8_t> candidates(length * 5);
    for (int32_t y = 0; y < height; ++y) {
        PackRow(pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width), width, layout,
                counter, current.data());
        uint8_t* dest = out.data() + static_cast<size_t>(y) * (length + 1);
        // Prediction does little for palette indexes; they go unfiltered.
        if (layout.type == ColorType::Palette) {
            dest[0] = 0;
            std::copy(current.begin(), current.end(), dest + 1);
        } else {
            const uint8_t type =
                BestFilter(current.data(), previous.data(), length,
                           static_cast<size_t>(layout.bytesPerPixel), candidates.data());
            dest[0] = type;
            std::copy_n(candidates.data() + type * length, length, dest + 1);
        }
        previous.swap(current);
    }
    return out;
}

// --- Properties ------------------------------------------------------------

constexpr int32_t kTextProperties = 1023;  // Title … Comment
constexpr int32_t kCustom = static_cast<int32_t>(ePngProperties::Custom);
constexpr int32_t kLastModified = static_cast<int32_t>(ePngProperties::LastModified);
constexpr int32_t kBackground = static_cast<int32_t>(ePngProperties::BackgroundColor);
constexpr int32_t kCreationTime = static_cast<int32_t>(ePngProperties::CreationTime);

const char* StandardKeyword(int32_t property) {
    switch (property) {
        case 1:
            return "Title";
        case 2:
            return "Author";
        case 4:
            return "Description";
        case 8:
            return "Copyright";
        case 16:
            return "Creation Time";
        case 32:
            return "Software";
        case 64:
            return "Disclaimer";
        case 128:
            return "Warning";
        case 256:
            return "Source";
        case 512:
            return "Comment";
        default:
            return nullptr;
    }
}

bool IsKnownProperty(int32_t property) {
    return StandardKeyword(property) != nullptr || property == kCustom ||
           property == kLastModified || property == kBackground;
}

// Strict UTF-8 → code points; nullopt for malformed text, overlong forms and
// surrogates included.
std::optional<std::u32string> DecodeUtf8(std::string_view text) {
    std::u32string out;
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<uint8_t>(text[i]);
        int extra = 0;
        char32_t cp = 0;
        char32_t minimum = 0;
        if (lead < 0x80) {
            cp = lead;
        } else if ((lead & 0xE0) == 0xC0) {
            extra = 1, cp = lead & 0x1F, minimum = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2, cp = lead & 0x0F, minimum = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3, cp = lead & 0x07, minimum = 0x10000;
        } else {
            return std::nullopt;
        }
        if (text.size() - i <= static_cast<size_t>(extra)) {
            return std::nullopt;
        }
        for (int k = 1; k <= extra; ++k) {
            const auto next = static_cast<uint8_t>(text[i + static_cast<size_t>(k)]);
            if ((next & 0xC0) != 0x80) {
                return std::nullopt;
            }
            cp = (cp << 6) | (next & 0x3F);
        }
        if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            return std::nullopt;
        }
        out.push_back(cp);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

// The keyword in Latin-1 when it is one PNG allows: 1 to 79 printable
// Latin-1 characters, no leading, trailing or doubled spaces.
std::optional<std::string> KeywordLatin1(std::string_view keyword) {
    const auto decoded = DecodeUtf8(keyword);
    if (!decoded || decoded->empty() || decoded->size() > static_cast<size_t>(kMaxKeyword)) {
        return std::nullopt;
    }
    std::string out;
    for (const char32_t c : *decoded) {
        const bool printable = (c >= 32 && c <= 126) || (c >= 161 && c <= 255);
        if (!printable || (c == ' ' && (out.empty() || out.back() == ' '))) {
            return std::nullopt;
        }
        out.push_back(static_cast<char>(c));
    }
    if (out.back() == ' ') {
        return std::nullopt;
    }
    return out;
}

std::string TwoDigits(int32_t value) {
    return {static_cast<char>('0' + value / 10 % 10), static_cast<char>('0' + value % 10)};
}

// A date given for "Creation Time" is written in ISO 8601 form, local time.
std::string IsoDateText(Date date) {
    const int32_t year = Year(date);
    return TwoDigits(year / 100) + TwoDigits(year % 100) + "-" + TwoDigits(Month(date)) + "-" +
           TwoDigits(Day(date)) + "T" + TwoDigits(Hour(date)) + ":" + TwoDigits(Minute(date)) +
           ":" + TwoDigits(Second(date));
}

std::optional<std::string> TextOf(int32_t property, const Variant& value) {
    if (const auto* text = value.Get<std::string>()) {
        return *text;
    }
    if (const auto* date = value.Get<Date>(); date != nullptr && property == kCreationTime) {
        if (!date->IsValid()) {
            return std::nullopt;
        }
        return IsoDateText(*date);
    }
    return std::nullopt;
}

std::optional<int32_t> ColorOf(const Variant& value) {
    double number = 0;
    if (const auto* l = value.Get<int32_t>()) {
        number = *l;
    } else if (const auto* i = value.Get<int16_t>()) {
        number = *i;
    } else if (const auto* b = value.Get<uint8_t>()) {
        number = *b;
    } else if (const auto* d = value.Get<double>()) {
        number = *d;
    } else {
        return std::nullopt;
    }
    if (number != static_cast<double>(static_cast<int64_t>(number)) ||
        (number != kNoBackground && (number < 0 || number > 0xFFFFFF))) {
        return std::nullopt;
    }
    return static_cast<int32_t>(number);
}

void AppendTextChunk(std::vector<uint8_t>& out, const std::string& keywordLatin1,
                     const std::string& textUtf8) {
    const auto decoded = DecodeUtf8(textUtf8);
    std::vector<uint8_t> data(keywordLatin1.begin(), keywordLatin1.end());
    data.push_back(0);
    const bool latin1 =
        std::all_of(decoded->begin(), decoded->end(), [](char32_t c) { return c <= 0xFF; });
    if (latin1) {
        for (const char32_t c : *decoded) {
            data.push_back(static_cast<uint8_t>(c));
        }
        AppendChunk(out, "tEXt", data);
        return;
    }
    // Uncompressed, no language tag, no translated keyword.
    data.insert(data.end(), {0, 0, 0, 0});
    data.insert(data.end(), textUtf8.begin(), textUtf8.end());
    AppendChunk(out, "iTXt", data);
}

}  // namespace

// Malformed input: the writer takes surfaces, not bytes, so there is none to
// meet. A surface whose colour bytes exceed their alpha (not premultiplied)
// is clamped to the alpha rather than refused.
bool APIPNGWriter::SavePNG(const API32bppDIB& Surface, std::vector<uint8_t>& Out,
                           int32_t FillColor) {
    Out.clear();
    const PixelBuffer& buffer = Surface.Pixels();
    if (buffer.Empty() || buffer.Width() < 1 || buffer.Height() < 1) {
        return false;
    }
    const int32_t width = buffer.Width();
    const int32_t height = buffer.Height();
    const Variant backgroundValue = GetProperty(kBackground);
    const int32_t background =
        backgroundValue.Get<int32_t>() != nullptr ? *backgroundValue.Get<int32_t>() : kNoBackground;
    const Variant modifiedValue = GetProperty(kLastModified);
    try {
        const std::vector<Rgba> pixels = ReadPixels(Surface, FillColor);
        auto counter = std::make_unique<ColorCounter>();
        const Layout layout = ChooseLayout(pixels, background, *counter);
        const std::vector<uint8_t> raw = PackAndFilter(pixels, width, height, layout, *counter);

        std::vector<uint8_t> compressed;
        if (!Zlib::Available() || !Zlib::Compress(raw, kZlibLevel, compressed)) {
            StoredZlib(raw, compressed);
        }

        std::vector<uint8_t> data;
        Out.insert(Out.end(), kSignature.begin(), kSignature.end());
        AppendBE32(data, static_cast<uint32_t>(width));
        AppendBE32(data, static_cast<uint32_t>(height));
        data.insert(data.end(), {8, static_cast<uint8_t>(layout.type), 0, 0, 0});
        AppendChunk(Out, "IHDR", data);

        if (layout.type == ColorType::Palette) {
            data.clear();
            for (const Rgba c : layout.palette) {
                data.insert(data.end(), {Red(c), Green(c), Blue(c)});
            }
            AppendChunk(Out, "PLTE", data);
            if (layout.translucentEntries > 0) {
                data.clear();
                for (int32_t i = 0; i < layout.translucentEntries; ++i) {
                    data.push_back(AlphaOf(layout.palette[static_cast<size_t>(i)]));
                }
                AppendChunk(Out, "tRNS", data);
            }
        }
        if (background != kNoBackground) {
            data.clear();
            const uint32_t r = background & 0xFF;
            const uint32_t g = background >> 8 & 0xFF;
            const uint32_t b = background >> 16 & 0xFF;
            switch (layout.type) {
                case ColorType::Gray:
                case ColorType::GrayAlpha:
                    AppendBE16(data, r);
                    break;
                case ColorType::Palette:
                    data.push_back(*layout.backgroundIndex);
                    break;
                case ColorType::Rgb:
                case ColorType::Rgba:
                    AppendBE16(data, r);
                    AppendBE16(data, g);
                    AppendBE16(data, b);
                    break;
            }
            AppendChunk(Out, "bKGD", data);
        }
        if (const auto* modified = modifiedValue.Get<Date>();
            modified != nullptr && modified->Serial() != 0) {
            data.clear();
            AppendBE16(data, static_cast<uint32_t>(Year(*modified)));
            data.insert(
                data.end(),
                {static_cast<uint8_t>(Month(*modified)), static_cast<uint8_t>(Day(*modified)),
                 static_cast<uint8_t>(Hour(*modified)), static_cast<uint8_t>(Minute(*modified)),
                 static_cast<uint8_t>(Second(*modified))});
            AppendChunk(Out, "tIME", data);
        }
        for (const Entry& entry : properties) {
            if ((entry.property & kTextProperties) == 0 && entry.property != kCustom) {
                continue;
            }
            const std::string keyword = entry.property == kCustom
                                            ? *KeywordLatin1(entry.keyword)
                                            : std::string(StandardKeyword(entry.property));
            AppendTextChunk(Out, keyword, *TextOf(entry.property, entry.value));
        }

        for (size_t at = 0; at < compressed.size(); at += kIdatChunk) {
            const size_t length = std::min(kIdatChunk, compressed.size() - at);
            AppendChunk(Out, "IDAT", std::span<const uint8_t>(compressed.data() + at, length));
        }
        AppendChunk(Out, "IEND", {});
    } catch (const std::bad_alloc&) {
        Out.clear();
        return false;
    }
    return true;
}

bool APIPNGWriter::SaveToFile(const std::string& FileName, const API32bppDIB& Surface,
                              int32_t FillColor) {
    std::vector<uint8_t> bytes;
    if (!SavePNG(Surface, bytes, FillColor)) {
        return false;
    }
    std::FILE* file = std::fopen(FileName.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        // A half-written picture is worse than none.
        std::remove(FileName.c_str());
        return false;
    }
    return true;
}

// Setting a property to Empty removes it; Property −1 removes them all.
bool APIPNGWriter::SetProperty(int32_t Property, const Variant& Value, const std::string& Keyword) {
    if (Property == -1) {
        properties.clear();
        return true;
    }
    if (!IsKnownProperty(Property)) {
        return false;
    }
    std::string keyword;
    if (Property == kCustom) {
        if (!KeywordLatin1(Keyword)) {
            return false;
        }
        keyword = Keyword;
    }
    const auto existing = std::find_if(properties.begin(), properties.end(), [&](const Entry& e) {
        return e.property == Property && e.keyword == keyword;
    });
    if (Value.IsEmpty()) {
        if (existing != properties.end()) {
            properties.erase(existing);
        }
        return true;
    }

    Variant stored;
    if (Property == kBackground) {
        const auto color = ColorOf(Value);
        if (!color) {
            return false;
        }
        stored = Variant(*color);
    } else if (Property == kLastModified) {
        const auto* date = Value.Get<Date>();
        if (date == nullptr || !date->IsValid()) {
            return false;
        }
        stored = Value;
    } else {
        const auto text = TextOf(Property, Value);
        // tEXt and iTXt end their fields with a zero byte, so text cannot
        // hold one.
        if (!text || !DecodeUtf8(*text) || text->find('\0') != std::string::npos) {
            return false;
        }
        stored = Value;
    }
    if (existing != properties.end()) {
        existing->value = std::move(stored);
    } else {
        properties.push_back(Entry{Property, keyword, std::move(stored)});
    }
    return true;
}

Variant APIPNGWriter::GetProperty(int32_t Property, const std::string& Keyword) const {
    const std::string keyword = Property == kCustom ? Keyword : std::string();
    for (const Entry& entry : properties) {
        if (entry.property == Property && entry.keyword == keyword) {
            return entry.value;
        }
    }
    return EmptyProperty(Property);
}

Variant APIPNGWriter::EmptyProperty(int32_t Property) {
    if (Property == kBackground) {
        return Variant(int32_t{-1});
    }
    if (Property == kLastModified) {
        return Variant(Date(0));
    }
    return Variant("");
}

}  // namespace kelvara
