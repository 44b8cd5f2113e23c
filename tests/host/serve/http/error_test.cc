#include "serve/http/error.h"

#include <gmock/gmock.h>

namespace qiv {
namespace {

TEST(HttpError, EveryCodeHasANameOfItsOwnAndAStatusOfAnError) {
  std::set<std::string> names;
  for (int i = 0; i <= static_cast<int>(HttpErrorCode::overloaded); ++i) {
    const HttpErrorKind kind = kind_of(static_cast<HttpErrorCode>(i));
    EXPECT_TRUE(names.insert(kind.name).second) << kind.name;
    EXPECT_GE(kind.status, 400);
    EXPECT_LT(kind.status, 600);
  }
}

TEST(HttpError, TellsCodeMessageAndRemedy) {
  EXPECT_EQ(error_json({HttpErrorCode::not_found, "There is no \"X\".", "Look."}),
            R"({"code":"not_found","message":"There is no \"X\".","remedy":"Look."})"
            "\n");
}

TEST(HttpError, RepairsWhatIsNoText) {
  EXPECT_THAT(error_json({HttpErrorCode::not_found, "\xFF", "Look."}),
              ::testing::HasSubstr("\xEF\xBF\xBD"));
}

}  // namespace
}  // namespace qiv
