#include "engine/crew.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <stdexcept>
#include <vector>

namespace qiv {
namespace {

TEST(CrewTest, EachNumberIsWorkedOnceInAThreadOfItsOwn) {
  Crew crew(4);
  ASSERT_EQ(crew.size(), 4U);
  for (int call = 0; call < 200; ++call) {
    std::vector<std::thread::id> threads(4);
    std::atomic<int> calls{0};
    crew.together([&](std::size_t number) {
      threads[number] = std::this_thread::get_id();
      ++calls;
    });
    EXPECT_EQ(calls, 4);
    EXPECT_EQ(std::set<std::thread::id>(threads.begin(), threads.end()).size(), 4U);
    EXPECT_EQ(threads[0], std::this_thread::get_id()) << "the caller is one of the crew";
  }
}

TEST(CrewTest, ACrewOfOneIsTheCaller) {
  Crew crew(1);
  std::thread::id thread;
  crew.together([&](std::size_t) { thread = std::this_thread::get_id(); });
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(CrewTest, AnExceptionComesToTheCallerAfterTheOthersAreDone) {
  Crew crew(3);
  std::atomic<int> done{0};
  EXPECT_THROW(crew.together([&](std::size_t number) {
    if (number == 1) throw std::runtime_error("one of three");
    ++done;
  }),
               std::runtime_error);
  EXPECT_EQ(done, 2);
  crew.together([&](std::size_t) { ++done; });
  EXPECT_EQ(done, 5) << "the crew goes on";
}

}  // namespace
}  // namespace qiv
