// How long a position waits for its forecast, as a reader of both topics sees it.
//
//   bench_stream_prober BOOTSTRAP TOPICS WARM_UP_S SECONDS [RENEW_AT_S]
//
// Both topics are read from their beginning. What comes within the first WARM_UP_S seconds after
// the first position is not counted. RENEW_AT_S seconds after that position new settings are
// written; the longest delay of each partition is told for the time before and from then on. Prints
// one line of JSON.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "worker/kafka/log_reader.h"
#include "worker/kafka/producer.h"
#include "worker/reference_codec.h"
#include "worker/stream_message.h"
#include "worker/topics.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Delays {
  std::unordered_map<std::string, Clock::time_point> waiting;
  std::vector<double> milliseconds;
  std::size_t positions = 0;
  std::unordered_set<std::string> others;  ///< of forecasts without a position that waits
  std::size_t early = 0;                   ///< of those, whose position came later
  bool renewed = false;                    ///< new settings are written
  std::map<int, double> longest_ms;        ///< by partition, before they were
  std::map<int, double> longest_after_ms;  ///< and since
};

/// New settings, which change no forecast of a vehicle under way.
void renew(const std::string& servers, const qiv::Topics& topics) {
  qiv::LearnedSettings settings;
  settings.turnaround = qiv::Seconds(1);
  qiv::kafka::Producer producer({{"bootstrap.servers", servers}});
  producer.send(topics.reference, 0, qiv::encode_settings(settings, qiv::Instant()));
  producer.flush();
}

void take(const qiv::kafka::Received& message, const qiv::Topics& topics, bool counts,
          Delays& delays) {
  const auto now = Clock::now();
  if (message.topic == topics.positions) {
    if (!qiv::header_of(message.message, qiv::header::kind).empty()) return;
    if (counts) ++delays.positions;
    const std::string place =
        std::to_string(message.partition) + ":" + std::to_string(message.offset);
    delays.early += delays.others.count(place);
    delays.waiting[place] = now;
    return;
  }
  if (!message.message.value) return;
  const std::string origin = qiv::header_of(message.message, qiv::header::origin);
  const auto position = delays.waiting.find(origin);
  if (position == delays.waiting.end()) {
    delays.others.insert(origin);
    return;
  }
  const std::chrono::duration<double, std::milli> passed = now - position->second;
  if (counts) {
    delays.milliseconds.push_back(passed.count());
    double& longest =
        (delays.renewed ? delays.longest_after_ms : delays.longest_ms)[std::stoi(origin)];
    longest = std::max(longest, passed.count());
  }
  delays.waiting.erase(position);
}

std::string list(const std::map<int, double>& by_partition) {
  std::string text;
  for (const auto& [partition, ms] : by_partition) {
    text += (text.empty() ? "" : ", ") + std::to_string(std::lround(ms));
  }
  return "[" + text + "]";
}

void print(Delays& delays) {
  auto& sorted = delays.milliseconds;
  std::sort(sorted.begin(), sorted.end());
  const auto at = [&](double share) {
    if (sorted.empty()) return 0.0;
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
  };
  std::cout << "{\"positions\": " << delays.positions << ", \"forecasts\": " << sorted.size()
            << ", \"others\": " << delays.others.size() << ", \"early\": " << delays.early
            << ", \"median_ms\": " << at(0.5) << ", \"p99_ms\": " << at(0.99)
            << ", \"longest_ms\": " << at(1.0)
            << ", \"longest_by_partition_ms\": " << list(delays.longest_ms)
            << ", \"longest_after_renewal_ms\": " << list(delays.longest_after_ms) << "}"
            << std::endl;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5 && count != 6) {
    std::cerr << "usage: bench_stream_prober BOOTSTRAP TOPICS WARM_UP_S SECONDS [RENEW_AT_S]\n";
    return 2;
  }
  const qiv::Topics topics(arguments[2]);
  const std::chrono::seconds warm_up(std::atoi(arguments[3]));
  const std::chrono::seconds length(std::atoi(arguments[4]));
  const std::chrono::seconds renew_at(count == 6 ? std::atoi(arguments[5]) : 1'000'000);
  Delays delays;
  try {
    qiv::kafka::LogReader reader({{"bootstrap.servers", arguments[1]}},
                                 {topics.positions, topics.forecasts});
    std::optional<Clock::time_point> first;
    while (!first || Clock::now() < *first + warm_up + length) {
      const auto message = reader.poll(std::chrono::milliseconds(100));
      if (!message) continue;
      if (!first) first = Clock::now();
      if (!delays.renewed && Clock::now() >= *first + renew_at) {
        renew(arguments[1], topics);
        delays.renewed = true;
      }
      take(*message, topics, Clock::now() >= *first + warm_up, delays);
    }
  } catch (const std::exception& error) {
    std::cerr << "bench_stream_prober: " << error.what() << "\n";
    return 1;
  }
  print(delays);
}
