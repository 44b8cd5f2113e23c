#ifndef QIV_TESTS_DIFFERENTIAL_OUTCOME_H
#define QIV_TESTS_DIFFERENTIAL_OUTCOME_H

#include <string>
#include <vector>

namespace differential {

struct OutcomeLine {
  std::string text;
  bool by_exp = false;  ///< a value that depends on the last bit of the C library's `exp`
};

/// Everything that a host can observe of one call, to the last bit.
using Outcome = std::vector<OutcomeLine>;

/// A double in hexadecimal. Which NaN it is does not count: the language leaves that open for a
/// computed one.
std::string number(double value);

/// In double quotes, line feeds and other control characters, quotes and backslashes escaped.
std::string quoted(const std::string& text);

/// Both lists side by side, equal lines once; empty if all are equal.
std::string difference(const std::vector<std::string>& twin,
                       const std::vector<std::string>& library);
std::string difference(const Outcome& twin, const Outcome& library);

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_OUTCOME_H
