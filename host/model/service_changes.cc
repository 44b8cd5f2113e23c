#include "model/service_changes.h"

#include <algorithm>

namespace qiv {

const TripChange* ServiceChanges::find(const TripKey& trip) const {
  const auto found = trips.find(trip);
  return found == trips.end() ? nullptr : &found->second;
}

bool ServiceChanges::is_added(const TripId& trip) const {
  const auto found =
      std::lower_bound(added.begin(), added.end(), trip,
                       [](const AddedTrip& a, const TripId& wanted) { return a.trip < wanted; });
  return found != added.end() && found->trip == trip;
}

}  // namespace qiv
