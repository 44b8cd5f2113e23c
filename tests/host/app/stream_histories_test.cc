#include "app/stream_histories.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "host/app/small_city.h"
#include "host/worker/stream_data.h"
#include "worker/partition_engine.h"
#include "worker/position_codec.h"

namespace qiv {
namespace {

using testing::stream_agency;

/// Value and moment of each message, by its key.
using Messages = std::map<std::string, std::pair<std::string, Instant>>;

void add(const FinishedTrip& trip, Messages& messages) {
  const StreamMessage message = encode_finished(trip);
  EXPECT_TRUE(messages.emplace(message.key, std::pair(*message.value, message.time)).second)
      << message.key;
}

/// What the workers of four partitions write of positions.
Messages of_workers(const testing::StreamData& data, Instant until) {
  const LearnedSettings settings;
  const HistorySource none = [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); };
  std::vector<PartitionOutput> output;
  std::vector<std::unique_ptr<PartitionEngine>> partitions;
  for (int i = 0; i < 4; ++i) {
    partitions.push_back(std::make_unique<PartitionEngine>(*data.network, settings, none));
  }
  for (const VehiclePosition& position : data.positions) {
    const std::size_t number = std::hash<std::string>()(position.vehicle.text()) % 4;
    auto decoded = std::get<0>(decode_position(encode_position(stream_agency, position)));
    partitions[number]->take(std::get<VehiclePosition>(std::move(decoded)), output);
  }
  for (const auto& partition : partitions) partition->advance(until, output);
  Messages messages;
  for (PartitionOutput& one : output) {
    if (auto* const trip = std::get_if<FinishedTrip>(&one)) {
      trip->agency = stream_agency;
      add(*trip, messages);
    }
  }
  return messages;
}

TEST(StreamHistoriesTest, TripsOfRecordedDaysAreWhatWorkersWriteByteForByte) {
  const testing::StreamData data = testing::recorded("03:00:00", "12:00:00");
  const Instant until = data.positions.back().received;
  const samples::TemporaryFolder folder;
  City city =
      City::create(folder / "city", std::filesystem::path(QIV_DATA_DIR) / "dart-2025/gtfs.zip");
  city.archive().record(data.positions);
  Messages of_bridge;
  finished_trips(city, stream_agency, *ServiceDate::parse("20251007"), until,
                 [&](const FinishedTrip& trip) { add(trip, of_bridge); });
  EXPECT_GT(of_bridge.size(), 50U);
  EXPECT_TRUE(of_bridge == of_workers(data, until));
}

class PastOfASmallCityTest : public ::testing::Test {
 protected:
  PastOfASmallCityTest() {
    small.record_day(day, 120);
    city.emplace(small.city);
  }

  std::vector<FinishedTrip> trips(Instant until) {
    std::vector<FinishedTrip> all;
    finished_trips(*city, stream_agency, day, until,
                   [&](const FinishedTrip& trip) { all.push_back(trip); });
    return all;
  }

  const ServiceDate day = *ServiceDate::parse("20250303");
  const Instant end = Instant(day.days()) + std::chrono::hours(27);
  testing::SmallCity small;
  std::optional<City> city;
};

TEST_F(PastOfASmallCityTest, ATripThatItsVehicleIsOnIsNotTold) {
  ASSERT_EQ(trips(end).size(), 18U);
  auto reports =
      testing::line_reports("late", "h22", Instant(day.days()) + std::chrono::hours(23), 120);
  reports.resize(reports.size() / 2);
  city->archive().record(reports);
  EXPECT_EQ(trips(reports.back().received).size(), 18U);
  EXPECT_EQ(trips(end).size(), 19U) << "it has fallen silent";
}

TEST_F(PastOfASmallCityTest, TripsWhosePositionsAreGoneAreThoseOfTheArchive) {
  city->follow(day, [](double, ServiceDate) {});
  EXPECT_EQ(trips(end).size(), 18U);
  city->archive().remove_positions(Instant::min(), Instant::max());
  const auto kept = trips(end);
  ASSERT_EQ(kept.size(), 18U);
  EXPECT_EQ(kept[0].finished, kept[0].run.progress.back().received);
}

}  // namespace
}  // namespace qiv
