#ifndef QIV_ALGO_CONFIG_H
#define QIV_ALGO_CONFIG_H

/// @file
/// The only header that asks for the language version or the compiler. Its macros change
/// attributes, never a member, a layout or a name: a host of any standard from C++11 on sees the
/// same classes.

#if defined(__GNUC__)
/// Marks what the shared library exports.
#define QIV_ALGO_API __attribute__((visibility("default")))
/// Marks private operations of exported classes, which are no part of the contract.
#define QIV_ALGO_LOCAL __attribute__((visibility("hidden")))
#else
#define QIV_ALGO_API
#define QIV_ALGO_LOCAL
#endif

#if defined(__cplusplus) && __cplusplus < 201703L
/// The operation lets only `type` pass; any other exception takes the standard unexpected-exception
/// path and ends the process.
#define QIV_THROWS_ONLY(type) throw(type)
/// The operation lets nothing pass; an exception takes the standard unexpected-exception path.
#define QIV_THROWS_NOTHING throw()
#else
/// The language no longer has the unexpected-exception path: the operation guards itself, and any
/// exception other than `type` takes the terminate handler.
#define QIV_THROWS_ONLY(type)
/// The operation lets nothing pass; an exception takes the terminate handler.
#define QIV_THROWS_NOTHING noexcept
#endif

/// Between these two, what the contract asks for and compilers advise against is declared without a
/// warning to the including host: the exception specifications above, a non-const `what()` that
/// hides the const one of the standard exception class, an enumerator named like a C function.
#if defined(__GNUC__)
#define QIV_CONTRACT_BEGIN                                                          \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wdeprecated\"") \
      _Pragma("GCC diagnostic ignored \"-Woverloaded-virtual\"")                    \
          _Pragma("GCC diagnostic ignored \"-Wshadow\"")
#define QIV_CONTRACT_END _Pragma("GCC diagnostic pop")
#else
#define QIV_CONTRACT_BEGIN
#define QIV_CONTRACT_END
#endif

/// Makes `value` opaque to the optimiser, so that a product is rounded to `double` before it is
/// added to anything: no compiler flag can contract or reassociate across it. Costs no instruction.
#if defined(__GNUC__) && defined(__x86_64__)
#define QIV_ROUND_HERE(value) __asm__("" : "+x"(value))
#elif defined(__GNUC__) && defined(__aarch64__)
#define QIV_ROUND_HERE(value) __asm__("" : "+w"(value))
#elif defined(__GNUC__)
#define QIV_ROUND_HERE(value) __asm__("" : "+m"(value))
#else
#define QIV_ROUND_HERE(value)                   \
  do {                                          \
    volatile double qiv_rounded_here = (value); \
    (value) = qiv_rounded_here;                 \
  } while (false)
#endif

#endif  // QIV_ALGO_CONFIG_H
