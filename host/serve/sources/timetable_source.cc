#include "serve/sources/timetable_source.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "feed/gtfs.h"
#include "network/build_network.h"
#include "serve/sources/pause.h"

namespace qiv {
namespace {

namespace fs = std::filesystem;

constexpr int days_ahead = 7;

bool runs_soon(const Network& network, Instant now) {
  const ServiceDate today = network.clock().local_day(now);
  for (int day = 0; day <= days_ahead; ++day) {
    if (!network.trips_on(today + std::chrono::days(day)).empty()) return true;
  }
  return false;
}

/// Puts `bytes` in the place of `file`, whole or not at all.
void replace_file(const fs::path& file, const std::string& bytes) {
  fs::path beside = file;
  beside += ".new";
  std::ofstream out(beside, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) throw std::runtime_error(beside.string() + " cannot be written: make room on the disk");
  fs::rename(beside, file);
}

}  // namespace

TimetableSource::TimetableSource(TimetableSourceOptions options, TakeNetwork take_network,
                                 Clock clock)
    : _options(std::move(options)),
      _take_network(std::move(take_network)),
      _clock(std::move(clock)),
      _monitor({_options.name,
                _options.request.url.empty() ? "timetable file"
                                             : "timetable from " + shown_url(_options.request.url),
                Seconds::max()}),
      _seen(fingerprint()) {}

/// Sizes and times of change, which tell whether a look is worth while.
std::string TimetableSource::fingerprint() const {
  std::error_code ignored;
  std::string text;
  const auto add = [&](const fs::path& path) {
    text += path.filename().string() + " " + std::to_string(fs::file_size(path, ignored)) + " " +
            std::to_string(fs::last_write_time(path, ignored).time_since_epoch().count()) + "\n";
  };
  if (!fs::is_directory(_options.file, ignored)) {
    add(_options.file);
    return text;
  }
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(_options.file, ignored)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) add(file);
  return text;
}

void TimetableSource::run(std::stop_token stop, const TakePositions&) {
  BackOff back_off(_options.interval, _options.longest_wait,
                   std::hash<std::string>()(_options.name));
  while (!stop.stop_requested()) {
    std::chrono::milliseconds wait = _options.interval;
    if (look(stop)) {
      back_off.succeeded();
    } else {
      wait = back_off.failed();
    }
    std::unique_lock lock(_mutex);
    _wake.wait_for(lock, stop, wait, [&] { return _soon; });
    _soon = false;
  }
}

void TimetableSource::look_soon() {
  {
    const std::lock_guard lock(_mutex);
    _soon = true;
  }
  _wake.notify_all();
}

/// Brings a changed answer into the file. False when it could not be had.
bool TimetableSource::download(const std::stop_token& stop, Instant now) {
  const FetchAnswer answer = fetch(_options.request, stop);
  if (stop.stop_requested()) return true;
  if (answer.not_modified) {
    _monitor.not_modified(now);
    return true;
  }
  if (!answer.ok) {
    _monitor.failed(now, answer.error);
    return false;
  }
  if (_monitor.is_repeated(now, answer.body)) return true;
  // What is broken must not take the file's place.
  read_gtfs(FileBundle::open_zip(answer.body, _options.name));
  replace_file(_options.file, answer.body);
  _options.request.etag = answer.etag;
  _options.request.last_modified = answer.last_modified;
  return true;
}

bool TimetableSource::look(const std::stop_token& stop) {
  const Instant now = _clock();
  try {
    if (!_options.request.url.empty() && !download(stop, now)) return false;
    const std::string present = fingerprint();
    if (present == _seen && !_refused) {
      _monitor.not_modified(now);
      return true;
    }
    _seen = present;
    _refused = true;  // until it has been read: it may be half written
    const GtfsResult feed = read_gtfs(FileBundle::open(_options.file));
    auto network = std::make_shared<Network>(build_network(feed.timetable));
    if (!runs_soon(*network, now)) {
      throw std::runtime_error("no trip runs within " + std::to_string(days_ahead) +
                               " days: the timetable in use stands");
    }
    FeedSummary content;
    content.time = now;
    content.rejections = feed.rejections;
    content.rejections.merge(network->rejections());
    _monitor.accepts(now, content);
    _refused = false;
    _take_network(std::move(network));
    return true;
  } catch (const std::runtime_error& error) {
    _monitor.failed(now, error.what());
    return false;
  }
}

SourceView TimetableSource::view(Instant now) const {
  SourceView view = _monitor.view(now);
  view.newest_entity_time.reset();
  if (view.health == SourceHealth::good) view.detail.clear();
  return view;
}

}  // namespace qiv
