#pragma once

#include <string>
#include <vector>

#include "simulate/fleet_options.h"

namespace qiv {

/// The subcommands. Each prints to the standard output stream and throws `CommandError`, or any
/// `std::exception`, when it cannot go on.

struct InitArguments {
  std::string city;
  std::string gtfs;
};
void run_init(const InitArguments& arguments);

struct RecordArguments {
  std::string city;
  std::vector<std::string> files;
  bool json = false;
};
void run_record(const RecordArguments& arguments);

struct LearnArguments {
  std::string city;
  std::string until;  ///< empty: the last recorded day
  unsigned threads = 2;
  bool json = false;
};
void run_learn(const LearnArguments& arguments);

struct ReplayArguments {
  std::string city;
  std::string day;
  std::string out;     ///< empty: the standard output stream
  std::string format;  ///< "json", "pb" or "text"
  std::string at;      ///< local time of one display, "HH:MM:SS"; empty: all
  std::string mode;    ///< "arrival" or "travel"
};
void run_replay(const ReplayArguments& arguments);

struct EvaluateArguments {
  std::string city;
  std::string from;
  std::string to;
  std::string json;
  std::string csv;
  std::string html;
  std::vector<std::string>
      against;  ///< recordings of other producers, each "FOLDER" or "NAME=FOLDER"
  /// "all" or "route": score the assignment of trips to vehicles that state nothing of theirs, or
  /// route and direction only; empty: score the forecasts.
  std::string hide_trips;
};
void run_evaluate(const EvaluateArguments& arguments);
/// With `hide_trips`.
void run_evaluate_assignment(const EvaluateArguments& arguments);

struct ExplainArguments {
  std::string city;
  std::string trip;
  std::string at;  ///< "YYYY-MM-DDTHH:MM:SS", by the clock of the city
};
void run_explain(const ExplainArguments& arguments);

struct ServeArguments {
  std::string city;
  std::string address;     ///< empty: as configured
  int port = -1;           ///< negative: as configured
  std::string day;         ///< a recorded day to show; empty: the live service
  std::string from;        ///< time of that day from which on it is shown, "HH:MM:SS"
  double speed = 1.0;      ///< 0: as fast as it goes
  bool until_end = false;  ///< end with the recorded day
};
void run_serve(const ServeArguments& arguments);

struct BridgeArguments {
  std::string city;
  bool histories = false;  ///< write the archive's finished trips too
  std::string day;         ///< a recorded day to write; empty: what the sources say
  double speed = 0.0;      ///< 0: as fast as it goes
};
void run_bridge(const BridgeArguments& arguments);

struct WorkerArguments {
  std::string city;
  std::string name;             ///< empty: host and process
  std::string histories_until;  ///< a day; empty: histories grow
  std::string address = "127.0.0.1";
  int port = 0;  ///< of the metrics
};
void run_worker(const WorkerArguments& arguments);

struct GatewayArguments {
  std::string city;
  std::string address;    ///< empty: as configured
  int port = -1;          ///< negative: as configured
  bool recorded = false;  ///< the clock is that of the newest forecast
};
void run_gateway(const GatewayArguments& arguments);

struct SimulateArguments {
  std::string gtfs;        ///< to serve a fleet for
  std::string write_gtfs;  ///< to write a town to instead
  std::string at;          ///< local time, "YYYY-MM-DDTHH:MM"; empty: now
  double hours = 4.0;      ///< of service in the town
  std::string address = "127.0.0.1";
  int port = 8090;
  double speed = 1.0;  ///< of the fleet's clock
  long every_s = 10;   ///< seconds from report to report
  FleetOptions fleet;
};
void run_simulate(const SimulateArguments& arguments);

struct InspectArguments {
  std::string city;
  bool json = false;
};
void run_inspect(const InspectArguments& arguments);

}  // namespace qiv
