#pragma once

// The grid's enumerations, with the values that property bags and layout
// settings store, and the records it keeps per column and per format.

#include <cstdint>
#include <string>

#include "kelvara/image/ImageTypes.h"

namespace kelvara {
class Control;
}

namespace kelvara {

enum class GRID_ALIGNMENT : int32_t {
    AlignToLeftTop = 0,
    AlignToCenterTop = 1,
    AlignToRightTop = 2,
    AlignToLeftCenter = 4,
    AlignToCenterCenter = 5,
    AlignToRightCenter = 6,
    AlignToLeftBottom = 8,
    AlignToCenterBottom = 9,
    AlignToRightBottom = 10,
};

enum class GRID_DATA_TYPE : int16_t {
    TypeString = 0,
    TypeNumeric = 1,
    TypeDate = 2,
    TypeBoolean = 3,
    TypeProgressBar = 4,
    TypeCustom = 5,
    TypeButton = 6,
};

enum class GRID_CAPTION_ALIGNMENT : int32_t {
    AlignToLeft = 4,
    AlignToCenter = 5,
    AlignToRight = 6
};

enum class GRID_MOVE_CONTROL : int16_t {
    MoveNone = 0,
    MoveHeight = 1,
    MoveWidth = 2,
    MoveLeft = 4,
    MoveTop = 8,
};

enum class GRID_MULTISELECT : int16_t { SingleSelect = 0, MultiStandard = 1, MultiLatch = 2 };

enum class GRID_LINES : int32_t {
    NoneLines = 0,
    BothLines = 1,
    VerticalLines = 2,
    HorizontalLines = 3
};

enum class GRID_FOCUSRECT : int32_t { FocusNone = 0, FocusRow = 1, FocusCol = 2 };

enum class GRID_SCROLLBAR_ORIENTATION : int32_t {
    Scroll_Horizontal = 0,
    Scroll_Vertical = 1,
    Scroll_Both = 2,
    Scroll_None = 3,
};

enum class GRID_BORDER_STYLE : int32_t { NoBorder = 0, FixedSingle = 1 };

enum class GRID_EDIT_MOVE : int32_t { DontMove = 0, MoveRight = 1, MoveDown = 2 };

// A bit set, except OnF2OrDblClick, which names three bits at once.
enum class GRID_EDIT_TRIGGER : int32_t {
    NoneEdit = 0,
    OnEnterKey = 2,
    OnF2Key = 4,
    OnMouseClick = 8,
    OnMouseDblClick = 16,
    OnAnyKey = 32,
    OnF2OrDblClick = 52,
};

enum class GRID_SEARCH_MODE : int32_t {
    SearchEqual = 0,
    SearchGreaterEqual = 1,
    SearchLike = 2,
    SearchNavigate = 4,
    SearchBeginsWith = 5,
    SearchEndsWith = 6,
};

enum class GRID_SORT_TYPE : int32_t { SortNormal = 0, SortAscending = 1, SortDescending = 2 };

// FormatCells takes exactly one of these; the format pool's setters use the
// first five as the name of the attribute they change.
enum class GRID_CELL_FORMAT : int32_t {
    FormatBackColor = 1,
    FormatForeColor = 4,
    FormatImage = 8,
    FormatFontName = 16,
    FormatFontBold = 32,
    FormatFontItalic = 64,
    FormatFontUnderline = 128,
    FormatFontStrikethrough = 256,
    FormatHandPointer = 512,
    FormatAlignment = 1024,
};

// A column's SortState. Not the GRID_SORT_TYPE numbering: 1 is descending.
namespace ColumnSort {
inline constexpr int32_t Unsorted = 0;
inline constexpr int32_t Descending = 1;
inline constexpr int32_t Ascending = 2;
}  // namespace ColumnSort

// Bits of a row's Flags word.
namespace RowFlag {
inline constexpr uint16_t Checked = 2;
inline constexpr uint16_t Selected = 4;
inline constexpr uint16_t Changed = 8;
inline constexpr uint16_t MarkedAsNew = 512;
inline constexpr uint16_t Locked = 1024;
}  // namespace RowFlag

// Bits of a cell's Flags word. In a TypeProgressBar column the whole word is
// the progress value instead.
namespace CellFlag {
inline constexpr uint16_t Checked = 2;
inline constexpr uint16_t Changed = 8;
inline constexpr uint16_t Bold = 16;
inline constexpr uint16_t Italic = 32;
inline constexpr uint16_t Underline = 64;
inline constexpr uint16_t Strikethrough = 128;
inline constexpr uint16_t WordWrap = 256;
}  // namespace CellFlag

struct GridColumn {
    // The control that edits the column's cells instead of the grid's own
    // edit box (set by BindControl); not owned.
    Control* BoundControl = nullptr;
    float Width = 0.0F;       // twips, as ColWidth
    int32_t WidthPixels = 0;  // Width through the host's scale, truncated
    int32_t Left = 0;         // pixel offset, rewritten by each header pass
    GRID_ALIGNMENT Alignment = GRID_ALIGNMENT::AlignToLeftCenter;
    GRID_ALIGNMENT ImageAlignment = GRID_ALIGNMENT::AlignToLeftCenter;
    int32_t SortState = ColumnSort::Unsorted;
    GRID_DATA_TYPE DataType = GRID_DATA_TYPE::TypeString;
    uint16_t CellFlagsTemplate = 0;  // CellFlag::WordWrap or 0, copied into new cells
    GRID_MOVE_CONTROL MoveControl = GRID_MOVE_CONTROL::MoveNone;
    bool Visible = true;
    std::string Heading;
    std::string Format;
    std::string InputFilter;
    std::string Tag;
    bool Locked = false;
};

// One look shared by all the cells that point at it.
struct GridCellFormat {
    OLE_COLOR BackColor = 0;
    OLE_COLOR ForeColor = 0;
    std::string FontName;
    bool HandPointer = false;
    int32_t RefCount = 0;
    int16_t Image = 0;
};

// How the total line shows one column.
struct GridTotalColumn {
    GRID_ALIGNMENT Alignment = GRID_ALIGNMENT::AlignToLeftTop;
    bool Average = false;
    std::string Caption;
    bool Invisible = false;
    bool FontItalic = false;
    bool FontBold = false;
    bool FontUnderline = false;
    bool FontStrikethrough = false;
    OLE_COLOR ForeColor = 0;
};

// AddColumn's optional arguments, with their defaults.
struct GridColumnOptions {
    float width = 500.0F;
    GRID_ALIGNMENT alignment = GRID_ALIGNMENT::AlignToLeftCenter;
    GRID_DATA_TYPE dataType = GRID_DATA_TYPE::TypeString;
    std::string format;
    std::string inputFilter;
    GRID_ALIGNMENT imageAlignment = GRID_ALIGNMENT::AlignToLeftCenter;
    bool wordWrap = false;
    int32_t index = 0;  // 0, or anything outside 1 .. Cols - 1, appends
    bool visible = true;
    bool locked = false;
};

// AddItem's optional arguments, with their defaults.
struct GridItemOptions {
    int32_t row = -1;  // position to insert at; -1 (or past the end) appends
    bool rowChecked = false;
    bool markAsNew = false;
    bool rowLocked = false;
    bool rowVisible = true;
    int32_t rowData = 0;
};

}  // namespace kelvara
