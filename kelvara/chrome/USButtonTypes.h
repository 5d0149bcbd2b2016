#pragma once

// The enumerations of the button's properties. Their values are stored in
// forms, so they never change.

#include <array>
#include <cstdint>

#include "kelvara/frame/ThemeColor.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara {

// Where a caption sits across the button.
enum class ENUM_ALIGNMENTS : int32_t {
    ToLeftJustify = 0,
    OnCenter = 1,
    ToRightJustify = 2,
};

// Which corners of the button are cut round by its window region.
enum class ENUM_BUTTON_BORDERS : int32_t {
    DontCrop = 0,
    CropLeft = 1,
    CropRight = 2,
    CropAll = 3,
};

// Where the picture sits: against an edge, or beside the caption.
enum class ENUM_PIC_ALIGNMENTS : int32_t {
    PictureBehindText = 0,
    PictureBottomEdge = 1,
    PictureBottomOfCaption = 2,
    PictureLeftEdge = 3,
    PictureLeftOfCaption = 4,
    PictureRightEdge = 5,
    PictureRightOfCaption = 6,
    PictureTopEdge = 7,
    PictureTopOfCaption = 8,
};

enum class ENUM_PICTURE_SIZES : int32_t {
    PictureNormal = 0,
    Picture16x16 = 1,
    Picture24x24 = 2,
    Picture32x32 = 3,
    Picture48x48 = 4,
    PictureCustom = 5,
};

// A button's colours, by what they colour and in which state. The gradient
// groups are the face: two colours top to bottom, or with Four Colors two
// bands, 1 to 2 above and 3 to 4 below.
struct ButtonColors {
    OLE_COLOR ForeColor = 0xFFFFFF;
    OLE_COLOR ForeColorDisabled = 0x008000;
    OLE_COLOR ForeColorDown = 0xFFFFFF;
    OLE_COLOR ForeColorOver = 0xFFFFFF;
    OLE_COLOR BorderColor = 0x9A572B;
    OLE_COLOR BorderColorDisabled = 0x008000;
    OLE_COLOR BorderColorDown = 0x501A00;
    OLE_COLOR BorderColorOver = 0x7B3E00;
    std::array<OLE_COLOR, 4> Gradient{0x9A572B, 0x9A572B, 0x9A572B, 0x9A572B};
    std::array<OLE_COLOR, 4> GradientDisabled{0xDBCECC, 0xDBCECC, 0xDBCECC, 0xDBCECC};
    std::array<OLE_COLOR, 4> GradientDown{0x501A00, 0x501A00, 0x501A00, 0x501A00};
    std::array<OLE_COLOR, 4> GradientOver{0x7B3E00, 0x7B3E00, 0x7B3E00, 0x7B3E00};
    friend bool operator==(const ButtonColors&, const ButtonColors&) = default;
};

// What a theme makes of a button's colours. Deliberate: the borders take
// the first face colour of their state, not the palette's frame colours.
ButtonColors ButtonThemeColors(ENUM_THEME theme);

}  // namespace kelvara
