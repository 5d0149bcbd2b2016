#include "kelvara/image/jpeg/APIJPGWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "tests/image/CodecTestSupport.h"
#include "tests/image/LibjpegOracle.h"
#include "tests/image/SurfaceTestSupport.h"

namespace kelvara {
namespace {

using test::Fill;
using test::Straight;
using Bytes = std::vector<uint8_t>;

Bytes Encode(const API32bppDIB& surface, int quality, JpegChroma chroma = JpegChroma::Auto,
             int32_t fill = 0xFFFFFF) {
    APIJPGWriter writer;
    writer.SetChroma(chroma);
    Bytes out;
    EXPECT_TRUE(writer.SaveJPG(surface, out, static_cast<uint8_t>(quality), fill));
    return out;
}

// The surface's colours as RGB, top row first (opaque pictures only).
Bytes OpaqueRgb(const API32bppDIB& surface) {
    Bytes rgb;
    for (int32_t y = 0; y < surface.Height(); ++y) {
        for (int32_t x = 0; x < surface.Width(); ++x) {
            const uint8_t* p = surface.Pixels().Pixel(x, y);
            rgb.insert(rgb.end(), {p[2], p[1], p[0]});
        }
    }
    return rgb;
}

std::vector<const uint8_t*> RowsOf(const Bytes& rgb, int32_t width) {
    std::vector<const uint8_t*> rows;
    for (size_t at = 0; at < rgb.size(); at += static_cast<size_t>(width) * 3) {
        rows.push_back(&rgb[at]);
    }
    return rows;
}

double Psnr(const Bytes& have, const Bytes& want) {
    double sum = 0;
    for (size_t i = 0; i < want.size(); ++i) {
        const double d = static_cast<double>(have[i]) - static_cast<double>(want[i]);
        sum += d * d;
    }
    return sum == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 * want.size() / sum);
}

int MaxError(const Bytes& have, const Bytes& want) {
    int worst = 0;
    for (size_t i = 0; i < want.size(); ++i) {
        worst = std::max(worst, std::abs(int{have[i]} - int{want[i]}));
    }
    return worst;
}

// The segments before the entropy-coded data: marker byte and payload.
struct Segment {
    uint8_t marker;
    Bytes payload;
};

// Walks SOI and the segments up to SOS, then checks that the coded data
// stuffs every 0xFF and that EOI closes the file. Empty when malformed.
std::vector<Segment> Segments(const Bytes& file) {
    if (file.size() < 4 || file[0] != 0xFF || file[1] != 0xD8) {
        return {};
    }
    std::vector<Segment> segments;
    size_t at = 2;
    while (at + 4 <= file.size() && file[at] == 0xFF) {
        const uint8_t marker = file[at + 1];
        const size_t length = size_t{file[at + 2]} << 8 | file[at + 3];
        if (length < 2 || at + 2 + length > file.size()) {
            return {};
        }
        segments.push_back({marker, Bytes(file.begin() + at + 4, file.begin() + at + 2 + length)});
        at += 2 + length;
        if (marker == 0xDA) {
            for (; at + 2 < file.size(); ++at) {
                if (file[at] == 0xFF && file[at + 1] != 0x00) {
                    return {};
                }
            }
            const bool closed = at + 2 == file.size() && file[at] == 0xFF && file[at + 1] == 0xD9;
            return closed ? segments : std::vector<Segment>{};
        }
    }
    return {};
}

// Noisy detail over smooth colour, a little like a photograph.
void FillPhotoLike(API32bppDIB& surface, int32_t w, int32_t h, uint32_t seed) {
    test::Noise noise(seed);
    Fill(surface, w, h, [&](int32_t x, int32_t y) {
        const int n = noise.Byte() % 24;
        return Straight{static_cast<uint8_t>(40 + (x * 150) / w + n),
                        static_cast<uint8_t>(60 + (y * 130) / h + n),
                        static_cast<uint8_t>(200 - (x + y) % 90 + n / 2), 255};
    });
}

TEST(JPGWriter, WritesTheBaselineSegmentsInOrderForEachLayout) {
    API32bppDIB color;
    FillPhotoLike(color, 37, 21, 1);
    API32bppDIB gray;
    Fill(gray, 37, 21, [](int32_t x, int32_t y) {
        const auto v = static_cast<uint8_t>(x * 5 + y);
        return Straight{v, v, v, 255};
    });
    struct Case {
        const API32bppDIB* surface;
        int quality;
        int components;
        uint8_t lumaSampling;
    } const cases[] = {{&gray, 75, 1, 0x11},
                       {&color, 75, 3, 0x22},
                       {&color, 89, 3, 0x22},
                       {&color, 90, 3, 0x11},
                       {&color, 100, 3, 0x11}};
    for (const Case& c : cases) {
        SCOPED_TRACE("quality " + std::to_string(c.quality));
        const auto segments = Segments(Encode(*c.surface, c.quality));
        ASSERT_EQ(segments.size(), 5u);
        const uint8_t order[] = {0xE0, 0xDB, 0xC0, 0xC4, 0xDA};
        for (size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(segments[i].marker, order[i]) << "segment " << i;
        }
        EXPECT_EQ(segments[0].payload, (Bytes{'J', 'F', 'I', 'F', 0, 1, 1, 1, 0, 96, 0, 96, 0, 0}));
        EXPECT_EQ(segments[1].payload.size(), 65u * (c.components == 1 ? 1 : 2));
        Bytes frame = {8, 0, 21, 0, 37, static_cast<uint8_t>(c.components), 1, c.lumaSampling, 0};
        if (c.components == 3) {
            frame.insert(frame.end(), {2, 0x11, 1, 3, 0x11, 1});
        }
        EXPECT_EQ(segments[2].payload, frame);
        // Standard tables: 12 DC and 162 AC symbols each, 17 bytes of head.
        EXPECT_EQ(segments[3].payload.size(), (c.components == 1 ? 1u : 2u) * (29 + 179));
        Bytes scan = {static_cast<uint8_t>(c.components), 1, 0x00};
        if (c.components == 3) {
            scan.insert(scan.end(), {2, 0x11, 3, 0x11});
        }
        scan.insert(scan.end(), {0, 63, 0});
        EXPECT_EQ(segments[4].payload, scan);
    }
}

// libjpeg scales the same example tables by the same rule, so its DQT is
// the oracle for ours at every quality; the byte's 0 and values above 100
// take the nearest end.
TEST(JPGWriter, EveryQualityDecodesAndScalesTheTablesLikeLibjpeg) {
    API32bppDIB surface;
    FillPhotoLike(surface, 24, 16, 2);
    const Bytes rgb = OpaqueRgb(surface);
    for (int quality = 0; quality <= 255; ++quality) {
        SCOPED_TRACE("quality " + std::to_string(quality));
        const Bytes ours = Encode(surface, quality);
        const auto decoded = test::DecodeWithLibjpeg(ours);
        ASSERT_TRUE(decoded.has_value());
        ASSERT_EQ(decoded->width, 24);
        ASSERT_EQ(decoded->height, 16);
        const int effective = std::clamp(quality, 1, 100);
        const Bytes theirs =
            test::EncodeWithLibjpeg(RowsOf(rgb, 24), 24, JCS_RGB, 3, effective, true);
        const auto ourSegments = Segments(ours);
        const auto theirSegments = Segments(theirs);
        ASSERT_FALSE(ourSegments.empty());
        ASSERT_FALSE(theirSegments.empty());
        // libjpeg writes one DQT per table, we write both in one.
        const auto dqt = [](const std::vector<Segment>& segments) {
            Bytes tables;
            for (const Segment& s : segments) {
                if (s.marker == 0xDB) {
                    tables.insert(tables.end(), s.payload.begin(), s.payload.end());
                }
            }
            return tables;
        };
        ASSERT_EQ(dqt(ourSegments), dqt(theirSegments));
    }
}

// Flat pictures of odd sizes stay flat at a middle quality only when the
// padding repeats the edge; a gradient at quality 100 shows that every
// pixel lands where it belongs.
TEST(JPGWriter, DecodesToTheExactSizeWithTheEdgesRepeated) {
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1},   {7, 9},   {17, 33}, {8, 8},
                                                 {16, 16}, {33, 17}, {1, 40},  {40, 1}};
    const JpegChroma chromas[] = {JpegChroma::Full, JpegChroma::Quarter};
    for (const auto& [w, h] : sizes) {
        for (const JpegChroma chroma : chromas) {
            SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " chroma " +
                         std::to_string(static_cast<int>(chroma)));
            API32bppDIB flat;
            Fill(flat, w, h, [](int32_t, int32_t) { return Straight{200, 40, 90, 255}; });
            const auto flatDecoded = test::DecodeWithLibjpeg(Encode(flat, 50, chroma));
            ASSERT_TRUE(flatDecoded.has_value());
            ASSERT_EQ(flatDecoded->width, w);
            ASSERT_EQ(flatDecoded->height, h);
            EXPECT_LE(MaxError(flatDecoded->rgb, OpaqueRgb(flat)), 3);

            API32bppDIB ramp;
            Fill(ramp, w, h, [](int32_t x, int32_t y) {
                return Straight{static_cast<uint8_t>(20 + 3 * x), static_cast<uint8_t>(30 + 2 * y),
                                static_cast<uint8_t>(100 + x + y), 255};
            });
            const auto rampDecoded = test::DecodeWithLibjpeg(Encode(ramp, 100, chroma));
            ASSERT_TRUE(rampDecoded.has_value());
            EXPECT_LE(MaxError(rampDecoded->rgb, OpaqueRgb(ramp)),
                      chroma == JpegChroma::Full ? 2 : 4);
        }
    }
}

TEST(JPGWriter, TransparencyShowsTheFillColour) {
    struct Case {
        const char* name;
        std::array<uint8_t, 4> bgra;  // as stored: premultiplied
        int32_t fill;
        std::array<int, 3> rgb;
    } const cases[] = {
        {"clear over orange", {0, 0, 0, 0}, 0x0040A0FF, {255, 160, 64}},
        {"clear, -1 is white", {0, 0, 0, 0}, -1, {255, 255, 255}},
        {"clear, system colour is white",
         {0, 0, 0, 0},
         static_cast<int32_t>(0x8000000F),
         {255, 255, 255}},
        {"clear, high byte ignored", {0, 0, 0, 0}, 0x7F302010, {16, 32, 48}},
        {"half red over blue", {0, 0, 128, 128}, 0x00FF0000, {128, 0, 127}},
        {"opaque ignores the fill", {10, 20, 30, 255}, 0x00FF00FF, {30, 20, 10}},
        {"colour above alpha is clamped", {0, 0, 200, 100}, 0, {100, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        ASSERT_TRUE(surface.InitializeDIB(16, 16));
        for (int32_t y = 0; y < 16; ++y) {
            for (int32_t x = 0; x < 16; ++x) {
                std::copy(c.bgra.begin(), c.bgra.end(), surface.Pixels().Pixel(x, y));
            }
        }
        const auto decoded =
            test::DecodeWithLibjpeg(Encode(surface, 100, JpegChroma::Full, c.fill));
        ASSERT_TRUE(decoded.has_value());
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(decoded->rgb[i], c.rgb[i], 1) << "channel " << i;
        }
    }
}

TEST(JPGWriter, GrayPicturesAreWrittenWithOneChannel) {
    struct Case {
        const char* name;
        Straight corner;  // pixel (0, 0); the rest is gray
        int32_t fill;
        int components;
    } const cases[] = {
        {"all gray", {77, 77, 77, 255}, 0xFFFFFF, 1},
        {"one coloured pixel", {77, 78, 77, 255}, 0xFFFFFF, 3},
        {"clear over a gray fill", {0, 0, 0, 0}, 0x808080, 1},
        {"clear over a coloured fill", {0, 0, 0, 0}, 0x808081, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        API32bppDIB surface;
        Fill(surface, 19, 11, [&](int32_t x, int32_t y) {
            const auto v = static_cast<uint8_t>(x * 13 + y * 7);
            return x == 0 && y == 0 ? c.corner : Straight{v, v, v, 255};
        });
        const auto decoded =
            test::DecodeWithLibjpeg(Encode(surface, 100, JpegChroma::Auto, c.fill));
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->components, c.components);
        if (c.components == 1) {
            Bytes want = OpaqueRgb(surface);
            want[0] = want[1] = want[2] = c.corner.a == 0 ? 0x80 : c.corner.r;
            EXPECT_LE(MaxError(decoded->rgb, want), 1);
        }
    }
}

// The photographs of the shared set, against libjpeg at the same quality
// and sampling: the table goes to the test's output.
TEST(JPGWriter, PhotosKeepTheirDetailAsWellAsLibjpeg) {
    std::printf("%-16s %4s %4s | %9s %9s | %8s %8s\n", "picture", "q", "cs", "ours B", "libjpeg B",
                "ours dB", "lj dB");
    for (const char* name : {"harvesters", "hat", "bricks-dither"}) {
        API32bppDIB surface;
        ASSERT_TRUE(surface.LoadPicture_File(std::string(KELVARA_IMAGE_DATA "/png-bench/") + name +
                                             ".png"));
        const Bytes rgb = OpaqueRgb(surface);
        const auto rows = RowsOf(rgb, surface.Width());
        for (const int quality : {50, 75, 90}) {
            SCOPED_TRACE(std::string(name) + " quality " + std::to_string(quality));
            const Bytes ours = Encode(surface, quality);
            const Bytes theirs =
                test::EncodeWithLibjpeg(rows, surface.Width(), JCS_RGB, 3, quality, quality < 90);
            const auto decodedOurs = test::DecodeWithLibjpeg(ours);
            const auto decodedTheirs = test::DecodeWithLibjpeg(theirs);
            ASSERT_TRUE(decodedOurs.has_value());
            ASSERT_TRUE(decodedTheirs.has_value());
            const double psnrOurs = Psnr(decodedOurs->rgb, rgb);
            const double psnrTheirs = Psnr(decodedTheirs->rgb, rgb);
            std::printf("%-16s %4d %4s | %9zu %9zu | %8.2f %8.2f\n", name, quality,
                        quality < 90 ? "420" : "444", ours.size(), theirs.size(), psnrOurs,
                        psnrTheirs);
            // The painting and the dithered bricks are texture through and
            // through: libjpeg too stays near 31 and 33 dB on them.
            if (quality == 90 && std::string(name) == "harvesters") {
                EXPECT_GE(psnrOurs, 36.0);
            }
            EXPECT_GE(psnrOurs, psnrTheirs - 0.25);
            EXPECT_LE(ours.size(), theirs.size() * 102 / 100);
        }
    }
}

TEST(JPGWriter, SidesBeyondWhatLibjpegReadsAreRefused) {
    for (const auto& [w, h, ok] :
         {std::tuple{65501, 1, false}, std::tuple{1, 65501, false}, std::tuple{65536, 1, false},
          std::tuple{65500, 1, true}, std::tuple{1, 65500, true}}) {
        SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h));
        API32bppDIB surface;
        ASSERT_TRUE(surface.InitializeDIB(w, h));
        Bytes out = {1, 2, 3};
        ASSERT_EQ(surface.SaveToStream_JPG(out), ok);
        if (!ok) {
            EXPECT_EQ(out, (Bytes{1, 2, 3}));  // left alone
            continue;
        }
        const auto decoded = test::DecodeWithLibjpeg(out);
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->width, w);
        EXPECT_EQ(decoded->height, h);
    }
}

TEST(JPGWriter, SurfaceSavesToStreamAndFile) {
    API32bppDIB empty;
    Bytes out = {7};
    EXPECT_FALSE(empty.SaveToStream_JPG(out));
    EXPECT_EQ(out, Bytes{7});

    API32bppDIB surface;
    FillPhotoLike(surface, 30, 20, 3);
    ASSERT_TRUE(surface.SaveToStream_JPG(out));
    EXPECT_EQ(out, Encode(surface, 90));  // quality 90 and white by default
    const std::string path = ::testing::TempDir() + "kelvara_jpg_writer.jpg";
    ASSERT_TRUE(surface.SaveToFile_JPG(path, 90));
    EXPECT_EQ(test::ReadFileBytes(path), out);
    std::filesystem::remove(path);
    EXPECT_FALSE(surface.SaveToFile_JPG(::testing::TempDir() + "no/such/folder/x.jpg"));
}

// Random sizes, qualities, sampling, fill and pixels (translucent ones
// too): libjpeg must read every file back cleanly at the right size.
TEST(JPGWriter, RandomPicturesAlwaysDecode) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 300; ++round) {
        const int32_t w = 1 + static_cast<int32_t>(random() % 48);
        const int32_t h = 1 + static_cast<int32_t>(random() % 48);
        API32bppDIB surface;
        test::FillRandom(surface, w, h, random);
        const int quality = static_cast<int>(random() % 256);
        const auto chroma = static_cast<JpegChroma>(random() % 3);
        const auto fill = static_cast<int32_t>(random());
        SCOPED_TRACE("round " + std::to_string(round));
        const auto decoded = test::DecodeWithLibjpeg(Encode(surface, quality, chroma, fill));
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->width, w);
        EXPECT_EQ(decoded->height, h);
    }
}

}  // namespace
}  // namespace kelvara
