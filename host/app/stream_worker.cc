#include "app/stream_worker.h"

#include "app/exit_code.h"
#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "network/build_network.h"
#include "serve/api/metrics_text.h"

namespace qiv {
namespace {

std::filesystem::path config_file(const std::filesystem::path& folder) {
  const std::filesystem::path file = folder / "city.toml";
  if (exists(file)) return file;
  throw CommandError(ExitCode::usage,
                     file.string() + ": there is no such file: make the city with 'qiv init'");
}

}  // namespace

StreamCity::StreamCity(const std::filesystem::path& folder)
    : config(read_city_config(config_file(folder))),
      stream(need_stream_config(config_file(folder), config.name)),
      topics(stream.topics) {}

LogConfig stream_log(const CityConfig& config, const std::filesystem::path& folder) {
  LogConfig log = config.log;
  if (!log.file.empty()) log.file = folder / log.file;
  if (log.level > LogLevel::warning) log.level = LogLevel::warning;
  return log;
}

std::shared_ptr<const Network> network_of(const std::string& gtfs) {
  return std::make_shared<const Network>(
      build_network(read_gtfs(FileBundle::open_zip(gtfs, "the stream's timetable")).timetable));
}

WorkerOptions worker_options(const StreamCity& city, const std::string& name) {
  WorkerOptions options;
  options.properties = city.stream.properties;
  options.topics = city.topics;
  options.agency = AgencyId(city.stream.agency);
  options.group = city.stream.group;
  options.transactional_id = city.stream.group + "." + name;
  options.window = city.stream.window;
  options.transaction = city.stream.transaction;
  options.track = city.config.track;
  options.engine = city.config.engine;
  options.make_network = network_of;
  return options;
}

std::string worker_metrics_text(const WorkerCounts& counts, Instant now) {
  MetricsText text;
  const auto count = [&](const char* name, const char* help, std::uint64_t value) {
    text.single(name, "counter", help, static_cast<double>(value));
  };
  text.single("qiv_worker_ready", "gauge", "Timetable, settings and histories are read.",
              counts.ready ? 1.0 : 0.0);
  count("qiv_worker_messages_total", "Messages of the positions that were handled.",
        counts.positions);
  count("qiv_worker_replayed_total", "Messages that were replayed when partitions were taken up.",
        counts.replayed);
  count("qiv_worker_forecasts_total", "Forecasts that were written.", counts.forecasts);
  count("qiv_worker_trips_left_total", "Ends of vehicles' trips that were written.",
        counts.trips_left);
  count("qiv_worker_trips_finished_total", "Trips that were written for the histories.",
        counts.trips_finished);
  count("qiv_worker_trips_learned_total", "Trips of all workers that joined the histories.",
        counts.trips_learned);
  text.single("qiv_worker_history_trips", "gauge", "Trips that the histories hold.",
              static_cast<double>(counts.histories));
  count("qiv_worker_set_aside_total", "Messages that could not be used.", counts.set_aside);
  count("qiv_worker_transactions_total", "Transactions that ended.", counts.transactions);
  count("qiv_worker_transactions_aborted_total", "Transactions that were given up.",
        counts.aborted);
  count("qiv_worker_recoveries_total", "Partitions that were taken up.", counts.recoveries);
  text.single("qiv_worker_last_recovery_seconds", "gauge",
              "How long the last recovery of a partition took.", counts.last_recovery_s);
  text.family("qiv_worker_network", "gauge", "The timetable in force.");
  text.sample(1.0, {{"version", counts.network_version}});
  text.single("qiv_worker_partitions_on_former_version", "gauge",
              "Partitions that are not yet on the timetable and the settings in force.",
              static_cast<double>(counts.on_former_basis));
  using Partition = WorkerCounts::Partition;
  const auto each = [&](const char* name, const char* help, const auto& value_of) {
    text.family(name, "gauge", help);
    for (const auto& [number, partition] : counts.partitions) {
      text.sample(value_of(partition), {{"partition", std::to_string(number)}});
    }
  };
  each("qiv_worker_lag_messages", "Messages that wait.",
       [](const Partition& p) { return static_cast<double>(p.lag); });
  each("qiv_worker_lag_seconds", "How far the partition's time is behind the time of day.",
       [now](const Partition& p) { return static_cast<double>((now - p.now).count()); });
  each("qiv_worker_vehicles", "Vehicles that are remembered.",
       [](const Partition& p) { return static_cast<double>(p.vehicles); });
  each("qiv_worker_recovering", "The partition is being replayed.",
       [](const Partition& p) { return p.recovering ? 1.0 : 0.0; });
  return text.text();
}

}  // namespace qiv
