// Arbitrary bytes as a grid's HeaderFormatString, and as rows for the grid
// it makes.
//
// Input: the first line is the HeaderFormatString, read at design time; the
// following lines are rows (tab-separated cells) added to the columns it
// made; the last line also serves as the text to filter and find. Traps
// (abort) when one of these breaks:
// - At most 4,096 columns; columnOrder is a permutation of the column ids.
// - The HeaderFormatString built from those columns makes as many columns
//   again, with the same headings, types and flags.
// - Every sort leaves the same slots in rowOrder, only reordered, and the
//   natural order is the identity; filters and finds answer in range.
// Only the first 16 columns and 64 rows take part in the data part, so that
// each run stays quick.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"

#include "FuzzInput.h"

namespace {

using kelvara::GridModel;
using kelvara::fuzz::Check;

constexpr int32_t kMaxColumns = 4096;
constexpr int32_t kDataColumns = 16;
constexpr size_t kDataRows = 64;

void CheckColumnOrder(const GridModel& grid) {
    std::vector<int32_t> ids;
    for (int32_t p = 0; p < grid.Cols(); ++p) {
        ids.push_back(grid.ColumnAt(p));
    }
    std::sort(ids.begin(), ids.end());
    for (int32_t i = 0; i < grid.Cols(); ++i) {
        Check(ids[i] == i);
    }
}

std::vector<int32_t> SortedSlots(const GridModel& grid) {
    std::vector<int32_t> slots;
    for (int32_t p = 0; p < grid.Rows(); ++p) {
        slots.push_back(grid.SlotAt(p));
    }
    std::sort(slots.begin(), slots.end());
    return slots;
}

void Exercise(GridModel& grid, std::string_view needle) {
    const int32_t columns = std::min(grid.Cols(), kDataColumns);
    for (int32_t c = 0; c < columns; ++c) {
        for (const int32_t type : {-1, 1, 2, 0}) {
            const std::vector<int32_t> slots = SortedSlots(grid);
            grid.Sort(c, type);
            if (grid.IsGridSorted()) {
                Check(SortedSlots(grid) == slots);
            } else {
                for (int32_t p = 0; p < grid.Rows(); ++p) {
                    Check(grid.SlotAt(p) == p);
                }
            }
        }
        for (int32_t mode = 0; mode <= 6; ++mode) {
            const auto searchMode = static_cast<kelvara::GRID_SEARCH_MODE>(mode);
            const int32_t found = grid.FindItem(needle, c, searchMode, mode % 2 == 0);
            Check(found >= -1 && found < grid.Rows());
            grid.FilterOn(needle, c, searchMode, mode % 2 == 1);
            Check(grid.RowFirstVisible() >= -1);
        }
        grid.FilterOn(needle, -1, kelvara::GRID_SEARCH_MODE::SearchLike, true);
        grid.FilterOff();
        Check(grid.RowFirstVisible() == (grid.Rows() > 0 ? 0 : -1));
        grid.TotalColumns(c);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto [header, rest] = kelvara::fuzz::SplitInput(data, size, '\n');

    GridModel grid;
    grid.SetUserMode(false);
    grid.SetHeaderFormatString(header);
    Check(grid.Cols() <= kMaxColumns);
    CheckColumnOrder(grid);

    // The columns written out make the same columns again.
    GridModel copy;
    copy.SetUserMode(false);
    GridModel built;
    built.SetUserMode(false);
    for (int32_t c = 0; c < grid.Cols(); ++c) {
        const kelvara::GridColumn& column = *grid.Column(c);
        kelvara::GridColumnOptions options;
        options.width = column.Width;
        options.alignment = column.Alignment;
        options.dataType = column.DataType;
        options.format = column.Format;
        options.inputFilter = column.InputFilter;
        options.imageAlignment = column.ImageAlignment;
        options.wordWrap = column.CellFlagsTemplate != 0;
        options.visible = column.Visible;
        options.locked = column.Locked;
        built.AddColumn(column.Heading, options);
    }
    copy.SetHeaderFormatString(built.HeaderFormatString());
    Check(copy.Cols() == grid.Cols());
    for (int32_t c = 0; c < copy.Cols(); ++c) {
        Check(copy.ColHeading(c) == grid.ColHeading(c));
        Check(copy.ColType(c) == grid.ColType(c));
        Check(copy.ColVisible(c) == grid.ColVisible(c));
        Check(copy.ColLocked(c) == grid.ColLocked(c));
        Check(copy.ColWordWrap(c) == grid.ColWordWrap(c));
    }

    if (grid.Cols() == 0 || grid.Cols() > kDataColumns) {
        return 0;
    }
    grid.SetUserMode(true);
    grid.SetTotalLineShow(true);
    std::string_view lines = rest;
    std::string_view last;
    for (size_t row = 0; row < kDataRows && !lines.empty(); ++row) {
        const size_t cut = lines.find('\n');
        last = lines.substr(0, cut);
        grid.AddItem(last);
        lines = cut == std::string_view::npos ? std::string_view() : lines.substr(cut + 1);
    }
    Exercise(grid, last);
    if (grid.Rows() > 2) {
        grid.SetRowChecked(1, true);
        grid.DeleteChecked();
        grid.RemoveRow(0);
        Exercise(grid, last);
    }
    return 0;
}
