#include "report/answers.h"

#include <set>
#include <stdexcept>

#include "publish/check.h"
#include "publish/trip_updates.h"

namespace report_bench {

using namespace qiv;

std::string plain_bytes(std::span<const TripForecast> forecasts, const Network& network,
                        Instant time) {
  const TripUpdateFeed whole = trip_updates(forecasts, network, time);
  std::set<std::string> faulty;
  for (const FeedViolation& violation : check_feed(whole.message, network)) {
    faulty.insert(violation.entity);
  }
  transit_realtime::FeedMessage kept;
  *kept.mutable_header() = whole.message.header();
  for (const auto& entity : whole.message.entity()) {
    if (!faulty.contains(entity.id())) *kept.add_entity() = entity;
  }
  return to_bytes(kept);
}

void expect_equal(const std::string& bytes, const std::string& expected, const std::string& what) {
  if (bytes != expected) throw std::runtime_error(what + ": not the bytes of the plain way");
}

}  // namespace report_bench
