#pragma once

#include <toml++/toml.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace qiv {

/// Parses a configuration. Throws `CommandError` with file and line for text that is not TOML.
toml::table read_toml(const std::filesystem::path& file);

/// Reads the keys of one table of a configuration. Every mistake is a `CommandError` that names
/// file, line and remedy.
class TomlReader {
 public:
  /// `table` must outlive the reader; `what` names it for people, such as "[serve]".
  TomlReader(std::filesystem::path file, const toml::table& table, std::string what)
      : _file(std::move(file)), _table(table), _what(std::move(what)) {}

  /// Each returns `otherwise` when the key is not there.
  std::string text(const char* key, const std::string& otherwise);
  std::string text_of(const char* key, const std::vector<std::string>& choices,
                      const std::string& otherwise);
  double number(const char* key, double least, double greatest, double otherwise);
  long long whole(const char* key, long long least, long long greatest, long long otherwise);
  bool flag(const char* key, bool otherwise);
  std::vector<std::string> texts(const char* key);
  std::map<std::string, std::string> text_map(const char* key);

  /// The text; where it is "env:NAME", the value of that environment variable, which must be set.
  std::string secret(const char* key);
  std::string resolved(const std::string& value, const toml::node& node) const;

  /// Throws when the key is not there.
  void require(const char* key, const std::string& meaning) const;
  /// Throws when the table has a key that was not asked for.
  void finish() const;

  [[noreturn]] void reject(const toml::node& node, const std::string& text) const;
  const toml::node* find(const char* key);
  const toml::table& table() const { return _table; }

 private:
  [[noreturn]] void reject_kind(const char* key, const toml::node& node,
                                const std::string& wanted) const;

  std::filesystem::path _file;
  const toml::table& _table;
  std::string _what;
  std::set<std::string> _known;
};

}  // namespace qiv
