#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "model/rejections.h"
#include "model/time.h"
#include "serve/http/blob.h"
#include "serve/snapshot.h"

namespace qiv {

class KeptTripUpdates;

struct FeedGuardOptions {
  /// The last good feed stands for at most this long when the newest cannot be published.
  Seconds longest_stand{90};
  /// The count of trips collapses when less than this share of those that the vehicles let expect
  /// is left ...
  double collapse_share = 0.5;
  /// ... of a feed that had at least so many.
  std::size_t least_trips = 10;
};

/// The trip updates that are served.
struct GuardedFeed {
  BlobPtr bytes;                     ///< protobuf
  Instant header_time{};             ///< of the message: that of the good feed while it stands
  std::size_t trips = 0;             ///< in the message
  bool standing = false;             ///< an earlier feed, because the newest failed
  std::string detail;                ///< why the newest failed; empty when it did not
  Rejections withheld;               ///< trips of the newest that are not published
  std::uint64_t trips_withheld = 0;  ///< added over all calls
  std::uint64_t feeds_withheld = 0;  ///< calls in which the newest failed
};

/// Publishes trip updates that hold to the rules of `check_feed`. A trip that fails is withheld
/// alone. Where the feed fails as a whole, or its trips collapse without the vehicles explaining
/// it, the last good feed stands, its age in its header, and after a while an empty one. The
/// header's time never goes back.
class FeedGuard {
 public:
  explicit FeedGuard(FeedGuardOptions options = {});
  FeedGuard(FeedGuard&&) noexcept;
  FeedGuard& operator=(FeedGuard&&) noexcept;
  ~FeedGuard();

  /// The feed to serve from now on. Precondition: the snapshot has a network.
  GuardedFeed next(const Snapshot& snapshot);

 private:
  struct Candidate;

  Candidate build(const Snapshot& snapshot, Instant time);
  std::string fault_of(const Candidate& candidate) const;
  GuardedFeed accept(Candidate& candidate);
  GuardedFeed stand(const Candidate& candidate, const Snapshot& snapshot, std::string detail);

  FeedGuardOptions _options;
  std::unique_ptr<KeptTripUpdates> _updates;
  std::optional<GuardedFeed> _good;  ///< the last good or empty feed
  std::size_t _good_vehicles = 0;    ///< followed then
  Instant _last_header{};
  Instant _last_now{};
  Seconds _stood{0};  ///< since the last good feed
  std::uint64_t _trips_withheld = 0;
  std::uint64_t _feeds_withheld = 0;
};

}  // namespace qiv
