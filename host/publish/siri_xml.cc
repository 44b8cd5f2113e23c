#include "publish/siri_xml.h"

#include <algorithm>

#include "publish/utf8.h"

namespace qiv {
namespace {

/// Appends to a string.
class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& text) : _text(text) {}
  void write(const void* data, std::size_t size) override {
    _text.append(static_cast<const char*>(data), size);
  }

 private:
  std::string& _text;
};

std::string journey_ref(const TripKey& key, const Network& network) {
  if (!is_repetition(key, network)) return key.trip.text();
  return key.trip.text() + "-" + format_time_of_day(key.start);
}

std::string stop_name(const Network& network, std::uint32_t stop) {
  const Stop& place = network.stops()[stop];
  return place.name.empty() ? place.id.text() : place.name;
}

// A level is what the standard insists on; the limits say more.
const char* prediction_level(const TripForecast& forecast) {
  if (forecast.basis == ForecastBasis::timetable) return "unconfirmed";
  return forecast.vehicle.empty() ? "probablyReliable" : "reliable";
}

// Below the standard's default, "reliable".
const char* confidence_level(double confidence) {
  return confidence >= 0.8 ? "probablyReliable" : "unconfirmed";
}

}  // namespace

void add_text(pugi::xml_node parent, const char* name, std::string_view text) {
  parent.append_child(name).text().set(xml_text(text).c_str());
}

void add_time(pugi::xml_node parent, const char* name, Instant time) {
  add_text(parent, name, format_utc(time));
}

void add_journey(pugi::xml_node journey, const PublishedTrip& trip, const Network& network) {
  const TripKey& key = trip.forecast.trip;
  const JourneyPattern& pattern = network.pattern(trip.schedule.pattern());
  const Route* const route = network.find_route(pattern.route);
  add_text(journey, "LineRef", pattern.route.empty() ? "unknown" : pattern.route.text());
  add_text(journey, "DirectionRef",
           pattern.direction ? std::to_string(*pattern.direction) : "unknown");
  pugi::xml_node frame = journey.append_child("FramedVehicleJourneyRef");
  add_text(frame, "DataFrameRef", key.day.to_iso_string());
  add_text(frame, "DatedVehicleJourneyRef", journey_ref(key, network));
  if (route != nullptr) {
    const std::string& name = route->short_name.empty() ? route->long_name : route->short_name;
    if (!name.empty()) add_text(journey, "PublishedLineName", name);
  }
  const std::uint32_t first = pattern.stops.front().stop;
  const std::uint32_t last = pattern.stops.back().stop;
  const std::string& headsign = trip.schedule.plan->headsign;
  add_text(journey, "OriginRef", network.stops()[first].id.text());
  add_text(journey, "OriginName", stop_name(network, first));
  add_text(journey, "DestinationRef", network.stops()[last].id.text());
  add_text(journey, "DestinationName", headsign.empty() ? stop_name(network, last) : headsign);
}

void add_progress(pugi::xml_node journey, const TripForecast& forecast,
                  const TripConfidence& confidence) {
  add_text(journey, "Monitored", forecast.vehicle.empty() ? "false" : "true");
  if (forecast.vehicle.empty()) return;
  const auto sure = confidence ? confidence(forecast) : std::nullopt;
  if (sure) add_text(journey, "ConfidenceLevel", confidence_level(*sure));
  add_text(journey, "VehicleRef", forecast.vehicle.text());
}

void add_stop(pugi::xml_node call, const PublishedTrip& trip, std::size_t i,
              const Network& network) {
  const StopForecast& stop = trip.stops[i];
  add_text(call, "StopPointRef", network.stops()[stop.stop].id.text());
  add_text(call, "Order", std::to_string(i + 1));
  add_text(call, "StopPointName", stop_name(network, stop.stop));
}

bool is_canceled(const PublishedTrip& trip, std::size_t i) {
  return trip.forecast.state == TripState::canceled || trip.stops[i].skipped;
}

void add_arrival_quality(pugi::xml_node parent, const PublishedTrip& trip, std::size_t i) {
  pugi::xml_node quality = parent.append_child("ExpectedArrivalPredictionQuality");
  add_text(quality, "PredictionLevel", prediction_level(trip.forecast));
  add_text(quality, "Percentile", "90");
  add_time(quality, "LowerTimeLimit", trip.stops[i].arrival.lower_90);
  add_time(quality, "HigherTimeLimit", trip.stops[i].arrival.upper_90);
}

Instant recorded_at(const TripForecast& forecast, Instant time) {
  const Instant known = forecast.position_time > Instant() ? forecast.position_time : forecast.made;
  return std::min(known, time);
}

SiriDocument::SiriDocument(const char* delivery, Instant time) : _delivery(delivery) {
  const std::string stamp = "<ResponseTimestamp>" + format_utc(time) + "</ResponseTimestamp>\n";
  _text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  _text += "<Siri xmlns=\"http://www.siri.org.uk/siri\" version=\"2.0\">\n<ServiceDelivery>\n";
  _text += stamp + "<ProducerRef>qiv</ProducerRef>\n<" + _delivery + " version=\"2.0\">\n";
  _text += stamp + "<Status>true</Status>\n";
}

void SiriDocument::open(const char* name) {
  _text += std::string("<") + name + ">\n";
}

void SiriDocument::close(const char* name) {
  _text += std::string("</") + name + ">\n";
}

void SiriDocument::write(const char* name, const std::function<void(pugi::xml_node)>& fill) {
  pugi::xml_document document;
  pugi::xml_node element = document.append_child(name);
  fill(element);
  StringWriter writer(_text);
  element.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  _text += '\n';
}

std::string SiriDocument::finish() {
  close(_delivery);
  _text += "</ServiceDelivery>\n</Siri>\n";
  return std::move(_text);
}

}  // namespace qiv
