#include <algorithm>

#include "kelvara/grid/GridModel.h"
#include "kelvara/grid/detail/TextRules.h"

// Column, row and cell members, and the format pool behind the cells' look.
//
// Column members index columnRecords directly and ignore ids outside it.
// Row and cell members go through ValidateRow / ValidateCell, which clamp
// the row to the last one; a member that fails validation does nothing, and
// a getter answers 0, False or "".
//
// The format pool: a cell holds an index into formatPool, 0 being the grid's
// default look. Setting one attribute never writes the shared record: it
// looks for a record with all five values (SetFormatAttribute), so equal
// looks share one record.

namespace kelvara {

using detail::GridCellRecord;
using detail::GridRowRecord;
using detail::CellExtra::Picture;
using detail::CellExtra::Tag;
using detail::CellExtra::WideAlignment;

namespace {

// formatPool indices are 16-bit.
constexpr size_t kMaxFormats = 32767;

bool SameLook(const GridCellFormat& a, const GridCellFormat& b) {
    return a.BackColor == b.BackColor && a.ForeColor == b.ForeColor && a.FontName == b.FontName &&
           a.HandPointer == b.HandPointer && a.Image == b.Image;
}

void SetBit(uint16_t& flags, uint16_t bit, bool value) {
    flags = value ? static_cast<uint16_t>(flags | bit) : static_cast<uint16_t>(flags & ~bit);
}

}  // namespace

// --- Columns ---------------------------------------------------------------------------------

#define KELVARA_COLUMN_GET(type, name, expr, fallback)  \
    type GridModel::name(int32_t xCol) const {          \
        if (!ColumnExists(xCol)) {                      \
            return fallback;                            \
        }                                               \
        const GridColumn& column = columnRecords[xCol]; \
        return expr;                                    \
    }

KELVARA_COLUMN_GET(GRID_ALIGNMENT, ColAlignment, column.Alignment, GRID_ALIGNMENT{})
KELVARA_COLUMN_GET(GRID_ALIGNMENT, ColImageAlignment, column.ImageAlignment, GRID_ALIGNMENT{})
KELVARA_COLUMN_GET(std::string, ColHeading, column.Heading, std::string())
KELVARA_COLUMN_GET(std::string, ColFormat, column.Format, std::string())
KELVARA_COLUMN_GET(bool, ColVisible, column.Visible, false)
KELVARA_COLUMN_GET(bool, ColLocked, column.Locked, false)
KELVARA_COLUMN_GET(bool, ColWordWrap, column.CellFlagsTemplate == CellFlag::WordWrap, false)
KELVARA_COLUMN_GET(std::string, ColTag, column.Tag, std::string())
KELVARA_COLUMN_GET(std::string, ColInputFilter, column.InputFilter, std::string())
KELVARA_COLUMN_GET(GRID_DATA_TYPE, ColType, column.DataType, GRID_DATA_TYPE{})
KELVARA_COLUMN_GET(float, ColWidth, column.Width, 0.0F)

#undef KELVARA_COLUMN_GET

#define KELVARA_COLUMN_SET(name, type, store, repaint) \
    void GridModel::name(int32_t xCol, type value) {   \
        if (!ColumnExists(xCol)) {                     \
            return;                                    \
        }                                              \
        GridColumn& column = columnRecords[xCol];      \
        store;                                         \
        if (repaint) {                                 \
            RepaintIfRedraw();                         \
        }                                              \
    }

KELVARA_COLUMN_SET(SetColAlignment, GRID_ALIGNMENT, column.Alignment = value, true)
KELVARA_COLUMN_SET(SetColImageAlignment, GRID_ALIGNMENT, column.ImageAlignment = value, true)
KELVARA_COLUMN_SET(SetColHeading, std::string_view, column.Heading = value, true)
KELVARA_COLUMN_SET(SetColFormat, std::string_view, column.Format = value, true)
KELVARA_COLUMN_SET(SetColVisible, bool, column.Visible = value, true)
KELVARA_COLUMN_SET(SetColLocked, bool, column.Locked = value, true)
KELVARA_COLUMN_SET(SetColWordWrap, bool,
                   column.CellFlagsTemplate = value ? CellFlag::WordWrap : uint16_t{0}, false)
KELVARA_COLUMN_SET(SetColTag, std::string_view, column.Tag = value, false)
KELVARA_COLUMN_SET(SetColInputFilter, std::string_view, column.InputFilter = value, false)
KELVARA_COLUMN_SET(SetColType, GRID_DATA_TYPE, column.DataType = value, false)
KELVARA_COLUMN_SET(SetColWidth, float,
                   (column.Width = value, column.WidthPixels = TwipsToPixels(value)), true)

#undef KELVARA_COLUMN_SET

// --- Rows ------------------------------------------------------------------------------------

bool GridModel::HasRowFlag(int32_t xRow, uint16_t bit) const {
    const auto slot = ValidateRow(xRow);
    return slot && (rowRecords.Row(*slot).Flags & bit) != 0;
}

void GridModel::SetRowFlag(int32_t xRow, uint16_t bit, bool value) {
    if (const auto slot = ValidateRow(xRow)) {
        SetBit(rowRecords.Row(*slot).Flags, bit, value);
        RepaintIfRedraw();
    }
}

bool GridModel::RowChecked(int32_t xRow) const {
    return HasRowFlag(xRow, RowFlag::Checked);
}

void GridModel::SetRowChecked(int32_t xRow, bool xRowChecked) {
    SetRowFlag(xRow, RowFlag::Checked, xRowChecked);
}

bool GridModel::RowLocked(int32_t xRow) const {
    return HasRowFlag(xRow, RowFlag::Locked);
}

void GridModel::SetRowLocked(int32_t xRow, bool value) {
    SetRowFlag(xRow, RowFlag::Locked, value);
}

bool GridModel::RowSelected(int32_t xRow) const {
    return HasRowFlag(xRow, RowFlag::Selected);
}

void GridModel::SetRowSelected(int32_t xRow, bool value) {
    SetRowFlag(xRow, RowFlag::Selected, value);
}

#define KELVARA_ROW_FIELD(type, getter, setter, field)                         \
    type GridModel::getter(int32_t xRow) const {                               \
        const auto slot = ValidateRow(xRow);                                   \
        return slot ? static_cast<type>(rowRecords.Row(*slot).field) : type{}; \
    }                                                                          \
    void GridModel::setter(int32_t xRow, type value) {                         \
        if (const auto slot = ValidateRow(xRow)) {                             \
            rowRecords.Row(*slot).field = value;                               \
            RepaintIfRedraw();                                                 \
        }                                                                      \
    }

KELVARA_ROW_FIELD(int32_t, RowData, SetRowData, Data)
KELVARA_ROW_FIELD(bool, RowGroupHeader, SetRowGroupHeader, GroupHeader)
KELVARA_ROW_FIELD(int32_t, RowImage, SetRowImage, ImageIndex)
KELVARA_ROW_FIELD(bool, RowVisible, SetRowVisible, Visible)

#undef KELVARA_ROW_FIELD

int32_t GridModel::RowHeight(int32_t xRow) const {
    const auto slot = ValidateRow(xRow);
    return slot ? rowRecords.Row(*slot).Height : 0;
}

void GridModel::SetRowHeight(int32_t xRow, int32_t value) {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return;
    }
    if (value == -1) {
        // Deliberate: "measure again" measures the current row, whichever
        // row was named.
        if (hooks.measureRow) {
            hooks.measureRow(row);
        }
        return;
    }
    for (int32_t c = 0; c < rowRecords.Columns(); ++c) {
        rowRecords.Cell(*slot, c).Measured = 0;
    }
    rowRecords.Row(*slot).Height = value;
    RepaintIfRedraw();
}

std::string GridModel::RowTag(int32_t xRow) const {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return {};
    }
    const auto it = rowTags.find(*slot);
    return it == rowTags.end() ? std::string() : it->second;
}

void GridModel::SetRowTag(int32_t xRow, std::string_view value) {
    if (const auto slot = ValidateRow(xRow)) {
        if (value.empty()) {
            rowTags.erase(*slot);
        } else {
            rowTags[*slot] = value;
        }
        RepaintIfRedraw();
    }
}

bool GridModel::RowChanged(int32_t xRow) const {
    return xRow >= 0 && xRow <= lastRow &&
           (rowRecords.Row(rowOrder[xRow]).Flags & RowFlag::Changed) != 0;
}

bool GridModel::RowMarkedAsNew(int32_t xRow) const {
    return xRow >= 0 && xRow <= lastRow &&
           (rowRecords.Row(rowOrder[xRow]).Flags & RowFlag::MarkedAsNew) != 0;
}

void GridModel::SetRowCellsFormat(int32_t xRow, GRID_CELL_FORMAT which,
                                  const GridCellFormat& value) {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return;
    }
    for (int32_t c = 0; c < static_cast<int32_t>(columnRecords.size()); ++c) {
        if (columnRecords[c].DataType != GRID_DATA_TYPE::TypeProgressBar) {
            SetFormatAttribute(*slot, c, which, value);
        }
    }
    RepaintIfRedraw();
}

void GridModel::SetRowCellsFlag(int32_t xRow, uint16_t bit, bool value) {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return;
    }
    for (int32_t c = 0; c < static_cast<int32_t>(columnRecords.size()); ++c) {
        if (columnRecords[c].DataType != GRID_DATA_TYPE::TypeProgressBar) {
            SetBit(rowRecords.Cell(*slot, c).Flags, bit, value);
        }
    }
    RepaintIfRedraw();
}

void GridModel::SetRowBackColor(int32_t xRow, OLE_COLOR value) {
    GridCellFormat look;
    look.BackColor = value;
    SetRowCellsFormat(xRow, GRID_CELL_FORMAT::FormatBackColor, look);
}

void GridModel::SetRowForeColor(int32_t xRow, OLE_COLOR xForeColor) {
    GridCellFormat look;
    look.ForeColor = xForeColor;
    SetRowCellsFormat(xRow, GRID_CELL_FORMAT::FormatForeColor, look);
}

void GridModel::SetRowFontBold(int32_t xRow, bool value) {
    SetRowCellsFlag(xRow, CellFlag::Bold, value);
}

void GridModel::SetRowFontItalic(int32_t xRow, bool value) {
    SetRowCellsFlag(xRow, CellFlag::Italic, value);
}

void GridModel::SetRowFontUnderline(int32_t xRow, bool value) {
    SetRowCellsFlag(xRow, CellFlag::Underline, value);
}

void GridModel::SetRowFontStrikethrough(int32_t xRow, bool value) {
    SetRowCellsFlag(xRow, CellFlag::Strikethrough, value);
}

// --- Cell storage -------------------------------------------------------------------------------

void GridModel::StoreText(GridCellRecord& cell, std::string_view text) {
    texts.Release(cell.Text);
    cell.Text = texts.Store(text);
    CompactTextsIfWorthIt();
}

int32_t GridModel::AlignmentOf(int32_t slot, int32_t xCol, const GridCellRecord& cell) const {
    if ((cell.Extras & WideAlignment) == 0) {
        return cell.Alignment;
    }
    const auto it = wideAlignments.find(CellKey(slot, xCol));
    return it == wideAlignments.end() ? cell.Alignment : it->second;
}

void GridModel::StoreAlignment(int32_t slot, int32_t xCol, GridCellRecord& cell, int32_t value) {
    // Alignments are layout flags as well; the few beyond 16 bits go aside.
    if (value == static_cast<int16_t>(value)) {
        cell.Alignment = static_cast<int16_t>(value);
        if ((cell.Extras & WideAlignment) != 0) {
            wideAlignments.erase(CellKey(slot, xCol));
            cell.Extras &= static_cast<uint8_t>(~WideAlignment);
        }
        return;
    }
    cell.Alignment = 0;
    cell.Extras |= WideAlignment;
    wideAlignments[CellKey(slot, xCol)] = value;
}

// --- Format pool ------------------------------------------------------------------------------

GridCellFormat GridModel::FormatOf(const GridCellRecord& cell) const {
    if (cell.FormatIndex >= 0 && cell.FormatIndex < static_cast<int32_t>(formatPool.size())) {
        return formatPool[cell.FormatIndex];
    }
    GridCellFormat look;
    look.BackColor = properties.BackColorBackground;
    look.ForeColor = properties.ForeColor;
    look.FontName = properties.Font.Name();
    return look;
}

void GridModel::SetFormatAttribute(int32_t slot, int32_t xCol, GRID_CELL_FORMAT which,
                                   const GridCellFormat& value) {
    if (lastRow < 0) {
        return;
    }
    GridCellRecord& cell = rowRecords.Cell(slot, xCol);
    GridCellFormat want = FormatOf(cell);
    switch (which) {
        case GRID_CELL_FORMAT::FormatBackColor:
            want.BackColor = value.BackColor;
            break;
        case GRID_CELL_FORMAT::FormatForeColor:
            want.ForeColor = value.ForeColor;
            break;
        case GRID_CELL_FORMAT::FormatImage:
            want.Image = value.Image;
            break;
        case GRID_CELL_FORMAT::FormatFontName:
            want.FontName = value.FontName;
            break;
        case GRID_CELL_FORMAT::FormatHandPointer:
            want.HandPointer = value.HandPointer;
            break;
        default:
            return;
    }
    // Record 0 is the look every new cell points at without being counted,
    // so it is never handed out as a free record.
    int32_t match = -1;
    int32_t firstFree = -1;
    const auto size = static_cast<int32_t>(formatPool.size());
    for (int32_t k = 0; k < size; ++k) {
        if (k > 0 && firstFree < 0 && formatPool[k].RefCount == 0) {
            firstFree = k;
        }
        if (SameLook(formatPool[k], want)) {
            match = k;
            break;
        }
    }
    if (match < 0) {
        if (firstFree < 0) {
            if (formatPool.size() >= kMaxFormats) {
                return;
            }
            formatPool.emplace_back();
            firstFree = size;
        }
        GridCellFormat& record = formatPool[firstFree];
        const int32_t refs = record.RefCount;
        record = want;
        record.RefCount = refs;
        match = firstFree;
    }
    const int32_t old = cell.FormatIndex;
    if (match == old) {
        return;
    }
    if (old > 0 && old < size) {
        --formatPool[old].RefCount;
    }
    if (match > 0) {
        ++formatPool[match].RefCount;
    }
    cell.FormatIndex = static_cast<int16_t>(match);
}

int32_t GridModel::CellFormatIndex(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref ? CellAt(*ref)->FormatIndex : -1;
}

// --- Cells ------------------------------------------------------------------------------------

GRID_ALIGNMENT GridModel::CellAlignment(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref ? static_cast<GRID_ALIGNMENT>(AlignmentOf(ref->slot, ref->col, *CellAt(*ref)))
               : GRID_ALIGNMENT{};
}

void GridModel::SetCellAlignment(int32_t xRow, int32_t xCol, GRID_ALIGNMENT xAlignment) {
    if (const auto ref = ValidateCell(xRow, xCol)) {
        StoreAlignment(ref->slot, ref->col, *CellAt(*ref), static_cast<int32_t>(xAlignment));
        RepaintIfRedraw();
    }
}

#define KELVARA_CELL_LOOK(type, getter, setter, field, which)                       \
    type GridModel::getter(int32_t xRow, int32_t xCol) const {                      \
        const auto ref = ValidateCell(xRow, xCol);                                  \
        return ref ? static_cast<type>(FormatOf(*CellAt(*ref)).field) : type{};     \
    }                                                                               \
    void GridModel::setter(int32_t xRow, int32_t xCol, type value) {                \
        if (const auto ref = ValidateCell(xRow, xCol)) {                            \
            GridCellFormat look;                                                    \
            look.field = value;                                                     \
            SetFormatAttribute(ref->slot, ref->col, GRID_CELL_FORMAT::which, look); \
            RepaintIfRedraw();                                                      \
        }                                                                           \
    }

KELVARA_CELL_LOOK(OLE_COLOR, CellBackColor, SetCellBackColor, BackColor, FormatBackColor)
KELVARA_CELL_LOOK(OLE_COLOR, CellForeColor, SetCellForeColor, ForeColor, FormatForeColor)
KELVARA_CELL_LOOK(bool, CellHandPointer, SetCellHandPointer, HandPointer, FormatHandPointer)
KELVARA_CELL_LOOK(int16_t, CellImage, SetCellImage, Image, FormatImage)

#undef KELVARA_CELL_LOOK

std::string GridModel::CellFontName(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref ? FormatOf(*CellAt(*ref)).FontName : std::string();
}

void GridModel::SetCellFontName(int32_t xRow, int32_t xCol, std::string_view value) {
    if (const auto ref = ValidateCell(xRow, xCol)) {
        GridCellFormat look;
        look.FontName = value;
        SetFormatAttribute(ref->slot, ref->col, GRID_CELL_FORMAT::FormatFontName, look);
        RepaintIfRedraw();
    }
}

void GridModel::SetCellFontFlag(int32_t xRow, int32_t xCol, uint16_t bit, bool value) {
    if (const auto ref = ValidateCell(xRow, xCol)) {
        SetBit(CellAt(*ref)->Flags, bit, value);
        RepaintIfRedraw();
    }
}

#define KELVARA_CELL_FLAG(getter, setter, bit)                       \
    bool GridModel::getter(int32_t xRow, int32_t xCol) const {       \
        const auto ref = ValidateCell(xRow, xCol);                   \
        return ref && (CellAt(*ref)->Flags & bit) != 0;              \
    }                                                                \
    void GridModel::setter(int32_t xRow, int32_t xCol, bool value) { \
        SetCellFontFlag(xRow, xCol, bit, value);                     \
    }

KELVARA_CELL_FLAG(CellFontBold, SetCellFontBold, CellFlag::Bold)
KELVARA_CELL_FLAG(CellFontItalic, SetCellFontItalic, CellFlag::Italic)
KELVARA_CELL_FLAG(CellFontUnderline, SetCellFontUnderline, CellFlag::Underline)
KELVARA_CELL_FLAG(CellFontStrikethrough, SetCellFontStrikethrough, CellFlag::Strikethrough)
KELVARA_CELL_FLAG(CellWordWrap, SetCellWordWrap, CellFlag::WordWrap)

#undef KELVARA_CELL_FLAG

bool GridModel::CellChecked(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref && (CellAt(*ref)->Flags & CellFlag::Checked) != 0;
}

void GridModel::SetCellChecked(int32_t xRow, int32_t xCol, bool value) {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref) {
        return;
    }
    GridCellRecord& cell = *CellAt(*ref);
    SetBit(cell.Flags, CellFlag::Checked, value);
    if (columnRecords[ref->col].DataType == GRID_DATA_TYPE::TypeBoolean) {
        StoreText(cell, Variant(value).ToText().value_or(std::string()));
    }
    cell.Flags |= CellFlag::Changed;
    rowRecords.Row(ref->slot).Flags |= RowFlag::Changed;
    RepaintIfRedraw();
}

bool GridModel::CellChanged(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref && (CellAt(*ref)->Flags & CellFlag::Changed) != 0;
}

int32_t GridModel::CellData(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref ? CellAt(*ref)->Data : 0;
}

void GridModel::SetCellData(int32_t xRow, int32_t xCol, int32_t xNewValue) {
    if (const auto ref = ValidateCell(xRow, xCol)) {
        CellAt(*ref)->Data = xNewValue;
        RepaintIfRedraw();
    }
}

int32_t GridModel::CellProgressValue(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref || columnRecords[ref->col].DataType != GRID_DATA_TYPE::TypeProgressBar) {
        return 0;
    }
    return CellAt(*ref)->Flags;
}

void GridModel::SetCellProgressValue(int32_t xRow, int32_t xCol, int32_t value) {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref || columnRecords[ref->col].DataType != GRID_DATA_TYPE::TypeProgressBar) {
        return;
    }
    const int32_t clamped = std::clamp(value, 0, 100);
    GridCellRecord& cell = *CellAt(*ref);
    cell.Flags = static_cast<uint16_t>(clamped);
    cell.Measured = 0;
    StoreText(cell, std::to_string(clamped) + "%");
    RepaintIfRedraw();
}

std::string GridModel::CellTag(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref || (CellAt(*ref)->Extras & Tag) == 0) {
        return {};
    }
    const auto it = cellTags.find(CellKey(ref->slot, ref->col));
    return it == cellTags.end() ? std::string() : it->second;
}

void GridModel::SetCellTag(int32_t xRow, int32_t xCol, std::string_view value) {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref) {
        return;
    }
    GridCellRecord& cell = *CellAt(*ref);
    if (value.empty()) {
        cellTags.erase(CellKey(ref->slot, ref->col));
        cell.Extras &= static_cast<uint8_t>(~Tag);
    } else {
        cellTags[CellKey(ref->slot, ref->col)] = value;
        cell.Extras |= Tag;
    }
    RepaintIfRedraw();
}

void GridModel::CellPicture(int32_t xRow, int32_t xCol, std::shared_ptr<API32bppDIB> xValue) {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref) {
        return;
    }
    GridCellRecord& cell = *CellAt(*ref);
    if (xValue == nullptr) {
        cellPictures.erase(CellKey(ref->slot, ref->col));
        cell.Extras &= static_cast<uint8_t>(~Picture);
    } else {
        cellPictures[CellKey(ref->slot, ref->col)] = std::move(xValue);
        cell.Extras |= Picture;
    }
    RepaintIfRedraw();
}

std::shared_ptr<API32bppDIB> GridModel::CellAsPicture(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref || (CellAt(*ref)->Extras & Picture) == 0) {
        return nullptr;
    }
    const auto it = cellPictures.find(CellKey(ref->slot, ref->col));
    return it == cellPictures.end() ? nullptr : it->second;
}

std::string GridModel::CellText(int32_t xRow, int32_t xCol) const {
    return std::string(CellTextView(xRow, xCol));
}

std::string_view GridModel::CellTextView(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    return ref ? TextOf(*CellAt(*ref)) : std::string_view();
}

void GridModel::SetCellText(int32_t xRow, int32_t xCol, std::string_view value) {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref) {
        return;
    }
    GridCellRecord& cell = *CellAt(*ref);
    const GRID_DATA_TYPE type = columnRecords[ref->col].DataType;
    if (properties.TotalLineShow && type == GRID_DATA_TYPE::TypeNumeric) {
        columnTotals[ref->col] += detail::TextToNumber(value) - detail::TextToNumber(TextOf(cell));
    }
    cell.Measured = 0;
    StoreText(cell, value);
    if (type == GRID_DATA_TYPE::TypeBoolean) {
        SetBit(cell.Flags, CellFlag::Checked, value == "True" || value == "1");
    }
    cell.Flags |= CellFlag::Changed;
    rowRecords.Row(ref->slot).Flags |= RowFlag::Changed;
    RepaintIfRedraw();
}

Variant GridModel::CellValue(int32_t xRow, int32_t xCol) const {
    const auto ref = ValidateCell(xRow, xCol);
    if (!ref) {
        return Variant();
    }
    const GridCellRecord& cell = *CellAt(*ref);
    if (columnRecords[ref->col].DataType == GRID_DATA_TYPE::TypeBoolean) {
        return Variant((cell.Flags & CellFlag::Checked) != 0);
    }
    return Variant(detail::TextToNumber(TextOf(cell)));
}

void GridModel::SetCellValue(int32_t xRow, int32_t xCol, const Variant& value) {
    if (const auto text = value.ToText()) {
        SetCellText(xRow, xCol, *text);
    }
}

// --- Convenience ----------------------------------------------------------------------------

void GridModel::SetCellAlignmentL(int32_t xRow, int32_t xCol) {
    SetCellAlignment(xRow, xCol, GRID_ALIGNMENT::AlignToLeftCenter);
}

void GridModel::SetCellAlignmentR(int32_t xRow, int32_t xCol) {
    SetCellAlignment(xRow, xCol, GRID_ALIGNMENT::AlignToRightCenter);
}

void GridModel::SetCellAlignmentC(int32_t xRow, int32_t xCol) {
    SetCellAlignment(xRow, xCol, GRID_ALIGNMENT::AlignToCenterCenter);
}

void GridModel::SetCellAlignmentForRow(int32_t xRow, GRID_ALIGNMENT xAlignment,
                                       std::span<const int32_t> xCols) {
    if (xRow < 0 || xRow > lastRow) {
        return;
    }
    const int32_t slot = rowOrder[xRow];
    for (const int32_t c : xCols) {
        if (ColumnExists(c)) {
            StoreAlignment(slot, c, rowRecords.Cell(slot, c), static_cast<int32_t>(xAlignment));
        }
    }
}

void GridModel::SetCellAlignmentForAllRows(GRID_ALIGNMENT xAlignment,
                                           std::span<const int32_t> xCols) {
    for (int32_t p = 0; p <= lastRow; ++p) {
        SetCellAlignmentForRow(p, xAlignment, xCols);
    }
}

void GridModel::SetRowAndFont(int32_t xRow, std::optional<OLE_COLOR> foreColor, uint16_t fontBit,
                              bool fontValue, bool check) {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return;
    }
    SetBit(rowRecords.Row(*slot).Flags, RowFlag::Checked, check);
    GridCellFormat look;
    look.ForeColor = foreColor.value_or(0);
    for (int32_t c = 0; c < static_cast<int32_t>(columnRecords.size()); ++c) {
        if (columnRecords[c].DataType == GRID_DATA_TYPE::TypeProgressBar) {
            continue;
        }
        if (foreColor) {
            SetFormatAttribute(*slot, c, GRID_CELL_FORMAT::FormatForeColor, look);
        }
        SetBit(rowRecords.Cell(*slot, c).Flags, fontBit, fontValue);
    }
}

void GridModel::SetRowForeColorAndFontBold(int32_t xRow, OLE_COLOR xForeColor, bool xIsFontBold,
                                           bool xCheck) {
    SetRowAndFont(xRow, xForeColor, CellFlag::Bold, xIsFontBold, xCheck);
}

void GridModel::SetRowForeColorAndFontItalic(int32_t xRow, OLE_COLOR xForeColor, bool xIsFontItalic,
                                             bool xCheck) {
    SetRowAndFont(xRow, xForeColor, CellFlag::Italic, xIsFontItalic, xCheck);
}

void GridModel::SetRowForeColorAndFontUnderline(int32_t xRow, OLE_COLOR xForeColor,
                                                bool xIsFontUnderline, bool xCheck) {
    SetRowAndFont(xRow, xForeColor, CellFlag::Underline, xIsFontUnderline, xCheck);
}

void GridModel::SetRowForeColorAndFontStrikethrough(int32_t xRow, OLE_COLOR xForeColor,
                                                    bool xIsFontStrikethrough, bool xCheck) {
    SetRowAndFont(xRow, xForeColor, CellFlag::Strikethrough, xIsFontStrikethrough, xCheck);
}

void GridModel::SetRowCheckedAndFontBold(int32_t xRow, bool xRowChecked, bool xFontBold) {
    SetRowAndFont(xRow, std::nullopt, CellFlag::Bold, xFontBold, xRowChecked);
}

void GridModel::SetRowCheckedAndFontItalic(int32_t xRow, bool xRowChecked, bool xFontItalic) {
    SetRowAndFont(xRow, std::nullopt, CellFlag::Italic, xFontItalic, xRowChecked);
}

void GridModel::SetRowCheckedAndFontUnderline(int32_t xRow, bool xRowChecked, bool xFontUnderline) {
    SetRowAndFont(xRow, std::nullopt, CellFlag::Underline, xFontUnderline, xRowChecked);
}

void GridModel::SetRowCheckedAndFontStrikethrough(int32_t xRow, bool xRowChecked,
                                                  bool xFontStrikethrough) {
    SetRowAndFont(xRow, std::nullopt, CellFlag::Strikethrough, xFontStrikethrough, xRowChecked);
}

bool GridModel::IsRowVisibleAndChecked(int32_t xRow) const {
    const auto slot = ValidateRow(xRow);
    return slot && rowRecords.Row(*slot).Visible &&
           (rowRecords.Row(*slot).Flags & RowFlag::Checked) != 0;
}

bool GridModel::HasRowsVisible() const {
    return RowFirstVisible() != -1;
}

// mode: 1 set, 0 clear, -1 invert.
void GridModel::ForEachRowFlag(bool onlyVisible, uint16_t bit, int mode) {
    for (int32_t p = 0; p <= lastRow; ++p) {
        GridRowRecord& record = rowRecords.Row(rowOrder[p]);
        if (onlyVisible && !record.Visible) {
            continue;
        }
        const bool value = mode < 0 ? (record.Flags & bit) == 0 : mode > 0;
        SetBit(record.Flags, bit, value);
    }
}

void GridModel::CheckAllRowsSelected(bool OnlyVisibleRows) {
    if (properties.RowCheckBoxes) {
        ForEachRowFlag(OnlyVisibleRows, RowFlag::Checked, 1);
        RepaintIfRedraw();
    }
}

void GridModel::UnCheckAllRowsSelected(bool OnlyVisibleRows) {
    if (properties.RowCheckBoxes) {
        ForEachRowFlag(OnlyVisibleRows, RowFlag::Checked, 0);
        RepaintIfRedraw();
    }
}

void GridModel::CheckAllRowsVisibles() {
    CheckAllRowsSelected(true);
}

void GridModel::UnCheckAllRowsVisibles() {
    UnCheckAllRowsSelected(true);
}

void GridModel::InvertCheckedAllRows() {
    if (properties.RowCheckBoxes) {
        ForEachRowFlag(false, RowFlag::Checked, -1);
        RepaintIfRedraw();
    }
}

void GridModel::InvertCheckedAllRowsVisibles() {
    if (properties.RowCheckBoxes) {
        ForEachRowFlag(true, RowFlag::Checked, -1);
        RepaintIfRedraw();
    }
}

void GridModel::SelectAllRows() {
    if (SelectedCount(false) != Rows()) {
        ForEachRowFlag(false, RowFlag::Selected, 1);
        RepaintIfRedraw();
    }
}

void GridModel::UnselectAllRows() {
    if (SelectedCount(false) != 0) {
        ForEachRowFlag(false, RowFlag::Selected, 0);
        RepaintIfRedraw();
    }
}

int32_t GridModel::CheckedCount(bool OnlyVisibleRows) const {
    int32_t count = 0;
    for (int32_t p = 0; p <= lastRow; ++p) {
        const GridRowRecord& record = rowRecords.Row(rowOrder[p]);
        count += (record.Flags & RowFlag::Checked) != 0 && (!OnlyVisibleRows || record.Visible);
    }
    return count;
}

int32_t GridModel::SelectedCount(bool OnlyVisibleRows) const {
    int32_t count = 0;
    for (int32_t p = 0; p <= lastRow; ++p) {
        const GridRowRecord& record = rowRecords.Row(rowOrder[p]);
        count += (record.Flags & RowFlag::Selected) != 0 && (!OnlyVisibleRows || record.Visible);
    }
    return count;
}

namespace {

bool Available(const GridRowRecord& record) {
    return record.Visible && (record.Flags & RowFlag::Locked) == 0;
}

}  // namespace

int32_t GridModel::RowFirstAvailable() const {
    for (int32_t p = 0; p <= lastRow; ++p) {
        if (Available(rowRecords.Row(rowOrder[p]))) {
            return p;
        }
    }
    return -1;
}

int32_t GridModel::RowLastAvailable() const {
    for (int32_t p = lastRow; p >= 0; --p) {
        if (Available(rowRecords.Row(rowOrder[p]))) {
            return p;
        }
    }
    return -1;
}

int32_t GridModel::CurrentRowAvailable() const {
    const int32_t start = std::clamp(row, 0, std::max(lastRow, 0));
    for (int32_t p = start; p <= lastRow; ++p) {
        if (Available(rowRecords.Row(rowOrder[p]))) {
            return p;
        }
    }
    for (int32_t p = std::min(start, lastRow); p >= 0; --p) {
        if (Available(rowRecords.Row(rowOrder[p]))) {
            return p;
        }
    }
    return -1;
}

int32_t GridModel::RowFirstVisible() const {
    for (int32_t p = 0; p <= lastRow; ++p) {
        if (rowRecords.Row(rowOrder[p]).Visible) {
            return p;
        }
    }
    return -1;
}

int32_t GridModel::RowLastVisible() const {
    for (int32_t p = lastRow; p >= 0; --p) {
        if (rowRecords.Row(rowOrder[p]).Visible) {
            return p;
        }
    }
    return -1;
}

}  // namespace kelvara
