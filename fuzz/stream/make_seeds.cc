// The fuzzer's real seeds: messages as the encoders write them, of a vehicle that runs the straight
// line.
//
//   stream_make_seeds FOLDER           writes them
//   stream_make_seeds --check FOLDER   tells those that their codec does not take (any more)

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "host/support/straight_line.h"
#include "worker/partition_engine.h"
#include "worker/position_codec.h"
#include "worker/reference_codec.h"

namespace {

using namespace qiv;  // NOLINT(google-build-using-namespace)
namespace fs = std::filesystem;
using testing::at;

const AgencyId agency("a");

/// By the name of the seed. The first part of it is the codec.
using Seeds = std::map<std::string, StreamMessage>;

StreamMessage encode(PartitionOutput output, const Network& network) {
  if (auto* const forecast = std::get_if<VehicleForecast>(&output)) {
    forecast->agency = agency;
    return encode_forecast(*forecast, network);
  }
  if (auto* const finished = std::get_if<FinishedTrip>(&output)) {
    finished->agency = agency;
    return encode_finished(*finished);
  }
  if (auto* const vehicle = std::get_if<VehicleState>(&output)) {
    vehicle->agency = agency;
    return encode_vehicle(*vehicle);
  }
  auto& left = std::get<LeftTrip>(output);
  left.trip.agency = agency;
  return encode_left(left);
}

const char* kind_of(const PartitionOutput& output) {
  static constexpr const char* kinds[] = {"forecast", "left", "finished", "vehicle"};
  return kinds[output.index()];
}

/// What is said of a run over the line, the second time with the first as its history.
void add_run(const Network& network, const std::string& name, const EngineOptions& options,
             Seeds& seeds) {
  const LearnedSettings settings;
  PartitionEngine engine(
      network, settings, [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); }, {},
      options);
  for (const std::string trip : {"out", "later"}) {
    for (int i = 0; i <= 16; ++i) {
      VehiclePosition position =
          testing::fix("v", trip, trip == "out" ? "08:00:00" : "09:00:00", 250.0 * i);
      position.time = position.received = position.time + Seconds(30 * i);
      std::vector<PartitionOutput> outputs;
      engine.take(position, outputs);
      for (PartitionOutput& output : outputs) {
        const std::string kind = kind_of(output);
        if (auto* const finished = std::get_if<FinishedTrip>(&output)) engine.learn_from(*finished);
        if (i % 5 != 1 && kind == "forecast") continue;
        seeds[kind + "-" + name + "-" + trip + "-" + std::to_string(i)] =
            encode(std::move(output), network);
      }
    }
  }
}

Seeds make_seeds() {
  const Network network = testing::straight_network();
  Seeds seeds;
  add_run(network, "arrivals", {}, seeds);
  EngineOptions legs;
  legs.mode = ForecastMode::travel;
  add_run(network, "legs", legs, seeds);
  VehiclePosition position = testing::fix("v", "out", "08:01:00", 500.0);
  position.bearing_deg = 89.5;
  position.speed_mps = 8.25;
  seeds["position-fix"] = encode_position(agency, position);
  seeds["position-stop"] = encode_position(
      agency, testing::stated("v", "out", "08:02:00", StopStatus::stopped_at, 2, 1000.0));
  LearnedSettings settings;
  settings.patterns[network.patterns().front().ref].window = 30;
  seeds["settings-learned"] = encode_settings(settings, at("08:00:00"));
  const auto chunks = encode_network("a timetable of two chunks", at("08:00:00"), 16);
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    const bool is_last = i + 1 == chunks.size();
    seeds[is_last ? "manifest" : "chunk-" + std::to_string(i)] = chunks[i];
  }
  return seeds;
}

bool is_taken(const std::string& kind, const StreamMessage& message) {
  static const Network network = testing::straight_network();
  if (kind == "forecast") return decode_forecast(message, network).index() == 0;
  if (kind == "finished") return decode_finished(message).index() == 0;
  if (kind == "position") return decode_position(message).index() == 0;
  if (kind == "vehicle") return decode_vehicle(message).index() == 0;
  if (kind == "left") return parse_forecast_key(message.key).has_value();
  const auto unused = Reference().take(message);
  return !unused ||
         (kind == "manifest" && unused->reason.find("parts of timetable") != std::string::npos);
}

void write(const fs::path& folder) {
  for (const auto& [name, message] : make_seeds()) {
    std::ofstream(folder / name, std::ios::binary) << message.key << '\n'
                                                   << message.value.value_or("");
  }
}

/// Returns how many seeds there are that their codecs take; 0 when any is not taken.
int check(const fs::path& folder) {
  int taken = 0;
  for (const auto& [name, made] : make_seeds()) {
    std::ifstream file(folder / name, std::ios::binary);
    StreamMessage message;
    std::getline(file, message.key);
    message.value.emplace(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    message.time = at("08:00:00");
    if (!is_taken(name.substr(0, name.find('-')), message)) {
      std::cerr << (folder / name).string() << ": is not taken; write the seeds anew\n";
      return 0;
    }
    ++taken;
  }
  return taken;
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 2) {
    write(arguments[1]);
    return 0;
  }
  if (count == 3 && std::string(arguments[1]) == "--check") {
    const int taken = check(arguments[2]);
    std::cout << taken << " seeds are taken\n";
    return taken == 0 ? 1 : 0;
  }
  std::cerr << "usage: stream_make_seeds [--check] FOLDER\n";
  return 2;
}
