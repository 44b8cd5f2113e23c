#include <iostream>

#include "app/commands.h"
#include "app/end_signals.h"
#include "app/make_source.h"
#include "app/stream_gateway.h"
#include "serve/api/api_server.h"
#include "serve/web/page_files.h"
#include "worker/kafka/error.h"
#include "worker/kafka/wait_for_brokers.h"

namespace qiv {
namespace {

ApiOptions api_options(const ServeConfig& config, const GatewayArguments& arguments,
                       StreamGateway& gateway) {
  ApiOptions options;
  options.server.address = arguments.address.empty() ? config.address : arguments.address;
  options.server.port =
      arguments.port < 0 ? config.port : static_cast<std::uint16_t>(arguments.port);
  options.server.token = config.token;
  options.files = page_files({config.tiles, config.tiles_attribution});
  options.why = [&gateway](const TripKey& trip) { return gateway.why(trip); };
  options.report = [](const std::string& text) { std::cerr << "qiv: " << text << "\n"; };
  return options;
}

/// The sources of what the agency itself says; positions come from the bridge.
std::vector<std::unique_ptr<Source>> agency_sources(const ServeConfig& config,
                                                    StreamGateway& gateway) {
  std::vector<std::unique_ptr<Source>> sources;
  for (const SourceOptions& options : config.sources) {
    if (gives_positions(options)) continue;
    sources.push_back(
        make_source(options, [&gateway](AgencyReport report) { gateway.tell(std::move(report)); }));
  }
  return sources;
}

}  // namespace

void run_gateway(const GatewayArguments& arguments) {
  const EndSignals signals;
  const StreamCity city(arguments.city);
  const ServeConfig config = read_serve_config(std::filesystem::path(arguments.city) / "city.toml");
  StreamGateway gateway(city, arguments.recorded, signals.stop());
  ApiServer server(api_options(config, arguments, gateway));
  if (!arguments.recorded) gateway.listen(agency_sources(config, gateway));
  std::cout << city.config.name << " at " << server.url() << "/" << std::endl;
  const auto report = [](const std::string& text) { std::cerr << "qiv: " << text << std::endl; };
  try {
    kafka::wait_for_brokers(city.stream.properties, signals.stop(), report);
    while (!signals.stop().stop_requested()) {
      gateway.take(config.cycle);
      const Instant now = arguments.recorded ? gateway.newest() : wall_clock();
      if (auto snapshot = gateway.show(now)) server.publish(std::move(snapshot));
    }
  } catch (const kafka::Error&) {
    if (!signals.stop().stop_requested()) throw;
  }
  server.stop();
}

}  // namespace qiv
