#include "history/category.h"

#include <algorithm>
#include <array>

namespace qiv {
namespace {

constexpr Seconds slot_length{1800};
constexpr int slots = 72;  // 36 hours
constexpr int first_of_depth_1 = 1;
constexpr int first_of_depth_2 = first_of_depth_1 + slots;
constexpr std::array<const char*, 3> class_names = {"weekday", "Saturday", "Sunday"};

int slot_of(Seconds departure) {
  const Seconds latest = slot_length * slots - Seconds(1);
  return static_cast<int>(std::clamp(departure, Seconds(0), latest) / slot_length);
}

std::string describe_slot(int slot) {
  const auto hours_and_minutes = [](Seconds time) { return format_time_of_day(time).substr(0, 5); };
  return "departures " + hours_and_minutes(slot_length * slot) + " to " +
         hours_and_minutes(slot_length * (slot + 1));
}

}  // namespace

int day_class(ServiceDate day) {
  if (day.weekday() == std::chrono::Saturday) return 1;
  if (day.weekday() == std::chrono::Sunday) return 2;
  return 0;
}

std::vector<Category> categories(ServiceDate day, Seconds departure, int depth) {
  const int slot = slot_of(departure);
  std::vector<Category> finest_first;
  if (depth >= 2) {
    finest_first.push_back(static_cast<Category>(first_of_depth_2 + slots * day_class(day) + slot));
  }
  if (depth >= 1) finest_first.push_back(static_cast<Category>(first_of_depth_1 + slot));
  finest_first.push_back(0);
  return finest_first;
}

std::string describe(Category category) {
  const int number = category;
  if (number == 0) return "all trips";
  if (number >= first_of_depth_1 && number < first_of_depth_2) {
    return describe_slot(number - first_of_depth_1);
  }
  const int leaf = number - first_of_depth_2;
  if (leaf >= 0 && leaf < slots * static_cast<int>(class_names.size())) {
    return std::string(class_names[static_cast<std::size_t>(leaf / slots)]) + " " +
           describe_slot(leaf % slots);
  }
  return "category " + std::to_string(number);
}

}  // namespace qiv
