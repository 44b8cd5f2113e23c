#pragma once

#include <map>
#include <string>

#include "serve/api/api_routes.h"

namespace qiv {

/// A map below the network. Without one the page asks no other host for anything.
struct BaseMap {
  /// Of raster tiles, with {z}, {x} and {y}: "https://tiles.example.org/{z}/{x}/{y}.png", or a path
  /// on this server. Empty: none.
  std::string tiles;
  std::string attribution;  ///< HTML that the owner of the tiles wants to be shown
};

/// The files of the page by path, as `ApiOptions::files` takes them. Throws `std::invalid_argument`
/// for a tile address that is not one.
std::map<std::string, StaticFile> page_files(const BaseMap& base_map = {});

}  // namespace qiv
