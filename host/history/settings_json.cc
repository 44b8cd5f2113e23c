#include "history/settings_json.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace qiv {
namespace {

using nlohmann::json;

json json_of(const PatternSettings& settings) {
  return {{"bandwidth", settings.bandwidth},
          {"window", settings.window},
          {"category_depth", settings.category_depth},
          {"least_trips", settings.least_trips},
          {"milestone_spacing_m", settings.milestone_spacing_m},
          {"delay_clock", settings.delay_clock}};
}

json json_of(const BoundQuantiles& quantiles) {
  return {{"floor_s", quantiles.floor_s}, {"q05", quantiles.q05}, {"q16", quantiles.q16},
          {"q84", quantiles.q84},         {"q95", quantiles.q95}, {"samples", quantiles.samples}};
}

json json_of(const Calibration& calibration) {
  json states = json::array();
  for (const auto& row : calibration.quantiles) {
    json leads = json::array();
    for (const BoundQuantiles& quantiles : row) leads.push_back(json_of(quantiles));
    states.push_back(std::move(leads));
  }
  json object = json::object();
  object["quantiles"] = std::move(states);
  return object;
}

[[noreturn]] void refuse(const std::string& path, const char* expected) {
  throw std::runtime_error("learned settings: " + path + " is not " + expected +
                           "; learn again to replace them");
}

/// A member of an object, with the path to it for messages; `value` is null if it is not there.
struct Member {
  const json* value = nullptr;
  std::string path;

  Member member(const char* name) const {
    Member inner{nullptr, path.empty() ? name : path + "." + name};
    if (value == nullptr) return inner;
    if (!value->is_object()) refuse(path.empty() ? "the text" : path, "an object");
    const auto found = value->find(name);
    if (found != value->end() && !found->is_null()) inner.value = &*found;
    return inner;
  }

  void read(double& result) const {
    if (value == nullptr) return;
    if (!value->is_number()) refuse(path, "a number");
    result = value->get<double>();
  }
  void read(bool& result) const {
    if (value == nullptr) return;
    if (!value->is_boolean()) refuse(path, "true or false");
    result = value->get<bool>();
  }
  template <class Integer>
  void read_integer(Integer& result) const {
    if (value == nullptr) return;
    const bool fits =
        value->is_number_unsigned()
            ? std::in_range<Integer>(value->get<std::uint64_t>())
            : value->is_number_integer() && std::in_range<Integer>(value->get<std::int64_t>());
    if (!fits) refuse(path, "a whole number in its range");
    result = value->get<Integer>();
  }

  /// The elements of a list of exactly `count`; none if the member is missing.
  std::vector<Member> elements(std::size_t count) const {
    std::vector<Member> found;
    if (value == nullptr) return found;
    if (!value->is_array() || value->size() != count) refuse(path, "a list of the right length");
    for (std::size_t i = 0; i < count; ++i) {
      found.push_back({&(*value)[i], path + "[" + std::to_string(i) + "]"});
    }
    return found;
  }
};

void read(const Member& from, PatternSettings& settings) {
  from.member("bandwidth").read(settings.bandwidth);
  from.member("window").read_integer(settings.window);
  from.member("category_depth").read_integer(settings.category_depth);
  from.member("least_trips").read_integer(settings.least_trips);
  from.member("milestone_spacing_m").read(settings.milestone_spacing_m);
  from.member("delay_clock").read(settings.delay_clock);
}

void read(const Member& from, BoundQuantiles& quantiles) {
  from.member("floor_s").read(quantiles.floor_s);
  from.member("q05").read(quantiles.q05);
  from.member("q16").read(quantiles.q16);
  from.member("q84").read(quantiles.q84);
  from.member("q95").read(quantiles.q95);
  from.member("samples").read_integer(quantiles.samples);
}

void read(const Member& from, Calibration& calibration) {
  const auto states = from.member("quantiles").elements(Calibration::states);
  for (std::size_t state = 0; state < states.size(); ++state) {
    const auto leads = states[state].elements(Calibration::leads);
    for (std::size_t lead = 0; lead < leads.size(); ++lead) {
      read(leads[lead], calibration.quantiles[state][lead]);
    }
  }
}

}  // namespace

std::string to_json(const PatternSettings& settings) {
  return json_of(settings).dump();
}

std::string to_json(const LearnedSettings& settings) {
  json patterns = json::object();
  for (const auto& [ref, of_pattern] : settings.patterns) {
    patterns[ref.text()] = json_of(of_pattern);
  }
  const json all = {{"fallback", json_of(settings.fallback)},
                    {"patterns", std::move(patterns)},
                    {"calibration", json_of(settings.calibration)},
                    {"turnaround_s", settings.turnaround.count()}};
  return all.dump(-1, ' ', false, json::error_handler_t::replace);
}

LearnedSettings settings_from_json(std::string_view text) {
  const json all = json::parse(text, nullptr, false);
  if (all.is_discarded()) refuse("the text", "JSON");
  const Member root{&all, ""};
  LearnedSettings settings;
  read(root.member("fallback"), settings.fallback);
  read(root.member("calibration"), settings.calibration);
  const Member patterns = root.member("patterns");
  if (patterns.value != nullptr) {
    if (!patterns.value->is_object()) refuse(patterns.path, "an object");
    for (const auto& [ref, of_pattern] : patterns.value->items()) {
      read({&of_pattern, "patterns." + ref}, settings.patterns[PatternRef(ref)]);
    }
  }
  std::int64_t turnaround_s = settings.turnaround.count();
  root.member("turnaround_s").read_integer(turnaround_s);
  settings.turnaround = Seconds(turnaround_s);
  return settings;
}

}  // namespace qiv
