// The operations that change or derive a surface's pixels. Every one keeps
// the premultiplied form, skips pixels of alpha 0 in colour work, and
// returns False (or nothing) without an image.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "kelvara/gfx/AlphaBlend.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/detail/PixelKernels.h"

namespace kelvara {

namespace {

using detail::Mirror;
using detail::Sampling;

struct Colour {
    uint8_t blue;
    uint8_t green;
    uint8_t red;
};

// red + green × 256 + blue × 65536; the high byte (a system colour's mark)
// is not a colour of its own here.
Colour ColourOf(OLE_COLOR color) {
    return Colour{static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
                  static_cast<uint8_t>(color)};
}

// Calls visit(pixel) for every pixel of the picture whose alpha is not 0.
template <typename Visit>
void ForEachVisible(PixelBuffer& pixels, Visit visit) {
    const int32_t width = pixels.Width();
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        uint8_t* p = pixels.Row(y);
        for (int32_t x = 0; x < width; ++x, p += 4) {
            if (p[3] != 0) {
                visit(p);
            }
        }
    }
}

// The picture redrawn at |newWidth| × |newHeight|, a negative size mirroring
// it. Painters: a mirror image first when asked; then the stretch kernel,
// unless the plain AlphaBlend copy may serve (allowed, and no bilinear
// interpolation wanted).
bool Repaint(const API32bppDIB& surface, int32_t newWidth, int32_t newHeight,
             bool alphaBlendAllowed, PixelBuffer& out) {
    const PixelBuffer& pixels = surface.Pixels();
    const int64_t width = std::abs(int64_t{newWidth});
    const int64_t height = std::abs(int64_t{newHeight});
    if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX) {
        return false;
    }
    const int32_t w = static_cast<int32_t>(width);
    const int32_t h = static_cast<int32_t>(height);
    const RECT whole = detail::WholeOf(pixels);
    const RECT full{0, 0, w, h};
    const Sampling sampling =
        surface.HighQualityInterpolation() ? Sampling::Bilinear : Sampling::Nearest;

    if (newWidth < 0 || newHeight < 0) {
        PixelBuffer mirrored;
        if (!detail::MirrorBits(pixels, whole, Mirror{newWidth < 0, newHeight < 0}, mirrored)) {
            return false;
        }
        if (w == pixels.Width() && h == pixels.Height()) {
            out.Swap(mirrored);
            return true;
        }
        return detail::StretchBits(mirrored, whole, w, h, full, sampling, out);
    }
    if (!alphaBlendAllowed || surface.HighQualityInterpolation()) {
        return detail::StretchBits(pixels, whole, w, h, full, sampling, out);
    }
    // Onto zeroed pixels at full strength AlphaBlend copies exactly.
    if (!out.Allocate(w, h)) {
        return false;
    }
    const BlendFunction function{255, surface.Alpha() > ENUM_ALPHA_TYPE::AlphaNone};
    return AlphaBlend(out, full, pixels, whole, function);
}

}  // namespace

bool API32bppDIB::Resize(int32_t NewWidth, int32_t NewHeight) {
    if (handle == 0) {
        return false;
    }
    if (NewWidth == 0) {
        NewWidth = Width();
    }
    if (NewHeight == 0) {
        NewHeight = Height();
    }
    if (NewWidth == Width() && NewHeight == Height()) {
        return true;
    }
    PixelBuffer result;
    if (!Repaint(*this, NewWidth, NewHeight, isAlphaBlendFriendly(), result)) {
        return false;
    }
    API32bppDIB temporary;
    if (!temporary.InitializeDIB(result.Width(), result.Height())) {
        return false;
    }
    CopySettingsTo(temporary);
    temporary.pixels.Swap(result);
    SwapDIBs(&temporary);
    return true;
}

bool API32bppDIB::TrimImage(bool Apply, int32_t Options, int32_t& X, int32_t& Y, int32_t& Width,
                            int32_t& Height) {
    if (handle == 0 || Options < 0) {
        return false;
    }
    if (Options == 0) {
        Options = 15;
    }
    const auto has = [Options](ENUM_TRIM_OPTIONS side) {
        return (Options & static_cast<int32_t>(side)) != 0;
    };
    const auto used = [](const uint8_t* p) { return p[3] != 0; };
    // The first used column of row y within left..right, or −1.
    const auto firstUsed = [&](int32_t y, int32_t left, int32_t right) {
        const uint8_t* p = pixels.Pixel(left, y);
        for (int32_t x = left; x <= right; ++x, p += 4) {
            if (used(p)) {
                return x;
            }
        }
        return -1;
    };
    const auto lastUsed = [&](int32_t y, int32_t left, int32_t right) {
        const uint8_t* p = pixels.Pixel(right, y);
        for (int32_t x = right; x >= left; --x, p -= 4) {
            if (used(p)) {
                return x;
            }
        }
        return -1;
    };

    // Each side is scanned within the limits the earlier scans found: top,
    // bottom, left, right. Columns are found row by row, which reads memory
    // in order and gives the same limit.
    int32_t top = 0;
    int32_t bottom = pixels.Height() - 1;
    int32_t left = 0;
    int32_t right = pixels.Width() - 1;
    bool empty = false;
    if (has(ENUM_TRIM_OPTIONS::TrimTop)) {
        while (top <= bottom && firstUsed(top, left, right) < 0) {
            ++top;
        }
        empty = top > bottom;
    }
    if (!empty && has(ENUM_TRIM_OPTIONS::TrimBottom)) {
        while (bottom >= top && firstUsed(bottom, left, right) < 0) {
            --bottom;
        }
        empty = bottom < top;
    }
    if (!empty && has(ENUM_TRIM_OPTIONS::TrimLeft)) {
        int32_t found = right + 1;
        for (int32_t y = top; y <= bottom && found > left; ++y) {
            const int32_t x = firstUsed(y, left, found - 1);
            if (x >= 0) {
                found = x;
            }
        }
        empty = found > right;
        left = found;
    }
    if (!empty && has(ENUM_TRIM_OPTIONS::TrimRight)) {
        int32_t found = left - 1;
        for (int32_t y = top; y <= bottom && found < right; ++y) {
            const int32_t x = lastUsed(y, found + 1, right);
            if (x >= 0) {
                found = x;
            }
        }
        empty = found < left;
        right = found;
    }
    if (empty) {
        X = Y = Width = Height = 0;
        return false;
    }
    X = left;
    Y = top;
    Width = right - left + 1;
    Height = bottom - top + 1;
    if (Apply && (Width != pixels.Width() || Height != pixels.Height())) {
        API32bppDIB temporary;
        if (!temporary.InitializeDIB(Width, Height)) {
            return false;
        }
        CopySettingsTo(temporary);
        detail::PutBits(pixels, RECT{left, top, right + 1, bottom + 1}, temporary.pixels, 0, 0);
        SwapDIBs(&temporary);
        X = 0;
        Y = 0;
    }
    return true;
}

bool API32bppDIB::CreateCheckerBoard(int32_t BlockSize, OLE_COLOR Color1, OLE_COLOR Color2) {
    if (handle == 0 || BlockSize < 1) {
        return false;
    }
    const int32_t width = pixels.Width();
    // The two rows of squares, one starting with each colour.
    std::unique_ptr<uint8_t[]> rows(new (std::nothrow) uint8_t[static_cast<size_t>(width) * 8]);
    if (!rows) {
        return false;
    }
    const Colour colours[2] = {ColourOf(Color1), ColourOf(Color2)};
    for (int32_t start = 0; start < 2; ++start) {
        uint8_t* p = rows.get() + static_cast<size_t>(start) * width * 4;
        for (int32_t x = 0; x < width; ++x, p += 4) {
            const Colour& c = colours[(start + x / BlockSize) % 2];
            p[0] = c.blue;
            p[1] = c.green;
            p[2] = c.red;
            p[3] = 255;
        }
    }
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        const int32_t start = (y / BlockSize) % 2;
        std::memcpy(pixels.Row(y), rows.get() + static_cast<size_t>(start) * width * 4,
                    static_cast<size_t>(width) * 4);
    }
    alpha = ENUM_ALPHA_TYPE::AlphaNone;
    imageType = ENUM_IMAGE_FORMAT::ImageCheckerBoard;
    return true;
}

bool API32bppDIB::MakeGrayScale(ENUM_GRAY_SCALE_FORMULAS Formula) {
    if (handle == 0 || Formula == ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone) {
        return false;
    }
    const std::unique_ptr<detail::GrayLevels> levels(new (std::nothrow)
                                                         detail::GrayLevels(Formula));
    if (!levels) {
        return false;
    }
    ForEachVisible(pixels, [&](uint8_t* p) {
        const uint8_t v = levels->BlueFirst(p);
        p[0] = p[1] = p[2] = v;
    });
    return true;
}

bool API32bppDIB::MakeImageInverse() {
    if (handle == 0) {
        return false;
    }
    ForEachVisible(pixels, [](uint8_t* p) {
        p[0] = static_cast<uint8_t>(p[3] - p[0]);
        p[1] = static_cast<uint8_t>(p[3] - p[1]);
        p[2] = static_cast<uint8_t>(p[3] - p[2]);
    });
    return true;
}

bool API32bppDIB::MakeTransparent(OLE_COLOR Color, bool FillInstead) {
    if (handle == 0) {
        return false;
    }
    const Colour c = ColourOf(Color);
    const uint8_t opaque[4] = {c.blue, c.green, c.red, 255};
    const uint8_t clear[4] = {0, 0, 0, 0};
    const uint8_t* match = FillInstead ? clear : opaque;
    const uint8_t* replacement = FillInstead ? opaque : clear;
    bool changed = false;
    const int32_t width = pixels.Width();
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        uint8_t* p = pixels.Row(y);
        for (int32_t x = 0; x < width; ++x, p += 4) {
            if (std::memcmp(p, match, 4) == 0) {
                std::memcpy(p, replacement, 4);
                changed = true;
            }
        }
    }
    if (!FillInstead) {
        if (changed) {
            // Alpha only rises: a picture with partial alpha keeps its type.
            alpha = std::max(alpha, ENUM_ALPHA_TYPE::AlphaSimple);
            if (imageType == ENUM_IMAGE_FORMAT::ImageBitmap) {
                imageType = ENUM_IMAGE_FORMAT::ImageBitmapPARGB;
            }
        }
        return true;
    }
    // The scan decides the alpha type afresh: it only ever raises the type it
    // is given, and any image type but −1 asks for the scan.
    ENUM_ALPHA_TYPE found = ENUM_ALPHA_TYPE::AlphaNone;
    ENUM_IMAGE_FORMAT scanned = ENUM_IMAGE_FORMAT::ImageNone;
    ValidateAlphaChannel(false, found, scanned);
    alpha = found;
    if (alpha == ENUM_ALPHA_TYPE::AlphaNone && (imageType == ENUM_IMAGE_FORMAT::ImageBitmapARGB ||
                                                imageType == ENUM_IMAGE_FORMAT::ImageBitmapPARGB)) {
        imageType = ENUM_IMAGE_FORMAT::ImageBitmap;
    }
    return true;
}

bool API32bppDIB::MirrorImage(bool MirrorX, bool MirrorY) {
    if (handle == 0) {
        return false;
    }
    if (!MirrorX && !MirrorY) {
        return true;
    }
    PixelBuffer mirrored;
    if (!detail::MirrorBits(pixels, detail::WholeOf(pixels), Mirror{MirrorX, MirrorY}, mirrored)) {
        return false;
    }
    // Copied back rather than swapped, so that BitsPointer stays valid.
    std::memcpy(pixels.Bits(), mirrored.Bits(), pixels.ByteSize());
    return true;
}

std::unique_ptr<API32bppDIB> API32bppDIB::CreateDropShadow(int32_t Depth, OLE_COLOR Color) const {
    if (handle == 0) {
        return nullptr;
    }
    const int32_t m = std::clamp(Depth, 0, 10) * 2;
    const int32_t width = pixels.Width();
    const int32_t height = pixels.Height();
    std::unique_ptr<API32bppDIB> shadow(new (std::nothrow) API32bppDIB);
    if (!shadow || !shadow->InitializeDIB(width + m, height + m)) {
        return nullptr;
    }
    shadow->capabilities = capabilities;
    shadow->highQualityInterpolation = highQualityInterpolation;

    // A box blur of the alpha bytes over an (m + 1)² window, each result
    // pixel (x, y) summing source columns x − m..x of rows y − m..y.
    // Column sums slide down the rows and a running sum slides across, so
    // the cost does not grow with the window.
    std::unique_ptr<int32_t[]> columns(new (std::nothrow) int32_t[static_cast<size_t>(width)]());
    if (!columns) {
        return nullptr;
    }
    const int32_t divisor = (m + 1) * (m + 1);
    const Colour c = ColourOf(Color);
    PixelBuffer& out = shadow->pixels;
    for (int32_t y = 0; y < height + m; ++y) {
        if (y < height) {
            const uint8_t* p = pixels.Row(y) + 3;
            for (int32_t x = 0; x < width; ++x, p += 4) {
                columns[static_cast<size_t>(x)] += *p;
            }
        }
        if (y - m - 1 >= 0 && y - m - 1 < height) {
            const uint8_t* p = pixels.Row(y - m - 1) + 3;
            for (int32_t x = 0; x < width; ++x, p += 4) {
                columns[static_cast<size_t>(x)] -= *p;
            }
        }
        uint8_t* d = out.Row(y);
        int32_t sum = 0;
        for (int32_t x = 0; x < width + m; ++x, d += 4) {
            if (x < width) {
                sum += columns[static_cast<size_t>(x)];
            }
            if (x - m - 1 >= 0 && x - m - 1 < width) {
                sum -= columns[static_cast<size_t>(x - m - 1)];
            }
            const int32_t v = sum / divisor;
            if (v >= 255) {
                d[0] = c.blue;
                d[1] = c.green;
                d[2] = c.red;
                d[3] = 255;
            } else if (v > 0) {
                d[0] = static_cast<uint8_t>(v * c.blue / 255);
                d[1] = static_cast<uint8_t>(v * c.green / 255);
                d[2] = static_cast<uint8_t>(v * c.red / 255);
                d[3] = static_cast<uint8_t>(v);
            }
        }
    }
    shadow->alpha = ENUM_ALPHA_TYPE::AlphaComplex;
    return shadow;
}

bool API32bppDIB::MakeLighterDarker(float Percent) {
    if (handle == 0) {
        return false;
    }
    if (!(Percent >= -100 && Percent <= 100)) {
        Percent = 0;
    }
    if (Percent != 0) {
        detail::LightAdjust(pixels, Percent);
    }
    return true;
}

bool API32bppDIB::BlendToColor(OLE_COLOR Color, int32_t Percent) {
    if (handle == 0) {
        return false;
    }
    if (Percent < 1) {
        return true;
    }
    Percent = std::min(Percent, 100);
    // Deliberate: the stored, premultiplied byte enters the mix and the mix
    // is scaled by alpha again, so a partly transparent pixel keeps less of
    // its own colour than an opaque one. Existing pictures look this way.
    int32_t kept[256];
    for (int32_t v = 0; v < 256; ++v) {
        kept[v] = (100 - Percent) * v;
    }
    const Colour c = ColourOf(Color);
    const int32_t blue = c.blue * Percent;
    const int32_t green = c.green * Percent;
    const int32_t red = c.red * Percent;
    ForEachVisible(pixels, [&](uint8_t* p) {
        const int32_t a = p[3];
        p[0] = static_cast<uint8_t>((kept[p[0]] + blue) * a / 25500);
        p[1] = static_cast<uint8_t>((kept[p[1]] + green) * a / 25500);
        p[2] = static_cast<uint8_t>((kept[p[2]] + red) * a / 25500);
    });
    return true;
}

std::vector<RECT> API32bppDIB::CreateRegion(ENUM_REGION_STYLES Style, int32_t OffsetX,
                                            int32_t OffsetY) const {
    std::vector<RECT> rects;
    const int32_t style = static_cast<int32_t>(Style);
    if (handle == 0 || style < 0 || style > 2) {
        return rects;
    }
    const int32_t width = pixels.Width();
    const int32_t height = pixels.Height();
    const auto add = [&](int64_t left, int64_t top, int64_t right, int64_t bottom) {
        const auto at = [](int64_t v) {
            return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
        };
        rects.push_back(
            RECT{at(left + OffsetX), at(top + OffsetY), at(right + OffsetX), at(bottom + OffsetY)});
    };
    if (alpha == ENUM_ALPHA_TYPE::AlphaNone) {
        add(0, 0, width, height);
        return rects;
    }

    int32_t boundLeft = width;
    int32_t boundRight = -1;
    int32_t boundTop = -1;
    int32_t boundBottom = -1;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = pixels.Row(y);
        const auto used = [row](int32_t x) { return row[static_cast<size_t>(x) * 4 + 3] != 0; };
        if (Style == ENUM_REGION_STYLES::RegionShaped) {
            for (int32_t x = 0; x < width;) {
                if (!used(x)) {
                    ++x;
                    continue;
                }
                const int32_t start = x;
                while (x < width && used(x)) {
                    ++x;
                }
                add(start, y, x, y + 1);
            }
            continue;
        }
        int32_t first = 0;
        while (first < width && !used(first)) {
            ++first;
        }
        if (first == width) {
            continue;
        }
        int32_t last = width - 1;
        while (!used(last)) {
            --last;
        }
        if (Style == ENUM_REGION_STYLES::RegionEnclosed) {
            add(first, y, last + 1, y + 1);
            continue;
        }
        boundLeft = std::min(boundLeft, first);
        boundRight = std::max(boundRight, last);
        if (boundTop < 0) {
            boundTop = y;
        }
        boundBottom = y;
    }
    if (Style == ENUM_REGION_STYLES::RegionBounds && boundTop >= 0) {
        add(boundLeft, boundTop, boundRight + 1, boundBottom + 1);
    }
    return rects;
}

void API32bppDIB::CopyImageTo(std::unique_ptr<API32bppDIB>& Destination, int32_t Width,
                              int32_t Height, bool CopyOriginal) const {
    if (handle == 0) {
        return;
    }
    if (Destination) {
        CopyImageTo(*Destination, Width, Height, CopyOriginal);
        return;
    }
    std::unique_ptr<API32bppDIB> fresh(new (std::nothrow) API32bppDIB);
    if (!fresh) {
        return;
    }
    fresh->token = token;
    fresh->SetIsGDIplusEnabled(isGDIplusEnabled());
    fresh->highQualityInterpolation = highQualityInterpolation;
    CopyImageTo(*fresh, Width, Height, CopyOriginal);
    if (fresh->handle != 0) {
        Destination = std::move(fresh);
    }
}

void API32bppDIB::CopyImageTo(API32bppDIB& Destination, int32_t Width, int32_t Height,
                              bool CopyOriginal) const {
    if (handle == 0) {
        return;
    }
    if (Width == 0) {
        Width = pixels.Width();
    }
    if (Height == 0) {
        Height = pixels.Height();
    }
    const bool sameSize = Width == pixels.Width() && Height == pixels.Height();
    if (&Destination == this && sameSize) {
        return;
    }
    // Taken before the destination is touched: it may be this surface.
    std::vector<uint8_t> original;
    if (CopyOriginal) {
        original = originalBytes;
    }
    const ENUM_ALPHA_TYPE alphaType = alpha;
    const ENUM_IMAGE_FORMAT type = imageType;
    PixelBuffer result;
    // AlphaBlend does not take part in copies.
    if (!sameSize && !Repaint(*this, Width, Height, false, result)) {
        return;
    }
    const int32_t width = sameSize ? pixels.Width() : result.Width();
    const int32_t height = sameSize ? pixels.Height() : result.Height();
    if (Destination.handle == 0 || Destination.pixels.Width() != width ||
        Destination.pixels.Height() != height) {
        if (!Destination.InitializeDIB(width, height)) {
            return;
        }
    }
    if (sameSize) {
        std::memcpy(Destination.pixels.Bits(), pixels.Bits(), pixels.ByteSize());
    } else {
        for (int32_t y = 0; y < height; ++y) {
            std::memcpy(Destination.pixels.Row(y), result.Row(y), static_cast<size_t>(width) * 4);
        }
    }
    Destination.alpha = alphaType;
    Destination.imageType = type;
    if (CopyOriginal) {
        Destination.originalBytes = std::move(original);
    }
}

void API32bppDIB::SwapDIBs(API32bppDIB* Other) {
    if (Other == nullptr || Other == this) {
        return;
    }
    pixels.Swap(Other->pixels);
    std::swap(handle, Other->handle);
    std::swap(alpha, Other->alpha);
    std::swap(imageType, Other->imageType);
    std::swap(originalBytes, Other->originalBytes);
}

}  // namespace kelvara
