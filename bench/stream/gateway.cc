// What a gateway costs: taking the workers' messages, and making a snapshot of them.
//
//   bench_stream_gateway VEHICLES [MINUTES]
//
// A synthetic town with at least so many vehicles on the road, each of which reports every 20 s for
// MINUTES (15 unless stated). One partition's engine makes their messages; then a gateway's display
// takes them all, and shows them for ten seconds. Without broker, HTTP and histories.

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "app/gateway_display.h"
#include "stream/bench_town.h"
#include "stream/spent.h"
#include "worker/output_message.h"
#include "worker/partition_engine.h"

namespace {

using namespace qiv;  // NOLINT(google-build-using-namespace)

using bench_town::agency;
using bench_town::report_interval;

std::vector<VehiclePosition> drive(const Network& network, Seconds length) {
  Fleet fleet(network, bench_town::fleet_options());
  std::vector<VehiclePosition> all;
  const Instant from =
      network.clock().at(bench_town::day, std::chrono::hours(8) + std::chrono::minutes(40));
  for (Instant now = from; now < from + length; now += report_interval) {
    for (VehiclePosition& position : fleet.reports(now)) all.push_back(std::move(position));
  }
  return all;
}

/// The messages of the forecasts' topic.
std::vector<StreamMessage> work(const Network& network,
                                const std::vector<VehiclePosition>& positions) {
  const LearnedSettings settings;
  PartitionEngine engine(network, settings,
                         [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
  std::vector<StreamMessage> messages;
  std::vector<PartitionOutput> output;
  for (const VehiclePosition& position : positions) {
    output.clear();
    engine.take(position, output);
    for (PartitionOutput& one : output) {
      OutputMessage encoded = encode_output(one, agency, network);
      if (!encoded.is_finished_trip) messages.push_back(std::move(encoded.message));
    }
  }
  return messages;
}

std::size_t bytes_of(const std::vector<StreamMessage>& messages) {
  std::size_t bytes = 0;
  for (const StreamMessage& message : messages) {
    bytes += message.key.size() + message.value.value_or("").size();
  }
  return bytes;
}

int measure(std::size_t vehicles, int minutes) {
  const auto network = bench_town::make_network(vehicles);
  const auto positions = drive(*network, std::chrono::minutes(minutes));
  const std::vector<StreamMessage> messages = work(*network, positions);
  std::cout << positions.size() << " positions, " << network->patterns().size() << " patterns; "
            << messages.size() << " messages of " << bytes_of(messages) / messages.size()
            << " bytes\n";
  GatewayDisplay display(CityConfig(), false);
  const std::size_t before = bytes_in_use();
  display.use(std::make_shared<DisplayBasis>(network, LearnedSettings()));
  double began_s = cpu_s();
  for (const StreamMessage& message : messages) display.take_forecast(message);
  const double take_s = cpu_s() - began_s;
  std::shared_ptr<Snapshot> shown = display.show(display.newest());
  began_s = cpu_s();
  for (int second = 1; second <= 10; ++second) {
    shown = display.show(display.newest() + Seconds(second));
  }
  const double show_s = (cpu_s() - began_s) / 10.0;
  std::cout << "taking a message: " << take_s * 1e6 / static_cast<double>(messages.size())
            << " us of CPU\nmaking a snapshot of " << shown->trips.size() << " trips, "
            << shown->vehicles.size() << " vehicles: " << show_s * 1e3
            << " ms of CPU\nmemory: " << (bytes_in_use() - before) / 1'000'000 << " MB\n";
  const bool whole = shown->vehicles.size() >= vehicles && shown->rejections.total() == 0;
  if (!whole) std::cout << "not all vehicles are shown\n";
  return whole ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::cerr << "usage: bench_stream_gateway VEHICLES [MINUTES]\n";
    return 2;
  }
  return measure(static_cast<std::size_t>(std::atoi(argv[1])), argc == 3 ? std::atoi(argv[2]) : 15);
}
