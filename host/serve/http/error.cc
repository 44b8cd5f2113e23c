#include "serve/http/error.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace qiv {

HttpErrorKind kind_of(HttpErrorCode code) {
  switch (code) {
    case HttpErrorCode::bad_request:
      return {"bad_request", 400};
    case HttpErrorCode::bad_parameter:
      return {"bad_parameter", 400};
    case HttpErrorCode::unauthorized:
      return {"unauthorized", 401};
    case HttpErrorCode::not_found:
      return {"not_found", 404};
    case HttpErrorCode::method_not_allowed:
      return {"method_not_allowed", 405};
    case HttpErrorCode::length_required:
      return {"length_required", 411};
    case HttpErrorCode::body_too_large:
      return {"body_too_large", 413};
    case HttpErrorCode::uri_too_long:
      return {"uri_too_long", 414};
    case HttpErrorCode::headers_too_large:
      return {"headers_too_large", 431};
    case HttpErrorCode::internal:
      return {"internal", 500};
    case HttpErrorCode::not_ready:
      return {"not_ready", 503};
    case HttpErrorCode::overloaded:
      return {"overloaded", 503};
  }
  return {"internal", 500};
}

HttpError::HttpError(HttpErrorCode code, const std::string& message, std::string remedy)
    : std::runtime_error(message), _code(code), _remedy(std::move(remedy)) {}

std::string error_json(const HttpError& error) {
  nlohmann::ordered_json json;
  json["code"] = kind_of(error.code()).name;
  json["message"] = error.what();
  json["remedy"] = error.remedy();
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace qiv
