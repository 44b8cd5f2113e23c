#include "evaluate/report_json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "evaluate/report_words.h"

namespace qiv {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 18> members = {"city",
                                                      "days",
                                                      "learned_until",
                                                      "counts",
                                                      "settings",
                                                      "versions",
                                                      "command_line",
                                                      "forecast",
                                                      "timetable",
                                                      "timetable_delay",
                                                      "historical_mean",
                                                      "category_mean",
                                                      "last_vehicle",
                                                      "at_reports",
                                                      "advantage_s",
                                                      "by_hour",
                                                      "worst_trips",
                                                      "rejections"};

Json rounded(double value, double steps) {
  if (!std::isfinite(value)) return Json();
  const double result = std::round(value * steps) / steps;
  return result == 0.0 ? 0.0 : result;  // no negative zero
}
Json seconds(double value) {
  return rounded(value, 1000.0);
}
Json share(double value) {
  return rounded(value, 10000.0);
}

Json bucket_json(const BucketScore& bucket) {
  Json json;
  json["from_min"] = bucket.from_min;
  json["to_min"] = bucket.to_min;
  json["n"] = bucket.n;
  json["mae_s"] = seconds(bucket.mae_s);
  json["bias_s"] = seconds(bucket.bias_s);
  json["median_s"] = seconds(bucket.median_s);
  json["p90_s"] = seconds(bucket.p90_s);
  return json;
}

Json bound_json(const BoundScore& bound, const char* unit) {
  Json json;
  json[std::string("from_") + unit] = bound.from_min;
  json[std::string("to_") + unit] = bound.to_min;
  json["n"] = bound.n;
  json["coverage"] = share(bound.coverage);
  json["coverage_90"] = share(bound.coverage_90);
  json["mean_half_width_s"] = seconds(bound.mean_half_width_s);
  json["mean_half_width_90_s"] = seconds(bound.mean_half_width_90_s);
  json["fixed_half_width_s"] = seconds(bound.fixed_half_width_s);
  json["pinball_s"] = seconds(bound.pinball_s);
  return json;
}

template <class T, class ToJson>
Json list(const std::vector<T>& values, ToJson to_json) {
  Json json = Json::array();
  for (const T& value : values) json.push_back(to_json(value));
  return json;
}

/// Puts the figures of the bounds beside those of the bucket of predicted lead with the same
/// limits.
void add_bounds(const std::vector<BoundScore>& bounds, Json& buckets) {
  for (Json& bucket : buckets) {
    for (const BoundScore& bound : bounds) {
      if (bucket["from_min"] != bound.from_min || bucket["to_min"] != bound.to_min) continue;
      bucket["coverage"] = share(bound.coverage);
      bucket["mean_half_width_s"] = seconds(bound.mean_half_width_s);
    }
  }
}

Json buckets_json(const std::vector<BucketScore>& buckets, const std::vector<OwnScore>& own) {
  Json json = list(buckets, bucket_json);
  for (std::size_t i = 0; i < json.size() && i < own.size(); ++i) {
    json[i]["own_n"] = own[i].n;
    json[i]["own_mae_s"] = seconds(own[i].mae_s);
  }
  return json;
}

Json rejections_json(const Rejections& rejections) {
  Json json = Json::object();
  for (const auto& [reason, entry] : rejections.entries()) {
    json[reason] = {{"count", entry.count}, {"first", entry.first}};
  }
  return json;
}

Json source_json(const RecordedSource& source) {
  return {{"recording", source.recording},
          {"snapshots", source.snapshots},
          {"snapshots_shown", source.snapshots_shown},
          {"trip_updates", source.updates},
          {"not_used", rejections_json(source.not_used)}};
}

Json contender_json(const ContenderScore& contender) {
  Json json;
  json["buckets"] = buckets_json(contender.buckets, contender.own_by_ahead);
  json["buckets_by_lead"] = buckets_json(contender.buckets_by_lead, contender.own_by_lead);
  json["mean_mae_s"] = seconds(contender.mean_mae_s);
  json["eta_score"] = seconds(contender.eta_score);
  json["reliable_share"] = share(contender.reliable_share);
  json["own_n"] = contender.own_n;
  json["own_mae_s"] = seconds(contender.own_mae_s);
  if (contender.source) json["recorded"] = source_json(*contender.source);
  return json;
}

/// What only the forecast has. The lists go with the buckets of `bounds`.
void add_forecast_members(const Scorecard& card, Json& json) {
  add_bounds(card.bounds, json["buckets"]);
  add_bounds(card.bounds, json["buckets_by_lead"]);
  const auto minutes = [](const BoundScore& bound) { return bound_json(bound, "min"); };
  const auto hours = [](const BoundScore& bound) { return bound_json(bound, "hour"); };
  json["coverage"] = list(card.bounds, [](const BoundScore& b) { return share(b.coverage); });
  json["mean_half_width_s"] =
      list(card.bounds, [](const BoundScore& b) { return seconds(b.mean_half_width_s); });
  json["fixed_half_width_s"] =
      list(card.bounds, [](const BoundScore& b) { return seconds(b.fixed_half_width_s); });
  json["quantiles"] = list(card.quantiles, [](const QuantileScore& quantile) {
    return Json{{"promised", share(quantile.promised)}, {"actual", share(quantile.actual)}};
  });
  json["coverage_90"] = share(card.coverage_90);
  json["missed_share"] = share(card.missed_share);
  json["availability"] = share(card.availability);
  json["availability_scheduled"] = share(card.availability_scheduled);
  json["wobble_s"] = seconds(card.wobble_s);
  json["bounds"] = list(card.bounds, minutes);
  Json states = Json::object();
  for (const auto& [state, bounds] : card.bounds_by_state) states[state] = list(bounds, minutes);
  json["bounds_by_state"] = std::move(states);
  json["bounds_by_hour"] = list(card.bounds_by_hour, hours);
}

Json by_hour_json(const Scorecard& card) {
  Json json = Json::array();
  for (std::size_t hour = 0; hour < card.by_hour.size(); ++hour) {
    const BucketScore& score = card.by_hour[hour];
    json.push_back({{"hour", hour},
                    {"n", score.n},
                    {"mae_s", seconds(score.mae_s)},
                    {"bias_s", seconds(score.bias_s)}});
  }
  return json;
}

Json worst_trip_json(const WorstTrip& trip) {
  return {{"trip", to_string(trip.trip)},
          {"vehicle_id", trip.vehicle.text()},
          {"n", trip.n},
          {"mae_s", seconds(trip.mae_s)}};
}

void add_circumstances(const Scorecard& card, Json& json) {
  json["city"] = card.city;
  json["days"] = list(scored_days(card), [](ServiceDate day) { return day.to_iso_string(); });
  json["learned_until"] = card.learned_until ? Json(card.learned_until->to_iso_string()) : Json();
  json["counts"] = {{"trips_scheduled", card.trips_scheduled},
                    {"trips_observed", card.trips_observed},
                    {"trips_ghost", card.trips_ghost},
                    {"arrivals_observed", card.arrivals_observed},
                    {"positions", card.positions}};
  json["settings"] = card.settings;
  json["versions"] = {{"program", card.program_version}, {"timetable", card.timetable_version}};
  json["command_line"] = card.command_line;
}

}  // namespace

bool is_report_member(std::string_view name) {
  return std::find(members.begin(), members.end(), name) != members.end();
}

std::string report_json(const Scorecard& card) {
  Json json;
  add_circumstances(card, json);
  for (const ContenderScore& contender : card.on_display) {
    Json scores = contender_json(contender);
    if (contender.name == "forecast") add_forecast_members(card, scores);
    json[contender.name] = std::move(scores);
  }
  Json at_reports = Json::object();
  for (const ContenderScore& contender : card.at_reports) {
    at_reports[contender.name] = contender_json(contender);
  }
  json["at_reports"] = std::move(at_reports);
  json["advantage_s"] = {{"over", "timetable_delay"},
                         {"low_95", seconds(card.advantage_low_s)},
                         {"high_95", seconds(card.advantage_high_s)}};
  json["by_hour"] = by_hour_json(card);
  json["worst_trips"] = list(card.worst_trips, worst_trip_json);
  json["rejections"] = rejections_json(card.rejections);
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace qiv
