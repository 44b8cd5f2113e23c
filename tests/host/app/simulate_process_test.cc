#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "feed/gtfs_realtime.h"
#include "feed/position_collector.h"
#include "host/app/program.h"
#include "host/app/snapshot_folder.h"
#include "host/history/temporary_folder.h"
#include "serve/sources/http_fetch.h"

namespace qiv {
namespace {

using testing::bytes_of;
using ::testing::HasSubstr;
using testing::Program;

class SimulateProcessTest : public ::testing::Test {
 protected:
  /// What the program says when it refuses these arguments.
  static std::string refusal(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"simulate"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    Program program(all);
    const int code = program.wait();
    EXPECT_GT(code, 0) << "it is refused, and does not end by a signal";
    return program.errors();
  }

  std::string write_town() const {
    const std::string town = (folder / "town.zip").string();
    Program writer({"simulate", "--write-gtfs", town, "--vehicles", "30", "--hours", "2", "--at",
                    "2026-03-02T08:00"});
    EXPECT_THAT(writer.wait_for("vehicles on the road"), HasSubstr(town));
    EXPECT_EQ(writer.wait(), 0) << writer.errors();
    return town;
  }

  samples::TemporaryFolder folder;
};

TEST_F(SimulateProcessTest, ServesAFleetUntilItIsAskedToEnd) {
  const std::string town = write_town();
  Program fleet({"simulate", "--gtfs", town, "--at", "2026-03-02T08:30", "--port", "0", "--speed",
                 "100", "--without-trip", "0", "--vehicles", "30", "--doubled", "0"});
  const std::string url = fleet.wait_for_url();
  ASSERT_NE(url, "") << fleet.errors();

  FetchRequest request;
  request.url = url + "/vehicle-positions";
  const PositionBatch first = read_vehicle_positions(fetch(request).body);
  ASSERT_GT(first.positions.size(), 10U);
  EXPECT_LE(first.positions.size(), 30U);
  EXPECT_EQ(first.rejections.total(), 0U);
  for (const VehiclePosition& position : first.positions) {
    EXPECT_FALSE(position.vehicle.empty());
    EXPECT_FALSE(position.trip.empty());
    EXPECT_TRUE(position.place);
  }
  const ServiceDate day = *ServiceDate::parse("2026-03-02");
  ASSERT_TRUE(first.time);
  EXPECT_GE(*first.time, Instant(day.days()) + std::chrono::hours(8) + std::chrono::minutes(30));
  EXPECT_LT(*first.time, Instant(day.days()) + std::chrono::hours(24));

  request.url = url + "/gtfs.zip";
  EXPECT_EQ(fetch(request).body, bytes_of(town));
  request.url = url + "/elsewhere";
  EXPECT_EQ(fetch(request).status, 404);
  EXPECT_EQ(fleet.end(SIGTERM), 0);
  EXPECT_EQ(fleet.errors(), "");
}

TEST_F(SimulateProcessTest, TheSameSeedGivesTheSameTown) {
  const std::string town = write_town();
  const std::string first = bytes_of(town);
  EXPECT_GT(first.size(), 1000U);
  EXPECT_EQ(bytes_of(write_town()), first);
}

TEST_F(SimulateProcessTest, SaysWhatIsWrongWithItsArguments) {
  EXPECT_THAT(refusal({}), HasSubstr("state the timetable by --gtfs FILE"));
  EXPECT_THAT(refusal({"--gtfs", "nowhere.zip"}), HasSubstr("nowhere.zip"));
  EXPECT_THAT(refusal({"--gtfs", "a.zip", "--write-gtfs", "b.zip"}), HasSubstr("--write-gtfs"));
  EXPECT_THAT(refusal({"--speed", "0"}), HasSubstr("--speed"));
  EXPECT_THAT(refusal({"--late", "1.5"}), HasSubstr("--late"));
  EXPECT_THAT(refusal({"--port", "70000"}), HasSubstr("--port"));
  EXPECT_THAT(refusal({"--write-gtfs", "/nowhere/town.zip"}), HasSubstr("cannot be written"));
  const std::string town = write_town();
  EXPECT_THAT(refusal({"--gtfs", town, "--at", "morning"}), HasSubstr("YYYY-MM-DDTHH:MM"));
  EXPECT_THAT(refusal({"--gtfs", town, "--address", "nowhere"}), HasSubstr("no IP address"));
}

}  // namespace
}  // namespace qiv
