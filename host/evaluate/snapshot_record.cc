#include "evaluate/snapshot_record.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "feed/realtime_message.h"

namespace qiv {
namespace {

/// The newest time that an update of the message states.
std::optional<Instant> newest_update(const TripUpdateBatch& batch) {
  std::optional<Instant> newest;
  for (const TripUpdate& update : batch.updates) {
    if (!newest || update.time > *newest) newest = update.time;
  }
  return newest;
}

PositionOptions named(const std::string& entry) {
  PositionOptions options;
  options.name = entry;
  return options;
}

}  // namespace

SnapshotRecord::SnapshotRecord(const std::filesystem::path& path, Seconds longest_age)
    : _bundle(FileBundle::open(path)), _longest_age(longest_age) {
  _rejections.merge(_bundle.rejections());
  for (const std::string& entry : _bundle.entries()) {
    if (const auto time = time_of(entry)) _snapshots.push_back({*time, entry});
  }
  if (_snapshots.empty()) {
    const auto& reasons = _rejections.entries();
    const std::string first = reasons.empty() ? ""
                                              : " (" + reasons.begin()->first + ": " +
                                                    reasons.begin()->second.first + ")";
    throw std::runtime_error(path.string() + " holds no recorded trip updates" + first +
                             ": name a GTFS-realtime message (.pb), or a folder or zip file of "
                             "them");
  }
  std::stable_sort(_snapshots.begin(), _snapshots.end(),
                   [](const Snapshot& a, const Snapshot& b) { return a.time < b.time; });
  // The last of equal times stays.
  const auto kept =
      std::unique(_snapshots.rbegin(), _snapshots.rend(),
                  [](const Snapshot& a, const Snapshot& b) { return a.time == b.time; });
  _snapshots.erase(_snapshots.begin(), kept.base());
}

std::optional<Instant> SnapshotRecord::time_of(const std::string& entry) {
  const auto reject = [&](const char* reason, const std::string& first) {
    _rejections.add(reason, [&] { return first; });
    return std::nullopt;
  };
  try {
    const auto bytes = _bundle.read(entry);
    if (!bytes) return std::nullopt;
    const RealtimeMessage message(*bytes);
    if (!message.is_valid()) return reject("not a GTFS-realtime message", entry);
    auto time = message.time();
    if (!time) time = newest_update(read_trip_updates(*bytes, named(entry)));
    if (!time) return reject("snapshot without a time", entry);
    return time;
  } catch (const std::runtime_error& error) {
    return reject("file cannot be read", error.what());
  }
}

void SnapshotRecord::load(std::size_t snapshot) {
  const std::string& entry = _snapshots[snapshot].entry;
  _current = snapshot;
  _batch = {};
  try {
    if (const auto bytes = _bundle.read(entry)) _batch = read_trip_updates(*bytes, named(entry));
  } catch (const std::runtime_error& error) {
    _rejections.add("file cannot be read", [&] { return std::string(error.what()); });
  }
  _batch.time = _snapshots[snapshot].time;
  _rejections.merge(_batch.rejections);
  _rejections.merge(_batch.remarks);
  ++_shown;
}

const TripUpdateBatch* SnapshotRecord::at(Instant now) {
  const auto next = std::upper_bound(_snapshots.begin(), _snapshots.end(), now,
                                     [](Instant t, const Snapshot& s) { return t < s.time; });
  if (next == _snapshots.begin()) return nullptr;
  const auto snapshot = static_cast<std::size_t>(next - _snapshots.begin()) - 1;
  if (now - _snapshots[snapshot].time > _longest_age) return nullptr;
  if (_current != snapshot) load(snapshot);
  return &_batch;
}

}  // namespace qiv
