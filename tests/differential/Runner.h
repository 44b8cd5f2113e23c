#ifndef QIV_TESTS_DIFFERENTIAL_RUNNER_H
#define QIV_TESTS_DIFFERENTIAL_RUNNER_H

#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "differential/Message.h"
#include "differential/Outcome.h"
#include "differential/fields.h"
#include "differential/sides.h"

namespace differential {

/// What is written to the standard error stream while it lives.
class CapturedErrors {
 public:
  CapturedErrors() : _before(std::cerr.rdbuf(_text.rdbuf())) {}
  ~CapturedErrors() { std::cerr.rdbuf(_before); }
  CapturedErrors(const CapturedErrors&) = delete;
  CapturedErrors& operator=(const CapturedErrors&) = delete;

  std::string text() const { return _text.str(); }

 private:
  std::ostringstream _text;
  std::streambuf* _before;
};

/// What `call` throws, in lines; nothing if it throws nothing.
template <class Side, class Call>
Outcome outcome_of_exceptions(Call call) {
  const auto one = [](const char* type, const char* what) {
    return Outcome{{std::string("throws ") + type + " " + quoted(what)}};
  };
  try {
    call();
  } catch (typename Side::invalid_milestones& error) {
    return one("invalid_milestones", error.what());
  } catch (typename Side::invalid_bus_stops& error) {
    return one("invalid_bus_stops", error.what());
  } catch (typename Side::invalid_history& error) {
    return one("invalid_history", error.what());
  } catch (typename Side::invalid_update& error) {
    Outcome result = one("invalid_update", error.what());
    result.push_back({"  detail " + quoted(error.detail())});
    result.push_back({"  base " + quoted(static_cast<const std::exception&>(error).what())});
    return result;
  } catch (const std::invalid_argument& error) {
    return one("std::invalid_argument", error.what());
  } catch (const std::exception& error) {
    return one(typeid(error) == typeid(std::exception) ? "std::exception" : typeid(error).name(),
               error.what());
  }
  return {};
}

/// Everything that a call logs or writes to the standard error stream, and what it throws.
template <class Side, class Call>
Outcome outcome_of(Call call) {
  Side::take_log();
  const CapturedErrors errors;
  Outcome outcome = outcome_of_exceptions<Side>(call);
  for (const support::LogEntry& entry : Side::take_log()) {
    std::ostringstream line;
    line << entry;
    outcome.push_back({"log " + quoted(line.str())});
  }
  if (!errors.text().empty()) outcome.push_back({"stderr " + quoted(errors.text())});
  return outcome;
}

template <class Forecast>
void add_rows(Forecast& forecast, Outcome& outcome) {
  for (unsigned int j = 0; j < forecast.size(); ++j) {
    const auto& row = forecast[j];
    const std::string name = "row " + std::to_string(j);
    const bool observed =
        j < forecast.get_first_index() && forecast.get_first_index() != 4294967295u;
    outcome.push_back({name + " " + quoted(row.get_stopID()) + " " + quoted(row.get_stopID1()) +
                       " " + quoted(row.get_stopID2())});
    outcome.push_back({name + " time " + std::to_string(row.get_time()) + " from " +
                           std::to_string(row.get_lower_confidence_bound()) + " to " +
                           std::to_string(row.get_upper_confidence_bound()),
                       !observed});
    outcome.push_back({name + " mean " + number(row.get_conditional_mean()) + " var " +
                           number(row.get_conditional_var()),
                       true});
  }
}

template <class Forecast>
Outcome record_outcome(Forecast& forecast) {
  Outcome outcome = {{"mode " + std::to_string(static_cast<int>(forecast.get_mode())) + " first " +
                      std::to_string(forecast.get_first_index()) + " quality " +
                      number(forecast.get_quality()) + " confidence " +
                      number(forecast.get_confidence()) + " rows " +
                      std::to_string(forecast.size())}};
  add_rows(forecast, outcome);
  return outcome;
}

/// One side's `AllJourneys`, fed with messages.
template <class Side>
class Runner {
 public:
  Outcome apply(const Message& message) {
    Outcome result;
    Outcome outcome =
        outcome_of<Side>([&] { std::visit([&](const auto& m) { call(m, result); }, message); });
    outcome.insert(outcome.end(), result.begin(), result.end());
    return outcome;
  }

  const typename Side::AllJourneys& journeys() const { return _journeys; }

 private:
  void call(const Initialize& m, Outcome&) {
    _journeys.initialize(m.method, {"unused"}, m.parameters, m.mode, m.capacity, m.strategy);
  }
  void call(const ReadMilestones& m, Outcome&) {
    _journeys.read_milestones(m.journey, m.version.time, m.version.id, m.offsets);
  }
  void call(const ReadBusStops& m, Outcome&) {
    _journeys.read_bus_stops(m.journey, m.version.time, m.version.id, m.names, m.offsets);
  }
  void call(const ReadHistory& m, Outcome&) {
    _journeys.read_history(m.journey, m.version.time, m.version.id, m.category, m.times);
  }
  void call(const Update& m, Outcome& result) {
    typename Side::Forecast* forecast =
        _journeys.update(m.journey, m.vehicle, typename Side::VehicleJourneyRef(m.trip, m.frame),
                         m.version.time, m.version.id, m.category, m.offset, m.time, m.max_error);
    if (forecast == nullptr) {
      result = {{"null"}};
      return;
    }
    const auto& journey = *journeys_of(_journeys).at(m.journey);
    result = {{&forecast_of(journey) == forecast ? "the journey's record" : "a strange record"}};
    const Outcome record = record_outcome(*forecast);
    result.insert(result.end(), record.begin(), record.end());
  }
  void call(const RemoveInactiveVehicles&, Outcome&) { _journeys.remove_inactive_vehicles(); }

  typename Side::AllJourneys _journeys;
};

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_RUNNER_H
