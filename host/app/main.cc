#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>

#include "app/city_config.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "app/log.h"
#include "app/version.h"

namespace {

using namespace qiv;  // NOLINT(google-build-using-namespace)

const char* const description =
    "Arrival forecasts with honest bounds, learned from the vehicles' own past.\n"
    "\n"
    "A city is a folder with city.toml, its timetable and the archive of what was recorded.\n"
    "\n"
    "Examples:\n"
    "  qiv init dublin --gtfs gtfs.zip\n"
    "  qiv record dublin positions-*.csv.gz\n"
    "  qiv learn dublin --until 2025-10-02\n"
    "  qiv evaluate dublin --from 2025-10-03 --to 2025-10-09 --html report.html\n"
    "  qiv serve dublin\n"
    "  qiv explain dublin --trip E801-0652-CNLLY-MHIDE --at 2025-10-07T07:00:00\n"
    "\n"
    "Exit codes: 0 done; 1 the work could not go on; 2 the command line or the configuration is\n"
    "wrong; 3 there is nothing to work on (no positions, no such day, no such trip).";

const char* const evaluate_examples =
    "Examples:\n"
    "  qiv evaluate dublin --from 2025-10-03 --to 2025-10-09\n"
    "  qiv evaluate dublin --from 2025-10-07 --to 2025-10-07 --json scores.json --html "
    "report.html\n"
    "  qiv evaluate dublin --from 2025-10-07 --to 2025-10-07 --against present=recorded-updates";

const char* const serve_examples =
    "Examples:\n"
    "  qiv serve dublin\n"
    "  qiv serve dublin --day 2025-10-07 --from 07:30:00 --speed 20";

const char* const simulate_examples =
    "Examples:\n"
    "  qiv simulate --gtfs gtfs.zip --port 8090\n"
    "  qiv simulate --write-gtfs town.zip --vehicles 10000";

std::string log_level;

CLI::App* command(CLI::App& app, const char* name, const char* help, std::string& city) {
  CLI::App* const sub = app.add_subcommand(name, help);
  sub->add_option("CITY", city, "Folder of the city")->required();
  sub->add_option("--log-level", log_level,
                  "From which level on is logged, in place of city.toml's")
      ->check(CLI::IsMember(log_levels()))
      ->envname("QIV_LOG_LEVEL");
  return sub;
}

void start_log(const std::filesystem::path& city) {
  LogConfig config;
  if (exists(city / "city.toml")) config = read_city_config(city / "city.toml").log;
  if (!config.file.empty()) config.file = city / config.file;
  if (const auto level = parse_log_level(log_level)) config.level = *level;
  Log(config).take_library_messages();
}

template <class Arguments>
void on_command(CLI::App* sub, const Arguments& arguments, void (*run)(const Arguments&)) {
  sub->callback([&arguments, run] {
    start_log(arguments.city);
    run(arguments);
  });
}

void add_init(CLI::App& app) {
  static InitArguments arguments;
  CLI::App* const sub =
      command(app, "init", "Make a city, or take a new timetable into one (histories are kept)",
              arguments.city);
  sub->add_option("--gtfs", arguments.gtfs, "Timetable: GTFS, a zip file or a folder")->required();
  on_command(sub, arguments, run_init);
}

void add_record(CLI::App& app) {
  static RecordArguments arguments;
  CLI::App* const sub =
      command(app, "record", "Take recorded positions into the archive; twice changes nothing",
              arguments.city);
  sub->add_option(
         "FILE", arguments.files,
         "Tables (.csv, .csv.gz), GTFS-realtime (.pb), SIRI (.xml), or a folder or zip of them")
      ->required();
  sub->add_flag("--json", arguments.json, "Print the counts as JSON");
  on_command(sub, arguments, run_record);
}

void add_learn(CLI::App& app) {
  static LearnArguments arguments;
  CLI::App* const sub = command(
      app, "learn", "Choose each pattern's settings and calibrate the bounds", arguments.city);
  sub->add_option("--until", arguments.until,
                  "Last day to learn from (default: the last recorded)");
  sub->add_option("--threads", arguments.threads, "Threads to use")->capture_default_str();
  sub->add_flag("--json", arguments.json, "Print what was learned as JSON");
  on_command(sub, arguments, run_learn);
}

void add_replay(CLI::App& app) {
  static ReplayArguments arguments;
  arguments.format = "json";
  CLI::App* const sub =
      command(app, "replay", "Replay a recorded day and write what was on display", arguments.city);
  sub->add_option("--day", arguments.day, "Day of service, YYYY-MM-DD")->required();
  sub->add_option("--out", arguments.out, "File to write (default: standard output)");
  sub->add_option("--at", arguments.at, "Only the display at this time of the day, HH:MM:SS");
  sub->add_option("--format", arguments.format, "json (a line for each trip), pb or text")
      ->check(CLI::IsMember({"json", "pb", "text"}))
      ->capture_default_str();
  arguments.mode = "arrival";
  sub->add_option("--mode", arguments.mode,
                  "arrival (times at the stops) or travel (times of the legs between them)")
      ->check(CLI::IsMember({"arrival", "travel"}))
      ->capture_default_str();
  on_command(sub, arguments, run_replay);
}

void add_evaluate(CLI::App& app) {
  static EvaluateArguments arguments;
  CLI::App* const sub =
      command(app, "evaluate", "Replay days that learning has not seen, and score the forecasts",
              arguments.city);
  sub->add_option("--from", arguments.from, "First day, YYYY-MM-DD")->required();
  sub->add_option("--to", arguments.to, "Last day")->required();
  sub->add_option("--json", arguments.json, "Write the figures as JSON");
  sub->add_option("--csv", arguments.csv, "Write the figures as CSV");
  sub->add_option("--html", arguments.html, "Write the report with plots");
  sub->add_option(
         "--against", arguments.against,
         "Another producer's recorded TripUpdates, scored on the same events: FOLDER, zip\n"
         "file or file, or NAME=FOLDER; may be given several times")
      ->allow_extra_args(false);
  sub->add_option(
         "--hide-trips", arguments.hide_trips,
         "Score how trips are assigned to vehicles that state none: hide the trips of the\n"
         "recorded reports, \"all\" of what names them or all but the \"route\"")
      ->check(CLI::IsMember({"all", "route"}));
  sub->footer(evaluate_examples);
  on_command(sub, arguments, run_evaluate);
}

void add_explain(CLI::App& app) {
  static ExplainArguments arguments;
  CLI::App* const sub = command(
      app, "explain", "Show a forecast and the earlier trips behind it, or why there is none",
      arguments.city);
  sub->add_option("--trip", arguments.trip, "Trip of the timetable")->required();
  sub->add_option("--at", arguments.at, "Local time, YYYY-MM-DDTHH:MM:SS")->required();
  on_command(sub, arguments, run_explain);
}

void add_serve(CLI::App& app) {
  static ServeArguments arguments;
  CLI::App* const sub =
      command(app, "serve", "Run the live service: positions in, predictions and a page out",
              arguments.city);
  sub->add_option("--address", arguments.address, "Interface to listen on (default: city.toml's)");
  sub->add_option("--port", arguments.port, "Port; 0 is any that is free (default: city.toml's)")
      ->check(CLI::Range(0, 65535));
  sub->add_option("--day", arguments.day, "Show this recorded day instead, YYYY-MM-DD");
  sub->add_option("--from", arguments.from, "Show the recorded day from this time on, HH:MM:SS");
  sub->add_option("--speed", arguments.speed,
                  "Let the recorded day move so many times as fast; 0: as fast as it goes")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  sub->add_flag("--until-end", arguments.until_end, "End with the recorded day");
  sub->footer(serve_examples);
  on_command(sub, arguments, run_serve);
}

void add_shares(CLI::App& sub, FleetOptions& fleet) {
  const auto share = [&sub](const char* name, double& value, const char* help) {
    sub.add_option(name, value, help)->check(CLI::Range(0.0, 1.0))->capture_default_str();
  };
  share("--traffic", fleet.traffic, "How far traffic stretches the running times, both ways");
  share("--gaps", fleet.gap_share, "Share of two-minute stretches without a report");
  share("--late", fleet.late_share, "Share of reports that come late, after newer ones");
  share("--doubled", fleet.doubled_share, "Share of reports that are in the message twice");
  share("--detours", fleet.detour_share, "Share of trips that leave their path for two legs");
  share("--without-trip", fleet.without_trip_share, "Share of vehicles that never name a trip");
  sub.add_option("--noise", fleet.noise_m, "Deviation of a position, metres north and east")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
}

void add_simulate(CLI::App& app) {
  static SimulateArguments arguments;
  CLI::App* const sub = app.add_subcommand(
      "simulate", "Serve the positions of a synthetic fleet, or write a town for one");
  auto* const gtfs = sub->add_option("--gtfs", arguments.gtfs, "Timetable that the fleet runs");
  auto* const write = sub->add_option("--write-gtfs", arguments.write_gtfs,
                                      "Write a town for so many vehicles to this zip file");
  gtfs->excludes(write);
  sub->add_option("--vehicles", arguments.fleet.vehicles,
                  "Vehicles at most (default: as many as the timetable needs)");
  sub->add_option("--seed", arguments.fleet.seed, "The same seed gives the same fleet")
      ->capture_default_str();
  sub->add_option("--at", arguments.at, "Local time to begin at, YYYY-MM-DDTHH:MM (default: now)");
  sub->add_option("--hours", arguments.hours, "Hours of service in a town")
      ->check(CLI::Range(0.5, 20.0))
      ->capture_default_str();
  sub->add_option("--speed", arguments.speed, "Let the fleet's clock go so many times as fast")
      ->check(CLI::Range(0.01, 1000.0))
      ->capture_default_str();
  sub->add_option("--every", arguments.every_s, "Seconds from one report of a vehicle to the next")
      ->check(CLI::Range(1, 300))
      ->capture_default_str();
  sub->add_option("--address", arguments.address, "Interface to listen on")->capture_default_str();
  sub->add_option("--port", arguments.port, "Port; 0 is any that is free")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  add_shares(*sub, arguments.fleet);
  sub->footer(simulate_examples);
  sub->callback([] { run_simulate(arguments); });
}

void add_bridge(CLI::App& app) {
  static BridgeArguments arguments;
  CLI::App* const sub =
      command(app, "bridge", "Write positions, timetable and settings to Kafka", arguments.city);
  sub->add_flag("--histories", arguments.histories, "Write the archive's finished trips too");
  sub->add_option("--day", arguments.day, "Write this recorded day instead, YYYY-MM-DD");
  sub->add_option("--speed", arguments.speed,
                  "Let the recorded day move so many times as fast; 0: as fast as it goes")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  on_command(sub, arguments, run_bridge);
}

void add_worker(CLI::App& app) {
  static WorkerArguments arguments;
  CLI::App* const sub = command(
      app, "worker", "Turn positions on Kafka into forecasts, with other workers", arguments.city);
  sub->add_option("--name", arguments.name,
                  "Tells this worker apart from all others (default: host and process)");
  sub->add_option("--histories-until", arguments.histories_until,
                  "Learn from no trip that finished after this day began, YYYY-MM-DD");
  sub->add_option("--address", arguments.address, "Interface of the metrics")
      ->capture_default_str();
  sub->add_option("--port", arguments.port, "Port of the metrics; 0 is any that is free")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  on_command(sub, arguments, run_worker);
}

void add_gateway(CLI::App& app) {
  static GatewayArguments arguments;
  CLI::App* const sub =
      command(app, "gateway", "Serve the forecasts on Kafka: the outputs and the page of 'serve'",
              arguments.city);
  sub->add_option("--address", arguments.address, "Interface to listen on (default: city.toml's)");
  sub->add_option("--port", arguments.port, "Port; 0 is any that is free (default: city.toml's)")
      ->check(CLI::Range(0, 65535));
  sub->add_flag("--recorded", arguments.recorded, "Let the newest forecast tell the time");
  on_command(sub, arguments, run_gateway);
}

void add_inspect(CLI::App& app) {
  static InspectArguments arguments;
  CLI::App* const sub = command(
      app, "inspect", "List patterns, what is recorded, and what was learned", arguments.city);
  sub->add_flag("--json", arguments.json, "Print as JSON");
  on_command(sub, arguments, run_inspect);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(description, "qiv");
  app.set_version_flag("--version", qiv::version);
  app.require_subcommand(1);
  add_init(app);
  add_record(app);
  add_learn(app);
  add_replay(app);
  add_evaluate(app);
  add_explain(app);
  add_serve(app);
  add_bridge(app);
  add_worker(app);
  add_gateway(app);
  add_simulate(app);
  add_inspect(app);
  try {
    app.parse(argc, argv);
    return static_cast<int>(ExitCode::ok);
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    return code == 0 ? 0 : static_cast<int>(ExitCode::usage);
  } catch (const CommandError& error) {
    std::cerr << "qiv: " << error.what() << "\n";
    return static_cast<int>(error.code());
  } catch (const std::exception& error) {
    std::cerr << "qiv: " << error.what() << "\n";
    return static_cast<int>(ExitCode::failed);
  }
}
