#include "worker/kafka/wait_for_brokers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/worker/mock_cluster.h"
#include "worker/kafka/error.h"

namespace qiv {
namespace {

using std::chrono::milliseconds;
using testing::MockCluster;

TEST(WaitForBrokersTest, GoesOnAtOnceWhereOneAnswers) {
  const MockCluster cluster;
  std::vector<std::string> told;
  EXPECT_TRUE(kafka::wait_for_brokers(cluster.properties(), std::stop_token(),
                                      [&](const std::string& text) { told.push_back(text); }));
  EXPECT_TRUE(told.empty());
}

TEST(WaitForBrokersTest, TellsTheAddressAndTheRemedyAndAsksAgainLessAndLessOften) {
  std::stop_source source;
  std::vector<std::string> told;
  EXPECT_FALSE(kafka::wait_for_brokers(
      {{"bootstrap.servers", "127.0.0.1:1"}}, source.get_token(),
      [&](const std::string& text) {
        told.push_back(text);
        if (told.size() == 2) source.request_stop();
      },
      milliseconds(900)));
  ASSERT_EQ(told.size(), 2U);
  EXPECT_THAT(told[0],
              ::testing::MatchesRegex("no broker answers at 127.0.0.1:1 \\(.*\\): start it, "
                                      "or correct \\[kafka\\] in city.toml; asking again "
                                      "in 1 s"));
  EXPECT_THAT(told[1], ::testing::EndsWith("asking again in 2 s"));
}

TEST(WaitForBrokersTest, AWrongPropertyIsAnErrorAtOnce) {
  EXPECT_THROW(kafka::wait_for_brokers({{"no.such", "1"}}, std::stop_token(),
                                       [](const std::string&) { FAIL(); }),
               kafka::Error);
}

}  // namespace
}  // namespace qiv
