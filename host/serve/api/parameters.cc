#include "serve/api/parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "serve/http/error.h"

namespace qiv {
namespace {

[[noreturn]] void refuse(std::string_view name, const std::string& value,
                         const std::string& remedy) {
  throw HttpError(HttpErrorCode::bad_parameter,
                  "The parameter " + std::string(name) + " is '" + value + "'.", remedy);
}

template <class Number>
std::optional<Number> parse(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<long long> whole_number(const Request& request, std::string_view name,
                                      long long least, long long most) {
  const auto text = request.query(name);
  if (!text) return std::nullopt;
  const auto number = parse<long long>(*text);
  if (number && *number >= least && *number <= most) return number;
  refuse(
      name, *text,
      "Write a whole number from " + std::to_string(least) + " to " + std::to_string(most) + ".");
}

std::optional<std::size_t> choice(const Request& request, std::string_view name,
                                  std::span<const std::string_view> choices) {
  const auto text = request.query(name);
  if (!text) return std::nullopt;
  const auto found = std::find(choices.begin(), choices.end(), *text);
  if (found != choices.end()) return static_cast<std::size_t>(found - choices.begin());
  std::string remedy = "Write one of:";
  for (const std::string_view one : choices) remedy.append(" ").append(one);
  refuse(name, *text, remedy + ".");
}

std::optional<BoundingBox> bounding_box(const Request& request, std::string_view name) {
  const auto text = request.query(name);
  if (!text) return std::nullopt;
  constexpr const char* remedy =
      "Write west,south,east,north in degrees, such as -6.4,53.2,-6.0,53.5.";
  std::array<double, 4> edges{};
  std::string_view rest = *text;
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const std::size_t comma = rest.find(',');
    const bool is_last = i + 1 == edges.size();
    const auto number = parse<double>(rest.substr(0, comma));
    if (!number || !std::isfinite(*number) || is_last != (comma == std::string_view::npos)) {
      refuse(name, *text, remedy);
    }
    edges[i] = *number;
    if (!is_last) rest.remove_prefix(comma + 1);
  }
  const BoundingBox box{edges[0], edges[1], edges[2], edges[3]};
  if (box.south > box.north) refuse(name, *text, remedy);
  return box;
}

}  // namespace qiv
