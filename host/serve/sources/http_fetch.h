#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

namespace qiv {

/// A question to a web server.
struct FetchRequest {
  std::string url;                   ///< http or https
  std::vector<std::string> headers;  ///< "Name: value"
  std::string etag;                  ///< of what is there already; empty: none
  std::string last_modified;         ///< the same
  std::chrono::milliseconds connect_timeout{10'000};
  std::chrono::milliseconds timeout{30'000};            ///< for the whole answer
  std::uint64_t most_bytes = std::uint64_t{32} << 20U;  ///< unpacked
};

struct FetchAnswer {
  bool ok = false;            ///< there is a body
  bool not_modified = false;  ///< what is there already still holds
  std::string error;          ///< for people, with the remedy; empty when neither failed
  long status = 0;            ///< of HTTP; 0: no answer
  std::string body;           ///< unpacked
  std::string etag;
  std::string last_modified;
};

/// Asks once, and waits for the answer; ends early when `stop` is requested. Never throws for what
/// the network does. May be called by several threads.
FetchAnswer fetch(const FetchRequest& request, std::stop_token stop = {});

/// The address without user, password and query, which may hold keys: for people and logs.
std::string shown_url(const std::string& url);

}  // namespace qiv
