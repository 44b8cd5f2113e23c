#include "serve/sources/polled_source.h"

#include <functional>
#include <utility>

#include "feed/gtfs_realtime.h"
#include "feed/siri_vm.h"
#include "serve/sources/pause.h"

namespace qiv {
namespace {

FeedMonitorOptions monitor_options(const PolledSourceOptions& options) {
  FeedMonitorOptions monitor;
  monitor.name = options.name;
  monitor.kind = options.format == PositionFormat::siri_vm
                     ? "SIRI-VM from " + shown_url(options.request.url)
                     : "GTFS-realtime from " + shown_url(options.request.url);
  monitor.stale_after = options.stale_after;
  return monitor;
}

}  // namespace

PolledSource::PolledSource(PolledSourceOptions options, Clock clock)
    : _options(std::move(options)), _clock(std::move(clock)), _monitor(monitor_options(_options)) {}

void PolledSource::run(std::stop_token stop, const TakePositions& take) {
  BackOff back_off(_options.interval, _options.longest_wait,
                   std::hash<std::string>()(_options.name));
  while (!stop.stop_requested()) {
    const auto began = std::chrono::steady_clock::now();
    std::chrono::milliseconds wait = _options.interval;
    if (poll(stop, take)) {
      back_off.succeeded();
      const auto took = std::chrono::steady_clock::now() - began;
      wait -= std::chrono::duration_cast<std::chrono::milliseconds>(took);
    } else {
      wait = back_off.failed();
    }
    if (pause(stop, std::max(wait, std::chrono::milliseconds(0)))) return;
  }
}

/// One question. False when it brought nothing that could be used.
bool PolledSource::poll(const std::stop_token& stop, const TakePositions& take) {
  const FetchAnswer answer = fetch(_options.request, stop);
  if (stop.stop_requested()) return true;
  const Instant now = _clock();
  if (answer.not_modified) {
    _monitor.not_modified(now);
    return true;
  }
  if (!answer.ok) {
    _monitor.failed(now, answer.error);
    return false;
  }
  if (_monitor.is_repeated(now, answer.body)) return true;
  PositionOptions reading;
  reading.name = _options.name;
  reading.received = now;
  reading.strip_prefixes = _options.strip_prefixes;
  reading.max_snapshot_bytes = _options.request.most_bytes;
  PositionBatch batch = _options.format == PositionFormat::siri_vm
                            ? read_siri_vm(answer.body, reading)
                            : read_vehicle_positions(answer.body, reading);
  const bool malformed = is_malformed(batch);
  if (_monitor.accepts(now, batch)) take(std::move(batch.positions));
  if (malformed) return false;
  _options.request.etag = answer.etag;
  _options.request.last_modified = answer.last_modified;
  return true;
}

}  // namespace qiv
