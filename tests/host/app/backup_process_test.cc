#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "app/make_source.h"
#include "history/archive.h"
#include "host/app/serve_process.h"
#include "host/app/small_city.h"
#include "host/app/snapshot_folder.h"
#include "simulate/gtfs_files.h"

namespace qiv {
namespace {

using testing::bytes_of;
using testing::eventually;
using ::testing::HasSubstr;
using testing::ServeProcess;
namespace fs = std::filesystem;

void replace_all(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

/// The commands of the guide behind "**Title", one a line.
std::vector<std::string> commands_of_guide(const std::string& title) {
  const std::string guide = bytes_of(QIV_SOURCE_DIR "/docs/operations.md");
  const std::size_t begin = guide.find("```console\n", guide.find("**" + title));
  std::istringstream block(guide.substr(begin, guide.find("\n```\n", begin + 10) - begin));
  std::vector<std::string> commands;
  for (std::string line; std::getline(block, line);) {
    if (line.starts_with("$ ")) commands.push_back(line.substr(2));
  }
  return commands;
}

/// A city whose trip "first" departed eleven minutes ago and "now" one, and a folder of snapshots.
/// The vehicle "v" runs both.
class BackupProcessTest : public ::testing::Test {
 protected:
  BackupProcessTest() {
    const Instant departed = wall_clock() - std::chrono::minutes(1);
    const Instant midnight = std::chrono::floor<std::chrono::days>(departed);
    const ServiceDate today = ServiceClock("UTC").local_day(departed);
    const Seconds now = departed - midnight;
    const Seconds earlier = std::chrono::minutes(10);
    testing::write_line_timetable(folder / "gtfs", "UTC", {{"first", now - earlier}, {"now", now}},
                                  today, today);
    std::map<std::string, std::string> files;
    for (const auto& file : fs::directory_iterator(folder / "gtfs")) {
      files[file.path().filename().string()] = bytes_of(file.path());
    }
    std::ofstream(folder / "gtfs.zip", std::ios::binary) << zip_of(files);
    City::create(city, folder / "gtfs.zip");
    fs::create_directory(folder / "backup");
    fs::create_directory(city / "snapshots");
    std::ofstream(city / "city.toml") << "[serve]\ncycle_s = 0.1\nlearns = false\n\n"
                                         "[[source]]\nkind = \"folder\"\nfolder = \"snapshots\"\n"
                                         "every_s = 0.1\n";
    reports = testing::line_reports("v", "first", departed - earlier, /*leg_s=*/110);
    first_trip = reports.size();
    for (const VehiclePosition& report :
         testing::line_reports("v", "now", departed, /*leg_s=*/120)) {
      reports.push_back(report);
    }
  }

  /// Puts report number `report` into the folder, as if it came now.
  void put(std::size_t report) const {
    testing::put_snapshot(city / "snapshots", "snapshot-" + std::to_string(100 + report),
                          reports.at(report));
  }

  /// Carries out a command of the guide, for this city and by this user. The service's own are left
  /// to the test.
  void carry_out(std::string command) const {
    if (command.starts_with("systemctl ")) return;
    replace_all(command, "/var/lib/qiv/mycity", city.string());
    replace_all(command, "/backup", (folder / "backup").string());
    replace_all(command, "-o qiv -g qiv ", "");
    commands += command + "\n";
  }

  /// What was asked to be carried out, as one script that ends with the first failure.
  void run_commands() {
    const std::string script = (folder / "script").string();
    std::ofstream(script) << "set -eu\n" << commands;
    EXPECT_EQ(std::system(("sh " + script).c_str()), 0) << commands;
    commands.clear();
  }

  void follow_guide(const std::string& title) {
    const auto all = commands_of_guide(title);
    ASSERT_GE(all.size(), 2U) << title;
    for (const std::string& command : all) carry_out(command);
    run_commands();
  }

  /// What comes within one second counts as having come together.
  static void wait_for_second_after(const ServeProcess& service) {
    const double now = service.metric("qiv_clock_seconds");
    EXPECT_TRUE(eventually([&] { return service.metric("qiv_clock_seconds") > now + 1.0; }));
  }

  /// The trip "now" as it is shown; null when it is not.
  static nlohmann::json forecast(const ServeProcess& service) {
    const auto answer = nlohmann::json::parse(service.ask("/api/v1/trips"), nullptr, false);
    if (!answer.is_object() || !answer.contains("trips")) return nullptr;
    for (const nlohmann::json& trip : answer["trips"]) {
      if (trip["trip_id"] == "now") return trip;
    }
    return nullptr;
  }

  static bool is_forecast(const ServeProcess& service) {
    const nlohmann::json trip = forecast(service);
    return trip.is_object() && trip["state"] != "not_begun" && trip["basis"] == "history";
  }

  samples::TemporaryFolder folder;
  fs::path city = folder / "city";
  std::vector<VehiclePosition> reports;
  std::size_t first_trip = 0;  ///< so many of them are of the first trip
  mutable std::string commands;
};

TEST_F(BackupProcessTest, TheGuidesBackupIsRestoredByTheGuide) {
  nlohmann::json before;
  {
    ServeProcess service(city);
    for (std::size_t report = 0; report < first_trip + 3; ++report) {
      if (report >= first_trip) wait_for_second_after(service);
      put(report);
      ASSERT_TRUE(eventually([&] {
        return service.metric("qiv_positions_taken_total") > static_cast<double>(report);
      })) << service.ask("/api/v1/vehicles");
    }
    ASSERT_TRUE(eventually([&] { return is_forecast(service); }))
        << service.ask("/api/v1/trips") << service.ask("/api/v1/status");
    EXPECT_EQ(service.metric("qiv_trips_finished_total"), 1.0);
    before = forecast(service);
    follow_guide("Backup");
    service.end(SIGKILL);
  }
  const std::uintmax_t archived = fs::file_size(folder / "backup" / "mycity.sqlite");
  EXPECT_GT(archived, 10'000U);
  for (const char* lost : {"archive.sqlite", "archive.sqlite-wal", "city.toml", "timetable.zip"}) {
    std::ofstream(city / lost) << "lost";
  }
  follow_guide("Restore");
  ServeProcess service(city);
  ASSERT_TRUE(eventually([&] { return is_forecast(service); }))
      << service.ask("/api/v1/trips") << service.ask("/api/v1/status");
  nlohmann::json after = forecast(service);
  // No bound is before the present moment: the lower one goes with the clock.
  for (nlohmann::json* const trip : {&before, &after}) (*trip)["next_stop"].erase("lower_90");
  for (const char* same : {"trip", "vehicle_id", "state", "basis", "earlier_trips", "offset_m",
                           "position_time", "next_stop"}) {
    EXPECT_EQ(after[same], before[same]) << same;
  }
  EXPECT_THAT(service.ask("/gtfs-rt/trip-updates?format=text"), HasSubstr("trip_id: \"now\""));
}

TEST_F(BackupProcessTest, AnArchiveOfAnOlderProgramIsTakenOver) {
  const fs::path archive = city / "archive.sqlite";
  for (const char* rest : {"archive.sqlite-wal", "archive.sqlite-shm"}) fs::remove(city / rest);
  fs::copy_file(QIV_SOURCE_DIR "/tests/host/history/data/archive-v1.sqlite", archive,
                fs::copy_options::overwrite_existing);
  fs::permissions(archive, fs::perms(0644));
  {
    ServeProcess service(city);
    ASSERT_TRUE(eventually([&] { return service.ask("/readyz") == "ok\n"; }));
    put(first_trip + 2);
    EXPECT_TRUE(eventually([&] { return service.metric("qiv_progress_stored_total") >= 1.0; }));
    service.end(SIGTERM);
  }
  const Archive brought_up(archive);
  EXPECT_GT(brought_up.summary().version, 1);
  const Instant first_day = Instant(ServiceDate::parse("20250101")->days());
  EXPECT_EQ(brought_up.positions(first_day, wall_clock() - std::chrono::hours(24)).size(), 2U)
      << "what it held is there";
}

}  // namespace
}  // namespace qiv
