#include "app/city.h"

#include <algorithm>
#include <fstream>

#include "app/exit_code.h"
#include "feed/gtfs.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

constexpr Seconds day_begins = std::chrono::hours(3);

void copy_timetable(const fs::path& from, const fs::path& to) {
  fs::remove_all(to);
  fs::copy(from, to, fs::copy_options::recursive);
}

}  // namespace

City City::create(const fs::path& folder, const fs::path& timetable) {
  try {
    read_gtfs(FileBundle::open(timetable));
    const bool fresh = !fs::exists(folder / "city.toml");
    fs::create_directories(folder);
    CityConfig config;
    config.name = fs::weakly_canonical(folder).filename().string();
    if (!fresh) config = read_city_config(folder / "city.toml");
    copy_timetable(timetable, folder / config.timetable);
    if (fresh) std::ofstream(folder / "city.toml") << city_config_text(config);
    Archive(folder / "archive.sqlite");
  } catch (const fs::filesystem_error& error) {
    throw CommandError(ExitCode::failed, error.what());
  } catch (const std::runtime_error& error) {
    throw CommandError(ExitCode::failed, error.what());
  }
  return City(folder);
}

City::City(const fs::path& folder) : _folder(folder) {
  if (!fs::exists(folder / "city.toml")) {
    throw CommandError(ExitCode::usage, folder.string() + ": no city here; make one by: qiv init " +
                                            folder.string() + " --gtfs FILE");
  }
  _config = read_city_config(folder / "city.toml");
  GtfsResult feed = read_gtfs(FileBundle::open(folder / _config.timetable));
  _timetable_rejections = feed.rejections;
  _network = std::make_unique<Network>(build_network(feed.timetable));
  _timetable_rejections.merge(_network->rejections());
  _archive = std::make_unique<Archive>(folder / "archive.sqlite");
}

std::vector<ServiceDate> City::recorded_days() {
  std::vector<ServiceDate> days;
  const ArchiveSummary summary = _archive->summary();
  if (!summary.first_received || !summary.last_received) return days;
  const ServiceClock& clock = network().clock();
  const ServiceDate last = clock.local_day(*summary.last_received);
  for (ServiceDate day = clock.local_day(*summary.first_received) - std::chrono::days(1);
       day <= last; day = day + std::chrono::days(1)) {
    bool any = false;
    _archive->read_positions(clock.at(day, day_begins),
                             clock.at(day + std::chrono::days(1), day_begins),
                             [&](const VehiclePosition&) { any = true; });
    if (any) days.push_back(day);
  }
  return days;
}

std::vector<VehiclePosition> City::positions(ServiceDate day) {
  const ServiceClock& clock = network().clock();
  return _archive->positions(clock.at(day, day_begins),
                             clock.at(day + std::chrono::days(1), day_begins));
}

RecordedRuns City::follow(ServiceDate last,
                          const std::function<void(double, ServiceDate)>& on_progress) {
  RecordedRuns runs(network());
  std::vector<ServiceDate> days = recorded_days();
  std::erase_if(days, [&](ServiceDate day) { return day > last; });
  for (std::size_t i = 0; i < days.size(); ++i) {
    on_progress(static_cast<double>(i) / static_cast<double>(days.size()), days[i]);
    Tracker tracker(network(), _config.track);
    std::vector<TrackEvent> events;
    std::vector<ArchivedRun> archived;
    const auto keep = [&] {
      for (const TrackEvent& event : events) {
        const auto* const ended = std::get_if<TripEnded>(&event);
        if (ended == nullptr || ended->run.progress.empty()) continue;
        runs.add(ended->run);
        ArchivedRun run{ended->run, {}};
        if (const auto trip = network().schedule(ended->run.trip)) {
          for (std::size_t j = 0; j < trip->plan->size(); ++j) {
            run.calls.push_back(trip->plan->call(j));
          }
        }
        archived.push_back(std::move(run));
      }
      events.clear();
    };
    for (const VehiclePosition& position : positions(days[i])) {
      tracker.advance(position.received, events);
      tracker.update(position, events);
      keep();
    }
    tracker.finish(events);
    keep();
    _archive->add_runs(archived);
  }
  return runs;
}

LearnedSettings City::settings() {
  const auto record = _archive->latest_settings();
  return record ? record->settings : LearnedSettings();
}

std::optional<ServiceDate> City::learned_until() {
  const auto record = _archive->latest_settings();
  if (!record) return std::nullopt;
  return record->last_day;
}

ServiceDate parse_day(const std::string& text, const std::string& option) {
  if (const auto day = ServiceDate::parse(text)) return *day;
  throw CommandError(ExitCode::usage, option + ": '" + text + "' is no day; write YYYY-MM-DD");
}

}  // namespace qiv
