#include "serve/sources/folder_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "host/history/temporary_folder.h"
#include "host/serve/sources/realtime_message.h"
#include "host/serve/sources/source_run.h"

namespace qiv {
namespace {

using testing::at;
using testing::message_with;
using testing::SourceRun;
using namespace std::chrono_literals;

class FolderSourceTest : public ::testing::Test {
 protected:
  void put(const char* name, const std::string& bytes) const {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }
  FolderSourceOptions options() const {
    FolderSourceOptions options;
    options.name = "snapshots";
    options.folder = folder.path();
    options.interval = 5ms;
    return options;
  }
  static Instant now() { return at("08:00:05"); }

  samples::TemporaryFolder folder;
};

TEST_F(FolderSourceTest, BeginsWithTheLastAndTakesWhatIsAdded) {
  put("positions-1.pb", message_with("old", at("07:59:00")));
  put("positions-2.pb", message_with("first", at("07:59:30")));
  FolderSource source(options(), now);
  const SourceRun run(source);
  ASSERT_TRUE(run.has(1));
  put(".hidden", "x");
  put("positions-3.pb", message_with("second", at("08:00:00")));
  put("positions-4.pb", message_with("third", at("08:00:01")));
  ASSERT_TRUE(run.has(3));
  EXPECT_EQ(run.taken()[0].vehicle, VehicleId("first"));
  EXPECT_EQ(run.taken()[1].vehicle, VehicleId("second"));
  EXPECT_EQ(run.taken()[2].vehicle, VehicleId("third"));
}

TEST_F(FolderSourceTest, SaysWhenTheFolderIsNotThere) {
  FolderSourceOptions nowhere = options();
  nowhere.folder = folder / "nowhere";
  FolderSource source(nowhere, now);
  const SourceRun run(source);
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).failures > 0; }));
  EXPECT_THAT(source.view(now()).detail, ::testing::HasSubstr("check the source's folder"));
}

TEST_F(FolderSourceTest, PassesOverABrokenFile) {
  FolderSource source(options(), now);
  const SourceRun run(source);
  put("a.pb", "broken");
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).failures == 1; }));
  put("b.pb", message_with("v", at("08:00:00")));
  EXPECT_TRUE(run.has(1));
  EXPECT_EQ(source.view(now()).health, SourceHealth::good);
}

TEST_F(FolderSourceTest, TellsWhatTheAgencySays) {
  FolderSourceOptions alerts = options();
  alerts.content = FeedContent::alerts;
  std::atomic<int> told = 0;
  FolderSource source(alerts, now, [&](const AgencyReport& report) {
    if (report.content->kind == AgencyContent::Kind::alerts) ++told;
  });
  const SourceRun run(source);
  put("a.pb", message_with("v", at("08:00:00")));
  EXPECT_TRUE(SourceRun::until([&] { return told == 1; }));
  EXPECT_EQ(source.view(now()).rejections.count("entity without alert"), 1U);
}

}  // namespace
}  // namespace qiv
