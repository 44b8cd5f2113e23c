#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/city_config.h"
#include "evaluate/replay.h"
#include "history/archive.h"
#include "learn/recorded_days.h"
#include "network/build_network.h"

namespace qiv {

/// A city on disk: a folder with `city.toml`, its timetable, and `archive.sqlite`.
class City {
 public:
  /// Makes the folder, or takes a new timetable into an existing one. The timetable (zip or folder)
  /// is copied in, so that the city is complete. Throws `CommandError`.
  static City create(const std::filesystem::path& folder, const std::filesystem::path& timetable);

  /// Opens an existing city. Throws `CommandError` with the remedy when there is none.
  explicit City(const std::filesystem::path& folder);

  const std::filesystem::path& folder() const { return _folder; }
  const CityConfig& config() const { return _config; }
  const Network& network() const { return *_network; }
  const Rejections& timetable_rejections() const { return _timetable_rejections; }
  Archive& archive() { return *_archive; }

  /// The days of service of which the archive has positions, ascending.
  std::vector<ServiceDate> recorded_days();

  /// The positions of a day of service, in order of receipt: from 03:00 of its clock to 03:00 of
  /// the next day.
  std::vector<VehiclePosition> positions(ServiceDate day);

  /// The trips up to the recorded day `last`. Days that the archive does not hold as this program
  /// follows them, with this timetable and configuration, are followed first and kept;
  /// `on_progress` is told the share of them that is done and the day. A day on which less than
  /// half as many trips are found as are kept ran on an earlier timetable: its trips stay as they
  /// are.
  RecordedRuns follow(ServiceDate last,
                      const std::function<void(double, ServiceDate)>& on_progress);

  /// Names all that `follow(last)` and what is computed from it depend on: timetable,
  /// configuration, program and recorded positions.
  std::string state(ServiceDate last);

  /// What `learn` found, or the defaults; `learned_until` is empty then.
  LearnedSettings settings();
  std::optional<ServiceDate> learned_until();

 private:
  void keep_patterns();
  std::string state_of_day(ServiceDate day);
  FollowedDay follow_day(ServiceDate day);

  std::filesystem::path _folder;
  CityConfig _config;
  std::unique_ptr<Network> _network;
  std::unique_ptr<Archive> _archive;
  std::string _identity;  ///< of timetable, configuration and program
  Rejections _timetable_rejections;
};

/// Reads "YYYY-MM-DD" or "YYYYMMDD". Throws `CommandError` that names `option`.
ServiceDate parse_day(const std::string& text, const std::string& option);

}  // namespace qiv
