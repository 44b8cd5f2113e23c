#ifndef QIV_PREFETCH_H
#define QIV_PREFETCH_H

#include <cstddef>

#include "BusRoute.h"
#include "Forecast.h"

/// Asks the processor for memory that an update is going to need, as soon as it is known where that
/// is, so that all of it comes at once. Among thousands of journeys none of it is near. Nothing
/// happens where there is no memory (any more).
class Prefetch {
 public:
  template <class Object>
  static void read(const Object* object) {
    read(object, sizeof(Object));
  }

  static void read(const void* begin, std::size_t size) {
    const char* const memory = static_cast<const char*>(begin);
    for (std::size_t i = 0; i < size && i < most; i += line) __builtin_prefetch(memory + i);
  }

  static void read(const BusRoute& route) {
    read(route._offset.data(), route._offset.size() * sizeof(double));
  }

  /// The numbers of each row, which are side by side before its names.
  static void write(const Forecast& forecast) {
    const char* const rows = reinterpret_cast<const char*>(forecast._forecast.data());
    const std::size_t size = forecast._forecast.size() * sizeof(Time);
    for (std::size_t i = 0; i < size && i < most; i += sizeof(Time)) {
      __builtin_prefetch(rows + i, 1);
    }
  }

 private:
  /// More than this would only drive out what came first.
  static const std::size_t most = 16384;
  static const std::size_t line = 64;
};

#endif  // QIV_PREFETCH_H
