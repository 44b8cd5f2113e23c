#include "serve/api/service_json.h"

#include <algorithm>

#include "history/category.h"

namespace qiv {
namespace {

void write_rejections(JsonWriter& json, std::string_view name, const Rejections& rejections) {
  json.key(name);
  json.begin_array();
  for (const auto& [reason, entry] : rejections.entries()) {
    json.begin_object();
    json.member("reason", reason);
    json.member("count", entry.count);
    json.member("first", entry.first);
    json.end_object();
  }
  json.end_array();
}

void write_tally(JsonWriter& json, std::string_view name, const Tally& tally) {
  std::uint64_t total = 0;
  for (const auto& [kind, count] : tally) total += count;
  json.key(name);
  json.begin_object();
  json.member("total", total);
  json.key("by");
  json.begin_object();
  for (const auto& [kind, count] : tally) json.member(kind, count);
  json.end_object();
  json.end_object();
}

std::string day_text(const std::optional<std::pair<ServiceDate, ServiceDate>>& days, bool last) {
  if (!days) return {};
  return (last ? days->second : days->first).to_string();
}

void write_network(JsonWriter& json, const Outputs& outputs) {
  json.key("network");
  if (!outputs.has_network()) return json.null();
  const NetworkIndex& index = outputs.index();
  const Network& network = index.network();
  json.begin_object();
  json.member("network_version", index.version());
  json.member_or_null("feed_version", network.version());
  json.member("time_zone", network.clock().time_zone());
  json.member("stops", network.stops().size());
  json.member("routes", network.routes().size());
  json.member("patterns", network.patterns().size());
  json.member("trips", network.trips().size());
  json.member_or_null("first_day", day_text(network.days(), false));
  json.member_or_null("last_day", day_text(network.days(), true));
  json.end_object();
}

void write_trip_updates(JsonWriter& json, const Outputs& outputs) {
  const GuardedFeed& feed = outputs.feed();
  const bool there = feed.bytes != nullptr;
  json.key("trip_updates");
  json.begin_object();
  json.member("header_time", there ? std::optional(feed.header_time) : std::nullopt);
  json.member("age_s",
              there ? std::optional(outputs.snapshot().now - feed.header_time) : std::nullopt);
  json.member("trips", feed.trips);
  json.member("standing", feed.standing);
  json.member_or_null("detail", feed.detail);
  write_rejections(json, "withheld", feed.withheld);
  json.end_object();
}

void write_counts(JsonWriter& json, const Outputs& outputs) {
  const ServiceCounts& counts = outputs.snapshot().counts;
  json.key("counts");
  json.begin_object();
  json.member("positions_taken", counts.positions_taken);
  json.member("positions_given_up", counts.positions_given_up);
  json.member("progress_stored", counts.progress_stored);
  json.member("trips_finished", counts.trips_finished);
  json.member("trips_learned", counts.trips_learned);
  json.member("archive_failures", counts.archive_failures);
  json.member("archive_losses", counts.archive_losses);
  json.member("cycles", counts.cycles);
  json.member("trips_withheld", outputs.feed().trips_withheld);
  json.member("feeds_withheld", outputs.feed().feeds_withheld);
  json.end_object();
}

void write_source(JsonWriter& json, const SourceView& source, Instant now) {
  const auto age = [now](const std::optional<Instant>& then) {
    return then ? std::optional(now - *then) : std::nullopt;
  };
  json.begin_object();
  json.member("name", source.name);
  json.member("kind", source.kind);
  json.member("health", to_string(source.health));
  json.member_or_null("detail", source.detail);
  json.member("last_success", source.last_success);
  json.member("last_failure", source.last_failure);
  json.member("header_time", source.header_time);
  json.member("newest_entity_time", source.newest_entity_time);
  json.member("success_age_s", age(source.last_success));
  json.member("header_age_s", age(source.header_time));
  json.member("entity_age_s", age(source.newest_entity_time));
  json.member("fetches", source.fetches);
  json.member("failures", source.failures);
  json.member("not_modified", source.not_modified);
  json.member("duplicates", source.duplicates);
  json.member("out_of_order", source.out_of_order);
  json.member("empty", source.empty);
  json.member("time_jumps", source.time_jumps);
  json.member("positions", source.positions);
  json.member("statements", source.statements);
  write_rejections(json, "rejections", source.rejections);
  json.end_object();
}

void write_agency(JsonWriter& json, const std::optional<AgencyScoreBucket>& agency) {
  json.key("agency");
  if (!agency) return json.null();
  json.begin_object();
  json.member("mae_s", Decimal{agency->mae_s, 3});
  json.member("bias_s", Decimal{agency->bias_s, 3});
  json.member("own_n", agency->own_n);
  json.member("own_mae_s", Decimal{agency->own_mae_s, 3});
  json.member("forecast_mae_s", Decimal{agency->forecast_mae_s, 3});
  json.end_object();
}

void write_bucket(JsonWriter& json, const LiveScoreBucket& bucket) {
  json.begin_object();
  json.member("from_min", bucket.from_min);
  json.member("to_min", bucket.to_min);
  json.member("n", bucket.n);
  json.member("mae_s", Decimal{bucket.mae_s, 3});
  json.member("bias_s", Decimal{bucket.bias_s, 3});
  json.member("coverage_68", Decimal{bucket.coverage_68, 4});
  json.member("coverage_90", Decimal{bucket.coverage_90, 4});
  json.member("timetable_mae_s", Decimal{bucket.timetable_mae_s, 3});
  json.member("timetable_delay_mae_s", Decimal{bucket.timetable_delay_mae_s, 3});
  write_agency(json, bucket.agency);
  json.end_object();
}

void write_trip_name(JsonWriter& json, const TripKey& trip) {
  json.member("trip", to_string(trip));
  json.member("trip_id", trip.trip);
  json.member("start_date", trip.day.to_string());
}

/// What a reader knows a trip of the timetable by.
void write_scheduled(JsonWriter& json, const std::optional<ScheduledTrip>& trip,
                     const NetworkIndex& index) {
  if (!trip) {
    for (const char* name : {"route_id", "line", "color", "headsign", "departure"}) {
      json.member_or_null(name, "");
    }
    return;
  }
  const PatternIndex pattern = trip->pattern();
  const Route* const route = index.route(pattern);
  const std::string& headsign = trip->plan->headsign;
  json.member_or_null("route_id", index.network().pattern(pattern).route.text());
  json.member_or_null("line", route == nullptr ? "" : line_name(*route));
  json.member_or_null("color", route == nullptr ? "" : route->color);
  json.member_or_null("headsign", headsign.empty() ? index.headsign(pattern) : headsign);
  json.member("departure", trip->departure(0));
}

void write_changed_trip(JsonWriter& json, const TripKey& trip, const TripChange& change,
                        const Outputs& outputs) {
  json.begin_object();
  write_trip_name(json, trip);
  const Network& network = outputs.index().network();
  const auto schedule = network.schedule(trip);
  write_scheduled(json, schedule, outputs.index());
  json.member("canceled", change.canceled);
  json.member("contradicted", change.contradicted);
  json.key("skipped_stops");
  json.begin_array();
  for (const std::size_t call : change.skipped) {
    if (!schedule || call >= schedule->plan->size()) continue;
    const std::uint32_t stop = network.pattern(schedule->pattern()).stops[call].stop;
    json.begin_object();
    json.member("stop_sequence", schedule->plan->call(call).sequence);
    json.member("stop_id", network.stops()[stop].id);
    json.member_or_null("stop_name", network.stops()[stop].name);
    json.end_object();
  }
  json.end_array();
  json.member("said_by", change.said_by);
  json.member("why", change.why);
  json.end_object();
}

void write_added_trip(JsonWriter& json, const AddedTrip& added) {
  json.begin_object();
  json.member("trip_id", added.trip);
  json.member_or_null("route_id", added.route.text());
  json.member_or_null("start_date", added.start_date ? added.start_date->to_string() : "");
  json.member_or_null("start_time", added.start_time ? format_time_of_day(*added.start_time) : "");
  json.member_or_null("vehicle_id", added.vehicle.text());
  json.member("stops", added.calls);
  json.member("said_by", added.said_by);
  json.end_object();
}

void write_alert(JsonWriter& json, const ServiceAlert& alert) {
  json.begin_object();
  json.member("alert_id", alert.id);
  json.member("effect", to_string(alert.effect));
  json.member_or_null("header", alert.header);
  json.key("informed");
  json.begin_array();
  for (const InformedEntity& informed : alert.informed) {
    json.begin_object();
    json.member_or_null("route_id", informed.route.text());
    json.member_or_null("trip_id", informed.trip.text());
    json.member_or_null("stop_id", informed.stop.text());
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

}  // namespace

std::string status_json(const Outputs& outputs, const ServerCounts& server) {
  const Snapshot& snapshot = outputs.snapshot();
  JsonWriter json;
  json.begin_object();
  json.member("city", snapshot.city);
  json.member("version", snapshot.version);
  json.member("serial", snapshot.serial);
  json.member("now", snapshot.now);
  json.member("ready", snapshot.ready);
  json.member_or_null("not_ready", snapshot.ready ? std::string() : snapshot.not_ready);
  write_network(json, outputs);
  write_tally(json, "vehicles", outputs.vehicles_by_status());
  write_tally(json, "trips", outputs.trips_by_state());
  write_trip_updates(json, outputs);
  write_counts(json, outputs);
  json.member("last_cycle_s", Decimal{snapshot.counts.last_cycle_s, 4});
  json.key("event_clients");
  json.begin_object();
  json.member("connected", server.event_clients);
  json.member("dropped", server.event_clients_dropped);
  json.end_object();
  write_rejections(json, "rejections", snapshot.rejections);
  json.end_object();
  return json.take();
}

std::string sources_json(const Outputs& outputs) {
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.key("sources");
  json.begin_array();
  for (const SourceView& source : outputs.snapshot().sources) {
    write_source(json, source, outputs.snapshot().now);
  }
  json.end_array();
  json.end_object();
  return json.take();
}

std::string scores_json(const Outputs& outputs) {
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.key("scores");
  json.begin_array();
  for (const LiveScore& score : outputs.snapshot().scores) {
    json.begin_object();
    json.member("span_s", score.span);
    json.member("arrivals", score.arrivals);
    json.member("eta_score", Decimal{score.eta_score, 3});
    json.member("agency_eta_score", score.agency_eta_score
                                        ? std::optional(Decimal{*score.agency_eta_score, 3})
                                        : std::nullopt);
    json.key("buckets");
    json.begin_array();
    for (const LiveScoreBucket& bucket : score.buckets) write_bucket(json, bucket);
    json.end_array();
    json.end_object();
  }
  json.end_array();
  json.end_object();
  return json.take();
}

std::string changes_json(const Outputs& outputs) {
  const std::shared_ptr<const ServiceChanges>& known = outputs.snapshot().changes;
  const ServiceChanges changes = known == nullptr ? ServiceChanges() : *known;
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.member("heard", known != nullptr);
  json.key("trips");
  json.begin_array();
  for (const auto& [trip, change] : changes.trips) write_changed_trip(json, trip, change, outputs);
  json.end_array();
  json.key("added");
  json.begin_array();
  for (const AddedTrip& added : changes.added) write_added_trip(json, added);
  json.end_array();
  json.key("alerts");
  json.begin_array();
  for (const ServiceAlert& alert : changes.alerts) write_alert(json, alert);
  json.end_array();
  json.member("calls_without_data", changes.without_data);
  write_rejections(json, "not_used", changes.not_used);
  json.end_object();
  return json.take();
}

std::string why_json(const TripKey& trip, const Why& why, std::size_t limit) {
  JsonWriter json;
  json.begin_object();
  json.member("trip", to_string(trip));
  if (why.explanation) {
    json.member_or_null("reason", why.reason);
    json.member("basis", to_string(why.explanation->basis));
    json.member("category", why.explanation->category);
    json.member("category_text", describe(why.explanation->category));
  } else {
    json.member("reason", why.reason);
    for (const char* name : {"basis", "category", "category_text"}) json.member_or_null(name, "");
  }
  json.key("trips");
  json.begin_array();
  const std::size_t count = why.explanation ? why.explanation->trips.size() : 0;
  for (std::size_t i = 0; i < std::min(limit, count); ++i) {
    const WeighedTrip& earlier = why.explanation->trips[i];
    json.begin_object();
    json.member("trip", to_string(earlier.trip));
    json.member("trip_id", earlier.trip.trip);
    json.member("start_date", earlier.trip.day.to_string());
    json.member("weight", Decimal{earlier.weight, 6});
    json.member("lent", earlier.lent);
    json.end_object();
  }
  json.end_array();
  json.end_object();
  return json.take();
}

}  // namespace qiv
