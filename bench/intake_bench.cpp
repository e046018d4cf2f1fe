// Intake and conditioning: the work every image costs before features.
#include <benchmark/benchmark.h>

#include <cinttypes>
#include <cstdio>
#include <random>
#include <vector>

#include "pipeline/condition_frame.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"

namespace {

std::vector<uint8_t> noise(std::size_t count, uint8_t low, uint8_t high) {
  std::vector<uint8_t> samples(count);
  std::mt19937 generator(7);
  std::uniform_int_distribution<int> level(low, high);
  for (uint8_t& sample : samples) sample = static_cast<uint8_t>(level(generator));
  return samples;
}

// A camera image of rows x columns four-byte pixels through addImage, with
// the grey conversion, the optional quarter turn and the halvings.
void add_image(benchmark::State& state) {
  const auto rows = static_cast<uint32_t>(state.range(0));
  const auto columns = static_cast<uint32_t>(state.range(1));
  const auto rotation = static_cast<int32_t>(state.range(2));
  const std::vector<uint8_t> image = noise(std::size_t{rows} * columns * 4, 0, 255);
  char address[32];
  std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(image.data()));
  const ScriptValue arguments[5] = {{rows, script_uint32, 0},
                                    {columns, script_uint32, 0},
                                    {columns * 4, script_uint32, 0},
                                    {static_cast<uint32_t>(rotation), script_int32, 0},
                                    {reinterpret_cast<uintptr_t>(address), script_text, 0}};
  for (auto _ : state) {
    ScriptValue result{};
    if (addImage(arguments, 5, &result) != status_ok) state.SkipWithError("addImage failed");
    ClearImages();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * rows * columns * 4);
}
BENCHMARK(add_image)->Args({3000, 4000, 0})->Args({3000, 4000, 90})->Args({760, 1000, 0})
    ->Unit(benchmark::kMillisecond);

// Conditioning of a dark frame: histogram, median search and the gain.
void condition_frame(benchmark::State& state) {
  const std::vector<uint8_t> dark = noise(760 * 1000, 0, 60);
  std::vector<uint8_t> frame;
  for (auto _ : state) {
    state.PauseTiming();
    frame = dark;
    state.ResumeTiming();
    benchmark::DoNotOptimize(ConditionFrame(760, 1000, frame.data()));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 760 * 1000);
}
BENCHMARK(condition_frame)->Unit(benchmark::kMicrosecond);

// The host library must be started before intake can reduce frames.
struct started {
  started() { InitVerdaneLibrary(nullptr, true); }
} const library;

}  // namespace

BENCHMARK_MAIN();
