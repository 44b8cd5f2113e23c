#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "evaluate/scorecard.h"

namespace qiv {

/// `value` with so many digits behind the point, whatever the locale; "-" where it is no number.
std::string fixed(double value, int decimals);

/// A share as a percentage, without the sign: 0.678 as "67.8".
std::string percent(double share, int decimals = 1);

/// A count with thin groups of three: 1234567 as "1 234 567".
std::string grouped(std::uint64_t count);

/// What people call a contender: "timetable plus delay". An unknown name stays as it is.
std::string contender_label(std::string_view name);

/// "3-6", for a bucket of minutes; "60+" when the bucket is open.
std::string bucket_label(int from_min, int to_min);

/// "2025-10-03 to 2025-10-09", or the one day.
std::string days_label(const Scorecard& card);

/// The scored days; where the scorecard does not list them, all from the first to the last.
std::vector<ServiceDate> scored_days(const Scorecard& card);

/// How many events the contenders were scored on: those of its buckets.
std::uint64_t events_of(const ContenderScore& contender);

/// Share of the events for which the contender had a prediction of its own.
double own_share(const ContenderScore& contender);

/// The contender of this name; null if there is none.
const ContenderScore* find_contender(const std::vector<ContenderScore>& contenders,
                                     std::string_view name);

/// The result in one sentence, whether it is good or bad.
std::string headline(const Scorecard& card);

}  // namespace qiv
