#include "kelvara/image/API32bppDIB.h"

#include <algorithm>
#include <atomic>

#include "kelvara/image/APIGDIPlus.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/bmp/APIBMPParser.h"
#include "kelvara/image/ico/APIICOParser.h"
#include "kelvara/image/png/APIPNGParser.h"
#include "kelvara/image/png/APIPNGWriter.h"

namespace kelvara {

namespace {

// Capability bits, as the host's version check fills them.
constexpr int32_t kAlphaBlendFriendly = 1;
constexpr int32_t kGDIplusEnabled = 2;
constexpr int32_t kHasAlphaBlend = 8;
constexpr int32_t kAlphaBlendOnRequest = 16;
constexpr int32_t kNoGDIplus = 32;
constexpr int32_t kHasHalftone = 64;

// Files of this size or less are not pictures the readers are shown.
constexpr int64_t kSmallestFile = 56;
// Streams shorter than this are refused before any reader looks.
constexpr int64_t kSmallestStream = 20;

uintptr_t NextHandle() {
    static std::atomic<uintptr_t> last{0};
    return ++last;
}

}  // namespace

API32bppDIB::API32bppDIB() {
    // Our canvas blends premultiplied pixels and stretches with halftone, as
    // the later NT family does.
    capabilities = kAlphaBlendFriendly | kHasAlphaBlend | kHasHalftone;
    SetIsGDIplusEnabled(true);
    if (isGDIplusEnabled()) {
        highQualityInterpolation = true;
    }
    imageType = ENUM_IMAGE_FORMAT::ImageError;
}

API32bppDIB::~API32bppDIB() = default;

bool API32bppDIB::isAlphaBlendFriendly() const {
    return (capabilities & kAlphaBlendFriendly) != 0;
}

void API32bppDIB::SetIsAlphaBlendFriendly(bool value) {
    if (!value) {
        capabilities &= ~kAlphaBlendFriendly;
    } else if ((capabilities & (kHasAlphaBlend | kAlphaBlendOnRequest)) != 0) {
        capabilities |= kAlphaBlendFriendly;
    }
}

bool API32bppDIB::isGDIplusEnabled() const {
    return (capabilities & kGDIplusEnabled) != 0;
}

void API32bppDIB::SetIsGDIplusEnabled(bool value) {
    if (value == isGDIplusEnabled()) {
        return;
    }
    capabilities &= ~kGDIplusEnabled;
    if (value && (capabilities & kNoGDIplus) == 0 && APIGDIPlus::Version() >= 65535) {
        capabilities |= kGDIplusEnabled;
    }
}

void API32bppDIB::SetGdiToken(int32_t value) {
    // Without a bridge there is no kept bridge object to release first.
    token = value;
}

void API32bppDIB::SetKeepGDIplusActive(bool value) {
    keepGDIplusActive = value && isGDIplusEnabled();
}

bool API32bppDIB::isZlibEnabled() const {
    return Zlib::Available();
}

bool API32bppDIB::InitializeDIB(int32_t newWidth, int32_t newHeight) {
    DestroyDIB();
    if (newWidth < 0 || newHeight == 0) {
        return false;
    }
    if (newHeight < 0) {
        newHeight = -newHeight;
    }
    // The byte size must fit 32 bits; anything larger fails quietly.
    if (int64_t{newWidth} * int64_t{newHeight} * 4 > INT32_MAX) {
        return false;
    }
    if (!pixels.Allocate(newWidth, newHeight, RowOrder::BottomUp)) {
        return false;
    }
    handle = NextHandle();
    EraseDIB();
    return true;
}

void API32bppDIB::DestroyDIB() {
    pixels.Reset();
    originalBytes.clear();
    originalBytes.shrink_to_fit();
    handle = 0;
    alpha = ENUM_ALPHA_TYPE::AlphaNone;
    imageType = ENUM_IMAGE_FORMAT::ImageError;
}

void API32bppDIB::EraseDIB() {
    if (handle == 0) {
        return;
    }
    std::fill_n(pixels.Bits(), pixels.ByteSize(), uint8_t{0});
    imageType = ENUM_IMAGE_FORMAT::ImageNone;
    alpha = ENUM_ALPHA_TYPE::AlphaSimple;
}

void API32bppDIB::CopySettingsTo(API32bppDIB& other) const {
    other.token = token;
    other.SetIsGDIplusEnabled(isGDIplusEnabled());
    other.highQualityInterpolation = highQualityInterpolation;
    other.imageType = imageType;
    other.alpha = alpha;
    other.originalBytes = originalBytes;
    other.tag = tag;
}

// --- Alpha ------------------------------------------------------------------

void API32bppDIB::ValidateAlphaChannel(bool PreMultiply, ENUM_ALPHA_TYPE& Alpha,
                                       ENUM_IMAGE_FORMAT& ImageType) {
    if (handle == 0) {
        return;
    }
    uint8_t* bits = pixels.Bits();
    const size_t count = pixels.ByteSize() / 4;

    // The scan's states: 0 nothing against premultiplied form yet; 1 a colour
    // seen under zero alpha; 2 proof that the colours are not premultiplied.
    int state = 0;
    size_t transparent = 0;
    size_t opaque = 0;
    if (ImageType != ENUM_IMAGE_FORMAT::ImageError) {
        for (size_t i = 0; i < count && state != 2; ++i) {
            const uint8_t* px = bits + i * 4;
            const uint8_t a = px[3];
            if (a == 0) {
                ++transparent;
                if (state == 0 && (px[0] | px[1] | px[2]) != 0) {
                    state = 1;
                }
            } else if (a == 255) {
                if (state == 1) {
                    state = 2;
                } else {
                    ++opaque;
                }
            } else if (state == 1 || px[0] > a || px[1] > a || px[2] > a) {
                state = 2;
            } else {
                Alpha = ENUM_ALPHA_TYPE::AlphaComplex;
            }
        }
    } else {
        opaque = count;
    }

    if (transparent == count || opaque == count) {
        ImageType = ENUM_IMAGE_FORMAT::ImageBitmap;
        if (PreMultiply) {
            for (size_t i = 0; i < count; ++i) {
                bits[i * 4 + 3] = 255;
            }
        }
        return;
    }
    // Some pixels use their alpha: a surface that mixes 0 and 255 only is
    // at least simple.
    if (Alpha == ENUM_ALPHA_TYPE::AlphaNone) {
        Alpha = ENUM_ALPHA_TYPE::AlphaSimple;
    }
    if (state == 0) {
        ImageType = ENUM_IMAGE_FORMAT::ImageBitmapPARGB;
        return;
    }
    ImageType = ENUM_IMAGE_FORMAT::ImageBitmapARGB;
    if (!PreMultiply) {
        return;
    }
    Alpha = ENUM_ALPHA_TYPE::AlphaSimple;
    for (size_t i = 0; i < count; ++i) {
        uint8_t* px = bits + i * 4;
        const uint32_t a = px[3];
        if (a == 0) {
            px[0] = px[1] = px[2] = 0;
        } else if (a != 255) {
            Alpha = ENUM_ALPHA_TYPE::AlphaComplex;
            px[0] = static_cast<uint8_t>(px[0] * a / 255);
            px[1] = static_cast<uint8_t>(px[1] * a / 255);
            px[2] = static_cast<uint8_t>(px[2] * a / 255);
        }
    }
}

}  // namespace kelvara
