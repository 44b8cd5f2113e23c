#pragma once

#include <csignal>
#include <stop_token>
#include <thread>

namespace qiv {

/// Asks the service to stop when the process is asked to end. Make it before any other thread, so
/// that they leave these signals alone.
class EndSignals {
 public:
  EndSignals();

  std::stop_token stop() const { return _stop.get_token(); }

 private:
  sigset_t _signals{};
  std::stop_source _stop;
  std::jthread _waiter;
};

}  // namespace qiv
