// Arbitrary bytes through the GIF reader, and what it reads back through the
// writer.
//
// Input: the first byte's low bit picks the writer's palette (1 adaptive,
// 0 fixed); the rest is the file. Traps (abort) when one of these breaks:
// - A failed load leaves no image (Handle 0, ImageType Error).
// - A loaded image is a GIF of at least 1 × 1 whose pixels are opaque, or
//   fully zero where the frame has a transparent index (Alpha Simple); with
//   Alpha None every pixel is opaque.
// - The surface's own loader gives the same answer and the same pixels for
//   a stream that starts like a GIF.
// - A small loaded image saves, and the saved file reads back at the same
//   size with transparency in the same places; with the adaptive palette
//   and few enough colours it reads back identical.
// Files with an image descriptor above kMaxPixels are skipped, so that each
// run stays quick; the reader's own limits are far higher.

#include <cstdint>
#include <cstring>
#include <set>
#include <span>
#include <vector>

#include "FuzzInput.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/gif/APIGIFParser.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::APIGIFParser;
using kelvara::ENUM_ALPHA_TYPE;
using kelvara::ENUM_IMAGE_FORMAT;
using kelvara::fuzz::Check;

constexpr uint64_t kMaxPixels = uint64_t{1} << 22;
constexpr uint64_t kMaxRoundTripPixels = uint64_t{1} << 16;

// True when some descriptor-looking bytes declare a frame above kMaxPixels.
bool AsksForTooMuch(std::span<const uint8_t> file) {
    for (size_t i = 0; i + 9 <= file.size(); ++i) {
        if (file[i] == 0x2C) {
            const uint64_t width = file[i + 5] | file[i + 6] << 8;
            const uint64_t height = file[i + 7] | file[i + 8] << 8;
            if (width * height > kMaxPixels) {
                return true;
            }
        }
    }
    return false;
}

std::vector<uint8_t> Bits(const API32bppDIB& surface) {
    const uint8_t* bits = surface.BitsPointer();
    return {bits, bits + surface.Pixels().ByteSize()};
}

void CheckLoaded(const API32bppDIB& surface) {
    Check(surface.ImageType() == ENUM_IMAGE_FORMAT::ImageGIF);
    Check(surface.Width() >= 1 && surface.Height() >= 1);
    const std::vector<uint8_t> bits = Bits(surface);
    for (size_t i = 0; i < bits.size(); i += 4) {
        const uint8_t a = bits[i + 3];
        if (surface.Alpha() == ENUM_ALPHA_TYPE::AlphaNone) {
            Check(a == 255);
        } else {
            Check(surface.Alpha() == ENUM_ALPHA_TYPE::AlphaSimple);
            Check(a == 255 || (a == 0 && bits[i] == 0 && bits[i + 1] == 0 && bits[i + 2] == 0));
        }
    }
}

// Distinct opaque colours, and whether any pixel is transparent.
size_t OpaqueColors(const std::vector<uint8_t>& bits, bool& anyClear) {
    std::set<uint32_t> colors;
    anyClear = false;
    for (size_t i = 0; i < bits.size(); i += 4) {
        if (bits[i + 3] == 0) {
            anyClear = true;
        } else {
            colors.insert(bits[i] | bits[i + 1] << 8 | bits[i + 2] << 16);
        }
    }
    return colors.size();
}

void RoundTrip(const API32bppDIB& surface, bool adaptive) {
    std::vector<uint8_t> saved;
    Check(APIGIFParser().SaveAsGIF("", saved, surface, adaptive, 128));
    API32bppDIB back;
    Check(APIGIFParser().LoadStream(saved, back));
    CheckLoaded(back);
    Check(back.Width() == surface.Width() && back.Height() == surface.Height());
    const std::vector<uint8_t> before = Bits(surface), after = Bits(back);
    for (size_t i = 3; i < before.size(); i += 4) {
        Check(before[i] == after[i]);
    }
    bool anyClear = false;
    const size_t colors = OpaqueColors(before, anyClear);
    if (adaptive && colors <= (anyClear ? 255u : 256u)) {
        Check(before == after);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    const bool adaptive = (data[0] & 1) != 0;
    const std::span<const uint8_t> file(data + 1, size - 1);
    if (AsksForTooMuch(file)) {
        return 0;
    }
    API32bppDIB surface;
    const bool loaded = APIGIFParser().LoadStream(file, surface);
    if (!loaded) {
        Check(surface.Handle() == 0);
        Check(surface.ImageType() == ENUM_IMAGE_FORMAT::ImageError);
    } else {
        CheckLoaded(surface);
    }

    // The surface declines streams under 20 bytes before any reader runs;
    // after that a stream starting "GI" (either case) is no other reader's.
    const bool gifLike = file.size() >= 20 && (file[0] | 0x20) == 'g' && (file[1] | 0x20) == 'i';
    if (gifLike) {
        API32bppDIB viaSurface;
        Check(viaSurface.LoadPicture_Stream(file) == loaded);
        if (loaded) {
            Check(viaSurface.ImageType() == ENUM_IMAGE_FORMAT::ImageGIF);
            Check(viaSurface.Alpha() == surface.Alpha());
            Check(Bits(viaSurface) == Bits(surface));
        }
    }

    if (loaded && uint64_t(surface.Width()) * uint64_t(surface.Height()) <= kMaxRoundTripPixels) {
        RoundTrip(surface, adaptive);
    }
    return 0;
}
