#include "worker/forecast_codec.h"

#include <array>
#include <cmath>

#include "publish/trip_updates.h"
#include "qiv-stream.pb.h"
#include "worker/followed_codec.h"

namespace qiv {
namespace {

using Wire = stream::Forecast;

constexpr const char* finished_kind = "finished";
constexpr const char* left_kind = "left";

/// The standard part: what the feed would hold, or the trip alone where it would hold nothing.
transit_realtime::TripUpdate standard_part(const TripForecast& forecast, const Network& network) {
  TripUpdateFeed feed = trip_updates(std::span(&forecast, 1), network, forecast.made);
  if (feed.message.entity_size() == 1) {
    return std::move(*feed.message.mutable_entity(0)->mutable_trip_update());
  }
  transit_realtime::TripUpdate update;
  update.mutable_trip()->set_trip_id(forecast.trip.trip.text());
  update.mutable_trip()->set_start_date(forecast.trip.day.to_string());
  update.mutable_vehicle()->set_id(forecast.vehicle.text());
  return update;
}

void write_stop(const StopForecast& stop, Instant made, Wire& wire) {
  const auto after = [made](Instant time) { return (time - made).count(); };
  wire.add_stop_sequence(stop.stop_sequence);
  wire.add_observed(stop.observed);
  wire.add_skipped(stop.skipped);
  wire.add_arrival(after(stop.arrival.time));
  wire.add_lower_68(after(stop.arrival.lower_68));
  wire.add_upper_68(after(stop.arrival.upper_68));
  wire.add_lower_90(after(stop.arrival.lower_90));
  wire.add_upper_90(after(stop.arrival.upper_90));
  wire.add_spread_s(stop.spread_s);
  wire.add_departure(after(stop.departure));
  wire.add_library_lower(after(stop.library_lower));
  wire.add_library_upper(after(stop.library_upper));
}

void write_leg(const LegForecast& leg, stream::Leg& wire) {
  wire.set_from_sequence(leg.from_sequence);
  wire.set_to_sequence(leg.to_sequence);
  wire.set_observed(leg.observed);
  if (leg.elapsed) wire.set_elapsed(leg.elapsed->count());
  wire.set_travel_time(leg.travel_time.count());
  wire.set_spread_s(leg.spread_s);
  wire.set_library_lower(leg.library_lower.count());
  wire.set_library_upper(leg.library_upper.count());
}

void write(const VehicleForecast& of_vehicle, Wire& wire) {
  const TripForecast& forecast = of_vehicle.forecast;
  wire.set_pattern(forecast.pattern.text());
  wire.set_state(static_cast<std::uint32_t>(forecast.state));
  wire.set_basis(static_cast<std::uint32_t>(forecast.basis));
  wire.set_made(unix_seconds(forecast.made));
  wire.set_position_time(unix_seconds(forecast.position_time));
  wire.set_offset_m(forecast.offset_m);
  wire.set_category(forecast.category);
  wire.set_trips(forecast.trips);
  wire.set_confidence(forecast.confidence);
  wire.set_assigned(unix_seconds(of_vehicle.assigned));
  wire.set_by_course(of_vehicle.by_course);
  for (const StopForecast& stop : forecast.stops) write_stop(stop, forecast.made, wire);
  for (const LegForecast& leg : forecast.legs) write_leg(leg, *wire.add_legs());
  if (of_vehicle.followed) write_followed(*of_vehicle.followed, forecast, *wire.mutable_followed());
}

bool columns_have(const Wire& wire, int stops) {
  const std::array sizes = {
      wire.stop_sequence_size(), wire.observed_size(),      wire.skipped_size(),
      wire.arrival_size(),       wire.lower_68_size(),      wire.upper_68_size(),
      wire.lower_90_size(),      wire.upper_90_size(),      wire.spread_s_size(),
      wire.departure_size(),     wire.library_lower_size(), wire.library_upper_size()};
  for (const int size : sizes) {
    if (size != stops) return false;
  }
  return true;
}

/// Times near the forecast, or 0 where there is none; remembers when one is neither.
class TimeReader {
 public:
  explicit TimeReader(Instant made) : _made_s(unix_seconds(made)) {}

  Instant operator()(std::int64_t after) {
    constexpr std::int64_t widest = 1LL << 40;
    if (after < -widest || after > widest || !is_stream_time(from_unix_seconds(_made_s + after))) {
      _good = false;
      return {};
    }
    return from_unix_seconds(_made_s + after);
  }

  bool good() const { return _good; }

 private:
  long long _made_s;
  bool _good = true;
};

StopForecast read_stop(const Wire& wire, int i, TimeReader& time) {
  StopForecast stop;
  stop.stop_sequence = wire.stop_sequence(i);
  stop.observed = wire.observed(i);
  stop.skipped = wire.skipped(i);
  stop.arrival = {time(wire.arrival(i)), time(wire.lower_68(i)), time(wire.upper_68(i)),
                  time(wire.lower_90(i)), time(wire.upper_90(i))};
  stop.spread_s = wire.spread_s(i);
  stop.departure = time(wire.departure(i));
  stop.library_lower = time(wire.library_lower(i));
  stop.library_upper = time(wire.library_upper(i));
  return stop;
}

/// All but key, pattern and stops. False for values that no forecast has.
bool read_scalars(const Wire& wire, TripForecast& forecast) {
  if (wire.state() > static_cast<std::uint32_t>(TripState::canceled)) return false;
  if (wire.basis() > static_cast<std::uint32_t>(ForecastBasis::timetable)) return false;
  forecast.state = static_cast<TripState>(wire.state());
  forecast.basis = static_cast<ForecastBasis>(wire.basis());
  forecast.made = from_unix_seconds(wire.made());
  forecast.position_time = from_unix_seconds(wire.position_time());
  forecast.offset_m = wire.offset_m();
  forecast.category = wire.category();
  forecast.trips = wire.trips();
  forecast.confidence = wire.confidence();
  return is_stream_time(forecast.made) && is_stream_time(forecast.position_time) &&
         std::isfinite(forecast.offset_m) && std::isfinite(forecast.confidence);
}

/// Fills in the stops. Returns what is wrong with them; an empty text when nothing is.
std::string read_stops(const Wire& wire, const JourneyPattern& pattern, TripForecast& forecast) {
  const int count = wire.arrival_size();
  const bool all = count == 0 || static_cast<std::size_t>(count) == pattern.stops.size();
  if (!all || !columns_have(wire, count)) return "its stops are not those of its pattern";
  TimeReader time(forecast.made);
  std::vector<StopForecast> stops;
  for (int i = 0; i < count; ++i) {
    stops.push_back(read_stop(wire, i, time));
    stops.back().stop = pattern.stops[static_cast<std::size_t>(i)].stop;
  }
  forecast.stops = std::move(stops);
  return time.good() ? "" : "one of its times is not between 1970 and 2200";
}

/// Fills in the legs. False when they are not those of the pattern, or last for ages.
bool read_legs(const Wire& wire, const JourneyPattern& pattern, TripForecast& forecast) {
  if (wire.legs_size() == 0) return true;
  if (static_cast<std::size_t>(wire.legs_size()) + 1 != pattern.stops.size()) return false;
  constexpr std::int64_t longest_s = 1LL << 32;
  for (const stream::Leg& told : wire.legs()) {
    for (const std::int64_t time_s :
         {told.elapsed(), told.travel_time(), told.library_lower(), told.library_upper()}) {
      if (time_s < 0 || time_s > longest_s) return false;
    }
    LegForecast leg;
    leg.from = pattern.stops[forecast.legs.size()].stop;
    leg.to = pattern.stops[forecast.legs.size() + 1].stop;
    leg.from_sequence = told.from_sequence();
    leg.to_sequence = told.to_sequence();
    leg.observed = told.observed();
    if (told.has_elapsed()) leg.elapsed = Seconds(told.elapsed());
    leg.travel_time = Seconds(told.travel_time());
    leg.spread_s = told.spread_s();
    leg.library_lower = Seconds(told.library_lower());
    leg.library_upper = Seconds(told.library_upper());
    forecast.legs.push_back(leg);
  }
  return true;
}

}  // namespace

StreamMessage encode_forecast(const VehicleForecast& forecast, const Network& network) {
  const TripForecast& shown = forecast.forecast;
  transit_realtime::TripUpdate update = standard_part(shown, network);
  write(forecast, *update.MutableExtension(stream::forecast));
  return make_message(forecast_key({forecast.agency, shown.trip, shown.vehicle}),
                      update.SerializeAsString(), shown.made);
}

StreamMessage encode_left(const LeftTrip& left) {
  StreamMessage message = make_message(forecast_key(left.trip), std::nullopt, left.when);
  message.headers[header::kind] = left.finished ? finished_kind : left_kind;
  return message;
}

Decoded<std::variant<VehicleForecast, LeftTrip>> decode_forecast(const StreamMessage& message,
                                                                 const Network& network) {
  if (auto foreign = foreign_format(message)) return *std::move(foreign);
  auto key = parse_forecast_key(message.key);
  if (!key) return Undecodable{"the key is no forecast's"};
  if (!message.value) {
    const bool finished = header_of(message, header::kind) == finished_kind;
    return LeftTrip{std::move(*key), message.time, finished};
  }
  transit_realtime::TripUpdate update;
  if (!update.ParseFromString(*message.value) || !update.HasExtension(stream::forecast)) {
    return Undecodable{"the bytes are no forecast"};
  }
  const Wire& wire = update.GetExtension(stream::forecast);
  VehicleForecast result;
  result.agency = std::move(key->agency);
  result.assigned = from_unix_seconds(wire.assigned());
  result.by_course = wire.by_course();
  TripForecast& forecast = result.forecast;
  forecast.trip = std::move(key->trip);
  forecast.vehicle = std::move(key->vehicle);
  forecast.pattern = PatternRef(wire.pattern());
  if (!read_scalars(wire, forecast)) return Undecodable{"the forecast has impossible values"};
  const auto index = network.find_pattern(forecast.pattern);
  if (!index) return Undecodable{"the timetable has no pattern " + forecast.pattern.text()};
  const std::string mistake = read_stops(wire, network.pattern(*index), forecast);
  if (!mistake.empty()) return Undecodable{"the forecast cannot be read: " + mistake};
  if (!read_legs(wire, network.pattern(*index), forecast)) {
    return Undecodable{"the forecast cannot be read: its legs are not those of its pattern"};
  }
  if (wire.has_followed()) result.followed = read_followed(wire.followed(), forecast);
  return result;
}

}  // namespace qiv
