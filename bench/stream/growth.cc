// What a worker's engines cost as a town grows, without broker and client.
//
//   bench_stream_growth TOWN VEHICLES PARTITIONS DAYS
//
// A synthetic town with at least TOWN vehicles on the road, each of which reports every 20 s; of
// them so many report that there are VEHICLES, spread over all lines. The trips of two hours, as of
// each of DAYS days, are the histories. Then the messages of ten minutes are taken by the engines
// of PARTITIONS partitions, each reading, forecasting and writing; those of the ten minutes before
// have been. Prints one line.

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "stream/bench_town.h"
#include "stream/spent.h"
#include "stream/take_finished.h"
#include "track/tracker.h"
#include "worker/history_book.h"
#include "worker/output_message.h"
#include "worker/partition_engine.h"
#include "worker/position_codec.h"

namespace {

using namespace qiv;  // NOLINT(google-build-using-namespace)
using std::chrono::hours;
using std::chrono::minutes;

using bench_town::agency;
using bench_town::day;
using bench_town::report_interval;

double in_use_mb() {
  return static_cast<double>(bytes_in_use()) / 1e6;
}

/// Lets the fleet of the town drive; hands on the reports of the chosen share of its vehicles.
class Drive {
 public:
  Drive(const Network& network, double share)
      : _network(network), _fleet(network, bench_town::fleet_options()), _share(share) {}

  template <class Take>
  void until(Seconds time_of_day, const Take& take) {
    const Instant end = _network.clock().at(day, time_of_day);
    for (; _now < end; _now += report_interval) {
      for (const VehiclePosition& position : _fleet.reports(_now)) {
        const auto number = std::hash<std::string>()(position.vehicle.text()) % 1000;
        if (static_cast<double>(number) < 1000.0 * _share) take(position);
      }
    }
  }

 private:
  const Network& _network;
  Fleet _fleet;
  double _share;
  Instant _now = _network.clock().at(day, hours(8));
};

std::vector<FinishedTrip> past_trips(const Network& network) {
  Tracker tracker(network);
  std::vector<TrackEvent> events;
  std::vector<FinishedTrip> trips;
  Drive(network, 1.0).until(hours(10), [&](const VehiclePosition& position) {
    tracker.advance(position.received, events);
    tracker.update(position, events);
    take_finished(events, agency, trips);
  });
  return trips;
}

/// The same trips as those of the days before.
void keep(std::vector<FinishedTrip> trips, int days, HistoryBook& book) {
  for (int passed = 0; passed < days; ++passed) {
    for (FinishedTrip& trip : trips) {
      trip.run.trip.day = trip.run.trip.day - std::chrono::days(1);
      trip.finished -= hours(24);
      for (Progress& progress : trip.run.progress) {
        progress.time -= hours(24);
        progress.received -= hours(24);
      }
      book.take(trip);
    }
  }
}

/// The engines of the partitions, as a worker holds them.
class Engines {
 public:
  Engines(const Network& network, const LearnedSettings& settings, const HistoryBook& book,
          std::size_t partitions)
      : _network(network) {
    for (std::size_t i = 0; i < partitions; ++i) {
      _engines.push_back(std::make_unique<PartitionEngine>(network, settings, book.source()));
    }
  }

  /// Reads, forecasts and writes; returns how many forecasts came of it.
  std::size_t take(const std::vector<StreamMessage>& messages) {
    std::size_t forecasts = 0;
    for (const StreamMessage& message : messages) {
      auto decoded = std::get<0>(decode_position(message));
      _output.clear();
      PartitionEngine& engine = *_engines[std::hash<std::string>()(message.key) % _engines.size()];
      engine.take(std::get<VehiclePosition>(std::move(decoded)), _output);
      for (PartitionOutput& one : _output) {
        if (std::holds_alternative<VehicleForecast>(one)) ++forecasts;
        _bytes += encode_output(one, agency, _network).message.key.size();
      }
    }
    return forecasts;
  }

 private:
  const Network& _network;
  std::vector<std::unique_ptr<PartitionEngine>> _engines;
  std::vector<PartitionOutput> _output;
  std::size_t _bytes = 0;
};

int measure(std::size_t town, std::size_t vehicles, std::size_t partitions, int days) {
  const double empty_mb = in_use_mb();
  const auto network = bench_town::make_network(town);
  const double network_mb = in_use_mb() - empty_mb;
  const LearnedSettings settings;
  HistoryBook book(*network, settings);
  const double before_book_mb = in_use_mb();
  keep(past_trips(*network), days, book);
  const double book_mb = in_use_mb() - before_book_mb;

  const double share = static_cast<double>(vehicles) / static_cast<double>(town);
  Drive drive(*network, share);
  std::vector<StreamMessage> messages;
  const auto write = [&](const VehiclePosition& position) {
    messages.push_back(encode_position(agency, position));
  };
  drive.until(hours(10) + minutes(10), [](const VehiclePosition&) {});
  drive.until(hours(10) + minutes(20), write);
  const std::vector<StreamMessage> before = std::exchange(messages, {});
  drive.until(hours(10) + minutes(30), write);

  const double before_engines_mb = in_use_mb();
  Engines engines(*network, settings, book, partitions);
  double began_s = cpu_s();
  engines.take(before);
  const double opening_s = cpu_s() - began_s;
  began_s = cpu_s();
  const std::size_t forecasts = engines.take(messages);
  const double us = 1e6 * (cpu_s() - began_s) / static_cast<double>(messages.size());
  std::cout << network->patterns().size() << " patterns, "
            << messages.size() / (minutes(10) / report_interval) << " vehicles, " << partitions
            << " partitions, " << book.trips() << " trips: " << us << " us a message, "
            << static_cast<int>(1e6 / us) << "/s, first ten minutes "
            << 1e6 * opening_s / static_cast<double>(before.size()) << " us; network " << network_mb
            << " MB, trips held " << book_mb << " MB, engines " << in_use_mb() - before_engines_mb
            << " MB" << std::endl;
  if (2 * forecasts > messages.size()) return 0;
  std::cerr << "bench_stream_growth: only " << forecasts << " forecasts\n";
  return 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5) {
    std::cerr << "usage: bench_stream_growth TOWN VEHICLES PARTITIONS DAYS\n";
    return 2;
  }
  const auto number = [&](int i) { return static_cast<std::size_t>(std::atol(arguments[i])); };
  return measure(number(1), number(2), number(3), static_cast<int>(number(4)));
}
