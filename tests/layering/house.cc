#include "house.h"

#include <sstream>
#include <stdexcept>

namespace {

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

}  // namespace

House::House(const std::string& table) {
  const std::string all_below = "every room below";
  Row common;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    line = trimmed(line);
    if (line.empty() || line[0] == '#') continue;
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) throw std::invalid_argument("not a row: " + line);
    const std::string room = trimmed(line.substr(0, colon));
    Row row = common;
    std::istringstream entries(line.substr(colon + 1));
    for (std::string entry; entries >> entry;) add(row, entry);
    if (room == all_below) {
      common = row;
      continue;
    }
    row.rooms.insert(room);
    if (!_rows.emplace(room, row).second) throw std::invalid_argument("twice: " + room);
    _rooms.push_back(room);
  }
}

void House::add(Row& row, const std::string& entry) const {
  if (entry.front() == '<' && entry.back() == '>') {
    row.foreign.insert(entry.substr(1, entry.size() - 2));
    return;
  }
  const bool kept = entry.back() == '!';
  const std::string name = kept ? entry.substr(0, entry.size() - 1) : entry;
  const auto found = _rows.find(name);
  if (found == _rows.end()) throw std::invalid_argument("not a room above: " + name);
  for (const std::string& room : found->second.rooms) {
    if (found->second.kept.count(room) == 0) row.rooms.insert(room);
  }
  if (kept) row.kept.insert(name);
}

std::string House::room_of(const std::string& path) const {
  for (const std::string& room : _rooms) {
    if (path.compare(0, room.size() + 1, room + "/") == 0) return room;
  }
  return "";
}

bool House::may_include(const std::string& room, const std::string& other) const {
  return _rows.at(room).rooms.count(other) > 0;
}

bool House::may_include_foreign(const std::string& room, const std::string& name) const {
  const bool standard = name.find_first_of("./") == std::string::npos;
  const std::set<std::string>& foreign = _rows.at(room).foreign;
  return standard || foreign.count("*") > 0 || foreign.count(name) > 0;
}
