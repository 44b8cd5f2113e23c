#include "app/stream_gateway.h"

#include <algorithm>

#include "app/version.h"
#include "worker/position_codec.h"

namespace qiv {

/// One timetable on display.
struct StreamGateway::Shown {
  Shown(std::shared_ptr<const Network> n, LearnedSettings s, const HistoryBook& book,
        const EngineOptions& options)
      : network(std::move(n)),
        settings(std::move(s)),
        board(*network, settings, book.source(*network), options) {}

  std::shared_ptr<const Network> network;
  LearnedSettings settings;
  ForecastBoard board;
};

StreamGateway::StreamGateway(const StreamCity& city)
    : _city(city),
      _log(city.stream.properties,
           {city.topics.reference, city.topics.finished, city.topics.forecasts},
           {city.topics.positions}) {}

StreamGateway::~StreamGateway() = default;

void StreamGateway::take(std::chrono::milliseconds patience) {
  const auto until = std::chrono::steady_clock::now() + patience;
  do {
    while (const auto message = _log.poll(std::chrono::milliseconds(20))) take(*message);
  } while (std::chrono::steady_clock::now() < until);
}

void StreamGateway::take(const kafka::Received& received) {
  const Topics& names = _city.topics;
  const StreamMessage& message = received.message;
  std::optional<Undecodable> unused;
  if (received.topic == names.positions) {
    take_position(message);
  } else if (received.topic == names.reference) {
    unused = _reference.take(message);
    _reference_changed = true;
  } else if (received.topic == names.forecasts) {
    if (_shown == nullptr) {
      _early.push_back(message);
    } else {
      unused = _shown->board.take(message);
    }
  } else if (message.value) {
    const auto decoded = decode_finished(message);
    const auto* const trip = std::get_if<FinishedTrip>(&decoded);
    if (trip != nullptr && _book.take(*trip) && _shown != nullptr) _shown->board.learn_from(*trip);
  }
  if (unused) _unused.add(unused->reason, [&] { return received.topic + ": " + message.key; });
}

void StreamGateway::take_position(const StreamMessage& message) {
  auto decoded = decode_position(message);
  auto* const what = std::get_if<0>(&decoded);
  auto* const position = what == nullptr ? nullptr : std::get_if<VehiclePosition>(what);
  if (position == nullptr) return;
  ++_positions;
  VehiclePosition& seen = _seen[position->vehicle];
  if (position->time >= seen.time) seen = std::move(*position);
}

Instant StreamGateway::newest() const {
  return _shown == nullptr ? Instant() : _shown->board.newest();
}

/// Puts timetable and settings on display, and what has been said before they came.
void StreamGateway::begin() {
  _shown = std::make_unique<Shown>(network_of(*_reference.gtfs()),
                                   _reference.settings().value_or(LearnedSettings()), _book,
                                   _city.config.engine);
  for (const StreamMessage& message : _early) {
    const auto unused = _shown->board.take(message);
    if (unused) _unused.add(unused->reason, [&] { return message.key; });
  }
  _early.clear();
}

/// A new timetable or new settings take the place of the old: the forecasts of the patterns that
/// both have stay.
void StreamGateway::begin_anew() {
  const auto former = std::move(_shown);
  begin();
  for (const auto& [vehicle, forecast] : former->board.vehicles()) {
    _shown->board.take(encode_forecast(forecast, *former->network));
  }
}

std::shared_ptr<Snapshot> StreamGateway::show(Instant now) {
  if (!_log.at_end() || _reference.gtfs() == nullptr) return nullptr;
  if (_shown == nullptr) {
    begin();
  } else if (_reference_changed) {
    begin_anew();
  }
  _reference_changed = false;
  auto snapshot = std::make_shared<Snapshot>();
  snapshot->serial = ++_serial;
  snapshot->now = now;
  snapshot->city = _city.config.name;
  snapshot->version = version;
  snapshot->network = _shown->network;
  snapshot->trips = _shown->board.show(now, _city.config.track.silence);
  snapshot->vehicles = vehicle_views(now);
  snapshot->sources.push_back(source(now));
  snapshot->counts.positions_taken = _positions;
  snapshot->counts.trips_learned = _book.trips();
  snapshot->counts.cycles = _serial;
  snapshot->rejections = _unused;
  snapshot->ready = true;
  return snapshot;
}

/// Fills in what is known of the trip that the vehicle is on.
void StreamGateway::add_trip(const VehicleForecast& of_vehicle, VehicleView& view) const {
  const TripForecast& forecast = of_vehicle.forecast;
  if (!_shown->board.leads(view.vehicle, forecast.trip)) {
    view.status = VehicleStatus::doubled;
    return;
  }
  view.trip = forecast.trip;
  view.since = of_vehicle.assigned;
  view.status = forecast.state == TripState::waiting || forecast.state == TripState::not_begun
                    ? VehicleStatus::waiting
                    : VehicleStatus::under_way;
  view.offset_m = forecast.offset_m;
  const auto trip = _shown->network->schedule(forecast.trip);
  if (!trip) return;
  view.route = _shown->network->pattern(trip->pattern()).route;
  const auto next = std::find_if(forecast.stops.begin(), forecast.stops.end(),
                                 [](const StopForecast& stop) { return !stop.observed; });
  if (next == forecast.stops.end()) return;
  const auto i = static_cast<std::size_t>(next - forecast.stops.begin());
  view.lateness = next->arrival.time - trip->arrival(i);
}

SourceView StreamGateway::source(Instant now) const {
  SourceView view;
  view.name = "forecasts";
  view.kind = "Kafka";
  view.positions = _positions;
  const Instant made = newest();
  if (made == Instant()) {
    view.detail = "no forecast has come yet";
    return view;
  }
  view.last_success = view.newest_entity_time = made;
  const bool stale = now - made > Seconds(120);
  view.health = stale ? SourceHealth::stale : SourceHealth::good;
  if (stale) view.detail = "the newest forecast was made at " + format_utc(made);
  return view;
}

std::vector<VehicleView> StreamGateway::vehicle_views(Instant now) {
  const TrackOptions& track = _city.config.track;
  std::erase_if(_seen,
                [&](const auto& entry) { return now - entry.second.received > track.memory; });
  std::vector<VehicleView> views;
  for (const auto& [vehicle, position] : _seen) {
    VehicleView view;
    view.vehicle = vehicle;
    view.last_report = position.time;
    view.last_received = position.received;
    view.place = position.place;
    view.bearing_deg = position.bearing_deg;
    view.speed_mps = position.speed_mps;
    view.reported_trip = position.trip;
    view.route = position.route;
    if (now - position.received > track.silence) view.status = VehicleStatus::stale;
    const auto on_trip = _shown->board.vehicles().find(vehicle);
    if (on_trip != _shown->board.vehicles().end()) add_trip(on_trip->second, view);
    views.push_back(std::move(view));
  }
  return views;
}

}  // namespace qiv
