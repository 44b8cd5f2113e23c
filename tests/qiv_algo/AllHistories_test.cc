#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "History.h"

namespace {

using testing::ElementsAre;

const std::vector<int> T1 = {1, 11};
const std::vector<int> T2 = {2, 12};
const std::vector<int> T3 = {3, 13};
const std::vector<int> T4 = {4, 14};

std::string strategy_rejection(AllHistories& histories, unsigned int max_size,
                               const std::string& strategy) {
  try {
    histories.initialize(max_size, strategy);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "accepted";
}

TEST(AllHistories, IsEmptyWhenMade) {
  AllHistories histories;
  EXPECT_FALSE(histories.is_initialized());
  EXPECT_EQ(histories.length(), 0u);
  EXPECT_TRUE(histories.is_compatible(0));
  EXPECT_TRUE(histories.is_compatible(12));
  EXPECT_EQ(histories[0], nullptr);
}

TEST(AllHistories, MakesTheStoreOfACategoryWithItsFirstTrajectory) {
  AllHistories histories;
  histories.initialize(50, "ring");
  histories.push_back(3, T1);
  ASSERT_NE(histories[3], nullptr);
  EXPECT_EQ(histories[3]->max_size(), 50u);
  EXPECT_EQ(histories[3]->size(), 1u);
  EXPECT_THAT((*histories[3])[0], ElementsAre(1, 11));
  EXPECT_EQ(histories[4], nullptr);
}

TEST(AllHistories, AddsToTheStoreOfTheCategory) {
  AllHistories histories;
  histories.initialize(50, "ring");
  histories.push_back(3, T1);
  History* const store = histories[3];
  histories.push_back(3, T2);
  histories.push_back(4, T3);
  EXPECT_EQ(histories[3], store);
  EXPECT_EQ(histories[3]->size(), 2u);
  EXPECT_EQ(histories[4]->size(), 1u);
}

TEST(AllHistories, LookingUpMakesNoStore) {
  AllHistories histories;
  histories.initialize(50, "ring");
  EXPECT_EQ(histories[9], nullptr);
  EXPECT_EQ(histories[9], nullptr);
}

TEST(AllHistories, PassesTheStrategyToItsStores) {
  AllHistories histories;
  histories.initialize(2, "ring");
  for (const std::vector<int>& trajectory : {T1, T2, T3, T4}) histories.push_back(0, trajectory);
  EXPECT_THAT((*histories[0])[0], ElementsAre(1, 11));
  EXPECT_THAT((*histories[0])[1], ElementsAre(4, 14));

  histories.initialize(2, "random");
  histories.push_back(1, T1);
  histories.push_back(1, T2);
  unsigned int seed = 0;
  do std::srand(++seed);
  while (std::rand() % 2 != 0);
  std::srand(seed);
  histories.push_back(1, T3);
  EXPECT_THAT((*histories[1])[0], ElementsAre(3, 13));
  EXPECT_THAT((*histories[1])[1], ElementsAre(2, 12));
}

TEST(AllHistories, StoresKeepTheConfigurationTheyWereMadeWith) {
  AllHistories histories;
  histories.initialize(2, "ring");
  histories.push_back(1, T1);
  histories.initialize(5, "random");
  histories.push_back(2, T1);
  EXPECT_EQ(histories[1]->max_size(), 2u);
  EXPECT_EQ(histories[2]->max_size(), 5u);
}

TEST(AllHistories, RejectsAnyOtherNameOfAStrategy) {
  AllHistories histories;
  EXPECT_EQ(strategy_rejection(histories, 1, "LRU"),
            "Replacement strategy LRU hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, "Random"),
            "Replacement strategy Random hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, "RING"),
            "Replacement strategy RING hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, "ring "),
            "Replacement strategy ring  hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, " random"),
            "Replacement strategy  random hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, "rin"),
            "Replacement strategy rin hasn't been implemented yet.");
  EXPECT_EQ(strategy_rejection(histories, 1, ""),
            "Replacement strategy  hasn't been implemented yet.");
  EXPECT_NE(strategy_rejection(histories, 1, std::string("ring\0", 5)), "accepted");
  EXPECT_EQ(strategy_rejection(histories, 1, "ring"), "accepted");
  EXPECT_EQ(strategy_rejection(histories, 1, "random"), "accepted");
}

TEST(AllHistories, ARejectedStrategyChangesTheCapacityAllTheSame) {
  AllHistories histories;
  histories.initialize(3, "ring");
  EXPECT_THROW(histories.initialize(50, "Random"), std::invalid_argument);
  histories.push_back(0, T1);
  EXPECT_EQ(histories[0]->max_size(), 50u);
}

TEST(AllHistories, ARejectedStrategyLeavesTheOneBefore) {
  AllHistories histories;
  histories.initialize(50, "ring");
  EXPECT_THROW(histories.initialize(3, "LRU"), std::invalid_argument);
  for (const std::vector<int>& trajectory : {T1, T2, T3}) histories.push_back(0, trajectory);
  for (int time = 100; time < 110; ++time) histories.push_back(0, {time, time});
  EXPECT_THAT((*histories[0])[0], ElementsAre(1, 11));
  EXPECT_THAT((*histories[0])[1], ElementsAre(109, 109));
  EXPECT_THAT((*histories[0])[2], ElementsAre(3, 13));
}

TEST(AllHistories, LengthIsAskedOfTheLowestCategory) {
  AllHistories histories;
  histories.initialize(50, "ring");
  histories.push_back(5, std::vector<int>(12));
  EXPECT_EQ(histories.length(), 12u);
  histories.push_back(2, std::vector<int>(8));
  EXPECT_EQ(histories.length(), 8u);
  EXPECT_TRUE(histories.is_initialized());
}

TEST(AllHistories, NegativeCategoriesComeBeforeZero) {
  AllHistories histories;
  histories.initialize(50, "ring");
  histories.push_back(0, std::vector<int>(3));
  histories.push_back(-1, std::vector<int>(5));
  EXPECT_EQ(histories.length(), 5u);
  histories.push_back(INT16_MAX, std::vector<int>(6));
  EXPECT_EQ(histories.length(), 5u);
  histories.push_back(INT16_MIN, std::vector<int>(7));
  EXPECT_EQ(histories.length(), 7u);
  EXPECT_EQ(histories[-1]->size(), 1u);
  EXPECT_EQ(histories[1], nullptr);
}

TEST(AllHistories, AStoreOfCapacityZeroIsMadeAndStaysEmpty) {
  AllHistories histories;
  histories.initialize(0, "ring");
  histories.push_back(1, T1);
  ASSERT_NE(histories[1], nullptr);
  EXPECT_EQ(histories[1]->size(), 0u);
  EXPECT_FALSE(histories.is_initialized());
  EXPECT_EQ(histories.length(), 0u);
  EXPECT_TRUE(histories.is_compatible(9));
}

TEST(AllHistories, EmptyStoresArePassedOver) {
  AllHistories histories;
  histories.initialize(0, "ring");
  histories.push_back(1, T1);
  histories.initialize(3, "ring");
  histories.push_back(2, std::vector<int>(4));
  EXPECT_TRUE(histories.is_initialized());
  EXPECT_EQ(histories.length(), 4u);
}

TEST(AllHistories, IsCompatibleAsksEveryTrajectoryOfEveryCategory) {
  AllHistories histories;
  histories.initialize(50, "ring");
  histories.push_back(1, std::vector<int>(4));
  histories.push_back(2, std::vector<int>(4));
  EXPECT_TRUE(histories.is_compatible(4));
  EXPECT_FALSE(histories.is_compatible(5));
  histories.push_back(2, std::vector<int>(5));
  EXPECT_FALSE(histories.is_compatible(4));
  EXPECT_FALSE(histories.is_compatible(5));
}

TEST(AllHistories, RemoveAllLeavesNoStoreAndKeepsTheConfiguration) {
  AllHistories histories;
  histories.initialize(2, "ring");
  histories.push_back(1, T1);
  histories.push_back(-4, T2);
  histories.remove_all_histories();
  EXPECT_EQ(histories[1], nullptr);
  EXPECT_EQ(histories[-4], nullptr);
  EXPECT_FALSE(histories.is_initialized());
  EXPECT_EQ(histories.length(), 0u);

  for (const std::vector<int>& trajectory : {T1, T2, T3}) histories.push_back(1, trajectory);
  EXPECT_EQ(histories[1]->max_size(), 2u);
  EXPECT_THAT((*histories[1])[0], ElementsAre(1, 11));
  EXPECT_THAT((*histories[1])[1], ElementsAre(3, 13));
}

TEST(AllHistories, RemoveAllOfNothingDoesNothing) {
  AllHistories histories;
  histories.remove_all_histories();
  EXPECT_FALSE(histories.is_initialized());
}

}  // namespace
