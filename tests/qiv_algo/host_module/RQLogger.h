#ifndef QIV_TESTS_HOST_MODULE_RQLOGGER_H
#define QIV_TESTS_HOST_MODULE_RQLOGGER_H

#include "host_log.h"

// The message module of a host: it stands in the place of the product's own, and the library is
// compiled against it. It has the names that the library may use, and no more.

class RQLogger {
 public:
  typedef HostString string_type;

  struct RQLogLevel {
    enum Level { info, error };
  };

  static void Error(const string_type& function_name, const string_type& text) {
    HostLog::take("Error " + function_name.text() + ": " + text.text());
  }

  static void InfoMessage(const char* function_name, const char* message_id) {
    HostLog::take(std::string("InfoMessage ") + function_name + " " + message_id);
  }
};

template <class... Arguments>
void RQLogV(const char* function_name, RQLogger::RQLogLevel::Level level, const char* message_id,
            const char* type_codes, const Arguments&... arguments) {
  std::string entry = level == RQLogger::RQLogLevel::error ? "error " : "info ";
  entry += std::string(function_name) + " " + message_id + " " + type_codes;
  const int in_order[] = {0, (entry += " " + written(arguments), 0)...};
  static_cast<void>(in_order);
  HostLog::take(entry);
}

#endif  // QIV_TESTS_HOST_MODULE_RQLOGGER_H
