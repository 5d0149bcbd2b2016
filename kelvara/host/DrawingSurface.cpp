#include "kelvara/host/DrawingSurface.h"

#include <algorithm>

#include "kelvara/base/Text.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {

COLORREF TranslateOleColor(OLE_COLOR color) {
    if ((color & 0x80000000U) != 0) {
        return GetSysColor(static_cast<int32_t>(color & 0xFFFFFF));
    }
    return color & 0xFFFFFF;
}

void DrawSunkenEdge(Canvas& dc, const RECT& box) {
    const auto edge = [&](int32_t inset, COLORREF topLeft, COLORREF bottomRight) {
        const RECT r{box.Left + inset, box.Top + inset, box.Right - inset, box.Bottom - inset};
        dc.FillRect(RECT{r.Left, r.Top, r.Right, r.Top + 1}, topLeft);
        dc.FillRect(RECT{r.Left, r.Top, r.Left + 1, r.Bottom}, topLeft);
        dc.FillRect(RECT{r.Left, r.Bottom - 1, r.Right, r.Bottom}, bottomRight);
        dc.FillRect(RECT{r.Right - 1, r.Top, r.Right, r.Bottom}, bottomRight);
    };
    edge(0, GetSysColor(COLOR_BTNSHADOW), GetSysColor(COLOR_BTNHIGHLIGHT));
    edge(1, GetSysColor(COLOR_3DDKSHADOW), GetSysColor(COLOR_BTNFACE));
}

void DrawingSurface::Attach(HWND hwnd, const RECT& where, OLE_COLOR backColor) {
    window = hwnd;
    image.Reset();
    SetArea(where, backColor);
}

void DrawingSurface::SetArea(const RECT& where, OLE_COLOR backColor) {
    area = where;
    const int32_t width = std::max(area.Right - area.Left, 1);
    const int32_t height = std::max(area.Bottom - area.Top, 1);
    if (image.Width() == width && image.Height() == height) {
        return;
    }
    PixelBuffer next;
    if (!next.Allocate(width, height, RowOrder::TopDown)) {
        return;
    }
    Canvas fresh(next);
    fresh.FillRect(RECT{0, 0, width, height}, TranslateOleColor(backColor));
    if (!image.Empty()) {
        fresh.BitBlt(0, 0, image.Width(), image.Height(), image, 0, 0);
    }
    // The image's canvas stays: it follows its buffer's new size.
    image.Swap(next);
    if (!imageDC) {
        imageDC = std::make_unique<Canvas>(image);
        Reapply(*imageDC);
    }
}

void DrawingSurface::SetAutoRedraw(bool value) {
    const bool was = autoRedraw;
    autoRedraw = value;
    if (was && !value) {
        ImageChanged();
        UpdateWindow(window);
    }
}

Canvas& DrawingSurface::hDC() {
    if (autoRedraw && imageDC) {
        // What is drawn on the image shows at the next paint.
        ImageChanged();
        return *imageDC;
    }
    Canvas* dc = GetDC(window);
    if (dc == nullptr) {
        // No window (yet): the image stands in, so callers always draw
        // somewhere harmless.
        if (!imageDC) {
            image.Allocate(1, 1, RowOrder::TopDown);
            imageDC = std::make_unique<Canvas>(image);
        }
        return *imageDC;
    }
    Reapply(*dc);
    dc->SetViewportOrgEx(area.Left, area.Top);
    const Region clip = Region::CreateRectRgn(area.Left, area.Top, area.Right, area.Bottom);
    dc->SelectClipRgn(&clip);
    return *dc;
}

void DrawingSurface::Cls(OLE_COLOR backColor) {
    CurrentX = 0;
    CurrentY = 0;
    if (autoRedraw && imageDC) {
        imageDC->FillRect(RECT{0, 0, image.Width(), image.Height()}, TranslateOleColor(backColor));
        ImageChanged();
        return;
    }
    if (Canvas* dc = GetDC(window); dc != nullptr && !image.Empty()) {
        // Deliberately no repaint: that would raise Paint, and a Paint
        // handler that clears would never end.
        dc->SetViewportOrgEx(0, 0);
        dc->SelectClipRgn(nullptr);
        dc->BitBlt(area.Left, area.Top, image.Width(), image.Height(), image, 0, 0);
    }
}

void DrawingSurface::ShowImage(Canvas& paint) {
    if (!image.Empty()) {
        paint.BitBlt(area.Left, area.Top, image.Width(), image.Height(), image, 0, 0);
    }
}

void DrawingSurface::SetFont(const StdFont& value) {
    font = value;
    if (imageDC) {
        Reapply(*imageDC);
    }
}

void DrawingSurface::SetForeColor(OLE_COLOR color) {
    foreColor = color;
    if (imageDC) {
        Reapply(*imageDC);
    }
}

void DrawingSurface::Reapply(Canvas& canvas) const {
    canvas.SelectFont(font);
    canvas.SetTextColor(TranslateOleColor(foreColor));
    canvas.SetBkMode(BkMode::TRANSPARENT);
}

void DrawingSurface::Print(std::string_view text, bool stayOnLine) {
    Canvas& dc = hDC();
    TextMetrics metrics;
    dc.GetTextMetrics(metrics);
    size_t start = 0;
    while (true) {
        const size_t end = text.find_first_of("\r\n", start);
        const std::string_view line = text.substr(start, end - start);
        const auto x = static_cast<int32_t>(CurrentX);
        const auto y = static_cast<int32_t>(CurrentY);
        dc.TextOut(x, y, line);
        kelvara::TextSize size;
        dc.GetTextExtentPoint32(line, size);
        if (end == std::string_view::npos) {
            if (stayOnLine) {
                CurrentX += size.cx;
            } else {
                CurrentX = 0;
                CurrentY += metrics.tmHeight;
            }
            return;
        }
        CurrentX = 0;
        CurrentY += metrics.tmHeight;
        start =
            end + ((text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1);
    }
}

SIZE DrawingSurface::TextSize(std::string_view text) const {
    // Measured on a scratch canvas: measuring must not mark the image.
    PixelBuffer scratch;
    scratch.Allocate(1, 1, RowOrder::TopDown);
    Canvas dc(scratch);
    dc.SelectFont(font);
    TextMetrics metrics;
    dc.GetTextMetrics(metrics);
    SIZE size{0, 0};
    size_t start = 0;
    int32_t lines = 0;
    while (true) {
        const size_t end = text.find_first_of("\r\n", start);
        kelvara::TextSize line;
        dc.GetTextExtentPoint32(text.substr(start, end - start), line);
        size.cx = std::max(size.cx, line.cx);
        ++lines;
        if (end == std::string_view::npos) {
            break;
        }
        start =
            end + ((text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1);
    }
    size.cy = lines * metrics.tmHeight;
    return size;
}

void DrawingSurface::ImageChanged() {
    if (window != 0) {
        InvalidateRect(window, &area, false);
    }
}

}  // namespace kelvara
