#include "worker/reference_codec.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "history/settings_json.h"
#include "network/pattern_ref.h"
#include "qiv-stream.pb.h"
#include "worker/stream_key.h"

namespace qiv {
namespace {

constexpr std::string_view settings_key = "settings";
constexpr std::string_view network_key = "network";

std::string chunk_key(const std::string& version, std::uint32_t chunk) {
  return join_key({network_key, version, std::to_string(chunk)});
}

}  // namespace

std::string network_version(std::string_view gtfs) {
  StableHash hash;
  hash.add(gtfs);
  return std::to_string(gtfs.size()) + "-" + std::to_string(hash.value());
}

std::vector<StreamMessage> encode_network(std::string_view gtfs, Instant now,
                                          std::size_t chunk_bytes) {
  const std::string version = network_version(gtfs);
  std::vector<StreamMessage> messages;
  std::uint32_t chunks = 0;
  for (std::size_t begin = 0; begin < gtfs.size(); begin += chunk_bytes) {
    messages.push_back(make_message(chunk_key(version, chunks++),
                                    std::string(gtfs.substr(begin, chunk_bytes)), now));
  }
  stream::NetworkManifest manifest;
  manifest.set_version(version);
  manifest.set_chunks(chunks);
  manifest.set_bytes(gtfs.size());
  messages.push_back(make_message(std::string(network_key), manifest.SerializeAsString(), now));
  return messages;
}

std::vector<StreamMessage> forget_network(const std::string& version, std::uint32_t chunks,
                                          Instant now) {
  std::vector<StreamMessage> messages;
  for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
    messages.push_back(make_message(chunk_key(version, chunk), std::nullopt, now));
  }
  return messages;
}

StreamMessage encode_settings(const LearnedSettings& settings, Instant now) {
  return make_message(std::string(settings_key), to_json(settings), now);
}

std::optional<Undecodable> Reference::take(const StreamMessage& message) {
  if (auto foreign = foreign_format(message)) return foreign;
  if (message.key == network_key) return take_manifest(message);
  if (message.key != settings_key) return take_chunk(message);
  if (!message.value) return std::nullopt;
  try {
    _settings = settings_from_json(*message.value);
  } catch (const std::runtime_error& error) {
    return Undecodable{error.what()};
  }
  return std::nullopt;
}

std::optional<Undecodable> Reference::take_manifest(const StreamMessage& message) {
  stream::NetworkManifest manifest;
  if (!message.value || !manifest.ParseFromString(*message.value)) {
    return Undecodable{"the bytes are no timetable's manifest"};
  }
  const auto chunks = _chunks.find(manifest.version());
  if (chunks == _chunks.end() || chunks->second.size() != manifest.chunks()) {
    return Undecodable{"parts of timetable " + manifest.version() + " are missing: run the bridge"};
  }
  auto gtfs = std::make_shared<std::string>();
  for (const auto& [number, bytes] : chunks->second) *gtfs += bytes;
  if (network_version(*gtfs) != manifest.version()) {
    return Undecodable{"timetable " + manifest.version() + " is damaged: run the bridge"};
  }
  _gtfs = std::move(gtfs);
  _gtfs_version = manifest.version();
  _gtfs_chunks = manifest.chunks();
  _chunks.clear();
  return std::nullopt;
}

std::optional<Undecodable> Reference::take_chunk(const StreamMessage& message) {
  const auto parts = split_key(message.key);
  std::uint32_t number = 0;
  const auto whole = [&](const std::string& text) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
  };
  if (!parts || parts->size() != 3 || parts->front() != network_key || !whole((*parts)[2])) {
    return Undecodable{"'" + message.key.substr(0, 40) + "' is neither settings nor a timetable"};
  }
  if (message.value) {
    _chunks[(*parts)[1]][number] = *message.value;
  } else {
    _chunks.erase((*parts)[1]);
  }
  return std::nullopt;
}

}  // namespace qiv
