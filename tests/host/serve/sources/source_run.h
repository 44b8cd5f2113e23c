#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "host/support/straight_line.h"
#include "serve/source.h"

namespace qiv::testing {

/// Runs a source in a thread, and gathers what it hands over.
class SourceRun {
 public:
  explicit SourceRun(Source& source)
      : _thread([this, &source](std::stop_token stop) {
          source.run(std::move(stop), [this](std::vector<VehiclePosition>&& positions) {
            const std::lock_guard lock(_mutex);
            for (VehiclePosition& position : positions) _taken.push_back(std::move(position));
          });
        }) {}

  /// True as soon as `wanted` holds; false if it does not within 20 seconds.
  static bool until(const std::function<bool()>& wanted) {
    for (int i = 0; i < 4000; ++i) {
      if (wanted()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  std::vector<VehiclePosition> taken() const {
    const std::lock_guard lock(_mutex);
    return _taken;
  }
  bool has(std::size_t count) const {
    return until([&] { return taken().size() >= count; });
  }

 private:
  mutable std::mutex _mutex;
  std::vector<VehiclePosition> _taken;
  std::jthread _thread;
};

}  // namespace qiv::testing
