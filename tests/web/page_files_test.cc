#include "serve/web/page_files.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "serve/web/embedded_page.h"

namespace qiv {
namespace {

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Key;
using testing::Not;

TEST(PageFiles, HaveAnIndexThatAsksNoOtherHost) {
  const auto files = page_files();
  ASSERT_THAT(files, Contains(Key("/index.html")));
  const StaticFile& index = files.at("/index.html");
  EXPECT_EQ(index.content_type, "text/html; charset=utf-8");
  EXPECT_EQ(index.cache_control, "no-cache");
  EXPECT_THAT(index.bytes, Not(HasSubstr("{{")));
  EXPECT_THAT(index.bytes, Not(HasSubstr("://")));
}

std::string policy(const StaticFile& index) {
  EXPECT_EQ(index.headers.size(), 1U);
  EXPECT_EQ(index.headers.at(0).first, "Content-Security-Policy");
  return index.headers.at(0).second;
}

TEST(PageFiles, LetNobodyFrameTheIndex) {
  const StaticFile index = page_files().at("/index.html");
  EXPECT_THAT(policy(index), HasSubstr("default-src 'none'"));
  EXPECT_THAT(policy(index), EndsWith("; frame-ancestors 'none'"));
  EXPECT_THAT(policy(index), Not(HasSubstr("unsafe")));
  for (const auto& [path, file] : page_files()) EXPECT_EQ(policy(file), policy(index)) << path;
}

TEST(PageFiles, AreTheEmbeddedOnesByteByByte) {
  const auto files = page_files();
  ASSERT_EQ(files.size(), embedded_page().size());
  for (const EmbeddedFile& embedded : embedded_page()) {
    const StaticFile& file = files.at(std::string(embedded.path));
    if (embedded.path != "/index.html") {
      EXPECT_EQ(file.bytes, embedded.bytes) << embedded.path;
    }
    EXPECT_EQ(file.cache_control != "no-cache", embedded.hashed) << embedded.path;
  }
}

TEST(PageFiles, HaveEveryFileThatTheIndexNames) {
  const auto files = page_files();
  const std::string& index = files.at("/index.html").bytes;
  for (const char* attribute : {"src=\"", "href=\""}) {
    for (std::size_t at = index.find(attribute); at != std::string::npos;
         at = index.find(attribute, at)) {
      at += std::string(attribute).size();
      const std::string name = index.substr(at, index.find('"', at) - at);
      if (name.front() != '/') {
        EXPECT_THAT(files, Contains(Key("/" + name)));
      }
    }
  }
}

// Only the page itself has a place for a base map; what stands in for it when it is not built has
// not.
bool has_page() {
  return embedded_page().size() > 1;
}

TEST(PageFiles, NameTheTileHostWhereItIsAllowed) {
  if (!has_page()) GTEST_SKIP() << "the page is not built";
  const std::string index = page_files({"https://tiles.example.org:8443/a/{z}/{x}/{y}.png?k=1&s=2",
                                        "<a href=\"/\">Who</a>"})
                                .at("/index.html")
                                .bytes;
  EXPECT_THAT(index, HasSubstr("connect-src 'self' https://tiles.example.org:8443;"));
  EXPECT_THAT(
      policy(page_files({"https://tiles.example.org:8443/{z}/{x}/{y}.png", ""}).at("/index.html")),
      HasSubstr("img-src 'self' data: blob: https://tiles.example.org:8443;"));
  EXPECT_THAT(
      index, HasSubstr("content=\"https://tiles.example.org:8443/a/{z}/{x}/{y}.png?k=1&amp;s=2\""));
  EXPECT_THAT(index, HasSubstr("content=\"&lt;a href=&quot;/&quot;&gt;Who&lt;/a&gt;\""));
}

TEST(PageFiles, TakeTilesFromTheServiceItself) {
  if (!has_page()) GTEST_SKIP() << "the page is not built";
  const std::string index = page_files({"/tiles/{z}/{x}/{y}.png", ""}).at("/index.html").bytes;
  EXPECT_THAT(index, HasSubstr("connect-src 'self' ;"));
  EXPECT_THAT(index, HasSubstr("content=\"/tiles/{z}/{x}/{y}.png\""));
}

TEST(PageFiles, RefuseWhatIsNoTileAddress) {
  for (const char* tiles :
       {"tiles/{z}/{x}/{y}.png", "ftp://example.org/{z}/{x}/{y}.png", "https:///{z}/{x}/{y}.png",
        "https://example.org/{z}/{x}.png", "https://example.org; script-src */{z}/{x}/{y}.png",
        "//example.org/{z}/{x}/{y}.png"}) {
    EXPECT_THROW(page_files({tiles, ""}), std::invalid_argument) << tiles;
  }
}

}  // namespace
}  // namespace qiv
