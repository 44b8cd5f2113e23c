#include "feed/position_source.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host/feed/packing.h"
#include "host/feed/realtime_text.h"
#include "host/feed/temporary_folder.h"

namespace qiv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::string snapshot(long long time, const std::vector<std::string>& vehicles) {
  std::string text =
      R"(header { gtfs_realtime_version: "2.0" timestamp: )" + std::to_string(time) + "}";
  for (const std::string& vehicle : vehicles)
    text += "entity { id: '" + vehicle + "' vehicle { vehicle { id: '" + vehicle +
            "' } stop_id: 'S' } }";
  return message_of(text);
}

constexpr const char* siri = R"(<Siri><VehicleMonitoringDelivery>
  <ResponseTimestamp>2025-10-07T05:00:00Z</ResponseTimestamp>
  <VehicleActivity><MonitoredVehicleJourney><VehicleRef>X</VehicleRef>
  <MonitoredCall><StopPointRef>S</StopPointRef></MonitoredCall>
  </MonitoredVehicleJourney></VehicleActivity></VehicleMonitoringDelivery></Siri>)";

struct Recorded {
  std::vector<std::string> batches;  // the vehicles of each call, joined
  RecordingSummary summary;
};

Recorded read(const FileBundle& bundle) {
  Recorded recorded;
  recorded.summary = read_positions(bundle, [&](const std::vector<VehiclePosition>& positions) {
    std::string joined;
    for (const VehiclePosition& position : positions) joined += position.vehicle.text();
    recorded.batches.push_back(joined);
  });
  return recorded;
}

Recorded read(std::map<std::string, std::string> files) {
  return read(FileBundle::of(files, "recording"));
}

TEST(ReadPositions, TakesSnapshotsInTheOrderOfTheirNames) {
  const Recorded recorded = read({{"2.pb", snapshot(1759811660, {"C"})},
                                  {"1.pb", snapshot(1759811600, {"A", "B"})},
                                  {"3.pb", snapshot(1759811720, {})}});
  EXPECT_THAT(recorded.batches, ElementsAre("AB", "C"));
  EXPECT_EQ(recorded.summary.files, 3U);
  EXPECT_EQ(recorded.summary.read, 3U);
  EXPECT_EQ(recorded.summary.used, 3U);
}

TEST(ReadPositions, PutsTheRowsOfATableInTheOrderOfReceipt) {
  const Recorded recorded = read({{"day.csv", R"(feed_timestamp,vehicle_id,stop_id
1759811660,C,S
1759811600,A,S
1759811660,D,S
1759811600,B,S
)"}});
  EXPECT_THAT(recorded.batches, ElementsAre("AB", "CD"));
}

TEST(ReadPositions, KnowsAKindByItsNameOrItsContent) {
  const std::string table = "timestamp,vehicle_id,stop_id\n1759811600,T,S\n";
  const Recorded recorded = read({{"a.csv.gz", gzip_of(table)},
                                  {"b.xml", siri},
                                  {"c.pb.gz", gzip_of(snapshot(1759811600, {"P"}))},
                                  {"d", table},
                                  {"e.dat", siri},
                                  {"f.bin", snapshot(1759811600, {"P"})}});
  EXPECT_THAT(recorded.batches, ElementsAre("T", "X", "P", "T", "X", "P"));
}

TEST(ReadPositions, CountsAndSkipsWhatIsMalformed) {
  const Recorded recorded = read({{"1.pb", snapshot(1759811600, {"A"})},
                                  {"2.pb", "<html>502</html>"},
                                  {"3.csv.gz", gzip_of("x").substr(0, 12)},
                                  {"4.xml", "<Siri"},
                                  {"5.pb", snapshot(1759811660, {"B"})},
                                  {"README.md", "# About"}});
  EXPECT_THAT(recorded.batches, ElementsAre("A", "B"));
  const Rejections& rejections = recorded.summary.rejections;
  EXPECT_EQ(rejections.entries().at("not a GTFS-realtime message").first, "recording: 2.pb");
  EXPECT_EQ(rejections.count("file cannot be read"), 1U);
  EXPECT_EQ(rejections.count("not an XML document"), 1U);
  EXPECT_EQ(rejections.entries().at("not a recording").first, "recording: README.md");
}

TEST(ReadPositions, SaysWhatHoldsNoRecording) {
  EXPECT_THAT(
      [] {
        read({{"README.md", "# About"}});
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("recording holds no recording")));
  EXPECT_THAT([] { read(std::map<std::string, std::string>()); },
              ThrowsMessage<std::runtime_error>(HasSubstr("recording holds no recording")));
}

TEST(ReadPositions, LeavesTheSinksExceptionsAlone) {
  const FileBundle bundle = FileBundle::of({{"1.pb", snapshot(1759811600, {"A"})}}, "recording");
  EXPECT_THAT(
      [&] {
        read_positions(bundle, [](const std::vector<VehiclePosition>&) {
          throw std::runtime_error("disk full");
        });
      },
      ThrowsMessage<std::runtime_error>("disk full"));
}

TEST(ReadPositions, OpensFilesFoldersAndZipFiles) {
  const TemporaryFolder folder;
  const std::string bytes = snapshot(1759811600, {"A"});
  folder.write("one.pb", bytes);
  folder.write("day/07/two.pb", bytes);
  folder.write("all.zip", zip_of({{"day/1.pb", bytes}, {"day/2.pb", bytes}}));
  const auto used = [&](const std::string& name) {
    return read_positions(folder.path() / name, [](const std::vector<VehiclePosition>&) {}).used;
  };
  EXPECT_EQ(used("one.pb"), 1U);
  EXPECT_EQ(used("day"), 1U);
  EXPECT_EQ(used("all.zip"), 2U);
  EXPECT_THAT([&] { used("none.pb"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("none.pb does not exist")));
}

TEST(ReadRecordedTripUpdates, HandsOnEachSnapshot) {
  const TemporaryFolder folder;
  const std::string text = R"(header { gtfs_realtime_version: "2.0" timestamp: 1759811600 }
    entity { id: "1" trip_update { trip { trip_id: "T" } stop_time_update { stop_id: "S" } } })";
  folder.write("1.pb", message_of(text));
  folder.write("2.pb.gz", gzip_of(message_of(text)));
  folder.write("3.csv", "timestamp,vehicle_id\n");
  std::vector<std::string> trips;
  const RecordingSummary summary =
      read_recorded_trip_updates(folder.path(), [&](const TripUpdateBatch& batch) {
        for (const TripUpdate& update : batch.updates) trips.push_back(update.trip.text());
      });
  EXPECT_THAT(trips, ElementsAre("T", "T"));
  EXPECT_EQ(summary.used, 2U);
  EXPECT_EQ(summary.rejections.count("not a recording"), 1U);
}

}  // namespace
}  // namespace qiv
