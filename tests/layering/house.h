#ifndef QIV_TESTS_LAYERING_HOUSE_H
#define QIV_TESTS_LAYERING_HOUSE_H

#include <map>
#include <set>
#include <string>
#include <vector>

/// Which room of the house may include which, as read from a table like house.txt.
class House {
 public:
  /// Throws std::invalid_argument for a line that is no row, and for a row that names a room which
  /// does not stand above it: data flow one way.
  explicit House(const std::string& table);

  const std::vector<std::string>& rooms() const { return _rooms; }

  /// The room in which the file stands, by its path from the checkout's root; empty for none.
  std::string room_of(const std::string& path) const;

  /// Whether a file of `room` may include one of `other`.
  bool may_include(const std::string& room, const std::string& other) const;

  /// Whether a file of `room` may include the header `name`, which is not of the checkout.
  bool may_include_foreign(const std::string& room, const std::string& name) const;

 private:
  struct Row {
    std::set<std::string> rooms;    ///< all that it may include, itself among them
    std::set<std::string> kept;     ///< those of `rooms` that it does not pass on
    std::set<std::string> foreign;  ///< names of headers, or "*"
  };

  void add(Row& row, const std::string& entry) const;

  std::vector<std::string> _rooms;
  std::map<std::string, Row> _rows;
};

#endif  // QIV_TESTS_LAYERING_HOUSE_H
