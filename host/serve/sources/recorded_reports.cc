#include "serve/sources/recorded_reports.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "feed/file_bundle.h"
#include "feed/realtime_message.h"

namespace qiv {
namespace {

/// Of "YYYYMMDDTHHMMSSZ".
std::optional<Instant> parse_compact(std::string_view text) {
  if (text[8] != 'T' || text[15] != 'Z') return std::nullopt;
  const auto day = ServiceDate::parse(text.substr(0, 8));
  const std::string time(text.substr(9, 6));
  const auto of_day =
      parse_time_of_day(time.substr(0, 2) + ":" + time.substr(2, 2) + ":" + time.substr(4, 2));
  if (!day || !of_day) return std::nullopt;
  return Instant(day->days()) + *of_day;
}

std::optional<Instant> time_in_name(std::string_view name) {
  constexpr std::size_t length = 16;
  for (std::size_t at = 0; at + length <= name.size(); ++at) {
    if (const auto time = parse_compact(name.substr(at, length))) return time;
  }
  return std::nullopt;
}

std::optional<Instant> time_in_header(const FileBundle& folder, const std::string& entry) {
  const std::string bytes = folder.read(entry).value();
  const RealtimeMessage message(bytes);
  return message.is_valid() ? message.time() : std::nullopt;
}

/// The snapshots by the time at which they were received.
std::multimap<Instant, std::string> by_time(const FileBundle& folder, Rejections& not_used) {
  std::multimap<Instant, std::string> snapshots;
  for (const std::string& entry : folder.entries()) {
    try {
      auto time = time_in_name(entry);
      if (!time) time = time_in_header(folder, entry);
      if (time) {
        snapshots.emplace(*time, entry);
      } else {
        not_used.add("snapshot without a time", [&] { return entry; });
      }
    } catch (const std::runtime_error& error) {
      not_used.add("file cannot be read", [&] { return std::string(error.what()); });
    }
  }
  return snapshots;
}

}  // namespace

RecordedReports read_recorded_reports(const FolderSourceOptions& options, Instant from,
                                      Instant until) {
  RecordedReports result;
  const FileBundle folder = FileBundle::open(options.folder);
  const auto snapshots = by_time(folder, result.not_used);
  FeedIntakeOptions intake_options;
  intake_options.name = options.name;
  intake_options.content = options.content;
  intake_options.strip_prefixes = options.strip_prefixes;
  intake_options.hold = options.hold;
  FeedIntake intake(intake_options,
                    [&](AgencyReport report) { result.reports.push_back(std::move(report)); });
  const auto end = snapshots.lower_bound(until);
  for (auto snapshot = snapshots.lower_bound(from); snapshot != end; ++snapshot) {
    const auto& [time, entry] = *snapshot;
    try {
      intake.take(time, folder.read(entry).value(), {}, entry);
    } catch (const std::runtime_error& error) {
      result.not_used.add("file cannot be read", [&] { return std::string(error.what()); });
    }
  }
  result.not_used.merge(intake.view(until).rejections);
  return result;
}

}  // namespace qiv
