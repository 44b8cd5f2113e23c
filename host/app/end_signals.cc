#include "app/end_signals.h"

namespace qiv {

EndSignals::EndSignals() {
  sigemptyset(&_signals);
  sigaddset(&_signals, SIGINT);
  sigaddset(&_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &_signals, nullptr);
  _waiter = std::jthread([this](const std::stop_token& ended) {
    const timespec look{0, 100'000'000};
    while (!ended.stop_requested()) {
      if (sigtimedwait(&_signals, nullptr, &look) > 0) _stop.request_stop();
    }
  });
}

}  // namespace qiv
