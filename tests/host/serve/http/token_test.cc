#include "serve/http/token.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(IsAuthorized, OnlyWithTheWholeToken) {
  EXPECT_TRUE(is_authorized("Bearer secret", "secret"));
  EXPECT_TRUE(is_authorized("bearer secret", "secret"));
  for (const char* stated : {"", "secret", "Bearer", "Bearer ", "Bearer secre", "Bearer secrets",
                             "Bearer secretsecret", "Bearer Secret", "Basic secret"}) {
    EXPECT_FALSE(is_authorized(stated, "secret")) << stated;
  }
}

TEST(IsAuthorized, NobodyWithoutAToken) {
  EXPECT_FALSE(is_authorized("Bearer ", ""));
  EXPECT_FALSE(is_authorized("Bearer x", ""));
}

}  // namespace
}  // namespace qiv
