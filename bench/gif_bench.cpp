// GIF decoding against giflib, and the GIF writer's speed.
//
// Decoding: our reader (first frame onto a surface) against giflib reading
// the whole file with DGifSlurp and putting its first frame into 32-bit
// pixels, as an application using giflib for a still picture does, and
// against giflib stopping after the first frame (DGifGetLine row by row),
// which is the fair like-for-like for animations. Every file is read into
// memory first. The table at the end gives each time as a ratio to
// DGifSlurp's (below 1 is faster).
//
// Writing: SaveAsGIF with the adaptive palette (Wu's quantiser, or the
// exact colours when there are few) and with the fixed table, in millions
// of pixels a second.
//
// Times are the thread's CPU time, the best of three repetitions.

#include <benchmark/benchmark.h>
#include <gif_lib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/gif/APIGIFParser.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct File {
    std::string name;
    Bytes bytes;
};

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

const std::filesystem::path kCorpus = std::filesystem::path(KELVARA_IMAGE_DATA) / "gif";
const std::filesystem::path kMade = KELVARA_BENCH_GIF_IMAGES;

std::vector<File> DecodeFiles() {
    const std::filesystem::path paths[] = {
        kMade / "photo.gif",
        kMade / "photo-interlaced.gif",
        kMade / "screen.gif",
        kMade / "animated.gif",
        kCorpus / "wuffs/hibiscus.primitive.gif",
        kCorpus / "wuffs/bricks-dither.gif",
        kCorpus / "wuffs/muybridge.gif",
        kCorpus / "image-gif/samples/interlaced.gif",
    };
    std::vector<File> files;
    for (const auto& path : paths) {
        files.push_back({path.stem().string(), ReadFile(path)});
    }
    return files;
}

// --- The decoders ---------------------------------------------------------------------

bool DecodeOurs(const Bytes& file) {
    kelvara::API32bppDIB surface;
    const bool ok = kelvara::APIGIFParser().LoadStream(file, surface);
    benchmark::DoNotOptimize(surface.BitsPointer());
    return ok;
}

struct MemoryReader {
    const Bytes* bytes;
    size_t at = 0;
};

int ReadMemory(GifFileType* gif, GifByteType* out, int n) {
    auto* reader = static_cast<MemoryReader*>(gif->UserData);
    const size_t count = std::min(static_cast<size_t>(n), reader->bytes->size() - reader->at);
    std::memcpy(out, reader->bytes->data() + reader->at, count);
    reader->at += count;
    return static_cast<int>(count);
}

// Indices to BGRA through the frame's table, the transparent index clear.
void ToBgra(const GifByteType* indices, size_t count, const ColorMapObject* map, int transparent,
            uint8_t* out) {
    uint32_t colors[256] = {};
    for (int i = 0; map != nullptr && i < map->ColorCount; ++i) {
        const GifColorType& c = map->Colors[i];
        colors[i] = 0xFF000000u | uint32_t{c.Red} << 16 | uint32_t{c.Green} << 8 | c.Blue;
    }
    if (transparent >= 0 && transparent < 256) {
        colors[transparent] = 0;
    }
    for (size_t i = 0; i < count; ++i, out += 4) {
        std::memcpy(out, &colors[indices[i]], 4);
    }
}

bool DecodeGiflibSlurp(const Bytes& file) {
    MemoryReader reader{&file};
    int error = 0;
    GifFileType* gif = DGifOpen(&reader, ReadMemory, &error);
    if (gif == nullptr) {
        return false;
    }
    bool ok = DGifSlurp(gif) == GIF_OK && gif->ImageCount > 0;
    if (ok) {
        const SavedImage& image = gif->SavedImages[0];
        GraphicsControlBlock control{};
        control.TransparentColor = NO_TRANSPARENT_COLOR;
        DGifSavedExtensionToGCB(gif, 0, &control);
        const size_t count = static_cast<size_t>(image.ImageDesc.Width) * image.ImageDesc.Height;
        std::unique_ptr<uint8_t[]> pixels(new uint8_t[count * 4]);
        ToBgra(image.RasterBits, count,
               image.ImageDesc.ColorMap != nullptr ? image.ImageDesc.ColorMap : gif->SColorMap,
               control.TransparentColor, pixels.get());
        benchmark::DoNotOptimize(pixels.get());
    }
    DGifCloseFile(gif, &error);
    return ok;
}

bool DecodeGiflibFirst(const Bytes& file) {
    MemoryReader reader{&file};
    int error = 0;
    GifFileType* gif = DGifOpen(&reader, ReadMemory, &error);
    if (gif == nullptr) {
        return false;
    }
    int transparent = NO_TRANSPARENT_COLOR;
    bool ok = false;
    for (;;) {
        GifRecordType type;
        if (DGifGetRecordType(gif, &type) != GIF_OK || type == TERMINATE_RECORD_TYPE) {
            break;
        }
        if (type == EXTENSION_RECORD_TYPE) {
            int code = 0;
            GifByteType* block = nullptr;
            if (DGifGetExtension(gif, &code, &block) != GIF_OK) {
                break;
            }
            GraphicsControlBlock control;
            if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
                DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK) {
                transparent = control.TransparentColor;
            }
            while (block != nullptr && DGifGetExtensionNext(gif, &block) == GIF_OK) {
            }
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif) != GIF_OK) {
            break;
        }
        const int width = gif->Image.Width, height = gif->Image.Height;
        std::vector<GifPixelType> indices(static_cast<size_t>(width) * height);
        std::vector<int> rows;
        if (gif->Image.Interlace) {
            for (const auto& [first, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}}) {
                for (int y = first; y < height; y += step) {
                    rows.push_back(y);
                }
            }
        } else {
            for (int y = 0; y < height; ++y) {
                rows.push_back(y);
            }
        }
        ok = true;
        for (const int y : rows) {
            if (DGifGetLine(gif, indices.data() + static_cast<size_t>(y) * width, width) !=
                GIF_OK) {
                ok = false;
                break;
            }
        }
        if (ok) {
            std::unique_ptr<uint8_t[]> pixels(new uint8_t[indices.size() * 4]);
            ToBgra(indices.data(), indices.size(),
                   gif->Image.ColorMap != nullptr ? gif->Image.ColorMap : gif->SColorMap,
                   transparent, pixels.get());
            benchmark::DoNotOptimize(pixels.get());
        }
        break;
    }
    DGifCloseFile(gif, &error);
    return ok;
}

struct Decoder {
    const char* name;
    bool (*decode)(const Bytes&);
};

const Decoder kDecoders[] = {
    {"giflib_slurp", DecodeGiflibSlurp},
    {"ours", DecodeOurs},
    {"giflib_first", DecodeGiflibFirst},
};

// --- The writer ------------------------------------------------------------------------

struct Source {
    std::string name;
    std::unique_ptr<kelvara::API32bppDIB> surface;
};

std::vector<Source> WriterSources() {
    std::vector<Source> sources;
    for (const auto& path :
         {kMade / "photo.png", kMade / "screen.gif", kCorpus / "wuffs/hibiscus.primitive.gif"}) {
        auto surface = std::make_unique<kelvara::API32bppDIB>();
        if (surface->LoadPicture_File(path.string())) {
            sources.push_back({path.stem().string(), std::move(surface)});
        }
    }
    return sources;
}

// --- Runs and the summary --------------------------------------------------------------

using kelvara::bench::SummaryReporter;

template <typename Fn>
void Register(const std::string& name, Fn body) {
    benchmark::RegisterBenchmark(name.c_str(), body)
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(3)
        ->DisplayAggregatesOnly(true)
        ->ComputeStatistics("min", [](const std::vector<double>& v) {
            return *std::min_element(v.begin(), v.end());
        });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::vector<File> files = DecodeFiles();
    for (const File& file : files) {
        for (const Decoder& decoder : kDecoders) {
            Register("decode/" + file.name + "/" + decoder.name,
                     [&file, &decoder](benchmark::State& state) {
                         for (auto _ : state) {
                             if (!decoder.decode(file.bytes)) {
                                 state.SkipWithError("decode failed");
                                 break;
                             }
                         }
                     });
        }
    }
    const std::vector<Source> sources = WriterSources();
    std::map<std::string, size_t> outputSizes;
    for (const Source& source : sources) {
        for (const bool adaptive : {true, false}) {
            const std::string name =
                "write/" + source.name + "/" + (adaptive ? "adaptive" : "fixed");
            Register(name, [&source, adaptive, &outputSizes, name](benchmark::State& state) {
                Bytes out;
                for (auto _ : state) {
                    if (!kelvara::APIGIFParser().SaveAsGIF("", out, *source.surface, adaptive)) {
                        state.SkipWithError("save failed");
                        break;
                    }
                    benchmark::DoNotOptimize(out.data());
                }
                outputSizes[name] = out.size();
                state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                                        source.surface->Width() * source.surface->Height());
            });
        }
    }
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nFirst-frame decode time as a ratio to giflib's DGifSlurp (below 1 is faster)\n");
    std::printf("%-24s %12s %8s %14s\n", "file", "slurp ms", "ours", "giflib_first");
    for (const File& file : files) {
        const auto base = reporter.times.find("decode/" + file.name + "/giflib_slurp");
        if (base == reporter.times.end()) {
            continue;
        }
        std::printf("%-24s %12.3f", file.name.c_str(), base->second);
        const int widths[] = {8, 14};
        for (size_t i = 1; i < std::size(kDecoders); ++i) {
            const auto time = reporter.times.find("decode/" + file.name + "/" + kDecoders[i].name);
            if (time == reporter.times.end()) {
                std::printf(" %*s", widths[i - 1], "-");
            } else {
                std::printf(" %*.2f", widths[i - 1], time->second / base->second);
            }
        }
        std::printf("\n");
    }

    std::printf("\nWriter speed in millions of pixels a second (output size)\n");
    std::printf("%-24s %11s %24s %24s\n", "picture", "pixels", "adaptive", "fixed");
    for (const Source& source : sources) {
        const double pixels = double(source.surface->Width()) * source.surface->Height();
        std::printf("%-24s %5dx%-5d", source.name.c_str(), source.surface->Width(),
                    source.surface->Height());
        for (const char* palette : {"adaptive", "fixed"}) {
            const std::string name = "write/" + source.name + "/" + palette;
            const auto time = reporter.times.find(name);
            if (time == reporter.times.end()) {
                std::printf(" %24s", "-");
            } else {
                std::printf(" %10.1f MP/s %7zu KB", pixels / (time->second * 1e3),
                            outputSizes[name] / 1024);
            }
        }
        std::printf("\n");
    }
    benchmark::Shutdown();
    return 0;
}
