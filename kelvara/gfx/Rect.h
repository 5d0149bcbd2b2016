#pragma once

#include <cstdint>

namespace kelvara {

// A rectangle in device pixels; Right and Bottom are exclusive.
struct RECT {
    int32_t Left = 0;
    int32_t Top = 0;
    int32_t Right = 0;
    int32_t Bottom = 0;

    int32_t Width() const { return Right - Left; }
    int32_t Height() const { return Bottom - Top; }
    bool IsEmpty() const { return Right <= Left || Bottom <= Top; }
    friend bool operator==(const RECT&, const RECT&) = default;
};

}  // namespace kelvara
