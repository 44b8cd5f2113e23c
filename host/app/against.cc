#include "app/against.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "app/exit_code.h"
#include "evaluate/report_json.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t longest_name = 20;

struct Recording {
  std::string name;
  fs::path path;
};

Recording parse(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals != std::string::npos && text.find('/') > equals) {
    return {text.substr(0, equals), text.substr(equals + 1)};
  }
  const fs::path path = text;
  const fs::path last = path.has_filename() ? path.filename() : path.parent_path().filename();
  return {last.stem().string(), path};
}

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == '.';
}

[[noreturn]] void refuse(const Recording& recording, const std::string& why) {
  throw CommandError(ExitCode::usage,
                     "--against: the name '" + recording.name + "' " + why +
                         "; name the producer by: --against NAME=" + recording.path.string());
}

void check_name(const Recording& recording, const std::vector<OtherProducer>& others) {
  const std::string& name = recording.name;
  if (name.empty()) refuse(recording, "is empty");
  if (name.size() > longest_name) {
    refuse(recording, "is longer than " + std::to_string(longest_name) + " characters");
  }
  if (!std::all_of(name.begin(), name.end(), is_plain)) {
    refuse(recording, "has other characters than letters, digits, '_', '-' and '.'");
  }
  if (is_report_member(name)) refuse(recording, "is one that the report uses itself");
  if (std::any_of(others.begin(), others.end(),
                  [&](const OtherProducer& other) { return other.name() == name; })) {
    refuse(recording, "was given to another recording already");
  }
}

}  // namespace

std::vector<OtherProducer> open_recordings(const std::vector<std::string>& against) {
  std::vector<OtherProducer> others;
  for (const std::string& text : against) {
    const Recording recording = parse(text);
    check_name(recording, others);
    try {
      others.emplace_back(recording.name, recording.path);
    } catch (const std::runtime_error& error) {
      throw CommandError(ExitCode::failed, "--against: " + std::string(error.what()));
    }
  }
  return others;
}

}  // namespace qiv
