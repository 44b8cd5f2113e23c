#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "app/gateway_display.h"
#include "app/stream_worker.h"
#include "serve/source.h"
#include "worker/kafka/log_reader.h"
#include "worker/reference_codec.h"

namespace qiv {

/// Reads the stream for a display, and the agency's own feeds beside it. One thread, but for `why`
/// and `tell`.
class StreamGateway {
 public:
  /// A recorded day takes its time from the newest forecast.
  StreamGateway(const StreamCity& city, bool recorded, std::stop_token stop = {});
  ~StreamGateway();

  /// Listens to what the agency itself says, each source in a thread of its own.
  void listen(std::vector<std::unique_ptr<Source>> sources);

  /// Where these sources tell what they hear. May be called by any thread.
  void tell(AgencyReport report) { _display.tell(std::move(report)); }

  /// Takes what has come, and answers what is asked, for as long as `patience`; the first time,
  /// connects to the stream. Throws `kafka::Error`, also when it is asked to stop meanwhile.
  void take(std::chrono::milliseconds patience);

  /// What is on display at `now`; null until timetable, histories and forecasts have been read to
  /// their end.
  std::shared_ptr<Snapshot> show(Instant now);

  /// Asks the display, in the thread that calls `take`, and waits for the answer. May be called by
  /// any other thread.
  Why why(const TripKey& trip);

  /// The newest moment that a forecast was made at.
  Instant newest() const { return _display.newest(); }

 private:
  /// A timetable with its histories read to their end, and what reads on.
  struct Histories {
    std::shared_ptr<DisplayBasis> basis;
    std::unique_ptr<kafka::LogReader> log;
  };

  std::unique_ptr<kafka::LogReader> reader(const std::vector<std::string>& topics,
                                           const std::vector<std::string>& recent = {}) const;
  Histories read_histories(const std::string& gtfs, LearnedSettings settings) const;
  void follow_reference();
  void follow_forecasts(std::chrono::steady_clock::time_point until);
  void answer();

  const StreamCity& _city;
  GatewayDisplay _display;
  Reference _reference;
  bool _reference_changed = false;
  std::stop_token _stop;
  std::unique_ptr<kafka::LogReader> _reference_log;
  std::unique_ptr<kafka::LogReader> _finished_log;
  std::unique_ptr<kafka::LogReader> _forecast_log;  ///< and of positions; once there are histories
  std::mutex _mutex;
  std::deque<std::function<void()>> _asked;
  std::vector<std::unique_ptr<Source>> _sources;
  std::vector<std::jthread> _listening;
  std::future<Histories> _coming;  ///< are being read
};

}  // namespace qiv
