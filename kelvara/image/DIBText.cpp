// Text drawn into a surface.
//
//   DrawText_stdFont / DrawText_hFont → DrawTextCore: lines drawn white on
//   black into a scratch picture → coverage to premultiplied colour →
//   BlendBits onto the surface
//
// Drawing white on black first gives each pixel's coverage on its own, so
// the text can be laid over transparent pixels without a dark fringe: a
// pixel a glyph covers by k/255 becomes the colour at alpha k.

#include <algorithm>

#include "kelvara/gfx/FontEngine.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/detail/PixelKernels.h"

namespace kelvara {

namespace {

constexpr uint32_t kWhite = 0xFFFFFF;

// The lines of the text: split at "\r\n" only; a lone "\r" or "\n" is
// drawn as it stands.
std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = 0;
    for (size_t at = text.find("\r\n"); at != std::string_view::npos;
         at = text.find("\r\n", start)) {
        lines.push_back(text.substr(start, at - start));
        start = at + 2;
    }
    lines.push_back(text.substr(start));
    return lines;
}

// Coverage k (the scratch's blue byte) to the colour at alpha k, the
// colour's channels scaled by k ÷ 255, truncating.
void CoverageToColor(PixelBuffer& scratch, OLE_COLOR color) {
    const uint32_t r = color & 0xFF;
    const uint32_t g = (color >> 8) & 0xFF;
    const uint32_t b = (color >> 16) & 0xFF;
    for (int32_t y = 0; y < scratch.Height(); ++y) {
        uint8_t* px = scratch.Row(y);
        for (int32_t x = 0; x < scratch.Width(); ++x, px += 4) {
            const uint32_t k = px[0];
            px[0] = static_cast<uint8_t>(b * k / 255);
            px[1] = static_cast<uint8_t>(g * k / 255);
            px[2] = static_cast<uint8_t>(r * k / 255);
            px[3] = static_cast<uint8_t>(k);
        }
    }
}

}  // namespace

bool API32bppDIB::DrawText_stdFont(const StdFont& Font, std::string_view Text, int32_t X, int32_t Y,
                                   int32_t Width, int32_t Height, uint32_t Alignment,
                                   OLE_COLOR Color) {
    return DrawTextCore(FontRequest::FromStdFont(Font), Text, X, Y, Width, Height, Alignment,
                        Color);
}

bool API32bppDIB::DrawText_hFont(const HFONT& Font, std::string_view Text, int32_t X, int32_t Y,
                                 int32_t Width, int32_t Height, uint32_t Alignment,
                                 OLE_COLOR Color) {
    if (!Font) {
        return false;
    }
    return DrawTextCore(FontRequest::FromLogFont(*Font), Text, X, Y, Width, Height, Alignment,
                        Color);
}

bool API32bppDIB::DrawTextCore(const FontRequest& font, std::string_view text, int32_t x, int32_t y,
                               int32_t width, int32_t height, uint32_t alignment, OLE_COLOR color) {
    if (pixels.Empty() || width < 1 || height < 1) {
        return false;
    }
    FontEngine& engine = FontEngine::ForThread();
    const FontInstance* instance = engine.Open(font);
    if (instance == nullptr) {
        return false;
    }
    // Only the part of the box on the picture is drawn; the scratch covers
    // just that, placed at (left, top) of the box's own pixels.
    const int64_t boxRight = int64_t{x} + width;
    const int64_t boxBottom = int64_t{y} + height;
    const int64_t left = std::max<int64_t>(x, 0);
    const int64_t top = std::max<int64_t>(y, 0);
    const int64_t right = std::min<int64_t>(boxRight, pixels.Width());
    const int64_t bottom = std::min<int64_t>(boxBottom, pixels.Height());
    if (left >= right || top >= bottom) {
        return true;
    }
    PixelBuffer scratch;
    if (!scratch.Allocate(static_cast<int32_t>(right - left), static_cast<int32_t>(bottom - top),
                          RowOrder::TopDown)) {
        return false;
    }
    const RECT whole = detail::WholeOf(scratch);
    int64_t lineTop = int64_t{y} - top;
    for (std::string_view line : SplitLines(text)) {
        const TextSize size = engine.GetTextExtentPoint32(*instance, line);
        int64_t lineLeft = 0;
        // Deliberate: centring takes both the DT_RIGHT and the DT_VCENTER
        // bit, and DT_RIGHT alone means right; DT_CENTER alone does not
        // centre. Callers have always passed their flags that way.
        if ((alignment & 6) == 6) {
            lineLeft = (int64_t{width} - size.cx) / 2;
        } else if ((alignment & 2) != 0) {
            lineLeft = int64_t{width} - size.cx;
        }
        lineLeft += int64_t{x} - left;
        if (lineTop >= scratch.Height()) {
            break;
        }
        if (lineTop + size.cy > 0 && lineLeft < scratch.Width() && lineLeft + size.cx > 0) {
            engine.TextOut(*instance, scratch, whole, static_cast<int32_t>(lineLeft),
                           static_cast<int32_t>(lineTop), line, kWhite);
        }
        lineTop += size.cy;
    }
    CoverageToColor(scratch, color);
    const detail::RenderTarget target{&pixels, detail::WholeOf(pixels), true};
    return detail::BlendBits(target, static_cast<int32_t>(left), static_cast<int32_t>(top), scratch,
                             whole, detail::BlendOptions{});
}

}  // namespace kelvara
