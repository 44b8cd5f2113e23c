#pragma once

#include "engine/engine.h"
#include "history/archive.h"

namespace qiv {

/// The earlier trips of a pattern as the archive has them, read when the pattern is first met:
/// those whose first report was received before `begun_before`, in the order of finishing.
/// `archive` and `network` must outlive the source.
HistorySource archive_history(const Archive& archive, const Network& network, Instant begun_before);

}  // namespace qiv
