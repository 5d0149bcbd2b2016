#pragma once

// The palette sheet: every theme's 27 colours, its faces in two and four
// colours, and text in the faces' font at the sizes the controls use. It is
// the picture in docs/ that shows what the themes look like, and the test
// that keeps them looking so.

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

// Draws the sheet onto a new picture of its own size; False when the
// picture cannot be made.
bool DrawPaletteSheet(API32bppDIB& sheet);

}  // namespace kelvara
