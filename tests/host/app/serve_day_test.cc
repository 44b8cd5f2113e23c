#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "app/city.h"
#include "app/commands.h"
#include "app/log.h"
#include "evaluate/evaluation.h"
#include "serve/live_service.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

/// A recorded day of the bundled city, forecast from the two days before it.
class ServeDayTest : public ::testing::Test {
 protected:
  ServeDayTest() {
    Log({LogLevel::off, "", ""}).take_library_messages();
    std::string name = (fs::temp_directory_path() / "qiv-serve-XXXXXX").string();
    root = mkdtemp(name.data());
    const fs::path data = QIV_DATA_DIR "/dart-2025";
    City::create(root / "city", data / "gtfs.zip");
    RecordArguments record;
    record.city = (root / "city").string();
    for (const char* const day_name : {"20251006", "20251007", "20251008"}) {
      record.files.push_back((data / ("positions-" + std::string(day_name) + ".csv.gz")).string());
    }
    ::testing::internal::CaptureStdout();
    run_record(record);
    ::testing::internal::GetCapturedStdout();
  }
  ~ServeDayTest() override { fs::remove_all(root); }

  fs::path root;
  ServiceDate day = *ServiceDate::parse("20251008");
};

TEST_F(ServeDayTest, TheServicesOwnScoreIsThatOfTheEvaluation) {
  City city(root / "city");
  const RecordedRuns runs = city.follow(day - std::chrono::days(1), [](double, ServiceDate) {});
  const HistorySource history = [&](PatternIndex pattern, const Grid& grid) {
    return runs.before(day, pattern, grid);
  };
  const LearnedSettings settings;
  const std::vector<VehiclePosition> positions = city.positions(day);

  Evaluation evaluation(city.network(), settings);
  evaluation.add_day(day, positions, history);
  const Scorecard card = evaluation.scorecard();

  LiveCityOptions options;
  options.records = false;
  options.engine.shards = 3;
  const std::shared_ptr<const Network> network(std::shared_ptr<const Network>(), &city.network());
  LiveCity live(
      network, settings, city.archive(), [&](const Network&, const auto&) { return history; },
      options);
  LiveService service(live, {}, [](std::shared_ptr<const Snapshot>) {});
  service.run_recorded({}, positions, {});

  const LiveScore score = service.scores().scores().back();
  EXPECT_EQ(score.arrivals, card.arrivals_observed);
  for (std::size_t i = 0; i < bucket_count; ++i) {
    const BucketScore& expected = card.on_display[0].buckets[i];
    EXPECT_EQ(score.buckets[i].n, expected.n) << "bucket " << i;
    EXPECT_DOUBLE_EQ(score.buckets[i].mae_s, expected.mae_s) << "bucket " << i;
    EXPECT_DOUBLE_EQ(score.buckets[i].timetable_mae_s, card.on_display[1].buckets[i].mae_s);
    EXPECT_DOUBLE_EQ(score.buckets[i].timetable_delay_mae_s, card.on_display[2].buckets[i].mae_s);
  }
  EXPECT_DOUBLE_EQ(score.eta_score, card.on_display[0].eta_score);
}

}  // namespace
}  // namespace qiv
