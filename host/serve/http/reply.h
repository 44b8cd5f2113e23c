#pragma once

#include <memory>
#include <string>

#include "serve/http/answer.h"
#include "serve/http/request.h"

namespace qiv {

/// An answer as it goes out.
struct Reply {
  int status = 200;
  BlobPtr blob;                        ///< keeps the bytes
  const std::string* bytes = nullptr;  ///< plain or compressed; null: none, as for 304
  HttpHeaders headers;
};

/// Adds what follows from the body: its type, ETag and Last-Modified, compression where the reader
/// accepts it, and 304 without a body where the reader has it already. Precondition: the answer has
/// a body.
Reply reply_to(const Request& request, Answer answer);

/// True where a list of encodings, such as "br, gzip;q=0.5", accepts gzip.
bool accepts_gzip(std::string_view accept_encoding);

}  // namespace qiv
