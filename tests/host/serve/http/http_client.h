#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qiv::testing {

/// An answer, read in full; header names in lower case.
struct Response {
  int status = 0;
  std::map<std::string, std::string> headers;
  std::string body;
};

/// A connection to a port of this machine, for requests that no library would send. Every wait ends
/// after ten seconds.
class RawConnection {
 public:
  explicit RawConnection(std::uint16_t port, int receive_buffer = 0);
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;
  ~RawConnection();

  /// False when the other side has closed.
  bool send(std::string_view text) const;
  /// Reads one answer whose length is stated; status 0 when the other side closes before.
  Response read_response(bool has_body = true);
  /// Reads until what was read since the last call has `text`, and gives what has come up to its
  /// end; empty when the other side closes before.
  std::string read_until(std::string_view text);
  /// Reads the next event of a stream whose head has been read, up to its empty line, unpacking the
  /// chunks in which it comes; empty when the other side closes before.
  std::string read_event();
  /// Reads until the other side closes; false when it does not.
  bool is_closed();

 private:
  bool receive();

  int _socket;
  std::string _buffer;
  std::string _events;  ///< unpacked
};

/// One request on a connection of its own.
Response request(std::uint16_t port, const std::string& method, const std::string& target,
                 const std::map<std::string, std::string>& headers = {},
                 const std::string& body = {});

inline Response get(std::uint16_t port, const std::string& target,
                    const std::map<std::string, std::string>& headers = {}) {
  return request(port, "GET", target, headers);
}

}  // namespace qiv::testing
