#include "serve/api/feed_formats.h"

#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <stdexcept>

#include "gtfs-realtime.pb.h"
#include "publish/trip_updates.h"
#include "publish/vehicle_positions.h"
#include "serve/api/vehicle_json.h"

namespace qiv {
namespace {

using transit_realtime::FeedMessage;

std::string to_json(const FeedMessage& message) {
  google::protobuf::util::JsonPrintOptions options;
  options.add_whitespace = false;
  std::string text;
  const auto status = google::protobuf::util::MessageToJsonString(message, &text, options);
  if (!status.ok()) throw std::runtime_error("message cannot be written as JSON");
  return text;
}

BlobPtr in_format(const FeedMessage& message, FeedFormat format, Instant time) {
  if (format == FeedFormat::json) return make_blob(to_json(message), "application/json", time);
  if (format == FeedFormat::text) {
    return make_blob(to_text(message), "text/plain; charset=utf-8", time);
  }
  return make_blob(to_bytes(message), "application/x-protobuf", time);
}

}  // namespace

BlobPtr trip_updates_blob(const Outputs& outputs, FeedFormat format) {
  const GuardedFeed& feed = outputs.feed();
  if (format == FeedFormat::protobuf) return feed.bytes;
  FeedMessage message;
  if (!message.ParseFromString(feed.bytes->bytes())) {
    throw std::runtime_error("trip updates cannot be read back");
  }
  return in_format(message, format, feed.header_time);
}

BlobPtr vehicle_positions_blob(const Outputs& outputs, FeedFormat format) {
  const Instant time = std::max(outputs.snapshot().now, outputs.feed().header_time);
  const FeedMessage message =
      vehicle_positions(published_vehicles(outputs.snapshot()), outputs.index().network(), time);
  return in_format(message, format, time);
}

}  // namespace qiv
