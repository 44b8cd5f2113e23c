#include "host/serve/api/schema_check.h"

#include <algorithm>

namespace qiv::testing {
namespace {

using nlohmann::json;

bool has_type(const json& value, const std::string& type) {
  if (type == "string") return value.is_string();
  if (type == "integer") return value.is_number_integer();
  if (type == "number") return value.is_number();
  if (type == "boolean") return value.is_boolean();
  if (type == "array") return value.is_array();
  return type == "object" && value.is_object();
}

class Checker {
 public:
  explicit Checker(const json& document) : _document(document) {}

  void check(const json& value, const json& stated, const std::string& place) {
    const json& schema = resolve(stated);
    if (value.is_null()) {
      if (!stated.value("nullable", false)) fault(place, "is null");
      return;
    }
    if (schema.contains("type") && !has_type(value, schema["type"])) {
      return fault(place, "is no " + schema["type"].get<std::string>());
    }
    if (schema.contains("enum")) {
      const json& values = schema["enum"];
      if (std::find(values.begin(), values.end(), value) == values.end()) {
        fault(place, "is " + value.dump() + ", which is not listed");
      }
    }
    if (value.is_object() && schema.contains("properties")) check_object(value, schema, place);
    if (value.is_array() && schema.contains("items")) {
      for (std::size_t i = 0; i < value.size(); ++i) {
        check(value[i], schema["items"], place + "[" + std::to_string(i) + "]");
      }
    }
  }

  std::vector<std::string> faults() && { return std::move(_faults); }

 private:
  void fault(const std::string& place, const std::string& what) {
    _faults.push_back(place + " " + what);
  }

  const json& resolve(const json& schema) const {
    if (schema.contains("allOf")) return resolve(schema["allOf"][0]);
    if (!schema.contains("$ref")) return schema;
    return _document.at(json::json_pointer(schema["$ref"].get<std::string>().substr(1)));
  }

  void check_object(const json& value, const json& schema, const std::string& place) {
    const json& properties = schema["properties"];
    for (const auto& [name, member] : value.items()) {
      if (properties.contains(name)) {
        check(member, properties[name], place + "." + name);
      } else {
        fault(place + "." + name, "is not described");
      }
    }
    if (!schema.contains("required")) return;
    for (const json& name : schema["required"]) {
      if (!value.contains(name.get<std::string>())) {
        fault(place + "." + name.get<std::string>(), "is missing");
      }
    }
  }

  const json& _document;
  std::vector<std::string> _faults;
};

}  // namespace

std::vector<std::string> schema_faults(const json& value, const json& schema, const json& document,
                                       const std::string& place) {
  Checker checker(document);
  checker.check(value, schema, place);
  return std::move(checker).faults();
}

}  // namespace qiv::testing
