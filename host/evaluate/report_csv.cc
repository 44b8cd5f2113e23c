#include "evaluate/report_csv.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "evaluate/report_words.h"

namespace qiv {
namespace {

/// Quotes a field where RFC 4180 asks for it.
std::string csv_field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

std::string bucket_fields(const BucketScore& bucket) {
  return std::to_string(bucket.from_min) + ',' + std::to_string(bucket.to_min) + ',' +
         std::to_string(bucket.n) + ',' + fixed(bucket.mae_s, 3) + ',' + fixed(bucket.bias_s, 3) +
         ',' + fixed(bucket.median_s, 3) + ',' + fixed(bucket.p90_s, 3);
}

std::string bound_fields(const BoundScore* bound) {
  if (bound == nullptr) return ",,,,,";
  return fixed(bound->coverage, 4) + ',' + fixed(bound->coverage_90, 4) + ',' +
         fixed(bound->mean_half_width_s, 3) + ',' + fixed(bound->mean_half_width_90_s, 3) + ',' +
         fixed(bound->fixed_half_width_s, 3) + ',' + fixed(bound->pinball_s, 3);
}

std::string own_fields(const std::vector<OwnScore>& own, std::size_t bucket) {
  if (bucket >= own.size()) return ",";
  return std::to_string(own[bucket].n) + ',' + fixed(own[bucket].mae_s, 3);
}

const BoundScore* find_bounds(const std::vector<BoundScore>& bounds, const BucketScore& bucket) {
  const auto found = std::find_if(bounds.begin(), bounds.end(), [&](const BoundScore& bound) {
    return bound.from_min == bucket.from_min && bound.to_min == bucket.to_min;
  });
  return found == bounds.end() ? nullptr : &*found;
}

class CsvWriter {
 public:
  explicit CsvWriter(const Scorecard& card) : _card(card) {}

  void write(const std::vector<ContenderScore>& contenders, std::string_view scored) {
    const bool on_display = scored == "on_display";
    for (const ContenderScore& contender : contenders) {
      const std::string start = csv_field(contender.name) + ',' + std::string(scored) + ',';
      for (std::size_t i = 0; i < contender.buckets.size(); ++i) {
        add(start + "time_to_arrival", contender.buckets[i], nullptr,
            own_fields(contender.own_by_ahead, i));
      }
      const bool bounded = on_display && contender.name == "forecast";
      for (std::size_t i = 0; i < contender.buckets_by_lead.size(); ++i) {
        const BucketScore& bucket = contender.buckets_by_lead[i];
        add(start + "predicted_lead", bucket, bounded ? find_bounds(_card.bounds, bucket) : nullptr,
            own_fields(contender.own_by_lead, i));
      }
    }
  }

  std::string take() { return std::move(_text); }

 private:
  void add(const std::string& start, const BucketScore& bucket, const BoundScore* bound,
           const std::string& own) {
    _text += start + ',' + bucket_fields(bucket) + ',' + bound_fields(bound) + ',' + own + '\n';
  }

  const Scorecard& _card;
  std::string _text =
      "contender,scored,by,from_min,to_min,n,mae_s,bias_s,median_s,p90_s,coverage,coverage_90,"
      "mean_half_width_s,mean_half_width_90_s,fixed_half_width_s,pinball_s,own_n,own_mae_s\n";
};

}  // namespace

std::string report_csv(const Scorecard& card) {
  CsvWriter writer(card);
  writer.write(card.on_display, "on_display");
  writer.write(card.at_reports, "at_reports");
  return writer.take();
}

}  // namespace qiv
