#include "serve/api/metrics.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::outputs_of;
using testing::sample_snapshot;

TEST(Metrics, TellsWhatTheSnapshotHas) {
  ServerCounts counts;
  counts.event_clients = 4;
  const std::string text = metrics_text(*outputs_of(sample_snapshot()), counts);
  for (const char* line :
       {"qiv_build_info{version=\"1.0\",city=\"Line\"} 1",
        "qiv_ready 1",
        "qiv_cycles_total 7",
        "qiv_positions_taken_total 20",
        "qiv_cycle_seconds 0.0125",
        "qiv_vehicles{status=\"under_way\"} 1",
        "qiv_vehicles{status=\"stale\"} 0",
        "qiv_trips{state=\"not_begun\"} 1",
        "qiv_vehicles_assigned 0",
        "qiv_trips_assigned 0",
        "qiv_trip_updates_trips 2",
        "qiv_trip_updates_age_seconds 0",
        "qiv_trip_updates_standing 0",
        "qiv_source_health{source=\"buses\",health=\"good\"} 1",
        "qiv_source_health{source=\"buses\",health=\"failing\"} 0",
        "qiv_source_header_age_seconds{source=\"buses\"} 7",
        "qiv_source_entity_age_seconds{source=\"buses\"} 10",
        "qiv_source_failures_total{source=\"buses\"} 1",
        "qiv_source_rejections_total{source=\"buses\",reason=\"no position\"} 1",
        "qiv_score_error_seconds{span=\"3600s\",from_min=\"0\",to_min=\"3\"} 20.5",
        "qiv_score_eta_percent{span=\"3600s\"} 87.5",
        "qiv_rejections_total{reason=\"trip is not in the timetable\"} 1",
        "qiv_event_clients 4"}) {
    EXPECT_THAT(text, HasSubstr("\n" + std::string(line) + "\n"));
  }
}

TEST(Metrics, EveryFamilyIsThereOnceWithHelpAndNamedByTheRules) {
  std::istringstream lines(metrics_text(*outputs_of(sample_snapshot()), {}));
  std::set<std::string> families;
  std::string family;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string mark;
    std::string kind;
    std::string name;
    std::string type;
    words >> mark >> kind >> name >> type;
    if (line.starts_with("# HELP ")) {
      EXPECT_TRUE(families.insert(name).second) << name;
      EXPECT_TRUE(name.starts_with("qiv_")) << name;
      EXPECT_NE(type, "") << name << " has no help";
      family = name;
    } else if (line.starts_with("# TYPE ")) {
      EXPECT_EQ(name, family);
      EXPECT_TRUE(type == "gauge" || name.ends_with("_total")) << name;
    } else {
      EXPECT_TRUE(line.starts_with(family)) << line;
    }
  }
}

TEST(Metrics, CountWhatWasAssigned) {
  Snapshot snapshot = sample_snapshot();
  snapshot.vehicles[0].confidence = 0.9;
  const std::string text = metrics_text(*outputs_of(snapshot), {});
  EXPECT_THAT(text, HasSubstr("\nqiv_vehicles_assigned 1\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_trips_assigned 1\n"));
}

TEST(Metrics, AreThereBeforeTheTimetable) {
  EXPECT_THAT(metrics_text(*outputs_of(Snapshot()), {}), HasSubstr("\nqiv_ready 0\n"));
}

TEST(Metrics, TellWhatTheAgencySaysAndHowItScores) {
  const std::string text = metrics_text(*testing::outputs_of(testing::sample_snapshot()), {});
  for (const char* const line : {
           "qiv_agency_changes{kind=\"canceled_trips\"} 1\n",
           "qiv_agency_changes{kind=\"contradicted_trips\"} 0\n",
           "qiv_agency_changes{kind=\"skipped_stops\"} 1\n",
           "qiv_agency_changes{kind=\"added_trips\"} 1\n",
           "qiv_agency_alerts{effect=\"detour\"} 1\n",
           "qiv_score_agency_eta_percent{span=\"3600s\"} 75.25\n",
           "qiv_score_agency_error_seconds{span=\"3600s\",from_min=\"0\",to_min=\"3\"} 25.5\n",
           "qiv_score_agency_bias_seconds{span=\"3600s\",from_min=\"0\",to_min=\"3\"} 3.25\n",
       }) {
    EXPECT_THAT(text, ::testing::HasSubstr(line));
  }
}

}  // namespace
}  // namespace qiv
