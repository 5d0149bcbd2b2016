// Arbitrary bytes through the private inflate, with zlib as the referee.
//
// Input: three bytes (little-endian, low 20 bits) give the output buffer's
// size, 0 to 1 MiB - 1; the rest is a raw Deflate stream. The same stream
// goes through zlib's raw inflate (Z_FINISH into a buffer of the same size).
// Traps (abort) when one of these breaks:
// - Ours succeeds exactly when zlib reaches the end of the stream.
// - Then both wrote the same number of bytes, and the same bytes.
// - InflateZlib on the stream behind a two-byte header gives the same answer
//   as InflateRaw (the header is not read).
// There are no exceptions to document: the decoder refuses and accepts what
// zlib does. Reading or writing outside either buffer is caught by ASan,
// since the output buffer is exactly the size chosen.

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "kelvara/image/Inflate.h"

#include "FuzzInput.h"

namespace {

using kelvara::fuzz::Check;

constexpr size_t kSizeBytes = 3;
constexpr size_t kMaxOutput = (size_t{1} << 20) - 1;

// The number of bytes zlib's raw inflate writes when it reaches the end of
// the stream within `size` bytes, or -1.
int64_t ZlibInflate(const uint8_t* data, size_t size, uint8_t* out, size_t outSize) {
    z_stream stream{};
    if (inflateInit2(&stream, -15) != Z_OK) {
        return -1;
    }
    stream.next_in = const_cast<uint8_t*>(data);
    stream.avail_in = static_cast<uInt>(size);
    stream.next_out = out;
    stream.avail_out = static_cast<uInt>(outSize);
    const int status = inflate(&stream, Z_FINISH);
    const int64_t written = static_cast<int64_t>(stream.total_out);
    inflateEnd(&stream);
    return status == Z_STREAM_END ? written : -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kSizeBytes) {
        return 0;
    }
    const size_t outSize = (data[0] | data[1] << 8 | data[2] << 16) & kMaxOutput;
    const std::span<const uint8_t> stream(data + kSizeBytes, size - kSizeBytes);

    // Left uninitialised on purpose: the decoder must never read a byte it
    // has not written, and ASan sees any access past the end.
    const std::unique_ptr<uint8_t[]> ours(new uint8_t[outSize]);
    const std::unique_ptr<uint8_t[]> theirs(new uint8_t[outSize]);
    const auto result = kelvara::InflateRaw(stream, {ours.get(), outSize});
    const int64_t zlibWritten = ZlibInflate(stream.data(), stream.size(), theirs.get(), outSize);

    Check(result.Ok() == (zlibWritten >= 0));
    if (result) {
        Check(result.Value() <= outSize);
        Check(static_cast<int64_t>(result.Value()) == zlibWritten);
        Check(std::memcmp(ours.get(), theirs.get(), result.Value()) == 0);
    }

    std::vector<uint8_t> wrapped(stream.size() + 2);
    wrapped[0] = 0x78;
    wrapped[1] = 0x9C;
    if (!stream.empty()) {
        std::memcpy(wrapped.data() + 2, stream.data(), stream.size());
    }
    const auto viaZlib = kelvara::InflateZlib(wrapped, {ours.get(), outSize});
    Check(viaZlib.Ok() == result.Ok());
    if (result) {
        Check(viaZlib.Value() == result.Value());
    } else {
        Check(viaZlib.Error() == result.Error());
    }
    return 0;
}
