#include <algorithm>
#include <limits>
#include <map>
#include <string>

#include "differential/palettes.h"
#include "differential/streams.h"

namespace differential {

namespace {

const std::vector<std::string> journeys = {"A", "B", "C", "P", ""};
const std::vector<std::string> vehicles = {"1", "2", "3", ""};
const std::vector<std::string> trips = {"", "T1", "T2"};
const std::vector<std::string> frames = {"", "D1", "D2"};

class Maker {
 public:
  explicit Maker(Draw& draw) : _draw(draw), _wildness(draw.of<unsigned int>({0, 200, 40, 8, 2})) {}

  Stream make() {
    _stream.push_back(initialize(false));
    const unsigned int length = 10 + _draw.below(90);
    const unsigned int loaded = _draw.below(4);
    for (unsigned int i = 0; i < loaded; ++i) load(journeys[i]);
    while (_stream.size() < length && !_draw.exhausted()) step();
    return _stream;
  }

 private:
  bool wild() { return _wildness != 0 && _draw.one_in(_wildness); }

  double offset() { return wild() ? _draw.of(wild_offsets) : tame_offset(); }
  double tame_offset() {
    return _draw.one_in(3) ? 0.01 * _draw.below(30000) : _draw.of(tame_offsets);
  }
  int time() { return wild() ? _draw.of(wild_times) : _draw.of(tame_times); }
  long long stamp() {
    if (wild()) return _draw.of(wild_stamps);
    return _draw.one_in(2) ? _draw.of(tame_stamps) : 1000 + static_cast<long long>(_stream.size());
  }

  /// Mostly the current one, which seldom changes.
  Version version() {
    if (_draw.one_in(150)) _current = {_current.time + _draw.below(2), _current.id + 1};
    if (!_draw.one_in(40)) return _current;
    if (!wild()) return {_current.time - 1, _current.id - _draw.between(0, 1)};
    return {_draw.of<unsigned long long>({0, _current.time, Limits<unsigned long long>::max()}),
            _draw.of<long long>({-1, Limits<long long>::min(), Limits<long long>::max()})};
  }

  std::int16_t category() {
    if (!_draw.one_in(5)) return 1;
    return _draw.of<std::int16_t>({2, 0, -1, Limits<std::int16_t>::min()});
  }

  Initialize initialize(bool maybe_bad) {
    Initialize m{"KernelRegression",
                 {_draw.of<double>({1.0, 0.5, 100.0, 1e-3})},
                 _draw.of<std::string>({"arrival", "travel"}),
                 _draw.of<unsigned int>({10, 1, 2, 3, 0}),
                 _draw.of<std::string>({"ring", "random"})};
    if (wild()) {
      m.parameters[0] =
          _draw.of<double>({Limits<double>::quiet_NaN(), Limits<double>::infinity(),
                            Limits<double>::denorm_min(), Limits<double>::max(), 1e-300});
    }
    if (maybe_bad) spoil(m);
    return m;
  }

  /// Breaks none, one or two values, so that the order of checks shows.
  void spoil(Initialize& m) {
    switch (_draw.below(8)) {
      case 0:
        m.strategy = "Ring";
        break;
      case 1:
        m.mode = "Travel";
        break;
      case 2:
        m.method = "kernelregression";
        break;
      case 3:
        m.parameters = _draw.of<std::vector<double>>({{}, {0.0}, {-0.0}, {-1.0}, {-1e300, 1.0}});
        break;
      case 4:
        m.strategy = "";
        m.mode = "";
        break;
      case 5:
        m.mode = "";
        m.method = "";
        break;
      default:
        break;
    }
  }

  std::vector<double> offsets() {
    std::vector<double> list(_draw.one_in(12) ? _draw.below(3) : 2 + _draw.below(8));
    for (double& value : list) value = tame_offset();
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    if (!list.empty() && !_draw.one_in(3)) list.front() = 0.0;
    for (double& value : list) {
      if (wild()) value = _draw.of(wild_offsets);
    }
    return list;
  }

  std::vector<std::string> names(std::size_t count) {
    if (wild()) count = _draw.below(4);
    std::vector<std::string> list;
    for (std::size_t i = 0; i < count; ++i) list.push_back("S" + std::to_string(i));
    return list;
  }

  ReadBusStops bus_stops(const std::string& journey) {
    const std::vector<double> list = offsets();
    return {journey, version(), names(list.size()), list};
  }

  void send_milestones(const std::string& journey) {
    const std::vector<double> list = offsets();
    if (!_draw.one_in(4)) _milestones[journey] = list.size();
    _stream.push_back(ReadMilestones{journey, version(), list});
  }

  void send_history(const std::string& journey) {
    const std::size_t usual = _milestones.emplace(journey, 3).first->second;
    std::vector<int> times(_draw.one_in(12) ? _draw.below(6) : usual);
    for (int& value : times) value = time();
    if (!_draw.one_in(20)) std::sort(times.begin(), times.end());
    _stream.push_back(ReadHistory{journey, version(), category(), times});
  }

  void load(const std::string& journey) {
    const bool stops_first = _draw.one_in(3);
    if (stops_first) _stream.push_back(bus_stops(journey));
    send_milestones(journey);
    if (!stops_first) _stream.push_back(bus_stops(journey));
    const unsigned int trajectories = _draw.below(6);
    for (unsigned int i = 0; i < trajectories; ++i) send_history(journey);
  }

  void step() {
    const std::string& journey = _draw.of(journeys);
    switch (_draw.below(24)) {
      case 0:
        _stream.push_back(initialize(true));
        break;
      case 1:
        send_milestones(journey);
        break;
      case 2:
        _stream.push_back(bus_stops(journey));
        break;
      case 3:
      case 4:
        send_history(journey);
        break;
      case 5:
        _stream.push_back(RemoveInactiveVehicles());
        break;
      case 6:
        load(journey);
        break;
      default:
        _stream.push_back(Update{_draw.one_in(4) ? journey : journeys[0], _draw.of(vehicles),
                                 _draw.one_in(6) ? _draw.of(trips) : "T1",
                                 _draw.one_in(6) ? _draw.of(frames) : "D1", version(), category(),
                                 offset(), stamp(), max_error()});
    }
  }

  double max_error() {
    return wild() ? _draw.of(wild_offsets)
                  : _draw.of<double>({0.0, 1.0, 1000.0, 100.0, 1e6, -1.0, -50.0});
  }

  Draw& _draw;
  const unsigned int _wildness;  ///< one value in so many is absurd; none where 0
  Version _current = {5, 7};
  std::map<std::string, std::size_t> _milestones;  ///< how many each journey probably holds
  Stream _stream;
};

}  // namespace

Stream hostile_stream(Draw& draw) {
  return Maker(draw).make();
}

}  // namespace differential
