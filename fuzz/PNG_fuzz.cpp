// Arbitrary bytes through the PNG reader.
//
// Input: the first byte's low bit switches zlib on (1) or off (0); the rest
// is the file. It is read both as a stream and as a file (through
// fmemopen). Traps (abort) when one of these breaks:
// - Stream and file give the same answer, and the same pixels.
// - A failed load leaves no image (Handle 0, ImageType Error).
// - A loaded image is a PNG, premultiplied (no colour byte above its
//   alpha), and reports no alpha only when every alpha byte is 255.
// - With zlib on, a load that succeeds also succeeds without zlib and gives
//   the same pixels: zlib only adds CRC tests, and the private inflate
//   accepts every stream zlib does.
// Files whose IHDR asks for more than kMaxPixels are skipped, so that each
// run stays quick; the reader's own limits are far higher.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/png/APIPNGParser.h"

#include "FuzzInput.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::ENUM_ALPHA_TYPE;
using kelvara::ENUM_IMAGE_FORMAT;
using kelvara::fuzz::Check;

constexpr uint64_t kMaxPixels = uint64_t{1} << 22;

// True when some IHDR-looking bytes declare a picture above kMaxPixels.
bool AsksForTooMuch(std::span<const uint8_t> file) {
    for (size_t i = 0; i + 12 <= file.size(); ++i) {
        if (std::memcmp(file.data() + i, "IHDR", 4) == 0) {
            const uint8_t* p = file.data() + i + 4;
            const uint64_t width = uint64_t{p[0]} << 24 | p[1] << 16 | p[2] << 8 | p[3];
            const uint64_t height = uint64_t{p[4]} << 24 | p[5] << 16 | p[6] << 8 | p[7];
            if (width * height > kMaxPixels) {
                return true;
            }
        }
    }
    return false;
}

struct Outcome {
    bool loaded = false;
    int32_t width = 0;
    int32_t height = 0;
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
    std::vector<uint8_t> bits;

    bool operator==(const Outcome&) const = default;
};

Outcome Inspect(bool loaded, API32bppDIB& surface) {
    Outcome outcome;
    outcome.loaded = loaded;
    if (!loaded) {
        Check(surface.Handle() == 0);
        Check(surface.ImageType() == ENUM_IMAGE_FORMAT::ImageError);
        return outcome;
    }
    Check(surface.ImageType() == ENUM_IMAGE_FORMAT::ImagePNG);
    Check(surface.Width() >= 1 && surface.Height() >= 1);
    outcome.width = surface.Width();
    outcome.height = surface.Height();
    outcome.alpha = surface.Alpha();
    const uint8_t* bits = surface.BitsPointer();
    outcome.bits.assign(bits, bits + surface.Pixels().ByteSize());
    for (size_t i = 0; i < outcome.bits.size(); i += 4) {
        const uint8_t a = outcome.bits[i + 3];
        Check(outcome.bits[i] <= a && outcome.bits[i + 1] <= a && outcome.bits[i + 2] <= a);
        Check(outcome.alpha != ENUM_ALPHA_TYPE::AlphaNone || a == 255);
    }
    return outcome;
}

Outcome FromStream(std::span<const uint8_t> file, bool withZlib) {
    const kelvara::ZlibScope zlib(withZlib);
    API32bppDIB surface;
    kelvara::APIPNGParser parser;
    return Inspect(parser.LoadStream(file, surface), surface);
}

Outcome FromFile(std::span<const uint8_t> file, bool withZlib) {
    const kelvara::ZlibScope zlib(withZlib);
    API32bppDIB surface;
    kelvara::APIPNGParser parser;
    std::FILE* f = fmemopen(const_cast<uint8_t*>(file.data()), file.size(), "rb");
    if (f == nullptr) {
        return Inspect(parser.LoadFile(nullptr, surface), surface);
    }
    const bool loaded = parser.LoadFile(f, surface);
    std::fclose(f);
    return Inspect(loaded, surface);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    const bool withZlib = (data[0] & 1) != 0;
    const std::span<const uint8_t> file(data + 1, size - 1);
    if (AsksForTooMuch(file)) {
        return 0;
    }
    const Outcome stream = FromStream(file, withZlib);
    if (!file.empty()) {
        Check(FromFile(file, withZlib) == stream);
    }
    if (withZlib && stream.loaded) {
        Check(FromStream(file, false) == stream);
    }
    return 0;
}
