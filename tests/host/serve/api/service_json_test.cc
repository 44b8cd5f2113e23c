#include "serve/api/service_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using nlohmann::json;
using testing::outputs_of;
using testing::sample_snapshot;

TEST(StatusJson, SaysWhyItIsNotReady) {
  Snapshot snapshot;
  snapshot.not_ready = "no timetable";
  ServerCounts counts;
  counts.event_clients = 3;
  counts.event_clients_dropped = 1;
  const json status = json::parse(status_json(*outputs_of(snapshot), counts));
  EXPECT_EQ(status["ready"], false);
  EXPECT_EQ(status["not_ready"], "no timetable");
  EXPECT_EQ(status["network"], nullptr);
  EXPECT_EQ(status["trip_updates"]["header_time"], nullptr);
  EXPECT_EQ(status["event_clients"]["connected"], 3);
  EXPECT_EQ(status["event_clients"]["dropped"], 1);
}

TEST(StatusJson, ListsWhatWasNotUsed) {
  const json status = json::parse(status_json(*outputs_of(sample_snapshot()), {}));
  ASSERT_EQ(status["rejections"].size(), 1u);
  EXPECT_EQ(status["rejections"][0]["first"], "trip 'X'");
  EXPECT_EQ(status["last_cycle_s"], 0.0125);
}

TEST(SourcesJson, TellsTheThreeAges) {
  const json source = json::parse(sources_json(*outputs_of(sample_snapshot())))["sources"][0];
  EXPECT_EQ(source["health"], "good");
  EXPECT_EQ(source["detail"], nullptr);
  EXPECT_EQ(source["success_age_s"], 5);
  EXPECT_EQ(source["header_age_s"], 7);
  EXPECT_EQ(source["entity_age_s"], 10);
  EXPECT_EQ(source["last_failure"], nullptr);
  EXPECT_EQ(source["rejections"][0]["reason"], "no position");
}

TEST(ScoresJson, RoundsSecondsAndShares) {
  const json score = json::parse(scores_json(*outputs_of(sample_snapshot())))["scores"][0];
  EXPECT_EQ(score["span_s"], 3600);
  EXPECT_EQ(score["eta_score"], 87.5);
  EXPECT_EQ(score["buckets"][0]["coverage_68"], 0.6667);
  EXPECT_EQ(score["buckets"][0]["bias_s"], -1.25);
}

TEST(WhyJson, ListsTheHeaviestFirstUpToTheLimit) {
  Why why;
  why.explanation.emplace();
  for (int i = 0; i < 3; ++i) why.explanation->trips.push_back({{TripId("t"), {}, {}}, 0.5});
  const TripKey key{TripId("out"), testing::monday, {}};
  EXPECT_EQ(json::parse(why_json(key, why, 2))["trips"].size(), 2u);
  EXPECT_EQ(json::parse(why_json(key, why, 9))["trips"].size(), 3u);
}

TEST(ScoresJson, SetsTheAgencysBesideOurs) {
  Snapshot snapshot = sample_snapshot();
  const json score = json::parse(scores_json(*outputs_of(snapshot)))["scores"][0];
  EXPECT_EQ(score["agency_eta_score"], 75.25);
  EXPECT_EQ(score["buckets"][0]["agency"]["mae_s"], 25.5);
  EXPECT_EQ(score["buckets"][0]["agency"]["bias_s"], 3.25);
  EXPECT_EQ(score["buckets"][0]["agency"]["own_n"], 2);
  EXPECT_EQ(score["buckets"][0]["agency"]["forecast_mae_s"], 19.0);
  snapshot.scores[0].agency_eta_score.reset();
  snapshot.scores[0].buckets[0].agency.reset();
  const json alone = json::parse(scores_json(*outputs_of(snapshot)))["scores"][0];
  EXPECT_EQ(alone["agency_eta_score"], nullptr);
  EXPECT_EQ(alone["buckets"][0]["agency"], nullptr);
}

TEST(ChangesJson, TellsWhatTheAgencySays) {
  const json changes = json::parse(changes_json(*outputs_of(sample_snapshot())));
  EXPECT_EQ(changes["heard"], true);
  ASSERT_EQ(changes["trips"].size(), 2U);
  EXPECT_EQ(changes["trips"][0]["trip"], "later@20250304");
  EXPECT_EQ(changes["trips"][0]["canceled"], true);
  EXPECT_EQ(changes["trips"][0]["said_by"], "updates");
  EXPECT_EQ(changes["trips"][0]["headsign"], "Seaside");
  EXPECT_EQ(changes["trips"][0]["color"], "00AA55");
  EXPECT_EQ(changes["trips"][0]["departure"],
            unix_seconds(testing::at("09:00:00") + std::chrono::days(1)));
  EXPECT_EQ(changes["trips"][1]["skipped_stops"][0]["stop_id"], "B");
  EXPECT_EQ(changes["trips"][1]["skipped_stops"][0]["stop_name"], "Bridge");
  EXPECT_EQ(changes["trips"][1]["why"], "Road works");
  EXPECT_EQ(changes["added"][0]["trip_id"], "extra");
  EXPECT_EQ(changes["added"][0]["start_time"], nullptr);
  EXPECT_EQ(changes["alerts"][0]["effect"], "detour");
  EXPECT_EQ(changes["alerts"][0]["informed"][0]["route_id"], "r");
  EXPECT_EQ(changes["not_used"][0]["count"], 1);
}

TEST(ChangesJson, IsEmptyWhileNothingIsSaid) {
  Snapshot snapshot = sample_snapshot();
  snapshot.changes = nullptr;
  const json changes = json::parse(changes_json(*outputs_of(snapshot)));
  EXPECT_EQ(changes["heard"], false);
  EXPECT_TRUE(changes["trips"].empty());
}

}  // namespace
}  // namespace qiv
