#include "model/trip_forecast.h"
#include "model/trip_run.h"

namespace qiv {

std::string to_string(const TripKey& key) {
  std::string text = key.trip.text() + "@" + key.day.to_string();
  if (key.start != Seconds(0)) text += "#" + format_time_of_day(key.start);
  return text;
}

const char* to_string(TripState state) {
  switch (state) {
    case TripState::not_begun:
      return "not_begun";
    case TripState::waiting:
      return "waiting";
    case TripState::under_way:
      return "under_way";
    case TripState::overdue:
      return "overdue";
    case TripState::finished:
      return "finished";
    case TripState::canceled:
      return "canceled";
  }
  return "unknown";
}

const char* to_string(ForecastBasis basis) {
  switch (basis) {
    case ForecastBasis::history:
      return "history";
    case ForecastBasis::timetable:
      return "timetable";
  }
  return "unknown";
}

}  // namespace qiv
