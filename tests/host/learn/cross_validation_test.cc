#include "learn/cross_validation.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <stdexcept>

#include "host/learn/straight_run.h"

namespace qiv {
namespace {

using testing::monday;
using testing::straight_run;

class CrossValidationTest : public ::testing::Test {
 protected:
  /// Sixteen days on which "out" is slow and "later" is fast, or the other way in the first half.
  void add_runs(bool changes) {
    for (int i = 0; i < 16; ++i) {
      const ServiceDate day = monday + std::chrono::days(i);
      const bool swapped = changes && i < 8;
      runs.add(straight_run(network, "out", day, 8, (swapped ? 100 : 300) + i % 3));
      runs.add(straight_run(network, "later", day, 9, (swapped ? 300 : 100) + i % 2));
    }
  }

  CrossValidationResult result() const {
    return cross_validate(network, runs, monday + std::chrono::days(15), options);
  }

  const PatternSettings& chosen(const CrossValidationResult& result) const {
    return result.patterns.at(network.pattern(network.find_trip(TripId("out"))->pattern).ref);
  }

  Network network = testing::straight_network();
  RecordedRuns runs{network};
  CrossValidationOptions options;
};

TEST_F(CrossValidationTest, FindsThatTheTimeOfDayMatters) {
  add_runs(false);
  options.least_predictions = 50;
  const CrossValidationResult with_two_threads = result();
  EXPECT_GE(chosen(with_two_threads).category_depth, 1);
  options.threads = 1;
  const CrossValidationResult with_one = result();
  EXPECT_EQ(with_one.patterns, with_two_threads.patterns);
  EXPECT_EQ(with_one.fallback, with_two_threads.fallback);
}

TEST_F(CrossValidationTest, TriesEveryKindOfSetting) {
  add_runs(false);
  std::set<unsigned> windows;
  std::set<double> spacings_m;
  const CrossValidationResult all = result();
  for (const auto& [ref, list] : all.tried) {
    for (const TriedSettings& tried : list) {
      windows.insert(tried.settings.window);
      spacings_m.insert(tried.settings.milestone_spacing_m);
    }
  }
  EXPECT_GE(windows.size(), 3U);
  EXPECT_GE(spacings_m.size(), 3U);
}

TEST_F(CrossValidationTest, KeepsTheDefaultWhereNothingIsClearlyBetter) {
  for (int i = 0; i < 16; ++i) {
    runs.add(straight_run(network, "out", monday + std::chrono::days(i), 8, 200));
  }
  options.least_predictions = 50;
  EXPECT_EQ(chosen(result()), PatternSettings());
}

TEST_F(CrossValidationTest, GoesOnWhereItWasInterrupted) {
  add_runs(true);
  options.least_predictions = 50;
  const CrossValidationResult undisturbed = result();
  std::map<std::string, std::string> kept;
  options.partial.find = [&](const std::string& part) -> std::optional<std::string> {
    const auto entry = kept.find(part);
    if (entry == kept.end()) return std::nullopt;
    return entry->second;
  };
  std::size_t computed = 0;
  for (const std::size_t most : {1U, 4U, 9U}) {
    std::size_t now = 0;
    options.partial.keep = [&](const std::string& part, const std::string& bytes) {
      if (now == most) throw std::runtime_error("interrupted");
      kept[part] = bytes;
      ++now;
      ++computed;
    };
    EXPECT_THROW(result(), std::runtime_error);
  }
  EXPECT_EQ(computed, 14U);
  options.partial.keep = [&](const std::string&, const std::string&) { ++computed; };
  const CrossValidationResult resumed = result();
  EXPECT_EQ(resumed.patterns, undisturbed.patterns);
  EXPECT_EQ(resumed.fallback, undisturbed.fallback);
  std::size_t tried = 0;
  for (const auto& [ref, list] : undisturbed.tried) tried += list.size();
  EXPECT_EQ(computed, tried) << "nothing was computed twice";
}

}  // namespace
}  // namespace qiv
