#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "RQLogger.h"
#include "recorder.h"

namespace {

class SinkTest : public testing::Test {
 protected:
  SinkTest() { RQLogger::SetLanguage("en"); }
  void TearDown() override { RQLogger::SetSink(nullptr); }

  template <class Action>
  static std::string standard_error_of(const Action& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
  }
};

void log_no_history() {
  RQLogger::InfoMessage("Algorithm::run", "KWXBN0027I");
}

const char* const kNoHistoryLine =
    "info KWXBN0027I Algorithm::run: No forecast was made because there is no history.\n";

TEST_F(SinkTest, DefaultWritesOneLineToTheStandardErrorStream) {
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
}

TEST_F(SinkTest, DefaultWritesAFreeTextWithoutIdentifier) {
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("Vehicle::update", "lost"); }),
            "error Vehicle::update: lost\n");
}

TEST_F(SinkTest, DefaultWritesAMultiLineTextAsOneLine) {
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("A::b", "one\n two\r\n\tthree\n"); }),
            "error A::b: one\\n two\\r\\n\\tthree\\n\n");
}

TEST_F(SinkTest, DefaultEscapesControlCharactersAndBackslashes) {
  const std::string text("a\0b\x1b[2J\x7f \\n", 11);
  EXPECT_EQ(standard_error_of([&] { RQLogger::Error("A\n", text); }),
            "error A\\n: a\\x00b\\x1b[2J\\x7f \\\\n\n");
}

TEST_F(SinkTest, DefaultEscapesLineSeparatorsOfUtf8AndKeepsLetters) {
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("A", "\u0085 \u2028 \u2029 é \u20ac \u00a0"); }),
            "error A: \\xc2\\x85 \\xe2\\x80\\xa8 \\xe2\\x80\\xa9 é \u20ac \u00a0\n");
}

TEST_F(SinkTest, DefaultPassesACutOffUtf8SequenceThrough) {
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("A", "x\xe2\x80"); }), "error A: x\xe2\x80\n");
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("A", "x\xc2"); }), "error A: x\xc2\n");
}

TEST_F(SinkTest, DefaultTakesNullPointersAsEmpty) {
  EXPECT_EQ(standard_error_of([] { RQLogger::Error(nullptr, nullptr); }), "error : \n");
}

TEST_F(SinkTest, ReplacementTakesTheEntriesAndDefaultComesBack) {
  std::string taken;
  RQLogger::SetSink([&](const RQLogger::Record& record) { taken += record.identifier; });
  EXPECT_EQ(standard_error_of(log_no_history), "");
  EXPECT_EQ(taken, "KWXBN0027I");
  RQLogger::SetSink(RQLogger::Sink());
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
  EXPECT_EQ(taken, "KWXBN0027I");
}

TEST_F(SinkTest, ReplacementMayPassEntriesOnToTheDefault) {
  RQLogger::SetSink(RQLogger::WriteToStandardError);
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
}

TEST_F(SinkTest, ThatThrowsIsStoodInForByTheDefaultAndCounted) {
  const unsigned long long before = RQLogger::SinkFailures();
  RQLogger::SetSink([](const RQLogger::Record&) { throw std::runtime_error("disk full"); });
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
  EXPECT_EQ(RQLogger::SinkFailures(), before + 1);
  RQLogger::SetSink([](const RQLogger::Record&) { throw 5; });
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
  EXPECT_EQ(standard_error_of([] { RQLogger::Error("A", "b"); }), "error A: b\n");
  EXPECT_EQ(RQLogger::SinkFailures(), before + 3);
}

TEST_F(SinkTest, ThatThrewIsCalledAgain) {
  int calls = 0;
  RQLogger::SetSink([&](const RQLogger::Record&) {
    if (++calls == 1) throw 5;
  });
  EXPECT_EQ(standard_error_of(log_no_history), kNoHistoryLine);
  EXPECT_EQ(standard_error_of(log_no_history), "");
  EXPECT_EQ(calls, 2);
}

TEST_F(SinkTest, ThatThrowsLeavesACallersOwnExceptionAlone) {
  RQLogger::SetSink([](const RQLogger::Record&) { throw std::runtime_error("disk full"); });
  testing::internal::CaptureStderr();
  try {
    try {
      throw std::invalid_argument("rejected");
    } catch (const std::invalid_argument&) {
      log_no_history();
      throw;
    }
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "rejected");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kNoHistoryLine);
}

TEST_F(SinkTest, ThatLogsHasItsEntriesWrittenByTheDefault) {
  const unsigned long long failures = RQLogger::SinkFailures();
  int calls = 0;
  RQLogger::SetSink([&](const RQLogger::Record&) {
    ++calls;
    RQLogger::Error("Sink::write", "nested");
  });
  EXPECT_EQ(standard_error_of(log_no_history), "error Sink::write: nested\n");
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(standard_error_of(log_no_history), "error Sink::write: nested\n");
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(RQLogger::SinkFailures(), failures);
}

TEST_F(SinkTest, ThatLogsAndThrowsIsCalledForTheNextEntry) {
  int calls = 0;
  RQLogger::SetSink([&](const RQLogger::Record&) {
    ++calls;
    RQLogger::Error("Sink::write", "nested");
    throw 5;
  });
  const std::string both = std::string("error Sink::write: nested\n") + kNoHistoryLine;
  EXPECT_EQ(standard_error_of(log_no_history), both);
  EXPECT_EQ(standard_error_of(log_no_history), both);
  EXPECT_EQ(calls, 2);
}

TEST_F(SinkTest, MayReplaceItselfAndLivesUntilItsCallEnds) {
  const auto token = std::make_shared<int>(0);
  long users_after_replacement = 0;
  std::string taken;
  RQLogger::SetSink([&users_after_replacement, &taken, token](const RQLogger::Record&) {
    RQLogger::SetSink([&taken](const RQLogger::Record& record) { taken = record.text; });
    users_after_replacement = token.use_count();
  });
  EXPECT_EQ(token.use_count(), 2);
  log_no_history();
  EXPECT_EQ(users_after_replacement, 2);
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_EQ(taken, "");
  log_no_history();
  EXPECT_EQ(taken, "No forecast was made because there is no history.");
}

struct LogsWhenDestroyed {
  ~LogsWhenDestroyed() { RQLogger::Error("Sink::~Sink", "bye"); }
};

TEST_F(SinkTest, MayLogFromItsDestructor) {
  const auto last_words = [] {
    const auto owned = std::make_shared<LogsWhenDestroyed>();
    RQLogger::SetSink([owned](const RQLogger::Record&) {});
  };
  last_words();
  EXPECT_EQ(standard_error_of([] { RQLogger::SetSink(nullptr); }), "error Sink::~Sink: bye\n");
  last_words();
  Recorder recorder;
  ASSERT_EQ(recorder.records.size(), 1u);
  EXPECT_EQ(recorder.last().text, "bye");
}

}  // namespace
