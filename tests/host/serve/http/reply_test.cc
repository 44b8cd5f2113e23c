#include "serve/http/reply.h"

#include <gtest/gtest.h>

#include <optional>

namespace qiv {
namespace {

const BlobPtr blob =
    make_blob(std::string(2000, 'a'), "text/plain", from_unix_seconds(784'111'777));

std::optional<std::string> header(const Reply& reply, const std::string& name) {
  for (const auto& [key, value] : reply.headers) {
    if (key == name) return value;
  }
  return std::nullopt;
}

Reply reply(std::map<std::string, std::string, std::less<>> headers, int status = 200) {
  Request request;
  request.method = "GET";
  request.headers = std::move(headers);
  return reply_to(request, {status, blob, {}, {}});
}

TEST(ReplyTo, StatesWhatFollowsFromTheBody) {
  const Reply plain = reply({});
  EXPECT_EQ(plain.status, 200);
  EXPECT_EQ(plain.bytes, &blob->bytes());
  EXPECT_EQ(header(plain, "Content-Type"), "text/plain");
  EXPECT_EQ(header(plain, "ETag"), '"' + blob->tag() + '"');
  EXPECT_EQ(header(plain, "Last-Modified"), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(header(plain, "Vary"), "Accept-Encoding");
  EXPECT_EQ(header(plain, "Content-Encoding"), std::nullopt);
}

TEST(ReplyTo, CompressesForThoseWhoAccept) {
  const Reply packed = reply({{"accept-encoding", "br, gzip"}});
  EXPECT_EQ(packed.bytes, blob->gzip());
  EXPECT_EQ(header(packed, "Content-Encoding"), "gzip");
  EXPECT_EQ(header(packed, "ETag"), '"' + blob->tag() + "-gzip\"");
}

TEST(ReplyTo, AKnownTagNeedsNoBody) {
  for (const std::string& tags :
       {'"' + blob->tag() + '"', '"' + blob->tag() + "-gzip\"", "W/\"" + blob->tag() + '"',
        "\"x\" , \"" + blob->tag() + '"', std::string("*")}) {
    const Reply known = reply({{"if-none-match", tags}});
    EXPECT_EQ(known.status, 304) << tags;
    EXPECT_EQ(known.bytes, nullptr);
    EXPECT_TRUE(header(known, "ETag")) << "the reader keeps it";
  }
  for (const std::string& tags : {std::string("\"x\""), blob->tag(), std::string("\"")}) {
    EXPECT_EQ(reply({{"if-none-match", tags}}).status, 200) << tags;
  }
}

TEST(ReplyTo, ADateCountsWhereThereIsNoTag) {
  const std::string same = "Sun, 06 Nov 1994 08:49:37 GMT";
  const std::string before = "Sun, 06 Nov 1994 08:49:36 GMT";
  EXPECT_EQ(reply({{"if-modified-since", same}}).status, 304);
  EXPECT_EQ(reply({{"if-modified-since", before}}).status, 200);
  EXPECT_EQ(reply({{"if-modified-since", "yesterday"}}).status, 200);
  EXPECT_EQ(reply({{"if-modified-since", same}, {"if-none-match", "\"x\""}}).status, 200);
}

TEST(ReplyTo, ErrorsAreNotKept) {
  const Reply error = reply({{"if-none-match", "*"}}, 404);
  EXPECT_EQ(error.status, 404);
  EXPECT_EQ(header(error, "ETag"), std::nullopt);
}

TEST(AcceptsGzip, ReadsTheListOfEncodings) {
  for (const char* text : {"gzip", "deflate, gzip;q=0.5", "*", " gzip ; q=1"}) {
    EXPECT_TRUE(accepts_gzip(text)) << text;
  }
  for (const char* text : {"", "br", "gzip;q=0", "gzip;q=0.0", "xgzip"}) {
    EXPECT_FALSE(accepts_gzip(text)) << text;
  }
}

}  // namespace
}  // namespace qiv
