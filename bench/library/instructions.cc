// bench_instructions <contender> <size>: makes ten rounds of updates, to be counted by callgrind
// with --toggle-collect='counted_round*'. Prints the number of updates.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "library/contenders.h"
#include "library/fleet.h"

template <class Side>
[[gnu::noinline]] void counted_round(bench::Fleet<Side>& fleet) {
  fleet.drive([](typename Side::Forecast& forecast) { benchmark::DoNotOptimize(&forecast); });
}

namespace {

const int nb_rounds = 10;

template <class Side>
void run(const bench::Size& size) {
  bench::Fleet<Side> fleet(size);
  for (int i = 0; i < nb_rounds; ++i) {
    fleet.line_up();
    counted_round<Side>(fleet);
  }
  std::printf("%u\n", nb_rounds * bench::Fleet<Side>::nb_updates);
}

const bench::Size& size_named(const std::string& name) {
  for (const bench::Size* size : {&bench::small_size, &bench::city_size, &bench::large_size}) {
    if (size->name == name) return *size;
  }
  throw std::invalid_argument("no size is named " + name);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: bench_instructions <contender> <small|city|large>\n");
    return 2;
  }
  bench::silence_log();
  try {
    const bench::Contender contender = bench::contender_named(argv[1]);
    bench::choose(contender);
    if (contender == bench::Contender::twin) {
      run<bench::Twin>(size_named(argv[2]));
    } else {
      run<bench::Library>(size_named(argv[2]));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_instructions: %s\n", error.what());
    return 2;
  }
  return 0;
}
