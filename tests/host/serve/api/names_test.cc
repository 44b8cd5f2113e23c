#include "serve/api/names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace qiv {
namespace {

TEST(ApiName, EveryStatusAndStateHasOneOfItsOwnForPrograms) {
  std::set<std::string> names;
  for (const VehicleStatus status : vehicle_statuses) names.insert(api_name(status));
  EXPECT_EQ(names.size(), vehicle_statuses.size());
  std::set<std::string> states;
  for (const TripState state : trip_states) states.insert(api_name(state));
  EXPECT_EQ(states.size(), trip_states.size());
  names.merge(states);
  for (const std::string& name : names) {
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace qiv
