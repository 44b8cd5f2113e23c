#include "serve/sources/feed_monitor.h"

#include <algorithm>
#include <functional>

namespace qiv {
namespace {

std::string age_text(const char* what, Seconds age) {
  return std::string(what) + " is " + std::to_string(age.count()) + " s old";
}

std::string first_rejection(const PositionBatch& batch) {
  const auto& [reason, entry] = *batch.rejections.entries().begin();
  return reason + ": " + entry.first;
}

}  // namespace

bool is_malformed(const PositionBatch& batch) {
  return !batch.time && batch.positions.empty() && !batch.rejections.empty();
}

FeedMonitor::FeedMonitor(FeedMonitorOptions options) : _options(std::move(options)) {
  _view.name = _options.name;
  _view.kind = _options.kind;
}

void FeedMonitor::failed(Instant now, const std::string& why) {
  const std::lock_guard lock(_mutex);
  ++_view.fetches;
  ++_view.failures;
  _view.last_failure = now;
  _failing = true;
  _failure = why;
  _last_content.reset();
}

void FeedMonitor::not_modified(Instant now) {
  const std::lock_guard lock(_mutex);
  ++_view.fetches;
  ++_view.not_modified;
  _view.last_success = now;
  _failing = false;
}

bool FeedMonitor::is_repeated(Instant now, std::string_view content) {
  const std::size_t hash = std::hash<std::string_view>()(content);
  const std::lock_guard lock(_mutex);
  if (_last_content != hash) {
    _last_content = hash;
    return false;
  }
  ++_view.fetches;
  ++_view.duplicates;
  _view.last_success = now;
  _failing = false;
  return true;
}

bool FeedMonitor::accepts(Instant now, const PositionBatch& batch) {
  if (is_malformed(batch)) {
    failed(now, "malformed: " + first_rejection(batch));
    const std::lock_guard lock(_mutex);
    _view.rejections.merge(batch.rejections);
    return false;
  }
  const std::lock_guard lock(_mutex);
  ++_view.fetches;
  _view.last_success = now;
  _failing = false;
  _view.rejections.merge(batch.rejections);
  _is_empty = batch.positions.empty();
  if (_is_empty) ++_view.empty;
  if (batch.time && _view.header_time && *batch.time < *_view.header_time &&
      *_view.header_time - *batch.time <= _options.farthest_jump) {
    ++_view.out_of_order;
    return false;
  }
  note_times(now, batch);
  _view.positions += batch.positions.size();
  return true;
}

void FeedMonitor::note_times(Instant now, const PositionBatch& batch) {
  if (batch.time) {
    if (_view.header_time) {
      const Seconds moved = *batch.time - *_view.header_time;
      const Seconds passed = now - *_header_came;
      const bool back = moved < Seconds(0);
      if (back || moved - passed > _options.farthest_jump) ++_view.time_jumps;
    }
    _view.header_time = batch.time;
    _header_came = now;
  }
  if (batch.positions.empty()) return;
  _view.newest_entity_time =
      std::max_element(batch.positions.begin(), batch.positions.end(),
                       [](const auto& a, const auto& b) { return a.time < b.time; })
          ->time;
}

SourceView FeedMonitor::view(Instant now) const {
  const std::lock_guard lock(_mutex);
  SourceView view = _view;
  const auto older = [&](const std::optional<Instant>& time) {
    return time && now - *time > _options.stale_after;
  };
  if (_failing) {
    view.health = SourceHealth::failing;
    view.detail = _failure;
  } else if (!view.last_success) {
    view.health = SourceHealth::starting;
  } else if (older(view.last_success)) {
    view.health = SourceHealth::stale;
    view.detail = age_text("the last answer", now - *view.last_success);
  } else if (older(view.header_time)) {
    view.health = SourceHealth::stale;
    view.detail = age_text("the feed's header", now - *view.header_time);
  } else if (older(view.newest_entity_time)) {
    view.health = SourceHealth::stale;
    view.detail = age_text("the newest vehicle", now - *view.newest_entity_time);
  } else {
    view.health = SourceHealth::good;
    if (_is_empty) view.detail = "the last answer held no vehicle";
  }
  return view;
}

}  // namespace qiv
