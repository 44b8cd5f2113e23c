// Measures the delay from a vehicle's report to the prediction that was made from it.
//
//   bench_serve_prober URL SECONDS
//
// Fetches the vehicle positions again and again, which are made from the same snapshot as the trip
// updates and shown at the same moment. A vehicle's `timestamp` is the time of its last report;
// when it changes, the delay is the time at which the answer began to come minus that timestamp.
// Timestamps are whole seconds, so a delay is up to a second too long. Prints counts and quantiles
// as JSON.

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "gtfs-realtime.pb.h"

namespace {

using Steady = std::chrono::steady_clock;

double wall_s() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

struct Answer {
  std::string body;
  double began_s = 0.0;  ///< when the first byte of the body came
};

std::size_t take(char* data, std::size_t size, std::size_t count, void* to) {
  auto* const answer = static_cast<Answer*>(to);
  if (answer->body.empty()) answer->began_s = wall_s();
  answer->body.append(data, size * count);
  return size * count;
}

double quantile(const std::vector<double>& sorted, double share) {
  if (sorted.empty()) return 0.0;
  const auto at = static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1));
  return sorted[at];
}

/// What is remembered of the vehicles from answer to answer.
class Delays {
 public:
  void take(const transit_realtime::FeedMessage& message, double began_s) {
    vehicles = message.entity_size();
    if (message.header().timestamp() == _header) return;
    _header = message.header().timestamp();
    ++feeds;
    for (const auto& entity : message.entity()) {
      const std::uint64_t reported = entity.vehicle().timestamp();
      const auto [known, is_new] = _last.emplace(entity.id(), reported);
      // The first answer holds what was reported before anyone asked.
      if ((is_new && feeds == 1) || (!is_new && known->second >= reported)) continue;
      known->second = reported;
      delays_s.push_back(began_s - static_cast<double>(reported));
    }
  }

  std::vector<double> delays_s;
  std::size_t feeds = 0;
  int vehicles = 0;

 private:
  std::uint64_t _header = 0;
  std::unordered_map<std::string, std::uint64_t> _last;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: bench_serve_prober URL SECONDS\n";
    return 2;
  }
  const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
  curl_easy_setopt(curl.get(), CURLOPT_URL, argv[1]);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, take);
  Delays delays;
  std::size_t failures = 0;
  std::size_t largest = 0;
  const auto end = Steady::now() + std::chrono::seconds(std::atoi(argv[2]));
  while (Steady::now() < end) {
    Answer answer;
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &answer);
    transit_realtime::FeedMessage message;
    if (curl_easy_perform(curl.get()) != CURLE_OK || !message.ParseFromString(answer.body)) {
      ++failures;
    } else {
      largest = std::max(largest, answer.body.size());
      delays.take(message, answer.began_s);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  }
  std::sort(delays.delays_s.begin(), delays.delays_s.end());
  std::cout << "{\"feeds\": " << delays.feeds << ", \"failures\": " << failures
            << ", \"vehicles\": " << delays.vehicles << ", \"bytes\": " << largest
            << ", \"changed\": " << delays.delays_s.size()
            << ", \"median_s\": " << quantile(delays.delays_s, 0.5)
            << ", \"p90_s\": " << quantile(delays.delays_s, 0.9)
            << ", \"p99_s\": " << quantile(delays.delays_s, 0.99) << "}\n";
  return delays.delays_s.empty() ? 1 : 0;
}
