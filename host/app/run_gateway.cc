#include <iostream>

#include "app/commands.h"
#include "app/end_signals.h"
#include "app/make_source.h"
#include "app/stream_gateway.h"
#include "serve/api/api_server.h"
#include "serve/web/page_files.h"

namespace qiv {
namespace {

ApiOptions api_options(const ServeConfig& config, const GatewayArguments& arguments) {
  ApiOptions options;
  options.server.address = arguments.address.empty() ? config.address : arguments.address;
  options.server.port =
      arguments.port < 0 ? config.port : static_cast<std::uint16_t>(arguments.port);
  options.server.token = config.token;
  options.files = page_files({config.tiles, config.tiles_attribution});
  options.report = [](const std::string& text) { std::cerr << "qiv: " << text << "\n"; };
  return options;
}

}  // namespace

void run_gateway(const GatewayArguments& arguments) {
  const EndSignals signals;
  const StreamCity city(arguments.city);
  const ServeConfig config = read_serve_config(std::filesystem::path(arguments.city) / "city.toml");
  StreamGateway gateway(city);
  ApiServer server(api_options(config, arguments));
  std::cout << city.config.name << " at " << server.url() << "/" << std::endl;
  while (!signals.stop().stop_requested()) {
    gateway.take(config.cycle);
    const Instant now = arguments.recorded ? gateway.newest() : wall_clock();
    if (auto snapshot = gateway.show(now)) server.publish(std::move(snapshot));
  }
  server.stop();
}

}  // namespace qiv
