#ifndef QIV_TESTS_G11N_RECORDER_H
#define QIV_TESTS_G11N_RECORDER_H

#include <vector>

#include "RQLogger.h"

/// Collects the entries logged while it lives, in English; brings the default sink back at its end.
class Recorder {
 public:
  Recorder() {
    RQLogger::SetLanguage("en");
    RQLogger::SetSink([this](const RQLogger::Record& record) { records.push_back(record); });
  }
  ~Recorder() { RQLogger::SetSink(nullptr); }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  const RQLogger::Record& last() const { return records.at(records.size() - 1); }

  std::vector<RQLogger::Record> records;
};

#endif
