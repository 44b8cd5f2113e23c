// What a worker's histories cost in memory.
//
//   bench_stream_histories FOLDER [REPEAT]
//
// FOLDER is one of data/: all its recorded days are followed; their finished trips are kept whole,
// as a worker keeps them, and as the engine of one partition has them with every pattern open. With
// REPEAT the same days come so many times, a year apart, so that windows fill.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

#include "engine/engine_shard.h"
#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "feed/position_source.h"
#include "network/build_network.h"
#include "stream/spent.h"
#include "stream/take_finished.h"
#include "track/tracker.h"
#include "worker/history_book.h"

namespace {

using namespace qiv;  // NOLINT(google-build-using-namespace)
namespace fs = std::filesystem;

std::vector<FinishedTrip> follow(const Network& network, const fs::path& folder) {
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with("positions-")) files.insert(entry.path());
  }
  std::vector<FinishedTrip> finished;
  for (const fs::path& file : files) {
    Tracker tracker(network);
    std::vector<TrackEvent> events;
    read_positions(file, [&](const std::vector<VehiclePosition>& batch) {
      for (const VehiclePosition& position : batch) {
        tracker.advance(position.received, events);
        tracker.update(position, events);
      }
    });
    take_finished(events, AgencyId("a"), finished);
  }
  return finished;
}

void tell(const char* what, std::size_t bytes, std::size_t trips) {
  std::cout << what << ": " << bytes / 1'000'000 << " MB, "
            << bytes / std::max<std::size_t>(trips, 1) << " bytes a trip\n";
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::cerr << "usage: bench_stream_histories FOLDER [REPEAT]\n";
    return 2;
  }
  const fs::path folder = arguments[1];
  const int repeat = count > 2 ? std::atoi(arguments[2]) : 1;
  const Network network = build_network(read_gtfs(FileBundle::open(folder / "gtfs.zip")).timetable);
  const LearnedSettings settings;
  const auto of_days = follow(network, folder);
  std::size_t before = bytes_in_use();
  const std::vector<FinishedTrip> whole = of_days;
  std::size_t places = 0;
  for (const FinishedTrip& trip : whole) places += trip.run.progress.size();
  std::cout << whole.size() << " trips of " << network.patterns().size() << " patterns, "
            << places / whole.size() << " places each\n";
  tell("whole", bytes_in_use() - before, whole.size());
  std::size_t encoded = 0;
  for (const FinishedTrip& trip : whole) encoded += encode_finished(trip).value->size();
  tell("in the topic, without key", encoded, whole.size());
  before = bytes_in_use();
  HistoryBook book(network, settings);
  std::size_t taken = 0;
  for (int year = 0; year < repeat; ++year) {
    for (FinishedTrip trip : whole) {
      const Seconds later = year * std::chrono::days(364);
      trip.run.trip.day = ServiceDate(trip.run.trip.day.days() + year * std::chrono::days(364));
      trip.finished += later;
      for (Progress& progress : trip.run.progress) {
        progress.time += later;
        progress.received += later;
      }
      if (book.take(trip)) ++taken;
    }
  }
  std::cout << static_cast<std::size_t>(repeat) * whole.size() << " trips came, " << taken
            << " joined, " << book.trips() << " are held\n";
  tell("as a worker keeps them", bytes_in_use() - before, book.trips());
  before = bytes_in_use();
  EngineShard shard(network, settings, book.source(), {});
  std::size_t milestones = 0;
  for (PatternIndex i = 0; i < network.patterns().size(); ++i) {
    milestones += shard.desk_of(i).grid().milestones_m.size();
  }
  std::cout << milestones / network.patterns().size() << " milestones a pattern\n";
  tell("in the engine of one partition", bytes_in_use() - before, book.trips());
}
