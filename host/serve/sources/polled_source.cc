#include "serve/sources/polled_source.h"

#include <functional>
#include <utility>

#include "serve/sources/pause.h"

namespace qiv {
namespace {

FeedIntakeOptions intake_options(const PolledSourceOptions& options) {
  FeedIntakeOptions intake;
  const std::string url = shown_url(options.request.url);
  const bool is_siri = options.format == PositionFormat::siri_vm;
  intake.name = options.name;
  intake.kind = (is_siri ? "SIRI-VM from " : "GTFS-realtime from ") + url;
  if (options.content != FeedContent::positions) {
    intake.kind = std::string(to_string(options.content)) + " by GTFS-realtime from " + url;
  }
  intake.content = options.content;
  intake.format = options.format;
  intake.strip_prefixes = options.strip_prefixes;
  intake.most_bytes = options.request.most_bytes;
  intake.stale_after = options.stale_after;
  intake.hold = options.hold;
  return intake;
}

}  // namespace

PolledSource::PolledSource(PolledSourceOptions options, Clock clock, TakeReport tell)
    : _options(std::move(options)),
      _clock(std::move(clock)),
      _intake(intake_options(_options), std::move(tell)) {}

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
    _intake.not_modified(now);
    return true;
  }
  if (!answer.ok) {
    _intake.failed(now, answer.error);
    return false;
  }
  if (!_intake.take(now, answer.body, take)) return false;
  _options.request.etag = answer.etag;
  _options.request.last_modified = answer.last_modified;
  return true;
}

}  // namespace qiv
