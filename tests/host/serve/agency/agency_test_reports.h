#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/support/straight_line.h"
#include "serve/agency/agency_report.h"

namespace qiv::testing {

/// An update of a trip of the straight line on Monday.
inline TripUpdate update_of(const std::string& trip, TripStatus status = TripStatus::scheduled) {
  TripUpdate update;
  update.trip = TripId(trip);
  update.start_date = monday;
  update.status = status;
  return update;
}

/// An update that skips the call with this stop_sequence.
inline TripUpdate update_skipping(const std::string& trip, std::uint32_t sequence) {
  TripUpdate update = update_of(trip);
  PredictedCall call;
  call.stop_sequence = sequence;
  call.status = CallStatus::skipped;
  update.calls.push_back(call);
  return update;
}

inline AgencyReport report_of(std::vector<TripUpdate> updates, Instant time,
                              const std::string& source = "updates") {
  auto content = std::make_shared<AgencyContent>();
  content->time = time;
  content->updates = std::move(updates);
  return {source, time, Seconds(600), std::move(content)};
}

inline AgencyReport report_of(std::vector<ServiceAlert> alerts, Instant time,
                              const std::string& source = "alerts") {
  auto content = std::make_shared<AgencyContent>();
  content->kind = AgencyContent::Kind::alerts;
  content->time = time;
  content->alerts = std::move(alerts);
  return {source, time, Seconds(600), std::move(content)};
}

/// An alert that there is no service for this, always.
inline ServiceAlert no_service(InformedEntity informed) {
  ServiceAlert alert;
  alert.id = "1";
  alert.effect = AlertEffect::no_service;
  alert.informed = {std::move(informed)};
  return alert;
}

}  // namespace qiv::testing
