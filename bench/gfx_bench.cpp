// The drawing back end's speed: text laid out and drawn as grid cells are,
// and the fills and blends every control paints with. There is no peer in
// the same process: the figures stand on their own (strings per second,
// megapixels per second).

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "kelvara/frame/DrawGradient.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {
namespace {

constexpr int32_t kWidth = 1024;
constexpr int32_t kHeight = 768;

void Megapixels(benchmark::State& state, int64_t pixelsPerIteration) {
    state.counters["MP/s"] = benchmark::Counter(
        static_cast<double>(pixelsPerIteration) * static_cast<double>(state.iterations()) / 1e6,
        benchmark::Counter::kIsRate);
}

// Cell texts of 10 to 20 characters, as a customer grid shows them.
std::vector<std::string> CellTexts() {
    static const char* const words[] = {"Cliente", "Rua",    "Ltda",    "São",  "Paulo",
                                        "Ativo",   "Código", "Almeida", "CNPJ", "Avenida"};
    std::mt19937 random(7);
    std::vector<std::string> texts;
    for (int i = 0; i < 1000; ++i) {
        std::string text;
        const size_t length = 10 + random() % 11;
        while (text.size() < length) {
            text += words[random() % 10];
            text += ' ';
            text += std::to_string(random() % 1000);
        }
        texts.push_back(text.substr(0, length));
    }
    return texts;
}

void BM_DrawTextCells(benchmark::State& state) {
    PixelBuffer pixels;
    pixels.Allocate(kWidth, kHeight);
    Canvas canvas(pixels);
    canvas.FillRect({0, 0, kWidth, kHeight}, 0xFFFFFF);
    StdFont font;
    font.SetName("Tahoma");
    canvas.SelectFont(font);
    canvas.SetBkMode(BkMode::TRANSPARENT);
    const std::vector<std::string> texts = CellTexts();
    const uint32_t format = DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX;
    size_t i = 0;
    for (auto _ : state) {
        const int32_t cell = static_cast<int32_t>(i % 200);
        RECT rect{(cell % 8) * 120 + 2, (cell / 8) * 20, (cell % 8) * 120 + 118,
                  (cell / 8) * 20 + 20};
        benchmark::DoNotOptimize(canvas.DrawText(texts[i % texts.size()], rect, format));
        ++i;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_DrawTextCells);

void BM_FillRect(benchmark::State& state) {
    PixelBuffer pixels;
    pixels.Allocate(kWidth, kHeight);
    Canvas canvas(pixels);
    COLORREF color = 0;
    for (auto _ : state) {
        canvas.FillRect({0, 0, kWidth, kHeight}, color++);
        benchmark::ClobberMemory();
    }
    Megapixels(state, int64_t{kWidth} * kHeight);
}
BENCHMARK(BM_FillRect);

void BM_GradientFill(benchmark::State& state) {
    PixelBuffer pixels;
    pixels.Allocate(kWidth, kHeight);
    Canvas canvas(pixels);
    const bool vertical = state.range(0) != 0;
    for (auto _ : state) {
        GradientFillRect(&canvas, {0, 0, kWidth, kHeight}, 0xFFEFE3, 0xFFD1AE, vertical);
        benchmark::ClobberMemory();
    }
    Megapixels(state, int64_t{kWidth} * kHeight);
    state.SetLabel(vertical ? "vertical" : "horizontal");
}
BENCHMARK(BM_GradientFill)->Arg(0)->Arg(1);

void BM_DrawGradient(benchmark::State& state) {
    PixelBuffer pixels;
    pixels.Allocate(kWidth, kHeight);
    Canvas canvas(pixels);
    const auto direction = static_cast<int32_t>(state.range(0));
    for (auto _ : state) {
        DrawGradient(&canvas, 0, 0, kWidth, kHeight, 0xFFEFE3, 0xFFD1AE, direction);
        benchmark::ClobberMemory();
    }
    Megapixels(state, int64_t{kWidth} * kHeight);
}
BENCHMARK(BM_DrawGradient)->DenseRange(0, 2);

void BM_AlphaBlend(benchmark::State& state) {
    PixelBuffer target, source;
    target.Allocate(kWidth, kHeight);
    source.Allocate(512, 512);
    std::mt19937 random(3);
    for (int32_t y = 0; y < 512; ++y) {
        uint8_t* p = source.Row(y);
        for (int32_t x = 0; x < 512; ++x, p += 4) {
            const uint8_t a = static_cast<uint8_t>(random());
            p[0] = static_cast<uint8_t>(random() % (a + 1u));
            p[1] = static_cast<uint8_t>(random() % (a + 1u));
            p[2] = static_cast<uint8_t>(random() % (a + 1u));
            p[3] = a;
        }
    }
    Canvas canvas(target);
    canvas.FillRect({0, 0, kWidth, kHeight}, 0x808080);
    const auto constant = static_cast<uint8_t>(state.range(0));
    const int32_t size = static_cast<int32_t>(state.range(1));
    for (auto _ : state) {
        canvas.AlphaBlend(0, 0, size, size, source, 0, 0, 512, 512, BlendFunction{constant, true});
        benchmark::ClobberMemory();
    }
    Megapixels(state, int64_t{size} * size);
    state.SetLabel(size == 512 ? "1:1" : "stretched");
}
BENCHMARK(BM_AlphaBlend)->Args({255, 512})->Args({128, 512})->Args({255, 768});

}  // namespace
}  // namespace kelvara

BENCHMARK_MAIN();
