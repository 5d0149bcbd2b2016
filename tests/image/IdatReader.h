#pragma once

// The zlib stream inside a PNG file: every IDAT payload, joined. Shared by
// the inflate tests and the inflate benchmark, which both feed real PNG data
// to the decoders.

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kelvara::test {

inline std::vector<uint8_t> ReadIdat(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<uint8_t> png{std::istreambuf_iterator<char>(file), {}};
    std::vector<uint8_t> idat;
    for (size_t at = 8; at + 12 <= png.size();) {
        const size_t length =
            size_t{png[at]} << 24 | png[at + 1] << 16 | png[at + 2] << 8 | png[at + 3];
        if (at + 12 + length > png.size()) {
            break;
        }
        if (std::memcmp(&png[at + 4], "IDAT", 4) == 0) {
            idat.insert(idat.end(), png.begin() + at + 8, png.begin() + at + 8 + length);
        }
        at += 12 + length;
    }
    return idat;
}

}  // namespace kelvara::test
