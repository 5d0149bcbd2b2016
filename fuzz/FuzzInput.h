#pragma once

// What the fuzz targets share: splitting one input into two texts, and the
// check that stops the run when a promised property breaks.

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace kelvara::fuzz {

// The input up to the first separator, and the rest after it ("" if none).
inline std::pair<std::string_view, std::string_view> SplitInput(const uint8_t* data, size_t size,
                                                                char separator) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t cut = input.find(separator);
    if (cut == std::string_view::npos) {
        return {input, {}};
    }
    return {input.substr(0, cut), input.substr(cut + 1)};
}

inline void Check(bool ok) {
    if (!ok) {
        std::abort();
    }
}

}  // namespace kelvara::fuzz
