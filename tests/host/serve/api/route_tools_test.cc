#include "serve/api/route_tools.h"

#include <gtest/gtest.h>

#include "host/serve/api/sample_snapshot.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

using testing::outputs_of;
using testing::sample_snapshot;

Request request(const char* target) {
  Request request;
  request.method = "GET";
  request.target = parse_target(target);
  return request;
}

TEST(RequestName, EqualQuestionsHaveEqualNames) {
  EXPECT_EQ(request_name(request("/a/b?c=d")), request_name(request("/a/%62?%63=d")));
  EXPECT_NE(request_name(request("/a/b")), request_name(request("/a%2Fb")));
  EXPECT_NE(request_name(request("/a?b=c")), request_name(request("/a?bc=")));
  EXPECT_NE(request_name(request("/a?b=c&d=e")), request_name(request("/a?d=e&b=c")));
}

TEST(AddLiveJson, AnswersAreMadeOnceForEachSnapshotAndQuery) {
  int made = 0;
  OutputsPtr outputs = outputs_of(sample_snapshot());
  ApiContext context;
  context.current = [&] { return outputs; };
  Router router;
  add_live_json(router, context, "/x",
                [&](const Outputs&, const Request&) { return std::to_string(++made); });
  const Handler& handler = router.routes()[0].handler;
  EXPECT_EQ(handler(request("/x")).body->bytes(), "1");
  EXPECT_EQ(handler(request("/x")).body->bytes(), "1");
  EXPECT_EQ(handler(request("/x?a")).body->bytes(), "2");
  EXPECT_EQ(handler(request("/x")).body->modified(), sample_snapshot().now);
  outputs = outputs_of(sample_snapshot());
  EXPECT_EQ(handler(request("/x")).body->bytes(), "3");
}

TEST(TripOf, TellsWhatIsWrong) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  EXPECT_EQ(trip_of(outputs->index(), "out@20250303").trip, TripId("out"));
  const auto code = [&](const char* text) {
    try {
      trip_of(outputs->index(), text);
    } catch (const HttpError& error) {
      return error.code();
    }
    return HttpErrorCode::internal;
  };
  EXPECT_EQ(code("out"), HttpErrorCode::bad_parameter);
  EXPECT_EQ(code("ghost@20250303"), HttpErrorCode::not_found);
  EXPECT_EQ(code("out@20250303#08:00:00"), HttpErrorCode::not_found);
}

}  // namespace
}  // namespace qiv
