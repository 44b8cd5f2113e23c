#include "serve/api/lazy.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qiv {
namespace {

TEST(Lazy, IsMadeOnce) {
  const Lazy<int> lazy;
  int made = 0;
  const auto make = [&made] { return ++made; };
  EXPECT_EQ(lazy.get(make), 1);
  EXPECT_EQ(lazy.get(make), 1);
}

TEST(Lazy, TriesAgainAfterAFailure) {
  const Lazy<int> lazy;
  EXPECT_THROW(lazy.get([]() -> int { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_EQ(lazy.get([] { return 7; }), 7);
}

}  // namespace
}  // namespace qiv
