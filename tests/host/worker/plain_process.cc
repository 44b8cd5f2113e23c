#include "host/worker/plain_process.h"

#include <map>
#include <utility>

#include "engine/engine.h"
#include "track/tracker.h"
#include "worker/forecast_codec.h"
#include "worker/history_book.h"
#include "worker/vehicle_codec.h"

namespace qiv::testing {
namespace {

class PlainProcess {
 public:
  PlainProcess(const StreamData& data, const LearnedSettings& settings, bool histories_grow)
      : _network(*data.network),
        _grow(histories_grow),
        _book(*data.network, settings),
        _engine(*data.network, settings, _book.source()),
        _tracker(*data.network) {
    for (const FinishedTrip& trip : data.histories) _book.take(trip);
  }

  void pass(Instant now) {
    _tracker.advance(now, _events);
    for (const TrackEvent& event : _events) say_state(vehicle_of(event), now);
    handle();
  }

  void take(const VehiclePosition& position) {
    _tracker.update(position, _events);
    say_state(position.vehicle, position.received);
    const bool any = !_events.empty();
    if (!handle() && any) say_forecast(position.vehicle, position.received);
  }

  std::vector<StreamMessage> said;

 private:
  struct Assignment {
    Instant at{};
    bool by_course = false;
    std::size_t told = 0;
  };

  /// Whether a forecast came of it.
  bool handle() {
    bool told = false;
    for (const TrackEvent& event : std::exchange(_events, {})) {
      _engine.apply(event);
      if (const auto* const began = std::get_if<TripAssigned>(&event)) {
        _assigned[began->vehicle] = {began->received, began->confidence.has_value(), 0};
      } else if (const auto* const progress = std::get_if<Progress>(&event)) {
        say_forecast(progress->vehicle, progress->received);
        told = true;
      } else if (const auto* const corrected = std::get_if<Corrected>(&event)) {
        _assigned[corrected->vehicle].told = 0;
      } else if (const auto* const ended = std::get_if<TripEnded>(&event)) {
        end(*ended);
      }
    }
    return told;
  }

  void end(const TripEnded& ended) {
    const TripRun& run = ended.run;
    said.push_back(encode_left({{stream_agency, run.trip, run.vehicle},
                                ended.received,
                                ended.reason == TripEnded::Reason::finished}));
    if (_grow && !run.progress.empty() && _book.take({stream_agency, run, ended.received})) {
      _engine.shard(0).learn_at_work(run, ended.received);
    }
  }

  void say_forecast(const VehicleId& vehicle, Instant now) {
    EngineShard& shard = _engine.shard(_engine.shard_of(vehicle));
    auto forecast = shard.forecast(vehicle, now);
    if (!forecast) return;
    Assignment& own = _assigned[vehicle];
    auto followed = shard.told_of(vehicle, own.told);
    own.told = followed->from + followed->progress.size();
    said.push_back(encode_forecast(
        {stream_agency, *forecast, own.at, own.by_course, std::move(followed)}, _network));
  }

  /// What is made of a vehicle, when anything but the time of its last report is new, and again
  /// when it was not said for an hour.
  void say_state(const VehicleId& vehicle, Instant now) {
    const auto report = _tracker.vehicle(vehicle);
    if (!report) return;
    auto timeless = *report;
    timeless.last_report = Instant();
    const std::string text = *encode_vehicle({stream_agency, timeless, Instant()}).value;
    auto& [last, when] = _states[vehicle];
    if (last == text && now - when < std::chrono::hours(1)) return;
    last = text;
    when = now;
    said.push_back(encode_vehicle({stream_agency, *report, Instant()}));
  }

  const Network& _network;
  bool _grow;
  HistoryBook _book;
  Engine _engine;
  Tracker _tracker;
  std::vector<TrackEvent> _events;
  std::map<VehicleId, Assignment> _assigned;
  std::map<VehicleId, std::pair<std::string, Instant>> _states;
};

}  // namespace

std::vector<StreamMessage> plain_process(const StreamData& data, const LearnedSettings& settings,
                                         bool histories_grow) {
  PlainProcess process(data, settings, histories_grow);
  for (const VehiclePosition& position : data.positions) {
    process.pass(position.received);
    process.take(position);
  }
  process.pass(data.positions.back().received + std::chrono::hours(3));
  return std::move(process.said);
}

}  // namespace qiv::testing
