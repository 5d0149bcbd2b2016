#pragma once

// How a tip looks and where it goes: pure geometry and painting, shared by
// the tooltip window and its tests.
//
//   MeasureTip (text sizes → the box and what sits in it)
//   → PlaceTip (the box near the cursor or under the tool, kept on the
//     work area; a balloon's stem pointing at the spot)
//   → TipRegion (the window's shape) → PaintTip (fill, border, icon, title,
//     text)

#include <cstdint>
#include <string>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/Region.h"
#include "kelvara/host/Win32.h"

namespace kelvara::detail {

// --- Layout numbers, in pixels ---------------------------------------------------

inline constexpr const char* kTipFontFamily = "Tahoma";
inline constexpr int32_t kTipFontHeight = -11;  // 8 points at 96 dots per inch

// A standard tip: a one-pixel border, then the margins around the content.
inline constexpr int32_t kStandardMarginX = 4;
inline constexpr int32_t kStandardMarginY = 2;
// A balloon: a rounded box with a stem; wider margins.
inline constexpr int32_t kBalloonMarginX = 9;
inline constexpr int32_t kBalloonMarginY = 7;
inline constexpr int32_t kBalloonCorner = 15;  // the corners' ellipse, width and height
inline constexpr int32_t kStemHeight = 15;
inline constexpr int32_t kStemWidth = 15;  // at the box's edge
// The stem keeps clear of the rounded corners.
inline constexpr int32_t kStemInset = kBalloonCorner / 2 + 4;

// The title row: a 16 × 16 icon, a gap, the bold title; a gap below it.
inline constexpr int32_t kIconSize = 16;
inline constexpr int32_t kIconGap = 6;
inline constexpr int32_t kTitleGap = 6;

// Where a tip goes: this far below the cursor's hot spot, clear of the
// pointer; a centred tip this far below its tool; a tip that must go above
// keeps this gap.
inline constexpr int32_t kBelowCursor = 20;
inline constexpr int32_t kBelowTool = 2;
inline constexpr int32_t kAboveGap = 2;

inline constexpr COLORREF kTipBorder = 0x404040;

// --- What a tip shows ---------------------------------------------------------------

struct TipContent {
    bool balloon = false;
    bool noPrefix = true;
    int32_t icon = 0;  // 0 none, 1 info, 2 warning, 3 error
    std::string title;
    std::string text;
    COLORREF textColor = 0;
    COLORREF backColor = 0xE1FFFF;
    int32_t maxWidth = -1;  // wrap the text at this width; -1 never
};

// The box and where its parts sit, in box pixels (the balloon's stem is not
// part of the box).
struct TipBox {
    SIZE size;
    RECT icon;   // empty without an icon
    RECT title;  // empty without a title row
    RECT text;
};

// Lays out the content with the tip's fonts (measured on `scratch`).
TipBox MeasureTip(Canvas& scratch, const TipContent& content);

// --- Where it goes ------------------------------------------------------------------

struct TipPlace {
    RECT window;  // on the screen
    POINT boxAt;  // the box's top-left corner in the window
    // A balloon's stem: its point in window pixels, and whether it points
    // up (the tip below the spot) or down (the tip above it).
    POINT stemPoint;
    bool stemUp = true;
};

// The place for a box: below the cursor at `cursor`, or with `centered`
// centred under `tool` (screen pixels); above instead when it would leave
// the work area at the bottom; moved sideways to stay on it.
TipPlace PlaceTip(SIZE box, bool balloon, bool centered, POINT cursor, const RECT& tool,
                  const RECT& workArea);

// The window's shape, in window pixels: the box, and for a balloon its
// rounded corners and stem.
Region TipRegion(SIZE box, bool balloon, const TipPlace& place);

// Paints the whole tip into a canvas the size of the window.
void PaintTip(Canvas& canvas, const TipContent& content, const TipBox& box, const TipPlace& place);

// The 16 × 16 icons, drawn anti-aliased over what is there, top-left at
// (x, y) in canvas pixels.
void DrawTipIcon(Canvas& canvas, int32_t icon, int32_t x, int32_t y);

}  // namespace kelvara::detail
