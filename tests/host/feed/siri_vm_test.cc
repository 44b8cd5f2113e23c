#include "feed/siri_vm.h"

#include <gmock/gmock.h>

namespace qiv {
namespace {

using testing::HasSubstr;

std::string delivery(const std::string& activities) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<Siri xmlns="http://www.siri.org.uk/siri"><ServiceDelivery>
<ResponseTimestamp>2025-10-07T06:00:00+01:00</ResponseTimestamp>
<VehicleMonitoringDelivery>)" +
         activities + "</VehicleMonitoringDelivery></ServiceDelivery></Siri>";
}

std::string activity(const std::string& journey) {
  return "<VehicleActivity><RecordedAtTime>2025-10-07T05:59:50.5+01:00</RecordedAtTime>"
         "<MonitoredVehicleJourney>" +
         journey + "</MonitoredVehicleJourney></VehicleActivity>";
}

const char* const full_journey = R"(
  <LineRef>MTA NYCT_B63</LineRef><DirectionRef>1</DirectionRef>
  <FramedVehicleJourneyRef>
    <DataFrameRef>2025-10-07</DataFrameRef>
    <DatedVehicleJourneyRef>MTA NYCT_JG_1</DatedVehicleJourneyRef>
  </FramedVehicleJourneyRef>
  <VehicleLocation><Longitude>-73.98</Longitude><Latitude>40.67</Latitude></VehicleLocation>
  <Bearing>225.5</Bearing><Velocity>8</Velocity>
  <VehicleRef>MTA NYCT_1234</VehicleRef>
  <MonitoredCall><StopPointRef>MTA_305109</StopPointRef><Order>7</Order>
    <VehicleAtStop>true</VehicleAtStop></MonitoredCall>)";

TEST(SiriVm, ReadsAllThatIsStated) {
  const PositionBatch batch = read_siri_vm(delivery(activity(full_journey)));
  ASSERT_EQ(batch.positions.size(), 1U);
  const VehiclePosition& position = batch.positions[0];
  EXPECT_EQ(format_utc(*batch.time), "2025-10-07T05:00:00Z");
  EXPECT_EQ(format_utc(position.received), "2025-10-07T05:00:00Z");
  EXPECT_EQ(format_utc(position.time), "2025-10-07T04:59:50Z");
  EXPECT_EQ(position.vehicle.text(), "MTA NYCT_1234");
  EXPECT_EQ(position.route.text(), "MTA NYCT_B63");
  EXPECT_EQ(position.trip.text(), "MTA NYCT_JG_1");
  EXPECT_EQ(position.direction, 1);
  EXPECT_EQ(position.start_date->to_string(), "20251007");
  EXPECT_EQ(position.place, (LatLon{40.67, -73.98}));
  EXPECT_EQ(position.bearing_deg, 225.5);
  EXPECT_EQ(position.speed_mps, 8.0);
  EXPECT_EQ(position.stop.text(), "MTA_305109");
  EXPECT_EQ(position.stop_sequence, 7U);
  EXPECT_EQ(position.status, StopStatus::stopped_at);
  EXPECT_TRUE(batch.remarks.empty());
}

TEST(SiriVm, StripsPrefixesWhenAsked) {
  PositionOptions options;
  options.strip_prefixes = {"MTA NYCT_", "MTA_"};
  const PositionBatch batch = read_siri_vm(delivery(activity(full_journey)), options);
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.positions[0].vehicle.text(), "1234");
  EXPECT_EQ(batch.positions[0].route.text(), "B63");
  EXPECT_EQ(batch.positions[0].trip.text(), "JG_1");
  EXPECT_EQ(batch.positions[0].stop.text(), "305109");
}

TEST(SiriVm, DoesNotMindNamespacesAndEnvelopes) {
  const PositionBatch batch = read_siri_vm(R"(<soap:Envelope xmlns:soap="s" xmlns:x="y"><soap:Body>
    <x:Siri><x:VehicleMonitoringDelivery>
    <x:ResponseTimestamp>
       2025-10-07T05:00:00Z
    </x:ResponseTimestamp>
    <x:VehicleActivity><x:MonitoredVehicleJourney><x:VehicleRef> V </x:VehicleRef>
    <x:VehicleLocation><x:Longitude>-6</x:Longitude><x:Latitude>53</x:Latitude></x:VehicleLocation>
    </x:MonitoredVehicleJourney></x:VehicleActivity>
    </x:VehicleMonitoringDelivery></x:Siri></soap:Body></soap:Envelope>)");
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.positions[0].vehicle.text(), "V");
  EXPECT_TRUE(batch.positions[0].time_is_received);
  EXPECT_EQ(format_utc(batch.positions[0].time), "2025-10-07T05:00:00Z");
}

TEST(SiriVm, TakesEachDeliverysOwnTime) {
  const PositionBatch batch = read_siri_vm(R"(<Siri>
    <VehicleMonitoringDelivery><ResponseTimestamp>2025-10-07T05:00:00Z</ResponseTimestamp>
    <VehicleActivity><MonitoredVehicleJourney><VehicleRef>A</VehicleRef>
      <MonitoredCall><StopPointRef>S</StopPointRef></MonitoredCall>
    </MonitoredVehicleJourney></VehicleActivity></VehicleMonitoringDelivery>
    <VehicleMonitoringDelivery><ResponseTimestamp>2025-10-07T06:00:00Z</ResponseTimestamp>
    <VehicleActivity><MonitoredVehicleJourney><VehicleRef>B</VehicleRef>
      <MonitoredCall><StopPointRef>S</StopPointRef></MonitoredCall>
    </MonitoredVehicleJourney></VehicleActivity></VehicleMonitoringDelivery></Siri>)");
  ASSERT_EQ(batch.positions.size(), 2U);
  EXPECT_EQ(format_utc(batch.positions[0].received), "2025-10-07T05:00:00Z");
  EXPECT_EQ(format_utc(batch.positions[1].received), "2025-10-07T06:00:00Z");
}

TEST(SiriVm, DoesNotGuessZones) {
  const PositionBatch batch = read_siri_vm(
      delivery("<VehicleActivity><RecordedAtTime>2025-10-07T05:59:50</RecordedAtTime>"
               "<MonitoredVehicleJourney>" +
               std::string(full_journey) + "</MonitoredVehicleJourney></VehicleActivity>"));
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_TRUE(batch.positions[0].time_is_received);
  EXPECT_EQ(batch.remarks.count("implausible time"), 1U);
}

TEST(SiriVm, CountsWhatIsNotUsed) {
  const PositionBatch batch = read_siri_vm(
      delivery("<VehicleActivity/>" + activity("<VehicleRef>V</VehicleRef>") +
               activity("<VehicleRef>W</VehicleRef><VehicleLocation><Latitude>NaN</Latitude>"
                        "<Longitude>5</Longitude></VehicleLocation>")));
  EXPECT_TRUE(batch.positions.empty());
  EXPECT_EQ(batch.rejections.count("activity without MonitoredVehicleJourney"), 1U);
  EXPECT_EQ(batch.rejections.count("neither place nor stop"), 1U);
  EXPECT_EQ(batch.rejections.entries().at("implausible place").first, "feed: vehicle W");
  EXPECT_EQ(batch.read, 3U);
}

TEST(SiriVm, MayBeEmpty) {
  const PositionBatch batch = read_siri_vm(delivery(""));
  EXPECT_EQ(batch.read, 0U);
  EXPECT_TRUE(batch.rejections.empty());
}

TEST(SiriVm, RejectsWhatIsNoDelivery) {
  EXPECT_EQ(read_siri_vm("<html><body>502</body></html>")
                .rejections.count("no VehicleMonitoringDelivery"),
            1U);
  const PositionBatch cut = read_siri_vm("<Siri><VehicleMonitoringDelivery><VehicleAct");
  EXPECT_THAT(cut.rejections.entries().at("not an XML document").first, HasSubstr("at byte"));
  EXPECT_EQ(read_siri_vm("").rejections.count("not an XML document"), 1U);
}

TEST(SiriVm, RejectsDocumentsBeyondTheLimit) {
  PositionOptions options;
  options.max_snapshot_bytes = 100;
  EXPECT_EQ(read_siri_vm(delivery(""), options).rejections.count("snapshot too large"), 1U);
}

TEST(SiriVm, DoesNotDescendForEver) {
  std::string deep;
  for (int i = 0; i < 300'000; ++i) deep += "<a>";
  deep += activity(full_journey);
  for (int i = 0; i < 300'000; ++i) deep += "</a>";
  EXPECT_EQ(read_siri_vm(delivery(deep)).positions.size(), 1U);
}

TEST(SiriVm, DoesNotExpandEntities) {
  const PositionBatch batch = read_siri_vm(
      "<!DOCTYPE x [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>" +
      delivery(activity("<VehicleRef>&b;</VehicleRef><MonitoredCall><StopPointRef>S</StopPointRef>"
                        "</MonitoredCall>"))
          .substr(39));
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.positions[0].vehicle.text(), "&b;");
}

}  // namespace
}  // namespace qiv
