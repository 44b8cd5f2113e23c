#ifndef QIV_EXCEPTION_CONTRACT_H
#define QIV_EXCEPTION_CONTRACT_H

#include <exception>

/// Calls `body` and lets only `Allowed` pass: the guard of an operation that is declared
/// `QIV_THROWS_ONLY(Allowed)`. While the language has exception specifications the declaration
/// itself does it.
template <class Allowed, class Body>
inline void let_pass_only(Body body) {
#if __cplusplus < 201703L
  body();
#else
  try {
    body();
  } catch (const Allowed&) {
    throw;
  } catch (...) {
    std::terminate();
  }
#endif
}

#endif  // QIV_EXCEPTION_CONTRACT_H
