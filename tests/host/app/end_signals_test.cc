#include "app/end_signals.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>

namespace qiv {
namespace {

TEST(EndSignalsTest, AskToStopAndNothingElse) {
  const EndSignals signals;
  EXPECT_FALSE(signals.stop().stop_requested());
  kill(getpid(), SIGTERM);
  for (int i = 0; i < 100 && !signals.stop().stop_requested(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_TRUE(signals.stop().stop_requested());
}

}  // namespace
}  // namespace qiv
