#include "app/stream_config.h"

#include <algorithm>

#include "app/exit_code.h"
#include "app/toml_reader.h"

namespace qiv {
namespace {

bool is_topic_name(const std::string& name) {
  return !name.empty() && name.size() <= 200 && std::ranges::all_of(name, [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '.' || c == '_' || c == '-';
  });
}

/// A city's name with a "-" for what no topic may have in its name.
std::string as_topic_name(std::string name) {
  for (char& c : name) {
    if (!is_topic_name(std::string(1, c))) c = '-';
  }
  return name.empty() ? "qiv" : name;
}

void read_kafka(TomlReader& reader, StreamConfig& config) {
  reader.require("properties",
                 "such as { \"bootstrap.servers\" = \"broker-1:9092,broker-2:9092\" }");
  config.properties = reader.text_map("properties");
  config.topics = reader.text("topics", config.topics);
  if (!is_topic_name(config.topics)) {
    reader.reject(*reader.find("topics"), "'topics' may have letters, digits, '.', '_' and '-'");
  }
  config.agency = reader.text("agency", config.agency);
  config.group = reader.text("group", config.topics + ".worker");
  config.partitions = static_cast<int>(reader.whole("partitions", 1, 10'000, config.partitions));
  const auto seconds = [&](const char* key, long long least, Seconds otherwise) {
    return Seconds(reader.whole(key, least, 30 * 86'400, otherwise.count()));
  };
  config.keep_positions = seconds("keep_positions_s", 0, config.keep_positions);
  config.keep_forecasts = seconds("keep_forecasts_s", 0, config.keep_forecasts);
  config.keep_trips_days = static_cast<int>(reader.whole("keep_trips_days", 1, 10'000, 400));
  config.window = seconds("window_s", 0, config.window);
  config.watermark = seconds("watermark_s", 1, config.watermark);
  config.transaction = std::chrono::milliseconds(reader.whole("transaction_ms", 1, 10'000, 200));
}

}  // namespace

StreamConfig read_stream_config(const std::filesystem::path& file, const std::string& city) {
  const toml::table table = read_toml(file);
  StreamConfig config;
  config.topics = as_topic_name(city);
  config.agency = city;
  const toml::node* const node = table.get("kafka");
  if (node == nullptr) return config;
  if (!node->is_table()) {
    TomlReader(file, table, "kafka").reject(*node, "'kafka' must be a section: write [kafka]");
  }
  config.is_stated = true;
  TomlReader reader(file, *node->as_table(), "[kafka]");
  read_kafka(reader, config);
  reader.finish();
  return config;
}

StreamConfig need_stream_config(const std::filesystem::path& file, const std::string& city) {
  StreamConfig config = read_stream_config(file, city);
  if (config.is_stated) return config;
  throw CommandError(
      ExitCode::usage,
      file.string() + ": no [kafka]: add it, with properties = { \"bootstrap.servers\" = ... }");
}

std::string stream_config_text() {
  return R"(
# The stream, for `qiv bridge`, `qiv worker` and `qiv gateway`.
# [kafka]
# Of the Kafka client, by the names that its documentation gives them; TLS and SASL are here too.
# A value "env:NAME" is that of the environment variable NAME.
# properties = { "bootstrap.servers" = "localhost:9092" }
# What the topics' names begin with, and the agency in their keys; the city's name by default.
# topics = "dublin"
# agency = "dublin"
)";
}

}  // namespace qiv
