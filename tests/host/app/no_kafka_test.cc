#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/commands.h"
#include "app/exit_code.h"

namespace qiv {
namespace {

template <class Arguments>
std::string said(void (*run)(const Arguments&)) {
  try {
    run(Arguments());
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), ExitCode::usage);
    return error.what();
  }
  return "";
}

TEST(NoKafkaTest, TheProgramsSayThatThisBuildHasNone) {
  EXPECT_EQ(said(run_bridge),
            "this build has no Kafka, which 'bridge' needs: build it with -DQIV_WITH_KAFKA=ON");
  EXPECT_THAT(said(run_worker), ::testing::HasSubstr("'worker'"));
  EXPECT_THAT(said(run_gateway), ::testing::HasSubstr("'gateway'"));
}

}  // namespace
}  // namespace qiv
