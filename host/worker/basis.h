#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "worker/history_book.h"
#include "worker/kafka/log_reader.h"

namespace qiv {

/// What forecasts rest on: a timetable, settings, and the finished trips that belong to them, whose
/// topic it follows. One thread at a time.
class Basis {
 public:
  /// Begins to read `finished`, a topic's name. Throws `kafka::Error`.
  Basis(const kafka::Properties& properties, const std::string& finished,
        std::shared_ptr<const Network> network, LearnedSettings settings,
        std::string network_version = {}, Instant histories_until = Instant::max());
  Basis(const Basis&) = delete;
  Basis& operator=(const Basis&) = delete;

  /// Takes what has come, waiting for more for at most `patience`; `joined` is told of each trip
  /// that has joined the histories. Throws `kafka::Error`.
  void follow(
      std::chrono::milliseconds patience = std::chrono::milliseconds(0),
      const std::function<void(const FinishedTrip&)>& joined = [](const FinishedTrip&) {});

  /// Whether the topic has been read to where it ended when that was looked at last.
  bool at_end() const { return _log.at_end(); }

  const std::shared_ptr<const Network>& network() const { return _network; }
  const LearnedSettings& settings() const { return _settings; }
  /// As it was given.
  const std::string& network_version() const { return _network_version; }
  const HistoryBook& book() const { return _book; }

  /// Why messages were not used since this was asked last.
  std::vector<std::string> take_complaints() { return std::exchange(_complaints, {}); }

 private:
  std::shared_ptr<const Network> _network;
  LearnedSettings _settings;
  std::string _network_version;
  HistoryBook _book;
  kafka::LogReader _log;
  std::vector<std::string> _complaints;
};

}  // namespace qiv
