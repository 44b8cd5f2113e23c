#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qiv {

/// What can be wrong with a request. docs/api.md lists them.
enum class HttpErrorCode : std::uint8_t {
  bad_request,         ///< not to be understood
  bad_parameter,       ///< a parameter of the query or of the path has no such value
  unauthorized,        ///< the token is missing or wrong
  not_found,           ///< no such path or thing
  method_not_allowed,  ///< the path exists, the method does not
  length_required,     ///< a body without a stated length
  body_too_large,
  uri_too_long,
  headers_too_large,
  internal,    ///< a fault of this program
  not_ready,   ///< what is asked for does not exist yet
  overloaded,  ///< too many of its kind at once
};

/// Name and HTTP status of an error: the one place where they are mapped.
struct HttpErrorKind {
  const char* name;
  int status;
};
HttpErrorKind kind_of(HttpErrorCode code);

/// Ends the handling of a request. The message says what is wrong, the remedy what to do.
class HttpError : public std::runtime_error {
 public:
  HttpError(HttpErrorCode code, const std::string& message, std::string remedy);

  HttpErrorCode code() const { return _code; }
  const std::string& remedy() const { return _remedy; }

 private:
  HttpErrorCode _code;
  std::string _remedy;
};

/// {"code": ..., "message": ..., "remedy": ...}
std::string error_json(const HttpError& error);

}  // namespace qiv
