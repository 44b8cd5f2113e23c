#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "feed/gtfs_realtime.h"
#include "feed/position_batch.h"
#include "serve/snapshot.h"

namespace qiv {

/// What one answer holds, as far as its source's record goes.
struct FeedSummary {
  std::optional<Instant> time;    ///< of the header
  std::optional<Instant> newest;  ///< of its newest vehicle or prediction
  std::uint64_t positions = 0;
  std::uint64_t statements = 0;  ///< trip updates and alerts
  Rejections rejections;

  /// True for content that says nothing at all because it could not be read.
  bool is_malformed() const;
};

FeedSummary summary_of(const PositionBatch& batch);
FeedSummary summary_of(const TripUpdateBatch& batch);
FeedSummary summary_of(const AlertBatch& batch);

struct FeedMonitorOptions {
  std::string name;
  std::string kind;  ///< for people
  /// Content whose header, or whose newest vehicle, is older than this is stale.
  Seconds stale_after{120};
  /// A header's time may go back by this much: the content is then one that was overtaken. By more,
  /// or forth by more than the time that has passed, is a jump of the feed's clock.
  Seconds farthest_jump{300};
  const char* newest = "the newest vehicle";              ///< what may be stale, for people
  const char* empty = "the last answer held no vehicle";  ///< what is said of empty content
};

/// Keeps the record of one source, and decides whether an answer is new. Three times are told
/// apart: that of the feed's header, those of its vehicles, and that of arrival. May be used by
/// several threads.
class FeedMonitor {
 public:
  explicit FeedMonitor(FeedMonitorOptions options);

  /// An attempt that brought no content, and why, for people.
  void failed(Instant now, const std::string& why);

  /// The server says that the last content still holds.
  void not_modified(Instant now);

  /// True, and counted as a duplicate, when the content is that of the last answer.
  bool is_repeated(Instant now, std::string_view content);

  /// Takes what an answer holds. True when it is to be used; false for content that is malformed,
  /// or older than what was there before.
  bool accepts(Instant now, const FeedSummary& content);

  SourceView view(Instant now) const;

 private:
  void note_times(Instant now, const FeedSummary& content);

  FeedMonitorOptions _options;
  mutable std::mutex _mutex;
  SourceView _view;
  std::optional<std::size_t> _last_content;  ///< hash of the last, if it was of use
  std::optional<Instant> _header_came;       ///< when the last header's time was received
  bool _failing = false;
  std::string _failure;
  bool _is_empty = false;
};

}  // namespace qiv
