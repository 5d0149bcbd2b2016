#pragma once

// The grid's persisted properties: one field per property-bag key, named as
// the property (the key can differ: AllowColumnDrag is stored as
// "ColumnDrag"). ReadProperties and WriteProperties live on GridModel, since
// HeaderFormatString is read through the columns.

#include <cstdint>
#include <string>

#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/grid/GridTypes.h"

namespace kelvara {

class PropertyBag;

// What the host's ambient properties give a grid with no stored value.
struct GridAmbient {
    StdFont font;
    // Twice the height of "ABCDWXYZ" in the grid's font, the caption band's
    // default.
    int32_t captionHeight = 26;
};

struct GridProperties {
    StdFont Font;
    StdFont FontHeader;
    bool Enabled = true;
    OLE_COLOR BackColorEvenRows = 16514044;
    bool BackColorEvenRowsEnabled = true;
    OLE_COLOR BackColorSelected1 = 0;
    OLE_COLOR BackColorSelected2 = 0;
    OLE_COLOR BorderColor = 0;
    OLE_COLOR CaptionGradientColor1 = 0;
    OLE_COLOR CaptionGradientColor2 = 0;
    OLE_COLOR FocusRectBorderColor = 16774117;
    OLE_COLOR FocusRectColor = 16774117;
    OLE_COLOR ForeColorHeader = 0;
    OLE_COLOR ForeColorHeaderOver = 0;
    OLE_COLOR GridColor = 16448254;
    OLE_COLOR HeaderBorderColorOver = 8076800;
    OLE_COLOR HeaderBorderColorDown = 5249536;
    OLE_COLOR HeaderGradientColor1 = 0;
    OLE_COLOR HeaderGradientColor2 = 0;
    OLE_COLOR HeaderGradientColorOver1 = 0;
    OLE_COLOR HeaderGradientColorOver2 = 0;
    OLE_COLOR HeaderGradientColorDown1 = 0;
    OLE_COLOR HeaderGradientColorDown2 = 0;
    OLE_COLOR ColumnSeparatorColor = 0;
    OLE_COLOR ColumnSeparatorColorOver = 8076800;
    OLE_COLOR ColumnSeparatorColorDown = 5249536;
    OLE_COLOR ProgressBarColor1 = 32768;
    OLE_COLOR ProgressBarColor2 = 32768;
    OLE_COLOR ArrowColor = 0;
    OLE_COLOR BackColorBackground = 16777215;
    OLE_COLOR BackColorEdit = 14155006;
    OLE_COLOR ForeColor = 0;
    OLE_COLOR ForeColorEdit = 128;
    OLE_COLOR ForeColorSelected = 128;
    bool AllowColumnDrag = false;
    bool AllowColumnHover = true;
    bool AllowColumnResizing = false;
    bool AllowColumnSort = false;
    bool AllowColumnSwap = false;
    bool AllowDelete = false;
    bool AllowEdit = false;
    bool AllowInsert = false;
    bool AllowRowResizing = false;
    bool AllowWordWrap = false;
    bool ApplySelectionToImages = false;
    bool AutoToolTips = true;
    GRID_BORDER_STYLE BorderStyle = GRID_BORDER_STYLE::FixedSingle;
    int32_t CacheIncrement = 1000;
    std::string Caption;
    GRID_CAPTION_ALIGNMENT CaptionAlignment = GRID_CAPTION_ALIGNMENT::AlignToCenter;
    int32_t CaptionHeight = 26;
    bool CaptionWordWrap = false;
    bool CenterRowImage = true;
    int16_t ColumnHeaderLines = 3;
    bool ColumnHeaderSmall = true;
    bool DisplayEllipsis = true;
    GRID_EDIT_MOVE EditMove = GRID_EDIT_MOVE::DontMove;
    GRID_EDIT_TRIGGER EditTrigger = GRID_EDIT_TRIGGER::OnF2OrDblClick;
    GRID_FOCUSRECT FocusRectMode = GRID_FOCUSRECT::FocusRow;
    bool FocusRowHighlightKeepTextForeColor = true;
    int16_t FreezeAtCol = -1;
    GRID_LINES GridLines = GRID_LINES::NoneLines;
    int32_t GridLineWidth = 1;
    std::string HeaderFormatString;
    bool FocusRectHide = false;
    int16_t MinRowHeight = 27;
    int32_t MinVerticalOffset = 6;
    GRID_MULTISELECT MultiSelect = GRID_MULTISELECT::SingleSelect;
    bool PreserveSortedColumns = true;
    bool RowCheckBoxes = false;
    GRID_SCROLLBAR_ORIENTATION ScrollBars = GRID_SCROLLBAR_ORIENTATION::Scroll_Both;
    bool ScrollTrack = true;
    int16_t SearchColumn = 0;
    bool ColumnHeaders = true;
    bool ShowRowNumbers = false;
    ENUM_THEME Theme = ENUM_THEME::WindowsTheme;
    bool TotalLineShow = false;

    // The values every key reads as when the bag holds nothing, the colours
    // derived from the base colour included.
    static GridProperties Defaults(const GridAmbient& ambient);

    // Runs a theme's colour set over the colours (and ColumnHeaderLines),
    // and stores Theme.
    void ApplyTheme(ENUM_THEME theme);

    friend bool operator==(const GridProperties&, const GridProperties&) = default;
};

}  // namespace kelvara
