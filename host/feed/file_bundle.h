#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/rejections.h"

struct zip;

namespace qiv {

/// How much a bundle may unpack to.
struct FileBundleLimits {
  std::uint64_t entry_bytes = std::uint64_t{1} << 30U;   ///< of one entry, unpacked
  std::uint64_t total_bytes = std::uint64_t{16} << 30U;  ///< of all entries, as declared
  std::uint64_t entries = 1'000'000;
  /// An entry that unpacks to more than 1 MiB and to more than this many times its packed size is
  /// refused: tables of a timetable stay below 50.
  std::uint64_t ratio = 250;
};

/// Named byte contents: the files of a folder, the entries of a zip file, or one single file.
/// Contents are read when they are asked for; what is gzip'd is unpacked. Not for use by several
/// threads at once.
class FileBundle {
 public:
  /// Opens a folder (all files in it, those of its folders included, hidden ones left out), a zip
  /// file (told by its content) or a single file. Throws std::runtime_error with file and remedy
  /// when that fails.
  static FileBundle open(const std::filesystem::path& path, const FileBundleLimits& limits = {});
  /// The same for a zip file in memory; `name` is for messages.
  static FileBundle open_zip(std::string bytes, const std::string& name,
                             const FileBundleLimits& limits = {});
  /// Contents that are in memory already, by their names.
  static FileBundle of(const std::map<std::string, std::string>& contents, const std::string& name,
                       const FileBundleLimits& limits = {});

  /// What the bundle was opened as, for messages.
  const std::string& name() const { return _name; }
  /// All entries in the order of their names, with '/' between the folders.
  std::vector<std::string> entries() const;
  bool contains(std::string_view entry) const { return _entries.find(entry) != _entries.end(); }
  /// The bytes of an entry, unpacked where they are gzip'd; nothing when there is none of this
  /// name. Throws std::runtime_error with file and remedy when it cannot be read, is encrypted or
  /// damaged, or when it exceeds the limits.
  std::optional<std::string> read(std::string_view entry) const;
  /// Entries that are left out: names that lead out of the bundle, and names that occur twice.
  const Rejections& rejections() const { return _rejections; }

 private:
  using Load = std::function<std::string()>;

  FileBundle(std::string name, const FileBundleLimits& limits)
      : _name(std::move(name)), _limits(limits) {}
  void add(std::string entry, Load load);
  void add_folder(const std::filesystem::path& folder);
  void add_zip(const std::shared_ptr<::zip>& zip);

  std::string _name;
  FileBundleLimits _limits;
  std::map<std::string, Load, std::less<>> _entries;
  Rejections _rejections;
};

}  // namespace qiv
