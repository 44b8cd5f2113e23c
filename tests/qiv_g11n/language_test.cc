#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "RQLogger.h"
#include "recorder.h"

namespace {

struct Choice {
  const char* locale_name;
  bool known;
  const char* language;
};

const Choice kChoices[] = {
    {"en", true, "en"},          {"en_GB.UTF-8", true, "en"}, {"de", true, "de"},
    {"de_AT.UTF-8", true, "de"}, {"de-CH", true, "de"},       {"DE_de", true, "de"},
    {"fr.UTF-8", true, "fr"},    {"es@euro", true, "es"},     {"C", true, "en"},
    {"POSIX", true, "en"},       {"C.UTF-8", true, "en"},     {"d", false, "en"},
    {"deu", false, "en"},        {"tlh_XX", false, "en"},     {"_DE", false, "en"},
    {".UTF-8", false, "en"},     {"@", false, "en"},
};

TEST(SetLanguage, TakesLocaleNames) {
  for (const Choice& choice : kChoices) {
    RQLogger::SetLanguage("fr");
    EXPECT_EQ(RQLogger::SetLanguage(choice.locale_name), choice.known) << choice.locale_name;
    EXPECT_STREQ(RQLogger::Language(), choice.language) << choice.locale_name;
  }
}

TEST(SetLanguage, HoldsForTheMessagesThatFollow) {
  Recorder recorder;
  RQLogger::SetLanguage("de");
  RQLogger::InfoMessage("f", "KWXBN0028I");
  RQLogger::SetLanguage("es");
  RQLogger::InfoMessage("f", "KWXBN0028I");
  EXPECT_EQ(recorder.records.at(0).text,
            "Keine Prognose erstellt, weil der Fahrweg keine Messpunkte hat.");
  EXPECT_EQ(recorder.records.at(1).text,
            "No se hizo ningún pronóstico porque el recorrido no tiene hitos.");
}

TEST(SetLanguage, LeavesFreeTextsAndNotesOfMismatchAsTheyAre) {
  Recorder recorder;
  RQLogger::SetLanguage("de");
  RQLogger::Error("f", "offset %1");
  RQLogger::InfoMessage("f", "KWXBN0060E");
  EXPECT_EQ(recorder.records.at(0).text, "offset %1");
  EXPECT_EQ(recorder.records.at(1).text,
            "[arguments do not fit the message; type codes \"\"; arguments: none]");
}

TEST(SetLanguage, ReadsTheEnvironmentAgainForAnEmptyName) {
  const char* const before = getenv("LC_ALL");
  const std::string saved = before ? before : "";
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_TRUE(RQLogger::SetLanguage(""));
  EXPECT_STREQ(RQLogger::Language(), "de");
  setenv("LC_ALL", "tlh", 1);
  EXPECT_FALSE(RQLogger::SetLanguage(nullptr));
  EXPECT_STREQ(RQLogger::Language(), "en");
  if (before) setenv("LC_ALL", saved.c_str(), 1);
  if (!before) unsetenv("LC_ALL");
}

}  // namespace
