#include <algorithm>
#include <cstdint>
#include <vector>

#include "feed/gtfs_reader.h"
#include "feed/number.h"

namespace qiv {
namespace {

struct PointRow {
  std::uint32_t shape = 0;
  std::uint32_t sequence = 0;
  CsvRow row;
  ShapePoint point;
};

bool stands_before(const PointRow& a, const PointRow& b) {
  return a.shape != b.shape ? a.shape < b.shape : a.sequence < b.sequence;
}

class ShapeBuilder {
 public:
  explicit ShapeBuilder(GtfsTable& table) : _table(table) {}

  void read() {
    const CsvColumn id = _table.column("shape_id");
    const CsvColumn sequence = _table.column("shape_pt_sequence");
    const CsvColumn lat = _table.column("shape_pt_lat");
    const CsvColumn lon = _table.column("shape_pt_lon");
    const CsvColumn dist = _table.column("shape_dist_traveled");
    while (_table.next()) {
      const auto number = parse_integer<std::uint32_t>(_table[sequence]);
      const auto lat_deg = parse_number(_table[lat]);
      const auto lon_deg = parse_number(_table[lon]);
      if (_table[id].empty()) {
        _table.reject("no shape_id");
      } else if (!number) {
        _table.reject("shape_pt_sequence is no number from 0");
      } else if (!lat_deg || !lon_deg || !is_plausible({*lat_deg, *lon_deg})) {
        _table.reject("implausible place");
      } else {
        PointRow point{index_of(_table[id]), *number, _table.row(), {{*lat_deg, *lon_deg}, {}}};
        const auto dist_value = parse_number(_table[dist]);
        if (dist_value && *dist_value >= 0.0) {
          point.point.dist = dist_value;
        } else if (!_table[dist].empty()) {
          _table.remark("shape_dist_traveled is no number from 0");
        }
        _rows.push_back(point);
      }
    }
  }

  void build(std::map<ShapeId, std::vector<ShapePoint>>& shapes) {
    if (!std::is_sorted(_rows.begin(), _rows.end(), stands_before))
      std::stable_sort(_rows.begin(), _rows.end(), stands_before);
    for (auto begin = _rows.begin(); begin != _rows.end();) {
      const auto end = std::find_if(begin, _rows.end(),
                                    [&](const PointRow& row) { return row.shape != begin->shape; });
      add_shape(begin, end, shapes);
      begin = end;
    }
  }

 private:
  using Iterator = std::vector<PointRow>::const_iterator;

  std::uint32_t index_of(std::string_view name) {
    const auto known = _index.find(name);
    if (known) return *known;
    const auto index = static_cast<std::uint32_t>(_names.size());
    _index.add(name, index);
    _names.emplace_back(name);
    return index;
  }

  void add_shape(Iterator begin, Iterator end, std::map<ShapeId, std::vector<ShapePoint>>& shapes) {
    std::vector<Iterator> kept;
    for (auto row = begin; row != end; ++row) {
      if (!kept.empty() && row->sequence == kept.back()->sequence) {
        _table.reject("shape_pt_sequence occurs twice", row->row);
      } else {
        kept.push_back(row);
      }
    }
    if (kept.size() < 2) {
      for (const Iterator row : kept) _table.reject("shape of one point", row->row);
      return;
    }
    std::vector<ShapePoint>& points = shapes[ShapeId(_names[begin->shape])];
    points.reserve(kept.size());
    for (const Iterator row : kept) {
      if (!points.empty() && row->point.dist && points.back().dist &&
          *row->point.dist < *points.back().dist)
        _table.remark("shape_dist_traveled falls along the shape", row->row);
      points.push_back(row->point);
    }
  }

  GtfsTable& _table;
  NameIndex _index;
  std::vector<std::string> _names;
  std::vector<PointRow> _rows;
};

}  // namespace

void GtfsReader::read_shapes() {
  GtfsTable shapes = table("shapes.txt");
  ShapeBuilder builder(shapes);
  builder.read();
  builder.build(_timetable.shapes);
}

}  // namespace qiv
