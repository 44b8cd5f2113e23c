#include "model/rejections.h"

namespace qiv {

void Rejections::merge(const Rejections& other) {
  for (const auto& [reason, entry] : other._entries) {
    const auto [here, added] = _entries.emplace(reason, entry);
    if (!added) here->second.count += entry.count;
  }
}

std::uint64_t Rejections::count(std::string_view reason) const {
  const auto entry = _entries.find(reason);
  return entry == _entries.end() ? 0 : entry->second.count;
}

std::uint64_t Rejections::total() const {
  std::uint64_t sum = 0;
  for (const auto& [reason, entry] : _entries) sum += entry.count;
  return sum;
}

}  // namespace qiv
