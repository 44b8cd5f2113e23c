#include "evaluate/report_tables.h"

#include <utility>

#include "evaluate/plot_svg.h"
#include "evaluate/report_words.h"

namespace qiv {
namespace {

std::string class_attribute(const std::string& css_class) {
  return css_class.empty() ? "" : " class=\"" + css_class + "\"";
}

std::string figure(std::uint64_t n, double value, int decimals) {
  return n == 0 ? "-" : fixed(value, decimals);
}

}  // namespace

HtmlTable::HtmlTable(const std::string& caption, const std::vector<std::string>& columns)
    : _markup("<div class=\"scroll\" tabindex=\"0\"><table><caption>" + escape_markup(caption) +
              "</caption>\n<thead><tr>") {
  for (const std::string& column : columns) {
    _markup += "<th scope=\"col\">" + escape_markup(column) + "</th>";
  }
  _markup += "</tr></thead>\n<tbody>\n";
}

void HtmlTable::add(const std::string& header, const std::vector<std::string>& cells,
                    const std::string& css_class) {
  _markup +=
      "<tr" + class_attribute(css_class) + "><th scope=\"row\">" + escape_markup(header) + "</th>";
  for (const std::string& cell : cells) _markup += "<td>" + escape_markup(cell) + "</td>";
  _markup += "</tr>\n";
}

std::string HtmlTable::finish() && {
  return std::move(_markup) + "</tbody></table></div>\n";
}

std::string contender_table(const std::string& caption,
                            const std::vector<ContenderScore>& contenders) {
  if (contenders.empty()) return "";
  std::vector<std::string> columns = {"minutes to the arrival"};
  std::vector<std::string> counts;
  for (const BucketScore& bucket : contenders.front().buckets) {
    columns.push_back(bucket_label(bucket.from_min, bucket.to_min));
    counts.push_back(grouped(bucket.n));
  }
  for (const char* column : {"mean", "ETA score, %", "reliable, %"}) {
    columns.emplace_back(column);
  }
  HtmlTable table(caption, columns);
  for (const ContenderScore& contender : contenders) {
    std::vector<std::string> cells;
    for (const BucketScore& bucket : contender.buckets) {
      cells.push_back(figure(bucket.n, bucket.mae_s, 1));
    }
    cells.push_back(fixed(contender.mean_mae_s, 1));
    cells.push_back(fixed(contender.eta_score, 1));
    cells.push_back(percent(contender.reliable_share));
    table.add(contender_label(contender.name), cells, contender.name == "forecast" ? "own" : "");
  }
  counts.resize(columns.size() - 1);
  table.add("events", counts, "count");
  return std::move(table).finish();
}

std::string own_table(const std::string& caption, const std::vector<ContenderScore>& contenders) {
  if (contenders.empty()) return "";
  std::vector<std::string> columns = {"minutes to the arrival"};
  for (const BucketScore& bucket : contenders.front().buckets) {
    columns.push_back(bucket_label(bucket.from_min, bucket.to_min));
  }
  columns.insert(columns.end(), {"all", "events", "of all, %"});
  HtmlTable table(caption, columns);
  for (const ContenderScore& contender : contenders) {
    std::vector<std::string> cells;
    for (const OwnScore& own : contender.own_by_ahead) cells.push_back(figure(own.n, own.mae_s, 1));
    cells.push_back(figure(contender.own_n, contender.own_mae_s, 1));
    cells.push_back(grouped(contender.own_n));
    cells.push_back(percent(own_share(contender)));
    table.add(contender_label(contender.name), cells, contender.name == "forecast" ? "own" : "");
  }
  return std::move(table).finish();
}

std::string bucket_table(const std::string& caption, const std::string& corner,
                         const std::vector<BucketScore>& buckets) {
  HtmlTable table(caption, {corner, "events", "mean absolute error, s", "bias, s", "median, s",
                            "90th percentile, s"});
  for (const BucketScore& b : buckets) {
    table.add(bucket_label(b.from_min, b.to_min),
              {grouped(b.n), figure(b.n, b.mae_s, 1), figure(b.n, b.bias_s, 1),
               figure(b.n, b.median_s, 1), figure(b.n, b.p90_s, 1)});
  }
  return std::move(table).finish();
}

std::string bounds_table(const std::string& caption, const std::string& corner,
                         const std::vector<BoundScore>& bounds) {
  HtmlTable table(caption,
                  {corner, "events", "inside 68 %, %", "half width, s", "fixed half width, s",
                   "inside 90 %, %", "half width of 90 %, s", "pinball loss, s"});
  for (const BoundScore& b : bounds) {
    table.add(
        bucket_label(b.from_min, b.to_min),
        {grouped(b.n), figure(b.n, 100.0 * b.coverage, 1), figure(b.n, b.mean_half_width_s, 1),
         figure(b.n, b.fixed_half_width_s, 1), figure(b.n, 100.0 * b.coverage_90, 1),
         figure(b.n, b.mean_half_width_90_s, 1), figure(b.n, b.pinball_s, 1)});
  }
  return std::move(table).finish();
}

}  // namespace qiv
