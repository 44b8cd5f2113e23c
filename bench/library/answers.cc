#include "library/answers.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "library/fleet.h"

namespace bench {

namespace {

void append(std::string& bytes, const void* value, std::size_t size) {
  bytes.append(static_cast<const char*>(value), size);
}

template <class Value>
void append(std::string& bytes, const Value& value) {
  append(bytes, &value, sizeof value);
}

/// Every number that the side computes for the size.
template <class Side>
std::string answers(const Size& size) {
  std::string bytes;
  const auto kernel = Weighing<Side>(size).weights();
  for (unsigned int k = 0; k < kernel.size(); ++k) append(bytes, kernel[k]);
  append(bytes, kernel.normalize(1.0));
  Fleet<Side> fleet(size);
  fleet.line_up();
  fleet.drive([&](typename Side::Forecast& forecast) {
    append(bytes, forecast.get_first_index());
    append(bytes, forecast.get_confidence());
    for (unsigned int j = 0; j < forecast.size(); ++j) {
      append(bytes, forecast[j].get_time());
      append(bytes, forecast[j].get_lower_confidence_bound());
      append(bytes, forecast[j].get_upper_confidence_bound());
      append(bytes, forecast[j].get_conditional_mean());
      append(bytes, forecast[j].get_conditional_var());
    }
  });
  return bytes;
}

}  // namespace

void check_answers(const Size& size, Contender contender) {
  if (contender == Contender::twin) return;
  choose(contender);
  if (answers<Twin>(size) == answers<Library>(size)) return;
  std::cerr << "The answers of " << name_of(contender) << " for " << size.trips << " trips, "
            << size.updates << " updates, " << size.stops << " stops are not the twin's.\n";
  std::exit(1);
}

}  // namespace bench
