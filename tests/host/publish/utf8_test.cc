#include "publish/utf8.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(Utf8, KnowsTheLengthOfACharacter) {
  EXPECT_EQ(utf8_length("a"), 1u);
  EXPECT_EQ(utf8_length("é"), 2u);
  EXPECT_EQ(utf8_length("€x"), 3u);
  EXPECT_EQ(utf8_length("😀"), 4u);
}

TEST(Utf8, KnowsWhatIsNone) {
  for (const char* text :
       {"\x80", "\xC3", "\xC3x", "\xC0\x80", "\xC1\xBF", "\xE2\x82", "\xE0\x80\x80", "\xED\xA0\x80",
        "\xF0\x80\x80\x80", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    EXPECT_EQ(utf8_length(text), 0u) << text;
  }
}

TEST(XmlText, RepairsWhatXmlCannotHold) {
  EXPECT_EQ(xml_text("plain é\t\n"), "plain é\t\n");
  EXPECT_EQ(xml_text("a\xFF"
                     "b\x01"),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
}

}  // namespace
}  // namespace qiv
