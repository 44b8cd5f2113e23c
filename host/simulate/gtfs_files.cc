#include "simulate/gtfs_files.h"

#include <zip.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qiv {
namespace {

/// One table, row by row.
class Table {
 public:
  explicit Table(std::string_view header) : _text(header) { _text += '\n'; }

  Table& cell(std::string_view text) {
    separate();
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
      _text += text;
      return *this;
    }
    _text += '"';
    for (const char c : text) {
      if (c == '"') _text += '"';
      _text += c;
    }
    _text += '"';
    return *this;
  }
  Table& cell(long long number) { return cell(std::to_string(number)); }
  Table& cell(const std::optional<Seconds>& time) {
    return cell(time ? format_time_of_day(*time) : std::string());
  }
  /// Degrees, to the centimetre.
  Table& degrees(double value) { return decimals(value, 7); }
  Table& decimals(double value, int places) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, value);
    return cell(text.data());
  }
  Table& optional_decimals(const std::optional<double>& value) {
    return value ? decimals(*value, 3) : cell("");
  }
  void end_row() {
    _text += '\n';
    _row_is_empty = true;
  }
  std::string take() { return std::move(_text); }

 private:
  void separate() {
    if (!_row_is_empty) _text += ',';
    _row_is_empty = false;
  }

  std::string _text;
  bool _row_is_empty = true;
};

std::string agencies(const Timetable& timetable) {
  Table table("agency_id,agency_name,agency_url,agency_timezone");
  for (const Agency& agency : timetable.agencies) {
    table.cell(agency.id.text()).cell(agency.name).cell("https://agency.example");
    table.cell(agency.time_zone).end_row();
  }
  return table.take();
}

std::string stops(const Timetable& timetable) {
  Table table("stop_id,stop_name,stop_lat,stop_lon");
  for (const Stop& stop : timetable.stops) {
    table.cell(stop.id.text()).cell(stop.name);
    table.degrees(stop.place.lat_deg).degrees(stop.place.lon_deg).end_row();
  }
  return table.take();
}

std::string routes(const Timetable& timetable) {
  Table table("route_id,route_short_name,route_long_name,route_type,route_color");
  for (const Route& route : timetable.routes) {
    table.cell(route.id.text()).cell(route.short_name).cell(route.long_name);
    table.cell(route.type).cell(route.color).end_row();
  }
  return table.take();
}

std::string trips(const Timetable& timetable) {
  Table table("route_id,service_id,trip_id,trip_headsign,direction_id,block_id,shape_id");
  for (const Trip& trip : timetable.trips) {
    table.cell(timetable.routes[trip.route].id.text()).cell(trip.service.text());
    table.cell(trip.id.text()).cell(trip.headsign);
    table.cell(trip.direction ? std::to_string(*trip.direction) : std::string());
    table.cell(trip.block.text()).cell(trip.shape.text()).end_row();
  }
  return table.take();
}

std::string stop_times(const Timetable& timetable) {
  Table table("trip_id,arrival_time,departure_time,stop_id,stop_sequence,shape_dist_traveled");
  for (const Trip& trip : timetable.trips) {
    for (const StopTime& call : trip.stop_times) {
      table.cell(trip.id.text()).cell(call.arrival).cell(call.departure);
      table.cell(timetable.stops[call.stop].id.text()).cell(call.sequence);
      table.optional_decimals(call.shape_dist).end_row();
    }
  }
  return table.take();
}

std::string shapes(const Timetable& timetable) {
  Table table("shape_id,shape_pt_lat,shape_pt_lon,shape_pt_sequence,shape_dist_traveled");
  for (const auto& [id, points] : timetable.shapes) {
    long long sequence = 0;
    for (const ShapePoint& point : points) {
      table.cell(id.text()).degrees(point.place.lat_deg).degrees(point.place.lon_deg);
      table.cell(++sequence).optional_decimals(point.dist).end_row();
    }
  }
  return table.take();
}

std::string calendar(const Timetable& timetable) {
  Table table(
      "service_id,monday,tuesday,wednesday,thursday,friday,saturday,sunday,start_date,end_date");
  for (const auto& [id, service] : timetable.services) {
    if (!service.first || !service.last) continue;
    table.cell(id.text());
    for (const bool runs : service.weekdays) table.cell(runs ? 1 : 0);
    table.cell(service.first->to_string()).cell(service.last->to_string()).end_row();
  }
  return table.take();
}

std::string calendar_dates(const Timetable& timetable) {
  Table table("service_id,date,exception_type");
  for (const auto& [id, service] : timetable.services) {
    for (const ServiceDate day : service.added) {
      table.cell(id.text()).cell(day.to_string()).cell(1).end_row();
    }
    for (const ServiceDate day : service.removed) {
      table.cell(id.text()).cell(day.to_string()).cell(2).end_row();
    }
  }
  return table.take();
}

std::string frequencies(const Timetable& timetable) {
  Table table("trip_id,start_time,end_time,headway_secs");
  for (const Frequency& frequency : timetable.frequencies) {
    table.cell(timetable.trips[frequency.trip].id.text());
    table.cell(std::optional(frequency.first)).cell(std::optional(frequency.end));
    table.cell(frequency.headway.count()).end_row();
  }
  return table.take();
}

std::string feed_info(const Timetable& timetable) {
  Table table("feed_publisher_name,feed_publisher_url,feed_lang,feed_version");
  table.cell(timetable.agencies.front().name).cell("https://agency.example").cell("en");
  table.cell(timetable.version).end_row();
  return table.take();
}

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error("zip file cannot be made: " + what);
}

}  // namespace

std::map<std::string, std::string> gtfs_files(const Timetable& timetable) {
  return {{"agency.txt", agencies(timetable)},
          {"stops.txt", stops(timetable)},
          {"routes.txt", routes(timetable)},
          {"trips.txt", trips(timetable)},
          {"stop_times.txt", stop_times(timetable)},
          {"shapes.txt", shapes(timetable)},
          {"calendar.txt", calendar(timetable)},
          {"calendar_dates.txt", calendar_dates(timetable)},
          {"frequencies.txt", frequencies(timetable)},
          {"feed_info.txt", feed_info(timetable)}};
}

/// 1980-01-01, where the times of zip files begin.
constexpr std::time_t first_zip_time = 315'532'800;

std::string zip_of(const std::map<std::string, std::string>& files) {
  zip_error_t error;
  zip_error_init(&error);
  const std::unique_ptr<zip_source_t, void (*)(zip_source_t*)> target(
      zip_source_buffer_create(nullptr, 0, 0, &error), zip_source_free);
  if (target == nullptr) fail(zip_error_strerror(&error));
  zip_source_keep(target.get());  // one for the archive, one to read from
  zip_t* const archive = zip_open_from_source(target.get(), ZIP_TRUNCATE, &error);
  if (archive == nullptr) fail(zip_error_strerror(&error));
  for (const auto& [name, content] : files) {
    zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
    const zip_int64_t index = zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0 ||
        zip_file_set_mtime(archive, static_cast<zip_uint64_t>(index), first_zip_time, 0) != 0) {
      const std::string reason = zip_strerror(archive);
      zip_discard(archive);
      fail(reason);
    }
  }
  if (zip_close(archive) != 0) fail("it cannot be closed");
  zip_stat_t stat;
  if (zip_source_stat(target.get(), &stat) != 0 || zip_source_open(target.get()) != 0) {
    fail("it cannot be read back");
  }
  std::string bytes(stat.size, '\0');
  const zip_int64_t read = zip_source_read(target.get(), bytes.data(), bytes.size());
  zip_source_close(target.get());
  if (read != static_cast<zip_int64_t>(bytes.size())) fail("it cannot be read back");
  return bytes;
}

}  // namespace qiv
