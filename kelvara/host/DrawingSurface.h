#pragma once

// DrawingSurface: what a form, a picture box and a user control draw on —
// a window with a persistent image behind it, and the host's AutoRedraw
// rule between the two:
//
//   AutoRedraw True:  hDC draws on the persistent image; the window shows
//                     the image when it next paints.
//   AutoRedraw False: hDC draws on the window itself; a repaint shows the
//                     persistent image again and raises Paint so the
//                     owner can draw the rest.
//
// So a control that switches AutoRedraw on, clears, paints and switches it
// off leaves a finished picture that repaints by itself, and no half-drawn
// state ever reaches the screen.

#include <cstdint>
#include <memory>
#include <string_view>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Win32.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara {

// A colour as pixels use it: system colours (high bit set) become their
// value in the classic scheme.
COLORREF TranslateOleColor(OLE_COLOR color);

// The host's sunken 3-D edge, two pixels inside `box`: shadow and dark
// shadow above and left, highlight and face below and right.
void DrawSunkenEdge(Canvas& dc, const RECT& box);

class DrawingSurface {
public:
    DrawingSurface() = default;
    DrawingSurface(const DrawingSurface&) = delete;
    DrawingSurface& operator=(const DrawingSurface&) = delete;

    // The window shown; the image covers `area` of it (the client area of
    // a framed form, or the whole window).
    void Attach(HWND hwnd, const RECT& area, OLE_COLOR backColor);
    HWND Window() const { return window; }

    // The area changed: the image follows, keeping what it holds at the top
    // left and filling new parts with the back colour.
    void SetArea(const RECT& area, OLE_COLOR backColor);

    bool AutoRedraw() const { return autoRedraw; }
    // Switching off shows the image at once.
    void SetAutoRedraw(bool value);

    // Where drawing goes now: the image with AutoRedraw, else the window.
    // The canvas carries the owner's font and fore colour.
    Canvas& hDC();
    // The persistent image.
    const PixelBuffer& Image() const { return image; }

    // With AutoRedraw the image is filled with the back colour; without it
    // the window shows the image again. CurrentX and CurrentY go to 0.
    void Cls(OLE_COLOR backColor);

    // Called on WM_PAINT: puts the image on the window's surface through
    // the paint canvas.
    void ShowImage(Canvas& paint);

    void SetFont(const StdFont& font);
    void SetForeColor(OLE_COLOR color);

    // Print at CurrentX, CurrentY in pixels; each line ends by moving
    // CurrentY down a line and CurrentX back to 0, unless `stayOnLine`.
    void Print(std::string_view text, bool stayOnLine = false);
    double CurrentX = 0;
    double CurrentY = 0;

    // The size of text in the surface's font, in pixels.
    SIZE TextSize(std::string_view text) const;

private:
    void Reapply(Canvas& canvas) const;
    void ImageChanged();

    HWND window = 0;
    RECT area{0, 0, 0, 0};
    bool autoRedraw = false;
    PixelBuffer image;
    std::unique_ptr<Canvas> imageDC;
    StdFont font;
    OLE_COLOR foreColor = 0x80000012;
};

}  // namespace kelvara
