#include "app/coming_why.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace qiv {
namespace {

TEST(ComingWhyTest, IsAnsweredByAnotherThread) {
  ComingWhy why;
  const std::jthread other([&] { why.answer([] { return Why{std::nullopt, "no vehicle"}; }); });
  EXPECT_EQ(why.wait().reason, "no vehicle");
}

TEST(ComingWhyTest, WhatTheOtherThrowsIsThrownHere) {
  ComingWhy why;
  why.answer([]() -> Why { throw std::logic_error("differs"); });
  EXPECT_THROW(why.wait(), std::logic_error);
}

TEST(ComingWhyTest, IsNotWaitedForForEver) {
  ComingWhy why;
  EXPECT_EQ(why.wait().reason, "the service is busy: ask again");
}

}  // namespace
}  // namespace qiv
