#include "app/serve_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "app/exit_code.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ServeConfigTest : public ::testing::Test {
 protected:
  ServeConfig read(const std::string& text) const {
    std::ofstream(folder / "city.toml") << text;
    return read_serve_config(folder / "city.toml");
  }

  std::string refusal(const std::string& text) const {
    try {
      read(text);
    } catch (const CommandError& error) {
      EXPECT_EQ(error.code(), ExitCode::usage);
      return error.what();
    }
    return "";
  }

  samples::TemporaryFolder folder;
};

TEST_F(ServeConfigTest, HasADefaultForEverythingAndListensOnLoopback) {
  const ServeConfig config = read("name = \"x\"");
  EXPECT_EQ(config.address, "127.0.0.1");
  EXPECT_EQ(config.port, 8080);
  EXPECT_FALSE(config.port_is_stated);
  EXPECT_EQ(config.token, "");
  EXPECT_EQ(config.tiles, "");
  EXPECT_EQ(config.cycle, 1s);
  EXPECT_EQ(config.threads, 1U);
  EXPECT_EQ(config.learn_at, 3h + 30min);
  EXPECT_TRUE(config.learns);
  EXPECT_EQ(config.keep_positions_days, 60);
  EXPECT_EQ(config.keep_trips_days, 400);
  EXPECT_EQ(config.timetable.interval, 1min);
  EXPECT_THAT(config.sources, IsEmpty());
}

TEST_F(ServeConfigTest, ReadsTheService) {
  setenv("QIV_SERVE_CONFIG_TEST", "secret", 1);
  const ServeConfig config = read(R"(
    [serve]
    address = "0.0.0.0"
    port = 9000
    token = "env:QIV_SERVE_CONFIG_TEST"
    tiles = "https://tiles.example/{z}/{x}/{y}.png"
    tiles_attribution = "A map"
    cycle_s = 0.5
    threads = 2
    learn_at = "02:15:00"
    learns = false
    keep_positions_days = 10
    keep_trips_days = 200
    [timetable_source]
    url = "https://agency.example/gtfs.zip"
    headers = { "X-Key" = "env:QIV_SERVE_CONFIG_TEST" }
    every_s = 600
    timeout_s = 90
    most_megabytes = 100
  )");
  EXPECT_EQ(config.address, "0.0.0.0");
  EXPECT_EQ(config.port, 9000);
  EXPECT_TRUE(config.port_is_stated);
  EXPECT_EQ(config.token, "secret");
  EXPECT_EQ(config.tiles, "https://tiles.example/{z}/{x}/{y}.png");
  EXPECT_EQ(config.tiles_attribution, "A map");
  EXPECT_EQ(config.cycle, 500ms);
  EXPECT_EQ(config.threads, 2U);
  EXPECT_EQ(config.learn_at, 2h + 15min);
  EXPECT_FALSE(config.learns);
  EXPECT_EQ(config.keep_positions_days, 10);
  EXPECT_EQ(config.keep_trips_days, 200);
  EXPECT_EQ(config.timetable.request.url, "https://agency.example/gtfs.zip");
  EXPECT_THAT(config.timetable.request.headers, ElementsAre("X-Key: secret"));
  EXPECT_EQ(config.timetable.interval, 10min);
  EXPECT_EQ(config.timetable.request.timeout, 90s);
  EXPECT_EQ(config.timetable.request.most_bytes, 100'000'000U);
}

TEST_F(ServeConfigTest, ATimetableFromAnAddressIsAskedForEveryHour) {
  const ServeConfig config = read("[timetable_source]\nurl = \"http://a.example/gtfs.zip\"");
  EXPECT_EQ(config.timetable.interval, 1h);
  EXPECT_EQ(config.timetable.request.most_bytes, 512'000'000U);
}

TEST_F(ServeConfigTest, ReadsAPolledSource) {
  setenv("QIV_SERVE_CONFIG_TEST", "http://agency.example/vm?key=1", 1);
  const ServeConfig config = read(R"(
    [[source]]
    url = "https://agency.example/vp.pb"
    [[source]]
    name = "buses"
    kind = "siri-vm"
    url = "env:QIV_SERVE_CONFIG_TEST"
    headers = { Accept = "application/xml" }
    every_s = 30
    timeout_s = 5
    most_megabytes = 1.5
    stale_after_s = 60
    strip_prefixes = ["agency:"]
  )");
  ASSERT_EQ(config.sources.size(), 2U);
  const auto& plain = std::get<PolledSourceOptions>(config.sources[0]);
  EXPECT_EQ(plain.name, "positions 1");
  EXPECT_EQ(plain.format, PositionFormat::gtfs_realtime);
  EXPECT_EQ(plain.interval, 15s);
  EXPECT_EQ(plain.request.timeout, 30s);
  EXPECT_EQ(plain.request.most_bytes, 32'000'000U);
  EXPECT_EQ(plain.stale_after, 2min);
  const auto& siri = std::get<PolledSourceOptions>(config.sources[1]);
  EXPECT_EQ(siri.name, "buses");
  EXPECT_EQ(siri.format, PositionFormat::siri_vm);
  EXPECT_EQ(siri.request.url, "http://agency.example/vm?key=1");
  EXPECT_THAT(siri.request.headers, ElementsAre("Accept: application/xml"));
  EXPECT_EQ(siri.interval, 30s);
  EXPECT_EQ(siri.request.timeout, 5s);
  EXPECT_EQ(siri.request.most_bytes, 1'500'000U);
  EXPECT_EQ(siri.stale_after, 1min);
  EXPECT_THAT(siri.strip_prefixes, ElementsAre("agency:"));
}

TEST_F(ServeConfigTest, ReadsAFolderBesideTheConfiguration) {
  const ServeConfig config = read(R"(
    [[source]]
    kind = "folder"
    folder = "snapshots"
    every_s = 0.5
    strip_prefixes = ["x"]
    stale_after_s = 30
  )");
  const auto& source = std::get<FolderSourceOptions>(config.sources.at(0));
  EXPECT_EQ(source.folder, folder / "snapshots");
  EXPECT_EQ(source.interval, 500ms);
  EXPECT_EQ(source.stale_after, 30s);
  EXPECT_THAT(source.strip_prefixes, ElementsAre("x"));
  const ServeConfig absolute = read("[[source]]\nkind = \"folder\"\nfolder = \"/srv/snapshots\"");
  EXPECT_EQ(std::get<FolderSourceOptions>(absolute.sources.at(0)).folder, "/srv/snapshots");
}

TEST_F(ServeConfigTest, ReadsMqtt) {
  setenv("QIV_SERVE_CONFIG_TEST", "secret", 1);
  const ServeConfig config = read(R"(
    [[source]]
    kind = "mqtt"
    host = "broker.example"
    topics = ["a/#", "b/+"]
    tls = true
    ca_file = "/etc/ca.pem"
    user = "me"
    password = "env:QIV_SERVE_CONFIG_TEST"
    qos = 0
    stale_after_s = 20
    payload = "json"
    list = "/entities"
    fields = { vehicle = "/id", lat = "/lat", lon = "/lon" }
  )");
  const auto& source = std::get<MqttSourceOptions>(config.sources.at(0));
  EXPECT_EQ(source.host, "broker.example");
  EXPECT_EQ(source.port, 8883);
  EXPECT_TRUE(source.tls);
  EXPECT_EQ(source.ca_file, "/etc/ca.pem");
  EXPECT_EQ(source.user, "me");
  EXPECT_EQ(source.password, "secret");
  EXPECT_EQ(source.qos, 0);
  EXPECT_EQ(source.stale_after, 20s);
  EXPECT_THAT(source.topics, ElementsAre("a/#", "b/+"));
  ASSERT_TRUE(source.json);
  EXPECT_EQ(source.json->list, "/entities");
  EXPECT_EQ(source.json->pointers.at("vehicle"), "/id");
  const ServeConfig plain = read("[[source]]\nkind = \"mqtt\"\nhost = \"b\"\ntopics = [\"t\"]");
  EXPECT_EQ(std::get<MqttSourceOptions>(plain.sources.at(0)).port, 1883);
  EXPECT_FALSE(std::get<MqttSourceOptions>(plain.sources.at(0)).json);
}

TEST_F(ServeConfigTest, NamesLineAndRemedy) {
  const std::vector<std::pair<std::string, std::string>> mistakes = {
      {"[serve\n", "city.toml:1: "},
      {"[serve]\naddress = 3", "city.toml:2: 'address' must be a text"},
      {"[serve]\nport = 70000", "city.toml:2: 'port' must be a whole number from 0 to 65535"},
      {"[serve]\n\ncycle_s = 0", "city.toml:3: 'cycle_s' must be a number from 0.1 to 60"},
      {"[serve]\nlearn_at = \"noon\"", "city.toml:2: 'learn_at' must be a time, HH:MM:SS"},
      {"[serve]\nlearns = 1", "city.toml:2: 'learns' must be true or false"},
      {"[serve]\nkeep_trips_days = 0", "'keep_trips_days' must be a whole number from 1 to 10000"},
      {"[serve]\nprot = 8080", "city.toml:2: there is no key 'prot' in [serve]: remove it"},
      {"serve = 3", "city.toml:1: 'serve' must be a section: write [serve]"},
      {"timetable_source = 3",
       "city.toml:1: 'timetable_source' must be a section: write [timetable_source]"},
      {"[timetable_source]\nurl = \"ftp://a\"",
       "city.toml:2: 'url' must begin with http:// or https://"},
      {"\n[source]\nurl = \"http://a\"",
       "city.toml:2: there may be many sources: write [[source]]"},
      {"source = [3]", "city.toml:1: there may be many sources: write [[source]]"},
      {"[[source]]\nname = \"x\"", "city.toml:1: [[source]] needs 'url': the address of the feed"},
      {"[[source]]\nurl = \"agency.example\"", "'url' must begin with http:// or https://"},
      {"[[source]]\nkind = \"fax\"",
       "city.toml:2: 'kind' must be one of gtfs-realtime, siri-vm, folder, mqtt"},
      {"[[source]]\nkind = \"folder\"", "needs 'folder': where the snapshots are put"},
      {"[[source]]\nkind = \"folder\"\nfolder = \"x\"\nurl = \"http://a\"",
       "city.toml:4: there is no key 'url' in [[source]]: remove it"},
      {"[[source]]\nkind = \"mqtt\"", "needs 'host': the broker"},
      {"[[source]]\nkind = \"mqtt\"\nhost = \"b\"", "needs 'topics': a list of topic filters"},
      {"[[source]]\nkind = \"mqtt\"\nhost = \"b\"\ntopics = [\"t\"]\npayload = \"json\"",
       "needs 'fields': where the fields are"},
      {"[[source]]\nkind = \"mqtt\"\nhost = \"b\"\ntopics = [\"t\"]\npayload = \"json\"\n"
       "fields = { colour = \"/c\" }",
       "city.toml:6: "},
      {"[[source]]\nurl = \"http://a\"\nevery_s = 0.1",
       "city.toml:3: 'every_s' must be a number from 0.5 to 86400"}};
  for (const auto& [text, wanted] : mistakes) {
    EXPECT_THAT(refusal(text), HasSubstr(wanted)) << text;
  }
}

TEST_F(ServeConfigTest, AVariableThatIsNotSetIsNamed) {
  unsetenv("QIV_SERVE_CONFIG_TEST_MISSING");
  EXPECT_THAT(refusal("[serve]\ntoken = \"env:QIV_SERVE_CONFIG_TEST_MISSING\""),
              HasSubstr("city.toml:2: the environment variable QIV_SERVE_CONFIG_TEST_MISSING is "
                        "not set: set it"));
}

TEST_F(ServeConfigTest, TheTextOfANewOneReadsAsTheDefaults) {
  std::string text = serve_config_text();
  const ServeConfig config = read(text);
  EXPECT_EQ(config.port, ServeConfig().port);
  EXPECT_THAT(config.sources, IsEmpty());
  setenv("AGENCY_KEY", "k", 1);
  setenv("QIV_TOKEN", "t", 1);
  for (std::size_t at = 0; (at = text.find("\n# ", at)) != std::string::npos; ++at) {
    const std::string line = text.substr(at + 3, text.find('\n', at + 1) - at - 3);
    if (line.starts_with("[") || line.find(" = ") != std::string::npos) text.erase(at + 1, 2);
  }
  const ServeConfig written = read(text);
  EXPECT_EQ(written.token, "t");
  EXPECT_EQ(written.cycle, ServeConfig().cycle);
  EXPECT_EQ(written.threads, ServeConfig().threads);
  EXPECT_EQ(written.learn_at, ServeConfig().learn_at);
  EXPECT_EQ(written.keep_positions_days, ServeConfig().keep_positions_days);
  ASSERT_EQ(written.sources.size(), 2U);
  const auto& positions = std::get<PolledSourceOptions>(written.sources[0]);
  EXPECT_EQ(positions.content, PolledSourceOptions().content);
  EXPECT_EQ(positions.interval, PolledSourceOptions().interval);
  const auto& statements = std::get<PolledSourceOptions>(written.sources[1]);
  EXPECT_EQ(statements.content, FeedContent::trip_updates);
  EXPECT_EQ(statements.hold, PolledSourceOptions().hold);
}

TEST_F(ServeConfigTest, ReadsWhatTheAgencySays) {
  const ServeConfig config = read(R"(
    [[source]]
    content = "trip-updates"
    url = "https://agency.example/trip-updates.pb"
    hold_s = 300
    [[source]]
    kind = "folder"
    content = "alerts"
    folder = "alerts"
  )");
  ASSERT_EQ(config.sources.size(), 2U);
  const auto& updates = std::get<PolledSourceOptions>(config.sources[0]);
  EXPECT_EQ(updates.content, FeedContent::trip_updates);
  EXPECT_EQ(updates.name, "trip updates 1");
  EXPECT_EQ(updates.hold, 300s);
  EXPECT_EQ(updates.stale_after, 120s);
  const auto& alerts = std::get<FolderSourceOptions>(config.sources[1]);
  EXPECT_EQ(alerts.content, FeedContent::alerts);
  EXPECT_EQ(alerts.name, "alerts 2");
  EXPECT_EQ(alerts.hold, 600s);
  EXPECT_EQ(alerts.stale_after, 24h) << "an alert may have been there for long";
}

TEST_F(ServeConfigTest, RefusesWhatSourcesCannotTell) {
  EXPECT_THAT(refusal("[[source]]\nkind = \"siri-vm\"\nurl = \"http://a\"\n"
                      "content = \"alerts\"\n"),
              HasSubstr("content"));
  EXPECT_THAT(refusal("[[source]]\nurl = \"http://a\"\nhold_s = 5\n"), HasSubstr("hold_s"));
  EXPECT_THAT(refusal("[[source]]\nname = \"a\"\nurl = \"http://a\"\n"
                      "[[source]]\nname = \"a\"\nurl = \"http://b\"\n"),
              HasSubstr("'name' is that of another source"));
}

}  // namespace
}  // namespace qiv
