#pragma once

#include <librdkafka/rdkafka.h>

#include <stdexcept>
#include <string>

namespace qiv::kafka {

/// What the Kafka client could not do. The text names what was tried and the client's error, such
/// as "_TRANSPORT".
class Error : public std::runtime_error {
 public:
  Error(const std::string& tried, rd_kafka_resp_err_t code, const std::string& text = "",
        bool needs_abort = false);
  /// Takes `error` over.
  Error(const std::string& tried, rd_kafka_error_t* error);

  rd_kafka_resp_err_t code() const { return _code; }
  /// The transaction must be given up; a new one may be begun.
  bool needs_abort() const { return _needs_abort; }
  /// The same call may be made again.
  bool is_retriable() const { return _is_retriable; }

 private:
  rd_kafka_resp_err_t _code;
  bool _needs_abort = false;
  bool _is_retriable = false;
};

/// Throws for any code but success.
void check(const std::string& tried, rd_kafka_resp_err_t code);
/// Throws unless `error` is null; takes it over.
void check(const std::string& tried, rd_kafka_error_t* error);

}  // namespace qiv::kafka
