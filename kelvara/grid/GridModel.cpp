#include "kelvara/grid/GridModel.h"

#include <algorithm>
#include <chrono>

#include "kelvara/grid/detail/TextRules.h"

// Filling, clearing, deleting and the cursor.
//
//   AddItem → Reserve (every CacheIncrement rows) → cells → RowCountChanged
//   DeleteChecked / DeleteSelected / RemoveRow → DeleteRows → Clear (all go)
//                                              → rebuilt RowStore, copy-back
//   BeginFill … AddItem … EndFill → ReapplySort → RedrawEx

namespace kelvara {

using detail::GridCellRecord;
using detail::GridRowRecord;

namespace {

constexpr int32_t kNoTextAlignment = 5;  // AlignToCenterCenter, every new cell's

}  // namespace

GridModel::GridModel() : properties(GridProperties::Defaults(GridAmbient{})) {
    formatPool.emplace_back();
}

GridModel::~GridModel() = default;

void GridModel::SetHooks(GridHooks value) {
    hooks = std::move(value);
}

void GridModel::RepaintIfRedraw() {
    if (redraw && hooks.repaint) {
        hooks.repaint();
    }
}

int32_t GridModel::TwipsToPixels(float twips) const {
    if (hooks.twipsToPixels) {
        return hooks.twipsToPixels(twips);
    }
    // 96 dots per inch: 15 twips to the pixel.
    const double pixels = static_cast<double>(twips) / 15.0;
    return pixels > 2147483647.0 || pixels < -2147483648.0 || pixels != pixels
               ? 0
               : static_cast<int32_t>(pixels);
}

void GridModel::SetRedraw(bool value) {
    redraw = value;
    RepaintIfRedraw();
}

int32_t GridModel::SlotAt(int32_t position) const {
    return position >= 0 && position <= lastRow ? rowOrder[position] : -1;
}

int32_t GridModel::ColumnAt(int32_t position) const {
    return position >= 0 && position < static_cast<int32_t>(columnOrder.size())
               ? columnOrder[position]
               : -1;
}

const GridColumn* GridModel::Column(int32_t xCol) const {
    return ColumnExists(xCol) ? &columnRecords[xCol] : nullptr;
}

bool GridModel::ColumnIsType(int32_t xCol, GRID_DATA_TYPE type) const {
    return ColumnExists(xCol) && columnRecords[xCol].DataType == type;
}

// --- Building --------------------------------------------------------------------------------

int32_t GridModel::AddColumn(std::string_view xCaption, const GridColumnOptions& options) {
    const auto n = static_cast<int32_t>(columnRecords.size());
    columnRecords.emplace_back();
    columnOrder.push_back(n);
    totalRecords.emplace_back();
    columnTotals.push_back(0.0);
    hasColumns = true;

    // Deliberate: an index of 0 appends rather than putting the column
    // first, and an inserted column returns its position, not its id.
    int32_t place = n;
    if (options.index >= 1 && options.index < n) {
        std::copy_backward(columnOrder.begin() + options.index, columnOrder.end() - 1,
                           columnOrder.end());
        columnOrder[options.index] = n;
        place = options.index;
    }

    GridColumn& column = columnRecords[n];
    column.Heading = xCaption;
    column.Width = options.width;
    column.WidthPixels = TwipsToPixels(options.width);
    column.Alignment = options.alignment;
    column.ImageAlignment = options.imageAlignment;
    column.SortState = ColumnSort::Unsorted;
    column.DataType = options.dataType;
    column.Format = options.format;
    column.Visible = options.visible;
    column.Locked = options.locked;
    column.CellFlagsTemplate = options.wordWrap ? CellFlag::WordWrap : 0;
    if (!options.inputFilter.empty()) {
        column.InputFilter = options.inputFilter;
    } else if (options.dataType == GRID_DATA_TYPE::TypeNumeric) {
        column.InputFilter = "1234567890.-,";
    } else if (options.dataType == GRID_DATA_TYPE::TypeDate) {
        column.InputFilter = "1234567890./-";
    }

    // The new cells of existing rows: zeroed but for the column's
    // alignment, then given the grid's look through the pool.
    GridCellRecord blank;
    const auto alignment = static_cast<int32_t>(options.alignment);
    const bool wide = alignment != static_cast<int16_t>(alignment);
    blank.Alignment = wide ? 0 : static_cast<int16_t>(alignment);
    rowRecords.AddColumn(blank);
    if (lastRow >= 0) {
        GridCellFormat look;
        look.BackColor = properties.BackColorBackground;
        look.ForeColor = properties.ForeColor;
        look.FontName = properties.Font.Name();
        for (int32_t p = 0; p <= lastRow; ++p) {
            const int32_t slot = rowOrder[p];
            if (wide) {
                StoreAlignment(slot, n, rowRecords.Cell(slot, n), alignment);
            }
            SetFormatAttribute(slot, n, GRID_CELL_FORMAT::FormatBackColor, look);
            SetFormatAttribute(slot, n, GRID_CELL_FORMAT::FormatForeColor, look);
            SetFormatAttribute(slot, n, GRID_CELL_FORMAT::FormatFontName, look);
        }
    }
    RepaintIfRedraw();
    return place;
}

void GridModel::WriteDefaultFormat() {
    GridCellFormat& first = formatPool[0];
    first.BackColor = properties.BackColorBackground;
    first.ForeColor = properties.ForeColor;
    first.FontName = properties.Font.Name();
    first.RefCount = 1;
    first.HandPointer = false;
    first.Image = 0;
}

int32_t GridModel::AddItem(std::string_view xItem, const GridItemOptions& options) {
    const auto columns = static_cast<int32_t>(columnRecords.size());
    ++lastRow;
    if (lastRow >= rowRecords.Capacity()) {
        // Room up to slot lastRow + CacheIncrement: the only copy of row
        // storage a fill ever makes, and a block-wise one at that.
        const int64_t step = std::max(0, properties.CacheIncrement);
        rowRecords.Reserve(static_cast<int64_t>(lastRow) + step + 1);
    }
    if (options.row < 0 || options.row >= lastRow) {
        rowOrder.push_back(lastRow);
    } else {
        rowOrder.insert(rowOrder.begin() + options.row, lastRow);
    }
    const int32_t slot = lastRow;

    GridRowRecord& record = rowRecords.Row(slot);
    record.Height = defaultRowHeight;
    record.ImageIndex = 0;
    record.Data = options.rowData;
    record.GroupHeader = false;
    record.Visible = options.rowVisible;
    record.Flags = static_cast<uint16_t>((options.rowChecked ? RowFlag::Checked : 0) |
                                         (options.rowLocked ? RowFlag::Locked : 0) |
                                         (options.markAsNew ? RowFlag::MarkedAsNew : 0));
    if (lastRow == 0) {
        WriteDefaultFormat();
    }

    const bool totals = properties.TotalLineShow;
    size_t at = 0;
    bool parts = !xItem.empty();
    for (int32_t c = 0; c < columns; ++c) {
        const GridColumn& column = columnRecords[c];
        GridCellRecord& cell = rowRecords.Cell(slot, c);
        cell = GridCellRecord{};
        cell.Alignment = kNoTextAlignment;
        cell.Flags = column.CellFlagsTemplate;
        if (!parts) {
            continue;
        }
        const size_t tab = xItem.find('\t', at);
        const std::string_view part =
            xItem.substr(at, tab == std::string_view::npos ? std::string_view::npos : tab - at);
        if (tab == std::string_view::npos) {
            parts = false;
        } else {
            at = tab + 1;
        }
        if (column.DataType == GRID_DATA_TYPE::TypeBoolean) {
            if (part == "True" || part == "1") {
                cell.Flags |= CellFlag::Checked;
            } else {
                cell.Flags &= static_cast<uint16_t>(~CellFlag::Checked);
            }
            continue;
        }
        cell.Text = texts.Store(part);
        if (totals && column.DataType == GRID_DATA_TYPE::TypeNumeric) {
            columnTotals[c] += detail::TextToNumber(part);
        }
    }
    RepaintIfRedraw();
    RowCountChanged();
    return slot;
}

int32_t GridModel::AddItemArray(int32_t xRowData, bool xRowChecked,
                                std::span<const Variant> xItens) {
    std::string joined;
    for (size_t i = 0; i < xItens.size(); ++i) {
        if (i > 0) {
            joined += '\t';
        }
        joined += xItens[i].ToText().value_or(std::string());
    }
    GridItemOptions options;
    options.rowChecked = xRowChecked;
    options.rowData = xRowData;
    return AddItem(joined, options);
}

void GridModel::BeginFill(int32_t xTagID, int32_t xCacheIncrement, bool xClear) {
    redraw = false;
    fillRow = xTagID != -1 ? xTagID : row;
    topRow = lastRow < 0 ? -1 : std::clamp(topRow, 0, lastRow);
    const int32_t first = topRow;
    if (xClear) {
        Clear();
    }
    // The first row shown before the fill: RedrawEx(TagID) scrolls back to it.
    tagID = first;
    if (xCacheIncrement != -1) {
        properties.CacheIncrement = xCacheIncrement;
    }
}

void GridModel::EndFill(int32_t xStretchedCol, int32_t xStretchedColOFFSET, bool xRedraw,
                        int32_t xRow) {
    int32_t target = 0;
    if (lastRow >= 0) {
        if (properties.PreserveSortedColumns && sortColumn != -1) {
            ReapplySort();
        } else {
            sortColumn = -1;
        }
        target = xRow != -1 ? xRow : (fillRow != -1 ? fillRow : 0);
        if (row != target) {
            SetRow(target);
        }
    }
    if (xStretchedCol != -1 && hooks.stretchCol) {
        hooks.stretchCol(xStretchedCol, xStretchedColOFFSET);
    }
    if (xRedraw) {
        RedrawEx(tagID < Rows() ? tagID : target, properties.PreserveSortedColumns);
    }
}

void GridModel::RedrawEx(int32_t xSrollPosition, bool /*xPreserveSortedColumns*/) {
    redraw = true;
    topRow = xSrollPosition;
    RepaintIfRedraw();
}

void GridModel::Refresh() {
    RepaintIfRedraw();
}

void GridModel::Clear() {
    if (!properties.PreserveSortedColumns) {
        sortColumn = -1;
    }
    if (lastRow < 0) {
        return;
    }
    formatPool.assign(1, GridCellFormat{});
    rowRecords.Clear();
    rowOrder.clear();
    rowOrder.shrink_to_fit();
    texts.Clear();
    rowTags.clear();
    cellTags.clear();
    cellPictures.clear();
    wideAlignments.clear();
    std::fill(columnTotals.begin(), columnTotals.end(), 0.0);
    col = -1;
    row = -1;
    lastRow = -1;
    topRow = 0;
    typeSearchText.clear();
    typeSearchTick = 0;
    RepaintIfRedraw();
    if (userMode) {
        AfterDelete();
        RowCountChanged();
        SelectionChanged();
    }
}

void GridModel::ClearAll() {
    sortColumn = -1;
    hasColumns = false;
    columnRecords.clear();
    columnOrder.clear();
    totalRecords.clear();
    columnTotals.clear();
    rowRecords = detail::RowStore(0);
    Clear();
}

// --- Deleting -------------------------------------------------------------------------------

void GridModel::RemoveRow(int32_t xRow, bool OnlyVisibleRows) {
    const auto slot = ValidateRow(xRow);
    if (!slot) {
        return;
    }
    ClearSelection();
    // Deliberate: the position is mapped twice, so on a sorted grid the row
    // that goes is not the one at xRow.
    const int32_t position = *slot;
    if (position <= lastRow) {
        rowRecords.Row(rowOrder[position]).Flags |= RowFlag::Selected;
    }
    DeleteSelected(OnlyVisibleRows);
}

void GridModel::DeleteChecked(bool OnlyVisibleRows) {
    DeleteRows(DropBy::Checked, OnlyVisibleRows);
}

void GridModel::DeleteSelected(bool OnlyVisibleRows) {
    DeleteRows(DropBy::Selected, OnlyVisibleRows);
}

void GridModel::DeleteRows(DropBy by, bool onlyVisibleRows) {
    const int32_t count =
        by == DropBy::Checked ? CheckedCount(onlyVisibleRows) : SelectedCount(onlyVisibleRows);
    if (count == 0) {
        return;
    }
    const bool redrawWas = redraw;
    redraw = false;
    bool cancel = false;
    BeforeDelete(row, cancel);
    if (cancel) {
        return;  // Deliberate: Redraw stays off, as it always has here.
    }
    if (count == Rows()) {
        Clear();
        redraw = redrawWas;
        RepaintIfRedraw();
        return;
    }

    // Walk the positions: a dropped row gives back its formats, totals and
    // text; a kept one is remembered in position order.
    const uint16_t bit = by == DropBy::Checked ? RowFlag::Checked : RowFlag::Selected;
    const auto columns = static_cast<int32_t>(columnRecords.size());
    const bool totals = properties.TotalLineShow;
    std::vector<int32_t> kept;
    kept.reserve(static_cast<size_t>(std::max(0, lastRow + 1 - count)));
    int32_t firstDropped = -1;
    const auto giveBack = [&](int32_t slot, bool subtractTotals) {
        for (int32_t c = 0; c < columns; ++c) {
            GridCellRecord& cell = rowRecords.Cell(slot, c);
            if (cell.FormatIndex > 0 &&
                cell.FormatIndex < static_cast<int32_t>(formatPool.size())) {
                --formatPool[cell.FormatIndex].RefCount;
            }
            if (subtractTotals && columnRecords[c].DataType == GRID_DATA_TYPE::TypeNumeric) {
                columnTotals[c] -= detail::TextToNumber(TextOf(cell));
            }
            texts.Release(cell.Text);
        }
    };
    for (int32_t p = 0; p <= lastRow; ++p) {
        const int32_t slot = rowOrder[p];
        const GridRowRecord& record = rowRecords.Row(slot);
        if ((onlyVisibleRows && !record.Visible) || (record.Flags & bit) == 0) {
            kept.push_back(slot);
            continue;
        }
        giveBack(slot, totals);
        if (firstDropped < 0) {
            firstDropped = p;
        }
    }

    // Copy back: the i-th kept row goes to slot rowOrder[i]. rowOrder is not
    // rebuilt; on an unsorted grid its kept prefix is a permutation of the
    // new slots, and all is well.
    // Deliberate: on a sorted grid a row whose target slot is past the new
    // last row is lost, and slots nobody writes stay blank (hidden) rows.
    // The store keeps room for every slot rowOrder still names, so such
    // positions read as blank rather than out of range.
    const auto newLast = static_cast<int32_t>(kept.size()) - 1;
    rowOrder.resize(static_cast<size_t>(newLast + 1));
    int32_t highest = newLast;
    for (const int32_t slot : rowOrder) {
        highest = std::max(highest, slot);
    }
    detail::RowStore fresh(columns);
    fresh.Reserve(static_cast<int64_t>(highest) + 1);
    std::unordered_map<int32_t, std::string> freshRowTags;
    std::unordered_map<uint64_t, std::string> freshCellTags;
    std::unordered_map<uint64_t, std::shared_ptr<API32bppDIB>> freshPictures;
    std::unordered_map<uint64_t, int32_t> freshAlignments;
    for (int32_t i = 0; i <= newLast; ++i) {
        const int32_t from = kept[i];
        const int32_t to = rowOrder[i];
        if (to > newLast) {
            giveBack(from, false);
            continue;
        }
        fresh.Row(to) = rowRecords.Row(from);
        for (int32_t c = 0; c < columns; ++c) {
            fresh.Cell(to, c) = rowRecords.Cell(from, c);
        }
        if (auto tag = rowTags.find(from); tag != rowTags.end()) {
            freshRowTags.emplace(to, std::move(tag->second));
        }
        for (int32_t c = 0; c < columns; ++c) {
            if (fresh.Cell(to, c).Extras == 0) {
                continue;
            }
            const uint64_t oldKey = CellKey(from, c);
            const uint64_t newKey = CellKey(to, c);
            if (auto it = cellTags.find(oldKey); it != cellTags.end()) {
                freshCellTags.emplace(newKey, std::move(it->second));
            }
            if (auto it = cellPictures.find(oldKey); it != cellPictures.end()) {
                freshPictures.emplace(newKey, std::move(it->second));
            }
            if (auto it = wideAlignments.find(oldKey); it != wideAlignments.end()) {
                freshAlignments.emplace(newKey, it->second);
            }
        }
    }
    rowRecords = std::move(fresh);
    rowTags = std::move(freshRowTags);
    cellTags = std::move(freshCellTags);
    cellPictures = std::move(freshPictures);
    wideAlignments = std::move(freshAlignments);
    lastRow = newLast;
    row = std::min(row, lastRow);
    CompactTextsIfWorthIt();

    // A BeforeDelete handler may have changed the flags since they were
    // counted, so even here no row may have gone, or every row.
    if (firstDropped >= 0 && lastRow >= 0) {
        const int32_t reselect = firstDropped > lastRow ? lastRow : firstDropped;
        rowRecords.Row(rowOrder[reselect]).Flags |= RowFlag::Selected;
    }

    redraw = redrawWas;
    RepaintIfRedraw();
    AfterDelete();
    RowCountChanged();
    SelectionChanged();
}

void GridModel::CompactTextsIfWorthIt() {
    if (!texts.WantsCompaction()) {
        return;
    }
    detail::TextStore fresh;
    const auto columns = static_cast<int32_t>(columnRecords.size());
    for (int64_t slot = 0; slot < rowRecords.Capacity(); ++slot) {
        for (int32_t c = 0; c < columns; ++c) {
            GridCellRecord& cell = rowRecords.Cell(static_cast<int32_t>(slot), c);
            cell.Text = fresh.Store(texts.View(cell.Text));
        }
    }
    texts = std::move(fresh);
}

// --- Cursor ---------------------------------------------------------------------------------

std::optional<int32_t> GridModel::ValidateRow(int32_t xRow) const {
    const auto position = ValidatePosition(xRow);
    return position ? std::optional<int32_t>(rowOrder[*position]) : std::nullopt;
}

std::optional<int32_t> GridModel::ValidatePosition(int32_t xRow) const {
    if (lastRow < 0) {
        return std::nullopt;
    }
    int32_t position = xRow;
    if (position >= 0) {
        position = std::min(position, lastRow);
    } else if (row >= 0 && row <= lastRow) {
        position = row;
    } else {
        const GridRowRecord& first = rowRecords.Row(rowOrder[0]);
        if (!first.Visible || (first.Flags & RowFlag::Locked) != 0) {
            return std::nullopt;
        }
        position = 0;
    }
    return position;
}

std::optional<GridModel::CellRef> GridModel::ValidateCell(int32_t xRow, int32_t xCol) const {
    const auto position = ValidatePosition(xRow);
    if (!position) {
        return std::nullopt;
    }
    int32_t column = xCol;
    if (column == -1) {
        column = ColumnAt(col);
    }
    if (!ColumnExists(column)) {
        return std::nullopt;
    }
    return CellRef{*position, rowOrder[*position], column};
}

// Every record, in memory order: records no position names carry no
// selection that anyone sees, and a sorted grid costs no random reads.
void GridModel::ClearSelection() {
    rowRecords.ClearFlagEverywhere(RowFlag::Selected);
}

std::vector<int32_t> GridModel::SlotsInUse() const {
    std::vector<uint8_t> used(static_cast<size_t>(rowRecords.Capacity()), 0);
    for (int32_t p = 0; p <= lastRow; ++p) {
        used[static_cast<size_t>(rowOrder[p])] = 1;
    }
    std::vector<int32_t> slots;
    slots.reserve(static_cast<size_t>(lastRow + 1));
    for (size_t slot = 0; slot < used.size(); ++slot) {
        if (used[slot] != 0) {
            slots.push_back(static_cast<int32_t>(slot));
        }
    }
    return slots;
}

void GridModel::SetRow(int32_t value) {
    ClearSelection();
    MoveCursor(value, -1, true);
}

void GridModel::SetCol(int32_t value) {
    if (value >= 0 && value < Cols()) {
        col = value;
        RepaintIfRedraw();
    }
}

void GridModel::MoveCursor(int32_t xRow, int32_t xCol, bool repaint) {
    bool moved = false;
    bool selectionChanged = false;
    if (ColumnExists(xCol) && columnRecords[xCol].Visible) {
        const auto at = std::find(columnOrder.begin(), columnOrder.end(), xCol);
        const auto position = static_cast<int32_t>(at - columnOrder.begin());
        if (position != col) {
            col = position;
            moved = true;
        }
    }
    if (xRow >= 0 && lastRow >= 0) {
        const int32_t position = std::min(xRow, lastRow);
        GridRowRecord& record = rowRecords.Row(rowOrder[position]);
        if (record.Visible && (record.Flags & RowFlag::Locked) == 0) {
            if (position != row) {
                row = position;
                moved = true;
            }
            if ((record.Flags & RowFlag::Selected) == 0) {
                record.Flags |= RowFlag::Selected;
                selectionChanged = true;
            }
            if (hooks.scrollIntoView) {
                hooks.scrollIntoView(position);
            }
        }
    }
    if (moved) {
        RowColChanged();
    }
    if (repaint) {
        RepaintIfRedraw();
    }
    if (selectionChanged) {
        SelectionChanged();
    }
}

GridMemory GridModel::Memory() const {
    GridMemory memory;
    memory.rowBytes = rowRecords.AllocatedBytes();
    memory.orderBytes = rowOrder.capacity() * sizeof(int32_t);
    memory.textBytes = texts.AllocatedBytes();
    memory.textLiveBytes = texts.LiveBytes();
    // A node of a hash table costs about its key, its value and two words.
    memory.sideBytes = rowTags.size() * (sizeof(std::string) + 24) +
                       (cellTags.size() + cellPictures.size() + wideAlignments.size()) * 56;
    return memory;
}

}  // namespace kelvara
