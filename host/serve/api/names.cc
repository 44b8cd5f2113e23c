#include "serve/api/names.h"

namespace qiv {

const char* api_name(VehicleStatus status) {
  switch (status) {
    case VehicleStatus::under_way:
      return "under_way";
    case VehicleStatus::waiting:
      return "waiting";
    case VehicleStatus::at_terminus:
      return "at_terminus";
    case VehicleStatus::standing:
      return "standing";
    case VehicleStatus::off_route:
      return "off_route";
    case VehicleStatus::detoured:
      return "detoured";
    case VehicleStatus::no_trip:
      return "no_trip";
    case VehicleStatus::unknown_trip:
      return "unknown_trip";
    case VehicleStatus::not_in_service:
      return "not_in_service";
    case VehicleStatus::stale:
      return "stale";
    case VehicleStatus::doubled:
      return "doubled";
  }
  return "unknown";
}

}  // namespace qiv
