#include "evaluate/assignment_score.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "track/tracker.h"

namespace qiv {
namespace {

/// A vehicle that was followed for less is no truth to compare with.
constexpr double least_run_m = 1000.0;

/// A trip that a vehicle is known to have run.
struct KnownRun {
  TripKey trip;
  Instant first{};
  Instant last{};
  bool found = false;
};

VehiclePosition without_trip(VehiclePosition report, HiddenTrip hidden) {
  report.trip = TripId();
  report.start_date.reset();
  report.start_time.reset();
  report.stop_sequence.reset();
  if (hidden == HiddenTrip::all) {
    report.route = RouteId();
    report.direction.reset();
  }
  return report;
}

double share(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

Seconds quantile(const std::vector<Seconds>& ascending, double q) {
  if (ascending.empty()) return Seconds(0);
  return ascending[static_cast<std::size_t>(
      std::lround(q * static_cast<double>(ascending.size() - 1)))];
}

}  // namespace

/// One day, followed both ways.
class AssignmentTest::Day {
 public:
  Day(const Network& network, const TrackOptions& options, AssignmentScore& score)
      : _network(network), _options(options), _score(score) {}

  void learn_truth(std::span<const VehiclePosition> positions) {
    TrackOptions named = _options;
    named.assign_trips = false;
    Tracker tracker(_network, named);
    for (const VehiclePosition& report : positions) {
      tracker.advance(report.received, _events);
      tracker.update(report, _events);
    }
    tracker.finish(_events);
    for (const TrackEvent& event : _events) {
      const auto* const ended = std::get_if<TripEnded>(&event);
      if (ended == nullptr || ended->run.progress.empty()) continue;
      const Progress& first = ended->run.progress.front();
      const Progress& last = ended->run.progress.back();
      if (last.offset_m - first.offset_m < least_run_m) continue;
      _truth[ended->run.vehicle].push_back({ended->run.trip, first.time, last.time, false});
      ++_score.trips;
    }
    _events.clear();
  }

  void follow(std::span<const VehiclePosition> positions, HiddenTrip hidden) {
    Tracker tracker(_network, _options);
    for (const VehiclePosition& report : positions) {
      tracker.advance(report.received, _events);
      tracker.update(without_trip(report, hidden), _events);
      for (const TrackEvent& event : _events) count(event);
      _events.clear();
      if (const auto said = tracker.vehicle(report.vehicle)) judge(report, *said);
    }
  }

 private:
  void count(const TrackEvent& event) {
    if (std::holds_alternative<TripAssigned>(event)) ++_score.assignments;
    const auto* const ended = std::get_if<TripEnded>(&event);
    if (ended != nullptr && ended->reason == TripEnded::Reason::withdrawn) ++_score.withdrawn;
  }

  void judge(const VehiclePosition& report, const Tracker::VehicleReport& said) {
    std::vector<KnownRun>& runs = _truth[report.vehicle];
    const auto run = std::find_if(runs.begin(), runs.end(), [&](const KnownRun& r) {
      return report.time >= r.first && report.time <= r.last;
    });
    if (run == runs.end()) {
      ++_score.others;
      if (said.trip) ++_score.others_assigned;
      return;
    }
    ++_score.reports;
    if (!said.trip) return;
    const bool right = *said.trip == run->trip;
    const auto tenth = static_cast<std::size_t>(said.confidence.value_or(0.0) *
                                                static_cast<double>(AssignmentScore::tenths));
    AssignmentScore::Stated& stated = _score.stated[std::min(tenth, AssignmentScore::tenths - 1)];
    ++_score.assigned;
    ++stated.reports;
    if (!right) return;
    ++_score.right;
    ++stated.right;
    if (std::exchange(run->found, true)) return;
    ++_score.trips_found;
    _score.until_found.push_back(report.time - run->first);
  }

  const Network& _network;
  const TrackOptions& _options;
  AssignmentScore& _score;
  std::map<VehicleId, std::vector<KnownRun>> _truth;
  std::vector<TrackEvent> _events;
};

AssignmentTest::AssignmentTest(const Network& network, const TrackOptions& options,
                               HiddenTrip hidden)
    : _network(network), _options(options), _hidden(hidden) {
  _options.assign_trips = true;
}

void AssignmentTest::add_day(std::span<const VehiclePosition> positions) {
  Day day(_network, _options, _score);
  day.learn_truth(positions);
  day.follow(positions, _hidden);
  std::sort(_score.until_found.begin(), _score.until_found.end());
}

std::string assignment_text(const AssignmentScore& score) {
  std::ostringstream text;
  const auto percent = [](double s) {
    std::ostringstream out;
    out << std::fixed << std::setprecision(1) << 100.0 * s << " %";
    return out.str();
  };
  text << "trips                      " << score.trips << "\n"
       << "found                      " << percent(share(score.trips_found, score.trips)) << "\n"
       << "reports on trips           " << score.reports << "\n"
       << "assigned                   " << percent(share(score.assigned, score.reports)) << "\n"
       << "of these right             " << percent(share(score.right, score.assigned)) << "\n"
       << "other reports              " << score.others << "\n"
       << "assigned                   " << percent(share(score.others_assigned, score.others))
       << "\n"
       << "assignments                " << score.assignments << ", withdrawn " << score.withdrawn
       << "\n"
       << "departure until found      ";
  for (const double q : {0.5, 0.75, 0.9}) {
    text << (q == 0.5 ? "" : ", ") << quantile(score.until_found, q).count() << " s ("
         << std::lround(100.0 * q) << " %)";
  }
  text << "\n\nconfidence    reports      right\n";
  for (std::size_t i = 0; i < AssignmentScore::tenths; ++i) {
    const AssignmentScore::Stated& stated = score.stated[i];
    if (stated.reports == 0) continue;
    text << std::fixed << std::setprecision(1) << 0.1 * static_cast<double>(i) << " - "
         << 0.1 * static_cast<double>(i + 1) << std::setw(14) << stated.reports << std::setw(11)
         << percent(share(stated.right, stated.reports)) << "\n";
  }
  return text.str();
}

std::string assignment_json(const AssignmentScore& score) {
  nlohmann::ordered_json json = {{"trips", score.trips},
                                 {"trips_found", score.trips_found},
                                 {"reports", score.reports},
                                 {"assigned", score.assigned},
                                 {"right", score.right},
                                 {"others", score.others},
                                 {"others_assigned", score.others_assigned},
                                 {"assignments", score.assignments},
                                 {"withdrawn", score.withdrawn},
                                 {"until_found_s",
                                  {{"p50", quantile(score.until_found, 0.5).count()},
                                   {"p75", quantile(score.until_found, 0.75).count()},
                                   {"p90", quantile(score.until_found, 0.9).count()}}}};
  for (std::size_t i = 0; i < AssignmentScore::tenths; ++i) {
    json["stated"].push_back({{"from", 0.1 * static_cast<double>(i)},
                              {"reports", score.stated[i].reports},
                              {"right", score.stated[i].right}});
  }
  return json.dump(2) + "\n";
}

}  // namespace qiv
