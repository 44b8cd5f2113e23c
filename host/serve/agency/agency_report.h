#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/service_alert.h"
#include "model/time.h"
#include "model/trip_update.h"

namespace qiv {

/// What one answer of one of the agency's feeds says.
struct AgencyContent {
  enum class Kind { trip_updates, alerts };

  Kind kind = Kind::trip_updates;
  std::optional<Instant> time;      ///< of the header, or else of the newest update
  std::vector<TripUpdate> updates;  ///< of trip updates
  std::vector<ServiceAlert> alerts;
};

/// That one of the agency's feeds says something, or says it still.
struct AgencyReport {
  std::string source;  ///< its name
  Instant received{};  ///< when the feed was last heard to say so
  /// What it says holds for so long when the feed falls silent. Trip updates whose header is that
  /// old hold no longer either; an alert's header may be of any age.
  Seconds hold{600};
  std::shared_ptr<const AgencyContent> content;  ///< never null

  /// What is said counts from here; it is never after `received`.
  Instant time() const {
    return content->time && *content->time < received ? *content->time : received;
  }
  bool holds(Instant now) const {
    const bool is_alert = content->kind == AgencyContent::Kind::alerts;
    return now - (is_alert ? received : time()) <= hold;
  }
};

/// Takes what a source says. May be called by any thread.
using TakeReport = std::function<void(AgencyReport report)>;

}  // namespace qiv
