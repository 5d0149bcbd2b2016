#include "kelvara/image/Zlib.h"

#include <zlib.h>

#include <atomic>

namespace kelvara {

namespace {

std::atomic<bool> zlibAvailable{true};

}  // namespace

bool Zlib::Available() {
    return zlibAvailable.load(std::memory_order_relaxed);
}

void Zlib::SetAvailable(bool available) {
    zlibAvailable.store(available, std::memory_order_relaxed);
}

int64_t Zlib::Uncompress(std::span<const uint8_t> in, std::span<uint8_t> out) {
    // zlib counts in uLong; streams past its range are refused rather than
    // cut short.
    if (in.size() > ULONG_MAX || out.size() > ULONG_MAX) {
        return -1;
    }
    uLongf written = static_cast<uLongf>(out.size());
    uLong read = static_cast<uLong>(in.size());
    const int status = uncompress2(out.data(), &written, in.data(), &read);
    return status == Z_OK ? static_cast<int64_t>(written) : -1;
}

bool Zlib::Compress(std::span<const uint8_t> in, int level, std::vector<uint8_t>& out) {
    uLongf size = compressBound(static_cast<uLong>(in.size()));
    out.resize(size);
    const int status =
        compress2(out.data(), &size, in.data(), static_cast<uLong>(in.size()), level);
    if (status != Z_OK) {
        out.clear();
        return false;
    }
    out.resize(size);
    return true;
}

uint32_t Zlib::Crc32(std::span<const uint8_t> bytes, uint32_t crc) {
    return static_cast<uint32_t>(crc32_z(crc, bytes.data(), static_cast<z_size_t>(bytes.size())));
}

}  // namespace kelvara
