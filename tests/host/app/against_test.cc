#include "app/against.h"

#include <gmock/gmock.h>

#include "app/exit_code.h"
#include "host/evaluate/recording.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::snapshot;

class AgainstTest : public ::testing::Test {
 protected:
  AgainstTest() {
    folder.write("present/1.pb", snapshot("08:00:00", ""));
    folder.write("new vendor/1.pb", snapshot("08:00:00", ""));
    folder.write("a=b/1.pb", snapshot("08:00:00", ""));
    folder.write("empty/README.txt", "nothing");
  }

  std::string path(const std::string& name) const { return (folder.path() / name).string(); }

  std::string name_of(const std::string& against) const {
    return open_recordings({against}).at(0).name();
  }

  /// The exit code and the message with which this is refused.
  static std::pair<ExitCode, std::string> refusal(const std::vector<std::string>& against) {
    try {
      open_recordings(against);
    } catch (const CommandError& error) {
      return {error.code(), error.what()};
    }
    return {ExitCode::ok, "taken"};
  }

  TemporaryFolder folder;
};

TEST_F(AgainstTest, TheNameIsGivenOrTheFolders) {
  EXPECT_EQ(name_of("vendor=" + path("present")), "vendor");
  EXPECT_EQ(name_of(path("present")), "present");
  EXPECT_EQ(name_of(path("present/")), "present");
  EXPECT_EQ(name_of(path("present/1.pb")), "1") << "without the extension";
  EXPECT_EQ(name_of("x=" + path("a=b")), "x");
  EXPECT_EQ(open_recordings({path("present"), "again=" + path("present")}).size(), 2U);
  EXPECT_TRUE(open_recordings({}).empty());
}

TEST_F(AgainstTest, NamesThatCannotBeUsedAreRefusedWithTheRemedy) {
  const auto expect = [&](const std::vector<std::string>& against, const std::string& why) {
    const auto [code, text] = refusal(against);
    EXPECT_EQ(code, ExitCode::usage) << against.back();
    EXPECT_THAT(text, HasSubstr(why));
    EXPECT_THAT(text, HasSubstr("name the producer by: --against NAME="));
  };
  expect({"forecast=" + path("present")}, "'forecast' is one that the report uses itself");
  expect({"at_reports=" + path("present")}, "'at_reports' is one that the report uses itself");
  expect({path("new vendor")}, "'new vendor' has other characters than letters");
  expect({"=" + path("present")}, "'' is empty");
  expect({std::string(21, 'x') + "=" + path("present")}, "is longer than 20 characters");
  expect({path("present"), path("present")}, "'present' was given to another recording already");
}

TEST_F(AgainstTest, ARecordingThatCannotBeReadIsAnError) {
  EXPECT_EQ(refusal({path("missing")}).first, ExitCode::failed);
  EXPECT_THAT(refusal({path("missing")}).second, HasSubstr("missing does not exist"));
  EXPECT_THAT(refusal({path("empty")}).second, HasSubstr("holds no recorded trip updates"));
}

}  // namespace
}  // namespace qiv
