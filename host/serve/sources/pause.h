#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <random>
#include <stop_token>

namespace qiv {

/// Waits for `time`, or until `stop` is requested, and returns whether it was.
inline bool pause(const std::stop_token& stop, std::chrono::milliseconds time) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  std::condition_variable_any never;
  never.wait_for(lock, stop, time, [] { return false; });
  return stop.stop_requested();
}

/// How long to wait after failures in a row: twice as long after each, up to a limit, give or take
/// a fifth, so that many clients do not come back together.
class BackOff {
 public:
  BackOff(std::chrono::milliseconds first, std::chrono::milliseconds longest, std::uint64_t seed)
      : _first(first), _longest(longest), _random(seed) {}

  void succeeded() { _failures = 0; }

  std::chrono::milliseconds failed() {
    auto wait = _first;
    for (unsigned i = 0; i < _failures && wait < _longest; ++i) wait *= 2;
    wait = std::min(wait, _longest);
    ++_failures;
    std::uniform_real_distribution<double> factor(0.8, 1.2);
    return std::chrono::milliseconds(
        static_cast<long long>(static_cast<double>(wait.count()) * factor(_random)));
  }

 private:
  std::chrono::milliseconds _first;
  std::chrono::milliseconds _longest;
  unsigned _failures = 0;
  std::mt19937_64 _random;
};

}  // namespace qiv
