#ifndef QIV_TESTS_QIV_ALGO_TEST_JOURNEY_H
#define QIV_TESTS_QIV_ALGO_TEST_JOURNEY_H

#include <climits>
#include <string>
#include <vector>

#include "Journey.h"
#include "support/RecordedLog.h"

/// The six configuration values, each with a valid default.
struct Configuration {
  std::string method = "KernelRegression";
  std::vector<std::string> string_parameter = {};
  std::vector<double> double_parameter = {1.0};
  std::string mode = "arrival";
  unsigned int max_size_history = 10;
  std::string replacement_strategy = "ring";

  void apply_to(AllJourneys& journeys) const {
    journeys.initialize(method, string_parameter, double_parameter, mode, max_size_history,
                        replacement_strategy);
  }
};

class TestJourney : public Journey {
 public:
  explicit TestJourney(const Configuration& configuration = Configuration())
      : Journey(configuration.method, configuration.string_parameter,
                configuration.double_parameter, configuration.mode, configuration.max_size_history,
                configuration.replacement_strategy) {}
};

/// What `call` throws as an `Error`: its text; "accepted" when it throws nothing.
template <class Error, class Call>
std::string rejection(Call call) {
  try {
    call();
  } catch (Error& error) {
    return error.what();
  }
  return "accepted";
}

/// What the journey holds, as it shows in the log of a trajectory that is too short for anything:
/// "shape 7, 3 milestones, 2 trajectories". Changes nothing.
inline std::string held(Journey& journey, category_t category = 0) {
  RecordedLog log;
  const std::string text = rejection<invalid_history>(
      [&] { journey.read_history(0, journey.get_shapeVersionID(), category, {0}); });
  if (log.size() != 1) return text;
  const std::vector<RQLogger::Argument>& arguments = log.entries()[0].arguments;
  const unsigned long long milestones = arguments.size() == 4 ? arguments[3].natural : 0;
  return "shape " + std::to_string(arguments[0].integer) + ", " + std::to_string(milestones) +
         " milestones, " + std::to_string(arguments[1].natural) + " trajectories";
}

/// Whether the journey holds the vehicle. Changes nothing as long as the vehicle's last time stamp
/// is not the smallest.
inline bool holds(Journey& journey, const std::string& vehicleID) {
  return journey.is_served_by(vehicleID, LLONG_MIN);
}

/// Counts the bus stops of the route by a vehicle that has passed them all. For the end of a test:
/// the journey gets other milestones, another trajectory and that vehicle.
inline unsigned int count_bus_stops(Journey& journey) {
  RecordedLog log;
  const long long shape = journey.get_shapeVersionID();
  journey.remove_all_histories();
  journey.read_milestones(0, shape, {0.0, 1e6});
  journey.read_history(0, shape, 0, {0, 1000});
  Forecast* forecast =
      journey.update("counter", VehicleJourneyRef("count", ""), 0, shape, 0, 1e6, 1000, 0.0);
  return forecast->get_first_index();
}

/// The rows of a record: "stop 1000 [990, 1010]", or "from>to 100 [90, 110]" in travel mode.
inline std::vector<std::string> rows(Forecast& forecast) {
  std::vector<std::string> result;
  for (unsigned int i = 0; i < forecast.size(); ++i) {
    const Time& row = forecast[i];
    const std::string name = forecast.get_mode() == Forecast::arrival
                                 ? row.get_stopID()
                                 : row.get_stopID1() + ">" + row.get_stopID2();
    result.push_back(name + " " + std::to_string(row.get_time()) + " [" +
                     std::to_string(row.get_lower_confidence_bound()) + ", " +
                     std::to_string(row.get_upper_confidence_bound()) + "]");
  }
  return result;
}

#endif  // QIV_TESTS_QIV_ALGO_TEST_JOURNEY_H
