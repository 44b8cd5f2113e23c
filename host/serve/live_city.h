#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "engine/explain.h"
#include "engine/tracked_engine.h"
#include "history/archive.h"
#include "model/settings.h"
#include "serve/archive_history.h"
#include "serve/archive_writer.h"
#include "serve/snapshot.h"

namespace qiv {

struct LiveCityOptions {
  TrackOptions track;
  EngineOptions engine;
  ArchiveWriter::Options writer;
  /// False: nothing is brought into the archive, as when a recorded day is shown again.
  bool records = true;
  /// A report that is received again and again, as polled feeds repeat the last one of every
  /// vehicle, is stored so often. After a restart a vehicle was last heard of by up to so much
  /// earlier, until its report is received once more.
  Seconds store_repeated{30};
  /// The histories begin with the trips that ended before this moment.
  Instant history_until = Instant::max();
  /// After a restart the vehicles on the road are rebuilt from the positions since their trips
  /// began, and this long before ...
  Seconds rebuild_margin{1800};
  /// ... but of no more than this stretch of time.
  Seconds longest_rebuild{6 * 3600};
  /// When settings change while the city goes on, the new engine is taken so many of these
  /// positions further with every `advance`, and some more to the end of a stretch.
  std::size_t replayed_at_once = 3000;
};

/// A city under way: positions and time go in, snapshots come out, and everything that happens is
/// brought into the archive. One thread at a time; reads no clock.
///
/// The archive is enough to come back: a city that is made anew from it goes on as this one would
/// have.
class LiveCity {
 public:
  /// `archive` must outlive the city, and so must what `histories` refers to. After a restart call
  /// `rebuild` before the first position.
  LiveCity(std::shared_ptr<const Network> network, LearnedSettings settings, Archive& archive,
           HistoryFactory histories, LiveCityOptions options = {});
  ~LiveCity();

  /// Brings the vehicles on the road back, as of `now`, from the archive. What the archive calls
  /// under way and is not any more is closed.
  void rebuild(Instant now);

  /// Takes positions that were received in the same second, as `TrackedEngine::take` says. After a
  /// restart the city goes on as this one would have if each second comes in one call.
  void take(std::span<const VehiclePosition> together);
  void take(const VehiclePosition& position) { take(std::span(&position, 1)); }

  /// True for the last report of its vehicle, received again.
  bool is_repeated(const VehiclePosition& position) const;

  /// Lets time pass until `now`.
  void advance(Instant now);

  /// Stores what has happened since the last call, as one transaction. False when the archive
  /// could not take it; it is tried again with the next.
  bool store();

  /// Changes to a new timetable: trips on the road finish on the one that they began on, histories
  /// stay for every pattern that stays the same.
  void use_timetable(std::shared_ptr<const Network> network, Instant now);

  /// Changes to newly learned settings: builds the engine anew beside the old one, from the
  /// archive, a part with each `advance`, and changes over when it has come as far.
  void use_settings(LearnedSettings settings, Instant now);

  /// What is on display at `now`. Sources, scores, names and readiness are the caller's to fill in.
  Snapshot show(Instant now);

  /// What is behind the present forecast of a trip under way; nothing for any other trip.
  std::optional<Explanation> explain_trip(const TripKey& trip);

  /// Called with each trip that has ended, before the histories take it.
  std::function<void(const TripRun& run, Instant now)> on_finished;

  /// How far a trip under way is behind its timetable, in seconds; nothing before its first report.
  std::optional<double> delay_s(const TripKey& trip);

  const Network& network() const { return *_network; }
  const ArchiveWriter& writer() const { return _writer; }

 private:
  struct Generation;
  struct Renewal;
  /// The last report of a vehicle.
  struct Seen {
    VehiclePosition report;
    Instant stored{};  ///< when one was received that was stored
  };

  std::unique_ptr<Generation> make_generation(std::shared_ptr<const Network> network) const;
  std::unique_ptr<Renewal> begin_renewal(Instant now) const;
  void end_renewal(Renewal& renewal, Instant now);
  void go_on_renewing(Instant now);
  void listen(Generation& generation);
  Instant rebuild_from(Instant now) const;
  void close_abandoned();
  Engine& engine_of(const TripKey& trip) const;
  void note(const VehiclePosition& position);
  bool take_on_old(const VehiclePosition& position);
  std::vector<TripForecast> displayed(Instant now);
  void add_retiring(std::vector<Tracker::VehicleReport>& said) const;
  std::vector<VehicleView> views_of(const std::vector<TripForecast>& shown, Instant now);

  Archive& _archive;
  HistoryFactory _histories;
  LiveCityOptions _options;
  ArchiveWriter _writer;
  std::shared_ptr<const Network> _network;
  std::shared_ptr<const LearnedSettings> _settings;
  std::unique_ptr<Generation> _current;
  std::unique_ptr<Renewal> _renewal;                   ///< null while nothing is renewed
  std::vector<std::unique_ptr<Generation>> _retiring;  ///< on earlier timetables, oldest first
  std::unordered_map<VehicleId, Seen> _seen;
  std::uint64_t _serial = 0;
  std::uint64_t _taken = 0;
};

}  // namespace qiv
