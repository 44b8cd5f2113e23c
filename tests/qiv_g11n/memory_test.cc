// Logging while memory runs out: every allocation in turn fails, then that one and all after it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "RQLogger.h"

namespace {

thread_local int allocations_left = -1;  // -1: no limit
thread_local bool fail_for_good = false;
thread_local bool failed = false;

void* allocate(std::size_t size) {
  if (allocations_left == 0) {
    failed = true;
    if (!fail_for_good) allocations_left = -1;
    throw std::bad_alloc();
  }
  if (allocations_left > 0) --allocations_left;
  void* const memory = std::malloc(size ? size : 1);
  if (!memory) throw std::bad_alloc();
  return memory;
}

// Runs `log` with ever later allocations failing until none fails; returns the number of runs.
int run_out_of_memory(bool for_good, const std::function<void()>& log,
                      const std::function<void()>& check) {
  for (int allowed = 0;; ++allowed) {
    failed = false;
    fail_for_good = for_good;
    allocations_left = allowed;
    log();
    allocations_left = -1;
    if (!failed) return allowed;
    check();
  }
}

const RQLogger::string_type kVehicle(40, 'v');
const RQLogger::string_type kReference(60, 'r');

void log_rejection() {
  RQLogV("Vehicle::update_position", RQLogger::RQLogLevel::error, "KWXBN0021E", "%e%s%s", 1.5,
         kVehicle, kReference);
}

void log_free_text() {
  RQLogger::Error("Vehicle::update_position", kReference);
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

class MemoryTest : public testing::TestWithParam<bool> {
 protected:
  MemoryTest() {
    RQLogger::SetLanguage("en");
    RQLogger::SetSink(nullptr);
  }
  void TearDown() override { RQLogger::SetSink(nullptr); }
};

TEST_P(MemoryTest, EveryEntryIsWrittenByTheDefaultSink) {
  int lines = 0;
  testing::internal::CaptureStderr();
  const int runs = run_out_of_memory(GetParam(), log_rejection, [&] {
    const std::string line = testing::internal::GetCapturedStderr();
    ++lines;
    EXPECT_EQ(line.find("error KWXBN0021E Vehicle::update_position: "), 0u) << line;
    EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
    testing::internal::CaptureStderr();
  });
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(lines, runs);
  EXPECT_GT(runs, 5);
}

TEST_P(MemoryTest, AFreeTextIsWrittenWhole) {
  testing::internal::CaptureStderr();
  const int runs = run_out_of_memory(GetParam(), log_free_text, [] {
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error Vehicle::update_position: " + kReference + "\n");
    testing::internal::CaptureStderr();
  });
  testing::internal::GetCapturedStderr();
  EXPECT_GT(runs, 1);
}

TEST_P(MemoryTest, AnEntryReachesTheSinkOrTheStandardErrorStream) {
  int taken = 0;
  RQLogger::SetSink([&taken](const RQLogger::Record&) { ++taken; });
  testing::internal::CaptureStderr();
  run_out_of_memory(GetParam(), log_rejection, [&] {
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_EQ(line, "error KWXBN0021E Vehicle::update_position: [message could not be composed]\n");
    EXPECT_EQ(taken, 0);
    testing::internal::CaptureStderr();
  });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(taken, 1);
}

TEST_P(MemoryTest, ASinkThatRunsOutOfMemoryIsStoodInFor) {
  const unsigned long long before = RQLogger::SinkFailures();
  RQLogger::SetSink([](const RQLogger::Record&) {
    allocations_left = 0;
    const RQLogger::string_type copy(100, 'c');
  });
  fail_for_good = GetParam();
  testing::internal::CaptureStderr();
  log_free_text();
  allocations_left = -1;
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "error Vehicle::update_position: " + kReference + "\n");
  EXPECT_EQ(RQLogger::SinkFailures(), before + 1);
}

TEST_P(MemoryTest, AFailedReplacementKeepsTheOldSink) {
  int taken = 0;
  RQLogger::SetSink([&taken](const RQLogger::Record&) { ++taken; });
  RQLogger::Sink next = [](const RQLogger::Record&) {};
  fail_for_good = GetParam();
  allocations_left = 0;
  EXPECT_THROW(RQLogger::SetSink(std::move(next)), std::bad_alloc);
  allocations_left = -1;
  log_free_text();
  EXPECT_EQ(taken, 1);
}

TEST_P(MemoryTest, ALineWrittenWithoutMemoryIsCutOffWithinItsBuffer) {
  const RQLogger::string_type text(5000, '\n');
  fail_for_good = true;
  testing::internal::CaptureStderr();
  allocations_left = 0;
  RQLogger::Error("A", text);
  allocations_left = -1;
  const std::string line = testing::internal::GetCapturedStderr();
  EXPECT_EQ(line.size(), 1024u);
  EXPECT_EQ(line.find('\n'), 1023u);
  EXPECT_EQ(line.find("error A: \\n\\n"), 0u);
}

INSTANTIATE_TEST_SUITE_P(OneOrAll, MemoryTest, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& all) {
                           return all.param ? "AllFollowingFail" : "OneFails";
                         });

}  // namespace
