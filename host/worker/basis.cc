#include "worker/basis.h"

#include <utility>
#include <variant>

namespace qiv {

Basis::Basis(const kafka::Properties& properties, const std::string& finished,
             std::shared_ptr<const Network> network, LearnedSettings settings,
             std::string network_version, Instant histories_until)
    : _network(std::move(network)),
      _settings(std::move(settings)),
      _network_version(std::move(network_version)),
      _book(*_network, _settings, histories_until),
      _log(properties, {finished}) {}

void Basis::follow(std::chrono::milliseconds patience,
                   const std::function<void(const FinishedTrip&)>& joined) {
  while (const auto message = _log.poll(patience)) {
    if (!message->message.value) continue;
    const auto decoded = decode_finished(message->message);
    if (const auto* const unused = std::get_if<Undecodable>(&decoded)) {
      _complaints.push_back(kafka::place_of(*message) + ": " + unused->reason);
      continue;
    }
    const auto& trip = std::get<FinishedTrip>(decoded);
    if (_book.take(trip)) joined(trip);
  }
}

}  // namespace qiv
