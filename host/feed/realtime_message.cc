#include "feed/realtime_message.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <limits>

#include "feed/position_collector.h"

namespace qiv {
namespace {

using google::protobuf::io::CodedInputStream;
using WireFormat = google::protobuf::internal::WireFormatLite;

constexpr int max_depth = 32;
constexpr std::size_t first_block_bytes = std::size_t{64} << 10U;

google::protobuf::ArenaOptions arena_options(char* block) {
  google::protobuf::ArenaOptions options;
  options.initial_block = block;
  options.initial_block_size = first_block_bytes;
  return options;
}

bool decode_into(std::string_view bytes, google::protobuf::MessageLite& message) {
  CodedInputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                      static_cast<int>(bytes.size()));
  in.SetRecursionLimit(max_depth);
  return message.MergePartialFromCodedStream(&in) && in.ConsumedEntireMessage();
}

// Takes the length-delimited content that follows off the stream.
std::optional<std::string_view> take_content(CodedInputStream& in, std::string_view bytes) {
  std::uint32_t length = 0;
  if (!in.ReadVarint32(&length)) return std::nullopt;
  const auto begin = static_cast<std::size_t>(in.CurrentPosition());
  if (length > bytes.size() - begin || !in.Skip(static_cast<int>(length))) return std::nullopt;
  return bytes.substr(begin, length);
}

}  // namespace

RealtimeMessage::RealtimeMessage(std::string_view bytes)
    : _first_block(std::make_unique<char[]>(first_block_bytes)),
      _arena(arena_options(_first_block.get())) {
  _is_valid = find_parts(bytes);
}

bool RealtimeMessage::find_parts(std::string_view bytes) {
  using transit_realtime::FeedMessage;
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return false;
  transit_realtime::FeedHeader header;
  bool has_header = false;
  CodedInputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                      static_cast<int>(bytes.size()));
  in.SetRecursionLimit(max_depth);
  while (const std::uint32_t tag = in.ReadTag()) {
    const int field = WireFormat::GetTagFieldNumber(tag);
    const bool is_header = field == FeedMessage::kHeaderFieldNumber;
    if (!is_header && field != FeedMessage::kEntityFieldNumber) {
      if (!WireFormat::SkipField(&in, tag)) return false;
      continue;
    }
    if (WireFormat::GetTagWireType(tag) != WireFormat::WIRETYPE_LENGTH_DELIMITED) return false;
    const auto content = take_content(in, bytes);
    if (!content || (is_header && !decode_into(*content, header))) return false;
    has_header = has_header || is_header;
    if (!is_header) _entities.push_back(*content);
  }
  if (!in.ConsumedEntireMessage() || !has_header) return false;
  _states_time = header.timestamp() != 0;
  _time = plausible_instant(static_cast<long long>(header.timestamp()));
  return true;
}

const transit_realtime::FeedEntity* RealtimeMessage::decode(std::string_view entity) {
  _arena.Reset();
  auto* const message =
      google::protobuf::Arena::CreateMessage<transit_realtime::FeedEntity>(&_arena);
  return decode_into(entity, *message) ? message : nullptr;
}

std::optional<int> stated_direction(const transit_realtime::TripDescriptor& trip) {
  if (!trip.has_direction_id() || trip.direction_id() > 1) return std::nullopt;
  return static_cast<int>(trip.direction_id());
}

VehicleId stated_vehicle(const transit_realtime::VehicleDescriptor& vehicle) {
  return VehicleId(vehicle.id().empty() ? vehicle.label() : vehicle.id());
}

}  // namespace qiv
