#include "publish/check.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <set>
#include <utility>

#include "publish/check_stops.h"

namespace qiv {
namespace {

using transit_realtime::FeedEntity;
using transit_realtime::FeedHeader;
using transit_realtime::FeedMessage;
using transit_realtime::TripDescriptor;
using transit_realtime::TripUpdate;

// 2000-01-01 and 2100-01-01: a time outside is no number of seconds since 1970.
constexpr long long earliest_time_s = 946'684'800;
constexpr long long latest_time_s = 4'102'444'800;

bool is_plausible(std::uint64_t timestamp) {
  return timestamp >= static_cast<std::uint64_t>(earliest_time_s) &&
         timestamp < static_cast<std::uint64_t>(latest_time_s);
}

bool is_canceled(const TripDescriptor& trip) {
  return trip.schedule_relationship() == TripDescriptor::CANCELED ||
         trip.schedule_relationship() == TripDescriptor::DELETED;
}

std::string seconds(long long count) {
  return std::to_string(count) + " s";
}

class FeedChecker {
 public:
  FeedChecker(const Network& network, const FeedCheckOptions& options,
              std::vector<FeedViolation>& violations)
      : _network(network), _options(options), _violations(violations) {}

  void check(const FeedMessage& message) {
    check_header(message.header());
    for (const FeedEntity& entity : message.entity()) check(entity);
  }

  void check(const FeedEntity& entity) {
    _entity = entity.id();
    if (entity.id().empty()) {
      report(FeedRule::entity_id, "an entity has no id");
    } else if (!_entity_ids.insert(entity.id()).second) {
      report(FeedRule::entity_id, "id is used twice");
    }
    if (entity.is_deleted()) report(FeedRule::entity_kind, "deleted in a full data set");
    if (!entity.has_trip_update()) {
      report(FeedRule::entity_kind, "no trip update");
      return;
    }
    check_update(entity.trip_update());
  }

 private:
  void report(FeedRule rule, std::string detail) {
    _violations.push_back({rule, _entity, std::move(detail)});
  }

  void check_header(const FeedHeader& header) {
    if (header.gtfs_realtime_version() != "2.0") {
      report(FeedRule::version,
             "gtfs_realtime_version is '" + header.gtfs_realtime_version() + "'");
    }
    if (!header.has_incrementality() || header.incrementality() != FeedHeader::FULL_DATASET) {
      report(FeedRule::incrementality, "incrementality is not FULL_DATASET");
    }
    if (!is_plausible(header.timestamp())) {
      report(FeedRule::header_time, "timestamp is " + std::to_string(header.timestamp()));
      return;
    }
    _header_time = from_unix_seconds(static_cast<long long>(header.timestamp()));
    check_header_time(*_header_time);
  }

  void check_header_time(Instant time) {
    if (_options.previous_header && time < *_options.previous_header) {
      report(FeedRule::header_backwards,
             format_utc(time) + " comes after " + format_utc(*_options.previous_header));
    }
    if (!_options.now) return;
    const Seconds age = *_options.now - time;
    if (std::abs(age.count()) > _options.greatest_header_age.count()) {
      report(FeedRule::header_age, "header is " + seconds(age.count()) + " old");
    }
  }

  void check_update(const TripUpdate& update) {
    if (auto fault = timestamp_fault(update.timestamp(), _header_time, _options)) {
      report(FeedRule::timestamp, std::move(*fault));
    }
    if (update.stop_time_update_size() == 0 && !is_canceled(update.trip())) {
      report(FeedRule::has_stops, "no stop");
    }
    const TripPlan* const plan = find_plan(update.trip());
    if (plan == nullptr) return;
    check_descriptor(update.trip(), *plan);
    const std::optional<ServiceDate> day = check_day(update.trip(), *plan);
    if (!day) return;
    const ScheduledTrip schedule = _network.schedule(*plan, *day);
    if (!_trips.insert(schedule.key).second) {
      report(FeedRule::trip_once, to_string(schedule.key) + " is there twice");
    }
    check_stops(update, schedule, _network,
                [this](FeedRule rule, std::string detail) { report(rule, std::move(detail)); });
  }

  /// The trip, or its repetition, that is meant.
  const TripPlan* find_plan(const TripDescriptor& trip) {
    const std::span<const TripPlan> plans = _network.trips_of(TripId(trip.trip_id()));
    if (plans.empty()) {
      report(FeedRule::trip_id, "trip '" + trip.trip_id() + "' is not in the timetable");
      return nullptr;
    }
    const std::optional<Seconds> start = parse_time_of_day(trip.start_time());
    if (plans.size() == 1 && plans.front().start == Seconds(0)) {
      if (trip.has_start_time() && start != plans.front().departure()) {
        report(FeedRule::start_time, "start_time is '" + trip.start_time() + "', departure is " +
                                         format_time_of_day(plans.front().departure()));
      }
      return &plans.front();
    }
    const auto plan = std::find_if(plans.begin(), plans.end(),
                                   [&](const TripPlan& p) { return start && p.start == *start; });
    if (plan != plans.end()) return &*plan;
    report(FeedRule::start_time, "no repetition starts at '" + trip.start_time() + "'");
    return nullptr;
  }

  void check_descriptor(const TripDescriptor& trip, const TripPlan& plan) {
    const JourneyPattern& pattern = _network.pattern(plan.pattern);
    if (trip.has_route_id() && trip.route_id() != pattern.route.text()) {
      report(FeedRule::route_id,
             "route_id is '" + trip.route_id() + "', not '" + pattern.route.text() + "'");
    }
    if (trip.has_direction_id() &&
        (!pattern.direction || static_cast<int>(trip.direction_id()) != *pattern.direction)) {
      report(FeedRule::direction_id, "direction_id is " + std::to_string(trip.direction_id()));
    }
  }

  std::optional<ServiceDate> check_day(const TripDescriptor& trip, const TripPlan& plan) {
    const std::optional<ServiceDate> day = ServiceDate::parse(trip.start_date());
    if (!day || trip.start_date().size() != 8) {
      report(FeedRule::start_date, "start_date is '" + trip.start_date() + "'");
      return std::nullopt;
    }
    if (!_network.runs_on(plan, *day)) {
      report(FeedRule::start_date, "the trip does not run on " + trip.start_date());
    }
    return day;
  }

  const Network& _network;
  const FeedCheckOptions& _options;
  std::vector<FeedViolation>& _violations;
  std::string _entity;
  std::optional<Instant> _header_time;
  std::set<std::string> _entity_ids;
  std::set<TripKey> _trips;
};

}  // namespace

const char* to_string(FeedRule rule) {
  switch (rule) {
    case FeedRule::version:
      return "version";
    case FeedRule::incrementality:
      return "incrementality";
    case FeedRule::header_time:
      return "header_time";
    case FeedRule::header_backwards:
      return "header_backwards";
    case FeedRule::header_age:
      return "header_age";
    case FeedRule::entity_id:
      return "entity_id";
    case FeedRule::entity_kind:
      return "entity_kind";
    case FeedRule::trip_id:
      return "trip_id";
    case FeedRule::trip_once:
      return "trip_once";
    case FeedRule::start_date:
      return "start_date";
    case FeedRule::start_time:
      return "start_time";
    case FeedRule::route_id:
      return "route_id";
    case FeedRule::direction_id:
      return "direction_id";
    case FeedRule::timestamp:
      return "timestamp";
    case FeedRule::has_stops:
      return "has_stops";
    case FeedRule::stop_known:
      return "stop_known";
    case FeedRule::stop_order:
      return "stop_order";
    case FeedRule::stop_time_present:
      return "stop_time_present";
    case FeedRule::stop_time_absent:
      return "stop_time_absent";
    case FeedRule::plausible_time:
      return "plausible_time";
    case FeedRule::delay:
      return "delay";
    case FeedRule::uncertainty:
      return "uncertainty";
    case FeedRule::dwell:
      return "dwell";
    case FeedRule::times_increase:
      return "times_increase";
  }
  return "unknown";
}

std::optional<std::string> timestamp_fault(std::uint64_t timestamp,
                                           std::optional<Instant> header_time,
                                           const FeedCheckOptions& options) {
  if (!is_plausible(timestamp)) return "timestamp is " + std::to_string(timestamp);
  if (!header_time) return std::nullopt;
  const Seconds age = *header_time - from_unix_seconds(static_cast<long long>(timestamp));
  if (age < Seconds(0)) return seconds(-age.count()) + " after the header";
  if (age <= options.greatest_entity_age) return std::nullopt;
  return seconds(age.count()) + " before the header, more than " +
         seconds(options.greatest_entity_age.count());
}

std::vector<FeedViolation> check_feed(const FeedMessage& message, const Network& network,
                                      const FeedCheckOptions& options) {
  std::vector<FeedViolation> violations;
  FeedChecker(network, options, violations).check(message);
  return violations;
}

std::vector<FeedViolation> check_entity(const FeedEntity& entity, const Network& network) {
  std::vector<FeedViolation> violations;
  FeedChecker(network, FeedCheckOptions(), violations).check(entity);
  return violations;
}

}  // namespace qiv
