#include "feed/quotation.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(Quotation, NamesThePlace) {
  EXPECT_EQ(quotation("stops.txt", 17, "A,B"), "stops.txt:17: A,B");
  EXPECT_EQ(quotation("feed.pb", "entity 5"), "feed.pb: entity 5");
  EXPECT_EQ(quotation("feed.pb", ""), "feed.pb");
}

TEST(Quotation, IsOneShortLine) {
  EXPECT_EQ(quotation("f", 1, "a\nb\tc\r"), "f:1: a b c ");
  const std::string text = quotation("f", 1, std::string(1'000'000, 'x'));
  EXPECT_EQ(text, "f:1: " + std::string(120, 'x') + "...");
}

TEST(Quotation, KeepsUtf8) {
  EXPECT_EQ(quotation("f", 1, "Dún Laoghaire €𝄞"), "f:1: Dún Laoghaire €𝄞");
}

TEST(Quotation, ReplacesWhatIsNotUtf8) {
  EXPECT_EQ(quotation("f", 1, "D\xFAn"), "f:1: D?n");
  EXPECT_EQ(quotation("f", 1, "\xC0\x80\xED\xA0\x80\xF5"), "f:1: ??????");
  EXPECT_EQ(quotation("f", 1, "cut \xE2\x82"), "f:1: cut ??");
}

}  // namespace
}  // namespace qiv
