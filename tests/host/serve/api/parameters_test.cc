#include "serve/api/parameters.h"

#include <gmock/gmock.h>

#include <array>

#include "serve/http/error.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

Request request(const std::string& query) {
  Request request;
  request.target = parse_target("/?" + query);
  return request;
}

/// The remedy of the error that `read` throws.
template <class Read>
std::string remedy(Read&& read) {
  try {
    read();
  } catch (const HttpError& error) {
    EXPECT_EQ(error.code(), HttpErrorCode::bad_parameter);
    return error.remedy();
  }
  return "no error";
}

TEST(Parameters, WholeNumbersWithinTheirLimits) {
  EXPECT_EQ(whole_number(request("n=5"), "n", 1, 9), 5);
  EXPECT_EQ(whole_number(request(""), "n", 1, 9), std::nullopt);
  for (const char* query : {"n=0", "n=10", "n=", "n=5x", "n=1.5", "n=99999999999999999999"}) {
    EXPECT_EQ(remedy([&] { whole_number(request(query), "n", 1, 9); }),
              "Write a whole number from 1 to 9.");
  }
}

TEST(Parameters, OneOfAList) {
  constexpr std::array<std::string_view, 2> colors = {"red", "green"};
  EXPECT_EQ(choice(request("c=green"), "c", colors), 1u);
  EXPECT_EQ(choice(request("d=green"), "c", colors), std::nullopt);
  EXPECT_EQ(remedy([&] { choice(request("c=Red"), "c", colors); }), "Write one of: red green.");
}

TEST(Parameters, ABox) {
  const auto box = bounding_box(request("b=-6.5,53,-6,53.5"), "b");
  ASSERT_TRUE(box);
  EXPECT_EQ(box->west, -6.5);
  EXPECT_EQ(box->south, 53.0);
  EXPECT_EQ(box->east, -6.0);
  EXPECT_EQ(box->north, 53.5);
  EXPECT_FALSE(bounding_box(request(""), "b"));
  for (const char* query :
       {"b=", "b=1,2,3", "b=1,2,3,4,5", "b=1,2,3,x", "b=1,9,3,4", "b=1,2,3,nan", "b=1,,3,4"}) {
    EXPECT_THAT(remedy([&] { bounding_box(request(query), "b"); }),
                HasSubstr("west,south,east,north"))
        << query;
  }
}

}  // namespace
}  // namespace qiv
