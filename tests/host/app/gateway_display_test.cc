// A reader of the gateway sees what a reader of the one-process service sees.

#include "app/gateway_display.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/app/stream_in_step.h"
#include "host/history/temporary_folder.h"
#include "serve/api/api_routes.h"
#include "serve/api/api_server.h"
#include "serve/live_service.h"

namespace qiv {
namespace {

using testing::StreamData;
using testing::StreamInStep;

/// A reader of the API of snapshots.
class Reader {
 public:
  Reader() {
    ApiContext context;
    context.current = [this] { return _outputs; };
    context.server_counts = [] { return ServerCounts(); };
    _router = api_router(context);
  }

  void show(const std::shared_ptr<const Snapshot>& snapshot) {
    if (_index == nullptr) {
      _index = std::make_shared<const NetworkIndex>(snapshot->network, snapshot->now);
    }
    _outputs = std::make_shared<const Outputs>(snapshot, _index, _guard.next(*snapshot));
  }

  std::string get(const std::string& path) const {
    Request request;
    request.method = "GET";
    request.target = parse_target(path);
    return _router.find("GET", request.target.segments, request.parameters)
        .handler(request)
        .body->bytes();
  }

 private:
  FeedGuard _guard;
  std::shared_ptr<const NetworkIndex> _index;
  OutputsPtr _outputs;
  Router _router;
};

/// Compares what two readers see.
class SideBySide {
 public:
  explicit SideBySide(const Network& network) {
    for (const Stop& stop : network.stops()) _stops.push_back(stop.id.text());
  }

  void show(std::shared_ptr<const Snapshot> one, std::shared_ptr<const Snapshot> other) {
    _one.show(one);
    _other.show(other);
    ASSERT_EQ(one->now, other->now);
    for (const char* path :
         {"/gtfs-rt/trip-updates", "/gtfs-rt/vehicle-positions", "/siri/et", "/api/v1/trips",
          "/api/v1/vehicles", "/api/v1/scores", "/api/v1/changes"}) {
      expect_same(path);
    }
    const std::string& stop = _stops[_shown++ % _stops.size()];
    expect_same("/api/v1/stops/" + stop + "/arrivals?limit=200");
    expect_same("/siri/sm?stop=" + stop);
    if (_shown % 10 != 0) return;
    for (const TripForecast& trip : one->trips)
      expect_same("/api/v1/trips/" + to_string(trip.trip));
  }

  std::uint64_t compared_bytes() const { return _bytes; }

 private:
  void expect_same(const std::string& path) {
    const std::string one = _one.get(path);
    _bytes += one.size();
    const std::string other = _other.get(path);
    if (one == other) return;
    const auto at = static_cast<std::size_t>(
        std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first - one.begin());
    const std::size_t from = at - std::min<std::size_t>(at, 300);
    FAIL() << path << ":\n" << one.substr(from, 500) << "\ngateway:\n" << other.substr(from, 500);
  }

  Reader _one;
  Reader _other;
  std::vector<std::string> _stops;
  std::size_t _shown = 0;
  std::uint64_t _bytes = 0;
};

/// The service goes on to list a vehicle for some minutes after it has forgotten its last report.
std::shared_ptr<const Snapshot> without_forgotten(const std::shared_ptr<const Snapshot>& given) {
  auto snapshot = std::make_shared<Snapshot>(*given);
  std::erase_if(snapshot->vehicles,
                [](const VehicleView& vehicle) { return vehicle.last_received == Instant(); });
  return snapshot;
}

void expect_same(const std::optional<Explanation>& one, const Why& other) {
  if (!one) {
    EXPECT_EQ(other.reason, "no vehicle is under way on this trip");
    return;
  }
  ASSERT_TRUE(other.explanation) << other.reason;
  EXPECT_EQ(one->basis, other.explanation->basis);
  ASSERT_EQ(one->trips.size(), other.explanation->trips.size());
  for (std::size_t i = 0; i < one->trips.size(); ++i) {
    EXPECT_EQ(one->trips[i].trip, other.explanation->trips[i].trip);
    EXPECT_EQ(one->trips[i].weight, other.explanation->trips[i].weight);
  }
}

/// The agency cancels one of the trips of the day, and skips stops of another, for three hours.
std::vector<AgencyReport> agency_reports(const StreamData& data) {
  std::vector<AgencyReport> reports;
  const auto middle =
      data.positions.begin() + static_cast<std::ptrdiff_t>(data.positions.size() / 2);
  const auto later = std::find_if(middle, data.positions.end(), [&](const VehiclePosition& other) {
    return !other.trip.empty() && other.trip != middle->trip;
  });
  TripUpdate canceled;
  canceled.trip = middle->trip;
  canceled.start_date = data.network->clock().local_day(middle->time);
  canceled.status = TripStatus::canceled;
  TripUpdate skipping;
  skipping.trip = later->trip;
  skipping.start_date = canceled.start_date;
  PredictedCall call;
  call.stop_sequence = data.network->find_trip(later->trip, Seconds(0))->call(3).sequence;
  call.status = CallStatus::skipped;
  skipping.calls.push_back(call);
  auto content = std::make_shared<AgencyContent>();
  content->updates = {canceled, skipping};
  const Instant first = data.positions.front().received;
  for (Instant now = first; now < data.positions.back().received; now += Seconds(60)) {
    reports.push_back({"agency", now, Seconds(600), content});
  }
  return reports;
}

/// Shows the positions by both, step by step, and compares.
void compare(const StreamData& data) {
  LearnedSettings settings;
  settings.fallback.window = 100'000;
  StreamInStep stream(data, settings);
  const samples::TemporaryFolder folder;
  Archive archive(folder / "archive.sqlite");
  HistoryBook book(*data.network, settings);
  for (const FinishedTrip& trip : data.histories) book.take(trip);
  LiveCityOptions city_options;
  city_options.records = false;
  LiveCity city(
      data.network, settings, archive, [&](const Network&, const auto&) { return book.source(); },
      city_options);
  const std::vector<AgencyReport> reports = agency_reports(data);
  auto report = reports.begin();
  SideBySide both(*data.network);
  std::uint64_t scored = 0;
  std::uint64_t explained = 0;
  std::uint64_t cycles = 0;
  const Instant end = data.positions.back().received;
  const auto publish = [&](const std::shared_ptr<const Snapshot>& one) {
    if (one->now == end || ::testing::Test::HasFailure()) return;
    stream.pass(one->now);
    for (; report != reports.end() && report->received <= one->now; ++report) {
      stream.display().tell(*report);
    }
    both.show(without_forgotten(one), stream.display().show(one->now));
    scored = one->scores.back().arrivals;
    if (++cycles % 20 != 0) return;
    for (const TripForecast& trip : one->trips) {
      const auto why = city.explain_trip(trip.trip);
      expect_same(why, stream.display().why(trip.trip));
      if (why) ++explained;
    }
  };
  ServiceOptions options;
  options.city = "town";
  LiveService service(city, {}, publish, options);
  service.run_recorded({}, data.positions, {}, reports);
  EXPECT_GE(cycles, 100U);
  EXPECT_GT(scored, 100U);
  EXPECT_GT(explained, 100U);
  EXPECT_GT(both.compared_bytes(), 1'000'000U);
  ::testing::Test::RecordProperty("bytes_a_message",
                                  std::to_string(stream.bytes() / stream.messages()));
}

TEST(GatewayDisplayTest, ShowsARecordedDayAsTheServiceDoes) {
  compare(testing::recorded("00:00:00", "23:59:59"));
}

TEST(GatewayDisplayTest, ShowsATownAsTheServiceDoes) {
  compare(testing::simulated(7));
}

}  // namespace
}  // namespace qiv
