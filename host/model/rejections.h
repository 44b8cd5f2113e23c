#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qiv {

/// What a reader, or any later step, did not use: a count for every reason, and the first case of
/// each, quoted with its place.
class Rejections {
 public:
  struct Entry {
    std::uint64_t count = 0;
    std::string first;  ///< place and content, such as "stop_times.txt:17: trip_id 'X9'"
  };

  /// Counts one more for `reason`. `first` is called only for the first of its kind and returns the
  /// quotation.
  template <class Quote>
  void add(std::string_view reason, Quote&& first) {
    const auto entry = _entries.find(reason);
    if (entry != _entries.end()) {
      ++entry->second.count;
    } else {
      _entries.emplace(std::string(reason), Entry{1, first()});
    }
  }

  /// Adds the counts of `other`; a first case that is already here stays.
  void merge(const Rejections& other);

  std::uint64_t count(std::string_view reason) const;
  std::uint64_t total() const;
  bool empty() const { return _entries.empty(); }
  const std::map<std::string, Entry, std::less<>>& entries() const { return _entries; }

 private:
  std::map<std::string, Entry, std::less<>> _entries;
};

}  // namespace qiv
