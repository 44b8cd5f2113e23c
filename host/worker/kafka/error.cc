#include "worker/kafka/error.h"

namespace qiv::kafka {
namespace {

std::string describe(const std::string& tried, rd_kafka_resp_err_t code, const std::string& text) {
  return tried + ": " + rd_kafka_err2name(code) + ": " +
         (text.empty() ? rd_kafka_err2str(code) : text);
}

}  // namespace

Error::Error(const std::string& tried, rd_kafka_resp_err_t code, const std::string& text,
             bool needs_abort)
    : std::runtime_error(describe(tried, code, text)), _code(code), _needs_abort(needs_abort) {}

Error::Error(const std::string& tried, rd_kafka_error_t* error)
    : Error(tried, rd_kafka_error_code(error), rd_kafka_error_string(error)) {
  _needs_abort = rd_kafka_error_txn_requires_abort(error) != 0;
  _is_retriable = rd_kafka_error_is_retriable(error) != 0;
  rd_kafka_error_destroy(error);
}

void check(const std::string& tried, rd_kafka_resp_err_t code) {
  if (code != RD_KAFKA_RESP_ERR_NO_ERROR) throw Error(tried, code);
}

void check(const std::string& tried, rd_kafka_error_t* error) {
  if (error != nullptr) throw Error(tried, error);
}

}  // namespace qiv::kafka
