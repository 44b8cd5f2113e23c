#include "host/app/serve_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>

#include "app/make_source.h"
#include "host/app/small_city.h"
#include "host/app/snapshot_folder.h"

namespace qiv {
namespace {

using testing::eventually;
using ::testing::HasSubstr;
using testing::ServeProcess;
namespace fs = std::filesystem;

/// A city with one trip, which departed four minutes ago, and a folder of snapshots.
class ServeProcessTest : public ::testing::Test {
 protected:
  ServeProcessTest() {
    const Instant departed = wall_clock() - std::chrono::minutes(4);
    const Instant midnight = std::chrono::floor<std::chrono::days>(departed);
    const ServiceDate today = ServiceClock("UTC").local_day(departed);
    testing::write_line_timetable(folder / "gtfs", "UTC", {{"now", departed - midnight}}, today,
                                  today);
    City::create(folder / "city", folder / "gtfs");
    fs::create_directory(folder / "city" / "snapshots");
    std::ofstream(folder / "city" / "city.toml")
        << "[serve]\ncycle_s = 0.1\n"
           "[[source]]\nkind = \"folder\"\nfolder = \"snapshots\"\nevery_s = 0.1\n";
    reports = testing::line_reports("v", "now", departed, 60);
  }

  void put(int report) const {
    testing::put_snapshot(folder / "city" / "snapshots", "snapshot-" + std::to_string(10 + report),
                          reports.at(static_cast<std::size_t>(report)));
  }

  std::uint64_t progress_held() const {
    std::uint64_t held = 0;
    for (const TripRun& run : Archive(folder / "city" / "archive.sqlite").under_way()) {
      held += run.progress.size();
    }
    return held;
  }

  samples::TemporaryFolder folder;
  std::vector<VehiclePosition> reports;
};

TEST_F(ServeProcessTest, AKilledServiceComesBackWithWhatItAcknowledged) {
  std::uint64_t acknowledged = 0;
  for (int killed = 0; killed < 3; ++killed) {
    ServeProcess service(folder / "city");
    for (int report = 2 * killed + 1; report <= 2 * killed + 2; ++report) {
      const double before = service.metric("qiv_progress_stored_total");
      put(report);
      ASSERT_TRUE(eventually([&] {
        return service.metric("qiv_progress_stored_total") > std::max(before, 0.0);
      })) << "report "
          << report << ": " << service.ask("/api/v1/sources") << service.ask("/api/v1/vehicles");
    }
    acknowledged += static_cast<std::uint64_t>(service.metric("qiv_progress_stored_total"));
    service.end(SIGKILL);
    EXPECT_GE(progress_held(), acknowledged);
  }
  ServeProcess service(folder / "city");
  EXPECT_TRUE(eventually([&] {
    const std::string feed = service.ask("/gtfs-rt/trip-updates?format=json");
    return feed.find("\"now\"") != std::string::npos && feed.find("\"v\"") != std::string::npos;
  })) << service.ask("/gtfs-rt/trip-updates?format=json");
}

TEST_F(ServeProcessTest, EveryMetricIsInTheOperationsGuide) {
  std::ifstream file(QIV_SOURCE_DIR "/docs/operations.md");
  const std::string guide(std::istreambuf_iterator<char>(file), {});
  ServeProcess service(folder / "city");
  ASSERT_TRUE(eventually([&] { return service.metric("qiv_ready") == 1.0; }));
  std::istringstream metrics(service.ask("/metrics"));
  int families = 0;
  for (std::string line; std::getline(metrics, line);) {
    constexpr std::string_view type = "# TYPE ";
    if (!line.starts_with(type)) continue;
    const std::string name = line.substr(type.size(), line.find(' ', type.size()) - type.size());
    EXPECT_THAT(guide, HasSubstr("`" + name + "`"));
    ++families;
  }
  EXPECT_GT(families, 30);
}

}  // namespace
}  // namespace qiv
