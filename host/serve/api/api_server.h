#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "serve/api/api_routes.h"
#include "serve/api/feed_guard.h"
#include "serve/http/server_options.h"
#include "serve/snapshot.h"

namespace qiv {

struct ApiOptions {
  ServerOptions server;
  FeedGuardOptions guard;
  /// The page: path, such as "/index.html", to file.
  std::map<std::string, StaticFile> files;
  /// Asks the engine why a forecast is as it is, on a thread of its own; empty: /why is not there.
  AskWhy why;
  /// What POST /api/v1/actions/{name} does, given the token.
  std::map<std::string, Action> actions;
  /// Told of faults, from any thread.
  std::function<void(const std::string&)> report;
};

/// Serves snapshots: the feeds, the JSON API, the events and the page. docs/api.md describes it.
/// Readers ask the last snapshot, never the engine.
class ApiServer {
 public:
  /// Listens from now on, and says that it is not ready. Throws std::runtime_error with the remedy
  /// when the address cannot be used.
  explicit ApiServer(ApiOptions options);
  ApiServer(const ApiServer&) = delete;
  ApiServer& operator=(const ApiServer&) = delete;
  ~ApiServer();

  /// Shows this snapshot as soon as its trip updates are checked, which another thread does. Where
  /// that takes longer than a cycle, snapshots between are passed over. May be called by any
  /// thread, with snapshots in order.
  void publish(std::shared_ptr<const Snapshot> snapshot);

  /// Waits until this snapshot or a later one is shown.
  void wait_until_shown(std::uint64_t serial) const;

  std::uint16_t port() const;
  /// Such as "http://127.0.0.1:8080".
  std::string url() const;
  ServerCounts counts() const;

  /// Ends all connections.
  void stop();

 private:
  class Impl;
  std::unique_ptr<Impl> _impl;
};

/// All routes but those of the page.
Router api_router(const ApiContext& context);

}  // namespace qiv
