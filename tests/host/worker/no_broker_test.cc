// Where Java or its jars cannot be had, the tests on a broker are skipped and say why.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace qiv {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

/// A folder of programs without Java and Maven, and one of jars that has none.
class NoBrokerTest : public ::testing::Test {
 protected:
  NoBrokerTest() {
    std::string name = (fs::temp_directory_path() / "qiv-no-broker-XXXXXX").string();
    folder = mkdtemp(name.data());
    fs::create_directory(folder / "bin");
    for (const fs::path from : {"/bin", "/usr/bin", "/usr/local/bin"}) {
      if (!fs::exists(from)) continue;
      for (const auto& program : fs::directory_iterator(from)) {
        const std::string called = program.path().filename().string();
        if (called == "java" || called == "mvn") continue;
        std::error_code is_there_already;
        fs::create_symlink(program.path(), folder / "bin" / called, is_there_already);
      }
    }
  }
  ~NoBrokerTest() override { fs::remove_all(folder); }

  /// What a command says there, and its exit code.
  std::pair<std::string, int> run(const std::string& command) const {
    const std::string line = "PATH=" + (folder / "bin").string() +
                             " QIV_BROKER_JARS=" + (folder / "jars").string() + " " + command +
                             " 2>&1";
    FILE* const pipe = popen(line.c_str(), "r");
    std::array<char, 256> part{};
    std::string said;
    while (fgets(part.data(), part.size(), pipe) != nullptr) said += part.data();
    const int status = pclose(pipe);
    return {said, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
  }

  fs::path folder;
};

const std::string script = std::string(QIV_SOURCE_DIR) + "/scripts/broker";

TEST_F(NoBrokerTest, TheScriptNamesTheMissingJava) {
  const auto [said, code] = run(script + " start " + (folder / "broker").string());
  EXPECT_EQ(said, "broker: no Java: install openjdk-17-jre-headless\n");
  EXPECT_EQ(code, 3);
}

TEST_F(NoBrokerTest, TheScriptNamesTheMissingJars) {
  fs::create_symlink("/bin/true", folder / "bin" / "java");
  const auto [said, code] = run(script + " start " + (folder / "broker").string());
  EXPECT_EQ(said, "broker: no jars in " + (folder / "jars").string() +
                      ", and no mvn to fetch them: install maven\n");
  EXPECT_EQ(code, 3);
}

TEST_F(NoBrokerTest, TheTestsAreSkippedWithTheReason) {
  const auto [said, code] = run(QIV_BROKER_TEST " --gtest_filter=BrokerTest.APoisoned*:*/0");
  EXPECT_EQ(code, 0);
  const bool says_why =
      said.find("no broker here: broker: no Java: install openjdk-17-jre-headless") !=
      std::string::npos;
  EXPECT_TRUE(says_why);
  const bool skips_all = said.find("[  PASSED  ] 0 tests.") != std::string::npos &&
                         said.find("[  SKIPPED ]") != std::string::npos;
  EXPECT_TRUE(skips_all);
}

}  // namespace
}  // namespace qiv
