#include "app/stream_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "app/exit_code.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

class StreamConfigTest : public ::testing::Test {
 protected:
  StreamConfig read(const std::string& text) {
    std::ofstream(folder / "city.toml") << text;
    return read_stream_config(folder / "city.toml", "Baile Átha Cliath");
  }

  std::string mistake(const std::string& text) {
    try {
      read(text);
    } catch (const CommandError& error) {
      return error.what();
    }
    return "";
  }

  samples::TemporaryFolder folder;
};

TEST_F(StreamConfigTest, WithoutTheSectionThereIsNone) {
  EXPECT_FALSE(read("").is_stated);
  try {
    need_stream_config(folder / "city.toml", "x");
    FAIL();
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), ExitCode::usage);
    EXPECT_THAT(error.what(), ::testing::HasSubstr("no [kafka]: add it"));
  }
}

TEST_F(StreamConfigTest, TopicsAndAgencyHaveTheCitysName) {
  const StreamConfig config =
      read("[kafka]\nproperties = { \"bootstrap.servers\" = \"b:9092\" }\n");
  EXPECT_TRUE(config.is_stated);
  EXPECT_EQ(config.topics, "Baile---tha-Cliath");
  EXPECT_EQ(config.agency, "Baile Átha Cliath");
  EXPECT_EQ(config.group, "Baile---tha-Cliath.worker");
  EXPECT_EQ(config.properties.at("bootstrap.servers"), "b:9092");
}

TEST_F(StreamConfigTest, EverythingCanBeStated) {
  setenv("QIV_TEST_PASSWORD", "secret", 1);
  const StreamConfig config = read(R"([kafka]
topics = "dub"
agency = "d"
group = "g"
partitions = 3
keep_positions_s = 7200
keep_forecasts_s = 3600
keep_trips_days = 30
window_s = 1800
watermark_s = 5
transaction_ms = 50
[kafka.properties]
"bootstrap.servers" = "b:9092"
"sasl.password" = "env:QIV_TEST_PASSWORD"
)");
  EXPECT_EQ(config.topics, "dub");
  EXPECT_EQ(config.agency, "d");
  EXPECT_EQ(config.group, "g");
  EXPECT_EQ(config.partitions, 3);
  EXPECT_EQ(config.keep_positions, Seconds(7200));
  EXPECT_EQ(config.keep_forecasts, Seconds(3600));
  EXPECT_EQ(config.keep_trips_days, 30);
  EXPECT_EQ(config.window, Seconds(1800));
  EXPECT_EQ(config.watermark, Seconds(5));
  EXPECT_EQ(config.transaction, std::chrono::milliseconds(50));
  EXPECT_EQ(config.properties.at("sasl.password"), "secret");
}

TEST_F(StreamConfigTest, AMistakeIsNamedWithItsLine) {
  const std::string file = (folder / "city.toml").string();
  EXPECT_EQ(mistake("kafka = 3\n"), file + ":1: 'kafka' must be a section: write [kafka]");
  EXPECT_THAT(mistake("[kafka]\n"), ::testing::HasSubstr(":1: [kafka] needs 'properties'"));
  const std::string good = "[kafka]\nproperties = {}\n";
  EXPECT_EQ(mistake(good + "topics = \"a b\"\n"),
            file + ":3: 'topics' may have letters, digits, '.', '_' and '-'");
  EXPECT_EQ(mistake(good + "window = 3\n"),
            file + ":3: there is no key 'window' in [kafka]: remove it");
  EXPECT_EQ(mistake(good + "partitions = 0\n"),
            file + ":3: 'partitions' must be a whole number from 1 to 10000");
}

TEST_F(StreamConfigTest, WhatANewConfigurationSaysCanBeRead) {
  std::string text = stream_config_text();
  for (const char* const line : {"# [kafka]", "# properties", "# topics", "# agency"}) {
    const std::size_t at = text.find(line);
    ASSERT_NE(at, std::string::npos) << line;
    text.erase(at, 2);
  }
  EXPECT_EQ(read(text).topics, "dublin");
}

}  // namespace
}  // namespace qiv
