#include "serve/api/api_server.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "serve/http/error.h"

namespace qiv {

class ApiServer::Impl {
 public:
  explicit Impl(ApiOptions options) : _guard(options.guard), _report(options.report) {
    ApiContext context;
    context.current = [this] { return current(); };
    context.server_counts = [this] { return counts(); };
    context.why = std::move(options.why);
    context.actions = std::move(options.actions);
    context.events = &_events;
    context.max_queued_event_bytes = options.server.max_queued_event_bytes;
    Router router = api_router(context);
    add_static_routes(router, options.files);
    _server = std::make_unique<HttpServer>(std::move(options.server), std::move(router), _report);
    _listening = _server.get();
    _publisher = std::thread([this] { run(); });
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  ~Impl() {
    {
      const std::lock_guard lock(_mutex);
      _stopping = true;
    }
    _changed.notify_all();
    _publisher.join();
    _server->stop();
  }

  void publish(std::shared_ptr<const Snapshot> snapshot) {
    {
      const std::lock_guard lock(_mutex);
      _waiting = std::move(snapshot);
    }
    _changed.notify_all();
  }

  void wait_until_shown(std::uint64_t serial) {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] {
      return _stopping || (_current != nullptr && _current->snapshot().serial >= serial);
    });
  }

  ServerCounts counts() const {
    const HttpServer* const server = _listening;
    return server == nullptr ? ServerCounts() : server->counts();
  }

  HttpServer& server() { return *_server; }

 private:
  OutputsPtr current() {
    {
      const std::lock_guard lock(_mutex);
      if (_current != nullptr) return _current;
    }
    throw HttpError(HttpErrorCode::not_ready, "The service is starting.", "Ask again later.");
  }

  void run() {
    while (true) {
      std::shared_ptr<const Snapshot> snapshot;
      {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [this] { return _stopping || _waiting != nullptr; });
        if (_stopping) return;
        snapshot = std::exchange(_waiting, nullptr);
      }
      try {
        show(make_outputs(std::move(snapshot)));
      } catch (const std::exception& error) {
        if (_report) _report(std::string("snapshot is not shown: ") + error.what());
      }
    }
  }

  OutputsPtr make_outputs(std::shared_ptr<const Snapshot> snapshot) {
    GuardedFeed feed;
    if (snapshot->network == nullptr) {
      _index = nullptr;
    } else {
      if (_index == nullptr || _index->shared_network() != snapshot->network) {
        _index = std::make_shared<const NetworkIndex>(snapshot->network, snapshot->now);
      }
      feed = _guard.next(*snapshot);
    }
    return std::make_shared<const Outputs>(std::move(snapshot), _index, std::move(feed));
  }

  void show(const OutputsPtr& outputs) {
    {
      const std::lock_guard lock(_mutex);
      _current = outputs;
    }
    _changed.notify_all();
    if (outputs->has_network()) _events.publish(outputs);
  }

  FeedGuard _guard;                            ///< the publisher's own
  std::shared_ptr<const NetworkIndex> _index;  ///< the publisher's own
  const std::function<void(const std::string&)> _report;
  EventHub _events;

  std::mutex _mutex;
  std::condition_variable _changed;
  std::shared_ptr<const Snapshot> _waiting;
  OutputsPtr _current;
  bool _stopping = false;

  std::unique_ptr<HttpServer> _server;
  std::atomic<HttpServer*> _listening{nullptr};
  std::thread _publisher;
};

ApiServer::ApiServer(ApiOptions options) : _impl(std::make_unique<Impl>(std::move(options))) {}

ApiServer::~ApiServer() = default;

void ApiServer::publish(std::shared_ptr<const Snapshot> snapshot) {
  _impl->publish(std::move(snapshot));
}

void ApiServer::wait_until_shown(std::uint64_t serial) const {
  _impl->wait_until_shown(serial);
}

std::uint16_t ApiServer::port() const {
  return _impl->server().port();
}

std::string ApiServer::url() const {
  return _impl->server().url();
}

ServerCounts ApiServer::counts() const {
  return _impl->counts();
}

void ApiServer::stop() {
  _impl->server().stop();
}

Router api_router(const ApiContext& context) {
  Router router;
  add_feed_routes(router, context);
  add_timetable_routes(router, context);
  add_live_routes(router, context);
  add_service_routes(router, context);
  return router;
}

}  // namespace qiv
