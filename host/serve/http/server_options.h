#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qiv {

/// Where the server listens and what it puts up with.
struct ServerOptions {
  /// IPv4 or IPv6 address of the interface; "0.0.0.0" and "::" are all of them.
  std::string address = "127.0.0.1";
  /// 0: any that is free.
  std::uint16_t port = 0;
  /// What write operations must state as "Authorization: Bearer ..."; empty: there are none.
  std::string token;

  unsigned threads = 2;  ///< that serve connections
  unsigned max_connections = 4096;
  unsigned max_connections_per_ip = 2048;  ///< 0: no limit; a proxy in front is one address
  std::size_t max_uri_bytes = 4096;
  std::size_t max_header_bytes = 8192;
  std::size_t max_body_bytes = 65536;
  std::size_t max_slow_waiting = 16;               ///< requests that wait for a slow handler
  std::size_t max_queued_event_bytes = 1U << 20U;  ///< for a reader of events, before it is dropped

  /// A request must have come in full within this; so long, too, a connection may stay unused.
  std::chrono::milliseconds request_timeout{15'000};
  /// An answer must have gone out in full within this. Streams of events are exempt ...
  std::chrono::milliseconds answer_timeout{120'000};
  /// ... and get a sign of life so often.
  std::chrono::milliseconds heartbeat{15'000};
};

}  // namespace qiv
