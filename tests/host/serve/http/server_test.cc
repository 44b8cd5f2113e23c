#include "serve/http/server.h"

#include <gmock/gmock.h>

#include <future>
#include <mutex>
#include <stdexcept>

#include "feed/gunzip.h"
#include "host/serve/http/eventually.h"
#include "host/serve/http/http_client.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

using namespace std::chrono_literals;
using testing::eventually;
using testing::get;
using ::testing::HasSubstr;
using testing::RawConnection;
using testing::request;
using testing::Response;
using ::testing::StartsWith;

Answer text_answer(const std::string& text) {
  return {200, make_blob(text, "text/plain", from_unix_seconds(1'700'000'000)), {}, {}};
}

/// A server with a route of each kind.
class ServerTest : public ::testing::Test {
 protected:
  void start(ServerOptions options = {}) {
    Router router;
    router.get("/", [](const Request&) { return text_answer("home"); });
    router.get("/long", [](const Request&) { return text_answer(std::string(20'000, 'x')); });
    router.get("/stops/{id}",
               [](const Request& asked) { return text_answer(asked.parameter("id")); });
    router.get("/fault", [](const Request&) -> Answer { throw std::runtime_error("it broke"); });
    router.get(
        "/slow",
        [this](const Request&) {
          _slow_begun.set_value();
          _slow_may_end.get_future().wait();
          return text_answer("slow");
        },
        RouteKind::slow);
    router.get("/events", [this](const Request&) {
      Answer answer;
      answer.events = std::make_shared<EventStream>(256 * 1024);
      answer.events->push(std::make_shared<const std::string>("data: welcome\n\n"));
      const std::lock_guard lock(_mutex);
      _streams.push_back(answer.events);
      return answer;
    });
    router.post("/do", [](const Request& asked) { return text_answer("did " + asked.body); });
    _server =
        std::make_unique<HttpServer>(options, std::move(router), [this](const std::string& what) {
          const std::lock_guard lock(_mutex);
          _reported = what;
        });
  }

  std::uint16_t port() const { return _server->port(); }

  std::string reported() {
    const std::lock_guard lock(_mutex);
    return _reported;
  }

  std::shared_ptr<EventStream> stream(std::size_t i) {
    const std::lock_guard lock(_mutex);
    return _streams.at(i);
  }

  std::promise<void> _slow_begun;
  std::promise<void> _slow_may_end;
  std::mutex _mutex;
  std::string _reported;
  std::vector<std::shared_ptr<EventStream>> _streams;
  std::unique_ptr<HttpServer> _server;
};

std::string code_of(const Response& response) {
  const std::string start = "{\"code\":\"";
  if (!response.body.starts_with(start)) return response.body;
  return response.body.substr(start.size(), response.body.find('"', start.size()) - start.size());
}

TEST_F(ServerTest, Answers) {
  start();
  const Response home = get(port(), "/");
  EXPECT_EQ(home.status, 200);
  EXPECT_EQ(home.body, "home");
  EXPECT_EQ(home.headers.at("content-type"), "text/plain");
  EXPECT_EQ(home.headers.at("cache-control"), "no-cache");
  EXPECT_EQ(home.headers.at("x-content-type-options"), "nosniff");
  EXPECT_EQ(home.headers.at("referrer-policy"), "no-referrer");
  EXPECT_EQ(home.headers.at("content-security-policy"),
            "default-src 'none'; frame-ancestors 'none'");
  EXPECT_EQ(get(port(), "/stops/A%2FB%20%C3%A9").body, "A/B \xC3\xA9");
  EXPECT_EQ(_server->counts().answers[2], 2u);
  EXPECT_EQ(_server->url(), "http://127.0.0.1:" + std::to_string(port()));
}

TEST_F(ServerTest, AnswersManyRequestsOnOneConnection) {
  start();
  RawConnection connection(port());
  for (int i = 0; i < 3; ++i) {
    connection.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(connection.read_response().body, "home");
  }
}

TEST_F(ServerTest, HeadTellsTheLengthOnly) {
  start();
  const Response head = request(port(), "HEAD", "/long");
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.headers.at("content-length"), "20000");
  EXPECT_EQ(head.body, "");
}

TEST_F(ServerTest, AReaderThatHasItGets304) {
  start();
  const Response first = get(port(), "/long");
  const Response again = get(port(), "/long", {{"If-None-Match", first.headers.at("etag")}});
  EXPECT_EQ(again.status, 304);
  EXPECT_EQ(again.headers.at("etag"), first.headers.at("etag"));
  const Response dated =
      get(port(), "/long", {{"If-Modified-Since", first.headers.at("last-modified")}});
  EXPECT_EQ(dated.status, 304);
}

TEST_F(ServerTest, Compresses) {
  start();
  const Response packed = get(port(), "/long", {{"Accept-Encoding", "gzip"}});
  EXPECT_EQ(packed.headers.at("content-encoding"), "gzip");
  EXPECT_LT(packed.body.size(), 200u);
  EXPECT_EQ(gunzip(packed.body, "answer", 1 << 20), std::string(20'000, 'x'));
}

TEST_F(ServerTest, ErrorsHaveCodeMessageAndRemedy) {
  start();
  const Response unknown = get(port(), "/nothing");
  EXPECT_EQ(unknown.status, 404);
  EXPECT_EQ(code_of(unknown), "not_found");
  EXPECT_EQ(unknown.headers.at("content-type"), "application/json");
  EXPECT_THAT(unknown.body, HasSubstr("\"remedy\":\""));
  const Response method = request(port(), "DELETE", "/");
  EXPECT_EQ(method.status, 405);
  EXPECT_EQ(method.headers.at("allow"), "GET, HEAD");
}

TEST_F(ServerTest, AFaultIsReportedAndNotShown) {
  start();
  const Response fault = get(port(), "/fault");
  EXPECT_EQ(fault.status, 500);
  EXPECT_EQ(code_of(fault), "internal");
  EXPECT_EQ(fault.body.find("it broke"), std::string::npos);
  EXPECT_EQ(reported(), "/fault: it broke");
}

TEST_F(ServerTest, RefusesWhatIsTooLarge) {
  start();
  const Response uri = get(port(), "/" + std::string(5000, 'a'));
  EXPECT_EQ(uri.status, 414);
  EXPECT_EQ(code_of(uri), "uri_too_long");
  const Response headers = get(port(), "/", {{"X-Long", std::string(9000, 'a')}});
  EXPECT_EQ(headers.status, 431);
  EXPECT_EQ(code_of(headers), "headers_too_large");
  const Response enormous = get(port(), "/", {{"X-Long", std::string(100'000, 'a')}});
  EXPECT_TRUE(enormous.status == 431 || enormous.status == 0) << enormous.status;
  RawConnection body(port());
  body.send("POST /do HTTP/1.1\r\nHost: x\r\nContent-Length: 70000\r\n\r\n");
  const Response refused = body.read_response();
  EXPECT_EQ(refused.status, 413);
  EXPECT_EQ(code_of(refused), "body_too_large");
  RawConnection endless(port());
  endless.send("POST /do HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n");
  EXPECT_EQ(endless.read_response().status, 411);
}

TEST_F(ServerTest, RefusesWhatIsNoRequest) {
  start();
  for (const char* text : {"nonsense\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/1.1\r\nno colon\r\n\r\n",
                           "GET / HTTP/9.9\r\n\r\n", "GET / HTTP/1.1\r\n\r\n"}) {
    RawConnection connection(port());
    connection.send(text);
    const int status = connection.read_response().status;
    EXPECT_TRUE(status == 0 || status == 400 || status == 505) << status << " for " << text;
  }
  EXPECT_EQ(get(port(), "/").status, 200) << "and goes on";
}

TEST_F(ServerTest, NoPathLeavesTheTree) {
  start();
  for (const char* path : {"/../etc/passwd", "/stops/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd",
                           "/..%2fetc", "/stops/%00", "//etc/passwd", "/stops/.."}) {
    RawConnection connection(port());
    connection.send(std::string("GET ") + path + " HTTP/1.1\r\nHost: x\r\n\r\n");
    const int status = connection.read_response().status;
    EXPECT_TRUE(status == 400 || status == 404) << status << " for " << path;
  }
}

TEST_F(ServerTest, EndsConnectionsThatTakeTooLong) {
  ServerOptions options;
  options.request_timeout = 50ms;
  start(options);
  RawConnection unused(port());
  RawConnection slow(port());
  slow.send("GET / HTTP/1.1\r\nX-Slow: ");
  EXPECT_TRUE(unused.is_closed());
  EXPECT_TRUE(slow.is_closed());
  EXPECT_TRUE(eventually([this] { return _server->counts().connections == 0; }));
  EXPECT_EQ(_server->counts().late_connections, 2u);
}

TEST_F(ServerTest, EndsReadersThatTakeTooLong) {
  ServerOptions options;
  options.answer_timeout = 50ms;
  Router router;
  router.get("/huge", [](const Request&) { return text_answer(std::string(64U << 20U, 'x')); });
  _server = std::make_unique<HttpServer>(options, std::move(router));
  const RawConnection connection(port(), 4096);
  connection.send("GET /huge HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_TRUE(eventually([this] { return _server->counts().late_connections == 1; }));
  EXPECT_TRUE(eventually([this] { return _server->counts().connections == 0; }));
}

TEST_F(ServerTest, HoldsTheLimitOfConnectionsOfAnAddress) {
  ServerOptions options;
  options.max_connections_per_ip = 2;
  start(options);
  RawConnection one(port());
  RawConnection two(port());
  EXPECT_TRUE(eventually([this] { return _server->counts().connections == 2; }));
  RawConnection three(port());
  three.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_TRUE(three.is_closed());
  one.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(one.read_response().status, 200);
}

TEST_F(ServerTest, WritesNeedTheToken) {
  ServerOptions options;
  options.token = "secret";
  start(options);
  const Response without = request(port(), "POST", "/do");
  EXPECT_EQ(without.status, 401);
  EXPECT_EQ(without.headers.at("www-authenticate"), "Bearer");
  EXPECT_EQ(request(port(), "POST", "/do", {{"Authorization", "Bearer guess"}}).status, 401);
  const Response done =
      request(port(), "POST", "/do", {{"Authorization", "Bearer secret"}}, "something");
  EXPECT_EQ(done.status, 200);
  EXPECT_EQ(done.body, "did something");
}

TEST_F(ServerTest, NothingIsWrittenWhereThereIsNoToken) {
  start();
  EXPECT_EQ(request(port(), "POST", "/do", {{"Authorization", "Bearer "}}).status, 404);
}

TEST_F(ServerTest, ASlowHandlerHoldsNothingUp) {
  ServerOptions options;
  options.threads = 1;
  options.max_slow_waiting = 1;
  start(options);
  RawConnection slow(port());
  slow.send("GET /slow HTTP/1.1\r\nHost: x\r\n\r\n");
  _slow_begun.get_future().wait();
  EXPECT_EQ(get(port(), "/").body, "home");
  _slow_may_end.set_value();
  EXPECT_EQ(slow.read_response().body, "slow");
}

TEST_F(ServerTest, TooManySlowRequestsAreRefused) {
  ServerOptions options;
  options.max_slow_waiting = 0;
  start(options);
  const Response refused = get(port(), "/slow");
  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(code_of(refused), "overloaded");
  EXPECT_EQ(refused.headers.at("retry-after"), "5");
}

TEST_F(ServerTest, EventsReachEveryReader) {
  start();
  std::vector<std::unique_ptr<RawConnection>> readers;
  for (int i = 0; i < 5; ++i) {
    readers.push_back(std::make_unique<RawConnection>(port()));
    readers.back()->send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
    const Response head = readers.back()->read_response(false);
    EXPECT_EQ(head.headers.at("content-type"), "text/event-stream");
    EXPECT_EQ(readers.back()->read_event(), "data: welcome\n\n");
  }
  EXPECT_EQ(_server->counts().event_clients, 5u);
  const auto news = std::make_shared<const std::string>("data: news\n\n");
  for (std::size_t i = 0; i < readers.size(); ++i) EXPECT_TRUE(stream(i)->push(news));
  for (const auto& reader : readers) EXPECT_EQ(reader->read_event(), "data: news\n\n");
}

TEST_F(ServerTest, EventsHaveSignsOfLife) {
  ServerOptions options;
  options.heartbeat = 20ms;
  start(options);
  RawConnection reader(port());
  reader.send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_NE(reader.read_until("welcome\n\n"), "");
  EXPECT_NE(reader.read_until(": \n\n"), "");
  EXPECT_NE(reader.read_until(": \n\n"), "");
}

TEST_F(ServerTest, AReaderThatNeverReadsIsDroppedAlone) {
  start();
  RawConnection deaf(port(), 4096);
  deaf.send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
  RawConnection good(port());
  EXPECT_TRUE(eventually([this] { return _server->counts().event_clients == 1; }));
  good.send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_NE(good.read_until("welcome\n\n"), "");
  const auto news = std::make_shared<const std::string>(std::string(65'536, 'n'));
  for (int i = 0; i < 2000 && stream(0)->push(news); ++i) {
  }
  EXPECT_TRUE(stream(0)->dropped());
  EXPECT_TRUE(eventually([this] { return _server->counts().event_clients_dropped == 1; }));
  EXPECT_TRUE(eventually([this] { return _server->counts().connections == 1; }));
  EXPECT_TRUE(stream(1)->push(std::make_shared<const std::string>("data: still here\n\n")));
  EXPECT_NE(good.read_until("still here\n\n"), "");
}

TEST_F(ServerTest, AReaderOfEventsThatLeavesIsForgotten) {
  ServerOptions options;
  options.heartbeat = 20ms;
  start(options);
  {
    RawConnection reader(port());
    reader.send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_NE(reader.read_until("welcome\n\n"), "");
  }
  EXPECT_TRUE(eventually([this] { return _server->counts().event_clients == 0; }));
  EXPECT_EQ(_server->counts().event_clients_dropped, 0u);
  EXPECT_TRUE(stream(0)->closed());
}

TEST_F(ServerTest, HeadOfEventsOpensNoStream) {
  start();
  const Response head = request(port(), "HEAD", "/events");
  EXPECT_EQ(head.headers.at("content-type"), "text/event-stream");
  EXPECT_EQ(_server->counts().event_clients_total, 0u);
}

TEST_F(ServerTest, StopsWithReadersOfEvents) {
  start();
  RawConnection reader(port());
  reader.send("GET /events HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_NE(reader.read_until("welcome\n\n"), "");
  _server->stop();
  EXPECT_TRUE(reader.is_closed());
}

TEST_F(ServerTest, TellsWhyItCannotListen) {
  start();
  ServerOptions same;
  same.port = port();
  try {
    const HttpServer second(same, Router());
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith("cannot listen on 127.0.0.1 port"));
    EXPECT_THAT(error.what(), HasSubstr("choose another port"));
  }
  ServerOptions nowhere;
  nowhere.address = "localhost";
  EXPECT_THROW(HttpServer(nowhere, Router()), std::runtime_error);
}

}  // namespace
}  // namespace qiv
