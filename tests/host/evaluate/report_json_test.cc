#include "evaluate/report_json.h"

#include <gmock/gmock.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;
using testing::sample_scorecard;
using Json = nlohmann::json;

Json parsed(const Scorecard& card) {
  return Json::parse(report_json(card));
}

TEST(ReportJsonTest, EachContenderHasItsFigures) {
  const Json json = parsed(sample_scorecard());
  for (const char* name : {"forecast", "timetable", "timetable_delay", "historical_mean",
                           "category_mean", "last_vehicle"}) {
    ASSERT_TRUE(json.contains(name)) << name;
    EXPECT_EQ(json[name]["buckets"].size(), bucket_count);
    EXPECT_TRUE(json[name]["mean_mae_s"].is_number());
    EXPECT_TRUE(json[name]["eta_score"].is_number());
  }
  EXPECT_EQ(json["timetable_delay"]["buckets"][3],
            Json::parse(R"({"from_min": 10, "to_min": 15, "n": 64775, "mae_s": 66.0,
                            "bias_s": 8.25, "median_s": -4.0, "p90_s": 148.5,
                            "own_n": 64525, "own_mae_s": 65.5})"));
  EXPECT_EQ(json["forecast"]["mean_mae_s"], 51.333);
  EXPECT_EQ(json["forecast"]["eta_score"], 90.25);
}

TEST(ReportJsonTest, BoundsOfTheForecastByPredictedLead) {
  const Json forecast = parsed(sample_scorecard())["forecast"];
  EXPECT_THAT(forecast["coverage"], ElementsAre(0.661, 0.672, 0.684, 0.688, 0.679, 0.671));
  EXPECT_THAT(forecast["mean_half_width_s"], ElementsAre(27.4, 38.0, 49.5, 61.2, 82.9, 110.3));
  EXPECT_THAT(forecast["fixed_half_width_s"], ElementsAre(28.0, 40.9, 53.1, 66.6, 90.2, 121.0));
  EXPECT_EQ(forecast["bounds"][2],
            Json::parse(R"({"from_min": 6, "to_min": 10, "n": 52960, "coverage": 0.684,
                            "coverage_90": 0.895, "mean_half_width_s": 49.5,
                            "mean_half_width_90_s": 86.625, "fixed_half_width_s": 53.1,
                            "pinball_s": 12.375})"));
  EXPECT_EQ(forecast["buckets_by_lead"][2]["coverage"], 0.684);
  EXPECT_EQ(forecast["bounds_by_state"]["not_begun"][0]["coverage"], 0.641);
}

TEST(ReportJsonTest, SingleFiguresOfTheForecast) {
  const Json json = parsed(sample_scorecard());
  EXPECT_EQ(json["forecast"]["coverage_90"], 0.8962);
  EXPECT_EQ(json["forecast"]["missed_share"], 0.0481);
  EXPECT_EQ(json["forecast"]["availability"], 0.9874);
  EXPECT_EQ(json["forecast"]["wobble_s"], 7.25);
  EXPECT_EQ(json["forecast"]["quantiles"][1],
            Json::parse(R"({"promised": 0.16, "actual": 0.1712})"));
  EXPECT_FALSE(json["timetable"].contains("availability"));
}

TEST(ReportJsonTest, AtReportsHaveTheSameShape) {
  const Json json = parsed(sample_scorecard())["at_reports"];
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json["forecast"]["mean_mae_s"], 46.75);
  EXPECT_EQ(json["timetable_delay"]["buckets"].size(), bucket_count);
}

TEST(ReportJsonTest, AnotherProducerIsAMemberWithWhatWasRead) {
  const Json present = parsed(testing::sample_against())["present"];
  EXPECT_EQ(present["buckets"].size(), bucket_count);
  EXPECT_EQ(present["own_n"], 341494);
  EXPECT_EQ(present["recorded"], Json::parse(R"({
      "recording": "recordings/present", "snapshots": 20160, "snapshots_shown": 20100,
      "trip_updates": 412345,
      "not_used": {"trip canceled": {"count": 1, "first": "trip E811 at 2025-10-03"}}})"));
  EXPECT_FALSE(parsed(testing::sample_against())["timetable"].contains("recorded"));
}

TEST(ReportJsonTest, NoProducerCanTakeTheNameOfAMember) {
  const Json json = parsed(sample_scorecard());
  for (const auto& member : json.items()) {
    EXPECT_TRUE(is_report_member(member.key())) << member.key();
  }
  EXPECT_FALSE(is_report_member("present"));
}

TEST(ReportJsonTest, Circumstances) {
  const Json json = parsed(sample_scorecard());
  EXPECT_EQ(json["city"], "DART, Dublin");
  EXPECT_EQ(json["days"].size(), 7U);
  EXPECT_EQ(json["days"][6], "2025-10-09");
  EXPECT_EQ(json["learned_until"], "2025-10-02");
  EXPECT_EQ(json["counts"]["trips_ghost"], 17);
  EXPECT_EQ(json["settings"]["display interval"], "30 s");
  EXPECT_EQ(json["versions"],
            Json::parse(R"({"program": "qiv 1.0.0", "timetable": "2025-09-18"})"));
  EXPECT_EQ(json["rejections"]["vehicle off its route"]["count"], 1);
  EXPECT_EQ(json["worst_trips"][0]["trip"], "E814-0805-MHIDE-BRAY@20251003");
  EXPECT_EQ(json["by_hour"][8]["hour"], 8);
}

TEST(ReportJsonTest, NumbersAreRoundedAndNeverNegativeZero) {
  Scorecard card = sample_scorecard();
  card.on_display[0].buckets[0].bias_s = -0.0001;
  card.on_display[0].buckets[1].bias_s = 1.0 / 3.0;
  card.on_display[0].buckets[2].bias_s = std::numeric_limits<double>::quiet_NaN();
  const std::string text = report_json(card);
  EXPECT_EQ(text.find("-0.0,"), std::string::npos);
  const Json buckets = Json::parse(text)["forecast"]["buckets"];
  EXPECT_EQ(buckets[0]["bias_s"], 0.0);
  EXPECT_EQ(buckets[1]["bias_s"], 0.333);
  EXPECT_TRUE(buckets[2]["bias_s"].is_null());
}

TEST(ReportJsonTest, NothingScoredIsStillAnObject) {
  const Json json = parsed(Scorecard());
  EXPECT_FALSE(json.contains("forecast"));
  EXPECT_TRUE(json["at_reports"].empty());
  EXPECT_TRUE(json["learned_until"].is_null());
}

}  // namespace
}  // namespace qiv
