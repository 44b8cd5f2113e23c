#pragma once

#include <string>

#include "serve/api/outputs.h"
#include "serve/http/blob.h"

namespace qiv {

enum class FeedFormat { protobuf, json, text };

/// The trip updates that are served. Precondition: there is a network.
BlobPtr trip_updates_blob(const Outputs& outputs, FeedFormat format);

/// The vehicle positions. The header's time is never before that of the trip updates. Precondition:
/// there is a network.
BlobPtr vehicle_positions_blob(const Outputs& outputs, FeedFormat format);

}  // namespace qiv
