#include "kelvara/gfx/PixelBuffer.h"

#include <new>
#include <utility>

namespace kelvara {

bool PixelBuffer::Allocate(int32_t newWidth, int32_t newHeight, RowOrder newOrder) {
    Reset();
    if (newWidth < 1 || newHeight < 1) {
        return false;
    }
    // Divided first: two 31-bit sides times four would overflow 64 bits.
    if (int64_t{newWidth} > kMaxBytes / 4 / newHeight) {
        return false;
    }
    const int64_t size = int64_t{newWidth} * int64_t{newHeight} * 4;
    // Value-initialised, so the block starts zeroed.
    bytes.reset(new (std::nothrow) uint8_t[static_cast<size_t>(size)]());
    if (!bytes) {
        return false;
    }
    width = newWidth;
    height = newHeight;
    order = newOrder;
    return true;
}

void PixelBuffer::Reset() {
    bytes.reset();
    width = 0;
    height = 0;
    order = RowOrder::BottomUp;
}

void PixelBuffer::Swap(PixelBuffer& other) noexcept {
    std::swap(bytes, other.bytes);
    std::swap(width, other.width);
    std::swap(height, other.height);
    std::swap(order, other.order);
}

}  // namespace kelvara
