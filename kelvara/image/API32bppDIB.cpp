#include "kelvara/image/API32bppDIB.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "kelvara/image/APIGDIPlus.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/bmp/APIBMPParser.h"
#include "kelvara/image/gif/APIGIFParser.h"
#include "kelvara/image/ico/APIICOParser.h"
#include "kelvara/image/jpeg/APIJPGWriter.h"
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
    if (newWidth < 0 || newHeight == 0 || newHeight == INT32_MIN) {
        return false;
    }
    if (newHeight < 0) {
        newHeight = -newHeight;
    }
    // The byte size must fit 32 bits; anything larger fails quietly.
    if (int64_t{newWidth} * int64_t{newHeight} > INT32_MAX / 4) {
        return false;
    }
    if (!pixels.Allocate(newWidth, newHeight, RowOrder::BottomUp)) {
        return false;
    }
    handle = NextHandle();
    EraseDIB();
    return true;
}

bool API32bppDIB::InitializeOpaque(const PixelBuffer& from) {
    if (!InitializeDIB(from.Width(), from.Height())) {
        return false;
    }
    const size_t bytes = static_cast<size_t>(from.Width()) * 4;
    for (int32_t y = 0; y < from.Height(); ++y) {
        std::copy_n(from.Row(y), bytes, pixels.Row(y));
    }
    SetAlpha(ENUM_ALPHA_TYPE::AlphaNone);
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

// --- Loading ----------------------------------------------------------------

namespace {

// Closes a file when it leaves scope.
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// The size of an open file; -1 when it cannot be told or passes 32 bits.
int64_t FileSize(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return -1;
    }
    const long size = std::ftell(file);
    if (size < 0 || size > INT32_MAX || std::fseek(file, 0, SEEK_SET) != 0) {
        return -1;
    }
    return size;
}

bool ReadWholeFile(std::FILE* file, std::vector<uint8_t>& bytes) {
    const int64_t size = FileSize(file);
    if (size < 0) {
        return false;
    }
    bytes.resize(static_cast<size_t>(size));
    return std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

}  // namespace

bool API32bppDIB::LoadPicture_File(const std::string& FileName, int32_t iconCx, int32_t iconCy,
                                   bool KeepOriginal, int32_t iconBitDepth) {
    DestroyDIB();
    FileHandle file(std::fopen(FileName.c_str(), "rb"));
    if (!file) {
        return false;
    }
    // Deliberate: a file of 56 bytes or less is never shown to the readers,
    // even when it would be a valid picture.
    if (FileSize(file.get()) <= kSmallestFile) {
        return false;
    }
    return LoadPictureCore(file.get(), {}, iconCx, iconCy, KeepOriginal, iconBitDepth);
}

bool API32bppDIB::LoadPicture_Stream(std::span<const uint8_t> Stream, int32_t iconCx,
                                     int32_t iconCy, int32_t StreamStart, int32_t StreamLength,
                                     bool KeepOriginal, int32_t iconBitDepth) {
    DestroyDIB();
    if (Stream.empty() || StreamLength < 0) {
        return false;
    }
    const int64_t start = std::max<int64_t>(StreamStart, 0);
    if (start >= static_cast<int64_t>(Stream.size())) {
        return false;
    }
    const int64_t available = static_cast<int64_t>(Stream.size()) - start;
    const int64_t length = StreamLength == 0 ? available : StreamLength;
    if (length > available || length < kSmallestStream) {
        return false;
    }
    return LoadPictureCore(nullptr,
                           Stream.subspan(static_cast<size_t>(start), static_cast<size_t>(length)),
                           iconCx, iconCy, KeepOriginal, iconBitDepth);
}

bool API32bppDIB::LoadPicture_FromOrignalFormat(int32_t iconCx, int32_t iconCy,
                                                int32_t iconBitDepth) {
    // Loading destroys the original bytes, so the copy comes first.
    const std::vector<uint8_t> original = originalBytes;
    return LoadPicture_Stream(original, iconCx, iconCy, 0, 0, true, iconBitDepth);
}

bool API32bppDIB::LoadPictureCore(std::FILE* file, std::span<const uint8_t> bytes, int32_t iconCx,
                                  int32_t iconCy, bool KeepOriginal, int32_t iconBitDepth) {
    DestroyDIB();
    iconCx = std::max(iconCx, 0);
    iconCy = std::max(iconCy, 0);
    if (iconBitDepth < 0 || iconBitDepth > 32) {
        iconBitDepth = 32;
    }

    bool loaded = file != nullptr ? APIPNGParser().LoadFile(file, *this)
                                  : APIPNGParser().LoadStream(bytes, *this);

    // The other readers all work on bytes in memory.
    std::vector<uint8_t> fileBytes;
    if (!loaded && file != nullptr) {
        if (!ReadWholeFile(file, fileBytes)) {
            DestroyDIB();
            return false;
        }
        bytes = fileBytes;
    }
    if (!loaded) {
        loaded = APIGIFParser().LoadStream(bytes, *this);
    }
    if (!loaded) {
        loaded = APIICOParser().LoadStream(bytes, *this, iconCx, iconCy, iconBitDepth);
    }
    if (!loaded) {
        loaded = APIBMPParser().LoadStream(bytes, *this);
    }
    // No GDI+ here: nothing further decodes what the readers declined.
    if (handle == 0) {
        DestroyDIB();
        return false;
    }
    if (KeepOriginal) {
        if (!bytes.empty()) {
            originalBytes.assign(bytes.begin(), bytes.end());
        } else if (file != nullptr && std::fseek(file, 0, SEEK_SET) == 0) {
            ReadWholeFile(file, originalBytes);
        }
    }
    return true;
}

bool API32bppDIB::GetOrginalFormat(std::vector<uint8_t>& Out) const {
    if (originalBytes.empty()) {
        return false;
    }
    Out = originalBytes;
    return true;
}

int32_t API32bppDIB::SourceIconSizes(std::vector<IconSize>& Sizes) const {
    Sizes = APIICOParser::IconSizes(originalBytes);
    return static_cast<int32_t>(Sizes.size());
}

// --- Saving -----------------------------------------------------------------

namespace {

bool WriteFile(const std::string& fileName, const std::vector<uint8_t>& bytes) {
    FileHandle file(std::fopen(fileName.c_str(), "wb"));
    if (!file) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    return std::fclose(file.release()) == 0 && written;
}

}  // namespace

bool API32bppDIB::SaveToStream_PNG(std::vector<uint8_t>& Out, int32_t FillColor) const {
    if (handle == 0) {
        return false;
    }
    // Without GDI+ our own writer is the only one, with properties or not.
    if (pngProperties) {
        return pngProperties->SavePNG(*this, Out, FillColor);
    }
    return APIPNGWriter().SavePNG(*this, Out, FillColor);
}

bool API32bppDIB::SaveToFile_PNG(const std::string& FileName, int32_t FillColor) const {
    std::vector<uint8_t> bytes;
    return SaveToStream_PNG(bytes, FillColor) && WriteFile(FileName, bytes);
}

bool API32bppDIB::SaveToStream_Bitmap(std::vector<uint8_t>& Out, int32_t FillColor,
                                      bool WithAlpha) const {
    if (handle == 0) {
        return false;
    }
    Out.clear();
    return APIBMPParser::SaveToStream(*this, Out, FillColor, WithAlpha);
}

bool API32bppDIB::SaveToFile_Bitmap(const std::string& FileName, int32_t FillColor,
                                    bool WithAlpha) const {
    std::vector<uint8_t> bytes;
    return handle != 0 && APIBMPParser::SaveToStream(*this, bytes, FillColor, WithAlpha) &&
           WriteFile(FileName, bytes);
}

bool API32bppDIB::SaveToStream_GIF(std::vector<uint8_t>& Out, int32_t FillColor,
                                   bool UseTransparency) const {
    return handle != 0 && APIGIFParser::SaveToStream(*this, Out, FillColor, UseTransparency);
}

bool API32bppDIB::SaveToFile_GIF(const std::string& FileName, int32_t FillColor,
                                 bool UseTransparency) const {
    std::vector<uint8_t> bytes;
    return handle != 0 && APIGIFParser::SaveToStream(*this, bytes, FillColor, UseTransparency) &&
           WriteFile(FileName, bytes);
}

bool API32bppDIB::SaveToStream_JPG(std::vector<uint8_t>& Out, uint8_t Quality,
                                   int32_t FillColor) const {
    // Without GDI+ our own writer is the only one.
    return handle != 0 && APIJPGWriter().SaveJPG(*this, Out, Quality, FillColor);
}

bool API32bppDIB::SaveToFile_JPG(const std::string& FileName, uint8_t Quality,
                                 int32_t FillColor) const {
    std::vector<uint8_t> bytes;
    return SaveToStream_JPG(bytes, Quality, FillColor) && WriteFile(FileName, bytes);
}

bool API32bppDIB::PngPropertySet(int32_t Property, const Variant& Value,
                                 const std::string& Keyword) {
    if (Property == -1) {
        pngProperties.reset();
        return true;
    }
    if (!pngProperties) {
        pngProperties = std::make_unique<APIPNGWriter>();
    }
    return pngProperties->SetProperty(Property, Value, Keyword);
}

Variant API32bppDIB::PngPropertyGet(int32_t Property, const std::string& Keyword) const {
    if (!pngProperties) {
        return APIPNGWriter::EmptyProperty(Property);
    }
    return pngProperties->GetProperty(Property, Keyword);
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

// --- Single pixels --------------------------------------------------------

int32_t API32bppDIB::GetPixel(int32_t X, int32_t Y, uint8_t* Alpha, bool PreMultiplied) const {
    if (handle == 0 || !pixels.Contains(X, Y)) {
        return -1;
    }
    const uint8_t* px = pixels.Pixel(X, Y);
    const uint32_t a = px[3];
    uint32_t blue = px[0], green = px[1], red = px[2];
    if (!PreMultiplied && a != 0 && a != 255) {
        blue = blue * 255 / a;
        green = green * 255 / a;
        red = red * 255 / a;
    }
    if (Alpha != nullptr) {
        *Alpha = static_cast<uint8_t>(a);
    }
    return static_cast<int32_t>(red | (green << 8) | (blue << 16));
}

uint8_t* API32bppDIB::SetPixel(int32_t X, int32_t Y, OLE_COLOR Color, int32_t Alpha,
                               bool PreMultiplied) {
    if (handle == 0 || Alpha < 0 || Alpha > 255 || !pixels.Contains(X, Y)) {
        return nullptr;
    }
    uint8_t* px = pixels.Pixel(X, Y);
    if (Alpha == 0) {
        px[0] = px[1] = px[2] = px[3] = 0;
        alpha = ENUM_ALPHA_TYPE::AlphaComplex;
        return px;
    }
    const uint32_t a = static_cast<uint32_t>(Alpha);
    const uint32_t colour[3] = {(Color >> 16) & 0xFF, (Color >> 8) & 0xFF, Color & 0xFF};
    for (int i = 0; i < 3; ++i) {
        uint32_t c = colour[i];
        if (PreMultiplied || a == 255) {
            // Deliberate: an already premultiplied byte that breaks the rule
            // is scaled down; one that keeps it stays as given.
            if (c > a) {
                c = c * a / 255;
            }
        } else {
            c = c * a / 255;
        }
        px[i] = static_cast<uint8_t>(c);
    }
    px[3] = static_cast<uint8_t>(a);
    if (a != 255) {
        alpha = ENUM_ALPHA_TYPE::AlphaComplex;
    }
    return px;
}

// --- Blocks of pixels ------------------------------------------------------

namespace {

// The part of the picture a block copy covers, after clipping; empty when
// nothing is left.
struct BlockRect {
    int32_t x = 0, y = 0, width = 0, height = 0;
};

bool ClipBlock(const PixelBuffer& pixels, int32_t X, int32_t Y, int32_t Width, int32_t Height,
               BlockRect& block) {
    if (X < 0 || Y < 0 || Width < 0 || Height < 0 || X >= pixels.Width() || Y >= pixels.Height()) {
        return false;
    }
    block.x = X;
    block.y = Y;
    block.width = Width == 0 ? pixels.Width() - X : std::min(Width, pixels.Width() - X);
    block.height = Height == 0 ? pixels.Height() - Y : std::min(Height, pixels.Height() - Y);
    return block.width > 0 && block.height > 0;
}

int32_t BlockRowBytes(const DIBBitsLayout& layout, int32_t width) {
    if (layout.WithAlpha) {
        return width * 4;
    }
    return layout.DwordAligned ? ScanlineBytes(24, width) : width * 3;
}

// The array row that holds picture row `row` of the block.
int32_t ArrayRow(const DIBBitsLayout& layout, const BlockRect& block, int32_t row) {
    return layout.TopDown ? row : block.height - 1 - row;
}

}  // namespace

bool API32bppDIB::GetDIBbits(std::vector<uint8_t>& Out, const DIBBitsLayout& Layout, int32_t X,
                             int32_t Y, int32_t Width, int32_t Height) const {
    BlockRect block;
    if (handle == 0 || !ClipBlock(pixels, X, Y, Width, Height, block)) {
        return false;
    }
    const int32_t rowBytes = BlockRowBytes(Layout, block.width);
    const bool wholePicture = block.width == pixels.Width() && block.height == pixels.Height();
    if (Layout.WithAlpha && Layout.PreMultiplied && !Layout.TopDown && !Layout.RGBOrder &&
        wholePicture) {
        Out.assign(pixels.Bits(), pixels.Bits() + pixels.ByteSize());
        return true;
    }
    Out.assign(static_cast<size_t>(rowBytes) * static_cast<size_t>(block.height), 0);
    const int bytesPerPixel = Layout.WithAlpha ? 4 : 3;
    const int blue = Layout.RGBOrder ? 2 : 0;
    const int red = Layout.RGBOrder ? 0 : 2;
    for (int32_t row = 0; row < block.height; ++row) {
        const uint8_t* src = pixels.Pixel(block.x, block.y + row);
        uint8_t* dst = Out.data() + static_cast<size_t>(ArrayRow(Layout, block, row)) * rowBytes;
        for (int32_t x = 0; x < block.width; ++x, src += 4, dst += bytesPerPixel) {
            const uint32_t a = src[3];
            uint32_t b = src[0], g = src[1], r = src[2];
            if (!Layout.PreMultiplied && a != 255) {
                if (a == 0) {
                    continue;  // stays zero
                }
                b = b * 255 / a;
                g = g * 255 / a;
                r = r * 255 / a;
            }
            dst[blue] = static_cast<uint8_t>(b);
            dst[1] = static_cast<uint8_t>(g);
            dst[red] = static_cast<uint8_t>(r);
            if (bytesPerPixel == 4) {
                dst[3] = static_cast<uint8_t>(a);
            }
        }
    }
    return true;
}

bool API32bppDIB::SetDIBbits(std::span<const uint8_t> Bits, const DIBBitsLayout& Layout, int32_t X,
                             int32_t Y, int32_t Width, int32_t Height) {
    BlockRect block;
    if (handle == 0 || !ClipBlock(pixels, X, Y, Width, Height, block)) {
        return false;
    }
    const int32_t rowBytes = BlockRowBytes(Layout, block.width);
    if (Bits.size() < static_cast<size_t>(rowBytes) * static_cast<size_t>(block.height)) {
        return false;
    }
    const int bytesPerPixel = Layout.WithAlpha ? 4 : 3;
    const int blue = Layout.RGBOrder ? 2 : 0;
    const int red = Layout.RGBOrder ? 0 : 2;
    for (int32_t row = 0; row < block.height; ++row) {
        const uint8_t* src =
            Bits.data() + static_cast<size_t>(ArrayRow(Layout, block, row)) * rowBytes;
        uint8_t* dst = pixels.Pixel(block.x, block.y + row);
        for (int32_t x = 0; x < block.width; ++x, src += bytesPerPixel, dst += 4) {
            const uint32_t a = bytesPerPixel == 4 ? src[3] : 255;
            uint32_t b = src[blue], g = src[1], r = src[red];
            if (!Layout.PreMultiplied && a != 255) {
                b = b * a / 255;
                g = g * a / 255;
                r = r * a / 255;
            }
            dst[0] = static_cast<uint8_t>(b);
            dst[1] = static_cast<uint8_t>(g);
            dst[2] = static_cast<uint8_t>(r);
            dst[3] = static_cast<uint8_t>(a);
        }
    }
    // The new pixels decide what kind of alpha the surface now has.
    ENUM_ALPHA_TYPE kind = ENUM_ALPHA_TYPE::AlphaNone;
    ENUM_IMAGE_FORMAT type = imageType;
    ValidateAlphaChannel(true, kind, type);
    alpha = kind;
    imageType = type;
    return true;
}

bool API32bppDIB::GetAlphaMask(std::vector<uint8_t>& Out, bool DwordAligned, bool TopDown,
                               int32_t X, int32_t Y, int32_t Width, int32_t Height) const {
    BlockRect block;
    if (handle == 0 || !ClipBlock(pixels, X, Y, Width, Height, block)) {
        return false;
    }
    const int32_t rowBytes = DwordAligned ? ScanlineBytes(8, block.width) : block.width;
    Out.assign(static_cast<size_t>(rowBytes) * static_cast<size_t>(block.height), 0);
    for (int32_t row = 0; row < block.height; ++row) {
        const uint8_t* src = pixels.Pixel(block.x, block.y + row) + 3;
        const int32_t arrayRow = TopDown ? row : block.height - 1 - row;
        uint8_t* dst = Out.data() + static_cast<size_t>(arrayRow) * rowBytes;
        for (int32_t x = 0; x < block.width; ++x, src += 4) {
            dst[x] = *src;
        }
    }
    return true;
}

void API32bppDIB::ScaleImage(int32_t DestWidth, int32_t DestHeight, int32_t& NewWidth,
                             int32_t& NewHeight, ENUM_SCALE_OPTIONS ScaleOption) const {
    if (handle == 0) {
        return;
    }
    switch (ScaleOption) {
        case ENUM_SCALE_OPTIONS::ScaleToSize:
        case ENUM_SCALE_OPTIONS::ScaleDownAsNeeded: {
            float xRatio = static_cast<float>(DestWidth) / static_cast<float>(Width());
            float yRatio = static_cast<float>(DestHeight) / static_cast<float>(Height());
            if (ScaleOption == ENUM_SCALE_OPTIONS::ScaleDownAsNeeded && xRatio >= 1 &&
                yRatio >= 1) {
                xRatio = yRatio = 1;
            }
            const double ratio = std::min(xRatio, yRatio);
            NewWidth = static_cast<int32_t>(std::floor(ratio * Width()));
            NewHeight = static_cast<int32_t>(std::floor(ratio * Height()));
            break;
        }
        case ENUM_SCALE_OPTIONS::ScaleStretched:
            NewWidth = DestWidth;
            NewHeight = DestHeight;
            break;
        default:
            NewWidth = Width();
            NewHeight = Height();
            break;
    }
}

}  // namespace kelvara
