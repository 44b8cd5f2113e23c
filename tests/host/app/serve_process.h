#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "host/app/program.h"

namespace qiv::testing {

/// A `qiv serve` of its own process on a free port; is stopped with the object.
class ServeProcess {
 public:
  /// Starts it and waits for its address. Throws `std::runtime_error` when it ends instead.
  explicit ServeProcess(const std::filesystem::path& city);

  /// Ends it by a signal and waits for its end.
  void end(int signal) { _program.end(signal); }

  /// The answer to a path; empty when there is none.
  std::string ask(const std::string& path) const;

  /// The value of a metric without labels; -1 when it cannot be had.
  double metric(const std::string& name) const;

 private:
  Program _program;
  std::string _url;
};

/// Waits for a condition, for half a minute at most.
bool eventually(const std::function<bool()>& condition);

}  // namespace qiv::testing
