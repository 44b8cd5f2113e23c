// Reads the alerts of a GTFS-realtime message.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "check.h"
#include "feed/gtfs_realtime.h"
#include "feed/position_collector.h"

namespace {

bool is_open_or_plausible(qiv::Instant time) {
  return time == qiv::Instant::min() || time == qiv::Instant::max() || qiv::is_plausible_time(time);
}

void check_alert(const qiv::ServiceAlert& alert) {
  for (const qiv::ActivePeriod& period : alert.periods) {
    fuzz::check(period.from < period.until, "a period ends after it begins");
    fuzz::check(is_open_or_plausible(period.from), "a period begins at a plausible time");
    fuzz::check(is_open_or_plausible(period.until), "a period ends at a plausible time");
    fuzz::check(alert.is_active(period.from), "an alert is active when a period begins");
  }
  for (const qiv::InformedEntity& entity : alert.informed) {
    fuzz::check(!entity.agency.empty() || !entity.route.empty() || entity.route_type ||
                    !entity.stop.empty() || !entity.trip.empty(),
                "an informed entity states something");
    fuzz::check(!entity.direction || *entity.direction == 0 || *entity.direction == 1,
                "the direction is 0 or 1");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const qiv::AlertBatch batch = qiv::read_service_alerts(bytes);
  fuzz::check(batch.read == batch.alerts.size() + batch.rejections.total(),
              "what is read is used or rejected");
  std::size_t parts = 0;
  for (const qiv::ServiceAlert& alert : batch.alerts) {
    check_alert(alert);
    parts += alert.periods.size() + alert.informed.size();
  }
  fuzz::check(parts + batch.read <= size + 1, "there are no more parts than bytes");
  fuzz::check(qiv::read_service_alerts(bytes).alerts.size() == batch.alerts.size(),
              "reading twice gives as many");
  return 0;
}
