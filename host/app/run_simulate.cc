#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <mutex>

#include "app/commands.h"
#include "app/exit_code.h"
#include "app/make_source.h"
#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "network/build_network.h"
#include "serve/http/server.h"
#include "simulate/fleet.h"
#include "simulate/fleet_message.h"
#include "simulate/gtfs_files.h"
#include "simulate/town.h"

namespace qiv {
namespace {

using Steady = std::chrono::steady_clock;

/// The instant of "YYYY-MM-DDTHH:MM" by the city's clock.
Instant parse_local(const std::string& text, const ServiceClock& clock) {
  const std::size_t t = text.find('T');
  const auto day = ServiceDate::parse(text.substr(0, t));
  const auto time =
      t == std::string::npos ? std::nullopt : parse_time_of_day(text.substr(t + 1) + ":00");
  if (!day || !time) throw CommandError(ExitCode::usage, "--at: write YYYY-MM-DDTHH:MM");
  return clock.at(*day, *time);
}

Instant begin_of(const SimulateArguments& arguments, const ServiceClock& clock) {
  return arguments.at.empty() ? wall_clock() : parse_local(arguments.at, clock);
}

void write_town(const SimulateArguments& arguments) {
  const ServiceClock clock("Etc/UTC");
  const Instant begin = begin_of(arguments, clock);
  TownOptions options;
  if (arguments.fleet.vehicles > 0) options.vehicles = arguments.fleet.vehicles;
  options.day = clock.local_day(begin);
  options.from = clock.local_time(begin);
  options.length = Seconds(static_cast<long>(arguments.hours * 3600.0));
  const Timetable town = make_town(options);
  std::ofstream file(arguments.write_gtfs, std::ios::binary);
  file << zip_of(gtfs_files(town));
  file.close();
  if (!file) {
    throw CommandError(ExitCode::failed, arguments.write_gtfs + ": cannot be written");
  }
  std::cout << arguments.write_gtfs << ": " << town.routes.size() << " routes, "
            << town.stops.size() << " stops, " << town.trips.size() << " trips; "
            << options.vehicles << " vehicles on the road from " << format_utc(begin) << " for "
            << arguments.hours << " hours\n";
}

/// The fleet's message, made once for each second of its clock and shared by all readers.
class FleetFeed {
 public:
  /// The fleet's clock stands at `begin` now.
  FleetFeed(Fleet& fleet, std::chrono::system_clock::time_point begin, double speed)
      : _fleet(fleet), _begin(begin), _speed(speed), _started(Steady::now()) {}

  Answer answer() {
    const std::lock_guard lock(_mutex);
    const Instant now = std::chrono::floor<Seconds>(_begin + (Steady::now() - _started) * _speed);
    if (_message == nullptr || now != _made) {
      _made = now;
      const auto reports = _fleet.reports(now);
      _message =
          make_blob(fleet_message(reports, now).SerializeAsString(), "application/x-protobuf", now);
    }
    Answer answer;
    answer.body = _message;
    return answer;
  }

 private:
  Fleet& _fleet;
  const std::chrono::system_clock::time_point _begin;
  const double _speed;
  const Steady::time_point _started;
  std::mutex _mutex;
  Instant _made{};
  BlobPtr _message;
};

/// Serves the timetable too, where it is one file.
bool add_timetable(const std::string& gtfs, Router& router) {
  if (!std::filesystem::is_regular_file(gtfs)) return false;
  std::ifstream file(gtfs, std::ios::binary);
  const BlobPtr timetable =
      make_blob({std::istreambuf_iterator<char>(file), {}}, "application/zip", wall_clock());
  router.get("/gtfs.zip", [timetable](const Request&) {
    Answer answer;
    answer.body = timetable;
    return answer;
  });
  return true;
}

void announce(const SimulateArguments& arguments, std::size_t on_road, Instant begin,
              const HttpServer& server, bool has_timetable) {
  std::cout << on_road << " vehicles on the road at " << format_utc(begin) << ", positions at "
            << server.url() << "/vehicle-positions";
  if (has_timetable) std::cout << ", timetable at " << server.url() << "/gtfs.zip";
  std::cout << std::endl;
  if (arguments.fleet.vehicles > on_road) {
    std::cout << "The timetable has no trips for more; for a larger town:\n"
              << "  qiv simulate --write-gtfs town.zip --vehicles " << arguments.fleet.vehicles
              << std::endl;
  }
}

/// Blocks the signals that end the process, for this thread and those that it starts.
sigset_t end_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void serve_fleet(const SimulateArguments& arguments) {
  const sigset_t signals = end_signals();
  Network network = build_network(read_gtfs(FileBundle::open(arguments.gtfs)).timetable);
  FleetOptions options = arguments.fleet;
  options.every = Seconds(arguments.every_s);
  Fleet fleet(network, options);
  const Instant begin = begin_of(arguments, network.clock());
  const std::size_t on_road = fleet.on_road(begin);
  FleetFeed feed(fleet, arguments.at.empty() ? std::chrono::system_clock::now() : begin,
                 arguments.speed);
  Router router;
  router.get("/vehicle-positions", [&](const Request&) { return feed.answer(); });
  const bool has_timetable = add_timetable(arguments.gtfs, router);
  ServerOptions server_options;
  server_options.address = arguments.address;
  server_options.port = static_cast<std::uint16_t>(arguments.port);
  HttpServer server(server_options, std::move(router));
  announce(arguments, on_road, begin, server, has_timetable);
  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
}

}  // namespace

void run_simulate(const SimulateArguments& arguments) {
  if (!arguments.write_gtfs.empty()) {
    write_town(arguments);
  } else if (!arguments.gtfs.empty()) {
    serve_fleet(arguments);
  } else {
    throw CommandError(ExitCode::usage,
                       "simulate: state the timetable by --gtfs FILE, or write one by "
                       "--write-gtfs FILE");
  }
}

}  // namespace qiv
