#include "serve/http/server.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "serve/http/background.h"
#include "serve/http/connections.h"
#include "serve/http/error.h"
#include "serve/http/exchange.h"
#include "serve/http/reply.h"
#include "serve/http/token.h"

namespace qiv {
namespace {

using Clock = Connections::Clock;

// What libmicrohttpd may keep for a connection: request line, headers, the answer's headers. What
// does not fit it refuses by itself.
constexpr std::size_t connection_memory = 32768;
constexpr std::size_t event_block = 1024;

/// What every answer says that does not say otherwise. A browser that shows one runs nothing in it,
/// and in no other site's frame.
constexpr std::array<std::pair<const char*, const char*>, 4> usual_headers = {{
    {"Cache-Control", "no-cache"},
    {"Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
}};

/// An address to bind to.
struct Address {
  sockaddr_storage storage{};
  bool is_ipv6 = false;
};

Address parse_address(const std::string& text, std::uint16_t port) {
  Address address;
  in_addr four{};
  in6_addr six{};
  if (::inet_pton(AF_INET, text.c_str(), &four) == 1) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr = four;
    std::memcpy(&address.storage, &to, sizeof to);
  } else if (::inet_pton(AF_INET6, text.c_str(), &six) == 1) {
    sockaddr_in6 to{};
    to.sin6_family = AF_INET6;
    to.sin6_port = htons(port);
    to.sin6_addr = six;
    std::memcpy(&address.storage, &to, sizeof to);
    address.is_ipv6 = true;
  } else {
    throw std::runtime_error("cannot listen on '" + text +
                             "': this is no IP address; write one such as 127.0.0.1 or ::1");
  }
  return address;
}

/// Every connection needs a file descriptor, and the usual limit is below the number of readers of
/// events that a service has.
void raise_file_limit(rlim_t wanted) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

Connections::Id connection_id(MHD_Connection* connection) {
  const MHD_ConnectionInfo* const info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
  return info == nullptr ? 0 : reinterpret_cast<Connections::Id>(info->socket_context);
}

std::size_t leave_encoded(void* /*closure*/, MHD_Connection* /*connection*/, char* text) {
  return std::strlen(text);
}

}  // namespace

class HttpServer::Impl {
 public:
  Impl(ServerOptions options, Router router, std::function<void(const std::string&)> report)
      : _options(std::move(options)),
        _router(std::move(router)),
        _report(std::move(report)),
        _background(_options.max_slow_waiting) {
    raise_file_limit(_options.max_connections + 256U);
    start();
    _ticker = std::thread([this] { tick(); });
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() { stop(); }

  std::uint16_t port() const { return _port; }
  const ServerOptions& options() const { return _options; }

  ServerCounts counts() const {
    ServerCounts counts;
    for (std::size_t i = 0; i < counts.answers.size(); ++i) counts.answers[i] = _answers[i];
    counts.connections = _connections.count();
    counts.late_connections = _connections.late();
    const std::lock_guard lock(_streams_mutex);
    counts.event_clients = _streams.size();
    counts.event_clients_total = _streams_total;
    counts.event_clients_dropped = _streams_dropped;
    return counts;
  }

  void stop() {
    if (_daemon == nullptr) return;
    {
      const std::lock_guard lock(_ticker_mutex);
      _stopping = true;
    }
    _ticker_wakes.notify_one();
    _ticker.join();
    for (const auto& stream : streams(/*stopping=*/true)) stream->close();
    _background.stop();
    MHD_stop_daemon(_daemon);
    _daemon = nullptr;
  }

 private:
  /// A reader of events, as libmicrohttpd knows it.
  struct EventReader {
    Impl& server;
    MHD_Connection* connection;
    std::shared_ptr<EventStream> stream;
  };

  void start() {
    const Address address = parse_address(_options.address, _options.port);
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    if (address.is_ipv6) flags |= MHD_USE_IPv6;
    std::vector<MHD_OptionItem> items = {
        {MHD_OPTION_CONNECTION_LIMIT, static_cast<std::intptr_t>(_options.max_connections), {}},
        {MHD_OPTION_PER_IP_CONNECTION_LIMIT,
         static_cast<std::intptr_t>(_options.max_connections_per_ip),
         {}},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<std::intptr_t>(connection_memory), {}},
        {MHD_OPTION_STRICT_FOR_CLIENT, 1, {}}};
    if (_options.threads > 1) {
      items.push_back(
          {MHD_OPTION_THREAD_POOL_SIZE, static_cast<std::intptr_t>(_options.threads), {}});
    }
    items.push_back({MHD_OPTION_END, 0, nullptr});
    _daemon = MHD_start_daemon(
        flags, _options.port, nullptr, nullptr, &Impl::on_request, this, MHD_OPTION_SOCK_ADDR,
        reinterpret_cast<const sockaddr*>(&address.storage), MHD_OPTION_NOTIFY_COMPLETED,
        &Impl::on_completed, this, MHD_OPTION_NOTIFY_CONNECTION, &Impl::on_connection, this,
        MHD_OPTION_URI_LOG_CALLBACK, &Impl::on_uri, this, MHD_OPTION_UNESCAPE_CALLBACK,
        &leave_encoded, nullptr, MHD_OPTION_ARRAY, items.data(), MHD_OPTION_END);
    if (_daemon == nullptr) {
      throw std::runtime_error("cannot listen on " + _options.address + " port " +
                               std::to_string(_options.port) + ": " + std::strerror(errno) +
                               "; choose another port, or 0 for any that is free");
    }
    const MHD_DaemonInfo* const info = MHD_get_daemon_info(_daemon, MHD_DAEMON_INFO_BIND_PORT);
    _port = info == nullptr ? _options.port : info->port;
  }

  static void* on_uri(void* /*self*/, const char* uri, MHD_Connection* /*connection*/) {
    auto* const exchange = new Exchange;
    exchange->uri = uri;
    return exchange;
  }

  static void on_connection(void* self, MHD_Connection* connection, void** context,
                            MHD_ConnectionNotificationCode code) {
    Impl& server = *static_cast<Impl*>(self);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const MHD_ConnectionInfo* const info =
          MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
      const auto deadline = Clock::now() + server._options.request_timeout;
      *context = reinterpret_cast<void*>(server._connections.open(info->connect_fd, deadline));
    } else {
      server._connections.close(reinterpret_cast<Connections::Id>(*context));
    }
  }

  static void on_completed(void* self, MHD_Connection* connection, void** context,
                           MHD_RequestTerminationCode /*code*/) {
    Impl& server = *static_cast<Impl*>(self);
    delete static_cast<Exchange*>(*context);
    *context = nullptr;
    server._connections.set_deadline(connection_id(connection),
                                     Clock::now() + server._options.request_timeout);
  }

  static MHD_Result on_request(void* self, MHD_Connection* connection, const char* /*url*/,
                               const char* method, const char* /*version*/, const char* data,
                               std::size_t* size, void** context) {
    return static_cast<Impl*>(self)->handle(connection, method, data, *size,
                                            *static_cast<Exchange*>(*context));
  }

  /// Called when the headers are there, for every part of the body, and at the end.
  MHD_Result handle(MHD_Connection* connection, const char* method, const char* data,
                    std::size_t& size, Exchange& exchange) {
    try {
      if (!exchange.begun) {
        exchange.begun = true;
        read_head(connection, method, _options, exchange);
        return MHD_YES;
      }
      if (size > 0) {
        exchange.request.body.append(data, size);
        size = 0;
        return MHD_YES;
      }
      _connections.set_deadline(connection_id(connection), Clock::now() + _options.answer_timeout);
      if (exchange.answer) return send(connection, exchange, std::move(*exchange.answer));
      return answer(connection, exchange);
    } catch (const HttpError& error) {
      return send(connection, exchange, error_answer(error));
    } catch (const std::exception& error) {
      return send(connection, exchange, fault(exchange, error));
    }
  }

  MHD_Result answer(MHD_Connection* connection, Exchange& exchange) {
    Request& request = exchange.request;
    const HttpRoute& route = find_route(request);
    if (route.kind == RouteKind::quick) return send(connection, exchange, route.handler(request));
    // Suspended before the job can finish, and resume it.
    MHD_suspend_connection(connection);
    const bool taken = _background.submit([this, connection, &exchange, &route] {
      exchange.answer = call(route, exchange);
      MHD_resume_connection(connection);
    });
    if (!taken) {
      exchange.answer = error_answer(
          {HttpErrorCode::overloaded, "Too many such requests are waiting.", "Ask again later."});
      MHD_resume_connection(connection);
    }
    return MHD_YES;
  }

  const HttpRoute& find_route(Request& request) const {
    const HttpRoute& route =
        _router.find(request.method, request.target.segments, request.parameters);
    if (route.kind != RouteKind::write) return route;
    if (_options.token.empty()) {
      throw HttpError(HttpErrorCode::not_found, "Write operations are switched off.",
                      "Set a token in the configuration.");
    }
    if (!is_authorized(request.header("authorization"), _options.token)) {
      throw HttpError(HttpErrorCode::unauthorized, "The token is missing or wrong.",
                      "State the configuration's token as 'Authorization: Bearer TOKEN'.");
    }
    return route;
  }

  Answer call(const HttpRoute& route, const Exchange& exchange) const {
    try {
      return route.handler(exchange.request);
    } catch (const HttpError& error) {
      return error_answer(error);
    } catch (const std::exception& error) {
      return fault(exchange, error);
    }
  }

  Answer fault(const Exchange& exchange, const std::exception& error) const {
    if (_report) _report(exchange.uri + ": " + error.what());
    return error_answer({HttpErrorCode::internal, "The service has a fault.",
                         "Look at the service's log, and report it."});
  }

  MHD_Result send(MHD_Connection* connection, const Exchange& exchange, Answer answer) {
    if (answer.status == 405) {
      answer.headers.emplace_back("Allow", _router.allowed(exchange.request.target.segments));
    }
    if (answer.events) return send_events(connection, exchange, std::move(answer));
    const Reply reply = reply_to(exchange.request, std::move(answer));
    MHD_Response* const response =
        reply.bytes == nullptr
            ? MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT)
            : MHD_create_response_from_buffer_with_free_callback_cls(
                  reply.bytes->size(), const_cast<char*>(reply.bytes->data()),
                  [](void* blob) { delete static_cast<BlobPtr*>(blob); }, new BlobPtr(reply.blob));
    return queue(connection, reply.status, reply.headers, response);
  }

  MHD_Result send_events(MHD_Connection* connection, const Exchange& exchange, Answer answer) {
    answer.headers.emplace_back("Content-Type", "text/event-stream");
    if (exchange.request.method == "HEAD") {
      answer.events->close();
      return queue(connection, answer.status, answer.headers,
                   MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT));
    }
    const Connections::Id id = connection_id(connection);
    answer.events->attach([connection] { MHD_resume_connection(connection); },
                          [this, id] { _connections.shut_down(id); });
    if (!add_stream(answer.events)) {
      answer.events->detach();
      return send(connection, exchange,
                  error_answer({HttpErrorCode::not_ready, "The service is about to end.",
                                "Ask again later."}));
    }
    _connections.clear_deadline(id);
    MHD_Response* const response = MHD_create_response_from_callback(
        MHD_SIZE_UNKNOWN, event_block, &Impl::read_events,
        new EventReader{*this, connection, std::move(answer.events)}, &Impl::end_events);
    return queue(connection, answer.status, answer.headers, response);
  }

  static ssize_t read_events(void* closure, std::uint64_t /*position*/, char* to,
                             std::size_t size) {
    EventReader& reader = *static_cast<EventReader*>(closure);
    const auto read =
        reader.stream->read(to, size, [&reader] { MHD_suspend_connection(reader.connection); });
    if (read == EventStream::Read::ended) return MHD_CONTENT_READER_END_OF_STREAM;
    return static_cast<ssize_t>(size);
  }

  static void end_events(void* closure) {
    const std::unique_ptr<EventReader> reader(static_cast<EventReader*>(closure));
    reader->stream->detach();
    reader->server.remove_stream(reader->stream);
  }

  MHD_Result queue(MHD_Connection* connection, int status, const HttpHeaders& headers,
                   MHD_Response* response) {
    if (response == nullptr) return MHD_NO;
    for (const auto& [name, value] : headers) {
      MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    for (const auto& [name, value] : usual_headers) {
      const bool is_stated = std::any_of(headers.begin(), headers.end(),
                                         [&](const auto& header) { return header.first == name; });
      if (!is_stated) MHD_add_response_header(response, name, value);
    }
    const MHD_Result result =
        MHD_queue_response(connection, static_cast<unsigned>(status), response);
    MHD_destroy_response(response);
    ++_answers[static_cast<std::size_t>(status / 100)];
    return result;
  }

  bool add_stream(const std::shared_ptr<EventStream>& stream) {
    const std::lock_guard lock(_streams_mutex);
    if (_streams_end) return false;
    _streams.insert(stream);
    ++_streams_total;
    return true;
  }

  void remove_stream(const std::shared_ptr<EventStream>& stream) {
    const std::lock_guard lock(_streams_mutex);
    if (_streams.erase(stream) > 0 && stream->dropped()) ++_streams_dropped;
  }

  std::vector<std::shared_ptr<EventStream>> streams(bool stopping) {
    const std::lock_guard lock(_streams_mutex);
    _streams_end |= stopping;
    return {_streams.begin(), _streams.end()};
  }

  /// Looks after the connections: signs of life, and those whose time is over.
  void tick() {
    const auto heartbeat = std::make_shared<const std::string>(": \n\n");
    const auto step = std::clamp(
        std::min({_options.heartbeat, _options.request_timeout, _options.answer_timeout}) / 4,
        std::chrono::milliseconds(10), std::chrono::milliseconds(1000));
    auto next_heartbeat = Clock::now() + _options.heartbeat;
    std::unique_lock lock(_ticker_mutex);
    while (!_ticker_wakes.wait_for(lock, step, [this] { return _stopping; })) {
      const auto now = Clock::now();
      _connections.shut_down_late(now);
      if (now < next_heartbeat) continue;
      next_heartbeat = now + _options.heartbeat;
      for (const auto& stream : streams(/*stopping=*/false)) stream->push_heartbeat(heartbeat);
    }
  }

  const ServerOptions _options;
  const Router _router;
  const std::function<void(const std::string&)> _report;
  Connections _connections;
  Background _background;
  MHD_Daemon* _daemon = nullptr;
  std::uint16_t _port = 0;

  std::array<std::atomic<std::uint64_t>, 6> _answers{};

  mutable std::mutex _streams_mutex;
  std::set<std::shared_ptr<EventStream>> _streams;
  std::uint64_t _streams_total = 0;
  std::uint64_t _streams_dropped = 0;
  bool _streams_end = false;

  std::mutex _ticker_mutex;
  std::condition_variable _ticker_wakes;
  bool _stopping = false;
  std::thread _ticker;
};

HttpServer::HttpServer(ServerOptions options, Router router,
                       std::function<void(const std::string&)> report)
    : _impl(std::make_unique<Impl>(std::move(options), std::move(router), std::move(report))) {}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::port() const {
  return _impl->port();
}

std::string HttpServer::url() const {
  const std::string& address = _impl->options().address;
  const bool is_ipv6 = address.find(':') != std::string::npos;
  return "http://" + (is_ipv6 ? "[" + address + "]" : address) + ":" + std::to_string(port());
}

ServerCounts HttpServer::counts() const {
  return _impl->counts();
}

void HttpServer::stop() {
  _impl->stop();
}

}  // namespace qiv
