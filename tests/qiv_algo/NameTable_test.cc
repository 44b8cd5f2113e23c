#include "NameTable.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "differential/Draw.h"

namespace {

std::string name_of(unsigned int number) {
  // Some fit into the string itself, some do not.
  return (number % 3 == 0 ? "a vehicle with a long name " : "v") + std::to_string(number);
}

TEST(NameTable, KnowsNoNameAtFirst) {
  NameTable<int> table;
  EXPECT_EQ(table.find("a"), nullptr);
  table.erase("a");
  table.erase_if([](const std::string&, int) { return true; });
  EXPECT_EQ(table.find("a"), nullptr);
}

TEST(NameTable, MakesAValueOnce) {
  NameTable<int> table;
  EXPECT_EQ(table["a"], 0);
  table["a"] = 7;
  EXPECT_EQ(table["a"], 7);
  EXPECT_EQ(table.find("b"), nullptr);
  EXPECT_EQ(table[""], 0);
  ASSERT_NE(table.find("a"), nullptr);
  EXPECT_EQ(*table.find("a"), 7);
}

TEST(NameTable, NamesWithZerosDiffer) {
  NameTable<int> table;
  table[std::string("a\0b", 3)] = 1;
  table[std::string("a\0c", 3)] = 2;
  EXPECT_EQ(table[std::string("a\0b", 3)], 1);
  EXPECT_EQ(table.find("a"), nullptr);
}

TEST(NameTable, AnErasedNameComesBackWithANewValue) {
  NameTable<int> table;
  table["a"] = 7;
  table.erase("a");
  EXPECT_EQ(table.find("a"), nullptr);
  EXPECT_EQ(table["a"], 0);
}

/// The table and the standard's map, kept alike.
class NameTableAndMap {
 public:
  explicit NameTableAndMap(unsigned int seed) : _draw(seed) {}

  void write(unsigned int nb_names) {
    const std::string name = name_of(_draw.below(nb_names));
    const int value = _draw.between(0, 1000);
    _table[name] = value;
    _map[name] = value;
  }

  void erase(unsigned int nb_names) {
    const std::string name = name_of(_draw.below(nb_names));
    _table.erase(name);
    _map.erase(name);
  }

  void erase_even() {
    _table.erase_if([](const std::string&, int value) { return value % 2 == 0; });
    for (auto entry = _map.begin(); entry != _map.end();) {
      entry = entry->second % 2 == 0 ? _map.erase(entry) : std::next(entry);
    }
  }

  void expect_alike(unsigned int nb_names) {
    for (unsigned int i = 0; i < nb_names; ++i) {
      const std::string name = name_of(i);
      const int* const value = _table.find(name);
      const auto expected = _map.find(name);
      ASSERT_EQ(value != nullptr, expected != _map.end()) << name;
      if (value != nullptr) {
        ASSERT_EQ(*value, expected->second) << name;
      }
    }
  }

 private:
  differential::RandomDraw _draw;
  NameTable<int> _table;
  std::map<std::string, int> _map;
};

class NameTableAtRandom : public testing::TestWithParam<unsigned int> {};

// Few names in a small table: they are often in each other's places, and around its end.
TEST_P(NameTableAtRandom, HoldsWhatTheMapHolds) {
  const unsigned int nb_names = GetParam();
  for (unsigned int seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    NameTableAndMap both(seed);
    for (unsigned int round = 0; round < 20; ++round) {
      for (unsigned int i = 0; i < nb_names / 2; ++i) both.write(nb_names);
      for (unsigned int i = 0; i < nb_names / 3; ++i) both.erase(nb_names);
      if (round % 5 == 4) both.erase_even();
      both.expect_alike(nb_names);
      if (HasFatalFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Names, NameTableAtRandom, testing::Values(7, 8, 20, 300));

}  // namespace
