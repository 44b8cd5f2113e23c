#include "learn/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace qiv {
namespace {

TEST(InParallelTest, DoesEveryPieceOnce) {
  for (const unsigned threads : {0U, 1U, 3U}) {
    std::vector<std::atomic<int>> done(100);
    in_parallel(done.size(), threads, [&](std::size_t i) { ++done[i]; });
    for (const auto& times : done) EXPECT_EQ(times, 1);
  }
}

TEST(InParallelTest, ThrowsTheFirstExceptionAgain) {
  std::atomic<int> done = 0;
  EXPECT_THROW(in_parallel(1000, 1,
                           [&](std::size_t i) {
                             if (i == 5) throw std::runtime_error("five");
                             ++done;
                           }),
               std::runtime_error);
  EXPECT_EQ(done, 5);
}

}  // namespace
}  // namespace qiv
