// Time of a bundle adjustment of a turning camera, by the number of scene
// points: the reduced system has the size of the camera unknowns only, so
// the time grows linearly in the points (2 x 2 work each).
#include <benchmark/benchmark.h>

#include "rotation_rig.h"
#include "solvers/bundle_adjuster.h"

namespace {

using namespace test_support;

template <bool Robust>
void adjust_rig(benchmark::State& state) {
  constexpr std::size_t cameras = 20;
  const auto points = static_cast<std::size_t>(state.range(0));
  const rotation_rig rig = make_rotation_rig(cameras, points, 1.0, Robust ? 0.05 : 0.0, 1);
  const auto start = start_cameras<Robust>(rig, 2);
  const auto start_at = start_points(rig, 3);
  shared_lens lens;
  lens.mode = 7;
  const std::vector<std::vector<scene_observation>> none(cameras);
  uint64_t iterations = 0, evaluations = 0;
  for (auto _ : state) {
    const sparse_bundle_adjuster2<simple_rotation_camera<Robust>> adjusted(lens, start, start_at, {}, rig.observations,
                                                                           none);
    if (adjusted.failed) state.SkipWithError("the adjustment failed");
    iterations = adjusted.control.iter;
    evaluations = adjusted.control.nfev;
  }
  std::size_t observations = 0;
  for (const auto& seen : rig.observations) observations += seen.size();
  state.counters["observations"] = static_cast<double>(observations);
  state.counters["iterations"] = static_cast<double>(iterations);
  state.counters["evaluations"] = static_cast<double>(evaluations);
  state.SetComplexityN(static_cast<int64_t>(points));
}

BENCHMARK(adjust_rig<false>)->Name("plain_20_cameras")->Arg(1250)->Arg(2500)->Arg(5000)->Arg(10000)->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);
BENCHMARK(adjust_rig<true>)->Name("robust_20_cameras")->Arg(1250)->Arg(2500)->Arg(5000)->Arg(10000)->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
