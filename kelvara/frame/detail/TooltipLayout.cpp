#include "kelvara/frame/detail/TooltipLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "kelvara/gfx/TextLayout.h"

namespace kelvara::detail {

namespace {

FontRequest TipFont(bool bold) {
    FontRequest font;
    font.Family = kTipFontFamily;
    font.Height = kTipFontHeight;
    font.Bold = bold;
    return font;
}

uint32_t TextFormat(const TipContent& content) {
    uint32_t format = DT_LEFT | DT_TOP;
    if (content.noPrefix) {
        format |= DT_NOPREFIX;
    }
    if (content.maxWidth > 0) {
        format |= DT_WORDBREAK;
    }
    return format;
}

constexpr uint32_t kTitleFormat = DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOPREFIX;

// What text of one font covers, laid out from (0, 0).
SIZE Measure(Canvas& canvas, bool bold, const std::string& text, uint32_t format, int32_t width) {
    if (text.empty()) {
        return SIZE{};
    }
    canvas.SelectFont(TipFont(bold));
    RECT r{0, 0, std::max(width, 0), 0};
    canvas.DrawText(text, r, format | DT_CALCRECT);
    return SIZE{r.Width(), r.Height()};
}

// The stem's width on row r of its kStemHeight rows, the point being row 0.
int32_t StemRowWidth(int32_t r) {
    return 1 + r * (kStemWidth - 1) / (kStemHeight - 1);
}

// --- Icons ---------------------------------------------------------------------------

struct Rgb {
    double r, g, b;
};

Rgb FromColor(COLORREF c) {
    return Rgb{static_cast<double>(c & 0xFF), static_cast<double>((c >> 8) & 0xFF),
               static_cast<double>((c >> 16) & 0xFF)};
}

Rgb Mix(const Rgb& a, const Rgb& b, double t) {
    return Rgb{a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

double Distance(double x, double y, double cx, double cy) {
    return std::hypot(x - cx, y - cy);
}

// Distance from (x, y) to the segment from (ax, ay) to (bx, by).
double SegmentDistance(double x, double y, double ax, double ay, double bx, double by) {
    const double dx = bx - ax;
    const double dy = by - ay;
    const double t = std::clamp(((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    return std::hypot(x - (ax + t * dx), y - (ay + t * dy));
}

// An icon as the colour of each point of its 16 × 16 square, or nothing
// where it is transparent.
using IconShader = std::function<bool(double x, double y, Rgb& out)>;

// Each pixel takes the average of 4 × 4 samples over what is under it.
void Rasterise(Canvas& canvas, int32_t left, int32_t top, const IconShader& shade) {
    constexpr int32_t kGrid = 4;
    for (int32_t py = 0; py < kIconSize; ++py) {
        for (int32_t px = 0; px < kIconSize; ++px) {
            Rgb sum{0, 0, 0};
            int32_t covered = 0;
            for (int32_t sy = 0; sy < kGrid; ++sy) {
                for (int32_t sx = 0; sx < kGrid; ++sx) {
                    Rgb c{};
                    if (shade(px + (sx + 0.5) / kGrid, py + (sy + 0.5) / kGrid, c)) {
                        sum.r += c.r;
                        sum.g += c.g;
                        sum.b += c.b;
                        ++covered;
                    }
                }
            }
            if (covered == 0) {
                continue;
            }
            const COLORREF under = canvas.GetPixel(left + px, top + py);
            if (under == CLR_INVALID) {
                continue;
            }
            const Rgb base = FromColor(under);
            constexpr double kSamples = kGrid * kGrid;
            const double keep = (kSamples - covered) / kSamples;
            const auto channel = [&](double b, double s) {
                return static_cast<COLORREF>(std::lround(b * keep + s / kSamples));
            };
            canvas.SetPixelV(left + px, top + py,
                             channel(base.r, sum.r) | channel(base.g, sum.g) << 8 |
                                 channel(base.b, sum.b) << 16);
        }
    }
}

// A disc with a darker rim and a gradient from top to bottom, under a
// symbol.
IconShader Disc(Rgb top, Rgb bottom, Rgb rim, std::function<bool(double, double)> symbol,
                Rgb symbolColor) {
    return [=](double x, double y, Rgb& out) {
        constexpr double kCentre = 8;
        constexpr double kRadius = 7.75;
        const double d = Distance(x, y, kCentre, kCentre);
        if (d > kRadius) {
            return false;
        }
        if (symbol(x, y)) {
            out = symbolColor;
        } else if (d > kRadius - 1) {
            out = rim;
        } else {
            out = Mix(top, bottom, y / kIconSize);
        }
        return true;
    };
}

IconShader InfoIcon() {
    return Disc(
        FromColor(0xE2904A), FromColor(0xB85F1C), FromColor(0x914A15),
        [](double x, double y) {
            return Distance(x, y, 8, 4.5) <= 1.4 || (x >= 7 && x <= 9 && y >= 6.5 && y <= 12.5);
        },
        Rgb{255, 255, 255});
}

IconShader ErrorIcon() {
    return Disc(
        FromColor(0x4A4AF0), FromColor(0x1E1EC4), FromColor(0x12128E),
        [](double x, double y) {
            constexpr double kHalf = 1.1;
            return SegmentDistance(x, y, 5, 5, 11, 11) <= kHalf ||
                   SegmentDistance(x, y, 11, 5, 5, 11) <= kHalf;
        },
        Rgb{255, 255, 255});
}

IconShader WarningIcon() {
    return [](double x, double y, Rgb& out) {
        // A triangle standing on the bottom edge, its apex at the top.
        constexpr std::array<std::array<double, 2>, 3> v = {
            {{8, 0.5}, {15.5, 14.75}, {0.5, 14.75}}};
        double nearest = 1e9;
        for (size_t i = 0; i < v.size(); ++i) {
            const auto& a = v[i];
            const auto& b = v[(i + 1) % v.size()];
            // Inside means on the inner side of every edge (clockwise order).
            const double cross = (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
            if (cross < 0) {
                return false;
            }
            nearest = std::min(nearest, SegmentDistance(x, y, a[0], a[1], b[0], b[1]));
        }
        const bool mark =
            (x >= 7 && x <= 9 && y >= 5 && y <= 10.5) || Distance(x, y, 8, 12.5) <= 1.15;
        if (mark) {
            out = Rgb{32, 32, 32};
        } else if (nearest < 1) {
            out = FromColor(0x007AB0);
        } else {
            out = Mix(FromColor(0x3AD8FF), FromColor(0x0EB1F2), y / kIconSize);
        }
        return true;
    };
}

}  // namespace

TipBox MeasureTip(Canvas& scratch, const TipContent& content) {
    CanvasSaver saver(scratch);
    const SIZE text = Measure(scratch, false, content.text, TextFormat(content), content.maxWidth);
    const SIZE title = Measure(scratch, true, content.title, kTitleFormat, 0);
    const bool hasIcon = content.icon >= 1 && content.icon <= 3;
    const bool hasRow = hasIcon || !content.title.empty();
    const int32_t iconWidth = hasIcon ? kIconSize + (content.title.empty() ? 0 : kIconGap) : 0;
    const int32_t rowHeight = hasRow ? std::max(hasIcon ? kIconSize : 0, title.cy) : 0;
    const int32_t rowWidth = iconWidth + title.cx;

    const int32_t marginX = content.balloon ? kBalloonMarginX : 1 + kStandardMarginX;
    const int32_t marginY = content.balloon ? kBalloonMarginY : 1 + kStandardMarginY;
    const int32_t gap = hasRow && text.cy > 0 ? kTitleGap : 0;

    TipBox box;
    box.size.cx = 2 * marginX + std::max(rowWidth, text.cx);
    box.size.cy = 2 * marginY + rowHeight + gap + text.cy;
    if (hasIcon) {
        const int32_t top = marginY + (rowHeight - kIconSize) / 2;
        box.icon = RECT{marginX, top, marginX + kIconSize, top + kIconSize};
    }
    if (!content.title.empty()) {
        const int32_t left = marginX + iconWidth;
        const int32_t top = marginY + (rowHeight - title.cy) / 2;
        box.title = RECT{left, top, left + title.cx, top + title.cy};
    }
    const int32_t textTop = marginY + rowHeight + gap;
    box.text = RECT{marginX, textTop, marginX + text.cx, textTop + text.cy};
    return box;
}

TipPlace PlaceTip(SIZE box, bool balloon, bool centered, POINT cursor, const RECT& tool,
                  const RECT& workArea) {
    const int32_t width = box.cx;
    const int32_t height = box.cy + (balloon ? kStemHeight : 0);
    const int32_t toolCentre = tool.Left + (tool.Right - tool.Left) / 2;
    // The spot the tip belongs to, below and above.
    const POINT below = centered ? POINT{toolCentre, tool.Bottom + kBelowTool}
                                 : POINT{cursor.X, cursor.Y + kBelowCursor};
    const POINT above =
        centered ? POINT{toolCentre, tool.Top - kAboveGap} : POINT{cursor.X, cursor.Y - kAboveGap};

    TipPlace place;
    place.stemUp = below.Y + height <= workArea.Bottom;
    const POINT spot = place.stemUp ? below : above;
    int32_t top = place.stemUp ? spot.Y : spot.Y - height;
    int32_t left = spot.X;
    if (centered) {
        left = spot.X - width / 2;
    } else if (balloon) {
        left = spot.X - kStemInset;
    }
    left = std::max(workArea.Left, std::min(left, workArea.Right - width));
    top = std::max(workArea.Top, top);
    place.window = RECT{left, top, left + width, top + height};
    place.boxAt = POINT{0, balloon && place.stemUp ? kStemHeight : 0};
    if (balloon) {
        const int32_t x =
            std::clamp(spot.X - left, kStemInset, std::max(kStemInset, width - 1 - kStemInset));
        place.stemPoint = POINT{x, place.stemUp ? 0 : height - 1};
    }
    return place;
}

Region TipRegion(SIZE box, bool balloon, const TipPlace& place) {
    if (!balloon) {
        return Region::CreateRectRgn(0, 0, box.cx, box.cy);
    }
    const int32_t boxTop = place.boxAt.Y;
    Region shape = Region::CreateRoundRectRgn(0, boxTop, box.cx, boxTop + box.cy, kBalloonCorner,
                                              kBalloonCorner);
    // The stem leans towards the middle of the box.
    const bool leansRight = place.stemPoint.X < box.cx / 2;
    std::vector<RECT> rows;
    for (int32_t r = 0; r < kStemHeight; ++r) {
        const int32_t w = StemRowWidth(r);
        const int32_t y = place.stemUp ? r : place.stemPoint.Y - r;
        const int32_t x = place.stemPoint.X;
        rows.push_back(leansRight ? RECT{x, y, x + w, y + 1} : RECT{x - w + 1, y, x + 1, y + 1});
    }
    Region::CombineRgn(shape, shape, Region::ExtCreateRegion(rows), RGN_MODE::RGN_OR);
    return shape;
}

void PaintTip(Canvas& canvas, const TipContent& content, const TipBox& box, const TipPlace& place) {
    CanvasSaver saver(canvas);
    const int32_t width = place.window.Width();
    const int32_t height = place.window.Height();
    const Region shape = TipRegion(box.size, content.balloon, place);
    canvas.FillRect(RECT{0, 0, width, height}, content.backColor);
    if (content.balloon) {
        // The border is every pixel of the shape with a side open to the
        // outside, so it follows the corners and the stem exactly.
        const auto inside = [&](int32_t x, int32_t y) { return shape.PtInRegion(x, y); };
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                if (inside(x, y) && (!inside(x - 1, y) || !inside(x + 1, y) || !inside(x, y - 1) ||
                                     !inside(x, y + 1))) {
                    canvas.SetPixelV(x, y, kTipBorder);
                }
            }
        }
    } else {
        canvas.FrameRect(RECT{0, 0, width, height}, kTipBorder);
    }

    const auto offset = [&](RECT r) {
        return RECT{r.Left + place.boxAt.X, r.Top + place.boxAt.Y, r.Right + place.boxAt.X,
                    r.Bottom + place.boxAt.Y};
    };
    if (!box.icon.IsEmpty()) {
        const RECT r = offset(box.icon);
        DrawTipIcon(canvas, content.icon, r.Left, r.Top);
    }
    canvas.SetBkMode(BkMode::TRANSPARENT);
    canvas.SetTextColor(content.textColor);
    if (!box.title.IsEmpty()) {
        canvas.SelectFont(TipFont(true));
        RECT r = offset(box.title);
        canvas.DrawText(content.title, r, kTitleFormat);
    }
    if (!box.text.IsEmpty()) {
        canvas.SelectFont(TipFont(false));
        RECT r = offset(box.text);
        canvas.DrawText(content.text, r, TextFormat(content));
    }
}

void DrawTipIcon(Canvas& canvas, int32_t icon, int32_t x, int32_t y) {
    switch (icon) {
        case 1:
            Rasterise(canvas, x, y, InfoIcon());
            break;
        case 2:
            Rasterise(canvas, x, y, WarningIcon());
            break;
        case 3:
            Rasterise(canvas, x, y, ErrorIcon());
            break;
        default:
            break;
    }
}

}  // namespace kelvara::detail
