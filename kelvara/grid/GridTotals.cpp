#include <algorithm>
#include <cmath>

#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"
#include "kelvara/grid/detail/TextRules.h"

// The total line's figures and settings, and the range formatters.
//
// Totals are kept, never recounted: AddItem, SetCellText and deletion add
// and subtract the text-to-number value of each TypeNumeric cell they touch
// while TotalLineShow is on. So turning TotalLineShow on after a fill shows
// only what came after, and hidden rows always count.

namespace kelvara {

namespace {

// A number from FormatCells' value, as a colour or an image index wants it.
int64_t WholeNumber(double value) {
    return std::isfinite(value) && std::fabs(value) < 9.0e18 ? static_cast<int64_t>(value) : 0;
}

}  // namespace

void GridModel::SetTotalLineShow(bool value) {
    properties.TotalLineShow = value;
    RepaintIfRedraw();
}

double GridModel::TotalColumns(int32_t xCol) const {
    return xCol >= 0 && xCol < static_cast<int32_t>(columnTotals.size()) ? columnTotals[xCol] : 0.0;
}

double GridModel::TotalLineValue(int32_t xCol) const {
    if (!ColumnExists(xCol)) {
        return 0.0;
    }
    const double sum = columnTotals[xCol];
    if (!totalRecords[xCol].Average) {
        return sum;
    }
    return Rows() > 0 ? sum / Rows() : 0.0;
}

#define KELVARA_TOTAL_FIELD(type, getter, setter, field)                     \
    type GridModel::getter(int32_t xCol) const {                             \
        return ColumnExists(xCol) ? type(totalRecords[xCol].field) : type{}; \
    }                                                                        \
    void GridModel::setter(int32_t xCol, type value) {                       \
        if (ColumnExists(xCol)) {                                            \
            totalRecords[xCol].field = value;                                \
            RepaintIfRedraw();                                               \
        }                                                                    \
    }

KELVARA_TOTAL_FIELD(bool, TotalLineColFontBold, SetTotalLineColFontBold, FontBold)
KELVARA_TOTAL_FIELD(bool, TotalLineColFontItalic, SetTotalLineColFontItalic, FontItalic)
KELVARA_TOTAL_FIELD(bool, TotalLineColFontUnderline, SetTotalLineColFontUnderline, FontUnderline)
KELVARA_TOTAL_FIELD(bool, TotalLineColFontStrikethrough, SetTotalLineColFontStrikethrough,
                    FontStrikethrough)
KELVARA_TOTAL_FIELD(GRID_ALIGNMENT, TotalLineColAlignment, SetTotalLineColAlignment, Alignment)
KELVARA_TOTAL_FIELD(bool, TotalLineColInvisible, SetTotalLineColInvisible, Invisible)
KELVARA_TOTAL_FIELD(OLE_COLOR, TotalLineForeColor, SetTotalLineForeColor, ForeColor)
KELVARA_TOTAL_FIELD(bool, TotalLineColAvg, SetTotalLineColAvg, Average)

#undef KELVARA_TOTAL_FIELD

std::string GridModel::TotalLineCaption(int32_t xCol) const {
    return ColumnExists(xCol) ? totalRecords[xCol].Caption : std::string();
}

void GridModel::SetTotalLineCaption(int32_t xCol, std::string_view value) {
    if (ColumnExists(xCol)) {
        totalRecords[xCol].Caption = value;
        RepaintIfRedraw();
    }
}

void GridModel::FormatCells(int32_t RowFrom, int32_t RowTo, int32_t ColFrom, int32_t ColTo,
                            GRID_CELL_FORMAT Mode, const Variant& xValue,
                            GRID_ALIGNMENT vNewAlign) {
    if (lastRow < 0) {
        return;
    }
    const std::string text = xValue.ToText().value_or(std::string());
    const double number = detail::TextToNumber(text);
    const bool flag = number != 0.0;
    const auto apply = [&](int32_t p, int32_t c) {
        switch (Mode) {
            case GRID_CELL_FORMAT::FormatBackColor:
                SetCellBackColor(p, c, static_cast<OLE_COLOR>(WholeNumber(number)));
                break;
            case GRID_CELL_FORMAT::FormatForeColor:
                SetCellForeColor(p, c, static_cast<OLE_COLOR>(WholeNumber(number)));
                break;
            case GRID_CELL_FORMAT::FormatImage:
                SetCellImage(p, c, static_cast<int16_t>(WholeNumber(number)));
                break;
            case GRID_CELL_FORMAT::FormatFontName:
                if (!Trim(text).empty()) {
                    SetCellFontName(p, c, text);
                }
                break;
            case GRID_CELL_FORMAT::FormatFontBold:
                SetCellFontBold(p, c, flag);
                break;
            case GRID_CELL_FORMAT::FormatFontItalic:
                SetCellFontItalic(p, c, flag);
                break;
            case GRID_CELL_FORMAT::FormatFontUnderline:
                SetCellFontUnderline(p, c, flag);
                break;
            case GRID_CELL_FORMAT::FormatHandPointer:
                SetCellHandPointer(p, c, flag);
                break;
            case GRID_CELL_FORMAT::FormatAlignment:
                SetCellAlignment(p, c, vNewAlign);
                break;
            default:
                // Deliberate: FormatFontStrikethrough has no branch and
                // changes nothing.
                break;
        }
    };
    const int32_t lastColumn = static_cast<int32_t>(columnRecords.size()) - 1;
    const int32_t rowTo = RowTo == -1 ? lastRow : RowTo;
    const int32_t colTo = ColTo == -1 ? lastColumn : std::min(ColTo, lastColumn);
    const int32_t colFrom = std::max(ColFrom, 0);
    // A row below 0 names the current row and one past the end the last
    // row, so each of those ranges is one row done once.
    if (RowFrom < 0 && rowTo >= RowFrom) {
        for (int32_t c = colFrom; c <= colTo; ++c) {
            apply(-1, c);
        }
    }
    const int32_t first = std::max(RowFrom, 0);
    const int32_t last = std::min(rowTo, lastRow);
    for (int32_t p = first; p <= last; ++p) {
        for (int32_t c = colFrom; c <= colTo; ++c) {
            apply(p, c);
        }
    }
    if (rowTo > lastRow && first <= rowTo && first > last) {
        for (int32_t c = colFrom; c <= colTo; ++c) {
            apply(lastRow, c);
        }
    }
}

void GridModel::FormatCellsAlignment(int32_t RowFrom, int32_t RowTo, int32_t ColFrom, int32_t ColTo,
                                     GRID_ALIGNMENT vAlignment) {
    const int32_t lastColumn = static_cast<int32_t>(columnRecords.size()) - 1;
    const int32_t rowTo = std::min(RowTo == -1 ? lastRow : RowTo, lastRow);
    const int32_t colTo = std::min(ColTo == -1 ? lastColumn : ColTo, lastColumn);
    for (int32_t p = std::max(RowFrom, 0); p <= rowTo; ++p) {
        const int32_t slot = rowOrder[p];
        for (int32_t c = std::max(ColFrom, 0); c <= colTo; ++c) {
            StoreAlignment(slot, c, rowRecords.Cell(slot, c), static_cast<int32_t>(vAlignment));
        }
    }
    RepaintIfRedraw();
}

// --- The task bar -----------------------------------------------------------------------

KV_ITaskBarList3& GridModel::TaskBar() {
    if (!taskBar) {
        taskBar = std::make_unique<KV_ITaskBarList3>();
    }
    return *taskBar;
}

int32_t GridModel::TaskBar_SetProgressState(HWND hWnd, int32_t Flags) {
    return TaskBar().SetProgressState(hWnd, Flags);
}

int32_t GridModel::TaskBar_SetProgressValue(HWND hWnd, int32_t Value) {
    if (Value < 0 || Value > 100) {
        return E_INVALIDARG;
    }
    return TaskBar().SetProgressValue(hWnd, static_cast<uint64_t>(Value), 100);
}

int32_t GridModel::TaskBar_SetOverlayIcon(HWND hWnd, std::shared_ptr<const PixelBuffer> hIcon,
                                          std::string_view Description) {
    return TaskBar().SetOverlayIcon(hWnd, std::move(hIcon), Description);
}

int32_t GridModel::TaskBar_SetThumbnailClip(HWND hWnd, int32_t Left, int32_t Top, int32_t Right,
                                            int32_t Bottom) {
    const RECT clip{Left, Top, Right, Bottom};
    return TaskBar().SetThumbnailClip(hWnd, &clip);
}

int32_t GridModel::TaskBar_SetThumbnailTooltip(HWND hWnd, std::string_view Tip) {
    return TaskBar().SetThumbnailTooltip(hWnd, Tip);
}

}  // namespace kelvara
