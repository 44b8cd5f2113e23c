#include "app/stream_histories.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "track/tracker.h"
#include "worker/kafka/log_reader.h"
#include "worker/stream_key.h"
#include "worker/topics.h"

namespace qiv {
namespace {

/// Trips of vehicles, by the keys of their forecasts.
using Trips = std::set<std::string>;

/// The trips that vehicles leave when the recorded positions are followed.
class Following {
 public:
  Following(const City& city, const AgencyId& agency)
      : _agency(agency), _tracker(city.network(), city.config().track) {}

  void take(const VehiclePosition& position) {
    _tracker.advance(position.received, _events);
    _tracker.update(position, _events);
  }
  void pass(Instant until) { _tracker.advance(until, _events); }

  /// Tells the trips that have ended since it was called last.
  void tell(const std::function<void(const FinishedTrip&)>& take) {
    for (TrackEvent& event : std::exchange(_events, {})) {
      auto* const ended = std::get_if<TripEnded>(&event);
      if (ended == nullptr || ended->run.progress.empty()) continue;
      _seen.insert(forecast_key({_agency, ended->run.trip, ended->run.vehicle}));
      take({_agency, std::move(ended->run), ended->received});
    }
  }

  /// All trips that were seen, those that vehicles are still on too.
  Trips end() {
    _tracker.finish(_events);
    tell([](const FinishedTrip&) {});
    return std::move(_seen);
  }

 private:
  AgencyId _agency;
  Tracker _tracker;
  std::vector<TrackEvent> _events;
  Trips _seen;
};

/// Those that the stream has at this moment.
Trips written_trips(const StreamConfig& config) {
  Trips trips;
  kafka::LogReader reader(config.properties, {Topics(config.topics).finished});
  while (!reader.at_end()) {
    const auto received = reader.poll(std::chrono::milliseconds(100));
    if (!received || !received->message.value) continue;
    if (const auto key = parse_finished_key(received->message.key)) {
      trips.insert(forecast_key(key->trip));
    }
  }
  return trips;
}

}  // namespace

void finished_trips(City& city, const AgencyId& agency, ServiceDate last, Instant until,
                    const std::function<void(const FinishedTrip&)>& take) {
  Following following(city, agency);
  for (const ServiceDate day : city.recorded_days()) {
    if (day > last) break;
    for (const VehiclePosition& position : city.positions(day)) following.take(position);
    following.tell(take);
  }
  following.pass(until);
  following.tell(take);
  const Trips seen = following.end();
  city.archive().read_runs(
      {std::nullopt, std::nullopt, std::nullopt, last}, [&](ArchivedRun&& archived) {
        TripRun& run = archived.run;
        if (run.progress.empty() || seen.contains(forecast_key({agency, run.trip, run.vehicle}))) {
          return;
        }
        const Instant finished = archived.ended.value_or(run.progress.back().received);
        take({agency, std::move(run), finished});
      });
}

std::uint64_t write_histories(City& city, const StreamConfig& config, kafka::Producer& producer,
                              ServiceDate last, Instant until) {
  const std::string topic = Topics(config.topics).finished;
  const Trips written = written_trips(config);
  std::uint64_t count = 0;
  finished_trips(city, AgencyId(config.agency), last, until, [&](const FinishedTrip& trip) {
    const FinishedKey key = key_of(trip);
    if (written.contains(forecast_key(key.trip))) return;
    producer.send(topic, finished_group(key), encode_finished(trip));
    ++count;
  });
  producer.flush();
  return count;
}

}  // namespace qiv
