#pragma once

#include <microhttpd.h>

#include <optional>
#include <string>

#include "serve/http/answer.h"
#include "serve/http/error.h"
#include "serve/http/request.h"
#include "serve/http/server_options.h"

namespace qiv {

/// One request of a connection and its answer, while they are under way.
struct Exchange {
  std::string uri;  ///< as the request line has it
  bool begun = false;
  Request request;
  std::optional<Answer> answer;  ///< made elsewhere, while the connection was suspended
};

/// Reads all but the body, which comes later. Throws `HttpError` for what is beyond the limits or
/// not to be understood.
void read_head(MHD_Connection* connection, const char* method, const ServerOptions& options,
               Exchange& exchange);

/// The answer to a request that failed.
Answer error_answer(const HttpError& error);

}  // namespace qiv
