#include "differential/Message.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace differential {

namespace {

std::string word(const std::string& value) {
  return value.empty() ? "~" : value;
}

/// The shortest decimal that reads back as `value`.
std::string word(double value) {
  if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
  char text[40] = "";
  for (int digits = 6; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    if (std::strtod(text, nullptr) == value) break;
  }
  return text;
}

std::string word(int value) {
  return std::to_string(value);
}

std::string word(const Version& version) {
  return std::to_string(version.time) + ":" + std::to_string(version.id);
}

template <class Value>
std::string words(const std::vector<Value>& list) {
  std::string result = std::to_string(list.size());
  for (const Value& value : list) result += " " + word(value);
  return result;
}

struct Writer {
  std::string operator()(const Initialize& m) const {
    return "initialize " + word(m.method) + " " + words(m.parameters) + " " + word(m.mode) + " " +
           std::to_string(m.capacity) + " " + word(m.strategy);
  }
  std::string operator()(const ReadMilestones& m) const {
    return "milestones " + word(m.journey) + " " + word(m.version) + " " + words(m.offsets);
  }
  std::string operator()(const ReadBusStops& m) const {
    return "stops " + word(m.journey) + " " + word(m.version) + " " + words(m.names) + " " +
           words(m.offsets);
  }
  std::string operator()(const ReadHistory& m) const {
    return "history " + word(m.journey) + " " + word(m.version) + " " + word(m.category) + " " +
           words(m.times);
  }
  std::string operator()(const Update& m) const {
    return "update " + word(m.journey) + " " + word(m.vehicle) + " " + word(m.trip) + " " +
           word(m.frame) + " " + word(m.version) + " " + word(m.category) + " " + word(m.offset) +
           " " + std::to_string(m.time) + " " + word(m.max_error);
  }
  std::string operator()(const RemoveInactiveVehicles&) const { return "sweep"; }
};

/// Takes a line apart word by word.
class Reader {
 public:
  explicit Reader(const std::string& line) : _line(line), _words(line) {}

  void read(std::string& value) {
    if (!(_words >> value)) fail();
    if (value == "~") value.clear();
  }
  void read(double& value) {
    const std::string number = next();
    char* end = nullptr;
    value = std::strtod(number.c_str(), &end);
    if (*end != '\0') fail();
  }
  template <class Integer>
  void read(Integer& value) {
    std::istringstream number(next());
    if (!(number >> value) || number.peek() != std::char_traits<char>::eof()) fail();
  }
  void read(Version& version) {
    std::istringstream pair(next());
    char colon = ' ';
    if (!(pair >> version.time >> colon >> version.id) || colon != ':') fail();
  }
  template <class Value>
  void read(std::vector<Value>& list) {
    unsigned int size = 0;
    read(size);
    for (unsigned int i = 0; i < size; ++i) {
      Value value{};
      read(value);
      list.push_back(value);
    }
  }
  template <class First, class Second, class... Rest>
  void read(First& first, Second& second, Rest&... rest) {
    read(first);
    read(second, rest...);
  }

  [[noreturn]] void fail() const { throw std::runtime_error("not a message: " + _line); }

  void end() {
    std::string rest;
    if (_words >> rest) fail();
  }

 private:
  std::string next() {
    std::string result;
    if (!(_words >> result)) fail();
    return result;
  }

  std::string _line;
  std::istringstream _words;
};

Message parse_words(Reader& reader) {
  std::string kind;
  reader.read(kind);
  if (kind == "initialize") {
    Initialize m;
    reader.read(m.method, m.parameters, m.mode, m.capacity, m.strategy);
    return m;
  }
  if (kind == "milestones") {
    ReadMilestones m;
    reader.read(m.journey, m.version, m.offsets);
    return m;
  }
  if (kind == "stops") {
    ReadBusStops m;
    reader.read(m.journey, m.version, m.names, m.offsets);
    return m;
  }
  if (kind == "history") {
    ReadHistory m;
    reader.read(m.journey, m.version, m.category, m.times);
    return m;
  }
  if (kind == "update") {
    Update m;
    reader.read(m.journey, m.vehicle, m.trip, m.frame, m.version, m.category, m.offset, m.time,
                m.max_error);
    return m;
  }
  if (kind != "sweep") reader.fail();
  return RemoveInactiveVehicles();
}

}  // namespace

std::string text(const Message& message) {
  return std::visit(Writer(), message);
}

std::string text(const Stream& stream) {
  std::string result;
  for (const Message& message : stream) result += text(message) + "\n";
  return result;
}

Message parse(const std::string& line) {
  Reader reader(line);
  Message message = parse_words(reader);
  reader.end();
  return message;
}

Stream parse_stream(std::istream& in) {
  Stream stream;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') stream.push_back(parse(line));
  }
  return stream;
}

void showValue(const Message& message, std::ostream& out) {
  out << text(message);
}

void showValue(const Stream& stream, std::ostream& out) {
  out << "\n" << text(stream);
}

}  // namespace differential
