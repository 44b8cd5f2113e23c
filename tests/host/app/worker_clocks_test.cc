// Workers whose time of day is an hour ahead of that of the broker and of each other, and an hour
// behind it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "host/app/program.h"
#include "host/app/stream_programs.h"

namespace qiv {
namespace {

using testing::Program;

class WorkerClocksTest : public testing::StreamProgramsTest {
 protected:
  /// A worker whose histories are those of the days before.
  std::unique_ptr<Program> worker(const std::string& name, int ahead_s) const {
    return std::make_unique<Program>(
        std::vector<std::string>{"worker", folder.path().string(), "--name", name, "--port", "0",
                                 "--histories-until", "2025-10-07"},
        std::map<std::string, std::string>{{"LD_PRELOAD", QIV_SHIFTED_CLOCK},
                                           {"QIV_CLOCK_SHIFT_S", std::to_string(ahead_s)}});
  }

  /// Whether a worker has so many partitions, and nothing waits in them.
  static bool has(const std::string& url, std::size_t partitions) {
    const std::string text = testing::answer_of(url + "/metrics");
    std::size_t count = 0;
    for (std::size_t i = 0; (i = text.find("qiv_worker_vehicles{", i)) != std::string::npos; ++i) {
      ++count;
    }
    return count == partitions;
  }
};

TEST_F(WorkerClocksTest, ForecastAsIfThereWereNone) {
  begin(testing::recorded("07:00:00", "10:00:00"));
  const auto behind = worker("behind", -3600);
  const auto ahead = worker("ahead", 3600);
  const std::string behind_url = behind->wait_for_url();
  const std::string ahead_url = ahead->wait_for_url();
  ASSERT_TRUE(testing::eventually([&] { return has(behind_url, 2) && has(ahead_url, 2); }));
  const auto tells = [](const std::string& url, const char* name) {
    return testing::sum_of(testing::answer_of(url + "/metrics"), name);
  };
  stream->write_positions(0.0, 0.5);
  ASSERT_TRUE(testing::eventually([&] {
    return tells(behind_url, "qiv_worker_messages_total") +
               tells(ahead_url, "qiv_worker_messages_total") ==
           static_cast<double>(stream->written());
  }));
  EXPECT_GT(tells(behind_url, "qiv_worker_messages_total"), 500.0);
  EXPECT_GT(tells(ahead_url, "qiv_worker_messages_total"), 500.0);
  // Two partitions each, two hours apart.
  EXPECT_NEAR(
      tells(ahead_url, "qiv_worker_lag_seconds") - tells(behind_url, "qiv_worker_lag_seconds"),
      4 * 3600.0, 2000.0)
      << "their clocks are not apart";

  EXPECT_EQ(ahead->end(SIGTERM), 0);
  EXPECT_EQ(ahead->errors(), "");
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_TRUE(
      testing::eventually([&] { return tells(behind_url, "qiv_worker_replayed_total") > 500.0; }));
  EXPECT_EQ(behind->end(SIGTERM), 0);
  EXPECT_EQ(behind->errors(), "");
}

}  // namespace
}  // namespace qiv
