#include "evaluate/report_html.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "evaluate/plot_chart.h"
#include "evaluate/plot_svg.h"
#include "evaluate/report_style.h"
#include "evaluate/report_tables.h"
#include "evaluate/report_words.h"

namespace qiv {
namespace {

constexpr std::size_t stops_listed = 10;

/// A stop with fewer events says little; see `worst_stops`.
constexpr std::uint64_t least_events = 30;

std::string paragraph(const std::string& text) {
  return "<p class=\"about\">" + text + "</p>\n";
}

std::string section(const std::string& title, const std::string& content) {
  return "<section>\n<h2>" + title + "</h2>\n" + content + "</section>\n";
}

std::string figure(const std::string& title, const std::string& about, const std::string& svg) {
  return "<figure><figcaption><h3>" + escape_markup(title) + "</h3><p>" + escape_markup(about) +
         "</p></figcaption>\n" + svg + "</figure>\n";
}

std::string folded(const std::string& summary, const std::string& content) {
  return "<details><summary>" + summary + "</summary>\n" + content + "</details>\n";
}

std::string tile(const std::string& name, const std::string& value, const std::string& unit,
                 const std::string& note) {
  return "<div class=\"tile\"><dt>" + name + "</dt><dd><div class=\"value\">" + value + " <small>" +
         unit + "</small></div><div class=\"note\">" + escape_markup(note) + "</div></dd></div>\n";
}

std::string head(const Scorecard& card) {
  const std::string city = card.city.empty() ? "Arrival forecasts" : card.city;
  return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
         escape_markup(city) + ", " + days_label(card) + ": forecasts scored</title>\n<style>" +
         report_style + "</style>\n</head>\n<body>\n<header>\n<p class=\"eyebrow\">Forecasts " +
         "scored against what happened, " + days_label(card) + "</p>\n<h1>" + escape_markup(city) +
         "</h1>\n<p class=\"claim\">" + escape_markup(headline(card)) + "</p>\n";
}

std::string tiles(const Scorecard& card, const ContenderScore& forecast) {
  const auto* const delay = find_contender(card.on_display, "timetable_delay");
  const auto beside = [delay](double ContenderScore::*figure, const std::string& unit) {
    if (delay == nullptr) return std::string();
    return fixed(delay->*figure, 1) + unit + " with the timetable plus delay";
  };
  std::string tiles = "<dl class=\"tiles\">\n";
  tiles += tile("Mean error", fixed(forecast.mean_mae_s, 1), "s",
                beside(&ContenderScore::mean_mae_s, " s"));
  tiles += tile("ETA score", fixed(forecast.eta_score, 1), "%",
                beside(&ContenderScore::eta_score, " %"));
  tiles += tile("90 % bounds", percent(card.coverage_90), "%", "of the arrivals were inside");
  tiles += tile("Vehicle missed", percent(card.missed_share), "%",
                "of riders who leave at the leave-by time; 5 % were promised");
  tiles += tile("Availability", percent(card.availability), "%",
                "of the minutes in which a trip's vehicle reports");
  tiles += tile("Wobble", fixed(card.wobble_s, 1), "s", "mean change from one display to the next");
  return tiles + "</dl>\n";
}

/// The colour of a contender; those that are not ours take the last two.
std::string contender_class(const std::string& name, std::size_t place) {
  constexpr std::array<const char*, 6> known = {"forecast",        "timetable",
                                                "timetable_delay", "historical_mean",
                                                "category_mean",   "last_vehicle"};
  const auto found = std::find(known.begin(), known.end(), name);
  if (found == known.end()) return place % 2 == 0 ? "c6" : "c7";
  return "c" + std::to_string(found - known.begin());
}

std::vector<std::string> columns_of(const std::vector<BucketScore>& buckets) {
  std::vector<std::string> columns;
  columns.reserve(buckets.size());
  for (const BucketScore& b : buckets) columns.push_back(bucket_label(b.from_min, b.to_min));
  return columns;
}

std::string horizon_section(const Scorecard& card, const ContenderScore& forecast) {
  LineChart chart;
  chart.description =
      "Mean absolute error of each contender by minutes to the actual arrival. The figures are in "
      "the table below.";
  chart.x_title = "minutes to the actual arrival";
  chart.y_title = "mean absolute error, s";
  chart.unit = " s";
  chart.columns = columns_of(forecast.buckets);
  for (std::size_t i = 0; i < card.on_display.size(); ++i) {
    const ContenderScore& contender = card.on_display[i];
    ChartLine line;
    line.label = contender_label(contender.name);
    line.css_class = contender_class(contender.name, i);
    line.is_strong = contender.name == "forecast";
    for (const BucketScore& bucket : contender.buckets) {
      line.values.push_back(bucket.n == 0 ? std::nullopt : std::optional(bucket.mae_s));
    }
    chart.lines.push_back(std::move(line));
  }
  return section(
      "Error by horizon",
      paragraph("What was on display, sampled all day, against what then happened. All "
                "contenders are scored on the same events; one that had no prediction of its own "
                "counts with the timetable's. Forecast minus timetable plus delay: " +
                fixed(card.advantage_low_s, 1) + " to " + fixed(card.advantage_high_s, 1) +
                " s (95 % interval over runs; below 0 is better).") +
          "<div class=\"scroll wide\" tabindex=\"0\">\n" + line_chart(chart) + "</div>\n" +
          contender_table("Mean absolute error on display, seconds", card.on_display));
}

LineChart bounds_chart(const std::vector<BoundScore>& bounds, const std::string& description,
                       const std::string& y_title) {
  LineChart chart;
  chart.width = half_width;
  chart.description = description;
  chart.x_title = "predicted minutes to the arrival";
  chart.y_title = y_title;
  for (const BoundScore& b : bounds) {
    chart.columns.push_back(bucket_label(b.from_min, b.to_min));
  }
  return chart;
}

ChartLine bounds_line(const std::vector<BoundScore>& bounds, const std::string& label,
                      const std::string& css_class, double BoundScore::*field, double factor) {
  ChartLine line;
  line.label = label;
  line.css_class = css_class;
  line.is_strong = css_class == "c0";
  for (const BoundScore& b : bounds) {
    line.values.push_back(b.n == 0 ? std::nullopt : std::optional(factor * b.*field));
  }
  return line;
}

std::string calibration_chart(const std::vector<BoundScore>& bounds) {
  LineChart chart = bounds_chart(bounds,
                                 "Share of arrivals inside the bounds by predicted lead, beside "
                                 "the promised 68 and 90 percent.",
                                 "arrivals inside, %");
  chart.unit = " %";
  chart.y_from = 50.0;
  chart.y_to = 100.0;
  chart.levels = {{"90 % promised", 90.0}, {"68 % promised", 68.0}};
  chart.lines = {bounds_line(bounds, "68 % bounds", "c0", &BoundScore::coverage, 100.0),
                 bounds_line(bounds, "90 % bounds", "c4", &BoundScore::coverage_90, 100.0)};
  for (const ChartLine& line : chart.lines) {
    for (const auto& value : line.values) {
      chart.y_from = std::min(chart.y_from, 10.0 * std::floor(value.value_or(50.0) / 10.0));
    }
  }
  return line_chart(chart);
}

std::string width_chart(const std::vector<BoundScore>& bounds) {
  LineChart chart = bounds_chart(bounds,
                                 "Mean half width of the 68 percent bounds by predicted lead, "
                                 "beside a fixed width that covers as much.",
                                 "half width, s");
  chart.unit = " s";
  chart.lines = {
      bounds_line(bounds, "published", "c0", &BoundScore::mean_half_width_s, 1.0),
      bounds_line(bounds, "fixed for each bucket", "c1", &BoundScore::fixed_half_width_s, 1.0)};
  return line_chart(chart);
}

/// Promised and actual share of arrivals before each of the four bounds.
std::string quantile_figure(const std::vector<QuantileScore>& quantiles) {
  if (quantiles.empty()) return "";
  LineChart chart;
  chart.width = half_width;
  chart.description =
      "Calibration curve: the share of arrivals before each of the four bounds, beside the share "
      "that was promised.";
  chart.x_title = "promised to come before the bound";
  chart.y_title = "came before it, %";
  chart.unit = " %";
  chart.y_to = 100.0;
  ChartLine promised{"promised", "c1", false, {}};
  ChartLine actual{"came", "c0", true, {}};
  for (const QuantileScore& quantile : quantiles) {
    chart.columns.push_back(percent(quantile.promised, 0) + " %");
    promised.values.emplace_back(100.0 * quantile.promised);
    actual.values.emplace_back(100.0 * quantile.actual);
  }
  chart.lines = {actual, promised};
  return figure("Calibration curve", "Share of arrivals before each bound, each side on its own",
                line_chart(chart));
}

/// Coverage by local hour.
std::string hourly_figure(const std::vector<BoundScore>& by_hour) {
  LineChart chart;
  chart.width = half_width;
  chart.description = "Share of arrivals inside the bounds by local hour of the display.";
  chart.x_title = "local hour of the display";
  chart.y_title = "arrivals inside, %";
  chart.unit = " %";
  chart.y_from = 50.0;
  chart.y_to = 100.0;
  chart.levels = {{"", 90.0}, {"", 68.0}};
  std::vector<BoundScore> hours;
  for (const BoundScore& hour : by_hour) {
    if (hour.n == 0) continue;
    hours.push_back(hour);
    chart.columns.push_back(std::to_string(hour.from_min));
    const double lower = 10.0 * std::floor(10.0 * std::min(hour.coverage, hour.coverage_90));
    chart.y_from = std::min(chart.y_from, lower);
  }
  if (hours.empty()) return "";
  chart.lines = {bounds_line(hours, "68 % bounds", "c0", &BoundScore::coverage, 100.0),
                 bounds_line(hours, "90 % bounds", "c4", &BoundScore::coverage_90, 100.0)};
  return figure("Over the day", "Share of arrivals inside, by hour", line_chart(chart));
}

std::string bounds_section(const Scorecard& card) {
  if (card.bounds.empty()) return "";
  std::string states;
  for (const auto& [state, bounds] : card.bounds_by_state) {
    std::string name = state;
    std::replace(name.begin(), name.end(), '_', ' ');
    states += bounds_table("Trips " + name, "predicted minutes", bounds);
  }
  const std::string by_hour =
      card.bounds_by_hour.empty()
          ? ""
          : bounds_table("By hour of the day", "local hour", card.bounds_by_hour);
  return section(
      "Are the bounds honest?",
      paragraph("Each published arrival comes with an interval that promises to hold 68 % of the "
                "arrivals and one that promises 90 %. A line on its dotted level is a promise "
                "kept. Bounds are sharp when they are narrower than a fixed width that covers as "
                "much.") +
          "<div class=\"pair\">\n" +
          figure("Promise and outcome", "Share of arrivals inside, by predicted lead",
                 calibration_chart(card.bounds)) +
          figure("Width", "Half the width of the 68 % bounds, by predicted lead",
                 width_chart(card.bounds)) +
          quantile_figure(card.quantiles) + hourly_figure(card.bounds_by_hour) + "</div>\n" +
          bounds_table("Published bounds by predicted lead", "predicted minutes", card.bounds) +
          folded("By what the vehicle was doing, and by hour", states + by_hour));
}

std::string hour_figure(const Scorecard& card) {
  BarChart chart;
  chart.description = "Mean absolute error of the forecast by local hour of the day.";
  chart.x_title = "local hour of the display";
  chart.y_title = "mean absolute error, s";
  HtmlTable table("Error by hour", {"local hour", "events", "mean absolute error, s", "bias, s"});
  for (std::size_t hour = 0; hour < card.by_hour.size(); ++hour) {
    const BucketScore& score = card.by_hour[hour];
    const std::string label = std::to_string(hour);
    chart.bars.push_back(
        {label, score.n == 0 ? 0.0 : score.mae_s,
         label + " h: " + fixed(score.mae_s, 1) + " s, " + grouped(score.n) + " events"});
    if (score.n == 0) continue;
    table.add(label, {grouped(score.n), fixed(score.mae_s, 1), fixed(score.bias_s, 1)});
  }
  return "<div>\n" + figure("By hour", "Mean absolute error of the forecast", bar_chart(chart)) +
         folded("Error by hour as a table", std::move(table).finish()) + "</div>\n";
}

using StopScore = std::pair<std::uint32_t, BucketScore>;

/// The stops with the greatest errors, those with few events after all others.
std::vector<StopScore> worst_stops(const std::map<std::uint32_t, BucketScore>& by_stop) {
  std::vector<StopScore> stops(by_stop.begin(), by_stop.end());
  std::stable_sort(stops.begin(), stops.end(), [](const StopScore& a, const StopScore& b) {
    const bool a_counts = a.second.n >= least_events;
    const bool b_counts = b.second.n >= least_events;
    return a_counts != b_counts ? a_counts : a.second.mae_s > b.second.mae_s;
  });
  stops.resize(std::min(stops.size(), stops_listed));
  return stops;
}

std::string stop_figure(const Scorecard& card, const ReportDetails& details) {
  BarChart chart;
  chart.description = "The stops with the greatest mean absolute error.";
  chart.y_title = " s";
  HtmlTable table("The stops with the greatest error",
                  {"stop", "events", "mean absolute error, s", "bias, s", "90th percentile, s"});
  for (const auto& [stop, score] : worst_stops(card.by_stop)) {
    const std::string name = stop < details.stop_names.size() ? details.stop_names[stop]
                                                              : "stop " + std::to_string(stop);
    chart.bars.push_back({name, score.mae_s, name + ": " + grouped(score.n) + " events"});
    table.add(name, {grouped(score.n), fixed(score.mae_s, 1), fixed(score.bias_s, 1),
                     fixed(score.p90_s, 1)});
  }
  return "<div>\n" +
         figure("By stop",
                "The greatest mean absolute errors among " + std::to_string(card.by_stop.size()) +
                    " stops",
                ranking_chart(chart)) +
         folded("Error by stop as a table", std::move(table).finish()) + "</div>\n";
}

std::string place_section(const Scorecard& card, const ReportDetails& details) {
  const std::string stops = card.by_stop.empty() ? "" : stop_figure(card, details);
  return section("When and where it is hardest",
                 "<div class=\"pair\">\n" + hour_figure(card) + stops + "</div>\n");
}

std::string worst_trip_table(const Scorecard& card) {
  HtmlTable table("The trips with the greatest error",
                  {"trip", "vehicle", "events", "mean absolute error, s"});
  for (const WorstTrip& trip : card.worst_trips) {
    table.add(to_string(trip.trip), {trip.vehicle.text(), grouped(trip.n), fixed(trip.mae_s, 1)});
  }
  return std::move(table).finish();
}

std::string trip_plots(const std::vector<TripPlot>& trips) {
  std::string plots =
      paragraph(
          "The trips with the greatest error, as distance over time. Each colour is one "
          "moment: the ring is where the vehicle was, the line what was forecast then, and "
          "the bands are its bounds of 68 % and 90 %. The dark line is what happened, the "
          "dashed one the timetable.") +
      "<div class=\"pair\">\n";
  for (const TripPlot& plot : trips) plots += figure(plot.title, plot.note, trip_plot(plot));
  return plots + "</div>\n";
}

std::string trip_section(const Scorecard& card, const ReportDetails& details) {
  if (card.worst_trips.empty() && details.worst_trips.empty()) return "";
  const std::string table = worst_trip_table(card);
  return section("What went wrong", details.worst_trips.empty()
                                        ? table
                                        : trip_plots(details.worst_trips) +
                                              folded("The same trips as a table", table));
}

std::string figures_section(const Scorecard& card, const ContenderScore& forecast) {
  std::string tables =
      own_table(
          "Each on the events for which it had a prediction of its own: mean absolute "
          "error on display, seconds",
          card.on_display) +
      contender_table("Right after each report of trips under way: mean absolute error, seconds",
                      card.at_reports) +
      bucket_table("The forecast by time to the actual arrival", "minutes", forecast.buckets) +
      bucket_table("The forecast by predicted lead", "minutes", forecast.buckets_by_lead);
  std::string others;
  for (const ContenderScore& contender : card.on_display) {
    if (contender.name == "forecast") continue;
    others += bucket_table(contender_label(contender.name), "minutes", contender.buckets);
  }
  return section("All figures",
                 paragraph("Errors are actual minus predicted: positive when the vehicle came "
                           "later than predicted. The ETA score is the mean share of errors "
                           "inside four tolerances up to 15 minutes ahead; reliable is the share "
                           "inside a tolerance that grows with the logarithm of the minutes "
                           "ahead.") +
                     tables + folded("Every other contender in full", others));
}

class Facts {
 public:
  void add(const std::string& name, const std::string& value) {
    if (value.empty()) return;
    _markup += "<dt>" + escape_markup(name) + "</dt><dd>" + escape_markup(value) + "</dd>\n";
  }
  std::string finish() && { return std::move(_markup) + "</dl>\n"; }

 private:
  std::string _markup = "<dl class=\"facts\">\n";
};

std::string rejections_table(const Rejections& rejections) {
  HtmlTable table("Not used", {"reason", "count", "first"});
  for (const auto& [reason, entry] : rejections.entries()) {
    table.add(reason, {grouped(entry.count), entry.first});
  }
  return std::move(table).finish();
}

void add_source(const RecordedSource& source, const std::string& name, Facts& facts) {
  facts.add("Recording of " + name, source.recording + ": " + grouped(source.snapshots) +
                                        " snapshots, " + grouped(source.snapshots_shown) +
                                        " of them on display, with " + grouped(source.updates) +
                                        " trip updates that were used");
}

std::string origin_section(const Scorecard& card) {
  Facts facts;
  facts.add("Days scored", days_label(card));
  facts.add("Learned until", card.learned_until ? card.learned_until->to_iso_string() : "");
  facts.add("Trips", grouped(card.trips_scheduled) + " scheduled, " + grouped(card.trips_observed) +
                         " observed, " + grouped(card.trips_ghost) + " announced but never seen");
  facts.add("Arrivals observed", grouped(card.arrivals_observed));
  facts.add("Positions replayed", grouped(card.positions));
  facts.add("Scheduled service with a forecast",
            percent(card.availability_scheduled) +
                " % of every trip, stop and minute of the hour "
                "before the arrival");
  for (const ContenderScore& contender : card.on_display) {
    if (contender.source) add_source(*contender.source, contender.name, facts);
  }
  facts.add("Timetable", card.timetable_version);
  facts.add("Program", card.program_version);
  for (const auto& [name, value] : card.settings) facts.add(name, value);
  std::string content = std::move(facts).finish();
  if (!card.command_line.empty()) {
    content += "<p class=\"command\"><code>" + escape_markup(card.command_line) + "</code></p>\n";
  }
  if (!card.rejections.empty()) {
    content += folded("What was not used, and why", rejections_table(card.rejections));
  }
  for (const ContenderScore& contender : card.on_display) {
    if (!contender.source || contender.source->not_used.empty()) continue;
    content += folded("What was not used of " + escape_markup(contender.name) + ", and why",
                      rejections_table(contender.source->not_used));
  }
  return section("How it was made", content);
}

}  // namespace

std::string report_html(const Scorecard& card, const ReportDetails& details) {
  std::string page = head(card);
  const ContenderScore* const forecast = find_contender(card.on_display, "forecast");
  if (forecast != nullptr) page += tiles(card, *forecast);
  page += "</header>\n<main>\n";
  if (forecast != nullptr) {
    page += horizon_section(card, *forecast) + bounds_section(card) + place_section(card, details) +
            trip_section(card, details) + figures_section(card, *forecast);
  }
  page += origin_section(card);
  return page +
         "</main>\n<footer><p>This page is complete in itself: it holds its plots and asks "
         "no other host for anything.</p></footer>\n</body>\n</html>\n";
}

}  // namespace qiv
