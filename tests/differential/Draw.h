#ifndef QIV_TESTS_DIFFERENTIAL_DRAW_H
#define QIV_TESTS_DIFFERENTIAL_DRAW_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace differential {

/// Where the makers of streams take their choices from.
class Draw {
 public:
  virtual ~Draw() = default;

  /// A number from 0 to `count` - 1. Precondition: 1 <= `count` <= 2^16.
  virtual unsigned int below(unsigned int count) = 0;

  /// True when every further number is 0.
  virtual bool exhausted() const = 0;

  bool one_in(unsigned int count) { return below(count) == 0; }
  int between(int low, int high) {
    return low + static_cast<int>(below(static_cast<unsigned int>(high - low + 1)));
  }
  template <class Value>
  const Value& of(const std::vector<Value>& list) {
    return list[below(static_cast<unsigned int>(list.size()))];
  }
};

/// The same numbers for the same seed, on every system.
class RandomDraw : public Draw {
 public:
  explicit RandomDraw(std::uint64_t seed) : _state(seed) {}

  unsigned int below(unsigned int count) override {
    _state += 0x9e3779b97f4a7c15u;
    std::uint64_t mixed = _state;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
    mixed ^= mixed >> 31;
    return static_cast<unsigned int>((mixed >> 32) % count);
  }
  bool exhausted() const override { return false; }

 private:
  std::uint64_t _state;
};

/// Takes the numbers from bytes: one for up to 256 choices, two for more.
class ByteDraw : public Draw {
 public:
  ByteDraw(const std::uint8_t* data, std::size_t size) : _data(data), _left(size) {}

  unsigned int below(unsigned int count) override {
    unsigned int number = next();
    if (count > 256) number = number << 8 | next();
    return number % count;
  }
  bool exhausted() const override { return _left == 0; }

 private:
  unsigned int next() {
    if (_left == 0) return 0;
    --_left;
    return *_data++;
  }

  const std::uint8_t* _data;
  std::size_t _left;
};

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_DRAW_H
