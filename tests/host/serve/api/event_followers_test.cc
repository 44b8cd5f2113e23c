#include "serve/api/event_followers.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <random>
#include <regex>
#include <utility>

#include "host/serve/api/sample_snapshot.h"
#include "host/support/straight_line.h"
#include "serve/api/event_json.h"

namespace qiv {
namespace {

using testing::line_forecast;
using testing::line_network;
using testing::outputs_of;
using testing::sample_snapshot;
using Kind = EventTopic::Kind;

/// In the order in which they are told.
const std::vector<EventTopic> all_topics = {
    {Kind::stop, "A"},
    {Kind::stop, "B"},
    {Kind::stop, "C"},
    {Kind::stop, "D"},
    {Kind::stop, "E"},
    {Kind::trip, "later@20250303"},
    {Kind::trip, "out@20250303"},
    {Kind::vehicle, "v1"},
    {Kind::vehicle, "v2"},
    {Kind::all_vehicles, ""},
};

std::string all_of(EventStream& stream) {
  std::string text;
  std::array<char, 65'536> to{};
  while (true) {
    std::size_t size = to.size();
    stream.read(to.data(), size, [] {});
    if (size == 0) return text;
    text.append(to.data(), size);
  }
}

/// Writes every topic each time and tells it when it differs in more than the time of its making.
class PlainFollower {
 public:
  std::string tell(const OutputsPtr& now) {
    std::string told;
    for (const EventTopic& topic : all_topics) {
      const bool is_moves = topic.kind == Kind::all_vehicles && _before != nullptr;
      const EventContent content = is_moves ? vehicle_moves(_before->snapshot(), now->snapshot())
                                            : event_content(topic, *now);
      const std::string news = std::regex_replace(content.members, made, "");
      if (news.empty() || (!is_moves && news == _told[topic])) continue;
      _told[topic] = news;
      told += event_text(content, now->snapshot());
    }
    _before = now;
    return told;
  }

 private:
  const std::regex made{R"("made":\d+)"};
  OutputsPtr _before;
  std::map<EventTopic, std::string> _told;
};

/// Changes something of the sample, or nothing.
class Fate {
 public:
  explicit Fate(unsigned seed) : _random(seed) {}

  void strike(Snapshot& snapshot) {
    ++snapshot.serial;
    snapshot.now += Seconds(below(90));
    if (below(30) == 0) snapshot.network = below(2) == 0 ? _other : _usual;
    if (below(10) == 0) exchange_trip(snapshot);
    if (below(10) == 0) exchange_vehicle(snapshot);
    for (TripForecast& trip : snapshot.trips) {
      if (below(3) == 0) change(trip, snapshot.now);
    }
    for (VehicleView& vehicle : snapshot.vehicles) {
      if (below(4) == 0) change(vehicle);
    }
  }

 private:
  std::size_t below(std::size_t n) { return _random() % n; }

  void exchange_trip(Snapshot& snapshot) {
    const bool has_out = !snapshot.trips.empty() && snapshot.trips.back().trip.trip.text() == "out";
    if (has_out) {
      snapshot.trips.pop_back();
    } else {
      snapshot.trips.push_back(
          line_forecast(*_usual, "out", below(3), Seconds(below(100)), snapshot.now));
    }
  }

  void exchange_vehicle(Snapshot& snapshot) {
    if (snapshot.vehicles.size() == 2) {
      snapshot.vehicles.pop_back();
    } else {
      snapshot.vehicles.push_back(sample_snapshot().vehicles.back());
    }
  }

  void change(TripForecast& trip, Instant now) {
    constexpr TripState states[] = {TripState::not_begun, TripState::under_way,
                                    TripState::canceled};
    StopForecast& stop = trip.stops.edit()[below(trip.stops.size())];
    switch (below(10)) {
      case 0:
        stop.arrival.time += Seconds(below(7)) - Seconds(3);
        break;
      case 1:
        stop.departure += Seconds(below(400)) - Seconds(200);
        break;
      case 2:
        stop.observed = !stop.observed;
        break;
      case 3:
        stop.skipped = !stop.skipped;
        break;
      case 4:
        trip.state = states[below(3)];
        break;
      case 5:
        trip.made = now;
        break;
      case 6:
        trip.vehicle = VehicleId(below(2) == 0 ? "v1" : "");
        break;
      case 7:
        stop.arrival.upper_90 += Seconds(1);
        break;
      case 8:
        trip.category = static_cast<int>(below(3));
        break;
      default:
        break;  // an equal list that is not shared
    }
  }

  void change(VehicleView& vehicle) {
    switch (below(4)) {
      case 0:
        vehicle.lateness = Seconds(below(3));
        break;
      case 1:
        vehicle.reason = below(2) == 0 ? "standing for 12 min" : "";
        break;
      case 2:
        vehicle.trip.reset();
        break;
      default:
        vehicle.trip =
            TripKey{TripId(below(2) == 0 ? "out" : "later"), testing::monday, Seconds(0)};
    }
  }

  std::mt19937 _random;
  std::shared_ptr<const Network> _usual = line_network();
  std::shared_ptr<const Network> _other =
      std::make_shared<const Network>(testing::straight_network());
};

TEST(EventFollowers, TellTheSameAsThePlainWay) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    Fate fate(seed);
    EventFollowers followers;
    PlainFollower plain;
    const auto stream = std::make_shared<EventStream>(1U << 24U);
    Snapshot snapshot = sample_snapshot();
    OutputsPtr before = outputs_of(snapshot);
    followers.welcome(all_topics, stream, *before);
    ASSERT_EQ(all_of(*stream), plain.tell(before));
    for (int cycle = 0; cycle < 200; ++cycle) {
      fate.strike(snapshot);
      const OutputsPtr now = outputs_of(snapshot);
      followers.tell(*before, *now);
      ASSERT_EQ(all_of(*stream), plain.tell(now)) << "seed " << seed << ", cycle " << cycle;
      before = now;
    }
  }
}

class EventFollowersTest : public ::testing::Test {
 protected:
  EventFollowersTest() { _followers.welcome(all_topics, _stream, *_last); }

  std::size_t written_for(const Snapshot& snapshot) {
    const OutputsPtr before = std::exchange(_last, outputs_of(snapshot));
    return _followers.tell(*before, *_last);
  }

  const std::shared_ptr<EventStream> _stream = std::make_shared<EventStream>(1U << 20U);
  Snapshot _snapshot = sample_snapshot();

 private:
  OutputsPtr _last = outputs_of(_snapshot);
  EventFollowers _followers;
};

TEST_F(EventFollowersTest, NothingIsWrittenWhereNothingChanges) {
  for (int cycle = 0; cycle < 5; ++cycle) {
    ++_snapshot.serial;
    _snapshot.now += Seconds(1);
    EXPECT_EQ(written_for(_snapshot), 0U);
  }
}

TEST_F(EventFollowersTest, WhatChangesIsWrittenAlone) {
  _snapshot.vehicles[1].status = VehicleStatus::stale;
  EXPECT_EQ(written_for(_snapshot), 2U) << "the vehicle, and all vehicles";
  _snapshot.trips[1].stops.edit()[4].arrival.upper_90 += Seconds(5);
  EXPECT_EQ(written_for(_snapshot), 3U) << "the last stop, the trip and its vehicle";
  EXPECT_EQ(written_for(_snapshot), 0U);
}

TEST_F(EventFollowersTest, NothingIsWrittenForAReaderThatIsGone) {
  _stream->close();
  _snapshot.trips[1].stops.edit()[4].arrival.upper_90 += Seconds(5);
  EXPECT_EQ(written_for(_snapshot), 0U);
}

}  // namespace
}  // namespace qiv
