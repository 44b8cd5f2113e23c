#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <random>
#include <utility>

#include "app/log.h"
#include "host/app/small_city.h"
#include "serve/archive_history.h"
#include "serve/live_city.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

const ServiceDate day = *ServiceDate::parse("20250303");
constexpr int departures = 258;
constexpr Seconds headway = std::chrono::minutes(5);
constexpr Seconds first_departure = std::chrono::hours(5);

std::string trip_name(int number) {
  return "t" + std::to_string(number);
}

/// What is told once it is stored.
struct Acknowledged {
  int step = 0;  ///< the next
  ArchiveWriter::Counts counts;
};

/// What an archive holds.
struct Held {
  explicit Held(Archive& archive) : positions(archive.summary().positions) {
    for (const TripRun& run : archive.under_way()) progress += run.progress.size();
    for (const ArchivedRun& run : archive.runs()) {
      progress += run.run.progress.size();
      ++trips;
    }
  }

  std::uint64_t positions;
  std::uint64_t progress = 0;
  std::uint64_t trips = 0;
};

/// A city with a trip each five minutes from 05:00 to 26:25, and its service.
class Service {
 public:
  explicit Service(const fs::path& folder) : city(folder) {}

  LiveCity live() {
    const std::shared_ptr<const Network> network(std::shared_ptr<const Network>(), &city.network());
    return {network, LearnedSettings(), city.archive(),
            [this](const Network& of, std::shared_ptr<const HistoryBounds> bounds) {
              return archive_history(city.archive(), of, std::move(bounds));
            }};
  }

  City city;
};

bool take_step(LiveCity& live, const VehiclePosition& position) {
  live.advance(position.received);
  live.take(position);
  return live.store();
}

/// What is on display: trips, their states and vehicles, and the times at each stop.
using Display = std::map<TripKey, std::pair<std::string, std::vector<long long>>>;

Display display_of(LiveCity& live, Instant now) {
  Display display;
  for (const TripForecast& trip : live.show(now).trips) {
    auto& [names, times] = display[trip.trip];
    names = trip.vehicle.text() + " " + std::to_string(static_cast<int>(trip.state)) + " " +
            std::to_string(static_cast<int>(trip.basis));
    for (const StopForecast& stop : trip.stops) times.push_back(unix_seconds(stop.arrival.time));
  }
  return display;
}

/// The same trips, states, vehicles and stops. Times may differ by a second: a mean that lies in
/// the middle between two seconds goes to either.
void expect_same(const Display& actual, const Display& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (const auto& [trip, shown] : expected) {
    const auto found = actual.find(trip);
    ASSERT_NE(found, actual.end()) << trip.trip;
    EXPECT_EQ(found->second.first, shown.first) << trip.trip;
    ASSERT_EQ(found->second.second.size(), shown.second.size()) << trip.trip;
    for (std::size_t i = 0; i < shown.second.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(found->second.second[i] - shown.second[i]), 0.0, 1.0)
          << trip.trip << " at stop " << i;
    }
  }
}

class ServeKillTest : public ::testing::Test {
 protected:
  ServeKillTest() {
    Log({LogLevel::off, "", ""}).take_library_messages();
    std::vector<testing::Departure> trips;
    for (int i = 0; i < departures; ++i) {
      const Seconds time = first_departure + i * headway;
      trips.push_back({trip_name(i), time});
      const auto reports = testing::line_reports("v" + std::to_string(i % 3), trip_name(i),
                                                 Instant(day.days()) + time, 121 + i % 7);
      steps.insert(steps.end(), reports.begin(), reports.end());
    }
    std::stable_sort(steps.begin(), steps.end(),
                     [](const auto& a, const auto& b) { return a.received < b.received; });
    testing::write_line_timetable(folder / "gtfs", "UTC", trips, day, day);
    City::create(folder / "killed", folder / "gtfs");
    City::create(folder / "whole", folder / "gtfs");
  }

  Instant time_before(int step) const {
    return steps[static_cast<std::size_t>(std::max(step - 1, 0))].received;
  }

  [[noreturn]] void serve_until_killed(int from, int acknowledge) const {
    Service service(folder / "killed");
    LiveCity live = service.live();
    live.rebuild(time_before(from));
    for (int step = from; step < static_cast<int>(steps.size()); ++step) {
      if (!take_step(live, steps[static_cast<std::size_t>(step)])) _exit(1);
      const Acknowledged told{step + 1, live.writer().counts()};
      if (write(acknowledge, &told, sizeof told) != sizeof told) _exit(1);
    }
    close(acknowledge);
    while (true) pause();
  }

  /// Serves from step `from` on, kills the service at a random instant, and returns the last that
  /// it acknowledged.
  Acknowledged serve_and_kill(int from, std::mt19937& random) const {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
      close(ends[0]);
      serve_until_killed(from, ends[1]);
    }
    close(ends[1]);
    Acknowledged last{from, {}};
    const auto next = [&] { return read(ends[0], &last, sizeof last) == sizeof last; };
    for (int left = std::uniform_int_distribution(0, 25)(random); left > 0 && next(); --left) {
    }
    usleep(std::uniform_int_distribution<useconds_t>(0, 3'000)(random));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the service ended by itself with " << status;
    while (next()) {
    }
    close(ends[0]);
    return last;
  }

  samples::TemporaryFolder folder;
  std::vector<VehiclePosition> steps;  ///< in order of receipt
};

TEST_F(ServeKillTest, AHundredKillsLoseNothingAcknowledgedAndMoveNoPredictionByMoreThanASecond) {
  Service whole_service(folder / "whole");
  LiveCity whole = whole_service.live();
  std::mt19937 random(20251007);
  int done = 0;
  for (int repetition = 0; repetition < 100; ++repetition) {
    const Held before(Service(folder / "killed").city.archive());
    const Acknowledged told = serve_and_kill(done, random);

    Service killed(folder / "killed");
    const Held held(killed.city.archive());
    EXPECT_GE(held.positions, before.positions + told.counts.positions);
    EXPECT_GE(held.progress, before.progress + told.counts.progress);
    EXPECT_GE(held.trips, before.trips + told.counts.trips);
    const auto stored = static_cast<int>(held.positions);
    ASSERT_GE(stored, told.step);
    ASSERT_LE(stored, told.step + 1);

    for (; done < stored; ++done) {
      ASSERT_TRUE(take_step(whole, steps[static_cast<std::size_t>(done)]));
    }
    const Instant now = time_before(done);
    whole.advance(now);
    LiveCity again = killed.live();
    again.rebuild(now);
    SCOPED_TRACE("after kill " + std::to_string(repetition + 1));
    expect_same(display_of(again, now), display_of(whole, now));
    if (HasFailure()) break;
  }
  EXPECT_GT(done, 500);
  const Held whole_held(whole_service.city.archive());
  const Held killed_held(Service(folder / "killed").city.archive());
  EXPECT_EQ(killed_held.progress, whole_held.progress);
  EXPECT_EQ(killed_held.trips, whole_held.trips);
  EXPECT_GT(killed_held.trips, 20U);
}

}  // namespace
}  // namespace qiv
