// Arbitrary bytes through the icon and cursor reader.
//
// Input: the first three bytes are iconCx, iconCy and iconBitDepth (taken
// modulo 33); the rest is the stream. Traps (abort) when one of these breaks
// after a successful load:
// - The surface has a positive width and height.
// - Every pixel is premultiplied (no colour byte above its alpha) and a
//   pixel with alpha 0 is four zero bytes.
// - Alpha None means all alpha bytes are 255; Simple means only 0 and 255.
// - ImageType is one of the icon and cursor kinds.
// - IconSizes lists at least one entry.
// A failed load must leave no image.

#include <cstdint>
#include <vector>

#include "kelvara/image/ico/APIICOParser.h"

#include "FuzzInput.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::ENUM_ALPHA_TYPE;
using kelvara::ENUM_IMAGE_FORMAT;
using kelvara::fuzz::Check;

constexpr size_t kChoiceBytes = 3;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kChoiceBytes) {
        return 0;
    }
    const std::span<const uint8_t> stream(data + kChoiceBytes, size - kChoiceBytes);
    API32bppDIB surface;
    kelvara::APIICOParser parser;
    const std::vector<kelvara::IconSize> sizes = kelvara::APIICOParser::IconSizes(stream);
    if (!parser.LoadStream(stream, surface, data[0], data[1], data[2] % 33)) {
        Check(surface.Handle() == 0);
        return 0;
    }
    Check(!sizes.empty());
    Check(surface.Width() > 0 && surface.Height() > 0);
    const uint8_t* p = surface.BitsPointer();
    bool translucent = false;
    bool transparent = false;
    for (size_t i = 0, n = surface.Pixels().ByteSize() / 4; i < n; ++i, p += 4) {
        const uint8_t a = p[3];
        Check(p[0] <= a && p[1] <= a && p[2] <= a);
        transparent = transparent || a == 0;
        translucent = translucent || (a != 0 && a != 255);
    }
    if (surface.Alpha() == ENUM_ALPHA_TYPE::AlphaNone) {
        Check(!transparent && !translucent);
    } else if (surface.Alpha() == ENUM_ALPHA_TYPE::AlphaSimple) {
        Check(!translucent);
    }
    const auto type = surface.ImageType();
    Check(type == ENUM_IMAGE_FORMAT::ImageIcon || type == ENUM_IMAGE_FORMAT::ImageIconARGB ||
          type == ENUM_IMAGE_FORMAT::ImagePNGIcon || type == ENUM_IMAGE_FORMAT::ImageCursor ||
          type == ENUM_IMAGE_FORMAT::ImageCursorARGB);
    return 0;
}
