// What a repaint of the whole window costs without a screen, with all its texts on show.

#include "full_display.h"

#include "platform/headless/window_headless.h"
#include "window/window.h"

#include <benchmark/benchmark.h>

static void repaintHeadless(benchmark::State& state) {
    lf_createMainWindow();
    fillDisplay();
    for (auto _ : state) benchmark::DoNotOptimize(plat::headless::repaint());
}
BENCHMARK(repaintHeadless)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
