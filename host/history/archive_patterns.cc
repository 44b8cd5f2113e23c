#include "history/archive.h"
#include "history/archive_impl.h"

namespace qiv {

PatternOutline Archive::Impl::read_pattern(const Query& select) {
  PatternOutline outline;
  const std::int64_t ref = select.integer(0);
  outline.ref = PatternRef(name(ref));
  outline.route = RouteId(name(select.integer(1)));
  if (const auto direction = select.optional_integer(2)) {
    outline.direction = static_cast<int>(*direction);
  }
  outline.length_m = select.real(3);
  Query stops = query("SELECT stop, offset_m FROM pattern_stop WHERE pattern = ? ORDER BY serial");
  stops.with(ref);
  while (stops.next()) {
    outline.stops.push_back({StopId(name(stops.integer(0))), stops.real(1)});
  }
  return outline;
}

void Archive::keep_patterns(std::span<const PatternOutline> patterns) {
  _impl->write([&] {
    for (const PatternOutline& outline : patterns) {
      const std::int64_t ref = _impl->intern(outline.ref);
      const std::int64_t route = _impl->intern(outline.route);
      std::optional<std::int64_t> direction;
      if (outline.direction) direction = *outline.direction;
      _impl
          ->query(
              "INSERT OR REPLACE INTO pattern (ref, route, direction, length_m)"
              " VALUES (?, ?, ?, ?)")
          .with(ref, route, direction, outline.length_m)
          .run();
      _impl->query("DELETE FROM pattern_stop WHERE pattern = ?").with(ref).run();
      std::int64_t serial = 0;
      for (const auto& [stop, offset_m] : outline.stops) {
        const std::int64_t stop_number = _impl->intern(stop);
        _impl
            ->query(
                "INSERT INTO pattern_stop (pattern, serial, stop, offset_m)"
                " VALUES (?, ?, ?, ?)")
            .with(ref, serial++, stop_number, offset_m)
            .run();
      }
    }
  });
}

std::optional<PatternOutline> Archive::pattern(const PatternRef& ref) const {
  return _impl->read([&]() -> std::optional<PatternOutline> {
    const auto number = _impl->find(ref.text());
    if (!number) return std::nullopt;
    Query select =
        _impl->query("SELECT ref, route, direction, length_m FROM pattern WHERE ref = ?");
    if (!select.with(*number).next()) return std::nullopt;
    return _impl->read_pattern(select);
  });
}

std::vector<PatternOutline> Archive::patterns() const {
  return _impl->read([&] {
    std::vector<PatternOutline> found;
    Query select = _impl->query(
        "SELECT ref, route, direction, length_m FROM pattern JOIN name ON id = ref ORDER BY text");
    while (select.next()) found.push_back(_impl->read_pattern(select));
    return found;
  });
}

}  // namespace qiv
