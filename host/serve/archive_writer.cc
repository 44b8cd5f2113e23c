#include "serve/archive_writer.h"

#include <algorithm>
#include <span>
#include <utility>

namespace qiv {

void ArchiveWriter::add(const VehiclePosition& position) {
  _positions.push_back(position);
}

void ArchiveWriter::add(const TrackEvent& event, const Network& network) {
  if (const auto* const progress = std::get_if<Progress>(&event)) {
    _changes.emplace_back(AcceptedProgress{network.pattern(progress->pattern).ref, *progress});
  } else if (const auto* const corrected = std::get_if<Corrected>(&event)) {
    if (corrected->cleaned.empty()) return;
    const PatternRef& pattern = network.pattern(corrected->cleaned.front().pattern).ref;
    _changes.emplace_back(
        TripRun{corrected->vehicle, corrected->trip, pattern, corrected->cleaned});
  }
}

void ArchiveWriter::add_finished(ArchivedRun run) {
  if (!run.run.progress.empty()) _changes.emplace_back(std::move(run));
}

bool ArchiveWriter::commit() {
  if (waiting() == 0) return true;
  try {
    _archive.together([&] { write(); });
  } catch (const ArchiveError& error) {
    ++_counts.failures;
    _last_error = error.what();
    give_up_beyond_limit();
    return false;
  }
  _counts.positions += _positions.size();
  for (const Change& change : _changes) {
    if (std::holds_alternative<AcceptedProgress>(change)) ++_counts.progress;
    if (std::holds_alternative<ArchivedRun>(change)) ++_counts.trips;
  }
  _positions.clear();
  _changes.clear();
  _last_error.clear();
  return true;
}

void ArchiveWriter::write() {
  _archive.record(_positions);
  std::vector<AcceptedProgress> together;
  const auto append = [&] {
    if (!together.empty()) _archive.append_progress(together);
    together.clear();
  };
  for (const Change& change : _changes) {
    if (const auto* const progress = std::get_if<AcceptedProgress>(&change)) {
      together.push_back(*progress);
      continue;
    }
    append();
    if (const auto* const corrected = std::get_if<TripRun>(&change)) {
      _archive.correct_progress(*corrected);
    } else {
      _archive.add_runs(std::span(&std::get<ArchivedRun>(change), 1));
    }
  }
  append();
}

void ArchiveWriter::give_up_beyond_limit() {
  if (waiting() <= _options.most_rows) return;
  const std::size_t excess = waiting() - _options.most_rows;
  const std::size_t positions = std::min(excess, _positions.size());
  const std::size_t changes = excess - positions;
  _positions.erase(_positions.begin(), _positions.begin() + static_cast<std::ptrdiff_t>(positions));
  _changes.erase(_changes.begin(), _changes.begin() + static_cast<std::ptrdiff_t>(changes));
  _counts.losses += excess;
}

}  // namespace qiv
