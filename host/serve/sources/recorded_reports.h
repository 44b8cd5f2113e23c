#pragma once

#include <vector>

#include "model/rejections.h"
#include "model/time.h"
#include "serve/agency/agency_report.h"
#include "serve/sources/folder_source.h"

namespace qiv {

/// What one of the agency's feeds said while it was recorded.
struct RecordedReports {
  std::vector<AgencyReport> reports;  ///< in order of receipt
  Rejections not_used;                ///< files, and what was in those that were read
};

/// Reads a folder of recorded answers as if each came in at its time: those from `from` until
/// before `until`. That time is in the file's name as YYYYMMDDTHHMMSSZ
/// ("updates-20251007T081500Z.pb"); without one, the time in the message's header. A file without
/// either is not used. All that is read is held in memory.
///
/// Throws std::runtime_error, with folder and remedy, when the folder cannot be opened.
RecordedReports read_recorded_reports(const FolderSourceOptions& options, Instant from,
                                      Instant until);

}  // namespace qiv
