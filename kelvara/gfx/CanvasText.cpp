// The canvas's text calls: the selected font, the viewport origin and the
// clip put around FontEngine and DrawText.

#include <algorithm>

#include "kelvara/base/Text.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {

namespace {

int32_t Clamp32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

RECT Offset(const RECT& r, int64_t dx, int64_t dy) {
    return RECT{Clamp32(r.Left + dx), Clamp32(r.Top + dy), Clamp32(r.Right + dx),
                Clamp32(r.Bottom + dy)};
}

}  // namespace

FontRequest Canvas::SelectFont(const FontRequest& font) {
    FontRequest previous = std::move(state.font);
    state.font = font;
    return previous;
}

FontRequest Canvas::SelectFont(const StdFont& font) {
    return SelectFont(FontRequest::FromStdFont(font));
}

FontRequest Canvas::SelectFont(const HFONT& font) {
    if (!font) {
        return state.font;
    }
    return SelectFont(FontRequest::FromLogFont(*font));
}

void Canvas::SetFontEngine(FontEngine& newEngine) {
    engine = &newEngine;
    openFont = nullptr;
}

const FontInstance* Canvas::Font() {
    if (openFont == nullptr || !(openRequest == state.font)) {
        openFont = engine->Open(state.font);
        openRequest = state.font;
    }
    return openFont;
}

const Region& Canvas::ClipAsRegion() const {
    const std::vector<RECT>& rects = Clips();
    if (!clipRegion) {
        clipRegion = Region::ExtCreateRegion(rects);
    }
    return *clipRegion;
}

bool Canvas::GetTextMetrics(TextMetrics& metrics) {
    const FontInstance* font = Font();
    if (font == nullptr) {
        return false;
    }
    metrics = engine->GetTextMetrics(*font);
    return true;
}

bool Canvas::GetTextExtentPoint32(std::string_view text, TextSize& size) {
    const FontInstance* font = Font();
    if (font == nullptr) {
        return false;
    }
    size = engine->GetTextExtentPoint32(*font, text);
    return true;
}

bool Canvas::TextOut(int32_t x, int32_t y, std::string_view text) {
    const FontInstance* font = Font();
    if (font == nullptr) {
        return false;
    }
    const int64_t left = int64_t{x} + state.origin.X;
    const int64_t top = int64_t{y} + state.origin.Y;
    const Region& clip = ClipAsRegion();
    if (state.bkMode == BkMode::OPAQUE && !text.empty()) {
        const TextSize size = engine->GetTextExtentPoint32(*font, text);
        FontEngine::FillSpan(
            pixels, clip,
            {Clamp32(left), Clamp32(top), Clamp32(left + size.cx), Clamp32(top + size.cy)},
            state.bkColor);
    }
    const std::u32string wide = ToUtf32(text);
    engine->TextOut(*font, pixels, clip, Clamp32(left), Clamp32(top), wide, state.textColor);
    return true;
}

int32_t Canvas::DrawText(std::string_view text, RECT& rect, uint32_t format) {
    const FontInstance* font = Font();
    if (font == nullptr) {
        if ((format & DT_CALCRECT) != 0) {
            rect = {rect.Left, rect.Top, rect.Left, rect.Top};
        }
        return 0;
    }
    const POINT origin = state.origin;
    RECT device = Offset(rect, origin.X, origin.Y);
    std::optional<uint32_t> background;
    if (state.bkMode == BkMode::OPAQUE) {
        background = state.bkColor;
    }
    const int32_t height = kelvara::DrawText(*engine, *font, pixels, ClipAsRegion(), text, device,
                                             format, state.textColor, background);
    if ((format & DT_CALCRECT) != 0) {
        rect = Offset(device, -int64_t{origin.X}, -int64_t{origin.Y});
    }
    return height;
}

}  // namespace kelvara
