#include "publish/siri_xml.h"

#include <gmock/gmock.h>

#include "host/publish/siri_document.h"
#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::ReadBack;

TEST(SiriDocument, HasTheStandardsFrame) {
  SiriDocument document("StopMonitoringDelivery", at("08:00:00"));
  document.open("A");
  document.write("B", [](pugi::xml_node node) { add_text(node, "C", "<&>\x01"); });
  document.close("A");
  const std::string text = document.finish();
  EXPECT_THAT(text, ::testing::StartsWith(
                        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<Siri xmlns=\"http://www.siri.org.uk/siri\" version=\"2.0\">\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("<C>&lt;&amp;&gt;\xEF\xBF\xBD</C>"));
  const ReadBack read(text);
  EXPECT_THAT(read.children("Siri/ServiceDelivery"),
              ElementsAre("ResponseTimestamp", "ProducerRef", "StopMonitoringDelivery"));
  EXPECT_THAT(read.children("//StopMonitoringDelivery"),
              ElementsAre("ResponseTimestamp", "Status", "A"));
  EXPECT_EQ(read.text("Siri/ServiceDelivery/ResponseTimestamp"), "2025-10-01T07:00:00Z");
}

TEST(SiriXml, NamesARepetitionByItsStart) {
  const Network network = testing::small_network();
  const TripForecast forecast = testing::forecast_of(network, "R", "10:01:00", {"10:00:00"},
                                                     {"10:05:00", "10:15:00", "10:25:00"});
  Rejections withheld;
  pugi::xml_document document;
  add_journey(document, *published_trip(forecast, network, withheld), network);
  EXPECT_STREQ(document.child("FramedVehicleJourneyRef").child_value("DatedVehicleJourneyRef"),
               "R-10:00:00");
}

TEST(SiriXml, RecordedWhenThePositionWasTaken) {
  TripForecast forecast;
  forecast.made = at("08:01:00");
  EXPECT_EQ(recorded_at(forecast, at("08:02:00")), at("08:01:00"));
  forecast.position_time = at("08:00:30");
  EXPECT_EQ(recorded_at(forecast, at("08:02:00")), at("08:00:30"));
  EXPECT_EQ(recorded_at(forecast, at("08:00:00")), at("08:00:00")) << "never after the document";
}

}  // namespace
}  // namespace qiv
