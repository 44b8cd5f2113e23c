#include "feed/position_source.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "feed/position_table.h"
#include "feed/quotation.h"
#include "feed/siri_vm.h"

namespace qiv {
namespace {

enum class Kind { unknown, table, realtime, siri };

constexpr char first_byte_of_realtime = 0x0A;  // field 1, the header

Kind kind_by_name(std::string_view name) {
  if (name.ends_with(".gz")) name.remove_suffix(3);
  if (name.ends_with(".csv")) return Kind::table;
  if (name.ends_with(".pb")) return Kind::realtime;
  if (name.ends_with(".xml")) return Kind::siri;
  return Kind::unknown;
}

Kind kind_by_content(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  if (bytes.starts_with('<')) return Kind::siri;
  const std::string_view first_line = bytes.substr(0, bytes.find_first_of("\r\n"));
  if (first_line.find("timestamp") != std::string_view::npos &&
      first_line.find(',') != std::string_view::npos)
    return Kind::table;
  if (bytes.starts_with(first_byte_of_realtime)) return Kind::realtime;
  return Kind::unknown;
}

std::string full_name(const FileBundle& bundle, const std::string& entry) {
  return bundle.name().ends_with(entry) ? bundle.name() : bundle.name() + ": " + entry;
}

std::optional<std::string> read_entry(const FileBundle& bundle, const std::string& entry,
                                      Rejections& rejections) {
  try {
    return bundle.read(entry);
  } catch (const std::runtime_error& error) {
    rejections.add("file cannot be read", [&] { return std::string(error.what()); });
    return std::nullopt;
  }
}

// Calls `use` with name, kind and bytes of each entry in turn, until the last; what cannot be read
// is counted. `use` returns false for what is no recording.
template <class Use>
void for_each_entry(const FileBundle& bundle, RecordingSummary& summary, Use&& use) {
  summary.rejections.merge(bundle.rejections());
  for (const std::string& entry : bundle.entries()) {
    const std::string name = full_name(bundle, entry);
    const auto bytes = read_entry(bundle, entry, summary.rejections);
    if (!bytes) continue;
    const Kind by_name = kind_by_name(entry);
    const Kind kind = by_name != Kind::unknown ? by_name : kind_by_content(*bytes);
    if (use(name, kind, *bytes)) {
      ++summary.files;
    } else {
      summary.rejections.add("not a recording", [&] { return quotation(name, ""); });
    }
  }
  if (summary.files > 0) return;
  const auto& reasons = summary.rejections.entries();
  throw std::runtime_error(
      bundle.name() + " holds no recording" +
      (reasons.empty() ? std::string() : " (" + reasons.begin()->second.first + ")") +
      ": name a table (.csv), GTFS-realtime messages (.pb) or SIRI documents (.xml), or a folder "
      "or "
      "zip file of them");
}

template <class Batch>
void count(const Batch& batch, std::size_t used, RecordingSummary& summary) {
  summary.read += batch.read;
  summary.used += used;
  summary.rejections.merge(batch.rejections);
  summary.remarks.merge(batch.remarks);
}

bool received_before(const VehiclePosition& a, const VehiclePosition& b) {
  return a.received < b.received;
}

void hand_on(std::vector<VehiclePosition>& positions, const PositionSink& sink) {
  std::stable_sort(positions.begin(), positions.end(), received_before);
  for (auto begin = positions.begin(); begin != positions.end();) {
    const auto end = std::upper_bound(begin, positions.end(), *begin, received_before);
    sink({std::make_move_iterator(begin), std::make_move_iterator(end)});
    begin = end;
  }
}

PositionBatch read_batch(Kind kind, std::string_view bytes, const PositionOptions& options) {
  switch (kind) {
    case Kind::table:
      return read_position_table(bytes, options);
    case Kind::siri:
      return read_siri_vm(bytes, options);
    default:
      return read_vehicle_positions(bytes, options);
  }
}

}  // namespace

RecordingSummary read_positions(const FileBundle& bundle, const PositionSink& sink,
                                const PositionOptions& options) {
  RecordingSummary summary;
  for_each_entry(bundle, summary,
                 [&](const std::string& name, Kind kind, const std::string& bytes) {
                   if (kind == Kind::unknown) return false;
                   PositionOptions of_file = options;
                   of_file.name = name;
                   PositionBatch batch = read_batch(kind, bytes, of_file);
                   count(batch, batch.positions.size(), summary);
                   hand_on(batch.positions, sink);
                   return true;
                 });
  return summary;
}

RecordingSummary read_positions(const std::filesystem::path& path, const PositionSink& sink,
                                const PositionOptions& options) {
  return read_positions(FileBundle::open(path), sink, options);
}

RecordingSummary read_recorded_trip_updates(const std::filesystem::path& path,
                                            const TripUpdateSink& sink,
                                            const PositionOptions& options) {
  RecordingSummary summary;
  for_each_entry(FileBundle::open(path), summary,
                 [&](const std::string& name, Kind kind, const std::string& bytes) {
                   if (kind != Kind::realtime) return false;
                   PositionOptions of_file = options;
                   of_file.name = name;
                   const TripUpdateBatch batch = read_trip_updates(bytes, of_file);
                   count(batch, batch.updates.size(), summary);
                   sink(batch);
                   return true;
                 });
  return summary;
}

}  // namespace qiv
