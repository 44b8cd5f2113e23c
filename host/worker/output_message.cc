#include "worker/output_message.h"

#include "worker/stream_key.h"

namespace qiv {
namespace {

struct Encode {
  OutputMessage operator()(VehicleForecast& output) const {
    output.agency = agency;
    const TripForecast& shown = output.forecast;
    return {false, forecast_group({agency, shown.trip, shown.vehicle}),
            encode_forecast(output, network)};
  }
  OutputMessage operator()(LeftTrip& output) const {
    output.trip.agency = agency;
    return {false, forecast_group(output.trip), encode_left(output)};
  }
  OutputMessage operator()(VehicleState& output) const {
    output.agency = agency;
    StreamMessage message = encode_vehicle(output);
    return {false, message.key, std::move(message)};
  }
  OutputMessage operator()(FinishedTrip& output) const {
    output.agency = agency;
    return {true, finished_group(key_of(output)), encode_finished(output)};
  }

  const AgencyId& agency;
  const Network& network;
};

}  // namespace

OutputMessage encode_output(PartitionOutput& output, const AgencyId& agency,
                            const Network& network) {
  return std::visit(Encode{agency, network}, output);
}

}  // namespace qiv
