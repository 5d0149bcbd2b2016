#include "kelvara/chrome/USButtonLayout.h"

#include <algorithm>

namespace kelvara {

namespace {

// Sizes are taken within this many pixels either way, so no sum of a few
// of them can overflow, whatever a stored form says.
constexpr int32_t kMaxExtent = 1 << 24;

int32_t Bounded(int32_t v) {
    return std::clamp(v, -kMaxExtent, kMaxExtent);
}

RECT Bounded(const RECT& r) {
    return RECT{Bounded(r.Left), Bounded(r.Top), Bounded(r.Right), Bounded(r.Bottom)};
}

void Offset(RECT& r, int32_t dx, int32_t dy) {
    r.Left += dx;
    r.Right += dx;
    r.Top += dy;
    r.Bottom += dy;
}

}  // namespace

ButtonLayout LayoutButton(const ButtonLayoutInput& in) {
    const int32_t w = Bounded(in.Width);
    const int32_t h = Bounded(in.Height);
    const int32_t mx = Bounded(in.MarginX);
    const int32_t my = Bounded(in.MarginY);

    ButtonLayout out;
    RECT t = in.HasCaption ? Bounded(in.Caption) : RECT{};
    Offset(t, (w - t.Right) / 2, (h - t.Bottom) / 2);
    out.CaptionRect = t;
    if (!in.HasPicture) {
        return out;
    }

    // The picture's width is PictureSizeY and its height PictureSizeX.
    RECT p{0, 0, Bounded(in.PictureSizeY), Bounded(in.PictureSizeX)};
    const int32_t gap = in.HasCaption ? 2 : 0;
    const auto centreAcross = [&] { Offset(p, (w - p.Right) / 2, 0); };
    const auto centreDown = [&] { Offset(p, 0, (h - p.Bottom) / 2); };
    // The caption goes back by the picture's width; the horizontal
    // alignments push it forward again from there.
    const auto captionBack = [&] { Offset(t, -p.Right, 0); };
    const auto captionToTop = [&] { Offset(t, 0, -t.Top); };

    switch (in.Alignment) {
        case ENUM_PIC_ALIGNMENTS::PictureBehindText:
            Offset(p, (w - p.Right) / 2, (h - p.Bottom) / 2);
            break;
        case ENUM_PIC_ALIGNMENTS::PictureBottomEdge:
            centreAcross();
            captionToTop();
            Offset(p, 0, h - p.Bottom - my);
            if (gap > 0) {
                Offset(t, 0, p.Top - t.Bottom);
                const int32_t d = t.Top - my;
                if (d > 1) {
                    Offset(t, 0, -(d / 2));
                }
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureBottomOfCaption:
            centreAcross();
            captionToTop();
            if (gap > 0) {
                Offset(p, 0, t.Bottom);
                const int32_t d = (h - p.Bottom) / 2;
                Offset(p, 0, d);
                Offset(t, 0, d);
            } else {
                centreDown();
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureLeftEdge:
            centreDown();
            captionBack();
            Offset(p, mx, 0);
            if (gap > 0) {
                Offset(t, p.Right + gap, 0);
                const int32_t d = w - mx - t.Right;
                if (d > 1) {
                    Offset(t, d / 2, 0);
                }
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureLeftOfCaption:
            centreDown();
            captionBack();
            if (gap > 0) {
                Offset(t, p.Right + gap, 0);
                const int32_t d = (w - t.Right) / 2;
                Offset(t, d, 0);
                Offset(p, d, 0);
            } else {
                centreAcross();
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureRightEdge:
            centreDown();
            captionBack();
            Offset(p, w - p.Right - mx, 0);
            if (gap > 0) {
                Offset(t, p.Left - t.Right - gap, 0);
                const int32_t d = t.Left - mx;
                if (d > 1) {
                    Offset(t, -(d / 2), 0);
                }
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureRightOfCaption:
            centreDown();
            captionBack();
            if (gap > 0) {
                Offset(p, t.Right + gap, 0);
                const int32_t d = (w - p.Right) / 2;
                Offset(p, d, 0);
                Offset(t, d, 0);
            } else {
                centreAcross();
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureTopEdge:
            centreAcross();
            captionToTop();
            Offset(p, 0, my);
            if (gap > 0) {
                Offset(t, 0, p.Bottom);
                const int32_t d = h - t.Bottom - my;
                if (d > 1) {
                    Offset(t, 0, d / 2);
                }
            }
            break;
        case ENUM_PIC_ALIGNMENTS::PictureTopOfCaption:
            centreAcross();
            captionToTop();
            if (gap > 0) {
                Offset(t, 0, p.Bottom);
                const int32_t d = (h - t.Bottom) / 2;
                Offset(t, 0, d);
                Offset(p, 0, d);
            } else {
                centreDown();
            }
            break;
        default:
            // A stored alignment out of range leaves the picture at the
            // top left corner.
            break;
    }
    out.CaptionRect = t;
    out.PictureRect = p;
    out.Valid = true;
    return out;
}

}  // namespace kelvara
