#include "serve/api/openapi.h"

#include <gmock/gmock.h>

#include <set>

#include "host/serve/api/api_fixture.h"
#include "host/serve/api/schema_check.h"

namespace qiv {
namespace {

using Json = nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::RawConnection;
using testing::Response;
using testing::schema_faults;

const Json& document() {
  static const Json document = Json::parse(openapi_json);
  return document;
}

std::string encoded(const std::string& text) {
  constexpr std::string_view hex = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '@' || c == '.' || c == '-') {
      out += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      out += '%';
      out += hex[byte >> 4U];
      out += hex[byte & 0xFU];
    }
  }
  return out;
}

std::string between(const std::string& text, const std::string& start, const std::string& end) {
  const std::size_t from = text.find(start) + start.size();
  return text.substr(from, text.find(end, from) - from);
}

class OpenApi : public testing::ApiTest {
 protected:
  OpenApi() { start(); }

  /// The path with the examples of its parameters in their places; every parameter of the query
  /// that has one, too, when `optional`.
  std::string target(const std::string& path, const Json& operation, bool optional) {
    std::string result = path;
    std::string query;
    for (const Json& parameter : operation.value("parameters", Json::array())) {
      const std::string name = parameter["name"];
      if (parameter["in"] == "path") {
        const std::string value =
            name == "pattern"
                ? ApiTest::json("/api/v1/patterns")["patterns"][0]["pattern"].get<std::string>()
                : parameter["example"].get<std::string>();
        result.replace(result.find('{'), name.size() + 2, encoded(value));
      } else if (parameter.contains("example") && (optional || parameter["required"].get<bool>())) {
        query += (query.empty() ? "?" : "&") + name + "=" +
                 encoded(parameter["example"].get<std::string>());
      }
    }
    return result + query;
  }

  void check(const std::string& path, const Json& operation, const Response& response) {
    const std::string status = std::to_string(response.status);
    ASSERT_TRUE(operation["responses"].contains(status)) << path << ": " << status;
    const Json& described = operation["responses"][status];
    const std::string type = response.headers.at("content-type");
    const std::string media = type.substr(0, type.find(';'));
    ASSERT_TRUE(described["content"].contains(media)) << path << ": " << type;
    if (media != "application/json" && media != "application/geo+json") return;
    EXPECT_THAT(schema_faults(Json::parse(response.body), described["content"][media]["schema"],
                              document(), path),
                IsEmpty());
  }
};

TEST_F(OpenApi, EveryPathAnswersAsDescribed) {
  for (const auto& [path, methods] : document()["paths"].items()) {
    for (const auto& [method, operation] : methods.items()) {
      SCOPED_TRACE(method + " " + path);
      if (path == "/events") continue;
      if (method == "post") {
        const Response done =
            testing::request(_server->port(), "POST", target(path, operation, false),
                             {{"Authorization", "Bearer secret"}});
        EXPECT_EQ(done.status, 200);
        check(path, operation, done);
        continue;
      }
      for (const bool optional : {false, true}) {
        const Response response = get(target(path, operation, optional));
        EXPECT_EQ(response.status, 200) << response.body;
        check(path, operation, response);
      }
    }
  }
}

TEST_F(OpenApi, ErrorsAnswerAsDescribed) {
  for (const auto& [path, methods] : document()["paths"].items()) {
    if (!methods.contains("get") || path.find('{') == std::string::npos) continue;
    SCOPED_TRACE(path);
    std::string unknown = path;
    unknown.replace(unknown.find('{'), unknown.find('}') - unknown.find('{') + 1, "ghost@20250303");
    const Response response = get(unknown);
    EXPECT_EQ(response.status, 404);
    check(path, methods["get"], response);
  }
}

TEST_F(OpenApi, EventsTellWhatIsDescribed) {
  const Json& schemas = document()["components"]["schemas"];
  RawConnection reader(_server->port());
  reader.send(
      "GET /events?stop=C&trip=out@20250303&trip=loop1@20250303&vehicle=v1&vehicles=all "
      "HTTP/1.1\r\nHost: x\r\n\r\n");
  const std::map<std::string, std::string> schema_of = {{"stop", "Arrivals"},
                                                        {"trip", "TripDetail"},
                                                        {"gone", "GoneEvent"},
                                                        {"vehicle", "VehicleDetail"},
                                                        {"vehicles", "VehiclesEvent"}};
  EXPECT_EQ(reader.read_response(false).status, 200);
  EXPECT_EQ(reader.read_event(), "retry: 3000\n\n");
  std::multiset<std::string> told;
  for (int i = 0; i < 5; ++i) {
    const std::string event = reader.read_event();
    const std::string name = between(event, "\nevent: ", "\n");
    told.insert(name);
    const Json data = Json::parse(between(event, "\ndata: ", "\n\n"));
    EXPECT_THAT(schema_faults(data, schemas[schema_of.at(name)], document(), name), IsEmpty());
  }
  EXPECT_THAT(told, ElementsAre("gone", "stop", "trip", "vehicle", "vehicles"));
}

TEST(OpenApiDocument, EveryRouteIsDescribedAndEveryPathHasARoute) {
  ApiContext context;
  context.why = [](const TripKey&) { return Why(); };
  std::set<std::string> routes;
  const Router router = api_router(context);
  for (const HttpRoute& route : router.routes()) {
    routes.insert(route.method + " " + route.pattern);
  }
  std::set<std::string> described;
  for (const auto& [path, methods] : document()["paths"].items()) {
    for (const auto& [method, operation] : methods.items()) {
      described.insert((method == "post" ? "POST " : "GET ") + path);
    }
  }
  EXPECT_EQ(described, routes);
}

TEST(OpenApiDocument, EveryReferenceLeadsSomewhere) {
  std::set<std::string> used;
  const std::string text(openapi_json);
  const std::string start = "\"#/components/schemas/";
  for (std::size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
    const std::size_t name = at + start.size();
    used.insert(text.substr(name, text.find('"', name) - name));
  }
  for (const std::string& name : used) {
    EXPECT_TRUE(document()["components"]["schemas"].contains(name)) << name;
  }
}

TEST(SchemaFaults, FindsWhatIsWrong) {
  const Json all = Json::parse(R"({"components":{"schemas":{
      "Inner":{"type":"object","required":["n"],"properties":{"n":{"type":"integer"}}}}}})");
  const Json schema = Json::parse(R"({"type":"object","required":["a","b"],"properties":{
      "a":{"type":"string","enum":["x"]},
      "b":{"nullable":true,"allOf":[{"$ref":"#/components/schemas/Inner"}]},
      "c":{"type":"array","items":{"type":"number"}}}})");
  const auto faults = [&](const char* value) {
    return schema_faults(Json::parse(value), schema, all);
  };
  EXPECT_THAT(faults(R"({"a":"x","b":null,"c":[1,2.5]})"), IsEmpty());
  EXPECT_THAT(faults(R"({"a":"x","b":{"n":1}})"), IsEmpty());
  EXPECT_THAT(faults(R"({"a":"y","b":{"n":"1"}})"),
              ElementsAre(".a is \"y\", which is not listed", ".b.n is no integer"));
  EXPECT_THAT(
      faults(R"({"a":null,"b":{},"c":["1"],"d":1})"),
      ElementsAre(".a is null", ".b.n is missing", ".c[0] is no number", ".d is not described"));
  EXPECT_THAT(faults(R"({"a":"x"})"), ElementsAre(".b is missing"));
  EXPECT_THAT(faults("[]"), ElementsAre(" is no object"));
}

}  // namespace
}  // namespace qiv
