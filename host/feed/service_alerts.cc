#include <string>
#include <utility>

#include "feed/entity_reader.h"
#include "feed/gtfs_realtime.h"
#include "feed/position_collector.h"

namespace qiv {
namespace {

using transit_realtime::Alert;

AlertEffect stated_effect(const Alert& alert) {
  switch (alert.effect()) {
    case Alert::NO_SERVICE:
      return AlertEffect::no_service;
    case Alert::REDUCED_SERVICE:
      return AlertEffect::reduced_service;
    case Alert::SIGNIFICANT_DELAYS:
      return AlertEffect::significant_delays;
    case Alert::DETOUR:
      return AlertEffect::detour;
    case Alert::ADDITIONAL_SERVICE:
      return AlertEffect::additional_service;
    case Alert::MODIFIED_SERVICE:
      return AlertEffect::modified_service;
    case Alert::OTHER_EFFECT:
      return AlertEffect::other;
    case Alert::UNKNOWN_EFFECT:
      return AlertEffect::unknown;
    case Alert::STOP_MOVED:
      return AlertEffect::stop_moved;
    case Alert::NO_EFFECT:
      return AlertEffect::no_effect;
    case Alert::ACCESSIBILITY_ISSUE:
      return AlertEffect::accessibility_issue;
  }
  return AlertEffect::unknown;
}

std::string text_of(const transit_realtime::TranslatedString& text) {
  std::string first;
  for (const auto& translation : text.translation()) {
    if (translation.text().empty()) continue;
    if (translation.language() == "en" || translation.language().rfind("en-", 0) == 0) {
      return translation.text();
    }
    if (first.empty()) first = translation.text();
  }
  return first;
}

bool says_nothing(const InformedEntity& entity) {
  return entity.agency.empty() && entity.route.empty() && !entity.route_type &&
         entity.stop.empty() && entity.trip.empty();
}

// Turns the entities of one message into alerts.
class AlertReader : private EntityReader<AlertBatch> {
 public:
  AlertReader(AlertBatch& batch, const PositionOptions& options) : EntityReader(batch, options) {}

  void read(std::string_view bytes) {
    read_entities(bytes, "entity without alert", [&](const transit_realtime::FeedEntity& entity) {
      if (entity.has_alert()) add(entity.alert(), entity.id());
      return entity.has_alert();
    });
  }

 private:
  void add(const Alert& stated, const std::string& entity) {
    ServiceAlert alert;
    alert.id = entity;
    alert.effect = stated_effect(stated);
    alert.header = text_of(stated.header_text());
    for (const transit_realtime::TimeRange& range : stated.active_period()) {
      if (const auto period = stated_period(range, entity)) alert.periods.push_back(*period);
    }
    if (alert.periods.empty() && stated.active_period_size() > 0) {
      return reject("alert that is never active", entity);
    }
    for (const transit_realtime::EntitySelector& selector : stated.informed_entity()) {
      InformedEntity informed = informed_entity(selector, entity);
      if (says_nothing(informed)) {
        remark("informed entity that states nothing", entity);
      } else {
        alert.informed.push_back(std::move(informed));
      }
    }
    ++_batch.read;
    _batch.alerts.push_back(std::move(alert));
  }

  /// An end beyond all plausible times means that none is known; a beginning, that it never comes.
  std::optional<ActivePeriod> stated_period(const transit_realtime::TimeRange& range,
                                            const std::string& entity) {
    ActivePeriod period;
    if (range.start() != 0) {
      const auto from = plausible_instant(static_cast<long long>(range.start()));
      if (!from) remark("implausible beginning of a period", entity);
      if (!from) return std::nullopt;
      period.from = *from;
    }
    if (range.end() != 0) {
      const auto until = plausible_instant(static_cast<long long>(range.end()));
      if (!until) remark("implausible end of a period", entity);
      if (until) period.until = *until;
    }
    if (period.from < period.until) return period;
    remark("period that ends before it begins", entity);
    return std::nullopt;
  }

  InformedEntity informed_entity(const transit_realtime::EntitySelector& selector,
                                 const std::string& entity) {
    InformedEntity informed;
    const transit_realtime::TripDescriptor& trip = selector.trip();
    informed.agency = AgencyId(selector.agency_id());
    informed.route = RouteId(selector.route_id().empty() ? trip.route_id() : selector.route_id());
    if (selector.has_route_type()) informed.route_type = selector.route_type();
    informed.direction = stated_direction(trip);
    if (selector.has_direction_id() && selector.direction_id() <= 1) {
      informed.direction = static_cast<int>(selector.direction_id());
    }
    informed.stop = StopId(selector.stop_id());
    informed.trip = TripId(trip.trip_id());
    informed.start_date = ServiceDate::parse(trip.start_date());
    informed.start_time = parse_time_of_day(trip.start_time());
    if (!informed.start_date && !trip.start_date().empty()) remark("start date is no date", entity);
    if (!informed.start_time && !trip.start_time().empty()) remark("start time is no time", entity);
    return informed;
  }
};

}  // namespace

AlertBatch read_service_alerts(std::string_view bytes, const PositionOptions& options) {
  AlertBatch batch;
  AlertReader(batch, options).read(bytes);
  return batch;
}

}  // namespace qiv
