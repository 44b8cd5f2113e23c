#include <fstream>
#include <iostream>

#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "app/progress_bar.h"
#include "evaluate/assignment_score.h"

namespace qiv {

void run_evaluate_assignment(const EvaluateArguments& arguments) {
  if (!arguments.csv.empty() || !arguments.html.empty() || !arguments.against.empty()) {
    throw CommandError(ExitCode::usage,
                       "--hide-trips scores assignments, not forecasts: leave out --csv, --html "
                       "and --against");
  }
  City city(arguments.city);
  const ServiceDate from = parse_day(arguments.from, "--from");
  const ServiceDate to = parse_day(arguments.to, "--to");
  std::vector<ServiceDate> days = city.recorded_days();
  std::erase_if(days, [&](ServiceDate day) { return day < from || day > to; });
  if (days.empty()) {
    throw CommandError(ExitCode::no_data, "no positions recorded from " + from.to_iso_string() +
                                              " to " + to.to_iso_string());
  }
  AssignmentTest test(city.network(), city.config().track,
                      arguments.hide_trips == "route" ? HiddenTrip::route : HiddenTrip::all);
  ProgressBar bar("assigning");
  for (std::size_t i = 0; i < days.size(); ++i) {
    bar.show(static_cast<double>(i) / static_cast<double>(days.size()), days[i].to_iso_string());
    test.add_day(city.positions(days[i]));
  }
  bar.show(1.0);
  if (!arguments.json.empty()) {
    std::ofstream out(arguments.json, std::ios::binary);
    out << assignment_json(test.score());
    if (!out.flush()) {
      throw CommandError(ExitCode::failed, arguments.json +
                                               ": cannot be written; is the folder "
                                               "there, and space on the disk?");
    }
  }
  std::cout << assignment_text(test.score());
}

}  // namespace qiv
