#include "serve/http/exchange.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

// Reading a head needs a connection: server_test does it over the wire.

std::string header(const Answer& answer, const std::string& name) {
  for (const auto& [key, value] : answer.headers) {
    if (key == name) return value;
  }
  return "";
}

TEST(ErrorAnswer, HasStatusAndTheHeadersThatGoWithIt) {
  const Answer unknown = error_answer({HttpErrorCode::not_found, "Nothing.", "Look."});
  EXPECT_EQ(unknown.status, 404);
  EXPECT_EQ(unknown.body->bytes(),
            "{\"code\":\"not_found\",\"message\":\"Nothing.\",\"remedy\":\"Look.\"}\n");
  EXPECT_TRUE(unknown.headers.empty());
  EXPECT_EQ(header(error_answer({HttpErrorCode::unauthorized, "", ""}), "WWW-Authenticate"),
            "Bearer");
  EXPECT_EQ(header(error_answer({HttpErrorCode::not_ready, "", ""}), "Retry-After"), "5");
}

}  // namespace
}  // namespace qiv
