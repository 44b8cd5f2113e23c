#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <limits>
#include <locale>
#include <string>

#include "RQLogger.h"
#include "recorder.h"

namespace {

typedef RQLogger::ArgumentType Type;
const RQLogger::RQLogLevel kError = RQLogger::RQLogLevel::error;

struct Tram {
  operator std::string() const { return "tram 3"; }
};

struct Unnamed {
  operator std::string() const { throw 1; }
};

enum Side { left = 4 };

TEST(Record, HoldsWhatWasLogged) {
  Recorder recorder;
  RQLogV("Journey::read_history", kError, "KWXBN0082E", "%lld%u%u%u%d%d", 9LL, 20u, 1u, 2u, 200,
         -150);
  const RQLogger::Record& record = recorder.last();
  EXPECT_EQ(record.identifier, "KWXBN0082E");
  EXPECT_EQ(record.level, kError);
  EXPECT_EQ(record.function_name, "Journey::read_history");
  EXPECT_EQ(record.type_codes, "%lld%u%u%u%d%d");
  ASSERT_EQ(record.arguments.size(), 6u);
  EXPECT_EQ(record.arguments[0].type, Type::signed_long);
  EXPECT_EQ(record.arguments[0].integer, 9);
  EXPECT_EQ(record.arguments[1].type, Type::unsigned_int);
  EXPECT_EQ(record.arguments[1].natural, 20u);
  EXPECT_EQ(record.arguments[5].type, Type::signed_int);
  EXPECT_EQ(record.arguments[5].integer, -150);
}

TEST(Record, HoldsRealsAndStringsUnrounded) {
  Recorder recorder;
  const RQLogger::string_type vehicle("bus\0\n12", 7);
  RQLogV("Vehicle::update_position", kError, "KWXBN0021E", "%e%s%s", 300.0001, vehicle, "ref");
  const RQLogger::Record& record = recorder.last();
  ASSERT_EQ(record.arguments.size(), 3u);
  EXPECT_EQ(record.arguments[0].type, Type::real);
  EXPECT_EQ(record.arguments[0].real, 300.0001);
  EXPECT_EQ(record.arguments[1].type, Type::text);
  EXPECT_EQ(record.arguments[1].text, vehicle);
  EXPECT_EQ(record.arguments[2].text, "ref");
  EXPECT_NE(record.text.find(vehicle), std::string::npos);
}

TEST(Record, OfAFreeTextHasNoIdentifier) {
  Recorder recorder;
  const RQLogger::string_type text = "offset=%1\nupdates:\n 1 2\n";
  RQLogger::Error("Vehicle::update_position", text);
  EXPECT_EQ(recorder.last().identifier, "");
  EXPECT_EQ(recorder.last().level, kError);
  EXPECT_EQ(recorder.last().function_name, "Vehicle::update_position");
  EXPECT_EQ(recorder.last().type_codes, "");
  EXPECT_TRUE(recorder.last().arguments.empty());
  EXPECT_EQ(recorder.last().text, text);
}

TEST(Record, OfAnInfoMessageHasLevelInfoAndNoArguments) {
  Recorder recorder;
  RQLogger::InfoMessage("ForecastAlgorithm::compute_forecast", "KWXBN0027I");
  EXPECT_EQ(recorder.last().identifier, "KWXBN0027I");
  EXPECT_EQ(recorder.last().level, RQLogger::RQLogLevel::info);
  EXPECT_EQ(recorder.last().type_codes, "");
  EXPECT_TRUE(recorder.last().arguments.empty());
}

TEST(Record, KeepsTheCallersLevelWhateverTheIdentifierSays) {
  Recorder recorder;
  RQLogV("f", RQLogger::RQLogLevel::info, "KWXBN0060E", "%lld%u", 1LL, 1u);
  EXPECT_EQ(recorder.last().level, RQLogger::RQLogLevel::info);
}

TEST(Arguments, OfOtherTypesArePackedAsThePrintfFamilyWould) {
  Recorder recorder;
  const char* const null = nullptr;
  char buffer[] = "tram";
  const short narrow = -3;
  const unsigned char octet = 200;
  RQLogV("f", kError, "TESTS0001E", "", 1.5f, 2.5L, narrow, octet, true, left, 4L, 5UL,
         std::numeric_limits<unsigned long long>::max(), null, nullptr, "literal", buffer, Tram());
  EXPECT_EQ(recorder.last().text,
            "[message unknown to the catalogue; type codes \"\"; arguments: double 1.5, double "
            "2.5, int -3, int 200, int 1, "
            "int 4, long long 4, unsigned long long 5, unsigned long long "
            "18446744073709551615, string \"\", string \"\", string \"literal\", string \"tram\", "
            "string \"tram 3\"]");
}

TEST(Arguments, ExtremesAreRenderedExactly) {
  Recorder recorder;
  RQLogV("Journey::read_history", kError, "KWXBN0082E", "%lld%u%u%u%d%d",
         std::numeric_limits<long long>::min(), std::numeric_limits<unsigned>::max(), 0u, 1u,
         std::numeric_limits<int>::max(), std::numeric_limits<int>::min());
  EXPECT_EQ(recorder.last().text,
            "Trajectory of shape version -9223372036854775808 rejected: time stamp 1, which is "
            "-2147483648, is earlier than time stamp 0, which is 2147483647 (trajectories held in "
            "its category: 4294967295).");
  const double infinity = std::numeric_limits<double>::infinity();
  RQLogV("BusRoute::get_interpolation_parameters", kError, "KWXBN0020E", "%e%e%e%lld",
         std::numeric_limits<double>::quiet_NaN(), -infinity, infinity, 0LL);
  EXPECT_EQ(recorder.last().text,
            "Offset nan is outside the route, which extends from -inf to inf (shape version 0).");
  RQLogV("BusRoute::get_interpolation_parameters", kError, "KWXBN0020E", "%e%e%e%lld", -0.0, 1.0e-5,
         123456789.0, 0LL);
  EXPECT_EQ(recorder.last().text,
            "Offset -0 is outside the route, which extends from 1e-05 to 1.23457e+08 (shape "
            "version 0).");
}

TEST(Mismatch, UnknownIdentifiersAreShownRaw) {
  Recorder recorder;
  RQLogV("f", kError, "KWXBN9999E", "%d%s", 5, RQLogger::string_type("abc"));
  EXPECT_EQ(recorder.last().text,
            "[message unknown to the catalogue; type codes \"%d%s\"; arguments: int 5, string "
            "\"abc\"]");
  RQLogger::InfoMessage("f", nullptr);
  EXPECT_EQ(recorder.last().text,
            "[message unknown to the catalogue; type codes \"\"; arguments: none]");
}

struct Misfit {
  const char* name;
  void (*log)();
  const char* text;
};

const Misfit kMisfits[] = {
    {"too few arguments", [] { RQLogV("f", kError, "KWXBN0060E", "%lld%u", 1LL); },
     "[arguments do not fit the message; type codes \"%lld%u\"; arguments: long long 1]"},
    {"no arguments", [] { RQLogger::InfoMessage("f", "KWXBN0060E"); },
     "[arguments do not fit the message; type codes \"\"; arguments: none]"},
    {"too many arguments", [] { RQLogV("f", kError, "KWXBN0060E", "%lld%u", 1LL, 2u, 3); },
     "[arguments do not fit the message; type codes \"%lld%u\"; arguments: long long 1, unsigned "
     "int 2, int 3]"},
    {"int where the codes say long long",
     [] { RQLogV("f", kError, "KWXBN0060E", "%lld%u", 1, 2u); },
     "[arguments do not fit the message; type codes \"%lld%u\"; arguments: int 1, unsigned int 2]"},
    {"number where the codes say string",
     [] { RQLogV("f", kError, "KWXBN0032I", "%s%s", "bus", 2.5); },
     "[arguments do not fit the message; type codes \"%s%s\"; arguments: string \"bus\", double "
     "2.5]"},
    {"codes and arguments agree, but not with the catalogue",
     [] { RQLogV("f", kError, "KWXBN0060E", "%lld%d", 1LL, 2); },
     "[arguments do not fit the message; type codes \"%lld%d\"; arguments: long long 1, int 2]"},
    {"arguments fit the catalogue, but the codes do not",
     [] { RQLogV("f", kError, "KWXBN0060E", "%u%lld", 1LL, 2u); },
     "[arguments do not fit the message; type codes \"%u%lld\"; arguments: long long 1, unsigned "
     "int 2]"},
    {"codes beyond the arguments", [] { RQLogV("f", kError, "KWXBN0060E", "%lld%u%s", 1LL, 2u); },
     "[arguments do not fit the message; type codes \"%lld%u%s\"; arguments: long long 1, unsigned "
     "int 2]"},
    {"unknown code", [] { RQLogV("f", kError, "KWXBN0060E", "%lld%p", 1LL, 2u); },
     "[arguments do not fit the message; type codes \"%lld%p\"; arguments: long long 1, unsigned "
     "int 2]"},
    {"null codes", [] { RQLogV("f", kError, "KWXBN0060E", nullptr, 1LL, 2u); },
     "[arguments do not fit the message; type codes \"\"; arguments: long long 1, unsigned int 2]"},
};

TEST(Mismatch, ArgumentsThatDoNotFitAreShownRaw) {
  Recorder recorder;
  for (const Misfit& misfit : kMisfits) {
    misfit.log();
    EXPECT_EQ(recorder.last().text, misfit.text) << misfit.name;
  }
}

TEST(Mismatch, CodesOfTheSameTypeAreEqual) {
  Recorder recorder;
  RQLogV("f", kError, "KWXBN0062E", "%ld%g", 1L, -2.5);
  EXPECT_EQ(recorder.last().text,
            "Milestones of shape version 1 rejected: the first milestone, at -2.5, is negative.");
}

TEST(Mismatch, AnArgumentWhoseConversionThrowsGoesToTheDefaultSink) {
  Recorder recorder;
  testing::internal::CaptureStderr();
  RQLogV("Vehicle::update_position", kError, "KWXBN0032I", "%s%s", Unnamed(), "ref");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "error KWXBN0032I Vehicle::update_position: [message could not be composed]\n");
  EXPECT_TRUE(recorder.records.empty());
}

struct GermanPunctuation : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(Locales, OfTheStreamsDoNotChangeNumbers) {
  Recorder recorder;
  const std::locale before =
      std::locale::global(std::locale(std::locale::classic(), new GermanPunctuation));
  RQLogV("Journey::read_milestones", kError, "KWXBN0062E", "%lld%e", 1234567LL, -2.5);
  std::locale::global(before);
  EXPECT_EQ(recorder.last().text,
            "Milestones of shape version 1234567 rejected: the first milestone, at -2.5, is "
            "negative.");
}

// Sets LC_NUMERIC to a locale with a decimal comma while it lives, if the machine has one.
class DecimalComma {
 public:
  DecimalComma() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8"}) {
      found = found || std::setlocale(LC_NUMERIC, name);
    }
  }
  ~DecimalComma() { std::setlocale(LC_NUMERIC, "C"); }

  bool found = false;
};

TEST(Locales, OfTheCLibraryDoNotChangeNumbers) {
  const DecimalComma comma;
  if (!comma.found) GTEST_SKIP() << "no locale with a decimal comma is installed";
  Recorder recorder;
  RQLogV("Journey::read_milestones", kError, "KWXBN0062E", "%lld%e", 1234567LL, -2.5);
  EXPECT_EQ(recorder.last().text,
            "Milestones of shape version 1234567 rejected: the first milestone, at -2.5, is "
            "negative.");
}

TEST(Errno, StaysAsItWas) {
  RQLogger::SetSink([](const RQLogger::Record&) { errno = EIO; });
  errno = ERANGE;
  RQLogger::InfoMessage("f", "KWXBN0027I");
  EXPECT_EQ(errno, ERANGE);
  RQLogger::Error("f", "text");
  EXPECT_EQ(errno, ERANGE);
  RQLogger::SetSink(nullptr);
}

}  // namespace
