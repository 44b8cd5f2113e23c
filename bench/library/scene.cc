#include "library/scene.h"

#include <ctime>

#include "RQLogger.h"
#include "differential/Draw.h"

namespace bench {

std::vector<double> milestones(const Size& size) {
  std::vector<double> result;
  for (unsigned int i = 0; i < size.milestones; ++i) result.push_back(milestone_distance_m * i);
  return result;
}

std::vector<double> stop_offsets(const Size& size) {
  const double length_m = milestone_distance_m * (size.milestones - 1);
  std::vector<double> result;
  for (unsigned int i = 0; i + 1 < size.stops; ++i) {
    result.push_back(length_m * i / (size.stops - 1));
  }
  result.push_back(length_m);
  return result;
}

std::vector<std::string> stop_names(const Size& size) {
  std::vector<std::string> result;
  for (unsigned int i = 0; i < size.stops; ++i) result.push_back("stop " + std::to_string(i));
  return result;
}

std::vector<std::vector<int>> trajectories(const Size& size, unsigned int seed) {
  differential::RandomDraw draw(seed);
  std::vector<std::vector<int>> result;
  for (unsigned int k = 0; k < size.trips; ++k) {
    const int pace_s = draw.between(5, 8);
    std::vector<int> times = {0};
    for (unsigned int i = 1; i < size.milestones; ++i) {
      times.push_back(times.back() + pace_s + draw.between(0, 5));
    }
    result.push_back(times);
  }
  return result;
}

Report report(const Size& size, unsigned int vehicle, unsigned int index) {
  const double share = 0.5 * index / size.updates;
  const double length_m = milestone_distance_m * (size.milestones - 1);
  const double offset_m = share * length_m + vehicle;
  return {offset_m, departure + static_cast<long long>(0.18 * offset_m)};
}

void silence_log() {
  RQLogger::SetSink([](const RQLogger::Record&) {});
}

double thread_time_s() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace bench
