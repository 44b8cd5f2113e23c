#include "evaluate/report_text.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "evaluate/report_words.h"

namespace qiv {
namespace {

constexpr std::size_t page_width = 100;
constexpr std::size_t label_width = 25;
constexpr std::size_t column_width = 8;

/// Columns that a terminal needs for UTF-8 text of one column a character.
std::size_t width_of(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string left(std::string text, std::size_t width) {
  const std::size_t used = width_of(text);
  if (used < width) text.append(width - used, ' ');
  return text;
}

std::string right(const std::string& text, std::size_t width) {
  const std::size_t used = width_of(text);
  return (used < width ? std::string(width - used, ' ') : " ") + text;
}

std::string wrapped(const std::string& text) {
  std::string result;
  std::size_t column = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::string word = text.substr(at, end - at);
    if (column > 0 && column + 1 + width_of(word) > page_width) {
      result += '\n';
      column = 0;
    } else if (column > 0) {
      result += ' ';
      ++column;
    }
    result += word;
    column += width_of(word);
    at = end + 1;
  }
  return result + '\n';
}

/// Rows of equal columns under a title.
class TextTable {
 public:
  TextTable(const std::string& title, const std::string& corner,
            const std::vector<std::string>& columns)
      : _text(title + "\n") {
    add(corner, columns);
    _text += "  " + std::string(label_width - 2 + column_width * columns.size(), '-') + "\n";
  }

  void add(const std::string& label, const std::vector<std::string>& cells) {
    std::string line = left("  " + label, label_width);
    for (const std::string& cell : cells) line += right(cell, column_width);
    line.erase(line.find_last_not_of(' ') + 1);
    _text += line + "\n";
  }

  template <class T>
  void add(const std::string& label, const std::vector<T>& values,
           const std::function<std::string(const T&)>& cell) {
    std::vector<std::string> cells;
    cells.reserve(values.size());
    for (const T& value : values) cells.push_back(cell(value));
    add(label, cells);
  }

  std::string take() { return std::move(_text) + "\n"; }

 private:
  std::string _text;
};

template <class Score>
std::vector<std::string> minutes(const std::vector<Score>& scores) {
  std::vector<std::string> labels;
  labels.reserve(scores.size());
  for (const Score& score : scores) labels.push_back(bucket_label(score.from_min, score.to_min));
  return labels;
}

std::string mae(const BucketScore& bucket) {
  return bucket.n == 0 ? "-" : fixed(bucket.mae_s, 1);
}

/// All contenders by horizon.
std::string contender_table(const std::string& title,
                            const std::vector<ContenderScore>& contenders) {
  if (contenders.empty()) return "";
  std::vector<std::string> columns = minutes(contenders.front().buckets);
  columns.insert(columns.end(), {"mean", "ETA %", "reliab%"});
  TextTable table(title, "minutes to the arrival", columns);
  for (const ContenderScore& contender : contenders) {
    std::vector<std::string> cells;
    for (const BucketScore& bucket : contender.buckets) cells.push_back(mae(bucket));
    cells.push_back(fixed(contender.mean_mae_s, 1));
    cells.push_back(fixed(contender.eta_score, 1));
    cells.push_back(percent(contender.reliable_share));
    table.add(contender_label(contender.name), cells);
  }
  table.add<BucketScore>("events", contenders.front().buckets,
                         [](const BucketScore& b) { return std::to_string(b.n); });
  return table.take();
}

/// Where another producer is scored: those that did not predict everything, on what they did.
std::string own_table(const std::vector<ContenderScore>& contenders) {
  if (std::none_of(contenders.begin(), contenders.end(),
                   [](const ContenderScore& contender) { return contender.source.has_value(); })) {
    return "";
  }
  std::vector<std::string> columns = minutes(contenders.front().buckets);
  columns.insert(columns.end(), {"all", "of all%"});
  TextTable table("Each on the events for which it has a prediction of its own, seconds",
                  "minutes to the arrival", columns);
  bool is_empty = true;
  for (const ContenderScore& contender : contenders) {
    if (contender.own_n == events_of(contender)) continue;
    is_empty = false;
    std::vector<std::string> cells;
    for (const OwnScore& own : contender.own_by_ahead) {
      cells.push_back(own.n == 0 ? "-" : fixed(own.mae_s, 1));
    }
    cells.push_back(contender.own_n == 0 ? "-" : fixed(contender.own_mae_s, 1));
    cells.push_back(percent(own_share(contender)));
    table.add(contender_label(contender.name), cells);
  }
  return is_empty ? "" : table.take();
}

std::string error_table(const std::string& title, const std::string& corner,
                        const std::vector<BucketScore>& buckets) {
  if (buckets.empty()) return "";
  TextTable table(title, corner, minutes(buckets));
  const auto row = [&](const std::string& label, double BucketScore::*field) {
    table.add<BucketScore>(label, buckets, [field](const BucketScore& b) {
      return b.n == 0 ? "-" : fixed(b.*field, 1);
    });
  };
  row("mean absolute error, s", &BucketScore::mae_s);
  row("bias, s", &BucketScore::bias_s);
  row("median error, s", &BucketScore::median_s);
  row("90th percentile, s", &BucketScore::p90_s);
  table.add<BucketScore>("events", buckets,
                         [](const BucketScore& b) { return std::to_string(b.n); });
  return table.take();
}

std::string bounds_table(const std::string& title, const std::vector<BoundScore>& bounds) {
  if (bounds.empty()) return "";
  TextTable table(title, "predicted lead, minutes", minutes(bounds));
  const auto row = [&](const std::string& label, double BoundScore::*field, bool is_share) {
    table.add<BoundScore>(label, bounds, [field, is_share](const BoundScore& b) {
      if (b.n == 0) return std::string("-");
      return is_share ? percent(b.*field) : fixed(b.*field, 1);
    });
  };
  row("inside 68 % bounds, %", &BoundScore::coverage, true);
  row("  half width, s", &BoundScore::mean_half_width_s, false);
  row("  fixed half width, s", &BoundScore::fixed_half_width_s, false);
  row("inside 90 % bounds, %", &BoundScore::coverage_90, true);
  row("  half width, s", &BoundScore::mean_half_width_90_s, false);
  row("pinball loss, s", &BoundScore::pinball_s, false);
  table.add<BoundScore>("events", bounds, [](const BoundScore& b) { return std::to_string(b.n); });
  return table.take();
}

/// "figure   what it is", aligned.
std::string figure(const std::string& value, const std::string& meaning) {
  return right(value, 10) + "  " + meaning + "\n";
}

std::string service_figures(const Scorecard& card) {
  return "Service\n" +
         figure(percent(card.availability) + " %",
                "of the minutes in which a trip's vehicle reports have a forecast") +
         figure(percent(card.availability_scheduled) + " %",
                "of every scheduled trip, stop and minute of the last hour have one") +
         figure(percent(card.missed_share) + " %",
                "of riders who leave at the leave-by time miss the vehicle (promised: 5.0 %)") +
         figure(percent(card.coverage_90) + " %", "of arrivals are inside the 90 % bounds") +
         figure(fixed(card.wobble_s, 1) + " s",
                "is the mean change of a forecast from one display to the next") +
         figure(fixed(card.advantage_low_s, 1) + " s",
                "to " + fixed(card.advantage_high_s, 1) +
                    " s: forecast minus timetable plus delay (95 % interval; below 0 is better)") +
         "\n";
}

std::string counts(const Scorecard& card) {
  return "Data\n" + figure(grouped(card.trips_scheduled), "trips scheduled") +
         figure(grouped(card.trips_observed), "trips observed") +
         figure(grouped(card.trips_ghost), "trips announced that never came") +
         figure(grouped(card.arrivals_observed), "arrivals observed") +
         figure(grouped(card.positions), "positions replayed");
}

std::string rejections(const std::string& title, const Rejections& rejections) {
  if (rejections.empty()) return "";
  std::string text = "\n" + title + "\n";
  for (const auto& [reason, entry] : rejections.entries()) {
    text += figure(grouped(entry.count), reason);
  }
  return text;
}

std::string recording(const std::string& name, const RecordedSource& source) {
  return "\nRecording of " + name + "\n" + figure(grouped(source.snapshots), "snapshots") +
         figure(grouped(source.snapshots_shown), "of them on display") +
         figure(grouped(source.updates), "trip updates used") +
         rejections("Not used of " + name, source.not_used);
}

std::string title(const Scorecard& card) {
  std::string text = card.city.empty() ? days_label(card) : card.city + ", " + days_label(card);
  if (card.learned_until) text += " (learned until " + card.learned_until->to_iso_string() + ")";
  return text;
}

}  // namespace

std::string report_text(const Scorecard& card) {
  const ContenderScore* const forecast = find_contender(card.on_display, "forecast");
  std::string text = wrapped(title(card)) + "\n" + wrapped(headline(card)) + "\n";
  text += contender_table("Mean absolute error on display, seconds", card.on_display);
  text += own_table(card.on_display);
  text += contender_table("Mean absolute error at reports of trips under way, seconds",
                          card.at_reports);
  if (forecast != nullptr) {
    text += error_table("The forecast by time to the arrival", "minutes to the arrival",
                        forecast->buckets);
    text += error_table("The forecast by predicted lead", "predicted lead, minutes",
                        forecast->buckets_by_lead);
  }
  text += bounds_table("The published bounds", card.bounds);
  text += service_figures(card) + counts(card) + rejections("Not used", card.rejections);
  for (const ContenderScore& contender : card.on_display) {
    if (contender.source) text += recording(contender.name, *contender.source);
  }
  return text;
}

}  // namespace qiv
