#pragma once

#include <chrono>
#include <map>
#include <string>

#include "history/archive.h"
#include "learn/partial_results.h"

namespace qiv {

/// Finished parts of learning in the archive. They are written a few times a second, so that an
/// interruption costs little and writing them costs little too.
class KeptResults {
 public:
  /// Reads what is there of `work`, which names all that the parts depend on. `archive` must
  /// outlive it.
  KeptResults(Archive& archive, std::string work);

  /// For `learn`; must not outlive this.
  PartialResults partial_results();

  /// Parts that were found.
  std::size_t found() const { return _found; }

 private:
  void keep(const std::string& part, const std::string& result);

  Archive& _archive;
  std::string _work;
  std::map<std::string, std::string> _known;
  std::map<std::string, std::string> _waiting;
  std::chrono::steady_clock::time_point _written;
  std::size_t _found = 0;
};

}  // namespace qiv
