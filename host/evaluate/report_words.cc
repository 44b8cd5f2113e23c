#include "evaluate/report_words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace qiv {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> labels = {{
    {"forecast", "qiv forecast"},
    {"timetable", "timetable"},
    {"timetable_delay", "timetable plus delay"},
    {"historical_mean", "mean of all past trips"},
    {"category_mean", "mean of the category"},
    {"last_vehicle", "last vehicle"},
}};

/// "21 % less than the timetable plus delay (78.0 s)".
std::string comparison(const ContenderScore& forecast, const ContenderScore& other) {
  const double change = other.mean_mae_s > 0.0 ? forecast.mean_mae_s / other.mean_mae_s - 1.0 : 0.0;
  const std::string size = fixed(100.0 * std::abs(change), 0);
  const std::string than =
      size == "0" ? "level with" : size + " % " + (change < 0.0 ? "less than" : "more than");
  const std::string name = (other.source ? " " : " the ") + contender_label(other.name);
  const std::string own =
      other.source && own_share(other) < 0.95
          ? ", for " + percent(own_share(other), 0) + " % a prediction of its own"
          : "";
  return than + name + " (" + fixed(other.mean_mae_s, 1) + " s" + own + ")";
}

/// Share of arrivals inside the 68 % bounds, over all buckets; negative without any.
double mean_coverage(const std::vector<BoundScore>& bounds) {
  double inside = 0.0;
  double all = 0.0;
  for (const BoundScore& bound : bounds) {
    inside += bound.coverage * static_cast<double>(bound.n);
    all += static_cast<double>(bound.n);
  }
  return all > 0.0 ? inside / all : -1.0;
}

}  // namespace

std::string fixed(double value, int decimals) {
  if (!std::isfinite(value)) return "-";
  std::array<char, 64> buffer{};
  const double shown = std::abs(value) < 1e15 ? value : std::copysign(1e15, value);
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), shown,
                                 std::chars_format::fixed, decimals);
  std::string text(buffer.data(), end.ptr);
  if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  return text;
}

std::string percent(double share, int decimals) {
  return fixed(100.0 * share, decimals);
}

std::string grouped(std::uint64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t at = text.size(); at > 3;) {
    at -= 3;
    text.insert(at, 1, ' ');
  }
  return text;
}

std::string contender_label(std::string_view name) {
  const auto label = std::find_if(labels.begin(), labels.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  return std::string(label == labels.end() ? name : label->second);
}

std::string bucket_label(int from_min, int to_min) {
  if (to_min >= Calibration::lead_ends_min.back()) return std::to_string(from_min) + "+";
  return std::to_string(from_min) + "-" + std::to_string(to_min);
}

std::string days_label(const Scorecard& card) {
  const std::string first = card.first_day.to_iso_string();
  return card.first_day == card.last_day ? first : first + " to " + card.last_day.to_iso_string();
}

std::vector<ServiceDate> scored_days(const Scorecard& card) {
  if (!card.days.empty()) return card.days;
  std::vector<ServiceDate> days;
  for (ServiceDate day = card.first_day; day <= card.last_day; day = day + std::chrono::days(1)) {
    days.push_back(day);
  }
  return days;
}

std::uint64_t events_of(const ContenderScore& contender) {
  std::uint64_t events = 0;
  for (const BucketScore& bucket : contender.buckets) events += bucket.n;
  return events;
}

double own_share(const ContenderScore& contender) {
  const std::uint64_t events = events_of(contender);
  return events == 0 ? 0.0 : static_cast<double>(contender.own_n) / static_cast<double>(events);
}

const ContenderScore* find_contender(const std::vector<ContenderScore>& contenders,
                                     std::string_view name) {
  const auto found = std::find_if(contenders.begin(), contenders.end(),
                                  [&](const ContenderScore& c) { return c.name == name; });
  return found == contenders.end() ? nullptr : &*found;
}

std::string headline(const Scorecard& card) {
  const ContenderScore* const forecast = find_contender(card.on_display, "forecast");
  if (forecast == nullptr || card.arrivals_observed == 0) return "There was nothing to score.";
  const std::size_t days = scored_days(card).size();
  std::string text = "Over " + std::to_string(days) + (days == 1 ? " day" : " days") +
                     " the forecasts were off by " + fixed(forecast->mean_mae_s, 1) +
                     " s on the mean of all horizons";
  if (const auto* const other = find_contender(card.on_display, "timetable_delay")) {
    text += ", " + comparison(*forecast, *other);
  }
  for (const ContenderScore& other : card.on_display) {
    if (other.source) text += ", " + comparison(*forecast, other);
  }
  const double coverage = mean_coverage(card.bounds);
  if (coverage < 0.0) return text + ".";
  return text + "; " + percent(coverage) +
         " % of the arrivals fell inside the bounds that promise 68 %, and " +
         percent(card.coverage_90) + " % inside those that promise 90 %.";
}

}  // namespace qiv
