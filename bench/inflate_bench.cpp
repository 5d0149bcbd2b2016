// Whole-buffer zlib-stream decompression: the private inflate against zlib's
// uncompress (and libdeflate, when the build found it), on the zlib streams
// of real PNG files and on large generated streams. Ends with a table of
// each case's time relative to zlib.

#include <benchmark/benchmark.h>
#include <zlib.h>

#ifdef KELVARA_BENCH_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kelvara/image/Inflate.h"
#include "tests/image/IdatReader.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Case {
    std::string name;
    Bytes stream;    // a zlib stream
    size_t outSize;  // what it inflates to
};

using kelvara::test::ReadIdat;

// Rows of smooth colour with sensor-like noise and a few hard edges, as a
// photograph's pixels before filtering.
Bytes PhotoLike(size_t width, size_t height) {
    std::mt19937 random(5);
    Bytes pixels;
    pixels.reserve(width * height * 3);
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            const bool edge = ((x / 97) + (y / 61)) % 5 == 0;
            for (size_t c = 0; c < 3; ++c) {
                const size_t smooth = (x * (c + 1) + y * (3 - c)) / 8 + (edge ? 90 : 0);
                pixels.push_back(static_cast<uint8_t>(smooth + random() % 5));
            }
        }
    }
    return pixels;
}

Bytes TextLike(size_t size) {
    static const char* const kWords[] = {
        "the ",    "cliente ", "invoice ", "total ",  "de ",         "and ",    "of ",
        "street ", "value ",   "2024 ",    "record ", "S\xc3\xa3o ", "Paulo, ", "12.345,67 ",
        "name: ",  "a ",       "field ",   "\n",      "order ",      "for ",    "status "};
    std::mt19937 random(9);
    std::string text;
    while (text.size() < size) {
        text += kWords[random() % std::size(kWords)];
        if (random() % 13 == 0) {
            text += std::to_string(random() % 100000) + " ";
        }
    }
    return Bytes(text.begin(), text.begin() + static_cast<ptrdiff_t>(size));
}

Bytes Compress(const Bytes& data, int level) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    Bytes out(size);
    if (compress2(out.data(), &size, data.data(), static_cast<uLong>(data.size()), level) != Z_OK) {
        std::abort();
    }
    out.resize(size);
    return out;
}

size_t ZlibUncompress(const Case& c, Bytes& out) {
    uLongf written = static_cast<uLongf>(out.size());
    uLong read = static_cast<uLong>(c.stream.size());
    if (uncompress2(out.data(), &written, c.stream.data(), &read) != Z_OK) {
        return 0;
    }
    return written;
}

size_t OursInflate(const Case& c, Bytes& out) {
    const auto result = kelvara::InflateZlib(c.stream, out);
    return result ? result.Value() : 0;
}

#ifdef KELVARA_BENCH_LIBDEFLATE
size_t LibdeflateInflate(const Case& c, Bytes& out) {
    // One decompressor per call, as a whole-buffer call would have it.
    libdeflate_decompressor* d = libdeflate_alloc_decompressor();
    size_t written = 0;
    const libdeflate_result status = libdeflate_zlib_decompress(d, c.stream.data(), c.stream.size(),
                                                                out.data(), out.size(), &written);
    libdeflate_free_decompressor(d);
    return status == LIBDEFLATE_SUCCESS ? written : 0;
}
#endif

std::vector<Case> MakeCases() {
    std::vector<Case> cases;
    for (const char* name :
         {"harvesters", "hat", "hibiscus.primitive", "bricks-dither", "bricks-gray.no-ancillary"}) {
        Case c{name, ReadIdat(std::string(KELVARA_IMAGE_DATA) + "/png-bench/" + name + ".png"), 0};
        // The exact size, as a PNG reader knows it from the header.
        Bytes out(256 << 20);
        c.outSize = ZlibUncompress(c, out);
        if (c.outSize == 0) {
            std::fprintf(stderr, "cannot inflate %s\n", name);
            std::abort();
        }
        cases.push_back(std::move(c));
    }
    const Bytes photo = PhotoLike(2000, 1500);
    const Bytes text = TextLike(8 << 20);
    for (const int level : {6, 9}) {
        cases.push_back(
            {"photo-level" + std::to_string(level), Compress(photo, level), photo.size()});
        cases.push_back({"text-level" + std::to_string(level), Compress(text, level), text.size()});
    }
    return cases;
}

using Decoder = size_t (*)(const Case&, Bytes&);

void Inflate(benchmark::State& state, const Case* c, Decoder decode) {
    Bytes out(c->outSize);
    Bytes want(c->outSize);
    if (decode(*c, out) != c->outSize || ZlibUncompress(*c, want) != c->outSize || out != want) {
        state.SkipWithError("decoded bytes differ from zlib's");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(decode(*c, out));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->outSize));
}

// Keeps each case's best CPU time (wall time suffers most when other work
// shares the machine) so that the ratios can be printed at the end.
// The best of several repetitions (--benchmark_repetitions) is the figure
// least disturbed by other work on the machine.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) {
                continue;
            }
            std::string name = run.benchmark_name();
            name = name.substr(0, name.find("/repeats:"));
            const double time = run.GetAdjustedCPUTime();
            const auto [at, added] = times.emplace(name, time);
            if (!added && time < at->second) {
                at->second = time;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios(const std::vector<Case>& cases, const std::vector<std::string>& peers) const {
        std::printf("\n%-28s", "CPU time / zlib uncompress");
        for (const std::string& peer : peers) {
            std::printf("%12s", peer.c_str());
        }
        std::printf("\n");
        for (const Case& c : cases) {
            const auto zlib = times.find("inflate/" + c.name + "/zlib");
            if (zlib == times.end()) {
                continue;
            }
            std::printf("%-28s", c.name.c_str());
            for (const std::string& peer : peers) {
                const auto time = times.find("inflate/" + c.name + "/" + peer);
                if (time == times.end()) {
                    std::printf("%12s", "-");
                } else {
                    std::printf("%12.2f", time->second / zlib->second);
                }
            }
            std::printf("\n");
        }
    }

private:
    std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::vector<Case> cases = MakeCases();
    std::vector<std::pair<std::string, Decoder>> decoders = {{"ours", OursInflate},
                                                             {"zlib", ZlibUncompress}};
#ifdef KELVARA_BENCH_LIBDEFLATE
    decoders.emplace_back("libdeflate", LibdeflateInflate);
#endif
    for (const Case& c : cases) {
        for (const auto& [peer, decode] : decoders) {
            benchmark::RegisterBenchmark(("inflate/" + c.name + "/" + peer).c_str(), Inflate, &c,
                                         decode)
                ->Unit(benchmark::kMicrosecond);
        }
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::vector<std::string> peers;
    for (const auto& [peer, decode] : decoders) {
        peers.push_back(peer);
    }
    reporter.PrintRatios(cases, peers);
    benchmark::Shutdown();
    return 0;
}
