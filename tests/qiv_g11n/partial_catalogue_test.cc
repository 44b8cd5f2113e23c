// The module's source, untouched, beside another catalogue: partial_catalogue/.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RQLogger.h"
#include "recorder.h"

namespace {

void log_count() {
  RQLogV("Depot::count", RQLogger::RQLogLevel::error, "TESTS0001E", "%d%s", 7, "%1");
}

TEST(PartialCatalogue, IsReadFromTheDataFilesAlone) {
  EXPECT_EQ(RQLogger::Languages(), (std::vector<std::string>{"en", "pt", "pt_BR"}));
}

TEST(PartialCatalogue, ATerritoryWithACatalogueOfItsOwnComesFirst) {
  Recorder recorder;
  RQLogger::SetLanguage("pt_BR.UTF-8");
  EXPECT_STREQ(RQLogger::Language(), "pt_BR");
  log_count();
  EXPECT_EQ(recorder.last().text, "No depósito %1 há 7 ônibus.");
  RQLogger::SetLanguage("pt-PT");
  EXPECT_STREQ(RQLogger::Language(), "pt");
  log_count();
  EXPECT_EQ(recorder.last().text, "No depósito %1 há 7 autocarros.");
}

TEST(PartialCatalogue, EnglishStandsInForMessagesThatALanguageLacks) {
  Recorder recorder;
  RQLogger::SetLanguage("pt");
  RQLogV("Depot::rest", RQLogger::RQLogLevel::info, "TESTS0004I", "%d", 3);
  EXPECT_EQ(recorder.last().text, "3 buses rest.");
}

TEST(PartialCatalogue, EnglishStandsInForEmptyTexts) {
  Recorder recorder;
  RQLogger::SetLanguage("pt");
  RQLogger::InfoMessage("Depot::open", "TESTS0002I");
  EXPECT_EQ(recorder.last().text, "The depot is open.");
}

TEST(PartialCatalogue, AMessageWithoutAnyTextIsShownRaw) {
  Recorder recorder;
  RQLogger::InfoMessage("Depot::close", "TESTS0003I");
  EXPECT_EQ(recorder.last().text, "[message without a text; type codes \"\"; arguments: none]");
}

TEST(PartialCatalogue, PlaceholdersThatMeanNothingAreKept) {
  Recorder recorder;
  log_count();
  EXPECT_EQ(recorder.last().text, "7 buses in depot %1: 7 of 100 %, %1, %3, %0, %x, %");
}

}  // namespace
