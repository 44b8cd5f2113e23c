// The checks themselves, on small trees with one breach each.

#include "findings.h"

#include <gmock/gmock.h>

#include <sstream>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const table = R"(
  # a small house
  qiv_g11n/impl/include :
  qiv_algo/impl/include :
  qiv_algo/impl/src     : qiv_algo/impl/include qiv_g11n/impl/include <pthread.h>
  host/model            :
  every room below      : host/model qiv_g11n/impl/include <*>
  host/geo              :
  host/network          : host/geo
  host/engine           : host/network qiv_algo/impl/include!
  host/publish          : host/network
  host/app              : host/engine host/publish
)";

// What is found in the file when it stands among the small house's other files.
std::vector<std::string> faults(const std::string& path, const std::string& text) {
  const std::vector<SourceFile> files = {{"qiv_g11n/impl/include/RQLogger.h", ""},
                                         {"qiv_algo/impl/include/Journey.h", ""},
                                         {"qiv_algo/impl/src/exact.h", ""},
                                         {"host/model/stop.h", ""},
                                         {"host/geo/line.h", ""},
                                         {"host/geo/shapes/arc.h", ""},
                                         {"host/network/network.h", ""},
                                         {"host/engine/engine.h", ""},
                                         {"host/publish/json.h", ""},
                                         {path, text}};
  std::vector<std::string> result;
  for (const Finding& finding : forbidden_includes(House(table), files)) {
    std::ostringstream line;
    line << finding;
    result.push_back(line.str());
  }
  return result;
}

TEST(ForbiddenIncludes, RoomNamedInTheRow) {
  EXPECT_THAT(faults("host/network/a.cc", "#include \"geo/line.h\"\n"), IsEmpty());
}

TEST(ForbiddenIncludes, RoomOfANamedRoom) {
  EXPECT_THAT(faults("host/publish/a.cc", "#include \"geo/line.h\"\n"), IsEmpty());
  EXPECT_THAT(faults("host/app/a.cc", "#include \"geo/line.h\"\n"), IsEmpty());
}

TEST(ForbiddenIncludes, OwnRoom) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include \"geo/line.h\"\n"), IsEmpty());
  EXPECT_THAT(faults("qiv_algo/impl/src/a.cc", "#include \"exact.h\"\n"), IsEmpty());
}

TEST(ForbiddenIncludes, RoomsOpenToAllBelow) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include \"model/stop.h\"\n#include \"RQLogger.h\"\n"),
              IsEmpty());
}

TEST(ForbiddenIncludes, RoomNotNamed) {
  EXPECT_THAT(
      faults("host/publish/a.cc", "\n#include \"model/stop.h\"\n#include \"engine/engine.h\"\n"),
      ElementsAre("host/publish/a.cc:3: host/publish may not include host/engine "
                  "(host/engine/engine.h)"));
}

TEST(ForbiddenIncludes, RoomBelow) {
  EXPECT_THAT(faults("host/geo/a.h", "#include \"network/network.h\"\n"),
              ElementsAre("host/geo/a.h:1: host/geo may not include host/network "
                          "(host/network/network.h)"));
}

TEST(ForbiddenIncludes, RoomAboveTheLineOfThoseOpenToAll) {
  EXPECT_THAT(faults("host/model/a.h", "#include \"RQLogger.h\"\n"),
              ElementsAre("host/model/a.h:1: host/model may not include qiv_g11n/impl/include "
                          "(qiv_g11n/impl/include/RQLogger.h)"));
}

TEST(ForbiddenIncludes, LibraryIsForTheEngineAlone) {
  EXPECT_THAT(faults("host/engine/a.cc", "#include \"Journey.h\"\n"), IsEmpty());
  EXPECT_THAT(faults("host/app/a.cc", "#include \"Journey.h\"\n"),
              ElementsAre("host/app/a.cc:1: host/app may not include qiv_algo/impl/include "
                          "(qiv_algo/impl/include/Journey.h)"));
}

TEST(ForbiddenIncludes, LogIsForTheSourcesOfTheLibraryAlone) {
  EXPECT_THAT(faults("qiv_algo/impl/src/a.cc", "#include \"RQLogger.h\"\n"), IsEmpty());
  EXPECT_THAT(faults("qiv_algo/impl/include/A.h", "#include \"RQLogger.h\"\n"),
              ElementsAre("qiv_algo/impl/include/A.h:1: qiv_algo/impl/include may not include "
                          "qiv_g11n/impl/include (qiv_g11n/impl/include/RQLogger.h)"));
}

TEST(ForbiddenIncludes, InsideOfALibraryIsOutOfReach) {
  EXPECT_THAT(faults("host/engine/a.cc", "#include \"exact.h\"\n"),
              ElementsAre("host/engine/a.cc:1: exact.h is not of this checkout: in angle brackets, "
                          "if it is meant"));
  EXPECT_THAT(faults("host/engine/a.cc", "#include \"../../qiv_algo/impl/src/exact.h\"\n"),
              ElementsAre("host/engine/a.cc:1: ../../qiv_algo/impl/src/exact.h leaves its folder "
                          "by .."));
}

TEST(ForbiddenIncludes, AngleBracketsAndBlanksHideNothing) {
  EXPECT_THAT(faults("host/geo/a.cc", "  #  include<engine/engine.h>  // wanted\n"),
              ElementsAre("host/geo/a.cc:1: host/geo may not include host/engine "
                          "(host/engine/engine.h)"));
}

TEST(ForbiddenIncludes, HeaderThatIsGeneratedIntoARoom) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include \"engine/generated.pb.h\"\n"),
              ElementsAre("host/geo/a.cc:1: host/geo may not include host/engine "
                          "(host/engine/generated.pb.h)"));
  EXPECT_THAT(faults("host/geo/a.cc", "#include \"generated.pb.h\"\n"), IsEmpty());
}

TEST(ForbiddenIncludes, NameWithoutItsRoom) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include \"line.h\"\n#include \"shapes/arc.h\"\n"),
              ElementsAre("host/geo/a.cc:1: line.h is to be included as \"geo/line.h\"",
                          "host/geo/a.cc:2: shapes/arc.h is to be included as "
                          "\"geo/shapes/arc.h\""));
}

TEST(ForbiddenIncludes, ForeignHeader) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include <zip.h>\n#include <vector>\n"), IsEmpty());
  EXPECT_THAT(faults("qiv_algo/impl/src/a.cc", "#include <pthread.h>\n#include <vector>\n"),
              IsEmpty());
  EXPECT_THAT(faults("qiv_algo/impl/src/a.cc", "#include <zip.h>\n#include <sys/stat.h>\n"),
              ElementsAre("qiv_algo/impl/src/a.cc:1: qiv_algo/impl/src may not include the foreign "
                          "zip.h",
                          "qiv_algo/impl/src/a.cc:2: qiv_algo/impl/src may not include the foreign "
                          "sys/stat.h"));
}

TEST(ForbiddenIncludes, MacroInPlaceOfAName) {
  EXPECT_THAT(faults("host/geo/a.cc", "#include CONFIGURED\n"),
              ElementsAre("host/geo/a.cc:1: includes what only a compiler can tell"));
}

TEST(ForbiddenIncludes, FileOutsideOfTheRooms) {
  EXPECT_THAT(faults("host/attic/a.cc", ""),
              ElementsAre("host/attic/a.cc:1: stands in no room of the house"));
  EXPECT_THAT(faults("host/geometry/a.cc", ""),
              ElementsAre("host/geometry/a.cc:1: stands in no room of the house"));
}

TEST(House, RefusesARoomThatStandsBelow) {
  EXPECT_THROW(House("host/geo : host/network\nhost/network :\n"), std::invalid_argument);
}

TEST(House, RefusesALineThatIsNoRow) {
  EXPECT_THROW(House("host/geo host/network\n"), std::invalid_argument);
}

TEST(House, RefusesARoomGivenTwice) {
  EXPECT_THROW(House("host/geo :\nhost/geo :\n"), std::invalid_argument);
}

TEST(LongSources, CountsLines) {
  const std::vector<SourceFile> files = {
      {"three.cc", "1\n2\n3\n"}, {"four.cc", "1\n2\n3\n4"}, {"four.h", "1\n2\n3\n4\n"}};
  const std::vector<Finding> found = long_sources(files, 3);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].path, "four.cc");
}

TEST(UnwantedLines, TellFileLineAndReason) {
  const std::vector<Unwanted> unwanted = read_unwanted("# comment\n\ngo+to -- jumps\n");
  const std::vector<Finding> found = unwanted_lines({{"a.cc", "int i;\n  gooto end;\n"}}, unwanted);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(testing::PrintToString(found[0]), "a.cc:2: jumps:   gooto end;");
}

TEST(UnwantedLines, EachHasAReason) {
  EXPECT_THROW(read_unwanted("goto\n"), std::invalid_argument);
}

}  // namespace
