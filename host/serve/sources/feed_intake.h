#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "serve/agency/agency_report.h"
#include "serve/source.h"
#include "serve/sources/feed_monitor.h"

namespace qiv {

enum class PositionFormat { gtfs_realtime, siri_vm };

/// What a feed tells of. Trip updates and alerts are the agency's own.
enum class FeedContent { positions, trip_updates, alerts };

/// "positions", "trip updates" or "alerts".
const char* to_string(FeedContent content);

struct FeedIntakeOptions {
  std::string name;
  std::string kind;  ///< for people
  FeedContent content = FeedContent::positions;
  std::optional<PositionFormat> format;     ///< of positions; empty: as the content looks
  std::vector<std::string> strip_prefixes;  ///< see `PositionOptions`
  std::uint64_t most_bytes = std::uint64_t{32} << 20U;
  Seconds stale_after{120};
  Seconds hold{600};  ///< see `AgencyReport`
};

/// Reads the answers of one feed, keeps its record, and hands on what they say. For one thread, but
/// `view` may be called by any.
class FeedIntake {
 public:
  /// `tell` takes what the agency's own feeds say.
  explicit FeedIntake(FeedIntakeOptions options, TakeReport tell = {});

  /// Takes the bytes of an answer, quoted by the source's name or, where it has one, its own. False
  /// for content that is of no use at all.
  bool take(Instant now, std::string_view bytes, const TakePositions& take,
            const std::string& name = {});

  /// The server says that the last content still holds.
  void not_modified(Instant now);

  /// An attempt that brought no content, and why, for people.
  void failed(Instant now, const std::string& why) { _monitor.failed(now, why); }

  SourceView view(Instant now) const { return _monitor.view(now); }

 private:
  bool take_positions(Instant now, std::string_view bytes, const PositionOptions& reading,
                      const TakePositions& take);
  template <class Batch, class Fill>
  bool take_statements(Instant now, Batch&& batch, Fill&& fill);
  void tell_again(Instant now);
  PositionOptions reading(Instant now, const std::string& name) const;

  FeedIntakeOptions _options;
  TakeReport _tell;
  FeedMonitor _monitor;
  std::shared_ptr<const AgencyContent> _said;  ///< last
};

}  // namespace qiv
