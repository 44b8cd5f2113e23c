#ifndef QIV_TESTS_DIFFERENTIAL_FIELDS_H
#define QIV_TESTS_DIFFERENTIAL_FIELDS_H

#include "Journey.h"
#include "KernelRegression.h"
#include "twin/Journey.h"

/// Read access to the fields that the contract names, under the same names for the library, whose
/// fields are private, and for the twin. An explicit instantiation may name a private member.

namespace differential {

template <class Tag, auto Member>
struct Expose {
  friend constexpr auto reveal(Tag) { return Member; }
};

#define QIV_EXPOSE(Class, member, accessor)                     \
  struct Class##member##Tag {                                   \
    friend constexpr auto reveal(Class##member##Tag);           \
  };                                                            \
  template struct Expose<Class##member##Tag, &::Class::member>; \
  inline const auto& accessor(const ::Class& object) {          \
    return object.*reveal(Class##member##Tag());                \
  }                                                             \
  inline const auto& accessor(const twin::Class& object) {      \
    return object.member;                                       \
  }

QIV_EXPOSE(AllJourneys, _journey, journeys_of)
QIV_EXPOSE(Journey, _shapeVersionTime, version_time_of)
QIV_EXPOSE(Journey, _shapeVersionID, version_id_of)
QIV_EXPOSE(Journey, _bus_route, bus_route_of)
QIV_EXPOSE(Journey, _history, histories_of)
QIV_EXPOSE(Journey, _vehicle, vehicles_of)
QIV_EXPOSE(Journey, _forecast, forecast_of)
QIV_EXPOSE(BusRoute, _bus_stop, bus_stops_of)
QIV_EXPOSE(BusRoute, _interpolation, milestones_of)
QIV_EXPOSE(AllHistories, _history, stores_of)
QIV_EXPOSE(AllHistories, _max_size, capacity_of)
QIV_EXPOSE(AllHistories, _strategy, strategy_of)
QIV_EXPOSE(History, _history, trajectories_of)
QIV_EXPOSE(History, _max_size, capacity_of)
QIV_EXPOSE(History, _strategy, strategy_of)
QIV_EXPOSE(AllVehicles, _vehicle, registered_of)
QIV_EXPOSE(Vehicle, _vehicleID, name_of)
QIV_EXPOSE(Vehicle, _vehicleJourneyRef, journey_ref_of)
QIV_EXPOSE(Vehicle, _updates, updates_of)
QIV_EXPOSE(Vehicle, _start_time, start_time_of)
QIV_EXPOSE(Vehicle, _last_size, last_size_of)
QIV_EXPOSE(VehicleJourneyRef, _value, value_of)
QIV_EXPOSE(VehicleJourneyRef, _string, string_of)
QIV_EXPOSE(Kernel, _normalizer, normalizer_of)

#undef QIV_EXPOSE

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_FIELDS_H
