#include "history/history_book.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qiv {
namespace {

auto order_of(const Trajectory& trip) {
  return std::tie(trip.finished, trip.trip, trip.vehicle);
}

bool finished_earlier(const Trajectory* a, const Trajectory* b) {
  return order_of(*a) < order_of(*b);
}

/// End of the trips on `shelf` that finished before `before`.
auto end_before(const std::vector<const Trajectory*>& shelf, Instant before) {
  return std::partition_point(shelf.begin(), shelf.end(),
                              [before](const Trajectory* trip) { return trip->finished < before; });
}

}  // namespace

void HistoryBook::open(const JourneyPattern& pattern, std::vector<double> milestones_m) {
  Chapter& chapter = _chapters[pattern.ref];
  chapter = Chapter{};
  chapter.pattern = pattern;
  chapter.milestones_m = std::move(milestones_m);
}

std::optional<std::string_view> HistoryBook::add(const TripRun& run, Seconds departure) {
  const auto entry = _chapters.find(run.pattern);
  if (entry == _chapters.end()) return "unknown pattern";
  Chapter& chapter = entry->second;
  auto made = make_trajectory(run, chapter.pattern, chapter.milestones_m, _rules);
  if (const auto* reason = std::get_if<std::string_view>(&made)) return *reason;
  put(chapter, std::get<Trajectory>(std::move(made)),
      categories(run.trip.day, departure, deepest_category));
  return std::nullopt;
}

void HistoryBook::put(Chapter& chapter, Trajectory trajectory,
                      const std::vector<Category>& finest_first) {
  const TripOfVehicle key{trajectory.trip, trajectory.vehicle};
  remove(chapter, key);
  const auto added = chapter.trips.emplace(key, Booked{std::move(trajectory), finest_first});
  const Trajectory* const trip = &added.first->second.trajectory;
  for (const Category category : finest_first) {
    auto& shelf = chapter.shelves[category];
    shelf.insert(std::upper_bound(shelf.begin(), shelf.end(), trip, finished_earlier), trip);
  }
}

void HistoryBook::remove(Chapter& chapter, const TripOfVehicle& key) {
  const auto booked = chapter.trips.find(key);
  if (booked == chapter.trips.end()) return;
  for (const Category category : booked->second.finest_first) {
    const auto shelf = chapter.shelves.find(category);
    std::erase(shelf->second, &booked->second.trajectory);
    if (shelf->second.empty()) chapter.shelves.erase(shelf);
  }
  chapter.trips.erase(booked);
}

const std::vector<const Trajectory*>* HistoryBook::shelf(const PatternRef& pattern,
                                                         Category category) const {
  const auto chapter = _chapters.find(pattern);
  if (chapter == _chapters.end()) return nullptr;
  const auto shelf = chapter->second.shelves.find(category);
  return shelf == chapter->second.shelves.end() ? nullptr : &shelf->second;
}

std::span<const Trajectory* const> HistoryBook::latest(const PatternRef& pattern, Category category,
                                                       std::size_t window, Instant before) const {
  const auto* const trips = shelf(pattern, category);
  if (trips == nullptr) return {};
  const auto found = static_cast<std::size_t>(end_before(*trips, before) - trips->begin());
  const std::size_t kept = std::min(window, found);
  return std::span(*trips).subspan(found - kept, kept);
}

std::size_t HistoryBook::count(const PatternRef& pattern, Category category, Instant before) const {
  return latest(pattern, category, static_cast<std::size_t>(-1), before).size();
}

Category HistoryBook::choose(const PatternRef& pattern, std::span<const Category> finest_first,
                             std::size_t least_trips, Instant before) const {
  for (const Category category : finest_first) {
    if (count(pattern, category, before) >= least_trips) return category;
  }
  return finest_first.back();
}

std::vector<Category> HistoryBook::categories_of(const PatternRef& pattern) const {
  std::vector<Category> found;
  const auto chapter = _chapters.find(pattern);
  if (chapter == _chapters.end()) return found;
  for (const auto& [category, trips] : chapter->second.shelves) found.push_back(category);
  return found;
}

std::span<const double> HistoryBook::milestones_m(const PatternRef& pattern) const {
  const auto chapter = _chapters.find(pattern);
  if (chapter == _chapters.end()) return {};
  return chapter->second.milestones_m;
}

std::vector<PatternRef> HistoryBook::patterns() const {
  std::vector<PatternRef> refs;
  for (const auto& [ref, chapter] : _chapters) refs.push_back(ref);
  return refs;
}

std::size_t HistoryBook::forget(Instant before) {
  std::size_t forgotten = 0;
  for (auto& [ref, chapter] : _chapters) {
    for (auto& [category, trips] : chapter.shelves) {
      trips.erase(trips.begin(), end_before(trips, before));
    }
    std::erase_if(chapter.shelves, [](const auto& shelf) { return shelf.second.empty(); });
    forgotten += std::erase_if(chapter.trips, [before](const auto& booked) {
      return booked.second.trajectory.finished < before;
    });
  }
  return forgotten;
}

}  // namespace qiv
