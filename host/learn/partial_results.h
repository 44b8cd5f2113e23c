#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace qiv {

/// Where finished parts of the work lie, so that learning that was interrupted goes on. By default
/// nothing is found or kept. Learning calls one of the two at a time, from any of its threads.
struct PartialResults {
  std::function<std::optional<std::string>(const std::string& part)> find;
  std::function<void(const std::string& part, const std::string& result)> keep;
};

/// The result of a part: found, or else computed and kept.
template <class Result, class Read, class Write, class Compute>
Result resumed(const PartialResults& partial, std::mutex& calling, const std::string& part,
               Read&& read, Write&& write, Compute&& compute) {
  if (partial.find) {
    const std::lock_guard lock(calling);
    if (const auto bytes = partial.find(part)) {
      if (std::optional<Result> result = read(*bytes)) return *std::move(result);
    }
  }
  Result result = compute();
  if (partial.keep) {
    const std::lock_guard lock(calling);
    partial.keep(part, write(result));
  }
  return result;
}

}  // namespace qiv
