#include <unistd.h>

#include <iostream>
#include <thread>

#include "app/city.h"
#include "app/commands.h"
#include "app/end_signals.h"
#include "app/log.h"
#include "app/make_source.h"
#include "app/stream_worker.h"
#include "serve/http/server.h"
#include "worker/kafka/wait_for_brokers.h"

namespace qiv {
namespace {

/// A name that no other worker has at this moment.
std::string usual_name() {
  std::string host(256, '\0');
  if (gethostname(host.data(), host.size() - 1) != 0) host = "worker";
  return std::string(host.c_str()) + "." + std::to_string(getpid());
}

Router routes(const Worker& worker) {
  Router router;
  router.get("/metrics", [&worker](const Request&) {
    return Answer{200,
                  make_blob(worker_metrics_text(worker.counts(), wall_clock()),
                            "text/plain; version=0.0.4; charset=utf-8"),
                  {},
                  nullptr};
  });
  router.get("/ready", [&worker](const Request&) {
    const bool ready = worker.counts().ready;
    return Answer{ready ? 200 : 503,
                  make_blob(ready ? "ready\n" : "not ready\n", "text/plain; charset=utf-8"),
                  {},
                  nullptr};
  });
  return router;
}

}  // namespace

void run_worker(const WorkerArguments& arguments) {
  const EndSignals signals;
  const StreamCity city(arguments.city);
  const Log log(stream_log(city.config, arguments.city));
  WorkerOptions options =
      worker_options(city, arguments.name.empty() ? usual_name() : arguments.name);
  if (!arguments.histories_until.empty()) {
    options.histories_until =
        Instant(parse_day(arguments.histories_until, "--histories-until").days());
  }
  const auto report = [&log](const std::string& text) { log.write(LogLevel::warning, text); };
  options.report = report;
  Worker worker(std::move(options));
  ServerOptions server_options;
  server_options.address = arguments.address;
  server_options.port = static_cast<std::uint16_t>(arguments.port);
  HttpServer server(server_options, routes(worker));
  std::cout << "worker of " << city.config.name << ", metrics at " << server.url() << "/metrics"
            << std::endl;
  if (kafka::wait_for_brokers(city.stream.properties, signals.stop(), report)) {
    worker.run(signals.stop());
  }
  server.stop();
}

}  // namespace qiv
