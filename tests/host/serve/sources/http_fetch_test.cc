#include "serve/sources/http_fetch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <thread>

#include "host/serve/sources/scripted_server.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::ScriptedServer;
using namespace std::chrono_literals;

FetchRequest request_to(const ScriptedServer& server) {
  FetchRequest request;
  request.url = server.url();
  request.timeout = 3s;
  return request;
}

FetchAnswer fetch_from(const std::string& bytes, FetchRequest request = {}) {
  ScriptedServer server([&](const std::string&, const auto& send) { send(bytes); });
  request.url = server.url();
  request.timeout = 3s;
  return fetch(request);
}

std::string gzipped(const std::string& text) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, text.size()) + 32, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

TEST(HttpFetchTest, BringsTheBodyAndWhatItIsKnownBy) {
  const FetchAnswer answer = fetch_from(ScriptedServer::answer(
      "content", "etag:  \"v1\" \r\nLast-Modified: Fri, 21 Nov 2025 08:00:00 GMT\r\n"));
  EXPECT_TRUE(answer.ok) << answer.error;
  EXPECT_EQ(answer.body, "content");
  EXPECT_EQ(answer.etag, "\"v1\"");
  EXPECT_EQ(answer.last_modified, "Fri, 21 Nov 2025 08:00:00 GMT");
}

TEST(HttpFetchTest, AsksOnlyForWhatIsNewAndShowsItsKey) {
  ScriptedServer server([](const std::string&, const auto& send) {
    send("HTTP/1.1 304 Not Modified\r\nConnection: close\r\n\r\n");
  });
  FetchRequest request = request_to(server);
  request.etag = "\"v1\"";
  request.last_modified = "Fri, 21 Nov 2025 08:00:00 GMT";
  request.headers = {"X-Api-Key: secret"};
  const FetchAnswer answer = fetch(request);
  EXPECT_TRUE(answer.not_modified);
  EXPECT_FALSE(answer.ok);
  const std::string asked = server.requests().at(0);
  EXPECT_THAT(asked, HasSubstr("If-None-Match: \"v1\"\r\n"));
  EXPECT_THAT(asked, HasSubstr("If-Modified-Since: Fri, 21 Nov 2025 08:00:00 GMT\r\n"));
  EXPECT_THAT(asked, HasSubstr("X-Api-Key: secret\r\n"));
  EXPECT_THAT(asked, HasSubstr("gzip"));
}

TEST(HttpFetchTest, UnpacksAndLimitsWhatItUnpacks) {
  const std::string text(200'000, 'x');
  const std::string packed = ScriptedServer::answer(gzipped(text), "Content-Encoding: gzip\r\n");
  EXPECT_EQ(fetch_from(packed).body, text);
  FetchRequest small;
  small.most_bytes = 100'000;
  const FetchAnswer refused = fetch_from(packed, small);
  EXPECT_FALSE(refused.ok);
  EXPECT_THAT(refused.error, HasSubstr("larger than 100000 bytes"));
  EXPECT_TRUE(refused.body.empty());
}

TEST(HttpFetchTest, AnEndlessBodyIsCutOff) {
  ScriptedServer server([](const std::string&, const auto& send) {
    send("HTTP/1.1 200 OK\r\n\r\n");
    while (send(std::string(65'536, 'x'))) {
    }
  });
  FetchRequest request = request_to(server);
  request.most_bytes = 1'000'000;
  EXPECT_THAT(fetch(request).error, HasSubstr("larger than"));
}

TEST(HttpFetchTest, SaysWhatWentWrong) {
  EXPECT_THAT(fetch_from(ScriptedServer::answer("no", "", "500 Oops")).error, HasSubstr("500"));
  EXPECT_THAT(fetch_from(ScriptedServer::answer("", "", "403 No")).error,
              HasSubstr("check the key"));
  EXPECT_THAT(fetch_from(ScriptedServer::answer("", "", "404 No")).error,
              HasSubstr("check the address"));
  EXPECT_FALSE(fetch_from("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort").ok);
  EXPECT_FALSE(fetch_from("nonsense\r\n\r\n").ok);
  FetchRequest nobody;
  nobody.url = "http://127.0.0.1:1/";
  EXPECT_FALSE(fetch(nobody).error.empty());
  nobody.url = "file:///etc/passwd";
  EXPECT_FALSE(fetch(nobody).ok);
}

TEST(HttpFetchTest, GivesUpOnAServerThatHangs) {
  ScriptedServer* self = nullptr;
  ScriptedServer server([&](const std::string&, const auto&) {
    while (!self->stopped()) std::this_thread::sleep_for(5ms);
  });
  self = &server;
  FetchRequest request = request_to(server);
  request.timeout = 100ms;
  EXPECT_FALSE(fetch(request).ok);
}

TEST(HttpFetchTest, EndsEarlyWhenItIsAskedToStop) {
  ScriptedServer* self = nullptr;
  std::stop_source stop;
  ScriptedServer server([&](const std::string&, const auto&) {
    stop.request_stop();
    while (!self->stopped()) std::this_thread::sleep_for(5ms);
  });
  self = &server;
  FetchRequest request = request_to(server);
  request.timeout = 60s;
  EXPECT_FALSE(fetch(request, stop.get_token()).ok);
}

TEST(HttpFetchTest, ShowsAnAddressWithoutItsSecrets) {
  EXPECT_EQ(shown_url("https://me:pw@example.org:8443/feed?key=1"),
            "https://example.org:8443/feed");
}

}  // namespace
}  // namespace qiv
