#include "learn/learn.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "history/settings_json.h"
#include "host/learn/straight_run.h"

namespace qiv {
namespace {

using std::chrono::days;
using testing::monday;

/// Eight days of trip "out", reported every 500 m, each day in its own time.
class LearnTest : public ::testing::Test {
 protected:
  LearnTest() {
    for (int i = 0; i < 8; ++i) {
      runs.add(testing::straight_run(network, "out", monday + days(i), 8, leg_s(i)));
    }
  }

  static int leg_s(int day) { return 150 + 20 * (day % 3); }

  static std::vector<VehiclePosition> positions(ServiceDate day) {
    std::vector<VehiclePosition> found;
    const int leg = leg_s(static_cast<int>((day - monday).count()));
    for (int i = 0; i <= 8; ++i) {
      VehiclePosition position = testing::fix("v", "out", "08:00:00", i * 500.0, 0.0, day);
      position.time = position.received = position.time + Seconds(i * leg / 2);
      found.push_back(position);
    }
    return found;
  }

  std::string learned() const {
    return to_json(learn(network, runs, monday + days(7), positions, options));
  }

  Network network = testing::straight_network();
  RecordedRuns runs{network};
  LearnOptions options;
};

TEST_F(LearnTest, CalibratesOnTheLastDays) {
  const LearnedSettings settings = learn(network, runs, monday + days(7), positions, options);
  EXPECT_GT(settings.calibration.at(TripState::under_way, Seconds(60)).samples, 10U);
  EXPECT_TRUE(
      settings.patterns.contains(network.pattern(network.find_trip(TripId("out"))->pattern).ref));
}

TEST_F(LearnTest, TheNumberOfThreadsChangesNothing) {
  options.validation.threads = 1;
  const std::string with_one = learned();
  options.validation.threads = 3;
  EXPECT_EQ(learned(), with_one);
}

TEST_F(LearnTest, InterruptedAnywhereItComesToTheSame) {
  const std::string undisturbed = learned();
  std::size_t parts = 0;
  options.partial.keep = [&](const std::string&, const std::string&) { ++parts; };
  learned();
  ASSERT_GT(parts, 10U);
  for (std::size_t most = 0; most < parts; most += 3) {
    std::map<std::string, std::string> kept;
    options.partial.find = [&](const std::string& part) -> std::optional<std::string> {
      const auto entry = kept.find(part);
      if (entry == kept.end()) return std::nullopt;
      return entry->second;
    };
    options.partial.keep = [&](const std::string& part, const std::string& bytes) {
      if (kept.size() == most) throw std::runtime_error("interrupted");
      kept[part] = bytes;
    };
    EXPECT_THROW(learned(), std::runtime_error);
    EXPECT_EQ(kept.size(), most);
    options.partial.keep = [&](const std::string& part, const std::string& bytes) {
      kept[part] = bytes;
    };
    EXPECT_EQ(learned(), undisturbed) << "interrupted after " << most << " parts";
    EXPECT_EQ(kept.size(), parts);
  }
}

}  // namespace
}  // namespace qiv
