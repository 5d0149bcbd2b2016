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
        for (int32_t c = 0; c < columns; ++c) {
            std::copy_n(block.cells.get() + static_cast<size_t>(c) * block.capacity, block.capacity,
                        newCells.get() + static_cast<size_t>(c) * rows);
        }
    }
    capacity += rows - block.capacity;
    block.rows = std::move(newRows);
    block.cells = std::move(newCells);
    block.capacity = rows;
}

// The first block grows in the steps asked for, so that a small grid stays
// small; once a grid needs a second block it is big, and every later block
// comes whole, which spares the copies of growing it.
void RowStore::Reserve(int64_t rows) {
    while (capacity < rows) {
        if (blocks.empty() || blocks.back().capacity == kBlockRows) {
            blocks.emplace_back();
        }
        const int64_t start = static_cast<int64_t>(blocks.size() - 1) * kBlockRows;
        const int64_t wanted =
            blocks.size() == 1 ? std::min<int64_t>(kBlockRows, rows - start) : kBlockRows;
        GrowBlock(blocks.back(), static_cast<int32_t>(wanted));
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
        const size_t old = static_cast<size_t>(block.capacity) * columns;
        auto cells = std::make_unique<GridCellRecord[]>(old + block.capacity);
        std::copy_n(block.cells.get(), old, cells.get());
        std::fill_n(cells.get() + old, block.capacity, blank);
        block.cells = std::move(cells);
    }
    columns = wider;
}

void RowStore::ClearFlagEverywhere(uint16_t bit) {
    const auto keep = static_cast<uint16_t>(~bit);
    for (Block& block : blocks) {
        for (int32_t r = 0; r < block.capacity; ++r) {
            block.rows[r].Flags &= keep;
        }
    }
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
