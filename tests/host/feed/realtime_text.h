#pragma once

#include <google/protobuf/text_format.h>
#include <gtfs-realtime.pb.h>

#include <stdexcept>
#include <string>

namespace qiv {

/// The bytes of a GTFS-realtime message written as text; what is required may be missing.
inline std::string message_of(const std::string& text) {
  google::protobuf::TextFormat::Parser parser;
  parser.AllowPartialMessage(true);
  transit_realtime::FeedMessage message;
  if (!parser.ParseFromString(text, &message)) throw std::runtime_error("no message: " + text);
  return message.SerializePartialAsString();
}

}  // namespace qiv
