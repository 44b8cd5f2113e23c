#pragma once

#include <string>
#include <vector>

#include "evaluate/scorecard.h"

namespace qiv {

/// A table of the HTML report, with headers that screen readers follow.
class HtmlTable {
 public:
  /// `columns` holds the corner first. All texts are escaped.
  HtmlTable(const std::string& caption, const std::vector<std::string>& columns);

  /// `css_class` marks the row: "own" for the product's own, "count" for counts, or nothing.
  void add(const std::string& header, const std::vector<std::string>& cells,
           const std::string& css_class = {});

  std::string finish() &&;

 private:
  std::string _markup;
};

/// Mean absolute error of all contenders by horizon, and their scores.
std::string contender_table(const std::string& caption,
                            const std::vector<ContenderScore>& contenders);

/// The same on the events for which each contender had a prediction of its own.
std::string own_table(const std::string& caption, const std::vector<ContenderScore>& contenders);

/// Everything about the errors in each bucket; `corner` says what the buckets are of.
std::string bucket_table(const std::string& caption, const std::string& corner,
                         const std::vector<BucketScore>& buckets);

/// Everything about the bounds in each bucket.
std::string bounds_table(const std::string& caption, const std::string& corner,
                         const std::vector<BoundScore>& bounds);

}  // namespace qiv
