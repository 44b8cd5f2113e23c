#include "model/shared_list.h"

#include <gmock/gmock.h>

#include <string>

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using List = SharedList<std::string>;

TEST(SharedList, IsReadAsAVector) {
  const List list = {"a", "b", "c"};
  EXPECT_THAT(list.read(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(list.size(), 3u);
  EXPECT_EQ(list[1] + list.front() + list.back(), "bac");
  const std::vector<std::string> copy = list;
  EXPECT_EQ(copy, list.read());
  std::string joined;
  for (const std::string& element : list) joined += element;
  EXPECT_EQ(joined, "abc");
}

TEST(SharedList, IsEmptyAtFirst) {
  const List list;
  EXPECT_TRUE(list.empty());
  EXPECT_THAT(list.read(), IsEmpty());
}

TEST(SharedList, CopiesShareUntilOneIsEdited) {
  const List list = {"a", "b"};
  List copy = list;
  EXPECT_TRUE(copy.shares_with(list));
  EXPECT_EQ(&copy[0], &list[0]) << "one and the same element";
  copy.edit()[0] = "c";
  EXPECT_FALSE(copy.shares_with(list));
  EXPECT_THAT(copy.read(), ElementsAre("c", "b"));
  EXPECT_THAT(list.read(), ElementsAre("a", "b"));
}

TEST(SharedList, AListThatIsNotSharedIsEditedInPlace) {
  List list = {"a", "b"};
  const std::string* const before = &list[0];
  list.edit()[0] = "c";
  EXPECT_EQ(&list[0], before);
}

TEST(SharedList, GrowsFromNothing) {
  List list;
  list.edit().push_back("a");
  EXPECT_THAT(list.read(), ElementsAre("a"));
}

TEST(SharedList, EqualListsNeedNotBeRelated) {
  EXPECT_FALSE(List({"a"}).shares_with(List({"a"})));
  EXPECT_TRUE(List().shares_with(List()));
}

}  // namespace
}  // namespace qiv
