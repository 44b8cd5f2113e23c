#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "history/archive_error.h"
#include "history/archive_records.h"
#include "history/pattern_outline.h"
#include "model/vehicle_position.h"

namespace qiv {

struct ArchiveOptions {
  enum class Access { read, write };

  Access access = Access::write;
  /// How long to wait for another program that is writing.
  std::chrono::milliseconds patience{5000};
  /// The file must not grow beyond this; 0: no limit.
  std::uint64_t size_limit_bytes = 0;
};

/// A city's memory, one SQLite file: recorded positions, followed trips, learned settings, and
/// where they came from. docs/store-format.md describes the file.
///
/// Every call that writes is one transaction: when it has returned, its content survives the end of
/// the process at any instant; when it throws, nothing of it is there. Adding twice what is there
/// changes nothing. All calls throw `ArchiveError`.
///
/// Not for use by several threads at once; any number of processes and threads may each have one
/// open on the same file, one of them writing at a time. A function that is handed rows must not
/// call the archive.
class Archive {
 public:
  /// Opens `file`. For writing, makes it if it is missing and brings older versions up to date.
  explicit Archive(const std::filesystem::path& file, ArchiveOptions options = {});
  Archive(Archive&&) noexcept;
  Archive& operator=(Archive&&) noexcept;
  ~Archive();

  /// Runs `writes`, which calls this archive, as one transaction; if it throws, none of them count.
  void together(const std::function<void()>& writes);

  /// Adds positions as received and returns how many of them were new. Two that agree in every
  /// field are one. Numbers are kept exactly, except that NaN is "not stated".
  std::size_t record(std::span<const VehiclePosition> positions);
  /// The positions received in [from, to), in order of receipt, those of one second in the order in
  /// which they were recorded.
  void read_positions(Instant from, Instant to,
                      const std::function<void(const VehiclePosition&)>& take) const;
  std::vector<VehiclePosition> positions(Instant from, Instant to) const;
  /// When the first position at or after `from` was received; nothing if there is none.
  std::optional<Instant> next_received(Instant from) const;
  /// A number that grows with every position received in [from, to) that is added or removed, and
  /// with those of the quarter hours that `from` and `to` lie in.
  std::uint64_t position_changes(Instant from, Instant to) const;
  /// Forgets the positions received in [from, to) and returns how many.
  std::size_t remove_positions(Instant from, Instant to);

  /// Adds finished trips, as a service tells them; one of the same vehicle and trip replaces the
  /// earlier one. They are no longer under way. `Progress::pattern` is not kept: indexes change
  /// with the network.
  void add_runs(std::span<const ArchivedRun> runs);
  /// Replaces the runs that were followed on a recorded day.
  void keep_followed(const FollowedDay& followed);
  /// The recorded days that were followed, with the state that each was given; or notes another
  /// state for a day whose runs stay.
  std::map<ServiceDate, std::string> followed_states() const;
  void note_followed(ServiceDate day, const std::string& state);
  /// How many runs were followed on a recorded day.
  std::size_t followed_runs(ServiceDate day) const;
  /// The runs in the order in which they ended (ties: by trip and vehicle). Of one trip of a
  /// vehicle only one is read, even if it was followed on two recorded days or told by a service
  /// too: that of the latest recorded day. Their `Progress::pattern` is 0.
  void read_runs(const RunQuery& query, const std::function<void(ArchivedRun&&)>& take) const;
  std::vector<ArchivedRun> runs(const RunQuery& query = {}) const;
  /// Forgets the runs of these days of service, both included, and returns how many.
  std::size_t remove_runs(ServiceDate first_day, ServiceDate last_day);

  /// Adds progress to trips under way, each in its order.
  void append_progress(std::span<const AcceptedProgress> progress);
  /// Replaces all progress of a trip under way.
  void correct_progress(const TripRun& cleaned);
  /// Forgets a trip under way.
  void remove_under_way(const VehicleId& vehicle, const TripKey& trip);
  /// The trips under way, in order of trip and vehicle. Their `Progress::pattern` is 0.
  std::vector<TripRun> under_way() const;

  /// Keeps the outlines of patterns; one of the same reference replaces the earlier one.
  void keep_patterns(std::span<const PatternOutline> patterns);
  std::optional<PatternOutline> pattern(const PatternRef& ref) const;
  /// All outlines, in order of reference.
  std::vector<PatternOutline> patterns() const;

  void add_settings(const SettingsRecord& record);
  /// The settings added last.
  std::optional<SettingsRecord> latest_settings() const;
  /// All that are kept, the oldest first.
  std::vector<SettingsRecord> settings() const;
  /// Forgets all but the latest `keep` and returns how many.
  std::size_t remove_settings(std::size_t keep);

  /// Keeps finished parts of a piece of work that may be interrupted, by their names. `work` names
  /// all that the result depends on; parts of other work are forgotten.
  void add_partials(const std::string& work, const std::map<std::string, std::string>& parts);
  std::map<std::string, std::string> partials(const std::string& work) const;
  void remove_partials();

  /// Notes a timetable; one with the hash of the latest changes nothing.
  void add_timetable(const TimetableRecord& record);
  std::vector<TimetableRecord> timetables() const;  ///< oldest first

  /// Notes an import; one of the same source replaces the earlier one.
  void add_import(const ImportRecord& record);
  std::vector<ImportRecord> imports() const;  ///< in order of source

  ArchiveSummary summary() const;

  /// Gives the space of what was removed back to the disk. Rewrites the file.
  void compact();

  struct Impl;  ///< of the archive's own sources

 private:
  std::unique_ptr<Impl> _impl;
};

}  // namespace qiv
