#include <condition_variable>
#include <deque>
#include <iostream>
#include <mutex>
#include <thread>

#include "app/city.h"
#include "app/commands.h"
#include "app/end_signals.h"
#include "app/exit_code.h"
#include "app/log.h"
#include "app/make_source.h"
#include "app/serve_config.h"
#include "app/stream_bridge.h"
#include "app/stream_histories.h"
#include "app/stream_worker.h"
#include "worker/kafka/wait_for_brokers.h"
#include "worker/position_writer.h"

namespace qiv {
namespace {

/// Positions on their way from the sources to the stream. Sources wait while it is full.
class Waiting {
 public:
  void put(std::vector<VehiclePosition>&& positions) {
    std::unique_lock lock(_mutex);
    _space.wait(lock, [this] { return _positions.size() < most || _closed; });
    std::move(positions.begin(), positions.end(), std::back_inserter(_positions));
  }

  std::deque<VehiclePosition> take() {
    const std::lock_guard lock(_mutex);
    _space.notify_all();
    return std::exchange(_positions, {});
  }

  void close() {
    const std::lock_guard lock(_mutex);
    _closed = true;
    _space.notify_all();
  }

 private:
  static constexpr std::size_t most = 1'000'000;
  std::mutex _mutex;
  std::condition_variable _space;
  std::deque<VehiclePosition> _positions;
  bool _closed = false;
};

void write_live(const ServeConfig& config, PositionWriter& writer, kafka::Producer& producer,
                const std::stop_token& stop) {
  Waiting waiting;
  std::vector<std::unique_ptr<Source>> sources;
  for (const SourceOptions& options : config.sources) {
    if (gives_positions(options)) sources.push_back(make_source(options, {}));
  }
  std::vector<std::jthread> threads;
  for (const auto& source : sources) {
    threads.emplace_back([&](std::stop_token own) {
      source->run(std::move(own), [&](std::vector<VehiclePosition>&& positions) {
        waiting.put(std::move(positions));
      });
    });
  }
  const auto write = [&] {
    for (VehiclePosition& position : waiting.take()) writer.write(std::move(position));
    writer.pass(wall_clock());
    producer.flush();
  };
  while (!stop.stop_requested()) {
    std::this_thread::sleep_for(config.cycle);
    write();
  }
  waiting.close();
  for (std::jthread& thread : threads) thread.request_stop();
  threads.clear();
  write();
}

void write_day(const std::vector<VehiclePosition>& positions, double speed, PositionWriter& writer,
               kafka::Producer& producer, const std::stop_token& stop) {
  const auto began = std::chrono::steady_clock::now();
  const Instant first = positions.front().received;
  for (const VehiclePosition& position : positions) {
    if (stop.stop_requested()) break;
    if (speed > 0.0) {
      const std::chrono::duration<double> due(
          static_cast<double>((position.received - first).count()) / speed);
      std::this_thread::sleep_until(
          began + std::chrono::duration_cast<std::chrono::steady_clock::duration>(due));
    }
    writer.write(position);
  }
  producer.flush();
}

/// The histories of a recorded day are the trips that had ended when its first position came.
void write_histories_before(City& city, const StreamConfig& stream, kafka::Producer& producer,
                            const std::string& day, Instant until) {
  const std::vector<ServiceDate> recorded = city.recorded_days();
  if (recorded.empty()) throw CommandError(ExitCode::no_data, "no day is recorded: qiv record");
  const ServiceDate last =
      day.empty() ? recorded.back() : parse_day(day, "--day") - std::chrono::days(1);
  const std::uint64_t trips = write_histories(city, stream, producer, last, until);
  std::cout << "written: " << trips << " finished trips" << std::endl;
}

}  // namespace

void run_bridge(const BridgeArguments& arguments) {
  const EndSignals signals;
  City city(arguments.city);
  const auto file = city.folder() / "city.toml";
  const StreamConfig stream = need_stream_config(file, city.config().name);
  const ServeConfig serve = read_serve_config(file);
  std::vector<VehiclePosition> positions;
  if (!arguments.day.empty()) positions = city.positions(parse_day(arguments.day, "--day"));
  if (!arguments.day.empty() && positions.empty()) {
    throw CommandError(ExitCode::no_data, "no positions recorded on " + arguments.day);
  }
  const Log log(stream_log(city.config(), city.folder()));
  const auto report = [&log](const std::string& text) { log.write(LogLevel::warning, text); };
  if (!kafka::wait_for_brokers(stream.properties, signals.stop(), report)) return;
  kafka::make_topics(stream.properties, topic_plans(stream));
  kafka::Producer producer(stream.properties);
  const std::string done = write_reference(city, stream, producer, wall_clock());
  if (!done.empty()) std::cout << "written: " << done << std::endl;
  if (arguments.histories) {
    const Instant until = positions.empty() ? wall_clock() : positions.front().received;
    write_histories_before(city, stream, producer, arguments.day, until);
  }
  PositionWriter writer(producer, Topics(stream.topics).positions, AgencyId(stream.agency),
                        stream.watermark);
  if (!arguments.day.empty()) {
    write_day(positions, arguments.speed, writer, producer, signals.stop());
    std::cout << "written: " << writer.positions() << " positions" << std::endl;
  } else if (!serve.sources.empty()) {
    std::cout << "bridge of " << city.config().name << " at work" << std::endl;
    write_live(serve, writer, producer, signals.stop());
  }
}

}  // namespace qiv
