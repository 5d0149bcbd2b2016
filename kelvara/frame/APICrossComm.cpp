#include "kelvara/frame/APICrossComm.h"

#include <algorithm>

namespace kelvara {

int32_t APICrossComm::LowerBound(int32_t handle) const {
    // A binary search over the used slots.
    int32_t low = 0;
    int32_t high = count;
    while (low < high) {
        const int32_t mid = low + (high - low) / 2;
        if (slots[static_cast<size_t>(mid)] < handle) {
            low = mid + 1;
        } else {
            high = mid;
        }
    }
    return low;
}

bool APICrossComm::Contains(int32_t handle) const {
    const int32_t at = LowerBound(handle);
    return at < count && slots[static_cast<size_t>(at)] == handle;
}

void APICrossComm::AddRef(int32_t handle) {
    const int32_t at = LowerBound(handle);
    if (at < count && slots[static_cast<size_t>(at)] == handle) {
        return;
    }
    if (count + 1 > Capacity()) {
        slots.resize(static_cast<size_t>(count + 1 + kGrowth));
    }
    // The tail moves up one slot to make room.
    std::copy_backward(slots.begin() + at, slots.begin() + count, slots.begin() + count + 1);
    slots[static_cast<size_t>(at)] = handle;
    ++count;
}

void APICrossComm::RemoveRef(int32_t handle) {
    const int32_t at = LowerBound(handle);
    if (at >= count || slots[static_cast<size_t>(at)] != handle) {
        return;
    }
    if (count == 1) {
        slots.clear();
        count = 0;
        return;
    }
    // The tail moves down one slot over it.
    std::copy(slots.begin() + at + 1, slots.begin() + count, slots.begin() + at);
    --count;
}

}  // namespace kelvara
