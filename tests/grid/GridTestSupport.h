#pragma once

// Small grids for the grid tests: columns by type, rows from tab-separated
// texts, and a log of the events raised.

#include <initializer_list>
#include <string>
#include <vector>

#include "kelvara/grid/GridModel.h"

namespace kelvara::test {

inline void AddColumns(GridModel& grid, std::initializer_list<GRID_DATA_TYPE> types) {
    int n = 0;
    for (const GRID_DATA_TYPE type : types) {
        GridColumnOptions options;
        options.dataType = type;
        grid.AddColumn("C" + std::to_string(n++), options);
    }
}

inline void AddRows(GridModel& grid, std::initializer_list<const char*> rows) {
    for (const char* row : rows) {
        grid.AddItem(row);
    }
}

// The first column's texts, in position order.
inline std::vector<std::string> Column0(const GridModel& grid) {
    std::vector<std::string> texts;
    for (int32_t p = 0; p < grid.Rows(); ++p) {
        texts.push_back(grid.CellText(p, 0));
    }
    return texts;
}

// Records the grid's model events by name, in order.
struct EventLog {
    std::vector<std::string> names;

    explicit EventLog(GridModel& grid) {
        grid.AfterDelete.Connect([this] { names.push_back("AfterDelete"); });
        grid.RowCountChanged.Connect([this] { names.push_back("RowCountChanged"); });
        grid.SelectionChanged.Connect([this] { names.push_back("SelectionChanged"); });
        grid.SortComplete.Connect([this] { names.push_back("SortComplete"); });
        grid.RowColChanged.Connect([this] { names.push_back("RowColChanged"); });
        grid.BeforeDelete.Connect([this](int32_t, bool&) { names.push_back("BeforeDelete"); });
    }
};

using Texts = std::vector<std::string>;

}  // namespace kelvara::test
