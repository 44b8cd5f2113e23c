#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "evaluate/plot_trip.h"
#include "evaluate/scorecard.h"
#include "evaluate/truth.h"
#include "network/network.h"

namespace qiv {

/// Finds the trips whose displayed forecasts were worst, and keeps what it takes to draw them: of
/// every trip a sum, of the trips on the road what was forecast at a few moments, and of those that
/// have ended the pictures of the worst.
class WorstTrips {
 public:
  /// Keeps the pictures of at most `most` trips. `network` must outlive the object.
  WorstTrips(const Network& network, std::size_t most) : _network(network), _most(most) {}

  /// Counts one error of what was on display for the trip.
  void add_error(const TripKey& trip, const VehicleId& vehicle, long long error_s);

  /// A display of a trip that has not ended yet, in order of time: kept when it is the first at or
  /// after the scheduled departure (at the latest a quarter of an hour before the last observed
  /// arrival), or after a quarter, half or three quarters of the time from there to that arrival.
  void show(const ScheduledTrip& trip, const TripTruth& seen, const TripForecast& shown,
            Instant now);

  /// A report of the vehicle: the first tells when it set out.
  void report(const Progress& progress);

  /// The trip has no more arrivals ahead: its picture is made if it is among the worst so far.
  void settle(const ScheduledTrip& trip, const TripTruth& seen);

  /// The worst trips by mean absolute error, equal ones in order of their keys.
  std::vector<WorstTrip> list(std::size_t most) const;

  /// Their pictures, in the same order.
  std::vector<TripPlot> plots() const;

 private:
  struct Sum {
    VehicleId vehicle;
    std::uint64_t n = 0;
    double absolute_sum_s = 0.0;

    double mae_s() const { return absolute_sum_s / static_cast<double>(n); }
  };
  struct OnTheRoad {
    std::optional<TripPlotPoint> start;
    std::size_t next_moment = 0;
    std::vector<TripPlotMoment> moments;
  };
  struct Picture {
    TripKey trip;
    double mae_s = 0.0;
    TripPlot plot;

    bool is_worse_than(const Picture& other) const {
      return mae_s != other.mae_s ? mae_s > other.mae_s : trip < other.trip;
    }
  };

  TripPlot draw(const ScheduledTrip& trip, const TripTruth& seen, const Sum& sum,
                OnTheRoad&& road) const;
  std::string title_of(const ScheduledTrip& trip) const;
  std::string name_of(const PatternStop& planned) const;

  const Network& _network;
  std::size_t _most;
  std::map<TripKey, Sum> _sums;
  std::map<TripKey, OnTheRoad> _on_the_road;
  std::vector<Picture> _pictures;  ///< the worst first
};

}  // namespace qiv
