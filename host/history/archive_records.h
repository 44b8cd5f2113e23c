#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model/rejections.h"
#include "model/settings.h"
#include "model/time.h"
#include "model/trip_run.h"
#include "network/trip_plan.h"

namespace qiv {

/// A followed trip with the timetable that it ran on, which a later timetable may no longer have.
struct ArchivedRun {
  TripRun run;
  std::vector<Call> calls;  ///< one for each stop of the pattern; empty: not known
  /// The recorded day whose positions it was followed on; none for a run that was told by a
  /// service.
  std::optional<ServiceDate> followed = std::nullopt;
  /// When the trip was over, by the clock of receipt; if not known, when its last progress was
  /// received.
  std::optional<Instant> ended = std::nullopt;
};

/// Which runs: those on one pattern, or all; of days of service, both included, or all; without
/// those that were followed on recorded days after `followed_until`, or all.
struct RunQuery {
  std::optional<PatternRef> pattern;
  std::optional<ServiceDate> first_day;
  std::optional<ServiceDate> last_day;
  std::optional<ServiceDate> followed_until = std::nullopt;
  std::optional<Instant> ended_from = std::nullopt;
};

/// A recorded day that was followed: its trips, and what they were made from. `state` is the
/// caller's; it changes when following the day again could find other trips.
struct FollowedDay {
  ServiceDate day;
  std::string state;
  std::vector<ArchivedRun> runs;  ///< `followed` is not looked at
};

/// A progress that was accepted for a trip under way.
struct AcceptedProgress {
  PatternRef pattern;
  Progress progress;
};

/// What `learn` found out.
struct SettingsRecord {
  Instant learned{};     ///< when
  ServiceDate last_day;  ///< the last day that it learned from
  LearnedSettings settings;
};

/// A version of the timetable that was taken into the city.
struct TimetableRecord {
  std::string name;
  std::string hash;  ///< of its content
  Instant taken{};
};

/// A file of recorded positions, or another source, that was taken into the archive.
struct ImportRecord {
  std::string source;
  std::string hash;  ///< of its content, or empty
  Instant taken{};
  std::uint64_t rows = 0;   ///< read
  std::uint64_t added = 0;  ///< new to the archive
  std::map<std::string, Rejections::Entry, std::less<>> rejections;
};

/// What an archive holds, for people.
struct ArchiveSummary {
  int version = 0;
  std::uint64_t bytes = 0;
  std::uint64_t positions = 0;
  std::optional<Instant> first_received;  ///< of the positions
  std::optional<Instant> last_received;
  std::uint64_t runs = 0;
  std::optional<ServiceDate> first_day;  ///< of the runs
  std::optional<ServiceDate> last_day;
  std::uint64_t under_way = 0;
};

}  // namespace qiv
