// Recorded results of fixed streams, so that library and twin cannot drift away together.
//
// golden/<name>.txt holds messages, each after "> ", and what each call gave. What depends on the
// last bit of the C library's `exp` stands apart, in golden/<name>.exp.txt, under the number of its
// message; its first line is the fingerprint of the `exp` that it was recorded with, and with
// another one it is not compared.
//
// QIV_REGENERATE_GOLDEN=1 records both files anew, from the twin.

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "differential/Comparison.h"
#include "differential/streams.h"
#include "gtest/gtest.h"

namespace differential {
namespace {

typedef std::vector<std::string> Lines;

struct Recording {
  Lines plain;
  Lines by_exp;
};

template <class Side>
Recording record(const Stream& stream) {
  Runner<Side> runner;
  Guard guard;
  Recording recording;
  unsigned int number = 0;
  for (const Message& message : stream) {
    if (!guard.lets_pass(message, runner.journeys())) continue;
    ++number;
    recording.plain.push_back("> " + text(message));
    for (const OutcomeLine& line : runner.apply(message)) {
      if (line.by_exp) {
        recording.by_exp.push_back(std::to_string(number) + " " + line.text);
      } else {
        recording.plain.push_back(line.text);
      }
    }
  }
  return recording;
}

/// A number that tells one implementation of `exp` from another, where they differ at all.
std::string fingerprint_of_exp() {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (int i = 0; i < 50000; ++i) {
    hash = (hash ^ support::bits(std::exp(-0.00137 * i))) * 0x100000001b3u;
  }
  char text[40];
  std::snprintf(text, sizeof text, "exp %016llx", static_cast<unsigned long long>(hash));
  return text;
}

std::string path(const std::string& name) {
  return QIV_GOLDEN_DIR "/" + name + ".txt";
}

Lines read(const std::string& name) {
  std::ifstream file(path(name));
  Lines lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

void write(const std::string& name, const Lines& lines) {
  std::ofstream file(path(name));
  for (const std::string& line : lines) file << line << "\n";
  ASSERT_TRUE(file.flush()) << path(name);
}

/// What a record was made of.
struct Source {
  std::string name;
  Stream (*make)(Draw&);
  std::uint64_t seed;
  std::size_t length;
  std::string mode;
};

void PrintTo(const Source& source, std::ostream* out) {
  *out << source.name;
}

const std::vector<Source> sources = {{"realistic_arrival", realistic_stream, 1368, 100, "arrival"},
                                     {"realistic_travel", realistic_stream, 993, 100, "travel"},
                                     {"hostile_arrival", hostile_stream, 1376, 100, "arrival"},
                                     {"hostile_travel", hostile_stream, 1028, 100, "travel"},
                                     {"wild_arrival", hostile_stream, 5889, 100, "arrival"},
                                     {"wild_travel", hostile_stream, 4350, 100, "travel"},
                                     {"hand_over", handover_stream, 33, 150, "arrival"}};

/// It draws no pseudo-random numbers, which are the C library's.
Stream stream_of(const Source& source) {
  RandomDraw draw(source.seed);
  Stream stream = source.make(draw);
  if (stream.size() > source.length) stream.resize(source.length);
  for (Message& message : stream) {
    Initialize* m = std::get_if<Initialize>(&message);
    if (m != nullptr && m->strategy == "random") m->strategy = "ring";
  }
  std::get<Initialize>(stream[0]).mode = source.mode;
  return stream;
}

class Golden : public testing::TestWithParam<Source> {
 protected:
  Golden() : name(GetParam().name) {}

  static void SetUpTestSuite() {
    if (std::getenv("QIV_REGENERATE_GOLDEN") == nullptr) return;
    for (const Source& source : sources) {
      Recording recording = record<Twin>(stream_of(source));
      write(source.name, recording.plain);
      recording.by_exp.insert(recording.by_exp.begin(), fingerprint_of_exp());
      write(source.name + ".exp", recording.by_exp);
    }
  }

  /// The messages of the plain file.
  Stream stream() const {
    Stream messages;
    for (const std::string& line : read(name)) {
      if (line.compare(0, 2, "> ") == 0) messages.push_back(parse(line.substr(2)));
    }
    return messages;
  }

  const std::string name;
};

TEST_P(Golden, PlainResults) {
  const Lines expected = read(name);
  ASSERT_GT(expected.size(), 100u) << path(name);
  EXPECT_EQ(difference(expected, record<Twin>(stream()).plain), "")
      << "the twin against the record";
  EXPECT_EQ(difference(expected, record<Library>(stream()).plain), "") << "against the record";
}

TEST_P(Golden, ResultsByExp) {
  Lines expected = read(name + ".exp");
  ASSERT_GT(expected.size(), 20u) << path(name + ".exp");
  if (expected[0] != fingerprint_of_exp()) GTEST_SKIP() << "recorded with another exp";
  expected.erase(expected.begin());
  EXPECT_EQ(difference(expected, record<Twin>(stream()).by_exp), "")
      << "the twin against the record";
  EXPECT_EQ(difference(expected, record<Library>(stream()).by_exp), "") << "against the record";
}

INSTANTIATE_TEST_SUITE_P(All, Golden, testing::ValuesIn(sources),
                         [](const auto& source) { return source.param.name; });

}  // namespace
}  // namespace differential
