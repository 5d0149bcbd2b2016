#include "kelvara/image/Zlib.h"

#include <zlib.h>

#ifdef KELVARA_USE_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <atomic>

namespace kelvara {

namespace {

std::atomic<bool> zlibAvailable{true};

#ifdef KELVARA_USE_LIBDEFLATE
// One decompressor per thread: it holds only tables, no stream state, and
// allocating it per call would cost more than a small image's inflate.
struct Decompressor {
    libdeflate_decompressor* handle = libdeflate_alloc_decompressor();
    ~Decompressor() { libdeflate_free_decompressor(handle); }
};
#endif

}  // namespace

bool Zlib::Available() {
    return zlibAvailable.load(std::memory_order_relaxed);
}

void Zlib::SetAvailable(bool available) {
    zlibAvailable.store(available, std::memory_order_relaxed);
}

int64_t Zlib::Uncompress(std::span<const uint8_t> in, std::span<uint8_t> out) {
#ifdef KELVARA_USE_LIBDEFLATE
    // libdeflate inflates a whole buffer faster than zlib and answers the
    // same way here: it reads the header and checks the Adler-32 trailer,
    // accepts a stream that ends before filling `out`, ignores bytes after
    // the stream, and fails on damaged data. One difference is known: in a
    // fixed-code block it takes the unused literal/length symbols 286 and
    // 287 as matches of 258 bytes, where zlib refuses them. Only crafted
    // data meets it, since the Adler-32 of that output must match too.
    thread_local Decompressor decompressor;
    if (decompressor.handle == nullptr) {
        return -1;
    }
    size_t written = 0;
    const libdeflate_result status = libdeflate_zlib_decompress(
        decompressor.handle, in.data(), in.size(), out.data(), out.size(), &written);
    return status == LIBDEFLATE_SUCCESS ? static_cast<int64_t>(written) : -1;
#else
    // zlib counts in uLong; streams past its range are refused rather than
    // cut short.
    if (in.size() > ULONG_MAX || out.size() > ULONG_MAX) {
        return -1;
    }
    uLongf written = static_cast<uLongf>(out.size());
    uLong read = static_cast<uLong>(in.size());
    const int status = uncompress2(out.data(), &written, in.data(), &read);
    return status == Z_OK ? static_cast<int64_t>(written) : -1;
#endif
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
