#pragma once

// PixelBuffer: a block of 32-bit pixels, four bytes each in the order blue,
// green, red, alpha, rows packed without padding (stride = width × 4). Rows
// run bottom-up (the first row in memory is the picture's bottom row), as a
// device-independent bitmap's do, or top-down. The buffer knows nothing of
// premultiplication; its owners keep that rule.

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kelvara {

enum class RowOrder { BottomUp, TopDown };

class PixelBuffer {
public:
    // The largest block a buffer holds: the byte size must fit a signed
    // 32-bit count, as the host's bitmap sizes do.
    static constexpr int64_t kMaxBytes = INT32_MAX;

    PixelBuffer() = default;
    PixelBuffer(PixelBuffer&&) noexcept = default;
    PixelBuffer& operator=(PixelBuffer&&) noexcept = default;
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    // Makes a zeroed buffer of width × height pixels. Fails, leaving the
    // buffer empty, when a side is below 1, when the byte size passes
    // kMaxBytes, or when memory runs out.
    bool Allocate(int32_t width, int32_t height, RowOrder order = RowOrder::BottomUp);
    void Reset();
    void Swap(PixelBuffer& other) noexcept;

    bool Empty() const { return bytes == nullptr; }
    int32_t Width() const { return width; }
    int32_t Height() const { return height; }
    int32_t Stride() const { return width * 4; }
    RowOrder Order() const { return order; }
    size_t ByteSize() const { return static_cast<size_t>(width) * static_cast<size_t>(height) * 4; }

    // The first byte in memory.
    uint8_t* Bits() { return bytes.get(); }
    const uint8_t* Bits() const { return bytes.get(); }

    // The first byte of the picture's row y, counted from the top.
    uint8_t* Row(int32_t y) { return bytes.get() + RowOffset(y); }
    const uint8_t* Row(int32_t y) const { return bytes.get() + RowOffset(y); }
    uint8_t* Pixel(int32_t x, int32_t y) { return Row(y) + static_cast<size_t>(x) * 4; }
    const uint8_t* Pixel(int32_t x, int32_t y) const { return Row(y) + static_cast<size_t>(x) * 4; }

    bool Contains(int32_t x, int32_t y) const {
        return x >= 0 && y >= 0 && x < width && y < height;
    }

private:
    size_t RowOffset(int32_t y) const {
        const int32_t memoryRow = order == RowOrder::BottomUp ? height - 1 - y : y;
        return static_cast<size_t>(memoryRow) * static_cast<size_t>(Stride());
    }

    std::unique_ptr<uint8_t[]> bytes;
    int32_t width = 0;
    int32_t height = 0;
    RowOrder order = RowOrder::BottomUp;
};

}  // namespace kelvara
