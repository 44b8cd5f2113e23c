#ifndef QIV_NAME_TABLE_H
#define QIV_NAME_TABLE_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// Values by name. Among thousands of names a look-up waits for memory, so it goes one step: name
/// and value lie in the very slot that the hash tells, where the standard's hash map goes by way of
/// a node that it does not look for.
///
/// Open addressing: a name is in the first slot from its own on that is not taken by another one,
/// with no empty slot before it. At most three quarters of the slots are taken. Slots move:
/// pointers to values hold until a name is made or erased.
template <class Value>
class NameTable {
 public:
  NameTable() : _size(0) {}

  /// The value, or null when there is no such name.
  Value* find(const std::string& name) {
    if (_slots.empty()) return nullptr;
    Slot& slot = _slots[place_of(name, hash_of(name))];
    return slot.hash == empty ? nullptr : &slot.value;
  }

  /// The value, which is made when there is no such name. When memory runs out, nothing changes.
  Value& operator[](const std::string& name) {
    Value* const known = find(name);
    if (known != nullptr) return *known;
    if (4 * (_size + 1) > 3 * _slots.size()) grow();
    const std::size_t hash = hash_of(name);
    Slot& slot = _slots[place_of(name, hash)];
    slot.name = name;
    slot.hash = hash;
    ++_size;
    return slot.value;
  }

  void erase(const std::string& name) {
    if (_slots.empty()) return;
    const std::size_t place = place_of(name, hash_of(name));
    if (_slots[place].hash != empty) erase(place);
  }

  /// Erases the names for which `goes`(name, value) holds. It may be asked more than once.
  template <class Goes>
  void erase_if(Goes goes) {
    // What follows an erased slot may move into it, from the other end of the table too.
    for (std::size_t place = 0; place < _slots.size();) {
      Slot& slot = _slots[place];
      if (slot.hash != empty && goes(slot.name, slot.value)) {
        erase(place);
      } else {
        ++place;
      }
    }
  }

 private:
  struct Slot {
    Slot() : hash(empty), name(), value() {}

    std::size_t hash;
    std::string name;
    Value value;
  };

  static const std::size_t empty = 0;

  static std::size_t hash_of(const std::string& name) {
    const std::size_t hash = std::hash<std::string>()(name);
    return hash == empty ? 1 : hash;
  }

  std::size_t after(std::size_t place) const { return (place + 1) & (_slots.size() - 1); }
  std::size_t home_of(std::size_t hash) const { return hash & (_slots.size() - 1); }

  /// Of the slot that holds the name, or of the empty one where it is to go.
  std::size_t place_of(const std::string& name, std::size_t hash) const {
    std::size_t place = home_of(hash);
    while (_slots[place].hash != empty &&
           !(_slots[place].hash == hash && _slots[place].name == name)) {
      place = after(place);
    }
    return place;
  }

  void grow() {
    std::vector<Slot> slots(_slots.empty() ? 16 : 2 * _slots.size());
    slots.swap(_slots);
    for (Slot& slot : slots) {
      if (slot.hash != empty) _slots[place_of(slot.name, slot.hash)] = std::move(slot);
    }
  }

  /// Those that the erased one had kept from their places move up.
  void erase(std::size_t hole) {
    for (std::size_t place = after(hole); _slots[place].hash != empty; place = after(place)) {
      const std::size_t mask = _slots.size() - 1;
      const std::size_t from_home = (place - home_of(_slots[place].hash)) & mask;
      if (from_home >= ((place - hole) & mask)) {
        _slots[hole] = std::move(_slots[place]);
        hole = place;
      }
    }
    _slots[hole] = Slot();
    --_size;
  }

  std::vector<Slot> _slots;  ///< a power of two of them, or none
  std::size_t _size;
};

#endif  // QIV_NAME_TABLE_H
