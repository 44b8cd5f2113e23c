#include "evaluate/report_words.h"

#include <gmock/gmock.h>

#include <limits>

#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::sample_scorecard;
using ::testing::SizeIs;

TEST(ReportWordsTest, NumbersAreFixed) {
  EXPECT_EQ(fixed(51.25, 1), "51.2");
  EXPECT_EQ(fixed(-0.04, 1), "0.0");
  EXPECT_EQ(fixed(-0.05001, 1), "-0.1");
  EXPECT_EQ(fixed(12.0, 0), "12");
  EXPECT_EQ(fixed(std::numeric_limits<double>::quiet_NaN(), 1), "-");
  EXPECT_EQ(fixed(std::numeric_limits<double>::infinity(), 1), "-");
  EXPECT_EQ(fixed(1e300, 1), "1000000000000000.0");
  EXPECT_EQ(percent(0.6784), "67.8");
}

TEST(ReportWordsTest, CountsAreGrouped) {
  EXPECT_EQ(grouped(0), "0");
  EXPECT_EQ(grouped(999), "999");
  EXPECT_EQ(grouped(1000), "1 000");
  EXPECT_EQ(grouped(1234567), "1 234 567");
}

TEST(ReportWordsTest, LabelsForPeople) {
  EXPECT_EQ(contender_label("timetable_delay"), "timetable plus delay");
  EXPECT_EQ(contender_label("present producer"), "present producer");
  EXPECT_EQ(bucket_label(3, 6), "3-6");
  EXPECT_EQ(bucket_label(60, Calibration::lead_ends_min.back()), "60+");
}

TEST(ReportWordsTest, DaysAreListedOrFilledIn) {
  Scorecard card = sample_scorecard();
  EXPECT_THAT(scored_days(card), SizeIs(7));
  EXPECT_EQ(days_label(card), "2025-10-03 to 2025-10-09");
  card.days = {card.first_day, card.last_day};
  EXPECT_THAT(scored_days(card), SizeIs(2));
  card.last_day = card.first_day;
  EXPECT_EQ(days_label(card), "2025-10-03");
}

TEST(ReportWordsTest, HeadlineOfAGoodWeek) {
  EXPECT_EQ(headline(sample_scorecard()),
            "Over 7 days the forecasts were off by 51.3 s on the mean of all horizons, 26 % less "
            "than the timetable plus delay (69.2 s); 67.5 % of the arrivals fell inside the bounds "
            "that promise 68 %, and 89.6 % inside those that promise 90 %.");
}

TEST(ReportWordsTest, HeadlineDoesNotHideADefeat) {
  Scorecard card = sample_scorecard();
  card.on_display[0].mean_mae_s = 83.0;
  EXPECT_THAT(headline(card), HasSubstr("20 % more than the timetable plus delay"));
  card.on_display[0].mean_mae_s = card.on_display[2].mean_mae_s;
  EXPECT_THAT(headline(card), HasSubstr(", level with the timetable plus delay (69.2 s)"));
}

TEST(ReportWordsTest, HeadlineWithoutAnything) {
  EXPECT_EQ(headline(Scorecard()), "There was nothing to score.");
}

}  // namespace
}  // namespace qiv
