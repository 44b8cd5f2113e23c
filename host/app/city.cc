#include "app/city.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <utility>

#include "app/exit_code.h"
#include "app/program_identity.h"
#include "app/serve_config.h"
#include "app/stream_config.h"
#include "feed/gtfs.h"
#include "history/pattern_outline.h"
#include "network/pattern_ref.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

constexpr Seconds day_begins = std::chrono::hours(3);

void copy_timetable(const fs::path& from, const fs::path& to) {
  fs::remove_all(to);
  fs::copy(from, to, fs::copy_options::recursive);
}

/// Of the content of a file, or of all files in a folder with their names.
std::string hash_of(const fs::path& path) {
  std::vector<fs::path> files;
  if (fs::is_directory(path)) {
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
  } else {
    files.push_back(path);
  }
  StableHash hash;
  std::string buffer(1 << 16, '\0');
  for (const fs::path& file : files) {
    hash.add(file.lexically_relative(path).string());
    std::ifstream in(file, std::ios::binary);
    do {
      in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
      hash.add(std::string_view(buffer).substr(0, static_cast<std::size_t>(in.gcount())));
    } while (in);
  }
  return std::to_string(hash.value());
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
    if (fresh)
      std::ofstream(folder / "city.toml")
          << city_config_text(config) << serve_config_text() << stream_config_text();
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
  _identity = program_identity() + " " + hash_of(folder / "city.toml") + " " +
              hash_of(folder / _config.timetable);
  keep_patterns();
}

/// A later timetable may not have these patterns any more, but their trips can be lent.
void City::keep_patterns() {
  std::vector<PatternOutline> outlines;
  for (const JourneyPattern& pattern : network().patterns()) {
    PatternOutline made = outline(pattern, network().stops());
    if (_archive->pattern(made.ref) != made) outlines.push_back(std::move(made));
  }
  if (!outlines.empty()) _archive->keep_patterns(outlines);
}

std::vector<ServiceDate> City::recorded_days() {
  std::vector<ServiceDate> days;
  const ServiceClock& clock = network().clock();
  auto received = _archive->next_received(Instant::min());
  while (received) {
    ServiceDate day = clock.local_day(*received);
    if (*received < clock.at(day, day_begins)) day = day - std::chrono::days(1);
    days.push_back(day);
    received = _archive->next_received(clock.at(day + std::chrono::days(1), day_begins));
  }
  return days;
}

std::vector<VehiclePosition> City::positions(ServiceDate day) {
  const ServiceClock& clock = network().clock();
  return _archive->positions(clock.at(day, day_begins),
                             clock.at(day + std::chrono::days(1), day_begins));
}

std::string City::state_of_day(ServiceDate day) {
  const ServiceClock& clock = network().clock();
  return _identity + " " +
         std::to_string(_archive->position_changes(
             clock.at(day, day_begins), clock.at(day + std::chrono::days(1), day_begins)));
}

std::string City::state(ServiceDate last) {
  StableHash hash;
  hash.add(_identity);
  const auto add = [&](ServiceDate day, const std::string& state) {
    if (day > last) return;
    hash.add(day.to_iso_string());
    hash.add(state);
  };
  for (const auto& [day, state] : _archive->followed_states()) add(day, state);
  for (const ServiceDate day : recorded_days()) add(day, state_of_day(day));
  return std::to_string(hash.value());
}

FollowedDay City::follow_day(ServiceDate day) {
  FollowedDay followed{day, state_of_day(day), {}};
  Tracker tracker(network(), _config.track);
  std::vector<TrackEvent> events;
  const auto keep = [&] {
    for (TrackEvent& event : events) {
      auto* const ended = std::get_if<TripEnded>(&event);
      if (ended == nullptr || ended->run.progress.empty()) continue;
      ArchivedRun& run = followed.runs.emplace_back();
      run.run = std::move(ended->run);
      const auto trip = network().schedule(run.run.trip);
      for (std::size_t j = 0; trip && j < trip->plan->size(); ++j) {
        run.calls.push_back(trip->plan->call(j));
      }
    }
    events.clear();
  };
  for (const VehiclePosition& position : positions(day)) {
    tracker.advance(position.received, events);
    tracker.update(position, events);
    keep();
  }
  tracker.finish(events);
  keep();
  return followed;
}

RecordedRuns City::follow(ServiceDate last,
                          const std::function<void(double, ServiceDate)>& on_progress) {
  const std::map<ServiceDate, std::string> known = _archive->followed_states();
  std::vector<ServiceDate> days = recorded_days();
  std::erase_if(days, [&](ServiceDate day) {
    const auto entry = known.find(day);
    return day > last || (entry != known.end() && entry->second == state_of_day(day));
  });
  for (std::size_t i = 0; i < days.size(); ++i) {
    on_progress(static_cast<double>(i) / static_cast<double>(days.size()), days[i]);
    const FollowedDay followed = follow_day(days[i]);
    if (2 * followed.runs.size() < _archive->followed_runs(days[i])) {
      _archive->note_followed(days[i], followed.state);
    } else {
      _archive->keep_followed(followed);
    }
  }
  RecordedRuns runs(network());
  for (const PatternOutline& pattern : _archive->patterns()) runs.know(pattern);
  _archive->read_runs({std::nullopt, std::nullopt, std::nullopt, last},
                      [&](ArchivedRun&& run) { runs.add(std::move(run)); });
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
