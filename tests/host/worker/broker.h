#pragma once

#include <string>

#include "worker/kafka/handle.h"

namespace qiv::testing {

/// Apache Kafka on loopback, by `scripts/broker`, for as long as the test program runs: one node,
/// or as many as the environment variable QIV_BROKER_NODES says, 1 or 3.
class Broker {
 public:
  /// The one broker of this program, started when it is asked for first; null when it did not
  /// start, which `missing` explains, and `is_unavailable` if it cannot be had here at all.
  static Broker* get();
  static const std::string& missing();
  static bool is_unavailable();

  kafka::Properties properties() const;

  /// Another one, with so many nodes, 1 or 3. Throws `std::runtime_error`.
  explicit Broker(int nodes);

  /// Lets its first node stand still, and go on.
  void pause() const;
  void go_on() const;

  /// Ends it in an orderly way, and starts it again with the same data.
  void restart();
  /// Runs `scripts/broker COMMAND` for it, and returns its exit code.
  int run(const std::string& command, std::string* said = nullptr) const;

  ~Broker();

  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

 private:
  int process() const;

  std::string _folder;
  std::string _servers;
};

}  // namespace qiv::testing
