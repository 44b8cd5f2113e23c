#pragma once

#include <string>
#include <vector>

#include "serve/live_service.h"
#include "serve/source.h"
#include "serve/sources/feed_intake.h"
#include "serve/sources/http_fetch.h"

namespace qiv {

struct PolledSourceOptions {
  std::string name;
  FeedContent content = FeedContent::positions;
  PositionFormat format = PositionFormat::gtfs_realtime;
  FetchRequest request;
  std::chrono::milliseconds interval{15'000};
  /// After failures in a row the wait doubles up to this.
  std::chrono::milliseconds longest_wait{300'000};
  std::vector<std::string> strip_prefixes;  ///< see `PositionOptions`
  Seconds stale_after{120};
  Seconds hold{600};  ///< see `AgencyReport`
};

/// GTFS-realtime, or positions by SIRI vehicle monitoring, over HTTP(S), asked for again and again:
/// only for what has changed, less often while it fails.
class PolledSource : public Source {
 public:
  /// `clock` is the service's; `tell` takes what trip updates and alerts say.
  PolledSource(PolledSourceOptions options, Clock clock, TakeReport tell = {});

  void run(std::stop_token stop, const TakePositions& take) override;
  SourceView view(Instant now) const override { return _intake.view(now); }

 private:
  bool poll(const std::stop_token& stop, const TakePositions& take);

  PolledSourceOptions _options;
  Clock _clock;
  FeedIntake _intake;
};

}  // namespace qiv
