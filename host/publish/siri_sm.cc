#include "publish/siri_sm.h"

#include "publish/utf8.h"

namespace qiv {
namespace {

void add_call(pugi::xml_node journey, const PublishedTrip& trip, std::size_t i,
              const Network& network) {
  pugi::xml_node call = journey.append_child("MonitoredCall");
  add_stop(call, trip, i, network);
  const bool is_made = !is_canceled(trip, i);
  if (i != 0) {
    add_time(call, "AimedArrivalTime", trip.schedule.arrival(i));
    if (is_made) add_time(call, "ExpectedArrivalTime", trip.stops[i].arrival.time);
    if (!is_made) add_text(call, "ArrivalStatus", "cancelled");
  }
  if (i + 1 != trip.stops.size()) {
    add_time(call, "AimedDepartureTime", trip.schedule.departure(i));
    if (is_made) add_time(call, "ExpectedDepartureTime", trip.stops[i].departure);
    if (!is_made) add_text(call, "DepartureStatus", "cancelled");
  }
  if (i != 0 && is_made) add_arrival_quality(call.append_child("Extensions"), trip, i);
}

bool is_token_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == ':';
}

/// The standard wants a name token here: other characters are "_" and their two digits, "_" twice.
std::string token(std::string_view text) {
  constexpr const char* digits = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_token_letter(c)) {
      out += c;
    } else if (c == '_') {
      out += "__";
    } else {
      out += {'_', digits[byte / 16], digits[byte % 16]};
    }
  }
  return out;
}

/// Such as "TRIP.20251001.3", with the start of a repetition behind the day.
std::string item_identifier(const StopVisit& visit, const Network& network) {
  const TripKey& key = visit.forecast->trip;
  std::string name = token(key.trip.text()) + "." + key.day.to_string();
  if (is_repetition(key, network)) name += "." + format_time_of_day(key.start);
  return name + "." + std::to_string(visit.call + 1);
}

}  // namespace

std::string siri_sm(std::span<const StopVisit> visits, std::uint32_t stop, const Network& network,
                    Instant time, const TripConfidence& confidence) {
  const Stop& place = network.stops()[stop];
  SiriDocument document("StopMonitoringDelivery", time);
  document.write("MonitoringRef",
                 [&](pugi::xml_node node) { node.text().set(xml_text(place.id.text()).c_str()); });
  Rejections withheld;
  for (const StopVisit& visit : visits) {
    const auto trip = published_trip(*visit.forecast, network, withheld);
    if (!trip) continue;
    document.write("MonitoredStopVisit", [&](pugi::xml_node node) {
      add_time(node, "RecordedAtTime", recorded_at(*visit.forecast, time));
      add_text(node, "ItemIdentifier", item_identifier(visit, network));
      add_text(node, "MonitoringRef", place.id.text());
      pugi::xml_node journey = node.append_child("MonitoredVehicleJourney");
      add_journey(journey, *trip, network);
      add_progress(journey, trip->forecast, confidence);
      add_call(journey, *trip, visit.call, network);
    });
  }
  return document.finish();
}

}  // namespace qiv
