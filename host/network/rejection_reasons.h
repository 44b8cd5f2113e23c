#pragma once

#include <string_view>

/// Why `build_network` did not use something, or not as it stands.
namespace qiv::rejected {

inline constexpr std::string_view zone_of_agency =
    "agency in another time zone than the first: its times are read in the first one's";
inline constexpr std::string_view stop_place = "call at a stop without a plausible place";
inline constexpr std::string_view few_stops = "trip with fewer than two usable stops";
inline constexpr std::string_view short_path = "trip whose stops all lie at one place";
inline constexpr std::string_view no_end_times = "trip without a time at its first or last stop";
inline constexpr std::string_view falling_time = "stated time that goes back: interpolated";
inline constexpr std::string_view unknown_service = "trip of a service without days: never runs";
inline constexpr std::string_view unknown_shape =
    "trip whose shape is missing or has no length: straight from stop to stop";
inline constexpr std::string_view useless_shape =
    "pattern with no stop near its shape: straight from stop to stop";
inline constexpr std::string_view stop_off_shape =
    "stop far from its pattern's shape, or out of order on it: the path goes through it";
inline constexpr std::string_view shape_point = "shape point without a plausible place";
inline constexpr std::string_view frequency = "frequency without a headway or without a span";
inline constexpr std::string_view repetitions = "repetition beyond the limit of the network";

}  // namespace qiv::rejected
