#pragma once

#include <string_view>
#include <vector>

namespace qiv {

/// A file of the page as it was built into the program.
struct EmbeddedFile {
  std::string_view path;          ///< such as "/index.html"
  std::string_view content_type;  ///< as HTTP states it
  std::string_view bytes;
  bool hashed;  ///< the name changes with the content
};

/// The files of the page; without a page, one file that says how to get it.
const std::vector<EmbeddedFile>& embedded_page();

}  // namespace qiv
