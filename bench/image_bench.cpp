// PNG decoding against its peers: our reader with zlib and with the private
// inflate, libpng's simplified API (to BGRA), spng (to RGBA8) and stb_image
// (to four channels). Every file is read into memory first and decoded from
// there. After the runs a table gives each decoder's time as a ratio to
// libpng's on the same file (below 1 is faster). Times are the thread's CPU
// time, the best of three repetitions, which other work on the machine
// disturbs less than wall time.

#include <benchmark/benchmark.h>

#include <png.h>
#include <spng.h>
#include <stb_image.h>
#include "BenchSupport.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/png/APIPNGParser.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct File {
    std::string name;
    Bytes bytes;
};

std::vector<File> LoadFiles() {
    std::vector<std::filesystem::path> paths;
    for (const char* folder : {KELVARA_IMAGE_DATA "/png-bench", KELVARA_BENCH_IMAGES}) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".png") {
                paths.push_back(entry.path());
            }
        }
    }
    std::sort(paths.begin(), paths.end());
    std::vector<File> files;
    for (const auto& path : paths) {
        std::ifstream in(path, std::ios::binary);
        files.push_back({path.stem().string(), Bytes(std::istreambuf_iterator<char>(in), {})});
    }
    return files;
}

// --- The decoders --------------------------------------------------------------

bool DecodeOurs(const Bytes& file, bool withZlib) {
    const kelvara::ZlibScope zlib(withZlib);
    kelvara::API32bppDIB surface;
    kelvara::APIPNGParser parser;
    const bool ok = parser.LoadStream(file, surface);
    benchmark::DoNotOptimize(surface.BitsPointer());
    return ok;
}

bool DecodeLibpng(const Bytes& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) {
        return false;
    }
    image.format = PNG_FORMAT_BGRA;
    std::unique_ptr<uint8_t[]> out(new uint8_t[PNG_IMAGE_SIZE(image)]);
    const bool ok = png_image_finish_read(&image, nullptr, out.get(), 0, nullptr) != 0;
    png_image_free(&image);
    benchmark::DoNotOptimize(out.get());
    return ok;
}

bool DecodeSpng(const Bytes& file) {
    spng_ctx* context = spng_ctx_new(0);
    size_t size = 0;
    bool ok = spng_set_png_buffer(context, file.data(), file.size()) == 0 &&
              spng_decoded_image_size(context, SPNG_FMT_RGBA8, &size) == 0;
    if (ok) {
        std::unique_ptr<uint8_t[]> out(new uint8_t[size]);
        ok = spng_decode_image(context, out.get(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) == 0;
        benchmark::DoNotOptimize(out.get());
    }
    spng_ctx_free(context);
    return ok;
}

bool DecodeStb(const Bytes& file) {
    int width = 0, height = 0, channels = 0;
    stbi_uc* pixels = stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width,
                                            &height, &channels, 4);
    benchmark::DoNotOptimize(pixels);
    stbi_image_free(pixels);
    return pixels != nullptr;
}

struct Decoder {
    const char* name;
    bool (*decode)(const Bytes&);
};

const Decoder kDecoders[] = {
    {"libpng", DecodeLibpng},
    {"ours_zlib", [](const Bytes& file) { return DecodeOurs(file, true); }},
    {"ours_private", [](const Bytes& file) { return DecodeOurs(file, false); }},
    {"spng", DecodeSpng},
    {"stb", DecodeStb},
};

// --- Runs and the summary ------------------------------------------------------

using kelvara::bench::SummaryReporter;

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::vector<File> files = LoadFiles();
    for (const File& file : files) {
        for (const Decoder& decoder : kDecoders) {
            benchmark::RegisterBenchmark(
                (file.name + "/" + decoder.name).c_str(),
                [&file, &decoder](benchmark::State& state) {
                    for (auto _ : state) {
                        if (!decoder.decode(file.bytes)) {
                            state.SkipWithError("decode failed");
                            break;
                        }
                    }
                    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                            static_cast<int64_t>(file.bytes.size()));
                })
                ->Unit(benchmark::kMillisecond)
                ->Repetitions(3)
                ->DisplayAggregatesOnly(true)
                ->ComputeStatistics("min", [](const std::vector<double>& v) {
                    return *std::min_element(v.begin(), v.end());
                });
        }
    }
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nTime as a ratio to libpng's (below 1 is faster)\n");
    std::printf("%-28s %10s %10s %12s %8s %8s\n", "file", "libpng ms", "ours_zlib", "ours_private",
                "spng", "stb");
    for (const File& file : files) {
        const auto base = reporter.times.find(file.name + "/libpng");
        if (base == reporter.times.end()) {
            continue;
        }
        std::printf("%-28s %10.2f", file.name.c_str(), base->second);
        const int widths[] = {10, 12, 8, 8};
        for (size_t i = 1; i < std::size(kDecoders); ++i) {
            const auto time = reporter.times.find(file.name + "/" + kDecoders[i].name);
            if (time == reporter.times.end()) {
                std::printf(" %*s", widths[i - 1], "-");
            } else {
                std::printf(" %*.2f", widths[i - 1], time->second / base->second);
            }
        }
        std::printf("\n");
    }
    benchmark::Shutdown();
    return 0;
}
