#include "serve/http/router.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "serve/http/error.h"

namespace qiv {
namespace {

class RouterTest : public ::testing::Test {
 protected:
  RouterTest() {
    for (const char* pattern : {"/", "/stops", "/stops/{stop}", "/stops/{stop}/arrivals",
                                "/stops/near", "/trips/{trip}"}) {
      _router.get(pattern, nullptr);
    }
    _router.post("/actions/{action}", nullptr);
    _router.post("/stops", nullptr);
  }

  std::string find(const char* method, const char* path) {
    _parameters.clear();
    try {
      return _router.find(method, parse_target(path).segments, _parameters).pattern;
    } catch (const HttpError& error) {
      return kind_of(error.code()).name;
    }
  }

  Router _router;
  std::map<std::string, std::string, std::less<>> _parameters;
};

TEST_F(RouterTest, FindsTheRouteAndItsParameters) {
  EXPECT_EQ(find("GET", "/"), "/");
  EXPECT_EQ(find("GET", "/stops"), "/stops");
  EXPECT_EQ(find("HEAD", "/stops/A%2FB/arrivals"), "/stops/{stop}/arrivals");
  EXPECT_EQ(_parameters.at("stop"), "A/B");
  EXPECT_EQ(find("POST", "/actions/reload"), "/actions/{action}");
}

TEST_F(RouterTest, TextComesBeforeAParameter) {
  EXPECT_EQ(find("GET", "/stops/near"), "/stops/near");
  EXPECT_TRUE(_parameters.empty());
}

TEST_F(RouterTest, TellsAnUnknownPathFromAnUnknownMethod) {
  EXPECT_EQ(find("GET", "/nothing"), "not_found");
  EXPECT_EQ(find("GET", "/stops/"), "not_found");
  EXPECT_EQ(find("GET", "/stops/a/b/c"), "not_found");
  EXPECT_EQ(find("DELETE", "/stops"), "method_not_allowed");
  EXPECT_EQ(find("GET", "/actions/reload"), "method_not_allowed");
}

TEST_F(RouterTest, ListsTheMethodsOfAPath) {
  EXPECT_EQ(_router.allowed({"stops"}), "GET, HEAD, POST");
  EXPECT_EQ(_router.allowed({"stops", "near"}), "GET, HEAD");
  EXPECT_EQ(_router.allowed({"nothing"}), "");
}

TEST_F(RouterTest, RefusesARouteThatIsThere) {
  EXPECT_THROW(_router.get("/stops", nullptr), std::logic_error);
}

}  // namespace
}  // namespace qiv
