#include "serve/snapshot.h"

namespace qiv {

const char* to_string(SourceHealth health) {
  switch (health) {
    case SourceHealth::starting:
      return "starting";
    case SourceHealth::good:
      return "good";
    case SourceHealth::stale:
      return "stale";
    case SourceHealth::failing:
      return "failing";
    case SourceHealth::finished:
      return "finished";
  }
  return "unknown";
}

}  // namespace qiv
