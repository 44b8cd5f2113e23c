#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct Outcome {
  int exit_code;
  std::string output;
};

// Runs the program with the words of `environment` in front ("LANG=de"), both streams caught.
Outcome run(const std::string& environment, const std::string& mode) {
  const std::string command = "env -u LC_ALL -u LC_MESSAGES -u LANG -u LANGUAGE " + environment +
                              " '" QIV_G11N_PROGRAM "' " + mode + " 2>&1";
  Outcome outcome;
  FILE* const pipe = popen(command.c_str(), "r");
  char buffer[256];
  while (fgets(buffer, sizeof buffer, pipe)) outcome.output += buffer;
  const int status = pclose(pipe);
  outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

struct Case {
  const char* environment;
  const char* language;
};

const Case kCases[] = {
    {"", "en"},
    {"LC_ALL=de_AT.UTF-8", "de"},
    {"LC_MESSAGES=fr_CA", "fr"},
    {"LANG=es", "es"},
    {"LC_ALL=fr LC_MESSAGES=de LANG=es", "fr"},
    {"LC_MESSAGES=de LANG=es", "de"},
    {"LC_ALL= LC_MESSAGES= LANG=es_MX.ISO-8859-1@modifier", "es"},
    {"LC_ALL=C LANG=de_DE.UTF-8", "en"},
    {"LC_ALL=C.UTF-8 LANG=de_DE.UTF-8", "en"},
    {"LC_ALL=POSIX LANG=de_DE.UTF-8", "en"},
    {"LC_ALL=xx_YY.UTF-8 LANG=de_DE.UTF-8", "en"},
    {"LC_ALL=deutsch", "en"},
    {"LANGUAGE=de:fr LANG=es_ES.UTF-8", "es"},
};

TEST(FirstUse, TakesTheLanguageOfTheEnvironment) {
  for (const Case& one : kCases) {
    const Outcome outcome = run(one.environment, "language");
    EXPECT_EQ(outcome.output, std::string(one.language) + "\n") << one.environment;
    EXPECT_EQ(outcome.exit_code, 0) << one.environment;
  }
}

TEST(FirstUse, RendersInTheLanguageOfTheEnvironment) {
  EXPECT_EQ(run("LANG=de_AT.UTF-8", "message").output,
            "info KWXBN0027I main: Keine Prognose erstellt, weil keine Historie vorliegt.\n");
}

TEST(FirstUse, DoesNotOverrideTheHost) {
  EXPECT_EQ(run("LANG=de_AT.UTF-8", "choose_french").output,
            "info KWXBN0027I main: Aucune prévision n'a été faite, faute d'historique.\n");
}

TEST(Exit, StaticObjectsMayLogWithTheDefaultSink) {
  const Outcome outcome = run("", "exit");
  EXPECT_EQ(outcome.output, "error Early::~Early: bye\n");
  EXPECT_EQ(outcome.exit_code, 0);
}

TEST(Exit, StaticObjectsMayLogWithAReplacedSink) {
  const Outcome outcome = run("", "exit_with_sink");
  EXPECT_EQ(outcome.output, "sink: bye\n");
  EXPECT_EQ(outcome.exit_code, 0);
}

TEST(Exit, ThreadsThatOutliveMainMayLog) {
  const Outcome outcome = run("", "thread_outlives_main");
  EXPECT_EQ(outcome.exit_code, 0) << outcome.output;
}

}  // namespace
