#include "serve/http/background.h"

#include <gmock/gmock.h>

#include <future>
#include <vector>

namespace qiv {
namespace {

TEST(Background, DoesJobsInOrderAndFinishesThem) {
  std::vector<int> done;
  Background background(10);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(background.submit([&done, i] { done.push_back(i); }));
  background.stop();
  EXPECT_THAT(done, ::testing::ElementsAre(0, 1, 2, 3, 4));
  EXPECT_FALSE(background.submit([] {}));
}

TEST(Background, RefusesMoreThanMayWait) {
  Background background(2);
  std::promise<void> begun;
  std::promise<void> go;
  EXPECT_TRUE(background.submit([&] {
    begun.set_value();
    go.get_future().wait();
  }));
  begun.get_future().wait();  // it runs, and waits no more
  EXPECT_TRUE(background.submit([] {}));
  EXPECT_TRUE(background.submit([] {}));
  EXPECT_FALSE(background.submit([] {}));
  go.set_value();
}

}  // namespace
}  // namespace qiv
