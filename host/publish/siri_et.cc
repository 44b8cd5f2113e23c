#include "publish/siri_et.h"

#include <algorithm>
#include <cstddef>

namespace qiv {
namespace {

void add_recorded_call(pugi::xml_node calls, const PublishedTrip& trip, std::size_t i,
                       const Network& network) {
  pugi::xml_node call = calls.append_child("RecordedCall");
  add_stop(call, trip, i, network);
  const bool is_made = !is_canceled(trip, i);
  if (!is_made) add_text(call, "Cancellation", "true");
  if (i != 0) {
    add_time(call, "AimedArrivalTime", trip.schedule.arrival(i));
    if (is_made) add_time(call, "ActualArrivalTime", trip.stops[i].arrival.time);
  }
  if (i + 1 != trip.stops.size()) {
    add_time(call, "AimedDepartureTime", trip.schedule.departure(i));
    if (is_made) add_time(call, "ActualDepartureTime", trip.stops[i].departure);
  }
}

void add_estimated_call(pugi::xml_node calls, const PublishedTrip& trip, std::size_t i,
                        const Network& network) {
  pugi::xml_node call = calls.append_child("EstimatedCall");
  add_stop(call, trip, i, network);
  const bool is_made = !is_canceled(trip, i);
  if (!is_made) add_text(call, "Cancellation", "true");
  if (i != 0) {
    add_time(call, "AimedArrivalTime", trip.schedule.arrival(i));
    if (is_made) add_time(call, "ExpectedArrivalTime", trip.stops[i].arrival.time);
    if (is_made) add_arrival_quality(call, trip, i);
  }
  if (i + 1 != trip.stops.size()) {
    add_time(call, "AimedDepartureTime", trip.schedule.departure(i));
    if (is_made) add_time(call, "ExpectedDepartureTime", trip.stops[i].departure);
  }
}

/// Number of stops at the start of the trip that have been passed.
std::size_t passed(const PublishedTrip& trip) {
  const auto first = std::find_if(trip.stops.begin(), trip.stops.end(),
                                  [](const StopForecast& stop) { return !stop.observed; });
  return static_cast<std::size_t>(first - trip.stops.begin());
}

void fill_journey(pugi::xml_node journey, const PublishedTrip& trip, const Network& network,
                  Instant time, const TripConfidence& confidence) {
  add_time(journey, "RecordedAtTime", recorded_at(trip.forecast, time));
  add_journey(journey, trip, network);
  if (trip.forecast.state == TripState::canceled) {
    const pugi::xml_node before = journey.child("FramedVehicleJourneyRef");
    journey.insert_child_after("Cancellation", before).text().set("true");
  }
  add_progress(journey, trip.forecast, confidence);
  const std::size_t first = passed(trip);
  if (first > 0) {
    pugi::xml_node calls = journey.append_child("RecordedCalls");
    for (std::size_t i = 0; i < first; ++i) add_recorded_call(calls, trip, i, network);
  }
  pugi::xml_node calls = journey.append_child("EstimatedCalls");
  for (std::size_t i = first; i < trip.stops.size(); ++i) {
    add_estimated_call(calls, trip, i, network);
  }
  add_text(journey, "IsCompleteStopSequence", "true");
}

}  // namespace

std::string siri_et(std::span<const TripForecast> forecasts, const Network& network, Instant time,
                    const TripConfidence& confidence) {
  constexpr const char* frame = "EstimatedJourneyVersionFrame";
  SiriDocument document("EstimatedTimetableDelivery", time);
  bool any = false;
  Rejections withheld;
  for (const TripForecast& forecast : forecasts) {
    const auto trip = published_trip(forecast, network, withheld);
    if (!trip || passed(*trip) == trip->stops.size()) continue;
    if (!any) {
      document.open(frame);
      document.write("RecordedAtTime",
                     [&](pugi::xml_node node) { node.text().set(format_utc(time).c_str()); });
      any = true;
    }
    document.write("EstimatedVehicleJourney", [&](pugi::xml_node journey) {
      fill_journey(journey, *trip, network, time, confidence);
    });
  }
  if (any) document.close(frame);
  return document.finish();
}

}  // namespace qiv
