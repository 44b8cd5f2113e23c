#include "app/serve_config.h"

#include "app/exit_code.h"
#include "app/toml_reader.h"

namespace qiv {
namespace {

constexpr double longest_interval_s = 86'400.0;

std::chrono::milliseconds milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<long long>(seconds * 1000.0));
}

std::vector<std::string> header_lines(const std::map<std::string, std::string>& headers) {
  std::vector<std::string> lines;
  for (const auto& [name, value] : headers) lines.push_back(name + ": " + value);
  return lines;
}

FetchRequest read_request(TomlReader& reader) {
  FetchRequest request;
  request.url = reader.secret("url");
  request.headers = header_lines(reader.text_map("headers"));
  request.timeout = milliseconds(reader.number("timeout_s", 1, 600, 30));
  request.most_bytes =
      static_cast<std::uint64_t>(reader.number("most_megabytes", 0.001, 4096, 32) * 1e6);
  return request;
}

void check_url(TomlReader& reader, const std::string& url) {
  if (url.starts_with("http://") || url.starts_with("https://")) return;
  reader.reject(*reader.find("url"), "'url' must begin with http:// or https://");
}

FeedContent read_content(TomlReader& reader) {
  const std::string content =
      reader.text_of("content", {"positions", "trip-updates", "alerts"}, "positions");
  if (content == "trip-updates") return FeedContent::trip_updates;
  return content == "alerts" ? FeedContent::alerts : FeedContent::positions;
}

/// An alert may have been there for long, and its feed need not change.
Seconds read_stale_after(TomlReader& reader, FeedContent content) {
  const long usual_s = content == FeedContent::alerts ? 86'400 : 120;
  return Seconds(reader.whole("stale_after_s", 1, 7 * 86'400, usual_s));
}

Seconds read_hold(TomlReader& reader, FeedContent content) {
  if (content == FeedContent::positions) return Seconds(600);
  return Seconds(reader.whole("hold_s", 1, 86'400, 600));
}

PolledSourceOptions read_polled(TomlReader& reader, PositionFormat format) {
  PolledSourceOptions options;
  reader.require("url", "the address of the feed");
  options.format = format;
  options.request = read_request(reader);
  check_url(reader, options.request.url);
  options.interval = milliseconds(reader.number("every_s", 0.5, longest_interval_s, 15));
  options.strip_prefixes = reader.texts("strip_prefixes");
  if (format == PositionFormat::gtfs_realtime) options.content = read_content(reader);
  options.stale_after = read_stale_after(reader, options.content);
  options.hold = read_hold(reader, options.content);
  return options;
}

FolderSourceOptions read_folder(TomlReader& reader, const std::filesystem::path& city) {
  FolderSourceOptions options;
  reader.require("folder", "where the snapshots are put");
  options.folder = city / reader.text("folder", "");
  options.interval = milliseconds(reader.number("every_s", 0.1, longest_interval_s, 1));
  options.strip_prefixes = reader.texts("strip_prefixes");
  options.content = read_content(reader);
  options.stale_after = read_stale_after(reader, options.content);
  options.hold = read_hold(reader, options.content);
  return options;
}

MqttSourceOptions read_mqtt(TomlReader& reader) {
  MqttSourceOptions options;
  reader.require("host", "the broker");
  reader.require("topics", "a list of topic filters, such as [\"vehicles/#\"]");
  options.host = reader.text("host", "");
  options.tls = reader.flag("tls", false);
  options.port = static_cast<int>(reader.whole("port", 1, 65'535, options.tls ? 8883 : 1883));
  options.user = reader.secret("user");
  options.password = reader.secret("password");
  options.ca_file = reader.text("ca_file", "");
  options.topics = reader.texts("topics");
  options.qos = static_cast<int>(reader.whole("qos", 0, 2, 1));
  options.stale_after = read_stale_after(reader, FeedContent::positions);
  const std::string payload = reader.text_of("payload", {"gtfs-realtime", "json"}, "gtfs-realtime");
  const std::string list = reader.text("list", "");
  const auto fields = reader.text_map("fields");
  if (payload != "json") return options;
  reader.require("fields", "where the fields are, such as { vehicle = \"/id\", lat = \"/lat\" }");
  options.json = JsonFields{fields, list};
  const std::string mistake = mistake_in(*options.json);
  if (!mistake.empty()) reader.reject(*reader.find("fields"), mistake);
  return options;
}

SourceOptions read_source(TomlReader& reader, const std::filesystem::path& city) {
  const std::string kind =
      reader.text_of("kind", {"gtfs-realtime", "siri-vm", "folder", "mqtt"}, "gtfs-realtime");
  if (kind == "folder") return read_folder(reader, city);
  if (kind == "mqtt") return read_mqtt(reader);
  return read_polled(reader,
                     kind == "siri-vm" ? PositionFormat::siri_vm : PositionFormat::gtfs_realtime);
}

void read_serve(TomlReader& reader, ServeConfig& config) {
  config.address = reader.text("address", config.address);
  config.port_is_stated = reader.find("port") != nullptr;
  config.port = static_cast<std::uint16_t>(reader.whole("port", 0, 65'535, config.port));
  config.token = reader.secret("token");
  config.tiles = reader.text("tiles", "");
  config.tiles_attribution = reader.text("tiles_attribution", "");
  config.cycle = milliseconds(reader.number("cycle_s", 0.1, 60, 1));
  config.threads = static_cast<std::size_t>(reader.whole("threads", 1, 64, 1));
  config.learns = reader.flag("learns", true);
  const std::string learn_at = reader.text("learn_at", "03:30:00");
  const auto time = parse_time_of_day(learn_at);
  if (!time) reader.reject(*reader.find("learn_at"), "'learn_at' must be a time, HH:MM:SS");
  config.learn_at = *time;
  config.keep_positions_days = static_cast<int>(reader.whole("keep_positions_days", 1, 10'000, 60));
  config.keep_trips_days = static_cast<int>(reader.whole("keep_trips_days", 1, 10'000, 400));
}

void read_timetable_source(TomlReader& reader, TimetableSourceOptions& options) {
  options.request = read_request(reader);
  if (!options.request.url.empty()) check_url(reader, options.request.url);
  options.request.most_bytes =
      static_cast<std::uint64_t>(reader.number("most_megabytes", 0.001, 4096, 512) * 1e6);
  const double usual_s = options.request.url.empty() ? 60 : 3600;
  options.interval = milliseconds(reader.number("every_s", 1, 7 * longest_interval_s, usual_s));
}

/// The section of this name; nothing when there is none.
const toml::table* section(const std::filesystem::path& file, const toml::table& table,
                           const char* name) {
  const toml::node* const node = table.get(name);
  if (node != nullptr && !node->is_table()) {
    const std::string text = name;
    TomlReader(file, table, text)
        .reject(*node, "'" + text + "' must be a section: write [" + text + "]");
  }
  return node == nullptr ? nullptr : node->as_table();
}

/// Each [[source]].
std::vector<const toml::table*> source_tables(const std::filesystem::path& file,
                                              const toml::table& table) {
  std::vector<const toml::table*> result;
  const toml::node* const sources = table.get("source");
  if (sources == nullptr) return result;
  if (!sources->is_array_of_tables()) {
    TomlReader(file, table, "source")
        .reject(*sources, "there may be many sources: write [[source]]");
  }
  for (const toml::node& source : *sources->as_array()) result.push_back(source.as_table());
  return result;
}

FeedContent content_of(const SourceOptions& options) {
  if (const auto* const polled = std::get_if<PolledSourceOptions>(&options)) return polled->content;
  if (const auto* const folder = std::get_if<FolderSourceOptions>(&options)) return folder->content;
  return FeedContent::positions;
}

/// What a source says takes the place of what one of its name said before.
void check_name_is_new(TomlReader& reader, const std::string& name,
                       const std::vector<SourceOptions>& sources) {
  for (const SourceOptions& source : sources) {
    if (std::visit([](const auto& s) { return s.name; }, source) != name) continue;
    const toml::node* const stated = reader.find("name");
    if (stated != nullptr) reader.reject(*stated, "'name' is that of another source");
  }
}

}  // namespace

ServeConfig read_serve_config(const std::filesystem::path& file) {
  const toml::table table = read_toml(file);
  ServeConfig config;
  config.timetable.interval = std::chrono::minutes(1);
  if (const toml::table* const serve = section(file, table, "serve")) {
    TomlReader reader(file, *serve, "[serve]");
    read_serve(reader, config);
    reader.finish();
  }
  if (const toml::table* const timetable = section(file, table, "timetable_source")) {
    TomlReader reader(file, *timetable, "[timetable_source]");
    read_timetable_source(reader, config.timetable);
    reader.finish();
  }
  for (const toml::table* const entry : source_tables(file, table)) {
    TomlReader reader(file, *entry, "[[source]]");
    SourceOptions options = read_source(reader, file.parent_path());
    const std::string number = std::to_string(config.sources.size() + 1);
    const std::string content = to_string(content_of(options));
    const std::string name = reader.text("name", content + " " + number);
    std::visit([&](auto& source) { source.name = name; }, options);
    check_name_is_new(reader, name, config.sources);
    reader.finish();
    config.sources.push_back(std::move(options));
  }
  return config;
}

std::string serve_config_text() {
  return R"(
# The live service, `qiv serve`. A value "env:NAME" is that of the environment variable NAME.
[serve]
# The interface to listen on; "0.0.0.0" is all of them.
# address = "127.0.0.1"
# port = 8080
# What write operations must state; without one there are none.
# token = "env:QIV_TOKEN"
# Forecasts are published so often.
# cycle_s = 1
# Threads of the engine, each with its vehicles and with all earlier trips in memory.
# threads = 1
# When settings are learned again, by the city's clock, and whether they are.
# learn_at = "03:30:00"
# learns = true
# How long positions and trips are kept.
# keep_positions_days = 60
# keep_trips_days = 400
# Tiles of a base map for the page; without them the page draws the network's own paths.
# tiles = ""
# tiles_attribution = ""

# Where new timetables come from; without an address the file above is watched.
# [timetable_source]
# url = "https://agency.example/gtfs.zip"
# every_s = 3600

# Where positions come from, and what the agency itself says of its service; any number of these.
# [[source]]
# kind = "gtfs-realtime"      # or "siri-vm", "folder", "mqtt"
# url = "https://agency.example/vehicle-positions.pb"
# headers = { "X-Api-Key" = "env:AGENCY_KEY" }
# every_s = 15
# [[source]]
# content = "trip-updates"    # or "alerts": cancellations, skipped stops, and predictions to compare
# url = "https://agency.example/trip-updates.pb"
)";
}

}  // namespace qiv
