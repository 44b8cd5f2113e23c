#include "app/kept_results.h"

#include <utility>

namespace qiv {
namespace {

constexpr std::chrono::milliseconds interval(200);

}  // namespace

KeptResults::KeptResults(Archive& archive, std::string work)
    : _archive(archive),
      _work(std::move(work)),
      _known(archive.partials(_work)),
      _written(std::chrono::steady_clock::now()) {}

PartialResults KeptResults::partial_results() {
  PartialResults results;
  results.find = [this](const std::string& part) -> std::optional<std::string> {
    const auto entry = _known.find(part);
    if (entry == _known.end()) return std::nullopt;
    ++_found;
    return entry->second;
  };
  results.keep = [this](const std::string& part, const std::string& result) { keep(part, result); };
  return results;
}

void KeptResults::keep(const std::string& part, const std::string& result) {
  _waiting[part] = result;
  const auto now = std::chrono::steady_clock::now();
  if (now - _written < interval) return;
  _archive.add_partials(_work, _waiting);
  _waiting.clear();
  _written = now;
}

}  // namespace qiv
