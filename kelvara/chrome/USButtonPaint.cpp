// How a button paints: every paint redraws the whole face into the
// persistent image, layer over layer.
//
//   PaintState (gate) → PaintButton
//     → ApplyButtonRegion, LayoutButton   (when the layout is stale)
//     → face: gradient, or a solid back colour
//     → corner pixels of cropped corners
//     → focus rectangle
//     → DrawButtonPicture → DrawButtonCaption
//     → border, last, as a frame lying over the face

#include <algorithm>
#include <cmath>

#include "kelvara/chrome/USButton.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/gfx/TextLayout.h"
#include "kelvara/host/DrawingSurface.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

namespace {

// The caption's measuring and drawing flags. Deliberate: CaptionWordBreak
// True means one line with an ellipsis and False means wrapped text.
constexpr uint32_t kMeasureOneLine =
    DT_VCENTER | DT_SINGLELINE | DT_CALCRECT | DT_NOCLIP | DT_NOPREFIX | DT_WORD_ELLIPSIS;
constexpr uint32_t kMeasureWrapped = DT_CENTER | DT_WORDBREAK | DT_CALCRECT | DT_NOCLIP;
constexpr uint32_t kDrawOneLine =
    DT_VCENTER | DT_SINGLELINE | DT_NOCLIP | DT_NOPREFIX | DT_WORD_ELLIPSIS;
constexpr uint32_t kDrawWrapped = DT_WORDBREAK | DT_NOCLIP;
static_assert(kMeasureOneLine == 0x40D24 && kMeasureWrapped == 0x511);
static_assert(kDrawOneLine == 0x40924 && kDrawWrapped == 0x110);

// The margins every layout keeps from the edges.
constexpr int32_t kMargin = 3;

// Half of a size, rounded as the host rounds: a half goes to the even
// neighbour.
int32_t HalfRounded(int32_t size) {
    return static_cast<int32_t>(std::nearbyint(size / 2.0));
}

// The focus rectangle: a one-pixel outline, whose corner pixels a rounding
// of 3 takes off (as the window region does), on a button with cropped
// corners.
void FocusOutline(Canvas& dc, const RECT& r, bool rounded, COLORREF color) {
    if (!rounded) {
        dc.FrameRect(r, color);
        return;
    }
    if (r.Width() < 3 || r.Height() < 3) {
        return;
    }
    dc.FillRect(RECT{r.Left + 1, r.Top, r.Right - 1, r.Top + 1}, color);
    dc.FillRect(RECT{r.Left + 1, r.Bottom - 1, r.Right - 1, r.Bottom}, color);
    dc.FillRect(RECT{r.Left, r.Top + 1, r.Left + 1, r.Bottom - 1}, color);
    dc.FillRect(RECT{r.Right - 1, r.Top + 1, r.Right, r.Bottom - 1}, color);
}

}  // namespace

ButtonColors ButtonThemeColors(ENUM_THEME theme) {
    const auto slot = [theme](int32_t s) { return static_cast<OLE_COLOR>(ThemeColor(theme, s)); };
    ButtonColors c;
    c.ForeColor = slot(ThemeSlot::ForeColor);
    c.ForeColorDisabled = slot(ThemeSlot::ForeColorDisabled);
    c.ForeColorDown = slot(ThemeSlot::ForeColorPressed);
    c.ForeColorOver = slot(ThemeSlot::ForeColorHot);
    c.BorderColor = slot(ThemeSlot::Gradient);
    c.BorderColorDisabled = slot(ThemeSlot::GradientDisabled);
    c.BorderColorDown = slot(ThemeSlot::GradientPressed);
    c.BorderColorOver = slot(ThemeSlot::GradientHot);
    for (int32_t i = 0; i < 4; ++i) {
        const auto at = static_cast<size_t>(i);
        c.Gradient[at] = slot(ThemeSlot::Gradient + i);
        c.GradientDisabled[at] = slot(ThemeSlot::GradientDisabled + i);
        c.GradientDown[at] = slot(ThemeSlot::GradientPressed + i);
        c.GradientOver[at] = slot(ThemeSlot::GradientHot + i);
    }
    return c;
}

void USButton::LayoutButton() {
    layoutStale = false;
    ButtonLayoutInput in;
    in.Width = width;
    in.Height = height;
    in.HasCaption = !caption.empty();
    if (in.HasCaption) {
        RECT measured{0, 0, width, height};
        hDC().DrawText(caption, measured, captionWordBreak ? kMeasureOneLine : kMeasureWrapped);
        in.Caption = measured;
    }
    in.HasPicture = picture != nullptr || !pictureBytes.empty();
    in.PictureSizeX = pictureSizeX;
    in.PictureSizeY = pictureSizeY;
    in.Alignment = pictureAlignment;
    in.MarginX = kMargin;
    in.MarginY = kMargin;
    layout = kelvara::LayoutButton(in);
}

void USButton::ApplyButtonRegion(int32_t cornerX, int32_t cornerY) {
    if (!userMode || hWnd() == 0) {
        return;
    }
    const int32_t w = width;
    const int32_t h = height;
    // The host rounds a corner of cornerX × cornerY on (0, 0, W + 1, H + 1),
    // whose right and bottom edges it leaves out, to the window less its
    // corner pixels. Our regions keep those edges and take just the corner
    // pixel with a rounding one larger, so that is the shape used.
    Region region = Region::CreateRoundRectRgn(0, 0, w, h, cornerX + 1, cornerY + 1);
    // The halves that keep square corners are laid over the rounded shape.
    const auto crop = static_cast<int32_t>(cropBorders);
    if (crop == 2 || crop == 0) {
        Region::CombineRgn(region, region, Region::CreateRectRgn(0, 0, HalfRounded(w), h + 1),
                           RGN_MODE::RGN_OR);
    }
    if (crop == 1 || crop == 0) {
        Region::CombineRgn(region, region, Region::CreateRectRgn(HalfRounded(w), 0, w + 1, h + 1),
                           RGN_MODE::RGN_OR);
    }
    SetWindowRgn(hWnd(), &region, true);
}

void USButton::PaintButton(int32_t state) {
    Canvas& dc = hDC();
    const int32_t w = width;
    const int32_t h = height;

    if (layoutStale) {
        // Deliberate: the region follows CropBorders only here, at a stale
        // layout; going back to Dont Crop keeps the last region.
        if (cropBorders != ENUM_BUTTON_BORDERS::DontCrop) {
            ApplyButtonRegion(kMargin, kMargin);
        }
        LayoutButton();
    }

    // The face and the text colour, by state.
    const bool latched = checkBoxMode && value;
    OLE_COLOR text = colors.ForeColor;
    bool focusRect = false;
    const std::array<OLE_COLOR, 4>* face = &colors.Gradient;
    ENUM_GRADIENT_COLORS mode = gradientColors;
    if (!Enabled()) {
        text = colors.ForeColorDisabled;
        lastState = 3;
        face = &colors.GradientDisabled;
    } else if (state == 2) {
        text = colors.ForeColorDown;
        focusRect = showFocusRectDown;
        face = &colors.GradientDown;
    } else if (value) {
        // Pressed by Value: the pressed colours, always as two.
        face = &colors.GradientDown;
        mode = ENUM_GRADIENT_COLORS::TwoColors;
    } else if (state == 1) {
        text = colors.ForeColorOver;
        face = &colors.GradientOver;
    }
    const auto& f = *face;
    if (!DrawFace(&dc, w, h, mode, static_cast<int32_t>(f[0]), static_cast<int32_t>(f[1]),
                  static_cast<int32_t>(f[2]), static_cast<int32_t>(f[3]))) {
        // A solid face is the back colour: setting it clears the image to
        // it, as the host does with a persistent image.
        SetBackColor(f[0]);
        Cls();
    }

    // The border colour, and whether the focus rectangle shows.
    OLE_COLOR border = colors.BorderColor;
    const bool showsFocus = hasFocus || displayAsDefault;
    if (lastState == 3) {
        border = colors.BorderColorDisabled;
    } else if (lastState == 1 || latched || (mouseDown && !mouseOver && state != 2)) {
        border = latched ? colors.BorderColorDown : colors.BorderColorOver;
        focusRect = showFocusRect && showsFocus;
    } else if (lastState == 2) {
        border = colors.BorderColorDown;
    } else if (showsFocus) {
        border = colors.BorderColorOver;
        focusRect = showFocusRect;
    }
    const COLORREF borderPixel = TranslateOleColor(border);

    // Cut corners get one pixel inside each, rounding the cut.
    const auto crop = static_cast<int32_t>(cropBorders);
    if (crop == 1 || crop == 3) {
        dc.SetPixelV(1, 1, borderPixel);
        dc.SetPixelV(1, h - 2, borderPixel);
    }
    if (crop == 2 || crop == 3) {
        dc.SetPixelV(w - 2, 1, borderPixel);
        dc.SetPixelV(w - 2, h - 2, borderPixel);
    }

    if (focusRect) {
        // Drawn with the control's pen colour, which takes it.
        UserControl::SetForeColor(latched ? colors.BorderColorDown : colors.BorderColorOver);
        const CanvasSaver saver(dc);
        dc.SelectPen(Pen{PenStyle::PS_SOLID, 1, TranslateOleColor(UserControl::ForeColor())});
        dc.SelectBrush(Brush{true, 0});
        FocusOutline(dc, RECT{2, 2, w - 2, h - 2}, cropBorders != ENUM_BUTTON_BORDERS::DontCrop,
                     dc.GetPen().Color);
    }

    if (layout.Valid) {
        DrawButtonPicture();
    }
    DrawButtonCaption(text);

    // The one-pixel border lies over everything, as a frame shape would.
    dc.FrameRect(RECT{0, 0, w, h}, borderPixel);
}

void USButton::DrawButtonPicture() {
    Canvas& dc = hDC();
    const RECT& p = layout.PictureRect;
    // Deliberate: the picture is drawn PictureSizeX wide and PictureSizeY
    // high, the reverse of the layout's reading, so a custom size that is
    // not square shows with its sides swapped.
    const auto render = [&](API32bppDIB& surface) {
        surface.Render(&dc, p.Left, p.Top, pictureSizeX, pictureSizeY, 0, 0, 0, 0, pictureOpacity);
    };
    if (image) {
        render(*image);
        return;
    }
    if (!pictureBytes.empty()) {
        // Kept bytes are decoded once, taking the 32 × 32 icon of an icon
        // file; a picture that does not decode shows nothing from now on.
        if (EnsureImage().LoadPicture_Stream(pictureBytes, 32, 32)) {
            render(*image);
        }
        return;
    }
    // The picture objects: the hot one under the mouse, the pressed one
    // while pressed or latched (the hot one standing in for it), else the
    // normal picture — which also stands in when neither of the others is
    // set, so a pressed button never loses its picture.
    const ButtonPicture* chosen = &picture;
    if (pictureOn && lastState == 1) {
        chosen = &pictureOn;
    } else if ((lastState == 2 || value) && (pictureOver || pictureOn)) {
        chosen = pictureOver ? &pictureOver : &pictureOn;
    }
    if (*chosen) {
        PaintPicture(**chosen, p.Left, p.Top, pictureSizeX, pictureSizeY);
    }
}

void USButton::DrawButtonCaption(OLE_COLOR color) {
    if (caption.empty()) {
        return;
    }
    RECT r = layout.CaptionRect;
    const int32_t textWidth = r.Width();
    if (alignment == ENUM_ALIGNMENTS::ToLeftJustify) {
        r.Left = captionDistance;
    } else if (alignment == ENUM_ALIGNMENTS::ToRightJustify) {
        r.Left = static_cast<int32_t>(
            std::lround(ScaleWidth() - static_cast<float>(captionDistance) - textWidth));
    }
    // The right edge stays where the centred caption put it, unless that
    // would leave the rectangle narrower than the caption: wrapped again in
    // less room, a right-aligned caption would fall apart into a column of
    // letters. Widened, it still ends at the button's edge, so a caption
    // that fills the button wraps one word earlier instead of running out
    // of it.
    const int32_t fullWidth = static_cast<int32_t>(std::lround(ScaleWidth()));
    r.Right = std::max(r.Right, std::min(r.Left + textWidth, fullWidth));
    Canvas& dc = hDC();
    dc.SetTextColor(TranslateOleColor(color));
    dc.DrawText(caption, r, captionWordBreak ? kDrawOneLine : kDrawWrapped);
}

}  // namespace kelvara
