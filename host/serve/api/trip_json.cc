#include "serve/api/trip_json.h"

#include <algorithm>

#include "history/category.h"
#include "serve/api/network_json.h"

namespace qiv {
namespace {

/// The members that a trip has wherever it is shown.
void write_identity(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs) {
  const NetworkIndex& index = outputs.index();
  const TripForecast& forecast = trip.forecast;
  const TripKey& key = forecast.trip;
  const PatternIndex pattern = trip.schedule.pattern();
  const Route* const route = index.route(pattern);
  const std::string& headsign = trip.schedule.plan->headsign;
  json.member("trip", to_string(key));
  json.member("trip_id", key.trip);
  json.member("start_date", key.day.to_string());
  json.member_or_null("start_time", is_repetition(key, index.network())
                                        ? format_time_of_day(key.start)
                                        : std::string());
  json.member_or_null("route_id", index.network().pattern(pattern).route.text());
  json.member_or_null("line", route == nullptr ? "" : line_name(*route));
  json.member_or_null("color", route == nullptr ? "" : route->color);
  json.member("direction_id", index.network().pattern(pattern).direction);
  json.member_or_null("headsign", headsign.empty() ? index.headsign(pattern) : headsign);
  json.member("pattern", index.network().pattern(pattern).ref);
  json.member_or_null("vehicle_id", forecast.vehicle.text());
  const auto confidence = outputs.trip_confidence(forecast);
  json.member("trip_confidence",
              confidence ? std::optional(Decimal{*confidence, 2}) : std::nullopt);
  json.member("state", to_string(forecast.state));
  json.member("basis", to_string(forecast.basis));
  json.member("earlier_trips", forecast.trips);
  json.member("confidence", Decimal{forecast.confidence, 4});
}

bool is_made(const PublishedTrip& trip, std::size_t i) {
  return trip.forecast.state != TripState::canceled && !trip.stops[i].skipped;
}

/// Nothing is expected of a call that is not made.
void write_times(JsonWriter& json, const PublishedTrip& trip, std::size_t i) {
  const StopForecast& stop = trip.stops[i];
  const Instant scheduled = trip.schedule.arrival(i);
  json.member("scheduled_arrival", scheduled);
  json.member("scheduled_departure", trip.schedule.departure(i));
  json.member("skipped", stop.skipped);
  if (!is_made(trip, i)) {
    for (const char* name : {"arrival", "departure", "delay_s", "lower_68", "upper_68", "lower_90",
                             "upper_90", "leave_by"}) {
      json.member_or_null(name, "");
    }
    return;
  }
  json.member("arrival", stop.arrival.time);
  json.member("departure", stop.departure);
  json.member("delay_s", stop.arrival.time - scheduled);
  json.member("lower_68", stop.arrival.lower_68);
  json.member("upper_68", stop.arrival.upper_68);
  json.member("lower_90", stop.arrival.lower_90);
  json.member("upper_90", stop.arrival.upper_90);
  json.member("leave_by", stop.arrival.lower_90);
}

void write_stop_names(JsonWriter& json, const StopForecast& stop, const Stop& place) {
  json.member("stop_sequence", stop.stop_sequence);
  json.member("stop_id", place.id);
  json.member_or_null("stop_name", place.name);
}

void write_summary_members(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs) {
  const TripForecast& forecast = trip.forecast;
  write_identity(json, trip, outputs);
  json.member("made", forecast.made);
  const bool is_seen = !forecast.vehicle.empty() && forecast.position_time > Instant();
  json.member("position_time", is_seen ? std::optional(forecast.position_time) : std::nullopt);
  json.member("offset_m", Decimal{forecast.offset_m, 1});
  json.key("next_stop");
  write_next_stop(json, trip, outputs.index());
}

void write_trip_stop(JsonWriter& json, const PublishedTrip& trip, std::size_t i,
                     const NetworkIndex& index) {
  const StopForecast& stop = trip.stops[i];
  const Stop& place = index.network().stops()[stop.stop];
  json.begin_object();
  write_stop_names(json, stop, place);
  json.member("lat", Decimal{place.place.lat_deg, 6});
  json.member("lon", Decimal{place.place.lon_deg, 6});
  json.member("offset_m",
              Decimal{index.network().pattern(trip.schedule.pattern()).stops[i].offset_m, 1});
  json.member("observed", stop.observed);
  write_times(json, trip, i);
  const bool made = is_made(trip, i);
  json.member("library_lower", made ? std::optional(stop.library_lower) : std::nullopt);
  json.member("library_upper", made ? std::optional(stop.library_upper) : std::nullopt);
  json.end_object();
}

std::size_t first_to_come(const PublishedTrip& trip) {
  const auto first =
      std::find_if(trip.stops.begin(), trip.stops.end(),
                   [](const StopForecast& stop) { return !stop.observed && !stop.skipped; });
  return static_cast<std::size_t>(first - trip.stops.begin());
}

void write_arrival(JsonWriter& json, const PublishedTrip& trip, std::size_t i,
                   const Outputs& outputs) {
  json.begin_object();
  write_identity(json, trip, outputs);
  json.member("stop_sequence", trip.stops[i].stop_sequence);
  json.member("stops_before", i - std::min(i, first_to_come(trip)));
  json.member("first_stop", i == 0);
  json.member("last_stop", i + 1 == trip.stops.size());
  write_times(json, trip, i);
  json.end_object();
}

}  // namespace

std::optional<PublishedTrip> shown(const TripForecast& forecast, const NetworkIndex& index) {
  Rejections withheld;
  return published_trip(forecast, index.network(), withheld);
}

void write_next_stop(JsonWriter& json, const PublishedTrip& trip, const NetworkIndex& index) {
  const std::size_t i = first_to_come(trip);
  if (i == trip.stops.size() || !is_made(trip, i)) return json.null();
  const StopForecast& stop = trip.stops[i];
  json.begin_object();
  write_stop_names(json, stop, index.network().stops()[stop.stop]);
  json.member("arrival", stop.arrival.time);
  json.member("delay_s", stop.arrival.time - trip.schedule.arrival(i));
  json.member("lower_90", stop.arrival.lower_90);
  json.member("upper_90", stop.arrival.upper_90);
  json.end_object();
}

void write_trip_summary(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs) {
  json.begin_object();
  write_summary_members(json, trip, outputs);
  json.end_object();
}

void write_trip(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs) {
  json.begin_object();
  write_summary_members(json, trip, outputs);
  json.member("category", trip.forecast.category);
  json.member_or_null("category_text",
                      trip.forecast.category < 0
                          ? std::string()
                          : describe(static_cast<Category>(trip.forecast.category)));
  json.key("stops");
  json.begin_array();
  for (std::size_t i = 0; i < trip.stops.size(); ++i)
    write_trip_stop(json, trip, i, outputs.index());
  json.end_array();
  json.end_object();
}

void write_arrivals(JsonWriter& json, const Outputs& outputs, std::uint32_t stop,
                    const ArrivalFilter& filter) {
  const NetworkIndex& index = outputs.index();
  json.key("stop");
  write_stop(json, index, stop);
  json.key("arrivals");
  json.begin_array();
  std::size_t written = 0;
  for (const StopVisit& visit : outputs.board().visits(stop)) {
    if (written == filter.limit) break;
    if (filter.within && visit_time(visit) > outputs.snapshot().now + *filter.within) break;
    const auto trip = shown(*visit.forecast, index);
    if (!trip) continue;
    const RouteId& route = index.network().pattern(trip->schedule.pattern()).route;
    if (!filter.route.empty() && route != filter.route) continue;
    write_arrival(json, *trip, visit.call, outputs);
    ++written;
  }
  json.end_array();
}

std::optional<TripKey> parse_trip_key(const std::string& text) {
  const std::size_t at = text.rfind('@');
  if (at == std::string::npos || at == 0) return std::nullopt;
  const std::size_t hash = text.find('#', at);
  const auto day = ServiceDate::parse(std::string_view(text).substr(at + 1, hash - at - 1));
  if (!day) return std::nullopt;
  TripKey key{TripId(text.substr(0, at)), *day, Seconds(0)};
  if (hash == std::string::npos) return key;
  const auto start = parse_time_of_day(std::string_view(text).substr(hash + 1));
  if (!start) return std::nullopt;
  key.start = *start;
  return key;
}

}  // namespace qiv
