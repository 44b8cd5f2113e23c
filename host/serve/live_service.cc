#include "serve/live_service.h"

#include <algorithm>
#include <array>
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
      _scores(_options.scores) {}

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
  const std::lock_guard lock(_mutex);
  std::move(positions.begin(), positions.end(), std::back_inserter(_waiting));
  while (_waiting.size() > _options.most_waiting) {
    _waiting.pop_front();
    ++_given_up;
  }
}

void LiveService::take(const VehiclePosition& position) {
  _scores.take(position, _city.network());
  _city.take(position);
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
  if (_scores.is_due(now)) {
    _scores.sample(
        now, snapshot->trips, [&](const TripKey& trip) { return _city.delay_s(trip); },
        _city.network());
  }
  snapshot->city = _options.city;
  snapshot->version = _options.version;
  snapshot->scores = _scores.scores();
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

void LiveService::run(std::stop_token stop, const Clock& clock) {
  std::vector<std::jthread> threads;
  for (const auto& source : _sources) {
    threads.emplace_back([this, &source](std::stop_token own) {
      source->run(std::move(own), [this](std::vector<VehiclePosition>&& positions) {
        receive(std::move(positions));
      });
    });
  }
  auto next = Steady::now();
  while (!stop.stop_requested()) {
    next = std::max(next + _options.cycle, Steady::now());
    std::deque<VehiclePosition> positions;
    {
      const std::lock_guard lock(_mutex);
      positions.swap(_waiting);
    }
    _last = steadied(clock(), _last);
    for (VehiclePosition& position : positions) {
      _last = std::max(_last, position.received);
      position.received = std::max(position.received, _last);
      take(position);
    }
    cycle(_last);
    wait_for_cycle(stop, next, [&] { return _last; });
  }
  for (std::jthread& thread : threads) thread.request_stop();
  threads.clear();
  _city.store();
}

void LiveService::run_recorded(std::stop_token stop, const std::vector<VehiclePosition>& positions,
                               const RecordedPace& pace) {
  if (positions.empty()) return;
  const Seconds step = recorded_step(pace.speed, _options.cycle, _options.scores.interval);
  const Instant first = positions.front().received;
  const Instant shown_from = std::max(first, pace.shown_from);
  auto began = Steady::now();
  auto position = positions.begin();
  for (Instant now = first; now < positions.back().received && !stop.stop_requested();
       now += now < shown_from ? _options.scores.interval : step) {
    for (; position != positions.end() && position->received <= now; ++position) take(*position);
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
  for (; position != positions.end(); ++position) take(*position);
  _last = positions.back().received;
  _scores.finish(_city.network());
  cycle(_last);
}

void LiveService::stand_still(std::stop_token stop) {
  while (!stop.stop_requested()) {
    wait_for_cycle(stop, Steady::now() + std::chrono::hours(1), [this] { return _last; });
  }
}

}  // namespace qiv
