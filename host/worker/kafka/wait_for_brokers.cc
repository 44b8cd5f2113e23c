#include "worker/kafka/wait_for_brokers.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace qiv::kafka {
namespace {

constexpr int patience_ms = 2000;
constexpr std::chrono::milliseconds longest_pause{30'000};

rd_kafka_resp_err_t ask(rd_kafka_t* client) {
  const struct rd_kafka_metadata* metadata = nullptr;
  const rd_kafka_resp_err_t error = rd_kafka_metadata(client, 0, nullptr, &metadata, patience_ms);
  if (error == RD_KAFKA_RESP_ERR_NO_ERROR) rd_kafka_metadata_destroy(metadata);
  return error;
}

std::string explain(const Properties& properties, rd_kafka_resp_err_t error,
                    std::chrono::milliseconds pause) {
  const auto servers = properties.find("bootstrap.servers");
  return "no broker answers" +
         (servers == properties.end() ? ": 'bootstrap.servers' is not stated"
                                      : " at " + servers->second) +
         " (" + rd_kafka_err2str(error) +
         "): start it, or correct [kafka] in city.toml; asking again in " +
         std::to_string((pause.count() + 999) / 1000) + " s";
}

}  // namespace

bool wait_for_brokers(const Properties& properties, const std::stop_token& stop,
                      const std::function<void(const std::string&)>& report,
                      std::chrono::milliseconds pause) {
  const Client client = make_client(RD_KAFKA_PRODUCER, {}, properties, {});
  std::mutex mutex;
  std::condition_variable_any asked_to_stop;
  while (!stop.stop_requested()) {
    const rd_kafka_resp_err_t error = ask(client.get());
    if (error == RD_KAFKA_RESP_ERR_NO_ERROR) return true;
    report(explain(properties, error, pause));
    std::unique_lock lock(mutex);
    asked_to_stop.wait_for(lock, stop, pause, [] { return false; });
    pause = std::min(2 * pause, longest_pause);
  }
  return false;
}

}  // namespace qiv::kafka
