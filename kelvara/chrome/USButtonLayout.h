#pragma once

// Where a button's caption and picture go. Pure arithmetic over the client
// size, the measured caption and the picture's size, so the same answer
// serves painting and tests; the button measures its caption with its own
// font and hands the rectangle in.

#include <cstdint>

#include "kelvara/chrome/USButtonTypes.h"
#include "kelvara/gfx/Rect.h"

namespace kelvara {

struct ButtonLayoutInput {
    int32_t Width = 0;   // client size in pixels
    int32_t Height = 0;  //
    // The caption as measured from (0, 0); empty for no caption.
    RECT Caption;
    bool HasCaption = false;
    bool HasPicture = false;
    // The picture's size as the button keeps it: PictureSizeX is the
    // height and PictureSizeY the width.
    int32_t PictureSizeX = 16;
    int32_t PictureSizeY = 16;
    ENUM_PIC_ALIGNMENTS Alignment = ENUM_PIC_ALIGNMENTS::PictureLeftOfCaption;
    int32_t MarginX = 3;
    int32_t MarginY = 3;
};

struct ButtonLayout {
    RECT CaptionRect;
    RECT PictureRect;
    // A picture rectangle was laid out.
    bool Valid = false;
};

// The caption is centred in the client area; with a picture, the two are
// placed by the alignment: the edge alignments put the picture against its
// edge (MarginX, MarginY from it) and the caption halfway into the room
// left; the "of caption" ones keep them together and centre the pair.
// Deliberate: only the left and right placements leave a gap (2 pixels)
// between picture and caption; above and below they touch. Every halving
// truncates towards zero.
ButtonLayout LayoutButton(const ButtonLayoutInput& in);

}  // namespace kelvara
