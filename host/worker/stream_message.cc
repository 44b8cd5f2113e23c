#include "worker/stream_message.h"

#include <charconv>

namespace qiv {

bool is_stream_time(Instant time) {
  constexpr long long last_second = 7'258'118'400;  // 2200-01-01
  return unix_seconds(time) >= 0 && unix_seconds(time) < last_second;
}

std::string header_of(const StreamMessage& message, const char* name) {
  const auto found = message.headers.find(name);
  return found == message.headers.end() ? std::string() : found->second;
}

std::optional<Undecodable> foreign_format(const StreamMessage& message) {
  const std::string text = header_of(message, header::format);
  if (text.empty()) return std::nullopt;
  int format = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), format);
  if (error == std::errc() && end == text.data() + text.size() && format >= 1 &&
      format <= stream_format) {
    return std::nullopt;
  }
  return Undecodable{"format '" + text.substr(0, 20) + "' is not known here, only up to " +
                     std::to_string(stream_format) + ": upgrade this reader first"};
}

StreamMessage make_message(std::string key, std::optional<std::string> value, Instant time) {
  StreamMessage message{std::move(key), std::move(value), {}, time};
  message.headers[header::format] = std::to_string(stream_format);
  return message;
}

}  // namespace qiv
