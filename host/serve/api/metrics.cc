#include "serve/api/metrics.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "serve/api/metrics_text.h"
#include "serve/api/names.h"

namespace qiv {
namespace {

double to_number(std::uint64_t count) {
  return static_cast<double>(count);
}

void write_service(MetricsText& text, const Snapshot& snapshot) {
  const ServiceCounts& counts = snapshot.counts;
  text.family("qiv_build_info", "gauge", "Version of the program and name of the city");
  text.sample(1, {{"version", snapshot.version}, {"city", snapshot.city}});
  text.single("qiv_ready", "gauge", "1 when predictions are served", snapshot.ready ? 1 : 0);
  text.single("qiv_clock_seconds", "gauge", "The service's clock, seconds since 1970",
              static_cast<double>(unix_seconds(snapshot.now)));
  text.single("qiv_cycles_total", "counter", "Cycles", to_number(counts.cycles));
  text.single("qiv_cycle_seconds", "gauge", "Time that the last cycle took", counts.last_cycle_s);
  text.single("qiv_positions_taken_total", "counter", "Vehicle reports taken",
              to_number(counts.positions_taken));
  text.single("qiv_positions_given_up_total", "counter",
              "Vehicle reports given up because too many were waiting",
              to_number(counts.positions_given_up));
  text.single("qiv_progress_stored_total", "counter",
              "Places along a trip accepted and in the archive", to_number(counts.progress_stored));
  text.single("qiv_trips_finished_total", "counter", "Finished trips in the archive",
              to_number(counts.trips_finished));
  text.single("qiv_trips_learned_total", "counter", "Finished trips taken into the histories",
              to_number(counts.trips_learned));
  text.single("qiv_archive_failures_total", "counter", "Failed writes to the archive",
              to_number(counts.archive_failures));
  text.single("qiv_archive_losses_total", "counter", "Rows that could not be stored",
              to_number(counts.archive_losses));
}

void write_tally(MetricsText& text, const Tally& tally, std::string_view label) {
  for (const auto& [kind, count] : tally) text.sample(to_number(count), {{label, kind}});
}

void write_display(MetricsText& text, const Outputs& outputs) {
  text.family("qiv_vehicles", "gauge", "Vehicles that reported lately, by status");
  write_tally(text, outputs.vehicles_by_status(), "status");
  text.family("qiv_trips", "gauge", "Trips on display, by state");
  write_tally(text, outputs.trips_by_state(), "state");
  text.single("qiv_vehicles_assigned", "gauge",
              "Vehicles followed on a trip that they do not name, found by their course",
              to_number(outputs.assigned_vehicles()));
  text.single("qiv_trips_assigned", "gauge", "Trips on display whose vehicle does not name them",
              to_number(outputs.assigned_trips()));
  text.family("qiv_rejections_total", "counter", "What tracker and engine did not use, by reason");
  for (const auto& [reason, entry] : outputs.snapshot().rejections.entries()) {
    text.sample(to_number(entry.count), {{"reason", reason}});
  }
}

void write_trip_updates(MetricsText& text, const Outputs& outputs) {
  const GuardedFeed& feed = outputs.feed();
  text.single("qiv_trip_updates_trips", "gauge", "Trips in the trip updates that are served",
              to_number(feed.trips));
  if (feed.bytes != nullptr) {
    text.single("qiv_trip_updates_age_seconds", "gauge", "Age of the trip updates that are served",
                static_cast<double>((outputs.snapshot().now - feed.header_time).count()));
    text.single("qiv_trip_updates_bytes", "gauge", "Size of the trip updates, not compressed",
                to_number(feed.bytes->bytes().size()));
  }
  text.single("qiv_trip_updates_standing", "gauge",
              "1 while the last good trip updates stand because the newest failed",
              feed.standing ? 1 : 0);
  text.family("qiv_trip_updates_withheld", "gauge",
              "Trips that are not in the last trip updates, by reason");
  for (const auto& [reason, entry] : feed.withheld.entries()) {
    text.sample(to_number(entry.count), {{"reason", reason}});
  }
  text.single("qiv_trips_withheld_total", "counter",
              "Trips that were not published, added over the cycles",
              to_number(feed.trips_withheld));
  text.single("qiv_feeds_withheld_total", "counter",
              "Cycles in which the trip updates failed as a whole", to_number(feed.feeds_withheld));
}

struct SourceCount {
  const char* name;
  const char* help;
  std::uint64_t SourceView::*count;
};

constexpr std::array source_counts = {
    SourceCount{"qiv_source_fetches_total", "Attempts to fetch", &SourceView::fetches},
    SourceCount{"qiv_source_failures_total", "Failed attempts", &SourceView::failures},
    SourceCount{"qiv_source_not_modified_total", "Answers without new content",
                &SourceView::not_modified},
    SourceCount{"qiv_source_duplicates_total", "Content that was there before",
                &SourceView::duplicates},
    SourceCount{"qiv_source_out_of_order_total", "Content older than what was there before",
                &SourceView::out_of_order},
    SourceCount{"qiv_source_empty_total", "Content without a vehicle", &SourceView::empty},
    SourceCount{"qiv_source_time_jumps_total", "Jumps of the header's time",
                &SourceView::time_jumps},
    SourceCount{"qiv_source_positions_total", "Vehicle reports taken", &SourceView::positions},
    SourceCount{"qiv_source_statements_total", "The agency's trip updates and alerts taken",
                &SourceView::statements},
};

struct SourceAge {
  const char* name;
  const char* help;
  std::optional<Instant> SourceView::*then;
};

constexpr std::array source_ages = {
    SourceAge{"qiv_source_success_age_seconds", "Seconds since the last answer that was taken",
              &SourceView::last_success},
    SourceAge{"qiv_source_header_age_seconds", "Age that the header of the last content states",
              &SourceView::header_time},
    SourceAge{"qiv_source_entity_age_seconds", "Age of the newest vehicle of the last content",
              &SourceView::newest_entity_time},
};

void write_sources(MetricsText& text, const Snapshot& snapshot) {
  text.family("qiv_source_health", "gauge", "1 for the health of each source, 0 for all others");
  for (const SourceView& source : snapshot.sources) {
    for (const SourceHealth health : source_healths) {
      text.sample(source.health == health ? 1 : 0,
                  {{"source", source.name}, {"health", to_string(health)}});
    }
  }
  for (const SourceAge& age : source_ages) {
    text.family(age.name, "gauge", age.help);
    for (const SourceView& source : snapshot.sources) {
      const auto& then = source.*age.then;
      if (!then) continue;
      text.sample(static_cast<double>((snapshot.now - *then).count()), {{"source", source.name}});
    }
  }
  for (const SourceCount& count : source_counts) {
    text.family(count.name, "counter", count.help);
    for (const SourceView& source : snapshot.sources) {
      text.sample(to_number(source.*count.count), {{"source", source.name}});
    }
  }
  text.family("qiv_source_rejections_total", "counter", "What was not used, by reason");
  for (const SourceView& source : snapshot.sources) {
    for (const auto& [reason, entry] : source.rejections.entries()) {
      text.sample(to_number(entry.count), {{"source", source.name}, {"reason", reason}});
    }
  }
}

struct ScoreValue {
  const char* name;
  const char* help;
  double LiveScoreBucket::*value;
};

constexpr std::array score_values = {
    ScoreValue{"qiv_score_error_seconds", "Mean absolute error of the forecasts",
               &LiveScoreBucket::mae_s},
    ScoreValue{"qiv_score_bias_seconds", "Mean of actual minus forecast", &LiveScoreBucket::bias_s},
    ScoreValue{"qiv_score_coverage_68", "Share of the arrivals inside the bounds of 68 %",
               &LiveScoreBucket::coverage_68},
    ScoreValue{"qiv_score_coverage_90", "Share of the arrivals inside the bounds of 90 %",
               &LiveScoreBucket::coverage_90},
    ScoreValue{"qiv_score_timetable_error_seconds", "Mean absolute error of the timetable",
               &LiveScoreBucket::timetable_mae_s},
    ScoreValue{"qiv_score_timetable_delay_error_seconds",
               "Mean absolute error of timetable plus present delay",
               &LiveScoreBucket::timetable_delay_mae_s},
};

std::string span_name(Seconds span) {
  return span == Seconds(0) ? "all" : std::to_string(span.count()) + "s";
}

void write_scores(MetricsText& text, const Snapshot& snapshot) {
  text.family("qiv_score_arrivals", "gauge", "Arrivals that were scored, by stretch of time");
  for (const LiveScore& score : snapshot.scores) {
    text.sample(to_number(score.arrivals), {{"span", span_name(score.span)}});
  }
  text.family("qiv_score_eta_percent", "gauge", "Score of the ETA accuracy benchmark");
  for (const LiveScore& score : snapshot.scores) {
    if (score.arrivals > 0) text.sample(score.eta_score, {{"span", span_name(score.span)}});
  }
  for (const ScoreValue& value : score_values) {
    text.family(value.name, "gauge", value.help);
    for (const LiveScore& score : snapshot.scores) {
      for (const LiveScoreBucket& bucket : score.buckets) {
        if (bucket.n == 0) continue;
        text.sample(bucket.*value.value, {{"span", span_name(score.span)},
                                          {"from_min", std::to_string(bucket.from_min)},
                                          {"to_min", std::to_string(bucket.to_min)}});
      }
    }
  }
}

struct AgencyValue {
  const char* name;
  const char* help;
  double AgencyScoreBucket::*value;
};

constexpr std::array agency_values = {
    AgencyValue{"qiv_score_agency_error_seconds", "Mean absolute error of the agency's predictions",
                &AgencyScoreBucket::mae_s},
    AgencyValue{"qiv_score_agency_bias_seconds", "Mean of actual minus predicted by the agency",
                &AgencyScoreBucket::bias_s},
};

void write_agency_scores(MetricsText& text, const Snapshot& snapshot) {
  text.family("qiv_score_agency_eta_percent", "gauge",
              "Score of the agency's predictions in the ETA accuracy benchmark");
  for (const LiveScore& score : snapshot.scores) {
    if (score.agency_eta_score) {
      text.sample(*score.agency_eta_score, {{"span", span_name(score.span)}});
    }
  }
  for (const AgencyValue& value : agency_values) {
    text.family(value.name, "gauge", value.help);
    for (const LiveScore& score : snapshot.scores) {
      for (const LiveScoreBucket& bucket : score.buckets) {
        if (!bucket.agency) continue;
        text.sample((*bucket.agency).*value.value, {{"span", span_name(score.span)},
                                                    {"from_min", std::to_string(bucket.from_min)},
                                                    {"to_min", std::to_string(bucket.to_min)}});
      }
    }
  }
}

void write_changes(MetricsText& text, const Snapshot& snapshot) {
  std::uint64_t canceled = 0;
  std::uint64_t contradicted = 0;
  std::uint64_t skipped = 0;
  const ServiceChanges changes = snapshot.changes == nullptr ? ServiceChanges() : *snapshot.changes;
  for (const auto& [trip, change] : changes.trips) {
    if (change.contradicted) ++contradicted;
    if (change.canceled && !change.contradicted) ++canceled;
    skipped += change.skipped.size();
  }
  text.family("qiv_agency_changes", "gauge", "What the agency says of its service, by kind");
  text.sample(to_number(canceled), {{"kind", "canceled_trips"}});
  text.sample(to_number(contradicted), {{"kind", "contradicted_trips"}});
  text.sample(to_number(skipped), {{"kind", "skipped_stops"}});
  text.sample(to_number(changes.added.size()), {{"kind", "added_trips"}});
  text.sample(to_number(changes.without_data), {{"kind", "calls_without_data"}});
  text.family("qiv_agency_alerts", "gauge", "The agency's active alerts, by effect");
  std::map<std::string, std::uint64_t> by_effect;
  for (const ServiceAlert& alert : changes.alerts) ++by_effect[to_string(alert.effect)];
  for (const auto& [effect, count] : by_effect) {
    text.sample(to_number(count), {{"effect", effect}});
  }
}

void write_server(MetricsText& text, const ServerCounts& server) {
  constexpr std::array<const char*, 6> classes = {"", "1xx", "2xx", "3xx", "4xx", "5xx"};
  text.family("qiv_http_answers_total", "counter", "HTTP answers by class of status");
  for (std::size_t i = 2; i < classes.size(); ++i) {
    text.sample(to_number(server.answers[i]), {{"class", classes[i]}});
  }
  text.single("qiv_http_connections", "gauge", "Open HTTP connections",
              to_number(server.connections));
  text.single("qiv_http_late_connections_total", "counter",
              "HTTP connections that were ended because they took too long",
              to_number(server.late_connections));
  text.single("qiv_event_clients", "gauge", "Readers of /events", to_number(server.event_clients));
  text.single("qiv_event_clients_total", "counter", "Readers of /events since the beginning",
              to_number(server.event_clients_total));
  text.single("qiv_event_clients_dropped_total", "counter",
              "Readers of /events that were dropped because they did not keep up",
              to_number(server.event_clients_dropped));
}

}  // namespace

std::string metrics_text(const Outputs& outputs, const ServerCounts& server) {
  MetricsText text;
  write_service(text, outputs.snapshot());
  write_display(text, outputs);
  write_trip_updates(text, outputs);
  write_sources(text, outputs.snapshot());
  write_scores(text, outputs.snapshot());
  write_agency_scores(text, outputs.snapshot());
  write_changes(text, outputs.snapshot());
  write_server(text, server);
  return text.text();
}

}  // namespace qiv
