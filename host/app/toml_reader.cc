#include "app/toml_reader.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "app/exit_code.h"

namespace qiv {
namespace {

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

template <class Number>
std::string shown(Number number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

}  // namespace

toml::table read_toml(const std::filesystem::path& file) {
  try {
    return toml::parse_file(file.string());
  } catch (const toml::parse_error& error) {
    std::ostringstream message;
    message << file.string() << ":" << error.source().begin.line << ": " << error.description();
    throw CommandError(ExitCode::usage, message.str());
  }
}

const toml::node* TomlReader::find(const char* key) {
  _known.insert(key);
  return _table.get(key);
}

std::string TomlReader::text(const char* key, const std::string& otherwise) {
  const toml::node* const node = find(key);
  if (node == nullptr) return otherwise;
  if (!node->is_string()) reject_kind(key, *node, "a text");
  return node->as_string()->get();
}

std::string TomlReader::text_of(const char* key, const std::vector<std::string>& choices,
                                const std::string& otherwise) {
  const std::string value = text(key, otherwise);
  if (std::find(choices.begin(), choices.end(), value) == choices.end()) {
    const toml::node* const node = find(key);
    reject_kind(key, node == nullptr ? _table : *node, "one of " + listed(choices));
  }
  return value;
}

double TomlReader::number(const char* key, double least, double greatest, double otherwise) {
  const toml::node* const node = find(key);
  if (node == nullptr) return otherwise;
  const auto value = node->value<double>();
  if (!value || !(*value >= least) || !(*value <= greatest)) {
    reject_kind(key, *node, "a number from " + shown(least) + " to " + shown(greatest));
  }
  return *value;
}

long long TomlReader::whole(const char* key, long long least, long long greatest,
                            long long otherwise) {
  const toml::node* const node = find(key);
  if (node == nullptr) return otherwise;
  const auto value = node->is_integer() ? node->value<std::int64_t>() : std::nullopt;
  if (!value || *value < least || *value > greatest) {
    reject_kind(key, *node, "a whole number from " + shown(least) + " to " + shown(greatest));
  }
  return *value;
}

bool TomlReader::flag(const char* key, bool otherwise) {
  const toml::node* const node = find(key);
  if (node == nullptr) return otherwise;
  if (!node->is_boolean()) reject_kind(key, *node, "true or false");
  return node->as_boolean()->get();
}

std::vector<std::string> TomlReader::texts(const char* key) {
  std::vector<std::string> result;
  const toml::node* const node = find(key);
  if (node == nullptr) return result;
  if (!node->is_array()) reject_kind(key, *node, "a list of texts");
  for (const toml::node& element : *node->as_array()) {
    if (!element.is_string()) reject_kind(key, element, "a list of texts");
    result.push_back(element.as_string()->get());
  }
  return result;
}

std::map<std::string, std::string> TomlReader::text_map(const char* key) {
  std::map<std::string, std::string> result;
  const toml::node* const node = find(key);
  if (node == nullptr) return result;
  if (!node->is_table()) reject_kind(key, *node, "a table of texts");
  for (const auto& [name, element] : *node->as_table()) {
    if (!element.is_string()) reject_kind(key, element, "a table of texts");
    result[std::string(name.str())] = resolved(element.as_string()->get(), element);
  }
  return result;
}

std::string TomlReader::secret(const char* key) {
  const toml::node* const node = find(key);
  return node == nullptr ? "" : resolved(text(key, ""), *node);
}

std::string TomlReader::resolved(const std::string& value, const toml::node& node) const {
  constexpr std::string_view prefix = "env:";
  if (!value.starts_with(prefix)) return value;
  const std::string name = value.substr(prefix.size());
  const char* const found = std::getenv(name.c_str());
  if (found == nullptr) reject(node, "the environment variable " + name + " is not set: set it");
  return found;
}

void TomlReader::require(const char* key, const std::string& meaning) const {
  if (_table.get(key) == nullptr) {
    reject(_table, _what + " needs '" + std::string(key) + "': " + meaning);
  }
}

void TomlReader::finish() const {
  for (const auto& [name, node] : _table) {
    if (!_known.contains(std::string(name.str()))) {
      reject(node, "there is no key '" + std::string(name.str()) + "' in " + _what + ": remove it");
    }
  }
}

void TomlReader::reject(const toml::node& node, const std::string& text) const {
  std::ostringstream message;
  message << _file.string() << ":" << node.source().begin.line << ": " << text;
  throw CommandError(ExitCode::usage, message.str());
}

void TomlReader::reject_kind(const char* key, const toml::node& node,
                             const std::string& wanted) const {
  reject(node, "'" + std::string(key) + "' must be " + wanted);
}

}  // namespace qiv
