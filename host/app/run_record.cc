#include <iostream>
#include <nlohmann/json.hpp>

#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "app/progress_bar.h"
#include "feed/position_source.h"

namespace qiv {
namespace {

constexpr std::size_t batch_size = 50'000;

struct Imported {
  std::uint64_t read = 0;
  std::uint64_t used = 0;
  std::uint64_t added = 0;
};

/// One source is one transaction: a file is in the archive whole, or not at all.
Imported import(Archive& archive, const std::string& file, Rejections& rejections) {
  Imported counts;
  std::vector<VehiclePosition> waiting;
  archive.together([&] {
    const auto flush = [&] {
      counts.added += archive.record(waiting);
      waiting.clear();
    };
    const RecordingSummary summary =
        read_positions(file, [&](const std::vector<VehiclePosition>& batch) {
          waiting.insert(waiting.end(), batch.begin(), batch.end());
          if (waiting.size() >= batch_size) flush();
        });
    flush();
    counts.read = summary.read;
    counts.used = summary.used;
    rejections.merge(summary.rejections);
    ImportRecord record;
    record.source = file;
    record.rows = summary.read;
    record.added = counts.added;
    record.rejections = summary.rejections.entries();
    archive.add_import(record);
  });
  return counts;
}

}  // namespace

void run_record(const RecordArguments& arguments) {
  City city(arguments.city);
  ProgressBar bar("recording");
  Imported total;
  Rejections rejections;
  for (std::size_t i = 0; i < arguments.files.size(); ++i) {
    bar.show(static_cast<double>(i) / static_cast<double>(arguments.files.size()),
             arguments.files[i]);
    const Imported counts = import(city.archive(), arguments.files[i], rejections);
    total.read += counts.read;
    total.used += counts.used;
    total.added += counts.added;
  }
  bar.show(1.0);
  if (arguments.json) {
    nlohmann::ordered_json result = {
        {"files", arguments.files.size()}, {"read", total.read}, {"added", total.added}};
    for (const auto& [reason, entry] : rejections.entries()) {
      result["rejected"][reason] = {{"count", entry.count}, {"first", entry.first}};
    }
    std::cout << result.dump() << "\n";
    return;
  }
  std::cout << arguments.files.size() << " files: " << total.read << " rows read, " << total.added
            << " positions new, " << total.used - total.added << " known already\n";
  for (const auto& [reason, entry] : rejections.entries()) {
    std::cout << "not used: " << entry.count << " × " << reason << ", first " << entry.first
              << "\n";
  }
}

}  // namespace qiv
