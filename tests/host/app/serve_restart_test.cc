#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "app/city.h"
#include "app/commands.h"
#include "app/log.h"
#include "serve/archive_history.h"
#include "serve/live_city.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

/// Everything that is forecast, to the last bit.
std::string text_of(const Snapshot& shown) {
  std::ostringstream text;
  text << std::hexfloat;
  for (const TripForecast& trip : shown.trips) {
    text << to_string(trip.trip) << ' ' << trip.vehicle << ' ' << to_string(trip.state) << ' '
         << to_string(trip.basis) << ' ' << trip.category << ' ' << trip.trips << ' '
         << unix_seconds(trip.position_time) << ' ' << trip.offset_m;
    for (const StopForecast& stop : trip.stops) {
      text << ' ' << stop.observed << ' ' << unix_seconds(stop.arrival.time) << ' '
           << unix_seconds(stop.arrival.lower_90) << ' ' << unix_seconds(stop.arrival.upper_68)
           << ' ' << stop.spread_s;
    }
    text << '\n';
  }
  return text.str();
}

/// The first line in which two texts differ.
std::string difference(const std::string& expected, const std::string& actual) {
  std::istringstream left(expected);
  std::istringstream right(actual);
  std::string of_left;
  std::string of_right;
  while (std::getline(left, of_left) && std::getline(right, of_right)) {
    if (of_left != of_right) return of_left + "\nagainst\n" + of_right;
  }
  return expected == actual ? "" : "one has more lines";
}

/// A recorded day of the bundled city, told to a live city whose archive knows the two days before.
class ServeRestartTest : public ::testing::Test {
 protected:
  ServeRestartTest() {
    Log({LogLevel::off, "", ""}).take_library_messages();
    std::string name = (fs::temp_directory_path() / "qiv-restart-XXXXXX").string();
    root = mkdtemp(name.data());
    record("city", {"20251006", "20251007"});
    record("day", {"20251008"});
  }
  ~ServeRestartTest() override { fs::remove_all(root); }

  void record(const char* name, const std::vector<std::string>& days) {
    const fs::path data = QIV_DATA_DIR "/dart-2025";
    City::create(root / name, data / "gtfs.zip");
    RecordArguments arguments;
    arguments.city = (root / name).string();
    for (const std::string& of : days) {
      arguments.files.push_back((data / ("positions-" + of + ".csv.gz")).string());
    }
    ::testing::internal::CaptureStdout();
    run_record(arguments);
    ::testing::internal::GetCapturedStdout();
  }

  static std::unique_ptr<LiveCity> live(City& city, bool records) {
    LiveCityOptions options;
    options.records = records;
    const std::shared_ptr<const Network> network(std::shared_ptr<const Network>(), &city.network());
    return std::make_unique<LiveCity>(
        network, LearnedSettings(), city.archive(),
        [&city](const Network& of, std::shared_ptr<const HistoryBounds> bounds) {
          return archive_history(city.archive(), of, std::move(bounds));
        },
        options);
  }

  fs::path root;
  ServiceDate day = *ServiceDate::parse("20251008");
};

TEST_F(ServeRestartTest, AtAnyMomentTheServiceGoesOnAsItWouldHave) {
  City recorded(root / "day");
  const std::vector<VehiclePosition> positions = recorded.positions(day);
  City city(root / "city");
  city.follow(day - std::chrono::days(1), [](double, ServiceDate) {});
  const auto whole = live(city, true);
  const Instant begin = positions.front().received;
  std::vector<std::unique_ptr<City>> cities;
  std::vector<std::unique_ptr<LiveCity>> restarted;
  int compared = 0;
  for_each_second(positions, [&](std::span<const VehiclePosition> together) {
    const Instant now = together.front().received;
    whole->take(together);
    for (const auto& other : restarted) other->take(together);
    const auto minute = std::chrono::duration_cast<std::chrono::minutes>(now - begin).count();
    const bool restarts = minute >= 150 * static_cast<long>(restarted.size() + 1);
    if (!restarts && compared > minute / 20) return;
    ++compared;
    whole->advance(now);
    ASSERT_TRUE(whole->store());
    const std::string expected = text_of(whole->show(now));
    if (restarts) {
      cities.push_back(std::make_unique<City>(root / "city"));
      restarted.push_back(live(*cities.back(), false));
      restarted.back()->rebuild(now);
    }
    for (std::size_t i = 0; i < restarted.size(); ++i) {
      restarted[i]->advance(now);
      ASSERT_EQ(difference(expected, text_of(restarted[i]->show(now))), "")
          << "restart " << i << " of " << restarted.size() << ", minute " << minute;
    }
  });
  EXPECT_GE(restarted.size(), 6U);
  EXPECT_GE(compared, 50);
}

}  // namespace
}  // namespace qiv
