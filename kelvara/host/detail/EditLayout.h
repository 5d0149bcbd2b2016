#pragma once

// The edit control's lines: where each starts, how long it is, and the
// pixel offset of every caret position on it (EditLayout.cpp). Pure logic
// over a measurer, so a test's fixed-width fake and a real font lay out
// alike.
//
// Offsets come from the widths of one- and two-character runs, since the
// text engine's widths are sums of advances and pair kerning: drawing any
// piece of a line at its offset puts every glyph exactly where drawing the
// whole line would.

#include <cstdint>
#include <string_view>
#include <vector>

#include "kelvara/gfx/TextLayout.h"

namespace kelvara::detail {

struct EditLine {
    int32_t Start = 0;
    int32_t Length = 0;       // characters shown on the line
    int32_t BreakLength = 0;  // the line break after it: 0 after a wrap and at the end
    // Length + 1 offsets from the line's left end: X[i] is where the caret
    // before character Start + i stands, X[Length] the line's width.
    std::vector<int32_t> X;

    int32_t Width() const { return X.empty() ? 0 : X.back(); }
    int32_t End() const { return Start + Length; }
};

struct EditLayoutOptions {
    // Single-line text is one line whatever it holds; tabs and line breaks
    // are characters like any other.
    bool MultiLine = false;
    // Lines wider than this wrap at blanks (or anywhere, for a word that
    // does not fit alone); 0 for no wrapping. Blanks at a wrap stay at the
    // end of the line, past the width.
    int32_t WrapWidth = 0;
    // Tabs of multi-line text move to the next multiple of this; 0 to
    // measure them as characters.
    int32_t TabWidth = 0;
};

// Never empty: empty text is one empty line, and text that ends with a line
// break has an empty line after it.
std::vector<EditLine> LayOutEditText(const TextMeasurer& measurer, std::u32string_view text,
                                     const EditLayoutOptions& options);

// The line a position belongs to: the last one starting at or before it
// (so the position that ends a wrapped line reads as the next line's start).
int32_t LineOfPosition(const std::vector<EditLine>& lines, int32_t pos);

// The caret position on a line nearest to an offset from its left end:
// a point in a character's left half stands before it, in its right half
// after it.
int32_t NearestOnLine(const EditLine& line, int32_t x);

}  // namespace kelvara::detail
