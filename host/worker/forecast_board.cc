#include "worker/forecast_board.h"

#include <algorithm>
#include <charconv>

#include "engine/tracked_engine.h"

namespace qiv {
namespace {

EngineOptions in_one_shard(EngineOptions options) {
  options.shards = 1;
  return options;
}

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

template <class Origin>
bool is_before(const std::optional<Origin>& a, const std::optional<Origin>& b) {
  return a && b && a->first == b->first && a->second < b->second;
}

bool is_moving(const TripForecast& forecast) {
  return forecast.state == TripState::under_way || forecast.state == TripState::overdue;
}

}  // namespace

ForecastBoard::ForecastBoard(const Network& network, const LearnedSettings& settings,
                             HistorySource history, const EngineOptions& options)
    : _network(network),
      _settings(settings),
      _history(std::move(history)),
      _options(in_one_shard(options)),
      _engine(network, settings, _history, _options) {}

std::optional<Undecodable> ForecastBoard::take(const StreamMessage& message) {
  const auto origin = parse_origin<Origin>(header_of(message, header::origin));
  if (is_of_vehicle(message)) {
    auto decoded = decode_vehicle(message);
    if (auto* const unused = std::get_if<Undecodable>(&decoded)) return std::move(*unused);
    if (!is_repeated(message, origin)) take(std::get<VehicleState>(std::move(decoded)));
    return std::nullopt;
  }
  auto decoded = decode_forecast(message, _network);
  if (auto* const unused = std::get_if<Undecodable>(&decoded)) return std::move(*unused);
  if (is_repeated(message, origin)) return std::nullopt;
  auto& what = std::get<0>(decoded);
  if (auto* const forecast = std::get_if<VehicleForecast>(&what)) {
    take(std::move(*forecast), origin);
  } else {
    take(std::get<LeftTrip>(what));
  }
  return std::nullopt;
}

/// One position may say several things of one key, which come one after another: only an earlier
/// position is a repetition. Messages of different keys have no order.
bool ForecastBoard::is_repeated(const StreamMessage& message, const std::optional<Origin>& origin) {
  if (origin) {
    const auto [last, is_new] = _last.try_emplace(message.key, LastOf{*origin, message.time});
    if (!is_new && is_before(origin, std::optional(last->second.origin))) {
      ++_repeated;
      return true;
    }
    last->second = {*origin, message.time};
  }
  ++_taken;
  return false;
}

/// A trip is over after half a day without a message.
void ForecastBoard::forget_messages() {
  constexpr Seconds interval = std::chrono::hours(1);
  constexpr Seconds kept = std::chrono::hours(12);
  if (_newest - _forgot < interval) return;
  _forgot = _newest;
  std::erase_if(_last, [&](const auto& entry) { return _newest - entry.second.when > kept; });
}

bool ForecastBoard::is_usable(const VehicleForecast& forecast) const {
  const bool arrivals = _options.mode == ForecastMode::arrival;
  return forecast.followed &&
         (arrivals ? forecast.forecast.legs.empty() : forecast.forecast.stops.empty());
}

void ForecastBoard::take(VehicleForecast&& forecast, const std::optional<Origin>& origin) {
  const TripForecast& shown = forecast.forecast;
  _newest = std::max(_newest, shown.made);
  const auto before = _on_trip.find(shown.vehicle);
  const bool is_known = before != _on_trip.end();
  const bool goes_on = is_known && before->second.last.forecast.trip == shown.trip &&
                       before->second.last.assigned == forecast.assigned;
  if (is_known && !goes_on && is_before(origin, before->second.origin)) return;
  if (!goes_on) {
    TripAssigned assigned{shown.vehicle, shown.trip, *_network.find_pattern(shown.pattern),
                          forecast.assigned};
    if (forecast.by_course) assigned.confidence = 1.0;
    _engine.apply(assigned);
  }
  if (is_moving(shown) || (forecast.followed && !forecast.followed->progress.empty())) {
    Progress begun;
    begun.vehicle = shown.vehicle;
    begun.trip = shown.trip;
    _engine.note(begun);
  }
  OnTrip now;
  now.origin = origin;
  now.as_made = !is_usable(forecast);
  if (!now.as_made) {
    now.whole = _engine.shard(0).follow(shown.vehicle, shown.trip, *forecast.followed) &&
                (!goes_on || before->second.whole || forecast.followed->from == 0);
    forecast.followed->progress.clear();
  }
  const VehicleId vehicle = shown.vehicle;
  now.last = std::move(forecast);
  _on_trip.insert_or_assign(vehicle, std::move(now));
}

void ForecastBoard::take(const LeftTrip& left) {
  TripEnded ended;
  ended.run.vehicle = left.trip.vehicle;
  ended.run.trip = left.trip.trip;
  ended.reason = left.finished ? TripEnded::Reason::finished : TripEnded::Reason::silent;
  ended.received = left.when;
  _engine.apply(ended);
  const auto vehicle = _on_trip.find(left.trip.vehicle);
  if (vehicle != _on_trip.end() && vehicle->second.last.forecast.trip == left.trip.trip) {
    _on_trip.erase(vehicle);
  }
}

void ForecastBoard::take(VehicleState&& state) {
  VehicleId vehicle = state.said.vehicle;
  _states.insert_or_assign(std::move(vehicle), std::move(state));
}

std::vector<TripForecast> ForecastBoard::show(Instant now, Seconds silence) {
  forget_messages();
  std::vector<TripForecast> shown = _engine.forecasts(now);
  std::erase_if(shown, [&](TripForecast& forecast) {
    if (forecast.vehicle.empty()) return false;
    const auto vehicle = _on_trip.find(forecast.vehicle);
    if (vehicle == _on_trip.end()) return true;
    const OnTrip& on_trip = vehicle->second;
    if (on_trip.as_made) forecast = on_trip.last.forecast;
    return now - on_trip.last.forecast.made > silence;
  });
  return shown;
}

std::vector<VehicleState> ForecastBoard::vehicles() const {
  std::map<VehicleId, VehicleState> all = _states;
  for (const auto& [vehicle, on_trip] : _on_trip) {
    const TripForecast& forecast = on_trip.last.forecast;
    const auto [entry, is_new] = all.try_emplace(vehicle);
    if (!is_new) continue;
    const VehicleStatus status =
        is_moving(forecast) ? VehicleStatus::under_way : VehicleStatus::waiting;
    entry->second = {
        on_trip.last.agency,
        {vehicle, status, on_trip.last.assigned, forecast.position_time, forecast.trip},
        forecast.made};
  }
  std::vector<VehicleState> states;
  states.reserve(all.size());
  for (auto& [vehicle, state] : all) {
    show_doubled(state.said, _engine);
    states.push_back(std::move(state));
  }
  return states;
}

void ForecastBoard::forget(const std::function<bool(const VehicleState&)>& is_forgotten) {
  std::erase_if(_states, [&](const auto& entry) {
    return !_on_trip.contains(entry.first) && is_forgotten(entry.second);
  });
}

ForecastBasisFound ForecastBoard::why(const TripKey& trip) {
  const LiveTrip* const live = _engine.live(trip);
  if (live == nullptr) return {std::nullopt, "no vehicle is under way on this trip"};
  const OnTrip& on_trip = _on_trip.at(live->vehicle);
  if (on_trip.as_made) {
    return {std::nullopt, "the worker that made the forecast does not say what from"};
  }
  if (!live->latest) return {std::nullopt, "no vehicle is under way on this trip"};
  if (!on_trip.whole) {
    return {std::nullopt, "the stream no longer has the beginning of this trip"};
  }
  return find_basis(*live, on_trip.last.followed->first_earlier, _network, _settings, _history,
                    _options.mode);
}

std::vector<StreamMessage> ForecastBoard::told_again() {
  std::vector<StreamMessage> messages;
  for (const auto& [vehicle, state] : _states) messages.push_back(encode_vehicle(state));
  for (const auto& [vehicle, on_trip] : _on_trip) {
    VehicleForecast told = on_trip.last;
    if (!on_trip.as_made) {
      told.followed = _engine.shard(0).told_of(vehicle, 0);
      told.followed->first_earlier = on_trip.last.followed->first_earlier;
    }
    messages.push_back(encode_forecast(told, _network));
  }
  return messages;
}

}  // namespace qiv
