#pragma once

// The row records and their cells, stored by slot. Slots live in blocks of
// 4,096 rows, each block one array of row records and one array of cells
// held column after column, so that growing never copies the rows already
// stored, a cell is found with a shift and a multiply, and the scans that
// sorting, filtering and finding make down one column read it densely.
// Only the first block is ever short: it grows by reallocation, in the steps
// the grid asks for, until full.
//
// A row record takes 16 bytes and a cell 20. What few rows or cells use
// (tags, pictures, alignments beyond 16 bits) lives in side tables of the
// model, marked by bits of Extras.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kelvara/grid/detail/TextStore.h"

namespace kelvara::detail {

struct GridRowRecord {
    int32_t Height = 0;
    int32_t ImageIndex = 0;
    int32_t Data = 0;
    uint16_t Flags = 0;
    bool GroupHeader = false;
    bool Visible = false;
};

// Extras bits of a cell.
namespace CellExtra {
inline constexpr uint8_t Tag = 1;
inline constexpr uint8_t Picture = 2;
inline constexpr uint8_t WideAlignment = 4;  // the alignment is in a side table
}  // namespace CellExtra

struct GridCellRecord {
    TextRef Text;
    int32_t Data = 0;
    int16_t Alignment = 0;
    uint16_t Flags = 0;
    int16_t FormatIndex = 0;
    uint8_t Measured = 0;
    uint8_t Extras = 0;
};

static_assert(sizeof(GridRowRecord) == 16);
static_assert(sizeof(GridCellRecord) == 20);

class RowStore {
public:
    static constexpr int32_t kBlockShift = 12;
    static constexpr int32_t kBlockRows = 1 << kBlockShift;

    explicit RowStore(int32_t columns = 0) : columns(columns) {}

    int32_t Columns() const { return columns; }
    int64_t Capacity() const { return capacity; }
    // Makes room for slots 0 .. rows - 1; new rows and cells are zeroed.
    void Reserve(int64_t rows);
    // Drops every row; the column count stays.
    void Clear();

    GridRowRecord& Row(int32_t slot) {
        return blocks[slot >> kBlockShift].rows[slot & (kBlockRows - 1)];
    }
    const GridRowRecord& Row(int32_t slot) const {
        return blocks[slot >> kBlockShift].rows[slot & (kBlockRows - 1)];
    }
    GridCellRecord& Cell(int32_t slot, int32_t column) {
        Block& block = blocks[slot >> kBlockShift];
        return block.cells[static_cast<size_t>(column) * static_cast<size_t>(block.capacity) +
                           static_cast<size_t>(slot & (kBlockRows - 1))];
    }
    const GridCellRecord& Cell(int32_t slot, int32_t column) const {
        return const_cast<RowStore*>(this)->Cell(slot, column);
    }

    // Clears a flag bit in every row record the store holds, in use or not.
    void ClearFlagEverywhere(uint16_t bit);

    // Widens every row by one cell, a copy of blank.
    void AddColumn(const GridCellRecord& blank);

    size_t AllocatedBytes() const;

private:
    struct Block {
        std::unique_ptr<GridRowRecord[]> rows;
        std::unique_ptr<GridCellRecord[]> cells;
        int32_t capacity = 0;
    };

    void GrowBlock(Block& block, int32_t rows);

    std::vector<Block> blocks;
    int64_t capacity = 0;
    int32_t columns = 0;
};

}  // namespace kelvara::detail
