#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace qiv {

/// A list whose copies share their elements until one of them is edited: copying costs nothing, and
/// lists that share can be told to be equal without a look at the elements. Different lists may be
/// used by different threads, as with a `std::vector`.
template <class T>
class SharedList {
 public:
  SharedList() = default;
  SharedList(std::vector<T> elements)  // NOLINT(google-explicit-constructor): it is a list
      : _elements(std::make_shared<std::vector<T>>(std::move(elements))) {}
  SharedList(std::initializer_list<T> elements) : SharedList(std::vector<T>(elements)) {}

  /// The elements, to be read. Valid until the list is assigned to, edited or destroyed.
  const std::vector<T>& read() const { return _elements == nullptr ? nothing() : *_elements; }
  operator const std::vector<T>&() const { return read(); }  // NOLINT(google-explicit-constructor)

  /// The elements, to be changed; no copy of the list sees it. Costs a copy of the elements where
  /// they are shared.
  std::vector<T>& edit() {
    if (_elements == nullptr || _elements.use_count() > 1) {
      _elements = std::make_shared<std::vector<T>>(read());
    }
    return *_elements;
  }

  bool empty() const { return read().empty(); }
  std::size_t size() const { return read().size(); }
  const T& operator[](std::size_t i) const { return read()[i]; }
  const T& front() const { return read().front(); }
  const T& back() const { return read().back(); }
  auto begin() const { return read().begin(); }
  auto end() const { return read().end(); }

  /// True when both are empty or copies of one list, unedited since: then they are equal. Lists
  /// with equal elements may also be unrelated.
  bool shares_with(const SharedList& other) const { return _elements == other._elements; }

 private:
  static const std::vector<T>& nothing() {
    static const std::vector<T> none;
    return none;
  }

  std::shared_ptr<std::vector<T>> _elements;
};

}  // namespace qiv
