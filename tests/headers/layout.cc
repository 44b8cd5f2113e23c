// Prints the size of every public class and checks that its members lie where their stated order
// puts them: against a structure of the same members, and by finding the bytes of a known value
// there. Built as every standard from C++11 on; all must print the same.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BusRoute.h"
#include "Forecast.h"
#include "ForecastAlgorithm.h"
#include "History.h"
#include "Journey.h"
#include "KernelRegression.h"
#include "Vehicle.h"

namespace {

// The members in their stated order, under their names without the underscore.

struct BusStopLocationMembers {
  double offset;
  std::string stopID;
};

struct BusRouteMembers {
  const Journey* journey;
  std::deque<BusStopLocation> bus_stop;
  std::deque<double> interpolation;
  bool ordered;
  std::vector<double> offset;
};

struct HistoryMembers {
  std::deque<std::vector<int> > history;
  unsigned int max_size;
  History::Replace strategy;
};

struct AllHistoriesMembers {
  std::map<category_t, History*> history;
  unsigned int max_size;
  History::Replace strategy;
};

struct PositionMembers {
  double offset;
  long long time;
};

struct VehicleJourneyRefMembers {
  std::pair<std::string, std::string> value;
  std::string string;
};

struct VehicleMembers {
  std::string vehicleID;
  VehicleJourneyRef vehicleJourneyRef;
  std::deque<Position> updates;
  long long start_time;
  unsigned int last_size;
};

struct AllVehiclesMembers {
  std::map<std::string, Vehicle*> vehicle;
  std::size_t nb_sweeps;
};

struct InvalidUpdateMembers : std::exception {
  invalid_update::Cause cause;
  std::string target;
  double offset;
  long long time;
  double max_error;
  std::deque<Position>* updates;
  std::string error_msg;
  std::string detail_msg;
};

struct TimeMembers {
  long long time;
  long long lower_confidence_bound;
  long long upper_confidence_bound;
  double conditional_var;
  double conditional_mean;
  std::string stopID;
  std::string stopID1;
  std::string stopID2;
};

struct ForecastMembers {
  std::vector<Time> forecast;
  Forecast::Mode mode;
  double quality;
  double confidence;
  unsigned int first_index;
};

struct ForecastAlgorithmMembers {
  virtual ~ForecastAlgorithmMembers() {}
  Forecast* forecast;
  const BusRoute* bus_route;
};

struct KernelMembers {
  std::vector<double> data;
  double normalizer;
};

struct KernelRegressionMembers : ForecastAlgorithmMembers {
  double bandwidth;
};

struct JourneyMembers {
  unsigned long long shapeVersionTime;
  long long shapeVersionID;
  BusRouteMembers bus_route;
  AllHistoriesMembers history;
  AllVehiclesMembers vehicle;
  ForecastMembers forecast;
  ForecastAlgorithm* forecast_algorithm;
};

struct AllJourneysMembers {
  std::string forecast_method;
  std::vector<std::string> string_parameter;
  std::vector<double> double_parameter;
  std::string forecast_mode;
  unsigned int max_size_history;
  std::string replacement_strategy;
  std::map<std::string, Journey*> journey;
};

int failures = 0;

#if defined(__GNUC__)
// The structures with a virtual table are no standard-layout types; these compilers know their
// offsets all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif

template <class Class, class Members>
void print_class(const char* name) {
  std::printf("%s: size %zu, alignment %zu\n", name, sizeof(Class), alignof(Class));
  if (sizeof(Class) < sizeof(Members) || alignof(Class) != alignof(Members)) {
    std::printf("  but its members alone take %zu\n", sizeof(Members));
    ++failures;
  }
}

template <class Object, class Value>
void check(const char* name, const Object& object, std::size_t offset, const Value& value) {
  const char* const place = reinterpret_cast<const char*>(&object) + offset;
  const bool found = std::memcmp(place, &value, sizeof value) == 0;
  std::printf("  %s at %zu%s\n", name, offset, found ? "" : " is not there");
  if (!found) ++failures;
}

/// A string's first word points to its characters: whatever is stored there tells where it lies.
const char* characters(const std::string& text) {
  return text.data();
}

void check_history_and_positions() {
  print_class<History, HistoryMembers>("History");
  const History history(0x1234567u, History::ring);
  check("_max_size", history, offsetof(HistoryMembers, max_size), 0x1234567u);
  check("_strategy", history, offsetof(HistoryMembers, strategy), History::ring);

  print_class<AllHistories, AllHistoriesMembers>("AllHistories");
  AllHistories histories;
  histories.initialize(0x1234567u, "ring");
  check("_max_size", histories, offsetof(AllHistoriesMembers, max_size), 0x1234567u);
  check("_strategy", histories, offsetof(AllHistoriesMembers, strategy), History::ring);

  print_class<Position, PositionMembers>("Position");
  const Position position = {2.5, 0x123456789abcLL};
  check("offset", position, offsetof(PositionMembers, offset), 2.5);
  check("time", position, offsetof(PositionMembers, time), 0x123456789abcLL);

  print_class<BusStopLocation, BusStopLocationMembers>("BusStopLocation");
  BusStopLocation stop;
  stop.offset = 2.5;
  check("offset", stop, offsetof(BusStopLocationMembers, offset), 2.5);
  check("stopID", stop, offsetof(BusStopLocationMembers, stopID), characters(stop.stopID));
}

void check_vehicles() {
  print_class<VehicleJourneyRef, VehicleJourneyRefMembers>("VehicleJourneyRef");
  const VehicleJourneyRef trip("T17", "");
  check("_string", trip, offsetof(VehicleJourneyRefMembers, string), characters(trip.get_string()));

  print_class<Vehicle, VehicleMembers>("Vehicle");
  Vehicle vehicle("V1");
  vehicle.set_start_time(0x123456789abcLL);
  vehicle.update_position(VehicleJourneyRef(), 1.0, 1, 0.0);
  vehicle.update_position(VehicleJourneyRef(), 2.0, 2, 0.0);
  vehicle.is_alive();
  check("_start_time", vehicle, offsetof(VehicleMembers, start_time), 0x123456789abcLL);
  check("_last_size", vehicle, offsetof(VehicleMembers, last_size), 2u);

  print_class<AllVehicles, AllVehiclesMembers>("AllVehicles");
  print_class<TimeComparer, TimeComparer>("TimeComparer");

  print_class<invalid_update, InvalidUpdateMembers>("invalid_update");
  std::deque<Position> updates;
  invalid_update error(invalid_update::decreasing_offsets, "V1", 2.5, 0x123456789abcLL, 3.5,
                       &updates);
  check("_cause", error, offsetof(InvalidUpdateMembers, cause), invalid_update::decreasing_offsets);
  check("_offset", error, offsetof(InvalidUpdateMembers, offset), 2.5);
  check("_time", error, offsetof(InvalidUpdateMembers, time), 0x123456789abcLL);
  check("_max_error", error, offsetof(InvalidUpdateMembers, max_error), 3.5);
  check("_updates", error, offsetof(InvalidUpdateMembers, updates), &updates);
  const char* const what = error.what();
  check("_error_msg", error, offsetof(InvalidUpdateMembers, error_msg), what);
  const char* const detail = error.detail();
  check("_detail_msg", error, offsetof(InvalidUpdateMembers, detail_msg), detail);
}

void check_forecast() {
  print_class<Time, TimeMembers>("Time");
  Time time;
  time.set_time(0x123456789abcLL);
  time.set_lower_confidence_bound(0x223456789abcLL);
  time.set_upper_confidence_bound(0x323456789abcLL);
  time.set_conditional_var(2.5);
  time.set_conditional_mean(3.5);
  check("_time", time, offsetof(TimeMembers, time), 0x123456789abcLL);
  check("_lower_confidence_bound", time, offsetof(TimeMembers, lower_confidence_bound),
        0x223456789abcLL);
  check("_upper_confidence_bound", time, offsetof(TimeMembers, upper_confidence_bound),
        0x323456789abcLL);
  check("_conditional_var", time, offsetof(TimeMembers, conditional_var), 2.5);
  check("_conditional_mean", time, offsetof(TimeMembers, conditional_mean), 3.5);
  check("_stopID", time, offsetof(TimeMembers, stopID), characters(time.get_stopID()));
  check("_stopID1", time, offsetof(TimeMembers, stopID1), characters(time.get_stopID1()));
  check("_stopID2", time, offsetof(TimeMembers, stopID2), characters(time.get_stopID2()));

  print_class<Forecast, ForecastMembers>("Forecast");
  Forecast forecast;
  forecast.initialize("travel");
  forecast.set_quality(2.5);
  forecast.set_confidence(3.5);
  forecast.set_first_index(0x1234567u);
  check("_mode", forecast, offsetof(ForecastMembers, mode), Forecast::travel);
  check("_quality", forecast, offsetof(ForecastMembers, quality), 2.5);
  check("_confidence", forecast, offsetof(ForecastMembers, confidence), 3.5);
  check("_first_index", forecast, offsetof(ForecastMembers, first_index), 0x1234567u);
}

void check_algorithms() {
  print_class<Kernel, KernelMembers>("Kernel");
  Kernel kernel(2, 0.0);
  kernel.set_normalizer(2.5);
  check("_data", kernel, offsetof(KernelMembers, data), &kernel[0]);
  check("_normalizer", kernel, offsetof(KernelMembers, normalizer), 2.5);

  print_class<ForecastAlgorithm, ForecastAlgorithmMembers>("ForecastAlgorithm");
  print_class<KernelRegression, KernelRegressionMembers>("KernelRegression");
  Forecast forecast;
  const BusRoute* const route = nullptr;
  const KernelRegression algorithm(&forecast, route, std::vector<std::string>(),
                                   std::vector<double>(1, 2.5));
  check("_forecast", algorithm, offsetof(ForecastAlgorithmMembers, forecast), &forecast);
  check("_bus_route", algorithm, offsetof(ForecastAlgorithmMembers, bus_route), route);
  check("_bandwidth", algorithm, offsetof(KernelRegressionMembers, bandwidth), 2.5);
}

void check_journeys() {
  print_class<Journey, JourneyMembers>("Journey");
  Journey journey("KernelRegression", std::vector<std::string>(), std::vector<double>(1, 1.0),
                  "travel", 0x1234567u, "ring");
  journey.read_milestones(0x123456789abcULL, 0x223456789abcLL, std::vector<double>{0.0, 1.0});
  check("_shapeVersionTime", journey, offsetof(JourneyMembers, shapeVersionTime),
        0x123456789abcULL);
  check("_shapeVersionID", journey, offsetof(JourneyMembers, shapeVersionID), 0x223456789abcLL);
  const Journey* const itself = &journey;
  check("_bus_route", journey, offsetof(JourneyMembers, bus_route.journey), itself);
  check("_history", journey, offsetof(JourneyMembers, history.max_size), 0x1234567u);
  check("_forecast", journey, offsetof(JourneyMembers, forecast.mode), Forecast::travel);

  print_class<BusRoute, BusRouteMembers>("BusRoute");
  const BusRoute route(journey);
  check("_journey", route, offsetof(BusRouteMembers, journey), itself);

  print_class<AllJourneys, AllJourneysMembers>("AllJourneys");
  AllJourneys journeys;
  journeys.initialize("KernelRegression", std::vector<std::string>(), std::vector<double>(1, 1.0),
                      "travel", 0x1234567u, "ring");
  check("_max_size_history", journeys, offsetof(AllJourneysMembers, max_size_history), 0x1234567u);

  std::printf("invalid_milestones: size %zu\n", sizeof(invalid_milestones));
  std::printf("invalid_bus_stops: size %zu\n", sizeof(invalid_bus_stops));
  std::printf("invalid_history: size %zu\n", sizeof(invalid_history));
  std::printf("category_t: size %zu\n", sizeof(category_t));
}

}  // namespace

int main() {
  check_history_and_positions();
  check_vehicles();
  check_forecast();
  check_algorithms();
  check_journeys();
  return failures == 0 ? 0 : 1;
}
