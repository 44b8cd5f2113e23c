#pragma once

#include <chrono>
#include <thread>

namespace qiv::testing {

/// True as soon as `holds` does; false after ten seconds.
template <class Holds>
bool eventually(Holds&& holds) {
  for (int i = 0; i < 10'000; ++i) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

}  // namespace qiv::testing
