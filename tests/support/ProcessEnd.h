#ifndef QIV_TESTS_SUPPORT_PROCESS_END_H
#define QIV_TESTS_SUPPORT_PROCESS_END_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "support/Allocations.h"

// How an exception that an operation does not declare ends the process: through the handler that
// the host has installed with std::set_unexpected while the language has one, through that of
// std::set_terminate afterwards. The standard that the test is compiled for decides.

const int ended_by_the_handler = 42;

/// The exception that is being handled, as "bad_alloc", "invalid_argument: text", "exception" for a
/// plain one, or its mangled name. "none": an operation that is `noexcept` may give up before its
/// exception counts as handled.
inline std::string current_exception_text() {
  if (!std::current_exception()) return "none";
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return "bad_alloc";
  } catch (const std::invalid_argument& error) {
    return std::string("invalid_argument: ") + error.what();
  } catch (const std::exception& error) {
    return typeid(error) == typeid(std::exception) ? "exception" : typeid(error).name();
  } catch (const char* text) {
    return text;
  } catch (...) {
    return "something";
  }
}

[[noreturn]] inline void unexpected_handler_of_the_host() {
  std::fprintf(stderr, "unexpected handler: %s\n", current_exception_text().c_str());
  std::_Exit(ended_by_the_handler);
}

[[noreturn]] inline void terminate_handler_of_the_host() {
  std::fprintf(stderr, "terminate handler: %s\n", current_exception_text().c_str());
  std::_Exit(ended_by_the_handler);
}

#if __cplusplus < 201703L

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
inline void set_unexpected_handler(void (*handler)()) {
  std::set_unexpected(handler);
}
#pragma GCC diagnostic pop

inline void install_handler_of_the_host() {
  set_unexpected_handler(unexpected_handler_of_the_host);
}

inline std::string handled(const std::string& exception) {
  return "unexpected handler: " + exception;
}

#else

inline void install_handler_of_the_host() {
  std::set_terminate(terminate_handler_of_the_host);
}

inline std::string handled(const std::string& exception) {
  return "terminate handler: " + exception;
}

#endif

/// `statement` ends the process through the host's handler, which sees `exception`; where that is
/// empty, whatever it sees.
#define EXPECT_ENDS_THE_PROCESS(statement, exception) \
  EXPECT_EXIT(                                        \
      {                                               \
        install_handler_of_the_host();                \
        statement;                                    \
      },                                              \
      testing::ExitedWithCode(ended_by_the_handler), handled(exception))

/// How an operation with one failing allocation came out, as the exit code of a process of its own.
enum Outcome {
  went_wrong = 1,
  unharmed = 7,       ///< the allocation failed, and the operation did what it does otherwise
  nothing_failed = 8  ///< the operation needed fewer allocations
};

/// Of an operation whose result is right.
inline Outcome outcome() {
  return FailingAllocation::happened() ? unharmed : nothing_failed;
}

/// Of an operation whose result is a text.
inline Outcome outcome(const char* result, const char* expected) {
  return std::strcmp(result, expected) == 0 ? outcome() : went_wrong;
}

/// How often each outcome was met.
struct Outcomes {
  int ended = 0;
  int unharmed = 0;
};

/// Accepts the exit codes above and counts them.
class CountOutcome {
 public:
  CountOutcome(Outcomes& outcomes, bool& finished) : _outcomes(outcomes), _finished(finished) {}

  bool operator()(int status) const {
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : went_wrong;
    if (code == ended_by_the_handler) ++_outcomes.ended;
    if (code == unharmed) ++_outcomes.unharmed;
    if (code == nothing_failed) _finished = true;
    return code == ended_by_the_handler || code == unharmed || code == nothing_failed;
  }

 private:
  Outcomes& _outcomes;
  bool& _finished;
};

/// Calls `operation(i)` for i = 0, 1, ... in a process each, until it says that nothing failed: it
/// is to let its allocation i fail and to return its `Outcome`, or to end by the host's handler.
template <class Operation>
Outcomes fail_each_allocation(Operation operation) {
  Outcomes outcomes;
  bool finished = false;
  for (unsigned long i = 0; !finished && !testing::Test::HasFailure(); ++i) {
    SCOPED_TRACE("allocation " + std::to_string(i));
    EXPECT_EXIT(
        {
          install_handler_of_the_host();
          std::_Exit(operation(i));
        },
        CountOutcome(outcomes, finished), "");
  }
  return outcomes;
}

#endif  // QIV_TESTS_SUPPORT_PROCESS_END_H
