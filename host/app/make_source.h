#pragma once

#include <memory>

#include "app/serve_config.h"
#include "serve/source.h"

namespace qiv {

/// The time of day, as sources and services take it.
Instant wall_clock();

/// Makes a configured source; what the agency itself says goes to `tell`.
std::unique_ptr<Source> make_source(const SourceOptions& options, const TakeReport& tell);

/// Whether a source gives positions; if not, it tells what the agency itself says.
bool gives_positions(const SourceOptions& options);

}  // namespace qiv
