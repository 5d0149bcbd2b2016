#include "kelvara/gfx/FontEngine.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_BITMAP_H
#include FT_OUTLINE_H
#include FT_SYNTHESIS_H
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <unordered_map>
#include <vector>

#include "kelvara/base/Text.h"

namespace kelvara {

namespace {

// Wine's metric-compatible faces live outside fontconfig's usual folders;
// only its outline files are added, since its .fon bitmaps would otherwise
// win matches for the same family names.
constexpr const char* kWineFontDir = "/usr/share/wine/fonts";
constexpr const char* kFallbackFamily = "DejaVu Sans";
// Larger requests are capped: nothing on a screen needs more, and it keeps
// glyph bitmaps well inside 32-bit sizes.
constexpr int32_t kMaxPixelSize = 2000;
// The shear of a synthetic italic, about 12 degrees, in 16.16.
constexpr FT_Fixed kObliqueShear = 0x0366A;

struct Glyph {
    FT_UInt index = 0;
    int32_t advance = 0;
    int32_t left = 0;  // from the pen position to the bitmap's left edge
    int32_t top = 0;   // from the baseline up to the bitmap's top row
    int32_t width = 0;
    int32_t rows = 0;
    std::vector<uint8_t> coverage;  // width × rows, 0..255
};

uint8_t Mix(uint8_t dst, uint8_t src, uint32_t coverage) {
    const int32_t diff = static_cast<int32_t>(src) - static_cast<int32_t>(dst);
    // Rounded division by 255 of a signed product.
    const int32_t scaled = diff * static_cast<int32_t>(coverage);
    const int32_t step = scaled >= 0 ? (scaled + 127) / 255 : -((-scaled + 127) / 255);
    return static_cast<uint8_t>(dst + step);
}

void BlendPixel(uint8_t* px, uint32_t color, uint32_t coverage) {
    const uint8_t r = static_cast<uint8_t>(color & 0xFF);
    const uint8_t g = static_cast<uint8_t>((color >> 8) & 0xFF);
    const uint8_t b = static_cast<uint8_t>((color >> 16) & 0xFF);
    if (coverage >= 255) {
        px[0] = b;
        px[1] = g;
        px[2] = r;
        px[3] = 255;
        return;
    }
    px[0] = Mix(px[0], b, coverage);
    px[1] = Mix(px[1], g, coverage);
    px[2] = Mix(px[2], r, coverage);
    px[3] = Mix(px[3], 255, coverage);
}

// The part of box inside both the clip rectangle and the target.
RECT Intersect(const RECT& a, const RECT& b) {
    RECT r{std::max(a.Left, b.Left), std::max(a.Top, b.Top), std::min(a.Right, b.Right),
           std::min(a.Bottom, b.Bottom)};
    return r;
}

int32_t Clamp32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

int32_t RoundScaled(int64_t units, int32_t ppem, int32_t unitsPerEm) {
    if (unitsPerEm <= 0)
        return 0;
    return static_cast<int32_t>(std::lround(static_cast<double>(units) * ppem / unitsPerEm));
}

// Slants a one-bit face's glyph, which FreeType's transform does not reach:
// each row moves right by its height above the baseline times the shear,
// so the baseline itself stays put.
void ShearBitmap(Glyph& g) {
    if (g.width == 0 || g.rows == 0)
        return;
    const double shear = static_cast<double>(kObliqueShear) / 65536.0;
    auto shiftOf = [&](int32_t row) {
        return static_cast<int32_t>(std::floor((g.top - row - 0.5) * shear + 0.5));
    };
    const int32_t top = shiftOf(0);
    const int32_t bottom = shiftOf(g.rows - 1);
    const int32_t minShift = std::min(top, bottom);
    const int32_t width = g.width + std::max(top, bottom) - minShift;
    std::vector<uint8_t> out(static_cast<size_t>(width) * static_cast<size_t>(g.rows), 0);
    for (int32_t y = 0; y < g.rows; ++y) {
        const int32_t dx = shiftOf(y) - minShift;
        std::copy_n(g.coverage.data() + static_cast<size_t>(y) * static_cast<size_t>(g.width),
                    g.width, out.data() + static_cast<size_t>(y) * static_cast<size_t>(width) + dx);
    }
    g.coverage = std::move(out);
    g.width = width;
    g.left += minShift;
}

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

}  // namespace

// One face at one pixel size and style, with its glyphs.
class FontInstance {
public:
    FT_Face face = nullptr;
    bool syntheticBold = false;
    // A bold face drawn with regular outlines: its strokes are thickened,
    // its advances are already bold.
    bool thinBold = false;
    bool syntheticItalic = false;
    bool underline = false;
    bool strikethrough = false;
    TextMetrics metrics;
    LineMarks marks;
    // Caches: filling them does not change what the instance draws.
    mutable std::unordered_map<char32_t, Glyph> glyphs;
    mutable std::unordered_map<uint64_t, int32_t> kerning;

    ~FontInstance() {
        if (face != nullptr)
            FT_Done_Face(face);
    }
};

struct FontEngine::State {
    FT_Library library = nullptr;
    FcConfig* config = nullptr;
    // Requests already answered, by their full description.
    std::unordered_map<std::string, std::unique_ptr<FontInstance>> instances;

    ~State() {
        instances.clear();
        if (library != nullptr)
            FT_Done_FreeType(library);
        if (config != nullptr)
            FcConfigDestroy(config);
    }

    const Glyph& Load(const FontInstance& font, char32_t c, int64_t& loads);
    int32_t Kerning(const FontInstance& font, const Glyph& left, const Glyph& right);
    bool SetUp(FontInstance& font, const FontRequest& request);
    bool SameStems(FT_Face bold, const std::string& regularFile);
};

FontRequest FontRequest::FromStdFont(const StdFont& font) {
    FontRequest r;
    r.Family = font.Name();
    r.Height = font.PixelHeight();
    r.Bold = font.Bold();
    r.Italic = font.Italic();
    r.Underline = font.Underline();
    r.Strikethrough = font.Strikethrough();
    return r;
}

FontRequest FontRequest::FromLogFont(const LOGFONT& font) {
    FontRequest r;
    r.Family = font.lfFaceName;
    r.Height = font.lfHeight;
    r.Bold = font.lfWeight >= StdFont::kBoldThreshold;
    r.Italic = font.lfItalic;
    r.Underline = font.lfUnderline;
    r.Strikethrough = font.lfStrikeOut;
    return r;
}

HFONT CreateFontIndirect(const LOGFONT& font) {
    return std::make_shared<const LOGFONT>(font);
}

FontEngine& FontEngine::ForThread() {
    thread_local FontEngine engine;
    return engine;
}

FontEngine::FontEngine() : state(std::make_unique<State>()) {
    if (FT_Init_FreeType(&state->library) != 0) {
        state->library = nullptr;
        return;
    }
    state->config = FcInitLoadConfigAndFonts();
    if (state->config == nullptr)
        return;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(kWineFontDir, ec)) {
        if (entry.path().extension() != ".ttf")
            continue;
        const std::string path = entry.path().string();
        FcConfigAppFontAddFile(state->config, reinterpret_cast<const FcChar8*>(path.c_str()));
    }
}

FontEngine::~FontEngine() = default;

bool FontEngine::Ready() const {
    return state->library != nullptr && state->config != nullptr;
}

std::string FontEngine::MatchFile(std::string_view family, bool bold, bool italic) {
    if (!Ready())
        return {};
    std::string wanted = family.empty() ? std::string(kFallbackFamily) : std::string(family);
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(wanted.c_str()));
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(kFallbackFamily));
    FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcConfigSubstitute(state->config, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(state->config, pattern, &result);
    std::string file;
    FcChar8* path = nullptr;
    if (match != nullptr && FcPatternGetString(match, FC_FILE, 0, &path) == FcResultMatch) {
        file = reinterpret_cast<const char*>(path);
    }
    if (match != nullptr)
        FcPatternDestroy(match);
    FcPatternDestroy(pattern);
    return file;
}

bool FontEngine::State::SetUp(FontInstance& font, const FontRequest& request) {
    FT_Face face = font.face;
    int32_t ppem = 0;
    const auto* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    const int32_t upem = face->units_per_EM;
    int64_t ascentUnits = face->ascender;
    int64_t descentUnits = -static_cast<int64_t>(face->descender);
    if (os2 != nullptr && os2->usWinAscent + os2->usWinDescent > 0) {
        ascentUnits = os2->usWinAscent;
        descentUnits = os2->usWinDescent;
    }
    // Worked out in 64 bits, since any int32_t height may be asked for.
    int64_t wantedPpem = 11;  // 8 points at 96 dots per inch
    if (request.Height < 0) {
        wantedPpem = -int64_t{request.Height};
    } else if (request.Height > 0 && ascentUnits + descentUnits > 0) {
        wantedPpem = std::llround(static_cast<double>(request.Height) * upem /
                                  static_cast<double>(ascentUnits + descentUnits));
    }
    ppem = static_cast<int32_t>(std::clamp<int64_t>(wantedPpem, 1, kMaxPixelSize));

    if (FT_IS_SCALABLE(face)) {
        if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(ppem)) != 0)
            return false;
        font.metrics.tmAscent = RoundScaled(ascentUnits, ppem, upem);
        font.metrics.tmDescent = RoundScaled(descentUnits, ppem, upem);
    } else {
        // A bitmap-only face: the largest strike not above the request, else
        // the smallest.
        if (face->num_fixed_sizes <= 0)
            return false;
        int best = 0;
        for (int i = 0; i < face->num_fixed_sizes; ++i) {
            const int32_t size = static_cast<int32_t>(face->available_sizes[i].y_ppem >> 6);
            const int32_t bestSize = static_cast<int32_t>(face->available_sizes[best].y_ppem >> 6);
            const bool fits = size <= ppem;
            const bool bestFits = bestSize <= ppem;
            if ((fits && (!bestFits || size > bestSize)) ||
                (!fits && !bestFits && size < bestSize)) {
                best = i;
            }
        }
        if (FT_Select_Size(face, best) != 0)
            return false;
        ppem = static_cast<int32_t>(face->size->metrics.y_ppem);
        font.metrics.tmAscent = static_cast<int32_t>((face->size->metrics.ascender + 32) >> 6);
        font.metrics.tmDescent = static_cast<int32_t>((-face->size->metrics.descender + 32) >> 6);
    }
    font.metrics.tmHeight = font.metrics.tmAscent + font.metrics.tmDescent;
    font.metrics.tmInternalLeading = std::max(0, font.metrics.tmHeight - ppem);
    if (os2 != nullptr && os2->xAvgCharWidth > 0) {
        font.metrics.tmAveCharWidth = RoundScaled(os2->xAvgCharWidth, ppem, upem);
    }
    font.syntheticBold = request.Bold && (face->style_flags & FT_STYLE_FLAG_BOLD) == 0;
    font.syntheticItalic = request.Italic && (face->style_flags & FT_STYLE_FLAG_ITALIC) == 0;
    font.underline = request.Underline;
    font.strikethrough = request.Strikethrough;
    if (font.syntheticItalic) {
        FT_Matrix shear{0x10000, kObliqueShear, 0, 0x10000};
        FT_Set_Transform(face, &shear, nullptr);
    }
    if (font.metrics.tmAveCharWidth <= 0) {
        int64_t loads = 0;
        font.metrics.tmAveCharWidth = std::max(1, Load(font, U'x', loads).advance);
    }

    // The face's own line positions, else the usual places: just below the
    // baseline, and a third of the ascent above it.
    const int32_t baseline = font.metrics.tmAscent;
    LineMarks& m = font.marks;
    if (FT_IS_SCALABLE(face) && face->underline_thickness > 0) {
        m.UnderlineThickness = std::max(1, RoundScaled(face->underline_thickness, ppem, upem));
        m.UnderlineTop = baseline - RoundScaled(face->underline_position, ppem, upem);
    } else {
        m.UnderlineThickness = std::max(1, ppem / 12);
        m.UnderlineTop = baseline + 1;
    }
    m.UnderlineTop = std::min(m.UnderlineTop, font.metrics.tmHeight - m.UnderlineThickness);
    if (os2 != nullptr && os2->yStrikeoutSize > 0 && FT_IS_SCALABLE(face)) {
        m.StrikeThickness = std::max(1, RoundScaled(os2->yStrikeoutSize, ppem, upem));
        m.StrikeTop = baseline - RoundScaled(os2->yStrikeoutPosition, ppem, upem);
    } else {
        m.StrikeThickness = m.UnderlineThickness;
        m.StrikeTop = baseline - font.metrics.tmAscent / 3;
    }
    return true;
}

const FontInstance* FontEngine::Open(const FontRequest& request) {
    if (!Ready())
        return nullptr;
    const std::string key = Lower(request.Family) + '\n' + std::to_string(request.Height) + '\n' +
                            (request.Bold ? 'b' : '-') + (request.Italic ? 'i' : '-') +
                            (request.Underline ? 'u' : '-') + (request.Strikethrough ? 's' : '-');
    if (auto it = state->instances.find(key); it != state->instances.end())
        return it->second.get();

    auto font = std::make_unique<FontInstance>();
    std::string file = MatchFile(request.Family, request.Bold, request.Italic);
    if (file.empty() || FT_New_Face(state->library, file.c_str(), 0, &font->face) != 0) {
        font->face = nullptr;
        file = MatchFile(kFallbackFamily, request.Bold, request.Italic);
        if (file.empty() || FT_New_Face(state->library, file.c_str(), 0, &font->face) != 0) {
            font->face = nullptr;
            return nullptr;
        }
    }
    if (!state->SetUp(*font, request))
        return nullptr;
    if (request.Bold && !font->syntheticBold && FT_IS_SCALABLE(font->face)) {
        const std::string regular = MatchFile(request.Family, false, request.Italic);
        font->thinBold = regular != file && state->SameStems(font->face, regular);
    }
    const FontInstance* made = font.get();
    state->instances.emplace(key, std::move(font));
    return made;
}

// Some faces sold as bold carry the regular outlines with wider advances
// (Wine's Tahoma Bold is one). They are told by the stem of an "l": no
// wider, relative to the em, than the regular face's.
bool FontEngine::State::SameStems(FT_Face bold, const std::string& regularFile) {
    FT_Face regular = nullptr;
    if (FT_New_Face(library, regularFile.c_str(), 0, &regular) != 0)
        return false;
    const auto stem = [](FT_Face face) -> double {
        if (FT_Load_Char(face, 'l', FT_LOAD_NO_SCALE) != 0 || face->units_per_EM == 0 ||
            face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
            return 0;
        FT_BBox box;
        FT_Outline_Get_CBox(&face->glyph->outline, &box);
        return static_cast<double>(box.xMax - box.xMin) / face->units_per_EM;
    };
    const double boldStem = stem(bold);
    const double regularStem = stem(regular);
    FT_Done_Face(regular);
    return boldStem > 0 && regularStem > 0 && boldStem <= regularStem * 1.1;
}

const Glyph& FontEngine::State::Load(const FontInstance& font, char32_t c, int64_t& loads) {
    auto [it, inserted] = font.glyphs.try_emplace(c);
    Glyph& g = it->second;
    if (!inserted)
        return g;
    // Deliberate: control characters take no room and draw nothing, so a
    // stray CR or LF in one line does not show a box.
    if (c < 0x20 || c == 0x7F)
        return g;
    ++loads;
    FT_Face face = font.face;
    g.index = FT_Get_Char_Index(face, c);
    // Outlines are always preferred to embedded bitmaps: those are
    // one-bit, and text here is anti-aliased.
    const FT_Int32 flags = FT_IS_SCALABLE(face) ? FT_LOAD_NO_BITMAP : FT_LOAD_DEFAULT;
    if (FT_Load_Glyph(face, g.index, flags) != 0)
        return g;
    FT_GlyphSlot slot = face->glyph;
    if (font.syntheticBold) {
        FT_GlyphSlot_Embolden(slot);
    } else if (font.thinBold && slot->format == FT_GLYPH_FORMAT_OUTLINE) {
        // The strength FreeType's own emboldening uses, across only: the
        // face's advances and heights stay as they are.
        const FT_Pos strength = FT_MulFix(face->units_per_EM, face->size->metrics.y_scale) / 24;
        FT_Outline_EmboldenXY(&slot->outline, strength, 0);
    }
    if (slot->format != FT_GLYPH_FORMAT_BITMAP &&
        FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) {
        return g;
    }
    g.advance = static_cast<int32_t>((slot->advance.x + 32) >> 6);
    const FT_Bitmap& bm = slot->bitmap;
    g.left = slot->bitmap_left;
    g.top = slot->bitmap_top;
    g.width = static_cast<int32_t>(bm.width);
    g.rows = static_cast<int32_t>(bm.rows);
    g.coverage.assign(static_cast<size_t>(g.width) * static_cast<size_t>(g.rows), 0);
    for (int32_t y = 0; y < g.rows; ++y) {
        const uint8_t* src = bm.buffer + static_cast<ptrdiff_t>(y) * bm.pitch;
        uint8_t* dst = g.coverage.data() + static_cast<size_t>(y) * static_cast<size_t>(g.width);
        for (int32_t x = 0; x < g.width; ++x) {
            if (bm.pixel_mode == FT_PIXEL_MODE_MONO) {
                dst[x] = (src[x >> 3] & (0x80 >> (x & 7))) != 0 ? 255 : 0;
            } else if (bm.pixel_mode == FT_PIXEL_MODE_GRAY) {
                const uint32_t levels = bm.num_grays > 1 ? bm.num_grays - 1 : 255;
                dst[x] = static_cast<uint8_t>(src[x] * 255u / levels);
            }
        }
    }
    if (font.syntheticItalic && !FT_IS_SCALABLE(face)) {
        ShearBitmap(g);
    }
    return g;
}

int32_t FontEngine::State::Kerning(const FontInstance& font, const Glyph& left,
                                   const Glyph& right) {
    if (!FT_HAS_KERNING(font.face) || left.index == 0 || right.index == 0)
        return 0;
    const uint64_t key = (static_cast<uint64_t>(left.index) << 32) | right.index;
    auto [it, inserted] = font.kerning.try_emplace(key, 0);
    if (inserted) {
        FT_Vector delta{0, 0};
        if (FT_Get_Kerning(font.face, left.index, right.index, FT_KERNING_DEFAULT, &delta) == 0) {
            it->second = static_cast<int32_t>(delta.x >> 6);
        }
    }
    return it->second;
}

TextMetrics FontEngine::GetTextMetrics(const FontInstance& font) const {
    return font.metrics;
}

LineMarks FontEngine::GetLineMarks(const FontInstance& font) const {
    return font.marks;
}

TextSize FontEngine::GetTextExtentPoint32(const FontInstance& font, std::u32string_view text) {
    int64_t width = 0;
    const Glyph* previous = nullptr;
    for (char32_t c : text) {
        const int64_t before = glyphLoads;
        const Glyph& g = state->Load(font, c, glyphLoads);
        if (glyphLoads == before)
            ++glyphHits;
        if (previous != nullptr)
            width += state->Kerning(font, *previous, g);
        width += g.advance;
        previous = &g;
    }
    return {static_cast<int32_t>(std::clamp<int64_t>(width, 0, INT32_MAX)), font.metrics.tmHeight};
}

TextSize FontEngine::GetTextExtentPoint32(const FontInstance& font, std::string_view utf8) {
    return GetTextExtentPoint32(font, std::u32string_view(ToUtf32(utf8)));
}

void FontEngine::FillSpan(PixelBuffer& target, const Region& clip, const RECT& box,
                          uint32_t color) {
    if (target.Empty() || box.IsEmpty())
        return;
    const RECT bounds{0, 0, target.Width(), target.Height()};
    for (const RECT& c : clip.Rects()) {
        const RECT r = Intersect(Intersect(box, c), bounds);
        if (r.IsEmpty())
            continue;
        for (int32_t y = r.Top; y < r.Bottom; ++y) {
            uint8_t* px = target.Pixel(r.Left, y);
            for (int32_t x = r.Left; x < r.Right; ++x, px += 4)
                BlendPixel(px, color, 255);
        }
    }
}

void FontEngine::TextOut(const FontInstance& font, PixelBuffer& target, const Region& clip,
                         int32_t x, int32_t y, std::u32string_view text, uint32_t color) {
    if (target.Empty() || clip.IsEmpty())
        return;
    const RECT bounds{0, 0, target.Width(), target.Height()};
    const int64_t baseline = static_cast<int64_t>(y) + font.metrics.tmAscent;
    int64_t pen = x;
    const Glyph* previous = nullptr;
    for (char32_t c : text) {
        const int64_t before = glyphLoads;
        const Glyph& g = state->Load(font, c, glyphLoads);
        if (glyphLoads == before)
            ++glyphHits;
        if (previous != nullptr)
            pen += state->Kerning(font, *previous, g);
        previous = &g;
        const int64_t left64 = pen + g.left;
        const int64_t top64 = baseline - g.top;
        pen += g.advance;
        if (g.width == 0 || g.rows == 0)
            continue;
        if (left64 >= bounds.Right || top64 >= bounds.Bottom || left64 + g.width <= 0 ||
            top64 + g.rows <= 0) {
            continue;
        }
        const auto left = static_cast<int32_t>(left64);
        const auto top = static_cast<int32_t>(top64);
        const RECT box{left, top, left + g.width, top + g.rows};
        for (const RECT& c : clip.Rects()) {
            const RECT r = Intersect(Intersect(box, c), bounds);
            if (r.IsEmpty())
                continue;
            for (int32_t py = r.Top; py < r.Bottom; ++py) {
                const uint8_t* cov = g.coverage.data() +
                                     static_cast<size_t>(py - top) * static_cast<size_t>(g.width) +
                                     static_cast<size_t>(r.Left - left);
                uint8_t* px = target.Pixel(r.Left, py);
                for (int32_t px0 = r.Left; px0 < r.Right; ++px0, ++cov, px += 4) {
                    if (*cov != 0)
                        BlendPixel(px, color, *cov);
                }
            }
        }
    }
    if (!font.underline && !font.strikethrough)
        return;
    const int32_t right = Clamp32(pen);
    if (font.underline) {
        const int32_t top = Clamp32(int64_t{y} + font.marks.UnderlineTop);
        FillSpan(target, clip,
                 {x, top, right, Clamp32(int64_t{top} + font.marks.UnderlineThickness)}, color);
    }
    if (font.strikethrough) {
        const int32_t top = Clamp32(int64_t{y} + font.marks.StrikeTop);
        FillSpan(target, clip, {x, top, right, Clamp32(int64_t{top} + font.marks.StrikeThickness)},
                 color);
    }
}

void FontEngine::TextOut(const FontInstance& font, PixelBuffer& target, const RECT& clip, int32_t x,
                         int32_t y, std::string_view utf8, uint32_t color) {
    const Region region = Region::CreateRectRgn(clip.Left, clip.Top, clip.Right, clip.Bottom);
    TextOut(font, target, region, x, y, std::u32string_view(ToUtf32(utf8)), color);
}

}  // namespace kelvara
