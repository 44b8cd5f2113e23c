#include "network/pattern_ref.h"

#include <string>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;

const RouteId route("46A");
const std::vector<StopId> stops{StopId("s1"), StopId("s2")};
const std::vector<std::int64_t> path{5335000, -626000, 5336000, -626100};

// Committed: a change of this value cuts every stored history off from its pattern.
TEST(PatternRef, IsTheSameForEver) {
  EXPECT_EQ(pattern_ref(route, 1, stops, path).text(), "46A/1/s1-s2/355c34192f6d97c2");
}

TEST(PatternRef, SaysWhenThereIsNoDirection) {
  EXPECT_THAT(pattern_ref(route, std::nullopt, stops, path).text(),
              ::testing::StartsWith("46A/-/s1-s2/"));
}

TEST(PatternRef, DependsOnEveryStopAndCorner) {
  const PatternRef ref = pattern_ref(route, 1, stops, path);
  const std::vector<StopId> run_together{StopId("s1s"), StopId("2")};
  const std::vector<StopId> passing{StopId("s1"), StopId("s3"), StopId("s2")};
  std::vector<std::int64_t> moved = path;
  moved[2] += 1;
  EXPECT_NE(pattern_ref(route, 1, run_together, path), ref);
  EXPECT_NE(pattern_ref(route, 1, passing, path), ref);
  EXPECT_NE(pattern_ref(route, 1, stops, moved), ref);
}

TEST(PatternRef, IsNeverSharedByTwoPatterns) {
  std::vector<JourneyPattern> patterns(5);
  const char* refs[] = {"1/0/a-b/00", "1/0/a-b/11", "1/0/a-b/11", "1/0/a-b/11", "1/0/a-b/22"};
  for (std::size_t i = 0; i < patterns.size(); ++i) patterns[i].ref = PatternRef(refs[i]);
  tell_apart(patterns);
  std::vector<std::string> told_apart;
  for (const JourneyPattern& pattern : patterns) told_apart.push_back(pattern.ref.text());
  EXPECT_THAT(told_apart, ElementsAre("1/0/a-b/00", "1/0/a-b/11", "1/0/a-b/11~2", "1/0/a-b/11~3",
                                      "1/0/a-b/22"));
}

TEST(Rounded, CountsHundredThousandthsOfADegree) {
  const std::vector<LatLon> places{{53.350004, -6.260004}, {-0.000006, 179.999999}};
  EXPECT_THAT(rounded(places), ElementsAre(5335000, -626000, -1, 18000000));
}

// From the reference implementation's published test values.
TEST(StableHash, OfNothingIsTheOffsetBasis) {
  EXPECT_EQ(StableHash().value(), 0xcbf29ce484222325U);
}

TEST(StableHash, ChainsTheBytesOfANumber) {
  // FNV-1a of the eight bytes "foobar\0\0".
  StableHash hash;
  hash.add(std::int64_t{0x7261626f6f66});
  std::uint64_t expected = 0x85944171f73967e8U;  // of "foobar"
  expected *= 1099511628211U;
  expected *= 1099511628211U;
  EXPECT_EQ(hash.value(), expected);
}

}  // namespace
}  // namespace qiv
