#include "differential/Comparison.h"

#include "differential/state.h"

namespace differential {

const std::string* Guard::named_by_reference_data(const Message& message) {
  if (const ReadMilestones* m = std::get_if<ReadMilestones>(&message)) return &m->journey;
  if (const ReadBusStops* m = std::get_if<ReadBusStops>(&message)) return &m->journey;
  if (const ReadHistory* m = std::get_if<ReadHistory>(&message)) return &m->journey;
  return nullptr;
}

bool Guard::creates_journeys() const {
  return (_configuration.strategy == "random" || _configuration.strategy == "ring") &&
         (_configuration.mode == "arrival" || _configuration.mode == "travel") &&
         _configuration.method == "KernelRegression" && !_configuration.parameters.empty() &&
         !(_configuration.parameters[0] <= 0.0);
}

std::string Comparison::apply(const Message& message) {
  if (!_guard.lets_pass(message, _twin.journeys())) return "";
  ++_step;
  std::srand(_step);
  Outcome expected = _twin.apply(message);
  expected.push_back({"next rand() " + std::to_string(std::rand())});
  std::srand(_step);
  Outcome actual = _library.apply(message);
  actual.push_back({"next rand() " + std::to_string(std::rand())});
  std::string observed = difference(expected, actual);
  if (!observed.empty()) return observed;
  if (same_state(_twin.journeys(), _library.journeys())) return "";
  return "in what is held:\n" +
         difference(state_of(_twin.journeys()), state_of(_library.journeys()));
}

std::string first_difference(const Stream& stream) {
  Comparison comparison;
  for (std::size_t i = 0; i < stream.size(); ++i) {
    const std::string difference = comparison.apply(stream[i]);
    if (!difference.empty()) {
      return "message " + std::to_string(i + 1) + ": " + text(stream[i]) + "\n" + difference;
    }
  }
  return "";
}

}  // namespace differential
