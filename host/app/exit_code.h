#pragma once

#include <stdexcept>
#include <string>

namespace qiv {

/// What the program's exit code means; `qiv --help` lists them.
enum class ExitCode : int {
  ok = 0,
  failed = 1,   ///< the work could not go on
  usage = 2,    ///< the command line or the configuration is wrong
  no_data = 3,  ///< the city has nothing to work on: no positions, no such day, no such trip
};

/// Ends the program with a message that names the remedy.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode code, const std::string& text) : std::runtime_error(text), _code(code) {}
  ExitCode code() const { return _code; }

 private:
  ExitCode _code;
};

}  // namespace qiv
