#include "model/rejections.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(Rejections, CountAndQuoteTheFirst) {
  Rejections rejections;
  for (const char* line : {"a.txt:2: x", "a.txt:3: y"})
    rejections.add("bad", [&] { return std::string(line); });
  EXPECT_EQ(rejections.count("bad"), 2U);
  EXPECT_EQ(rejections.count("good"), 0U);
  EXPECT_EQ(rejections.entries().at("bad").first, "a.txt:2: x");
}

TEST(Rejections, QuoteOnlyTheFirst) {
  Rejections rejections;
  int quoted = 0;
  for (int i = 0; i < 3; ++i) rejections.add("bad", [&] { return std::to_string(++quoted); });
  EXPECT_EQ(quoted, 1);
}

TEST(Rejections, AreEmptyAtFirst) {
  const Rejections rejections;
  EXPECT_TRUE(rejections.empty());
  EXPECT_EQ(rejections.total(), 0U);
}

TEST(Rejections, MergeKeepsTheEarlierQuotation) {
  Rejections a;
  a.add("both", [] { return std::string("from a"); });
  Rejections b;
  b.add("both", [] { return std::string("from b"); });
  b.add("only b", [] { return std::string("b"); });
  a.merge(b);
  EXPECT_EQ(a.count("both"), 2U);
  EXPECT_EQ(a.entries().at("both").first, "from a");
  EXPECT_EQ(a.count("only b"), 1U);
  EXPECT_EQ(a.total(), 3U);
}

}  // namespace
}  // namespace qiv
