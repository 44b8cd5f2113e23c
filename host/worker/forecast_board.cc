#include "worker/forecast_board.h"

#include <algorithm>
#include <charconv>

namespace qiv {
namespace {

/// Reads "partition:offset".
template <class Origin>
std::optional<Origin> parse_origin(const std::string& text) {
  Origin origin;
  const char* const end = text.data() + text.size();
  const auto [colon, bad_partition] = std::from_chars(text.data(), end, origin.first);
  if (bad_partition != std::errc() || colon == end || *colon != ':') return std::nullopt;
  const auto [rest, bad_offset] = std::from_chars(colon + 1, end, origin.second);
  if (bad_offset != std::errc() || rest != end) return std::nullopt;
  return origin;
}

bool is_moving(const TripForecast& forecast) {
  return forecast.state == TripState::under_way || forecast.state == TripState::overdue;
}

}  // namespace

ForecastBoard::ForecastBoard(const Network& network, const LearnedSettings& settings,
                             HistorySource history, const EngineOptions& options)
    : _network(network),
      _settings(settings),
      _roster(network, options.announce, options.ghost_patience),
      _shard(network, settings, std::move(history), options) {}

std::optional<Undecodable> ForecastBoard::take(const StreamMessage& message) {
  auto decoded = decode_forecast(message, _network);
  if (auto* const unused = std::get_if<Undecodable>(&decoded)) return std::move(*unused);
  auto& what = std::get<0>(decoded);
  auto* const forecast = std::get_if<VehicleForecast>(&what);
  const VehicleId& vehicle =
      forecast != nullptr ? forecast->forecast.vehicle : std::get<LeftTrip>(what).trip.vehicle;
  if (is_repeated(vehicle, message)) {
    ++_repeated;
    return std::nullopt;
  }
  ++_taken;
  if (forecast != nullptr) {
    take(std::move(*forecast));
  } else {
    take(std::get<LeftTrip>(what));
  }
  return std::nullopt;
}

/// One position may say several things, which come one after another: only an earlier position is a
/// repetition, and the same one if it says nothing newer.
bool ForecastBoard::is_repeated(const VehicleId& vehicle, const StreamMessage& message) {
  const auto origin = parse_origin<Origin>(header_of(message, header::origin));
  if (!origin) return false;
  const auto [last, is_new] = _origins.try_emplace(vehicle, *origin);
  if (!is_new && last->second.first == origin->first && origin->second < last->second.second) {
    return true;
  }
  last->second = *origin;
  return false;
}

void ForecastBoard::take(VehicleForecast&& forecast) {
  const TripForecast& shown = forecast.forecast;
  _newest = std::max(_newest, shown.made);
  const auto pattern = _network.find_pattern(shown.pattern);
  const auto before = _vehicles.find(shown.vehicle);
  const bool goes_on = before != _vehicles.end() && before->second.forecast.trip == shown.trip &&
                       before->second.assigned == forecast.assigned;
  if (!goes_on) {
    TripAssigned assigned{shown.vehicle, shown.trip, *pattern, forecast.assigned};
    if (forecast.by_course) assigned.confidence = 1.0;
    _roster.apply(assigned);
  }
  if (is_moving(shown)) {
    Progress progress;
    progress.vehicle = shown.vehicle;
    progress.trip = shown.trip;
    _roster.apply(progress);
  }
  _vehicles.insert_or_assign(shown.vehicle, std::move(forecast));
}

void ForecastBoard::take(const LeftTrip& left) {
  TripEnded ended;
  ended.run.vehicle = left.trip.vehicle;
  ended.run.trip = left.trip.trip;
  ended.reason = left.finished ? TripEnded::Reason::finished : TripEnded::Reason::silent;
  ended.received = left.when;
  _roster.apply(ended);
  const auto vehicle = _vehicles.find(left.trip.vehicle);
  if (vehicle != _vehicles.end() && vehicle->second.forecast.trip == left.trip.trip) {
    _vehicles.erase(vehicle);
  }
}

std::vector<TripForecast> ForecastBoard::show(Instant now, Seconds silence) {
  std::map<TripKey, TripForecast> shown;
  for (const auto& [vehicle, of_vehicle] : _vehicles) {
    const TripForecast& forecast = of_vehicle.forecast;
    if (now - forecast.made > silence || !_roster.leads(vehicle, forecast.trip)) continue;
    shown.emplace(forecast.trip, forecast);
  }
  std::map<TripKey, TripForecast> announced;
  for (const ScheduledTrip& trip : _roster.announced(now)) {
    if (auto forecast = announce(trip, shown, now)) announced.emplace(trip.key, *forecast);
  }
  shown.merge(announced);
  std::vector<TripForecast> result;
  for (auto& [trip, forecast] : shown) result.push_back(std::move(forecast));
  return result;
}

/// The forecast of a trip that no vehicle has begun: its vehicle must have arrived from the trip
/// before, and have turned around.
std::optional<TripForecast> ForecastBoard::announce(const ScheduledTrip& trip,
                                                    const std::map<TripKey, TripForecast>& shown,
                                                    Instant now) {
  const auto previous = trip.previous ? shown.find(*trip.previous) : shown.end();
  Instant earliest = Instant::min();
  if (previous != shown.end() && is_moving(previous->second) && !previous->second.stops.empty()) {
    earliest = std::max(trip.first_departure(),
                        previous->second.stops.back().arrival.time + _settings.turnaround);
  }
  return _shard.announce(trip, earliest, now);
}

}  // namespace qiv
