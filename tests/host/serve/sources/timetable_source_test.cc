#include "serve/sources/timetable_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "host/history/temporary_folder.h"
#include "host/serve/sources/scripted_server.h"
#include "host/serve/sources/source_run.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::ScriptedServer;
using testing::SourceRun;
using namespace std::chrono_literals;

class TimetableSourceTest : public ::testing::Test {
 protected:
  TimetableSourceTest() { write("20251231"); }

  /// A timetable of one trip on every day until `last`.
  void write(const std::string& last) const {
    const auto table = [&](const char* name, const std::string& text) {
      std::filesystem::create_directories(timetable());
      std::ofstream(timetable() / name) << text;
    };
    table("agency.txt", "agency_id,agency_name,agency_url,agency_timezone\na,A,http://a,UTC\n");
    table("stops.txt", "stop_id,stop_name,stop_lat,stop_lon\nA,A,53,-6\nB,B,53,-5.99\n");
    table("routes.txt", "route_id,agency_id,route_short_name,route_type\nr,a,1,3\n");
    table("calendar.txt",
          "service_id,monday,tuesday,wednesday,thursday,friday,saturday,sunday,start_date,end_date"
          "\nd,1,1,1,1,1,1,1,20250101," +
              last + "\n");
    table("trips.txt", "route_id,service_id,trip_id\nr,d,t\n");
    table("stop_times.txt",
          "trip_id,arrival_time,departure_time,stop_id,stop_sequence\n"
          "t,08:00:00,08:00:00,A,1\nt,08:05:00,08:05:00,B,2\n");
  }
  std::filesystem::path timetable() const { return folder / "timetable"; }

  TimetableSourceOptions options() const {
    TimetableSourceOptions options;
    options.file = timetable();
    options.interval = 5ms;
    options.longest_wait = 20ms;
    return options;
  }
  TimetableSource::TakeNetwork take() {
    return [this](std::shared_ptr<const Network> network) {
      EXPECT_EQ(network->trips().size(), 1U);
      ++taken;
    };
  }
  static Instant now() { return testing::at("08:00:05"); }

  samples::TemporaryFolder folder;
  std::atomic<int> taken = 0;
};

TEST_F(TimetableSourceTest, HandsOnAFileThatHasChanged) {
  TimetableSource source(options(), take(), now);
  const SourceRun run(source);
  ASSERT_TRUE(SourceRun::until([&] { return source.view(now()).not_modified >= 2; }));
  EXPECT_EQ(taken, 0);
  write("20261231");
  EXPECT_TRUE(SourceRun::until([&] { return taken > 0; })) << source.view(now()).detail;
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).health == SourceHealth::good; }));
}

TEST_F(TimetableSourceTest, TheOldOneStandsWhenTheNewOneIsBroken) {
  TimetableSource source(options(), take(), now);
  const SourceRun run(source);
  std::filesystem::remove(timetable() / "stops.txt");
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).failures > 0; }));
  EXPECT_EQ(source.view(now()).health, SourceHealth::failing);
  EXPECT_EQ(taken, 0);
}

TEST_F(TimetableSourceTest, RefusesATimetableOfThePast) {
  TimetableSource source(options(), take(), now);
  const SourceRun run(source);
  write("20250201");
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).failures > 0; }));
  EXPECT_THAT(source.view(now()).detail, HasSubstr("no trip runs within 7 days"));
  EXPECT_EQ(taken, 0);
}

TEST_F(TimetableSourceTest, ABrokenAnswerDoesNotTakeTheFilesPlace) {
  ScriptedServer server([](const std::string&, const auto& send) {
    send(ScriptedServer::answer("no zip file at all"));
  });
  TimetableSourceOptions fetched = options();
  fetched.file = folder / "timetable.zip";
  fetched.request.url = server.url("/gtfs.zip");
  std::ofstream(fetched.file) << "the old one";
  TimetableSource source(fetched, take(), now);
  const SourceRun run(source);
  ASSERT_TRUE(SourceRun::until([&] { return source.view(now()).failures > 1; }))
      << source.view(now()).detail;
  EXPECT_EQ(std::filesystem::file_size(fetched.file), 11U);
  EXPECT_EQ(taken, 0);
}

TEST_F(TimetableSourceTest, LooksAtOnceWhenItIsAsked) {
  TimetableSourceOptions slow = options();
  slow.interval = 1h;
  TimetableSource source(slow, take(), now);
  const SourceRun run(source);
  ASSERT_TRUE(SourceRun::until([&] { return source.view(now()).not_modified == 1; }));
  write("20261231");
  source.look_soon();
  EXPECT_TRUE(SourceRun::until([&] { return taken == 1; })) << source.view(now()).detail;
}

}  // namespace
}  // namespace qiv
