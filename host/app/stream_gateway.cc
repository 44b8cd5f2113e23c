#include "app/stream_gateway.h"

#include <iostream>

#include "app/coming_why.h"

namespace qiv {

using std::chrono::milliseconds;

StreamGateway::StreamGateway(const StreamCity& city, bool recorded, std::stop_token stop)
    : _city(city), _display(city.config, recorded), _stop(std::move(stop)) {}

StreamGateway::~StreamGateway() = default;

std::unique_ptr<kafka::LogReader> StreamGateway::reader(
    const std::vector<std::string>& topics, const std::vector<std::string>& recent) const {
  return std::make_unique<kafka::LogReader>(_city.stream.properties, topics, recent, _stop);
}

void StreamGateway::listen(std::vector<std::unique_ptr<Source>> sources) {
  _sources = std::move(sources);
  for (const auto& source : _sources) {
    _listening.emplace_back([&source](std::stop_token stop) {
      source->run(std::move(stop), [](std::vector<VehiclePosition>&&) {});
    });
  }
}

void StreamGateway::take(milliseconds patience) {
  const auto until = std::chrono::steady_clock::now() + patience;
  do {
    answer();
    follow_reference();
    follow_forecasts(until);
  } while (std::chrono::steady_clock::now() < until);
}

StreamGateway::Histories StreamGateway::read_histories(const std::string& gtfs,
                                                       LearnedSettings settings) const {
  Histories read{std::make_shared<DisplayBasis>(network_of(gtfs), std::move(settings)),
                 reader({_city.topics.finished})};
  while (!read.log->at_end() && !_stop.stop_requested()) {
    if (const auto message = read.log->poll(milliseconds(100))) read.basis->take(message->message);
  }
  return read;
}

/// Reads the histories of a new timetable or new settings in a thread of their own; until they are
/// there the former are on display. A timetable that cannot be used leaves the former there too.
void StreamGateway::follow_reference() {
  if (_reference_log == nullptr) _reference_log = reader({_city.topics.reference});
  while (const auto message = _reference_log->poll(milliseconds(0))) {
    if (!_reference.take(message->message)) _reference_changed = true;
  }
  if (_coming.valid()) {
    if (_coming.wait_for(milliseconds(0)) != std::future_status::ready) return;
    try {
      Histories read = _coming.get();
      _display.use(std::move(read.basis));
      _finished_log = std::move(read.log);
    } catch (const std::exception& error) {
      if (_finished_log == nullptr) throw;
      std::cerr << "qiv: what is new in the reference is not used: " << error.what() << std::endl;
    }
  }
  if (!_reference_changed || !_reference_log->at_end() || _reference.gtfs() == nullptr) return;
  _reference_changed = false;
  _coming = std::async(std::launch::async,
                       [this, gtfs = _reference.gtfs(),
                        settings = _reference.settings().value_or(LearnedSettings())] {
                         return read_histories(*gtfs, settings);
                       });
}

/// Takes what waits, until then at most.
void StreamGateway::follow_forecasts(std::chrono::steady_clock::time_point until) {
  constexpr milliseconds patience(20);
  if (_finished_log == nullptr) {
    std::this_thread::sleep_for(patience);
    return;
  }
  while (const auto message = _finished_log->poll(milliseconds(0))) {
    _display.take_finished(message->message);
  }
  if (_forecast_log == nullptr) {
    _forecast_log = reader({_city.topics.forecasts}, {_city.topics.positions});
  }
  for (auto message = _forecast_log->poll(patience); message;
       message = _forecast_log->poll(milliseconds(0))) {
    if (message->topic == _city.topics.positions) {
      _display.take_position(message->message);
    } else {
      _display.take_forecast(message->message);
    }
    if (std::chrono::steady_clock::now() >= until) return;
  }
}

std::shared_ptr<Snapshot> StreamGateway::show(Instant now) {
  if (_forecast_log == nullptr || !_forecast_log->at_end()) return nullptr;
  const auto began = std::chrono::steady_clock::now();
  auto snapshot = _display.show(now);
  for (const auto& source : _sources) snapshot->sources.push_back(source->view(now));
  snapshot->counts.last_cycle_s =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  return snapshot;
}

Why StreamGateway::why(const TripKey& trip) {
  auto coming = std::make_shared<ComingWhy>();
  {
    const std::lock_guard lock(_mutex);
    _asked.emplace_back(
        [this, coming, trip] { coming->answer([&] { return _display.why(trip); }); });
  }
  return coming->wait();
}

void StreamGateway::answer() {
  std::deque<std::function<void()>> asked;
  {
    const std::lock_guard lock(_mutex);
    asked.swap(_asked);
  }
  for (const auto& question : asked) question();
}

}  // namespace qiv
