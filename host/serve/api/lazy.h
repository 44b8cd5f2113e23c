#pragma once

#include <mutex>
#include <optional>

namespace qiv {

/// A value that is made when it is first asked for, and once only. Safe to share between threads:
/// those who ask meanwhile wait. When making throws, the next one tries again.
template <class T>
class Lazy {
 public:
  template <class Make>
  const T& get(Make&& make) const {
    const std::lock_guard lock(_mutex);
    if (!_value) _value.emplace(make());
    return *_value;
  }

 private:
  mutable std::mutex _mutex;
  mutable std::optional<T> _value;
};

}  // namespace qiv
