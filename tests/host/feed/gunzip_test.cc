#include "feed/gunzip.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "host/feed/packing.h"

namespace qiv {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr std::uint64_t no_limit = std::uint64_t{1} << 40U;

TEST(Gunzip, UnpacksWhatWasPacked) {
  const std::string content(300'000, 'q');
  EXPECT_TRUE(is_gzip(gzip_of(content)));
  EXPECT_EQ(gunzip(gzip_of(content), "x.gz", no_limit), content);
  EXPECT_EQ(gunzip(gzip_of(""), "x.gz", no_limit), "");
}

TEST(Gunzip, UnpacksAllMembers) {
  EXPECT_EQ(gunzip(gzip_of("one,") + gzip_of("two"), "x.gz", no_limit), "one,two");
}

TEST(Gunzip, RefusesWhatUnpacksToMoreThanTheLimit) {
  const std::string bomb = gzip_of(std::string(5'000'000, '\0'));
  EXPECT_LT(bomb.size(), 10'000U);
  EXPECT_THAT(
      [&] { gunzip(bomb, "bomb.gz", 1'000'000); },
      ThrowsMessage<std::runtime_error>(HasSubstr("bomb.gz (gzip) holds more than 1000000")));
}

TEST(Gunzip, RefusesWhatIsCutOff) {
  const std::string whole = gzip_of("a long enough text to be cut");
  EXPECT_THAT([&] { gunzip(whole.substr(0, whole.size() / 2), "x.gz", no_limit); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.gz (gzip) ends too early")));
}

TEST(Gunzip, RefusesWhatIsDamaged) {
  std::string bytes = gzip_of("a text with a checksum");
  bytes[bytes.size() - 6] ^= 0x55;
  EXPECT_THAT([&] { gunzip(bytes, "x.gz", no_limit); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.gz (gzip) is damaged")));
}

}  // namespace
}  // namespace qiv
