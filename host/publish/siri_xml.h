#pragma once

#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "publish/published_trip.h"

namespace qiv {

/// How sure it is that a trip's vehicle runs it, 0 to 1, where that was found by the vehicle's
/// course; nothing where the vehicle's reports name the trip. May be empty: then it is nowhere so.
using TripConfidence = std::function<std::optional<double>(const TripForecast& forecast)>;

/// Adds an element with a text, which may be any bytes.
void add_text(pugi::xml_node parent, const char* name, std::string_view text);
void add_time(pugi::xml_node parent, const char* name, Instant time);

/// LineRef to DestinationName: what names a journey, in the order that SIRI wants.
void add_journey(pugi::xml_node journey, const PublishedTrip& trip, const Network& network);

/// Monitored and VehicleRef; between them ConfidenceLevel for a trip whose vehicle does not name
/// it.
void add_progress(pugi::xml_node journey, const TripForecast& forecast,
                  const TripConfidence& confidence);

/// StopPointRef, Order and StopPointName of a call.
void add_stop(pugi::xml_node call, const PublishedTrip& trip, std::size_t i,
              const Network& network);

/// True for a call that the vehicle does not make: the trip is canceled, or skips the stop.
bool is_canceled(const PublishedTrip& trip, std::size_t i);

/// ExpectedArrivalPredictionQuality: the interval that holds 90 % of the arrivals.
void add_arrival_quality(pugi::xml_node parent, const PublishedTrip& trip, std::size_t i);

/// When what a forecast rests on was seen.
Instant recorded_at(const TripForecast& forecast, Instant time);

/// A SIRI 2.0 document with one delivery: `fill` is given the delivery's element, and may write
/// whole elements with `write`, which keeps documents of any length small in memory.
class SiriDocument {
 public:
  /// `delivery` is such as "EstimatedTimetableDelivery".
  SiriDocument(const char* delivery, Instant time);

  void open(const char* name);
  void close(const char* name);
  /// Writes an element named `name`, which `fill` fills.
  void write(const char* name, const std::function<void(pugi::xml_node)>& fill);

  /// Ends the document and gives it away.
  std::string finish();

 private:
  const char* _delivery;
  std::string _text;
};

}  // namespace qiv
