#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <thread>

#include "app/city.h"
#include "app/coming_why.h"
#include "app/commands.h"
#include "app/end_signals.h"
#include "app/exit_code.h"
#include "app/make_source.h"
#include "app/nightly.h"
#include "app/serve_config.h"
#include "app/version.h"
#include "history/archive_error.h"
#include "history/pattern_past.h"
#include "serve/api/api_server.h"
#include "serve/archive_history.h"
#include "serve/live_service.h"
#include "serve/sources/recorded_reports.h"
#include "serve/web/page_files.h"

namespace qiv {
namespace {

/// Asks the engine's thread why a forecast is as it is, and waits for the answer.
AskWhy ask_why(LiveService*& service) {
  return [&service](const TripKey& trip) {
    auto coming = std::make_shared<ComingWhy>();
    service->post([coming, trip](LiveCity& city, Instant) {
      coming->answer([&] {
        Why why{city.explain_trip(trip), ""};
        if (!why.explanation) why.reason = "no vehicle is under way on this trip";
        return why;
      });
    });
    return coming->wait();
  };
}

/// Opens the server; where the usual port is taken and no other was asked for, on one that is free.
std::unique_ptr<ApiServer> open_server(ApiOptions options, bool port_is_stated) {
  try {
    return std::make_unique<ApiServer>(options);
  } catch (const std::runtime_error&) {
    if (port_is_stated) throw;
    options.server.port = 0;
    return std::make_unique<ApiServer>(std::move(options));
  }
}

/// The parts of a running service that a recorded day and the live one share.
class Serving {
 public:
  Serving(const ServeArguments& arguments)
      : city(arguments.city),
        config(read_serve_config(city.folder() / "city.toml")),
        log(log_of(city)) {
    if (!arguments.address.empty()) config.address = arguments.address;
    if (arguments.port >= 0) {
      config.port = static_cast<std::uint16_t>(arguments.port);
      config.port_is_stated = true;
    }
  }

  ApiOptions api_options() {
    ApiOptions options;
    options.server.address = config.address;
    options.server.port = config.port;
    options.server.token = config.token;
    options.files = page_files({config.tiles, config.tiles_attribution});
    options.why = ask_why(service);
    options.report = [this](const std::string& text) { log.write(LogLevel::error, text); };
    return options;
  }

  ServiceOptions service_options() const {
    ServiceOptions options;
    options.city = city.config().name;
    options.version = version;
    options.cycle = config.cycle;
    return options;
  }

  LiveCityOptions city_options() const {
    LiveCityOptions options;
    options.track = city.config().track;
    options.engine = city.config().engine;
    options.engine.shards = config.threads;
    return options;
  }

  /// The city's network, which outlives the service.
  std::shared_ptr<const Network> network() const {
    return {std::shared_ptr<const Network>(), &city.network()};
  }

  void announce(const ApiServer& server) const {
    std::cout << city.config().name << " at " << server.url() << "/" << std::endl;
  }

  EndSignals signals;
  City city;
  ServeConfig config;
  Log log;
  LiveService* service = nullptr;  ///< set before the server answers anything that needs it

 private:
  static Log log_of(const City& city) {
    LogConfig config = city.config().log;
    if (!config.file.empty()) config.file = city.folder() / config.file;
    if (config.level > LogLevel::warning) config.level = LogLevel::warning;
    return Log(config);
  }
};

/// The trips of these patterns can be lent when a later timetable has them no more.
void keep_patterns(Archive& archive, const Network& network, Log& log) {
  std::vector<PatternOutline> outlines;
  for (auto& [ref, pattern] : outlines_of(network)) outlines.push_back(pattern);
  try {
    archive.keep_patterns(outlines);
  } catch (const ArchiveError& error) {
    log.write(LogLevel::error, error.what());
  }
}

/// What the agency's own feeds said that day, where the configuration names folders of them.
std::vector<AgencyReport> recorded_agency(const ServeConfig& config, Instant from, Instant until) {
  std::vector<AgencyReport> all;
  for (const SourceOptions& source : config.sources) {
    const auto* const folder = std::get_if<FolderSourceOptions>(&source);
    if (folder == nullptr || folder->content == FeedContent::positions) continue;
    RecordedReports recorded = read_recorded_reports(*folder, from, until);
    std::cout << folder->name << ": " << recorded.reports.size() << " snapshots of "
              << to_string(folder->content) << " in " << folder->folder.string();
    for (const auto& [reason, entry] : recorded.not_used.entries()) {
      std::cout << "; not used: " << reason << " (" << entry.count << ", first: " << entry.first
                << ")";
    }
    std::cout << std::endl;
    std::move(recorded.reports.begin(), recorded.reports.end(), std::back_inserter(all));
  }
  std::stable_sort(all.begin(), all.end(), [](const AgencyReport& a, const AgencyReport& b) {
    return a.received < b.received;
  });
  return all;
}

void serve_recorded(Serving& serving, const ServeArguments& arguments) {
  City& city = serving.city;
  const ServiceDate day = parse_day(arguments.day, "--day");
  const std::vector<VehiclePosition> positions = city.positions(day);
  if (positions.empty()) {
    throw CommandError(ExitCode::no_data, "no positions recorded on " + day.to_iso_string());
  }
  const RecordedRuns runs = city.follow(day - std::chrono::days(1), [](double, ServiceDate) {});
  LiveCityOptions options = serving.city_options();
  options.records = false;
  const auto histories = [&](const Network&, const auto&) { return runs.source_before(day); };
  LiveCity live(serving.network(), city.settings(), city.archive(), histories, options);
  RecordedPace pace;
  pace.name = "positions of " + day.to_iso_string();
  pace.speed = arguments.speed;
  if (!arguments.from.empty()) {
    const auto from = parse_time_of_day(arguments.from);
    if (!from) throw CommandError(ExitCode::usage, "--from: write HH:MM:SS");
    pace.shown_from = city.network().clock().at(day, *from);
  }
  std::unique_ptr<ApiServer> server;
  LiveService service(
      live, {},
      [&](std::shared_ptr<const Snapshot> snapshot) {
        const std::uint64_t serial = snapshot->serial;
        server->publish(std::move(snapshot));
        if (arguments.speed <= 0.0) server->wait_until_shown(serial);
      },
      serving.service_options());
  serving.service = &service;
  server = open_server(serving.api_options(), serving.config.port_is_stated);
  serving.announce(*server);
  const std::vector<AgencyReport> agency =
      recorded_agency(serving.config, positions.front().received - std::chrono::hours(1),
                      positions.back().received);
  service.run_recorded(serving.signals.stop(), positions, pace, agency);
  if (!arguments.until_end) service.stand_still(serving.signals.stop());
  server->stop();
}

void serve_live(Serving& serving) {
  City& city = serving.city;
  const ServeConfig& config = serving.config;
  if (config.sources.empty()) {
    throw CommandError(ExitCode::usage,
                       (city.folder() / "city.toml").string() +
                           ": no source of positions: add a [[source]], or show a recorded day by "
                           "--day YYYY-MM-DD");
  }
  LiveCity live(
      serving.network(), city.settings(), city.archive(),
      [&](const Network& network, std::shared_ptr<const HistoryBounds> bounds) {
        return archive_history(city.archive(), network, std::move(bounds));
      },
      serving.city_options());
  std::vector<std::unique_ptr<Source>> sources;
  const TakeReport tell = [&](AgencyReport report) { serving.service->tell(std::move(report)); };
  for (const SourceOptions& source : config.sources) sources.push_back(make_source(source, tell));
  TimetableSourceOptions timetable_options = config.timetable;
  timetable_options.file = city.folder() / city.config().timetable;
  auto timetable = std::make_unique<TimetableSource>(
      timetable_options,
      [&](std::shared_ptr<const Network> network) {
        serving.service->post([&, network = std::move(network)](LiveCity& c, Instant now) {
          keep_patterns(city.archive(), *network, serving.log);
          c.use_timetable(network, now);
        });
      },
      wall_clock);
  TimetableSource& timetable_source = *timetable;
  sources.push_back(std::move(timetable));
  Nightly nightly(
      city.folder(), config, city.network().clock(),
      [&](const LearnedSettings& settings) {
        serving.service->post(
            [settings](LiveCity& c, Instant now) { c.use_settings(settings, now); });
      },
      wall_clock, serving.log);
  std::unique_ptr<ApiServer> server;
  LiveService service(
      live, std::move(sources),
      [&](std::shared_ptr<const Snapshot> snapshot) { server->publish(std::move(snapshot)); },
      serving.service_options());
  serving.service = &service;
  ApiOptions options = serving.api_options();
  options.actions["reload-timetable"] = [&] {
    timetable_source.look_soon();
    return "the timetable is being looked at";
  };
  options.actions["learn"] = [&] {
    nightly.begin_soon();
    return "learning has begun; the log will tell what comes of it";
  };
  server = open_server(std::move(options), config.port_is_stated);
  serving.announce(*server);
  live.rebuild(wall_clock());
  const std::jthread nights([&](std::stop_token stop) { nightly.run(std::move(stop)); });
  service.run(serving.signals.stop(), wall_clock);
  server->stop();
}

}  // namespace

void run_serve(const ServeArguments& arguments) {
  Serving serving(arguments);
  if (arguments.day.empty()) {
    serve_live(serving);
  } else {
    serve_recorded(serving, arguments);
  }
}

}  // namespace qiv
