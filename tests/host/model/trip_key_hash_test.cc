#include "model/trip_key_hash.h"

#include <gtest/gtest.h>

#include <set>

namespace qiv {
namespace {

TEST(TripKeyHash, TellsTripsDaysAndStartsApart) {
  const ServiceDate day(std::chrono::sys_days(std::chrono::year(2026) / 3 / 2));
  std::set<std::size_t> hashes;
  for (const char* const trip : {"a", "b"}) {
    for (int days = 0; days < 3; ++days) {
      for (const Seconds start : {Seconds(0), Seconds(600), Seconds(1200)}) {
        hashes.insert(TripKeyHash()({TripId(trip), day + std::chrono::days(days), start}));
      }
    }
  }
  EXPECT_EQ(hashes.size(), 18u);
}

TEST(TripKeyHash, EqualKeysAreFound) {
  const TripKey key{TripId("a"), ServiceDate(), Seconds(60)};
  const TripKey copy = key;
  EXPECT_EQ(TripKeyHash()(key), TripKeyHash()(copy));
}

}  // namespace
}  // namespace qiv
