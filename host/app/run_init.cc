#include <iostream>

#include "app/city.h"
#include "app/commands.h"

namespace qiv {

void run_init(const InitArguments& arguments) {
  const City city = City::create(arguments.city, arguments.gtfs);
  const Network& network = city.network();
  std::cout << arguments.city << ": " << network.patterns().size() << " journey patterns, "
            << network.trips().size() << " trips, " << network.stops().size() << " stops";
  if (const auto days = network.days()) {
    std::cout << ", " << days->first.to_iso_string() << " to " << days->second.to_iso_string();
  }
  std::cout << "\n";
  for (const auto& [reason, entry] : city.timetable_rejections().entries()) {
    std::cout << "not used: " << entry.count << " × " << reason << ", first " << entry.first
              << "\n";
  }
  std::cout << "Next: qiv record " << arguments.city << " FILE..., or name a [[source]] in "
            << arguments.city << "/city.toml and qiv serve " << arguments.city << "\n";
}

}  // namespace qiv
