// The smallest host: one journey pattern, its reference data, a handful of reports of one bus.
// Offsets are metres along the route, times are seconds.

#include <iostream>
#include <string>
#include <vector>

#include "Journey.h"

namespace {

const char* const pattern = "line 7, outbound";
const unsigned long long shape_time = 1;
const long long shape_id = 42;
const category_t weekday_morning = 0;

void load(AllJourneys& journeys) {
  journeys.initialize("KernelRegression", {}, {100.0}, "arrival", 200, "ring");
  journeys.read_milestones(pattern, shape_time, shape_id, {0, 500, 1000, 1500, 2000, 2500, 3000});
  journeys.read_bus_stops(pattern, shape_time, shape_id, {"Station", "Market", "Park", "Harbour"},
                          {0, 800, 1900, 3000});
  // Four earlier trips: when each of them passed the milestones, in seconds after departure.
  const std::vector<std::vector<int>> trips = {{0, 60, 130, 190, 250, 320, 390},
                                               {0, 65, 140, 210, 270, 345, 420},
                                               {0, 80, 170, 260, 345, 430, 520},
                                               {0, 62, 131, 195, 262, 330, 402}};
  for (const std::vector<int>& trip : trips) {
    journeys.read_history(pattern, shape_time, shape_id, weekday_morning, trip);
  }
}

void print(Forecast& forecast, double offset, long long now) {
  std::cout << "at " << offset << " m, " << now << " s:\n";
  for (unsigned int j = forecast.get_first_index(); j < forecast.size(); ++j) {
    const Time& row = forecast[j];
    std::cout << "  " << row.get_stopID() << " in " << row.get_time() - now << " s ("
              << row.get_lower_confidence_bound() - now << " to "
              << row.get_upper_confidence_bound() - now << ")\n";
  }
}

void report(AllJourneys& journeys, double offset, long long now) {
  try {
    Forecast* const forecast =
        journeys.update(pattern, "bus 1204", VehicleJourneyRef("trip 7-0815", "2026-03-02"),
                        shape_time, shape_id, weekday_morning, offset, now, 20.0);
    // Null, or a confidence of 0: there is no forecast to read.
    if (forecast != nullptr && forecast->get_confidence() > 0.0) print(*forecast, offset, now);
  } catch (invalid_update& error) {
    std::cout << "rejected: " << error.what();
  }
}

}  // namespace

int main() {
  AllJourneys journeys;
  load(journeys);
  report(journeys, 100, 8015);
  report(journeys, 700, 8112);
  report(journeys, 1300, 8221);
  report(journeys, 900, 8230);  // 400 m back: contradicts what was reported before
  report(journeys, 2100, 8357);
}
