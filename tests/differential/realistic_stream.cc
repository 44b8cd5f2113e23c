#include <algorithm>
#include <string>

#include "differential/streams.h"

namespace differential {

namespace {

struct Route {
  std::string journey;
  Version version;
  std::vector<double> milestones;
  std::vector<std::string> names;
  std::vector<double> stops;
};

struct Driver {
  std::string vehicle;
  std::size_t route = 0;
  int trip = 0;
  double offset = 0.0;
  long long time = 0;
  double speed = 1.0;
};

class Maker {
 public:
  explicit Maker(Draw& draw) : _draw(draw) {}

  Stream make() {
    _stream.push_back(Initialize{"KernelRegression",
                                 {_draw.of<double>({0.25, 1.0, 3.7, 20.0, 1000.0})},
                                 _draw.of<std::string>({"arrival", "travel"}),
                                 _draw.of<unsigned int>({0, 1, 2, 5, 30}),
                                 _draw.of<std::string>({"ring", "random"})});
    const unsigned int routes = 1 + _draw.below(4);
    for (unsigned int i = 0; i < routes; ++i) add_route(i);
    const unsigned int vehicles = 1 + _draw.below(5);
    for (unsigned int i = 0; i < vehicles; ++i) add_driver(i);
    const unsigned int steps = 20 + _draw.below(120);
    for (unsigned int i = 0; i < steps && !_draw.exhausted(); ++i) step();
    return _stream;
  }

 private:
  void add_route(unsigned int number) {
    Route route;
    route.journey = std::string("P") + std::to_string(number);
    route.version = {100, 7};
    draw_geometry(route);
    _routes.push_back(route);
    load(route);
  }

  void draw_geometry(Route& route) {
    route.milestones = {_draw.one_in(8) ? 12.5 : 0.0};
    const unsigned int milestones = 1 + _draw.below(24);
    for (unsigned int i = 0; i < milestones; ++i) {
      route.milestones.push_back(route.milestones.back() + 20.0 + 0.37 * _draw.below(600));
    }
    route.stops.clear();
    route.names.clear();
    for (const double milestone : route.milestones) {
      if (milestone != route.milestones.front() && _draw.one_in(3)) continue;
      route.stops.push_back(_draw.one_in(3) ? milestone - 4.3 : milestone);
      route.names.push_back(std::string("S") + std::to_string(route.stops.size()));
    }
    route.stops.front() = std::max(route.stops.front(), 0.0);
    if (route.stops.size() < 2) {
      route.stops.push_back(route.milestones.back());
      route.names.push_back("End");
    }
  }

  void load(const Route& route) {
    const bool stops_first = _draw.one_in(4);
    if (stops_first) send_stops(route);
    _stream.push_back(ReadMilestones{route.journey, route.version, route.milestones});
    if (!stops_first) send_stops(route);
    const unsigned int trajectories = _draw.below(12);
    for (unsigned int i = 0; i < trajectories; ++i) send_trajectory(route);
  }

  void send_stops(const Route& route) {
    _stream.push_back(ReadBusStops{route.journey, route.version, route.names, route.stops});
  }

  void send_trajectory(const Route& route) {
    ReadHistory message{route.journey, route.version, category(), {}};
    double time = _draw.below(60);
    const double pace = 0.06 + 0.001 * _draw.below(60);
    for (std::size_t i = 0; i < route.milestones.size(); ++i) {
      if (i > 0) time += (route.milestones[i] - route.milestones[i - 1]) * pace + _draw.below(40);
      message.times.push_back(static_cast<int>(time));
    }
    _stream.push_back(message);
  }

  std::int16_t category() { return static_cast<std::int16_t>(_draw.one_in(4) ? 2 : 1); }

  void add_driver(unsigned int number) {
    Driver driver;
    driver.vehicle = std::string("V") + std::to_string(number);
    driver.route = _draw.below(static_cast<unsigned int>(_routes.size()));
    driver.time = 1000000 + _draw.between(0, 500);
    driver.speed = 7.0 + 0.1 * _draw.below(90);
    _drivers.push_back(driver);
  }

  void step() {
    switch (_draw.below(40)) {
      case 0:
        _stream.push_back(RemoveInactiveVehicles());
        break;
      case 1:
        send_stops(any_route());
        break;
      case 2: {
        const Route& route = any_route();
        _stream.push_back(ReadMilestones{route.journey, route.version, route.milestones});
        break;
      }
      case 3:
      case 4:
        send_trajectory(any_route());
        break;
      case 5:
        change(any_route());
        break;
      default:
        drive(_drivers[_draw.below(static_cast<unsigned int>(_drivers.size()))]);
    }
  }

  Route& any_route() { return _routes[_draw.below(static_cast<unsigned int>(_routes.size()))]; }

  /// A new shape, under the version held, a newer one, or one that is stale already.
  void change(Route& route) {
    Route changed = route;
    draw_geometry(changed);
    switch (_draw.below(4)) {
      case 0:
        break;
      case 1:
        changed.version = {changed.version.time - 1, 4};
        break;
      default:
        changed.version = {changed.version.time + _draw.below(2), changed.version.id + 1};
        if (_draw.one_in(3)) drive_on_version(changed);
    }
    load(changed);
    if (changed.version.time >= route.version.time) route = changed;
  }

  void drive_on_version(const Route& route) {
    _stream.push_back(Update{route.journey, "V0", "T", "D", route.version, 1, 10.0, 2000000, 5.0});
  }

  void drive(Driver& driver) {
    advance(driver);
    const Route& route = _routes[driver.route];
    Update message{route.journey,
                   driver.vehicle,
                   std::string("T") + std::to_string(driver.trip),
                   _draw.one_in(5) ? "" : "2024-05-01",
                   route.version,
                   category(),
                   driver.offset,
                   driver.time,
                   _draw.of<double>({0.0, 5.0, 50.0})};
    switch (_draw.below(12)) {
      case 0:
        message.time -= _draw.between(0, 60);
        message.offset -= 0.5 * _draw.below(200);
        break;
      case 1:
        message.offset += -30.0 + 0.7 * _draw.below(90);
        break;
      case 2:
        message.version.id += _draw.between(-1, 0);
        message.version.time -= 1;
        break;
      default:
        break;
    }
    _stream.push_back(message);
  }

  void advance(Driver& driver) {
    const int seconds = _draw.between(0, 25);
    driver.time += seconds;
    driver.offset += driver.speed * seconds * (0.5 + 0.01 * _draw.below(100));
    const bool arrived = driver.offset > _routes[driver.route].milestones.back();
    if (!arrived && !_draw.one_in(60)) return;
    driver.offset = _draw.one_in(3) ? 15.0 : 0.0;
    driver.trip += 1;
    driver.time += _draw.between(-10, 200);
    if (_draw.one_in(2)) driver.route = _draw.below(static_cast<unsigned int>(_routes.size()));
  }

  Draw& _draw;
  std::vector<Route> _routes;
  std::vector<Driver> _drivers;
  Stream _stream;
};

}  // namespace

Stream realistic_stream(Draw& draw) {
  return Maker(draw).make();
}

}  // namespace differential
