#include "Forecast.h"

#include <exception>
#include <iostream>

#include "BusRoute.h"

Time::Time()
    : _time(0),
      _lower_confidence_bound(0),
      _upper_confidence_bound(0),
      _conditional_var(0.0),
      _conditional_mean(0.0),
      _stopID(),
      _stopID1(),
      _stopID2() {}

Forecast::Forecast()
    : _forecast(), _mode(arrival), _quality(0.0), _confidence(0.0), _first_index(0) {}

void Forecast::initialize(const std::string& mode) {
  if (mode == "arrival") {
    _mode = arrival;
  } else if (mode == "travel") {
    _mode = travel;
  } else {
    std::cerr << "Invalid value of parameter 'mode': " << mode << "." << std::endl;
    throw std::exception();
  }
}

void Forecast::initialize(const BusRoute& bus_route) {
  const unsigned int nb_bus_stops = bus_route.get_nb_bus_stops();
  if (_mode == arrival) {
    _forecast.resize(nb_bus_stops);
    for (unsigned int j = 0; j < nb_bus_stops; ++j) {
      _forecast[j].set_stopID(bus_route.get_stopID(j));
    }
  } else if (_mode == travel) {
    // Without bus stops the difference wraps, and the allocation fails.
    const unsigned int nb_legs = nb_bus_stops - 1;
    _forecast.resize(nb_legs);
    for (unsigned int j = 0; j < nb_legs; ++j) {
      _forecast[j].set_stopID1(bus_route.get_stopID(j));
      _forecast[j].set_stopID2(bus_route.get_stopID(j + 1));
    }
  }
}

void Forecast::reset() {
  _first_index = static_cast<unsigned int>(-1);
}
