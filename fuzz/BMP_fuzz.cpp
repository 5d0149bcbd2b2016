// Arbitrary bytes through the bitmap reader.
//
// Input: the whole of it is the stream. Traps (abort) when one of these
// breaks after a successful load:
// - The surface has a positive width and height.
// - Every pixel is premultiplied (no colour byte above its alpha) and a
//   pixel with alpha 0 is four zero bytes.
// - Alpha says what the alpha bytes hold: None means all 255, Simple only 0
//   and 255.
// - ImageType is Bitmap, Bitmap ARGB or Bitmap PARGB.
// - Writing the surface with alpha and reading it back gives the same bytes
//   (for surfaces up to 1 MiB), unless every pixel is transparent: a bitmap whose alpha bytes are
//   all 0 reads as opaque, since that is how programs that ignore alpha write it.
// A failed load must leave no image.

#include <cstdint>
#include <vector>

#include "kelvara/image/bmp/APIBMPParser.h"

#include "FuzzInput.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::ENUM_ALPHA_TYPE;
using kelvara::ENUM_IMAGE_FORMAT;
using kelvara::fuzz::Check;

constexpr size_t kRoundTripBytes = size_t{1} << 20;

// True when some pixel is not fully transparent.
bool CheckSurface(const API32bppDIB& surface) {
    Check(surface.Width() > 0 && surface.Height() > 0);
    const uint8_t* p = surface.BitsPointer();
    bool translucent = false;
    bool transparent = false;
    bool opaque = false;
    for (size_t i = 0, n = surface.Pixels().ByteSize() / 4; i < n; ++i, p += 4) {
        const uint8_t a = p[3];
        Check(p[0] <= a && p[1] <= a && p[2] <= a);
        transparent = transparent || a == 0;
        opaque = opaque || a == 255;
        translucent = translucent || (a != 0 && a != 255);
    }
    if (surface.Alpha() == ENUM_ALPHA_TYPE::AlphaNone) {
        Check(!transparent && !translucent);
    } else if (surface.Alpha() == ENUM_ALPHA_TYPE::AlphaSimple) {
        Check(!translucent);
    }
    return translucent || opaque;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    API32bppDIB surface;
    kelvara::APIBMPParser parser;
    if (!parser.LoadStream({data, size}, surface)) {
        Check(surface.Handle() == 0);
        return 0;
    }
    const bool visible = CheckSurface(surface);
    const auto type = surface.ImageType();
    Check(type == ENUM_IMAGE_FORMAT::ImageBitmap || type == ENUM_IMAGE_FORMAT::ImageBitmapARGB ||
          type == ENUM_IMAGE_FORMAT::ImageBitmapPARGB);
    // Big pictures (only run-length data makes them from a small input)
    // would slow the run down without adding paths.
    if (!visible || surface.Pixels().ByteSize() > kRoundTripBytes) {
        return 0;
    }

    std::vector<uint8_t> saved;
    Check(kelvara::APIBMPParser::SaveToStream(surface, saved, 0xFFFFFF, true));
    API32bppDIB back;
    Check(parser.LoadStream(saved, back));
    Check(back.Width() == surface.Width() && back.Height() == surface.Height());
    const uint8_t* a = surface.BitsPointer();
    const uint8_t* b = back.BitsPointer();
    Check(std::equal(a, a + surface.Pixels().ByteSize(), b));
    return 0;
}
