#ifndef QIV_TESTS_DIFFERENTIAL_MESSAGE_H
#define QIV_TESTS_DIFFERENTIAL_MESSAGE_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <variant>
#include <vector>

namespace differential {

struct Version {
  unsigned long long time = 0;
  long long id = -1;
};

struct Initialize {
  std::string method;
  std::vector<double> parameters;
  std::string mode;
  unsigned int capacity = 0;
  std::string strategy;
};

struct ReadMilestones {
  std::string journey;
  Version version;
  std::vector<double> offsets;
};

struct ReadBusStops {
  std::string journey;
  Version version;
  std::vector<std::string> names;
  std::vector<double> offsets;
};

struct ReadHistory {
  std::string journey;
  Version version;
  std::int16_t category = 0;
  std::vector<int> times;
};

struct Update {
  std::string journey;
  std::string vehicle;
  std::string trip;
  std::string frame;
  Version version;
  std::int16_t category = 0;
  double offset = 0.0;
  long long time = 0;
  double max_error = 0.0;
};

struct RemoveInactiveVehicles {};

/// One call of `AllJourneys`.
using Message = std::variant<Initialize, ReadMilestones, ReadBusStops, ReadHistory, Update,
                             RemoveInactiveVehicles>;
using Stream = std::vector<Message>;

/// A message in one line of words, which `parse` reads back to the last bit:
///
///   initialize KernelRegression 1 4.5 arrival 10 ring
///   milestones P 5:7 3 0 100 250.5
///   stops P 5:7 2 A B 2 0 250.5
///   history P 5:7 -1 3 0 60 130
///   update P V T 2024-05-01 5:7 -1 120.25 1060 10
///   sweep
///
/// A version is "time:identifier", a list is preceded by its length, an empty word is "~".
std::string text(const Message& message);
std::string text(const Stream& stream);

/// Throws `std::runtime_error` naming a line that is not a message.
Message parse(const std::string& line);

/// Reads lines until the end. Empty lines and those that begin with # are skipped.
Stream parse_stream(std::istream& in);

void showValue(const Message& message, std::ostream& out);
void showValue(const Stream& stream, std::ostream& out);

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_MESSAGE_H
