#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "serve/http/blob.h"
#include "serve/http/event_stream.h"

namespace qiv {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

/// What a handler answers: a body, or a stream of events that goes on.
struct Answer {
  int status = 200;
  BlobPtr body;
  HttpHeaders headers;  ///< beside those that follow from the body
  std::shared_ptr<EventStream> events;
};

}  // namespace qiv
