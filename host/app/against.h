#pragma once

#include <string>
#include <vector>

#include "evaluate/other_producer.h"

namespace qiv {

/// Opens the recordings that `--against` names: "NAME=PATH", or a path alone, whose last part then
/// is the name, without its extension. Throws `CommandError` that says what to write instead when a
/// name cannot be used (empty, longer than 20 characters, with others than letters, digits, '_',
/// '-' and '.', taken by the report itself or twice), and when a recording cannot be read.
std::vector<OtherProducer> open_recordings(const std::vector<std::string>& against);

}  // namespace qiv
