#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "model/time.h"

namespace qiv {

/// A message of a topic, wherever it lies.
struct StreamMessage {
  std::string key;
  std::optional<std::string> value;  ///< nothing: what the key names is no more
  std::map<std::string, std::string> headers;
  Instant time{};  ///< the message's timestamp
};

/// Why a message is not used, for people.
struct Undecodable {
  std::string reason;
};

/// What a message says, or why it says nothing.
template <class T>
using Decoded = std::variant<T, Undecodable>;

namespace header {
/// The number of the format; a message without it is of format 1.
inline constexpr const char* format = "qiv-format";
/// What the value is, where a topic has messages of several kinds.
inline constexpr const char* kind = "qiv-kind";
/// "partition:offset" of the position that a forecast was made from.
inline constexpr const char* origin = "qiv-origin";
/// Why a message was set aside, and where it was: "topic:partition:offset".
inline constexpr const char* reason = "qiv-reason";
inline constexpr const char* place = "qiv-place";
}  // namespace header

/// The format that this program writes, and the highest that it reads.
inline constexpr int stream_format = 1;

/// Whether a time is one that the stream carries: from 1970 to 2200.
bool is_stream_time(Instant time);

/// The header of a message, or an empty text.
std::string header_of(const StreamMessage& message, const char* name);

/// Nothing for a message that this program can read, else the reason why it cannot.
std::optional<Undecodable> foreign_format(const StreamMessage& message);

/// A message of this program's format.
StreamMessage make_message(std::string key, std::optional<std::string> value, Instant time);

}  // namespace qiv
