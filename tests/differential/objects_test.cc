// The classes one by one, under arbitrary calls: library and twin must tell the same story.

#include <ostream>

#include "differential/Runner.h"
#include "differential/generators.h"
#include "differential/property.h"
#include "differential/state.h"

namespace differential {
namespace {

typedef std::vector<std::string> Story;

void tell(Story& story, const Outcome& outcome) {
  for (const OutcomeLine& line : outcome) story.push_back(line.text);
}

template <class Side>
struct Owner {
  Owner() : journey("KernelRegression", {}, {1.0}, "arrival", 3, "ring") {
    journey.read_milestones(5, 42, {0.0, 1.0});
  }
  typename Side::Journey journey;
};

struct RouteCase {
  std::vector<double> milestones;
  std::vector<double> stops;
  std::vector<std::string> names;
  std::vector<bool> flags;
  std::vector<double> queries;
  double max_error;
};

template <class Side>
void tell_route(const typename Side::BusRoute& route, const RouteCase& c, Story& story) {
  story.push_back(
      route_text(route) + number(route.last_milestone_offset()) + " " +
      number(route.last_bus_stop_offset()) + " " + std::to_string(route.get_nb_milestones()) + " " +
      std::to_string(route.get_nb_bus_stops()) + " " +
      std::to_string(route.milestones_is_initialized()) +
      std::to_string(route.bus_stops_is_initialized()) + std::to_string(route.is_initialized()) +
      std::to_string(route.identical_milestones(c.milestones)) +
      std::to_string(route.identical_milestones(c.queries)) +
      std::to_string(route.is_compatible(2)));
  for (const double query : c.queries) {
    unsigned int index = 77;
    double linear = -7.0;
    tell(story,
         outcome_of<Side>([&] { route.get_interpolation_parameters(query, index, linear); }));
    story.push_back(std::to_string(index) + " " + number(linear) + " " +
                    std::to_string(route.is_in_range(query)) +
                    std::to_string(route.is_in_termination_stop(query, c.max_error)));
  }
}

template <class Side>
Story route_story(const RouteCase& c) {
  Story story;
  Owner<Side> owner;
  typename Side::BusRoute route(owner.journey);
  tell_route<Side>(route, c, story);
  route.read_bus_stops(c.stops, c.names);
  tell_route<Side>(route, c, story);
  route.read_milestones(c.milestones);
  tell_route<Side>(route, c, story);
  route.remove_bus_stops();
  tell_route<Side>(route, c, story);
  route.read(c.milestones, c.flags, c.names);
  tell_route<Side>(route, c, story);
  route.remove_milestones();
  tell_route<Side>(route, c, story);
  return story;
}

template <class Case>
void expect_same_story(const Case& c, Story (*twin)(const Case&), Story (*library)(const Case&)) {
  const std::string difference = differential::difference(twin(c), library(c));
  if (!difference.empty()) RC_FAIL(difference);
}

RouteCase draw_route(const rc::Gen<std::vector<double>>& milestones) {
  return {*milestones.as("milestones"),         *list_of(any_offset()).as("stops"),
          *list_of(any_name()).as("names"),     *list_of(rc::gen::arbitrary<bool>()).as("flags"),
          *list_of(any_offset()).as("queries"), *any_offset().as("max_error")};
}

TEST(Objects, RoutesThatAJourneyAccepts) {
  check(1500, [] {
    expect_same_story<RouteCase>(draw_route(route_offsets()), route_story<Twin>,
                                 route_story<Library>);
  });
}

TEST(Objects, RoutesInDisorder) {
  check(1500, [] {
    expect_same_story<RouteCase>(draw_route(list_of(any_offset())), route_story<Twin>,
                                 route_story<Library>);
  });
}

TEST(Objects, RoutesTestedForConsistency) {
  check(300, [] {
    const auto stops = *rc::gen::nonEmpty(list_of(tame_offset()));
    const auto milestones = *rc::gen::nonEmpty(list_of(tame_offset()));
    const auto list = *rc::gen::nonEmpty(list_of(tame_offset()));
    const auto verdicts = [&](auto& owner, auto& route) {
      static_cast<void>(owner);
      std::string result = std::to_string(route.is_consistent_with_milestones(list)) +
                           std::to_string(route.is_consistent_with_bus_stops(list));
      route.read_milestones(milestones);
      route.read_bus_stops(stops, {});
      return result + std::to_string(route.is_consistent_with_milestones(list)) +
             std::to_string(route.is_consistent_with_bus_stops(list));
    };
    Owner<Twin> twin_owner;
    Owner<Library> library_owner;
    twin::BusRoute twin_route(twin_owner.journey);
    ::BusRoute library_route(library_owner.journey);
    RC_ASSERT(verdicts(twin_owner, twin_route) == verdicts(library_owner, library_route));
  });
}

struct HistoryCase {
  unsigned int capacity;
  bool ring;
  std::vector<std::vector<int>> trajectories;
  double linear;
};

template <class Side>
Story history_story(const HistoryCase& c) {
  using History = typename Side::History;
  std::srand(1);
  History history(c.capacity, c.ring ? History::ring : History::random);
  Story story;
  for (const std::vector<int>& trajectory : c.trajectories) {
    history.push_back(trajectory);
    std::string line = history_text(history) + " size " + std::to_string(history.size()) + " of " +
                       std::to_string(history.max_size()) + " length " +
                       std::to_string(history.length());
    for (unsigned int n = 0; n < 4; ++n) line += " " + std::to_string(history.is_compatible(n));
    for (unsigned int k = 0; k < history.size(); ++k) {
      for (unsigned int index = 0; index < history[k].size(); ++index) {
        line += " " + number(history.interpolate(k, index, c.linear));
      }
    }
    story.push_back(line);
  }
  story.push_back(std::to_string(std::rand()));
  return story;
}

TEST(Objects, Histories) {
  check(1000, [] {
    const HistoryCase c = {
        *rc::gen::inRange(0u, 5u).as("capacity"), *rc::gen::arbitrary<bool>().as("ring"),
        *list_of(list_of(any_time())).as("trajectories"), *any_offset().as("linear")};
    expect_same_story<HistoryCase>(c, history_story<Twin>, history_story<Library>);
  });
}

struct StoreCall {
  int kind;  ///< 0: initialize, 1: remove all, else: push
  unsigned int capacity;
  std::string strategy;
  std::int16_t category;
  std::vector<int> trajectory;
};

void showValue(const StoreCall& c, std::ostream& out) {
  out << c.kind << " " << c.capacity << " " << c.strategy << " " << c.category << " ";
  rc::show(c.trajectory, out);
}

rc::Gen<StoreCall> store_call() {
  return rc::gen::construct<StoreCall>(
      rc::gen::inRange(0, 12), rc::gen::inRange(0u, 4u),
      rc::gen::element<std::string>("ring", "random", "", "Ring", "random "),
      rc::gen::element<std::int16_t>(0, 1, -1, 32767, -32768), list_of(any_time()));
}

template <class Side>
Story stores_story(const std::vector<StoreCall>& calls) {
  std::srand(1);
  typename Side::AllHistories histories;
  histories.initialize(2, "ring");
  Story story;
  for (const StoreCall& c : calls) {
    tell(story, outcome_of<Side>([&] {
           if (c.kind == 0) {
             histories.initialize(c.capacity, c.strategy);
           } else if (c.kind == 1) {
             histories.remove_all_histories();
           } else {
             histories.push_back(c.category, c.trajectory);
           }
         }));
    story.push_back(histories_text(histories) + std::to_string(capacity_of(histories)) + " " +
                    std::to_string(static_cast<int>(strategy_of(histories))) + " " +
                    std::to_string(histories.is_initialized()) + " " +
                    std::to_string(histories.length()) + " " +
                    std::to_string(histories.is_compatible(2)) + " " +
                    std::to_string(histories[c.category] == nullptr));
  }
  return story;
}

TEST(Objects, HistoriesByCategory) {
  check(1000, [] {
    expect_same_story<std::vector<StoreCall>>(*list_of(store_call()), stores_story<Twin>,
                                              stores_story<Library>);
  });
}

struct Report {
  int kind;  ///< 0: is_alive, 1: set_start_time, else: update_position
  std::string trip;
  std::string frame;
  double offset;
  long long time;
  double max_error;
};

void showValue(const Report& r, std::ostream& out) {
  out << r.kind << " " << r.trip << "/" << r.frame << " offset " << support::exact(r.offset)
      << " time " << r.time << " max_error " << support::exact(r.max_error);
}

rc::Gen<Report> report() {
  return rc::gen::construct<Report>(
      rc::gen::inRange(0, 20), rc::gen::weightedElement<std::string>({{9, "T"}, {1, "U"}, {1, ""}}),
      rc::gen::weightedElement<std::string>({{9, ""}, {1, "D"}}), any_offset(), any_stamp(),
      any_offset());
}

template <class Side>
void tell_vehicle(const typename Side::Vehicle& vehicle, double x, Story& story) {
  std::string line = vehicle_text(vehicle) + " size " + std::to_string(vehicle.size()) + " last " +
                     std::to_string(vehicle.get_last_time()) + "@" +
                     support::exact(vehicle.get_last_offset()) + " start " +
                     std::to_string(vehicle.get_start_time());
  for (unsigned int i = 0; i < vehicle.size(); ++i) {
    line += " " + std::to_string(vehicle.get_time(i)) + "@" + number(vehicle.get_offset(i));
    if (i > 0) line += " " + number(vehicle.interpolate(i, x));
  }
  story.push_back(line);
}

template <class Side>
Story vehicle_story(const std::vector<Report>& reports) {
  typename Side::Vehicle vehicle("bus 1");
  Story story;
  for (const Report& r : reports) {
    tell(story, outcome_of<Side>([&] {
           if (r.kind == 0) {
             story.push_back(std::to_string(vehicle.is_alive()));
           } else if (r.kind == 1) {
             vehicle.set_start_time(r.time);
           } else {
             const typename Side::VehicleJourneyRef ref(r.trip, r.frame);
             vehicle.update_position(ref, r.offset, r.time, r.max_error);
           }
         }));
    tell_vehicle<Side>(vehicle, r.max_error, story);
  }
  return story;
}

TEST(Objects, Vehicles) {
  check(4000, [] {
    expect_same_story<std::vector<Report>>(
        *rc::gen::scale(0.4, rc::gen::container<std::vector<Report>>(report())),
        vehicle_story<Twin>, vehicle_story<Library>);
  });
}

template <class Side>
Story registry_story(const std::vector<Report>& reports) {
  typename Side::AllVehicles vehicles;
  Story story;
  for (const Report& r : reports) {
    const typename Side::VehicleJourneyRef ref("T", r.frame);
    tell(story, outcome_of<Side>([&] {
           if (r.kind == 0) {
             vehicles.remove_all_vehicles();
           } else if (r.kind < 4) {
             vehicles.remove_inactive_vehicles();
           } else if (r.kind < 6) {
             vehicles.remove_vehicle(r.trip);
           } else if (r.kind > 17 || vehicles[r.trip] == nullptr) {
             vehicles.initialize(r.trip, ref, r.offset, r.time, r.max_error);
           } else {
             vehicles[r.trip]->update_position(ref, r.offset, r.time, r.max_error);
           }
         }));
    story.push_back(vehicles_text(vehicles));
  }
  return story;
}

TEST(Objects, VehicleRegistries) {
  check(1000, [] {
    expect_same_story<std::vector<Report>>(
        *rc::gen::scale(0.4, rc::gen::container<std::vector<Report>>(report())),
        registry_story<Twin>, registry_story<Library>);
  });
}

typedef std::vector<std::string> Names;

template <class Side>
Story reference_story(const Names& names) {
  using Ref = typename Side::VehicleJourneyRef;
  const Ref left(names[0], names[1]);
  const Ref right(names[2], names[3]);
  Ref assigned;
  Story story = {left.get_string(), right.get_string(), assigned.get_string(),
                 std::to_string(left == right) + std::to_string(left != right) +
                     std::to_string(assigned == right)};
  const Ref& itself = assigned = right;
  assigned = itself;
  story.push_back(value_of(assigned).first + "/" + value_of(assigned).second + "/" +
                  assigned.get_string() + std::to_string(Ref(assigned) == right));
  return story;
}

TEST(Objects, VehicleJourneyReferences) {
  check(500, [] {
    const Names names = *rc::gen::container<Names>(4, any_name());
    expect_same_story<Names>(names, reference_story<Twin>, reference_story<Library>);
  });
}

}  // namespace
}  // namespace differential
