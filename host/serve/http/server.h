#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "serve/http/router.h"
#include "serve/http/server_options.h"

namespace qiv {

/// What the server has done since it began.
struct ServerCounts {
  std::array<std::uint64_t, 6> answers{};  ///< by the first digit of the status
  std::uint64_t connections = 0;           ///< open now
  std::uint64_t late_connections = 0;      ///< shut down because they took too long
  std::uint64_t event_clients = 0;         ///< now
  std::uint64_t event_clients_total = 0;
  std::uint64_t event_clients_dropped = 0;  ///< because they did not keep up
};

/// HTTP/1.1 over libmicrohttpd: a few threads, each with an epoll, serve all connections; a reader
/// of events costs a suspended connection. Handlers run on those threads, and must not wait; see
/// `RouteKind` for those that do.
class HttpServer {
 public:
  /// Listens from now on. Throws std::runtime_error with the remedy when the address cannot be
  /// used. `report` is told, from any thread, of faults in handlers.
  HttpServer(ServerOptions options, Router router,
             std::function<void(const std::string&)> report = {});
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  ~HttpServer();

  std::uint16_t port() const;
  /// Such as "http://127.0.0.1:8080".
  std::string url() const;
  ServerCounts counts() const;

  /// Ends all connections. What is being handled is finished.
  void stop();

 private:
  class Impl;
  std::unique_ptr<Impl> _impl;
};

}  // namespace qiv
