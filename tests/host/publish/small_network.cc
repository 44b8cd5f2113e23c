#include "host/publish/small_network.h"

#include "network/build_network.h"

namespace qiv::testing {
namespace {

constexpr Seconds minute(60);

StopTime stop_time(std::uint32_t stop, std::uint32_t sequence, Seconds arrival, Seconds departure) {
  StopTime time;
  time.stop = stop;
  time.sequence = sequence;
  time.arrival = arrival;
  time.departure = departure;
  return time;
}

Trip trip(const std::string& id, Seconds start) {
  Trip trip;
  trip.id = TripId(id);
  trip.service = ServiceId("weekday");
  trip.direction = 1;
  trip.stop_times = {stop_time(0, 1, start, start),
                     stop_time(1, 2, start + 5 * minute, start + 6 * minute),
                     stop_time(2, 5, start + 15 * minute, start + 15 * minute),
                     stop_time(3, 6, start + 25 * minute, start + 25 * minute)};
  return trip;
}

ServiceDate october(unsigned day) {
  return ServiceDate(std::chrono::year_month_day(std::chrono::year(2025), std::chrono::October,
                                                 std::chrono::day(day)));
}

}  // namespace

Network small_network(const std::string& first_trip) {
  Timetable timetable;
  timetable.agencies = {{AgencyId("A"), "Agency", "Europe/Dublin"}};
  timetable.stops = {{StopId("TOWN"), "Town Hall", {53.30, -6.20}},
                     {StopId("MARKET"), "Market", {53.31, -6.20}},
                     {StopId("PARK"), "Park \"West\"", {53.33, -6.20}},
                     {StopId("HARBOUR"), "Harbour", {53.35, -6.20}}};
  timetable.routes = {{RouteId("L1"), "1", "Town - Harbour", 3, ""}};
  timetable.trips = {trip(first_trip, Seconds(8 * 3600)), trip("T2", Seconds(25 * 3600)),
                     trip("R", Seconds(0))};
  timetable.frequencies = {{2, Seconds(10 * 3600), Seconds(11 * 3600), 20 * minute}};
  Service service;
  service.weekdays = {true, true, true, true, true, false, false};
  service.first = october(1);
  service.last = october(31);
  timetable.services.emplace(ServiceId("weekday"), service);
  timetable.version = "autumn";
  return build_network(timetable);
}

Instant at(const std::string& time) {
  // Summer time in Dublin: local midnight is 23:00 UTC of the day before.
  return Instant(first_of_october.days()) - Seconds(3600) + parse_time_of_day(time).value();
}

TripForecast forecast_of(const Network& network, const std::string& trip, const std::string& made,
                         const std::vector<std::string>& observed,
                         const std::vector<std::string>& forecast) {
  TripForecast result;
  result.trip = {TripId(trip), first_of_october, Seconds(0)};
  const TripPlan& plan = *network.nearest_repetition(result.trip.trip, Seconds(0));
  result.trip.start = plan.start;
  const JourneyPattern& pattern = network.pattern(plan.pattern);
  result.vehicle = VehicleId("V7");
  result.pattern = pattern.ref;
  result.state = TripState::under_way;
  result.made = at(made);
  result.position_time = at(made) - Seconds(15);
  for (std::size_t i = 0; i < pattern.stops.size(); ++i) {
    StopForecast stop;
    stop.stop = pattern.stops[i].stop;
    stop.stop_sequence = plan.call(i).sequence;
    stop.observed = i < observed.size();
    const Instant time = at(stop.observed ? observed[i] : forecast.at(i - observed.size()));
    const Seconds half = stop.observed ? Seconds(0) : minute;
    stop.arrival = {time, time - half, time + half, time - 2 * half, time + 2 * half};
    stop.departure = time + Seconds(20);
    stop.library_lower = time - half / 2;
    stop.library_upper = time + half / 2;
    result.stops.edit().push_back(stop);
  }
  return result;
}

TripForecast legs_of(const Network& network, const std::string& trip, const std::string& made,
                     std::size_t observed, const std::vector<long>& travel_s) {
  TripForecast result = forecast_of(network, trip, made, {}, std::vector<std::string>(4, made));
  const std::vector<StopForecast> stops = std::move(result.stops);
  result.stops = {};
  for (std::size_t j = 0; j < travel_s.size(); ++j) {
    LegForecast leg;
    leg.from = stops[j].stop;
    leg.to = stops[j + 1].stop;
    leg.from_sequence = stops[j].stop_sequence;
    leg.to_sequence = stops[j + 1].stop_sequence;
    leg.observed = j < observed;
    if (j == observed) leg.elapsed = Seconds(40);
    leg.travel_time = Seconds(travel_s[j]);
    const Seconds half(leg.observed ? 0 : 15);
    leg.library_lower = leg.travel_time - half;
    leg.library_upper = leg.travel_time + half;
    result.legs.push_back(leg);
  }
  return result;
}

}  // namespace qiv::testing
