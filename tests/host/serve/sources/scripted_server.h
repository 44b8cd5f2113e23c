#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace qiv::testing {

/// A web server on loopback that answers as its script says, however wrong that is.
class ScriptedServer {
 public:
  /// Writes the answer to a request; the connection is closed when it returns. `send` returns false
  /// when the client has gone.
  using Send = std::function<bool(const std::string& bytes)>;
  using Script = std::function<void(const std::string& request, const Send& send)>;

  explicit ScriptedServer(Script script) : _script(std::move(script)) {
    _listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(_listener, any, size) != 0 || listen(_listener, 16) != 0 ||
        getsockname(_listener, any, &size) != 0) {
      throw std::runtime_error("no port on loopback");
    }
    _port = ntohs(address.sin_port);
    _thread = std::jthread([this] { serve(); });
  }
  ~ScriptedServer() {
    _stopped = true;
    shutdown(_listener, SHUT_RDWR);
    _thread.join();
    close(_listener);
  }

  std::string url(const std::string& path = "/feed") const {
    return "http://127.0.0.1:" + std::to_string(_port) + path;
  }
  std::vector<std::string> requests() const {
    const std::lock_guard lock(_mutex);
    return _requests;
  }
  bool stopped() const { return _stopped; }

  static std::string answer(const std::string& body, const std::string& headers = "",
                            const std::string& status = "200 OK") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
           headers + "Connection: close\r\n\r\n" + body;
  }

 private:
  void serve() {
    while (!_stopped) {
      const int client = accept(_listener, nullptr, nullptr);
      if (client < 0) continue;
      std::string request;
      char buffer[4096];
      while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t got = recv(client, buffer, sizeof buffer, 0);
        if (got <= 0) break;
        request.append(buffer, static_cast<std::size_t>(got));
      }
      {
        const std::lock_guard lock(_mutex);
        _requests.push_back(request);
      }
      _script(request, [&](const std::string& bytes) {
        return !_stopped && ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
                                static_cast<ssize_t>(bytes.size());
      });
      close(client);
    }
  }

  Script _script;
  int _listener = -1;
  int _port = 0;
  std::atomic<bool> _stopped = false;
  mutable std::mutex _mutex;
  std::vector<std::string> _requests;
  std::jthread _thread;
};

}  // namespace qiv::testing
