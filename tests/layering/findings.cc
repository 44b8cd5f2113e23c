#include "findings.h"

#include <set>
#include <sstream>
#include <stdexcept>

namespace {

const char* const host = "host/";

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) result.push_back(line);
  return result;
}

bool starts_with(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

class IncludeCheck {
 public:
  IncludeCheck(const House& house, const std::vector<SourceFile>& files) : _house(house) {
    for (const SourceFile& file : files) _paths.insert(file.path);
  }

  /// What is wrong with the line of the file; empty for nothing.
  std::string fault(const std::string& path, const std::string& room,
                    const std::string& line) const {
    static const std::regex directive("^\\s*#\\s*include\\b\\s*(.*)");
    static const std::regex header("([\"<])([^\">]+)[\">].*");
    std::smatch match;
    if (!std::regex_match(line, match, directive)) return "";
    const std::string operand = match[1];
    if (!std::regex_match(operand, match, header)) return "includes what only a compiler can tell";
    return fault_of_header(path, room, match[2], match[1] == "\"");
  }

 private:
  std::string fault_of_header(const std::string& path, const std::string& room,
                              const std::string& name, bool quoted) const {
    if (("/" + name).find("/../") != std::string::npos) return name + " leaves its folder by ..";
    const std::string beside = path.substr(0, path.rfind('/') + 1) + name;
    if (quoted && _paths.count(beside) > 0) {
      if (!starts_with(path, host) || beside == host + name) return fault_of(room, beside);
      return name + " is to be included as \"" + beside.substr(std::string(host).size()) + '"';
    }
    const std::string found = searched(name);
    if (!found.empty()) return fault_of(room, found);
    if (quoted && !ends_with(name, ".pb.h")) {
      return name + " is not of this checkout: in angle brackets, if it is meant";
    }
    if (_house.may_include_foreign(room, name)) return "";
    return room + " may not include the foreign " + name;
  }

  /// The path of the header as the compiler would find it, or of one to be generated in a room.
  std::string searched(const std::string& name) const {
    for (const char* const folder : {"qiv_g11n/impl/include/", "qiv_algo/impl/include/"}) {
      if (_paths.count(folder + name) > 0) return folder + name;
    }
    return _house.room_of(host + name).empty() ? "" : host + name;
  }

  std::string fault_of(const std::string& room, const std::string& included) const {
    const std::string other = _house.room_of(included);
    if (_house.may_include(room, other)) return "";
    return room + " may not include " + other + " (" + included + ')';
  }

  const House& _house;
  std::set<std::string> _paths;
};

}  // namespace

std::vector<Finding> forbidden_includes(const House& house, const std::vector<SourceFile>& files) {
  std::vector<Finding> result;
  const IncludeCheck check(house, files);
  for (const SourceFile& file : files) {
    const std::string room = house.room_of(file.path);
    if (room.empty()) {
      result.push_back({file.path, 1, "stands in no room of the house"});
      continue;
    }
    const std::vector<std::string> lines = lines_of(file.text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const std::string fault = check.fault(file.path, room, lines[i]);
      if (!fault.empty()) result.push_back({file.path, i + 1, fault});
    }
  }
  return result;
}

std::vector<Finding> long_sources(const std::vector<SourceFile>& files, std::size_t limit) {
  std::vector<Finding> result;
  for (const SourceFile& file : files) {
    const std::size_t size = lines_of(file.text).size();
    if (!ends_with(file.path, ".cc") || size <= limit) continue;
    result.push_back({file.path, size, "more than " + std::to_string(limit) + " lines"});
  }
  return result;
}

std::vector<Unwanted> read_unwanted(const std::string& text) {
  const std::string separator = " -- ";
  std::vector<Unwanted> result;
  for (const std::string& line : lines_of(text)) {
    if (line.empty() || line[0] == '#') continue;
    const std::size_t end = line.find(separator);
    if (end == std::string::npos) throw std::invalid_argument("no reason in: " + line);
    result.push_back({std::regex(line.substr(0, end)), line.substr(end + separator.size())});
  }
  return result;
}

std::vector<Finding> unwanted_lines(const std::vector<SourceFile>& files,
                                    const std::vector<Unwanted>& unwanted) {
  std::vector<Finding> result;
  for (const SourceFile& file : files) {
    const std::vector<std::string> lines = lines_of(file.text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      for (const Unwanted& each : unwanted) {
        if (!std::regex_search(lines[i], each.pattern)) continue;
        result.push_back({file.path, i + 1, each.reason + ": " + lines[i]});
      }
    }
  }
  return result;
}
