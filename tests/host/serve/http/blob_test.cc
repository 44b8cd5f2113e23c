#include "serve/http/blob.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "feed/gunzip.h"

namespace qiv {
namespace {

TEST(Blob, EqualBytesHaveEqualTags) {
  EXPECT_EQ(Blob("abc", "text/plain").tag(), Blob("abc", "text/html").tag());
  EXPECT_NE(Blob("abc", "text/plain").tag(), Blob("abd", "text/plain").tag());
  EXPECT_NE(Blob("", "text/plain").tag(), Blob(std::string(1, '\0'), "text/plain").tag());
}

TEST(Blob, CompressesWhatGetsSmaller) {
  const std::string text(5000, 'a');
  const Blob blob(text, "application/json");
  ASSERT_NE(blob.gzip(), nullptr);
  EXPECT_LT(blob.gzip()->size(), 200u);
  EXPECT_EQ(gunzip(*blob.gzip(), "blob", 1 << 20), text);
}

TEST(Blob, LeavesWhatIsShortOrPackedAlone) {
  EXPECT_EQ(Blob(std::string(100, 'a'), "text/plain").gzip(), nullptr);
  EXPECT_EQ(Blob(std::string(5000, 'a'), "image/png").gzip(), nullptr);
  EXPECT_NE(Blob(std::string(5000, 'a'), "image/svg+xml").gzip(), nullptr);
}

TEST(Blob, LeavesWhatDoesNotGetSmaller) {
  std::string noise;
  std::uint32_t state = 1;
  for (int i = 0; i < 2000; ++i) {
    state = state * 1664525U + 1013904223U;
    noise += static_cast<char>(state >> 24U);
  }
  EXPECT_EQ(Blob(noise, "application/x-protobuf").gzip(), nullptr);
}

TEST(Blob, IsCompressedOnceForAllReaders) {
  const Blob blob(std::string(100'000, 'a'), "text/plain");
  std::vector<const std::string*> seen(4);
  std::vector<std::thread> readers;
  for (auto& one : seen) readers.emplace_back([&blob, &one] { one = blob.gzip(); });
  for (std::thread& reader : readers) reader.join();
  for (const std::string* one : seen) EXPECT_EQ(one, seen.front());
}

}  // namespace
}  // namespace qiv
