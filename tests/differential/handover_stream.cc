#include <string>

#include "differential/streams.h"

namespace differential {

namespace {

class Maker {
 public:
  explicit Maker(Draw& draw) : _draw(draw), _journeys(2 + draw.below(29)) {}

  Stream make() {
    _stream.push_back(configuration());
    for (unsigned int i = 0; i < _journeys; ++i) {
      if (!_draw.one_in(5)) load(name(i), {5, 7});
    }
    const unsigned int steps = 40 + _draw.below(160);
    for (unsigned int i = 0; i < steps && !_draw.exhausted(); ++i) {
      step(static_cast<long long>(i));
    }
    return _stream;
  }

 private:
  static std::string name(unsigned int i) {
    return std::string(1, static_cast<char>('A' + i % 26)) + std::to_string(i / 26);
  }

  static Initialize configuration() { return {"KernelRegression", {2.0}, "arrival", 3, "ring"}; }

  void load(const std::string& journey, const Version& version) {
    _stream.push_back(ReadMilestones{journey, version, {0.0, 100.0, 200.0}});
    _stream.push_back(ReadBusStops{journey, version, {"From", "To"}, {0.0, 200.0}});
    if (_draw.one_in(3)) _stream.push_back(ReadHistory{journey, version, 1, {0, 40, 90}});
  }

  Version version() {
    if (!_draw.one_in(15)) return {5, 7};
    return {_draw.of<unsigned long long>({4, 5, 6}), _draw.of<long long>({7, 8})};
  }

  void step(long long now) {
    const std::string journey = name(_draw.below(_journeys));
    switch (_draw.below(30)) {
      case 0:
        _stream.push_back(RemoveInactiveVehicles());
        break;
      case 1:
        load(journey, version());
        break;
      case 2:
        _stream.push_back(ReadMilestones{journey, version(), {0.0}});
        break;
      case 3:
        report_to_impossible_journey(now);
        break;
      default:
        report(journey, now);
    }
  }

  void report(const std::string& journey, long long now) {
    const std::string vehicle(1, static_cast<char>('u' + _draw.below(4)));
    const std::string trip(1, static_cast<char>('1' + _draw.below(2)));
    const long long time = _draw.one_in(3) ? now / 8 : now / 8 + _draw.between(-3, 3);
    const double offset = _draw.one_in(10) ? 250.0 : 10.0 * _draw.below(20);
    _stream.push_back(Update{journey, vehicle, trip, "", version(), 1, offset, time,
                             _draw.one_in(3) ? 0.0 : 200.0});
  }

  /// The vehicle leaves where it was, although the journey that it goes to cannot be created.
  void report_to_impossible_journey(long long now) {
    Initialize bad = configuration();
    switch (_draw.below(3)) {
      case 0:
        bad.method = "Kernel";
        break;
      case 1:
        bad.mode = "departure";
        break;
      default:
        bad.strategy = "oldest";
    }
    _stream.push_back(bad);
    report(std::string("Impossible") + std::to_string(_draw.below(2)), now);
    if (!_draw.one_in(3)) _stream.push_back(configuration());
  }

  Draw& _draw;
  const unsigned int _journeys;
  Stream _stream;
};

}  // namespace

Stream handover_stream(Draw& draw) {
  return Maker(draw).make();
}

}  // namespace differential
