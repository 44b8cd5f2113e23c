#ifndef QIV_TESTS_TWIN_BUS_ROUTE_H
#define QIV_TESTS_TWIN_BUS_ROUTE_H

#include <deque>
#include <string>
#include <vector>

namespace twin {

class Journey;

struct BusStopLocation {
  double offset = 0.0;
  std::string stopID;
};

class BusRoute {
 public:
  explicit BusRoute(Journey& journey);

  void read_milestones(const std::vector<double>& offset_list);
  void read_bus_stops(const std::vector<double>& offset_list,
                      const std::vector<std::string>& stopID_list);
  void read(const std::vector<double>& offset_list, const std::vector<bool>& isStop_list,
            const std::vector<std::string>& stopID_list);
  void remove_milestones();
  void remove_bus_stops();

  unsigned int get_nb_milestones() const;
  unsigned int get_nb_bus_stops() const;
  const std::string& get_stopID(unsigned int index) const;
  double last_milestone_offset() const;
  double last_bus_stop_offset() const;
  bool milestones_is_initialized() const;
  bool bus_stops_is_initialized() const;
  bool is_initialized() const;
  bool identical_milestones(const std::vector<double>& milestones_offset_list) const;
  bool is_compatible(unsigned int nb_milestones) const;
  bool is_consistent_with_milestones(const std::vector<double>& offset_list) const;
  bool is_consistent_with_bus_stops(const std::vector<double>& offset_list) const;

  void get_interpolation_parameters(double offset, unsigned int& index, double& linear) const;
  bool is_in_range(double offset) const;
  bool is_in_termination_stop(double offset, double max_error) const;
  double get_offset(unsigned int index) const;

  const Journey& _journey;
  std::deque<BusStopLocation> _bus_stop;
  std::deque<double> _interpolation;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_BUS_ROUTE_H
