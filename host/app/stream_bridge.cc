#include "app/stream_bridge.h"

#include <fstream>
#include <iterator>

#include "feed/file_bundle.h"
#include "history/settings_json.h"
#include "simulate/gtfs_files.h"
#include "worker/kafka/log_reader.h"
#include "worker/reference_codec.h"

namespace qiv {
namespace {

/// As the broker wants it; 0 is for ever.
std::string retention_ms(Seconds kept) {
  return kept == Seconds(0) ? "-1" : std::to_string(kept.count() * 1000);
}

/// The timetable as one zip file; a folder is packed.
std::string timetable_bytes(const City& city) {
  const std::filesystem::path file = city.folder() / city.config().timetable;
  if (!is_directory(file)) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
  const FileBundle folder = FileBundle::open(file);
  std::map<std::string, std::string> files;
  for (const std::string& entry : folder.entries()) files[entry] = *folder.read(entry);
  return zip_of(files);
}

/// What the topic says at this moment.
Reference read_reference(const StreamConfig& config) {
  kafka::LogReader reader(config.properties, {Topics(config.topics).reference});
  Reference reference;
  while (!reader.at_end()) {
    if (const auto message = reader.poll(std::chrono::milliseconds(100))) {
      reference.take(message->message);
    }
  }
  return reference;
}

}  // namespace

std::vector<kafka::TopicPlan> topic_plans(const StreamConfig& config) {
  const Topics names(config.topics);
  const Seconds trips = std::chrono::days(config.keep_trips_days);
  return {{names.positions,
           config.partitions,
           {{"cleanup.policy", "delete"}, {"retention.ms", retention_ms(config.keep_positions)}}},
          {names.finished,
           config.partitions,
           {{"cleanup.policy", "compact,delete"}, {"retention.ms", retention_ms(trips)}}},
          {names.reference, 1, {{"cleanup.policy", "compact"}}},
          {names.forecasts,
           config.partitions,
           {{"cleanup.policy", "compact,delete"},
            {"retention.ms", retention_ms(config.keep_forecasts)},
            {"min.compaction.lag.ms", std::to_string(config.window.count() * 1000)}}},
          {names.set_aside, 1, {{"cleanup.policy", "delete"}}}};
}

std::string write_reference(City& city, const StreamConfig& config, kafka::Producer& producer,
                            Instant now) {
  const std::string topic = Topics(config.topics).reference;
  const Reference present = read_reference(config);
  const std::string gtfs = timetable_bytes(city);
  const LearnedSettings settings = city.settings();
  std::string done;
  if (present.gtfs_version() != network_version(gtfs)) {
    for (const StreamMessage& message : encode_network(gtfs, now)) {
      producer.send(topic, 0, message);
    }
    producer.flush();
    for (const StreamMessage& message :
         forget_network(present.gtfs_version(), present.gtfs_chunks(), now)) {
      producer.send(topic, 0, message);
    }
    done = "timetable " + network_version(gtfs);
  }
  if (!present.settings() || to_json(*present.settings()) != to_json(settings)) {
    producer.send(topic, 0, encode_settings(settings, now));
    done += done.empty() ? "settings" : " and settings";
  }
  producer.flush();
  return done;
}

}  // namespace qiv
