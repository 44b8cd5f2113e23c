#include "model/timetable.h"

namespace qiv {

bool Service::runs_on(ServiceDate day) const {
  if (removed.contains(day)) return false;
  if (added.contains(day)) return true;
  if (!first || !last || day < *first || day > *last) return false;
  return weekdays[day.weekday().iso_encoding() - 1];
}

}  // namespace qiv
