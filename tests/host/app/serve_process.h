#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>

namespace qiv::testing {

/// A `qiv serve` of its own process on a free port; is stopped with the object.
class ServeProcess {
 public:
  /// Starts it and waits for its address. Throws `std::runtime_error` when it ends instead.
  explicit ServeProcess(const std::filesystem::path& city);
  ServeProcess(const ServeProcess&) = delete;
  ServeProcess& operator=(const ServeProcess&) = delete;
  ~ServeProcess();

  /// Ends it by a signal and waits for its end.
  void end(int signal);

  /// The answer to a path; empty when there is none.
  std::string ask(const std::string& path) const;

  /// The value of a metric without labels; -1 when it cannot be had.
  double metric(const std::string& name) const;

 private:
  pid_t _process = -1;
  std::string _url;
};

/// Waits for a condition, for half a minute at most.
bool eventually(const std::function<bool()>& condition);

}  // namespace qiv::testing
