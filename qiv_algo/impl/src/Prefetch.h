#ifndef QIV_PREFETCH_H
#define QIV_PREFETCH_H

#include <cstddef>

/// Asks the processor for memory that is going to be needed. Nothing happens where there is no
/// memory (any more).
class Prefetch {
 public:
  /// Into the second cache: the first would be too small for all that comes at once, and on some
  /// processors a line that was asked into the first one costs its reader more.
  static void read(const void* begin, std::size_t size) {
    has_an_effect();
    const char* const memory = static_cast<const char*>(begin);
    for (std::size_t i = 0; i < size && i < most; i += line) __builtin_prefetch(memory + i, 0, 2);
  }

  template <class Object>
  static void read(const Object* object) {
    read(object, sizeof(Object));
  }

  /// Objects side by side, for writing to the beginning of each.
  template <class Object>
  static void write(const Object* begin, std::size_t count) {
    has_an_effect();
    for (std::size_t i = 0; i < count && i * sizeof(Object) < most; ++i) {
      __builtin_prefetch(begin + i, 1);
    }
  }

 private:
  /// g++ 12 takes a function that does nothing but this for one without effects, and leaves out
  /// calls of it.
  static void has_an_effect() { __asm__ __volatile__(""); }

  /// What is read waits behind what was asked for, so more than this would only delay it.
  static const std::size_t most = 32768;
  static const std::size_t line = 64;
};

#endif  // QIV_PREFETCH_H
