#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "RQLogger.h"

namespace {

const int kThreads = 4;
const int kMessages = 1000;

void log_many(int thread) {
  for (int i = 0; i < kMessages; ++i) {
    RQLogV("Journey::read_milestones", RQLogger::RQLogLevel::error, "KWXBN0060E", "%lld%u",
           static_cast<long long>(thread), static_cast<unsigned>(i));
  }
}

template <class Action>
std::vector<std::thread> start_threads(const Action& action) {
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back(action, thread);
  return threads;
}

bool is_rendered(const RQLogger::Record& record) {
  return record.text.find(std::to_string(record.arguments.at(0).integer)) != std::string::npos &&
         record.text.find(std::to_string(record.arguments.at(1).natural)) != std::string::npos &&
         record.text.find('%') == std::string::npos;
}

TEST(Threads, NoEntryIsLostWhileSinkAndLanguageChange) {
  std::atomic<int> taken(0);
  std::atomic<int> garbled(0);
  const auto make_sink = [&] {
    const auto alive = std::make_shared<bool>(true);
    return [alive, &taken, &garbled](const RQLogger::Record& record) {
      if (!*alive || !is_rendered(record)) ++garbled;
      ++taken;
    };
  };
  RQLogger::SetSink(make_sink());
  std::vector<std::thread> threads = start_threads(log_many);
  const std::vector<std::string> languages = RQLogger::Languages();
  for (std::size_t i = 0; i < 500; ++i) {
    RQLogger::SetSink(make_sink());
    RQLogger::SetLanguage(languages[i % languages.size()]);
  }
  for (std::thread& thread : threads) thread.join();
  RQLogger::SetSink(nullptr);
  EXPECT_EQ(taken, kThreads * kMessages);
  EXPECT_EQ(garbled, 0);
}

TEST(Threads, LinesOfTheDefaultSinkStayWhole) {
  RQLogger::SetLanguage("en");
  testing::internal::CaptureStderr();
  std::vector<std::thread> threads = start_threads(log_many);
  for (std::thread& thread : threads) thread.join();
  const std::string written = testing::internal::GetCapturedStderr();
  std::size_t lines = 0;
  for (std::size_t begin = 0; begin < written.size(); ++lines) {
    const std::size_t end = written.find('\n', begin);
    ASSERT_NE(end, std::string::npos);
    const std::string line = written.substr(begin, end - begin);
    ASSERT_EQ(line.find("error KWXBN0060E Journey::read_milestones: Milestones of shape "), 0u);
    ASSERT_EQ(line.rfind(" at least 2 are needed."), line.size() - 23) << line;
    begin = end + 1;
  }
  EXPECT_EQ(lines, static_cast<std::size_t>(kThreads * kMessages));
}

TEST(Threads, SinksAreCalledConcurrently) {
  std::atomic<int> inside(0);
  std::promise<void> both_inside;
  const std::shared_future<void> reached = both_inside.get_future().share();
  RQLogger::SetSink([&inside, &both_inside, reached](const RQLogger::Record&) {
    if (++inside == 2) both_inside.set_value();
    reached.wait();
  });
  std::thread first([] { RQLogger::Error("A", "first"); });
  std::thread second([] { RQLogger::Error("A", "second"); });
  first.join();
  second.join();
  RQLogger::SetSink(nullptr);
  EXPECT_EQ(inside, 2);
}

TEST(Threads, AReplacedSinkLivesUntilItsRunningCallEnds) {
  const auto token = std::make_shared<int>(0);
  std::promise<void> entered;
  std::promise<void> leave;
  const std::shared_future<void> may_leave = leave.get_future().share();
  RQLogger::SetSink([token, &entered, may_leave](const RQLogger::Record&) {
    entered.set_value();
    may_leave.wait();
  });
  std::thread logging([] { RQLogger::Error("A", "b"); });
  entered.get_future().wait();
  RQLogger::SetSink(nullptr);
  EXPECT_EQ(token.use_count(), 2);
  leave.set_value();
  logging.join();
  EXPECT_EQ(token.use_count(), 1);
}

// Stops at the first child that does not end well.
int forked_children_that_log(int count) {
  for (int i = 0; i < count; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      RQLogger::Error("A", "from the child");
      _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    if (status != 0) return i;
  }
  return count;
}

TEST(Threads, AChildForkedWhileOtherThreadsLogCanLog) {
  RQLogger::SetSink([](const RQLogger::Record&) {});
  std::atomic<bool> stop(false);
  std::vector<std::thread> threads = start_threads([&stop](int) {
    while (!stop) RQLogger::Error("A", "");
  });
  EXPECT_EQ(forked_children_that_log(200), 200);
  stop = true;
  for (std::thread& thread : threads) thread.join();
  RQLogger::SetSink(nullptr);
}

}  // namespace
