// Reads the positions of a JSON message: the first line chooses where the list and the fields are,
// the rest is the message.

#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "feed/json_positions.h"
#include "position_check.h"

namespace {

/// "LIST PREFIX": the pointer of the list, and what stands before each field's name.
qiv::JsonFields fields_of(std::string_view line) {
  const std::size_t blank = line.find(' ');
  qiv::JsonFields fields;
  fields.list = line.substr(0, blank);
  const std::string prefix(blank == std::string_view::npos ? "" : line.substr(blank + 1));
  for (const char* field :
       {"vehicle", "trip", "route", "direction", "start_date", "start_time", "time", "lat", "lon",
        "bearing", "speed", "stop", "stop_sequence", "status"}) {
    fields.pointers[field] = prefix + "/" + field;
  }
  return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return 0;
  const qiv::JsonFields fields = fields_of(text.substr(0, end));
  if (!qiv::mistake_in(fields).empty()) return 0;
  const std::string_view message = text.substr(end + 1);
  qiv::PositionOptions options;
  options.received = qiv::from_unix_seconds(1'740'988'980);
  options.name = "message";
  const qiv::PositionBatch batch = qiv::read_json_positions(message, fields, options);
  fuzz::check_batch(batch, qiv::read_json_positions(message, fields, options), message.size());
  return 0;
}
