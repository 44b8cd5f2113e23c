#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace qiv::testing {

/// A `qiv` of its own process; is killed with the object.
class Program {
 public:
  /// Starts it with these arguments, and these environment variables beside those of the test.
  /// Throws `std::runtime_error` when that fails.
  explicit Program(const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment = {});
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  /// Reads the standard output up to the end of the first line that holds `text`, and returns this
  /// line; empty when the program ends without one.
  std::string wait_for(const std::string& text);
  /// The address that the program says it listens at, such as "http://127.0.0.1:40000"; empty when
  /// it ends instead.
  std::string wait_for_url();

  /// Waits for its end. Returns its exit code; that of one that was ended by a signal is negative.
  int wait();
  /// Sends a signal, and waits.
  int end(int signal);

  /// All that it has said on its standard error stream. To be called after its end.
  std::string errors();

 private:
  pid_t _process = -1;
  int _out = -1;
  int _err = -1;
  int _code = 0;
};

}  // namespace qiv::testing
