#include "host/serve/http/http_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

namespace qiv::testing {

RawConnection::RawConnection(std::uint16_t port, int receive_buffer)
    : _socket(::socket(AF_INET, SOCK_STREAM, 0)) {
  const timeval limit{10, 0};
  ::setsockopt(_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  if (receive_buffer > 0) {
    ::setsockopt(_socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
  }
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(port);
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(_socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
    ::close(_socket);
    throw std::runtime_error("cannot connect to port " + std::to_string(port));
  }
}

RawConnection::~RawConnection() {
  ::close(_socket);
}

bool RawConnection::send(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t sent = ::send(_socket, text.data(), text.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

Response RawConnection::read_response(bool has_body) {
  const std::string head = read_until("\r\n\r\n");
  Response response;
  if (head.empty()) return response;
  std::from_chars(head.data() + 9, head.data() + 12, response.status);
  for (std::size_t at = head.find("\r\n") + 2; at + 2 < head.size();) {
    const std::size_t end = head.find("\r\n", at);
    const std::size_t colon = head.find(": ", at);
    std::string name = head.substr(at, colon - at);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return static_cast<char>(std::tolower(c)); });
    response.headers[name] = head.substr(colon + 2, end - colon - 2);
    at = end + 2;
  }
  if (!has_body || response.status == 304) return response;
  const std::size_t length = std::stoul(response.headers["content-length"]);
  while (_buffer.size() < length && receive()) {
  }
  response.body = _buffer.substr(0, length);
  _buffer.erase(0, length);
  return response;
}

std::string RawConnection::read_until(std::string_view text) {
  std::size_t at = std::string::npos;
  while ((at = _buffer.find(text)) == std::string::npos) {
    if (!receive()) return {};
  }
  std::string result = _buffer.substr(0, at + text.size());
  _buffer.erase(0, at + text.size());
  return result;
}

std::string RawConnection::read_event() {
  std::size_t at = std::string::npos;
  while ((at = _events.find("\n\n")) == std::string::npos) {
    const std::string line = read_until("\r\n");
    std::size_t size = 0;
    std::from_chars(line.data(), line.data() + line.size(), size, 16);
    if (size == 0) return {};
    while (_buffer.size() < size + 2) {
      if (!receive()) return {};
    }
    _events += _buffer.substr(0, size);
    _buffer.erase(0, size + 2);
  }
  std::string event = _events.substr(0, at + 2);
  _events.erase(0, at + 2);
  return event;
}

bool RawConnection::is_closed() {
  while (receive()) {
  }
  return errno != EAGAIN && errno != EWOULDBLOCK;
}

bool RawConnection::receive() {
  std::array<char, 16384> part{};
  errno = 0;
  const ssize_t n = ::recv(_socket, part.data(), part.size(), 0);
  if (n <= 0) return false;
  _buffer.append(part.data(), static_cast<std::size_t>(n));
  return true;
}

Response request(std::uint16_t port, const std::string& method, const std::string& target,
                 const std::map<std::string, std::string>& headers, const std::string& body) {
  RawConnection connection(port);
  std::string text = method + " " + target + " HTTP/1.1\r\nHost: localhost\r\n";
  for (const auto& [name, value] : headers) text += name + ": " + value + "\r\n";
  if (!body.empty()) text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  connection.send(text + "\r\n" + body);
  return connection.read_response(method != "HEAD");
}

}  // namespace qiv::testing
