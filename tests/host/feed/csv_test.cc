#include "feed/csv.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

namespace qiv {
namespace {

using testing::ElementsAre;

struct Read {
  std::vector<std::vector<std::string>> rows;
  std::vector<std::size_t> lines;
  std::size_t count = 0;
  Rejections rejections;
};

// All rows, as the fields of columns a, b and c.
Read read(std::string_view text, const CsvLimits& limits = {}) {
  Read result;
  CsvReader table(text, "t.txt", result.rejections, limits);
  while (table.next()) {
    std::vector<std::string> row;
    for (const char* name : {"a", "b", "c"}) row.emplace_back(table.field(table.column(name)));
    result.rows.push_back(row);
    result.lines.push_back(table.row().line);
  }
  result.count = table.rows();
  return result;
}

TEST(CsvReader, FindsColumnsByName) {
  EXPECT_THAT(read("c,x,a\n1,2,3\n").rows, ElementsAre(ElementsAre("3", "", "1")));
}

TEST(CsvReader, KnowsWhichColumnsThereAre) {
  Rejections rejections;
  const CsvReader table("a,b\n", "t.txt", rejections);
  EXPECT_TRUE(table.column("b").present());
  EXPECT_FALSE(table.column("c").present());
}

TEST(CsvReader, IgnoresAByteOrderMark) {
  EXPECT_THAT(read("\xEF\xBB\xBF"
                   "a,b,c\n1,2,3\n")
                  .rows,
              ElementsAre(ElementsAre("1", "2", "3")));
}

TEST(CsvReader, TakesAnyLineEnd) {
  const auto expected = ElementsAre(ElementsAre("1", "2", "3"), ElementsAre("4", "5", "6"));
  EXPECT_THAT(read("a,b,c\n1,2,3\n4,5,6\n").rows, expected);
  EXPECT_THAT(read("a,b,c\r\n1,2,3\r\n4,5,6\r\n").rows, expected);
  EXPECT_THAT(read("a,b,c\r1,2,3\r4,5,6\r").rows, expected);
  EXPECT_THAT(read("a,b,c\n1,2,3\n4,5,6").rows, expected);
}

TEST(CsvReader, SkipsBlankLines) {
  const Read result = read("\n \r\na,b,c\n\n1,2,3\n  \t\n\r\n4,5,6\n\n");
  EXPECT_THAT(result.rows, ElementsAre(ElementsAre("1", "2", "3"), ElementsAre("4", "5", "6")));
  EXPECT_THAT(result.lines, ElementsAre(5U, 8U));
  EXPECT_EQ(result.count, 2U);
}

TEST(CsvReader, FillsShortRowsAndCutsLongOnes) {
  EXPECT_THAT(
      read("a,b,c\n1\n1,2,3,4,5\n,,\n").rows,
      ElementsAre(ElementsAre("1", "", ""), ElementsAre("1", "2", "3"), ElementsAre("", "", "")));
}

TEST(CsvReader, TrimsUnquotedFields) {
  EXPECT_THAT(read("a , b,\tc\n 1 ,2 , \n").rows, ElementsAre(ElementsAre("1", "2", "")));
}

TEST(CsvReader, KeepsBlanksWithinQuotes) {
  EXPECT_THAT(read("a,b,c\n\" 1 \", \"2\" ,\"\"\n").rows, ElementsAre(ElementsAre(" 1 ", "2", "")));
}

TEST(CsvReader, UndoesDoubledQuotes) {
  EXPECT_THAT(read("a,b,c\n\"say \"\"hi\"\"\",\"\"\"\",\"x,y\"\n").rows,
              ElementsAre(ElementsAre("say \"hi\"", "\"", "x,y")));
}

TEST(CsvReader, KeepsLineEndsWithinQuotesAndCountsThem) {
  const Read result = read("a,b,c\n\"1\n1\",\"2\r\n2\",\"3\r3\"\n4,5,6\n");
  EXPECT_THAT(result.rows,
              ElementsAre(ElementsAre("1\n1", "2\r\n2", "3\r3"), ElementsAre("4", "5", "6")));
  EXPECT_THAT(result.lines, ElementsAre(2U, 6U));
}

TEST(CsvReader, ToleratesStrayQuotes) {
  EXPECT_THAT(read("a,b,c\n5\" pipe,\"Joe\"s,\"x\" \n").rows,
              ElementsAre(ElementsAre("5\" pipe", "Joes", "x")));
}

TEST(CsvReader, RejectsAQuoteThatIsNeverClosed) {
  const Read result = read("a,b,c\n1,2,3\n4,\"5,6\n7,8,9\n");
  EXPECT_THAT(result.rows, ElementsAre(ElementsAre("1", "2", "3")));
  EXPECT_EQ(result.count, 2U);
  EXPECT_EQ(result.rejections.entries().at("t.txt: quote never closed").first, "t.txt:3: 4,\"5,6");
}

TEST(CsvReader, RejectsAFieldBeyondTheLimitAndGoesOn) {
  CsvLimits limits;
  limits.field_bytes = 1000;
  const std::string huge(100'000, 'x');
  const Read result = read("a,b,c\n1," + huge + ",3\n4,\"" + huge + "\",6\n7,8,9\n", limits);
  EXPECT_THAT(result.rows, ElementsAre(ElementsAre("7", "8", "9")));
  EXPECT_EQ(result.rejections.count("t.txt: field too long"), 2U);
  EXPECT_LT(result.rejections.entries().at("t.txt: field too long").first.size(), 200U);
}

TEST(CsvReader, RejectsARowBeyondTheLimitAndGoesOn) {
  CsvLimits limits;
  limits.row_bytes = 1000;
  const Read result = read("a,b,c\n1,2,3" + std::string(100'000, ',') + "\n4,5,6\n", limits);
  EXPECT_THAT(result.rows, ElementsAre(ElementsAre("4", "5", "6")));
  EXPECT_EQ(result.rejections.count("t.txt: row too long"), 1U);
}

TEST(CsvReader, TakesFieldsUpToTheLimit) {
  CsvLimits limits;
  limits.field_bytes = 4;
  EXPECT_THAT(read("a,b,c\n1234,\"1234\",\n", limits).rows,
              ElementsAre(ElementsAre("1234", "1234", "")));
}

TEST(CsvReader, SeesNoColumnBeyondTheLimit) {
  CsvLimits limits;
  limits.columns = 2;
  EXPECT_THAT(read("a,b,c\n1,2,3\n", limits).rows, ElementsAre(ElementsAre("1", "2", "")));
}

TEST(CsvReader, TakesTheFirstOfTwoColumnsOfOneName) {
  EXPECT_THAT(read("a,a,c\n1,2,3\n").rows, ElementsAre(ElementsAre("1", "", "3")));
}

TEST(CsvReader, HasNoRowsWithoutText) {
  EXPECT_TRUE(read("").rows.empty());
  EXPECT_TRUE(read("\xEF\xBB\xBF").rows.empty());
  EXPECT_TRUE(read("a,b,c").rows.empty());
}

TEST(CsvReader, QuotesEarlierRows) {
  Rejections rejections;
  CsvReader table("a\nfirst\nsecond\n", "t.txt", rejections);
  table.next();
  const CsvRow first = table.row();
  table.next();
  EXPECT_EQ(table.quote(first), "t.txt:2: first");
  EXPECT_EQ(table.quote(table.row()), "t.txt:3: second");
}

TEST(CsvReader, ReadsBackWhateverIsWrittenInQuotes) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::string text = "a,b,c\n";
    std::vector<std::vector<std::string>> expected;
    for (int row = 0; row < 5; ++row) {
      expected.emplace_back();
      for (int column = 0; column < 3; ++column) {
        std::string field;
        for (auto n = random() % 6; n > 0; --n) field += "x,\"\n\r "[random() % 6];
        text += column == 0 ? "\"" : ",\"";
        for (const char c : field) text += c == '"' ? "\"\"" : std::string(1, c);
        text += '"';
        expected.back().push_back(field);
      }
      text += '\n';
    }
    EXPECT_EQ(read(text).rows, expected) << text;
  }
}

}  // namespace
}  // namespace qiv
