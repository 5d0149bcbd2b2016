#pragma once

// The system zlib as the image engine uses it: whole-buffer `uncompress`,
// `compress2` and `crc32`. Whether the engine may use zlib is one switch for
// the process; with it off, readers take the private inflate and skip what
// only zlib gives them (the PNG reader then tests no CRC).

#include <cstdint>
#include <span>
#include <vector>

namespace kelvara {

class Zlib {
public:
    // True unless switched off.
    static bool Available();
    // Turns the engine's use of zlib on or off (tests, benchmarks, and
    // hosts that want the private inflate only).
    static void SetAvailable(bool available);

    // Inflates a zlib stream into exactly `out`; returns the number of bytes
    // written, or -1 when zlib reports an error. Fewer bytes than
    // out.size() is not an error here.
    static int64_t Uncompress(std::span<const uint8_t> in, std::span<uint8_t> out);
    // A zlib stream at `level` (0 to 9); false when zlib fails.
    static bool Compress(std::span<const uint8_t> in, int level, std::vector<uint8_t>& out);
    static uint32_t Crc32(std::span<const uint8_t> bytes, uint32_t crc = 0);
};

// Restores the zlib switch when it leaves scope.
class [[nodiscard]] ZlibScope {
public:
    explicit ZlibScope(bool available) : previous(Zlib::Available()) {
        Zlib::SetAvailable(available);
    }
    ~ZlibScope() { Zlib::SetAvailable(previous); }
    ZlibScope(const ZlibScope&) = delete;
    ZlibScope& operator=(const ZlibScope&) = delete;

private:
    bool previous;
};

}  // namespace kelvara
