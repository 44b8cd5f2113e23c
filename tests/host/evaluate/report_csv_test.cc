#include "evaluate/report_csv.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::sample_scorecard;
using ::testing::StartsWith;

TEST(ReportCsvTest, NamesFirstThenOneLineForEachBucket) {
  const std::string csv = report_csv(sample_scorecard());
  EXPECT_THAT(
      csv, StartsWith("contender,scored,by,from_min,to_min,n,mae_s,bias_s,median_s,p90_s,coverage,"
                      "coverage_90,mean_half_width_s,mean_half_width_90_s,fixed_half_width_s,"
                      "pinball_s,own_n,own_mae_s\n"
                      "forecast,on_display,time_to_arrival,0,3,41250,24.100,3.013,-4.000,54.225,"
                      ",,,,,,41000,23.600\n"));
  // Six contenders on display and two at reports, twice six buckets each.
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 1 + 8 * 12);
}

TEST(ReportCsvTest, BoundsGoWithThePredictedLead) {
  const std::string csv = report_csv(sample_scorecard());
  EXPECT_THAT(csv, HasSubstr("\nforecast,on_display,predicted_lead,3,6,40872,33.000,4.125,-4.000,"
                             "74.250,0.6720,0.8940,38.000,66.500,40.900,9.500,40622,32.500\n"));
  EXPECT_THAT(csv, HasSubstr("\nforecast,at_reports,predicted_lead,3,6,40872,30.000,3.750,-4.000,"
                             "67.500,,,,,,,40622,29.500\n"));
}

TEST(ReportCsvTest, EveryLineHasAsManyFields) {
  const std::string csv = report_csv(sample_scorecard());
  for (std::size_t at = 0; at < csv.size();) {
    const std::size_t end = csv.find('\n', at);
    EXPECT_EQ(std::count(csv.data() + at, csv.data() + end, ','), 17);
    at = end + 1;
  }
}

TEST(ReportCsvTest, AnotherProducerIsALineAmongTheOthers) {
  EXPECT_THAT(report_csv(testing::sample_against()),
              HasSubstr("\npresent,on_display,time_to_arrival,10,15,64775,100.000,12.500,-4.000,"
                        "225.000,,,,,,,64525,99.500\n"));
}

TEST(ReportCsvTest, ForeignNamesAreQuoted) {
  Scorecard card = sample_scorecard();
  card.on_display[1].name = "their \"best\", today";
  EXPECT_THAT(report_csv(card), HasSubstr("\n\"their \"\"best\"\", today\",on_display,"));
}

}  // namespace
}  // namespace qiv
