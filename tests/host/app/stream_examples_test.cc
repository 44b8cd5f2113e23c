// The examples of packaging/stream call the programs as they are.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "app/stream_config.h"
#include "host/app/program.h"
#include "host/app/snapshot_folder.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

std::string text_of(const std::string& path) {
  return testing::bytes_of(QIV_SOURCE_DIR "/" + path);
}

const std::string& compose() {
  static const std::string text = text_of("packaging/stream/compose.yaml");
  return text;
}

/// All that `expression` finds in its first group.
std::vector<std::string> found(const std::string& text, const std::string& expression) {
  const std::regex regex(expression);
  std::vector<std::string> all;
  for (std::sregex_iterator i(text.begin(), text.end(), regex); i != std::sregex_iterator(); ++i) {
    all.push_back((*i)[1]);
  }
  return all;
}

/// Expects that the program knows the subcommand and the options of "qiv bridge /city --port 1".
void expect_known(const std::string& command) {
  std::istringstream words(command);
  std::string word;
  words >> word;
  std::string subcommand;
  words >> subcommand;
  testing::Program program({subcommand, "--help"});
  std::set<std::string> options;
  while (true) {
    const std::string line = program.wait_for("--");
    if (line.empty()) break;
    for (const std::string& option : found(line, "(--[a-z-]+)")) options.insert(option);
  }
  ASSERT_EQ(program.wait(), 0) << command;
  for (const std::string& option : found(command, "(--[a-z-]+)")) {
    EXPECT_THAT(options, Contains(option)) << command;
  }
}

TEST(StreamExamplesTest, ComposeCallsTheProgramsWithOptionsThatTheyHave) {
  const auto commands = found(compose(), "command: (qiv [^\n]+)");
  ASSERT_EQ(commands.size(), 3U);
  for (const std::string& command : commands) expect_known(command);
}

TEST(StreamExamplesTest, TheUnitsCallTheProgramsWithOptionsThatTheyHave) {
  for (const std::string name : {"bridge", "worker", "gateway"}) {
    const std::string unit = text_of("packaging/stream/qiv-" + name + "@.service");
    const auto commands = found(unit, "ExecStart=[^\n]*/usr/bin/(qiv [^\n]+)");
    ASSERT_EQ(commands.size(), 1U) << name;
    EXPECT_TRUE(commands[0].starts_with("qiv " + name + " "));
    expect_known(commands[0]);
  }
}

TEST(StreamExamplesTest, ComposeMountsTheFoldersThatItsCommandsName) {
  for (const std::string& folder : found(compose(), "command: qiv [a-z]+ (/[a-z/]+)")) {
    EXPECT_THAT(compose(), HasSubstr(":" + folder)) << folder;
  }
  for (const std::string& port : found(compose(), "--port ([0-9]+)")) {
    EXPECT_THAT(compose(),
                ::testing::AnyOf(HasSubstr("\"" + port + "\""), HasSubstr(":" + port + "\"")));
  }
}

TEST(StreamExamplesTest, ComposesConfigurationIsRead) {
  const auto lines = found(compose(), "#   (\\[kafka\\]\n#   properties = [^\n]+)\n");
  ASSERT_EQ(lines.size(), 1U);
  const samples::TemporaryFolder folder;
  std::ofstream(folder / "city.toml") << std::regex_replace(lines[0], std::regex("\n#   "), "\n");
  const StreamConfig config = need_stream_config(folder / "city.toml", "city");
  const std::string servers = config.properties.at("bootstrap.servers");
  EXPECT_THAT(compose(), HasSubstr("KAFKA_ADVERTISED_LISTENERS: PLAINTEXT://" + servers + "\n"));
  EXPECT_THAT(compose(), HasSubstr("--bootstrap-server " + servers));
}

TEST(StreamExamplesTest, ComposesBrokerIsTheOneOfTheTests) {
  const auto images = found(compose(), "image: apache/kafka:([0-9.]+)");
  ASSERT_EQ(images.size(), 1U);
  EXPECT_THAT(text_of("scripts/broker-jars/pom.xml"),
              HasSubstr("<version>" + images[0] + "</version>"));
}

TEST(StreamExamplesTest, ComposesPackagesAreThoseThatAreBuilt) {
  EXPECT_THAT(compose(), HasSubstr("build/release/{libqiv1,qiv}_*.deb"));
  const std::string package = text_of("cmake/QivPackage.cmake");
  EXPECT_THAT(package, HasSubstr("set(runtime_package libqiv${PROJECT_VERSION_MAJOR})"));
  EXPECT_THAT(package, HasSubstr("set(service_package qiv)"));
}

}  // namespace
}  // namespace qiv
