#include "network/call_times.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qiv {
namespace {

/// A time that the feed states: of the arrival or of the departure at one stop.
struct Stated {
  std::size_t stop;
  bool departure;
  Seconds time;
};

std::vector<Stated> stated_times(std::span<const StopTime> stop_times) {
  std::vector<Stated> stated;
  for (std::size_t i = 0; i < stop_times.size(); ++i) {
    if (stop_times[i].arrival) stated.push_back({i, false, *stop_times[i].arrival});
    if (stop_times[i].departure) stated.push_back({i, true, *stop_times[i].departure});
  }
  return stated;
}

/// The longest part of the sequence that never goes back, by patience sorting.
std::vector<Stated> never_going_back(const std::vector<Stated>& stated) {
  constexpr std::size_t none = static_cast<std::size_t>(-1);
  std::vector<std::size_t> last_of_length;
  std::vector<std::size_t> before(stated.size(), none);
  for (std::size_t i = 0; i < stated.size(); ++i) {
    const auto place = std::upper_bound(
        last_of_length.begin(), last_of_length.end(), stated[i].time,
        [&](Seconds time, std::size_t other) { return time < stated[other].time; });
    if (place != last_of_length.begin()) before[i] = *(place - 1);
    if (place == last_of_length.end()) {
      last_of_length.push_back(i);
    } else {
      *place = i;
    }
  }
  std::vector<Stated> kept;
  for (std::size_t i = last_of_length.empty() ? none : last_of_length.back(); i != none;
       i = before[i]) {
    kept.push_back(stated[i]);
  }
  std::reverse(kept.begin(), kept.end());
  return kept;
}

/// Fills the stops between `from` and `to`, which have their times: by distance, or by count where
/// there is none.
void interpolate(std::vector<Call>& calls, std::span<const double> offsets, std::size_t from,
                 std::size_t to) {
  const double run_m = offsets[to] - offsets[from];
  const auto duration = static_cast<double>((calls[to].arrival - calls[from].departure).count());
  for (std::size_t i = from + 1; i < to; ++i) {
    const double share = run_m > 0.0
                             ? (offsets[i] - offsets[from]) / run_m
                             : static_cast<double>(i - from) / static_cast<double>(to - from);
    calls[i].arrival = calls[from].departure + Seconds(std::llround(share * duration));
    calls[i].departure = calls[i].arrival;
  }
}

}  // namespace

CallTimes complete_times(std::span<const StopTime> stop_times,
                         std::span<const double> stop_offsets_m) {
  CallTimes result;
  std::vector<Stated> stated = stated_times(stop_times);
  const auto goes_back = [](const Stated& a, const Stated& b) { return b.time < a.time; };
  if (std::adjacent_find(stated.begin(), stated.end(), goes_back) != stated.end()) {
    std::vector<Stated> kept = never_going_back(stated);
    result.dropped_times = stated.size() - kept.size();
    stated = std::move(kept);
  }
  if (stated.empty() || stated.front().stop != 0 || stated.back().stop + 1 != stop_times.size() ||
      stop_times.size() < 2) {
    return result;
  }

  result.calls.resize(stop_times.size());
  for (std::size_t i = 0; i < stop_times.size(); ++i) {
    result.calls[i].sequence = stop_times[i].sequence;
  }
  std::size_t known = 0;
  for (std::size_t i = 0; i < stated.size();) {
    const std::size_t stop = stated[i].stop;
    Call& call = result.calls[stop];
    call.arrival = stated[i].time;
    while (i < stated.size() && stated[i].stop == stop) call.departure = stated[i++].time;
    interpolate(result.calls, stop_offsets_m, known, stop);
    known = stop;
  }
  return result;
}

}  // namespace qiv
