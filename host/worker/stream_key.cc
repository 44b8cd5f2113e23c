#include "worker/stream_key.h"

#include <charconv>

#include "worker/stream_message.h"

namespace qiv {
namespace {

constexpr long long longest_start_s = 999 * 3600;

void append_escaped(std::string& key, std::string_view part) {
  for (const char c : part) {
    if (c == '/') {
      key += "%2F";
    } else if (c == '%') {
      key += "%25";
    } else {
      key += c;
    }
  }
}

std::optional<std::string> unescaped(std::string_view part) {
  std::string result;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (part[i] != '%') {
      result += part[i];
      continue;
    }
    const std::string_view code = part.substr(i + 1, 2);
    if (code != "2F" && code != "25") return std::nullopt;
    result += code == "2F" ? '/' : '%';
    i += 2;
  }
  return result;
}

std::string start_text(const TripKey& trip) {
  return std::to_string(trip.start.count());
}

std::optional<long long> whole_number(const std::string& text) {
  long long number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

/// The trip of three parts of a key from `first` on.
std::optional<TripKey> trip_of(const std::vector<std::string>& parts, std::size_t first) {
  const auto day = ServiceDate::parse(parts[first + 1]);
  const auto start = whole_number(parts[first + 2]);
  if (!day || !is_stream_time(Instant(day->days()))) return std::nullopt;
  if (!start || *start < 0 || *start > longest_start_s) return std::nullopt;
  return TripKey{TripId(parts[first]), *day, Seconds(*start)};
}

}  // namespace

std::string join_key(std::initializer_list<std::string_view> parts) {
  std::string key;
  for (const std::string_view part : parts) {
    append_escaped(key, part);
    key += '/';
  }
  key.pop_back();
  return key;
}

std::optional<std::vector<std::string>> split_key(std::string_view key) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t slash = key.find('/');
    auto part = unescaped(key.substr(0, slash));
    if (!part) return std::nullopt;
    parts.push_back(std::move(*part));
    if (slash == std::string_view::npos) return parts;
    key.remove_prefix(slash + 1);
  }
}

std::string position_key(const AgencyId& agency, const VehicleId& vehicle) {
  return join_key({agency.text(), vehicle.text()});
}

std::string forecast_group(const TripOfVehicle& trip) {
  return join_key({trip.agency.text(), trip.trip.trip.text(), trip.trip.day.to_string(),
                   start_text(trip.trip)});
}

std::string forecast_key(const TripOfVehicle& trip) {
  return forecast_group(trip) + "/" + join_key({trip.vehicle.text()});
}

std::optional<TripOfVehicle> parse_forecast_key(std::string_view key) {
  const auto parts = split_key(key);
  if (!parts || parts->size() != 5) return std::nullopt;
  auto trip = trip_of(*parts, 1);
  if (!trip || (*parts)[4].empty()) return std::nullopt;
  return TripOfVehicle{AgencyId((*parts)[0]), std::move(*trip), VehicleId((*parts)[4])};
}

std::string finished_group(const FinishedKey& key) {
  return join_key({key.trip.agency.text(), key.pattern.text()});
}

std::string finished_key(const FinishedKey& key) {
  const TripOfVehicle& trip = key.trip;
  return finished_group(key) + "/" +
         join_key({trip.trip.trip.text(), trip.trip.day.to_string(), start_text(trip.trip),
                   trip.vehicle.text(), std::to_string(unix_seconds(key.begun))});
}

std::optional<FinishedKey> parse_finished_key(std::string_view key) {
  const auto parts = split_key(key);
  if (!parts || parts->size() != 7) return std::nullopt;
  auto trip = trip_of(*parts, 2);
  const auto begun = whole_number((*parts)[6]);
  if (!trip || (*parts)[1].empty() || (*parts)[5].empty()) return std::nullopt;
  if (!begun || !is_stream_time(from_unix_seconds(*begun))) return std::nullopt;
  return FinishedKey{{AgencyId((*parts)[0]), std::move(*trip), VehicleId((*parts)[5])},
                     PatternRef((*parts)[1]),
                     from_unix_seconds(*begun)};
}

}  // namespace qiv
