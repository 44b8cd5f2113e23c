// An agency's host: takes the library's log, and stays up whatever data it is given.

#include <Journey.h>
#include <RQLogger.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

const char* const pattern = "line 3, inbound";
const unsigned long long shape_time = 20260302;
const long long shape_id = 5;
const category_t weekday = 1;
const std::vector<double> milestones = {0, 1000, 2000};
const std::vector<std::string> stops = {"Mill", "Bridge", "Castle"};

void print_entry(const RQLogger::Record& entry) {
  std::cout << "log: " << (entry.level == RQLogger::RQLogLevel::error ? "error " : "info ")
            << entry.function_name << ' ' << entry.identifier << " with " << entry.arguments.size()
            << " arguments\n";
}

void load(AllJourneys& journeys) {
  journeys.read_milestones(pattern, shape_time, shape_id, milestones);
  journeys.read_bus_stops(pattern, shape_time, shape_id, stops, {0, 900, 2000});
  const std::vector<std::vector<int>> trips = {{0, 100, 220}, {0, 120, 240}, {0, 110, 230}};
  for (const std::vector<int>& trip : trips) {
    journeys.read_history(pattern, shape_time, shape_id, weekday, trip);
  }
}

void load_what_cannot_be_taken(AllJourneys& journeys) {
  try {
    journeys.read_milestones(pattern, shape_time, shape_id, {0, 1000, 1500});
  } catch (invalid_milestones& error) {
    std::cout << "milestones: " << error.what();
  }
  try {
    journeys.read_bus_stops(pattern, shape_time, shape_id, stops, {0, 900, 2100});
  } catch (invalid_bus_stops& error) {
    std::cout << "bus stops: " << error.what();
  }
  try {
    journeys.read_history(pattern, shape_time, shape_id, weekday, {0, 100});
  } catch (invalid_history& error) {
    std::cout << "history: " << error.what();
  }
}

void report(AllJourneys& journeys, double offset, long long now) {
  try {
    Forecast* const forecast =
        journeys.update(pattern, "tram 31", VehicleJourneyRef("3-0915", "2026-03-02"), shape_time,
                        shape_id, weekday, offset, now, 10.0);
    if (forecast == nullptr || forecast->get_confidence() <= 0.0) return;
    for (unsigned int row = forecast->get_first_index(); row < forecast->size(); ++row) {
      const Time& arrival = (*forecast)[row];
      std::cout << "from " << offset << " m: " << arrival.get_stopID() << " at "
                << arrival.get_time() << " (" << arrival.get_lower_confidence_bound() << " to "
                << arrival.get_upper_confidence_bound() << ")\n";
    }
  } catch (invalid_update& error) {
    std::cout << "report: " << error.what();
  }
}

}  // namespace

int main() {
  RQLogger::SetSink(print_entry);
  AllJourneys journeys;
  journeys.initialize("KernelRegression", {}, {100.0}, "arrival", 50, "ring");
  load(journeys);
  load_what_cannot_be_taken(journeys);
  report(journeys, 100, 33311);
  report(journeys, 1000, 33408);
  report(journeys, 500, 33420);
  RQLogger::SetSink(nullptr);
}
