#include "publish/json_lines.h"

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>

#include "publish/published_trip.h"

namespace qiv {
namespace {

using Json = nlohmann::ordered_json;

double to_decimetres(double metres) {
  return std::round(metres * 10.0) / 10.0;
}

Json text_or_null(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json stop_json(const PublishedTrip& trip, std::size_t i, const Network& network) {
  const StopForecast& stop = trip.stops[i];
  const Stop& place = network.stops()[stop.stop];
  const Instant scheduled = trip.schedule.arrival(i);
  Json json;
  json["stop_sequence"] = stop.stop_sequence;
  json["stop_id"] = place.id.text();
  json["stop_name"] = text_or_null(place.name);
  json["observed"] = stop.observed;
  json["scheduled_arrival"] = unix_seconds(scheduled);
  json["scheduled_departure"] = unix_seconds(trip.schedule.departure(i));
  json["arrival"] = unix_seconds(stop.arrival.time);
  json["delay_s"] = (stop.arrival.time - scheduled).count();
  json["lower_68"] = unix_seconds(stop.arrival.lower_68);
  json["upper_68"] = unix_seconds(stop.arrival.upper_68);
  json["lower_90"] = unix_seconds(stop.arrival.lower_90);
  json["upper_90"] = unix_seconds(stop.arrival.upper_90);
  json["leave_by"] = unix_seconds(stop.arrival.lower_90);
  json["departure"] = unix_seconds(stop.departure);
  json["library_lower"] = unix_seconds(stop.library_lower);
  json["library_upper"] = unix_seconds(stop.library_upper);
  return json;
}

Json leg_json(const PublishedTrip& trip, std::size_t i, const Network& network) {
  const LegForecast& leg = trip.forecast.legs[i];
  const Stop& from = network.stops()[leg.from];
  const Stop& to = network.stops()[leg.to];
  const Instant leaves = i == 0 ? trip.schedule.departure(0) : trip.schedule.arrival(i);
  Json json;
  json["from_stop_sequence"] = leg.from_sequence;
  json["from_stop_id"] = from.id.text();
  json["from_stop_name"] = text_or_null(from.name);
  json["to_stop_sequence"] = leg.to_sequence;
  json["to_stop_id"] = to.id.text();
  json["to_stop_name"] = text_or_null(to.name);
  json["observed"] = leg.observed;
  json["scheduled_s"] = (trip.schedule.arrival(i + 1) - leaves).count();
  json["travel_time_s"] = leg.travel_time.count();
  json["elapsed_s"] = leg.elapsed ? Json(leg.elapsed->count()) : Json();
  json["library_lower_s"] = leg.library_lower.count();
  json["library_upper_s"] = leg.library_upper.count();
  return json;
}

Json trip_json(const PublishedTrip& trip, const Network& network, const std::string& category) {
  const TripForecast& forecast = trip.forecast;
  const JourneyPattern& pattern = network.pattern(trip.schedule.pattern());
  const TripKey& key = forecast.trip;
  const bool repeated = is_repetition(key, network);
  Json json;
  json["trip_id"] = key.trip.text();
  json["start_date"] = key.day.to_string();
  json["start_time"] = repeated ? Json(format_time_of_day(key.start)) : Json();
  json["route_id"] = text_or_null(pattern.route.text());
  json["direction_id"] = pattern.direction ? Json(*pattern.direction) : Json();
  json["pattern"] = pattern.ref.text();
  json["vehicle_id"] = text_or_null(forecast.vehicle.text());
  json["state"] = to_string(forecast.state);
  json["basis"] = to_string(forecast.basis);
  json["category"] = forecast.category;
  json["category_text"] = text_or_null(category);
  json["earlier_trips"] = forecast.trips;
  json["confidence"] = forecast.confidence;
  json["made"] = unix_seconds(forecast.made);
  json["made_utc"] = format_utc(forecast.made);
  const bool has_position = forecast.position_time > Instant();
  json["position_time"] = has_position ? Json(unix_seconds(forecast.position_time)) : Json();
  json["offset_m"] = to_decimetres(forecast.offset_m);
  const bool travel = !forecast.legs.empty();
  Json& list = json[travel ? "legs" : "stops"] = Json::array();
  for (std::size_t i = 0; i < forecast.legs.size(); ++i) list.push_back(leg_json(trip, i, network));
  for (std::size_t i = 0; i < trip.stops.size(); ++i) list.push_back(stop_json(trip, i, network));
  return json;
}

}  // namespace

JsonLines json_lines(std::span<const TripForecast> forecasts, const Network& network,
                     const CategoryText& category) {
  JsonLines lines;
  for (const TripForecast& forecast : forecasts) {
    const auto trip = published_trip_or_legs(forecast, network, lines.withheld);
    if (!trip) continue;
    const Json json = trip_json(*trip, network, category ? category(forecast) : std::string());
    lines.text += json.dump(-1, ' ', false, Json::error_handler_t::replace);
    lines.text += '\n';
  }
  return lines;
}

}  // namespace qiv
