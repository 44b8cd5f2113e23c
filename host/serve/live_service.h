#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "serve/cycle_pace.h"
#include "serve/live_city.h"
#include "serve/live_overlay.h"
#include "serve/source.h"

namespace qiv {

struct ServiceOptions {
  std::string city;     ///< its name, for people
  std::string version;  ///< of the program
  /// Forecasts are published so often.
  std::chrono::milliseconds cycle{1000};
  /// So many positions wait at most; beyond that the oldest are given up, and counted.
  std::size_t most_waiting = 1'000'000;
  LiveScoreOptions scores;
};

/// How fast a recorded day moves.
struct RecordedPace {
  std::string name = "recorded day";    ///< of the source, for people
  double speed = 0.0;                   ///< times as fast as it was recorded; 0: as fast as it goes
  Instant shown_from = Instant::min();  ///< until here it goes as fast as it can, unseen
};

/// Takes what the service shows once a cycle.
using Publish = std::function<void(std::shared_ptr<const Snapshot> snapshot)>;

/// The clock of the service.
using Clock = std::function<Instant()>;

/// Runs a city around the clock: one thread drives the engine, cycle after cycle; the sources have
/// threads of their own.
class LiveService {
 public:
  LiveService(LiveCity& city, std::vector<std::unique_ptr<Source>> sources, Publish publish,
              ServiceOptions options = {});
  ~LiveService();

  /// Runs until it is asked to stop. Everything that was taken is stored then.
  void run(std::stop_token stop, const Clock& clock);

  /// Shows recorded positions, in order of receipt, as if they came now, and with them what the
  /// agency said, in the same order. Returns when the positions have come to their end, or when it
  /// is asked to stop. Sources are not run; the recording is shown as one.
  void run_recorded(std::stop_token stop, const std::vector<VehiclePosition>& positions,
                    const RecordedPace& pace, std::span<const AgencyReport> agency = {});

  /// Answers questions, and shows nothing new, until it is asked to stop.
  void stand_still(std::stop_token stop);

  /// Takes what one of the agency's own feeds says, for the next cycle. May be called by any
  /// thread.
  void tell(AgencyReport report) { _overlay.tell(std::move(report)); }

  /// Has `job` done by the engine's thread before its next cycle, for questions and changes that
  /// need the city. May be called by any thread.
  void post(std::function<void(LiveCity& city, Instant now)> job);

  /// Readiness, told with every snapshot; an empty text means ready. May be called by any thread.
  void set_not_ready(std::string reason);

  const LiveScores& scores() const { return _overlay.scores(); }

 private:
  void receive(std::vector<VehiclePosition>&& positions);
  std::vector<VehiclePosition> waiting();
  void wait_for_cycle(std::stop_token stop, std::chrono::steady_clock::time_point until,
                      const Clock& clock);
  void wait_for_cycle(std::stop_token stop, const CyclePace& pace);
  void work_off(Instant now);
  void take(std::span<const VehiclePosition> positions);
  void take_recorded(std::span<const VehiclePosition> positions);
  void cycle(Instant now);

  LiveCity& _city;
  std::vector<std::unique_ptr<Source>> _sources;
  Publish _publish;
  ServiceOptions _options;
  LiveOverlay _overlay;
  std::optional<SourceView> _recording;  ///< of the recorded day that is shown

  std::mutex _mutex;
  std::condition_variable_any _wake;
  std::deque<VehiclePosition> _waiting;
  std::deque<std::function<void(LiveCity&, Instant)>> _jobs;
  std::string _not_ready;
  std::uint64_t _given_up = 0;
  Instant _last{};
};

}  // namespace qiv
