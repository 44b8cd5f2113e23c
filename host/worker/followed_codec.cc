#include "worker/followed_codec.h"

#include <algorithm>
#include <cmath>

#include "history/run_codec.h"
#include "qiv-stream.pb.h"
#include "worker/stream_message.h"

namespace qiv {
namespace {

/// No time of a library's row is further from the one before.
constexpr std::int64_t widest_s = 1LL << 32;

void write_rows(const LibraryForecast& answer, Instant made, stream::Followed& wire) {
  wire.set_first_row(static_cast<std::uint32_t>(answer.first));
  long long before_s = unix_seconds(made);
  for (const LibraryRow& row : answer.rows) {
    wire.add_row_time(row.time_s - before_s);
    wire.add_row_lower(row.time_s - row.lower_s);
    wire.add_row_upper(row.upper_s - row.time_s);
    before_s = row.time_s;
  }
}

/// The spread that is shown of what a row forecasts; departures have none.
double spread_s(const TripForecast& forecast, std::size_t row) {
  if (forecast.stops.empty()) return forecast.legs[row].spread_s;
  if (row == 0) return forecast.stops[0].spread_s;
  return row % 2 == 1 ? forecast.stops[(row + 1) / 2].spread_s : 0.0;
}

bool is_near(std::int64_t seconds) {
  return -widest_s < seconds && seconds < widest_s;
}

std::optional<LibraryForecast> read_rows(const stream::Followed& wire,
                                         const TripForecast& forecast) {
  const auto count = static_cast<std::size_t>(wire.row_time_size());
  const std::size_t needed =
      forecast.stops.empty() ? forecast.legs.size() : 2 * (forecast.stops.size() - 1);
  if (count != needed || wire.row_lower_size() != wire.row_time_size() ||
      wire.row_upper_size() != wire.row_time_size() || wire.first_row() > count) {
    return std::nullopt;
  }
  LibraryForecast answer;
  answer.first = wire.first_row();
  answer.confidence = forecast.confidence;
  long long time_s = unix_seconds(forecast.made);
  for (std::size_t row = 0; row < count; ++row) {
    const int i = static_cast<int>(row);
    if (!is_near(wire.row_time(i)) || !is_near(wire.row_lower(i)) || !is_near(wire.row_upper(i))) {
      return std::nullopt;
    }
    time_s += wire.row_time(i);
    const double spread = spread_s(forecast, row);
    const bool is_spread = std::isfinite(spread) && spread < static_cast<double>(widest_s);
    if (!is_near(time_s - unix_seconds(forecast.made)) || !is_spread) return std::nullopt;
    answer.rows.push_back(
        {time_s, time_s - wire.row_lower(i), time_s + wire.row_upper(i), spread * spread, 0.0});
  }
  return answer;
}

bool is_usable(const Progress& place) {
  return is_stream_time(place.time) && is_stream_time(place.received) &&
         std::isfinite(place.offset_m) && std::isfinite(place.error_m);
}

}  // namespace

void write_followed(const FollowedTrip& followed, const TripForecast& forecast,
                    stream::Followed& wire) {
  wire.set_from(static_cast<std::uint32_t>(followed.from));
  if (!followed.progress.empty()) wire.set_progress(encode_progress(followed.progress));
  wire.set_trips_at_start(static_cast<std::uint32_t>(followed.trips_at_start));
  wire.set_trips_at_last(static_cast<std::uint32_t>(followed.trips_at_last));
  if (const auto& first = followed.first_earlier) {
    wire.set_first_trip(first->trip.text());
    wire.set_first_day(static_cast<std::int32_t>(first->day.days().time_since_epoch().count()));
    if (first->start != Seconds(0)) wire.set_first_start(first->start.count());
  }
  if (followed.latest) write_rows(*followed.latest, forecast.made, wire);
}

std::optional<FollowedTrip> read_followed(const stream::Followed& wire,
                                          const TripForecast& forecast) {
  FollowedTrip followed;
  followed.choice = {static_cast<Category>(forecast.category), forecast.basis, forecast.trips};
  followed.last_seen = forecast.position_time;
  followed.from = wire.from();
  followed.trips_at_start = wire.trips_at_start();
  followed.trips_at_last = wire.trips_at_last();
  if (wire.has_first_trip()) {
    const ServiceDate day{std::chrono::sys_days(std::chrono::days(wire.first_day()))};
    followed.first_earlier = TripKey{TripId(wire.first_trip()), day, Seconds(wire.first_start())};
  }
  if (wire.has_progress()) {
    auto progress = decode_progress(wire.progress(), forecast.vehicle, forecast.trip);
    if (!progress || !std::all_of(progress->begin(), progress->end(), is_usable)) {
      return std::nullopt;
    }
    followed.progress = std::move(*progress);
  }
  if (wire.row_time_size() == 0) return followed;
  followed.latest = read_rows(wire, forecast);
  if (!followed.latest || followed.progress.empty()) return std::nullopt;
  return followed;
}

}  // namespace qiv
