#include "serve/sources/feed_monitor.h"

#include <algorithm>
#include <functional>

namespace qiv {
namespace {

std::string age_text(const char* what, Seconds age) {
  return std::string(what) + " is " + std::to_string(age.count()) + " s old";
}

std::string first_rejection(const FeedSummary& content) {
  const auto& [reason, entry] = *content.rejections.entries().begin();
  return reason + ": " + entry.first;
}

/// The latest `time` of a list; nothing when it is empty.
template <class List>
std::optional<Instant> newest_of(const List& list) {
  std::optional<Instant> newest;
  for (const auto& entry : list) newest = std::max(newest.value_or(entry.time), entry.time);
  return newest;
}

}  // namespace

bool FeedSummary::is_malformed() const {
  return !time && positions + statements == 0 && !rejections.empty();
}

FeedSummary summary_of(const PositionBatch& batch) {
  return {batch.time, newest_of(batch.positions), batch.positions.size(), 0, batch.rejections};
}

FeedSummary summary_of(const TripUpdateBatch& batch) {
  return {batch.time, newest_of(batch.updates), 0, batch.updates.size(), batch.rejections};
}

FeedSummary summary_of(const AlertBatch& batch) {
  return {batch.time, std::nullopt, 0, batch.alerts.size(), batch.rejections};
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

bool FeedMonitor::accepts(Instant now, const FeedSummary& content) {
  if (content.is_malformed()) {
    failed(now, "malformed: " + first_rejection(content));
    const std::lock_guard lock(_mutex);
    _view.rejections.merge(content.rejections);
    return false;
  }
  const std::lock_guard lock(_mutex);
  ++_view.fetches;
  _view.last_success = now;
  _failing = false;
  _view.rejections.merge(content.rejections);
  _is_empty = content.positions + content.statements == 0;
  if (_is_empty) ++_view.empty;
  if (content.time && _view.header_time && *content.time < *_view.header_time &&
      *_view.header_time - *content.time <= _options.farthest_jump) {
    ++_view.out_of_order;
    return false;
  }
  note_times(now, content);
  _view.positions += content.positions;
  _view.statements += content.statements;
  return true;
}

void FeedMonitor::note_times(Instant now, const FeedSummary& content) {
  if (content.time) {
    if (_view.header_time) {
      const Seconds moved = *content.time - *_view.header_time;
      const Seconds passed = now - *_header_came;
      const bool back = moved < Seconds(0);
      if (back || moved - passed > _options.farthest_jump) ++_view.time_jumps;
    }
    _view.header_time = content.time;
    _header_came = now;
  }
  if (content.newest) _view.newest_entity_time = content.newest;
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
    view.detail = age_text(_options.newest, now - *view.newest_entity_time);
  } else {
    view.health = SourceHealth::good;
    if (_is_empty) view.detail = _options.empty;
  }
  return view;
}

}  // namespace qiv
