#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <limits>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using samples::at;
using samples::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

bool same(const VehiclePosition& a, const VehiclePosition& b) {
  return a.received == b.received && a.time == b.time && a.time_is_received == b.time_is_received &&
         a.vehicle == b.vehicle && a.trip == b.trip && a.route == b.route &&
         a.direction == b.direction && a.start_date == b.start_date &&
         a.start_time == b.start_time && a.place == b.place && a.bearing_deg == b.bearing_deg &&
         a.speed_mps == b.speed_mps && a.stop == b.stop && a.stop_sequence == b.stop_sequence &&
         a.status == b.status;
}

MATCHER_P(SameAs, expected, "the same position") {
  return same(arg, expected);
}

VehiclePosition position(const std::string& received, const std::string& vehicle) {
  VehiclePosition p;
  p.received = at(received);
  p.time = p.received - Seconds(20);
  p.vehicle = VehicleId(vehicle);
  p.place = LatLon{53.3347, -6.22979};
  return p;
}

std::vector<std::string> vehicles(const std::vector<VehiclePosition>& positions) {
  std::vector<std::string> names;
  for (const VehiclePosition& p : positions) names.push_back(p.vehicle.text());
  return names;
}

class ArchivePositionsTest : public testing::Test {
 protected:
  std::vector<VehiclePosition> all() const {
    return archive.positions(Instant::min(), Instant::max());
  }

  TemporaryFolder folder;
  Archive archive{folder / "archive.sqlite"};
};

TEST_F(ArchivePositionsTest, BringsEveryFieldBack) {
  VehiclePosition full = position("08:00:00", "E918");
  full.time_is_received = true;
  full.trip = TripId("E918-1055-BRAY-HOWTH");
  full.route = RouteId("DART");
  full.direction = 1;
  full.start_date = samples::sample_day;
  full.start_time = parse_time_of_day("25:55:00");
  full.bearing_deg = 359.99;
  full.speed_mps = 12.96416;
  full.stop = StopId("GCDK");
  full.stop_sequence = 16;
  full.status = StopStatus::in_transit_to;
  VehiclePosition bare;
  bare.received = at("08:00:01");
  bare.time = at("09:30:00");  // ahead of its receipt
  EXPECT_EQ(archive.record(std::vector{full, bare}), 2U);
  EXPECT_THAT(all(), ElementsAre(SameAs(full), SameAs(bare)));
}

TEST_F(ArchivePositionsTest, KeepsNumbersExactly) {
  std::vector<VehiclePosition> positions;
  for (const double value : {53.33470153808594, 1.0 / 3.0, -0.0, 1e-300, 179.9999999, 1e300,
                             std::numeric_limits<double>::infinity()}) {
    VehiclePosition p = position("08:00:00", "V");
    p.place = LatLon{value, -value};
    p.bearing_deg = value;
    p.speed_mps = value;
    positions.push_back(p);
  }
  archive.record(positions);
  const auto back = all();
  ASSERT_EQ(back.size(), positions.size());
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_TRUE(same(back[i], positions[i])) << *positions[i].speed_mps;
    EXPECT_EQ(std::signbit(*back[i].speed_mps), std::signbit(*positions[i].speed_mps));
  }
}

TEST_F(ArchivePositionsTest, TakesWhatIsNoNumberAsNotStated) {
  VehiclePosition p = position("08:00:00", "V");
  p.place->lon_deg = std::numeric_limits<double>::quiet_NaN();
  p.speed_mps = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(archive.record(std::vector{p, p}), 1U);
  EXPECT_EQ(all().front().place, std::nullopt);
  EXPECT_EQ(all().front().speed_mps, std::nullopt);
}

TEST_F(ArchivePositionsTest, KeepsNamesOfAnyBytes) {
  VehiclePosition p = position("08:00:00", std::string("nul \0 within", 12));
  p.trip = TripId("\xff\xfe not UTF-8");
  p.stop = StopId("it's \"quoted\"");
  archive.record(std::vector{p});
  EXPECT_THAT(all(), ElementsAre(SameAs(p)));
}

TEST_F(ArchivePositionsTest, SortsByReceiptAndThenByOrderOfRecording) {
  archive.record(std::vector{position("08:01:00", "late"), position("08:00:00", "b"),
                             position("08:00:00", "a")});
  archive.record(std::vector{position("08:00:00", "c"), position("07:59:00", "early")});
  EXPECT_THAT(vehicles(all()), ElementsAre("early", "b", "a", "c", "late"));
}

TEST_F(ArchivePositionsTest, GivesAHalfOpenRange) {
  archive.record(
      std::vector{position("08:00:00", "a"), position("08:01:00", "b"), position("08:02:00", "c")});
  EXPECT_THAT(vehicles(archive.positions(at("08:00:00"), at("08:02:00"))), ElementsAre("a", "b"));
  EXPECT_THAT(archive.positions(at("08:02:01"), Instant::max()), IsEmpty());
}

TEST_F(ArchivePositionsTest, TakesOverlappingRecordingsOnce) {
  const auto a = position("08:00:00", "a");
  const auto b = position("08:01:00", "b");
  const auto c = position("08:02:00", "c");
  EXPECT_EQ(archive.record(std::vector{a, b, a}), 2U);
  EXPECT_EQ(archive.record(std::vector{a, b}), 0U);
  EXPECT_EQ(archive.record(std::vector{b, c}), 1U);
  EXPECT_THAT(vehicles(all()), ElementsAre("a", "b", "c"));
}

TEST_F(ArchivePositionsTest, KeepsPositionsApartThatDifferInOneField) {
  std::vector<VehiclePosition> positions(1, position("08:00:00", "a"));
  const auto differing = [&](auto change) {
    positions.push_back(positions.front());
    change(positions.back());
  };
  differing([](VehiclePosition& p) { p.time += Seconds(1); });
  differing([](VehiclePosition& p) { p.time_is_received = true; });
  differing([](VehiclePosition& p) { p.trip = TripId("T"); });
  differing([](VehiclePosition& p) { p.route = RouteId("T"); });
  differing([](VehiclePosition& p) { p.stop = StopId("T"); });
  differing([](VehiclePosition& p) { p.direction = 0; });
  differing([](VehiclePosition& p) { p.start_date = samples::sample_day; });
  differing([](VehiclePosition& p) { p.start_time = Seconds(0); });
  differing([](VehiclePosition& p) { p.place = std::nullopt; });
  differing([](VehiclePosition& p) { p.place->lat_deg += 1e-9; });
  differing([](VehiclePosition& p) { p.bearing_deg = 0.0; });
  differing([](VehiclePosition& p) { p.speed_mps = 0.0; });
  differing([](VehiclePosition& p) { p.stop_sequence = 0; });
  differing([](VehiclePosition& p) { p.status = StopStatus::incoming_at; });
  EXPECT_EQ(archive.record(positions), positions.size());
  EXPECT_EQ(archive.record(positions), 0U);
}

TEST_F(ArchivePositionsTest, ForgetsARange) {
  archive.record(
      std::vector{position("08:00:00", "a"), position("08:01:00", "b"), position("08:02:00", "c")});
  EXPECT_EQ(archive.remove_positions(Instant::min(), at("08:01:01")), 2U);
  archive.compact();
  EXPECT_THAT(vehicles(all()), ElementsAre("c"));
  EXPECT_EQ(archive.record(std::vector{position("08:00:00", "a")}), 1U);
  EXPECT_THAT(vehicles(all()), ElementsAre("a", "c"));
}

TEST_F(ArchivePositionsTest, IsTheSameAfterOpeningAgain) {
  archive.record(std::vector{position("08:00:00", "a"), position("08:01:00", "b")});
  Archive again(folder / "archive.sqlite");
  EXPECT_THAT(vehicles(again.positions(Instant::min(), Instant::max())), ElementsAre("a", "b"));
  EXPECT_EQ(again.record(std::vector{position("08:01:00", "b")}), 0U);
}

TEST_F(ArchivePositionsTest, UnderstandsNamesThatAnotherWriterMadeOrForgot) {
  Archive other(folder / "archive.sqlite");
  archive.record(std::vector{position("08:00:00", "a"), position("08:01:00", "b")});
  other.remove_positions(at("08:00:00"), at("08:00:01"));
  other.compact();
  other.record(std::vector{position("08:02:00", "c")});
  archive.record(std::vector{position("08:03:00", "a")});
  EXPECT_THAT(vehicles(all()), ElementsAre("b", "c", "a"));
  EXPECT_THAT(vehicles(other.positions(Instant::min(), Instant::max())),
              ElementsAre("b", "c", "a"));
}

RC_GTEST_PROP(ArchivePositionsProperty, RecordingInPiecesIsRecordingAtOnce, ()) {
  const auto stream = *rc::gen::container<std::vector<VehiclePosition>>(rc::gen::exec([] {
    VehiclePosition p = position("08:00:00", std::string(1, *rc::gen::inRange('a', 'd')));
    p.received += Seconds(*rc::gen::inRange(0, 3));
    p.speed_mps = *rc::gen::element(1.0, 2.5);
    return p;
  }));
  const auto cut = *rc::gen::inRange<std::size_t>(0, stream.size() + 1);
  const std::span<const VehiclePosition> whole(stream);
  TemporaryFolder folder;
  Archive once(folder / "once.sqlite");
  Archive pieces(folder / "pieces.sqlite");
  once.record(whole);
  pieces.record(whole.first(cut));
  pieces.record(whole.subspan(cut));
  pieces.record(whole);
  const auto expected = once.positions(Instant::min(), Instant::max());
  const auto actual = pieces.positions(Instant::min(), Instant::max());
  RC_ASSERT(expected.size() == actual.size());
  for (std::size_t i = 0; i < expected.size(); ++i) RC_ASSERT(same(expected[i], actual[i]));
}

TEST_F(ArchivePositionsTest, FindsTheNextOneReceived) {
  EXPECT_EQ(archive.next_received(Instant::min()), std::nullopt);
  archive.record(std::vector{position("08:00:00", "a"), position("09:00:00", "b")});
  EXPECT_EQ(archive.next_received(Instant::min()), at("08:00:00"));
  EXPECT_EQ(archive.next_received(at("08:00:00")), at("08:00:00"));
  EXPECT_EQ(archive.next_received(at("08:00:01")), at("09:00:00"));
  EXPECT_EQ(archive.next_received(at("09:00:01")), std::nullopt);
}

TEST_F(ArchivePositionsTest, CountsChangesByQuartersOfAnHour) {
  const auto morning = [&] { return archive.position_changes(at("08:00:00"), at("08:30:00")); };
  EXPECT_EQ(morning(), 0U);
  archive.record(std::vector{position("08:00:00", "a"), position("08:29:59", "b"),
                             position("08:30:00", "c"), position("07:59:59", "d")});
  EXPECT_EQ(morning(), 2U);
  archive.record(std::vector{position("08:00:00", "a")});
  EXPECT_EQ(morning(), 2U) << "known already";
  archive.remove_positions(at("08:00:00"), at("08:15:00"));
  EXPECT_EQ(morning(), 3U);
  archive.record(std::vector{position("08:00:00", "a")});
  EXPECT_EQ(morning(), 4U) << "never as before";
}

}  // namespace
}  // namespace qiv
