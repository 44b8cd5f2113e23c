#ifndef QIV_BUS_ROUTE_H
#define QIV_BUS_ROUTE_H

#include <deque>
#include <string>
#include <vector>

#include "AlgoConfig.h"

class Journey;

/// A bus stop: where it lies along the journey and what the host calls it.
struct QIV_ALGO_API BusStopLocation {
  BusStopLocation() : offset(0.0), stopID() {}
  BusStopLocation(double stop_offset, const std::string& stop_identifier)
      : offset(stop_offset), stopID(stop_identifier) {}

  double offset;       ///< position along the journey, in the host's unit of offsets
  std::string stopID;  ///< identifier as received from the host
};

/// The geometry of one journey pattern: milestones (the grid on which historical trajectories
/// record times) and bus stops, two independent lists of offsets along the journey's shape.
///
/// The route keeps what it is given. The owning `Journey` validates first; the loaders themselves
/// check nothing and throw nothing but allocation failures. Bus stops need not lie on milestones.
class QIV_ALGO_API BusRoute {
 public:
  /// Binds the route to the journey that owns it, for the shape version identifier in its logs.
  /// Both lists start empty.
  explicit BusRoute(Journey& journey);

  /// Replaces the milestones by `offset_list`; the bus stops stay.
  void read_milestones(const std::vector<double>& offset_list);

  /// Replaces the bus stops by the pairs of `offset_list` and `stopID_list`; the milestones stay.
  /// The count is that of `offset_list`: surplus identifiers are ignored, missing ones are empty.
  void read_bus_stops(const std::vector<double>& offset_list,
                      const std::vector<std::string>& stopID_list);

  /// Replaces both lists: every offset is a milestone, and a bus stop as well where
  /// `isStop_list` says so, under the identifier of the same index. Missing flags count as false,
  /// missing identifiers as empty.
  void read(const std::vector<double>& offset_list, const std::vector<bool>& isStop_list,
            const std::vector<std::string>& stopID_list);

  void remove_milestones();
  void remove_bus_stops();

  unsigned int get_nb_milestones() const;
  unsigned int get_nb_bus_stops() const;

  /// Identifier of bus stop `index`. Precondition: `index` < `get_nb_bus_stops()`.
  const std::string& get_stopID(unsigned int index) const;

  /// The last milestone; minus infinity on a route without milestones.
  double last_milestone_offset() const;

  /// Offset of the last bus stop; minus infinity on a route without bus stops, so that nothing lies
  /// before it.
  double last_bus_stop_offset() const;

  /// All three ask whether there are milestones. `bus_stops_is_initialized` does not look at the
  /// bus stops: it opens the comparison of new milestones with the held stops, which is due
  /// whenever the route already holds milestones.
  bool milestones_is_initialized() const;
  bool bus_stops_is_initialized() const;
  bool is_initialized() const;

  /// True when the held milestones equal the given ones exactly, in number, order and value; a NaN
  /// equals nothing.
  bool identical_milestones(const std::vector<double>& milestones_offset_list) const;

  /// True when a trajectory of `nb_milestones` times fits this route.
  bool is_compatible(unsigned int nb_milestones) const;

  /// True when the last bus stop, if there is one, is not beyond the last of the given milestones.
  bool is_consistent_with_milestones(const std::vector<double>& milestones_offset_list) const;

  /// True when the last of the given stops is not beyond the last milestone, if there is one.
  bool is_consistent_with_bus_stops(const std::vector<double>& bus_stops_offset_list) const;

  /// Locates `offset` on the milestones m[0..L]: `index` names the upper end of the segment that
  /// holds it and `linear` the covered fraction of that segment, so that
  /// offset = m[index-1] + linear * (m[index] - m[index-1]).
  ///
  /// An inner milestone m[j] gives (j+1, 0.0), the last one (L, 1.0). An offset before m[0] > 0
  /// gives index 0 and the fraction of the way from 0. A NaN offset, and any offset on a route
  /// without milestones, leaves both arguments as they were: set them to 0 and 0.0 before the call.
  /// Throws `std::invalid_argument`, after an error entry in the log, for an offset outside
  /// [0, m[L]]. Logarithmic in the number of milestones; allocates nothing unless it throws.
  void get_interpolation_parameters(double offset, unsigned int& index, double& linear) const;

  /// True when `offset` lies within [m[0], m[L]], and on a route without milestones always.
  /// Narrower than what `get_interpolation_parameters` accepts when m[0] > 0.
  bool is_in_range(double offset) const;

  /// True when `offset` lies beyond the last milestone by less than `max_error`; both limits are
  /// excluded.
  bool is_in_termination_stop(double offset, double max_error) const;

  /// Offset of bus stop `index`. Precondition: `index` < `get_nb_bus_stops()`.
  double get_offset(unsigned int index) const;

 private:
  friend class MilestoneWalk;
  friend class JourneyMemory;

  QIV_ALGO_LOCAL void note_order();
  QIV_ALGO_LOCAL void add_bus_stop(double offset, const std::string& stopID);

  const Journey& _journey;
  std::deque<BusStopLocation> _bus_stop;
  std::deque<double> _interpolation;

  // Whether there are two milestones and each is greater than the one before. With a NaN among them
  // a search finds what depends on the way that it takes.
  bool _ordered;

  // The offsets of the bus stops side by side: every forecast reads all that lie ahead.
  std::vector<double> _offset;
};

#endif  // QIV_BUS_ROUTE_H
