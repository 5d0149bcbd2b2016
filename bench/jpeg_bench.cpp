// JPEG encoding against libjpeg: our writer and libjpeg's encoder (its
// default integer DCT, standard tables) at qualities 75 and 90 on the same
// surfaces, with the same chroma sampling (4:2:0 at 75, 4:4:4 at 90, our
// writer's rule). libjpeg reads the surface's rows as BGRX directly, as we
// do. After the runs a table gives megapixels per second, the time as a
// ratio to libjpeg's (below 1 is faster) and both file sizes. Times are the
// thread's CPU time, the best of three repetitions.

#include <benchmark/benchmark.h>

#include "BenchSupport.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/jpeg/APIJPGWriter.h"
#include "tests/image/LibjpegOracle.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Picture {
    std::string name;
    kelvara::API32bppDIB surface;
    std::vector<const uint8_t*> rows;  // top row first
};

std::vector<Picture> LoadPictures() {
    const std::pair<const char*, std::string> files[] = {
        {"harvesters", KELVARA_IMAGE_DATA "/png-bench/harvesters.png"},
        {"photo-rgb", KELVARA_BENCH_IMAGES "/photo-rgb.png"},
        {"screen-palette", KELVARA_BENCH_IMAGES "/screen-palette.png"},
    };
    std::vector<Picture> pictures(std::size(files));
    for (size_t i = 0; i < std::size(files); ++i) {
        Picture& p = pictures[i];
        p.name = files[i].first;
        if (!p.surface.LoadPicture_File(files[i].second)) {
            std::fprintf(stderr, "cannot read %s\n", files[i].second.c_str());
            continue;
        }
        for (int32_t y = 0; y < p.surface.Height(); ++y) {
            p.rows.push_back(p.surface.Pixels().Row(y));
        }
    }
    return pictures;
}

Bytes EncodeOurs(const Picture& p, int quality) {
    Bytes out;
    kelvara::APIJPGWriter().SaveJPG(p.surface, out, static_cast<uint8_t>(quality));
    return out;
}

Bytes EncodeLibjpeg(const Picture& p, int quality) {
    return kelvara::test::EncodeWithLibjpeg(p.rows, p.surface.Width(), JCS_EXT_BGRX, 4, quality,
                                            quality < 90);
}

struct Encoder {
    const char* name;
    Bytes (*encode)(const Picture&, int);
};

const Encoder kEncoders[] = {{"libjpeg", EncodeLibjpeg}, {"ours", EncodeOurs}};
const int kQualities[] = {75, 90};

std::string Key(const Picture& p, int quality, const Encoder& e) {
    return p.name + "/q" + std::to_string(quality) + "/" + e.name;
}

using kelvara::bench::SummaryReporter;

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::vector<Picture> pictures = LoadPictures();
    std::map<std::string, size_t> sizes;
    for (const Picture& p : pictures) {
        if (p.rows.empty()) {
            continue;
        }
        for (const int quality : kQualities) {
            for (const Encoder& e : kEncoders) {
                const std::string key = Key(p, quality, e);
                sizes[key] = e.encode(p, quality).size();
                benchmark::RegisterBenchmark(key.c_str(),
                                             [&p, &e, quality](benchmark::State& state) {
                                                 for (auto _ : state) {
                                                     const Bytes out = e.encode(p, quality);
                                                     if (out.empty()) {
                                                         state.SkipWithError("encode failed");
                                                         break;
                                                     }
                                                     benchmark::DoNotOptimize(out.data());
                                                 }
                                             })
                    ->Unit(benchmark::kMillisecond)
                    ->Repetitions(3)
                    ->DisplayAggregatesOnly(true)
                    ->ComputeStatistics("min", [](const std::vector<double>& v) {
                        return *std::min_element(v.begin(), v.end());
                    });
            }
        }
    }
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nEncoding speed; time as a ratio to libjpeg's (below 1 is faster)\n");
    std::printf("%-16s %3s %11s %9s %7s %11s %9s\n", "picture", "q", "libjpeg MP/s", "ours MP/s",
                "ratio", "libjpeg B", "ours B");
    for (const Picture& p : pictures) {
        const double megapixels =
            static_cast<double>(p.surface.Width()) * static_cast<double>(p.surface.Height()) / 1e6;
        for (const int quality : kQualities) {
            const auto theirs = reporter.times.find(Key(p, quality, kEncoders[0]));
            const auto ours = reporter.times.find(Key(p, quality, kEncoders[1]));
            if (theirs == reporter.times.end() || ours == reporter.times.end()) {
                continue;
            }
            std::printf("%-16s %3d %12.1f %9.1f %7.2f %11zu %9zu\n", p.name.c_str(), quality,
                        megapixels / (theirs->second / 1000), megapixels / (ours->second / 1000),
                        ours->second / theirs->second, sizes[Key(p, quality, kEncoders[0])],
                        sizes[Key(p, quality, kEncoders[1])]);
        }
    }
    benchmark::Shutdown();
    return 0;
}
