#pragma once

#include <map>
#include <string>

#include "serve/api/api_routes.h"

namespace qiv {

/// The files of the live page, by path; where the program was built without it, a page that says
/// so.
std::map<std::string, StaticFile> page_files();

}  // namespace qiv
