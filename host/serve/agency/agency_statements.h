#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "serve/agency/agency_report.h"
#include "serve/snapshot.h"

namespace qiv {

/// What the agency says of its service, and what follows for the display. A statement holds until
/// its feed no longer has it, or has been silent for too long. Reads no clock; one thread at a
/// time.
class AgencyStatements {
 public:
  /// Takes what a source says in the place of what it said before.
  void take(AgencyReport report);

  /// Puts what is said into a snapshot, whose `now`, network, trips and vehicles are there:
  ///
  /// - A trip that is canceled is on display as such until its timetable's end, from a day before
  ///   its departure on, and not as a forecast. But a vehicle that is under way on it is believed
  ///   more than the statement, which from then on counts as contradicted.
  /// - Calls that are skipped are marked in the forecast.
  /// - Vehicles are told apart that run an added trip, one that is canceled, and one that is
  ///   canceled though they run it.
  ///
  /// Nothing is changed while no source has said anything.
  void apply(Snapshot& snapshot);

 private:
  std::shared_ptr<const ServiceChanges> resolved(const Snapshot& snapshot);
  void note_contradictions(const Snapshot& snapshot, ServiceChanges& changes);

  std::map<std::string, AgencyReport> _reports;  ///< the last of each source
  std::shared_ptr<const ServiceChanges> _resolved;
  Instant _resolved_at{};
  std::shared_ptr<const Network> _resolved_on;
  std::set<TripKey> _contradicted;
};

}  // namespace qiv
