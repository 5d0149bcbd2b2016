#pragma once

// GridModel: everything the data grid knows, without a window. Rows, columns
// and cells with their members, the format pool and the running totals,
// sorting, filtering and searching, and the persisted properties. The
// control wraps a model, paints it and feeds it input; the model asks the
// control for what only a window can do through GridHooks.
//
// Two numberings, kept apart everywhere:
//   row position  place on screen, what every public row member takes;
//                 rowOrder[position] is the row's slot in rowRecords
//   column id     what AddColumn returns and every xCol takes;
//                 columnOrder[position] is the id shown at a place
// Row records never move: sorting, inserting and filtering touch rowOrder
// and flags only.
//
// The members are spread over one file per concern: GridModel.cpp (filling,
// clearing, deleting, the cursor), GridCells.cpp (column, row and cell
// members and the format pool), GridTotals.cpp (totals and range formats),
// GridSort.cpp, GridSearch.cpp (filters, finding, type-to-search) and
// GridPersistence.cpp (property bag and HeaderFormatString).

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelvara/base/Variant.h"
#include "kelvara/grid/GridEvents.h"
#include "kelvara/grid/GridProperties.h"
#include "kelvara/grid/GridTypes.h"
#include "kelvara/grid/detail/RowStore.h"
#include "kelvara/grid/detail/TextStore.h"
#include "kelvara/host/TaskBarList.h"

namespace kelvara {

class API32bppDIB;
class PropertyBag;

// What the model needs from the control around it. Every hook may be left
// empty; the model then does without (no repaint, no open edit, 15 twips to
// a pixel, the steady clock).
struct GridHooks {
    std::function<void()> repaint;                     // paint the whole face
    std::function<bool()> commitEdit;                  // UpdateCell; false: an edit stays open
    std::function<void(int32_t)> scrollIntoView;       // a row position
    std::function<void(int32_t)> measureRow;           // re-measure a row position's height
    std::function<void(int32_t, int32_t)> stretchCol;  // StretchCol(xColumn, xOffset)
    std::function<int32_t(float)> twipsToPixels;       // the host's ScaleX, truncated
    std::function<uint32_t()> tickCount;               // milliseconds, for type-to-search
};

// Bytes the model holds, for the benchmark and for tuning.
struct GridMemory {
    size_t rowBytes = 0;    // row records and cells, allocated
    size_t orderBytes = 0;  // rowOrder
    size_t textBytes = 0;   // text arena, allocated
    size_t textLiveBytes = 0;
    size_t sideBytes = 0;  // side tables, estimated
};

class GridModel : public GridEvents {
public:
    GridModel();
    ~GridModel();
    GridModel(const GridModel&) = delete;
    GridModel& operator=(const GridModel&) = delete;

    void SetHooks(GridHooks hooks);
    GridProperties& Properties() { return properties; }
    const GridProperties& Properties() const { return properties; }
    // False at design time: Clear then raises no events.
    void SetUserMode(bool value) { userMode = value; }

    // --- Building -------------------------------------------------------------------------
    int32_t AddColumn(std::string_view xCaption, const GridColumnOptions& options = {});
    // xItem holds the cells' texts in column-id order, separated by tabs.
    // Returns the slot of the new row.
    int32_t AddItem(std::string_view xItem, const GridItemOptions& options = {});
    int32_t AddItemArray(int32_t xRowData, bool xRowChecked, std::span<const Variant> xItens);
    void BeginFill(int32_t xTagID = -1, int32_t xCacheIncrement = -1, bool xClear = true);
    void EndFill(int32_t xStretchedCol = -1, int32_t xStretchedColOFFSET = 0, bool xRedraw = true,
                 int32_t xRow = -1);
    void RedrawEx(int32_t xSrollPosition, bool xPreserveSortedColumns = true);
    void Refresh();
    void Clear();
    void ClearAll();
    void RemoveRow(int32_t xRow, bool OnlyVisibleRows = false);
    void DeleteChecked(bool OnlyVisibleRows = false);
    void DeleteSelected(bool OnlyVisibleRows = false);

    bool Redraw() const { return redraw; }
    void SetRedraw(bool value);

    // --- Counts and cursor ------------------------------------------------------------------
    int32_t Rows() const { return lastRow + 1; }
    int32_t ListCount() const { return lastRow + 1; }
    int32_t Cols() const { return hasColumns ? static_cast<int32_t>(columnRecords.size()) : 0; }
    int32_t Row() const { return row; }
    // Clears all selection, then moves the cursor there.
    void SetRow(int32_t value);
    int32_t Col() const { return col; }
    void SetCol(int32_t value);
    int32_t TopRow() const { return topRow; }
    void SetTopRow(int32_t value) { topRow = value; }
    int32_t TagID() const { return tagID; }
    bool IsGridSorted() const { return sortColumn != -1; }
    int32_t DefaultRowHeight() const { return defaultRowHeight; }
    void SetDefaultRowHeight(int32_t value) { defaultRowHeight = value; }
    // The slot behind a row position, -1 outside the rows.
    int32_t SlotAt(int32_t position) const;
    // The column id shown at a column position, -1 outside.
    int32_t ColumnAt(int32_t position) const;
    const GridColumn* Column(int32_t xCol) const;

    // Moves the cursor to a row position and column id (-1: no change),
    // selecting the row, as keyboard and mouse do.
    void MoveCursor(int32_t xRow, int32_t xCol, bool repaint);

    // --- Columns (xCol is a column id, not checked beyond its range) ---------------------
    GRID_ALIGNMENT ColAlignment(int32_t xCol) const;
    void SetColAlignment(int32_t xCol, GRID_ALIGNMENT value);
    GRID_ALIGNMENT ColImageAlignment(int32_t xCol) const;
    void SetColImageAlignment(int32_t xCol, GRID_ALIGNMENT value);
    std::string ColHeading(int32_t xCol) const;
    void SetColHeading(int32_t xCol, std::string_view xValue);
    std::string ColFormat(int32_t xCol) const;
    void SetColFormat(int32_t xCol, std::string_view value);
    bool ColVisible(int32_t xCol) const;
    void SetColVisible(int32_t xCol, bool value);
    bool ColLocked(int32_t xCol) const;
    void SetColLocked(int32_t xCol, bool value);
    bool ColWordWrap(int32_t xCol) const;
    void SetColWordWrap(int32_t xCol, bool value);
    std::string ColTag(int32_t xCol) const;
    void SetColTag(int32_t xCol, std::string_view value);
    std::string ColInputFilter(int32_t xCol) const;
    void SetColInputFilter(int32_t xCol, std::string_view value);
    GRID_DATA_TYPE ColType(int32_t xCol) const;
    void SetColType(int32_t xCol, GRID_DATA_TYPE value);
    float ColWidth(int32_t xCol) const;
    void SetColWidth(int32_t xCol, float value);

    // --- Rows (xRow is a row position, clamped to the last row) -------------------------
    bool RowChecked(int32_t xRow) const;
    void SetRowChecked(int32_t xRow, bool xRowChecked);
    int32_t RowData(int32_t xRow) const;
    void SetRowData(int32_t xRow, int32_t xValue);
    bool RowGroupHeader(int32_t xRow) const;
    void SetRowGroupHeader(int32_t xRow, bool value);
    int32_t RowHeight(int32_t xRow) const;
    // -1 re-measures the current row, whichever row is named.
    void SetRowHeight(int32_t xRow, int32_t value);
    int32_t RowImage(int32_t xRow) const;
    void SetRowImage(int32_t xRow, int32_t value);
    bool RowLocked(int32_t xRow) const;
    void SetRowLocked(int32_t xRow, bool value);
    bool RowSelected(int32_t xRow) const;
    void SetRowSelected(int32_t xRow, bool value);
    std::string RowTag(int32_t xRow) const;
    void SetRowTag(int32_t xRow, std::string_view value);
    bool RowVisible(int32_t xRow) const;
    void SetRowVisible(int32_t xRow, bool value);
    // Row-wide cell setters: every column but TypeProgressBar ones.
    void SetRowBackColor(int32_t xRow, OLE_COLOR value);
    void SetRowForeColor(int32_t xRow, OLE_COLOR xForeColor);
    void SetRowFontBold(int32_t xRow, bool value);
    void SetRowFontItalic(int32_t xRow, bool value);
    void SetRowFontUnderline(int32_t xRow, bool value);
    void SetRowFontStrikethrough(int32_t xRow, bool value);
    // These two take the position unchecked: outside the rows they answer
    // False.
    bool RowChanged(int32_t xRow) const;
    bool RowMarkedAsNew(int32_t xRow) const;

    // --- Cells (xRow below 0: the current row; xCol -1: the column at Col) ----------
    GRID_ALIGNMENT CellAlignment(int32_t xRow, int32_t xCol) const;
    void SetCellAlignment(int32_t xRow, int32_t xCol, GRID_ALIGNMENT xAlignment);
    OLE_COLOR CellBackColor(int32_t xRow, int32_t xCol) const;
    void SetCellBackColor(int32_t xRow, int32_t xCol, OLE_COLOR value);
    bool CellChecked(int32_t xRow, int32_t xCol) const;
    void SetCellChecked(int32_t xRow, int32_t xCol, bool value);
    int32_t CellData(int32_t xRow, int32_t xCol) const;
    void SetCellData(int32_t xRow, int32_t xCol, int32_t xNewValue);
    bool CellFontBold(int32_t xRow, int32_t xCol) const;
    void SetCellFontBold(int32_t xRow, int32_t xCol, bool xNewValue);
    bool CellFontItalic(int32_t xRow, int32_t xCol) const;
    void SetCellFontItalic(int32_t xRow, int32_t xCol, bool xNewValue);
    bool CellFontUnderline(int32_t xRow, int32_t xCol) const;
    void SetCellFontUnderline(int32_t xRow, int32_t xCol, bool xNewValue);
    bool CellFontStrikethrough(int32_t xRow, int32_t xCol) const;
    void SetCellFontStrikethrough(int32_t xRow, int32_t xCol, bool xNewValue);
    std::string CellFontName(int32_t xRow, int32_t xCol) const;
    void SetCellFontName(int32_t xRow, int32_t xCol, std::string_view value);
    OLE_COLOR CellForeColor(int32_t xRow, int32_t xCol) const;
    void SetCellForeColor(int32_t xRow, int32_t xCol, OLE_COLOR xNewValue);
    bool CellHandPointer(int32_t xRow, int32_t xCol) const;
    void SetCellHandPointer(int32_t xRow, int32_t xCol, bool value);
    int16_t CellImage(int32_t xRow, int32_t xCol) const;
    void SetCellImage(int32_t xRow, int32_t xCol, int16_t value);
    int32_t CellProgressValue(int32_t xRow, int32_t xCol) const;
    void SetCellProgressValue(int32_t xRow, int32_t xCol, int32_t value);
    std::string CellTag(int32_t xRow, int32_t xCol) const;
    void SetCellTag(int32_t xRow, int32_t xCol, std::string_view value);
    std::string CellText(int32_t xRow, int32_t xCol) const;
    void SetCellText(int32_t xRow, int32_t xCol, std::string_view value);
    // A Boolean column answers CellChecked; every other column the text as a
    // number (a Double), never text.
    Variant CellValue(int32_t xRow, int32_t xCol) const;
    void SetCellValue(int32_t xRow, int32_t xCol, const Variant& value);
    bool CellWordWrap(int32_t xRow, int32_t xCol) const;
    void SetCellWordWrap(int32_t xRow, int32_t xCol, bool value);
    bool CellChanged(int32_t xRow, int32_t xCol) const;
    void CellPicture(int32_t xRow, int32_t xCol, std::shared_ptr<API32bppDIB> xValue);
    std::shared_ptr<API32bppDIB> CellAsPicture(int32_t xRow, int32_t xCol) const;
    // The text as stored, without a copy; valid until the next change of
    // the grid.
    std::string_view CellTextView(int32_t xRow, int32_t xCol) const;

    // --- Convenience ------------------------------------------------------------------------
    void SetCellAlignmentL(int32_t xRow, int32_t xCol);
    void SetCellAlignmentR(int32_t xRow, int32_t xCol);
    void SetCellAlignmentC(int32_t xRow, int32_t xCol);
    // Straight into the cells of the listed column ids: no check, no repaint.
    void SetCellAlignmentForRow(int32_t xRow, GRID_ALIGNMENT xAlignment,
                                std::span<const int32_t> xCols);
    void SetCellAlignmentForAllRows(GRID_ALIGNMENT xAlignment, std::span<const int32_t> xCols);
    void SetRowForeColorAndFontBold(int32_t xRow, OLE_COLOR xForeColor, bool xIsFontBold,
                                    bool xCheck = false);
    void SetRowForeColorAndFontItalic(int32_t xRow, OLE_COLOR xForeColor, bool xIsFontItalic,
                                      bool xCheck = false);
    void SetRowForeColorAndFontUnderline(int32_t xRow, OLE_COLOR xForeColor, bool xIsFontUnderline,
                                         bool xCheck = false);
    void SetRowForeColorAndFontStrikethrough(int32_t xRow, OLE_COLOR xForeColor,
                                             bool xIsFontStrikethrough, bool xCheck = false);
    void SetRowCheckedAndFontBold(int32_t xRow, bool xRowChecked, bool xFontBold);
    void SetRowCheckedAndFontItalic(int32_t xRow, bool xRowChecked, bool xFontItalic);
    void SetRowCheckedAndFontUnderline(int32_t xRow, bool xRowChecked, bool xFontUnderline);
    void SetRowCheckedAndFontStrikethrough(int32_t xRow, bool xRowChecked, bool xFontStrikethrough);
    bool IsRowVisibleAndChecked(int32_t xRow) const;
    bool HasRowsVisible() const;
    // The check members act only while RowCheckBoxes is on.
    void CheckAllRowsSelected(bool OnlyVisibleRows);
    void UnCheckAllRowsSelected(bool OnlyVisibleRows);
    void CheckAllRowsVisibles();
    void UnCheckAllRowsVisibles();
    void InvertCheckedAllRows();
    void InvertCheckedAllRowsVisibles();
    void SelectAllRows();
    void UnselectAllRows();
    int32_t CheckedCount(bool OnlyVisibleRows) const;
    int32_t SelectedCount(bool OnlyVisibleRows) const;
    int32_t RowFirstAvailable() const;
    int32_t RowLastAvailable() const;
    int32_t CurrentRowAvailable() const;
    int32_t RowFirstVisible() const;
    int32_t RowLastVisible() const;

    // --- Sort, filter and search ------------------------------------------------------------
    // xCol -1 sorts sortColumn again, run through columnOrder; xSortType -1
    // steps the column's state (unsorted, ascending, descending, unsorted),
    // otherwise a GRID_SORT_TYPE value.
    void Sort(int32_t xCol = -1, int32_t xSortType = -1);
    int32_t SortColumn() const { return sortColumn; }
    int32_t SortDirection() const { return sortDirection; }
    // The first row position from StartingRow on that matches, -1 none.
    // SearchColumn is a column position.
    int32_t FindItem(std::string_view SearchText, int32_t SearchColumn = -1,
                     GRID_SEARCH_MODE SearchMode = GRID_SEARCH_MODE::SearchEqual,
                     bool MatchCase = false, int32_t StartingRow = 0) const;
    // Hides the rows that do not match. SearchColumn is a column id, -1 every
    // visible column. MatchCase True compares without case and accents.
    void FilterOn(std::string_view FilterText, int32_t SearchColumn,
                  GRID_SEARCH_MODE SearchMode = GRID_SEARCH_MODE::SearchEqual,
                  bool MatchCase = false, int32_t StartingRow = 0);
    void FilterOnEx(std::string_view FilterText, int32_t SearchColumn,
                    GRID_SEARCH_MODE SearchMode = GRID_SEARCH_MODE::SearchEqual,
                    int32_t StartingRow = 0);
    void FilterOff(int32_t StartingRow = 0);
    int32_t GetIndexFromData(int32_t xDataToFind, bool DefaultAsNullResult = false) const;
    int32_t GetIndexFromCellData(int32_t xDataToFind, int32_t xCol,
                                 bool DefaultAsNullResult = false) const;
    // A typed character, when no edit is open: looks for the row whose text
    // in SearchColumn starts with what was typed within the last second.
    // True when the cursor moved.
    bool TypeToSearch(char32_t c);

    // --- Total line and range formats --------------------------------------------------
    bool TotalLineShow() const { return properties.TotalLineShow; }
    void SetTotalLineShow(bool value);
    double TotalColumns(int32_t xCol) const;
    bool TotalLineColFontBold(int32_t xCol) const;
    void SetTotalLineColFontBold(int32_t xCol, bool value);
    bool TotalLineColFontItalic(int32_t xCol) const;
    void SetTotalLineColFontItalic(int32_t xCol, bool value);
    bool TotalLineColFontUnderline(int32_t xCol) const;
    void SetTotalLineColFontUnderline(int32_t xCol, bool value);
    bool TotalLineColFontStrikethrough(int32_t xCol) const;
    void SetTotalLineColFontStrikethrough(int32_t xCol, bool value);
    GRID_ALIGNMENT TotalLineColAlignment(int32_t xCol) const;
    void SetTotalLineColAlignment(int32_t xCol, GRID_ALIGNMENT value);
    bool TotalLineColInvisible(int32_t xCol) const;
    void SetTotalLineColInvisible(int32_t xCol, bool value);
    OLE_COLOR TotalLineForeColor(int32_t xCol) const;
    void SetTotalLineForeColor(int32_t xCol, OLE_COLOR value);
    std::string TotalLineCaption(int32_t xCol) const;
    void SetTotalLineCaption(int32_t xCol, std::string_view value);
    bool TotalLineColAvg(int32_t xCol) const;
    void SetTotalLineColAvg(int32_t xCol, bool value);
    // The figure the total line shows for a column: the sum, or with
    // TotalLineColAvg the sum over Rows (hidden rows count).
    double TotalLineValue(int32_t xCol) const;
    void FormatCells(int32_t RowFrom = 0, int32_t RowTo = -1, int32_t ColFrom = 0,
                     int32_t ColTo = -1, GRID_CELL_FORMAT Mode = GRID_CELL_FORMAT::FormatImage,
                     const Variant& xValue = Variant(),
                     GRID_ALIGNMENT vNewAlign = GRID_ALIGNMENT::AlignToLeftCenter);
    void FormatCellsAlignment(int32_t RowFrom = 0, int32_t RowTo = -1, int32_t ColFrom = 0,
                              int32_t ColTo = -1,
                              GRID_ALIGNMENT vAlignment = GRID_ALIGNMENT::AlignToLeftCenter);

    // --- The task bar ---------------------------------------------------------------------
    // Passed on to a task-bar object made on first use; each returns the
    // host's result code. The grid's own progress is not tied to them.
    // Value is a percentage (0 to 100).
    int32_t TaskBar_SetProgressState(HWND hWnd, int32_t Flags);
    int32_t TaskBar_SetProgressValue(HWND hWnd, int32_t Value);
    int32_t TaskBar_SetOverlayIcon(HWND hWnd, std::shared_ptr<const PixelBuffer> hIcon,
                                   std::string_view Description);
    int32_t TaskBar_SetThumbnailClip(HWND hWnd, int32_t Left, int32_t Top, int32_t Right,
                                     int32_t Bottom);
    int32_t TaskBar_SetThumbnailTooltip(HWND hWnd, std::string_view Tip);

    // --- Persistence -------------------------------------------------------------------------
    // Defaults for a grid just placed on a form, with the light theme.
    void InitProperties(const GridAmbient& ambient = {});
    // Resets the cursor, reads every key, then rebuilds the columns from
    // HeaderFormatString.
    void ReadProperties(const PropertyBag& bag, const GridAmbient& ambient = {});
    void WriteProperties(PropertyBag& bag, const GridAmbient& ambient = {}) const;
    // The property-bag keys in the order they are read.
    static std::vector<std::string> PropertyKeys();
    // The stored text, or, when there is none, one built from the columns.
    std::string HeaderFormatString() const;
    void SetHeaderFormatString(std::string_view value);
    // Runs the theme's colour set over the colours.
    void SetTheme(ENUM_THEME value);

    // --- Reading the pool (painting and tests) -------------------------------------------
    const std::vector<GridCellFormat>& FormatPool() const { return formatPool; }
    // The pool index of a cell, -1 when the cell is invalid.
    int32_t CellFormatIndex(int32_t xRow, int32_t xCol) const;

    GridMemory Memory() const;

private:
    KV_ITaskBarList3& TaskBar();
    std::unique_ptr<KV_ITaskBarList3> taskBar;
    struct CellRef {
        int32_t position;
        int32_t slot;
        int32_t col;
    };
    enum class DropBy { Checked, Selected };

    // Cursor validation: clamps the row, maps -1 columns; nullopt when the
    // call must do nothing.
    std::optional<CellRef> ValidateCell(int32_t xRow, int32_t xCol) const;
    std::optional<int32_t> ValidatePosition(int32_t xRow) const;
    std::optional<int32_t> ValidateRow(int32_t xRow) const;  // the slot
    detail::GridCellRecord* CellAt(const CellRef& ref) {
        return &rowRecords.Cell(ref.slot, ref.col);
    }
    const detail::GridCellRecord* CellAt(const CellRef& ref) const {
        return &rowRecords.Cell(ref.slot, ref.col);
    }
    bool ColumnExists(int32_t xCol) const {
        return xCol >= 0 && xCol < static_cast<int32_t>(columnRecords.size());
    }
    void RepaintIfRedraw();
    int32_t TwipsToPixels(float twips) const;

    // Cell storage.
    std::string_view TextOf(const detail::GridCellRecord& cell) const {
        return texts.View(cell.Text);
    }
    void StoreText(detail::GridCellRecord& cell, std::string_view text);
    void CompactTextsIfWorthIt();
    static uint64_t CellKey(int32_t slot, int32_t col) {
        return (static_cast<uint64_t>(static_cast<uint32_t>(slot)) << 32) |
               static_cast<uint32_t>(col);
    }
    int32_t AlignmentOf(int32_t slot, int32_t col, const detail::GridCellRecord& cell) const;
    void StoreAlignment(int32_t slot, int32_t col, detail::GridCellRecord& cell, int32_t value);

    // Format pool.
    GridCellFormat FormatOf(const detail::GridCellRecord& cell) const;
    void SetFormatAttribute(int32_t slot, int32_t col, GRID_CELL_FORMAT which,
                            const GridCellFormat& value);
    void SetCellFontFlag(int32_t xRow, int32_t xCol, uint16_t bit, bool value);
    void SetRowCellsFlag(int32_t xRow, uint16_t bit, bool value);
    void SetRowCellsFormat(int32_t xRow, GRID_CELL_FORMAT which, const GridCellFormat& value);
    void SetRowAndFont(int32_t xRow, std::optional<OLE_COLOR> foreColor, uint16_t fontBit,
                       bool fontValue, bool check);
    void SetRowFlag(int32_t xRow, uint16_t bit, bool value);
    bool HasRowFlag(int32_t xRow, uint16_t bit) const;
    void WriteDefaultFormat();

    // Columns from HeaderFormatString, after ClearAll.
    void RebuildColumns();

    // Sorting.
    void RunSort(int32_t column, int32_t state);
    void ReapplySort();
    void CustomQuickSort(int32_t column, int32_t state);
    void MoveCursorToAvailable();

    // Rows.
    void ClearSelection();
    // The slots some position names, ascending: the order in which a pass
    // that treats each row alike reads memory straight through.
    std::vector<int32_t> SlotsInUse() const;
    void ForEachRowFlag(bool onlyVisible, uint16_t bit, int mode);
    void DeleteRows(DropBy by, bool onlyVisibleRows);
    bool ColumnIsType(int32_t xCol, GRID_DATA_TYPE type) const;

    GridProperties properties;
    GridHooks hooks;
    bool userMode = true;

    detail::RowStore rowRecords;
    std::vector<int32_t> rowOrder;
    std::vector<GridColumn> columnRecords;
    std::vector<int32_t> columnOrder;
    std::vector<GridTotalColumn> totalRecords;
    std::vector<double> columnTotals;
    std::vector<GridCellFormat> formatPool;
    detail::TextStore texts;
    // Side tables for what few rows and cells carry, by slot (and column id).
    std::unordered_map<int32_t, std::string> rowTags;
    std::unordered_map<uint64_t, std::string> cellTags;
    std::unordered_map<uint64_t, std::shared_ptr<API32bppDIB>> cellPictures;
    std::unordered_map<uint64_t, int32_t> wideAlignments;

    int32_t lastRow = -1;
    bool hasColumns = false;
    int32_t row = -1;
    int32_t col = -1;
    int32_t topRow = 0;
    int32_t sortColumn = -1;
    int32_t sortDirection = ColumnSort::Unsorted;
    int32_t tagID = -1;
    int32_t fillRow = -1;  // the row BeginFill keeps for EndFill
    int32_t defaultRowHeight = 0;
    bool redraw = true;
    std::string typeSearchText;
    uint32_t typeSearchTick = 0;
};

}  // namespace kelvara
