// Two gateways, of which one after the other is replaced while positions flow and settings change:
// a reader who asks one that says it is ready never misses a forecast.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <set>
#include <thread>

#include "gtfs-realtime.pb.h"
#include "host/app/program.h"
#include "host/app/stream_in_step.h"
#include "host/app/stream_programs.h"
#include "worker/reference_codec.h"

namespace qiv {
namespace {

using std::chrono::minutes;
using testing::Program;

using Trips = std::set<std::string>;

/// The trips that vehicles are on, on display after each minute of the data, as one process shows
/// them.
std::vector<Trips> on_the_road(const testing::StreamData& data, const LearnedSettings& settings) {
  testing::StreamInStep process(data, settings);
  std::vector<Trips> by_minute;
  for (Instant now = data.positions.front().received; now < data.positions.back().received;
       now += minutes(1)) {
    process.pass(now);
    Trips& trips = by_minute.emplace_back();
    const auto snapshot = process.display().show(now);
    for (const TripForecast& trip : snapshot->trips) {
      if (!trip.vehicle.empty() && !trip.stops.empty()) trips.insert(trip.trip.trip.text());
    }
  }
  return by_minute;
}

/// Asks one of two gateways that says it is ready, each in its turn, as a load balancer does.
class Balancer {
 public:
  void put(std::size_t place, const std::string& url) {
    const std::lock_guard lock(_mutex);
    _urls.at(place) = url;
  }
  void take_out(std::size_t place) { put(place, ""); }

  /// Empty when none is ready.
  std::string get(const std::string& path) {
    const std::lock_guard lock(_mutex);
    for (std::size_t tried = 0; tried < _urls.size(); ++tried) {
      const std::string& url = _urls[_next++ % _urls.size()];
      if (!url.empty() && !testing::answer_of(url + "/readyz").empty()) {
        return testing::answer_of(url + path);
      }
    }
    return "";
  }

 private:
  std::mutex _mutex;
  std::array<std::string, 2> _urls;
  std::size_t _next = 0;
};

/// Asks for the trip updates again and again, and notes which of the trips on the road are missing.
class Reader {
 public:
  Reader(Balancer& balancer, Instant begin, std::vector<Trips> road)
      : _balancer(balancer),
        _begin(begin),
        _road(std::move(road)),
        _thread([this](std::stop_token stop) {
          while (!stop.stop_requested()) look();
        }) {}

  void stop() {
    _thread.request_stop();
    _thread.join();
  }
  Instant newest() const { return from_unix_seconds(_newest); }
  std::size_t looks() const { return _looks; }
  const std::set<std::string>& missing() const { return _missing; }

 private:
  void look() {
    ++_looks;
    transit_realtime::FeedMessage feed;
    if (!feed.ParseFromString(_balancer.get("/gtfs-rt/trip-updates"))) {
      _missing.insert("all: no gateway answers");
      return;
    }
    _newest = static_cast<long long>(feed.header().timestamp());
    Trips shown;
    for (const auto& entity : feed.entity()) {
      const auto& update = entity.trip_update();
      const bool is_forecast = update.has_vehicle() && update.stop_time_update_size() > 0;
      if (is_forecast) shown.insert(update.trip().trip_id());
    }
    for (const std::string& trip : expected()) {
      if (!shown.contains(trip)) _missing.insert(trip + " at " + format_utc(newest()));
    }
  }

  /// The trips that are on the road for two minutes before and after what is shown: the messages of
  /// different partitions have no order.
  Trips expected() const {
    constexpr std::ptrdiff_t margin = 2;
    const std::ptrdiff_t minute = (newest() - _begin) / Seconds(60);
    Trips all;
    if (minute < margin) return all;
    for (std::ptrdiff_t i = minute - margin; i <= minute + margin; ++i) {
      const Trips& then = _road[std::min(static_cast<std::size_t>(i), _road.size() - 1)];
      if (i == minute - margin) all = then;
      std::erase_if(all, [&](const std::string& trip) { return !then.contains(trip); });
    }
    return all;
  }

  Balancer& _balancer;
  Instant _begin;
  std::vector<Trips> _road;
  std::atomic<long long> _newest = 0;
  std::atomic<std::size_t> _looks = 0;
  std::set<std::string> _missing;
  std::jthread _thread;
};

class GatewayUpgradeTest : public testing::StreamProgramsTest {
 protected:
  struct Gateway {
    std::unique_ptr<Program> program;
    std::string url;
  };

  Gateway start() const {
    auto program = std::make_unique<Program>(
        std::vector<std::string>{"gateway", folder.path().string(), "--port", "0", "--recorded"});
    std::string url = program->wait_for_url();
    return {std::move(program), std::move(url)};
  }

  static bool is_ready(const Gateway& gateway) {
    return !testing::answer_of(gateway.url + "/readyz").empty();
  }

  void write_settings(int turnaround_s) const {
    LearnedSettings settings;
    settings.turnaround = Seconds(turnaround_s);
    kafka::Producer producer(stream->properties);
    producer.send(stream->names.reference, 0, encode_settings(settings, stream->until));
    producer.flush();
  }

  /// Writes what was received in a minute, and waits until workers have forecast it.
  void pass_minute(std::size_t minute) {
    const auto& positions = stream->data.positions;
    const Instant until = positions.front().received + minutes(minute + 1);
    const auto end = std::ranges::upper_bound(positions, until, {}, &VehiclePosition::received);
    const double share =
        static_cast<double>(end - positions.begin()) / static_cast<double>(positions.size());
    stream->write_positions(std::exchange(_written, share), share);
    ASSERT_TRUE(stream->wait_until_done());
  }

  /// Takes a gateway out, and starts a new one in its place, which is not yet asked.
  void replace(std::size_t place) {
    balancer.take_out(place);
    EXPECT_EQ(gateways.at(place).program->end(SIGTERM), 0);
    EXPECT_EQ(gateways.at(place).program->errors(), "");
    gateways.at(place) = start();
  }

  Balancer balancer;
  std::array<Gateway, 2> gateways;

 private:
  double _written = 0.0;
};

TEST_F(GatewayUpgradeTest, AReaderSeesNoGapAndInTheEndWhatWasNeverReplaced) {
  begin(testing::recorded("07:30:00", "08:30:00"));
  const std::vector<Trips> road = on_the_road(stream->data, stream->settings);
  ASSERT_GT(std::ranges::max(road, {}, &Trips::size).size(), 15U);
  Program worker({"worker", folder.path().string(), "--port", "0"});
  const Gateway undisturbed = start();
  gateways = {start(), start()};
  pass_minute(0);
  for (std::size_t place : {0U, 1U}) {
    ASSERT_TRUE(testing::eventually([&] { return is_ready(gateways.at(place)); }));
    balancer.put(place, gateways.at(place).url);
  }
  Reader reader(balancer, stream->data.positions.front().received, road);
  std::size_t replaced = 0;
  bool is_coming = false;
  for (std::size_t minute = 1; minute < road.size(); ++minute) {
    pass_minute(minute);
    ASSERT_TRUE(testing::eventually([&] {
      return reader.newest() >= stream->data.positions.front().received + minutes(minute - 1);
    }));
    if (minute % 10 == 0 && !is_coming && replaced < gateways.size()) {
      replace(replaced);
      is_coming = true;
      write_settings(static_cast<int>(minute));
    }
    if (!is_coming || !is_ready(gateways.at(replaced))) continue;
    balancer.put(replaced, gateways.at(replaced).url);
    is_coming = false;
    ++replaced;
  }
  reader.stop();
  EXPECT_EQ(replaced, gateways.size());
  EXPECT_GT(reader.looks(), road.size());
  EXPECT_THAT(reader.missing(), ::testing::IsEmpty());
  for (const std::string path : {"/gtfs-rt/trip-updates", "/gtfs-rt/vehicle-positions", "/siri/et",
                                 "/api/v1/trips", "/api/v1/vehicles"}) {
    for (const Gateway& gateway : gateways) {
      std::string seen;
      std::string wanted;
      EXPECT_TRUE(testing::eventually([&] {
        seen = testing::answer_of(gateway.url + path);
        wanted = testing::answer_of(undisturbed.url + path);
        return !seen.empty() && seen == wanted;
      })) << path
          << ":\n"
          << seen.substr(0, 1000) << "\nundisturbed:\n"
          << wanted.substr(0, 1000);
    }
  }
}

}  // namespace
}  // namespace qiv
