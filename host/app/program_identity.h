#pragma once

#include <string>

namespace qiv {

/// The version of the program and a hash of the code that runs, its libraries included: what it
/// computed may be used again only while this stays the same. Where the linker wrote no build
/// identifiers, the version alone.
std::string program_identity();

}  // namespace qiv
