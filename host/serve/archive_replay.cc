#include "serve/archive_replay.h"

#include <algorithm>
#include <utility>

namespace qiv {
namespace {

/// So much of the archive is read at once.
constexpr Seconds stretch{10};
/// A trip that ends is of a day of service at most so far back.
constexpr std::chrono::days longest_trip{3};

}  // namespace

ArchiveReplay::ArchiveReplay(const Archive& archive, TrackedEngine& tracked, Instant from,
                             std::function<void(Instant)> see)
    : _archive(archive), _tracked(tracked), _next(from), _ends_from(from), _see(std::move(see)) {
  _tracked.learn_by_itself(false);
}

bool ArchiveReplay::go_on(Instant until, std::size_t enough) {
  read_ends(until);
  std::size_t taken = 0;
  while (_next <= until && taken < enough) {
    const Instant end = std::min(_next + stretch, until + Seconds(1));
    for_each_second(_archive.positions(_next, end), [&](std::span<const VehiclePosition> together) {
      learn_until(together.front().received);
      _see(together.front().received);
      _tracked.take(together);
      taken += together.size();
    });
    _next = end;
  }
  return _next > until;
}

void ArchiveReplay::finish(Instant now) {
  _see(now);
  _tracked.advance(now);
  learn_until(now + Seconds(1));
  _tracked.learn_by_itself(true);
}

/// Reads the trips that have ended until `until`, unless that was done: those that end later are
/// not in the archive yet.
void ArchiveReplay::read_ends(Instant until) {
  if (until < _ends_from) return;
  RunQuery lately;
  lately.first_day = ServiceDate(std::chrono::floor<std::chrono::days>(_ends_from)) - longest_trip;
  lately.ended_from = _ends_from;
  _archive.read_runs(lately, [&](ArchivedRun&& run) {
    if (run.ended <= until) _ended.push_back(std::move(run));
  });
  _ends_from = until + Seconds(1);
}

/// Learns from the trips that had ended before `until`.
void ArchiveReplay::learn_until(Instant until) {
  for (; !_ended.empty() && _ended.front().ended < until; _ended.pop_front()) {
    _tracked.engine().learn_from(_ended.front().run, *_ended.front().ended);
  }
}

}  // namespace qiv
