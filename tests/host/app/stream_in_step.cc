#include "host/app/stream_in_step.h"

#include <algorithm>
#include <functional>
#include <tuple>

#include "engine/tracked_engine.h"
#include "worker/output_message.h"
#include "worker/position_codec.h"

namespace qiv::testing {
namespace {

constexpr std::size_t partitions = 4;

CityConfig town_config() {
  CityConfig config;
  config.name = "town";
  return config;
}

}  // namespace

StreamInStep::StreamInStep(const StreamData& data, const LearnedSettings& settings)
    : _data(data),
      _settings(settings),
      _book(*data.network, _settings),
      _display(town_config(), true) {
  auto basis = std::make_shared<DisplayBasis>(data.network, settings);
  for (const FinishedTrip& trip : data.histories) {
    _book.take(trip);
    basis->take(encode_finished(trip));
  }
  for (std::size_t i = 0; i < partitions; ++i) {
    _partitions.emplace_back(*data.network, _settings, _book.source());
  }
  _display.use(std::move(basis));
}

void StreamInStep::pass(Instant now) {
  const auto begin = _data.positions.begin() + static_cast<std::ptrdiff_t>(_next);
  const auto end = std::find_if(begin, _data.positions.end(),
                                [now](const auto& position) { return position.received > now; });
  for_each_second({begin, end}, [this](auto together) { take(together); });
  _next = static_cast<std::size_t>(end - _data.positions.begin());
  advance(now);
}

void StreamInStep::take(std::span<const VehiclePosition> together) {
  const Instant second = together.front().received;
  advance(second - Seconds(1));
  std::vector<PartitionOutput> output;
  for (PartitionEngine& partition : _partitions) partition.advance(second, output);
  for (const VehiclePosition& position : together) {
    const std::size_t number = std::hash<std::string>()(position.vehicle.text()) % partitions;
    const StreamMessage message = encode_position(stream_agency, position);
    auto decoded = std::get<0>(decode_position(message));
    _partitions[number].take(std::get<VehiclePosition>(std::move(decoded)), output);
    _display.take_position(message);
  }
  publish(output);
}

void StreamInStep::advance(Instant now) {
  std::vector<PartitionOutput> output;
  for (PartitionEngine& partition : _partitions) partition.advance(now, output);
  publish(output);
}

void StreamInStep::publish(std::vector<PartitionOutput>& output) {
  for (PartitionOutput& one : output) {
    if (auto* const finished = std::get_if<FinishedTrip>(&one)) {
      _finished.push_back(std::move(*finished));
    } else {
      say(encode_output(one, stream_agency, *_data.network).message);
    }
  }
  learn();
}

void StreamInStep::say(const StreamMessage& message) {
  ++_messages;
  _bytes += message.key.size() + message.value.value_or("").size();
  _display.take_forecast(message);
}

void StreamInStep::learn() {
  std::sort(_finished.begin(), _finished.end(), [](const FinishedTrip& a, const FinishedTrip& b) {
    return std::tie(a.finished, a.run.trip, a.run.vehicle) <
           std::tie(b.finished, b.run.trip, b.run.vehicle);
  });
  for (FinishedTrip& trip : _finished) {
    trip.agency = stream_agency;
    const bool joins = _book.take(trip);
    for (PartitionEngine& partition : _partitions) {
      if (joins) partition.learn_from(trip);
    }
    _display.take_finished(encode_finished(trip));
  }
  _finished.clear();
}

}  // namespace qiv::testing
