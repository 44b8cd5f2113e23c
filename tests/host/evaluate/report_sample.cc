#include "host/evaluate/report_sample.h"

#include <cmath>

namespace qiv::testing {
namespace {

ServiceDate october(unsigned day) {
  return ServiceDate(std::chrono::year_month_day(std::chrono::year(2025), std::chrono::October,
                                                 std::chrono::day(day)));
}

using SixErrors = std::array<double, bucket_count>;

constexpr std::array<std::uint64_t, bucket_count> events = {41250, 40872,  53010,
                                                            64775, 181204, 301877};

std::vector<BucketScore> buckets(const SixErrors& mae_s) {
  std::vector<BucketScore> scores;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    scores.push_back({bucket_edges_min[i], bucket_edges_min[i + 1], events[i], mae_s[i],
                      0.125 * mae_s[i], -4.0, 2.25 * mae_s[i]});
  }
  return scores;
}

ContenderScore contender(const std::string& name, const SixErrors& mae_s, double eta_score) {
  ContenderScore score;
  score.name = name;
  score.buckets = buckets(mae_s);
  score.buckets_by_lead = score.buckets;
  for (const double mae : mae_s) score.mean_mae_s += mae / bucket_count;
  score.eta_score = eta_score;
  score.reliable_share = eta_score / 104.0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    score.own_by_ahead.push_back({events[i] - 250, mae_s[i] - 0.5});
  }
  score.own_by_lead = score.own_by_ahead;
  score.own_mae_s = score.mean_mae_s * 1.125;
  score.own_n = 682988;
  return score;
}

std::vector<BoundScore> bounds(double shift) {
  constexpr SixErrors coverage = {0.661, 0.672, 0.684, 0.688, 0.679, 0.671};
  constexpr SixErrors half_width_s = {27.4, 38.0, 49.5, 61.2, 82.9, 110.3};
  constexpr SixErrors fixed_s = {28.0, 40.9, 53.1, 66.6, 90.2, 121.0};
  std::vector<BoundScore> scores;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    scores.push_back({bucket_edges_min[i], bucket_edges_min[i + 1], events[i] - 50,
                      coverage[i] + shift, 0.893 + 2.0 * shift + 0.001 * static_cast<double>(i),
                      half_width_s[i], fixed_s[i], 1.75 * half_width_s[i], 0.25 * half_width_s[i]});
  }
  return scores;
}

TripPlot trip_plot_of(const std::string& title, int hour, double lateness) {
  constexpr std::array<const char*, 9> names = {"Malahide",       "Portmarnock",   "Howth Junction",
                                                "Killester",      "Connolly",      "Pearse",
                                                "Lansdowne Road", "Dun Laoghaire", "Bray"};
  constexpr std::array<double, 9> km = {0.0, 2.4, 5.9, 9.7, 14.4, 15.6, 17.7, 24.6, 34.4};
  TripPlot plot;
  plot.title = title;
  plot.note = "off by " + std::to_string(static_cast<int>(100 * lateness)) + " s on average";
  plot.zero = Instant(october(3).days()) - Seconds(3600);
  const Instant start = plot.zero + std::chrono::hours(hour);
  const auto after = [&](double seconds) {
    return start + Seconds(static_cast<long long>(seconds));
  };
  for (std::size_t i = 0; i < km.size(); ++i) {
    const double offset_m = 1000.0 * km[i];
    const double planned_s = 95.0 * km[i];
    const double late_s = 60.0 + lateness * 40.0 * std::max(0.0, km[i] - 9.0);
    plot.stops.push_back({names[i], offset_m});
    plot.scheduled.push_back({after(planned_s), offset_m});
    plot.scheduled.push_back({after(planned_s + 30.0), offset_m});
    plot.observed.push_back({after(planned_s + late_s), offset_m});
    plot.observed.push_back({after(planned_s + late_s + 45.0), offset_m});
  }
  for (const std::size_t at : {0U, 3U, 5U}) {
    TripPlotMoment moment;
    moment.made = plot.observed[2 * at + 1].time;
    moment.offset_m = plot.stops[at].offset_m;
    for (std::size_t i = at + 1; i < km.size(); ++i) {
      const double ahead_km = km[i] - km[at];
      const Instant time = moment.made + Seconds(static_cast<long long>(100.0 * ahead_km));
      const Seconds half(static_cast<long long>(20.0 + 22.0 * std::sqrt(ahead_km) * 1.5));
      moment.ahead.push_back(
          {plot.stops[i].offset_m,
           {time, time - half, time + half * 3 / 2, time - half * 7 / 4, time + half * 3}});
    }
    plot.moments.push_back(moment);
  }
  return plot;
}

}  // namespace

Scorecard sample_scorecard() {
  Scorecard card;
  card.city = "DART, Dublin";
  card.timetable_version = "2025-09-18";
  card.program_version = "qiv 1.0.0";
  card.first_day = october(3);
  card.last_day = october(9);
  card.learned_until = october(2);
  card.trips_scheduled = 1204;
  card.trips_observed = 1161;
  card.trips_ghost = 17;
  card.arrivals_observed = 28411;
  card.positions = 109877;
  card.on_display = {
      contender("forecast", {24.1, 33.0, 41.8, 50.2, 66.9, 92.0}, 90.25),
      contender("timetable", {136.0, 140.5, 143.0, 145.5, 150.0, 158.0}, 64.5),
      contender("timetable_delay", {38.5, 49.0, 58.0, 66.0, 86.5, 117.0}, 77.75),
      contender("historical_mean", {26.0, 36.5, 45.5, 54.5, 72.0, 98.0}, 86.5),
      contender("category_mean", {24.5, 33.5, 42.5, 51.0, 68.0, 93.5}, 87.0),
      contender("last_vehicle", {31.0, 44.5, 58.0, 72.0, 98.0, 128.5}, 81.5),
  };
  card.at_reports = {contender("forecast", {20.0, 30.0, 38.5, 47.0, 61.0, 84.0}, 92.5),
                     contender("timetable_delay", {34.0, 45.0, 54.0, 61.5, 80.0, 109.0}, 80.0)};
  card.bounds = bounds(0.0);
  card.bounds_by_state = {{"not_begun", bounds(-0.02)}, {"under_way", bounds(0.01)}};
  card.quantiles = {{0.05, 0.0481}, {0.16, 0.1712}, {0.84, 0.8476}, {0.95, 0.9443}};
  card.coverage_90 = 0.8962;
  card.missed_share = 0.0481;
  card.wobble_s = 7.25;
  card.availability = 0.9874;
  card.availability_scheduled = 0.9412;
  for (std::size_t hour = 0; hour < 24; ++hour) {
    if (hour > 0 && hour < 5) continue;
    const double peak = hour == 8 || hour == 17 ? 24.0 : 0.0;
    card.by_hour[hour] = {
        0, 0, 1000 * hour + 210, 48.0 + peak + static_cast<double>(hour % 5), 6.0, 0.0, 130.0};
  }
  for (std::uint32_t stop = 0; stop < 12; ++stop) {
    card.by_stop[stop] = {0, 0, 5000U + stop, 40.0 + 6.0 * stop, 5.0, 0.0, 120.0 + 9.0 * stop};
  }
  card.by_stop[3].n = 4;
  card.by_stop[3].mae_s = 900.0;
  card.worst_trips = {
      {{TripId("E814-0805-MHIDE-BRAY"), october(3), Seconds(0)}, VehicleId("E814"), 311.5, 1804},
      {{TripId("E923-1710-MHIDE-BRAY"), october(7), Seconds(0)}, VehicleId("E923"), 274.0, 1795}};
  card.advantage_low_s = -19.5;
  card.advantage_high_s = -15.25;
  card.rejections.add("vehicle off its route", [] { return "E809 at 53.39, -6.07"; });
  card.settings = {{"display interval", "30 s"}, {"longest gap of the truth", "420 s"}};
  card.command_line = "qiv evaluate dart --from 2025-10-03 --to 2025-10-09 --html report.html";
  return card;
}

Scorecard sample_against() {
  Scorecard card = sample_scorecard();
  ContenderScore present = contender("present", {48.0, 66.0, 83.5, 100.0, 134.0, 184.0}, 71.0);
  present.own_n = 341494;
  present.source = RecordedSource{"recordings/present", 20160, 20100, 412345, {}};
  present.source->not_used.add("trip canceled", [] { return "trip E811 at 2025-10-03"; });
  card.on_display.push_back(present);
  return card;
}

ReportDetails sample_details() {
  ReportDetails details;
  details.stop_names = {"Malahide",     "Portmarnock", "Clongriffin",    "Sutton",
                        "Howth <Pier>", "Bayside",     "Howth Junction", "Kilbarrack",
                        "Raheny",       "Harmonstown", "Killester",      "Clontarf Road"};
  details.worst_trips = {trip_plot_of("DART to Bray, 08:05, 3 October", 8, 0.9),
                         trip_plot_of("DART to Bray, 17:10, 7 October", 17, -0.6)};
  return details;
}

}  // namespace qiv::testing
