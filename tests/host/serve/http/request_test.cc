#include "serve/http/request.h"

#include <gmock/gmock.h>

#include "serve/http/error.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(ParseTarget, SplitsAndDecodes) {
  const RequestTarget target = parse_target("/api/v1/stops/A%2FB%20c?limit=3&q=a+b%26&x");
  EXPECT_THAT(target.segments, ElementsAre("api", "v1", "stops", "A/B c"));
  EXPECT_THAT(target.query, ElementsAre(Pair("limit", "3"), Pair("q", "a b&"), Pair("x", "")));
}

TEST(ParseTarget, TheRootHasOneEmptySegment) {
  EXPECT_THAT(parse_target("/").segments, ElementsAre(""));
  EXPECT_THAT(parse_target("/a/").segments, ElementsAre("a", ""));
}

TEST(ParseTarget, APlusInAPathIsAPlus) {
  EXPECT_THAT(parse_target("/a+b").segments, ElementsAre("a+b"));
}

TEST(ParseTarget, TakesAnAddressToo) {
  EXPECT_THAT(parse_target("http://localhost:8080/a?b").segments, ElementsAre("a"));
  EXPECT_THAT(parse_target("http://localhost").segments, ElementsAre(""));
}

TEST(ParseTarget, RefusesWhatLeavesTheTreeOrIsNoText) {
  for (const char* text : {"", "a", "*", "/..", "/a/../b", "/a/./b", "/%2e%2E/etc/passwd", "/a%",
                           "/a%2", "/a%zz", "/a%00b", "/a?b=%0a", "/a%7f"}) {
    try {
      parse_target(text);
      FAIL() << text;
    } catch (const HttpError& error) {
      EXPECT_EQ(error.code(), HttpErrorCode::bad_request) << text;
    }
  }
}

TEST(Request, FindsWhatItHas) {
  Request request;
  request.target = parse_target("/?stop=A&stop=B&limit=");
  request.headers["accept"] = "text/plain";
  request.parameters["id"] = "7";
  EXPECT_EQ(request.query("stop"), "A");
  EXPECT_EQ(request.query("limit"), "");
  EXPECT_EQ(request.query("none"), std::nullopt);
  EXPECT_THAT(request.query_all("stop"), ElementsAre("A", "B"));
  EXPECT_EQ(request.header("accept"), "text/plain");
  EXPECT_EQ(request.header("host"), "");
  EXPECT_EQ(request.parameter("id"), "7");
  EXPECT_THROW(request.parameter("other"), std::logic_error);
}

}  // namespace
}  // namespace qiv
