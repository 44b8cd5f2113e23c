#pragma once

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "serve/live_service.h"
#include "serve/source.h"
#include "serve/sources/feed_monitor.h"
#include "serve/sources/http_fetch.h"

namespace qiv {

struct TimetableSourceOptions {
  std::string name = "timetable";
  std::filesystem::path file;  ///< zip file or folder; what comes from the address is put here
  FetchRequest request;        ///< its `url` may be empty: the file alone is watched
  std::chrono::milliseconds interval{60'000};
  std::chrono::milliseconds longest_wait{3'600'000};
};

/// Watches the timetable: a file, or an address whose answer replaces the file. One that has
/// changed is read and made ready beside the one in use, and handed on; one that is broken, or in
/// which no trip runs within a week, is refused, and the old one stands.
class TimetableSource : public Source {
 public:
  using TakeNetwork = std::function<void(std::shared_ptr<const Network> network)>;

  /// What the file holds now is taken to be in use already.
  TimetableSource(TimetableSourceOptions options, TakeNetwork take_network, Clock clock);

  void run(std::stop_token stop, const TakePositions& take) override;
  SourceView view(Instant now) const override;

  /// Looks at once, as if the time had come. May be called by any thread.
  void look_soon();

 private:
  bool look(const std::stop_token& stop);
  bool download(const std::stop_token& stop, Instant now);
  std::string fingerprint() const;

  TimetableSourceOptions _options;
  TakeNetwork _take_network;
  Clock _clock;
  FeedMonitor _monitor;
  std::string _seen;      ///< fingerprint of what was looked at last ...
  bool _refused = false;  ///< ... which was not taken, and is looked at again
  std::mutex _mutex;
  std::condition_variable_any _wake;
  bool _soon = false;
};

}  // namespace qiv
