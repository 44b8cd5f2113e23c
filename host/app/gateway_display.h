#pragma once

#include <map>
#include <memory>
#include <vector>

#include "app/city_config.h"
#include "serve/api/service_json.h"
#include "serve/live_overlay.h"
#include "serve/snapshot.h"
#include "worker/forecast_board.h"
#include "worker/history_book.h"

namespace qiv {

/// What a display rests on: a timetable, settings, and the finished trips that belong to them. It
/// holds more of these than forecasts need, so that those behind a forecast that a worker made
/// some hours ago with its own window of them are still here.
class DisplayBasis {
 public:
  DisplayBasis(std::shared_ptr<const Network> network, LearnedSettings settings);
  DisplayBasis(const DisplayBasis&) = delete;
  DisplayBasis& operator=(const DisplayBasis&) = delete;

  /// Takes a message of the finished trips. The trip, where it has joined the histories; else it is
  /// known, or counted as of no use.
  std::optional<FinishedTrip> take(const StreamMessage& message);

  const std::shared_ptr<const Network>& network() const { return _network; }
  const LearnedSettings& settings() const { return _settings; }
  const HistoryBook& book() const { return _book; }
  const Rejections& unused() const { return _unused; }

 private:
  std::shared_ptr<const Network> _network;
  LearnedSettings _settings;
  LearnedSettings _wide;  ///< the same with wider windows
  HistoryBook _book;
  Rejections _unused;
};

/// Makes snapshots of the stream's messages, as the live service makes them of positions: the
/// forecasts and the trips that no vehicle has begun, the vehicles, what the agency says, and how
/// the forecasts fare. Reads no clock; one thread, but for `tell`.
class GatewayDisplay {
 public:
  /// Of a recorded day all positions count for the scores; live ones that are received again do
  /// not.
  GatewayDisplay(CityConfig config, bool recorded);
  ~GatewayDisplay();

  /// Shows this timetable from now on. What was said of the vehicles stays, as far as both
  /// timetables have their patterns.
  void use(std::shared_ptr<DisplayBasis> basis);

  /// Each takes a message of one topic, in order. What cannot be used is counted, and so is all
  /// that comes before there is a timetable.
  void take_finished(const StreamMessage& message);
  void take_forecast(const StreamMessage& message);
  void take_position(const StreamMessage& message);

  /// Takes what one of the agency's own feeds says. May be called by any thread.
  void tell(AgencyReport report) { _overlay.tell(std::move(report)); }

  /// What is on display at `now`; null before there is a timetable. Sources of what the agency says
  /// are the caller's to add.
  std::shared_ptr<Snapshot> show(Instant now);

  /// The earlier trips behind a forecast, or why they cannot be told.
  Why why(const TripKey& trip);

  /// The newest moment that a forecast was made at.
  Instant newest() const;

 private:
  /// One timetable on display.
  struct Shown;
  /// The last report of a vehicle.
  struct Seen {
    VehiclePosition report;
    Instant newest{};  ///< of its reports' times
  };

  void forget(Instant now);
  std::vector<Tracker::VehicleReport> said(Instant now) const;
  SourceView source(Instant now) const;

  CityConfig _config;
  bool _recorded;
  std::unique_ptr<Shown> _shown;
  std::map<VehicleId, Seen> _seen;
  LiveOverlay _overlay;
  Rejections _unused;
  std::uint64_t _serial = 0;
  std::uint64_t _positions = 0;
};

}  // namespace qiv
