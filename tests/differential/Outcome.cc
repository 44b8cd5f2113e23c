#include "differential/Outcome.h"

#include <algorithm>
#include <cstdio>

namespace differential {

namespace {

std::vector<std::string> texts(const Outcome& outcome) {
  std::vector<std::string> result;
  for (const OutcomeLine& line : outcome) result.push_back(line.text);
  return result;
}

}  // namespace

std::string number(double value) {
  if (value != value) return "nan";
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '\n') {
      result += "\\n";
      continue;
    }
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

std::string difference(const std::vector<std::string>& twin,
                       const std::vector<std::string>& library) {
  if (twin == library) return "";
  std::string result;
  for (std::size_t i = 0; i < std::max(twin.size(), library.size()); ++i) {
    const std::string left = i < twin.size() ? twin[i] : "(nothing)";
    const std::string right = i < library.size() ? library[i] : "(nothing)";
    if (left == right) {
      result.append("           ").append(left).append("\n");
    } else {
      result.append("  twin:    ").append(left).append("\n  library: ").append(right).append("\n");
    }
  }
  return result;
}

std::string difference(const Outcome& twin, const Outcome& library) {
  return difference(texts(twin), texts(library));
}

}  // namespace differential
