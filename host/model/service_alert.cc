#include "model/service_alert.h"

#include <algorithm>

namespace qiv {

const char* to_string(AlertEffect effect) {
  switch (effect) {
    case AlertEffect::no_service:
      return "no_service";
    case AlertEffect::reduced_service:
      return "reduced_service";
    case AlertEffect::significant_delays:
      return "significant_delays";
    case AlertEffect::detour:
      return "detour";
    case AlertEffect::additional_service:
      return "additional_service";
    case AlertEffect::modified_service:
      return "modified_service";
    case AlertEffect::other:
      return "other";
    case AlertEffect::unknown:
      return "unknown";
    case AlertEffect::stop_moved:
      return "stop_moved";
    case AlertEffect::no_effect:
      return "no_effect";
    case AlertEffect::accessibility_issue:
      return "accessibility_issue";
  }
  return "unknown";
}

bool ServiceAlert::is_active(Instant instant) const {
  return periods.empty() || std::any_of(periods.begin(), periods.end(), [&](const auto& period) {
           return period.contains(instant);
         });
}

}  // namespace qiv
