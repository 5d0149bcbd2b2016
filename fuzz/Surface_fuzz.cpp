// Any bytes through the surface's load dispatch (PNG, GIF, ICO, BMP in turn), with
// the icon choice taken from the input. A loaded surface must keep the
// premultiplied form and its original bytes must reload to the same pixels.

#include <cstring>

#include "FuzzInput.h"
#include "kelvara/image/API32bppDIB.h"

using kelvara::fuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) {
        return 0;
    }
    const int32_t iconCx = data[0] % 80;
    const int32_t iconBitDepth = data[1] % 40;
    const bool keep = (data[2] & 1) != 0;
    const std::span<const uint8_t> stream(data + 3, size - 3);

    kelvara::API32bppDIB dib;
    if (!dib.LoadPicture_Stream(stream, iconCx, iconCx, 0, 0, keep, iconBitDepth)) {
        Check(dib.Handle() == 0);
        return 0;
    }
    const uint8_t* bits = dib.BitsPointer();
    const size_t bytes = static_cast<size_t>(dib.Width()) * dib.Height() * 4;
    for (size_t i = 0; i < bytes; i += 4) {
        const uint8_t a = bits[i + 3];
        Check(bits[i] <= a && bits[i + 1] <= a && bits[i + 2] <= a);
    }
    if (keep) {
        std::vector<uint8_t> first(bits, bits + bytes);
        Check(dib.LoadPicture_FromOrignalFormat(iconCx, iconCx, iconBitDepth));
        Check(static_cast<size_t>(dib.Width()) * dib.Height() * 4 == bytes);
        Check(std::memcmp(dib.BitsPointer(), first.data(), bytes) == 0);
    }
    return 0;
}
