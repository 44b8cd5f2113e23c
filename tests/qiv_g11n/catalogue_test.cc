#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "RQLogger.h"
#include "catalogue_data.h"
#include "recorder.h"

namespace {

const RQLogger::RQLogLevel kError = RQLogger::RQLogLevel::error;
const RQLogger::RQLogLevel kInfo = RQLogger::RQLogLevel::info;

std::string text_of(const std::function<void()>& log) {
  Recorder recorder;
  log();
  return recorder.last().text;
}

std::string milestones(const char* identifier, const char* codes, unsigned first, unsigned second) {
  return text_of(
      [&] { RQLogV("Journey::read_milestones", kError, identifier, codes, -7LL, first, second); });
}

std::string offsets(const char* function, const char* identifier, double first, double second) {
  return text_of([&] { RQLogV(function, kError, identifier, "%lld%e%e", 9LL, first, second); });
}

TEST(EnglishTexts, RoutePosition) {
  EXPECT_EQ(text_of([] {
              RQLogV("BusRoute::get_interpolation_parameters", kError, "KWXBN0020E", "%e%e%e%lld",
                     300.0001, 0.0, 300.0, 1234567890123LL);
            }),
            "Offset 300 is outside the route, which extends from 0 to 300 (shape version "
            "1234567890123).");
}

TEST(EnglishTexts, VehicleUpdates) {
  const RQLogger::string_type vehicle = "bus 12";
  const RQLogger::string_type reference = "2024-03-01 trip 7";
  EXPECT_EQ(text_of([&] {
              RQLogV("Vehicle::update_position", kError, "KWXBN0021E", "%e%s%s", -0.25, vehicle,
                     reference);
            }),
            "Position report of vehicle bus 12 on vehicle journey 2024-03-01 trip 7 rejected: "
            "offset -0.25 would make the vehicle's offsets decrease.");
  EXPECT_EQ(text_of([&] {
              RQLogV("Vehicle::update_position", kInfo, "KWXBN0032I", "%s%s", vehicle, reference);
            }),
            "Vehicle bus 12 now serves vehicle journey 2024-03-01 trip 7; its earlier positions "
            "are dropped.");
}

TEST(EnglishTexts, NoForecast) {
  const char* const function = "ForecastAlgorithm::compute_forecast";
  EXPECT_EQ(text_of([&] { RQLogger::InfoMessage(function, "KWXBN0027I"); }),
            "No forecast was made because there is no history.");
  EXPECT_EQ(text_of([&] { RQLogger::InfoMessage(function, "KWXBN0028I"); }),
            "No forecast was made because the route has no milestones.");
}

TEST(EnglishTexts, Milestones) {
  const char* const function = "Journey::read_milestones";
  EXPECT_EQ(text_of([&] { RQLogV(function, kError, "KWXBN0060E", "%lld%u", 9LL, 1u); }),
            "Milestones of shape version 9 rejected: their number is 1, at least 2 are needed.");
  EXPECT_EQ(offsets(function, "KWXBN0061E", 1500.0, 1234567.5),
            "Milestones of shape version 9 rejected: the last bus stop, at 1500, lies beyond the "
            "last milestone, at 1.23457e+06.");
  EXPECT_EQ(text_of([&] { RQLogV(function, kError, "KWXBN0062E", "%lld%e", 9LL, -5.0); }),
            "Milestones of shape version 9 rejected: the first milestone, at -5, is negative.");
  EXPECT_EQ(text_of([&] {
              RQLogV(function, kError, "KWXBN0063E", "%lld%u%u%e%e", 9LL, 1u, 2u, 100.0, 99.5);
            }),
            "Milestones of shape version 9 rejected: milestone 1, at 100, is not below milestone "
            "2, at 99.5.");
  EXPECT_EQ(milestones("KWXBN0064E", "%lld%u%u", 4u, 3u),
            "Milestones of shape version -7 rejected: the stored trajectories have length 4, the "
            "number of milestones is 3.");
}

TEST(EnglishTexts, BusStops) {
  const char* const function = "Journey::read_bus_stops";
  EXPECT_EQ(text_of([&] { RQLogV(function, kError, "KWXBN0070E", "%lld%u", 9LL, 0u); }),
            "Bus stops of shape version 9 rejected: their number is 0, at least 2 are needed.");
  EXPECT_EQ(offsets(function, "KWXBN0071E", 301.0, 300.0),
            "Bus stops of shape version 9 rejected: the last bus stop, at 301, lies beyond the "
            "last milestone, at 300.");
  EXPECT_EQ(text_of([&] { RQLogV(function, kError, "KWXBN0072E", "%lld%e", 9LL, -0.5); }),
            "Bus stops of shape version 9 rejected: the first bus stop, at -0.5, is negative.");
  EXPECT_EQ(text_of([&] {
              RQLogV(function, kError, "KWXBN0073E", "%lld%u%u%e%e", 9LL, 0u, 1u, 10.0, 10.0);
            }),
            "Bus stops of shape version 9 rejected: bus stop 0, at 10, is not below bus stop 1, "
            "at 10.");
}

TEST(EnglishTexts, Histories) {
  const char* const function = "Journey::read_history";
  EXPECT_EQ(
      text_of([&] { RQLogV(function, kError, "KWXBN0080E", "%lld%u%u%u", 9LL, 20u, 3u, 4u); }),
      "Trajectory of shape version 9 rejected: its length is 3, the number of milestones is "
      "4 (trajectories held in its category: 20).");
  EXPECT_EQ(text_of([&] { RQLogV(function, kError, "KWXBN0081E", "%lld%u%u", 9LL, 20u, 1u); }),
            "Trajectory of shape version 9 rejected: its length is 1, at least 2 is needed "
            "(trajectories held in its category: 20).");
  EXPECT_EQ(text_of([&] {
              RQLogV(function, kError, "KWXBN0082E", "%lld%u%u%u%d%d", 9LL, 20u, 1u, 2u, 200, -150);
            }),
            "Trajectory of shape version 9 rejected: time stamp 2, which is -150, is earlier than "
            "time stamp 1, which is 200 (trajectories held in its category: 20).");
  EXPECT_EQ(
      text_of([&] { RQLogV(function, kError, "KWXBN0083E", "%lld%u%u%u", 9LL, 20u, 3u, 4u); }),
      "Trajectory of shape version 9 rejected: its length is 3, that of the stored "
      "trajectories is 4 (trajectories held in its category: 20).");
}

// One argument for each type code: 1.5 or 15, 2.5 or 25, ...
struct Sample {
  explicit Sample(const std::vector<std::string>& type_codes) {
    texts.reserve(type_codes.size());
    for (const std::string& code : type_codes) add(code, static_cast<int>(texts.size()) * 10 + 15);
  }
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;

  void add(const std::string& code, int value) {
    texts.push_back(std::to_string(value));
    if (code == "%e") texts.back().insert(1, ".");
    if (code == "%e") arguments.push_back(value / 10.0);
    if (code == "%d") arguments.push_back(value);
    if (code == "%u") arguments.push_back(static_cast<unsigned>(value));
    if (code == "%lld") arguments.push_back(static_cast<long long>(value));
    if (code == "%s") arguments.push_back(texts.back());
  }

  std::string fill_in(std::string text) const {
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const std::string position = "%" + std::to_string(i + 1);
      for (std::size_t at; (at = text.find(position)) != std::string::npos;) {
        text.replace(at, position.size(), texts[i]);
      }
    }
    return text;
  }

  std::vector<std::string> texts;
  std::vector<RQLogger::ArgumentRef> arguments;
};

TEST(Catalogue, EveryMessageIsRenderedInEveryLanguage) {
  Recorder recorder;
  for (const CatalogueLanguage& language : catalogue_languages()) {
    ASSERT_TRUE(RQLogger::SetLanguage(language.code));
    for (const CatalogueMessage& message : catalogue_messages()) {
      const Sample sample(message.type_codes);
      RQLogger::Log(message.function_name, kError, message.identifier, message.joined_type_codes(),
                    sample.arguments.data(), sample.arguments.size());
      EXPECT_EQ(recorder.last().text, sample.fill_in(language.text_of(message.identifier)))
          << language.code << " " << message.identifier;
    }
  }
  EXPECT_EQ(recorder.records.size(), catalogue_languages().size() * 18);
}

TEST(Catalogue, HoldsTheMessagesOfTheLibrary) {
  std::string all;
  for (const CatalogueMessage& message : catalogue_messages()) {
    all += message.identifier + " " + message.level + " " + message.function_name + " " +
           message.joined_type_codes() + "\n";
  }
  EXPECT_EQ(all,
            "KWXBN0020E error BusRoute::get_interpolation_parameters %e%e%e%lld\n"
            "KWXBN0021E error Vehicle::update_position %e%s%s\n"
            "KWXBN0027I info ForecastAlgorithm::compute_forecast \n"
            "KWXBN0028I info ForecastAlgorithm::compute_forecast \n"
            "KWXBN0032I info Vehicle::update_position %s%s\n"
            "KWXBN0060E error Journey::read_milestones %lld%u\n"
            "KWXBN0061E error Journey::read_milestones %lld%e%e\n"
            "KWXBN0062E error Journey::read_milestones %lld%e\n"
            "KWXBN0063E error Journey::read_milestones %lld%u%u%e%e\n"
            "KWXBN0064E error Journey::read_milestones %lld%u%u\n"
            "KWXBN0070E error Journey::read_bus_stops %lld%u\n"
            "KWXBN0071E error Journey::read_bus_stops %lld%e%e\n"
            "KWXBN0072E error Journey::read_bus_stops %lld%e\n"
            "KWXBN0073E error Journey::read_bus_stops %lld%u%u%e%e\n"
            "KWXBN0080E error Journey::read_history %lld%u%u%u\n"
            "KWXBN0081E error Journey::read_history %lld%u%u\n"
            "KWXBN0082E error Journey::read_history %lld%u%u%u%d%d\n"
            "KWXBN0083E error Journey::read_history %lld%u%u%u\n");
}

std::vector<std::string> files_of_the_catalogue() {
  std::vector<std::string> names;
  DIR* const directory = opendir(QIV_G11N_CATALOGUE);
  if (!directory) return names;
  while (const dirent* const entry = readdir(directory)) {
    if (entry->d_name[0] != '.') names.push_back(entry->d_name);
  }
  closedir(directory);
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Catalogue, ListsEveryLanguageFileEnglishFirst) {
  std::vector<std::string> expected = {"languages.inc", "messages.inc"};
  for (const std::string& code : RQLogger::Languages()) expected.push_back(code + ".inc");
  EXPECT_EQ(expected.at(2), "en.inc");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(files_of_the_catalogue(), expected);
}

TEST(Catalogue, EveryLanguageHasEveryMessageOnceAndNoOther) {
  std::multiset<std::string> identifiers;
  for (const CatalogueMessage& message : catalogue_messages()) {
    identifiers.insert(message.identifier);
  }
  for (const CatalogueLanguage& language : catalogue_languages()) {
    std::multiset<std::string> translated;
    for (const CatalogueText& text : language.texts) translated.insert(text.identifier);
    EXPECT_EQ(translated, identifiers) << language.code;
  }
}

std::set<char> placeholders(const std::string& text) {
  std::set<char> found;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '%') found.insert(text[++i]);
  }
  found.erase('%');
  return found;
}

TEST(Catalogue, EveryTextUsesEveryArgumentAndNoOther) {
  for (const CatalogueMessage& message : catalogue_messages()) {
    std::set<char> positions;
    for (std::size_t i = 0; i < message.type_codes.size(); ++i) positions.insert("123456789"[i]);
    for (const CatalogueLanguage& language : catalogue_languages()) {
      const std::string text = language.text_of(message.identifier);
      EXPECT_EQ(placeholders(text), positions) << language.code << ": " << text;
    }
  }
}

TEST(Catalogue, TranslationsDifferFromEnglishAndFromEachOther) {
  for (const CatalogueMessage& message : catalogue_messages()) {
    std::set<std::string> texts;
    for (const CatalogueLanguage& language : catalogue_languages()) {
      texts.insert(language.text_of(message.identifier));
    }
    EXPECT_EQ(texts.size(), catalogue_languages().size()) << message.identifier;
  }
}

TEST(Catalogue, IsDocumented) {
  std::ifstream file(QIV_G11N_DOCUMENT);
  const std::string document((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
  for (const CatalogueMessage& message : catalogue_messages()) {
    std::string row =
        "| " + message.identifier + " | " + message.level + " | `" + message.function_name + "` | ";
    if (!message.type_codes.empty()) row += "`" + message.joined_type_codes() + "` ";
    EXPECT_NE(document.find("\n" + row + "| "), std::string::npos) << row;
  }
}

}  // namespace
