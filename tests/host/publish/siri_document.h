#pragma once

#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <string>
#include <vector>

namespace qiv::testing {

/// A document that was written, read back.
class ReadBack {
 public:
  explicit ReadBack(const std::string& text) {
    EXPECT_TRUE(_document.load_buffer(text.data(), text.size())) << text;
  }
  /// Text of the element at this path, such as "Siri/ServiceDelivery/ProducerRef".
  std::string text(const std::string& path) const {
    return _document.select_node(path.c_str()).node().text().get();
  }
  std::size_t count(const std::string& path) const {
    return _document.select_nodes(path.c_str()).size();
  }
  /// Names of the children of the first element at this path, in order.
  std::vector<std::string> children(const std::string& path) const {
    std::vector<std::string> names;
    for (const auto& child : _document.select_node(path.c_str()).node().children()) {
      names.emplace_back(child.name());
    }
    return names;
  }

 private:
  pugi::xml_document _document;
};

}  // namespace qiv::testing
