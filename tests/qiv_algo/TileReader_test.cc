#include "TileReader.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <vector>

#include "History.h"

namespace {

using testing::ElementsAre;

/// What stands in the tiles for trajectory `k`, the row of zeros first.
std::vector<int> column(const History& history, unsigned int k) {
  const lanes::Trajectories trajectories = TileReader::read(history);
  const std::size_t first = lanes::first_cell(k, trajectories.length);
  std::vector<int> result;
  for (unsigned int row = 0; row <= trajectories.length; ++row) {
    const std::size_t cell = first + row * lanes::tile_width;
    result.push_back(trajectories.narrow != nullptr ? trajectories.narrow[cell]
                                                    : trajectories.wide[cell]);
  }
  return result;
}

bool is_narrow(const History& history) {
  const lanes::Trajectories trajectories = TileReader::read(history);
  EXPECT_NE(trajectories.narrow == nullptr, trajectories.wide == nullptr);
  return trajectories.narrow != nullptr;
}

History store_of(const std::vector<std::vector<int>>& trajectories, unsigned int capacity) {
  History history(capacity, History::ring);
  for (const std::vector<int>& trajectory : trajectories) history.push_back(trajectory);
  return history;
}

TEST(TileReader, EmptyStoreHasNoTiles) {
  EXPECT_FALSE(TileReader::has_tiles(History(5, History::ring)));
}

TEST(TileReader, HoldsEveryTrajectoryBehindAZero) {
  std::vector<std::vector<int>> trajectories;
  for (int k = 0; k < 21; ++k) trajectories.push_back({k, 100 + k, 200 + k});
  const History history = store_of(trajectories, 100);
  ASSERT_TRUE(TileReader::has_tiles(history));
  EXPECT_EQ(TileReader::read(history).count, 21u);
  for (int k = 0; k < 21; ++k) {
    EXPECT_THAT(column(history, static_cast<unsigned int>(k)), ElementsAre(0, k, 100 + k, 200 + k));
  }
}

TEST(TileReader, FollowsReplacement) {
  const History history = store_of({{1, 11}, {2, 12}, {3, 13}, {4, 14}}, 3);
  EXPECT_THAT(column(history, 0), ElementsAre(0, 1, 11));
  EXPECT_THAT(column(history, 1), ElementsAre(0, 4, 14));
  EXPECT_THAT(column(history, 2), ElementsAre(0, 3, 13));
}

TEST(TileReader, CopiedStoreHasTilesOfItsOwn) {
  History history = store_of({{1, 11}, {2, 12}}, 2);
  const History copy = history;
  history.push_back({3, 13});
  EXPECT_THAT(column(copy, 1), ElementsAre(0, 2, 12));
  EXPECT_THAT(column(history, 1), ElementsAre(0, 3, 13));
}

TEST(TileReader, NoTilesForTrajectoriesOfSeveralLengths) {
  History history = store_of({{1, 11}, {2, 12, 22}}, 3);
  EXPECT_FALSE(TileReader::has_tiles(history));
  history.push_back({3, 13});
  EXPECT_FALSE(TileReader::has_tiles(history));
  EXPECT_EQ(history.interpolate(0, 1, 0.5), 6.0);
  EXPECT_EQ(history.interpolate(1, 2, 1.0), 22.0);
}

TEST(TileReader, NoTilesWhenReplacementChangesTheLength) {
  const History history = store_of({{1, 11}, {2, 12}, {3, 13, 23}}, 2);
  EXPECT_FALSE(TileReader::has_tiles(history));
  EXPECT_EQ(history.interpolate(1, 2, 0.0), 13.0);
}

TEST(TileReader, CellsAreNarrowAsLongAsEveryTimeFits) {
  EXPECT_TRUE(is_narrow(store_of({{0, 65535}, {7, 8}}, 2)));
  EXPECT_FALSE(is_narrow(store_of({{0, 65536}, {7, 8}}, 2)));
  EXPECT_FALSE(is_narrow(store_of({{-1, 0}}, 2)));
}

TEST(TileReader, CellsBecomeWideWithATimeThatDoesNotFit) {
  std::vector<std::vector<int>> trajectories;
  for (int k = 0; k < 11; ++k) trajectories.push_back({k, 65525 + k});
  History history = store_of(trajectories, 13);
  EXPECT_TRUE(is_narrow(history));
  history.push_back({-5, 2147483647});
  EXPECT_FALSE(is_narrow(history));
  for (int k = 0; k < 11; ++k) {
    EXPECT_THAT(column(history, static_cast<unsigned int>(k)), ElementsAre(0, k, 65525 + k));
  }
  EXPECT_THAT(column(history, 11), ElementsAre(0, -5, 2147483647));
  EXPECT_EQ(history.interpolate(11, 1, 0.5), 1073741821.0);
  history.push_back({1, 2});
  EXPECT_THAT(column(history, 12), ElementsAre(0, 1, 2)) << "and stay wide";
}

TEST(TileReader, ReplacementMakesCellsWide) {
  const History history = store_of({{1, 11}, {2, 12}, {3, 70000}}, 2);
  EXPECT_FALSE(is_narrow(history));
  EXPECT_THAT(column(history, 0), ElementsAre(0, 1, 11));
  EXPECT_THAT(column(history, 1), ElementsAre(0, 3, 70000));
}

TEST(TileReader, EmptyTrajectories) {
  const History history = store_of({{}, {}}, 2);
  EXPECT_TRUE(TileReader::has_tiles(history));
  EXPECT_THAT(column(history, 1), ElementsAre(0));
  EXPECT_EQ(history.interpolate(1, 0, 0.5), 0.0);
}

}  // namespace
