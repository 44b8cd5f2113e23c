#include "app/gateway_display.h"

#include <algorithm>

#include "app/version.h"
#include "serve/vehicle_views.h"
#include "worker/position_codec.h"

namespace qiv {

namespace {

LearnedSettings with_wider_windows(LearnedSettings settings) {
  settings.fallback.window *= 2;
  for (auto& [pattern, own] : settings.patterns) own.window *= 2;
  return settings;
}

}  // namespace

DisplayBasis::DisplayBasis(std::shared_ptr<const Network> network, LearnedSettings settings)
    : _network(std::move(network)),
      _settings(std::move(settings)),
      _wide(with_wider_windows(_settings)),
      _book(*_network, _wide) {}

std::optional<FinishedTrip> DisplayBasis::take(const StreamMessage& message) {
  if (!message.value) return std::nullopt;
  auto decoded = decode_finished(message);
  if (const auto* const unused = std::get_if<Undecodable>(&decoded)) {
    _unused.add(unused->reason, [&] { return message.key; });
    return std::nullopt;
  }
  auto& trip = std::get<FinishedTrip>(decoded);
  if (!_book.take(trip)) return std::nullopt;
  return std::move(trip);
}

struct GatewayDisplay::Shown {
  Shown(std::shared_ptr<DisplayBasis> b, const EngineOptions& options)
      : basis(std::move(b)),
        board(*basis->network(), basis->settings(), basis->book().source(), options) {}

  std::shared_ptr<DisplayBasis> basis;
  ForecastBoard board;
};

GatewayDisplay::GatewayDisplay(CityConfig config, bool recorded)
    : _config(std::move(config)), _recorded(recorded) {}

GatewayDisplay::~GatewayDisplay() = default;

void GatewayDisplay::use(std::shared_ptr<DisplayBasis> basis) {
  const auto former = std::move(_shown);
  _shown = std::make_unique<Shown>(std::move(basis), _config.engine);
  if (former == nullptr) return;
  for (const StreamMessage& message : former->board.told_again()) _shown->board.take(message);
}

void GatewayDisplay::take_finished(const StreamMessage& message) {
  if (_shown == nullptr) return;
  if (const auto trip = _shown->basis->take(message)) _shown->board.learn_from(*trip);
}

void GatewayDisplay::take_forecast(const StreamMessage& message) {
  const auto unused = _shown == nullptr ? std::optional(Undecodable{"there is no timetable yet"})
                                        : _shown->board.take(message);
  if (unused) _unused.add(unused->reason, [&] { return message.key; });
}

void GatewayDisplay::take_position(const StreamMessage& message) {
  auto decoded = decode_position(message);
  auto* const what = std::get_if<0>(&decoded);
  auto* const position = what == nullptr ? nullptr : std::get_if<VehiclePosition>(what);
  if (position == nullptr) return;
  ++_positions;
  Seen& seen = _seen[position->vehicle];
  const bool is_repeated = !_recorded && is_same_report(seen.report, *position);
  if (!is_repeated && _shown != nullptr) _overlay.take(*position, *_shown->basis->network());
  seen.newest = std::max(seen.newest, position->time);
  seen.report = std::move(*position);
}

Instant GatewayDisplay::newest() const {
  return _shown == nullptr ? Instant() : _shown->board.newest();
}

std::shared_ptr<Snapshot> GatewayDisplay::show(Instant now) {
  if (_shown == nullptr) return nullptr;
  forget(now);
  auto snapshot = std::make_shared<Snapshot>();
  snapshot->serial = ++_serial;
  snapshot->now = now;
  snapshot->city = _config.name;
  snapshot->version = version;
  snapshot->network = _shown->basis->network();
  snapshot->trips = _shown->board.show(now, _config.track.silence);
  const auto last_of = [this](const VehicleId& vehicle) {
    const auto seen = _seen.find(vehicle);
    return seen == _seen.end() ? nullptr : &seen->second.report;
  };
  snapshot->vehicles = vehicle_views(said(now), last_of, snapshot->trips, *snapshot->network);
  snapshot->sources.push_back(source(now));
  snapshot->counts.positions_taken = _positions;
  snapshot->counts.trips_learned = _shown->basis->book().trips();
  snapshot->counts.cycles = _serial;
  snapshot->rejections = _unused;
  snapshot->rejections.merge(_shown->basis->unused());
  snapshot->ready = true;
  _overlay.apply(*snapshot, [this](const TripKey& trip) { return _shown->board.delay_s(trip); });
  return snapshot;
}

Why GatewayDisplay::why(const TripKey& trip) {
  if (_shown == nullptr) return {std::nullopt, "the service is starting"};
  auto found = _shown->board.why(trip);
  return {std::move(found.explanation), std::move(found.reason)};
}

/// Forgets the vehicles that neither report nor are on a trip.
void GatewayDisplay::forget(Instant now) {
  const Instant before = now - _config.track.memory;
  std::erase_if(_seen, [&](const auto& entry) { return entry.second.report.received < before; });
  _shown->board.forget([&](const VehicleState& state) {
    return state.said.last_report < before && !_seen.contains(state.said.vehicle);
  });
}

/// What the workers say of the vehicles. A vehicle that has fallen silent is stale, whether or not
/// its worker has found it yet; of one that no worker speaks of nothing is known but its reports.
std::vector<Tracker::VehicleReport> GatewayDisplay::said(Instant now) const {
  std::map<VehicleId, Tracker::VehicleReport> all;
  for (const auto& [vehicle, seen] : _seen) {
    Tracker::VehicleReport& report = all[vehicle];
    report.vehicle = vehicle;
    report.last_report = seen.newest;
  }
  for (const VehicleState& state : _shown->board.vehicles()) {
    const auto [entry, is_new] = all.try_emplace(state.said.vehicle, state.said);
    if (is_new) continue;
    const Instant newest = std::max(entry->second.last_report, state.said.last_report);
    entry->second = state.said;
    entry->second.last_report = newest;
  }
  std::vector<Tracker::VehicleReport> reports;
  for (auto& [vehicle, report] : all) {
    const auto seen = _seen.find(vehicle);
    const Seconds limit = _config.track.silence + Seconds(1);
    if (seen != _seen.end() && report.status != VehicleStatus::stale &&
        seen->second.report.received + limit <= now) {
      report.status = VehicleStatus::stale;
      report.since = seen->second.report.received + limit;
      report.trip.reset();
      report.confidence.reset();
    }
    reports.push_back(std::move(report));
  }
  return reports;
}

SourceView GatewayDisplay::source(Instant now) const {
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

}  // namespace qiv
