#include "twin/Forecast.h"

#include <exception>
#include <iostream>

#include "twin/BusRoute.h"

namespace twin {

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
  const unsigned int nb = bus_route.get_nb_bus_stops();
  if (_mode == arrival) {
    _forecast.resize(nb);
    for (unsigned int j = 0; j < nb; ++j) _forecast[j].set_stopID(bus_route.get_stopID(j));
  }
  if (_mode == travel) {
    _forecast.resize(nb - 1u);
    for (unsigned int j = 0; j < nb - 1u; ++j) {
      _forecast[j].set_stopID1(bus_route.get_stopID(j));
      _forecast[j].set_stopID2(bus_route.get_stopID(j + 1));
    }
  }
}

void Forecast::reset() {
  _first_index = 4294967295u;
}

}  // namespace twin
