#include "host/app/snapshot_folder.h"

#include <fstream>
#include <iterator>

#include "app/make_source.h"
#include "gtfs-realtime.pb.h"

namespace qiv::testing {
namespace {

std::string message_of(const VehiclePosition& report) {
  transit_realtime::FeedMessage message;
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  message.mutable_header()->set_timestamp(static_cast<std::uint64_t>(unix_seconds(wall_clock())));
  auto& entity = *message.add_entity();
  entity.set_id("1");
  auto& vehicle = *entity.mutable_vehicle();
  vehicle.mutable_vehicle()->set_id(report.vehicle.text());
  vehicle.mutable_trip()->set_trip_id(report.trip.text());
  vehicle.mutable_position()->set_latitude(static_cast<float>(report.place->lat_deg));
  vehicle.mutable_position()->set_longitude(static_cast<float>(report.place->lon_deg));
  vehicle.set_timestamp(static_cast<std::uint64_t>(unix_seconds(report.time)));
  return message.SerializeAsString();
}

}  // namespace

void put_snapshot(const std::filesystem::path& folder, const std::string& name,
                  const VehiclePosition& report) {
  const std::filesystem::path hidden = folder / ".coming";
  std::ofstream(hidden, std::ios::binary) << message_of(report);
  std::filesystem::rename(hidden, folder / name);
}

std::string bytes_of(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace qiv::testing
