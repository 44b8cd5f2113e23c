#include "History.h"

#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::vector<int>> slots(const History& history) {
  std::vector<std::vector<int>> result;
  for (unsigned int k = 0; k < history.size(); ++k) result.push_back(history[k]);
  return result;
}

const std::vector<int> T1 = {1, 11};
const std::vector<int> T2 = {2, 12};
const std::vector<int> T3 = {3, 13};
const std::vector<int> T4 = {4, 14};
const std::vector<int> T5 = {5, 15};

TEST(History, StrategiesHaveTheirValues) {
  EXPECT_EQ(static_cast<int>(History::random), 0);
  EXPECT_EQ(static_cast<int>(History::ring), 1);
}

TEST(History, CategoryIsASixteenBitSignedInteger) {
  EXPECT_EQ(sizeof(category_t), 2u);
  EXPECT_TRUE(std::is_signed<category_t>::value);
}

TEST(History, EmptyStoreHasNoSizeAndNoLengthAndFitsEveryLength) {
  const History history(3, History::ring);
  EXPECT_EQ(history.size(), 0u);
  EXPECT_EQ(history.max_size(), 3u);
  EXPECT_EQ(history.length(), 0u);
  EXPECT_TRUE(history.is_compatible(0));
  EXPECT_TRUE(history.is_compatible(7));
}

TEST(History, AppendsInOrderWhileThereIsRoom) {
  History history(3, History::random);
  history.push_back(T1);
  history.push_back(T2);
  history.push_back(T3);
  EXPECT_EQ(history.size(), 3u);
  EXPECT_THAT(slots(history), ElementsAre(T1, T2, T3));
}

TEST(History, StoresCopies) {
  History history(1, History::ring);
  std::vector<int> trajectory = {1, 2};
  history.push_back(trajectory);
  trajectory[0] = 100;
  EXPECT_THAT(history[0], ElementsAre(1, 2));
}

TEST(History, FullRingOverwritesSlotOneEveryTime) {
  History history(3, History::ring);
  for (const std::vector<int>& trajectory : {T1, T2, T3, T4}) history.push_back(trajectory);
  EXPECT_THAT(slots(history), ElementsAre(T1, T4, T3));
  history.push_back(T5);
  EXPECT_THAT(slots(history), ElementsAre(T1, T5, T3));
}

TEST(History, FullRingOfTwoOverwritesSlotOne) {
  History history(2, History::ring);
  for (const std::vector<int>& trajectory : {T1, T2, T3, T4}) history.push_back(trajectory);
  EXPECT_THAT(slots(history), ElementsAre(T1, T4));
}

TEST(History, FullRingOfOneOverwritesSlotZero) {
  History history(1, History::ring);
  history.push_back(T1);
  history.push_back(T2);
  EXPECT_THAT(slots(history), ElementsAre(T2));
  history.push_back(T3);
  EXPECT_THAT(slots(history), ElementsAre(T3));
}

TEST(History, FullRandomStoreOverwritesTheSlotThatRandNames) {
  History history(3, History::random);
  std::vector<std::vector<int>> expected = {T1, T2, T3};
  for (const std::vector<int>& trajectory : expected) history.push_back(trajectory);
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    const std::vector<int> trajectory = {static_cast<int>(seed), 100};
    std::srand(seed);
    const int drawn = std::rand();
    const int next = std::rand();
    expected[static_cast<unsigned int>(drawn) % 3u] = trajectory;
    std::srand(seed);
    history.push_back(trajectory);
    EXPECT_EQ(slots(history), expected);
    EXPECT_EQ(std::rand(), next) << "one number is drawn for one replacement";
  }
  EXPECT_EQ(history.size(), 3u);
}

TEST(History, DrawsNoRandomNumberWhileThereIsRoomOrUnderRing) {
  std::srand(5);
  const int first = std::rand();
  std::srand(5);
  History random(2, History::random);
  random.push_back(T1);
  random.push_back(T2);
  History ring(1, History::ring);
  ring.push_back(T1);
  ring.push_back(T2);
  EXPECT_EQ(std::rand(), first);
}

TEST(History, CapacityZeroKeepsNothing) {
  for (const History::Replace strategy : {History::random, History::ring}) {
    History history(0, strategy);
    history.push_back(T1);
    history.push_back(T2);
    EXPECT_EQ(history.size(), 0u);
    EXPECT_EQ(history.max_size(), 0u);
    EXPECT_EQ(history.length(), 0u);
    EXPECT_TRUE(history.is_compatible(9));
  }
}

TEST(History, TakesAnyLengthAndAnswersWithThatOfSlotZero) {
  History history(3, History::ring);
  history.push_back({1, 2, 3, 4, 5});
  EXPECT_TRUE(history.is_compatible(5));
  EXPECT_FALSE(history.is_compatible(6));
  history.push_back({1, 2, 3, 4, 5, 6});
  EXPECT_EQ(history.length(), 5u);
  EXPECT_FALSE(history.is_compatible(5));
  EXPECT_FALSE(history.is_compatible(6));
}

TEST(History, LengthFollowsTheReplacementOfSlotZero) {
  History history(1, History::ring);
  history.push_back({1, 2});
  history.push_back({1, 2, 3});
  EXPECT_EQ(history.length(), 3u);
}

TEST(History, TakesAnEmptyTrajectory) {
  History history(2, History::ring);
  history.push_back({});
  EXPECT_EQ(history.size(), 1u);
  EXPECT_EQ(history.length(), 0u);
  EXPECT_TRUE(history.is_compatible(0));
  EXPECT_FALSE(history.is_compatible(1));
}

TEST(HistoryInterpolate, LiesBetweenTheTwoMilestones) {
  History history(2, History::ring);
  history.push_back({0, 0, 0});
  history.push_back({100, 200, 400});
  EXPECT_EQ(history.interpolate(1, 2, 0.25), 250.0);
  EXPECT_EQ(history.interpolate(1, 1, 0.0), 100.0);
  EXPECT_EQ(history.interpolate(1, 1, 1.0), 200.0);
  EXPECT_EQ(history.interpolate(1, 2, 0.0), 200.0);
  EXPECT_EQ(history.interpolate(1, 2, 1.0), 400.0);
  EXPECT_EQ(history.interpolate(0, 2, 0.5), 0.0);
}

TEST(HistoryInterpolate, IsNotRounded) {
  History history(1, History::ring);
  history.push_back({0, 1});
  EXPECT_EQ(history.interpolate(0, 1, 0.3), 0.3);
}

TEST(HistoryInterpolate, IsZeroBeforeTheFirstMilestoneWhateverTheFraction) {
  History history(1, History::ring);
  history.push_back({100, 200, 400});
  EXPECT_EQ(history.interpolate(0, 0, 0.7), 0.0);
  EXPECT_EQ(history.interpolate(0, 0, 1.0), 0.0);
  EXPECT_EQ(history.interpolate(0, 0, std::numeric_limits<double>::quiet_NaN()), 0.0);
}

TEST(HistoryInterpolate, DoesNotLimitTheFraction) {
  History history(1, History::ring);
  history.push_back({100, 200});
  EXPECT_EQ(history.interpolate(0, 1, 1.5), 250.0);
  EXPECT_EQ(history.interpolate(0, 1, -1.0), 0.0);
  EXPECT_TRUE(std::isnan(history.interpolate(0, 1, std::numeric_limits<double>::quiet_NaN())));
  EXPECT_EQ(history.interpolate(0, 1, std::numeric_limits<double>::infinity()),
            std::numeric_limits<double>::infinity());
}

TEST(HistoryInterpolate, TakesTheDifferenceInDouble) {
  History history(1, History::ring);
  history.push_back({INT_MIN, INT_MAX});
  EXPECT_EQ(history.interpolate(0, 1, 1.0), 2147483647.0);
  EXPECT_EQ(history.interpolate(0, 1, 0.5), -0.5);
}

// (item - prior) * linear + prior. The prior-weighted form, and a product that is not rounded
// before the sum, give the neighbour 3732.204.
TEST(HistoryInterpolate, RoundsTheProductBeforeTheSum) {
  History history(1, History::ring);
  history.push_back({3122, 5934});
  EXPECT_EQ(history.interpolate(0, 1, 0.217), 3732.2039999999997);
  history.push_back({577, 918});
  EXPECT_EQ(history.interpolate(0, 1, 0.868), 872.988);
}

}  // namespace
