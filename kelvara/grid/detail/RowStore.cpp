#include "kelvara/grid/detail/RowStore.h"

#include <algorithm>
#include <cstring>

namespace kelvara::detail {

void RowStore::GrowBlock(Block& block, int32_t rows) {
    if (rows <= block.capacity) {
        return;
    }
    auto newRows = std::make_unique<GridRowRecord[]>(static_cast<size_t>(rows));
    auto newCells = std::make_unique<GridCellRecord[]>(static_cast<size_t>(rows) *
                                                       static_cast<size_t>(columns));
    if (block.capacity > 0) {
        std::copy_n(block.rows.get(), block.capacity, newRows.get());
        std::copy_n(block.cells.get(), static_cast<size_t>(block.capacity) * columns,
                    newCells.get());
    }
    capacity += rows - block.capacity;
    block.rows = std::move(newRows);
    block.cells = std::move(newCells);
    block.capacity = rows;
}

void RowStore::Reserve(int64_t rows) {
    while (capacity < rows) {
        if (blocks.empty() || blocks.back().capacity == kBlockRows) {
            blocks.emplace_back();
        }
        const int64_t start = static_cast<int64_t>(blocks.size() - 1) * kBlockRows;
        GrowBlock(blocks.back(), static_cast<int32_t>(std::min<int64_t>(kBlockRows, rows - start)));
    }
}

void RowStore::Clear() {
    blocks.clear();
    blocks.shrink_to_fit();
    capacity = 0;
}

void RowStore::AddColumn(const GridCellRecord& blank) {
    const int32_t wider = columns + 1;
    for (Block& block : blocks) {
        auto cells =
            std::make_unique<GridCellRecord[]>(static_cast<size_t>(block.capacity) * wider);
        for (int32_t r = 0; r < block.capacity; ++r) {
            GridCellRecord* to = cells.get() + static_cast<size_t>(r) * wider;
            std::copy_n(block.cells.get() + static_cast<size_t>(r) * columns, columns, to);
            to[columns] = blank;
        }
        block.cells = std::move(cells);
    }
    columns = wider;
}

size_t RowStore::AllocatedBytes() const {
    size_t bytes = blocks.capacity() * sizeof(Block);
    for (const Block& block : blocks) {
        bytes += static_cast<size_t>(block.capacity) *
                 (sizeof(GridRowRecord) + sizeof(GridCellRecord) * columns);
    }
    return bytes;
}

}  // namespace kelvara::detail
