#include "kelvara/image/API32bppDIB.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

namespace kelvara {
namespace {

using Pixel = std::array<uint8_t, 4>;  // blue, green, red, alpha as stored

// A surface of the given pixels, listed top row first.
void Fill(API32bppDIB& dib, int32_t width, int32_t height, const std::vector<Pixel>& pixels) {
    ASSERT_TRUE(dib.InitializeDIB(width, height));
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const Pixel& p = pixels[static_cast<size_t>(y * width + x)];
            std::copy(p.begin(), p.end(), dib.Pixels().Pixel(x, y));
        }
    }
}

Pixel At(const API32bppDIB& dib, int32_t x, int32_t y) {
    const uint8_t* p = dib.Pixels().Pixel(x, y);
    return {p[0], p[1], p[2], p[3]};
}

// A premultiplied surface of random pixels.
void FillRandom(API32bppDIB& dib, int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<Pixel> pixels;
    for (int32_t i = 0; i < width * height; ++i) {
        const uint8_t a = static_cast<uint8_t>(random() % 4 == 0 ? 0 : random() % 256);
        auto channel = [&] { return static_cast<uint8_t>(a == 0 ? 0 : random() % (a + 1u)); };
        pixels.push_back({channel(), channel(), channel(), a});
    }
    Fill(dib, width, height, pixels);
}

// A 1×1 bitmap with a core header: 30 bytes, blue-green-red 10, 20, 30.
std::vector<uint8_t> TinyBitmap(size_t paddedTo = 30) {
    std::vector<uint8_t> bytes = {'B', 'M', 30, 0, 0, 0, 0, 0, 0, 0, 26, 0, 0, 0,  // file
                                  12,  0,   0,  0, 1, 0, 1, 0, 1, 0, 24, 0,        // core
                                  10,  20,  30, 0};                                // pixels
    bytes.resize(std::max(paddedTo, bytes.size()), 0);
    return bytes;
}

std::string WriteTemp(const std::string& name, const std::vector<uint8_t>& bytes) {
    const std::string path = (std::filesystem::temp_directory_path() / name).string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path;
}

TEST(API32bppDIB, FreshErasedAndDestroyedSurfacesReportTheirState) {
    API32bppDIB dib;
    EXPECT_EQ(dib.Handle(), 0u);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
    EXPECT_EQ(dib.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
    EXPECT_FALSE(dib.HighQualityInterpolation());  // no GDI+ to make it stick
    EXPECT_TRUE(dib.isAlphaBlendFriendly());
    EXPECT_FALSE(dib.isGDIplusEnabled());

    ASSERT_TRUE(dib.InitializeDIB(3, 2));
    EXPECT_NE(dib.Handle(), 0u);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageNone);
    EXPECT_EQ(dib.Alpha(), ENUM_ALPHA_TYPE::AlphaSimple);
    EXPECT_EQ(dib.scanWidth(), 12);

    dib.DestroyDIB();
    EXPECT_EQ(dib.Handle(), 0u);
    EXPECT_EQ(dib.Width(), 0);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
}

TEST(API32bppDIB, InitializeDIBChecksItsSizes) {
    struct Case {
        int32_t width, height;
        bool ok;
        int32_t wantHeight;
    } cases[] = {
        {3, 2, true, 2},  {3, -2, true, 2},         {0, 5, false, 0},        {-1, 5, false, 0},
        {5, 0, false, 0}, {40000, 40000, false, 0}, {65536, 8192, false, 0},  // exactly 2^31 bytes:
                                                                              // one past the 32-bit
                                                                              // count
    };
    for (const Case& c : cases) {
        API32bppDIB dib;
        EXPECT_EQ(dib.InitializeDIB(c.width, c.height), c.ok) << c.width << "×" << c.height;
        EXPECT_EQ(dib.Height(), c.wantHeight);
        EXPECT_EQ(dib.Handle() != 0, c.ok);
    }
}

TEST(API32bppDIB, RowsAreStoredBottomUp) {
    API32bppDIB dib;
    Fill(dib, 1, 2, {{1, 2, 3, 255}, {4, 5, 6, 255}});
    const uint8_t* bits = dib.BitsPointer();
    EXPECT_EQ(bits[0], 4);  // the first row in memory is the bottom row
    EXPECT_EQ(bits[4], 1);
}

TEST(API32bppDIB, GetPixelRestoresColourByTruncatingDivision) {
    API32bppDIB dib;
    Fill(dib, 3, 1, {{16, 32, 64, 128}, {9, 8, 7, 255}, {0, 0, 0, 0}});
    uint8_t alpha = 0;
    EXPECT_EQ(dib.GetPixel(0, 0, &alpha, false), 127 + 63 * 256 + 31 * 65536);
    EXPECT_EQ(alpha, 128);
    EXPECT_EQ(dib.GetPixel(0, 0, nullptr, true), 64 + 32 * 256 + 16 * 65536);
    EXPECT_EQ(dib.GetPixel(1, 0, nullptr, false), 7 + 8 * 256 + 9 * 65536);
    EXPECT_EQ(dib.GetPixel(2, 0, &alpha, false), 0);
    EXPECT_EQ(alpha, 0);
    for (auto [x, y] : {std::pair{-1, 0}, {3, 0}, {0, 1}, {0, -1}}) {
        EXPECT_EQ(dib.GetPixel(x, y), -1) << x << "," << y;
    }
}

TEST(API32bppDIB, SetPixelKeepsColoursPremultiplied) {
    struct Case {
        OLE_COLOR color;
        int32_t alpha;
        bool premultiplied;
        Pixel want;
        ENUM_ALPHA_TYPE wantKind;
    } cases[] = {
        // red 200, green 100, blue 50
        {0x3264C8, 255, true, {50, 100, 200, 255}, ENUM_ALPHA_TYPE::AlphaSimple},
        {0x3264C8, 255, false, {50, 100, 200, 255}, ENUM_ALPHA_TYPE::AlphaSimple},
        // premultiplied: only the bytes above alpha are scaled
        {0x3264C8, 128, true, {50, 100, 200 * 128 / 255, 128}, ENUM_ALPHA_TYPE::AlphaComplex},
        // not premultiplied: every byte is scaled
        {0x3264C8,
         128,
         false,
         {50 * 128 / 255, 100 * 128 / 255, 200 * 128 / 255, 128},
         ENUM_ALPHA_TYPE::AlphaComplex},
        {0x3264C8, 0, false, {0, 0, 0, 0}, ENUM_ALPHA_TYPE::AlphaComplex},
    };
    for (const Case& c : cases) {
        API32bppDIB dib;
        ASSERT_TRUE(dib.InitializeDIB(2, 2));
        ASSERT_NE(dib.SetPixel(1, 0, c.color, c.alpha, c.premultiplied), nullptr);
        EXPECT_EQ(At(dib, 1, 0), c.want) << "alpha " << c.alpha;
        EXPECT_EQ(dib.Alpha(), c.wantKind) << "alpha " << c.alpha;
    }
    API32bppDIB dib;
    ASSERT_TRUE(dib.InitializeDIB(2, 2));
    EXPECT_EQ(dib.SetPixel(0, 0, 0, 256), nullptr);
    EXPECT_EQ(dib.SetPixel(0, 0, 0, -1), nullptr);
    EXPECT_EQ(dib.SetPixel(2, 0, 0, 255), nullptr);
}

TEST(API32bppDIB, ValidateAlphaChannelClassifiesPixels) {
    using enum ENUM_IMAGE_FORMAT;
    using enum ENUM_ALPHA_TYPE;
    struct Case {
        const char* name;
        std::vector<Pixel> pixels;  // 2×1
        ENUM_IMAGE_FORMAT typeIn;
        ENUM_IMAGE_FORMAT wantType;
        ENUM_ALPHA_TYPE wantKind;
        std::vector<Pixel> wantPixels;
    } cases[] = {
        {"all opaque",
         {{1, 2, 3, 255}, {4, 5, 6, 255}},
         ImageNone,
         ImageBitmap,
         AlphaNone,
         {{1, 2, 3, 255}, {4, 5, 6, 255}}},
        {"all zero alpha is an opaque picture",
         {{1, 2, 3, 0}, {4, 5, 6, 0}},
         ImageNone,
         ImageBitmap,
         AlphaNone,
         {{1, 2, 3, 255}, {4, 5, 6, 255}}},
        {"known opaque skips the scan",
         {{1, 2, 3, 7}, {4, 5, 6, 0}},
         ImageError,
         ImageBitmap,
         AlphaNone,
         {{1, 2, 3, 255}, {4, 5, 6, 255}}},
        {"premultiplied with partial alpha",
         {{1, 2, 3, 128}, {0, 0, 0, 0}},
         ImageNone,
         ImageBitmapPARGB,
         AlphaComplex,
         {{1, 2, 3, 128}, {0, 0, 0, 0}}},
        {"premultiplied with holes",
         {{1, 2, 3, 255}, {0, 0, 0, 0}},
         ImageNone,
         ImageBitmapPARGB,
         AlphaSimple,
         {{1, 2, 3, 255}, {0, 0, 0, 0}}},
        {"colour above alpha",
         {{200, 100, 50, 128}, {1, 1, 1, 255}},
         ImageNone,
         ImageBitmapARGB,
         AlphaComplex,
         {{200 * 128 / 255, 100 * 128 / 255, 50 * 128 / 255, 128}, {1, 1, 1, 255}}},
        {"colour under zero alpha",
         {{9, 9, 9, 0}, {1, 1, 1, 255}},
         ImageNone,
         ImageBitmapARGB,
         AlphaSimple,
         {{0, 0, 0, 0}, {1, 1, 1, 255}}},
    };
    for (const Case& c : cases) {
        API32bppDIB dib;
        Fill(dib, 2, 1, c.pixels);
        ENUM_ALPHA_TYPE kind = AlphaNone;
        ENUM_IMAGE_FORMAT type = c.typeIn;
        dib.ValidateAlphaChannel(true, kind, type);
        EXPECT_EQ(type, c.wantType) << c.name;
        EXPECT_EQ(kind, c.wantKind) << c.name;
        EXPECT_EQ(At(dib, 0, 0), c.wantPixels[0]) << c.name;
        EXPECT_EQ(At(dib, 1, 0), c.wantPixels[1]) << c.name;
    }
}

TEST(API32bppDIB, DIBbitsRoundTripInEveryPremultipliedLayout) {
    API32bppDIB source;
    FillRandom(source, 7, 5, 1);
    for (int bits = 0; bits < 16; ++bits) {
        DIBBitsLayout layout;
        layout.WithAlpha = true;
        layout.DwordAligned = bits & 1;
        layout.TopDown = bits & 2;
        layout.RGBOrder = bits & 4;
        layout.PreMultiplied = true;
        std::vector<uint8_t> array;
        ASSERT_TRUE(source.GetDIBbits(array, layout));
        EXPECT_EQ(array.size(), 7u * 5 * 4);
        API32bppDIB copy;
        ASSERT_TRUE(copy.InitializeDIB(7, 5));
        ASSERT_TRUE(copy.SetDIBbits(array, layout));
        EXPECT_EQ(std::memcmp(copy.BitsPointer(), source.BitsPointer(), 7 * 5 * 4), 0)
            << "layout " << bits;
    }
}

TEST(API32bppDIB, GetDIBbitsLaysOutRowsAndChannelsAsAsked) {
    API32bppDIB dib;
    // top row: opaque (3,2,1) and half-transparent (32,16,8)@128; bottom: two clear
    Fill(dib, 2, 2, {{1, 2, 3, 255}, {8, 16, 32, 128}, {0, 0, 0, 0}, {0, 0, 0, 0}});
    std::vector<uint8_t> out;

    DIBBitsLayout rgbTopDown{.PreMultiplied = false,
                             .WithAlpha = false,
                             .DwordAligned = true,
                             .TopDown = true,
                             .RGBOrder = true};
    ASSERT_TRUE(dib.GetDIBbits(out, rgbTopDown));
    const std::vector<uint8_t> want = {3, 2, 1, 63, 31, 15, 0, 0,  // row padded to 8 bytes
                                       0, 0, 0, 0,  0,  0,  0, 0};
    EXPECT_EQ(out, want);

    ASSERT_TRUE(dib.GetDIBbits(out, {.WithAlpha = true}, 1, 0, 5, 5));   // clipped to 1×2
    EXPECT_EQ(out, (std::vector<uint8_t>{0, 0, 0, 0, 8, 16, 32, 128}));  // bottom-up

    EXPECT_FALSE(dib.GetDIBbits(out, {}, 2, 0));
    EXPECT_FALSE(dib.GetDIBbits(out, {}, -1, 0));

    ASSERT_TRUE(dib.GetAlphaMask(out, true, true));
    EXPECT_EQ(out, (std::vector<uint8_t>{255, 128, 0, 0, 0, 0, 0, 0}));
}

TEST(API32bppDIB, SetDIBbitsPremultipliesAndRefreshesAlpha) {
    API32bppDIB dib;
    ASSERT_TRUE(dib.InitializeDIB(2, 1));
    const std::vector<uint8_t> straight = {200, 100, 50, 128, 1, 2, 3, 255};
    EXPECT_FALSE(dib.SetDIBbits(std::span(straight).first(7), {.PreMultiplied = false}));
    ASSERT_TRUE(dib.SetDIBbits(straight, {.PreMultiplied = false}));
    EXPECT_EQ(At(dib, 0, 0), (Pixel{200 * 128 / 255, 100 * 128 / 255, 50 * 128 / 255, 128}));
    EXPECT_EQ(dib.Alpha(), ENUM_ALPHA_TYPE::AlphaComplex);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageBitmapPARGB);

    const std::vector<uint8_t> opaque = {1, 2, 3, 4, 5, 6};
    ASSERT_TRUE(dib.SetDIBbits(opaque, {.WithAlpha = false}));
    EXPECT_EQ(At(dib, 1, 0), (Pixel{4, 5, 6, 255}));
    EXPECT_EQ(dib.Alpha(), ENUM_ALPHA_TYPE::AlphaNone);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageBitmap);
}

TEST(API32bppDIB, ScaleImageKeepsAspectAndOptions) {
    struct Case {
        int32_t width, height, destWidth, destHeight;
        ENUM_SCALE_OPTIONS option;
        int32_t wantWidth, wantHeight;
    } cases[] = {
        {10, 10, 40, 40, ENUM_SCALE_OPTIONS::ScaleDownAsNeeded, 10, 10},
        {10, 10, 5, 40, ENUM_SCALE_OPTIONS::ScaleDownAsNeeded, 5, 5},
        {10, 10, 40, 40, ENUM_SCALE_OPTIONS::ScaleToSize, 40, 40},
        {20, 10, 30, 30, ENUM_SCALE_OPTIONS::ScaleToSize, 30, 15},
        {3, 7, 10, 10, ENUM_SCALE_OPTIONS::ScaleToSize, 4, 10},  // floor of 4.28
        {20, 10, 7, 9, ENUM_SCALE_OPTIONS::ScaleStretched, 7, 9},
        {20, 10, 7, 9, static_cast<ENUM_SCALE_OPTIONS>(9), 20, 10},
    };
    for (const Case& c : cases) {
        API32bppDIB dib;
        ASSERT_TRUE(dib.InitializeDIB(c.width, c.height));
        int32_t w = -1, h = -1;
        dib.ScaleImage(c.destWidth, c.destHeight, w, h, c.option);
        EXPECT_EQ(w, c.wantWidth) << c.width << "×" << c.height << " → " << c.destWidth;
        EXPECT_EQ(h, c.wantHeight) << c.width << "×" << c.height << " → " << c.destHeight;
    }
}

TEST(API32bppDIB, FilesOf56BytesOrLessAreNeverRead) {
    API32bppDIB dib;
    const std::string small = WriteTemp("kelvara-dib-56.bmp", TinyBitmap(56));
    const std::string large = WriteTemp("kelvara-dib-57.bmp", TinyBitmap(57));
    EXPECT_FALSE(dib.LoadPicture_File(small));
    EXPECT_TRUE(dib.LoadPicture_File(large));
    EXPECT_EQ(dib.GetPixel(0, 0), 30 + 20 * 256 + 10 * 65536);
    EXPECT_FALSE(dib.LoadPicture_File(small + ".missing"));
    std::filesystem::remove(small);
    std::filesystem::remove(large);
}

TEST(API32bppDIB, StreamsAreCutByStartAndLength) {
    std::vector<uint8_t> stream(5, 0xEE);
    const std::vector<uint8_t> bitmap = TinyBitmap();
    stream.insert(stream.end(), bitmap.begin(), bitmap.end());
    stream.resize(stream.size() + 3, 0xEE);

    struct Case {
        int32_t start, length;
        bool ok;
    } cases[] = {
        {5, 30, true},  {5, 0, true},    // to the end: trailing bytes do not hurt a bitmap
        {0, 0, false},  {5, 19, false},  // too short to show anyone
        {5, 40, false}, {60, 0, false},  // past the end
        {-4, 0, false},                  // moved to 0: not a picture there
    };
    for (const Case& c : cases) {
        API32bppDIB dib;
        EXPECT_EQ(dib.LoadPicture_Stream(stream, 0, 0, c.start, c.length), c.ok)
            << c.start << "+" << c.length;
    }
}

TEST(API32bppDIB, AFailedLoadLeavesNoImage) {
    API32bppDIB dib;
    ASSERT_TRUE(dib.LoadPicture_Stream(TinyBitmap(), 0, 0, 0, 0, true));
    const std::vector<uint8_t> garbage(64, 0x42);
    EXPECT_FALSE(dib.LoadPicture_Stream(garbage));
    EXPECT_EQ(dib.Handle(), 0u);
    EXPECT_EQ(dib.ImageType(), ENUM_IMAGE_FORMAT::ImageError);
    std::vector<uint8_t> original;
    EXPECT_FALSE(dib.GetOrginalFormat(original));
    EXPECT_FALSE(dib.LoadPicture_Stream(std::span(garbage).first(19)));
}

TEST(API32bppDIB, KeptOriginalBytesReload) {
    std::vector<uint8_t> stream = {7, 7};
    const std::vector<uint8_t> bitmap = TinyBitmap();
    stream.insert(stream.end(), bitmap.begin(), bitmap.end());

    API32bppDIB dib;
    ASSERT_TRUE(dib.LoadPicture_Stream(stream, 0, 0, 2, 0, true));
    std::vector<uint8_t> original;
    ASSERT_TRUE(dib.GetOrginalFormat(original));
    EXPECT_EQ(original, bitmap);

    ASSERT_TRUE(dib.LoadPicture_FromOrignalFormat());
    EXPECT_EQ(dib.GetPixel(0, 0), 30 + 20 * 256 + 10 * 65536);
    ASSERT_TRUE(dib.GetOrginalFormat(original));
    EXPECT_EQ(original, bitmap);

    API32bppDIB plain;
    ASSERT_TRUE(plain.LoadPicture_Stream(bitmap));
    EXPECT_FALSE(plain.GetOrginalFormat(original));
    EXPECT_FALSE(plain.LoadPicture_FromOrignalFormat());
    EXPECT_EQ(plain.Handle(), 0u);
}

TEST(API32bppDIB, SavedPicturesLoadBack) {
    API32bppDIB source;
    FillRandom(source, 9, 4, 7);
    for (bool png : {true, false}) {
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(png ? source.SaveToStream_PNG(bytes)
                        : source.SaveToStream_Bitmap(bytes, 0xFFFFFF, true));
        API32bppDIB copy;
        ASSERT_TRUE(copy.LoadPicture_Stream(bytes)) << (png ? "png" : "bmp");
        EXPECT_EQ(copy.ImageType(),
                  png ? ENUM_IMAGE_FORMAT::ImagePNG : ENUM_IMAGE_FORMAT::ImageBitmapARGB);
        EXPECT_EQ(std::memcmp(copy.BitsPointer(), source.BitsPointer(), 9 * 4 * 4), 0);
    }
    API32bppDIB empty;
    std::vector<uint8_t> bytes{1};
    EXPECT_FALSE(empty.SaveToStream_PNG(bytes));
    EXPECT_FALSE(empty.SaveToStream_Bitmap(bytes));
}

TEST(API32bppDIB, PngPropertiesAnswerByTypeUntilSet) {
    API32bppDIB dib;
    EXPECT_EQ(dib.PngPropertyGet(4096), Variant(int32_t{-1}));
    EXPECT_EQ(dib.PngPropertyGet(2048), Variant(Date{}));
    EXPECT_EQ(dib.PngPropertyGet(1), Variant(""));
    ASSERT_TRUE(dib.PngPropertySet(1, Variant("Fachada")));
    EXPECT_EQ(dib.PngPropertyGet(1), Variant("Fachada"));
    ASSERT_TRUE(dib.PngPropertySet(-1, Variant()));
    EXPECT_EQ(dib.PngPropertyGet(1), Variant(""));
}

}  // namespace
}  // namespace kelvara
