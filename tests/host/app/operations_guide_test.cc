#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>

#include "app/city_config.h"
#include "host/app/snapshot_folder.h"
#include "serve/snapshot.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

std::string text_of(const std::string& path) {
  return testing::bytes_of(QIV_SOURCE_DIR "/" + path);
}

const std::string& guide() {
  static const std::string text = text_of("docs/operations.md");
  return text;
}

TEST(OperationsGuideTest, NamesEveryKeyOfCityAndItsDefault) {
  CityConfig config;
  config.name = "";
  std::istringstream text(city_config_text(config));
  int keys = 0;
  for (std::string line; std::getline(text, line);) {
    const std::size_t equals = line.find(" = ");
    if (equals == std::string::npos || !line.starts_with("# ")) continue;
    const std::string key = line.substr(2, equals - 2);
    EXPECT_THAT(guide(), HasSubstr("| `" + key + "` | `" + line.substr(equals + 3) + "` |"));
    ++keys;
  }
  EXPECT_GE(keys, 10);
}

TEST(OperationsGuideTest, NamesEveryKeyOfTheService) {
  const std::string source = text_of("host/app/serve_config.cc");
  const std::regex read(
      R"re(reader\.(?:text|text_of|secret|number|whole|flag|texts|text_map)\("([a-z_]+)")re");
  std::set<std::string> keys;
  for (auto key = std::sregex_iterator(source.begin(), source.end(), read);
       key != std::sregex_iterator(); ++key) {
    keys.insert((*key)[1]);
  }
  EXPECT_GE(keys.size(), 25U);
  for (const std::string& key : keys) EXPECT_THAT(guide(), HasSubstr("| `" + key + "` |"));
}

TEST(OperationsGuideTest, NamesEveryStateOfAVehicleAndOfASource) {
  for (const char* const status :
       {"under_way", "waiting", "at_terminus", "standing", "off_route", "detoured", "no_trip",
        "unknown_trip", "not_in_service", "stale", "doubled"}) {
    EXPECT_THAT(guide(), HasSubstr("| `" + std::string(status) + "` |"));
  }
  for (const SourceHealth health : {SourceHealth::starting, SourceHealth::good, SourceHealth::stale,
                                    SourceHealth::failing, SourceHealth::finished}) {
    EXPECT_THAT(guide(), HasSubstr("| `" + std::string(to_string(health)) + "` |"));
  }
}

}  // namespace
}  // namespace qiv
