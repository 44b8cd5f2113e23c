#include "report/scene.h"

#include <algorithm>

#include "engine/trip_clock.h"
#include "network/build_network.h"
#include "simulate/draw.h"
#include "simulate/fleet.h"
#include "simulate/fleet_message.h"
#include "simulate/town.h"

namespace report_bench {

using namespace qiv;

Scene make_scene() {
  TownOptions town;
  town.vehicles = vehicles;
  town.day = ServiceDate(std::chrono::year_month_day(std::chrono::year(2026), std::chrono::March,
                                                     std::chrono::day(2)));
  town.from = std::chrono::hours(8);
  town.length = std::chrono::hours(1);
  Scene scene;
  scene.network = std::make_shared<const Network>(build_network(make_town(town)));
  FleetOptions options;
  options.vehicles = vehicles;
  options.every = every;
  Fleet fleet(*scene.network, options);
  Instant now = scene.network->clock().zero(town.day) + town.from + std::chrono::minutes(5);
  for (std::size_t i = 0; i < messages_before + messages_measured; ++i, now += Seconds(1)) {
    auto& messages = i < messages_before ? scene.before : scene.measured;
    messages.push_back({now, fleet_message(fleet.reports(now), now).SerializeAsString()});
  }
  return scene;
}

std::vector<Trajectory> earlier(const Network& network, PatternIndex pattern, const Grid& grid) {
  const auto plan = std::find_if(network.trips().begin(), network.trips().end(),
                                 [&](const TripPlan& trip) { return trip.pattern == pattern; });
  if (plan == network.trips().end()) return {};
  const std::vector<int> scheduled_s = timetable_trajectory_s(grid, *plan);
  const Draw draw(7);
  std::vector<Trajectory> trips;
  for (std::size_t i = 0; i < earlier_trips; ++i) {
    const ServiceDate day(std::chrono::sys_days(std::chrono::year(2026) / 1 / 1) +
                          std::chrono::days(i));
    Trajectory trip;
    trip.trip = {plan->id, day, plan->start};
    trip.vehicle = VehicleId("earlier");
    trip.departed = network.clock().zero(day) + plan->departure();
    const double pace = 1.0 + draw.swing(Chance::driver, {pattern, i}) / 6.0;
    for (const int time_s : scheduled_s) {
      trip.times_s.push_back(static_cast<int>(pace * static_cast<double>(time_s)));
    }
    trip.finished = trip.departed + Seconds(trip.times_s.back());
    trips.push_back(std::move(trip));
  }
  return trips;
}

}  // namespace report_bench
