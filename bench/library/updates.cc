// The time of an update, and of the kernel alone: all contenders in one run, for the four sizes and
// with one of the quantities growing.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "library/answers.h"
#include "library/contenders.h"
#include "library/fleet.h"

namespace {

using bench::Contender;
using bench::Size;

template <class Side>
void time_updates(benchmark::State& state, const Size& size, Contender contender) {
  bench::choose(contender);
  bench::Fleet<Side> fleet(size);
  for (auto _ : state) {
    fleet.line_up();
    const double start_s = bench::thread_time_s();
    fleet.drive([](typename Side::Forecast& forecast) { benchmark::DoNotOptimize(&forecast); });
    state.SetIterationTime((bench::thread_time_s() - start_s) / bench::Fleet<Side>::nb_updates);
  }
}

template <class Side>
void time_kernel(benchmark::State& state, const Size& size, Contender contender) {
  bench::choose(contender);
  bench::Weighing<Side> weighing(size);
  const unsigned int nb_kernels = 16;
  for (auto _ : state) {
    const double start_s = bench::thread_time_s();
    for (unsigned int i = 0; i < nb_kernels; ++i) {
      typename Side::Kernel kernel = weighing.weights();
      benchmark::DoNotOptimize(kernel[0]);
    }
    state.SetIterationTime((bench::thread_time_s() - start_s) / nb_kernels);
  }
}

/// About as many iterations for every size and contender as fill a twentieth of a second.
benchmark::IterationCount iterations(const Size& size, unsigned int nb_calls) {
  const double interpolations = 2.0 * size.trips * (size.updates + size.stops);
  return 4 + static_cast<benchmark::IterationCount>(2e7 / (interpolations * nb_calls));
}

void add(const std::string& name, const Size& size, bool kernel_too) {
  for (const Contender contender : bench::contenders()) {
    bench::check_answers(size, contender);
    const bool twin = contender == Contender::twin;
    const auto update = twin ? time_updates<bench::Twin> : time_updates<bench::Library>;
    const std::string ending = "/" + name + "/" + bench::name_of(contender);
    benchmark::RegisterBenchmark(("update" + ending).c_str(), update, size, contender)
        ->UseManualTime()
        ->Iterations(iterations(size, bench::Fleet<bench::Twin>::nb_updates));
    if (!kernel_too) continue;
    const auto kernel = twin ? time_kernel<bench::Twin> : time_kernel<bench::Library>;
    benchmark::RegisterBenchmark(("kernel" + ending).c_str(), kernel, size, contender)
        ->UseManualTime()
        ->Iterations(iterations(size, 16));
  }
}

/// The city's size with one quantity set to each of its values.
void add_growth(const std::string& quantity, unsigned int Size::*member,
                const std::vector<unsigned int>& values) {
  for (const unsigned int value : values) {
    Size size = bench::city_size;
    size.*member = value;
    add(quantity + ":" + std::to_string(value), size, false);
  }
}

}  // namespace

int main(int argc, char** argv) {
  bench::silence_log();
  for (const Size& size :
       {bench::small_size, bench::city_size, bench::large_size, bench::huge_size}) {
    add(size.name, size, true);
  }
  add_growth("trips", &Size::trips, {12, 25, 50, 100, 200, 400});
  add_growth("updates", &Size::updates, {10, 20, 40, 80, 160, 320});
  add_growth("stops", &Size::stops, {10, 20, 40, 80, 160});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
