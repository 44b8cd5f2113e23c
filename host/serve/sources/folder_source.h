#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "serve/live_service.h"
#include "serve/source.h"
#include "serve/sources/feed_intake.h"

namespace qiv {

struct FolderSourceOptions {
  std::string name;
  std::filesystem::path folder;
  FeedContent content = FeedContent::positions;
  std::chrono::milliseconds interval{1000};
  std::vector<std::string> strip_prefixes;  ///< see `PositionOptions`
  Seconds stale_after{120};
  Seconds hold{600};  ///< see `AgencyReport`
};

/// A folder into which somebody puts snapshots (GTFS-realtime or SIRI vehicle monitoring), one file
/// each, whose names ascend. Of those that are there at the beginning, the last is taken. A file is
/// read when it has not grown since the last look.
class FolderSource : public Source {
 public:
  /// `clock` is the service's; `tell` takes what trip updates and alerts say.
  FolderSource(FolderSourceOptions options, Clock clock, TakeReport tell = {});

  void run(std::stop_token stop, const TakePositions& take) override;
  SourceView view(Instant now) const override { return _intake.view(now); }

 private:
  std::vector<std::filesystem::path> new_files();
  void look(const TakePositions& take);
  void read(const std::filesystem::path& file, const TakePositions& take);

  FolderSourceOptions _options;
  Clock _clock;
  FeedIntake _intake;
  std::string _last_name;        ///< of the files that were read
  std::string _growing;          ///< the file that was too young at the last look ...
  std::uintmax_t _grown_to = 0;  ///< ... and its size then
  bool _first_look = true;
};

}  // namespace qiv
