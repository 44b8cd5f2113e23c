// Reads a message of each of the stream's topics. The first line of the input is the key, the rest
// is the value. What can be read must be writable, and be the same when it is read again.

#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "host/support/straight_line.h"
#include "worker/finished_codec.h"
#include "worker/forecast_codec.h"
#include "worker/position_codec.h"
#include "worker/reference_codec.h"
#include "worker/vehicle_codec.h"

namespace {

const qiv::AgencyId agency("a");

template <class T>
const T* read(const qiv::Decoded<T>& decoded) {
  const auto* const unused = std::get_if<qiv::Undecodable>(&decoded);
  fuzz::check(unused == nullptr || (!unused->reason.empty() && unused->reason.size() < 1000),
              "a reason is given, and short");
  return std::get_if<T>(&decoded);
}

/// Writes what was read, and what is read of that again: both must be the same bytes.
template <class Write, class Read>
void check_round(const Write& write, const Read& again) {
  const qiv::StreamMessage first = write();
  const qiv::StreamMessage second = again(first);
  fuzz::check(first.key == second.key && first.value == second.value && first.time == second.time,
              "what was read is read again as it was written");
}

void check_position(const qiv::StreamMessage& message) {
  const auto decoded = qiv::decode_position(message);
  const auto* const what = read(decoded);
  if (what == nullptr) return;
  const auto* const position = std::get_if<qiv::VehiclePosition>(what);
  if (position == nullptr) return;
  fuzz::check(!position->vehicle.empty(), "a position has a vehicle");
  fuzz::check(qiv::is_stream_time(position->received), "and was received in our days");
  check_round([&] { return qiv::encode_position(agency, *position); },
              [&](const qiv::StreamMessage& written) {
                const auto back = qiv::decode_position(written);
                return qiv::encode_position(agency,
                                            std::get<qiv::VehiclePosition>(std::get<0>(back)));
              });
}

void check_finished(const qiv::StreamMessage& message) {
  const auto decoded = qiv::decode_finished(message);
  const auto* const trip = read(decoded);
  if (trip == nullptr) return;
  fuzz::check(!trip->run.progress.empty(), "a finished trip has progress");
  check_round([&] { return qiv::encode_finished(*trip); },
              [&](const qiv::StreamMessage& written) {
                return qiv::encode_finished(std::get<0>(qiv::decode_finished(written)));
              });
}

void check_forecast(const qiv::StreamMessage& message) {
  static const qiv::Network network = qiv::testing::straight_network();
  const auto decoded = qiv::decode_forecast(message, network);
  const auto* const what = read(decoded);
  if (what == nullptr) return;
  const auto* const forecast = std::get_if<qiv::VehicleForecast>(what);
  if (forecast == nullptr) return;
  const auto pattern = network.find_pattern(forecast->forecast.pattern);
  fuzz::check(pattern.has_value(), "the pattern is known");
  fuzz::check(forecast->forecast.stops.empty() ||
                  forecast->forecast.stops.size() == network.pattern(*pattern).stops.size(),
              "the stops are the pattern's");
  check_round([&] { return qiv::encode_forecast(*forecast, network); },
              [&](const qiv::StreamMessage& written) {
                const auto back = qiv::decode_forecast(written, network);
                return qiv::encode_forecast(std::get<qiv::VehicleForecast>(std::get<0>(back)),
                                            network);
              });
}

void check_vehicle(const qiv::StreamMessage& message) {
  const auto decoded = qiv::decode_vehicle(message);
  const auto* const state = read(decoded);
  if (state == nullptr) return;
  fuzz::check(qiv::is_stream_time(state->said.last_report), "a vehicle reports in our days");
  check_round([&] { return qiv::encode_vehicle(*state); },
              [&](const qiv::StreamMessage& written) {
                return qiv::encode_vehicle(std::get<0>(qiv::decode_vehicle(written)));
              });
}

void check_reference(const qiv::StreamMessage& message) {
  qiv::Reference reference;
  const auto unused = reference.take(message);
  fuzz::check(!unused || !unused->reason.empty(), "a reason is given");
  fuzz::check(reference.gtfs() == nullptr, "one message is no timetable");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t line = bytes.find('\n');
  if (line == std::string_view::npos) return 0;
  qiv::StreamMessage message;
  message.key = bytes.substr(0, line);
  message.value = bytes.substr(line + 1);
  message.time = qiv::from_unix_seconds(1'759'811'582);
  check_position(message);
  check_finished(message);
  check_forecast(message);
  check_vehicle(message);
  check_reference(message);
  return 0;
}
