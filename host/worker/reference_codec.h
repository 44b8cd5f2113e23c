#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/settings.h"
#include "worker/stream_message.h"

namespace qiv {

/// The messages that put a timetable into force: its bytes in chunks of at most `chunk_bytes`, then
/// the manifest that names them. The version is a hash of the bytes.
std::vector<StreamMessage> encode_network(std::string_view gtfs, Instant now,
                                          std::size_t chunk_bytes = 512 * 1024);

/// The messages that take the chunks of another version away.
std::vector<StreamMessage> forget_network(const std::string& version, std::uint32_t chunks,
                                          Instant now);

/// The version that `encode_network` gives these bytes.
std::string network_version(std::string_view gtfs);

StreamMessage encode_settings(const LearnedSettings& settings, Instant now);

/// What the topic of settings and timetables says, as far as it was read.
class Reference {
 public:
  /// Takes a message, in order. Returns why it was not used.
  std::optional<Undecodable> take(const StreamMessage& message);

  /// The GTFS bytes of the timetable that is in force; null when a part of it has not come.
  std::shared_ptr<const std::string> gtfs() const { return _gtfs; }
  const std::string& gtfs_version() const { return _gtfs_version; }
  std::uint32_t gtfs_chunks() const { return _gtfs_chunks; }

  /// The settings that are in force; nothing when none have come.
  const std::optional<LearnedSettings>& settings() const { return _settings; }

 private:
  std::optional<Undecodable> take_manifest(const StreamMessage& message);
  std::optional<Undecodable> take_chunk(const StreamMessage& message);

  std::map<std::string, std::map<std::uint32_t, std::string>> _chunks;  ///< by version
  std::shared_ptr<const std::string> _gtfs;
  std::string _gtfs_version;
  std::uint32_t _gtfs_chunks = 0;
  std::optional<LearnedSettings> _settings;
};

}  // namespace qiv
