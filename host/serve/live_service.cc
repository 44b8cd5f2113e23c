#include "serve/live_service.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <thread>
#include <utility>

namespace qiv {
namespace {

using Steady = std::chrono::steady_clock;

/// How much recorded time passes from one cycle to the next: a divisor of the interval at which
/// scores sample the display, so that both fall together.
Seconds recorded_step(double speed, std::chrono::milliseconds cycle, Seconds interval) {
  if (speed <= 0.0) return interval;
  const double wanted_s = speed * static_cast<double>(cycle.count()) / 1000.0;
  Seconds step{1};
  for (Seconds candidate{1}; candidate <= interval; ++candidate) {
    const bool divides = interval % candidate == Seconds(0);
    if (divides && static_cast<double>(candidate.count()) <= wanted_s) step = candidate;
  }
  return step;
}

/// A clock that is set back a little is waited for; one that is set back by more is believed.
Instant steadied(Instant clock, Instant last) {
  constexpr Seconds believed{60};
  return last - clock > believed ? clock : std::max(clock, last);
}

}  // namespace

LiveService::LiveService(LiveCity& city, std::vector<std::unique_ptr<Source>> sources,
                         Publish publish, ServiceOptions options)
    : _city(city),
      _sources(std::move(sources)),
      _publish(std::move(publish)),
      _options(std::move(options)),
      _overlay(_options.scores) {}

LiveService::~LiveService() = default;

void LiveService::post(std::function<void(LiveCity&, Instant)> job) {
  {
    const std::lock_guard lock(_mutex);
    _jobs.push_back(std::move(job));
  }
  _wake.notify_all();
}

void LiveService::set_not_ready(std::string reason) {
  const std::lock_guard lock(_mutex);
  _not_ready = std::move(reason);
}

void LiveService::receive(std::vector<VehiclePosition>&& positions) {
  {
    const std::lock_guard lock(_mutex);
    std::move(positions.begin(), positions.end(), std::back_inserter(_waiting));
    while (_waiting.size() > _options.most_waiting) {
      _waiting.pop_front();
      ++_given_up;
    }
  }
  _wake.notify_all();
}

void LiveService::take(std::span<const VehiclePosition> positions) {
  for (const VehiclePosition& position : positions) {
    // The score of a recorded day is that of its evaluation, which takes all there is.
    if (_recording || !_city.is_repeated(position)) _overlay.take(position, _city.network());
  }
  for_each_second(positions, [this](auto together) { _city.take(together); });
}

void LiveService::take_recorded(std::span<const VehiclePosition> positions) {
  SourceView& view = *_recording;
  for (const VehiclePosition& position : positions) {
    if (view.header_time != position.received) ++view.fetches;
    view.last_success = view.header_time = position.received;
    view.newest_entity_time =
        std::max(view.newest_entity_time.value_or(position.time), position.time);
  }
  view.positions += positions.size();
  take(positions);
}

std::vector<VehiclePosition> LiveService::waiting() {
  const std::lock_guard lock(_mutex);
  std::vector<VehiclePosition> positions(std::make_move_iterator(_waiting.begin()),
                                         std::make_move_iterator(_waiting.end()));
  _waiting.clear();
  return positions;
}

/// Does the jobs that were posted.
void LiveService::work_off(Instant now) {
  std::deque<std::function<void(LiveCity&, Instant)>> jobs;
  {
    const std::lock_guard lock(_mutex);
    jobs.swap(_jobs);
  }
  for (const auto& job : jobs) job(_city, now);
}

void LiveService::cycle(Instant now) {
  const auto began = Steady::now();
  _city.advance(now);
  _city.store();
  auto snapshot = std::make_shared<Snapshot>(_city.show(now));
  _overlay.apply(*snapshot, [&](const TripKey& trip) { return _city.delay_s(trip); });
  snapshot->city = _options.city;
  snapshot->version = _options.version;
  if (_recording) snapshot->sources.push_back(*_recording);
  for (const auto& source : _sources) snapshot->sources.push_back(source->view(now));
  {
    const std::lock_guard lock(_mutex);
    snapshot->not_ready = _not_ready;
    snapshot->counts.positions_given_up = _given_up;
  }
  snapshot->ready = snapshot->not_ready.empty();
  snapshot->counts.last_cycle_s = std::chrono::duration<double>(Steady::now() - began).count();
  _publish(std::move(snapshot));
}

void LiveService::wait_for_cycle(std::stop_token stop, Steady::time_point until,
                                 const Clock& clock) {
  while (!stop.stop_requested() && Steady::now() < until) {
    {
      std::unique_lock lock(_mutex);
      _wake.wait_until(lock, stop, until, [&] { return !_jobs.empty(); });
    }
    work_off(clock());
  }
}

void LiveService::wait_for_cycle(std::stop_token stop, const CyclePace& pace) {
  while (!stop.stop_requested()) {
    {
      std::unique_lock lock(_mutex);
      const Steady::time_point due = pace.due(!_waiting.empty());
      if (due <= Steady::now() && _jobs.empty()) return;
      _wake.wait_until(lock, stop, due,
                       [&] { return !_jobs.empty() || pace.due(!_waiting.empty()) < due; });
    }
    work_off(_last);
  }
}

void LiveService::run(std::stop_token stop, const Clock& clock) {
  std::vector<std::jthread> threads;
  for (const auto& source : _sources) {
    threads.emplace_back([this, &source](std::stop_token own) {
      source->run(std::move(own), [this](std::vector<VehiclePosition>&& positions) {
        receive(std::move(positions));
      });
    });
  }
  CyclePace pace(_options.cycle);
  while (!stop.stop_requested()) {
    const Instant time = clock();
    // A second that was shown is closed: what came in it later counts as received in the next, or
    // waits when that one has been shown before its time.
    const bool is_ahead = _last == time + Seconds(1);
    std::vector<VehiclePosition> positions;
    if (!is_ahead) positions = waiting();
    pace.begin(Steady::now(), !positions.empty() || is_ahead);
    const Instant open = std::min(_last, time) + Seconds(1);
    _last = steadied(time, _last);
    for (VehiclePosition& position : positions) {
      _last = std::max({_last, position.received, open});
      position.received = _last;
    }
    take(positions);
    cycle(_last);
    wait_for_cycle(stop, pace);
  }
  for (std::jthread& thread : threads) thread.request_stop();
  threads.clear();
  _city.store();
}

void LiveService::run_recorded(std::stop_token stop, const std::vector<VehiclePosition>& positions,
                               const RecordedPace& pace, std::span<const AgencyReport> agency) {
  if (positions.empty()) return;
  _recording.emplace();
  _recording->name = pace.name;
  _recording->kind = "recorded day";
  _recording->health = SourceHealth::good;
  const Seconds step = recorded_step(pace.speed, _options.cycle, _options.scores.interval);
  const Instant first = positions.front().received;
  const Instant shown_from = std::max(first, pace.shown_from);
  auto began = Steady::now();
  auto position = positions.begin();
  auto report = agency.begin();
  for (Instant now = first; now < positions.back().received && !stop.stop_requested();
       now += now < shown_from ? _options.scores.interval : step) {
    const auto next = std::find_if(position, positions.end(),
                                   [now](const auto& later) { return later.received > now; });
    take_recorded({position, next});
    position = next;
    for (; report != agency.end() && report->received <= now; ++report) tell(*report);
    _last = now;
    work_off(now);
    cycle(now);
    if (now < shown_from) began = Steady::now();
    if (now < shown_from || pace.speed <= 0.0) continue;
    const std::chrono::duration<double> due(static_cast<double>((now - shown_from).count()) /
                                            pace.speed);
    wait_for_cycle(stop, began + std::chrono::duration_cast<Steady::duration>(due),
                   [now] { return now; });
  }
  if (stop.stop_requested()) return;
  take_recorded({position, positions.end()});
  _last = positions.back().received;
  _recording->health = SourceHealth::finished;
  _overlay.finish(_city.network());
  cycle(_last);
}

void LiveService::stand_still(std::stop_token stop) {
  while (!stop.stop_requested()) {
    wait_for_cycle(stop, Steady::now() + std::chrono::hours(1), [this] { return _last; });
  }
}

}  // namespace qiv
