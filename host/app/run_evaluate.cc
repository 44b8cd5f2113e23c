#include <algorithm>
#include <fstream>
#include <iostream>
#include <utility>

#include "app/against.h"
#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "app/progress_bar.h"
#include "app/version.h"
#include "evaluate/evaluation.h"
#include "evaluate/report_csv.h"
#include "evaluate/report_html.h"
#include "evaluate/report_json.h"
#include "evaluate/report_text.h"

namespace qiv {
namespace {

void write(const std::string& file, const std::string& content) {
  if (file.empty()) return;
  std::ofstream out(file, std::ios::binary);
  out << content;
  out.close();
  if (!out) {
    throw CommandError(ExitCode::failed,
                       file + ": cannot be written; is the folder there, and space on the disk?");
  }
}

void check_period(const EvaluateArguments& arguments, ServiceDate from, ServiceDate to,
                  std::optional<ServiceDate> learned_until) {
  if (to < from) throw CommandError(ExitCode::usage, "--to lies before --from");
  if (learned_until && from <= *learned_until) {
    throw CommandError(ExitCode::usage,
                       "learning saw " + learned_until->to_iso_string() +
                           ", so that day cannot be scored: learn again by: qiv learn " +
                           arguments.city + " --until " +
                           (from - std::chrono::days(1)).to_iso_string());
  }
}

}  // namespace

void run_evaluate(const EvaluateArguments& arguments) {
  if (!arguments.hide_trips.empty()) return run_evaluate_assignment(arguments);
  City city(arguments.city);
  const ServiceDate from = parse_day(arguments.from, "--from");
  const ServiceDate to = parse_day(arguments.to, "--to");
  check_period(arguments, from, to, city.learned_until());
  std::vector<ServiceDate> days = city.recorded_days();
  std::erase_if(days, [&](ServiceDate day) { return day < from || day > to; });
  if (days.empty()) {
    throw CommandError(ExitCode::no_data, "no positions recorded from " + from.to_iso_string() +
                                              " to " + to.to_iso_string());
  }
  std::vector<OtherProducer> others = open_recordings(arguments.against);
  ProgressBar bar("evaluating");
  const RecordedRuns runs = city.follow(to, [&](double share, ServiceDate day) {
    bar.show(0.2 * share, "following " + day.to_iso_string());
  });
  const LearnedSettings settings = city.settings();
  EvaluationOptions options;
  options.replay.track = city.config().track;
  options.replay.engine = city.config().engine;
  Evaluation evaluation(city.network(), settings, options);
  for (OtherProducer& other : others) evaluation.add_producer(std::move(other));
  for (std::size_t i = 0; i < days.size(); ++i) {
    bar.show(0.2 + 0.8 * static_cast<double>(i) / static_cast<double>(days.size()),
             days[i].to_iso_string());
    const ServiceDate day = days[i];
    evaluation.add_day(day, city.positions(day), runs.source_before(day));
  }
  Scorecard card = evaluation.scorecard();
  card.city = city.config().name;
  card.program_version = version;
  card.learned_until = city.learned_until();
  card.days = days;
  card.command_line = "qiv evaluate " + arguments.city + " --from " + from.to_iso_string() +
                      " --to " + to.to_iso_string();
  for (const std::string& other : arguments.against) card.command_line += " --against " + other;
  card.settings["display interval"] =
      std::to_string(options.replay.display_interval.count()) + " s";
  card.settings["longest known gap around an arrival"] =
      std::to_string(options.truth.longest_gap.count()) + " s";
  if (!arguments.against.empty()) {
    card.settings["longest age of another producer's snapshot"] =
        std::to_string(longest_snapshot_age.count()) + " s";
  }
  card.settings["patterns with settings of their own"] = std::to_string(settings.patterns.size());
  bar.show(1.0);
  ReportDetails details;
  for (const Stop& stop : city.network().stops()) details.stop_names.push_back(stop.name);
  details.worst_trips = evaluation.worst_trips();
  write(arguments.json, report_json(card));
  write(arguments.csv, report_csv(card));
  write(arguments.html, report_html(card, details));
  std::cout << report_text(card);
}

}  // namespace qiv
