#include "serve/sources/feed_intake.h"

#include <utility>

#include "feed/gtfs_realtime.h"
#include "feed/siri_vm.h"

namespace qiv {
namespace {

FeedMonitorOptions monitor_options(const FeedIntakeOptions& options) {
  FeedMonitorOptions monitor;
  monitor.name = options.name;
  monitor.kind = options.kind;
  monitor.stale_after = options.stale_after;
  if (options.content == FeedContent::positions) return monitor;
  monitor.newest = "the newest prediction";
  monitor.empty = "the last answer said nothing";
  return monitor;
}

bool looks_like_siri(std::string_view bytes) {
  return bytes.starts_with('<') || bytes.starts_with("\xEF\xBB\xBF<");
}

}  // namespace

const char* to_string(FeedContent content) {
  switch (content) {
    case FeedContent::positions:
      return "positions";
    case FeedContent::trip_updates:
      return "trip updates";
    case FeedContent::alerts:
      return "alerts";
  }
  return "unknown";
}

FeedIntake::FeedIntake(FeedIntakeOptions options, TakeReport tell)
    : _options(std::move(options)), _tell(std::move(tell)), _monitor(monitor_options(_options)) {}

PositionOptions FeedIntake::reading(Instant now, const std::string& name) const {
  PositionOptions reading;
  reading.name = name.empty() ? _options.name : name;
  reading.received = now;
  reading.strip_prefixes = _options.strip_prefixes;
  reading.max_snapshot_bytes = _options.most_bytes;
  return reading;
}

bool FeedIntake::take(Instant now, std::string_view bytes, const TakePositions& take,
                      const std::string& name) {
  const PositionOptions how = reading(now, name);
  if (_monitor.is_repeated(now, bytes)) {
    tell_again(now);
    return true;
  }
  if (_options.content == FeedContent::trip_updates) {
    return take_statements(now, read_trip_updates(bytes, how),
                           [](TripUpdateBatch& batch, AgencyContent& content) {
                             content.kind = AgencyContent::Kind::trip_updates;
                             if (!content.time) content.time = summary_of(batch).newest;
                             content.updates = std::move(batch.updates);
                           });
  }
  if (_options.content == FeedContent::alerts) {
    return take_statements(now, read_service_alerts(bytes, how),
                           [](AlertBatch& batch, AgencyContent& content) {
                             content.kind = AgencyContent::Kind::alerts;
                             content.alerts = std::move(batch.alerts);
                           });
  }
  return take_positions(now, bytes, how, take);
}

bool FeedIntake::take_positions(Instant now, std::string_view bytes, const PositionOptions& reading,
                                const TakePositions& take) {
  const PositionFormat by_look =
      looks_like_siri(bytes) ? PositionFormat::siri_vm : PositionFormat::gtfs_realtime;
  PositionBatch batch = _options.format.value_or(by_look) == PositionFormat::siri_vm
                            ? read_siri_vm(bytes, reading)
                            : read_vehicle_positions(bytes, reading);
  const FeedSummary summary = summary_of(batch);
  if (_monitor.accepts(now, summary)) take(std::move(batch.positions));
  return !summary.is_malformed();
}

template <class Batch, class Fill>
bool FeedIntake::take_statements(Instant now, Batch&& batch, Fill&& fill) {
  const FeedSummary summary = summary_of(batch);
  if (!_monitor.accepts(now, summary)) return !summary.is_malformed();
  AgencyContent content;
  content.time = batch.time;
  fill(batch, content);
  _said = std::make_shared<const AgencyContent>(std::move(content));
  tell_again(now);
  return true;
}

void FeedIntake::not_modified(Instant now) {
  _monitor.not_modified(now);
  tell_again(now);
}

void FeedIntake::tell_again(Instant now) {
  if (_said != nullptr && _tell) _tell({_options.name, now, _options.hold, _said});
}

}  // namespace qiv
